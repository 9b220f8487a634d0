// End-to-end benchmarks of the frame pipeline, one Qt binary on the offscreen platform:
//
// pipeline_gev            Aravis' GigE fake camera (2048 x 2048 Mono8, packet size 16404, loopback) acquired
//                         through VisionCamera with the display path on, frames/s against arv-camera-test-0.8 on
//                         the same camera in the same run. A "#" line gives lost frames and the capture thread's
//                         CPU time per frame. Needs the loopback namespace (scripts/bench runs it there).
// pipeline_sim_overhead   simulated camera at 2448 x 2048 BayerRG8, its maximum rate, processed to BGRa8 and
//                         handed to display: CPU time per frame of the capture thread against the bare
//                         orna::ipl conversion of the same frame measured here (ratio = baseline / ours).
// chain_all_off_bayer8_bgra8
//                         the same run read as the host chain's cost: every host stage is off in it, so the
//                         capture thread's time per frame is the whole chain with its stages off.
// chain_clone_async       the copy the chain makes of a view for an asynchronous consumer (a same-format
//                         conversion into the converter's pre-allocated pool, as the worker does) against memcpy
//                         of the frame's bytes, on this thread.
// display_latency_p50_ms, display_latency_p99_ms
//                         60 frames/s from the simulated camera, from "buffer finished" (the wait returned) to
//                         "painted"; baseline is the frame interval, ratio = baseline / ours.
//
// LUMIVUE_BENCH_QUICK=1 shortens every measurement to 5 s.
#include "bench/support/pipeline.h"
#include "bench/support/processes.h"
#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "common/logmessagesender.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/threads.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>

#include <fcntl.h>
#include <ifaddrs.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

using namespace orna::core;
using namespace orna::core::nodes;
using namespace benchsupport;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* kGevSerial = "GVP1";
constexpr int kPacketSize = 16404;

std::chrono::seconds MeasureTime()
{
    return benchsupport::MeasureTime(20, 5);
}

int64_t ThreadCpu_ns()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return int64_t(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

double Percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5));
    return values[index];
}

std::shared_ptr<DeviceDescriptor> FindDevice(const std::shared_ptr<Interface>& iface, const std::string& serial)
{
    for (auto deadline = Clock::now() + std::chrono::seconds(15); Clock::now() < deadline;)
    {
        iface->UpdateDevices(1000);
        for (const auto& d : iface->GetDevices())
            if (d->GetSerialNumber() == serial)
                return d;
    }
    return nullptr;
}

} // namespace

namespace {

// CPU time of the capture thread per frame over a window of the running acquisition.
struct CaptureCpu
{
    int64_t cpu = 0;
    uint64_t passes = 0;
    int frames = 0;

    static CaptureCpu Take(VisionCamera* camera)
    {
        VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
        return {worker->GetThreadCpuTime_ns(), worker->GetPassCount(), camera->GetFrameCounter()};
    }
    static double MsPerFrame(const CaptureCpu& from, const CaptureCpu& to)
    {
        const int frames = to.frames - from.frames;
        return frames > 0 ? double(to.cpu - from.cpu) / 1e6 / frames : 0;
    }
};

} // namespace

// --- pipeline_sim_overhead

