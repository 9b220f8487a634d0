#include "nodetree/treeitem.h"

#include "common/logmessagesender.h"
#include "nodetree/nodemapaccess.h"

#include <algorithm>
#include <exception>
#include <string>
#include <vector>

using namespace orna::core;

namespace {

const char* kConstructorContext =
    "TreeItem::TreeItem(std::shared_ptr<orna::core::nodes::Node>, NodeMapAccess *, TreeItem *)";

FeatureType TypeOf(nodes::NodeType type)
{
    switch (type)
    {
    case nodes::NodeType::Integer:
        return FeatureType::Integer;
    case nodes::NodeType::Boolean:
        return FeatureType::Boolean;
    case nodes::NodeType::Command:
        return FeatureType::Command;
    case nodes::NodeType::Float:
        return FeatureType::Float;
    case nodes::NodeType::String:
        return FeatureType::String;
    case nodes::NodeType::Register:
        return FeatureType::Register;
    case nodes::NodeType::Category:
        return FeatureType::Category;
    case nodes::NodeType::Enumeration:
        return FeatureType::Enumeration;
    default:
        return FeatureType::Unknown;
    }
}

// The two namespaces as shared texts, so that no item allocates its own copy.
QString NamespaceText(const std::string& text)
{
    static const QString standard = QStringLiteral("Standard");
    static const QString custom = QStringLiteral("Custom");
    if (text == "Standard")
        return standard;
    if (text == "Custom")
        return custom;
    return QString::fromStdString(text);
}

// Selector discovery walks an integer selector from its minimum to its maximum; a selector of absurd range
// (a 32-bit index) would make the item unusable, so the walk ends here.
constexpr int64_t kMaxIntegerSelectorKeys = 4096;

} // namespace

TreeItem::TreeItem(std::shared_ptr<nodes::Node> node, NodeMapAccess* nodeMapAccess, TreeItem* parent)
    : parent(parent), nodeMapAccess(nodeMapAccess), node(std::move(node))
{
    if (!this->node)
        return;
    // The node is read directly here, not through GetNode(): nobody else sees the item before the constructor
    // returns. NodeMapAccess::CreateTree holds the node map's mutex over the whole build.
    const nodes::Node& n = *this->node;
    std::string displayText;
    try
    {
        type = TypeOf(n.GetType());
        name = QString::fromStdString(n.GetName());
        visibility = static_cast<int>(n.GetVisibility());
        namespaceName = NamespaceText(n.GetNamespace());
        displayText = n.GetDisplayName();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(nodeMapAccess ? nodeMapAccess->logOrigin : QStringLiteral("-"), kConstructorContext,
                                QString::fromUtf8(e.what()));
        return;
    }
    // Most nodes have no display name of their own and the library hands back the name: share its text.
    displayName =
        name == QLatin1String(displayText.data(), int(displayText.size())) ? name : QString::fromStdString(displayText);
    if (!nodeMapAccess)
        return;

    nodeMapAccess->IndexItem(this);
    ReadDescriptionTexts();
    nodeMapAccess->ReadAccessQuietly(this);
    if (type == FeatureType::Register)
        ReadText("Failed to read register length of node %1. ",
                 [this] { registerLength = nodes::NodeCast<nodes::RegisterNode>(this->node)->GetLength(); });
    if (type != FeatureType::Category)
    {
        nodeMapAccess->RegisterCallback(this);
        DiscoverSelectors();
    }
    CreateChildren();
}

template <class Read> void TreeItem::ReadText(const char* failure, Read read)
{
    try
    {
        read();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(nodeMapAccess->logOrigin, kConstructorContext,
                                QString::fromLatin1(failure).arg(name) + QString::fromUtf8(e.what()));
    }
}

// Texts and number formats of the description, read once: they come from the XML and do not change.
void TreeItem::ReadDescriptionTexts()
{
    const nodes::Node& n = *node;
    ReadText("Failed to read tooltip of node %1. ", [&] { tooltip = QString::fromStdString(n.GetToolTip()); });
    if (type == FeatureType::Category)
        return;
    ReadText("Failed to read description of node %1. ",
             [&] { description = QString::fromStdString(n.GetDescription()); });
    if (type == FeatureType::Integer)
    {
        const auto* integer = dynamic_cast<const nodes::IntegerNode*>(&n);
        if (!integer)
            return;
        ReadText("Failed to read unit of node %1. ", [&] { unit = QString::fromStdString(integer->GetUnit()); });
        ReadText("Failed to read representation of node %1. ",
                 [&] { representation = static_cast<qint8>(integer->GetRepresentation()); });
    }
    else if (type == FeatureType::Float)
    {
        const auto* floating = dynamic_cast<const nodes::FloatNode*>(&n);
        if (!floating)
            return;
        ReadText("Failed to read unit of node %1. ", [&] { unit = QString::fromStdString(floating->GetUnit()); });
        ReadText("Failed to read precision of node %1. ",
                 [&] { precision = static_cast<int>(floating->GetPrecision()); });
    }
}

