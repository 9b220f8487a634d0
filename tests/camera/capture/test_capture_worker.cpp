// The capture worker against simulated cameras opened into a VisionCamera: the quiet end of a blocked wait, the
// time-out report, incomplete frames, processing off, the buffer guard under exceptions and faults, the display
// image rule, the per-stage stamps, and the optimise routine's frame passes.
#include "capturefixture.h"

#include "orna/core/datastream.h"
#include "orna/ipl/image.h"
#include "processing/aflmanager.h"
#include "processing/iplgainfeatureprovider.h"
#include "processing/iplhotpixelfeatureprovider.h"

#include <QSignalSpy>
#include <QtTest>

#include <atomic>
#include <stdexcept>

using namespace capturetest;

class TestCaptureWorker : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    std::unique_ptr<VisionCamera> camera;
    CaptureRecorder recorder;
    // The source format a case changed, put back by cleanup() so that a failed case cannot leak it.
    std::string restoreSource;

    VisionImageCaptureWorker* Worker() { return camera->GetCaptureWorker(); }

    void Open(const char* serial)
    {
        camera = OpenCamera(sim.Find(serial));
        QVERIFY2(camera, "the simulated camera did not open");
        recorder.Clear();
        recorder.Attach(Worker());
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!sim.Open("mono,color"))
            QSKIP("the sim: producer is not available");
    }

    void cleanup()
    {
        if (camera)
        {
            camera->StopAcquisition();
            if (!restoreSource.empty())
                camera->SetPixelFormatSourceOverString(restoreSource);
            Worker()->ResetFrameCallback();
            Worker()->SetProcessingEnabled(true);
        }
        restoreSource.clear();
        camera.reset();
        recorder.Detach();
        for (const auto& sim : orna::core::sim::SimCameraRegistry::Instance().Cameras())
        {
            sim->SetHeldByOtherProcess(false);
            sim->SetSceneLight(1.0, 1.0, 1.0);
        }
    }

    void cleanupTestCase()
    {
        sim.Close();
        orna::Library::Close();
    }

    // A wait that KillWait ends is the normal way out of a stopped acquisition: no log line, no counter.
    void killWaitDuringBlockedWaitIsSilent()
    {
        Open("LVSM00001");
        QVERIFY(SetSoftwareTrigger(camera.get(), true));
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(Worker()->IsRunning());
        // Give the loop time to enter its wait; no frame can come while the trigger is not fired.
        QTest::qWait(200);
        QCOMPARE(camera->GetFrameCounter(), 0);
        QVERIFY(camera->StopAcquisition());
        QTRY_VERIFY(!camera->GetCaptureThread()->isRunning());
        QCoreApplication::processEvents();
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.join(QLatin1Char('\n'))));
        QVERIFY(recorder.counters.empty());
        QCOMPARE(camera->GetTimeoutCounter(), 0);
        QCOMPARE(camera->GetFrameCounter(), 0);
        QCOMPARE(camera->GetIncompleteCounter(), 0);
        SetSoftwareTrigger(camera.get(), false);
    }

    // A finite time-out reports itself with the exception flag and zeros, counts and logs.
    void finiteTimeoutEmitsExceptionCounters()
    {
        Open("LVSM00001");
        QVERIFY(SetSoftwareTrigger(camera.get(), true));
        camera->SetWaitTimeout(50);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.counters.size() >= 2);
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        for (const auto& c : recorder.counters)
        {
            QVERIFY(c.exception);
            QCOMPARE(c.frameTime, 0.0);
            QCOMPARE(c.processingTime, 0.0);
            QCOMPARE(c.frames, 0);
            QCOMPARE(c.errors, 0);
            QCOMPARE(c.incomplete, 0);
        }
        QVERIFY(camera->GetTimeoutCounter() >= 2);
        QCOMPARE(camera->GetFrameCounter(), 0);
        QVERIFY(!recorder.log.isEmpty());
        QVERIFY2(recorder.log.first().contains(QLatin1String("No buffer within 50 ms")),
                 qPrintable(recorder.log.first()));
        SetSoftwareTrigger(camera.get(), false);
        camera->SetWaitTimeout(orna::core::DataStream::kInfinite);
    }

    // An incomplete frame is processed and shown like any other, and counted twice.
    void incompleteFrameIsShownAndCounted()
    {
        Open("LVSM00001");
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(camera->GetFrameCounter() >= 3);
        Sim("LVSM00001")->InjectIncompleteNextFrame();
        QTRY_COMPARE(camera->GetIncompleteCounter(), 1);
        QTRY_VERIFY(std::any_of(recorder.counters.begin(), recorder.counters.end(),
                                [](const CaptureRecorder::Counters& c) { return c.incomplete == 1; }));
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        // Each counted frame was shown first: display and counters alternate, one pair a frame.
        const int first = int(std::find_if(recorder.counters.begin(), recorder.counters.end(),
                                           [](const CaptureRecorder::Counters& c) { return c.incomplete == 1; }) -
                              recorder.counters.begin());
        QVERIFY(first > 0);
        QCOMPARE(recorder.counters[size_t(first)].frames, recorder.counters[size_t(first - 1)].frames + 1);
        QVERIFY(recorder.sequence.startsWith(QStringLiteral("DC").repeated(int(recorder.counters.size()))));
        QCOMPARE(recorder.displays, int(recorder.counters.size()));
        QCOMPARE(recorder.counters.back().frames, camera->GetFrameCounter());
        QVERIFY(recorder.log.isEmpty());
    }

    // With processing off frames are counted and returned, but no image is made or kept.
    void processingOffCountsAndKeepsNoImage()
    {
        Open("LVSM00001");
        Worker()->SetProcessingEnabled(false);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.counters.size() >= 10);
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        QCOMPARE(recorder.displays, 0);
        QVERIFY(!camera->GetImageBufferManager()->GetLastImage());
        QVERIFY(!Worker()->GetLastDisplayImage());
        QVERIFY(!camera->GetHasImage());
        for (size_t i = 0; i < recorder.counters.size(); ++i)
        {
            QVERIFY(!recorder.counters[i].exception);
            QCOMPARE(recorder.counters[i].frames, int(i) + 1);
        }
    }

    // Exceptions inside a pass and the simulated camera's faults never starve the stream: the guard gives every
    // buffer back. Far more passes end in an exception than there are buffers.
    void guardReturnsBuffersAfterExceptionsAndFaults()
    {
        Open("LVSC00001");
        auto simCamera = Sim("LVSC00001");
        std::atomic<int> calls{0};
        std::atomic<int> thrown{0};
        Worker()->SetFrameCallback([&](std::shared_ptr<orna::ipl::Image>) {
            // Every third frame fails after it took its buffer.
            if (++calls % 3 == 0)
            {
                ++thrown;
                throw std::runtime_error("injected failure in the frame callback");
            }
        });
        QVERIFY(camera->StartAcquisition());
        const int buffers = camera->GetNumBuffers();
        int injected = 0;
        QElapsedTimer timer;
        timer.start();
        while (calls.load() < 100 && timer.elapsed() < 60000)
        {
            // Incomplete and dropped frames in between.
            if (calls.load() / 5 > injected)
            {
                ++injected;
                if (injected % 2)
                    simCamera->InjectIncompleteNextFrame();
                else
                    simCamera->InjectDropNextFrame();
            }
            QTest::qWait(5);
        }
        QVERIFY2(calls.load() >= 100, "the stream starved");
        QVERIFY(thrown.load() > 3 * buffers);
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        QVERIFY(camera->GetIncompleteCounter() >= 1);
        const int failures = int(std::count_if(recorder.log.begin(), recorder.log.end(), [](const QString& line) {
            return line.contains(QLatin1String("injected failure in the frame callback"));
        }));
        QCOMPARE(failures, thrown.load());
        // A pass that failed is not counted as a frame; all the others are.
        QCOMPARE(camera->GetFrameCounter(), calls.load() - thrown.load());
    }

    // The display image is the 8-bit form of the destination and never a view of device memory; the stamps of
    // the last frame are in order.
    void displayImageRuleAndStageStamps_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<uint>("destination");
        QTest::addColumn<uint>("display");
        QTest::newRow("mono8 kept as it is") << "LVSM00001" << uint(orna::ipl::Mono8) << uint(orna::ipl::Mono8);
        QTest::newRow("mono12 shown as mono8") << "LVSM00001" << uint(orna::ipl::Mono12) << uint(orna::ipl::Mono8);
        QTest::newRow("bgra8 kept") << "LVSC00001" << uint(orna::ipl::BGRa8) << uint(orna::ipl::BGRa8);
        QTest::newRow("rgb12 shown as rgb8") << "LVSC00001" << uint(orna::ipl::RGB12) << uint(orna::ipl::RGB8);
        QTest::newRow("bayer12 shown as bayer8")
            << "LVSC00001" << uint(orna::ipl::BayerRG12) << uint(orna::ipl::BayerRG8);
    }
    void displayImageRuleAndStageStamps()
    {
        QFETCH(QString, serial);
        QFETCH(uint, destination);
        QFETCH(uint, display);
        Open(serial.toLatin1().constData());
        if (destination == orna::ipl::Mono12 || destination == orna::ipl::BayerRG12)
        {
            // A deeper destination needs a deeper source.
            const char* format = destination == orna::ipl::Mono12 ? "Mono12" : "BayerRG12";
            restoreSource = serial.startsWith(QLatin1String("LVSM")) ? "Mono8" : "BayerRG8";
            QVERIFY(camera->SetPixelFormatSourceOverString(format));
        }
        camera->SetPixelFormatDestination(destination);
        QCOMPARE(camera->GetPixelFormatDestination(), uint32_t(destination));
        QVERIFY(camera->StartAcquisition());
        // The stamps are published before the display signal of their frame: three display signals of this
        // worker prove three stamped frames.
        QTRY_VERIFY(recorder.displays >= 3);
        QVERIFY(camera->StopAcquisition());
        auto last = camera->GetImageBufferManager()->GetLastImage();
        auto shown = Worker()->GetLastDisplayImage();
        QVERIFY(last && shown);
        QCOMPARE(last->GetPixelFormat(), uint32_t(destination));
        QCOMPARE(shown->GetPixelFormat(), uint32_t(display));
        QVERIFY(last->OwnsData());
        QVERIFY(shown->OwnsData());
        QCOMPARE(shown->GetWidth(), 640u);
        QCOMPARE(shown->GetHeight(), 480u);
        const FrameStageTimes times = Worker()->GetLastStageTimes();
        QVERIFY(times.frame >= 3);
        QVERIFY(times.bufferFinished_ns > 0);
        QVERIFY(times.bufferFinished_ns <= times.processed_ns);
        QVERIFY(times.processed_ns <= times.handedToDisplay_ns);
        QCOMPARE(times.imageTimestamp, shown->GetTimestamp());
        QVERIFY(recorder.log.isEmpty());
        QCOMPARE(camera->GetProcessingErrorCounter(), 0);
    }

    // Several images in one buffer: the first buffer of the acquisition tells how many, the geometry follows, and
    // every frame is one tall image.
    void multiImageBufferIsFoundOnTheFirstFrame()
    {
        Open("LVSM00001");
        QVERIFY(camera->SetEnumerationEntry("ImageBufferMode", "MultiImage"));
        QVERIFY(camera->SetIntegerValue("ImageBufferImageCount", 3));
        QVERIFY(camera->StartAcquisition());
        QCOMPARE(camera->GetImagesPerBuffer(), -1);
        QTRY_VERIFY(recorder.displays >= 3);
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(camera->GetImagesPerBuffer(), 3);
        QCOMPARE(camera->GetImageHeight(), int64_t(3 * 480));
        auto last = camera->GetImageBufferManager()->GetLastImage();
        QVERIFY(last);
        QCOMPARE(last->GetHeight(), 3u * 480u);
        QCOMPARE(last->GetWidth(), 640u);
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.join(QLatin1Char('\n'))));
        QVERIFY(camera->SetEnumerationEntry("ImageBufferMode", "SingleImage"));
        // The next acquisition finds one image a buffer again.
        QVERIFY(camera->StartAcquisition());
        const int displays = recorder.displays;
        QTRY_VERIFY(recorder.displays >= displays + 2);
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(camera->GetImagesPerBuffer(), 1);
        QCOMPARE(camera->GetImageBufferManager()->GetLastImage()->GetHeight(), 480u);
    }

    // The single frame routine takes one frame the normal way and hands it to the frame callback.
    void singleFrameUsesTheCallback()
    {
        Open("LVSC00001");
        // Buffers come with an acquisition start; the one-shot task runs while the loop is stopped.
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 1);
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        recorder.Clear();
        recorder.Attach(Worker());
        std::shared_ptr<orna::ipl::Image> taken;
        Worker()->SetFrameCallback([&](std::shared_ptr<orna::ipl::Image> image) { taken = std::move(image); });
        const int before = camera->GetFrameCounter();
        Worker()->SingleFrame();
        Worker()->ResetFrameCallback();
        QVERIFY(taken);
        QVERIFY(taken->OwnsData());
        QCOMPARE(taken->GetPixelFormat(), uint32_t(orna::ipl::BGRa8));
        QCOMPARE(camera->GetFrameCounter(), before + 1);
        QCoreApplication::processEvents();
        QCOMPARE(recorder.displays, 0);
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.join(QLatin1Char('\n'))));
    }

    // The optimise routine: one frame pass on a mono camera, a second one for white balance on a colour
    // camera; each pass runs until its controller ended its "Once".
    void adjustLoopPasses_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<int>("passes");
        QTest::newRow("mono") << "LVSM00001" << 1;
        QTest::newRow("colour") << "LVSC00001" << 2;
    }
    void adjustLoopPasses()
    {
        QFETCH(QString, serial);
        QFETCH(int, passes);
        Open(serial.toLatin1().constData());
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 1);
        QVERIFY(camera->StopAcquisition());
        QVERIFY(Worker()->AdjustLoop());
        QCOMPARE(Worker()->GetAdjustFramePasses(), passes);
        QVERIFY(Worker()->GetAdjustFramesSeen() >= passes);
        QVERIFY(Worker()->GetAdjustFramesSeen() <= 100 * passes);
        QVERIFY(!camera->GetAflManager()->IsBrightnessAutoActive());
        QVERIFY(!camera->GetAflManager()->IsWhiteBalanceAutoActive());
        QTRY_COMPARE(recorder.adjustResults.size(), size_t(1));
        QVERIFY(recorder.adjustResults.front());
        // Afterwards hot pixel correction is on, at sensitivity 3.
        QCOMPARE(camera->GetIplHotpixelFeatureProvider()->GetSensitivityMode(), 3);
        QVERIFY(camera->GetIplHotpixelFeatureProvider()->IsEnabled());
        // The stream was stopped again: the camera can acquire as before.
        QVERIFY(!camera->GetDataStream()->GetIsGrabbing());
        const int before = camera->GetFrameCounter();
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(camera->GetFrameCounter() >= before + 2);
    }

    // A dark scene with a colour cast: the optimise routine brings the level near the target and the grey
    // world near neutral through the host gain, which stage 7 then applies to every frame.
    void adjustLoopCorrectsDarkColourCast()
    {
        Open("LVSC00001");
        auto model = Sim("LVSC00001");
        QVERIFY(model);
        model->SetSceneLight(0.45, 0.3, 0.18);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 1);
        QVERIFY(camera->StopAcquisition());
        QVERIFY(Worker()->AdjustLoop());
        QCOMPARE(Worker()->GetAdjustFramePasses(), 2);
        auto* gain = camera->GetIplGainFeatureProvider();
        QVERIFY(gain->GetGainRed() < 0.9);
        QVERIFY(gain->GetGainBlue() > 1.2);
        // Stage 7 runs on the live frames now, and only while a factor differs from 1.
        const uint64_t before = Worker()->GetStageRuns(ChainStage::HostGain);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(Worker()->GetStageRuns(ChainStage::HostGain) >= before + 3);
        QVERIFY(camera->StopAcquisition());
        gain->Reset();
        const uint64_t neutral = Worker()->GetStageRuns(ChainStage::HostGain);
        const int frames = camera->GetFrameCounter();
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(camera->GetFrameCounter() >= frames + 3);
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(Worker()->GetStageRuns(ChainStage::HostGain), neutral);
        model->SetSceneLight(1.0, 1.0, 1.0);
    }

    // No light at all: brightness cannot reach its target; the pass ends on its frame limit or on the refusal
    // of the gain beyond the camera's range, and the routine reports the failure; the auto features end off.
    void adjustLoopFailsWithoutLight()
    {
        Open("LVSM00001");
        auto model = Sim("LVSM00001");
        QVERIFY(model);
        model->SetSceneLight(0.0, 0.0, 0.0);
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 1);
        QVERIFY(camera->StopAcquisition());
        QVERIFY(!Worker()->AdjustLoop());
        QCOMPARE(Worker()->GetAdjustFramePasses(), 1);
        // Either the frame limit or the end of what exposure and gain can do stops it.
        QVERIFY(Worker()->GetAdjustFramesSeen() <= 100);
        QVERIFY(!camera->GetAflManager()->IsBrightnessAutoActive());
        QTRY_COMPARE(recorder.adjustResults.size(), size_t(1));
        QVERIFY(!recorder.adjustResults.front());
        model->SetSceneLight(1.0, 1.0, 1.0);
    }
};

QTEST_MAIN(TestCaptureWorker)
#include "test_capture_worker.moc"
