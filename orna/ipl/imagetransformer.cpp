#include "orna/ipl/imagetransformer.h"

#include "orna/ipl/cvview.h"
#include "orna/ipl/exception.h"

#include <opencv2/core.hpp>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstring>
#include <string>

namespace orna::ipl {

namespace {

template <size_t N> struct Element
{
    uint8_t bytes[N];
};

// A quarter turn from src (width x height elements) into dst (height x width), in square tiles so that the
// rows a tile reads stay in the first-level cache while it writes whole runs of a destination row: one pass
// over each image. left turns counter-clockwise: source (x, y) lands on row width-1-x, column y; clockwise on
// row x, column height-1-y.
template <typename T>
void QuarterTurn(const uint8_t* srcBytes, uint8_t* dstBytes, size_t width, size_t height, bool left)
{
    constexpr size_t kTile = sizeof(T) >= 4 ? 32 : 64;
    const T* src = reinterpret_cast<const T*>(srcBytes);
    T* dst = reinterpret_cast<T*>(dstBytes);
    for (size_t y0 = 0; y0 < height; y0 += kTile)
    {
        const size_t y1 = std::min(height, y0 + kTile);
        for (size_t x0 = 0; x0 < width; x0 += kTile)
        {
            const size_t x1 = std::min(width, x0 + kTile);
            for (size_t x = x0; x < x1; ++x)
            {
                const T* in = src + x;
                if (left)
                {
                    T* out = dst + (width - 1 - x) * height;
                    for (size_t y = y0; y < y1; ++y)
                        out[y] = in[y * width];
                }
                else
                {
                    T* out = dst + x * height + (height - 1);
                    for (size_t y = y0; y < y1; ++y)
                        *(out - y) = in[y * width];
                }
            }
        }
    }
}

#if defined(__SSE2__)
// The 4-byte case (BGRa8, RGBa8, the display's formats) in 4 x 4 blocks transposed in registers. Four source
// columns at a time run down the whole image and fill four destination rows front to back: four write streams
// only. Wider strips would write more rows at once, and destination rows one or two pages apart (a height of
// 1024 or 2048) fall into the same first-level cache set, which then thrashes.
void QuarterTurn32(const uint8_t* srcBytes, uint8_t* dstBytes, size_t width, size_t height, bool left)
{
    const auto* src = reinterpret_cast<const uint32_t*>(srcBytes);
    auto* dst = reinterpret_cast<uint32_t*>(dstBytes);
    const size_t width4 = width & ~size_t(3), height4 = height & ~size_t(3);
    for (size_t x = 0; x < width4; x += 4)
    {
        // Destination rows of source columns x .. x + 3, and the step along them per block of four rows.
        uint32_t* out[4];
        for (size_t k = 0; k < 4; ++k)
            out[k] = left ? dst + (width - 1 - x - k) * height : dst + (x + k) * height + (height - 4);
        const ptrdiff_t step = left ? 4 : -4;
        const uint32_t* in = src + x;
        for (size_t y = 0; y < height4; y += 4, in += 4 * width)
        {
            const __m128i r0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
            const __m128i r1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + width));
            const __m128i r2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * width));
            const __m128i r3 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 3 * width));
            const __m128i t0 = _mm_unpacklo_epi32(r0, r1), t1 = _mm_unpacklo_epi32(r2, r3);
            const __m128i t2 = _mm_unpackhi_epi32(r0, r1), t3 = _mm_unpackhi_epi32(r2, r3);
            // c[k]: column x + k of the block, rows y .. y + 3.
            __m128i c[4] = {_mm_unpacklo_epi64(t0, t1), _mm_unpackhi_epi64(t0, t1), _mm_unpacklo_epi64(t2, t3),
                            _mm_unpackhi_epi64(t2, t3)};
            for (size_t k = 0; k < 4; ++k)
            {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out[k]), left ? c[k] : _mm_shuffle_epi32(c[k], 0x1B));
                out[k] += step;
            }
        }
    }
    // The right and bottom edges that do not fill a block.
    auto move = [&](size_t x, size_t y) {
        const uint32_t value = src[y * width + x];
        if (left)
            dst[(width - 1 - x) * height + y] = value;
        else
            dst[x * height + (height - 1 - y)] = value;
    };
    for (size_t y = 0; y < height4; ++y)
        for (size_t x = width4; x < width; ++x)
            move(x, y);
    for (size_t y = height4; y < height; ++y)
        for (size_t x = 0; x < width; ++x)
            move(x, y);
}
#endif

// False for an element size without a kernel here.
bool QuarterTurn(size_t elementBytes, const uint8_t* src, uint8_t* dst, size_t width, size_t height, bool left)
{
    switch (elementBytes)
    {
    case 1:
        QuarterTurn<uint8_t>(src, dst, width, height, left);
        return true;
    case 2:
        QuarterTurn<uint16_t>(src, dst, width, height, left);
        return true;
    case 3:
        QuarterTurn<Element<3>>(src, dst, width, height, left);
        return true;
    case 4:
#if defined(__SSE2__)
        QuarterTurn32(src, dst, width, height, left);
#else
        QuarterTurn<uint32_t>(src, dst, width, height, left);
#endif
        return true;
    case 6:
        QuarterTurn<Element<6>>(src, dst, width, height, left);
        return true;
    case 8:
        QuarterTurn<uint64_t>(src, dst, width, height, left);
        return true;
    default:
        return false;
    }
}

} // namespace

ImageTransformer::ImageTransformer() = default;

ImageTransformer::~ImageTransformer()
{
    if (scratch_)
        scratch_->Release();
}

