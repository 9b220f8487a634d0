// NodeMapAccess over register-bank node maps: read-back of writes, selector-dependent re-reads, access changes
// from a lock node, coalescing of rapid writes, a failing device during a write, disconnection, restore on
// reconnection, device reset.
#include "nodetree_fixtures.h"

#include "common/logmessagesender.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"
#include "orna/core/library.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

using nodetree_test::AccessDevice;
using nodetree_test::SelectedDevice;
using What = NodeMapAccess::ReturnValueType;

namespace {

std::shared_ptr<orna::core::NodeMap> MakeMap(const AccessDevice& device, bool withPlain = true)
{
    return orna::core::detail::CreateLocalNodeMap(device.bank, nodetree_test::AccessXml(withPlain));
}

std::shared_ptr<orna::core::NodeMap> MakeSelectedMap(const SelectedDevice& device)
{
    return orna::core::detail::CreateLocalNodeMap(device.bank, nodetree_test::SelectedXml());
}

// Collects error log messages on the test's thread (queued from whichever thread reported them).
class LogCollector : public QObject
{
public:
    LogCollector()
    {
        connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, this,
                [this](QString, QString, QString message, int) { messages.append(message); });
    }
    bool Has(const QString& part) const
    {
        return std::any_of(messages.begin(), messages.end(), [&](const QString& m) { return m.contains(part); });
    }
    QStringList messages;
};

} // namespace

class TestNodeMapAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { orna::Library::Initialize(); }

    void writeReadsBackWhatTheNodeTook()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* aligned = access.FindItem("Aligned");
        TreeItem* plain = access.FindItem("Plain");
        QVERIFY(aligned && plain);
        QSignalSpy values(aligned, &TreeItem::valueChanged);

        // The camera aligns to its increment: written 10, it took 8, and 8 is what comes back.
        QVERIFY(access.SetValue(aligned, int64_t(10)));
        QCOMPARE(device.aligned->load(), 8u);
        QCOMPARE(aligned->GetValue().toLongLong(), 8LL);
        QCOMPARE(values.size(), 1);
        QCOMPARE(values.first().at(0).toLongLong(), 8LL);

        // Aravis itself does not enforce the increment of an Integer: 10 on increment 4 is stored as 10.
        QVERIFY(access.SetValue(plain, int64_t(10)));
        QCOMPARE(plain->GetValue().toLongLong(), 10LL);

        // Beyond the maximum the node raises: the write is refused with a log line, the cache keeps 10.
        LogCollector log;
        QVERIFY(!access.SetValue(plain, int64_t(101)));
        QVERIFY(log.Has("Failed to write value of node Plain. "));
        QCOMPARE(plain->GetValue().toLongLong(), 10LL);
        QCOMPARE(device.Peek(nodetree_test::kPlainAddress), 10u);
    }

    void incrementAndDecrementStayInRange()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* aligned = access.FindItem("Aligned");
        QVERIFY(access.SetValue(aligned, int64_t(994)));
        QCOMPARE(aligned->GetValue().toLongLong(), 992LL);
        access.IncrementValue(aligned);
        QCOMPARE(aligned->GetValue().toLongLong(), 996LL);
        access.IncrementValue(aligned);
        access.IncrementValue(aligned);
        QCOMPARE(aligned->GetValue().toLongLong(), 1000LL);
        QVERIFY(access.SetValue(aligned, int64_t(2)));
        QCOMPARE(aligned->GetValue().toLongLong(), 0LL);
        access.DecrementValue(aligned);
        QCOMPARE(aligned->GetValue().toLongLong(), 0LL);
        QCOMPARE(device.aligned->load(), 0u);
    }

    void selectorDependentValuesFollowTheSelector()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* selector = access.FindItem("LevelSelector");
        TreeItem* level = access.FindItem("Level");
        QVERIFY(selector && level);
        QCOMPARE(level->parent, selector);
        QCOMPARE(level->GetSelectorValues().keys(), (QStringList{"High", "Low", "Mid"}));
        access.OnUpdateRequested();
        QCOMPARE(level->GetValue().toLongLong(), 10LL);

        QVERIFY(access.SetValue(selector, QStringLiteral("High")));
        QTRY_COMPARE(level->GetValue().toLongLong(), 30LL);
        QCOMPARE(level->GetSelectorValues().value("High").toLongLong(), 30LL);

        // Reading one entry through the selector leaves the selector where it was.
        QCOMPARE(access.GetSelectedValueGeneric(level, "Mid", true, true, NodeMapAccess::ReturnValueType::Value)
                     .toLongLong(),
                 20LL);
        QCOMPARE(device.Peek(nodetree_test::kSelectorAddress), 2u);
        QVERIFY(access.SetSelectedValueGeneric(level, "Low", 11LL, true, true));
        QCOMPARE(device.Peek(nodetree_test::kLevelAddress), 11u);
        QCOMPARE(device.Peek(nodetree_test::kSelectorAddress), 2u);
    }

    void accessChangeFromALockNodeIsSignalled()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* width = access.FindItem("Width");
        TreeItem* lock = access.FindItem("TLParamsLocked");
        QVERIFY(width && lock);
        QCOMPARE(width->GetAccess(), FeatureAccess::ReadWrite);
        QVERIFY(width->IsWriteable());

        QSignalSpy accessSpy(width, &TreeItem::accessChanged);
        QSignalSpy roles(&access, &NodeMapAccess::dataChanged);
        QVERIFY(access.SetValue(lock, int64_t(1)));
        QTRY_VERIFY(!accessSpy.isEmpty());
        QCOMPARE(accessSpy.last().at(0).value<FeatureAccess>(), FeatureAccess::ReadOnly);
        QVERIFY(!width->IsWriteable());
        QTRY_VERIFY(std::any_of(roles.begin(), roles.end(), [width](const QList<QVariant>& call) {
            return call.at(0).value<TreeItem*>() == width && call.at(1).toInt() == NodeMapAccess::RoleAccessStatus;
        }));
        // Locked, the node refuses a write without touching the device.
        QVERIFY(!access.SetValue(width, int64_t(800)));
        QCOMPARE(device.Peek(nodetree_test::kWidthAddress), 640u);

        QVERIFY(access.SetValue(lock, int64_t(0)));
        QTRY_COMPARE(width->GetAccess(), FeatureAccess::ReadWrite);
    }

    void rapidWritesCoalesceIntoTheLastValue()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* counter = access.FindItem("Counter");
        QVERIFY(counter);
        QVector<qlonglong> seen;
        // Queued to this thread in the order the values were stored.
        connect(
            counter, &TreeItem::valueChanged, this, [&seen](QVariant value, int) { seen.append(value.toLongLong()); },
            Qt::QueuedConnection);

        for (int i = 1; i <= 1000; ++i)
            access.RequestValue(counter, QVariant::fromValue<qlonglong>(i));
        QVERIFY(access.WaitForWrites(10000));

        QCOMPARE(device.counter->load(), 1000u);
        QCOMPARE(counter->GetValue().toLongLong(), 1000LL);
        qInfo("%d device writes for 1000 requests", device.counterWrites->load());
        QVERIFY2(device.counterWrites->load() < 1000,
                 qPrintable(QStringLiteral("%1 writes").arg(device.counterWrites->load())));
        // Never an older value after a newer one.
        QTRY_VERIFY(!seen.isEmpty() && seen.last() == 1000);
        QVERIFY(std::is_sorted(seen.begin(), seen.end()));
        QCOMPARE(seen.last(), 1000LL);
    }

    void aFailingWriteLogsAndDoesNotBlockTheGuiThread()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        TreeItem* failing = access.FindItem("Failing");
        QVERIFY(failing);
        LogCollector log;

        // The camera is lost: the write hangs until the GUI thread has run an event, then fails.
        device.failing->store(true);
        device.gate->store(true);
        bool writeWasRunning = false;
        access.RequestValue(failing, QVariant::fromValue<qlonglong>(5));
        QTRY_VERIFY(device.failingEntered->load());
        QTimer::singleShot(0, this, [&] {
            writeWasRunning = !access.WaitForWrites(0);
            device.gate->store(false);
        });
        QTRY_VERIFY(log.Has("Failed to write value of node Failing. "));
        QVERIFY(writeWasRunning);
        QVERIFY(access.WaitForWrites(5000));

        // The synchronous path fails the same way and reports false.
        QVERIFY(!access.SetValue(failing, int64_t(6)));
        QVERIFY(access.IsConnected());
    }

    void restoreAfterReconnection()
    {
        AccessDevice first;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(first));
        TreeItem* width = access.FindItem("Width");
        TreeItem* level = access.FindItem("Level");
        TreeItem* lock = access.FindItem("TLParamsLocked");
        TreeItem* plain = access.FindItem("Plain");
        QVERIFY(access.SetValue(width, int64_t(800)));
        QVERIFY(access.SetSelectedValueGeneric(level, "Mid", 22LL, true, true));
        QVERIFY(access.SetSelectedValueGeneric(level, "High", 33LL, true, true));
        QVERIFY(access.SetValue(plain, int64_t(12)));
        access.StoreValues();
        QVERIFY(access.SetValue(lock, int64_t(1)));

        access.OnDisconnected(true);
        QVERIFY(!access.IsConnected());
        QVERIFY(!access.SetValue(plain, int64_t(16)));
        QSignalSpy unbound(width, &TreeItem::accessChanged);
        access.UpdateAccess(width, NodeMapAccess::UpdateMode::Normal);
        QCOMPARE(unbound.last().at(0).value<FeatureAccess>(), FeatureAccess::Unbound);

        // The camera comes back with its defaults: the kept values are written to it, the lock is not.
        AccessDevice second;
        access.OnReconnected(MakeMap(second));
        QVERIFY(access.IsConnected());
        QCOMPARE(width->GetNode(), access.GetNodeMap()->FindNode("Width"));
        QCOMPARE(second.Peek(nodetree_test::kWidthAddress), 800u);
        QCOMPARE(second.Peek(nodetree_test::kLevelAddress + 4), 22u);
        QCOMPARE(second.Peek(nodetree_test::kLevelAddress + 8), 33u);
        QCOMPARE(second.Peek(nodetree_test::kPlainAddress), 12u);
        QCOMPARE(second.Peek(nodetree_test::kLockAddress), 0u);
        QCOMPARE(width->GetValue().toLongLong(), 800LL);

        // Once with skipRestoreOnce the camera's own values stay; the next reconnection restores again.
        access.OnDisconnected(true);
        AccessDevice third(1024);
        access.OnReconnected(MakeMap(third), true);
        QCOMPARE(third.Peek(nodetree_test::kWidthAddress), 1024u);
        QCOMPARE(width->GetValue().toLongLong(), 1024LL);
        access.OnDisconnected(true);
        AccessDevice fourth(2048);
        access.OnReconnected(MakeMap(fourth));
        QCOMPARE(fourth.Peek(nodetree_test::kWidthAddress), 1024u);

        // A node that vanished keeps its item without a node; every operation returns at the guard.
        access.OnDisconnected(true);
        AccessDevice fifth;
        access.OnReconnected(MakeMap(fifth, false));
        QVERIFY(access.FindItem("Plain"));
        QVERIFY(!plain->GetNode());
        QVERIFY(!access.SetValue(plain, int64_t(8)));
        QVERIFY(!access.UpdateValue(plain, NodeMapAccess::UpdateMode::Normal));
        access.UpdateItem(plain, NodeMapAccess::UpdateMode::Normal, false);
        QVERIFY(access.SetValue(width, int64_t(512)));
    }

    void disconnectedCallbacksQueueNothing()
    {
        AccessDevice device;
        NodeMapAccess access;
        auto map = MakeMap(device);
        access.SetNodeMap(map);
        access.OnDisconnected(true);
        // A change on the device map while disconnected (the callbacks are gone or refused) queues nothing.
        map->FindNode<orna::core::nodes::IntegerNode>("Counter")->SetValue(3);
        QVERIFY(access.TakeChangedItems().isEmpty());
    }

    // A device call that raises between the selector write and its restore must not leave the selector on
    // the other entry: every other feature would then act on the wrong stage.
    void selectedAccessRestoresTheSelectorOnEveryPath()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeSelectedMap(device));
        TreeItem* selector = access.FindItem("StageSelector");
        TreeItem* level = access.FindItem("StageLevel");
        TreeItem* writeOnly = access.FindItem("StageWriteOnly");
        TreeItem* fire = access.FindItem("StageFire");
        QVERIFY(selector && level && writeOnly && fire);
        QCOMPARE(level->parent, selector);
        QCOMPARE(writeOnly->parent, selector);
        QCOMPARE(fire->parent, selector);
        QVERIFY(access.SetValue(selector, QStringLiteral("B")));
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);

        LogCollector log;
        QVERIFY(!access.GetSelectedValueGeneric(level, "C", true, true, What::Value).isValid());
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);
        QTRY_VERIFY(log.Has("Failed to read value of node StageLevel[C]. "));

        QVERIFY(!access.SetSelectedValueGeneric(level, "C", 44LL, true, true));
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);
        QCOMPARE(device.Stage(nodetree_test::kStageLevelAddress, 2), 33u);

        QVERIFY(!access.ExecuteSelected(fire, "C", true, true));
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);
        QCOMPARE(device.Stage(nodetree_test::kStageFireAddress, 2), 0u);

        // The successful paths act on their entry and restore as well.
        QCOMPARE(access.GetSelectedValueGeneric(level, "A", true, true, What::Value).toLongLong(), 11LL);
        QVERIFY(access.SetSelectedValueGeneric(level, "A", 12LL, true, true));
        QCOMPARE(device.Stage(nodetree_test::kStageLevelAddress, 0), 12u);
        QVERIFY(access.ExecuteSelected(fire, "A", true, true));
        QCOMPARE(device.Stage(nodetree_test::kStageFireAddress, 0), 1u);
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);

        // A write-only node cannot be read back; its successful write is still a success.
        QVERIFY(access.SetSelectedValueGeneric(writeOnly, "A", 9LL, true, true));
        QCOMPARE(device.Stage(nodetree_test::kStageWriteOnlyAddress, 0), 9u);
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);
        QVERIFY(access.SetValue(selector, QStringLiteral("A")));
        QVERIFY(access.SetValue(writeOnly, int64_t(8)));
        QCOMPARE(device.Stage(nodetree_test::kStageWriteOnlyAddress, 0), 8u);
    }

    void genericTextWritesParseAsShown_data()
    {
        QTest::addColumn<QString>("node");
        QTest::addColumn<QString>("text");
        QTest::addColumn<qlonglong>("expected"); // -1: refused, the register keeps its value
        const qlonglong address = (192LL << 24) | (168LL << 16) | 10LL;
        for (const char* node : {"HexValue", "AddressValue", "DecimalValue"})
        {
            const bool isAddress = QLatin1String(node) == QLatin1String("AddressValue");
            QTest::newRow(qPrintable(QStringLiteral("%1 0x10").arg(QLatin1String(node)))) << node << "0x10" << 16LL;
            QTest::newRow(qPrintable(QStringLiteral("%1 16").arg(QLatin1String(node)))) << node << "16" << 16LL;
            QTest::newRow(qPrintable(QStringLiteral("%1 ip").arg(QLatin1String(node))))
                << node << "192.168.0.10" << (isAddress ? address : -1LL);
            QTest::newRow(qPrintable(QStringLiteral("%1 abc").arg(QLatin1String(node)))) << node << "abc" << -1LL;
        }
        QTest::addRow("AddressValue spaced") << "AddressValue"
                                             << " 10.0.0.1 " << ((10LL << 24) | 1LL);
        QTest::addRow("AddressValue octet too big") << "AddressValue"
                                                    << "10.0.0.256" << -1LL;
        QTest::addRow("HexValue empty") << "HexValue"
                                        << "" << -1LL;
    }

    // What the tree shows can be typed back; anything else is refused with a log line, and never 0 written.
    void genericTextWritesParseAsShown()
    {
        QFETCH(QString, node);
        QFETCH(QString, text);
        QFETCH(qlonglong, expected);
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeSelectedMap(device));
        TreeItem* item = access.FindItem(node);
        QVERIFY(item);
        const uint64_t address = node == QLatin1String("HexValue")       ? nodetree_test::kHexAddress
                                 : node == QLatin1String("AddressValue") ? nodetree_test::kAddressAddress
                                                                         : nodetree_test::kDecimalAddress;
        device.Poke(address, 7);
        LogCollector log;
        const bool ok = access.SetValueGeneric(item, QVariant(text));
        QCOMPARE(ok, expected >= 0);
        QCOMPARE(qlonglong(device.Peek(address)), expected >= 0 ? expected : 7LL);
        if (expected < 0)
            QTRY_VERIFY(log.Has(QStringLiteral("Failed to write value of node %1. ").arg(node)));
    }

    void applicationLockCoversEveryItemAndOutlastsADisconnection()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeSelectedMap(device));
        TreeItem* first = access.GetRoot()->FindChild("Stages")->FindChild("Shared");
        TreeItem* second = access.GetRoot()->FindChild("Numbers")->FindChild("Shared");
        QVERIFY(first && second && first != second);

        // A node listed in two categories is locked in both.
        access.SetApplicationLock({QStringLiteral("Shared")}, true);
        QVERIFY(!first->IsWriteable());
        QVERIFY(!second->IsWriteable());
        QVERIFY(!access.SetValue(second, int64_t(3)));
        QCOMPARE(device.Peek(nodetree_test::kSharedAddress), 0u);
        access.SetApplicationLock({QStringLiteral("Shared")}, false);
        QVERIFY(access.SetValue(second, int64_t(3)));
        QCOMPARE(device.Peek(nodetree_test::kSharedAddress), 3u);

        // A lock set while disconnected holds after the reconnection, and so does its lifting.
        TreeItem* hex = access.FindItem("HexValue");
        access.OnDisconnected(true);
        access.SetApplicationLock({QStringLiteral("HexValue")}, true);
        SelectedDevice again;
        access.OnReconnected(MakeSelectedMap(again));
        QVERIFY(access.IsConnected());
        QVERIFY(hex->IsReadable());
        QVERIFY(!hex->IsWriteable());
        QVERIFY(!access.SetValue(hex, int64_t(5)));
        QCOMPARE(again.Peek(nodetree_test::kHexAddress), 0u);

        access.OnDisconnected(true);
        access.SetApplicationLock({QStringLiteral("HexValue")}, false);
        SelectedDevice third;
        access.OnReconnected(MakeSelectedMap(third));
        QVERIFY(hex->IsWriteable());
        QVERIFY(access.SetValue(hex, int64_t(5)));
        QCOMPARE(third.Peek(nodetree_test::kHexAddress), 5u);
    }

    // A device that resets before it acknowledges the command still gets its owner told.
    void deviceResetWithoutAcknowledgementIsReported()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeSelectedMap(device));
        QSignalSpy reset(&access, &NodeMapAccess::Signal_DeviceResetExecuted);
        access.Execute(access.FindItem("DeviceReset"), false);
        QCOMPARE(device.resets->load(), 1);
        QCOMPARE(reset.size(), 1);
        QVERIFY(!access.IsConnected());
    }

    void deviceResetDisconnects()
    {
        AccessDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        QSignalSpy reset(&access, &NodeMapAccess::Signal_DeviceResetExecuted);
        QVERIFY(access.Execute(access.FindItem("DeviceReset"), false));
        QCOMPARE(reset.size(), 1);
        QVERIFY(!access.IsConnected());
        QCOMPARE(device.Peek(nodetree_test::kResetAddress), 1u);
        AccessDevice again;
        access.OnReconnected(MakeMap(again));
        QVERIFY(access.IsConnected());
    }
};

QTEST_MAIN(TestNodeMapAccess)
#include "test_nodemapaccess.moc"
