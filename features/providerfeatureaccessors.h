// Accessors of software features that belong to a host provider: the auto-feature family (AflManager) and the
// inference family (IflFeatureProvider). Each keeps a reference to its provider and asks it for availability:
// a feature whose provider is gone (the camera closed) or says no is not available, with access 1, so its
// bound control is disabled. The owner's own condition (SetAvailableFunction) still applies on top.
//
// The provider is held as a guarded QObject pointer, so a provider destroyed before the feature only makes the
// feature unavailable. The provider's question is installed by the owner as a callable on the provider's type
// (SetProviderQuestion); without one, a present provider counts as available. The provider classes are only
// forward-declared here; only providerfeatureaccessors.cpp sees them.
//
// Threads: GUI thread, like the feature that owns the accessor. The question runs on the GUI thread.
#pragma once

#include "features/softwarefeature.h"

#include <QPointer>

#include <functional>

class AflManager;
class IflFeatureProvider;

// What the two families share: the guarded provider and its question.
template <class Provider> class ProviderFeatureAccessor : public SoftwareFeatureAccessor
{
public:
    using Question = std::function<bool(const Provider&)>;

    // provider must be a QObject (it is cast to one for the guard); null gives an accessor that is never
    // available until SetProvider.
    ProviderFeatureAccessor(const QString& featureName, FeatureType featureType, Provider* provider,
                            bool isReadOnly = false)
        : SoftwareFeatureAccessor(featureName, featureType, isReadOnly)
    {
        SetProvider(provider);
    }

    void SetProvider(Provider* provider)
    {
        m_provider = provider;
        m_guard = provider ? ProviderObject(provider) : nullptr;
    }
    Provider* GetProvider() const { return m_guard ? m_provider : nullptr; }
    void SetProviderQuestion(Question question) { m_question = std::move(question); }

    bool IsAvailable() const override
    {
        Provider* provider = GetProvider();
        if (!provider)
            return false;
        if (m_question && !m_question(*provider))
            return false;
        return m_isAvailableFunction();
    }

protected:
    // The provider as the QObject it is; specialised in providerfeatureaccessors.cpp, where the provider
    // classes are complete.
    static QObject* ProviderObject(Provider* provider);

private:
    Provider* m_provider = nullptr;
    QPointer<QObject> m_guard;
    Question m_question;
};

template <> QObject* ProviderFeatureAccessor<AflManager>::ProviderObject(AflManager* provider);
template <> QObject* ProviderFeatureAccessor<IflFeatureProvider>::ProviderObject(IflFeatureProvider* provider);

// Auto features (brightness, white balance, focus) of one camera's AflManager.
class AflFeatureAccessorInterface : public ProviderFeatureAccessor<AflManager>
{
public:
    using ProviderFeatureAccessor<AflManager>::ProviderFeatureAccessor;
};

// Inference features of one loaded model: the provider and the model's handle (0 while none is loaded; a feature
// of no model is not available).
class IflFeatureAccessorInterface : public ProviderFeatureAccessor<IflFeatureProvider>
{
public:
    IflFeatureAccessorInterface(const QString& featureName, FeatureType featureType, IflFeatureProvider* provider,
                                quintptr modelHandle = 0, bool isReadOnly = false)
        : ProviderFeatureAccessor<IflFeatureProvider>(featureName, featureType, provider, isReadOnly),
          m_modelHandle(modelHandle)
    {
    }

    quintptr GetModelHandle() const { return m_modelHandle; }
    void SetModelHandle(quintptr handle) { m_modelHandle = handle; }

    bool IsAvailable() const override
    {
        return m_modelHandle != 0 && ProviderFeatureAccessor<IflFeatureProvider>::IsAvailable();
    }

private:
    quintptr m_modelHandle = 0;
};
