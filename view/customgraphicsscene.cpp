#include "view/customgraphicsscene.h"

#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "orna/ipl/pixelformat.h"
#include "view/pixelreadout.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>

using orna::ipl::PixelFormat;

namespace {
// Destination pool size: the image being painted plus one being converted never collide.
constexpr size_t kPoolImages = 2;
// The magnifier square is about this wide, whatever the cell size.
constexpr int kMagnifierSpan = 192;
// The smallest font the cell values are written in.
constexpr double kMinimumTextPoints = 5.0;

QColor ThemeColor(const QColor& themed, Qt::GlobalColor fallback)
{
    return themed.isValid() ? themed : QColor(fallback);
}
} // namespace

CustomGraphicsScene::CustomGraphicsScene(QObject* parent) : QGraphicsScene(parent)
{
    pen = QPen(ApplicationGlobals::colorAccent.isValid() ? ApplicationGlobals::colorAccent : QColor(Qt::yellow), 2);
    penSecond =
        QPen(ApplicationGlobals::colorHighlight2.isValid() ? ApplicationGlobals::colorHighlight2 : QColor(Qt::cyan), 2);
    crosshairPen = QPen(QColor(Qt::red), 1);
    // The frame is painted in the background step; no item index is needed.
    setItemIndexMethod(QGraphicsScene::NoIndex);
}

CustomGraphicsScene::~CustomGraphicsScene() = default;

void CustomGraphicsScene::SetImageSource(ImageSource source)
{
    m_imageSource = std::move(source);
    update();
}

void CustomGraphicsScene::UpdateImage()
{
    // QGraphicsScene::update posts one emission of `changed` however often it is called before the loop
    // turns, and the views merge their viewport updates: this is where frames stop queueing.
    update(sceneRect());
}

QString CustomGraphicsScene::DisabledText()
{
    return tr("Image processing and display disabled");
}

void CustomGraphicsScene::SetDisplayEnabled(bool enabled)
{
    m_displayEnabled = enabled;
    update();
}

void CustomGraphicsScene::SetImageDimensions(int width, int height)
{
    imageWidth = width;
    imageHeight = height;
}

void CustomGraphicsScene::SetMagnifierEnabled(bool enabled)
{
    m_magnifierEnabled = enabled;
    m_magnifierCentreTexts.clear();
    update();
}

void CustomGraphicsScene::SetMagnifierPosition(const QPoint& p)
{
    if (p == magnifierPosition)
        return;
    magnifierPosition = p;
    if (m_magnifierEnabled)
        update();
}

void CustomGraphicsScene::SetMagnifierCell(int cell)
{
    magnifierCell = std::max(1, cell);
    if (m_magnifierEnabled)
        update();
}

int CustomGraphicsScene::MagnifierCells(int cell)
{
    const int c = std::max(1, cell);
    return (c + kMagnifierSpan) / c;
}

QPoint CustomGraphicsScene::MagnifierFirstPixel(const QPoint& pixel, int cell)
{
    // round((N - 1) / 2), half away from zero.
    const int half = static_cast<int>(std::lround((MagnifierCells(cell) - 1) / 2.0));
    return pixel - QPoint(half, half);
}

QColor CustomGraphicsScene::MagnifierFillColor()
{
    return ApplicationGlobals::colorGrey100.isValid() ? ApplicationGlobals::colorGrey100 : QColor(100, 100, 100);
}

std::shared_ptr<orna::ipl::Image> CustomGraphicsScene::ValueImage() const
{
    if (m_valueSource)
        if (std::shared_ptr<orna::ipl::Image> value = m_valueSource())
            if (!value->IsEmpty())
                return value;
    return m_heldImage;
}

QString CustomGraphicsScene::ValueTextAt(const QPoint& pixel) const
{
    const std::shared_ptr<orna::ipl::Image> value = ValueImage();
    if (!value || value->IsEmpty())
        return {};
    return pixelreadout::ValueText(*value, pixel);
}

void CustomGraphicsScene::ClearMousePoints()
{
    m_pressPoint = QPointF(-1, -1);
    m_currentPoint = QPointF(-1, -1);
}

