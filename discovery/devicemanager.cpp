#include "discovery/devicemanager.h"

#include "orna/core/environmentinspector.h"
#include "orna/core/exception.h"

#include <algorithm>
#include <future>
#include <set>
#include <thread>

namespace orna {

namespace {

// Runs update(module) for every module on a std::async task of its own and waits for all of them. A failure
// is reported as "<label><id>]: <what>" and does not stop the other modules' updates.
// The error callback is the caller's and need not be thread-safe: the tasks' reports are serialised.
template <typename Module, typename Report, typename Update>
void FanOut(const std::vector<std::shared_ptr<Module>>& modules, const char* label, Report& report, Update update)
{
    std::mutex reportMutex;
    std::vector<std::future<void>> tasks;
    tasks.reserve(modules.size());
    for (const auto& module : modules)
        tasks.push_back(std::async(std::launch::async, [&module, label, &report, &update, &reportMutex] {
            std::string failure;
            try
            {
                update(module);
                return;
            }
            catch (const std::exception& e)
            {
                failure = e.what();
            }
            catch (...)
            {
                failure = "unknown error";
            }
            std::lock_guard<std::mutex> lock(reportMutex);
            try
            {
                report(label + module->GetID() + "]: " + failure);
            }
            catch (...)
            {
                // A failing error callback must not end the pass of the other modules.
            }
        }));
    for (auto& task : tasks)
        task.wait();
}

// True while the descriptor is the one its interface lists for its id. Takes only the interface's own mutex and
// never raises: it runs under the list mutexes, where an exception would end the pass half done. A descriptor
// whose interface is gone is not current.
bool IsCurrent(const std::shared_ptr<core::DeviceDescriptor>& descriptor) noexcept
{
    try
    {
        auto iface = descriptor->GetParentInterface();
        return iface && iface->FindDevice(descriptor->GetID()) == descriptor;
    }
    catch (...)
    {
        return false;
    }
}

// A device key is its interface's key, "|" and the device id.
bool BelongsTo(const std::string& deviceKey, const std::set<std::string>& interfaceKeys)
{
    for (const auto& key : interfaceKeys)
        if (deviceKey.size() > key.size() && deviceKey.compare(0, key.size(), key) == 0 && deviceKey[key.size()] == '|')
            return true;
    return false;
}

} // namespace

std::mutex DeviceManager::s_instanceMutex;
std::shared_ptr<DeviceManager> DeviceManager::s_instance;
int DeviceManager::s_referenceCount = 0;

void DeviceManager::AddReference()
{
    std::lock_guard<std::mutex> lock(s_instanceMutex);
    if (s_referenceCount == 0)
        s_instance.reset(new DeviceManager());
    ++s_referenceCount;
}

void DeviceManager::ReleaseReference()
{
    std::shared_ptr<DeviceManager> last;
    {
        std::lock_guard<std::mutex> lock(s_instanceMutex);
        if (s_referenceCount > 0)
            --s_referenceCount;
        if (s_referenceCount == 0 && s_instance)
            last = std::move(s_instance);
    }
    // Destroyed outside the instance mutex: the destructor raises events whose handlers may ask for Instance().
    last.reset();
}

std::shared_ptr<DeviceManager> DeviceManager::Instance()
{
    std::lock_guard<std::mutex> lock(s_instanceMutex);
    if (!s_instance)
        core::Raise(core::ReturnCode::NotInitialized, core::error_text::NotInitialized);
    return s_instance;
}

DeviceManager::~DeviceManager()
{
    try
    {
        Reset(true);
    }
    catch (...)
    {
        // Nothing can be reported from a destructor; the lists die with the object anyway.
    }
}

std::unique_lock<std::mutex> DeviceManager::LockLists(std::unique_lock<std::mutex>& interfaces,
                                                      std::unique_lock<std::mutex>& devices) const
{
    for (;;)
    {
        std::unique_lock<std::mutex> systems(m_systemsMutex);
        interfaces = std::unique_lock<std::mutex>(m_interfacesMutex, std::try_to_lock);
        if (interfaces.owns_lock())
        {
            devices = std::unique_lock<std::mutex>(m_devicesMutex, std::try_to_lock);
            if (devices.owns_lock())
                return systems;
            interfaces.unlock();
        }
        systems.unlock();
        std::this_thread::yield();
    }
}

void DeviceManager::AddProducerLibrary(const std::string& ctiPath)
{
    std::lock_guard<std::mutex> lock(m_producerPathMutex);
    m_pendingProducerPaths.push_back(ctiPath);
}

std::vector<std::shared_ptr<core::System>> DeviceManager::Systems() const
{
    std::lock_guard<std::mutex> lock(m_systemsMutex);
    return m_systems;
}

std::vector<std::shared_ptr<core::Interface>> DeviceManager::Interfaces() const
{
    std::lock_guard<std::mutex> lock(m_interfacesMutex);
    return m_interfaces;
}

std::vector<std::shared_ptr<core::DeviceDescriptor>> DeviceManager::Devices() const
{
    std::lock_guard<std::mutex> lock(m_devicesMutex);
    return m_devices;
}

void DeviceManager::Update(UpdatePolicy policy, const ErrorCallback& errorCallback)
{
    std::lock_guard<std::mutex> pass(m_passMutex);
    const uint64_t interfaceTimeout = m_interfaceUpdateTimeout;
    const uint64_t deviceTimeout = m_deviceUpdateTimeout;
    auto report = [&errorCallback](const std::string& text) {
        if (errorCallback)
            errorCallback(text);
    };

    std::vector<std::string> paths;
    if (policy == UpdatePolicy::ScanEnvironment)
    {
        core::EnvironmentInspector::UpdateCTIPaths();
        const size_t count = core::EnvironmentInspector::GetNumCTIPaths();
        for (size_t i = 0; i < count; ++i)
            paths.push_back(core::EnvironmentInspector::GetCTIPath(i));
    }
    {
        std::lock_guard<std::mutex> lock(m_producerPathMutex);
        paths.insert(paths.end(), m_pendingProducerPaths.begin(), m_pendingProducerPaths.end());
        m_pendingProducerPaths.clear();
    }

    // Only this thread (Update/Reset) changes m_loadedProducerPaths; the systems mutex makes that visible to a
    // Reset that runs on another thread later.
    std::vector<std::shared_ptr<core::System>> newSystems;
    for (const std::string& path : paths)
    {
        {
            std::lock_guard<std::mutex> lock(m_systemsMutex);
            if (m_loadedProducerPaths.count(path))
                continue;
        }
        try
        {
            auto producer = core::ProducerLibrary::Construct(path);
            auto system = producer->GetSystem()->OpenSystem();
            AddSystemCallbacks(system);
            // A producer loaded again after a reset may hand back the system it had (someone, e.g. the camera
            // tree until it has handled the reset, still holds it): its interfaces are known to it already and
            // no update reports them found again, so they are taken as found here.
            AdoptKnownInterfaces(system);
            {
                std::lock_guard<std::mutex> lock(m_systemsMutex);
                m_loadedProducerPaths[path] = producer;
            }
            newSystems.push_back(system);
        }
        catch (const std::exception& e)
        {
            report("[CTI - " + path + "]: " + e.what());
        }
    }

    std::vector<std::shared_ptr<core::System>> allSystems = Systems();
    allSystems.insert(allSystems.end(), newSystems.begin(), newSystems.end());
    FanOut(allSystems, "[System - ", report,
           [interfaceTimeout](const auto& system) { system->UpdateInterfaces(interfaceTimeout); });

    std::vector<std::shared_ptr<SystemRecord>> systemRecords;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        for (auto& entry : m_systemRecords)
            systemRecords.push_back(entry.second);
    }
    std::vector<std::shared_ptr<core::Interface>> newInterfaces;
    std::vector<std::string> lostInterfaceKeys;
    for (const auto& record : systemRecords)
    {
        std::vector<std::shared_ptr<core::InterfaceDescriptor>> found;
        {
            std::lock_guard<std::mutex> lock(record->recordMutex);
            found.swap(record->foundInterfaces);
            lostInterfaceKeys.insert(lostInterfaceKeys.end(), record->lostInterfaceKeys.begin(),
                                     record->lostInterfaceKeys.end());
            record->lostInterfaceKeys.clear();
        }
        for (const auto& descriptor : found)
        {
            try
            {
                auto iface = descriptor->OpenInterface();
                AddInterfaceCallbacks(iface);
                // The same for an interface that was still open: its devices are taken as found.
                AdoptKnownDevices(iface);
                newInterfaces.push_back(iface);
            }
            catch (const std::exception& e)
            {
                report("[Interface - " + descriptor->GetID() + "]: " + e.what());
            }
        }
    }

