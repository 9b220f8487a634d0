// One pass of the capture loop (ProcessFrame), in order:
//  1. WaitForFinishedBuffer(waitTimeout) on the camera's data stream; KillWait ends an endless wait. A failing
//     wait pauses 100 ms (a camera gone bad must not flood the log); a frame that raises is counted as a
//     processing error and the loop goes on at once.
//  2. BufferRequeue arms: the buffer goes back to the stream when the pass ends, on every path.
//  3. An incomplete buffer is counted and processed all the same.
//  4. CheckTransportStatus: leader (GigE Vision) and trailer status of the buffer.
//  5. CheckMultiImage: once per acquisition, finds several images in one buffer.
//  6. Frame and processing timers.
//  7. With processing off the pass only counts (step 17).
//  8. Chunks of the buffer reach the remote node map.
//  9. MakeFrameRecord: the buffer wrapped as an image, or unpacked into a pool image.
// 10. Stages on the raw image: binning or decimation, mirror, rotation, host gain, hot pixels.
// 11. Sharing decision: a view that an asynchronous consumer (auto features, inference, sharpness) wants is
//     cloned once, and the clone stands for the frame from then on; the consumers get it.
// 12. Destination image: kept when the format matches and nothing forces a new one, else converted; a failure
//     is counted, logged and ends the frame (no display).
// 13. Stages on the destination image (colour correction with saturation, edge enhancement, gamma).
// 14. Histogram.
// 15. The last image (never a view of device memory), the display image in its 8-bit form (none while display
//     update is off), one video append per frame.
// 16. Frame callback (single frame) or Signal_UpdateDisplay.
// 17. Counters and Signal_UpdateCounters.
// 18. The guard queues the buffer.
#include "camera/visionimagecaptureworker.h"

#include "camera/histogramcalculator.h"
#include "camera/imagebuffermanager.h"
#include "camera/pixelformattable.h"
#include "camera/visioncamera.h"
#include "common/logmessagesender.h"
#include "orna/core/buffer.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "processing/aflmanager.h"
#include "processing/iflfeatureprovider.h"
#include "processing/iplbinningfeatureprovider.h"
#include "processing/iplcolorcorrectionfeatureprovider.h"
#include "processing/ipldecimationfeatureprovider.h"
#include "processing/ipledgeenhancementfeatureprovider.h"
#include "processing/iplgainfeatureprovider.h"
#include "processing/iplgammafeatureprovider.h"
#include "processing/iplhotpixelfeatureprovider.h"
#include "processing/iplsaturationfeatureprovider.h"
#include "processing/iplsharpnessfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"
#include "processing/videofeatureprovider.h"

#include <QThread>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <future>
#include <thread>

using orna::ipl::Image;
using orna::ipl::PixelFormat;

namespace {

const QString kProcessFrameContext = QStringLiteral("void VisionImageCaptureWorker::ProcessFrame()");

int64_t SteadyNow_ns()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int64_t ThreadCpu_ns()
{
    timespec ts{};
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts) != 0)
        return 0;
    return int64_t(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

// Queues the buffer of a pass back into its stream when the pass ends, whichever way it ends. The buffer's
// memory belongs to the stream again afterwards, so every view of it must be gone or copied by then.
class BufferRequeue
{
public:
    BufferRequeue(std::shared_ptr<orna::core::DataStream> stream, std::shared_ptr<orna::core::Buffer> buffer,
                  QString origin)
        : stream(std::move(stream)), buffer(std::move(buffer)), origin(std::move(origin))
    {
    }
    ~BufferRequeue()
    {
        if (!buffer)
            return;
        try
        {
            stream->QueueBuffer(buffer);
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(origin, kProcessFrameContext, QString::fromStdString(e.what()));
        }
    }
    BufferRequeue(const BufferRequeue&) = delete;
    BufferRequeue& operator=(const BufferRequeue&) = delete;
    // The stream's buffers were taken back meanwhile (the camera closed): there is nothing to queue.
    void Dismiss() { buffer.reset(); }

private:
    std::shared_ptr<orna::core::DataStream> stream;
    std::shared_ptr<orna::core::Buffer> buffer;
    QString origin;
};

// The 8-bit form of a format's family, which the display works on; the format itself when it has 8 significant
// bits per channel already, is "RGB10p32" (the display takes it as it is) or YUV.
uint32_t DisplayFormatOf(uint32_t format)
{
    using namespace orna::ipl;
    if (format == RGB10p32 || PixelFormat::IsYUV(format))
        return format;
    if (PixelFormat::GetNumSignificantBitsPerChannel(format) == 8)
        return format;
    if (PixelFormat::IsMono(format))
        return Mono8;
    if (PixelFormat::IsBayered(format))
        return PixelFormat::BayerFormat(PixelFormat::GetBayerPattern(format), 8);
    if (format == BGR10p32)
        return BGR8;
    const bool alpha = PixelFormat::HasAlpha(format);
    if (PixelFormat::IsRGBOrder(format))
        return alpha ? RGBa8 : RGB8;
    return alpha ? BGRa8 : BGR8;
}

} // namespace

