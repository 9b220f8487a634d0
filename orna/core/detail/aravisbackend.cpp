// The Aravis transports (GigE Vision, USB3 Vision, Aravis' in-process Fake interface) behind the backend
// interfaces.
//
// Threads and locks:
// - Each Aravis interface singleton keeps one device list and has no locking of its own: g_interfaceMutex[kind]
//   serialises update, enumeration and open on it. All our GigE Vision interfaces (one per host network card)
//   share the GigE Vision singleton, so one discovery pass serves every card for a short while.
// - Aravis emits "control-lost" on its heartbeat thread and "new-buffer" on the stream thread. The handlers go
//   through a SignalTarget (its mutex guards the function) so a closing object can detach while a signal is in
//   flight; the target is freed by GLib when the handler is disconnected.
// - ArvStream's queues are thread-safe; AravisStream::m_mutex guards our buffer table and the thread flag.
#include "orna/core/detail/aravis_error.h"
#include "orna/core/detail/backend.h"
#include "orna/core/detail/gobjectptr.h"
#include "orna/core/detail/gvcpprobe.h"
#include "orna/core/detail/nodemapimpl.h"
#include "orna/core/detail/portdevice.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/port.h"

#include <arv.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <unordered_map>

namespace orna::core::detail {

namespace {

enum class Kind
{
    GigE,
    Usb3,
    Fake,
};

constexpr uint64_t kLockRegister = 0x50001000;
constexpr guint kDefaultPacketSize = 1500;
// A GigE discovery pass (about one second) answers every network card for this long.
constexpr auto kDiscoveryReuse = std::chrono::milliseconds(500);

std::mutex g_interfaceMutex[3];
std::chrono::steady_clock::time_point g_lastUpdate[3];

// How long discovery waits for the cameras' own answers (discovery data and control privilege).
constexpr int kProbeTimeoutMs = 200;

// GigE device ids this process holds open: their control privilege register shows our own control, which is not
// "busy". g_openedMutex guards g_opened (counts, as a device may be opened again before the last one is gone).
std::mutex g_openedMutex;
std::map<std::string, int> g_opened;

void MarkOpened(const std::string& id, int delta)
{
    std::lock_guard<std::mutex> lock(g_openedMutex);
    auto& count = g_opened[id];
    count += delta;
    if (count <= 0)
        g_opened.erase(id);
}

bool IsOpenedHere(const std::string& id)
{
    std::lock_guard<std::mutex> lock(g_openedMutex);
    return g_opened.count(id) > 0;
}

ArvInterface* AravisInterface(Kind kind)
{
    switch (kind)
    {
    case Kind::GigE:
        return arv_gv_interface_get_instance();
    case Kind::Usb3:
        return arv_uv_interface_get_instance();
    case Kind::Fake:
        return arv_fake_interface_get_instance();
    }
    return nullptr;
}

std::string Text(const char* text)
{
    return text ? text : "";
}

uint32_t ParseIpv4(const std::string& text)
{
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        return 0;
    return ntohl(address.s_addr);
}

uint64_t ParseMac(const std::string& text)
{
    uint64_t value = 0;
    int digits = 0;
    for (char c : text)
    {
        int nibble = -1;
        if (c >= '0' && c <= '9')
            nibble = c - '0';
        else if (c >= 'a' && c <= 'f')
            nibble = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            nibble = c - 'A' + 10;
        if (nibble < 0)
            continue;
        value = (value << 4) | uint64_t(nibble);
        ++digits;
    }
    return digits == 12 ? value : 0;
}

// --- Signal plumbing

struct SignalTarget
{
    std::mutex mutex; // guards function
    std::function<void()> function;

