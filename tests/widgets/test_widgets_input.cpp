// What reaches a value widget from the user and from its source: the wheel only steps a focused widget (an
// unfocused one leaves it to the scroll area), a value from the source does not replace text being typed,
// unchanged text leaving the box commits nothing, the double grid stays inside the range, the spin box does
// not drift, a disabled switch's thumb is drawn disabled, and coloured texts keep their line breaks.
#include "common/applicationglobals.h"
#include "widgets/colorquestiondialog.h"
#include "widgets/customcolorlabel.h"
#include "widgets/customcombobox.h"
#include "widgets/customdoubleslider.h"
#include "widgets/customedit.h"
#include "widgets/customintslider.h"
#include "widgets/customslider.h"
#include "widgets/customspinbox.h"
#include "widgets/customswitch.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>
#include <qtestspontaneevent.h>

#include <functional>
#include <memory>

namespace {

// One wheel notch up over widget, as the window system delivers it: spontaneous, so that it propagates to
// the parents when the widget ignores it (a synthesized wheel event does not).
void WheelUp(QWidget* widget)
{
    const QPoint centre = widget->rect().center();
    QWheelEvent event(centre, widget->mapToGlobal(centre), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    // notify keeps the spontaneous flag that sendEvent would clear.
    qApp->notify(widget, &event);
}

// Counts the wheel events that reach a widget (those its children left to it).
struct WheelCounter : QObject
{
    explicit WheelCounter(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Wheel)
            ++count;
        return false;
    }
    int count = 0;
};

// A value widget in a tall scrolling panel, and another widget to hold the focus.
struct Panel
{
    QWidget window;
    QScrollArea* area = nullptr;
    QLineEdit* other = nullptr;
    QWidget* content = nullptr;

    explicit Panel(QWidget* valueWidget)
    {
        auto* layout = new QVBoxLayout(&window);
        other = new QLineEdit(&window);
        layout->addWidget(other);
        area = new QScrollArea(&window);
        layout->addWidget(area);
        content = new QWidget;
        auto* inner = new QVBoxLayout(content);
        inner->addWidget(valueWidget);
        inner->addSpacing(3000);
        area->setWidget(content);
        area->setWidgetResizable(true);
        window.resize(400, 300);
        window.show();
        QApplication::setActiveWindow(&window);
    }
};

struct Subject
{
    QWidget* widget = nullptr;
    QWidget* wheelTarget = nullptr;          // the part under the mouse
    std::function<double()> value;           // the widget's value
    std::unique_ptr<QSignalSpy> userChanges; // its signal for changes by the user
};

Subject MakeSubject(const QString& kind)
{
    Subject s;
    if (kind == QLatin1String("int slider"))
    {
        auto* w = new CustomIntSlider;
        w->SetRange(0, 100);
        w->SetIncrement(5);
        w->SetValue(50);
        s.widget = w;
        s.wheelTarget = w->Slider();
        s.value = [w] { return double(w->Value()); };
        s.userChanges = std::make_unique<QSignalSpy>(w, &CustomIntSlider::Signal_ValueChanged);
    }
    else if (kind == QLatin1String("int slider edit box"))
    {
        auto* w = new CustomIntSlider;
        w->SetRange(0, 100);
        w->SetIncrement(5);
        w->SetValue(50);
        s.widget = w;
        s.wheelTarget = w->EditBox();
        s.value = [w] { return double(w->Value()); };
        s.userChanges = std::make_unique<QSignalSpy>(w, &CustomIntSlider::Signal_ValueChanged);
    }
    else if (kind == QLatin1String("double slider"))
    {
        auto* w = new CustomDoubleSlider;
        w->SetRange(0.0, 10.0);
        w->SetIncrement(0.5);
        w->SetValue(5.0);
        s.widget = w;
        s.wheelTarget = w->Slider();
        s.value = [w] { return w->Value(); };
        s.userChanges = std::make_unique<QSignalSpy>(w, &CustomDoubleSlider::Signal_ValueChanged);
    }
    else if (kind == QLatin1String("spin box"))
    {
        auto* w = new CustomSpinbox;
        w->SetRange(0, 10);
        w->SetStep(1);
        w->SetValue(5);
        s.widget = w;
        s.wheelTarget = w;
        s.value = [w] { return w->Value(); };
        s.userChanges = std::make_unique<QSignalSpy>(w, &CustomSpinbox::ValueChanged);
    }
    else
    {
        auto* w = new CustomComboBox;
        w->addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
        w->setCurrentIndex(1);
        s.widget = w;
        s.wheelTarget = w;
        s.value = [w] { return double(w->currentIndex()); };
        s.userChanges = std::make_unique<QSignalSpy>(w, QOverload<int>::of(&QComboBox::activated));
    }
    return s;
}

} // namespace

class TestWidgetsInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void wheelStepsOnlyAFocusedWidget_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<double>("step"); // what one notch up does with the focus
        QTest::newRow("int slider") << "int slider" << 5.0;
        QTest::newRow("int slider edit box") << "int slider edit box" << 5.0;
        QTest::newRow("double slider") << "double slider" << 0.5;
        QTest::newRow("spin box") << "spin box" << 1.0;
        QTest::newRow("combo box") << "combo box" << -1.0; // a combo box moves up the list
    }

    void wheelStepsOnlyAFocusedWidget()
    {
        QFETCH(QString, kind);
        QFETCH(double, step);
        Subject subject = MakeSubject(kind);
        Panel panel(subject.widget);
        QVERIFY(QTest::qWaitForWindowActive(&panel.window));
        panel.other->setFocus();
        QTRY_VERIFY(panel.other->hasFocus());
        const double before = subject.value();

        // Without focus: the value stays, nothing is told, the wheel goes on to the panel.
        WheelCounter passedOn(panel.content);
        WheelUp(subject.wheelTarget);
        QCOMPARE(subject.value(), before);
        QCOMPARE(subject.userChanges->size(), 0);
        QCOMPARE(passedOn.count, 1);

        // With focus: one notch is one step.
        subject.widget->setFocus();
        QTRY_VERIFY(subject.widget->hasFocus());
        WheelUp(subject.wheelTarget);
        QCOMPARE(subject.value(), before + step);
        QCOMPARE(subject.userChanges->size(), 1);
        QCOMPARE(passedOn.count, 1);
    }

    // The camera's value arriving while the user types into the box moves the slider, not the text.
    void aValueUpdateDoesNotReplaceTypedText()
    {
        auto* intSlider = new CustomIntSlider; // the panel owns it
        CustomIntSlider& slider = *intSlider;
        slider.SetRange(0, 1000);
        slider.SetValue(10);
        Panel panel(intSlider);
        QVERIFY(QTest::qWaitForWindowActive(&panel.window));
        slider.EditBox()->setFocus();
        QTRY_VERIFY(slider.EditBox()->hasFocus());
        slider.EditBox()->selectAll();
        QTest::keyClicks(slider.EditBox(), QStringLiteral("77"));
        slider.SetValue(20);
        QCOMPARE(slider.EditBox()->text(), QStringLiteral("77"));
        QCOMPARE(slider.Value(), int64_t(20));
        QSignalSpy changed(&slider, &CustomIntSlider::Signal_ValueChanged);
        QTest::keyClick(slider.EditBox(), Qt::Key_Return);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(slider.Value(), int64_t(77));

        auto* doubleSlider = new CustomDoubleSlider;
        CustomDoubleSlider& doubles = *doubleSlider;
        doubles.SetRange(0.0, 10.0);
        doubles.SetValue(1.0);
        Panel other(doubleSlider);
        QVERIFY(QTest::qWaitForWindowActive(&other.window));
        doubles.EditBox()->setFocus();
        QTRY_VERIFY(doubles.EditBox()->hasFocus());
        doubles.EditBox()->selectAll();
        QTest::keyClicks(doubles.EditBox(), QStringLiteral("3.5"));
        doubles.SetValue(2.0);
        QCOMPARE(doubles.EditBox()->text(), QStringLiteral("3.5"));
    }

    // Fewer decimals shown than the value has: the focus passing through the box must not write the
    // rounded text back.
    void unchangedTextLeavingTheBoxCommitsNothing()
    {
        auto* doubleSlider = new CustomDoubleSlider; // the panel owns it
        CustomDoubleSlider& slider = *doubleSlider;
        slider.SetRange(0.0, 10.0);
        slider.SetDecimals(0);
        slider.SetValue(2.37);
        Panel panel(doubleSlider);
        QVERIFY(QTest::qWaitForWindowActive(&panel.window));
        QSignalSpy changed(&slider, &CustomDoubleSlider::Signal_ValueChanged);
        slider.EditBox()->setFocus();
        QTRY_VERIFY(slider.EditBox()->hasFocus());
        panel.other->setFocus();
        QTRY_VERIFY(panel.other->hasFocus());
        QCOMPARE(changed.size(), 0);
        QCOMPARE(slider.Value(), 2.37);
    }

    void doubleGridStaysInsideTheRange()
    {
        // The maximum 10 is off the grid 0, 4, 8: the nearest grid value in range is 8, not 10.
        QCOMPARE(CustomDoubleSlider::Normalize(10.0, 0.0, 10.0, 4.0), 8.0);
        QCOMPARE(CustomDoubleSlider::Normalize(9.9, 0.0, 10.0, 4.0), 8.0);
        QCOMPARE(CustomDoubleSlider::Normalize(5.9, 0.0, 10.0, 4.0), 4.0);
        QCOMPARE(CustomDoubleSlider::Normalize(6.1, 0.0, 10.0, 4.0), 8.0);
        QCOMPARE(CustomDoubleSlider::Normalize(-3.0, 1.0, 10.0, 4.0), 1.0);
        QCOMPARE(CustomDoubleSlider::Normalize(10.0, 2.0, 10.0, 4.0), 10.0); // on the grid
    }

    void spinBoxStepsDoNotDrift()
    {
        CustomSpinbox spin;
        spin.SetRange(0.0, 5.0);
        spin.SetStep(0.1);
        spin.SetDecimals(1);
        for (int i = 0; i < 3; ++i)
            spin.OnButtonRightClicked();
        QVERIFY(spin.Value() == 0.3);
        for (int i = 0; i < 7; ++i)
            spin.OnButtonRightClicked();
        QVERIFY(spin.Value() == 1.0);
        for (int i = 0; i < 10; ++i)
            spin.OnButtonLeftClicked();
        QVERIFY(spin.Value() == 0.0);
    }

    void disabledSwitchDrawsADisabledThumb()
    {
        CustomSwitch on;
        on.resize(40, 20);
        on.SetValue(true);
        on.show();
        QVERIFY(QTest::qWaitForWindowExposed(&on));
        auto thumbColour = [&on] {
            Thumb* thumb = on.GetThumb();
            return thumb->grab().toImage().pixelColor(thumb->rect().center());
        };
        const QColor enabled = thumbColour();
        on.setEnabled(false);
        QCOMPARE(thumbColour(), ApplicationGlobals::colorDisabledText);
        QVERIFY(enabled != ApplicationGlobals::colorDisabledText);
        on.setEnabled(true);
        QVERIFY(thumbColour() != ApplicationGlobals::colorDisabledText);
    }

    void colouredTextsKeepTheirLineBreaks()
    {
        ColorQuestionDialog dialog(nullptr, QStringLiteral("Title"));
        dialog.AddLine(QStringLiteral("first\nsecond"), Qt::red);
        dialog.SetQuestion(QStringLiteral("really\nsure?"));
        bool found = false;
        for (QLabel* label : dialog.findChildren<QLabel*>())
            if (label->text().contains(QLatin1String("first")))
            {
                found = true;
                QVERIFY(label->text().contains(QLatin1String("first<br>second")));
                QVERIFY(label->text().contains(QLatin1String("really<br>sure?")));
            }
        QVERIFY(found);

        CustomColorLabel label;
        label.AddLine(QStringLiteral("one\ntwo"));
        const QString plain = label.toPlainText();
        QVERIFY2(!plain.contains(QLatin1String("one two")), qPrintable(plain));
        QVERIFY(plain.contains(QLatin1String("one")) && plain.contains(QLatin1String("two")));
    }
};

QTEST_MAIN(TestWidgetsInput)
#include "test_widgets_input.moc"
