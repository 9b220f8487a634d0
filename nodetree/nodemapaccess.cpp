#include "nodetree/nodemapaccess.h"

#include "common/logmessagesender.h"
#include "features/camerafeature.h"
#include "nodetree/treeitem.h"
#include "nodetree/updatenodemapworker.h"
#include "nodetree/valuetext.h"
#include "orna/core/exception.h"

#include <QElapsedTimer>
#include <QMutexLocker>
#include <QReadLocker>
#include <QSet>
#include <QWriteLocker>

#include <cmath>
#include <exception>
#include <functional>
#include <mutex>

using namespace orna::core;

namespace {

// Signature texts of the operations, the context of their log lines.
const char* kCreateTree = "void NodeMapAccess::CreateTree()";
const char* kUpdateAccess = "bool NodeMapAccess::UpdateAccess(TreeItem *, UpdateMode) const";
const char* kUpdateValue = "bool NodeMapAccess::UpdateValue(TreeItem *, UpdateMode, bool) const";
const char* kUpdateMinimum = "bool NodeMapAccess::UpdateMinimum(TreeItem *, UpdateMode) const";
const char* kUpdateMaximum = "bool NodeMapAccess::UpdateMaximum(TreeItem *, UpdateMode) const";
const char* kUpdateIncrement = "bool NodeMapAccess::UpdateIncrement(TreeItem *, UpdateMode) const";
const char* kUpdateEntries = "bool NodeMapAccess::UpdateEntries(TreeItem *, UpdateMode) const";
const char* kGetDescription = "QString NodeMapAccess::GetDescription(TreeItem *) const";
const char* kGetTooltip = "QString NodeMapAccess::GetTooltip(TreeItem *) const";
const char* kGetUnit = "QString NodeMapAccess::GetUnit(TreeItem *) const";
const char* kGetEntryDescriptions = "QStringList NodeMapAccess::GetEntryDescriptions(TreeItem *) const";
const char* kGetRepresentation = "qint8 NodeMapAccess::GetRepresentation(TreeItem *) const";
const char* kGetPrecision = "int NodeMapAccess::GetPrecision(TreeItem *) const";
const char* kSetValueInt = "bool NodeMapAccess::SetValue(TreeItem *, const int64_t &, bool)";
const char* kSetValueDouble = "bool NodeMapAccess::SetValue(TreeItem *, const double &, bool)";
const char* kSetValueBool = "bool NodeMapAccess::SetValue(TreeItem *, bool, bool)";
const char* kSetValueString = "bool NodeMapAccess::SetValue(TreeItem *, const QString &, bool)";
const char* kSetValueRegister = "bool NodeMapAccess::SetValue(TreeItem *, const std::vector<uint8_t> &, bool)";
const char* kSetValueGeneric = "bool NodeMapAccess::SetValueGeneric(TreeItem *, const QVariant &, bool)";
const char* kExecute = "bool NodeMapAccess::Execute(TreeItem *, bool)";
const char* kIncrement = "void NodeMapAccess::IncrementValue(TreeItem *)";
const char* kDecrement = "void NodeMapAccess::DecrementValue(TreeItem *)";
const char* kIncrementSelected = "void NodeMapAccess::IncrementSelectedValue(TreeItem *, QString)";
const char* kDecrementSelected = "void NodeMapAccess::DecrementSelectedValue(TreeItem *, QString)";
const char* kGetSelectedAccess = "uint32_t NodeMapAccess::GetSelectedAccess(TreeItem *, const QString &, bool, bool)";
const char* kGetSelectedValue =
    "QVariant NodeMapAccess::GetSelectedValueGeneric(TreeItem *, const QString &, bool, bool, ReturnValueType)";
const char* kSetSelectedValue =
    "bool NodeMapAccess::SetSelectedValueGeneric(TreeItem *, const QString &, const QVariant &, bool, bool)";
const char* kExecuteSelected = "bool NodeMapAccess::ExecuteSelected(TreeItem *, const QString &, bool, bool)";
const char* kReconnectItem = "void NodeMapAccess::ReconnectItem(TreeItem *, bool)";

QString WhatText(NodeMapAccess::ReturnValueType what)
{
    switch (what)
    {
    case NodeMapAccess::ReturnValueType::Minimum:
        return QStringLiteral("minimum");
    case NodeMapAccess::ReturnValueType::Maximum:
        return QStringLiteral("maximum");
    case NodeMapAccess::ReturnValueType::Increment:
        return QStringLiteral("increment");
    default:
        return QStringLiteral("value");
    }
}

// QVariant comparison that treats two invalid values as equal and compares numbers by type and value.
bool Same(const QVariant& a, const QVariant& b)
{
    if (a.isValid() != b.isValid())
        return false;
    if (!a.isValid())
        return true;
    return a.userType() == b.userType() && a == b;
}

} // namespace

NodeMapAccess::NodeMapAccess(const QString& moduleName, QObject* parent)
    : QObject(parent), moduleName(moduleName), m_sink(std::make_shared<CallbackSink>())
{
    qRegisterMetaType<TreeItem*>("TreeItem*");
    qRegisterMetaType<FeatureAccess>("FeatureAccess");
    qRegisterMetaType<std::shared_ptr<orna::core::NodeMap>>("std::shared_ptr<orna::core::NodeMap>");
    m_writePool.setMaxThreadCount(1);
    m_writePool.setExpiryTimeout(-1);

    worker = new UpdateNodemapWorker(this);
    worker->moveToThread(&workerThread);
    connect(&workerThread, &QThread::finished, worker, &QObject::deleteLater);
    connect(&workerThread, &QThread::started, worker, &UpdateNodemapWorker::Start);
    connect(worker, &UpdateNodemapWorker::DoUpdate, this, &NodeMapAccess::SendDataChangedSignal, Qt::QueuedConnection);
    workerThread.setObjectName(QStringLiteral("UpdateNodemapWorker"));
    workerThread.start();
}

NodeMapAccess::~NodeMapAccess()
{
    {
        // Waits for a feature's write that runs on this access; later ones find it gone.
        QWriteLocker lock(&m_life->lock);
        m_life->alive = false;
        ++m_life->generation;
    }
    {
        QMutexLocker lock(&pendingRolesMutex);
        pendingRoleItems.clear();
        pendingRoles.clear();
    }
    {
        QMutexLocker lock(&m_sink->mutex);
        m_sink->accepting = false;
        m_sink->changedItems.clear();
        m_sink->changedSet.clear();
    }
    connected = false;
    {
        QMutexLocker lock(&m_writeMutex);
        m_pendingWrites.clear();
        m_writeOrder.clear();
    }
    m_writePool.waitForDone();
    // The worker's loop sees the stop within 10 ms; the thread then ends and deletes the worker.
    worker->Stop();
    workerThread.quit();
    workerThread.wait();
    DeleteTree();
}

// --- Tree

void NodeMapAccess::SetNodeMap(std::shared_ptr<NodeMap> map)
{
    PauseWorker();
    {
        QMutexLocker lock(&m_writeMutex);
        m_pendingWrites.clear();
        m_writeOrder.clear();
    }
    m_writePool.waitForDone();
    emit TreeAboutToBeReset();
    {
        QMutexLocker lock(&m_sink->mutex);
        m_sink->accepting = false;
        ++m_sink->generation;
        m_sink->changedItems.clear();
        m_sink->changedSet.clear();
    }
    DeleteTree();
    {
        // After DeleteTree: a feature's write that ran until then may have queued its item's roles.
        QMutexLocker lock(&pendingRolesMutex);
        pendingRoleItems.clear();
        pendingRoles.clear();
    }
    std::atomic_store(&nodeMap, std::move(map));
    connected = nodeMap != nullptr;
    if (nodeMap)
    {
        {
            QMutexLocker lock(&m_sink->mutex);
            m_sink->accepting = true;
        }
        CreateTree();
    }
    emit TreeReset();
    ResumeWorker();
    // The features lost their items with the old tree: bind them to the new one by name.
    if (nodeMap)
        BindFeatures(true);
}

