// The control element frame: grid snapping, docking, tabbing, fades, deletion and the restyle order.
#include "testhost.h"

#include "common/applicationglobals.h"
#include "controlelement/movehandler.h"
#include "controlelement/resizehandler.h"
#include "widgets/iconbutton.h"

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QtTest>

namespace {

void SendMouse(QWidget* w, QEvent::Type type, const QPoint& local, const QPoint& global, Qt::MouseButtons buttons)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, QPointF(local), QPointF(local), QPointF(global), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &event);
}

// Drags the element by its title from where it is by `delta` (global pixels), in `steps` moves.
void DragTitle(ControlElement* e, const QPoint& delta, int steps = 4)
{
    QLabel* title = e->TitleLabel();
    const QPoint local(20, 10);
    const QPoint start = title->mapToGlobal(local);
    SendMouse(title, QEvent::MouseButtonPress, local, start, Qt::LeftButton);
    for (int i = 1; i <= steps; ++i)
    {
        const QPoint g = start + delta * i / steps;
        SendMouse(title, QEvent::MouseMove, title->mapFromGlobal(g), g, Qt::LeftButton);
    }
    const QPoint end = start + delta;
    SendMouse(title, QEvent::MouseButtonRelease, title->mapFromGlobal(end), end, Qt::NoButton);
}

QPoint GlobalPos(const QWidget* w)
{
    return w->mapToGlobal(QPoint(0, 0));
}

} // namespace

