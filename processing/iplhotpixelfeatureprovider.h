// IplHotpixelFeatureProvider: detection and correction of hot pixels on the intermediate image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplHotpixelFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplHotpixelFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplHotpixelFeatureProvider() override;

    // Drops the detected list (the image geometry or format changed).
    void ForgetHotpixels();
    int GetNumHotpixels() const { return 0; }
    // Settings of the detection and correction; kept, but the stage stays inactive while off.
    void SetSensitivityMode(int mode) { sensitivityMode = mode; }
    int GetSensitivityMode() const { return sensitivityMode.load(); }
    void SetEnabled(bool enabled) { correctionEnabled = enabled; }
    bool IsEnabled() const { return correctionEnabled.load(); }
    // Asks for a detection on the next frame with the camera's total gain; nothing is detected while off.
    void RequestDetection(double totalGain);

private:
    std::atomic<int> sensitivityMode{0};
    std::atomic<bool> correctionEnabled{false};
};
