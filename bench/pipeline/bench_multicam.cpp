// Eight cameras at once, the way a desk of eight camera windows runs them: eight simulated colour cameras at
// 2448 x 2048 BayerRG8, 30 frames/s each, opened through VisionCamera, converted to BGRa8 on their capture
// threads and handed to offscreen displays of 640 x 512.
//
// multicam_sim_8       frames handed to the displays per second, summed over the cameras, against the frames
//                      asked for (8 x 30 = 240/s); ratio = ours / baseline. A "#" line gives lost and dropped
//                      frames and the frames actually painted.
// multicam_sim_8_cpu   the process's CPU over the same window in cores, against the machine's 2 cores;
//                      ratio = 2 / ours.
//
// LUMIVUE_BENCH_QUICK=1 measures 8 s instead of 30 s.
#include "bench/support/pipeline.h"
#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "common/logmessagesender.h"
#include "orna/core/library.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/ipl/pixelformat.h"
#include "view/customdisplay.h"
#include "view/customgraphicsscene.h"

#include <QApplication>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

using namespace benchsupport;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kCameras = 8;
constexpr double kRate = 30.0;
constexpr uint32_t kWidth = 2448;
constexpr uint32_t kHeight = 2048;

std::chrono::seconds MeasureTime()
{
    return benchsupport::MeasureTime(30, 8);
}

double ProcessCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}

// One camera window's worth: the camera, its display and what the GUI thread counted of it.
struct Window
{
    std::unique_ptr<VisionCamera> camera;
    std::unique_ptr<Display> display;
    int handed = 0;  // Signal_UpdateDisplay received on the GUI thread
    int painted = 0; // distinct frames the scene painted
    uint64_t lastPainted = 0;
};

struct Snapshot
{
    int handed = 0;
    int painted = 0;
    int lost = 0;
    double cpu = 0;
    Clock::time_point when;
};

Snapshot Take(const std::vector<std::unique_ptr<Window>>& windows)
{
    Snapshot s;
    for (const auto& w : windows)
    {
        s.handed += w->handed;
        s.painted += w->painted;
        int incomplete = 0, dropped = 0, lost = 0;
        if (w->camera->GetDataStreamCounterInfos(incomplete, dropped, lost))
            s.lost += dropped + lost;
    }
    s.cpu = ProcessCpuSeconds();
    s.when = Clock::now();
    return s;
}

bool Run(const Producer& sim, double& shownPerSecond, double& cores)
{
    std::vector<std::unique_ptr<Window>> windows;
    for (int i = 1; i <= kCameras; ++i)
    {
        char serial[16];
        std::snprintf(serial, sizeof serial, "LVSX%05d", i);
        auto window = std::make_unique<Window>();
        window->camera = OpenCamera(sim.iface->FindDevice(orna::core::sim::SimDeviceId(serial)));
        if (!window->camera)
        {
            std::fprintf(stderr, "multicam_sim_8: camera %s did not open\n", serial);
            return false;
        }
        VisionCamera* camera = window->camera.get();
        camera->SetIntegerValue("Width", kWidth);
        camera->SetIntegerValue("Height", kHeight);
        camera->SetBoolValue("AcquisitionFrameRateEnable", true);
        camera->SetDoubleValue("AcquisitionFrameRate", kRate);
        if (!camera->SetPixelFormatSourceOverString("BayerRG8"))
            std::fprintf(stderr, "multicam_sim_8: %s refused BayerRG8\n", serial);
        camera->SetPixelFormatDestination(orna::ipl::BGRa8);
        if (!camera->StartAcquisition())
        {
            std::fprintf(stderr, "multicam_sim_8: %s did not start\n", serial);
            return false;
        }
        window->display = std::make_unique<Display>(camera);
        window->display->widget.resize(640, 512);
        Window* raw = window.get();
        QObject::connect(
            camera->GetCaptureWorker(), &VisionImageCaptureWorker::Signal_UpdateDisplay, &window->display->widget,
            [raw] { ++raw->handed; }, Qt::QueuedConnection);
        raw->display->widget.Scene()->SetPaintedHook([raw] {
            const uint64_t timestamp = raw->display->widget.Scene()->LastPaintedTimestamp();
            if (timestamp != raw->lastPainted)
            {
                raw->lastPainted = timestamp;
                ++raw->painted;
            }
        });
        windows.push_back(std::move(window));
    }
    Spin(std::chrono::seconds(3));
    const Snapshot from = Take(windows);
    Spin(MeasureTime());
    const Snapshot to = Take(windows);
    for (auto& w : windows)
    {
        w->display->widget.Scene()->SetPaintedHook({});
        w->camera->StopAcquisition();
    }
    const double seconds = std::chrono::duration<double>(to.when - from.when).count();
    shownPerSecond = (to.handed - from.handed) / seconds;
    cores = (to.cpu - from.cpu) / seconds;
    std::printf("# multicam_sim_8: %d cameras at %ux%u BayerRG8 -> BGRa8, %.0f frames/s asked each; %.1f s: "
                "%d frames handed to the displays, %d painted, %d lost or dropped by the streams\n",
                kCameras, kWidth, kHeight, kRate, seconds, to.handed - from.handed, to.painted - from.painted,
                to.lost - from.lost);
    std::fflush(stdout);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::setenv("ORNA_TRANSPORTS", "sim", 1);
    std::string models;
    for (int i = 0; i < kCameras; ++i)
        models += std::string(i ? "," : "") + "color12mp";
    ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, models.c_str(), 1);
    QApplication app(argc, argv);
    int logLines = 0;
    QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError, &app,
                     [&logLines](QString origin, QString context, QString message, int) {
                         if (++logLines <= 20)
                             std::fprintf(stderr, "log: %s %s: %s\n", qPrintable(origin), qPrintable(context),
                                          qPrintable(message));
                     });
    orna::Library::Initialize();
    double shown = 0, cores = 0;
    bool ran = false;
    {
        Producer sim;
        if (OpenProducer("sim:", "", sim))
            ran = Run(sim, shown, cores);
        else
            std::fprintf(stderr, "multicam_sim_8: the sim: producer is not available\n");
    }
    orna::Library::Close();
    const double asked = kCameras * kRate;
    Print("multicam_sim_8", ran ? shown : 0, asked, ran && shown > 0 ? shown / asked : 0, "fps");
    Print("multicam_sim_8_cpu", ran ? cores : 0, 2, ran && cores > 0 ? 2 / cores : 0, "cores");
    return ran ? 0 : 1;
}