class TestControlElementFrame : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        ApplicationGlobals::fadeInOutTime = 60;
    }

    void snapRules()
    {
        const int g = 20;
        // Sizes: n * g + 1, nearer candidate, the lower at a tie.
        QCOMPARE(ControlElement::SnapSize(57, g), 61);
        QCOMPARE(ControlElement::SnapSize(50, g), 41);
        QCOMPARE(ControlElement::SnapSize(51, g), 41);
        QCOMPARE(ControlElement::SnapSize(61, g), 61);
        QCOMPARE(ControlElement::SnapSize(1, g), 1);
        // x: lines at ax + k * g, a tie keeps the lower, never left of ax.
        QCOMPARE(ControlElement::SnapX(110, 100, g), 100);
        QCOMPARE(ControlElement::SnapX(111, 100, g), 120);
        QCOMPARE(ControlElement::SnapX(129, 100, g), 120);
        QCOMPARE(ControlElement::SnapX(60, 100, g), 100);
        // y: lines one pixel above the grid rows; above ay - 1 is not allowed.
        QCOMPARE(ControlElement::SnapY(48, 48, g), 47);
        QCOMPARE(ControlElement::SnapY(66, 48, g), 67);
        QCOMPARE(ControlElement::SnapY(57, 48, g), 47);
        QCOMPARE(ControlElement::SnapY(58, 48, g), 67);
        QCOMPARE(ControlElement::SnapY(10, 48, g), 47);
        QCOMPARE(ControlElement::SnapToGrid(QRect(110, 58, 57, 50), QPoint(100, 48), g), QRect(100, 67, 61, 41));
    }

    void tabZones()
    {
        QRect left, right;
        ControlElement::TabZones(QPoint(100, 200), QSize(400, 300), &left, &right);
        // W = 394, T = 131.
        QCOMPARE(left, QRect(QPoint(103, 203), QPoint(103 + 130, 203 + 293)));
        QCOMPARE(right, QRect(QPoint(103 + 394 - 131 - 1, 203), QPoint(103 + 392, 203 + 293)));
    }

    void draggedDockedElementSnapsToGrid()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 3);
        host.elements.push_back(e);
        QCOMPARE(host.connected.size(), size_t(1));
        e->setGeometry(QRect(host.GridOrigin() + QPoint(33, 47), QSize(157, 93)));
        e->show();
        QVERIFY(e->IsDocked());

        DragTitle(e, QPoint(14, 9));
        QVERIFY(e->IsDocked());
        QVERIFY(!e->isWindow());
        const QPoint a = host.GridOrigin();
        const QRect r = e->geometry();
        QCOMPARE((r.x() - a.x()) % 20, 0);
        QCOMPARE((r.y() - (a.y() - 1)) % 20, 0);
        QCOMPARE(r.width() % 20, 1);
        QCOMPARE(r.height() % 20, 1);
        // 33 + 14 = 47 -> 40; 47 + 9 = 56 -> line at 59 (a.y - 1 + 60) is nearer than 39.
        QCOMPARE(r.topLeft(), a + QPoint(40, 59));
        QCOMPARE(r.size(), QSize(161, 101));
    }

    void dropOverOccupiedPlaceStaysFloating()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QPoint a = host.GridOrigin();
        auto* blocker = new TestElement(&host, 2);
        blocker->setGeometry(QRect(a + QPoint(200, 100), QSize(201, 201)));
        blocker->show();
        auto* e = new TestElement(&host, 3);
        e->setGeometry(QRect(a + QPoint(0, 99), QSize(141, 101)));
        e->show();
        host.elements = {blocker, e};

        // Onto the blocker: the panel floats where it was dropped.
        DragTitle(e, QPoint(260, 40));
        QVERIFY(!e->IsDocked());
        QVERIFY(e->isWindow());
        QCOMPARE(GlobalPos(e), GlobalPos(&host) + a + QPoint(260, 139));

        // Back onto free ground: it docks and snaps.
        DragTitle(e, QPoint(-250, -30));
        QVERIFY(e->IsDocked());
        QVERIFY(!e->isWindow());
        QCOMPARE((e->x() - a.x()) % 20, 0);

        // A camera window may always dock, even over a panel.
        auto* camera = new TestElement(&host, ControlElement::kCameraObjectType);
        camera->setGeometry(QRect(a + QPoint(400, 300), QSize(101, 101)));
        camera->show();
        host.elements.push_back(camera);
        DragTitle(camera, QPoint(-190, -190));
        QVERIFY(camera->IsDocked());
    }

    void freePlaceRule()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QPoint a = host.GridOrigin();
        auto* panel = new TestElement(&host, 2);
        panel->setGeometry(QRect(a + QPoint(0, 99), QSize(101, 101)));
        panel->show();
        auto* other = new TestElement(&host, 3);
        other->setGeometry(QRect(a + QPoint(50, 149), QSize(101, 101)));
        other->show();
        auto* fixed = new QWidget(&host);
        fixed->setGeometry(QRect(a + QPoint(300, 99), QSize(101, 101)));
        fixed->show();
        const std::vector<ControlElement*> elements = {panel, other};
        QVERIFY(!ControlElementHost::FreePlaceRule(panel, elements, {fixed}));
        other->hide(); // an element on its way out does not block
        QVERIFY(ControlElementHost::FreePlaceRule(panel, elements, {fixed}));
        other->show();
        other->SetTabbed(true, true); // nor does a tabbed one
        QVERIFY(ControlElementHost::FreePlaceRule(panel, elements, {fixed}));
        other->SetTabbed(true, false);
        panel->move(a + QPoint(320, 119));
        QVERIFY(!ControlElementHost::FreePlaceRule(panel, elements, {fixed})); // over a fixed element
        fixed->hide();
        QVERIFY(ControlElementHost::FreePlaceRule(panel, elements, {fixed}));
        // A camera window may always dock.
        auto* camera = new TestElement(&host, ControlElement::kCameraObjectType);
        camera->setGeometry(other->geometry());
        camera->show();
        QVERIFY(ControlElementHost::FreePlaceRule(camera, {panel, other, camera}, {}));
        QVERIFY(!ControlElementHost::FreePlaceRule(nullptr, elements, {}));
    }

    void tabLeftThenRightThenTearOff()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QPoint a = host.GridOrigin();
        auto* parent = new TestElement(&host, ControlElement::kCameraObjectType);
        parent->setGeometry(QRect(a + QPoint(100, 39), QSize(481, 401)));
        parent->show();
        auto* first = new TestElement(&host, 2);
        first->SetDefaultSize(140, 200, 100, 100);
        first->setGeometry(QRect(a + QPoint(20, 39), QSize(141, 201)));
        first->show();
        auto* second = new TestElement(&host, 3);
        second->SetDefaultSize(140, 200, 100, 100);
        second->setGeometry(QRect(a + QPoint(600, 39), QSize(141, 201)));
        second->show();
        host.elements = {parent, first, second};
        first->SetParentElement(parent);
        second->SetParentElement(parent);
        QCOMPARE(first->GetCameraObject(), parent);

        QSignalSpy prepare(first, &ControlElement::Signal_PrepareTabMe);
        // Into the parent's left third.
        DragTitle(first, GlobalPos(parent) + QPoint(10, 30) - GlobalPos(first));
        QVERIFY(prepare.count() >= 1);
        QCOMPARE(prepare.first().at(0).value<ControlElement::TabPosition>(), ControlElement::TabLeftSide);
        QVERIFY(first->IsTabbedLeft());
        QCOMPARE(parent->LeftTabbedElement(), first);
        QCOMPARE(first->parentWidget(), parent);
        QVERIFY(!parent->IsPlaceholderVisible());
        // Only the free (right) edge resizes while tabbed left.
        QVERIFY(first->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Right));
        QVERIFY(!first->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Left));
        QVERIFY(!first->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Top));
        // A tabbed element is never a connection line.
        QVERIFY(host.dock->ConnectionLines().isEmpty() || !first->IsDocked());

        // The second is dropped on the occupied left side: the right side takes it.
        const QPoint leftTarget = GlobalPos(parent) + QPoint(10, 30);
        DragTitle(second, leftTarget - GlobalPos(second));
        QVERIFY(!second->IsTabbed());
        const QPoint rightTarget = GlobalPos(parent) + QPoint(parent->width() - second->width() - 6, 30);
        DragTitle(second, rightTarget - GlobalPos(second));
        QVERIFY(second->IsTabbedRight());
        QCOMPARE(parent->RightTabbedElement(), second);
        QVERIFY(second->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Left));
        QVERIFY(!second->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Right));

        // Dragging a tabbed element tears it off; it floats at its own size with the default height.
        DragTitle(first, QPoint(0, 300));
        QVERIFY(!first->IsTabbed());
        QCOMPARE(parent->LeftTabbedElement(), nullptr);
        QVERIFY(first->parentWidget() == &host);
        QCOMPARE(first->height(), 200);
        QVERIFY(first->GetResizeHandler()->IsEdgeEnabled(ResizeHandler::Top));
    }

    // The free edge of a tabbed panel sets its column's width, wider or narrower, and a layout pass (a resize of
    // the camera window) keeps it; maximise has nothing to act on in a column.
    void tabbedPanelKeepsTheWidthItsEdgeGaveIt()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QPoint a = host.GridOrigin();
        auto* parent = new TestElement(&host, ControlElement::kCameraObjectType);
        parent->setGeometry(QRect(a + QPoint(100, 39), QSize(601, 401)));
        parent->show();
        auto* panel = new TestElement(&host, 2);
        panel->SetDefaultSize(140, 200, 100, 100);
        panel->setGeometry(QRect(a + QPoint(20, 39), QSize(141, 201)));
        panel->show();
        host.elements = {parent, panel};
        panel->SetParentElement(parent);
        parent->TabLeft(panel, true);
        parent->layout()->activate();
        QVERIFY(panel->IsTabbedLeft());
        const int start = panel->width();

        auto dragRightEdge = [&](int dx) {
            const QPoint local(panel->width() - 2, panel->height() / 2);
            SendMouse(panel, QEvent::MouseMove, local, panel->mapToGlobal(local), Qt::NoButton);
            SendMouse(panel, QEvent::MouseButtonPress, local, panel->mapToGlobal(local), Qt::LeftButton);
            const QPoint g = panel->mapToGlobal(local) + QPoint(dx, 0);
            SendMouse(panel, QEvent::MouseMove, panel->mapFromGlobal(g), g, Qt::LeftButton);
            SendMouse(panel, QEvent::MouseButtonRelease, panel->mapFromGlobal(g), g, Qt::NoButton);
        };
        auto layoutPass = [&] {
            parent->resize(parent->width() + 20, parent->height());
            parent->layout()->activate();
            QCoreApplication::processEvents();
            parent->resize(parent->width() - 20, parent->height());
            parent->layout()->activate();
            QCoreApplication::processEvents();
        };

        dragRightEdge(60);
        QCOMPARE(panel->width(), start + 60);
        layoutPass();
        QCOMPARE(panel->width(), start + 60);

        dragRightEdge(-40);
        QCOMPARE(panel->width(), start + 20);
        layoutPass();
        QCOMPARE(panel->width(), start + 20);
        QVERIFY(panel->IsTabbedLeft());

        // Maximise does nothing to a tabbed panel (no screen-sized geometry inside the camera window).
        const QRect before = panel->geometry();
        panel->OnButtonMaximize();
        QVERIFY(!panel->IsMaximized());
        QCOMPARE(panel->geometry(), before);
        QVERIFY(!panel->MaximizeButton()->isEnabled());
    }

    void pressOnAResizeBorderRaisesTheElement()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* lower = new TestElement(&host, 2);
        lower->setGeometry(QRect(host.GridOrigin() + QPoint(40, 59), QSize(201, 141)));
        lower->show();
        auto* upper = new TestElement(&host, 3);
        upper->setGeometry(QRect(host.GridOrigin() + QPoint(300, 59), QSize(201, 141)));
        upper->show();
        host.elements = {lower, upper};
        host.BringToFront(upper);
        QVERIFY(!lower->IsHighlighted());
        const QPoint local(lower->width() - 2, lower->height() / 2);
        SendMouse(lower, QEvent::MouseMove, local, lower->mapToGlobal(local), Qt::NoButton);
        SendMouse(lower, QEvent::MouseButtonPress, local, lower->mapToGlobal(local), Qt::LeftButton);
        QVERIFY(lower->GetResizeHandler()->IsResizing());
        QVERIFY(lower->IsHighlighted());
        SendMouse(lower, QEvent::MouseButtonRelease, local, lower->mapToGlobal(local), Qt::NoButton);
    }

    void connectionLinesJoinDockedPanelsToTheirCameraWindow()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        const QPoint a = host.GridOrigin();
        auto* camera = new TestElement(&host, ControlElement::kCameraObjectType);
        camera->setGeometry(QRect(a + QPoint(0, -1), QSize(201, 201)));
        camera->show();
        auto* panel = new TestElement(&host, 2);
        panel->setGeometry(QRect(a + QPoint(300, 99), QSize(101, 101)));
        panel->show();
        auto* loose = new TestElement(&host, 5);
        loose->setGeometry(QRect(a + QPoint(500, 99), QSize(101, 101)));
        loose->show();
        host.elements = {camera, panel, loose};
        panel->SetParentElement(camera);

        const QVector<QLine> lines = host.dock->ConnectionLines();
        QCOMPARE(lines.size(), 1);
        const QPoint origin = host.dock->mapTo(&host, QPoint(0, 0));
        const QRect pr = panel->geometry().translated(-origin);
        const QRect cr = camera->geometry().translated(-origin);
        QCOMPARE(lines[0].p1(), QPoint((pr.left() + pr.right()) / 2, (pr.top() + pr.bottom()) / 2));
        QCOMPARE(lines[0].p2(), QPoint((cr.left() + cr.right()) / 2, (cr.top() + cr.bottom()) / 2));

        panel->SetDocked(false);
        QVERIFY(host.dock->ConnectionLines().isEmpty());
        host.dock->SetConnectionsVisible(false);
        host.dock->SetGridVisible(true);
        QVERIFY(!host.dock->grab().isNull());
    }

    void gridLinesLieOnTheSnapLines()
    {
        DockingWidget dock;
        dock.resize(205, 105);
        dock.SetGridOffset(10);
        dock.SetConnectionsVisible(false);
        dock.SetHintVisible(false);
        dock.SetGridVisible(true);
        const QImage image = dock.grab().toImage();
        const QRgb grid = ApplicationGlobals::colorGrid.rgb();
        // Vertical lines at offset + k * 20, horizontal ones at k * 20 - 1: exactly where elements snap.
        for (int k = 0; k <= (205 - 20) / 20; ++k)
            QCOMPARE(image.pixel(10 + k * 20, 50), grid);
        for (int k = 1; k <= 105 / 20; ++k)
            QCOMPARE(image.pixel(15, k * 20 - 1), grid);
        QVERIFY(image.pixel(15, 50) != grid);
        QVERIFY(image.pixel(5, 50) != grid); // the side margin carries no line
        dock.SetGridVisible(false);
        QVERIFY(dock.grab().toImage().pixel(10, 50) != grid);
    }

    void dockingHighlightFades()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        QSignalSpy in(host.dock, &DockingWidget::Signal_FadeInFinished);
        QSignalSpy out(host.dock, &DockingWidget::Signal_FadeOutFinished);
        QVERIFY(host.dock->IsHintVisible());
        host.dock->ShowHighlight();
        QVERIFY(!host.dock->IsHintVisible());
        host.dock->ShowHighlight(); // ignored while fading
        QVERIFY(in.wait(2000));
        QVERIFY(host.dock->IsHighlighted());
        host.dock->HideHighlight(false);
        QVERIFY(out.wait(2000));
        QCOMPARE(in.count(), 1);
        QVERIFY(!host.dock->IsHighlighted());
        QVERIFY(host.dock->IsHintVisible());
    }

    void fadesFinishWithTheirSignals()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->hide();
        QSignalSpy in(e, &ControlElement::Signal_FadeInFinished);
        QSignalSpy out(e, &ControlElement::Signal_FadeOutFinished);
        QSignalSpy finish(e, &ControlElement::Signal_FinishDeletingMe);

        e->FadeIn();
        QVERIFY(e->isVisible());
        QVERIFY(e->testAttribute(Qt::WA_TransparentForMouseEvents));
        QVERIFY(in.wait(2000));
        QCOMPARE(e->shown, 1);
        QVERIFY(e->IsShown());
        QVERIFY(!e->testAttribute(Qt::WA_TransparentForMouseEvents));
        QVERIFY(e->graphicsEffect() == nullptr);

        e->FadeOut();
        QVERIFY(out.wait(2000));
        QVERIFY(!e->isVisible());
        QCOMPARE(e->closing, 0);

        // A delete requested during a fade-in still ends with FinishDeletingMe.
        e->FadeIn();
        e->FadeOutAndDelete();
        QCOMPARE(e->closing, 1);
        QVERIFY(finish.wait(2000));
        QVERIFY(!e->isVisible());
        QCOMPARE(in.count(), 1);
    }

    void slidesFromStartToEnd()
    {
        TestHost host;
        auto* e = new TestElement(&host, 2);
        QSignalSpy done(e, &ControlElement::Signal_MoveFromStartToEndFinished);
        e->MoveFromStartToEnd(QPoint(300, 40), QPoint(20, 40));
        QVERIFY(done.wait(2000));
        QCOMPARE(e->pos(), QPoint(20, 40));
        QVERIFY(e->IsDocked()); // a move from code is no gesture
    }

    void closeTwiceStartsOneDeletion()
    {
        TestHost host;
        auto* e = new TestElement(&host, 2);
        QSignalSpy start(e, &ControlElement::Signal_StartDeletingMe);
        e->CloseButton()->click();
        e->CloseButton()->click();
        e->OnButtonClose();
        QCOMPARE(start.count(), 1);
    }

    void maximizeAndRestoreRememberPlace()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        const QRect start(host.GridOrigin() + QPoint(40, 59), QSize(201, 141));
        e->setGeometry(start);
        e->show();
        e->OnButtonMaximize();
        QVERIFY(e->IsMaximized());
        QVERIFY(!e->GetMoveHandler()->IsEnabled());
        QCOMPARE(e->RestoreRect(), start);
        const QRect area(host.dock->mapTo(&host, QPoint(0, 0)), host.dock->size());
        QCOMPARE(e->geometry(), area.adjusted(-1, -1, 1, 1));
        // It tracks the central area while maximized.
        host.resize(host.width() + 40, host.height() + 20);
        QTRY_COMPARE(e->geometry().width(), host.dock->width() + 2);
        e->OnButtonMaximize();
        QVERIFY(!e->IsMaximized());
        QCOMPARE(e->geometry(), start);
        QVERIFY(e->GetMoveHandler()->IsEnabled());

        // Places of closed panels are kept by type on the camera window.
        ControlElement::Place place;
        QVERIFY(!e->RememberedPlace(7, &place));
        e->RememberPlace(7, {120, 80, false});
        QVERIFY(e->RememberedPlace(7, &place));
        QCOMPARE(place.x, 120);
        QCOMPARE(place.y, 80);
        QCOMPARE(place.docked, false);
    }

    void applyGeometryConvertsBetweenDockedAndFloating()
    {
        TestHost host;
        host.move(30, 40);
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->show();
        const QPoint origin = GlobalPos(&host);
        e->ApplyGeometry(origin.x() + 100, origin.y() + 120, 201, 101, false);
        QVERIFY(!e->IsDocked());
        QCOMPARE(GlobalPos(e), origin + QPoint(100, 120));
        e->ApplyGeometry(60, 70, 161, 81, true);
        QVERIFY(e->IsDocked());
        QCOMPARE(e->geometry(), QRect(60, 70, 161, 81));
    }

    void restyleOrderAndCameraBinding()
    {
        TestHost host;
        auto* parent = new TestElement(&host, ControlElement::kCameraObjectType);
        auto* e = new TestElement(&host, 2);
        e->calls.clear();
        e->UpdateStyleSheet();
        QCOMPARE(e->calls, QStringList({"disconnect", "restyle", "connect", "update"}));

        // Binding: the parent has a camera and is enabled -> the child takes it, initialises and shows.
        auto* fakeCamera = reinterpret_cast<VisionCamera*>(parent); // only compared, never used
        parent->SetCamera(fakeCamera);
        parent->SetCameraEnabled(true);
        e->SetParentElement(parent);
        e->UpdateStyleSheetWithoutDestroy();
        QCOMPARE(e->Camera(), fakeCamera);
        QCOMPARE(e->initFeatures, 1);
        QCOMPARE(e->shown, 1);
        QVERIFY(e->IsCameraEnabled());
        // The parent's camera is disabled -> the child lets go.
        parent->SetCameraEnabled(false);
        e->UpdateStyleSheetWithoutDestroy();
        QCOMPARE(e->Camera(), nullptr);
        QCOMPARE(e->closing, 1);
        QCOMPARE(e->exitFeatures, 1);
        QVERIFY(!e->IsCameraEnabled());

        // A follower takes the camera from its parent, not from the check.
        auto* follower = new TestElement(&host, 9);
        follower->SetFollowsParentCamera(true);
        follower->SetCamera(fakeCamera);
        QCOMPARE(follower->Camera(), nullptr);
        follower->SetParentElement(parent);
        QCOMPARE(follower->Camera(), fakeCamera);
        Q_EMIT parent->Signal_CameraChanged(nullptr);
        QCOMPARE(follower->Camera(), nullptr);
    }

    void relayUpdatesOnlyTheSameFamily()
    {
        TestHost host;
        auto* rootA = new TestElement(&host, 0);
        auto* childA = new TestElement(&host, 2);
        auto* grandChildA = new TestElement(&host, 3);
        auto* rootB = new TestElement(&host, 0);
        childA->SetParentElement(rootA);
        grandChildA->SetParentElement(childA);
        grandChildA->calls.clear();
        rootB->calls.clear();
        grandChildA->OnRelayUpdateControls(childA);
        rootB->OnRelayUpdateControls(childA);
        grandChildA->OnRelayUpdateControls(grandChildA);
        QCOMPARE(grandChildA->calls, QStringList({"update"}));
        QVERIFY(rootB->calls.isEmpty());
    }

    void customLayoutBuildsRowsOnDemand()
    {
        QWidget owner;
        auto* layout = new CustomLayout(&owner);
        auto* a = new QLabel(QStringLiteral("a"));
        auto* b = new QLabel(QStringLiteral("b"));
        auto* c = new QLabel(QStringLiteral("c"));
        layout->AddWidget(2, a, 120, -1);
        QCOMPARE(layout->RowCount(), 3);
        QCOMPARE(a->minimumHeight(), CustomLayout::kDefaultRowHeight);
        QCOMPARE(a->maximumWidth(), 120);
        layout->AddWidget(2, b, 0, 0);
        QCOMPARE(b->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(b->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
        layout->AddWidget(2, c, 10, 10, 0);
        QCOMPARE(layout->Row(2)->itemAt(0)->widget(), c);
        layout->AddSpacing(0, 5);
        layout->AddStretch(1);
        layout->EnableRows(false);
        QVERIFY(!a->isEnabled() && !b->isEnabled() && !c->isEnabled());
        layout->EnableRows(true);
        QVERIFY(a->isEnabled());
        layout->ShowRows(false);
        QVERIFY(a->isHidden());
    }

    void floatingTitleStaysOnTheScreen()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->setGeometry(100, 100, 201, 141);
        e->show();
        e->SetDocked(false);
        const QRect available = e->screen()->availableGeometry();

        DragTitle(e, QPoint(10, -(GlobalPos(e).y() - available.top()) - 200));
        QVERIFY(!e->IsDocked());
        QCOMPARE(GlobalPos(e).y(), available.top());
        const int x = GlobalPos(e).x();

        DragTitle(e, QPoint(0, available.height() + 300));
        QCOMPARE(GlobalPos(e).y(), available.bottom() - ControlElement::titleHeight);
        QCOMPARE(GlobalPos(e).x(), x); // x is never corrected
    }

    void resizeAtTheBorderSnapsAndHoldsTheMinimum()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->setMinimumSize(101, 81);
        const QRect start(host.GridOrigin() + QPoint(40, 59), QSize(201, 141));
        e->setGeometry(start);
        e->show();
        QSignalSpy finished(e->GetResizeHandler(), &ResizeHandler::ResizeFinished);

        // Right edge out by 37: 238 snaps to 241.
        QPoint local(e->width() - 2, e->height() / 2);
        SendMouse(e, QEvent::MouseMove, local, e->mapToGlobal(local), Qt::NoButton);
        QCOMPARE(e->cursor().shape(), Qt::SizeHorCursor);
        SendMouse(e, QEvent::MouseButtonPress, local, e->mapToGlobal(local), Qt::LeftButton);
        QVERIFY(e->GetResizeHandler()->IsResizing());
        const QPoint g = e->mapToGlobal(local) + QPoint(37, 0);
        SendMouse(e, QEvent::MouseMove, e->mapFromGlobal(g), g, Qt::LeftButton);
        QCOMPARE(e->width(), 238);
        SendMouse(e, QEvent::MouseButtonRelease, e->mapFromGlobal(g), g, Qt::NoButton);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(e->geometry(), QRect(start.topLeft(), QSize(241, 141)));

        // Top-left corner far inwards: held at the minimum, the bottom-right corner stays.
        const QPoint bottomRight = e->geometry().bottomRight();
        local = QPoint(1, 1);
        SendMouse(e, QEvent::MouseMove, local, e->mapToGlobal(local), Qt::NoButton);
        QCOMPARE(e->cursor().shape(), Qt::SizeFDiagCursor);
        SendMouse(e, QEvent::MouseButtonPress, local, e->mapToGlobal(local), Qt::LeftButton);
        const QPoint far = e->mapToGlobal(local) + QPoint(500, 500);
        SendMouse(e, QEvent::MouseMove, e->mapFromGlobal(far), far, Qt::LeftButton);
        QCOMPARE(e->size(), e->minimumSize());
        QCOMPARE(e->geometry().bottomRight(), bottomRight);
        SendMouse(e, QEvent::MouseButtonRelease, e->mapFromGlobal(far), far, Qt::NoButton);
        QCOMPARE(finished.count(), 2);

        // A maximized element does not resize.
        e->SetMaximized(true, false);
        local = QPoint(e->width() - 2, e->height() / 2);
        SendMouse(e, QEvent::MouseButtonPress, local, e->mapToGlobal(local), Qt::LeftButton);
        QVERIFY(!e->GetResizeHandler()->IsResizing());
    }

    void doubleClickOnTheTitleMaximizes()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->setGeometry(QRect(host.GridOrigin() + QPoint(40, 59), QSize(201, 141)));
        e->show();
        const QPoint onTitle(60, e->MaximizeButton()->geometry().center().y());
        QTest::mouseDClick(e->TitleLabel(), Qt::LeftButton, Qt::NoModifier, e->TitleLabel()->mapFrom(e, onTitle));
        QVERIFY(e->IsMaximized());
        // Below the title row nothing happens.
        QTest::mouseDClick(e, Qt::LeftButton, Qt::NoModifier, QPoint(60, e->height() - 20));
        QVERIFY(e->IsMaximized());
        e->ShowMaximizeButton(false);
        QTest::mouseDClick(e->TitleLabel(), Qt::LeftButton, Qt::NoModifier, e->TitleLabel()->mapFrom(e, onTitle));
        QVERIFY(e->IsMaximized());
    }

    void highlightShowsOverAFreePlaceDuringTheDrag()
    {
        TestHost host;
        host.show();
        QVERIFY(QTest::qWaitForWindowExposed(&host));
        auto* e = new TestElement(&host, 2);
        e->setGeometry(QRect(host.GridOrigin() + QPoint(40, 59), QSize(201, 141)));
        e->show();
        host.elements = {e};
        QSignalSpy highlightIn(host.dock, &DockingWidget::Signal_FadeInFinished);
        QLabel* title = e->TitleLabel();
        const QPoint local(20, 10);
        const QPoint start = title->mapToGlobal(local);
        SendMouse(title, QEvent::MouseButtonPress, local, start, Qt::LeftButton);
        SendMouse(title, QEvent::MouseMove, title->mapFromGlobal(start + QPoint(5, 5)), start + QPoint(5, 5),
                  Qt::LeftButton);
        QVERIFY(!e->IsDocked());
        QVERIFY(host.dock->IsFading() || host.dock->IsHighlighted());
        QVERIFY(highlightIn.wait(2000));
        SendMouse(title, QEvent::MouseButtonRelease, title->mapFromGlobal(start + QPoint(5, 5)), start + QPoint(5, 5),
                  Qt::NoButton);
        QVERIFY(e->IsDocked());
        // The release hides it (fade or at once).
        QTRY_VERIFY(!host.dock->IsHighlighted() && !host.dock->IsFading());
    }

    void titleCarriesTheCameraUnlessPlainOrTabbed()
    {
        TestHost host;
        ControlElement::SetCameraNameProvider([](VisionCamera*) { return QStringLiteral("KV-1000 - 4711"); });
        auto* e = new TestElement(&host, 2);
        e->SetTitle(QStringLiteral("Acquisition"));
        QCOMPARE(e->TitleLabel()->text(), QStringLiteral("Acquisition"));
        auto* fakeCamera = reinterpret_cast<VisionCamera*>(e); // only compared, never used
        e->SetCamera(fakeCamera);
        QCOMPARE(e->TitleLabel()->text(), QStringLiteral("Acquisition (KV-1000 - 4711)"));
        e->SetTabbed(true, true);
        QCOMPARE(e->TitleLabel()->text(), QStringLiteral("Acquisition"));
        e->SetTabbed(true, false);
        e->SetTitle(QStringLiteral("Acquisition"), true);
        QCOMPARE(e->TitleLabel()->text(), QStringLiteral("Acquisition"));
        e->SetTitle(QString());
        QVERIFY(e->TitleLabel()->text().isEmpty());
        ControlElement::SetCameraNameProvider(nullptr);
    }

    void defaultSizeAndRowEnabling()
    {
        TestHost host;
        auto* e = new TestElement(&host, 2, true);
        auto* row = new QLabel(QStringLiteral("row"));
        e->Layout()->AddWidget(0, row, 100, -1);
        e->SetDefaultSize(300, 400, -1, 200);
        QCOMPARE(e->size(), QSize(300, 400));
        QCOMPARE(e->minimumSize(), QSize(300, 200));
        QCOMPARE(e->DefaultSize(), QSize(300, 400));
        QVERIFY(e->ScrollArea() != nullptr);
        QCOMPARE(e->ScrollArea()->height(), 400 - 3 * ControlElement::layoutMargin - ControlElement::titleHeight);
        QCOMPARE(e->ContentWidget()->minimumWidth(), 300 - 2 * ApplicationGlobals::gridSize);
        e->SetCameraEnabled(false);
        QVERIFY(e->isEnabled());
        QVERIFY(!row->isEnabled());
        e->SetCameraEnabled(true);
        QVERIFY(row->isEnabled());
    }

    void separatorsFollowTheSkin()
    {
        TestHost host;
        auto* e = new TestElement(&host, 2);
        QFrame* line = e->AddSeparator(1, 3, 3);
        QCOMPARE(e->ConnectionList().size(), size_t(1));
        QVERIFY(line->styleSheet().contains(ApplicationGlobals::colorSeparator.name()));
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Light);
        e->UpdateStyleSheet();
        const QString light = ApplicationGlobals::colorSeparator.name();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
        QVERIFY(line->styleSheet().contains(light));
        QCOMPARE(line->maximumHeight(), 1);
    }
};

QTEST_MAIN(TestControlElementFrame)
#include "test_controlelement_frame.moc"
