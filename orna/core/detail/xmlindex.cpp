#include "orna/core/detail/xmlindex.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace orna::core::detail {
namespace {

std::string Trim(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

std::optional<int64_t> ParseInteger(const std::string& text)
{
    try
    {
        size_t used = 0;
        const long long value = std::stoll(text, &used, 0);
        if (used == text.size())
            return value;
    }
    catch (...)
    {
    }
    return std::nullopt;
}

bool IsReferenceElement(const char* name)
{
    return name[0] == 'p' && name[1] >= 'A' && name[1] <= 'Z';
}

void AddUnique(std::vector<std::string>& list, const std::string& value)
{
    if (!value.empty() && std::find(list.begin(), list.end(), value) == list.end())
        list.push_back(value);
}

// Reads the child elements of one named node into info. Entries of an enumeration add their references to
// the enumeration itself (an entry's availability changes the enumeration's choices).
void ReadChildren(const LightXml& doc, uint32_t element, XmlNodeInfo& info)
{
    const auto& elements = doc.Elements();
    for (uint32_t child = elements[element].firstChild; child != LightXml::kNone; child = elements[child].nextSibling)
    {
        const std::string tagName(doc.Name(child));
        const char* tag = tagName.c_str();
        if (std::strcmp(tag, "EnumEntry") == 0)
        {
            info.entries.push_back(doc.AttributeValue(child, "Name"));
            XmlNodeInfo entry;
            ReadChildren(doc, child, entry);
            for (const auto& reference : entry.references)
                AddUnique(info.references, reference);
            for (const auto& reference : entry.invalidators)
                AddUnique(info.invalidators, reference);
            continue;
        }
        const std::string text = Trim(doc.Text(child));
        if (std::strcmp(tag, "PollingTime") == 0)
            info.pollingTime = ParseInteger(text).value_or(0);
        else if (std::strcmp(tag, "IsDeprecated") == 0)
            info.deprecated = text == "Yes";
        else if (std::strcmp(tag, "Streamable") == 0)
            info.streamable = text == "Yes";
        else if (std::strcmp(tag, "CommandValue") == 0)
            info.commandValue = ParseInteger(text);
        else if (std::strcmp(tag, "ChunkID") == 0)
        {
            if (auto id = ParseInteger(text.rfind("0x", 0) == 0 ? text : "0x" + text))
                info.chunkId = static_cast<uint64_t>(*id);
        }
        else if (std::strcmp(tag, "EventID") == 0)
        {
            if (auto id = ParseInteger(text.rfind("0x", 0) == 0 ? text : "0x" + text))
                info.eventId = static_cast<uint64_t>(*id);
        }
        else if (IsReferenceElement(tag))
        {
            if (std::strcmp(tag, "pFeature") == 0)
                info.features.push_back(text);
            else if (std::strcmp(tag, "pSelected") == 0)
                AddUnique(info.selected, text);
            else if (std::strcmp(tag, "pInvalidator") == 0)
                AddUnique(info.invalidators, text);
            else if (std::strcmp(tag, "pPort") == 0)
                info.pPort = text;
            else
            {
                if (std::strcmp(tag, "pValue") == 0)
                    info.pValue = text;
                else if (std::strcmp(tag, "pCommandValue") == 0)
                    info.pCommandValue = text;
                AddUnique(info.references, text);
            }
        }
        else if (std::strcmp(tag, "pIndex") == 0)
        {
            AddUnique(info.references, text);
        }
    }
}

// The first line of a text that does not start with markup, for the refusal: dump tools write a header line
// before the declaration, and "not well-formed" alone would not say so.
std::optional<std::string> LeadingNonXmlLine(const std::string& xml)
{
    size_t start = xml.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    start = xml.find_first_not_of(" \t\r\n", start);
    if (start == std::string::npos || xml[start] == '<')
        return std::nullopt;
    const size_t end = xml.find_first_of("\r\n", start);
    std::string line = xml.substr(start, end == std::string::npos ? std::string::npos : end - start);
    constexpr size_t kShown = 60;
    if (line.size() > kShown)
        line = line.substr(0, kShown) + "...";
    return line;
}

} // namespace

bool XmlIndex::Parse(const std::string& xml, std::string& error, bool keepDocument)
{
    m_document.reset();
    m_nodes.clear();
    m_byName.clear();
    m_dependents.clear();
    m_selecting.clear();
    if (auto line = LeadingNonXmlLine(xml))
    {
        error = "The description does not start with XML (line 1: " + *line + ")";
        return false;
    }
    auto doc = std::make_unique<LightXml>();
    if (!doc->Read(xml, error))
        return false;
    const auto& elements = doc->Elements();
    // Depth-first over the description; Group elements only structure the file.
    std::vector<uint32_t> stack;
    const auto pushChildren = [&](uint32_t parent) {
        const size_t first = stack.size();
        for (uint32_t child = elements[parent].firstChild; child != LightXml::kNone;
             child = elements[child].nextSibling)
            stack.push_back(child);
        std::reverse(stack.begin() + long(first), stack.end());
    };
    pushChildren(doc->Root());
    while (!stack.empty())
    {
        const uint32_t node = stack.back();
        stack.pop_back();
        if (doc->NameIs(node, "Group"))
        {
            pushChildren(node);
            continue;
        }
        std::string name = doc->AttributeValue(node, "Name");
        if (name.empty() || m_byName.count(name))
            continue;
        XmlNodeInfo info;
        info.name = std::move(name);
        info.kind = std::string(doc->Name(node));
        info.order = m_nodes.size();
        ReadChildren(*doc, node, info);
        m_byName[info.name] = m_nodes.size();
        m_nodes.push_back(std::move(info));
    }
    if (keepDocument)
        m_document = std::move(doc);

    for (const auto& node : m_nodes)
    {
        for (const auto& reference : node.references)
            AddUnique(m_dependents[reference], node.name);
        for (const auto& invalidator : node.invalidators)
            AddUnique(m_dependents[invalidator], node.name);
        for (const auto& selected : node.selected)
        {
            AddUnique(m_dependents[node.name], selected);
            AddUnique(m_selecting[selected], node.name);
        }
    }
    return true;
}

const XmlNodeInfo* XmlIndex::Find(const std::string& name) const
{
    auto it = m_byName.find(name);
    return it == m_byName.end() ? nullptr : &m_nodes[it->second];
}

const std::vector<std::string>& XmlIndex::Dependents(const std::string& name) const
{
    static const std::vector<std::string> none;
    auto it = m_dependents.find(name);
    return it == m_dependents.end() ? none : it->second;
}

const std::vector<std::string>& XmlIndex::Selecting(const std::string& name) const
{
    static const std::vector<std::string> none;
    auto it = m_selecting.find(name);
    return it == m_selecting.end() ? none : it->second;
}

std::vector<std::string> XmlIndex::ChangeSet(const std::string& name) const
{
    std::vector<std::string> result;
    std::unordered_set<std::string> seen;
    std::vector<std::string> pending{name};
    // The registers a write goes through change too.
    for (const XmlNodeInfo* info = Find(name); info && !info->pValue.empty();)
    {
        if (!seen.insert(info->pValue).second)
            break;
        pending.push_back(info->pValue);
        info = Find(info->pValue);
    }
    seen.clear();
    for (size_t i = 0; i < pending.size(); ++i)
    {
        if (!seen.insert(pending[i]).second)
            continue;
        result.push_back(pending[i]);
        for (const auto& dependent : Dependents(pending[i]))
            pending.push_back(dependent);
    }
    return result;
}

std::string XmlIndex::PortOf(const std::string& name) const
{
    std::unordered_set<std::string> seen;
    for (const XmlNodeInfo* info = Find(name); info && seen.insert(info->name).second;)
    {
        if (!info->pPort.empty())
            return info->pPort;
        if (info->pValue.empty())
            return {};
        info = Find(info->pValue);
    }
    return {};
}

} // namespace orna::core::detail
