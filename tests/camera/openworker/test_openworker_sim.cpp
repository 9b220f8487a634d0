// Opening simulated cameras the way the application does (open on openThread, results queued to the main
// window): a locked camera stops at the lock test with the exact text, a service camera opens without data
// stream and acquisition, a colour camera opens and acquires and its event worker passes the camera's test
// event on, and a camera with a boot error reaches the main window's boot status report.
#include "app/mainwindow.h"
#include "camera/visioncamera.h"
#include "camera/visioncameraopenworker.h"
#include "camera/visioneventworker.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "common/settings.h"
#include "simdescriptors.h"

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simregistry.h"
#include "orna/ipl/pixelformat.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

// Stands in for the main window: records the open results by the slot names the camera connects to.
class OpenResults : public QWidget
{
    Q_OBJECT

public:
    QStringList opened, service, cannot;
    QStringList errors;

public Q_SLOTS:
    void OnHasOpenedCamera(QString name, QWidget*) { opened << name; }
    void OnHasOpenedCameraInServiceFirmware(QString name, QWidget*) { service << name; }
    void OnCannotOpenCamera(QString name, QString error, QWidget*)
    {
        cannot << name;
        errors << error;
    }
};

class TestOpenWorkerSim : public QObject
{
    Q_OBJECT

private:
    testcams::Transport sim;
    QStringList logErrors;

