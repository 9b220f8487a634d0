#include "orna/core/detail/chunkwindows.h"

#include "orna/core/exception.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

namespace orna::core::detail {

namespace {

std::string Trim(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    const auto last = text.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string Hex(uint64_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

// One change of the engine's text: [begin, end) becomes replacement.
struct Splice
{
    size_t begin;
    size_t end;
    std::string replacement;
};

} // namespace

std::string ChunkWindows::Rewrite(const std::string& xml, const XmlIndex& index, ChunkWindows& windows)
{
    std::map<std::string, uint64_t> portBase; // chunk or event port name -> window base
    for (const auto& info : index.Nodes())
    {
        if (info.kind != "Port" || (!info.chunkId && !info.eventId))
            continue;
        auto& bases = info.chunkId ? windows.m_bases : windows.m_eventBases;
        const uint64_t first = info.chunkId ? kChunkWindowBase : kEventWindowBase;
        const uint64_t id = info.chunkId ? *info.chunkId : *info.eventId;
        auto it = bases.find(id);
        if (it == bases.end())
        {
            if (bases.size() >= (kChunkWindowBase - kEventWindowBase) / kChunkWindowSize)
                Raise(ReturnCode::InvalidArgument, "The GenICam XML names too many chunk or event ids");
            it = bases.emplace(id, first + kChunkWindowSize * bases.size()).first;
        }
        portBase[info.name] = it->second;
    }
    if (portBase.empty())
        return xml;

    // The index's own element table when it kept one, so a large description is not read a second time.
    LightXml owned;
    const LightXml* doc = index.Document();
    if (!doc)
    {
        std::string error;
        if (!owned.Read(xml, error))
            Raise(ReturnCode::InvalidArgument, error);
        doc = &owned;
    }
    // The text is spliced rather than rebuilt from a tree: the edits are few, the description is large.
    const auto& elements = doc->Elements();
    std::vector<Splice> splices;
    for (uint32_t element = 1; element < elements.size(); ++element) // the document element is no node
    {
        const std::string name = doc->AttributeValue(element, "Name");
        if (name.empty())
            continue;
        if (doc->NameIs(element, "Port") && portBase.count(name))
        {
            // A plain port: the engine then reads it from the device, i.e. from our bank.
            for (uint32_t child = elements[element].firstChild; child != LightXml::kNone;
                 child = elements[child].nextSibling)
            {
                if (doc->NameIs(child, "ChunkID") || doc->NameIs(child, "EventID"))
                    splices.push_back({elements[child].start, elements[child].end, {}});
            }
            continue;
        }
        uint32_t port = LightXml::kNone;
        uint32_t address = LightXml::kNone;
        for (uint32_t child = elements[element].firstChild; child != LightXml::kNone;
             child = elements[child].nextSibling)
        {
            if (doc->NameIs(child, "pPort"))
                port = child;
            else if (doc->NameIs(child, "Address") && address == LightXml::kNone)
                address = child;
        }
        if (port == LightXml::kNone)
            continue;
        auto base = portBase.find(Trim(doc->Text(port)));
        if (base == portBase.end())
            continue;
        if (address != LightXml::kNone)
        {
            const std::string text = Trim(doc->Text(address));
            char* end = nullptr;
            const unsigned long long offset = std::strtoull(text.c_str(), &end, 0);
            if (text.empty() || !end || *end != '\0' || offset >= kChunkWindowSize)
            {
                Raise(ReturnCode::InvalidArgument, "Chunk register " + name + " has an unusable address");
            }
            splices.push_back(
                {elements[address].contentBegin, elements[address].contentEnd, Hex(base->second + offset)});
        }
        else
        {
            // Addresses of a register add up: an extra one moves a computed address into the window.
            splices.push_back(
                {elements[port].start, elements[port].start, "<Address>" + Hex(base->second) + "</Address>"});
        }
    }
    // Blank runs between the child elements of an element: the node engine makes an object of each, and they
    // are about a third of its work on an indented description. They mean nothing to it.
    const std::string& text = doc->Source();
    const auto dropIfBlank = [&](size_t begin, size_t end) {
        if (end > begin && text.find_first_not_of(" \t\r\n", begin) >= end)
            splices.push_back({begin, end, {}});
    };
    for (uint32_t element = 0; element < elements.size(); ++element)
    {
        uint32_t child = elements[element].firstChild;
        if (child == LightXml::kNone)
            continue;
        dropIfBlank(elements[element].contentBegin, elements[child].start);
        for (; elements[child].nextSibling != LightXml::kNone; child = elements[child].nextSibling)
            dropIfBlank(elements[child].end, elements[elements[child].nextSibling].start);
        dropIfBlank(elements[child].end, elements[element].contentEnd);
    }
    std::sort(splices.begin(), splices.end(), [](const Splice& a, const Splice& b) { return a.begin < b.begin; });
    std::string result;
    result.reserve(text.size());
    size_t at = 0;
    for (const Splice& splice : splices)
    {
        result.append(text, at, splice.begin - at);
        result += splice.replacement;
        at = splice.end;
    }
    result.append(text, at, std::string::npos);
    return result;
}

void ChunkWindows::AddTo(RegisterBank& bank, const std::shared_ptr<ChunkWindows>& self)
{
    std::weak_ptr<ChunkWindows> weak = self;
    std::vector<uint64_t> all;
    for (const auto& entry : m_bases)
        all.push_back(entry.second);
    for (const auto& entry : m_eventBases)
        all.push_back(entry.second);
    for (uint64_t base : all)
    {
        uint8_t probe = 0;
        if (bank.Read(base, &probe, 1) != RegisterBank::Status::InvalidAddress)
            Raise(ReturnCode::InvalidArgument, "The register bank already uses the chunk window at " + Hex(base));
        bank.AddPassThrough(base, kChunkWindowSize, [weak](uint64_t address, uint8_t* data, size_t size) {
            auto windows = weak.lock();
            return windows && windows->Read(address, data, size);
        });
    }
}

bool ChunkWindows::Read(uint64_t address, uint8_t* data, size_t size) const
{
    if (address < kEventWindowBase)
        return false;
    const bool event = address < kChunkWindowBase;
    const uint64_t first = event ? kEventWindowBase : kChunkWindowBase;
    const uint64_t base = first + (address - first) / kChunkWindowSize * kChunkWindowSize;
    const uint64_t offset = address - base;
    for (const auto& [id, windowBase] : event ? m_eventBases : m_bases)
    {
        if (windowBase != base)
            continue;
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto& table = event ? m_events : m_chunks;
        auto it = table.find(id);
        if (it == table.end() || offset > it->second.size() || size > it->second.size() - offset)
            return false; // chunk absent from the last buffer, no such event yet, or a register beyond the data
        std::memcpy(data, it->second.data() + offset, size);
        return true;
    }
    return false;
}

void ChunkWindows::Assign(const std::vector<BufferChunk>& chunks)
{
    std::map<uint64_t, std::vector<uint8_t>> next;
    for (const auto& chunk : chunks)
        if (m_bases.count(chunk.GetID()))
            next[chunk.GetID()].assign(chunk.GetBasePtr(), chunk.GetBasePtr() + chunk.GetSize());
    std::lock_guard<std::mutex> lock(m_mutex);
    m_chunks.swap(next);
}

bool ChunkWindows::AssignEvent(uint64_t id, const std::vector<uint8_t>& data)
{
    if (!m_eventBases.count(id))
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_events[id] = data;
    return true;
}

std::vector<BufferChunk> WalkChunksStrict(const uint8_t* payload, size_t size, bool bigEndian)
{
    if (!payload || size == 0)
        Raise(ReturnCode::InvalidArgument, "The buffer holds no chunk data");
    auto read32 = [&](size_t offset) {
        const uint8_t* p = payload + offset;
        return bigEndian ? (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]
                         : (uint32_t(p[3]) << 24) | (uint32_t(p[2]) << 16) | (uint32_t(p[1]) << 8) | p[0];
    };
    std::vector<BufferChunk> chunks;
    size_t end = size;
    while (end > 0)
    {
        if (end < 8)
            Raise(ReturnCode::InvalidArgument,
                  "Chunk data damaged: " + std::to_string(end) + " bytes before the first chunk trailer");
        const uint32_t length = read32(end - 4);
        const uint32_t id = read32(end - 8);
        if (length > end - 8)
            Raise(ReturnCode::InvalidArgument, "Chunk data damaged: chunk " + Hex(id) + " claims " +
                                                   std::to_string(length) + " bytes, only " + std::to_string(end - 8) +
                                                   " precede its trailer");
        end -= 8 + size_t(length);
        chunks.emplace_back(id, payload + end, length);
    }
    return std::vector<BufferChunk>(chunks.rbegin(), chunks.rend());
}

} // namespace orna::core::detail
