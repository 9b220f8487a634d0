// The system module of one producer: its interfaces, found and lost by UpdateInterfaces.
//
// Threads: any. UpdateInterfaces runs its found/lost callbacks on the calling thread, after m_mutex (which
// guards the interface table) is released. Several threads may update at once; passes are serialised by
// m_updateMutex.
#pragma once

#include "orna/core/callbacklist.h"
#include "orna/core/detail/backend.h"
#include "orna/core/module.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core {

class InterfaceDescriptor;
class ProducerLibrary;
class System;

class SystemDescriptor : public ModuleDescriptor, public std::enable_shared_from_this<SystemDescriptor>
{
public:
    SystemDescriptor(std::weak_ptr<ProducerLibrary> producer, std::shared_ptr<detail::TransportBackend> backend);
    // Gives the open system, opening it on first use (one system per producer).
    std::shared_ptr<System> OpenSystem();
    std::string GetDisplayName() const { return m_info.displayName; }
    std::string GetTLType() const { return m_info.tlType; }
    std::string GetVendorName() const { return m_info.vendor; }
    std::shared_ptr<ProducerLibrary> GetParentProducer() const;

private:
    const detail::SystemInfo m_info;
    std::weak_ptr<ProducerLibrary> m_producer;
    std::shared_ptr<detail::TransportBackend> m_backend;
    std::mutex m_mutex; // guards m_system
    std::weak_ptr<System> m_system;
};

class System : public EventSupportingModule, public std::enable_shared_from_this<System>
{
public:
    using InterfaceCallback = std::function<void(const std::shared_ptr<InterfaceDescriptor>&)>;

    System(std::weak_ptr<ProducerLibrary> producer, std::shared_ptr<detail::TransportBackend> backend);
    ~System() override;

    // Lists the interfaces again and fires found/lost for the differences to the last pass. True when the
    // list changed.
    bool UpdateInterfaces(uint64_t timeoutMs);
    std::vector<std::shared_ptr<InterfaceDescriptor>> GetInterfaces() const;
    std::shared_ptr<InterfaceDescriptor> FindInterface(const std::string& id) const;

    CallbackHandle RegisterInterfaceFoundCallback(InterfaceCallback callback);
    void UnregisterInterfaceFoundCallback(CallbackHandle handle);
    CallbackHandle RegisterInterfaceLostCallback(InterfaceCallback callback);
    void UnregisterInterfaceLostCallback(CallbackHandle handle);

    std::string GetCTIFullPath() const { return m_info.key; }
    std::string GetDisplayName() const { return m_info.displayName; }
    uint32_t GetGenTLVersionMajor() const { return m_info.genTLVersionMajor; }
    uint32_t GetGenTLVersionMinor() const { return m_info.genTLVersionMinor; }
    std::string GetID() const { return m_info.id; }
    std::string GetKey() const { return m_info.key; }
    std::string GetModelName() const { return m_info.model; }
    std::string GetTLType() const { return m_info.tlType; }
    std::string GetVendorName() const { return m_info.vendor; }
    std::string GetVersion() const { return m_info.version; }
    std::shared_ptr<ProducerLibrary> GetParentProducer() const;

    // Internal: builds the system node map once the object is owned by a shared_ptr.
    void BuildNodeMap();
    std::shared_ptr<detail::TransportBackend> Backend() const { return m_backend; }

private:
    const detail::SystemInfo m_info;
    std::weak_ptr<ProducerLibrary> m_producer;
    std::shared_ptr<detail::TransportBackend> m_backend;
    std::mutex m_updateMutex;
    mutable std::mutex m_mutex; // guards m_interfaces, m_selectedInterface
    std::vector<std::shared_ptr<InterfaceDescriptor>> m_interfaces;
    int64_t m_selectedInterface = 0;
    CallbackList<const std::shared_ptr<InterfaceDescriptor>&> m_found;
    CallbackList<const std::shared_ptr<InterfaceDescriptor>&> m_lost;
};

} // namespace orna::core
