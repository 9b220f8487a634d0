// The simulated camera's threads: frame timing, acquisition modes, triggers, chunks, events, faults and
// the connection life cycle. Waits are on conditions with generous time-outs; no test checks speed.

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simpixels.h"
#include "orna/core/sim/simregisters.h"
#include "simtesthelpers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

namespace {

using namespace orna::core::sim;
using namespace simtest;
using namespace std::chrono_literals;

uint32_t BE32(const uint8_t* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}
uint64_t LE(const uint8_t* p, size_t n)
{
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i)
        v |= uint64_t(p[i]) << (8 * i);
    return v;
}

// Walks the GigE chunk layout from the end of the payload: data, then { id, length } big-endian.
std::map<uint32_t, std::vector<uint8_t>> ParseChunks(const std::vector<uint8_t>& payload)
{
    std::map<uint32_t, std::vector<uint8_t>> chunks;
    size_t end = payload.size();
    while (end >= 8)
    {
        const uint32_t id = BE32(&payload[end - 8]);
        const uint32_t len = BE32(&payload[end - 4]);
        if (len + 8 > end)
        {
            ADD_FAILURE() << "chunk length beyond the payload";
            break;
        }
        chunks[id] = std::vector<uint8_t>(payload.begin() + (end - 8 - len), payload.begin() + (end - 8));
        end -= 8 + len;
    }
    EXPECT_EQ(end, 0u) << "the chunks cover the whole payload";
    return chunks;
}

class SimAcquisition : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SimCameraConfig c = Config("color", "ACQTEST-" + std::to_string(++counter_));
        c.resetDuration = 200ms;
        cam = std::make_unique<SimCamera>(c);
        cam->SetFrameSink(&sink);
        // A small region keeps the generator cheap for the thread-heavy tests.
        ASSERT_TRUE(WriteU32(*cam, reg::Width, 320));
        ASSERT_TRUE(WriteU32(*cam, reg::Height, 240));
        ASSERT_TRUE(WriteF64(*cam, reg::ExposureTime, 1000.0));
    }
    void TearDown() override
    {
        if (cam)
        {
            Execute(*cam, reg::AcquisitionStop);
            cam->SetFrameSink(nullptr);
        }
    }
    bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout = 5000ms)
    {
        const auto end = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < end)
        {
            if (condition())
                return true;
            std::this_thread::sleep_for(5ms);
        }
        return condition();
    }

    static inline int counter_ = 0;
    CollectingSink sink;
    std::unique_ptr<SimCamera> cam;
};

TEST_F(SimAcquisition, FramesArriveAtTheFrameRateWithConsecutiveIds)
{
    ASSERT_TRUE(WriteF64(*cam, reg::AcquisitionFrameRate, 20.0));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    EXPECT_TRUE(cam->IsAcquiring());
    ASSERT_TRUE(sink.WaitFor(1));
    const size_t before = sink.Count();
    std::this_thread::sleep_for(1000ms); // the measuring window itself
    const size_t inWindow = sink.Count() - before;
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    EXPECT_FALSE(cam->IsAcquiring());
    const auto frames = sink.Frames();
    EXPECT_GE(inWindow, 10u);
    EXPECT_LE(inWindow, 30u);
    for (size_t i = 0; i < frames.size(); ++i)
    {
        const auto& h = frames[i].header;
        EXPECT_EQ(h.frameId, i + 1);
        EXPECT_EQ(h.width, 320u);
        EXPECT_EQ(h.height, 240u);
        EXPECT_EQ(h.pixelFormat, pfnc::BayerRG8);
        EXPECT_EQ(h.payloadSize, ReadU32(*cam, reg::PayloadSize));
        EXPECT_EQ(frames[i].data.size(), h.payloadSize);
        EXPECT_FALSE(h.incomplete);
        if (i > 0)
        {
            const double gapMs = double(h.timestampNs - frames[i - 1].header.timestampNs) / 1e6;
            EXPECT_GT(gapMs, 25.0) << "20 fps means 50 ms between exposures";
        }
    }
}

