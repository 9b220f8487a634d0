#include "view/cameraobject.h"

#include "camera/devicelib/descriptorhelpers.h"
#include "camera/imagebuffermanager.h"
#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "controlelement/controlelementhost.h"
#include "controlelement/customlayout.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"
#include "panels/hostfeatures.h"
#include "view/customdisplay.h"
#include "view/customgraphicsview.h"
#include "widgets/customdiscretespinbox.h"
#include "widgets/customlabel.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"

#include <QApplication>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScrollArea>
#include <QShortcut>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {
constexpr int kLeftButtonSize = 36;
constexpr int kUpperButtonSize = 30;
constexpr int kCounterIntervalMs = 250;

// Offscreen runs (tests) have nobody to press OK: the dialog closes itself there.
int DialogAutoClose()
{
    return QGuiApplication::platformName() == QLatin1String("offscreen") ? 1 : 0;
}
// A toolbar of fixed-size buttons in a window smaller than the toolbar: Qt's layout would push the buttons
// over each other. In a frameless scroll area without scroll bars the toolbar keeps its size and is clipped
// instead; the wheel over it scrolls to the hidden buttons.
QScrollArea* ClippingScroller(QWidget* toolbar, Qt::Orientation orientation, QWidget* parent)
{
    auto* scroller = new QScrollArea(parent);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setWidgetResizable(true);
    scroller->setWidget(toolbar);
    scroller->setAutoFillBackground(false);
    scroller->viewport()->setAutoFillBackground(false);
    toolbar->setAutoFillBackground(false);
    // The scroll area never makes its widget smaller than the widget's minimum size hint, which the fixed-size
    // children set; across the toolbar the buttons' fixed size is the scroller's.
    const QSize hint = toolbar->sizeHint();
    if (orientation == Qt::Vertical)
    {
        scroller->setFixedWidth(hint.width());
        scroller->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);
    }
    else
    {
        scroller->setFixedHeight(hint.height());
        scroller->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    return scroller;
}

} // namespace

CameraObject::CameraObject(QWidget* parent) : ControlElement(parent, false)
{
    SetType(kCameraObjectType);
    // The camera panels this build has; the main window opens them by the left toolbar's button types.
    static const bool registered = [] {
        ControlElementHost::RegisterElementType(HostFeatures::kType, [](QWidget* p) { return new HostFeatures(p); });
        return true;
    }();
    Q_UNUSED(registered)
    CreateControls();
}

CameraObject::~CameraObject()
{
    if (timerUpdateCounters != nullptr)
        timerUpdateCounters->stop();
    if (camera != nullptr)
    {
        // Nobody may reach the dying camera: not the display, not the panels that follow this window.
        display->SetCamera(nullptr);
        VisionCamera* dying = camera;
        camera = nullptr;
        SetCamera(nullptr);
        emit Signal_CameraChanged(nullptr);
        emit CameraChanged(nullptr);
        delete dying;
    }
}

const QVector<double>& CameraObject::ZoomFactors()
{
    static const QVector<double> factors = {0.03, 0.05, 0.07, 0.1, 0.15, 0.2, 0.33, 0.5,  0.67, 1.0,
                                            1.5,  2.0,  3.0,  4.0, 6.0,  8.0, 12.0, 16.0, 24.0};
    return factors;
}

const QVector<double>& CameraObject::MagnifierFactors()
{
    static const QVector<double> factors = {1.0, 2.0, 4.0, 6.0, 8.0, 12.0, 16.0, 24.0, 32.0, 48.0};
    return factors;
}

const std::vector<CameraObject::PanelButton>& CameraObject::PanelButtons()
{
    static const std::vector<PanelButton> buttons = {
        {"image-size-select-large.png", QT_TRANSLATE_NOOP("CameraObject", "Position and size"), 9},
        {"brightness.png", QT_TRANSLATE_NOOP("CameraObject", "Brightness/frame rate"), 1},
        {"colors.png", QT_TRANSLATE_NOOP("CameraObject", "Color"), 2},
        {"ipl.png", QT_TRANSLATE_NOOP("CameraObject", "Host features"), 3},
        {"trigger.png", QT_TRANSLATE_NOOP("CameraObject", "Freerun/trigger"), 10},
        {"flash.png", QT_TRANSLATE_NOOP("CameraObject", "Flash"), 12},
        {"gpio.png", QT_TRANSLATE_NOOP("CameraObject", "GPIOs"), 13},
        {"i2c.png", QT_TRANSLATE_NOOP("CameraObject", "I2C"), 30},
        {"save-settings.png", QT_TRANSLATE_NOOP("CameraObject", "Save/load camera parameters"), 17},
        {"camera-file.png", QT_TRANSLATE_NOOP("CameraObject", "Camera files"), 18},
        {"tag-outline.png", QT_TRANSLATE_NOOP("CameraObject", "Chunks"), 21},
        {"message-outline.png", QT_TRANSLATE_NOOP("CameraObject", "Events"), 27},
        {"focus.png", QT_TRANSLATE_NOOP("CameraObject", "Focus"), 24},
        {"neural-net.png", QT_TRANSLATE_NOOP("CameraObject", "Inference"), 29},
        {"performance.png", QT_TRANSLATE_NOOP("CameraObject", "Performance monitor"), 23},
        {"nodes.png", QT_TRANSLATE_NOOP("CameraObject", "Generic parameters"), 4},
        {"nerd.png", QT_TRANSLATE_NOOP("CameraObject", "Developer Tools"), 28},
    };
    return buttons;
}

