// The three picture sources of the icon renderer: two icon fonts, whose CSS files map icon names to code
// points, and a folder of SVG files. Build-time tool, single thread.
#pragma once

#include <QHash>
#include <QImage>
#include <QPainterPath>
#include <QRawFont>
#include <QString>

#include "resources/iconnames.h"

class GlyphSources
{
public:
    struct Paths
    {
        QString mdiFont;
        QString mdiCss;
        QString materialFont;
        QString materialCss;
        QString bootstrapDir;
    };

    // Loads both fonts and parses both CSS files. Returns false with a message in *error when a file is
    // missing or maps no names.
    bool Load(const Paths& paths, QString* error);

    // The outline of a font glyph scaled so that the font's em square is `pixels` high, or an empty path
    // with a message when the name is unknown.
    QPainterPath FontGlyph(lumivue::resources::GlyphSource source, const QString& name, int pixels,
                           QString* error) const;

    // The SVG file of a bootstrap icon rendered in black into a `pixels` square with the margin that
    // the font glyphs have (a 20 pixel live area in 24), or a null image with a message.
    QImage SvgGlyph(const QString& name, int pixels, QString* error) const;

private:
    static QHash<QString, uint> ParseCss(const QString& path, const QString& classPrefix);

    QRawFont m_mdiFont;
    QRawFont m_materialFont;
    QHash<QString, uint> m_mdiCodes;
    QHash<QString, uint> m_materialCodes;
    QString m_bootstrapDir;
};
