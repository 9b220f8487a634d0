// The node classes of a node map: thin handles to one GenICam feature node.
//
// A node belongs to a NodeMap and holds it only weakly: once the map is gone every operation raises
// InternalErrorException "Pointer has expired!". Every operation takes the map's recursive mutex for its
// whole duration, so a node may be used from any thread (GUI, capture, polling, event, workers); a run of
// operations that must not interleave with other threads (select, then read) holds NodeMap::Lock around it.
// Changed callbacks run on the thread that caused the change (the writer, PollNodes, UpdateChunkNodes), after
// the map's mutex is released; they must not touch widgets.
//
// Typed access: NodeCast<IntegerNode>(node) or NodeMap::FindNode<IntegerNode>(name); a node of another
// class raises InvalidCastException "Invalid node cast!". An IntReg is an IntegerNode (its register view is
// not offered separately).
#pragma once

#include "orna/core/types.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orna::core {
namespace detail {
struct NodeMapImpl;
// What a node handle is made of; built only by the node map implementation.
struct NodeRef
{
    std::weak_ptr<NodeMapImpl> map;
    void* handle = nullptr; // the engine's node object, owned by the map
    std::string name;
    nodes::NodeType type = nodes::NodeType::Unknown;
};
} // namespace detail

namespace nodes {

class Node;
using ChangedCallback = std::function<void(const std::shared_ptr<Node>&)>;
using CallbackHandle = uint64_t;

class Node : public std::enable_shared_from_this<Node>
{
public:
    explicit Node(detail::NodeRef ref);
    virtual ~Node() = default;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    std::string GetName() const;
    std::string GetDisplayName() const;
    // "Standard" or "Custom".
    std::string GetNamespace() const;
    std::string GetDescription() const;
    std::string GetToolTip() const;
    NodeType GetType() const { return m_ref.type; }
    NodeVisibility GetVisibility() const;
    NodeAccessStatus GetAccessStatus() const;
    bool GetIsDeprecated() const;
    // Reachable from "Root" through categories.
    bool GetIsFeature() const;
    bool GetIsStreamable() const;
    // Milliseconds; 0 when the node is not polled.
    int64_t GetPollingTime() const;
    bool GetIsReadable() const;
    bool GetIsWritable() const;

    size_t GetNumSelectedNodes() const;
    std::shared_ptr<Node> GetSelectedNode(size_t index) const;
    size_t GetNumSelectingNodes() const;
    std::shared_ptr<Node> GetSelectingNode(size_t index) const;

    // The value in the text form GenICam persistence uses; raises when not readable.
    std::string GetValueAsString() const;
    void SetValueFromString(const std::string& value);

    CallbackHandle RegisterChangedCallback(ChangedCallback callback);
    void UnregisterChangedCallback(CallbackHandle handle);

protected:
    std::shared_ptr<detail::NodeMapImpl> Map() const;
    // Called after a successful write: fires the changed callbacks of this node and of its dependents.
    void NotifyWritten() const;
    void* Handle() const { return m_ref.handle; }

    detail::NodeRef m_ref;
};

class IntegerNode : public Node
{
public:
    using Node::Node;
    // useCache is accepted for compatibility; our node maps keep no value cache, every read reaches the device.
    int64_t GetValue(bool useCache = true) const;
    void SetValue(int64_t value);
    int64_t GetMinimum() const;
    int64_t GetMaximum() const;
    int64_t GetIncrement() const;
    IncrementType GetIncrementType() const;
    IntegerRepresentation GetRepresentation() const;
    std::string GetUnit() const;
};

class FloatNode : public Node
{
public:
    using Node::Node;
    double GetValue(bool useCache = true) const;
    void SetValue(double value);
    double GetMinimum() const;
    double GetMaximum() const;
    // 0 when the node has no constant increment.
    double GetIncrement() const;
    bool GetHasConstantIncrement() const;
    std::string GetUnit() const;
    int64_t GetPrecision() const;
};

class BooleanNode : public Node
{
public:
    using Node::Node;
    bool GetValue() const;
    void SetValue(bool value);
};

class StringNode : public Node
{
public:
    using Node::Node;
    std::string GetValue() const;
    void SetValue(const std::string& value);
    int64_t GetMaxLength() const;
};

class CommandNode : public Node
{
public:
    using Node::Node;
    void Execute();
    // Waits until the command register no longer reads the command value. A command whose register cannot be
    // read back counts as done. Raises TimeoutException when timeoutMs passes first.
    void WaitUntilDone(uint64_t timeoutMs);
    bool GetIsDone() const;
};

class RegisterNode : public Node
{
public:
    using Node::Node;
    int64_t GetLength() const;
    std::vector<uint8_t> Read() const;
    void Read(uint8_t* data, size_t size) const;
    void Write(const uint8_t* data, size_t size);
    void Write(const std::vector<uint8_t>& data) { Write(data.data(), data.size()); }
    uint64_t GetAddress() const;
};

class CategoryNode : public Node
{
public:
    using Node::Node;
    size_t GetNumSubNodes() const;
    std::shared_ptr<Node> GetSubNode(size_t index) const;
    std::vector<std::shared_ptr<Node>> GetSubNodes() const;
};

class EnumerationEntryNode : public Node
{
public:
    using Node::Node;
    std::string GetSymbolicValue() const;
    int64_t GetValue() const;
};

class EnumerationNode : public Node
{
public:
    using Node::Node;
    // All entries in document order, the unavailable ones included (callers test each entry's access status).
    size_t GetNumEntries() const;
    std::shared_ptr<EnumerationEntryNode> GetEntry(size_t index) const;
    std::vector<std::shared_ptr<EnumerationEntryNode>> GetEntries() const;
    std::shared_ptr<EnumerationEntryNode> GetCurrentEntry() const;
    // Raises NotFoundException for an unknown symbol.
    std::shared_ptr<EnumerationEntryNode> FindEntryBySymbolicValue(const std::string& symbolic) const;
    void SetCurrentEntry(const std::shared_ptr<EnumerationEntryNode>& entry);
    void SetCurrentEntryBySymbolicValue(const std::string& symbolic);
    void SetCurrentEntryByValue(int64_t value);

private:
    friend struct detail::NodeMapImpl;
    // Built once when the map creates the node (entries never change).
    std::vector<std::shared_ptr<EnumerationEntryNode>> m_entries;
};

// Raises InvalidCastException "Invalid node cast!" when node is not a T (and the null-pointer error for null).
template <typename T> std::shared_ptr<T> NodeCast(const std::shared_ptr<Node>& node);

} // namespace nodes
} // namespace orna::core

#include "orna/core/exception.h"

namespace orna::core::nodes {
template <typename T> std::shared_ptr<T> NodeCast(const std::shared_ptr<Node>& node)
{
    RequireNotNull(node, nullptr_text::Pointer);
    auto typed = std::dynamic_pointer_cast<T>(node);
    if (!typed)
        Raise(ReturnCode::InvalidCast, error_text::InvalidNodeCast);
    return typed;
}
} // namespace orna::core::nodes
