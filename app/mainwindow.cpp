// Start-up, the desk and teardown of the main window.
//
// Construction, in this order (each step is one block of the constructor):
//   1. base, title, settings object, translator; the window becomes the host of every control element
//   2. the four Roboto faces from the resources (LoadFonts)
//   3. the three fonts of ApplicationGlobals
//   4. the language file beside the binary (LoadLanguage)
//   5. fade time, pixel format switch, LUT switch, buffer count (ReadStartupSettings)
//   6. aboutToQuit -> OnExitProgram
//   7. the two logos
//   8. toolbar, docking area, notification row and the shortcuts (BuildActions)
//   9. the hidden fixed elements: LoggerWindow, ApplicationSettings, ApplicationInfo (CreateFixedElements)
//  10. minimum size and the stored geometry (RestoreWindowGeometry)
//  11./12. the workspace and image folders and the automatic image save keys (InitDefaultPaths)
//  13. InitLibraries
//  14. the inference library
//  15. the camera manager, built when the camera list is handed over (SetCameraList)
//  16. the remaining connections between the elements
//  17. show()
//  18. the settings that need a visible window (ApplyVisibleWindowSettings)
//  19. the version check of the device library (CheckDeviceLibraryVersion)
//  20. the event filter on the window itself (Ctrl+Tab)
//
// Teardown (destructor): a progress window of its own, centred where the main window stood (which is hidden
// by then), walks six even steps, each value shown and events processed before the step's work, so that
// closing cameras is visible; ExitLibraries() comes at step five, after every camera.
#include "app/mainwindow.h"

#include "app/applicationinfo.h"
#include "app/applicationsettings.h"
#include "app/desklogic.h"
#include "app/loggerwindow.h"
#include "app/versioncheck.h"
#include "camera/cameraopentexts.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "controlelement/dockingwidget.h"
#include "discovery/cameralistmodel.h"
#include "discovery/cameramanager.h"
#include "discovery/devicemanager.h"
#include "nodetree/nodemapaccess.h"
#include "orna/afl/orna_afl.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/ifl/inference.h"
#include "view/cameraobject.h"
#include "widgets/customcombobox.h"
#include "widgets/customedit.h"
#include "widgets/customlabel.h"
#include "widgets/customprogressbar.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QStandardPaths>
#include <QTime>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace {
const QString kNoOrigin = QStringLiteral("-");
const QString kDeviceLibraryName = QStringLiteral("kvx_orna");
const QString kGenericApiName = QStringLiteral("KVX orna genericAPI");
const QString kNoWorkspace = QStringLiteral("None");
constexpr int kToolBarHeight = 48;
constexpr int kToolIconSize = 36;
constexpr int kNotificationHeight = 30;
constexpr int kMaxElementType = 30;

bool IsHeadless()
{
    return QGuiApplication::platformName() == QLatin1String("offscreen");
}
} // namespace

MainWindow::MainWindow(QWidget* parent, CameraListSource cameraListSource) : QMainWindow(parent)
{
    // 1. Elements built from here on find the window through the host instance.
    setWindowTitle(desk::ProgramName());
    m_settings = new QSettings(settings::kOrganisation, settings::kApplication, this);
    ControlElementHost::SetInstance(this);

    // 2. and 3.
    LoadFonts();
    ApplicationGlobals::FillFonts();
    QApplication::setFont(ApplicationGlobals::fontNormal);

    // 4.
    LoadLanguage();

    // 5.
    ReadStartupSettings();

    // 6.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainWindow::OnExitProgram);

    // 7.
    m_logoDark = QIcon(QStringLiteral(":/resources/company_logo_dark.png"));
    m_logoLight = QIcon(QStringLiteral(":/resources/company_logo_light.png"));

    // 8.
    BuildActions();

    // 9.
    CreateFixedElements();

    // 10.
    setMinimumSize(730, 480);
    RestoreWindowGeometry();

    // 11. and 12.
    InitDefaultPaths();

    // 13.
    InitLibraries();

    // 14. Every later object may assume that this has been tried.
    const inference_status inferenceStatus = inference_library_init();
    if (inferenceStatus != INFERENCE_STATUS_SUCCESS)
    {
        LogMessageSender::Error(
            kNoOrigin, QStringLiteral("MainWindow::MainWindow(QWidget *)"),
            tr("IFL initialization failed: %1.").arg(QString::fromLatin1(inference_status_text(inferenceStatus))));
    }

    // 15. The camera manager is built over the camera list (SetCameraList). A handed-over list comes after the
    // constructor; until then the open button stays disabled.
    if (cameraListSource == CameraListSource::Own)
    {
        m_ownCameraList = std::make_unique<CameraListModel>();
        SetCameraList(m_ownCameraList.get());
    }

    // 16.
    connect(applicationSettings, &ApplicationSettings::Signal_ThemeChanged, this, &MainWindow::OnThemeChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_LanguageChanged, this, &MainWindow::OnLanguageChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_ShowGridChanged, this, &MainWindow::OnShowGridChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_ShowConnectionsChanged, this,
            &MainWindow::OnShowConnectionsChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_OpenCameraWithAcquisitionChanged, this,
            [this](bool on) { m_openCameraWithAcquisition = on; });
    connect(applicationSettings, &ApplicationSettings::Signal_CameraListAutoUpdateChanged, this, [this](bool on) {
        m_cameraListAutoUpdate = on;
        if (m_cameraList != nullptr)
            m_cameraList->SetAutoUpdate(on);
        UpdateNotificationRow();
    });
    connect(applicationSettings, &ApplicationSettings::Signal_NodePollingChanged, this, [this](bool on) {
        // The receiver is each camera's node polling (the polling worker of VisionCamera), which reads this
        // switch when it starts after an open; until it polls, the switch is kept here and shown in the row.
        m_parameterPolling = on;
        UpdateNotificationRow();
    });
    connect(applicationSettings, &ApplicationSettings::Signal_ReconnectParameterRestoreChanged, this,
            &MainWindow::OnReconnectParameterRestoreChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_ResetDeviceList, this, &MainWindow::OnResetDeviceList);
    connect(applicationSettings, &ApplicationSettings::Signal_ResetImageCounter, this,
            &MainWindow::OnResetImageCounter);
    connect(applicationSettings, &ApplicationSettings::Signal_FadeTimeChanged, this, [this](int ms) {
        for (ControlElement* element : elements)
            element->SetFadeTime(ms);
        for (ControlElement* element : fixedElements)
            element->SetFadeTime(ms);
    });
    connect(applicationSettings, &ApplicationSettings::Signal_AutoImageSaveChanged, this,
            &MainWindow::OnAutoImageSaveChanged);
    connect(applicationSettings, &ApplicationSettings::Signal_PathChanged, this, &MainWindow::OnPathChanged);
    applicationSettings->SetWorkspacePath(m_workspacePath);
    applicationSettings->SetPathInUse(QStringLiteral("path_workspace"), m_workspacePath);
    applicationSettings->SetPathInUse(QStringLiteral("path_auto_image_save"), m_autoImageSavePath);
    FillWorkspaceCombo();

    UpdateStyleSheet();

    // 17.
    show();

    // 18.
    ApplyVisibleWindowSettings();
    UpdateNotificationRow();
    update();

    // 19.
    CheckDeviceLibraryVersion();

    // 20.
    installEventFilter(this);
}

MainWindow::~MainWindow()
{
    Teardown();
    // What the teardown left is deleted by the QWidget base, when this object is no MainWindow any more: no
    // signal of theirs (a window's destroyed, above all) may reach a slot or lambda of ours then.
    for (QObject* child : findChildren<QObject*>())
        disconnect(child, nullptr, this, nullptr);
}

// --- Start-up steps

void MainWindow::LoadFonts()
{
    // Return values are ignored on purpose: a face that does not load falls back to what Qt picks for the
    // family "Roboto".
    QFontDatabase::addApplicationFont(QStringLiteral(":/resources/fonts/Roboto-Regular.ttf"));
    QFontDatabase::addApplicationFont(QStringLiteral(":/resources/fonts/Roboto-Italic.ttf"));
    QFontDatabase::addApplicationFont(QStringLiteral(":/resources/fonts/Roboto-Bold.ttf"));
    QFontDatabase::addApplicationFont(QStringLiteral(":/resources/fonts/Roboto-BoldItalic.ttf"));
}

