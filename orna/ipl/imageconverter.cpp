#include "orna/ipl/imageconverter.h"

#include "orna/ipl/cvview.h"
#include "orna/ipl/demosaic.h"
#include "orna/ipl/exception.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/threads.h"
#include "orna/ipl/unpack.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace orna::ipl {

namespace {

std::once_flag environmentApplied;

// ORNA_IPL_KERNEL_THREADS caps the pool for the whole process before the first converter works (a host that
// keeps cores for its receive threads; ThreadSanitizer runs, which cannot see the pool's joins). A later
// SetKernelThreads wins.
void ApplyKernelThreadsFromEnvironment()
{
    std::call_once(environmentApplied, [] {
        const char* text = std::getenv("ORNA_IPL_KERNEL_THREADS");
        const long count = text ? std::strtol(text, nullptr, 10) : 0;
        if (count > 0)
            cv::setNumThreads(int(std::min<long>(count, 1024)));
    });
}

} // namespace

void SetKernelThreads(int count)
{
    ApplyKernelThreadsFromEnvironment();
    // OpenCV takes a negative count as "its default"; 0 would also mean one thread there.
    cv::setNumThreads(count <= 0 ? -1 : count);
}

int GetKernelThreads()
{
    return cv::getNumThreads();
}

namespace {

// --- Work splitting
//
// The unpack and shift loops run in parts on OpenCV's thread pool; parts are multiples of 8 pixels so
// packed groups never straddle two parts.
constexpr size_t kPartPixels = 1 << 16;

template <typename Fn> void ParallelPixels(size_t numPixels, Fn&& fn)
{
    const size_t parts = (numPixels + kPartPixels - 1) / kPartPixels;
    if (parts <= 1 || cv::getNumThreads() <= 1)
    {
        fn(size_t{0}, numPixels);
        return;
    }
    cv::parallel_for_(cv::Range(0, static_cast<int>(parts)), [&](const cv::Range& range) {
        const size_t begin = static_cast<size_t>(range.start) * kPartPixels;
        const size_t end = std::min(numPixels, static_cast<size_t>(range.end) * kPartPixels);
        fn(begin, end - begin);
    });
}

// Unpacks a packed mono/Bayer buffer into 8 bits (dst8 != nullptr) or 16 bits.
void UnpackRaw(Packing packing, const uint8_t* src, size_t numPixels, uint8_t* dst8, uint16_t* dst16)
{
    // Bytes per 8 pixels of each layout: 10 for 10-bit forms, 12 for 12-bit forms.
    const size_t bytesPer8 = (packing == Packing::P10 || packing == Packing::G40) ? 10 : 12;
    ParallelPixels(numPixels, [&](size_t first, size_t count) {
        const uint8_t* s = src + first / 8 * bytesPer8;
        switch (packing)
        {
        case Packing::P10:
            dst8 ? unpack::P10To8(s, dst8 + first, count) : unpack::P10To16(s, dst16 + first, count);
            break;
        case Packing::P12:
            dst8 ? unpack::P12To8(s, dst8 + first, count) : unpack::P12To16(s, dst16 + first, count);
            break;
        case Packing::G40:
            dst8 ? unpack::G40To8(s, dst8 + first, count) : unpack::G40To16(s, dst16 + first, count);
            break;
        case Packing::G24:
            dst8 ? unpack::G24To8(s, dst8 + first, count) : unpack::G24To16(s, dst16 + first, count);
            break;
        default:
            break;
        }
    });
}

// Copies samples from one bit depth to another by exact shifts. Both Mats are continuous and hold the
// same number of samples.
void AdjustDepth(const cv::Mat& from, int fromBits, cv::Mat& to, int toBits)
{
    const size_t count = from.total() * static_cast<size_t>(from.channels());
    const bool from16 = from.depth() == CV_16U;
    const bool to16 = to.depth() == CV_16U;
    if (from.data == to.data && fromBits == toBits)
        return;
    ParallelPixels(count, [&](size_t first, size_t n) {
        if (!from16 && !to16)
        {
            std::memcpy(to.data + first, from.data + first, n);
        }
        else if (from16 && !to16)
        {
            unpack::Shift16To8(from.ptr<uint16_t>() + first, to.data + first, n, fromBits - 8);
        }
        else if (!from16 && to16)
        {
            unpack::Expand8To16(from.data + first, to.ptr<uint16_t>() + first, n, toBits - 8);
        }
        else if (fromBits == toBits)
        {
            std::memcpy(to.ptr<uint16_t>() + first, from.ptr<uint16_t>() + first, n * 2);
        }
        else
        {
            unpack::Shift16(from.ptr<uint16_t>() + first, to.ptr<uint16_t>() + first, n, toBits - fromBits);
        }
    });
}

void FillAlpha16(cv::Mat& image, int bits)
{
    const uint16_t alpha = static_cast<uint16_t>((1u << bits) - 1);
    uint16_t* p = image.ptr<uint16_t>();
    const size_t n = image.total();
    for (size_t i = 0; i < n; ++i)
        p[4 * i + 3] = alpha;
}

// PFNC names the colour of the first pixel pair; OpenCV names the second row's pair, so the letters of
// both axes are swapped: PFNC BayerRG is OpenCV's BayerBG.
int DemosaicCode(BayerPattern pattern, ConversionMode mode, int channels, bool rgb)
{
    enum
    {
        kBG,
        kGB,
        kRG,
        kGR
    };
    int cv = kBG;
    switch (pattern)
    {
    case BayerPattern::RG:
        cv = kBG;
        break;
    case BayerPattern::GR:
        cv = kGB;
        break;
    case BayerPattern::GB:
        cv = kGR;
        break;
    case BayerPattern::BG:
        cv = kRG;
        break;
    case BayerPattern::None:
        break;
    }
    static const int gray[] = {cv::COLOR_BayerBG2GRAY, cv::COLOR_BayerGB2GRAY, cv::COLOR_BayerRG2GRAY,
                               cv::COLOR_BayerGR2GRAY};
    static const int bgr[] = {cv::COLOR_BayerBG2BGR, cv::COLOR_BayerGB2BGR, cv::COLOR_BayerRG2BGR,
                              cv::COLOR_BayerGR2BGR};
    static const int rgbCodes[] = {cv::COLOR_BayerBG2RGB, cv::COLOR_BayerGB2RGB, cv::COLOR_BayerRG2RGB,
                                   cv::COLOR_BayerGR2RGB};
    static const int bgra[] = {cv::COLOR_BayerBG2BGRA, cv::COLOR_BayerGB2BGRA, cv::COLOR_BayerRG2BGRA,
                               cv::COLOR_BayerGR2BGRA};
    static const int rgba[] = {cv::COLOR_BayerBG2RGBA, cv::COLOR_BayerGB2RGBA, cv::COLOR_BayerRG2RGBA,
                               cv::COLOR_BayerGR2RGBA};
    static const int bgrEA[] = {cv::COLOR_BayerBG2BGR_EA, cv::COLOR_BayerGB2BGR_EA, cv::COLOR_BayerRG2BGR_EA,
                                cv::COLOR_BayerGR2BGR_EA};
    static const int rgbEA[] = {cv::COLOR_BayerBG2RGB_EA, cv::COLOR_BayerGB2RGB_EA, cv::COLOR_BayerRG2RGB_EA,
                                cv::COLOR_BayerGR2RGB_EA};
    static const int bgrVNG[] = {cv::COLOR_BayerBG2BGR_VNG, cv::COLOR_BayerGB2BGR_VNG, cv::COLOR_BayerRG2BGR_VNG,
                                 cv::COLOR_BayerGR2BGR_VNG};
    static const int rgbVNG[] = {cv::COLOR_BayerBG2RGB_VNG, cv::COLOR_BayerGB2RGB_VNG, cv::COLOR_BayerRG2RGB_VNG,
                                 cv::COLOR_BayerGR2RGB_VNG};
    if (channels == 1)
        return gray[cv];
    if (mode == ConversionMode::HQ)
        return rgb ? rgbEA[cv] : bgrEA[cv];
    if (mode == ConversionMode::Classic)
        return rgb ? rgbVNG[cv] : bgrVNG[cv];
    if (channels == 4)
        return rgb ? rgba[cv] : bgra[cv];
    return rgb ? rgbCodes[cv] : bgr[cv];
}

// Channel order and alpha between interleaved colour layouts; -1 when nothing changes.
int ColorCode(int srcChannels, bool srcRgb, int dstChannels, bool dstRgb)
{
    const bool swap = srcRgb != dstRgb;
    if (srcChannels == 3 && dstChannels == 3)
        return swap ? cv::COLOR_BGR2RGB : -1;
    if (srcChannels == 3 && dstChannels == 4)
        return swap ? cv::COLOR_BGR2RGBA : cv::COLOR_BGR2BGRA;
    if (srcChannels == 4 && dstChannels == 3)
        return swap ? cv::COLOR_BGRA2RGB : cv::COLOR_BGRA2BGR;
    return swap ? cv::COLOR_BGRA2RGBA : -1;
}

int ToGrayCode(int srcChannels, bool srcRgb)
{
    if (srcChannels == 3)
        return srcRgb ? cv::COLOR_RGB2GRAY : cv::COLOR_BGR2GRAY;
    return srcRgb ? cv::COLOR_RGBA2GRAY : cv::COLOR_BGRA2GRAY;
}

[[noreturn]] void Unsupported(uint32_t src, uint32_t dst)
{
    Raise(ReturnCode::ImageFormatNotSupported,
          "The conversion from " + PixelFormat::ToName(src) + " to " + PixelFormat::ToName(dst) + " is not supported.");
}

} // namespace

