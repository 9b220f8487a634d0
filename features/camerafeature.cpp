#include "features/camerafeature.h"

#include "nodetree/treeitem.h"
#include "orna/core/exception.h"
#include "orna/core/nodes.h"

#include <QDeadlineTimer>

namespace {

template <class Future> bool WaitFuture(const Future& future, int timeoutMs)
{
    return !future.valid() || future.wait_for(std::chrono::milliseconds(timeoutMs)) == std::future_status::ready;
}

} // namespace

// --- Integer

IntegerCameraFeature::IntegerCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<IntegerFeatureInterface>(std::move(accessor), parent)
{
}

void IntegerCameraFeature::SetIntValue(const int64_t& value)
{
    if (!IsAvailable())
        return;
    m_accessor->SetValue(QVariant::fromValue<qlonglong>(value), ValueType::Integer);
}

void IntegerCameraFeature::SetIntValueAsync(const int64_t& value)
{
    WriteAsync(QVariant::fromValue<qlonglong>(value), ValueType::Integer);
}

int64_t IntegerCameraFeature::GetIntValue(bool update)
{
    return IsAvailable() ? m_accessor->GetValue(update).toLongLong() : 0;
}

int64_t IntegerCameraFeature::GetMaximum(bool update)
{
    return IsAvailable() ? m_accessor->GetMaximum(update).toLongLong() : 0;
}

int64_t IntegerCameraFeature::GetMinimum(bool update)
{
    return IsAvailable() ? m_accessor->GetMinimum(update).toLongLong() : 0;
}

int64_t IntegerCameraFeature::GetIncrement(bool update)
{
    if (!IsAvailable())
        return 0;
    const QVariant inc = m_accessor->GetIncrement(update);
    return inc.isValid() ? inc.toLongLong() : -1;
}

bool IntegerCameraFeature::WaitForAsyncWrite(int timeoutMs)
{
    return WaitFuture(m_asyncWrite, timeoutMs);
}

void IntegerCameraFeature::EmitTyped(const QVariant& value)
{
    Q_EMIT IntValueChanged(int64_t(value.toLongLong()));
}

void IntegerCameraFeature::EmitTypedRange(const QVariant& min, const QVariant& max, const QVariant& inc)
{
    Q_EMIT IntRangeChanged(min.toLongLong(), max.toLongLong(), inc.toLongLong());
}

// --- Double

DoubleCameraFeature::DoubleCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<DoubleFeatureInterface>(std::move(accessor), parent)
{
}

void DoubleCameraFeature::SetDoubleValue(const double& value)
{
    if (!IsAvailable())
        return;
    m_accessor->SetValue(QVariant(value), ValueType::Double);
}

void DoubleCameraFeature::SetDoubleValueAsync(const double& value)
{
    WriteAsync(QVariant(value), ValueType::Double);
}

double DoubleCameraFeature::GetDoubleValue(bool update)
{
    return IsAvailable() ? m_accessor->GetValue(update).toDouble() : 0.0;
}

double DoubleCameraFeature::GetMaximum(bool update)
{
    return IsAvailable() ? m_accessor->GetMaximum(update).toDouble() : 0.0;
}

double DoubleCameraFeature::GetMinimum(bool update)
{
    return IsAvailable() ? m_accessor->GetMinimum(update).toDouble() : 0.0;
}

double DoubleCameraFeature::GetIncrement(bool update)
{
    return IsAvailable() ? m_accessor->GetIncrement(update).toDouble() : 0.0;
}

bool DoubleCameraFeature::WaitForAsyncWrite(int timeoutMs)
{
    return WaitFuture(m_asyncWrite, timeoutMs);
}

void DoubleCameraFeature::EmitTyped(const QVariant& value)
{
    Q_EMIT DoubleValueChanged(value.toDouble());
}

void DoubleCameraFeature::EmitTypedRange(const QVariant& min, const QVariant& max, const QVariant& inc)
{
    Q_EMIT DoubleRangeChanged(min.toDouble(), max.toDouble(), inc.toDouble());
}

// --- Enumeration

EnumerationCameraFeature::EnumerationCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor,
                                                   QObject* parent)
    : CameraFeatureT<EnumerationFeatureInterface>(std::move(accessor), parent)
{
}

