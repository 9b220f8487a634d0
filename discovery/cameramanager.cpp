#include "discovery/cameramanager.h"

#include "camera/cameracapabilities.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "common/settings.h"
#include "controlelement/customlayout.h"
#include "discovery/cameralistinfo.h"
#include "discovery/cameralistmodel.h"
#include "discovery/cameralisttreeview.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/nodemap.h"
#include "orna/core/system.h"
#include "widgets/colorquestiondialog.h"
#include "widgets/customfiledialog.h"
#include "widgets/customswitch.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

namespace {
constexpr int kButtonSize = 30;
constexpr int kIconSize = 24;
const QString kOrigin = QStringLiteral("-");

bool IsHeadless()
{
    return QGuiApplication::platformName() == QLatin1String("offscreen");
}

bool Has(const std::vector<CameraAction>& actions, CameraAction action)
{
    return std::find(actions.begin(), actions.end(), action) != actions.end();
}
} // namespace

CameraManager::SaveFileNameFunction& CameraManager::SaveFileNameProvider()
{
    static SaveFileNameFunction provider;
    return provider;
}

CameraManager::QuestionFunction& CameraManager::QuestionProvider()
{
    static QuestionFunction provider;
    return provider;
}

CameraManager::CameraManager(QWidget* parent, CameraListModel* model) : ControlElement(parent, false), m_model(model)
{
    m_switchViewMode = new CustomSwitch(this);
    m_buttonOpen = AddButton(QStringLiteral("camera.png"));
    m_buttonClose = AddButton(QStringLiteral("camera-close.png"));
    m_buttonSaveRemoteXml = AddButton(QStringLiteral("download-rxml.png"));
    m_buttonSaveXml = AddButton(QStringLiteral("download-xml.png"));
    m_buttonUpdate = AddButton(QStringLiteral("sync.png"));
    m_buttonInfo = AddButton(QStringLiteral("information-outline.png"));
    m_buttonInfo->setCheckable(true);
    m_buttonInfo->setChecked(true);

    CustomLayout* rows = Layout();
    rows->AddWidget(0, m_switchViewMode, 2 * kButtonSize, kButtonSize);
    for (IconButton* button : m_buttons)
    {
        rows->AddSpacing(0, 5);
        rows->AddWidget(0, button, kButtonSize, kButtonSize);
    }
    rows->AddStretch(0);

    m_view = new CameraListTreeView(this);
    m_info = new CameraListInfo(this);
    m_splitter = new QSplitter(Qt::Vertical, this);
    m_splitter->addWidget(m_view);
    m_splitter->addWidget(m_info);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setSizes({300, m_infoHeight});
    // The pane's height is what the user dragged it to; a hidden or not yet laid out pane keeps it.
    connect(m_splitter, &QSplitter::splitterMoved, this, [this] {
        if (!m_info->isHidden() && m_info->height() > 0)
            m_infoHeight = m_info->height();
    });
    rows->AddWidget(1, m_splitter, 0, 0);
    if (m_model != nullptr)
    {
        m_view->setModel(m_model);
        m_view->expandAll();
        connect(m_model, &QAbstractItemModel::rowsInserted, m_view, [this] { m_view->expandAll(); });
        connect(m_model, &QAbstractItemModel::modelReset, m_view, [this] { m_view->expandAll(); });
        // The model's rows change under a current index; the buttons follow what the row now allows.
        connect(m_model, &QAbstractItemModel::dataChanged, this,
                [this] { UpdateButtonStates(m_view->currentIndex()); });
        connect(m_model, &CameraListModel::CameraFound, this, &CameraManager::CameraFound);
        connect(m_model, &CameraListModel::CameraLost, this, &CameraManager::CameraLost);
        connect(m_model, &CameraListModel::CameraDisconnected, this, &CameraManager::CameraDisconnected);
        connect(m_model, &CameraListModel::CameraReconnected, this, &CameraManager::CameraReconnected);
        connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this, &CameraManager::OnCurrentChanged);
    }
    const int g = ApplicationGlobals::gridSize;
    SetDefaultSize(24 * g + 1, 30 * g + 1, 16 * g + 1, 16 * g + 1);
    SetTitle(tr("Camera manager"), true);
    SetBasicView(settings::ReadInt(QStringLiteral("camera_manager_view_mode"), 0) == 1);
    UpdateTexts();
    UpdateStyleSheet();
    UpdateButtonStates(QModelIndex());
    ConnectControls();
}

CameraManager::~CameraManager() = default;

