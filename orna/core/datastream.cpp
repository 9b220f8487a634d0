#include "orna/core/datastream.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"

#include <chrono>
#include <cstring>

namespace orna::core {

// --- DataStreamDescriptor

DataStreamDescriptor::DataStreamDescriptor(std::weak_ptr<Device> device, std::string id, std::string key)
    : ModuleDescriptor(std::move(id), std::move(key)), m_device(std::move(device))
{
}

std::shared_ptr<Device> DataStreamDescriptor::GetParentDevice() const
{
    auto device = m_device.lock();
    if (!device)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return device;
}

std::shared_ptr<DataStream> DataStreamDescriptor::OpenDataStream()
{
    auto device = GetParentDevice();
    std::lock_guard<std::mutex> lock(m_mutex);
    if (auto open = m_stream.lock())
        return open;
    if (device->GetIsLost())
        Raise(ReturnCode::IO, "The device " + device->GetID() + " was lost");
    auto backend = device->Backend()->OpenStream(GetID());
    auto stream = std::make_shared<DataStream>(device, device->Backend(), std::move(backend), GetKey());
    stream->BuildNodeMap();
    device->RegisterStream(stream);
    m_stream = stream;
    return stream;
}

// --- DataStream

DataStream::DataStream(std::weak_ptr<Device> device, std::shared_ptr<detail::DeviceBackend> deviceBackend,
                       std::unique_ptr<detail::StreamBackend> backend, std::string key)
    : m_device(std::move(device)), m_deviceBackend(std::move(deviceBackend)), m_backend(std::move(backend)),
      m_key(std::move(key)), m_id(m_backend->Id())
{
    // The handler runs on the transport's stream thread: it only wakes the waiter.
    m_backend->SetNewBufferHandler([this] { OnNewBuffer(); });
}

DataStream::~DataStream()
{
    m_backend->SetNewBufferHandler({});
    try
    {
        m_backend->Stop();
        m_backend->Flush(FlushMode::DiscardAll);
    }
    catch (...)
    {
        // A stream of a lost device cannot be stopped cleanly; the transport drops it with the device.
    }
}

void DataStream::BuildNodeMap()
{
    auto bank = std::make_shared<detail::RegisterBank>();
    detail::LocalXmlBuilder xml("DataStream", bank);
    std::weak_ptr<DataStream> weak = weak_from_this();
    auto counter = [weak](uint64_t detail::StreamCounters::*field) {
        return [weak, field]() -> int64_t {
            auto self = weak.lock();
            return self ? int64_t(self->Counters().*field) : 0;
        };
    };
    auto bufferCount = [weak](int which) {
        return [weak, which]() -> int64_t {
            auto self = weak.lock();
            if (!self)
                return 0;
            std::lock_guard<std::mutex> lock(self->m_mutex);
            if (which == 0)
                return int64_t(self->m_buffers.size());
            int64_t queued = 0;
            for (const auto& entry : self->m_queued)
                queued += entry.second ? 1 : 0;
            return which == 1 ? queued : int64_t(self->m_buffers.size()) - queued;
        };
    };
    const std::string id = m_id;
    xml.Category("StreamInformation",
                 {"StreamID", "StreamType", "StreamAnnouncedBufferCount", "StreamAnnounceBufferMinimum",
                  "StreamInputBufferCount", "StreamOutputBufferCount", "StreamIsGrabbing", "StreamBufferHandlingMode"});
    xml.Category("StreamStatistics", {"StreamDeliveredFrameCount", "StreamIncompleteFrameCount",
                                      "StreamDroppedFrameCount", "StreamLostFrameCount"});
    xml.String("StreamID", [id] { return id; });
    xml.String("StreamType", [weak] {
        auto self = weak.lock();
        auto device = self ? self->m_device.lock() : nullptr;
        auto descriptor = device ? device->GetDescriptor() : nullptr;
        return descriptor ? descriptor->GetTLType() : std::string();
    });
    xml.Integer("StreamAnnouncedBufferCount", bufferCount(0));
    xml.Integer("StreamAnnounceBufferMinimum", [weak]() -> int64_t {
        auto self = weak.lock();
        return self ? int64_t(self->GetNumBuffersAnnouncedMinRequired()) : 0;
    });
    xml.Integer("StreamInputBufferCount", bufferCount(1));
    xml.Integer("StreamOutputBufferCount", bufferCount(2));
    xml.Boolean("StreamIsGrabbing", [weak] {
        auto self = weak.lock();
        return self && self->GetIsGrabbing();
    });
    xml.Enumeration("StreamBufferHandlingMode", {{"OldestFirst", 1}}, [] { return int64_t(1); });
    xml.Integer("StreamDeliveredFrameCount", counter(&detail::StreamCounters::delivered));
    xml.Integer("StreamIncompleteFrameCount", counter(&detail::StreamCounters::incomplete));
    xml.Integer("StreamDroppedFrameCount", counter(&detail::StreamCounters::underruns));
    xml.Integer("StreamLostFrameCount", counter(&detail::StreamCounters::lost));
    const std::string text = xml.Finish({"StreamInformation", "StreamStatistics"});
    SetNodeMaps({detail::CreateLocalNodeMap(bank, text)});
    SetPort(std::make_shared<Port>(std::make_shared<detail::BankPort>(bank, xml.Url())));
}

detail::StreamCounters DataStream::Counters() const
{
    return m_backend->Counters();
}

std::shared_ptr<Buffer> DataStream::AllocAndAnnounceBuffer(size_t size, void* userPtr)
{
    if (size == 0)
        Raise(ReturnCode::InvalidArgument, "A buffer needs a size above zero");
    auto backend = m_backend->Announce(size, nullptr, userPtr);
    auto buffer = std::make_shared<Buffer>(weak_from_this(), backend);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_buffers[backend.get()] = buffer;
    m_queued[backend.get()] = false;
    return buffer;
}

std::shared_ptr<Buffer> DataStream::AnnounceBuffer(void* memory, size_t size, void* userPtr)
{
    RequireNotNull(memory, nullptr_text::Buffer);
    if (size == 0)
        Raise(ReturnCode::InvalidArgument, "A buffer needs a size above zero");
    auto backend = m_backend->Announce(size, memory, userPtr);
    auto buffer = std::make_shared<Buffer>(weak_from_this(), backend);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_buffers[backend.get()] = buffer;
    m_queued[backend.get()] = false;
    return buffer;
}

void DataStream::QueueBuffer(const std::shared_ptr<Buffer>& buffer)
{
    RequireNotNull(buffer, nullptr_text::Buffer);
    const auto* key = buffer->Backend().get();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_queued.find(key);
        if (it == m_queued.end())
            Raise(ReturnCode::InvalidHandle, "The buffer is not announced to this stream");
        if (it->second)
            Raise(ReturnCode::InvalidArgument, "The buffer is queued already");
        it->second = true;
    }
    try
    {
        m_backend->Queue(buffer->Backend());
    }
    catch (...)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queued[key] = false;
        throw;
    }
}

