#include "nodetree/nodemapmodel.h"

#include "common/applicationglobals.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"
#include "orna/core/nodemap.h"

#include <QIcon>

NodeMapModel::NodeMapModel(NodeMapAccess* access, QObject* parent)
    : QAbstractItemModel(parent), nodeMapAccess(access), developerView(ApplicationGlobals::developerView)
{
    if (!nodeMapAccess)
        return;
    if (developerView)
        nodeMapAccess->SetInvisibleNodesPolled(true);
    connect(nodeMapAccess, &NodeMapAccess::dataChanged, this, &NodeMapModel::SendDataChangedSignal);
    connect(nodeMapAccess, &NodeMapAccess::TreeAboutToBeReset, this, [this] { beginResetModel(); });
    connect(nodeMapAccess, &NodeMapAccess::TreeReset, this, [this] { endResetModel(); });
    connect(nodeMapAccess, &NodeMapAccess::Signal_DeviceResetExecuted, this, &NodeMapModel::Signal_DeviceResetExecuted);
    connect(this, &NodeMapModel::Disconnected, nodeMapAccess, qOverload<bool>(&NodeMapAccess::OnDisconnected));
    connect(this, &NodeMapModel::Reconnected, nodeMapAccess,
            qOverload<std::shared_ptr<orna::core::NodeMap>>(&NodeMapAccess::OnReconnected));
    connect(this, &NodeMapModel::UpdateRequest, nodeMapAccess, &NodeMapAccess::OnUpdateRequested);
    connect(this, &NodeMapModel::SetValueRequested, nodeMapAccess, &NodeMapAccess::OnSetValueRequested);
    connect(this, &NodeMapModel::IncrementRequested, nodeMapAccess, &NodeMapAccess::IncrementValue);
    connect(this, &NodeMapModel::DecrementRequested, nodeMapAccess, &NodeMapAccess::DecrementValue);
    connect(this, &NodeMapModel::ExecuteRequested, nodeMapAccess, &NodeMapAccess::OnExecuteRequested);
    connect(this, &NodeMapModel::UpdateValueRequested, nodeMapAccess, &NodeMapAccess::OnUpdateValueRequested);
}

QStringList NodeMapModel::VisibilityLevels() const
{
    QStringList levels{tr("Beginner"), tr("Expert"), tr("Guru")};
    if (developerView)
        levels << tr("All (invisible, not implemented)");
    return levels;
}

TreeItem* NodeMapModel::ItemFromIndex(const QModelIndex& index) const
{
    if (!index.isValid())
        return nodeMapAccess ? nodeMapAccess->GetRoot() : nullptr;
    return static_cast<TreeItem*>(index.internalPointer());
}

QModelIndex NodeMapModel::IndexFromItem(TreeItem* item, int column) const
{
    if (!item || !item->parent)
        return QModelIndex();
    return createIndex(item->Row(), column, item);
}

QModelIndex NodeMapModel::index(int row, int column, const QModelIndex& parent) const
{
    if (column < 0 || column >= 2 || row < 0)
        return QModelIndex();
    if (parent.isValid() && parent.column() != 0)
        return QModelIndex();
    TreeItem* parentItem = ItemFromIndex(parent);
    if (!parentItem || row >= parentItem->children.size())
        return QModelIndex();
    return createIndex(row, column, parentItem->children.at(row));
}

QModelIndex NodeMapModel::parent(const QModelIndex& child) const
{
    if (!child.isValid())
        return QModelIndex();
    TreeItem* item = static_cast<TreeItem*>(child.internalPointer());
    TreeItem* parentItem = item ? item->parent : nullptr;
    if (!parentItem || !parentItem->parent)
        return QModelIndex();
    return createIndex(parentItem->Row(), 0, parentItem);
}

int NodeMapModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() && parent.column() != 0)
        return 0;
    TreeItem* item = ItemFromIndex(parent);
    return item ? item->children.size() : 0;
}

int NodeMapModel::columnCount(const QModelIndex&) const
{
    return 2;
}

QString NodeMapModel::TypeText(FeatureType type)
{
    switch (type)
    {
    case FeatureType::Integer:
        return QStringLiteral("Integer");
    case FeatureType::Boolean:
        return QStringLiteral("Boolean");
    case FeatureType::Command:
        return QStringLiteral("Command");
    case FeatureType::Float:
        return QStringLiteral("Float");
    case FeatureType::String:
        return QStringLiteral("String");
    case FeatureType::Register:
        return QStringLiteral("Register");
    case FeatureType::Category:
        return QStringLiteral("Category");
    case FeatureType::Enumeration:
        return QStringLiteral("Enumeration");
    default:
        return QStringLiteral("Unknown");
    }
}

QString NodeMapModel::VisibilityText(int visibility)
{
    switch (visibility)
    {
    case 0:
        return QStringLiteral("Beginner");
    case 1:
        return QStringLiteral("Expert");
    case 2:
        return QStringLiteral("Guru");
    case 3:
        return QStringLiteral("Invisible");
    default:
        return QStringLiteral("Undefined");
    }
}

