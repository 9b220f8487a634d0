// The edges of a camera's life against simulated cameras: stops that end every wait of the capture loop, one
// one-shot task at a time without blocking the GUI thread, closing while a one-shot task is held by the camera,
// and the optimise run's restore of the camera's modes on every way out.
//
// The start/stop cycles run LUMIVUE_START_STOP_CYCLES times (100 when unset; the slow label runs 1000).
#include "capturefixture.h"

#include "camera/visioncameraopenworker.h"
#include "orna/core/datastream.h"
#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregisters.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <chrono>
#include <random>
#include <thread>

using namespace capturetest;
using namespace std::chrono_literals;

namespace {

int ThreadCount()
{
    return int(QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

// The longest time the GUI thread's event loop went without turning, measured by a 5 ms timer.
class LoopWatchdog : public QObject
{
public:
    LoopWatchdog()
    {
        timer.setInterval(5);
        connect(&timer, &QTimer::timeout, this, [this] {
            longest = std::max(longest, clock.restart());
            ++ticks;
        });
        Reset();
        timer.start();
    }
    void Reset()
    {
        clock.restart();
        longest = 0;
        ticks = 0;
    }
    qint64 Longest() const { return longest; }
    int Ticks() const { return ticks; }

private:
    QTimer timer;
    QElapsedTimer clock;
    qint64 longest = 0;
    int ticks = 0;
};

QString Entry(VisionCamera* camera, const std::string& name)
{
    std::string entry;
    camera->GetEnumerationEntry(name, entry);
    return QString::fromStdString(entry);
}

QString TriggerMode(VisionCamera* camera)
{
    camera->SetEnumerationEntry("TriggerSelector", "FrameStart");
    return Entry(camera, "TriggerMode");
}

} // namespace

class TestCameraLifecycle : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    std::unique_ptr<VisionCamera> camera;
    int baselineThreads = 0;

    VisionImageCaptureWorker* Worker() { return camera->GetCaptureWorker(); }

    std::string openedSerial;

    void Open(const char* serial)
    {
        openedSerial = serial;
        camera = OpenCamera(sim.Find(serial));
        QVERIFY2(camera, "the simulated camera did not open");
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!sim.Open("mono,color"))
            QSKIP("the sim: producer is not available");
        // Threads that the first open starts for good (library, logger) are part of the baseline.
        Open("LVSM00001");
        camera.reset();
        baselineThreads = ThreadCount();
    }

    // Hooks off and the camera's settings back to its defaults, whatever the case left behind (a task still
    // running included: the close ends it, a fresh open loads the defaults).
    void cleanup()
    {
        camera.reset();
        for (const auto& simCamera : orna::core::sim::SimCameraRegistry::Instance().Cameras())
        {
            simCamera->SetFrameHold(0ms);
            simCamera->InjectReadFailure(orna::core::sim::reg::PayloadSize, false);
            simCamera->InjectWriteFailure(orna::core::sim::reg::TLParamsLocked, false);
            simCamera->SetCommandDuration(orna::core::sim::reg::UserSetLoad, 0ms);
        }
        if (!openedSerial.empty())
        {
            camera = OpenCamera(sim.Find(openedSerial));
            if (camera)
            {
                camera->SetEnumerationEntry("UserSetSelector", "Default");
                camera->ExecuteCommandAndWait("UserSetLoad", 2000);
            }
            camera.reset();
            openedSerial.clear();
        }
    }

    void cleanupTestCase()
    {
        sim.Close();
        orna::Library::Close();
    }

    // --- Stops end every wait

    // Start and stop at random short intervals, half of the runs in software trigger mode where the loop
    // waits with nothing to come. A stop that lands between the loop's running check and its wait must still end
    // that wait: every stop returns at once, every start shows frames, and no thread is left.
    void startStopCyclesNeverHang()
    {
        const int requested = qEnvironmentVariableIntValue("LUMIVUE_START_STOP_CYCLES");
        const int cycles = requested > 0 ? requested : 100;
        // Small frames at a short exposure: the loop turns as fast as it can, so stops land on every point of
        // its pass, its running check and the start of its wait included.
        openedSerial = "LVSM00001";
        camera = OpenCamera(sim.Find(openedSerial), 160, 120);
        QVERIFY(camera);
        QVERIFY(camera->SetDoubleValue("ExposureTime", 100.0));
        std::mt19937 random(20261125);
        std::uniform_int_distribution<int> delayUs(0, 3000);
        bool triggered = false;
        qint64 slowest = 0;
        for (int cycle = 0; cycle < cycles; ++cycle)
        {
            const bool wantTriggered = cycle % 2 == 1;
            if (wantTriggered != triggered)
            {
                QVERIFY(SetSoftwareTrigger(camera.get(), wantTriggered));
                triggered = wantTriggered;
            }
            const int before = camera->GetFrameCounter();
            QVERIFY(camera->StartAcquisition());
            QVERIFY2(camera->GetCaptureThread()->isRunning(), qPrintable(QStringLiteral("cycle %1").arg(cycle)));
            if (!triggered)
                QTRY_VERIFY_WITH_TIMEOUT(camera->GetFrameCounter() > before, 5000);
            // The stimulus: the stop lands anywhere in the loop's pass, the start-up of its thread included.
            std::this_thread::sleep_for(std::chrono::microseconds(delayUs(random)));
            QElapsedTimer stop;
            stop.start();
            QVERIFY(camera->StopAcquisition());
            slowest = std::max(slowest, stop.elapsed());
            QVERIFY2(stop.elapsed() < 100,
                     qPrintable(QStringLiteral("cycle %1: the stop took %2 ms").arg(cycle).arg(stop.elapsed())));
            QVERIFY(!camera->GetCaptureThread()->isRunning());
        }
        qInfo("%d cycles, slowest stop %lld ms", cycles, slowest);
        SetSoftwareTrigger(camera.get(), false);
        camera.reset();
        QTRY_VERIFY_WITH_TIMEOUT(ThreadCount() <= baselineThreads, 5000);
    }

