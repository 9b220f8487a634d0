#include "nodetree/treeitem.h"

#include "app/logmessagesender.h"
#include "nodetree/nodemapaccess.h"

#include <QSet>

#include <exception>

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

// Selector discovery walks an integer selector from its minimum to its maximum; a selector of absurd range
// (a 32-bit index) would make the item unusable, so the walk ends here.
constexpr int64_t kMaxIntegerSelectorKeys = 4096;

} // namespace

TreeItem::TreeItem(std::shared_ptr<nodes::Node> node, NodeMapAccess* nodeMapAccess, TreeItem* parent)
    : parent(parent), nodeMapAccess(nodeMapAccess), node(std::move(node))
{
    if (!this->node)
        return;
    try
    {
        type = TypeOf(this->node->GetType());
        name = QString::fromStdString(this->node->GetName());
        visibility = static_cast<int>(this->node->GetVisibility());
        namespaceName = QString::fromStdString(this->node->GetNamespace());
        displayName = QString::fromStdString(this->node->GetDisplayName());
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(nodeMapAccess ? nodeMapAccess->logOrigin : QStringLiteral("-"), kConstructorContext,
                                QString::fromUtf8(e.what()));
        return;
    }
    if (!nodeMapAccess)
        return;

    tooltip = nodeMapAccess->GetTooltip(this);
    if (type != FeatureType::Category)
    {
        description = nodeMapAccess->GetDescription(this);
        unit = nodeMapAccess->GetUnit(this);
        representation = nodeMapAccess->GetRepresentation(this);
        precision = nodeMapAccess->GetPrecision(this);
    }
    nodeMapAccess->UpdateAccess(this, NodeMapAccess::UpdateMode::Quiet);
    if (type == FeatureType::Register)
    {
        try
        {
            registerLength = nodes::NodeCast<nodes::RegisterNode>(this->node)->GetLength();
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(nodeMapAccess->logOrigin, kConstructorContext, QString::fromUtf8(e.what()));
        }
    }
    if (type != FeatureType::Category)
    {
        nodeMapAccess->RegisterCallback(this);
        DiscoverSelectors();
    }
    CreateChildren();
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
                if (!selecting || QString::fromStdString(selecting->GetName()) != above->name)
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

bool TreeItem::HasAncestorNamed(const QString& nodeName) const
{
    for (const TreeItem* p = this; p; p = p->parent)
        if (p->name == nodeName)
            return true;
    return false;
}

// Children: a category's features in document order, except those selected by a sibling in the same category,
// which go under their selector (the deepest one when several select them), so that a selector shows the
// values it selects. A node named by one of its own ancestors is left out (a cyclic description).
void TreeItem::CreateChildren()
{
    try
    {
        std::vector<std::shared_ptr<nodes::Node>> candidates;
        QSet<QString> categoryNames;
        if (type == FeatureType::Category)
        {
            candidates = nodes::NodeCast<nodes::CategoryNode>(node)->GetSubNodes();
            for (const auto& sub : candidates)
                if (sub)
                    categoryNames.insert(QString::fromStdString(sub->GetName()));
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
            for (const auto& sub : nodes::NodeCast<nodes::CategoryNode>(category->node)->GetSubNodes())
                if (sub)
                    categoryNames.insert(QString::fromStdString(sub->GetName()));
            for (size_t i = 0; i < count; ++i)
                candidates.push_back(node->GetSelectedNode(i));
        }

        for (const auto& sub : candidates)
        {
            if (!sub)
                continue;
            const QString subName = QString::fromStdString(sub->GetName());
            if (HasAncestorNamed(subName))
                continue;
            if (type == FeatureType::Category && !categoryNames.contains(subName))
                continue;
            // The owner among the selecting siblings: the one that is itself selected by most.
            QString owner;
            size_t ownerDepth = 0;
            if (sub->GetType() != nodes::NodeType::Category)
            {
                const size_t selectingCount = sub->GetNumSelectingNodes();
                for (size_t i = 0; i < selectingCount; ++i)
                {
                    auto selecting = sub->GetSelectingNode(i);
                    if (!selecting)
                        continue;
                    const QString selectingName = QString::fromStdString(selecting->GetName());
                    if (selectingName == subName || !categoryNames.contains(selectingName))
                        continue;
                    const size_t depth = selecting->GetNumSelectingNodes();
                    if (owner.isEmpty() || depth > ownerDepth)
                    {
                        owner = selectingName;
                        ownerDepth = depth;
                    }
                }
            }
            const bool placeHere = type == FeatureType::Category ? owner.isEmpty() : owner == name;
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