    void Set(std::function<void()> f)
    {
        std::lock_guard<std::mutex> lock(mutex);
        function = std::move(f);
    }
    void Call()
    {
        std::function<void()> copy;
        {
            std::lock_guard<std::mutex> lock(mutex);
            copy = function;
        }
        if (copy)
            copy();
    }
};

extern "C" void OnSignal(gpointer, gpointer data)
{
    (*static_cast<std::shared_ptr<SignalTarget>*>(data))->Call();
}

extern "C" void FreeSignalTarget(gpointer data, GClosure*)
{
    delete static_cast<std::shared_ptr<SignalTarget>*>(data);
}

gulong ConnectSignal(gpointer instance, const char* signal, const std::shared_ptr<SignalTarget>& target)
{
    return g_signal_connect_data(instance, signal, G_CALLBACK(OnSignal), new std::shared_ptr<SignalTarget>(target),
                                 FreeSignalTarget, GConnectFlags(0));
}

// --- Port

bool TouchesLockRegister(uint64_t address, size_t size)
{
    return address < kLockRegister + 4 && address + size > kLockRegister;
}

class AravisPort : public PortBackend
{
public:
    AravisPort(GObjectPtr<ArvDevice> device, bool fake, Kind kind)
        : m_device(std::move(device)), m_fake(fake), m_kind(kind)
    {
    }

    void Read(uint64_t address, void* data, size_t size) override
    {
        // Aravis' fake cameras copy past their memory for this register: the in-process one crashes us, the
        // GigE one dies.
        if (m_fake && TouchesLockRegister(address, size))
            Raise(ReturnCode::InvalidAddress, "Register 0x50001000 is not readable on an Aravis fake device");
        GError* error = nullptr;
        arv_device_read_memory(m_device.Get(), address, guint32(size), data, &error);
        RaiseIfError(error, "Port read");
    }

    void Write(uint64_t address, const void* data, size_t size) override
    {
        if (m_fake && TouchesLockRegister(address, size))
            Raise(ReturnCode::InvalidAddress, "Register 0x50001000 is not writable on an Aravis fake device");
        GError* error = nullptr;
        arv_device_write_memory(m_device.Get(), address, guint32(size), const_cast<void*>(data), &error);
        RaiseIfError(error, "Port write");
    }

    std::vector<PortUrlInfo> Urls() override
    {
        std::vector<PortUrlInfo> urls;
        if (m_kind == Kind::Usb3)
            return ManifestUrls();
        // GigE Vision bootstrap: first and second URL, 512 bytes each (the Fake device has the same layout).
        for (uint64_t address : {uint64_t(0x200), uint64_t(0x400)})
        {
            char text[513] = {0};
            GError* error = nullptr;
            if (!arv_device_read_memory(m_device.Get(), address, 512, text, &error))
            {
                g_clear_error(&error);
                continue;
            }
            PortUrlInfo url;
            url.url = text;
            if (ParseLocalUrl(url.url, url.fileName, url.address, url.size))
            {
                url.scheme = "Local";
                urls.push_back(url);
            }
            else if (!url.url.empty())
            {
                url.scheme = url.url.substr(0, url.url.find(':'));
                urls.push_back(url);
            }
        }
        return urls;
    }

private:
    // USB3 Vision keeps its description files in the manifest table whose address is the ABRM register 0x01D0
    // (little-endian): an 8-byte entry count, then 64-byte entries of file version, file format info (bits 0-2
    // file type, 0 the device description; bits 10-15 compression, 1 zip), register address and file size.
    // Each device description becomes a "Local:" URL. Written against the register map only: no USB3 camera
    // was at hand to try it on.
    std::vector<PortUrlInfo> ManifestUrls()
    {
        std::vector<PortUrlInfo> urls;
        auto read64 = [this](uint64_t address, uint64_t& value) {
            uint8_t bytes[8] = {0};
            GError* error = nullptr;
            if (!arv_device_read_memory(m_device.Get(), address, 8, bytes, &error))
            {
                g_clear_error(&error);
                return false;
            }
            value = 0;
            for (int i = 7; i >= 0; --i)
                value = (value << 8) | bytes[i];
            return true;
        };
        uint64_t table = 0;
        uint64_t count = 0;
        if (!read64(0x01D0, table) || table == 0 || !read64(table, count))
            return urls;
        for (uint64_t i = 0; i < count && i < 16; ++i)
        {
            const uint64_t entry = table + 8 + i * 64;
            uint8_t head[8] = {0};
            GError* error = nullptr;
            uint64_t address = 0;
            uint64_t size = 0;
            if (!arv_device_read_memory(m_device.Get(), entry, 8, head, &error))
            {
                g_clear_error(&error);
                break;
            }
            if (!read64(entry + 8, address) || !read64(entry + 16, size))
                break;
            const uint32_t formatInfo =
                uint32_t(head[4]) | (uint32_t(head[5]) << 8) | (uint32_t(head[6]) << 16) | (uint32_t(head[7]) << 24);
            if ((formatInfo & 0x7) != 0 || address == 0 || size == 0)
                continue;
            const bool zipped = ((formatInfo >> 10) & 0x3F) == 1;
            char text[128];
            std::snprintf(text, sizeof text, "Local:manifest%u.%s;%llx;%llx", unsigned(i), zipped ? "zip" : "xml",
                          static_cast<unsigned long long>(address), static_cast<unsigned long long>(size));
            PortUrlInfo url;
            url.url = text;
            if (ParseLocalUrl(url.url, url.fileName, url.address, url.size))
            {
                url.scheme = "Local";
                urls.push_back(url);
            }
        }
        return urls;
    }

