// The compiled-in resources as the program sees them: every icon of the table in every folder and skin,
// at the right size and not blank, the fonts, flags, window icon, logos, the beep, and the German
// translation beside the program.
#include "common/applicationglobals.h"
#include "resources/iconnames.h"

#include <QDirIterator>
#include <QFile>
#include <QFontDatabase>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QSet>
#include <QTranslator>
#include <QtEndian>
#include <QtTest>

namespace res = lumivue::resources;

namespace {

struct Coverage
{
    int opaque = 0;           // alpha above half
    int transparent = 0;      // alpha zero
    double meanLightness = 0; // of the opaque pixels
};

Coverage Measure(const QImage& source)
{
    const QImage image = source.convertToFormat(QImage::Format_ARGB32);
    Coverage c;
    double lightness = 0;
    for (int y = 0; y < image.height(); ++y)
    {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x)
        {
            if (qAlpha(line[x]) > 127)
            {
                ++c.opaque;
                lightness += qGray(line[x]);
            }
            else if (qAlpha(line[x]) == 0)
            {
                ++c.transparent;
            }
        }
    }
    c.meanLightness = c.opaque > 0 ? lightness / c.opaque : 0;
    return c;
}

QString IconPath(const res::IconFolderInfo& folder, int skin, const char* file)
{
    return QStringLiteral(":/resources/%1/%2/%3").arg(folder.directory, res::kSkinDirectories[skin], file);
}

} // namespace