    std::vector<std::shared_ptr<core::Interface>> allInterfaces = Interfaces();
    allInterfaces.insert(allInterfaces.end(), newInterfaces.begin(), newInterfaces.end());
    FanOut(allInterfaces, "[Interface - ", report,
           [deviceTimeout](const auto& iface) { iface->UpdateDevices(deviceTimeout); });

    std::vector<std::shared_ptr<InterfaceRecord>> interfaceRecords;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        for (auto& entry : m_interfaceRecords)
            interfaceRecords.push_back(entry.second);
    }
    std::vector<std::shared_ptr<core::DeviceDescriptor>> foundDevices;
    std::vector<std::string> lostDeviceKeys;
    for (const auto& record : interfaceRecords)
    {
        std::lock_guard<std::mutex> lock(record->recordMutex);
        foundDevices.insert(foundDevices.end(), record->foundDevices.begin(), record->foundDevices.end());
        record->foundDevices.clear();
        lostDeviceKeys.insert(lostDeviceKeys.end(), record->lostDeviceKeys.begin(), record->lostDeviceKeys.end());
        record->lostDeviceKeys.clear();
    }

    {
        std::unique_lock<std::mutex> interfacesLock, devicesLock;
        std::unique_lock<std::mutex> systemsLock = LockLists(interfacesLock, devicesLock);
        m_systems.insert(m_systems.end(), newSystems.begin(), newSystems.end());
        m_interfaces.insert(m_interfaces.end(), newInterfaces.begin(), newInterfaces.end());
        const std::set<std::string> lostInterfaces(lostInterfaceKeys.begin(), lostInterfaceKeys.end());
        m_interfaces.erase(std::remove_if(m_interfaces.begin(), m_interfaces.end(),
                                          [&](const auto& i) { return lostInterfaces.count(i->GetKey()) > 0; }),
                           m_interfaces.end());
        // A device can be both found and lost (or lost and found again) within one pass; the interface's own
        // list tells which descriptor is current, so the list ends up as the interfaces see it.
        // The devices of a lost interface are lost with it, also those its last update still reported: nothing
        // updates that interface again, so they would otherwise stay listed for good.
        for (const auto& d : m_devices)
            if (BelongsTo(d->GetKey(), lostInterfaces) &&
                std::find(lostDeviceKeys.begin(), lostDeviceKeys.end(), d->GetKey()) == lostDeviceKeys.end())
                lostDeviceKeys.push_back(d->GetKey());
        for (const auto& d : foundDevices)
            if (BelongsTo(d->GetKey(), lostInterfaces) &&
                std::find(lostDeviceKeys.begin(), lostDeviceKeys.end(), d->GetKey()) == lostDeviceKeys.end())
                lostDeviceKeys.push_back(d->GetKey());
        const std::set<std::string> lostDevices(lostDeviceKeys.begin(), lostDeviceKeys.end());
        auto current = [&](const std::shared_ptr<core::DeviceDescriptor>& d) {
            return !BelongsTo(d->GetKey(), lostInterfaces) && IsCurrent(d);
        };
        m_devices.erase(
            std::remove_if(m_devices.begin(), m_devices.end(),
                           [&](const auto& d) { return lostDevices.count(d->GetKey()) > 0 && !current(d); }),
            m_devices.end());
        for (const auto& d : foundDevices)
            if (!lostDevices.count(d->GetKey()) || current(d))
                m_devices.push_back(d);
    }

    for (const auto& system : newSystems)
        m_systemFound.list.Invoke(system);
    for (const auto& iface : newInterfaces)
        m_interfaceFound.list.Invoke(iface);
    for (const auto& key : lostInterfaceKeys)
        m_interfaceLost.list.Invoke(key);
    // A key lost and found again within the pass is told lost first, so that the found descriptor is the one a
    // subscriber keeps.
    std::set<std::string> refound;
    for (const auto& d : Devices())
        refound.insert(d->GetKey());
    for (const auto& key : lostDeviceKeys)
        if (refound.count(key))
            m_deviceLost.list.Invoke(key);
    for (const auto& descriptor : foundDevices)
        m_deviceFound.list.Invoke(descriptor);
    for (const auto& key : lostInterfaceKeys)
        RemoveInterfaceRecord(key);
    for (const auto& key : lostDeviceKeys)
        if (!refound.count(key))
            m_deviceLost.list.Invoke(key);
}

