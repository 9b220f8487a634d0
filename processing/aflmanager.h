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
};
