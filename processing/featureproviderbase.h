// FeatureProviderBase: what every host feature provider of a camera shares.
//
// A provider is a per-camera QObject that VisionCamera makes in its constructor and frees in its destructor.
// It owns one stage of the host chain that the capture worker runs on each frame: the worker asks IsActive()
// and, only when that is true, hands the frame to Process(). The stages' processing arrives with their own
// work; until then every provider stays in its off state: inactive, frames untouched, no size change.
//
// Threads: constructed and destroyed on the GUI thread. IsActive, Process and the format getters are called
// from the capture thread (or a one-shot task) while the GUI thread may call the setters; the state here is
// atomic, so a change takes effect on the next frame that reads it. No mutex.
#pragma once

#include <QObject>

#include <atomic>
#include <cstdint>
#include <memory>

class VisionCamera;
namespace orna::ipl {
class Image;
}

class FeatureProviderBase : public QObject
{
    Q_OBJECT

public:
    explicit FeatureProviderBase(VisionCamera* camera, QObject* parent = nullptr);
    ~FeatureProviderBase() override;

    VisionCamera* GetCamera() const { return camera; }

    // True when the stage changes frames. The off state answers false.
    virtual bool IsActive() const { return false; }
    // Runs the stage on the image, in place or by replacing the handle. An inactive stage leaves it untouched.
    virtual void Process(std::shared_ptr<orna::ipl::Image>& image);

    // The pixel format the stage sees: the intermediate (unpacked) format for the stages before the destination
    // conversion, the destination format for those after it.
    virtual void SetPixelFormat(uint32_t pixelFormat);
    uint32_t GetPixelFormat() const { return pixelFormat.load(); }

    // Size of the images the stage sees.
    virtual void SetImageSize(int64_t width, int64_t height);
    int64_t GetImageWidth() const { return imageWidth.load(); }
    int64_t GetImageHeight() const { return imageHeight.load(); }

Q_SIGNALS:
    // A setting changed that the capture worker or the camera must take into account.
    void Changed();

private:
    VisionCamera* const camera;
    std::atomic<uint32_t> pixelFormat{0};
    std::atomic<int64_t> imageWidth{0};
    std::atomic<int64_t> imageHeight{0};
};
