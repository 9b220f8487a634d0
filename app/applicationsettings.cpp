#include "app/applicationsettings.h"

#include "app/desklogic.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/customlayout.h"
#include "widgets/customcombobox.h"
#include "widgets/customedit.h"
#include "widgets/customfiledialog.h"
#include "widgets/customintslider.h"
#include "widgets/customlabel.h"
#include "widgets/custompushbutton.h"
#include "widgets/customswitch.h"
#include "widgets/customtabwidget.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QRegularExpressionValidator>
#include <QTabWidget>

namespace {
constexpr int kRowHeight = 30;
constexpr int kSwitchWidth = 44;
constexpr int kSwitchHeight = 22;
constexpr int kFadeMax = 1000;
constexpr int kFadeStep = 50;
const QString kNoWorkspaceValue = QStringLiteral("None");

// The label column of every page: wide enough for the longest text in both languages.
int LabelWidth()
{
    return 17 * ApplicationGlobals::gridSize;
}
} // namespace

ApplicationSettings::ApplicationSettings(QWidget* parent) : ControlElement(parent, false)
{
    skinPath = QCoreApplication::applicationDirPath();
    tabs = new CustomTabWidget(this);
    tabs->addTab(BuildGeneralPage(), QString());
    tabs->addTab(BuildImageSavingPage(), QString());
    tabs->addTab(BuildAdvancedPage(), QString());
    tabs->addTab(BuildShortcutsPage(), QString());
    Layout()->AddWidget(0, tabs, 0, 0);

    const int g = ApplicationGlobals::gridSize;
    SetDefaultSize(30 * g + 1, 26 * g + 1, 26 * g + 1, 22 * g + 1);
    UpdateTexts();
    UpdateStyleSheetWithoutDestroy();
    UpdateControls();
    ConnectControls();
}

// --- Building

CustomSwitch* ApplicationSettings::MakeSwitch()
{
    return new CustomSwitch(this);
}

CustomLabel* ApplicationSettings::MakeLabel()
{
    auto* label = new CustomLabel(QString(), this);
    label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    return label;
}

namespace {
// A page: a widget with a row layout and a margin that matches the frame's.
QWidget* NewPage(CustomLayout** layout)
{
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("OptionsPage"));
    *layout = new CustomLayout(page);
    (*layout)->setContentsMargins(10, 10, 10, 10);
    (*layout)->setSpacing(4);
    return page;
}
} // namespace

QWidget* ApplicationSettings::BuildGeneralPage()
{
    CustomLayout* rows = nullptr;
    QWidget* page = NewPage(&rows);
    int row = 0;
    auto addSwitchRow = [&](CustomLabel*& label, CustomSwitch*& control) {
        label = MakeLabel();
        control = MakeSwitch();
        rows->AddWidget(row, label, 0, kRowHeight);
        rows->AddWidget(row, control, kSwitchWidth, kSwitchHeight);
        ++row;
    };
    addSwitchRow(labelStartLive, switchStartLive);
    addSwitchRow(labelOnlyKernelTLs, switchOnlyKernelTLs);
    addSwitchRow(labelShowConnections, switchShowConnections);
    addSwitchRow(labelShowGrid, switchShowGrid);

    labelAnimationDuration = MakeLabel();
    sliderAnimationDuration = new CustomSliderIntNormal(this);
    sliderAnimationDuration->SetRange(0, kFadeMax);
    sliderAnimationDuration->SetIncrement(kFadeStep);
    sliderAnimationDuration->SetEditBoxWidth(60);
    rows->AddWidget(row, labelAnimationDuration, LabelWidth(), kRowHeight);
    rows->AddWidget(row, sliderAnimationDuration, 11 * ApplicationGlobals::gridSize, kRowHeight);
    ++row;

    auto addComboRow = [&](CustomLabel*& label, CustomComboBox*& combo) {
        label = MakeLabel();
        combo = new CustomComboBox(this);
        rows->AddWidget(row, label, LabelWidth(), kRowHeight);
        rows->AddWidget(row, combo, 0, kRowHeight);
        ++row;
    };
    addComboRow(labelLanguage, comboLanguage);
    comboLanguage->setIconSize(QSize(24, 16));
    comboLanguage->addItem(QIcon(QStringLiteral(":/resources/languages/english.png")), QStringLiteral("English"),
                           QStringLiteral("english"));
    comboLanguage->addItem(QIcon(QStringLiteral(":/resources/languages/german.png")), QStringLiteral("Deutsch"),
                           QStringLiteral("german"));
    addComboRow(labelTheme, comboTheme);
    FillThemeCombo();
    addComboRow(labelDefaultWorkspace, comboDefaultWorkspace);
    rows->AddStretch(row);
    rows->setStretch(row, 1);
    return page;
}

