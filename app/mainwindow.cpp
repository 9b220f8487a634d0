// Start-up and teardown of the main window.
//
// Construction, in this order (each step is one block of the constructor):
//   1. base, title, settings object, translator
//   2. the four Roboto faces from the resources (LoadFonts)
//   3. the three fonts of ApplicationGlobals
//   4. the language file beside the binary (LoadLanguage)
//   5. fade time, pixel format switch, LUT switch, buffer count (ReadStartupSettings)
//   6. aboutToQuit -> OnAboutToQuit
//   7. the two logos
//   8. toolbars, frame and actions with their shortcuts (BuildActions)
//   9. the hidden fixed elements (logger, options, information) as they exist
//  10. minimum size and the stored geometry (RestoreWindowGeometry)
//  11./12. the workspace and image folders and the automatic image save keys (InitDefaultPaths)
//  13. InitLibraries
//  14. the inference library
//  15. the camera manager, as soon as it exists
//  16. the remaining connections
//  17. show()
//  18. the settings that need a visible window (ApplyVisibleWindowSettings)
//  19. the version check of the device library (CheckDeviceLibraryVersion)
//  20. the event filter on the window itself
//
// Teardown (destructor): a progress bar centred over the window walks six even steps, processing events
// after each, so that closing cameras is visible; ExitLibraries() comes at step five, after every camera.
#include "app/mainwindow.h"

#include "app/applicationglobals.h"
#include "app/logmessagesender.h"
#include "app/settings.h"
#include "app/versioncheck.h"
#include "orna/afl/orna_afl.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/ifl/inference.h"
#include "widgets/customprogressbar.h"
#include "widgets/infodialog.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFontDatabase>
#include <QSettings>
#include <QStandardPaths>

namespace {
const QString kNoOrigin = QStringLiteral("-");
const QString kDeviceLibraryName = QStringLiteral("kvx_orna");
const QString kGenericApiName = QStringLiteral("KVX orna genericAPI");
} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    // 1.
    setWindowTitle(QStringLiteral("KVX orna Lumivue"));
    m_settings = new QSettings(settings::kOrganisation, settings::kApplication, this);

    // 2. and 3.
    LoadFonts();
    ApplicationGlobals::FillFonts();
    QApplication::setFont(ApplicationGlobals::fontNormal);

    // 4.
    LoadLanguage();

    // 5.
    ReadStartupSettings();

    // 6.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &MainWindow::OnAboutToQuit);

    // 7.
    m_logoDark = QIcon(QStringLiteral(":/resources/company_logo_dark.png"));
    m_logoLight = QIcon(QStringLiteral(":/resources/company_logo_light.png"));

    // 8.
    m_centralArea = new QWidget(this);
    m_centralArea->setObjectName(QStringLiteral("CentralArea"));
    setCentralWidget(m_centralArea);
    BuildActions();

    // 9. The logger, options and information elements join m_ownedElements here once they exist.

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
        LogMessageSender::Error(kNoOrigin, QStringLiteral("MainWindow::MainWindow(QWidget *)"),
                                tr("IFL initialization failed: %1.")
                                    .arg(QString::fromLatin1(inference_status_text(inferenceStatus))));
    }

    // 15. and 16. The camera manager and the connections between elements come with the device manager.

    UpdateStyleSheet();

    // 17.
    show();

    // 18.
    ApplyVisibleWindowSettings();
    update();

    // 19.
    CheckDeviceLibraryVersion();

    // 20.
    installEventFilter(this);
}

MainWindow::~MainWindow()
{
    Teardown();
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
        QCoreApplication::installTranslator(&m_translator);
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
    m_actionToggleTheme = new QAction(tr("Toggle theme"), this);
    m_actionToggleTheme->setShortcut(QKeySequence(QStringLiteral("CTRL+ALT+T")));
    m_actionToggleTheme->setShortcutContext(Qt::ApplicationShortcut);
    connect(m_actionToggleTheme, &QAction::triggered, this, &MainWindow::OnToggleTheme);
    addAction(m_actionToggleTheme);
}

void MainWindow::RestoreWindowGeometry()
{
    const QByteArray geometry = settings::Read(QStringLiteral("geometry")).toByteArray();
    if (geometry.isEmpty() || !restoreGeometry(geometry))
        resize(730, height());
}

void MainWindow::InitDefaultPaths()
{
    QString dataLocation = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    m_workspacePath = dataLocation.isEmpty() ? QCoreApplication::applicationDirPath()
                                             : dataLocation + QStringLiteral("/workspaces");
    QDir dir(m_workspacePath);
    if (!dir.exists())
        dir.mkpath(QStringLiteral("."));
    // A chosen folder is taken as it is; a missing one shows up at the first save of a workspace.
    const QString chosenWorkspacePath = settings::ReadString(QStringLiteral("path_workspace"));
    if (!chosenWorkspacePath.isEmpty())
        m_workspacePath = chosenWorkspacePath;

    m_autoImageSavePath = QCoreApplication::applicationDirPath();
    const QString chosenImagePath = settings::ReadString(QStringLiteral("path_auto_image_save"));
    if (!chosenImagePath.isEmpty())
        m_autoImageSavePath = chosenImagePath;

    // Older keys keep their text defaults; toInt() reads both forms.
    m_autoImageSaveNameCreation = settings::ReadInt(QStringLiteral("auto_image_save_name_creation"), "0");
    m_autoImageSaveAcquisition = settings::ReadInt(QStringLiteral("auto_image_save_acquisition"), "0");
    m_autoImageSaveImageName = settings::ReadString(QStringLiteral("auto_image_save_image_name"), QStringLiteral("kvx_image"));
    m_autoImageSaveImageType = settings::ReadString(QStringLiteral("auto_image_save_image_type"), QStringLiteral("bmp"));
    m_autoImageSaveIndex = settings::ReadInt(QStringLiteral("auto_image_save_index"), "0");
    m_autoImageSaveDate = settings::ReadInt(QStringLiteral("auto_image_save_date"), "0");
    m_autoImageSaveTime = settings::ReadInt(QStringLiteral("auto_image_save_time"), "0");
    m_autoImageSaveMaxNumber = settings::ReadInt(QStringLiteral("auto_image_save_acquisition_max_number"), "10");
    m_autoImageSaveMaxNumberEnable =
        settings::ReadInt(QStringLiteral("auto_image_save_acquisition_max_number_enable"), "1");
    m_filterQtm = settings::ReadInt(QStringLiteral("filter_qtm"), 1) == 1;
}