TreeTicket NodeMapAccess::GetTreeTicket() const
{
    TreeTicket ticket;
    ticket.m_life = m_life;
    QReadLocker lock(&m_life->lock);
    ticket.m_generation = m_life->generation;
    return ticket;
}

bool NodeMapAccess::WithTree(const TreeTicket& ticket, const std::function<void()>& work)
{
    if (!ticket.m_life)
        return false;
    QReadLocker lock(&ticket.m_life->lock);
    if (!ticket.m_life->alive || ticket.m_life->generation != ticket.m_generation)
        return false;
    work();
    return true;
}

// --- Features

void NodeMapAccess::AddFeature(std::shared_ptr<FeatureInterface> feature, const QString& path)
{
    if (!feature)
        return;
    {
        QMutexLocker lock(&featuresMutex);
        for (const auto& known : features)
            if (known == feature)
                return;
        features.push_back(feature);
        featurePaths.append(path);
    }
    auto* binding = dynamic_cast<CameraFeatureBinding*>(feature.get());
    if (binding && root)
        binding->BindTo(this, path.section(QLatin1Char(':'), -1));
}

void NodeMapAccess::RemoveFeature(const FeatureInterface* feature)
{
    QMutexLocker lock(&featuresMutex);
    for (size_t i = 0; i < features.size(); ++i)
        if (features[i].get() == feature)
        {
            features.erase(features.begin() + long(i));
            featurePaths.removeAt(int(i));
            return;
        }
}

int NodeMapAccess::GetFeatureCount() const
{
    QMutexLocker lock(&featuresMutex);
    return int(features.size());
}

std::vector<std::pair<std::shared_ptr<FeatureInterface>, QString>> NodeMapAccess::FeatureList() const
{
    std::vector<std::pair<std::shared_ptr<FeatureInterface>, QString>> list;
    QMutexLocker lock(&featuresMutex);
    for (size_t i = 0; i < features.size(); ++i)
        list.emplace_back(features[i], featurePaths.value(int(i)).section(QLatin1Char(':'), -1));
    return list;
}

// After a new tree (rebindAll: every item is new) or a reconnection (the items stayed; one whose feature let
// go of it is bound again): bind by name and tell everything afresh.
void NodeMapAccess::BindFeatures(bool rebindAll)
{
    for (const auto& entry : FeatureList())
    {
        auto* binding = dynamic_cast<CameraFeatureBinding*>(entry.first.get());
        if (!binding)
            continue;
        if (rebindAll || !binding->IsBoundTo(this))
            binding->BindTo(this, entry.second);
        else
            binding->Resync();
    }
}

std::shared_ptr<NodeMap> NodeMapAccess::GetNodeMap() const
{
    return std::atomic_load(&nodeMap);
}

TreeItem* NodeMapAccess::FindItem(const QString& name) const
{
    return itemsByName.value(name, nullptr);
}

void NodeMapAccess::CreateTree()
{
    if (!nodeMap)
        return;
    std::shared_ptr<nodes::Node> rootNode;
    try
    {
        rootNode = nodeMap->FindNode("Root");
    }
    catch (const std::exception& e)
    {
        Log(kCreateTree, QStringLiteral("Failed to find root node. "), e);
        return;
    }
    {
        // One hold of the map's mutex for the whole build: every read below re-enters it cheaply instead of
        // taking it per call. The changed callbacks registered meanwhile only append to m_sink's list.
        std::lock_guard<NodeMap> mapLock(*nodeMap);
        itemsByName.reserve(lastItemCount);
        root = new TreeItem(rootNode, this, nullptr);
    }
    lastItemCount = itemsByName.size();
}

void NodeMapAccess::IndexItem(TreeItem* item)
{
    // The first item of a name wins (a node shown twice is found at its first place): items index themselves
    // before their children, so this is the order of a depth-first walk.
    auto it = itemsByName.find(item->name);
    if (it == itemsByName.end())
        itemsByName.insert(item->name, item);
    else
        moreItemsByName.insert(item->name, item);
}

void NodeMapAccess::DeleteTree()
{
    {
        // Waits until no write started on this tree runs; those that start later see the new generation.
        QWriteLocker lock(&m_life->lock);
        ++m_life->generation;
    }
    itemsByName.clear();
    moreItemsByName.clear();
    delete root;
    root = nullptr;
}

void NodeMapAccess::PauseWorker()
{
    worker->Pause();
    // The worker thread may not have entered its loop yet; then it is idle by construction. A paused worker
    // is idle again as soon as its current round (if any) ends, usually within microseconds: yield first and
    // only sleep for a round that reads a slow device.
    for (int spins = 0; !worker->IsIdle(); ++spins)
    {
        if (spins < 100)
            QThread::yieldCurrentThread();
        else
            QThread::msleep(1);
    }
}

void NodeMapAccess::ResumeWorker()
{
    worker->Resume();
}

// --- Helpers

bool NodeMapAccess::Guard(const TreeItem* item) const
{
    return item && connected && item->GetNode();
}

void NodeMapAccess::Log(const char* context, const QString& message, const std::exception& e) const
{
    LogMessageSender::Error(logOrigin, QString::fromLatin1(context), message + QString::fromUtf8(e.what()));
}

void NodeMapAccess::Notify(TreeItem* item, int role) const
{
    emit item->dataChanged(item, role);
    const_cast<NodeMapAccess*>(this)->OnItemDataChanged(item, role);
}

void NodeMapAccess::OnItemDataChanged(TreeItem* item, int column)
{
    {
        QMutexLocker lock(&pendingRolesMutex);
        pendingRoleItems.append(item);
        pendingRoles.append(column);
    }
    if (!flushScheduled.exchange(true))
        QMetaObject::invokeMethod(this, &NodeMapAccess::SendDataChangedSignal, Qt::QueuedConnection);
}

void NodeMapAccess::SendDataChangedSignal()
{
    flushScheduled = false;
    QVector<TreeItem*> items;
    QVector<int> roles;
    {
        QMutexLocker lock(&pendingRolesMutex);
        items.swap(pendingRoleItems);
        roles.swap(pendingRoles);
    }
    QSet<QPair<TreeItem*, int>> sent;
    for (int i = 0; i < items.size(); ++i)
    {
        const QPair<TreeItem*, int> pair(items[i], roles[i]);
        if (sent.contains(pair))
            continue;
        sent.insert(pair);
        emit dataChanged(items[i], roles[i]);
    }
}

void NodeMapAccess::QueueChanged(TreeItem* item) const
{
    QMutexLocker lock(&m_sink->mutex);
    if (!m_sink->accepting || m_sink->changedSet.contains(item))
        return;
    m_sink->changedSet.insert(item);
    m_sink->changedItems.append(item);
}

QList<TreeItem*> NodeMapAccess::TakeChangedItems()
{
    QList<TreeItem*> taken;
    QMutexLocker lock(&m_sink->mutex);
    taken.swap(m_sink->changedItems);
    m_sink->changedSet.clear();
    return taken;
}

// The nodes whose value may change with this one: what it selects, and what reads it or names it as an
// invalidator. The node map fires their callbacks after a write already; queuing them here as well covers
// items whose callback registration failed, and a selector's selected items that live elsewhere in the tree.
void NodeMapAccess::QueueDependents(TreeItem* item) const
{
    auto node = item->GetNode();
    if (!node)
        return;
    try
    {
        const size_t count = node->GetNumSelectedNodes();
        for (size_t i = 0; i < count; ++i)
            if (auto selected = node->GetSelectedNode(i))
                if (TreeItem* dependent = FindItem(QString::fromStdString(selected->GetName())))
                    QueueChanged(dependent);
    }
    catch (const std::exception&)
    {
        // Selected nodes are part of the description; a failure here only loses the early re-read.
    }
    for (TreeItem* child : item->children)
        QueueChanged(child);
}

