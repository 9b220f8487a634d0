// AflManager: the auto feature manager: host brightness, white balance and focus loops fed with intermediate images.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class AflManager : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit AflManager(VisionCamera* camera, QObject* parent = nullptr);
    ~AflManager() override;

    // True while a calculation runs on its own thread.
    bool IsBusy() const { return false; }
    // True when an auto controller is active and the manager is not busy.
    bool WantsFrame() const { return false; }
    bool IsBrightnessAutoActive() const { return false; }
    bool IsWhiteBalanceAutoActive() const { return false; }
    // Every auto controller off.
    void SwitchAllOff();
    // Releases the controllers before the camera closes.
    void ShutdownControllers();

    // The optimise routine: brightness (and then white balance) in one-shot mode, then back. While off no
    // controller starts, so both flags stay false.
    void BeginAdjust() {}
    void BeginBalanceWhiteAdjust() {}
    void EndAdjust() {}
    // The asynchronous path of the frame pipeline; false: the image was not taken (always, while off).
    bool ProcessImage(const std::shared_ptr<orna::ipl::Image>& image);
    // The optimise routine's blocking path; no effect while off.
    void ProcessImageBlocking(const orna::ipl::Image& image);
};
