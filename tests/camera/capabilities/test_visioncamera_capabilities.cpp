// The capability layer of VisionCamera on opened simulated cameras (and Aravis' fake camera): probes, the XML
// of all five modules, camera files through a host file, parameter files between two cameras of one model,
// and the optimise routine's save-and-switch-off of trigger, automatics and gains.
#include "../openworker/simdescriptors.h"
#include "camera/visioncamera.h"
#include "camera/visioncameraopenworker.h"
#include "camera/visionimagecaptureworker.h"
#include "common/logmessagesender.h"
#include "processing/iplgainfeatureprovider.h"

#include "orna/core/sim/simregistry.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <fstream>

class TestVisionCameraCapabilities : public QObject
{
    Q_OBJECT

private:
    testcams::Transport sim;
    QStringList logErrors;
    QTemporaryDir dir;

    // Opened on this thread, as a camera window without a main window would.
    std::unique_ptr<VisionCamera> Open(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
    {
        return std::make_unique<VisionCamera>(nullptr, nullptr, descriptor, false, false, false);
    }

private Q_SLOTS:
    void initTestCase()
    {
        ::setenv("ORNA_TRANSPORTS", "fake,sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, "color,color,mono", 1);
        orna::Library::Initialize();
        if (!sim.Open("sim:"))
            QSKIP("the sim: producer is not offered");
        QVERIFY(dir.isValid());
        connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
                [this](QString, QString thread, QString message, int) { logErrors << thread + " " + message; });
    }

    void init() { logErrors.clear(); }

    void probesOfColorAndMonoCameras()
    {
        auto color = Open(sim.BySerial("LVSC00001"));
        QVERIFY(color->GetDataStream());
        QVERIFY(color->IsColorCamera());
        QVERIFY(color->HasCameraBrightnessAuto());
        QVERIFY(color->HasCameraBalanceWhiteAuto());
        QVERIFY(color->HasCameraI2C());
        QVERIFY(color->HasTriggerDelay());
        QVERIFY(color->HasTriggerDevider());
        QVERIFY(color->HasGain("AnalogAll"));
        QVERIFY(!color->HasGain("Sparkle"));
        QVERIFY(color->IsFileSelectorAvailable());
        QVERIFY(color->IsUserSetCommandLoadAvailable());
        QVERIFY(color->IsUserSetCommandSaveAvailable());
        std::vector<std::string> entries;
        QVERIFY(color->GetUserSetSelectorEntries(entries));
        QVERIFY(std::find(entries.begin(), entries.end(), "UserSet1") != entries.end());
        QVERIFY(color->GetFileSelectorEntries(entries));
        QVERIFY(std::find(entries.begin(), entries.end(), "UserData") != entries.end());
        QVERIFY(color->GetChunkGainSelectorEntries(entries) && !entries.empty());
        QVERIFY(!color->HasSubRegionSelector("Region0"));
        QCOMPARE(color->GetLineTriggerInput(), std::string("Line0"));
        QCOMPARE(color->GetLineInputs(), (std::vector<std::string>{"Line0", "Line2", "Line3"}));
        QCOMPARE(color->GetLineOutputs(), (std::vector<std::string>{"Line1", "Line2", "Line3"}));
        QCOMPARE(color->GetBootStatusText(), QStringLiteral("OK"));
        QCOMPARE(color->GetDeviceBootStatusDescription().isEmpty(), false);

        auto mono = Open(sim.BySerial("LVSM00001"));
        QVERIFY(mono->IsOpen());
        QVERIFY(!mono->IsColorCamera());
        QVERIFY(!mono->HasCameraBalanceWhiteAuto());
        // Neither model has red, green and blue gains of its own, so both run the host gain; only the colour
        // one has colour factors.
        QVERIFY(mono->IsHostGainRequired());
        QVERIFY(color->IsHostGainRequired());
        QVERIFY(!mono->GetIplGainFeatureProvider()->IsColorGainsAvailable());
        QVERIFY(color->GetIplGainFeatureProvider()->IsColorGainsAvailable());
        QVERIFY2(logErrors.isEmpty(), qPrintable(logErrors.join('\n')));
    }

    void xmlOfAllFiveModules()
    {
        auto camera = Open(sim.BySerial("LVSC00001"));
        QVERIFY(camera->GetDataStream());
        for (int i = 0; i < kNumXmlModules; ++i)
        {
            std::string name;
            std::vector<uint8_t> content;
            const bool ok = camera->GetXMLContent(XmlModule(i), camera->GetDescriptor(), nullptr, name, content);
            QVERIFY2(ok, qPrintable(QString("module %1: %2").arg(i).arg(logErrors.join('\n'))));
            QVERIFY2(!content.empty(), qPrintable(QString("module %1").arg(i)));
            QVERIFY(std::string(content.begin(), content.end()).find("RegisterDescription") != std::string::npos);
        }
        std::string name;
        std::vector<uint8_t> content;
        QVERIFY(camera->GetXMLContent(XmlModule::RemoteDevice, camera->GetDescriptor(), nullptr, name, content));
        QCOMPARE(std::string(content.begin(), content.end()), camera->GetRemoteNodeMap()->GetXml());

        testcams::Transport fake;
        if (!fake.Open("aravis:Fake") || !fake.First())
            QSKIP("Aravis' Fake interface is not offered");
        // The fake camera opens through the same path; its lock register is never touched.
        auto fakeCamera = Open(fake.First());
        QVERIFY(fakeCamera->IsOpen());
        QVERIFY(
            fakeCamera->GetXMLContent(XmlModule::RemoteDevice, fakeCamera->GetDescriptor(), nullptr, name, content));
        QVERIFY(!content.empty());
    }

    void cameraFilesThroughAHostFile()
    {
        auto camera = Open(sim.BySerial("LVSC00001"));
        const QString source = dir.filePath("upload.bin");
        std::string data;
        for (int i = 0; i < 3000; ++i)
            data.push_back(char(i * 7 + 3));
        {
            std::ofstream out(source.toStdString(), std::ios::binary);
            out << data;
        }
        std::string error;
        int64_t done = 0, total = 0;
        QVERIFY2(camera->WriteFile("UserData", source.toStdString(), error, done, total), error.c_str());
        QCOMPARE(done, int64_t(data.size()));
        QCOMPARE(total, int64_t(data.size()));
        std::vector<uint8_t> back;
        QVERIFY(camera->ReadFile("UserData", back, error, done));
        QCOMPARE(std::string(back.begin(), back.end()), data);
        QVERIFY(camera->DeleteFile("UserData", error));

        QVERIFY(!camera->WriteFile("UserData", dir.filePath("missing.bin").toStdString(), error, done, total));
        QVERIFY(error.find("Cannot read") != std::string::npos);
        QCOMPARE(logErrors.size(), 1);
        QVERIFY(logErrors.front().startsWith("bool VisionCamera::WriteFile("));
    }

    void parameterFileBetweenTwoCamerasOfOneModel()
    {
        auto first = Open(sim.BySerial("LVSC00001"));
        auto second = Open(sim.BySerial("LVSC00002"));
        QVERIFY(first->SetDoubleValue("ExposureTime", 4321.0));
        QVERIFY(first->SetIntegerValue("Width", 1024));
        const std::string path = dir.filePath("settings.txt").toStdString();
        QVERIFY(first->SaveUserSetToFile(path));
        QVERIFY(second->LoadUserSetFromFile(path));
        double exposure = 0;
        int64_t width = 0;
        QVERIFY(second->GetDoubleValue("ExposureTime", ReadValueType::Value, exposure, 1.0));
        QVERIFY(second->GetIntegerValue("Width", ReadValueType::Value, width));
        QCOMPARE(exposure, 4321.0);
        QCOMPARE(width, int64_t(1024));
        QVERIFY(logErrors.isEmpty());

        // A mono camera's file is refused with a log line naming the method; the values stay.
        auto mono = Open(sim.BySerial("LVSM00001"));
        const std::string monoPath = dir.filePath("mono.txt").toStdString();
        QVERIFY(mono->SaveUserSetToFile(monoPath));
        QVERIFY(second->SetDoubleValue("ExposureTime", 5555.0));
        QVERIFY(!second->LoadUserSetFromFile(monoPath));
        QCOMPARE(logErrors.size(), 1);
        QVERIFY(logErrors.front().startsWith("bool VisionCamera::LoadUserSetFromFile(const std::string &)"));
        QVERIFY(second->GetDoubleValue("ExposureTime", ReadValueType::Value, exposure, 1.0));
        QCOMPARE(exposure, 5555.0);
        QVERIFY(!second->SaveUserSetToFile(dir.filePath("no/such/folder/x.txt").toStdString()));
    }

    void optimiseSavesAndSwitchesOffWhatWouldDisturbIt()
    {
        auto camera = Open(sim.BySerial("LVSC00001"));
        QVERIFY(camera->SetPixelFormatSourceOverString("RGB8"));
        QVERIFY(camera->SetSelectedEnumerationEntry("TriggerMode", "On", "TriggerSelector", "FrameStart", true));
        QVERIFY(camera->SetEnumerationEntry("ExposureAuto", "Continuous"));
        QVERIFY(camera->SetSelectedFloatValues({{"Gain", 6.0}}, "GainSelector", "DigitalAll", true));

        QSignalSpy finished(camera->GetCaptureWorker(), &VisionImageCaptureWorker::Signal_AdjustLoopFinished);
        VisionCameraOpenWorker::ApplyOptimalSettings(camera.get(), false);
        // What would disturb the run is off while the routine works: the saved table holds the trigger.
        QVERIFY(finished.wait(20000) || finished.count() == 1);
        QVERIFY(camera->WaitForOneShotTask(5000));
        QCOMPARE(finished.count(), 1);
        QCoreApplication::processEvents(); // log lines from the task's thread arrive queued
        QVERIFY2(logErrors.isEmpty(), qPrintable(logErrors.join(QLatin1Char('\n'))));
        QCOMPARE(finished.front().front().toBool(), true);

        // The gains stay at their reset value; trigger and automatic modes come back as they were.
        std::vector<std::pair<std::string, double>> gains{{"Gain", -1.0}};
        QVERIFY(camera->GetSelectedFloatValues(gains, ReadValueType::Value, "GainSelector", "DigitalAll", true, 0.1));
        QCOMPARE(gains.front().second, 0.0);
        std::string entry;
        QVERIFY(camera->GetSelectedEnumerationEntry("TriggerMode", entry, "TriggerSelector", "FrameStart", true));
        QCOMPARE(entry, std::string("On"));
        QVERIFY(camera->GetEnumerationEntry("ExposureAuto", entry));
        QCOMPARE(entry, std::string("Continuous"));
    }

    void cleanupTestCase()
    {
        sim = {};
        if (orna::Library::IsInitialized())
            orna::Library::Close();
    }
};

QTEST_MAIN(TestVisionCameraCapabilities)
#include "test_visioncamera_capabilities.moc"
