// IplGainFeatureProvider: host gain (stage 7 of the chain): one master and three colour factors applied to the
// intermediate image by the camera's orna::ipl::Gain, which the auto white balance writes as well.
//
// The provider is made without a Gain and bound to the camera's by SetGainIPL. It runs on a frame only while
// it is bound, the intermediate format is one the stage takes (a not packed Bayer format, Mono8, Mono10,
// Mono12, or an unpacked RGB/BGR(a) form of 8 to 12 bits) and any factor, read from the Gain itself, is not
// exactly 1.0. The colour factors count only on a colour camera (SetColorGainsAvailable). The four features, their
// polling and the panel rows are not part of this class yet; SetMasterGain/SetColorGains write the Gain directly.
//
// Threads: made, bound and destroyed on the GUI thread. IsActive and Process run on the capture thread (or a
// one-shot task) while the GUI thread and the auto white balance's calculation thread write the factors; the
// Gain is safe for that, and the flags here are atomics. A failed application is logged and the frame goes
// on unchanged.
#pragma once

#include "processing/featureproviderbase.h"

namespace orna::ipl {
class Gain;
}

class IplGainFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplGainFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplGainFeatureProvider() override;

    // Not owned; null unbinds.
    void SetGainIPL(orna::ipl::Gain* gain);
    orna::ipl::Gain* GetGainIPL() const { return gain.load(); }

    void SetColorGainsAvailable(bool available) { colorGainsAvailable = available; }
    bool IsColorGainsAvailable() const { return colorGainsAvailable.load(); }
    // The intermediate format; SetPixelFormat (the camera's call for every source stage) comes here too.
    void SetSourcePixelFormat(uint32_t format);
    void SetPixelFormat(uint32_t format) override { SetSourcePixelFormat(format); }
    bool IsFormatSupported() const { return formatSupported.load(); }

    // The factors of the Gain; 1.0 each while unbound.
    double GetGainRed() const;
    double GetGainGreen() const;
    double GetGainBlue() const;
    double GetGainMaster() const;
    // Bound, a supported format, and any factor not exactly 1.0.
    bool IsActive() const override;
    bool IsAnyGainActive() const { return IsActive(); }
    // Stage 7 on the image, in place; on failure the image stays as it was and one line is logged.
    void Process(std::shared_ptr<orna::ipl::Image>& image) override;
    void ProcessImage(orna::ipl::Image& image);

    // Out-of-range values are logged and change nothing.
    void SetMasterGain(double value);
    void SetColorGains(double red, double green, double blue);
    // 1.0 to master, red, green, blue in this order.
    void Reset();
    void ResetGains() { Reset(); }

private:
    void Log(const QString& context, const QString& message) const;

    std::atomic<orna::ipl::Gain*> gain{nullptr};
    std::atomic<bool> colorGainsAvailable{false};
    std::atomic<uint32_t> sourcePixelFormat{0};
    std::atomic<bool> formatSupported{false};
};
