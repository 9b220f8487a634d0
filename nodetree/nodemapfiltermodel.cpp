#include "nodetree/nodemapfiltermodel.h"

#include "nodetree/nodemapmodel.h"
#include "nodetree/treeitem.h"

NodeMapFilterModel::NodeMapFilterModel(QObject* parent) : QSortFilterProxyModel(parent)
{
    setDynamicSortFilter(true);
}

void NodeMapFilterModel::setSourceModel(QAbstractItemModel* sourceModel)
{
    nodeModel = qobject_cast<NodeMapModel*>(sourceModel);
    QSortFilterProxyModel::setSourceModel(sourceModel);
}

void NodeMapFilterModel::SetVisibilityLimit(int limit)
{
    if (limit == visibilityLimit)
        return;
    visibilityLimit = limit;
    invalidateFilter();
}

void NodeMapFilterModel::SetFilterRegExp(QRegExp regExp)
{
    filterRegExp = regExp;
    invalidateFilter();
}

int NodeMapFilterModel::EffectiveLimit() const
{
    const int cap = nodeModel ? nodeModel->MaximumVisibilityLimit() : 2;
    return qBound(0, visibilityLimit, cap);
}

bool NodeMapFilterModel::Visible(const TreeItem* item) const
{
    const int limit = EffectiveLimit();
    if (item->visibility > limit)
        return false;
    if (limit < NodeMapModel::VisibilityAll && item->GetAccess() == FeatureAccess::NotImplemented)
        return false;
    return true;
}

bool NodeMapFilterModel::Accepts(const TreeItem* item) const
{
    if (!Visible(item))
        return false;
    for (const TreeItem* child : item->children)
        if (Accepts(child))
            return true;
    if (item->type == FeatureType::Category)
        return false;
    return filterRegExp.isEmpty() || filterRegExp.indexIn(item->name) != -1;
}

bool NodeMapFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    if (!nodeModel)
        return true;
    const QModelIndex index = nodeModel->index(sourceRow, 0, sourceParent);
    const TreeItem* item = nodeModel->ItemFromIndex(index);
    return item && index.isValid() && Accepts(item);
}