double CameraObject::SmoothFps(double previous, double frameTime_ms)
{
    const double rate = frameTime_ms > 0.0 ? 1000.0 / frameTime_ms : 0.0;
    if (std::abs(rate - previous) > 3.0)
        return rate;
    return (rate + 15.0 * previous) / 16.0;
}

// --- Building

IconButton* CameraObject::AddLeftButton(const QString& icon, const QString& toolTip, int type, int spacing)
{
    auto* button = new IconButton(icon, leftToolbar);
    button->setFixedSize(kLeftButtonSize, kLeftButtonSize);
    button->setCheckable(true);
    button->setToolTip(toolTip);
    button->setProperty("Type", type);
    leftToolbarLayout->addWidget(button);
    leftToolbarLayout->addSpacing(spacing);
    return button;
}

IconButton* CameraObject::AddUpperButton(const QString& icon, const QString& toolTip, bool checkable)
{
    auto* button = new IconButton(icon, upperToolbar);
    button->setFixedSize(kUpperButtonSize, kUpperButtonSize);
    button->setCheckable(checkable);
    button->setToolTip(toolTip);
    upperToolbar->layout()->addWidget(button);
    return button;
}

void CameraObject::CreateControls()
{
    auto* body = new QWidget(m_contentWidget);
    auto* bodyLayout = new QHBoxLayout(body);
    bodyLayout->setContentsMargins(0, 0, 0, 0);
    bodyLayout->setSpacing(4);

    // Left toolbar: acquisition buttons, then one button per panel.
    leftToolbar = new QWidget(body);
    leftToolbarLayout = new QVBoxLayout(leftToolbar);
    leftToolbarLayout->setContentsMargins(0, 0, 0, 0);
    leftToolbarLayout->setSpacing(0);
    buttonLive = AddLeftButton(QStringLiteral("camera-play.png"), tr("Start/stop continuous acquisition"), 0, 11);
    buttonFreeze = AddLeftButton(QStringLiteral("camera-one.png"), tr("Single frame acquisition"), 0, 11);
    buttonFreeze->setCheckable(false);
    buttonMagic = AddLeftButton(QStringLiteral("sparkle.png"),
                                tr("Optimize image settings (brightness, color, hotpixel)\nPress CTRL to reset camera "
                                   "to default before optimization"),
                                0, 11);
    buttonMagic->setCheckable(false);
    for (const PanelButton& entry : PanelButtons())
    {
        int spacing = 11;
        if (entry.type == 29)
            spacing = 12;
        else if (entry.type == 4)
            spacing = ApplicationGlobals::developerView ? 11 : 3;
        else if (entry.type == 28)
            spacing = 3;
        // Every button is shown to everyone, "Developer Tools" too; developer view only changes a spacing.
        IconButton* button = AddLeftButton(QString::fromLatin1(entry.icon), tr(entry.toolTip), entry.type, spacing);
        panelButtons.push_back(button);
    }
    leftToolbarLayout->addStretch(1);
    leftScroller = ClippingScroller(leftToolbar, Qt::Vertical, body);
    bodyLayout->addWidget(leftScroller);

    auto* column = new QVBoxLayout;
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);

    // Upper toolbar: view tools.
    upperToolbar = new QWidget(body);
    auto* upperLayout = new QHBoxLayout(upperToolbar);
    upperLayout->setContentsMargins(0, 0, 0, 0);
    upperLayout->setSpacing(2);
    buttonDisplayOff =
        AddUpperButton(QStringLiteral("display_off.png"), tr("Disable image processing and display"), true);
    buttonFitIn = AddUpperButton(QStringLiteral("fit-in.png"), tr("Fit to screen"), false);
    buttonNormalSize = AddUpperButton(QStringLiteral("zoom-original.png"), tr("Original size"), false);
    spinboxScaleFactor = new CustomDiscreteSpinbox(upperToolbar);
    spinboxScaleFactor->SetValues(ZoomFactors());
    spinboxScaleFactor->SetValue(1.0);
    spinboxScaleFactor->setToolTip(tr("Zoom factor"));
    spinboxScaleFactor->setFixedHeight(kUpperButtonSize);

    // Alt+D: display update of the live image on or off; the chain and any recording's frame count go on.
    auto* displayUpdateShortcut = new QShortcut(QKeySequence(Qt::ALT + Qt::Key_D), this);
    displayUpdateShortcut->setContext(Qt::WidgetWithChildrenShortcut);
    connect(displayUpdateShortcut, &QShortcut::activated, this, &CameraObject::OnShortcutDisplayUpdate);
    // Its text must stay whole when the window is narrow: the toolbar is clipped, not squeezed.
    spinboxScaleFactor->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    upperLayout->addWidget(spinboxScaleFactor);
    buttonNoToolbar = AddUpperButton(QStringLiteral("fullscreen.png"), tr("Hide toolbars"), false);
    // The view tools of later parts: present with their tips, off until their part exists.
    const std::vector<std::pair<const char*, const char*>> later = {
        {"chart-bar.png", QT_TR_NOOP("Histogram")},
        {"line-profile-vertical.png", QT_TR_NOOP("Lineview")},
        {"crosshair.png", QT_TR_NOOP("Crosshairs (press CTRL to move it)")},
    };
    for (const auto& [icon, tip] : later)
        laterToolButtons.push_back(AddUpperButton(QString::fromLatin1(icon), tr(tip), true));
    buttonMagnifier = AddUpperButton(QStringLiteral("pixel-peek.png"), tr("Pixel viewer"), true);
    spinboxMagnifierFactor = new CustomDiscreteSpinbox(upperToolbar);
    spinboxMagnifierFactor->SetValues(MagnifierFactors());
    spinboxMagnifierFactor->SetValue(1.0);
    spinboxMagnifierFactor->setToolTip(tr("Zoom factor for pixel viewer"));
    spinboxMagnifierFactor->setFixedHeight(kUpperButtonSize);
    spinboxMagnifierFactor->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    upperLayout->addWidget(spinboxMagnifierFactor);
    const std::vector<std::pair<const char*, const char*>> laterTools = {
        {"chili.png", QT_TR_NOOP("Measure sharpness")},
        {"pencil.png", QT_TR_NOOP("Freehand line")},
        {"line.png", QT_TR_NOOP("Line")},
        {"rectangle.png", QT_TR_NOOP("Rectangle (press CTRL to draw square)")},
        {"circle.png", QT_TR_NOOP("Ellipse (press CTRL to draw circle)")},
        {"tape-measure.png", QT_TR_NOOP("Measure")},
        {"text.png", QT_TR_NOOP("Text")},
        {"cog.png", QT_TR_NOOP("Drawing options")},
        {"undo.png", QT_TR_NOOP("Undo")},
        {"delete-forever.png", QT_TR_NOOP("Clear all")},
        {"content-save.png", QT_TR_NOOP("Save image (press CTRL to save without drawings)")},
        {"video_sequence.png", QT_TR_NOOP("Record video")},
    };
    for (const auto& [icon, tip] : laterTools)
        laterToolButtons.push_back(AddUpperButton(QString::fromLatin1(icon), tr(tip), true));
    for (IconButton* button : laterToolButtons)
        button->setEnabled(false);
    upperLayout->addStretch(1);
    upperScroller = ClippingScroller(upperToolbar, Qt::Horizontal, body);
    column->addWidget(upperScroller);

    display = new CustomDisplay(body);
    display->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    column->addWidget(display, 1);

    // Status line.
    statusLine = new QWidget(body);
    auto* statusLayout = new QHBoxLayout(statusLine);
    statusLayout->setContentsMargins(0, 0, 0, 0);
    statusLayout->setSpacing(16);
    labelPosition = new CustomLabel(CustomDisplay::PositionText(QPoint(0, 0)), statusLine);
    labelTimeouts = new CustomLabel(tr("timeouts: ") + QString::number(0), statusLine);
    labelAcquired = new CustomLabel(tr("acquired") + QStringLiteral(": ") + QString::number(0), statusLine);
    labelFps = new CustomLabel(tr("fps: ") + QString::number(0.0, 'f', 1), statusLine);
    labelIncompletes = new CustomLabel(tr("incompletes") + QStringLiteral(": ") + QString::number(0), statusLine);
    labelReconnects = new CustomLabel(tr("reconnects") + QStringLiteral(": ") + QString::number(0), statusLine);
    labelWaiting = new CustomLabel(tr("Waiting for image..."), statusLine);
    labelWaiting->hide();
    labelFullViewHint = new CustomLabel(tr("Double click or press ESC to leave."), statusLine);
    labelFullViewHint->hide();
    for (CustomLabel* label : {labelPosition, labelTimeouts, labelAcquired, labelFps, labelIncompletes, labelReconnects,
                               labelWaiting, labelFullViewHint})
        statusLayout->addWidget(label);
    statusLayout->addStretch(1);
    column->addWidget(statusLine);
    bodyLayout->addLayout(column, 1);

    Layout()->AddWidget(0, body, 0, 0);

    timerUpdateCounters = new QTimer(this);
    timerUpdateCounters->setInterval(kCounterIntervalMs);
    connect(timerUpdateCounters, SIGNAL(timeout()), this, SLOT(OnTimerUpdateCounters()));
    timerUpdateCounters->start();

    ConnectControls();
    UpdateControls();
}

