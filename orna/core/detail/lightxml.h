// detail::LightXml: camera descriptions read as a flat table of elements with byte offsets into their text.
//
// A description is opened on every camera open, and a large one is over a megabyte: building libxml2's tree for
// it (and dumping it again after the chunk rewrite) cost more than the node engine's own parse. The reader here
// makes one pass over the text and keeps, per element, where its tags and content lie, so the side index reads
// its facts from it and the chunk rewrite splices the text.
//
// The pass accepts only a conservative subset of XML, one that libxml2 (and so the node engine's parser, which
// is libxml2 too) accepts as well: UTF-8, no DOCTYPE, no element prefixes, the predefined entities and character
// references, comments, processing instructions and CDATA, moderate depth and sizes. Anything else goes to
// libxml2, which either refuses the text saying where (line and column) or accepts it; an accepted text is then
// normalised by libxml2 (entities substituted, UTF-8, no DTD) and read from that normalised copy. Whatever the path,
// Source() is the text the offsets refer to.
//
// Threads: a value type, used by one thread at a time; immutable after Read().
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orna::core::detail {

class LightXml
{
public:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Element
    {
        uint32_t parent = kNone;
        uint32_t firstChild = kNone;
        uint32_t nextSibling = kNone;
        uint32_t firstAttribute = 0; // into the attribute table, [firstAttribute, endAttribute)
        uint32_t endAttribute = 0;
        size_t nameBegin = 0; // local name (after a prefix), in Source()
        size_t nameLength = 0;
        size_t start = 0;         // the start tag's '<'
        size_t contentBegin = 0;  // after the start tag (== end for an empty-element tag)
        size_t contentEnd = 0;    // the end tag's '<' (== end for an empty-element tag)
        size_t end = 0;           // after the end tag
        bool plainContent = true; // content is character data without references, markup or line breaks to fold
    };

    struct Attribute
    {
        size_t nameBegin = 0; // the qualified name as written
        size_t nameLength = 0;
        size_t valueBegin = 0; // between the quotes
        size_t valueEnd = 0;
        bool plainValue = true; // no reference and no white space to normalise
    };

    // Reads xml (copied). False with a message in error when the text is not well-formed XML: libxml2's own,
    // with line and column.
    bool Read(const std::string& xml, std::string& error);

    // The fast pass alone: false when the text is outside the subset or not well-formed (no reason given).
    // Exposed for tests that compare the two paths.
    bool Scan(const std::string& xml);
    // libxml2's own verdict on xml (the node engine's parser): true when well-formed, else false with the message
    // Read() would give.
    static bool WellFormed(const std::string& xml, std::string& error);
    // True when the last Read() needed libxml2 (the text was outside the subset).
    bool Normalised() const { return m_normalised; }

    const std::string& Source() const { return m_text; }
    const std::vector<Element>& Elements() const { return m_elements; }
    // The document element; kNone before a successful read.
    uint32_t Root() const { return m_elements.empty() ? kNone : 0; }

    std::string_view Name(uint32_t element) const;
    bool NameIs(uint32_t element, std::string_view name) const { return Name(element) == name; }
    // The character data inside element and its descendants, references resolved (what libxml2 calls content).
    std::string Text(uint32_t element) const;
    // The value of the attribute written as name, references resolved and white space normalised; empty when
    // absent.
    std::string AttributeValue(uint32_t element, std::string_view name) const;

private:
    bool ScanText(bool trusted);
    bool Normalise(const std::string& xml, std::string& error);

    std::string m_text;
    std::vector<Element> m_elements;
    std::vector<Attribute> m_attributes;
    bool m_normalised = false;
};

} // namespace orna::core::detail
