#include "processing/iplsharpnessfeatureprovider.h"

IplSharpnessFeatureProvider::IplSharpnessFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplSharpnessFeatureProvider::~IplSharpnessFeatureProvider() = default;
