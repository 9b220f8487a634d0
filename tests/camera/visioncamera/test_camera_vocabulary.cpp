// The camera vocabulary without a camera: the pixel format name table and its classifiers, the destination
// tables, and the image buffer manager's collecting rule and last image.
#include "camera/cameratypes.h"
#include "camera/imagebuffermanager.h"
#include "camera/pixelformattable.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace pf = orna::ipl;

TEST(PixelFormatTable, NamesAndCodesMapBothWaysAndUnknownNamesGiveZero)
{
    for (const auto& name : camera::KnownPixelFormatNames())
    {
        const uint32_t code = camera::PixelFormatFromName(name);
        ASSERT_NE(code, 0u) << name;
        EXPECT_EQ(camera::PixelFormatToName(code), name);
        EXPECT_TRUE(camera::IsKnownPixelFormat(code));
    }
    EXPECT_EQ(camera::KnownPixelFormatNames().size(), 50u);
    EXPECT_EQ(camera::PixelFormatFromName("BayerRG10g40KVX"), 0x40000001u);
    EXPECT_EQ(camera::PixelFormatFromName("Mono12g24KVX"), 0x4000001Fu);
    EXPECT_EQ(camera::PixelFormatFromName("YUV420_8_YY_UV_SemiplanarKVX"), 0x420C0001u);
    EXPECT_EQ(camera::PixelFormatFromName("Mono8"), uint32_t(pf::Mono8));
    EXPECT_EQ(camera::PixelFormatFromName("NoSuchFormat"), 0u);
    EXPECT_EQ(camera::PixelFormatFromName(""), 0u);
    // Known to the image library, but not offered by the system.
    EXPECT_EQ(camera::PixelFormatFromName("YUV420_8_YY_VU_SemiplanarKVX"), 0u);
    // An unknown code has a name that no table holds, and that name has no code.
    EXPECT_EQ(camera::PixelFormatToName(0x12345678u), "INVALID PIXEL FORMAT VALUE");
    EXPECT_EQ(camera::PixelFormatToName(0), "INVALID PIXEL FORMAT VALUE");
    EXPECT_EQ(camera::PixelFormatFromName("INVALID PIXEL FORMAT VALUE"), 0u);
}

TEST(PixelFormatTable, PackingClassBytesPerPixelAndUnpackedForm)
{
    EXPECT_EQ(camera::GetPackingClass(pf::Mono10p), 1);
    EXPECT_EQ(camera::GetPackingClass(pf::BayerRG10g40KVX), 1);
    EXPECT_EQ(camera::GetPackingClass(pf::BayerGB12p), 2);
    EXPECT_EQ(camera::GetPackingClass(pf::Mono12g24KVX), 2);
    EXPECT_EQ(camera::GetPackingClass(pf::RGB8), 3);
    EXPECT_EQ(camera::GetPackingClass(pf::BGRa12), 3);
    EXPECT_EQ(camera::GetPackingClass(pf::Mono8), 0);
    EXPECT_EQ(camera::GetPackingClass(pf::BayerRG12), 0);
    EXPECT_EQ(camera::GetPackingClass(pf::YUV420_8_YY_UV_SemiplanarKVX), 0);
    EXPECT_EQ(camera::GetPackingClass(0x12345678u), 0);

    EXPECT_EQ(camera::GetBytesPerPixel(pf::Mono8), 1);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::BayerBG8), 1);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::Mono12), 2);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::BayerRG10p), 2);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::RGB8), 3);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::BGR12), 6);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::RGBa10), 8);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::YUV420_8_YY_UV_SemiplanarKVX), 2);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::BGRa8), 4);
    EXPECT_EQ(camera::GetBytesPerPixel(pf::RGB10p32), 4);

    EXPECT_EQ(camera::GetUnpackedPixelFormat(pf::BayerGR10g40KVX), uint32_t(pf::BayerGR10));
    EXPECT_EQ(camera::GetUnpackedPixelFormat(pf::Mono12g24KVX), uint32_t(pf::Mono12));
    // Standard packed formats flow on unchanged: the converter reads them directly.
    EXPECT_EQ(camera::GetUnpackedPixelFormat(pf::Mono10p), uint32_t(pf::Mono10p));
    EXPECT_EQ(camera::GetUnpackedPixelFormat(pf::RGB8), uint32_t(pf::RGB8));
}

