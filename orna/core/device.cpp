#include "orna/core/device.h"

#include "orna/core/datastream.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/exception.h"
#include "orna/core/system.h"

#include <algorithm>

namespace orna::core {

// --- DeviceDescriptor

DeviceDescriptor::DeviceDescriptor(std::weak_ptr<Interface> parent, detail::DeviceInfo info, std::string key)
    : ModuleDescriptor(info.id, std::move(key)), m_parent(std::move(parent)), m_info(std::move(info))
{
}

DeviceAccessStatus DeviceDescriptor::GetAccessStatus() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_device.expired())
        return m_openAccess == DeviceAccessType::ReadOnly ? DeviceAccessStatus::OpenReadOnly
                                                          : DeviceAccessStatus::OpenReadWrite;
    // Busy or no access as the transport last saw it (GigE: another host holds control, or the address lies
    // outside the card's subnet).
    return m_present ? m_info.accessStatus : DeviceAccessStatus::Unknown;
}

bool DeviceDescriptor::GetIsOutsideInterfaceSubnet() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.outsideSubnet;
}

bool DeviceDescriptor::GetIsOpenable(DeviceAccessType access) const
{
    if (access == DeviceAccessType::None)
        return false;
    return GetAccessStatus() == DeviceAccessStatus::ReadWrite;
}

std::shared_ptr<Device> DeviceDescriptor::OpenDevice(DeviceAccessType access)
{
    auto parent = GetParentInterface();
    detail::DeviceInfo info;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_device.expired())
            Raise(ReturnCode::BadAccess, "Device " + m_info.id + " is already open");
        if (!m_present)
            Raise(ReturnCode::NotAvailable, "Device " + m_info.id + " is no longer present");
        info = m_info;
    }
    auto backend = parent->Backend()->OpenDevice(parent->GetID(), info, access);
    auto device = std::make_shared<Device>(weak_from_this(), parent,
                                           std::shared_ptr<detail::DeviceBackend>(std::move(backend)), access);
    device->Initialize();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_device.expired())
            Raise(ReturnCode::BadAccess, "Device " + m_info.id + " is already open");
        m_device = device;
        m_openAccess = access;
    }
    NotifyChanged();
    return device;
}

void DeviceDescriptor::OnDeviceClosed()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_openAccess = DeviceAccessType::None;
    }
    NotifyChanged();
}

std::string DeviceDescriptor::GetDisplayName() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.displayName;
}

std::string DeviceDescriptor::GetModelName() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.model;
}

std::string DeviceDescriptor::GetSerialNumber() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.serialNumber;
}

std::string DeviceDescriptor::GetTLType() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.tlType;
}

std::string DeviceDescriptor::GetUserDefinedName() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.userDefinedName;
}

std::string DeviceDescriptor::GetVendorName() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.vendor;
}

std::string DeviceDescriptor::GetVersion() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info.version;
}

std::shared_ptr<Interface> DeviceDescriptor::GetParentInterface() const
{
    auto parent = m_parent.lock();
    if (!parent)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return parent;
}

std::shared_ptr<Device> DeviceDescriptor::GetOpenDevice() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_device.lock();
}

CallbackHandle DeviceDescriptor::RegisterInformationChangedCallback(InformationChangedCallback callback)
{
    RequireNotNull(callback, nullptr_text::Pointer);
    return m_changed.Add(std::move(callback));
}

void DeviceDescriptor::UnregisterInformationChangedCallback(CallbackHandle handle)
{
    if (!m_changed.Remove(handle))
        Raise(ReturnCode::NotFound, "No such information-changed callback");
}

detail::DeviceInfo DeviceDescriptor::Info() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info;
}

void DeviceDescriptor::UpdateInfo(const detail::DeviceInfo& info)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_info == info && m_present)
            return;
        m_info = info;
        m_present = true;
    }
    NotifyChanged();
}

