#include "tools/iconrender/artwork.h"

#include <QDataStream>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <cmath>
#include <functional>
#include <map>

namespace artwork {

// --- Flags

namespace {

using FlagPainter = std::function<void(QPainter&, qreal w, qreal h)>;

void Stripes(QPainter& p, qreal w, qreal h, const QVector<QColor>& colors, const QVector<qreal>& weights, bool vertical)
{
    qreal total = 0;
    for (qreal weight : weights)
        total += weight;
    qreal at = 0;
    for (int i = 0; i < colors.size(); ++i)
    {
        const qreal size = weights[i] / total * (vertical ? w : h);
        p.fillRect(vertical ? QRectF(at, 0, size, h) : QRectF(0, at, w, size), colors[i]);
        at += size;
    }
}

QPainterPath Star(QPointF centre, qreal outer, qreal rotationDegrees = 0)
{
    QPainterPath star;
    const qreal inner = outer * 0.382;
    for (int i = 0; i < 10; ++i)
    {
        const qreal angle = qDegreesToRadians(rotationDegrees - 90.0 + i * 36.0);
        const qreal r = (i % 2 == 0) ? outer : inner;
        const QPointF point(centre.x() + r * std::cos(angle), centre.y() + r * std::sin(angle));
        if (i == 0)
            star.moveTo(point);
        else
            star.lineTo(point);
    }
    star.closeSubpath();
    return star;
}

const QColor kRed(206, 17, 38);
const QColor kWhite(255, 255, 255);
const QColor kBlue(0, 56, 168);
const QColor kGreen(0, 140, 69);
const QColor kYellow(255, 206, 0);

const std::map<QString, FlagPainter>& FlagPainters()
{
    static const std::map<QString, FlagPainter> painters = {
        {"english",
         [](QPainter& p, qreal w, qreal h) {
             // Union flag, simplified: the saltires are not counterchanged.
             p.fillRect(QRectF(0, 0, w, h), QColor(1, 33, 105));
             p.setPen(QPen(kWhite, h * 0.2));
             p.drawLine(QPointF(0, 0), QPointF(w, h));
             p.drawLine(QPointF(0, h), QPointF(w, 0));
             p.setPen(QPen(QColor(200, 16, 46), h * 0.08));
             p.drawLine(QPointF(0, 0), QPointF(w, h));
             p.drawLine(QPointF(0, h), QPointF(w, 0));
             p.fillRect(QRectF(w / 2 - h / 6, 0, h / 3, h), kWhite);
             p.fillRect(QRectF(0, h / 3, w, h / 3), kWhite);
             p.fillRect(QRectF(w / 2 - h / 10, 0, h / 5, h), QColor(200, 16, 46));
             p.fillRect(QRectF(0, h / 2 - h / 10, w, h / 5), QColor(200, 16, 46));
         }},
        {"spanish",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(170, 21, 27), QColor(241, 191, 0), QColor(170, 21, 27)}, {1, 2, 1}, false);
         }},
        {"polish",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {kWhite, QColor(220, 20, 60)}, {1, 1}, false);
         }},
        {"hungarian",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(205, 42, 62), kWhite, QColor(67, 111, 77)}, {1, 1, 1}, false);
         }},
        {"portuguese",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(0, 102, 0), QColor(255, 0, 0)}, {2, 3}, true);
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(255, 255, 0));
             p.drawEllipse(QPointF(w * 0.4, h / 2), h * 0.22, h * 0.22);
         }},
        {"southkorean",
         [](QPainter& p, qreal w, qreal h) {
             p.fillRect(QRectF(0, 0, w, h), kWhite);
             const QPointF c(w / 2, h / 2);
             const qreal r = h * 0.25;
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(205, 46, 58));
             p.drawPie(QRectF(c.x() - r, c.y() - r, 2 * r, 2 * r), 0, 180 * 16);
             p.setBrush(QColor(0, 71, 160));
             p.drawPie(QRectF(c.x() - r, c.y() - r, 2 * r, 2 * r), 180 * 16, 180 * 16);
             // The four trigrams, as three short bars across each diagonal.
             p.setPen(QPen(Qt::black, h * 0.06));
             for (int sx : {-1, 1})
                 for (int sy : {-1, 1})
                 {
                     QPointF d(sx * w * 0.30, sy * h * 0.30);
                     const qreal length = std::hypot(d.x(), d.y());
                     const QPointF unit = d / length;
                     const QPointF across(-unit.y() * h * 0.09, unit.x() * h * 0.09);
                     for (int bar = -1; bar <= 1; ++bar)
                     {
                         const QPointF at = c + d + unit * (bar * h * 0.08);
                         p.drawLine(at - across, at + across);
                     }
                 }
         }},
        {"japanese",
         [](QPainter& p, qreal w, qreal h) {
             p.fillRect(QRectF(0, 0, w, h), kWhite);
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(188, 0, 45));
             p.drawEllipse(QPointF(w / 2, h / 2), h * 0.3, h * 0.3);
         }},
        {"myanmar",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(254, 203, 0), QColor(52, 178, 51), QColor(234, 40, 57)}, {1, 1, 1}, false);
             p.fillPath(Star(QPointF(w / 2, h * 0.55), h * 0.45), kWhite);
         }},
        {"german",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {Qt::black, QColor(221, 0, 0), QColor(255, 206, 0)}, {1, 1, 1}, false);
         }},
        {"french",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(0, 35, 149), kWhite, QColor(237, 41, 57)}, {1, 1, 1}, true);
         }},
        {"dutch",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(174, 28, 40), kWhite, QColor(33, 70, 139)}, {1, 1, 1}, false);
         }},
        {"czech",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {kWhite, QColor(215, 20, 26)}, {1, 1}, false);
             QPainterPath wedge;
             wedge.moveTo(0, 0);
             wedge.lineTo(w / 2, h / 2);
             wedge.lineTo(0, h);
             wedge.closeSubpath();
             p.fillPath(wedge, QColor(17, 69, 126));
         }},
        {"chinese",
         [](QPainter& p, qreal w, qreal h) {
             p.fillRect(QRectF(0, 0, w, h), QColor(238, 28, 37));
             const QColor gold(255, 255, 0);
             p.fillPath(Star(QPointF(w * 0.17, h * 0.27), h * 0.17), gold);
             p.fillPath(Star(QPointF(w * 0.33, h * 0.12), h * 0.06, 20), gold);
             p.fillPath(Star(QPointF(w * 0.40, h * 0.22), h * 0.06, 45), gold);
             p.fillPath(Star(QPointF(w * 0.40, h * 0.36), h * 0.06, 0), gold);
             p.fillPath(Star(QPointF(w * 0.33, h * 0.46), h * 0.06, 20), gold);
         }},
        {"thai",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(165, 25, 49), kWhite, QColor(45, 42, 74), kWhite, QColor(165, 25, 49)},
                     {1, 1, 2, 1, 1}, false);
         }},
        {"italian",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {QColor(0, 146, 70), kWhite, QColor(206, 43, 55)}, {1, 1, 1}, true);
         }},
        {"russian",
         [](QPainter& p, qreal w, qreal h) {
             Stripes(p, w, h, {kWhite, QColor(0, 57, 166), QColor(213, 43, 30)}, {1, 1, 1}, false);
         }},
    };
    return painters;
}

} // namespace

