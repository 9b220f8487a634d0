// The generated scene: brightness follows exposure and gain, colour lands on the right Bayer sites,
// sharpness peaks at the focus position, hot pixels and the moving element are there.

#include "orna/core/sim/simpixels.h"
#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simscene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

using namespace orna::core::sim;

std::vector<uint8_t> Render(const SimImageSettings& s, uint64_t frame = 0)
{
    SimFrameGenerator g;
    EXPECT_TRUE(g.Configure(s));
    std::vector<uint8_t> img(g.ImageSize());
    g.Generate(frame, img.data());
    return img;
}

double Mean(const std::vector<uint8_t>& img)
{
    double sum = 0;
    for (uint8_t v : img)
        sum += v;
    return sum / double(img.size());
}

SimImageSettings Bayer8()
{
    SimImageSettings s;
    s.pixelFormat = pfnc::BayerRG8;
    s.width = 960;
    s.height = 600;
    s.binningH = s.binningV = 2;
    s.binningAverage = true;
    s.exposureUs = 2000;
    return s;
}

TEST(SimScene, BrightnessGrowsWithExposureAndGain)
{
    SimImageSettings s = Bayer8();
    const double base = Mean(Render(s));
    s.exposureUs = 4000;
    const double doubled = Mean(Render(s));
    s.exposureUs = 2000;
    s.gainDb = 6.0;
    const double gained = Mean(Render(s));
    EXPECT_GT(base, 5.0);
    EXPECT_GT(doubled, base * 1.6);
    EXPECT_GT(gained, base * 1.6);
    EXPECT_NEAR(gained, doubled, doubled * 0.1) << "6 dB is twice the signal, as twice the exposure";
}

TEST(SimScene, SumBinningIsBrighterThanAverageBinning)
{
    SimImageSettings s = Bayer8();
    s.exposureUs = 1000;
    const double average = Mean(Render(s));
    s.binningAverage = false;
    const double sum = Mean(Render(s));
    EXPECT_GT(sum, 3.0 * average) << "2 x 2 pixels summed";
}

TEST(SimScene, BalanceRatioScalesItsChannel)
{
    SimImageSettings s = Bayer8();
    auto channelMean = [](const std::vector<uint8_t>& img, uint32_t w, uint32_t h, int dx, int dy) {
        double sum = 0;
        size_t n = 0;
        for (uint32_t y = dy; y < h; y += 2)
            for (uint32_t x = dx; x < w; x += 2, ++n)
                sum += img[size_t(y) * w + x];
        return sum / double(n);
    };
    const auto before = Render(s);
    s.balance[2] = 2.0;
    const auto after = Render(s);
    EXPECT_GT(channelMean(after, s.width, s.height, 1, 1), 1.6 * channelMean(before, s.width, s.height, 1, 1));
    EXPECT_NEAR(channelMean(after, s.width, s.height, 0, 0), channelMean(before, s.width, s.height, 0, 0), 1.0);
}

TEST(SimScene, SceneLightDimsAndCastsLikeExposureAndBalance)
{
    SimImageSettings s = Bayer8();
    auto channelMean = [&s](const std::vector<uint8_t>& img, int dx, int dy) {
        double sum = 0;
        size_t n = 0;
        for (uint32_t y = dy; y < s.height; y += 2)
            for (uint32_t x = dx; x < s.width; x += 2, ++n)
                sum += img[size_t(y) * s.width + x];
        return sum / double(n);
    };
    const auto reference = Render(s);
    // A quarter of the light is a quarter of the exposure.
    s.light[0] = s.light[1] = s.light[2] = 0.25;
    const auto dim = Render(s);
    s.light[0] = s.light[1] = s.light[2] = 1.0;
    s.exposureUs /= 4;
    const auto shorter = Render(s);
    EXPECT_LT(Mean(dim), 0.35 * Mean(reference));
    EXPECT_NEAR(Mean(dim), Mean(shorter), 0.5);
    // A warm cast: red up, blue down, green as it was.
    s.exposureUs *= 4;
    s.light[0] = 1.5;
    s.light[2] = 0.5;
    const auto warm = Render(s);
    EXPECT_GT(channelMean(warm, 0, 0), 1.3 * channelMean(reference, 0, 0));
    EXPECT_LT(channelMean(warm, 1, 1), 0.6 * channelMean(reference, 1, 1));
    EXPECT_NEAR(channelMean(warm, 1, 0), channelMean(reference, 1, 0), 1.0);
}

