#include "orna/core/nodes.h"

#include "orna/core/detail/aravis_error.h"
#include "orna/core/detail/nodemapimpl.h"
#include "orna/core/exception.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <thread>

namespace orna::core::nodes {

using detail::RaiseIfError;

namespace {

// A node type without a Min, Max or Inc of its own (IntSwissKnife, IntConverter, a bare IntReg) has the
// type's full range and a step of one: the engine reports that as "property not defined", which is no fault
// of the camera. Clears such an error and says so.
bool ClearIfUndefined(GError*& error)
{
    if (error == nullptr || error->domain != ARV_GC_ERROR || error->code != ARV_GC_ERROR_PROPERTY_NOT_DEFINED)
        return false;
    g_clear_error(&error);
    return true;
}

} // namespace

namespace {

std::string Text(const char* text)
{
    return text ? text : "";
}

ArvGcFeatureNode* Feature(void* handle)
{
    return ARV_GC_FEATURE_NODE(handle);
}

std::string HexBytes(const std::vector<uint8_t>& bytes)
{
    static const char* digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (uint8_t byte : bytes)
    {
        text.push_back(digits[byte >> 4]);
        text.push_back(digits[byte & 0xf]);
    }
    return text;
}

std::vector<uint8_t> ParseHexBytes(const std::string& text)
{
    if (text.size() % 2 != 0)
        Raise(ReturnCode::InvalidArgument, "Register value \"" + text + "\" is not a hexadecimal byte string");
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < text.size(); i += 2)
    {
        try
        {
            bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
        }
        catch (...)
        {
            Raise(ReturnCode::InvalidArgument, "Register value \"" + text + "\" is not a hexadecimal byte string");
        }
    }
    return bytes;
}

} // namespace

#define ORNA_NODE_LOCK                                                                                                 \
    auto map = Map();                                                                                                  \
    std::lock_guard<std::recursive_mutex> nodeLock(map->mutex)

// --- Node

Node::Node(detail::NodeRef ref) : m_ref(std::move(ref)) {}

std::shared_ptr<detail::NodeMapImpl> Node::Map() const
{
    auto map = m_ref.map.lock();
    if (!map)
        Raise(ReturnCode::Error, error_text::PointerExpired);
    return map;
}

void Node::NotifyWritten() const
{
    auto map = Map();
    map->FireChanged(map->index.ChangeSet(m_ref.name));
}

std::string Node::GetName() const
{
    return m_ref.name;
}

std::string Node::GetDisplayName() const
{
    ORNA_NODE_LOCK;
    const std::string text = Text(arv_gc_feature_node_get_display_name(Feature(Handle())));
    return text.empty() ? m_ref.name : text;
}

std::string Node::GetNamespace() const
{
    ORNA_NODE_LOCK;
    return arv_gc_feature_node_get_name_space(Feature(Handle())) == ARV_GC_NAME_SPACE_STANDARD ? "Standard" : "Custom";
}

std::string Node::GetDescription() const
{
    ORNA_NODE_LOCK;
    return Text(arv_gc_feature_node_get_description(Feature(Handle())));
}

std::string Node::GetToolTip() const
{
    ORNA_NODE_LOCK;
    return Text(arv_gc_feature_node_get_tooltip(Feature(Handle())));
}

NodeVisibility Node::GetVisibility() const
{
    ORNA_NODE_LOCK;
    // The engine numbers its levels the other way round (Invisible 0 .. Beginner 3).
    switch (arv_gc_feature_node_get_visibility(Feature(Handle())))
    {
    case ARV_GC_VISIBILITY_INVISIBLE:
        return NodeVisibility::Invisible;
    case ARV_GC_VISIBILITY_GURU:
        return NodeVisibility::Guru;
    case ARV_GC_VISIBILITY_EXPERT:
        return NodeVisibility::Expert;
    default:
        return NodeVisibility::Beginner;
    }
}

