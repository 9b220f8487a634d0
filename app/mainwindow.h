// The main window: the desk on which every control element lies, and the owner of all of them.
//
// It holds the toolbar, the central docking area, the notification row, the fixed elements (logger,
// application options, information; later the camera manager and the bandwidth element) and the vector of
// camera windows and their panels. It orders the elements in depth (BringToFront: camera windows below
// panels below fixed elements), decides where a new panel appears (AddControlElement: the remembered place,
// else a 38-pixel cascade clamped to the screen), and routes the deletion protocol of the elements.
//
// Construction follows a fixed order (fonts, language, settings, actions, hidden elements, geometry, paths,
// libraries, then show) and the destructor undoes it under a visible progress bar so that stopping cameras
// is seen to take its time; ExitLibraries() always runs after every camera is gone.
//
// GUI thread only. Workers reach it only through queued signals (the open results of a camera).
#pragma once

#include "controlelement/controlelementhost.h"

#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTranslator>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace orna::core {
class DeviceDescriptor;
}
namespace workspace {
struct Document;
struct Element;
struct FixedFields;
} // namespace workspace

class ApplicationInfo;
class ApplicationSettings;
class CameraListModel;
class CameraManager;
class CameraObject;
class ControlElement;
class CustomComboBox;
class CustomEdit;
class CustomLabel;
class CustomProgressBar;
class DockingWidget;
class IconButton;
class LoggerWindow;
class QLabel;
class QSettings;
class QShortcut;
class VisionCamera;

class MainWindow : public QMainWindow, public ControlElementHost
{
    Q_OBJECT

public:
    // Where the camera list comes from. HandedOver: whoever builds the window makes it after the window (the
    // libraries are up by then) and hands it over with SetCameraList; the window starts without cameras.
    // Own: the window makes its list at start-up, right after the libraries, so that the camera manager and the
    // default workspace's cameras are there at start; the teardown deletes it after the last camera window and
    // before the libraries go down.
    enum class CameraListSource
    {
        HandedOver,
        Own,
    };

    explicit MainWindow(QWidget* parent = nullptr, CameraListSource cameraListSource = CameraListSource::HandedOver);
    ~MainWindow() override;

    // Never let an exception leave; failures are logged with origin "-".
    void InitLibraries();
    void ExitLibraries();

    // --- Start-up values, read in the constructor (tests and later parts read them)
    QString WorkspacePath() const { return m_workspacePath; }
    QString AutoImageSavePath() const { return m_autoImageSavePath; }
    bool IsBeingDestroyed() const { return m_beingDestroyed; }
    bool ShowConnections() const { return m_showConnections; }
    bool ShowGrid() const { return m_showGrid; }
    bool OpenCameraWithAcquisition() const { return m_openCameraWithAcquisition; }
    bool OpenCameraWithOptimalSettings() const { return m_openCameraWithOptimalSettings; }
    // The texts of the device library's version warning, or an empty string when the version is accepted.
    static QString VersionWarningText(unsigned major, unsigned minor, unsigned subminor, const QString& versionText);
    static QString VersionUndetectableText();

    // --- ControlElementHost
    QWidget* HostWindow() override { return this; }
    DockingWidget* HostDockingWidget() override;
    bool HasFreePlace(ControlElement* element) override;
    // Camera windows stay below panels and panels below fixed elements, whatever was clicked last; the
    // element given becomes the highlighted one and the last of its vector. A null element only clears
    // the highlights.
    void BringToFront(ControlElement* element) override;
    void ConnectElement(ControlElement* element) override;

