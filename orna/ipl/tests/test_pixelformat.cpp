#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

using namespace orna::ipl;

TEST(IplPixelFormat, NamesAndCodesRoundTripAndUnknownsAreReported)
{
    const char* names[] = {
        "Mono8",      "Mono10",     "Mono10p",   "Mono12",     "Mono12p",    "BayerRG8",  "BayerRG10",  "BayerRG10p",
        "BayerRG12",  "BayerRG12p", "BayerBG8",  "BayerBG10",  "BayerBG10p", "BayerBG12", "BayerBG12p", "BayerGB8",
        "BayerGB10",  "BayerGB10p", "BayerGB12", "BayerGB12p", "BayerGR8",   "BayerGR10", "BayerGR10p", "BayerGR12",
        "BayerGR12p", "BGR8",       "BGR10",     "BGR10p32",   "BGR12",      "BGRa8",     "BGRa10",     "BGRa12",
        "RGB8",       "RGB10",      "RGB10p32",  "RGB12",      "RGBa8",      "RGBa10",    "RGBa12"};
    for (const char* name : names)
    {
        const uint32_t code = PixelFormat::FromName(name);
        ASSERT_NE(code, 0u) << name;
        EXPECT_EQ(PixelFormat::ToName(code), name);
    }
    EXPECT_EQ(PixelFormat::FromName("BayerRG10g40KVX"), 0x40000001u);
    EXPECT_EQ(PixelFormat::FromName("BayerGB10g40KVX"), 0x40000002u);
    EXPECT_EQ(PixelFormat::FromName("BayerGR10g40KVX"), 0x40000003u);
    EXPECT_EQ(PixelFormat::FromName("BayerBG10g40KVX"), 0x40000004u);
    EXPECT_EQ(PixelFormat::FromName("Mono10g40KVX"), 0x4000000Fu);
    EXPECT_EQ(PixelFormat::FromName("BayerRG12g24KVX"), 0x40000011u);
    EXPECT_EQ(PixelFormat::FromName("BayerGB12g24KVX"), 0x40000012u);
    EXPECT_EQ(PixelFormat::FromName("BayerGR12g24KVX"), 0x40000013u);
    EXPECT_EQ(PixelFormat::FromName("BayerBG12g24KVX"), 0x40000014u);
    EXPECT_EQ(PixelFormat::FromName("Mono12g24KVX"), 0x4000001Fu);
    EXPECT_EQ(PixelFormat::FromName("YUV420_8_YY_UV_SemiplanarKVX"), 0x420C0001u);
    EXPECT_EQ(PixelFormat::FromName("Mono9"), 0u);
    EXPECT_EQ(PixelFormat::ToName(0x12345678), "INVALID PIXEL FORMAT VALUE");
    try
    {
        PixelFormat::GetNumChannels(0x12345678);
        FAIL();
    }
    catch (const ImageFormatNotSupportedException& e)
    {
        EXPECT_STREQ(e.what(), "[Error-Code: 7 (ORNA_IPL_RETURN_CODE_IMAGE_FORMAT_NOT_SUPPORTED) | "
                               "Error-Description: Unknown pixel format 0x12345678.]");
    }
}

TEST(IplPixelFormat, PropertiesOfEachFamily)
{
    struct Expect
    {
        uint32_t f;
        int channels, sig, storage;
        bool packed, bayer;
        BayerPattern pattern;
    };
    const Expect table[] = {
        {Mono8, 1, 8, 8, false, false, BayerPattern::None},
        {Mono10, 1, 10, 16, false, false, BayerPattern::None},
        {Mono10p, 1, 10, 10, true, false, BayerPattern::None},
        {Mono12p, 1, 12, 12, true, false, BayerPattern::None},
        {Mono10g40KVX, 1, 10, 10, true, false, BayerPattern::None},
        {Mono12g24KVX, 1, 12, 12, true, false, BayerPattern::None},
        {BayerRG8, 1, 8, 8, false, true, BayerPattern::RG},
        {BayerGB12p, 1, 12, 12, true, true, BayerPattern::GB},
        {BayerGR10g40KVX, 1, 10, 10, true, true, BayerPattern::GR},
        {BayerBG12g24KVX, 1, 12, 12, true, true, BayerPattern::BG},
        {RGB8, 3, 8, 24, false, false, BayerPattern::None},
        {BGRa8, 4, 8, 32, false, false, BayerPattern::None},
        {RGB12, 3, 12, 48, false, false, BayerPattern::None},
        {RGBa10, 4, 10, 64, false, false, BayerPattern::None},
        {RGB10p32, 3, 10, 32, true, false, BayerPattern::None},
        {YUV420_8_YY_UV_SemiplanarKVX, 3, 8, 12, false, false, BayerPattern::None},
    };
    for (const auto& e : table)
    {
        SCOPED_TRACE(PixelFormat::ToName(e.f));
        EXPECT_EQ(PixelFormat::GetNumChannels(e.f), e.channels);
        EXPECT_EQ(PixelFormat::GetNumSignificantBitsPerChannel(e.f), e.sig);
        EXPECT_EQ(PixelFormat::GetNumStorageBitsPerPixel(e.f), e.storage);
        EXPECT_EQ(PixelFormat::IsPacked(e.f), e.packed);
        EXPECT_EQ(PixelFormat::IsBayered(e.f), e.bayer);
        EXPECT_EQ(PixelFormat::GetBayerPattern(e.f), e.pattern);
    }
    // Every known format is consistent: bayer <=> pattern, packed formats unpack to an unpacked format.
    for (uint32_t f : PixelFormat::AllFormats())
    {
        EXPECT_EQ(PixelFormat::IsBayered(f), PixelFormat::GetBayerPattern(f) != BayerPattern::None);
        EXPECT_FALSE(PixelFormat::IsPacked(PixelFormat::GetUnpackedFormat(f)));
        EXPECT_EQ(PixelFormat::FromName(PixelFormat::ToName(f)), f);
    }
}

