#include "features/aflautomode.h"

#include "common/logmessagesender.h"

#include <QSignalBlocker>

#include <exception>

namespace {

const char* kSetIntValue = "void AflAutoMode::SetIntValue(const int64_t &)";
const char* kUpdateValue = "void AflAutoMode::UpdateValue()";

EnumerationSoftwareFeature::Entries ModeEntries()
{
    return {{AflAutoMode::Off, QStringLiteral("Off")},
            {AflAutoMode::Once, QStringLiteral("Once")},
            {AflAutoMode::Continuous, QStringLiteral("Continuous")}};
}

bool IsMode(int64_t mode)
{
    return mode == AflAutoMode::Off || mode == AflAutoMode::Once || mode == AflAutoMode::Continuous;
}

} // namespace

AflAutoMode::AflAutoMode(const QString& name, AutoModeFeatureTarget target, QObject* parent)
    : EnumerationSoftwareFeature(name, ModeEntries(), Off, parent), m_target(target)
{
}

void AflAutoMode::SetModeFunctions(Getter getter, Setter setter)
{
    m_getter = std::move(getter);
    m_setter = std::move(setter);
}

QString AflAutoMode::GetStringValue(bool update)
{
    if (IsAvailable() && value == Invalid)
        return QStringLiteral("Invalid");
    return EnumerationSoftwareFeature::GetStringValue(update);
}

void AflAutoMode::SetIntValue(const int64_t& mode)
{
    if (!IsWriteable() || !IsMode(mode) || mode == value)
        return;
    if (m_setter)
    {
        try
        {
            m_setter(mode);
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(m_logOrigin, QString::fromLatin1(kSetIntValue),
                                    QStringLiteral("Failed to set AFL Auto mode. ") + QString::fromUtf8(e.what()));
            return;
        }
    }
    Store(mode);
}

void AflAutoMode::SetStringValue(const QString& text)
{
    for (const auto& entry : entries)
        if (entry.second == text)
        {
            SetIntValue(entry.first);
            return;
        }
}

void AflAutoMode::UpdateValue()
{
    if (!m_getter || !IsAvailable())
        return;
    int64_t mode = Invalid;
    try
    {
        mode = m_getter();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(m_logOrigin, QString::fromLatin1(kUpdateValue),
                                QStringLiteral("Failed to get AFL Auto mode. ") + QString::fromUtf8(e.what()));
        return;
    }
    Store(IsMode(mode) ? mode : Invalid);
}

void AflAutoMode::SetModeWithoutSignals(int64_t mode)
{
    const QSignalBlocker blocker(this);
    SetIntValue(mode);
}

void AflAutoMode::Store(int64_t mode)
{
    if (mode == value)
        return;
    value = mode;
    const QString text = GetStringValue(false);
    Q_EMIT IntValueChanged(value);
    Q_EMIT StringValueChanged(text);
    Q_EMIT ValueChanged(QVariant(text));
}
