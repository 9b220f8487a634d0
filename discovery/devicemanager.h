// The process-wide registry of producers, systems, interfaces and device descriptors.
//
// Lifetime: one instance behind one global pointer, counted by AddReference/ReleaseReference (the main window
// takes the reference at library bring-up and drops it before the library closes). Instance() gives a shared
// pointer, so that an update job that holds one keeps the object alive while ReleaseReference clears the
// global pointer.
//
// Threads: Update and Reset never run at the same time (m_passMutex; the camera list runs both on its update
// job, so the GUI thread never waits for a pass); the accessors and the event registration may be called from
// any thread. Library callbacks arrive on the threads that run the System/Interface update tasks and only
// append to their record under its recordMutex. Every event is raised on the thread that runs Update or Reset,
// after the list and record locks are released, so a subscriber may call Systems(), Interfaces() and Devices()
// from inside its handler, but not Update or Reset.
//
// Mutexes:
//   s_instanceMutex      the global pointer and the reference count
//   m_passMutex          one Update or Reset at a time, held for the whole call (first in the lock order)
//   m_producerPathMutex  m_pendingProducerPaths
//   m_systemsMutex, m_interfacesMutex, m_devicesMutex  the three lists and m_loadedProducerPaths (taken
//                        together through LockLists; order systems, interfaces, devices)
//   m_recordsMutex       the two record maps themselves (not the records' contents)
//   Record::recordMutex  one record's queues and id map; never held with one of the list mutexes
//   OpenedDevices::openedDevicesMutex  the list of devices opened through a descriptor we announced
//   EventList::mutex     one event list's subscribers
#pragma once

#include "orna/core/callbacklist.h"
#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna {

class DeviceManager
{
public:
    enum class UpdatePolicy
    {
        ScanEnvironment = 0,
        NoScan = 1,
    };
    using ErrorCallback = std::function<void(const std::string&)>;
    using Handle = core::CallbackHandle;

    // Creates the instance when the count is zero, then raises the count.
    static void AddReference();
    // Lowers the count; at zero the global pointer is cleared (the object dies with the last holder).
    static void ReleaseReference();
    // Raises NotInitializedException when no reference is held.
    static std::shared_ptr<DeviceManager> Instance();

    ~DeviceManager();
    DeviceManager(const DeviceManager&) = delete;
    DeviceManager& operator=(const DeviceManager&) = delete;

    void Update(UpdatePolicy policy, const ErrorCallback& errorCallback);
    void AddProducerLibrary(const std::string& ctiPath);
    // Raises InvalidInstanceException naming the open devices unless skipOpenDeviceCheck.
    void Reset(bool skipOpenDeviceCheck);

    std::vector<std::shared_ptr<core::System>> Systems() const;
    std::vector<std::shared_ptr<core::Interface>> Interfaces() const;
    std::vector<std::shared_ptr<core::DeviceDescriptor>> Devices() const;

    void SetInterfaceUpdateTimeout(uint64_t ms) { m_interfaceUpdateTimeout = ms; }
    void SetDeviceUpdateTimeout(uint64_t ms) { m_deviceUpdateTimeout = ms; }

    Handle RegisterSystemFound(std::function<void(std::shared_ptr<core::System>)> f);
    Handle RegisterInterfaceFound(std::function<void(std::shared_ptr<core::Interface>)> f);
    Handle RegisterInterfaceLost(std::function<void(std::string)> f);
    Handle RegisterDeviceFound(std::function<void(std::shared_ptr<core::DeviceDescriptor>)> f);
    Handle RegisterDeviceLost(std::function<void(std::string)> f);
    Handle RegisterDeviceDisconnected(std::function<void(std::shared_ptr<core::DeviceDescriptor>)> f);
    Handle RegisterDeviceReconnected(
        std::function<void(std::shared_ptr<core::DeviceDescriptor>, core::DeviceReconnectInformation)> f);
    // Raised after every interface update task with the interface's key; nothing in the program listens.
    Handle RegisterInterfaceUpdated(std::function<void(std::string)> f);
    void UnregisterSystemFound(Handle h);
    void UnregisterInterfaceFound(Handle h);
    void UnregisterInterfaceLost(Handle h);
    void UnregisterDeviceFound(Handle h);
    void UnregisterDeviceLost(Handle h);
    void UnregisterDeviceDisconnected(Handle h);
    void UnregisterDeviceReconnected(Handle h);
    void UnregisterInterfaceUpdated(Handle h);

private:
    DeviceManager() = default;

