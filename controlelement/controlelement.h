// The frame of every tool of the application: a frameless, title-barred widget that the user drags,
// resizes, docks into the main window's central area (snapping to the grid), floats as a separate
// top-level window, maximizes, or tabs to the left or right side of its parent element (a camera window).
// A panel fills the content through Layout() (a CustomLayout) and implements ConnectControls() and
// UpdateControls(); everything else is optional.
//
// Gesture walkthrough:
//   1. mousePressEvent: focus, the docking rectangle and the parent's tab zones are taken, pressRect kept,
//      the element is brought to the front.
//   2. moveEvent (only while the MoveHandler drags): a tabbed element tears off, a docked one floats; over
//      a free tab zone the parent shows its placeholder (Signal_PrepareTabMe), over a free place of the
//      desk the docking highlight fades in.
//   3. OnMoveOrResizeFinished (MoveFinished / ResizeFinished): tab or dock as the drop point says, snap a
//      docked element to the grid, keep a floating title bar on the screen, hide the highlight.
//
// Every element is also a tab host: the body is [left tab column][content][right tab column], so a camera
// window needs no tab code of its own. A child dropped on a side is laid into that column (TabLeft /
// TabRight); dragging it out floats it again.
//
// The window that owns the elements is reached through ControlElementHost (MainWindow implements it);
// without a host (some tests) the element docks into its Qt parent.
//
// GUI thread only.
#pragma once

#include <QPointer>
#include <QRect>
#include <QSize>
#include <QString>
#include <QWidget>

#include <functional>
#include <map>
#include <vector>

class ControlElementHost;
class CustomLayout;
class CustomPushButton;
class DockingWidget;
class IconButton;
class MoveHandler;
class QFrame;
class QGraphicsOpacityEffect;
class QHBoxLayout;
class QLabel;
class QPropertyAnimation;
class QScrollArea;
class QSpacerItem;
class QVBoxLayout;
class ResizeHandler;
class VisionCamera;

// The frame only passes camera pointers along; it never needs VisionCamera's definition.
Q_DECLARE_OPAQUE_POINTER(VisionCamera*)

class ControlElement : public QWidget
{
    Q_OBJECT

public:
    enum TabPosition
    {
        TabNone = 0,
        TabLeftSide = 1,
        TabRightSide = 2
    };
    Q_ENUM(TabPosition)

    static constexpr int kCameraObjectType = 0;
    static constexpr int layoutMargin = 5;
    static constexpr int resizeBorder = 5;
    static constexpr int titleHeight = resizeBorder * 2 + 25;
    static constexpr int buttonSize = 25;

    // Where a closed panel of one type stood, so that the next of its type opens there.
    struct Place
    {
        int x = 0;
        int y = 0;
        bool docked = true;
        // The side the panel was tabbed to when it closed (TabNone when it was not tabbed).
        int tabbed = 0;
    };

    ControlElement(QWidget* parent, bool hasScrollArea);
    ~ControlElement() override;

    // --- Identity and relations
    int Type() const { return m_type; }
    void SetType(int type) { m_type = type; }
    VisionCamera* Camera() const { return m_camera; }
    // Does nothing on an element that follows its parent's camera.
    void SetCamera(VisionCamera* camera);
    // The parent element when that is a camera window (type 0), else null. The camera layer casts it to
    // its CameraObject.
    ControlElement* GetCameraObject() const { return m_cameraObject; }
    ControlElement* ParentElement() const { return m_parentElement; }
    void SetParentElement(ControlElement* parent);
    ControlElementHost* Host() const;

    bool IsCameraEnabled() const { return m_cameraEnabled; }
    bool FollowsParentCamera() const { return m_followsParentCamera; }
    void SetFollowsParentCamera(bool follows) { m_followsParentCamera = follows; }

    // --- Title
    void SetTitle(const QString& title, bool plain = false);
    QString Title() const { return m_title; }
    QString TitleText() const;
    // Text behind the title while a camera is bound: " (model - serial)". The camera layer installs the
    // provider (it alone knows VisionCamera); without one the title stays plain.
    static void SetCameraNameProvider(std::function<QString(VisionCamera*)> provider);
    void SetTitleIcon(const QString& iconFile);

    // --- Frame state
    bool IsDocked() const { return m_docked; }
    bool IsMaximized() const { return m_maximized; }
    bool IsTabbedLeft() const { return m_tabbedLeft; }
    bool IsTabbedRight() const { return m_tabbedRight; }
    bool IsTabbed() const { return m_tabbedLeft || m_tabbedRight; }
    bool IsMovable() const { return m_movable; }
    bool IsResizable() const { return m_resizable; }
    void SetMovable(bool movable);
    void SetResizable(bool resizable);
    bool WasPlaced() const { return m_wasPlaced; }
    void SetWasPlaced(bool placed) { m_wasPlaced = placed; }
    bool IsShown() const { return m_shown; }
    bool IsHighlighted() const { return m_highlighted; }
    void SetHighlighted(bool highlighted);
    void ShowOkButton(bool show);
    void ShowMaximizeButton(bool show);
    void ShowCloseButton(bool show);

