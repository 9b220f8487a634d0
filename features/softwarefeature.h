// Software features: features without a node, whose value lives in the object (host image processing,
// auto-feature and inference parameters). A provider derives from these and reads the stored value when
// it processes its next frame; the typed setters are virtual so that a subclass can add what a write does.
//
// Threads: GUI thread, like every feature. A provider on a processing thread reads through its own copy
// or a queued call; the stored values are not guarded by a mutex.
#pragma once

#include "features/featureinterface.h"

#include <QPair>
#include <QVector>

#include <memory>

// Names and texts of a software feature, and whether it may be written.
class SoftwareFeatureAccessor : public FeatureAccessorInterface
{
public:
    SoftwareFeatureAccessor(const QString& featureName, FeatureType featureType, bool isReadOnly = false)
        : name(featureName), type(featureType), readOnly(isReadOnly)
    {
    }

    bool IsAvailable() const override { return m_isAvailableFunction(); }
    QString GetName() const override { return name; }
    QString GetDisplayName() const override { return displayName.isEmpty() ? name : displayName; }
    QString GetTooltip() const override { return tooltip; }
    QString GetDescription() const override { return description; }
    FeatureType GetType() const override { return type; }
    FeatureAccess GetAccess() override
    {
        if (!IsAvailable())
            return FeatureAccess::NotAvailable;
        return readOnly ? FeatureAccess::ReadOnly : FeatureAccess::ReadWrite;
    }
    int GetVisibility() const override { return int(FeatureVisibility::Beginner); }
    bool IsWriteable() override { return IsAvailable() && !readOnly; }
    bool IsReadable() override { return IsAvailable(); }
    bool IsAccessible() override { return IsAvailable(); }
    void UpdateAccess() override {}

    QString name;
    QString displayName;
    QString tooltip;
    QString description;
    FeatureType type;
    bool readOnly = false;
};

// The part every typed software feature shares: access edges and the accessor.
template <class Interface> class SoftwareFeatureT : public Interface
{
public:
    SoftwareFeatureT(const QString& name, FeatureType type, QObject* parent)
        : Interface(parent), m_accessor(std::make_unique<SoftwareFeatureAccessor>(name, type))
    {
        m_lastAccess = m_accessor->GetAccess();
    }

    FeatureType GetType() const override { return m_accessor->GetType(); }
    FeatureAccess GetAccess() override { return m_accessor->GetAccess(); }
    FeatureVisibility GetVisibility() const override { return FeatureVisibility::Beginner; }
    QString GetName() const override { return m_accessor->GetName(); }
    QString GetTooltip() const override { return m_accessor->GetTooltip(); }
    QString GetDescription() const override { return m_accessor->GetDescription(); }
    QString GetDisplayName() const override { return m_accessor->GetDisplayName(); }
    bool IsAvailable() const override { return m_accessor->IsAvailable(); }
    bool IsWriteable() override { return m_accessor->IsWriteable(); }
    bool IsReadable() override { return m_accessor->IsReadable(); }
    bool IsAccessible() override { return m_accessor->IsAccessible(); }
    void UpdateValue() override {}
    FeatureAccessorInterface* GetAccessor() const override { return m_accessor.get(); }
    SoftwareFeatureAccessor& Accessor() { return *m_accessor; }
    // Replaces the accessor, e.g. by one that asks a provider for availability (AflFeatureAccessorInterface,
    // IflFeatureAccessorInterface); a null accessor is ignored. Tells the access edge like UpdateAccess.
    void SetAccessor(std::unique_ptr<SoftwareFeatureAccessor> accessor)
    {
        if (!accessor)
            return;
        m_accessor = std::move(accessor);
        UpdateAccess();
    }

    // Call after the availability function's answer or readOnly may have changed: tells the access edge.
    void UpdateAccess() override
    {
        const FeatureAccess access = m_accessor->GetAccess();
        if (access == m_lastAccess)
            return;
        const bool wasReadable = IsReadableAccess(m_lastAccess);
        const bool wasWriteable = IsWriteableAccess(m_lastAccess);
        m_lastAccess = access;
        Q_EMIT this->AccessChanged(access);
        if (wasReadable != IsReadableAccess(access) || wasWriteable != IsWriteableAccess(access))
        {
            Q_EMIT this->ReadableChanged(IsReadableAccess(access));
            Q_EMIT this->WriteableChanged(IsWriteableAccess(access));
        }
    }
    void SetAvailableFunction(std::function<bool()> function)
    {
        m_accessor->SetAvailableFunction(std::move(function));
        UpdateAccess();
    }
    void SetReadOnly(bool readOnly)
    {
        m_accessor->readOnly = readOnly;
        UpdateAccess();
    }

protected:
    std::unique_ptr<SoftwareFeatureAccessor> m_accessor; // never null
    FeatureAccess m_lastAccess;
};

class IntegerSoftwareFeature : public SoftwareFeatureT<IntegerFeatureInterface>
{
    Q_OBJECT

public:
    IntegerSoftwareFeature(const QString& name, int64_t minimum, int64_t maximum, int64_t increment, int64_t value,
                           QObject* parent = nullptr);

