// IplDecimationFeatureProvider: host decimation of the intermediate image by a horizontal and a vertical factor.
//
// Off state: the stage's processing arrives with its own work. Until then both factors are 1, the provider is
// inactive, frames pass untouched and GetOutputSize reports the input size. Threads and state as
// FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplDecimationFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplDecimationFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplDecimationFeatureProvider() override;

    int GetFactorHorizontal() const { return 1; }
    int GetFactorVertical() const { return 1; }
    // The size of the stage's output for an input of width x height.
    void GetOutputSize(int64_t width, int64_t height, int64_t* outputWidth, int64_t* outputHeight) const;
};