void CameraObject::ConnectControls()
{
    connect(buttonLive, SIGNAL(clicked()), this, SLOT(OnButtonAcquisitionLive()), Qt::UniqueConnection);
    connect(buttonFreeze, SIGNAL(clicked()), this, SLOT(OnButtonAcquisitionFreeze()), Qt::UniqueConnection);
    connect(buttonMagic, SIGNAL(clicked()), this, SLOT(OnButtonMagic()), Qt::UniqueConnection);
    for (IconButton* button : panelButtons)
        connect(button, SIGNAL(clicked()), this, SLOT(OnButtonAddControl()), Qt::UniqueConnection);
    connect(buttonDisplayOff, SIGNAL(clicked()), this, SLOT(OnButtonDisplayOff()), Qt::UniqueConnection);
    connect(buttonFitIn, SIGNAL(clicked()), this, SLOT(OnButtonFitIn()), Qt::UniqueConnection);
    connect(buttonNormalSize, SIGNAL(clicked()), this, SLOT(OnButtonNormalSize()), Qt::UniqueConnection);
    connect(buttonNoToolbar, SIGNAL(clicked()), this, SLOT(OnButtonNoToolbarMode()), Qt::UniqueConnection);
    connect(buttonMagnifier, SIGNAL(clicked()), this, SLOT(OnButtonMagnifier()), Qt::UniqueConnection);
    connect(spinboxScaleFactor, SIGNAL(Signal_ValueChanged()), this, SLOT(OnSpinboxScaleFactor()),
            Qt::UniqueConnection);
    connect(spinboxMagnifierFactor, SIGNAL(Signal_ValueChanged()), this, SLOT(OnSpinboxMagnifierFactor()),
            Qt::UniqueConnection);
    CustomGraphicsView* view = display->View();
    connect(view, &CustomGraphicsView::Signal_MousePressed, this, &CameraObject::OnMousePressed, Qt::UniqueConnection);
    connect(view, &CustomGraphicsView::Signal_MouseMoved, this, &CameraObject::OnMouseMoved, Qt::UniqueConnection);
    connect(view, &CustomGraphicsView::Signal_RoiDrawn, this, &CameraObject::OnRoiDrawn, Qt::UniqueConnection);
    connect(view, &CustomGraphicsView::Signal_MouseDoubleClicked, this, &CameraObject::OnMouseDoubleClicked,
            Qt::UniqueConnection);
    connect(display, &CustomDisplay::Signal_MouseWheelChanged, this, &CameraObject::OnMouseWheelChanged,
            Qt::UniqueConnection);
    connect(display, &CustomDisplay::Signal_ParamsChanged, this, &CameraObject::OnImageDisplayParamsChanged,
            Qt::UniqueConnection);
}

