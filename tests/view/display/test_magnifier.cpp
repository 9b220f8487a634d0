// The magnifier of the image display ("Pixel viewer"): the values it writes are the frame's own (12-bit, packed,
// colour), the square is centred on the cursor with N cells following the cell size, and the part outside the
// image shows the neutral fill.
#include "common/applicationglobals.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"
#include "view/customgraphicsview.h"
#include "view/pixelreadout.h"

#include <QApplication>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <memory>

namespace {

using ImagePtr = std::shared_ptr<orna::ipl::Image>;

// A 16-bit mono image whose pixel (x, y) holds (x * 37 + y * 101) % range, and `special` at `at`.
ImagePtr MakeMono16(uint32_t format, int w, int h, int range, QPoint at, int special)
{
    auto image = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(format, w, h));
    auto* samples = reinterpret_cast<uint16_t*>(image->GetData());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            samples[y * w + x] = static_cast<uint16_t>((x * 37 + y * 101) % range);
    samples[at.y() * w + at.x()] = static_cast<uint16_t>(special);
    return image;
}

// PFNC "p" packing, written independently of the library: one LSB-first bit stream of `bits` per pixel.
ImagePtr PackLsbFirst(const orna::ipl::Image& plain, uint32_t packedFormat, int bits)
{
    auto packed = std::make_shared<orna::ipl::Image>(
        orna::ipl::Image::Construct(packedFormat, plain.GetWidth(), plain.GetHeight()));
    std::memset(packed->GetData(), 0, packed->GetByteCount());
    const auto* samples = reinterpret_cast<const uint16_t*>(plain.GetData());
    const size_t count = size_t(plain.GetWidth()) * plain.GetHeight();
    for (size_t i = 0; i < count; ++i)
        for (int b = 0; b < bits; ++b)
            if ((samples[i] >> b) & 1)
            {
                const size_t bit = i * size_t(bits) + size_t(b);
                packed->GetData()[bit / 8] |= static_cast<uint8_t>(1u << (bit % 8));
            }
    return packed;
}

