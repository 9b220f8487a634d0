// Video recording: orna::ipl::VideoWriter with an AVI container and an MJPEG or raw encoder.
//
// Append() copies the frame into a slot of a bounded queue and returns at once; one encoder thread per
// open video encodes the frames in order and writes them into the file. When every slot is taken the new
// frame is dropped and counted. The AVI file is written by our own RIFF writer with OpenDML (AVI 2.0)
// indexes, so files beyond 1 GiB play: each RIFF segment stays below the segment limit and carries a
// standard index, the stream header a super index, and the first segment also the legacy idx1 index.
// The file is written under a temporary name and renamed to its final name by Close(), so an interrupted
// recording never leaves a truncated file under the chosen name.
//
// Container options (AVIContainer): "FrameRate" (frames per second of playback, default 25; may change
// until Close, the headers are written then), "MaxSegmentSize" (bytes per RIFF segment, default 1 GiB;
// small values serve tests). Encoder options: "Quality" (MJPEG only, percent 1..100, default 75; read per
// frame).
//
// Input formats: "BGR8", "BGRa8", "RGB8", "RGBa8", "Mono8". The first frame fixes size and format of the
// video; a frame of another size or format raises InvalidArgumentException.
//
// Threads: Open, Append, Close and the getters may be called from any thread (the capture worker appends,
// the GUI thread reads the counters, waits and closes). A mutex inside guards the queue, the counters and
// the open state; file I/O runs on the encoder thread only, outside that mutex.
#pragma once

#include "orna/ipl/image.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::ipl {

namespace container {

class Container
{
public:
    virtual ~Container() = default;
    virtual std::string GetName() const = 0;
    // Raises InvalidArgumentException for an unknown option name or a value out of range.
    void SetOption(const std::string& name, double value);
    double GetOption(const std::string& name) const;

protected:
    Container() = default;
    void Declare(const std::string& name, double value, double minimum, double maximum);

private:
    struct Option
    {
        double value, minimum, maximum;
    };
    mutable std::mutex mutex_; // guards options_: set on the GUI thread, read by the encoder thread
    std::map<std::string, Option> options_;
};

class AVIContainer : public Container
{
public:
    AVIContainer();
    std::string GetName() const override { return "avi"; }
};

} // namespace container

namespace encoder {

class Encoder
{
public:
    virtual ~Encoder() = default;
    virtual std::string GetName() const = 0;
    virtual std::vector<uint32_t> GetSupportedPixelFormats() const;
    // Raises InvalidArgumentException for an unknown option or a value out of range.
    void SetOption(const std::string& name, int value);
    int GetOption(const std::string& name) const;
    bool HasOption(const std::string& name) const;

protected:
    Encoder() = default;
    void Declare(const std::string& name, int value, int minimum, int maximum);

private:
    struct Option
    {
        int value, minimum, maximum;
    };
    mutable std::mutex mutex_; // guards options_
    std::map<std::string, Option> options_;
};

class MJPEGEncoder : public Encoder
{
public:
    MJPEGEncoder();
    std::string GetName() const override { return "mjpeg"; }
};

class RawEncoder : public Encoder
{
public:
    RawEncoder() = default;
    std::string GetName() const override { return "raw"; }
};

} // namespace encoder

class VideoWriter
{
public:
    static std::vector<std::string> GetSupportedContainers();                                   // "avi"
    static std::vector<std::string> GetSupportedEncodersForAContainer(const std::string& name); // "mjpeg", "raw"

    VideoWriter();
    ~VideoWriter(); // closes an open video; errors are swallowed there, call Close() to see them
    VideoWriter(const VideoWriter&) = delete;
    VideoWriter& operator=(const VideoWriter&) = delete;

    // Opens fileName for writing. queueSize frames may wait for the encoder (1 to 256). Raises
    // NotPermittedException when already open, IOException when the file cannot be created.
    void Open(const std::string& fileName, std::shared_ptr<container::Container> container,
              std::shared_ptr<encoder::Encoder> encoder, size_t queueSize = 16);
    bool IsOpen() const;
    // Encodes what is queued, completes the headers and indexes and renames the file into place. Raises
    // IOException when writing failed at any point of the recording (the partial file is removed).
    void Close();

    // Queues a copy of the frame; false when it was dropped because the queue was full. Raises
    // InvalidHandleException when not open, ImageFormatNotSupportedException or InvalidArgumentException
    // for frames the video cannot take.
    bool Append(const Image& image);
    // Blocks until the encoder finished one more frame or the queue is empty; raises TimeoutException after
    // timeoutMs.
    void WaitUntilFrameDone(uint32_t timeoutMs = 10000);

    size_t GetQueued() const;
    uint64_t GetEncodedFrames() const;
    uint64_t GetDroppedFrames() const;
    uint64_t GetFileSize() const; // bytes written so far

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace orna::ipl
