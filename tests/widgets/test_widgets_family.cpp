// The smaller members of the family: spin boxes, radio, address entry, elided label, file selector, the
// annotation text box, tree view, colour chart, fades and slides.
#include "common/applicationglobals.h"
#include "widgets/customcolorchart.h"
#include "widgets/customdiscretespinbox.h"
#include "widgets/customedit.h"
#include "widgets/customelidedlabel.h"
#include "widgets/customipcontrol.h"
#include "widgets/customlabel.h"
#include "widgets/customradio.h"
#include "widgets/customsizeableedit.h"
#include "widgets/customspinbox.h"
#include "widgets/customtreeview.h"
#include "widgets/customwidget.h"
#include "widgets/draglabel.h"
#include "widgets/fileselectorcontrol.h"
#include "widgets/highlightlabelgroup.h"
#include "widgets/horizontalbar.h"
#include "widgets/iconbutton.h"
#include "widgets/spinbutton.h"

#include <QMimeData>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

class TestWidgetsFamily : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 40;
    }

    void spinboxStepsWithinRange()
    {
        CustomSpinbox s;
        s.SetRange(0, 2);
        s.SetStep(0.5);
        s.SetDecimals(1);
        s.SetSuffix(QStringLiteral(" s"));
        QSignalSpy changed(&s, &CustomSpinbox::ValueChanged);
        QSignalSpy up(&s, &CustomSpinbox::ValueIncremented);
        QSignalSpy down(&s, &CustomSpinbox::ValueDecremented);
        s.SetValue(1.0);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(s.Text(), QStringLiteral("1.0 s"));
        s.RightButton()->click();
        s.RightButton()->click();
        QCOMPARE(s.Value(), 2.0);
        QVERIFY(!s.RightButton()->isEnabled());
        s.OnButtonRightClicked(); // at the maximum: nothing
        QCOMPARE(up.count(), 2);
        QCOMPARE(changed.count(), 2);
        s.SetValueToMin();
        QCOMPARE(s.Value(), 0.0);
        s.OnButtonLeftClicked();
        QCOMPARE(down.count(), 0);
        s.SetValue(std::numeric_limits<double>::quiet_NaN());
        QCOMPARE(s.Value(), 0.0);
        QCOMPARE(changed.count(), 3);
    }

    void discreteSpinboxWalksTheList()
    {
        CustomDiscreteSpinbox s;
        s.SetValues({1, 2, 4, 8},
                    {QStringLiteral("x1"), QStringLiteral("x2"), QStringLiteral("x4"), QStringLiteral("x8")});
        QSignalSpy value(&s, &CustomDiscreteSpinbox::ValueChanged);
        QSignalSpy index(&s, &CustomDiscreteSpinbox::IndexChanged);
        s.SetValue(3.1);
        QCOMPARE(s.Value(), 4.0);
        QCOMPARE(s.Text(), QStringLiteral("x4"));
        QCOMPARE(value.count(), 0);
        s.OnButtonRightClicked();
        s.OnButtonRightClicked(); // at the end
        QCOMPARE(s.Value(), 8.0);
        QCOMPARE(value.count(), 1);
        QCOMPARE(index.last().at(0).toInt(), 3);
        s.SetValueToMin();
        QCOMPARE(s.Index(), 0);
        QVERIFY(!s.LeftButton()->isEnabled());
        s.SetValues({});
        QCOMPARE(s.Index(), -1);
        s.OnButtonLeftClicked();
        QCOMPARE(value.count(), 2);
    }

    void radiosAreExclusive()
    {
        QWidget parent;
        auto* a = new CustomRadio(QStringLiteral("A"), &parent);
        auto* b = new CustomRadio(QStringLiteral("B"), &parent);
        QSignalSpy clickedB(b, &CustomRadio::Signal_Clicked);
        QSignalSpy stateA(a, &CustomRadio::StateChanged);
        a->setChecked(true);
        QCOMPARE(stateA.count(), 1);
        b->click();
        QVERIFY(b->isChecked());
        QVERIFY(!a->isChecked());
        QCOMPARE(clickedB.count(), 1);
        QCOMPARE(stateA.last().at(0).toBool(), false);
    }

    void ipControlAcceptsOnlyAddresses()
    {
        quint32 a = 0;
        QVERIFY(CustomIpControl::FromText(QStringLiteral("192.168.0.1"), &a));
        QCOMPARE(a, quint32(0xC0A80001));
        QCOMPARE(CustomIpControl::ToText(0x7F000009), QStringLiteral("127.0.0.9"));
        QVERIFY(!CustomIpControl::FromText(QStringLiteral("256.1.1.1"), &a));
        QVERIFY(!CustomIpControl::FromText(QStringLiteral("1.1.1"), &a));
        QVERIFY(!CustomIpControl::FromText(QStringLiteral("1..1.1"), &a));

        CustomIpControl ip;
        ip.show();
        QVERIFY(QTest::qWaitForWindowExposed(&ip));
        ip.setFocus();
        QTest::keyClicks(&ip, QStringLiteral("10.0.3")); // the validator lets only address text in; this is incomplete
        QVERIFY(!ip.IsValid());
        QVERIFY(!ip.Address(&a));
        QCOMPARE(a, quint32(0));
        ip.SetAddress(0x0A000001);
        QVERIFY(ip.Address(&a));
        QCOMPARE(a, quint32(0x0A000001));
    }

    void elidedLabelKeepsTheFullText()
    {
        const QString text = QStringLiteral("A rather long camera model name - serial 12345678");
        CustomElidedLabel label(text);
        label.resize(60, 20);
        label.show();
        QVERIFY(QTest::qWaitForWindowExposed(&label));
        QVERIFY(label.text() != text);
        QVERIFY(label.text().endsWith(QChar(0x2026)));
        QCOMPARE(label.FullText(), text);
        QCOMPARE(label.toolTip(), text);
        label.resize(1000, 20);
        QTRY_COMPARE(label.text(), text);
    }

    void fileSelectorReportsValidity()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(QStringLiteral("workspace.ini"));
        FileSelectorControl selector(FileSelectorControl::Mode::OpenFile);
        QSignalSpy valid(&selector, &FileSelectorControl::Signal_FileNameValidChanged);
        QSignalSpy selected(&selector, &FileSelectorControl::Signal_FileSelected);
        selector.SetFileName(path);
        QCOMPARE(valid.count(), 0); // did not exist, still does not
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        selector.SetFileName(QString());
        selector.SetFileName(path);
        QCOMPARE(valid.count(), 1);
        QCOMPARE(valid.last().at(0).toBool(), true);
        QVERIFY(selector.IsFileNameValid());
        selector.SetFileName(dir.path()); // a folder is no file
        QCOMPARE(valid.last().at(0).toBool(), false);
        Q_EMIT selector.Edit()->Signal_EditingFinished(path);
        QCOMPARE(selected.count(), 1);
        Q_EMIT selector.Edit()->Signal_EditingFinished(dir.filePath(QStringLiteral("missing")));
        QCOMPARE(selected.count(), 1);
    }

    void sizeableEditMovesResizesAndAsksToGo()
    {
        QWidget image;
        image.resize(400, 300);
        auto* box = new CustomSizeableEdit(&image);
        box->move(50, 50);
        image.show();
        QVERIFY(QTest::qWaitForWindowExposed(&image));
        QSignalSpy moved(box, &CustomSizeableEdit::Signal_MovedResized);
        QSignalSpy deleteMe(box, &CustomSizeableEdit::Signal_DeleteMe);

        // Drag by the border.
        const QPoint border(2, 20);
        QTest::mousePress(box, Qt::LeftButton, Qt::NoModifier, border);
        QMouseEvent move(QEvent::MouseMove, border + QPoint(30, 10), box->mapToGlobal(border + QPoint(30, 10)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(box, &move);
        QTest::mouseRelease(box, Qt::LeftButton, Qt::NoModifier, border + QPoint(30, 10));
        QCOMPARE(box->pos(), QPoint(80, 60));
        QCOMPARE(moved.count(), 1);

        // Resize at the grip; the minimum holds.
        const QSize before = box->size();
        const QPoint grip(box->width() - 3, box->height() - 3);
        QTest::mousePress(box, Qt::LeftButton, Qt::NoModifier, grip);
        QMouseEvent shrink(QEvent::MouseMove, grip - QPoint(500, 500), box->mapToGlobal(grip - QPoint(500, 500)),
                           Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(box, &shrink);
        QTest::mouseRelease(box, Qt::LeftButton, Qt::NoModifier, grip);
        QCOMPARE(box->size(), box->minimumSize());
        QVERIFY(box->size() != before);
        QCOMPARE(moved.count(), 2);

        box->OnPaintSettingsChanged(ApplicationGlobals::colorRedStrong, 500, false);
        QCOMPARE(box->PointSize(), 200);
        box->CloseButton()->click();
        QCOMPARE(deleteMe.count(), 1);
    }

    void treeViewReportsCurrentAndSelection()
    {
        QStandardItemModel model;
        for (const char* name : {"Width", "Height", "Gain"})
            model.appendRow(new QStandardItem(QString::fromLatin1(name)));
        CustomTreeView tree;
        tree.setModel(&model);
        tree.setSelectionMode(QAbstractItemView::ExtendedSelection);
        QSignalSpy current(&tree, &CustomTreeView::currentIndexChanged);
        QSignalSpy update(&tree, &CustomTreeView::Signal_UpdateControls);
        tree.setCurrentIndex(model.index(1, 0));
        QCOMPARE(current.count(), 1);
        QCOMPARE(current.last().at(0).value<QModelIndex>().row(), 1);
        tree.OnSelectAll();
        QCOMPARE(tree.selectionModel()->selectedRows().size(), 3);
        tree.OnDeselectAll();
        QCOMPARE(tree.selectionModel()->selectedRows().size(), 0);
        QCOMPARE(update.count(), 2);

        model.item(0)->setEditable(true);
        QSignalSpy editor(tree.Delegate(), &CustomTreeViewItemDelegate::EditorEnabled);
        tree.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tree));
        tree.edit(model.index(0, 0));
        QCOMPARE(editor.count(), 1);
        QVERIFY(editor.at(0).at(1).value<QWidget*>() != nullptr);
    }

    void colorChartPicksTheCellUnderTheMouse()
    {
        CustomColorChart chart;
        chart.resize(CustomColorChart::kColumns * 10, (CustomColorChart::kRows + 1) * 10);
        chart.show();
        QVERIFY(QTest::qWaitForWindowExposed(&chart));
        QSignalSpy selected(&chart, &CustomColorChart::Signal_ColorSelected);
        // Top-left of the grey row is white, its right end black.
        const QPoint white(2, chart.height() - 2);
        QTest::mouseClick(&chart, Qt::LeftButton, Qt::NoModifier, white);
        QCOMPARE(selected.count(), 1);
        QCOMPARE(QRgb(selected.at(0).at(0).toUInt()), qRgb(255, 255, 255));
        QCOMPARE(chart.ColorAt(QPoint(chart.width() - 1, chart.height() - 1)), qRgb(0, 0, 0));
        // The picked colour is what is painted there.
        const QImage image = chart.grab().toImage();
        const QPoint p(35, 25);
        QCOMPARE(image.pixel(p) & 0xFFFFFF, chart.ColorAt(p) & 0xFFFFFF);
    }

    void smallHelpers()
    {
        HorizontalBar bar;
        bar.SetWarningThreshold(0.8);
        bar.SetFraction(3.0);
        QCOMPARE(bar.Fraction(), 1.0);
        QCOMPARE(bar.BarColor(), ApplicationGlobals::colorRedStrong);
        bar.SetFraction(std::numeric_limits<double>::infinity());
        QCOMPARE(bar.Fraction(), 0.0);
        QCOMPARE(bar.BarColor(), ApplicationGlobals::colorAccent);

        HighlightLabelGroup group;
        group.SetLabels({QStringLiteral("Connect"), QStringLiteral("Configure"), QStringLiteral("Acquire")});
        group.SetHighlighted(1);
        QVERIFY(group.Label(1)->styleSheet().contains(ApplicationGlobals::colorAccent.name()));
        QVERIFY(!group.Label(0)->styleSheet().contains(ApplicationGlobals::colorAccent.name()));
        group.SetHighlighted(7);
        QCOMPARE(group.Highlighted(), 1);
        QSignalSpy clicked(&group, &HighlightLabelGroup::Signal_LabelClicked);
        Q_EMIT group.Label(2)->Signal_Clicked();
        QCOMPARE(clicked.last().at(0).toInt(), 2);

        DragLabel drag(QStringLiteral("ExposureTime"));
        std::unique_ptr<QMimeData> mime(drag.CreateMimeData());
        QCOMPARE(mime->text(), QStringLiteral("ExposureTime"));
        drag.SetDragData(QStringLiteral("node:ExposureTime"));
        mime.reset(drag.CreateMimeData());
        QCOMPARE(mime->text(), QStringLiteral("node:ExposureTime"));
    }

    void fadesAndSlidesFinish()
    {
        QWidget root;
        root.resize(300, 200);
        auto* page = new CustomWidget(&root);
        auto* label = new CustomLabel(QStringLiteral("fading"), &root);
        root.show();
        QVERIFY(QTest::qWaitForWindowExposed(&root));

        QSignalSpy out(label, &CustomLabel::Signal_FadeOutFinished);
        QSignalSpy in(label, &CustomLabel::Signal_FadeInFinished);
        label->FadeOut();
        QVERIFY(out.wait(2000));
        QVERIFY(label->isHidden());
        QVERIFY(label->graphicsEffect() == nullptr);
        label->FadeIn();
        QVERIFY(!label->isHidden());
        QVERIFY(in.wait(2000));

        QSignalSpy slid(page, &CustomWidget::Signal_MoveFromStartToEndFinished);
        page->MoveFromStartToEnd(QPoint(300, 0), QPoint(0, 0));
        QVERIFY(page->IsMoving());
        QVERIFY(slid.wait(2000));
        QCOMPARE(page->pos(), QPoint(0, 0));
    }

    void spinButtonsRepeatWhileHeld()
    {
        SpinButtonRight button;
        button.resize(20, 20);
        button.show();
        QVERIFY(QTest::qWaitForWindowExposed(&button));
        QSignalSpy clicked(&button, &SpinButton::clicked);
        QTest::mousePress(&button, Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(clicked.count() >= 2, 3000);
        QTest::mouseRelease(&button, Qt::LeftButton);
        QCOMPARE(button.GetDirection(), SpinButton::Direction::Right);
    }
};

QTEST_MAIN(TestWidgetsFamily)
#include "test_widgets_family.moc"
