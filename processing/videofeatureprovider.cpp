#include "processing/videofeatureprovider.h"

VideoFeatureProvider::VideoFeatureProvider(VisionCamera* camera, QObject* parent) : FeatureProviderBase(camera, parent)
{
}

VideoFeatureProvider::~VideoFeatureProvider() = default;

void VideoFeatureProvider::AppendImage(const std::shared_ptr<orna::ipl::Image>&)
{
    // Nothing is recorded while no recording runs.
}
