#include "features/softwarefeature.h"

#include <cmath>

// --- Integer

IntegerSoftwareFeature::IntegerSoftwareFeature(const QString& name, int64_t min, int64_t max, int64_t inc,
                                               int64_t initial, QObject* parent)
    : SoftwareFeatureT<IntegerFeatureInterface>(name, FeatureType::Integer, parent), minimum(min), maximum(max),
      increment(inc), value(initial)
{
}

void IntegerSoftwareFeature::SetIntValue(const int64_t& newValue)
{
    if (IsWriteable())
        StoreValue(newValue);
}

void IntegerSoftwareFeature::StoreValue(int64_t newValue)
{
    if (newValue == value)
        return;
    value = newValue;
    Q_EMIT IntValueChanged(value);
    Q_EMIT ValueChanged(QVariant::fromValue<qlonglong>(value));
}

void IntegerSoftwareFeature::SetRange(int64_t min, int64_t max, int64_t inc)
{
    minimum = min;
    maximum = max;
    increment = inc;
    Q_EMIT IntRangeChanged(minimum, maximum, increment);
}

void IntegerSoftwareFeature::EmitValueChanged()
{
    if (!IsAvailable())
        return;
    Q_EMIT ValueChanged(QVariant::fromValue<qlonglong>(value));
    Q_EMIT IntValueChanged(value);
}

// --- Double

DoubleSoftwareFeature::DoubleSoftwareFeature(const QString& name, double min, double max, double inc, double initial,
                                             int decimals, QObject* parent)
    : SoftwareFeatureT<DoubleFeatureInterface>(name, FeatureType::Float, parent), minimum(min), maximum(max),
      increment(inc), value(initial), precision(decimals)
{
}

void DoubleSoftwareFeature::SetDoubleValue(const double& newValue)
{
    if (IsWriteable())
        StoreValue(newValue);
}

void DoubleSoftwareFeature::StoreValue(double newValue)
{
    if (!std::isfinite(newValue) || newValue == value)
        return;
    value = newValue;
    Q_EMIT DoubleValueChanged(value);
    Q_EMIT ValueChanged(QVariant(value));
}

void DoubleSoftwareFeature::SetRange(double min, double max, double inc)
{
    minimum = min;
    maximum = max;
    increment = inc;
    Q_EMIT DoubleRangeChanged(minimum, maximum, increment);
}

void DoubleSoftwareFeature::EmitValueChanged()
{
    if (!IsAvailable())
        return;
    Q_EMIT ValueChanged(QVariant(value));
    Q_EMIT DoubleValueChanged(value);
}

// --- Boolean

BooleanSoftwareFeature::BooleanSoftwareFeature(const QString& name, bool initial, QObject* parent)
    : SoftwareFeatureT<BooleanFeatureInterface>(name, FeatureType::Boolean, parent), value(initial)
{
}

void BooleanSoftwareFeature::SetBoolValue(bool newValue)
{
    if (IsWriteable())
        StoreValue(newValue);
}

void BooleanSoftwareFeature::StoreValue(bool newValue)
{
    if (newValue == value)
        return;
    value = newValue;
    Q_EMIT BoolValueChanged(value);
    Q_EMIT ValueChanged(QVariant(value));
}

void BooleanSoftwareFeature::EmitValueChanged()
{
    if (!IsAvailable())
        return;
    Q_EMIT ValueChanged(QVariant(value));
    Q_EMIT BoolValueChanged(value);
}

// --- Enumeration

EnumerationSoftwareFeature::EnumerationSoftwareFeature(const QString& name, const Entries& list, int64_t initial,
                                                       QObject* parent)
    : SoftwareFeatureT<EnumerationFeatureInterface>(name, FeatureType::Enumeration, parent), entries(list),
      value(initial)
{
}

void EnumerationSoftwareFeature::SetIntValue(const int64_t& newValue)
{
    if (IsWriteable())
        StoreValue(newValue);
}

void EnumerationSoftwareFeature::StoreValue(int64_t newValue)
{
    if (newValue == value)
        return;
    for (const auto& entry : entries)
        if (entry.first == newValue)
        {
            value = newValue;
            Q_EMIT IntValueChanged(value);
            Q_EMIT StringValueChanged(entry.second);
            Q_EMIT ValueChanged(QVariant(entry.second));
            return;
        }
}

void EnumerationSoftwareFeature::SetStringValue(const QString& text)
{
    for (const auto& entry : entries)
        if (entry.second == text)
        {
            SetIntValue(entry.first);
            return;
        }
}

QString EnumerationSoftwareFeature::GetStringValue(bool)
{
    if (!IsAvailable())
        return QString();
    for (const auto& entry : entries)
        if (entry.first == value)
            return entry.second;
    return QString();
}

QStringList EnumerationSoftwareFeature::GetEntries(bool)
{
    QStringList list;
    if (!IsAvailable())
        return list;
    for (const auto& entry : entries)
        list << entry.second;
    return list;
}

void EnumerationSoftwareFeature::SetEntries(const Entries& list)
{
    entries = list;
    Q_EMIT EntriesChanged(GetEntries(false));
}

void EnumerationSoftwareFeature::EmitValueChanged()
{
    if (!IsAvailable())
        return;
    const QString text = GetStringValue(false);
    Q_EMIT ValueChanged(QVariant(text));
    Q_EMIT IntValueChanged(value);
    Q_EMIT StringValueChanged(text);
}

// --- Command, string

CommandSoftwareFeature::CommandSoftwareFeature(const QString& name, QObject* parent)
    : SoftwareFeatureT<CommandFeatureInterface>(name, FeatureType::Command, parent)
{
}

void CommandSoftwareFeature::Execute(bool)
{
    if (IsWriteable())
        Q_EMIT Executed();
}

StringSoftwareFeature::StringSoftwareFeature(const QString& name, const QString& initial, QObject* parent)
    : SoftwareFeatureT<StringFeatureInterface>(name, FeatureType::String, parent), value(initial)
{
}

void StringSoftwareFeature::SetStringValue(const QString& newValue)
{
    if (IsWriteable())
        StoreValue(newValue);
}

void StringSoftwareFeature::StoreValue(const QString& newValue)
{
    if (newValue == value)
        return;
    value = newValue;
    Q_EMIT StringValueChanged(value);
    Q_EMIT ValueChanged(QVariant(value));
}

void StringSoftwareFeature::EmitValueChanged()
{
    if (!IsAvailable())
        return;
    Q_EMIT ValueChanged(QVariant(value));
    Q_EMIT StringValueChanged(value);
}
