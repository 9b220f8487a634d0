// NodeMapAccess: the only gate to one node map of one module of a camera (remote device, local device, data
// stream, interface or system).
//
// It builds the tree of TreeItem, does every node read and write with its logging, keeps the item caches
// current from node-changed callbacks through its UpdateNodemapWorker (own QThread, a round every 50 ms), and
// carries the tree across a disconnection: OnDisconnected keeps the items and their last values, and
// OnReconnected rebinds every item to the new node map and writes the kept values back.
//
// Threads:
//   GUI thread     construction and destruction, SetNodeMap, CreateTree, OnDisconnected, OnReconnected,
//                  SetApplicationLock, the request slots; it receives dataChanged/valueChanged queued.
//   worker thread  UpdateItem through UpdateNodemapWorker (reads only).
//   write thread   RequestValue's coalesced writes run on m_writePool (one thread), so a slow or lost camera
//                  never blocks the GUI thread.
//   any thread     the Update*, Get*, SetValue, Execute and selected operations (features' asynchronous
//                  setters call them from their own threads); each is safe against the others because every
//                  node call is serialised by the node map's own mutex and every cache field by its item mutex.
//   callback       node-changed callbacks run on whichever thread changed the node; they only append the
//                  item to the changed list (m_sink), nothing else.
//   async writes   features' asynchronous writes run on their own threads; they hold a TreeTicket and enter
//                  through WithTree, which SetNodeMap and the destructor wait for before they delete the tree,
//                  so a write in flight never reaches a deleted item or a destroyed access.
// Nothing here touches a widget. No operation raises: device exceptions are caught, logged through
// LogMessageSender::Error and the caches stay as they were.
//
// Mutexes:
//   m_sink->mutex      (changedItemsMutex) the changed-item list and whether callbacks are accepted.
//   pendingRolesMutex  pendingRoleItems/pendingRoles, the item and role pairs waiting for SendDataChangedSignal.
//   m_writeMutex       the coalesced write requests (latest value per item) and m_writerRunning.
//   m_life->lock       read: a write through WithTree runs on the tree; write: the tree is replaced or the
//                      access destroyed (generation and alive change under it).
//   featuresMutex      features and featurePaths; never held while a feature is told anything.
//   item mutexes       see TreeItem. Lock order: an item mutex is never held across a device call nor while
//                      taking any of the mutexes above.
#pragma once

#include "nodetree/featuredefs.h"
#include "orna/core/nodemap.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QReadWriteLock>
#include <QSet>
#include <QStringList>
#include <QThread>
#include <QThreadPool>
#include <QVariant>
#include <QVector>
#include <QWaitCondition>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class FeatureInterface;
class TreeItem;
class UpdateNodemapWorker;

// What a write on another thread holds of the tree it was started on: the tree's generation and the access's
// lifetime record. Taken on the GUI thread (NodeMapAccess::GetTreeTicket), checked by NodeMapAccess::WithTree.
class TreeTicket
{
public:
    bool IsNull() const { return !m_life; }

private:
    friend class NodeMapAccess;
    struct Life
    {
        QReadWriteLock lock;
        quint64 generation = 0;
        bool alive = true;
    };
    std::shared_ptr<Life> m_life;
    quint64 m_generation = 0;
};

class NodeMapAccess : public QObject
{
    Q_OBJECT

public:
    enum class UpdateMode : int
    {
        Normal = 0,
        Quiet = 1,  // no signals
        Forced = 2, // signals even when nothing changed
    };

    enum class ReturnValueType : int
    {
        Value = 0,
        Minimum = 1,
        Maximum = 2,
        Increment = 3,
    };

    // Roles that items report through dataChanged; the same numbers are NodeMapModel's roles.
    enum Role : int
    {
        RoleType = 0x101,
        RoleVisibility = 0x102,
        RoleAccessStatus = 0x103,
        RoleRepresentation = 0x104,
        RoleName = 0x105,
        RoleDisplayName = 0x106,
        RoleTooltip = 0x107,
        RoleDescription = 0x108,
        RoleNamespace = 0x109,
        RoleMinimum = 0x10A,
        RoleMaximum = 0x10B,
        RoleIncrement = 0x10C,
        RoleValue = 0x10D,
        RoleUnit = 0x10E,
        RolePrecision = 0x10F,
        RoleEntries = 0x110,
        RoleEntryDescriptions = 0x111,
        RoleRegisterLength = 0x112,
    };

