#include "processing/aflfeatures.h"

#include "common/logmessagesender.h"

#include <exception>

namespace {

const AflFeatureTexts kPercentileTexts{"Failed to get AFL BrightnessAuto percentile. ",
                                       "Failed to set AFL BrightnessAuto percentile. ",
                                       "Failed to update AFL BrightnessAuto percentile range. "};
const AflFeatureTexts kTargetTexts{"Failed to get AFL BrightnessAuto target. ",
                                   "Failed to set AFL BrightnessAuto target. ",
                                   "Failed to update AFL BrightnessAuto target range. "};
const AflFeatureTexts kToleranceTexts{"Failed to get AFL BrightnessAuto target tolerance. ",
                                      "Failed to set AFL BrightnessAuto target tolerance. ",
                                      "Failed to update AFL BrightnessAuto target tolerance range. "};

} // namespace

// --- AflLibraryDouble

AflLibraryDouble::AflLibraryDouble(const QString& name, AflFeatureTexts texts_, QObject* parent)
    : DoubleSoftwareFeature(name, 0.0, 0.0, 0.0, 0.0, 2, parent), texts(texts_)
{
}

void AflLibraryDouble::Log(const char* text, const char* what) const
{
    LogMessageSender::Error(logOrigin, GetName(), QString::fromLatin1(text) + QString::fromUtf8(what));
}

void AflLibraryDouble::Bind(Getter getter_, Setter setter_, RangeGetter rangeGetter_)
{
    getter = std::move(getter_);
    setter = std::move(setter_);
    rangeGetter = std::move(rangeGetter_);
    UpdateAccess();
    UpdateRange();
    UpdateValue();
}

void AflLibraryDouble::UpdateRange()
{
    if (!rangeGetter)
        return;
    double minimum_ = 0, maximum_ = 0, increment_ = 0;
    try
    {
        rangeGetter(minimum_, maximum_, increment_);
    }
    catch (const std::exception& e)
    {
        Log(texts.range, e.what());
        return;
    }
    if (minimum_ == minimum && maximum_ == maximum && increment_ == increment)
        return;
    SetRange(minimum_, maximum_, increment_);
    UpdateValue();
}

void AflLibraryDouble::SetDoubleValue(const double& newValue)
{
    if (!IsWriteable() || !setter)
        return;
    try
    {
        setter(newValue);
    }
    catch (const std::exception& e)
    {
        Log(texts.set, e.what());
    }
    // What the library took comes back, not what was written.
    UpdateValue();
}

void AflLibraryDouble::UpdateValue()
{
    if (!getter || !IsAvailable())
        return;
    try
    {
        StoreValue(getter());
    }
    catch (const std::exception& e)
    {
        Log(texts.get, e.what());
    }
}

// --- AflSkipFrames

AflSkipFrames::AflSkipFrames(QObject* parent)
    : IntegerSoftwareFeature(QStringLiteral("AutoSkipFrames"), 0, 0, 0, 0, parent)
{
}

void AflSkipFrames::Log(const char* text, const char* what) const
{
    LogMessageSender::Error(logOrigin, GetName(), QString::fromLatin1(text) + QString::fromUtf8(what));
}

void AflSkipFrames::Bind(Getter getter_, Setter setter_, RangeGetter rangeGetter_)
{
    getter = std::move(getter_);
    setter = std::move(setter_);
    rangeGetter = std::move(rangeGetter_);
    UpdateAccess();
    UpdateRange();
    UpdateValue();
}

void AflSkipFrames::UpdateRange()
{
    if (!rangeGetter)
        return;
    int32_t minimum_ = 0, maximum_ = 0, increment_ = 0;
    try
    {
        rangeGetter(minimum_, maximum_, increment_);
    }
    catch (const std::exception& e)
    {
        Log("Failed to get AFL skip frames range. ", e.what());
        return;
    }
    if (minimum_ == minimum && maximum_ == maximum && increment_ == increment)
        return;
    SetRange(minimum_, maximum_, increment_);
    UpdateValue();
}

void AflSkipFrames::SetIntValue(const int64_t& newValue)
{
    if (!IsWriteable() || !setter)
        return;
    try
    {
        setter(int32_t(newValue));
    }
    catch (const std::exception& e)
    {
        Log("Failed to set AFL skip frames. ", e.what());
    }
    UpdateValue();
}

void AflSkipFrames::UpdateValue()
{
    if (!getter || !IsAvailable())
        return;
    try
    {
        StoreValue(getter());
    }
    catch (const std::exception& e)
    {
        Log("Failed to get AFL skip frames. ", e.what());
    }
}

AflAutoBrightnessPercentile::AflAutoBrightnessPercentile(QObject* parent)
    : AflLibraryDouble(QStringLiteral("AutoBrightnessPercentile"), kPercentileTexts, parent)
{
}

AflAutoBrightnessTarget::AflAutoBrightnessTarget(QObject* parent)
    : AflLibraryDouble(QStringLiteral("AutoBrightnessTarget"), kTargetTexts, parent)
{
}

AflAutoBrightnessTargetTolerance::AflAutoBrightnessTargetTolerance(QObject* parent)
    : AflLibraryDouble(QStringLiteral("AutoBrightnessTargetTolerance"), kToleranceTexts, parent)
{
}
