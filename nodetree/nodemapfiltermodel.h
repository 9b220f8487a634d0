// NodeMapFilterModel: the node tree filtered by visibility and by a search expression.
//
// A row is shown when its visibility is within visibilityLimit and, below the "all" level, its node is
// implemented; and when its name matches filterRegExp or one of its descendants is shown. A category with
// no shown child is hidden. The limit is capped by the source NodeMapModel: the "all" level (3) needs
// developer view.
//
// Threads: GUI thread only. No mutex.
#pragma once

#include <QItemSelection>
#include <QRegExp>
#include <QSortFilterProxyModel>

class TreeItem;
class NodeMapModel;

class NodeMapFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit NodeMapFilterModel(QObject* parent = nullptr);

    void setSourceModel(QAbstractItemModel* sourceModel) override;
    // 0 beginner, 1 expert, 2 guru, 3 everything (invisible and not implemented nodes too).
    void SetVisibilityLimit(int limit);
    int GetVisibilityLimit() const { return visibilityLimit; }
    QRegExp GetFilterRegExp() const { return filterRegExp; }

public Q_SLOTS:
    void SetFilterRegExp(QRegExp regExp);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    bool Accepts(const TreeItem* item) const;
    bool Visible(const TreeItem* item) const;
    int EffectiveLimit() const;

    NodeMapModel* nodeModel = nullptr;
    int visibilityLimit = 0;
    QRegExp filterRegExp;
};
