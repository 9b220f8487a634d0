// The camera window: the fps smoothing rule, zoom by Ctrl + wheel only, the optimise button's busy state, and
// the open flow of the main window with a simulated camera (moving images, closing stops the camera, an
// empty camera window is reused).
#include "tests/guitestsupport.h"
#include "tests/view/cameraobject/deskfixture.h"

#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "common/settings.h"
#include "view/cameraobject.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"
#include "view/customgraphicsview.h"
#include "widgets/customdiscretespinbox.h"
#include "widgets/iconbutton.h"

#include <QPointer>
#include <QSettings>
#include <QShortcut>
#include <QSignalSpy>
#include <QtTest>

#include <cstdlib>
#include <set>

namespace {

void Wheel(CustomGraphicsView* view, int angle, Qt::KeyboardModifiers modifiers)
{
    const QPoint pos = view->viewport()->rect().center();
    QWheelEvent event(pos, view->viewport()->mapToGlobal(pos), QPoint(), QPoint(0, angle), Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &event);
}

} // namespace

class TestCameraObject : public QObject
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

    void fpsFollowsADropAtOnceAndSmoothsSmallChanges()
    {
        CameraObject window(nullptr);
        for (int i = 0; i < 5; ++i)
            window.UpdateCounters(false, 10.0, 1.0, i + 1, 0, 0);
        QCOMPARE(window.SmoothedFps(), 100.0);
        // 100 -> 98: a step of 2 is smoothed.
        window.UpdateCounters(false, 1000.0 / 98.0, 1.0, 6, 0, 0);
        QVERIFY(std::abs(window.SmoothedFps() - (98.0 + 15.0 * 100.0) / 16.0) < 1e-9);
        // A drop to 20 per second shows at once.
        window.UpdateCounters(false, 50.0, 1.0, 7, 0, 0);
        QVERIFY(std::abs(window.SmoothedFps() - 20.0) < 1e-9);
        // And so does a rise by more than 3.
        QVERIFY(std::abs(CameraObject::SmoothFps(20.0, 1000.0 / 24.0) - 24.0) < 1e-9);
        QVERIFY(std::abs(CameraObject::SmoothFps(20.0, 1000.0 / 23.0) - (23.0 + 15 * 20.0) / 16.0) < 1e-9);
        // The frame counter label follows every call; a time-out (all zeros) keeps the counts.
        QVERIFY(window.CountersText().contains(QStringLiteral("acquired: 7")));
        window.UpdateCounters(true, 0, 0, 0, 0, 0);
        QVERIFY(window.CountersText().contains(QStringLiteral("acquired: 7")));
        QCOMPARE(window.SmoothedFps(), 0.0);
    }

    void wheelZoomsOnlyWithCtrl()
    {
        CameraObject window(nullptr);
        window.resize(900, 700);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.Display()->SetImageSize(800, 600);
        window.Display()->SetScaleFactor(1.0);
        window.ZoomSpinbox()->SetValue(1.0);
        CustomGraphicsView* view = window.Display()->View();

        Wheel(view, 120, Qt::NoModifier);
        Wheel(view, -120, Qt::NoModifier);
        QCOMPARE(window.Display()->GetScaleFactor(), 1.0);
        QCOMPARE(window.ZoomSpinbox()->Value(), 1.0);

        Wheel(view, 120, Qt::ControlModifier);
        QCOMPARE(window.Display()->GetScaleFactor(), 1.5);
        QCOMPARE(window.ZoomSpinbox()->Value(), 1.5);
        Wheel(view, -120, Qt::ControlModifier);
        Wheel(view, -120, Qt::ControlModifier);
        QCOMPARE(window.Display()->GetScaleFactor(), 0.67);

        // The list ends at both sides.
        for (int i = 0; i < 30; ++i)
            Wheel(view, 120, Qt::ControlModifier);
        QCOMPARE(window.Display()->GetScaleFactor(), 24.0);

        // Fit, then 1:1.
        window.FitInButton()->click();
        QCOMPARE(window.Display()->GetScaleMode(), 0);
        window.NormalSizeButton()->click();
        QCOMPARE(window.Display()->GetScaleMode(), 1);
        QCOMPARE(window.Display()->GetScaleFactor(), 1.0);
    }

    // A window smaller than its toolbars clips them: no button is squeezed or pushed over another.
    void smallWindowClipsItsToolbarsInsteadOfOverlapping()
    {
        CameraObject window(nullptr);
        window.resize(420, 300);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QList<IconButton*> buttons = window.findChildren<IconButton*>();
        QVERIFY(buttons.size() > 30);
        QVector<QRect> placed;
        for (IconButton* button : buttons)
        {
            if (!button->isVisibleTo(&window) || button->parentWidget() == &window || button->window() != &window ||
                button->toolTip() == tr("Close"))
                continue;
            QVERIFY2(button->size() == button->minimumSize(), qPrintable(button->toolTip()));
            placed << QRect(button->mapTo(&window, QPoint(0, 0)), button->size());
        }
        QVERIFY(placed.size() > 30);
        for (int i = 0; i < placed.size(); ++i)
            for (int j = i + 1; j < placed.size(); ++j)
                QVERIFY2(!placed[i].intersects(placed[j]),
                         qPrintable(QStringLiteral("buttons %1 and %2 overlap").arg(i).arg(j)));
        // The zoom factor keeps room for its widest text.
        QVERIFY(window.ZoomSpinbox()->width() >= window.ZoomSpinbox()->sizeHint().width());
    }

    void toolbarsCarryTheirTypesAndTips()
    {
        CameraObject window(nullptr);
        QCOMPARE(window.ToolButton(QStringLiteral("camera-play.png")), window.LiveButton());
        QCOMPARE(window.LiveButton()->toolTip(), QStringLiteral("Start/stop continuous acquisition"));
        IconButton* nodes = window.ToolButton(QStringLiteral("nodes.png"));
        QVERIFY(nodes != nullptr);
        QCOMPARE(nodes->property("Type").toInt(), 4);
        QVERIFY(nodes->isCheckable());
        QCOMPARE(window.ToolButton(QStringLiteral("i2c.png"))->property("Type").toInt(), 30);
        QCOMPARE(window.ToolButton(QStringLiteral("fit-in.png"))->toolTip(), QStringLiteral("Fit to screen"));
        QCOMPARE(window.ZoomSpinbox()->Value(), 1.0);
        QCOMPARE(window.MagnifierSpinbox()->Value(), 1.0);
        // Without a camera nothing acts.
        QVERIFY(!window.LiveButton()->isEnabled());
        QVERIFY(!nodes->isEnabled());
        window.LiveButton()->click();
        QVERIFY(!window.LiveButton()->isChecked());
    }

    void openButtonShowsMovingImagesAndCloseStopsTheCamera()
    {
        Desk desk;
        QVERIFY(desk.WaitForCamera(10000));
        auto& [window, list, open] = desk;

        QTest::mouseClick(open, Qt::LeftButton);
        // Watched: a failed open removes its window.
        QPointer<CameraObject> cameraWindow = CameraWindowOf(window);
        QVERIFY(cameraWindow != nullptr);
        QVERIFY(cameraWindow->Camera() != nullptr);
        // A second press while the open runs is ignored.
        if (cameraWindow->IsOpenInProgress())
        {
            QTest::mouseClick(open, Qt::LeftButton);
            QCOMPARE(CameraWindowCount(window), 1);
        }
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow || !cameraWindow->IsOpenInProgress(), 60000);
        QVERIFY2(cameraWindow, "the open failed and removed its window");
        QTRY_VERIFY(!open->IsBusy());
        QVERIFY(cameraWindow->isEnabled());
        // The new window took the size of its 16:10 image: wider than high, both on the grid (n * 20 + 1).
        QVERIFY(!cameraWindow->AwaitsSize());
        QVERIFY(cameraWindow->width() > cameraWindow->height());
        QCOMPARE(cameraWindow->width() % ApplicationGlobals::gridSize, 1);
        QCOMPARE(cameraWindow->height() % ApplicationGlobals::gridSize, 1);
        QPointer<VisionCamera> camera = cameraWindow->Camera();
        QTRY_VERIFY_WITH_TIMEOUT(camera->IsAcquiring(), 10000);

        // Two different frames reach the screen.
        CustomGraphicsScene* scene = cameraWindow->Display()->Scene();
        std::set<uint64_t> painted;
        scene->SetPaintedHook([&painted, scene] { painted.insert(scene->LastPaintedTimestamp()); });
        QTRY_VERIFY_WITH_TIMEOUT(painted.size() >= 2, 15000);
        QVERIFY(!cameraWindow->IsWaitingForImage());
        QVERIFY(cameraWindow->Title().contains(QStringLiteral(" x ")));
        QVERIFY(cameraWindow->LiveButton()->isChecked());
        scene->SetPaintedHook({});

        // Live off and on through the button.
        cameraWindow->LiveButton()->click();
        QVERIFY(!camera->IsAcquiring());
        cameraWindow->LiveButton()->click();
        QVERIFY(camera->IsAcquiring());

        // Closing the window deletes the camera, which stops acquisition and closes the device.
        QPointer<CameraObject> guard = cameraWindow;
        cameraWindow->OnButtonClose();
        QTRY_VERIFY_WITH_TIMEOUT(guard.isNull(), 10000);
        QVERIFY(camera.isNull());
        QCOMPARE(CameraWindowCount(window), 0);
        // The camera can be opened again: the device was released.
        QTRY_VERIFY_WITH_TIMEOUT(open->isEnabled(), 10000);
        QTest::mouseClick(open, Qt::LeftButton);
        QVERIFY(CameraWindowOf(window) != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!CameraWindowOf(window)->IsOpenInProgress(), 60000);
        QVERIFY(CameraWindowOf(window)->Camera()->IsOpen());
    }

    void emptyCameraWindowIsReused()
    {
        Desk desk;
        QVERIFY(desk.WaitForCamera(10000));
        auto& [window, list, open] = desk;

        // Watched: a failed open removes its window.
        QPointer<CameraObject> empty = new CameraObject(&window);
        window.AppendElement(empty);
        QCOMPARE(CameraWindowCount(window), 1);
        QVERIFY(empty->Camera() == nullptr);

        QShortcut* ctrlN = nullptr;
        for (QShortcut* shortcut : window.Shortcuts())
            if (shortcut->key() == QKeySequence(QStringLiteral("CTRL+N")))
                ctrlN = shortcut;
        QVERIFY(ctrlN != nullptr);
        emit ctrlN->activated();
        QCOMPARE(CameraWindowCount(window), 1);
        QCOMPARE(CameraWindowOf(window), empty.data());
        QVERIFY(empty->Camera() != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!empty || !empty->IsOpenInProgress(), 60000);
        QVERIFY2(empty, "the open failed and removed its window");
        QVERIFY(empty->Camera()->IsOpen());

        // A lost camera that comes back: the title says so meanwhile, and the live button returns.
        QTRY_VERIFY_WITH_TIMEOUT(empty->Camera()->IsAcquiring(), 10000);
        QVERIFY(!empty->Title().contains(QStringLiteral("disconnected")));
        empty->OnDisconnectDevice(false);
        QVERIFY(empty->Title().endsWith(QStringLiteral(" (disconnected)")));
        QVERIFY(empty->LiveButton()->IsBusy());
        QVERIFY(!empty->LiveButton()->isEnabled());
        empty->OnReconnectDevice();
        QVERIFY(!empty->Title().contains(QStringLiteral("disconnected")));
        QVERIFY(!empty->LiveButton()->IsBusy());
        QVERIFY(empty->LiveButton()->isEnabled());
    }

    // A slow link makes the open take seconds. Closing the window meanwhile is carried out once the open has
    // ended (the open thread works on the camera); deleting the window outright cancels the open and waits for
    // it, and neither leaves the open worker on a deleted camera (the ASan build catches that).
    void closeDuringTheOpenWaitsForTheOpen()
    {
        ::setenv("ORNA_SIM_LINK_LATENCY_US", "20000", 1);
        // A thread handed off by the stop rule would leave its worker on the deleted camera.
        QStringList handedOff;
        QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
                         [&handedOff](QString, QString, QString message, int) {
                             if (message.contains(QStringLiteral("did not stop")))
                                 handedOff << message;
                         });
        Desk desk;
        QVERIFY(desk.WaitForCamera(10000));
        auto& [window, list, open] = desk;

        // An empty window stays enabled while its camera opens: its close button can be pressed.
        auto* reused = new CameraObject(&window);
        window.AppendElement(reused);
        QTest::mouseClick(open, Qt::LeftButton);
        QCOMPARE(CameraWindowOf(window), reused);
        QVERIFY(reused->IsOpenInProgress());
        QPointer<CameraObject> guard = reused;
        QPointer<VisionCamera> camera = reused->Camera();
        reused->OnButtonClose();
        QVERIFY(reused->IsCloseRequested());
        QVERIFY(!guard.isNull());
        QVERIFY(!camera.isNull());
        QTRY_VERIFY_WITH_TIMEOUT(guard.isNull(), 60000);
        QVERIFY(camera.isNull());

        // Deleted outright in the middle of the open.
        QTRY_VERIFY_WITH_TIMEOUT(open->isEnabled(), 10000);
        QTest::mouseClick(open, Qt::LeftButton);
        CameraObject* doomed = CameraWindowOf(window);
        QVERIFY(doomed != nullptr);
        QVERIFY(doomed->IsOpenInProgress());
        guard = doomed;
        camera = doomed->Camera();
        // The way the desk takes windows away, past the close button.
        emit doomed->Signal_StartDeletingMe();
        QTRY_VERIFY_WITH_TIMEOUT(guard.isNull(), 60000);
        QVERIFY(camera.isNull());
        ::unsetenv("ORNA_SIM_LINK_LATENCY_US");
        QVERIFY2(handedOff.isEmpty(), qPrintable(handedOff.join(QLatin1Char('\n'))));
    }

    void serviceFirmwareLeavesOnlyTheGenericParameters()
    {
        ::setenv("ORNA_SIM_CAMERAS", "service", 1);
        Desk desk;
        QVERIFY(desk.Exposed());
        auto& [window, list, open] = desk;
        QTRY_VERIFY_WITH_TIMEOUT(list.FirstOpenableDevice() != nullptr, 10000);
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        // A service camera ends its open without a stream; the window still leaves the open state.
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QVERIFY(cameraWindow->IsServiceFirmware());
        QVERIFY(!cameraWindow->LiveButton()->isEnabled());
        QVERIFY(!cameraWindow->FreezeButton()->isEnabled());
        QVERIFY(!cameraWindow->MagicButton()->isEnabled());
        QVERIFY(!cameraWindow->ToolButton(QStringLiteral("brightness.png"))->isEnabled());
        QVERIFY(cameraWindow->ToolButton(QStringLiteral("nodes.png"))->isEnabled());
        // A double click does not switch a service camera's view.
        cameraWindow->OnMouseDoubleClicked();
        QVERIFY(cameraWindow->LiveButton()->parentWidget()->isVisibleTo(cameraWindow));
        ::setenv("ORNA_SIM_CAMERAS", "1", 1);
    }

    void secondOptimisePressHasNoEffect()
    {
        Desk desk;
        QVERIFY(desk.WaitForCamera(10000));
        auto& [window, list, open] = desk;
        auto* cameraWindow = qobject_cast<CameraObject*>(window.OpenCameraInNewWindow(list.FirstOpenableDevice()));
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(cameraWindow->Camera()->IsAcquiring(), 10000);

        cameraWindow->MagicButton()->click();
        QVERIFY(cameraWindow->MagicButton()->IsBusy());
        QCOMPARE(cameraWindow->MagicRunCount(), 1);
        QVERIFY(!cameraWindow->Camera()->IsAcquiring());
        // The press during the run is ignored; the button is also disabled for it.
        QMetaObject::invokeMethod(cameraWindow, "OnButtonMagic");
        QCOMPARE(cameraWindow->MagicRunCount(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->MagicButton()->IsBusy(), 30000);
        // Acquisition that ran before comes back.
        QTRY_VERIFY_WITH_TIMEOUT(cameraWindow->Camera()->IsAcquiring(), 5000);
    }
};

QTEST_MAIN(TestCameraObject)
#include "test_cameraobject.moc"