void DeviceManager::AddSystemCallbacks(const std::shared_ptr<core::System>& system)
{
    const std::string key = system->GetKey();
    auto record = std::make_shared<SystemRecord>();
    record->system = system;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        m_systemRecords[key] = record;
    }
    auto findRecord = [this, key]() -> std::shared_ptr<SystemRecord> {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_systemRecords.find(key);
        return it == m_systemRecords.end() ? nullptr : it->second;
    };
    record->foundHandle =
        system->RegisterInterfaceFoundCallback([findRecord](const std::shared_ptr<core::InterfaceDescriptor>& d) {
            if (auto record = findRecord())
                RecordFoundInterface(*record, d);
        });
    record->lostHandle =
        system->RegisterInterfaceLostCallback([findRecord](const std::shared_ptr<core::InterfaceDescriptor>& d) {
            auto record = findRecord();
            if (!record)
                return;
            std::lock_guard<std::mutex> lock(record->recordMutex);
            auto it = record->keyById.find(d->GetID());
            if (it == record->keyById.end())
                return;
            record->lostInterfaceKeys.push_back(it->second);
            record->keyById.erase(it);
        });
}

void DeviceManager::AddInterfaceCallbacks(const std::shared_ptr<core::Interface>& iface)
{
    const std::string key = iface->GetKey();
    auto record = std::make_shared<InterfaceRecord>();
    record->iface = iface;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        m_interfaceRecords[key] = record;
    }
    auto findRecord = [this, key]() -> std::shared_ptr<InterfaceRecord> {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_interfaceRecords.find(key);
        return it == m_interfaceRecords.end() ? nullptr : it->second;
    };
    std::weak_ptr<OpenedDevices> opened = m_openedDevices;
    record->foundHandle =
        iface->RegisterDeviceFoundCallback([findRecord, opened](const std::shared_ptr<core::DeviceDescriptor>& d) {
            if (auto record = findRecord())
                RecordFoundDevice(*record, d, opened);
        });
    record->lostHandle =
        iface->RegisterDeviceLostCallback([findRecord](const std::shared_ptr<core::DeviceDescriptor>& d) {
            auto record = findRecord();
            if (!record)
                return;
            std::lock_guard<std::mutex> lock(record->recordMutex);
            auto it = record->keyById.find(d->GetID());
            if (it == record->keyById.end())
                return;
            record->lostDeviceKeys.push_back(it->second);
            record->keyById.erase(it);
        });
    record->disconnectedHandle = iface->RegisterDeviceDisconnectedCallback(
        [this](const std::shared_ptr<core::DeviceDescriptor>& d) { m_deviceDisconnected.list.Invoke(d); });
    record->reconnectedHandle = iface->RegisterDeviceReconnectedCallback(
        [this](const std::shared_ptr<core::DeviceDescriptor>& d, const core::DeviceReconnectInformation& info) {
            m_deviceReconnected.list.Invoke(d, info);
        });
    record->listChangedHandle =
        iface->RegisterDeviceListChangedCallback([this, key] { m_interfaceUpdated.list.Invoke(key); });
}