void CameraObject::DisconnectControls()
{
    for (QObject* sender : std::initializer_list<QObject*>{
             buttonLive, buttonFreeze, buttonMagic, buttonDisplayOff, buttonFitIn, buttonNormalSize, buttonNoToolbar,
             buttonMagnifier, spinboxScaleFactor, spinboxMagnifierFactor, display->View(), display})
        disconnect(sender, nullptr, this, nullptr);
    for (IconButton* button : panelButtons)
        disconnect(button, nullptr, this, nullptr);
}

IconButton* CameraObject::ToolButton(const QString& iconFile) const
{
    const auto buttons = findChildren<IconButton*>();
    for (IconButton* button : buttons)
        if (button->IconFile() == iconFile)
            return button;
    return nullptr;
}

QString CameraObject::PositionText() const
{
    return labelPosition->text();
}

QString CameraObject::CountersText() const
{
    if (waitingForImage)
        return labelWaiting->text();
    return QStringList{labelTimeouts->text(), labelAcquired->text(), labelFps->text(), labelIncompletes->text(),
                       labelReconnects->text()}
        .join(QLatin1Char(' '));
}

// --- Camera

bool CameraObject::OpenDevice(QWidget* mainWindow_, std::shared_ptr<orna::core::DeviceDescriptor> descriptor,
                              bool startAcquisition, bool applyOptimalSettings, bool openAsync)
{
    if (camera != nullptr || descriptor == nullptr)
        return false;
    mainWindow = mainWindow_;
    openInProgress = true;
    isDisconnected = false;
    camera = new VisionCamera(this, mainWindow, descriptor, startAcquisition, applyOptimalSettings, openAsync);
    // A QObject child as well, so that the open results, which name this window, lead to the camera.
    camera->setParent(this);
    ConnectCamera();
    SetCamera(camera);
    display->SetCamera(camera);
    emit CameraChanged(camera);
    emit Signal_CameraChanged(camera);
    // A synchronous open has finished by now; an asynchronous one starts only now that its results are connected,
    // and reports through Signal_Opened.
    if (openAsync)
        camera->StartOpen();
    else if (camera->IsOpen())
        OnCameraOpened();
    return true;
}

