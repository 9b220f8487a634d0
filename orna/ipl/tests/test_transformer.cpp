#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/imagetransformer.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <random>
#include <vector>

using namespace orna::ipl;

namespace {

// Mono8 image whose pixel (x, y) holds 10 * y + x.
Image Numbered(uint32_t width, uint32_t height)
{
    Image image = Image::Construct(Mono8, width, height);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            image.GetData()[y * width + x] = uint8_t(10 * y + x);
    return image;
}

std::vector<uint8_t> Pixels(const Image& image)
{
    return std::vector<uint8_t>(image.GetData(), image.GetData() + image.GetByteCount());
}

// A red mosaic: value 200 where the pattern has red, 0 elsewhere.
Image RedMosaic(BayerPattern pattern, uint32_t width, uint32_t height)
{
    Image image = Image::Construct(PixelFormat::BayerFormat(pattern, 8), width, height);
    // Which of the four cells (x%2 + 2*(y%2)) is red, per pattern.
    const int red = pattern == BayerPattern::RG   ? 0
                    : pattern == BayerPattern::GR ? 1
                    : pattern == BayerPattern::GB ? 2
                                                  : 3;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            image.GetData()[y * width + x] = int(x % 2 + 2 * (y % 2)) == red ? 200 : 0;
    return image;
}

bool AllRed(const Image& rgb)
{
    // Skip a border of two pixels: bilinear demosaicing guesses at the edges.
    for (uint32_t y = 2; y + 2 < rgb.GetHeight(); ++y)
        for (uint32_t x = 2; x + 2 < rgb.GetWidth(); ++x)
        {
            const uint8_t* p = rgb.GetData() + (y * rgb.GetWidth() + x) * 3;
            if (p[0] < 150 || p[1] > 40 || p[2] > 40)
                return false;
        }
    return true;
}

} // namespace

// Quarter turns go left ("rotate left" = 90), sizes swap, and the result stays in the image's own memory.
TEST(ImageTransformer, TurnsAndMirrorsMoveEachPixelWhereExpected)
{
    ImageTransformer transformer;
    // 3 x 2:   0  1  2
    //         10 11 12
    struct Case
    {
        const char* name;
        void (*apply)(ImageTransformer&, Image&);
        uint32_t width, height;
        std::vector<uint8_t> expected;
    };
    const std::vector<Case> cases = {
        {"left/right", [](ImageTransformer& t, Image& i) { t.MirrorLeftRightInPlace(i); }, 3, 2, {2, 1, 0, 12, 11, 10}},
        {"up/down", [](ImageTransformer& t, Image& i) { t.MirrorUpDownInPlace(i); }, 3, 2, {10, 11, 12, 0, 1, 2}},
        {"both", [](ImageTransformer& t, Image& i) { t.MirrorUpDownLeftRightInPlace(i); }, 3, 2, {12, 11, 10, 2, 1, 0}},
        {"rotate 90", [](ImageTransformer& t, Image& i) { t.RotateInPlace(i, 90); }, 2, 3, {2, 12, 1, 11, 0, 10}},
        {"rotate 180", [](ImageTransformer& t, Image& i) { t.RotateInPlace(i, 180); }, 3, 2, {12, 11, 10, 2, 1, 0}},
        {"rotate 270", [](ImageTransformer& t, Image& i) { t.RotateInPlace(i, 270); }, 2, 3, {10, 0, 11, 1, 12, 2}},
        {"rotate 0", [](ImageTransformer& t, Image& i) { t.RotateInPlace(i, 0); }, 3, 2, {0, 1, 2, 10, 11, 12}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        Image image = Numbered(3, 2);
        image.SetTimestamp(77);
        const uint8_t* memory = image.GetData();
        c.apply(transformer, image);
        EXPECT_EQ(image.GetWidth(), c.width);
        EXPECT_EQ(image.GetHeight(), c.height);
        EXPECT_EQ(Pixels(image), c.expected);
        EXPECT_EQ(image.GetData(), memory);
        EXPECT_EQ(image.GetTimestamp(), 77u);
    }
}

// A view of foreign memory (the device buffer) is turned in that memory, with its stride being its width.
TEST(ImageTransformer, TurnsAWrappedBufferInPlace)
{
    std::vector<uint8_t> buffer = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0xEE};
    Image view = Image::ConstructFromBuffer(Mono8, 4, 3, buffer.data(), buffer.size());
    ImageTransformer transformer;
    transformer.RotateInPlace(view, 90);
    EXPECT_EQ(view.GetWidth(), 3u);
    EXPECT_EQ(view.GetHeight(), 4u);
    EXPECT_EQ(buffer, (std::vector<uint8_t>{3, 7, 11, 2, 6, 10, 1, 5, 9, 0, 4, 8, 0xEE}));
}