void DataStream::RevokeBuffer(const std::shared_ptr<Buffer>& buffer)
{
    RequireNotNull(buffer, nullptr_text::Buffer);
    const auto* key = buffer->Backend().get();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto it = m_queued.find(key);
        if (it == m_queued.end())
            Raise(ReturnCode::InvalidHandle, "The buffer is not announced to this stream");
        if (it->second)
            Raise(ReturnCode::BadAccess, "A queued buffer cannot be revoked; flush the stream first");
        m_queued.erase(it);
        m_buffers.erase(key);
    }
    m_backend->Revoke(buffer->Backend());
}

void DataStream::Flush(FlushMode mode)
{
    m_backend->Flush(mode);
    std::lock_guard<std::mutex> lock(m_mutex);
    // Discarding returns every buffer to the caller; the other modes leave the input queue as it is.
    if (mode == FlushMode::DiscardAll)
    {
        for (auto& entry : m_queued)
            entry.second = false;
    }
}

void DataStream::StartAcquisition(AcquisitionStartMode, uint64_t count)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_lost)
            Raise(ReturnCode::IO, "The device of stream " + m_id + " was lost");
        if (m_started)
            Raise(ReturnCode::BadAccess, "The stream " + m_id + " is acquiring already");
        m_remaining = count == 0 ? kInfinite : count;
        m_delivered = 0;
        // A kill that no wait took belongs to the acquisition before this one (its loop ended without waiting):
        // it must not end the first wait of this one.
        m_pendingKill = false;
    }
    m_backend->Start();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_grabbing = true;
    m_started = true;
}

void DataStream::StopAcquisition(AcquisitionStopMode)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        // A counted acquisition stops grabbing by itself; the transport still runs until stopped here.
        if (!m_started)
            return;
    }
    m_backend->Stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_grabbing = false;
    m_started = false;
}

bool DataStream::GetIsGrabbing() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_grabbing;
}

size_t DataStream::GetNumBuffersAnnouncedMinRequired() const
{
    return m_backend->MinimumBufferCount();
}

size_t DataStream::GetNumBuffersAnnounced() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_buffers.size();
}

void DataStream::KillWait()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_kills;
        m_pendingKill = true;
    }
    m_condition.notify_all();
}

void DataStream::OnNewBuffer()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_wakeups;
    }
    m_condition.notify_all();
}

void DataStream::OnDeviceLost()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lost = true;
    }
    m_condition.notify_all();
}