    GObjectPtr<ArvDevice> m_device;
    const bool m_fake;
    const Kind m_kind;
};

// --- Buffers and streams

// The geometry of the stream's last complete frame. Aravis hands out a failed buffer's width, height and
// format only with a GLib critical (it answers for complete frames only), yet the packets that did arrive
// sit at their places in the buffer: an incomplete frame is shown with the geometry of the frames around it.
// Written and read on the thread that pops the stream's buffers; the mutex covers a second reader.
struct FrameGeometry
{
    uint64_t width = 0;
    uint64_t height = 0;
    uint64_t pixelFormat = 0;
    size_t imageOffset = 0;
    size_t imageSize = 0;
};

struct SharedFrameGeometry
{
    std::mutex mutex; // guards geometry
    FrameGeometry geometry;
};

class AravisBuffer : public BufferBackend
{
public:
    AravisBuffer(GObjectPtr<ArvBuffer> buffer, size_t size, void* userPtr, bool bigEndianChunks,
                 std::shared_ptr<SharedFrameGeometry> lastComplete)
        : m_buffer(std::move(buffer)), m_userPtr(userPtr), m_bigEndian(bigEndianChunks), m_size(size),
          m_lastComplete(std::move(lastComplete))
    {
        // get_data reports the received size (0 until filled); the allocation size is ours to remember.
        size_t filled = 0;
        m_data = static_cast<uint8_t*>(const_cast<void*>(arv_buffer_get_data(m_buffer.Get(), &filled)));
    }
    ArvBuffer* Native() const { return m_buffer.Get(); }

