// orna::ipl::Gain: per-site and per-channel factors, saturation, alpha, and the table rebuild rule.
#include "orna/ipl/exception.h"
#include "orna/ipl/gain.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace orna::ipl;

namespace {

template <typename T> Image Filled(uint32_t format, uint32_t w, uint32_t h, T value)
{
    Image image = Image::Construct(format, w, h);
    T* p = reinterpret_cast<T*>(image.GetData());
    for (size_t i = 0; i < image.GetByteCount() / sizeof(T); ++i)
        p[i] = value;
    return image;
}

} // namespace

TEST(Gain, BayerSitesTakeTheirColourTimesMaster)
{
    Gain gain;
    gain.SetMasterGainValue(2.0f);
    gain.SetRedGainValue(1.5f);
    gain.SetGreenGainValue(1.0f);
    gain.SetBlueGainValue(0.5f);
    for (auto [format, cell] : std::vector<std::pair<uint32_t, std::array<int, 4>>>{{BayerRG8, {30, 20, 20, 10}},
                                                                                    {BayerGB8, {20, 10, 30, 20}},
                                                                                    {BayerGR8, {20, 30, 10, 20}},
                                                                                    {BayerBG8, {10, 20, 20, 30}}})
    {
        Image image = Filled<uint8_t>(format, 4, 4, 10);
        gain.ProcessInPlace(image);
        const uint8_t* p = image.GetData();
        EXPECT_EQ(p[0], cell[0]) << PixelFormat::ToName(format);
        EXPECT_EQ(p[1], cell[1]) << PixelFormat::ToName(format);
        EXPECT_EQ(p[4], cell[2]) << PixelFormat::ToName(format);
        EXPECT_EQ(p[5], cell[3]) << PixelFormat::ToName(format);
        // The cell repeats.
        EXPECT_EQ(p[10], cell[0]);
        EXPECT_EQ(p[15], cell[3]);
    }
}

TEST(Gain, DeepSamplesSaturateAtTheirFullScale)
{
    Gain gain;
    gain.SetMasterGainValue(4.0f);
    Image mono12 = Filled<uint16_t>(Mono12, 8, 2, 1500);
    gain.ProcessInPlace(mono12);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(mono12.GetData())[3], 4095);
    Image mono10 = Filled<uint16_t>(Mono10, 8, 2, 100);
    gain.ProcessInPlace(mono10);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(mono10.GetData())[3], 400);
    Image bayer12 = Filled<uint16_t>(BayerRG12, 4, 2, 1000);
    gain.ProcessInPlace(bayer12);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(bayer12.GetData())[0], 4000);
    // Mono ignores the colour factors.
    gain.SetMasterGainValue(1.0f);
    gain.SetRedGainValue(3.0f);
    Image mono8 = Filled<uint8_t>(Mono8, 4, 1, 50);
    gain.ProcessInPlace(mono8);
    EXPECT_EQ(mono8.GetData()[0], 50);
}

TEST(Gain, InterleavedChannelsFollowTheirOrderAndAlphaStays)
{
    Gain gain;
    gain.SetRedGainValue(2.0f);
    gain.SetBlueGainValue(0.5f);
    Image bgra = Filled<uint8_t>(BGRa8, 2, 2, 100);
    gain.ProcessInPlace(bgra);
    const uint8_t* p = bgra.GetData();
    EXPECT_EQ(p[0], 50);  // blue
    EXPECT_EQ(p[1], 100); // green
    EXPECT_EQ(p[2], 200); // red
    EXPECT_EQ(p[3], 100); // alpha untouched
    Image rgb = Filled<uint8_t>(RGB8, 2, 2, 100);
    gain.ProcessInPlace(rgb);
    EXPECT_EQ(rgb.GetData()[0], 200);
    EXPECT_EQ(rgb.GetData()[2], 50);
}

TEST(Gain, TablesAreRebuiltOnlyOnChange)
{
    Gain gain;
    gain.SetMasterGainValue(1.5f);
    Image image = Filled<uint8_t>(Mono8, 16, 16, 10);
    gain.ProcessInPlace(image);
    gain.ProcessInPlace(image);
    gain.ProcessInPlace(image);
    EXPECT_EQ(gain.GetTableBuilds(), 1u);
    gain.SetRedGainValue(1.2f);
    gain.ProcessInPlace(image);
    EXPECT_EQ(gain.GetTableBuilds(), 2u);
    // Another bit depth needs other tables, and going back rebuilds again.
    Image deep = Filled<uint16_t>(Mono12, 16, 16, 10);
    gain.ProcessInPlace(deep);
    EXPECT_EQ(gain.GetTableBuilds(), 3u);
    gain.ProcessInPlace(deep);
    EXPECT_EQ(gain.GetTableBuilds(), 3u);
}

TEST(Gain, RefusesPackedFormatsAndOutOfRangeFactors)
{
    Gain gain;
    Image packed = Image::Construct(Mono12p, 8, 2);
    EXPECT_THROW(gain.ProcessInPlace(packed), ImageFormatNotSupportedException);
    EXPECT_FALSE(Gain::IsPixelFormatSupported(BayerRG10p));
    EXPECT_TRUE(Gain::IsPixelFormatSupported(BayerRG10));
    EXPECT_THROW(gain.SetRedGainValue(0.1f), OutOfRangeException);
    EXPECT_THROW(gain.SetMasterGainValue(0.5f), OutOfRangeException);
    EXPECT_EQ(gain.GetRedGainValue(), 1.0f);
    EXPECT_TRUE(gain.IsNeutral());
    gain.SetBlueGainValue(1.0000001f);
    EXPECT_FALSE(gain.IsNeutral());
}
