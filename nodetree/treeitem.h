// TreeItem: the cached state of one node of a node map, one object per row of the node tree.
//
// Nothing in the GUI reads a device node directly: views, the model and features read an item's cache, and
// only NodeMapAccess reads or writes the node and fills the cache. Items are created and deleted on the GUI
// thread (by NodeMapAccess); their cache is written by the update worker's thread and by the write path, and
// read by the GUI thread.
//
// Mutexes (all recursive, each held only for the copy of the fields, never across a device call):
//   valueMutex   value, stringValue, selectorValues
//   rangeMutex   minimum, maximum, increment
//   entriesMutex entries, entryDescriptions
//   accessMutex  access, readable, writeable, locked, applicationLock, node, changedCallback
// busy is atomic so that the worker can skip an item that is being written without taking a lock.
// The identity fields (type, name, namespaceName, visibility, displayName, tooltip, description, unit,
// representation, precision, parent, children, registerLength, selectorValueCount) are written during construction and
// reconnection only, while the worker is paused.
//
// Signals may be emitted from any thread; receivers on the GUI thread get them queued.
#pragma once

#include "nodetree/featuredefs.h"
#include "orna/core/nodes.h"

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <cstdint>
#include <memory>

class NodeMapAccess;

class TreeItem : public QObject
{
    Q_OBJECT

public:
    // Cached access before the first read.
    static constexpr uint8_t AccessNotRead = 254;

    // GUI thread. Reads the node's identity, its access (quietly), registers the changed callback, discovers
    // the selectors above it and builds the children. Never raises; a failure is logged.
    TreeItem(std::shared_ptr<orna::core::nodes::Node> node, NodeMapAccess* nodeMapAccess, TreeItem* parent);
    ~TreeItem() override;

    // With deleteCallback, unregisters the node-changed callback (failures are logged). GUI thread.
    void UnregisterCallback(bool deleteCallback);

    // Thread-safe copies of the cache.
    QVariant GetValue() const;
    QString GetStringValue() const;
    QVariant GetMinimum() const;
    QVariant GetMaximum() const;
    QVariant GetIncrement() const;
    QStringList GetEntries() const;
    QStringList GetEntryDescriptions() const;
    FeatureAccess GetAccess() const;
    bool IsReadable() const;
    bool IsWriteable() const;
    bool IsLocked() const;
    bool HasApplicationLock() const;
    std::shared_ptr<orna::core::nodes::Node> GetNode() const;
    QMap<QString, QVariant> GetSelectorValues() const;

    // Row of this item under its parent; 0 for the root.
    int Row() const;
    TreeItem* FindChild(const QString& childName) const;

    FeatureType type = FeatureType::Unknown;
    QString name;
    QString namespaceName;
    int visibility = 0;
    TreeItem* parent = nullptr;
    QVariant value;
    QString stringValue;
    NodeMapAccess* nodeMapAccess = nullptr;
    std::shared_ptr<orna::core::nodes::Node> node;
    orna::core::nodes::CallbackHandle changedCallback = 0;
    QList<TreeItem*> children;
    uint8_t access = AccessNotRead;
    bool readable = false;
    bool writeable = false;
    bool locked = false;
    bool applicationLock = false;
    std::atomic<bool> busy{false};
    QStringList entries;
    QStringList entryDescriptions;
    QString displayName;
    // Read once at construction, as the node's description does not change: texts and number formats.
    QString tooltip;
    QString description;
    QString unit;
    qint8 representation = -1;
    int precision = 0;
    int64_t registerLength = 0;
    QVariant minimum;
    QVariant maximum;
    QVariant increment;
    int selectorValueCount = 0;
    QMap<QString, QVariant> selectorValues;

    mutable QMutex valueMutex{QMutex::Recursive};
    mutable QMutex rangeMutex{QMutex::Recursive};
    mutable QMutex entriesMutex{QMutex::Recursive};
    mutable QMutex accessMutex{QMutex::Recursive};

Q_SIGNALS:
    void dataChanged(TreeItem* item, int role);
    void valueChanged(QVariant value, int type);
    void accessChanged(FeatureAccess access);
    void entriesChanged(QStringList entries);
    void rangeChanged(QVariant min, QVariant max, QVariant inc, int type);
    void executed();

private:
    void ReadDescriptionTexts();
    // Runs read; a failure is logged with the constructor's context and the text failure (with the name).
    template <class Read> void ReadText(const char* failure, Read read);
    void DiscoverSelectors();
    void CreateChildren();
    bool HasAncestorNamed(QLatin1String nodeName) const;
};

Q_DECLARE_METATYPE(TreeItem*)