    uint8_t* BasePtr() override { return m_data; }
    size_t Size() const override { return m_size; }
    void* UserPtr() const override { return m_userPtr; }
    bool IsImage() const
    {
        const auto type = arv_buffer_get_payload_type(m_buffer.Get());
        return type == ARV_BUFFER_PAYLOAD_TYPE_IMAGE || type == ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA ||
               type == ARV_BUFFER_PAYLOAD_TYPE_CHUNK_DATA;
    }
    bool IsComplete() const { return arv_buffer_get_status(m_buffer.Get()) == ARV_BUFFER_STATUS_SUCCESS; }
    // Called when the buffer is popped, on the popping thread, before anyone asks for its geometry: it is read
    // once per frame, and a complete image frame becomes the geometry of later failed ones.
    void OnPopped()
    {
        m_geometry = ReadGeometry();
        if (IsComplete() && m_geometry.width > 0)
        {
            std::lock_guard<std::mutex> lock(m_lastComplete->mutex);
            m_lastComplete->geometry = m_geometry;
        }
    }
    size_t ImageOffset() const override { return m_geometry.imageOffset; }
    uint64_t Width() const override { return m_geometry.width; }
    uint64_t Height() const override { return m_geometry.height; }
    uint64_t PixelFormat() const override { return m_geometry.pixelFormat; }
    uint64_t FrameId() const override { return arv_buffer_get_frame_id(m_buffer.Get()); }
    uint64_t TimestampNs() const override { return arv_buffer_get_timestamp(m_buffer.Get()); }
    int32_t PayloadType() const override { return int32_t(arv_buffer_get_payload_type(m_buffer.Get())); }
    bool HasImage() const override { return m_geometry.width > 0; }
    bool HasChunks() const override { return arv_buffer_has_chunks(m_buffer.Get()); }
    size_t FilledSize() const override
    {
        size_t size = 0;
        arv_buffer_get_data(m_buffer.Get(), &size);
        return size;
    }
    BufferStatusInfo Status() const override
    {
        // Aravis keeps no leader/trailer status: derive one. GigE Vision error statuses have the high bit of
        // their 16-bit code set; 0x8000 | a code per Aravis failure keeps "negative means failed" for callers.
        BufferStatusInfo info;
        const auto status = arv_buffer_get_status(m_buffer.Get());
        if (status == ARV_BUFFER_STATUS_SUCCESS)
            return info;
        info.incomplete = true;
        const int32_t code = int32_t(0xFFFF8000u | uint32_t(status & 0x0FFF));
        info.trailerStatus = code;
        // Only a frame that never started has a failed leader.
        if (status == ARV_BUFFER_STATUS_TIMEOUT || status == ARV_BUFFER_STATUS_ABORTED ||
            status == ARV_BUFFER_STATUS_CLEARED)
            info.leaderStatus = code;
        return info;
    }
    bool ChunksBigEndian() const override { return m_bigEndian; }
    void* NativeHandle() const override { return m_buffer.Get(); }

private:
    FrameGeometry ReadGeometry() const
    {
        FrameGeometry g;
        if (IsComplete())
        {
            if (!IsImage())
                return g;
            g.width = uint64_t(arv_buffer_get_image_width(m_buffer.Get()));
            g.height = uint64_t(arv_buffer_get_image_height(m_buffer.Get()));
            g.pixelFormat = uint64_t(arv_buffer_get_image_pixel_format(m_buffer.Get()));
            size_t size = 0;
            const void* image = arv_buffer_get_image_data(m_buffer.Get(), &size);
            g.imageOffset = image ? size_t(static_cast<const uint8_t*>(image) - m_data) : 0;
            g.imageSize = size;
            return g;
        }
        // Only a frame that was under way has packets in place; a cleared, aborted or oversized one shows
        // nothing.
        const auto status = arv_buffer_get_status(m_buffer.Get());
        if (status != ARV_BUFFER_STATUS_MISSING_PACKETS && status != ARV_BUFFER_STATUS_TIMEOUT)
            return g;
        std::lock_guard<std::mutex> lock(m_lastComplete->mutex);
        const FrameGeometry& last = m_lastComplete->geometry;
        if (last.imageOffset + last.imageSize > m_size)
            return g; // the frames were larger than this buffer: nothing to show
        return last;
    }

    GObjectPtr<ArvBuffer> m_buffer;
    void* m_userPtr;
    bool m_bigEndian;
    size_t m_size = 0;
    uint8_t* m_data = nullptr;
    std::shared_ptr<SharedFrameGeometry> m_lastComplete;
    FrameGeometry m_geometry; // of the frame the buffer holds since it was popped
};

class AravisStream : public StreamBackend
{
public:
    AravisStream(GObjectPtr<ArvStream> stream, std::string id, bool bigEndianChunks)
        : m_stream(std::move(stream)), m_id(std::move(id)), m_bigEndian(bigEndianChunks),
          m_target(std::make_shared<SignalTarget>())
    {
        m_signal = ConnectSignal(m_stream.Get(), "new-buffer", m_target);
        arv_stream_set_emit_signals(m_stream.Get(), TRUE);
        // Aravis 0.8 starts the receiving thread with the stream; we keep it stopped until acquisition starts
        // so that announce/queue happen first, as GenTL orders them.
        arv_stream_stop_thread(m_stream.Get(), FALSE);
        m_running = false;
    }
    ~AravisStream() override
    {
        m_target->Set({});
        arv_stream_set_emit_signals(m_stream.Get(), FALSE);
        g_signal_handler_disconnect(m_stream.Get(), m_signal);
        // Aravis 0.8 stops the thread when the stream is finalised and asserts that it runs.
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running)
            arv_stream_start_thread(m_stream.Get());
    }

    std::string Id() const override { return m_id; }

    std::shared_ptr<BufferBackend> Announce(size_t size, void* memory, void* userPtr) override
    {
        auto native =
            GObjectPtr<ArvBuffer>::Adopt(memory ? arv_buffer_new(size, memory) : arv_buffer_new_allocate(size));
        if (!native)
            Raise(ReturnCode::BadAlloc, "Could not allocate a buffer of " + std::to_string(size) + " bytes");
        auto buffer = std::make_shared<AravisBuffer>(native, size, userPtr, m_bigEndian, m_lastComplete);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_buffers[native.Get()] = buffer;
        return buffer;
    }