TEST(SimScene, RedPatchIsBrightOnTheRedBayerSites)
{
    SimImageSettings s;
    s.pixelFormat = pfnc::BayerRG8;
    s.exposureUs = 6000;
    const auto img = Render(s);
    // The red patch of the colour chart: column 3, row 3 of the 6 x 4 grid.
    const int cx = int((0.04 + 2.5 / 6 * 0.52) * s.width), cy = int((0.06 + 2.5 / 4 * 0.50) * s.height);
    double red = 0, blue = 0;
    for (int y = (cy - 20) & ~1; y < cy + 20; y += 2)
    {
        for (int x = (cx - 20) & ~1; x < cx + 20; x += 2)
        {
            red += img[size_t(y) * s.width + x];
            blue += img[size_t(y + 1) * s.width + x + 1];
        }
    }
    EXPECT_GT(red, 3.0 * blue);
}

// The green-blue order starts its mosaic one row later: red sits on the odd rows, blue on the even ones.
TEST(SimScene, RedPatchIsBrightOnTheRedSitesOfAGreenBlueMosaic)
{
    SimImageSettings s;
    s.pixelFormat = pfnc::BayerGB8;
    s.exposureUs = 6000;
    const auto img = Render(s);
    const int cx = int((0.04 + 2.5 / 6 * 0.52) * s.width), cy = int((0.06 + 2.5 / 4 * 0.50) * s.height);
    double red = 0, blue = 0, redSitesOfRG = 0;
    for (int y = (cy - 20) & ~1; y < cy + 20; y += 2)
    {
        for (int x = (cx - 20) & ~1; x < cx + 20; x += 2)
        {
            red += img[size_t(y + 1) * s.width + x];
            blue += img[size_t(y) * s.width + x + 1];
            redSitesOfRG += img[size_t(y) * s.width + x];
        }
    }
    EXPECT_GT(red, 3.0 * blue);
    // The RG order's red sites are green here.
    EXPECT_GT(red, 1.5 * redSitesOfRG);
}

TEST(SimScene, RgbAndBgraCarryTheChannelsInTheirOrder)
{
    SimImageSettings s;
    s.exposureUs = 6000;
    const int cx = int((0.04 + 2.5 / 6 * 0.52) * s.width), cy = int((0.06 + 2.5 / 4 * 0.50) * s.height);
    const size_t at = size_t(cy) * s.width + cx; // inside the red patch
    s.pixelFormat = pfnc::RGB8;
    const auto rgb = Render(s);
    EXPECT_GT(rgb[3 * at], 2 * rgb[3 * at + 2]) << "red before blue";
    s.pixelFormat = pfnc::BGRa8;
    const auto bgra = Render(s);
    EXPECT_GT(bgra[4 * at + 2], 2 * bgra[4 * at]) << "blue before red";
    for (size_t i = 3; i < bgra.size(); i += 4)
    {
        ASSERT_EQ(bgra[i], 255) << "alpha at pixel " << i / 4;
    }
}

TEST(SimScene, ColourCorrectionSaturatesRgbOutput)
{
    SimImageSettings s;
    s.exposureUs = 6000;
    s.pixelFormat = pfnc::RGB8;
    const int cx = int((0.04 + 2.5 / 6 * 0.52) * s.width), cy = int((0.06 + 2.5 / 4 * 0.50) * s.height);
    const size_t at = 3 * (size_t(cy) * s.width + cx);
    const auto plain = Render(s);
    s.colorCorrection = true;
    std::copy(std::begin(limits::ColorCorrectionDefault), std::end(limits::ColorCorrectionDefault), s.ccm);
    const auto corrected = Render(s);
    EXPECT_GT(corrected[at], plain[at]) << "red gains";
    EXPECT_LT(corrected[at + 1] + 2, plain[at + 1]) << "green drops on a red patch";
}

