// Workspaces of the main window: the desk as a file (SaveWorkspace), and a file as the desk (LoadWorkspace).
//
// Loading, on the GUI thread, which it blocks (every step repaints the bar itself):
//   1. progress bar (300 x 5) and label, centred; bar 10
//   2. ClearDesk(false): every element deleted at once, so that its camera is closed before the file opens it
//   3. open the file; a file that cannot be read ends the load at step 11 with an empty desk
//   4. bar 20; read the document (app/workspacefile.*); bar 30
//      creating pass: each element is made (CreateWorkspaceElement) and the index map records it; bar 40
//   5./6./7. applying pass of the header: logger, options and camera manager placed and shown or hidden; bar 50
//   8. applying pass of the elements (ApplyWorkspaceElement): parents linked, the parameter polling switch
//      applied, acquisition started, the link speed checked (its warning is the load's first dialog), own fields
//      handed over, docking, tabbing, maximizing; bar 60
//   9. the name becomes current; bar 80
//  10. every element but the node trees (shown by their applying step) updated, told that the load is over,
//      shown; all raised in the file's order, which is the stacking order; bar 100; the list is rebuilt
//  11. bar and label deleted, version cleared, the empty desk's hint updated
//
// Two passes, because a panel's index may be lower than its camera window's: the first makes every object,
// the second links them. The file is parsed once; both passes run over its records.
#include "app/mainwindow.h"

#include "app/applicationsettings.h"
#include "app/loggerwindow.h"
#include "app/workspacefile.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "controlelement/controlelement.h"
#include "controlelement/dockingwidget.h"
#include "controlelement/workspacefields.h"
#include "discovery/cameralistmodel.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/system.h"
#include "view/cameraobject.h"
#include "view/customdisplay.h"
#include "widgets/customcombobox.h"
#include "widgets/customprogressbar.h"
#include "widgets/iconbutton.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QPointer>
#include <QSaveFile>
#include <QScreen>

#include <algorithm>
#include <set>

namespace {
const QString kNoWorkspace = QStringLiteral("None");
const QString kOrigin = QStringLiteral("-");
constexpr int kMaxElementType = 30;
// Coordinates beyond this are nonsense from a damaged file; they are pulled in before any arithmetic.
constexpr int kMaxCoordinate = 1 << 20;
// A GigE discovery pass takes about a second; this bounds how long the start waits for the list.
constexpr int kStartDiscoveryTimeoutMs = 15000;

// Producer (system key) and interface key of a camera's descriptor; "-1" where the library cannot tell.
void TransportKeys(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor, QString* producer,
                   QString* interfaceName)
{
    *producer = QStringLiteral("-1");
    *interfaceName = QStringLiteral("-1");
    if (descriptor == nullptr)
        return;
    try
    {
        const std::shared_ptr<orna::core::Interface> iface = descriptor->GetParentInterface();
        if (iface == nullptr)
            return;
        *interfaceName = QString::fromStdString(iface->GetKey());
        if (const std::shared_ptr<orna::core::System> system = iface->GetParentSystem())
            *producer = QString::fromStdString(system->GetKey());
    }
    catch (const orna::core::Exception& e)
    {
        LogMessageSender::Error(kOrigin, QStringLiteral("void MainWindow::SaveWorkspace(QString, bool)"),
                                QString::fromLatin1(e.what()));
    }
}

workspace::FixedFields FixedOf(const ControlElement* element)
{
    workspace::FixedFields f;
    if (element == nullptr)
        return f;
    f.x = element->x();
    f.y = element->y();
    f.width = element->width();
    f.height = element->height();
    f.visible = element->isVisible() ? 1 : 0;
    f.docked = element->IsDocked() ? 1 : 0;
    return f;
}
} // namespace

std::function<void(int)>& MainWindow::WorkspaceProgressObserver()
{
    static std::function<void(int)> observer;
    return observer;
}

