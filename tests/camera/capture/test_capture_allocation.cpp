// A steady stream allocates no image memory: after the first frames have prepared the conversion pools, the
// capture loop runs on pool images only. This binary replaces malloc and friends (outside sanitizer builds,
// which own malloc) and counts every allocation of at least a quarter frame made while counting is on. Small
// allocations (queued signal events, shared_ptr control blocks) are not image memory and are not counted.
#include "capturefixture.h"

#include "processing/ipltransformationfeatureprovider.h"

#include <QtTest>

#include <atomic>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CAPTURE_TEST_COUNT_MALLOC 0
#else
#define CAPTURE_TEST_COUNT_MALLOC 1
#endif

namespace {
std::atomic<bool> counting{false};
std::atomic<size_t> threshold{~size_t(0)};
std::atomic<long> largeAllocations{0};

[[maybe_unused]] void Count(size_t size)
{
    if (counting.load(std::memory_order_relaxed) && size >= threshold.load(std::memory_order_relaxed))
        largeAllocations.fetch_add(1);
}
} // namespace

#if CAPTURE_TEST_COUNT_MALLOC
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

void* malloc(size_t size)
{
    Count(size);
    return __libc_malloc(size);
}
void* calloc(size_t n, size_t size)
{
    Count(n * size);
    return __libc_calloc(n, size);
}
void* realloc(void* p, size_t size)
{
    Count(size);
    return __libc_realloc(p, size);
}
void* memalign(size_t alignment, size_t size)
{
    Count(size);
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size)
{
    Count(size);
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size)
{
    Count(size);
    void* p = __libc_memalign(alignment, size);
    if (!p)
        return ENOMEM;
    *out = p;
    return 0;
}
}
#endif

using namespace capturetest;

class TestCaptureAllocation : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    bool opened = false;

private Q_SLOTS:
    void initTestCase()
    {
        if (!CAPTURE_TEST_COUNT_MALLOC)
            QSKIP("sanitizer builds own malloc; allocations cannot be counted here");
        opened = sim.Open("mono,color");
        if (!opened)
            QSKIP("the sim: producer is not available");
    }
    void cleanupTestCase()
    {
        // A skipped start opened nothing, and closing a library that was never initialised raises.
        if (!opened)
            return;
        sim.Close();
        orna::Library::Close();
    }

    // Mono8 into Mono8 wraps the buffer and copies into the pool once per frame for the last image; BayerRG8
    // into BGRa8 converts into the pool; Mono12 into Mono12 also makes a Mono8 display image.
    void steadyStreamAllocatesNoImageMemory_data()
    {
        QTest::addColumn<QString>("serial");
        QTest::addColumn<QString>("source");
        QTest::addColumn<uint>("destination");
        QTest::addColumn<bool>("transform");
        QTest::newRow("mono8 view") << "LVSM00001"
                                    << "Mono8" << uint(orna::ipl::Mono8) << false;
        QTest::newRow("mono12 with display conversion") << "LVSM00001"
                                                        << "Mono12" << uint(orna::ipl::Mono12) << false;
        QTest::newRow("bayer to bgra8") << "LVSC00001"
                                        << "BayerRG8" << uint(orna::ipl::BGRa8) << false;
        // Mirror and quarter turn of the raw image go through the transformer's kept scratch image.
        QTest::newRow("bayer mirrored and turned to bgra8") << "LVSC00001"
                                                            << "BayerRG8" << uint(orna::ipl::BGRa8) << true;
    }
    void steadyStreamAllocatesNoImageMemory()
    {
        QFETCH(QString, serial);
        QFETCH(QString, source);
        QFETCH(uint, destination);
        QFETCH(bool, transform);
        auto camera = OpenCamera(sim.Find(serial.toStdString()));
        QVERIFY(camera);
        if (transform)
        {
            camera->GetIplTransformationFeatureProvider()->OnMirrorHorizontal();
            camera->GetIplTransformationFeatureProvider()->OnRotateLeft();
        }
        QVERIFY(camera->SetPixelFormatSourceOverString(source.toStdString()));
        camera->SetPixelFormatDestination(destination);
        CaptureRecorder recorder;
        recorder.Attach(camera->GetCaptureWorker());
        QVERIFY(camera->StartAcquisition());
        // The first frames prepare the pools.
        QTRY_VERIFY(camera->GetFrameCounter() >= 10);
        // A quarter of the smallest frame (640 x 480 at one byte a pixel).
        threshold = 640 * 480 / 4;
        largeAllocations = 0;
        counting = true;
        const int from = camera->GetFrameCounter();
        QTRY_VERIFY_WITH_TIMEOUT(camera->GetFrameCounter() >= from + 60, 20000);
        counting = false;
        const int frames = camera->GetFrameCounter() - from;
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        QVERIFY2(
            largeAllocations.load() == 0,
            qPrintable(
                QStringLiteral("%1 frame-sized allocations in %2 frames").arg(largeAllocations.load()).arg(frames)));
        QVERIFY(recorder.displays >= 60);
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.join(QLatin1Char('\n'))));
        auto shown = camera->GetCaptureWorker()->GetLastDisplayImage();
        QVERIFY(shown && shown->OwnsData());
        if (transform)
        {
            QCOMPARE(shown->GetWidth(), 480u);
            QVERIFY(camera->GetCaptureWorker()->GetStageRuns(ChainStage::Rotation) >= uint64_t(frames));
            QVERIFY(camera->GetCaptureWorker()->GetStageRuns(ChainStage::Mirror) >= uint64_t(frames));
        }
        camera->SetPixelFormatSourceOverString(serial.startsWith(QLatin1String("LVSM")) ? "Mono8" : "BayerRG8");
    }
};

QTEST_MAIN(TestCaptureAllocation)
#include "test_capture_allocation.moc"
