// The image view inside a camera window: a CustomGraphicsView on a CustomGraphicsScene, plus the scale
// state the window and the workspace read and write.
//
// The display never holds frames of its own: UpdateDisplay() only asks the scene to repaint, and the scene
// takes the newest image from its source at paint time (see CustomGraphicsScene).
//
// GUI thread only. The connections to a camera are kept in one list that SetCamera replaces as a whole.
#pragma once

#include "view/customgraphicsscene.h"

#include <QList>
#include <QMetaObject>
#include <QPoint>
#include <QRectF>
#include <QString>
#include <QWidget>

class CustomGraphicsView;
class VisionCamera;

class CustomDisplay : public QWidget
{
    Q_OBJECT

public:
    explicit CustomDisplay(QWidget* parent = nullptr);
    ~CustomDisplay() override;

    CustomGraphicsView* View() const { return m_view; }
    CustomGraphicsScene* Scene() const { return m_scene; }

    // Binds the display to a camera: drops every old connection and takes the camera's last image as the
    // source; a null camera leaves the display without one. The binding ends by itself when the camera dies.
    void SetCamera(VisionCamera* camera);
    // The source of the frames (SetCamera installs the camera's; tests and tools may install their own).
    void SetImageSource(CustomGraphicsScene::ImageSource source);

    // Returns at once when the size is unchanged; otherwise sets the scene rectangle, refits in fit mode,
    // recomputes the visible area and emits Signal_ParamsChanged.
    void SetImageSize(int width, int height);
    int ImageWidth() const;
    int ImageHeight() const;

    void SetScaleFactor(double factor);
    void SetScaleMode(int mode);
    double GetScaleFactor() const;
    int GetScaleMode() const;
    QRectF VisibleArea() const;

    // Turns frame painting off and on (the camera window's "display off" button).
    void SetDisplayEnabled(bool enabled);
    bool IsDisplayEnabled() const;

    // "(x: 12, y: 34)"
    static QString PositionText(const QPoint& pixel);

public Q_SLOTS:
    // Asks the scene to repaint with the newest image; frames are never queued here.
    void UpdateDisplay();
    void OnVisibleAreaChanged();

Q_SIGNALS:
    void Signal_ParamsChanged();
    void Signal_MouseWheelChanged(bool up);
    // Emitted by every UpdateDisplay, i.e. once per frame: connect directly and keep the slot cheap.
    void ImageReceived();

private:
    void DropCameraConnections();

    CustomGraphicsScene* m_scene = nullptr;
    CustomGraphicsView* m_view = nullptr;
    QList<QMetaObject::Connection> m_cameraConnections;
};
