// Camera features: one GenICam node seen as a FeatureInterface, through a CameraFeatureAccessorInterface.
// The accessor can be unbound and rebound (a camera hands over its NodeMapAccess, or a new one after a
// reconnection) while the feature object and the controls on it stay.
//
// Threads: GUI thread. SetIntValueAsync/SetDoubleValueAsync run the write on a std::async thread of their
// own; at most one write is in flight per feature. A value that arrives while one is in flight is kept as
// the pending one (a newer value replaces it) and the running task writes it before it ends, so a burst
// ends on its last value. m_pendingMutex guards m_pending and m_taskRunning. The destructor, SetSource and
// Unbind wait for the task. The task holds the tree's TreeTicket and writes only through
// NodeMapAccess::WithTree: a tree replaced (SetNodeMap) or an access destroyed meanwhile is not touched, and
// the replacement waits for a write that runs. When the task ends, the value is read back on the GUI thread
// and told to every control of the feature (a selected node's cache need not hold its entry's value).
#pragma once

#include "features/camerafeatureaccessor.h"
#include "features/featureinterface.h"
#include "nodetree/nodemapaccess.h"

#include <QByteArray>

#include <future>
#include <memory>
#include <mutex>
#include <optional>

class TreeItem;

// How NodeMapAccess keeps the camera features in its list bound across disconnection, reconnection and a new
// tree. GUI thread.
class CameraFeatureBinding
{
public:
    virtual ~CameraFeatureBinding() = default;
    // Binds to the node of that name (unbound when the tree lacks it) and tells everything afresh.
    virtual void BindTo(NodeMapAccess* access, const QString& nodeName) = 0;
    virtual bool IsBoundTo(const NodeMapAccess* access) const = 0;
    // The camera is gone: tell the access group as for a feature that has gone; the binding stays.
    virtual void Disconnected() = 0;
    // Re-reads access, range, entries and value and tells all of them.
    virtual void Resync() = 0;
};