QImage CustomGraphicsScene::LastPaintedImageCopy() const
{
    return image.copy();
}

QImage::Format CustomGraphicsScene::DirectFormat(uint32_t pixelFormat)
{
    using namespace orna::ipl;
    switch (pixelFormat)
    {
    case Mono8:
    case BayerGR8:
    case BayerRG8:
    case BayerGB8:
    case BayerBG8:
        return QImage::Format_Grayscale8;
    case RGB8:
        return QImage::Format_RGB888;
    case BGR8:
        return QImage::Format_BGR888;
    case RGBa8:
        return QImage::Format_RGBX8888;
    case BGRa8:
        // Bytes B, G, R, A are 0xAARRGGBB on a little-endian host; the alpha byte is not shown.
        return QImage::Format_RGB32;
    case RGB10p32:
        // First channel in bits 9..0: Qt's "x:2 b:10 g:10 r:10".
        return QImage::Format_BGR30;
    default:
        return QImage::Format_Invalid;
    }
}

uint32_t CustomGraphicsScene::DisplayFormatFor(uint32_t pixelFormat)
{
    if (!PixelFormat::IsKnown(pixelFormat))
        return 0;
    if (PixelFormat::IsMono(pixelFormat))
        return orna::ipl::Mono8;
    if (PixelFormat::IsBayered(pixelFormat))
        // The raw mosaic in grey, as the 8-bit Bayer display image is shown.
        return PixelFormat::BayerFormat(PixelFormat::GetBayerPattern(pixelFormat), 8);
    if (PixelFormat::IsYUV(pixelFormat))
        return orna::ipl::RGB8;
    if (PixelFormat::IsColor(pixelFormat))
        return PixelFormat::IsRGBOrder(pixelFormat) ? orna::ipl::RGB8 : orna::ipl::BGR8;
    return 0;
}

bool CustomGraphicsScene::PrepareFrame()
{
    if (!m_imageSource || !m_displayEnabled)
        return false;
    std::shared_ptr<orna::ipl::Image> source = m_imageSource();
    if (!source || source->IsEmpty())
        return false;

    const uint32_t format = source->GetPixelFormat();
    const auto width = static_cast<int>(source->GetWidth());
    const auto height = static_cast<int>(source->GetHeight());
    QImage::Format qformat = DirectFormat(format);
    if (qformat != QImage::Format_Invalid)
    {
        const auto bytesPerLine = static_cast<qsizetype>(source->GetByteCount() / static_cast<size_t>(height));
        // Released before the new image is taken over, so the pool of a narrowed frame is free again.
        image = QImage(static_cast<const uchar*>(source->GetData()), width, height, static_cast<int>(bytesPerLine),
                       qformat);
        m_heldImage = std::move(source);
        m_lastPaintedFormat = format;
        return !image.isNull();
    }

    const uint32_t displayFormat = DisplayFormatFor(format);
    if (displayFormat == 0)
        return false;
    try
    {
        // The previous narrowed frame goes first, so that its pool buffer is free for this one.
        image = QImage();
        m_narrowed = orna::ipl::Image();
        if (format != m_poolSourceFormat || source->GetWidth() != m_poolWidth || source->GetHeight() != m_poolHeight)
        {
            m_converter.PreAllocateConversion(format, displayFormat, source->GetWidth(), source->GetHeight(),
                                              kPoolImages);
            m_poolSourceFormat = format;
            m_poolWidth = source->GetWidth();
            m_poolHeight = source->GetHeight();
        }
        m_narrowed = m_converter.Convert(*source, displayFormat);
    }
    catch (const std::exception& e)
    {
        // Logged once per format; the next frames of the same kind fail silently.
        if (format != m_failedFormat)
            LogMessageSender::Error(QStringLiteral("-"), QStringLiteral("bool CustomGraphicsScene::PrepareFrame()"),
                                    tr("Cannot display image: ") + QString::fromUtf8(e.what()));
        m_failedFormat = format;
        m_poolSourceFormat = 0;
        m_heldImage.reset();
        return false;
    }
    qformat = DirectFormat(displayFormat);
    const auto bytesPerLine = static_cast<qsizetype>(m_narrowed.GetByteCount() / static_cast<size_t>(height));
    image =
        QImage(static_cast<const uchar*>(m_narrowed.GetData()), width, height, static_cast<int>(bytesPerLine), qformat);
    // The source stays held as well: the magnifier reads the deeper values from it.
    m_heldImage = std::move(source);
    m_lastPaintedFormat = format;
    return !image.isNull();
}