void MainWindow::LoadLanguage()
{
    ApplicationGlobals::language = settings::ReadString(QStringLiteral("language"));
    ApplicationGlobals::languagePrevious = ApplicationGlobals::language;
    if (ApplicationGlobals::language.isEmpty())
        return;
    // A file that does not load leaves the translator empty and the texts in English.
    if (m_translator.load(QCoreApplication::applicationDirPath() + QLatin1Char('/') + ApplicationGlobals::language))
        m_translatorInstalled = QCoreApplication::installTranslator(&m_translator);
}

void MainWindow::ReadStartupSettings()
{
    ApplicationGlobals::fadeInOutTime = settings::ReadInt(QStringLiteral("fade_in_out_time"), 300);
    ApplicationGlobals::showAllPixelFormats = settings::ReadBool(QStringLiteral("show_all_pixel_formats"), 0);
    ApplicationGlobals::useInternalLut = settings::ReadBool(QStringLiteral("use_internal_lut"), 0);
    ApplicationGlobals::numBuffersUsed = settings::ReadInt(QStringLiteral("num_buffers_used"), 0);
}

void MainWindow::BuildActions()
{
    m_frame = new QWidget(this);
    m_frame->setObjectName(QStringLiteral("CentralArea"));
    auto* layout = new QVBoxLayout(m_frame);
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);

    BuildToolBar();
    m_dockingWidget = new DockingWidget(m_frame);
    m_dockingWidget->SetElementsProvider([this] { return elements; });
    BuildNotificationRow();

    layout->addWidget(toolBarFrame);
    layout->addWidget(m_dockingWidget, 1);
    layout->addWidget(notificationFrame);
    setCentralWidget(m_frame);

    BuildShortcuts();
}

void MainWindow::BuildToolBar()
{
    toolBarFrame = new QWidget(m_frame);
    toolBarFrame->setObjectName(QStringLiteral("ToolBarFrame"));
    toolBarFrame->setAttribute(Qt::WA_StyledBackground, true);
    toolBarFrame->setFixedHeight(kToolBarHeight);
    auto* bar = new QHBoxLayout(toolBarFrame);
    bar->setSpacing(0);
    bar->setContentsMargins(0, 0, 0, 0);
    bar->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    bar->addSpacing(10);

    auto addButton = [&](const char* icon, int spacingBehind, bool checkable, void (MainWindow::*slot)()) {
        auto* button = new IconButton(QString::fromLatin1(icon), toolBarFrame);
        button->setObjectName(QString::fromLatin1(icon));
        button->setFixedSize(kToolIconSize, kToolIconSize);
        button->setCheckable(checkable);
        connect(button, &QAbstractButton::clicked, this, slot);
        bar->addWidget(button);
        if (spacingBehind > 0)
            bar->addSpacing(spacingBehind);
        return button;
    };
    buttonOpenCamera = addButton("camera.png", 10, false, &MainWindow::OnButtonCreateCameraObject);
    buttonCameraManager = addButton("camera_manager.png", 10, true, &MainWindow::OnButtonCameraManager);
    buttonClearAll = addButton("close.png", 10, false, &MainWindow::OnButtonClearAll);
    buttonArrange = addButton("view-grid.png", 30, false, &MainWindow::ArrangeCameraWindows);
    buttonBandwidth = addButton("bandwidth.png", 10, true, &MainWindow::OnButtonBandwidth);
    buttonLogger = addButton("logger.png", 30, true, &MainWindow::OnButtonLoggerWindow);
    buttonOptions = addButton("cog.png", 30, true, &MainWindow::OnButtonApplicationSettings);

    labelWorkspace = new CustomLabel(QString(), toolBarFrame);
    labelWorkspace->setFixedHeight(kToolIconSize);
    bar->addWidget(labelWorkspace);
    bar->addSpacing(10);
    comboWorkspace = new CustomComboBox(toolBarFrame);
    comboWorkspace->setFixedSize(150, 30);
    bar->addWidget(comboWorkspace);
    editWorkspace = new CustomEdit(toolBarFrame);
    editWorkspace->setObjectName(QStringLiteral("WorkspaceEdit"));
    editWorkspace->setFixedSize(150, 30);
    editWorkspace->hide();
    bar->addWidget(editWorkspace);
    bar->addSpacing(10);
    connect(comboWorkspace, QOverload<int>::of(&QComboBox::activated), this, &MainWindow::OnComboWorkspace);
    connect(editWorkspace, &QLineEdit::returnPressed, this, &MainWindow::OnEditSaveWorkspace);

    buttonCreateWorkspace = addButton("workspace_add.png", 10, false, &MainWindow::OnButtonCreateWorkspace);
    buttonDeleteWorkspace = addButton("delete-forever.png", 30, false, &MainWindow::OnButtonDeleteWorkspace);
    buttonInfo = addButton("information-outline.png", 0, true, &MainWindow::OnButtonApplicationInfo);
    bar->addStretch(1);

    // Nothing to open until the camera list says so.
    buttonOpenCamera->setEnabled(false);

    // Kept for the retranslation step; the hint itself never shows.
    fullScreenHint = new QLabel(toolBarFrame);
    fullScreenHint->hide();
}

void MainWindow::BuildNotificationRow()
{
    notificationFrame = new QWidget(m_frame);
    notificationFrame->setObjectName(QStringLiteral("NotificationFrame"));
    notificationFrame->setAttribute(Qt::WA_StyledBackground, true);
    notificationFrame->setFixedHeight(kNotificationHeight);
    auto* row = new QHBoxLayout(notificationFrame);
    row->setSpacing(0);
    row->setContentsMargins(0, 0, 0, 0);
    row->addSpacing(8);
    notificationIcon = new QLabel(notificationFrame);
    notificationIcon->setFixedSize(24, 24);
    notificationIcon->setScaledContents(true);
    row->addWidget(notificationIcon);
    row->addSpacing(8);
    notificationLabel = new QLabel(notificationFrame);
    notificationLabel->setObjectName(QStringLiteral("NotificationLabel"));
    row->addWidget(notificationLabel, 1);
    notificationIcon->hide();
    notificationLabel->hide();
}

void MainWindow::BuildShortcuts()
{
    for (const desk::Shortcut& entry : desk::Shortcuts())
    {
        auto* shortcut = new QShortcut(QKeySequence(desk::ShortcutKey(entry)), this, entry.slot);
        shortcut->setWhatsThis(desk::ShortcutDescription(entry));
        // Floating elements are windows of their own: the keys must work while one of them is active.
        shortcut->setContext(Qt::ApplicationShortcut);
        m_shortcuts.append(shortcut);
    }
}

void MainWindow::CreateFixedElements()
{
    loggerWindow = new LoggerWindow(this);
    applicationSettings = new ApplicationSettings(this);
    applicationInfo = new ApplicationInfo(this);
    const std::vector<std::pair<ControlElement*, void (MainWindow::*)()>> fixed = {
        {loggerWindow, &MainWindow::OnButtonLoggerWindow},
        {applicationSettings, &MainWindow::OnButtonApplicationSettings},
        {applicationInfo, &MainWindow::OnButtonApplicationInfo},
    };
    for (const auto& [element, toggle] : fixed)
    {
        m_ownedElements.append(element);
        fixedElements.push_back(element);
        // The close button of a fixed element closes it through its toggle; it is never deleted before
        // the teardown.
        connect(element, &ControlElement::Signal_CloseClicked, this, toggle);
        element->hide();
    }
}

void MainWindow::RestoreWindowGeometry()
{
    const QByteArray geometry = settings::Read(QStringLiteral("geometry")).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(730, 480);
}

void MainWindow::InitDefaultPaths()
{
    QString dataLocation = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    m_defaultWorkspacePath =
        dataLocation.isEmpty() ? QCoreApplication::applicationDirPath() : dataLocation + QStringLiteral("/workspaces");
    QDir dir(m_defaultWorkspacePath);
    if (!dir.exists())
        dir.mkpath(QStringLiteral("."));
    m_workspacePath = m_defaultWorkspacePath;
    // A chosen folder is taken as it is; a missing one shows up at the first save of a workspace.
    const QString chosenWorkspacePath = settings::ReadString(QStringLiteral("path_workspace"));
    if (!chosenWorkspacePath.isEmpty())
        m_workspacePath = chosenWorkspacePath;

    m_autoImageSavePath = QCoreApplication::applicationDirPath();
    const QString chosenImagePath = settings::ReadString(QStringLiteral("path_auto_image_save"));
    if (!chosenImagePath.isEmpty())
        m_autoImageSavePath = chosenImagePath;

    ReadAutoImageSaveSettings();
    m_filterQtm = settings::ReadInt(QStringLiteral("filter_qtm"), 1) == 1;
}

