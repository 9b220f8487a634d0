#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

using namespace orna::ipl;

namespace {

struct Rgb
{
    int r, g, b;
};

// A uniform-colour mosaic in PFNC naming: the pattern names the top-left pixel pair.
template <typename T> std::vector<T> Mosaic(BayerPattern pattern, int w, int h, Rgb c)
{
    // Colour of (x%2, y%2) for each pattern: index 0..3 = (0,0), (1,0), (0,1), (1,1).
    int cells[4];
    switch (pattern)
    {
    case BayerPattern::RG:
        cells[0] = c.r, cells[1] = c.g, cells[2] = c.g, cells[3] = c.b;
        break;
    case BayerPattern::GB:
        cells[0] = c.g, cells[1] = c.b, cells[2] = c.r, cells[3] = c.g;
        break;
    case BayerPattern::GR:
        cells[0] = c.g, cells[1] = c.r, cells[2] = c.b, cells[3] = c.g;
        break;
    default:
        cells[0] = c.b, cells[1] = c.g, cells[2] = c.g, cells[3] = c.r;
        break;
    }
    std::vector<T> v(size_t(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            v[size_t(y) * w + x] = static_cast<T>(cells[(x & 1) + 2 * (y & 1)]);
    return v;
}

const BayerPattern kPatterns[] = {BayerPattern::RG, BayerPattern::GB, BayerPattern::GR, BayerPattern::BG};

// Interior pixels (away from the border that demosaicing treats specially) of an interleaved image.
template <typename T>
void ExpectInteriorColour(const Image& image, int channels, int ir, int ig, int ib, Rgb c, int tolerance)
{
    const auto* p = reinterpret_cast<const T*>(image.GetData());
    const int w = static_cast<int>(image.GetWidth()), h = static_cast<int>(image.GetHeight());
    int wrong = 0;
    for (int y = 3; y < h - 3; ++y)
        for (int x = 3; x < w - 3; ++x)
        {
            const T* px = p + (size_t(y) * w + x) * channels;
            wrong += std::abs(px[ir] - c.r) > tolerance || std::abs(px[ig] - c.g) > tolerance ||
                     std::abs(px[ib] - c.b) > tolerance;
        }
    EXPECT_EQ(wrong, 0) << "first pixel " << int(p[(3 * w + 3) * channels + ir]) << ","
                        << int(p[(3 * w + 3) * channels + ig]) << "," << int(p[(3 * w + 3) * channels + ib]);
}

} // namespace

// PFNC names the first pixel pair of the mosaic, OpenCV the second row's: PFNC BayerRG is
// COLOR_BayerBG2BGR. This pins OpenCV's behaviour itself, so an OpenCV change shows up here.
TEST(IplDemosaic, PfncBayerRGIsOpenCvBayerBG)
{
    const Rgb c{200, 100, 30};
    auto mosaic = Mosaic<uint8_t>(BayerPattern::RG, 16, 16, c);
    cv::Mat in(16, 16, CV_8U, mosaic.data()), out;
    cv::cvtColor(in, out, cv::COLOR_BayerBG2BGR);
    const cv::Vec3b px = out.at<cv::Vec3b>(8, 8);
    EXPECT_EQ(px[2], 200);
    EXPECT_EQ(px[1], 100);
    EXPECT_EQ(px[0], 30);
}

TEST(IplDemosaic, UniformMosaicsOfAllFourOrdersGiveTheirColourInEveryMode)
{
    const Rgb c{200, 90, 40};
    ImageConverter converter;
    for (int mode = 1; mode <= 3; ++mode)
    {
        converter.SetConversionMode(mode);
        for (BayerPattern pattern : kPatterns)
        {
            SCOPED_TRACE("mode " + std::to_string(mode) + " pattern " + std::to_string(int(pattern)));
            auto mosaic = Mosaic<uint8_t>(pattern, 72, 24, c);
            const Image src =
                Image::ConstructFromBuffer(PixelFormat::BayerFormat(pattern, 8), 72, 24, mosaic.data(), mosaic.size());
            ExpectInteriorColour<uint8_t>(converter.Convert(src, RGB8), 3, 0, 1, 2, c, 1);
            ExpectInteriorColour<uint8_t>(converter.Convert(src, BGR8), 3, 2, 1, 0, c, 1);
            const Image bgra = converter.Convert(src, BGRa8);
            ExpectInteriorColour<uint8_t>(bgra, 4, 2, 1, 0, c, 1);
            EXPECT_EQ(bgra.GetData()[3], 255);
            ExpectInteriorColour<uint8_t>(converter.Convert(src, RGBa8), 4, 0, 1, 2, c, 1);
        }
    }
}

TEST(IplDemosaic, DeepMosaicsKeepTheirDepthAndClassicRefusesThem)
{
    const Rgb c12{3000, 1500, 700};
    ImageConverter converter;
    for (BayerPattern pattern : kPatterns)
    {
        SCOPED_TRACE(int(pattern));
        auto mosaic = Mosaic<uint16_t>(pattern, 32, 24, c12);
        const Image src =
            Image::ConstructFromBuffer(PixelFormat::BayerFormat(pattern, 12), 32, 24, mosaic.data(), mosaic.size() * 2);
        ExpectInteriorColour<uint16_t>(converter.Convert(src, RGB12), 3, 0, 1, 2, c12, 1);
        ExpectInteriorColour<uint16_t>(converter.Convert(src, RGB10), 3, 0, 1, 2, Rgb{750, 375, 175}, 1);
        ExpectInteriorColour<uint8_t>(converter.Convert(src, BGRa8), 4, 2, 1, 0, Rgb{187, 93, 43}, 1);
        const Image bgra12 = converter.Convert(src, BGRa12);
        ExpectInteriorColour<uint16_t>(bgra12, 4, 2, 1, 0, c12, 1);
        EXPECT_EQ(reinterpret_cast<const uint16_t*>(bgra12.GetData())[3], 4095);

        const Image p32 = converter.Convert(src, RGB10p32);
        const Image back = converter.Convert(p32, RGB10);
        ExpectInteriorColour<uint16_t>(back, 3, 0, 1, 2, Rgb{750, 375, 175}, 1);

        converter.SetConversionMode(ConversionMode::HQ);
        ExpectInteriorColour<uint16_t>(converter.Convert(src, RGBa12), 4, 0, 1, 2, c12, 2);
        converter.SetConversionMode(ConversionMode::Classic);
        EXPECT_THROW(converter.Convert(src, RGB8), ImageFormatNotSupportedException);
        converter.SetConversionMode(ConversionMode::Fast);
    }
    EXPECT_THROW(converter.SetConversionMode(4), OutOfRangeException);
    EXPECT_THROW(converter.SetConversionMode(0), OutOfRangeException);
}

TEST(IplConvert, ChannelOrderDepthAndGreyConversionsAreExact)
{
    ImageConverter converter;
    Image rgb12 = Image::Construct(RGB12, 4, 2);
    auto* p = reinterpret_cast<uint16_t*>(rgb12.GetData());
    for (int i = 0; i < 8; ++i)
    {
        p[3 * i] = 4095;
        p[3 * i + 1] = 2048;
        p[3 * i + 2] = 16;
    }
    rgb12.SetTimestamp(42);
    const Image bgr8 = converter.Convert(rgb12, BGR8);
    EXPECT_EQ(bgr8.GetTimestamp(), 42u);
    EXPECT_EQ(bgr8.GetData()[0], 1);
    EXPECT_EQ(bgr8.GetData()[1], 128);
    EXPECT_EQ(bgr8.GetData()[2], 255);
    const Image bgra10 = converter.Convert(rgb12, BGRa10);
    const auto* q = reinterpret_cast<const uint16_t*>(bgra10.GetData());
    EXPECT_EQ(q[0], 4);
    EXPECT_EQ(q[1], 512);
    EXPECT_EQ(q[2], 1023);
    EXPECT_EQ(q[3], 1023);

    Image mono10 = Image::Construct(Mono10, 4, 2);
    for (int i = 0; i < 8; ++i)
        reinterpret_cast<uint16_t*>(mono10.GetData())[i] = static_cast<uint16_t>(100 * i);
    const Image rgb8 = converter.Convert(mono10, RGB8);
    for (int i = 0; i < 8; ++i)
        for (int ch = 0; ch < 3; ++ch)
            ASSERT_EQ(rgb8.GetData()[3 * i + ch], (100 * i) >> 2);
    const Image mono12 = converter.Convert(mono10, Mono12);
    EXPECT_EQ(reinterpret_cast<const uint16_t*>(mono12.GetData())[7], 2800);

    Image yuv = Image::Construct(YUV420_8_YY_UV_SemiplanarKVX, 4, 4);
    std::memset(yuv.GetData(), 128, yuv.GetByteCount());
    const Image fromYuv = converter.Convert(yuv, BGRa8);
    EXPECT_NEAR(fromYuv.GetData()[0], 128, 2);
    EXPECT_EQ(fromYuv.GetData()[3], 255);
}

// Every source to every destination the library offers: runs, and gives the right format and size.
// Also: every pair the application's destination tables list is offered.
TEST(IplConvert, EverySourceToEveryAllowedDestination)
{
    std::mt19937 rng(7);
    ImageConverter converter;
    size_t pairs = 0;
    for (uint32_t fs : PixelFormat::AllFormats())
    {
        const uint32_t w = 24, h = 10;
        Image src = Image::Construct(fs, w, h);
        for (size_t i = 0; i < src.GetByteCount(); ++i)
            src.GetData()[i] = static_cast<uint8_t>(rng());
        for (uint32_t fd : ImageConverter::GetSupportedDestinations(fs))
        {
            SCOPED_TRACE(PixelFormat::ToName(fs) + " -> " + PixelFormat::ToName(fd));
            const Image out = converter.Convert(src, fd);
            EXPECT_EQ(out.GetPixelFormat(), fd);
            EXPECT_EQ(out.GetWidth(), w);
            EXPECT_EQ(out.GetHeight(), h);
            EXPECT_EQ(out.GetByteCount(), PixelFormat::CalculateImageSize(fd, w, h));
            ++pairs;
        }
    }
    EXPECT_GT(pairs, 900u);

    const uint32_t bayerDest[] = {Mono8, Mono10, Mono12, RGB8,   BGRa8,  RGB10, RGB10p32, RGB12,
                                  BGR8,  RGBa8,  BGR10,  RGBa10, BGRa10, BGR12, RGBa12,   BGRa12};
    for (uint32_t fs : PixelFormat::AllFormats())
    {
        if (!PixelFormat::IsBayered(fs))
            continue;
        for (int bits : {8, 10, 12})
            EXPECT_TRUE(ImageConverter::IsConversionSupported(
                fs, PixelFormat::BayerFormat(PixelFormat::GetBayerPattern(fs), bits)));
        for (uint32_t fd : bayerDest)
            EXPECT_TRUE(ImageConverter::IsConversionSupported(fs, fd)) << PixelFormat::ToName(fs);
        EXPECT_FALSE(ImageConverter::IsConversionSupported(fs, YUV420_8_YY_UV_SemiplanarKVX));
    }
    for (uint32_t fs :
         std::initializer_list<uint32_t>{Mono8, Mono10, Mono10p, Mono12, Mono12p, Mono10g40KVX, Mono12g24KVX})
        for (uint32_t fd : {Mono8, Mono10, Mono12, RGB8, BGRa8, RGB10, RGB12})
            EXPECT_TRUE(ImageConverter::IsConversionSupported(fs, fd));
    for (uint32_t fs : {RGB8, BGR8, BGR10p32})
        for (uint32_t fd : {RGB8, RGB10, RGB12})
            EXPECT_TRUE(ImageConverter::IsConversionSupported(fs, fd));
    for (uint32_t fd : {RGB8, RGB10, RGB10p32, RGB12})
        EXPECT_TRUE(ImageConverter::IsConversionSupported(RGB10p32, fd));
    for (uint32_t fd : {BGRa8, BGR8, RGBa8, RGB8})
        EXPECT_TRUE(ImageConverter::IsConversionSupported(YUV420_8_YY_UV_SemiplanarKVX, fd));
    EXPECT_FALSE(ImageConverter::IsConversionSupported(Mono8, BayerRG8));
    EXPECT_FALSE(ImageConverter::IsConversionSupported(BayerRG8, BayerGB8));
    EXPECT_FALSE(ImageConverter::IsConversionSupported(Mono12, Mono12p));
}

TEST(IplConvert, BadInputRaisesWithTheExactText)
{
    ImageConverter converter;
    Image mono = Image::Construct(Mono8, 8, 8);
    try
    {
        converter.Convert(mono, BayerRG8);
        FAIL();
    }
    catch (const ImageFormatNotSupportedException& e)
    {
        EXPECT_STREQ(e.what(), "[Error-Code: 7 (ORNA_IPL_RETURN_CODE_IMAGE_FORMAT_NOT_SUPPORTED) | "
                               "Error-Description: The conversion from Mono8 to BayerRG8 is not supported.]");
    }
    EXPECT_THROW(converter.Convert(mono, 0x99), ImageFormatNotSupportedException);
    EXPECT_THROW(converter.Convert(Image(), RGB8), InvalidHandleException);
    EXPECT_THROW(converter.PreAllocateConversion(Mono8, BayerRG8, 8, 8, 2), ImageFormatNotSupportedException);
    EXPECT_THROW(converter.PreAllocateConversion(Mono10g40KVX, Mono8, 6, 8, 2), InvalidArgumentException);
}

TEST(IplConvert, PoolImagesAreReusedOnlyWhenReleased)
{
    ImageConverter converter;
    converter.PreAllocateConversion(BayerRG8, BGRa8, 64, 32, 2);
    Image src = Image::Construct(BayerRG8, 64, 32);
    std::memset(src.GetData(), 50, src.GetByteCount());
    Image a = converter.Convert(src, BGRa8);
    Image b = converter.Convert(src, BGRa8);
    EXPECT_NE(a.GetData(), b.GetData());
    Image c = converter.Convert(src, BGRa8); // pool exhausted: a fresh image, nothing overwritten
    EXPECT_NE(c.GetData(), a.GetData());
    EXPECT_NE(c.GetData(), b.GetData());
    const uint8_t* first = a.GetData();
    a = Image();
    Image d = converter.Convert(src, BGRa8);
    EXPECT_EQ(d.GetData(), first);
    EXPECT_EQ(d.GetData()[0], 50);
}

namespace {

int Avg(int a, int b)
{
    return (a + b + 1) >> 1;
}

// The documented bilinear rule, written independently: mirrored borders, pair averages.
std::vector<uint8_t> ReferenceBGRA(const std::vector<uint8_t>& m, int w, int h, BayerPattern pattern)
{
    const auto at = [&](int x, int y) {
        x = x < 0 ? 1 : (x >= w ? w - 2 : x);
        y = y < 0 ? 1 : (y >= h ? h - 2 : y);
        return int(m[size_t(y) * w + x]);
    };
    // Colour of (x, y): 0 red, 1 green, 2 blue.
    const auto colourOf = [&](int x, int y) {
        const int cell = (x & 1) + 2 * (y & 1);
        static const int rg[] = {0, 1, 1, 2}, gb[] = {1, 2, 0, 1}, gr[] = {1, 0, 2, 1}, bg[] = {2, 1, 1, 0};
        switch (pattern)
        {
        case BayerPattern::RG:
            return rg[cell];
        case BayerPattern::GB:
            return gb[cell];
        case BayerPattern::GR:
            return gr[cell];
        default:
            return bg[cell];
        }
    };
    std::vector<uint8_t> out(size_t(w) * h * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
        {
            const int c = at(x, y);
            const int vert = Avg(at(x, y - 1), at(x, y + 1));
            const int horiz = Avg(at(x - 1, y), at(x + 1, y));
            const int diag = Avg(Avg(at(x - 1, y - 1), at(x + 1, y - 1)), Avg(at(x - 1, y + 1), at(x + 1, y + 1)));
            int rgb[3];
            const int own = colourOf(x, y);
            if (own != 1)
            {
                rgb[own] = c;
                rgb[1] = Avg(vert, horiz);
                rgb[2 - own] = diag;
            }
            else
            {
                rgb[1] = c;
                const int rowColour = colourOf(x ^ 1, y); // the colour beside a green site in this row
                rgb[rowColour] = horiz;
                rgb[2 - rowColour] = vert;
            }
            uint8_t* px = &out[(size_t(y) * w + x) * 4];
            px[0] = uint8_t(rgb[2]), px[1] = uint8_t(rgb[1]), px[2] = uint8_t(rgb[0]), px[3] = 255;
        }
    return out;
}

} // namespace

// The one-pass display path (vector kernel and border code) against the reference, for all four orders,
// widths that leave a tail after the 32-pixel blocks, and packed and deep sources of the same samples.
TEST(IplDemosaic, DisplayPathMatchesTheBilinearReferenceExactly)
{
    std::mt19937 rng(5);
    ImageConverter converter;
    for (BayerPattern pattern : kPatterns)
    {
        for (int w : {8, 40, 104, 136})
        {
            const int h = 6;
            SCOPED_TRACE("pattern " + std::to_string(int(pattern)) + " width " + std::to_string(w));
            std::vector<uint16_t> samples12(size_t(w) * h);
            for (auto& s : samples12)
                s = uint16_t(rng() & 0xFFF);
            std::vector<uint8_t> mosaic8(samples12.size());
            for (size_t i = 0; i < mosaic8.size(); ++i)
                mosaic8[i] = uint8_t(samples12[i] >> 4);
            const auto expected = ReferenceBGRA(mosaic8, w, h, pattern);

            const Image eight =
                Image::ConstructFromBuffer(PixelFormat::BayerFormat(pattern, 8), w, h, mosaic8.data(), mosaic8.size());
            const Image bgra = converter.Convert(eight, BGRa8);
            EXPECT_EQ(std::memcmp(bgra.GetData(), expected.data(), expected.size()), 0);

            const Image deep = Image::ConstructFromBuffer(PixelFormat::BayerFormat(pattern, 12), w, h, samples12.data(),
                                                          samples12.size() * 2);
            const Image fromDeep = converter.Convert(deep, BGRa8);
            EXPECT_EQ(std::memcmp(fromDeep.GetData(), expected.data(), expected.size()), 0);

            // 12p of the same samples (a 12-bit stream: pixel 2k in the low 12 bits of 3 bytes).
            std::vector<uint8_t> packed(samples12.size() / 2 * 3);
            for (size_t i = 0; i < samples12.size(); i += 2)
            {
                packed[i / 2 * 3] = uint8_t(samples12[i]);
                packed[i / 2 * 3 + 1] = uint8_t((samples12[i] >> 8) | ((samples12[i + 1] & 0xF) << 4));
                packed[i / 2 * 3 + 2] = uint8_t(samples12[i + 1] >> 4);
            }
            uint32_t packedFormat = 0;
            for (uint32_t f : PixelFormat::AllFormats())
                if (PixelFormat::GetBayerPattern(f) == pattern && PixelFormat::GetPacking(f) == Packing::P12)
                    packedFormat = f;
            const Image p12 = Image::ConstructFromBuffer(packedFormat, w, h, packed.data(), packed.size());
            const Image fromPacked = converter.Convert(p12, BGRa8);
            EXPECT_EQ(std::memcmp(fromPacked.GetData(), expected.data(), expected.size()), 0);

            // RGBa8 is the same with red and blue swapped; BGR8 and RGB8 the same without alpha.
            const Image rgba = converter.Convert(eight, RGBa8);
            const Image bgr = converter.Convert(p12, BGR8);
            const Image rgb = converter.Convert(deep, RGB8);
            size_t wrong = 0;
            for (size_t i = 0; i < size_t(w) * h; ++i)
                for (int c = 0; c < 3; ++c)
                {
                    wrong += rgba.GetData()[4 * i + c] != expected[4 * i + 2 - c];
                    wrong += bgr.GetData()[3 * i + c] != expected[4 * i + c];
                    wrong += rgb.GetData()[3 * i + c] != expected[4 * i + 2 - c];
                }
            EXPECT_EQ(wrong, 0u);
        }
    }
}

// The own bilinear kernel and OpenCV's agree closely away from the borders.
TEST(IplDemosaic, DisplayPathAgreesWithOpenCvBilinear)
{
    std::mt19937 rng(9);
    const int w = 200, h = 100;
    std::vector<uint8_t> mosaic(size_t(w) * h);
    // A smooth scene: demosaicing differences stay small there.
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            mosaic[size_t(y) * w + x] = uint8_t(100 + 60 * std::sin(x / 9.0) + 40 * std::cos(y / 7.0) + rng() % 3);
    ImageConverter converter;
    const Image src = Image::ConstructFromBuffer(BayerRG8, w, h, mosaic.data(), mosaic.size());
    const Image ours = converter.Convert(src, BGRa8);
    cv::Mat in(h, w, CV_8U, mosaic.data()), reference;
    cv::cvtColor(in, reference, cv::COLOR_BayerBG2BGRA);
    const cv::Mat mine(h, w, CV_8UC4, ours.GetData());
    const cv::Rect interior(2, 2, w - 4, h - 4);
    EXPECT_LT(cv::norm(mine(interior), reference(interior), cv::NORM_L1) / (interior.area() * 4.0), 1.5);
}
