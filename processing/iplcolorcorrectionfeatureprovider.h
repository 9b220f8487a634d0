// IplColorCorrectionFeatureProvider: the host colour correction matrix on the destination image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplColorCorrectionFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplColorCorrectionFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplColorCorrectionFeatureProvider() override;

    // Whether the stage can work on a destination format at all.
    bool IsSupported(uint32_t destinationFormat) const;
    bool IsMatrixActive() const { return false; }
    // Takes the camera's colour correction state into account after a format change.
    void UpdateColorCorrectionFromCamera();
};