// An 8-bit grey ramp: column x has the value x (mod 256).
ImagePtr MakeColumnRamp(int w, int h)
{
    auto image = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(orna::ipl::Mono8, w, h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image->GetData()[y * w + x] = static_cast<uint8_t>(x % 256);
    return image;
}

void MoveTo(CustomGraphicsView* view, QPoint pos)
{
    QMouseEvent event(QEvent::MouseMove, pos, view->viewport()->mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                      Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
}

// A display at free zoom 1 showing `shown`, with the magnifier on at `cell` and the cursor on `pixel`.
struct MagnifierFixture
{
    CustomDisplay display;

    MagnifierFixture(ImagePtr shown, ImagePtr values, int cell, QPoint pixel)
    {
        display.resize(640, 480);
        display.show();
        display.SetImageSize(static_cast<int>(shown->GetWidth()), static_cast<int>(shown->GetHeight()));
        display.SetScaleFactor(1.0);
        display.SetImageSource([shown] { return shown; });
        if (values)
            display.Scene()->SetValueSource([values] { return values; });
        display.Scene()->SetMagnifierCell(cell);
        display.Scene()->SetMagnifierEnabled(true);
        display.Scene()->SetMagnifierPosition(pixel);
    }
    QPoint CentreOnScreen(QPoint pixel) const
    {
        const QPointF p = display.View()->mapFromScene(QPointF(pixel.x() + 0.5, pixel.y() + 0.5));
        return QPoint(qRound(p.x()), qRound(p.y()));
    }
    bool PaintOnce()
    {
        const uint64_t before = display.Scene()->MagnifierPaints();
        display.UpdateDisplay();
        return QTest::qWaitFor([&] { return display.Scene()->MagnifierPaints() > before; }, 5000);
    }
    QImage Grab() const { return display.View()->viewport()->grab().toImage(); }
};

} // namespace

class TestMagnifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    // --- Values

    void centreTextIsTheFramesValue_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<bool>("separateDisplayImage");
        QTest::addColumn<QStringList>("expected");
        // 3000 does not survive a narrowing to 8 bits (3000 >> 4 = 187): only the frame itself has it.
        QTest::newRow("Mono12") << "Mono12" << false << QStringList{"3000"};
        QTest::newRow("Mono12, 8-bit display image beside") << "Mono12" << true << QStringList{"3000"};
        QTest::newRow("Mono12p") << "Mono12p" << false << QStringList{"3000"};
        QTest::newRow("Mono10p") << "Mono10p" << false << QStringList{"1000"};
        QTest::newRow("RGB8") << "RGB8" << false << QStringList{"200", "100", "20"};
        QTest::newRow("BGRa8") << "BGRa8" << false << QStringList{"200", "100", "20"};
        QTest::newRow("RGB12") << "RGB12" << false << QStringList{"3200", "1600", "320"};
    }

    void centreTextIsTheFramesValue()
    {
        QFETCH(QString, format);
        QFETCH(bool, separateDisplayImage);
        QFETCH(QStringList, expected);
        const uint32_t code = orna::ipl::PixelFormat::FromName(format.toStdString());
        const QPoint at(13, 9);
        const int w = 40;
        const int h = 24;
        ImagePtr frame;
        if (orna::ipl::PixelFormat::IsColor(code))
        {
            // Grey around, one coloured pixel at `at`.
            auto rgb = orna::ipl::Image::Construct(orna::ipl::RGB12, w, h);
            auto* samples = reinterpret_cast<uint16_t*>(rgb.GetData());
            for (int i = 0; i < w * h; ++i)
                samples[3 * i] = samples[3 * i + 1] = samples[3 * i + 2] = static_cast<uint16_t>((i * 16) % 4096);
            const int i = at.y() * w + at.x();
            samples[3 * i] = 3200;
            samples[3 * i + 1] = 1600;
            samples[3 * i + 2] = 320;
            frame = std::make_shared<orna::ipl::Image>(code == orna::ipl::RGB12 ? std::move(rgb) : rgb.ConvertTo(code));
        }
        else
        {
            const int bits = orna::ipl::PixelFormat::GetNumSignificantBitsPerChannel(code);
            const uint32_t plainFormat = orna::ipl::PixelFormat::GetUnpackedFormat(code);
            ImagePtr plain = MakeMono16(plainFormat, w, h, 1 << bits, at, bits == 12 ? 3000 : 1000);
            frame = plainFormat == code ? plain : PackLsbFirst(*plain, code, bits);
        }
        QCOMPARE(frame->GetPixelFormat(), code);
        ImagePtr shown = frame;
        if (separateDisplayImage)
            shown = std::make_shared<orna::ipl::Image>(frame->ConvertTo(orna::ipl::Mono8));

        // 48 pixels a cell: room for three lines of text.
        MagnifierFixture fixture(shown, separateDisplayImage ? frame : nullptr, 48, at);
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.display));
        QVERIFY(fixture.PaintOnce());
        QCOMPARE(fixture.display.Scene()->MagnifierCentreTexts(), expected);

        // The position label's value reads the same pixel the same way.
        const QString value = fixture.display.Scene()->ValueTextAt(at);
        QCOMPARE(value, expected.size() == 1
                            ? expected[0]
                            : QStringLiteral("R: %1 G: %2 B: %3").arg(expected[0], expected[1], expected[2]));
    }

    void readoutOfABlockMatchesEachPixel()
    {
        // A block reaching over the image edge: inside pixels carry their values, outside ones -1; packed rows
        // starting at odd offsets decode from their own group.
        const int w = 21;
        const int h = 5;
        ImagePtr plain = MakeMono16(orna::ipl::Mono12, w, h, 4096, QPoint(0, 0), 7);
        ImagePtr packed = PackLsbFirst(*plain, orna::ipl::Mono12p, 12);
        const QRect area(15, 2, 9, 4);
        const PixelBlock block = pixelreadout::Read(*packed, area);
        QCOMPARE(block.channels, 1);
        QCOMPARE(block.bitDepth, 12);
        const auto* samples = reinterpret_cast<const uint16_t*>(plain->GetData());
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
            {
                const int expected = (x < w && y < h) ? samples[y * w + x] : -1;
                QCOMPARE(block.At(QPoint(x, y))[0], expected);
            }
    }

    // --- Geometry

    void cellCountFollowsTheZoom_data()
    {
        QTest::addColumn<int>("cell");
        QTest::addColumn<int>("cells");
        QTest::newRow("4") << 4 << 49;
        QTest::newRow("8") << 8 << 25;
        QTest::newRow("16") << 16 << 13;
        QTest::newRow("24") << 24 << 9;
    }

    void cellCountFollowsTheZoom()
    {
        QFETCH(int, cell);
        QFETCH(int, cells);
        QCOMPARE(CustomGraphicsScene::MagnifierCells(cell), cells);
        // Column x is grey x: along the cursor's row, cell j of the square shows column 100 + j up to the
        // square's edge, and beyond it the unmagnified image at zoom 1 (column 100 + screen offset).
        const QPoint pixel(100, 60);
        MagnifierFixture fixture(MakeColumnRamp(240, 120), nullptr, cell, pixel);
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.display));
        QVERIFY(fixture.PaintOnce());
        const QImage shot = fixture.Grab();
        const QPoint centre = fixture.CentreOnScreen(pixel);
        const int half = (cells - 1) / 2;
        // Two pixels into each cell from its top-left corner: clear of texts and outlines.
        const int rowY = centre.y() - cell / 2 + 2;
        for (const int j : {-half, -half + 1, -1, 1, half - 1, half})
        {
            const int x = centre.x() + j * cell - cell / 2 + 2;
            QCOMPARE(qGray(shot.pixel(x, rowY)), 100 + j);
        }
        const int beyond = centre.x() + half * cell + cell / 2 + 3;
        const QPointF underneath = fixture.display.View()->mapToScene(QPoint(beyond, rowY));
        QCOMPARE(qGray(shot.pixel(beyond, rowY)), int(std::floor(underneath.x())));
        QVERIFY(int(std::floor(underneath.x())) > 100 + half);
    }

    void outsideTheImageIsNeutral()
    {
        // The cursor on the top-left pixel: the cells left of and above it lie outside the image.
        const int cell = 16;
        MagnifierFixture fixture(MakeColumnRamp(240, 120), nullptr, cell, QPoint(0, 0));
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.display));
        QVERIFY(fixture.PaintOnce());
        const QImage shot = fixture.Grab();
        const QPoint centre = fixture.CentreOnScreen(QPoint(0, 0));
        const QColor fill = CustomGraphicsScene::MagnifierFillColor();
        auto at = [&](int cx, int cy) {
            return QColor(shot.pixel(centre.x() + cx * cell - cell / 2 + 2, centre.y() + cy * cell - cell / 2 + 2));
        };
        QCOMPARE(at(-1, 0).rgb(), fill.rgb());
        QCOMPARE(at(-3, -3).rgb(), fill.rgb());
        QCOMPARE(at(2, -1).rgb(), fill.rgb());
        // Inside: the image's own columns.
        QCOMPARE(qGray(at(2, 2).rgb()), 2);
        QCOMPARE(qGray(at(5, 0).rgb()), 5);
    }

    void cursorMovesAndLeaveHideTheSquare()
    {
        MagnifierFixture fixture(MakeColumnRamp(240, 120), nullptr, 8, QPoint(-1, -1));
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.display));
        const QPoint onScreen = fixture.display.View()->mapFromScene(QPointF(50.3, 40.3));
        MoveTo(fixture.display.View(), onScreen);
        QCOMPARE(fixture.display.Scene()->MagnifierPosition(), QPoint(50, 40));
        QVERIFY(fixture.PaintOnce());
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(fixture.display.View(), &leave);
        QCOMPARE(fixture.display.Scene()->MagnifierPosition(), QPoint(-1, -1));
    }
};

QTEST_MAIN(TestMagnifier)
#include "test_magnifier.moc"