// --- Pool and scratch

struct ImageConverter::Impl
{
    struct Pool
    {
        uint32_t format = 0;
        uint32_t width = 0;
        uint32_t height = 0;
        size_t bytes = 0;
        std::vector<detail::ImageStorage*> storages; // one reference each, held by the pool
    };

    std::atomic<int> mode{static_cast<int>(ConversionMode::Fast)};
    std::vector<Pool> pools;
    // Scratch for intermediate steps. Each only grows, so a converter that alternates between two
    // conversions (destination and display) settles without reallocating.
    struct Scratch
    {
        cv::Mat store;
        cv::Mat Get(int rows, int cols, int type)
        {
            const size_t need = size_t(rows) * size_t(cols) * CV_ELEM_SIZE(type);
            if (store.empty() || store.total() < need)
                store.create(1, static_cast<int>(need), CV_8U);
            return cv::Mat(rows, cols, type, store.data);
        }
    };
    Scratch raw8, raw16, color, color2, ten;

    ~Impl()
    {
        for (auto& pool : pools)
            for (auto* storage : pool.storages)
                storage->Release();
    }

    Image Output(uint32_t format, uint32_t width, uint32_t height)
    {
        for (auto& pool : pools)
        {
            if (pool.format != format || pool.width != width || pool.height != height)
                continue;
            for (auto* storage : pool.storages)
                if (storage->IsUnique())
                    return Image::FromStorage(storage, format, width, height, pool.bytes);
        }
        return Image::Construct(format, width, height);
    }

