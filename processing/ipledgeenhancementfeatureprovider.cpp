#include "processing/ipledgeenhancementfeatureprovider.h"

IplEdgeEnhancementFeatureProvider::IplEdgeEnhancementFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplEdgeEnhancementFeatureProvider::~IplEdgeEnhancementFeatureProvider() = default;