BayerPattern ImageTransformer::MirrorLeftRight(BayerPattern pattern)
{
    switch (pattern)
    {
    case BayerPattern::RG:
        return BayerPattern::GR;
    case BayerPattern::GR:
        return BayerPattern::RG;
    case BayerPattern::GB:
        return BayerPattern::BG;
    case BayerPattern::BG:
        return BayerPattern::GB;
    default:
        return pattern;
    }
}

BayerPattern ImageTransformer::MirrorUpDown(BayerPattern pattern)
{
    switch (pattern)
    {
    case BayerPattern::RG:
        return BayerPattern::GB;
    case BayerPattern::GB:
        return BayerPattern::RG;
    case BayerPattern::GR:
        return BayerPattern::BG;
    case BayerPattern::BG:
        return BayerPattern::GR;
    default:
        return pattern;
    }
}

BayerPattern ImageTransformer::Rotate(BayerPattern pattern, uint16_t angle)
{
    // A left quarter turn brings the top-right pair to the top left: RG GB / GR RG / GB BG / BG GR.
    const auto left = [](BayerPattern p) {
        switch (p)
        {
        case BayerPattern::RG:
            return BayerPattern::GB;
        case BayerPattern::GR:
            return BayerPattern::RG;
        case BayerPattern::GB:
            return BayerPattern::BG;
        case BayerPattern::BG:
            return BayerPattern::GR;
        default:
            return p;
        }
    };
    for (int turns = (angle / 90) % 4; turns > 0; --turns)
        pattern = left(pattern);
    return pattern;
}

BayerPattern ImageTransformer::Check(const Image& image) const
{
    if (image.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    const uint32_t format = image.GetPixelFormat();
    if (detail::CvTypeOf(format) < 0 || PixelFormat::IsYUV(format))
        Raise(ReturnCode::ImageFormatNotSupported,
              "The image transformer does not support the pixel format " + PixelFormat::ToName(format) + ".");
    const BayerPattern pattern = PixelFormat::GetBayerPattern(format);
    if (pattern != BayerPattern::None && (image.GetWidth() % 2 != 0 || image.GetHeight() % 2 != 0))
        Raise(ReturnCode::ImageFormatNotSupported, "A Bayer image of odd size (" + std::to_string(image.GetWidth()) +
                                                       "x" + std::to_string(image.GetHeight()) +
                                                       ") can not be transformed.");
    return pattern;
}

void ImageTransformer::Retag(Image& image, BayerPattern pattern)
{
    if (pattern == BayerPattern::None)
        return;
    const uint32_t format = image.GetPixelFormat();
    image.format_ = PixelFormat::BayerFormat(pattern, PixelFormat::GetNumSignificantBitsPerChannel(format));
}

uint8_t* ImageTransformer::Scratch(size_t bytes)
{
    if (!scratch_ || scratch_->capacity < bytes)
    {
        detail::ImageStorage* bigger = detail::ImageStorage::Create(bytes);
        if (scratch_)
            scratch_->Release();
        scratch_ = bigger;
    }
    return scratch_->data;
}

void ImageTransformer::MirrorLeftRightInPlace(Image& image)
{
    const BayerPattern pattern = Check(image);
    cv::Mat view = detail::View(image);
    // OpenCV swaps the two ends of each row pairwise, so the same matrix may be source and destination.
    cv::flip(view, view, 1);
    Retag(image, MirrorLeftRight(pattern));
}

void ImageTransformer::MirrorUpDownInPlace(Image& image)
{
    const BayerPattern pattern = Check(image);
    cv::Mat view = detail::View(image);
    cv::flip(view, view, 0);
    Retag(image, MirrorUpDown(pattern));
}

void ImageTransformer::MirrorUpDownLeftRightInPlace(Image& image)
{
    const BayerPattern pattern = Check(image);
    cv::Mat view = detail::View(image);
    cv::flip(view, view, -1);
    Retag(image, MirrorUpDown(MirrorLeftRight(pattern)));
}

void ImageTransformer::RotateInPlace(Image& image, uint16_t angle)
{
    if (angle != 0 && angle != 90 && angle != 180 && angle != 270)
        Raise(ReturnCode::OutOfRange, "The rotation angle " + std::to_string(angle) + " is not a multiple of 90.");
    const BayerPattern pattern = Check(image);
    if (angle == 0)
        return;
    cv::Mat view = detail::View(image);
    if (angle == 180)
    {
        cv::flip(view, view, -1);
        Retag(image, Rotate(pattern, angle));
        return;
    }
    // A quarter turn cannot be done over the same rows: the image is copied to the scratch image and turned
    // from there straight back into its own memory, with the sizes swapped (pixel and byte counts stay).
    const size_t bytes = image.GetByteCount();
    const size_t elementBytes = view.elemSize();
    const bool left = angle == 90;
    // The pixels stay in their own memory (a view of a device buffer, or a pool image others may count on):
    // they are copied aside and turned from there straight back.
    uint8_t* copy = Scratch(bytes);
    std::memcpy(copy, image.GetData(), bytes);
    if (!QuarterTurn(elementBytes, copy, image.GetData(), image.GetWidth(), image.GetHeight(), left))
    {
        const cv::Mat source(view.rows, view.cols, view.type(), copy);
        cv::Mat target(view.cols, view.rows, view.type(), image.GetData());
        cv::rotate(source, target, left ? cv::ROTATE_90_COUNTERCLOCKWISE : cv::ROTATE_90_CLOCKWISE);
    }
    std::swap(image.width_, image.height_);
    Retag(image, Rotate(pattern, angle));
}

} // namespace orna::ipl
