// The sim: producer end to end through the public device library: discovery, two cameras streaming at once,
// exposure, chunks, events, user sets, file access, link loss and return, DeviceReset, the locked and the
// service model, and stable serials. The camera objects are reached directly only to inject faults.
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/port.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/sim/simregistry.h"
#include "orna/core/sim/simtransport.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <future>
#include <thread>

using namespace orna::core;
using namespace orna::core::nodes;

namespace {

std::shared_ptr<Interface> OpenSimInterface(std::shared_ptr<ProducerLibrary>* producer, std::shared_ptr<System>* system)
{
    EnvironmentInspector::UpdateCTIPaths();
    const auto paths = EnvironmentInspector::GetCTIPaths();
    if (std::find(paths.begin(), paths.end(), "sim:") == paths.end())
        return nullptr;
    *producer = ProducerLibrary::Construct("sim:");
    *system = (*producer)->GetSystem()->OpenSystem();
    (*system)->UpdateInterfaces(0);
    auto iface = (*system)->GetInterfaces().at(0)->OpenInterface();
    iface->UpdateDevices(0);
    return iface;
}

template <typename T> std::shared_ptr<T> Node(const std::shared_ptr<Device>& device, const std::string& name)
{
    auto node = device->GetRemoteDevice()->GetNodeMap()->FindNode<T>(name);
    if (!node)
        throw std::runtime_error("no node " + name);
    return node;
}

void SetEnum(const std::shared_ptr<Device>& device, const std::string& name, const std::string& value)
{
    Node<EnumerationNode>(device, name)->SetCurrentEntryBySymbolicValue(value);
}

// A started stream with a few buffers of the current payload size, and the camera acquiring.
struct Grab
{
    std::shared_ptr<Device> device;
    std::shared_ptr<DataStream> stream;

    explicit Grab(std::shared_ptr<Device> d) : device(std::move(d))
    {
        stream = device->GetDataStream(0)->OpenDataStream();
        const auto payload = size_t(Node<IntegerNode>(device, "PayloadSize")->GetValue());
        for (int i = 0; i < 8; ++i)
            stream->QueueBuffer(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->StartAcquisition();
        Node<CommandNode>(device, "AcquisitionStart")->Execute();
    }
    ~Grab() { Stop(); }
    void Stop()
    {
        if (!stream)
            return;
        try
        {
            Node<CommandNode>(device, "AcquisitionStop")->Execute();
        }
        catch (const Exception&)
        {
            // a camera without link refuses the write; the stream stops anyway
        }
        stream->StopAcquisition();
        stream->Flush(FlushMode::DiscardAll);
        stream.reset();
    }
    std::shared_ptr<Buffer> Next()
    {
        auto buffer = stream->WaitForFinishedBuffer(3000);
        return buffer;
    }
    // The mean of the image bytes of the next frames.
    double Mean(int frames)
    {
        double sum = 0;
        size_t count = 0;
        for (int i = 0; i < frames; ++i)
        {
            auto buffer = Next();
            const size_t size = size_t(buffer->GetWidth() * buffer->GetHeight());
            const uint8_t* data = buffer->GetBasePtr() + buffer->GetImageOffset();
            for (size_t j = 0; j < size; j += 7)
            {
                sum += data[j];
                ++count;
            }
            stream->QueueBuffer(buffer);
        }
        return count ? sum / double(count) : 0;
    }
};

class SimProducer : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "sim", 1);
        ::setenv(sim::kSimCamerasEnvironmentVariable, "2", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        ::setenv(sim::kSimCamerasEnvironmentVariable, "2", 1);
        iface = OpenSimInterface(&producer, &system);
        ASSERT_TRUE(iface) << "the sim: producer is not listed";
        ASSERT_EQ(iface->GetDevices().size(), 2u);
        for (const auto& camera : sim::SimCameraRegistry::Instance().Cameras())
            camera->SetHeldByOtherProcess(false);
    }
    std::shared_ptr<Device> Open(const std::string& serial)
    {
        auto descriptor = iface->FindDevice(sim::SimDeviceId(serial));
        if (!descriptor)
            throw std::runtime_error("no device " + serial);
        auto device = descriptor->OpenDevice(DeviceAccessType::Control);
        // Smaller frames keep the test quick on a loaded machine.
        Node<IntegerNode>(device, "Width")->SetValue(640);
        Node<IntegerNode>(device, "Height")->SetValue(480);
        return device;
    }

    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
};