void MainWindow::ReadAutoImageSaveSettings()
{
    // Older keys keep their text defaults; toInt() reads both forms.
    m_autoImageSaveNameCreation = settings::ReadInt(QStringLiteral("auto_image_save_name_creation"), "0");
    m_autoImageSaveAcquisition = settings::ReadInt(QStringLiteral("auto_image_save_acquisition"), "0");
    m_autoImageSaveImageName =
        settings::ReadString(QStringLiteral("auto_image_save_image_name"), QStringLiteral("kvx_image"));
    m_autoImageSaveImageType =
        settings::ReadString(QStringLiteral("auto_image_save_image_type"), QStringLiteral("bmp"));
    m_autoImageSaveIndex = settings::ReadInt(QStringLiteral("auto_image_save_index"), "0");
    m_autoImageSaveDate = settings::ReadInt(QStringLiteral("auto_image_save_date"), "0");
    m_autoImageSaveTime = settings::ReadInt(QStringLiteral("auto_image_save_time"), "0");
    m_autoImageSaveMaxNumber = settings::ReadInt(QStringLiteral("auto_image_save_acquisition_max_number"), "10");
    m_autoImageSaveMaxNumberEnable =
        settings::ReadInt(QStringLiteral("auto_image_save_acquisition_max_number_enable"), "1");
}

void MainWindow::ApplyVisibleWindowSettings()
{
    m_showConnections = settings::ReadBool(QStringLiteral("show_connections"), 1);
    m_showGrid = settings::ReadBool(QStringLiteral("show_grid"), 0);
    m_openCameraWithAcquisition = settings::ReadBool(QStringLiteral("open_camera_with_acquisition"), 1);
    m_openCameraWithOptimalSettings = settings::ReadBool(QStringLiteral("open_camera_with_optimal_settings"), 1);
    m_dockingWidget->SetConnectionsVisible(m_showConnections);
    m_dockingWidget->SetGridVisible(m_showGrid);
    m_defaultWorkspace = settings::ReadString(QStringLiteral("default_workspace"));
    LoadDefaultWorkspace();
    m_cameraListAutoUpdate = settings::ReadBool(QStringLiteral("camera_list_auto_update_enable"), 1);
    if (m_cameraList != nullptr)
        m_cameraList->SetAutoUpdate(m_cameraListAutoUpdate);
}

// --- Libraries

void MainWindow::InitLibraries()
{
    const QString context = QStringLiteral("void MainWindow::InitLibraries()");
    try
    {
        orna::Library::Initialize();
        orna::DeviceManager::AddReference();
        m_librariesUp = true;
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, context,
                                tr("Failed to initialize %1: ").arg(kDeviceLibraryName) + QString::fromUtf8(e.what()));
    }
    try
    {
        orna::afl::error::CheckStatus(orna_afl_Init());
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, context,
                                tr("Failed to initialize auto feature lib: ") + QString::fromUtf8(e.what()));
    }
}

void MainWindow::ExitLibraries()
{
    const QString context = QStringLiteral("void MainWindow::ExitLibraries()");
    try
    {
        orna::afl::error::CheckStatus(orna_afl_Exit());
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, context,
                                tr("Failed to exit auto feature lib: ") + QString::fromUtf8(e.what()));
    }
    // Under the manager's own mutex: an update job that still holds the manager keeps it alive until it ends.
    orna::DeviceManager::ReleaseReference();
    try
    {
        orna::Library::Close();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, context,
                                tr("Failed to exit %1: ").arg(kDeviceLibraryName) + QString::fromUtf8(e.what()));
    }
    inference_library_exit();
    m_librariesUp = false;
}

QString MainWindow::VersionWarningText(unsigned major, unsigned minor, unsigned subminor, const QString& versionText)
{
    if (versioncheck::IsDeviceLibraryVersionAccepted(major, minor, subminor))
        return {};
    return tr("The minimum required version of %1 is %2.%3.%4.")
               .arg(kGenericApiName)
               .arg(versioncheck::kMinimumMajor)
               .arg(versioncheck::kMinimumMinor)
               .arg(versioncheck::kMinimumSubminor) +
           QStringLiteral("\n") + tr("You are using version %1.").arg(versionText) + QStringLiteral("\n\n") +
           tr("Some features may not work correctly or are not available.") + QStringLiteral("\n\n") +
           tr("Install the current %1 version.").arg(kGenericApiName);
}

QString MainWindow::VersionUndetectableText()
{
    return tr("The installed %1 version cannot be detected. ").arg(kGenericApiName) +
           tr("The minimum required version of %1 is %2.%3.%4.")
               .arg(kGenericApiName)
               .arg(versioncheck::kMinimumMajor)
               .arg(versioncheck::kMinimumMinor)
               .arg(versioncheck::kMinimumSubminor) +
           QStringLiteral("\n\n") + tr("Some features may not work correctly or are not available.") +
           QStringLiteral("\n\n") + tr("Install the current %1 version.").arg(kGenericApiName);
}

void MainWindow::CheckDeviceLibraryVersion()
{
    QString text;
    try
    {
        const unsigned major = orna::Library::GetVersionMajor();
        const unsigned minor = orna::Library::GetVersionMinor();
        const unsigned subminor = orna::Library::GetVersionSubminor();
        text =
            VersionWarningText(major, minor, subminor, QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(subminor));
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, QStringLiteral("MainWindow::MainWindow(QWidget *)"),
                                QString::fromUtf8(e.what()));
        text = VersionUndetectableText();
    }
    if (!text.isEmpty())
        ShowWarning(text);
}

void MainWindow::ShowWarning(const QString& text)
{
    ShowInfo(tr("Warning"), text);
}

void MainWindow::ShowInfo(const QString& title, const QString& text)
{
    Q_EMIT Signal_InfoShown(title, text);
    InfoDialog dialog(this, title, text, IsHeadless() ? 1 : 0);
    dialog.exec();
}

// --- Stacking and placement

DockingWidget* MainWindow::HostDockingWidget()
{
    return m_beingDestroyed ? nullptr : m_dockingWidget;
}

bool MainWindow::HasFreePlace(ControlElement* element)
{
    std::vector<QWidget*> fixed(fixedElements.begin(), fixedElements.end());
    return ControlElementHost::FreePlaceRule(element, elements, fixed);
}

void MainWindow::BringToFront(ControlElement* element)
{
    for (ControlElement* e : elements)
        e->SetHighlighted(false);
    for (ControlElement* e : fixedElements)
        e->SetHighlighted(false);
    if (element == nullptr)
        return;
    for (auto* vector : {&elements, &fixedElements})
    {
        auto it = std::find(vector->begin(), vector->end(), element);
        if (it == vector->end())
            continue;
        element->SetHighlighted(true);
        vector->erase(it);
        vector->push_back(element);
    }
    // Three layers, each in its own order: camera windows, panels, fixed elements.
    for (ControlElement* e : elements)
        if (e->Type() == ControlElement::kCameraObjectType)
            e->raise();
    for (ControlElement* e : elements)
        if (e->Type() != ControlElement::kCameraObjectType)
            e->raise();
    for (ControlElement* e : fixedElements)
        e->raise();
}

void MainWindow::ConnectElement(ControlElement* element)
{
    connect(element, &ControlElement::Signal_Redraw, this, QOverload<>::of(&QWidget::update));
    connect(element, &ControlElement::Signal_StartDeletingMe, this, &MainWindow::OnStartDeletingControlElement);
    connect(element, &ControlElement::Signal_CloseMyCamera, this, &MainWindow::OnCloseControlElementCamera);
    connect(element, &ControlElement::Signal_FinishDeletingMe, this, &MainWindow::OnFinishDeletingControlElement);
    connect(element, &ControlElement::Signal_UpdateControls, this, &MainWindow::OnRelayUpdateControls);
    connect(this, &MainWindow::Signal_RelayUpdateControls, element, &ControlElement::OnRelayUpdateControls);
}

