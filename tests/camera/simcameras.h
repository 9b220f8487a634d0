// The sim: producer opened for the camera tests, with the cameras a test asks for. Test main thread only.
#pragma once

#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/system.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

struct SimCameras
{
    std::shared_ptr<orna::core::ProducerLibrary> producer;
    std::shared_ptr<orna::core::System> system;
    std::shared_ptr<orna::core::Interface> iface;

    // cameras: an ORNA_SIM_CAMERAS list such as "color,mono,service"; minBuffers null leaves the producer's own
    // minimum. False when the producer is not there.
    bool Start(const char* cameras, const char* minBuffers = "4")
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, cameras, 1);
        if (minBuffers)
            ::setenv("ORNA_SIM_MIN_BUFFERS", minBuffers, 1);
        else
            ::unsetenv("ORNA_SIM_MIN_BUFFERS");
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

    // Lets go of the producer; Stop also closes the library.
    void Release()
    {
        iface.reset();
        system.reset();
        producer.reset();
    }
    void Stop()
    {
        Release();
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
