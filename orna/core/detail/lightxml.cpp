#include "orna/core/detail/lightxml.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace orna::core::detail {
namespace {

// Kept well inside libxml2's own limits without XML_PARSE_HUGE (depth 256, names of 50,000 bytes, text nodes of
// 10 MB), so that nothing the fast pass takes is refused by the node engine's parser.
constexpr size_t kMaxDepth = 200;
constexpr size_t kMaxNameLength = 1000;
constexpr size_t kMaxRunLength = 1000000;
constexpr size_t kMaxTextSize = size_t(1) << 30;

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsNameStart(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

bool IsNameChar(unsigned char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool IsXmlChar(uint32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

void AppendUtf8(std::string& out, uint32_t c)
{
    if (c < 0x80)
        out += char(c);
    else if (c < 0x800)
    {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    }
    else if (c < 0x10000)
    {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
    else
    {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

// One strict pass over the text; every check refuses rather than guesses.
class Scanner
{
public:
    Scanner(const std::string& text, bool trusted, std::vector<LightXml::Element>& elements,
            std::vector<LightXml::Attribute>& attributes)
        : s(text), n(text.size()), trusted(trusted), elements(elements), attributes(attributes)
    {
    }

    bool Run()
    {
        if (n > kMaxTextSize)
            return false;
        if (s.compare(0, 3, "\xEF\xBB\xBF") == 0)
            p = 3;
        if (s.compare(p, 5, "<?xml") == 0 && p + 5 < n && IsSpace(s[p + 5]))
        {
            if (!Declaration())
                return false;
        }
        if (!Misc())
            return false;
        if (p >= n || s[p] != '<' || p + 1 >= n || !IsNameStart(static_cast<unsigned char>(s[p + 1])))
            return false;
        if (!Document())
            return false;
        return Misc() && p == n;
    }

private:
    const std::string& s;
    const size_t n;
    const bool trusted;
    size_t p = 0;
    std::vector<LightXml::Element>& elements;
    std::vector<LightXml::Attribute>& attributes;
    std::vector<uint32_t> open;        // element indices from the root down
    std::vector<uint32_t> lastChild;   // per open element, its last child so far
    std::vector<std::string> prefixes; // declared namespace prefixes, innermost last
    std::vector<size_t> prefixCount;   // per open element, prefixes.size() before it

    bool StartsWith(size_t at, const char* text) const { return s.compare(at, std::strlen(text), text) == 0; }

    void SkipSpace()
    {
        while (p < n && IsSpace(s[p]))
            ++p;
    }

    // One character of character data at p (validated, UTF-8 decoded); advances p.
    bool Char()
    {
        const auto c = static_cast<unsigned char>(s[p]);
        if (c < 0x80)
        {
            if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
                return false;
            ++p;
            return true;
        }
        size_t length = 0;
        uint32_t value = 0;
        if ((c & 0xE0) == 0xC0)
            length = 2, value = c & 0x1F;
        else if ((c & 0xF0) == 0xE0)
            length = 3, value = c & 0x0F;
        else if ((c & 0xF8) == 0xF0)
            length = 4, value = c & 0x07;
        else
            return false;
        if (p + length > n)
            return false;
        for (size_t i = 1; i < length; ++i)
        {
            const auto next = static_cast<unsigned char>(s[p + i]);
            if ((next & 0xC0) != 0x80)
                return false;
            value = (value << 6) | (next & 0x3F);
        }
        static const uint32_t kSmallest[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (value < kSmallest[length] || !IsXmlChar(value))
            return false;
        p += length;
        return true;
    }

    bool Name(size_t& begin, size_t& length)
    {
        begin = p;
        if (p >= n || !IsNameStart(static_cast<unsigned char>(s[p])))
            return false;
        while (p < n && IsNameChar(static_cast<unsigned char>(s[p])))
            ++p;
        length = p - begin;
        return length <= kMaxNameLength;
    }

    // A reference at p ('&'); advances past its ';'.
    bool Reference()
    {
        ++p;
        if (p < n && s[p] == '#')
        {
            ++p;
            const bool hex = p < n && s[p] == 'x';
            if (hex)
                ++p;
            uint64_t value = 0;
            size_t digits = 0;
            for (; p < n && s[p] != ';'; ++p, ++digits)
            {
                const char c = s[p];
                int digit = -1;
                if (c >= '0' && c <= '9')
                    digit = c - '0';
                else if (hex && c >= 'a' && c <= 'f')
                    digit = c - 'a' + 10;
                else if (hex && c >= 'A' && c <= 'F')
                    digit = c - 'A' + 10;
                if (digit < 0 || digits > 8)
                    return false;
                value = value * (hex ? 16 : 10) + uint64_t(digit);
            }
            if (p >= n || digits == 0 || !IsXmlChar(uint32_t(value)) || value > 0x10FFFF)
                return false;
            ++p;
            return true;
        }
        for (const char* entity : {"lt;", "gt;", "amp;", "quot;", "apos;"})
        {
            if (StartsWith(p, entity))
            {
                p += std::strlen(entity);
                return true;
            }
        }
        return false;
    }

    // S? '=' S? and an opening quote; on return p is after the quote.
    bool OpenValue(char& quote)
    {
        SkipSpace();
        if (p >= n || s[p] != '=')
            return false;
        ++p;
        SkipSpace();
        if (p >= n || (s[p] != '"' && s[p] != '\''))
            return false;
        quote = s[p++];
        return true;
    }

    // A short quoted value after '='; on return value holds what was between the quotes.
    bool Assignment(std::string& value)
    {
        char quote = 0;
        if (!OpenValue(quote))
            return false;
        const size_t close = s.find(quote, p);
        if (close == std::string::npos || close - p > 64)
            return false;
        value = s.substr(p, close - p);
        p = close + 1;
        return true;
    }

    // The XML declaration in the one form libxml2 takes without a second thought: version 1.0 first, then an
    // optional UTF-8 encoding, then an optional standalone.
    bool Declaration()
    {
        p += 5;
        std::string value;
        SkipSpace();
        if (!StartsWith(p, "version"))
            return false;
        p += 7;
        if (!Assignment(value) || value != "1.0")
            return false;
        size_t before = p;
        SkipSpace();
        if (p > before && StartsWith(p, "encoding"))
        {
            p += 8;
            if (!Assignment(value))
                return false;
            for (auto& c : value)
                c = char(std::tolower(static_cast<unsigned char>(c)));
            if (value != "utf-8")
                return false;
            before = p;
            SkipSpace();
        }
        if (p > before && StartsWith(p, "standalone"))
        {
            p += 10;
            if (!Assignment(value) || (value != "yes" && value != "no"))
                return false;
        }
        SkipSpace();
        if (!StartsWith(p, "?>"))
            return false;
        p += 2;
        return true;
    }

    // Comments, processing instructions and white space between the top-level parts.
    bool Misc()
    {
        for (;;)
        {
            SkipSpace();
            if (StartsWith(p, "<!--"))
            {
                if (!Comment())
                    return false;
            }
            else if (StartsWith(p, "<?"))
            {
                if (!Instruction())
                    return false;
            }
            else
                return true;
        }
    }

    bool Comment()
    {
        p += 4;
        const size_t close = s.find("--", p);
        if (close == std::string::npos || close + 2 >= n || s[close + 2] != '>')
            return false;
        while (p < close)
            if (!Char())
                return false;
        p = close + 3;
        return true;
    }

    bool Instruction()
    {
        p += 2;
        size_t begin = 0, length = 0;
        if (!Name(begin, length))
            return false;
        if (length == 3 && (s[begin] | 0x20) == 'x' && (s[begin + 1] | 0x20) == 'm' && (s[begin + 2] | 0x20) == 'l')
            return false; // reserved target, or a declaration that is not first
        if (std::memchr(s.data() + begin, ':', length))
            return false;
        const size_t close = s.find("?>", p);
        if (close == std::string::npos || (p < close && !IsSpace(s[p])))
            return false;
        while (p < close)
            if (!Char())
                return false;
        p = close + 2;
        return true;
    }

    bool CData(LightXml::Element& parent)
    {
        p += 9; // <![CDATA[
        const size_t close = s.find("]]>", p);
        if (close == std::string::npos || close - p > kMaxRunLength)
            return false;
        while (p < close)
            if (!Char())
                return false;
        p = close + 3;
        parent.plainContent = false;
        return true;
    }

    bool PrefixDeclared(std::string_view prefix) const
    {
        if (prefix == "xml" || prefix == "xmlns")
            return true;
        for (const auto& declared : prefixes)
            if (declared == prefix)
                return true;
        return false;
    }

    // A start tag at p; on return p is after its '>'. empty: it was an empty-element tag.
    bool StartTag(uint32_t index, bool& empty)
    {
        LightXml::Element& element = elements[index];
        element.start = p;
        ++p;
        size_t nameBegin = 0, nameLength = 0;
        if (!Name(nameBegin, nameLength))
            return false;
        const char* colon = static_cast<const char*>(std::memchr(s.data() + nameBegin, ':', nameLength));
        if (colon && !trusted)
            return false;
        const size_t local = colon ? size_t(colon - s.data()) + 1 : nameBegin;
        element.nameBegin = local;
        element.nameLength = nameBegin + nameLength - local;
        element.firstAttribute = uint32_t(attributes.size());
        prefixCount.push_back(prefixes.size());
        for (;;)
        {
            const size_t before = p;
            SkipSpace();
            if (p >= n)
                return false;
            if (s[p] == '>' || (s[p] == '/' && p + 1 < n && s[p + 1] == '>'))
            {
                empty = s[p] == '/';
                p += empty ? 2 : 1;
                break;
            }
            if (p == before)
                return false; // attributes are separated by white space
            LightXml::Attribute attribute;
            if (!Name(attribute.nameBegin, attribute.nameLength))
                return false;
            char quote = 0;
            if (!OpenValue(quote))
                return false;
            attribute.valueBegin = p;
            while (p < n && s[p] != quote)
            {
                if (s[p] == '<')
                    return false;
                if (s[p] == '&')
                {
                    attribute.plainValue = false;
                    if (!Reference())
                        return false;
                    continue;
                }
                if (IsSpace(s[p]) && s[p] != ' ')
                    attribute.plainValue = false;
                if (!Char())
                    return false;
            }
            if (p >= n || p - attribute.valueBegin > kMaxRunLength)
                return false;
            attribute.valueEnd = p++;
            const std::string_view name(s.data() + attribute.nameBegin, attribute.nameLength);
            // No two attributes with the same local name: with prefixes that may be one name twice.
            const std::string_view localName =
                name.substr(name.find(':') == std::string_view::npos ? 0 : name.find(':') + 1);
            for (uint32_t a = element.firstAttribute; a < attributes.size(); ++a)
            {
                const std::string_view other(s.data() + attributes[a].nameBegin, attributes[a].nameLength);
                const std::string_view otherLocal =
                    other.substr(other.find(':') == std::string_view::npos ? 0 : other.find(':') + 1);
                if (other == name || (!trusted && otherLocal == localName))
                    return false;
            }
            if (name.rfind("xmlns:", 0) == 0)
            {
                if (attribute.valueEnd == attribute.valueBegin && !trusted)
                    return false;
                prefixes.emplace_back(name.substr(6));
            }
            attributes.push_back(attribute);
        }
        element.endAttribute = uint32_t(attributes.size());
        if (!trusted)
        {
            for (uint32_t a = element.firstAttribute; a < element.endAttribute; ++a)
            {
                const std::string_view name(s.data() + attributes[a].nameBegin, attributes[a].nameLength);
                const size_t at = name.find(':');
                if (at != std::string_view::npos &&
                    (at == 0 || at + 1 == name.size() || name.find(':', at + 1) != std::string_view::npos ||
                     !PrefixDeclared(name.substr(0, at))))
                    return false;
            }
        }
        if (empty)
        {
            element.contentBegin = element.contentEnd = element.end = p;
            prefixes.resize(prefixCount.back());
            prefixCount.pop_back();
        }
        else
        {
            element.contentBegin = p;
        }
        return true;
    }

    uint32_t NewElement()
    {
        LightXml::Element element;
        if (!open.empty())
        {
            element.parent = open.back();
            const uint32_t index = uint32_t(elements.size());
            if (lastChild.back() == LightXml::kNone)
                elements[open.back()].firstChild = index;
            else
                elements[lastChild.back()].nextSibling = index;
            lastChild.back() = index;
        }
        elements.push_back(element);
        return uint32_t(elements.size() - 1);
    }

    bool Document()
    {
        bool empty = false;
        const uint32_t root = NewElement();
        if (!StartTag(root, empty))
            return false;
        if (empty)
            return true;
        open.push_back(root);
        lastChild.push_back(LightXml::kNone);
        size_t run = 0; // character data since the last markup
        while (!open.empty())
        {
            if (p >= n)
                return false;
            const char c = s[p];
            if (c == '<')
            {
                run = 0;
                if (p + 1 >= n)
                    return false;
                const char next = s[p + 1];
                if (next == '/')
                {
                    LightXml::Element& element = elements[open.back()];
                    element.contentEnd = p;
                    p += 2;
                    size_t begin = 0, length = 0;
                    if (!Name(begin, length))
                        return false;
                    const size_t startName = element.start + 1;
                    size_t startLength = 0;
                    while (startName + startLength < n &&
                           IsNameChar(static_cast<unsigned char>(s[startName + startLength])))
                        ++startLength;
                    if (length != startLength || s.compare(begin, length, s, startName, startLength) != 0)
                        return false;
                    SkipSpace();
                    if (p >= n || s[p] != '>')
                        return false;
                    element.end = ++p;
                    open.pop_back();
                    lastChild.pop_back();
                    prefixes.resize(prefixCount.back());
                    prefixCount.pop_back();
                }
                else if (next == '!')
                {
                    elements[open.back()].plainContent = false;
                    if (StartsWith(p, "<!--"))
                    {
                        if (!Comment())
                            return false;
                    }
                    else if (StartsWith(p, "<![CDATA["))
                    {
                        if (!CData(elements[open.back()]))
                            return false;
                    }
                    else
                        return false;
                }
                else if (next == '?')
                {
                    elements[open.back()].plainContent = false;
                    if (!Instruction())
                        return false;
                }
                else
                {
                    elements[open.back()].plainContent = false;
                    if (open.size() >= kMaxDepth)
                        return false;
                    const uint32_t child = NewElement();
                    if (!StartTag(child, empty))
                        return false;
                    if (!empty)
                    {
                        open.push_back(child);
                        lastChild.push_back(LightXml::kNone);
                    }
                }
                continue;
            }
            if (++run > kMaxRunLength)
                return false;
            if (c == '&')
            {
                elements[open.back()].plainContent = false;
                if (!Reference())
                    return false;
                continue;
            }
            if (c == ']' && StartsWith(p, "]]>"))
                return false;
            if (c == '\r')
                elements[open.back()].plainContent = false;
            if (!Char())
                return false;
        }
        return true;
    }
};

// Resolves the references of a span that the scanner accepted (so every reference is known and valid).
void Decode(std::string_view text, bool attribute, std::string& out)
{
    for (size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (c == '&')
        {
            const size_t end = text.find(';', i);
            const std::string_view reference = text.substr(i + 1, end - i - 1);
            if (reference == "lt")
                out += '<';
            else if (reference == "gt")
                out += '>';
            else if (reference == "amp")
                out += '&';
            else if (reference == "quot")
                out += '"';
            else if (reference == "apos")
                out += '\'';
            else if (!reference.empty() && reference[0] == '#')
            {
                const bool hex = reference.size() > 1 && reference[1] == 'x';
                const std::string digits(reference.substr(hex ? 2 : 1));
                AppendUtf8(out, uint32_t(std::strtoul(digits.c_str(), nullptr, hex ? 16 : 10)));
            }
            i = end;
            continue;
        }
        if (c == '\r')
        {
            // Line ends fold to one line feed; in an attribute every white space character is a blank.
            if (i + 1 < text.size() && text[i + 1] == '\n')
                ++i;
            out += attribute ? ' ' : '\n';
            continue;
        }
        if (attribute && (c == '\n' || c == '\t'))
        {
            out += ' ';
            continue;
        }
        out += c;
    }
}

} // namespace

bool LightXml::Scan(const std::string& xml)
{
    m_text = xml;
    m_normalised = false;
    return ScanText(false);
}

bool LightXml::ScanText(bool trusted)
{
    m_elements.clear();
    m_attributes.clear();
    // About one element per two tags, and rarely more than one attribute each: growing the tables by copying
    // cost more than this count.
    const size_t tags = size_t(std::count(m_text.begin(), m_text.end(), '<'));
    m_elements.reserve(tags / 2 + 1);
    m_attributes.reserve(tags / 2 + 1);
    Scanner scanner(m_text, trusted, m_elements, m_attributes);
    if (scanner.Run())
        return true;
    m_elements.clear();
    m_attributes.clear();
    return false;
}

bool LightXml::Read(const std::string& xml, std::string& error)
{
    if (Scan(xml))
        return true;
    if (!Normalise(xml, error))
        return false;
    m_normalised = true;
    if (ScanText(true))
        return true;
    error = "The GenICam XML could not be read after normalisation";
    return false;
}

namespace {

using DocPtr = std::unique_ptr<xmlDoc, void (*)(xmlDoc*)>;

// libxml2's tree of xml, or null with its message (line and column) in error.
DocPtr LibxmlRead(const std::string& xml, std::string& error)
{
    error = "The GenICam XML is not well-formed";
    DocPtr none(nullptr, xmlFreeDoc);
    if (xml.size() > kMaxTextSize)
        return none;
    std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> context(xmlNewParserCtxt(), xmlFreeParserCtxt);
    if (!context)
        return none;
    // Entities are substituted (libxml2 bounds their expansion), so the DTD can go from a normalised copy.
    DocPtr doc(xmlCtxtReadMemory(context.get(), xml.data(), static_cast<int>(xml.size()), "genicam.xml", nullptr,
                                 XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NOENT),
               xmlFreeDoc);
    if (!doc)
    {
        const xmlError* last = xmlCtxtGetLastError(context.get());
        if (last && last->line > 0)
        {
            error += " (line " + std::to_string(last->line) + ", column " + std::to_string(last->int2);
            std::string message = last->message ? last->message : "";
            while (!message.empty() && (message.back() == '\n' || message.back() == ' '))
                message.pop_back();
            if (!message.empty())
                error += ": " + message;
            error += ")";
        }
        return none;
    }
    error.clear();
    return doc;
}

} // namespace

bool LightXml::WellFormed(const std::string& xml, std::string& error)
{
    return LibxmlRead(xml, error) != nullptr;
}

bool LightXml::Normalise(const std::string& xml, std::string& error)
{
    m_text.clear();
    DocPtr doc = LibxmlRead(xml, error);
    if (!doc)
        return false;
    if (xmlDtd* dtd = xmlGetIntSubset(doc.get()))
    {
        xmlUnlinkNode(reinterpret_cast<xmlNode*>(dtd));
        xmlFreeDtd(dtd);
    }
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemoryEnc(doc.get(), &text, &size, "UTF-8");
    if (!text)
    {
        error = "The GenICam XML is not well-formed";
        return false;
    }
    m_text.assign(reinterpret_cast<const char*>(text), static_cast<size_t>(size));
    xmlFree(text);
    return true;
}

std::string_view LightXml::Name(uint32_t element) const
{
    const Element& e = m_elements[element];
    return std::string_view(m_text.data() + e.nameBegin, e.nameLength);
}

std::string LightXml::Text(uint32_t element) const
{
    const Element& e = m_elements[element];
    const std::string_view content(m_text.data() + e.contentBegin, e.contentEnd - e.contentBegin);
    if (e.plainContent)
        return std::string(content);
    // Character data of the element and its descendants; comments and instructions carry none.
    std::string out;
    for (size_t i = 0; i < content.size();)
    {
        if (content[i] != '<')
        {
            const size_t next = std::min(content.find('<', i), content.size());
            Decode(content.substr(i, next - i), false, out);
            i = next;
        }
        else if (content.compare(i, 9, "<![CDATA[") == 0)
        {
            const size_t close = content.find("]]>", i + 9);
            const std::string_view raw = content.substr(i + 9, close - i - 9);
            for (size_t k = 0; k < raw.size(); ++k)
            {
                if (raw[k] == '\r')
                {
                    if (k + 1 < raw.size() && raw[k + 1] == '\n')
                        ++k;
                    out += '\n';
                }
                else
                    out += raw[k];
            }
            i = close + 3;
        }
        else if (content.compare(i, 4, "<!--") == 0)
            i = content.find("-->", i + 4) + 3;
        else if (content.compare(i, 2, "<?") == 0)
            i = content.find("?>", i + 2) + 2;
        else
        {
            // A start or end tag: attribute values may hold '>', so quoted parts are stepped over.
            char quote = 0;
            size_t k = i + 1;
            for (; k < content.size(); ++k)
            {
                if (quote)
                {
                    if (content[k] == quote)
                        quote = 0;
                }
                else if (content[k] == '"' || content[k] == '\'')
                    quote = content[k];
                else if (content[k] == '>')
                    break;
            }
            i = k + 1;
        }
    }
    return out;
}

std::string LightXml::AttributeValue(uint32_t element, std::string_view name) const
{
    const Element& e = m_elements[element];
    for (uint32_t a = e.firstAttribute; a < e.endAttribute; ++a)
    {
        const Attribute& attribute = m_attributes[a];
        if (std::string_view(m_text.data() + attribute.nameBegin, attribute.nameLength) != name)
            continue;
        const std::string_view value(m_text.data() + attribute.valueBegin, attribute.valueEnd - attribute.valueBegin);
        if (attribute.plainValue)
            return std::string(value);
        std::string out;
        Decode(value, true, out);
        return out;
    }
    return {};
}

} // namespace orna::core::detail
