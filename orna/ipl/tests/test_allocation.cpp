// A steady stream of conversions after PreAllocateConversion allocates no memory. This binary replaces
// the global operator new and, outside sanitizer builds (which own malloc), malloc and friends, and counts
// every call made while a counting window is open. The one exception is the Classic mode, whose OpenCV
// VNG kernel takes a small per-call working buffer of a few rows.
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>
#include <opencv2/core/utility.hpp>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <sys/resource.h>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORNA_TEST_COUNT_MALLOC 0
#else
#define ORNA_TEST_COUNT_MALLOC 1
#endif

namespace {
std::atomic<bool> counting{false};
std::atomic<long> allocations{0};
std::atomic<long> largestAllocation{0};

void Count(size_t size)
{
    if (!counting.load(std::memory_order_relaxed))
        return;
    allocations.fetch_add(1);
    long previous = largestAllocation.load();
    while (static_cast<long>(size) > previous && !largestAllocation.compare_exchange_weak(previous, long(size)))
    {
    }
}
} // namespace

#if ORNA_TEST_COUNT_MALLOC
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size)
{
    Count(size);
    return __libc_malloc(size);
}
void* calloc(size_t n, size_t size)
{
    Count(n * size);
    return __libc_calloc(n, size);
}
void* realloc(void* p, size_t size)
{
    Count(size);
    return __libc_realloc(p, size);
}
void free(void* p)
{
    __libc_free(p);
}
void* memalign(size_t alignment, size_t size)
{
    Count(size);
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size)
{
    Count(size);
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** out, size_t alignment, size_t size)
{
    Count(size);
    void* p = __libc_memalign(alignment, size);
    if (!p)
        return ENOMEM;
    *out = p;
    return 0;
}
}
#endif

void* operator new(size_t size)
{
    Count(size);
#if ORNA_TEST_COUNT_MALLOC
    void* p = __libc_malloc(size ? size : 1);
#else
    void* p = std::malloc(size ? size : 1);
#endif
    if (!p)
        throw std::bad_alloc();
    return p;
}
void* operator new[](size_t size)
{
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return operator new(size);
    }
    catch (...)
    {
        return nullptr;
    }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}