QString NodeMapModel::AccessText(FeatureAccess access)
{
    switch (access)
    {
    case FeatureAccess::NotImplemented:
        return QStringLiteral("Not implemented");
    case FeatureAccess::NotAvailable:
        return QStringLiteral("Not available");
    case FeatureAccess::WriteOnly:
        return QStringLiteral("Write only");
    case FeatureAccess::ReadOnly:
        return QStringLiteral("Read only");
    case FeatureAccess::ReadWrite:
        return QStringLiteral("Read and write");
    default:
        return QStringLiteral("Not connected");
    }
}

QString NodeMapModel::RepresentationText(int representation)
{
    switch (representation)
    {
    case 0:
        return QStringLiteral("Linear");
    case 1:
        return QStringLiteral("Logarithmic");
    case 2:
        return QStringLiteral("Boolean");
    case 3:
        return QStringLiteral("PureNumber");
    case 4:
        return QStringLiteral("HexNumber");
    case 5:
        return QStringLiteral("IPV4Address");
    case 6:
        return QStringLiteral("MACAddress");
    default:
        return QString();
    }
}

namespace {

QString IntegerText(qlonglong v, int representation)
{
    switch (representation)
    {
    case 4:
        return QStringLiteral("0x%1").arg(QString::number(static_cast<qulonglong>(v), 16).toUpper());
    case 5:
        return QStringLiteral("%1.%2.%3.%4")
            .arg((v >> 24) & 0xFF)
            .arg((v >> 16) & 0xFF)
            .arg((v >> 8) & 0xFF)
            .arg(v & 0xFF);
    case 6: {
        QStringList parts;
        for (int shift = 40; shift >= 0; shift -= 8)
            parts << QStringLiteral("%1").arg((v >> shift) & 0xFF, 2, 16, QLatin1Char('0')).toUpper();
        return parts.join(QLatin1Char(':'));
    }
    default:
        return QString::number(v);
    }
}

} // namespace

QString NodeMapModel::RangeText(TreeItem* item, const QVariant& v) const
{
    if (!v.isValid())
        return QString();
    if (item->type == FeatureType::Float)
        return QString::number(v.toDouble(), 'f', item->precision);
    return item->representation == 4 ? IntegerText(v.toLongLong(), 4) : QString::number(v.toLongLong());
}

QString NodeMapModel::ValueText(TreeItem* item) const
{
    if (!item)
        return QString();
    if (item->type == FeatureType::Category)
        return QString();
    if (item->type == FeatureType::Command)
        return tr("Execute");
    if (!item->IsReadable())
        return tr("n.a.");
    const QVariant value = item->GetValue();
    if (!value.isValid())
        return QString();
    switch (item->type)
    {
    case FeatureType::Boolean:
        return value.toBool() ? tr("True") : tr("False");
    case FeatureType::Integer:
        return IntegerText(value.toLongLong(), item->representation);
    case FeatureType::Float:
        return QString::number(value.toDouble(), 'f', item->precision);
    case FeatureType::Enumeration:
        return item->GetStringValue();
    case FeatureType::Register:
        return QString::fromLatin1(value.toByteArray().toHex(' ').toUpper());
    default:
        return value.toString();
    }
}

QVariant NodeMapModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    TreeItem* item = static_cast<TreeItem*>(index.internalPointer());
    if (!item)
        return QVariant();
    switch (role)
    {
    case Qt::DisplayRole:
        if (index.column() == 0)
            return item->displayName.isEmpty() ? item->name : item->displayName;
        return ValueText(item);
    case Qt::EditRole:
        if (index.column() == 0)
            return item->name;
        return item->GetValue();
    case Qt::ToolTipRole:
        return item->tooltip.isEmpty() ? QVariant() : QVariant(item->tooltip);
    case Qt::DecorationRole: {
        // The state of the node at a glance in the name column: editable, read-only (or locked), or neither.
        if (index.column() != 0 || item->type == FeatureType::Category)
            return QVariant();
        const bool connected = nodeMapAccess && nodeMapAccess->IsConnected();
        const QString name = !connected            ? QStringLiteral("display_off.png")
                             : item->IsWriteable() ? QStringLiteral("pencil.png")
                             : item->IsReadable()  ? QStringLiteral("opened.png")
                                                   : QStringLiteral("close.png");
        return QIcon(ApplicationGlobals::Image16(name));
    }
    case Qt::ForegroundRole: {
        if (item->type == FeatureType::Category)
            return QVariant();
        const QColor colour = item->IsWriteable()  ? ApplicationGlobals::colorText
                              : item->IsReadable() ? ApplicationGlobals::colorGrey140
                                                   : ApplicationGlobals::colorGrey100;
        return colour.isValid() ? QVariant(colour) : QVariant();
    }
    case TypeRole:
        return TypeText(item->type);
    case VisibilityRole:
        return VisibilityText(item->visibility);
    case AccessStatusRole: {
        QString text =
            AccessText(nodeMapAccess && nodeMapAccess->IsConnected() ? item->GetAccess() : FeatureAccess::Unbound);
        if (item->HasApplicationLock())
            text += QStringLiteral(" (application lock)");
        return text;
    }
    case RepresentationRole:
        return RepresentationText(item->representation);
    case NameRole:
        return item->name;
    case DisplayNameRole:
        return item->displayName;
    case TooltipRole:
        return item->tooltip;
    case DescriptionRole:
        return item->description;
    case NamespaceRole:
        return item->namespaceName;
    case MinimumRole: {
        const QString text = RangeText(item, item->GetMinimum());
        return text.isEmpty() ? QVariant() : QVariant(text);
    }
    case MaximumRole: {
        const QString text = RangeText(item, item->GetMaximum());
        return text.isEmpty() ? QVariant() : QVariant(text);
    }
    case IncrementRole: {
        const QString text = RangeText(item, item->GetIncrement());
        return text.isEmpty() ? QVariant() : QVariant(text);
    }
    case ValueRole:
        return ValueText(item);
    case UnitRole:
        return item->unit;
    case PrecisionRole:
        return item->precision;
    case EntriesRole:
        return item->GetEntries();
    case EntryDescriptionsRole:
        return item->GetEntryDescriptions();
    case RegisterLengthRole:
        return QVariant::fromValue<qlonglong>(item->registerLength);
    default:
        return QVariant();
    }
}

