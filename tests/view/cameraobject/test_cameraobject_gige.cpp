// The camera window against Aravis' GigE fake camera on loopback, as a user opens it: the toolbar's open
// button, live images through GVSP, incomplete frames on a lossy link shown and counted without an error
// report, and closing that releases the device. Label "gige": run inside the loopback namespace.
#include "tests/guitestsupport.h"
#include "tests/orna/core/gige_fixture.h"
#include "tests/view/cameraobject/deskfixture.h"

#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "common/settings.h"
#include "view/cameraobject.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"
#include "widgets/iconbutton.h"

#include <QPointer>
#include <QSettings>
#include <QtTest>

#include <set>

class TestCameraObjectGige : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lossyGigECameraShowsLiveImagesAndCloses()
    {
        const std::string skip = orna::core::test::GigESkipReason();
        if (!skip.empty())
            QSKIP(skip.c_str());
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        ::setenv("ORNA_TRANSPORTS", "gev", 1);
        guitest::ResetApplicationState();

        // One packet in a hundred is lost, resends included: some frames stay incomplete.
        orna::core::test::FakeGvCamera fake("127.0.0.5", "GV05");
        QVERIFY(fake.Start(10));

        // An incomplete frame's transport status is reported by design; anything else is a fault.
        QStringList reports;
        int trailerReports = 0;
        QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
                         [&reports, &trailerReports](QString, QString thread, QString message, int) {
                             // A frame Aravis gave up on after its retention time reports its leader.
                             if (message.startsWith(QStringLiteral("Buffer trailer error for frame: ")))
                                 ++trailerReports;
                             else if (!message.startsWith(QStringLiteral("Buffer leader error for frame: ")))
                                 reports << thread + QStringLiteral(": ") + message;
                         });

        Desk desk;
        QVERIFY(desk.WaitForCamera(30000));
        auto& [window, list, open] = desk;

        QTest::mouseClick(open, Qt::LeftButton);
        CameraObject* cameraWindow = CameraWindowOf(window);
        QVERIFY(cameraWindow != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!cameraWindow->IsOpenInProgress(), 30000);
        QPointer<VisionCamera> camera = cameraWindow->Camera();
        QVERIFY(camera);
        QVERIFY(camera->IsOpen());
        QCOMPARE(camera->GetSerialNumber(), QStringLiteral("GV05"));
        QTRY_VERIFY_WITH_TIMEOUT(camera->IsAcquiring(), 10000);

        CustomGraphicsScene* scene = cameraWindow->Display()->Scene();
        std::set<uint64_t> painted;
        scene->SetPaintedHook([&painted, scene] { painted.insert(scene->LastPaintedTimestamp()); });
        QTRY_VERIFY_WITH_TIMEOUT(painted.size() >= 3, 20000);
        QTRY_VERIFY_WITH_TIMEOUT(camera->GetIncompleteCounter() > 0, 30000);
        scene->SetPaintedHook({});
        QVERIFY(!cameraWindow->IsWaitingForImage());
        QVERIFY2(reports.isEmpty(), qPrintable(reports.join(QLatin1Char('\n'))));
        QVERIFY(trailerReports > 0);

        QPointer<CameraObject> guard = cameraWindow;
        cameraWindow->OnButtonClose();
        QTRY_VERIFY_WITH_TIMEOUT(guard.isNull(), 15000);
        QVERIFY(camera.isNull());
        // The device was released: the same camera opens again.
        QTRY_VERIFY_WITH_TIMEOUT(open->isEnabled(), 15000);
        QTest::mouseClick(open, Qt::LeftButton);
        QVERIFY(CameraWindowOf(window) != nullptr);
        QTRY_VERIFY_WITH_TIMEOUT(!CameraWindowOf(window)->IsOpenInProgress(), 30000);
        QVERIFY(CameraWindowOf(window)->Camera()->IsOpen());
    }
};

QTEST_MAIN(TestCameraObjectGige)
#include "test_cameraobject_gige.moc"
