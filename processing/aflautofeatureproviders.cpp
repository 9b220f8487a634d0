#include "processing/aflautofeatureproviders.h"

#include "common/logmessagesender.h"
#include "orna/afl/autofeatures.h"

#include <QMetaObject>
#include <QPointer>

#include <exception>

using orna::afl::error::CheckStatus;

// Owns one registered library callback; destroying it unregisters it (and waits for a call under way).
class AflCallbackHolder
{
public:
    explicit AflCallbackHolder(std::unique_ptr<orna::afl::Controller::FunctionCallback> callback_)
        : callback(std::move(callback_))
    {
    }

private:
    std::unique_ptr<orna::afl::Controller::FunctionCallback> callback;
};

// --- Base

AflAutoFeatureProviderBase::AflAutoFeatureProviderBase(const char* roiName_, QObject* parent)
    : QObject(parent), roiName(roiName_)
{
    skipFrames.SetAvailableFunction([this] { return hasController.load(); });
    for (AflAutoRoiValue* value : {roiGroup.OffsetX(), roiGroup.OffsetY(), roiGroup.Width(), roiGroup.Height()})
        value->SetAvailableFunction([this] { return hasController.load() && !roiGroup.Follow()->GetBoolValue(false); });
    connect(&roiGroup, &RoiFeatureGroup::RoiChanged, this, &AflAutoFeatureProviderBase::WriteRoi);
}

AflAutoFeatureProviderBase::~AflAutoFeatureProviderBase()
{
    // Callbacks go before anything they reach.
    callbacks.clear();
}

void AflAutoFeatureProviderBase::SetLogOrigin(const QString& origin)
{
    logOrigin = origin;
    skipFrames.SetLogOrigin(origin);
}

void AflAutoFeatureProviderBase::SetMaximumRoi(int64_t, int64_t, int64_t width, int64_t height)
{
    roiGroup.SetImageSize(width, height);
    WriteRoi();
}

void AflAutoFeatureProviderBase::WriteRoi()
{
    if (!controller)
        return;
    // Following the image is the library's whole-image ROI (width and height 0): it then fits every frame,
    // also before the first size is known.
    const QRect region = roiGroup.Region();
    const orna_afl_roi roi = roiGroup.Follow()->GetBoolValue(false)
                                 ? orna_afl_roi{0, 0, 0, 0}
                                 : orna_afl_roi{region.x(), region.y(), region.width(), region.height()};
    try
    {
        CheckStatus(orna_afl_AutoController_ROI_Set(controller->GetHandle(), &roi));
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(logOrigin, QStringLiteral("void AflAutoFeatureProviderBase::WriteRoi()"),
                                QStringLiteral("Failed to set AFL %1 ROI. ").arg(QLatin1String(roiName)) +
                                    QString::fromUtf8(e.what()));
    }
}

void AflAutoFeatureProviderBase::OnLibraryChange(const std::vector<AflAutoMode*>& modes)
{
    if (changeHandler)
        changeHandler();
    for (AflAutoMode* mode : modes)
        QMetaObject::invokeMethod(
            mode, [mode] { mode->UpdateValue(); }, Qt::QueuedConnection);
}

void AflAutoFeatureProviderBase::BindMode(AflAutoMode& mode, AutoModeFeatureTarget target,
                                          std::function<bool()> available)
{
    mode.SetLogOrigin(logOrigin);
    if (!controller)
    {
        mode.SetModeFunctions({}, {});
        mode.SetAvailableFunction([] { return false; });
        return;
    }
    const orna_afl_controller_handle h = controller->GetHandle();
    const int component = int(target);
    if (target == AutoModeFeatureTarget::Controller)
        mode.SetModeFunctions(
            [h] {
                int value = 0;
                CheckStatus(orna_afl_AutoController_Mode_Get(h, &value));
                return int64_t(value);
            },
            [h](int64_t value) { CheckStatus(orna_afl_AutoController_Mode_Set(h, int(value))); });
    else
        mode.SetModeFunctions(
            [h, component] {
                int value = 0;
                CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Get(h, component, &value));
                return int64_t(value);
            },
            [h, component](int64_t value) {
                CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_Set(h, component, int(value)));
            });
    mode.SetAvailableFunction(std::move(available));
}

void AflAutoFeatureProviderBase::Attach(const std::shared_ptr<orna::afl::Controller>& next)
{
    controller = next;
    hasController = bool(next);
    if (!next)
    {
        skipFrames.Bind({}, {}, {});
        roiGroup.OffsetX()->UpdateAccess();
        return;
    }
    const orna_afl_controller_handle h = next->GetHandle();
    skipFrames.Bind(
        [h] {
            int32_t value = 0;
            CheckStatus(orna_afl_AutoController_SkipFrames_Get(h, &value));
            return value;
        },
        [h](int32_t value) { CheckStatus(orna_afl_AutoController_SkipFrames_Set(h, value)); },
        [h](int32_t& minimum, int32_t& maximum, int32_t& increment) {
            CheckStatus(orna_afl_AutoController_SkipFrames_GetRange(h, &minimum, &maximum, &increment));
        });
    for (AflAutoRoiValue* value : {roiGroup.OffsetX(), roiGroup.OffsetY(), roiGroup.Width(), roiGroup.Height()})
        value->UpdateAccess();
    WriteRoi();
}