// --- FrameStageClock

// Every operation is sequentially consistent: in that one total order a reader whose field loads saw any
// store of a write also sees that write's odd sequence number on its second look, and retries. The form
// with relaxed fields and fences saves a few nanoseconds a frame, but ThreadSanitizer cannot follow fences.
void FrameStageClock::Publish(const FrameStageTimes& times)
{
    const uint64_t start = sequence.load();
    sequence.store(start + 1);
    frame.store(times.frame);
    imageTimestamp.store(times.imageTimestamp);
    bufferFinished.store(times.bufferFinished_ns);
    processed.store(times.processed_ns);
    handedToDisplay.store(times.handedToDisplay_ns);
    sequence.store(start + 2);
}

FrameStageTimes FrameStageClock::Read() const
{
    FrameStageTimes times;
    for (;;)
    {
        const uint64_t before = sequence.load();
        if (before & 1u)
        {
            std::this_thread::yield();
            continue;
        }
        times.frame = frame.load();
        times.imageTimestamp = imageTimestamp.load();
        times.bufferFinished_ns = bufferFinished.load();
        times.processed_ns = processed.load();
        times.handedToDisplay_ns = handedToDisplay.load();
        if (sequence.load() == before)
            return times;
    }
}

// --- Construction and control

VisionImageCaptureWorker::VisionImageCaptureWorker(VisionCamera* camera)
    : camera(camera), keyText(camera ? camera->GetKeyText() : QString())
{
    frameTimer.start();
    processingTimer.start();
    extraTimer.start();
}

VisionImageCaptureWorker::~VisionImageCaptureWorker() = default;

void VisionImageCaptureWorker::SetFrameCallback(FrameCallback callback)
{
    QMutexLocker lock(&callbackMutex);
    frameCallback = std::move(callback);
}

void VisionImageCaptureWorker::ResetFrameCallback()
{
    QMutexLocker lock(&callbackMutex);
    frameCallback = nullptr;
}

void VisionImageCaptureWorker::SetProcessingEnabled(bool enabled)
{
    processingEnabled.store(enabled);
    processingJustOff.store(!enabled);
}

std::shared_ptr<Image> VisionImageCaptureWorker::GetLastDisplayImage() const
{
    return std::atomic_load(&lastDisplayImage);
}

void VisionImageCaptureWorker::PublishDisplayImage(const std::shared_ptr<Image>& image)
{
    std::atomic_store(&lastDisplayImage, image);
}

void VisionImageCaptureWorker::Start()
{
    int expected = kIdle;
    if (!running.compare_exchange_strong(expected, kRunning))
    {
        // Stopped before the thread came here.
        running.store(kIdle);
        return;
    }
    frameTimer.restart();
    while (running.load() == kRunning)
    {
        // Without device and stream the loop turns at once: StartAcquisition starts the thread only after
        // the stream exists.
        if (camera->GetDevice() && camera->GetDataStream())
            ProcessFrame();
    }
    running.store(kIdle);
}

