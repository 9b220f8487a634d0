#include "processing/videofeatureprovider.h"

VideoFeatureProvider::VideoFeatureProvider(VisionCamera* camera, QObject* parent) : FeatureProviderBase(camera, parent)
{
}

VideoFeatureProvider::~VideoFeatureProvider() = default;

void VideoFeatureProvider::StartRecording(Sink newSink)
{
    QMutexLocker lock(&sinkMutex);
    sink = std::move(newSink);
    recording = static_cast<bool>(sink);
}

void VideoFeatureProvider::StopRecording()
{
    QMutexLocker lock(&sinkMutex);
    recording = false;
    sink = nullptr;
}

void VideoFeatureProvider::AppendImage(const std::shared_ptr<orna::ipl::Image>& image)
{
    QMutexLocker lock(&sinkMutex);
    if (sink && image)
        sink(image);
}
