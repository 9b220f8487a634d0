// The scene of a camera window's image display: paints the newest frame of its image source, and keeps the
// values the overlays, the magnifier and the mouse tools read (pens, measure calibration, mouse mode, the
// press and current points).
//
// How a frame reaches the screen: the capture worker stores its display image in the camera's buffer
// manager and signals; UpdateImage() only marks the scene dirty. Qt coalesces the updates into one
// repaint, and drawBackground() asks the source for whatever image is newest at that moment. Frames are
// never queued: images that arrive between two repaints are simply not shown.
//
// Zero copy: an 8-bit image is wrapped in a QImage that points at the image's own memory, while the paint
// holds the shared_ptr; nothing is copied per frame. Images of more bits (or packed, or YUV) are narrowed by
// orna::ipl's converter into a pre-allocated pool buffer that is reused from frame to frame.
//
// The magnifier (the "pixel viewer" of the camera window) paints in the foreground step, in screen pixels
// around the cursor: N = (c + 192) / c cells of c pixels on a side, the image part drawn from the display
// image, the theme's neutral colour where the square reaches outside the image, and in each cell the pixel's
// value read from the value source (the camera's last image, in its own bit depth: a 12-bit frame reads
// 0..4095). Only the N x N block under the square is read, never the whole frame, so the magnifier costs the
// same on a 5 MP image as on a small one.
//
// GUI thread only. The image source is called on the GUI thread; it must be safe against the capture thread
// replacing the image at the same time (the camera's buffer manager is).
#pragma once

#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"

#include <QColor>
#include <QGraphicsScene>
#include <QImage>
#include <QPen>
#include <QPoint>
#include <QRectF>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>

class CustomGraphicsScene : public QGraphicsScene
{
    Q_OBJECT

public:
    using ImageSource = std::function<std::shared_ptr<orna::ipl::Image>()>;

    // Mouse modes chosen by the camera window's toolbar.
    enum MouseMode
    {
        MouseModePlain = 0,
        MouseModeLine = 2,
        MouseModeRectangle = 3,
        MouseModeEllipse = 4,
        MouseModeMeasure = 5,
        MouseModeRoi = 6,
        MouseModeFreehand = 7,
    };

    explicit CustomGraphicsScene(QObject* parent = nullptr);
    ~CustomGraphicsScene() override;

    // --- Frames
    void SetImageSource(ImageSource source);
    bool HasImageSource() const { return static_cast<bool>(m_imageSource); }
    // Marks the frame area dirty; the next repaint takes the newest image. Cheap enough to call per frame.
    void UpdateImage();
    // With the display off the scene paints only its background.
    void SetDisplayEnabled(bool enabled);
    bool IsDisplayEnabled() const { return m_displayEnabled; }
    // What the scene shows instead of the image while display is off.
    static QString DisabledText();

    // Called at the end of every paint that drew a frame, on the GUI thread (latency measurements hook in
    // here). Keep it cheap: it runs inside the paint.
    void SetPaintedHook(std::function<void()> hook) { m_paintedHook = std::move(hook); }
    // Frames painted since construction (a repaint of the same image counts again).
    uint64_t PaintedFrames() const { return m_paintedFrames; }
    // Timestamp and pixel format of the image the last paint drew; 0 before the first.
    uint64_t LastPaintedTimestamp() const { return m_lastPaintedTimestamp; }
    uint32_t LastPaintedPixelFormat() const { return m_lastPaintedFormat; }
    // The QImage the last paint drew, deep-copied (for tests and the magnifier's reading; not per frame).
    QImage LastPaintedImageCopy() const;
    // The memory the last paint read from: the source image's own for 8-bit formats (no copy was made).
    const uchar* LastPaintedBits() const { return image.constBits(); }

    // The QImage::Format an 8-bit pixel format is drawn with without conversion, or Format_Invalid when
    // the image must first be narrowed (more bits, packed, YUV, unknown).
    static QImage::Format DirectFormat(uint32_t pixelFormat);
    // The format the converter narrows an image to for display, or 0 when there is none.
    static uint32_t DisplayFormatFor(uint32_t pixelFormat);

    // --- Magnifier
    // Where the pixel values come from: the frame as the camera delivered it (the last image). Without one
    // the values are read from the image the paint drew.
    void SetValueSource(ImageSource source) { m_valueSource = std::move(source); }
    void SetMagnifierEnabled(bool enabled);
    bool IsMagnifierEnabled() const { return m_magnifierEnabled; }
    // The number of cells on a side for a cell of `cell` screen pixels (about 192 pixels in all).
    static int MagnifierCells(int cell);
    // The first source pixel of the square centred on `pixel`.
    static QPoint MagnifierFirstPixel(const QPoint& pixel, int cell);
    // The value text of one image pixel as the position label shows it; empty outside the image or without one.
    QString ValueTextAt(const QPoint& pixel) const;
    // What the last magnifier paint wrote into the centre cell (one text on grey, three on colour images),
    // and the number of magnifier paints; for tests and the status line.
    QStringList MagnifierCentreTexts() const { return m_magnifierCentreTexts; }
    uint64_t MagnifierPaints() const { return m_magnifierPaints; }
    // The colour the square shows outside the image.
    static QColor MagnifierFillColor();

