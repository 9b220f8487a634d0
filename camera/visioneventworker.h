// VisionEventWorker: receives the events of a camera and of the library on the camera's eventThread and turns
// them into queued signals and log lines.
//
// Threads: made on the GUI thread by VisionCamera and moved to eventThread; OnStart runs there until Stop.
// Stop may be called from the GUI thread: it clears the running flag and ends a blocked event wait.
#pragma once

#include <QObject>
#include <QString>

class VisionCamera;

class VisionEventWorker : public QObject
{
    // Q_OBJECT comes with the implementation file: moc's code needs the slots and the destructor defined,
    // and every executable that links the application library would otherwise miss them.

public:
    explicit VisionEventWorker(VisionCamera* camera);
    ~VisionEventWorker() override;

Q_SIGNALS:
    void Signal_DeviceDisconnected();
    void Signal_DeviceReconnected();
    void Signal_RemoteDeviceEvent(QString ID, qint64 timestamp, qint64 frameID, QString data);

public Q_SLOTS:
    void OnStart();
    void Stop();

private:
    VisionCamera* camera;
};