bool NodeMapAccess::RegisterCallback(TreeItem* item) const
{
    auto node = item->GetNode();
    if (!node)
        return false;
    std::shared_ptr<CallbackSink> sink = m_sink;
    quint64 generation = 0;
    {
        QMutexLocker lock(&sink->mutex);
        generation = sink->generation;
    }
    const auto handle = node->RegisterChangedCallback([sink, item, generation](const std::shared_ptr<nodes::Node>&) {
        QMutexLocker lock(&sink->mutex);
        // item is only looked at, never followed, until the generation says it still belongs to the tree.
        if (!sink->accepting || sink->generation != generation || sink->changedSet.contains(item))
            return;
        sink->changedSet.insert(item);
        sink->changedItems.append(item);
    });
    QMutexLocker lock(&item->accessMutex);
    item->changedCallback = handle;
    return true;
}

// --- Update group

bool NodeMapAccess::StoreAccess(TreeItem* item, uint8_t access, bool forced, bool* readableChanged, bool* readable)
{
    QMutexLocker lock(&item->accessMutex);
    // An application lock changed meanwhile (also while disconnected) counts as a change of the same access.
    if (!forced && access == item->access && item->locked == item->applicationLock)
    {
        if (readable)
            *readable = item->readable;
        return false;
    }
    item->access = access;
    const bool wasReadable = item->readable;
    switch (static_cast<FeatureAccess>(access))
    {
    case FeatureAccess::WriteOnly:
        item->readable = false;
        item->writeable = !item->applicationLock;
        break;
    case FeatureAccess::ReadOnly:
        item->readable = true;
        item->writeable = false;
        break;
    case FeatureAccess::ReadWrite:
        item->readable = true;
        item->writeable = !item->applicationLock;
        break;
    default:
        item->readable = false;
        item->writeable = false;
        break;
    }
    item->locked = item->applicationLock;
    *readableChanged = wasReadable != item->readable;
    if (readable)
        *readable = item->readable;
    return true;
}

bool NodeMapAccess::UpdateAccess(TreeItem* item, UpdateMode mode) const
{
    if (!item)
        return false;
    if (!connected)
    {
        if (mode != UpdateMode::Quiet)
        {
            emit item->accessChanged(FeatureAccess::Unbound);
            Notify(item, RoleAccessStatus);
        }
        return false;
    }
    auto node = item->GetNode();
    auto map = GetMap();
    if (!node || !map)
        return false;
    // As in UpdateValue: read, store and signal under the map's mutex, so concurrent updates stay in order.
    std::lock_guard<NodeMap> mapLock(*map);
    return UpdateAccessOf(item, *node, mode);
}

// The caller holds the map's mutex and has checked the connection.
bool NodeMapAccess::UpdateAccessOf(TreeItem* item, const nodes::Node& node, UpdateMode mode, bool* readable) const
{
    uint8_t access = 0;
    try
    {
        access = static_cast<uint8_t>(node.GetAccessStatus());
    }
    catch (const std::exception& e)
    {
        Log(kUpdateAccess, QStringLiteral("Failed to read access status of node %1. ").arg(item->name), e);
        return false;
    }
    bool readableChanged = false;
    if (StoreAccess(item, access, mode == UpdateMode::Forced, &readableChanged, readable) && mode != UpdateMode::Quiet)
    {
        emit item->accessChanged(static_cast<FeatureAccess>(access));
        Notify(item, RoleAccessStatus);
        if (readableChanged)
            Notify(item, RoleValue);
    }
    return true;
}

void NodeMapAccess::ReadAccessQuietly(TreeItem* item) const
{
    if (item->node && connected)
        UpdateAccessOf(item, *item->node, UpdateMode::Quiet);
}

QVariant NodeMapAccess::ReadNodeValue(TreeItem* item) const
{
    auto node = item->GetNode();
    return node ? ReadNodeValueOf(item, *node) : QVariant();
}

// Typed by the item's type (fixed at construction), so a plain cast is enough; a node of another class than its
// type says would be a library fault and reads as no value.
QVariant NodeMapAccess::ReadNodeValueOf(const TreeItem* item, const nodes::Node& node)
{
    switch (item->type)
    {
    case FeatureType::Integer:
        if (auto* n = dynamic_cast<const nodes::IntegerNode*>(&node))
            return QVariant::fromValue<qlonglong>(n->GetValue());
        break;
    case FeatureType::Boolean:
        if (auto* n = dynamic_cast<const nodes::BooleanNode*>(&node))
            return QVariant(n->GetValue());
        break;
    case FeatureType::Float:
        if (auto* n = dynamic_cast<const nodes::FloatNode*>(&node))
            return QVariant(n->GetValue());
        break;
    case FeatureType::String:
        if (auto* n = dynamic_cast<const nodes::StringNode*>(&node))
            return QVariant(QString::fromStdString(n->GetValue()));
        break;
    case FeatureType::Register:
        if (auto* n = dynamic_cast<const nodes::RegisterNode*>(&node))
        {
            const auto bytes = n->Read();
            return QVariant(QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())));
        }
        break;
    case FeatureType::Enumeration:
        if (auto* n = dynamic_cast<const nodes::EnumerationNode*>(&node))
        {
            auto entry = n->GetCurrentEntry();
            return entry ? QVariant(QString::fromStdString(entry->GetSymbolicValue())) : QVariant();
        }
        break;
    default:
        break;
    }
    return QVariant();
}

// The selector entry a selector-dependent item's value belongs to: the selector's current value as a key.
static QString SelectorKey(const std::shared_ptr<nodes::Node>& selector)
{
    if (selector->GetType() == nodes::NodeType::Enumeration)
    {
        auto entry = nodes::NodeCast<nodes::EnumerationNode>(selector)->GetCurrentEntry();
        return entry ? QString::fromStdString(entry->GetSymbolicValue()) : QString();
    }
    if (selector->GetType() == nodes::NodeType::Integer)
        return QString::number(nodes::NodeCast<nodes::IntegerNode>(selector)->GetValue());
    return QString();
}

void NodeMapAccess::RecordSelectorValue(TreeItem* item, const QString& key, const QVariant& value) const
{
    QMutexLocker lock(&item->valueMutex);
    if (item->selectorValues.contains(key))
        item->selectorValues[key] = value;
}

bool NodeMapAccess::UpdateValue(TreeItem* item, UpdateMode mode, bool forced) const
{
    if (!Guard(item))
        return false;
    bool notRead = false;
    {
        QMutexLocker lock(&item->accessMutex);
        notRead = item->access >= TreeItem::AccessNotRead;
    }
    if (notRead)
        UpdateAccess(item, mode);
    if (!item->IsReadable())
        return false;
    if (item->type == FeatureType::Category || item->type == FeatureType::Command || item->type == FeatureType::Unknown)
        return false;

    auto map = GetMap();
    auto node = item->GetNode();
    if (!map || !node)
        return false;
    // Read, store and signal in one hold of the map's mutex: a read-back on the write thread and a re-read on
    // the worker cannot then store or report an older value after a newer one. (Map mutex before item mutex,
    // never the other way round.)
    std::lock_guard<NodeMap> mapLock(*map);
    return UpdateValueOf(item, *node, mode, forced);
}

// The caller holds the map's mutex and has checked that the item is readable and has a value.
bool NodeMapAccess::UpdateValueOf(TreeItem* item, const nodes::Node& node, UpdateMode mode, bool forced) const
{
    QVariant value;
    QString selectorKey;
    try
    {
        // selectorValueCount is fixed at construction and non-zero exactly when selectorValues has keys.
        if (item->selectorValueCount > 0 && item->parent && item->parent->GetNode())
            selectorKey = SelectorKey(item->parent->GetNode());
        value = ReadNodeValueOf(item, node);
    }
    catch (const std::exception& e)
    {
        Log(kUpdateValue, QStringLiteral("Failed to read value of node %1. ").arg(item->name), e);
        return false;
    }
    // Filed under the selector entry it was read with.
    if (!selectorKey.isEmpty())
        RecordSelectorValue(item, selectorKey, value);

    bool changed = false;
    {
        QMutexLocker lock(&item->valueMutex);
        if (forced || mode == UpdateMode::Forced || !Same(item->value, value))
        {
            changed = true;
            item->value = value;
            item->stringValue = item->type == FeatureType::Enumeration ? value.toString() : QString();
        }
    }
    if (changed && mode != UpdateMode::Quiet)
    {
        emit item->valueChanged(value, static_cast<int>(item->type));
        Notify(item, RoleValue);
        emit const_cast<NodeMapAccess*>(this)->valueChanged(item, value);
    }
    return true;
}