    void Revoke(const std::shared_ptr<BufferBackend>& buffer) override
    {
        auto* native = static_cast<ArvBuffer*>(buffer->NativeHandle());
        std::lock_guard<std::mutex> lock(m_mutex);
        m_buffers.erase(native);
    }

    void Queue(const std::shared_ptr<BufferBackend>& buffer) override
    {
        auto* native = static_cast<ArvBuffer*>(buffer->NativeHandle());
        // push_buffer takes over one reference; ours stays with the AravisBuffer.
        arv_stream_push_buffer(m_stream.Get(), ARV_BUFFER(g_object_ref(native)));
    }

    std::shared_ptr<BufferBackend> TryPop() override
    {
        ArvBuffer* native = arv_stream_try_pop_buffer(m_stream.Get());
        if (!native)
            return nullptr;
        std::shared_ptr<AravisBuffer> buffer;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            auto it = m_buffers.find(native);
            if (it != m_buffers.end())
                buffer = it->second;
        }
        g_object_unref(native);
        if (buffer)
            buffer->OnPopped();
        return buffer;
    }

    void Flush(FlushMode mode) override
    {
        switch (mode)
        {
        case FlushMode::DiscardAll: {
            std::lock_guard<std::mutex> lock(m_mutex);
            // Stopping with delete drops the stream's references to every queued buffer; ours remain. The
            // thread stays stopped until the next start.
            if (m_running)
                arv_stream_stop_thread(m_stream.Get(), TRUE);
            else
            {
                arv_stream_start_thread(m_stream.Get());
                arv_stream_stop_thread(m_stream.Get(), TRUE);
            }
            m_running = false;
            break;
        }
        case FlushMode::OutputDiscard:
            while (ArvBuffer* native = arv_stream_try_pop_buffer(m_stream.Get()))
                g_object_unref(native);
            break;
        case FlushMode::AllToInput:
        case FlushMode::UnqueuedToInput:
            while (ArvBuffer* native = arv_stream_try_pop_buffer(m_stream.Get()))
                arv_stream_push_buffer(m_stream.Get(), native);
            break;
        }
    }

    void Start() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // arv_stream_start_thread must not run twice.
        if (!m_running)
            arv_stream_start_thread(m_stream.Get());
        m_running = true;
    }

    void Stop() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_running)
            arv_stream_stop_thread(m_stream.Get(), FALSE);
        m_running = false;
    }

    size_t MinimumBufferCount() const override { return 1; }

    StreamCounters Counters() const override
    {
        StreamCounters counters;
        guint64 completed = 0, failures = 0, underruns = 0;
        arv_stream_get_statistics(m_stream.Get(), &completed, &failures, &underruns);
        counters.delivered = completed;
        counters.incomplete = failures;
        counters.underruns = underruns;
        const guint n = arv_stream_get_n_infos(m_stream.Get());
        for (guint i = 0; i < n; ++i)
        {
            if (arv_stream_get_info_type(m_stream.Get(), i) == G_TYPE_UINT64)
                counters.transport[Text(arv_stream_get_info_name(m_stream.Get(), i))] =
                    arv_stream_get_info_uint64(m_stream.Get(), i);
        }
        auto missing = counters.transport.find("n_missing_frames");
        if (missing != counters.transport.end())
            counters.lost = missing->second;
        return counters;
    }

    void SetNewBufferHandler(std::function<void()> handler) override { m_target->Set(std::move(handler)); }

private:
    GObjectPtr<ArvStream> m_stream;
    const std::string m_id;
    const bool m_bigEndian;
    std::shared_ptr<SignalTarget> m_target;
    gulong m_signal = 0;
    mutable std::mutex m_mutex; // guards m_buffers, m_running
    std::unordered_map<ArvBuffer*, std::shared_ptr<AravisBuffer>> m_buffers;
    bool m_running = true;
    const std::shared_ptr<SharedFrameGeometry> m_lastComplete = std::make_shared<SharedFrameGeometry>();
};

// --- Devices