    bool DemosaicTo8Bit(const Image& src, Image& dst);
    void ConvertRaw(const Image& src, Image& dst, ConversionMode mode);
    void ConvertColor(const Image& src, Image& dst);
    void ConvertYuv(const Image& src, Image& dst);
    void FinishColor(cv::Mat& work, int workBits, Image& dst);
};

// Moves a colour result (3 or 4 channels, destination order) into the destination: bit depth, p32
// packing, alpha.
void ImageConverter::Impl::FinishColor(cv::Mat& work, int workBits, Image& dst)
{
    const uint32_t format = dst.GetPixelFormat();
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    if (PixelFormat::GetPacking(format) == Packing::P32)
    {
        cv::Mat ten;
        if (work.depth() == CV_16U && workBits == 10)
        {
            ten = work;
        }
        else
        {
            ten = this->ten.Get(work.rows, work.cols, CV_16UC3);
            AdjustDepth(work, workBits, ten, 10);
        }
        unpack::Pack16ToP32(ten.ptr<uint16_t>(), dst.GetData(), ten.total());
        return;
    }
    cv::Mat out = detail::View(dst);
    AdjustDepth(work, workBits, out, bits); // in place when work is the destination itself
    if (out.channels() == 4 && out.depth() == CV_16U)
        FillAlpha16(out, bits);
}

