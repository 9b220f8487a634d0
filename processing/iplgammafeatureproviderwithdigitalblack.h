// IplGammaFeatureProviderWithDigitalBlack: the gamma stage with a digital black level, used instead of the plain
// gamma provider when the internal look-up table is chosen (ApplicationGlobals::useInternalLut).
//
// Off state: the stage's processing arrives with its own work. Until then it is inactive and frames pass
// untouched; the black level is kept for the panels. Threads and state as FeatureProviderBase says.
#pragma once

#include "processing/iplgammafeatureprovider.h"

class IplGammaFeatureProviderWithDigitalBlack : public IplGammaFeatureProvider
{
    Q_OBJECT

public:
    explicit IplGammaFeatureProviderWithDigitalBlack(VisionCamera* camera, QObject* parent = nullptr);
    ~IplGammaFeatureProviderWithDigitalBlack() override;

    void SetDigitalBlack(int value) { digitalBlack = value; }
    int GetDigitalBlack() const { return digitalBlack.load(); }

private:
    std::atomic<int> digitalBlack{0};
};