void DeviceDescriptor::SetPresent(bool present)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_present == present)
            return;
        m_present = present;
    }
    NotifyChanged();
}

void DeviceDescriptor::NotifyChanged()
{
    m_changed.Invoke(shared_from_this());
}

// --- RemoteDevice

RemoteDevice::RemoteDevice(std::shared_ptr<NodeMap> map, std::shared_ptr<Port> port)
{
    SetNodeMaps({std::move(map)});
    SetPort(std::move(port));
}

// --- Device

Device::Device(std::weak_ptr<DeviceDescriptor> descriptor, std::weak_ptr<Interface> parent,
               std::shared_ptr<detail::DeviceBackend> backend, DeviceAccessType access)
    : m_descriptor(std::move(descriptor)), m_parent(std::move(parent)), m_backend(std::move(backend)), m_access(access)
{
    auto d = m_descriptor.lock();
    if (!d)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    m_info = d->Info();
    m_key = d->GetKey();
}

Device::~Device()
{
    // Streams hold the transport device themselves; nothing here may call back into a dying Device.
    m_backend->SetConnectionLostHandler({});
    m_backend->SetEventHandler({});
    if (auto descriptor = m_descriptor.lock())
        descriptor->OnDeviceClosed();
}

void Device::Initialize()
{
    m_remote =
        std::make_shared<RemoteDevice>(m_backend->RemoteNodeMap(), std::make_shared<Port>(m_backend->RemotePort()));
    std::weak_ptr<Device> weak = weak_from_this();
    m_backend->SetConnectionLostHandler([weak] {
        if (auto self = weak.lock())
            self->OnConnectionLost();
    });
    m_backend->SetEventHandler([weak](uint64_t id, std::vector<uint8_t> data) {
        if (auto self = weak.lock())
            self->PushEvent(std::make_shared<Event>(EventType::RemoteDevice, id, std::move(data)));
    });
    {
        std::lock_guard<std::mutex> lock(m_streamMutex);
        for (const auto& id : m_backend->StreamIds())
            m_streamDescriptors.push_back(std::make_shared<DataStreamDescriptor>(weak, id, m_key + "|" + id));
    }

    auto bank = std::make_shared<detail::RegisterBank>();
    detail::LocalXmlBuilder xml("Device", bank);
    const detail::DeviceInfo info = m_info;
    auto status = [weak]() -> int64_t {
        auto self = weak.lock();
        if (!self)
            return 0;
        auto descriptor = self->m_descriptor.lock();
        return descriptor ? int64_t(descriptor->GetAccessStatus()) : 0;
    };
    auto streamIndex = std::make_shared<std::atomic<int64_t>>(0);
    std::vector<std::string> features{"DeviceID",       "DeviceVendorName", "DeviceModelName", "DeviceSerialNumber",
                                      "DeviceVersion",  "DeviceUserID",     "DeviceTLType",    "DeviceAccessStatus",
                                      "StreamSelector", "StreamID"};
    if (info.tlType == "GEV")
        features.insert(features.end(), {"GevDeviceIPAddress", "GevDeviceSubnetMask", "GevDeviceMACAddress"});
    xml.Category("DeviceInformation", features);
    xml.String("DeviceID", [info] { return info.id; });
    xml.String("DeviceVendorName", [info] { return info.vendor; });
    xml.String("DeviceModelName", [info] { return info.model; });
    xml.String("DeviceSerialNumber", [info] { return info.serialNumber; });
    xml.String("DeviceVersion", [info] { return info.version; });
    xml.String("DeviceUserID", [info] { return info.userDefinedName; });
    xml.String("DeviceTLType", [info] { return info.tlType; });
    xml.Enumeration("DeviceAccessStatus",
                    {{"Unknown", 0},
                     {"ReadWrite", 1},
                     {"ReadOnly", 2},
                     {"NoAccess", 3},
                     {"Busy", 4},
                     {"OpenReadWrite", 5},
                     {"OpenReadOnly", 6}},
                    status);
    std::vector<std::string> streamIds = m_backend->StreamIds();
    xml.Integer(
        "StreamSelector", [streamIndex] { return streamIndex->load(); },
        [streamIndex, streamIds](int64_t value) {
            if (value < 0 || value >= int64_t(std::max<size_t>(streamIds.size(), 1)))
                return false;
            streamIndex->store(value);
            return true;
        },
        "", {"StreamID"}, [streamIds] { return std::max<int64_t>(0, int64_t(streamIds.size()) - 1); });
    xml.String("StreamID", [streamIndex, streamIds] {
        const auto index = size_t(streamIndex->load());
        return index < streamIds.size() ? streamIds[index] : std::string();
    });
    if (info.tlType == "GEV")
    {
        xml.Integer(
            "GevDeviceIPAddress", [info] { return int64_t(info.ipAddress); }, {}, "IPV4Address");
        xml.Integer(
            "GevDeviceSubnetMask", [info] { return int64_t(info.subnetMask); }, {}, "IPV4Address");
        xml.Integer(
            "GevDeviceMACAddress", [info] { return int64_t(info.macAddress); }, {}, "MACAddress");
    }
    const std::string text = xml.Finish({"DeviceInformation"});
    SetNodeMaps({detail::CreateLocalNodeMap(bank, text)});
    SetPort(std::make_shared<Port>(std::make_shared<detail::BankPort>(bank, xml.Url())));
}

