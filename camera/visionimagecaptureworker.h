// VisionImageCaptureWorker: the capture loop of one camera. It takes finished buffers from the data stream,
// runs the host chain over each image, publishes the result for display, recording and auto features, and
// gives the buffer back. Walkthrough of one pass in ProcessFrame (visionimagecaptureworker.cpp).
//
// Threads:
// - Start() and ProcessFrame() run on captureThread (QThread::HighPriority) between StartAcquisition and
//   StopAcquisition. SingleFrame() and AdjustLoop() run on a one-shot std::async task while the loop is
//   not running; the two never run at the same time (StopAcquisition comes before a one-shot task), and
//   VisionCamera never runs two one-shot tasks at once. AbortOneShot may be called from any thread.
// - Stop(), SetProcessingEnabled(), SetDisplayEnabled() and the getters may be called from any thread: each
//   touches one atomic flag or value.
// - SetFrameCallback()/ResetFrameCallback() may be called from any thread; callbackMutex guards
//   frameCallback, and the callback runs on the frame's thread outside the lock.
// - cameraUseMutex guards cameraDetached. The frame's thread holds it while a pass works on the camera and
//   its providers, and lets go of it around the frame consumers (frame callback, Signal_UpdateDisplay), where a
//   pass can be held up for any time. DetachFromCamera (GUI thread, when the capture thread did not stop in
//   time) takes it, so it waits at most for the rest of a pass that is inside the camera, never for a consumer;
//   after it the worker does not touch the camera again.
// - The per-stage stamps and the last display image are published lock-free for the GUI thread (FrameStageClock
//   is a sequence lock over atomics; the display image goes through the atomic shared_ptr functions).
//
// Image hand-off: a FrameRecord's image may wrap the device buffer (converted false). Such an image is valid
// only until the guard queues the buffer back, so anything that outlives the pass (asynchronous consumers,
// the last image, the display image) gets a pooled copy first; a steady stream allocates no image memory.
#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <tuple>
#include <vector>

class VisionCamera;

namespace orna::core {
class Buffer;
class DataStream;
} // namespace orna::core

namespace orna::ipl {
class Image;
class ImageConverter;
} // namespace orna::ipl

// The image of one pass. converted is true when the image owns its pixels, false while it wraps the device
// buffer of the pass.
struct FrameRecord
{
    bool converted = false;
    std::shared_ptr<orna::ipl::Image> image;
};

// Steady-clock stamps (nanoseconds since the clock's epoch) of one frame on its way to the screen. The display
// adds the last stage, "painted", itself. The stamps are published before the frame is handed on, so a slot
// connected directly to Signal_UpdateDisplay reads the stamps of its own frame.
struct FrameStageTimes
{
    uint64_t frame = 0;             // running number of the frame (the worker's own count of published frames)
    uint64_t imageTimestamp = 0;    // Image::GetTimestamp() of the frame's images (the buffer's timestamp)
    int64_t bufferFinished_ns = 0;  // the wait for the buffer returned
    int64_t processed_ns = 0;       // the host stages on the destination image are done
    int64_t handedToDisplay_ns = 0; // just before Signal_UpdateDisplay or the frame callback
};

// A single-writer sequence lock over atomics: the capture thread publishes, any thread reads a consistent
// set. A reader that races a write retries; the writer never waits.
class FrameStageClock
{
public:
    void Publish(const FrameStageTimes& times);
    FrameStageTimes Read() const;

private:
    std::atomic<uint64_t> sequence{0}; // odd while a write is in progress
    std::atomic<uint64_t> frame{0};
    std::atomic<uint64_t> imageTimestamp{0};
    std::atomic<int64_t> bufferFinished{0};
    std::atomic<int64_t> processed{0};
    std::atomic<int64_t> handedToDisplay{0};
};

// The stages of the host chain that run only under a condition, as counted by the worker.
enum class ChainStage : int
{
    Intermediate, // unpacking a vendor-packed format into a private image
    Binning,
    Decimation,
    Mirror,
    Rotation,
    HostGain,
    Hotpixel,
    Clone, // a view of the buffer copied for the asynchronous consumers
    AutoFeatures,
    Inference,
    DestinationConversion, // a new image in the destination format
    ColorCorrection,
    EdgeEnhancement,
    Gamma,
    Histogram,         // the finished image offered to the histogram calculation
    DisplayConversion, // the 8-bit display form of a deeper image
    VideoAppend,
    Count
};

