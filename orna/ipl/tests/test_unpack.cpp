// Round trips: a reference packer written from the layout descriptions packs random samples into a
// buffer of exactly the size the format needs (so ASan sees any read past it); the library unpacks.
#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/unpack.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

using namespace orna::ipl;

namespace {

std::vector<uint16_t> RandomSamples(size_t n, int bits, unsigned seed)
{
    std::mt19937 rng(seed);
    std::vector<uint16_t> v(n);
    for (auto& s : v)
        s = static_cast<uint16_t>(rng() & ((1u << bits) - 1));
    return v;
}

// PFNC p: LSB-first bit stream.
std::vector<uint8_t> PackStream(const std::vector<uint16_t>& samples, int bits)
{
    std::vector<uint8_t> out((samples.size() * bits + 7) / 8, 0);
    for (size_t i = 0; i < samples.size(); ++i)
        for (int b = 0; b < bits; ++b)
            if (samples[i] >> b & 1)
            {
                const size_t bit = i * bits + b;
                out[bit / 8] |= static_cast<uint8_t>(1u << (bit % 8));
            }
    return out;
}

// g40: four high bytes, then the four 2-bit remainders with pixel 0 in the lowest bits.
std::vector<uint8_t> PackG40(const std::vector<uint16_t>& s)
{
    std::vector<uint8_t> out((s.size() + 3) / 4 * 5, 0);
    for (size_t i = 0; i < s.size(); ++i)
    {
        uint8_t* g = &out[i / 4 * 5];
        g[i % 4] = static_cast<uint8_t>(s[i] >> 2);
        g[4] |= static_cast<uint8_t>((s[i] & 3) << (2 * (i % 4)));
    }
    return out;
}

// g24: two high bytes, then the two 4-bit remainders with pixel 0 in the lowest bits.
std::vector<uint8_t> PackG24(const std::vector<uint16_t>& s)
{
    std::vector<uint8_t> out((s.size() + 1) / 2 * 3, 0);
    for (size_t i = 0; i < s.size(); ++i)
    {
        uint8_t* g = &out[i / 2 * 3];
        g[i % 2] = static_cast<uint8_t>(s[i] >> 4);
        g[2] |= static_cast<uint8_t>((s[i] & 0xF) << (4 * (i % 2)));
    }
    return out;
}

struct Layout
{
    const char* name;
    int bits;
    std::vector<uint8_t> (*pack)(const std::vector<uint16_t>&);
    void (*to16)(const uint8_t*, uint16_t*, size_t);
    void (*to8)(const uint8_t*, uint8_t*, size_t);
};

std::vector<uint8_t> Pack10(const std::vector<uint16_t>& s)
{
    return PackStream(s, 10);
}
std::vector<uint8_t> Pack12(const std::vector<uint16_t>& s)
{
    return PackStream(s, 12);
}

const Layout kLayouts[] = {
    {"p10", 10, Pack10, unpack::P10To16, unpack::P10To8},
    {"p12", 12, Pack12, unpack::P12To16, unpack::P12To8},
    {"g40", 10, PackG40, unpack::G40To16, unpack::G40To8},
    {"g24", 12, PackG24, unpack::G24To16, unpack::G24To8},
};

} // namespace

TEST(IplUnpack, EveryLayoutRoundTripsAtEveryLengthNearGroupBoundaries)
{
    for (const auto& layout : kLayouts)
    {
        for (size_t n : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 64, 1001})
        {
            SCOPED_TRACE(std::string(layout.name) + " n=" + std::to_string(n));
            const auto samples = RandomSamples(n, layout.bits, static_cast<unsigned>(n));
            const auto packed = layout.pack(samples);
            std::vector<uint16_t> out16(n, 0xFFFF);
            layout.to16(packed.data(), out16.data(), n);
            EXPECT_EQ(out16, samples);
            std::vector<uint8_t> out8(n);
            layout.to8(packed.data(), out8.data(), n);
            for (size_t i = 0; i < n; ++i)
                ASSERT_EQ(out8[i], samples[i] >> (layout.bits - 8)) << i;
        }
    }
}

