// lumivue_iconrender: the build-time tool that makes every picture, font copy and sound of the
// program's resources, and the .qrc file that lists them.
//
// It runs once per build when the tool or the icon table (resources/iconnames.h) changes:
//   1. load the icon fonts with their CSS name tables and the SVG folder (GlyphSources)
//   2. render each icon of the table in every folder it belongs to, in both skins (IconPainter)
//   3. draw the language flags, the window icon and the two logos, and synthesise the beep (artwork)
//   4. copy the four Roboto faces
//   5. write the .qrc, and on request a contact sheet of all icons for a visual check
// Any missing source or glyph fails the build with a message naming it. Single thread; needs a
// QGuiApplication for the font database, on the offscreen platform.

#include <QBuffer>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPainter>
#include <QSaveFile>
#include <QTextStream>

#include <cstdio>
#include <utility>

#include "resources/iconnames.h"
#include "tools/iconrender/artwork.h"
#include "tools/iconrender/glyphsources.h"
#include "tools/iconrender/iconpainter.h"

namespace res = lumivue::resources;

namespace {

// Glyph colours: light glyphs (white at 90 %) for the dark skin, dark glyphs (black at 80 %) for the
// light skin; state icons take the accent colour in both.
QColor GlyphColor(int skin, bool accent)
{
    if (accent)
        return QColor(res::kAccentRgb[0], res::kAccentRgb[1], res::kAccentRgb[2]);
    return skin == 0 ? QColor(255, 255, 255, 230) : QColor(0, 0, 0, 204);
}

class Writer
{
public:
    explicit Writer(QString root) : m_root(std::move(root)) {}

    // Writes `data` to <root>/<relative> atomically and remembers the file for the .qrc.
    bool Write(const QString& relative, const QByteArray& data)
    {
        const QString path = m_root + QLatin1Char('/') + relative;
        if (!QDir().mkpath(QFileInfo(path).absolutePath()))
            return Fail(QStringLiteral("cannot create the folder of %1").arg(path));
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
            return Fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
        m_files << relative;
        return true;
    }

    bool WritePng(const QString& relative, const QImage& image)
    {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        if (!image.save(&buffer, "PNG"))
            return Fail(QStringLiteral("cannot encode %1").arg(relative));
        return Write(relative, png);
    }

    bool Copy(const QString& source, const QString& relative)
    {
        QFile in(source);
        if (!in.open(QIODevice::ReadOnly))
            return Fail(QStringLiteral("cannot read %1").arg(source));
        return Write(relative, in.readAll());
    }

    // The .qrc lists every written file under its own relative path, so ":/resources/..." is the path
    // below the output root.
    bool WriteQrc(const QString& qrcPath)
    {
        QStringList files = m_files;
        files.sort();
        QByteArray text;
        QTextStream out(&text);
        out << "<!DOCTYPE RCC>\n<RCC version=\"1.0\">\n<qresource prefix=\"/\">\n";
        const QString relativeRoot = QFileInfo(qrcPath).absoluteDir().relativeFilePath(m_root);
        for (const QString& file : files)
            out << "    <file alias=\"" << file << "\">" << relativeRoot << '/' << file << "</file>\n";
        out << "</qresource>\n</RCC>\n";
        out.flush();
        QSaveFile qrc(qrcPath);
        if (!qrc.open(QIODevice::WriteOnly) || qrc.write(text) != text.size() || !qrc.commit())
            return Fail(QStringLiteral("cannot write %1").arg(qrcPath));
        return true;
    }