IconButton* CameraManager::AddButton(const QString& iconFile)
{
    auto* button = new IconButton(iconFile, this);
    button->setIconSize(QSize(kIconSize, kIconSize));
    m_buttons.push_back(button);
    return button;
}

IconButton* CameraManager::ToolButton(const QString& iconFile) const
{
    for (IconButton* button : m_buttons)
        if (button->IconFile() == iconFile)
            return button;
    return nullptr;
}

void CameraManager::UpdateTexts()
{
    ControlElement::UpdateTexts();
    SetTitle(tr("Camera manager"), true);
    m_switchViewMode->setToolTip(IsBasicView() ? tr("Basic view") : tr("Expert view"));
    m_buttonOpen->setToolTip(tr("Open camera"));
    m_buttonClose->setToolTip(tr("Close camera, keep window"));
    m_buttonSaveRemoteXml->setToolTip(tr("Save remote XML"));
    m_buttonSaveXml->setToolTip(tr("Save XML"));
    m_buttonUpdate->setToolTip(tr("Update camera manager\n(Press CTRL to reload all transport layers)"));
    m_buttonInfo->setToolTip(tr("Show info"));
}

void CameraManager::UpdateStyleSheet()
{
    ControlElement::UpdateStyleSheet();
    if (m_splitter == nullptr)
        return;
    m_splitter->setStyleSheet(QStringLiteral("QSplitter::handle {background-color: ") +
                              ApplicationGlobals::colorWindow.name() + QStringLiteral("; height: 8px}"));
    m_view->UpdateStyleSheet();
    m_info->UpdateStyleSheet();
    m_switchViewMode->UpdateStyleSheet();
}

// --- Connections

void CameraManager::ConnectControls()
{
    connect(m_switchViewMode, &CustomSwitch::Signal_ValueChanged, this, &CameraManager::OnSwitchViewMode,
            Qt::UniqueConnection);
    connect(m_buttonOpen, &QAbstractButton::clicked, this, &CameraManager::OnButtonOpen, Qt::UniqueConnection);
    connect(m_buttonClose, &QAbstractButton::clicked, this, &CameraManager::OnButtonClose, Qt::UniqueConnection);
    connect(m_buttonSaveRemoteXml, &QAbstractButton::clicked, this, &CameraManager::OnButtonSaveRemoteXml,
            Qt::UniqueConnection);
    connect(m_buttonSaveXml, &QAbstractButton::clicked, this, &CameraManager::OnButtonSaveXml, Qt::UniqueConnection);
    connect(m_buttonUpdate, &QAbstractButton::clicked, this, &CameraManager::OnButtonUpdate, Qt::UniqueConnection);
    connect(m_buttonInfo, &QAbstractButton::clicked, this, &CameraManager::OnButtonInfo, Qt::UniqueConnection);
    connect(m_view, &CameraListTreeView::Signal_OpenRequested, this, &CameraManager::OpenDevice, Qt::UniqueConnection);
    connect(m_view, &QWidget::customContextMenuRequested, this, &CameraManager::OnContextMenu, Qt::UniqueConnection);
}

void CameraManager::DisconnectControls()
{
    disconnect(m_switchViewMode, nullptr, this, nullptr);
    for (IconButton* button : m_buttons)
        disconnect(button, nullptr, this, nullptr);
    disconnect(m_view, &CameraListTreeView::Signal_OpenRequested, this, nullptr);
    disconnect(m_view, &QWidget::customContextMenuRequested, this, nullptr);
}

void CameraManager::UpdateControls()
{
    const QSignalBlocker blocker(m_switchViewMode);
    // The switch shows the expert view when on.
    m_switchViewMode->SetValue(!IsBasicView());
    m_buttonInfo->setChecked(IsInfoShown());
    UpdateTexts();
    UpdateButtonStates(m_view->currentIndex());
}

// --- View mode and info pane

bool CameraManager::IsBasicView() const
{
    return m_model != nullptr && m_model->IsBasicView();
}

void CameraManager::SetBasicView(bool basic)
{
    if (m_model == nullptr)
        return;
    if (m_model->IsBasicView() != basic)
        m_model->SetBasicView(basic);
    m_view->expandAll();
    const QSignalBlocker blocker(m_switchViewMode);
    m_switchViewMode->SetValue(!basic);
    m_switchViewMode->setToolTip(basic ? tr("Basic view") : tr("Expert view"));
    UpdateButtonStates(m_view->currentIndex());
}

