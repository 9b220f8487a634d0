// The camera tree with a real GigE Vision producer (Aravis' fake camera on loopback) next to three cameras of
// the test producer: all four appear under their own producer and interface within two timer ticks of the
// manager knowing them. Label "gige": run inside the loopback namespace.
#include "test_transport.h"

#include "tests/orna/core/gige_fixture.h"

#include "discovery/cameralistmodel.h"
#include "discovery/devicemanager.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

using namespace discoverytest;
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
        const std::string problem = orna::core::test::LoopbackOnlyProblem();
        if (!problem.empty())
            QSKIP(problem.c_str());
        if (!orna::core::test::FakeGvCamera::Available())
            QSKIP("arv-fake-gv-camera-0.8 (package aravis-tools) is not installed");

        InstallTestProducer("gev,dmtest");
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().tlType = "U3V";
            World().interfaces = {MakeInterface("IF0")};
            World().devices["IF0"] = {MakeDevice("sim-1", "SIM1"), MakeDevice("sim-2", "SIM2"),
                                      MakeDevice("sim-3", "SIM3")};
        }
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
            for (const char* serial : {"SIM1", "SIM2", "SIM3"})
            {
                const QModelIndex sim = FindRow(model, SerialRole, QString::fromLatin1(serial));
                QVERIFY(sim.isValid());
                QCOMPARE(sim.parent().data(IdRole).toString(), QStringLiteral("IF0"));
                QCOMPARE(sim.parent().parent().data(CtiPathRole).toString(), QStringLiteral("dmtest:"));
            }

            model.SetBasicView(true);
            QCOMPARE(model.rowCount(), 2);
            QCOMPARE(FindRow(model, SerialRole, QStringLiteral("GV01")).parent().data().toString(),
                     QStringLiteral("GEV Producer"));
            QCOMPARE(FindRow(model, SerialRole, QStringLiteral("SIM1")).parent().data().toString(),
                     QStringLiteral("U3V Producer"));
        }
        orna::DeviceManager::ReleaseReference();
        camera.Kill();
    }
};

QTEST_MAIN(TestDiscoveryGige)
#include "test_discovery_gige.moc"