// The display path in one pass: 8-bit BGRA/RGBA (and BGR/RGB, through a row of BGRA in the band's own
// memory) from any mosaic of 8, 10 or 12 bits, packed or not, bilinear. Each band of rows narrows (or
// unpacks) only the three mosaic rows it is working on into its own small ring, so no full-size
// intermediate is made. False when the geometry does not allow it (tiny
// images; packed rows that do not start on a group boundary), and the general path runs instead.
bool ImageConverter::Impl::DemosaicTo8Bit(const Image& src, Image& dst)
{
    const uint32_t fs = src.GetPixelFormat();
    const uint32_t w = src.GetWidth(), h = src.GetHeight();
    const Packing packing = PixelFormat::GetPacking(fs);
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(fs);
    if (w < 4 || h < 4 || (packing != Packing::None && w % 8 != 0))
        return false;
    const BayerPattern pattern = PixelFormat::GetBayerPattern(fs);
    const bool rgbOrder = PixelFormat::IsRGBOrder(dst.GetPixelFormat());
    const uint8_t* data = src.GetData();
    const size_t rowBytes =
        packing == Packing::None ? size_t(w) * (bits > 8 ? 2 : 1) : size_t(w) / 8 * (bits == 10 ? 10 : 12);
    const bool direct = packing == Packing::None && bits == 8;

    const int threads = cv::getNumThreads();
    const int bands = threads <= 1 ? 1 : int(std::min<uint32_t>(h / 8 + 1, uint32_t(4 * threads)));
    const int channels = PixelFormat::GetNumChannels(dst.GetPixelFormat());
    // Per band: three mosaic rows, and for three-channel results one four-channel row.
    const size_t perBand = size_t(w) * (channels == 3 ? 7 : 3);
    cv::Mat ring = raw8.Get(1, int(bands * perBand), CV_8U);

    const auto body = [&](const cv::Range& range) {
        for (int band = range.start; band < range.end; ++band)
        {
            const uint32_t y0 = uint32_t(uint64_t(h) * band / bands);
            const uint32_t y1 = uint32_t(uint64_t(h) * (band + 1) / bands);
            uint8_t* slots = ring.data + size_t(band) * perBand;
            uint8_t* wide = slots + size_t(3) * w;
            // Row r of the mosaic as 8-bit samples; buffered rows go to slot (r mod 3), mirrored at the edges.
            const auto rowAt = [&](int64_t r) -> const uint8_t* {
                const uint32_t y = uint32_t(r < 0 ? 1 : (r >= int64_t(h) ? h - 2 : r));
                const uint8_t* in = data + rowBytes * y;
                if (direct)
                    return in;
                uint8_t* out = slots + size_t((r + 3) % 3) * w;
                switch (packing)
                {
                case Packing::None:
                    unpack::Shift16To8(reinterpret_cast<const uint16_t*>(in), out, w, bits - 8);
                    break;
                case Packing::P10:
                    unpack::P10To8(in, out, w);
                    break;
                case Packing::P12:
                    unpack::P12To8(in, out, w);
                    break;
                case Packing::G40:
                    unpack::G40To8(in, out, w);
                    break;
                case Packing::G24:
                    unpack::G24To8(in, out, w);
                    break;
                default:
                    break;
                }
                return out;
            };
            const uint8_t* above = rowAt(int64_t(y0) - 1);
            const uint8_t* row = rowAt(y0);
            for (uint32_t y = y0; y < y1; ++y)
            {
                const uint8_t* below = rowAt(int64_t(y) + 1);
                bool redRow, colourAtEven;
                detail::BayerRowKind(pattern, y, redRow, colourAtEven);
                if (channels == 4)
                {
                    detail::DemosaicRowBGRA8(above, row, below, dst.GetData() + size_t(y) * w * 4, w, redRow,
                                             colourAtEven, rgbOrder);
                }
                else
                {
                    detail::DemosaicRowBGRA8(above, row, below, wide, w, redRow, colourAtEven, rgbOrder);
                    detail::CompactRow4To3(wide, dst.GetData() + size_t(y) * w * 3, w);
                }
                above = row;
                row = below;
            }
        }
    };
    if (bands == 1)
        body(cv::Range(0, 1));
    else
        cv::parallel_for_(cv::Range(0, bands), body);
    return true;
}