    // --- Desk operations used by the elements and the camera layer
    DockingWidget* dockingWidget() const { return m_dockingWidget; }
    // Makes the panel of `type` for `owner` (a camera window), places it and fades it in; null for a type
    // outside 1..30 or without a registered class (ControlElementHost::RegisterElementType).
    ControlElement* AddControlElement(ControlElement* owner, int type) override;
    // Puts a camera window (or another element made elsewhere) on the desk, on top of its layer.
    void AppendElement(ControlElement* element);
    // Steps two to seven of AddControlElement for an element that exists already.
    void AddPanel(ControlElement* owner, ControlElement* element);
    // Puts the element in the middle of the docking area, snapped to the grid.
    void CenterElement(ControlElement* element);
    void UpdateNotificationRow();
    QString NotificationRowText() const;
    // Warns about a slow link (an InfoDialog) by the transport, family and speed a camera reports; the first
    // form asks the camera, and does nothing when it cannot tell its speed.
    void CheckLinkSpeed(VisionCamera* camera, bool withSerialNumber);
    void CheckLinkSpeed(const QString& transportType, const QString& familyName, qint64 bytesPerSecond,
                        const QString& serialNumber, bool withSerialNumber);
    // Writes the boot status block to the log unless the status is "OK" or the camera is a service one.
    void ReportBootStatus(const QString& cameraName, const QString& bootStatus, const QString& detail);
    // Takes every element off the desk: at once, or each with its fade-out and delete.
    void ClearDesk(bool withFade);
    // Opens the camera in the first camera window without a camera, or in a new one; returns that window.
    ControlElement* OpenCameraInNewWindow(std::shared_ptr<orna::core::DeviceDescriptor> descriptor);
    // The camera list the open button and CTRL+N take the first openable camera from (not owned). Until the
    // camera manager panel exists, whoever builds the window hands it over; its openable count enables the
    // open button.
    void SetCameraList(CameraListModel* list);
    CameraListModel* CameraList() const;
    // The camera manager panel over the list SetCameraList was given; null without a list.
    CameraManager* Manager() const;
    // Closes the camera of that descriptor in its window and keeps the window.
    void CloseCameraKeepWindow(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor);
    // Stops the open button's busy animation once no camera window has its open in progress.
    void UpdateOpenBusyState() override;
    // Gives a new camera window, once its camera is open, the size its image asks for (the full height of
    // the docking area, the width by the image's aspect) and centres it; windows that do not await their
    // size are left alone.
    void PlaceOpenedCameraWindow(ControlElement* cameraWindow, int imageWidth, int imageHeight) override;

    // --- Workspaces (app/mainwindowworkspace.cpp)
    // Writes the desk to <WorkspacePath()>/<name>.xml atomically: a failed save leaves the old file as it was.
    // With showErrors a failure shows the "Error" message; the save at exit passes false.
    bool SaveWorkspace(const QString& name, bool showErrors);
    // Clears the desk and restores the file under a progress bar; a file that cannot be read leaves an
    // empty desk. Returns true on every path.
    bool LoadWorkspace(const QString& name);
    void DeleteWorkspace(const QString& name);
    QString WorkspaceFileName(const QString& name) const;
    QString CurrentWorkspaceName() const { return m_currentWorkspaceName; }
    // The desk as the writer lays it down (the element vector in stacking order).
    workspace::Document DeskDocument() const;
    // The version of the file being loaded; zero outside a load.
    int WorkspaceVersionMajor() const { return workspaceVersionMajor; }
    int WorkspaceVersionMinor() const { return workspaceVersionMinor; }
    // Called with each value the load's progress bar takes (10..100), after it is painted; for tests.
    static std::function<void(int)>& WorkspaceProgressObserver();
    CustomComboBox* WorkspaceCombo() const { return comboWorkspace; }
    CustomEdit* WorkspaceEdit() const { return editWorkspace; }