QString MainWindow::WorkspaceFileName(const QString& name) const
{
    return m_workspacePath + QLatin1Char('/') + name + QStringLiteral(".xml");
}

// --- Saving

workspace::Document MainWindow::DeskDocument() const
{
    workspace::Document document;
    document.validRoot = true;
    workspace::Header& h = document.header;
    h.showGrid = m_showGrid ? 1 : 0;
    h.showConnections = m_showConnections ? 1 : 0;
    h.openCameraWithAcquisition = m_openCameraWithAcquisition ? 1 : 0;
    h.openCameraWithOptimalSettings = m_openCameraWithOptimalSettings ? 1 : 0;
    h.logger = FixedOf(loggerWindow);
    h.settings = FixedOf(applicationSettings);
    h.cameraManager = FixedOf(cameraManager);
    if (const auto* fields = dynamic_cast<const WorkspaceFields*>(cameraManager))
        h.cameraManagerValues = fields->WorkspaceValues();

    std::map<const ControlElement*, int> indexOf;
    for (size_t i = 0; i < elements.size(); ++i)
        indexOf[elements[i]] = static_cast<int>(i);

    for (size_t i = 0; i < elements.size(); ++i)
    {
        const ControlElement* element = elements[i];
        workspace::Element e;
        e.index = static_cast<int>(i);
        e.type = element->Type();
        e.x = element->x();
        e.y = element->y();
        e.width = element->width();
        e.height = element->height();
        e.maximized = element->IsMaximized() ? 1 : 0;
        const QRect last = element->RestoreRect();
        e.xLast = last.x();
        e.yLast = last.y();
        e.widthLast = last.width();
        e.heightLast = last.height();
        e.docked = element->IsDocked() ? 1 : 0;
        e.tabbedLeft = element->IsTabbedLeft() ? 1 : 0;
        e.tabbedRight = element->IsTabbedRight() ? 1 : 0;
        const auto parent = indexOf.find(element->ParentElement());
        e.parent = parent == indexOf.end() ? -1 : parent->second;
        if (const auto* cameraObject = qobject_cast<const CameraObject*>(element))
        {
            const VisionCamera* camera = cameraObject->Camera();
            if (camera != nullptr && camera->IsOpen())
            {
                workspace::CameraFields& c = e.camera;
                c.opened = 1;
                c.serialNumber = camera->GetSerialNumber();
                c.modelName = camera->GetModelName();
                TransportKeys(camera->GetDescriptor(), &c.producer, &c.interfaceName);
                c.acquisition = camera->IsAcquiring() ? 1 : 0;
                c.displayScaleMode = cameraObject->Display()->GetScaleMode();
                c.displayScaleFactor = cameraObject->Display()->GetScaleFactor();
                const CameraObject::OverlaySettings& o = cameraObject->Overlay();
                c.paintPenColor = {o.paintPenColor.red(), o.paintPenColor.green(), o.paintPenColor.blue()};
                c.paintPenColorBrightness = o.paintPenColorBrightness;
                c.paintPenWidth = o.paintPenWidth;
                c.paintPenStyle = o.paintPenStyle;
                c.paintSourceValue = o.paintSourceValue;
                c.paintDestValue = o.paintDestValue;
                c.paintDestUnit = o.paintDestUnit;
                c.crosshairPenColor = {o.crosshairPenColor.red(), o.crosshairPenColor.green(),
                                       o.crosshairPenColor.blue()};
                c.crosshairPenWidth = o.crosshairPenWidth;
                c.crosshairPenStyle = o.crosshairPenStyle;
                c.showControls = cameraObject->ShowControls() ? 1 : 0;
            }
        }
        else if (const auto* fields = dynamic_cast<const WorkspaceFields*>(element))
        {
            e.fields = fields->WorkspaceValues();
        }
        document.elements.push_back(std::move(e));
    }
    return document;
}

