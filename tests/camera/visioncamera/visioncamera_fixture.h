// Shared set-up of the VisionCamera tests: the sim: producer with the cameras a test asks for, opened through
// the public device library, and a camera opened the way the application opens it.
#pragma once

#include "camera/visioncamera.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/system.h"

#include <QDir>
#include <QString>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

struct SimCameras
{
    std::shared_ptr<orna::core::ProducerLibrary> producer;
    std::shared_ptr<orna::core::System> system;
    std::shared_ptr<orna::core::Interface> iface;

    // cameras: an ORNA_SIM_CAMERAS list such as "color,mono,service". False when the producer is not there.
    bool Start(const char* cameras, const char* minBuffers = "4")
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, cameras, 1);
        ::setenv("ORNA_SIM_MIN_BUFFERS", minBuffers, 1);
        orna::Library::Initialize();
        orna::core::EnvironmentInspector::UpdateCTIPaths();
        const auto paths = orna::core::EnvironmentInspector::GetCTIPaths();
        if (std::find(paths.begin(), paths.end(), "sim:") == paths.end())
            return false;
        producer = orna::core::ProducerLibrary::Construct("sim:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        return true;
    }

    void Stop()
    {
        iface.reset();
        system.reset();
        producer.reset();
        orna::Library::Close();
    }

    // The descriptor whose model name ends as asked ("C", "M", "C service").
    std::shared_ptr<orna::core::DeviceDescriptor> BySerialPrefix(const std::string& prefix) const
    {
        iface->UpdateDevices(0);
        for (const auto& d : iface->GetDevices())
            if (d->GetSerialNumber().rfind(prefix, 0) == 0)
                return d;
        return nullptr;
    }
};

// Opens a camera as the camera window does (open on the caller's thread). Without the open worker in the build
// the steps the camera itself owns are run in the open worker's order.
inline std::unique_ptr<VisionCamera> OpenCamera(const std::shared_ptr<orna::core::DeviceDescriptor>& descriptor)
{
    auto camera = std::make_unique<VisionCamera>(nullptr, nullptr, descriptor, false, false, false);
    if (!camera->GetOpenWorker())
    {
        if (!camera->InitCamera() || !camera->InitNodemaps())
            return camera;
        camera->QueryImageGeometry();
        if (camera->InitDataStream() && camera->GetDataStream())
            camera->UpdatePixelFormatSource();
    }
    return camera;
}