TEST_F(SimProducer, ListsTheConfiguredCamerasWithStableSerials)
{
    EXPECT_EQ(producer->GetSystem()->OpenSystem()->GetTLType(), "Custom");
    std::vector<std::string> serials;
    for (const auto& descriptor : iface->GetDevices())
    {
        serials.push_back(descriptor->GetSerialNumber());
        EXPECT_EQ(descriptor->GetTLType(), "Custom");
        EXPECT_EQ(descriptor->GetVendorName(), "Lumivue");
    }
    std::sort(serials.begin(), serials.end());
    EXPECT_EQ(serials, (std::vector<std::string>{"LVSC00001", "LVSM00001"}));

    // A second producer and a re-read description give the same serials and ids.
    std::shared_ptr<ProducerLibrary> producer2;
    std::shared_ptr<System> system2;
    auto iface2 = OpenSimInterface(&producer2, &system2);
    ASSERT_TRUE(iface2);
    for (const auto& serial : serials)
        EXPECT_TRUE(iface2->FindDevice(sim::SimDeviceId(serial))) << serial;

    ::setenv(sim::kSimCamerasEnvironmentVariable, "0", 1);
    EnvironmentInspector::UpdateCTIPaths();
    const auto paths = EnvironmentInspector::GetCTIPaths();
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "sim:"), 0) << "no camera asked for: no producer";
    ::setenv(sim::kSimCamerasEnvironmentVariable, "2", 1);
}

TEST_F(SimProducer, TwoCamerasStreamAtTheirOwnRatesAndBrightnessFollowsExposure)
{
    auto colour = Open("LVSC00001");
    auto mono = Open("LVSM00001");
    const double rates[2] = {20.0, 50.0};
    std::shared_ptr<Device> devices[2] = {colour, mono};
    for (int i = 0; i < 2; ++i)
    {
        Node<BooleanNode>(devices[i], "AcquisitionFrameRateEnable")->SetValue(true);
        Node<FloatNode>(devices[i], "AcquisitionFrameRate")->SetValue(rates[i]);
        Node<FloatNode>(devices[i], "ExposureTime")->SetValue(2000.0);
    }
    Grab grabs[2] = {Grab(colour), Grab(mono)};
    // Both streams run at once; the frame timestamps (the camera's clock) give each one's period.
    auto measure = [](Grab* grab) {
        // Frame ids count frames the host had no buffer for as well, so a slow reader does not skew the rate.
        std::vector<uint64_t> stamps, ids;
        for (int i = 0; i < 12; ++i)
        {
            auto buffer = grab->Next();
            stamps.push_back(buffer->GetTimestamp_ns());
            ids.push_back(buffer->GetFrameID());
            grab->stream->QueueBuffer(buffer);
        }
        return double(ids.back() - ids.front()) * 1e9 / double(stamps.back() - stamps.front());
    };
    auto slow = std::async(std::launch::async, measure, &grabs[0]);
    const double fast = measure(&grabs[1]);
    // Each camera runs at its own setting. On a loaded machine the camera's thread may fall behind its
    // schedule, so the measured rate is bounded from above by the setting, and the faster camera must clearly
    // outrun the slower one's limit.
    for (int i = 0; i < 2; ++i)
        EXPECT_DOUBLE_EQ(Node<FloatNode>(devices[i], "AcquisitionResultingFrameRate")->GetValue(), rates[i]);
    const double slowRate = slow.get();
    EXPECT_LT(slowRate, rates[0] * 1.15);
    EXPECT_GT(slowRate, rates[0] * 0.5) << "the slower camera ignores its setting";
    EXPECT_LT(fast, rates[1] * 1.15);
    EXPECT_GT(fast, rates[0] * 1.3) << "the second camera is not faster than the first";

    const double dark = grabs[1].Mean(3);
    Node<FloatNode>(mono, "ExposureTime")->SetValue(8000.0);
    // Every one of the 8 buffers may hold a frame exposed before the change when the reader fell behind.
    grabs[1].Mean(9);
    const double bright = grabs[1].Mean(3);
    EXPECT_GT(bright, dark * 1.8) << "dark " << dark << " bright " << bright;
}

