// The auto feature library, measured for real in one process:
// - afl_brightness_once_frames: frames brightness "Once" needs from a fifth of the target on the simulated
//   camera, against a plain bisection on ExposureTime with the same statistic, the same frames to skip after
//   each write and the same tolerance, on the same scene (ratio: baseline / ours, higher is better).
// - afl_process_us: one Process with brightness and white balance on a 2448x2048 BayerRG8 frame, against
//   cv::calcHist of the same frame (ratio: baseline / ours).
#include "orna/afl/aflconstants.h"
#include "orna/afl/aflengine.h"
#include "orna/afl/autofeatures.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>

using namespace orna::core;
using namespace orna::core::nodes;
namespace k = orna::afl::constants;

namespace {

struct Camera
{
    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
    std::shared_ptr<Device> device;
    std::shared_ptr<NodeMap> map;
    std::shared_ptr<DataStream> stream;

    bool Open()
    {
        EnvironmentInspector::UpdateCTIPaths();
        producer = ProducerLibrary::Construct("sim:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        auto descriptor = iface->FindDevice(sim::SimDeviceId("LVSM00001"));
        if (!descriptor)
            return false;
        device = descriptor->OpenDevice(DeviceAccessType::Control);
        map = device->GetRemoteDevice()->GetNodeMap();
        map->FindNode<EnumerationNode>("PixelFormat")->SetCurrentEntryBySymbolicValue("Mono8");
        map->FindNode<IntegerNode>("BinningHorizontal")->SetValue(2);
        map->FindNode<IntegerNode>("BinningVertical")->SetValue(2);
        stream = device->GetDataStream(0)->OpenDataStream();
        const auto payload = size_t(map->FindNode<IntegerNode>("PayloadSize")->GetValue());
        for (int i = 0; i < 4; ++i)
            stream->QueueBuffer(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->StartAcquisition();
        map->FindNode<CommandNode>("AcquisitionStart")->Execute();
        return true;
    }
    void Close()
    {
        map->FindNode<CommandNode>("AcquisitionStop")->Execute();
        stream->StopAcquisition();
        stream->Flush(FlushMode::DiscardAll);
    }
    void Frame(const std::function<void(orna::ipl::Image&)>& use)
    {
        auto buffer = stream->WaitForFinishedBuffer(5000);
        auto image = orna::ipl::Image::ConstructFromBuffer(
            uint32_t(buffer->GetPixelFormat()), uint32_t(buffer->GetWidth()), uint32_t(buffer->GetHeight()),
            buffer->GetBasePtr() + buffer->GetImageOffset(), size_t(buffer->GetSize() - buffer->GetImageOffset()));
        use(image);
        stream->QueueBuffer(buffer);
    }
    double Level()
    {
        double level = 0;
        Frame([&](orna::ipl::Image& image) {
            level = orna::afl::detail::MeasurePercentile(image, {0, 0, 0, 0}, k::kPercentileDefault);
        });
        return level;
    }
    void SetExposure(double us) { map->FindNode<FloatNode>("ExposureTime")->SetValue(std::round(us)); }
    double Exposure() { return map->FindNode<FloatNode>("ExposureTime")->GetValue(); }
    void ResetGain()
    {
        std::lock_guard<NodeMap> lock(*map);
        map->FindNode<EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("AnalogAll");
        map->FindNode<FloatNode>("Gain")->SetValue(0.0);
    }
    // Exposure at which the scene reads a fifth of the target.
    void StartDark()
    {
        ResetGain();
        SetExposure(10000);
        for (int i = 0; i < 3; ++i)
            Level();
        const double level = Level();
        SetExposure(Exposure() * (k::kTargetDefault / 5) / std::max(level, 1.0));
        for (int i = 0; i < 3; ++i)
            Level();
    }
};

int OursFrames(Camera& cam)
{
    cam.StartDark();
    orna::afl::Manager manager(cam.map);
    auto brightness = std::make_shared<orna::afl::Controller>(ORNA_AFL_CONTROLLER_BRIGHTNESS);
    manager.AddController(brightness);
    orna_afl_AutoController_Mode_Set(brightness->GetHandle(), ORNA_AFL_MODE_ONCE);
    int frames = 0, mode = ORNA_AFL_MODE_ONCE;
    while (mode != ORNA_AFL_MODE_OFF && frames < 500)
    {
        cam.Frame([&](orna::ipl::Image& image) { orna_afl_AutoFeatureManager_Process(manager.GetHandle(), &image); });
        ++frames;
        orna_afl_AutoController_Mode_Get(brightness->GetHandle(), &mode);
    }
    return frames;
}

int BisectionFrames(Camera& cam)
{
    cam.StartDark();
    double lo = cam.map->FindNode<FloatNode>("ExposureTime")->GetMinimum();
    double hi = k::kExposureUpperLimitUs;
    int frames = 0;
    while (frames < 500)
    {
        const double level = cam.Level();
        ++frames;
        if (std::abs(level - k::kTargetDefault) <= k::kToleranceDefault)
            break;
        (level < k::kTargetDefault ? lo : hi) = cam.Exposure();
        cam.SetExposure((lo + hi) / 2);
        for (int i = 0; i < k::kSkipFramesDefaultBrightness; ++i, ++frames)
            cam.Level();
    }
    return frames;
}

template <typename F> double BestMicroseconds(int runs, F f)
{
    double best = 1e30;
    for (int i = 0; i < runs; ++i)
    {
        const auto t0 = std::chrono::steady_clock::now();
        f();
        best = std::min(best, std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - t0).count());
    }
    return best;
}

} // namespace

int main()
{
    int status = 0;
    // --- Process against calcHist. A frame that both controllers find converged: nothing is written, so no
    // node map is reached and the time is the statistics'.
    {
        const uint32_t w = 2448, h = 2048;
        auto image = orna::ipl::Image::Construct(orna::ipl::BayerRG8, w, h);
        std::mt19937 random(7);
        std::uniform_int_distribution<int> noise(-3, 3);
        for (size_t i = 0; i < image.GetByteCount(); ++i)
            image.GetData()[i] = uint8_t(128 + noise(random));
        static int unreachedMap = 0;
        orna_afl_manager_handle manager = nullptr;
        orna_afl_AutoFeatureManager_Create(&manager, &unreachedMap, nullptr);
        orna_afl_controller_handle brightness = nullptr, balance = nullptr;
        orna_afl_AutoController_Create(&brightness, ORNA_AFL_CONTROLLER_BRIGHTNESS);
        orna_afl_AutoController_Create(&balance, ORNA_AFL_CONTROLLER_WHITE_BALANCE);
        orna_afl_AutoController_SkipFrames_Set(brightness, 0);
        orna_afl_AutoController_SkipFrames_Set(balance, 0);
        orna_afl_AutoFeatureManager_AddController(manager, brightness);
        orna_afl_AutoFeatureManager_AddController(manager, balance);
        orna_afl_AutoController_Mode_Set(brightness, ORNA_AFL_MODE_CONTINUOUS);
        orna_afl_AutoController_Mode_Set(balance, ORNA_AFL_MODE_CONTINUOUS);
        bool ok = true;
        const double ours = BestMicroseconds(
            30, [&] { ok = ok && orna_afl_AutoFeatureManager_Process(manager, &image) == ORNA_AFL_STATUS_SUCCESS; });
        const cv::Mat mat(int(h), int(w), CV_8UC1, image.GetData());
        cv::Mat hist;
        const int channels[] = {0};
        const int size[] = {256};
        const float range[] = {0, 256};
        const float* ranges[] = {range};
        const double baseline =
            BestMicroseconds(30, [&] { cv::calcHist(&mat, 1, channels, cv::Mat(), hist, 1, size, ranges); });
        orna_afl_AutoFeatureManager_DestroyAllController(manager);
        orna_afl_AutoFeatureManager_Destroy(manager);
        if (ok)
            std::printf("BENCH afl_process_us ours=%.1f baseline=%.1f ratio=%.3f unit=us\n", ours, baseline,
                        baseline / ours);
        else
            status = 1;
    }
    // --- Frames to converge on the simulated camera.
    ::setenv("ORNA_TRANSPORTS", "sim", 1);
    ::setenv(sim::kSimCamerasEnvironmentVariable, "mono", 1);
    orna::Library::Initialize();
    {
        Camera cam;
        if (cam.Open())
        {
            const int ours = OursFrames(cam);
            const int baseline = BisectionFrames(cam);
            cam.Close();
            std::printf("BENCH afl_brightness_once_frames ours=%d baseline=%d ratio=%.3f unit=frames\n", ours, baseline,
                        double(baseline) / double(ours));
        }
        else
        {
            std::fprintf(stderr, "bench_afl: the sim: producer is not available\n");
            status = 1;
        }
    }
    orna::Library::Close();
    return status;
}
