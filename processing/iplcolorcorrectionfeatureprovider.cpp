#include "processing/iplcolorcorrectionfeatureprovider.h"

IplColorCorrectionFeatureProvider::IplColorCorrectionFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplColorCorrectionFeatureProvider::~IplColorCorrectionFeatureProvider() = default;

bool IplColorCorrectionFeatureProvider::IsSupported(uint32_t) const
{
    return false;
}

void IplColorCorrectionFeatureProvider::UpdateColorCorrectionFromCamera()
{
    // Nothing to follow while the stage is off.
}
