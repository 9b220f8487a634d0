// The window of one open camera: a control element (type 0) with the left toolbar of panel buttons, the
// upper toolbar of view tools, the image display and the status line of counters.
//
// It owns its VisionCamera: OpenDevice makes it, the destructor deletes it (which stops acquisition and
// closes the camera). The capture worker's signals arrive queued; UpdateDisplay only hands the newest image
// to the display, and the counters touch one label per frame while a timer writes the rest, so that a fast
// camera cannot flood the GUI thread.
//
// GUI thread only; no mutex: the camera's worker threads reach this window through queued signals only.
#pragma once

#include "controlelement/controlelement.h"

#include <QColor>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QVector>

#include <map>
#include <memory>

class CustomDiscreteSpinbox;
class CustomDisplay;
class CustomLabel;
class IconButton;
class QHBoxLayout;
class QLabel;
class QScrollArea;
class QTimer;
class QVBoxLayout;
class VisionCamera;

namespace orna::core {
class DeviceDescriptor;
}

class CameraObject : public ControlElement
{
    Q_OBJECT

public:
    // The panel types of the left toolbar's buttons after live, single frame and optimise.
    struct PanelButton
    {
        const char* icon;
        const char* toolTip;
        int type;
    };

    // The overlay pens and the measuring scale of the window (workspaces keep them); the overlay drawing
    // reads them once it exists.
    struct OverlaySettings
    {
        QColor paintPenColor{0, 0, 0, 255};
        int paintPenColorBrightness = 100;
        int paintPenWidth = 1;
        int paintPenStyle = Qt::SolidLine;
        double paintSourceValue = 1000.0;
        double paintDestValue = 1000.0;
        QString paintDestUnit = QStringLiteral("px");
        QColor crosshairPenColor{255, 255, 255, 255};
        int crosshairPenWidth = 2;
        int crosshairPenStyle = Qt::SolidLine;
    };

    explicit CameraObject(QWidget* parent);
    ~CameraObject() override;

    // Makes the VisionCamera (this window as its parent window, mainWindow as the receiver of the open
    // result) and starts its open; with openAsync it returns at once. False when the window has a camera.
    bool OpenDevice(QWidget* mainWindow, std::shared_ptr<orna::core::DeviceDescriptor> descriptor,
                    bool startAcquisition, bool applyOptimalSettings, bool openAsync);
    // Builds the toolbars, the display and the status line, and starts the counter timer.
    void CreateControls();

    // --- The main window's open protocol
    bool IsOpenInProgress() const { return openInProgress; }
    void SetOpenInProgress(bool inProgress) { openInProgress = inProgress; }
    bool AwaitsSize() const { return awaitsSize; }
    void SetAwaitsSize(bool awaits) { awaitsSize = awaits; }
    bool NeedsFirstPlacement() const { return needsFirstPlacement; }
    void SetNeedsFirstPlacement(bool needs) { needsFirstPlacement = needs; }
    // Open, not disconnected, and no open running: the buttons act only then.
    bool IsReady() const;

    // --- State read by tests and other parts
    CustomDisplay* Display() const { return display; }
    double SmoothedFps() const { return smoothedFps; }
    bool IsDisconnected() const { return isDisconnected; }
    bool IsWaitingForImage() const { return waitingForImage; }
    bool IsServiceFirmware() const { return isServiceFirmware; }
    IconButton* LiveButton() const { return buttonLive; }
    IconButton* FreezeButton() const { return buttonFreeze; }
    IconButton* MagicButton() const { return buttonMagic; }
    IconButton* DisplayOffButton() const { return buttonDisplayOff; }
    IconButton* FitInButton() const { return buttonFitIn; }
    IconButton* NormalSizeButton() const { return buttonNormalSize; }
    CustomDiscreteSpinbox* ZoomSpinbox() const { return spinboxScaleFactor; }
    CustomDiscreteSpinbox* MagnifierSpinbox() const { return spinboxMagnifierFactor; }
    IconButton* MagnifierButton() const { return buttonMagnifier; }
    IconButton* NoToolbarButton() const { return buttonNoToolbar; }
    bool IsFullView() const { return toolbarsHidden; }
    QString FullViewHintText() const;
    // Left and upper toolbar buttons by icon file; null when there is none.
    IconButton* ToolButton(const QString& iconFile) const;
    QString PositionText() const;
    QString CountersText() const;
    int MagicRunCount() const { return magicRunCount; }
    const OverlaySettings& Overlay() const { return overlay; }
    void SetOverlay(const OverlaySettings& settings) { overlay = settings; }
    // The toolbars are shown (not the full view).
    bool ShowControls() const { return !toolbarsHidden; }
    void SetShowControls(bool show);
    // Closes the camera and keeps the window (empty, ready for the next open). Nothing while an open runs.
    void CloseCamera();

