#include "orna/core/nodemap.h"

#include "orna/core/detail/aravis_error.h"
#include "orna/core/detail/nodemapimpl.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace orna::core {

namespace detail {

namespace {

nodes::NodeType TypeOf(ArvGcNode* node)
{
    // An IntReg is both an integer and a register, an enumeration and a boolean are also integers: test the
    // most specific kinds first.
    if (ARV_IS_GC_CATEGORY(node))
        return nodes::NodeType::Category;
    if (ARV_IS_GC_ENUMERATION(node))
        return nodes::NodeType::Enumeration;
    if (ARV_IS_GC_COMMAND(node))
        return nodes::NodeType::Command;
    if (ARV_IS_GC_BOOLEAN(node))
        return nodes::NodeType::Boolean;
    if (ARV_IS_GC_INTEGER(node))
        return nodes::NodeType::Integer;
    if (ARV_IS_GC_FLOAT(node))
        return nodes::NodeType::Float;
    if (ARV_IS_GC_STRING(node))
        return nodes::NodeType::String;
    if (ARV_IS_GC_REGISTER(node))
        return nodes::NodeType::Register;
    if (ARV_IS_GC_ENUM_ENTRY(node))
        return nodes::NodeType::EnumerationEntry;
    if (ARV_IS_GC_PORT(node))
        return nodes::NodeType::Port;
    return nodes::NodeType::Unknown;
}

std::shared_ptr<nodes::Node> MakeNode(NodeRef ref)
{
    switch (ref.type)
    {
    case nodes::NodeType::Integer:
        return std::make_shared<nodes::IntegerNode>(std::move(ref));
    case nodes::NodeType::Float:
        return std::make_shared<nodes::FloatNode>(std::move(ref));
    case nodes::NodeType::Boolean:
        return std::make_shared<nodes::BooleanNode>(std::move(ref));
    case nodes::NodeType::String:
        return std::make_shared<nodes::StringNode>(std::move(ref));
    case nodes::NodeType::Command:
        return std::make_shared<nodes::CommandNode>(std::move(ref));
    case nodes::NodeType::Register:
        return std::make_shared<nodes::RegisterNode>(std::move(ref));
    case nodes::NodeType::Category:
        return std::make_shared<nodes::CategoryNode>(std::move(ref));
    case nodes::NodeType::Enumeration:
        return std::make_shared<nodes::EnumerationNode>(std::move(ref));
    case nodes::NodeType::EnumerationEntry:
        return std::make_shared<nodes::EnumerationEntryNode>(std::move(ref));
    default:
        return std::make_shared<nodes::Node>(std::move(ref));
    }
}

} // namespace

std::shared_ptr<nodes::Node> NodeMapImpl::Wrap(const std::string& name, ArvGcNode* node,
                                               std::unordered_map<std::string, std::shared_ptr<nodes::Node>>& table)
{
    const std::weak_ptr<NodeMapImpl> weak = weak_from_this();
    NodeRef ref{weak, node, name, TypeOf(node)};
    auto wrapped = MakeNode(ref);
    if (ref.type == nodes::NodeType::Enumeration)
    {
        auto* enumeration = static_cast<nodes::EnumerationNode*>(wrapped.get());
        // Entries by symbol as the engine holds them (reversed), then put into document order.
        std::vector<ArvGcFeatureNode*> engineEntries;
        // An entry without a name (a broken description) has no symbol to be set or shown by: left out.
        for (const GSList* it = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node)); it; it = it->next)
            if (arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(it->data)))
                engineEntries.push_back(ARV_GC_FEATURE_NODE(it->data));
        std::vector<ArvGcFeatureNode*> orderedEntries;
        if (const auto* info = index.Find(name))
        {
            for (const auto& symbol : info->entries)
            {
                for (auto*& entry : engineEntries)
                {
                    if (entry && symbol == arv_gc_feature_node_get_name(entry))
                    {
                        orderedEntries.push_back(entry);
                        entry = nullptr;
                        break;
                    }
                }
            }
        }
        for (auto it = engineEntries.rbegin(); it != engineEntries.rend(); ++it)
        {
            if (*it)
                orderedEntries.push_back(*it);
        }
        for (auto* entry : orderedEntries)
        {
            const std::string entryName = "EnumEntry_" + name + "_" + arv_gc_feature_node_get_name(entry);
            auto entryNode = std::make_shared<nodes::EnumerationEntryNode>(
                NodeRef{weak, entry, entryName, nodes::NodeType::EnumerationEntry});
            enumeration->m_entries.push_back(entryNode);
            enumeration->m_symbols.push_back(arv_gc_feature_node_get_name(entry));
            table.emplace(entryName, entryNode);
        }
    }
    return wrapped;
}

