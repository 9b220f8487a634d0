#include "processing/iplgainfeatureprovider.h"

IplGainFeatureProvider::IplGainFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplGainFeatureProvider::~IplGainFeatureProvider() = default;

void IplGainFeatureProvider::ResetGains()
{
    // Every factor is 1.0 in the off state already.
}