void VisionImageCaptureWorker::Stop()
{
    running.store(kStopRequested);
}

void VisionImageCaptureWorker::DetachFromCamera()
{
    running.store(kStopRequested);
    QMutexLocker use(&cameraUseMutex);
    cameraDetached = true;
}

void VisionImageCaptureWorker::Log(const QString& context, const QString& message) const
{
    LogMessageSender::Error(keyText, context, message);
}

// --- The pass

void VisionImageCaptureWorker::ProcessFrame()
{
    try
    {
        std::shared_ptr<orna::core::DataStream> stream;
        uint64_t waitTimeout = 0;
        {
            QMutexLocker use(&cameraUseMutex);
            if (cameraDetached)
                return;
            stream = camera->GetDataStream();
            waitTimeout = camera->GetWaitTimeout();
        }
        if (!stream)
            return;
        // The wait holds no lock: KillWait ends it when the camera stops.
        auto buffer = stream->WaitForFinishedBuffer(waitTimeout);
        const int64_t finished_ns = SteadyNow_ns();
        PassCounters counters;
        bool passed = false;
        bool failed = false;
        {
            QMutexLocker use(&cameraUseMutex);
            if (cameraDetached)
                return; // the buffers went with the camera's stream
            // Declared after the lock: the buffer goes back while the camera is still held.
            BufferRequeue requeue(stream, buffer, keyText);
            try
            {
                passed = ProcessBuffer(buffer, finished_ns, use, counters);
            }
            catch (const std::exception& e)
            {
                // The frame raised (a buffer shorter than its format needs, a stage or a consumer that failed):
                // a processing error, not a frame, and the next frame is taken at once; the next frame's counters
                // report the error. Only a failing wait below pauses the loop. The pass holds the camera here:
                // ProcessBuffer raises nothing while it lets go of it.
                camera->IncrementProcessingErrorCounter();
                Log(kProcessFrameContext, QString::fromStdString(e.what()));
                passed = true;
                failed = true;
            }
            if (!passed)
                requeue.Dismiss();
        }
        if (passed && !failed)
            emit Signal_UpdateCounters(false, counters.frameTime_ms, counters.processingTime_ms, counters.frames,
                                       counters.processingErrors, counters.incompletes);
    }
    catch (const orna::core::AbortedException&)
    {
        // KillWait ended the wait: the normal way out of a blocked pass.
    }
    catch (const orna::core::TimeoutException& e)
    {
        {
            QMutexLocker use(&cameraUseMutex);
            if (cameraDetached)
                return;
            camera->IncrementTimeoutCounter();
        }
        emit Signal_UpdateCounters(true, 0, 0, 0, 0, 0);
        Log(kProcessFrameContext, QString::fromStdString(e.what()));
    }
    catch (const std::exception& e)
    {
        Log(kProcessFrameContext, QString::fromStdString(e.what()));
        // A camera that has gone bad must not flood the log.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    threadCpu_ns.store(ThreadCpu_ns());
    passCount.fetch_add(1);
}

bool VisionImageCaptureWorker::ProcessBuffer(const std::shared_ptr<orna::core::Buffer>& buffer, int64_t finished_ns,
                                             QMutexLocker& use, PassCounters& counters)
{
    if (buffer->GetIsIncomplete())
        camera->IncrementIncompleteCounter();
    CheckTransportStatus(buffer);
    CheckMultiImage(buffer);

    frameTime_ms.store(double(frameTimer.nsecsElapsed()) / 1e6);
    frameTimer.restart();
    processingTimer.restart();

    // A frame that failed before its geometry was known (the first frames of a lossy GigE stream) has
    // nothing to show; it is counted like any incomplete frame, without the error path's pause.
    const bool showable = !buffer->GetIsIncomplete() || buffer->GetHasImage();
    if (processingEnabled.load() && showable)
    {
        if (buffer->GetHasChunks())
        {
            buffer->UpdateChunks();
            if (auto remote = camera->GetRemoteDeviceNodeMap())
                remote->UpdateChunkNodes(buffer);
        }

        // 3-8. The intermediate image and the stages on it (binning or decimation, mirror, rotation, gain,
        // hot pixels). record.converted says whether the image is a private copy rather than a view.
        FrameRecord record = MakeFrameRecord(buffer);
        RunSourceStages(record);
        std::shared_ptr<Image> image = record.image;

        // 9. Sharing decision. The asynchronous consumers keep the image beyond this pass; a view of the buffer
        // is cloned for them (and stands in for it from here on), and a private image they hold is never
        // changed in place afterwards: the destination step then makes a new one.
        AflManager* afl = camera->GetAflManager();
        IflFeatureProvider* ifl = camera->GetIflFeatureProvider();
        IplSharpnessFeatureProvider* sharpness = camera->GetIplSharpnessFeatureProvider();
        const bool aflWants = afl->WantsFrame();
        const bool iflWants = ifl->WantsFrame();
        const bool async = aflWants || iflWants || sharpness->WantsFrame();
        bool forceNewImage = false;
        if (!record.converted && async)
        {
            image = camera->GetImageBufferManager()->AddImage(PooledCopy(*image));
            record.image = image;
            record.converted = true;
            CountStage(ChainStage::Clone);
        }
        else
        {
            forceNewImage = async || !record.converted;
        }
        // 10-12.
        if (aflWants)
        {
            afl->ProcessImage(image);
            CountStage(ChainStage::AutoFeatures);
        }
        if (iflWants)
        {
            std::shared_ptr<Image> lent = image;
            ifl->Process(lent);
            CountStage(ChainStage::Inference);
        }
        {
            // Also without a measurement due: the provider counts the frames between two measurements.
            std::shared_ptr<Image> lent = image;
            sharpness->Process(lent);
        }

        // 13. Destination image. The same image when nothing forces a new one; else a pool image, so that
        // nothing after this point refers to device memory or to an image a consumer holds.
        const uint32_t destination = camera->GetPixelFormatDestination();
        if (image->GetPixelFormat() != destination || forceNewImage)
        {
            try
            {
                image = camera->GetImageBufferManager()->AddImage(PooledConvert(*image, destination));
                CountStage(ChainStage::DestinationConversion);
            }
            catch (const std::exception& e)
            {
                camera->IncrementProcessingErrorCounter();
                Log(kProcessFrameContext,
                    QStringLiteral("Failed to convert image to destination pixel format. %1").arg(e.what()));
                image.reset();
            }
        }
        // A failed conversion ends the frame's image: nothing new to show, save or record.
        if (image && !image->IsEmpty())
        {
            // 14-15.
            RunDestinationStages(image);
            const int64_t processed_ns = SteadyNow_ns();

            // 16. The histogram sees the finished image, after every stage that changes it.
            if (camera->IsHistogramEnabled())
            {
                camera->GetHistogramCalculator()->Calculate(image, camera->GetPixelFormatUnpacked());
                CountStage(ChainStage::Histogram);
            }

            // 17. Publish.
            ImageBufferManager* manager = camera->GetImageBufferManager();
            manager->SetLastImage(image);

            // 18. Display image: the finished image when the display can take it, else its 8-bit form.
            std::shared_ptr<Image> display;
            if (displayEnabled.load())
            {
                const uint32_t displayFormat = DisplayFormatOf(image->GetPixelFormat());
                if (displayFormat == image->GetPixelFormat())
                {
                    display = image;
                }
                else
                {
                    display = manager->AddImage(PooledConvert(*image, displayFormat));
                    CountStage(ChainStage::DisplayConversion);
                }
            }
            // 19. Video: each camera frame reaches the recording once, as its display image. Appending the
            // finished image as well would, for an 8-bit destination, append the same image twice and play the
            // video at half speed.
            VideoFeatureProvider* video = camera->GetVideoFeatureProvider();
            if (display && video->IsRecording())
            {
                video->AppendImage(display);
                CountStage(ChainStage::VideoAppend);
            }
            camera->SetHasImage(true);
            // 20.
            PublishDisplayImage(display);

            FrameCallback callback;
            {
                QMutexLocker lock(&callbackMutex);
                callback = frameCallback;
            }
            stageClock.Publish(
                FrameStageTimes{++publishedFrames, image->GetTimestamp(), finished_ns, processed_ns, SteadyNow_ns()});
            // The consumers may hold the frame up for any time; the camera may go meanwhile.
            // A consumer's failure is rethrown once the pass holds the camera again, so that it is handled like
            // any failure of the frame (ProcessFrame) and never while the camera may be going.
            std::exception_ptr consumerFailure;
            use.unlock();
            try
            {
                if (callback && display)
                    callback(display);
                else
                    emit Signal_UpdateDisplay();
            }
            catch (...)
            {
                consumerFailure = std::current_exception();
            }
            use.relock();
            if (cameraDetached)
                return false;
            if (consumerFailure)
                std::rethrow_exception(consumerFailure);
        }
    }
    else if (!processingEnabled.load())
    {
        processingJustOff.store(false);
    }

    FinishPass(counters);
    return true;
}

void VisionImageCaptureWorker::FinishPass(PassCounters& counters)
{
    processingTime_ms.store(double(processingTimer.nsecsElapsed()) / 1e6);
    counters.frameTime_ms = frameTime_ms.load();
    counters.processingTime_ms = processingTime_ms.load();
    counters.frames = camera->IncrementFrameCounter();
    counters.processingErrors = camera->GetProcessingErrorCounter();
    counters.incompletes = camera->GetIncompleteCounter();
}

// --- Host stages

void VisionImageCaptureWorker::RunSourceStages(FrameRecord& record)
{
    // 4. Binning or decimation (never both on one frame) makes a new, smaller image of our own.
    IplBinningFeatureProvider* binning = camera->GetIplBinningFeatureProvider();
    IplDecimationFeatureProvider* decimation = camera->GetIplDecimationFeatureProvider();
    if (binning->IsActive())
    {
        binning->Process(record.image);
        record.converted = true;
        CountStage(ChainStage::Binning);
    }
    else if (decimation->IsActive())
    {
        decimation->Process(record.image);
        record.converted = true;
        CountStage(ChainStage::Decimation);
    }
    // 5-6. Mirror, then rotation, in place on the raw image (a view of the buffer is turned in the buffer's
    // memory), which is why the destination tables pass every Bayer format through the transformation's mapping.
    IplTransformationFeatureProvider* transformation = camera->GetIplTransformationFeatureProvider();
    if (transformation->IsMirrorActive())
    {
        transformation->ProcessMirrorInplace(*record.image);
        CountStage(ChainStage::Mirror);
    }
    if (transformation->IsRotationActive())
    {
        transformation->ProcessRotationInplace(*record.image);
        CountStage(ChainStage::Rotation);
    }
    // 7-8.
    IplGainFeatureProvider* gain = camera->GetIplGainFeatureProvider();
    if (camera->IsHostGainRequired() && gain->IsAnyGainActive())
    {
        gain->Process(record.image);
        CountStage(ChainStage::HostGain);
    }
    IplHotpixelFeatureProvider* hotpixel = camera->GetIplHotpixelFeatureProvider();
    if (hotpixel->IsActive())
    {
        hotpixel->Process(record.image);
        CountStage(ChainStage::Hotpixel);
    }
}

void VisionImageCaptureWorker::RunDestinationStages(std::shared_ptr<Image>& image)
{
    const uint32_t destination = image->GetPixelFormat();
    IplColorCorrectionFeatureProvider* colorCorrection = camera->GetIplColorCorrectionFeatureProvider();
    // One library call does colour correction and saturation together.
    if (colorCorrection->IsSupported(destination) &&
        (colorCorrection->IsMatrixActive() || camera->GetIplSaturationFeatureProvider()->IsActive()))
    {
        colorCorrection->Process(image);
        CountStage(ChainStage::ColorCorrection);
    }
    IplEdgeEnhancementFeatureProvider* edge = camera->GetIplEdgeEnhancementFeatureProvider();
    if (edge->IsActive())
    {
        edge->Process(image);
        CountStage(ChainStage::EdgeEnhancement);
    }
    // Gamma and digital black decide by themselves whether they change the image; they see the destination.
    camera->GetIplGammaFeatureProvider()->Process(image, destination);
    CountStage(ChainStage::Gamma);
}

// --- Transport status and multi-image check

int32_t VisionImageCaptureWorker::ReadStatusInfo(const std::shared_ptr<orna::core::Buffer>& buffer, int32_t command)
{
    try
    {
        const orna::core::BufferInfo info = buffer->GetInfo(command);
        if (info.type != orna::core::InfoDataType::Int32)
        {
            Log(kProcessFrameContext, QStringLiteral("%1 has wrong datatype (%2, expected: %3).")
                                          .arg(command == 1000 ? QStringLiteral("BUFFER_INFO_LEADER_STATUS")
                                                               : QStringLiteral("BUFFER_INFO_TRAILER_STATUS"))
                                          .arg(int(info.type))
                                          .arg(int(orna::core::InfoDataType::Int32)));
            return 0;
        }
        return info.AsInt32();
    }
    catch (const std::exception&)
    {
        return 0;
    }
}

void VisionImageCaptureWorker::CheckTransportStatus(const std::shared_ptr<orna::core::Buffer>& buffer)
{
    const QString transport = camera->GetTransportType();
    const bool checkLeader = transport == QLatin1String("GEV");
    const bool checkTrailer = checkLeader || transport == QLatin1String("U3V");
    if (checkLeader)
    {
        const int32_t leader = ReadStatusInfo(buffer, 1000);
        if (leader < 0)
            Log(kProcessFrameContext, QStringLiteral("Buffer leader error for frame: %1 with error code: 0x%2.")
                                          .arg(buffer->GetFrameID())
                                          .arg(uint32_t(leader) & 0xFFFFu, 0, 16));
    }
    if (checkTrailer)
    {
        const int32_t trailer = ReadStatusInfo(buffer, 1001);
        if (trailer < 0)
            Log(kProcessFrameContext, QStringLiteral("Buffer trailer error for frame: %1 with error code: 0x%2.")
                                          .arg(buffer->GetFrameID())
                                          .arg(uint32_t(trailer) & 0xFFFFu, 0, 16));
    }
}

void VisionImageCaptureWorker::CheckMultiImage(const std::shared_ptr<orna::core::Buffer>& buffer)
{
    if (camera->GetImagesPerBuffer() != -1)
        return;
    // First buffer of an acquisition: sizes and formats may have changed since the pools were prepared. A
    // buffer without geometry (a GigE frame lost before any complete one) cannot tell; the next one decides.
    preparedPools.clear();
    const int64_t bufferHeight = int64_t(buffer->GetHeight());
    if (!buffer->GetHasImage() || bufferHeight <= 0)
        return;
    camera->SetImagesPerBuffer(1);
    CheckWidthFactor(buffer);
    if (bufferHeight == camera->GetImageHeight())
        return;
    int64_t nodeHeight = 0;
    if (!camera->GetIntegerValue("Height", ReadValueType::Value, nodeHeight) || nodeHeight <= 0)
        return;
    camera->SetImagesPerBuffer(std::max(1, int(bufferHeight / nodeHeight)));
    camera->QueryImageGeometry();
    camera->CreateImageBuffer();
}

void VisionImageCaptureWorker::CheckWidthFactor(const std::shared_ptr<orna::core::Buffer>& buffer)
{
    if (camera->GetWidthFactor() != 0.0)
        return;
    camera->SetWidthFactor(1.0);
    int64_t nodeWidth = 0;
    const int64_t bufferWidth = int64_t(buffer->GetWidth());
    if (bufferWidth <= 0 || !camera->GetIntegerValue("Width", ReadValueType::Value, nodeWidth) || nodeWidth <= 0 ||
        bufferWidth == nodeWidth)
        return;
    // A camera that packs several lines or planes into one buffer line delivers wider buffers than its ROI.
    camera->SetWidthFactor(double(bufferWidth) / double(nodeWidth));
    camera->UpdateImageSizeDestination();
    camera->CreateImageBuffer();
}

// --- Images

FrameRecord VisionImageCaptureWorker::MakeFrameRecord(const std::shared_ptr<orna::core::Buffer>& buffer)
{
    FrameRecord record;
    const uint32_t source = camera->GetPixelFormatSource();
    const uint32_t unpacked = camera->GetPixelFormatUnpacked();
    const size_t offset = buffer->GetImageOffset();
    const size_t size = buffer->GetSize() > offset ? buffer->GetSize() - offset : 0;
    Image view = Image::ConstructFromBuffer(source, uint32_t(buffer->GetWidth()), uint32_t(buffer->GetHeight()),
                                            buffer->GetBasePtr() + offset, size);
    view.SetTimestamp(buffer->GetTimestamp_ns());
    if (source == unpacked)
    {
        record.image = camera->GetImageBufferManager()->AddImage(std::move(view));
        record.converted = false;
    }
    else
    {
        record.image = camera->GetImageBufferManager()->AddImage(PooledConvert(view, unpacked));
        record.converted = true;
        CountStage(ChainStage::Intermediate);
    }
    return record;
}

void VisionImageCaptureWorker::PreparePool(uint32_t sourceFormat, uint32_t destinationFormat, uint32_t width,
                                           uint32_t height)
{
    orna::ipl::ImageConverter* converter = camera->GetConverter();
    const auto key = std::make_tuple(static_cast<const orna::ipl::ImageConverter*>(converter), sourceFormat,
                                     destinationFormat, width, height);
    if (std::find(preparedPools.begin(), preparedPools.end(), key) != preparedPools.end())
        return;
    // A converter made anew (buffers rebuilt) starts without pools: forget those of the old one.
    preparedPools.erase(std::remove_if(preparedPools.begin(), preparedPools.end(),
                                       [converter](const auto& entry) { return std::get<0>(entry) != converter; }),
                        preparedPools.end());
    converter->PreAllocateConversion(sourceFormat, destinationFormat, width, height, kPoolImages);
    preparedPools.push_back(key);
}

Image VisionImageCaptureWorker::PooledConvert(const Image& image, uint32_t format)
{
    PreparePool(image.GetPixelFormat(), format, image.GetWidth(), image.GetHeight());
    return camera->GetConverter()->Convert(image, format);
}

Image VisionImageCaptureWorker::PooledCopy(const Image& image)
{
    // A conversion into the same format is a copy into the pool of that geometry.
    return PooledConvert(image, image.GetPixelFormat());
}

// --- One-shot routines

bool VisionImageCaptureWorker::PrivateStart(uint64_t frames)
{
    try
    {
        auto stream = camera->GetDataStream();
        if (!camera->GetDevice() || !stream)
            return false;
        stream->StartAcquisition(orna::core::AcquisitionStartMode::Default, frames);
        if (!camera->ExecuteCommandAndWait("AcquisitionStart", 500))
        {
            stream->StopAcquisition();
            return false;
        }
        return true;
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("bool VisionImageCaptureWorker::PrivateStart(uint64_t)"), QString::fromStdString(e.what()));
        return false;
    }
}