// The part every typed camera feature shares: forwarding to the accessor and relaying its signals.
template <class Interface> class CameraFeatureT : public Interface, public CameraFeatureBinding
{
public:
    explicit CameraFeatureT(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
        : Interface(parent), m_accessor(accessor ? std::move(accessor) : std::make_shared<CameraFeatureAccessor>())
    {
        auto* acc = m_accessor.get();
        QObject::connect(acc, &CameraFeatureAccessorInterface::AccessChanged, this, &FeatureInterface::AccessChanged);
        QObject::connect(acc, &CameraFeatureAccessorInterface::ReadableChanged, this,
                         &FeatureInterface::ReadableChanged);
        QObject::connect(acc, &CameraFeatureAccessorInterface::WriteableChanged, this,
                         &FeatureInterface::WriteableChanged);
        QObject::connect(acc, &CameraFeatureAccessorInterface::ValueChanged, this, [this](const QVariant& value) {
            Q_EMIT this->ValueChanged(value);
            EmitTyped(value);
        });
        QObject::connect(
            acc, &CameraFeatureAccessorInterface::RangeChanged, this,
            [this](const QVariant& min, const QVariant& max, const QVariant& inc) { EmitTypedRange(min, max, inc); });
    }
    ~CameraFeatureT() override
    {
        WaitForWrite();
        QObject::disconnect(m_accessor.get(), nullptr, this, nullptr);
    }

    // Binds to an item of a NodeMapAccess and tells everything afresh.
    // Both wait for an asynchronous write in flight first: its task holds the old item.
    void SetSource(TreeItem* item, NodeMapAccess* nodeMapAccess)
    {
        WaitForWrite();
        m_accessor->SetSource(item, nodeMapAccess);
        m_accessor->Sync();
    }
    // By node name, as a camera hands over its NodeMapAccess: a name the map lacks leaves the feature unbound.
    void SetSource(NodeMapAccess* nodeMapAccess, const QString& nodeName)
    {
        TreeItem* item = nodeMapAccess ? nodeMapAccess->FindItem(nodeName) : nullptr;
        if (!item)
        {
            Unbind();
            return;
        }
        SetSource(item, nodeMapAccess);
    }
    void Unbind()
    {
        WaitForWrite();
        m_accessor->Unbind();
    }

    void BindTo(NodeMapAccess* access, const QString& nodeName) override { SetSource(access, nodeName); }
    bool IsBoundTo(const NodeMapAccess* access) const override
    {
        return m_accessor->GetItem() && m_accessor->GetNodeMapAccess() == access;
    }
    void Disconnected() override { m_accessor->Disconnected(); }
    void Resync() override { m_accessor->Sync(); }

    FeatureType GetType() const override { return m_accessor->GetType(); }
    FeatureAccess GetAccess() override { return m_accessor->GetAccess(); }
    FeatureVisibility GetVisibility() const override { return FeatureVisibility(m_accessor->GetVisibility()); }
    QString GetName() const override { return m_accessor->GetName(); }
    QString GetTooltip() const override { return m_accessor->GetTooltip(); }
    QString GetDescription() const override { return m_accessor->GetDescription(); }
    QString GetDisplayName() const override { return m_accessor->GetDisplayName(); }
    bool IsAvailable() const override { return m_accessor->IsAvailable(); }
    void UpdateAccess() override { m_accessor->UpdateAccess(); }
    bool IsWriteable() override { return m_accessor->IsWriteable(); }
    bool IsReadable() override { return m_accessor->IsReadable(); }
    bool IsAccessible() override { return m_accessor->IsAccessible(); }
    void UpdateValue() override { m_accessor->UpdateValue(); }
    FeatureAccessorInterface* GetAccessor() const override { return m_accessor.get(); }
    CameraFeatureAccessorInterface* GetCameraAccessor() const { return m_accessor.get(); }

    void EmitValueChanged() override
    {
        if (!IsAvailable())
            return;
        const QVariant value = m_accessor->GetValue(true);
        Q_EMIT this->ValueChanged(value);
        EmitTyped(value);
    }

protected:
    void WaitForWrite()
    {
        if (m_asyncWrite.valid())
            m_asyncWrite.wait();
    }
    virtual void EmitTyped(const QVariant& value) = 0;
    virtual void EmitTypedRange(const QVariant&, const QVariant&, const QVariant&) {}

    // Starts (or feeds) the one asynchronous write of this feature.
    void WriteAsync(const QVariant& value, ValueType type)
    {
        if (!IsAvailable())
            return;
        {
            std::lock_guard<std::mutex> lock(m_pendingMutex);
            if (m_asyncWrite.valid() && m_asyncWrite.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
            {
                if (m_taskRunning)
                {
                    m_pending = value;
                    return;
                }
            }
            m_taskRunning = true;
        }
        // The binding is taken here, on the GUI thread; the task uses nothing else of the accessor, and the
        // item and access only while the ticket says that the tree they belong to still stands.
        TreeItem* item = m_accessor->GetItem();
        NodeMapAccess* access = m_accessor->GetNodeMapAccess();
        const TreeTicket ticket = access ? access->GetTreeTicket() : TreeTicket();
        auto accessor = m_accessor;
        auto task = [this, accessor, item, access, ticket, value, type] {
            QVariant next = value;
            for (;;)
            {
                NodeMapAccess::WithTree(ticket, [&] { accessor->WriteDirect(item, access, next, type); });
                std::lock_guard<std::mutex> lock(m_pendingMutex);
                if (!m_pending)
                {
                    m_taskRunning = false;
                    // The accessor lives on the GUI thread; a queued call to a destroyed one is dropped.
                    QMetaObject::invokeMethod(
                        accessor.get(), [raw = accessor.get()] { raw->ReadBack(); }, Qt::QueuedConnection);
                    return;
                }
                next = *m_pending;
                m_pending.reset();
            }
        };
        try
        {
            m_asyncWrite = std::async(std::launch::async, task).share();
        }
        catch (const std::system_error& e)
        {
            if (e.code() != std::errc::resource_unavailable_try_again)
                throw;
            m_asyncWrite = std::async(std::launch::deferred, task).share();
            m_asyncWrite.wait();
        }
    }

    std::shared_ptr<CameraFeatureAccessorInterface> m_accessor;
    std::shared_future<void> m_asyncWrite;
    std::mutex m_pendingMutex;
    std::optional<QVariant> m_pending;
    bool m_taskRunning = false;
};

class IntegerCameraFeature : public CameraFeatureT<IntegerFeatureInterface>
{
    Q_OBJECT

public:
    explicit IntegerCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                  QObject* parent = nullptr);

    qint8 GetRepresentation() override { return m_accessor->GetRepresentation(); }
    void SetIntValue(const int64_t& value) override;
    void SetIntValueAsync(const int64_t& value) override;
    int64_t GetIntValue(bool update) override;
    int64_t GetMaximum(bool update) override;
    int64_t GetMinimum(bool update) override;
    int64_t GetIncrement(bool update) override;
    void EmitRange() override { m_accessor->EmitRange(); }
    // Waits for the asynchronous write (and the values it still had to write); false on timeout.
    bool WaitForAsyncWrite(int timeoutMs);

protected:
    void EmitTyped(const QVariant& value) override;
    void EmitTypedRange(const QVariant& min, const QVariant& max, const QVariant& inc) override;
};

class DoubleCameraFeature : public CameraFeatureT<DoubleFeatureInterface>
{
    Q_OBJECT

public:
    explicit DoubleCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                 QObject* parent = nullptr);

    int GetPrecision() override { return m_accessor->GetPrecision(); }
    void SetDoubleValue(const double& value) override;
    void SetDoubleValueAsync(const double& value) override;
    double GetDoubleValue(bool update) override;
    double GetMaximum(bool update) override;
    double GetMinimum(bool update) override;
    double GetIncrement(bool update) override;
    void EmitRange() override { m_accessor->EmitRange(); }
    bool WaitForAsyncWrite(int timeoutMs);

protected:
    void EmitTyped(const QVariant& value) override;
    void EmitTypedRange(const QVariant& min, const QVariant& max, const QVariant& inc) override;
};

