// The desk of the main window with plain control elements of the three kinds: stacking (camera windows
// below panels below fixed elements), Ctrl+Tab, panel placement through AddControlElement (the 38-pixel
// cascade, the remembered place, the clamp to the screen), the toggles of the fixed elements, the toolbar
// and shortcut tables, the notification row and the theme shortcut reaching the options.
#include "app/applicationinfo.h"
#include "app/applicationsettings.h"
#include "app/loggerwindow.h"
#include "app/mainwindow.h"
#include "common/applicationglobals.h"
#include "common/settings.h"
#include "controlelement/controlelement.h"
#include "controlelement/dockingwidget.h"
#include "widgets/customcombobox.h"
#include "widgets/customswitch.h"
#include "widgets/customtabwidget.h"
#include "widgets/iconbutton.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QTabWidget>
#include <QtTest>

namespace {
// A panel with nothing inside: enough for the frame and the desk.
class PlainElement : public ControlElement
{
public:
    PlainElement(QWidget* parent, int type) : ControlElement(parent, false)
    {
        SetType(type);
        resize(201, 141);
    }
    void ConnectControls() override {}
    void DisconnectControls() override {}
    void UpdateControls() override { ++updates; }
    int updates = 0;
};

// Registered as panel type 7 for the placement tests.
constexpr int kTestPanelType = 7;

int IndexOf(const QWidget* widget)
{
    return widget->parentWidget()->children().indexOf(const_cast<QWidget*>(widget));
}
} // namespace

