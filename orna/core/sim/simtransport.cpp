#include "orna/core/sim/simtransport.h"

#include "orna/core/detail/backend.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/detail/registerbank.h"
#include "orna/core/exception.h"
#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simregistry.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

namespace orna::core::sim {

std::string SimDeviceId(const std::string& serial)
{
    return "SIM-" + serial;
}

namespace {

using detail::BufferBackend;

// The description of the process's cameras as the environment gives it now. Unset means none: a user with
// real cameras sees only those; scripts/run asks for one simulated camera explicitly.
std::string CameraDescription()
{
    const char* text = std::getenv(kSimCamerasEnvironmentVariable);
    return text ? text : "0";
}

// Follows ORNA_SIM_CAMERAS between discovery passes: a test or the settings store may change it after the
// registry's first use. g_registryMutex guards the description last applied.
std::mutex g_registryMutex;
bool g_registryConfigured = false;
std::string g_registryText;

void SyncRegistry()
{
    const std::string text = CameraDescription();
    std::lock_guard<std::mutex> lock(g_registryMutex);
    if (g_registryConfigured && text == g_registryText)
        return;
    SimCameraRegistry::Instance().Configure(text);
    g_registryText = text;
    g_registryConfigured = true;
}

// The interfaces' connection handlers. A camera has one connection callback, but several producers (and so
// several interfaces) may list it; every camera's callback goes through here. g_fanoutMutex guards the table;
// handlers are copied out and run without it.
std::mutex g_fanoutMutex;
std::map<uint64_t, detail::TransportBackend::ConnectionHandler> g_fanout;
std::atomic<uint64_t> g_nextTransport{1};

void DispatchConnection(const std::string& deviceId, bool connected)
{
    std::vector<detail::TransportBackend::ConnectionHandler> handlers;
    {
        std::lock_guard<std::mutex> lock(g_fanoutMutex);
        for (const auto& entry : g_fanout)
            handlers.push_back(entry.second);
    }
    for (const auto& handler : handlers)
        handler(deviceId, connected);
}

// Cameras whose connection callback already leads to DispatchConnection. Each camera is wired once, on the
// first pass that lists it: setting the callback again from a pass run inside a connection callback (a
// listener that rediscovers) would wait for the camera's callback mutex held by that very callback.
// g_wiredMutex guards the set.
std::mutex g_wiredMutex;
std::set<std::weak_ptr<SimCamera>, std::owner_less<std::weak_ptr<SimCamera>>> g_wired;

void WireConnection(const std::shared_ptr<SimCamera>& camera, const std::string& id)
{
    {
        std::lock_guard<std::mutex> lock(g_wiredMutex);
        for (auto it = g_wired.begin(); it != g_wired.end();)
            it = it->expired() ? g_wired.erase(it) : std::next(it);
        if (!g_wired.insert(camera).second)
            return;
    }
    camera->SetConnectionCallback([id](bool connected) { DispatchConnection(id, connected); });
}

// A buffer of a simulated stream. The metadata are written on the camera's acquisition thread before the
// buffer enters the output queue and read by the capture thread after it left it; the stream's mutex orders
// the two, so the buffer needs no lock of its own.
class SimBuffer : public detail::BufferBackend
{
public:
    SimBuffer(size_t size, void* memory, void* user)
        : m_storage(memory ? 0 : size), m_data(memory ? static_cast<uint8_t*>(memory) : m_storage.data()), m_size(size),
          m_user(user)
    {
    }
    uint8_t* BasePtr() override { return m_data; }
    size_t Size() const override { return m_size; }
    void* UserPtr() const override { return m_user; }
    size_t ImageOffset() const override { return 0; }
    uint64_t Width() const override { return header.width; }
    uint64_t Height() const override { return uint64_t(header.height) * std::max<uint32_t>(1, header.imagesInBuffer); }
    uint64_t PixelFormat() const override { return header.pixelFormat; }
    uint64_t FrameId() const override { return header.frameId; }
    uint64_t TimestampNs() const override { return header.timestampNs; }
    int32_t PayloadType() const override { return header.hasChunks ? 4 : 1; } // image extended chunk, image
    bool HasImage() const override { return true; }
    bool HasChunks() const override { return header.hasChunks; }
    size_t FilledSize() const override { return std::min(header.payloadSize, m_size); }
    detail::BufferStatusInfo Status() const override
    {
        detail::BufferStatusInfo status;
        status.incomplete = header.incomplete;
        // A frame cut short: the GigE Vision "missing packets" status with its high bit set, as the Aravis
        // transports report it.
        status.trailerStatus = header.incomplete ? int32_t(0xFFFF8000u | 3u) : 0;
        return status;
    }
    // The chunk trailers (id, length) are big-endian as in GigE Vision; the chunk values themselves are
    // little-endian as the XML declares.
    bool ChunksBigEndian() const override { return true; }