void EnumerationCameraFeature::SetStringValue(const QString& value)
{
    if (!IsAvailable())
        return;
    m_accessor->SetValue(QVariant(value), ValueType::String);
}

void EnumerationCameraFeature::SetIntValue(const int64_t& value)
{
    if (!IsAvailable())
        return;
    // Written through its symbolic name, so the write takes the same logged and read-back path as text.
    auto node = orna::core::nodes::NodeCast<orna::core::nodes::EnumerationNode>(m_accessor->GetItem()->GetNode());
    if (!node)
        return;
    try
    {
        for (const auto& entry : node->GetEntries())
            if (entry && entry->GetValue() == value)
            {
                m_accessor->SetValue(QVariant(QString::fromStdString(entry->GetSymbolicValue())), ValueType::String);
                return;
            }
    }
    catch (const orna::core::Exception&)
    {
        // the camera is gone: the read-back of the next write or poll puts the controls right
    }
}

QString EnumerationCameraFeature::GetStringValue(bool update)
{
    return IsAvailable() ? m_accessor->GetValue(update).toString() : QString();
}

int64_t EnumerationCameraFeature::GetIntValue(bool update)
{
    if (!IsAvailable())
        return 0;
    const QString symbolic = GetStringValue(update);
    auto node = orna::core::nodes::NodeCast<orna::core::nodes::EnumerationNode>(m_accessor->GetItem()->GetNode());
    if (!node)
        return 0;
    try
    {
        auto entry = node->FindEntryBySymbolicValue(symbolic.toStdString());
        return entry ? entry->GetValue() : 0;
    }
    catch (const orna::core::Exception&)
    {
        return 0;
    }
}

void EnumerationCameraFeature::EmitTyped(const QVariant& value)
{
    Q_EMIT IntValueChanged(GetIntValue(false));
    Q_EMIT StringValueChanged(value.toString());
}

// --- Boolean, command, string

BooleanCameraFeature::BooleanCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<BooleanFeatureInterface>(std::move(accessor), parent)
{
}

void BooleanCameraFeature::SetBoolValue(bool value)
{
    if (IsAvailable())
        m_accessor->SetValue(QVariant(value), ValueType::Boolean);
}

bool BooleanCameraFeature::GetBoolValue(bool update)
{
    return IsAvailable() && m_accessor->GetValue(update).toBool();
}

CommandCameraFeature::CommandCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<CommandFeatureInterface>(std::move(accessor), parent)
{
    connect(m_accessor.get(), &CameraFeatureAccessorInterface::Executed, this, &CommandFeatureInterface::Executed);
}

void CommandCameraFeature::Execute(bool wait)
{
    if (IsAvailable())
        m_accessor->Execute(wait);
}

StringCameraFeature::StringCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<StringFeatureInterface>(std::move(accessor), parent)
{
}

void StringCameraFeature::SetStringValue(const QString& value)
{
    if (IsAvailable())
        m_accessor->SetValue(QVariant(value), ValueType::String);
}

QString StringCameraFeature::GetStringValue(bool update)
{
    return IsAvailable() ? m_accessor->GetValue(update).toString() : QString();
}

// --- Register

RegisterCameraFeature::RegisterCameraFeature(std::shared_ptr<CameraFeatureAccessorInterface> accessor, QObject* parent)
    : CameraFeatureT<RegisterFeatureInterface>(std::move(accessor), parent)
{
}

void RegisterCameraFeature::SetData(const std::vector<uint8_t>& data)
{
    if (!IsAvailable())
        return;
    m_accessor->SetValue(QVariant(QByteArray(reinterpret_cast<const char*>(data.data()), int(data.size()))),
                         ValueType::Other);
}

std::vector<uint8_t> RegisterCameraFeature::GetData(bool update)
{
    if (!IsAvailable())
        return {};
    const QByteArray bytes = m_accessor->GetValue(update).toByteArray();
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

int64_t RegisterCameraFeature::GetLength()
{
    return IsAvailable() ? m_accessor->GetItem()->registerLength : 0;
}

void RegisterCameraFeature::EmitTyped(const QVariant& value)
{
    const QByteArray bytes = value.toByteArray();
    Q_EMIT DataChanged(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}