QRect MainWindow::DockingRect(bool global) const
{
    const QRect local(m_dockingWidget->mapTo(const_cast<MainWindow*>(this), QPoint(0, 0)), m_dockingWidget->size());
    if (!global)
        return local;
    return QRect(mapToGlobal(local.topLeft()), local.size());
}

void MainWindow::CenterElement(ControlElement* element)
{
    if (element == nullptr)
        return;
    const QRect area = DockingRect(!element->IsDocked());
    element->move(desk::CenteredSnapped(area, element->size(), ApplicationGlobals::gridSize));
}

ControlElement* MainWindow::AddControlElement(ControlElement* owner, int type)
{
    if (owner == nullptr || type < 1 || type > kMaxElementType)
        return nullptr;
    const auto factory = ElementFactories().find(type);
    if (factory == ElementFactories().end() || !factory->second)
        return nullptr;
    ControlElement* element = factory->second(this);
    if (element == nullptr)
        return nullptr;
    element->SetType(type);
    AddPanel(owner, element);
    return element;
}

void MainWindow::AddPanel(ControlElement* owner, ControlElement* element)
{
    element->SetParentElement(owner);

    ControlElement::Place place;
    const bool remembered = owner->RememberedPlace(element->Type(), &place);
    const bool tabbedBefore =
        remembered && ((place.tabbed == ControlElement::TabLeftSide && owner->LeftTabbedElement() == nullptr) ||
                       (place.tabbed == ControlElement::TabRightSide && owner->RightTabbedElement() == nullptr));
    if (tabbedBefore)
    {
        // Into its column again; the element list and the fade follow as for any panel.
        if (place.tabbed == ControlElement::TabLeftSide)
            owner->TabLeft(element, true);
        else
            owner->TabRight(element, true);
    }
    else if (remembered && place.tabbed == ControlElement::TabNone && place.x != 0 && place.y != 0)
    {
        // Where the user left the last panel of this type; no collision test.
        if (!place.docked)
            element->SetDocked(false);
        element->move(place.x, place.y);
    }
    else
    {
        element->SetDocked(false);
        const QPoint origin = owner->IsDocked() ? pos() : QPoint();
        const QPoint start = desk::CascadeStart(owner->geometry(), element->size(), origin);
        std::vector<QPoint> occupied;
        for (const ControlElement* other : elements)
            occupied.push_back(other->IsDocked() ? other->pos() + pos() : other->pos());
        QPoint position = desk::CascadePosition(start, occupied);
        const QScreen* screen = owner->screen();
        if (screen != nullptr)
            position = desk::ClampToScreen(position, element->size(), screen->geometry());
        element->move(position);
    }
    if (!owner->IsDocked() && element->IsDocked())
        element->SetDocked(false);

    if (element->Type() == 4)
    {
        // The node tree reads its features only once it is visible.
        connect(element, &ControlElement::Signal_FadeInFinished, this, &MainWindow::OnAddControlByCameraObjectFinished);
    }
    else
    {
        element->UpdateControls();
        connect(element, &ControlElement::Signal_FadeInFinished, this, QOverload<>::of(&QWidget::update));
    }
    connect(element, &ControlElement::Signal_ErasedFromControlElementVector, owner, &ControlElement::UpdateControls);

    elements.push_back(element);
    UpdateEmptyDeskHint();
    BringToFront(element);
    element->raise();
    element->FadeIn();
}

void MainWindow::AppendElement(ControlElement* element)
{
    if (element == nullptr || std::find(elements.begin(), elements.end(), element) != elements.end())
        return;
    elements.push_back(element);
    UpdateEmptyDeskHint();
    BringToFront(element);
}

void MainWindow::OnAddControlByCameraObjectFinished()
{
    auto* element = qobject_cast<ControlElement*>(sender());
    if (element == nullptr)
        return;
    disconnect(element, &ControlElement::Signal_FadeInFinished, this, &MainWindow::OnAddControlByCameraObjectFinished);
    element->UpdateControls();
}

bool MainWindow::IsFixed(const ControlElement* element) const
{
    return std::find(fixedElements.begin(), fixedElements.end(), element) != fixedElements.end();
}

bool MainWindow::AnyOpenInProgress() const
{
    for (ControlElement* element : elements)
        if (auto* cameraObject = qobject_cast<CameraObject*>(element); cameraObject && cameraObject->IsOpenInProgress())
            return true;
    return false;
}

void MainWindow::UpdateEmptyDeskHint()
{
    if (m_dockingWidget != nullptr)
        m_dockingWidget->SetHintVisible(elements.empty() && m_workspaceProgress == nullptr);
}

// --- Deletion protocol

void MainWindow::OnStartDeletingControlElement()
{
    auto* element = qobject_cast<ControlElement*>(sender());
    if (m_beingDestroyed || element == nullptr || IsFixed(element))
        return;
    ControlElement* parent = element->ParentElement();
    // Taken before the panel leaves its column: the place to remember is the column.
    const int tabbedSide = element->IsTabbedLeft()    ? ControlElement::TabLeftSide
                           : element->IsTabbedRight() ? ControlElement::TabRightSide
                                                      : ControlElement::TabNone;
    if (parent != nullptr && element->IsTabbed())
    {
        if (element->IsTabbedLeft())
            parent->TabLeft(element, false);
        else
            parent->TabRight(element, false);
    }
    std::vector<ControlElement*> children;
    for (ControlElement* other : elements)
    {
        if (other == element || other->ParentElement() != element)
            continue;
        if (other->IsTabbed())
        {
            if (other->IsTabbedLeft())
                element->TabLeft(other, false);
            else
                element->TabRight(other, false);
        }
        other->hide();
        other->SetParentElement(nullptr);
        other->UpdateControls();
        children.push_back(other);
    }
    // Ours to settle: a panel closed while tabbed is remembered as tabbed, on its side, and the next panel of
    // its type opens in that column again when the column is free; otherwise where it stood.
    if (parent != nullptr && parent->Type() == ControlElement::kCameraObjectType && element->Type() != 4)
        parent->RememberPlace(element->Type(), {element->x(), element->y(), element->IsDocked(), tabbedSide});
    if (parent != nullptr)
        connect(element, &ControlElement::Signal_ErasedFromControlElementVector, parent,
                &ControlElement::UpdateControls, Qt::UniqueConnection);
    element->SetParentElement(nullptr);
    update();
    element->FadeOutAndDelete();
    for (ControlElement* child : children)
        child->FadeOutAndDelete();
}

void MainWindow::OnFinishDeletingControlElement()
{
    auto* element = qobject_cast<ControlElement*>(sender());
    // During the teardown the elements are deleted there, each once; a fade ending meanwhile changes nothing.
    if (m_beingDestroyed || element == nullptr || IsFixed(element))
        return;
    RemoveElement(element);
    if (element == cameraManager)
    {
        cameraManager = nullptr;
        buttonCameraManager->setChecked(false);
    }
    if (element == bandwidthConfiguration)
    {
        bandwidthConfiguration = nullptr;
        buttonBandwidth->setChecked(false);
    }
    UpdateEmptyDeskHint();
    update();
}

void MainWindow::RemoveElement(ControlElement* element)
{
    Q_EMIT element->Signal_ErasedFromControlElementVector();
    elements.erase(std::remove(elements.begin(), elements.end(), element), elements.end());
    fixedElements.erase(std::remove(fixedElements.begin(), fixedElements.end(), element), fixedElements.end());
    // deleteLater: the element may still be inside its own signal's emission.
    element->hide();
    element->deleteLater();
}

void MainWindow::OnCloseControlElementCamera()
{
    // A camera window asks to close its camera: handled by the camera window itself once it exists.
}

void MainWindow::OnRelayUpdateControls()
{
    if (auto* element = qobject_cast<ControlElement*>(sender()))
        Q_EMIT Signal_RelayUpdateControls(element);
}