    struct SystemRecord
    {
        std::mutex recordMutex;
        std::weak_ptr<core::System> system;
        Handle foundHandle = 0;
        Handle lostHandle = 0;
        std::vector<std::shared_ptr<core::InterfaceDescriptor>> foundInterfaces;
        std::vector<std::string> lostInterfaceKeys;
        std::map<std::string, std::string> keyById;
    };
    struct InterfaceRecord
    {
        std::mutex recordMutex;
        std::weak_ptr<core::Interface> iface;
        Handle foundHandle = 0;
        Handle lostHandle = 0;
        Handle disconnectedHandle = 0;
        Handle reconnectedHandle = 0;
        Handle listChangedHandle = 0;
        std::vector<std::shared_ptr<core::DeviceDescriptor>> foundDevices;
        std::vector<std::string> lostDeviceKeys;
        std::map<std::string, std::string> keyById;
    };
    struct OpenedDevice
    {
        std::weak_ptr<core::Device> device;
        std::string id;
    };
    template <typename... Args> struct EventList
    {
        core::CallbackList<Args...> list;
    };

    struct OpenedDevices;
    void AddSystemCallbacks(const std::shared_ptr<core::System>& system);
    // Takes what a system or interface already lists as found (a module handed back again after a reset).
    void AdoptKnownInterfaces(const std::shared_ptr<core::System>& system);
    void AdoptKnownDevices(const std::shared_ptr<core::Interface>& iface);
    static void RecordFoundInterface(SystemRecord& record, const std::shared_ptr<core::InterfaceDescriptor>& d);
    static void RecordFoundDevice(InterfaceRecord& record, const std::shared_ptr<core::DeviceDescriptor>& d,
                                  const std::weak_ptr<OpenedDevices>& opened);
    void AddInterfaceCallbacks(const std::shared_ptr<core::Interface>& iface);
    void RemoveSystemRecord(const std::string& key);
    void RemoveInterfaceRecord(const std::string& key);
    void CheckNoOpenDevice();
    // Blocks on the first list mutex, tries the other two, and starts over when one is busy.
    std::unique_lock<std::mutex> LockLists(std::unique_lock<std::mutex>& interfaces,
                                           std::unique_lock<std::mutex>& devices) const;

    static std::mutex s_instanceMutex;
    static std::shared_ptr<DeviceManager> s_instance;
    static int s_referenceCount;

    uint64_t m_interfaceUpdateTimeout = 0;
    uint64_t m_deviceUpdateTimeout = 0;

    std::mutex m_passMutex;
    std::mutex m_producerPathMutex;
    std::vector<std::string> m_pendingProducerPaths;
    std::map<std::string, std::shared_ptr<core::ProducerLibrary>> m_loadedProducerPaths;
    std::vector<std::shared_ptr<core::System>> m_systems;
    std::vector<std::shared_ptr<core::Interface>> m_interfaces;
    std::vector<std::shared_ptr<core::DeviceDescriptor>> m_devices;

    std::mutex m_recordsMutex;
    std::map<std::string, std::shared_ptr<SystemRecord>> m_systemRecords;
    std::map<std::string, std::shared_ptr<InterfaceRecord>> m_interfaceRecords;

    // Shared with the descriptors' information-changed callbacks, which may outlive the manager.
    struct OpenedDevices
    {
        std::mutex openedDevicesMutex; // guards list
        std::vector<OpenedDevice> list;
    };
    const std::shared_ptr<OpenedDevices> m_openedDevices = std::make_shared<OpenedDevices>();

    mutable std::mutex m_systemsMutex;
    mutable std::mutex m_interfacesMutex;
    mutable std::mutex m_devicesMutex;

    // Destroyed last to first; declared in registration order.
    EventList<const std::shared_ptr<core::System>&> m_systemFound;
    EventList<const std::shared_ptr<core::Interface>&> m_interfaceFound;
    EventList<const std::string&> m_interfaceLost;
    EventList<const std::shared_ptr<core::DeviceDescriptor>&> m_deviceFound;
    EventList<const std::string&> m_deviceLost;
    EventList<const std::shared_ptr<core::DeviceDescriptor>&> m_deviceDisconnected;
    EventList<const std::shared_ptr<core::DeviceDescriptor>&, const core::DeviceReconnectInformation&>
        m_deviceReconnected;
    EventList<const std::string&> m_interfaceUpdated;
};

} // namespace orna
