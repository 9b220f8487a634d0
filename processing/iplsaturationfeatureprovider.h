// IplSaturationFeatureProvider: colour saturation of the destination image, done in one call with the colour
// correction.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplSaturationFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplSaturationFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplSaturationFeatureProvider() override;
};