void CameraManager::OnSwitchViewMode(bool expert)
{
    SetBasicView(!expert);
    settings::Write(QStringLiteral("camera_manager_view_mode"), expert ? 0 : 1);
}

bool CameraManager::IsInfoShown() const
{
    return !m_info->isHidden();
}

void CameraManager::SetInfoShown(bool shown)
{
    m_info->setVisible(shown);
    m_buttonInfo->setChecked(shown);
    if (shown)
        m_splitter->setSizes({std::max(1, m_splitter->height() - m_infoHeight), m_infoHeight});
}

void CameraManager::OnButtonInfo()
{
    SetInfoShown(m_buttonInfo->isChecked());
}

QStringList CameraManager::WorkspaceKeys() const
{
    return {QStringLiteral("cameramanager_viewmode"), QStringLiteral("cameramanager_showinfo"),
            QStringLiteral("cameramanagerinfo_height")};
}

WorkspaceFields::KeyValues CameraManager::WorkspaceValues() const
{
    const int height = m_infoHeight;
    return {{QStringLiteral("cameramanager_viewmode"), QString::number(IsBasicView() ? 1 : 0)},
            {QStringLiteral("cameramanager_showinfo"), QString::number(IsInfoShown() ? 1 : 0)},
            {QStringLiteral("cameramanagerinfo_height"), QString::number(height)}};
}

void CameraManager::ApplyWorkspaceValues(const KeyValues& values)
{
    for (const auto& [key, text] : values)
    {
        bool ok = false;
        const int value = text.toInt(&ok);
        if (!ok || value < 0)
            continue;
        if (key == QLatin1String("cameramanager_viewmode"))
            SetBasicView(value == 1);
        else if (key == QLatin1String("cameramanager_showinfo"))
            SetInfoShown(value == 1);
        else if (key == QLatin1String("cameramanagerinfo_height") && value > 0)
        {
            m_infoHeight = std::min(value, 4096);
            if (IsInfoShown())
                m_splitter->setSizes({std::max(1, m_splitter->height() - m_infoHeight), m_infoHeight});
        }
    }
}

// --- Current item, buttons, context menu

void CameraManager::OnCurrentChanged(const QModelIndex& current)
{
    UpdateButtonStates(current);
    m_info->ShowItem(current);
}

std::vector<CameraAction> CameraManager::RowActions(const QModelIndex& index) const
{
    if (m_model == nullptr)
        return {};
    // A system or an interface is a module with a description of its own, always at hand: saving it is what
    // can be done with such a row.
    if (m_model->SystemOf(index) != nullptr || m_model->InterfaceOf(index) != nullptr)
        return {CameraAction::SaveXml};
    return m_model->ActionsOf(index);
}

void CameraManager::UpdateButtonStates(QModelIndex index)
{
    const std::vector<CameraAction> actions = RowActions(index);
    m_buttonOpen->setEnabled(Has(actions, CameraAction::Open));
    m_buttonClose->setEnabled(Has(actions, CameraAction::Close));
    m_buttonSaveRemoteXml->setEnabled(Has(actions, CameraAction::SaveRemoteXml));
    m_buttonSaveXml->setEnabled(Has(actions, CameraAction::SaveXml));
    // Update and info have no action of their own: a row that allows nothing leaves them disabled with the
    // rest. Without a current row (an empty list, nothing chosen yet) they stay usable, so that an empty list
    // can still be updated.
    const bool rowAllowsSomething = !index.isValid() || !actions.empty();
    m_buttonUpdate->setEnabled(rowAllowsSomething);
    m_buttonInfo->setEnabled(rowAllowsSomething);
}

QStringList CameraManager::ContextMenuTexts(const QModelIndex& index) const
{
    const std::vector<CameraAction> actions = RowActions(index);
    QStringList texts;
    // "IP config..." belongs to the IP configuration page, which this panel does not show yet.
    if (Has(actions, CameraAction::Open))
        texts << tr("open...");
    if (Has(actions, CameraAction::Close))
        texts << tr("close...");
    if (Has(actions, CameraAction::SaveRemoteXml))
        texts << tr("save remote XML...");
    if (Has(actions, CameraAction::SaveXml))
        texts << tr("save XML...");
    return texts;
}