    FrameHeader header;

private:
    std::vector<uint8_t> m_storage;
    uint8_t* m_data;
    size_t m_size;
    void* m_user;
};

// The data stream of one camera. The camera fills queued buffers on its acquisition thread through the
// FrameSink interface while the stream is started. m_mutex guards the queues, the counters and the handler;
// it is never held while the camera is called (SetFrameSink waits for a delivery that takes m_mutex).
class SimStream : public detail::StreamBackend, public FrameSink
{
public:
    explicit SimStream(std::shared_ptr<SimCamera> camera) : m_camera(std::move(camera)) {}
    ~SimStream() override { Stop(); }

    std::string Id() const override { return "Stream0"; }
    std::shared_ptr<BufferBackend> Announce(size_t size, void* memory, void* userPtr) override
    {
        return std::make_shared<SimBuffer>(size, memory, userPtr);
    }
    void Revoke(const std::shared_ptr<BufferBackend>& buffer) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto drop = [&](std::deque<std::shared_ptr<BufferBackend>>& queue) {
            queue.erase(std::remove(queue.begin(), queue.end(), buffer), queue.end());
        };
        drop(m_input);
        drop(m_output);
    }
    void Queue(const std::shared_ptr<BufferBackend>& buffer) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_input.push_back(buffer);
    }
    std::shared_ptr<BufferBackend> TryPop() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_output.empty())
            return nullptr;
        auto buffer = m_output.front();
        m_output.pop_front();
        return buffer;
    }
    void Flush(FlushMode mode) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        switch (mode)
        {
        case FlushMode::AllToInput:
            for (auto& buffer : m_output)
                m_input.push_back(buffer);
            m_output.clear();
            break;
        case FlushMode::OutputDiscard:
            m_output.clear();
            break;
        case FlushMode::DiscardAll:
            m_input.clear();
            m_output.clear();
            break;
        case FlushMode::UnqueuedToInput:
            break; // buffers outside the queues belong to the object layer
        }
    }
    void Start() override
    {
        if (m_started.exchange(true))
            return;
        m_camera->SetFrameSink(this);
    }
    void Stop() override
    {
        if (!m_started.exchange(false))
            return;
        // Returns after the last delivery into this stream ended.
        m_camera->SetFrameSink(nullptr);
    }
    // ORNA_SIM_MIN_BUFFERS lets a test ask for a producer that wants more buffers; 1 otherwise.
    size_t MinimumBufferCount() const override
    {
        const char* text = std::getenv("ORNA_SIM_MIN_BUFFERS");
        const long value = text ? std::strtol(text, nullptr, 10) : 0;
        return value > 0 ? size_t(value) : 1;
    }
    detail::StreamCounters Counters() const override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        detail::StreamCounters counters;
        counters.delivered = m_delivered;
        counters.incomplete = m_incomplete;
        counters.underruns = m_underruns;
        counters.lost = m_camera->LostFrameCount();
        return counters;
    }
    void SetNewBufferHandler(std::function<void()> handler) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_handler = std::move(handler);
    }

    // FrameSink, on the camera's acquisition thread.
    uint8_t* AcquireBuffer(size_t size, void** token) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // A queued buffer too small for the payload is handed back as an underrun rather than overrun.
        if (m_input.empty() || m_input.front()->Size() < size)
        {
            ++m_underruns;
            return nullptr;
        }
        m_filling = m_input.front();
        m_input.pop_front();
        *token = m_filling.get();
        return m_filling->BasePtr();
    }
    void CommitBuffer(void* token, const FrameHeader& header) override
    {
        std::function<void()> handler;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (!m_filling || m_filling.get() != token)
                return;
            static_cast<SimBuffer*>(m_filling.get())->header = header;
            m_output.push_back(std::move(m_filling));
            m_filling.reset();
            ++m_delivered;
            if (header.incomplete)
                ++m_incomplete;
            handler = m_handler;
        }
        if (handler)
            handler();
    }

