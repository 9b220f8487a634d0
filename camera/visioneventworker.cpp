#include "camera/visioneventworker.h"

#include "camera/visioncamera.h"
#include "common/logmessagesender.h"
#include "orna/core/device.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/nodemap.h"

#include <QThread>

#include <mutex>

namespace {

const QString kStartContext = QStringLiteral("void VisionEventWorker::OnStart()");
const QString kStopContext = QStringLiteral("void VisionEventWorker::Stop()");

// How long one wait for a remote event lasts before the connection events are looked at.
constexpr uint64_t kWaitSliceMs = 100;

bool ReadInteger(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& name, qint64& value)
{
    try
    {
        if (!map->GetHasNode(name))
            return false;
        auto node = map->FindNode(name);
        if (!node->GetIsReadable())
            return false;
        value = orna::core::nodes::NodeCast<orna::core::nodes::IntegerNode>(node)->GetValue();
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

} // namespace

VisionEventWorker::VisionEventWorker(VisionCamera* camera_) : camera(camera_) {}

VisionEventWorker::~VisionEventWorker() = default;

void VisionEventWorker::OnStart()
{
    auto map = camera->remoteDeviceNodeMap;
    auto device = camera->device;
    if (!map || !device || !map->GetHasNode("EventControl"))
        return;

    std::shared_ptr<orna::core::EventController> controller;
    std::shared_ptr<orna::core::EventController> connection;
    try
    {
        controller = device->EnableEvents(static_cast<orna::core::EventType>(mode));
        connection = device->EnableEvents(orna::core::EventType::ConnectionEvent);
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(camera->keyText, kStartContext, QString::fromUtf8(e.what()));
    }
    {
        // A Stop that came before this start (the camera closed while the thread was starting) wins.
        QMutexLocker lock(&controllerMutex);
        if (stopRequested)
            return;
        eventController = controller;
        connectionController = connection;
        running = true;
    }
    if (!controller)
        return;

    const QString transport = camera->transportType;
    if (transport == QLatin1String("U3V") || transport == QLatin1String("GEV"))
    {
        debugNames.insert(37136, QStringLiteral("DBG_ID_FW"));
        debugNames.insert(37137, QStringLiteral("DBG_ID_WARN"));
        debugNames.insert(37138, QStringLiteral("DBG_ID_ERR"));
        debugNames.insert(37139, QStringLiteral("DBG_ID_MARK"));
    }

    remoteMap = map;
    while (running)
    {
        try
        {
            // Remote events come through the controller of their type, the transport's connection events
            // through their own; the wait on the first ends after a slice so the second is looked at too.
            std::shared_ptr<orna::core::Event> event;
            try
            {
                event = controller->WaitForEvent(kWaitSliceMs);
            }
            catch (const orna::core::TimeoutException&)
            {
            }
            if (event)
            {
                if (static_cast<int>(event->GetType()) == static_cast<int>(orna::core::EventType::RemoteDevice))
                    HandleRemoteDeviceEvent(event);
            }
            if (connection && running)
            {
                try
                {
                    auto connectionEvent = connection->WaitForEvent(0);
                    orna::core::RequireNotNull(connectionEvent, "The given event is a nullptr!");
                    HandleConnectionEvent(connectionEvent);
                }
                catch (const orna::core::TimeoutException&)
                {
                }
            }
        }
        catch (const orna::core::AbortedException&)
        {
            // The normal end after KillWait; the loop condition decides.
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(camera->keyText, kStartContext, QString::fromUtf8(e.what()));
            QThread::msleep(100);
        }
    }
}

void VisionEventWorker::Stop()
{
    QMutexLocker lock(&controllerMutex);
    stopRequested = true;
    running = false;
    for (const auto& controller : {eventController, connectionController})
    {
        if (!controller)
            continue;
        try
        {
            controller->KillWait();
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(camera->keyText, kStopContext, QString::fromUtf8(e.what()));
        }
    }
}

QString VisionEventWorker::EventName(uint64_t id)
{
    auto known = eventNames.constFind(id);
    if (known != eventNames.constEnd())
        return known.value();
    QString name;
    const auto& map = remoteMap;
    try
    {
        if (map && map->GetHasNode("EventSelector"))
        {
            std::lock_guard<orna::core::NodeMap> lock(*map);
            auto selector = map->FindNode<orna::core::nodes::EnumerationNode>("EventSelector");
            for (const auto& entry : selector->GetEntries())
            {
                const std::string candidate = entry->GetSymbolicValue();
                qint64 value = -1;
                if (ReadInteger(map, "Event" + candidate, value) && uint64_t(value) == id)
                {
                    name = QString::fromStdString(candidate);
                    break;
                }
            }
        }
    }
    catch (const std::exception&)
    {
    }
    if (!name.isEmpty())
        eventNames.insert(id, name);
    return name;
}

void VisionEventWorker::HandleRemoteDeviceEvent(const std::shared_ptr<orna::core::Event>& event)
{
    if (!limiter.Accept(std::chrono::system_clock::now()))
    {
        ++overflowCount;
        if (limiter.TakeOverflowWarning())
        {
            Q_EMIT LogMessageSender::Instance().Signal_LogEvent(
                camera->keyText, kStartContext,
                tr("Events are overflowing. Dropping messages! Try to reduce event frequency by disabling events or "
                   "the frame rate for exposure events"),
                1);
        }
        return;
    }
    // Events the guard dropped in an earlier window are told to the events panel as one count.
    if (const int dropped = limiter.TakeDropped())
        Q_EMIT Signal_RemoteDeviceEvent(QStringLiteral("HostDrop"), 0, 0, QString::number(dropped));
    ++eventCount;

    const auto& map = remoteMap;
    try
    {
        map->UpdateEventNodes(event);
    }
    catch (const orna::core::NotImplementedException&)
    {
        // The camera's own event registers carry the values (no event ports in its description).
    }

    const uint64_t id = event->GetID();
    QString name = debugNames.value(id);
    const bool isDebug = !name.isEmpty();
    if (!isDebug)
        name = EventName(id);
    const QString idText = name.isEmpty() ? QStringLiteral("0x") + QString::number(id, 16) : name;

    qint64 frameId = 0;
    qint64 timestamp = 0;
    if (!name.isEmpty() && !isDebug)
    {
        ReadInteger(map, "Event" + name.toStdString() + "FrameID", frameId);
        ReadInteger(map, "Event" + name.toStdString() + "Timestamp", timestamp);
    }

    QString data;
    const auto& payload = event->GetData();
    if (isDebug)
    {
        data = QString::fromLatin1(reinterpret_cast<const char*>(payload.data()), int(payload.size()));
        data.truncate(data.indexOf(QChar(0)) < 0 ? data.size() : data.indexOf(QChar(0)));
    }
    else if (name == QLatin1String("Error") || name == QLatin1String("CriticalError"))
    {
        quint64 code = 0;
        for (size_t i = 0; i < payload.size() && i < 8; ++i)
            code |= quint64(payload[i]) << (8 * i);
        data = QStringLiteral("0x") + QString::number(code, 16);
    }

    Q_EMIT Signal_RemoteDeviceEvent(idText, timestamp, frameId, data);
    Q_EMIT LogMessageSender::Instance().Signal_LogEvent(
        camera->keyText, kStartContext,
        QStringLiteral("Event: ") + idText + QStringLiteral(", data: ") + data + QStringLiteral(", FrameID: ") +
            QString::number(frameId) + QStringLiteral(", Timestamp: ") + QString::number(timestamp),
        0);
}

void VisionEventWorker::HandleConnectionEvent(const std::shared_ptr<orna::core::Event>& event)
{
    const auto& payload = event->GetData();
    const int state = payload.empty() ? -1 : payload[0];
    if (state == int(orna::core::ConnectionState::Connected))
    {
        Q_EMIT LogMessageSender::Instance().Signal_LogEvent(
            camera->keyText, kStartContext, QStringLiteral("Camera reconnect: ") + camera->cameraName, 0);
        Q_EMIT Signal_DeviceReconnected();
    }
    else if (state == int(orna::core::ConnectionState::Disconnected))
    {
        Q_EMIT LogMessageSender::Instance().Signal_LogEvent(
            camera->keyText, kStartContext, QStringLiteral("Camera disconnect: ") + camera->cameraName, 1);
        Q_EMIT Signal_DeviceDisconnected();
    }
    else
    {
        Q_EMIT LogMessageSender::Instance().Signal_LogEvent(
            camera->keyText, kStartContext,
            QStringLiteral("Camera unknown connection status: ") + QString::number(state), 1);
    }
}