void AflAutoFeatureProviderBase::Detach()
{
    // Unregistered before the handle can go: a callback under way is waited for here.
    callbacks.clear();
    controller.reset();
    hasController = false;
}

// --- Brightness

AflAutoBrightnessFeatureProvider::AflAutoBrightnessFeatureProvider(QObject* parent)
    : AflAutoFeatureProviderBase("BrightnessAuto", parent)
{
    SetController(nullptr);
}

AflAutoBrightnessFeatureProvider::~AflAutoBrightnessFeatureProvider()
{
    callbacks.clear();
}

void AflAutoBrightnessFeatureProvider::SetController(std::shared_ptr<orna::afl::Controller> next)
{
    Detach();
    exposureSupported = false;
    gainSupported = false;
    if (next)
    {
        const orna_afl_controller_handle h = next->GetHandle();
        int exposure = 0, gain = 0;
        CheckStatus(
            orna_afl_AutoController_BrightnessComponent_Mode_IsSupported(h, ORNA_AFL_COMPONENT_EXPOSURE, &exposure));
        CheckStatus(orna_afl_AutoController_BrightnessComponent_Mode_IsSupported(h, ORNA_AFL_COMPONENT_GAIN, &gain));
        exposureSupported = exposure != 0;
        gainSupported = gain != 0;
        callbacks.push_back(std::make_unique<AflCallbackHolder>(next->RegisterFinishedCallback([this] {
            OnLibraryChange({&exposureAuto, &gainAuto});
        })));
        if (exposure)
            callbacks.push_back(std::make_unique<AflCallbackHolder>(next->RegisterComponentCallback(
                ORNA_AFL_COMPONENT_EXPOSURE, [this] { OnLibraryChange({&exposureAuto}); })));
        if (gain)
            callbacks.push_back(std::make_unique<AflCallbackHolder>(
                next->RegisterComponentCallback(ORNA_AFL_COMPONENT_GAIN, [this] { OnLibraryChange({&gainAuto}); })));
    }
    Attach(next);
    BindMode(exposureAuto, AutoModeFeatureTarget::Exposure,
             [this] { return hasController.load() && exposureSupported.load(); });
    BindMode(gainAuto, AutoModeFeatureTarget::Gain, [this] { return hasController.load() && gainSupported.load(); });
    const orna_afl_controller_handle h = next ? next->GetHandle() : nullptr;
    auto bindDouble = [&](AflLibraryDouble& feature, auto get, auto set, auto range) {
        feature.SetLogOrigin(logOrigin);
        feature.SetAvailableFunction([this] { return hasController.load(); });
        if (!h)
        {
            feature.Bind({}, {}, {});
            return;
        }
        feature.Bind(
            [h, get] {
                double value = 0;
                CheckStatus(get(h, &value));
                return value;
            },
            [h, set](double value) { CheckStatus(set(h, value)); },
            [h, range](double& minimum, double& maximum, double& increment) {
                CheckStatus(range(h, &minimum, &maximum, &increment));
            });
    };
    bindDouble(percentile, &orna_afl_AutoController_AutoPercentile_Get, &orna_afl_AutoController_AutoPercentile_Set,
               &orna_afl_AutoController_AutoPercentile_GetRange);
    bindDouble(target, &orna_afl_AutoController_AutoTarget_Get, &orna_afl_AutoController_AutoTarget_Set,
               &orna_afl_AutoController_AutoTarget_GetRange);
    bindDouble(targetTolerance, &orna_afl_AutoController_AutoTolerance_Get, &orna_afl_AutoController_AutoTolerance_Set,
               &orna_afl_AutoController_AutoTolerance_GetRange);
    exposureAuto.UpdateValue();
    gainAuto.UpdateValue();
}

// --- White balance

AflAutoBalanceWhiteFeatureProvider::AflAutoBalanceWhiteFeatureProvider(QObject* parent)
    : AflAutoFeatureProviderBase("BalanceWhiteAuto", parent)
{
    SetController(nullptr);
}

AflAutoBalanceWhiteFeatureProvider::~AflAutoBalanceWhiteFeatureProvider()
{
    callbacks.clear();
}

void AflAutoBalanceWhiteFeatureProvider::SetController(std::shared_ptr<orna::afl::Controller> next)
{
    Detach();
    if (next)
        callbacks.push_back(std::make_unique<AflCallbackHolder>(
            next->RegisterFinishedCallback([this] { OnLibraryChange({&balanceWhiteAuto}); })));
    Attach(next);
    BindMode(balanceWhiteAuto, AutoModeFeatureTarget::Controller, [this] { return hasController.load(); });
    balanceWhiteAuto.UpdateValue();
}
