// Pixel packings of the simulated camera, including the vendor g40/g24 layouts, byte for byte.

#include "orna/core/sim/simpixels.h"
#include "orna/core/sim/simregisters.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace orna::core::sim;

std::vector<uint8_t> Pack(PixelLayout layout, const std::vector<uint16_t>& px, size_t bytes)
{
    std::vector<uint8_t> out(bytes, 0xEE);
    PackSamples(layout, px.data(), px.size(), out.data());
    return out;
}

TEST(SimPixels, G40PutsFourHighBytesThenTheLowBitsFirstPixelLowest)
{
    const std::vector<uint16_t> px = {0x3FF, 0x001, 0x200, 0x155};
    EXPECT_EQ(Pack(PixelLayout::G40, px, 5), (std::vector<uint8_t>{0xFF, 0x00, 0x80, 0x55, 0x47}));
}

TEST(SimPixels, G24PutsTwoHighBytesThenTheLowNibblesFirstPixelLowest)
{
    const std::vector<uint16_t> px = {0xABC, 0x123};
    EXPECT_EQ(Pack(PixelLayout::G24, px, 3), (std::vector<uint8_t>{0xAB, 0x12, 0x3C}));
}

TEST(SimPixels, PfncPackedFormatsAreLittleEndianBitStreams)
{
    EXPECT_EQ(Pack(PixelLayout::Packed10p, {0x3FF, 0x000, 0x000, 0x001}, 5),
              (std::vector<uint8_t>{0xFF, 0x03, 0x00, 0x40, 0x00}));
    EXPECT_EQ(Pack(PixelLayout::Packed12p, {0xABC, 0x123}, 3), (std::vector<uint8_t>{0xBC, 0x3A, 0x12}));
    EXPECT_EQ(Pack(PixelLayout::Plain16, {0x0FFF}, 2), (std::vector<uint8_t>{0xFF, 0x0F}));
}

TEST(SimPixels, EveryLayoutRoundTrips)
{
    std::mt19937 rng(7);
    const struct
    {
        PixelLayout layout;
        int bits;
        size_t bytesPer4;
    } cases[] = {{PixelLayout::Plain8, 8, 4},     {PixelLayout::Plain16, 12, 8}, {PixelLayout::Packed10p, 10, 5},
                 {PixelLayout::Packed12p, 12, 6}, {PixelLayout::G40, 10, 5},     {PixelLayout::G24, 12, 6}};
    for (const auto& c : cases)
    {
        std::vector<uint16_t> px(64);
        for (auto& p : px)
        {
            p = uint16_t(rng() & ((1u << c.bits) - 1));
        }
        std::vector<uint8_t> packed(px.size() / 4 * c.bytesPer4);
        PackSamples(c.layout, px.data(), px.size(), packed.data());
        std::vector<uint16_t> back(px.size());
        UnpackSamples(c.layout, packed.data(), px.size(), back.data());
        EXPECT_EQ(back, px) << "layout " << int(c.layout);
    }
}

TEST(SimPixels, ImageBytesFollowTheFormat)
{
    EXPECT_EQ(ImageBytes(pfnc::BayerRG8, 1920, 1200), 1920u * 1200);
    EXPECT_EQ(ImageBytes(pfnc::Mono12, 1920, 1200), 1920u * 1200 * 2);
    EXPECT_EQ(ImageBytes(pfnc::BayerRG10p, 1920, 1200), 1920u * 1200 * 5 / 4);
    EXPECT_EQ(ImageBytes(pfnc::Mono10g40, 1920, 1200), 1920u * 1200 * 5 / 4);
    EXPECT_EQ(ImageBytes(pfnc::BayerRG12g24, 1920, 1200), 1920u * 1200 * 3 / 2);
    EXPECT_EQ(ImageBytes(pfnc::RGB8, 1920, 1200), 1920u * 1200 * 3);
    EXPECT_EQ(ImageBytes(pfnc::BGRa8, 1920, 1200), 1920u * 1200 * 4);
    EXPECT_EQ(ImageBytes(pfnc::Mono10p, 1922, 10), 0u) << "a 10-bit packing needs whole groups of four";
    EXPECT_EQ(ImageBytes(0x12345678u, 64, 64), 0u);
}

} // namespace
