#include "view/customgraphicsscene.h"

#include "app/applicationglobals.h"
#include "app/logmessagesender.h"
#include "orna/ipl/pixelformat.h"

#include <QPainter>

using orna::ipl::PixelFormat;

namespace {
// Destination pool size: the image being painted plus one being converted never collide.
constexpr size_t kPoolImages = 2;
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
    m_frameDrawn = PrepareFrame();
    if (!m_frameDrawn)
        return;
    painter->drawImage(QPointF(0, 0), image);
}

void CustomGraphicsScene::drawForeground(QPainter* painter, const QRectF& rect)
{
    Q_UNUSED(painter)
    Q_UNUSED(rect)
    // Overlays, the magnifier and the rubber band are painted here by later tools.
    if (!m_frameDrawn)
        return;
    m_frameDrawn = false;
    ++m_paintedFrames;
    if (m_heldImage)
        m_lastPaintedTimestamp = m_heldImage->GetTimestamp();
    if (m_paintedHook)
        m_paintedHook();
}
