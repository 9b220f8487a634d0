#include "processing/iplgammafeatureproviderwithdigitalblack.h"

IplGammaFeatureProviderWithDigitalBlack::IplGammaFeatureProviderWithDigitalBlack(VisionCamera* camera, QObject* parent)
    : IplGammaFeatureProvider(camera, parent)
{
}

IplGammaFeatureProviderWithDigitalBlack::~IplGammaFeatureProviderWithDigitalBlack() = default;
