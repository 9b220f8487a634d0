// The main window as a user meets it, for the camera window tests: shown, with its camera list running and
// the toolbar's open button at hand.
#pragma once

#include "app/mainwindow.h"
#include "discovery/cameralistmodel.h"
#include "view/cameraobject.h"
#include "widgets/iconbutton.h"

#include <QtTest>

struct Desk
{
    MainWindow window;
    CameraListModel list;
    IconButton* open = nullptr;

    Desk()
    {
        window.resize(1400, 1000);
        window.show();
        window.SetCameraList(&list);
        list.RunUpdate();
        open = window.ToolBarButton(QStringLiteral("camera.png"));
    }
    ~Desk() { window.SetCameraList(nullptr); }

    bool Exposed() { return QTest::qWaitForWindowExposed(&window); }
    // The window is on screen and its open button offers a camera.
    bool WaitForCamera(int timeout_ms)
    {
        return Exposed() && open != nullptr && QTest::qWaitFor([this] { return open->isEnabled(); }, timeout_ms);
    }
};

inline CameraObject* CameraWindowOf(const MainWindow& window)
{
    for (ControlElement* element : window.Elements())
        if (auto* cameraObject = qobject_cast<CameraObject*>(element))
            return cameraObject;
    return nullptr;
}

inline int CameraWindowCount(const MainWindow& window)
{
    int count = 0;
    for (ControlElement* element : window.Elements())
        count += qobject_cast<CameraObject*>(element) != nullptr ? 1 : 0;
    return count;
}
