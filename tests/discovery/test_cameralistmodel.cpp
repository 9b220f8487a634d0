// CameraListModel over the test producer: both trees under QAbstractItemModelTester while cameras appear, are
// opened, disconnect, reconnect and vanish; the kept row of an open camera; the serial number as identity;
// smart-camera hiding; the job that never overlaps itself nor blocks the GUI thread.
#include "test_transport.h"

#include "discovery/cameralistmodel.h"
#include "discovery/devicemanager.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

using namespace discoverytest;
using namespace cameralist;

namespace {

void SetDevices(const std::string& interfaceId, std::vector<orna::core::detail::DeviceInfo> devices)
{
    std::lock_guard<std::mutex> lock(World().mutex);
    World().devices[interfaceId] = std::move(devices);
}

// Waits until n passes have finished after the call; the first may have started before the change.
bool WaitPasses(CameraListModel& model, int n = 2)
{
    QSignalSpy spy(&model, &CameraListModel::UpdateFinished);
    while (spy.count() < n)
        if (!spy.wait(10000))
            return false;
    return true;
}

QModelIndex FindRow(const CameraListModel& model, const QString& id, const QModelIndex& parent = {})
{
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(IdRole).toString() == id && index.data(ItemTypeRole).toString() == QLatin1String("Device"))
            return index;
        const QModelIndex below = FindRow(model, id, index);
        if (below.isValid())
            return below;
    }
    return {};
}

int CountDeviceRows(const CameraListModel& model, const QModelIndex& parent = {})
{
    int count = 0;
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(ItemTypeRole).toString() == QLatin1String("Device"))
            ++count;
        count += CountDeviceRows(model, index);
    }
    return count;
}

} // namespace