QWidget* ApplicationSettings::BuildImageSavingPage()
{
    CustomLayout* rows = nullptr;
    QWidget* page = NewPage(&rows);
    int row = 0;
    auto addSwitchRow = [&](CustomLabel*& label, CustomSwitch*& control) {
        label = MakeLabel();
        control = MakeSwitch();
        rows->AddWidget(row, label, 0, kRowHeight);
        rows->AddWidget(row, control, kSwitchWidth, kSwitchHeight);
        ++row;
    };
    addSwitchRow(labelAutoImageSaveNameCreation, switchAutoImageSaveNameCreation);
    addSwitchRow(labelAutoImageSaveAcquisition, switchAutoImageSaveAcquisition);

    labelAutoImageSaveName = MakeLabel();
    editAutoImageSaveName = new CustomEdit(this);
    labelInvalidFileName = new QLabel(this);
    labelInvalidFileName->setObjectName(QStringLiteral("InvalidFileName"));
    // The row keeps its shape whether or not the warning shows.
    QSizePolicy keepPlace = labelInvalidFileName->sizePolicy();
    keepPlace.setRetainSizeWhenHidden(true);
    labelInvalidFileName->setSizePolicy(keepPlace);
    labelInvalidFileName->hide();
    // Name and type share one column; the warning stands to the right of the name.
    rows->AddWidget(row, labelAutoImageSaveName, LabelWidth() / 2, kRowHeight);
    rows->AddWidget(row, editAutoImageSaveName, 10 * ApplicationGlobals::gridSize, kRowHeight);
    rows->AddSpacing(row, 10);
    rows->AddWidget(row, labelInvalidFileName, 6 * ApplicationGlobals::gridSize, kRowHeight);
    rows->AddStretch(row);
    ++row;

    labelAutoImageSaveType = MakeLabel();
    comboAutoImageSaveType = new CustomComboBox(this);
    for (const char* type : {"bmp", "png", "jpg"})
        comboAutoImageSaveType->addItem(QString::fromLatin1(type), QString::fromLatin1(type));
    rows->AddWidget(row, labelAutoImageSaveType, LabelWidth() / 2, kRowHeight);
    rows->AddWidget(row, comboAutoImageSaveType, 10 * ApplicationGlobals::gridSize, kRowHeight);
    rows->AddStretch(row);
    ++row;
    labelTypeNote = MakeLabel();
    labelTypeNote->setWordWrap(true);
    rows->AddWidget(row, labelTypeNote, 0, 2 * kRowHeight);
    ++row;

    labelAutoImageSaveIndex = MakeLabel();
    switchAutoImageSaveIndex = MakeSwitch();
    buttonAutoImageSaveIndexReset = new CustomPushButton(QString(), this);
    rows->AddWidget(row, labelAutoImageSaveIndex, 0, kRowHeight);
    rows->AddWidget(row, buttonAutoImageSaveIndexReset, 110, 26);
    rows->AddSpacing(row, 10);
    rows->AddWidget(row, switchAutoImageSaveIndex, kSwitchWidth, kSwitchHeight);
    ++row;
    addSwitchRow(labelAutoImageSaveDate, switchAutoImageSaveDate);
    addSwitchRow(labelAutoImageSaveTime, switchAutoImageSaveTime);

    labelAutoImageSaveMaxNumber = MakeLabel();
    editAutoImageSaveMaxNumber = new CustomEdit(this);
    editAutoImageSaveMaxNumber->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[1-9][0-9]*")), editAutoImageSaveMaxNumber));
    switchAutoImageSaveMaxNumber = MakeSwitch();
    rows->AddWidget(row, labelAutoImageSaveMaxNumber, 0, kRowHeight);
    rows->AddWidget(row, editAutoImageSaveMaxNumber, 70, kRowHeight);
    rows->AddSpacing(row, 10);
    rows->AddWidget(row, switchAutoImageSaveMaxNumber, kSwitchWidth, kSwitchHeight);
    ++row;
    rows->AddStretch(row);
    rows->setStretch(row, 1);
    return page;
}