void DeviceManager::RecordFoundInterface(SystemRecord& record, const std::shared_ptr<core::InterfaceDescriptor>& d)
{
    std::lock_guard<std::mutex> lock(record.recordMutex);
    record.foundInterfaces.push_back(d);
    record.keyById[d->GetID()] = d->GetKey();
}

void DeviceManager::RecordFoundDevice(InterfaceRecord& record, const std::shared_ptr<core::DeviceDescriptor>& d,
                                      const std::weak_ptr<OpenedDevices>& opened)
{
    {
        std::lock_guard<std::mutex> lock(record.recordMutex);
        record.foundDevices.push_back(d);
        record.keyById[d->GetID()] = d->GetKey();
    }
    // Opening a device changes its descriptor's information; that is where an open device becomes known.
    d->RegisterInformationChangedCallback([opened](const std::shared_ptr<core::DeviceDescriptor>& changed) {
        auto list = opened.lock();
        auto device = changed->GetOpenDevice();
        if (!list || !device)
            return;
        std::lock_guard<std::mutex> lock(list->openedDevicesMutex);
        auto& entries = list->list;
        entries.erase(
            std::remove_if(entries.begin(), entries.end(), [](const OpenedDevice& e) { return e.device.expired(); }),
            entries.end());
        for (const auto& entry : entries)
            if (entry.device.lock() == device)
                return;
        entries.push_back({device, changed->GetID()});
    });
}

