#include "orna/ipl/imagesharpness.h"

#include "orna/ipl/exception.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <string>

namespace orna::ipl {

namespace {

// The image as one plane of floats on 0..1: mono as it is, Bayer's green sites of one row parity, colour as grey.
cv::Mat Plane(const Image& image)
{
    const uint32_t format = image.GetPixelFormat();
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    const bool wide = PixelFormat::GetNumStorageBitsPerPixel(format) / PixelFormat::GetNumChannels(format) > 8;
    const int channels = PixelFormat::GetNumChannels(format);
    const int depth = wide ? CV_16U : CV_8U;
    const cv::Mat raw(int(image.GetHeight()), int(image.GetWidth()), CV_MAKETYPE(depth, channels), image.GetData());
    cv::Mat grey;
    if (channels == 1 && PixelFormat::IsBayered(format))
    {
        // Green of the even rows: column 1 for RG and BG, column 0 for GR and GB.
        const BayerPattern pattern = PixelFormat::GetBayerPattern(format);
        const int column = (pattern == BayerPattern::RG || pattern == BayerPattern::BG) ? 1 : 0;
        const int rows = int(image.GetHeight()) / 2, cols = int(image.GetWidth()) / 2;
        grey.create(rows, cols, depth);
        for (int y = 0; y < rows; ++y)
        {
            const cv::Mat row = raw.row(2 * y);
            for (int x = 0; x < cols; ++x)
            {
                if (wide)
                    grey.at<uint16_t>(y, x) = row.at<uint16_t>(0, 2 * x + column);
                else
                    grey.at<uint8_t>(y, x) = row.at<uint8_t>(0, 2 * x + column);
            }
        }
    }
    else if (channels == 1)
    {
        grey = raw;
    }
    else
    {
        const bool rgb = PixelFormat::IsRGBOrder(format);
        const int code = channels == 4 ? (rgb ? cv::COLOR_RGBA2GRAY : cv::COLOR_BGRA2GRAY)
                                       : (rgb ? cv::COLOR_RGB2GRAY : cv::COLOR_BGR2GRAY);
        cv::cvtColor(raw, grey, code);
    }
    cv::Mat plane;
    grey.convertTo(plane, CV_32F, 1.0 / double((1 << bits) - 1));
    return plane;
}

double MeasurePlane(const cv::Mat& plane, ImageSharpness::Algorithm algorithm)
{
    switch (algorithm)
    {
    case ImageSharpness::Algorithm::Tenengrad:
    case ImageSharpness::Algorithm::Sobel: {
        cv::Mat gx, gy;
        cv::Sobel(plane, gx, CV_32F, 1, 0, 3);
        cv::Sobel(plane, gy, CV_32F, 0, 1, 3);
        if (algorithm == ImageSharpness::Algorithm::Tenengrad)
            return cv::mean(gx.mul(gx) + gy.mul(gy))[0];
        return cv::mean(cv::abs(gx) + cv::abs(gy))[0];
    }
    case ImageSharpness::Algorithm::MeanScore: {
        cv::Mat laplacian;
        cv::Laplacian(plane, laplacian, CV_32F, 1);
        return cv::mean(cv::abs(laplacian))[0];
    }
    case ImageSharpness::Algorithm::HistogramVariance: {
        cv::Scalar mean, deviation;
        cv::meanStdDev(plane, mean, deviation);
        return deviation[0] * deviation[0];
    }
    }
    return 0.0;
}

} // namespace

void ImageSharpness::SetAlgorithm(Algorithm algorithm)
{
    if (int(algorithm) < 0 || int(algorithm) > 3)
        Raise(ReturnCode::OutOfRange, "Unknown sharpness algorithm " + std::to_string(int(algorithm)) + ".");
    algorithm_ = algorithm;
}

void ImageSharpness::SetROIs(const std::vector<Roi>& rois)
{
    for (const Roi& roi : rois)
        if (roi.width < GetROIMinimumSize() || roi.height < GetROIMinimumSize() || !(roi.weight > 0.0))
            Raise(ReturnCode::InvalidArgument, "A sharpness region needs at least " +
                                                   std::to_string(GetROIMinimumSize()) +
                                                   " pixels each way and a positive weight.");
    rois_ = rois;
}

bool ImageSharpness::GetIsPixelFormatSupported(uint32_t format)
{
    if (!PixelFormat::IsKnown(format) || PixelFormat::IsPacked(format) || PixelFormat::IsYUV(format))
        return false;
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    if (bits < 8 || bits > 16)
        return false;
    return PixelFormat::IsMono(format) || PixelFormat::IsBayered(format) || PixelFormat::IsColor(format);
}

double ImageSharpness::Measure(const Image& image) const
{
    if (image.IsEmpty())
        Raise(ReturnCode::InvalidHandle, "The image is empty.");
    if (!GetIsPixelFormatSupported(image.GetPixelFormat()))
        Raise(ReturnCode::ImageFormatNotSupported,
              "Sharpness does not support the pixel format " + PixelFormat::ToName(image.GetPixelFormat()) + ".");
    const cv::Mat plane = Plane(image);
    if (plane.empty())
        return 0.0;
    if (rois_.empty())
        return MeasurePlane(plane, algorithm_);
    // Region coordinates are the image's; a Bayer plane has half of each.
    const int scale = PixelFormat::IsBayered(image.GetPixelFormat()) ? 2 : 1;
    double sum = 0.0, weights = 0.0;
    for (const Roi& roi : rois_)
    {
        const cv::Rect wanted(int(roi.x) / scale, int(roi.y) / scale, int(roi.width) / scale, int(roi.height) / scale);
        const cv::Rect inside = wanted & cv::Rect(0, 0, plane.cols, plane.rows);
        if (inside.width < 3 || inside.height < 3)
            continue;
        // A copy: the filters must not reach beyond the region into its neighbours.
        sum += roi.weight * MeasurePlane(plane(inside).clone(), algorithm_);
        weights += roi.weight;
    }
    return weights > 0.0 ? sum / weights : 0.0;
}

} // namespace orna::ipl