class AravisDevice : public DeviceBackend
{
public:
    AravisDevice(GObjectPtr<ArvDevice> device, Kind kind, bool fake, std::string id)
        : m_device(std::move(device)), m_kind(kind), m_fake(fake), m_target(std::make_shared<SignalTarget>()),
          m_id(std::move(id))
    {
        MarkOpened(m_id, +1);
        m_signal = ConnectSignal(m_device.Get(), "control-lost", m_target);
        m_remote = std::make_shared<NodeMap>(NodeMapImpl::Create(m_device));
        m_port = std::make_shared<AravisPort>(m_device, m_fake, m_kind);
    }
    ~AravisDevice() override
    {
        m_target->Set({});
        g_signal_handler_disconnect(m_device.Get(), m_signal);
        MarkOpened(m_id, -1);
    }

    std::shared_ptr<NodeMap> RemoteNodeMap() override { return m_remote; }
    std::shared_ptr<PortBackend> RemotePort() override { return m_port; }

    std::vector<std::string> StreamIds() override
    {
        if (m_remote->GetHasNode("PayloadSize"))
            return {"Stream0"};
        return {};
    }

    std::unique_ptr<StreamBackend> OpenStream(const std::string& id) override
    {
        if (id != "Stream0")
            Raise(ReturnCode::NotFound, "No data stream " + id);
        if (m_kind == Kind::GigE && ARV_IS_GV_DEVICE(m_device.Get()))
        {
            GError* error = nullptr;
            // A camera still at the Ethernet default gets the largest packet the path carries; a size someone
            // chose (GevSCPSPacketSize written before the stream opens) is kept.
            const guint current = arv_gv_device_get_packet_size(ARV_GV_DEVICE(m_device.Get()), &error);
            g_clear_error(&error);
            if (current <= kDefaultPacketSize)
                arv_gv_device_auto_packet_size(ARV_GV_DEVICE(m_device.Get()), &error);
            g_clear_error(&error);
        }
        GError* error = nullptr;
        ArvStream* stream = arv_device_create_stream(m_device.Get(), nullptr, nullptr, &error);
        RaiseIfError(error, "Opening data stream");
        if (!stream)
            Raise(ReturnCode::NotAvailable, "The device has no data stream");
        return std::make_unique<AravisStream>(GObjectPtr<ArvStream>::Adopt(stream), id, m_kind == Kind::GigE);
    }

    void SetConnectionLostHandler(std::function<void()> handler) override { m_target->Set(std::move(handler)); }

private:
    GObjectPtr<ArvDevice> m_device;
    const Kind m_kind;
    const bool m_fake;
    std::shared_ptr<SignalTarget> m_target;
    gulong m_signal = 0;
    std::shared_ptr<NodeMap> m_remote;
    std::shared_ptr<PortBackend> m_port;
    const std::string m_id;
};

// --- Transport

class AravisTransport : public TransportBackend
{
public:
    explicit AravisTransport(Kind kind) : m_kind(kind) {}

    SystemInfo Describe() const override
    {
        SystemInfo info;
        info.vendor = "Aravis";
        info.version = orna::Library::GetAravisVersion();
        switch (m_kind)
        {
        case Kind::GigE:
            info.id = "GigEVision";
            info.tlType = "GEV";
            info.displayName = "Aravis GigE Vision";
            break;
        case Kind::Usb3:
            info.id = "USB3Vision";
            info.tlType = "U3V";
            info.displayName = "Aravis USB3 Vision";
            break;
        case Kind::Fake:
            info.id = "Fake";
            info.tlType = "Custom";
            info.displayName = "Aravis Fake";
            break;
        }
        info.key = "aravis:" + info.id;
        info.model = info.id;
        return info;
    }

