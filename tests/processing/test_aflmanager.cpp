// AflManager and its providers on a simulated camera: nothing runs while every mode is off, a busy library
// drops frames instead of queueing them, the running flag follows the last brightness component, modes
// survive a disconnection, an empty controller leaves nothing bound, and closing the camera during a
// calculation waits for it and frees the image.
#include "tests/camera/capture/capturefixture.h"

#include "orna/afl/autofeatures.h"
#include "orna/ipl/gain.h"
#include "processing/aflautofeatureproviders.h"
#include "processing/aflmanager.h"

#include <QSignalSpy>
#include <QtTest>

#include <cstring>

using namespace capturetest;

namespace {

std::shared_ptr<orna::ipl::Image> Grey(uint32_t format, uint32_t width, uint32_t height, uint8_t level)
{
    auto image = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(format, width, height));
    std::memset(image->GetData(), level, image->GetByteCount());
    return image;
}

int LibraryMode(AflAutoFeatureProviderBase* provider, int component)
{
    int mode = -1;
    auto c = provider->GetController();
    if (!c)
        return -1;
    if (component == 0)
        orna_afl_AutoController_Mode_Get(c->GetHandle(), &mode);
    else
        orna_afl_AutoController_BrightnessComponent_Mode_Get(c->GetHandle(), component, &mode);
    return mode;
}

} // namespace

class TestAflManager : public QObject
{
    Q_OBJECT

private:
    SimSetup sim;
    std::unique_ptr<VisionCamera> camera;
    CaptureRecorder recorder;

    AflManager* Afl() { return camera->GetAflManager(); }
    AflAutoBrightnessFeatureProvider* Brightness() { return Afl()->GetBrightnessProvider(); }