void CameraObject::ConnectCamera()
{
    connect(camera, &VisionCamera::Signal_Opened, this, &CameraObject::OnCameraOpened);
    // Every open result ends the open thread, also those without Signal_Opened (service firmware); a failed
    // open leaves the camera closed and the main window removes this window.
    if (QThread* openThread = camera->GetOpenThread())
        connect(openThread, &QThread::finished, this, [this] {
            if (camera != nullptr && camera->IsOpen())
                OnCameraOpened();
            else if (closeRequested)
            {
                // A failed open that the main window did not take away itself.
                closeRequested = false;
                openInProgress = false;
                setEnabled(true);
                ControlElement::OnButtonClose();
            }
        });
    connect(camera, &VisionCamera::Signal_Disconnected, this, &CameraObject::OnDisconnectDevice);
    connect(camera, &VisionCamera::Signal_Reconnected, this, &CameraObject::OnReconnectDevice);
    connect(camera, &VisionCamera::Signal_DeviceResetExecuted, this, &CameraObject::OnDeviceResetExecuted);
    connect(camera, &VisionCamera::Signal_AcquisitionStarted, this, &CameraObject::OnAcquisitionStarted);
    connect(camera, &VisionCamera::Signal_AcquisitionStopped, this, &CameraObject::UpdateControls);
    connect(camera, &VisionCamera::Signal_OneShotTaskFinished, this, &CameraObject::UpdateControls);
    if (VisionImageCaptureWorker* worker = camera->GetCaptureWorker())
    {
        // Queued: the worker emits on the capture thread (or a one-shot task's thread).
        connect(worker, &VisionImageCaptureWorker::Signal_UpdateDisplay, this, &CameraObject::UpdateDisplay,
                Qt::QueuedConnection);
        connect(worker, &VisionImageCaptureWorker::Signal_UpdateCounters, this, &CameraObject::UpdateCounters,
                Qt::QueuedConnection);
        connect(worker, &VisionImageCaptureWorker::Signal_AdjustLoopFinished, this, &CameraObject::OnMagicFinished,
                Qt::QueuedConnection);
    }
}

bool CameraObject::IsReady() const
{
    return camera != nullptr && camera->IsOpen() && !openInProgress && !isDisconnected;
}

void CameraObject::OnButtonClose()
{
    if (openInProgress && camera != nullptr)
    {
        closeRequested = true;
        return;
    }
    ControlElement::OnButtonClose();
}

void CameraObject::OnCameraOpened()
{
    if (camera == nullptr)
        return;
    openInProgress = false;
    if (closeRequested)
    {
        // A new window is disabled during its open, and with it its close button.
        closeRequested = false;
        setEnabled(true);
        ControlElement::OnButtonClose();
        return;
    }
    setEnabled(true);
    if (auto* host = ControlElementHost::Instance())
    {
        host->UpdateOpenBusyState();
        host->PlaceOpenedCameraWindow(this, static_cast<int>(camera->GetImageWidth()),
                                      static_cast<int>(camera->GetImageHeight()));
    }
    isServiceFirmware = camera->GetCameraName().contains(QStringLiteral("service"), Qt::CaseInsensitive);
    isSpecialFamily = camera->GetFamilyName() == QLatin1String("RT-KM");
    // Read while the device answers: at a loss it cannot be asked any more.
    bool supported = false;
    bool active = false;
    reconnectActive = camera->GetBoolValue("IsReconnectSupported", supported) && supported &&
                      camera->GetBoolValue("ReconnectActive", active) && active;
    SetStatusWaiting(camera->IsAcquiring() && display->Scene()->PaintedFrames() == 0);
    RefreshTitle();
    UpdateControls();
}

void CameraObject::OnAcquisitionStarted()
{
    SetStatusWaiting(true);
    UpdateControls();
}

void CameraObject::SetStatusWaiting(bool waiting)
{
    waitingForImage = waiting;
    labelWaiting->setVisible(waiting);
    for (CustomLabel* label : {labelTimeouts, labelAcquired, labelFps, labelIncompletes, labelReconnects})
        label->setVisible(!waiting);
}

QString CameraObject::BuildTitle() const
{
    if (camera == nullptr)
        return tr("Camera");
    QString title = camera->GetCameraName() + QStringLiteral(" (") + camera->GetKeyText() + QStringLiteral(") @ ") +
                    helper::GetParentInterface(camera->GetDescriptor()) + QStringLiteral(", ") +
                    QString::number(display->ImageWidth() > 0 ? display->ImageWidth() : camera->GetImageWidth()) +
                    QStringLiteral(" x ") +
                    QString::number(display->ImageHeight() > 0 ? display->ImageHeight() : camera->GetImageHeight());
    if (isDisconnected)
        title += QStringLiteral(" (") + tr("disconnected") + QStringLiteral(")");
    return title;
}

void CameraObject::RefreshTitle()
{
    SetTitle(BuildTitle(), true);
}

// --- Frames and counters

