// Leaving the program and clearing the desk at awkward moments: a panel whose fade ends during the teardown is
// deleted once, the teardown shows its progress in a window of its own with each value before its step's work,
// queued open results naming a window that is gone touch nothing, and the workspace actions keep the rule that
// nothing changes the desk while a camera opens.
#include "app/mainwindow.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "view/cameraobject.h"
#include "widgets/customcombobox.h"
#include "widgets/customprogressbar.h"
#include "widgets/iconbutton.h"

#include <QLineEdit>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

namespace {
class PlainElement : public ControlElement
{
public:
    PlainElement(QWidget* parent, int type) : ControlElement(parent, false)
    {
        SetType(type);
        resize(201, 141);
    }
    void ConnectControls() override {}
    void DisconnectControls() override {}
    void UpdateControls() override {}
};

constexpr int kPanelType = 8;

struct StepSeen
{
    int step = 0;
    bool window = false;
    bool visible = false;
    double value = 0;
    int camerasAlive = 0;
};

// Resets the teardown observer whatever way the test ends.
struct ObserverGuard
{
    ~ObserverGuard() { MainWindow::TeardownObserver() = {}; }
};
} // namespace

class TestMainWindowQuit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        MainWindow::RegisterElementType(kPanelType, [](QWidget* parent) { return new PlainElement(parent, 0); });
    }

    void init()
    {
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 0;
    }

    // --- Teardown

    void quittingWhileAPanelFadesOutDeletesItOnce()
    {
        ObserverGuard guard;
        ApplicationGlobals::fadeInOutTime = 300;
        auto* window = new MainWindow;
        auto* camera = new PlainElement(window, ControlElement::kCameraObjectType);
        camera->setGeometry(100, 100, 601, 401);
        window->AppendElement(camera);
        ControlElement* panel = window->AddControlElement(camera, kPanelType);
        QVERIFY(panel != nullptr);
        QSignalSpy faded(panel, &ControlElement::Signal_FadeInFinished);
        QVERIFY(faded.wait(5000));
        QPointer<ControlElement> watch(panel);
        // The panel is closed and the program quits while it fades out: the fade ends during the teardown's
        // event processing, after the teardown took its list of elements.
        QTest::mouseClick(panel->CloseButton(), Qt::LeftButton);
        auto finished = std::make_shared<QSignalSpy>(panel, &ControlElement::Signal_FinishDeletingMe);
        MainWindow::TeardownObserver() = [finished](const QWidget*, int step) {
            if (step == 2 && finished->isEmpty())
                finished->wait(5000);
        };
        window->close();
        delete window;
        QCOMPARE(finished->count(), 1);
        QVERIFY(watch.isNull());
    }

    void teardownShowsItsProgressUntilTheLastCameraWindowIsGone()
    {
        ObserverGuard guard;
        auto* window = new MainWindow;
        window->resize(900, 700);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        const QPoint centre = window->frameGeometry().center();
        QList<QPointer<ControlElement>> cameras;
        for (int i = 0; i < 2; ++i)
        {
            auto* camera = new PlainElement(window, ControlElement::kCameraObjectType);
            window->AppendElement(camera);
            cameras << camera;
        }
        std::vector<StepSeen> seen;
        QPoint barCentre;
        MainWindow::TeardownObserver() = [&](const QWidget* progress, int step) {
            int alive = 0;
            for (const auto& camera : cameras)
                alive += camera.isNull() ? 0 : 1;
            const auto* bar = qobject_cast<const CustomProgressBar*>(progress);
            seen.push_back({step, progress->isWindow(), progress->isVisible(), bar ? bar->Value() : -1, alive});
            barCentre = progress->frameGeometry().center();
        };
        // Closing hides the main window; the teardown follows.
        window->close();
        QVERIFY(!window->isVisible());
        delete window;

        QCOMPARE(int(seen.size()), 7);
        for (int i = 0; i < 7; ++i)
        {
            QCOMPARE(seen[size_t(i)].step, i);
            QVERIFY2(seen[size_t(i)].window && seen[size_t(i)].visible, "the progress is a visible window");
        }
        // Each value shows before its step's work: at step 3 (cameras) the bar says half while both cameras
        // still stop, and they are gone at step 4.
        QCOMPARE(seen[3].value, 50.0);
        QCOMPARE(seen[3].camerasAlive, 2);
        QCOMPARE(seen[4].camerasAlive, 0);
        QCOMPARE(seen[6].value, 100.0);
        QVERIFY((barCentre - centre).manhattanLength() <= 2);
    }

    // --- Open results and the desk

    void openResultsForAWindowThatIsGoneTouchNothing()
    {
        MainWindow window;
        QSignalSpy shown(&window, &MainWindow::Signal_InfoShown);
        auto* cameraWindow = new CameraObject(&window);
        window.AppendElement(cameraWindow);
        QPointer<CameraObject> watch(cameraWindow);
        QWidget* stale = cameraWindow;
        // "No workspace" (or any clear of the desk) takes the window away while its open result is queued.
        window.ClearDesk(false);
        QTRY_VERIFY(watch.isNull());
        window.OnHasOpenedCamera(QStringLiteral("cam"), stale);
        window.OnHasOpenedCameraInServiceFirmware(QStringLiteral("cam"), stale);
        QCOMPARE(shown.count(), 0);
        // The failure is still told; there is no window left to remove.
        window.OnCannotOpenCamera(QStringLiteral("cam"), QStringLiteral("busy"), stale);
        QCOMPARE(shown.count(), 1);
        QCOMPARE(shown.at(0).at(0).toString(), QStringLiteral("Cannot open camera"));
        QVERIFY(window.Elements().empty());
    }

    void workspaceActionsWaitForARunningOpen()
    {
        MainWindow window;
        auto* cameraWindow = new CameraObject(&window);
        window.AppendElement(cameraWindow);
        cameraWindow->SetOpenInProgress(true);
        QPointer<CameraObject> watch(cameraWindow);
        auto* combo = window.findChild<CustomComboBox*>();
        QVERIFY(combo != nullptr);
        const int none = combo->findData(QStringLiteral("None"));
        QVERIFY(none >= 0);
        combo->setCurrentIndex(none);
        Q_EMIT combo->activated(none);
        QCoreApplication::processEvents();
        QVERIFY(!watch.isNull());
        QCOMPARE(window.Elements().size(), size_t(1));

        // Creating a workspace does not start either.
        auto* edit = window.findChild<QLineEdit*>(QStringLiteral("WorkspaceEdit"));
        QVERIFY(edit != nullptr);
        QTest::mouseClick(window.ToolBarButton(QStringLiteral("workspace_add.png")), Qt::LeftButton);
        QVERIFY(edit->isHidden());

        // Once the open has ended, "No workspace" clears the desk.
        cameraWindow->SetOpenInProgress(false);
        Q_EMIT combo->activated(none);
        QTRY_VERIFY(watch.isNull());
        QVERIFY(window.Elements().empty());
        QTest::mouseClick(window.ToolBarButton(QStringLiteral("workspace_add.png")), Qt::LeftButton);
        QVERIFY(!edit->isHidden());
    }
};

QTEST_MAIN(TestMainWindowQuit)
#include "test_mainwindow_quit.moc"
