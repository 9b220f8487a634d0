#include "orna/core/interface.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/system.h"

#include <algorithm>

namespace orna::core {

// --- InterfaceDescriptor

InterfaceDescriptor::InterfaceDescriptor(std::weak_ptr<System> system, detail::InterfaceInfo info, std::string key)
    : ModuleDescriptor(info.id, std::move(key)), m_system(std::move(system)), m_info(std::move(info))
{
}

std::shared_ptr<Interface> InterfaceDescriptor::OpenInterface()
{
    auto system = GetParentSystem();
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto open = m_interface.lock())
        return open;
    auto iface = std::make_shared<Interface>(system, weak_from_this(), system->Backend());
    iface->BuildNodeMap();
    m_interface = iface;
    return iface;
}

std::string InterfaceDescriptor::GetDisplayName() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.displayName;
}

std::string InterfaceDescriptor::GetTLType() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.tlType;
}

std::shared_ptr<System> InterfaceDescriptor::GetParentSystem() const
{
    auto system = m_system.lock();
    if (!system)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return system;
}

detail::InterfaceInfo InterfaceDescriptor::Info() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info;
}

void InterfaceDescriptor::SetInfo(const detail::InterfaceInfo& info)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_info = info;
}

// --- Interface

Interface::Interface(std::weak_ptr<System> system, std::weak_ptr<InterfaceDescriptor> descriptor,
                     std::shared_ptr<detail::TransportBackend> backend)
    : m_system(std::move(system)), m_descriptor(std::move(descriptor)), m_backend(std::move(backend))
{
    auto d = m_descriptor.lock();
    if (!d)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    m_id = d->GetID();
    m_key = d->GetKey();
}

Interface::~Interface()
{
    m_backend->SetDeviceConnectionHandler(m_id, {});
}

detail::InterfaceInfo Interface::Info() const
{
    auto descriptor = m_descriptor.lock();
    return descriptor ? descriptor->Info() : detail::InterfaceInfo{};
}