double Sharpness(int focus)
{
    SimImageSettings s;
    s.colorSensor = false;
    s.pixelFormat = pfnc::Mono8;
    s.offsetX = 1180;
    s.offsetY = 84;
    s.width = 640;
    s.height = 600;
    s.exposureUs = 10000;
    s.focusPosition = focus;
    const auto img = Render(s);
    double energy = 0;
    for (uint32_t y = 0; y < s.height; ++y)
    {
        for (uint32_t x = 0; x + 1 < s.width; ++x)
        {
            const double d = double(img[size_t(y) * s.width + x + 1]) - img[size_t(y) * s.width + x];
            energy += d * d;
        }
    }
    return energy;
}

TEST(SimScene, SharpnessPeaksAtTheFocusPosition)
{
    const int peak = SimImageSettings{}.focusPeak;
    const double atPeak = Sharpness(peak);
    EXPECT_GT(atPeak, 1.5 * Sharpness(peak - 100));
    EXPECT_GT(atPeak, 1.5 * Sharpness(peak + 100));
    EXPECT_GT(Sharpness(peak + 100), Sharpness(peak + 400));
    EXPECT_GT(Sharpness(peak - 100), Sharpness(peak - 400));
}

TEST(SimScene, HotPixelsShowInTheDark)
{
    SimImageSettings s;
    s.colorSensor = false;
    s.pixelFormat = pfnc::Mono8;
    s.exposureUs = 20;
    const auto img = Render(s);
    int hot = 0;
    for (uint8_t v : img)
        hot += v >= 250;
    EXPECT_GE(hot, 4);
    EXPECT_LE(hot, 40);
}

TEST(SimScene, FramesAreReproducibleAndTheElementMoves)
{
    SimImageSettings s = Bayer8();
    s.exposureUs = 8000;
    SimFrameGenerator g;
    ASSERT_TRUE(g.Configure(s));
    std::vector<uint8_t> a(g.ImageSize()), b(g.ImageSize()), c(g.ImageSize());
    g.Generate(5, a.data());
    g.Generate(5, b.data());
    g.Generate(50, c.data());
    EXPECT_EQ(a, b);
    int moved = 0;
    for (size_t i = 0; i < a.size(); ++i)
        moved += std::abs(int(a[i]) - int(c[i])) > 40;
    EXPECT_GT(moved, 500);
}

TEST(SimScene, DeepAndPackedFormatsCarryTheSameImage)
{
    SimImageSettings s = Bayer8();
    s.pixelFormat = pfnc::BayerRG12;
    const auto plain = Render(s);
    s.pixelFormat = pfnc::BayerRG12g24;
    const auto packed = Render(s);
    std::vector<uint16_t> a(size_t(s.width) * s.height), b(a.size());
    UnpackSamples(PixelLayout::Plain16, plain.data(), a.size(), a.data());
    UnpackSamples(PixelLayout::G24, packed.data(), b.size(), b.data());
    EXPECT_EQ(a, b) << "same frame index, same noise: only the packing differs";
    uint16_t maxValue = 0;
    for (uint16_t v : a)
        maxValue = std::max(maxValue, v);
    EXPECT_LE(maxValue, 4095);
    EXPECT_GT(maxValue, 255);
}

TEST(SimScene, RejectsGeometryOutsideTheSensor)
{
    SimImageSettings s = Bayer8();
    s.offsetX = 8; // 960 + 8 binned pixels do not fit 1920 sensor pixels
    SimFrameGenerator g;
    EXPECT_FALSE(g.Configure(s));
    s.offsetX = 0;
    s.pixelFormat = 0x12345678u;
    EXPECT_FALSE(g.Configure(s));
}

} // namespace
