// Connect, in order:
//  1. orna::afl::Manager on the camera's node map (a null map is refused by the library).
//  2. Brightness controller (type 1), added, given to the brightness provider.
//  3. White balance controller (type 2), added, given to its provider.
//  4. SetFocusAvailable: no focus controller exists in this build.
//  5. The chain's host Gain to the library (the white balance writes it).
//  6. The mode features back to their saved modes.
// Disconnect saves the modes in the features, clears the providers (their callbacks first), destroys the
// controllers and the manager.
#include "processing/aflmanager.h"

#include "camera/visioncamera.h"
#include "common/logmessagesender.h"
#include "orna/afl/autofeatures.h"
#include "orna/core/nodemap.h"
#include "orna/ipl/image.h"
#include "processing/aflautofeatureproviders.h"

#include <exception>

using orna::afl::error::CheckStatus;

AflManager::AflManager(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent), brightnessProvider(new AflAutoBrightnessFeatureProvider(this)),
      balanceWhiteProvider(new AflAutoBalanceWhiteFeatureProvider(this))
{
    for (AflAutoMode* mode : {brightnessProvider->GetExposureAuto(), brightnessProvider->GetGainAuto(),
                              balanceWhiteProvider->GetBalanceWhiteAuto()})
        connect(mode, &AflAutoMode::IntValueChanged, this, [this] { RefreshRunningFlags(); });
    brightnessProvider->SetChangeHandler([this] { RefreshRunningFlags(); });
    balanceWhiteProvider->SetChangeHandler([this] { RefreshRunningFlags(); });
}

AflManager::~AflManager()
{
    Disconnect();
    WaitForCalculation();
    std::lock_guard<std::mutex> lock(imageMutex);
    currentImage.reset();
}

void AflManager::Log(const QString& context, const QString& message) const
{
    LogMessageSender::Error(logOrigin, context, message);
}

bool AflManager::Connect(const std::shared_ptr<orna::core::NodeMap>& nodeMap, orna::ipl::Gain* gain)
{
    if (manager)
        Disconnect();
    if (GetCamera())
        logOrigin = GetCamera()->GetKeyText();
    brightnessProvider->SetLogOrigin(logOrigin);
    balanceWhiteProvider->SetLogOrigin(logOrigin);
    try
    {
        manager = std::make_unique<orna::afl::Manager>(nodeMap);
        auto brightness = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_BRIGHTNESS);
        manager->AddController(brightness);
        brightnessProvider->SetController(brightness);
        auto balance = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_WHITE_BALANCE);
        manager->AddController(balance);
        balanceWhiteProvider->SetController(balance);
        SetFocusAvailable(focusAvailable.load());
        manager->SetGainIPL(gain);
        for (AflAutoMode* mode : {brightnessProvider->GetExposureAuto(), brightnessProvider->GetGainAuto(),
                                  balanceWhiteProvider->GetBalanceWhiteAuto()})
            mode->RestoreMode();
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("bool AflManager::Connect(const std::shared_ptr<orna::core::NodeMap> &, orna::ipl::Gain *)"),
            QStringLiteral("Failed to create auto feature manager: ") + QString::fromUtf8(e.what()));
        brightnessProvider->SetController(nullptr);
        balanceWhiteProvider->SetController(nullptr);
        manager.reset();
        RefreshRunningFlags();
        return false;
    }
    RefreshRunningFlags();
    return true;
}

void AflManager::Disconnect()
{
    if (!manager)
        return;
    // No calculation may reach the manager while it goes; acquisition is stopped, so none starts afterwards.
    WaitForCalculation();
    for (AflAutoMode* mode : {brightnessProvider->GetExposureAuto(), brightnessProvider->GetGainAuto(),
                              balanceWhiteProvider->GetBalanceWhiteAuto()})
        mode->SaveMode();
    try
    {
        brightnessProvider->SetController(nullptr);
        balanceWhiteProvider->SetController(nullptr);
        manager->DestroyAllController();
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("void AflManager::Disconnect()"),
            QStringLiteral("Failed to disconnect auto feature lib: ") + QString::fromUtf8(e.what()));
    }
    manager.reset();
    RefreshRunningFlags();
}

void AflManager::WaitForCalculation()
{
    std::future<void> running;
    {
        std::lock_guard<std::mutex> lock(imageMutex);
        running = std::move(calculationFuture);
    }
    if (running.valid())
        running.wait();
}

void AflManager::SetFocusAvailable(bool available)
{
    focusAvailable = available;
    // No focus controller in this build: the flag is kept for when one is, and focus never runs.
    focusRunning = false;
}

bool AflManager::IsBusy() const
{
    {
        std::lock_guard<std::mutex> lock(imageMutex);
        if (calculating)
            return true;
    }
    if (!manager)
        return false;
    try
    {
        return manager->IsBusy();
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("bool AflManager::IsBusy()"),
            QStringLiteral("Failed to fetch status of auto feature lib: ") + QString::fromUtf8(e.what()));
        return false;
    }
}

bool AflManager::IsRunning() const
{
    return (brightnessRunning.load() || balanceWhiteRunning.load() || focusRunning.load()) && !IsBusy();
}

