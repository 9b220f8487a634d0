// A data stream of an open device: buffers are announced, queued, filled by the transport and handed out by
// WaitForFinishedBuffer.
//
// Order of use (one capture thread): AllocAndAnnounceBuffer + QueueBuffer for each buffer, StartAcquisition,
// execute the camera's AcquisitionStart, loop WaitForFinishedBuffer / QueueBuffer, execute AcquisitionStop,
// StopAcquisition, Flush(DiscardAll), RevokeBuffer.
//
// Threads: the capture thread owns the stream; KillWait may be called from any thread (the GUI stopping the
// capture) and ends a blocked or the next wait with AbortedException: a kill that finds no wait stays pending
// (m_pendingKill) until a wait takes it, and StartAcquisition forgets a pending kill of the acquisition before.
// The transport's thread only signals m_condition when a buffer is ready. m_mutex guards the buffer tables, the
// kill count, the pending kill and the wake sequence.
#pragma once

#include "orna/core/buffer.h"
#include "orna/core/detail/backend.h"
#include "orna/core/module.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace orna::core {

class Device;
class DataStream;

class DataStreamDescriptor : public ModuleDescriptor, public std::enable_shared_from_this<DataStreamDescriptor>
{
public:
    DataStreamDescriptor(std::weak_ptr<Device> device, std::string id, std::string key);
    // The open stream (one per descriptor); opened on first use.
    std::shared_ptr<DataStream> OpenDataStream();
    std::shared_ptr<Device> GetParentDevice() const;

private:
    std::weak_ptr<Device> m_device;
    std::mutex m_mutex; // guards m_stream
    std::weak_ptr<DataStream> m_stream;
};

class DataStream : public EventSupportingModule, public std::enable_shared_from_this<DataStream>
{
public:
    static constexpr uint64_t kInfinite = ~uint64_t(0);

    DataStream(std::weak_ptr<Device> device, std::shared_ptr<detail::DeviceBackend> deviceBackend,
               std::unique_ptr<detail::StreamBackend> backend, std::string key);
    ~DataStream() override;

    // userPtr travels with the buffer (GetUserPtr). Raises on a zero size.
    std::shared_ptr<Buffer> AllocAndAnnounceBuffer(size_t size, void* userPtr);
    // Wraps memory the caller owns and keeps alive until RevokeBuffer.
    std::shared_ptr<Buffer> AnnounceBuffer(void* memory, size_t size, void* userPtr);
    void QueueBuffer(const std::shared_ptr<Buffer>& buffer);
    // Raises when the buffer is queued or not announced here.
    void RevokeBuffer(const std::shared_ptr<Buffer>& buffer);
    void Flush(FlushMode mode);
    void StartAcquisition(AcquisitionStartMode mode = AcquisitionStartMode::Default, uint64_t count = kInfinite);
    void StopAcquisition(AcquisitionStopMode mode = AcquisitionStopMode::Default);
    void KillWait();
    // Raises TimeoutException, AbortedException after KillWait, IOException once the device is lost.
    std::shared_ptr<Buffer> WaitForFinishedBuffer(uint64_t timeoutMs);
    bool GetIsGrabbing() const;
    size_t GetNumBuffersAnnouncedMinRequired() const;
    size_t GetNumBuffersAnnounced() const;
    std::string GetKey() const { return m_key; }
    std::string GetID() const { return m_id; }
    std::shared_ptr<Device> GetParentDevice() const;

    // Internal.
    void BuildNodeMap();
    void OnDeviceLost();
    detail::StreamCounters Counters() const;

private:
    void OnNewBuffer();

    std::weak_ptr<Device> m_device;
    std::shared_ptr<detail::DeviceBackend> m_deviceBackend; // keeps the transport device alive for the stream
    std::unique_ptr<detail::StreamBackend> m_backend;
    const std::string m_key;
    const std::string m_id;

    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    std::unordered_map<const detail::BufferBackend*, std::shared_ptr<Buffer>> m_buffers;
    std::unordered_map<const detail::BufferBackend*, bool> m_queued;
    uint64_t m_kills = 0;
    bool m_pendingKill = false; // a KillWait that no wait has taken yet
    uint64_t m_wakeups = 0;
    bool m_grabbing = false; // frames still expected (false once a counted acquisition has its frames)
    bool m_started = false;  // the transport's acquisition runs (until StopAcquisition)
    bool m_lost = false;
    uint64_t m_remaining = kInfinite; // frames left of a counted acquisition
    uint64_t m_delivered = 0;
};

} // namespace orna::core
