#include "processing/iflfeatureprovider.h"

IflFeatureProvider::IflFeatureProvider(VisionCamera* camera, QObject* parent) : FeatureProviderBase(camera, parent) {}

IflFeatureProvider::~IflFeatureProvider() = default;