void CameraObject::UpdateDisplay()
{
    if (camera == nullptr || openInProgress)
        return;
    ImageBufferManager* buffers = camera->GetImageBufferManager();
    if (buffers == nullptr)
        return;
    const std::shared_ptr<orna::ipl::Image> image = buffers->GetLastImage();
    if (!image || image->IsEmpty())
        return;
    const int oldWidth = display->ImageWidth();
    const int oldHeight = display->ImageHeight();
    display->SetImageSize(static_cast<int>(image->GetWidth()), static_cast<int>(image->GetHeight()));
    if (display->ImageWidth() != oldWidth || display->ImageHeight() != oldHeight)
        RefreshTitle();
    pixelFormat = image->GetPixelFormat();
    if (waitingForImage)
        SetStatusWaiting(false);
    display->UpdateDisplay();
}

void CameraObject::UpdateCounters(bool exception, double frameTime_ms, double processingTime_ms, int frameCounter_,
                                  int processingErrorCounter_, int incompleteCounter_)
{
    Q_UNUSED(processingTime_ms)
    exceptionFlag = exception;
    // A time-out reports zeros: the counts stay as they were.
    if (!exception)
    {
        frameCounter = frameCounter_;
        processingErrorCounter = processingErrorCounter_;
        incompleteCounter = incompleteCounter_;
    }
    smoothedFps = SmoothFps(smoothedFps, frameTime_ms);
    // A counted frame ends the wait, also with the display off, when no display update ever comes.
    if (!exception && waitingForImage)
    {
        SetStatusWaiting(false);
        OnTimerUpdateCounters();
    }
    labelAcquired->setText(tr("acquired") + QStringLiteral(": ") + QString::number(frameCounter));
}

void CameraObject::OnTimerUpdateCounters()
{
    const int timeouts = camera != nullptr ? camera->GetTimeoutCounter() : 0;
    const int reconnects = camera != nullptr ? camera->GetReconnectCounter() : 0;
    labelTimeouts->setText(tr("timeouts: ") + QString::number(timeouts));
    labelFps->setText(tr("fps: ") + QString::number(smoothedFps, 'f', 1));
    labelIncompletes->setText(tr("incompletes") + QStringLiteral(": ") + QString::number(incompleteCounter));
    labelReconnects->setText(tr("reconnects") + QStringLiteral(": ") + QString::number(reconnects));
    // The value under a resting cursor changes with the frames; like the counters it is refreshed here, not
    // with every frame.
    const QPoint cursor = display->Scene()->MagnifierPosition();
    if (cursor.x() >= 0 && cursor.y() >= 0)
        ShowPosition(cursor);
}

void CameraObject::UpdateDialogControls()
{
    for (auto& entry : openPanels)
        if (entry.second != nullptr)
            entry.second->UpdateControls();
}

// --- Controls state

void CameraObject::UpdateControls()
{
    const bool ready = IsReady();
    const bool acquiring = camera != nullptr && camera->IsAcquiring();
    const bool imageControls = ready && !isServiceFirmware;
    const bool magicBusy = buttonMagic->IsBusy();
    // One one-shot task at a time (single frame or optimise): while one runs, none of the three may start.
    const bool oneShot = camera != nullptr && camera->IsOneShotRunning();
    buttonLive->setEnabled(imageControls && !magicBusy && !oneShot && !buttonLive->IsBusy());
    buttonLive->setChecked(acquiring);
    buttonFreeze->setEnabled(imageControls && !magicBusy && !oneShot);
    buttonMagic->setEnabled(imageControls && (magicBusy || !oneShot));
    for (IconButton* button : panelButtons)
    {
        // On service firmware only the generic parameters stay: they are how such a camera is serviced.
        const bool generic = button->property("Type").toInt() == 4;
        button->setEnabled(ready && (!isServiceFirmware || generic));
        auto it = openPanels.find(button->property("Type").toInt());
        button->setChecked(it != openPanels.end() && it->second != nullptr);
    }
    buttonDisplayOff->setEnabled(imageControls);
    buttonFitIn->setEnabled(!isServiceFirmware);
    buttonNormalSize->setEnabled(!isServiceFirmware);
    spinboxScaleFactor->setEnabled(!isServiceFirmware);
    buttonMagnifier->setEnabled(!isServiceFirmware);
    buttonNoToolbar->setEnabled(!isServiceFirmware);
    // The toolbars never stay hidden on a window that has no way of showing them again.
    if (isServiceFirmware && toolbarsHidden)
        SetFullView(false);
    spinboxMagnifierFactor->setEnabled(!isServiceFirmware && buttonMagnifier->isChecked());
    if (!acquiring && waitingForImage && !openInProgress)
        SetStatusWaiting(false);
}

// --- Acquisition buttons

void CameraObject::OnButtonAcquisitionLive()
{
    if (!IsReady())
    {
        UpdateControls();
        return;
    }
    restartAcquisition = false;
    if (!camera->IsAcquiring())
    {
        if (camera->IsOneShotRunning())
        {
            UpdateControls();
            return;
        }
        camera->StartAcquisition();
    }
    else
    {
        camera->StopAcquisition();
    }
    UpdateControls();
}