    void SetDocked(bool docked);
    void SetMaximized(bool on, bool changeGeometry);
    void ApplyGeometry(int x, int y, int width, int height, bool docked);
    QRect RestoreRect() const { return m_restoreRect; }
    void SetRestoreRect(const QRect& rect) { m_restoreRect = rect; }
    QSize DefaultSize() const { return m_defaultSize; }
    QSize LastSize() const { return m_lastSize; }
    void SetDefaultSize(int width, int height, int minWidth = -1, int minHeight = -1);
    int FadeTime() const { return m_fadeTime; }
    // A change of "Dialog fading (ms)" reaches elements built before it; the next fade uses it.
    void SetFadeTime(int ms) { m_fadeTime = ms; }

    // --- Content
    CustomLayout* Layout() const { return m_layout; }
    QWidget* ContentWidget() const { return m_contentWidget; }
    QScrollArea* ScrollArea() const { return m_scrollArea; }
    // A one-pixel themed line across the row, with the given space above and below.
    QFrame* AddSeparator(int row, int spaceAbove, int spaceBelow);
    const std::vector<QFrame*>& ConnectionList() const { return m_connectionList; }

    // --- Fades
    void FadeIn();
    void FadeOut();
    void FadeOutAndDelete();
    bool IsFading() const;
    // Slides the element from start to end (coordinates of its current state) in the fade time and
    // reports the end with Signal_MoveFromStartToEndFinished; moves from code never dock or tab.
    void MoveFromStartToEnd(const QPoint& start, const QPoint& end);

    // --- Tab host (the parent side of tabbing)
    ControlElement* LeftTabbedElement() const { return m_leftTabbed; }
    ControlElement* RightTabbedElement() const { return m_rightTabbed; }
    bool IsPlaceholderVisible() const;
    QFrame* Placeholder() const { return m_placeholder; }
    void TabLeft(ControlElement* element, bool tab);
    void TabRight(ControlElement* element, bool tab);
    // Spacer width beside a tab column while open; 0 when no camera controls are shown.
    void SetTabSpacerSize(int size) { m_tabSpacerSize = size; }

    // --- Remembered places of closed child panels, by type
    void RememberPlace(int type, const Place& place) { m_places[type] = place; }
    bool RememberedPlace(int type, Place* place) const;

    // --- Geometry rules, shared with the main window (centring, first placement)
    // Snaps a docked geometry to the grid whose origin (top-left of the central area's content) is
    // `origin`: x to the nearer vertical line (a tie keeps the lower, never left of origin.x), y to the
    // nearer line one pixel above a grid row (never above origin.y - 1), sizes to n * g + 1.
    static QRect SnapToGrid(const QRect& geometry, const QPoint& origin, int g);
    static int SnapX(int x, int ax, int g);
    static int SnapY(int y, int ay, int g);
    static int SnapSize(int v, int g);
    // The tab zones of a parent whose point (0, 0) lies at global `parentGlobal`.
    static void TabZones(const QPoint& parentGlobal, const QSize& parentSize, QRect* leftZone, QRect* rightZone);

    QSize sizeHint() const override;

    MoveHandler* GetMoveHandler() const { return m_moveHandler; }
    ResizeHandler* GetResizeHandler() const { return m_resizeHandler; }
    QLabel* TitleLabel() const { return m_titleLabel; }
    IconButton* MaximizeButton() const { return m_buttonMaximize; }
    IconButton* CloseButton() const { return m_buttonClose; }

public Q_SLOTS:
    virtual void SetCameraEnabled(bool enabled);
    virtual void ConnectControls() = 0;
    virtual void DisconnectControls() = 0;
    virtual void OnElementShown() {}
    virtual void OnElementClosing() {}
    // Runs once a workspace load has placed and linked every element, just before the element is shown.
    virtual void OnWorkspaceLoaded() {}
    virtual void InitFeatures() {}
    virtual void ExitFeatures() {}
    virtual void SetTabbed(bool left, bool tabbed);
    virtual void UpdateControls() = 0;
    // DisconnectControls, UpdateStyleSheetWithoutDestroy, ConnectControls, UpdateControls: restyling
    // never fires the panel's value slots.
    virtual void UpdateStyleSheet();
    // Restyles the frame, every themed child widget and the separators, then runs the camera binding check.
    virtual void UpdateStyleSheetWithoutDestroy();
    virtual void OnButtonMaximize();
    virtual void OnButtonClose();
    virtual void OnCameraChanged() {}
    // Sets the frame's translated texts (button tips, "OK"); a panel that overrides it calls the base first.
    virtual void UpdateTexts();
    void OnRelayUpdateControls(ControlElement* elem);
    void ShowTitleIcon(bool show);
    void ShowTitleIcon();

Q_SIGNALS:
    void Signal_UpdateControls();
    void Signal_StartDeletingMe();
    void Signal_CloseMyCamera();
    void Signal_FinishDeletingMe();
    void Signal_ErasedFromControlElementVector();
    void Signal_Redraw();
    void Signal_FadeInFinished();
    void Signal_FadeOutFinished();
    void Signal_MoveFromStartToEndFinished();
    void Signal_PrepareTabMe(ControlElement::TabPosition tabPos, int width);
    void Signal_TabMeLeft(bool tab);
    void Signal_TabMeRight(bool tab);
    void Signal_CloseClicked();
    void Signal_OkClicked();
    // Emitted by a camera window when its camera changes; children that follow it re-bind.
    void Signal_CameraChanged(VisionCamera* camera);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