TEST_F(SimProducer, ChunkValuesMatchTheNodesAndEventsArrive)
{
    auto device = Open("LVSC00001");
    Node<FloatNode>(device, "ExposureTime")->SetValue(3210.0);
    Node<BooleanNode>(device, "ChunkModeActive")->SetValue(true);
    auto selector = Node<EnumerationNode>(device, "ChunkSelector");
    for (const char* name : {"ExposureTime", "FrameID"})
    {
        selector->SetCurrentEntryBySymbolicValue(name);
        Node<BooleanNode>(device, "ChunkEnable")->SetValue(true);
    }
    const auto exposureChunk = 0xA5A50100u + uint64_t(selector->FindEntryBySymbolicValue("ExposureTime")->GetValue());
    const auto frameIdChunk = 0xA5A50100u + uint64_t(selector->FindEntryBySymbolicValue("FrameID")->GetValue());

    SetEnum(device, "EventSelector", "ExposureEnd");
    SetEnum(device, "EventNotification", "On");
    auto events = device->EnableEvents(EventType::RemoteDevice);

    Grab grab(device);
    auto buffer = grab.Next();
    ASSERT_TRUE(buffer->GetHasChunks());
    buffer->UpdateChunks();
    bool sawExposure = false, sawFrameId = false;
    for (size_t i = 0; i < buffer->GetNumChunks(); ++i)
    {
        auto chunk = buffer->GetChunk(i);
        if (chunk->GetID() == exposureChunk)
        {
            ASSERT_EQ(chunk->GetSize(), 8u);
            double value = 0;
            std::memcpy(&value, chunk->GetBasePtr(), 8);
            EXPECT_DOUBLE_EQ(value, Node<FloatNode>(device, "ExposureTime")->GetValue());
            sawExposure = true;
        }
        if (chunk->GetID() == frameIdChunk)
        {
            uint64_t value = 0;
            std::memcpy(&value, chunk->GetBasePtr(), std::min<size_t>(8, chunk->GetSize()));
            EXPECT_EQ(value, buffer->GetFrameID());
            sawFrameId = true;
        }
    }
    EXPECT_TRUE(sawExposure);
    EXPECT_TRUE(sawFrameId);

    auto event = events->WaitForEvent(3000);
    EXPECT_EQ(event->GetType(), EventType::RemoteDevice);
    EXPECT_EQ(event->GetID(), 0x9001u);
    ASSERT_EQ(event->GetData().size(), 8u);
    grab.stream->QueueBuffer(buffer);
    grab.Stop();

    SetEnum(device, "EventSelector", "Test");
    SetEnum(device, "EventNotification", "On");
    Node<CommandNode>(device, "TestEventGenerate")->Execute();
    // Exposure-end events of the frames above may still be queued before it.
    uint64_t id = 0;
    for (int i = 0; i < 64 && id != 0x9002u; ++i)
        id = events->WaitForEvent(1000)->GetID();
    EXPECT_EQ(id, 0x9002u);
}

// One file operation through the file access nodes; false when the camera reports a failure.
bool FileOperation(const std::shared_ptr<Device>& device, const std::string& operation)
{
    SetEnum(device, "FileOperationSelector", operation);
    Node<CommandNode>(device, "FileOperationExecute")->Execute();
    return Node<EnumerationNode>(device, "FileOperationStatus")->GetCurrentEntry()->GetSymbolicValue() == "Success";
}

