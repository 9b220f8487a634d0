// Image library kernels on a 2448x2048 frame, each against a baseline measured in the same run.
// Prints one line per comparison:
//   BENCH <name> ours=<v> baseline=<v> ratio=<r> unit=<u>     (ratio: higher is better)
// Google Benchmark times every variant; the lines are built from its adjusted real times.
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/imagetransformer.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/unpack.h"
#include "orna/ipl/videowriter.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace orna::ipl;

namespace {

constexpr uint32_t kW = 2448, kH = 2048;

Image RandomImage(uint32_t format)
{
    Image image = Image::Construct(format, kW, kH);
    std::mt19937 rng(11);
    auto* words = reinterpret_cast<uint32_t*>(image.GetData());
    for (size_t i = 0; i < image.GetByteCount() / 4; ++i)
        words[i] = rng();
    return image;
}

// A smooth scene for the JPEG encoder (random noise would measure the entropy coder only).
Image SceneBGRa8()
{
    Image image = Image::Construct(BGRa8, kW, kH);
    for (uint32_t y = 0; y < kH; ++y)
        for (uint32_t x = 0; x < kW; ++x)
        {
            uint8_t* p = image.GetData() + (size_t(y) * kW + x) * 4;
            p[0] = uint8_t(x / 10), p[1] = uint8_t(y / 8), p[2] = uint8_t((x + y) / 18), p[3] = 255;
        }
    return image;
}

void Threads(int n)
{
    cv::setNumThreads(n);
}

// --- Demosaic to BGRa8 (the display path)

void OursDebayer(benchmark::State& state)
{
    Threads(int(state.range(0)));
    const Image src = RandomImage(BayerRG8);
    ImageConverter converter;
    converter.PreAllocateConversion(BayerRG8, BGRa8, kW, kH, 2);
    for (auto _ : state)
    {
        Image out = converter.Convert(src, BGRa8);
        benchmark::DoNotOptimize(out.GetData());
    }
}

void OpenCvDebayerThenAlpha(benchmark::State& state)
{
    Threads(int(state.range(0)));
    const Image src = RandomImage(BayerRG8);
    cv::Mat in(kH, kW, CV_8U, src.GetData()), bgr, bgra;
    for (auto _ : state)
    {
        cv::cvtColor(in, bgr, cv::COLOR_BayerBG2BGR);
        cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
        benchmark::DoNotOptimize(bgra.data);
    }
}

void MemcpyBytes(benchmark::State& state)
{
    const size_t bytes = size_t(state.range(0));
    std::vector<uint8_t> a(bytes, 1), b(bytes, 2);
    for (auto _ : state)
    {
        std::memcpy(b.data(), a.data(), bytes);
        benchmark::DoNotOptimize(b.data());
        benchmark::ClobberMemory();
    }
}

// --- Mirror and quarter turn in place, against OpenCV into a preallocated image

void OursMirrorLeftRight(benchmark::State& state)
{
    Threads(1);
    Image image = RandomImage(BGRa8);
    ImageTransformer transformer;
    for (auto _ : state)
    {
        transformer.MirrorLeftRightInPlace(image);
        benchmark::DoNotOptimize(image.GetData());
    }
}

void OpenCvFlip(benchmark::State& state)
{
    Threads(1);
    const Image src = RandomImage(BGRa8);
    cv::Mat in(kH, kW, CV_8UC4, src.GetData()), out(kH, kW, CV_8UC4);
    for (auto _ : state)
    {
        cv::flip(in, out, 1);
        benchmark::DoNotOptimize(out.data);
    }
}

void OursRotate90(benchmark::State& state)
{
    Threads(1);
    Image image = RandomImage(BGRa8);
    ImageTransformer transformer;
    for (auto _ : state)
    {
        transformer.RotateInPlace(image, 90);
        benchmark::DoNotOptimize(image.GetData());
    }
}

void OpenCvRotate90(benchmark::State& state)
{
    Threads(1);
    const Image src = RandomImage(BGRa8);
    cv::Mat in(kH, kW, CV_8UC4, src.GetData()), out(kW, kH, CV_8UC4);
    for (auto _ : state)
    {
        cv::rotate(in, out, cv::ROTATE_90_COUNTERCLOCKWISE);
        benchmark::DoNotOptimize(out.data);
    }
}

// --- Unpacking

void OursUnpack(benchmark::State& state)
{
    Threads(int(state.range(1)));
    const uint32_t format = uint32_t(state.range(0));
    const Image src = RandomImage(format);
    ImageConverter converter;
    const uint32_t plain = PixelFormat::GetUnpackedFormat(format);
    converter.PreAllocateConversion(format, plain, kW, kH, 2);
    for (auto _ : state)
    {
        Image out = converter.Convert(src, plain);
        benchmark::DoNotOptimize(out.GetData());
    }
}

// --- Packed Bayer to colour in one pass

void OursBayer12p(benchmark::State& state)
{
    Threads(int(state.range(1)));
    const uint32_t dst = uint32_t(state.range(0));
    const Image src = RandomImage(BayerRG12p);
    ImageConverter converter;
    converter.PreAllocateConversion(BayerRG12p, dst, kW, kH, 2);
    for (auto _ : state)
    {
        Image out = converter.Convert(src, dst);
        benchmark::DoNotOptimize(out.GetData());
    }
}

// The usual two-step way with OpenCV: unpack to 16 bits, demosaic at 16 bits, scale to 8 bits.
void TwoStepBayer12p(benchmark::State& state)
{
    Threads(int(state.range(1)));
    const bool bgra = uint32_t(state.range(0)) == BGRa8;
    const Image src = RandomImage(BayerRG12p);
    cv::Mat raw16(kH, kW, CV_16U), colour16, out;
    for (auto _ : state)
    {
        const uint8_t* s = src.GetData();
        uint16_t* d = raw16.ptr<uint16_t>();
        for (size_t i = 0; i < size_t(kW) * kH; i += 2, s += 3)
        {
            d[i] = uint16_t(s[0] | (s[1] & 0xF) << 8);
            d[i + 1] = uint16_t(s[1] >> 4 | s[2] << 4);
        }
        cv::cvtColor(raw16, colour16, bgra ? cv::COLOR_BayerBG2BGRA : cv::COLOR_BayerBG2RGB);
        colour16.convertTo(out, CV_8U, 1.0 / 16.0);
        benchmark::DoNotOptimize(out.data);
    }
}

// --- JPEG

void OursJpeg(benchmark::State& state)
{
    Threads(-1);
    const Image frame = SceneBGRa8();
    const std::string file = (std::filesystem::temp_directory_path() / "bench_ipl_jpeg.avi").string();
    auto avi = std::make_shared<container::AVIContainer>();
    auto mjpeg = std::make_shared<encoder::MJPEGEncoder>();
    VideoWriter writer;
    writer.Open(file, avi, mjpeg, 4);
    for (auto _ : state)
    {
        writer.Append(frame);
        while (writer.GetQueued() > 0)
            writer.WaitUntilFrameDone();
    }
    writer.Close();
    std::filesystem::remove(file);
}

void OpenCvImencode(benchmark::State& state)
{
    Threads(-1);
    const Image frame = SceneBGRa8();
    cv::Mat bgra(kH, kW, CV_8UC4, frame.GetData()), bgr;
    cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
    std::vector<uint8_t> bytes;
    for (auto _ : state)
    {
        cv::imencode(".jpg", bgr, bytes, {cv::IMWRITE_JPEG_QUALITY, 75});
        benchmark::DoNotOptimize(bytes.data());
    }
}

// The table goes to stdout without colour: a reporter made by hand colours by default, whatever stdout is, and
// its closing reset code ("\033[m", no newline) then sat in front of the first BENCH line, which a line filter
// anchored at "BENCH" no longer found.
class Collector : public benchmark::ConsoleReporter
{
public:
    Collector() : ConsoleReporter(OO_Tabular) {}
    std::map<std::string, double> ms; // adjusted real time per iteration, milliseconds
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                ms[run.benchmark_name()] = run.GetAdjustedRealTime() *
                                           benchmark::GetTimeUnitMultiplier(benchmark::kMillisecond) /
                                           benchmark::GetTimeUnitMultiplier(run.time_unit);
    }
};

