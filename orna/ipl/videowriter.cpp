#include "orna/ipl/videowriter.h"

#include "orna/ipl/avifile.h"
#include "orna/ipl/exception.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <thread>

namespace orna::ipl {

// --- Options

namespace container {

void Container::Declare(const std::string& name, double value, double minimum, double maximum)
{
    std::lock_guard<std::mutex> lock(mutex_);
    options_[name] = Option{value, minimum, maximum};
}

void Container::SetOption(const std::string& name, double value)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = options_.find(name);
    if (it == options_.end())
        Raise(ReturnCode::InvalidArgument, "The container \"" + GetName() + "\" has no option \"" + name + "\".");
    if (!(value >= it->second.minimum && value <= it->second.maximum))
        Raise(ReturnCode::OutOfRange,
              "The value " + std::to_string(value) + " of option \"" + name + "\" is out of range.");
    it->second.value = value;
}

double Container::GetOption(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = options_.find(name);
    if (it == options_.end())
        Raise(ReturnCode::InvalidArgument, "The container \"" + GetName() + "\" has no option \"" + name + "\".");
    return it->second.value;
}

AVIContainer::AVIContainer()
{
    Declare("FrameRate", 25.0, 0.01, 10000.0);
    // Each RIFF segment stays below 1 GiB, the limit players of AVI 1.0 files assume.
    Declare("MaxSegmentSize", 1024.0 * 1024.0 * 1024.0, 64.0 * 1024.0, 1024.0 * 1024.0 * 1024.0);
}

} // namespace container

namespace encoder {

std::vector<uint32_t> Encoder::GetSupportedPixelFormats() const
{
    return {BGR8, BGRa8, RGB8, RGBa8, Mono8};
}

void Encoder::Declare(const std::string& name, int value, int minimum, int maximum)
{
    std::lock_guard<std::mutex> lock(mutex_);
    options_[name] = Option{value, minimum, maximum};
}

bool Encoder::HasOption(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return options_.count(name) != 0;
}

void Encoder::SetOption(const std::string& name, int value)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = options_.find(name);
    if (it == options_.end())
        Raise(ReturnCode::InvalidArgument, "The encoder \"" + GetName() + "\" has no option \"" + name + "\".");
    if (value < it->second.minimum || value > it->second.maximum)
        Raise(ReturnCode::OutOfRange,
              "The value " + std::to_string(value) + " of option \"" + name + "\" is out of range.");
    it->second.value = value;
}

int Encoder::GetOption(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto it = options_.find(name);
    if (it == options_.end())
        Raise(ReturnCode::InvalidArgument, "The encoder \"" + GetName() + "\" has no option \"" + name + "\".");
    return it->second.value;
}

MJPEGEncoder::MJPEGEncoder()
{
    Declare("Quality", 75, 1, 100);
}

} // namespace encoder

// --- Writer

struct VideoWriter::Impl
{
    struct Slot
    {
        std::vector<uint8_t> pixels;
    };

    // Guards everything below up to the thread, except what the comment names as encoder-thread only.
    mutable std::mutex mutex;
    std::condition_variable work; // frames queued or stopping
    std::condition_variable done; // a frame finished or the queue emptied
    bool open = false;
    bool stopping = false;
    std::string fileName, partName;
    std::shared_ptr<container::Container> container;
    std::shared_ptr<encoder::Encoder> encoder;
    std::vector<Slot> slots;
    std::vector<size_t> freeSlots;
    std::deque<size_t> queue; // the front is being encoded until it is popped
    uint32_t width = 0, height = 0, format = 0;
    uint64_t encoded = 0, dropped = 0, fileSize = 0;
    std::string error; // first failure of the encoder thread
    std::thread thread;

    // Encoder thread only (and Close after the join).
    std::unique_ptr<detail::AviFile> avi; // made anew by each Open
    std::vector<uint8_t> encodedBytes;
    cv::Mat bgr;

    void Run();
    void Encode(const Slot& slot, uint32_t w, uint32_t h, uint32_t f);
};