void CameraObject::OnButtonAcquisitionFreeze()
{
    if (!IsReady() || camera->IsOneShotRunning())
        return;
    restartAcquisition = false;
    if (camera->IsAcquiring())
        camera->StopAcquisition();
    // Buffers, formats and converter are still good when an image came since the last start and the payload
    // did not change; otherwise they are prepared afresh first.
    int64_t payload = 0;
    const bool payloadKnown = camera->GetIntegerValue("PayloadSize", ReadValueType::Value, payload);
    if (!camera->GetHasImage() || !payloadKnown || payload != camera->GetPayloadSize())
    {
        if (!camera->PrepareAcquisition())
            return;
        UpdateDisplay();
        UpdateControls();
    }
    camera->AcquireSingleFrame();
    UpdateControls();
}

void CameraObject::OnButtonMagic()
{
    if (!IsReady() || buttonMagic->IsBusy() || camera->IsOneShotRunning())
        return;
    wasAcquiringForMagic = camera->IsAcquiring();
    if (wasAcquiringForMagic)
        camera->StopAcquisition();
    buttonMagic->SetBusy(true);
    ++magicRunCount;
    UpdateControls();
    camera->ApplyOptimalSettings();
}

void CameraObject::OnMagicFinished(bool finishedCorrectly)
{
    buttonMagic->SetBusy(false);
    if (wasAcquiringForMagic && camera != nullptr)
        camera->StartAcquisition();
    wasAcquiringForMagic = false;
    if (!finishedCorrectly)
    {
        InfoDialog dialog(this, tr("Optimize image settings"),
                          tr("Failed to optimize image brightness and color.\nTry to enhance lighting conditions, "
                             "change the pixel format\nor increase the auto feature skip frames parameters."),
                          DialogAutoClose());
        dialog.exec();
    }
    UpdateControls();
}

void CameraObject::OnButtonAddControl()
{
    auto* button = qobject_cast<IconButton*>(sender());
    if (button == nullptr)
        return;
    const int type = button->property("Type").toInt();
    auto it = openPanels.find(type);
    if (it != openPanels.end() && it->second != nullptr)
    {
        it->second->FadeOutAndDelete();
        openPanels.erase(it);
        button->setChecked(false);
        return;
    }
    auto* host = ControlElementHost::Instance();
    ControlElement* panel = host != nullptr ? host->AddControlElement(this, type) : nullptr;
    // Panels whose class is not registered yet open nothing; the button stays unchecked.
    if (panel == nullptr)
    {
        button->setChecked(false);
        return;
    }
    openPanels[type] = panel;
    button->setChecked(true);
}

// --- View tools

void CameraObject::ApplyZoomIndex(int index)
{
    spinboxScaleFactor->SetIndex(index);
    display->SetScaleFactor(spinboxScaleFactor->Value());
}

void CameraObject::OnSpinboxScaleFactor()
{
    display->SetScaleFactor(spinboxScaleFactor->Value());
}

void CameraObject::OnSpinboxMagnifierFactor()
{
    display->Scene()->SetMagnifierCell(static_cast<int>(spinboxMagnifierFactor->Value()));
}

void CameraObject::OnButtonDisplayOff()
{
    const bool displayOn = !buttonDisplayOff->isChecked();
    if (camera != nullptr && camera->GetCaptureWorker() != nullptr)
    {
        camera->GetCaptureWorker()->SetProcessingEnabled(displayOn);
        // The button is the way back to a shown image, whatever Alt+D left.
        camera->GetCaptureWorker()->SetDisplayEnabled(true);
    }
    display->SetDisplayEnabled(displayOn);
    UpdateControls();
}

void CameraObject::OnShortcutDisplayUpdate()
{
    if (camera == nullptr || camera->GetCaptureWorker() == nullptr)
        return;
    VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
    worker->SetDisplayEnabled(!worker->IsDisplayEnabled());
}

void CameraObject::OnButtonFitIn()
{
    display->SetScaleMode(0);
    spinboxScaleFactor->SetValue(display->GetScaleFactor());
}

void CameraObject::OnButtonNormalSize()
{
    ApplyZoomIndex(static_cast<int>(ZoomFactors().indexOf(1.0)));
}

void CameraObject::OnButtonNoToolbarMode()
{
    // A camera in service firmware has no way back by double click: it never enters the full view.
    SetFullView(!toolbarsHidden && !isServiceFirmware);
}

void CameraObject::CloseCamera()
{
    if (camera == nullptr || openInProgress)
        return;
    // As in the destructor: nobody may reach the closing camera any more.
    display->SetCamera(nullptr);
    VisionCamera* closing = camera;
    camera = nullptr;
    SetCamera(nullptr);
    emit Signal_CameraChanged(nullptr);
    emit CameraChanged(nullptr);
    delete closing;
    isDisconnected = false;
    waitingForImage = false;
    UpdateControls();
}

void CameraObject::SetShowControls(bool show)
{
    if (show == !toolbarsHidden || (!show && isServiceFirmware))
        return;
    SetFullView(!show);
}