double Find(const Collector& c, const std::string& prefix)
{
    for (const auto& [name, value] : c.ms)
        if (name.rfind(prefix, 0) == 0)
            return value;
    return 0.0;
}

// A comparison whose two sides did not both run (a --benchmark_filter, a variant that failed) still prints its
// line, with ratio=0, so that scripts/bench sees the gap instead of a line that quietly went missing.
bool Measured(const char* name, double ours, double baseline)
{
    if (ours > 0 && baseline > 0)
        return true;
    std::fprintf(stderr, "bench_ipl: %s not measured (ours %.3f, baseline %.3f)\n", name, ours, baseline);
    return false;
}

void Line(const char* name, double ours, double baseline, double ratio, const char* unit)
{
    std::printf("BENCH %s ours=%.3f baseline=%.3f ratio=%.3f unit=%s\n", name, ours, baseline, ratio, unit);
    std::fflush(stdout);
}

void Time(const char* name, double ours, double baseline)
{
    Line(name, ours, baseline, Measured(name, ours, baseline) ? baseline / ours : 0.0, "ms");
}

void Bandwidth(const char* name, double oursMs, double baselineMs, double bytes)
{
    if (!Measured(name, oursMs, baselineMs))
        return Line(name, 0, 0, 0, "GB/s");
    const double ours = bytes / (oursMs * 1e6), baseline = bytes / (baselineMs * 1e6);
    Line(name, ours, baseline, ours / baseline, "GB/s");
}

