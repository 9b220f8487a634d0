#include "widgets/horizontalbar.h"

#include "common/applicationglobals.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

HorizontalBar::HorizontalBar(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize HorizontalBar::sizeHint() const
{
    return QSize(120, 16);
}

void HorizontalBar::SetFraction(double fraction)
{
    m_fraction = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) : 0.0;
    update();
}

void HorizontalBar::SetText(const QString& text)
{
    m_text = text;
    update();
}

QColor HorizontalBar::BarColor() const
{
    return m_fraction > m_threshold ? ApplicationGlobals::colorRedStrong : ApplicationGlobals::colorAccent;
}

void HorizontalBar::UpdateStyleSheet()
{
    setFont(ApplicationGlobals::fontSmall);
    update();
}

void HorizontalBar::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    using G = ApplicationGlobals;
    QPainter p(this);
    p.fillRect(rect(), G::colorBackgroundRaised);
    p.fillRect(QRect(0, 0, static_cast<int>(std::lround(m_fraction * width())), height()), BarColor());
    p.setPen(G::colorBorder);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
    if (!m_text.isEmpty())
    {
        p.setPen(G::colorText);
        p.drawText(rect(), Qt::AlignCenter, m_text);
    }
}
