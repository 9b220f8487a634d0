// Camera features and their controls following the node behind them: a node that stops being implemented,
// an asynchronous write through a selector read back to every control, the precision of a slider bound before
// its camera, the access's feature list across disconnection and a new tree, and a tree replaced while
// asynchronous writes are in flight.
#include "tests/nodetree/nodetree_fixtures.h"

#include "features/camerafeature.h"
#include "features/controls/featurecontrols.h"
#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"
#include "orna/core/library.h"
#include "widgets/customedit.h"

#include <QSignalSpy>
#include <QtTest>

using nodetree_test::SelectedDevice;

namespace {

std::shared_ptr<orna::core::NodeMap> MakeMap(const SelectedDevice& device)
{
    return orna::core::detail::CreateLocalNodeMap(device.bank, nodetree_test::SelectedXml());
}

} // namespace

class TestFeaturesBinding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { orna::Library::Initialize(); }

    // The worker's poll finds the node not implemented any more: the control turns off instead of writing
    // nowhere, and turns on again when the node comes back.
    void aFeatureThatBecomesUnavailableDisablesItsControl()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        IntegerCameraFeature optional;
        optional.SetSource(&access, QStringLiteral("Optional"));
        FeatureControls::IntSlider slider;
        slider.SetFeature(&optional);
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Value(), int64_t(5));

        QSignalSpy access1(&optional, &FeatureInterface::AccessChanged);
        device.Poke(nodetree_test::kOptionalImplementedAddress, 0);
        access.UpdateItem(access.FindItem("Optional"), NodeMapAccess::UpdateMode::Normal, false);
        QTRY_VERIFY(!slider.isEnabled());
        QCOMPARE(access1.last().at(0).value<FeatureAccess>(), FeatureAccess::NotImplemented);
        QVERIFY(!optional.IsWriteable());

        device.Poke(nodetree_test::kOptionalImplementedAddress, 1);
        access.UpdateItem(access.FindItem("Optional"), NodeMapAccess::UpdateMode::Normal, false);
        QTRY_VERIFY(slider.isEnabled());
    }

    // The item's cache holds the value of the selector's current entry ("B"), not of the feature's ("A"):
    // only a read-back through the selector tells the controls what the camera took.
    void asyncWriteOnASelectedFeatureReachesEveryControl()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        QVERIFY(access.SetValue(access.FindItem("StageSelector"), QStringLiteral("B")));
        IntegerCameraFeature stageA(std::make_shared<SelectedCameraFeatureAccessor>(QStringLiteral("A")));
        stageA.SetSource(&access, QStringLiteral("StageLevel"));
        FeatureControls::IntSlider first;
        FeatureControls::IntSlider second;
        first.SetFeature(&stageA);
        second.SetFeature(&stageA);
        QCOMPARE(first.Value(), int64_t(11));
        QCOMPARE(second.Value(), int64_t(11));

        QSignalSpy values(&stageA, &IntegerFeatureInterface::IntValueChanged);
        // A drag's value leaves the first slider through the asynchronous setter.
        emit first.Signal_ImmediateUpdate(40);
        QVERIFY(stageA.WaitForAsyncWrite(5000));
        QTRY_COMPARE(second.Value(), int64_t(40));
        QCOMPARE(first.Value(), int64_t(40));
        QCOMPARE(values.last().at(0).value<int64_t>(), int64_t(40));
        QCOMPARE(device.Stage(nodetree_test::kStageLevelAddress, 0), 40u);
        QCOMPARE(device.Peek(nodetree_test::kStageSelectorAddress), 1u);
    }

    // Bound before the camera opens the feature has no precision; once bound, the slider shows the node's.
    void doubleSliderBoundBeforeTheOpenTakesThePrecision()
    {
        auto precise = std::make_shared<DoubleCameraFeature>();
        FeatureControls::DoubleSlider slider;
        slider.SetFeature(precise.get());
        QCOMPARE(slider.Decimals(), 0);
        QVERIFY(!slider.isEnabled());

        SelectedDevice device;
        NodeMapAccess access;
        access.AddFeature(precise, QStringLiteral("Remote:Precise"));
        access.SetNodeMap(MakeMap(device));
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Decimals(), 3);
        precise->SetDoubleValue(2.5);
        QCOMPARE(slider.EditBox()->text(), QStringLiteral("2.500"));
        access.RemoveFeature(precise.get());
    }

    // The access's features: told on disconnection (controls off), bound again and synchronised on
    // reconnection (range and value of the new camera), and bound to the new items of a new tree.
    void featureListFollowsDisconnectionReconnectionAndANewTree()
    {
        SelectedDevice device;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        auto shared = std::make_shared<IntegerCameraFeature>();
        access.AddFeature(shared, QStringLiteral("Remote:Shared"));
        QCOMPARE(access.GetFeatureCount(), 1);
        FeatureControls::IntSlider slider;
        slider.SetFeature(shared.get());
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Maximum(), int64_t(100));
        QVERIFY(access.SetValue(access.FindItem("Shared"), int64_t(30)));
        QTRY_COMPARE(slider.Value(), int64_t(30));

        access.OnDisconnected(true);
        QVERIFY(!slider.isEnabled());
        QCOMPARE(shared->GetAccess(), FeatureAccess::Unbound);

        // The camera comes back with its own value (restore off): the control shows it.
        access.SetRestoreEnabled(false);
        SelectedDevice again;
        again.Poke(nodetree_test::kSharedAddress, 70);
        access.OnReconnected(MakeMap(again));
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Maximum(), int64_t(100));
        QCOMPARE(slider.Value(), int64_t(70));

        // A new tree: the feature is bound to its new item.
        SelectedDevice third;
        third.Poke(nodetree_test::kSharedAddress, 12);
        access.SetNodeMap(MakeMap(third));
        QVERIFY(slider.isEnabled());
        QCOMPARE(slider.Value(), int64_t(12));
        emit slider.Signal_ValueChanged(50);
        QVERIFY(shared->WaitForAsyncWrite(5000));
        QCOMPARE(third.Peek(nodetree_test::kSharedAddress), 50u);
    }

    // A reconnection while the user drags: SetNodeMap deletes the tree that asynchronous writes of a feature
    // still hold. Nothing may reach a deleted item (run under ASan and TSan).
    void nodeMapSwappedUnderAThousandAsyncWrites()
    {
        SelectedDevice device;
        *device.decimalWriteDelayUs = 2000;
        NodeMapAccess access;
        access.SetNodeMap(MakeMap(device));
        // Bound directly, not through the access's list: nothing rebinds (and so waits for) it before a swap.
        IntegerCameraFeature decimal;
        decimal.SetSource(&access, QStringLiteral("DecimalValue"));
        FeatureControls::IntSlider slider;
        slider.SetFeature(&decimal);
        int swaps = 0;
        // Built ahead: parsing a description takes longer than the writes in flight.
        auto next = MakeMap(device);
        for (int i = 1; i <= 1000; ++i)
        {
            emit slider.Signal_ImmediateUpdate(i);
            if (i % 50 == 0 && i < 1000)
            {
                access.SetNodeMap(std::move(next));
                next = MakeMap(device);
                ++swaps;
                QVERIFY(!decimal.IsAvailable());
                decimal.SetSource(&access, QStringLiteral("DecimalValue"));
                QVERIFY(decimal.IsAvailable());
            }
            if (i % 10 == 0)
                QCoreApplication::processEvents();
        }
        QCOMPARE(swaps, 19);
        QVERIFY(decimal.WaitForAsyncWrite(10000));
        QCoreApplication::processEvents();
        // The last value of the drag, sent after the last swap, reached the camera.
        QCOMPARE(device.decimalValue->load(), 1000u);
    }
};

QTEST_MAIN(TestFeaturesBinding)
#include "test_features_binding.moc"
