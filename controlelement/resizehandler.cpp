#include "controlelement/resizehandler.h"

#include <QChildEvent>
#include <QEvent>
#include <QMouseEvent>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace {
QPoint Rounded(const QPointF& p)
{
    return QPoint(static_cast<int>(std::round(p.x())), static_cast<int>(std::round(p.y())));
}
} // namespace

ResizeHandler::ResizeHandler(QWidget* target, int borderWidth)
    : QObject(target), m_target(target), m_borderWidth(borderWidth)
{
    ApplyMinimum();
    Watch(m_target);
    RebuildRects();
}

void ResizeHandler::Watch(QObject* object)
{
    object->installEventFilter(this);
    if (auto* w = qobject_cast<QWidget*>(object))
        w->setMouseTracking(true);
    for (QObject* child : object->children())
    {
        if (child->isWidgetType())
            Watch(child);
    }
}

void ResizeHandler::Unwatch(QObject* object)
{
    object->removeEventFilter(this);
    for (QObject* child : object->children())
        Unwatch(child);
}

void ResizeHandler::SetEnabled(bool enabled)
{
    m_enabled = enabled;
    if (!enabled)
    {
        ClearHits();
        m_resizing = false;
    }
}

void ResizeHandler::SetBorderWidth(int width)
{
    m_borderWidth = width;
    ApplyMinimum();
    RebuildRects();
}

void ResizeHandler::SetEdgesEnabled(bool top, bool bottom, bool left, bool right)
{
    m_edgeEnabled[Top] = top;
    m_edgeEnabled[Bottom] = bottom;
    m_edgeEnabled[Left] = left;
    m_edgeEnabled[Right] = right;
    ClearHits();
}

void ResizeHandler::ApplyMinimum()
{
    // A target narrower than both borders together could not be grabbed again.
    const QSize min = m_target->minimumSize();
    const int floor = 2 * m_borderWidth;
    if (min.width() < floor || min.height() < floor)
        m_target->setMinimumSize(std::max(min.width(), floor), std::max(min.height(), floor));
}

void ResizeHandler::RebuildRects()
{
    const int w = m_target->width();
    const int h = m_target->height();
    const int b = m_borderWidth;
    m_edgeRect[Top] = QRect(0, 0, w, b);
    m_edgeRect[Bottom] = QRect(0, h - b, w, b);
    m_edgeRect[Left] = QRect(0, 0, b, h);
    m_edgeRect[Right] = QRect(w - b, 0, b, h);
}

void ResizeHandler::HitTest(const QPoint& p)
{
    for (int i = 0; i < 4; ++i)
        m_hit[i] = m_edgeEnabled[i] && m_edgeRect[i].contains(p);
}

void ResizeHandler::ClearHits()
{
    const bool hadHit = m_hit[0] || m_hit[1] || m_hit[2] || m_hit[3];
    std::fill(std::begin(m_hit), std::end(m_hit), false);
    if (hadHit)
        m_target->unsetCursor();
}

void ResizeHandler::UpdateCursor()
{
    const bool t = m_hit[Top], b = m_hit[Bottom], l = m_hit[Left], r = m_hit[Right];
    Qt::CursorShape shape = Qt::ArrowCursor;
    if ((t && l) || (b && r))
        shape = Qt::SizeFDiagCursor;
    else if ((t && r) || (b && l))
        shape = Qt::SizeBDiagCursor;
    else if (t || b)
        shape = Qt::SizeVerCursor;
    else if (l || r)
        shape = Qt::SizeHorCursor;
    m_target->setCursor(shape);
}

bool ResizeHandler::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type())
    {
    case QEvent::ChildAdded: {
        QObject* child = static_cast<QChildEvent*>(event)->child();
        if (child->isWidgetType())
            Watch(child);
        return false;
    }
    case QEvent::ChildRemoved:
        Unwatch(static_cast<QChildEvent*>(event)->child());
        return false;
    case QEvent::Resize:
        if (watched == m_target)
            RebuildRects();
        return false;
    default:
        break;
    }
    if (!m_enabled || !watched->isWidgetType())
        return false;
    auto* w = static_cast<QWidget*>(watched);

    switch (event->type())
    {
    case QEvent::MouseMove: {
        auto* me = static_cast<QMouseEvent*>(event);
        if (m_resizing)
        {
            const QPoint delta = Rounded(me->screenPos()) - m_pressPos;
            const QRect g0 = m_pressGeometry;
            const QSize min = m_target->minimumSize();
            int left = g0.left(), top = g0.top(), right = g0.right(), bottom = g0.bottom();
            // The edge opposite the grabbed one stays put; the grabbed one stops at the minimum size.
            if (m_hit[Left])
                left = std::min(g0.left() + delta.x(), right - min.width() + 1);
            if (m_hit[Right])
                right = std::max(g0.right() + delta.x(), left + min.width() - 1);
            if (m_hit[Top])
                top = std::min(g0.top() + delta.y(), bottom - min.height() + 1);
            if (m_hit[Bottom])
                bottom = std::max(g0.bottom() + delta.y(), top + min.height() - 1);
            m_target->setGeometry(QRect(QPoint(left, top), QPoint(right, bottom)));
            m_target->repaint();
            return true;
        }
        if (!(me->buttons() & Qt::LeftButton))
        {
            HitTest(w->mapTo(m_target, Rounded(me->localPos())));
            UpdateCursor();
        }
        return false;
    }
    case QEvent::MouseButtonPress: {
        auto* me = static_cast<QMouseEvent*>(event);
        if (me->button() != Qt::LeftButton)
            return false;
        HitTest(w->mapTo(m_target, Rounded(me->localPos())));
        m_resizing = m_hit[Top] || m_hit[Bottom] || m_hit[Left] || m_hit[Right];
        if (m_resizing)
        {
            m_pressPos = Rounded(me->screenPos());
            Q_EMIT ResizeStarted();
            // Taken after the start, which may lift limits of the target's geometry.
            m_pressGeometry = m_target->geometry();
            return true;
        }
        return false;
    }
    case QEvent::MouseButtonRelease:
        if (m_resizing && static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton)
        {
            m_resizing = false;
            Q_EMIT ResizeFinished();
            return true;
        }
        return false;
    case QEvent::Leave:
        if (watched == m_target && !m_resizing)
            ClearHits();
        return false;
    default:
        return false;
    }
}
