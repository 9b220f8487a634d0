// The main window: owner of every control element, the start-up order and the teardown.
//
// Construction follows a fixed order (fonts, language, settings, actions, hidden elements, geometry, paths,
// libraries, then show) and the destructor undoes it under a visible progress bar so that stopping cameras
// is seen to take its time; ExitLibraries() always runs after every camera is gone.
//
// GUI thread only. Workers reach it only through queued signals.
#pragma once

#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QTranslator>

class QSettings;
class QAction;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // Never let an exception leave; failures are logged with origin "-".
    void InitLibraries();
    void ExitLibraries();

    // --- Start-up values, read in the constructor (tests and later parts read them)
    QString WorkspacePath() const { return m_workspacePath; }
    QString AutoImageSavePath() const { return m_autoImageSavePath; }
    bool IsBeingDestroyed() const { return m_beingDestroyed; }
    // The texts of the device library's version warning, or an empty string when the version is accepted.
    static QString VersionWarningText(unsigned major, unsigned minor, unsigned subminor, const QString& versionText);
    static QString VersionUndetectableText();

public Q_SLOTS:
    // Swaps the skin (key CTRL+ALT+T), stores it in "color_skin" and re-styles the window and every element.
    void OnToggleTheme();
    // Re-applies the theme's colours to the window and all elements.
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_ThemeChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    // Runs on aboutToQuit while the window still lives: saves the session and the settings.
    void OnAboutToQuit();

private:
    void LoadFonts();
    void LoadLanguage();
    void ReadStartupSettings();
    void BuildActions();
    void RestoreWindowGeometry();
    void InitDefaultPaths();
    void ApplyVisibleWindowSettings();
    void CheckDeviceLibraryVersion();
    void ShowWarning(const QString& text);
    void Teardown();

    QSettings* m_settings = nullptr;
    QTranslator m_translator;
    QIcon m_logoDark;
    QIcon m_logoLight;
    QWidget* m_centralArea = nullptr;
    QAction* m_actionToggleTheme = nullptr;

    // Elements the window owns; deleted in the teardown, in this order.
    QList<QPointer<QWidget>> m_ownedElements;

    QString m_workspacePath;
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
    bool m_openCameraWithOptimalSettings = true;
    bool m_cameraListAutoUpdate = true;
    QString m_defaultWorkspace;

    bool m_beingDestroyed = false;
    bool m_librariesUp = false;
};
