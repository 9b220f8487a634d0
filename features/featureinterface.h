// The feature interfaces: what every control of the program talks to, whether the value lives in a camera
// node (camera features) or in the process (software features).
//
// Contract for every implementation:
//   - getters never emit and setters do not emit by themselves; signals come from the source after a write
//     was read back, so the writing control sees what the source took;
//   - the change signals are edge-triggered (only a difference to the last value told is signalled);
//     triggerAllChangedSignals() is the level-triggered exception, for a control that has just attached;
//   - a feature that is not available reports access -2 (Unbound) or 1, getters give neutral values
//     (0, 0.0, empty) and setters do nothing.
//
// Threads: features live on the GUI thread; their signals reach controls there. Only the ...Async setters
// start work on another thread (see the implementations).
#pragma once

#include "features/featureaccessorinterface.h"
#include "nodetree/featuredefs.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <memory>
#include <vector>

// The type tag of a generic value on its way through an accessor.
enum class ValueType : int
{
    Integer = 1,
    Double = 2,
    String = 3,
    Boolean = 4,
    Other = 5,
};

// GenICam visibility.
enum class FeatureVisibility : int
{
    Beginner = 0,
    Expert = 1,
    Guru = 2,
    Invisible = 3,
};

class FeatureInterface : public QObject
{
    Q_OBJECT

public:
    explicit FeatureInterface(QObject* parent = nullptr) : QObject(parent) {}
    ~FeatureInterface() override = default;

    virtual FeatureType GetType() const = 0;
    // Refreshes the cached access first.
    virtual FeatureAccess GetAccess() = 0;
    virtual FeatureVisibility GetVisibility() const = 0;
    virtual QString GetName() const = 0;
    virtual QString GetTooltip() const = 0;
    virtual QString GetDescription() const = 0;
    virtual QString GetDisplayName() const = 0;
    virtual QString GetValueAsString() = 0;
    virtual bool IsAvailable() const = 0;
    // Re-reads the access; fires the access signals on a change.
    virtual void UpdateAccess() = 0;
    virtual bool IsWriteable() = 0;
    virtual bool IsReadable() = 0;
    virtual bool IsAccessible() = 0;
    // Re-reads the value from the source; fires the value signals on a change.
    virtual void UpdateValue() = 0;
    virtual FeatureAccessorInterface* GetAccessor() const = 0;

Q_SIGNALS:
    void ValueChanged(QVariant value);
    void AccessChanged(FeatureAccess access);
    void ReadableChanged(bool readable);
    void WriteableChanged(bool writeable);

public Q_SLOTS:
    // Level-triggered: the access group, then the value, then (numeric kinds) the range, changed or not.
    virtual void triggerAllChangedSignals();
    virtual void EmitValueChanged() = 0;
    virtual void EmitAccessChanged();

protected:
    // For a feature that is not available: what a control attached now must learn.
    void EmitUnavailable();
};

class BooleanFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual void SetBoolValue(bool value) = 0;
    virtual bool GetBoolValue(bool update) = 0;

Q_SIGNALS:
    void BoolValueChanged(bool value);
};

class CommandFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual void Execute(bool wait) = 0;

Q_SIGNALS:
    void Executed();
};

class DoubleFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual int GetPrecision() = 0;
    virtual void SetDoubleValue(const double& value) = 0;
    virtual void SetDoubleValueAsync(const double& value) = 0;
    virtual double GetDoubleValue(bool update) = 0;
    virtual double GetMaximum(bool update) = 0;
    virtual double GetMinimum(bool update) = 0;
    virtual double GetIncrement(bool update) = 0;
    virtual void IncrementValue();
    virtual void DecrementValue();
    // Limited to the cached minimum and maximum; no alignment.
    virtual double Clamp(double value);
    virtual void EmitRange() = 0;

    QString GetValueAsString() override;
    void triggerAllChangedSignals() override;

Q_SIGNALS:
    void DoubleValueChanged(double value);
    void DoubleRangeChanged(double min, double max, double inc);
};

class EnumerationFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual void SetIntValue(const int64_t& value) = 0;
    virtual void SetStringValue(const QString& value) = 0;
    virtual int64_t GetIntValue(bool update) = 0;
    virtual QString GetStringValue(bool update) = 0;
    virtual QStringList GetEntries(bool update) = 0;

    QString GetValueAsString() override { return GetStringValue(false); }
    void triggerAllChangedSignals() override;

Q_SIGNALS:
    void IntValueChanged(int64_t value);
    void StringValueChanged(QString value);
    void EntriesChanged(QStringList entries);
};

class IntegerFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    // -2 when not available.
    virtual qint8 GetRepresentation() = 0;
    virtual void SetIntValue(const int64_t& value) = 0;
    virtual void SetIntValueAsync(const int64_t& value) = 0;
    virtual int64_t GetIntValue(bool update) = 0;
    virtual int64_t GetMaximum(bool update) = 0;
    virtual int64_t GetMinimum(bool update) = 0;
    virtual int64_t GetIncrement(bool update) = 0;
    virtual void IncrementValue();
    virtual void DecrementValue();
    // Limited to the cached range and aligned to the increment counted from the minimum (a tie goes up).
    virtual int64_t Clamp(int64_t value);
    virtual void EmitRange() = 0;

    QString GetValueAsString() override;
    void triggerAllChangedSignals() override;

    // The text of a value by representation: 4 hexadecimal, 5 IPv4 address, 6 MAC address, else decimal.
    static QString FormatValue(int64_t value, qint8 representation);
    static int64_t ClampValue(int64_t value, int64_t minimum, int64_t maximum, int64_t increment);

Q_SIGNALS:
    void IntValueChanged(int64_t value);
    void IntRangeChanged(int64_t min, int64_t max, int64_t inc);
};

class RegisterFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual void SetData(const std::vector<uint8_t>& data) = 0;
    virtual std::vector<uint8_t> GetData(bool update) = 0;
    // Bytes of the register; 0 when not available.
    virtual int64_t GetLength() = 0;

    // Hexadecimal pairs separated by blanks.
    QString GetValueAsString() override;

Q_SIGNALS:
    void DataChanged(std::vector<uint8_t> value);
};

class StringFeatureInterface : public FeatureInterface
{
    Q_OBJECT

public:
    using FeatureInterface::FeatureInterface;
    virtual void SetStringValue(const QString& value) = 0;
    virtual QString GetStringValue(bool update) = 0;

    QString GetValueAsString() override { return GetStringValue(false); }

Q_SIGNALS:
    void StringValueChanged(QString value);
};

Q_DECLARE_METATYPE(std::vector<uint8_t>)
