// The camera manager panel over simulated cameras: buttons and context menu by the row's actions, open and
// close through the main window, the reset question, saving the descriptions, the info pane, and its
// workspace values.
#include "app/mainwindow.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "discovery/cameralistinfo.h"
#include "discovery/cameralistmodel.h"
#include "discovery/cameralisttreeview.h"
#include "discovery/cameramanager.h"
#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/nodemap.h"
#include "orna/core/port.h"
#include "orna/core/system.h"
#include "view/cameraobject.h"
#include "widgets/customswitch.h"
#include "widgets/iconbutton.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

using namespace cameralist;

namespace {

QModelIndex FindKind(const QAbstractItemModel& model, const QString& kind, const QModelIndex& parent = {})
{
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(ItemTypeRole).toString() == kind)
            return index;
        const QModelIndex below = FindKind(model, kind, index);
        if (below.isValid())
            return below;
    }
    return {};
}

QByteArray ReadAll(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestCameraManager : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    // The main window with its list and the manager built over it, the list's first pass done.
    static bool Listed(CameraListModel& list)
    {
        QSignalSpy finished(&list, &CameraListModel::UpdateFinished);
        list.RunUpdate();
        QElapsedTimer timer;
        timer.start();
        while (!FindKind(list, QStringLiteral("Device")).isValid() && timer.elapsed() < 20000)
            finished.wait(1000);
        return FindKind(list, QStringLiteral("Device")).isValid();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "1", 1);
        QVERIFY(folder.isValid());
    }

    void init()
    {
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        settings::Write(QStringLiteral("path_workspace"), folder.path());
        settings::WriteBool(QStringLiteral("open_camera_with_optimal_settings"), false);
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 0;
    }

    void cleanup()
    {
        CameraManager::SaveFileNameProvider() = nullptr;
        CameraManager::QuestionProvider() = nullptr;
    }

    // Tool buttons in order with their tooltips; the buttons and the context menu follow the row's actions,
    // and a row without actions disables every one.
    void buttonsFollowTheRowsActions()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        CameraManager* manager = window.Manager();
        QVERIFY(manager != nullptr);
        QCOMPARE(manager->Model(), &list);
        QStringList icons;
        for (IconButton* button : manager->ToolButtons())
            icons << button->IconFile();
        QCOMPARE(icons, (QStringList{"camera.png", "camera-close.png", "download-rxml.png", "download-xml.png",
                                     "sync.png", "information-outline.png"}));
        QCOMPARE(manager->ToolButton("camera-close.png")->toolTip(), QStringLiteral("Close camera, keep window"));
        QVERIFY(Listed(list));
        manager->SetBasicView(false);

        const QModelIndex device = FindKind(list, QStringLiteral("Device"));
        manager->UpdateButtonStates(device);
        QVERIFY(manager->ToolButton("camera.png")->isEnabled());
        QVERIFY(!manager->ToolButton("camera-close.png")->isEnabled());
        QVERIFY(manager->ToolButton("download-rxml.png")->isEnabled());
        QVERIFY(manager->ToolButton("download-xml.png")->isEnabled());
        QVERIFY(manager->ToolButton("sync.png")->isEnabled());
        QVERIFY(manager->ToolButton("information-outline.png")->isEnabled());
        QCOMPARE(manager->ContextMenuTexts(device), (QStringList{"open...", "save remote XML...", "save XML..."}));

        const QModelIndex system = FindKind(list, QStringLiteral("System"));
        QVERIFY(system.isValid());
        QVERIFY(list.ActionsOf(system).empty());

        // The info pane by kind, under the tree's labels.
        QCOMPARE(CameraListInfo::Lines(device).first().first, QStringLiteral("Device ID"));
        QCOMPARE(CameraListInfo::Lines(device).at(3).first, QStringLiteral("Serial number"));
        const auto systemLines = CameraListInfo::Lines(system);
        QCOMPARE(systemLines.first().first, QStringLiteral("Transport layer ID"));
        QCOMPARE(systemLines.at(systemLines.size() - 2).first, QStringLiteral("CTI full path"));
        QVERIFY(CameraListInfo::Lines(QModelIndex()).isEmpty());
        // A producer group of the basic view has no actions.
        manager->SetBasicView(true);
        const QModelIndex group = FindKind(list, QStringLiteral("Group"));
        QVERIFY(group.isValid());
        manager->UpdateButtonStates(group);
        for (IconButton* button : manager->ToolButtons())
            QVERIFY2(!button->isEnabled(), qPrintable(button->IconFile()));
        QVERIFY(manager->ContextMenuTexts(group).isEmpty());
        // Without a current row, update and info stay usable (an empty list can be updated); nothing else is.
        manager->UpdateButtonStates(QModelIndex());
        QStringList enabled;
        for (IconButton* button : manager->ToolButtons())
            if (button->isEnabled())
                enabled << button->IconFile();
        QCOMPARE(enabled, (QStringList{"sync.png", "information-outline.png"}));

        window.SetCameraList(nullptr);
        QVERIFY(window.Manager() == nullptr);
    }

    // Open through the manager (the main window makes the window), close keeping the window; the reset
    // question appears only while a camera is open, and a refusal changes nothing.
    void openCloseAndTheResetQuestion()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        CameraManager* manager = window.Manager();
        QVERIFY(Listed(list));
        QStringList asked;
        CameraManager::QuestionProvider() = [&asked](QWidget*, const QString& title, const QString& text) {
            asked << title + "|" + text;
            return false;
        };
        manager->OnButtonResetDeviceManager();
        QVERIFY(asked.isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(!list.IsUpdateRunning(), 20000);
        QVERIFY(Listed(list));

        manager->OpenDevice(FindKind(list, QStringLiteral("Device")));
        QCOMPARE(window.Elements().size(), size_t(1));
        auto* cameraWindow = qobject_cast<CameraObject*>(window.Elements()[0]);
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QVERIFY(cameraWindow->Camera() != nullptr && cameraWindow->Camera()->IsOpen());
        QTRY_VERIFY_WITH_TIMEOUT(list.HasOpenDevice(), 10000);

        QSignalSpy finished(&list, &CameraListModel::UpdateFinished);
        manager->OnButtonResetDeviceManager();
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked[0], QStringLiteral("Please Note!|One or more open cameras were found. If you want to "
                                          "continue, these cameras will be closed.\nProceed anyway?"));
        QVERIFY(cameraWindow->Camera() != nullptr);

        const QModelIndex device = FindKind(list, QStringLiteral("Device"));
        manager->UpdateButtonStates(device);
        QTRY_VERIFY(manager->ToolButton("camera-close.png")->isEnabled());
        manager->CloseDevice(device);
        QCOMPARE(window.Elements().size(), size_t(1));
        QVERIFY(cameraWindow->Camera() == nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!list.HasOpenDevice(), 10000);
        window.SetCameraList(nullptr);
    }

    // Save remote XML writes exactly the camera's description; the dialog's caption, filters, proposal and
    // remembered folder; an unwritable place gives the failure text and writes nothing.
    void saveXmlWritesTheDescription()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        CameraManager* manager = window.Manager();
        QVERIFY(Listed(list));
        const QModelIndex device = FindKind(list, QStringLiteral("Device"));
        const auto descriptor = list.DescriptorOf(device);
        QVERIFY(descriptor != nullptr);

        QStringList dialog;
        QString target = folder.path() + "/remote.xml";
        CameraManager::SaveFileNameProvider() = [&](QWidget*, const QString& caption, const QString& dir,
                                                    const QString& filters, const QString& proposal) {
            dialog = QStringList{caption, dir, filters, proposal};
            return target;
        };
        QVERIFY(manager->SaveXml(device, true));
        QCOMPARE(dialog[0], QStringLiteral("Save xml"));
        QCOMPARE(dialog[2], QStringLiteral("XML file (*.xml);;ZIP file (*.zip)"));
        QVERIFY2(dialog[3].endsWith("_RemoteDevice.xml"), qPrintable(dialog[3]));
        QCOMPARE(settings::ReadString(QStringLiteral("path_xml")), folder.path());
        // The camera was opened for the save only.
        QVERIFY(descriptor->GetOpenDevice() == nullptr);
        std::string remoteXml;
        std::string localXml;
        {
            auto opened = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
            remoteXml = opened->GetRemoteDevice()->GetNodeMap(0)->GetXml();
            localXml = opened->GetNodeMap(0)->GetXml();
        }
        QVERIFY(!remoteXml.empty());
        QCOMPARE(ReadAll(target), QByteArray::fromStdString(remoteXml));

        target = folder.path() + "/local.xml";
        QVERIFY(manager->SaveXml(device, false));
        QCOMPARE(dialog[1], folder.path());
        QCOMPARE(ReadAll(target), QByteArray::fromStdString(localXml));
        QVERIFY(localXml != remoteXml);

        target = folder.path() + "/not/there/remote.xml";
        QSignalSpy shown(manager, &CameraManager::Signal_InfoShown);
        QVERIFY(!manager->SaveXml(device, true));
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0][1].toString(),
                 QStringLiteral("Writing to ") + target + " failed. Make sure you have the correct access rights.\n");
        QVERIFY(!QFile::exists(target));
        window.SetCameraList(nullptr);
    }

    // A camera that publishes its description zipped: Save remote XML writes the archive byte for byte under
    // a proposed .zip name, with the ZIP filter first; system and interface rows save their own descriptions.
    void zippedDescriptionAndModuleRows()
    {
        ::setenv("ORNA_SIM_CAMERAS", "zipped", 1);
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        CameraManager* manager = window.Manager();
        const bool listed = Listed(list);
        ::setenv("ORNA_SIM_CAMERAS", "1", 1);
        QVERIFY(listed);
        manager->SetBasicView(false);
        const QModelIndex device = FindKind(list, QStringLiteral("Device"));
        const auto descriptor = list.DescriptorOf(device);
        QVERIFY(descriptor != nullptr);
        QCOMPARE(descriptor->GetModelName(), std::string("LVS-2300C"));

        QStringList dialog;
        QString target = folder.path() + "/camera.zip";
        CameraManager::SaveFileNameProvider() = [&](QWidget*, const QString& caption, const QString& dir,
                                                    const QString& filters, const QString& proposal) {
            dialog = QStringList{caption, dir, filters, proposal};
            return target;
        };
        QVERIFY(manager->SaveXml(device, true));
        QCOMPARE(dialog[2], QStringLiteral("ZIP file (*.zip);;XML file (*.xml)"));
        QVERIFY2(dialog[3].endsWith("/LVS-2300C_RemoteDevice.zip"), qPrintable(dialog[3]));
        QVERIFY(descriptor->GetOpenDevice() == nullptr);
        QByteArray archive;
        std::string remoteXml;
        {
            auto opened = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
            const auto port = opened->GetRemoteDevice()->GetPort();
            const auto url = port->GetURL(0);
            const std::vector<uint8_t> bytes = port->Read(url->GetFileRegisterAddress(), url->GetFileSize());
            archive = QByteArray(reinterpret_cast<const char*>(bytes.data()), int(bytes.size()));
            remoteXml = opened->GetRemoteDevice()->GetNodeMap(0)->GetXml();
        }
        QVERIFY(archive.startsWith("PK\x03\x04"));
        QCOMPARE(ReadAll(target), archive);
        QVERIFY(archive.size() > int(remoteXml.size()));

        const QModelIndex system = FindKind(list, QStringLiteral("System"));
        const QModelIndex iface = FindKind(list, QStringLiteral("Interface"));
        QVERIFY(system.isValid() && iface.isValid());
        for (const QModelIndex& row : {system, iface})
        {
            manager->UpdateButtonStates(row);
            QVERIFY(manager->ToolButton("download-xml.png")->isEnabled());
            QVERIFY(!manager->ToolButton("download-rxml.png")->isEnabled());
            QVERIFY(!manager->ToolButton("camera.png")->isEnabled());
            QCOMPARE(manager->ContextMenuTexts(row), QStringList{"save XML..."});
        }
        target = folder.path() + "/system.xml";
        QVERIFY(manager->SaveXml(system, false));
        QVERIFY2(dialog[3].endsWith("_System.xml"), qPrintable(dialog[3]));
        QCOMPARE(ReadAll(target), QByteArray::fromStdString(list.SystemOf(system)->GetNodeMap(0)->GetXml()));
        target = folder.path() + "/interface.xml";
        QVERIFY(manager->SaveXml(iface, false));
        QVERIFY2(dialog[3].endsWith("_Interface.xml"), qPrintable(dialog[3]));
        QCOMPARE(dialog[2], QStringLiteral("XML file (*.xml);;ZIP file (*.zip)"));
        QCOMPARE(ReadAll(target), QByteArray::fromStdString(list.InterfaceOf(iface)->GetNodeMap(0)->GetXml()));
        window.SetCameraList(nullptr);
    }

    // View mode and info pane: the switch writes its key; the workspace values come back on another manager.
    void viewModeAndWorkspaceValues()
    {
        CameraListModel list;
        CameraListModel other;
        {
            CameraManager manager(nullptr, &list);
            QVERIFY(!manager.IsBasicView());
            Q_EMIT manager.ViewModeSwitch()->Signal_ValueChanged(false);
            QVERIFY(manager.IsBasicView());
            QVERIFY(list.IsBasicView());
            QCOMPARE(settings::ReadInt(QStringLiteral("camera_manager_view_mode"), 0), 1);
            manager.SetInfoShown(false);
            const auto values = manager.WorkspaceValues();
            QCOMPARE(values.size(), 3);
            QCOMPARE(values[0], qMakePair(QStringLiteral("cameramanager_viewmode"), QStringLiteral("1")));
            QCOMPARE(values[1], qMakePair(QStringLiteral("cameramanager_showinfo"), QStringLiteral("0")));

            settings::Write(QStringLiteral("camera_manager_view_mode"), 0);
            CameraManager second(nullptr, &other);
            QVERIFY(!second.IsBasicView());
            second.ApplyWorkspaceValues(values);
            QVERIFY(second.IsBasicView());
            QVERIFY(!second.IsInfoShown());
            // Values that are no numbers change nothing.
            second.ApplyWorkspaceValues({{QStringLiteral("cameramanager_viewmode"), QStringLiteral("x")},
                                         {QStringLiteral("cameramanager_showinfo"), QStringLiteral("-1")}});
            QVERIFY(second.IsBasicView());
            QVERIFY(!second.IsInfoShown());
        }
    }
};

QTEST_MAIN(TestCameraManager)
#include "test_cameramanager.moc"