void VideoWriter::Impl::Encode(const Slot& slot, uint32_t w, uint32_t h, uint32_t f)
{
    const bool mjpeg = encoder->GetName() == "mjpeg";
    const int channels = PixelFormat::GetNumChannels(f);
    const cv::Mat frame(int(h), int(w), CV_8UC(channels), const_cast<uint8_t*>(slot.pixels.data()));
    if (!avi->HasBegun())
    {
        detail::AviFile::Format format;
        format.width = w;
        format.height = h;
        format.mjpeg = mjpeg;
        format.grey = channels == 1;
        avi->Begin(format);
    }
    if (mjpeg)
    {
        const cv::Mat* source = &frame;
        // OpenCV's JPEG encoder takes BGR and BGRA (dropping alpha row by row) itself; only the RGB orders
        // need a full-frame swap first.
        if (f == RGB8)
            cv::cvtColor(frame, bgr, cv::COLOR_RGB2BGR), source = &bgr;
        else if (f == RGBa8)
            cv::cvtColor(frame, bgr, cv::COLOR_RGBA2BGR), source = &bgr;
        const std::vector<int> params = {cv::IMWRITE_JPEG_QUALITY, encoder->GetOption("Quality")};
        if (!cv::imencode(".jpg", *source, encodedBytes, params))
            Raise(ReturnCode::Error, "Could not encode a video frame as JPEG.");
    }
    else
    {
        // Uncompressed DIB: rows bottom-up, each padded to 4 bytes; 24-bit BGR or 8-bit grey.
        const size_t outChannels = channels == 1 ? 1 : 3;
        const size_t row = (w * outChannels + 3) & ~size_t{3};
        encodedBytes.assign(row * h, 0);
        const bool rgb = f == RGB8 || f == RGBa8;
        for (uint32_t y = 0; y < h; ++y)
        {
            const uint8_t* s = frame.ptr<uint8_t>(int(h - 1 - y));
            uint8_t* d = encodedBytes.data() + y * row;
            if (channels == 1)
            {
                std::memcpy(d, s, w);
                continue;
            }
            for (uint32_t x = 0; x < w; ++x, s += channels, d += 3)
            {
                d[0] = rgb ? s[2] : s[0];
                d[1] = s[1];
                d[2] = rgb ? s[0] : s[2];
            }
        }
    }
    avi->WriteFrame(encodedBytes.data(), encodedBytes.size());
}

void VideoWriter::Impl::Run()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;)
    {
        work.wait(lock, [&] { return !queue.empty() || stopping; });
        if (queue.empty())
            break;
        const size_t index = queue.front();
        const uint32_t w = width, h = height, f = format;
        const bool failed = !error.empty();
        lock.unlock();
        std::string failure;
        if (!failed)
        {
            try
            {
                Encode(slots[index], w, h, f);
            }
            catch (const std::exception& e)
            {
                failure = e.what();
            }
        }
        const uint64_t size = avi->Size();
        lock.lock();
        queue.pop_front();
        freeSlots.push_back(index);
        if (failed || !failure.empty())
        {
            ++dropped;
            if (error.empty())
                error = failure;
        }
        else
        {
            ++encoded;
        }
        fileSize = size;
        done.notify_all();
    }
}

std::vector<std::string> VideoWriter::GetSupportedContainers()
{
    return {"avi"};
}

std::vector<std::string> VideoWriter::GetSupportedEncodersForAContainer(const std::string& name)
{
    if (name == "avi")
        return {"mjpeg", "raw"};
    return {};
}

VideoWriter::VideoWriter() : impl_(std::make_unique<Impl>()) {}

VideoWriter::~VideoWriter()
{
    try
    {
        Close();
    }
    catch (const std::exception&)
    {
        // A destructor cannot report; Close() called by the owner does.
    }
}

void VideoWriter::Open(const std::string& fileName, std::shared_ptr<container::Container> container,
                       std::shared_ptr<encoder::Encoder> encoder, size_t queueSize)
{
    if (!container || !encoder)
        Raise(ReturnCode::InvalidArgument, "The given pointer is a null pointer!");
    if (fileName.empty())
        Raise(ReturnCode::InvalidArgument, "The file name is empty.");
    const auto encoders = GetSupportedEncodersForAContainer(container->GetName());
    if (std::find(encoders.begin(), encoders.end(), encoder->GetName()) == encoders.end())
        Raise(ReturnCode::InvalidArgument, "The encoder \"" + encoder->GetName() +
                                               "\" is not supported by the container \"" + container->GetName() +
                                               "\".");
    if (queueSize < 1 || queueSize > 256)
        Raise(ReturnCode::OutOfRange,
              "A queue of " + std::to_string(queueSize) + " frames is out of range (1 to 256).");

    std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->open)
        Raise(ReturnCode::NotPermitted, "The video \"" + impl_->fileName + "\" is already open.");
    Impl& d = *impl_;
    d.avi = std::make_unique<detail::AviFile>();
    d.partName = fileName + ".part";
    d.avi->Create(d.partName, static_cast<uint64_t>(container->GetOption("MaxSegmentSize")));
    d.fileName = fileName;
    d.container = std::move(container);
    d.encoder = std::move(encoder);
    d.slots.assign(queueSize, {});
    d.freeSlots.clear();
    for (size_t i = queueSize; i-- > 0;)
        d.freeSlots.push_back(i);
    d.queue.clear();
    d.width = d.height = d.format = 0;
    d.encoded = d.dropped = d.fileSize = 0;
    d.error.clear();
    d.stopping = false;
    d.open = true;
    d.thread = std::thread([&d] { d.Run(); });
}