TEST_F(SimProducer, UserSetsAndCameraFiles)
{
    auto device = Open("LVSM00001");
    auto exposure = Node<FloatNode>(device, "ExposureTime");
    exposure->SetValue(12345.0);
    SetEnum(device, "UserSetSelector", "UserSet1");
    Node<CommandNode>(device, "UserSetSave")->Execute();
    exposure->SetValue(5000.0);
    Node<CommandNode>(device, "UserSetLoad")->Execute();
    EXPECT_DOUBLE_EQ(exposure->GetValue(), 12345.0);

    // Write a free text file, read it back.
    const std::string text = "written through the file access nodes";
    SetEnum(device, "FileSelector", "UserData");
    SetEnum(device, "FileOpenMode", "Write");
    ASSERT_TRUE(FileOperation(device, "Open"));
    auto buffer = Node<RegisterNode>(device, "FileAccessBuffer");
    std::vector<uint8_t> bytes(size_t(buffer->GetLength()), 0);
    std::memcpy(bytes.data(), text.data(), text.size());
    buffer->Write(bytes);
    Node<IntegerNode>(device, "FileAccessOffset")->SetValue(0);
    Node<IntegerNode>(device, "FileAccessLength")->SetValue(int64_t(text.size()));
    ASSERT_TRUE(FileOperation(device, "Write"));
    EXPECT_EQ(Node<IntegerNode>(device, "FileOperationResult")->GetValue(), int64_t(text.size()));
    ASSERT_TRUE(FileOperation(device, "Close"));

    SetEnum(device, "FileOpenMode", "Read");
    ASSERT_TRUE(FileOperation(device, "Open"));
    Node<IntegerNode>(device, "FileAccessLength")->SetValue(int64_t(text.size()));
    ASSERT_TRUE(FileOperation(device, "Read"));
    const auto back = buffer->Read();
    EXPECT_EQ(std::string(back.begin(), back.begin() + long(text.size())), text);
    ASSERT_TRUE(FileOperation(device, "Close"));

    // The saved user set is a camera file too.
    SetEnum(device, "FileSelector", "UserSet1");
    ASSERT_TRUE(FileOperation(device, "Open"));
    Node<IntegerNode>(device, "FileAccessLength")->SetValue(128);
    ASSERT_TRUE(FileOperation(device, "Read"));
    const auto head = buffer->Read();
    const std::string saved(head.begin(), head.begin() + 128);
    EXPECT_EQ(saved.rfind("# Lumivue simulated camera user set", 0), 0u) << saved;
    EXPECT_NE(saved.find("\n0x"), std::string::npos) << saved;
    FileOperation(device, "Close");
}

// Waits for the interface's connection callbacks, which arrive on the camera's threads.
struct ConnectionLog
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> seen;

    void Add(std::string entry)
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            seen.push_back(std::move(entry));
        }
        changed.notify_all();
    }
    bool WaitFor(const std::string& entry, int ms)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::milliseconds(ms),
                                [&] { return std::find(seen.begin(), seen.end(), entry) != seen.end(); });
    }
};

TEST_F(SimProducer, SurvivesDisconnectAndReconnect)
{
    ConnectionLog log;
    iface->RegisterDeviceDisconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d) { log.Add("off " + d->GetSerialNumber()); });
    iface->RegisterDeviceReconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d, const DeviceReconnectInformation&) {
            log.Add("on " + d->GetSerialNumber());
        });
    auto camera = sim::SimCameraRegistry::Instance().Find("LVSC00001");
    ASSERT_TRUE(camera);

    auto device = Open("LVSC00001");
    {
        Grab grab(device);
        grab.stream->QueueBuffer(grab.Next());
        camera->DisconnectNow();
        EXPECT_TRUE(log.WaitFor("off LVSC00001", 1000));
        EXPECT_THROW(Node<IntegerNode>(device, "Width")->GetValue(), Exception) << "no link, no register access";
        camera->ReconnectAfter(std::chrono::milliseconds(100));
        EXPECT_TRUE(log.WaitFor("on LVSC00001", 3000));
        grab.Stop();
    }
    // The same open device streams again after the link returned.
    {
        Grab grab(device);
        EXPECT_GT(grab.Next()->GetFrameID(), 0u);
    }
    // And after a reopen.
    device.reset();
    device = Open("LVSC00001");
    Grab grab(device);
    EXPECT_GT(grab.Next()->GetFrameID(), 0u);
}

