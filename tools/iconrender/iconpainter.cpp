#include "tools/iconrender/iconpainter.h"

#include <QPainter>
#include <QPainterPath>
#include <QVector>

#include <utility>

#include "tools/iconrender/glyphsources.h"

using lumivue::resources::GlyphSource;
using lumivue::resources::IconEntry;

namespace {

// All drawings are laid out on the 24 unit grid of the icon fonts: 2 units of margin, 20 live.
constexpr qreal kGrid = 24.0;

// Pen styles of the line style combo box; patterns in pen widths, chosen so that each style shows at
// least two periods on the 20 unit live width.
struct LineStyle
{
    const char* name;
    QVector<qreal> pattern; // empty: solid
};

const LineStyle kLineStyles[] = {
    {"solid_line", {}},
    {"dash_line", {3.0, 1.5}},
    {"dot_line", {1.0, 1.25}},
    {"dash_dot_line", {3.0, 1.25, 1.0, 1.25}},
    {"dash_dot_dot_line", {2.5, 1.0, 1.0, 1.0, 1.0, 1.0}},
};

} // namespace

IconPainter::IconPainter(const GlyphSources& sources, QString textFamily)
    : m_sources(sources), m_textFamily(std::move(textFamily))
{
}

QImage IconPainter::Render(const IconEntry& entry, int pixels, const QColor& color, QString* error) const
{
    const QString glyph = QString::fromLatin1(entry.glyph);
    // First the shape in opaque black, then the colour through SourceIn, so that every source ends up
    // with the same colour and the same antialiased edges.
    QImage shape(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    shape.fill(Qt::transparent);
    switch (entry.source)
    {
    case GlyphSource::MaterialDesignIcons:
    case GlyphSource::MaterialIcons: {
        const QPainterPath path = m_sources.FontGlyph(entry.source, glyph, pixels, error);
        if (path.isEmpty())
        {
            if (error->isEmpty())
                *error = QStringLiteral("the glyph \"%1\" is empty").arg(glyph);
            return {};
        }
        // Icon fonts centre their pictures in the em square; centring the outline keeps that and
        // removes the differences between the fonts' ascent conventions.
        const QRectF bounds = path.boundingRect();
        QPainter painter(&shape);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(pixels / 2.0, pixels / 2.0);
        painter.rotate(entry.rotation);
        painter.translate(-bounds.center());
        painter.fillPath(path, Qt::black);
        break;
    }
    case GlyphSource::BootstrapIcons: {
        const QImage svg = m_sources.SvgGlyph(glyph, pixels, error);
        if (svg.isNull())
            return {};
        QPainter painter(&shape);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.translate(pixels / 2.0, pixels / 2.0);
        painter.rotate(entry.rotation);
        painter.translate(-pixels / 2.0, -pixels / 2.0);
        painter.drawImage(0, 0, svg);
        break;
    }
    case GlyphSource::Drawn:
        if (!PaintDrawing(glyph, &shape))
        {
            *error = QStringLiteral("no drawing named \"%1\"").arg(glyph);
            return {};
        }
        break;
    }

    QPainter tint(&shape);
    tint.setCompositionMode(QPainter::CompositionMode_SourceIn);
    tint.fillRect(shape.rect(), color);
    tint.end();
    return shape.convertToFormat(QImage::Format_ARGB32);
}

bool IconPainter::PaintDrawing(const QString& name, QImage* image) const
{
    QPainter painter(image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(image->width() / kGrid, image->height() / kGrid);
    QPen pen(Qt::black, 2.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);

    for (const LineStyle& style : kLineStyles)
    {
        if (name != QLatin1String(style.name))
            continue;
        if (!style.pattern.isEmpty())
            pen.setDashPattern(style.pattern);
        // Thicker than the outline drawings: the pattern must still read at 16 pixels.
        pen.setWidthF(2.5);
        painter.setPen(pen);
        painter.drawLine(QPointF(2.0, 12.0), QPointF(22.0, 12.0));
        return true;
    }

    if (name == QLatin1String("circle"))
    {
        painter.setPen(pen);
        painter.drawEllipse(QPointF(12.0, 12.0), 8.5, 8.5);
    }
    else if (name == QLatin1String("rectangle"))
    {
        painter.setPen(pen);
        painter.drawRect(QRectF(3.0, 5.0, 18.0, 14.0));
    }
    else if (name == QLatin1String("line"))
    {
        pen.setCapStyle(Qt::RoundCap);
        painter.setPen(pen);
        painter.drawLine(QPointF(4.0, 20.0), QPointF(20.0, 4.0));
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPointF(4.0, 20.0), 2.0, 2.0);
        painter.drawEllipse(QPointF(20.0, 4.0), 2.0, 2.0);
    }
    else if (name == QLatin1String("crosshair"))
    {
        pen.setWidthF(1.75);
        painter.setPen(pen);
        painter.drawEllipse(QPointF(12.0, 12.0), 6.5, 6.5);
        // The arms stop short of the centre, so the marked pixel stays visible.
        painter.drawLine(QPointF(2.0, 12.0), QPointF(9.0, 12.0));
        painter.drawLine(QPointF(15.0, 12.0), QPointF(22.0, 12.0));
        painter.drawLine(QPointF(12.0, 2.0), QPointF(12.0, 9.0));
        painter.drawLine(QPointF(12.0, 15.0), QPointF(12.0, 22.0));
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPointF(12.0, 12.0), 1.25, 1.25);
    }
    else if (name == QLatin1String("zoom-original"))
    {
        pen.setWidthF(1.75);
        painter.setPen(pen);
        painter.drawRoundedRect(QRectF(2.5, 4.5, 19.0, 15.0), 2.0, 2.0);
        QFont font(m_textFamily);
        font.setBold(true);
        font.setPixelSize(10);
        QPainterPath text;
        text.addText(0, 0, font, QStringLiteral("1:1"));
        const QRectF bounds = text.boundingRect();
        painter.translate(QPointF(12.0, 12.0) - bounds.center());
        painter.fillPath(text, Qt::black);
    }
    else
    {
        return false;
    }
    return true;
}