namespace {

void RunSimOverhead(const Producer& sim)
{
    auto camera = OpenCamera(sim.iface->FindDevice(sim::SimDeviceId("LVSX00001")));
    if (!camera)
    {
        std::fprintf(stderr, "pipeline_sim_overhead: the color12mp camera did not open\n");
        return;
    }
    constexpr uint32_t kWidth = 2448;
    constexpr uint32_t kHeight = 2048;
    camera->SetIntegerValue("Width", kWidth);
    camera->SetIntegerValue("Height", kHeight);
    camera->SetBoolValue("AcquisitionFrameRateEnable", false);
    if (!camera->SetPixelFormatSourceOverString("BayerRG8"))
        std::fprintf(stderr, "pipeline_sim_overhead: BayerRG8 refused\n");
    camera->SetPixelFormatDestination(orna::ipl::BGRa8);
    if (!camera->StartAcquisition())
    {
        std::fprintf(stderr, "pipeline_sim_overhead: acquisition did not start\n");
        return;
    }
    Display display(camera.get());
    // Wall time of the host stages per frame, to tell the kernel's share of the capture thread's time from
    // the rest of the frame's way.
    std::mutex mutex; // guards stageMs, written on the capture thread
    std::vector<double> stageMs;
    VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
    QObject::connect(
        worker, &VisionImageCaptureWorker::Signal_UpdateDisplay, worker,
        [worker, &mutex, &stageMs] {
            const FrameStageTimes times = worker->GetLastStageTimes();
            std::lock_guard<std::mutex> lock(mutex);
            stageMs.push_back(double(times.processed_ns - times.bufferFinished_ns) / 1e6);
        },
        Qt::DirectConnection);
    Spin(std::chrono::seconds(2));
    const CaptureCpu from = CaptureCpu::Take(camera.get());
    const auto start = Clock::now();
    Spin(MeasureTime());
    const CaptureCpu to = CaptureCpu::Take(camera.get());
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    camera->StopAcquisition();
    const double ours = CaptureCpu::MsPerFrame(from, to);

    // The bare conversion of frames of the same geometry, on this thread, with its own pre-allocated pool. The
    // sources rotate through more memory than a last-level cache holds: the pipeline converts each buffer right
    // after the camera wrote it, never from a warm cache, and neither does this.
    orna::ipl::ImageConverter converter;
    converter.PreAllocateConversion(orna::ipl::BayerRG8, orna::ipl::BGRa8, kWidth, kHeight, 5);
    std::vector<orna::ipl::Image> raws;
    for (int r = 0; r < 16; ++r)
    {
        raws.push_back(orna::ipl::Image::Construct(orna::ipl::BayerRG8, kWidth, kHeight));
        uint8_t* data = raws.back().GetData();
        for (size_t i = 0; i < raws.back().GetByteCount(); ++i)
            data[i] = uint8_t((i * 7 + (i / kWidth) * 3 + size_t(r) * 11) & 0xFF);
    }
    const int rounds = std::max(20, (to.frames - from.frames) / 4);
    {
        orna::ipl::Image warm = converter.Convert(raws.front(), orna::ipl::BGRa8);
    }
    const int64_t cpuStart = ThreadCpu_ns();
    const auto wallStart = Clock::now();
    for (int i = 0; i < rounds; ++i)
    {
        orna::ipl::Image converted = converter.Convert(raws[size_t(i) % raws.size()], orna::ipl::BGRa8);
    }
    const double baseline = double(ThreadCpu_ns() - cpuStart) / 1e6 / rounds;
    const double baselineWall = std::chrono::duration<double, std::milli>(Clock::now() - wallStart).count() / rounds;
    Print("pipeline_sim_overhead", ours, baseline, ours > 0 ? baseline / ours : 0, "ms");
    Print("chain_all_off_bayer8_bgra8", ours, baseline, ours > 0 ? baseline / ours : 0, "ms");
    {
        // The clone of a view: same format, pooled, from frames that are not in the cache.
        converter.PreAllocateConversion(orna::ipl::BayerRG8, orna::ipl::BayerRG8, kWidth, kHeight, 5);
        {
            orna::ipl::Image warmClone = converter.Convert(raws.front(), orna::ipl::BayerRG8);
        }
        const int64_t cloneStart = ThreadCpu_ns();
        for (int i = 0; i < rounds; ++i)
        {
            orna::ipl::Image clone = converter.Convert(raws[size_t(i) % raws.size()], orna::ipl::BayerRG8);
        }
        const double clone = double(ThreadCpu_ns() - cloneStart) / 1e6 / rounds;
        std::vector<uint8_t> copy(raws.front().GetByteCount());
        const int64_t copyStart = ThreadCpu_ns();
        for (int i = 0; i < rounds; ++i)
            std::memcpy(copy.data(), raws[size_t(i) % raws.size()].GetData(), copy.size());
        const double memcpyMs = double(ThreadCpu_ns() - copyStart) / 1e6 / rounds;
        Print("chain_clone_async", clone, memcpyMs, clone > 0 ? memcpyMs / clone : 0, "ms");
    }
    std::printf("# pipeline_sim_overhead: %d frames in %.1f s (%.1f frames/s) at %ux%u BayerRG8 -> BGRa8, capture "
                "thread %.3f ms/frame, bare conversion %.3f ms/frame (image kernels on one thread)\n",
                to.frames - from.frames, seconds, (to.frames - from.frames) / seconds, kWidth, kHeight, ours, baseline);
    {
        std::lock_guard<std::mutex> lock(mutex);
        // The stages' wall time is nearly all conversion: what the capture thread spends beyond it per frame
        // is the pipeline's own work (wait, bookkeeping, hand-over); the rest of the gap to the bare kernel is
        // the kernel running slower on frames another core has just written while the display reads.
        const double stagesP50 = Percentile(stageMs, 0.5);
        std::printf("# pipeline_sim_overhead: wall time buffer finished -> processed p50 %.3f ms p99 %.3f ms; bare "
                    "conversion wall %.3f ms; capture thread beyond the stages %.3f ms/frame\n",
                    stagesP50, Percentile(stageMs, 0.99), baselineWall, ours - stagesP50);
    }
    std::fflush(stdout);
}

// --- display_latency_p50_ms, display_latency_p99_ms

void RunDisplayLatency(const Producer& sim)
{
    auto camera = OpenCamera(sim.iface->FindDevice(sim::SimDeviceId("LVSC00001")));
    if (!camera)
    {
        std::fprintf(stderr, "display_latency: the colour camera did not open\n");
        return;
    }
    constexpr double kRate = 60.0;
    camera->SetBoolValue("AcquisitionFrameRateEnable", true);
    camera->SetDoubleValue("AcquisitionFrameRate", kRate);
    camera->SetPixelFormatSourceOverString("BayerRG8");
    camera->SetPixelFormatDestination(orna::ipl::BGRa8);

    // The stamps of each frame, by image timestamp, taken on the capture thread right when the frame is handed
    // on (the stamps are published before the signal).
    std::mutex mutex; // guards stamps
    std::map<uint64_t, FrameStageTimes> stamps;
    VisionImageCaptureWorker* worker = camera->GetCaptureWorker();
    QObject::connect(
        worker, &VisionImageCaptureWorker::Signal_UpdateDisplay, worker,
        [worker, &mutex, &stamps] {
            const FrameStageTimes times = worker->GetLastStageTimes();
            std::lock_guard<std::mutex> lock(mutex);
            stamps[times.imageTimestamp] = times;
            while (stamps.size() > 64)
                stamps.erase(stamps.begin());
        },
        Qt::DirectConnection);

    if (!camera->StartAcquisition())
    {
        std::fprintf(stderr, "display_latency: acquisition did not start\n");
        return;
    }
    Display display(camera.get());
    std::vector<double> latencies;
    std::vector<double> toDisplay;
    bool measuring = false;
    uint64_t lastPainted = 0;
    display.widget.Scene()->SetPaintedHook([&] {
        const int64_t painted =
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
        const uint64_t timestamp = display.widget.Scene()->LastPaintedTimestamp();
        if (!measuring || timestamp == lastPainted)
            return; // a repaint of a frame already counted
        lastPainted = timestamp;
        std::lock_guard<std::mutex> lock(mutex);
        auto it = stamps.find(timestamp);
        if (it == stamps.end())
            return;
        latencies.push_back(double(painted - it->second.bufferFinished_ns) / 1e6);
        toDisplay.push_back(double(it->second.handedToDisplay_ns - it->second.bufferFinished_ns) / 1e6);
    });
    Spin(std::chrono::seconds(2));
    measuring = true;
    const int framesFrom = camera->GetFrameCounter();
    Spin(MeasureTime());
    measuring = false;
    const int frames = camera->GetFrameCounter() - framesFrom;
    camera->StopAcquisition();
    display.widget.Scene()->SetPaintedHook({});
    const double interval = 1000.0 / kRate;
    const double p50 = Percentile(latencies, 0.50);
    const double p99 = Percentile(latencies, 0.99);
    Print("display_latency_p50_ms", p50, interval, p50 > 0 ? interval / p50 : 0, "ms");
    Print("display_latency_p99_ms", p99, interval, p99 > 0 ? interval / p99 : 0, "ms");
    std::printf("# display_latency: buffer finished -> painted (CustomDisplay, offscreen), %zu painted of %d frames "
                "at %.0f frames/s; buffer finished -> handed to display p50 %.3f ms p99 %.3f ms\n",
                latencies.size(), frames, kRate, Percentile(toDisplay, 0.5), Percentile(toDisplay, 0.99));
    std::fflush(stdout);
}

// --- pipeline_gev

struct GevResult
{
    double fps = 0;
    int frames = 0;
    uint64_t lost = 0;
    int incomplete = 0;
    double cpuPerFrame = 0;
};

GevResult RunGevOurs(const Producer& gev)
{
    GevResult result;
    auto descriptor = FindDevice(gev.iface, kGevSerial);
    auto camera = OpenCamera(descriptor);
    if (!camera)
        throw std::runtime_error("the fake camera did not open");
    camera->SetIntegerValue("Width", 2048);
    camera->SetIntegerValue("Height", 2048);
    camera->SetEnumerationEntry("PixelFormat", "Mono8");
    camera->UpdatePixelFormatSource();
    camera->SetPixelFormatDestination(orna::ipl::Mono8);
    // Aravis adds ArvGevSCPSPacketSize to GigE devices whose XML lacks the standard node (its fake camera).
    if (!camera->SetIntegerValue("GevSCPSPacketSize", kPacketSize))
        camera->SetIntegerValue("ArvGevSCPSPacketSize", kPacketSize);
    double maxRate = 0;
    if (camera->GetDoubleValue("AcquisitionFrameRate", ReadValueType::Maximum, maxRate, 0.1))
        camera->SetDoubleValue("AcquisitionFrameRate", std::min(1000.0, maxRate));
    if (!camera->StartAcquisition())
        throw std::runtime_error("acquisition did not start");
    Display display(camera.get());
    Spin(std::chrono::seconds(1));
    auto stream = camera->GetDataStream();
    const auto countersFrom = stream->Counters();
    const CaptureCpu from = CaptureCpu::Take(camera.get());
    const int incompleteFrom = camera->GetIncompleteCounter();
    const auto start = Clock::now();
    Spin(MeasureTime());
    const CaptureCpu to = CaptureCpu::Take(camera.get());
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const auto countersTo = stream->Counters();
    result.incomplete = camera->GetIncompleteCounter() - incompleteFrom;
    for (const auto& [name, value] : countersTo.transport)
        std::fprintf(stderr, "pipeline_gev: transport %s = %llu\n", name.c_str(), (unsigned long long)value);
    camera->StopAcquisition();
    result.frames = to.frames - from.frames;
    result.fps = result.frames / seconds;
    result.lost = (countersTo.lost + countersTo.underruns) - (countersFrom.lost + countersFrom.underruns);
    result.cpuPerFrame = CaptureCpu::MsPerFrame(from, to);
    return result;
}

double RunGevBaseline()
{
    return benchsupport::RunArvCameraTest(kGevSerial, kPacketSize, MeasureTime(),
                                          "/tmp/lumivue-bench-pipeline-arv-camera-test.txt");
}

void RunGev()
{
    if (!benchsupport::LoopbackOnly())
    {
        std::fprintf(stderr, "pipeline_gev: skipped, run inside the loopback namespace (scripts/bench)\n");
        return;
    }
    if (::access("/usr/bin/arv-fake-gv-camera-0.8", X_OK) != 0 || ::access("/usr/bin/arv-camera-test-0.8", X_OK) != 0)
    {
        std::fprintf(stderr, "pipeline_gev: skipped, aravis-tools is not installed\n");
        return;
    }
    const pid_t fake = benchsupport::Spawn({"/usr/bin/arv-fake-gv-camera-0.8", "-i", "127.0.0.1", "-s", kGevSerial});
    if (fake <= 0)
    {
        std::fprintf(stderr, "pipeline_gev: could not start the fake camera\n");
        return;
    }
    try
    {
        Producer gev;
        if (!OpenProducer("aravis:GigEVision", "lo", gev))
            throw std::runtime_error("no GigE Vision producer on the loopback interface");
        const GevResult ours = RunGevOurs(gev);
        const double baseline = RunGevBaseline();
        Print("pipeline_gev", ours.fps, baseline, baseline > 0 ? ours.fps / baseline : 0, "frames/s");
        std::printf("# pipeline_gev: %d frames, lost %llu, incomplete %d, capture thread CPU %.3f ms/frame (2048x2048 "
                    "Mono8, packet size %d, display on)\n",
                    ours.frames, (unsigned long long)ours.lost, ours.incomplete, ours.cpuPerFrame, kPacketSize);
        std::fflush(stdout);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "pipeline_gev failed: %s\n", e.what());
    }
    benchsupport::StopProcess(fake, SIGKILL);
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The overhead comparison runs in a child process whose image kernels use one thread: with the kernel pool
    // helping, a thread's CPU time depends on how busy the other cores are, which differs between the bare
    // conversion (machine idle) and the running pipeline (camera and display busy). (OpenCV's TBB pool does not
    // read OPENCV_FOR_THREADS_NUM, so the cap is set through the library.)
    const bool overheadOnly = argc > 1 && std::string(argv[1]) == "--sim-overhead";
    if (overheadOnly)
        orna::ipl::SetKernelThreads(1);
    else
    {
        const pid_t child = benchsupport::Spawn({"/proc/self/exe", "--sim-overhead"});
        if (child > 0)
            ::waitpid(child, nullptr, 0);
    }
    const bool gev = benchsupport::LoopbackOnly() && !overheadOnly;
    ::setenv("ORNA_TRANSPORTS", gev ? "sim,gev" : "sim", 1);
    ::setenv(sim::kSimCamerasEnvironmentVariable, "color,color12mp", 1);
    QApplication app(argc, argv);
    // The pipeline's own reports go to stderr (the first ones only): a benchmark that logs is suspect.
    int logLines = 0;
    QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, &app,
                     [&logLines](QString origin, QString context, QString message, int) {
                         if (++logLines <= 20)
                             std::fprintf(stderr, "log: %s %s: %s\n", qPrintable(origin), qPrintable(context),
                                          qPrintable(message));
                     });
    orna::Library::Initialize();
    {
        Producer simProducer;
        if (OpenProducer("sim:", "", simProducer))
        {
            if (overheadOnly)
                RunSimOverhead(simProducer);
            else
                RunDisplayLatency(simProducer);
        }
        else
        {
            std::fprintf(stderr, "pipeline: the sim: producer is not available\n");
        }
    }
    if (!overheadOnly)
        RunGev();
    orna::Library::Close();
    return 0;
}
