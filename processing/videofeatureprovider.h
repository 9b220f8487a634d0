// VideoFeatureProvider: recording of the display images to a video file.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class VideoFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit VideoFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~VideoFeatureProvider() override;

    bool IsRecording() const { return false; }
    // Appends the image to the running recording; nothing when no recording runs.
    void AppendImage(const std::shared_ptr<orna::ipl::Image>& image);
};