TEST_F(SimAcquisition, SingleAndMultiFrameStopByThemselves)
{
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionMode, val::SingleFrame));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(WaitUntil([&] { return !cam->IsAcquiring(); }));
    EXPECT_EQ(sink.Count(), 1u);
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionMode, val::MultiFrame));
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionFrameCount, 4));
    ASSERT_TRUE(WriteF64(*cam, reg::AcquisitionFrameRate, 100.0));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(WaitUntil([&] { return !cam->IsAcquiring(); }));
    EXPECT_EQ(sink.Count(), 5u);
}

TEST_F(SimAcquisition, SoftwareTriggerGivesExactlyOneFrameEach)
{
    ASSERT_TRUE(WriteU32(*cam, reg::kTriggerBlock + reg::TriggerModeOffset, val::On));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(WaitUntil([&] { return (ReadU32(*cam, reg::AcquisitionStatus) & 2u) != 0; }))
        << "waiting for a trigger";
    EXPECT_EQ(sink.Count(), 0u);
    for (size_t i = 1; i <= 3; ++i)
    {
        ASSERT_TRUE(Execute(*cam, reg::kTriggerBlock + reg::TriggerSoftwareOffset));
        ASSERT_TRUE(sink.WaitFor(i));
        ASSERT_TRUE(WaitUntil([&] { return (ReadU32(*cam, reg::AcquisitionStatus) & 2u) != 0; }));
        EXPECT_EQ(sink.Count(), i);
    }
    // A hardware line as the source: a rising edge on Line0 triggers, the falling one does not.
    ASSERT_TRUE(WriteU32(*cam, reg::kTriggerBlock + reg::TriggerSourceOffset, val::SourceLine0));
    cam->SetLineInput(0, true);
    ASSERT_TRUE(sink.WaitFor(4));
    cam->SetLineInput(0, false);
    ASSERT_TRUE(WaitUntil([&] { return (ReadU32(*cam, reg::AcquisitionStatus) & 2u) != 0; }));
    EXPECT_EQ(sink.Count(), 4u);
}

// The test hooks that hold a one-shot routine and fail a preparation: the first frame after a start waits for
// the hold, a stop ends that wait at once, and an injected read failure fails exactly the reads of its register.
TEST_F(SimAcquisition, FrameHoldFaultAndSlowCommandHooks)
{
    cam->SetFrameHold(400ms);
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(1));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 400ms) << "the first frame did not wait for the hold";
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));

    const size_t before = sink.Count();
    cam->SetFrameHold(10000ms);
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    const auto stopAt = std::chrono::steady_clock::now();
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    EXPECT_LT(std::chrono::steady_clock::now() - stopAt, 1000ms) << "a stop did not end the hold";
    EXPECT_FALSE(cam->IsAcquiring());
    EXPECT_EQ(sink.Count(), before);
    cam->SetFrameHold(0ms);

    uint32_t value = 0;
    cam->InjectReadFailure(reg::PayloadSize, true);
    EXPECT_FALSE(cam->ReadMemory(reg::PayloadSize, &value, 4));
    EXPECT_TRUE(cam->ReadMemory(reg::Width, &value, 4));
    cam->InjectReadFailure(reg::PayloadSize, false);
    EXPECT_TRUE(cam->ReadMemory(reg::PayloadSize, &value, 4));

    cam->InjectWriteFailure(reg::TLParamsLocked, true);
    EXPECT_FALSE(WriteU32(*cam, reg::TLParamsLocked, 1));
    EXPECT_TRUE(WriteU32(*cam, reg::Width, 320));
    cam->InjectWriteFailure(reg::TLParamsLocked, false);
    EXPECT_TRUE(WriteU32(*cam, reg::TLParamsLocked, 0));

    // A slow command has its effect at once but reads "not done" (its value) until its time is up.
    ASSERT_TRUE(WriteU32(*cam, reg::UserSetSelector, val::UserSetDefaultSet));
    ASSERT_TRUE(WriteU32(*cam, reg::Width, 160));
    cam->SetCommandDuration(reg::UserSetLoad, 300ms);
    const auto loaded = std::chrono::steady_clock::now();
    ASSERT_TRUE(Execute(*cam, reg::UserSetLoad));
    EXPECT_NE(ReadU32(*cam, reg::Width), 160u) << "the load's effect waited for the command's time";
    EXPECT_NE(ReadU32(*cam, reg::UserSetLoad), 0u);
    ASSERT_TRUE(WaitUntil([&] { return ReadU32(*cam, reg::UserSetLoad) == 0; }));
    EXPECT_GE(std::chrono::steady_clock::now() - loaded, 300ms);
    cam->SetCommandDuration(reg::UserSetLoad, 0ms);
    ASSERT_TRUE(Execute(*cam, reg::UserSetLoad));
    EXPECT_EQ(ReadU32(*cam, reg::UserSetLoad), 0u);
}