namespace {

enum RangePart : int
{
    RangeMinimum = 1,
    RangeMaximum = 2,
    RangeIncrement = 4,
    RangeAll = 7,
};

QVariant ReadRangeOf(FeatureType type, const nodes::Node& node, RangePart part)
{
    if (type == FeatureType::Integer)
    {
        if (auto* integer = dynamic_cast<const nodes::IntegerNode*>(&node))
        {
            switch (part)
            {
            case RangeMinimum:
                return QVariant::fromValue<qlonglong>(integer->GetMinimum());
            case RangeMaximum:
                return QVariant::fromValue<qlonglong>(integer->GetMaximum());
            case RangeIncrement:
                return QVariant::fromValue<qlonglong>(integer->GetIncrement());
            default:
                break;
            }
        }
    }
    if (type == FeatureType::Float)
    {
        if (auto* floating = dynamic_cast<const nodes::FloatNode*>(&node))
        {
            switch (part)
            {
            case RangeMinimum:
                return QVariant(floating->GetMinimum());
            case RangeMaximum:
                return QVariant(floating->GetMaximum());
            case RangeIncrement:
                return floating->GetHasConstantIncrement() ? QVariant(floating->GetIncrement()) : QVariant();
            default:
                break;
            }
        }
    }
    return QVariant();
}

QVariant ReadRange(TreeItem* item, RangePart part)
{
    auto node = item->GetNode();
    return node ? ReadRangeOf(item->type, *node, part) : QVariant();
}

} // namespace

// Reads the parts of the range named by parts (a RangePart mask), stores them under one hold of the item's
// range mutex and tells the change once: rangeChanged with all three, and each changed part's role.
bool NodeMapAccess::UpdateRangeOf(TreeItem* item, const nodes::Node& node, UpdateMode mode, int parts) const
{
    if (item->type != FeatureType::Integer && item->type != FeatureType::Float)
        return false;
    static const RangePart kOrder[] = {RangeMaximum, RangeIncrement, RangeMinimum};
    QVariant read[3];
    for (int i = 0; i < 3; ++i)
    {
        if (!(parts & kOrder[i]))
            continue;
        try
        {
            read[i] = ReadRangeOf(item->type, node, kOrder[i]);
        }
        catch (const std::exception& e)
        {
            const char* context = kOrder[i] == RangeMaximum     ? kUpdateMaximum
                                  : kOrder[i] == RangeIncrement ? kUpdateIncrement
                                                                : kUpdateMinimum;
            const QString text = kOrder[i] == RangeMaximum     ? QStringLiteral("Failed to read maximum of node %1. ")
                                 : kOrder[i] == RangeIncrement ? QStringLiteral("Failed to read increment of node %1. ")
                                                               : QStringLiteral("Failed to read minimum of node %1. ");
            Log(context, text.arg(item->name), e);
            // A failing part keeps its cached value; the others are still stored.
            parts &= ~kOrder[i];
        }
    }
    int changedRoles[3];
    int changedCount = 0;
    QVariant minimum, maximum, increment;
    {
        QMutexLocker lock(&item->rangeMutex);
        for (int i = 0; i < 3; ++i)
        {
            if (!(parts & kOrder[i]))
                continue;
            QVariant& slot = kOrder[i] == RangeMinimum   ? item->minimum
                             : kOrder[i] == RangeMaximum ? item->maximum
                                                         : item->increment;
            if (mode == UpdateMode::Forced || !Same(slot, read[i]))
            {
                slot = read[i];
                changedRoles[changedCount++] = kOrder[i] == RangeMinimum   ? RoleMinimum
                                               : kOrder[i] == RangeMaximum ? RoleMaximum
                                                                           : RoleIncrement;
            }
        }
        if (changedCount > 0)
        {
            minimum = item->minimum;
            maximum = item->maximum;
            increment = item->increment;
        }
    }
    if (changedCount > 0 && mode != UpdateMode::Quiet)
    {
        emit item->rangeChanged(minimum, maximum, increment, static_cast<int>(item->type));
        for (int i = 0; i < changedCount; ++i)
            Notify(item, changedRoles[i]);
    }
    return parts != 0;
}

bool NodeMapAccess::UpdateRangePart(TreeItem* item, UpdateMode mode, int part) const
{
    if (!Guard(item))
        return false;
    auto node = item->GetNode();
    auto map = GetMap();
    if (!node || !map)
        return false;
    // Read to store under the map's mutex, as UpdateValue: an older range never overwrites a newer one.
    std::lock_guard<NodeMap> mapLock(*map);
    return UpdateRangeOf(item, *node, mode, part);
}

bool NodeMapAccess::UpdateMinimum(TreeItem* item, UpdateMode mode) const
{
    return UpdateRangePart(item, mode, RangeMinimum);
}

bool NodeMapAccess::UpdateMaximum(TreeItem* item, UpdateMode mode) const
{
    return UpdateRangePart(item, mode, RangeMaximum);
}

bool NodeMapAccess::UpdateIncrement(TreeItem* item, UpdateMode mode) const
{
    return UpdateRangePart(item, mode, RangeIncrement);
}

bool NodeMapAccess::UpdateEntries(TreeItem* item, UpdateMode mode) const
{
    if (!Guard(item) || item->type != FeatureType::Enumeration)
        return false;
    auto node = item->GetNode();
    auto map = GetMap();
    if (!node || !map)
        return false;
    std::lock_guard<NodeMap> mapLock(*map);
    return UpdateEntriesOf(item, *node, mode);
}

bool NodeMapAccess::UpdateEntriesOf(TreeItem* item, const nodes::Node& node, UpdateMode mode) const
{
    const auto* enumeration = dynamic_cast<const nodes::EnumerationNode*>(&node);
    if (!enumeration)
        return false;
    QStringList entries;
    QStringList descriptions;
    try
    {
        for (const auto& entry : enumeration->GetEntries())
        {
            const auto status = entry->GetAccessStatus();
            if (status == nodes::NodeAccessStatus::NotImplemented || status == nodes::NodeAccessStatus::NotAvailable)
                continue;
            if (entry->GetVisibility() == nodes::NodeVisibility::Invisible)
                continue;
            entries.append(QString::fromStdString(entry->GetSymbolicValue()));
            descriptions.append(QString::fromStdString(entry->GetDescription()));
        }
    }
    catch (const std::exception& e)
    {
        Log(kUpdateEntries, QStringLiteral("Failed to read entries of node %1. ").arg(item->name), e);
        return false;
    }
    bool changed = false;
    {
        QMutexLocker lock(&item->entriesMutex);
        if (mode == UpdateMode::Forced || entries != item->entries || descriptions != item->entryDescriptions)
        {
            changed = true;
            item->entries = entries;
            item->entryDescriptions = descriptions;
        }
    }
    if (changed && mode != UpdateMode::Quiet)
    {
        emit item->entriesChanged(entries);
        Notify(item, RoleEntries);
    }
    return true;
}

void NodeMapAccess::UpdateItem(TreeItem* item, UpdateMode mode, bool recursive) const
{
    if (!item)
        return;
    auto map = GetMap();
    UpdateItemOf(item, map.get(), mode, recursive);
}