void DeviceManager::AdoptKnownInterfaces(const std::shared_ptr<core::System>& system)
{
    std::shared_ptr<SystemRecord> record;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_systemRecords.find(system->GetKey());
        if (it == m_systemRecords.end())
            return;
        record = it->second;
    }
    for (const auto& descriptor : system->GetInterfaces())
    {
        bool known = false;
        {
            std::lock_guard<std::mutex> lock(record->recordMutex);
            known = record->keyById.count(descriptor->GetID()) > 0;
        }
        if (!known)
            RecordFoundInterface(*record, descriptor);
    }
}

void DeviceManager::AdoptKnownDevices(const std::shared_ptr<core::Interface>& iface)
{
    std::shared_ptr<InterfaceRecord> record;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_interfaceRecords.find(iface->GetKey());
        if (it == m_interfaceRecords.end())
            return;
        record = it->second;
    }
    for (const auto& descriptor : iface->GetDevices())
    {
        bool known = false;
        {
            std::lock_guard<std::mutex> lock(record->recordMutex);
            known = record->keyById.count(descriptor->GetID()) > 0;
        }
        if (!known)
            RecordFoundDevice(*record, descriptor, m_openedDevices);
    }
}

void DeviceManager::RemoveSystemRecord(const std::string& key)
{
    std::shared_ptr<SystemRecord> record;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_systemRecords.find(key);
        if (it == m_systemRecords.end())
            return;
        record = it->second;
        m_systemRecords.erase(it);
    }
    if (auto system = record->system.lock())
    {
        system->UnregisterInterfaceFoundCallback(record->foundHandle);
        system->UnregisterInterfaceLostCallback(record->lostHandle);
    }
}

void DeviceManager::RemoveInterfaceRecord(const std::string& key)
{
    std::shared_ptr<InterfaceRecord> record;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        auto it = m_interfaceRecords.find(key);
        if (it == m_interfaceRecords.end())
            return;
        record = it->second;
        m_interfaceRecords.erase(it);
    }
    if (auto iface = record->iface.lock())
    {
        iface->UnregisterDeviceFoundCallback(record->foundHandle);
        iface->UnregisterDeviceLostCallback(record->lostHandle);
        iface->UnregisterDeviceDisconnectedCallback(record->disconnectedHandle);
        iface->UnregisterDeviceReconnectedCallback(record->reconnectedHandle);
        iface->UnregisterDeviceListChangedCallback(record->listChangedHandle);
    }
}

void DeviceManager::CheckNoOpenDevice()
{
    std::lock_guard<std::mutex> lock(m_openedDevices->openedDevicesMutex);
    size_t count = 0;
    std::string text;
    for (const auto& entry : m_openedDevices->list)
    {
        if (entry.device.lock())
        {
            ++count;
            text += entry.id + " ";
        }
    }
    if (count != 0)
        throw core::InvalidInstanceException(
            "Can't reset the device manager while there are devices open. The following devices (" +
            std::to_string(count) + ") are open: " + text);
}

