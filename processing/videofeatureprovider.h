// VideoFeatureProvider: recording of the display images to a video file.
//
// A recording runs while a sink is attached; the capture worker appends each frame's display image through
// AppendImage. The file writer (AVI) attaches its sink with its own work.
//
// Threads: StartRecording/StopRecording on the GUI thread; IsRecording from any thread; AppendImage on the
// frame's thread. sinkMutex guards sink: a StopRecording waits for an append that is under way, so the sink is
// never called after StopRecording returned.
#pragma once

#include "processing/featureproviderbase.h"

#include <QMutex>

#include <functional>

class VideoFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    using Sink = std::function<void(const std::shared_ptr<orna::ipl::Image>&)>;

    explicit VideoFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~VideoFeatureProvider() override;

    void StartRecording(Sink sink);
    void StopRecording();
    bool IsRecording() const { return recording.load(); }
    // Appends the image to the running recording; nothing when no recording runs.
    void AppendImage(const std::shared_ptr<orna::ipl::Image>& image);

private:
    QMutex sinkMutex; // guards sink
    Sink sink;
    std::atomic<bool> recording{false};
};