private:
    const std::shared_ptr<SimCamera> m_camera;
    std::atomic<bool> m_started{false};
    mutable std::mutex m_mutex;
    std::deque<std::shared_ptr<BufferBackend>> m_input, m_output;
    std::shared_ptr<BufferBackend> m_filling; // between AcquireBuffer and CommitBuffer
    std::function<void()> m_handler;
    uint64_t m_delivered = 0, m_incomplete = 0, m_underruns = 0;
};

// An open simulated camera: its remote node map and port over one pass-through window onto the model's
// register space. Thread-safe: the members are fixed after construction; the model serialises its own state.
class SimDevice : public detail::DeviceBackend
{
public:
    explicit SimDevice(std::shared_ptr<SimCamera> camera) : m_camera(std::move(camera))
    {
        auto bank = std::make_shared<detail::RegisterBank>();
        std::weak_ptr<SimCamera> weak = m_camera;
        // ORNA_SIM_LINK_LATENCY_US gives every register access the round trip of a slow link (a GigE camera
        // behind a busy switch answers in milliseconds), so that tests can catch the GUI waiting on a camera.
        const char* latencyText = std::getenv("ORNA_SIM_LINK_LATENCY_US");
        const auto latency = std::chrono::microseconds(latencyText ? std::max(0L, std::atol(latencyText)) : 0L);
        // One window covers the whole space the XML addresses, up to and including the lock register.
        bank->AddPassThrough(
            0, reg::LockRegister + 4,
            [weak, latency](uint64_t address, uint8_t* data, size_t size) {
                if (latency.count() > 0)
                    std::this_thread::sleep_for(latency);
                auto camera = weak.lock();
                return camera && camera->ReadMemory(address, data, size);
            },
            [weak, latency](uint64_t address, const uint8_t* data, size_t size) {
                if (latency.count() > 0)
                    std::this_thread::sleep_for(latency);
                auto camera = weak.lock();
                return camera && camera->WriteMemory(address, data, size);
            });
        m_map = detail::CreateLocalNodeMap(bank, m_camera->GenICamXml());
        m_port = std::make_shared<detail::BankPort>(bank, FirstUrl(*m_camera));
    }
    ~SimDevice() override { m_camera->SetEventSink({}); }

    std::shared_ptr<NodeMap> RemoteNodeMap() override { return m_map; }
    std::shared_ptr<detail::PortBackend> RemotePort() override { return m_port; }
    std::vector<std::string> StreamIds() override
    {
        if (!m_camera->HasDataStream())
            return {};
        return {"Stream0"};
    }
    std::unique_ptr<detail::StreamBackend> OpenStream(const std::string& id) override
    {
        if (!m_camera->HasDataStream() || id != "Stream0")
            Raise(ReturnCode::NotFound, "The simulated camera " + m_camera->SerialNumber() + " has no stream " + id);
        return std::make_unique<SimStream>(m_camera);
    }
    // A simulated link loss is transport-level (the camera survives it): it goes through the interface's
    // connection handler, never through this one.
    void SetConnectionLostHandler(std::function<void()>) override {}
    void SetEventHandler(std::function<void(uint64_t, std::vector<uint8_t>)> handler) override
    {
        if (!handler)
        {
            m_camera->SetEventSink({});
            return;
        }
        m_camera->SetEventSink([handler](const SimEvent& event) { handler(event.eventId, event.data); });
    }

private:
    // The first URL as the camera's register 0x0800 holds it: "Local:<file>;<address>;<length>".
    static detail::PortUrlInfo FirstUrl(SimCamera& camera)
    {
        std::vector<char> text(reg::kXmlUrlLength + 1, '\0');
        detail::PortUrlInfo info;
        info.scheme = "Local";
        if (!camera.ReadMemory(reg::XmlUrl, text.data(), reg::kXmlUrlLength))
            return info;
        info.url = text.data();
        std::string rest = info.url.substr(info.url.find(':') + 1);
        std::stringstream fields(rest);
        std::string address, length;
        std::getline(fields, info.fileName, ';');
        std::getline(fields, address, ';');
        std::getline(fields, length, ';');
        info.address = std::strtoull(address.c_str(), nullptr, 16);
        info.size = std::strtoull(length.c_str(), nullptr, 16);
        return info;
    }