void VisionImageCaptureWorker::PrivateStop()
{
    camera->ExecuteCommandAndWait("AcquisitionStop", 500);
    try
    {
        if (auto stream = camera->GetDataStream())
            stream->StopAcquisition();
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("void VisionImageCaptureWorker::PrivateStop()"), QString::fromStdString(e.what()));
    }
}

void VisionImageCaptureWorker::AbortOneShot()
{
    oneShotAborted.store(true);
}

void VisionImageCaptureWorker::ClearOneShotAbort()
{
    oneShotAborted.store(false);
}

void VisionImageCaptureWorker::SingleFrame()
{
    if (!PrivateStart(1))
        return;
    // Checked after the private start: the stream's start forgets kills of earlier runs, and an abort that
    // comes after this check leaves its kill pending for the wait below.
    if (!oneShotAborted.load())
    {
        if (camera->GetTriggerMode() == camera::TriggerMode::Software)
            camera->ExecuteCommand("TriggerSoftware");
        ProcessFrame();
    }
    PrivateStop();
}

// The frame pass: frames go to the auto feature manager until both its brightness and its white balance flag
// have gone false, that is until the controllers' "Once" ended; a "Once" that ended on a failure makes the
// pass fail, as do 100 frames without an end.
bool VisionImageCaptureWorker::AdjustFramePass()
{
    adjustFramePasses.fetch_add(1);
    AflManager* afl = camera->GetAflManager();
    IplGainFeatureProvider* gain = camera->GetIplGainFeatureProvider();
    try
    {
        for (int i = 0; i < kAdjustMaxFrames; ++i)
        {
            if (oneShotAborted.load())
                return false;
            auto stream = camera->GetDataStream();
            if (!camera->GetDevice() || !stream)
                return false;
            auto buffer = stream->WaitForFinishedBuffer(2000);
            {
                BufferRequeue requeue(stream, buffer, camera->GetKeyText());
                // Missing lines would bias the brightness and colour measurement: such a frame only counts
                // against the pass's frame limit.
                if (buffer->GetIsIncomplete())
                    continue;
                FrameRecord record = MakeFrameRecord(buffer);
                if (camera->IsHostGainRequired() && gain->IsAnyGainActive())
                    gain->Process(record.image);
                afl->ProcessImageBlocking(*record.image);
            }
            adjustFramesSeen.fetch_add(1);
            // A controller that ended on a refused write or gave up did not reach its target.
            if (!afl->IsBrightnessAutoActive() && !afl->IsWhiteBalanceAutoActive())
                return !afl->TakeAdjustFailure();
        }
        return false;
    }
    catch (const std::exception& e)
    {
        Log(QStringLiteral("bool VisionImageCaptureWorker::AdjustLoop()"), QString::fromStdString(e.what()));
        return false;
    }
}