    std::vector<InterfaceInfo> ListInterfaces() override
    {
        std::vector<InterfaceInfo> result;
        if (m_kind == Kind::Usb3)
            return {{"USB3Vision", "USB3 Vision", "U3V", 0, 0, 0}};
        if (m_kind == Kind::Fake)
            return {{"Fake", "Aravis Fake", "Custom", 0, 0, 0}};
        ifaddrs* list = nullptr;
        if (getifaddrs(&list) != 0)
            Raise(ReturnCode::IO, "Could not list the network interfaces");
        std::unordered_map<std::string, uint64_t> macs;
        for (ifaddrs* it = list; it; it = it->ifa_next)
        {
            if (it->ifa_addr && it->ifa_addr->sa_family == AF_PACKET)
            {
                const auto* link = reinterpret_cast<const sockaddr_ll*>(it->ifa_addr);
                uint64_t mac = 0;
                for (int i = 0; i < link->sll_halen && i < 6; ++i)
                    mac = (mac << 8) | link->sll_addr[i];
                macs[it->ifa_name] = mac;
            }
        }
        for (ifaddrs* it = list; it; it = it->ifa_next)
        {
            if (!it->ifa_addr || it->ifa_addr->sa_family != AF_INET || !(it->ifa_flags & IFF_UP))
                continue;
            InterfaceInfo info;
            info.id = it->ifa_name;
            info.tlType = "GEV";
            info.ipAddress = ntohl(reinterpret_cast<const sockaddr_in*>(it->ifa_addr)->sin_addr.s_addr);
            info.subnetMask =
                it->ifa_netmask ? ntohl(reinterpret_cast<const sockaddr_in*>(it->ifa_netmask)->sin_addr.s_addr) : 0;
            info.macAddress = macs[info.id];
            char address[INET_ADDRSTRLEN] = {0};
            inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(it->ifa_addr)->sin_addr, address, sizeof address);
            info.displayName = info.id + " (" + address + ")";
            bool duplicate = false;
            for (const auto& existing : result)
                duplicate = duplicate || existing.id == info.id;
            if (!duplicate)
                result.push_back(info);
        }
        freeifaddrs(list);
        return result;
    }

    std::vector<DeviceInfo> ListDevices(const std::string& interfaceId, uint64_t) override
    {
        InterfaceInfo nic;
        std::vector<InterfaceInfo> cards;
        if (m_kind == Kind::GigE)
        {
            bool known = false;
            cards = ListInterfaces();
            for (const auto& info : cards)
            {
                if (info.id == interfaceId)
                {
                    nic = info;
                    known = true;
                }
            }
            if (!known)
                return {};
        }
        const int slot = int(m_kind);
        std::unique_lock<std::mutex> lock(g_interfaceMutex[slot]);
        ArvInterface* iface = AravisInterface(m_kind);
        const auto now = std::chrono::steady_clock::now();
        if (m_kind != Kind::GigE || now - g_lastUpdate[slot] > kDiscoveryReuse)
        {
            arv_interface_update_device_list(iface);
            g_lastUpdate[slot] = std::chrono::steady_clock::now();
        }
        std::vector<DeviceInfo> devices;
        const unsigned n = arv_interface_get_n_devices(iface);
        for (unsigned i = 0; i < n; ++i)
        {
            DeviceInfo info;
            info.id = Text(arv_interface_get_device_id(iface, i));
            info.vendor = Text(arv_interface_get_device_vendor(iface, i));
            info.model = Text(arv_interface_get_device_model(iface, i));
            info.serialNumber = Text(arv_interface_get_device_serial_nbr(iface, i));
            info.tlType = m_kind == Kind::GigE ? "GEV" : m_kind == Kind::Usb3 ? "U3V" : "Custom";
            info.displayName = info.model.empty() ? info.id : info.model + " (" + info.serialNumber + ")";
            if (m_kind == Kind::GigE)
            {
                info.ipAddress = ParseIpv4(Text(arv_interface_get_device_address(iface, i)));
                info.macAddress = ParseMac(Text(arv_interface_get_device_physical_id(iface, i)));
                const auto placement = gvcp::PlaceOnCard(info.ipAddress, nic, cards);
                if (!placement.listed)
                    continue;
                info.outsideSubnet = placement.outsideSubnet;
                if (info.outsideSubnet)
                    info.accessStatus = DeviceAccessStatus::NoAccess;
            }
            devices.push_back(info);
        }
        lock.unlock();
        if (m_kind == Kind::GigE)
            AddCameraFacts(devices);
        return devices;
    }

    std::unique_ptr<DeviceBackend> OpenDevice(const std::string&, const DeviceInfo& device,
                                              DeviceAccessType access) override
    {
        GObjectPtr<ArvDevice> opened;
        {
            std::lock_guard<std::mutex> lock(g_interfaceMutex[int(m_kind)]);
            // The open parses the device's description: one parse at a time in the process.
            std::lock_guard<std::mutex> parsing(AravisParseMutex());
            GError* error = nullptr;
            ArvDevice* raw = arv_interface_open_device(AravisInterface(m_kind), device.id.c_str(), &error);
            RaiseIfError(error, "Opening " + device.id);
            if (!raw)
                Raise(ReturnCode::NotFound, "Device " + device.id + " not found");
            opened = GObjectPtr<ArvDevice>::Adopt(raw);
        }
        if (ARV_IS_GV_DEVICE(opened.Get()))
        {
            auto* gv = ARV_GV_DEVICE(opened.Get());
            if (access == DeviceAccessType::ReadOnly)
            {
                GError* error = nullptr;
                arv_gv_device_leave_control(gv, &error);
                g_clear_error(&error);
            }
            else if (!arv_gv_device_is_controller(gv))
            {
                Raise(ReturnCode::BadAccess, "Device " + device.id + " is controlled by another application");
            }
        }
        const bool fake = ARV_IS_FAKE_DEVICE(opened.Get()) ||
                          (device.vendor == "Aravis" && device.model.find("Fake") != std::string::npos);
        return std::make_unique<AravisDevice>(std::move(opened), m_kind, fake, device.id);
    }