TEST_F(SimAcquisition, ChunkValuesEqualTheNodeValues)
{
    ASSERT_TRUE(WriteU32(*cam, reg::OffsetX, 64));
    ASSERT_TRUE(WriteU32(*cam, reg::OffsetY, 32));
    ASSERT_TRUE(WriteF64(*cam, reg::ExposureTime, 2500.0));
    ASSERT_TRUE(WriteF64(*cam, reg::Gain, 9.0));
    ASSERT_TRUE(WriteU32(*cam, reg::ChunkGainSelector, val::GainDigitalAll));
    ASSERT_TRUE(WriteU32(*cam, reg::ChunkModeActive, 1));
    for (uint32_t k = 0; k < val::kChunkCount; ++k)
    {
        ASSERT_TRUE(WriteU32(*cam, reg::ChunkEnable + 4 * k, 1));
    }
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionMode, val::SingleFrame));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(1));
    const auto frame = sink.Frames().front();
    EXPECT_TRUE(frame.header.hasChunks);
    EXPECT_EQ(frame.header.imageSize, 320u * 240);
    const auto chunks = ParseChunks(frame.data);
    ASSERT_EQ(chunks.size(), size_t(val::kChunkCount) + 1);
    EXPECT_EQ(chunks.at(chunkid::Image).size(), frame.header.imageSize);
    auto u = [&](uint32_t sel, size_t at = 0, size_t n = 4) { return LE(chunks.at(chunkid::For(sel)).data() + at, n); };
    auto d = [&](uint32_t sel) {
        double v;
        std::memcpy(&v, chunks.at(chunkid::For(sel)).data(), 8);
        return v;
    };
    EXPECT_EQ(u(val::ChunkOffsetX), ReadU32(*cam, reg::OffsetX));
    EXPECT_EQ(u(val::ChunkOffsetY), ReadU32(*cam, reg::OffsetY));
    EXPECT_EQ(u(val::ChunkWidth), ReadU32(*cam, reg::Width));
    EXPECT_EQ(u(val::ChunkHeight), ReadU32(*cam, reg::Height));
    EXPECT_EQ(u(val::ChunkUsableROI, 8), 320u);
    EXPECT_EQ(u(val::ChunkUsableROI, 12), 240u);
    EXPECT_EQ(u(val::ChunkPixelFormat), ReadU32(*cam, reg::PixelFormat));
    EXPECT_DOUBLE_EQ(d(val::ChunkExposureTime), ReadF64(*cam, reg::ExposureTime));
    EXPECT_DOUBLE_EQ(d(val::ChunkGain), ReadF64(*cam, reg::Gain + 8 * val::GainDigitalAll));
    EXPECT_EQ(u(val::ChunkFrameID, 0, 8), frame.header.frameId);
    EXPECT_EQ(u(val::ChunkTimestamp, 0, 8), frame.header.timestampNs);
    EXPECT_LE(u(val::ChunkExposureTriggerTimestamp, 0, 8), frame.header.timestampNs);
}

