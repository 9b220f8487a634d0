// The image display: scene size and zoom rules, wheel and pan, the pixel readout, narrowing of deep mono
// images, and that a fast producer never makes frames queue up in the GUI thread.
#include "common/applicationglobals.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"
#include "view/customgraphicsview.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

namespace {

std::shared_ptr<orna::ipl::Image> MakeMono8(int w, int h, uint8_t value, uint64_t timestamp = 0)
{
    auto image = std::make_shared<orna::ipl::Image>(orna::ipl::Image::Construct(orna::ipl::Mono8, w, h));
    std::memset(image->GetData(), value, image->GetByteCount());
    image->SetTimestamp(timestamp);
    return image;
}

// PFNC "p" packing, written independently of the library: one LSB-first bit stream of `bits` per pixel.
orna::ipl::Image PackLsbFirst(const orna::ipl::Image& plain, uint32_t packedFormat, int bits)
{
    auto packed = orna::ipl::Image::Construct(packedFormat, plain.GetWidth(), plain.GetHeight());
    std::memset(packed.GetData(), 0, packed.GetByteCount());
    const auto* samples = reinterpret_cast<const uint16_t*>(plain.GetData());
    const size_t count = size_t(plain.GetWidth()) * plain.GetHeight();
    for (size_t i = 0; i < count; ++i)
        for (int b = 0; b < bits; ++b)
            if ((samples[i] >> b) & 1)
            {
                const size_t bit = i * bits + b;
                packed.GetData()[bit / 8] |= static_cast<uint8_t>(1u << (bit % 8));
            }
    return packed;
}

// Sends a wheel event with the given angle delta to the view's viewport.
void Wheel(CustomGraphicsView* view, QPoint angle, Qt::KeyboardModifiers modifiers)
{
    const QPoint pos = view->viewport()->rect().center();
    QWheelEvent event(pos, view->viewport()->mapToGlobal(pos), QPoint(), angle, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &event);
}

void Mouse(CustomGraphicsView* view, QEvent::Type type, QPoint pos, Qt::MouseButton button, Qt::MouseButtons buttons)
{
    QMouseEvent event(type, pos, view->viewport()->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
}

// A camera stand-in on its own thread: a precise timer replaces the newest image every 2 ms and signals,
// as the capture worker does.
class Producer : public QObject
{
    Q_OBJECT
public:
    std::mutex mutex; // guards latest
    std::shared_ptr<orna::ipl::Image> latest;
    std::atomic<uint64_t> produced{0};
    std::shared_ptr<orna::ipl::Image> images[3];

    Producer()
    {
        for (int i = 0; i < 3; ++i)
            images[i] = MakeMono8(1920, 1080, static_cast<uint8_t>(60 * i));
    }
    std::shared_ptr<orna::ipl::Image> Latest()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return latest;
    }

public Q_SLOTS:
    void Start()
    {
        timer = new QTimer(this);
        timer->setTimerType(Qt::PreciseTimer);
        timer->setInterval(2);
        connect(timer, &QTimer::timeout, this, &Producer::OnTick);
        timer->start();
    }
    void Stop() { timer->stop(); }

Q_SIGNALS:
    void FrameReady();

private:
    void OnTick()
    {
        const uint64_t n = produced.load() + 1;
        // Three images in turn; none is written while the display may read it, since the producer only
        // swaps pointers. The timestamp says which frame it was.
        auto next = std::make_shared<orna::ipl::Image>(orna::ipl::Image::ConstructFromBuffer(
            orna::ipl::Mono8, 1920, 1080, static_cast<const void*>(images[n % 3]->GetData()),
            images[n % 3]->GetByteCount()));
        next->SetTimestamp(n);
        {
            std::lock_guard<std::mutex> lock(mutex);
            latest = std::move(next);
        }
        produced.store(n);
        emit FrameReady();
    }
    QTimer* timer = nullptr;
};

} // namespace

class TestCustomDisplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        ApplicationGlobals::FillFonts();
        ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    }

    void setImageSizeUnchangedDoesNothing()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        QCOMPARE(display.View()->sceneRect(), QRectF(0, 0, 800, 600));
        const double fitted = display.GetScaleFactor();
        QVERIFY(fitted > 0.0 && fitted < 1.0);

        // A transform set behind the display's back would be replaced by a refit; an unchanged size must
        // not refit, nor signal.
        display.View()->setTransform(QTransform::fromScale(3, 3));
        QSignalSpy params(&display, &CustomDisplay::Signal_ParamsChanged);
        display.SetImageSize(800, 600);
        QCOMPARE(params.count(), 0);
        QCOMPARE(display.View()->transform().m11(), 3.0);

        display.SetImageSize(640, 600);
        QCOMPARE(params.count(), 1);
        QCOMPARE(display.View()->sceneRect(), QRectF(0, 0, 640, 600));
        QVERIFY(display.View()->transform().m11() < 1.0);
    }

    void fitModeFactorFollowsResize()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleMode(0);
        QCOMPARE(display.GetScaleMode(), 0);
        const double small = display.GetScaleFactor();
        QCOMPARE(small, display.View()->transform().m11());
        QCOMPARE(display.View()->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        // The whole image fits: the visible area is the scene.
        QCOMPARE(display.VisibleArea(), QRectF(0, 0, 800, 600));

        QSignalSpy params(&display, &CustomDisplay::Signal_ParamsChanged);
        display.resize(820, 620);
        QTRY_VERIFY(display.GetScaleFactor() > small * 1.5);
        QCOMPARE(display.GetScaleFactor(), display.View()->transform().m11());
        QVERIFY(params.count() >= 1);
        // Limited by the narrower side.
        const QSize vp = display.View()->viewport()->size();
        QVERIFY(display.GetScaleFactor() <= std::min(vp.width() / 800.0, vp.height() / 600.0) + 1e-9);
    }

    void freeZoomKeepsFactorOnResize()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleFactor(2.0);
        QCOMPARE(display.GetScaleMode(), 1);
        QCOMPARE(display.View()->horizontalScrollBarPolicy(), Qt::ScrollBarAsNeeded);
        display.resize(500, 400);
        QTRY_COMPARE(display.View()->width(), 500);
        QCOMPARE(display.GetScaleFactor(), 2.0);
        QCOMPARE(display.View()->transform().m11(), 2.0);
        // A quarter of the image's width at most is visible at twice the size in 500 pixels.
        QVERIFY(display.VisibleArea().width() <= 250.0 + 1e-9);
    }

    void ctrlWheelZoomsPlainWheelScrolls()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleFactor(4.0);
        QScrollBar* v = display.View()->verticalScrollBar();
        QScrollBar* h = display.View()->horizontalScrollBar();
        QTRY_VERIFY(v->maximum() > 100);
        v->setValue(v->maximum() / 2);
        h->setValue(h->maximum() / 2);
        const int v0 = v->value();
        const int h0 = h->value();
        QSignalSpy wheel(&display, &CustomDisplay::Signal_MouseWheelChanged);

        Wheel(display.View(), QPoint(0, 120), Qt::NoModifier);
        QCOMPARE(wheel.count(), 0);
        QCOMPARE(v->value(), v0 - v->singleStep());
        QCOMPARE(h->value(), h0);
        Wheel(display.View(), QPoint(-120, 0), Qt::NoModifier);
        QCOMPARE(h->value(), h0 + h->singleStep());
        QCOMPARE(display.GetScaleFactor(), 4.0);

        Wheel(display.View(), QPoint(0, 120), Qt::ControlModifier);
        Wheel(display.View(), QPoint(0, -120), Qt::ControlModifier);
        QCOMPARE(wheel.count(), 2);
        QCOMPARE(wheel.at(0).at(0).toBool(), true);
        QCOMPARE(wheel.at(1).at(0).toBool(), false);
        // Ctrl + wheel leaves scrolling alone.
        QCOMPARE(v->value(), v0 - v->singleStep());
    }

    void panDragMovesScrollBars()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleFactor(4.0);
        QScrollBar* v = display.View()->verticalScrollBar();
        QScrollBar* h = display.View()->horizontalScrollBar();
        QTRY_VERIFY(h->maximum() > 100);
        h->setValue(h->maximum() / 2);
        v->setValue(v->maximum() / 2);
        const int h0 = h->value();
        const int v0 = v->value();
        QCOMPARE(display.View()->viewport()->cursor().shape(), Qt::OpenHandCursor);
        QSignalSpy roi(display.View(), &CustomGraphicsView::Signal_RoiDrawn);

        Mouse(display.View(), QEvent::MouseButtonPress, QPoint(200, 150), Qt::LeftButton, Qt::LeftButton);
        QVERIFY(display.View()->IsPanning());
        QCOMPARE(display.View()->viewport()->cursor().shape(), Qt::ClosedHandCursor);
        Mouse(display.View(), QEvent::MouseMove, QPoint(170, 160), Qt::NoButton, Qt::LeftButton);
        Mouse(display.View(), QEvent::MouseMove, QPoint(150, 170), Qt::NoButton, Qt::LeftButton);
        // Dragging the image left and down shows more of the right and the top.
        QCOMPARE(h->value(), h0 + 50);
        QCOMPARE(v->value(), v0 - 20);
        Mouse(display.View(), QEvent::MouseButtonRelease, QPoint(150, 170), Qt::LeftButton, Qt::NoButton);
        QVERIFY(!display.View()->IsPanning());
        QCOMPARE(display.View()->viewport()->cursor().shape(), Qt::OpenHandCursor);
        QCOMPARE(display.Scene()->PressPoint(), QPointF(-1, -1));
        QCOMPARE(roi.count(), 0);
    }

    void roiModeReportsTheDrawnRectangleOnly()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleFactor(1.0);
        display.View()->horizontalScrollBar()->setValue(0);
        display.View()->verticalScrollBar()->setValue(0);
        display.Scene()->SetMouseMode(CustomGraphicsScene::MouseModeRoi);
        QSignalSpy roi(display.View(), &CustomGraphicsView::Signal_RoiDrawn);

        // A click without a drag draws nothing.
        Mouse(display.View(), QEvent::MouseButtonPress, QPoint(10, 10), Qt::LeftButton, Qt::LeftButton);
        Mouse(display.View(), QEvent::MouseButtonRelease, QPoint(10, 10), Qt::LeftButton, Qt::NoButton);
        QCOMPARE(roi.count(), 0);

        Mouse(display.View(), QEvent::MouseButtonPress, QPoint(10, 20), Qt::LeftButton, Qt::LeftButton);
        QVERIFY(!display.View()->IsPanning());
        Mouse(display.View(), QEvent::MouseMove, QPoint(60, 90), Qt::NoButton, Qt::LeftButton);
        QCOMPARE(display.Scene()->CurrentPoint(), QPointF(60, 90));
        Mouse(display.View(), QEvent::MouseButtonRelease, QPoint(110, 120), Qt::LeftButton, Qt::NoButton);
        QCOMPARE(roi.count(), 1);
        QCOMPARE(roi.at(0).at(0).toPoint(), QPoint(10, 20));
        QCOMPARE(roi.at(0).at(1).toPoint(), QPoint(110, 120));
        QCOMPARE(display.Scene()->PressPoint(), QPointF(-1, -1));
    }

    void pixelPositionFollowsZoomAndScroll()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(800, 600);
        display.SetScaleFactor(2.0);
        QScrollBar* h = display.View()->horizontalScrollBar();
        QScrollBar* v = display.View()->verticalScrollBar();
        QTRY_VERIFY(h->maximum() > 0);
        h->setValue(h->minimum());
        v->setValue(v->minimum());
        QSignalSpy pressed(display.View(), &CustomGraphicsView::Signal_MousePressed);
        QSignalSpy moved(display.View(), &CustomGraphicsView::Signal_MouseMoved);

        // At factor 2 with both bars at their start, viewport pixel (21, 41) shows image pixel (10, 20).
        Mouse(display.View(), QEvent::MouseMove, QPoint(21, 41), Qt::NoButton, Qt::NoButton);
        QCOMPARE(moved.count(), 1);
        QCOMPARE(moved.at(0).at(0).toPoint(), QPoint(-1, -1));
        QCOMPARE(CustomDisplay::PositionText(moved.at(0).at(1).toPoint()), QStringLiteral("(x: 10, y: 20)"));

        // Scrolled by 100 view pixels: 50 image pixels further right.
        h->setValue(h->minimum() + 100);
        Mouse(display.View(), QEvent::MouseButtonPress, QPoint(21, 41), Qt::LeftButton, Qt::LeftButton);
        QCOMPARE(pressed.count(), 1);
        QCOMPARE(CustomDisplay::PositionText(pressed.at(0).at(0).toPoint()), QStringLiteral("(x: 60, y: 20)"));
        Mouse(display.View(), QEvent::MouseButtonRelease, QPoint(21, 41), Qt::LeftButton, Qt::NoButton);
    }

    void eightBitFramesArePaintedWithoutCopy()
    {
        CustomDisplay display;
        display.resize(200, 200);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        auto image = MakeMono8(64, 48, 77, 1234);
        display.SetImageSize(64, 48);
        display.SetImageSource([image] { return image; });
        display.UpdateDisplay();
        QTRY_VERIFY(display.Scene()->PaintedFrames() >= 1);
        QCOMPARE(display.Scene()->LastPaintedTimestamp(), uint64_t(1234));
        QCOMPARE(display.Scene()->LastPaintedBits(), static_cast<const uchar*>(image->GetData()));
        QCOMPARE(qGray(display.Scene()->LastPaintedImageCopy().pixel(5, 5)), 77);

        // Display off: nothing more is drawn, although frames keep coming.
        const uint64_t painted = display.Scene()->PaintedFrames();
        display.SetDisplayEnabled(false);
        display.UpdateDisplay();
        QSignalSpy changed(display.Scene(), &QGraphicsScene::changed);
        QVERIFY(changed.wait(1000));
        QCoreApplication::processEvents();
        QCOMPARE(display.Scene()->PaintedFrames(), painted);
    }

    void deepMonoIsShownAsScaledGrey_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<int>("shift");
        QTest::newRow("Mono10") << "Mono10" << 2;
        QTest::newRow("Mono12") << "Mono12" << 4;
        QTest::newRow("Mono12p") << "Mono12p" << 4;
        QTest::newRow("Mono10p") << "Mono10p" << 2;
    }

    void deepMonoIsShownAsScaledGrey()
    {
        QFETCH(QString, format);
        QFETCH(int, shift);
        const uint32_t code = orna::ipl::PixelFormat::FromName(format.toStdString());
        QVERIFY(code != 0);
        const int w = 64;
        const int h = 16;
        // The plain 16-bit ramp: column x holds x << (shift + 2) plus the row, so that each column maps to
        // 4 * x after narrowing, whatever the low bits.
        auto plain = orna::ipl::Image::Construct(orna::ipl::PixelFormat::GetUnpackedFormat(code), w, h);
        auto* samples = reinterpret_cast<uint16_t*>(plain.GetData());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                samples[y * w + x] = static_cast<uint16_t>(((x * 4) << shift) + (y % (1 << shift)));
        auto image = std::make_shared<orna::ipl::Image>(
            code == plain.GetPixelFormat() ? std::move(plain) : PackLsbFirst(plain, code, 8 + shift));
        QCOMPARE(image->GetPixelFormat(), code);

        CustomDisplay display;
        display.resize(200, 200);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(w, h);
        display.SetImageSource([image] { return image; });
        display.UpdateDisplay();
        QTRY_VERIFY(display.Scene()->PaintedFrames() >= 1);
        QCOMPARE(display.Scene()->LastPaintedPixelFormat(), code);
        const QImage shown = display.Scene()->LastPaintedImageCopy();
        QCOMPARE(shown.size(), QSize(w, h));
        QCOMPARE(shown.format(), QImage::Format_Grayscale8);
        for (int y = 0; y < h; y += 5)
            for (int x = 0; x < w; x += 7)
                QCOMPARE(qGray(shown.pixel(x, y)), x * 4);

        // A second frame of the same geometry reuses the pool: still correct, drawn again.
        display.UpdateDisplay();
        QTRY_VERIFY(display.Scene()->PaintedFrames() >= 2);
        QCOMPARE(qGray(display.Scene()->LastPaintedImageCopy().pixel(63, 3)), 252);
    }

    void colorFramesKeepTheirChannelOrder()
    {
        CustomDisplay display;
        display.resize(100, 100);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(8, 8);
        for (const uint32_t code : {uint32_t(orna::ipl::RGB8), uint32_t(orna::ipl::BGR8), uint32_t(orna::ipl::BGRa8),
                                    uint32_t(orna::ipl::RGB12)})
        {
            auto rgb = orna::ipl::Image::Construct(orna::ipl::RGB8, 8, 8);
            for (size_t i = 0; i < rgb.GetByteCount(); i += 3)
            {
                rgb.GetData()[i] = 200;     // red
                rgb.GetData()[i + 1] = 100; // green
                rgb.GetData()[i + 2] = 20;  // blue
            }
            auto image =
                std::make_shared<orna::ipl::Image>(code == orna::ipl::RGB8 ? std::move(rgb) : rgb.ConvertTo(code));
            display.SetImageSource([image] { return image; });
            const uint64_t before = display.Scene()->PaintedFrames();
            display.UpdateDisplay();
            QTRY_VERIFY(display.Scene()->PaintedFrames() > before);
            const QRgb shown = display.Scene()->LastPaintedImageCopy().pixel(3, 3);
            QCOMPARE(qRed(shown), 200);
            QCOMPARE(qGreen(shown), 100);
            QCOMPARE(qBlue(shown), 20);
        }
    }

    void fastProducerNeverQueuesFrames()
    {
        CustomDisplay display;
        display.resize(400, 300);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        display.SetImageSize(1920, 1080);

        QThread thread;
        auto* producer = new Producer;
        producer->moveToThread(&thread);
        connect(&thread, &QThread::finished, producer, &QObject::deleteLater);
        connect(producer, &Producer::FrameReady, &display, &CustomDisplay::UpdateDisplay, Qt::QueuedConnection);
        display.SetImageSource([producer] { return producer->Latest(); });
        thread.start();
        QMetaObject::invokeMethod(producer, "Start", Qt::QueuedConnection);

        // While 500 frames per second arrive, the GUI thread stays responsive: a zero timer runs within
        // 100 ms, every time.
        QElapsedTimer running;
        running.start();
        int checks = 0;
        while (producer->produced.load() < 500 && running.elapsed() < 20000)
        {
            bool fired = false;
            QTimer::singleShot(0, &display, [&fired] { fired = true; });
            QTRY_VERIFY_WITH_TIMEOUT(fired, 100);
            ++checks;
        }
        QVERIFY2(producer->produced.load() >= 500, "the producer did not reach 500 frames");
        QVERIFY(checks > 5);
        QMetaObject::invokeMethod(producer, "Stop", Qt::BlockingQueuedConnection);
        const uint64_t produced = producer->produced.load();
        const uint64_t painted = display.Scene()->PaintedFrames();
        QVERIFY2(painted >= 10, qPrintable(QStringLiteral("only %1 paints").arg(painted)));
        QVERIFY(painted <= produced);
        qInfo("%llu frames produced, %llu painted", static_cast<unsigned long long>(produced),
              static_cast<unsigned long long>(painted));

        // The newest frame is shown shortly after the producer stops, and no backlog of repaints follows.
        QTRY_COMPARE_WITH_TIMEOUT(display.Scene()->LastPaintedTimestamp(), produced, 500);
        const uint64_t settled = display.Scene()->PaintedFrames();
        bool idle = false;
        QTimer::singleShot(200, &display, [&idle] { idle = true; });
        QTRY_VERIFY(idle);
        QVERIFY2(display.Scene()->PaintedFrames() <= settled + 1,
                 qPrintable(
                     QStringLiteral("%1 paints after the last frame").arg(display.Scene()->PaintedFrames() - settled)));

        display.SetImageSource({});
        thread.quit();
        QVERIFY(thread.wait(5000));
    }
};

QTEST_MAIN(TestCustomDisplay)
#include "test_customdisplay.moc"