TreeItem::~TreeItem()
{
    UnregisterCallback(true);
    qDeleteAll(children);
    children.clear();
}

void TreeItem::UnregisterCallback(bool deleteCallback)
{
    std::shared_ptr<nodes::Node> current;
    nodes::CallbackHandle handle = 0;
    {
        QMutexLocker lock(&accessMutex);
        current = node;
        handle = changedCallback;
        changedCallback = 0;
    }
    if (!deleteCallback || handle == 0 || !current)
        return;
    try
    {
        current->UnregisterChangedCallback(handle);
    }
    catch (const std::exception& e)
    {
        // The map may already be gone (camera closed): the callback went with it.
        LogMessageSender::Error(
            nodeMapAccess ? nodeMapAccess->logOrigin : QStringLiteral("-"), "void TreeItem::UnregisterCallback(bool)",
            QStringLiteral("Failed to unregister callback for node %1. ").arg(name) + QString::fromUtf8(e.what()));
    }
}

void TreeItem::DiscoverSelectors()
{
    const TreeItem* level = this;
    for (TreeItem* above = parent; above; level = above, above = above->parent)
    {
        if (above->type == FeatureType::Category)
            break;
        std::shared_ptr<nodes::Node> levelNode = level->GetNode();
        if (!levelNode)
            break;
        try
        {
            const size_t count = levelNode->GetNumSelectingNodes();
            for (size_t i = 0; i < count; ++i)
            {
                auto selecting = levelNode->GetSelectingNode(i);
                if (!selecting || above->name != QString::fromStdString(selecting->GetName()))
                    continue;
                if (above->type == FeatureType::Enumeration)
                {
                    if (!above->readable || above->locked)
                        continue;
                    auto enumeration = nodes::NodeCast<nodes::EnumerationNode>(selecting);
                    for (const auto& entry : enumeration->GetEntries())
                    {
                        const auto status = entry->GetAccessStatus();
                        if (status == nodes::NodeAccessStatus::NotImplemented ||
                            status == nodes::NodeAccessStatus::NotAvailable)
                            continue;
                        ++selectorValueCount;
                        selectorValues.insert(QString::fromStdString(entry->GetSymbolicValue()), QVariant());
                    }
                }
                else if (above->type == FeatureType::Integer)
                {
                    auto integer = nodes::NodeCast<nodes::IntegerNode>(selecting);
                    const int64_t minimum = integer->GetMinimum();
                    const int64_t maximum = integer->GetMaximum();
                    int64_t step = integer->GetIncrement();
                    if (step <= 0)
                        step = 1;
                    int64_t keys = 0;
                    for (int64_t v = minimum; v <= maximum && keys < kMaxIntegerSelectorKeys; v += step, ++keys)
                    {
                        ++selectorValueCount;
                        selectorValues.insert(QString::number(v), QVariant());
                        if (v > maximum - step)
                            break;
                    }
                }
            }
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(nodeMapAccess->logOrigin, kConstructorContext, QString::fromUtf8(e.what()));
        }
    }
}

bool TreeItem::HasAncestorNamed(QLatin1String nodeName) const
{
    for (const TreeItem* p = this; p; p = p->parent)
        if (p->name == nodeName)
            return true;
    return false;
}

