// The camera tree with a real GigE Vision producer (Aravis' fake camera on loopback) next to three simulated
// cameras: all four appear under their own producer and interface within two timer ticks of the manager
// knowing them; the GigE row carries what the camera says in its discovery data; a camera held by a second
// process shows busy; twenty Refresh presses during passes end with every camera. Label "gige": run inside the
// loopback namespace.
#include "tests/orna/core/gige_fixture.h"

#include "discovery/cameralistmodel.h"
#include "discovery/devicemanager.h"

#include <QAbstractItemModelTester>
#include <QFont>
#include <QSignalSpy>
#include <QtTest>

using namespace cameralist;

namespace {

QModelIndex FindRow(const CameraListModel& model, int role, const QString& value, const QModelIndex& parent = {})
{
    for (int row = 0; row < model.rowCount(parent); ++row)
    {
        const QModelIndex index = model.index(row, 0, parent);
        if (index.data(ItemTypeRole).toString() == QLatin1String("Device") && index.data(role).toString() == value)
            return index;
        const QModelIndex below = FindRow(model, role, value, index);
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
        count += index.data(ItemTypeRole).toString() == QLatin1String("Device") ? 1 : CountDeviceRows(model, index);
    }
    return count;
}

} // namespace

class TestDiscoveryGige : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_skip = orna::core::test::GigESkipReason();
        if (!m_skip.empty())
            return;
        ::setenv("ORNA_TRANSPORTS", "gev,sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "3", 1);
        orna::Library::Initialize();
        QVERIFY(m_camera.Start());
        orna::DeviceManager::AddReference();
    }
    void cleanupTestCase()
    {
        if (!m_skip.empty())
            return;
        orna::DeviceManager::ReleaseReference();
        m_camera.Kill();
    }
    void init()
    {
        if (!m_skip.empty())
            QSKIP(m_skip.c_str());
    }

    void fourCamerasUnderTheirProducers()
    {
        auto manager = orna::DeviceManager::Instance();
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

        QTRY_COMPARE_WITH_TIMEOUT(manager->Devices().size(), size_t(4), 30000);
        // Two ticks of the 200 ms timer.
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 4, 400);

        const QModelIndex gige = FindRow(model, SerialRole, QStringLiteral("GV01"));
        QVERIFY(gige.isValid());
        QCOMPARE(gige.data(TlTypeRole).toString(), QStringLiteral("GEV"));
        QCOMPARE(gige.data(IpAddressRole).toString(), QStringLiteral("127.0.0.1"));
        const QModelIndex gigeInterface = gige.parent();
        QCOMPARE(gigeInterface.data(ItemTypeRole).toString(), QStringLiteral("Interface"));
        QCOMPARE(gigeInterface.parent().data(CtiPathRole).toString(), QStringLiteral("aravis:GigEVision"));
        int simulated = 0;
        for (int row = 0; row < model.rowCount(); ++row)
        {
            const QModelIndex system = model.index(row, 0);
            if (system.data(CtiPathRole).toString() != QLatin1String("sim:"))
                continue;
            QCOMPARE(model.rowCount(system), 1);
            const QModelIndex iface = model.index(0, 0, system);
            QCOMPARE(iface.data(ItemTypeRole).toString(), QStringLiteral("Interface"));
            simulated += model.rowCount(iface);
        }
        QCOMPARE(simulated, 3);
        model.SetBasicView(true);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(FindRow(model, SerialRole, QStringLiteral("GV01")).parent().data().toString(),
                 QStringLiteral("GEV Producer"));
        QCOMPARE(model.rowCount(model.index(1, 0)) + model.rowCount(model.index(0, 0)), 4);
    }

    void gigeRowShowsWhatTheCameraSays()
    {
        CameraListModel model;
        QTRY_VERIFY_WITH_TIMEOUT(FindRow(model, SerialRole, QStringLiteral("GV01")).isValid(), 30000);
        const QModelIndex gige = FindRow(model, SerialRole, QStringLiteral("GV01"));
        // Aravis' fake camera gives the Aravis version as its device version in its discovery data, and no
        // subnet mask of its own (the card's mask, 255.0.0.0 here, is not the camera's).
        QCOMPARE(gige.data(VersionRole).toString(), QString::fromStdString(orna::Library::GetAravisVersion()));
        QCOMPARE(gige.data(SubnetMaskRole).toString(), QStringLiteral("0.0.0.0"));
        QCOMPARE(gige.data(AccessStatusRole).toString(), QStringLiteral("ReadWrite"));
        QVERIFY(!gige.data(Qt::ToolTipRole).toString().contains(QStringLiteral("outside the subnet")));
        // The card's MAC (loopback's is all zeros) is filled in.
        QCOMPARE(gige.parent().data(MacAddressRole).toString(), QStringLiteral("00:00:00:00:00:00"));
    }

    void cameraHeldBySecondProcessShowsBusy()
    {
        if (!orna::core::test::OtherProcessController::Available())
            QSKIP("arv-camera-test-0.8 (package aravis-tools) is not installed");
        CameraListModel model;
        QTRY_VERIFY_WITH_TIMEOUT(FindRow(model, SerialRole, QStringLiteral("GV01")).isValid(), 30000);
        QCOMPARE(FindRow(model, SerialRole, QStringLiteral("GV01")).data(AccessStatusRole).toString(),
                 QStringLiteral("ReadWrite"));
        orna::core::test::OtherProcessController other("Aravis-Fake-GV01");
        std::string said;
        QVERIFY2(other.Start(std::chrono::seconds(60), said), said.c_str());
        QTRY_COMPARE_WITH_TIMEOUT(FindRow(model, SerialRole, QStringLiteral("GV01")).data(AccessStatusRole).toString(),
                                  QStringLiteral("Busy"), 10000);
        const QModelIndex busy = FindRow(model, SerialRole, QStringLiteral("GV01"));
        QVERIFY(model.ActionsOf(busy) == std::vector<CameraAction>{CameraAction::IpConfiguration});
        QVERIFY(busy.data(Qt::FontRole).value<QFont>().italic());
        other.Stop();
    }

    void twentyRefreshPressesDuringPassesEndWithEveryCamera()
    {
        auto manager = orna::DeviceManager::Instance();
        CameraListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 4, 30000);
        model.ResetAndRunUpdate();
        for (int press = 0; press < 20; ++press)
        {
            // Every press lands inside a pass, most of them in the one that loads the producers again after the
            // previous press. (Waiting for the moment the manager lists no system yet was exact but depended on
            // how slowly the producers load: on an idle machine the poll missed that moment.)
            QTRY_VERIFY_WITH_TIMEOUT(model.IsUpdateRunning(), 30000);
            QSignalSpy finished(&model, &CameraListModel::UpdateFinished);
            if (press % 5 == 4)
                model.SetOnlyKernelTls(press % 2 == 0);
            else
                model.ResetAndRunUpdate();
            // The pass the press landed in ends; the next one is the press's own.
            QVERIFY(finished.wait(30000));
        }
        model.SetOnlyKernelTls(false);
        QTRY_COMPARE_WITH_TIMEOUT(CountDeviceRows(model), 4, 30000);
        // Stable afterwards: every producer once, every camera once.
        QSignalSpy finished(&model, &CameraListModel::UpdateFinished);
        while (finished.count() < 3)
            QVERIFY(finished.wait(30000));
        QCOMPARE(CountDeviceRows(model), 4);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(orna::DeviceManager::Instance()->Devices().size(), size_t(4));
    }

private:
    std::string m_skip;
    orna::core::test::FakeGvCamera m_camera{"127.0.0.1", "GV01"};
};

QTEST_MAIN(TestDiscoveryGige)
#include "test_discovery_gige.moc"