    void Open(const char* serial)
    {
        camera = OpenCamera(sim.Find(serial));
        QVERIFY2(camera, "the simulated camera did not open");
        recorder.Clear();
        recorder.Attach(camera->GetCaptureWorker());
        QVERIFY(Afl()->IsConnected());
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
            Afl()->SwitchAllOff();
        }
        camera.reset();
        recorder.Detach();
    }

    void cleanupTestCase()
    {
        sim.Close();
        orna::Library::Close();
    }

    // All modes "Off": no running flag, so the chain neither clones for the library nor calls it.
    void allOffMeansNoCloneAndNoCall()
    {
        Open("LVSC00001");
        QVERIFY(!Afl()->IsRunning());
        VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(recorder.displays >= 5);
        QVERIFY(camera->StopAcquisition());
        QCOMPARE(Afl()->GetCalculationCount(), uint64_t(0));
        QCOMPARE(worker->GetStageRuns(ChainStage::AutoFeatures), uint64_t(0));
        QCOMPARE(worker->GetStageRuns(ChainStage::Clone), uint64_t(0));

        // Continuous brightness: frames reach the library, each through a clone of the buffer's view.
        Brightness()->GetExposureAuto()->SetStringValue(QStringLiteral("Continuous"));
        QVERIFY(Afl()->IsBrightnessAutoActive());
        QVERIFY(camera->StartAcquisition());
        QTRY_VERIFY(Afl()->GetCalculationCount() >= 3);
        QVERIFY(camera->StopAcquisition());
        QVERIFY(worker->GetStageRuns(ChainStage::AutoFeatures) >= 3);
        QVERIFY(worker->GetStageRuns(ChainStage::Clone) >= worker->GetStageRuns(ChainStage::AutoFeatures));
    }

    // 200 frames offered back to back to a library that needs milliseconds for each: most are dropped, none
    // is queued, and nothing is calculated after the last one was taken.
    void busyLibraryDropsFrames()
    {
        Open("LVSM00001");
        Brightness()->GetExposureAuto()->SetStringValue(QStringLiteral("Continuous"));
        auto image = Grey(orna::ipl::Mono8, 2448, 2048, 60);
        int taken = 0;
        for (int i = 0; i < 200; ++i)
            taken += Afl()->ProcessImage(image) ? 1 : 0;
        QTRY_VERIFY(!Afl()->IsBusy());
        const uint64_t calls = Afl()->GetCalculationCount();
        QCOMPARE(calls, uint64_t(taken));
        QVERIFY2(taken >= 1 && taken < 100, qPrintable(QString::number(taken)));
        QTest::qWait(100);
        QCOMPARE(Afl()->GetCalculationCount(), calls);
    }

    // "Once" on both components: the flag holds while either is on and drops with the last.
    void runningFlagDropsWithTheLastBrightnessComponent()
    {
        Open("LVSM00001");
        AflAutoMode* exposure = Brightness()->GetExposureAuto();
        AflAutoMode* gain = Brightness()->GetGainAuto();
        QVERIFY(exposure->IsAvailable() && gain->IsAvailable());
        exposure->SetStringValue(QStringLiteral("Once"));
        gain->SetStringValue(QStringLiteral("Once"));
        QVERIFY(Afl()->IsBrightnessAutoActive());
        exposure->SetStringValue(QStringLiteral("Off"));
        QVERIFY(Afl()->IsBrightnessAutoActive());
        gain->SetStringValue(QStringLiteral("Off"));
        QVERIFY(!Afl()->IsBrightnessAutoActive());
        QVERIFY(!Afl()->IsRunning());

        // The library ends a "Once" by itself: its callbacks move the flag at once and the features follow on
        // their own thread.
        exposure->SetStringValue(QStringLiteral("Once"));
        gain->SetStringValue(QStringLiteral("Once"));
        auto frame = Grey(orna::ipl::Mono8, 64, 64, 128);
        Afl()->ProcessImageBlocking(*frame);
        QVERIFY(!Afl()->IsBrightnessAutoActive());
        QTRY_COMPARE(exposure->GetStringValue(false), QStringLiteral("Off"));
        QTRY_COMPARE(gain->GetStringValue(false), QStringLiteral("Off"));
    }

    // The camera lost in "Continuous" and back: the modes return with no user action.
    void disconnectThenConnectRestoresTheModes()
    {
        Open("LVSC00001");
        Brightness()->GetExposureAuto()->SetStringValue(QStringLiteral("Continuous"));
        Afl()->GetBalanceWhiteProvider()->GetBalanceWhiteAuto()->SetStringValue(QStringLiteral("Continuous"));
        Afl()->Disconnect();
        QVERIFY(!Afl()->IsConnected());
        QVERIFY(!Afl()->IsRunning());
        QVERIFY(!Brightness()->GetExposureAuto()->IsAvailable());
        QVERIFY(Afl()->Connect(camera->GetRemoteNodeMap(), camera->GetIplGain()));
        QCOMPARE(Brightness()->GetExposureAuto()->GetStringValue(false), QStringLiteral("Continuous"));
        QCOMPARE(Brightness()->GetGainAuto()->GetStringValue(false), QStringLiteral("Off"));
        QCOMPARE(LibraryMode(Brightness(), ORNA_AFL_COMPONENT_EXPOSURE), int(ORNA_AFL_MODE_CONTINUOUS));
        QCOMPARE(LibraryMode(Afl()->GetBalanceWhiteProvider(), 0), int(ORNA_AFL_MODE_CONTINUOUS));
        QVERIFY(Afl()->IsBrightnessAutoActive());
        QVERIFY(Afl()->IsWhiteBalanceAutoActive());
    }

    // An empty controller: nothing available, neutral values, and no callback left with the library.
    void emptyControllerLeavesNothingBound()
    {
        Open("LVSC00001");
        auto map = camera->GetRemoteNodeMap();
        orna::afl::Manager manager(map);
        auto balance = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_WHITE_BALANCE);
        manager.AddController(balance);
        AflAutoBalanceWhiteFeatureProvider provider;
        int changes = 0;
        provider.SetChangeHandler([&] { ++changes; });
        provider.SetController(balance);
        QVERIFY(provider.GetBalanceWhiteAuto()->IsAvailable());
        QVERIFY(provider.GetSkipFrames()->IsAvailable());
        QVERIFY(provider.GetSkipFrames()->GetMaximum(false) > 0);
        // A neutral image ends a "Once" at once, through the registered callback.
        auto grey = Grey(orna::ipl::BayerRG8, 64, 64, 100);
        orna_afl_AutoController_Mode_Set(balance->GetHandle(), ORNA_AFL_MODE_ONCE);
        manager.Process(*grey);
        QCOMPARE(changes, 1);

        provider.SetController(nullptr);
        QVERIFY(!provider.HasController());
        QVERIFY(!provider.GetBalanceWhiteAuto()->IsAvailable());
        QCOMPARE(provider.GetBalanceWhiteAuto()->GetIntValue(false), int64_t(0));
        QVERIFY(!provider.GetSkipFrames()->IsAvailable());
        QCOMPARE(provider.GetSkipFrames()->GetIntValue(false), int64_t(0));
        QVERIFY(!provider.GetRoiGroup()->Width()->IsAvailable());
        orna_afl_AutoController_Mode_Set(balance->GetHandle(), ORNA_AFL_MODE_ONCE);
        manager.Process(*grey);
        QCOMPARE(changes, 1);

        AflAutoBrightnessFeatureProvider brightness;
        brightness.SetController(nullptr);
        for (FeatureInterface* feature : std::initializer_list<FeatureInterface*>{
                 brightness.GetExposureAuto(), brightness.GetGainAuto(), brightness.GetTarget(),
                 brightness.GetTargetTolerance(), brightness.GetPercentile(), brightness.GetSkipFrames()})
            QVERIFY2(!feature->IsAvailable(), qPrintable(feature->GetName()));
        QCOMPARE(brightness.GetTarget()->GetDoubleValue(false), 0.0);
    }

    // The ROI limit follows the image the library is given: width and height swap while it is transposed.
    void roiLimitFollowsTheImageSize()
    {
        Open("LVSM00001");
        Afl()->SetImageSize(640, 480);
        RoiFeatureGroup* roi = Brightness()->GetRoiGroup();
        QCOMPARE(roi->Region(), QRect(0, 0, 640, 480));
        Afl()->SetImageSize(0, 0, 480, 640);
        QCOMPARE(roi->Region(), QRect(0, 0, 480, 640));
        // A region of its own is written to the library as it is, inside the limit.
        roi->Follow()->SetBoolValue(false);
        roi->Width()->SetIntValue(200);
        roi->Height()->SetIntValue(100);
        roi->OffsetY()->SetIntValue(300);
        orna_afl_roi written{};
        orna_afl_AutoController_ROI_Get(Brightness()->GetController()->GetHandle(), &written);
        QCOMPARE(written.width, int64_t(200));
        QCOMPARE(written.y, int64_t(300));
        QCOMPARE(written.height, int64_t(100));
    }

    // Closing the camera during a calculation waits for it; the lent image is freed afterwards.
    void closingDuringACalculationWaitsAndFreesTheImage()
    {
        Open("LVSC00001");
        Brightness()->GetExposureAuto()->SetStringValue(QStringLiteral("Continuous"));
        Afl()->GetBalanceWhiteProvider()->GetBalanceWhiteAuto()->SetStringValue(QStringLiteral("Continuous"));
        std::weak_ptr<orna::ipl::Image> lent;
        {
            auto image = Grey(orna::ipl::BayerRG8, 2448, 2048, 90);
            lent = image;
            QVERIFY(Afl()->ProcessImage(image));
        }
        QVERIFY(Afl()->IsBusy() || lent.expired());
        camera.reset();
        QVERIFY(lent.expired());
    }
};

QTEST_MAIN(TestAflManager)
#include "test_aflmanager.moc"