    // For tests and the workspace: the two vectors and the fixed elements.
    const std::vector<ControlElement*>& Elements() const { return elements; }
    const std::vector<ControlElement*>& FixedElements() const { return fixedElements; }
    LoggerWindow* Logger() const { return loggerWindow; }
    ApplicationSettings* Settings() const { return applicationSettings; }
    ApplicationInfo* Info() const { return applicationInfo; }
    QWidget* ToolBarFrame() const { return toolBarFrame; }
    QWidget* NotificationFrame() const { return notificationFrame; }
    // Toolbar buttons by their icon file ("logger.png"); null if there is none.
    IconButton* ToolBarButton(const QString& iconFile) const;
    QList<QShortcut*> Shortcuts() const { return m_shortcuts; }
    bool IsInFullScreen() const { return isFullScreen; }
    bool RestoreOnReconnect() const { return m_restoreOnReconnect; }
    bool ParameterPolling() const { return m_parameterPolling; }
    int AutoImageSaveCounter() const { return m_autoImageSaveCounter; }
    void SetAutoImageSaveCounter(int value) { m_autoImageSaveCounter = value; }
    // The key texts of the cameras open on the desk.
    QStringList OpenCameraKeys() const;
    // Called at each of the teardown's steps (0..6) with its progress window, before the step's work; for tests.
    static std::function<void(const QWidget*, int)>& TeardownObserver();

public Q_SLOTS:
    void OnStartDeletingControlElement();
    void OnFinishDeletingControlElement();
    void OnCloseControlElementCamera();
    void OnRelayUpdateControls();
    void OnHasOpenedCamera(QString name, QWidget* cameraObject);
    void OnHasOpenedCameraInServiceFirmware(QString name, QWidget* cameraObject);
    void OnCannotOpenCamera(QString name, QString error, QWidget* cameraObject);
    void EnableOpenButton(bool enable);
    void OnDeviceLost(QString infoMessage);
    void OnToggleGridVisible();
    // Reaches ApplicationSettings::ToggleApplicationTheme (key CTRL+ALT+T).
    void OnToggleTheme();
    void OnToggleLanguage();
    void OnOpenNewCameraInNewWindow();
    void OnFullscreen();
    // Tiles the camera windows over the docking area in a grid that keeps each image's aspect (CTRL+ALT+A).
    // Plain geometry: a workspace keeps it.
    void ArrangeCameraWindows();
    // Re-applies the theme's colours to the window and all elements.
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_RelayUpdateControls(ControlElement* elem);
    void Signal_ThemeChanged();
    // Emitted as a message dialog opens (offscreen runs close it by themselves): title and text.
    void Signal_InfoShown(QString title, QString text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private Q_SLOTS:
    // Runs on aboutToQuit while the window still lives: saves the session and the settings.
    void OnExitProgram();
    void OnButtonCreateCameraObject();
    void OnButtonCameraManager();
    void OnButtonClearAll();
    void OnButtonBandwidth();
    void OnButtonLoggerWindow();
    void OnButtonApplicationSettings();
    void OnButtonApplicationInfo();
    void OnComboWorkspace();
    void OnEditSaveWorkspace();
    void OnButtonCreateWorkspace();
    void OnButtonDeleteWorkspace();
    void OnAddControlByCameraObjectFinished();
    // Reactions to the options element.
    void OnThemeChanged();
    void OnLanguageChanged(const QString& name);
    void OnShowGridChanged(bool show);
    void OnShowConnectionsChanged(bool show);
    void OnAutoImageSaveChanged();
    void OnPathChanged(const QString& key, const QString& path);
    // The kernel transport switch changed: the list takes it, or it is refused while cameras are open.
    void OnResetDeviceList();
    void OnReconnectParameterRestoreChanged(bool on);
    void OnResetImageCounter();

private:
    void LoadFonts();
    void LoadLanguage();
    void ReadStartupSettings();
    void BuildActions();
    void BuildToolBar();
    void BuildNotificationRow();
    void BuildShortcuts();
    void CreateFixedElements();
    void RestoreWindowGeometry();
    void InitDefaultPaths();
    void ReadAutoImageSaveSettings();
    void ApplyVisibleWindowSettings();
    void CheckDeviceLibraryVersion();
    void ShowWarning(const QString& text);
    // Runs an InfoDialog; offscreen runs (tests) have nobody to press OK, so it closes itself there.
    void ShowInfo(const QString& title, const QString& text);
    void Teardown();
    // The retranslation step: every tool tip, shortcut description and the workspace list.
    void FillWorkspaceCombo();
    // Opens or closes one of logger, options, information (the three toggles).
    void ToggleFixedElement(ControlElement* element, IconButton* button, bool alwaysCentre, bool adjust);
    void UpdateEmptyDeskHint();
    // Every node map of the camera restores (or not) its parameters on reconnect, as the options say.
    void ApplyRestoreFlag(VisionCamera* camera) const;
    void RemoveElement(ControlElement* element);
    // --- Workspace load steps
    // A panel of `type` made by its registered class, or null (also for a type without a class).
    ControlElement* MakeElement(int type);
    ControlElement* CreateWorkspaceElement(const workspace::Element& e);
    CameraObject* OpenWorkspaceCamera(const workspace::Element& e);
    void ApplyWorkspaceElement(const workspace::Element& e, std::map<int, ControlElement*>& byIndex);
    void ApplyFixedElement(ControlElement* element, IconButton* button, const workspace::FixedFields& f,
                           bool updateControls, const std::function<void()>& beforeMarking);
    void SetWorkspaceProgress(int value);
    // The element's rectangle lies on no screen (or outside the docking area when docked): centre it.
    void KeepOnScreen(ControlElement* element);
    // Geometry read from a file, bounded: a size of 0 or 10^9 must neither vanish nor allocate a huge window.
    QRect BoundedGeometry(int x, int y, int width, int height) const;
    // The start-up load of `default_workspace`, after the camera list has caught up with discovery.
    void LoadDefaultWorkspace();
    bool AnyOpenInProgress() const;
    // `cameraObject` when that widget still exists, else null; never dereferences it.
    QWidget* OpenedWindow(QWidget* cameraObject) const;
    QRect DockingRect(bool global) const;
    bool IsFixed(const ControlElement* element) const;

    QSettings* m_settings = nullptr;
    QTranslator m_translator;
    bool m_translatorInstalled = false;
    QIcon m_logoDark;
    QIcon m_logoLight;

    // --- Elements (stacking order: the last of each vector is on top)
    std::vector<ControlElement*> elements;
    std::vector<ControlElement*> fixedElements;
    // Null until the camera layer brings them; the toggles and the quit handler test for them.
    ControlElement* cameraManager = nullptr;
    ControlElement* bandwidthConfiguration = nullptr;
    LoggerWindow* loggerWindow = nullptr;
    ApplicationSettings* applicationSettings = nullptr;
    ApplicationInfo* applicationInfo = nullptr;
    // Elements the window owns outright; deleted in the teardown, in this order.
    QList<QPointer<QWidget>> m_ownedElements;

    // --- Frame
    QWidget* m_frame = nullptr;
    DockingWidget* m_dockingWidget = nullptr;
    QWidget* toolBarFrame = nullptr;
    QWidget* notificationFrame = nullptr;
    IconButton* buttonOpenCamera = nullptr;
    IconButton* buttonCameraManager = nullptr;
    IconButton* buttonClearAll = nullptr;
    IconButton* buttonArrange = nullptr;
    IconButton* buttonBandwidth = nullptr;
    IconButton* buttonLogger = nullptr;
    IconButton* buttonOptions = nullptr;
    CustomLabel* labelWorkspace = nullptr;
    CustomComboBox* comboWorkspace = nullptr;
    CustomEdit* editWorkspace = nullptr;
    IconButton* buttonCreateWorkspace = nullptr;
    IconButton* buttonDeleteWorkspace = nullptr;
    IconButton* buttonInfo = nullptr;
    QLabel* notificationIcon = nullptr;
    QLabel* notificationLabel = nullptr;
    QLabel* fullScreenHint = nullptr;
    QList<QShortcut*> m_shortcuts;
    bool isFullScreen = false;
    bool wasMaximized = false;

    QString m_workspacePath;
    int workspaceVersionMajor = 0;
    int workspaceVersionMinor = 0;
    int workspaceVersionPatch = 0;
    int workspaceVersionBuild = 0;
    CustomProgressBar* m_workspaceProgress = nullptr;
    QLabel* m_workspaceLabel = nullptr;
    QString m_defaultWorkspacePath;
    QString m_currentWorkspaceName = QStringLiteral("None");
    // Workspaces whose files were too large to load in this session; the save at exit leaves them alone.
    std::set<QString> m_refusedWorkspaces;
    QString m_autoImageSavePath;
    // Automatic image saving parameters (read here, used by the image saving part).
    int m_autoImageSaveNameCreation = 0;
    int m_autoImageSaveAcquisition = 0;
    QString m_autoImageSaveImageName;
    QString m_autoImageSaveImageType;
    int m_autoImageSaveIndex = 0;
    int m_autoImageSaveDate = 0;
    int m_autoImageSaveTime = 0;
    int m_autoImageSaveMaxNumber = 10;
    int m_autoImageSaveMaxNumberEnable = 1;
    bool m_filterQtm = true;

    bool m_showConnections = true;
    bool m_showGrid = false;
    bool m_openCameraWithAcquisition = true;
    bool m_openCameraWithOptimalSettings = false;
    bool m_cameraListAutoUpdate = true;
    // The application-wide camera parameter polling switch of the options.
    bool m_parameterPolling = true;
    bool m_restoreOnReconnect = true;
    int m_autoImageSaveCounter = 0;
    QString m_defaultWorkspace;

    bool m_beingDestroyed = false;
    bool m_librariesUp = false;
    QPointer<CameraListModel> m_cameraList;
    // The list of CameraListSource::Own; null for a handed-over list.
    std::unique_ptr<CameraListModel> m_ownCameraList;
};
