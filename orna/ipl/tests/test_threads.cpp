// Cross-thread use as the capture loop does it: images from the converter's pool die on other threads;
// the video writer is fed by one thread while another polls its counters. Run also under TSan.
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/threads.h"
#include "orna/ipl/videowriter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

using namespace orna::ipl;

// A pool buffer is reused only after the consumer thread dropped its image: a held image never changes.
TEST(IplThreads, PoolImagesHeldByAnotherThreadAreNeverOverwritten)
{
    ImageConverter converter;
    converter.PreAllocateConversion(Mono8, RGB8, 32, 16, 3);
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<std::shared_ptr<Image>> handed;
    std::atomic<bool> stop{false};
    std::atomic<int> corrupted{0}, checked{0};

    std::thread consumer([&] {
        for (;;)
        {
            std::shared_ptr<Image> image;
            {
                std::unique_lock<std::mutex> lock(mutex);
                ready.wait(lock, [&] { return !handed.empty() || stop; });
                if (handed.empty())
                    return;
                image = handed.front();
                handed.pop_front();
            }
            // The first byte stamps the frame; every other byte must still carry the same stamp.
            const uint8_t stamp = image->GetData()[0];
            std::this_thread::yield();
            for (size_t i = 0; i < image->GetByteCount(); ++i)
                if (image->GetData()[i] != stamp)
                {
                    ++corrupted;
                    break;
                }
            ++checked;
        }
    });

    Image source = Image::Construct(Mono8, 32, 16);
    for (int frame = 0; frame < 2000; ++frame)
    {
        std::memset(source.GetData(), frame & 0xFF, source.GetByteCount());
        auto image = std::make_shared<Image>(converter.Convert(source, RGB8));
        std::lock_guard<std::mutex> lock(mutex);
        handed.push_back(std::move(image));
        ready.notify_one();
    }
    {
        std::lock_guard<std::mutex> lock(mutex);
        stop = true;
        ready.notify_one();
    }
    consumer.join();
    EXPECT_EQ(corrupted.load(), 0);
    EXPECT_EQ(checked.load(), 2000);
}

TEST(IplThreads, VideoCountersWhileAnotherThreadAppends)
{
    const char* home = std::getenv("LUMIVUE_TEST_HOME");
    const auto dir = std::filesystem::path(home ? home : std::filesystem::temp_directory_path().string());
    const std::string file = (dir / "ipl-threads.avi").string();
    auto avi = std::make_shared<container::AVIContainer>();
    auto mjpeg = std::make_shared<encoder::MJPEGEncoder>();
    VideoWriter writer;
    writer.Open(file, avi, mjpeg, 3);
    std::atomic<bool> appending{true};
    std::atomic<int> accepted{0};
    std::thread capture([&] {
        Image frame = Image::Construct(BGRa8, 64, 48);
        for (int i = 0; i < 300; ++i)
        {
            std::memset(frame.GetData(), i & 0xFF, frame.GetByteCount());
            accepted += writer.Append(frame);
        }
        appending = false;
    });
    uint64_t lastEncoded = 0;
    while (appending)
    { // the GUI thread's counter timer
        const uint64_t encoded = writer.GetEncodedFrames();
        EXPECT_GE(encoded, lastEncoded);
        lastEncoded = encoded;
        EXPECT_LE(writer.GetQueued(), 3u);
        mjpeg->SetOption("Quality", 50 + int(encoded % 40));
        std::this_thread::yield();
    }
    capture.join();
    while (writer.GetQueued() > 0)
        writer.WaitUntilFrameDone();
    writer.Close();
    EXPECT_EQ(writer.GetEncodedFrames(), uint64_t(accepted.load()));
    EXPECT_EQ(writer.GetEncodedFrames() + writer.GetDroppedFrames(), 300u);
    std::filesystem::remove(file);
}

// A kernel cap of one runs the bands on the calling thread and must give the same bytes as the pool; the
// band split is where a seam (a row demosaiced without its real neighbour) would show.
TEST(IplThreads, OneKernelThreadGivesTheSameImageAsThePool)
{
    constexpr uint32_t kWidth = 640, kHeight = 483; // an odd height puts band edges on both row kinds
    Image raw = Image::Construct(BayerRG8, kWidth, kHeight);
    for (size_t i = 0; i < raw.GetByteCount(); ++i)
        raw.GetData()[i] = uint8_t((i * 31 + (i / kWidth) * 17) & 0xFF);
    ImageConverter converter;
    // After the converter: it applies ORNA_IPL_KERNEL_THREADS, which the sanitizer runs set.
    const int before = GetKernelThreads();
    SetKernelThreads(4);
    EXPECT_EQ(GetKernelThreads(), 4);
    Image pooled = converter.Convert(raw, BGRa8);
    SetKernelThreads(1);
    EXPECT_EQ(GetKernelThreads(), 1);
    Image single = converter.Convert(raw, BGRa8);
    SetKernelThreads(0);
    EXPECT_GE(GetKernelThreads(), 1);
    SetKernelThreads(before);
    EXPECT_EQ(GetKernelThreads(), before);

    ASSERT_EQ(pooled.GetByteCount(), single.GetByteCount());
    EXPECT_EQ(std::memcmp(pooled.GetData(), single.GetData(), single.GetByteCount()), 0);
}
