// The "Application options" element: edits the settings store while the program runs.
//
// Every control writes its key at the moment the user changes it; there is no apply step. What the main
// window must act on at once (grid, connection lines, theme, language, notification row, paths) leaves by a
// signal, so the element never reaches into the window. UpdateControls() reads every key back into the
// controls with the controls disconnected, so a refresh never writes.
//
// The theme and language switches live here (ToggleApplicationTheme, ToggleApplicationLanguage); the main
// window's shortcuts CTRL+ALT+T and CTRL+ALT+L call them.
//
// GUI thread only.
#pragma once

#include "controlelement/controlelement.h"

#include <QMap>
#include <QString>
#include <QStringList>

class CustomComboBox;
class CustomEdit;
class CustomLabel;
class CustomPushButton;
class CustomSliderIntNormal;
class CustomSwitch;
class CustomTabWidget;
class IconButton;
class QLabel;

class ApplicationSettings : public ControlElement
{
    Q_OBJECT

public:
    explicit ApplicationSettings(QWidget* parent = nullptr);

    // The folder whose "*.xml" files the default workspace list offers; the main window keeps it current.
    void SetWorkspacePath(const QString& path);
    // The folder searched for further skin files ("*.ias"); the program's folder unless set.
    void SetSkinPath(const QString& path);
    // The theme list's file entries: the names of the "*.ias" files in folder, each without its suffix.
    static QStringList SkinFileNames(const QString& folder);

    // For tests: the controls, by the key they write.
    CustomTabWidget* Tabs() const { return tabs; }
    CustomSwitch* SwitchStartLive() const { return switchStartLive; }
    CustomSwitch* SwitchOnlyKernelTLs() const { return switchOnlyKernelTLs; }
    CustomSwitch* SwitchShowConnections() const { return switchShowConnections; }
    CustomSwitch* SwitchShowGrid() const { return switchShowGrid; }
    CustomSliderIntNormal* SliderAnimationDuration() const { return sliderAnimationDuration; }
    CustomComboBox* ComboLanguage() const { return comboLanguage; }
    CustomComboBox* ComboTheme() const { return comboTheme; }
    CustomComboBox* ComboDefaultWorkspace() const { return comboDefaultWorkspace; }
    CustomSwitch* SwitchAutoImageSaveNameCreation() const { return switchAutoImageSaveNameCreation; }
    CustomSwitch* SwitchAutoImageSaveAcquisition() const { return switchAutoImageSaveAcquisition; }
    CustomEdit* EditAutoImageSaveName() const { return editAutoImageSaveName; }
    QLabel* LabelInvalidFileName() const { return labelInvalidFileName; }
    CustomComboBox* ComboAutoImageSaveType() const { return comboAutoImageSaveType; }
    CustomSwitch* SwitchAutoImageSaveIndex() const { return switchAutoImageSaveIndex; }
    CustomSwitch* SwitchAutoImageSaveDate() const { return switchAutoImageSaveDate; }
    CustomSwitch* SwitchAutoImageSaveTime() const { return switchAutoImageSaveTime; }
    CustomSwitch* SwitchAutoImageSaveMaxNumber() const { return switchAutoImageSaveMaxNumber; }
    CustomEdit* EditAutoImageSaveMaxNumber() const { return editAutoImageSaveMaxNumber; }
    CustomSwitch* SwitchEnableAutoUpdate() const { return switchEnableAutoUpdate; }
    CustomSwitch* SwitchEnableNodePolling() const { return switchEnableNodePolling; }
    CustomSwitch* SwitchReconnectParameterRestore() const { return switchReconnectParameterRestore; }
    // The folder actually in use for a path key, shown in its row while the key itself is empty (the default).
    void SetPathInUse(const QString& key, const QString& path);
    // Puts the kernel transport switch back to what the key says (a refused change).
    void RevertOnlyKernelTls(bool value);
    // The four path edits: "path_workspace", "path_auto_image_save", "path_video_recording", "path_inference".
    CustomEdit* PathEdit(const QString& key) const;
    // The rows of the shortcut page: key text and description.
    QList<QPair<QString, QString>> ShortcutRows() const;

public Q_SLOTS:
    void ConnectControls() override;
    void DisconnectControls() override;
    void UpdateControls() override;
    void UpdateTexts() override;
    void UpdateStyleSheetWithoutDestroy() override;
    // Swaps dark and light, stores "color_skin", refills the colours and asks the window to restyle.
    void ToggleApplicationTheme();
    // Switches between the last selected language and the default one.
    void ToggleApplicationLanguage();
    // Inverts the grid switch and applies it.
    void ToggleGridVisible();

Q_SIGNALS:
    void Signal_ShowGridChanged(bool show);
    void Signal_ShowConnectionsChanged(bool show);
    void Signal_OpenCameraWithAcquisitionChanged(bool on);
    void Signal_CameraListAutoUpdateChanged(bool on);
    void Signal_NodePollingChanged(bool on);
    void Signal_ReconnectParameterRestoreChanged(bool on);
    // The device list must be built anew (the transport layer choice changed).
    void Signal_ResetDeviceList();
    // The skin changed: the window and every element restyle.
    void Signal_ThemeChanged();
    // The language changed to name ("" is the default); the window loads it and re-translates.
    void Signal_LanguageChanged(const QString& name);
    // One of the automatic image save keys changed.
    void Signal_AutoImageSaveChanged();
    void Signal_ResetImageCounter();
    // "Dialog fading (ms)" changed: every element takes the new time.
    void Signal_FadeTimeChanged(int ms);
    void Signal_PathChanged(const QString& key, const QString& path);

private Q_SLOTS:
    void OnSwitchStartLive();
    void OnSwitchOnlyKernelTLs(bool value);
    void OnSwitchShowConnections();
    void OnSwitchShowGrid();
    void OnSliderAnimationDuration();
    void OnComboApplicationLanguage(int index);
    void OnComboApplicationTheme(QString filename);
    void OnComboDefaultWorkspace();
    void OnSwitchAutoImageSaveEnableNameCreation();
    void OnSwitchAutoImageSaveEnableAcquisition();
    void OnEditAutoImageSaveName();
    void OnComboAutoImageSaveType();
    void OnSwitchAutoImageSaveIndex();
    void OnButtonAutoImageSaveIndexReset();
    void OnSwitchAutoImageSaveDate();
    void OnSwitchAutoImageSaveTime();
    void OnSwitchAutoImageSaveAcquisitionMaxNumber();
    void OnEditAutoImageSaveAcquisitionMaxNumber();
    void OnSwitchEnableAutoUpdate();
    void OnSwitchEnableNodePolling();
    void OnSwitchReconnectParameterRestore();
    void OnEditPath();
    void OnButtonBrowsePath();

private:
    struct PathRow
    {
        QString key;
        CustomLabel* label = nullptr;
        CustomEdit* edit = nullptr;
        IconButton* browse = nullptr;
    };