void Rate(const char* name, double oursMs, double baselineMs)
{
    if (!Measured(name, oursMs, baselineMs))
        return Line(name, 0, 0, 0, "frames/s");
    const double ours = 1000.0 / oursMs, baseline = 1000.0 / baselineMs;
    Line(name, ours, baseline, ours / baseline, "frames/s");
}

} // namespace

int main(int argc, char** argv)
{
    const int all = cv::getNumberOfCPUs();
    const int64_t bgraBytes = int64_t(kW) * kH * 4, mono16Bytes = int64_t(kW) * kH * 2;
    auto reg = [](const char* name, void (*fn)(benchmark::State&)) {
        return benchmark::RegisterBenchmark(name, fn)->UseRealTime()->Unit(benchmark::kMillisecond)->MinTime(0.5);
    };
    reg("ours_debayer_bgra8", OursDebayer)->Arg(1)->Arg(all);
    reg("opencv_debayer_bgr_alpha", OpenCvDebayerThenAlpha)->Arg(1)->Arg(all);
    reg("memcpy", MemcpyBytes)->Arg(bgraBytes)->Arg(mono16Bytes);
    reg("ours_unpack", OursUnpack)->Args({Mono12p, 1})->Args({Mono10p, 1})->Args({Mono12p, all})->Args({Mono10p, all});
    reg("ours_bayer12p", OursBayer12p)->Args({BGRa8, 1})->Args({RGB8, 1})->Args({BGRa8, all});
    reg("twostep_bayer12p", TwoStepBayer12p)->Args({BGRa8, 1})->Args({RGB8, 1})->Args({BGRa8, all});
    reg("ours_mirror_lr", OursMirrorLeftRight);
    reg("opencv_flip_lr", OpenCvFlip);
    reg("ours_rotate90", OursRotate90);
    reg("opencv_rotate90", OpenCvRotate90);
    reg("ours_jpeg", OursJpeg);
    reg("opencv_imencode", OpenCvImencode);

    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();

    const std::string a = std::to_string(all);
    const std::string m12 = std::to_string(Mono12p), m10 = std::to_string(Mono10p);
    const std::string bgra = std::to_string(BGRa8), rgb = std::to_string(RGB8);
    Time("debayer_bgra8_1t", Find(collector, "ours_debayer_bgra8/1/"), Find(collector, "opencv_debayer_bgr_alpha/1/"));
    Time("debayer_bgra8_mt", Find(collector, "ours_debayer_bgra8/" + a + "/"),
         Find(collector, "opencv_debayer_bgr_alpha/" + a + "/"));
    Time("debayer_bgra8_vs_memcpy", Find(collector, "ours_debayer_bgra8/1/"),
         Find(collector, "memcpy/" + std::to_string(bgraBytes) + "/"));
    Time("debayer_bgra8_mt_vs_memcpy", Find(collector, "ours_debayer_bgra8/" + a + "/"),
         Find(collector, "memcpy/" + std::to_string(bgraBytes) + "/"));
    const double memcpy16 = Find(collector, "memcpy/" + std::to_string(mono16Bytes) + "/");
    Bandwidth("unpack_mono12p", Find(collector, "ours_unpack/" + m12 + "/1/"), memcpy16, double(mono16Bytes));
    Bandwidth("unpack_mono10p", Find(collector, "ours_unpack/" + m10 + "/1/"), memcpy16, double(mono16Bytes));
    Bandwidth("unpack_mono12p_mt", Find(collector, "ours_unpack/" + m12 + "/" + a + "/"), memcpy16,
              double(mono16Bytes));
    Bandwidth("unpack_mono10p_mt", Find(collector, "ours_unpack/" + m10 + "/" + a + "/"), memcpy16,
              double(mono16Bytes));
    Time("bayer12p_to_bgra8", Find(collector, "ours_bayer12p/" + bgra + "/1/"),
         Find(collector, "twostep_bayer12p/" + bgra + "/1/"));
    Time("bayer12p_to_rgb8", Find(collector, "ours_bayer12p/" + rgb + "/1/"),
         Find(collector, "twostep_bayer12p/" + rgb + "/1/"));
    Time("bayer12p_to_bgra8_mt", Find(collector, "ours_bayer12p/" + bgra + "/" + a + "/"),
         Find(collector, "twostep_bayer12p/" + bgra + "/" + a + "/"));
    Time("mirror_lr_bgra8", Find(collector, "ours_mirror_lr/"), Find(collector, "opencv_flip_lr/"));
    Time("rotate90_bgra8", Find(collector, "ours_rotate90/"), Find(collector, "opencv_rotate90/"));
    Rate("jpeg_encode", Find(collector, "ours_jpeg/"), Find(collector, "opencv_imencode/"));
    return 0;
}
