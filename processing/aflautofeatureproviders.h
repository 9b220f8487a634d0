// The auto feature providers: the brightness and the white balance controller of the auto feature library
// as software features, so that a panel binds host auto features like a camera's auto nodes. Each provider
// is given a controller (or an empty handle) by SetController and re-wires its features: without a
// controller every feature is not available and reads its neutral value, and no callback stays registered.
//
// Callbacks. The library calls a finished (and for brightness, a component) callback on its calculation
// thread when a "Once" ended. The callback runs the provider's change handler there (AflManager refreshes
// its running flags from the library, atomics) and posts UpdateValue of the mode features to their own
// thread, so that a feature is only ever touched on the GUI thread. Destroying a callback object waits for
// a call under way, so clearing the controller never races a callback.
//
// ROI: the controllers' ROIs are in the coordinates of the images they are given (after mirror and
// rotation); roiGroup follows SetMaximumRoi and a change of the group is written to the library.
//
// Threads: GUI thread, except the change handler (the library's thread) and the atomics it reads.
#pragma once

#include "features/aflautomode.h"
#include "features/roifeaturegroup.h"
#include "processing/aflfeatures.h"

#include <QObject>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace orna::afl {
class Controller;
}

class AflAutoFeatureProviderBase : public QObject
{
    Q_OBJECT

public:
    explicit AflAutoFeatureProviderBase(const char* roiName, QObject* parent = nullptr);
    ~AflAutoFeatureProviderBase() override;

    bool HasController() const { return hasController.load(); }
    std::shared_ptr<orna::afl::Controller> GetController() const { return controller; }
    void SetLogOrigin(const QString& origin);
    // Runs on the library's thread after a "Once" ended; set by AflManager.
    void SetChangeHandler(std::function<void()> handler) { changeHandler = std::move(handler); }
    // The image the ROI lies in (offsets are the image's own: 0).
    void SetMaximumRoi(int64_t x, int64_t y, int64_t width, int64_t height);

    RoiFeatureGroup* GetRoiGroup() { return &roiGroup; }
    AflSkipFrames* GetSkipFrames() { return &skipFrames; }

protected:
    // Registers callbacks and binds the features common to both; raises orna::afl::error::Exception.
    void Attach(const std::shared_ptr<orna::afl::Controller>& controller);
    void Detach();
    // Called by a library callback: the handler, then the given modes' UpdateValue on their thread.
    void OnLibraryChange(const std::vector<AflAutoMode*>& modes);
    void BindMode(AflAutoMode& mode, AutoModeFeatureTarget target, std::function<bool()> available);
    void WriteRoi();

    std::shared_ptr<orna::afl::Controller> controller;
    std::atomic<bool> hasController{false};
    std::vector<std::unique_ptr<class AflCallbackHolder>> callbacks;
    std::function<void()> changeHandler;
    RoiFeatureGroup roiGroup;
    AflSkipFrames skipFrames;
    QString logOrigin = QStringLiteral("-");
    const char* roiName;
};

class AflAutoBrightnessFeatureProvider : public AflAutoFeatureProviderBase
{
    Q_OBJECT

public:
    explicit AflAutoBrightnessFeatureProvider(QObject* parent = nullptr);
    ~AflAutoBrightnessFeatureProvider() override;

    // Raises orna::afl::error::Exception when the library cannot say which components it supports.
    void SetController(std::shared_ptr<orna::afl::Controller> controller);
    bool IsExposureSupported() const { return exposureSupported.load(); }
    bool IsGainSupported() const { return gainSupported.load(); }

    AflAutoMode* GetExposureAuto() { return &exposureAuto; }
    AflAutoMode* GetGainAuto() { return &gainAuto; }
    AflAutoBrightnessPercentile* GetPercentile() { return &percentile; }
    AflAutoBrightnessTarget* GetTarget() { return &target; }
    AflAutoBrightnessTargetTolerance* GetTargetTolerance() { return &targetTolerance; }

private:
    AflAutoMode exposureAuto{QStringLiteral("ExposureAuto"), AutoModeFeatureTarget::Exposure};
    AflAutoMode gainAuto{QStringLiteral("GainAuto"), AutoModeFeatureTarget::Gain};
    AflAutoBrightnessPercentile percentile;
    AflAutoBrightnessTarget target;
    AflAutoBrightnessTargetTolerance targetTolerance;
    std::atomic<bool> exposureSupported{false};
    std::atomic<bool> gainSupported{false};
};

class AflAutoBalanceWhiteFeatureProvider : public AflAutoFeatureProviderBase
{
    Q_OBJECT

public:
    explicit AflAutoBalanceWhiteFeatureProvider(QObject* parent = nullptr);
    ~AflAutoBalanceWhiteFeatureProvider() override;

    void SetController(std::shared_ptr<orna::afl::Controller> controller);
    AflAutoMode* GetBalanceWhiteAuto() { return &balanceWhiteAuto; }

private:
    AflAutoMode balanceWhiteAuto{QStringLiteral("BalanceWhiteAuto"), AutoModeFeatureTarget::Controller};
};