class TestResourcesBuiltin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(QStringLiteral(":/resources/fonts/Roboto-Regular.ttf")))
            QFAIL("the compiled resources are not linked into this test");
    }

    void everyIconExistsInItsFoldersAndSkinsAndIsNotBlank()
    {
        int checked = 0;
        for (const res::IconEntry& entry : res::kIcons)
        {
            QVERIFY2(entry.folders != 0, entry.fileName);
            for (const res::IconFolderInfo& folder : res::kIconFolders)
            {
                if (!(entry.folders & folder.folder))
                    continue;
                QImage images[2];
                for (int skin = 0; skin < 2; ++skin)
                {
                    const QString path = IconPath(folder, skin, entry.fileName);
                    images[skin] = QImage(path);
                    QVERIFY2(!images[skin].isNull(), qPrintable(path + " does not load"));
                    QVERIFY2(images[skin].size() == QSize(folder.pixels, folder.pixels), qPrintable(path));
                    const Coverage c = Measure(images[skin]);
                    QVERIFY2(c.opaque > 0, qPrintable(path + " has no opaque pixel"));
                    QVERIFY2(c.transparent > 0, qPrintable(path + " has no transparent pixel"));
                    // Ink covers a visible share of the square, yet no icon is a filled block.
                    const int area = folder.pixels * folder.pixels;
                    QVERIFY2(c.opaque >= area / 50, qPrintable(path + " is almost empty"));
                    QVERIFY2(c.opaque <= area * 3 / 4, qPrintable(path + " is almost full"));
                    if (!entry.accent)
                    {
                        // Light glyphs for the dark skin, dark glyphs for the light one.
                        if (skin == 0)
                            QVERIFY2(c.meanLightness > 200, qPrintable(path + " is not light"));
                        else
                            QVERIFY2(c.meanLightness < 60, qPrintable(path + " is not dark"));
                    }
                    ++checked;
                }
                if (!entry.accent)
                    QVERIFY2(images[0] != images[1],
                             qPrintable(QStringLiteral("%1 is the same in both skins").arg(entry.fileName)));
            }
        }
        QVERIFY(checked >= int(res::kIconCount) * 2);
    }

    void applicationGlobalsPointsAtShippedIconsInBothSkins()
    {
        for (auto skin : {ApplicationGlobals::Skin::Dark, ApplicationGlobals::Skin::Light})
        {
            ApplicationGlobals::ApplySkin(skin);
            for (const res::IconEntry& entry : res::kIcons)
            {
                const QString name = QString::fromLatin1(entry.fileName);
                QVERIFY2(QFile::exists(ApplicationGlobals::Icon24(name)), qPrintable(ApplicationGlobals::Icon24(name)));
                QVERIFY2(QFile::exists(ApplicationGlobals::Icon36(name)), qPrintable(ApplicationGlobals::Icon36(name)));
                QVERIFY2(QFile::exists(ApplicationGlobals::Image16(name)),
                         qPrintable(ApplicationGlobals::Image16(name)));
                QVERIFY2(QFile::exists(ApplicationGlobals::Image48(name)),
                         qPrintable(ApplicationGlobals::Image48(name)));
            }
        }
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void iconFoldersHoldNothingOutsideTheTable()
    {
        QSet<QString> known;
        for (const res::IconEntry& entry : res::kIcons)
            known.insert(QString::fromLatin1(entry.fileName));
        QCOMPARE(known.size(), int(res::kIconCount));
        for (const res::IconFolderInfo& folder : res::kIconFolders)
        {
            for (const char* skin : res::kSkinDirectories)
            {
                const QString dir = QStringLiteral(":/resources/%1/%2").arg(folder.directory, skin);
                QDirIterator it(dir);
                int files = 0;
                while (it.hasNext())
                {
                    it.next();
                    QVERIFY2(known.contains(it.fileName()), qPrintable(it.filePath() + " is not in the table"));
                    ++files;
                }
                QVERIFY2(files > 0, qPrintable(dir + " is empty"));
            }
        }
    }

    void robotoFacesLoadFromTheResources()
    {
        QSet<QString> styles;
        for (const char* file : res::kFontFiles)
        {
            const QString path = QStringLiteral(":/resources/fonts/%1").arg(file);
            const int id = QFontDatabase::addApplicationFont(path);
            QVERIFY2(id >= 0, qPrintable(path + " does not load"));
            const QStringList families = QFontDatabase::applicationFontFamilies(id);
            QVERIFY2(families.contains(QStringLiteral("Roboto")), qPrintable(path + ": " + families.join(',')));
        }
        QFontDatabase database;
        QVERIFY(database.bold(QStringLiteral("Roboto"), QStringLiteral("Bold")));
        QVERIFY(database.italic(QStringLiteral("Roboto"), QStringLiteral("Italic")));
    }

    void languageFlagsAreDrawn()
    {
        for (const char* language : res::kLanguageFlags)
        {
            const QString path = QStringLiteral(":/resources/languages/%1.png").arg(language);
            const QImage flag(path);
            QVERIFY2(!flag.isNull(), qPrintable(path));
            QCOMPARE(flag.size(), QSize(res::kFlagWidth, res::kFlagHeight));
            // Every flag of the list has at least two colours inside its frame.
            QSet<QRgb> colours;
            for (int y = 2; y < flag.height() - 2; ++y)
                for (int x = 2; x < flag.width() - 2; ++x)
                    colours.insert(flag.pixel(x, y));
            QVERIFY2(colours.size() >= 2, qPrintable(path + " is one colour"));
        }
        // The two flags the language list shows are not the same picture.
        QVERIFY(QImage(QStringLiteral(":/resources/languages/english.png")) !=
                QImage(QStringLiteral(":/resources/languages/german.png")));
    }

    void windowIconAndLogosLoad()
    {
        QImageReader reader(QStringLiteral(":/resources/orna_lumivue.ico"));
        QVERIFY2(reader.canRead(), qPrintable(reader.errorString()));
        QVERIFY(reader.imageCount() >= 4);
        const QImage first = reader.read();
        QVERIFY2(!first.isNull(), qPrintable(reader.errorString()));
        const Coverage ico = Measure(first);
        QVERIFY(ico.opaque > 0 && ico.transparent > 0);
        const QIcon icon(QStringLiteral(":/resources/orna_lumivue.ico"));
        QVERIFY(!icon.isNull());
        QVERIFY(icon.availableSizes().size() >= 4);

        const QImage dark(QStringLiteral(":/resources/company_logo_dark.png"));
        const QImage light(QStringLiteral(":/resources/company_logo_light.png"));
        QVERIFY(!dark.isNull());
        QVERIFY(!light.isNull());
        QCOMPARE(dark.size(), light.size());
        QVERIFY(Measure(dark).opaque > 0 && Measure(dark).transparent > 0);
        QVERIFY(dark != light);
        QVERIFY(!QIcon(QStringLiteral(":/resources/company_logo_dark.png")).isNull());
    }

    void beepIsAShortPcmWave()
    {
        QFile file(QStringLiteral(":/resources/sound/beep.wav"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray wav = file.readAll();
        QVERIFY(wav.size() > 44);
        const auto* d = reinterpret_cast<const uchar*>(wav.constData());
        QCOMPARE(wav.left(4), QByteArray("RIFF"));
        QCOMPARE(qFromLittleEndian<quint32>(d + 4), quint32(wav.size() - 8));
        QCOMPARE(wav.mid(8, 8), QByteArray("WAVEfmt "));
        QCOMPARE(qFromLittleEndian<quint16>(d + 20), quint16(1)); // PCM
        const quint16 channels = qFromLittleEndian<quint16>(d + 22);
        const quint32 rate = qFromLittleEndian<quint32>(d + 24);
        const quint16 bits = qFromLittleEndian<quint16>(d + 34);
        QVERIFY(channels >= 1);
        QVERIFY(rate >= 8000);
        QCOMPARE(bits, quint16(16));
        QCOMPARE(wav.mid(36, 4), QByteArray("data"));
        const quint32 dataBytes = qFromLittleEndian<quint32>(d + 40);
        QCOMPARE(dataBytes, quint32(wav.size() - 44));
        const int samples = int(dataBytes / 2);
        const double seconds = double(samples) / channels / rate;
        QVERIFY2(seconds > 0.03 && seconds < 0.5, qPrintable(QString::number(seconds)));
        int peak = 0;
        for (int i = 0; i < samples; ++i)
            peak = qMax(peak, qAbs(int(qFromLittleEndian<qint16>(d + 44 + 2 * i))));
        QVERIFY2(peak > 3000, "the beep is silent");
        // A clear tone, not noise: the zero crossings give a pitch in the audible middle range, and the
        // header's sample rate agrees with the data (a wrong rate shifts the pitch).
        int crossings = 0;
        for (int i = 1; i < samples / channels; ++i)
        {
            const int a = qFromLittleEndian<qint16>(d + 44 + 2 * channels * (i - 1));
            const int b = qFromLittleEndian<qint16>(d + 44 + 2 * channels * i);
            crossings += (a < 0) != (b < 0);
        }
        const double pitch = crossings / 2.0 / seconds;
        QVERIFY2(pitch > 400 && pitch < 2000, qPrintable(QStringLiteral("pitch %1 Hz").arg(pitch)));
        // Fades at both ends: no click when the sound starts or stops.
        QVERIFY(qAbs(int(qFromLittleEndian<qint16>(d + 44))) < 500);
        QVERIFY(qAbs(int(qFromLittleEndian<qint16>(d + 44 + 2 * (samples - 1)))) < 500);
    }

    void germanTranslationLiesBesideTheProgram()
    {
        const QString base = QStringLiteral(LUMIVUE_BINARY_DIR "/german");
        QVERIFY2(QFile::exists(base + QStringLiteral(".qm")), qPrintable(base + ".qm is missing"));
        QTranslator translator;
        QVERIFY(translator.load(base));
        QVERIFY(!translator.isEmpty());
        QCOMPARE(translator.translate("MainWindow", "Warning"), QStringLiteral("Warnung"));
        QCOMPARE(translator.translate("InfoDialog", "OK"), QStringLiteral("OK"));
    }
};

QTEST_MAIN(TestResourcesBuiltin)
#include "test_resources_builtin.moc"