void DeviceManager::Reset(bool skipOpenDeviceCheck)
{
    // A reset inside a pass would drop what the pass has just made and let it re-add what the reset moved out.
    std::lock_guard<std::mutex> pass(m_passMutex);
    if (!skipOpenDeviceCheck)
        CheckNoOpenDevice();

    std::vector<std::string> deviceKeys, interfaceKeys, systemKeys;
    {
        std::unique_lock<std::mutex> interfacesLock, devicesLock;
        std::unique_lock<std::mutex> systemsLock = LockLists(interfacesLock, devicesLock);
        auto devices = std::move(m_devices);
        auto interfaces = std::move(m_interfaces);
        auto systems = std::move(m_systems);
        m_devices.clear();
        m_interfaces.clear();
        m_systems.clear();
        for (const auto& d : devices)
            deviceKeys.push_back(d->GetKey());
        for (const auto& i : interfaces)
            interfaceKeys.push_back(i->GetKey());
        for (const auto& s : systems)
            systemKeys.push_back(s->GetKey());
        m_loadedProducerPaths.clear();
    }
    // Records of systems and interfaces that never reached the lists (a pass that failed half-way) go too.
    std::vector<std::string> systemRecordKeys, interfaceRecordKeys;
    {
        std::lock_guard<std::mutex> lock(m_recordsMutex);
        for (const auto& entry : m_systemRecords)
            systemRecordKeys.push_back(entry.first);
        for (const auto& entry : m_interfaceRecords)
            interfaceRecordKeys.push_back(entry.first);
    }
    for (const auto& key : interfaceRecordKeys)
        RemoveInterfaceRecord(key);
    for (const auto& key : systemRecordKeys)
        RemoveSystemRecord(key);

    for (const auto& key : deviceKeys)
        m_deviceLost.list.Invoke(key);
    for (const auto& key : interfaceKeys)
        m_interfaceLost.list.Invoke(key);
}

#define ORNA_DEVICE_MANAGER_EVENT(Name, member, Function)                                                              \
    DeviceManager::Handle DeviceManager::Register##Name(Function f)                                                    \
    {                                                                                                                  \
        return member.list.Add(std::move(f));                                                                          \
    }                                                                                                                  \
    void DeviceManager::Unregister##Name(Handle h)                                                                     \
    {                                                                                                                  \
        member.list.Remove(h);                                                                                         \
    }

ORNA_DEVICE_MANAGER_EVENT(SystemFound, m_systemFound, std::function<void(std::shared_ptr<core::System>)>)
ORNA_DEVICE_MANAGER_EVENT(InterfaceFound, m_interfaceFound, std::function<void(std::shared_ptr<core::Interface>)>)
ORNA_DEVICE_MANAGER_EVENT(InterfaceLost, m_interfaceLost, std::function<void(std::string)>)
ORNA_DEVICE_MANAGER_EVENT(DeviceFound, m_deviceFound, std::function<void(std::shared_ptr<core::DeviceDescriptor>)>)
ORNA_DEVICE_MANAGER_EVENT(DeviceLost, m_deviceLost, std::function<void(std::string)>)
ORNA_DEVICE_MANAGER_EVENT(DeviceDisconnected, m_deviceDisconnected,
                          std::function<void(std::shared_ptr<core::DeviceDescriptor>)>)
ORNA_DEVICE_MANAGER_EVENT(InterfaceUpdated, m_interfaceUpdated, std::function<void(std::string)>)

#undef ORNA_DEVICE_MANAGER_EVENT

DeviceManager::Handle DeviceManager::RegisterDeviceReconnected(
    std::function<void(std::shared_ptr<core::DeviceDescriptor>, core::DeviceReconnectInformation)> f)
{
    return m_deviceReconnected.list.Add(std::move(f));
}

void DeviceManager::UnregisterDeviceReconnected(Handle h)
{
    m_deviceReconnected.list.Remove(h);
}

} // namespace orna