    // Starts the worker thread. The map is not yet connected; SetNodeMap or OnReconnected connects it.
    explicit NodeMapAccess(const QString& moduleName = QStringLiteral("unknown"), QObject* parent = nullptr);
    ~NodeMapAccess() override;

    // GUI thread. Binds a (new) node map and builds the tree; the old tree is deleted after the worker and the
    // write thread have let go of it. A null map leaves the access without tree, disconnected.
    void SetNodeMap(std::shared_ptr<orna::core::NodeMap> map);
    std::shared_ptr<orna::core::NodeMap> GetNodeMap() const;
    TreeItem* GetRoot() const { return root; }
    // The item of a node by name (GUI thread, or any thread while the tree is not rebuilt).
    TreeItem* FindItem(const QString& name) const;
    int GetItemCount() const { return itemsByName.size(); }
    QString GetModuleName() const { return moduleName; }
    bool IsConnected() const { return connected.load(); }

    // The origin text of log lines (the camera's key), "-" by default.
    void SetLogOrigin(const QString& origin) { logOrigin = origin; }
    // Connected to the option "Restore camera parameters on reconnect".
    void SetRestoreEnabled(bool enabled) { restoreEnabled = enabled; }
    void SetInvisibleNodesPolled(bool polled) { invisibleNodesPolled = polled; }
    void SetUpdateBusyNodes(bool update) { updateBusyNodes = update; }

    void CreateTree();

    // GUI thread: a ticket for the current tree.
    TreeTicket GetTreeTicket() const;
    // Any thread: runs work while the tree the ticket was taken from still stands, and returns true; a tree
    // replaced since (SetNodeMap) or a destroyed access returns false without running it. Replacing the tree
    // waits for work that runs. work must not call SetNodeMap nor wait for the GUI thread.
    static bool WithTree(const TreeTicket& ticket, const std::function<void()>& work);

    // The features bound to this map (GUI thread). path ends with the node's name after the last ":". A
    // camera feature is bound to its item now when the tree has it, told on disconnection (its controls turn
    // off), and bound again and synchronised after a reconnection or a new tree; other features are kept.
    void AddFeature(std::shared_ptr<FeatureInterface> feature, const QString& path);
    void RemoveFeature(const FeatureInterface* feature);
    int GetFeatureCount() const;

    // Update group: read the node, store into the cache, signal by mode. Any thread.
    bool UpdateAccess(TreeItem* item, UpdateMode mode) const;
    bool UpdateValue(TreeItem* item, UpdateMode mode, bool forced = false) const;
    bool UpdateMinimum(TreeItem* item, UpdateMode mode) const;
    bool UpdateMaximum(TreeItem* item, UpdateMode mode) const;
    bool UpdateIncrement(TreeItem* item, UpdateMode mode) const;
    bool UpdateEntries(TreeItem* item, UpdateMode mode) const;
    // Access, then range, value and entries of a readable item; skips invisible items unless
    // invisibleNodesPolled and busy ones unless updateBusyNodes.
    void UpdateItem(TreeItem* item, UpdateMode mode, bool recursive) const;

    QString GetDescription(TreeItem* item) const;
    QString GetTooltip(TreeItem* item) const;
    QString GetUnit(TreeItem* item) const;
    QStringList GetEntryDescriptions(TreeItem* item) const;
    // The integer representation number (orna::core::nodes::IntegerRepresentation), -1 for other kinds.
    qint8 GetRepresentation(TreeItem* item) const;
    // Decimal places of a float, 0 for other kinds.
    int GetPrecision(TreeItem* item) const;

    // Synchronous writes; the item is read back at once, and with readDependents the nodes that depend on it
    // are queued for the worker. False (and a log line) when refused or failed. Any thread but the GUI thread
    // should prefer RequestValue for a device that may be slow.
    bool SetValue(TreeItem* item, const int64_t& value, bool readDependents = true);
    bool SetValue(TreeItem* item, const double& value, bool readDependents = true);
    bool SetValue(TreeItem* item, bool value, bool readDependents = true);
    bool SetValue(TreeItem* item, const QString& value, bool readDependents = true);
    bool SetValue(TreeItem* item, const std::vector<uint8_t>& value, bool readDependents = true);
    // By the item's type; an enumeration takes a symbolic text or a number.
    bool SetValueGeneric(TreeItem* item, const QVariant& value, bool readDependents = true);