void Device::OnConnectionLost()
{
    if (m_lost.exchange(true))
        return;
    PushEvent(std::make_shared<Event>(EventType::ConnectionEvent, 0,
                                      std::vector<uint8_t>{uint8_t(ConnectionState::Disconnected)}));
    std::vector<std::shared_ptr<DataStream>> streams;
    {
        std::lock_guard<std::mutex> lock(m_streamMutex);
        for (const auto& weak : m_openStreams)
        {
            if (auto stream = weak.lock())
                streams.push_back(stream);
        }
    }
    for (auto& stream : streams)
        stream->OnDeviceLost();
}

void Device::RegisterStream(const std::shared_ptr<DataStream>& stream)
{
    std::lock_guard<std::mutex> lock(m_streamMutex);
    m_openStreams.erase(std::remove_if(m_openStreams.begin(), m_openStreams.end(),
                                       [](const std::weak_ptr<DataStream>& s) { return s.expired(); }),
                        m_openStreams.end());
    m_openStreams.push_back(stream);
}

size_t Device::GetNumDataStreams() const
{
    std::lock_guard<std::mutex> lock(m_streamMutex);
    return m_streamDescriptors.size();
}

std::shared_ptr<DataStreamDescriptor> Device::GetDataStream(size_t index) const
{
    std::lock_guard<std::mutex> lock(m_streamMutex);
    if (index >= m_streamDescriptors.size())
        Raise(ReturnCode::OutOfRange, "Data stream index " + std::to_string(index) + " out of range");
    return m_streamDescriptors[index];
}

std::string Device::GetDisplayName() const
{
    return m_info.displayName;
}

std::string Device::GetKey() const
{
    return m_key;
}

std::string Device::GetID() const
{
    return m_info.id;
}

std::string Device::GetSerialNumber() const
{
    return m_info.serialNumber;
}

std::string Device::GetModelName() const
{
    return m_info.model;
}

std::string Device::GetVendorName() const
{
    return m_info.vendor;
}

std::shared_ptr<DeviceDescriptor> Device::GetDescriptor() const
{
    auto descriptor = m_descriptor.lock();
    if (!descriptor)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return descriptor;
}

std::shared_ptr<Interface> Device::GetParentInterface() const
{
    auto parent = m_parent.lock();
    if (!parent)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return parent;
}

std::shared_ptr<System> Device::GetParentSystem() const
{
    return GetParentInterface()->GetParentSystem();
}

} // namespace orna::core
