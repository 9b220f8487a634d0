// Every control of the options acts on the object it names, at once and from the start, not only on its key:
// the camera list's automatic update (and the notification row reading the list), the kernel transport filter
// (refused while a camera is open), the restore flag, the fade time of elements already built, the image
// counter, and path rows that show the folder in use.
#include "app/applicationsettings.h"
#include "app/loggerwindow.h"
#include "app/mainwindow.h"
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "discovery/cameralistmodel.h"
#include "tests/guitestsupport.h"
#include "view/cameraobject.h"
#include "widgets/customedit.h"
#include "widgets/customintslider.h"
#include "widgets/customswitch.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

namespace {
class PlainElement : public ControlElement
{
public:
    PlainElement(QWidget* parent, int type) : ControlElement(parent, false) { SetType(type); }
    void ConnectControls() override {}
    void DisconnectControls() override {}
    void UpdateControls() override {}
};

// What a click on the switch does, without two quick clicks becoming a double click.
void Flip(CustomSwitch* control)
{
    control->SetValue(!control->Value());
    Q_EMIT control->Signal_ValueChanged(control->Value());
}
} // namespace

class TestMainWindowOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        // Only the simulated transport: no GigE discovery leaves this process.
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "1", 1);
    }

    void init() { guitest::ResetApplicationState(); }

    void listAutoUpdateFollowsTheSwitchAndTheRowReadsTheList()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        QVERIFY(list.IsAutoUpdate());
        ApplicationSettings* options = window.Settings();
        options->UpdateControls();
        Flip(options->SwitchEnableAutoUpdate());
        QVERIFY(!list.IsAutoUpdate());
        QCOMPARE(window.NotificationRowText(), QStringLiteral("Automatic camera list update disabled!"));
        // The row says what the list does, whoever switched it.
        list.SetAutoUpdate(true);
        window.UpdateNotificationRow();
        QVERIFY(window.NotificationRowText().isEmpty());
        window.SetCameraList(nullptr);
    }

    void listSwitchesActFromTheStart()
    {
        settings::WriteBool(QStringLiteral("camera_list_auto_update_enable"), false);
        settings::WriteBool(QStringLiteral("only_kvx_kernel_tls"), true);
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        QVERIFY(!list.IsAutoUpdate());
        QVERIFY(list.IsOnlyKernelTls());
        QCOMPARE(window.NotificationRowText(), QStringLiteral("Automatic camera list update disabled!"));
        window.SetCameraList(nullptr);
    }

    void kernelTransportSwitchReachesTheListAndIsRefusedWithAnOpenCamera()
    {
        MainWindow window;
        CameraListModel list;
        window.SetCameraList(&list);
        ApplicationSettings* options = window.Settings();
        options->UpdateControls();
        Flip(options->SwitchOnlyKernelTLs());
        QVERIFY(list.IsOnlyKernelTls());
        Flip(options->SwitchOnlyKernelTLs());
        QVERIFY(!list.IsOnlyKernelTls());

        // With a camera open the list is not reset: the switch and its key go back, and the user is told.
        // Each flip above asked for a reset of the manager; a device found between the two is gone after the
        // second. So the resets end first, then one pass of our own, whose end also ends its lock probes.
        QTRY_VERIFY_WITH_TIMEOUT(!list.IsUpdateRunning(), 10000);
        QCoreApplication::processEvents();
        QSignalSpy finished(&list, &CameraListModel::UpdateFinished);
        list.RunUpdate();
        QVERIFY(finished.wait(10000));
        QVERIFY(list.FirstOpenableDevice() != nullptr);
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QVERIFY(cameraWindow->Camera() != nullptr);
        QSignalSpy shown(&window, &MainWindow::Signal_InfoShown);
        Flip(options->SwitchOnlyKernelTLs());
        QVERIFY(!list.IsOnlyKernelTls());
        QVERIFY(!options->SwitchOnlyKernelTLs()->Value());
        QVERIFY(!settings::ReadBool(QStringLiteral("only_kvx_kernel_tls"), 0));
        QCOMPARE(shown.count(), 1);
        QVERIFY(shown.at(0).at(1).toString().startsWith(
            QStringLiteral("Can't reset the device manager while there are devices open. The following devices (1)")));
        window.ClearDesk(false);
        window.SetCameraList(nullptr);
    }

    void restorePollingAndCounterReachTheirReceivers()
    {
        MainWindow window;
        ApplicationSettings* options = window.Settings();
        options->UpdateControls();
        QVERIFY(window.RestoreOnReconnect());
        Flip(options->SwitchReconnectParameterRestore());
        QVERIFY(!window.RestoreOnReconnect());
        QVERIFY(window.ParameterPolling());
        Flip(options->SwitchEnableNodePolling());
        QVERIFY(!window.ParameterPolling());

        window.SetAutoImageSaveCounter(17);
        QVERIFY(QMetaObject::invokeMethod(options, "OnButtonAutoImageSaveIndexReset"));
        QCOMPARE(window.AutoImageSaveCounter(), 0);
    }

    void fadeTimeReachesElementsAlreadyBuilt()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        window.AppendElement(camera);
        const int before = camera->FadeTime();
        ApplicationSettings* options = window.Settings();
        options->SliderAnimationDuration()->SetValue(before == 100 ? 500 : 100);
        QVERIFY(QMetaObject::invokeMethod(options, "OnSliderAnimationDuration"));
        const int chosen = ApplicationGlobals::fadeInOutTime;
        QVERIFY(chosen != before);
        QCOMPARE(camera->FadeTime(), chosen);
        QCOMPARE(window.Logger()->FadeTime(), chosen);
        ApplicationGlobals::fadeInOutTime = 0;
    }

    void pathRowsShowTheFolderInUse()
    {
        MainWindow window;
        ApplicationSettings* options = window.Settings();
        options->UpdateControls();
        QCOMPARE(options->PathEdit(QStringLiteral("path_workspace"))->text(), window.WorkspacePath());
        QCOMPARE(options->PathEdit(QStringLiteral("path_auto_image_save"))->text(), window.AutoImageSavePath());
        QVERIFY(!window.WorkspacePath().isEmpty());
        // Shown, not chosen: the key stays empty until the user picks a folder.
        QVERIFY(settings::ReadString(QStringLiteral("path_workspace")).isEmpty());
    }
};

QTEST_MAIN(TestMainWindowOptions)
#include "test_mainwindow_options.moc"