    QWidget* BuildGeneralPage();
    QWidget* BuildImageSavingPage();
    QWidget* BuildAdvancedPage();
    QWidget* BuildShortcutsPage();
    CustomSwitch* MakeSwitch();
    CustomLabel* MakeLabel();
    void FillThemeCombo();
    void FillDefaultWorkspaceCombo();
    void ApplyLanguage(const QString& name);
    void ApplyTheme(bool light);
    const PathRow* FindPathRow(const QObject* widget) const;

    CustomTabWidget* tabs = nullptr;
    // General
    CustomLabel* labelStartLive = nullptr;
    CustomSwitch* switchStartLive = nullptr;
    CustomLabel* labelOnlyKernelTLs = nullptr;
    CustomSwitch* switchOnlyKernelTLs = nullptr;
    CustomLabel* labelShowConnections = nullptr;
    CustomSwitch* switchShowConnections = nullptr;
    CustomLabel* labelShowGrid = nullptr;
    CustomSwitch* switchShowGrid = nullptr;
    CustomLabel* labelAnimationDuration = nullptr;
    CustomSliderIntNormal* sliderAnimationDuration = nullptr;
    CustomLabel* labelLanguage = nullptr;
    CustomComboBox* comboLanguage = nullptr;
    CustomLabel* labelTheme = nullptr;
    CustomComboBox* comboTheme = nullptr;
    CustomLabel* labelDefaultWorkspace = nullptr;
    CustomComboBox* comboDefaultWorkspace = nullptr;
    // Image saving
    CustomLabel* labelAutoImageSaveNameCreation = nullptr;
    CustomSwitch* switchAutoImageSaveNameCreation = nullptr;
    CustomLabel* labelAutoImageSaveAcquisition = nullptr;
    CustomSwitch* switchAutoImageSaveAcquisition = nullptr;
    CustomLabel* labelAutoImageSaveName = nullptr;
    CustomEdit* editAutoImageSaveName = nullptr;
    QLabel* labelInvalidFileName = nullptr;
    CustomLabel* labelAutoImageSaveType = nullptr;
    CustomComboBox* comboAutoImageSaveType = nullptr;
    CustomLabel* labelTypeNote = nullptr;
    CustomLabel* labelAutoImageSaveIndex = nullptr;
    CustomSwitch* switchAutoImageSaveIndex = nullptr;
    CustomPushButton* buttonAutoImageSaveIndexReset = nullptr;
    CustomLabel* labelAutoImageSaveDate = nullptr;
    CustomSwitch* switchAutoImageSaveDate = nullptr;
    CustomLabel* labelAutoImageSaveTime = nullptr;
    CustomSwitch* switchAutoImageSaveTime = nullptr;
    CustomLabel* labelAutoImageSaveMaxNumber = nullptr;
    CustomSwitch* switchAutoImageSaveMaxNumber = nullptr;
    CustomEdit* editAutoImageSaveMaxNumber = nullptr;
    // Advanced
    CustomLabel* labelEnableAutoUpdate = nullptr;
    CustomSwitch* switchEnableAutoUpdate = nullptr;
    CustomLabel* labelEnableNodePolling = nullptr;
    CustomSwitch* switchEnableNodePolling = nullptr;
    CustomLabel* labelReconnectParameterRestore = nullptr;
    CustomSwitch* switchReconnectParameterRestore = nullptr;
    std::vector<PathRow> pathRows;
    // Shortcuts: key label and description label per row.
    std::vector<std::pair<CustomLabel*, CustomLabel*>> shortcutLabels;

    // The row text of a path key: the stored folder, or the one in use when the key is empty.
    QString PathRowText(const QString& key) const;

    QString workspacePath;
    QMap<QString, QString> pathsInUse;
    QString skinPath;
    bool nodePolling = true;
    bool reconnectParameterRestore = true;
    bool controlsConnected = false;
};
