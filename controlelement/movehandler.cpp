#include "controlelement/movehandler.h"

#include <QEvent>
#include <QMouseEvent>
#include <QWidget>

#include <cmath>

namespace {
// Event positions are rounded half away from zero, so high-DPI fractions never drift the element.
QPoint Rounded(const QPointF& p)
{
    return QPoint(static_cast<int>(std::round(p.x())), static_cast<int>(std::round(p.y())));
}
} // namespace

MoveHandler::MoveHandler(QWidget* target, QWidget* moveWidget)
    : QObject(moveWidget), m_target(target), m_moveWidget(moveWidget)
{
    m_target->installEventFilter(this);
    UpdateMoveArea();
}

void MoveHandler::SetMargins(const QRect& margins)
{
    m_margins = margins;
    UpdateMoveArea();
}

void MoveHandler::UpdateMoveArea()
{
    const QRect g = m_target->geometry();
    m_moveArea = QRect(QPoint(g.left() - m_margins.left(), g.top() - m_margins.top()),
                       QPoint(g.right() + m_margins.right(), g.bottom() + m_margins.bottom()));
}

bool MoveHandler::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_target)
        return false;
    switch (event->type())
    {
    case QEvent::Move:
    case QEvent::Resize:
        UpdateMoveArea();
        break;
    case QEvent::MouseButtonPress: {
        auto* me = static_cast<QMouseEvent*>(event);
        if (!m_enabled || me->button() != Qt::LeftButton)
            break;
        // The area is in the target's parent coordinates, like the target's geometry.
        const QPoint inParent = m_target->mapToParent(Rounded(me->localPos()));
        if (m_moveArea.contains(inParent))
        {
            m_pressPos = Rounded(me->screenPos());
            m_moving = true;
        }
        break;
    }
    case QEvent::MouseMove: {
        auto* me = static_cast<QMouseEvent*>(event);
        if (!m_moving || !(me->buttons() & Qt::LeftButton))
            break;
        const QPoint now = Rounded(me->screenPos());
        const QPoint delta = now - m_pressPos;
        m_pressPos = now;
        if (!delta.isNull())
        {
            m_moveWidget->move(m_moveWidget->pos() + delta);
            m_moveWidget->repaint();
        }
        break;
    }
    case QEvent::MouseButtonRelease: {
        auto* me = static_cast<QMouseEvent*>(event);
        if (m_moving && me->button() == Qt::LeftButton)
        {
            m_moving = false;
            Q_EMIT MoveFinished();
        }
        break;
    }
    default:
        break;
    }
    return false;
}
