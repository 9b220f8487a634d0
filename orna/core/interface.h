// An interface of a system (a host network card for GigE Vision, the USB host for USB3 Vision) and its
// devices, found and lost by UpdateDevices.
//
// Threads: any. UpdateDevices fires its callbacks on the calling thread after m_mutex (device table, selector)
// is released; passes are serialised by m_updateMutex.
#pragma once

#include "orna/core/callbacklist.h"
#include "orna/core/detail/backend.h"
#include "orna/core/module.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core {

class DeviceDescriptor;
class Interface;
class System;

// The value passed with a transport-level reconnect.
struct DeviceReconnectInformation
{
    bool remoteNodeMapNeedsRefresh = true;
};

class InterfaceDescriptor : public ModuleDescriptor, public std::enable_shared_from_this<InterfaceDescriptor>
{
public:
    InterfaceDescriptor(std::weak_ptr<System> system, detail::InterfaceInfo info, std::string key);
    std::shared_ptr<Interface> OpenInterface();
    std::string GetDisplayName() const;
    std::string GetTLType() const;
    std::shared_ptr<System> GetParentSystem() const;

    detail::InterfaceInfo Info() const;
    void SetInfo(const detail::InterfaceInfo& info);

private:
    std::weak_ptr<System> m_system;
    mutable std::mutex m_mutex; // guards m_info, m_interface
    detail::InterfaceInfo m_info;
    std::weak_ptr<Interface> m_interface;
};

class Interface : public EventSupportingModule, public std::enable_shared_from_this<Interface>
{
public:
    using DeviceCallback = std::function<void(const std::shared_ptr<DeviceDescriptor>&)>;
    using ReconnectCallback =
        std::function<void(const std::shared_ptr<DeviceDescriptor>&, const DeviceReconnectInformation&)>;

    Interface(std::weak_ptr<System> system, std::weak_ptr<InterfaceDescriptor> descriptor,
              std::shared_ptr<detail::TransportBackend> backend);
    ~Interface() override;

    // Lists the devices again; fires found/lost for differences to the last pass, information changes on the
    // descriptors whose record changed, and list-changed when anything changed. True when the list changed.
    bool UpdateDevices(uint64_t timeoutMs);
    std::vector<std::shared_ptr<DeviceDescriptor>> GetDevices() const;
    std::shared_ptr<DeviceDescriptor> FindDevice(const std::string& id) const;

    CallbackHandle RegisterDeviceFoundCallback(DeviceCallback callback);
    void UnregisterDeviceFoundCallback(CallbackHandle handle);
    CallbackHandle RegisterDeviceLostCallback(DeviceCallback callback);
    void UnregisterDeviceLostCallback(CallbackHandle handle);
    // Transport-level disconnect and reconnect: never fired by the Aravis transports (a lost camera is lost and
    // found again); fired by producers whose devices survive a reconnect.
    CallbackHandle RegisterDeviceDisconnectedCallback(DeviceCallback callback);
    void UnregisterDeviceDisconnectedCallback(CallbackHandle handle);
    CallbackHandle RegisterDeviceReconnectedCallback(ReconnectCallback callback);
    void UnregisterDeviceReconnectedCallback(CallbackHandle handle);
    CallbackHandle RegisterDeviceListChangedCallback(std::function<void()> callback);
    void UnregisterDeviceListChangedCallback(CallbackHandle handle);

    std::string GetDisplayName() const;
    std::string GetID() const;
    std::string GetKey() const;
    std::string GetTLType() const;
    std::shared_ptr<System> GetParentSystem() const;
    std::shared_ptr<InterfaceDescriptor> GetDescriptor() const;

    // Internal: builds the interface node map once the object is owned by a shared_ptr.
    void BuildNodeMap();
    // Internal: makes the device the one the interface node map's DeviceSelector shows.
    bool SelectDevice(const std::string& deviceId);
    std::shared_ptr<detail::TransportBackend> Backend() const { return m_backend; }

private:
    detail::InterfaceInfo Info() const;

    std::weak_ptr<System> m_system;
    std::weak_ptr<InterfaceDescriptor> m_descriptor;
    std::shared_ptr<detail::TransportBackend> m_backend;
    std::string m_id;
    std::string m_key;
    std::mutex m_updateMutex;
    mutable std::mutex m_mutex; // guards m_devices, m_selectedDevice
    std::vector<std::shared_ptr<DeviceDescriptor>> m_devices;
    int64_t m_selectedDevice = 0;
    CallbackList<const std::shared_ptr<DeviceDescriptor>&> m_found;
    CallbackList<const std::shared_ptr<DeviceDescriptor>&> m_lost;
    CallbackList<const std::shared_ptr<DeviceDescriptor>&> m_disconnected;
    CallbackList<const std::shared_ptr<DeviceDescriptor>&, const DeviceReconnectInformation&> m_reconnected;
    CallbackList<> m_listChanged;
};

} // namespace orna::core