void ImageConverter::Impl::ConvertRaw(const Image& src, Image& dst, ConversionMode mode)
{
    const uint32_t fs = src.GetPixelFormat();
    const uint32_t fd = dst.GetPixelFormat();
    const int w = static_cast<int>(src.GetWidth());
    const int h = static_cast<int>(src.GetHeight());
    const size_t n = size_t(w) * size_t(h);
    const Packing packing = PixelFormat::GetPacking(fs);
    const int bs = PixelFormat::GetNumSignificantBitsPerChannel(fs);
    const int bd = PixelFormat::GetNumSignificantBitsPerChannel(fd);
    const bool bayer = PixelFormat::IsBayered(fs);
    const bool dstRaw = !PixelFormat::IsColor(fd);
    // Same kind: mono to mono, Bayer to Bayer (only a depth change); a mosaic to mono needs demosaicing.
    const bool sameKind = dstRaw && (PixelFormat::IsBayered(fd) == bayer);

    if (bayer && !sameKind && mode == ConversionMode::Classic && !dstRaw && bs > 8)
        Raise(ReturnCode::ImageFormatNotSupported,
              "The conversion mode \"Classic\" supports 8-bit Bayer sources only, not " + PixelFormat::ToName(fs) +
                  ".");

    if (bayer && mode == ConversionMode::Fast && (fd == BGRa8 || fd == RGBa8 || fd == BGR8 || fd == RGB8) &&
        DemosaicTo8Bit(src, dst))
        return;

    // 1. The raw samples as a Mat of 8 or 16 bits (rawBits significant).
    cv::Mat raw;
    int rawBits = bs;
    const bool want8 = bd == 8 || (bayer && !sameKind && mode == ConversionMode::Classic);
    if (packing == Packing::None)
    {
        raw = cv::Mat(h, w, bs > 8 ? CV_16U : CV_8U, src.GetData());
    }
    else if (want8)
    {
        uint8_t* target = sameKind ? dst.GetData() : raw8.Get(h, w, CV_8U).data;
        UnpackRaw(packing, src.GetData(), n, target, nullptr);
        raw = cv::Mat(h, w, CV_8U, target);
        rawBits = 8;
    }
    else
    {
        uint16_t* target = (sameKind && bd == bs) ? reinterpret_cast<uint16_t*>(dst.GetData())
                                                  : raw16.Get(h, w, CV_16U).ptr<uint16_t>();
        UnpackRaw(packing, src.GetData(), n, nullptr, target);
        raw = cv::Mat(h, w, CV_16U, target);
    }

    // 2a. Same kind: a depth change at most.
    if (sameKind)
    {
        cv::Mat out = detail::View(dst);
        AdjustDepth(raw, rawBits, out, bd);
        return;
    }

    // A 16-bit mosaic for an 8-bit result is narrowed first: demosaicing 8 bits is cheaper.
    if (bd == 8 && raw.depth() == CV_16U)
    {
        cv::Mat narrow = raw8.Get(h, w, CV_8U);
        AdjustDepth(raw, rawBits, narrow, 8);
        raw = narrow;
        rawBits = 8;
    }

    // 2b. Mosaic to grey.
    if (dstRaw)
    {
        cv::Mat out = detail::View(dst);
        if (out.depth() == raw.depth())
        {
            cv::cvtColor(raw, out, DemosaicCode(PixelFormat::GetBayerPattern(fs), mode, 1, false));
            if (rawBits != bd)
                AdjustDepth(out, rawBits, out, bd);
        }
        else
        {
            cv::Mat grey = color.Get(h, w, raw.type());
            cv::cvtColor(raw, grey, DemosaicCode(PixelFormat::GetBayerPattern(fs), mode, 1, false));
            AdjustDepth(grey, rawBits, out, bd);
        }
        return;
    }

    // 2c. To colour: demosaic or expand grey, straight into the destination when depth and layout match.
    const bool p32 = PixelFormat::GetPacking(fd) == Packing::P32;
    const int channels = p32 ? 3 : PixelFormat::GetNumChannels(fd);
    const bool rgb = PixelFormat::IsRGBOrder(fd);
    const int workType = CV_MAKETYPE(raw.depth(), channels);
    cv::Mat work;
    if (!p32 && detail::CvTypeOf(fd) == workType)
        work = detail::View(dst);
    else
        work = color.Get(h, w, workType);

    if (bayer)
    {
        const int code = DemosaicCode(PixelFormat::GetBayerPattern(fs), mode, channels, rgb);
        if (channels == 4 && mode != ConversionMode::Fast)
        {
            // Edge-aware and VNG give three channels only.
            cv::Mat three = color2.Get(h, w, CV_MAKETYPE(raw.depth(), 3));
            cv::cvtColor(raw, three, DemosaicCode(PixelFormat::GetBayerPattern(fs), mode, 3, rgb));
            cv::cvtColor(three, work, cv::COLOR_BGR2BGRA);
        }
        else
        {
            cv::cvtColor(raw, work, code);
        }
    }
    else
    {
        cv::cvtColor(raw, work, channels == 4 ? cv::COLOR_GRAY2BGRA : cv::COLOR_GRAY2BGR);
    }
    FinishColor(work, rawBits, dst);
}