void MainWindow::ClearDesk(bool withFade)
{
    std::vector<ControlElement*> collected;
    for (ControlElement* element : elements)
    {
        ControlElement* parent = element->ParentElement();
        if (parent != nullptr && element->IsTabbedLeft())
            parent->TabLeft(element, false);
        else if (parent != nullptr && element->IsTabbedRight())
            parent->TabRight(element, false);
        element->SetParentElement(nullptr);
        element->OnElementClosing();
        collected.push_back(element);
    }
    for (ControlElement* element : collected)
    {
        if (withFade)
        {
            element->FadeOutAndDelete();
            continue;
        }
        // At once, not later: a workspace load that follows opens the same cameras, which must be closed by
        // then. No element's own signal is running here.
        Q_EMIT element->Signal_ErasedFromControlElementVector();
        elements.erase(std::remove(elements.begin(), elements.end(), element), elements.end());
        delete element;
    }
    m_currentWorkspaceName = kNoWorkspace;
    const int index = comboWorkspace->findData(kNoWorkspace);
    comboWorkspace->setCurrentIndex(index < 0 ? 0 : index);
    UpdateEmptyDeskHint();
}

// --- Toolbar

void MainWindow::ToggleFixedElement(ControlElement* element, IconButton* button, bool alwaysCentre, bool adjust)
{
    if (element == nullptr)
        return;
    if (element->isVisible())
    {
        button->setChecked(false);
        element->FadeOut();
        return;
    }
    button->setChecked(true);
    // The close button disabled itself at the last close; a fixed element is closed, never deleted.
    element->CloseButton()->setEnabled(true);
    element->UpdateControls();
    if (alwaysCentre || !element->WasPlaced())
    {
        if (adjust)
            element->adjustSize();
        CenterElement(element);
        element->SetWasPlaced(true);
    }
    BringToFront(element);
    if (element->IsDocked())
    {
        element->SetDocked(false);
        if (adjust)
            element->adjustSize();
    }
    element->FadeIn();
}

void MainWindow::OnButtonLoggerWindow()
{
    ToggleFixedElement(loggerWindow, buttonLogger, false, false);
}

void MainWindow::OnButtonApplicationSettings()
{
    ToggleFixedElement(applicationSettings, buttonOptions, false, true);
}

void MainWindow::OnButtonApplicationInfo()
{
    // Refreshed by its UpdateControls(); centred at every open.
    ToggleFixedElement(applicationInfo, buttonInfo, true, true);
}

void MainWindow::OnButtonCameraManager()
{
    // Without a camera list there is no camera manager, and the button has nothing to open.
    if (cameraManager == nullptr || AnyOpenInProgress())
    {
        buttonCameraManager->setChecked(cameraManager != nullptr && cameraManager->isVisible());
        return;
    }
    ToggleFixedElement(cameraManager, buttonCameraManager, false, false);
}

void MainWindow::OnButtonBandwidth()
{
    if (bandwidthConfiguration != nullptr)
    {
        buttonBandwidth->setChecked(false);
        bandwidthConfiguration->FadeOutAndDelete();
        return;
    }
    // The bandwidth element is built by the service tools; without its class the button stays unchecked.
    buttonBandwidth->setChecked(false);
}

void MainWindow::OnButtonClearAll()
{
    if (AnyOpenInProgress())
        return;
    ClearDesk(true);
    if (cameraManager != nullptr && cameraManager->isVisible())
        cameraManager->FadeOut();
    buttonCameraManager->setChecked(false);
    if (bandwidthConfiguration != nullptr)
        bandwidthConfiguration->FadeOutAndDelete();
    const std::vector<std::pair<ControlElement*, IconButton*>> fixed = {
        {loggerWindow, buttonLogger}, {applicationSettings, buttonOptions}, {applicationInfo, buttonInfo}};
    for (const auto& [element, button] : fixed)
    {
        if (element->isVisible())
            element->FadeOut();
        button->setChecked(false);
    }
    update();
}

void MainWindow::OnButtonCreateCameraObject()
{
    if (AnyOpenInProgress() || qobject_cast<IconButton*>(sender()) == nullptr)
        return;
    OnOpenNewCameraInNewWindow();
}

void MainWindow::OnOpenNewCameraInNewWindow()
{
    if (AnyOpenInProgress() || m_beingDestroyed || m_cameraList == nullptr)
        return;
    const std::shared_ptr<orna::core::DeviceDescriptor> descriptor = m_cameraList->FirstOpenableDevice();
    if (descriptor == nullptr)
        return;
    OpenCameraInNewWindow(descriptor);
}

ControlElement* MainWindow::OpenCameraInNewWindow(std::shared_ptr<orna::core::DeviceDescriptor> descriptor)
{
    if (descriptor == nullptr || m_beingDestroyed)
        return nullptr;
    buttonOpenCamera->SetBusy(true);
    CameraObject* cameraObject = nullptr;
    for (ControlElement* element : elements)
    {
        auto* candidate = qobject_cast<CameraObject*>(element);
        if (candidate != nullptr && candidate->Camera() == nullptr)
        {
            cameraObject = candidate;
            break;
        }
    }
    if (cameraObject == nullptr)
    {
        cameraObject = new CameraObject(this);
        cameraObject->SetNeedsFirstPlacement(true);
        elements.push_back(cameraObject);
        cameraObject->setEnabled(false);
        cameraObject->SetParentElement(nullptr);
    }
    // A window that goes during its open (a failed open removes it) must not leave the button busy.
    if (!cameraObject->property("openBusyWatched").toBool())
    {
        cameraObject->setProperty("openBusyWatched", true);
        connect(cameraObject, &QObject::destroyed, this, [this] {
            if (!m_beingDestroyed)
                QTimer::singleShot(0, this, &MainWindow::UpdateOpenBusyState);
        });
    }
    // The window sizes itself to the image once the open reports success.
    cameraObject->SetAwaitsSize(cameraObject->NeedsFirstPlacement());
    cameraObject->OpenDevice(this, descriptor, m_openCameraWithAcquisition, m_openCameraWithOptimalSettings, true);
    if (cameraObject->NeedsFirstPlacement())
    {
        const int g = ApplicationGlobals::gridSize;
        const QRect area = DockingRect(false);
        const int side = std::max(g, area.height() / g * g);
        const QPoint origin = area.topLeft();
        const int x = ControlElement::SnapX(area.left() + (area.right() - (area.left() + side)) / 2, origin.x(), g);
        const int y = ControlElement::SnapY(area.top(), origin.y(), g);
        cameraObject->setGeometry(x, y, side, side);
        cameraObject->show();
        cameraObject->UpdateControls();
        update();
        UpdateEmptyDeskHint();
        BringToFront(cameraObject);
        cameraObject->SetNeedsFirstPlacement(false);
    }
    return cameraObject;
}

void MainWindow::SetCameraList(CameraListModel* list)
{
    if (m_cameraList != nullptr)
        disconnect(m_cameraList, nullptr, this, nullptr);
    // The panel shows one list: it goes with the list it was built over.
    if (cameraManager != nullptr && (list == nullptr || Manager()->Model() != list))
    {
        ControlElement* manager = cameraManager;
        cameraManager = nullptr;
        fixedElements.erase(std::remove(fixedElements.begin(), fixedElements.end(), manager), fixedElements.end());
        m_ownedElements.removeAll(manager);
        buttonCameraManager->setChecked(false);
        delete manager;
    }
    m_cameraList = list;
    if (list == nullptr)
    {
        EnableOpenButton(false);
        return;
    }
    if (cameraManager == nullptr && !m_beingDestroyed)
    {
        auto* manager = new CameraManager(this, list);
        cameraManager = manager;
        m_ownedElements.append(manager);
        fixedElements.push_back(manager);
        connect(manager, &ControlElement::Signal_CloseClicked, this, &MainWindow::OnButtonCameraManager);
        connect(manager, &CameraManager::Signal_OpenDevice, this,
                [this](std::shared_ptr<orna::core::DeviceDescriptor> descriptor) {
                    if (!AnyOpenInProgress())
                        OpenCameraInNewWindow(std::move(descriptor));
                });
        connect(manager, &CameraManager::Signal_CloseDevice, this, &MainWindow::CloseCameraKeepWindow);
        manager->hide();
    }
    connect(list, &CameraListModel::OpenableDeviceCountChanged, this,
            [this](int count) { EnableOpenButton(count > 0); });
    EnableOpenButton(list->OpenableDeviceCount() > 0);
    // The options' switches act on the list from the start, not only when changed.
    const bool onlyKernelTls = settings::ReadBool(QStringLiteral("only_kvx_kernel_tls"), 0);
    if (list->IsOnlyKernelTls() != onlyKernelTls)
        list->SetOnlyKernelTls(onlyKernelTls);
    list->SetAutoUpdate(m_cameraListAutoUpdate);
    UpdateNotificationRow();
}