void Interface::BuildNodeMap()
{
    std::weak_ptr<Interface> self = weak_from_this();
    m_backend->SetDeviceConnectionHandler(m_id, [self](const std::string& deviceId, bool connected) {
        auto iface = self.lock();
        auto descriptor = iface ? iface->FindDevice(deviceId) : nullptr;
        if (!descriptor)
            return;
        if (connected)
            iface->m_reconnected.Invoke(descriptor, DeviceReconnectInformation{});
        else
            iface->m_disconnected.Invoke(descriptor);
    });

    auto bank = std::make_shared<detail::RegisterBank>();
    detail::LocalXmlBuilder xml("Interface", bank);
    std::weak_ptr<Interface> weak = weak_from_this();
    auto info = [weak] {
        auto self = weak.lock();
        return self ? self->Info() : detail::InterfaceInfo{};
    };
    auto selected = [weak]() -> detail::DeviceInfo {
        auto self = weak.lock();
        if (!self)
            return {};
        std::lock_guard<std::mutex> lock(self->m_mutex);
        if (self->m_selectedDevice < 0 || self->m_selectedDevice >= int64_t(self->m_devices.size()))
            return {};
        return self->m_devices[size_t(self->m_selectedDevice)]->Info();
    };
    auto selectedStatus = [weak]() -> int64_t {
        auto self = weak.lock();
        if (!self)
            return 0;
        std::shared_ptr<DeviceDescriptor> device;
        {
            std::lock_guard<std::mutex> lock(self->m_mutex);
            if (self->m_selectedDevice < 0 || self->m_selectedDevice >= int64_t(self->m_devices.size()))
                return 0;
            device = self->m_devices[size_t(self->m_selectedDevice)];
        }
        return int64_t(device->GetAccessStatus());
    };
    const std::vector<std::string> deviceNodes{"DeviceID",
                                               "DeviceVendorName",
                                               "DeviceModelName",
                                               "DeviceSerialNumber",
                                               "DeviceAccessStatus",
                                               "DeviceUserID",
                                               "GevDeviceIPAddress",
                                               "GevDeviceSubnetMask",
                                               "GevDeviceMACAddress",
                                               "GevDeviceIPConfigurationStatus"};
    xml.Category("InterfaceInformation",
                 {"InterfaceID", "InterfaceType", "InterfaceDisplayName", "GevInterfaceSubnetIPAddress",
                  "GevInterfaceSubnetMask", "GevInterfaceMACAddress"});
    std::vector<std::string> enumeration{"DeviceUpdateList", "DeviceSelector"};
    enumeration.insert(enumeration.end(), deviceNodes.begin(), deviceNodes.end());
    xml.Category("DeviceEnumeration", enumeration);
    xml.String("InterfaceID", [info] { return info().id; });
    xml.String("InterfaceType", [info] { return info().tlType; });
    xml.String("InterfaceDisplayName", [info] { return info().displayName; });
    xml.Integer(
        "GevInterfaceSubnetIPAddress", [info] { return int64_t(info().ipAddress); }, {}, "IPV4Address");
    xml.Integer(
        "GevInterfaceSubnetMask", [info] { return int64_t(info().subnetMask); }, {}, "IPV4Address");
    xml.Integer(
        "GevInterfaceMACAddress", [info] { return int64_t(info().macAddress); }, {}, "MACAddress");
    xml.Command("DeviceUpdateList", [weak] {
        if (auto self = weak.lock())
            self->UpdateDevices(1000);
    });
    xml.Integer(
        "DeviceSelector",
        [weak] {
            auto self = weak.lock();
            if (!self)
                return int64_t(0);
            std::lock_guard<std::mutex> lock(self->m_mutex);
            return self->m_selectedDevice;
        },
        [weak](int64_t value) {
            auto self = weak.lock();
            if (!self)
                return false;
            std::lock_guard<std::mutex> lock(self->m_mutex);
            self->m_selectedDevice = value;
            return true;
        },
        "", deviceNodes,
        [weak] {
            auto self = weak.lock();
            if (!self)
                return int64_t(0);
            std::lock_guard<std::mutex> lock(self->m_mutex);
            return std::max<int64_t>(0, int64_t(self->m_devices.size()) - 1);
        });
    xml.String("DeviceID", [selected] { return selected().id; });
    xml.String("DeviceVendorName", [selected] { return selected().vendor; });
    xml.String("DeviceModelName", [selected] { return selected().model; });
    xml.String("DeviceSerialNumber", [selected] { return selected().serialNumber; });
    xml.Enumeration("DeviceAccessStatus",
                    {{"Unknown", 0},
                     {"ReadWrite", 1},
                     {"ReadOnly", 2},
                     {"NoAccess", 3},
                     {"Busy", 4},
                     {"OpenReadWrite", 5},
                     {"OpenReadOnly", 6}},
                    selectedStatus);
    xml.String("DeviceUserID", [selected] { return selected().userDefinedName; });
    xml.Integer(
        "GevDeviceIPAddress", [selected] { return int64_t(selected().ipAddress); }, {}, "IPV4Address");
    xml.Integer(
        "GevDeviceSubnetMask", [selected] { return int64_t(selected().subnetMask); }, {}, "IPV4Address");
    xml.Integer(
        "GevDeviceMACAddress", [selected] { return int64_t(selected().macAddress); }, {}, "MACAddress");
    xml.Enumeration("GevDeviceIPConfigurationStatus",
                    {{"None", 0}, {"PersistentIP", 1}, {"DHCP", 2}, {"LLA", 3}, {"ForceIP", 4}},
                    [selected] { return selected().ipConfigurationStatus; });
    const std::string text = xml.Finish({"InterfaceInformation", "DeviceEnumeration"});
    SetNodeMaps({detail::CreateLocalNodeMap(bank, text)});
    SetPort(std::make_shared<Port>(std::make_shared<detail::BankPort>(bank, xml.Url())));
}

