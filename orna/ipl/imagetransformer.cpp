#include "orna/ipl/imagetransformer.h"

#include "orna/ipl/cvview.h"
#include "orna/ipl/exception.h"

#include <opencv2/core.hpp>

#include <cstring>
#include <string>

namespace orna::ipl {

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
    // A quarter turn cannot be done over the same rows: turn into the scratch image, then copy back with the
    // sizes swapped. The pixel count and so the byte count stay the same.
    const size_t bytes = image.GetByteCount();
    cv::Mat turned(view.cols, view.rows, view.type(), Scratch(bytes));
    cv::rotate(view, turned, angle == 90 ? cv::ROTATE_90_COUNTERCLOCKWISE : cv::ROTATE_90_CLOCKWISE);
    std::memcpy(image.GetData(), turned.data, bytes);
    std::swap(image.width_, image.height_);
    Retag(image, Rotate(pattern, angle));
}

} // namespace orna::ipl