void ImageConverter::Impl::ConvertColor(const Image& src, Image& dst)
{
    const uint32_t fs = src.GetPixelFormat();
    const uint32_t fd = dst.GetPixelFormat();
    const int w = static_cast<int>(src.GetWidth());
    const int h = static_cast<int>(src.GetHeight());
    int bits = PixelFormat::GetNumSignificantBitsPerChannel(fs);
    const int bd = PixelFormat::GetNumSignificantBitsPerChannel(fd);
    const bool srcRgb = PixelFormat::IsRGBOrder(fs);

    cv::Mat in;
    if (PixelFormat::GetPacking(fs) == Packing::P32)
    {
        in = raw16.Get(h, w, CV_16UC3);
        unpack::P32To16(src.GetData(), in.ptr<uint16_t>(), size_t(w) * size_t(h));
        // Word order is first channel lowest: RGB10p32 yields R,G,B; BGR10p32 yields B,G,R.
    }
    else
    {
        in = detail::View(src);
    }
    if (bd == 8 && in.depth() == CV_16U)
    {
        cv::Mat narrow = raw8.Get(h, w, CV_8UC(in.channels()));
        AdjustDepth(in, bits, narrow, 8);
        in = narrow;
        bits = 8;
    }

    if (!PixelFormat::IsColor(fd))
    { // to grey
        cv::Mat out = detail::View(dst);
        if (out.depth() == in.depth())
        {
            cv::cvtColor(in, out, ToGrayCode(in.channels(), srcRgb));
            if (bits != bd)
                AdjustDepth(out, bits, out, bd);
        }
        else
        {
            cv::Mat grey = color.Get(h, w, in.depth());
            cv::cvtColor(in, grey, ToGrayCode(in.channels(), srcRgb));
            AdjustDepth(grey, bits, out, bd);
        }
        return;
    }

    const bool p32 = PixelFormat::GetPacking(fd) == Packing::P32;
    const int channels = p32 ? 3 : PixelFormat::GetNumChannels(fd);
    const int code = ColorCode(in.channels(), srcRgb, channels, PixelFormat::IsRGBOrder(fd));
    cv::Mat work;
    if (code < 0)
    {
        work = in;
    }
    else
    {
        const int workType = CV_MAKETYPE(in.depth(), channels);
        if (!p32 && detail::CvTypeOf(fd) == workType)
            work = detail::View(dst);
        else
            work = color.Get(h, w, workType);
        cv::cvtColor(in, work, code);
    }
    FinishColor(work, bits, dst);
}

