#include "features/providerfeatureaccessors.h"

#include "processing/aflmanager.h"
#include "processing/iflfeatureprovider.h"

template <> QObject* ProviderFeatureAccessor<AflManager>::ProviderObject(AflManager* provider)
{
    return provider;
}

template <> QObject* ProviderFeatureAccessor<IflFeatureProvider>::ProviderObject(IflFeatureProvider* provider)
{
    return provider;
}
