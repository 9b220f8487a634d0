#include "orna/core/detail/gvcpprobe.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

namespace orna::core::detail::gvcp {

namespace {

constexpr uint16_t kDiscoveryCommand = 0x0002;
constexpr uint16_t kDiscoveryAck = 0x0003;
constexpr uint16_t kReadRegisterCommand = 0x0080;
constexpr uint16_t kReadRegisterAck = 0x0081;
constexpr uint8_t kCommandKey = 0x42;
constexpr uint8_t kAcknowledgeRequired = 0x01;
constexpr size_t kHeaderSize = 8;

uint16_t Be16(const uint8_t* p)
{
    return uint16_t((p[0] << 8) | p[1]);
}

uint32_t Be32(const uint8_t* p)
{
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}

void PutBe16(uint8_t* p, uint16_t v)
{
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}

void PutBe32(uint8_t* p, uint32_t v)
{
    p[0] = uint8_t(v >> 24);
    p[1] = uint8_t(v >> 16);
    p[2] = uint8_t(v >> 8);
    p[3] = uint8_t(v);
}

// A fixed-size bootstrap string: NUL-terminated or filling its field.
std::string Field(const uint8_t* p, size_t size)
{
    size_t length = 0;
    while (length < size && p[length] != 0)
        ++length;
    return std::string(reinterpret_cast<const char*>(p), length);
}

std::vector<uint8_t> Command(uint16_t command, uint16_t requestId, const std::vector<uint8_t>& payload)
{
    std::vector<uint8_t> packet(kHeaderSize + payload.size());
    packet[0] = kCommandKey;
    packet[1] = kAcknowledgeRequired;
    PutBe16(&packet[2], command);
    PutBe16(&packet[4], uint16_t(payload.size()));
    PutBe16(&packet[6], requestId);
    if (!payload.empty())
        std::memcpy(packet.data() + kHeaderSize, payload.data(), payload.size());
    return packet;
}

class Socket
{
public:
    Socket() : m_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~Socket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int Fd() const { return m_fd; }

private:
    int m_fd;
};

void SendTo(int fd, uint32_t address, const std::vector<uint8_t>& packet)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(kPort);
    to.sin_addr.s_addr = htonl(address);
    // A send that fails (no route to a camera outside every subnet) simply gets no answer.
    (void)::sendto(fd, packet.data(), packet.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to), sizeof to);
}

} // namespace

bool ParseDiscoveryData(const uint8_t* data, size_t size, DiscoveryFacts& out)
{
    if (!data || size < kDiscoveryDataSize)
        return false;
    out.macAddress = (uint64_t(Be16(data + 0x0A)) << 32) | Be32(data + 0x0C);
    out.currentIpConfiguration = Be32(data + 0x14);
    out.ipAddress = Be32(data + 0x24);
    out.subnetMask = Be32(data + 0x34);
    out.vendor = Field(data + 0x48, 32);
    out.model = Field(data + 0x68, 32);
    out.version = Field(data + 0x88, 32);
    out.serialNumber = Field(data + 0xD8, 16);
    out.userDefinedName = Field(data + 0xE8, 16);
    return true;
}

bool ParseDiscoveryAck(const uint8_t* data, size_t size, DiscoveryFacts& out)
{
    if (!data || size < kHeaderSize)
        return false;
    if (Be16(data) != 0 || Be16(data + 2) != kDiscoveryAck)
        return false;
    const size_t length = Be16(data + 4);
    if (kHeaderSize + length > size)
        return false;
    return ParseDiscoveryData(data + kHeaderSize, length, out);
}

int64_t IpConfigurationStatus(uint32_t currentIpConfiguration)
{
    if (currentIpConfiguration & 0x1)
        return 1;
    if (currentIpConfiguration & 0x2)
        return 2;
    if (currentIpConfiguration & 0x4)
        return 3;
    return 0;
}

Privilege PrivilegeFromRegister(uint16_t status, uint32_t value)
{
    if (status != 0)
        return Privilege::Refused;
    return (value & 0x3) != 0 ? Privilege::Held : Privilege::Free;
}

