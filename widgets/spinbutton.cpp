#include "widgets/spinbutton.h"

#include "common/applicationglobals.h"

#include <QPainter>
#include <QPolygonF>

SpinButton::SpinButton(Direction direction, QWidget* parent) : QAbstractButton(parent), m_direction(direction)
{
    setAutoRepeat(true);
    setAutoRepeatDelay(kRepeatDelayMs);
    setAutoRepeatInterval(kRepeatIntervalMs);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
}

QSize SpinButton::sizeHint() const
{
    return QSize(20, 20);
}

void SpinButton::UpdateStyleSheet()
{
    update();
}

void SpinButton::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    if (isDown())
        p.fillRect(rect(), G::colorPressed);
    else if (underMouse() && isEnabled())
        p.fillRect(rect(), G::colorHover);
    const QRectF r = QRectF(rect()).adjusted(width() * 0.3, height() * 0.3, -width() * 0.3, -height() * 0.3);
    QPolygonF tri;
    switch (m_direction)
    {
    case Direction::Up:
        tri << r.bottomLeft() << r.bottomRight() << QPointF(r.center().x(), r.top());
        break;
    case Direction::Down:
        tri << r.topLeft() << r.topRight() << QPointF(r.center().x(), r.bottom());
        break;
    case Direction::Left:
        tri << r.topRight() << r.bottomRight() << QPointF(r.left(), r.center().y());
        break;
    case Direction::Right:
        tri << r.topLeft() << r.bottomLeft() << QPointF(r.right(), r.center().y());
        break;
    }
    p.setPen(Qt::NoPen);
    p.setBrush(isEnabled() ? G::colorText : G::colorDisabledText);
    p.drawPolygon(tri);
}