bool NodeMapModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || index.column() != 1 || role != Qt::EditRole)
        return false;
    TreeItem* item = static_cast<TreeItem*>(index.internalPointer());
    if (!item || !item->IsWriteable() || !nodeMapAccess || !nodeMapAccess->IsConnected())
        return false;
    // The cache changes when the write has been read back, not here.
    emit SetValueRequested(item, value);
    return true;
}

Qt::ItemFlags NodeMapModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags result = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    TreeItem* item = static_cast<TreeItem*>(index.internalPointer());
    // While disconnected nothing is editable: the cached access is the camera's last, not its present one.
    const bool connected = nodeMapAccess && nodeMapAccess->IsConnected();
    if (index.column() == 1 && connected && item && item->IsWriteable() && !item->IsLocked() &&
        item->type != FeatureType::Category && item->type != FeatureType::Command)
        result |= Qt::ItemIsEditable;
    return result;
}

QVariant NodeMapModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    return section == 0 ? tr("Parameter") : section == 1 ? tr("Value") : QVariant();
}

QHash<int, QByteArray> NodeMapModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractItemModel::roleNames();
    names.insert(TypeRole, "type");
    names.insert(VisibilityRole, "visibility");
    names.insert(AccessStatusRole, "accessstatus");
    names.insert(RepresentationRole, "representation");
    names.insert(NameRole, "name");
    names.insert(DisplayNameRole, "displayname");
    names.insert(TooltipRole, "tooltip");
    names.insert(DescriptionRole, "description");
    names.insert(NamespaceRole, "namespace");
    names.insert(MinimumRole, "minimum");
    names.insert(MaximumRole, "maximum");
    names.insert(IncrementRole, "increment");
    names.insert(ValueRole, "value");
    names.insert(UnitRole, "unit");
    names.insert(PrecisionRole, "precision");
    names.insert(EntriesRole, "entries");
    names.insert(EntryDescriptionsRole, "entrydescriptions");
    names.insert(RegisterLengthRole, "registerdatalength");
    return names;
}

void NodeMapModel::OnDisconnected(bool deleteCallback)
{
    emit Disconnected(deleteCallback);
    if (nodeMapAccess)
        EmitAllChanged(nodeMapAccess->GetRoot());
}

void NodeMapModel::OnDisconnected()
{
    OnDisconnected(true);
}

void NodeMapModel::EmitAllChanged(TreeItem* item)
{
    if (!item || item->children.isEmpty())
        return;
    emit dataChanged(IndexFromItem(item->children.first(), 0), IndexFromItem(item->children.last(), 1));
    for (TreeItem* child : item->children)
        EmitAllChanged(child);
}

void NodeMapModel::SendDataChangedSignal(TreeItem* item, int role)
{
    if (!item)
    {
        if (nodeMapAccess)
            EmitAllChanged(nodeMapAccess->GetRoot());
        return;
    }
    if (!item->parent)
        return;
    const QModelIndex first = IndexFromItem(item, 0);
    const QModelIndex last = IndexFromItem(item, 1);
    if (role == ValueRole || role == AccessStatusRole)
        emit dataChanged(first, last, {Qt::DisplayRole, Qt::EditRole, Qt::ForegroundRole, Qt::DecorationRole, role});
    else
        emit dataChanged(first, last, {role});
}

void NodeMapModel::OnValueChanged(TreeItem* item, QVariant)
{
    if (!item || !item->parent)
        return;
    emit dataChanged(IndexFromItem(item, 0), IndexFromItem(item, 1));
}
