// Events of a module and the controller that waits for them.
//
// EventSupportingModule::EnableEvents(type) gives an EventController; the module pushes events of that type to
// every live controller. Sources: connection events (type 1000) when the transport loses a device (first
// payload byte = ConnectionState), and whatever a backend delivers (a simulated camera's remote events).
//
// Threads: events are pushed on backend threads; WaitForEvent blocks the caller (typically an event worker
// thread); KillWait may be called from any thread and ends a blocked or the next wait with AbortedException.
// m_mutex guards the queue and the kill count; m_condition wakes the waiter.
#pragma once

#include "orna/core/initonce.h"
#include "orna/core/types.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

namespace orna::core {

class Event
{
public:
    Event(EventType type, uint64_t id, std::vector<uint8_t> data);
    EventType GetType() const { return m_type; }
    uint64_t GetID() const { return m_id; }
    // The payload (for connection events: the state byte).
    const std::vector<uint8_t>& GetData() const { return m_data; }
    // The payload as delivered, including any transport header (same as GetData on our backends).
    const std::vector<uint8_t>& GetRawData() const { return m_data; }

private:
    EventType m_type;
    uint64_t m_id;
    std::vector<uint8_t> m_data;
};

class EventController : public InitOnce
{
public:
    static constexpr uint64_t kInfinite = ~uint64_t(0);
    // Events beyond this many unread ones are dropped (oldest first) so a stalled reader cannot grow memory.
    static constexpr size_t kMaxQueued = 1024;

    explicit EventController(EventType type);
    EventType GetType() const { return m_type; }
    // Raises TimeoutException when nothing came within timeoutMs, AbortedException after KillWait.
    std::shared_ptr<Event> WaitForEvent(uint64_t timeoutMs);
    void KillWait();
    size_t GetNumQueued() const;

    // Backend side.
    void Push(std::shared_ptr<Event> event);

private:
    EventType m_type;
    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    std::deque<std::shared_ptr<Event>> m_queue;
    uint64_t m_kills = 0;
    bool m_pendingKill = false; // a KillWait that no wait has consumed yet
};

} // namespace orna::core
