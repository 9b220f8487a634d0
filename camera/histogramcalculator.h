// HistogramCalculator: the histogram stage of a camera's image path. The capture worker offers it each
// finished image while the histogram is on; it accepts at most one image at a time, and during free run or a
// hardware trigger at most one every 500 ms, and hands an accepted image on to its consumer on a task of its
// own, so the frame path never waits for the calculation. The consumer (the histogram panel's calculation)
// is installed by whoever shows the histogram.
//
// Threads: Calculate runs on the frame's thread (capture thread or one-shot task), one call at a time.
// SetConsumer, IsRunning and Wait may be called from any thread; consumerMutex guards consumer. The consumer
// runs on the task's thread and must not raise (an exception it throws is caught and dropped there).
#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>

class VisionCamera;
namespace orna::ipl {
class Image;
}

class HistogramCalculator : public QObject
{
    Q_OBJECT

public:
    // The image and the second argument of Calculate (the camera's intermediate format).
    using Consumer = std::function<void(const std::shared_ptr<const orna::ipl::Image>& image, uint32_t flag)>;
    static constexpr int kAccepted = 0; // started, or left out by the rate limit
    static constexpr int kBusy = 2;     // the previous image is still being worked on: this one is skipped
    static constexpr qint64 kMinimumInterval_ms = 500;

    explicit HistogramCalculator(VisionCamera* camera, QObject* parent = nullptr);
    ~HistogramCalculator() override;

    int Calculate(const std::shared_ptr<orna::ipl::Image>& image, uint32_t flag);
    void SetConsumer(Consumer consumer);
    bool IsRunning() const { return running.load(); }
    // Waits for a running task; false when it did not end within timeout_ms.
    bool Wait(int timeout_ms);
    // Images handed to the consumer so far.
    uint64_t GetStartedCount() const { return started.load(); }

private:
    VisionCamera* camera;
    QElapsedTimer timer;    // since the last accepted image; the frame's thread only
    std::future<void> task; // the frame's thread, and Wait/the destructor once it is the only user
    std::atomic<bool> running{false};
    std::atomic<uint64_t> started{0};
    mutable QMutex consumerMutex; // guards consumer
    Consumer consumer;
};
