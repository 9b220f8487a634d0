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
};