TEST_F(SimAcquisition, ExposureEndAndTestEventsArrive)
{
    std::mutex m;
    std::condition_variable cv;
    std::vector<SimEvent> events;
    cam->SetEventSink([&](const SimEvent& e) {
        std::lock_guard<std::mutex> lock(m);
        events.push_back(e);
        cv.notify_all();
    });
    auto waitEvents = [&](size_t n) {
        std::unique_lock<std::mutex> lock(m);
        return cv.wait_for(lock, 5s, [&] { return events.size() >= n; });
    };
    ASSERT_TRUE(Execute(*cam, reg::TestEventGenerate)); // notification off: nothing
    ASSERT_TRUE(WriteU32(*cam, reg::EventNotification + 4 * val::EventSelTest, val::On));
    ASSERT_TRUE(Execute(*cam, reg::TestEventGenerate));
    ASSERT_TRUE(waitEvents(1));
    {
        std::lock_guard<std::mutex> lock(m);
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].name, "Test");
        EXPECT_EQ(events[0].eventId, eventid::Test);
        EXPECT_EQ(events[0].timestampNs, ReadU64(*cam, reg::EventTestTimestamp));
    }
    ASSERT_TRUE(WriteU32(*cam, reg::EventNotification + 4 * val::EventSelExposureEnd, val::On));
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionMode, val::MultiFrame));
    ASSERT_TRUE(WriteU32(*cam, reg::AcquisitionFrameCount, 3));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(waitEvents(4));
    ASSERT_TRUE(sink.WaitFor(3));
    std::lock_guard<std::mutex> lock(m);
    for (size_t i = 1; i < 4; ++i)
    {
        EXPECT_EQ(events[i].name, "ExposureEnd");
        ASSERT_EQ(events[i].data.size(), 8u);
        EXPECT_EQ(LE(events[i].data.data(), 8), i);
    }
    EXPECT_EQ(ReadU64(*cam, reg::EventExposureEndFrameID), 3u);
}

TEST_F(SimAcquisition, InjectedFaultsShowInTheBuffers)
{
    ASSERT_TRUE(WriteF64(*cam, reg::AcquisitionFrameRate, 50.0));
    cam->InjectDropNextFrame();
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(1));
    cam->InjectIncompleteNextFrame();
    ASSERT_TRUE(WaitUntil([&] {
        for (const auto& f : sink.Frames())
            if (f.header.incomplete)
                return true;
        return false;
    }));
    sink.refuse = true;
    const uint64_t lostBefore = cam->LostFrameCount();
    ASSERT_TRUE(WaitUntil([&] { return cam->LostFrameCount() > lostBefore; }));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    const auto frames = sink.Frames();
    EXPECT_EQ(frames.front().header.frameId, 2u) << "frame 1 was dropped on the link";
    EXPECT_GE(cam->LostFrameCount(), 2u);
}

TEST_F(SimAcquisition, AnOverstatedHeightAnnouncesMoreThanTheBufferHolds)
{
    ASSERT_TRUE(WriteF64(*cam, reg::AcquisitionFrameRate, 50.0));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(1));
    cam->InjectOverstatedHeightNextFrame();
    const size_t before = sink.Frames().size();
    ASSERT_TRUE(sink.WaitFor(before + 2));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    const auto frames = sink.Frames();
    int overstated = 0;
    for (const auto& f : frames)
    {
        // The payload itself stays that of the real height; only the leader's height is wrong, once.
        EXPECT_EQ(f.header.imageSize, size_t(320) * 240);
        if (f.header.height == 2 * 240u)
            ++overstated;
        else
            EXPECT_EQ(f.header.height, 240u);
    }
    EXPECT_EQ(overstated, 1);
}

