// ImageBufferManager: keeps every host-side image the capture loop hands out, and the last finished image of a
// camera. One instance belongs to each VisionCamera.
//
// Invariant: `images` holds exactly one reference to each listed image, so an entry whose use count is 1 is
// held by nobody else and is freed by the next AddImage (on the capture thread, never on the main thread).
//
// Threads: AddImage, CollectUnused and SetLastImage run on the capture thread or on the one-shot task's
// thread, never both at once (acquisition is stopped before a one-shot task starts); `images` has no lock for
// that reason. GetLastImage runs on the main thread: the lastImage pointer is read and written with
// std::atomic_load/std::atomic_store, so a copy is never torn. No mutex.
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QObject>

#include <cstdint>
#include <memory>
#include <vector>

namespace orna::ipl {
class Image;
}

class ImageBufferManager : public QObject
{
    Q_OBJECT

public:
    explicit ImageBufferManager(QObject* parent = nullptr);
    ~ImageBufferManager() override;

    // Takes over the image handle (the caller's handle is left empty) and returns the shared image; entries
    // nobody else holds are freed first.
    std::shared_ptr<orna::ipl::Image> AddImage(orna::ipl::Image&& image);
    // The collecting step of AddImage alone.
    void CollectUnused();
    std::shared_ptr<orna::ipl::Image> GetLastImage() const;
    void SetLastImage(std::shared_ptr<orna::ipl::Image> image);
    // Drops the list and the last image (camera closing).
    void Clear();

    // Capture-thread view of the list, for diagnostics and tests.
    size_t GetImageCount() const { return images.size(); }
    // Milliseconds since the manager was made.
    qint64 GetElapsed_ms() const { return timer.elapsed(); }

    // The QImage format that shows an image of that pixel format.
    static QImage::Format GetQImageFormat(uint32_t pixelFormat);

private:
    std::vector<std::shared_ptr<orna::ipl::Image>> images;
    std::shared_ptr<orna::ipl::Image> lastImage; // only through std::atomic_load/atomic_store
    QElapsedTimer timer;
};
