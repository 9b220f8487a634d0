#include "features/featureinterface.h"

#include <cmath>

void FeatureInterface::EmitUnavailable()
{
    Q_EMIT ReadableChanged(false);
    Q_EMIT WriteableChanged(false);
    Q_EMIT AccessChanged(FeatureAccess::NotAvailable);
}

void FeatureInterface::triggerAllChangedSignals()
{
    if (!IsAvailable())
    {
        EmitUnavailable();
        return;
    }
    EmitAccessChanged();
    EmitValueChanged();
}

void FeatureInterface::EmitAccessChanged()
{
    if (!IsAvailable())
        return;
    UpdateAccess();
    Q_EMIT AccessChanged(GetAccess());
    Q_EMIT ReadableChanged(IsReadable());
    Q_EMIT WriteableChanged(IsWriteable());
}

// --- Double

void DoubleFeatureInterface::IncrementValue()
{
    if (!IsAvailable())
        return;
    const double inc = GetIncrement(false);
    SetDoubleValue(Clamp(GetDoubleValue(false) + (inc > 0 ? inc : 1.0)));
}

void DoubleFeatureInterface::DecrementValue()
{
    if (!IsAvailable())
        return;
    const double inc = GetIncrement(false);
    SetDoubleValue(Clamp(GetDoubleValue(false) - (inc > 0 ? inc : 1.0)));
}

double DoubleFeatureInterface::Clamp(double value)
{
    if (!IsAvailable() || !std::isfinite(value))
        return value;
    const double minimum = GetMinimum(false);
    const double maximum = GetMaximum(false);
    if (minimum > maximum)
        return value;
    return std::min(std::max(value, minimum), maximum);
}

QString DoubleFeatureInterface::GetValueAsString()
{
    return QString::number(GetDoubleValue(false), 'g', GetPrecision());
}

void DoubleFeatureInterface::triggerAllChangedSignals()
{
    FeatureInterface::triggerAllChangedSignals();
    if (IsAvailable())
        EmitRange();
}

// --- Enumeration

void EnumerationFeatureInterface::triggerAllChangedSignals()
{
    if (!IsAvailable())
    {
        EmitUnavailable();
        return;
    }
    EmitAccessChanged();
    Q_EMIT EntriesChanged(GetEntries(false));
    EmitValueChanged();
}

// --- Integer

void IntegerFeatureInterface::IncrementValue()
{
    if (!IsAvailable())
        return;
    const int64_t inc = GetIncrement(false);
    SetIntValue(Clamp(GetIntValue(false) + (inc > 0 ? inc : 1)));
}

void IntegerFeatureInterface::DecrementValue()
{
    if (!IsAvailable())
        return;
    const int64_t inc = GetIncrement(false);
    SetIntValue(Clamp(GetIntValue(false) - (inc > 0 ? inc : 1)));
}

int64_t IntegerFeatureInterface::ClampValue(int64_t value, int64_t minimum, int64_t maximum, int64_t increment)
{
    if (minimum > maximum)
        return value;
    value = std::min(std::max(value, minimum), maximum);
    if (increment <= 0) // -1: no increment
        return value;
    // In unsigned arithmetic so that a range spanning all of int64 cannot overflow.
    const uint64_t offset = uint64_t(value) - uint64_t(minimum);
    const uint64_t r = offset % uint64_t(increment);
    if (r == 0)
        return value;
    if (r * 2 >= uint64_t(increment))
    {
        const uint64_t up = uint64_t(increment) - r;
        if (uint64_t(maximum) - uint64_t(value) >= up)
            return int64_t(uint64_t(value) + up);
    }
    return int64_t(uint64_t(value) - r);
}

int64_t IntegerFeatureInterface::Clamp(int64_t value)
{
    if (!IsAvailable())
        return value;
    return ClampValue(value, GetMinimum(false), GetMaximum(false), GetIncrement(false));
}

QString IntegerFeatureInterface::FormatValue(int64_t value, qint8 representation)
{
    const uint64_t v = uint64_t(value);
    switch (representation)
    {
    case 4:
        return QStringLiteral("0x%1").arg(v, 0, 16);
    case 5:
        return QStringLiteral("%1.%2.%3.%4")
            .arg((v >> 24) & 0xFF)
            .arg((v >> 16) & 0xFF)
            .arg((v >> 8) & 0xFF)
            .arg(v & 0xFF);
    case 6: {
        QStringList parts;
        for (int shift = 40; shift >= 0; shift -= 8)
            parts << QStringLiteral("%1").arg((v >> shift) & 0xFF, 2, 16, QLatin1Char('0'));
        return parts.join(QLatin1Char(':'));
    }
    default:
        return QString::number(value);
    }
}

QString IntegerFeatureInterface::GetValueAsString()
{
    return FormatValue(GetIntValue(false), GetRepresentation());
}

void IntegerFeatureInterface::triggerAllChangedSignals()
{
    FeatureInterface::triggerAllChangedSignals();
    if (IsAvailable())
        EmitRange();
}

// --- Register

QString RegisterFeatureInterface::GetValueAsString()
{
    const std::vector<uint8_t> data = GetData(false);
    return QByteArray(reinterpret_cast<const char*>(data.data()), int(data.size())).toHex(' ').toUpper();
}
