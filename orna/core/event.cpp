#include "orna/core/event.h"

#include "orna/core/exception.h"

#include <chrono>

namespace orna::core {

Event::Event(EventType type, uint64_t id, std::vector<uint8_t> data) : m_type(type), m_id(id), m_data(std::move(data))
{
}

EventController::EventController(EventType type) : m_type(type) {}

std::shared_ptr<Event> EventController::WaitForEvent(uint64_t timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    // A KillWait before the wait began also ends it: callers stop a worker by KillWait, then join it.
    const uint64_t kills = m_kills - (m_pendingKill ? 1 : 0);
    m_pendingKill = false;
    auto ready = [&] { return m_kills != kills || !m_queue.empty(); };
    if (timeoutMs == kInfinite)
        m_condition.wait(lock, ready);
    else if (!m_condition.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready))
        Raise(ReturnCode::Timeout, "No event within " + std::to_string(timeoutMs) + " ms");
    if (m_kills != kills)
    {
        m_pendingKill = false;
        Raise(ReturnCode::Aborted, "The wait for an event was aborted");
    }
    auto event = m_queue.front();
    m_queue.pop_front();
    return event;
}

void EventController::KillWait()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_kills;
        m_pendingKill = true;
    }
    m_condition.notify_all();
}

size_t EventController::GetNumQueued() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_queue.size();
}

void EventController::Push(std::shared_ptr<Event> event)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_queue.size() >= kMaxQueued)
            m_queue.pop_front();
        m_queue.push_back(std::move(event));
    }
    m_condition.notify_one();
}

} // namespace orna::core