bool MainWindow::SaveWorkspace(const QString& name, bool showErrors)
{
    // The save at exit (no messages) never writes over a file this session refused to load as too large; a
    // save the user asks for does, and ends the refusal.
    if (!showErrors && m_refusedWorkspaces.count(name) > 0)
        return false;
    m_refusedWorkspaces.erase(name);
    const QByteArray bytes = workspace::Write(DeskDocument());
    const QString fileName = WorkspaceFileName(name);
    // Written beside the target and renamed over it: a failed or interrupted save keeps the old workspace.
    QSaveFile file(fileName);
    bool saved = file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text);
    if (saved)
    {
        saved = file.write(bytes) == bytes.size();
        saved = saved && file.commit();
        if (!saved)
            file.cancelWriting();
    }
    if (saved || !showErrors)
        return saved;

    // The target when it exists, else its folder, tells whether permission is the reason.
    const QFileInfo target(fileName);
    const bool writable = target.exists() ? target.isWritable() : QFileInfo(target.absolutePath()).isWritable();
    QString text = tr("The workspace could not be saved to %1").arg(QStringLiteral("\n\n") + m_workspacePath);
    if (writable)
        text += QStringLiteral("\n\n") + tr("Change the default workspace path in the application options dialog.");
    else
        text += QStringLiteral("\n\n") + tr("No write permission.") + QLatin1Char('\n') +
                tr("Change the default workspace path in the application options dialog.");
    ShowInfo(tr("Error"), text);
    return false;
}

void MainWindow::DeleteWorkspace(const QString& name)
{
    const QString fileName = WorkspaceFileName(name);
    if (QFile::exists(fileName))
        QFile::remove(fileName);
}

// --- Loading

void MainWindow::SetWorkspaceProgress(int value)
{
    if (m_workspaceProgress != nullptr)
    {
        m_workspaceProgress->SetValue(value);
        // The event loop does not run during a load: the bar and the label paint themselves.
        m_workspaceProgress->repaint();
        m_workspaceLabel->repaint();
    }
    if (WorkspaceProgressObserver())
        WorkspaceProgressObserver()(value);
}

ControlElement* MainWindow::MakeElement(int type)
{
    if (type < 1 || type > kMaxElementType)
        return nullptr;
    const auto factory = ElementFactories().find(type);
    if (factory == ElementFactories().end() || !factory->second)
        return nullptr;
    ControlElement* element = factory->second(this);
    if (element != nullptr)
        element->SetType(type);
    return element;
}

QRect MainWindow::BoundedGeometry(int x, int y, int width, int height) const
{
    // No element is larger than twice everything the screens show; a bigger one would ask for a window of
    // gigabytes. Positions off every screen are dealt with once the element is placed (KeepOnScreen).
    QRect screens(0, 0, 1920, 1080);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        screens = screen->virtualGeometry();
    const int maxWidth = std::max(2 * screens.width(), 1024);
    const int maxHeight = std::max(2 * screens.height(), 1024);
    return QRect(std::clamp(x, -kMaxCoordinate, kMaxCoordinate), std::clamp(y, -kMaxCoordinate, kMaxCoordinate),
                 std::clamp(width, 1, maxWidth), std::clamp(height, 1, maxHeight));
}

void MainWindow::KeepOnScreen(ControlElement* element)
{
    if (element == nullptr || element->IsTabbed())
        return;
    if (element->IsDocked())
    {
        if (!QRect(QPoint(0, 0), m_dockingWidget->size())
                 .intersects(element->geometry().translated(-m_dockingWidget->mapTo(this, QPoint(0, 0)))))
            CenterElement(element);
        return;
    }
    for (const QScreen* screen : QGuiApplication::screens())
        if (screen->geometry().intersects(element->geometry()))
            return;
    CenterElement(element);
}

