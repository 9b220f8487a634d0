// Accessors that bind a feature to one node of the node tree: a TreeItem and the NodeMapAccess that owns it.
// The binding can be dropped (Unbind) and made again (SetSource + Sync) while the feature and the controls
// on it stay, e.g. when a camera hands over a new NodeMapAccess after a reconnection.
//
//   CameraFeatureAccessor          a plain node.
//   SelectedCameraFeatureAccessor  one fixed selector entry of a selector-dependent node: reads and writes
//                                  select the entry and restore the selector afterwards; NodeMapAccess does
//                                  the selector write and the dependent access under one node map lock.
//   SelectableCameraFeatureAccessor the same with an entry chosen at run time, or plain while not selecting.
//
// Threads: GUI thread. The item's signals may come from the update worker or the write thread; they arrive
// queued. WriteDirect is the one operation meant for another thread (the features' asynchronous writes): it
// only uses its arguments and NodeMapAccess, which is safe from any thread.
#pragma once

#include "features/featureaccessorinterface.h"
#include "features/featureinterface.h"

#include <QMetaObject>
#include <QMutex>
#include <QObject>
#include <QVariant>

#include <atomic>
#include <vector>

class NodeMapAccess;
class TreeItem;

class CameraFeatureAccessorInterface : public QObject, public FeatureAccessorInterface
{
    Q_OBJECT

public:
    explicit CameraFeatureAccessorInterface(QObject* parent = nullptr);
    ~CameraFeatureAccessorInterface() override;

    bool IsAvailable() const override;
    QString GetName() const override;
    QString GetDisplayName() const override;
    QString GetTooltip() const override;
    QString GetDescription() const override;
    FeatureType GetType() const override;
    FeatureAccess GetAccess() override;
    int GetVisibility() const override;
    bool IsWriteable() override;
    bool IsReadable() override;
    bool IsAccessible() override;
    void UpdateAccess() override;

    // Re-connects to the item's signals.
    virtual void Bind();
    virtual void UpdateValue();
    // Reads the range afresh and tells it, changed or not.
    virtual void EmitRange();
    virtual QVariant GetValue(bool update);
    // Writes by the value's type tag, then reads back: what reaches the controls is what the camera took.
    virtual void SetValue(const QVariant& value, ValueType type);
    virtual QVariant GetMinimum(bool update);
    virtual QVariant GetMaximum(bool update);
    virtual QVariant GetIncrement(bool update);
    virtual void IncrementValue();
    virtual void DecrementValue();
    virtual void Execute(bool wait);
    virtual bool IsItemAvailable() const;

    // Any thread: the write and read-back of SetValue on the given binding, without touching this object's
    // state (the binding is taken by the caller on the GUI thread).
    virtual bool WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value, ValueType type) const;

    void SetSource(TreeItem* item, NodeMapAccess* nodeMapAccess);
    void Unbind();
    // The node map is disconnected: access -2 is told (controls turn off), the binding stays for Sync.
    void Disconnected();
    // After an asynchronous write: reads the value (through the selector for a selected node) and tells it,
    // also when it equals the last one told, so a control that showed the written value shows the taken one.
    void ReadBack();
    void SetBound(bool bound) { m_bound = bound; }
    void DisconnectSignals();
    // After a (re)binding: refreshes the node's access, range and entries, then tells all of them.
    void Sync();

    TreeItem* GetItem() const { return m_item; }
    NodeMapAccess* GetNodeMapAccess() const { return m_nodeMapAccess; }
    QStringList GetEntries(bool update);
    int GetPrecision() const;
    qint8 GetRepresentation() const;

Q_SIGNALS:
    void ValueChanged(QVariant value);
    void AccessChanged(FeatureAccess access);
    void ReadableChanged(bool readable);
    void WriteableChanged(bool writeable);
    void EntriesChanged(QStringList entries);
    void Executed();
    void RangeChanged(QVariant min, QVariant max, QVariant inc);