TEST(IplUnpack, KnownBytesPinTheBitOrderOfEachLayout)
{
    // p10: 0x3FF, 0, 0x155, 0x2AA -> stream bits
    const std::vector<uint16_t> s = {0x3FF, 0x000, 0x155, 0x2AA};
    EXPECT_EQ(PackStream(s, 10), (std::vector<uint8_t>{0xFF, 0x03, 0x50, 0x95, 0xAA}));
    // g40: high bytes first, remainders 3,0,1,2 -> 0b10'01'00'11
    EXPECT_EQ(PackG40(s), (std::vector<uint8_t>{0xFF, 0x00, 0x55, 0xAA, 0x93}));
    // g24: 0xABC, 0x123 -> AB 12, then C (pixel 0) low, 3 high
    EXPECT_EQ(PackG24({0xABC, 0x123}), (std::vector<uint8_t>{0xAB, 0x12, 0x3C}));
    std::vector<uint16_t> out(2);
    const std::vector<uint8_t> g24 = {0xAB, 0x12, 0x3C};
    unpack::G24To16(g24.data(), out.data(), 2);
    EXPECT_EQ(out, (std::vector<uint16_t>{0xABC, 0x123}));
}

TEST(IplUnpack, P32WordsCarryTheFirstChannelInTheLowBits)
{
    const std::vector<uint16_t> rgb = {1023, 512, 1, 0, 7, 1000};
    std::vector<uint8_t> words(8);
    unpack::Pack16ToP32(rgb.data(), words.data(), 2);
    EXPECT_EQ(words[0], 0xFF);
    EXPECT_EQ(words[1] & 0x3, 0x3);
    std::vector<uint16_t> back(6);
    unpack::P32To16(words.data(), back.data(), 2);
    EXPECT_EQ(back, rgb);
}

// Through the converter: every packed mono and Bayer format, with the width of the image not a multiple
// of the worker split, and to both 16-bit and 8-bit destinations.
TEST(IplUnpack, ConverterUnpacksEveryPackedRawFormat)
{
    ImageConverter converter;
    for (uint32_t f : PixelFormat::AllFormats())
    {
        const Packing packing = PixelFormat::GetPacking(f);
        if (packing != Packing::P10 && packing != Packing::P12 && packing != Packing::G40 && packing != Packing::G24)
            continue;
        SCOPED_TRACE(PixelFormat::ToName(f));
        const uint32_t w = 300, h = 301;
        const int bits = PixelFormat::GetNumSignificantBitsPerChannel(f);
        const auto samples = RandomSamples(size_t(w) * h, bits, f);
        std::vector<uint8_t> packed;
        switch (packing)
        {
        case Packing::P10:
            packed = PackStream(samples, 10);
            break;
        case Packing::P12:
            packed = PackStream(samples, 12);
            break;
        case Packing::G40:
            packed = PackG40(samples);
            break;
        default:
            packed = PackG24(samples);
            break;
        }
        const Image source = Image::ConstructFromBuffer(f, w, h, packed.data(), packed.size());
        const uint32_t plain = PixelFormat::GetUnpackedFormat(f);
        const Image unpacked = converter.Convert(source, plain);
        ASSERT_EQ(unpacked.GetByteCount(), samples.size() * 2);
        EXPECT_EQ(std::memcmp(unpacked.GetData(), samples.data(), unpacked.GetByteCount()), 0);

        const Image eight = converter.Convert(source, PixelFormat::WithBitDepth(plain, 8));
        size_t wrong = 0;
        for (size_t i = 0; i < samples.size(); ++i)
            wrong += eight.GetData()[i] != (samples[i] >> (bits - 8));
        EXPECT_EQ(wrong, 0u);

        // The other depth of the same family is an exact shift.
        const int other = bits == 10 ? 12 : 10;
        const Image shifted = converter.Convert(source, PixelFormat::WithBitDepth(plain, other));
        const auto* p = reinterpret_cast<const uint16_t*>(shifted.GetData());
        wrong = 0;
        for (size_t i = 0; i < samples.size(); ++i)
            wrong += p[i] != (other > bits ? samples[i] << (other - bits) : samples[i] >> (bits - other));
        EXPECT_EQ(wrong, 0u);
    }
}
