#pragma once
// A simulated camera opened through the public device library, streaming, for the auto feature tests: frames
// come as orna::ipl::Image views of the buffers, and the scene's light is set on the camera model.

#include "orna/afl/autofeatures.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace afltest {

using namespace orna::core;
using namespace orna::core::nodes;

class SimStream
{
public:
    // Opens the camera with the serial and starts streaming in the pixel format, with the given binning (1 or 2).
    bool Open(const std::string& serial, const std::string& format, int binning = 2)
    {
        EnvironmentInspector::UpdateCTIPaths();
        const auto paths = EnvironmentInspector::GetCTIPaths();
        if (std::find(paths.begin(), paths.end(), "sim:") == paths.end())
            return false;
        producer = ProducerLibrary::Construct("sim:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        auto descriptor = iface->FindDevice(sim::SimDeviceId(serial));
        if (!descriptor)
            return false;
        sim = sim::SimCameraRegistry::Instance().Find(serial);
        device = descriptor->OpenDevice(DeviceAccessType::Control);
        map = device->GetRemoteDevice()->GetNodeMap();
        map->FindNode<EnumerationNode>("PixelFormat")->SetCurrentEntryBySymbolicValue(format);
        if (binning > 1)
        {
            map->FindNode<IntegerNode>("BinningHorizontal")->SetValue(binning);
            map->FindNode<IntegerNode>("BinningVertical")->SetValue(binning);
        }
        stream = device->GetDataStream(0)->OpenDataStream();
        const auto payload = size_t(map->FindNode<IntegerNode>("PayloadSize")->GetValue());
        for (int i = 0; i < 4; ++i)
            stream->QueueBuffer(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->StartAcquisition();
        map->FindNode<CommandNode>("AcquisitionStart")->Execute();
        return true;
    }

    ~SimStream() { Close(); }

    void Close()
    {
        if (stream)
        {
            try
            {
                map->FindNode<CommandNode>("AcquisitionStop")->Execute();
            }
            catch (const std::exception&)
            {
            }
            stream->StopAcquisition();
            stream->Flush(FlushMode::DiscardAll);
            stream.reset();
        }
        if (sim)
            sim->SetSceneLight(1.0, 1.0, 1.0);
        map.reset();
        device.reset();
    }

    // One frame as a view of its buffer, handed to `use`, then queued back.
    void Frame(const std::function<void(orna::ipl::Image&)>& use)
    {
        // Generous: a sanitizer build on a loaded machine makes frames slowly.
        auto buffer = stream->WaitForFinishedBuffer(20000);
        const uint32_t format = uint32_t(buffer->GetPixelFormat());
        auto image = orna::ipl::Image::ConstructFromBuffer(
            format, uint32_t(buffer->GetWidth()), uint32_t(buffer->GetHeight()),
            buffer->GetBasePtr() + buffer->GetImageOffset(), size_t(buffer->GetSize() - buffer->GetImageOffset()));
        struct Requeue
        {
            SimStream* s;
            std::shared_ptr<Buffer> b;
            ~Requeue() { s->stream->QueueBuffer(b); }
        } requeue{this, buffer};
        use(image);
    }

    double Exposure() const { return map->FindNode<FloatNode>("ExposureTime")->GetValue(); }
    void SetExposure(double us) { map->FindNode<FloatNode>("ExposureTime")->SetValue(us); }
    double GainDb() const
    {
        std::lock_guard<NodeMap> lock(*map);
        map->FindNode<EnumerationNode>("GainSelector")->SetCurrentEntryBySymbolicValue("AnalogAll");
        return map->FindNode<FloatNode>("Gain")->GetValue();
    }

    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
    std::shared_ptr<Device> device;
    std::shared_ptr<NodeMap> map;
    std::shared_ptr<DataStream> stream;
    std::shared_ptr<sim::SimCamera> sim;
};

} // namespace afltest