// One item per hold of the map's mutex: access, then range, value and entries from the one node handle, so a
// walk pays one lock and one handle copy per item instead of one per read. The map is loaded once per walk.
void NodeMapAccess::UpdateItemOf(TreeItem* item, NodeMap* map, UpdateMode mode, bool recursive) const
{
    const auto node = item->GetNode();
    if (!node)
        return;
    const bool skip = (item->visibility == 3 && !invisibleNodesPolled) || (item->busy && !updateBusyNodes);
    if (!skip)
    {
        if (!connected || !map)
        {
            UpdateAccess(item, mode);
        }
        else
        {
            std::lock_guard<NodeMap> mapLock(*map);
            // A failed access read keeps the cached access, and the item is read by it as before.
            bool readable = false;
            if (!UpdateAccessOf(item, *node, mode, &readable))
                readable = item->IsReadable();
            if (readable && item->type != FeatureType::Command && item->type != FeatureType::Category &&
                item->type != FeatureType::Unknown)
            {
                UpdateRangeOf(item, *node, mode, RangeAll);
                UpdateValueOf(item, *node, mode, false);
                if (item->type == FeatureType::Enumeration)
                    UpdateEntriesOf(item, *node, mode);
            }
        }
    }
    if (recursive)
        for (TreeItem* child : qAsConst(item->children))
            UpdateItemOf(child, map, mode, true);
}

void NodeMapAccess::OnUpdateRequested()
{
    UpdateItem(root, UpdateMode::Normal, true);
}

void NodeMapAccess::OnUpdateValueRequested(TreeItem* item)
{
    UpdateItem(item, UpdateMode::Normal, false);
}

// --- Description reads

QString NodeMapAccess::GetDescription(TreeItem* item) const
{
    if (!Guard(item))
        return QString();
    try
    {
        return QString::fromStdString(item->GetNode()->GetDescription());
    }
    catch (const std::exception& e)
    {
        Log(kGetDescription, QStringLiteral("Failed to read description of node %1. ").arg(item->name), e);
        return QString();
    }
}

QString NodeMapAccess::GetTooltip(TreeItem* item) const
{
    if (!Guard(item))
        return QString();
    try
    {
        return QString::fromStdString(item->GetNode()->GetToolTip());
    }
    catch (const std::exception& e)
    {
        Log(kGetTooltip, QStringLiteral("Failed to read tooltip of node %1. ").arg(item->name), e);
        return QString();
    }
}

QString NodeMapAccess::GetUnit(TreeItem* item) const
{
    if (!Guard(item))
        return QString();
    try
    {
        if (item->type == FeatureType::Integer)
            return QString::fromStdString(nodes::NodeCast<nodes::IntegerNode>(item->GetNode())->GetUnit());
        if (item->type == FeatureType::Float)
            return QString::fromStdString(nodes::NodeCast<nodes::FloatNode>(item->GetNode())->GetUnit());
    }
    catch (const std::exception& e)
    {
        Log(kGetUnit, QStringLiteral("Failed to read unit of node %1. ").arg(item->name), e);
    }
    return QString();
}

QStringList NodeMapAccess::GetEntryDescriptions(TreeItem* item) const
{
    QStringList descriptions;
    if (!Guard(item) || item->type != FeatureType::Enumeration)
        return descriptions;
    try
    {
        for (const auto& entry : nodes::NodeCast<nodes::EnumerationNode>(item->GetNode())->GetEntries())
            descriptions.append(QString::fromStdString(entry->GetDescription()));
    }
    catch (const std::exception& e)
    {
        Log(kGetEntryDescriptions, QStringLiteral("Failed to read entry descriptions of node %1. ").arg(item->name), e);
    }
    return descriptions;
}

qint8 NodeMapAccess::GetRepresentation(TreeItem* item) const
{
    if (!Guard(item) || item->type != FeatureType::Integer)
        return -1;
    try
    {
        return static_cast<qint8>(nodes::NodeCast<nodes::IntegerNode>(item->GetNode())->GetRepresentation());
    }
    catch (const std::exception& e)
    {
        Log(kGetRepresentation, QStringLiteral("Failed to read representation of node %1. ").arg(item->name), e);
        return -1;
    }
}

int NodeMapAccess::GetPrecision(TreeItem* item) const
{
    if (!Guard(item) || item->type != FeatureType::Float)
        return 0;
    try
    {
        return static_cast<int>(nodes::NodeCast<nodes::FloatNode>(item->GetNode())->GetPrecision());
    }
    catch (const std::exception& e)
    {
        Log(kGetPrecision, QStringLiteral("Failed to read precision of node %1. ").arg(item->name), e);
        return 0;
    }
}

// --- Writes

// Writes one value by the item's type, the item busy meanwhile; then reads it back at once (what the camera
// took, not what was written) and queues its dependents. False on refusal or failure; failures are logged.
bool NodeMapAccess::WriteNode(TreeItem* item, const QVariant& value, const char* context)
{
    if (!Guard(item))
        return false;
    UpdateAccess(item, UpdateMode::Normal);
    if (!item->IsWriteable())
        return false;
    auto node = item->GetNode();
    if (!node)
        return false;
    QVariant typed;
    QString error;
    if (!ConvertForWrite(item, value, &typed, &error))
    {
        // Nothing is written: a value that does not parse must never reach the camera as 0.
        LogMessageSender::Error(logOrigin, QString::fromLatin1(context),
                                QStringLiteral("Failed to write value of node %1. ").arg(item->name) + error);
        return false;
    }
    bool ok = true;
    item->busy = true;
    try
    {
        switch (item->type)
        {
        case FeatureType::Integer:
            nodes::NodeCast<nodes::IntegerNode>(node)->SetValue(typed.toLongLong());
            break;
        case FeatureType::Float:
            nodes::NodeCast<nodes::FloatNode>(node)->SetValue(typed.toDouble());
            break;
        case FeatureType::Boolean:
            nodes::NodeCast<nodes::BooleanNode>(node)->SetValue(typed.toBool());
            break;
        case FeatureType::String:
            nodes::NodeCast<nodes::StringNode>(node)->SetValue(value.toString().toStdString());
            break;
        case FeatureType::Enumeration: {
            auto enumeration = nodes::NodeCast<nodes::EnumerationNode>(node);
            if (value.userType() == QMetaType::QString)
                enumeration->SetCurrentEntryBySymbolicValue(value.toString().toStdString());
            else
                enumeration->SetCurrentEntryByValue(value.toLongLong());
            break;
        }
        case FeatureType::Register: {
            const QByteArray bytes = value.toByteArray();
            nodes::NodeCast<nodes::RegisterNode>(node)->Write(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                                              static_cast<size_t>(bytes.size()));
            break;
        }
        default:
            ok = false;
            break;
        }
        if (ok)
            ++writeCount;
    }
    catch (const std::exception& e)
    {
        QString text = QStringLiteral("Failed to write value of node %1. ").arg(item->name);
        if (item->type == FeatureType::Boolean)
            text = QStringLiteral("Failed to write value of node %1 (%2). ")
                       .arg(item->name, value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
        Log(context, text, e);
        ok = false;
    }
    item->busy = false;
    return ok;
}

bool NodeMapAccess::ConvertForWrite(const TreeItem* item, const QVariant& value, QVariant* converted,
                                    QString* error) const
{
    const bool isText = value.userType() == QMetaType::QString || value.userType() == QMetaType::QByteArray;
    const QString text = value.toString();
    switch (item->type)
    {
    case FeatureType::Integer: {
        int64_t number = 0;
        bool ok = false;
        if (isText)
            ok = ValueText::ParseInteger(text, item->representation, &number);
        else if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float)
        {
            const double d = value.toDouble();
            ok = std::isfinite(d) && std::abs(d) < 9.2e18;
            number = ok ? int64_t(std::llround(d)) : 0;
        }
        else if (value.userType() == QMetaType::Bool)
        {
            ok = true;
            number = value.toBool() ? 1 : 0;
        }
        else if (value.isValid())
        {
            const qlonglong parsed = value.toLongLong(&ok);
            number = parsed;
        }
        if (!ok)
        {
            *error = QStringLiteral("\"%1\" is not an integer.").arg(text);
            return false;
        }
        *converted = QVariant::fromValue<qlonglong>(number);
        return true;
    }
    case FeatureType::Float: {
        double number = 0.0;
        bool ok = false;
        if (isText)
            ok = ValueText::ParseDouble(text, &number);
        else if (value.isValid())
        {
            number = value.toDouble(&ok);
            ok = ok && std::isfinite(number);
        }
        if (!ok)
        {
            *error = QStringLiteral("\"%1\" is not a number.").arg(text);
            return false;
        }
        *converted = QVariant(number);
        return true;
    }
    case FeatureType::Boolean: {
        bool flag = false;
        bool ok = false;
        if (isText)
            ok = ValueText::ParseBoolean(text, &flag);
        else if (value.isValid())
        {
            ok = value.canConvert<bool>();
            flag = value.toBool();
        }
        if (!ok)
        {
            *error = QStringLiteral("\"%1\" is not a boolean.").arg(text);
            return false;
        }
        *converted = QVariant(flag);
        return true;
    }
    default:
        if (!value.isValid())
        {
            *error = QStringLiteral("No value.");
            return false;
        }
        *converted = value;
        return true;
    }
}

