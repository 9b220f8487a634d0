// NodeMapModel: shows the TreeItem tree of one NodeMapAccess to Qt views.
//
// Two columns: 0 the node (display name), 1 its value. The custom roles 0x101..0x112 answer from the items'
// caches only, so painting a view never reaches the device. Edits become requests to NodeMapAccess
// (SetValueRequested and friends); what comes back is what the camera took, through the access's dataChanged.
//
// The visibility levels offered are "Beginner", "Expert", "Guru"; developer view (ApplicationGlobals::
// developerView, copied at construction) adds "All (invisible, not implemented)" and has invisible nodes
// polled as well.
//
// Threads: GUI thread only, like every QAbstractItemModel. It holds no mutex of its own.
#pragma once

#include "nodetree/featuredefs.h"

#include <QAbstractItemModel>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace orna::core {
class NodeMap;
}

class NodeMapAccess;
class TreeItem;

class NodeMapModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Roles : int
    {
        TypeRole = 0x101,
        VisibilityRole = 0x102,
        AccessStatusRole = 0x103,
        RepresentationRole = 0x104,
        NameRole = 0x105,
        DisplayNameRole = 0x106,
        TooltipRole = 0x107,
        DescriptionRole = 0x108,
        NamespaceRole = 0x109,
        MinimumRole = 0x10A,
        MaximumRole = 0x10B,
        IncrementRole = 0x10C,
        ValueRole = 0x10D,
        UnitRole = 0x10E,
        PrecisionRole = 0x10F,
        EntriesRole = 0x110,
        EntryDescriptionsRole = 0x111,
        RegisterLengthRole = 0x112,
    };

    // Visibility limit that shows everything, not implemented nodes included (developer view only).
    static constexpr int VisibilityAll = 3;

    explicit NodeMapModel(NodeMapAccess* access, QObject* parent = nullptr);

    NodeMapAccess* GetNodeMapAccess() const { return nodeMapAccess; }
    bool IsDeveloperView() const { return developerView; }
    // "Beginner", "Expert", "Guru", and in developer view "All (invisible, not implemented)".
    QStringList VisibilityLevels() const;
    // The highest visibility limit this model lets a filter use: 2, or 3 in developer view.
    int MaximumVisibilityLimit() const { return developerView ? VisibilityAll : 2; }

    TreeItem* ItemFromIndex(const QModelIndex& index) const;
    QModelIndex IndexFromItem(TreeItem* item, int column = 0) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    // Texts of the cached state, as the roles give them.
    static QString TypeText(FeatureType type);
    static QString VisibilityText(int visibility);
    static QString AccessText(FeatureAccess access);
    static QString RepresentationText(int representation);
    QString ValueText(TreeItem* item) const;

Q_SIGNALS:
    void Disconnected(bool deleteCallback);
    void Reconnected(std::shared_ptr<orna::core::NodeMap> parentNodeMap);
    void UpdateRequest();
    void SetValueRequested(TreeItem* item, QVariant value);
    void IncrementRequested(TreeItem* item);
    void DecrementRequested(TreeItem* item);
    void ExecuteRequested(TreeItem* item);
    void UpdateValueRequested(TreeItem* item);
    void Signal_DeviceResetExecuted();

public Q_SLOTS:
    void OnDisconnected(bool deleteCallback);
    void OnDisconnected();
    void SendDataChangedSignal(TreeItem* item, int role);
    void OnValueChanged(TreeItem* item, QVariant value);

private:
    QString RangeText(TreeItem* item, const QVariant& v) const;
    void EmitAllChanged(TreeItem* item);

    NodeMapAccess* nodeMapAccess;
    const bool developerView;
};
