// The abstract back end of a feature: what is bound to a concrete source (a node, or a value held in the
// process). A feature holds one accessor and forwards to it, so the source can change under a feature
// while the controls keep the feature.
//
// Threads: GUI thread, like the feature that owns it.
#pragma once

#include "nodetree/featuredefs.h"

#include <QString>

#include <functional>

class FeatureAccessorInterface
{
public:
    virtual ~FeatureAccessorInterface() = default;

    virtual bool IsAvailable() const = 0;
    virtual QString GetName() const = 0;
    virtual QString GetDisplayName() const = 0;
    virtual QString GetTooltip() const = 0;
    virtual QString GetDescription() const = 0;
    virtual FeatureType GetType() const = 0;
    virtual FeatureAccess GetAccess() = 0;
    virtual int GetVisibility() const = 0;
    virtual bool IsWriteable() = 0;
    virtual bool IsReadable() = 0;
    virtual bool IsAccessible() = 0;
    virtual void UpdateAccess() = 0;

    // An owner replaces this to switch the feature off by a condition of its own.
    void SetAvailableFunction(std::function<bool()> function)
    {
        m_isAvailableFunction = function ? std::move(function) : [] { return true; };
    }

protected:
    std::function<bool()> m_isAvailableFunction = [] { return true; };
};