QWidget* ApplicationSettings::BuildAdvancedPage()
{
    CustomLayout* rows = nullptr;
    QWidget* page = NewPage(&rows);
    int row = 0;
    auto addSwitchRow = [&](CustomLabel*& label, CustomSwitch*& control) {
        label = MakeLabel();
        control = MakeSwitch();
        rows->AddWidget(row, label, 0, kRowHeight);
        rows->AddWidget(row, control, kSwitchWidth, kSwitchHeight);
        ++row;
    };
    addSwitchRow(labelEnableAutoUpdate, switchEnableAutoUpdate);
    addSwitchRow(labelEnableNodePolling, switchEnableNodePolling);
    addSwitchRow(labelReconnectParameterRestore, switchReconnectParameterRestore);
    for (const char* key : {"path_workspace", "path_auto_image_save", "path_video_recording", "path_inference"})
    {
        PathRow path;
        path.key = QString::fromLatin1(key);
        path.label = MakeLabel();
        path.edit = new CustomEdit(this);
        path.edit->setObjectName(path.key);
        path.browse = new IconButton(QStringLiteral("magnify.png"), this);
        path.browse->setObjectName(path.key);
        path.browse->setIconSize(QSize(24, 24));
        rows->AddWidget(row, path.label, 0, kRowHeight);
        ++row;
        rows->AddWidget(row, path.edit, 0, kRowHeight);
        rows->AddSpacing(row, 5);
        rows->AddWidget(row, path.browse, kRowHeight, kRowHeight);
        ++row;
        pathRows.push_back(path);
    }
    rows->AddStretch(row);
    rows->setStretch(row, 1);
    return page;
}

QWidget* ApplicationSettings::BuildShortcutsPage()
{
    CustomLayout* rows = nullptr;
    QWidget* page = NewPage(&rows);
    int row = 0;
    const int count = static_cast<int>(desk::Shortcuts().size()) + 1;
    for (int i = 0; i < count; ++i)
    {
        CustomLabel* key = MakeLabel();
        CustomLabel* description = MakeLabel();
        description->setWordWrap(true);
        rows->AddWidget(row, key, 6 * ApplicationGlobals::gridSize, 24);
        rows->AddWidget(row, description, 0, 24);
        shortcutLabels.emplace_back(key, description);
        ++row;
    }
    rows->AddStretch(row);
    rows->setStretch(row, 1);
    return page;
}

void ApplicationSettings::FillThemeCombo()
{
    // Only the skins that load: an "*.ias" file of older versions would be offered only to answer "Function
    // deprecated" when chosen.
    comboTheme->clear();
    comboTheme->addItem(tr("Dark"), QStringLiteral("Dark"));
    comboTheme->addItem(tr("Light"), QStringLiteral("Light"));
}

QStringList ApplicationSettings::SkinFileNames(const QString& folder)
{
    QStringList names;
    if (folder.isEmpty())
        return names;
    const QFileInfoList files = QDir(folder).entryInfoList({QStringLiteral("*.ias")}, QDir::Files, QDir::Name);
    for (const QFileInfo& file : files)
        names << file.completeBaseName();
    return names;
}

void ApplicationSettings::FillDefaultWorkspaceCombo()
{
    comboDefaultWorkspace->clear();
    comboDefaultWorkspace->addItem(tr("No workspace"), kNoWorkspaceValue);
    if (workspacePath.isEmpty())
        return;
    const QFileInfoList files = QDir(workspacePath).entryInfoList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name);
    for (const QFileInfo& file : files)
        comboDefaultWorkspace->addItem(file.completeBaseName(), file.completeBaseName());
}

void ApplicationSettings::SetWorkspacePath(const QString& path)
{
    workspacePath = path;
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    FillDefaultWorkspaceCombo();
    const QString chosen = settings::ReadString(QStringLiteral("default_workspace"));
    const int index = comboDefaultWorkspace->findData(chosen.isEmpty() ? kNoWorkspaceValue : chosen);
    comboDefaultWorkspace->setCurrentIndex(index < 0 ? 0 : index);
    if (wasConnected)
        ConnectControls();
}

