// Descriptors of the simulated and Aravis fake cameras of a test process, found through the public device
// library as the camera list would find them. Test thread only.
#pragma once

#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace testcams {

struct Transport
{
    std::shared_ptr<orna::core::ProducerLibrary> producer;
    std::shared_ptr<orna::core::System> system;
    std::shared_ptr<orna::core::Interface> iface;

    // Empty when the producer is not offered in this process (then the caller skips).
    bool Open(const std::string& path)
    {
        orna::core::EnvironmentInspector::UpdateCTIPaths();
        const auto paths = orna::core::EnvironmentInspector::GetCTIPaths();
        if (std::find(paths.begin(), paths.end(), path) == paths.end())
            return false;
        producer = orna::core::ProducerLibrary::Construct(path);
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        if (system->GetInterfaces().empty())
            return false;
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(500);
        return true;
    }

    std::shared_ptr<orna::core::DeviceDescriptor> BySerial(const std::string& serial) const
    {
        if (!iface)
            return nullptr;
        for (const auto& descriptor : iface->GetDevices())
        {
            if (descriptor->GetSerialNumber() == serial)
                return descriptor;
        }
        return nullptr;
    }

    std::shared_ptr<orna::core::DeviceDescriptor> First() const
    {
        if (!iface || iface->GetDevices().empty())
            return nullptr;
        return iface->GetDevices().front();
    }
};

} // namespace testcams