bool VideoWriter::IsOpen() const
{
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->open;
}

bool VideoWriter::Append(const Image& image)
{
    if (image.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    std::lock_guard<std::mutex> lock(impl_->mutex);
    Impl& d = *impl_;
    if (!d.open || d.stopping)
        Raise(ReturnCode::InvalidHandle, "The video is not open.");
    const uint32_t f = image.GetPixelFormat();
    const auto formats = d.encoder->GetSupportedPixelFormats();
    if (std::find(formats.begin(), formats.end(), f) == formats.end())
        Raise(ReturnCode::ImageFormatNotSupported,
              "The encoder \"" + d.encoder->GetName() + "\" does not take " + PixelFormat::ToName(f) + " frames.");
    if (d.format == 0)
    {
        d.width = image.GetWidth();
        d.height = image.GetHeight();
        d.format = f;
    }
    else if (f != d.format || image.GetWidth() != d.width || image.GetHeight() != d.height)
    {
        Raise(ReturnCode::InvalidArgument,
              "The frame (" + PixelFormat::ToName(f) + ", " + std::to_string(image.GetWidth()) + "x" +
                  std::to_string(image.GetHeight()) + ") differs from the video (" + PixelFormat::ToName(d.format) +
                  ", " + std::to_string(d.width) + "x" + std::to_string(d.height) + ").");
    }
    if (d.freeSlots.empty())
    {
        ++d.dropped;
        return false;
    }
    const size_t index = d.freeSlots.back();
    d.freeSlots.pop_back();
    // The copy is made under the lock so that Close cannot finish between reserving and queueing; it is
    // one memcpy of the frame, and the slot keeps its capacity for the next frames.
    d.slots[index].pixels.assign(image.GetData(), image.GetData() + image.GetByteCount());
    d.queue.push_back(index);
    d.work.notify_one();
    return true;
}

void VideoWriter::WaitUntilFrameDone(uint32_t timeoutMs)
{
    std::unique_lock<std::mutex> lock(impl_->mutex);
    Impl& d = *impl_;
    const uint64_t finished = d.encoded + d.dropped;
    if (!d.done.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                         [&] { return d.queue.empty() || d.encoded + d.dropped != finished; }))
        Raise(ReturnCode::Timeout, "No video frame was finished within " + std::to_string(timeoutMs) + " ms.");
}

size_t VideoWriter::GetQueued() const
{
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->queue.size();
}

uint64_t VideoWriter::GetEncodedFrames() const
{
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->encoded;
}

uint64_t VideoWriter::GetDroppedFrames() const
{
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->dropped;
}

uint64_t VideoWriter::GetFileSize() const
{
    std::lock_guard<std::mutex> lock(impl_->mutex);
    return impl_->fileSize;
}

void VideoWriter::Close()
{
    Impl& d = *impl_;
    {
        std::lock_guard<std::mutex> lock(d.mutex);
        if (!d.open || d.stopping)
            return;
        d.stopping = true;
        d.work.notify_all();
    }
    d.thread.join(); // the thread drains the queue before it ends
    std::string error;
    {
        std::lock_guard<std::mutex> lock(d.mutex);
        error = d.error;
    }
    if (error.empty())
    {
        try
        {
            d.avi->Finish(d.container->GetOption("FrameRate"));
            if (std::rename(d.partName.c_str(), d.fileName.c_str()) != 0)
                error = "Could not rename \"" + d.partName + "\" to \"" + d.fileName + "\": " + std::strerror(errno);
        }
        catch (const std::exception& e)
        {
            error = e.what();
        }
    }
    {
        std::lock_guard<std::mutex> lock(d.mutex);
        d.fileSize = d.avi->Size();
        d.open = false;
        d.stopping = false;
    }
    if (!error.empty())
    {
        d.avi->Abort();
        std::remove(d.partName.c_str());
        Raise(ReturnCode::IOError, "The video \"" + d.fileName + "\" could not be written: " + error);
    }
}

} // namespace orna::ipl
