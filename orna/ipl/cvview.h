// Internal: OpenCV views of images. Not installed for users of the library (keeps cv:: out of the
// public headers).
#pragma once

#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/core.hpp>

namespace orna::ipl::detail {

// The OpenCV element type of an unpacked, non-YUV format (CV_8UC1, CV_16UC3, ...); -1 for packed or YUV.
inline int CvTypeOf(uint32_t format)
{
    const Packing packing = PixelFormat::GetPacking(format);
    if (packing != Packing::None)
        return -1;
    const int channels = PixelFormat::GetNumChannels(format);
    const int depth = PixelFormat::GetNumSignificantBitsPerChannel(format) > 8 ? CV_16U : CV_8U;
    return CV_MAKETYPE(depth, channels);
}

// A header over the image's pixels, no copy. Only for unpacked, non-YUV formats.
inline cv::Mat View(const Image& image)
{
    return cv::Mat(static_cast<int>(image.GetHeight()), static_cast<int>(image.GetWidth()),
                   CvTypeOf(image.GetPixelFormat()), image.GetData());
}

} // namespace orna::ipl::detail