std::vector<ProbeResult> Probe(const std::vector<uint32_t>& cameraAddresses, int timeoutMs)
{
    std::vector<ProbeResult> results(cameraAddresses.size());
    if (cameraAddresses.empty())
        return results;
    Socket socket;
    if (socket.Fd() < 0)
        return results;
    std::vector<bool> privilegeAnswered(cameraAddresses.size(), false);
    // Request ids: 2i+1 discovery, 2i+2 privilege read of camera i (ids stay below 0x10000 for 32k cameras).
    auto sendMissing = [&] {
        for (size_t i = 0; i < cameraAddresses.size() && i < 0x7FFF; ++i)
        {
            if (!results[i].answered)
                SendTo(socket.Fd(), cameraAddresses[i], Command(kDiscoveryCommand, uint16_t(2 * i + 1), {}));
            if (!privilegeAnswered[i])
            {
                std::vector<uint8_t> address(4);
                PutBe32(address.data(), kControlChannelPrivilegeRegister);
                SendTo(socket.Fd(), cameraAddresses[i], Command(kReadRegisterCommand, uint16_t(2 * i + 2), address));
            }
        }
    };
    auto done = [&] {
        for (size_t i = 0; i < results.size(); ++i)
            if (!results[i].answered || !privilegeAnswered[i])
                return false;
        return true;
    };

    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto deadline = start + std::chrono::milliseconds(timeoutMs);
    const auto resendAt = start + std::chrono::milliseconds(timeoutMs / 2);
    bool resent = false;
    sendMissing();
    uint8_t buffer[1500];
    while (!done())
    {
        const auto now = Clock::now();
        if (now >= deadline)
            break;
        if (!resent && now >= resendAt)
        {
            sendMissing();
            resent = true;
        }
        const auto until = resent ? deadline : resendAt;
        pollfd pfd{socket.Fd(), POLLIN, 0};
        const int wait = int(std::chrono::duration_cast<std::chrono::milliseconds>(until - now).count()) + 1;
        if (::poll(&pfd, 1, wait) <= 0)
            continue;
        sockaddr_in from{};
        socklen_t fromLength = sizeof from;
        const ssize_t received =
            ::recvfrom(socket.Fd(), buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (received < ssize_t(kHeaderSize))
            continue;
        const uint16_t ackId = Be16(buffer + 6);
        if (ackId == 0)
            continue;
        const size_t index = size_t(ackId - 1) / 2;
        if (index >= cameraAddresses.size() || ntohl(from.sin_addr.s_addr) != cameraAddresses[index])
            continue;
        const uint16_t status = Be16(buffer);
        const uint16_t answer = Be16(buffer + 2);
        if (ackId % 2 == 1 && answer == kDiscoveryAck)
        {
            DiscoveryFacts facts;
            if (ParseDiscoveryAck(buffer, size_t(received), facts))
            {
                results[index].facts = facts;
                results[index].answered = true;
            }
        }
        else if (ackId % 2 == 0 && answer == kReadRegisterAck)
        {
            const uint32_t value = received >= ssize_t(kHeaderSize + 4) ? Be32(buffer + kHeaderSize) : 0;
            results[index].privilege = PrivilegeFromRegister(status, value);
            privilegeAnswered[index] = true;
        }
    }
    return results;
}

Placement PlaceOnCard(uint32_t cameraAddress, const InterfaceInfo& card, const std::vector<InterfaceInfo>& cards)
{
    auto holds = [cameraAddress](const InterfaceInfo& c) {
        return c.subnetMask != 0 && (cameraAddress & c.subnetMask) == (c.ipAddress & c.subnetMask);
    };
    Placement placement;
    if (holds(card))
    {
        placement.listed = true;
        return placement;
    }
    for (const auto& other : cards)
        if (holds(other))
            return placement; // another card's camera
    placement.listed = true;
    placement.outsideSubnet = true;
    return placement;
}

} // namespace orna::core::detail::gvcp
