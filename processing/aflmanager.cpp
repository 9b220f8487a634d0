#include "processing/aflmanager.h"

AflManager::AflManager(VisionCamera* camera, QObject* parent) : FeatureProviderBase(camera, parent) {}

AflManager::~AflManager() = default;

void AflManager::SwitchAllOff()
{
    // No controller runs in the off state.
}

void AflManager::ShutdownControllers()
{
    // No controller exists in the off state.
}

bool AflManager::ProcessImage(const std::shared_ptr<orna::ipl::Image>&)
{
    return false;
}

void AflManager::ProcessImageBlocking(const orna::ipl::Image&)
{
    // No controller runs in the off state.
}