bool NodeMapAccess::SetValueGeneric(TreeItem* item, const QVariant& value, bool readDependents)
{
    const bool ok = WriteNode(item, value, kSetValueGeneric);
    if (!item || !connected)
        return ok;
    // Read back in either case: on failure the cache shows the old value again.
    UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

bool NodeMapAccess::SetValue(TreeItem* item, const int64_t& value, bool readDependents)
{
    if (!item || (item->type != FeatureType::Integer && item->type != FeatureType::Enumeration))
        return false;
    const bool ok = WriteNode(item, QVariant::fromValue<qlonglong>(value), kSetValueInt);
    if (item->GetNode() && connected)
        UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

bool NodeMapAccess::SetValue(TreeItem* item, const double& value, bool readDependents)
{
    if (!item || item->type != FeatureType::Float)
        return false;
    const bool ok = WriteNode(item, QVariant(value), kSetValueDouble);
    if (item->GetNode() && connected)
        UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

bool NodeMapAccess::SetValue(TreeItem* item, bool value, bool readDependents)
{
    if (!item || item->type != FeatureType::Boolean)
        return false;
    const bool ok = WriteNode(item, QVariant(value), kSetValueBool);
    if (item->GetNode() && connected)
        UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

bool NodeMapAccess::SetValue(TreeItem* item, const QString& value, bool readDependents)
{
    if (!item || (item->type != FeatureType::String && item->type != FeatureType::Enumeration))
        return false;
    const bool ok = WriteNode(item, QVariant(value), kSetValueString);
    if (item->GetNode() && connected)
        UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

bool NodeMapAccess::SetValue(TreeItem* item, const std::vector<uint8_t>& value, bool readDependents)
{
    if (!item || item->type != FeatureType::Register)
        return false;
    const QByteArray bytes(reinterpret_cast<const char*>(value.data()), static_cast<int>(value.size()));
    const bool ok = WriteNode(item, QVariant(bytes), kSetValueRegister);
    if (item->GetNode() && connected)
        UpdateValue(item, UpdateMode::Normal, false);
    if (ok && readDependents)
        QueueDependents(item);
    return ok;
}

void NodeMapAccess::RequestValue(TreeItem* item, const QVariant& value)
{
    if (!Guard(item))
        return;
    QMutexLocker lock(&m_writeMutex);
    if (!m_pendingWrites.contains(item))
        m_writeOrder.append(item);
    m_pendingWrites.insert(item, value);
    if (m_writerRunning)
        return;
    m_writerRunning = true;
    m_writePool.start([this] { DrainWrites(); });
}

// Runs on the write thread until no request is left. A request that arrives while its item is being written
// stays pending and is written next, so the last requested value is always the last one written.
void NodeMapAccess::DrainWrites()
{
    while (true)
    {
        TreeItem* item = nullptr;
        QVariant value;
        {
            QMutexLocker lock(&m_writeMutex);
            if (m_writeOrder.isEmpty())
            {
                m_writerRunning = false;
                m_writesDone.wakeAll();
                return;
            }
            item = m_writeOrder.takeFirst();
            value = m_pendingWrites.take(item);
        }
        SetValueGeneric(item, value, true);
    }
}

bool NodeMapAccess::WaitForWrites(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    QMutexLocker lock(&m_writeMutex);
    while (m_writerRunning)
    {
        const qint64 left = timeoutMs - timer.elapsed();
        if (left <= 0)
            return false;
        m_writesDone.wait(&m_writeMutex, static_cast<unsigned long>(left));
    }
    return true;
}

void NodeMapAccess::OnSetValueRequested(TreeItem* item, QVariant value)
{
    RequestValue(item, value);
}

// --- Commands

bool NodeMapAccess::Execute(TreeItem* item, bool wait)
{
    if (!Guard(item) || item->type != FeatureType::Command)
        return false;
    UpdateAccess(item, UpdateMode::Normal);
    if (!item->IsWriteable())
        return false;
    auto command = nodes::NodeCast<nodes::CommandNode>(item->GetNode());
    const bool reset =
        item->name == QLatin1String("DeviceReset") || item->name == QLatin1String("ResetToFactoryDefaults");
    try
    {
        if (reset)
        {
            // The device goes away with this command: let go of it first. A device that resets at once may
            // never acknowledge the write; the reset still happened as far as the program knows, so the
            // camera's owner is told in every case and waits for the device to come back.
            OnDisconnected(true);
            try
            {
                command->Execute();
            }
            catch (const std::exception& e)
            {
                Log(kExecute, QStringLiteral("Failed to execute node %1. ").arg(item->name), e);
            }
            emit Signal_DeviceResetExecuted();
            return true;
        }
        command->Execute();
        if (wait)
            command->WaitUntilDone(5000);
        ++writeCount;
    }
    catch (const std::exception& e)
    {
        Log(kExecute, QStringLiteral("Failed to execute node %1. ").arg(item->name), e);
        return false;
    }
    emit item->executed();
    QueueDependents(item);
    return true;
}

void NodeMapAccess::OnExecuteRequested(TreeItem* item)
{
    Execute(item, false);
}

// --- Increment and decrement

void NodeMapAccess::IncrementValue(TreeItem* item)
{
    if (!Guard(item))
        return;
    UpdateAccess(item, UpdateMode::Normal);
    if (!item->IsWriteable())
        return;
    try
    {
        auto node = item->GetNode();
        if (item->type == FeatureType::Integer)
        {
            auto integer = nodes::NodeCast<nodes::IntegerNode>(node);
            const int64_t value = integer->GetValue();
            const int64_t maximum = integer->GetMaximum();
            const int64_t step = std::max<int64_t>(1, integer->GetIncrement());
            SetValue(item, value > maximum - step ? maximum : value + step, true);
        }
        else if (item->type == FeatureType::Float)
        {
            auto floating = nodes::NodeCast<nodes::FloatNode>(node);
            if (!floating->GetHasConstantIncrement())
                return;
            SetValue(item, std::min(floating->GetMaximum(), floating->GetValue() + floating->GetIncrement()), true);
        }
    }
    catch (const std::exception& e)
    {
        Log(kIncrement, QStringLiteral("Failed to write value of node %1. ").arg(item->name), e);
    }
}

void NodeMapAccess::DecrementValue(TreeItem* item)
{
    if (!Guard(item))
        return;
    UpdateAccess(item, UpdateMode::Normal);
    if (!item->IsWriteable())
        return;
    try
    {
        auto node = item->GetNode();
        if (item->type == FeatureType::Integer)
        {
            auto integer = nodes::NodeCast<nodes::IntegerNode>(node);
            const int64_t value = integer->GetValue();
            const int64_t minimum = integer->GetMinimum();
            const int64_t step = std::max<int64_t>(1, integer->GetIncrement());
            SetValue(item, value < minimum + step ? minimum : value - step, true);
        }
        else if (item->type == FeatureType::Float)
        {
            auto floating = nodes::NodeCast<nodes::FloatNode>(node);
            if (!floating->GetHasConstantIncrement())
                return;
            SetValue(item, std::max(floating->GetMinimum(), floating->GetValue() - floating->GetIncrement()), true);
        }
    }
    catch (const std::exception& e)
    {
        Log(kDecrement, QStringLiteral("Failed to write value of node %1. ").arg(item->name), e);
    }
}

void NodeMapAccess::IncrementSelectedValue(TreeItem* item, QString selectorEntry)
{
    if (!Guard(item) || (item->type != FeatureType::Integer && item->type != FeatureType::Float))
        return;
    const QVariant value = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Value);
    const QVariant maximum = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Maximum);
    const QVariant step = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Increment);
    if (!value.isValid() || !maximum.isValid() || !step.isValid())
    {
        LogMessageSender::Error(
            logOrigin, kIncrementSelected,
            QStringLiteral("Failed to write value of node %1[%2]. ").arg(item->name, selectorEntry));
        return;
    }
    const QVariant next = item->type == FeatureType::Integer
                              ? QVariant::fromValue<qlonglong>(std::min(
                                    maximum.toLongLong(), value.toLongLong() + std::max(1LL, step.toLongLong())))
                              : QVariant(std::min(maximum.toDouble(), value.toDouble() + step.toDouble()));
    SetSelectedValueGeneric(item, selectorEntry, next, true, true);
}

void NodeMapAccess::DecrementSelectedValue(TreeItem* item, QString selectorEntry)
{
    if (!Guard(item) || (item->type != FeatureType::Integer && item->type != FeatureType::Float))
        return;
    const QVariant value = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Value);
    const QVariant minimum = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Minimum);
    const QVariant step = GetSelectedValueGeneric(item, selectorEntry, true, true, ReturnValueType::Increment);
    if (!value.isValid() || !minimum.isValid() || !step.isValid())
    {
        LogMessageSender::Error(
            logOrigin, kDecrementSelected,
            QStringLiteral("Failed to write value of node %1[%2]. ").arg(item->name, selectorEntry));
        return;
    }
    const QVariant next = item->type == FeatureType::Integer
                              ? QVariant::fromValue<qlonglong>(std::max(
                                    minimum.toLongLong(), value.toLongLong() - std::max(1LL, step.toLongLong())))
                              : QVariant(std::max(minimum.toDouble(), value.toDouble() - step.toDouble()));
    SetSelectedValueGeneric(item, selectorEntry, next, true, true);
}

