// Workspaces on a real desk with simulated cameras: save and load, the two passes, the combo box and its
// buttons, the session workspace at exit, the old node tree format, save failures, and damaged files.
#include "app/applicationsettings.h"
#include "app/loggerwindow.h"
#include "app/mainwindow.h"
#include "app/workspacefile.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "controlelement/dockingwidget.h"
#include "controlelement/workspacefields.h"
#include "discovery/cameralistmodel.h"
#include "discovery/cameramanager.h"
#include "orna/core/device.h"
#include "view/cameraobject.h"
#include "view/customdisplay.h"
#include "widgets/customcombobox.h"
#include "widgets/customedit.h"

#include <QDialog>
#include <QFile>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// A panel with own fields; what the loader hands it is kept for the test to read.
class FieldPanel : public ControlElement, public WorkspaceFields
{
public:
    explicit FieldPanel(QWidget* parent) : ControlElement(parent, false) {}
    void ConnectControls() override {}
    void DisconnectControls() override {}
    void UpdateControls() override {}
    QStringList WorkspaceKeys() const override { return workspace::FieldKeys(Type(), true); }
    KeyValues WorkspaceValues() const override { return values; }
    void ApplyWorkspaceValues(const KeyValues& v) override
    {
        values = v;
        ++applied;
    }
    KeyValues values;
    int applied = 0;
};

// Types the factory is asked for, in order.
QList<int>& Asked()
{
    static QList<int> asked;
    return asked;
}

void RegisterPanels(std::initializer_list<int> types)
{
    for (int type : types)
        MainWindow::RegisterElementType(type, [type](QWidget* parent) -> ControlElement* {
            Asked().append(type);
            return new FieldPanel(parent);
        });
}

QByteArray ReadAll(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool WriteAll(const QString& fileName, const QByteArray& bytes)
{
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

std::vector<CameraObject*> CameraWindows(const MainWindow& window)
{
    std::vector<CameraObject*> result;
    for (ControlElement* e : window.Elements())
        if (auto* c = qobject_cast<CameraObject*>(e))
            result.push_back(c);
    return result;
}

// Counts every dialog that shows anywhere in the application, with its title.
class DialogWatcher : public QObject
{
public:
    DialogWatcher() { qApp->installEventFilter(this); }
    ~DialogWatcher() override { qApp->removeEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show)
            if (auto* dialog = qobject_cast<QDialog*>(watched))
                shown << dialog->windowTitle();
        return false;
    }
    QStringList shown;
};

} // namespace