void CustomGraphicsScene::drawBackground(QPainter* painter, const QRectF& rect)
{
    const QColor background =
        ApplicationGlobals::colorBackground.isValid() ? ApplicationGlobals::colorBackground : QColor(Qt::black);
    painter->fillRect(rect, background);
    if (!m_displayEnabled)
    {
        painter->setPen(ApplicationGlobals::colorText.isValid() ? ApplicationGlobals::colorText : QColor(Qt::white));
        painter->drawText(rect, Qt::AlignCenter, DisabledText());
        m_frameDrawn = false;
        return;
    }
    m_frameDrawn = PrepareFrame();
    if (!m_frameDrawn)
        return;
    painter->drawImage(QPointF(0, 0), image);
}

void CustomGraphicsScene::drawForeground(QPainter* painter, const QRectF& rect)
{
    Q_UNUSED(rect)
    // Overlays and the rubber band are painted here by later tools; the magnifier lies on top of them.
    if (!m_frameDrawn)
        return;
    m_frameDrawn = false;
    PaintMagnifier(painter);
    ++m_paintedFrames;
    if (m_heldImage)
        m_lastPaintedTimestamp = m_heldImage->GetTimestamp();
    if (m_paintedHook)
        m_paintedHook();
}

void CustomGraphicsScene::PaintMagnifier(QPainter* painter)
{
    const QRect imageRect(0, 0, image.width(), image.height());
    if (!m_magnifierEnabled || image.isNull() || !imageRect.contains(magnifierPosition))
        return;
    const int c = std::max(1, magnifierCell);
    const int n = MagnifierCells(c);
    const QPoint first = MagnifierFirstPixel(magnifierPosition, c);
    const QRect source(first, QSize(n, n));
    const QRect inside = source.intersected(imageRect);
    // In screen pixels from here on, with the centre of the cursor's pixel at the origin.
    const QPointF centre = painter->transform().map(QPointF(magnifierPosition.x() + 0.5, magnifierPosition.y() + 0.5));
    painter->save();
    painter->resetTransform();
    painter->translate(std::round(centre.x()), std::round(centre.y()));
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter->setRenderHint(QPainter::Antialiasing, false);
    const int k = magnifierPosition.x() - first.x();
    const QPoint origin(-k * c - c / 2, -(magnifierPosition.y() - first.y()) * c - c / 2);
    const QRect square(origin, QSize(n * c, n * c));
    auto cellOf = [&](const QPoint& pixel) { return QRect(origin + (pixel - first) * c, QSize(c, c)); };

    if (inside != source)
        painter->fillRect(square, MagnifierFillColor());
    painter->drawImage(QRect(cellOf(inside.topLeft()).topLeft(), inside.size() * c), image, inside);

    // The values, in the frame's own depth. A value image of another size belongs to a frame that is not the
    // one shown (the format or size just changed): no texts rather than wrong ones.
    m_magnifierCentreTexts.clear();
    const std::shared_ptr<orna::ipl::Image> valueImage = ValueImage();
    const bool colour = valueImage && !valueImage->IsEmpty() &&
                        orna::ipl::PixelFormat::IsKnown(valueImage->GetPixelFormat()) &&
                        (orna::ipl::PixelFormat::IsColor(valueImage->GetPixelFormat()) ||
                         orna::ipl::PixelFormat::IsYUV(valueImage->GetPixelFormat()));
    if (valueImage && int(valueImage->GetWidth()) == image.width() && int(valueImage->GetHeight()) == image.height())
    {
        const PixelBlock block = pixelreadout::Read(*valueImage, inside);
        QFont font = ApplicationGlobals::fontSmall;
        if (font.family().isEmpty())
            font = painter->font();
        const int lines = std::max(1, block.channels);
        const QString widest = QString::number((1 << block.bitDepth) - 1);
        QFontMetrics metrics(font);
        const auto fits = [&] { return metrics.horizontalAdvance(widest) + 2 <= c && lines * metrics.height() <= c; };
        if (!fits() && font.pointSizeF() > 0)
        {
            // A smaller cell takes a smaller font, down to what stays legible.
            const double scale = std::min(double(c - 2) / std::max(1, metrics.horizontalAdvance(widest)),
                                          double(c) / (lines * metrics.height()));
            font.setPointSizeF(std::max(kMinimumTextPoints, font.pointSizeF() * scale));
            metrics = QFontMetrics(font);
        }
        painter->setFont(font);
        // Texts only where they fit whole; a smaller cell shows the enlarged pixels alone.
        if (block.IsValid() && fits())
        {
            const double full = double((1 << block.bitDepth) - 1);
            const QColor channelColors[3] = {ThemeColor(ApplicationGlobals::colorRedStrong, Qt::red),
                                             ThemeColor(ApplicationGlobals::colorGreenStrong, Qt::green),
                                             ThemeColor(ApplicationGlobals::colorBlueStrong, Qt::blue)};
            for (int y = inside.top(); y <= inside.bottom(); ++y)
                for (int x = inside.left(); x <= inside.right(); ++x)
                {
                    const QPoint pixel(x, y);
                    const std::array<int, 3> v = block.At(pixel);
                    const QRect cell = cellOf(pixel);
                    const bool isCentre = pixel == magnifierPosition;
                    if (lines == 1)
                    {
                        const QString text = QString::number(v[0]);
                        // Dark text on bright pixels, bright text on dark ones.
                        painter->setPen(v[0] > full / 2 ? QColor(Qt::black) : QColor(Qt::white));
                        painter->drawText(cell, Qt::AlignCenter, text);
                        if (isCentre)
                            m_magnifierCentreTexts << text;
                        continue;
                    }
                    const int top = cell.top() + (c - lines * metrics.height()) / 2;
                    for (int channel = 0; channel < 3; ++channel)
                    {
                        const QString text = QString::number(v[size_t(channel)]);
                        painter->setPen(channelColors[channel]);
                        painter->drawText(QRect(cell.left(), top + channel * metrics.height(), c, metrics.height()),
                                          Qt::AlignCenter, text);
                        if (isCentre)
                            m_magnifierCentreTexts << text;
                    }
                }
        }
    }

    // Outlines: the whole square and the cursor's cell.
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(ThemeColor(ApplicationGlobals::colorBorder, Qt::darkGray), 1));
    painter->drawRect(square.adjusted(-1, -1, 0, 0));
    const QRect centreCell = cellOf(magnifierPosition).adjusted(-1, -1, 0, 0);
    if (colour)
    {
        // On colour pixels no fixed colour stands out everywhere: an inverting outline first, then the pen.
        painter->setCompositionMode(static_cast<QPainter::CompositionMode>(20));
        painter->setPen(QPen(Qt::white, 3));
        painter->drawRect(centreCell);
        painter->setCompositionMode(static_cast<QPainter::CompositionMode>(0));
    }
    painter->setPen(QPen(ThemeColor(ApplicationGlobals::colorAccent, Qt::yellow), 1));
    painter->drawRect(centreCell);

    // The bar under the square.
    QFont barFont = ApplicationGlobals::fontSmall;
    if (barFont.family().isEmpty())
        barFont = painter->font();
    painter->setFont(barFont);
    const QFontMetrics barMetrics(barFont);
    const QRect bar(square.left() - 1, square.bottom() + 1, square.width() + 1, barMetrics.height() + 4);
    painter->fillRect(bar, ThemeColor(ApplicationGlobals::colorBackground, Qt::black));
    painter->setPen(ThemeColor(ApplicationGlobals::colorText, Qt::white));
    painter->drawText(bar, Qt::AlignCenter, tr("Zoom factor:") + QStringLiteral(" ") + QString::number(c));
    painter->restore();
    ++m_magnifierPaints;
}
