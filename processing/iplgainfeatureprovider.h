// IplGainFeatureProvider: host gain of the red, green and blue channels and a master gain, run on the intermediate
// image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplGainFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplGainFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplGainFeatureProvider() override;

    // The factors the stage applies; 1.0 each while off.
    double GetGainRed() const { return 1.0; }
    double GetGainGreen() const { return 1.0; }
    double GetGainBlue() const { return 1.0; }
    double GetGainMaster() const { return 1.0; }
    // True when any factor differs from 1.0.
    bool IsAnyGainActive() const { return false; }
    // Back to 1.0 for every factor (the optimise routine clears the host gains).
    void ResetGains();
};