    // Asynchronous, coalesced write: only the latest requested value of an item is written, the earlier ones
    // that were not yet started are dropped; the write and its read-back run on the write thread. Any thread.
    void RequestValue(TreeItem* item, const QVariant& value);
    // Waits until no requested write is pending or running; false on timeout.
    bool WaitForWrites(int timeoutMs);

    bool Execute(TreeItem* item, bool wait = false);
    bool ExecuteSelected(TreeItem* item, const QString& selectorEntry, bool select, bool restore);

    // Acts on a selector-dependent node through its selector (the item's parent): with select, the selector
    // is set to selectorEntry first; with restore, its previous value is written back afterwards.
    uint32_t GetSelectedAccess(TreeItem* item, const QString& selectorEntry, bool select, bool restore);
    QVariant GetSelectedValueGeneric(TreeItem* item, const QString& selectorEntry, bool select, bool restore,
                                     ReturnValueType what);
    bool SetSelectedValueGeneric(TreeItem* item, const QString& selectorEntry, const QVariant& value, bool select,
                                 bool restore);

    void SetApplicationLock(const QStringList& names, bool locked);

    // Reads every selector-dependent value once per selector entry into the items' selectorValues, so that a
    // later reconnection can restore all of them (values under the current selector entry are kept by the
    // worker as it goes). GUI thread, connected.
    void StoreValues();

    bool ReconnectItem(TreeItem* item, bool restore);

    // For the worker: takes the changed items (each once) and leaves the list empty.
    QList<TreeItem*> TakeChangedItems();
    // Number of device writes done since construction (for diagnostics and tests of the coalescing).
    int GetWriteCount() const { return writeCount.load(); }

Q_SIGNALS:
    void dataChanged(TreeItem* item, int role);
    void valueChanged(TreeItem* item, QVariant value);
    void Signal_DeviceResetExecuted();
    // The tree is about to be replaced / has been replaced by SetNodeMap (the model resets on these).
    void TreeAboutToBeReset();
    void TreeReset();

public Q_SLOTS:
    void OnDisconnected(bool deleteCallback);
    void OnDisconnected();
    void OnReconnected(std::shared_ptr<orna::core::NodeMap> parentNodeMap, bool skipRestoreOnce);
    void OnReconnected(std::shared_ptr<orna::core::NodeMap> parentNodeMap);
    void OnUpdateRequested();
    void OnSetValueRequested(TreeItem* item, QVariant value);
    void OnExecuteRequested(TreeItem* item);
    void OnUpdateValueRequested(TreeItem* item);
    void IncrementValue(TreeItem* item);
    void DecrementValue(TreeItem* item);
    void IncrementSelectedValue(TreeItem* item, QString selectorEntry);
    void DecrementSelectedValue(TreeItem* item, QString selectorEntry);

private Q_SLOTS:
    void OnItemDataChanged(TreeItem* item, int column);
    void SendDataChangedSignal();

private:
    friend class TreeItem;

    // What node-changed callbacks reach: shared with every registered callback, so a callback that runs while
    // the access is being destroyed still finds valid memory.
    struct CallbackSink
    {
        QMutex mutex;
        bool accepting = false;
        // Bumped when the tree is replaced: a callback registered on an older tree (its item deleted) that
        // the old node map still runs is refused by its generation.
        quint64 generation = 0;
        QList<TreeItem*> changedItems;
        QSet<TreeItem*> changedSet;
    };