void CameraManager::OnContextMenu(const QPoint& pos)
{
    const QModelIndex index = m_view->indexAt(pos);
    if (!index.isValid())
        return;
    const QStringList texts = ContextMenuTexts(index);
    if (texts.isEmpty())
        return;
    QMenu menu(this);
    const QPersistentModelIndex persistent(index);
    for (const QString& text : texts)
    {
        QAction* action = menu.addAction(text);
        if (text == tr("open..."))
            connect(action, &QAction::triggered, this, [this, persistent] { OpenDevice(persistent); });
        else if (text == tr("close..."))
            connect(action, &QAction::triggered, this, [this, persistent] { CloseDevice(persistent); });
        else if (text == tr("save remote XML..."))
            connect(action, &QAction::triggered, this, [this, persistent] { SaveXml(persistent, true); });
        else
            connect(action, &QAction::triggered, this, [this, persistent] { SaveXml(persistent, false); });
    }
    menu.exec(m_view->viewport()->mapToGlobal(pos));
}

// --- Open and close

void CameraManager::OnButtonOpen()
{
    OpenDevice(m_view->currentIndex());
}

void CameraManager::OnButtonClose()
{
    CloseDevice(m_view->currentIndex());
}

void CameraManager::OpenDevice(QModelIndex index)
{
    if (m_model == nullptr)
        return;
    const std::shared_ptr<orna::core::DeviceDescriptor> descriptor = m_model->DescriptorOf(index);
    if (descriptor == nullptr || !Has(m_model->ActionsOf(index), CameraAction::Open))
        return;
    if (m_model->IsLocked(index))
    {
        ShowMessage(tr("Cannot open camera"), tr("The camera is password protected. To be able to open the camera, "
                                                 "use the tool %1 to unlock the camera.")
                                                  .arg(QStringLiteral("_devicepassword")));
        return;
    }
    Q_EMIT Signal_OpenDevice(descriptor);
}

void CameraManager::CloseDevice(QModelIndex index)
{
    if (m_model == nullptr)
        return;
    const std::shared_ptr<orna::core::DeviceDescriptor> descriptor = m_model->DescriptorOf(index);
    if (descriptor != nullptr)
        Q_EMIT Signal_CloseDevice(descriptor);
}

std::shared_ptr<orna::core::DeviceDescriptor> CameraManager::FindDescriptor(const QString& serialNumber,
                                                                            const QString& modelName,
                                                                            const QString& producer,
                                                                            const QString& interfaceName) const
{
    if (m_model == nullptr)
        return nullptr;
    return m_model->FindDescriptor(producer.toStdString(), interfaceName.toStdString(), modelName.toStdString(),
                                   serialNumber.toStdString());
}

// --- Update

void CameraManager::OnButtonUpdate()
{
    if (m_model == nullptr)
        return;
    if (QGuiApplication::keyboardModifiers() & Qt::ControlModifier)
        OnButtonResetDeviceManager();
    else
        m_model->RunUpdate();
}

void CameraManager::OnButtonResetDeviceManager()
{
    if (m_model == nullptr)
        return;
    if (m_model->HasOpenDevice())
    {
        const QString title = tr("Please Note!");
        const QString text = tr("One or more open cameras were found. If you want to continue, these cameras will be "
                                "closed.");
        const QString question = tr("Proceed anyway?");
        bool proceed = false;
        if (QuestionProvider())
            proceed = QuestionProvider()(this, title, text + QLatin1Char('\n') + question);
        else
        {
            ColorQuestionDialog dialog(this, title);
            dialog.AddLine(text);
            dialog.SetQuestion(question);
            proceed = dialog.exec() == QDialog::Accepted;
        }
        if (!proceed)
            return;
    }
    m_model->ResetAndRunUpdate();
}

// --- XML descriptions

QString CameraManager::DefaultXmlFileName(const QString& moduleName, XmlModule module, const QString& fileType)
{
    QString name = moduleName;
    // A file name of its own: no folder parts, no characters other systems refuse.
    static const QRegularExpression refused(QStringLiteral("[/\\\\:*?\"<>|\\s]+"));
    name.replace(refused, QStringLiteral("_"));
    if (name.isEmpty())
        name = QStringLiteral("module");
    switch (module)
    {
    case XmlModule::System:
        return name + QStringLiteral("_System.") + fileType;
    case XmlModule::Interface:
        return name + QStringLiteral("_Interface.") + fileType;
    case XmlModule::LocalDevice:
        return name + QStringLiteral("_LocalDevice.") + fileType;
    case XmlModule::RemoteDevice:
        break;
    }
    return name + QStringLiteral("_RemoteDevice.") + fileType;
}

