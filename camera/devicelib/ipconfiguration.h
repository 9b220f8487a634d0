// Network settings of a GigE device, read and written through the interface node map (and the device's own
// map for a new configuration). No function throws: failures give false and a log line whose context is the
// function's signature.
//
// Threads: any (typically a QtConcurrent job of the IP configuration page). The interface node map is locked
// from the device selection to the last read, so two callers cannot mix up their devices.
#pragma once

#include "orna/core/device.h"

#include <QString>

#include <cstdint>
#include <memory>

namespace camera::ip {

enum class Configuration
{
    DHCP,
    PersistentIP,
    LinkLocal,
    Invalid,
};

QString ToString(Configuration configuration);
// Invalid for any other text.
Configuration FromString(const QString& text);

struct IpAddressAndSubnet
{
    uint32_t ipAddress = 0;
    uint32_t subnetMask = 0;
};

// "a.b.c.d", highest byte first.
QString AddressText(uint32_t address);
// "00:11:22:33:44:55", two hexadecimal digits each.
QString MacText(int64_t mac);

bool GetDeviceIpAndSubnetMask(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, IpAddressAndSubnet& out);
bool GetInterfaceIpAndSubnetMask(const std::shared_ptr<orna::core::Interface>& iface, IpAddressAndSubnet& out);
// The MAC address of a GigE interface (the network card), from GevInterfaceMACAddress.
bool GetInterfaceMACAddress(const std::shared_ptr<orna::core::Interface>& iface, int64_t& mac);
bool GetDeviceMACAddress(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, int64_t& mac);
bool GetNetworkConfiguration(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, Configuration& out);
// Opens the device and writes the configuration to its own node map, then resets it. A device that cannot be
// opened would need a Force IP command, which the transports offer no way to send yet: false.
bool SetNetworkConfiguration(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, int64_t ipAddress,
                             int64_t subnetMask, Configuration configuration);

} // namespace camera::ip
