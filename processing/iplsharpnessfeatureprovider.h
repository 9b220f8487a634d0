// IplSharpnessFeatureProvider: sharpness measurement on every n-th intermediate image, run as a one-shot task.
//
// What stands: the frame count that decides which frame is due (every frameSkip + 1-th frame while the
// measurement is enabled) and the hand-over of that frame, which the capture worker shares with the provider
// (cloning a view of the device buffer first). The measurement itself arrives with its own work: a due frame is
// counted as handed over and let go. Threads and state as FeatureProviderBase says; the counters are atomics
// written by the frame's thread only.
#pragma once

#include "processing/featureproviderbase.h"

class IplSharpnessFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplSharpnessFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplSharpnessFeatureProvider() override;

    // Frames to skip between two measurements (9 with the trigger off, 0 when triggered).
    void SetFrameSkip(int skip) { frameSkip = skip; }
    int GetFrameSkip() const { return frameSkip.load(); }
    void SetMeasurementEnabled(bool enabled) { measurementEnabled = enabled; }
    bool IsMeasurementEnabled() const { return measurementEnabled.load(); }
    // True while an asynchronous measurement runs.
    bool IsMeasurementRunning() const { return false; }
    // True when this frame is due for a measurement (the worker clones a wrapping image first).
    bool WantsFrame() const;
    // Every frame passes here, due or not: it counts the frames between two measurements.
    void Process(std::shared_ptr<orna::ipl::Image>& image) override;
    uint64_t GetFramesHandedOver() const { return framesHandedOver.load(); }

private:
    std::atomic<int> frameSkip{0};
    std::atomic<bool> measurementEnabled{false};
    std::atomic<int> framesSinceLast{0};
    std::atomic<uint64_t> framesHandedOver{0};
};