void ApplicationSettings::SetSkinPath(const QString& path)
{
    skinPath = path;
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    FillThemeCombo();
    comboTheme->setCurrentIndex(ApplicationGlobals::isLight ? 1 : 0);
    if (wasConnected)
        ConnectControls();
}

// --- Connections

void ApplicationSettings::ConnectControls()
{
    if (controlsConnected)
        return;
    controlsConnected = true;
    connect(switchStartLive, &CustomSwitch::Signal_ValueChanged, this, &ApplicationSettings::OnSwitchStartLive);
    connect(switchOnlyKernelTLs, &CustomSwitch::Signal_ValueChanged, this, &ApplicationSettings::OnSwitchOnlyKernelTLs);
    connect(switchShowConnections, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchShowConnections);
    connect(switchShowGrid, &CustomSwitch::Signal_ValueChanged, this, &ApplicationSettings::OnSwitchShowGrid);
    connect(sliderAnimationDuration, &CustomIntSlider::Signal_ValueChanged, this,
            &ApplicationSettings::OnSliderAnimationDuration);
    connect(comboLanguage, QOverload<int>::of(&QComboBox::activated), this,
            &ApplicationSettings::OnComboApplicationLanguage);
    connect(comboTheme, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { OnComboApplicationTheme(comboTheme->itemData(index).toString()); });
    connect(comboDefaultWorkspace, QOverload<int>::of(&QComboBox::activated), this,
            &ApplicationSettings::OnComboDefaultWorkspace);
    connect(switchAutoImageSaveNameCreation, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveEnableNameCreation);
    connect(switchAutoImageSaveAcquisition, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveEnableAcquisition);
    connect(editAutoImageSaveName, &QLineEdit::textChanged, this, &ApplicationSettings::OnEditAutoImageSaveName);
    connect(comboAutoImageSaveType, QOverload<int>::of(&QComboBox::activated), this,
            &ApplicationSettings::OnComboAutoImageSaveType);
    connect(switchAutoImageSaveIndex, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveIndex);
    connect(buttonAutoImageSaveIndexReset, &QPushButton::clicked, this,
            &ApplicationSettings::OnButtonAutoImageSaveIndexReset);
    connect(switchAutoImageSaveDate, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveDate);
    connect(switchAutoImageSaveTime, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveTime);
    connect(switchAutoImageSaveMaxNumber, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchAutoImageSaveAcquisitionMaxNumber);
    connect(editAutoImageSaveMaxNumber, &QLineEdit::textChanged, this,
            &ApplicationSettings::OnEditAutoImageSaveAcquisitionMaxNumber);
    connect(switchEnableAutoUpdate, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchEnableAutoUpdate);
    connect(switchEnableNodePolling, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchEnableNodePolling);
    connect(switchReconnectParameterRestore, &CustomSwitch::Signal_ValueChanged, this,
            &ApplicationSettings::OnSwitchReconnectParameterRestore);
    for (const PathRow& path : pathRows)
    {
        connect(path.edit, &QLineEdit::editingFinished, this, &ApplicationSettings::OnEditPath);
        connect(path.browse, &QAbstractButton::clicked, this, &ApplicationSettings::OnButtonBrowsePath);
    }
}

void ApplicationSettings::DisconnectControls()
{
    controlsConnected = false;
    for (QObject* control : std::initializer_list<QObject*>{switchStartLive,
                                                            switchOnlyKernelTLs,
                                                            switchShowConnections,
                                                            switchShowGrid,
                                                            sliderAnimationDuration,
                                                            comboLanguage,
                                                            comboTheme,
                                                            comboDefaultWorkspace,
                                                            switchAutoImageSaveNameCreation,
                                                            switchAutoImageSaveAcquisition,
                                                            editAutoImageSaveName,
                                                            comboAutoImageSaveType,
                                                            switchAutoImageSaveIndex,
                                                            buttonAutoImageSaveIndexReset,
                                                            switchAutoImageSaveDate,
                                                            switchAutoImageSaveTime,
                                                            switchAutoImageSaveMaxNumber,
                                                            editAutoImageSaveMaxNumber,
                                                            switchEnableAutoUpdate,
                                                            switchEnableNodePolling,
                                                            switchReconnectParameterRestore})
        disconnect(control, nullptr, this, nullptr);
    for (const PathRow& path : pathRows)
    {
        disconnect(path.edit, nullptr, this, nullptr);
        disconnect(path.browse, nullptr, this, nullptr);
    }
}

