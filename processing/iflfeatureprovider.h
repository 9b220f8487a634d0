// IflFeatureProvider: inference on the intermediate image through the inference library.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IflFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IflFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IflFeatureProvider() override;

    // True when an enabled model wants this frame.
    bool WantsFrame() const { return false; }
    bool HasEnabledModel() const { return false; }
};
