// What a control element needs from the window that owns it (the main window): where the desk is, whether
// a place on it is free, the stacking order, and the connections of the deletion protocol.
//
// The frame does not know MainWindow's type; MainWindow implements this interface, registers itself with
// ControlElementHost::SetInstance(this) before the first element is built, and in ConnectElement connects
// each new element to its slots:
//   Signal_Redraw -> update, Signal_StartDeletingMe -> OnStartDeletingControlElement,
//   Signal_CloseMyCamera -> OnCloseControlElementCamera, Signal_FinishDeletingMe ->
//   OnFinishDeletingControlElement, Signal_UpdateControls -> OnRelayUpdateControls, and
//   Signal_RelayUpdateControls(ControlElement*) -> ControlElement::OnRelayUpdateControls.
//
// GUI thread only.
#pragma once

#include <QRect>

#include <functional>
#include <map>
#include <vector>

class ControlElement;
class DockingWidget;
class QWidget;

class ControlElementHost
{
public:
    virtual ~ControlElementHost();

    // The window whose children docked elements are (docked positions are in its coordinates).
    virtual QWidget* HostWindow() = 0;
    // The central area; null while the window is being built or torn down.
    virtual DockingWidget* HostDockingWidget() = 0;
    // May the element dock where it is now? See FreePlaceRule for the rule.
    virtual bool HasFreePlace(ControlElement* element) = 0;
    // Raises the element above its peers and highlights it.
    virtual void BringToFront(ControlElement* element) = 0;
    // Called once from the element's constructor.
    virtual void ConnectElement(ControlElement* element) = 0;

    // What a camera window asks of the desk. Hosts without a desk of panels (the frame's test hosts) keep
    // the defaults: no panel is made and a window keeps its size.
    //
    // Makes the panel of `type` for `owner` (a camera window), places it and fades it in; null for a type
    // without a registered class.
    virtual ControlElement* AddControlElement(ControlElement* owner, int type);
    // Stops the open button's busy animation once no camera window has its open in progress.
    virtual void UpdateOpenBusyState();
    // Gives a camera window whose camera has just opened the size its image asks for.
    virtual void PlaceOpenedCameraWindow(ControlElement* cameraWindow, int imageWidth, int imageHeight);

    // Builds the element of one panel type with the given parent. Each panel's code registers its class
    // (types 1..30) before the first window can ask for it; the host builds elements from this table.
    using ElementFactory = std::function<ControlElement*(QWidget* parent)>;
    static void RegisterElementType(int type, ElementFactory factory);
    static const std::map<int, ElementFactory>& ElementFactories();

    // The host of every element built from now on; null detaches (elements then dock into their parent).
    static void SetInstance(ControlElementHost* host);
    static ControlElementHost* Instance();

    // The free place rule: a camera window (type 0) may always dock; any other element only if its global
    // rectangle meets no other untabbed element of `elements` and no visible widget of `fixedElements`.
    static bool FreePlaceRule(const ControlElement* element, const std::vector<ControlElement*>& elements,
                              const std::vector<QWidget*>& fixedElements);
    // Global rectangle of any widget, docked or floating.
    static QRect GlobalRect(const QWidget* widget);
};
