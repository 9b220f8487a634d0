// A stand-in for the main window: a top-level widget with a 48-pixel bar above a DockingWidget, the
// element vector and the free place rule, so the frame runs exactly as it does in the application.
#pragma once

#include "controlelement/controlelement.h"
#include "controlelement/controlelementhost.h"
#include "controlelement/customlayout.h"
#include "controlelement/dockingwidget.h"

#include <QVBoxLayout>
#include <QWidget>

#include <algorithm>
#include <vector>

class TestHost : public QWidget, public ControlElementHost
{
public:
    TestHost()
    {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        auto* bar = new QWidget(this);
        bar->setFixedHeight(48);
        layout->addWidget(bar);
        dock = new DockingWidget(this);
        dock->SetGridOffset(10);
        layout->addWidget(dock, 1);
        dock->SetElementsProvider([this] { return elements; });
        ControlElementHost::SetInstance(this);
        setGeometry(0, 0, 760, 560);
    }
    ~TestHost() override { ControlElementHost::SetInstance(nullptr); }

    QWidget* HostWindow() override { return this; }
    DockingWidget* HostDockingWidget() override { return dock; }
    bool HasFreePlace(ControlElement* element) override { return FreePlaceRule(element, elements, {}); }
    void BringToFront(ControlElement* element) override
    {
        for (ControlElement* e : elements)
            e->SetHighlighted(e == element);
        element->raise();
    }
    void ConnectElement(ControlElement* element) override { connected.push_back(element); }

    // Top-left of the grid in host coordinates.
    QPoint GridOrigin() const { return dock->mapTo(const_cast<TestHost*>(this), dock->ContentOrigin()); }

    DockingWidget* dock = nullptr;
    std::vector<ControlElement*> elements;
    std::vector<ControlElement*> connected;
};

// A panel that counts its virtual operations in order, so tests can check the sequences of the frame.
class TestElement : public ControlElement
{
    Q_OBJECT

public:
    TestElement(QWidget* parent, int type, bool scroll = false) : ControlElement(parent, scroll)
    {
        SetType(type);
        SetTitle(QStringLiteral("Element %1").arg(type));
    }
    void ConnectControls() override { calls << QStringLiteral("connect"); }
    void DisconnectControls() override { calls << QStringLiteral("disconnect"); }
    void UpdateControls() override { calls << QStringLiteral("update"); }
    void UpdateStyleSheetWithoutDestroy() override
    {
        calls << QStringLiteral("restyle");
        ControlElement::UpdateStyleSheetWithoutDestroy();
    }
    void OnElementShown() override { ++shown; }
    void OnElementClosing() override { ++closing; }
    void InitFeatures() override { ++initFeatures; }
    void ExitFeatures() override { ++exitFeatures; }

    QStringList calls;
    int shown = 0;
    int closing = 0;
    int initFeatures = 0;
    int exitFeatures = 0;
};
