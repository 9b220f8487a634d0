#include "processing/featureproviderbase.h"

FeatureProviderBase::FeatureProviderBase(VisionCamera* camera_, QObject* parent) : QObject(parent), camera(camera_) {}

FeatureProviderBase::~FeatureProviderBase() = default;

void FeatureProviderBase::Process(std::shared_ptr<orna::ipl::Image>&)
{
    // Off: the frame passes untouched.
}

void FeatureProviderBase::SetPixelFormat(uint32_t format)
{
    pixelFormat = format;
}

void FeatureProviderBase::SetImageSize(int64_t width, int64_t height)
{
    imageWidth = width;
    imageHeight = height;
}
