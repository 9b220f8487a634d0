// What the end-to-end pipeline benchmarks share: opening a producer and a camera the way the camera window
// does, an offscreen display, the event loop between measurements, the BENCH line.
// Benchmark main thread only (the GUI thread of the benchmark's QApplication).
#pragma once

#include "camera/visioncamera.h"
#include "camera/visionimagecaptureworker.h"
#include "orna/core/device.h"
#include "orna/core/interface.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"
#include "view/customdisplay.h"

#include <QEventLoop>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace benchsupport {

// How long a benchmark measures: normal, or quick with LUMIVUE_BENCH_QUICK=1.
inline std::chrono::seconds MeasureTime(int normalSeconds, int quickSeconds)
{
    const char* quick = std::getenv("LUMIVUE_BENCH_QUICK");
    return std::chrono::seconds(quick && std::string(quick) == "1" ? quickSeconds : normalSeconds);
}

// Runs the Qt event loop (display updates, queued counters) for a while. It blocks between events as the
// application's loop does: a loop that polls would keep a core busy that the camera and the receive thread
// need (on two cores it cost the GigE run a tenth of its frames).
inline void Spin(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

inline void Print(const char* name, double ours, double baseline, double ratio, const char* unit)
{
    std::printf("BENCH %s ours=%.3f baseline=%.3f ratio=%.3f unit=%s\n", name, ours, baseline, ratio, unit);
    std::fflush(stdout);
}

struct Producer
{
    std::shared_ptr<orna::core::ProducerLibrary> library;
    std::shared_ptr<orna::core::System> system;
    std::shared_ptr<orna::core::Interface> iface;
};

inline bool OpenProducer(const std::string& path, const std::string& interfaceName, Producer& producer)
{
    try
    {
        producer.library = orna::core::ProducerLibrary::Construct(path);
        producer.system = producer.library->GetSystem()->OpenSystem();
        producer.system->UpdateInterfaces(100);
        std::shared_ptr<orna::core::InterfaceDescriptor> descriptor;
        if (interfaceName.empty())
            descriptor = producer.system->GetInterfaces().at(0);
        else
            descriptor = producer.system->FindInterface(interfaceName);
        if (!descriptor)
            return false;
        producer.iface = descriptor->OpenInterface();
        producer.iface->UpdateDevices(100);
        return true;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "pipeline: producer %s: %s\n", path.c_str(), e.what());
        return false;
    }
}

// Opens a camera the way the camera window does, without acquisition.
inline std::unique_ptr<VisionCamera> OpenCamera(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    if (!descriptor)
        return nullptr;
    auto camera = std::make_unique<VisionCamera>(nullptr, nullptr, descriptor, false, false, false);
    if (!camera->IsOpen())
        return nullptr;
    return camera;
}

// The display of a camera window, offscreen, painting the camera's last image at every update.
struct Display
{
    CustomDisplay widget;

    explicit Display(VisionCamera* camera)
    {
        widget.resize(1280, 800);
        widget.SetCamera(camera);
        widget.SetImageSize(int(camera->GetImageWidth()), int(camera->GetImageHeight()));
        QObject::connect(camera->GetCaptureWorker(), &VisionImageCaptureWorker::Signal_UpdateDisplay, &widget,
                         &CustomDisplay::UpdateDisplay, Qt::QueuedConnection);
        widget.show();
    }
};

} // namespace benchsupport