void MainWindow::ApplyVisibleWindowSettings()
{
    m_showConnections = settings::ReadBool(QStringLiteral("show_connections"), 1);
    m_showGrid = settings::ReadBool(QStringLiteral("show_grid"), 0);
    m_openCameraWithAcquisition = settings::ReadBool(QStringLiteral("open_camera_with_acquisition"), 1);
    m_openCameraWithOptimalSettings = settings::ReadBool(QStringLiteral("open_camera_with_optimal_settings"), 1);
    m_defaultWorkspace = settings::ReadString(QStringLiteral("default_workspace"));
    m_cameraListAutoUpdate = settings::ReadBool(QStringLiteral("camera_list_auto_update_enable"), 1);
}

// --- Libraries

void MainWindow::InitLibraries()
{
    const QString context = QStringLiteral("void MainWindow::InitLibraries()");
    try
    {
        orna::Library::Initialize();
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
        LogMessageSender::Error(kNoOrigin, context, tr("Failed to initialize auto feature lib: ") + QString::fromUtf8(e.what()));
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
        LogMessageSender::Error(kNoOrigin, context, tr("Failed to exit auto feature lib: ") + QString::fromUtf8(e.what()));
    }
    // The device manager's reference is released here once it exists.
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
        text = VersionWarningText(major, minor, subminor,
                                  QStringLiteral("%1.%2.%3").arg(major).arg(minor).arg(subminor));
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(kNoOrigin, QStringLiteral("MainWindow::MainWindow(QWidget *)"), QString::fromUtf8(e.what()));
        text = VersionUndetectableText();
    }
    if (!text.isEmpty())
        ShowWarning(text);
}

void MainWindow::ShowWarning(const QString& text)
{
    // Offscreen test runs have nobody to press OK: the dialog closes itself there.
    const bool headless = QGuiApplication::platformName() == QLatin1String("offscreen");
    InfoDialog dialog(this, tr("Warning"), text, headless ? 1 : 0);
    dialog.exec();
}

// --- Theme

void MainWindow::OnToggleTheme()
{
    const auto next = ApplicationGlobals::isLight ? ApplicationGlobals::Skin::Dark : ApplicationGlobals::Skin::Light;
    settings::Write(QStringLiteral("color_skin"), ApplicationGlobals::SkinName(next));
    ApplicationGlobals::ApplySkin(next);
    UpdateStyleSheet();
    Q_EMIT Signal_ThemeChanged();
}

void MainWindow::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    qApp->setStyleSheet(G::ToolTipStyleSheet());
    setStyleSheet(QStringLiteral("QMainWindow { background-color: %1; }"
                                 "QWidget#CentralArea { background-color: %1; }"
                                 "QToolBar { background-color: %2; border: none; spacing: 2px; }")
                      .arg(G::colorBackground.name(), G::colorBackgroundAlternate.name()));
    setWindowIcon(G::isLight ? m_logoLight : m_logoDark);
}

// --- Events

bool MainWindow::eventFilter(QObject* watched, QEvent* event)
{
    return QMainWindow::eventFilter(watched, event);
}

// --- Leaving

void MainWindow::OnAboutToQuit()
{
    // The session's workspace ("last_workspace") and the auxiliary windows are handled here once they exist.
    settings::Write(QStringLiteral("geometry"), saveGeometry());
}

void MainWindow::Teardown()
{
    m_beingDestroyed = true;
    auto* bar = new CustomProgressBar(this);
    bar->resize(qMin(400, width() - 40), 36);
    bar->move((width() - bar->width()) / 2, (height() - bar->height()) / 2);
    bar->SetValue(0);
    bar->show();
    bar->raise();
    QCoreApplication::processEvents();

    const double step = 100.0 / 6.0;
    // 1: take every element out of its dock or tab and hide it.
    for (const auto& element : m_ownedElements)
        if (element)
            element->hide();
    bar->SetValue(step);
    QCoreApplication::processEvents();
    // 2: detach what remains.
    for (const auto& element : m_ownedElements)
        if (element)
            element->setParent(nullptr);
    bar->SetValue(2 * step);
    QCoreApplication::processEvents();
    // 3: the central area gives up its camera windows (which stop and close their cameras).
    bar->SetValue(3 * step);
    QCoreApplication::processEvents();
    // 4: delete the elements no layout holds.
    for (auto& element : m_ownedElements)
        delete element.data();
    m_ownedElements.clear();
    bar->SetValue(4 * step);
    QCoreApplication::processEvents();
    // 5: only now, with every camera gone.
    ExitLibraries();
    bar->SetValue(5 * step);
    QCoreApplication::processEvents();
    // 6.
    bar->SetValue(100);
    QCoreApplication::processEvents();
    delete bar;
}