NodeAccessStatus Node::GetAccessStatus() const
{
    ORNA_NODE_LOCK;
    ArvGcFeatureNode* node = Feature(Handle());
    GError* error = nullptr;
    // A status query reports; it does not raise. A condition that cannot be evaluated counts as "not now".
    const gboolean implemented = arv_gc_feature_node_is_implemented(node, &error);
    if (error)
    {
        g_clear_error(&error);
        return NodeAccessStatus::NotAvailable;
    }
    if (!implemented)
        return NodeAccessStatus::NotImplemented;
    const gboolean available = arv_gc_feature_node_is_available(node, &error);
    if (error || !available)
    {
        g_clear_error(&error);
        return NodeAccessStatus::NotAvailable;
    }
    const gboolean locked = arv_gc_feature_node_is_locked(node, &error);
    g_clear_error(&error);
    if (m_ref.type == NodeType::Category)
        return NodeAccessStatus::ReadOnly;
    switch (arv_gc_feature_node_get_actual_access_mode(node))
    {
    case ARV_GC_ACCESS_MODE_WO:
        return NodeAccessStatus::WriteOnly;
    case ARV_GC_ACCESS_MODE_RW:
        return locked ? NodeAccessStatus::ReadOnly : NodeAccessStatus::ReadWrite;
    case ARV_GC_ACCESS_MODE_RO:
    default:
        return NodeAccessStatus::ReadOnly;
    }
}

bool Node::GetIsReadable() const
{
    const auto status = GetAccessStatus();
    return status == NodeAccessStatus::ReadOnly || status == NodeAccessStatus::ReadWrite;
}

bool Node::GetIsWritable() const
{
    const auto status = GetAccessStatus();
    return status == NodeAccessStatus::WriteOnly || status == NodeAccessStatus::ReadWrite;
}

bool Node::GetIsDeprecated() const
{
    auto map = Map();
    const auto* info = map->index.Find(m_ref.name);
    return info && info->deprecated;
}

bool Node::GetIsFeature() const
{
    return Map()->features.count(m_ref.name) > 0;
}

bool Node::GetIsStreamable() const
{
    auto map = Map();
    const auto* info = map->index.Find(m_ref.name);
    return info && info->streamable;
}

int64_t Node::GetPollingTime() const
{
    auto map = Map();
    const auto* info = map->index.Find(m_ref.name);
    return info ? info->pollingTime : 0;
}

size_t Node::GetNumSelectedNodes() const
{
    auto map = Map();
    const auto* info = map->index.Find(m_ref.name);
    return info ? info->selected.size() : 0;
}

std::shared_ptr<Node> Node::GetSelectedNode(size_t index) const
{
    auto map = Map();
    const auto* info = map->index.Find(m_ref.name);
    if (!info || index >= info->selected.size())
        Raise(ReturnCode::OutOfRange, "Selected node index out of range");
    auto node = map->Lookup(info->selected[index]);
    if (!node)
        Raise(ReturnCode::NotFound, "Selected node " + info->selected[index] + " not found");
    return node;
}

size_t Node::GetNumSelectingNodes() const
{
    return Map()->index.Selecting(m_ref.name).size();
}

std::shared_ptr<Node> Node::GetSelectingNode(size_t index) const
{
    auto map = Map();
    const auto& selecting = map->index.Selecting(m_ref.name);
    if (index >= selecting.size())
        Raise(ReturnCode::OutOfRange, "Selecting node index out of range");
    auto node = map->Lookup(selecting[index]);
    if (!node)
        Raise(ReturnCode::NotFound, "Selecting node " + selecting[index] + " not found");
    return node;
}