    // The camera refuses to lock its transport parameters after the stream has started: the start fails, and
    // the stream it started must not grab on behind the false result; the next start works.
    void startRefusedAtTheParameterLockLeavesNothingGrabbing()
    {
        Open("LVSM00001");
        QVERIFY(camera->PrepareAcquisition());
        Sim("LVSM00001")->InjectWriteFailure(orna::core::sim::reg::TLParamsLocked, true);
        QVERIFY(!camera->StartAcquisition());
        Sim("LVSM00001")->InjectWriteFailure(orna::core::sim::reg::TLParamsLocked, false);
        QVERIFY(!camera->IsAcquiring());
        QVERIFY(!camera->GetDataStream()->GetIsGrabbing());
        QVERIFY(!camera->GetCaptureThread()->isRunning());

        const int before = camera->GetFrameCounter();
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY_WITH_TIMEOUT(camera->GetFrameCounter() > before, 5000);
        QVERIFY(camera->StopAcquisition());
    }

    // --- One one-shot task at a time

    // A single frame waits for a frame that the camera holds back; optimise pressed meanwhile is refused at once,
    // changes nothing, and never blocks the GUI thread (destroying the running task's future would wait for it).
    void optimiseDuringPendingSingleFrameIsRefused()
    {
        Open("LVSC00001");
        QVERIFY(camera->PrepareAcquisition());
        QVERIFY(camera->SetEnumerationEntry("ExposureAuto", "Continuous"));
        QVERIFY(SetSoftwareTrigger(camera.get(), true));
        Sim("LVSC00001")->SetFrameHold(5000ms);
        QSignalSpy finished(Worker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        QSignalSpy taskEnded(camera.get(), &VisionCamera::Signal_OneShotTaskFinished);
        QVERIFY(camera->AcquireSingleFrame());
        QVERIFY(camera->IsOneShotRunning());

        LoopWatchdog watchdog;
        QTRY_VERIFY(watchdog.Ticks() >= 3);
        watchdog.Reset();
        camera->ApplyOptimalSettings();
        QVERIFY(!camera->AcquireSingleFrame());
        QVERIFY(!VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), true));
        QTRY_VERIFY(watchdog.Ticks() >= 10);
        QVERIFY2(watchdog.Longest() <= 100,
                 qPrintable(QStringLiteral("the event loop was blocked for %1 ms").arg(watchdog.Longest())));