void ImageConverter::Impl::ConvertYuv(const Image& src, Image& dst)
{
    const uint32_t fd = dst.GetPixelFormat();
    const int w = static_cast<int>(src.GetWidth());
    const int h = static_cast<int>(src.GetHeight());
    if (fd == Mono8)
    {
        std::memcpy(dst.GetData(), src.GetData(), size_t(w) * size_t(h));
        return;
    }
    const bool nv21 = src.GetPixelFormat() == YUV420_8_YY_VU_SemiplanarKVX;
    const bool rgb = PixelFormat::IsRGBOrder(fd);
    const bool alpha = PixelFormat::HasAlpha(fd);
    int code;
    if (nv21)
        code = alpha ? (rgb ? cv::COLOR_YUV2RGBA_NV21 : cv::COLOR_YUV2BGRA_NV21)
                     : (rgb ? cv::COLOR_YUV2RGB_NV21 : cv::COLOR_YUV2BGR_NV21);
    else
        code = alpha ? (rgb ? cv::COLOR_YUV2RGBA_NV12 : cv::COLOR_YUV2BGRA_NV12)
                     : (rgb ? cv::COLOR_YUV2RGB_NV12 : cv::COLOR_YUV2BGR_NV12);
    const cv::Mat in(h * 3 / 2, w, CV_8U, src.GetData());
    cv::Mat out = detail::View(dst);
    cv::cvtColor(in, out, code);
}

// --- Public interface

ImageConverter::ImageConverter() : impl_(std::make_unique<Impl>())
{
    ApplyKernelThreadsFromEnvironment();
}
ImageConverter::~ImageConverter() = default;

void ImageConverter::SetConversionMode(int mode)
{
    if (mode < 1 || mode > 3)
        Raise(ReturnCode::OutOfRange, "Conversion mode " + std::to_string(mode) + " is out of range (1 to 3).");
    impl_->mode.store(mode, std::memory_order_relaxed);
}

ConversionMode ImageConverter::GetConversionMode() const
{
    return static_cast<ConversionMode>(impl_->mode.load(std::memory_order_relaxed));
}

bool ImageConverter::IsConversionSupported(uint32_t fs, uint32_t fd)
{
    if (!PixelFormat::IsKnown(fs) || !PixelFormat::IsKnown(fd))
        return false;
    if (fs == fd)
        return true;
    const Packing pd = PixelFormat::GetPacking(fd);
    if (PixelFormat::IsYUV(fs))
        return fd == RGB8 || fd == BGR8 || fd == RGBa8 || fd == BGRa8 || fd == Mono8;
    if (pd != Packing::None && pd != Packing::P32)
        return false; // packed raw and YUV are camera formats, never produced here
    if (PixelFormat::IsYUV(fd))
        return false;
    if (PixelFormat::IsBayered(fd))
        return PixelFormat::IsBayered(fs) && PixelFormat::GetBayerPattern(fs) == PixelFormat::GetBayerPattern(fd);
    return true; // mono and colour destinations from mono, Bayer and colour sources
}

std::vector<uint32_t> ImageConverter::GetSupportedDestinations(uint32_t sourceFormat)
{
    std::vector<uint32_t> result;
    for (uint32_t fd : PixelFormat::AllFormats())
        if (IsConversionSupported(sourceFormat, fd))
            result.push_back(fd);
    return result;
}

