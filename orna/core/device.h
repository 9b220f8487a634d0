// A device as discovered (DeviceDescriptor), as opened (Device, with the local device node map and the data
// stream descriptors) and its remote side (RemoteDevice: the camera's own node map and port).
//
// Threads: any. The descriptor's m_mutex guards its record, status and open-device link; information-changed
// callbacks run on the thread that caused the change (UpdateDevices, OpenDevice, the closing thread, or the
// transport's thread on a loss). Device's connection-lost handling runs on the transport's thread (Aravis'
// heartbeat thread): it records the loss, pushes a connection event and ends stream waits; nothing more.
#pragma once

#include "orna/core/callbacklist.h"
#include "orna/core/detail/backend.h"
#include "orna/core/interface.h"
#include "orna/core/module.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core {

class DataStream;
class DataStreamDescriptor;
class Device;
class RemoteDevice;

class DeviceDescriptor : public ModuleDescriptor, public std::enable_shared_from_this<DeviceDescriptor>
{
public:
    using InformationChangedCallback = std::function<void(const std::shared_ptr<DeviceDescriptor>&)>;

    DeviceDescriptor(std::weak_ptr<Interface> parent, detail::DeviceInfo info, std::string key);

    DeviceAccessStatus GetAccessStatus() const;
    bool GetIsOpenable(DeviceAccessType access) const;
    // Raises BadAccessException when we hold it open already or another application controls it.
    std::shared_ptr<Device> OpenDevice(DeviceAccessType access);
    std::string GetDisplayName() const;
    std::string GetModelName() const;
    std::string GetSerialNumber() const;
    std::string GetTLType() const;
    std::string GetUserDefinedName() const;
    std::string GetVendorName() const;
    std::string GetVersion() const;
    std::shared_ptr<Interface> GetParentInterface() const;
    // GigE: the camera's address lies outside the subnet of every network card (it needs a new address).
    bool GetIsOutsideInterfaceSubnet() const;
    // The open device, if we hold one.
    std::shared_ptr<Device> GetOpenDevice() const;

    CallbackHandle RegisterInformationChangedCallback(InformationChangedCallback callback);
    void UnregisterInformationChangedCallback(CallbackHandle handle);

    // Internal (interface, device).
    detail::DeviceInfo Info() const;
    void UpdateInfo(const detail::DeviceInfo& info);
    void SetPresent(bool present);
    void OnDeviceClosed();

private:
    void NotifyChanged();

    std::weak_ptr<Interface> m_parent;
    mutable std::mutex m_mutex; // guards m_info, m_present, m_openAccess, m_device
    detail::DeviceInfo m_info;
    bool m_present = true;
    DeviceAccessType m_openAccess = DeviceAccessType::None;
    std::weak_ptr<Device> m_device;
    CallbackList<const std::shared_ptr<DeviceDescriptor>&> m_changed;
};

class RemoteDevice : public Module
{
public:
    RemoteDevice(std::shared_ptr<NodeMap> map, std::shared_ptr<Port> port);
};

class Device : public EventSupportingModule, public std::enable_shared_from_this<Device>
{
public:
    Device(std::weak_ptr<DeviceDescriptor> descriptor, std::weak_ptr<Interface> parent,
           std::shared_ptr<detail::DeviceBackend> backend, DeviceAccessType access);
    ~Device() override;

    std::shared_ptr<RemoteDevice> GetRemoteDevice() const { return m_remote; }
    size_t GetNumDataStreams() const;
    std::shared_ptr<DataStreamDescriptor> GetDataStream(size_t index) const;
    std::string GetDisplayName() const;
    std::string GetKey() const;
    std::string GetID() const;
    std::string GetSerialNumber() const;
    std::string GetModelName() const;
    std::string GetVendorName() const;
    DeviceAccessType GetAccessType() const { return m_access; }
    // True once the transport reported the device lost; the device stays unusable.
    bool GetIsLost() const { return m_lost.load(); }
    std::shared_ptr<DeviceDescriptor> GetDescriptor() const;
    std::shared_ptr<Interface> GetParentInterface() const;
    std::shared_ptr<System> GetParentSystem() const;

    // Internal.
    void Initialize();
    std::shared_ptr<detail::DeviceBackend> Backend() const { return m_backend; }
    void RegisterStream(const std::shared_ptr<DataStream>& stream);

private:
    void OnConnectionLost();

    std::weak_ptr<DeviceDescriptor> m_descriptor;
    std::weak_ptr<Interface> m_parent;
    std::shared_ptr<detail::DeviceBackend> m_backend;
    const DeviceAccessType m_access;
    detail::DeviceInfo m_info;
    std::string m_key;
    std::shared_ptr<RemoteDevice> m_remote;
    std::atomic<bool> m_lost{false};
    mutable std::mutex m_streamMutex; // guards m_streamDescriptors, m_openStreams
    std::vector<std::shared_ptr<DataStreamDescriptor>> m_streamDescriptors;
    std::vector<std::weak_ptr<DataStream>> m_openStreams;
};

} // namespace orna::core
