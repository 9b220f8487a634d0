// detail::XmlIndex: the facts of a GenICam XML description that Aravis' node engine does not expose.
//
// Parsed once per node map from the same text the engine loaded: document order of the nodes and of each
// enumeration's entries (Aravis hands entries back reversed), PollingTime, IsDeprecated, Streamable, the
// command value of commands, the ChunkID/EventID of ports, and every p* reference. From the references it
// builds the invalidation graph: Dependents(X) are the nodes whose value may change when X changes (nodes that
// read X through a p* element, nodes that name X as pInvalidator, and nodes selected by X).
//
// Threads: immutable after Parse(); any thread may read it.
#pragma once

#include "orna/core/detail/lightxml.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace orna::core::detail {

struct XmlNodeInfo
{
    std::string name;
    std::string kind; // element name: "Integer", "IntReg", "Enumeration", "Category", ...
    size_t order = 0;
    int64_t pollingTime = 0; // 0: not polled
    bool deprecated = false;
    bool streamable = false;
    std::string pValue;
    std::string pPort;
    std::string pCommandValue;
    std::optional<int64_t> commandValue;
    std::optional<uint64_t> chunkId;
    std::optional<uint64_t> eventId;
    std::vector<std::string> entries;      // enumerations: EnumEntry names in document order
    std::vector<std::string> features;     // categories: pFeature
    std::vector<std::string> selected;     // selectors: pSelected
    std::vector<std::string> invalidators; // pInvalidator
    std::vector<std::string> references;   // every other p* element (pValue, pMin, pAddress, pVariable, ...)
};

class XmlIndex
{
public:
    // False with a message in error when the text is not well-formed XML; the message says where (line and
    // column), and a text whose first line is not XML at all (a header a dump tool wrote before the declaration)
    // is named as such. With keepDocument the element table stays available through Document() until
    // ReleaseDocument(), so that a caller that must rewrite the text does not read it a second time.
    bool Parse(const std::string& xml, std::string& error, bool keepDocument = false);
    const LightXml* Document() const { return m_document.get(); }
    void ReleaseDocument() { m_document.reset(); }

    const XmlNodeInfo* Find(const std::string& name) const;
    // Every named node (entries excluded) in document order.
    const std::vector<XmlNodeInfo>& Nodes() const { return m_nodes; }
    const std::vector<std::string>& Dependents(const std::string& name) const;
    // The nodes whose value changes with name, transitively, name itself first. Write-through targets (the
    // pValue chain of name) are included with their own dependents, so that writing an Integer that sits on
    // an IntReg also reports the other readers of that register.
    std::vector<std::string> ChangeSet(const std::string& name) const;
    // Selecting nodes: the selectors that name this node in pSelected, in document order.
    const std::vector<std::string>& Selecting(const std::string& name) const;
    // The name of the port a node finally reads through (following pValue), empty if none.
    std::string PortOf(const std::string& name) const;

private:
    std::unique_ptr<LightXml> m_document;
    std::vector<XmlNodeInfo> m_nodes;
    std::unordered_map<std::string, size_t> m_byName;
    std::unordered_map<std::string, std::vector<std::string>> m_dependents;
    std::unordered_map<std::string, std::vector<std::string>> m_selecting;
};

} // namespace orna::core::detail