TEST(PixelFormatTable, DestinationTablesAndDefaults)
{
    const auto t = camera::BuildPixelFormatDestinationTables(false, {});
    const auto rg = t.Destinations("BayerRG12p");
    ASSERT_EQ(rg.size(), 11u);
    EXPECT_EQ(rg.front(), uint32_t(pf::BayerRG8));
    EXPECT_EQ(rg.back(), uint32_t(pf::RGB12));
    EXPECT_EQ(t.Destinations("BayerGB10g40KVX").front(), uint32_t(pf::BayerGB8));
    EXPECT_TRUE(t.IsSupported("Mono8", pf::BGRa8));
    EXPECT_FALSE(t.IsSupported("Mono8", pf::BayerRG8));
    EXPECT_FALSE(t.IsSupported("BayerRG8", pf::BGR8));
    EXPECT_TRUE(t.Destinations("NoSuchFormat").empty());
    EXPECT_TRUE(t.Destinations("Mono8", 4).empty());
    EXPECT_EQ(t.DefaultDestination("BayerBG8"), uint32_t(pf::BGRa8));
    EXPECT_EQ(t.DefaultDestination("BayerGR10p"), uint32_t(pf::RGB10p32));
    EXPECT_EQ(t.DefaultDestination("BayerRG12"), uint32_t(pf::RGB12));
    EXPECT_EQ(t.DefaultDestination("BGR10p32"), uint32_t(pf::RGB10));
    EXPECT_EQ(t.DefaultDestination("Mono10"), 0u);
    // Classic mode knows two sources only.
    EXPECT_TRUE(t.IsSupported("BayerGR8", pf::BGR8, 3));
    EXPECT_FALSE(t.IsSupported("BayerGB8", pf::BGR8, 3));
    EXPECT_EQ(t.DefaultDestination("BayerRG8", 3), uint32_t(pf::BGRa8));

    // The wider list reaches the RG order alone.
    const auto wide = camera::BuildPixelFormatDestinationTables(true, {});
    EXPECT_TRUE(wide.IsSupported("BayerRG8", pf::BGR8));
    EXPECT_FALSE(wide.IsSupported("BayerGB8", pf::BGR8));
    EXPECT_EQ(wide.Destinations("BayerRG8").size(), 19u);

    // Bayer destinations pass the chain's mapping (here: a mirror that swaps RG and GR).
    const auto mirrored = camera::BuildPixelFormatDestinationTables(
        false, [](uint32_t f) { return f == pf::BayerRG8 ? uint32_t(pf::BayerGR8) : f; });
    EXPECT_FALSE(mirrored.IsSupported("BayerRG8", pf::BayerRG8));
    EXPECT_TRUE(mirrored.IsSupported("BayerRG8", pf::BayerGR8));
    EXPECT_TRUE(mirrored.IsSupported("Mono8", pf::Mono8));
}

TEST(CameraTypes, AccessStatesAndSourceNames)
{
    EXPECT_FALSE(camera::access::IsAccessible(0));
    EXPECT_FALSE(camera::access::IsAccessible(1));
    EXPECT_TRUE(camera::access::IsAccessible(2));
    EXPECT_TRUE(camera::access::IsAccessible(3));
    EXPECT_FALSE(camera::access::IsWritable(3));
    EXPECT_TRUE(camera::access::IsWritable(2));
    EXPECT_TRUE(camera::access::IsWritable(4));
    EXPECT_STREQ(camera::SourceEntryName(camera::BinningSource::Region0), "Region0");
    EXPECT_STREQ(camera::SourceEntryName(camera::DecimationSource::Sensor), "Sensor");
}

TEST(ImageBufferManager, DroppedImageIsFreedByTheNextAdd)
{
    ImageBufferManager manager;
    std::weak_ptr<pf::Image> first = manager.AddImage(pf::Image::Construct(pf::Mono8, 16, 8));
    EXPECT_FALSE(first.expired()); // the list still holds it
    EXPECT_EQ(manager.GetImageCount(), 1u);
    auto second = manager.AddImage(pf::Image::Construct(pf::Mono8, 16, 8));
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(manager.GetImageCount(), 1u);
    EXPECT_EQ(second->GetWidth(), 16u);
}

TEST(ImageBufferManager, ImageHeldByTheDisplayLivesUntilReleasedAndAnotherCame)
{
    ImageBufferManager manager;
    auto held = manager.AddImage(pf::Image::Construct(pf::Mono8, 8, 8));
    manager.SetLastImage(held);
    std::weak_ptr<pf::Image> watch = held;
    manager.AddImage(pf::Image::Construct(pf::Mono8, 8, 8));
    EXPECT_FALSE(watch.expired());
    manager.SetLastImage(nullptr);
    held.reset();
    EXPECT_FALSE(watch.expired()); // freed only at the next AddImage
    manager.AddImage(pf::Image::Construct(pf::Mono8, 8, 8));
    EXPECT_TRUE(watch.expired());
}

TEST(ImageBufferManager, TakesOverTheHandleAndKeepsEmptyOnes)
{
    ImageBufferManager manager;
    pf::Image image = pf::Image::Construct(pf::RGB8, 4, 4);
    uint8_t* data = image.GetData();
    auto shared = manager.AddImage(std::move(image));
    EXPECT_TRUE(image.IsEmpty());
    EXPECT_EQ(shared->GetData(), data);
    pf::Image empty;
    auto sharedEmpty = manager.AddImage(std::move(empty));
    EXPECT_TRUE(sharedEmpty->IsEmpty());
    manager.Clear();
    EXPECT_EQ(manager.GetImageCount(), 0u);
    EXPECT_EQ(manager.GetLastImage(), nullptr);
}

TEST(ImageBufferManager, LastImageIsNeverTornAcrossThreads)
{
    ImageBufferManager manager;
    auto a = std::make_shared<pf::Image>(pf::Image::Construct(pf::Mono8, 8, 8));
    auto b = std::make_shared<pf::Image>(pf::Image::Construct(pf::Mono8, 16, 16));
    // The writer runs until the reader has seen enough images, so a scheduler that starts the reader late
    // cannot leave the test without a single concurrent read.
    std::atomic<int> reads{0};
    std::thread writer([&] {
        for (int i = 0; reads.load() < 20000; ++i)
            manager.SetLastImage(i % 2 ? a : b);
    });
    while (reads.load() < 20000)
    {
        auto image = manager.GetLastImage();
        if (image)
        {
            ASSERT_TRUE(image == a || image == b);
            reads.fetch_add(1);
        }
    }
    writer.join();
    EXPECT_GE(reads.load(), 20000);
}

TEST(ImageBufferManager, DisplayFormats)
{
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::Mono8), QImage::Format_Grayscale8);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::BayerGB12), QImage::Format_Grayscale8);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::Mono10p), QImage::Format_RGB32);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::BGR10), QImage::Format_RGB888);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::RGB10p32), QImage::Format_BGR30);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(pf::BGRa8), QImage::Format_RGB32);
    EXPECT_EQ(ImageBufferManager::GetQImageFormat(0x12345678u), QImage::Format_RGB32);
}
