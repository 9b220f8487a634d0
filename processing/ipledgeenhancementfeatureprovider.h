// IplEdgeEnhancementFeatureProvider: edge enhancement of the destination image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplEdgeEnhancementFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplEdgeEnhancementFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplEdgeEnhancementFeatureProvider() override;
};