QString CameraManager::XmlFilters(const QString& fileType)
{
    // The module's own type first, then the two usual ones; a type is offered once.
    QStringList filters{tr("%1 file (*.%2)").arg(fileType.toUpper(), fileType)};
    for (const QString& other : {tr("ZIP file (*.zip)"), tr("XML file (*.xml)")})
        if (!filters.contains(other))
            filters << other;
    return filters.join(QStringLiteral(";;"));
}

void CameraManager::OnButtonSaveRemoteXml()
{
    SaveXml(m_view->currentIndex(), true);
}

void CameraManager::OnButtonSaveXml()
{
    SaveXml(m_view->currentIndex(), false);
}

bool CameraManager::SaveXml(QModelIndex index, bool remote)
{
    if (m_model == nullptr)
        return false;
    const QString context = QStringLiteral("bool CameraManager::SaveXml(QModelIndex, bool)");
    std::string fileName;
    std::vector<uint8_t> content;
    QString moduleName;
    XmlModule module = XmlModule::RemoteDevice;
    try
    {
        // The device of a device row stays open until the end of this block: `device` holds it.
        std::shared_ptr<orna::core::Device> device;
        std::shared_ptr<orna::core::Module> source;
        std::shared_ptr<orna::core::NodeMap> map;
        if (const auto descriptor = m_model->DescriptorOf(index))
        {
            module = remote ? XmlModule::RemoteDevice : XmlModule::LocalDevice;
            // A camera open here gives its description as it is; an openable one is opened read-only for the
            // time of the read.
            device = descriptor->GetOpenDevice();
            if (device == nullptr && descriptor->GetIsOpenable(orna::core::DeviceAccessType::ReadOnly))
                device = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
            if (device == nullptr)
                return false;
            if (remote)
                source = device->GetRemoteDevice();
            else
                source = device;
            moduleName = QString::fromStdString(descriptor->GetModelName());
        }
        else if (const auto iface = m_model->InterfaceOf(index))
        {
            module = XmlModule::Interface;
            source = iface;
            moduleName = QString::fromStdString(iface->GetDisplayName());
        }
        else if (const auto system = m_model->SystemOf(index))
        {
            module = XmlModule::System;
            source = system;
            moduleName = QString::fromStdString(system->GetDisplayName());
        }
        if (source == nullptr)
            return false;
        // The file the module's first URL names, as the module gives it: a zipped description stays zipped.
        // A module whose description lies elsewhere (no "Local:" URL) gives the text its node map was built
        // from.
        try
        {
            camera::ReadXmlThroughPort(source->GetPort(), fileName, content);
        }
        catch (const orna::core::Exception& e)
        {
            LogMessageSender::Error(kOrigin, context, QString::fromLatin1(e.what()));
            content.clear();
        }
        if (content.empty())
        {
            const std::string xml = source->GetNodeMap(0)->GetXml();
            content.assign(xml.begin(), xml.end());
            fileName = "description.xml";
        }
    }
    catch (const orna::core::Exception& e)
    {
        LogMessageSender::Error(kOrigin, context, QString::fromLatin1(e.what()));
        return false;
    }
    if (content.empty())
        return false;

    QString fileType = QFileInfo(QString::fromStdString(fileName)).suffix().toLower();
    if (fileType.isEmpty())
        fileType = QStringLiteral("xml");
    const QString folder = settings::ReadString(QStringLiteral("path_xml"), QDir::homePath());
    const QString proposal = folder + QLatin1Char('/') + DefaultXmlFileName(moduleName, module, fileType);
    const QString filters = XmlFilters(fileType);
    const QString target = SaveFileNameProvider()
                               ? SaveFileNameProvider()(this, tr("Save xml"), folder, filters, proposal)
                               : CustomFileDialog::GetSaveFileName(this, tr("Save xml"), proposal, filters);
    if (target.isEmpty())
        return false;
    settings::Write(QStringLiteral("path_xml"), QFileInfo(target).absolutePath());

    QSaveFile file(target);
    const auto size = static_cast<qint64>(content.size());
    bool written =
        file.open(QIODevice::WriteOnly) && file.write(reinterpret_cast<const char*>(content.data()), size) == size;
    written = written && file.commit();
    if (!written)
    {
        file.cancelWriting();
        ShowMessage(tr("Error"),
                    tr("Writing to ") + target + tr(" failed. Make sure you have the correct access rights.\n"));
    }
    return written;
}

void CameraManager::ShowMessage(const QString& title, const QString& text)
{
    Q_EMIT Signal_InfoShown(title, text);
    InfoDialog dialog(this, title, text, IsHeadless() ? 1 : 0);
    dialog.exec();
}