TEST(ImageTransformer, RefusesWhatItCannotTurn)
{
    ImageTransformer transformer;
    Image odd = Image::Construct(BayerRG8, 6, 5);
    EXPECT_THROW(transformer.MirrorLeftRightInPlace(odd), ImageFormatNotSupportedException);
    EXPECT_THROW(transformer.RotateInPlace(odd, 90), ImageFormatNotSupportedException);
    EXPECT_EQ(odd.GetPixelFormat(), uint32_t(BayerRG8));
    EXPECT_EQ(odd.GetWidth(), 6u);

    Image packed = Image::Construct(Mono12p, 4, 2);
    EXPECT_THROW(transformer.MirrorUpDownInPlace(packed), ImageFormatNotSupportedException);
    Image yuv = Image::Construct(YUV420_8_YY_UV_SemiplanarKVX, 4, 2);
    EXPECT_THROW(transformer.RotateInPlace(yuv, 180), ImageFormatNotSupportedException);

    Image mono = Numbered(3, 2);
    EXPECT_THROW(transformer.RotateInPlace(mono, 45), OutOfRangeException);
    EXPECT_EQ(Pixels(mono), (std::vector<uint8_t>{0, 1, 2, 10, 11, 12}));
    Image empty;
    EXPECT_THROW(transformer.MirrorLeftRightInPlace(empty), Exception);
}

// The re-tag must name the order the pixels really have: a red mosaic stays red after demosaicing, whatever
// the order and the operation. A wrong table or a turn the wrong way gives blue or green.
TEST(ImageTransformer, ABayerImageIsRetaggedSoThatItStillDemosaicsToRed)
{
    ImageTransformer transformer;
    ImageConverter converter;
    const BayerPattern patterns[] = {BayerPattern::RG, BayerPattern::GR, BayerPattern::GB, BayerPattern::BG};
    const int operations = 6;
    for (BayerPattern pattern : patterns)
        for (int op = 0; op < operations; ++op)
        {
            SCOPED_TRACE(::testing::Message() << "pattern " << int(pattern) << " operation " << op);
            Image image = RedMosaic(pattern, 12, 8);
            switch (op)
            {
            case 0:
                transformer.MirrorLeftRightInPlace(image);
                break;
            case 1:
                transformer.MirrorUpDownInPlace(image);
                break;
            case 2:
                transformer.MirrorUpDownLeftRightInPlace(image);
                break;
            default:
                transformer.RotateInPlace(image, uint16_t(90 * (op - 2)));
                break;
            }
            ASSERT_TRUE(PixelFormat::IsBayered(image.GetPixelFormat()));
            const Image rgb = converter.Convert(image, RGB8);
            EXPECT_TRUE(AllRed(rgb));
        }
}

TEST(ImageTransformer, KeepsTheBitDepthOfA16BitMosaic)
{
    ImageTransformer transformer;
    Image image = Image::Construct(BayerGB12, 4, 2);
    std::memset(image.GetData(), 0, image.GetByteCount());
    reinterpret_cast<uint16_t*>(image.GetData())[3] = 4095; // (3, 0)
    transformer.RotateInPlace(image, 90);
    EXPECT_EQ(image.GetPixelFormat(), uint32_t(BayerBG12));
    // (3, 0) of a 4-wide image turns left to (0, 0).
    EXPECT_EQ(reinterpret_cast<uint16_t*>(image.GetData())[0], 4095);
}

// Quarter turns of every element size, on sizes that leave partial tiles at the right and bottom edges, agree
// with OpenCV's rotation of the same pixels.
TEST(ImageTransformer, QuarterTurnsOfEveryElementSizeMatchOpenCv)
{
    struct Case
    {
        uint32_t format;
        int cvType;
    };
    const Case cases[] = {{Mono8, CV_8UC1}, {Mono12, CV_16UC1}, {RGB8, CV_8UC3},
                          {BGRa8, CV_8UC4}, {RGB12, CV_16UC3},  {BGRa12, CV_16UC4}};
    std::mt19937 rng(5);
    ImageTransformer transformer;
    for (const Case& c : cases)
        for (const auto& [width, height] : {std::pair<uint32_t, uint32_t>{70, 45}, {33, 130}, {64, 64}})
            for (const uint16_t angle : {uint16_t(90), uint16_t(270)})
            {
                Image image = Image::Construct(c.format, width, height);
                for (size_t i = 0; i < image.GetByteCount(); ++i)
                    image.GetData()[i] = uint8_t(rng());
                const cv::Mat before = cv::Mat(int(height), int(width), c.cvType, image.GetData()).clone();
                cv::Mat expected;
                cv::rotate(before, expected, angle == 90 ? cv::ROTATE_90_COUNTERCLOCKWISE : cv::ROTATE_90_CLOCKWISE);
                // The same pixels in memory the image does not own: turned where they are.
                std::vector<uint8_t> foreign(image.GetData(), image.GetData() + image.GetByteCount());
                Image view = Image::ConstructFromBuffer(c.format, width, height, foreign.data(), foreign.size());
                transformer.RotateInPlace(image, angle);
                transformer.RotateInPlace(view, angle);
                for (const Image* turned : {&image, &view})
                {
                    ASSERT_EQ(turned->GetWidth(), height);
                    ASSERT_EQ(turned->GetHeight(), width);
                    ASSERT_EQ(std::memcmp(turned->GetData(), expected.data, turned->GetByteCount()), 0)
                        << PixelFormat::ToName(c.format) << " " << width << "x" << height << " by " << angle
                        << (turned == &view ? " (view)" : " (owned)");
                }
                EXPECT_EQ(view.GetData(), foreign.data());
            }
}