TEST(IplPixelFormat, StorageSizes)
{
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(Mono10p, 4), 5u);
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(Mono10p, 3), 4u); // 30 bits
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(Mono12p, 3), 5u); // 36 bits
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(BayerRG10g40KVX, 4), 5u);
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(BayerRG10g40KVX, 5), 10u);
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(Mono12g24KVX, 3), 6u);
    EXPECT_EQ(PixelFormat::CalculateStorageSizeOfPixels(RGB12, 2), 12u);
    EXPECT_EQ(PixelFormat::CalculateImageSize(YUV420_8_YY_UV_SemiplanarKVX, 4, 2), 12u);
    EXPECT_EQ(PixelFormat::CalculateImageSize(BGRa12, 3, 3), 72u);
    EXPECT_EQ(PixelFormat::GetIntermediateFormat(BayerGB12g24KVX), BayerGB12);
    EXPECT_EQ(PixelFormat::GetIntermediateFormat(BayerGB12p), BayerGB12p);
    EXPECT_EQ(PixelFormat::GetUnpackedFormat(BayerGB12p), BayerGB12);
    EXPECT_EQ(PixelFormat::GetUnpackedFormat(BGR10p32), BGR10);
}

TEST(IplPixelFormat, GeometryThatDoesNotFitTheGroupingIsRefused)
{
    try
    {
        PixelFormat::CalculateImageSize(Mono10g40KVX, 6, 2);
        FAIL();
    }
    catch (const InvalidArgumentException& e)
    {
        EXPECT_STREQ(e.what(), "[Error-Code: 5 (ORNA_IPL_RETURN_CODE_INVALID_ARGUMENT) | Error-Description: "
                               "Image size 6x2 does not fit Mono10g40KVX: the width must be a multiple of 4.]");
    }
    EXPECT_THROW(PixelFormat::CalculateImageSize(BayerRG12g24KVX, 5, 2), InvalidArgumentException);
    EXPECT_THROW(PixelFormat::CalculateImageSize(YUV420_8_YY_UV_SemiplanarKVX, 4, 3), InvalidArgumentException);
    EXPECT_THROW(PixelFormat::CalculateImageSize(Mono8, 0, 3), InvalidArgumentException);
    EXPECT_THROW(PixelFormat::CalculateImageSize(Mono8, 70000, 3), OutOfRangeException);
    EXPECT_NO_THROW(PixelFormat::CalculateImageSize(Mono12p, 5, 3)); // p formats are a plain bit stream
}

TEST(IplImage, OwningWrappingCloningAndTimestamps)
{
    Image image = Image::Construct(BGRa8, 5, 3);
    EXPECT_EQ(image.GetByteCount(), 60u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image.GetData()) % 64, 0u);
    std::memset(image.GetData(), 7, image.GetByteCount());
    image.SetTimestamp(123456789);

    Image copy = image.Clone();
    EXPECT_NE(copy.GetData(), image.GetData());
    EXPECT_EQ(copy.GetTimestamp(), 123456789u);
    EXPECT_EQ(std::memcmp(copy.GetData(), image.GetData(), 60), 0);

    std::vector<uint8_t> device(100, 3);
    Image view = Image::ConstructFromBuffer(Mono12p, 10, 5, device.data(), device.size());
    EXPECT_EQ(view.GetData(), device.data()); // no copy
    EXPECT_FALSE(view.OwnsData());
    EXPECT_EQ(view.GetByteCount(), 75u);

    Image moved = std::move(view);
    EXPECT_TRUE(view.IsEmpty());
    EXPECT_EQ(moved.GetData(), device.data());
    EXPECT_THROW(view.Clone(), InvalidHandleException);
}

TEST(IplImage, ShortOrMissingBufferIsRefusedWithTheExactText)
{
    std::vector<uint8_t> device(74);
    try
    {
        Image::ConstructFromBuffer(Mono12p, 10, 5, device.data(), device.size());
        FAIL();
    }
    catch (const BufferTooSmallException& e)
    {
        EXPECT_STREQ(e.what(), "[Error-Code: 4 (ORNA_IPL_RETURN_CODE_BUFFER_TOO_SMALL) | Error-Description: "
                               "The buffer of 74 bytes is smaller than the 75 bytes that Mono12p needs for "
                               "10x5.]");
    }
    try
    {
        Image::ConstructFromBuffer(Mono8, 2, 2, static_cast<void*>(nullptr), 4);
        FAIL();
    }
    catch (const InvalidArgumentException& e)
    {
        EXPECT_STREQ(e.what(), "[Error-Code: 5 (ORNA_IPL_RETURN_CODE_INVALID_ARGUMENT) | Error-Description: "
                               "The given buffer is a nullptr!]");
    }
    EXPECT_THROW(Image::ConstructFromBuffer(0xDEADBEEF, 2, 2, device.data(), device.size()),
                 ImageFormatNotSupportedException);
}

TEST(IplImage, RetaggingKeepsTheByteCount)
{
    Image image = Image::Construct(BayerRG8, 4, 4);
    image.SetPixelFormat(BayerGB8);
    EXPECT_EQ(image.GetPixelFormat(), BayerGB8);
    EXPECT_THROW(image.SetPixelFormat(Mono12), InvalidArgumentException);
}
