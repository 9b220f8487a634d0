// IplTransformationFeatureProvider: mirror and rotation of the destination image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplTransformationFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplTransformationFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplTransformationFeatureProvider() override;

    // Rotation in degrees: 0, 90, 180 or 270.
    int GetRotation() const { return 0; }
    bool IsMirrorHorizontal() const { return false; }
    bool IsMirrorVertical() const { return false; }
    // True when the current format allows a mirror or rotation.
    bool IsAvailable() const { return false; }
    // The Bayer order a raw format has after the transformation; the format itself without one.
    uint32_t MapBayerFormat(uint32_t format) const { return format; }
};
