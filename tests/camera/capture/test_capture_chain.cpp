// The host chain's decisions per frame, counted by the worker's stage counters: when an image is cloned for
// the asynchronous consumers and when the destination step makes a new one, that processing off runs no
// stage, that display off records nothing, that each frame reaches a recording once, and that mirror and
// rotation act on the live image.
#include "capturefixture.h"

#include "camera/histogramcalculator.h"
#include "processing/iplhotpixelfeatureprovider.h"
#include "processing/iplsharpnessfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "processing/videofeatureprovider.h"

#include <QtTest>

#include <array>
#include <atomic>
#include <future>
#include <mutex>
#include <set>

using namespace capturetest;

namespace {

// Stage counters of a worker, as a difference over a stretch of frames.
struct StageCounts
{
    std::array<uint64_t, size_t(ChainStage::Count)> runs{};
    static StageCounts Of(const VisionImageCaptureWorker* worker)
    {
        StageCounts c;
        for (size_t i = 0; i < c.runs.size(); ++i)
            c.runs[i] = worker->GetStageRuns(ChainStage(i));
        return c;
    }
    uint64_t operator[](ChainStage stage) const { return runs[size_t(stage)]; }
    StageCounts operator-(const StageCounts& o) const
    {
        StageCounts d;
        for (size_t i = 0; i < runs.size(); ++i)
            d.runs[i] = runs[i] - o.runs[i];
        return d;
    }
};

// A recording that counts its appends and the distinct images among them.
struct CountingSink
{
    std::atomic<int> appends{0};
    std::mutex mutex;
    std::set<const orna::ipl::Image*> images; // guarded by mutex

    VideoFeatureProvider::Sink Make()
    {
        return [this](const std::shared_ptr<orna::ipl::Image>& image) {
            appends.fetch_add(1);
            std::lock_guard<std::mutex> lock(mutex);
            images.insert(image.get());
        };
    }
};

} // namespace

