// The layer behind descriptors, devices and streams: one TransportBackend per producer.
//
// The object layer (System, Interface, DeviceDescriptor, Device, DataStream, Buffer) is written against these
// interfaces only. The Aravis transports implement them in aravisbackend.cpp; a simulated producer implements
// them over a PortDevice and its camera model; a GenTL consumer would implement them over a .cti. No Aravis or
// GLib type appears here.
//
// Threads: a backend object may be called from several threads; each implementation says what it serialises.
// Handlers set with Set*Handler are called on backend threads (Aravis' stream and heartbeat threads, a
// simulator's acquisition thread) and must only record and notify.
#pragma once

#include "orna/core/types.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orna::core {
class NodeMap;
}

namespace orna::core::detail {

struct SystemInfo
{
    std::string key; // producer key / pseudo path, e.g. "aravis:GigEVision"
    std::string id;
    std::string displayName;
    std::string vendor;
    std::string model;
    std::string version;
    std::string tlType; // "GEV", "U3V", "Custom"
    uint32_t genTLVersionMajor = 1;
    uint32_t genTLVersionMinor = 5;
};

struct InterfaceInfo
{
    std::string id;
    std::string displayName;
    std::string tlType;
    uint32_t ipAddress = 0; // host byte order
    uint32_t subnetMask = 0;
    uint64_t macAddress = 0;
    bool operator==(const InterfaceInfo& o) const
    {
        return id == o.id && displayName == o.displayName && tlType == o.tlType && ipAddress == o.ipAddress &&
               subnetMask == o.subnetMask && macAddress == o.macAddress;
    }
};

struct DeviceInfo
{
    std::string id; // the transport's device id, stable across loss and return
    std::string displayName;
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string version;
    std::string userDefinedName;
    std::string tlType;
    uint32_t ipAddress = 0;
    uint32_t subnetMask = 0;
    uint64_t macAddress = 0;
    int64_t ipConfigurationStatus = 0; // 0 None, 1 PersistentIP, 2 DHCP, 3 LLA, 4 ForceIP
    // GigE: the address lies outside the subnet of every network card; the camera needs a new address
    // (ForceIP) before it can be opened.
    bool outsideSubnet = false;
    // What the transport can tell without opening: ReadWrite, Busy (another host holds control), NoAccess
    // (unreachable, e.g. outside the subnet). Our own open state is the descriptor's to add.
    DeviceAccessStatus accessStatus = DeviceAccessStatus::ReadWrite;
    bool operator==(const DeviceInfo& o) const
    {
        return id == o.id && displayName == o.displayName && vendor == o.vendor && model == o.model &&
               serialNumber == o.serialNumber && version == o.version && userDefinedName == o.userDefinedName &&
               tlType == o.tlType && ipAddress == o.ipAddress && subnetMask == o.subnetMask &&
               macAddress == o.macAddress && ipConfigurationStatus == o.ipConfigurationStatus &&
               outsideSubnet == o.outsideSubnet && accessStatus == o.accessStatus;
    }
    bool operator!=(const DeviceInfo& o) const { return !(*this == o); }
};

struct PortUrlInfo
{
    std::string url;
    std::string fileName;
    uint64_t address = 0;
    uint64_t size = 0;
    std::string scheme; // "Local", "File", "Http"
};

// Byte access behind a Port. Raises the exception family on failure.
class PortBackend
{
public:
    virtual ~PortBackend() = default;
    virtual void Read(uint64_t address, void* data, size_t size) = 0;
    virtual void Write(uint64_t address, const void* data, size_t size) = 0;
    virtual std::vector<PortUrlInfo> Urls() = 0;
};

struct BufferStatusInfo
{
    bool incomplete = false;
    int32_t leaderStatus = 0; // 0 success; negative: the GigE Vision status with its high bit set
    int32_t trailerStatus = 0;
};

class BufferBackend
{
public:
    virtual ~BufferBackend() = default;
    virtual uint8_t* BasePtr() = 0;
    virtual size_t Size() const = 0;
    virtual void* UserPtr() const = 0;
    // Valid once the buffer has been filled.
    virtual size_t ImageOffset() const = 0;
    virtual uint64_t Width() const = 0;
    virtual uint64_t Height() const = 0;
    virtual uint64_t PixelFormat() const = 0;
    virtual uint64_t FrameId() const = 0;
    virtual uint64_t TimestampNs() const = 0;
    virtual int32_t PayloadType() const = 0;
    virtual bool HasImage() const = 0;
    virtual bool HasChunks() const = 0;
    virtual size_t FilledSize() const = 0;
    virtual BufferStatusInfo Status() const = 0;
    // Chunk data are little-endian (U3V, simulated) or big-endian (GEV) in the trailing chunk records.
    virtual bool ChunksBigEndian() const = 0;
    // The transport's native buffer for chunk evaluation by the node engine; null when there is none.
    virtual void* NativeHandle() const { return nullptr; }
};

struct StreamCounters
{
    uint64_t delivered = 0;
    uint64_t incomplete = 0;
    uint64_t underruns = 0;                    // frames dropped for lack of a queued buffer
    uint64_t lost = 0;                         // frames the transport never received
    std::map<std::string, uint64_t> transport; // transport-specific statistics by name
};

class StreamBackend
{
public:
    virtual ~StreamBackend() = default;
    virtual std::string Id() const = 0;
    // memory null: the backend allocates.
    virtual std::shared_ptr<BufferBackend> Announce(size_t size, void* memory, void* userPtr) = 0;
    virtual void Revoke(const std::shared_ptr<BufferBackend>& buffer) = 0;
    virtual void Queue(const std::shared_ptr<BufferBackend>& buffer) = 0;
    // A filled buffer, or null when none is waiting.
    virtual std::shared_ptr<BufferBackend> TryPop() = 0;
    virtual void Flush(FlushMode mode) = 0;
    virtual void Start() = 0;
    virtual void Stop() = 0;
    virtual size_t MinimumBufferCount() const = 0;
    virtual StreamCounters Counters() const = 0;
    // Called on the backend's thread after a filled buffer became available to TryPop.
    virtual void SetNewBufferHandler(std::function<void()> handler) = 0;
};

class DeviceBackend
{
public:
    virtual ~DeviceBackend() = default;
    virtual std::shared_ptr<NodeMap> RemoteNodeMap() = 0;
    virtual std::shared_ptr<PortBackend> RemotePort() = 0;
    virtual std::vector<std::string> StreamIds() = 0;
    virtual std::unique_ptr<StreamBackend> OpenStream(const std::string& id) = 0;
    // Called once, on a backend thread, when the transport loses the device.
    virtual void SetConnectionLostHandler(std::function<void()> handler) = 0;
    // Remote-device events (type 4) the transport receives, delivered on its own thread. Transports without an
    // event channel (Aravis 0.8) never call it.
    virtual void SetEventHandler(std::function<void(uint64_t eventId, std::vector<uint8_t> data)>) {}
};

class TransportBackend
{
public:
    virtual ~TransportBackend() = default;
    virtual SystemInfo Describe() const = 0;
    virtual std::vector<InterfaceInfo> ListInterfaces() = 0;
    // The devices reachable through one interface now. May take longer than timeoutMs where the transport
    // has a fixed discovery time (GigE Vision: about one second).
    virtual std::vector<DeviceInfo> ListDevices(const std::string& interfaceId, uint64_t timeoutMs) = 0;
    // Raises BadAccessException when the device is held by another application.
    virtual std::unique_ptr<DeviceBackend> OpenDevice(const std::string& interfaceId, const DeviceInfo& device,
                                                      DeviceAccessType access) = 0;
    // Transport-level disconnect (connected false) and reconnect of a device that survives it, reported on a
    // backend thread. The Aravis transports have no such notion and never call it. One handler per interface.
    using ConnectionHandler = std::function<void(const std::string& deviceId, bool connected)>;
    virtual void SetDeviceConnectionHandler(const std::string& /*interfaceId*/, ConnectionHandler /*handler*/) {}
};

// A producer kind that EnvironmentInspector can list. `token` is the name used in ORNA_TRANSPORTS ("gev",
// "u3v", "fake", "sim").
struct TransportProvider
{
    std::string token;
    bool enabledByDefault = true;
    std::function<std::vector<std::string>()> keys;
    std::function<std::shared_ptr<TransportBackend>(const std::string& key)> open;
};

// Providers are registered before the first discovery pass (the Aravis ones by the library itself).
void RegisterTransportProvider(TransportProvider provider);
std::vector<TransportProvider> TransportProviders();
// True when ORNA_TRANSPORTS (comma separated tokens) names token, or, without that variable, when the
// provider is on by default.
bool IsTransportEnabled(const TransportProvider& provider);

// Bring-up and shut-down of the Aravis backends, called by orna::Library.
void InitializeAravisBackends();
void ShutdownAravisBackends();

} // namespace orna::core::detail
