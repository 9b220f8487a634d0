#include "view/customgraphicsview.h"

#include "view/customgraphicsscene.h"

#include <QMouseEvent>
#include <QResizeEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include <cmath>

CustomGraphicsView::CustomGraphicsView(CustomGraphicsScene* scene, QWidget* parent)
    : QGraphicsView(scene, parent), m_scene(scene)
{
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    setTransformationAnchor(QGraphicsView::NoAnchor);
    setResizeAnchor(QGraphicsView::NoAnchor);
    // The whole frame changes with every image: partial updates would only cost bookkeeping.
    setViewportUpdateMode(QGraphicsView::FullViewportUpdate);
    setOptimizationFlags(QGraphicsView::DontSavePainterState | QGraphicsView::DontAdjustForAntialiasing);
    setAlignment(Qt::AlignCenter);
    viewport()->setCursor(Qt::OpenHandCursor);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &CustomGraphicsView::Signal_ViewChanged);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &CustomGraphicsView::Signal_ViewChanged);
    SetScaleMode(0);
}

void CustomGraphicsView::SetScaleMode(int mode)
{
    m_scene->SetScaleModeValue(mode);
    if (mode == 0)
    {
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        FitToWindow();
        return;
    }
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    emit Signal_ViewChanged();
}

void CustomGraphicsView::SetScaleFactor(double factor)
{
    if (!(factor > 0.0) || !std::isfinite(factor))
        return;
    m_scene->SetScaleModeValue(1);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_scene->SetScaleFactorValue(factor);
    const QTransform present = transform();
    setTransform(QTransform(factor, 0, 0, factor, present.dx(), present.dy()));
    emit Signal_ViewChanged();
}

void CustomGraphicsView::FitToWindow()
{
    const QRectF rect = sceneRect();
    if (rect.width() > 0 && rect.height() > 0 && viewport()->width() > 0 && viewport()->height() > 0)
    {
        fitInView(rect, Qt::KeepAspectRatio);
        m_scene->SetScaleFactorValue(transform().m11());
    }
    emit Signal_ViewChanged();
}

QRectF CustomGraphicsView::ComputeVisibleArea() const
{
    return mapToScene(viewport()->rect()).boundingRect().intersected(sceneRect());
}

void CustomGraphicsView::SetPanEnabled(bool enabled)
{
    m_panEnabled = enabled;
    m_panning = false;
    viewport()->setCursor(enabled ? Qt::OpenHandCursor : Qt::CrossCursor);
}

void CustomGraphicsView::resizeEvent(QResizeEvent* event)
{
    QGraphicsView::resizeEvent(event);
    if (m_scene->ScaleMode() == 0)
    {
        FitToWindow();
        return;
    }
    if (event->oldSize().isValid())
    {
        const QSize change = event->size() - event->oldSize();
        const double f = m_scene->ScaleFactor();
        // In scene units: the image keeps its place relative to the centre of the view.
        translate(change.width() / 2.0 / f, change.height() / 2.0 / f);
    }
    emit Signal_ViewChanged();
}

void CustomGraphicsView::wheelEvent(QWheelEvent* event)
{
    const QPoint delta = event->angleDelta();
    if (event->modifiers() & Qt::ControlModifier)
    {
        if (delta.y() != 0)
            emit Signal_MouseWheelChanged(delta.y() > 0);
        event->accept();
        return;
    }
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    QScrollBar* v = verticalScrollBar();
    QScrollBar* h = horizontalScrollBar();
    // A notch away from the user shows what lies above: the bar value goes down.
    v->setValue(v->value() - sign(delta.y()) * v->singleStep());
    h->setValue(h->value() - sign(delta.x()) * h->singleStep());
    event->accept();
}

QPoint CustomGraphicsView::ScenePixel(const QPoint& viewportPos) const
{
    const QPointF p = mapToScene(viewportPos);
    return QPoint(static_cast<int>(std::floor(p.x())), static_cast<int>(std::floor(p.y())));
}

void CustomGraphicsView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
    {
        QGraphicsView::mousePressEvent(event);
        return;
    }
    const QPoint pixel = ScenePixel(event->pos());
    m_scene->SetPressPoint(pixel);
    m_scene->SetCurrentPoint(pixel);
    if (m_panEnabled && m_scene->MouseModeValue() == CustomGraphicsScene::MouseModePlain)
    {
        m_panning = true;
        m_panLast = event->pos();
        viewport()->setCursor(Qt::ClosedHandCursor);
    }
    emit Signal_MousePressed(pixel);
    event->accept();
}

void CustomGraphicsView::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint pixel = ScenePixel(event->pos());
    if (m_panning)
    {
        const QPoint change = event->pos() - m_panLast;
        m_panLast = event->pos();
        horizontalScrollBar()->setValue(horizontalScrollBar()->value() - change.x());
        verticalScrollBar()->setValue(verticalScrollBar()->value() - change.y());
        emit Signal_MouseDragged();
    }
    if (event->buttons() & Qt::LeftButton)
        m_scene->SetCurrentPoint(pixel);
    const bool onImage = QRect(0, 0, m_scene->ImageWidth(), m_scene->ImageHeight()).contains(pixel);
    m_scene->SetMagnifierPosition(onImage ? pixel : QPoint(-1, -1));
    // Without a press the start is (-1, -1): the camera window still shows the position under the cursor.
    const QPointF press = (event->buttons() & Qt::LeftButton) ? m_scene->PressPoint() : QPointF(-1, -1);
    emit Signal_MouseMoved(press.toPoint(), pixel);
    event->accept();
}

void CustomGraphicsView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
    {
        QGraphicsView::mouseReleaseEvent(event);
        return;
    }
    event->accept();
    if (m_panning)
    {
        m_panning = false;
        viewport()->setCursor(Qt::OpenHandCursor);
        m_scene->ClearMousePoints();
        return;
    }
    const QPoint start = m_scene->PressPoint().toPoint();
    const QPoint end = ScenePixel(event->pos());
    if (start != end && m_scene->MouseModeValue() == CustomGraphicsScene::MouseModeRoi)
        emit Signal_RoiDrawn(start, end);
    // The paint elements of the line, rectangle, ellipse and measure tools are added here by the overlay
    // layer; until then the gesture only ends.
    m_scene->ClearMousePoints();
}

void CustomGraphicsView::mouseDoubleClickEvent(QMouseEvent* event)
{
    emit Signal_MouseDoubleClicked();
    event->accept();
}

void CustomGraphicsView::leaveEvent(QEvent* event)
{
    m_scene->SetMagnifierPosition(QPoint(-1, -1));
    QGraphicsView::leaveEvent(event);
}
