// IplTransformationFeatureProvider: mirror and rotation of the raw image (before the destination conversion),
// modelled as eight TransformationState objects with the button events as transitions. Two boolean software
// features (mirror left/right, mirror up/down) and one integer feature (rotation 0..270 in steps of 90,
// turning left) are the persistent form; setting them directly (a workspace load) moves the state along.
//
// Because the raw image is transformed, a Bayer image changes its order: MapBayerPixelFormat says which, and
// the camera's destination tables pass their Bayer entries through it.
//
// Threads: events, features, SetState, UpdateTransformationStatus and the geometry questions on the GUI
// thread. The capture worker (or a one-shot task) calls IsMirrorActive, IsRotationActive, IsTransposed,
// ProcessMirrorInplace and ProcessRotationInplace; these read only the atomics below, which the GUI thread
// writes after each change, so a frame sees either the old or the new value of each. The panel stops
// acquisition around an event, so a frame never sees half a change; a workspace write while acquiring may
// give one frame of mixed flags, which is accepted. The transformer is used by the frame's thread only.
#pragma once

#include "features/softwarefeature.h"
#include "processing/featureproviderbase.h"
#include "processing/transformationstate.h"

#include <array>
#include <memory>

namespace orna::ipl {
class ImageTransformer;
}

// A mirror flag: a write of the same value is silent.
class IplEnable : public BooleanSoftwareFeature
{
    Q_OBJECT

public:
    IplEnable(const QString& name, bool value, QObject* parent = nullptr);
    void SetBoolValue(bool value) override;
    bool GetStoredValue() const { return value; }
};

// The rotation: ignored while unavailable and for a value off the 0..270 grid of 90; reads 0 while unavailable.
class IplRotationFeature : public IntegerSoftwareFeature
{
    Q_OBJECT

public:
    explicit IplRotationFeature(const QString& name, QObject* parent = nullptr);
    void SetIntValue(const int64_t& value) override;
};

class IplTransformationFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    enum StateId
    {
        None,
        MirrorX,
        MirrorY,
        Rotation90,
        Rotation180,
        Rotation270,
        MirrorYRotation90,
        MirrorYRotation270,
        StateCount
    };

    explicit IplTransformationFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplTransformationFeatureProvider() override;

    // Events: move along the current state's transition.
    void OnMirrorHorizontal();
    void OnMirrorVertical();
    void OnRotateLeft();
    void OnRotateRight();
    void Reset();
    void SetState(TransformationState* state);
    TransformationState* GetState(StateId id) const { return states[size_t(id)].get(); }
    TransformationState* GetCurrentState() const { return currentState; }

    bool IsAvailable() const { return available.load(); }
    bool IsMirrorActive() const { return available.load() && mirrorActive.load(); }
    bool IsRotationActive() const { return available.load() && rotationActive.load(); }
    bool IsTransposed() const { return available.load() && transposed.load(); }
    bool IsActive() const override { return IsMirrorActive() || IsRotationActive(); }
    // The stored flags and rotation, as the frame's thread sees them (regardless of availability).
    bool IsMirrorHorizontal() const { return mirrorXValue.load(); }
    bool IsMirrorVertical() const { return mirrorYValue.load(); }
    int GetRotation() const { return rotationValue.load(); }

    // Availability from the intermediate format: not for packed formats, 0 or the UV-ordered YUV format.
    // Emits AvailableChanged every time.
    void SetSourcePixelFormat(uint32_t format);
    void SetPixelFormat(uint32_t format) override { SetSourcePixelFormat(format); }

    // Frame's thread. A failure is logged and leaves the image as it was.
    void ProcessMirrorInplace(orna::ipl::Image& image);
    void ProcessRotationInplace(orna::ipl::Image& image);
    // Mirror first, then rotation, each when active.
    void Process(std::shared_ptr<orna::ipl::Image>& image) override;

    // A Bayer format with the order the current state gives to sourcePattern (or to its own order when
    // sourcePattern is none), same bit depth and packing; any other format unchanged.
    uint32_t MapBayerPixelFormat(uint32_t format,
                                 orna::ipl::BayerPattern sourcePattern = orna::ipl::BayerPattern::None) const;
    TransformationRect TransformRect(const TransformationRect& rect, const TransformationSize& size) const;
    TransformationRect InverseTransformRect(const TransformationRect& rect, const TransformationSize& size) const;
    std::vector<TransformationPoint> TransformPoints(const std::vector<TransformationPoint>& points,
                                                     const TransformationSize& size) const;

    IplEnable* GetMirrorXFeature() const { return mirrorXFeature; }
    IplEnable* GetMirrorYFeature() const { return mirrorYFeature; }
    IplRotationFeature* GetRotationFeature() const { return rotationFeature; }

public Q_SLOTS:
    void UpdateTransformationStatus();

Q_SIGNALS:
    void AvailableChanged(bool available);
    void TransformationChanged();
    void TransposedChanged(bool transposed);

private:
    void Publish(bool mirrorX, bool mirrorY, int64_t rotation);

    std::unique_ptr<orna::ipl::ImageTransformer> transformer;
    IplEnable* mirrorXFeature;
    IplEnable* mirrorYFeature;
    IplRotationFeature* rotationFeature;
    std::atomic<bool> available{true};
    std::atomic<bool> transposed{false};
    std::atomic<bool> mirrorActive{false};
    std::atomic<bool> rotationActive{false};
    std::atomic<bool> mirrorXValue{false};
    std::atomic<bool> mirrorYValue{false};
    std::atomic<int> rotationValue{0};
    std::array<std::unique_ptr<TransformationState>, StateCount> states;
    TransformationState* currentState = nullptr;
};
