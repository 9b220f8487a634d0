// The value sliders: 64-bit ranges and increments without overflow, edit box clamping, and which user
// actions emit which signals.
#include "common/applicationglobals.h"
#include "widgets/customcolormeter.h"
#include "widgets/customdoubleslider.h"
#include "widgets/customedit.h"
#include "widgets/customintslider.h"
#include "widgets/customslider.h"

#include <QSignalSpy>
#include <QtTest>

#include <cstdint>
#include <limits>

namespace {
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

void EnterText(CustomEdit* edit, const QString& text)
{
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
}
} // namespace

class TestWidgetsSliders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void int64ExtremesSurviveSetAndGet()
    {
        CustomIntSlider s;
        s.SetRange(kMin, kMax);
        QCOMPARE(s.Slider()->maximum(), CustomIntSlider::kMaxPositions);
        s.SetValue(kMax);
        QCOMPARE(s.Value(), kMax);
        QCOMPARE(s.Slider()->value(), CustomIntSlider::kMaxPositions);
        QCOMPARE(s.EditBox()->text(), QStringLiteral("9223372036854775807"));
        s.SetValue(kMin);
        QCOMPARE(s.Value(), kMin);
        QCOMPARE(s.Slider()->value(), 0);
        QCOMPARE(s.EditBox()->text(), QStringLiteral("-9223372036854775808"));
        s.SetValue(0);
        QCOMPARE(s.Value(), int64_t(0));
        QCOMPARE(s.Slider()->value(), CustomIntSlider::kMaxPositions / 2);

        // The position mapping reaches both ends exactly and is monotonic across the full range.
        QCOMPARE(CustomIntSlider::ValueForPosition(0, kMin, kMax, 1), kMin);
        QCOMPARE(CustomIntSlider::ValueForPosition(CustomIntSlider::kMaxPositions, kMin, kMax, 1), kMax);
        int64_t previous = kMin;
        for (int p = 1; p <= CustomIntSlider::kMaxPositions; p += 99991)
        {
            const int64_t v = CustomIntSlider::ValueForPosition(p, kMin, kMax, 1);
            QVERIFY(v > previous);
            QCOMPARE(CustomIntSlider::PositionForValue(v, kMin, kMax, 1), p);
            previous = v;
        }
    }

    void incrementsSnapWithoutOverflow()
    {
        // Grid from the minimum; the top grid value lies below a maximum that is off the grid.
        QCOMPARE(CustomIntSlider::Normalize(kMax, kMin, kMax, 2), kMax - 1);
        QCOMPARE(CustomIntSlider::Normalize(kMin + 5, kMin, kMax, 4), kMin + 4);
        QCOMPARE(CustomIntSlider::Normalize(kMin + 6, kMin, kMax, 4), kMin + 4); // a tie goes down
        QCOMPARE(CustomIntSlider::Normalize(kMin + 7, kMin, kMax, 4), kMin + 8);
        QCOMPARE(CustomIntSlider::Normalize(kMax, kMax - 10, kMax, 4), kMax - 2);
        QCOMPARE(CustomIntSlider::Normalize(17, 16, 4000, 16), int64_t(16));
        QCOMPARE(CustomIntSlider::Normalize(25, 16, 4000, 16), int64_t(32));
        QCOMPARE(CustomIntSlider::Normalize(-5, 16, 4000, 16), int64_t(16));
        QCOMPARE(CustomIntSlider::Normalize(5, 0, 10, 0), int64_t(5)); // increment < 1 means 1

        CustomIntSlider s;
        s.SetRange(kMax - 1007, kMax);
        s.SetIncrement(100);
        s.SetValue(kMax);
        QCOMPARE(s.Value(), kMax - 7); // the top grid value: minimum + 10 * 100
        QCOMPARE(s.Slider()->maximum(), 10);
        QCOMPARE(s.Slider()->value(), 10);
        QSignalSpy changed(&s, &CustomIntSlider::Signal_ValueChanged);
        QVERIFY(!s.StepUp()); // the next grid value would pass the maximum
        QVERIFY(s.StepDown());
        QCOMPARE(s.Value(), kMax - 107);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).value<int64_t>(), kMax - 107);

        s.SetRange(kMin, kMin + 1000);
        s.SetValue(kMin);
        QVERIFY(!s.StepDown());
        QVERIFY(s.StepUp());
        QCOMPARE(s.Value(), kMin + 100);
    }

    void editBoxClampsAndRejects()
    {
        CustomSliderIntNormal s;
        s.SetRange(-50, 1005);
        s.SetIncrement(10);
        s.SetValue(0);
        s.show();
        QVERIFY(QTest::qWaitForWindowExposed(&s));
        QSignalSpy changed(&s, &CustomIntSlider::Signal_ValueChanged);

        EnterText(s.EditBox(), QStringLiteral("123"));
        QCOMPARE(s.Value(), int64_t(120)); // -50 + 17 * 10, the nearer grid value
        QCOMPARE(s.EditBox()->text(), QStringLiteral("120"));
        QCOMPARE(changed.count(), 1);

        EnterText(s.EditBox(), QStringLiteral("99999999999999999999999"));
        QCOMPARE(s.Value(), int64_t(1000)); // beyond int64: clamps to the top grid value below 1005
        EnterText(s.EditBox(), QStringLiteral("-99999999999999999999999"));
        QCOMPARE(s.Value(), int64_t(-50));
        QCOMPARE(changed.count(), 3);

        EnterText(s.EditBox(), QStringLiteral("12abc"));
        QCOMPARE(s.Value(), int64_t(-50));
        QCOMPARE(s.EditBox()->text(), QStringLiteral("-50"));
        QCOMPARE(changed.count(), 3);

        // Arrow keys in the edit box step by the increment and report it.
        QSignalSpy up(&s, &CustomSliderIntNormal::Signal_ValueIncremented);
        QTest::keyClick(s.EditBox(), Qt::Key_Up);
        QCOMPARE(s.Value(), int64_t(-40));
        QCOMPARE(up.count(), 1);

        // Code never emits.
        s.SetValue(500);
        QCOMPARE(changed.count(), 4);
    }

    void dragEmitsImmediateThenFinal()
    {
        CustomSliderIntNormal s;
        s.SetRange(0, 100);
        s.resize(300, 30);
        s.show();
        QVERIFY(QTest::qWaitForWindowExposed(&s));
        QSignalSpy immediate(&s, &CustomIntSlider::Signal_ImmediateUpdate);
        QSignalSpy final(&s, &CustomIntSlider::Signal_ValueChanged);
        QSignalSpy pressed(&s, &CustomSliderIntNormal::Signal_SliderPressed);
        QSignalSpy released(&s, &CustomSliderIntNormal::Signal_SliderReleased);
        CustomSlider* bar = s.Slider();
        const QPoint a(bar->width() / 4, bar->height() / 2);
        const QPoint b(bar->width() * 3 / 4, bar->height() / 2);
        QTest::mousePress(bar, Qt::LeftButton, Qt::NoModifier, a);
        QMouseEvent move(QEvent::MouseMove, b, bar->mapToGlobal(b), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(bar, &move);
        QCOMPARE(final.count(), 0);
        QVERIFY(immediate.count() >= 2);
        QTest::mouseRelease(bar, Qt::LeftButton, Qt::NoModifier, b);
        QCOMPARE(final.count(), 1);
        QCOMPARE(pressed.count(), 1);
        QCOMPARE(released.count(), 1);
        QCOMPARE(final.at(0).at(0).value<int64_t>(), s.Value());
        QVERIFY(s.Value() > 60 && s.Value() < 90);
    }

    void doubleSliderClampsAndSteps()
    {
        CustomSliderDoubleNormal d;
        d.SetRange(-1.5, 2.5);
        d.SetIncrement(0.25);
        d.SetDecimals(2);
        d.SetValue(0.3);
        QCOMPARE(d.Value(), 0.25);
        d.SetValue(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(d.Value(), -1.5);
        d.SetValue(1e300);
        QCOMPARE(d.Value(), 2.5);
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        QSignalSpy changed(&d, &CustomDoubleSlider::Signal_ValueChanged);
        EnterText(d.EditBox(), QStringLiteral("inf"));
        QCOMPARE(d.Value(), 2.5);
        QCOMPARE(changed.count(), 0);
        EnterText(d.EditBox(), QStringLiteral("-7"));
        QCOMPARE(d.Value(), -1.5);
        QCOMPARE(d.EditBox()->text(), QStringLiteral("-1.50"));
        QVERIFY(d.StepUp());
        QCOMPARE(d.Value(), -1.25);
        QCOMPARE(changed.count(), 2);
    }

    void colorMeterMarksTheMaximum()
    {
        CustomColorMeter m(ApplicationGlobals::colorRedStrong);
        m.SetRange(0, 255);
        m.resize(300, 30);
        m.SetMaxIncreasing(true);
        m.SetLevel(100);
        m.SetLevel(180);
        m.SetLevel(40);
        QCOMPARE(m.Level(), int64_t(40));
        QCOMPARE(m.MaxMark(), int64_t(180));
        m.SetLevel(400);
        QCOMPARE(m.Level(), int64_t(255));
        m.SetMaxIncreasing(false);
        m.SetLevel(10);
        QCOMPARE(m.MaxMark(), int64_t(10));
        m.SetValue(100);
        QSignalSpy changed(&m, &CustomIntSlider::Signal_ValueChanged);
        m.ButtonHandlerRight();
        m.ButtonHandlerLeft();
        m.ButtonHandlerLeft();
        QCOMPARE(m.Value(), int64_t(99));
        QCOMPARE(changed.count(), 3);
    }
};

QTEST_MAIN(TestWidgetsSliders)
#include "test_widgets_sliders.moc"
