#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imagewriter.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <filesystem>
#include <random>

using namespace orna::ipl;
namespace fs = std::filesystem;

namespace {

class IplWriter : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const char* home = std::getenv("LUMIVUE_TEST_HOME");
        dir = fs::path(home ? home : fs::temp_directory_path().string()) / "ipl-writer";
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    std::string File(const std::string& name) const { return (dir / name).string(); }
    // No temporary file may stay behind, whatever happened.
    void ExpectNoLeftovers() const
    {
        for (const auto& entry : fs::directory_iterator(dir))
            EXPECT_EQ(entry.path().string().find(".part"), std::string::npos) << entry.path();
    }
    fs::path dir;
};

Image Gradient16(uint32_t format, uint32_t w, uint32_t h)
{
    Image image = Image::Construct(format, w, h);
    const int channels = PixelFormat::GetNumChannels(format);
    const int max = (1 << PixelFormat::GetNumSignificantBitsPerChannel(format)) - 1;
    auto* p = reinterpret_cast<uint16_t*>(image.GetData());
    for (size_t i = 0; i < size_t(w) * h; ++i)
        for (int c = 0; c < channels; ++c)
            p[i * channels + c] = static_cast<uint16_t>((i * 37 + c * 1000) % (max + 1));
    return image;
}

} // namespace

TEST_F(IplWriter, BmpAndJpegShiftDeepMonoDownAndPngShiftsItUp)
{
    const Image mono12 = Gradient16(Mono12, 40, 30);
    const auto* src = reinterpret_cast<const uint16_t*>(mono12.GetData());

    ImageWriter::Write(mono12, File("m.bmp"));
    const cv::Mat bmp = cv::imread(File("m.bmp"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(bmp.type(), CV_8UC1);
    for (int i = 0; i < 1200; ++i)
        ASSERT_EQ(bmp.data[i], src[i] >> 4) << i;

    ImageWriter::Write(mono12, File("m.png"));
    const cv::Mat png = cv::imread(File("m.png"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(png.type(), CV_16UC1);
    for (int i = 0; i < 1200; ++i)
        ASSERT_EQ(png.ptr<uint16_t>()[i], src[i] << 4) << i;

    ImageWriter::Write(mono12, File("m.jpg"));
    const cv::Mat jpg = cv::imread(File("m.jpg"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(jpg.type(), CV_8UC1);
    EXPECT_NEAR(cv::mean(jpg)[0], cv::mean(bmp)[0], 2.0);
    ExpectNoLeftovers();
}

TEST_F(IplWriter, ColourOrderAndAlphaPerType)
{
    Image rgba = Image::Construct(RGBa8, 16, 8);
    for (size_t i = 0; i < 128; ++i)
    {
        rgba.GetData()[4 * i] = 250;     // R
        rgba.GetData()[4 * i + 1] = 120; // G
        rgba.GetData()[4 * i + 2] = 10;  // B
        rgba.GetData()[4 * i + 3] = 77;  // A
    }
    ImageWriter::Write(rgba, File("c.png"));
    const cv::Mat png = cv::imread(File("c.png"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(png.type(), CV_8UC4);
    EXPECT_EQ(png.at<cv::Vec4b>(3, 3), cv::Vec4b(10, 120, 250, 77));

    ImageWriter::Write(rgba, File("c.bmp"));
    const cv::Mat bmp = cv::imread(File("c.bmp"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(bmp.type(), CV_8UC3);
    EXPECT_EQ(bmp.at<cv::Vec3b>(3, 3), cv::Vec3b(10, 120, 250));
    EXPECT_EQ(rgba.GetData()[0], 250) << "writing must not reorder the caller's pixels";

    const Image rgb12 = Gradient16(RGB12, 20, 10);
    ImageWriter::Write(rgb12, File("c16.png"));
    const cv::Mat png16 = cv::imread(File("c16.png"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(png16.type(), CV_16UC3);
    const auto* s = reinterpret_cast<const uint16_t*>(rgb12.GetData());
    const cv::Vec3w px = png16.at<cv::Vec3w>(0, 5);
    EXPECT_EQ(px[2], s[15] << 4); // R
    EXPECT_EQ(px[0], s[17] << 4); // B
}

TEST_F(IplWriter, JpegQualityChangesTheFileAndIsRangeChecked)
{
    Image bgr = Image::Construct(BGR8, 128, 96);
    std::mt19937 rng(1);
    for (size_t i = 0; i < bgr.GetByteCount(); ++i)
        bgr.GetData()[i] = static_cast<uint8_t>(rng());
    ImageWriter::Write(bgr, File("low.jpg"), ImageWriterOptions{20});
    ImageWriter::Write(bgr, File("high.JPEG"), ImageWriterOptions{98});
    EXPECT_LT(fs::file_size(File("low.jpg")), fs::file_size(File("high.JPEG")));
    EXPECT_THROW(ImageWriter::Write(bgr, File("bad.jpg"), ImageWriterOptions{0}), InvalidArgumentException);
    EXPECT_FALSE(fs::exists(File("bad.jpg")));
}

TEST_F(IplWriter, RefusalsAndFailuresLeaveNoFile)
{
    Image p32 = Image::Construct(RGB10p32, 8, 8);
    EXPECT_THROW(ImageWriter::Write(p32, File("p.png")), ImageFormatNotSupportedException);
    Image mono = Image::Construct(Mono8, 8, 8);
    try
    {
        ImageWriter::Write(mono, File("x.tiff"));
        FAIL();
    }
    catch (const InvalidArgumentException& e)
    {
        EXPECT_NE(std::string(e.what()).find("is not supported (bmp, jpg, png).]"), std::string::npos);
    }
    EXPECT_THROW(ImageWriter::Write(mono, File("missing/dir/x.png")), IOException);
    EXPECT_THROW(ImageWriter::Write(Image(), File("e.png")), InvalidHandleException);
    EXPECT_FALSE(fs::exists(File("p.png")));
    EXPECT_FALSE(fs::exists(File("x.tiff")));
    ExpectNoLeftovers();

    // An existing file is replaced as a whole.
    std::memset(mono.GetData(), 200, mono.GetByteCount());
    ImageWriter::Write(mono, File("same.png"));
    std::memset(mono.GetData(), 9, mono.GetByteCount());
    ImageWriter::Write(mono, File("same.png"));
    EXPECT_EQ(cv::imread(File("same.png"), cv::IMREAD_UNCHANGED).at<uint8_t>(2, 2), 9);
}

TEST_F(IplWriter, BayerIsWrittenAsItsRawMosaic)
{
    Image bayer = Image::Construct(BayerGR10, 8, 4);
    auto* p = reinterpret_cast<uint16_t*>(bayer.GetData());
    for (int i = 0; i < 32; ++i)
        p[i] = static_cast<uint16_t>(i * 30);
    ImageWriter::Write(bayer, File("b.bmp"));
    const cv::Mat bmp = cv::imread(File("b.bmp"), cv::IMREAD_UNCHANGED);
    ASSERT_EQ(bmp.type(), CV_8UC1);
    EXPECT_EQ(bmp.at<uint8_t>(1, 3), (11 * 30) >> 2);
}