public Q_SLOTS:
    virtual void OnValueChanged(QVariant value);
    virtual void OnAccessChanged(FeatureAccess access);
    virtual void OnRangeChanged(QVariant min, QVariant max, QVariant inc);

protected:
    virtual FeatureAccess ReadAccess();
    void SetAccess(FeatureAccess access);
    // The access told while bound but not available: -2 while disconnected, 0 for a node that is not
    // implemented (any more), 1 otherwise.
    FeatureAccess UnavailableAccess() const;
    // Tells the access the feature has now: the read one when available, UnavailableAccess otherwise.
    void RefreshAccess();
    void ForgetTold();

    TreeItem* m_item = nullptr;
    NodeMapAccess* m_nodeMapAccess = nullptr;
    bool m_readable = false;
    bool m_writeable = false;
    FeatureAccess m_access = FeatureAccess::NotAvailable;
    std::vector<QMetaObject::Connection> m_connections;
    QVariant m_lastValue;
    QVariant m_lastMin;
    QVariant m_lastMax;
    QVariant m_lastInc;
    bool m_bound = false;
};

class CameraFeatureAccessor : public CameraFeatureAccessorInterface
{
    Q_OBJECT

public:
    using CameraFeatureAccessorInterface::CameraFeatureAccessorInterface;
};

class SelectedCameraFeatureAccessor : public CameraFeatureAccessorInterface
{
    Q_OBJECT

public:
    explicit SelectedCameraFeatureAccessor(const QString& selectorEntry, QObject* parent = nullptr);

    // Any thread.
    QString SelectorEntry() const;

    void Bind() override;
    void UpdateValue() override;
    void EmitRange() override;
    QVariant GetValue(bool update) override;
    void SetValue(const QVariant& value, ValueType type) override;
    QVariant GetMinimum(bool update) override;
    QVariant GetMaximum(bool update) override;
    QVariant GetIncrement(bool update) override;
    void IncrementValue() override;
    void DecrementValue() override;
    void Execute(bool wait) override;
    bool IsItemAvailable() const override;
    bool WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value, ValueType type) const override;

protected:
    FeatureAccess ReadAccess() override;

    // The selector (the item's parent) currently stands on this accessor's entry.
    bool SelectorOnEntry() const;

    // Guards m_selectorEntry: the entry is read by asynchronous writes on their own thread and changed on
    // the GUI thread (SelectableCameraFeatureAccessor).
    mutable QMutex m_entryMutex;
    QString m_selectorEntry;
};

// A selector-dependent node whose entry is chosen at run time: while the selection is active it acts as
// SelectedCameraFeatureAccessor on the current entry, otherwise as the plain accessor (following whatever
// entry the selector stands on). Changing the entry or the mode re-binds and tells everything afresh.
class SelectableCameraFeatureAccessor : public SelectedCameraFeatureAccessor
{
    Q_OBJECT

public:
    explicit SelectableCameraFeatureAccessor(const QString& selectorEntry = QString(), bool selectionActive = false,
                                             QObject* parent = nullptr);

    void SetSelectorEntry(const QString& entry);
    void SetSelectionActive(bool active);
    bool IsSelectionActive() const { return m_selectionActive; }

    void Bind() override;
    void UpdateValue() override;
    void EmitRange() override;
    QVariant GetValue(bool update) override;
    void SetValue(const QVariant& value, ValueType type) override;
    QVariant GetMinimum(bool update) override;
    QVariant GetMaximum(bool update) override;
    QVariant GetIncrement(bool update) override;
    void IncrementValue() override;
    void DecrementValue() override;
    void Execute(bool wait) override;
    bool IsItemAvailable() const override;
    bool WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value, ValueType type) const override;

protected:
    FeatureAccess ReadAccess() override;

private:
    std::atomic<bool> m_selectionActive;
};