class VisionImageCaptureWorker : public QObject
{
    Q_OBJECT

public:
    using FrameCallback = std::function<void(std::shared_ptr<orna::ipl::Image>)>;

    // Images of each conversion pool the worker prepares: the last image, the one the display paints, one in
    // a consumer, one being written, and one spare.
    static constexpr size_t kPoolImages = 5;
    // The frame pass of the optimise routine gives up after this many frames.
    static constexpr int kAdjustMaxFrames = 100;

    explicit VisionImageCaptureWorker(VisionCamera* camera);
    ~VisionImageCaptureWorker() override;

    void SetFrameCallback(FrameCallback callback);
    void ResetFrameCallback();
    bool IsRunning() const { return running.load() == kRunning; }

    // How often each stage ran since the worker was made (relaxed counters, any thread).
    uint64_t GetStageRuns(ChainStage stage) const { return stageRuns[size_t(stage)].load(std::memory_order_relaxed); }

    // Writing processingEnabled also sets processingJustOff to its opposite.
    void SetProcessingEnabled(bool enabled);
    bool IsProcessingEnabled() const { return processingEnabled.load(); }
    void SetDisplayEnabled(bool enabled) { displayEnabled.store(enabled); }
    bool IsDisplayEnabled() const { return displayEnabled.load(); }

    // One pass of the loop: wait for a buffer, run the chain, publish, queue the buffer back. Never raises.
    void ProcessFrame();
    // The single frame routine: private start for one frame, software trigger when that is the mode, one pass,
    // private stop. Runs as a one-shot task.
    void SingleFrame();
    // The optimise routine; emits Signal_AdjustLoopFinished with the result and returns it, exactly once on
    // every path, after the camera's saved trigger, automatic and colour correction modes went back. Runs as a
    // one-shot task while the loop is stopped.
    bool AdjustLoop();
    // Ends the running one-shot routine at its next check or wait (the caller also kills the stream's wait); the
    // routine still stops its private acquisition and restores what it changed. Any thread. Cleared by
    // VisionCamera before it launches a one-shot task.
    void AbortOneShot();
    void ClearOneShotAbort();

    // Last values, readable from any thread.
    double GetFrameTime_ms() const { return frameTime_ms.load(); }
    double GetProcessingTime_ms() const { return processingTime_ms.load(); }
    FrameStageTimes GetLastStageTimes() const { return stageClock.Read(); }
    // The image the last frame handed to display (empty when display was off); never wraps device memory.
    std::shared_ptr<orna::ipl::Image> GetLastDisplayImage() const;
    // The capture thread's CPU clock (CLOCK_THREAD_CPUTIME_ID) at the end of the last pass, and the passes so
    // far: two readings give the CPU time the loop spends per frame.
    int64_t GetThreadCpuTime_ns() const { return threadCpu_ns.load(); }
    uint64_t GetPassCount() const { return passCount.load(); }
    // Frame passes run by the last AdjustLoop (one for a mono camera, two for a colour one when the first
    // succeeded), and the frames they took.
    int GetAdjustFramePasses() const { return adjustFramePasses.load(); }
    int GetAdjustFramesSeen() const { return adjustFramesSeen.load(); }