void ImageConverter::PreAllocateConversion(uint32_t sourceFormat, uint32_t destinationFormat, uint32_t width,
                                           uint32_t height, size_t count)
{
    if (!IsConversionSupported(sourceFormat, destinationFormat))
        Unsupported(sourceFormat, destinationFormat);
    if (count > 64)
        Raise(ReturnCode::OutOfRange, "A pool of " + std::to_string(count) + " images is out of range (0 to 64).");
    const uint64_t bytes = PixelFormat::CalculateImageSize(destinationFormat, width, height);
    const uint64_t srcBytes = PixelFormat::CalculateImageSize(sourceFormat, width, height);

    auto it = std::find_if(impl_->pools.begin(), impl_->pools.end(), [&](const Impl::Pool& p) {
        return p.format == destinationFormat && p.width == width && p.height == height;
    });
    if (it == impl_->pools.end())
    {
        impl_->pools.push_back(Impl::Pool{destinationFormat, width, height, bytes, {}});
        it = impl_->pools.end() - 1;
    }
    while (it->storages.size() > count)
    {
        it->storages.back()->Release();
        it->storages.pop_back();
    }
    it->storages.reserve(count);
    while (it->storages.size() < count)
    {
        // Committed here, not on the first conversion into it: a pool image first used in the middle of a
        // stream (when consumers hold the others) would otherwise take one page fault per page on the
        // converting thread, which on a paravirtualised host costs more than the conversion itself.
        detail::ImageStorage* storage = detail::ImageStorage::Create(bytes);
        std::memset(storage->data, 0, bytes);
        it->storages.push_back(storage);
    }

    // One conversion of a blank frame sizes every scratch buffer of this path.
    detail::ImageStorage* blank = detail::ImageStorage::Create(srcBytes);
    std::memset(blank->data, 0, srcBytes);
    {
        Image source = Image::FromStorage(blank, sourceFormat, width, height, srcBytes);
        blank->Release();
        try
        {
            Image warm = Convert(source, destinationFormat);
        }
        catch (const ImageFormatNotSupportedException&)
        {
            // Classic mode with a deep mosaic: Convert will say so for real frames.
        }
    }
}

size_t ImageConverter::GetPoolSize(uint32_t destinationFormat, uint32_t width, uint32_t height) const
{
    for (const auto& pool : impl_->pools)
        if (pool.format == destinationFormat && pool.width == width && pool.height == height)
            return pool.storages.size();
    return 0;
}

Image ImageConverter::Convert(const Image& source, uint32_t destinationFormat)
{
    if (source.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The source image is empty.");
    const uint32_t fs = source.GetPixelFormat();
    if (!PixelFormat::IsKnown(destinationFormat))
        Raise(ReturnCode::ImageFormatNotSupported,
              "Unknown destination pixel format " + std::to_string(destinationFormat) + ".");
    if (!IsConversionSupported(fs, destinationFormat))
        Unsupported(fs, destinationFormat);
    const uint32_t w = source.GetWidth();
    const uint32_t h = source.GetHeight();
    // The image's own byte count was checked against the format when it was made; a re-tagged or foreign
    // image is checked again so that no kernel reads past it.
    if (source.GetByteCount() < PixelFormat::CalculateImageSize(fs, w, h))
        Raise(ReturnCode::BufferTooSmall, "The source image holds fewer bytes than its format needs.");
    (void)PixelFormat::CalculateImageSize(destinationFormat, w, h); // geometry rules of the destination

    Image dst = impl_->Output(destinationFormat, w, h);
    dst.SetTimestamp(source.GetTimestamp());
    if (fs == destinationFormat)
    {
        std::memcpy(dst.GetData(), source.GetData(), dst.GetByteCount());
        return dst;
    }
    const auto mode = GetConversionMode();
    try
    {
        if (PixelFormat::IsYUV(fs))
            impl_->ConvertYuv(source, dst);
        else if (PixelFormat::IsColor(fs))
            impl_->ConvertColor(source, dst);
        else
            impl_->ConvertRaw(source, dst, mode);
    }
    catch (const cv::Exception& e)
    {
        Raise(ReturnCode::Error, "The conversion from " + PixelFormat::ToName(fs) + " to " +
                                     PixelFormat::ToName(destinationFormat) + " failed: " + e.what());
    }
    return dst;
}

} // namespace orna::ipl
