// The feature contract without a camera: clamping and value texts, edge-triggered software features,
// level-triggered attachment, and the drag of a bound slider.
#include "features/camerafeature.h"
#include "features/controls/autofeaturegroup.h"
#include "features/controls/featurecontrols.h"
#include "features/roifeaturegroup.h"
#include "features/softwarefeature.h"
#include "widgets/customslider.h"

#include <QSignalSpy>
#include <QtTest>

#include <limits>

class TestFeaturesControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clampAlignsFromTheMinimumAndTiesGoUp()
    {
        QCOMPARE(IntegerFeatureInterface::ClampValue(10, 1, 100, 4), int64_t(9));  // 9 = 1 + 2*4
        QCOMPARE(IntegerFeatureInterface::ClampValue(11, 1, 100, 4), int64_t(13)); // tie: up
        QCOMPARE(IntegerFeatureInterface::ClampValue(12, 1, 100, 4), int64_t(13));
        QCOMPARE(IntegerFeatureInterface::ClampValue(-5, 1, 100, 4), int64_t(1));
        QCOMPARE(IntegerFeatureInterface::ClampValue(500, 1, 100, 4), int64_t(97));
        QCOMPARE(IntegerFeatureInterface::ClampValue(55, 0, 100, -1), int64_t(55));
        // Rounding up past the maximum falls back down on the grid.
        QCOMPARE(IntegerFeatureInterface::ClampValue(99, 0, 99, 4), int64_t(96));
        const int64_t lo = std::numeric_limits<int64_t>::min();
        const int64_t hi = std::numeric_limits<int64_t>::max();
        QCOMPARE(IntegerFeatureInterface::ClampValue(hi, lo, hi, 2), hi - 1);

        IntegerSoftwareFeature feature(QStringLiteral("F"), 0, 50, 5, 0);
        QCOMPARE(feature.Clamp(23), int64_t(25));
        QCOMPARE(feature.Clamp(99), int64_t(50));
        feature.SetAvailableFunction([] { return false; });
        QCOMPARE(feature.Clamp(99), int64_t(99));
    }

    void valueTextsByRepresentation()
    {
        QCOMPARE(IntegerFeatureInterface::FormatValue(255, 4), QStringLiteral("0xff"));
        QCOMPARE(IntegerFeatureInterface::FormatValue(0xC0A80102, 5), QStringLiteral("192.168.1.2"));
        QCOMPARE(IntegerFeatureInterface::FormatValue(0x0011223344AALL, 6), QStringLiteral("00:11:22:33:44:aa"));
        QCOMPARE(IntegerFeatureInterface::FormatValue(-7, 0), QStringLiteral("-7"));
        DoubleSoftwareFeature gamma(QStringLiteral("Gamma"), 0.1, 4.0, 0.0, 1.23456, 3);
        QCOMPARE(gamma.GetValueAsString(), QStringLiteral("1.23"));
    }

    void attachingTellsEverythingOnce()
    {
        DoubleSoftwareFeature gamma(QStringLiteral("Gamma"), 0.1, 4.0, 0.0, 1.5);
        QSignalSpy access(&gamma, &FeatureInterface::AccessChanged);
        QSignalSpy writeable(&gamma, &FeatureInterface::WriteableChanged);
        QSignalSpy value(&gamma, &DoubleFeatureInterface::DoubleValueChanged);
        QSignalSpy range(&gamma, &DoubleFeatureInterface::DoubleRangeChanged);
        gamma.triggerAllChangedSignals();
        QCOMPARE(access.size(), 1);
        QCOMPARE(access.first().at(0).value<FeatureAccess>(), FeatureAccess::ReadWrite);
        QCOMPARE(writeable.first().at(0).toBool(), true);
        QCOMPARE(value.first().at(0).toDouble(), 1.5);
        QCOMPARE(range.size(), 1);

        // Read only: writes are refused, the control is off.
        gamma.SetReadOnly(true);
        QCOMPARE(writeable.last().at(0).toBool(), false);
        gamma.SetDoubleValue(2.0);
        QCOMPARE(gamma.GetDoubleValue(false), 1.5);
        FeatureControls::DoubleSlider slider;
        slider.SetFeature(&gamma);
        QVERIFY(!slider.isEnabled());
        QCOMPARE(slider.Value(), 1.5);
    }

    void valueDuringADragDoesNotMoveTheHandle()
    {
        // A source that takes only even values, as a camera aligning to its increment.
        class EvenFeature : public IntegerSoftwareFeature
        {
        public:
            EvenFeature() : IntegerSoftwareFeature(QStringLiteral("Level"), 0, 100, 1, 10) {}
            void SetIntValue(const int64_t& v) override { IntegerSoftwareFeature::SetIntValue(v & ~int64_t(1)); }
        } level;
        FeatureControls::IntSlider slider;
        slider.SetWriteAsync(false);
        slider.SetFeature(&level);
        QCOMPARE(slider.Value(), int64_t(10));

        Q_EMIT slider.Slider()->Signal_SliderPressed();
        level.SetIntValue(70); // e.g. another control on the same feature
        QCOMPARE(slider.Value(), int64_t(10));
        slider.SetValue(33); // where the user's handle is now
        Q_EMIT slider.Slider()->Signal_SliderReleased();
        // The release writes the handle's value and shows the read-back.
        QCOMPARE(level.GetIntValue(false), int64_t(32));
        QCOMPARE(slider.Value(), int64_t(32));
        level.SetIntValue(30);
        QCOMPARE(slider.Value(), int64_t(30));
    }

    void integerFormsWriteOnTheGrid()
    {
        IntegerSoftwareFeature factor(QStringLiteral("Factor"), 2, 16, 2, 4);

        FeatureControls::IntEdit edit;
        edit.SetFeature(&factor);
        QCOMPARE(edit.text(), QStringLiteral("4"));
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("0x9")); // 9 lies between 8 and 10: a tie goes up
        QCOMPARE(factor.GetIntValue(false), int64_t(10));
        QCOMPARE(edit.text(), QStringLiteral("10"));
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("ten"));
        QCOMPARE(factor.GetIntValue(false), int64_t(10));
        QCOMPARE(edit.text(), QStringLiteral("10"));

        FeatureControls::IntComboBox combo;
        combo.SetFeature(&factor);
        QCOMPARE(combo.count(), 8);
        QCOMPARE(combo.currentText(), QStringLiteral("10"));
        Q_EMIT combo.Signal_CurrentIndexChanged(0);
        QCOMPARE(factor.GetIntValue(false), int64_t(2));
        QCOMPARE(edit.text(), QStringLiteral("2"));

        FeatureControls::SpinBox spin;
        spin.SetFeature(&factor);
        spin.SetValueToMax();
        QCOMPARE(factor.GetIntValue(false), int64_t(16));
        QCOMPARE(combo.currentText(), QStringLiteral("16"));
        factor.SetRange(2, 6, 2);
        QCOMPARE(combo.count(), 3);
    }

    // The integer edit takes back the forms it shows; text that is none of them writes nothing.
    void intEditTakesTheFormsItShows()
    {
        struct AddressFeature : IntegerSoftwareFeature
        {
            using IntegerSoftwareFeature::IntegerSoftwareFeature;
            qint8 GetRepresentation() override { return 5; }
        };
        AddressFeature address(QStringLiteral("Address"), 0, 0xFFFFFFFFLL, 1, 0xC0A8000ALL);
        FeatureControls::IntEdit edit;
        edit.SetFeature(&address);
        QCOMPARE(edit.text(), QStringLiteral("192.168.0.10"));
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("10.0.0.1"));
        QCOMPARE(address.GetIntValue(false), int64_t(0x0A000001));
        QCOMPARE(edit.text(), QStringLiteral("10.0.0.1"));
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("0x10"));
        QCOMPARE(address.GetIntValue(false), int64_t(16));
        QSignalSpy values(&address, &IntegerFeatureInterface::IntValueChanged);
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("10.0.0.256"));
        Q_EMIT edit.Signal_EditingFinished(QStringLiteral("abc"));
        QCOMPARE(values.size(), 0);
        QCOMPARE(edit.text(), QStringLiteral("0.0.0.16"));
    }

    // The two-way form of an auto function: on is "Once", and the switch goes off when the function does.
    void switchTwoWayFormFollowsTheMode()
    {
        EnumerationSoftwareFeature mode(
            QStringLiteral("Mode"),
            {{0, QStringLiteral("Off")}, {1, QStringLiteral("Once")}, {2, QStringLiteral("Continuous")}}, 0);
        FeatureControls::Switch sw;
        sw.SetFeature(&mode);
        QVERIFY(sw.isEnabled());
        QVERIFY(!sw.Value());
        Q_EMIT sw.Signal_ValueChanged(true);
        QCOMPARE(mode.GetStringValue(false), QStringLiteral("Once"));
        QVERIFY(sw.Value());
        mode.SetStringValue(QStringLiteral("Off")); // the function ended by itself
        QVERIFY(!sw.Value());
        mode.SetEntries({{0, QStringLiteral("Off")}, {2, QStringLiteral("Continuous")}});
        QVERIFY(!sw.isEnabled());
        sw.SetFeature(nullptr);
        QVERIFY(!sw.isEnabled());
    }

    // An owner updates what it shows also while the user may not change it.
    void softwareFeaturesTakeTheirOwnersValuesWhileReadOnly()
    {
        DoubleSoftwareFeature level(QStringLiteral("Level"), 0.0, 1.0, 0.0, 0.5);
        BooleanSoftwareFeature flag(QStringLiteral("Flag"), false);
        EnumerationSoftwareFeature choice(QStringLiteral("Choice"),
                                          {{0, QStringLiteral("A")}, {1, QStringLiteral("B")}}, 0);
        StringSoftwareFeature text(QStringLiteral("Text"), QStringLiteral("a"));
        level.SetReadOnly(true);
        flag.SetReadOnly(true);
        choice.SetReadOnly(true);
        text.SetReadOnly(true);
        QSignalSpy levelValues(&level, &DoubleFeatureInterface::DoubleValueChanged);
        level.SetDoubleValue(0.7);
        QCOMPARE(level.GetDoubleValue(false), 0.5);
        level.StoreValue(0.9);
        QCOMPARE(level.GetDoubleValue(false), 0.9);
        QCOMPARE(levelValues.size(), 1);
        flag.SetBoolValue(true);
        QVERIFY(!flag.GetBoolValue(false));
        flag.StoreValue(true);
        QVERIFY(flag.GetBoolValue(false));
        choice.SetIntValue(1);
        QCOMPARE(choice.GetStringValue(false), QStringLiteral("A"));
        choice.StoreValue(1);
        QCOMPARE(choice.GetStringValue(false), QStringLiteral("B"));
        text.SetStringValue(QStringLiteral("b"));
        text.StoreValue(QStringLiteral("c"));
        QCOMPARE(text.GetStringValue(false), QStringLiteral("c"));

        QSignalSpy ranges(&level, &DoubleFeatureInterface::DoubleRangeChanged);
        level.SetMin(0.1);
        level.SetMax(2.0);
        level.SetInc(0.1);
        QCOMPARE(ranges.size(), 3);
        QCOMPARE(level.GetMinimum(false), 0.1);
        QCOMPARE(level.GetMaximum(false), 2.0);
        QCOMPARE(level.GetIncrement(false), 0.1);
    }

    void autoGroupFollowsTheFeature()
    {
        EnumerationSoftwareFeature mode(
            QStringLiteral("ExposureAuto"),
            {{0, QStringLiteral("Off")}, {1, QStringLiteral("Once")}, {2, QStringLiteral("Continuous")}}, 0);
        QWidget panel;
        auto* off = new CustomRadio(QStringLiteral("Off"), &panel);
        auto* once = new CustomRadio(QStringLiteral("Once"), &panel);
        auto* continuous = new CustomRadio(QStringLiteral("Continuous"), &panel);
        AutoFeatureGroup group(off, once, continuous);
        QVERIFY(!off->isEnabled());
        group.SetFeature(&mode);
        QVERIFY(off->isChecked() && off->isEnabled());
        QSignalSpy onceSelected(&group, &AutoFeatureGroup::OnceSelected);
        QSignalSpy offSelected(&group, &AutoFeatureGroup::OffSelected);

        once->click();
        QCOMPARE(mode.GetStringValue(false), QStringLiteral("Once"));
        QVERIFY(once->isChecked() && !off->isChecked());
        QCOMPARE(onceSelected.size(), 1);

        // The auto function reached its target and went back to "Off" by itself.
        mode.SetStringValue(QStringLiteral("Off"));
        QVERIFY(off->isChecked() && !once->isChecked());
        QCOMPARE(offSelected.size(), 1);
        QCOMPARE(group.Current(), QStringLiteral("Off"));

        AutoFeatureRadioWidget side;
        QSignalSpy host(&side, &AutoFeatureRadioWidget::HostSelected);
        QVERIFY(side.IsCameraSelected());
        side.HostRadio()->click();
        QCOMPARE(host.size(), 1);
        QVERIFY(!side.IsCameraSelected());
    }

    void cameraFeatureWithoutNodeStaysOff()
    {
        IntegerCameraFeature unbound;
        QVERIFY(!unbound.IsAvailable());
        QCOMPARE(unbound.GetAccess(), FeatureAccess::Unbound);
        QCOMPARE(unbound.GetRepresentation(), qint8(-2));
        QCOMPARE(unbound.Clamp(7), int64_t(7));
        unbound.SetIntValue(5);
        unbound.SetIntValueAsync(5);
        QVERIFY(unbound.WaitForAsyncWrite(1000));
        QCOMPARE(unbound.GetIntValue(true), int64_t(0));

        FeatureControls::IntSlider slider;
        slider.SetFeature(&unbound);
        QVERIFY(!slider.isEnabled());
        QSignalSpy readable(&unbound, &FeatureInterface::ReadableChanged);
        QSignalSpy writeable(&unbound, &FeatureInterface::WriteableChanged);
        QSignalSpy access(&unbound, &FeatureInterface::AccessChanged);
        QSignalSpy values(&unbound, &FeatureInterface::ValueChanged);
        unbound.triggerAllChangedSignals();
        QCOMPARE(readable.size(), 1);
        QCOMPARE(readable.first().at(0).toBool(), false);
        QCOMPARE(writeable.first().at(0).toBool(), false);
        QCOMPARE(access.first().at(0).value<FeatureAccess>(), FeatureAccess::NotAvailable);
        QCOMPARE(values.size(), 0);
        QVERIFY(!slider.isEnabled());
    }

    void roiGroupStaysInsideTheImage()
    {
        RoiFeatureGroup roi;
        QSignalSpy changed(&roi, &RoiFeatureGroup::RoiChanged);
        roi.SetImageSize(640, 480);
        QCOMPARE(roi.Region(), QRect(0, 0, 640, 480));
        QCOMPARE(changed.size(), 1);

        // Following: the values are off for controls and writes are refused.
        FeatureControls::IntSlider width;
        width.SetFeature(roi.Width());
        QVERIFY(!width.isEnabled());
        roi.Width()->SetIntValue(100);
        QCOMPARE(roi.Region().width(), 640);

        roi.Follow()->SetBoolValue(false);
        QVERIFY(width.isEnabled());
        Q_EMIT width.Signal_ValueChanged(200);
        QCOMPARE(roi.Region(), QRect(0, 0, 200, 480));
        roi.OffsetX()->SetIntValue(400);
        QCOMPARE(roi.Region(), QRect(400, 0, 200, 480));
        QCOMPARE(roi.Width()->GetMaximum(false), int64_t(240));
        QCOMPARE(width.Maximum(), int64_t(240));

        // A smaller image pulls the region inside: size first, then offset.
        const int before = changed.size();
        roi.SetImageSize(320, 240);
        QCOMPARE(roi.Region(), QRect(120, 0, 200, 240));
        QCOMPARE(changed.size(), before + 1);

        roi.Follow()->SetBoolValue(true);
        QCOMPARE(roi.Region(), QRect(0, 0, 320, 240));
        QVERIFY(!width.isEnabled());
    }

    void nullAndDeletedFeaturesLeaveTheControlOff()
    {
        FeatureControls::IntSlider slider;
        QVERIFY(!slider.isEnabled());
        FeatureControls::Button button;
        {
            CommandSoftwareFeature reset(QStringLiteral("Reset"));
            button.SetFeature(&reset);
            QVERIFY(button.isEnabled());
            QSignalSpy executed(&reset, &CommandFeatureInterface::Executed);
            button.click();
            QCOMPARE(executed.size(), 1);
            auto* level = new IntegerSoftwareFeature(QStringLiteral("Level"), 0, 100, 1, 10);
            slider.SetFeature(level);
            QVERIFY(slider.isEnabled());
            delete level;
        }
        QVERIFY(!slider.isEnabled());
        QVERIFY(!button.isEnabled());
        QVERIFY(!button.Feature());
    }
};

QTEST_MAIN(TestFeaturesControls)
#include "test_features_controls.moc"
