// Bases of the module tree: Module (node maps and a port) and EventSupportingModule (events), and
// ModuleDescriptor (identity of a module that can be opened).
//
// Threads: any. m_moduleMutex guards the node map and port slots (set once while the module is built, read by
// any thread); m_eventMutex guards the list of event controllers.
#pragma once

#include "orna/core/event.h"
#include "orna/core/initonce.h"
#include "orna/core/nodemap.h"
#include "orna/core/port.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core {

class Module : public InitOnce
{
public:
    size_t GetNumNodeMaps() const;
    // GetNodeMap(0) is the module's main map. Raises OutOfRangeException past the end.
    std::shared_ptr<NodeMap> GetNodeMap(size_t index = 0) const;
    // Raises NotAvailableException when the module has no port.
    std::shared_ptr<Port> GetPort() const;

protected:
    void SetNodeMaps(std::vector<std::shared_ptr<NodeMap>> maps);
    void SetPort(std::shared_ptr<Port> port);

private:
    mutable std::mutex m_moduleMutex;
    std::vector<std::shared_ptr<NodeMap>> m_nodeMaps;
    std::shared_ptr<Port> m_port;
};

class EventSupportingModule : public Module
{
public:
    // A new controller that receives this module's events of that type from now on.
    std::shared_ptr<EventController> EnableEvents(EventType type);

protected:
    // Delivers to every live controller of the event's type. Any thread.
    void PushEvent(const std::shared_ptr<Event>& event);

private:
    std::mutex m_eventMutex;
    std::vector<std::weak_ptr<EventController>> m_controllers;
};

class ModuleDescriptor
{
public:
    virtual ~ModuleDescriptor() = default;
    const std::string& GetID() const { return m_id; }
    const std::string& GetKey() const { return m_key; }

protected:
    ModuleDescriptor(std::string id, std::string key) : m_id(std::move(id)), m_key(std::move(key)) {}

private:
    const std::string m_id;
    const std::string m_key;
};

} // namespace orna::core
