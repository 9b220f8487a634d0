#include "widgets/trianglelabel.h"

#include "common/applicationglobals.h"

#include <QPainter>
#include <QPolygon>

TriangleLabel::TriangleLabel(QWidget* parent, bool pointsDown) : QLabel(parent), m_pointsDown(pointsDown)
{
    setFixedSize(9, 6);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void TriangleLabel::SetColor(const QColor& color)
{
    m_color = color;
    update();
}

QColor TriangleLabel::Color() const
{
    return m_color.isValid() ? m_color : ApplicationGlobals::colorText;
}

void TriangleLabel::UpdateStyleSheet()
{
    update();
}

void TriangleLabel::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(Qt::NoPen);
    p.setBrush(Color());
    const int w = width(), h = height();
    QPolygon tri;
    if (m_pointsDown)
        tri << QPoint(0, 0) << QPoint(w, 0) << QPoint(w / 2, h);
    else
        tri << QPoint(0, h) << QPoint(w, h) << QPoint(w / 2, 0);
    p.drawPolygon(tri);
}