class EnumerationCameraFeature : public CameraFeatureT<EnumerationFeatureInterface>
{
    Q_OBJECT

public:
    explicit EnumerationCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                      QObject* parent = nullptr);

    void SetIntValue(const int64_t& value) override;
    void SetStringValue(const QString& value) override;
    int64_t GetIntValue(bool update) override;
    QString GetStringValue(bool update) override;
    QStringList GetEntries(bool update) override { return m_accessor->GetEntries(update); }

protected:
    void EmitTyped(const QVariant& value) override;
};

class BooleanCameraFeature : public CameraFeatureT<BooleanFeatureInterface>
{
    Q_OBJECT

public:
    explicit BooleanCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                  QObject* parent = nullptr);

    void SetBoolValue(bool value) override;
    bool GetBoolValue(bool update) override;
    QString GetValueAsString() override { return GetBoolValue(false) ? QStringLiteral("1") : QStringLiteral("0"); }

protected:
    void EmitTyped(const QVariant& value) override { Q_EMIT BoolValueChanged(value.toBool()); }
};

class CommandCameraFeature : public CameraFeatureT<CommandFeatureInterface>
{
    Q_OBJECT

public:
    explicit CommandCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                  QObject* parent = nullptr);

    void Execute(bool wait) override;
    QString GetValueAsString() override { return QString(); }

protected:
    void EmitTyped(const QVariant&) override {}
};

class RegisterCameraFeature : public CameraFeatureT<RegisterFeatureInterface>
{
    Q_OBJECT

public:
    explicit RegisterCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                   QObject* parent = nullptr);

    void SetData(const std::vector<uint8_t>& data) override;
    std::vector<uint8_t> GetData(bool update) override;
    int64_t GetLength() override;

protected:
    void EmitTyped(const QVariant& value) override;
};

class StringCameraFeature : public CameraFeatureT<StringFeatureInterface>
{
    Q_OBJECT

public:
    explicit StringCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor = nullptr,
                                 QObject* parent = nullptr);

    void SetStringValue(const QString& value) override;
    QString GetStringValue(bool update) override;

protected:
    void EmitTyped(const QVariant& value) override { Q_EMIT StringValueChanged(value.toString()); }
};