CameraListModel* MainWindow::CameraList() const
{
    return m_cameraList;
}

CameraManager* MainWindow::Manager() const
{
    return static_cast<CameraManager*>(cameraManager);
}

void MainWindow::CloseCameraKeepWindow(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    if (descriptor == nullptr)
        return;
    for (ControlElement* element : elements)
    {
        auto* cameraObject = qobject_cast<CameraObject*>(element);
        if (cameraObject != nullptr && cameraObject->Camera() != nullptr &&
            cameraObject->Camera()->GetDescriptor() == descriptor)
            cameraObject->CloseCamera();
    }
}

void MainWindow::UpdateOpenBusyState()
{
    if (!AnyOpenInProgress())
        buttonOpenCamera->SetBusy(false);
}

void MainWindow::PlaceOpenedCameraWindow(ControlElement* cameraWindow, int imageWidth, int imageHeight)
{
    auto* cameraObject = qobject_cast<CameraObject*>(cameraWindow);
    if (cameraObject == nullptr || !cameraObject->AwaitsSize() || m_beingDestroyed)
        return;
    cameraObject->SetAwaitsSize(false);
    const QRect area = DockingRect(!cameraObject->IsDocked());
    const QSize size =
        desk::CameraWindowSize(imageWidth, imageHeight, area, cameraObject->pos(), ApplicationGlobals::gridSize);
    cameraObject->resize(size);
    CenterElement(cameraObject);
}

void MainWindow::EnableOpenButton(bool enable)
{
    buttonOpenCamera->setEnabled(enable);
}

// --- Results of a camera open (queued from the open worker through the camera window)

QWidget* MainWindow::OpenedWindow(QWidget* cameraObject) const
{
    // The open results are queued: the window they name may have gone meanwhile ("No workspace", a close, a
    // failed open). The pointer is only compared with the widgets that exist, never dereferenced before.
    if (cameraObject == nullptr)
        return nullptr;
    return QApplication::allWidgets().contains(cameraObject) ? cameraObject : nullptr;
}

void MainWindow::OnHasOpenedCamera(QString name, QWidget* cameraObject)
{
    if (m_beingDestroyed)
        return;
    QWidget* window = OpenedWindow(cameraObject);
    VisionCamera* camera = window != nullptr ? window->findChild<VisionCamera*>() : nullptr;
    if (camera == nullptr || !camera->IsOpen())
        return;
    ApplyRestoreFlag(camera);
    camera->SetNodePollingEnabled(m_parameterPolling);
    // A workspace opens its cameras synchronously in its creating pass; its applying pass checks the link, so
    // that no dialog comes up before every element exists.
    if (m_workspaceProgress == nullptr)
    {
        QPointer<QWidget> guard(window);
        CheckLinkSpeed(camera, false);
        // The warning ran a dialog: the window may be gone after it.
        if (guard.isNull() || m_beingDestroyed)
            return;
    }
    const QString bootStatus = camera->GetBootStatusText();
    if (!desk::BootStatusNeedsReport(bootStatus, name))
        return;
    const QString description = camera->GetDeviceBootStatusDescription();
    ReportBootStatus(name, bootStatus, description);
    ShowInfo(tr("Camera boot status"),
             camera::BootStatusDialogText(bootStatus, description, desk::DownloadUrl(), desk::SupportUrl()));
}

void MainWindow::OnHasOpenedCameraInServiceFirmware(QString name, QWidget* cameraObject)
{
    Q_UNUSED(name)
    if (m_beingDestroyed)
        return;
    QWidget* window = OpenedWindow(cameraObject);
    VisionCamera* camera = window != nullptr ? window->findChild<VisionCamera*>() : nullptr;
    if (camera == nullptr)
        return;
    const QString bootStatus = camera->GetBootStatusText();
    const QString description = camera->GetDeviceBootStatusDescription();
    ShowInfo(tr("Service firmware"),
             camera::ServiceFirmwareDialogText(bootStatus, description, desk::DownloadUrl(), desk::SupportUrl()));
}

void MainWindow::OnCannotOpenCamera(QString name, QString error, QWidget* cameraObject)
{
    Q_UNUSED(name)
    if (m_beingDestroyed)
        return;
    // The dialog is built before the window goes and runs after it.
    InfoDialog dialog(this, tr("Cannot open camera"), error, IsHeadless() ? 1 : 0);
    ControlElement* element = nullptr;
    for (ControlElement* candidate : elements)
        if (candidate == cameraObject)
            element = candidate;
    if (element != nullptr)
    {
        if (auto* cameraWindow = qobject_cast<CameraObject*>(element))
            cameraWindow->SetOpenInProgress(false);
        element->hide();
        RemoveElement(element);
    }
    UpdateOpenBusyState();
    UpdateEmptyDeskHint();
    Q_EMIT Signal_InfoShown(tr("Cannot open camera"), error);
    dialog.exec();
    update();
}

void MainWindow::OnDeviceLost(QString infoMessage)
{
    ShowInfo(tr("Camera removed"), infoMessage);
}

void MainWindow::CheckLinkSpeed(VisionCamera* camera, bool withSerialNumber)
{
    if (camera == nullptr)
        return;
    int64_t speed = 0;
    if (!camera->GetDeviceLinkSpeed_bytes_per_second(speed))
        return;
    CheckLinkSpeed(camera->GetTransportType(), camera->GetFamilyName(), speed, camera->GetSerialNumber(),
                   withSerialNumber);
}

void MainWindow::CheckLinkSpeed(const QString& transportType, const QString& familyName, qint64 bytesPerSecond,
                                const QString& serialNumber, bool withSerialNumber)
{
    const auto warning = desk::CheckLinkSpeed(transportType, familyName, bytesPerSecond);
    if (warning == desk::LinkSpeedWarning::None)
        return;
    ShowWarning(desk::LinkSpeedWarningText(warning, withSerialNumber, serialNumber));
}

void MainWindow::ReportBootStatus(const QString& cameraName, const QString& bootStatus, const QString& detail)
{
    if (!desk::BootStatusNeedsReport(bootStatus, cameraName))
        return;
    const QString when = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd: hh:mm:ss"));
    const auto lines = desk::BootStatusBlock(when, bootStatus, detail, desk::DownloadUrl(), desk::SupportUrl(),
                                             ApplicationGlobals::colorText, ApplicationGlobals::colorRedLog);
    for (const desk::LogLine& line : lines)
        Q_EMIT LogMessageSender::Instance().Signal_LogAnyMessage(line.text, line.color, QStringLiteral("-"));
    update();
}

// --- Notification row

QString MainWindow::NotificationRowText() const
{
    // The row says what the list does, not what the key says.
    const bool autoUpdate = m_cameraList != nullptr ? m_cameraList->IsAutoUpdate() : m_cameraListAutoUpdate;
    return desk::NotificationText(autoUpdate, m_parameterPolling, m_autoImageSaveAcquisition == 1);
}

void MainWindow::OnReconnectParameterRestoreChanged(bool on)
{
    m_restoreOnReconnect = on;
    for (ControlElement* element : elements)
        if (auto* cameraWindow = qobject_cast<CameraObject*>(element))
            ApplyRestoreFlag(cameraWindow->Camera());
}

void MainWindow::ApplyRestoreFlag(VisionCamera* camera) const
{
    if (camera == nullptr)
        return;
    for (int module = 0; module < kNumXmlModules; ++module)
        if (NodeMapAccess* access = camera->GetNodeMapAccess(static_cast<XmlModule>(module)))
            access->SetRestoreEnabled(m_restoreOnReconnect);
}

QStringList MainWindow::OpenCameraKeys() const
{
    QStringList keys;
    for (ControlElement* element : elements)
        if (auto* cameraWindow = qobject_cast<CameraObject*>(element))
            if (VisionCamera* camera = cameraWindow->Camera())
                keys << camera->GetKeyText();
    return keys;
}