QImage Flag(const QString& language, int width, int height)
{
    const auto& painters = FlagPainters();
    const auto found = painters.find(language);
    if (found == painters.end())
        return {};
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    found->second(painter, width, height);
    // A thin grey frame keeps white-edged flags visible on the light skin.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QColor(128, 128, 128, 160));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(0, 0, width - 1, height - 1);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

// --- Aperture mark and logos

QImage ApertureMark(int pixels, const QColor& color)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF c(pixels / 2.0, pixels / 2.0);
    const qreal outer = pixels * 0.47;
    const qreal opening = outer * 0.42;
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(c, outer, outer);

    // Each blade edge runs from a corner of the hexagonal opening along the next side, out to the rim;
    // the hexagon and these gaps are cut out of the disc.
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    QPolygonF hexagon;
    for (int i = 0; i < 6; ++i)
    {
        const qreal angle = qDegreesToRadians(-90.0 + i * 60.0);
        hexagon << QPointF(c.x() + opening * std::cos(angle), c.y() + opening * std::sin(angle));
    }
    painter.setBrush(Qt::black);
    painter.drawPolygon(hexagon);
    painter.setPen(QPen(Qt::black, qMax(1.0, pixels * 0.035), Qt::SolidLine, Qt::FlatCap));
    for (int i = 0; i < 6; ++i)
    {
        const QPointF from = hexagon[i];
        const QPointF along = hexagon[(i + 1) % 6] - from;
        const qreal length = std::hypot(along.x(), along.y());
        painter.drawLine(from, from + along / length * outer * 1.2);
    }
    painter.end();
    // The blade lines run past the rim; clipping to the disc keeps the outline round.
    QImage clipped(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    clipped.fill(Qt::transparent);
    QPainter clip(&clipped);
    clip.setRenderHint(QPainter::Antialiasing);
    QPainterPath disc;
    disc.addEllipse(c, outer, outer);
    clip.setClipPath(disc);
    clip.drawImage(0, 0, image);
    clip.end();
    return clipped.convertToFormat(QImage::Format_ARGB32);
}

QImage Logo(const QColor& textColor, const QColor& accent, const QString& textFamily)
{
    // Twice the 337 by 105 of the empty-desk hint, so the hint stays sharp on high-DPI screens.
    constexpr int kWidth = 674;
    constexpr int kHeight = 210;
    constexpr int kMargin = 12;
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const int mark = kHeight - 2 * kMargin;
    painter.drawImage(kMargin, kMargin, ApertureMark(mark, accent));

    QFont font(textFamily);
    font.setBold(true);
    font.setPixelSize(kHeight * 2 / 3);
    font.setLetterSpacing(QFont::AbsoluteSpacing, kHeight / 30.0);
    QPainterPath text;
    text.addText(0, 0, font, QStringLiteral("KVX"));
    const QRectF bounds = text.boundingRect();
    const QRectF area(kMargin + mark, 0, kWidth - mark - 2 * kMargin, kHeight);
    painter.translate(area.center() - bounds.center());
    painter.fillPath(text, textColor);
    painter.end();
    return image.convertToFormat(QImage::Format_ARGB32);
}

// --- Containers

QByteArray IcoFile(const QVector<QImage>& images)
{
    QByteArray out;
    QDataStream stream(&out, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << quint16(0) << quint16(1) << quint16(images.size());

    // Each entry: BITMAPINFOHEADER, bottom-up BGRA rows, then the 1 bit AND mask (all zero: the alpha
    // channel decides), its rows padded to 32 bits.
    QVector<QByteArray> bodies;
    for (const QImage& source : images)
    {
        const QImage image = source.convertToFormat(QImage::Format_ARGB32);
        const int w = image.width();
        const int h = image.height();
        const int maskStride = ((w + 31) / 32) * 4;
        QByteArray body;
        QDataStream b(&body, QIODevice::WriteOnly);
        b.setByteOrder(QDataStream::LittleEndian);
        b << quint32(40) << qint32(w) << qint32(2 * h) << quint16(1) << quint16(32) << quint32(0)
          << quint32(w * h * 4 + maskStride * h) << qint32(0) << qint32(0) << quint32(0) << quint32(0);
        for (int y = h - 1; y >= 0; --y)
        {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < w; ++x)
                b << quint8(qBlue(line[x])) << quint8(qGreen(line[x])) << quint8(qRed(line[x]))
                  << quint8(qAlpha(line[x]));
        }
        body.append(QByteArray(maskStride * h, '\0'));
        bodies.append(body);
    }
    quint32 offset = 6 + 16 * images.size();
    for (int i = 0; i < images.size(); ++i)
    {
        const int w = images[i].width();
        const int h = images[i].height();
        stream << quint8(w >= 256 ? 0 : w) << quint8(h >= 256 ? 0 : h) << quint8(0) << quint8(0) << quint16(1)
               << quint16(32) << quint32(bodies[i].size()) << offset;
        offset += bodies[i].size();
    }
    for (const QByteArray& body : bodies)
        stream.writeRawData(body.constData(), body.size());
    return out;
}

QByteArray BeepWav(int sampleRate, double frequency, int milliseconds, int fadeMilliseconds, double amplitude)
{
    const int samples = sampleRate * milliseconds / 1000;
    const int fade = sampleRate * fadeMilliseconds / 1000;
    QByteArray out;
    QDataStream s(&out, QIODevice::WriteOnly);
    s.setByteOrder(QDataStream::LittleEndian);
    const quint32 dataBytes = quint32(samples) * 2;
    s.writeRawData("RIFF", 4);
    s << quint32(36 + dataBytes);
    s.writeRawData("WAVE", 4);
    s.writeRawData("fmt ", 4);
    s << quint32(16) << quint16(1) << quint16(1) << quint32(sampleRate) << quint32(sampleRate * 2) << quint16(2)
      << quint16(16);
    s.writeRawData("data", 4);
    s << dataBytes;
    for (int i = 0; i < samples; ++i)
    {
        double gain = amplitude;
        if (fade > 0 && i < fade)
            gain *= double(i) / fade;
        if (fade > 0 && samples - 1 - i < fade)
            gain *= double(samples - 1 - i) / fade;
        const double value = gain * std::sin(2.0 * M_PI * frequency * i / sampleRate);
        s << qint16(std::lround(value * 32767.0));
    }
    return out;
}

} // namespace artwork