// --- Refresh

void ApplicationSettings::UpdateControls()
{
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();

    using settings::ReadBool;
    using settings::ReadInt;
    using settings::ReadString;
    switchStartLive->SetValue(ReadBool(QStringLiteral("open_camera_with_acquisition"), 1));
    switchOnlyKernelTLs->SetValue(ReadBool(QStringLiteral("only_kvx_kernel_tls"), 0));
    switchShowConnections->SetValue(ReadBool(QStringLiteral("show_connections"), 1));
    switchShowGrid->SetValue(ReadBool(QStringLiteral("show_grid"), 0));
    sliderAnimationDuration->SetValue(ApplicationGlobals::fadeInOutTime);

    const int language = comboLanguage->findData(ApplicationGlobals::language);
    comboLanguage->setCurrentIndex(language < 0 ? 0 : language);
    comboTheme->setCurrentIndex(ApplicationGlobals::isLight ? 1 : 0);
    FillDefaultWorkspaceCombo();
    const QString chosen = ReadString(QStringLiteral("default_workspace"));
    const int workspace = comboDefaultWorkspace->findData(chosen.isEmpty() ? kNoWorkspaceValue : chosen);
    comboDefaultWorkspace->setCurrentIndex(workspace < 0 ? 0 : workspace);

    switchAutoImageSaveNameCreation->SetValue(ReadBool(QStringLiteral("auto_image_save_name_creation"), "0"));
    switchAutoImageSaveAcquisition->SetValue(ReadBool(QStringLiteral("auto_image_save_acquisition"), "0"));
    editAutoImageSaveName->setText(
        ReadString(QStringLiteral("auto_image_save_image_name"), QStringLiteral("kvx_image")));
    labelInvalidFileName->setVisible(!desk::IsValidImageFileName(editAutoImageSaveName->text()));
    const int type = comboAutoImageSaveType->findData(
        ReadString(QStringLiteral("auto_image_save_image_type"), QStringLiteral("bmp")));
    comboAutoImageSaveType->setCurrentIndex(type < 0 ? 0 : type);
    switchAutoImageSaveIndex->SetValue(ReadBool(QStringLiteral("auto_image_save_index"), "0"));
    switchAutoImageSaveDate->SetValue(ReadBool(QStringLiteral("auto_image_save_date"), "0"));
    switchAutoImageSaveTime->SetValue(ReadBool(QStringLiteral("auto_image_save_time"), "0"));
    switchAutoImageSaveMaxNumber->SetValue(
        ReadBool(QStringLiteral("auto_image_save_acquisition_max_number_enable"), "1"));
    editAutoImageSaveMaxNumber->setText(
        QString::number(ReadInt(QStringLiteral("auto_image_save_acquisition_max_number"), "10")));

    switchEnableAutoUpdate->SetValue(ReadBool(QStringLiteral("camera_list_auto_update_enable"), 1));
    switchEnableNodePolling->SetValue(nodePolling);
    switchReconnectParameterRestore->SetValue(reconnectParameterRestore);
    for (const PathRow& path : pathRows)
        path.edit->setText(PathRowText(path.key));

    if (wasConnected)
        ConnectControls();
}