    const std::shared_ptr<SimCamera> m_camera;
    std::shared_ptr<NodeMap> m_map;
    std::shared_ptr<detail::PortBackend> m_port;
};

// The producer. m_mutex guards the connection handler's registration state.
class SimTransport : public detail::TransportBackend
{
public:
    ~SimTransport() override
    {
        std::lock_guard<std::mutex> lock(g_fanoutMutex);
        g_fanout.erase(m_token);
    }
    detail::SystemInfo Describe() const override
    {
        detail::SystemInfo info;
        info.key = kSimProducerKey;
        info.id = "LumivueSim";
        info.displayName = "Lumivue simulated cameras";
        info.vendor = "Lumivue";
        info.model = "Simulated camera producer";
        info.version = "1.0";
        info.tlType = "Custom";
        return info;
    }
    std::vector<detail::InterfaceInfo> ListInterfaces() override
    {
        return {{kSimInterfaceId, "Simulated cameras", "Custom", 0, 0, 0}};
    }
    std::vector<detail::DeviceInfo> ListDevices(const std::string& interfaceId, uint64_t) override
    {
        if (interfaceId != kSimInterfaceId)
            return {};
        SyncRegistry();
        std::vector<detail::DeviceInfo> devices;
        for (const auto& camera : SimCameraRegistry::Instance().Cameras())
        {
            const std::string id = SimDeviceId(camera->SerialNumber());
            WireConnection(camera, id);
            // A camera in the middle of a reset (or a link loss) is not on the bus.
            if (!camera->IsConnected())
                continue;
            detail::DeviceInfo info;
            info.id = id;
            info.vendor = camera->VendorName();
            info.model = camera->ModelName();
            info.serialNumber = camera->SerialNumber();
            info.version = camera->Version();
            info.userDefinedName = camera->UserDefinedName();
            info.tlType = "Custom";
            info.displayName = info.model + " (" + info.serialNumber + ")";
            devices.push_back(std::move(info));
        }
        return devices;
    }
    std::unique_ptr<detail::DeviceBackend> OpenDevice(const std::string& interfaceId, const detail::DeviceInfo& device,
                                                      DeviceAccessType) override
    {
        if (interfaceId != kSimInterfaceId)
            Raise(ReturnCode::NotFound, "The simulated producer has no interface " + interfaceId);
        auto camera = SimCameraRegistry::Instance().Find(device.serialNumber);
        if (!camera || SimDeviceId(camera->SerialNumber()) != device.id)
            Raise(ReturnCode::NotAvailable, "The simulated camera " + device.id + " is gone");
        if (camera->IsHeldByOtherProcess())
            Raise(ReturnCode::BadAccess, "Device " + device.id + " is controlled by another application");
        if (!camera->IsConnected())
            Raise(ReturnCode::NotAvailable, "The simulated camera " + device.id + " is not connected");
        return std::make_unique<SimDevice>(std::move(camera));
    }
    void SetDeviceConnectionHandler(const std::string& interfaceId, ConnectionHandler handler) override
    {
        if (interfaceId != kSimInterfaceId)
            return;
        std::lock_guard<std::mutex> lock(g_fanoutMutex);
        if (handler)
            g_fanout[m_token] = std::move(handler);
        else
            g_fanout.erase(m_token);
    }

private:
    const uint64_t m_token = g_nextTransport++;
};

} // namespace

void RegisterSimTransport()
{
    detail::TransportProvider provider;
    provider.token = "sim";
    provider.enabledByDefault = true;
    provider.keys = [] {
        std::string error;
        if (SimCameraRegistry::Parse(CameraDescription(), &error).empty())
            return std::vector<std::string>{};
        return std::vector<std::string>{kSimProducerKey};
    };
    provider.open = [](const std::string& key) -> std::shared_ptr<detail::TransportBackend> {
        if (key != kSimProducerKey)
            return nullptr;
        return std::make_shared<SimTransport>();
    };
    detail::RegisterTransportProvider(std::move(provider));
}

} // namespace orna::core::sim
