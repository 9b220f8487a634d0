// Soak: ten minutes of a colour camera at full rate (1920 x 1200 BayerRG8 into BGRa8, display path on) with
// incomplete frames injected now and then. The resident set is sampled from /proc/self/statm; after the warm-up
// it must stay within a fixed bound, so that a leak of anything per frame (an image, a buffer, a queued event)
// shows. Meant for the sanitizer build as well: scripts/test --asan --slow. LUMIVUE_SOAK_SECONDS shortens it.
#include "capturefixture.h"

#include <QApplication>
#include <QtTest>

#include <unistd.h>

#include <cstdio>
#include <fstream>

using namespace capturetest;

namespace {

double ResidentMiB()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return double(resident) * double(::sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

int SoakSeconds()
{
    const QByteArray value = qgetenv("LUMIVUE_SOAK_SECONDS");
    const int seconds = value.isEmpty() ? 600 : value.toInt();
    return seconds > 0 ? seconds : 600;
}

} // namespace

class TestCaptureSoak : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;

private Q_SLOTS:
    void initTestCase()
    {
        if (!sim.Open("color"))
            QSKIP("the sim: producer is not available");
    }
    void cleanupTestCase()
    {
        sim.Close();
        orna::Library::Close();
    }

    void memoryStaysStableAtFullRate()
    {
        auto camera = OpenCamera(sim.Find("LVSC00001"), 1920, 1200);
        QVERIFY(camera);
        auto simCamera = Sim("LVSC00001");
        CaptureRecorder recorder;
        recorder.Attach(camera->GetCaptureWorker());
        QVERIFY(camera->StartAcquisition());

        const qint64 total_ms = qint64(SoakSeconds()) * 1000;
        // The warm-up (pools, the log window's first lines, allocator arenas) is a fifth of the run.
        const qint64 warmUp_ms = total_ms / 5;
        QElapsedTimer timer;
        timer.start();
        double baseline = 0;
        double peak = 0;
        qint64 nextSample = warmUp_ms;
        qint64 nextFault = 1000;
        while (timer.elapsed() < total_ms)
        {
            QTest::qWait(100);
            // The recorder's lists would grow by themselves: keep only what the checks need.
            if (recorder.counters.size() > 1000)
            {
                recorder.counters.erase(recorder.counters.begin(), recorder.counters.end() - 1);
                recorder.sequence.clear();
            }
            if (timer.elapsed() >= nextFault)
            {
                simCamera->InjectIncompleteNextFrame();
                nextFault += 1000;
            }
            if (timer.elapsed() >= nextSample)
            {
                const double rss = ResidentMiB();
                if (baseline == 0)
                    baseline = rss;
                peak = std::max(peak, rss);
                std::fprintf(stderr, "soak: %3llds rss=%.1f MiB frames=%d incomplete=%d\n",
                             (long long)(timer.elapsed() / 1000), rss, camera->GetFrameCounter(),
                             camera->GetIncompleteCounter());
                nextSample = timer.elapsed() + 10000;
            }
        }
        const int frames = camera->GetFrameCounter();
        QVERIFY(camera->StopAcquisition());
        QCoreApplication::processEvents();
        // Full rate of this model is 60 frames/s; a loaded machine may give less, but the loop must keep going.
        QVERIFY2(frames > SoakSeconds() * 10, qPrintable(QStringLiteral("only %1 frames").arg(frames)));
        QVERIFY(camera->GetIncompleteCounter() >= SoakSeconds() / 2);
        QCOMPARE(camera->GetProcessingErrorCounter(), 0);
        QVERIFY2(recorder.log.isEmpty(), qPrintable(recorder.log.mid(0, 5).join(QLatin1Char('\n'))));
        // One 9 MiB BGRa8 frame leaked a second would pass 32 MiB within four seconds.
        QVERIFY2(peak - baseline < 32.0,
                 qPrintable(QStringLiteral("resident set grew from %1 to %2 MiB").arg(baseline).arg(peak)));
    }
};

int main(int argc, char** argv)
{
    // QtTest ends a test function after five minutes unless told otherwise.
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((SoakSeconds() + 300) * 1000));
    QApplication app(argc, argv);
    TestCaptureSoak test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "test_capture_soak.moc"