// --- Selected access

TreeItem* NodeMapAccess::SelectorOf(TreeItem* item) const
{
    TreeItem* selector = item ? item->parent : nullptr;
    if (!selector || !selector->GetNode())
        return nullptr;
    if (selector->type != FeatureType::Enumeration && selector->type != FeatureType::Integer)
        return nullptr;
    return selector;
}

// Sets the selector to entry; previous receives its value before, empty when it was already there.
bool NodeMapAccess::SelectEntry(TreeItem* selector, const QString& entry, QString* previous)
{
    auto node = selector->GetNode();
    const QString current = SelectorKey(node);
    if (current == entry)
        return true;
    if (previous)
        *previous = current;
    if (selector->type == FeatureType::Enumeration)
        nodes::NodeCast<nodes::EnumerationNode>(node)->SetCurrentEntryBySymbolicValue(entry.toStdString());
    else
    {
        // An integer selector takes the number in the text.
        QString digits;
        for (const QChar c : entry)
            if (c.isDigit() || (digits.isEmpty() && c == QLatin1Char('-')))
                digits.append(c);
        nodes::NodeCast<nodes::IntegerNode>(node)->SetValue(digits.toLongLong());
    }
    return true;
}

// The selected operations hold the node map's mutex from the selector write to its restore, so no other
// thread acts on the node under the wrong entry, and restore on every path: a device call that raises in
// between leaves the selector where it was found like one that succeeds.
void NodeMapAccess::RestoreSelector(TreeItem* selector, const QString& previous, const char* context,
                                    const TreeItem* item)
{
    if (!selector || previous.isEmpty())
        return;
    try
    {
        SelectEntry(selector, previous, nullptr);
    }
    catch (const std::exception& e)
    {
        Log(context,
            QStringLiteral("Failed to restore selector %1 of node %2 to %3. ")
                .arg(selector->name, item->name, previous),
            e);
    }
}

uint32_t NodeMapAccess::GetSelectedAccess(TreeItem* item, const QString& selectorEntry, bool select, bool restore)
{
    if (!Guard(item))
        return 0;
    UpdateAccess(item, UpdateMode::Normal);
    TreeItem* selector = SelectorOf(item);
    auto map = GetMap();
    if (!map)
        return 0;
    uint32_t access = 0;
    std::lock_guard<NodeMap> lock(*map);
    QString previous;
    try
    {
        if (select && selector)
            SelectEntry(selector, selectorEntry, &previous);
        access = static_cast<uint32_t>(item->GetNode()->GetAccessStatus());
    }
    catch (const std::exception& e)
    {
        Log(kGetSelectedAccess, QStringLiteral("Failed to read access of node %1[%2]. ").arg(item->name, selectorEntry),
            e);
        access = 0;
    }
    if (restore)
        RestoreSelector(selector, previous, kGetSelectedAccess, item);
    return access;
}

QVariant NodeMapAccess::GetSelectedValueGeneric(TreeItem* item, const QString& selectorEntry, bool select, bool restore,
                                                ReturnValueType what)
{
    if (!Guard(item))
        return QVariant();
    UpdateAccess(item, UpdateMode::Normal);
    TreeItem* selector = SelectorOf(item);
    auto map = GetMap();
    if (!map)
        return QVariant();
    QVariant result;
    {
        std::lock_guard<NodeMap> lock(*map);
        QString previous;
        try
        {
            if (select && selector)
                SelectEntry(selector, selectorEntry, &previous);
            switch (what)
            {
            case ReturnValueType::Value:
                result = ReadNodeValue(item);
                break;
            case ReturnValueType::Minimum:
                result = ReadRange(item, RangeMinimum);
                break;
            case ReturnValueType::Maximum:
                result = ReadRange(item, RangeMaximum);
                break;
            case ReturnValueType::Increment:
                result = ReadRange(item, RangeIncrement);
                break;
            }
        }
        catch (const std::exception& e)
        {
            Log(kGetSelectedValue,
                QStringLiteral("Failed to read %1 of node %2[%3]. ").arg(WhatText(what), item->name, selectorEntry), e);
            result = QVariant();
        }
        if (restore)
            RestoreSelector(selector, previous, kGetSelectedValue, item);
    }
    if (what == ReturnValueType::Value && result.isValid())
        RecordSelectorValue(item, selectorEntry, result);
    return result;
}

bool NodeMapAccess::SetSelectedValueGeneric(TreeItem* item, const QString& selectorEntry, const QVariant& value,
                                            bool select, bool restore)
{
    if (!Guard(item))
        return false;
    UpdateAccess(item, UpdateMode::Normal);
    TreeItem* selector = SelectorOf(item);
    auto map = GetMap();
    if (!map)
        return false;
    bool ok = true;
    {
        std::lock_guard<NodeMap> lock(*map);
        QString previous;
        try
        {
            if (select && selector)
                SelectEntry(selector, selectorEntry, &previous);
            ok = WriteNode(item, value, kSetSelectedValue);
        }
        catch (const std::exception& e)
        {
            Log(kSetSelectedValue,
                QStringLiteral("Failed to write value of node %1[%2]. ").arg(item->name, selectorEntry), e);
            ok = false;
        }
        // The write's result stands on its own: the read-back only files the value for a later restore, and a
        // write-only node (or one that fails to read) simply has nothing to file.
        if (ok && item->IsReadable())
        {
            try
            {
                RecordSelectorValue(item, selectorEntry, ReadNodeValue(item));
            }
            catch (const std::exception&)
            {
            }
        }
        if (restore)
            RestoreSelector(selector, previous, kSetSelectedValue, item);
    }
    QueueChanged(item);
    if (selector)
        QueueChanged(selector);
    QueueDependents(item);
    return ok;
}

