// The camera tree with a real GigE Vision producer (Aravis' fake camera on loopback) next to three simulated
// cameras: all four appear under their own producer and interface within two timer ticks of the manager
// knowing them. Label "gige": run inside the loopback namespace.
#include "tests/orna/core/gige_fixture.h"

#include "discovery/cameralistmodel.h"
#include "discovery/devicemanager.h"

#include <QAbstractItemModelTester>
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
    void fourCamerasUnderTheirProducers()
    {
        const std::string skip = orna::core::test::GigESkipReason();
        if (!skip.empty())
            QSKIP(skip.c_str());

        ::setenv("ORNA_TRANSPORTS", "gev,sim", 1);
        ::setenv("ORNA_SIM_CAMERAS", "3", 1);
        orna::Library::Initialize();
        orna::core::test::FakeGvCamera camera("127.0.0.1", "GV01");
        QVERIFY(camera.Start());
        orna::DeviceManager::AddReference();
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
        orna::DeviceManager::ReleaseReference();
        camera.Kill();
    }
};

QTEST_MAIN(TestDiscoveryGige)
#include "test_discovery_gige.moc"
