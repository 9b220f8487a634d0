#include "camera/devicelib/ipconfiguration.h"

#include "common/logmessagesender.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/nodemap.h"

#include <mutex>

namespace camera::ip {

namespace {

using orna::core::DeviceDescriptor;
using namespace orna::core::nodes;

void LogFailure(const char* signature, const QString& message)
{
    LogMessageSender::Error(QStringLiteral("-"), QString::fromLatin1(signature), message);
}

// Makes the descriptor's device the one the interface node map shows. The caller holds the map's lock.
bool SelectDeviceInInterfaceNodemap(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor,
                                    const std::shared_ptr<orna::core::NodeMap>& map)
{
    static const char* kSignature = "bool (anonymous namespace)::SelectDeviceInInterfaceNodemap(const "
                                    "std::shared_ptr<orna::core::DeviceDescriptor> &)";
    try
    {
        auto selector = map->FindNode<IntegerNode>("DeviceSelector");
        auto id = map->FindNode<StringNode>("DeviceID");
        const int64_t last = selector->GetMaximum();
        for (int64_t index = selector->GetMinimum(); index <= last; ++index)
        {
            selector->SetValue(index);
            if (id->GetValue() == descriptor->GetID())
                return true;
        }
        LogFailure(kSignature, QStringLiteral("Device %1 is not listed by its interface.")
                                   .arg(QString::fromStdString(descriptor->GetID())));
    }
    catch (const std::exception& e)
    {
        LogFailure(kSignature, QString::fromUtf8(e.what()));
    }
    return false;
}

std::shared_ptr<orna::core::NodeMap> InterfaceMap(const std::shared_ptr<DeviceDescriptor>& descriptor)
{
    orna::core::RequireNotNull(descriptor, orna::core::nullptr_text::Device);
    return descriptor->GetParentInterface()->GetNodeMap();
}

} // namespace

QString ToString(Configuration configuration)
{
    switch (configuration)
    {
    case Configuration::DHCP:
        return QStringLiteral("DHCP");
    case Configuration::PersistentIP:
        return QStringLiteral("PersistentIP");
    case Configuration::LinkLocal:
        return QStringLiteral("LinkLocal");
    case Configuration::Invalid:
        break;
    }
    return QStringLiteral("Invalid");
}

Configuration FromString(const QString& text)
{
    if (text == QLatin1String("DHCP"))
        return Configuration::DHCP;
    if (text == QLatin1String("PersistentIP"))
        return Configuration::PersistentIP;
    if (text == QLatin1String("LinkLocal"))
        return Configuration::LinkLocal;
    return Configuration::Invalid;
}

QString AddressText(uint32_t address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg((address >> 24) & 0xff)
        .arg((address >> 16) & 0xff)
        .arg((address >> 8) & 0xff)
        .arg(address & 0xff);
}

QString MacText(int64_t mac)
{
    QString text = QStringLiteral("%1:%2:%3:%4:%5:%6");
    for (int shift = 40; shift >= 0; shift -= 8)
        text = text.arg(uint((uint64_t(mac) >> shift) & 0xff), 2, 16, QLatin1Char('0'));
    return text.toUpper();
}

bool GetDeviceIpAndSubnetMask(const std::shared_ptr<DeviceDescriptor>& descriptor, IpAddressAndSubnet& out)
{
    try
    {
        auto map = InterfaceMap(descriptor);
        std::lock_guard<orna::core::NodeMap> lock(*map);
        if (!SelectDeviceInInterfaceNodemap(descriptor, map))
            return false;
        out.ipAddress = uint32_t(map->FindNode<IntegerNode>("GevDeviceIPAddress")->GetValue());
        out.subnetMask = uint32_t(map->FindNode<IntegerNode>("GevDeviceSubnetMask")->GetValue());
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure("bool camera::ip::GetDeviceIpAndSubnetMask(const std::shared_ptr<orna::core::DeviceDescriptor> &, "
                   "IpAddressAndSubnet &)",
                   QString::fromUtf8(e.what()));
    }
    return false;
}

bool GetInterfaceIpAndSubnetMask(const std::shared_ptr<orna::core::Interface>& iface, IpAddressAndSubnet& out)
{
    try
    {
        orna::core::RequireNotNull(iface, orna::core::nullptr_text::Pointer);
        auto map = iface->GetNodeMap();
        std::lock_guard<orna::core::NodeMap> lock(*map);
        out.ipAddress = uint32_t(map->FindNode<IntegerNode>("GevInterfaceSubnetIPAddress")->GetValue());
        out.subnetMask = uint32_t(map->FindNode<IntegerNode>("GevInterfaceSubnetMask")->GetValue());
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure("bool camera::ip::GetInterfaceIpAndSubnetMask(const std::shared_ptr<orna::core::Interface> &, "
                   "IpAddressAndSubnet &)",
                   QString::fromUtf8(e.what()));
    }
    return false;
}

bool GetInterfaceMACAddress(const std::shared_ptr<orna::core::Interface>& iface, int64_t& mac)
{
    try
    {
        orna::core::RequireNotNull(iface, orna::core::nullptr_text::Pointer);
        auto map = iface->GetNodeMap();
        std::lock_guard<orna::core::NodeMap> lock(*map);
        mac = map->FindNode<IntegerNode>("GevInterfaceMACAddress")->GetValue();
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure("bool camera::ip::GetInterfaceMACAddress(const std::shared_ptr<orna::core::Interface> &, int64_t &)",
                   QString::fromUtf8(e.what()));
    }
    return false;
}

bool GetDeviceMACAddress(const std::shared_ptr<DeviceDescriptor>& descriptor, int64_t& mac)
{
    try
    {
        auto map = InterfaceMap(descriptor);
        std::lock_guard<orna::core::NodeMap> lock(*map);
        if (!SelectDeviceInInterfaceNodemap(descriptor, map))
            return false;
        mac = map->FindNode<IntegerNode>("GevDeviceMACAddress")->GetValue();
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure("bool camera::ip::GetDeviceMACAddress(const std::shared_ptr<orna::core::DeviceDescriptor> &, "
                   "int64_t &)",
                   QString::fromUtf8(e.what()));
    }
    return false;
}

bool GetNetworkConfiguration(const std::shared_ptr<DeviceDescriptor>& descriptor, Configuration& out)
{
    try
    {
        auto map = InterfaceMap(descriptor);
        std::lock_guard<orna::core::NodeMap> lock(*map);
        if (!SelectDeviceInInterfaceNodemap(descriptor, map))
            return false;
        const std::string status = map->FindNode("GevDeviceIPConfigurationStatus")->GetValueAsString();
        if (status == "DHCP")
            out = Configuration::DHCP;
        else if (status == "PersistentIP")
            out = Configuration::PersistentIP;
        else if (status == "LLA")
            out = Configuration::LinkLocal;
        else
            out = Configuration::Invalid;
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure("bool camera::ip::GetNetworkConfiguration(const std::shared_ptr<orna::core::DeviceDescriptor> &, "
                   "camera::ip::Configuration &)",
                   QString::fromUtf8(e.what()));
    }
    return false;
}

bool SetNetworkConfiguration(const std::shared_ptr<DeviceDescriptor>& descriptor, int64_t ipAddress, int64_t subnetMask,
                             Configuration configuration)
{
    static const char* kSignature = "bool camera::ip::SetNetworkConfiguration(const "
                                    "std::shared_ptr<orna::core::DeviceDescriptor> &, int64_t, int64_t, "
                                    "camera::ip::Configuration)";
    try
    {
        orna::core::RequireNotNull(descriptor, orna::core::nullptr_text::Device);
        if (configuration == Configuration::Invalid)
        {
            LogFailure(kSignature, QStringLiteral("Invalid network configuration."));
            return false;
        }
        if (!descriptor->GetIsOpenable(orna::core::DeviceAccessType::Control))
        {
            LogFailure(kSignature, QStringLiteral("The device cannot be opened, and Force IP is not supported."));
            return false;
        }
        auto device = descriptor->OpenDevice(orna::core::DeviceAccessType::Control);
        auto map = device->GetRemoteDevice()->GetNodeMap();
        std::lock_guard<orna::core::NodeMap> lock(*map);
        map->FindNode<BooleanNode>("GevCurrentIPConfigurationDHCP")->SetValue(configuration == Configuration::DHCP);
        map->FindNode<BooleanNode>("GevCurrentIPConfigurationPersistentIP")
            ->SetValue(configuration == Configuration::PersistentIP);
        if (configuration == Configuration::PersistentIP)
        {
            map->FindNode<IntegerNode>("GevPersistentIPAddress")->SetValue(ipAddress);
            map->FindNode<IntegerNode>("GevPersistentSubnetMask")->SetValue(subnetMask);
        }
        map->FindNode<CommandNode>("DeviceReset")->Execute();
        return true;
    }
    catch (const std::exception& e)
    {
        LogFailure(kSignature, QString::fromUtf8(e.what()));
    }
    return false;
}

} // namespace camera::ip