std::string Node::GetValueAsString() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    void* h = Handle();
    switch (m_ref.type)
    {
    case NodeType::Integer: {
        const gint64 value = arv_gc_integer_get_value(ARV_GC_INTEGER(h), &error);
        RaiseIfError(error, m_ref.name);
        return std::to_string(value);
    }
    case NodeType::Float: {
        const double value = arv_gc_float_get_value(ARV_GC_FLOAT(h), &error);
        RaiseIfError(error, m_ref.name);
        char text[64];
        std::snprintf(text, sizeof text, "%.17g", value);
        return text;
    }
    case NodeType::Boolean: {
        const gboolean value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(h), &error);
        RaiseIfError(error, m_ref.name);
        return value ? "1" : "0";
    }
    case NodeType::Enumeration: {
        const char* value = arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(h), &error);
        RaiseIfError(error, m_ref.name);
        return Text(value);
    }
    case NodeType::String: {
        const char* value = arv_gc_string_get_value(ARV_GC_STRING(h), &error);
        RaiseIfError(error, m_ref.name);
        return Text(value);
    }
    case NodeType::Register: {
        const guint64 length = arv_gc_register_get_length(ARV_GC_REGISTER(h), &error);
        RaiseIfError(error, m_ref.name);
        std::vector<uint8_t> bytes(length);
        arv_gc_register_get(ARV_GC_REGISTER(h), bytes.data(), length, &error);
        RaiseIfError(error, m_ref.name);
        return HexBytes(bytes);
    }
    case NodeType::EnumerationEntry:
        return Text(arv_gc_feature_node_get_name(Feature(h)));
    default:
        Raise(ReturnCode::NotImplemented, m_ref.name + " has no value");
    }
}

void Node::SetValueFromString(const std::string& value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        void* h = Handle();
        switch (m_ref.type)
        {
        case NodeType::Integer: {
            gint64 parsed = 0;
            try
            {
                size_t used = 0;
                parsed = std::stoll(value, &used, 0);
                if (used != value.size())
                    throw std::invalid_argument(value);
            }
            catch (...)
            {
                Raise(ReturnCode::InvalidArgument, m_ref.name + ": \"" + value + "\" is not an integer");
            }
            arv_gc_integer_set_value(ARV_GC_INTEGER(h), parsed, &error);
            break;
        }
        case NodeType::Float: {
            char* end = nullptr;
            const double parsed = g_ascii_strtod(value.c_str(), &end);
            if (value.empty() || (end && *end))
                Raise(ReturnCode::InvalidArgument, m_ref.name + ": \"" + value + "\" is not a number");
            arv_gc_float_set_value(ARV_GC_FLOAT(h), parsed, &error);
            break;
        }
        case NodeType::Boolean: {
            const bool parsed = value == "1" || value == "true" || value == "True";
            if (!parsed && value != "0" && value != "false" && value != "False")
                Raise(ReturnCode::InvalidArgument, m_ref.name + ": \"" + value + "\" is not a boolean");
            arv_gc_boolean_set_value(ARV_GC_BOOLEAN(h), parsed, &error);
            break;
        }
        case NodeType::Enumeration:
            arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(h), value.c_str(), &error);
            break;
        case NodeType::String:
            arv_gc_string_set_value(ARV_GC_STRING(h), value.c_str(), &error);
            break;
        case NodeType::Register: {
            auto bytes = ParseHexBytes(value);
            arv_gc_register_set(ARV_GC_REGISTER(h), bytes.data(), bytes.size(), &error);
            break;
        }
        default:
            Raise(ReturnCode::NotImplemented, m_ref.name + " takes no value");
        }
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

CallbackHandle Node::RegisterChangedCallback(ChangedCallback callback)
{
    RequireNotNull(callback, nullptr_text::Pointer);
    auto map = Map();
    std::lock_guard<std::mutex> lock(map->callbackMutex);
    const CallbackHandle handle = map->nextCallback++;
    map->callbacks[m_ref.name][handle] = std::move(callback);
    map->callbackOwner[handle] = m_ref.name;
    return handle;
}