    qint8 GetRepresentation() override { return IsAvailable() ? qint8(0) : qint8(-2); }
    void SetIntValue(const int64_t& value) override;
    void SetIntValueAsync(const int64_t& value) override { SetIntValue(value); }
    int64_t GetIntValue(bool) override { return IsAvailable() ? value : 0; }
    int64_t GetMaximum(bool) override { return IsAvailable() ? maximum : 0; }
    int64_t GetMinimum(bool) override { return IsAvailable() ? minimum : 0; }
    int64_t GetIncrement(bool) override { return IsAvailable() ? increment : 0; }
    void EmitRange() override { Q_EMIT IntRangeChanged(minimum, maximum, increment); }
    void EmitValueChanged() override;

    // The stored value regardless of availability, and a store by the owner (tells a change like a write).
    int64_t GetIntValueStored() const { return value; }
    void StoreValue(int64_t newValue);

public Q_SLOTS:
    void SetRange(int64_t min, int64_t max, int64_t inc);
    void SetMin(int64_t min) { SetRange(min, maximum, increment); }
    void SetMax(int64_t max) { SetRange(minimum, max, increment); }
    void SetInc(int64_t inc) { SetRange(minimum, maximum, inc); }

protected:
    int64_t minimum;
    int64_t maximum;
    int64_t increment;
    int64_t value;
};

class DoubleSoftwareFeature : public SoftwareFeatureT<DoubleFeatureInterface>
{
    Q_OBJECT

public:
    DoubleSoftwareFeature(const QString& name, double minimum, double maximum, double increment, double value,
                          int precision = 2, QObject* parent = nullptr);

    int GetPrecision() override { return IsAvailable() ? precision : 0; }
    void SetDoubleValue(const double& value) override;
    void SetDoubleValueAsync(const double& value) override { SetDoubleValue(value); }
    double GetDoubleValue(bool) override { return IsAvailable() ? value : 0.0; }
    double GetMaximum(bool) override { return IsAvailable() ? maximum : 0.0; }
    double GetMinimum(bool) override { return IsAvailable() ? minimum : 0.0; }
    double GetIncrement(bool) override { return IsAvailable() ? increment : 0.0; }
    void EmitRange() override { Q_EMIT DoubleRangeChanged(minimum, maximum, increment); }
    void EmitValueChanged() override;

    // The stored value regardless of availability, and a store by the owner, also while read-only (tells a
    // change like a write).
    double GetDoubleValueStored() const { return value; }
    void StoreValue(double newValue);

public Q_SLOTS:
    void SetRange(double min, double max, double inc);
    void SetMin(double min) { SetRange(min, maximum, increment); }
    void SetMax(double max) { SetRange(minimum, max, increment); }
    void SetInc(double inc) { SetRange(minimum, maximum, inc); }

protected:
    double minimum;
    double maximum;
    double increment;
    double value;
    int precision;
};

class BooleanSoftwareFeature : public SoftwareFeatureT<BooleanFeatureInterface>
{
    Q_OBJECT

public:
    BooleanSoftwareFeature(const QString& name, bool value, QObject* parent = nullptr);

    void SetBoolValue(bool value) override;
    bool GetBoolValue(bool) override { return IsAvailable() && value; }
    QString GetValueAsString() override { return GetBoolValue(false) ? QStringLiteral("1") : QStringLiteral("0"); }
    void EmitValueChanged() override;
    // A store by the owner, also while read-only.
    void StoreValue(bool newValue);

protected:
    bool value;
};

class EnumerationSoftwareFeature : public SoftwareFeatureT<EnumerationFeatureInterface>
{
    Q_OBJECT

public:
    using Entries = QVector<QPair<int64_t, QString>>;
    EnumerationSoftwareFeature(const QString& name, const Entries& entries, int64_t value, QObject* parent = nullptr);

    // An unknown number or text is ignored.
    void SetIntValue(const int64_t& value) override;
    void SetStringValue(const QString& value) override;
    int64_t GetIntValue(bool) override { return IsAvailable() ? value : 0; }
    QString GetStringValue(bool) override;
    QStringList GetEntries(bool) override;
    void SetEntries(const Entries& entries);
    void EmitValueChanged() override;
    // A store by the owner, also while read-only; an unknown number is ignored.
    void StoreValue(int64_t newValue);

protected:
    Entries entries;
    int64_t value;
};

class CommandSoftwareFeature : public SoftwareFeatureT<CommandFeatureInterface>
{
    Q_OBJECT

public:
    explicit CommandSoftwareFeature(const QString& name, QObject* parent = nullptr);

    // The base tells Executed; a provider overrides to act first.
    void Execute(bool wait) override;
    QString GetValueAsString() override { return QString(); }
    void EmitValueChanged() override {}
};

class StringSoftwareFeature : public SoftwareFeatureT<StringFeatureInterface>
{
    Q_OBJECT

public:
    StringSoftwareFeature(const QString& name, const QString& value, QObject* parent = nullptr);

    void SetStringValue(const QString& value) override;
    QString GetStringValue(bool) override { return IsAvailable() ? value : QString(); }
    void EmitValueChanged() override;
    // A store by the owner, also while read-only.
    void StoreValue(const QString& newValue);

protected:
    QString value;
};
