// VisionCameraOpenWorker: takes a freshly built VisionCamera through the steps of opening it and reports the
// outcome by exactly one of its four signals.
//
// Threads: made on the GUI thread by VisionCamera; OnCameraOpen runs on the camera's openThread (or on the
// caller's thread when the camera is not opened asynchronously). It never touches a widget; its results reach
// the main window by queued signals. RequestCancel may be called from any thread: the open checks it between
// its steps and then ends without a result signal (the camera is going away). No mutex. An asynchronous open
// starts only with VisionCamera::StartOpen, after the camera window connected to its results.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>

class QWidget;
class VisionCamera;

class VisionCameraOpenWorker : public QObject
{
    Q_OBJECT

public:
    explicit VisionCameraOpenWorker(VisionCamera* camera);
    ~VisionCameraOpenWorker() override;

Q_SIGNALS:
    void Signal_HasOpenedCamera(QString cameraName, QWidget* cameraObject);
    void Signal_HasOpenedCameraWithBootError(QString cameraName, QString bootErrorMessage, QWidget* cameraObject);
    void Signal_HasOpenedCameraInServiceFirmware(QString cameraName, QWidget* cameraObject);
    void Signal_CannotOpenCamera(QString cameraName, QString error, QWidget* cameraObject);

public Q_SLOTS:
    void OnCameraOpen();

public:
    // The optimise routine (VisionCamera::ApplyOptimalSettings) with the CTRL decision made by the caller:
    // resetToDefaults loads the "Default" user set first instead of saving and switching off the camera's
    // automatics. Runs on the caller's thread (GUI or openThread).
    // False when refused (another one-shot task runs; nothing changed, no signal) or when the routine could not be
    // launched (the modes it changed went back and Signal_AdjustLoopFinished(false) was sent).
    static bool ApplyOptimalSettings(VisionCamera* camera, bool resetToDefaults);
    // The text of the password protection failure, with the unlock tool's name.
    static QString PasswordProtectedText();

    // The camera is being destroyed: the open stops at its next step boundary and reports nothing.
    void RequestCancel() { cancelled.store(true); }
    bool IsCancelled() const { return cancelled.load(); }

private:
    // Null once the camera is destroyed: an open that ExitCamera stopped waiting for (a transport step stuck
    // beyond the cancel limit) must not reach it when that step returns; it checks at every step boundary.
    QPointer<VisionCamera> camera;
    std::atomic<bool> cancelled{false};
};
