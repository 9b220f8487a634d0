// The camera window's view tools and status line: the position label carries the value under the cursor in the
// frame's own depth, the full view shows how to leave it and ESC leaves it, a camera in service firmware cannot
// hide its toolbars, the display off during live still ends "Waiting for image..." with the first counted frame,
// and a slow link is warned about once after the open.
#include "tests/guitestsupport.h"
#include "tests/view/cameraobject/deskfixture.h"

#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"
#include "view/cameraobject.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"
#include "view/customgraphicsview.h"
#include "widgets/customdiscretespinbox.h"
#include "widgets/iconbutton.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <cstdlib>
#include <memory>

namespace {

void MoveTo(CustomGraphicsView* view, QPoint pos)
{
    QMouseEvent event(QEvent::MouseMove, pos, view->viewport()->mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                      Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
}

bool ToolbarsShown(CameraObject* window)
{
    return window->LiveButton()->isVisibleTo(window) && window->DisplayOffButton()->isVisibleTo(window);
}

} // namespace

class TestCameraWindowView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "1", 1);
    }

    void init() { guitest::ResetApplicationState(); }

    void cleanup() { ::setenv("ORNA_SIM_CAMERAS", "1", 1); }

    // --- Without a camera

    void positionLabelCarriesTheValueInTheFramesDepth()
    {
        CameraObject window(nullptr);
        window.resize(900, 700);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // A 12-bit frame whose pixel (20, 10) holds 4000: its 8-bit display form could only say 250.
        auto frame = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(orna::ipl::Mono12, 64, 48));
        auto* samples = reinterpret_cast<uint16_t*>(frame->GetData());
        for (int i = 0; i < 64 * 48; ++i)
            samples[i] = static_cast<uint16_t>(i % 4096);
        samples[10 * 64 + 20] = 4000;
        CustomDisplay* display = window.Display();
        display->SetImageSize(64, 48);
        display->SetScaleFactor(4.0);
        display->SetImageSource([frame] { return frame; });
        display->UpdateDisplay();
        QTRY_VERIFY(display->Scene()->PaintedFrames() >= 1);
        const QPointF at = display->View()->mapFromScene(QPointF(20.5, 10.5));
        MoveTo(display->View(), at.toPoint());
        QCOMPARE(window.PositionText(), QStringLiteral("(x: 20, y: 10) = 4000"));

        // The pixel viewer's button turns the magnifier on and its zoom spin box with it.
        QVERIFY(window.MagnifierButton()->isEnabled());
        QVERIFY(!window.MagnifierSpinbox()->isEnabled());
        window.MagnifierButton()->click();
        QVERIFY(display->Scene()->IsMagnifierEnabled());
        QVERIFY(window.MagnifierSpinbox()->isEnabled());
        window.MagnifierSpinbox()->SetValue(48.0);
        QVERIFY(QMetaObject::invokeMethod(&window, "OnSpinboxMagnifierFactor"));
        QCOMPARE(display->Scene()->MagnifierCell(), 48);
        const uint64_t before = display->Scene()->MagnifierPaints();
        display->UpdateDisplay();
        QTRY_VERIFY(display->Scene()->MagnifierPaints() > before);
        QCOMPARE(display->Scene()->MagnifierCentreTexts(), QStringList{QStringLiteral("4000")});
    }

    void fullViewShowsItsHintAndEscapeLeavesIt()
    {
        CameraObject window(nullptr);
        window.resize(900, 700);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        IconButton* hide = window.NoToolbarButton();
        QCOMPARE(hide->toolTip(), QStringLiteral("Hide toolbars"));
        QVERIFY(hide->isEnabled());
        QVERIFY(ToolbarsShown(&window));
        QVERIFY(window.FullViewHintText().isEmpty());

        hide->click();
        QVERIFY(window.IsFullView());
        QVERIFY(!ToolbarsShown(&window));
        QCOMPARE(window.FullViewHintText(), QStringLiteral("Double click or press ESC to leave."));

        // ESC on the display, where the focus is in full view.
        QTest::keyClick(window.Display()->View(), Qt::Key_Escape);
        QVERIFY(!window.IsFullView());
        QVERIFY(ToolbarsShown(&window));
        QVERIFY(window.FullViewHintText().isEmpty());

        // A double click enters and leaves as well.
        window.OnMouseDoubleClicked();
        QVERIFY(window.IsFullView());
        window.OnMouseDoubleClicked();
        QVERIFY(ToolbarsShown(&window));
    }

    void developerToolsButtonIsShownToEveryone()
    {
        QVERIFY(!ApplicationGlobals::developerView);
        CameraObject window(nullptr);
        IconButton* nerd = window.ToolButton(QStringLiteral("nerd.png"));
        QVERIFY(nerd != nullptr);
        QVERIFY(!nerd->isHidden());
        QCOMPARE(nerd->toolTip(), QStringLiteral("Developer Tools"));
    }

    // --- With the simulated camera

    void serviceFirmwareCannotHideTheToolbars()
    {
        ::setenv("ORNA_SIM_CAMERAS", "service", 1);
        Desk desk;
        QVERIFY(desk.Exposed());
        auto& [window, list, open] = desk;
        QTRY_VERIFY_WITH_TIMEOUT(list.FirstOpenableDevice() != nullptr, 10000);
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QVERIFY(cameraWindow->IsServiceFirmware());
        QVERIFY(!cameraWindow->NoToolbarButton()->isEnabled());
        QMetaObject::invokeMethod(cameraWindow, "OnButtonNoToolbarMode");
        QVERIFY(!cameraWindow->IsFullView());
        QVERIFY(ToolbarsShown(cameraWindow));
    }

    void displayOffDuringLiveShowsFpsAndCountsAfterTheFirstFrame()
    {
        Desk desk;
        QVERIFY(desk.WaitForCamera(10000));
        auto& [window, list, open] = desk;
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(cameraWindow->Camera()->IsAcquiring(), 10000);
        // Stop, display off (to measure the speed), live again: no display update will come.
        cameraWindow->LiveButton()->click();
        QVERIFY(!cameraWindow->Camera()->IsAcquiring());
        cameraWindow->DisplayOffButton()->click();
        QVERIFY(!cameraWindow->Display()->IsDisplayEnabled());
        cameraWindow->LiveButton()->click();
        QVERIFY(cameraWindow->Camera()->IsAcquiring());
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsWaitingForImage(), 15000);
        QTRY_VERIFY_WITH_TIMEOUT(cameraWindow->SmoothedFps() > 1.0, 15000);
        const QString counters = cameraWindow->CountersText();
        QVERIFY2(counters.contains(QStringLiteral("fps: ")) && counters.contains(QStringLiteral("acquired: ")),
                 qPrintable(counters));
        QVERIFY(!counters.contains(QStringLiteral("acquired: 0 ")));
    }

    void slowLinkIsWarnedAboutOnce()
    {
        ::setenv("ORNA_SIM_CAMERAS", "slowlink", 1);
        Desk desk;
        QVERIFY(desk.Exposed());
        auto& [window, list, open] = desk;
        QSignalSpy shown(&window, &MainWindow::Signal_InfoShown);
        QTRY_VERIFY_WITH_TIMEOUT(list.FirstOpenableDevice() != nullptr, 10000);
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QPointer<VisionCamera> camera = cameraWindow->Camera();
        QVERIFY(camera != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(shown.count() >= 1, 10000);
        // The open thread has ended by the time every open result was handled.
        QTRY_VERIFY_WITH_TIMEOUT(camera->GetOpenThread() == nullptr || camera->GetOpenThread()->isFinished(), 10000);
        QCoreApplication::processEvents();
        int warnings = 0;
        for (const QList<QVariant>& entry : shown)
            if (entry.at(0).toString() == QLatin1String("Warning"))
                ++warnings;
        QCOMPARE(warnings, 1);
        QCOMPARE(camera->GetTransportType(), QStringLiteral("U3V"));
    }
};

QTEST_MAIN(TestCameraWindowView)
#include "test_camerawindow_view.moc"
