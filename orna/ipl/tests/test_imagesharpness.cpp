// orna::ipl::ImageSharpness: each measure ranks a sharp scene above its blurred copy, weighted regions
// average, Bayer images are measured on their green sites, and bad arguments are refused.
#include "orna/ipl/exception.h"
#include "orna/ipl/imagesharpness.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/imgproc.hpp>

#include <gtest/gtest.h>

#include <cstring>

using namespace orna::ipl;

namespace {

// Left half a checkerboard of 4-pixel squares, right half flat grey; blurred by a Gaussian of sigma when > 0.
Image Scene(uint32_t format, uint32_t w, uint32_t h, double sigma)
{
    cv::Mat m(int(h), int(w), CV_8UC1);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            m.at<uint8_t>(int(y), int(x)) = x < w / 2 ? (((x / 4) + (y / 4)) % 2 ? 220 : 30) : 128;
    if (sigma > 0)
        cv::GaussianBlur(m, m, cv::Size(0, 0), sigma);
    Image image = Image::Construct(format, w, h);
    if (PixelFormat::GetNumStorageBitsPerPixel(format) == 16)
    {
        cv::Mat wide(int(h), int(w), CV_16UC1, image.GetData());
        m.convertTo(wide, CV_16U, 4095.0 / 255.0);
    }
    else
    {
        std::memcpy(image.GetData(), m.data, size_t(w) * h);
    }
    return image;
}

const ImageSharpness::Algorithm kAll[] = {ImageSharpness::Algorithm::Tenengrad, ImageSharpness::Algorithm::Sobel,
                                          ImageSharpness::Algorithm::MeanScore,
                                          ImageSharpness::Algorithm::HistogramVariance};

} // namespace

TEST(ImageSharpness, EveryMeasureRanksSharpAboveBlurred)
{
    for (uint32_t format : {uint32_t(Mono8), uint32_t(Mono12), uint32_t(BayerRG8)})
        for (auto algorithm : kAll)
        {
            ImageSharpness measure;
            measure.SetAlgorithm(algorithm);
            const double sharp = measure.Measure(Scene(format, 128, 96, 0));
            const double soft = measure.Measure(Scene(format, 128, 96, 2.0));
            const double softer = measure.Measure(Scene(format, 128, 96, 4.0));
            EXPECT_GT(sharp, soft) << PixelFormat::ToName(format) << " algorithm " << int(algorithm);
            EXPECT_GT(soft, softer) << PixelFormat::ToName(format) << " algorithm " << int(algorithm);
        }
    // 8 and 12 bits of one scene measure alike (samples on 0..1).
    ImageSharpness measure;
    EXPECT_NEAR(measure.Measure(Scene(Mono8, 128, 96, 1.0)), measure.Measure(Scene(Mono12, 128, 96, 1.0)),
                0.02 * measure.Measure(Scene(Mono8, 128, 96, 1.0)));
}

TEST(ImageSharpness, WeightedRegionsAverage)
{
    const Image image = Scene(Mono8, 128, 96, 0);
    ImageSharpness measure;
    measure.SetROIs({{0, 0, 64, 96, 1.0}});
    const double checker = measure.Measure(image);
    measure.SetROIs({{64, 0, 64, 96, 1.0}});
    const double flat = measure.Measure(image);
    EXPECT_GT(checker, 0.0);
    EXPECT_NEAR(flat, 0.0, 1e-9);
    measure.SetROIs({{0, 0, 64, 96, 3.0}, {64, 0, 64, 96, 1.0}});
    EXPECT_NEAR(measure.Measure(image), 0.75 * checker, 1e-6 * checker);
}

TEST(ImageSharpness, BayerIsMeasuredOnItsGreenSites)
{
    // Red and blue sites carry a fine pattern, green is flat: the mosaic alone must not read as sharp.
    Image image = Image::Construct(BayerRG8, 64, 64);
    for (uint32_t y = 0; y < 64; ++y)
        for (uint32_t x = 0; x < 64; ++x)
        {
            const bool green = ((x + y) & 1) == 1;
            image.GetData()[y * 64 + x] = green ? 100 : ((x / 2 + y / 2) % 2 ? 250 : 0);
        }
    ImageSharpness measure;
    EXPECT_NEAR(measure.Measure(image), 0.0, 1e-9);
}

TEST(ImageSharpness, RefusesBadArguments)
{
    ImageSharpness measure;
    EXPECT_THROW(measure.SetROIs({{0, 0, 8, 64, 1.0}}), InvalidArgumentException);
    EXPECT_THROW(measure.SetROIs({{0, 0, 64, 64, 0.0}}), InvalidArgumentException);
    EXPECT_TRUE(measure.GetROIs().empty());
    EXPECT_THROW(measure.SetAlgorithm(ImageSharpness::Algorithm(9)), OutOfRangeException);
    EXPECT_THROW(measure.Measure(Image::Construct(Mono12p, 32, 32)), ImageFormatNotSupportedException);
    EXPECT_THROW(measure.Measure(Image()), InvalidHandleException);
    EXPECT_TRUE(ImageSharpness::GetIsPixelFormatSupported(BGRa8));
}