    bool Guard(const TreeItem* item) const;
    void Log(const char* context, const QString& message, const std::exception& e) const;
    void Notify(TreeItem* item, int role) const;
    void QueueChanged(TreeItem* item) const;
    void QueueDependents(TreeItem* item) const;
    bool RegisterCallback(TreeItem* item) const;
    // TreeItem's constructor (GUI thread, in CreateTree): enters the item into itemsByName.
    void IndexItem(TreeItem* item);
    void DeleteTree();
    void PauseWorker();
    void ResumeWorker();
    void UnregisterAll(TreeItem* item, bool deleteCallback);
    void CleanupItem(TreeItem* item);
    void RestoreItem(TreeItem* item);
    void DrainWrites();
    bool WriteNode(TreeItem* item, const QVariant& value, const char* context);
    QVariant ReadNodeValue(TreeItem* item) const;
    static QVariant ReadNodeValueOf(const TreeItem* item, const orna::core::nodes::Node& node);
    // Stores a read access into the item's cache (its accessMutex only); true when it changed or forced.
    // readable (optional) receives the item's readable flag after the store, changed or not.
    static bool StoreAccess(TreeItem* item, uint8_t access, bool forced, bool* readableChanged,
                            bool* readable = nullptr);
    // The *Of forms read from the given node handle and expect the caller to hold the node map's mutex and to
    // have checked the connection; they store and signal like their public counterparts.
    bool UpdateAccessOf(TreeItem* item, const orna::core::nodes::Node& node, UpdateMode mode,
                        bool* readable = nullptr) const;
    bool UpdateValueOf(TreeItem* item, const orna::core::nodes::Node& node, UpdateMode mode, bool forced) const;
    bool UpdateRangeOf(TreeItem* item, const orna::core::nodes::Node& node, UpdateMode mode, int parts) const;
    bool UpdateRangePart(TreeItem* item, UpdateMode mode, int part) const;
    bool UpdateEntriesOf(TreeItem* item, const orna::core::nodes::Node& node, UpdateMode mode) const;
    void UpdateItemOf(TreeItem* item, orna::core::NodeMap* map, UpdateMode mode, bool recursive) const;
    // TreeItem's constructor: the first access read, no signals (CreateTree holds the map's mutex).
    void ReadAccessQuietly(TreeItem* item) const;
    TreeItem* SelectorOf(TreeItem* item) const;
    bool SelectEntry(TreeItem* selector, const QString& entry, QString* previous);
    // Writes previous back to the selector (the caller holds the map's mutex); logs a failure with context.
    void RestoreSelector(TreeItem* selector, const QString& previous, const char* context, const TreeItem* item);
    // Converts a value for the item's type: text in the forms the program shows, numbers of any kind. False
    // (nothing to write) for a value that does not convert; *error says why.
    bool ConvertForWrite(const TreeItem* item, const QVariant& value, QVariant* converted, QString* error) const;
    // The features' node names and bindings (copied under featuresMutex).
    std::vector<std::pair<std::shared_ptr<FeatureInterface>, QString>> FeatureList() const;
    void BindFeatures(bool rebindAll);
    void StoreItemValues(TreeItem* item);
    void RecordSelectorValue(TreeItem* item, const QString& key, const QVariant& value) const;

    std::shared_ptr<orna::core::NodeMap> GetMap() const { return std::atomic_load(&nodeMap); }

    // Replaced on the GUI thread (std::atomic_store) while other threads may load it (std::atomic_load).
    std::shared_ptr<orna::core::NodeMap> nodeMap;
    QString moduleName;
    TreeItem* root = nullptr;
    QHash<QString, TreeItem*> itemsByName;
    // Further items of a node listed under more than one category (the first is in itemsByName).
    QMultiHash<QString, TreeItem*> moreItemsByName;
    int lastItemCount = 0; // size of the previous tree, to size the index of the next one

    mutable QVector<TreeItem*> pendingRoleItems;
    mutable QVector<int> pendingRoles;
    mutable QMutex pendingRolesMutex;
    mutable std::atomic<bool> flushScheduled{false};

    std::atomic<bool> connected{false};
    std::atomic<bool> restoreEnabled{true};
    std::atomic<bool> invisibleNodesPolled{false};
    std::atomic<bool> updateBusyNodes{false};
    bool skipRestoreOnce = false;
    QString logOrigin = QStringLiteral("-");

    UpdateNodemapWorker* worker = nullptr;
    QThread workerThread;

    std::shared_ptr<CallbackSink> m_sink;
    std::shared_ptr<TreeTicket::Life> m_life = std::make_shared<TreeTicket::Life>();

    std::vector<std::shared_ptr<FeatureInterface>> features;
    QStringList featurePaths;
    mutable QMutex featuresMutex;

    QThreadPool m_writePool;
    QMutex m_writeMutex;
    QWaitCondition m_writesDone;
    QHash<TreeItem*, QVariant> m_pendingWrites;
    QList<TreeItem*> m_writeOrder;
    bool m_writerRunning = false;
    std::atomic<int> writeCount{0};
};

Q_DECLARE_METATYPE(std::shared_ptr<orna::core::NodeMap>)
