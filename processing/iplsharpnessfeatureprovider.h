// IplSharpnessFeatureProvider: sharpness measurement on every n-th intermediate image, run as a one-shot task.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive and frames
// pass untouched. Threads and state as FeatureProviderBase says.
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
    // True while an asynchronous measurement runs.
    bool IsMeasurementRunning() const { return false; }
    // True when this frame is due for a measurement (the worker clones a wrapping image first).
    bool WantsFrame() const { return false; }

private:
    std::atomic<int> frameSkip{0};
};
