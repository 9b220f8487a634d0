// What the GigE backend makes of a camera's own answers and where it lists a camera: a recorded discovery
// acknowledge read field by field, the IP configuration and control privilege registers, and the placement of
// cameras inside and outside the cards' subnets (the camera a user must give a new address is listed).
#include "orna/core/detail/gvcpprobe.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace gvcp = orna::core::detail::gvcp;
using orna::core::detail::InterfaceInfo;

namespace {

void Put32(std::vector<uint8_t>& bytes, size_t offset, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[offset + size_t(i)] = uint8_t(value >> (24 - 8 * i));
}

void PutText(std::vector<uint8_t>& bytes, size_t offset, const std::string& text)
{
    std::memcpy(bytes.data() + offset, text.data(), text.size());
}

// A discovery acknowledge as a camera at 192.168.7.21/255.255.255.0 sends it (GVCP header, then the bootstrap
// registers 0x0000-0x00F7 in network byte order).
std::vector<uint8_t> RecordedAck()
{
    std::vector<uint8_t> ack(8 + 0xF8, 0);
    ack[2] = 0x00;
    ack[3] = 0x03; // discovery acknowledge
    ack[4] = 0x00;
    ack[5] = 0xF8;
    ack[6] = 0x00;
    ack[7] = 0x01;
    const size_t b = 8;
    Put32(ack, b + 0x08, 0x0000A0B1);
    Put32(ack, b + 0x0C, 0xC2D3E4F5);
    Put32(ack, b + 0x14, 0x00000006); // DHCP and link-local on
    Put32(ack, b + 0x24, 0xC0A80715);
    Put32(ack, b + 0x34, 0xFFFFFF00);
    PutText(ack, b + 0x48, "Vendor AG");
    PutText(ack, b + 0x68, "Model 42");
    PutText(ack, b + 0x88, "2.7.1 build 9");
    PutText(ack, b + 0xD8, "SN00012345");
    PutText(ack, b + 0xE8, "LineCam-Left-001"); // fills the 16-byte field without a terminator
    return ack;
}

InterfaceInfo Card(const std::string& id, uint32_t address, uint32_t mask)
{
    InterfaceInfo card;
    card.id = id;
    card.tlType = "GEV";
    card.ipAddress = address;
    card.subnetMask = mask;
    return card;
}

} // namespace

TEST(GvcpDiscoveryAck, ReadsEveryFieldTheCameraListShows)
{
    const auto ack = RecordedAck();
    gvcp::DiscoveryFacts facts;
    ASSERT_TRUE(gvcp::ParseDiscoveryAck(ack.data(), ack.size(), facts));
    EXPECT_EQ(facts.ipAddress, 0xC0A80715u);
    EXPECT_EQ(facts.subnetMask, 0xFFFFFF00u);
    EXPECT_EQ(facts.macAddress, 0xA0B1C2D3E4F5ull);
    EXPECT_EQ(facts.vendor, "Vendor AG");
    EXPECT_EQ(facts.model, "Model 42");
    EXPECT_EQ(facts.version, "2.7.1 build 9");
    EXPECT_EQ(facts.serialNumber, "SN00012345");
    EXPECT_EQ(facts.userDefinedName, "LineCam-Left-001");
    EXPECT_EQ(gvcp::IpConfigurationStatus(facts.currentIpConfiguration), 2);
}

TEST(GvcpDiscoveryAck, RefusesShortFailedAndForeignAnswers)
{
    gvcp::DiscoveryFacts facts;
    auto ack = RecordedAck();
    EXPECT_FALSE(gvcp::ParseDiscoveryAck(ack.data(), ack.size() - 1, facts));
    EXPECT_FALSE(gvcp::ParseDiscoveryAck(ack.data(), 6, facts));
    ack[1] = 0x06; // a failure status
    EXPECT_FALSE(gvcp::ParseDiscoveryAck(ack.data(), ack.size(), facts));
    ack = RecordedAck();
    ack[3] = 0x81; // a read-register acknowledge
    EXPECT_FALSE(gvcp::ParseDiscoveryAck(ack.data(), ack.size(), facts));
    EXPECT_FALSE(gvcp::ParseDiscoveryAck(nullptr, 0, facts));
}

TEST(GvcpRegisters, IpConfigurationAndPrivilege)
{
    EXPECT_EQ(gvcp::IpConfigurationStatus(0x0), 0);
    EXPECT_EQ(gvcp::IpConfigurationStatus(0x4), 3);
    EXPECT_EQ(gvcp::IpConfigurationStatus(0x6), 2);
    EXPECT_EQ(gvcp::IpConfigurationStatus(0x7), 1);
    EXPECT_EQ(gvcp::IpConfigurationStatus(0x5), 1);

    EXPECT_EQ(gvcp::PrivilegeFromRegister(0, 0), gvcp::Privilege::Free);
    EXPECT_EQ(gvcp::PrivilegeFromRegister(0, 2), gvcp::Privilege::Held);
    EXPECT_EQ(gvcp::PrivilegeFromRegister(0, 1), gvcp::Privilege::Held);
    EXPECT_EQ(gvcp::PrivilegeFromRegister(0, 6), gvcp::Privilege::Held);
    EXPECT_EQ(gvcp::PrivilegeFromRegister(0, 4), gvcp::Privilege::Free); // switchover enable alone holds nothing
    EXPECT_EQ(gvcp::PrivilegeFromRegister(0x8006, 0), gvcp::Privilege::Refused);
}

TEST(GvcpPlacement, CamerasOutsideEveryCardsSubnetAreListedWithTheWarning)
{
    const auto office = Card("eth0", 0xC0A8010A, 0xFFFFFF00); // 192.168.1.10/24
    const auto line = Card("eth1", 0x0A000001, 0xFF000000);   // 10.0.0.1/8
    const std::vector<InterfaceInfo> cards{office, line};

    const uint32_t onOffice = 0xC0A80132; // 192.168.1.50
    auto placement = gvcp::PlaceOnCard(onOffice, office, cards);
    EXPECT_TRUE(placement.listed);
    EXPECT_FALSE(placement.outsideSubnet);
    EXPECT_FALSE(gvcp::PlaceOnCard(onOffice, line, cards).listed);

    // A camera fresh out of the box on a link-local address, and one on an old network: both are listed, on
    // each card, with the warning.
    for (uint32_t stray : {0xA9FE0304u, 0xC0A80233u})
    {
        for (const auto& card : cards)
        {
            placement = gvcp::PlaceOnCard(stray, card, cards);
            EXPECT_TRUE(placement.listed) << card.id;
            EXPECT_TRUE(placement.outsideSubnet) << card.id;
        }
    }

    // A card without an address (mask 0) holds no camera, and does not hide a stray one.
    const auto bare = Card("eth2", 0, 0);
    placement = gvcp::PlaceOnCard(0xA9FE0304u, bare, {office, bare});
    EXPECT_TRUE(placement.listed);
    EXPECT_TRUE(placement.outsideSubnet);
}

TEST(GvcpProbe, SilentAddressesGiveNoAnswerWithinTheTimeOut)
{
    // Nothing listens on the GVCP port of 127.0.0.254 (loopback only; no packet leaves the machine).
    const auto results = gvcp::Probe({0x7F0000FE}, 100);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_FALSE(results[0].answered);
    EXPECT_EQ(results[0].privilege, gvcp::Privilege::Unknown);
    EXPECT_TRUE(gvcp::Probe({}, 100).empty());
}
