#include "processing/iplhotpixelfeatureprovider.h"

IplHotpixelFeatureProvider::IplHotpixelFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplHotpixelFeatureProvider::~IplHotpixelFeatureProvider() = default;

void IplHotpixelFeatureProvider::ForgetHotpixels()
{
    // No list is kept while the stage is off.
}

void IplHotpixelFeatureProvider::RequestDetection(double)
{
    // No detection exists in the off state.
}