void Node::UnregisterChangedCallback(CallbackHandle handle)
{
    auto map = Map();
    std::lock_guard<std::mutex> lock(map->callbackMutex);
    auto owner = map->callbackOwner.find(handle);
    if (owner == map->callbackOwner.end() || owner->second != m_ref.name)
        Raise(ReturnCode::NotFound, "No changed callback " + std::to_string(handle) + " on " + m_ref.name);
    map->callbacks[m_ref.name].erase(handle);
    map->callbackOwner.erase(owner);
}

// --- Integer

int64_t IntegerNode::GetValue(bool) const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_integer_get_value(ARV_GC_INTEGER(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

void IntegerNode::SetValue(int64_t value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_integer_set_value(ARV_GC_INTEGER(Handle()), value, &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

int64_t IntegerNode::GetMinimum() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_integer_get_min(ARV_GC_INTEGER(Handle()), &error);
    if (ClearIfUndefined(error))
        return std::numeric_limits<int64_t>::min();
    RaiseIfError(error, m_ref.name);
    return value;
}

int64_t IntegerNode::GetMaximum() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_integer_get_max(ARV_GC_INTEGER(Handle()), &error);
    if (ClearIfUndefined(error))
        return std::numeric_limits<int64_t>::max();
    RaiseIfError(error, m_ref.name);
    return value;
}

int64_t IntegerNode::GetIncrement() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_integer_get_inc(ARV_GC_INTEGER(Handle()), &error);
    if (ClearIfUndefined(error))
        return 1;
    RaiseIfError(error, m_ref.name);
    return value;
}

IncrementType IntegerNode::GetIncrementType() const
{
    // The engine knows no value lists: an integer has a fixed increment (1 unless the XML says otherwise).
    return GetIncrement() > 0 ? IncrementType::FixedIncrement : IncrementType::NoIncrement;
}

IntegerRepresentation IntegerNode::GetRepresentation() const
{
    ORNA_NODE_LOCK;
    switch (arv_gc_integer_get_representation(ARV_GC_INTEGER(Handle())))
    {
    case ARV_GC_REPRESENTATION_LINEAR:
        return IntegerRepresentation::Linear;
    case ARV_GC_REPRESENTATION_LOGARITHMIC:
        return IntegerRepresentation::Logarithmic;
    case ARV_GC_REPRESENTATION_BOOLEAN:
        return IntegerRepresentation::Boolean;
    case ARV_GC_REPRESENTATION_HEX_NUMBER:
        return IntegerRepresentation::HexNumber;
    case ARV_GC_REPRESENTATION_IPV4_ADDRESS:
        return IntegerRepresentation::IPV4Address;
    case ARV_GC_REPRESENTATION_MAC_ADDRESS:
        return IntegerRepresentation::MACAddress;
    default:
        // Undefined in the XML: GenICam's default for integers.
        return IntegerRepresentation::PureNumber;
    }
}

std::string IntegerNode::GetUnit() const
{
    ORNA_NODE_LOCK;
    return Text(arv_gc_integer_get_unit(ARV_GC_INTEGER(Handle())));
}

// --- Float

double FloatNode::GetValue(bool) const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const double value = arv_gc_float_get_value(ARV_GC_FLOAT(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

void FloatNode::SetValue(double value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_float_set_value(ARV_GC_FLOAT(Handle()), value, &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

double FloatNode::GetMinimum() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const double value = arv_gc_float_get_min(ARV_GC_FLOAT(Handle()), &error);
    if (ClearIfUndefined(error))
        return std::numeric_limits<double>::lowest();
    RaiseIfError(error, m_ref.name);
    return value;
}

double FloatNode::GetMaximum() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const double value = arv_gc_float_get_max(ARV_GC_FLOAT(Handle()), &error);
    if (ClearIfUndefined(error))
        return std::numeric_limits<double>::max();
    RaiseIfError(error, m_ref.name);
    return value;
}

double FloatNode::GetIncrement() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const double value = arv_gc_float_get_inc(ARV_GC_FLOAT(Handle()), &error);
    // The engine answers G_MINDOUBLE for "no increment", or an error when the node delegates to a register
    // that has none.
    if (error)
    {
        g_clear_error(&error);
        return 0.0;
    }
    return value > G_MINDOUBLE ? value : 0.0;
}

bool FloatNode::GetHasConstantIncrement() const
{
    return GetIncrement() > 0.0;
}

std::string FloatNode::GetUnit() const
{
    ORNA_NODE_LOCK;
    return Text(arv_gc_float_get_unit(ARV_GC_FLOAT(Handle())));
}

int64_t FloatNode::GetPrecision() const
{
    ORNA_NODE_LOCK;
    return arv_gc_float_get_display_precision(ARV_GC_FLOAT(Handle()));
}

// --- Boolean, String

bool BooleanNode::GetValue() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gboolean value = arv_gc_boolean_get_value(ARV_GC_BOOLEAN(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

void BooleanNode::SetValue(bool value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_boolean_set_value(ARV_GC_BOOLEAN(Handle()), value, &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

std::string StringNode::GetValue() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const char* value = arv_gc_string_get_value(ARV_GC_STRING(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return Text(value);
}

void StringNode::SetValue(const std::string& value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_string_set_value(ARV_GC_STRING(Handle()), value.c_str(), &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

int64_t StringNode::GetMaxLength() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_string_get_max_length(ARV_GC_STRING(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

// --- Command

void CommandNode::Execute()
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_command_execute(ARV_GC_COMMAND(Handle()), &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

bool CommandNode::GetIsDone() const
{
    ORNA_NODE_LOCK;
    const auto* info = map->index.Find(m_ref.name);
    if (!info || info->pValue.empty())
        return true;
    int64_t commandValue = info->commandValue.value_or(1);
    GError* error = nullptr;
    if (!info->pCommandValue.empty())
    {
        ArvGcNode* source = arv_gc_get_node(map->gc, info->pCommandValue.c_str());
        if (source && ARV_IS_GC_INTEGER(source))
        {
            commandValue = arv_gc_integer_get_value(ARV_GC_INTEGER(source), &error);
            if (error)
            {
                g_clear_error(&error);
                return true;
            }
        }
    }
    ArvGcNode* target = arv_gc_get_node(map->gc, info->pValue.c_str());
    if (!target || !ARV_IS_GC_INTEGER(target))
        return true;
    // A write-only or failing register cannot report progress: the command counts as done.
    if (ARV_IS_GC_FEATURE_NODE(target) &&
        arv_gc_feature_node_get_actual_access_mode(ARV_GC_FEATURE_NODE(target)) == ARV_GC_ACCESS_MODE_WO)
        return true;
    const gint64 current = arv_gc_integer_get_value(ARV_GC_INTEGER(target), &error);
    if (error)
    {
        g_clear_error(&error);
        return true;
    }
    return current != commandValue;
}

void CommandNode::WaitUntilDone(uint64_t timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    // The map's mutex is released between polls so other threads (and the device) can make progress.
    while (!GetIsDone())
    {
        if (std::chrono::steady_clock::now() >= deadline)
            Raise(ReturnCode::Timeout, m_ref.name + " was not done within " + std::to_string(timeoutMs) + " ms");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// --- Register

int64_t RegisterNode::GetLength() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const guint64 value = arv_gc_register_get_length(ARV_GC_REGISTER(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return static_cast<int64_t>(value);
}

uint64_t RegisterNode::GetAddress() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const guint64 value = arv_gc_register_get_address(ARV_GC_REGISTER(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

std::vector<uint8_t> RegisterNode::Read() const
{
    std::vector<uint8_t> bytes(static_cast<size_t>(GetLength()));
    Read(bytes.data(), bytes.size());
    return bytes;
}

void RegisterNode::Read(uint8_t* data, size_t size) const
{
    RequireNotNull(data, nullptr_text::Buffer);
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    arv_gc_register_get(ARV_GC_REGISTER(Handle()), data, size, &error);
    RaiseIfError(error, m_ref.name);
}

void RegisterNode::Write(const uint8_t* data, size_t size)
{
    RequireNotNull(data, nullptr_text::Buffer);
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_register_set(ARV_GC_REGISTER(Handle()), data, size, &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

// --- Category

std::vector<std::shared_ptr<Node>> CategoryNode::GetSubNodes() const
{
    auto map = Map();
    std::vector<std::shared_ptr<Node>> result;
    const auto* info = map->index.Find(m_ref.name);
    if (!info)
        return result;
    for (const auto& name : info->features)
    {
        if (auto node = map->Lookup(name))
            result.push_back(node);
    }
    return result;
}

size_t CategoryNode::GetNumSubNodes() const
{
    return GetSubNodes().size();
}

std::shared_ptr<Node> CategoryNode::GetSubNode(size_t index) const
{
    auto subNodes = GetSubNodes();
    if (index >= subNodes.size())
        Raise(ReturnCode::OutOfRange, "Sub node index out of range for " + m_ref.name);
    return subNodes[index];
}

// --- Enumeration

std::string EnumerationEntryNode::GetSymbolicValue() const
{
    ORNA_NODE_LOCK;
    return Text(arv_gc_feature_node_get_name(Feature(Handle())));
}

int64_t EnumerationEntryNode::GetValue() const
{
    ORNA_NODE_LOCK;
    GError* error = nullptr;
    const gint64 value = arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(Handle()), &error);
    RaiseIfError(error, m_ref.name);
    return value;
}

size_t EnumerationNode::GetNumEntries() const
{
    Map();
    return m_entries.size();
}

std::shared_ptr<EnumerationEntryNode> EnumerationNode::GetEntry(size_t index) const
{
    Map();
    if (index >= m_entries.size())
        Raise(ReturnCode::OutOfRange, "Entry index out of range for " + m_ref.name);
    return m_entries[index];
}

std::vector<std::shared_ptr<EnumerationEntryNode>> EnumerationNode::GetEntries() const
{
    Map();
    return m_entries;
}

std::shared_ptr<EnumerationEntryNode> EnumerationNode::GetCurrentEntry() const
{
    std::string symbolic;
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        const char* value = arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(Handle()), &error);
        RaiseIfError(error, m_ref.name);
        symbolic = Text(value);
    }
    return FindEntryBySymbolicValue(symbolic);
}

std::shared_ptr<EnumerationEntryNode> EnumerationNode::FindEntryBySymbolicValue(const std::string& symbolic) const
{
    Map();
    for (size_t i = 0; i < m_symbols.size(); ++i)
    {
        if (m_symbols[i] == symbolic)
            return m_entries[i];
    }
    Raise(ReturnCode::NotFound, m_ref.name + " has no entry " + symbolic);
}

void EnumerationNode::SetCurrentEntry(const std::shared_ptr<EnumerationEntryNode>& entry)
{
    RequireNotNull(entry, nullptr_text::Entry);
    SetCurrentEntryBySymbolicValue(entry->GetSymbolicValue());
}

void EnumerationNode::SetCurrentEntryBySymbolicValue(const std::string& symbolic)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(Handle()), symbolic.c_str(), &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

void EnumerationNode::SetCurrentEntryByValue(int64_t value)
{
    {
        ORNA_NODE_LOCK;
        GError* error = nullptr;
        arv_gc_enumeration_set_int_value(ARV_GC_ENUMERATION(Handle()), value, &error);
        RaiseIfError(error, m_ref.name);
    }
    NotifyWritten();
}

#undef ORNA_NODE_LOCK

} // namespace orna::core::nodes