class TestMainWindowWorkspace : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    // Lists the simulated cameras and opens `count` of them, each in its own window.
    std::vector<CameraObject*> OpenCameras(MainWindow& window, CameraListModel& list, int count)
    {
        // The list's lock probe holds each new camera open for a moment: the probes of a pass end with the
        // pass after it, so the opens start after two passes.
        for (int pass = 0; pass < 2; ++pass)
        {
            [&] { QTRY_VERIFY_WITH_TIMEOUT(!list.IsUpdateRunning(), 20000); }();
            QSignalSpy finished(&list, &CameraListModel::UpdateFinished);
            list.RunUpdate();
            if (!finished.wait(20000))
                return {};
        }
        std::vector<CameraObject*> windows;
        const auto devices = list.Devices();
        for (int i = 0; i < count && i < static_cast<int>(devices.size()); ++i)
        {
            QPointer<CameraObject> cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(devices[i]));
            if (cameraWindow == nullptr)
                return {};
            [&] { QTRY_VERIFY_WITH_TIMEOUT(cameraWindow == nullptr || !cameraWindow->IsOpenInProgress(), 60000); }();
            if (cameraWindow == nullptr || cameraWindow->Camera() == nullptr || !cameraWindow->Camera()->IsOpen())
                return {};
            windows.push_back(cameraWindow);
        }
        return windows;
    }

    QString File(const QString& name) const { return folder.path() + QLatin1Char('/') + name + ".xml"; }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "3", 1);
        QVERIFY(folder.isValid());
        RegisterPanels({4, 9, 25, 29});
    }

    void init()
    {
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        settings::Write(QStringLiteral("path_workspace"), folder.path());
        settings::WriteBool(QStringLiteral("open_camera_with_optimal_settings"), false);
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 0;
        Asked().clear();
    }

    void cleanup()
    {
        MainWindow::WorkspaceProgressObserver() = nullptr;
        ::setenv("ORNA_SIM_CAMERAS", "3", 1);
    }

    // One camera window and three panels, a panel's index below its window's; the camera acquires and has
    // a fractional measuring value. The load starts acquisition in the applying pass and links every parent;
    // the bar takes its values in order.
    void reloadLinksParentsAndStartsAcquisitionInTheApplyingPass()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        auto windows = OpenCameras(window, list, 1);
        QCOMPARE(windows.size(), size_t(1));
        CameraObject* cameraWindow = windows[0];
        for (int type : {9, 25, 29})
            QVERIFY(window.AddControlElement(cameraWindow, type) != nullptr);
        auto* panel = static_cast<FieldPanel*>(window.Elements()[3]);
        panel->values = {{QStringLiteral("inference_showLabels"), QStringLiteral("1")},
                         {QStringLiteral("inference_labelsFontSize"), QStringLiteral("14")}};
        // The camera window goes to the end of the vector: its panels' indexes are below its own.
        window.BringToFront(cameraWindow);
        QCOMPARE(window.Elements().back(), static_cast<ControlElement*>(cameraWindow));
        CameraObject::OverlaySettings overlay;
        overlay.paintSourceValue = 12.75;
        overlay.paintPenColor = QColor(10, 20, 30);
        cameraWindow->SetOverlay(overlay);
        QVERIFY(cameraWindow->Camera()->IsAcquiring() || cameraWindow->Camera()->StartAcquisition());
        QVERIFY(window.SaveWorkspace(QStringLiteral("one"), true));
        QVERIFY(ReadAll(File("one")).contains("<acquisition>1</acquisition>"));

        window.ClearDesk(false);
        QVERIFY(window.Elements().empty());
        QList<int> values;
        QList<bool> acquiring;
        MainWindow::WorkspaceProgressObserver() = [&](int value) {
            values << value;
            bool any = false;
            for (CameraObject* c : CameraWindows(window))
                any = any || (c->Camera() != nullptr && c->Camera()->IsAcquiring());
            acquiring << any;
        };
        QVERIFY(window.LoadWorkspace(QStringLiteral("one")));
        QCOMPARE(values, (QList<int>{10, 20, 30, 40, 50, 60, 80, 100}));
        // Not at the end of the creating pass (40), but by the end of the applying pass (60).
        QCOMPARE(acquiring[3], false);
        QCOMPARE(acquiring[5], true);

        QCOMPARE(window.Elements().size(), size_t(4));
        auto* loaded = qobject_cast<CameraObject*>(window.Elements().back());
        QVERIFY(loaded != nullptr && loaded->Camera() != nullptr);
        for (size_t i = 0; i < 3; ++i)
        {
            QCOMPARE(window.Elements()[i]->ParentElement(), static_cast<ControlElement*>(loaded));
            QVERIFY(window.Elements()[i]->isVisible());
        }
        auto* inference = static_cast<FieldPanel*>(window.Elements()[2]);
        QCOMPARE(inference->Type(), 29);
        QCOMPARE(workspace::ValueOf(inference->values, QStringLiteral("inference_labelsFontSize")),
                 QStringLiteral("14"));
        QCOMPARE(loaded->Overlay().paintSourceValue, 12.0);
        QCOMPARE(loaded->Overlay().paintPenColor, QColor(10, 20, 30));
        QCOMPARE(window.CurrentWorkspaceName(), QStringLiteral("one"));
        QCOMPARE(window.WorkspaceCombo()->currentData().toString(), QStringLiteral("one"));
        QCOMPARE(window.WorkspaceVersionMajor(), 0);
        window.SetCameraList(nullptr);
    }

    // A camera on a slow link: its warning comes in the applying pass (bar at 50), not while the creating pass
    // opens the camera, and the options' parameter polling switch reaches the camera.
    void applyingPassChecksTheLinkAndAppliesPolling()
    {
        ::setenv("ORNA_SIM_CAMERAS", "slowlink", 1);
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        auto windows = OpenCameras(window, list, 1);
        QCOMPARE(windows.size(), size_t(1));
        QVERIFY(windows[0]->Camera()->IsNodePollingEnabled());
        QVERIFY(window.SaveWorkspace(QStringLiteral("slow"), true));
        Q_EMIT window.Settings()->Signal_NodePollingChanged(false);
        window.ClearDesk(false);

        int bar = 0;
        MainWindow::WorkspaceProgressObserver() = [&bar](int value) { bar = value; };
        QList<int> warnedAt;
        connect(&window, &MainWindow::Signal_InfoShown, this, [&](const QString& title, const QString&) {
            if (title == QLatin1String("Warning"))
                warnedAt << bar;
        });
        QVERIFY(window.LoadWorkspace(QStringLiteral("slow")));
        QCOMPARE(warnedAt, QList<int>{50});
        const auto loaded = CameraWindows(window);
        QCOMPARE(loaded.size(), size_t(1));
        QVERIFY(loaded[0]->Camera() != nullptr && loaded[0]->Camera()->IsOpen());
        QVERIFY(!loaded[0]->Camera()->IsNodePollingEnabled());
        window.SetCameraList(nullptr);
    }

    // Three cameras and twelve panels, floating, docked and tabbed: save, clear, load, save: the same bytes.
    void roundTripOfAGeneratedDeskIsIdentical()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        auto windows = OpenCameras(window, list, 3);
        QCOMPARE(windows.size(), size_t(3));
        for (size_t i = 0; i < windows.size(); ++i)
        {
            std::vector<ControlElement*> panels;
            for (int type : {9, 4, 25, 29})
                panels.push_back(window.AddControlElement(windows[i], type));
            windows[i]->TabLeft(panels[0], true);
            windows[i]->TabRight(panels[1], true);
            panels[3]->move(panels[3]->pos() + QPoint(40 * int(i), 20));
        }
        windows[1]->Camera()->StartAcquisition();
        windows[2]->Display()->SetScaleFactor(0.5);
        window.BringToFront(windows[0]);
        QCOMPARE(window.Elements().size(), size_t(15));
        // Fixed elements the user placed (never placed ones are centred at the load, which moves them).
        window.Logger()->move(120, 140);
        window.Settings()->move(160, 180);
        window.Manager()->move(200, 220);

        QVERIFY(window.SaveWorkspace(QStringLiteral("first"), true));
        window.ClearDesk(false);
        QVERIFY(window.LoadWorkspace(QStringLiteral("first")));
        QCOMPARE(window.Elements().size(), size_t(15));
        QVERIFY(window.SaveWorkspace(QStringLiteral("second"), true));
        const QByteArray first = ReadAll(File("first"));
        const QByteArray second = ReadAll(File("second"));
        QVERIFY(first.size() > 1000);
        if (first != second)
        {
            const QList<QByteArray> a = first.split('\n');
            const QList<QByteArray> b = second.split('\n');
            for (int i = 0; i < std::min(a.size(), b.size()); ++i)
                if (a[i] != b[i])
                    QFAIL(qPrintable(QStringLiteral("line %1: %2 | %3")
                                         .arg(i + 1)
                                         .arg(QString::fromUtf8(a[i]), QString::fromUtf8(b[i]))));
            QCOMPARE(a.size(), b.size());
        }
        window.SetCameraList(nullptr);
    }

    // Overlapping camera windows and panels, brought to the front in a mixed order: after the load the elements
    // lie on each other in the file's order, camera windows among panels as they were, and the node tree, which
    // its own applying step shows, is visible too.
    void loadKeepsTheStackingOrderOfTheFile()
    {
        MainWindow window;
        window.resize(1400, 900);
        CameraListModel list;
        window.SetCameraList(&list);
        auto windows = OpenCameras(window, list, 2);
        QCOMPARE(windows.size(), size_t(2));
        ControlElement* first = window.AddControlElement(windows[0], 9);
        ControlElement* second = window.AddControlElement(windows[1], 25);
        ControlElement* tree = window.AddControlElement(windows[0], 4);
        QVERIFY(first != nullptr && second != nullptr && tree != nullptr);
        // Everything on one spot of the desk, docked, so that each lies on the others.
        const QPoint spot = windows[0]->pos() + QPoint(20, 20);
        for (ControlElement* e : {static_cast<ControlElement*>(windows[1]), first, second, tree})
        {
            if (!e->IsDocked())
                e->SetDocked(true);
            e->move(spot);
        }
        for (ControlElement* e :
             {first, static_cast<ControlElement*>(windows[0]), tree, static_cast<ControlElement*>(windows[1]), second})
            window.BringToFront(e);
        QList<int> types;
        for (ControlElement* e : window.Elements())
        {
            QVERIFY(e->IsDocked());
            types << e->Type();
        }
        QCOMPARE(types, (QList<int>{9, 0, 4, 0, 25}));
        QVERIFY(window.SaveWorkspace(QStringLiteral("stack"), true));

        window.ClearDesk(false);
        QVERIFY(window.LoadWorkspace(QStringLiteral("stack")));
        types.clear();
        for (ControlElement* e : window.Elements())
            types << e->Type();
        QCOMPARE(types, (QList<int>{9, 0, 4, 0, 25}));
        // Sibling widgets paint in the order of their parent's children: the last lies on top.
        const QObjectList children = window.children();
        int below = -1;
        for (ControlElement* e : window.Elements())
        {
            QVERIFY(e->isVisible());
            QCOMPARE(e->parent(), static_cast<QObject*>(&window));
            const int at = children.indexOf(e);
            QVERIFY2(at > below, qPrintable(QStringLiteral("type %1 lies below the element before it").arg(e->Type())));
            below = at;
        }
        window.SetCameraList(nullptr);
    }

    // Windows opened one after another stand on one spot; CTRL+ALT+A tiles them over the desk, each keeping
    // its image's aspect, and a workspace keeps the arrangement.
    void arrangeTilesTheCameraWindows()
    {
        MainWindow window;
        window.resize(1400, 900);
        CameraListModel list;
        window.SetCameraList(&list);
        auto windows = OpenCameras(window, list, 3);
        QCOMPARE(windows.size(), size_t(3));
        QShortcut* arrange = nullptr;
        for (QShortcut* shortcut : window.Shortcuts())
            if (shortcut->key() == QKeySequence(QStringLiteral("CTRL+ALT+A")))
                arrange = shortcut;
        QVERIFY(arrange != nullptr);
        QCOMPARE(arrange->whatsThis(), QStringLiteral("Arrange camera windows"));
        Q_EMIT arrange->activated();

        const QRect desk(window.dockingWidget()->mapTo(&window, QPoint(0, 0)), window.dockingWidget()->size());
        std::vector<QRect> placed;
        for (CameraObject* c : windows)
        {
            QVERIFY(c->IsDocked());
            QVERIFY2(
                desk.contains(c->geometry()),
                qPrintable(QStringLiteral("%1,%2 %3x%4").arg(c->x()).arg(c->y()).arg(c->width()).arg(c->height())));
            for (const QRect& other : placed)
                QVERIFY(!other.intersects(c->geometry()));
            placed.push_back(c->geometry());
            const double aspect = double(c->Camera()->GetImageWidth()) / double(c->Camera()->GetImageHeight());
            QVERIFY(std::abs((c->width() - 51) - (c->height() - 118) * aspect) <= aspect + 1.0);
        }

        QVERIFY(window.SaveWorkspace(QStringLiteral("tiled"), true));
        window.ClearDesk(false);
        QVERIFY(window.LoadWorkspace(QStringLiteral("tiled")));
        const auto loaded = CameraWindows(window);
        QCOMPARE(loaded.size(), size_t(3));
        for (size_t i = 0; i < loaded.size(); ++i)
            QCOMPARE(loaded[i]->geometry(), placed[i]);
        window.SetCameraList(nullptr);
    }

    // A camera that is not there: a window without a camera, which the next save writes with `opened` 0.
    void missingCameraLeavesAnEmptyWindow()
    {
        workspace::Document d;
        workspace::Element e;
        e.index = 0;
        e.type = 0;
        e.x = 100;
        e.y = 100;
        e.width = 300;
        e.height = 300;
        e.docked = 1;
        e.camera.opened = 1;
        e.camera.serialNumber = QStringLiteral("NOT-THERE-1");
        e.camera.modelName = QStringLiteral("none");
        e.camera.producer = QStringLiteral("none");
        e.camera.interfaceName = QStringLiteral("none");
        d.elements.push_back(e);
        QVERIFY(WriteAll(File("missing"), workspace::Write(d)));

        MainWindow window;
        QVERIFY(window.LoadWorkspace(QStringLiteral("missing")));
        QCOMPARE(window.Elements().size(), size_t(1));
        auto* cameraWindow = qobject_cast<CameraObject*>(window.Elements()[0]);
        QVERIFY(cameraWindow != nullptr);
        QVERIFY(cameraWindow->Camera() == nullptr);
        QVERIFY(window.SaveWorkspace(QStringLiteral("missing"), true));
        const QByteArray saved = ReadAll(File("missing"));
        QVERIFY(saved.contains("<opened>0</opened>"));
        QVERIFY(!saved.contains("NOT-THERE-1"));
    }

    // Below 1.2, a node tree in `treemode` 0 becomes a custom parameter panel with the check list rebuilt;
    // the current version reads no `treemode` and keeps the node tree.
    void oldNodeTreeBecomesUserDialog()
    {
        auto file = [](const char* version) {
            QByteArray bytes = workspace::Write(workspace::Document{});
            bytes.replace("1.2.0.0", version);
            bytes.replace("</profile>",
                          "<element><index>0</index><type>4</type><x>10</x><y>10</y><width>200</width>"
                          "<height>200</height><maximized>0</maximized><x_last>0</x_last><y_last>0</y_last>"
                          "<width_last>0</width_last><height_last>0</height_last><docked>1</docked>"
                          "<tabbed_left>0</tabbed_left><tabbed_right>0</tabbed_right><parent>-1</parent>"
                          "<filterString>f</filterString><checkedItems>\"Gain Raw\"+ \"Width\"</checkedItems>"
                          "<nodemap>LOCAL DEVICE</nodemap><treemode>0</treemode><widthtreemode>1</widthtreemode>"
                          "<heighttreemode>1</heighttreemode><infocontrol_visible>1</infocontrol_visible>"
                          "<infocontrol_height>40</infocontrol_height></element></profile>");
            return bytes;
        };
        QVERIFY(WriteAll(File("old"), file("1.1.0.0")));
        QVERIFY(WriteAll(File("new"), file("1.2.0.0")));
        MainWindow window;

        QVERIFY(window.LoadWorkspace(QStringLiteral("old")));
        QCOMPARE(Asked(), (QList<int>{4, 25}));
        QCOMPARE(window.Elements().size(), size_t(1));
        auto* dialog = static_cast<FieldPanel*>(window.Elements()[0]);
        QCOMPARE(dialog->Type(), 25);
        QCOMPARE(workspace::ValueOf(dialog->values, QStringLiteral("checkedItems")), QStringLiteral("GainRaw+Width"));
        QCOMPARE(workspace::ValueOf(dialog->values, QStringLiteral("nodemap")), QStringLiteral("LOCAL DEVICE"));

        Asked().clear();
        QVERIFY(window.LoadWorkspace(QStringLiteral("new")));
        QCOMPARE(Asked(), (QList<int>{4}));
        QCOMPARE(window.Elements().size(), size_t(1));
        auto* tree = static_cast<FieldPanel*>(window.Elements()[0]);
        QCOMPARE(tree->Type(), 4);
        QCOMPARE(workspace::ValueOf(tree->values, QStringLiteral("treemode")), QStringLiteral("-1"));
    }

    // The combo box: Return in the edit saves; picking "No workspace" clears; deleting the selected
    // workspace leaves the desk and shows "No workspace"; the proposal of a new name.
    void comboSaveDeleteAndProposal()
    {
        MainWindow window;
        RegisterPanels({9});
        auto* cameraWindow = new CameraObject(&window);
        window.AppendElement(cameraWindow);
        QVERIFY(QMetaObject::invokeMethod(&window, "OnButtonCreateWorkspace"));
        QVERIFY(window.WorkspaceEdit()->text().contains(
            QRegularExpression(QStringLiteral("^New_[0-2][0-9]_[ 1-5][0-9]_[ 1-5][0-9]$"))));
        window.WorkspaceEdit()->setText(QStringLiteral("desk"));
        QVERIFY(QMetaObject::invokeMethod(&window, "OnEditSaveWorkspace"));
        QVERIFY(QFile::exists(File("desk")));
        QCOMPARE(window.CurrentWorkspaceName(), QStringLiteral("desk"));
        QCOMPARE(window.WorkspaceCombo()->currentData().toString(), QStringLiteral("desk"));

        QVERIFY(QMetaObject::invokeMethod(&window, "OnButtonDeleteWorkspace"));
        QVERIFY(!QFile::exists(File("desk")));
        QCOMPARE(window.Elements().size(), size_t(1));
        QCOMPARE(window.WorkspaceCombo()->currentText(), QStringLiteral("No workspace"));
        QCOMPARE(window.CurrentWorkspaceName(), QStringLiteral("None"));
        QCOMPARE(window.WorkspaceCombo()->findData(QStringLiteral("desk")), -1);
    }

    // "last_workspace" is written at exit and listed by the next window; default_workspace loads at start.
    void sessionWorkspaceAndDefaultWorkspace()
    {
        QFile::remove(File("last_workspace"));
        {
            MainWindow window;
            window.AppendElement(new CameraObject(&window));
            QVERIFY(QMetaObject::invokeMethod(&window, "OnExitProgram"));
        }
        QVERIFY(QFile::exists(File("last_workspace")));
        settings::Write(QStringLiteral("default_workspace"), QStringLiteral("last_workspace"));
        MainWindow window;
        QVERIFY(window.WorkspaceCombo()->findData(QStringLiteral("last_workspace")) > 0);
        QTRY_COMPARE(window.CurrentWorkspaceName(), QStringLiteral("last_workspace"));
        QCOMPARE(window.Elements().size(), size_t(1));
    }

    // default_workspace naming two cameras: a window that makes its own camera list has them open in their
    // windows and acquiring by the end of its constructor, without a dialog, before the event loop runs.
    void defaultWorkspaceOpensItsCamerasAtStart()
    {
        QStringList savedSerials;
        {
            MainWindow window;
            CameraListModel list;
            window.SetCameraList(&list);
            const auto windows = OpenCameras(window, list, 2);
            QCOMPARE(windows.size(), size_t(2));
            for (CameraObject* c : windows)
            {
                QVERIFY(c->Camera()->IsAcquiring() || c->Camera()->StartAcquisition());
                savedSerials << c->Camera()->GetSerialNumber();
            }
            QVERIFY(window.SaveWorkspace(QStringLiteral("startdesk"), true));
            window.SetCameraList(nullptr);
        }
        settings::Write(QStringLiteral("default_workspace"), QStringLiteral("startdesk"));

        DialogWatcher dialogs;
        MainWindow window(nullptr, MainWindow::CameraListSource::Own);
        QCOMPARE(window.CurrentWorkspaceName(), QStringLiteral("startdesk"));
        const auto loaded = CameraWindows(window);
        QCOMPARE(loaded.size(), size_t(2));
        QStringList serials;
        for (CameraObject* c : loaded)
        {
            QVERIFY(c->Camera() != nullptr);
            QVERIFY(c->Camera()->IsOpen());
            QVERIFY(c->Camera()->IsAcquiring());
            QVERIFY(c->isVisible());
            serials << c->Camera()->GetSerialNumber();
        }
        QCOMPARE(serials, savedSerials);
        QVERIFY(window.Manager() != nullptr);
        // Whatever an open reports comes queued: the frames of both cameras arrive first.
        for (CameraObject* c : loaded)
            QTRY_VERIFY_WITH_TIMEOUT(c->Camera()->GetFrameCounter() > 2, 20000);
        QCOMPARE(dialogs.shown, QStringList());
        QCOMPARE(CameraWindows(window).size(), size_t(2));
    }

    // A save that fails shows the message and keeps the old file; a missing folder says "No write permission.".
    void failedSaveKeepsTheOldFile()
    {
        MainWindow window;
        window.AppendElement(new CameraObject(&window));
        // A name so long that the save's temporary file cannot be made beside the target.
        const QString longName(246, QLatin1Char('w'));
        QVERIFY(WriteAll(File(longName), "<profile>old</profile>"));
        QSignalSpy shown(&window, &MainWindow::Signal_InfoShown);
        QVERIFY(!window.SaveWorkspace(longName, true));
        QCOMPARE(ReadAll(File(longName)), QByteArray("<profile>old</profile>"));
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0][0].toString(), QStringLiteral("Error"));
        QCOMPARE(shown[0][1].toString(), QStringLiteral("The workspace could not be saved to \n\n") + folder.path() +
                                             "\n\nChange the default workspace path in the application options "
                                             "dialog.");
        // Without showErrors (the save at exit) nothing is shown.
        QVERIFY(!window.SaveWorkspace(longName, false));
        QCOMPARE(shown.size(), 1);

        settings::Write(QStringLiteral("path_workspace"), folder.path() + "/not/there");
        MainWindow elsewhere;
        QSignalSpy shownElsewhere(&elsewhere, &MainWindow::Signal_InfoShown);
        QVERIFY(!elsewhere.SaveWorkspace(QStringLiteral("x"), true));
        QCOMPARE(shownElsewhere.size(), 1);
        QVERIFY(shownElsewhere[0][1].toString().endsWith(
            "\n\nNo write permission.\nChange the default workspace path in the application options dialog."));
    }

    // Damaged files load what they can or nothing, never crash, and stay as they were.
    void damagedFilesLoadWhatTheyCan_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("elements");
        workspace::Document d;
        for (int i = 0; i < 3; ++i)
        {
            workspace::Element e;
            e.index = i;
            e.type = i == 0 ? 0 : 9;
            e.x = 40;
            e.y = 40;
            e.width = 200;
            e.height = 200;
            e.docked = 1;
            e.parent = i == 0 ? -1 : 0;
            d.elements.push_back(e);
        }
        const QByteArray good = workspace::Write(d);
        QTest::newRow("truncated") << good.left(good.lastIndexOf("<element>") + 30) << 2;
        QByteArray root = good;
        root.replace("profile>", "profiles>");
        QTest::newRow("other root") << root << 0;
        QTest::newRow("binary") << QByteArray(3000, '\xfe') << 0;
        QByteArray sizes = good;
        sizes.replace("<width>200</width>", "<width>0</width>")
            .replace("<height>200</height>", "<height>1000000000</height>");
        QTest::newRow("sizes 0 and 10^9") << sizes << 3;
        QByteArray type = good;
        type.replace("<type>9</type>", "<type>99</type>");
        QTest::newRow("type 99") << type << 1;
        QByteArray self = good;
        self.replace("<index>1</index>", "<index>1</index>").replace("<parent>0</parent>", "<parent>1</parent>");
        QTest::newRow("own parent") << self << 3;
        QByteArray numbers = good;
        numbers.replace("<x>40</x>", "<x>forty</x>").replace("<index>2</index>", "<index>two</index>");
        QTest::newRow("not numbers") << numbers << 3;
        // Every element a camera window without a camera, the heaviest kind: a file beyond the bound is refused.
        workspace::Document many;
        for (int i = 0; i < 10000; ++i)
        {
            workspace::Element e;
            e.index = i;
            e.type = 0;
            e.width = 100;
            e.height = 100;
            e.docked = 1;
            many.elements.push_back(e);
        }
        QTest::newRow("10,000 elements") << workspace::Write(many) << 0;
    }

    void damagedFilesLoadWhatTheyCan()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, elements);
        QVERIFY(WriteAll(File("damaged"), bytes));
        MainWindow window;
        QVERIFY(window.LoadWorkspace(QStringLiteral("damaged")));
        QCOMPARE(static_cast<int>(window.Elements().size()), elements);
        QCOMPARE(ReadAll(File("damaged")), bytes);
        const QRect screen = QGuiApplication::primaryScreen()->virtualGeometry();
        for (ControlElement* e : window.Elements())
        {
            QVERIFY(e->width() <= 2 * std::max(screen.width(), 512));
            QVERIFY(e->height() <= 2 * std::max(screen.height(), 512));
            for (ControlElement* up = e->ParentElement(); up != nullptr; up = up->ParentElement())
                QVERIFY2(up != e, "a parent cycle survived the load");
        }
    }

    // A desk of 300 elements, far beyond what was once the bound, loads whole and saves back whole; a file
    // beyond the bound is refused with a message and an empty desk, and the save at exit leaves it as it was.
    void largeDesksAreNeverCutShort()
    {
        auto panels = [](int count) {
            workspace::Document d;
            for (int i = 0; i < count; ++i)
            {
                workspace::Element e;
                e.index = i;
                e.type = 9;
                e.x = 40 + i % 50;
                e.y = 40;
                e.width = 200;
                e.height = 200;
                e.docked = 1;
                d.elements.push_back(e);
            }
            return workspace::Write(d);
        };
        QVERIFY(WriteAll(File("large"), panels(300)));
        {
            MainWindow window;
            QVERIFY(window.LoadWorkspace(QStringLiteral("large")));
            QCOMPARE(window.Elements().size(), size_t(300));
            QVERIFY(window.SaveWorkspace(QStringLiteral("large_again"), true));
        }
        QCOMPARE(ReadAll(File("large_again")).count("<element>"), 300);

        const QByteArray over = panels(workspace::kMaxElements + 1);
        QVERIFY(WriteAll(File("last_workspace"), over));
        MainWindow window;
        QSignalSpy shown(&window, &MainWindow::Signal_InfoShown);
        QVERIFY(window.LoadWorkspace(QStringLiteral("last_workspace")));
        QVERIFY(window.Elements().empty());
        QCOMPARE(window.CurrentWorkspaceName(), QStringLiteral("None"));
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0][0].toString(), QStringLiteral("Error"));
        QCOMPARE(shown[0][1].toString(), QStringLiteral("The workspace \"last_workspace\" has more than %1 elements "
                                                        "and is not loaded. The file is left as it is.")
                                             .arg(workspace::kMaxElements));
        // The user goes on with a small desk; quitting does not write it over the refused file.
        window.AppendElement(new CameraObject(&window));
        QVERIFY(QMetaObject::invokeMethod(&window, "OnExitProgram"));
        QCOMPARE(ReadAll(File("last_workspace")), over);
        // Saving under that name on purpose does.
        QVERIFY(window.SaveWorkspace(QStringLiteral("last_workspace"), true));
        QCOMPARE(ReadAll(File("last_workspace")).count("<element>"), 1);
    }

    // Two elements whose parents name each other: the link that closes the cycle is dropped.
    void parentCycleIsBroken()
    {
        workspace::Document d;
        for (int i = 0; i < 2; ++i)
        {
            workspace::Element e;
            e.index = i;
            e.type = 9;
            e.x = 40;
            e.y = 40;
            e.width = 200;
            e.height = 200;
            e.docked = 1;
            e.parent = 1 - i;
            d.elements.push_back(e);
        }
        QVERIFY(WriteAll(File("cycle"), workspace::Write(d)));
        MainWindow window;
        QVERIFY(window.LoadWorkspace(QStringLiteral("cycle")));
        QCOMPARE(window.Elements().size(), size_t(2));
        QCOMPARE(window.Elements()[0]->ParentElement(), window.Elements()[1]);
        QVERIFY(window.Elements()[1]->ParentElement() == nullptr);
    }

    // A floating element far off every screen comes back centred.
    void offScreenElementIsCentred()
    {
        workspace::Document d;
        workspace::Element e;
        e.index = 0;
        e.type = 9;
        e.x = 50000;
        e.y = -40000;
        e.width = 200;
        e.height = 200;
        e.docked = 0;
        d.elements.push_back(e);
        QVERIFY(WriteAll(File("offscreen"), workspace::Write(d)));
        MainWindow window;
        QVERIFY(window.LoadWorkspace(QStringLiteral("offscreen")));
        QCOMPARE(window.Elements().size(), size_t(1));
        ControlElement* element = window.Elements()[0];
        bool onSomeScreen = false;
        for (const QScreen* screen : QGuiApplication::screens())
            onSomeScreen = onSomeScreen || screen->geometry().intersects(element->geometry());
        QVERIFY2(onSomeScreen, qPrintable(QStringLiteral("at %1,%2").arg(element->x()).arg(element->y())));
    }
};

QTEST_MAIN(TestMainWindowWorkspace)
#include "test_mainwindow_workspace.moc"