void ApplicationSettings::UpdateTexts()
{
    SetTitle(tr("Application options"), true);
    tabs->setTabText(0, tr("General"));
    tabs->setTabText(1, tr("Image saving"));
    tabs->setTabText(2, tr("Advanced"));
    tabs->setTabText(3, tr("Shortcuts"));

    labelStartLive->setText(tr("Start image acquisition when opening a camera"));
    labelOnlyKernelTLs->setText(tr("Use preferred GigE transport layer only (kernel driver)"));
    labelShowConnections->setText(tr("Show connection lines between dialogs"));
    labelShowGrid->setText(tr("Show grid"));
    labelAnimationDuration->setText(tr("Dialog fading (ms)"));
    labelLanguage->setText(tr("Language"));
    labelTheme->setText(tr("Theme"));
    labelDefaultWorkspace->setText(tr("Default workspace"));
    comboTheme->setItemText(0, tr("Dark"));
    comboTheme->setItemText(1, tr("Light"));
    comboDefaultWorkspace->setItemText(0, tr("No workspace"));

    labelAutoImageSaveNameCreation->setText(tr("Automatic image file names"));
    labelAutoImageSaveAcquisition->setText(tr("Automatic image saving"));
    labelAutoImageSaveName->setText(tr("File name"));
    labelInvalidFileName->setText(tr("Invalid filename"));
    labelAutoImageSaveType->setText(tr("Type"));
    labelTypeNote->setText(tr("Saving an image as BMP or JPG with more than 8 bits per channel is not supported."));
    labelAutoImageSaveIndex->setText(tr("Add image counter"));
    buttonAutoImageSaveIndexReset->SetText(tr("Reset counter"));
    labelAutoImageSaveDate->setText(tr("Add date"));
    labelAutoImageSaveTime->setText(tr("Add timestamp"));
    labelAutoImageSaveMaxNumber->setText(tr("Stop automatic saving after X images"));

    labelEnableAutoUpdate->setText(tr("Camera list auto update"));
    labelEnableNodePolling->setText(tr("Camera parameter polling"));
    labelReconnectParameterRestore->setText(tr("Restore camera parameters on reconnect"));
    for (const PathRow& path : pathRows)
    {
        if (path.key == QLatin1String("path_workspace"))
        {
            path.label->setText(tr("Workspace path"));
            path.browse->setToolTip(tr("Select workspace path"));
        }
        else if (path.key == QLatin1String("path_auto_image_save"))
        {
            path.label->setText(tr("Path"));
            path.browse->setToolTip(tr("Select path"));
        }
        else if (path.key == QLatin1String("path_video_recording"))
        {
            path.label->setText(tr("Video recording path"));
            path.browse->setToolTip(tr("Select video recording path"));
        }
        else
        {
            path.label->setText(tr("Inference model path"));
            path.browse->setToolTip(tr("Select inference model path"));
        }
    }

    const auto& list = desk::Shortcuts();
    for (size_t i = 0; i < shortcutLabels.size(); ++i)
    {
        if (i < list.size())
        {
            shortcutLabels[i].first->setText(desk::ShortcutKey(list[i]));
            shortcutLabels[i].second->setText(desk::ShortcutDescription(list[i]));
        }
        else
        {
            shortcutLabels[i].first->setText(tr("CTRL+ALT+C"));
            shortcutLabels[i].second->setText(tr("Reset counters in camera window and performance monitor"));
        }
    }
}

void ApplicationSettings::UpdateStyleSheetWithoutDestroy()
{
    ControlElement::UpdateStyleSheetWithoutDestroy();
    using G = ApplicationGlobals;
    for (const PathRow& path : pathRows)
        path.browse->UpdateStyleSheet();
    labelInvalidFileName->setStyleSheet(
        QStringLiteral("QLabel#InvalidFileName { color: %1; background: transparent; }").arg(G::colorRedLog.name()));
    labelInvalidFileName->setFont(G::fontNormal);
    tabs->UpdateStyleSheet();
    const QString pageStyle =
        QStringLiteral("QWidget#OptionsPage { background-color: %1; }").arg(G::colorBackground.name());
    for (int i = 0; i < tabs->count(); ++i)
        tabs->widget(i)->setStyleSheet(pageStyle);
    labelTypeNote->setFont(G::fontSmall);
}

// --- General page

void ApplicationSettings::OnSwitchStartLive()
{
    const bool on = switchStartLive->Value();
    settings::WriteBool(QStringLiteral("open_camera_with_acquisition"), on);
    Q_EMIT Signal_OpenCameraWithAcquisitionChanged(on);
}

void ApplicationSettings::OnSwitchOnlyKernelTLs(bool value)
{
    settings::WriteBool(QStringLiteral("only_kvx_kernel_tls"), value);
    Q_EMIT Signal_ResetDeviceList();
}

void ApplicationSettings::OnSwitchShowConnections()
{
    const bool on = switchShowConnections->Value();
    settings::WriteBool(QStringLiteral("show_connections"), on);
    Q_EMIT Signal_ShowConnectionsChanged(on);
}

void ApplicationSettings::OnSwitchShowGrid()
{
    const bool on = switchShowGrid->Value();
    settings::WriteBool(QStringLiteral("show_grid"), on);
    Q_EMIT Signal_ShowGridChanged(on);
}

void ApplicationSettings::ToggleGridVisible()
{
    // Through the switch, so the key, the control and the window agree.
    switchShowGrid->SetValue(!switchShowGrid->Value());
    OnSwitchShowGrid();
}

