#include "widgets/customcolorchart.h"

#include "common/applicationglobals.h"
#include "widgets/fader.h"

#include <QColor>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

CustomColorChart::CustomColorChart(QWidget* parent) : QLabel(parent)
{
    static const int rgbType = qRegisterMetaType<QRgb>("QRgb");
    Q_UNUSED(rgbType);
    setCursor(Qt::CrossCursor);
    m_fader = new Fader(this);
    connect(m_fader, &Fader::FadeInFinished, this, &CustomColorChart::OnFadeInFinished);
    connect(m_fader, &Fader::FadeOutFinished, this, &CustomColorChart::OnFadeOutFinished);
}

QSize CustomColorChart::sizeHint() const
{
    return QSize(kColumns * 16, (kRows + 1) * 16);
}

QRgb CustomColorChart::CellColor(int column, int row) const
{
    // The last row is the grey scale from white to black; the others are hues at falling lightness.
    if (row == kRows)
    {
        const int v = 255 - column * 255 / (kColumns - 1);
        return qRgb(v, v, v);
    }
    const int hue = column * 360 / kColumns;
    const int lightness = 220 - row * 170 / (kRows - 1);
    return QColor::fromHsl(hue, 255, lightness).rgb();
}

QRgb CustomColorChart::ColorAt(const QPoint& pos) const
{
    const int column = std::clamp(pos.x() * kColumns / std::max(width(), 1), 0, kColumns - 1);
    const int row = std::clamp(pos.y() * (kRows + 1) / std::max(height(), 1), 0, kRows);
    return CellColor(column, row);
}

void CustomColorChart::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    QPainter p(this);
    for (int r = 0; r <= kRows; ++r)
    {
        for (int c = 0; c < kColumns; ++c)
        {
            const QRect cell(c * width() / kColumns, r * height() / (kRows + 1),
                             (c + 1) * width() / kColumns - c * width() / kColumns,
                             (r + 1) * height() / (kRows + 1) - r * height() / (kRows + 1));
            p.fillRect(cell, QColor(CellColor(c, r)));
        }
    }
    p.setPen(ApplicationGlobals::colorBorder);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
}

void CustomColorChart::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        Q_EMIT Signal_ColorSelected(ColorAt(event->pos()));
    QLabel::mouseReleaseEvent(event);
}

void CustomColorChart::UpdateStyleSheet()
{
    update();
}

void CustomColorChart::FadeIn()
{
    m_fader->Start(true);
}

void CustomColorChart::FadeOut()
{
    m_fader->Start(false);
}

void CustomColorChart::OnFadeInFinished()
{
    Q_EMIT Signal_FadeInFinished();
}

void CustomColorChart::OnFadeOutFinished()
{
    Q_EMIT Signal_FadeOutFinished();
}
