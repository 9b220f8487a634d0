// VisionEventWorker: receives the events of a camera and of the library on the camera's eventThread and turns
// them into queued signals and log lines.
//
// Threads: made on the GUI thread by VisionCamera and moved to eventThread; OnStart runs there until Stop.
// Stop may be called from any thread (the GUI thread when the camera closes): it clears the running flag and
// ends a blocked event wait through KillWait. controllerMutex guards the two controller pointers and
// stopRequested, which OnStart sets and Stop reads; the rate window, the name tables and remoteMap belong to
// eventThread alone.
#pragma once

#include "camera/eventratelimiter.h"

#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

class VisionCamera;

namespace orna::core {
class Event;
class EventController;
class NodeMap;
} // namespace orna::core

class VisionEventWorker : public QObject
{
    Q_OBJECT

public:
    explicit VisionEventWorker(VisionCamera* camera);
    ~VisionEventWorker() override;

    // Events dropped by the flood guard so far (any thread).
    int GetOverflowCount() const { return overflowCount.load(); }
    bool IsRunning() const { return running.load(); }

Q_SIGNALS:
    void Signal_DeviceDisconnected();
    void Signal_DeviceReconnected();
    void Signal_RemoteDeviceEvent(QString ID, qint64 timestamp, qint64 frameID, QString data);

public Q_SLOTS:
    void OnStart();
    void Stop();

private:
    void HandleRemoteDeviceEvent(const std::shared_ptr<orna::core::Event>& event);
    void HandleConnectionEvent(const std::shared_ptr<orna::core::Event>& event);
    // The event's name from the remote map: the entry X of "EventSelector" whose node "EventX" holds the id.
    QString EventName(uint64_t id);

    std::atomic<bool> running{false};
    mutable QMutex controllerMutex;
    // Set by Stop under controllerMutex; a start after it ends at once.
    bool stopRequested = false;
    // The remote node map, taken once by OnStart (event thread only).
    std::shared_ptr<orna::core::NodeMap> remoteMap;
    // Remote device events (type mode) and the transport's connection events of the device.
    std::shared_ptr<orna::core::EventController> eventController;
    std::shared_ptr<orna::core::EventController> connectionController;
    VisionCamera* camera;
    int mode = 4;
    camera::EventRateLimiter limiter;
    std::atomic<int> overflowCount{0};
    int eventCount = 0;
    QMap<uint64_t, QString> debugNames;
    QMap<uint64_t, QString> eventNames;
};
