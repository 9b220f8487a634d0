#include "orna/core/module.h"

#include "orna/core/exception.h"

#include <algorithm>

namespace orna::core {

size_t Module::GetNumNodeMaps() const
{
    std::lock_guard<std::mutex> lock(m_moduleMutex);
    return m_nodeMaps.size();
}

std::shared_ptr<NodeMap> Module::GetNodeMap(size_t index) const
{
    std::lock_guard<std::mutex> lock(m_moduleMutex);
    if (index >= m_nodeMaps.size())
        Raise(ReturnCode::OutOfRange, "Node map index " + std::to_string(index) + " out of range");
    return m_nodeMaps[index];
}

std::shared_ptr<Port> Module::GetPort() const
{
    std::lock_guard<std::mutex> lock(m_moduleMutex);
    if (!m_port)
        Raise(ReturnCode::NotAvailable, "The module has no port");
    return m_port;
}

void Module::SetNodeMaps(std::vector<std::shared_ptr<NodeMap>> maps)
{
    std::lock_guard<std::mutex> lock(m_moduleMutex);
    m_nodeMaps = std::move(maps);
}

void Module::SetPort(std::shared_ptr<Port> port)
{
    std::lock_guard<std::mutex> lock(m_moduleMutex);
    m_port = std::move(port);
}

std::shared_ptr<EventController> EventSupportingModule::EnableEvents(EventType type)
{
    auto controller = std::make_shared<EventController>(type);
    std::lock_guard<std::mutex> lock(m_eventMutex);
    m_controllers.erase(std::remove_if(m_controllers.begin(), m_controllers.end(),
                                       [](const std::weak_ptr<EventController>& c) { return c.expired(); }),
                        m_controllers.end());
    m_controllers.push_back(controller);
    return controller;
}

void EventSupportingModule::PushEvent(const std::shared_ptr<Event>& event)
{
    std::vector<std::shared_ptr<EventController>> targets;
    {
        std::lock_guard<std::mutex> lock(m_eventMutex);
        for (const auto& weak : m_controllers)
        {
            auto controller = weak.lock();
            if (controller && controller->GetType() == event->GetType())
                targets.push_back(controller);
        }
    }
    for (auto& controller : targets)
        controller->Push(event);
}

} // namespace orna::core
