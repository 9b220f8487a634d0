#include "processing/iplgammafeatureprovider.h"

IplGammaFeatureProvider::IplGammaFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplGammaFeatureProvider::~IplGammaFeatureProvider() = default;

void IplGammaFeatureProvider::Process(std::shared_ptr<orna::ipl::Image>&, uint32_t)
{
    // Off: the frame passes untouched.
}