    // Called after a child was tabbed or untabbed by the user; re-lays the host out.
    virtual void RelayoutAfterTab();

    QWidget* m_contentWidget = nullptr;
    CustomLayout* m_layout = nullptr;

private Q_SLOTS:
    void OnMoveOrResizeFinished();
    void OnResizeStarted();
    void FillDockingRectSize();
    void OnFadeInFinished();
    void OnFadeOutFinished();
    void OnFadeOutAndDeleteFinished();
    void UpdateCamera(VisionCamera* camera);
    // Tab host side of a child's gesture.
    void OnPrepareTabChild(ControlElement::TabPosition tabPos, int width);
    void OnTabChildLeft(bool tab);
    void OnTabChildRight(bool tab);

private:
    enum class FadeKind
    {
        In,
        Out,
        OutAndDelete
    };
    void StartFade(FadeKind kind);
    void FinishFade();
    void UpdateTitle();
    void UpdateResizeEdges();
    void UpdateMaximizeIcon();
    void BindToDockingRect(bool bind);
    QWidget* HostWindow() const;
    DockingWidget* HostDocking() const;
    QPoint HostOrigin() const;
    QRect DockRectGlobal() const;
    bool HostHasFreePlace();
    void HostBringToFront();
    void ShowHighlight(bool show);
    void RunCameraBindingCheck();
    void TabSide(bool left, ControlElement* element, bool tab);
    void SetPlaceholderSide(TabPosition pos, int width);
    void KeepTitleOnScreen();

    int m_type = -1;
    bool m_hasScrollArea = false;
    VisionCamera* m_camera = nullptr;
    ControlElement* m_cameraObject = nullptr;
    QPointer<ControlElement> m_parentElement;
    ControlElementHost* m_host = nullptr;

    QRect m_restoreRect;
    QSize m_defaultSize;
    QSize m_lastSize;
    QRect m_pressRect;
    QString m_title;
    bool m_maximized = false;
    bool m_tabbedLeft = false;
    bool m_tabbedRight = false;
    bool m_docked = true;
    bool m_movable = true;
    bool m_resizable = true;
    bool m_cameraEnabled = false;
    bool m_followsParentCamera = false;
    bool m_plainTitle = false;
    bool m_wasPlaced = false;
    bool m_movedByUser = false;
    bool m_shown = true;
    bool m_highlighted = false;
    bool m_changingFrame = false;
    bool m_boundToDockingRect = false;
    int m_fadeTime = 200;

    // Global rectangles of the current drag gesture.
    QRect m_dockRect;
    QRect m_leftTabZone;
    QRect m_rightTabZone;
    QRect m_selfRect;
    QRect m_leftHalf;
    QRect m_rightHalf;
    std::vector<QFrame*> m_connectionList;

    // Frame widgets.
    QLabel* m_background = nullptr;
    QLabel* m_titleIcon = nullptr;
    QLabel* m_titleLabel = nullptr;
    IconButton* m_buttonMaximize = nullptr;
    IconButton* m_buttonClose = nullptr;
    CustomPushButton* m_buttonOk = nullptr;
    QScrollArea* m_scrollArea = nullptr;
    QVBoxLayout* m_frameLayout = nullptr;
    MoveHandler* m_moveHandler = nullptr;
    ResizeHandler* m_resizeHandler = nullptr;
    QString m_titleIconFile;

    // Tab host parts.
    QHBoxLayout* m_bodyLayout = nullptr;
    QVBoxLayout* m_leftTabLayout = nullptr;
    QVBoxLayout* m_rightTabLayout = nullptr;
    QSpacerItem* m_leftSpacer = nullptr;
    QSpacerItem* m_rightSpacer = nullptr;
    QFrame* m_placeholder = nullptr;
    QPointer<ControlElement> m_leftTabbed;
    QPointer<ControlElement> m_rightTabbed;
    int m_tabSpacerSize = layoutMargin;

    // The running fade; both are children of the element while they exist.
    QGraphicsOpacityEffect* m_fadeEffect = nullptr;
    QPropertyAnimation* m_fadeAnimation = nullptr;
    FadeKind m_fadeKind = FadeKind::In;
    QPropertyAnimation* m_moveAnimation = nullptr;

    std::map<int, Place> m_places;
};
