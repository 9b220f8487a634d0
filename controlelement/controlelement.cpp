#include "controlelement/controlelement.h"

#include "common/applicationglobals.h"
#include "controlelement/controlelementhost.h"
#include "controlelement/customlayout.h"
#include "controlelement/dockingwidget.h"
#include "controlelement/movehandler.h"
#include "controlelement/resizehandler.h"
#include "widgets/custompushbutton.h"
#include "widgets/iconbutton.h"
#include "widgets/theme.h"

#include <QFrame>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScreen>
#include <QScrollArea>
#include <QSpacerItem>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kMaxWidgetSize = 16777215;
const Qt::WindowFlags kFloatingFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::CustomizeWindowHint;

std::function<QString(VisionCamera*)>& CameraNameProvider()
{
    static std::function<QString(VisionCamera*)> provider;
    return provider;
}

int FloorMod(int a, int b)
{
    const int m = a % b;
    return m < 0 ? m + b : m;
}

int FloorDiv(int a, int b)
{
    return (a - FloorMod(a, b)) / b;
}

// The nearer of two candidates, the lower one at a tie.
int Nearer(int v, int lower, int upper)
{
    return (upper - v) < (v - lower) ? upper : lower;
}

} // namespace

// --- Construction

ControlElement::ControlElement(QWidget* parent, bool hasScrollArea)
    : QWidget(parent), m_hasScrollArea(hasScrollArea), m_host(ControlElementHost::Instance()),
      m_fadeTime(ApplicationGlobals::fadeInOutTime)
{
    // Queued connections and signal spies need the enum by name.
    static const int tabPositionType = qRegisterMetaType<ControlElement::TabPosition>("ControlElement::TabPosition");
    Q_UNUSED(tabPositionType);
    setAttribute(Qt::WA_TranslucentBackground, true);
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);

    m_background = new QLabel(this);
    m_background->setObjectName(QStringLiteral("ElementBackground"));
    m_background->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_background->lower();

    m_titleIcon = new QLabel(this);
    m_titleIcon->setFixedSize(buttonSize, buttonSize);
    m_titleIcon->hide();
    m_titleLabel = new QLabel(this);
    m_titleLabel->setObjectName(QStringLiteral("ElementTitle"));
    m_titleLabel->setFixedHeight(titleHeight);
    m_titleLabel->setMinimumWidth(10);
    m_titleLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_buttonMaximize = new IconButton(QStringLiteral("window-maximize.png"), this);
    m_buttonMaximize->setFixedSize(buttonSize, buttonSize);
    m_buttonClose = new IconButton(QStringLiteral("close.png"), this);
    m_buttonClose->setFixedSize(buttonSize, buttonSize);
    m_buttonOk = new CustomPushButton(QString(), this);
    m_buttonOk->setFixedHeight(30);
    m_buttonOk->hide();

    auto* titleRow = new QHBoxLayout;
    titleRow->setContentsMargins(0, 0, 0, 0);
    titleRow->setSpacing(layoutMargin);
    titleRow->addWidget(m_titleIcon);
    titleRow->addWidget(m_titleLabel, 1);
    titleRow->addWidget(m_buttonMaximize);
    titleRow->addWidget(m_buttonClose);

    m_contentWidget = new QWidget;
    m_contentWidget->setObjectName(QStringLiteral("ElementContent"));
    m_layout = new CustomLayout(m_contentWidget);
    QWidget* body = m_contentWidget;
    if (m_hasScrollArea)
    {
        m_scrollArea = new QScrollArea(this);
        m_scrollArea->setObjectName(QStringLiteral("ElementScrollArea"));
        m_scrollArea->setWidgetResizable(true);
        m_scrollArea->setFrameShape(QFrame::NoFrame);
        m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        m_scrollArea->setWidget(m_contentWidget);
        body = m_scrollArea;
    }
    else
    {
        m_contentWidget->setParent(this);
    }

    m_placeholder = new QFrame(this);
    m_placeholder->setObjectName(QStringLiteral("TabPlaceholder"));
    m_placeholder->hide();
    m_leftTabLayout = new QVBoxLayout;
    m_leftTabLayout->setContentsMargins(0, 0, 0, 0);
    m_rightTabLayout = new QVBoxLayout;
    m_rightTabLayout->setContentsMargins(0, 0, 0, 0);
    m_leftSpacer = new QSpacerItem(0, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
    m_rightSpacer = new QSpacerItem(0, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
    m_bodyLayout = new QHBoxLayout;
    m_bodyLayout->setContentsMargins(0, 0, 0, 0);
    m_bodyLayout->setSpacing(0);
    m_bodyLayout->addLayout(m_leftTabLayout);
    m_bodyLayout->addSpacerItem(m_leftSpacer);
    m_bodyLayout->addWidget(body, 1);
    m_bodyLayout->addSpacerItem(m_rightSpacer);
    m_bodyLayout->addLayout(m_rightTabLayout);

    auto* okRow = new QHBoxLayout;
    okRow->setContentsMargins(0, 0, 0, 0);
    okRow->addStretch(1);
    okRow->addWidget(m_buttonOk);

    m_frameLayout = new QVBoxLayout(this);
    m_frameLayout->setContentsMargins(layoutMargin, 0, layoutMargin, layoutMargin);
    m_frameLayout->setSpacing(0);
    m_frameLayout->addLayout(titleRow);
    m_frameLayout->addLayout(m_bodyLayout, 1);
    m_frameLayout->addLayout(okRow);

    m_moveHandler = new MoveHandler(m_titleLabel, this);
    m_moveHandler->SetMargins(QRect(0, 0, 0, 0));
    m_resizeHandler = new ResizeHandler(this, resizeBorder);

    connect(m_moveHandler, &MoveHandler::MoveFinished, this, &ControlElement::OnMoveOrResizeFinished,
            Qt::DirectConnection);
    connect(m_resizeHandler, &ResizeHandler::ResizeStarted, this, &ControlElement::OnResizeStarted);
    connect(m_resizeHandler, &ResizeHandler::ResizeFinished, this, &ControlElement::OnMoveOrResizeFinished,
            Qt::DirectConnection);
    connect(m_buttonMaximize, &IconButton::clicked, this, &ControlElement::OnButtonMaximize);
    connect(m_buttonClose, &IconButton::clicked, this, &ControlElement::OnButtonClose);
    connect(m_buttonOk, &CustomPushButton::clicked, this, &ControlElement::Signal_OkClicked);

    ControlElement::UpdateTexts();
    if (m_host != nullptr)
        m_host->ConnectElement(this);
    UpdateStyleSheetWithoutDestroy();
}

ControlElement::~ControlElement()
{
    // Tabbed children are Qt children of this element; hand them back before they are destroyed with it.
    for (ControlElement* child : {m_leftTabbed.data(), m_rightTabbed.data()})
    {
        if (child != nullptr)
            child->m_parentElement = nullptr;
    }
}

ControlElementHost* ControlElement::Host() const
{
    return m_host;
}

QWidget* ControlElement::HostWindow() const
{
    if (m_host != nullptr && m_host->HostWindow() != nullptr)
        return m_host->HostWindow();
    return parentWidget();
}

DockingWidget* ControlElement::HostDocking() const
{
    return m_host != nullptr ? m_host->HostDockingWidget() : nullptr;
}

QPoint ControlElement::HostOrigin() const
{
    QWidget* w = HostWindow();
    return w != nullptr ? w->mapToGlobal(QPoint(0, 0)) : QPoint(0, 0);
}

QRect ControlElement::DockRectGlobal() const
{
    DockingWidget* dw = HostDocking();
    return dw != nullptr ? dw->GlobalRect() : QRect();
}

bool ControlElement::HostHasFreePlace()
{
    return m_host != nullptr && m_host->HasFreePlace(this);
}

void ControlElement::HostBringToFront()
{
    if (m_host != nullptr)
        m_host->BringToFront(this);
    else
        raise();
}

void ControlElement::ShowHighlight(bool show)
{
    DockingWidget* dw = HostDocking();
    if (dw == nullptr)
        return;
    if (show)
        dw->ShowHighlight();
    else
        dw->HideHighlight(false);
}

// --- Relations and camera

void ControlElement::SetCamera(VisionCamera* camera)
{
    if (m_followsParentCamera)
        return;
    m_camera = camera;
    UpdateTitle();
}

void ControlElement::UpdateCamera(VisionCamera* camera)
{
    m_camera = camera;
    OnCameraChanged();
    UpdateTitle();
}

void ControlElement::SetParentElement(ControlElement* parent)
{
    ControlElement* old = m_parentElement;
    if (old != nullptr)
    {
        disconnect(this, &ControlElement::Signal_PrepareTabMe, old, &ControlElement::OnPrepareTabChild);
        disconnect(this, &ControlElement::Signal_TabMeLeft, old, &ControlElement::OnTabChildLeft);
        disconnect(this, &ControlElement::Signal_TabMeRight, old, &ControlElement::OnTabChildRight);
    }
    if (m_followsParentCamera)
    {
        m_camera = nullptr;
        OnCameraChanged();
        if (old != nullptr)
            disconnect(old, &ControlElement::Signal_CameraChanged, this, &ControlElement::UpdateCamera);
    }
    m_parentElement = parent;
    m_cameraObject = nullptr;
    if (parent != nullptr && parent->Type() == kCameraObjectType)
        m_cameraObject = parent;
    if (parent != nullptr)
    {
        connect(this, &ControlElement::Signal_PrepareTabMe, parent, &ControlElement::OnPrepareTabChild,
                Qt::UniqueConnection);
        connect(this, &ControlElement::Signal_TabMeLeft, parent, &ControlElement::OnTabChildLeft, Qt::UniqueConnection);
        connect(this, &ControlElement::Signal_TabMeRight, parent, &ControlElement::OnTabChildRight,
                Qt::UniqueConnection);
        if (m_followsParentCamera)
        {
            m_camera = parent->Camera();
            OnCameraChanged();
            connect(parent, &ControlElement::Signal_CameraChanged, this, &ControlElement::UpdateCamera,
                    Qt::UniqueConnection);
        }
    }
    UpdateTitle();
}

void ControlElement::SetCameraEnabled(bool enabled)
{
    m_cameraEnabled = enabled;
    setEnabled(true);
    m_layout->EnableRows(enabled);
}

void ControlElement::RunCameraBindingCheck()
{
    ControlElement* parent = m_parentElement;
    if (parent == nullptr)
    {
        m_cameraObject = nullptr;
        return;
    }
    const bool hasCamera = m_camera != nullptr;
    const bool parentHasCamera = parent->Camera() != nullptr;
    const bool parentEnabled = parent->IsCameraEnabled();
    if (!hasCamera && parentHasCamera && parentEnabled)
    {
        const bool wasEnabled = m_cameraEnabled;
        if (!m_followsParentCamera)
            m_camera = parent->Camera();
        InitFeatures();
        if (!wasEnabled)
        {
            SetCameraEnabled(true);
            OnElementShown();
        }
        UpdateTitle();
    }
    else if (!hasCamera && !parentHasCamera && !parentEnabled)
    {
        SetCameraEnabled(false);
        ExitFeatures();
    }
    else if (hasCamera && parentHasCamera && !parentEnabled)
    {
        OnElementClosing();
        ExitFeatures();
        m_camera = nullptr;
        SetCameraEnabled(false);
        UpdateTitle();
    }
}

void ControlElement::OnRelayUpdateControls(ControlElement* elem)
{
    if (elem == nullptr || elem == this)
        return;
    const auto root = [](ControlElement* e) {
        for (int steps = 0; steps < 99 && e->ParentElement() != nullptr; ++steps)
            e = e->ParentElement();
        return e;
    };
    if (root(elem) == root(this))
        UpdateControls();
}

// --- Title

void ControlElement::SetCameraNameProvider(std::function<QString(VisionCamera*)> provider)
{
    CameraNameProvider() = std::move(provider);
}

void ControlElement::SetTitle(const QString& title, bool plain)
{
    m_title = title;
    m_plainTitle = plain;
    UpdateTitle();
}

QString ControlElement::TitleText() const
{
    if (m_title.isEmpty())
        return QString();
    if (m_camera != nullptr && !m_plainTitle && !IsTabbed() && CameraNameProvider())
    {
        const QString name = CameraNameProvider()(m_camera);
        if (!name.isEmpty())
            return m_title + QStringLiteral(" (") + name + QStringLiteral(")");
    }
    return m_title;
}

void ControlElement::UpdateTitle()
{
    m_titleLabel->setText(TitleText());
}

void ControlElement::SetTitleIcon(const QString& iconFile)
{
    m_titleIconFile = iconFile;
    const QPixmap pixmap(ApplicationGlobals::Icon24(iconFile));
    m_titleIcon->setPixmap(pixmap.isNull()
                               ? QPixmap()
                               : pixmap.scaled(buttonSize, buttonSize, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

void ControlElement::ShowTitleIcon(bool show)
{
    m_titleIcon->setVisible(show);
}

void ControlElement::ShowTitleIcon()
{
    ShowTitleIcon(true);
}

// --- Frame state

void ControlElement::SetMovable(bool movable)
{
    m_movable = movable;
    m_moveHandler->SetEnabled(m_movable && !m_maximized);
}

void ControlElement::SetResizable(bool resizable)
{
    m_resizable = resizable;
    m_resizeHandler->SetEnabled(m_resizable && !m_maximized);
}

void ControlElement::SetHighlighted(bool highlighted)
{
    if (m_highlighted == highlighted)
        return;
    m_highlighted = highlighted;
    update();
}

void ControlElement::ShowOkButton(bool show)
{
    m_buttonOk->setVisible(show);
}

void ControlElement::ShowMaximizeButton(bool show)
{
    m_buttonMaximize->setVisible(show);
}

void ControlElement::ShowCloseButton(bool show)
{
    m_buttonClose->setVisible(show);
}

void ControlElement::SetDocked(bool docked)
{
    QWidget* host = HostWindow();
    const QPoint global = mapToGlobal(QPoint(0, 0));
    const QPoint origin = HostOrigin();
    m_docked = docked;
    m_changingFrame = true;
    if (docked)
    {
        if (host != nullptr && parentWidget() != host)
            setParent(host, Qt::Widget);
        else
            setWindowFlags(Qt::Widget);
        move(global - origin);
    }
    else
    {
        if (host != nullptr && parentWidget() != host)
            setParent(host, kFloatingFlags);
        else
            setWindowFlags(kFloatingFlags);
        move(global);
    }
    m_changingFrame = false;
    if (m_maximized)
        BindToDockingRect(m_docked);
    activateWindow();
    show();
    HostBringToFront();
}

void ControlElement::ApplyGeometry(int x, int y, int width, int height, bool docked)
{
    if (docked && !m_docked)
    {
        SetDocked(true);
        setGeometry(x, y, width, height);
    }
    else if (!docked && m_docked)
    {
        const QPoint origin = HostOrigin();
        setGeometry(x - origin.x(), y - origin.y(), width, height);
        SetDocked(false);
    }
    else
    {
        setGeometry(x, y, width, height);
    }
}

void ControlElement::SetDefaultSize(int width, int height, int minWidth, int minHeight)
{
    m_defaultSize = QSize(width, height);
    m_lastSize = m_defaultSize;
    if (m_scrollArea != nullptr)
    {
        m_scrollArea->setFixedHeight(std::max(0, height - 3 * layoutMargin - titleHeight));
        m_contentWidget->setMinimumWidth(std::max(0, width - 2 * ApplicationGlobals::gridSize));
    }
    setMinimumSize(minWidth < 0 ? width : minWidth, minHeight < 0 ? height : minHeight);
    resize(width, height);
}

void ControlElement::SetMaximized(bool on, bool changeGeometry)
{
    m_maximized = on;
    m_moveHandler->SetEnabled(m_movable && !on);
    m_resizeHandler->SetEnabled(m_resizable && !on);
    UpdateMaximizeIcon();
    if (changeGeometry)
    {
        if (on)
        {
            m_restoreRect = geometry();
            if (m_docked)
            {
                FillDockingRectSize();
            }
            else
            {
                QScreen* screen = this->screen() != nullptr ? this->screen() : QGuiApplication::primaryScreen();
                if (screen != nullptr)
                    setGeometry(screen->availableGeometry());
            }
        }
        else if (m_restoreRect.isValid())
        {
            setGeometry(m_restoreRect);
        }
    }
    BindToDockingRect(on && m_docked);
    Q_EMIT Signal_Redraw();
}

void ControlElement::BindToDockingRect(bool bind)
{
    DockingWidget* dw = HostDocking();
    if (dw == nullptr || bind == m_boundToDockingRect)
        return;
    m_boundToDockingRect = bind;
    if (bind)
        connect(dw, &DockingWidget::Signal_RectChanged, this, &ControlElement::FillDockingRectSize);
    else
        disconnect(dw, &DockingWidget::Signal_RectChanged, this, &ControlElement::FillDockingRectSize);
}

void ControlElement::FillDockingRectSize()
{
    DockingWidget* dw = HostDocking();
    QWidget* host = HostWindow();
    if (dw == nullptr || host == nullptr || !m_docked)
        return;
    const QRect area(dw->mapTo(host, QPoint(0, 0)), dw->size());
    setGeometry(area.adjusted(-1, -1, 1, 1));
}

void ControlElement::UpdateMaximizeIcon()
{
    m_buttonMaximize->SetIconFile(m_maximized ? QStringLiteral("window-restore.png")
                                              : QStringLiteral("window-maximize.png"));
    m_buttonMaximize->setToolTip(m_maximized ? tr("Restore") : tr("Maximize"));
}

void ControlElement::UpdateTexts()
{
    m_buttonClose->setToolTip(tr("Close"));
    m_buttonOk->SetText(tr("OK"));
    UpdateMaximizeIcon();
}

void ControlElement::OnButtonMaximize()
{
    // A tabbed panel's size is its column's: there is nothing to maximise to inside the camera window.
    if (IsTabbed())
        return;
    SetMaximized(!m_maximized, true);
}

void ControlElement::OnButtonClose()
{
    if (!m_buttonClose->isEnabled())
        return;
    // A second click must not start a second deletion.
    m_buttonClose->setEnabled(false);
    Q_EMIT Signal_CloseClicked();
    Q_EMIT Signal_StartDeletingMe();
}

void ControlElement::SetTabbed(bool left, bool tabbed)
{
    if (tabbed && m_maximized)
        SetMaximized(false, true);
    m_tabbedLeft = left && tabbed;
    m_tabbedRight = !left && tabbed;
    m_buttonMaximize->setEnabled(!tabbed);
    UpdateResizeEdges();
    UpdateTitle();
}

void ControlElement::UpdateResizeEdges()
{
    if (m_tabbedLeft)
        m_resizeHandler->SetEdgesEnabled(false, false, false, true);
    else if (m_tabbedRight)
        m_resizeHandler->SetEdgesEnabled(false, false, true, false);
    else
        m_resizeHandler->SetEdgesEnabled(true, true, true, true);
}

QSize ControlElement::sizeHint() const
{
    if (IsTabbed() && m_lastSize.isValid())
        return m_lastSize;
    return QWidget::sizeHint();
}

// --- Content

QFrame* ControlElement::AddSeparator(int row, int spaceAbove, int spaceBelow)
{
    auto* column = new QVBoxLayout;
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addSpacing(spaceAbove);
    auto* line = new QFrame(m_contentWidget);
    line->setFixedHeight(1);
    line->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    line->setStyleSheet(QStringLiteral("QFrame{background-color: %1}").arg(ApplicationGlobals::colorSeparator.name()));
    column->addWidget(line);
    column->addSpacing(spaceBelow);
    m_layout->AddLayout(row, column);
    m_connectionList.push_back(line);
    return line;
}

// --- Theme

void ControlElement::UpdateStyleSheet()
{
    DisconnectControls();
    UpdateStyleSheetWithoutDestroy();
    ConnectControls();
    UpdateControls();
}

void ControlElement::UpdateStyleSheetWithoutDestroy()
{
    using G = ApplicationGlobals;
    m_titleLabel->setFont(G::fontLarge);
    m_titleLabel->setStyleSheet(
        QStringLiteral("QLabel { color: %1; background: transparent; padding-left: 3px; }").arg(G::colorText.name()));
    m_background->setStyleSheet(QStringLiteral("QLabel { background: transparent; }"));
    m_placeholder->setStyleSheet(
        QStringLiteral("QFrame#TabPlaceholder { background-color: %1; border: 1px dashed %2; }")
            .arg(G::colorBackgroundAlternate.name(), G::colorAccent.name()));
    m_contentWidget->setStyleSheet(QStringLiteral("QWidget#ElementContent { background: transparent; }"));
    if (m_scrollArea != nullptr)
        // The skin's scroll bars: a panel's stock bar stayed light in the dark skin.
        m_scrollArea->setStyleSheet(QStringLiteral("QScrollArea#ElementScrollArea { background: transparent; }") +
                                    Theme::ScrollBarCss());
    m_buttonMaximize->UpdateStyleSheet();
    m_buttonClose->UpdateStyleSheet();
    m_buttonOk->UpdateStyleSheet();
    if (!m_titleIconFile.isEmpty())
        SetTitleIcon(m_titleIconFile);
    UpdateMaximizeIcon();
    Theme::RestyleTree(m_contentWidget);
    const QString separator = QStringLiteral("QFrame{background-color: %1}").arg(G::colorSeparator.name());
    for (QFrame* line : m_connectionList)
        line->setStyleSheet(separator);
    update();
    RunCameraBindingCheck();
}

void ControlElement::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    // The element paints its own rounded-free frame: the background is translucent so that a fade shows the
    // desk beneath, and the border carries the highlight of the top element.
    QPainter painter(this);
    painter.fillRect(rect(), ApplicationGlobals::colorBackground);
    const QColor border = m_highlighted ? ApplicationGlobals::colorAccent : ApplicationGlobals::colorBorder;
    painter.setPen(QPen(border, 1));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

// --- Mouse and gesture

void ControlElement::mousePressEvent(QMouseEvent* event)
{
    setFocus(Qt::MouseFocusReason);
    m_dockRect = DockRectGlobal();
    if (m_parentElement != nullptr)
        TabZones(m_parentElement->mapToGlobal(QPoint(0, 0)), m_parentElement->size(), &m_leftTabZone, &m_rightTabZone);
    else
        m_leftTabZone = m_rightTabZone = QRect();
    m_movedByUser = m_moveHandler->IsMoving();
    m_pressRect = geometry();
    HostBringToFront();
    event->accept();
}

void ControlElement::mouseDoubleClickEvent(QMouseEvent* event)
{
    // Only the title row counts, and only where the maximize button could be used.
    if (m_buttonMaximize->isVisible() && event->pos().y() >= m_buttonMaximize->geometry().top() &&
        event->pos().y() <= m_buttonMaximize->geometry().bottom())
    {
        OnButtonMaximize();
        event->accept();
        return;
    }
    QWidget::mouseDoubleClickEvent(event);
}

void ControlElement::TabZones(const QPoint& parentGlobal, const QSize& parentSize, QRect* leftZone, QRect* rightZone)
{
    const int gx = parentGlobal.x() + 3;
    const int gy = parentGlobal.y() + 3;
    const int w = parentSize.width() - 6;
    const int t = w / 3;
    const int bottom = gy + parentSize.height() - 7;
    *leftZone = QRect(QPoint(gx, gy), QPoint(gx + t - 1, bottom));
    *rightZone = QRect(QPoint(gx + w - t - 1, gy), QPoint(gx + w - 2, bottom));
}

void ControlElement::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    if (m_changingFrame || !m_moveHandler->IsMoving())
        return;

    // 1. Dragging a tabbed element tears it off.
    if (m_tabbedLeft)
        Q_EMIT Signal_TabMeLeft(false);
    else if (m_tabbedRight)
        Q_EMIT Signal_TabMeRight(false);

    // 2. The gesture rectangles.
    const QPoint topLeft = mapToGlobal(QPoint(0, 0));
    const int x = topLeft.x(), y = topLeft.y(), w = width(), h = height();
    m_selfRect = QRect(QPoint(x, y), QPoint(x + w - 1, y + h - 1));
    m_leftHalf = QRect(QPoint(x, y), QPoint(x + w / 2 - 1, y + h - 1));
    m_rightHalf = QRect(QPoint(x + w / 2, y), QPoint(x + (w - w % 2) - 1, y + h - 1));

    // 3. A drag always lifts the element out of the main window.
    if (m_docked)
        SetDocked(false);

    // 4. Tab zones of the parent.
    bool tabZoneApplies = false;
    ControlElement* parent = m_parentElement;
    if (parent != nullptr)
    {
        const bool leftFree = parent->LeftTabbedElement() == nullptr;
        const bool rightFree = parent->RightTabbedElement() == nullptr;
        if (leftFree && m_leftTabZone.contains(m_leftHalf))
        {
            tabZoneApplies = true;
            if (!parent->IsPlaceholderVisible())
                Q_EMIT Signal_PrepareTabMe(TabLeftSide, width());
        }
        else if (!rightFree || !m_rightTabZone.contains(m_rightHalf))
        {
            if (parent->IsPlaceholderVisible())
                Q_EMIT Signal_PrepareTabMe(TabNone, width());
        }
        else
        {
            tabZoneApplies = true;
            if (!parent->IsPlaceholderVisible())
                Q_EMIT Signal_PrepareTabMe(TabRightSide, width());
        }
    }

    // 5. The docking highlight.
    if (tabZoneApplies)
        ShowHighlight(false);
    else if (!m_docked && m_dockRect.isValid() && m_dockRect.contains(m_selfRect))
        ShowHighlight(HostHasFreePlace());
    else
        ShowHighlight(false);
}

void ControlElement::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_background->setGeometry(rect());
    m_lastSize = size();
}

int ControlElement::SnapX(int x, int ax, int g)
{
    const int lower = ax + FloorDiv(x - ax, g) * g;
    return std::max(Nearer(x, lower, lower + g), ax);
}

int ControlElement::SnapY(int y, int ay, int g)
{
    const int lower = y - FloorMod(y - ay, g) - 1;
    const int result = Nearer(y, lower, lower + g);
    return result < ay ? ay - 1 : result;
}

int ControlElement::SnapSize(int v, int g)
{
    const int lower = v - FloorMod(v, g) + 1;
    return Nearer(v, lower, lower + g);
}

QRect ControlElement::SnapToGrid(const QRect& geometry, const QPoint& origin, int g)
{
    return QRect(SnapX(geometry.x(), origin.x(), g), SnapY(geometry.y(), origin.y(), g), SnapSize(geometry.width(), g),
                 SnapSize(geometry.height(), g));
}

void ControlElement::OnResizeStarted()
{
    // The resize handler consumes the press, so the element is raised here as by a press on its body.
    m_pressRect = geometry();
    HostBringToFront();
    // A tabbed panel's width is held by its maximum width; the free edge may widen it beyond.
    if (IsTabbed())
        setMaximumWidth(kMaxWidgetSize);
}

void ControlElement::OnMoveOrResizeFinished()
{
    ControlElement* parent = m_parentElement;
    if (IsTabbed() && !m_movedByUser)
    {
        // A tabbed panel resized by its free edge: the column takes the new width and keeps it at every layout
        // pass (the width is held as the maximum, the size hint follows the last size).
        const int newWidth = width();
        setMaximumWidth(newWidth);
        m_lastSize = size();
        if (auto* host = qobject_cast<ControlElement*>(parentWidget()))
            host->RelayoutAfterTab();
        Q_EMIT Signal_Redraw();
        return;
    }
    // 1. Tab or dock where the user dropped it.
    if (m_movedByUser)
    {
        if (parent != nullptr)
        {
            if (parent->LeftTabbedElement() == nullptr && m_leftTabZone.contains(m_leftHalf))
                Q_EMIT Signal_TabMeLeft(true);
            else if (parent->RightTabbedElement() == nullptr && m_rightTabZone.contains(m_rightHalf))
                Q_EMIT Signal_TabMeRight(true);
        }
        if (!m_docked && !IsTabbed() && m_dockRect.isValid() && m_dockRect.contains(m_selfRect) && HostHasFreePlace())
            SetDocked(true);
    }

    // 2. Snap a docked element to the grid.
    QRect target = geometry();
    DockingWidget* dw = HostDocking();
    QWidget* host = HostWindow();
    if (m_docked && !IsTabbed() && dw != nullptr && host != nullptr && !m_maximized)
    {
        const QPoint origin = dw->mapTo(host, dw->ContentOrigin());
        target = SnapToGrid(target, origin, ApplicationGlobals::gridSize);
    }
    // 3.
    if (target != m_pressRect || target != geometry())
    {
        if (target != geometry())
            setGeometry(target);
        m_pressRect = target;
    }
    // 4.
    if (!m_docked && !IsTabbed())
        KeepTitleOnScreen();
    // 5.
    if (dw != nullptr)
        dw->HideHighlight(true);
    Q_EMIT Signal_Redraw();
    m_movedByUser = false;
}

void ControlElement::KeepTitleOnScreen()
{
    QScreen* screen = this->screen() != nullptr ? this->screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return;
    const QRect available = screen->availableGeometry();
    const QPoint global = mapToGlobal(QPoint(0, 0));
    int newTop = global.y();
    if (global.y() < available.top())
        newTop = available.top();
    else if (global.y() > available.bottom() - titleHeight)
        newTop = available.bottom() - titleHeight;
    if (newTop != global.y())
        move(pos().x(), pos().y() + (newTop - global.y()));
}

// --- Tab host

bool ControlElement::IsPlaceholderVisible() const
{
    return !m_placeholder->isHidden();
}

void ControlElement::SetPlaceholderSide(TabPosition pos, int width)
{
    m_leftTabLayout->removeWidget(m_placeholder);
    m_rightTabLayout->removeWidget(m_placeholder);
    if (pos == TabNone)
    {
        m_placeholder->hide();
        m_leftSpacer->changeSize(m_leftTabbed ? m_tabSpacerSize : 0, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
        m_rightSpacer->changeSize(m_rightTabbed ? m_tabSpacerSize : 0, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
    }
    else
    {
        m_placeholder->setFixedWidth(std::max(width, 1));
        QVBoxLayout* side = pos == TabLeftSide ? m_leftTabLayout : m_rightTabLayout;
        QSpacerItem* spacer = pos == TabLeftSide ? m_leftSpacer : m_rightSpacer;
        side->addWidget(m_placeholder);
        spacer->changeSize(m_tabSpacerSize, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
        m_placeholder->show();
    }
    m_bodyLayout->invalidate();
}

void ControlElement::OnPrepareTabChild(ControlElement::TabPosition tabPos, int width)
{
    SetPlaceholderSide(tabPos, width);
}

void ControlElement::TabLeft(ControlElement* element, bool tab)
{
    TabSide(true, element, tab);
}

void ControlElement::TabRight(ControlElement* element, bool tab)
{
    TabSide(false, element, tab);
}

void ControlElement::TabSide(bool left, ControlElement* element, bool tab)
{
    if (element == nullptr)
        return;
    QVBoxLayout* side = left ? m_leftTabLayout : m_rightTabLayout;
    QSpacerItem* spacer = left ? m_leftSpacer : m_rightSpacer;
    QPointer<ControlElement>& slot = left ? m_leftTabbed : m_rightTabbed;
    if (tab)
    {
        if (slot != nullptr && slot != element)
            return;
        element->SetTabbed(left, true);
        element->SetWasPlaced(true);
        element->m_docked = false;
        element->m_changingFrame = true;
        element->setParent(this, Qt::Widget);
        side->addWidget(element);
        element->m_changingFrame = false;
        element->setSizePolicy(element->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        element->setMaximumSize(element->width(), kMaxWidgetSize);
        spacer->changeSize(m_tabSpacerSize, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
        slot = element;
        element->show();
    }
    else
    {
        if (slot != element)
            return;
        const QPoint global = element->mapToGlobal(QPoint(0, 0));
        element->SetTabbed(left, false);
        element->SetWasPlaced(true);
        spacer->changeSize(0, 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
        side->removeWidget(element);
        slot = nullptr;
        QWidget* host = HostWindow() != nullptr ? HostWindow() : parentWidget();
        element->m_changingFrame = true;
        element->setMaximumSize(kMaxWidgetSize, kMaxWidgetSize);
        element->setParent(host, kFloatingFlags);
        element->m_docked = false;
        element->move(global);
        element->m_changingFrame = false;
        element->show();
    }
    m_bodyLayout->invalidate();
    Q_EMIT Signal_Redraw();
}

void ControlElement::RelayoutAfterTab()
{
    m_frameLayout->activate();
    update();
}

void ControlElement::OnTabChildLeft(bool tab)
{
    auto* element = qobject_cast<ControlElement*>(sender());
    if (element == nullptr)
        return;
    SetPlaceholderSide(TabNone, 0);
    TabLeft(element, tab);
    if (!tab && element->DefaultSize().isValid())
        element->resize(element->width(), element->DefaultSize().height());
    RelayoutAfterTab();
}

void ControlElement::OnTabChildRight(bool tab)
{
    auto* element = qobject_cast<ControlElement*>(sender());
    if (element == nullptr)
        return;
    SetPlaceholderSide(TabNone, 0);
    TabRight(element, tab);
    if (!tab && element->DefaultSize().isValid())
        element->resize(element->width(), element->DefaultSize().height());
    RelayoutAfterTab();
}

bool ControlElement::RememberedPlace(int type, Place* place) const
{
    const auto it = m_places.find(type);
    if (it == m_places.end())
        return false;
    if (place != nullptr)
        *place = it->second;
    return true;
}

// --- Fades

bool ControlElement::IsFading() const
{
    return m_fadeAnimation != nullptr && m_fadeAnimation->state() == QAbstractAnimation::Running;
}

void ControlElement::MoveFromStartToEnd(const QPoint& start, const QPoint& end)
{
    if (m_moveAnimation == nullptr)
    {
        m_moveAnimation = new QPropertyAnimation(this, "pos", this);
        connect(m_moveAnimation, &QPropertyAnimation::finished, this,
                &ControlElement::Signal_MoveFromStartToEndFinished);
    }
    m_moveAnimation->stop();
    m_moveAnimation->setDuration(std::max(m_fadeTime, 0));
    m_moveAnimation->setStartValue(start);
    m_moveAnimation->setEndValue(end);
    move(start);
    m_moveAnimation->start();
}

void ControlElement::FadeIn()
{
    StartFade(FadeKind::In);
}

void ControlElement::FadeOut()
{
    StartFade(FadeKind::Out);
}

void ControlElement::FadeOutAndDelete()
{
    OnElementClosing();
    StartFade(FadeKind::OutAndDelete);
}

void ControlElement::StartFade(FadeKind kind)
{
    m_shown = false;
    setAttribute(Qt::WA_TransparentForMouseEvents, true);
    const bool in = kind == FadeKind::In;
    double from = in ? 0.0 : 1.0;
    if (m_fadeAnimation == nullptr)
    {
        m_fadeEffect = new QGraphicsOpacityEffect(this);
        setGraphicsEffect(m_fadeEffect);
        m_fadeAnimation = new QPropertyAnimation(m_fadeEffect, "opacity", this);
    }
    else
    {
        // A new fade takes over a running one from where it stands, so that a fade-out requested during a
        // fade-in still ends (and a deletion is never lost).
        m_fadeAnimation->stop();
        m_fadeAnimation->disconnect(this);
        from = m_fadeEffect->opacity();
    }
    m_fadeKind = kind;
    m_fadeEffect->setOpacity(from);
    m_fadeAnimation->setDuration(std::max(m_fadeTime, 0));
    m_fadeAnimation->setStartValue(from);
    m_fadeAnimation->setEndValue(in ? 1.0 : 0.0);
    switch (kind)
    {
    case FadeKind::In:
        connect(m_fadeAnimation, &QPropertyAnimation::finished, this, &ControlElement::OnFadeInFinished);
        break;
    case FadeKind::Out:
        connect(m_fadeAnimation, &QPropertyAnimation::finished, this, &ControlElement::OnFadeOutFinished);
        break;
    case FadeKind::OutAndDelete:
        connect(m_fadeAnimation, &QPropertyAnimation::finished, this, &ControlElement::OnFadeOutAndDeleteFinished);
        break;
    }
    if (in && isHidden())
        show();
    m_fadeAnimation->start();
}

void ControlElement::FinishFade()
{
    setAttribute(Qt::WA_TransparentForMouseEvents, false);
    // setGraphicsEffect(nullptr) deletes the effect; the animation is deleted later because its finished()
    // is still being delivered.
    if (m_fadeAnimation != nullptr)
    {
        m_fadeAnimation->disconnect(this);
        m_fadeAnimation->deleteLater();
        m_fadeAnimation = nullptr;
    }
    setGraphicsEffect(nullptr);
    m_fadeEffect = nullptr;
}

void ControlElement::OnFadeInFinished()
{
    FinishFade();
    m_shown = true;
    OnElementShown();
    Q_EMIT Signal_FadeInFinished();
}

void ControlElement::OnFadeOutFinished()
{
    hide();
    FinishFade();
    Q_EMIT Signal_FadeOutFinished();
}

void ControlElement::OnFadeOutAndDeleteFinished()
{
    hide();
    FinishFade();
    Q_EMIT Signal_FinishDeletingMe();
}