std::shared_ptr<Buffer> DataStream::WaitForFinishedBuffer(uint64_t timeoutMs)
{
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs == kInfinite ? 0 : int64_t(timeoutMs));
    std::unique_lock<std::mutex> lock(m_mutex);
    // A KillWait that came before this wait began ends it as well: a stop that lands between the capture loop's
    // running check and its wait would otherwise leave the loop blocked for good. Either way the kill is used up.
    const uint64_t kills = m_kills - (m_pendingKill ? 1 : 0);
    for (;;)
    {
        if (m_kills != kills)
        {
            m_pendingKill = false;
            Raise(ReturnCode::Aborted, "The wait for a buffer was aborted");
        }
        if (m_lost)
            Raise(ReturnCode::IO, "The device of stream " + m_id + " was lost");
        const uint64_t wakeups = m_wakeups;
        lock.unlock();
        auto filled = m_backend->TryPop();
        lock.lock();
        if (filled)
        {
            auto it = m_buffers.find(filled.get());
            if (it == m_buffers.end())
                continue; // revoked meanwhile: the transport still held it
            m_queued[filled.get()] = false;
            auto buffer = it->second;
            ++m_delivered;
            if (m_remaining != kInfinite && m_remaining > 0 && --m_remaining == 0)
                m_grabbing = false;
            return buffer;
        }
        auto wake = [&] { return m_wakeups != wakeups || m_kills != kills || m_lost; };
        if (timeoutMs == kInfinite)
            m_condition.wait(lock, wake);
        else if (!m_condition.wait_until(lock, deadline, wake))
            Raise(ReturnCode::Timeout, "No buffer within " + std::to_string(timeoutMs) + " ms");
    }
}

std::shared_ptr<Device> DataStream::GetParentDevice() const
{
    auto device = m_device.lock();
    if (!device)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return device;
}

// --- Buffer

int32_t BufferInfo::AsInt32() const
{
    int32_t value = 0;
    if (!data.empty())
        std::memcpy(&value, data.data(), std::min(sizeof value, data.size()));
    return value;
}

Buffer::Buffer(std::weak_ptr<DataStream> stream, std::shared_ptr<detail::BufferBackend> backend)
    : m_stream(std::move(stream)), m_backend(std::move(backend))
{
}

uint8_t* Buffer::GetBasePtr() const
{
    return m_backend->BasePtr();
}
size_t Buffer::GetSize() const
{
    return m_backend->Size();
}
void* Buffer::GetUserPtr() const
{
    return m_backend->UserPtr();
}
size_t Buffer::GetImageOffset() const
{
    return m_backend->ImageOffset();
}
uint64_t Buffer::GetWidth() const
{
    return m_backend->Width();
}
uint64_t Buffer::GetHeight() const
{
    return m_backend->Height();
}
uint64_t Buffer::GetPixelFormat() const
{
    return m_backend->PixelFormat();
}
uint64_t Buffer::GetFrameID() const
{
    return m_backend->FrameId();
}
uint64_t Buffer::GetTimestamp_ns() const
{
    return m_backend->TimestampNs();
}
int32_t Buffer::GetPayloadType() const
{
    return m_backend->PayloadType();
}
bool Buffer::GetHasImage() const
{
    return m_backend->HasImage();
}
bool Buffer::GetHasChunks() const
{
    return m_backend->HasChunks();
}
bool Buffer::GetIsIncomplete() const
{
    return m_backend->Status().incomplete;
}
size_t Buffer::GetFilledSize() const
{
    return m_backend->FilledSize();
}

BufferInfo Buffer::GetInfo(int32_t command) const
{
    const auto status = m_backend->Status();
    const int32_t value =
        command == int32_t(BufferInfoCommand::LeaderStatus) ? status.leaderStatus : status.trailerStatus;
    BufferInfo info;
    info.type = InfoDataType::Int32;
    info.data.resize(sizeof value);
    std::memcpy(info.data.data(), &value, sizeof value);
    return info;
}

void Buffer::UpdateChunks()
{
    m_chunks.clear();
    if (!m_backend->HasChunks())
        return;
    for (const auto& chunk :
         detail::ParseChunks(m_backend->BasePtr(), m_backend->FilledSize(), m_backend->ChunksBigEndian()))
        m_chunks.push_back(std::make_shared<BufferChunk>(chunk));
}

size_t Buffer::GetNumChunks() const
{
    return m_chunks.size();
}

std::shared_ptr<BufferChunk> Buffer::GetChunk(size_t index) const
{
    if (index >= m_chunks.size())
        Raise(ReturnCode::OutOfRange, "Chunk index " + std::to_string(index) + " out of range");
    return m_chunks[index];
}

std::shared_ptr<DataStream> Buffer::GetParentDataStream() const
{
    auto stream = m_stream.lock();
    if (!stream)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return stream;
}

namespace detail {

std::vector<BufferChunk> ParseChunks(const uint8_t* payload, size_t size, bool bigEndian)
{
    std::vector<BufferChunk> chunks;
    if (!payload)
        return chunks;
    auto read32 = [&](size_t offset) {
        const uint8_t* p = payload + offset;
        return bigEndian ? (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]
                         : (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
    };
    size_t end = size;
    while (end >= 8)
    {
        const uint32_t length = read32(end - 4);
        const uint32_t id = read32(end - 8);
        if (length > end - 8)
            break;
        const size_t start = end - 8 - length;
        chunks.emplace_back(id, payload + start, length);
        end = start;
    }
    // Callers expect payload order.
    return std::vector<BufferChunk>(chunks.rbegin(), chunks.rend());
}

} // namespace detail

} // namespace orna::core