CameraObject* MainWindow::OpenWorkspaceCamera(const workspace::Element& e)
{
    const workspace::CameraFields& c = e.camera;
    const QString missing = QStringLiteral("-1");
    if (c.serialNumber == missing || c.modelName == missing || c.producer == missing || c.interfaceName == missing)
        return nullptr;
    if (m_cameraList == nullptr)
        return nullptr;
    const std::shared_ptr<orna::core::DeviceDescriptor> descriptor =
        m_cameraList->FindDescriptor(c.producer.toStdString(), c.interfaceName.toStdString(), c.modelName.toStdString(),
                                     c.serialNumber.toStdString());
    if (descriptor == nullptr)
        return nullptr;
    try
    {
        if (!descriptor->GetIsOpenable(orna::core::DeviceAccessType::Control))
            return nullptr;
    }
    catch (const orna::core::Exception& ex)
    {
        LogMessageSender::Error(kOrigin, QStringLiteral("bool MainWindow::LoadWorkspace(QString)"),
                                QString::fromLatin1(ex.what()));
        return nullptr;
    }
    // Opened here without acquisition: the file's acquisition flag is the applying pass's.
    auto* cameraObject = new CameraObject(this);
    cameraObject->OpenDevice(this, descriptor, false, m_openCameraWithOptimalSettings, false);
    if (cameraObject->Camera() != nullptr && !cameraObject->Camera()->IsOpen())
    {
        delete cameraObject;
        return nullptr;
    }
    cameraObject->SetOpenInProgress(false);
    cameraObject->setGeometry(BoundedGeometry(e.x, e.y, e.width, e.height));
    cameraObject->UpdateControls();
    elements.push_back(cameraObject);
    cameraObject->hide();
    return cameraObject;
}

ControlElement* MainWindow::CreateWorkspaceElement(const workspace::Element& e)
{
    if (e.type != workspace::CameraObjectType)
    {
        ControlElement* element = MakeElement(e.type);
        if (element == nullptr)
            return nullptr;
        element->hide();
        element->setGeometry(BoundedGeometry(e.x, e.y, e.width, e.height));
        element->UpdateControls();
        elements.push_back(element);
        return element;
    }
    if (e.camera.opened == 1)
        if (CameraObject* opened = OpenWorkspaceCamera(e))
            return opened;
    // A window without a camera: the camera is missing or taken. Saved next time with `opened` "0".
    auto* cameraObject = new CameraObject(this);
    cameraObject->setVisible(false);
    cameraObject->setGeometry(BoundedGeometry(e.x, e.y, e.width, e.height));
    cameraObject->UpdateControls();
    elements.push_back(cameraObject);
    cameraObject->hide();
    return cameraObject;
}

void MainWindow::ApplyFixedElement(ControlElement* element, IconButton* button, const workspace::FixedFields& f,
                                   bool updateControls, const std::function<void()>& beforeMarking)
{
    if (element == nullptr)
        return;
    if (updateControls)
        element->UpdateControls();
    if (f.x != 0 || f.y != 0)
    {
        const QRect r = BoundedGeometry(f.x, f.y, f.width, f.height);
        element->ApplyGeometry(r.x(), r.y(), r.width(), r.height(), f.docked == 1);
        KeepOnScreen(element);
    }
    else
    {
        CenterElement(element);
    }
    if (beforeMarking)
        beforeMarking();
    element->SetWasPlaced(true);
    element->setVisible(f.visible == 1);
    if (button != nullptr)
        button->setChecked(f.visible == 1);
}