// Children: a category's features in document order, except those selected by a sibling in the same category,
// which go under their selector (the deepest one when several select them), so that a selector shows the
// values it selects. A node named by one of its own ancestors is left out (a cyclic description).
//
// Names stay std::string here (GenICam names are ASCII, compared as Latin-1 against the items' texts), and the
// category's member names are only collected when some candidate has selecting nodes at all: most features
// have none, and then they simply belong to their category.
void TreeItem::CreateChildren()
{
    try
    {
        std::vector<std::shared_ptr<nodes::Node>> candidates;
        std::shared_ptr<nodes::Node> categoryNode;
        if (type == FeatureType::Category)
        {
            candidates = nodes::NodeCast<nodes::CategoryNode>(node)->GetSubNodes();
            categoryNode = node;
        }
        else
        {
            const size_t count = node->GetNumSelectedNodes();
            if (count == 0)
                return;
            const TreeItem* category = parent;
            while (category && category->type != FeatureType::Category)
                category = category->parent;
            if (!category || !category->node)
                return;
            categoryNode = category->node;
            candidates.reserve(count);
            for (size_t i = 0; i < count; ++i)
                candidates.push_back(node->GetSelectedNode(i));
        }

        std::vector<std::string> members; // sorted, filled on first need
        bool membersRead = false;
        auto isMember = [&](const std::string& memberName) {
            if (!membersRead)
            {
                membersRead = true;
                const auto subs = type == FeatureType::Category
                                      ? candidates
                                      : nodes::NodeCast<nodes::CategoryNode>(categoryNode)->GetSubNodes();
                members.reserve(subs.size());
                for (const auto& sub : subs)
                    if (sub)
                        members.push_back(sub->GetName());
                std::sort(members.begin(), members.end());
            }
            return std::binary_search(members.begin(), members.end(), memberName);
        };

        children.reserve(int(candidates.size()));
        for (const auto& sub : candidates)
        {
            if (!sub)
                continue;
            const std::string subName = sub->GetName();
            if (HasAncestorNamed(QLatin1String(subName.data(), int(subName.size()))))
                continue;
            // The owner among the selecting siblings: the one that is itself selected by most.
            std::string owner;
            size_t ownerDepth = 0;
            if (sub->GetType() != nodes::NodeType::Category)
            {
                const size_t selectingCount = sub->GetNumSelectingNodes();
                for (size_t i = 0; i < selectingCount; ++i)
                {
                    auto selecting = sub->GetSelectingNode(i);
                    if (!selecting)
                        continue;
                    std::string selectingName = selecting->GetName();
                    if (selectingName == subName || !isMember(selectingName))
                        continue;
                    const size_t depth = selecting->GetNumSelectingNodes();
                    if (owner.empty() || depth > ownerDepth)
                    {
                        owner = std::move(selectingName);
                        ownerDepth = depth;
                    }
                }
            }
            const bool placeHere =
                type == FeatureType::Category ? owner.empty() : name == QLatin1String(owner.data(), int(owner.size()));
            if (!placeHere)
                continue;
            children.append(new TreeItem(sub, nodeMapAccess, this));
        }
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(nodeMapAccess->logOrigin, kConstructorContext, QString::fromUtf8(e.what()));
    }
}

QVariant TreeItem::GetValue() const
{
    QMutexLocker lock(&valueMutex);
    return value;
}

QString TreeItem::GetStringValue() const
{
    QMutexLocker lock(&valueMutex);
    return stringValue;
}

QVariant TreeItem::GetMinimum() const
{
    QMutexLocker lock(&rangeMutex);
    return minimum;
}

QVariant TreeItem::GetMaximum() const
{
    QMutexLocker lock(&rangeMutex);
    return maximum;
}

QVariant TreeItem::GetIncrement() const
{
    QMutexLocker lock(&rangeMutex);
    return increment;
}

QStringList TreeItem::GetEntries() const
{
    QMutexLocker lock(&entriesMutex);
    return entries;
}

QStringList TreeItem::GetEntryDescriptions() const
{
    QMutexLocker lock(&entriesMutex);
    return entryDescriptions;
}

FeatureAccess TreeItem::GetAccess() const
{
    QMutexLocker lock(&accessMutex);
    return access == AccessNotRead ? FeatureAccess::NotAvailable : static_cast<FeatureAccess>(access);
}

bool TreeItem::IsReadable() const
{
    QMutexLocker lock(&accessMutex);
    return readable;
}

bool TreeItem::IsWriteable() const
{
    QMutexLocker lock(&accessMutex);
    return writeable;
}

bool TreeItem::IsLocked() const
{
    QMutexLocker lock(&accessMutex);
    return locked;
}

bool TreeItem::HasApplicationLock() const
{
    QMutexLocker lock(&accessMutex);
    return applicationLock;
}

std::shared_ptr<nodes::Node> TreeItem::GetNode() const
{
    QMutexLocker lock(&accessMutex);
    return node;
}

QMap<QString, QVariant> TreeItem::GetSelectorValues() const
{
    QMutexLocker lock(&valueMutex);
    return selectorValues;
}

int TreeItem::Row() const
{
    return parent ? parent->children.indexOf(const_cast<TreeItem*>(this)) : 0;
}

TreeItem* TreeItem::FindChild(const QString& childName) const
{
    for (TreeItem* child : children)
        if (child->name == childName)
            return child;
    return nullptr;
}