class TestCaptureChain : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    std::unique_ptr<VisionCamera> camera;
    CaptureRecorder recorder;
    std::string restoreSource;

    VisionImageCaptureWorker* Worker() { return camera->GetCaptureWorker(); }

    void Open(const char* serial)
    {
        camera = OpenCamera(sim.Find(serial));
        QVERIFY2(camera, "the simulated camera did not open");
        recorder.Clear();
        recorder.Attach(Worker());
    }

    // Runs the acquisition for at least n frames and returns the stage counts of exactly the frames that were
    // counted (the stop ends the pass under way before the counters are read).
    StageCounts Run(int n, int* frames)
    {
        const StageCounts before = StageCounts::Of(Worker());
        const int from = camera->GetFrameCounter();
        if (!camera->StartAcquisition())
            return {};
        // The callers check the frame count they get back.
        (void)QTest::qWaitFor([&] { return camera->GetFrameCounter() >= from + n; }, 20000);
        camera->StopAcquisition();
        QCoreApplication::processEvents();
        *frames = camera->GetFrameCounter() - from;
        return StageCounts::Of(Worker()) - before;
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
            camera->GetVideoFeatureProvider()->StopRecording();
            if (!restoreSource.empty())
                camera->SetPixelFormatSourceOverString(restoreSource);
            Worker()->SetProcessingEnabled(true);
            Worker()->SetDisplayEnabled(true);
        }
        restoreSource.clear();
        camera.reset();
        recorder.Detach();
    }

    void cleanupTestCase()
    {
        sim.Close();
        orna::Library::Close();
    }

    // Sharing decision. A view without a consumer is never cloned, but the destination step makes the pool
    // image the last image needs. With a consumer the view is cloned once, and that clone is kept as the
    // destination image when the format does not change. A private image (unpacked) with a consumer is not
    // cloned, and the destination step makes a new one so that the consumer's image stays untouched.
    void cloneOnlyForAConsumerOfAView_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<uint>("destination");
        QTest::addColumn<bool>("consumer");
        QTest::newRow("view, no consumer") << "Mono8" << uint(orna::ipl::Mono8) << false;
        QTest::newRow("view, consumer") << "Mono8" << uint(orna::ipl::Mono8) << true;
        QTest::newRow("private, no consumer") << "Mono10g40KVX" << uint(orna::ipl::Mono10) << false;
        QTest::newRow("private, consumer") << "Mono10g40KVX" << uint(orna::ipl::Mono10) << true;
    }
    void cloneOnlyForAConsumerOfAView()
    {
        QFETCH(QString, source);
        QFETCH(uint, destination);
        QFETCH(bool, consumer);
        Open("LVSM00001");
        restoreSource = "Mono8";
        QVERIFY(camera->SetPixelFormatSourceOverString(source.toStdString()));
        camera->SetPixelFormatDestination(destination);
        IplSharpnessFeatureProvider* sharpness = camera->GetIplSharpnessFeatureProvider();
        sharpness->SetMeasurementEnabled(consumer);
        const uint64_t handedBefore = sharpness->GetFramesHandedOver();
        int frames = 0;
        // With the trigger off every tenth frame is due for the sharpness measurement.
        const StageCounts counts = Run(25, &frames);
        sharpness->SetMeasurementEnabled(false);
        QVERIFY(frames >= 25);
        const uint64_t due = sharpness->GetFramesHandedOver() - handedBefore;
        QCOMPARE(due > 0, consumer);
        const uint64_t clones = counts[ChainStage::Clone];
        const uint64_t conversions = counts[ChainStage::DestinationConversion];
        if (source == QLatin1String("Mono8"))
        {
            QCOMPARE(clones, due);
            // A cloned frame keeps its clone; every other view frame gets its pool image here.
            QCOMPARE(conversions, uint64_t(frames) - clones);
        }
        else
        {
            QCOMPARE(clones, 0u);
            QCOMPARE(int(counts[ChainStage::Intermediate]), frames);
            // Only a frame that a consumer holds forces a new image in the same format.
            QCOMPARE(conversions, due);
        }
        QCOMPARE(camera->GetProcessingErrorCounter(), 0);
        auto last = camera->GetImageBufferManager()->GetLastImage();
        QVERIFY(last && last->OwnsData());
        QCOMPARE(last->GetPixelFormat(), uint32_t(destination));
    }

    // Processing off: frames go on being counted while no stage runs, whatever is switched on.
    void processingOffRunsNoStage()
    {
        Open("LVSC00001");
        camera->GetIplTransformationFeatureProvider()->OnMirrorVertical();
        camera->GetIplTransformationFeatureProvider()->OnRotateRight();
        camera->GetIplSharpnessFeatureProvider()->SetMeasurementEnabled(true);
        CountingSink sink;
        camera->GetVideoFeatureProvider()->StartRecording(sink.Make());
        Worker()->SetProcessingEnabled(false);
        int frames = 0;
        const StageCounts counts = Run(10, &frames);
        camera->GetIplSharpnessFeatureProvider()->SetMeasurementEnabled(false);
        camera->GetIplTransformationFeatureProvider()->Reset();
        QVERIFY(frames >= 10);
        for (size_t i = 0; i < counts.runs.size(); ++i)
            QVERIFY2(counts.runs[i] == 0, qPrintable(QStringLiteral("stage %1 ran").arg(i)));
        QCOMPARE(sink.appends.load(), 0);
        QCOMPARE(recorder.displays, 0);
        QVERIFY(!camera->GetImageBufferManager()->GetLastImage());
    }

    // Display update off: the chain runs and publishes, but nothing reaches the display or the recording. On
    // again: each frame reaches the recording exactly once, also for an 8-bit destination where the display
    // image is the finished image.
    void recordingGetsEachDisplayedFrameOnce()
    {
        Open("LVSC00001");
        camera->SetPixelFormatDestination(orna::ipl::BGRa8);
        CountingSink sink;
        camera->GetVideoFeatureProvider()->StartRecording(sink.Make());
        Worker()->SetDisplayEnabled(false);
        int frames = 0;
        StageCounts counts = Run(5, &frames);
        QVERIFY(frames >= 5);
        QCOMPARE(sink.appends.load(), 0);
        QVERIFY(camera->GetImageBufferManager()->GetLastImage());
        QVERIFY(!Worker()->GetLastDisplayImage());

        Worker()->SetDisplayEnabled(true);
        counts = Run(5, &frames);
        QCOMPARE(sink.appends.load(), frames);
        QCOMPARE(int(counts[ChainStage::VideoAppend]), frames);
        QCOMPARE(counts[ChainStage::DisplayConversion], 0u);
        camera->GetVideoFeatureProvider()->StopRecording();
    }

    // A quarter turn of the raw colour image: the finished image is upright-turned (sizes swapped), the stages
    // ran once per frame, and the destination conversion found the Bayer order it needed (no error).
    void mirrorAndRotationActOnTheLiveImage()
    {
        Open("LVSC00001");
        camera->SetPixelFormatDestination(orna::ipl::BGRa8);
        IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
        transformation->OnMirrorHorizontal();
        transformation->OnRotateLeft();
        int frames = 0;
        const StageCounts counts = Run(5, &frames);
        transformation->Reset();
        QCOMPARE(int(counts[ChainStage::Mirror]), frames);
        QCOMPARE(int(counts[ChainStage::Rotation]), frames);
        auto last = camera->GetImageBufferManager()->GetLastImage();
        QVERIFY(last);
        QCOMPARE(last->GetWidth(), 480u);
        QCOMPARE(last->GetHeight(), 640u);
        QCOMPARE(last->GetPixelFormat(), uint32_t(orna::ipl::BGRa8));
        QCOMPARE(camera->GetProcessingErrorCounter(), 0);
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.join(QLatin1Char('\n'))));
    }

    // A destination conversion that fails ends the frame: counted, logged, nothing published. The start fixes
    // a destination the tables refuse, so the change comes while acquiring (as a script or workspace may).
    void failedDestinationConversionEndsTheFrame()
    {
        Open("LVSM00001");
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 2);
        const auto lastGood = camera->GetImageBufferManager()->GetLastImage();
        QVERIFY(lastGood);
        // Mono8 into a Bayer format is no conversion the converter knows.
        camera->SetPixelFormatDestination(orna::ipl::BayerRG8);
        QTRY_VERIFY(camera->GetProcessingErrorCounter() >= 3);
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(camera->GetImageBufferManager()->GetLastImage()->GetPixelFormat(), uint32_t(orna::ipl::Mono8));
        QTRY_VERIFY(!recorder.log.isEmpty());
        QVERIFY2(recorder.log.first().contains(QLatin1String("Failed to convert image to destination pixel format. ")),
                 qPrintable(recorder.log.first()));
    }

    // A quarter turn swaps the size the measuring consumers are told, before a run and at its start alike,
    // while the hot pixel stage (which sees the size as stored) keeps it; turning back restores it.
    void consumersGetTheSizeOfTheTurnedImage()
    {
        Open("LVSC00001");
        IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
        FeatureProviderBase* sharpness = camera->GetIplSharpnessFeatureProvider();
        FeatureProviderBase* hotpixel = camera->GetIplHotpixelFeatureProvider();
        QVERIFY(camera->UpdateImageSizeDestination());
        QCOMPARE(sharpness->GetImageWidth(), 640);
        QCOMPARE(sharpness->GetImageHeight(), 480);

        transformation->OnRotateLeft();
        QCOMPARE(sharpness->GetImageWidth(), 480);
        QCOMPARE(sharpness->GetImageHeight(), 640);
        QCOMPARE(hotpixel->GetImageWidth(), 640);

        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 1);
        QCOMPARE(sharpness->GetImageWidth(), 480);
        QCOMPARE(sharpness->GetImageHeight(), 640);
        QCOMPARE(hotpixel->GetImageWidth(), 640);
        QCOMPARE(hotpixel->GetImageHeight(), 480);
        QVERIFY(camera->StopAcquisition());

        // A half turn is not transposed.
        transformation->OnRotateLeft();
        QCOMPARE(sharpness->GetImageWidth(), 640);
        QCOMPARE(sharpness->GetImageHeight(), 480);
        transformation->Reset();
        QCOMPARE(sharpness->GetImageWidth(), 640);
    }

    // The histogram is offered the finished image (after the destination stages, in the destination format)
    // with the intermediate format beside it, only while it is on and processing runs.
    void histogramSeesTheFinishedImageWhileOn()
    {
        Open("LVSC00001");
        camera->SetPixelFormatDestination(orna::ipl::BGRa8);
        HistogramCalculator* histogram = camera->GetHistogramCalculator();
        std::atomic<int> calls{0};
        std::atomic<uint32_t> seenFormat{0}, seenFlag{0};
        histogram->SetConsumer([&](const std::shared_ptr<const orna::ipl::Image>& image, uint32_t flag) {
            seenFormat.store(image->GetPixelFormat());
            seenFlag.store(flag);
            calls.fetch_add(1);
        });
        int frames = 0;
        StageCounts counts = Run(3, &frames);
        QCOMPARE(counts[ChainStage::Histogram], 0u);
        QCOMPARE(calls.load(), 0);

        camera->SetHistogramEnabled(true);
        counts = Run(3, &frames);
        QCOMPARE(int(counts[ChainStage::Histogram]), frames);
        QVERIFY(histogram->Wait(5000));
        // Free run: the first frame is taken, the rest of the 500 ms are left out.
        QVERIFY(calls.load() >= 1);
        QCOMPARE(seenFormat.load(), uint32_t(orna::ipl::BGRa8));
        QCOMPARE(seenFlag.load(), uint32_t(orna::ipl::BayerRG8));

        // Display off: the histogram stands still while frames are counted.
        const int before = calls.load();
        Worker()->SetProcessingEnabled(false);
        counts = Run(3, &frames);
        QVERIFY(frames >= 3);
        QCOMPARE(counts[ChainStage::Histogram], 0u);
        QCOMPARE(calls.load(), before);
        camera->SetHistogramEnabled(false);
        histogram->SetConsumer(nullptr);
    }

    // One image at a time: a second offer while the first is worked on is skipped and changes nothing; the
    // packed 10-bit RGB form reaches the consumer unpacked.
    void histogramTakesOneImageAtATime()
    {
        HistogramCalculator histogram(nullptr);
        std::promise<void> release;
        std::shared_future<void> released = release.get_future().share();
        std::atomic<uint32_t> seenFormat{0};
        histogram.SetConsumer([&](const std::shared_ptr<const orna::ipl::Image>& image, uint32_t) {
            seenFormat.store(image->GetPixelFormat());
            released.wait();
        });
        auto image = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(orna::ipl::RGB10p32, 8, 4));
        QCOMPARE(histogram.Calculate(image, orna::ipl::BayerRG10), HistogramCalculator::kAccepted);
        QCOMPARE(histogram.Calculate(image, orna::ipl::BayerRG10), HistogramCalculator::kBusy);
        QCOMPARE(histogram.GetStartedCount(), 1u);
        QVERIFY(histogram.IsRunning());
        release.set_value();
        QVERIFY(histogram.Wait(5000));
        QCOMPARE(seenFormat.load(), uint32_t(orna::ipl::RGB10));
        // Outside acquisition every image is taken.
        QCOMPARE(histogram.Calculate(image, orna::ipl::BayerRG10), HistogramCalculator::kAccepted);
        QVERIFY(histogram.Wait(5000));
        QCOMPARE(histogram.GetStartedCount(), 2u);
    }

    // A buffer whose leader announces more lines than it carries cannot be wrapped: the pass is a processing
    // error with its reason in the log, and the loop takes the next frame as usual.
    void aBufferShorterThanItsFormatIsAProcessingError()
    {
        Open("LVSM00001");
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 2);
        QCOMPARE(camera->GetProcessingErrorCounter(), 0);
        Sim("LVSM00001")->InjectOverstatedHeightNextFrame();
        QTRY_COMPARE(camera->GetProcessingErrorCounter(), 1);
        const int displays = recorder.displays;
        QTRY_VERIFY(recorder.displays >= displays + 3);
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        QCOMPARE(camera->GetProcessingErrorCounter(), 1);
        // The failed pass is not a frame; the next frame's counters carry the error.
        const auto reported = std::find_if(recorder.counters.begin(), recorder.counters.end(),
                                           [](const CaptureRecorder::Counters& c) { return c.errors == 1; });
        QVERIFY(reported != recorder.counters.end());
        QVERIFY(!reported->exception);
        QVERIFY(reported == recorder.counters.begin() || std::prev(reported)->frames + 1 == reported->frames);
        QTRY_VERIFY(!recorder.log.isEmpty());
        QVERIFY2(recorder.log.first().contains(QLatin1String("smaller than")), qPrintable(recorder.log.first()));
    }
};

QTEST_MAIN(TestCaptureChain)
#include "test_capture_chain.moc"