class TestMainWindowDesk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("LUMIVUE_TEST_HOME"), "run through ctest");
        MainWindow::RegisterElementType(kTestPanelType, [](QWidget* parent) { return new PlainElement(parent, 0); });
    }

    void init()
    {
        QSettings(settings::kOrganisation, settings::kApplication).clear();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 0;
    }

    void fixedElementsExistHiddenAndOwned()
    {
        MainWindow window;
        QCOMPARE(window.FixedElements().size(), size_t(3));
        QCOMPARE(window.FixedElements()[0], static_cast<ControlElement*>(window.Logger()));
        QCOMPARE(window.FixedElements()[1], static_cast<ControlElement*>(window.Settings()));
        QCOMPARE(window.FixedElements()[2], static_cast<ControlElement*>(window.Info()));
        for (ControlElement* element : window.FixedElements())
        {
            QVERIFY(!element->isVisible());
            QCOMPARE(element->parent(), &window);
        }
        QVERIFY(window.Elements().empty());
        QCOMPARE(window.Logger()->Title(), QStringLiteral("Logger"));
        QCOMPARE(window.Settings()->Title(), QStringLiteral("Application options"));
        QCOMPARE(window.Info()->Title(), QStringLiteral("About KVX orna Lumivue"));
    }

    void toolbarHasItsButtonsSizesAndToolTips()
    {
        MainWindow window;
        QCOMPARE(window.ToolBarFrame()->height(), 48);
        QCOMPARE(window.NotificationFrame()->height(), 30);
        const QList<QPair<QString, QString>> expected = {
            {"camera.png", "Open first available camera"},
            {"camera_manager.png", "Open camera manager"},
            {"close.png", "Close all cameras and clear workspace"},
            {"bandwidth.png", "Open bandwidth management"},
            {"logger.png", "Open logger"},
            {"cog.png", "Application options"},
            {"workspace_add.png", "Create workspace"},
            {"delete-forever.png", "Delete workspace"},
            {"information-outline.png", "About KVX orna Lumivue"},
        };
        int lastX = -1;
        for (const auto& [icon, tip] : expected)
        {
            IconButton* button = window.ToolBarButton(icon);
            QVERIFY2(button != nullptr, qPrintable(icon));
            QCOMPARE(button->size(), QSize(36, 36));
            QCOMPARE(button->toolTip(), tip);
            QCOMPARE(button->IconFile(), icon);
            // Left to right in the table's order.
            QVERIFY(button->x() > lastX);
            lastX = button->x();
        }
        QVERIFY(!window.ToolBarButton("camera.png")->isEnabled());
        window.EnableOpenButton(true);
        QVERIFY(window.ToolBarButton("camera.png")->isEnabled());
        QVERIFY(window.ToolBarButton("logger.png")->isCheckable());
        QVERIFY(!window.ToolBarButton("close.png")->isCheckable());
    }

    void shortcutsCarryTheirKeysAndDescriptions()
    {
        MainWindow window;
        QStringList keys;
        for (QShortcut* shortcut : window.Shortcuts())
        {
            QVERIFY(!shortcut->whatsThis().isEmpty());
            keys << shortcut->key().toString();
        }
        QCOMPARE(keys.size(), 10);
        QVERIFY(keys.contains(QKeySequence("CTRL+ALT+T").toString()));
        QVERIFY(keys.contains(QKeySequence("CTRL+ALT+A").toString()));
        QVERIFY(keys.contains(QKeySequence("CTRL+L").toString()));
        // The options list the same shortcuts and the camera window's counter reset.
        const auto rows = window.Settings()->ShortcutRows();
        QCOMPARE(rows.size(), 11);
        QVERIFY(rows.contains(qMakePair(QStringLiteral("CTRL+ALT+A"), QStringLiteral("Arrange camera windows"))));
        QCOMPARE(rows.last().first, QStringLiteral("CTRL+ALT+C"));
        QCOMPARE(rows.first().second, QStringLiteral("About KVX orna Lumivue"));
    }

    void stackingKeepsCameraWindowsBelowPanelsBelowFixedElements()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        auto* panel = new PlainElement(&window, kTestPanelType);
        auto* camera2 = new PlainElement(&window, ControlElement::kCameraObjectType);
        window.AddPanel(camera, panel);
        // AddPanel floats the panel; this test looks at docked siblings, so dock everything.
        panel->SetDocked(true);
        window.AppendElement(camera);
        window.AppendElement(camera2);
        ControlElement* logger = window.Logger();
        logger->show();

        // Clicking the camera window brings it to the end of the vector, but not above the panel.
        window.BringToFront(camera);
        QCOMPARE(window.Elements().back(), static_cast<ControlElement*>(camera));
        QVERIFY(camera->IsHighlighted());
        QVERIFY(!panel->IsHighlighted());
        QVERIFY(IndexOf(camera) < IndexOf(panel));
        QVERIFY(IndexOf(camera2) < IndexOf(camera));
        QVERIFY(IndexOf(panel) < IndexOf(logger));

        window.BringToFront(panel);
        QVERIFY(panel->IsHighlighted());
        QVERIFY(!camera->IsHighlighted());
        QVERIFY(IndexOf(camera) < IndexOf(panel));
        QVERIFY(IndexOf(panel) < IndexOf(logger));

        // A fixed element moves to the end of its own vector and stays above all.
        window.BringToFront(window.Settings());
        QCOMPARE(window.FixedElements().back(), static_cast<ControlElement*>(window.Settings()));
        QVERIFY(IndexOf(panel) < IndexOf(logger));

        // A null element only clears the highlights.
        window.BringToFront(nullptr);
        for (ControlElement* e : window.Elements())
            QVERIFY(!e->IsHighlighted());
        QVERIFY(!window.Settings()->IsHighlighted());
    }

    void ctrlTabOnAnEmptyDeskIsConsumedAndDoesNothing()
    {
        MainWindow window;
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
        QVERIFY(QCoreApplication::sendEvent(&window, &press));
        QVERIFY(press.isAccepted());
        QVERIFY(window.Elements().empty());
    }

    void ctrlTabCyclesTheBottomElementToTheTop()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        camera->move(0, 60);
        auto* a = window.AddControlElement(camera, kTestPanelType);
        auto* b = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(a && b);
        QCOMPARE(window.Elements().front(), a);
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Tab, Qt::ControlModifier);
        QCoreApplication::sendEvent(&window, &press);
        QCOMPARE(window.Elements().back(), a);
        QCOMPARE(window.Elements().front(), b);
        QVERIFY(a->IsHighlighted());
    }

    void secondPanelCascades38PixelsAndTheScreenClampsIt()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        camera->setGeometry(100, 100, 601, 401);
        ControlElement* first = window.AddControlElement(camera, kTestPanelType);
        ControlElement* second = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(first != nullptr && second != nullptr);
        QCOMPARE(first->ParentElement(), static_cast<ControlElement*>(camera));
        QVERIFY(!first->IsDocked());
        QCOMPARE(second->pos() - first->pos(), QPoint(38, 38));
        QVERIFY(static_cast<PlainElement*>(first)->updates > 0);

        // Unknown and unregistered types give nothing.
        QVERIFY(window.AddControlElement(camera, 0) == nullptr);
        QVERIFY(window.AddControlElement(camera, 31) == nullptr);
        QVERIFY(window.AddControlElement(camera, 3) == nullptr);

        // An owner at the bottom right of the screen: the panel is pulled back inside.
        const QRect screen = camera->screen()->geometry();
        auto* corner = new PlainElement(&window, ControlElement::kCameraObjectType);
        corner->SetDocked(false);
        corner->setGeometry(screen.right() - 100, screen.bottom() - 60, 201, 121);
        ControlElement* clamped = window.AddControlElement(corner, kTestPanelType);
        QVERIFY(clamped != nullptr);
        QVERIFY(clamped->geometry().right() <= screen.right());
        QVERIFY(clamped->geometry().bottom() <= screen.bottom());
    }

    void rememberedPlaceWinsOverTheCascade()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        camera->setGeometry(100, 100, 601, 401);
        camera->RememberPlace(kTestPanelType, {333, 222, false});
        ControlElement* panel = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(panel != nullptr);
        QCOMPARE(panel->pos(), QPoint(333, 222));
        QVERIFY(!panel->IsDocked());
    }

    void togglesOpenAndCloseTheFixedElements()
    {
        MainWindow window;
        IconButton* button = window.ToolBarButton("logger.png");
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(button->isChecked());
        QTRY_VERIFY(window.Logger()->isVisible());
        QVERIFY(!window.Logger()->IsDocked());
        QVERIFY(window.Logger()->WasPlaced());
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(!button->isChecked());
        QTRY_VERIFY(!window.Logger()->isVisible());

        // The close button of the element goes the same way, and it is not deleted.
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(window.Logger()->isVisible());
        QTest::mouseClick(window.Logger()->CloseButton(), Qt::LeftButton);
        QTRY_VERIFY(!window.Logger()->isVisible());
        QVERIFY(!button->isChecked());
        QCOMPARE(window.FixedElements().size(), size_t(3));
        // ... and it opens again with a working close button.
        QTest::mouseClick(button, Qt::LeftButton);
        QTRY_VERIFY(window.Logger()->isVisible());
        QVERIFY(window.Logger()->CloseButton()->isEnabled());

        // Clear all closes the fixed elements and unchecks their buttons.
        QTest::mouseClick(window.ToolBarButton("cog.png"), Qt::LeftButton);
        QTRY_VERIFY(window.Settings()->isVisible());
        QTest::mouseClick(window.ToolBarButton("close.png"), Qt::LeftButton);
        QTRY_VERIFY(!window.Logger()->isVisible() && !window.Settings()->isVisible());
        QVERIFY(!button->isChecked());
        QVERIFY(!window.ToolBarButton("cog.png")->isChecked());
    }

    void closingAPanelRemovesItFromTheDesk()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        camera->setGeometry(100, 100, 601, 401);
        ControlElement* panel = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(panel != nullptr);
        QPointer<ControlElement> watch(panel);
        panel->move(150, 160);
        QTest::mouseClick(panel->CloseButton(), Qt::LeftButton);
        QTRY_VERIFY(watch.isNull());
        QVERIFY(window.Elements().empty());
        // The camera window remembers where the panel stood.
        ControlElement::Place place;
        QVERIFY(camera->RememberedPlace(kTestPanelType, &place));
        QCOMPARE(QPoint(place.x, place.y), QPoint(150, 160));
    }

    void aPanelClosedInItsColumnOpensThereAgain()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        camera->setGeometry(100, 100, 601, 401);
        window.AppendElement(camera);
        ControlElement* panel = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(panel != nullptr);
        camera->TabRight(panel, true);
        QVERIFY(panel->IsTabbedRight());
        QPointer<ControlElement> watch(panel);
        QTest::mouseClick(panel->CloseButton(), Qt::LeftButton);
        QTRY_VERIFY(watch.isNull());
        ControlElement::Place place;
        QVERIFY(camera->RememberedPlace(kTestPanelType, &place));
        QCOMPARE(place.tabbed, int(ControlElement::TabRightSide));
        ControlElement* again = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(again != nullptr);
        QVERIFY(again->IsTabbedRight());
        QCOMPARE(camera->RightTabbedElement(), again);
    }

    void notificationRowFollowsTheSwitches()
    {
        MainWindow window;
        QVERIFY(window.NotificationRowText().isEmpty());
        auto* options = window.Settings();
        QTest::mouseClick(window.ToolBarButton("cog.png"), Qt::LeftButton);
        QTRY_VERIFY(options->isVisible());
        options->Tabs()->setCurrentIndex(2);
        QTest::mouseClick(options->SwitchEnableNodePolling(), Qt::LeftButton);
        QTRY_COMPARE(window.NotificationRowText(), QStringLiteral("Automatic camera parameter polling disabled!"));
        options->Tabs()->setCurrentIndex(1);
        QTest::mouseClick(options->SwitchAutoImageSaveAcquisition(), Qt::LeftButton);
        QTRY_COMPARE(window.NotificationRowText(),
                     QStringLiteral("Automatic camera parameter polling disabled! Automatic image saving enabled!"));
    }

    void themeShortcutReachesTheOptionsAndClearsTheLog()
    {
        MainWindow window;
        window.Logger()->OnAddLogAnyMessage(QStringLiteral("kept until the skin changes\n"), Qt::white, "-");
        window.Logger()->Flush();
        QVERIFY(!window.Logger()->IsEmpty());
        QSignalSpy spy(&window, &MainWindow::Signal_ThemeChanged);
        window.OnToggleTheme();
        QCOMPARE(spy.count(), 1);
        QVERIFY(ApplicationGlobals::isLight);
        QCOMPARE(settings::ReadString(QStringLiteral("color_skin")), QStringLiteral("Light"));
        QVERIFY(window.Logger()->IsEmpty());
        QCOMPARE(window.Settings()->ComboTheme()->currentIndex(), 1);
    }

    void gridShortcutFlipsTheStoredSwitch()
    {
        MainWindow window;
        QVERIFY(!window.ShowGrid());
        QMetaObject::invokeMethod(&window, "OnToggleGridVisible");
        QVERIFY(window.ShowGrid());
        QVERIFY(window.dockingWidget()->IsGridVisible());
        QCOMPARE(settings::Read(QStringLiteral("show_grid")).toInt(), 1);
        QMetaObject::invokeMethod(&window, "OnToggleGridVisible");
        QCOMPARE(settings::Read(QStringLiteral("show_grid")).toInt(), 0);
    }

    void cannotOpenCameraRemovesItsWindow()
    {
        MainWindow window;
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        window.AppendElement(camera);
        QPointer<ControlElement> watch(camera);
        // The dialog closes itself in offscreen runs.
        window.OnCannotOpenCamera(QStringLiteral("cam"), QStringLiteral("busy"), camera);
        QVERIFY(window.Elements().empty());
        QTRY_VERIFY(watch.isNull());
        QVERIFY(window.dockingWidget()->IsHintVisible());
    }

    void newWorkspaceProposalAndEmptyNameGiveUp()
    {
        MainWindow window;
        QVERIFY(QMetaObject::invokeMethod(&window, "OnButtonCreateWorkspace"));
        auto* edit = window.findChild<QLineEdit*>(QStringLiteral("WorkspaceEdit"));
        QVERIFY(edit != nullptr && !edit->isHidden());
        // Hour padded with zeros, minute and second with blanks: "New_09_ 5_ 7".
        QVERIFY2(QRegularExpression(QStringLiteral("^New_\\d\\d_[ 1-5]\\d_[ 1-5]\\d$")).match(edit->text()).hasMatch(),
                 qPrintable(edit->text()));
        edit->clear();
        QVERIFY(QMetaObject::invokeMethod(&window, "OnEditSaveWorkspace"));
        QVERIFY(edit->isHidden());
    }

    void fullScreenHidesTheBarsAndComesBack()
    {
        MainWindow window;
        window.OnFullscreen();
        QVERIFY(window.IsInFullScreen());
        QVERIFY(window.ToolBarFrame()->isHidden());
        QVERIFY(window.NotificationFrame()->isHidden());
        window.OnFullscreen();
        QVERIFY(!window.IsInFullScreen());
        QVERIFY(!window.ToolBarFrame()->isHidden());
    }

    void fullScreenRoundTripsLeaveEveryElementWhereItWas()
    {
        MainWindow window;
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* camera = new PlainElement(&window, ControlElement::kCameraObjectType);
        window.AppendElement(camera);
        camera->SetDocked(true);
        camera->setGeometry(100, 120, 601, 401);
        camera->show();
        ControlElement* floating = window.AddControlElement(camera, kTestPanelType);
        QVERIFY(floating != nullptr && !floating->IsDocked());
        floating->move(300, 260);
        ControlElement* docked = window.AddControlElement(camera, kTestPanelType);
        docked->SetDocked(true);
        docked->move(420, 300);
        QTest::mouseClick(window.ToolBarButton("logger.png"), Qt::LeftButton);
        QTRY_VERIFY(window.Logger()->isVisible());
        const std::vector<QWidget*> watched = {camera, floating, docked, window.Logger()};
        std::vector<QPoint> before;
        for (QWidget* w : watched)
            before.push_back(w->pos());

        // As a user presses the key: the window settles (its layout runs) between two presses.
        auto dockTop = [&window] { return window.dockingWidget()->mapTo(&window, QPoint(0, 0)).y(); };
        const int windowedTop = dockTop();
        QVERIFY(windowedTop > 0);
        for (int trip = 0; trip < 3; ++trip)
        {
            window.OnFullscreen();
            QVERIFY(window.IsInFullScreen());
            QTRY_COMPARE(dockTop(), 0);
            window.OnFullscreen();
            QVERIFY(!window.IsInFullScreen());
            QTRY_COMPARE(dockTop(), windowedTop);
        }
        for (size_t i = 0; i < watched.size(); ++i)
            QCOMPARE(watched[i]->pos(), before[i]);
    }
};

QTEST_MAIN(TestMainWindowDesk)
#include "test_mainwindow_desk.moc"