void CameraObject::SetFullView(bool on)
{
    toolbarsHidden = on;
    leftScroller->setVisible(!on);
    upperScroller->setVisible(!on);
    labelFullViewHint->setVisible(on);
    if (on)
        // ESC reaches this window through the focused display.
        display->View()->setFocus(Qt::OtherFocusReason);
}

void CameraObject::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && toolbarsHidden)
    {
        SetFullView(false);
        event->accept();
        return;
    }
    ControlElement::keyPressEvent(event);
}

void CameraObject::OnMouseWheelChanged(bool up)
{
    // The display reports the wheel only while Ctrl is held; without it the wheel scrolls.
    int index = spinboxScaleFactor->Index();
    if (display->GetScaleMode() == 0)
    {
        // From fit mode the step starts at the factor nearest to the fitted one.
        spinboxScaleFactor->SetValue(display->GetScaleFactor());
        index = spinboxScaleFactor->Index();
    }
    index = std::clamp(index + (up ? 1 : -1), 0, static_cast<int>(ZoomFactors().size()) - 1);
    ApplyZoomIndex(index);
}

void CameraObject::OnImageDisplayParamsChanged()
{
    if (display->GetScaleMode() == 0)
        spinboxScaleFactor->SetValue(display->GetScaleFactor());
}

void CameraObject::OnMousePressed(QPoint start)
{
    lastPosition = start;
    if (start.x() >= 0 && start.y() >= 0 && start.x() < display->ImageWidth() && start.y() < display->ImageHeight())
        ShowPosition(start);
    else
        labelPosition->setText(CustomDisplay::PositionText(start));
}

void CameraObject::OnMouseMoved(QPoint start, QPoint end)
{
    Q_UNUSED(start)
    if (end.x() < 0 || end.y() < 0 || end.x() >= display->ImageWidth() || end.y() >= display->ImageHeight())
    {
        display->Scene()->SetMagnifierPosition(QPoint(-1, -1));
        return;
    }
    lastPosition = end;
    display->Scene()->SetMagnifierPosition(end);
    ShowPosition(end);
}

void CameraObject::ShowPosition(const QPoint& pixel)
{
    // The value under the cursor in the frame's own depth; one pixel is read, never the frame converted.
    const QString value = display->Scene()->ValueTextAt(pixel);
    labelPosition->setText(CustomDisplay::PositionText(pixel) +
                           (value.isEmpty() ? QString() : QStringLiteral(" = ") + value));
}

void CameraObject::OnButtonMagnifier()
{
    const bool on = buttonMagnifier->isChecked();
    display->Scene()->SetMagnifierCell(static_cast<int>(spinboxMagnifierFactor->Value()));
    display->Scene()->SetMagnifierEnabled(on);
    UpdateControls();
}

void CameraObject::OnRoiDrawn(QPoint start, QPoint end)
{
    // The ROI selection of the image size panel consumes this; without it there is no target.
    Q_UNUSED(start)
    Q_UNUSED(end)
}

void CameraObject::OnMouseDoubleClicked()
{
    if (isServiceFirmware)
        return;
    SetFullView(!toolbarsHidden);
}

// --- Device events

void CameraObject::OnDisconnectDevice(bool deviceLost)
{
    isDisconnected = true;
    if (camera != nullptr && camera->IsAcquiring())
    {
        UpdateControls();
        buttonLive->setChecked(false);
        buttonLive->SetBusy(true);
        buttonLive->setEnabled(false);
    }
    RefreshTitle();
    // Only a camera that will not come back by itself is told as lost with reconnect disabled.
    if (deviceLost && !reconnectActive)
    {
        InfoDialog dialog(this, tr("Camera lost"),
                          tr("The camera has been lost and reconnect is disabled.\nClose the window and use the camera "
                             "manager to reopen\nthe camera after reconnection."),
                          DialogAutoClose());
        dialog.exec();
    }
}

void CameraObject::OnReconnectDevice()
{
    isDisconnected = false;
    buttonLive->SetBusy(false);
    UpdateControls();
    RefreshTitle();
}

void CameraObject::OnStopAcquisition(const CameraObject* target)
{
    if (target != this || camera == nullptr)
        return;
    restartAcquisition = camera->IsAcquiring();
    if (restartAcquisition)
    {
        OnButtonAcquisitionLive();
        restartAcquisition = true;
    }
}

void CameraObject::RestartImageAcquisition(bool doRestart)
{
    if (doRestart && camera != nullptr && !camera->IsAcquiring())
        camera->StartAcquisition();
    UpdateControls();
}

void CameraObject::OnDeviceResetExecuted()
{
    UpdateControls();
}

QString CameraObject::FullViewHintText() const
{
    return labelFullViewHint->isVisible() ? labelFullViewHint->text() : QString();
}

void CameraObject::RelayoutAfterTab()
{
    ControlElement::RelayoutAfterTab();
    UpdateDialogControls();
}