std::shared_ptr<NodeMapImpl> NodeMapImpl::Create(GObjectPtr<ArvDevice> device, XmlIndex* parsed)
{
    auto impl = std::make_shared<NodeMapImpl>();
    impl->device = std::move(device);
    impl->gc = arv_device_get_genicam(impl->device.Get());
    if (!impl->gc)
        Raise(ReturnCode::NotAvailable, "The device has no GenICam description");
    size_t size = 0;
    const char* xml = arv_device_get_genicam_xml(impl->device.Get(), &size);
    impl->xml.assign(xml ? xml : "", xml ? size : 0);
    // Some transports count the terminating zero.
    while (!impl->xml.empty() && impl->xml.back() == '\0')
        impl->xml.pop_back();
    std::string error;
    if (parsed)
        impl->index = std::move(*parsed);
    else if (!impl->index.Parse(impl->xml, error))
        Raise(ReturnCode::InvalidArgument, error);
    // GenApi semantics: writes to read-only nodes and out-of-range values fail instead of reaching the device.
    arv_gc_set_access_check_policy(impl->gc, ARV_ACCESS_CHECK_POLICY_ENABLE);
    arv_gc_set_range_check_policy(impl->gc, ARV_RANGE_CHECK_POLICY_ENABLE);

    for (const auto& info : impl->index.Nodes())
    {
        ArvGcNode* node = arv_gc_get_node(impl->gc, info.name.c_str());
        if (!node || !ARV_IS_GC_FEATURE_NODE(node))
            continue;
        auto wrapped = impl->Wrap(info.name, node, impl->byName);
        impl->ordered.push_back(wrapped);
        impl->byName[info.name] = wrapped;
        if (!impl->index.PortOf(info.name).empty())
        {
            const auto* port = impl->index.Find(impl->index.PortOf(info.name));
            if (port && port->chunkId)
                impl->chunkNodes.push_back(info.name);
            else if (port && port->eventId)
                impl->eventNodes.push_back(info.name);
        }
    }

    // Features: everything reachable from Root through categories.
    std::vector<std::string> pending{"Root"};
    while (!pending.empty())
    {
        const std::string name = pending.back();
        pending.pop_back();
        if (!impl->features.insert(name).second)
            continue;
        if (const auto* info = impl->index.Find(name))
            pending.insert(pending.end(), info->features.begin(), info->features.end());
    }
    impl->features.erase("Root");
    return impl;
}

std::shared_ptr<nodes::Node> NodeMapImpl::Lookup(const std::string& name)
{
    auto it = byName.find(name);
    if (it != byName.end())
        return it->second;
    // Nodes the engine adds by itself (Aravis' defaults for GigE devices, such as ArvGevSCPSPacketSize) are
    // not in the XML; they are wrapped on first use.
    std::lock_guard<std::recursive_mutex> lock(mutex);
    auto extra = extras.find(name);
    if (extra != extras.end())
        return extra->second;
    ArvGcNode* node = arv_gc_get_node(gc, name.c_str());
    if (!node || !ARV_IS_GC_FEATURE_NODE(node))
        return nullptr;
    auto wrapped = Wrap(name, node, extras);
    extras.emplace(name, wrapped);
    return wrapped;
}

void NodeMapImpl::FireChanged(const std::vector<std::string>& names)
{
    std::vector<std::pair<nodes::ChangedCallback, std::string>> calls;
    {
        std::lock_guard<std::mutex> lock(callbackMutex);
        for (const auto& name : names)
        {
            auto it = callbacks.find(name);
            if (it == callbacks.end())
                continue;
            for (const auto& entry : it->second)
                calls.emplace_back(entry.second, name);
        }
    }
    // Nodes are resolved after callbackMutex is released: a lookup may take the map's mutex.
    for (auto& call : calls)
    {
        try
        {
            if (auto node = Lookup(call.second))
                call.first(node);
        }
        catch (...)
        {
            // A failing subscriber must not stop the others nor the write that caused the change.
        }
    }
}

} // namespace detail

