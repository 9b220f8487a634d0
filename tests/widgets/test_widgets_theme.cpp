// A skin change re-colours every widget of the family, and a panel's restyle does not fire its value
// slots.
#include "common/applicationglobals.h"
#include "controlelement/controlelement.h"
#include "controlelement/customlayout.h"
#include "widgets/colorquestiondialog.h"
#include "widgets/customcolorchart.h"
#include "widgets/customcolorlabel.h"
#include "widgets/customcolormeter.h"
#include "widgets/customcombobox.h"
#include "widgets/customdiscretespinbox.h"
#include "widgets/customdoubleslider.h"
#include "widgets/customedit.h"
#include "widgets/customelidedlabel.h"
#include "widgets/customfiledialog.h"
#include "widgets/customframe.h"
#include "widgets/customintslider.h"
#include "widgets/customipcontrol.h"
#include "widgets/customlabel.h"
#include "widgets/customplaintextedit.h"
#include "widgets/customprogressbar.h"
#include "widgets/custompushbutton.h"
#include "widgets/customradio.h"
#include "widgets/customscrollarea.h"
#include "widgets/customseparatorline.h"
#include "widgets/customsizeableedit.h"
#include "widgets/customslider.h"
#include "widgets/customspinbox.h"
#include "widgets/customswitch.h"
#include "widgets/customtabwidget.h"
#include "widgets/customtaskbutton.h"
#include "widgets/customtreeview.h"
#include "widgets/customwidget.h"
#include "widgets/draglabel.h"
#include "widgets/fileselectorcontrol.h"
#include "widgets/highlightlabelgroup.h"
#include "widgets/horizontalbar.h"
#include "widgets/iconbutton.h"
#include "widgets/infodialog.h"
#include "widgets/questiondialog.h"
#include "widgets/spinbutton.h"
#include "widgets/theme.h"
#include "widgets/trianglelabel.h"

#include <QStandardItemModel>
#include <QtTest>

#include <functional>
#include <vector>

namespace {

struct Entry
{
    QString name;
    QWidget* widget;
};

// A panel whose controls count the value slots, so a restyle that fires them is seen.
class SwitchPanel : public ControlElement
{
    Q_OBJECT

public:
    explicit SwitchPanel(QWidget* parent) : ControlElement(parent, true)
    {
        sw = new CustomSwitch;
        combo = new CustomComboBox;
        combo->addItems({QStringLiteral("Off"), QStringLiteral("Once"), QStringLiteral("Continuous")});
        slider = new CustomSliderIntNormal;
        slider->SetRange(0, 1000);
        Layout()->AddWidget(0, sw, 40, 20);
        Layout()->AddWidget(1, combo, 150, 30);
        Layout()->AddWidget(2, slider, 0, 30);
        AddSeparator(3, 2, 2);
        ConnectControls();
    }
    void ConnectControls() override
    {
        connect(sw, &CustomSwitch::Signal_ValueChanged, this, &SwitchPanel::OnSwitch);
        connect(combo, &CustomComboBox::Signal_CurrentIndexChanged, this, &SwitchPanel::OnCombo);
        connect(combo, &CustomComboBox::Signal_CurrentIndexChangedByUserOrFunction, this, &SwitchPanel::OnComboAny);
        connect(slider, &CustomIntSlider::Signal_ValueChanged, this, &SwitchPanel::OnSlider);
    }
    void DisconnectControls() override
    {
        disconnect(sw, nullptr, this, nullptr);
        disconnect(combo, nullptr, this, nullptr);
        disconnect(slider, nullptr, this, nullptr);
    }
    // A restyle that rebuilds the list (as a retranslation does) changes the index twice by code.
    void UpdateStyleSheetWithoutDestroy() override
    {
        ControlElement::UpdateStyleSheetWithoutDestroy();
        combo->clear();
        combo->addItems({QStringLiteral("Off"), QStringLiteral("Once"), QStringLiteral("Continuous")});
    }
    // Reads the "features" into the widgets, as a real panel does.
    void UpdateControls() override
    {
        sw->SetValue(featureOn);
        combo->setCurrentIndex(featureMode);
        slider->SetValue(featureValue);
    }

