// What a GigE Vision camera tells about itself before anyone opens it: its discovery acknowledge (the bootstrap
// registers 0x0000-0x00F7: current IP configuration, address, subnet mask, device version, user-defined name)
// and its control channel privilege register (0x0A00: another host holds control or exclusive access). Aravis
// 0.8 keeps the discovery data to itself, so the GigE backend asks each listed camera again by unicast.
//
// Also the rule that places a discovered camera under a network card, which decides whether a camera whose
// address lies outside every card's subnet is listed (it is: that is the camera a user must give a new address).
//
// Threads: any; no state is shared between calls (every probe has its own socket).
#pragma once

#include "orna/core/detail/backend.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orna::core::detail::gvcp {

constexpr uint16_t kPort = 3956;
constexpr uint32_t kControlChannelPrivilegeRegister = 0x0A00;
constexpr size_t kDiscoveryDataSize = 0xF8;

struct DiscoveryFacts
{
    uint32_t currentIpConfiguration = 0; // register 0x0014: bit 0 persistent, bit 1 DHCP, bit 2 link-local
    uint32_t ipAddress = 0;              // host byte order
    uint32_t subnetMask = 0;
    uint64_t macAddress = 0;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serialNumber;
    std::string userDefinedName;
};

// The payload of a discovery acknowledge (without the 8-byte GVCP header); false when it is too short.
bool ParseDiscoveryData(const uint8_t* data, size_t size, DiscoveryFacts& out);
// A whole acknowledge datagram (header and payload); false unless it is a successful discovery acknowledge.
bool ParseDiscoveryAck(const uint8_t* data, size_t size, DiscoveryFacts& out);

// GevDeviceIPConfigurationStatus from register 0x0014: 0 None, 1 PersistentIP, 2 DHCP, 3 LLA. A camera that
// reports several procedures got its address from the first that applies in this order.
int64_t IpConfigurationStatus(uint32_t currentIpConfiguration);

// The control channel privilege as another host sees it.
enum class Privilege
{
    Unknown, // no answer
    Free,    // nobody holds control
    Held,    // another host holds control (bit 1) or exclusive access (bit 0)
    Refused, // the read was refused (exclusive access by another host)
};
// From a read-register acknowledge's status and value.
Privilege PrivilegeFromRegister(uint16_t status, uint32_t value);

struct ProbeResult
{
    bool answered = false; // the discovery acknowledge came
    DiscoveryFacts facts;
    Privilege privilege = Privilege::Unknown;
};
// Asks every camera (by its address) for its discovery data and its privilege register, all at once, and
// waits at most timeoutMs (one resend halfway). Results are in the order of the addresses.
std::vector<ProbeResult> Probe(const std::vector<uint32_t>& cameraAddresses, int timeoutMs);

struct Placement
{
    bool listed = false;
    bool outsideSubnet = false; // the camera's address lies outside every card's subnet
};
// Where a camera the transport found belongs: under every card whose subnet holds its address; a camera in no
// card's subnet under every card (the transport does not say which card heard it), with outsideSubnet set.
Placement PlaceOnCard(uint32_t cameraAddress, const InterfaceInfo& card, const std::vector<InterfaceInfo>& cards);

} // namespace orna::core::detail::gvcp