    // The title: name (key) @ interface, width x height [(disconnected)].
    QString BuildTitle() const;
    static const QVector<double>& ZoomFactors();
    static const QVector<double>& MagnifierFactors();
    static const std::vector<PanelButton>& PanelButtons();
    // The smoothing rule of the "fps" label: a step of more than 3 shows at once.
    static double SmoothFps(double previous, double frameTime_ms);

public Q_SLOTS:
    void UpdateDisplay();
    void UpdateDialogControls();
    void UpdateCounters(bool exception, double frameTime_ms, double processingTime_ms, int frameCounter,
                        int processingErrorCounter, int incompleteCounter);
    void UpdateControls() override;
    void ConnectControls() override;
    void DisconnectControls() override;
    void OnMousePressed(QPoint start);
    void OnMouseMoved(QPoint start, QPoint end);
    void OnRoiDrawn(QPoint start, QPoint end);
    void OnMouseDoubleClicked();
    void OnMouseWheelChanged(bool up);
    void OnMagicFinished(bool finishedCorrectly);
    void OnImageDisplayParamsChanged();
    void OnReconnectDevice();
    void OnDisconnectDevice(bool deviceLost);
    void OnStopAcquisition(const CameraObject* target);
    void OnDeviceResetExecuted();
    void RestartImageAcquisition(bool doRestart);
    // The camera finished its open: controls on, title, and the waiting state when acquisition runs.
    void OnCameraOpened();
    // During an open the close is remembered and carried out when the open has ended: the open thread works
    // on the camera, which must not be deleted under it, and the GUI must not wait for it.
    void OnButtonClose() override;
    bool IsCloseRequested() const { return closeRequested; }

Q_SIGNALS:
    void beep();
    void CameraChanged(VisionCamera* camera);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    // After a panel was tabbed or released (or its column resized): the panels refresh their controls.
    void RelayoutAfterTab() override;

private Q_SLOTS:
    void OnSpinboxScaleFactor();
    void OnSpinboxMagnifierFactor();
    void OnButtonNoToolbarMode();
    void OnButtonMagnifier();
    void OnButtonDisplayOff();
    void OnShortcutDisplayUpdate();
    void OnButtonFitIn();
    void OnButtonNormalSize();
    void OnButtonAcquisitionLive();
    void OnButtonAcquisitionFreeze();
    void OnButtonMagic();
    void OnButtonAddControl();
    void OnTimerUpdateCounters();
    void OnAcquisitionStarted();

private:
    IconButton* AddLeftButton(const QString& icon, const QString& toolTip, int type, int spacing);
    IconButton* AddUpperButton(const QString& icon, const QString& toolTip, bool checkable);
    void ConnectCamera();
    void SetStatusWaiting(bool waiting);
    void ApplyZoomIndex(int index);
    void RefreshTitle();
    // Full view: both toolbars hidden, the leaving hint shown; ESC and a double click leave it.
    void SetFullView(bool on);
    // The position label: "(x: 1, y: 2)" and the value of that pixel.
    void ShowPosition(const QPoint& pixel);

    VisionCamera* camera = nullptr;
    QWidget* mainWindow = nullptr;
    bool openInProgress = false;
    bool closeRequested = false;
    bool awaitsSize = false;
    bool needsFirstPlacement = false;
    bool isDisconnected = false;
    bool restartAcquisition = false;
    bool wasAcquiringForMagic = false;
    bool waitingForImage = false;
    bool toolbarsHidden = false;
    int frameCounter = 0;
    int processingErrorCounter = 0;
    int incompleteCounter = 0;
    bool exceptionFlag = false;
    double smoothedFps = 0.0;
    bool isServiceFirmware = false;
    bool isSpecialFamily = false;
    // The camera reconnects by itself after a loss (read at the open).
    bool reconnectActive = false;
    int pixelFormatBytes = 0;
    uint32_t pixelFormat = 0;
    int magicRunCount = 0;
    QPoint lastPosition{0, 0};
    OverlaySettings overlay;

    // Widgets (children of the content widget).
    QVBoxLayout* leftToolbarLayout = nullptr;
    QWidget* leftToolbar = nullptr;
    QScrollArea* leftScroller = nullptr;  // leftToolbar, clipped in a short window
    QScrollArea* upperScroller = nullptr; // upperToolbar, clipped in a narrow window
    QWidget* upperToolbar = nullptr;
    QWidget* statusLine = nullptr;
    CustomDisplay* display = nullptr;
    IconButton* buttonLive = nullptr;
    IconButton* buttonFreeze = nullptr;
    IconButton* buttonMagic = nullptr;
    IconButton* buttonDisplayOff = nullptr;
    IconButton* buttonFitIn = nullptr;
    IconButton* buttonNormalSize = nullptr;
    IconButton* buttonNoToolbar = nullptr;
    IconButton* buttonMagnifier = nullptr;
    CustomDiscreteSpinbox* spinboxScaleFactor = nullptr;
    CustomDiscreteSpinbox* spinboxMagnifierFactor = nullptr;
    std::vector<IconButton*> panelButtons;
    std::vector<IconButton*> laterToolButtons;
    std::map<int, QPointer<ControlElement>> openPanels;
    CustomLabel* labelPosition = nullptr;
    CustomLabel* labelTimeouts = nullptr;
    CustomLabel* labelAcquired = nullptr;
    CustomLabel* labelFps = nullptr;
    CustomLabel* labelIncompletes = nullptr;
    CustomLabel* labelReconnects = nullptr;
    CustomLabel* labelWaiting = nullptr;
    CustomLabel* labelFullViewHint = nullptr;
    QTimer* timerUpdateCounters = nullptr;
};