    CustomSwitch* sw;
    CustomComboBox* combo;
    CustomSliderIntNormal* slider;
    bool featureOn = true;
    int featureMode = 2;
    int64_t featureValue = 640;
    int valueSlots = 0;
    int comboCodeChanges = 0;

private Q_SLOTS:
    void OnSwitch(bool) { ++valueSlots; }
    void OnCombo(int) { ++valueSlots; }
    void OnComboAny(int) { ++comboCodeChanges; }
    void OnSlider(int64_t) { ++valueSlots; }
};

} // namespace

class TestWidgetsTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }
    void cleanup() { ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark); }

    void everyWidgetRepaintsInTheOtherSkin()
    {
        QWidget root;
        auto* model = new QStandardItemModel(&root);
        model->appendRow(new QStandardItem(QStringLiteral("Width")));
        auto* tree = new CustomTreeView(&root);
        tree->setModel(model);
        auto* tabs = new CustomTabWidget(&root);
        tabs->addTab(new QWidget, QStringLiteral("One"));
        auto* scroll = new CustomScrollArea(&root);
        scroll->setWidget(new QLabel(QStringLiteral("content")));
        auto* colorLabel = new CustomColorLabel(&root);
        colorLabel->AddLine(QStringLiteral("line"));
        auto* bar = new HorizontalBar(&root);
        bar->SetFraction(0.5);
        auto* group = new HighlightLabelGroup(&root);
        group->SetLabels({QStringLiteral("A"), QStringLiteral("B")});
        auto* progress = new CustomProgressBar(&root);
        progress->SetValue(40);
        auto* text = new CustomPlainTextEdit(&root);
        text->setPlainText(QStringLiteral("log"));
        auto* combo = new CustomComboBox(&root);
        combo->addItem(QStringLiteral("item"));
        auto* edit = new CustomEdit(&root);
        edit->setText(QStringLiteral("text"));
        auto* ip = new CustomIpControl(&root);
        ip->SetAddress(0x7F000001);
        auto* spin = new CustomSpinbox(&root);
        auto* discrete = new CustomDiscreteSpinbox(&root);
        discrete->SetValues({1, 2, 4});

        const std::vector<Entry> widgets = {
            {QStringLiteral("IconButton"), new IconButton(QStringLiteral("no-icon.png"), &root)},
            {QStringLiteral("CustomPushButton"), new CustomPushButton(QStringLiteral("Push"), &root)},
            {QStringLiteral("CustomTaskButton"), new CustomTaskButton(QStringLiteral("Task"), QString(), &root)},
            {QStringLiteral("CustomLabel"), new CustomLabel(QStringLiteral("Label"), &root)},
            {QStringLiteral("CustomElidedLabel"), new CustomElidedLabel(QStringLiteral("Elided label text"), &root)},
            {QStringLiteral("DragLabel"), new DragLabel(QStringLiteral("Drag"), &root)},
            {QStringLiteral("CustomFrame"), new CustomFrame(&root)},
            {QStringLiteral("CustomSeparatorLine"), new CustomSeparatorLine(Qt::Horizontal, &root)},
            {QStringLiteral("CustomSwitch"), new CustomSwitch(&root)},
            {QStringLiteral("CustomRadio"), new CustomRadio(QStringLiteral("Radio"), &root)},
            {QStringLiteral("CustomComboBox"), combo},
            {QStringLiteral("CustomEdit"), edit},
            {QStringLiteral("CustomIpControl"), ip},
            {QStringLiteral("CustomSlider"), new CustomSlider(&root)},
            {QStringLiteral("CustomSliderIntNormal"), new CustomSliderIntNormal(&root)},
            {QStringLiteral("CustomSliderDoubleNormal"), new CustomSliderDoubleNormal(&root)},
            {QStringLiteral("CustomColorMeter"), new CustomColorMeter(QColor(), &root)},
            {QStringLiteral("CustomSpinbox"), spin},
            {QStringLiteral("CustomDiscreteSpinbox"), discrete},
            {QStringLiteral("SpinButtonUp"), new SpinButtonUp(&root)},
            {QStringLiteral("TriangleLabel"), new TriangleLabel(&root)},
            {QStringLiteral("CustomProgressBar"), progress},
            {QStringLiteral("CustomScrollArea"), scroll},
            {QStringLiteral("CustomTreeView"), tree},
            {QStringLiteral("CustomTabWidget"), tabs},
            {QStringLiteral("CustomColorChart"), new CustomColorChart(&root)},
            {QStringLiteral("CustomColorLabel"), colorLabel},
            {QStringLiteral("CustomPlainTextEdit"), text},
            {QStringLiteral("CustomSizeableEdit"), new CustomSizeableEdit(&root)},
            {QStringLiteral("HorizontalBar"), bar},
            {QStringLiteral("HighlightLabelGroup"), group},
            {QStringLiteral("FileSelectorControl"),
             new FileSelectorControl(FileSelectorControl::Mode::OpenFile, &root)},
            {QStringLiteral("InfoDialog"), new InfoDialog(&root, QStringLiteral("T"), QStringLiteral("Info"))},
            {QStringLiteral("QuestionDialog"), new QuestionDialog(&root, QStringLiteral("T"), QStringLiteral("Q?"))},
            {QStringLiteral("ColorQuestionDialog"), new ColorQuestionDialog(&root, QStringLiteral("T"))},
        };
        std::vector<QImage> dark;
        for (const Entry& e : widgets)
        {
            if (!e.widget->isWindow())
                e.widget->resize(std::max(e.widget->sizeHint().width(), 60),
                                 std::max(e.widget->sizeHint().height(), 24));
            dark.push_back(e.widget->grab().toImage());
        }

        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Light);
        Theme::RestyleTree(&root);
        for (const Entry& e : widgets)
        {
            // Dialogs are windows of their own: their owner restyles them directly.
            if (e.widget->isWindow())
                QMetaObject::invokeMethod(e.widget, "UpdateStyleSheet", Qt::DirectConnection);
        }
        for (size_t i = 0; i < widgets.size(); ++i)
        {
            const QImage light = widgets[i].widget->grab().toImage();
            QVERIFY2(light != dark[i], qPrintable(widgets[i].name + QStringLiteral(" looks the same in both skins")));
        }
    }

    void restyleOfAPanelFiresNoValueSlot()
    {
        SwitchPanel panel(nullptr);
        panel.resize(300, 260);
        panel.UpdateControls();
        QCOMPARE(panel.valueSlots, 0);
        QCOMPARE(panel.comboCodeChanges, 1);
        panel.comboCodeChanges = 0;
        panel.featureOn = false;
        panel.featureMode = 0;
        panel.featureValue = 12;

        const QImage before = panel.sw->grab().toImage();
        const QString comboDark = panel.combo->styleSheet();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Light);
        panel.UpdateStyleSheet();

        // Restyled, updated, and no value slot ran; the connections are back afterwards.
        QVERIFY(panel.combo->styleSheet() != comboDark);
        QVERIFY(panel.combo->styleSheet().contains(ApplicationGlobals::colorInputBackground.name()));
        QVERIFY(panel.ConnectionList().front()->styleSheet().contains(ApplicationGlobals::colorSeparator.name()));
        QVERIFY(panel.sw->grab().toImage() != before);
        QCOMPARE(panel.sw->Value(), false);
        QCOMPARE(panel.combo->currentIndex(), 0);
        QCOMPARE(panel.slider->Value(), int64_t(12));
        QCOMPARE(panel.valueSlots, 0);
        // The list rebuild of the restyle went unseen; UpdateControls (connected again) moved index 0 -> 0.
        QCOMPARE(panel.comboCodeChanges, 0);
        panel.combo->setCurrentIndex(2);
        QCOMPARE(panel.comboCodeChanges, 1);
        panel.slider->StepUp();
        QCOMPARE(panel.valueSlots, 1);
    }
};

QTEST_MAIN(TestWidgetsTheme)
#include "test_widgets_theme.moc"