void AflManager::RefreshRunningFlags()
{
    auto mode = [](const std::shared_ptr<orna::afl::Controller>& c, int component) {
        int value = ORNA_AFL_MODE_OFF;
        const orna_afl_status status =
            component == 0 ? orna_afl_AutoController_Mode_Get(c->GetHandle(), &value)
                           : orna_afl_AutoController_BrightnessComponent_Mode_Get(c->GetHandle(), component, &value);
        return status == ORNA_AFL_STATUS_SUCCESS ? value : int(ORNA_AFL_MODE_OFF);
    };
    bool brightness = false, balance = false;
    if (auto c = brightnessProvider->GetController())
        brightness = (brightnessProvider->IsExposureSupported() && mode(c, ORNA_AFL_COMPONENT_EXPOSURE) != 0) ||
                     (brightnessProvider->IsGainSupported() && mode(c, ORNA_AFL_COMPONENT_GAIN) != 0);
    if (auto c = balanceWhiteProvider->GetController())
        balance = mode(c, 0) != 0;
    brightnessRunning = brightness;
    balanceWhiteRunning = balance;
}

bool AflManager::ProcessImage(const std::shared_ptr<orna::ipl::Image>& image)
{
    if (!image || !IsRunning())
        return false;
    std::future<void> previous;
    {
        std::lock_guard<std::mutex> lock(imageMutex);
        if (calculating || !manager)
            return false;
        currentImage = image;
        calculating = true;
        previous = std::move(calculationFuture);
        try
        {
            calculationFuture = std::async(std::launch::async, &AflManager::CalculationThread, this);
        }
        catch (const std::exception& e)
        {
            calculating = false;
            currentImage.reset();
            Log(QStringLiteral("bool AflManager::ProcessImage(const std::shared_ptr<orna::ipl::Image> &)"),
                QString::fromUtf8(e.what()));
            return false;
        }
    }
    // The former calculation has ended (calculating was false): this join returns at once.
    previous = {};
    return true;
}

void AflManager::CalculationThread(AflManager* self)
{
    std::shared_ptr<orna::ipl::Image> image;
    {
        std::lock_guard<std::mutex> lock(self->imageMutex);
        image = self->currentImage;
    }
    if (self->manager && image)
    {
        self->calculations.fetch_add(1);
        try
        {
            self->manager->Process(*image);
            // Held for exactly one calculation.
            std::lock_guard<std::mutex> lock(self->imageMutex);
            if (self->currentImage == image)
                self->currentImage.reset();
        }
        catch (const std::exception& e)
        {
            self->Log(QStringLiteral("static void AflManager::CalculationThread(AflManager *)"),
                      QStringLiteral("Failed to process image in auto feature lib: ") + QString::fromUtf8(e.what()));
        }
    }
    image.reset();
    std::lock_guard<std::mutex> lock(self->imageMutex);
    self->calculating = false;
}

void AflManager::ProcessImageBlocking(const orna::ipl::Image& image)
{
    if (!manager || !(brightnessRunning.load() || balanceWhiteRunning.load() || focusRunning.load()) || IsBusy())
        return;
    try
    {
        manager->Process(image);
    }
    catch (const std::exception& e)
    {
        adjustFailure = true;
        Log(QStringLiteral("void AflManager::ProcessImageBlocking(const orna::ipl::Image &)"),
            QStringLiteral("Failed to process image in auto feature lib: ") + QString::fromUtf8(e.what()));
    }
}

void AflManager::SetImageSize(int64_t width, int64_t height)
{
    SetImageSize(0, 0, width, height);
}

void AflManager::SetImageSize(int64_t offsetX, int64_t offsetY, int64_t width, int64_t height)
{
    FeatureProviderBase::SetImageSize(width, height);
    brightnessProvider->SetMaximumRoi(offsetX, offsetY, width, height);
    balanceWhiteProvider->SetMaximumRoi(offsetX, offsetY, width, height);
}

void AflManager::SetModes(int brightnessMode, int balanceMode, bool brightness, bool balance)
{
    // Written to the library directly, from whichever thread runs the optimise routine; the features
    // follow on their own thread.
    std::vector<AflAutoMode*> changed;
    if (brightness)
        if (auto c = brightnessProvider->GetController())
        {
            if (brightnessProvider->IsExposureSupported())
                orna_afl_AutoController_BrightnessComponent_Mode_Set(c->GetHandle(), ORNA_AFL_COMPONENT_EXPOSURE,
                                                                     brightnessMode);
            if (brightnessProvider->IsGainSupported())
                orna_afl_AutoController_BrightnessComponent_Mode_Set(c->GetHandle(), ORNA_AFL_COMPONENT_GAIN,
                                                                     brightnessMode);
            changed.push_back(brightnessProvider->GetExposureAuto());
            changed.push_back(brightnessProvider->GetGainAuto());
        }
    if (balance)
        if (auto c = balanceWhiteProvider->GetController())
        {
            orna_afl_AutoController_Mode_Set(c->GetHandle(), balanceMode);
            changed.push_back(balanceWhiteProvider->GetBalanceWhiteAuto());
        }
    RefreshRunningFlags();
    for (AflAutoMode* mode : changed)
        QMetaObject::invokeMethod(
            mode, [mode] { mode->UpdateValue(); }, Qt::QueuedConnection);
}

void AflManager::BeginAdjust()
{
    adjustFailure = false;
    SetModes(ORNA_AFL_MODE_ONCE, ORNA_AFL_MODE_OFF, true, false);
}

void AflManager::BeginBalanceWhiteAdjust()
{
    SetModes(ORNA_AFL_MODE_OFF, ORNA_AFL_MODE_ONCE, false, true);
}

void AflManager::EndAdjust()
{
    SetModes(ORNA_AFL_MODE_OFF, ORNA_AFL_MODE_OFF, true, true);
}
