// Features and bound controls against one simulated camera opened through the public device library: the
// node tree model over all five maps of the camera, a write through a bound slider coming back as what the
// camera took, selector-dependent re-reads, access changes from TLParamsLocked, a burst of slider writes,
// software features, and the camera lost during writes.
#include "features/camerafeature.h"
#include "features/controls/featurecontrols.h"
#include "features/softwarefeature.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/nodemapmodel.h"
#include "nodetree/treeitem.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"
#include "widgets/customedit.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>

using namespace orna::core;

class TestFeaturesSim : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
    std::shared_ptr<Device> device;
    std::shared_ptr<DataStream> stream;
    std::unique_ptr<NodeMapAccess> remote;
    QString serial;

    TreeItem* Item(const char* name)
    {
        TreeItem* item = remote->FindItem(QString::fromLatin1(name));
        if (!item)
            qWarning("no item %s", name);
        return item;
    }

private Q_SLOTS:
    void initTestCase()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(sim::kSimCamerasEnvironmentVariable, "1", 1);
        orna::Library::Initialize();
        EnvironmentInspector::UpdateCTIPaths();
        const auto paths = EnvironmentInspector::GetCTIPaths();
        if (std::find(paths.begin(), paths.end(), "sim:") == paths.end())
            QSKIP("the sim: producer is not listed");
        producer = ProducerLibrary::Construct("sim:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        QCOMPARE(int(iface->GetDevices().size()), 1);
        auto descriptor = iface->GetDevices().at(0);
        serial = QString::fromStdString(descriptor->GetSerialNumber());
        device = descriptor->OpenDevice(DeviceAccessType::Control);
        stream = device->GetDataStream(0)->OpenDataStream();
        remote = std::make_unique<NodeMapAccess>(QStringLiteral("RemoteDevice"));
        remote->SetNodeMap(device->GetRemoteDevice()->GetNodeMap());
        QVERIFY(remote->GetItemCount() > 50);
    }

    void cleanupTestCase()
    {
        remote.reset();
        stream.reset();
        device.reset();
        iface.reset();
        system.reset();
        producer.reset();
    }

    void modelOverAllFiveMaps()
    {
        const std::vector<std::pair<QString, std::shared_ptr<NodeMap>>> maps = {
            {QStringLiteral("RemoteDevice"), device->GetRemoteDevice()->GetNodeMap()},
            {QStringLiteral("Device"), device->GetNodeMap()},
            {QStringLiteral("DataStream"), stream->GetNodeMap()},
            {QStringLiteral("Interface"), iface->GetNodeMap()},
            {QStringLiteral("System"), system->GetNodeMap()},
        };
        for (const auto& map : maps)
        {
            NodeMapAccess access(map.first);
            access.SetNodeMap(map.second);
            QVERIFY2(access.GetItemCount() > 0, qPrintable(map.first));
            NodeMapModel model(&access);
            QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
            QVERIFY2(model.rowCount() > 0, qPrintable(map.first));
        }
    }

    void sliderWriteComesBackAsWhatTheCameraTook()
    {
        IntegerCameraFeature width;
        width.SetSource(Item("Width"), remote.get());
        QVERIFY(width.IsAvailable());
        QCOMPARE(width.GetIncrement(false), int64_t(4));
        FeatureControls::IntSlider slider;
        slider.SetWriteAsync(false);
        slider.SetFeature(&width);
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Increment(), int64_t(4));
        QCOMPARE(slider.Value(), width.GetIntValue(true));

        QSignalSpy told(&width, &IntegerFeatureInterface::IntValueChanged);
        // The user types a value off the increment grid: what reaches the camera and comes back is on it.
        Q_EMIT slider.EditBox()->Signal_EditingFinished(QStringLiteral("651"));
        QTRY_COMPARE(width.GetIntValue(false), int64_t(652));
        QCOMPARE(device->GetRemoteDevice()->GetNodeMap()->FindNode<nodes::IntegerNode>("Width")->GetValue(), 652);
        QCOMPARE(slider.Value(), int64_t(652));
        QVERIFY(!told.isEmpty());
        QCOMPARE(told.last().at(0).value<int64_t>(), int64_t(652));

        // A value the camera refuses is not what the control shows: the read-back keeps the camera's value,
        // and a repeated value tells nothing.
        told.clear();
        width.SetIntValue(650);
        width.SetIntValue(652);
        QCOMPARE(width.GetIntValue(true), int64_t(652));
        QCOMPARE(slider.Value(), int64_t(652));
        QCOMPARE(told.size(), 0);
        QCOMPARE(width.Clamp(650), int64_t(652)); // a tie rounds up from the minimum 64
        QCOMPARE(width.Clamp(649), int64_t(648));
    }

    // The camera accepts any exposure in range but stores the nearest whole step of its exposure clock: the
    // control ends with what the camera took, not with what was typed, on both write paths.
    void exposureWriteComesBackAsTheCameraRoundedIt()
    {
        auto node = device->GetRemoteDevice()->GetNodeMap()->FindNode<nodes::FloatNode>("ExposureTime");
        DoubleCameraFeature exposure;
        exposure.SetSource(Item("ExposureTime"), remote.get());
        QVERIFY(exposure.IsWriteable());
        FeatureControls::DoubleSlider slider;
        slider.SetWriteAsync(false);
        slider.SetFeature(&exposure);
        QVERIFY(slider.isEnabled());

        QSignalSpy told(&exposure, &DoubleFeatureInterface::DoubleValueChanged);
        Q_EMIT slider.EditBox()->Signal_EditingFinished(QStringLiteral("1234.4"));
        QTRY_COMPARE(exposure.GetDoubleValue(false), 1234.0);
        QCOMPARE(node->GetValue(), 1234.0);
        QCOMPARE(slider.Value(), 1234.0);
        QVERIFY(!told.isEmpty());
        QCOMPARE(told.last().at(0).toDouble(), 1234.0);

        slider.SetWriteAsync(true);
        Q_EMIT slider.Signal_ValueChanged(2000.6);
        QTRY_COMPARE(slider.Value(), 2001.0);
        QCOMPARE(node->GetValue(), 2001.0);
        QCOMPARE(exposure.GetDoubleValue(false), 2001.0);
    }

    void selectorDependentFeaturesReread()
    {
        EnumerationCameraFeature selector;
        selector.SetSource(Item("GainSelector"), remote.get());
        DoubleCameraFeature gain;
        gain.SetSource(Item("Gain"), remote.get());
        QVERIFY(selector.IsAvailable() && gain.IsAvailable());
        QVERIFY(selector.GetEntries(false).contains(QStringLiteral("DigitalAll")));

        FeatureControls::ComboBox combo;
        combo.SetFeature(&selector);
        FeatureControls::DoubleSlider slider;
        slider.SetWriteAsync(false);
        slider.SetFeature(&gain);

        selector.SetStringValue(QStringLiteral("AnalogAll"));
        gain.SetDoubleValue(3.0);
        QTRY_COMPARE(slider.Value(), 3.0);
        selector.SetStringValue(QStringLiteral("DigitalAll"));
        QTRY_COMPARE(combo.currentText(), QStringLiteral("DigitalAll"));
        gain.SetDoubleValue(5.0);
        QTRY_COMPARE(slider.Value(), 5.0);

        // The selector changes back: Gain is re-read for the entry now selected.
        selector.SetStringValue(QStringLiteral("AnalogAll"));
        QTRY_COMPARE(slider.Value(), 3.0);
        QTRY_COMPARE(combo.currentText(), QStringLiteral("AnalogAll"));

        // A feature fixed to one entry reads and writes it without moving the selector.
        DoubleCameraFeature digital(std::make_shared<SelectedCameraFeatureAccessor>(QStringLiteral("DigitalAll")));
        digital.SetSource(Item("Gain"), remote.get());
        QVERIFY(digital.IsAvailable());
        QCOMPARE(digital.GetDoubleValue(true), 5.0);
        digital.SetDoubleValue(7.0);
        QCOMPARE(digital.GetDoubleValue(true), 7.0);
        QCOMPARE(selector.GetStringValue(true), QStringLiteral("AnalogAll"));
        QCOMPARE(gain.GetDoubleValue(true), 3.0);

        // A run-time choice of the entry: the feature tells the value of each newly chosen entry.
        auto selectable = std::make_shared<SelectableCameraFeatureAccessor>(QStringLiteral("DigitalAll"), true);
        DoubleCameraFeature chosen(selectable);
        chosen.SetSource(Item("Gain"), remote.get());
        FeatureControls::DoubleSlider chosenSlider;
        chosenSlider.SetFeature(&chosen);
        QCOMPARE(chosenSlider.Value(), 7.0);
        QSignalSpy chosenValues(&chosen, &DoubleFeatureInterface::DoubleValueChanged);
        selectable->SetSelectorEntry(QStringLiteral("AnalogAll"));
        QCOMPARE(chosenValues.size(), 1);
        QCOMPARE(chosenSlider.Value(), 3.0);
        selectable->SetSelectorEntry(QStringLiteral("DigitalAll"));
        QCOMPARE(chosenSlider.Value(), 7.0);
        // Not selecting: it follows the selector like a plain feature.
        selectable->SetSelectionActive(false);
        QCOMPARE(chosenSlider.Value(), 3.0);
        QCOMPARE(selector.GetStringValue(true), QStringLiteral("AnalogAll"));

        // An entry the selector does not list: not available although the node is readable.
        DoubleCameraFeature missing(std::make_shared<SelectedCameraFeatureAccessor>(QStringLiteral("NoSuchStage")));
        missing.SetSource(Item("Gain"), remote.get());
        QVERIFY(!missing.IsAvailable());
        QCOMPARE(missing.GetAccess(), FeatureAccess::NotAvailable); // bound, but its entry is not there
        QCOMPARE(missing.GetDoubleValue(true), 0.0);
    }

    void registerEditWritesAllBytes()
    {
        RegisterFeatureInterface* none = nullptr;
        RegisterCameraFeature buffer;
        buffer.SetSource(Item("I2CTransmitBuffer"), remote.get());
        if (!buffer.IsAvailable())
            QSKIP("the simulated camera has no I2CTransmitBuffer");
        const int64_t length = buffer.GetLength();
        QVERIFY(length > 0);
        FeatureControls::RegisterEdit edit;
        edit.SetFeature(none);
        QVERIFY(!edit.isEnabled());
        edit.SetFeature(&buffer);
        QVERIFY(edit.isEnabled());

        QStringList pairs;
        for (int64_t i = 0; i < length; ++i)
            pairs << QStringLiteral("%1").arg(int((i * 7 + 1) & 0xFF), 2, 16, QLatin1Char('0')).toUpper();
        Q_EMIT edit.Signal_EditingFinished(pairs.join(QLatin1Char(' ')));
        const std::vector<uint8_t> data = buffer.GetData(true);
        QCOMPARE(int64_t(data.size()), length);
        QCOMPARE(int(data[1]), 8);
        QCOMPARE(edit.text(), pairs.join(QLatin1Char(' ')));

        // Too few bytes: nothing is written, the field shows the register again.
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("AB CD"));
        QVERIFY(buffer.GetData(true) == data);
        QCOMPARE(edit.text(), pairs.join(QLatin1Char(' ')));
    }

    void otherKindsDriveTheirNodes()
    {
        BooleanCameraFeature reverse;
        reverse.SetSource(remote.get(), QStringLiteral("ReverseX"));
        FeatureControls::Switch toggle;
        toggle.SetFeature(&reverse);
        QVERIFY(toggle.isEnabled());
        const bool before = reverse.GetBoolValue(true);
        Q_EMIT toggle.Signal_ValueChanged(!before);
        QCOMPARE(device->GetRemoteDevice()->GetNodeMap()->FindNode<nodes::BooleanNode>("ReverseX")->GetValue(),
                 !before);
        QCOMPARE(toggle.Value(), !before);
        reverse.SetBoolValue(before);

        StringCameraFeature name;
        name.SetSource(remote.get(), QStringLiteral("DeviceUserID"));
        QSignalSpy names(&name, &StringFeatureInterface::StringValueChanged);
        name.SetStringValue(QStringLiteral("bench left"));
        QCOMPARE(name.GetStringValue(true), QStringLiteral("bench left"));
        QCOMPARE(names.size(), 1);
        QCOMPARE(names.first().at(0).toString(), QStringLiteral("bench left"));

        CommandCameraFeature reset;
        reset.SetSource(remote.get(), QStringLiteral("TimestampReset"));
        FeatureControls::Button button;
        button.SetFeature(&reset);
        QVERIFY(button.isEnabled());
        QSignalSpy executed(&reset, &CommandFeatureInterface::Executed);
        button.click();
        QTRY_COMPARE(executed.size(), 1);

        // An enumeration by number: the entry's value, not its position.
        EnumerationCameraFeature selector;
        selector.SetSource(remote.get(), QStringLiteral("GainSelector"));
        selector.SetStringValue(QStringLiteral("DigitalAll"));
        const int64_t digital = selector.GetIntValue(true);
        selector.SetStringValue(QStringLiteral("AnalogAll"));
        QVERIFY(selector.GetIntValue(true) != digital);
        selector.SetIntValue(digital);
        QCOMPARE(selector.GetStringValue(true), QStringLiteral("DigitalAll"));
        selector.SetStringValue(QStringLiteral("AnalogAll"));
    }

    void accessChangeFollowsTheLock()
    {
        // The lock is invisible and outside the categories; it is set as an acquisition start sets it.
        auto lock = device->GetRemoteDevice()->GetNodeMap()->FindNode<nodes::IntegerNode>("TLParamsLocked");
        QVERIFY(lock);
        IntegerCameraFeature width;
        width.SetSource(Item("Width"), remote.get());
        FeatureControls::IntSlider slider;
        slider.SetFeature(&width);
        QVERIFY(slider.isEnabled());
        QSignalSpy writeable(&width, &FeatureInterface::WriteableChanged);

        lock->SetValue(1);
        QTRY_VERIFY(!slider.isEnabled());
        QVERIFY(!writeable.isEmpty());
        QCOMPARE(writeable.last().at(0).toBool(), false);
        QCOMPARE(width.GetAccess(), FeatureAccess::ReadOnly);

        lock->SetValue(0);
        QTRY_VERIFY(slider.isEnabled());
        QCOMPARE(writeable.last().at(0).toBool(), true);

        // Unbound: access -2, neutral values, the control off; bound again, everything is told afresh.
        width.Unbind();
        QCOMPARE(width.GetAccess(), FeatureAccess::Unbound);
        QCOMPARE(width.GetIntValue(true), int64_t(0));
        QTRY_VERIFY(!slider.isEnabled());
        width.SetSource(Item("Width"), remote.get());
        QTRY_VERIFY(slider.isEnabled());
        QCOMPARE(slider.Value(), width.GetIntValue(false));
        QVERIFY(width.GetIntValue(false) > 0);
    }

    void newTreeUnbindsAndRebindKeepsTheControl()
    {
        IntegerCameraFeature width;
        width.SetSource(Item("Width"), remote.get());
        FeatureControls::IntSlider slider;
        slider.SetFeature(&width);
        QVERIFY(slider.isEnabled());
        const int64_t value = width.GetIntValue(true);

        // The node map is handed over again (as after a reconnection): the old items go, the feature lets go.
        remote->SetNodeMap(device->GetRemoteDevice()->GetNodeMap());
        QCOMPARE(width.GetAccess(), FeatureAccess::Unbound);
        QVERIFY(!slider.isEnabled());
        width.SetSource(remote.get(), QStringLiteral("Width"));
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Value(), value);
        QCOMPARE(slider.Feature(), &width);
        width.SetSource(remote.get(), QStringLiteral("NoSuchNode"));
        QCOMPARE(width.GetAccess(), FeatureAccess::Unbound);
        QVERIFY(!slider.isEnabled());
    }

    void rapidSliderWritesEndOnTheLastValue()
    {
        IntegerCameraFeature width;
        width.SetSource(Item("Width"), remote.get());
        FeatureControls::IntSlider slider;
        slider.SetFeature(&width);
        QVERIFY(slider.IsWriteAsync());
        const int writesBefore = remote->GetWriteCount();

        // A drag: 1,000 intermediate values, then the final one from the release.
        for (int i = 0; i < 1000; ++i)
            Q_EMIT slider.Signal_ImmediateUpdate(64 + 4 * (i % 200));
        Q_EMIT slider.Signal_ValueChanged(800);
        QVERIFY(width.WaitForAsyncWrite(20000));
        QTRY_COMPARE(width.GetIntValue(false), int64_t(800));
        QTRY_COMPARE(slider.Value(), int64_t(800));
        QCOMPARE(device->GetRemoteDevice()->GetNodeMap()->FindNode<nodes::IntegerNode>("Width")->GetValue(), 800);
        const int writes = remote->GetWriteCount() - writesBefore;
        qInfo("device writes for 1,001 slider values: %d", writes);
        QVERIFY2(writes >= 1 && writes < 500, qPrintable(QString::number(writes)));
    }

    void softwareFeatureDrivesControlAndBack()
    {
        IntegerSoftwareFeature binning(QStringLiteral("Binning"), 1, 8, 1, 1);
        FeatureControls::IntSlider slider;
        slider.SetFeature(&binning);
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Maximum(), int64_t(8));

        QSignalSpy told(&binning, &FeatureInterface::ValueChanged);
        binning.SetIntValue(4);
        binning.SetIntValue(4);
        QCOMPARE(told.size(), 1);
        QCOMPARE(slider.Value(), int64_t(4));

        Q_EMIT slider.Signal_ValueChanged(6);
        QCOMPARE(binning.GetIntValue(false), int64_t(6));
        binning.SetRange(2, 16, 2);
        QCOMPARE(slider.Maximum(), int64_t(16));

        // Switched off by its owner: access 1 and the control disabled; on again, enabled.
        bool available = true;
        binning.SetAvailableFunction([&available] { return available; });
        available = false;
        binning.UpdateAccess();
        QCOMPARE(binning.GetAccess(), FeatureAccess::NotAvailable);
        QVERIFY(!slider.isEnabled());
        QCOMPARE(binning.GetIntValue(false), int64_t(0));
        available = true;
        binning.UpdateAccess();
        QVERIFY(slider.isEnabled());

        BooleanSoftwareFeature enable(QStringLiteral("Enable"), false);
        FeatureControls::Switch toggle;
        toggle.SetFeature(&enable);
        enable.SetBoolValue(true);
        QVERIFY(toggle.Value());
        Q_EMIT toggle.Signal_ValueChanged(false);
        QVERIFY(!enable.GetBoolValue(false));

        EnumerationSoftwareFeature mode(QStringLiteral("Mode"),
                                        {{0, QStringLiteral("Off")}, {2, QStringLiteral("Continuous")}}, 0);
        FeatureControls::ComboBox combo;
        combo.SetFeature(&mode);
        QCOMPARE(combo.count(), 2);
        mode.SetIntValue(2);
        QCOMPARE(combo.currentText(), QStringLiteral("Continuous"));

        // A control with no feature, or the wrong kind, is off.
        FeatureControls::IntSlider none;
        none.SetFeature(&enable);
        QVERIFY(!none.isEnabled());
        QSignalSpy readable(&binning, &FeatureInterface::ReadableChanged);
        available = false;
        binning.triggerAllChangedSignals();
        QCOMPARE(readable.size(), 1);
        QCOMPARE(readable.first().at(0).toBool(), false);
    }

    // Last: the camera does not come back.
    // The camera's link drops and comes back: the access's features are told, their controls turn off, and
    // after the reconnection they are bound again with the camera's ranges and values; an application lock
    // set meanwhile holds.
    void controlsFollowADisconnectionAndReconnection()
    {
        auto width = std::make_shared<IntegerCameraFeature>();
        auto exposure = std::make_shared<DoubleCameraFeature>();
        remote->AddFeature(width, QStringLiteral("RemoteDevice:Width"));
        remote->AddFeature(exposure, QStringLiteral("RemoteDevice:ExposureTime"));
        FeatureControls::IntSlider widthSlider;
        widthSlider.SetFeature(width.get());
        FeatureControls::DoubleSlider exposureSlider;
        exposureSlider.SetFeature(exposure.get());
        QVERIFY(widthSlider.isEnabled());
        QVERIFY(exposureSlider.isEnabled());
        const int64_t minimum = widthSlider.Minimum();
        const int64_t maximum = widthSlider.Maximum();
        const double exposureMaximum = exposureSlider.Maximum();
        QVERIFY(maximum > minimum);
        width->SetIntValue(width->Clamp(minimum + (maximum - minimum) / 2));
        const int64_t kept = width->GetIntValue(false);
        QTRY_COMPARE(widthSlider.Value(), kept);

        auto camera = sim::SimCameraRegistry::Instance().Find(serial.toStdString());
        QVERIFY(camera);
        camera->DisconnectNow();
        remote->OnDisconnected();
        QVERIFY(!widthSlider.isEnabled());
        QVERIFY(!exposureSlider.isEnabled());
        QCOMPARE(width->GetAccess(), FeatureAccess::Unbound);
        remote->SetApplicationLock({QStringLiteral("ExposureTime")}, true);

        camera->ReconnectAfter(std::chrono::milliseconds(10));
        QTRY_VERIFY(camera->IsConnected());
        remote->OnReconnected(device->GetRemoteDevice()->GetNodeMap());
        QVERIFY(widthSlider.isEnabled());
        QCOMPARE(widthSlider.Minimum(), minimum);
        QCOMPARE(widthSlider.Maximum(), maximum);
        QCOMPARE(widthSlider.Value(), kept);
        QCOMPARE(exposureSlider.Maximum(), exposureMaximum);
        QVERIFY(!exposureSlider.isEnabled());
        remote->SetApplicationLock({QStringLiteral("ExposureTime")}, false);
        QVERIFY(exposureSlider.isEnabled());
        remote->RemoveFeature(width.get());
        remote->RemoveFeature(exposure.get());
        QCOMPARE(remote->GetFeatureCount(), 0);
    }

    void cameraLostDuringWrites()
    {
        IntegerCameraFeature width;
        width.SetSource(Item("Width"), remote.get());
        FeatureControls::IntSlider slider;
        slider.SetFeature(&width);
        auto camera = sim::SimCameraRegistry::Instance().Find(serial.toStdString());
        QVERIFY(camera);

        QElapsedTimer clock;
        clock.start();
        Q_EMIT slider.Signal_ImmediateUpdate(640);
        camera->DisconnectNow();
        for (int i = 0; i < 100; ++i)
            Q_EMIT slider.Signal_ImmediateUpdate(64 + 4 * i);
        Q_EMIT slider.Signal_ValueChanged(720);
        // The GUI thread only handed the writes over; it keeps serving events while they fail.
        bool served = false;
        QTimer::singleShot(0, this, [&served] { served = true; });
        QTRY_VERIFY(served);
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(width.WaitForAsyncWrite(60000));
        QCOMPARE(slider.Value(), width.GetIntValue(false));
    }
};

QTEST_MAIN(TestFeaturesSim)
#include "test_features_sim.moc"
