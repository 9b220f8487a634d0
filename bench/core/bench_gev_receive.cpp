// gev_receive_<packet size>: frames per second received from Aravis' GigE fake camera (2048x2048 Mono8 on
// loopback) through orna::core with 5 buffers, against arv-camera-test-0.8 on the same camera in the same run.
// Ratio: ours / baseline. Incomplete and lost frames of our run go to stderr (the goal is zero).
// Runs only inside the loopback namespace (scripts/bench does that).
#include "bench/support/processes.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <fcntl.h>
#include <ifaddrs.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

using namespace orna::core;
using namespace orna::core::nodes;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* kSerial = "GVB1";
constexpr auto kWarmUp = std::chrono::seconds(1);
constexpr auto kMeasure = std::chrono::seconds(5);

struct Result
{
    double fps = 0;
    uint64_t complete = 0;
    uint64_t incomplete = 0;
    uint64_t lost = 0;
};

Result RunOurs(const std::shared_ptr<Interface>& iface, int packetSize)
{
    Result result;
    std::shared_ptr<DeviceDescriptor> descriptor;
    for (auto deadline = Clock::now() + std::chrono::seconds(15); !descriptor && Clock::now() < deadline;)
    {
        iface->UpdateDevices(1000);
        for (const auto& d : iface->GetDevices())
        {
            if (d->GetSerialNumber() == kSerial)
                descriptor = d;
        }
    }
    if (!descriptor)
        throw std::runtime_error("the fake camera was not discovered");
    auto device = descriptor->OpenDevice(DeviceAccessType::Control);
    auto remote = device->GetRemoteDevice()->GetNodeMap();
    remote->FindNode<IntegerNode>("Width")->SetValue(2048);
    remote->FindNode<IntegerNode>("Height")->SetValue(2048);
    remote->FindNode<EnumerationNode>("PixelFormat")->SetCurrentEntryBySymbolicValue("Mono8");
    // Aravis adds ArvGevSCPSPacketSize to GigE devices whose XML lacks the standard node (its fake camera).
    remote
        ->FindNode<IntegerNode>(remote->GetHasNode("GevSCPSPacketSize") ? "GevSCPSPacketSize" : "ArvGevSCPSPacketSize")
        ->SetValue(packetSize);
    if (remote->GetHasNode("AcquisitionFrameRate"))
    {
        auto rate = remote->FindNode<FloatNode>("AcquisitionFrameRate");
        if (rate->GetIsWritable())
            rate->SetValue(std::min(1000.0, rate->GetMaximum()));
    }
    auto stream = device->GetDataStream(0)->OpenDataStream();
    const auto payload = size_t(remote->FindNode<IntegerNode>("PayloadSize")->GetValue());
    std::vector<std::shared_ptr<Buffer>> buffers;
    for (int i = 0; i < 5; ++i)
    {
        buffers.push_back(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->QueueBuffer(buffers.back());
    }
    stream->StartAcquisition();
    remote->FindNode<CommandNode>("AcquisitionStart")->Execute();
    const auto start = Clock::now();
    const auto measureFrom = start + kWarmUp;
    const auto end = measureFrom + kMeasure;
    uint64_t lostAtStart = 0;
    bool measuring = false;
    while (Clock::now() < end)
    {
        std::shared_ptr<Buffer> buffer;
        try
        {
            buffer = stream->WaitForFinishedBuffer(1000);
        }
        catch (const TimeoutException&)
        {
            continue;
        }
        if (!measuring && Clock::now() >= measureFrom)
        {
            measuring = true;
            auto counters = stream->Counters();
            lostAtStart = counters.lost + counters.underruns;
        }
        if (measuring)
        {
            if (buffer->GetIsIncomplete())
                ++result.incomplete;
            else
                ++result.complete;
        }
        stream->QueueBuffer(buffer);
    }
    const auto counters = stream->Counters();
    result.lost = counters.lost + counters.underruns - lostAtStart;
    result.fps = double(result.complete) / std::chrono::duration<double>(kMeasure).count();
    remote->FindNode<CommandNode>("AcquisitionStop")->Execute();
    stream->StopAcquisition();
    stream->Flush(FlushMode::DiscardAll);
    for (auto& buffer : buffers)
        stream->RevokeBuffer(buffer);
    return result;
}

double RunBaseline(int packetSize)
{
    // The first lines of the tool cover start-up and warm-up.
    return benchsupport::RunArvCameraTest(kSerial, packetSize, kWarmUp + kMeasure,
                                          "/tmp/lumivue-bench-arv-camera-test.txt");
}

} // namespace

int main()
{
    if (!benchsupport::LoopbackOnly())
    {
        std::fprintf(stderr, "gev_receive: skipped, run inside the loopback namespace (scripts/bench)\n");
        return 0;
    }
    if (::access("/usr/bin/arv-fake-gv-camera-0.8", X_OK) != 0 || ::access("/usr/bin/arv-camera-test-0.8", X_OK) != 0)
    {
        std::fprintf(stderr, "gev_receive: skipped, aravis-tools is not installed\n");
        return 0;
    }
    ::setenv("ORNA_TRANSPORTS", "gev", 1);
    orna::Library::Initialize();
    const pid_t camera = benchsupport::Spawn({"/usr/bin/arv-fake-gv-camera-0.8", "-i", "127.0.0.1", "-s", kSerial});
    if (camera <= 0)
    {
        std::fprintf(stderr, "gev_receive: could not start the fake camera\n");
        return 1;
    }
    int status = 0;
    try
    {
        auto producer = ProducerLibrary::Construct("aravis:GigEVision");
        auto system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        auto loopback = system->FindInterface("lo");
        if (!loopback)
            throw std::runtime_error("no loopback interface");
        auto iface = loopback->OpenInterface();
        for (int packetSize : {8000, 16404})
        {
            const Result ours = RunOurs(iface, packetSize);
            const double baseline = RunBaseline(packetSize);
            std::fprintf(stderr, "gev_receive_%d: ours complete=%llu incomplete=%llu lost=%llu\n", packetSize,
                         (unsigned long long)ours.complete, (unsigned long long)ours.incomplete,
                         (unsigned long long)ours.lost);
            std::printf("BENCH gev_receive_%d ours=%.2f baseline=%.2f ratio=%.3f unit=frames/s\n", packetSize, ours.fps,
                        baseline, baseline > 0 ? ours.fps / baseline : 0.0);
            std::fflush(stdout);
        }
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "gev_receive failed: %s\n", e.what());
        status = 1;
    }
    benchsupport::StopProcess(camera, SIGKILL);
    return status;
}