TEST_F(SimProducer, KillWaitEndsAWaitAtOnce)
{
    auto device = Open("LVSM00001");
    auto stream = device->GetDataStream(0)->OpenDataStream();
    stream->QueueBuffer(
        stream->AllocAndAnnounceBuffer(size_t(Node<IntegerNode>(device, "PayloadSize")->GetValue()), nullptr));
    stream->StartAcquisition(); // the camera does not acquire: nothing will arrive
    auto waiter = std::async(std::launch::async, [&stream] {
        try
        {
            stream->WaitForFinishedBuffer(DataStream::kInfinite);
        }
        catch (const AbortedException&)
        {
            return true;
        }
        return false;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    stream->KillWait();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(1)), std::future_status::ready);
    EXPECT_TRUE(waiter.get());
    stream->StopAcquisition();
}

// The capture loop's race: the stop comes after its running check and before its wait. The wait ends at once
// with AbortedException, and only that one wait.
TEST_F(SimProducer, KillWaitBeforeTheWaitEndsItAtOnce)
{
    auto device = Open("LVSM00001");
    auto stream = device->GetDataStream(0)->OpenDataStream();
    stream->QueueBuffer(
        stream->AllocAndAnnounceBuffer(size_t(Node<IntegerNode>(device, "PayloadSize")->GetValue()), nullptr));
    stream->StartAcquisition(); // the camera does not acquire: nothing will arrive
    stream->KillWait();
    const auto start = std::chrono::steady_clock::now();
    auto waiter = std::async(std::launch::async, [&stream] {
        try
        {
            stream->WaitForFinishedBuffer(DataStream::kInfinite);
        }
        catch (const AbortedException&)
        {
            return true;
        }
        return false;
    });
    if (waiter.wait_for(std::chrono::seconds(1)) != std::future_status::ready)
    {
        stream->KillWait(); // lets the blocked waiter go, so that the failure is reported
        FAIL() << "a KillWait before the wait left it blocked";
    }
    EXPECT_TRUE(waiter.get());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_THROW(stream->WaitForFinishedBuffer(30), TimeoutException);
    stream->StopAcquisition();
}

TEST_F(SimProducer, HeldCameraRefusesToOpen)
{
    auto camera = sim::SimCameraRegistry::Instance().Find("LVSM00001");
    camera->SetHeldByOtherProcess(true);
    EXPECT_THROW(iface->FindDevice(sim::SimDeviceId("LVSM00001"))->OpenDevice(DeviceAccessType::Control),
                 BadAccessException);
    camera->SetHeldByOtherProcess(false);
    EXPECT_NO_THROW(Open("LVSM00001"));
}

TEST_F(SimProducer, DeviceResetMakesTheCameraLeaveAndReturn)
{
    ConnectionLog log;
    iface->RegisterDeviceDisconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d) { log.Add("off " + d->GetSerialNumber()); });
    iface->RegisterDeviceReconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d, const DeviceReconnectInformation&) {
            log.Add("on " + d->GetSerialNumber());
        });
    auto device = Open("LVSM00001");
    auto descriptor = iface->FindDevice(sim::SimDeviceId("LVSM00001"));
    Node<CommandNode>(device, "DeviceReset")->Execute();
    ASSERT_TRUE(log.WaitFor("off LVSM00001", 2000));
    // A discovery pass while the camera reboots finds it gone; a later one finds it again.
    iface->UpdateDevices(0);
    EXPECT_FALSE(iface->FindDevice(sim::SimDeviceId("LVSM00001"))) << "a resetting camera is not on the bus";
    EXPECT_FALSE(descriptor->GetIsOpenable(DeviceAccessType::Control));
    device.reset();
    std::shared_ptr<DeviceDescriptor> back;
    for (int i = 0; i < 100 && !back; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50)); // polling discovery, as the viewer does
        iface->UpdateDevices(0);
        back = iface->FindDevice(sim::SimDeviceId("LVSM00001"));
    }
    ASSERT_TRUE(back) << "the camera did not return after its reset";
    device = Open("LVSM00001");
    EXPECT_EQ(Node<IntegerNode>(device, "Width")->GetValue(), 640);
    Grab grab(device);
    EXPECT_GT(grab.Next()->GetFrameID(), 0u);
}

