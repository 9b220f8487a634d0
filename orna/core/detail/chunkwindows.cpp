#include "orna/core/detail/chunkwindows.h"

#include "orna/core/exception.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

namespace orna::core::detail {

namespace {

bool IsElement(const xmlNode* node, const char* name)
{
    return node->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

std::string Text(xmlNode* node)
{
    xmlChar* content = xmlNodeGetContent(node);
    std::string text = content ? reinterpret_cast<const char*>(content) : "";
    xmlFree(content);
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

// Every element of the document below node (Groups included), depth first.
void Collect(xmlNode* node, std::vector<xmlNode*>& out)
{
    for (xmlNode* child = node ? node->children : nullptr; child; child = child->next)
    {
        if (child->type != XML_ELEMENT_NODE)
            continue;
        out.push_back(child);
        Collect(child, out);
    }
}

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

    // The index's own tree when it kept one (it is edited in place: the index's facts are already taken), so a
    // large description is not parsed a second time; otherwise a tree of our own.
    std::shared_ptr<xmlDoc> owned;
    xmlDoc* doc = index.Document();
    if (!doc)
    {
        owned.reset(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "genicam.xml", nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                    [](xmlDoc* d) {
                        if (d)
                            xmlFreeDoc(d);
                    });
        doc = owned.get();
    }
    if (!doc)
        Raise(ReturnCode::InvalidArgument, "The GenICam XML is not well-formed");
    std::vector<xmlNode*> elements;
    Collect(xmlDocGetRootElement(doc), elements);
    for (xmlNode* element : elements)
    {
        xmlChar* nameAttribute = xmlGetProp(element, reinterpret_cast<const xmlChar*>("Name"));
        const std::string name = nameAttribute ? reinterpret_cast<const char*>(nameAttribute) : "";
        xmlFree(nameAttribute);
        if (name.empty())
            continue;
        if (IsElement(element, "Port") && portBase.count(name))
        {
            // A plain port: the engine then reads it from the device, i.e. from our bank.
            for (xmlNode* child = element->children; child;)
            {
                xmlNode* next = child->next;
                if (IsElement(child, "ChunkID") || IsElement(child, "EventID"))
                {
                    xmlUnlinkNode(child);
                    xmlFreeNode(child);
                }
                child = next;
            }
            continue;
        }
        xmlNode* port = nullptr;
        xmlNode* address = nullptr;
        for (xmlNode* child = element->children; child; child = child->next)
        {
            if (IsElement(child, "pPort"))
                port = child;
            else if (IsElement(child, "Address") && !address)
                address = child;
        }
        if (!port)
            continue;
        auto base = portBase.find(Text(port));
        if (base == portBase.end())
            continue;
        if (address)
        {
            const std::string text = Text(address);
            char* end = nullptr;
            const unsigned long long offset = std::strtoull(text.c_str(), &end, 0);
            if (text.empty() || !end || *end != '\0' || offset >= kChunkWindowSize)
            {
                Raise(ReturnCode::InvalidArgument, "Chunk register " + name + " has an unusable address");
            }
            xmlNodeSetContent(address, reinterpret_cast<const xmlChar*>(Hex(base->second + offset).c_str()));
        }
        else
        {
            // Addresses of a register add up: an extra one moves a computed address into the window.
            xmlNode* extra = xmlNewDocNode(doc, element->ns, reinterpret_cast<const xmlChar*>("Address"),
                                           reinterpret_cast<const xmlChar*>(Hex(base->second).c_str()));
            xmlAddPrevSibling(port, extra);
        }
    }
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemory(doc, &text, &size);
    std::string result(reinterpret_cast<const char*>(text), static_cast<size_t>(size));
    xmlFree(text);
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
