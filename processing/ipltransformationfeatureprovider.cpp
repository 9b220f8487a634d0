#include "processing/ipltransformationfeatureprovider.h"

IplTransformationFeatureProvider::IplTransformationFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplTransformationFeatureProvider::~IplTransformationFeatureProvider() = default;