        QVERIFY(camera->IsOneShotRunning());
        QCOMPARE(taskEnded.count(), 0);
        QCOMPARE(finished.count(), 0);
        QCOMPARE(TriggerMode(camera.get()), QStringLiteral("On"));
        QCOMPARE(Entry(camera.get(), "ExposureAuto"), QStringLiteral("Continuous"));
    }

    // Closing while the camera holds a one-shot task in its wait: the task is aborted and joined before the
    // worker and the providers it runs on go, and the close still returns within a second. Closing at once
    // after the launch lands the abort while the task is still starting its private acquisition.
    void closeDuringHeldOneShotTask_data()
    {
        QTest::addColumn<bool>("optimise");
        QTest::addColumn<bool>("inItsWait");
        QTest::newRow("single frame, at once") << false << false;
        QTest::newRow("single frame, waiting") << false << true;
        QTest::newRow("optimise, at once") << true << false;
        QTest::newRow("optimise, waiting") << true << true;
    }
    void closeDuringHeldOneShotTask()
    {
        QFETCH(bool, optimise);
        QFETCH(bool, inItsWait);
        for (int round = 0; round < 3; ++round)
        {
            Open("LVSC00001");
            QVERIFY(camera->PrepareAcquisition());
            auto simCamera = Sim("LVSC00001");
            simCamera->SetFrameHold(5000ms);
            if (optimise)
                QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false));
            else
                QVERIFY(camera->AcquireSingleFrame());
            QVERIFY(camera->IsOneShotRunning());
            if (inItsWait)
                QTRY_VERIFY(simCamera->IsAcquiring());
            QSignalSpy closed(camera.get(), &VisionCamera::Signal_Closed);
            QElapsedTimer timer;
            timer.start();
            camera.reset();
            QVERIFY2(timer.elapsed() < 1000,
                     qPrintable(QStringLiteral("round %1: the close took %2 ms").arg(round).arg(timer.elapsed())));
            QCOMPARE(closed.count(), 1);
            simCamera->SetFrameHold(0ms);
        }
    }

    // --- The optimise run restores what it changed, on every way out

    // The preparation fails (no payload size): the run ends at once with one finished signal, so the window
    // gets its buttons back, and the trigger and automatic modes it had switched off are back.
    void optimiseWithFailingPreparationFinishesOnceAndRestores()
    {
        Open("LVSC00001");
        QVERIFY(camera->GetBuffers().empty());
        QVERIFY(SetSoftwareTrigger(camera.get(), true));
        QVERIFY(camera->SetEnumerationEntry("ExposureAuto", "Continuous"));
        Sim("LVSC00001")->InjectReadFailure(orna::core::sim::reg::PayloadSize, true);
        // A size write invalidates the cached payload size, so the next read reaches the camera.
        QVERIFY(camera->SetIntegerValue("Width", 320));
        QSignalSpy finished(Worker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        QVERIFY(!VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false));
        QVERIFY(finished.count() == 1 || finished.wait(5000));
        QCOMPARE(finished.at(0).at(0).toBool(), false);
        QVERIFY(!camera->IsOneShotRunning());
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(TriggerMode(camera.get()), QStringLiteral("On"));
        QCOMPARE(Entry(camera.get(), "ExposureAuto"), QStringLiteral("Continuous"));
    }

    // The run's private start fails (the stream is busy): no frame was taken, but the trigger and automatic
    // modes that the run's start switched off go back.
    void failedPrivateStartRestoresTriggerAndAutoModes()
    {
        Open("LVSC00001");
        QVERIFY(camera->PrepareAcquisition());
        QVERIFY(SetSoftwareTrigger(camera.get(), true));
        QVERIFY(camera->SetEnumerationEntry("ExposureAuto", "Continuous"));
        QVERIFY(camera->SetEnumerationEntry("GainAuto", "Continuous"));
        auto stream = camera->GetDataStream();
        stream->StartAcquisition();
        QSignalSpy finished(Worker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false));
        QVERIFY(camera->WaitForOneShotTask(10000));
        QTRY_COMPARE(finished.count(), 1);
        stream->StopAcquisition();
        QCOMPARE(TriggerMode(camera.get()), QStringLiteral("On"));
        QCOMPARE(Entry(camera.get(), "ExposureAuto"), QStringLiteral("Continuous"));
        QCOMPARE(Entry(camera.get(), "GainAuto"), QStringLiteral("Continuous"));
    }

    // A CTRL run's user set load outlasts the wait for it (the camera is slow to say it is done) after it has
    // already changed the format: the run's refresh must still take the camera's format, not the one before.
    void ctrlRunWithASlowUserSetLoadTakesTheLoadedFormat()
    {
        Open("LVSC00001");
        QVERIFY(camera->SetEnumerationEntry("PixelFormat", "Mono8"));
        QVERIFY(camera->PrepareAcquisition());
        QCOMPARE(QString::fromStdString(camera->GetPixelFormatSourceName()), QStringLiteral("Mono8"));
        Sim("LVSC00001")->SetCommandDuration(orna::core::sim::reg::UserSetLoad, 700ms);
        QSignalSpy finished(Worker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), true);
        QVERIFY(camera->WaitForOneShotTask(10000));
        QTRY_COMPARE(finished.count(), 1);
        Sim("LVSC00001")->SetCommandDuration(orna::core::sim::reg::UserSetLoad, 0ms);
        QCOMPARE(Entry(camera.get(), "PixelFormat"), QStringLiteral("BayerRG8"));
        QCOMPARE(QString::fromStdString(camera->GetPixelFormatSourceName()), QStringLiteral("BayerRG8"));
    }

    // A CTRL run loads the camera's defaults and saves nothing: it must not write back the modes an earlier
    // run saved.
    void ctrlRunAfterNormalRunWritesBackNoEarlierMode()
    {
        Open("LVSC00001");
        QVERIFY(camera->PrepareAcquisition());
        QVERIFY(camera->SetEnumerationEntry("ExposureAuto", "Continuous"));
        QSignalSpy finished(Worker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false));
        QVERIFY(camera->WaitForOneShotTask(10000));
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(Entry(camera.get(), "ExposureAuto"), QStringLiteral("Continuous"));

        QVERIFY(VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), true));
        QVERIFY(camera->WaitForOneShotTask(10000));
        QTRY_COMPARE(finished.count(), 2);
        // The default user set's mode, not the earlier run's.
        QCOMPARE(Entry(camera.get(), "ExposureAuto"), QStringLiteral("Off"));
    }
};

QTEST_MAIN(TestCameraLifecycle)
#include "test_camera_lifecycle.moc"