void ApplicationSettings::OnSliderAnimationDuration()
{
    // The slider keeps its value on the step grid, so what is stored is what the edit box shows.
    const int value = static_cast<int>(sliderAnimationDuration->Value());
    ApplicationGlobals::fadeInOutTime = value;
    settings::Write(QStringLiteral("fade_in_out_time"), value);
    Q_EMIT Signal_FadeTimeChanged(value);
}

void ApplicationSettings::OnComboApplicationLanguage(int index)
{
    const QString name = comboLanguage->itemData(index).toString();
    ApplicationGlobals::languagePrevious = name;
    ApplyLanguage(name);
}

void ApplicationSettings::ApplyLanguage(const QString& name)
{
    ApplicationGlobals::language = name;
    settings::Write(QStringLiteral("language"), name);
    Q_EMIT Signal_LanguageChanged(name);
    // The window re-translated every element, this one included; the combo shows the language in use.
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    const int index = comboLanguage->findData(name);
    comboLanguage->setCurrentIndex(index < 0 ? 0 : index);
    if (wasConnected)
        ConnectControls();
}

void ApplicationSettings::ToggleApplicationLanguage()
{
    const QString current = ApplicationGlobals::language;
    const QString last = ApplicationGlobals::languagePrevious;
    const bool currentIsDefault = current.isEmpty() || current == QLatin1String("english");
    if (!currentIsDefault)
        ApplyLanguage(QString());
    else if (!last.isEmpty() && last != current)
        ApplyLanguage(last);
}

void ApplicationSettings::OnComboApplicationTheme(QString filename)
{
    if (filename == QLatin1String("Dark") || filename == QLatin1String("Light"))
    {
        const bool light = filename == QLatin1String("Light");
        if (light != ApplicationGlobals::isLight)
            ApplyTheme(light);
        return;
    }
    // Skin files of older versions are listed but no longer loaded.
    const bool headless = QGuiApplication::platformName() == QLatin1String("offscreen");
    InfoDialog dialog(window(), tr("Function deprecated"), tr("Loading an .ias file is deprecated."), headless ? 1 : 0);
    dialog.exec();
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    comboTheme->setCurrentIndex(ApplicationGlobals::isLight ? 1 : 0);
    if (wasConnected)
        ConnectControls();
}

void ApplicationSettings::ToggleApplicationTheme()
{
    ApplyTheme(!ApplicationGlobals::isLight);
}

void ApplicationSettings::ApplyTheme(bool light)
{
    const auto skin = light ? ApplicationGlobals::Skin::Light : ApplicationGlobals::Skin::Dark;
    settings::Write(QStringLiteral("color_skin"), ApplicationGlobals::SkinName(skin));
    ApplicationGlobals::ApplySkin(skin);
    // The window restyles itself and every element, this one included (which re-reads the combo box).
    Q_EMIT Signal_ThemeChanged();
}

void ApplicationSettings::OnComboDefaultWorkspace()
{
    settings::Write(QStringLiteral("default_workspace"), comboDefaultWorkspace->currentData().toString());
}

// --- Image saving page