void MainWindow::OnResetDeviceList()
{
    const bool wanted = settings::ReadBool(QStringLiteral("only_kvx_kernel_tls"), 0);
    if (m_cameraList == nullptr)
        return;
    const QStringList open = OpenCameraKeys();
    if (!open.isEmpty())
    {
        // The device list is rebuilt only with no camera open; the switch goes back to what the list uses.
        applicationSettings->RevertOnlyKernelTls(m_cameraList->IsOnlyKernelTls());
        QString ids;
        for (const QString& key : open)
            ids += key + QLatin1Char(' ');
        ShowInfo(tr("Warning"),
                 tr("Can't reset the device manager while there are devices open. The following devices (%1) are "
                    "open: %2")
                     .arg(open.size())
                     .arg(ids));
        return;
    }
    if (m_cameraList->IsOnlyKernelTls() != wanted)
        m_cameraList->SetOnlyKernelTls(wanted);
}

void MainWindow::OnResetImageCounter()
{
    // The counter of automatic image names; image saving reads and advances it when it saves (its part is
    // the receiver of "Reset counter"), until then it only starts again from 0 here.
    m_autoImageSaveCounter = 0;
}

void MainWindow::UpdateNotificationRow()
{
    const QString text = NotificationRowText();
    notificationLabel->setText(text);
    notificationIcon->setVisible(!text.isEmpty());
    notificationLabel->setVisible(!text.isEmpty());
}

// --- Workspace list

void MainWindow::FillWorkspaceCombo()
{
    // The retranslation step: all tool tips and shortcut descriptions are set here together.
    labelWorkspace->setText(tr("Workspace"));
    buttonOpenCamera->setToolTip(tr("Open first available camera"));
    buttonCameraManager->setToolTip(tr("Open camera manager"));
    buttonClearAll->setToolTip(tr("Close all cameras and clear workspace"));
    buttonArrange->setToolTip(tr("Arrange camera windows"));
    buttonBandwidth->setToolTip(tr("Open bandwidth management"));
    buttonLogger->setToolTip(tr("Open logger"));
    buttonOptions->setToolTip(tr("Application options"));
    comboWorkspace->setToolTip(tr("Select current workspace"));
    editWorkspace->setToolTip(tr("Enter workspace name and press ENTER to save"));
    buttonCreateWorkspace->setToolTip(tr("Create workspace"));
    buttonDeleteWorkspace->setToolTip(tr("Delete workspace"));
    buttonInfo->setToolTip(tr("About %1").arg(desk::ProgramName()));
    fullScreenHint->setText(tr("Fullsceen mode. Press ESC to exit."));
    const auto& entries = desk::Shortcuts();
    for (int i = 0; i < m_shortcuts.size() && i < static_cast<int>(entries.size()); ++i)
    {
        m_shortcuts[i]->setKey(QKeySequence(desk::ShortcutKey(entries[i])));
        m_shortcuts[i]->setWhatsThis(desk::ShortcutDescription(entries[i]));
    }

    const QSignalBlocker blocker(comboWorkspace);
    comboWorkspace->clear();
    comboWorkspace->addItem(tr("No workspace"), kNoWorkspace);
    const QFileInfoList files =
        QDir(m_workspacePath).entryInfoList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& file : files)
        comboWorkspace->addItem(file.completeBaseName(), file.completeBaseName());
    const int index = comboWorkspace->findData(m_currentWorkspaceName);
    comboWorkspace->setCurrentIndex(index < 0 ? 0 : index);
}

void MainWindow::OnComboWorkspace()
{
    if (AnyOpenInProgress())
    {
        // The open thread works on a window of the desk: the desk stays as it is, and so does the choice.
        const QSignalBlocker blocker(comboWorkspace);
        const int index = comboWorkspace->findData(m_currentWorkspaceName);
        comboWorkspace->setCurrentIndex(index < 0 ? 0 : index);
        return;
    }
    const QList<IconButton*> buttons = toolBarFrame->findChildren<IconButton*>();
    for (IconButton* button : buttons)
        button->setEnabled(false);
    const QString selected = comboWorkspace->currentData().toString();
    if (selected == kNoWorkspace)
        ClearDesk(false);
    else
        LoadWorkspace(selected);
    for (IconButton* button : buttons)
        button->setEnabled(true);
    // The open button follows the list's openable cameras, not the load.
    EnableOpenButton(m_cameraList != nullptr && m_cameraList->OpenableDeviceCount() > 0);
    update();
}

void MainWindow::OnButtonCreateWorkspace()
{
    if (AnyOpenInProgress())
        return;
    const QTime now = QTime::currentTime();
    comboWorkspace->hide();
    editWorkspace->show();
    editWorkspace->setText(QStringLiteral("New_%1_%2_%3")
                               .arg(now.hour(), 2, 10, QLatin1Char('0'))
                               .arg(now.minute(), 2, 10, QLatin1Char(' '))
                               .arg(now.second(), 2, 10, QLatin1Char(' ')));
    editWorkspace->selectAll();
    editWorkspace->setFocus();
}

void MainWindow::OnEditSaveWorkspace()
{
    const QString name = editWorkspace->text();
    // The name becomes current whether or not the save worked.
    if (!name.isEmpty())
        SaveWorkspace(name, true);
    m_currentWorkspaceName = name.isEmpty() ? kNoWorkspace : name;
    editWorkspace->clear();
    editWorkspace->hide();
    comboWorkspace->show();
    FillWorkspaceCombo();
}

void MainWindow::OnButtonDeleteWorkspace()
{
    if (AnyOpenInProgress())
        return;
    // The desk stays as it is; only the file goes.
    const QString selected = comboWorkspace->currentData().toString();
    if (selected != kNoWorkspace)
    {
        const QList<IconButton*> buttons = toolBarFrame->findChildren<IconButton*>();
        for (IconButton* button : buttons)
            button->setEnabled(false);
        DeleteWorkspace(selected);
        m_currentWorkspaceName = kNoWorkspace;
        for (IconButton* button : buttons)
            button->setEnabled(true);
        EnableOpenButton(m_cameraList != nullptr && m_cameraList->OpenableDeviceCount() > 0);
    }
    FillWorkspaceCombo();
}

// --- Shortcut targets

void MainWindow::OnToggleGridVisible()
{
    applicationSettings->ToggleGridVisible();
}

void MainWindow::OnToggleTheme()
{
    applicationSettings->ToggleApplicationTheme();
}

void MainWindow::OnToggleLanguage()
{
    applicationSettings->ToggleApplicationLanguage();
}

void MainWindow::ArrangeCameraWindows()
{
    if (m_beingDestroyed || AnyOpenInProgress())
        return;
    std::vector<CameraObject*> windows;
    std::vector<double> aspects;
    for (ControlElement* element : elements)
    {
        auto* cameraObject = qobject_cast<CameraObject*>(element);
        if (cameraObject == nullptr || !cameraObject->isVisible())
            continue;
        const VisionCamera* camera = cameraObject->Camera();
        const double height = camera != nullptr ? static_cast<double>(camera->GetImageHeight()) : 0.0;
        aspects.push_back(height > 0.0 ? static_cast<double>(camera->GetImageWidth()) / height : 1.0);
        windows.push_back(cameraObject);
    }
    const std::vector<QRect> places = desk::ArrangeCameraWindows(DockingRect(false), aspects);
    for (size_t i = 0; i < windows.size() && i < places.size(); ++i)
    {
        CameraObject* window = windows[i];
        // A tiled window is docked and neither maximized nor following a remembered rectangle.
        if (window->IsMaximized())
            window->SetMaximized(false, false);
        window->ApplyGeometry(places[i].x(), places[i].y(), places[i].width(), places[i].height(), true);
        window->SetRestoreRect(places[i]);
    }
    update();
}

void MainWindow::OnFullscreen()
{
    // The elements keep their place relative to the docking area: they move by how far its top moves. Both
    // tops are measured with the layout settled, the second one after the bars were shown or hidden; a shift
    // measured before the toolbar is back is 0 and leaves everything lifted for good.
    m_frame->layout()->activate();
    const int before = DockingRect(false).top();
    if (isFullScreen)
    {
        isFullScreen = false;
        if (wasMaximized)
            showMaximized();
        else
            showNormal();
    }
    else
    {
        isFullScreen = true;
        showFullScreen();
    }
    toolBarFrame->setVisible(!isFullScreen);
    notificationFrame->setVisible(!isFullScreen);
    m_frame->layout()->activate();
    const int shift = DockingRect(false).top() - before;
    if (shift == 0)
        return;
    for (ControlElement* element : elements)
        if (!element->IsTabbed()) // a tabbed panel's place belongs to its camera window's layout
            element->move(element->x(), element->y() + shift);
}