TEST_F(SimProducer, LockedAndServiceModels)
{
    ::setenv(sim::kSimCamerasEnvironmentVariable, "color,mono,locked,service", 1);
    iface->UpdateDevices(0);
    ASSERT_EQ(iface->GetDevices().size(), 4u);
    EXPECT_TRUE(iface->FindDevice(sim::SimDeviceId("LVSC00001"))) << "a kept camera keeps its serial";

    auto locked = iface->FindDevice(sim::SimDeviceId("LVSL00001"))->OpenDevice(DeviceAccessType::Control);
    uint32_t lock = 0;
    locked->GetRemoteDevice()->GetPort()->Read(0x50001000, &lock, sizeof lock);
    EXPECT_EQ(lock, 1u);
    auto colour = iface->FindDevice(sim::SimDeviceId("LVSC00001"))->OpenDevice(DeviceAccessType::Control);
    colour->GetRemoteDevice()->GetPort()->Read(0x50001000, &lock, sizeof lock);
    EXPECT_EQ(lock, 0u);

    auto service = iface->FindDevice(sim::SimDeviceId("LVSS00001"))->OpenDevice(DeviceAccessType::Control);
    EXPECT_EQ(service->GetNumDataStreams(), 0u);
    EXPECT_EQ(colour->GetNumDataStreams(), 1u);
    ::setenv(sim::kSimCamerasEnvironmentVariable, "2", 1);
}

// The zipped model publishes a zip archive behind its first URL: one entry, stored, with a valid CRC, whose
// content is the description the node map was built from. The plain model keeps its XML file.
TEST_F(SimProducer, ZippedModelPublishesItsDescriptionAsAZipArchive)
{
    ::setenv(sim::kSimCamerasEnvironmentVariable, "color,zipped", 1);
    iface->UpdateDevices(0);
    ASSERT_EQ(iface->GetDevices().size(), 2u);
    auto le16 = [](const std::vector<uint8_t>& b, size_t at) { return uint32_t(b[at] | (b[at + 1] << 8)); };
    auto le32 = [&](const std::vector<uint8_t>& b, size_t at) { return le16(b, at) | (le16(b, at + 2) << 16); };

    auto zipped = iface->FindDevice(sim::SimDeviceId("LVSZ00001"))->OpenDevice(DeviceAccessType::ReadOnly);
    auto port = zipped->GetRemoteDevice()->GetPort();
    ASSERT_EQ(port->GetNumURLs(), 1u);
    const auto url = port->GetURL(0);
    EXPECT_EQ(url->GetFileName(), "LVS-2300C.zip");
    const std::vector<uint8_t> zip = port->Read(url->GetFileRegisterAddress(), size_t(url->GetFileSize()));
    ASSERT_GT(zip.size(), 30u + 22u);
    EXPECT_EQ(le32(zip, 0), 0x04034B50u);
    EXPECT_EQ(le16(zip, 8), 0u) << "stored";
    const uint32_t size = le32(zip, 18);
    const uint32_t nameLength = le16(zip, 26);
    const std::string name(zip.begin() + 30, zip.begin() + 30 + nameLength);
    EXPECT_EQ(name, "LVS-2300C.xml");
    const std::string content(zip.begin() + 30 + nameLength, zip.begin() + 30 + nameLength + size);
    EXPECT_EQ(content, zipped->GetRemoteDevice()->GetNodeMap()->GetXml());
    uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char byte : content)
    {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    EXPECT_EQ(le32(zip, 14), ~crc);
    // The end record closes the archive and names the one entry.
    EXPECT_EQ(le32(zip, zip.size() - 22), 0x06054B50u);
    EXPECT_EQ(le16(zip, zip.size() - 12), 1u);

    auto plain = iface->FindDevice(sim::SimDeviceId("LVSC00001"))->OpenDevice(DeviceAccessType::ReadOnly);
    const auto plainUrl = plain->GetRemoteDevice()->GetPort()->GetURL(0);
    EXPECT_EQ(plainUrl->GetFileName(), "LVS-2300C.xml");
    ::setenv(sim::kSimCamerasEnvironmentVariable, "2", 1);
}

} // namespace
