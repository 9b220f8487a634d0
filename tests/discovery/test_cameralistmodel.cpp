// CameraListModel over the test producer: both trees under QAbstractItemModelTester while cameras appear, are
// opened, disconnect, reconnect and vanish; the kept row of an open camera and its end; the serial number (or
// the device ID) as identity; smart-camera hiding; the job that never overlaps itself nor blocks the GUI
// thread; resets pressed during passes; events whose parent is gone; the lock state read off the GUI thread.
#include "test_transport.h"

#include "common/applicationglobals.h"
#include "discovery/cameralistmodel.h"
#include "discovery/devicemanager.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>
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

int CountRows(const CameraListModel& model, const QString& type, const QModelIndex& parent = {})
{
    int count = 0;
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(ItemTypeRole).toString() == type)
            ++count;
        count += CountRows(model, type, index);
    }
    return count;
}

// The image of a row's icon, to tell icons apart (each test icon file has its own colour).
QImage IconImage(const QModelIndex& index)
{
    return index.data(Qt::DecorationRole).value<QIcon>().pixmap(16, 16).toImage();
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
        // Icons of one colour each, so that a row's icon tells which file it came from.
        QVERIFY(m_icons.isValid());
        const std::pair<const char*, Qt::GlobalColor> icons[] = {{"ip.png", Qt::green},
                                                                 {"ip_locked.png", Qt::red},
                                                                 {"exclamation-outline.png", Qt::yellow},
                                                                 {"warning.png", Qt::magenta},
                                                                 {"opened.png", Qt::blue}};
        for (const auto& icon : icons)
        {
            QImage image(16, 16, QImage::Format_ARGB32);
            image.fill(icon.second);
            QVERIFY(image.save(m_icons.filePath(QLatin1String(icon.first))));
        }
        ApplicationGlobals::imageDir16 = m_icons.path() + QLatin1Char('/');
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
            World().lockedIds.clear();
            World().failingInterfaces.clear();
            World().openThreads.clear();
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

    // --- Resets and passes

    void twentyRefreshPressesDuringPassesEndWithEveryCamera()
    {
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces = {MakeInterface("IF0"), MakeInterface("IF1")};
            World().devices["IF0"] = {MakeDevice("dev-1", "S1"), MakeDevice("dev-2", "S2")};
            World().devices["IF1"] = {MakeDevice("dev-3", "S3")};
            World().listDelayMs = 300;
        }
        auto manager = orna::DeviceManager::Instance();
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 3, 10000);
        model.ResetAndRunUpdate();
        for (int press = 0; press < 20; ++press)
        {
            // Every press lands in the pass that loads the producers again after the previous press (the
            // manager has no system yet), half of them while it lists the devices.
            QTRY_VERIFY_WITH_TIMEOUT(model.IsUpdateRunning() && manager->Systems().empty() &&
                                         (press % 2 == 0 || World().listing.load() > 0),
                                     10000);
            QSignalSpy finished(&model, &CameraListModel::UpdateFinished);
            if (press % 5 == 4)
                model.SetOnlyKernelTls(press % 2 == 0);
            else
                model.ResetAndRunUpdate();
            // The pass the press landed in ends; the next one is the press's own.
            QVERIFY(finished.wait(10000));
        }
        model.SetOnlyKernelTls(false);
        QTRY_VERIFY_WITH_TIMEOUT(CountDeviceRows(model) == 3 && CountRows(model, QStringLiteral("Interface")) == 2,
                                 10000);
        // And it stays so: no pass re-adds a stale interface or drops a camera later.
        QVERIFY(WaitPasses(model, 3));
        QCOMPARE(CountDeviceRows(model), 3);
        QCOMPARE(CountRows(model, QStringLiteral("Interface")), 2);
        QCOMPARE(CountRows(model, QStringLiteral("System")), 1);
        QCOMPARE(model.OpenableDeviceCount(), 3);
        QCOMPARE(manager->Devices().size(), size_t(3));
        QCOMPARE(manager->Interfaces().size(), size_t(2));
        QCOMPARE(manager->Systems().size(), size_t(1));
    }

    void parentGoneWithEventsQueuedEndsNothing()
    {
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountRows(model, QStringLiteral("Interface")), 1);
        // The card goes in the very pass whose last device update still finds a camera on it: the camera's
        // event reaches the GUI thread after its interface has gone.
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces.clear();
            World().devices["IF0"] = {MakeDevice("dev-1", "S1")};
        }
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountRows(model, QStringLiteral("Interface")), 0);
        QCOMPARE(CountDeviceRows(model), 0);
        QVERIFY(orna::DeviceManager::Instance()->Devices().empty());
        // The card comes back: its camera is listed under it again.
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces = {MakeInterface("IF0")};
        }
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 1, 10000);
        QCOMPARE(FindRow(model, QStringLiteral("dev-1")).parent().data(IdRole).toString(), QStringLiteral("IF0"));
        // And its loss is told again.
        SetDevices("IF0", {});
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 0, 10000);
    }

    // --- Kept rows

    void keptRowReturnsUnderItsInterfaceAfterTheCardWentDownAndUp()
    {
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        SetDevices("IF0", {MakeDevice("dev-1", "S1")});
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 1, 10000);
        auto device = model.DescriptorOf(FindRow(model, QStringLiteral("dev-1")))
                          ->OpenDevice(orna::core::DeviceAccessType::Control);
        QTRY_COMPARE(FindRow(model, QStringLiteral("dev-1")).data(AccessStatusRole).toString(),
                     QStringLiteral("OpenReadWrite"));
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces.clear();
            World().devices["IF0"].clear();
        }
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountRows(model, QStringLiteral("Interface")), 0);
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces = {MakeInterface("IF0")};
            World().devices["IF0"] = {MakeDevice("dev-1", "S1")};
        }
        QTRY_COMPARE_WITH_TIMEOUT(CountRows(model, QStringLiteral("Interface")), 1, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(FindRow(model, QStringLiteral("dev-1")).isValid(), 10000);
        const QModelIndex row = FindRow(model, QStringLiteral("dev-1"));
        QCOMPARE(row.parent().data(ItemTypeRole).toString(), QStringLiteral("Interface"));
        QCOMPARE(row.data(AccessStatusRole).toString(), QStringLiteral("ReadWrite"));
        QCOMPARE(CountDeviceRows(model), 1);
        model.SetBasicView(true);
        QCOMPARE(CountDeviceRows(model), 1);
    }

    void keptRowEndsWhenItsCameraIsClosed_data()
    {
        QTest::addColumn<bool>("basic");
        QTest::newRow("expert") << false;
        QTest::newRow("basic") << true;
    }
    void keptRowEndsWhenItsCameraIsClosed()
    {
        QFETCH(bool, basic);
        CameraListModel model;
        model.SetBasicView(basic);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        SetDevices("IF0", {MakeDevice("dev-1", "S1"), MakeDevice("dev-2", "S2")});
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 2, 10000);
        auto device = model.DescriptorOf(FindRow(model, QStringLiteral("dev-1")))
                          ->OpenDevice(orna::core::DeviceAccessType::Control);
        SetDevices("IF0", {MakeDevice("dev-2", "S2")});
        QTRY_VERIFY_WITH_TIMEOUT(FindRow(model, QStringLiteral("dev-1"))
                                     .data(AccessStatusRole)
                                     .toString()
                                     .startsWith(QStringLiteral("Disconnected: ")),
                                 10000);
        device.reset();
        QTRY_VERIFY(!FindRow(model, QStringLiteral("dev-1")).isValid());
        QCOMPARE(CountDeviceRows(model), 1);
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 1);
    }

    // --- Identity, hiding, lock state, IP warning

    void camerasWithoutUsableSerialAllStay()
    {
        CameraListModel model;
        SetDevices("IF0", {MakeDevice("dev-1", ""), MakeDevice("dev-2", ""), MakeDevice("dev-3", "unknown"),
                           MakeDevice("dev-4", "Unknown")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 4);
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 4);
        // The device ID is the identity then: the same ID under a new key still replaces its old row.
        SetDevices("IF0", {MakeDevice("dev-1", ""), MakeDevice("dev-2", "")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 2);
    }

    void hideSmartCamerasResetsAndReannounces()
    {
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        SetDevices("IF0", {MakeDevice("dev-1", "S1", "qtm-Smart"), MakeDevice("dev-2", "S2")});
        QVERIFY(WaitPasses(model));
        QCOMPARE(CountDeviceRows(model), 1);
        // No tick helps: the new rule applies to what the manager already knows.
        model.SetAutoUpdate(false);
        QTRY_VERIFY_WITH_TIMEOUT(!model.IsUpdateRunning(), 10000);
        model.SetHideSmartCameras(false);
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 2, 10000);
        QCOMPARE(model.OpenableDeviceCount(), 2);
        model.SetHideSmartCameras(true);
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 1, 10000);
        QVERIFY(FindRow(model, QStringLiteral("dev-2")).isValid());
        QCOMPARE(model.OpenableDeviceCount(), 1);
    }

    void lockStateIsReadOffTheGuiThread()
    {
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().lockedIds = {"dev-1"};
        }
        CameraListModel model;
        SetDevices("IF0", {MakeDevice("dev-1", "S1"), MakeDevice("dev-2", "S2")});
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 2, 10000);
        const QImage locked = QIcon(ApplicationGlobals::Image16(QStringLiteral("ip_locked.png"))).pixmap(16).toImage();
        const QImage unlocked = QIcon(ApplicationGlobals::Image16(QStringLiteral("ip.png"))).pixmap(16).toImage();
        QVERIFY(!locked.isNull() && locked != unlocked);
        QTRY_COMPARE_WITH_TIMEOUT(IconImage(FindRow(model, QStringLiteral("dev-1"))), locked, 10000);
        QVERIFY(WaitPasses(model));
        QCOMPARE(IconImage(FindRow(model, QStringLiteral("dev-2"))), unlocked);
        QCOMPARE(IconImage(FindRow(model, QStringLiteral("dev-1"))), locked);
        std::lock_guard<std::mutex> lock(World().mutex);
        QVERIFY(!World().openThreads.empty());
        for (const auto& thread : World().openThreads)
            QVERIFY(thread != std::this_thread::get_id());
    }

    void cameraOutsideTheSubnetIsListedWithTheIpWarning()
    {
        auto outside = MakeDevice("dev-9", "S9");
        outside.outsideSubnet = true;
        outside.accessStatus = orna::core::DeviceAccessStatus::NoAccess;
        CameraListModel model;
        SetDevices("IF0", {outside, MakeDevice("dev-1", "S1")});
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 2, 10000);
        const QModelIndex row = FindRow(model, QStringLiteral("dev-9"));
        QCOMPARE(row.data(AccessStatusRole).toString(), QStringLiteral("NoAccess"));
        QVERIFY(row.data(Qt::ToolTipRole).toString().contains(QStringLiteral("outside the subnet")));
        QCOMPARE(IconImage(row),
                 QIcon(ApplicationGlobals::Image16(QStringLiteral("exclamation-outline.png"))).pixmap(16).toImage());
        QVERIFY(!FindRow(model, QStringLiteral("dev-1"))
                     .data(Qt::ToolTipRole)
                     .toString()
                     .contains(QStringLiteral("outside the subnet")));
        // Not openable until it has a new address, but its IP configuration stays at hand.
        QCOMPARE(model.OpenableDeviceCount(), 1);
        QVERIFY(model.ActionsOf(row) == std::vector<CameraAction>{CameraAction::IpConfiguration});
    }

private:
    QTemporaryDir m_icons;
};

QTEST_MAIN(TestCameraListModel)
#include "test_cameralistmodel.moc"