void operator delete(void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept
{
    std::free(p);
}
// Out of line so that the compiler does not pair a visible operator new with free().
__attribute__((noinline)) void RawFree(void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p) noexcept
{
    RawFree(p);
}
void operator delete[](void* p) noexcept
{
    RawFree(p);
}
void operator delete(void* p, size_t) noexcept
{
    RawFree(p);
}
void operator delete[](void* p, size_t) noexcept
{
    RawFree(p);
}

using namespace orna::ipl;

namespace {

struct Path
{
    uint32_t source, destination;
    int mode;
};

// The steady-state paths of the capture loop: camera format to destination, destination to display.
const Path kPaths[] = {
    {BayerRG8, BGRa8, 1},
    {BayerRG8, RGB8, 2},
    {BayerGB8, BGRa8, 3},
    {BayerRG12p, BGRa8, 1},
    {BayerRG12p, RGB12, 1},
    {BayerRG10g40KVX, BayerRG10, 1},
    {BayerGR10p, RGB10p32, 1},
    {Mono12p, Mono8, 1},
    {Mono10p, Mono10, 1},
    {Mono12g24KVX, RGB8, 1},
    {RGB12, RGB8, 1},
    {RGB10p32, RGB10, 1},
    {YUV420_8_YY_UV_SemiplanarKVX, BGRa8, 1},
    {BayerBG12, BGRa12, 2},
};

long SteadyStateAllocations(int threads, long* largest)
{
    cv::setNumThreads(threads);
    long total = 0;
    *largest = 0;
    std::mt19937 rng(3);
    for (const Path& path : kPaths)
    {
        SCOPED_TRACE(PixelFormat::ToName(path.source) + " -> " + PixelFormat::ToName(path.destination));
        const uint32_t w = 640, h = 480;
        Image source = Image::Construct(path.source, w, h);
        for (size_t i = 0; i < source.GetByteCount(); ++i)
            source.GetData()[i] = static_cast<uint8_t>(rng());
        ImageConverter converter;
        converter.SetConversionMode(path.mode);
        converter.PreAllocateConversion(path.source, path.destination, w, h, 3);
        // The display path of the same stream shares the converter (destination, then display format).
        const uint32_t display = PixelFormat::GetNumSignificantBitsPerChannel(path.destination) > 8
                                     ? PixelFormat::WithBitDepth(path.destination, 8)
                                     : 0;
        if (display)
            converter.PreAllocateConversion(path.destination, display, w, h, 3);

        allocations = 0;
        largestAllocation = 0;
        counting = true;
        for (int frame = 0; frame < 10; ++frame)
        {
            Image out = converter.Convert(source, path.destination);
            if (display)
            {
                Image shown = converter.Convert(out, display);
            }
        }
        counting = false;
        if (path.mode == 3)
        {
            // OpenCV's VNG takes a working buffer of a few rows per call, and with its pool one per stripe the
            // pool runs (how many varies with the scheduling); none is a frame buffer.
            EXPECT_LE(allocations.load(), 10L * (threads + 1));
            EXPECT_LT(largestAllocation.load(), long(w) * h);
            continue;
        }
        total += allocations.load();
        *largest = std::max(*largest, largestAllocation.load());
        if (threads == 1)
        {
            EXPECT_EQ(allocations.load(), 0);
        }
    }
    return total;
}

} // namespace

TEST(IplAllocation, SingleThreadedSteadyStreamAllocatesNothing)
{
    long largest = 0;
    EXPECT_EQ(SteadyStateAllocations(1, &largest), 0);
}

// With OpenCV's thread pool each parallel call may allocate a small job record; frame memory never is.
TEST(IplAllocation, MultiThreadedSteadyStreamAllocatesNoFrameMemory)
{
#if defined(__SANITIZE_THREAD__)
    // OpenCV's pool threads read the caller's stack through a hand-off TSan cannot see (the library is not
    // instrumented); the pool's own cross-thread use is covered by test_orna_ipl, which runs under TSan.
    GTEST_SKIP() << "OpenCV's uninstrumented thread pool makes TSan report its stack hand-off";
#endif
    long largest = 0;
    SteadyStateAllocations(cv::getNumberOfCPUs(), &largest);
    EXPECT_LT(largest, 4096) << "an allocation of frame size happened in the steady state";
    cv::setNumThreads(-1);
}

TEST(IplAllocation, CounterSeesAnAllocationWithoutPreAllocation)
{
    // Proves the counter works: the first conversion without a pool must allocate its destination.
    cv::setNumThreads(1);
    Image source = Image::Construct(BayerRG8, 64, 64);
    std::memset(source.GetData(), 1, source.GetByteCount());
    ImageConverter converter;
    allocations = 0;
    counting = true;
    {
        Image out = converter.Convert(source, BGRa8);
    }
    counting = false;
    EXPECT_GT(allocations.load(), 0);
    cv::setNumThreads(-1);
}

// Every pool image is backed by memory when PreAllocateConversion returns: a stream whose consumers hold
// several frames at once, so that the converter reaches images it has not used before, takes no page faults
// on the converting thread.
TEST(IplAllocation, EveryPoolImageIsCommittedBeforeTheStream)
{
    cv::setNumThreads(1);
    const uint32_t w = 1024, h = 1024; // 4 MiB a BGRa8 image: 1024 pages each
    Image source = Image::Construct(BayerRG8, w, h);
    std::memset(source.GetData(), 7, source.GetByteCount());
    ImageConverter converter;
    constexpr size_t kPool = 4;
    converter.PreAllocateConversion(BayerRG8, BGRa8, w, h, kPool);
    const auto minorFaults = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return long(usage.ru_minflt);
    };
    std::vector<Image> held;
    const long before = minorFaults();
    for (size_t i = 0; i < kPool; ++i)
        held.push_back(converter.Convert(source, BGRa8));
    const long faults = minorFaults() - before;
    // Untouched pool images would fault about 1024 times each; a few stray pages are allowed.
    EXPECT_LT(faults, 64) << faults << " page faults while converting into the pool";
    for (size_t i = 1; i < held.size(); ++i)
        EXPECT_NE(held[i].GetData(), held[0].GetData()) << "the converter left its pool";
    cv::setNumThreads(-1);
}