    std::unique_ptr<VisionCamera> Open(const char* serial, QWidget* window, QWidget* mainWindow, bool acquire)
    {
        auto descriptor = sim.BySerial(serial);
        if (!descriptor)
            return nullptr;
        auto camera = std::make_unique<VisionCamera>(window, mainWindow, descriptor, acquire, false, true);
        camera->StartOpen();
        return camera;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, "color,locked,service,booterror,mono", 1);
        orna::Library::Initialize();
        if (!sim.Open("sim:"))
            QSKIP("the sim: producer is not offered");
        connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
                [this](QString, QString thread, QString message, int) { logErrors << thread + " " + message; });
    }

    void init() { logErrors.clear(); }
    // Every case opens the cameras in their own start formats.
    void cleanup()
    {
        for (const auto& [serial, format] : {std::pair<const char*, uint32_t>{"LVSC00001", orna::ipl::BayerRG8},
                                             std::pair<const char*, uint32_t>{"LVSM00001", orna::ipl::Mono8}})
            if (auto sim = orna::core::sim::SimCameraRegistry::Instance().Find(serial))
                sim->WriteMemory(orna::core::sim::reg::PixelFormat, &format, sizeof format);
    }

    void lockedCameraStopsAtTheLockTest()
    {
        OpenResults results;
        auto camera = Open("LVSL00001", &results, &results, true);
        QVERIFY(camera);
        QTRY_COMPARE(results.cannot.size(), 1);
        QCOMPARE(results.errors.front(),
                 QStringLiteral("The camera is password protected. To be able to open the camera, use the tool "
                                "kvx_devicepassword to unlock the camera."));
        QVERIFY(results.opened.isEmpty() && results.service.isEmpty());
        QVERIFY(camera->IsOpen()); // the steps before stay done; closing copes with it
        QVERIFY(!camera->GetDataStream());
        QVERIFY(!camera->IsAcquiring());
        QVERIFY(!camera->GetEventThread()->isRunning());
    }

    void serviceCameraOpensWithoutStreamOrAcquisition()
    {
        OpenResults results;
        auto camera = Open("LVSS00001", &results, &results, true);
        QVERIFY(camera);
        QTRY_COMPARE(results.service.size(), 1);
        QVERIFY(results.service.front().toLower().contains("service"));
        QVERIFY(results.opened.isEmpty() && results.cannot.isEmpty());
        QVERIFY(camera->IsOpen());
        QVERIFY(!camera->GetDataStream());
        QVERIFY(!camera->IsAcquiring());
        QCOMPARE(camera->GetBootStatusText(), QStringLiteral("OK"));
        QTRY_VERIFY(!camera->GetOpenThread()->isRunning());

        // The reduced description has no user sets and no trigger: the optimise routine, with and without
        // the reset to defaults, goes on without touching either; without a stream its run ends at once.
        logErrors.clear();
        QVERIFY(!camera->IsUserSetCommandLoadAvailable());
        QVERIFY(!camera->HasNode("TriggerSelector"));
        // One run at a time: the second starts after the first has ended.
        QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), true));
        QVERIFY(camera->WaitForOneShotTask(5000));
        QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false));
        QVERIFY(camera->WaitForOneShotTask(5000));
        QCoreApplication::processEvents(); // log lines from the task's thread arrive queued
        QVERIFY2(logErrors.isEmpty(), qPrintable(logErrors.join("\n")));
    }

    // A close during an open returns at once wherever it lands: before the open thread has run its first step,
    // or while the open waits for the camera list's lock probe (which holds a new camera open for a moment; here
    // it never lets go, so only the cancel can end that wait early). The delays move the close across the open's
    // first steps; each close must come back well inside the probe wait.
    void closeDuringAnOpenReturnsAtOnce()
    {
        auto descriptor = sim.BySerial("LVSC00001");
        QVERIFY(descriptor);
        auto probe = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
        QVERIFY(probe);
        for (const int delayMs : {0, 0, 50, 150, 300})
        {
            OpenResults results;
            auto camera = std::make_unique<VisionCamera>(&results, &results, descriptor, true, false, true);
            camera->StartOpen();
            QThread::msleep(delayMs);
            QElapsedTimer closing;
            closing.start();
            camera.reset();
            const qint64 closeMs = closing.elapsed();
            QCoreApplication::processEvents();
            QVERIFY2(closeMs < 1000,
                     qPrintable(QStringLiteral("a close %1 ms into the open took %2 ms").arg(delayMs).arg(closeMs)));
            // A cancelled open reports nothing: the window it would name is going.
            QVERIFY(results.opened.isEmpty() && results.cannot.isEmpty() && results.service.isEmpty());
        }
    }

    void colorCameraOpensAcquiresAndPassesEventsOn()
    {
        OpenResults results;
        auto camera = Open("LVSC00001", &results, &results, true);
        QVERIFY(camera);
        QSignalSpy opened(camera.get(), &VisionCamera::Signal_Opened);
        QTRY_COMPARE(results.opened.size(), 1);
        QVERIFY(results.cannot.isEmpty() && results.service.isEmpty());
        QTRY_COMPARE(opened.size(), 1);
        QVERIFY(camera->IsAcquiring());
        QVERIFY(camera->GetDataStream());
        QVERIFY(camera->IsColorCamera());
        QCOMPARE(camera->GetWaitTimeout(), ~uint64_t(0));
        QCOMPARE(camera->GetCameraName(), results.opened.front());
        QCOMPARE(camera->GetModelName(), QStringLiteral("LVS-2300C"));
        QVERIFY(camera->GetFirmwareVersion() != QLatin1String("unknown"));
        QTRY_VERIFY(camera->GetEventThread()->isRunning());
        QVERIFY2(logErrors.isEmpty(), qPrintable(logErrors.join('\n')));

        auto* worker = camera->GetEventWorker();
        QVERIFY(worker);
        QSignalSpy events(worker, &VisionEventWorker::Signal_RemoteDeviceEvent);
        QVERIFY(camera->SetEnumerationEntry("EventSelector", "Test"));
        QVERIFY(camera->SetEnumerationEntry("EventNotification", "On"));
        // The worker's thread runs before its controllers listen, and an event sent in between is gone: send
        // until one arrives, then match the last one against the camera's own timestamp.
        for (int attempt = 0; attempt < 10 && events.isEmpty(); ++attempt)
        {
            QVERIFY(camera->ExecuteCommand("TestEventGenerate"));
            events.wait(500);
        }
        QVERIFY(!events.isEmpty());
        QCOMPARE(events.front().at(0).toString(), QStringLiteral("Test"));
        int64_t timestamp = 0;
        QTRY_VERIFY(camera->GetIntegerValue("EventTestTimestamp", ReadValueType::Value, timestamp) &&
                    events.last().at(1).toLongLong() == qint64(timestamp));

        // Closing stops the event worker out of its wait, quietly.
        QSignalSpy closed(camera.get(), &VisionCamera::Signal_Closed);
        camera->ExitCamera();
        QCOMPARE(closed.size(), 1);
        QVERIFY(!camera->GetEventThread() || !camera->GetEventThread()->isRunning());
        camera.reset();
        QVERIFY2(logErrors.isEmpty(), qPrintable(logErrors.join('\n')));
    }

    // A camera that starts in a deeper format than 8 bits still opens on the 8-bit destination of its kind:
    // the tables' defaults for such formats (RGB12, RGB10p32) are for a source switched later, not for the open.
    void deepSourceFormatsOpenOnAnEightBitDestination_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<uint>("source");
        QTest::addColumn<uint>("destination");
        QTest::newRow("color BayerRG12") << "LVSC00001" << uint(orna::ipl::BayerRG12) << uint(orna::ipl::BGRa8);
        QTest::newRow("color BayerRG10p") << "LVSC00001" << uint(orna::ipl::BayerRG10p) << uint(orna::ipl::BGRa8);
        QTest::newRow("mono Mono12") << "LVSM00001" << uint(orna::ipl::Mono12) << uint(orna::ipl::Mono8);
    }
    void deepSourceFormatsOpenOnAnEightBitDestination()
    {
        QFETCH(QString, serial);
        QFETCH(uint, source);
        QFETCH(uint, destination);
        auto sim = orna::core::sim::SimCameraRegistry::Instance().Find(serial.toStdString());
        QVERIFY(sim);
        const uint32_t start = source;
        QVERIFY(sim->WriteMemory(orna::core::sim::reg::PixelFormat, &start, sizeof start));
        OpenResults results;
        auto camera = Open(qPrintable(serial), &results, &results, false);
        QVERIFY(camera);
        QSignalSpy opened(camera.get(), &VisionCamera::Signal_Opened);
        QVERIFY(opened.wait(5000));
        QCOMPARE(uint(camera->GetPixelFormatSource()), source);
        QCOMPARE(uint(camera->GetPixelFormatDestination()), destination);
        QCOMPARE(QString::fromStdString(camera->GetPixelFormatDestinationName()),
                 QString::fromStdString(orna::ipl::PixelFormat::ToName(destination)));
    }

    void bootErrorReachesTheMainWindow()
    {
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        ApplicationGlobals::fadeInOutTime = 0;
        MainWindow window;
        QWidget cameraWindow;
        QSignalSpy logLines(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogAnyMessage);

        auto camera = Open("LVSB00001", &cameraWindow, &window, false);
        QVERIFY(camera);
        // The camera window owns its camera: the main window finds it there.
        QCOMPARE(camera->parent(), &cameraWindow);
        QSignalSpy opened(camera.get(), &VisionCamera::Signal_Opened);
        QVERIFY(opened.wait(5000));
        QCOMPARE(camera->GetBootStatusText(), QStringLiteral("ConfigurationCrcError"));
        QVERIFY(!camera->GetDeviceBootStatusDescription().isEmpty());
        QTRY_VERIFY(std::any_of(logLines.begin(), logLines.end(), [](const QList<QVariant>& args) {
            return args.at(0).toString().contains("ConfigurationCrcError");
        }));
        camera.reset();

        // A camera that booted fine gives no report.
        logLines.clear();
        auto fine = Open("LVSC00001", &cameraWindow, &window, false);
        QSignalSpy fineOpened(fine.get(), &VisionCamera::Signal_Opened);
        QVERIFY(fineOpened.wait(5000));
        QCOMPARE(fine->GetBootStatusText(), QStringLiteral("OK"));
        QCoreApplication::processEvents();
        QVERIFY(std::none_of(logLines.begin(), logLines.end(), [](const QList<QVariant>& args) {
            return args.at(0).toString().contains("boot status");
        }));
        fine.reset();
        // The main window closes the device library when it goes: the transport goes first.
        sim = {};
    }

    void cleanupTestCase()
    {
        sim = {};
        if (orna::Library::IsInitialized())
            orna::Library::Close();
    }
};

QTEST_MAIN(TestOpenWorkerSim)
#include "test_openworker_sim.moc"
