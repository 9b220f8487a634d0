// Opening and closing a simulated camera many times, with an acquisition in every tenth round, leaves no
// thread behind and the device free for the next open. Run under the ASan build, it also checks that no
// round leaks.
#include "visioncamera_fixture.h"

#include "common/applicationglobals.h"

#include <QDir>
#include <QtTest>

class TestVisionCameraOpenCloseLoop : public QObject
{
    Q_OBJECT

private:
    SimCameras sim;

    static int ThreadCount()
    {
        return int(QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
    }

private Q_SLOTS:
    void openCloseTwoHundredTimes()
    {
        if (!sim.Start("color"))
            QSKIP("the sim: producer is not listed");
        ApplicationGlobals::numBuffersUsed = 0;
        auto descriptor = sim.BySerialPrefix("LVSC");
        QVERIFY(descriptor);
        {
            // Warm-up: threads that live for the process (Qt, the library) start here.
            auto camera = OpenCamera(descriptor);
            QVERIFY(camera->IsOpen());
            QVERIFY(camera->StartAcquisition());
            QVERIFY(camera->StopAcquisition());
        }
        QTest::qWait(50);
        const int baseline = ThreadCount();
        for (int round = 0; round < 200; ++round)
        {
            auto camera = OpenCamera(descriptor);
            QVERIFY2(camera->IsOpen(), qPrintable(QStringLiteral("round %1").arg(round)));
            if (round % 10 == 0)
            {
                QVERIFY(camera->StartAcquisition());
                QVERIFY(camera->StopAcquisition());
            }
            camera.reset();
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE_WITH_TIMEOUT(ThreadCount(), baseline, 5000);
        descriptor.reset();
        sim.Stop();
    }
};

QTEST_MAIN(TestVisionCameraOpenCloseLoop)
#include "test_visioncamera_openclose_loop.moc"