    bool Fail(const QString& message)
    {
        std::fprintf(stderr, "lumivue_iconrender: %s\n", qPrintable(message));
        return false;
    }

private:
    QString m_root;
    QStringList m_files;
};

// One picture of all icons in all sizes on both skin backgrounds, with their names.
QImage ContactSheet(const IconPainter& painter, const QString& textFamily)
{
    constexpr int kColumns = 6;
    constexpr int kCellWidth = 160;
    constexpr int kCellHeight = 70;
    const int rows = int((res::kIconCount + kColumns - 1) / kColumns);
    const int panelHeight = rows * kCellHeight + 10;
    const int flagsHeight = 90;
    QImage sheet(kColumns * kCellWidth, 2 * panelHeight + 2 * flagsHeight, QImage::Format_ARGB32);
    QPainter p(&sheet);
    QFont font(textFamily);
    font.setPixelSize(10);
    p.setFont(font);
    for (int skin = 0; skin < 2; ++skin)
    {
        const QColor background = skin == 0 ? QColor(44, 44, 44) : QColor(248, 248, 248);
        const int top = skin * (panelHeight + flagsHeight);
        p.fillRect(0, top, sheet.width(), panelHeight + flagsHeight, background);
        p.setPen(skin == 0 ? Qt::white : Qt::black);
        for (std::size_t i = 0; i < res::kIconCount; ++i)
        {
            const res::IconEntry& entry = res::kIcons[i];
            const int x = int(i % kColumns) * kCellWidth + 4;
            const int y = top + int(i / kColumns) * kCellHeight + 4;
            int at = x;
            for (int pixels : {16, 24, 36, 48})
            {
                QString error;
                const QImage icon = painter.Render(entry, pixels, GlyphColor(skin, entry.accent), &error);
                p.drawImage(at, y + 48 - pixels, icon);
                at += pixels + 4;
            }
            p.drawText(x, y + 62, QString::fromLatin1(entry.fileName));
        }
        int at = 4;
        for (const char* language : res::kLanguageFlags)
        {
            p.drawImage(at, top + panelHeight + 4, artwork::Flag(QString::fromLatin1(language), 48, 32));
            at += 56;
        }
        const QColor text = skin == 0 ? QColor(255, 255, 255) : QColor(0, 0, 0);
        p.drawImage(4, top + panelHeight + 40,
                    artwork::Logo(text, QColor(res::kAccentRgb[0], res::kAccentRgb[1], res::kAccentRgb[2]), textFamily)
                        .scaledToHeight(44, Qt::SmoothTransformation));
    }
    p.end();
    return sheet;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Renders Lumivue's icons, flags, logos and beep."));
    parser.addHelpOption();
    const QCommandLineOption outputOption("output", "Output root (files go below <dir>/resources).", "dir");
    const QCommandLineOption qrcOption("qrc", "The .qrc file to write.", "file");
    const QCommandLineOption mdiFontOption("mdi-font", "Material Design Icons TTF.", "file");
    const QCommandLineOption mdiCssOption("mdi-css", "Material Design Icons CSS.", "file");
    const QCommandLineOption materialFontOption("material-font", "Material Icons TTF.", "file");
    const QCommandLineOption materialCssOption("material-css", "Material Icons CSS.", "file");
    const QCommandLineOption bootstrapOption("bootstrap-dir", "Folder of the bootstrap icon SVGs.", "dir");
    const QCommandLineOption robotoOption("roboto-dir", "Folder of the Roboto TTF files.", "dir");
    const QCommandLineOption sheetOption("contact-sheet", "Also write a contact sheet PNG.", "file");
    parser.addOptions({outputOption, qrcOption, mdiFontOption, mdiCssOption, materialFontOption, materialCssOption,
                       bootstrapOption, robotoOption, sheetOption});
    parser.process(app);
    for (const auto& required : {outputOption, qrcOption, mdiFontOption, mdiCssOption, materialFontOption,
                                 materialCssOption, bootstrapOption, robotoOption})
    {
        if (!parser.isSet(required))
        {
            std::fprintf(stderr, "lumivue_iconrender: --%s is required\n", qPrintable(required.names().front()));
            return 2;
        }
    }

    GlyphSources sources;
    QString error;
    if (!sources.Load({parser.value(mdiFontOption), parser.value(mdiCssOption), parser.value(materialFontOption),
                       parser.value(materialCssOption), parser.value(bootstrapOption)},
                      &error))
    {
        std::fprintf(stderr, "lumivue_iconrender: %s\n", qPrintable(error));
        return 1;
    }

    const QString robotoDir = parser.value(robotoOption);
    const int boldId = QFontDatabase::addApplicationFont(robotoDir + QStringLiteral("/Roboto-Bold.ttf"));
    if (boldId < 0)
    {
        std::fprintf(stderr, "lumivue_iconrender: cannot load %s/Roboto-Bold.ttf\n", qPrintable(robotoDir));
        return 1;
    }
    const QString textFamily = QFontDatabase::applicationFontFamilies(boldId).value(0);
    IconPainter painter(sources, textFamily);
    Writer writer(parser.value(outputOption));

    // --- Icons
    int failures = 0;
    for (const res::IconEntry& entry : res::kIcons)
    {
        for (const res::IconFolderInfo& folder : res::kIconFolders)
        {
            if (!(entry.folders & folder.folder))
                continue;
            for (int skin = 0; skin < 2; ++skin)
            {
                const QImage icon = painter.Render(entry, folder.pixels, GlyphColor(skin, entry.accent), &error);
                const QString relative = QStringLiteral("resources/%1/%2/%3")
                                             .arg(folder.directory, res::kSkinDirectories[skin], entry.fileName);
                if (icon.isNull())
                {
                    writer.Fail(QStringLiteral("%1: %2").arg(relative, error));
                    ++failures;
                }
                else if (!writer.WritePng(relative, icon))
                {
                    ++failures;
                }
            }
        }
    }

    // --- Flags, window icon, logos, beep, fonts
    for (const char* language : res::kLanguageFlags)
    {
        const QImage flag = artwork::Flag(QString::fromLatin1(language), res::kFlagWidth, res::kFlagHeight);
        if (flag.isNull())
        {
            writer.Fail(QStringLiteral("no flag drawing for \"%1\"").arg(language));
            ++failures;
            continue;
        }
        failures += !writer.WritePng(QStringLiteral("resources/languages/%1.png").arg(language), flag);
    }
    const QColor accent(res::kAccentRgb[0], res::kAccentRgb[1], res::kAccentRgb[2]);
    QVector<QImage> iconSizes;
    for (int pixels : {16, 24, 32, 48, 64, 128})
        iconSizes << artwork::ApertureMark(pixels, accent);
    failures += !writer.Write(QStringLiteral("resources/orna_lumivue.ico"), artwork::IcoFile(iconSizes));
    failures += !writer.WritePng(QStringLiteral("resources/company_logo_dark.png"),
                                 artwork::Logo(QColor(255, 255, 255), accent, textFamily));
    failures += !writer.WritePng(QStringLiteral("resources/company_logo_light.png"),
                                 artwork::Logo(QColor(0, 0, 0), accent, textFamily));
    failures += !writer.Write(QStringLiteral("resources/sound/beep.wav"), artwork::BeepWav(44100, 880.0, 120, 10, 0.5));
    for (const char* font : res::kFontFiles)
        failures += !writer.Copy(robotoDir + QLatin1Char('/') + font, QStringLiteral("resources/fonts/%1").arg(font));

    if (failures > 0)
    {
        std::fprintf(stderr, "lumivue_iconrender: %d resource(s) failed\n", failures);
        return 1;
    }
    if (!writer.WriteQrc(parser.value(qrcOption)))
        return 1;
    if (parser.isSet(sheetOption))
    {
        QSaveFile sheet(parser.value(sheetOption));
        if (!sheet.open(QIODevice::WriteOnly) || !ContactSheet(painter, textFamily).save(&sheet, "PNG") ||
            !sheet.commit())
        {
            std::fprintf(stderr, "lumivue_iconrender: cannot write the contact sheet\n");
            return 1;
        }
    }
    return 0;
}
