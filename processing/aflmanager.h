// AflManager: the per-camera auto feature manager. It owns the auto feature library's manager and its
// brightness and white balance controllers, owns the providers that make them software features, decides
// from the modes whether frames are needed at all, and feeds the library from a short-lived thread so that
// the capture worker never waits.
//
// Lifecycle: Connect(nodeMap, gain) when the camera opens (manager, controllers to the providers, the host
// Gain, the saved modes restored); Disconnect() when it closes or is lost (modes saved in the features,
// controllers cleared, manager destroyed). The destructor disconnects and then waits for a calculation in
// flight before the image it holds goes.
//
// Frame path (stage 10): ProcessImage drops the frame when no running flag holds or a calculation is under
// way, so the library works at its own speed and keeps no backlog; otherwise the image is lent to one
// calculation on a new thread (CalculationThread) and released as soon as that succeeded.
//
// Threads: constructed, connected, disconnected and destroyed on the GUI thread (Connect also on the open
// worker's thread, while acquisition is stopped). ProcessImage, IsRunning and IsBusy on the capture thread;
// ProcessImageBlocking and the adjust calls on the optimise task. The running flags are atomics: the GUI
// thread sets them from the mode features' value changes, the library's thread from its callbacks, the
// optimise task from the adjust calls, each by reading the modes from the library. `imageMutex` guards
// currentImage, calculationFuture and `calculating`; no library call and no join is made with it held.
// Focus is not driven by this build: focusRunning stays false.
#pragma once

#include "processing/featureproviderbase.h"

#include <QString>

#include <future>
#include <memory>
#include <mutex>

namespace orna::afl {
class Manager;
}
namespace orna::core {
class NodeMap;
}
namespace orna::ipl {
class Gain;
}
class AflAutoBrightnessFeatureProvider;
class AflAutoBalanceWhiteFeatureProvider;

class AflManager : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit AflManager(VisionCamera* camera, QObject* parent = nullptr);
    ~AflManager() override;

    // False (and logged) when the library refused; the camera then works without host auto features.
    bool Connect(const std::shared_ptr<orna::core::NodeMap>& nodeMap, orna::ipl::Gain* gain);
    void Disconnect();
    bool IsConnected() const { return manager != nullptr; }
    // Connected: the image size matters to the ROIs.
    bool IsActive() const override { return IsConnected(); }

    // A calculation runs, or the library says it is busy. A failing status read logs and counts as not busy.
    bool IsBusy() const;
    // Any running flag holds and the library is not busy.
    bool IsRunning() const;
    bool WantsFrame() const { return IsRunning(); }
    bool IsBrightnessAutoActive() const { return brightnessRunning.load(); }
    bool IsWhiteBalanceAutoActive() const { return balanceWhiteRunning.load(); }
    bool IsFocusAutoActive() const { return focusRunning.load(); }
    void SetFocusAvailable(bool available);

    // Asynchronous frame path; false: the frame was not taken.
    bool ProcessImage(const std::shared_ptr<orna::ipl::Image>& image);
    // The optimise routine's path: the library on the caller's thread; nothing unless a flag holds.
    void ProcessImageBlocking(const orna::ipl::Image& image);
    // True once after ProcessImageBlocking met a failure (a refused write, a "Once" that gave up): such a
    // "Once" ends "Off" without having reached its target. Cleared by BeginAdjust.
    bool TakeAdjustFailure() { return adjustFailure.exchange(false); }
    // The ROI limit of the providers, in the coordinates of the images the library is given.
    void SetImageSize(int64_t width, int64_t height) override;
    void SetImageSize(int64_t offsetX, int64_t offsetY, int64_t width, int64_t height);

    // The optimise routine: both brightness components (then white balance) "Once"; at the end all "Off".
    void BeginAdjust();
    void BeginBalanceWhiteAdjust();
    void EndAdjust();
    void SwitchAllOff() { EndAdjust(); }
    void ShutdownControllers() { Disconnect(); }

    AflAutoBrightnessFeatureProvider* GetBrightnessProvider() const { return brightnessProvider; }
    AflAutoBalanceWhiteFeatureProvider* GetBalanceWhiteProvider() const { return balanceWhiteProvider; }
    // Library calls made by calculations (for tests of the drop rule).
    uint64_t GetCalculationCount() const { return calculations.load(); }

private:
    static void CalculationThread(AflManager* self);
    // Reads the modes from the library into the running flags; any thread.
    void RefreshRunningFlags();
    void Log(const QString& context, const QString& message) const;
    void SetModes(int brightnessMode, int balanceMode, bool brightness, bool balance);
    void WaitForCalculation();

    std::unique_ptr<orna::afl::Manager> manager;
    QString logOrigin = QStringLiteral("-");
    AflAutoBrightnessFeatureProvider* brightnessProvider;
    AflAutoBalanceWhiteFeatureProvider* balanceWhiteProvider;
    std::atomic<bool> focusAvailable{false};
    std::atomic<bool> brightnessRunning{false};
    std::atomic<bool> balanceWhiteRunning{false};
    std::atomic<bool> focusRunning{false};
    std::atomic<uint64_t> calculations{0};
    std::atomic<bool> adjustFailure{false};

    mutable std::mutex imageMutex;
    std::shared_ptr<orna::ipl::Image> currentImage;
    std::future<void> calculationFuture;
    bool calculating = false;
};