void MainWindow::ApplyWorkspaceElement(const workspace::Element& e, std::map<int, ControlElement*>& byIndex)
{
    auto lookUp = [&byIndex](int index) -> ControlElement* {
        const auto found = byIndex.find(index);
        return found == byIndex.end() ? nullptr : found->second;
    };
    ControlElement* element = lookUp(e.index);
    ControlElement* parent = lookUp(e.parent);

    const bool currentFormat = workspace::IsCurrentFormat(workspaceVersionMajor, workspaceVersionMinor);
    const bool oldCustomTree = e.type == workspace::GenicamTreeType && !currentFormat &&
                               workspace::ValueOf(e.fields, QStringLiteral("treemode")) == QLatin1String("0");
    if (oldCustomTree)
    {
        // An old node tree in its custom mode is today's custom parameter panel, at the old place.
        if (element != nullptr)
        {
            element->SetParentElement(nullptr);
            RemoveElement(element);
            element = nullptr;
        }
        ControlElement* dialog = MakeElement(workspace::UserDialogType);
        byIndex[e.index] = dialog;
        if (dialog == nullptr)
            return;
        dialog->hide();
        dialog->setGeometry(BoundedGeometry(e.x, e.y, e.width, e.height));
        dialog->UpdateControls();
        elements.push_back(dialog);
        element = dialog;
        if (auto* fields = dynamic_cast<WorkspaceFields*>(dialog))
            fields->ApplyWorkspaceValues(
                {{QStringLiteral("checkedItems"),
                  workspace::RebuildCheckedItems(workspace::ValueOf(e.fields, QStringLiteral("checkedItems")))},
                 {QStringLiteral("nodemap"), workspace::ValueOf(e.fields, QStringLiteral("nodemap"))},
                 {QStringLiteral("columnwidthleft"), QStringLiteral("-1")}});
    }
    if (element == nullptr)
        return;

    // A parent that is the element itself, or whose chain leads back to it, would loop forever in every walk
    // up the tree.
    for (ControlElement* up = parent; up != nullptr; up = up->ParentElement())
    {
        if (up == element)
        {
            LogMessageSender::Error(
                kOrigin, QStringLiteral("bool MainWindow::LoadWorkspace(QString)"),
                tr("Workspace element %1 names itself as its parent; the link is dropped.").arg(e.index));
            parent = nullptr;
            break;
        }
    }

    // 1.
    element->SetParentElement(parent);

    // 2.-6.
    if (auto* cameraObject = qobject_cast<CameraObject*>(element))
    {
        VisionCamera* camera = cameraObject->Camera();
        if (camera != nullptr && camera->IsOpen())
        {
            camera->SetNodePollingEnabled(m_parameterPolling);
            if (e.camera.acquisition == 1)
                camera->StartAcquisition();
            // The factor first: the mode may overwrite it.
            if (e.camera.displayScaleFactor > 0.0)
                cameraObject->Display()->SetScaleFactor(e.camera.displayScaleFactor);
            if (e.camera.displayScaleMode >= 0)
                cameraObject->Display()->SetScaleMode(e.camera.displayScaleMode);
        }
        else
        {
            element->SetParentElement(nullptr);
        }
        const workspace::CameraFields& c = e.camera;
        CameraObject::OverlaySettings o;
        o.paintPenColor = QColor(c.paintPenColor.red, c.paintPenColor.green, c.paintPenColor.blue);
        o.paintPenColorBrightness = c.paintPenColorBrightness;
        o.paintPenWidth = c.paintPenWidth;
        o.paintPenStyle = c.paintPenStyle;
        o.paintSourceValue = c.paintSourceValue;
        o.paintDestValue = c.paintDestValue;
        o.paintDestUnit = c.paintDestUnit;
        o.crosshairPenColor = QColor(c.crosshairPenColor.red, c.crosshairPenColor.green, c.crosshairPenColor.blue);
        o.crosshairPenWidth = c.crosshairPenWidth;
        o.crosshairPenStyle = c.crosshairPenStyle;
        cameraObject->SetOverlay(o);
        cameraObject->SetShowControls(c.showControls == 1);
        // The warning is a modal dialog: the element may be gone after it.
        if (camera != nullptr && camera->IsOpen())
        {
            QPointer<ControlElement> guard(element);
            CheckLinkSpeed(camera, false);
            if (guard.isNull() || m_beingDestroyed)
                return;
        }
    }
    else if (auto* fields = dynamic_cast<WorkspaceFields*>(element); fields != nullptr && !oldCustomTree)
    {
        if (e.type == workspace::GenicamTreeType)
            element->UpdateControls();
        if (e.type != workspace::BrightnessType)
            fields->ApplyWorkspaceValues(e.fields);
    }

    // 7.
    if (e.docked == 0)
    {
        const QRect r = BoundedGeometry(e.x, e.y, e.width, e.height);
        element->SetDocked(false);
        element->move(r.topLeft());
    }
    // 8.
    if (parent != nullptr && e.tabbedLeft == 1)
        parent->TabLeft(element, true);
    else if (parent != nullptr && e.tabbedRight == 1)
        parent->TabRight(element, true);
    // 9.
    if (e.maximized == 1)
        element->SetMaximized(true, false);
    // 10.
    element->SetRestoreRect(QRect(e.xLast, e.yLast, e.widthLast, e.heightLast));
    KeepOnScreen(element);
    // A node tree is complete once its own fields are in: it shows here, and step 10 of the load leaves it alone.
    if (element->Type() == workspace::GenicamTreeType)
        element->show();
}