TEST_F(SimAcquisition, MultiImageBuffersHoldSeveralImages)
{
    ASSERT_TRUE(WriteU32(*cam, reg::ImageBufferMode, val::MultiImage));
    ASSERT_TRUE(WriteU32(*cam, reg::ImageBufferImageCount, 3));
    ASSERT_TRUE(WriteF64(*cam, reg::AcquisitionFrameRate, 100.0));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(2));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    const auto frames = sink.Frames();
    EXPECT_EQ(frames[0].header.imagesInBuffer, 3u);
    EXPECT_EQ(frames[0].header.imageSize, 3u * 320 * 240);
    EXPECT_EQ(frames[1].header.frameId, frames[0].header.frameId + 3);
}

TEST_F(SimAcquisition, AcquisitionLocksSizeNodes)
{
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    EXPECT_FALSE(WriteU32(*cam, reg::Width, 640));
    EXPECT_TRUE(WriteU32(*cam, reg::OffsetX, 16));
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStop));
    EXPECT_TRUE(WriteU32(*cam, reg::Width, 640));
}

TEST_F(SimAcquisition, DisconnectAndReconnectCallBack)
{
    std::mutex m;
    std::condition_variable cv;
    std::vector<bool> changes;
    cam->SetConnectionCallback([&](bool connected) {
        std::lock_guard<std::mutex> lock(m);
        changes.push_back(connected);
        cv.notify_all();
    });
    auto waitChanges = [&](size_t n) {
        std::unique_lock<std::mutex> lock(m);
        return cv.wait_for(lock, 5s, [&] { return changes.size() >= n; });
    };
    ASSERT_TRUE(Execute(*cam, reg::AcquisitionStart));
    ASSERT_TRUE(sink.WaitFor(1));
    cam->DisconnectNow();
    EXPECT_FALSE(cam->IsConnected());
    EXPECT_FALSE(cam->IsAcquiring());
    uint32_t v;
    EXPECT_FALSE(cam->ReadMemory(reg::Width, &v, 4));
    cam->ReconnectAfter(100ms);
    ASSERT_TRUE(waitChanges(2));
    EXPECT_EQ(changes, (std::vector<bool>{false, true}));
    EXPECT_EQ(ReadU32(*cam, reg::Width), 320u) << "a link loss keeps the settings";
}

TEST_F(SimAcquisition, DeviceResetLeavesAndComesBackWithItsDefaultUserSet)
{
    std::mutex m;
    std::condition_variable cv;
    std::vector<bool> changes;
    cam->SetConnectionCallback([&](bool connected) {
        std::lock_guard<std::mutex> lock(m);
        changes.push_back(connected);
        cv.notify_all();
    });
    ASSERT_TRUE(WriteU32(*cam, reg::UserSetSelector, val::UserSet1));
    ASSERT_TRUE(Execute(*cam, reg::UserSetSave)); // 320 x 240
    ASSERT_TRUE(WriteU32(*cam, reg::UserSetDefault, val::UserSet1));
    ASSERT_TRUE(WriteU32(*cam, reg::Width, 640));
    ASSERT_TRUE(WriteU32(*cam, reg::ChunkModeActive, 1));
    ASSERT_TRUE(Execute(*cam, reg::DeviceReset));
    {
        std::unique_lock<std::mutex> lock(m);
        ASSERT_TRUE(cv.wait_for(lock, 5s, [&] { return changes.size() >= 2; }));
        EXPECT_EQ(changes, (std::vector<bool>{false, true}));
    }
    EXPECT_EQ(ReadU32(*cam, reg::Width), 320u);
    EXPECT_EQ(ReadU32(*cam, reg::ChunkModeActive), 0u);
    EXPECT_EQ(ReadU32(*cam, reg::UserSetDefault), val::UserSet1);
}