private:
    // What each camera says itself (Aravis keeps its discovery data private): version, user-defined name, its
    // own subnet mask, the current IP configuration, and whether another host holds its control channel. A
    // camera that does not answer keeps what the transport listed; one outside the subnet is not asked (it is
    // not reachable by unicast).
    static void AddCameraFacts(std::vector<DeviceInfo>& devices)
    {
        std::vector<uint32_t> addresses;
        std::vector<size_t> asked;
        for (size_t i = 0; i < devices.size(); ++i)
        {
            if (devices[i].outsideSubnet || devices[i].ipAddress == 0)
                continue;
            addresses.push_back(devices[i].ipAddress);
            asked.push_back(i);
        }
        const auto results = gvcp::Probe(addresses, kProbeTimeoutMs);
        for (size_t k = 0; k < asked.size(); ++k)
        {
            DeviceInfo& info = devices[asked[k]];
            const auto& result = results[k];
            if (result.answered)
            {
                info.version = result.facts.version;
                info.userDefinedName = result.facts.userDefinedName;
                info.subnetMask = result.facts.subnetMask;
                info.ipConfigurationStatus = gvcp::IpConfigurationStatus(result.facts.currentIpConfiguration);
            }
            if (IsOpenedHere(info.id))
                continue; // our own control is not someone else's
            if (result.privilege == gvcp::Privilege::Held)
                info.accessStatus = DeviceAccessStatus::Busy;
            else if (result.privilege == gvcp::Privilege::Refused)
                info.accessStatus = DeviceAccessStatus::NoAccess;
        }
    }

    const Kind m_kind;
};

} // namespace

void InitializeAravisBackends()
{
    struct Entry
    {
        const char* token;
        Kind kind;
        const char* key;
        bool byDefault;
    };
    for (const Entry& entry :
         {Entry{"gev", Kind::GigE, "aravis:GigEVision", true}, Entry{"u3v", Kind::Usb3, "aravis:USB3Vision", true},
          Entry{"fake", Kind::Fake, "aravis:Fake", false}})
    {
        TransportProvider provider;
        provider.token = entry.token;
        provider.enabledByDefault = entry.byDefault;
        const std::string key = entry.key;
        const Kind kind = entry.kind;
        provider.keys = [key] { return std::vector<std::string>{key}; };
        provider.open = [key, kind](const std::string& requested) -> std::shared_ptr<TransportBackend> {
            if (requested != key)
                return nullptr;
            return std::make_shared<AravisTransport>(kind);
        };
        RegisterTransportProvider(std::move(provider));
    }
    for (const auto& provider : TransportProviders())
    {
        if (provider.token == "fake" && IsTransportEnabled(provider))
            arv_enable_interface("Fake");
    }
}

void ShutdownAravisBackends()
{
    // Device lists of the interface singletons hold GObjects that arv_shutdown releases; nothing of ours
    // outlives Close (every device handle is gone by then).
}

} // namespace orna::core::detail
