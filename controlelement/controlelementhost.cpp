#include "controlelement/controlelementhost.h"

#include "controlelement/controlelement.h"

#include <QPointer>
#include <QRect>
#include <QWidget>

namespace {
// GUI thread only, like everything of the frame; a plain pointer is enough.
ControlElementHost* g_host = nullptr;

std::map<int, ControlElementHost::ElementFactory>& Factories()
{
    static std::map<int, ControlElementHost::ElementFactory> factories;
    return factories;
}
} // namespace

void ControlElementHost::RegisterElementType(int type, ElementFactory factory)
{
    Factories()[type] = std::move(factory);
}

const std::map<int, ControlElementHost::ElementFactory>& ControlElementHost::ElementFactories()
{
    return Factories();
}

ControlElement* ControlElementHost::AddControlElement(ControlElement*, int)
{
    return nullptr;
}

void ControlElementHost::UpdateOpenBusyState() {}

void ControlElementHost::PlaceOpenedCameraWindow(ControlElement*, int, int) {}

ControlElementHost::~ControlElementHost()
{
    if (g_host == this)
        g_host = nullptr;
}

void ControlElementHost::SetInstance(ControlElementHost* host)
{
    g_host = host;
}

ControlElementHost* ControlElementHost::Instance()
{
    return g_host;
}

QRect ControlElementHost::GlobalRect(const QWidget* widget)
{
    return QRect(widget->mapToGlobal(QPoint(0, 0)), widget->size());
}

bool ControlElementHost::FreePlaceRule(const ControlElement* element, const std::vector<ControlElement*>& elements,
                                       const std::vector<QWidget*>& fixedElements)
{
    if (element == nullptr)
        return false;
    if (element->Type() == ControlElement::kCameraObjectType)
        return true;
    const QRect mine = GlobalRect(element);
    for (const ControlElement* other : elements)
    {
        if (other == nullptr || other == element || other->IsTabbed() || !other->isVisible())
            continue;
        if (GlobalRect(other).intersects(mine))
            return false;
    }
    for (const QWidget* fixed : fixedElements)
    {
        if (fixed == nullptr || fixed == element || !fixed->isVisible())
            continue;
        if (GlobalRect(fixed).intersects(mine))
            return false;
    }
    return true;
}
