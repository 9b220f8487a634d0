#include "processing/ipldecimationfeatureprovider.h"

IplDecimationFeatureProvider::IplDecimationFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplDecimationFeatureProvider::~IplDecimationFeatureProvider() = default;

void IplDecimationFeatureProvider::GetOutputSize(int64_t width, int64_t height, int64_t* outputWidth,
                                                 int64_t* outputHeight) const
{
    if (outputWidth)
        *outputWidth = width;
    if (outputHeight)
        *outputHeight = height;
}