class TestCameraListModel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        InstallTestProducer();
        orna::DeviceManager::AddReference();
    }
    void cleanupTestCase() { orna::DeviceManager::ReleaseReference(); }
    void init()
    {
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().tlType = "GEV";
            World().listDelayMs = 0;
            World().interfaces = {MakeInterface("IF0")};
            World().devices.clear();
        }
        World().maxConcurrentListing = 0;
        orna::DeviceManager::Instance()->Reset(true);
    }

    void lifecycleInBothViews_data()
    {
        QTest::addColumn<bool>("basic");
        QTest::newRow("expert") << false;
        QTest::newRow("basic") << true;
    }
    void lifecycleInBothViews()
    {
        QFETCH(bool, basic);
        CameraListModel model;
        model.SetBasicView(basic);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy found(&model, &CameraListModel::CameraFound);
        QSignalSpy lost(&model, &CameraListModel::CameraLost);
        QSignalSpy disconnected(&model, &CameraListModel::CameraDisconnected);
        QSignalSpy reconnected(&model, &CameraListModel::CameraReconnected);

        SetDevices("IF0", {MakeDevice("dev-1", "S1"), MakeDevice("dev-2", "S2")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(found.count(), 2);
        QCOMPARE(model.OpenableDeviceCount(), 2);
        QCOMPARE(CountDeviceRows(model), 2);
        QCOMPARE(model.rowCount(), 1);
        const QModelIndex top = model.index(0, 0);
        if (basic)
        {
            QCOMPARE(top.data(ItemTypeRole).toString(), QStringLiteral("Group"));
            QCOMPARE(top.data().toString(), QStringLiteral("GEV Producer"));
            QCOMPARE(model.rowCount(top), 2);
        }
        else
        {
            QCOMPARE(top.data(ItemTypeRole).toString(), QStringLiteral("System"));
            QCOMPARE(top.data(CtiPathRole).toString(), QStringLiteral("dmtest:"));
            const QModelIndex iface = model.index(0, 0, top);
            QCOMPARE(iface.data(ItemTypeRole).toString(), QStringLiteral("Interface"));
            QCOMPARE(model.rowCount(iface), 2);
        }
        QModelIndex row = FindRow(model, QStringLiteral("dev-1"));
        QVERIFY(row.isValid());
        QCOMPARE(row.data().toString(), QStringLiteral("TestCam    S1    "));
        QCOMPARE(row.data(AccessStatusRole).toString(), QStringLiteral("ReadWrite"));
        QVERIFY(!row.data(Qt::FontRole).value<QFont>().italic());
        const std::vector<CameraAction> closedActions = {CameraAction::Open, CameraAction::FirmwareUpdate,
                                                         CameraAction::SaveXml, CameraAction::SaveRemoteXml,
                                                         CameraAction::IpConfiguration};
        QVERIFY(model.ActionsOf(row) == closedActions);

        auto descriptor = model.DescriptorOf(row);
        QVERIFY(descriptor);
        auto device = descriptor->OpenDevice(orna::core::DeviceAccessType::Control);
        QTRY_COMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                     QStringLiteral("OpenReadWrite"));
        QCOMPARE(model.OpenableDeviceCount(), 1);
        QVERIFY(model.HasOpenDevice());
        row = FindRow(model, QStringLiteral("dev-1"));
        QVERIFY(row.data(Qt::FontRole).value<QFont>().italic());
        const std::vector<CameraAction> openActions = {CameraAction::Close, CameraAction::SaveXml,
                                                       CameraAction::SaveRemoteXml, CameraAction::IpConfiguration};
        QVERIFY(model.ActionsOf(row) == openActions);

        ReportConnection("IF0", "dev-1", false);
        QTRY_COMPARE(disconnected.count(), 1);
        QCOMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                 QStringLiteral("Disconnected: OpenReadWrite"));
        ReportConnection("IF0", "dev-1", true);
        QTRY_COMPARE(reconnected.count(), 1);
        QCOMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                 QStringLiteral("OpenReadWrite"));

        device.reset();
        QTRY_COMPARE(model.OpenableDeviceCount(), 2);
        QVERIFY(!model.HasOpenDevice());

        SetDevices("IF0", {MakeDevice("dev-1", "S1")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(lost.count(), 1);
        QCOMPARE(CountDeviceRows(model), 1);
        QCOMPARE(model.OpenableDeviceCount(), 1);

        SetDevices("IF0", {});
        QVERIFY(WaitPasses(model));
        QCOMPARE(lost.count(), 2);
        QCOMPARE(CountDeviceRows(model), 0);
        // The last device of a group takes the group with it; systems and interfaces stay.
        QCOMPARE(model.rowCount(), basic ? 0 : 1);
        QCOMPARE(found.count(), 2);

        // Switching views mid-life keeps both trees consistent.
        SetDevices("IF0", {MakeDevice("dev-3", "S3")});
        QVERIFY(WaitPasses(model));
        model.SetBasicView(!basic);
        QCOMPARE(CountDeviceRows(model), 1);
        SetDevices("IF0", {});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 0);
    }

    void openDeviceWithoutReconnectionKeepsItsRow()
    {
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy found(&model, &CameraListModel::CameraFound);
        QSignalSpy lost(&model, &CameraListModel::CameraLost);
        SetDevices("IF0", {MakeDevice("dev-1", "S1")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(found.count(), 1);
        auto device = model.DescriptorOf(FindRow(model, QStringLiteral("dev-1")))
                          ->OpenDevice(orna::core::DeviceAccessType::Control);
        QTRY_COMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                     QStringLiteral("OpenReadWrite"));

        SetDevices("IF0", {});
        QVERIFY(WaitPasses(model));
        QCOMPARE(lost.count(), 1);
        const QModelIndex kept = FindRow(model, QStringLiteral("dev-1"));
        QVERIFY(kept.isValid());
        QVERIFY(kept.data(AccessStatusRole).toString().startsWith(QStringLiteral("Disconnected: ")));
        QVERIFY(kept.data(Qt::ToolTipRole).toString().contains(QStringLiteral("Disconnected: ")));
        QCOMPARE(model.OpenableDeviceCount(), 0);

        SetDevices("IF0", {MakeDevice("dev-1", "S1")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(found.count(), 1);
        QCOMPARE(lost.count(), 1);
        QCOMPARE(CountDeviceRows(model), 1);
        // The returning camera is a new descriptor, not the one the old handle holds open.
        QCOMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                 QStringLiteral("ReadWrite"));
        QCOMPARE(model.OpenableDeviceCount(), 1);

        // Lost while closed: the row goes.
        device.reset();
        SetDevices("IF0", {});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 0);
    }

    void sameSerialUnderANewKeyReplacesTheOldRow()
    {
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        SetDevices("IF0", {MakeDevice("dev-1", "S1"), MakeDevice("dev-2", "S2")});
        QVERIFY(WaitPasses(model));
        QSignalSpy lost(&model, &CameraListModel::CameraLost);
        SetDevices("IF0", {MakeDevice("dev-9", "S1"), MakeDevice("dev-2", "S2")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 2);
        QVERIFY(!FindRow(model, QStringLiteral("dev-1")).isValid());
        QVERIFY(FindRow(model, QStringLiteral("dev-9")).isValid());
        QCOMPARE(lost.count(), 1);
        QVERIFY(lost.at(0).at(0).value<std::string>().find("dev-1") != std::string::npos);

        auto byIdentity = model.FindDescriptor("", "", "TestCam", "S1");
        QVERIFY(byIdentity);
        QCOMPARE(QString::fromStdString(byIdentity->GetID()), QStringLiteral("dev-9"));
        QVERIFY(!model.FindDescriptor("", "no-such-interface", "TestCam", "S1"));
        QVERIFY(!model.FindDescriptor("", "", "TestCam", "S7"));
        QVERIFY(model.FindDescriptor("dmtest:", "", "TestCam", "S2"));
        QVERIFY(model.FirstOpenableDevice());
    }

    void smartCamerasHaveNoRow()
    {
        CameraListModel model;
        QSignalSpy found(&model, &CameraListModel::CameraFound);
        SetDevices("IF0", {MakeDevice("dev-1", "S1", "qtm-Smart"), MakeDevice("dev-2", "S2", "VELA 2"),
                           MakeDevice("dev-3", "S3")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(found.count(), 1);
        QCOMPARE(CountDeviceRows(model), 1);
        QVERIFY(FindRow(model, QStringLiteral("dev-3")).isValid());
    }

    void slowPassSwallowsTicksAndLeavesTheGuiFree()
    {
        SetDevices("IF0", {MakeDevice("dev-1", "S1")});
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            // Long enough that a loaded two-core machine still ticks inside the pass.
            World().listDelayMs = 1500;
        }
        auto model = std::make_unique<CameraListModel>();
        QVERIFY(WaitPasses(*model, 3));
        QCOMPARE(World().maxConcurrentListing.load(), 1);
        QCOMPARE(CountDeviceRows(*model), 1);
        // While a pass sleeps inside the producer, the GUI thread still runs its timers.
        QVERIFY(WaitPasses(*model, 1));
        // The finished signal is posted from inside the job, which may still be returning: first the gap
        // between two passes, then the start of the next one, so the tick below falls early in a pass.
        QTRY_VERIFY_WITH_TIMEOUT(!model->IsUpdateRunning(), 10000);
        QTRY_VERIFY(model->IsUpdateRunning());
        bool ticked = false;
        bool runningAtTick = false;
        QTimer::singleShot(20, [&] {
            ticked = true;
            runningAtTick = model->IsUpdateRunning();
        });
        QTRY_VERIFY_WITH_TIMEOUT(ticked, 1000);
        QVERIFY(runningAtTick);
        // Destroying the model mid-pass waits for the job instead of leaving it a dead model.
        model.reset();
    }
};

QTEST_MAIN(TestCameraListModel)
#include "test_cameralistmodel.moc"
