// Chunk and event data evaluation without the transport's buffer objects.
//
// Aravis' node engine reads a port with <ChunkID> only from an ArvBuffer it was told about, and Aravis 0.8 has
// no public way to mark a buffer of ours as carrying chunks. For node maps we build ourselves (the simulated
// producer, a GenTL consumer) the engine therefore gets a rewritten copy of the XML, made once when the map is
// built: every chunk port loses its <ChunkID> and becomes a plain port, and every register read through such a
// port is moved by a fixed base into a window of the map's register bank, one window per chunk id. The
// windows serve a snapshot of the last buffer's chunks that NodeMap::UpdateChunkNodes copies in. Ports with
// <EventID> are treated alike, with windows of their own that NodeMap::UpdateEventNodes fills with the data of
// the last event of each id. The original XML stays the map's own (GetXml, the node index); only the engine
// sees the rewritten text.
//
// Threads: ChunkWindows is written by UpdateChunkNodes (capture thread) and read by the node engine through
// the bank (any thread that reads a chunk node, under the node map's mutex, or a raw Port read without it);
// events likewise from UpdateEventNodes (event worker thread). m_mutex guards m_chunks and m_events; it is a
// leaf lock, held only while bytes are copied.
#pragma once

#include "orna/core/buffer.h"
#include "orna/core/detail/registerbank.h"
#include "orna/core/detail/xmlindex.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core::detail {

class ChunkWindows
{
public:
    // Windows start here, one per chunk id, kChunkWindowSize apart: far above any register space a camera
    // describes, and below 2^63 so that the engine's signed address arithmetic stays exact.
    static constexpr uint64_t kChunkWindowBase = 0x7F0000000000ull;
    static constexpr uint64_t kChunkWindowSize = 0x100000000ull;
    // Event data windows, the same size, below the chunk windows.
    static constexpr uint64_t kEventWindowBase = 0x7E0000000000ull;

    // The base address of chunkId's window; one per distinct chunk id of the XML, in document order.
    const std::map<uint64_t, uint64_t>& Bases() const { return m_bases; }
    const std::map<uint64_t, uint64_t>& EventBases() const { return m_eventBases; }
    bool Empty() const { return m_bases.empty() && m_eventBases.empty(); }

    // Adds one read-only pass-through window per chunk id to bank. Raises InvalidArgumentException when the
    // bank already uses that space.
    void AddTo(RegisterBank& bank, const std::shared_ptr<ChunkWindows>& self);

    // Replaces the snapshot with the chunks given (copied, so the buffer may be queued again at once).
    // Chunks whose id no port of the XML names are ignored; ids absent from chunks read as unavailable.
    void Assign(const std::vector<BufferChunk>& chunks);

    // Replaces the data of event id (other ids keep theirs). False when no port of the XML names that id.
    bool AssignEvent(uint64_t id, const std::vector<uint8_t>& data);

    // Builds the windows for the chunk and event ports of xml (index: its parse) and returns the text the node engine
    // loads. Without chunk ports the result is xml itself and the object stays empty. When the index kept its
    // parsed tree, that tree is edited in place (the index's own facts are taken already; release it after).
    static std::string Rewrite(const std::string& xml, const XmlIndex& index, ChunkWindows& windows);

private:
    bool Read(uint64_t address, uint8_t* data, size_t size) const;

    std::map<uint64_t, uint64_t> m_bases;      // chunk id -> window base; immutable after Rewrite
    std::map<uint64_t, uint64_t> m_eventBases; // event id -> window base; immutable after Rewrite
    mutable std::mutex m_mutex;
    std::map<uint64_t, std::vector<uint8_t>> m_chunks; // guarded by m_mutex
    std::map<uint64_t, std::vector<uint8_t>> m_events; // guarded by m_mutex
};

// Strict walk of the chunk records at the end of a payload ([data][id u32][length u32], backwards from the
// end, up to offset 0). Unlike ParseChunks, a record that does not fit, or bytes left before the first record,
// raise InvalidArgumentException: a damaged trailer must not be read as data. No byte outside
// [payload, payload + size) is read.
std::vector<BufferChunk> WalkChunksStrict(const uint8_t* payload, size_t size, bool bigEndian);

} // namespace orna::core::detail