TEST_F(SimAcquisition, FirmwareImageIsCheckedAndInstalledByReset)
{
    auto writeFirmware = [&](const std::string& image) {
        EXPECT_TRUE(WriteU32(*cam, reg::FileSelector, val::FileFirmware));
        EXPECT_TRUE(WriteU32(*cam, reg::FileOpenMode, val::OpenWrite));
        EXPECT_TRUE(WriteU32(*cam, reg::FileOperationSelector, val::FileOpen));
        EXPECT_TRUE(Execute(*cam, reg::FileOperationExecute));
        EXPECT_EQ(ReadU32(*cam, reg::FileOperationStatus), val::Success);
        EXPECT_TRUE(cam->WriteMemory(reg::FileAccessBuffer, image.data(), image.size()));
        EXPECT_TRUE(WriteU32(*cam, reg::FileAccessOffset, 0));
        EXPECT_TRUE(WriteU32(*cam, reg::FileAccessLength, uint32_t(image.size())));
        EXPECT_TRUE(WriteU32(*cam, reg::FileOperationSelector, val::FileWrite));
        EXPECT_TRUE(Execute(*cam, reg::FileOperationExecute));
        EXPECT_TRUE(WriteU32(*cam, reg::FileOperationSelector, val::FileClose));
        EXPECT_TRUE(Execute(*cam, reg::FileOperationExecute));
        return ReadU32(*cam, reg::FileOperationStatus);
    };
    const std::string before = ReadStr(*cam, reg::DeviceFirmwareVersion);
    EXPECT_EQ(writeFirmware("not firmware\n"), val::Failure);
    EXPECT_EQ(writeFirmware("LVS-FIRMWARE 1\nfamily=LVS-9\nversion=9.9\n"), val::Failure) << "another family";
    EXPECT_EQ(writeFirmware("LVS-FIRMWARE 1\nfamily=LVS-2300\nversion=2.5.0 build 9001\n\npayload"), val::Success);
    EXPECT_EQ(ReadStr(*cam, reg::DeviceFirmwareVersion), before) << "installed only by a reset";
    std::atomic<int> reconnects{0};
    cam->SetConnectionCallback([&](bool connected) { reconnects += connected ? 1 : 0; });
    ASSERT_TRUE(Execute(*cam, reg::DeviceReset));
    ASSERT_TRUE(WaitUntil([&] { return reconnects.load() == 1; }));
    EXPECT_EQ(ReadStr(*cam, reg::DeviceFirmwareVersion), "2.5.0 build 9001");
}

TEST_F(SimAcquisition, HeldByOtherProcessIsReported)
{
    EXPECT_FALSE(cam->IsHeldByOtherProcess());
    cam->SetHeldByOtherProcess(true);
    EXPECT_TRUE(cam->IsHeldByOtherProcess());
}

} // namespace

namespace {

using namespace orna::core::sim;
using namespace simtest;
using namespace std::chrono_literals;

TEST(SimAutoFunctions, ExposureAutoOnceReachesTheTargetAndSwitchesOff)
{
    SimCamera cam(Config("color", "AUTOTEST-1"));
    CollectingSink sink;
    cam.SetFrameSink(&sink);
    ASSERT_TRUE(WriteU32(cam, reg::Width, 320));
    ASSERT_TRUE(WriteU32(cam, reg::Height, 240));
    ASSERT_TRUE(WriteU32(cam, reg::PixelFormat, pfnc::Mono8));
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 100.0)); // far too dark
    ASSERT_TRUE(WriteF64(cam, reg::AcquisitionFrameRate, 200.0));
    ASSERT_TRUE(WriteU32(cam, reg::ExposureAuto, val::AutoOnce));
    ASSERT_TRUE(Execute(cam, reg::AcquisitionStart));
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (ReadU32(cam, reg::ExposureAuto) != val::AutoOff && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_EQ(ReadU32(cam, reg::ExposureAuto), val::AutoOff) << "Once ends by itself";
    const size_t seen = sink.Count();
    ASSERT_TRUE(sink.WaitFor(seen + 2));
    ASSERT_TRUE(Execute(cam, reg::AcquisitionStop));
    cam.SetFrameSink(nullptr);
    const auto frames = sink.Frames();
    const auto& last = frames.back().data;
    double mean = 0;
    for (uint8_t v : last)
        mean += v;
    mean /= double(last.size()) * 255.0;
    EXPECT_NEAR(mean, 0.4, 0.08);
    EXPECT_GT(ReadF64(cam, reg::ExposureTime), 1000.0);
}

} // namespace