    // --- Geometry and zoom (kept here, driven by the view)
    int ImageWidth() const { return imageWidth; }
    int ImageHeight() const { return imageHeight; }
    void SetImageDimensions(int width, int height);
    double ScaleFactor() const { return scaleFactor; }
    void SetScaleFactorValue(double factor) { scaleFactor = factor; }
    int ScaleMode() const { return scaleMode; }
    void SetScaleModeValue(int mode) { scaleMode = mode; }
    QRectF VisibleArea() const { return visibleArea; }
    void SetVisibleArea(const QRectF& area) { visibleArea = area; }

    // --- Overlay values: stored; the next frame paints with them
    QPen Pen() const { return pen; }
    void SetPen(const QPen& p) { pen = p; }
    QPen PenSecond() const { return penSecond; }
    void SetPenSecond(const QPen& p) { penSecond = p; }
    QPen CrosshairPen() const { return crosshairPen; }
    void SetCrosshairPen(const QPen& p) { crosshairPen = p; }
    int Brightness() const { return brightness; }
    void SetBrightness(int value) { brightness = value; }
    double SourceValue() const { return sourceValue; }
    void SetSourceValue(double value) { sourceValue = value; }
    double DestValue() const { return destValue; }
    void SetDestValue(double value) { destValue = value; }
    QString DestUnit() const { return destUnit; }
    void SetDestUnit(const QString& unit) { destUnit = unit; }
    QPoint MagnifierPosition() const { return magnifierPosition; }
    // Repaints when the magnifier shows, so that it follows the cursor without a new frame.
    void SetMagnifierPosition(const QPoint& p);
    int MagnifierCell() const { return magnifierCell; }
    void SetMagnifierCell(int cell);

    // --- Mouse tools
    int MouseModeValue() const { return m_mouseMode; }
    void SetMouseMode(int mode) { m_mouseMode = mode; }
    QPointF PressPoint() const { return m_pressPoint; }
    QPointF CurrentPoint() const { return m_currentPoint; }
    void SetPressPoint(const QPointF& p) { m_pressPoint = p; }
    void SetCurrentPoint(const QPointF& p) { m_currentPoint = p; }
    void ClearMousePoints();

protected:
    void drawBackground(QPainter* painter, const QRectF& rect) override;
    void drawForeground(QPainter* painter, const QRectF& rect) override;

private:
    // Takes the newest image and makes m_frame (a QImage over its memory or over the narrowed copy) and
    // holds the images it points into until the next paint. False when there is nothing to draw.
    bool PrepareFrame();
    void PaintMagnifier(QPainter* painter);
    std::shared_ptr<orna::ipl::Image> ValueImage() const;

    // Fields in the order of their role.
    QImage image;
    int imageWidth = 0;
    int imageHeight = 0;
    double scaleFactor = 1.0;
    int scaleMode = 0;
    QRectF visibleArea;
    QPen pen;
    QPen penSecond;
    QPen crosshairPen;
    int brightness = 100;
    double sourceValue = 1000.0;
    double destValue = 1000.0;
    QString destUnit = QStringLiteral("px");
    QPoint magnifierPosition{-1, -1};
    int magnifierCell = 1;

    ImageSource m_imageSource;
    ImageSource m_valueSource;
    bool m_magnifierEnabled = false;
    QStringList m_magnifierCentreTexts;
    uint64_t m_magnifierPaints = 0;
    bool m_displayEnabled = true;
    // The image the current `image` wraps (the source's, or the narrowed one); held so that the memory
    // stays valid as long as `image` may be read.
    std::shared_ptr<orna::ipl::Image> m_heldImage;
    orna::ipl::Image m_narrowed;
    orna::ipl::ImageConverter m_converter;
    uint32_t m_poolSourceFormat = 0;
    uint32_t m_poolWidth = 0;
    uint32_t m_poolHeight = 0;
    uint32_t m_failedFormat = 0;
    bool m_frameDrawn = false;

    std::function<void()> m_paintedHook;
    uint64_t m_paintedFrames = 0;
    uint64_t m_lastPaintedTimestamp = 0;
    uint32_t m_lastPaintedFormat = 0;

    int m_mouseMode = MouseModePlain;
    QPointF m_pressPoint{-1, -1};
    QPointF m_currentPoint{-1, -1};
};