bool Interface::SelectDevice(const std::string& deviceId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (size_t i = 0; i < m_devices.size(); ++i)
    {
        if (m_devices[i]->GetID() == deviceId)
        {
            m_selectedDevice = int64_t(i);
            return true;
        }
    }
    return false;
}

bool Interface::UpdateDevices(uint64_t timeoutMs)
{
    std::lock_guard<std::mutex> pass(m_updateMutex);
    const auto listed = m_backend->ListDevices(m_id, timeoutMs);
    std::vector<std::shared_ptr<DeviceDescriptor>> found, lost, changed;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<DeviceDescriptor>> next;
        for (const auto& info : listed)
        {
            auto it =
                std::find_if(m_devices.begin(), m_devices.end(), [&](const auto& d) { return d->GetID() == info.id; });
            if (it != m_devices.end())
            {
                if ((*it)->Info() != info)
                    changed.push_back(*it);
                next.push_back(*it);
            }
            else
            {
                auto descriptor = std::make_shared<DeviceDescriptor>(weak_from_this(), info, m_key + "|" + info.id);
                next.push_back(descriptor);
                found.push_back(descriptor);
            }
        }
        for (const auto& old : m_devices)
        {
            if (std::find(next.begin(), next.end(), old) == next.end())
                lost.push_back(old);
        }
        m_devices = std::move(next);
    }
    for (const auto& descriptor : changed)
    {
        auto it =
            std::find_if(listed.begin(), listed.end(), [&](const auto& i) { return i.id == descriptor->GetID(); });
        descriptor->UpdateInfo(*it);
    }
    for (const auto& descriptor : lost)
    {
        descriptor->SetPresent(false);
        m_lost.Invoke(descriptor);
    }
    for (const auto& descriptor : found)
        m_found.Invoke(descriptor);
    const bool listChanged = !found.empty() || !lost.empty();
    if (listChanged || !changed.empty())
        m_listChanged.Invoke();
    return listChanged;
}

std::vector<std::shared_ptr<DeviceDescriptor>> Interface::GetDevices() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_devices;
}

std::shared_ptr<DeviceDescriptor> Interface::FindDevice(const std::string& id) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& descriptor : m_devices)
    {
        if (descriptor->GetID() == id)
            return descriptor;
    }
    return nullptr;
}

#define ORNA_CALLBACK_PAIR(Name, list, Type)                                                                           \
    CallbackHandle Interface::Register##Name##Callback(Type callback)                                                  \
    {                                                                                                                  \
        RequireNotNull(callback, nullptr_text::Pointer);                                                               \
        return list.Add(std::move(callback));                                                                          \
    }                                                                                                                  \
    void Interface::Unregister##Name##Callback(CallbackHandle handle)                                                  \
    {                                                                                                                  \
        if (!list.Remove(handle))                                                                                      \
            Raise(ReturnCode::NotFound, "No such callback");                                                           \
    }

ORNA_CALLBACK_PAIR(DeviceFound, m_found, DeviceCallback)
ORNA_CALLBACK_PAIR(DeviceLost, m_lost, DeviceCallback)
ORNA_CALLBACK_PAIR(DeviceDisconnected, m_disconnected, DeviceCallback)
ORNA_CALLBACK_PAIR(DeviceReconnected, m_reconnected, ReconnectCallback)
ORNA_CALLBACK_PAIR(DeviceListChanged, m_listChanged, std::function<void()>)
#undef ORNA_CALLBACK_PAIR

std::string Interface::GetDisplayName() const
{
    return Info().displayName;
}

std::string Interface::GetID() const
{
    return m_id;
}

std::string Interface::GetKey() const
{
    return m_key;
}

std::string Interface::GetTLType() const
{
    return Info().tlType;
}

std::shared_ptr<System> Interface::GetParentSystem() const
{
    auto system = m_system.lock();
    if (!system)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return system;
}

std::shared_ptr<InterfaceDescriptor> Interface::GetDescriptor() const
{
    auto descriptor = m_descriptor.lock();
    if (!descriptor)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return descriptor;
}

} // namespace orna::core