// --- NodeMap

NodeMap::NodeMap(std::shared_ptr<detail::NodeMapImpl> impl) : m_impl(std::move(impl))
{
    RequireNotNull(m_impl, nullptr_text::Pointer);
}

NodeMap::~NodeMap() = default;

std::shared_ptr<nodes::Node> NodeMap::FindNode(const std::string& name) const
{
    auto node = m_impl->Lookup(name);
    if (!node)
        Raise(ReturnCode::NotFound, "Node " + name + " not found");
    return node;
}

bool NodeMap::GetHasNode(const std::string& name) const
{
    return m_impl->Lookup(name) != nullptr;
}

size_t NodeMap::GetNumNodes() const
{
    return m_impl->ordered.size();
}

std::shared_ptr<nodes::Node> NodeMap::GetNode(size_t index) const
{
    if (index >= m_impl->ordered.size())
        Raise(ReturnCode::OutOfRange, "Node index " + std::to_string(index) + " out of range");
    return m_impl->ordered[index];
}

void NodeMap::Lock() const
{
    m_impl->mutex.lock();
}

void NodeMap::Unlock() const
{
    m_impl->mutex.unlock();
}

bool NodeMap::TryLock() const
{
    return m_impl->mutex.try_lock();
}

std::string NodeMap::GetXml() const
{
    return m_impl->xml;
}

void NodeMap::PollNodes(int64_t elapsedMs)
{
    std::vector<std::string> changed;
    {
        std::lock_guard<std::recursive_mutex> lock(m_impl->mutex);
        for (const auto& info : m_impl->index.Nodes())
        {
            if (info.pollingTime <= 0)
                continue;
            auto node = m_impl->Lookup(info.name);
            if (!node)
                continue;
            auto& state = m_impl->poll[info.name];
            state.elapsed += elapsedMs;
            if (state.elapsed < info.pollingTime)
                continue;
            state.elapsed = 0;
            std::string value;
            try
            {
                value = node->GetValueAsString();
            }
            catch (const Exception&)
            {
                continue; // not readable now; try again at the next period
            }
            if (state.known && state.last == value)
                continue;
            state.known = true;
            state.last = value;
            for (const auto& name : m_impl->index.ChangeSet(info.name))
                changed.push_back(name);
        }
    }
    m_impl->FireChanged(changed);
}

// --- Persistence

namespace {

std::string ReadText(const NodeMap& map, const char* name)
{
    try
    {
        if (map.GetHasNode(name))
            return map.FindNode(name)->GetValueAsString();
    }
    catch (const Exception&)
    {
    }
    return "unknown";
}

bool Storable(const std::shared_ptr<nodes::Node>& node)
{
    const auto type = node->GetType();
    if (type == nodes::NodeType::Category || type == nodes::NodeType::Command || type == nodes::NodeType::Port ||
        type == nodes::NodeType::Unknown)
        return false;
    return node->GetIsStreamable() && node->GetAccessStatus() == nodes::NodeAccessStatus::ReadWrite;
}

// Walking a selector while storing changes nothing for subscribers: the value is restored before the lock is
// released, so no changed callbacks are fired.
void SetSelectorQuietly(ArvGc* gc, const std::string& name, const std::string& symbolic)
{
    GError* error = nullptr;
    arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(arv_gc_get_node(gc, name.c_str())), symbolic.c_str(),
                                        &error);
    detail::RaiseIfError(error, name);
}

} // namespace