bool NodeMapAccess::ExecuteSelected(TreeItem* item, const QString& selectorEntry, bool select, bool restore)
{
    if (!Guard(item) || item->type != FeatureType::Command)
        return false;
    TreeItem* selector = SelectorOf(item);
    auto map = GetMap();
    if (!map)
        return false;
    bool ok = true;
    {
        std::lock_guard<NodeMap> lock(*map);
        QString previous;
        try
        {
            if (select && selector)
                SelectEntry(selector, selectorEntry, &previous);
            nodes::NodeCast<nodes::CommandNode>(item->GetNode())->Execute();
        }
        catch (const std::exception& e)
        {
            Log(kExecuteSelected, QStringLiteral("Failed to execute node %1[%2]. ").arg(item->name, selectorEntry), e);
            ok = false;
        }
        if (restore)
            RestoreSelector(selector, previous, kExecuteSelected, item);
    }
    if (ok)
        emit item->executed();
    return ok;
}

// --- Application lock

void NodeMapAccess::SetApplicationLock(const QStringList& names, bool locked)
{
    for (const QString& name : names)
    {
        // A node listed in several categories has an item in each: all of them carry the lock.
        QList<TreeItem*> items = moreItemsByName.values(name);
        if (TreeItem* first = FindItem(name))
            items.prepend(first);
        for (TreeItem* item : qAsConst(items))
        {
            {
                QMutexLocker lock(&item->accessMutex);
                item->applicationLock = locked;
            }
            UpdateAccess(item, UpdateMode::Forced);
        }
    }
}

// --- Store, disconnect, reconnect, restore

void NodeMapAccess::StoreValues()
{
    if (!connected || !root)
        return;
    PauseWorker();
    StoreItemValues(root);
    ResumeWorker();
}

void NodeMapAccess::StoreItemValues(TreeItem* item)
{
    if (!item->GetSelectorValues().isEmpty() && item->IsReadable())
    {
        const auto keys = item->GetSelectorValues().keys();
        for (const QString& key : keys)
            GetSelectedValueGeneric(item, key, true, true, ReturnValueType::Value);
    }
    else if (item->IsReadable())
    {
        UpdateValue(item, UpdateMode::Quiet, false);
    }
    for (TreeItem* child : item->children)
        StoreItemValues(child);
}

void NodeMapAccess::OnDisconnected(bool deleteCallback)
{
    if (!connected)
        return;
    {
        QMutexLocker lock(&m_sink->mutex);
        connected = false;
        m_sink->accepting = false;
        m_sink->changedItems.clear();
        m_sink->changedSet.clear();
    }
    {
        // Requests not yet started are dropped; one that is running fails on its own and is logged.
        QMutexLocker lock(&m_writeMutex);
        m_pendingWrites.clear();
        m_writeOrder.clear();
    }
    PauseWorker();
    if (root)
        UnregisterAll(root, deleteCallback);
    // Every row now reads as not connected.
    emit dataChanged(nullptr, -1);
    // The bound features keep their items and say that nothing is behind them now: their controls turn off.
    for (const auto& entry : FeatureList())
        if (auto* binding = dynamic_cast<CameraFeatureBinding*>(entry.first.get()))
            binding->Disconnected();
}

void NodeMapAccess::OnDisconnected()
{
    OnDisconnected(true);
}

void NodeMapAccess::UnregisterAll(TreeItem* item, bool deleteCallback)
{
    item->UnregisterCallback(deleteCallback);
    for (TreeItem* child : item->children)
        UnregisterAll(child, deleteCallback);
}

void NodeMapAccess::OnReconnected(std::shared_ptr<NodeMap> parentNodeMap, bool skipRestore)
{
    if (connected)
        return;
    {
        QMutexLocker lock(&m_sink->mutex);
        m_sink->changedItems.clear();
        m_sink->changedSet.clear();
    }
    if (!parentNodeMap)
        return;
    if (!nodeMap)
    {
        SetNodeMap(parentNodeMap);
        return;
    }
    skipRestoreOnce = skipRestore;
    PauseWorker();
    std::atomic_store(&nodeMap, std::move(parentNodeMap));
    {
        QMutexLocker lock(&m_sink->mutex);
        connected = true;
        m_sink->accepting = true;
    }
    if (root)
        ReconnectItem(root, true);
    skipRestoreOnce = false;
    ResumeWorker();
    emit dataChanged(nullptr, -1);
    BindFeatures(false);
}

void NodeMapAccess::OnReconnected(std::shared_ptr<NodeMap> parentNodeMap)
{
    OnReconnected(std::move(parentNodeMap), false);
}

void NodeMapAccess::CleanupItem(TreeItem* item)
{
    QMutexLocker lock(&item->accessMutex);
    item->node.reset();
    item->changedCallback = 0;
    item->access = TreeItem::AccessNotRead;
    item->readable = false;
    item->writeable = false;
}

bool NodeMapAccess::ReconnectItem(TreeItem* item, bool restore)
{
    if (!item || !nodeMap)
        return false;
    const std::string name = item->name.toStdString();
    if (!nodeMap->GetHasNode(name))
    {
        CleanupItem(item);
        for (TreeItem* child : item->children)
            ReconnectItem(child, restore);
        return false;
    }
    try
    {
        auto node = nodeMap->FindNode(name);
        {
            QMutexLocker lock(&item->accessMutex);
            item->node = node;
            item->changedCallback = 0;
        }
        if (item != root)
        {
            if (item->type != FeatureType::Category)
                RegisterCallback(item);
            UpdateAccess(item, UpdateMode::Normal);
            if (restore)
                RestoreItem(item);
        }
    }
    catch (const std::exception& e)
    {
        Log(kReconnectItem, QStringLiteral("Failed to register callback on node %1. ").arg(item->name), e);
        CleanupItem(item);
    }
    for (TreeItem* child : item->children)
        ReconnectItem(child, restore);
    return item->GetNode() != nullptr;
}

void NodeMapAccess::RestoreItem(TreeItem* item)
{
    if (!connected || !restoreEnabled || !item->GetNode())
        return;
    if (item->type == FeatureType::Category || item->type == FeatureType::Command)
        return;
    // The lock of the transport layer parameters belongs to the session, not to the camera's settings.
    const bool mayWrite = !skipRestoreOnce && item->name != QLatin1String("TLParamsLocked");
    const QMap<QString, QVariant> saved = item->GetSelectorValues();
    if (!saved.isEmpty())
    {
        if (mayWrite)
            for (auto it = saved.cbegin(); it != saved.cend(); ++it)
                if (it.value().isValid())
                    SetSelectedValueGeneric(item, it.key(), it.value(), true, true);
    }
    else if (mayWrite)
    {
        const QVariant kept = item->GetValue();
        if (kept.isValid() && item->IsReadable())
        {
            QVariant now;
            try
            {
                now = ReadNodeValue(item);
            }
            catch (const std::exception&)
            {
                // An unreadable value is written back regardless.
            }
            if (!Same(now, kept))
                WriteNode(item, kept, kSetValueGeneric);
        }
    }
    UpdateValue(item, UpdateMode::Normal, false);
    {
        QMutexLocker lock(&item->rangeMutex);
        item->minimum = item->maximum = item->increment = QVariant();
    }
    {
        QMutexLocker lock(&item->entriesMutex);
        item->entries.clear();
        item->entryDescriptions.clear();
    }
    UpdateItem(item, UpdateMode::Normal, false);
}