    // The camera is going while this worker's thread still runs (handed to its own end): from now on the
    // worker touches neither the camera nor its providers. GUI thread.
    void DetachFromCamera();

public Q_SLOTS:
    void Start();
    void Stop();

Q_SIGNALS:
    void Signal_UpdateDisplay();
    void Signal_UpdateCounters(bool exception, double frameTime_ms, double processingTime_ms, int frameCounter,
                               int processingErrorCounter, int incompleteCounter);
    void Signal_AdjustLoopFinished(bool finishedCorrectly);

private:
    // What a pass reports through Signal_UpdateCounters, which is emitted after the pass lets go of the camera.
    struct PassCounters
    {
        double frameTime_ms = 0;
        double processingTime_ms = 0;
        int frames = 0;
        int processingErrors = 0;
        int incompletes = 0;
    };
    // Returns false when the camera was detached while the frame was with its consumers. use is the pass's
    // hold on cameraUseMutex: released around the consumers, held again when this returns.
    bool ProcessBuffer(const std::shared_ptr<orna::core::Buffer>& buffer, int64_t finished_ns, QMutexLocker& use,
                       PassCounters& counters);
    // The frame's accounting at the end of a pass: processing time, frame counter, the counters to report.
    void FinishPass(PassCounters& counters);
    // Binning or decimation (marks the record private), mirror, rotation, host gain, hot pixels.
    void RunSourceStages(FrameRecord& record);
    void CountStage(ChainStage stage) { stageRuns[size_t(stage)].fetch_add(1, std::memory_order_relaxed); }
    void RunDestinationStages(std::shared_ptr<orna::ipl::Image>& image);
    void CheckTransportStatus(const std::shared_ptr<orna::core::Buffer>& buffer);
    int32_t ReadStatusInfo(const std::shared_ptr<orna::core::Buffer>& buffer, int32_t command);
    void CheckMultiImage(const std::shared_ptr<orna::core::Buffer>& buffer);
    // First frame of a run: sets the camera's width factor and, when the buffer is wider than the ROI, updates
    // the finished size and rebuilds the image buffers.
    void CheckWidthFactor(const std::shared_ptr<orna::core::Buffer>& buffer);
    FrameRecord MakeFrameRecord(const std::shared_ptr<orna::core::Buffer>& buffer);
    // A copy of image in pool memory of the converter (same format); replaces a view of device memory.
    orna::ipl::Image PooledCopy(const orna::ipl::Image& image);
    // Convert through the converter's pool of that geometry, preparing the pool on first use.
    orna::ipl::Image PooledConvert(const orna::ipl::Image& image, uint32_t format);
    void PreparePool(uint32_t sourceFormat, uint32_t destinationFormat, uint32_t width, uint32_t height);
    bool PrivateStart(uint64_t frames);
    void PrivateStop();
    bool AdjustFramePass();
    void RestoreAfterAdjust();
    void Log(const QString& context, const QString& message) const;
    void PublishDisplayImage(const std::shared_ptr<orna::ipl::Image>& image);

    // The loop's flag, with a third state: a Stop() that comes before the thread got to Start() (acquisition
    // stopped right after it started) must still end that Start(), or the loop would wait for ever.
    static constexpr int kIdle = 0;
    static constexpr int kRunning = 1;
    static constexpr int kStopRequested = 2;
    std::atomic<int> running{kIdle};
    std::atomic<bool> processingEnabled{true};
    std::atomic<bool> oneShotAborted{false};
    std::atomic<bool> displayEnabled{true};
    VisionCamera* camera;
    const QString keyText; // the camera's, for log lines that may come after the camera is gone
    QMutex cameraUseMutex; // guards cameraDetached; see the thread notes above
    bool cameraDetached = false;
    QElapsedTimer frameTimer;      // frame to frame; capture (or one-shot) thread only
    QElapsedTimer processingTimer; // one pass; capture (or one-shot) thread only
    QElapsedTimer extraTimer;      // spare stopwatch of the pass; capture (or one-shot) thread only
    std::atomic<double> frameTime_ms{0.0};
    std::atomic<double> processingTime_ms{0.0};
    std::atomic<bool> processingJustOff{false};
    mutable QMutex callbackMutex; // guards frameCallback
    FrameCallback frameCallback;

    // Conversion pools this worker has prepared on the current converter: (converter, source, destination,
    // width, height). Touched only by the frame's thread.
    std::vector<std::tuple<const orna::ipl::ImageConverter*, uint32_t, uint32_t, uint32_t, uint32_t>> preparedPools;

    std::array<std::atomic<uint64_t>, size_t(ChainStage::Count)> stageRuns{};
    FrameStageClock stageClock;
    uint64_t publishedFrames = 0;                       // frame's thread only
    std::shared_ptr<orna::ipl::Image> lastDisplayImage; // atomic_load/atomic_store only
    std::atomic<int64_t> threadCpu_ns{0};
    std::atomic<uint64_t> passCount{0};
    std::atomic<int> adjustFramePasses{0};
    std::atomic<int> adjustFramesSeen{0};
};