void VisionImageCaptureWorker::RestoreAfterAdjust()
{
    camera->RestoreSettingsAfterOptimise();
}

bool VisionImageCaptureWorker::AdjustLoop()
{
    adjustFramePasses.store(0);
    adjustFramesSeen.store(0);
    if (!PrivateStart(orna::core::DataStream::kInfinite))
    {
        // No frame was taken, so nothing was adjusted; but the start of the run already switched the trigger and
        // automatic modes off, and they go back like on every other way out.
        RestoreAfterAdjust();
        emit Signal_AdjustLoopFinished(true);
        return true;
    }
    AflManager* afl = camera->GetAflManager();
    afl->BeginAdjust();
    bool result = AdjustFramePass();
    // White balance needs colour: the destination of a colour camera is a three or four channel format, that of
    // a monochrome one is not (the source format would call a packed 10-bit mono camera colour).
    if (result && camera::GetPackingClass(camera->GetPixelFormatDestination()) == 3)
    {
        afl->BeginBalanceWhiteAdjust();
        if (!AdjustFramePass())
        {
            result = false;
            camera->GetIplGainFeatureProvider()->ResetGains();
        }
    }
    afl->EndAdjust();
    IplHotpixelFeatureProvider* hotpixel = camera->GetIplHotpixelFeatureProvider();
    hotpixel->SetSensitivityMode(3);
    hotpixel->RequestDetection(camera->GetTotalGain());
    hotpixel->SetEnabled(true);
    PrivateStop();
    RestoreAfterAdjust();
    emit Signal_AdjustLoopFinished(result);
    return result;
}

// --- VisionCamera's single frame entry (the task it launches lives here)

bool VisionCamera::AcquireSingleFrame()
{
    VisionImageCaptureWorker* worker = captureWorker;
    if (!worker || IsOneShotRunning() || closing.load())
        return false;
    // A single frame is measured when sharpness measurement is on: no frames to skip.
    iplSharpnessFeatureProvider->SetFrameSkip(0);
    GetTriggerMode(true);
    return StartOneShotTask([worker] { worker->SingleFrame(); });
}
