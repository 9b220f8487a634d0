// A buffer announced to a data stream, and the chunks of its payload.
//
// Threads: a buffer is used by one thread at a time: the capture thread between WaitForFinishedBuffer and
// QueueBuffer. Its memory belongs to the stream once queued again; getters then describe the next frame.
#pragma once

#include "orna/core/module.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orna::core {

namespace detail {
class BufferBackend;
}
class DataStream;

class BufferChunk
{
public:
    BufferChunk(uint64_t id, const uint8_t* data, size_t size) : m_id(id), m_data(data), m_size(size) {}
    uint64_t GetID() const { return m_id; }
    const uint8_t* GetBasePtr() const { return m_data; }
    size_t GetSize() const { return m_size; }

private:
    uint64_t m_id;
    const uint8_t* m_data;
    size_t m_size;
};

// The result of Buffer::GetInfo: a GenTL data type and its raw bytes (little-endian).
struct BufferInfo
{
    InfoDataType type = InfoDataType::Unknown;
    std::vector<uint8_t> data;
    int32_t AsInt32() const;
};

class Buffer : public EventSupportingModule, public std::enable_shared_from_this<Buffer>
{
public:
    Buffer(std::weak_ptr<DataStream> stream, std::shared_ptr<detail::BufferBackend> backend);

    uint8_t* GetBasePtr() const;
    size_t GetSize() const;
    void* GetUserPtr() const;
    size_t GetImageOffset() const;
    uint64_t GetWidth() const;
    uint64_t GetHeight() const;
    uint64_t GetPixelFormat() const;
    uint64_t GetFrameID() const;
    uint64_t GetTimestamp_ns() const;
    int32_t GetPayloadType() const;
    bool GetHasImage() const;
    bool GetHasChunks() const;
    bool GetIsIncomplete() const;
    size_t GetFilledSize() const;
    // 1000: leader status, any other command: trailer status; type Int32, 0 for success, negative for a
    // failure (the 16-bit GigE Vision status in the low bits).
    BufferInfo GetInfo(int32_t command) const;

    // Walks the chunk records at the end of the payload again (after each fill).
    void UpdateChunks();
    size_t GetNumChunks() const;
    std::shared_ptr<BufferChunk> GetChunk(size_t index) const;

    std::shared_ptr<DataStream> GetParentDataStream() const;
    std::shared_ptr<detail::BufferBackend> Backend() const { return m_backend; }

private:
    std::weak_ptr<DataStream> m_stream;
    std::shared_ptr<detail::BufferBackend> m_backend;
    std::vector<std::shared_ptr<BufferChunk>> m_chunks;
};

namespace detail {
// Chunk records as GenICam lays them out: [data][chunk id u32][length u32] from the end of the payload
// backwards. Records that do not fit end the walk. Pure function, exposed for tests.
std::vector<BufferChunk> ParseChunks(const uint8_t* payload, size_t size, bool bigEndian);
} // namespace detail

} // namespace orna::core
