// Behaviour of the Custom* controls that panels rely on: the switch's animation lock, the combo box's
// user/code distinction, the edit's signals and the modal dialogs.
#include "common/applicationglobals.h"
#include "widgets/colorquestiondialog.h"
#include "widgets/customcombobox.h"
#include "widgets/customedit.h"
#include "widgets/customfiledialog.h"
#include "widgets/customlabel.h"
#include "widgets/custompushbutton.h"
#include "widgets/customswitch.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"
#include "widgets/questiondialog.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {
// Runs `action` on the next modal dialog once it is shown.
template <class Dialog, class Action> void OnNextModal(Action action)
{
    QTimer::singleShot(0, [action] {
        QTRY_VERIFY(qobject_cast<Dialog*>(QApplication::activeModalWidget()) != nullptr);
        action(qobject_cast<Dialog*>(QApplication::activeModalWidget()));
    });
}
} // namespace

class TestWidgetsControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void switchIgnoresClicksWhileSliding()
    {
        CustomSwitch sw;
        sw.resize(40, 20);
        sw.show();
        QVERIFY(QTest::qWaitForWindowExposed(&sw));
        QSignalSpy value(&sw, &CustomSwitch::Signal_ValueChanged);
        QSignalSpy clicked(&sw, &CustomSwitch::Signal_Clicked);
        QCOMPARE(sw.GetThumb()->pos(), sw.ThumbPosition(false));

        QTest::mouseClick(&sw, Qt::LeftButton);
        QVERIFY(sw.Value());
        QVERIFY(sw.IsAnimating());
        // During the slide a second click changes nothing.
        QTest::mouseClick(&sw, Qt::LeftButton);
        QVERIFY(sw.Value());
        QCOMPARE(value.count(), 1);
        QCOMPARE(value.at(0).at(0).toBool(), true);

        QTRY_VERIFY_WITH_TIMEOUT(!sw.IsAnimating(), 2000);
        QCOMPARE(sw.GetThumb()->pos(), sw.ThumbPosition(true));
        QTest::mouseClick(&sw, Qt::LeftButton);
        QVERIFY(!sw.Value());
        QCOMPARE(value.count(), 2);
        QCOMPARE(value.at(1).at(0).toBool(), false);
        QCOMPARE(clicked.count(), 2);

        // A right click and a release outside do nothing; a value from code emits nothing.
        QTRY_VERIFY_WITH_TIMEOUT(!sw.IsAnimating(), 2000);
        QTest::mouseClick(&sw, Qt::RightButton);
        sw.SetValue(true);
        QCOMPARE(sw.GetThumb()->pos(), sw.ThumbPosition(true));
        QCOMPARE(value.count(), 2);
        sw.setEnabled(false);
        QTest::mouseClick(&sw, Qt::LeftButton);
        QVERIFY(sw.Value());
    }

    void comboTellsUserFromCode()
    {
        CustomComboBox combo;
        combo.addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
        combo.show();
        QVERIFY(QTest::qWaitForWindowExposed(&combo));
        QSignalSpy byUser(&combo, &CustomComboBox::Signal_CurrentIndexChanged);
        QSignalSpy byAny(&combo, &CustomComboBox::Signal_CurrentIndexChangedByUserOrFunction);
        QSignalSpy text(&combo, &CustomComboBox::Signal_CurrentTextChanged);

        combo.setCurrentIndex(2);
        QCOMPARE(byAny.count(), 1);
        QCOMPARE(byUser.count(), 0);

        // Keys: the user moves up one row.
        combo.setFocus();
        QTest::keyClick(&combo, Qt::Key_Up);
        QCOMPARE(combo.currentIndex(), 1);
        QCOMPARE(byAny.count(), 2);
        QCOMPARE(byUser.count(), 1);
        QCOMPARE(byUser.last().at(0).toInt(), 1);
        QCOMPARE(text.last().at(0).toString(), QStringLiteral("b"));

        // The popup: the user picks row 0 in the view.
        combo.showPopup();
        QAbstractItemView* view = combo.view();
        QTRY_VERIFY(view->isVisible());
        view->setCurrentIndex(view->model()->index(0, 0));
        QTest::keyClick(view, Qt::Key_Return);
        QTRY_COMPARE(combo.currentIndex(), 0);
        QCOMPARE(byAny.count(), 3);
        QCOMPARE(byUser.count(), 2);

        // Re-selecting the current row by the user is no change; code after the user is code again.
        combo.showPopup();
        QTRY_VERIFY(view->isVisible());
        view->setCurrentIndex(view->model()->index(0, 0));
        QTest::keyClick(view, Qt::Key_Return);
        QTRY_VERIFY(!view->isVisible());
        QCOMPARE(byUser.count(), 2);
        combo.setCurrentIndex(1);
        QCOMPARE(byAny.count(), 4);
        QCOMPARE(byUser.count(), 2);

        QSignalSpy moved(&combo, &CustomComboBox::Signal_ItemPositionChanged);
        combo.MoveItem(0, 2);
        QCOMPARE(moved.count(), 1);
        QCOMPARE(moved.at(0).at(0).toString(), QStringLiteral("a"));
        QCOMPARE(combo.itemText(2), QStringLiteral("a"));
        QCOMPARE(combo.currentText(), QStringLiteral("b"));
    }

    void comboWheelNeedsFocus()
    {
        QWidget page;
        auto* combo = new CustomComboBox(&page);
        combo->addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
        auto* other = new CustomEdit(&page);
        other->move(0, 40);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        other->setFocus();
        QTRY_VERIFY(other->hasFocus());
        QSignalSpy byAny(combo, &CustomComboBox::Signal_CurrentIndexChangedByUserOrFunction);
        const QPoint centre = combo->rect().center();
        QWheelEvent down(centre, combo->mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                         Qt::NoScrollPhase, false);
        QApplication::sendEvent(combo, &down);
        QCOMPARE(byAny.count(), 0); // scrolling the panel past the box changes nothing
        combo->setFocus();
        QTRY_VERIFY(combo->hasFocus());
        QSignalSpy byUser(combo, &CustomComboBox::Signal_CurrentIndexChanged);
        QWheelEvent down2(centre, combo->mapToGlobal(centre), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(combo, &down2);
        QCOMPARE(combo->currentIndex(), 1);
        QCOMPARE(byUser.count(), 1);
    }

    void editSignals()
    {
        CustomEdit edit;
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        QSignalSpy cleared(&edit, &CustomEdit::Signal_Cleared);
        QSignalSpy finished(&edit, &CustomEdit::Signal_EditingFinished);
        QSignalSpy clicked(&edit, &CustomEdit::Signal_Clicked);
        QTest::mouseClick(&edit, Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QTest::keyClicks(&edit, QStringLiteral("ab"));
        QTest::keyClick(&edit, Qt::Key_Backspace);
        QCOMPARE(cleared.count(), 0);
        QTest::keyClick(&edit, Qt::Key_Backspace);
        QCOMPARE(cleared.count(), 1);
        edit.setText(QString()); // by code: no clearing signal
        QCOMPARE(cleared.count(), 1);
        QTest::keyClicks(&edit, QStringLiteral("xyz"));
        QTest::keyClick(&edit, Qt::Key_Return);
        QVERIFY(finished.count() >= 1);
        QCOMPARE(finished.last().at(0).toString(), QStringLiteral("xyz"));
    }

    void labelClickNeedsReleaseInside()
    {
        CustomLabel label(QStringLiteral("click me"));
        label.resize(80, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QSignalSpy clicked(&label, &CustomLabel::Signal_Clicked);
        QTest::mouseClick(&label, Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QTest::mousePress(&label, Qt::LeftButton);
        QTest::mouseRelease(&label, Qt::LeftButton, Qt::NoModifier, QPoint(200, 200));
        QCOMPARE(clicked.count(), 1);
    }

    void buttonsBusyAndIconFallback()
    {
        IconButton icon(QStringLiteral("does-not-exist.png"));
        icon.resize(36, 36);
        QVERIFY(!icon.HasIcon());
        QVERIFY(icon.IconPath().startsWith(ApplicationGlobals::iconDir36));
        QVERIFY(!icon.grab().isNull());
        icon.SetBusy(true);
        QVERIFY(icon.IsBusy());
        QTRY_VERIFY(icon.BusyPhase() != 0);
        icon.SetBusy(false);
        QCOMPARE(icon.BusyPhase(), 0);

        CustomPushButton push(QStringLiteral("Save"));
        push.SetBusy(true);
        QTRY_VERIFY(push.text() != QStringLiteral("Save"));
        push.SetBusy(false);
        QCOMPARE(push.text(), QStringLiteral("Save"));
    }

    void questionDialogsAnswer()
    {
        OnNextModal<QuestionDialog>([](QuestionDialog* d) { d->YesButton()->click(); });
        QVERIFY(QuestionDialog::Ask(nullptr, QStringLiteral("Title"), QStringLiteral("Sure?")));
        OnNextModal<QuestionDialog>([](QuestionDialog* d) { d->NoButton()->click(); });
        QVERIFY(!QuestionDialog::Ask(nullptr, QStringLiteral("Title"), QStringLiteral("Sure?")));

        ColorQuestionDialog color(nullptr, QStringLiteral("Service firmware"), 600);
        color.AddLine(QStringLiteral("status <bad>"), ApplicationGlobals::colorRedLight);
        color.SetQuestion(QStringLiteral("Update now?"));
        QCOMPARE(color.Text(), QStringLiteral("status <bad>\nUpdate now?"));
        QVERIFY(color.isModal());
        OnNextModal<ColorQuestionDialog>([](ColorQuestionDialog* d) { d->YesButton()->click(); });
        QCOMPARE(color.exec(), int(QDialog::Accepted));

        InfoDialog info(nullptr, QStringLiteral("Info"), QStringLiteral("Text"), 30);
        QVERIFY(info.isModal());
        QCOMPARE(info.exec(), int(QDialog::Accepted)); // closed by its hide timer
    }

    void fileDialogIsThemedAndScriptable()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        QFile file(dir.filePath(QStringLiteral("settings.ias")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        OnNextModal<CustomFileDialog>([&](CustomFileDialog* d) {
            QVERIFY(d->testOption(QFileDialog::DontUseNativeDialog));
            QVERIFY(!d->styleSheet().isEmpty());
            d->selectFile(file.fileName());
            static_cast<QDialog*>(d)->accept();
        });
        const QString chosen = CustomFileDialog::GetOpenFileName(nullptr, QStringLiteral("Open"), dir.path(),
                                                                 QStringLiteral("Skins (*.ias)"));
        QCOMPARE(QFileInfo(chosen).canonicalFilePath(), QFileInfo(file.fileName()).canonicalFilePath());

        OnNextModal<CustomFileDialog>([](CustomFileDialog* d) { d->OnButtonClose(); });
        QVERIFY(CustomFileDialog::GetSaveFileName(nullptr, QStringLiteral("Save"), dir.path()).isEmpty());
    }
};

QTEST_MAIN(TestWidgetsControls)
#include "test_widgets_controls.moc"