bool MainWindow::LoadWorkspace(const QString& name)
{
    // 1.
    m_workspaceProgress = new CustomProgressBar(this);
    m_workspaceProgress->setFixedSize(300, 5);
    m_workspaceLabel =
        new QLabel(tr("Loading workspace") + QStringLiteral(" \"") + name + QStringLiteral("\" ..."), this);
    m_workspaceLabel->setFixedSize(300, 30);
    m_workspaceLabel->setStyleSheet(
        QStringLiteral("QLabel { color: ") + ApplicationGlobals::colorText.name() +
        QStringLiteral("; background: transparent; qproperty-alignment: 'AlignLeft | AlignVCenter' }"));
    const QPoint centre = rect().center();
    m_workspaceProgress->move(centre.x() - 150, centre.y() - 2);
    m_workspaceLabel->move(centre.x() - 150, centre.y() - 2 - 30);
    m_workspaceProgress->show();
    m_workspaceLabel->show();
    m_workspaceProgress->raise();
    m_workspaceLabel->raise();
    SetWorkspaceProgress(10);

    // 2.
    ClearDesk(false);

    // 3.
    QFile file(WorkspaceFileName(name));
    const bool opened = file.open(QIODevice::ReadOnly | QIODevice::Text);
    workspace::Document document;
    QString refusal;
    if (opened)
    {
        // 4. and 5.
        SetWorkspaceProgress(20);
        document = workspace::Read(&file);
        if (!document.error.isEmpty())
            LogMessageSender::Error(
                kOrigin, QStringLiteral("bool MainWindow::LoadWorkspace(QString)"),
                tr("Workspace \"%1\" is damaged; what could be read is loaded: %2").arg(name, document.error));
        // A desk cut short would be saved back short and lose the rest: such a file is not loaded at all, and
        // the save at exit leaves it alone.
        if (document.droppedElements > 0)
        {
            refusal = tr("The workspace \"%1\" has more than %2 elements and is not loaded. The file is left as it "
                         "is.")
                          .arg(name, QString::number(workspace::kMaxElements));
            LogMessageSender::Error(kOrigin, QStringLiteral("bool MainWindow::LoadWorkspace(QString)"), refusal);
            m_refusedWorkspaces.insert(name);
            FillWorkspaceCombo();
        }
    }
    if (opened && refusal.isEmpty())
    {
        workspaceVersionMajor = document.header.versionMajor;
        workspaceVersionMinor = document.header.versionMinor;
        workspaceVersionPatch = document.header.versionPatch;
        workspaceVersionBuild = document.header.versionBuild;
        SetWorkspaceProgress(30);
        std::map<int, ControlElement*> byIndex;
        for (const workspace::Element& e : document.elements)
            byIndex[e.index] = CreateWorkspaceElement(e);
        SetWorkspaceProgress(40);

        // 6. and 7.
        if (document.validRoot)
        {
            const workspace::Header& h = document.header;
            ApplyFixedElement(loggerWindow, buttonLogger, h.logger, true, {});
            ApplyFixedElement(applicationSettings, buttonOptions, h.settings, true, {});
            ApplyFixedElement(cameraManager, buttonCameraManager, h.cameraManager, false, [this, &h] {
                if (auto* fields = dynamic_cast<WorkspaceFields*>(cameraManager))
                    fields->ApplyWorkspaceValues(h.cameraManagerValues);
            });
        }
        SetWorkspaceProgress(50);

        // 8.
        for (const workspace::Element& e : document.elements)
            ApplyWorkspaceElement(e, byIndex);
        // Undocking raises an element (it moves to the end of the vector) and shows it: the file's order is
        // the stacking order, and nothing but a node tree shows before step 10.
        std::vector<ControlElement*> ordered;
        auto onDesk = [this](ControlElement* element) {
            return std::find(elements.begin(), elements.end(), element) != elements.end();
        };
        for (const workspace::Element& e : document.elements)
        {
            ControlElement* element = byIndex.count(e.index) ? byIndex[e.index] : nullptr;
            if (element != nullptr && onDesk(element) &&
                std::find(ordered.begin(), ordered.end(), element) == ordered.end())
                ordered.push_back(element);
        }
        for (ControlElement* element : elements)
            if (std::find(ordered.begin(), ordered.end(), element) == ordered.end())
                ordered.push_back(element);
        elements = ordered;
        for (ControlElement* element : elements)
            if (element->Type() != workspace::GenicamTreeType)
                element->hide();
        SetWorkspaceProgress(60);

        // 9.
        file.close();
        m_currentWorkspaceName = name;
        SetWorkspaceProgress(80);

        // 10.
        for (ControlElement* element : elements)
        {
            if (element->Type() == workspace::GenicamTreeType)
                continue;
            element->UpdateControls();
            element->OnWorkspaceLoaded();
            element->show();
        }
        // The file's order is the stacking order, camera windows and panels alike, as it was when the file was
        // saved (the applying pass raised what it undocked or tabbed); the fixed elements stay above the desk.
        for (ControlElement* e : elements)
            e->raise();
        for (ControlElement* e : fixedElements)
            e->raise();
        SetWorkspaceProgress(100);
        update();
        m_dockingWidget->update();
        FillWorkspaceCombo();
    }

    // 11.
    delete m_workspaceProgress;
    m_workspaceProgress = nullptr;
    delete m_workspaceLabel;
    m_workspaceLabel = nullptr;
    workspaceVersionMajor = 0;
    workspaceVersionMinor = 0;
    workspaceVersionPatch = 0;
    workspaceVersionBuild = 0;
    UpdateEmptyDeskHint();
    if (!refusal.isEmpty())
        ShowInfo(tr("Error"), refusal);
    return true;
}

void MainWindow::LoadDefaultWorkspace()
{
    if (m_defaultWorkspace.isEmpty() || m_defaultWorkspace == kNoWorkspace)
        return;
    // The workspace's cameras are looked up in the camera list, which has seen no discovery pass yet at this
    // point of the start: one runs first, blocking like the load itself (the event loop has not started, so
    // nothing else can open a camera meanwhile). A list that stays short gives windows without a camera.
    if (m_cameraList != nullptr && !m_cameraList->UpdateAndWait(kStartDiscoveryTimeoutMs))
        LogMessageSender::Error(kOrigin, QStringLiteral("bool MainWindow::LoadWorkspace(QString)"),
                                tr("Camera discovery did not finish in time; the workspace \"%1\" opens the cameras "
                                   "found so far.")
                                    .arg(m_defaultWorkspace));
    LoadWorkspace(m_defaultWorkspace);
}