void NodeMap::StoreToFile(const std::string& path) const
{
    std::lock_guard<std::recursive_mutex> lock(m_impl->mutex);
    // Category order from Root, then anything streamable that no category lists.
    std::vector<std::string> order;
    std::unordered_set<std::string> seen{"Root"};
    std::vector<std::string> pending{"Root"};
    while (!pending.empty())
    {
        const std::string name = pending.front();
        pending.erase(pending.begin());
        const auto* info = m_impl->index.Find(name);
        if (!info)
            continue;
        std::vector<std::string> children;
        for (const auto& child : info->features)
        {
            if (!seen.insert(child).second)
                continue;
            order.push_back(child);
            children.push_back(child);
        }
        pending.insert(pending.begin(), children.begin(), children.end());
    }
    for (const auto& info : m_impl->index.Nodes())
    {
        if (seen.insert(info.name).second)
            order.push_back(info.name);
    }

    // Nodes selected by a storable enumeration selector are written inside that selector's loop.
    std::unordered_set<std::string> underSelector;
    for (const auto& name : order)
    {
        auto node = m_impl->Lookup(name);
        if (node && node->GetType() == nodes::NodeType::Enumeration && Storable(node))
        {
            for (const auto& selected : m_impl->index.Find(name)->selected)
                underSelector.insert(selected);
        }
    }

    std::ostringstream out;
    out << "# orna::core persistence file (version " << Library::kVersionMajor << "." << Library::kVersionMinor << "."
        << Library::kVersionSubminor << ")\n";
    out << "# Device = " << ReadText(*this, "DeviceVendorName") << "::" << ReadText(*this, "DeviceModelName")
        << " -- node map settings\n";
    out << "# Device version = " << ReadText(*this, "DeviceVersion") << "\n";
    for (const auto& name : order)
    {
        auto node = m_impl->Lookup(name);
        if (!node || underSelector.count(name) || !Storable(node))
            continue;
        const std::string value = node->GetValueAsString();
        if (node->GetType() == nodes::NodeType::Enumeration && node->GetNumSelectedNodes() > 0)
        {
            auto selector = nodes::NodeCast<nodes::EnumerationNode>(node);
            for (const auto& entry : selector->GetEntries())
            {
                const auto access = entry->GetAccessStatus();
                if (access == nodes::NodeAccessStatus::NotAvailable ||
                    access == nodes::NodeAccessStatus::NotImplemented)
                    continue;
                out << name << "\t" << entry->GetSymbolicValue() << "\n";
                SetSelectorQuietly(m_impl->gc, name, entry->GetSymbolicValue());
                for (size_t i = 0; i < node->GetNumSelectedNodes(); ++i)
                {
                    auto selected = node->GetSelectedNode(i);
                    if (Storable(selected))
                        out << selected->GetName() << "\t" << selected->GetValueAsString() << "\n";
                }
            }
            SetSelectorQuietly(m_impl->gc, name, value);
        }
        out << name << "\t" << value << "\n";
    }
    // A reader that finds no end line knows the file was cut short.
    out << kPersistenceEndLine << "\n";

    const std::string temporary = path + ".tmp" + std::to_string(::getpid());
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file << out.str();
        file.flush();
        if (!file)
        {
            std::remove(temporary.c_str());
            Raise(ReturnCode::IO, "Could not write " + path);
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0)
    {
        std::remove(temporary.c_str());
        Raise(ReturnCode::IO, "Could not write " + path);
    }
}

void NodeMap::LoadFromFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        Raise(ReturnCode::IO, "Could not read " + path);
    std::vector<std::pair<std::string, std::string>> values;
    std::string line;
    while (std::getline(file, line))
    {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        const auto tab = line.find('\t');
        if (tab == std::string::npos)
            continue;
        values.emplace_back(line.substr(0, tab), line.substr(tab + 1));
    }
    // No lock across the whole load: each write takes the map's mutex and fires its callbacks after
    // releasing it, as any other write does.
    std::vector<std::pair<std::string, std::string>> failed;
    std::string lastError;
    auto apply = [&](const std::pair<std::string, std::string>& item) {
        try
        {
            FindNode(item.first)->SetValueFromString(item.second);
            return true;
        }
        catch (const Exception& e)
        {
            lastError = e.what();
            return false;
        }
    };
    for (const auto& item : values)
    {
        if (!apply(item))
            failed.push_back(item);
    }
    std::string names;
    for (const auto& item : failed)
    {
        if (!apply(item))
            names += (names.empty() ? "" : ", ") + item.first;
    }
    if (!names.empty())
        Raise(ReturnCode::InvalidArgument, "Could not apply " + names + " from " + path + " (" + lastError + ")");
}

} // namespace orna::core
