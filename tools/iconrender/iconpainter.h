// Paints one icon of the table at one size and colour: a font glyph, an SVG file, or one of the few
// pictures no icon set has (pen styles and drawing marks). Build-time tool, single thread.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

#include "resources/iconnames.h"

class GlyphSources;

class IconPainter
{
public:
    // `textFamily` is the font family for the few drawings that carry text ("1:1").
    IconPainter(const GlyphSources& sources, QString textFamily);

    // The icon as a `pixels` square in `color`, or a null image with a message in *error.
    QImage Render(const lumivue::resources::IconEntry& entry, int pixels, const QColor& color, QString* error) const;

private:
    // Paints a drawing on a 24 unit grid, scaled to the image; false for an unknown drawing name.
    bool PaintDrawing(const QString& name, QImage* image) const;

    const GlyphSources& m_sources;
    QString m_textFamily;
};