// --- Reactions to the options

void MainWindow::OnThemeChanged()
{
    UpdateStyleSheet();
    for (ControlElement* element : fixedElements)
        element->UpdateStyleSheet();
    for (ControlElement* element : elements)
        element->UpdateStyleSheet();
    Q_EMIT Signal_ThemeChanged();
}

void MainWindow::OnLanguageChanged(const QString& name)
{
    if (m_translatorInstalled)
    {
        QCoreApplication::removeTranslator(&m_translator);
        m_translatorInstalled = false;
    }
    if (!name.isEmpty() && m_translator.load(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name))
        m_translatorInstalled = QCoreApplication::installTranslator(&m_translator);
    FillWorkspaceCombo();
    for (ControlElement* element : fixedElements)
        element->UpdateTexts();
    for (ControlElement* element : elements)
        element->UpdateTexts();
    UpdateNotificationRow();
}

void MainWindow::OnShowGridChanged(bool show)
{
    m_showGrid = show;
    m_dockingWidget->SetGridVisible(show);
}

void MainWindow::OnShowConnectionsChanged(bool show)
{
    m_showConnections = show;
    m_dockingWidget->SetConnectionsVisible(show);
    update();
}

void MainWindow::OnAutoImageSaveChanged()
{
    ReadAutoImageSaveSettings();
    UpdateNotificationRow();
}

void MainWindow::OnPathChanged(const QString& key, const QString& path)
{
    if (key == QLatin1String("path_workspace"))
    {
        m_workspacePath = path.isEmpty() ? m_defaultWorkspacePath : path;
        applicationSettings->SetWorkspacePath(m_workspacePath);
        applicationSettings->SetPathInUse(key, m_workspacePath);
        FillWorkspaceCombo();
    }
    else if (key == QLatin1String("path_auto_image_save"))
    {
        m_autoImageSavePath = path.isEmpty() ? QCoreApplication::applicationDirPath() : path;
        applicationSettings->SetPathInUse(key, m_autoImageSavePath);
    }
}

// --- Theme

void MainWindow::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    qApp->setStyleSheet(G::ToolTipStyleSheet());
    setStyleSheet(QStringLiteral("QMainWindow { background-color: %1; }"
                                 "QWidget#CentralArea { background-color: %1; }"
                                 "QWidget#ToolBarFrame { background-color: %2; border-bottom: 1px solid %3; }"
                                 "QWidget#NotificationFrame { background-color: %2; border-top: 1px solid %3; }"
                                 "QLabel#NotificationLabel { color: %4; background: transparent; }")
                      .arg(G::colorBackground.name(), G::colorBackgroundAlternate.name(), G::colorBorder.name(),
                           G::colorText.name()));
    setWindowIcon(G::isLight ? m_logoLight : m_logoDark);
    for (IconButton* button : toolBarFrame->findChildren<IconButton*>())
        button->UpdateStyleSheet();
    notificationIcon->setPixmap(QPixmap(G::Icon24(QStringLiteral("error.png"))));
    notificationLabel->setFont(G::fontNormal);
    comboWorkspace->UpdateStyleSheet();
    editWorkspace->UpdateStyleSheet();
    labelWorkspace->UpdateStyleSheet();
    m_dockingWidget->UpdateStyleSheet();
}

IconButton* MainWindow::ToolBarButton(const QString& iconFile) const
{
    return toolBarFrame->findChild<IconButton*>(iconFile);
}

// --- Events

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == this && desk::IsCtrlTab(event))
    {
        // The bottom element comes to the top, so repeated presses cycle through all of them. The key is
        // consumed even on an empty desk.
        if (!elements.empty())
            BringToFront(elements.front());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void MainWindow::mousePressEvent(QMouseEvent* event)
{
    // A press on the bare desk: nothing is highlighted any more, and a half-typed workspace name is given up.
    BringToFront(nullptr);
    if (editWorkspace->isVisible())
    {
        editWorkspace->hide();
        comboWorkspace->show();
    }
    QMainWindow::mousePressEvent(event);
}

void MainWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::WindowStateChange)
    {
        if (windowState() & Qt::WindowMaximized)
            wasMaximized = true;
        else if (windowState() == Qt::WindowNoState)
            wasMaximized = false;
    }
    QMainWindow::changeEvent(event);
}

// --- Leaving

void MainWindow::OnExitProgram()
{
    // The session's desk is kept as an ordinary workspace, without a message if that fails. The auxiliary
    // windows close here so that nothing floats on after the main window.
    SaveWorkspace(QStringLiteral("last_workspace"), false);
    for (ControlElement* element : fixedElements)
        element->close();
    settings::Write(QStringLiteral("geometry"), saveGeometry());
}

void MainWindow::Teardown()
{
    m_beingDestroyed = true;
    // Nothing an element still sends (a fade that ends during the event processing below, a close) may reach
    // the desk's bookkeeping any more: the teardown alone deletes the elements, each once.
    std::vector<QPointer<ControlElement>> onDesk;
    for (ControlElement* element : elements)
    {
        disconnect(element, nullptr, this, nullptr);
        onDesk.emplace_back(element);
    }
    std::vector<QPointer<ControlElement>> fixed;
    for (ControlElement* element : fixedElements)
    {
        disconnect(element, nullptr, this, nullptr);
        fixed.emplace_back(element);
    }
    elements.clear();

    // The window is usually hidden by now (closed): the progress is a window of its own, centred where the main
    // window stood, so that the user sees the cameras stop; the process does not run on invisibly.
    const QRect where = frameGeometry();
    auto* bar = new CustomProgressBar(nullptr);
    bar->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    bar->setWindowTitle(windowTitle());
    bar->resize(qMin(400, qMax(120, where.width() - 40)), 36);
    bar->move(where.center() - QPoint(bar->width() / 2, bar->height() / 2));
    bar->SetValue(0);
    bar->show();
    bar->raise();
    const double stepSize = 100.0 / 6.0;
    // Each value shows before the work of its step, so that a slow step is seen while it runs.
    auto step = [&](int number) {
        bar->SetValue(number >= 6 ? 100.0 : number * stepSize);
        bar->repaint();
        if (TeardownObserver())
            TeardownObserver()(bar, number);
        QCoreApplication::processEvents();
    };
    step(0);

    // 1: every element out of its dock or tab, hidden.
    step(1);
    std::vector<QPointer<ControlElement>> all = onDesk;
    all.insert(all.end(), fixed.begin(), fixed.end());
    for (const QPointer<ControlElement>& element : all)
    {
        if (element.isNull())
            continue;
        ControlElement* parent = element->ParentElement();
        if (parent != nullptr && element->IsTabbedLeft())
            parent->TabLeft(element, false);
        else if (parent != nullptr && element->IsTabbedRight())
            parent->TabRight(element, false);
        element->hide();
    }
    // 2: detach what remains from its parent element.
    step(2);
    for (const QPointer<ControlElement>& element : all)
        if (!element.isNull())
            element->SetParentElement(nullptr);
    // 3: camera windows go first; deleting one stops and closes its camera.
    step(3);
    for (QPointer<ControlElement>& element : onDesk)
        if (!element.isNull() && element->Type() == ControlElement::kCameraObjectType)
            delete element.data();
    // 4: the elements no layout holds: the panels, then the fixed elements.
    step(4);
    for (QPointer<ControlElement>& element : onDesk)
        if (!element.isNull())
            delete element.data();
    fixedElements.clear();
    loggerWindow = nullptr;
    applicationSettings = nullptr;
    applicationInfo = nullptr;
    cameraManager = nullptr;
    bandwidthConfiguration = nullptr;
    for (auto& element : m_ownedElements)
        delete element.data();
    m_ownedElements.clear();
    // 5: only now, with every camera gone; the own camera list first, since it holds the device manager.
    step(5);
    if (m_ownCameraList != nullptr)
    {
        disconnect(m_ownCameraList.get(), nullptr, this, nullptr);
        m_cameraList = nullptr;
        m_ownCameraList.reset();
    }
    ExitLibraries();
    step(6);
    delete bar;
    if (ControlElementHost::Instance() == this)
        ControlElementHost::SetInstance(nullptr);
}

std::function<void(const QWidget*, int)>& MainWindow::TeardownObserver()
{
    static std::function<void(const QWidget*, int)> observer;
    return observer;
}
