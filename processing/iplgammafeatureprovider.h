// IplGammaFeatureProvider: host gamma of the destination image.
//
// Off state: the stage's processing arrives with its own work. Until then the provider is inactive whatever its
// stored settings say, frames pass untouched and MapDestinationFormat maps every format to itself. The gamma
// flag and value are kept (the open worker sets their start values) so the panels can show them.
// Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/featureproviderbase.h"

class IplGammaFeatureProvider : public FeatureProviderBase
{
    Q_OBJECT

public:
    explicit IplGammaFeatureProvider(VisionCamera* camera, QObject* parent = nullptr);
    ~IplGammaFeatureProvider() override;

    // The format the host chain really gives for a wanted destination format.
    virtual uint32_t MapDestinationFormat(uint32_t destinationFormat) const { return destinationFormat; }
    // The gamma stage on the destination image, told the camera's source format.
    virtual void Process(std::shared_ptr<orna::ipl::Image>& image, uint32_t sourceFormat);
    using FeatureProviderBase::Process;

    void SetGammaEnabled(bool enabled) { gammaEnabled = enabled; }
    bool IsGammaEnabled() const { return gammaEnabled.load(); }
    void SetGamma(double value) { gamma = value; }
    double GetGamma() const { return gamma.load(); }

private:
    std::atomic<bool> gammaEnabled{false};
    std::atomic<double> gamma{1.0};
};
