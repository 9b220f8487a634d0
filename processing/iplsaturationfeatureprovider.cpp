#include "processing/iplsaturationfeatureprovider.h"

IplSaturationFeatureProvider::IplSaturationFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplSaturationFeatureProvider::~IplSaturationFeatureProvider() = default;
