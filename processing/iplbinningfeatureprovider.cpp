#include "processing/iplbinningfeatureprovider.h"

IplBinningFeatureProvider::IplBinningFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplBinningFeatureProvider::~IplBinningFeatureProvider() = default;

void IplBinningFeatureProvider::GetOutputSize(int64_t width, int64_t height, int64_t* outputWidth,
                                              int64_t* outputHeight) const
{
    if (outputWidth)
        *outputWidth = width;
    if (outputHeight)
        *outputHeight = height;
}