void ApplicationSettings::OnSwitchAutoImageSaveEnableNameCreation()
{
    settings::WriteBool(QStringLiteral("auto_image_save_name_creation"), switchAutoImageSaveNameCreation->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnSwitchAutoImageSaveEnableAcquisition()
{
    settings::WriteBool(QStringLiteral("auto_image_save_acquisition"), switchAutoImageSaveAcquisition->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnEditAutoImageSaveName()
{
    const QString name = editAutoImageSaveName->text();
    const bool valid = desk::IsValidImageFileName(name);
    labelInvalidFileName->setVisible(!valid);
    if (!valid)
        return;
    settings::Write(QStringLiteral("auto_image_save_image_name"), name);
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnComboAutoImageSaveType()
{
    settings::Write(QStringLiteral("auto_image_save_image_type"), comboAutoImageSaveType->currentData().toString());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnSwitchAutoImageSaveIndex()
{
    settings::WriteBool(QStringLiteral("auto_image_save_index"), switchAutoImageSaveIndex->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnButtonAutoImageSaveIndexReset()
{
    Q_EMIT Signal_ResetImageCounter();
}

void ApplicationSettings::OnSwitchAutoImageSaveDate()
{
    settings::WriteBool(QStringLiteral("auto_image_save_date"), switchAutoImageSaveDate->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnSwitchAutoImageSaveTime()
{
    settings::WriteBool(QStringLiteral("auto_image_save_time"), switchAutoImageSaveTime->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnSwitchAutoImageSaveAcquisitionMaxNumber()
{
    settings::WriteBool(QStringLiteral("auto_image_save_acquisition_max_number_enable"),
                        switchAutoImageSaveMaxNumber->Value());
    Q_EMIT Signal_AutoImageSaveChanged();
}

void ApplicationSettings::OnEditAutoImageSaveAcquisitionMaxNumber()
{
    // The validator lets intermediate text (an empty edit) through; only a whole number is stored.
    const QString text = editAutoImageSaveMaxNumber->text();
    if (!desk::IsValidMaxNumber(text))
        return;
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok)
        return;
    settings::Write(QStringLiteral("auto_image_save_acquisition_max_number"), value);
    Q_EMIT Signal_AutoImageSaveChanged();
}

// --- Advanced page

void ApplicationSettings::OnSwitchEnableAutoUpdate()
{
    const bool on = switchEnableAutoUpdate->Value();
    settings::WriteBool(QStringLiteral("camera_list_auto_update_enable"), on);
    Q_EMIT Signal_CameraListAutoUpdateChanged(on);
}

void ApplicationSettings::OnSwitchEnableNodePolling()
{
    nodePolling = switchEnableNodePolling->Value();
    Q_EMIT Signal_NodePollingChanged(nodePolling);
}

void ApplicationSettings::OnSwitchReconnectParameterRestore()
{
    reconnectParameterRestore = switchReconnectParameterRestore->Value();
    Q_EMIT Signal_ReconnectParameterRestoreChanged(reconnectParameterRestore);
}

void ApplicationSettings::SetPathInUse(const QString& key, const QString& path)
{
    pathsInUse[key] = path;
    CustomEdit* edit = PathEdit(key);
    if (edit == nullptr)
        return;
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    edit->setText(PathRowText(key));
    if (wasConnected)
        ConnectControls();
}

QString ApplicationSettings::PathRowText(const QString& key) const
{
    const QString stored = settings::ReadString(key);
    return stored.isEmpty() ? pathsInUse.value(key) : stored;
}

void ApplicationSettings::RevertOnlyKernelTls(bool value)
{
    settings::WriteBool(QStringLiteral("only_kvx_kernel_tls"), value);
    const bool wasConnected = controlsConnected;
    if (wasConnected)
        DisconnectControls();
    switchOnlyKernelTLs->SetValue(value);
    if (wasConnected)
        ConnectControls();
}

const ApplicationSettings::PathRow* ApplicationSettings::FindPathRow(const QObject* widget) const
{
    for (const PathRow& path : pathRows)
        if (path.edit == widget || path.browse == widget)
            return &path;
    return nullptr;
}

CustomEdit* ApplicationSettings::PathEdit(const QString& key) const
{
    for (const PathRow& path : pathRows)
        if (path.key == key)
            return path.edit;
    return nullptr;
}

void ApplicationSettings::OnEditPath()
{
    const PathRow* path = FindPathRow(sender());
    if (!path)
        return;
    // An empty path means the key's fallback; a missing folder is taken as it is and shows up at first use.
    const QString value = path->edit->text().trimmed();
    // The folder in use shown unchanged is no choice of the user's: the key stays empty (the default).
    if (value == settings::ReadString(path->key) ||
        (settings::ReadString(path->key).isEmpty() && value == pathsInUse.value(path->key)))
        return;
    settings::Write(path->key, value);
    Q_EMIT Signal_PathChanged(path->key, value);
}

void ApplicationSettings::OnButtonBrowsePath()
{
    const PathRow* path = FindPathRow(sender());
    if (!path)
        return;
    CustomFileDialog dialog(window(), path->browse->toolTip(), path->edit->text(), QString());
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    path->edit->setText(dialog.selectedFiles().constFirst());
    settings::Write(path->key, path->edit->text());
    Q_EMIT Signal_PathChanged(path->key, path->edit->text());
}

QList<QPair<QString, QString>> ApplicationSettings::ShortcutRows() const
{
    QList<QPair<QString, QString>> rows;
    for (const auto& labels : shortcutLabels)
        rows.append({labels.first->text(), labels.second->text()});
    return rows;
}
