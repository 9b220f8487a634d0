#include "processing/iplsharpnessfeatureprovider.h"

IplSharpnessFeatureProvider::IplSharpnessFeatureProvider(VisionCamera* camera, QObject* parent)
    : FeatureProviderBase(camera, parent)
{
}

IplSharpnessFeatureProvider::~IplSharpnessFeatureProvider() = default;

bool IplSharpnessFeatureProvider::WantsFrame() const
{
    return measurementEnabled.load() && !IsMeasurementRunning() && framesSinceLast.load() >= frameSkip.load();
}

void IplSharpnessFeatureProvider::Process(std::shared_ptr<orna::ipl::Image>& image)
{
    if (!WantsFrame())
    {
        framesSinceLast.fetch_add(1);
        return;
    }
    framesSinceLast = 0;
    if (image)
        framesHandedOver.fetch_add(1);
}
