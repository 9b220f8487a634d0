#include "tools/iconrender/glyphsources.h"

#include <QFile>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>

using lumivue::resources::GlyphSource;

QHash<QString, uint> GlyphSources::ParseCss(const QString& path, const QString& classPrefix)
{
    QHash<QString, uint> codes;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return codes;
    const QString css = QString::fromUtf8(file.readAll());
    // Both files write one rule per icon: `.<prefix><name>:before { content: "\XXXX"; }`.
    const QRegularExpression rule(
        QRegularExpression::escape(classPrefix) +
        QStringLiteral(R"re(([A-Za-z0-9_-]+):before\s*\{\s*content:\s*"\\([0-9A-Fa-f]+)")re"));
    auto it = rule.globalMatch(css);
    while (it.hasNext())
    {
        const auto match = it.next();
        bool ok = false;
        const uint code = match.captured(2).toUInt(&ok, 16);
        if (ok)
            codes.insert(match.captured(1), code);
    }
    return codes;
}

bool GlyphSources::Load(const Paths& paths, QString* error)
{
    m_mdiFont.loadFromFile(paths.mdiFont, 100, QFont::PreferNoHinting);
    if (!m_mdiFont.isValid())
    {
        *error = QStringLiteral("cannot load the font %1").arg(paths.mdiFont);
        return false;
    }
    m_materialFont.loadFromFile(paths.materialFont, 100, QFont::PreferNoHinting);
    if (!m_materialFont.isValid())
    {
        *error = QStringLiteral("cannot load the font %1").arg(paths.materialFont);
        return false;
    }
    m_mdiCodes = ParseCss(paths.mdiCss, QStringLiteral(".mdi-"));
    if (m_mdiCodes.isEmpty())
    {
        *error = QStringLiteral("no icon names in %1").arg(paths.mdiCss);
        return false;
    }
    m_materialCodes = ParseCss(paths.materialCss, QStringLiteral(".material-icons."));
    if (m_materialCodes.isEmpty())
    {
        *error = QStringLiteral("no icon names in %1").arg(paths.materialCss);
        return false;
    }
    m_bootstrapDir = paths.bootstrapDir;
    return true;
}

QPainterPath GlyphSources::FontGlyph(GlyphSource source, const QString& name, int pixels, QString* error) const
{
    const bool mdi = source == GlyphSource::MaterialDesignIcons;
    const QHash<QString, uint>& codes = mdi ? m_mdiCodes : m_materialCodes;
    QRawFont font = mdi ? m_mdiFont : m_materialFont;
    const auto found = codes.find(name);
    if (found == codes.end())
    {
        *error = QStringLiteral("no glyph named \"%1\" in the %2 font").arg(name, mdi ? "mdi" : "material");
        return {};
    }
    font.setPixelSize(pixels);
    const uint code = found.value();
    QVector<quint32> indexes = font.glyphIndexesForString(QString::fromUcs4(&code, 1));
    if (indexes.isEmpty() || indexes.front() == 0)
    {
        *error = QStringLiteral("the font has no glyph for \"%1\" (U+%2)").arg(name).arg(code, 4, 16, QChar('0'));
        return {};
    }
    return font.pathForGlyph(indexes.front());
}

QImage GlyphSources::SvgGlyph(const QString& name, int pixels, QString* error) const
{
    const QString path = m_bootstrapDir + QLatin1Char('/') + name + QStringLiteral(".svg");
    QSvgRenderer renderer(path);
    if (!renderer.isValid())
    {
        *error = QStringLiteral("cannot read %1").arg(path);
        return {};
    }
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal live = pixels * 20.0 / 24.0;
    const qreal margin = (pixels - live) / 2.0;
    renderer.render(&painter, QRectF(margin, margin, live, live));
    return image;
}
