// End to end over Aravis' in-process Fake interface (ORNA_TRANSPORTS=fake): discovery, open, node maps of every
// module, register guard, streaming, KillWait and events.
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/exception.h"
#include "orna/core/interface.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <limits>
#include <thread>

using namespace orna::core;
using namespace orna::core::nodes;

namespace {

class FakeDeviceTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "fake", 1);
        orna::Library::Initialize();
    }

    void SetUp() override
    {
        producer = ProducerLibrary::Construct("aravis:Fake");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        auto interfaces = system->GetInterfaces();
        ASSERT_EQ(interfaces.size(), 1u);
        iface = interfaces[0]->OpenInterface();
        iface->UpdateDevices(500);
        ASSERT_FALSE(iface->GetDevices().empty()) << "the Fake interface lists no device";
        descriptor = iface->GetDevices()[0];
    }

    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
    std::shared_ptr<DeviceDescriptor> descriptor;
};

TEST_F(FakeDeviceTest, InspectorListsOnlyTheEnabledTransports)
{
    EnvironmentInspector::UpdateCTIPaths();
    ASSERT_EQ(EnvironmentInspector::GetNumCTIPaths(), 1u);
    EXPECT_EQ(EnvironmentInspector::GetCTIPath(0), "aravis:Fake");
    EXPECT_THROW(EnvironmentInspector::GetCTIPath(1), OutOfRangeException);
    EXPECT_THROW(ProducerLibrary::Construct("aravis:GigEVision"), CTILoadingException);
    EXPECT_THROW(ProducerLibrary::Construct("/usr/lib/nothing.cti"), CTILoadingException);
}

TEST_F(FakeDeviceTest, SystemAndInterfaceDescribeThemselves)
{
    EXPECT_EQ(system->GetTLType(), "Custom");
    EXPECT_EQ(system->GetKey(), "aravis:Fake");
    EXPECT_EQ(system->GetCTIFullPath(), "aravis:Fake");
    EXPECT_EQ(system->GetVendorName(), "Aravis");
    EXPECT_EQ(system->GetNodeMap()->FindNode<StringNode>("TLType")->GetValue(), "Custom");
    EXPECT_EQ(system->GetNodeMap()->FindNode<StringNode>("InterfaceID")->GetValue(), "Fake");
    EXPECT_EQ(iface->GetID(), "Fake");
    EXPECT_EQ(iface->GetParentSystem(), system);
    // A second pass finds nothing new.
    int found = 0;
    iface->RegisterDeviceFoundCallback([&found](const std::shared_ptr<DeviceDescriptor>&) { ++found; });
    EXPECT_FALSE(iface->UpdateDevices(500));
    EXPECT_EQ(found, 0);
    EXPECT_EQ(system->GetPort()->GetNumURLs(), 1u);
    EXPECT_EQ(system->GetPort()->GetURL(0)->GetFileName(), "System.xml");
}

TEST_F(FakeDeviceTest, DescriptorTextsAndInterfaceSelector)
{
    EXPECT_EQ(descriptor->GetVendorName(), "Aravis");
    EXPECT_EQ(descriptor->GetModelName(), "Fake");
    EXPECT_FALSE(descriptor->GetSerialNumber().empty());
    EXPECT_EQ(descriptor->GetAccessStatus(), DeviceAccessStatus::ReadWrite);
    EXPECT_TRUE(descriptor->GetIsOpenable(DeviceAccessType::Control));
    EXPECT_EQ(descriptor->GetKey(), "aravis:Fake|Fake|" + descriptor->GetID());

    auto map = iface->GetNodeMap();
    map->FindNode<IntegerNode>("DeviceSelector")->SetValue(0);
    EXPECT_EQ(map->FindNode<StringNode>("DeviceID")->GetValue(), descriptor->GetID());
    EXPECT_EQ(map->FindNode("DeviceAccessStatus")->GetValueAsString(), "ReadWrite");
    EXPECT_THROW(map->FindNode<IntegerNode>("DeviceSelector")->SetValue(5), OutOfRangeException);
}

TEST_F(FakeDeviceTest, OpenReadWriteAndClose)
{
    int changes = 0;
    descriptor->RegisterInformationChangedCallback([&changes](const std::shared_ptr<DeviceDescriptor>&) { ++changes; });
    {
        auto device = descriptor->OpenDevice(DeviceAccessType::Control);
        EXPECT_EQ(descriptor->GetAccessStatus(), DeviceAccessStatus::OpenReadWrite);
        EXPECT_FALSE(descriptor->GetIsOpenable(DeviceAccessType::Control));
        EXPECT_THROW(descriptor->OpenDevice(DeviceAccessType::Control), BadAccessException);
        EXPECT_EQ(changes, 1);

        auto remote = device->GetRemoteDevice()->GetNodeMap();
        auto width = remote->FindNode<IntegerNode>("Width");
        const int64_t original = width->GetValue();
        width->SetValue(256);
        EXPECT_EQ(width->GetValue(), 256);
        width->SetValue(original);
        auto format = remote->FindNode<EnumerationNode>("PixelFormat");
        ASSERT_GE(format->GetNumEntries(), 2u);
        // Document order of the Fake XML (Aravis hands these back reversed).
        const std::string xml = remote->GetXml();
        size_t previous = 0;
        for (size_t i = 0; i < format->GetNumEntries(); ++i)
        {
            const auto position =
                xml.find("\"" + format->GetEntry(i)->GetSymbolicValue() + "\"", xml.find("Name=\"PixelFormat\""));
            ASSERT_NE(position, std::string::npos);
            EXPECT_GT(position, previous) << format->GetEntry(i)->GetSymbolicValue();
            previous = position;
        }
        EXPECT_EQ(remote->FindNode("TestRegister")->GetType(), NodeType::Integer);
        // An integer computed from others (the Fake's PayloadSize) has no Min, Max or Inc of its own: the full
        // range and a step of one, not an error.
        auto payload = remote->FindNode<IntegerNode>("PayloadSize");
        EXPECT_EQ(payload->GetMinimum(), std::numeric_limits<int64_t>::min());
        EXPECT_EQ(payload->GetMaximum(), std::numeric_limits<int64_t>::max());
        EXPECT_EQ(payload->GetIncrement(), 1);
        EXPECT_GT(payload->GetValue(), 0);
        EXPECT_THROW(remote->FindNode("NoSuchFeature"), NotFoundException);

        auto local = device->GetNodeMap();
        EXPECT_EQ(local->FindNode<StringNode>("DeviceID")->GetValue(), descriptor->GetID());
        EXPECT_EQ(local->FindNode("DeviceAccessStatus")->GetValueAsString(), "OpenReadWrite");

        auto port = device->GetRemoteDevice()->GetPort();
        uint8_t bytes[4];
        EXPECT_THROW(port->Read(0x50001000, bytes, 4), InvalidAddressException);
        EXPECT_THROW(port->Read(0x50000FFE, bytes, 4), InvalidAddressException);
        ASSERT_GE(port->GetNumURLs(), 1u);
        EXPECT_GT(port->GetURL(0)->GetFileSize(), 0u);
        EXPECT_FALSE(port->GetURL(0)->GetFileName().empty());
    }
    EXPECT_EQ(descriptor->GetAccessStatus(), DeviceAccessStatus::ReadWrite);
    EXPECT_EQ(changes, 2);
    EXPECT_NO_THROW(descriptor->OpenDevice(DeviceAccessType::Control));
}

TEST_F(FakeDeviceTest, StreamFiveFrames)
{
    auto device = descriptor->OpenDevice(DeviceAccessType::Control);
    ASSERT_EQ(device->GetNumDataStreams(), 1u);
    auto stream = device->GetDataStream(0)->OpenDataStream();
    EXPECT_EQ(device->GetDataStream(0)->OpenDataStream(), stream);
    auto remote = device->GetRemoteDevice()->GetNodeMap();
    const int64_t payload = remote->FindNode<IntegerNode>("PayloadSize")->GetValue();
    ASSERT_GT(payload, 0);
    std::vector<std::shared_ptr<Buffer>> buffers;
    for (int i = 0; i < 5; ++i)
    {
        buffers.push_back(stream->AllocAndAnnounceBuffer(size_t(payload), reinterpret_cast<void*>(intptr_t(i + 1))));
        stream->QueueBuffer(buffers.back());
    }
    EXPECT_THROW(stream->QueueBuffer(buffers[0]), InvalidArgumentException);
    EXPECT_EQ(stream->GetNodeMap()->FindNode<IntegerNode>("StreamAnnouncedBufferCount")->GetValue(), 5);
    EXPECT_GE(stream->GetNumBuffersAnnouncedMinRequired(), 1u);

    stream->StartAcquisition();
    EXPECT_TRUE(stream->GetIsGrabbing());
    remote->FindNode<CommandNode>("AcquisitionStart")->Execute();
    uint64_t lastFrame = 0;
    for (int i = 0; i < 5; ++i)
    {
        auto buffer = stream->WaitForFinishedBuffer(3000);
        ASSERT_TRUE(buffer);
        EXPECT_FALSE(buffer->GetIsIncomplete());
        EXPECT_TRUE(buffer->GetHasImage());
        EXPECT_EQ(buffer->GetWidth(), uint64_t(remote->FindNode<IntegerNode>("Width")->GetValue()));
        EXPECT_EQ(buffer->GetPixelFormat(), 0x01080001u);
        EXPECT_EQ(buffer->GetSize(), size_t(payload));
        EXPECT_NE(buffer->GetUserPtr(), nullptr);
        EXPECT_EQ(buffer->GetInfo(1000).type, InfoDataType::Int32);
        EXPECT_EQ(buffer->GetInfo(1000).AsInt32(), 0);
        EXPECT_EQ(buffer->GetInfo(1001).AsInt32(), 0);
        if (i > 0)
        {
            EXPECT_GT(buffer->GetFrameID(), lastFrame);
        }
        lastFrame = buffer->GetFrameID();
        stream->QueueBuffer(buffer);
    }
    remote->FindNode<CommandNode>("AcquisitionStop")->Execute();
    stream->StopAcquisition();
    EXPECT_FALSE(stream->GetIsGrabbing());
    EXPECT_GE(stream->GetNodeMap()->FindNode<IntegerNode>("StreamDeliveredFrameCount")->GetValue(), 5);

    EXPECT_THROW(stream->RevokeBuffer(buffers[0]), BadAccessException) << "still queued";
    stream->Flush(FlushMode::DiscardAll);
    for (auto& buffer : buffers)
        stream->RevokeBuffer(buffer);
    EXPECT_EQ(stream->GetNumBuffersAnnounced(), 0u);
}

TEST_F(FakeDeviceTest, WaitTimesOutAndKillWaitEndsAWaitAtOnce)
{
    auto device = descriptor->OpenDevice(DeviceAccessType::Control);
    auto stream = device->GetDataStream(0)->OpenDataStream();
    EXPECT_THROW(stream->WaitForFinishedBuffer(50), TimeoutException);

    auto waiter = std::async(std::launch::async, [&stream] {
        const auto start = std::chrono::steady_clock::now();
        try
        {
            stream->WaitForFinishedBuffer(DataStream::kInfinite);
        }
        catch (const AbortedException&)
        {
            return std::chrono::steady_clock::now() - start;
        }
        return std::chrono::steady_clock::duration::max();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto killed = std::chrono::steady_clock::now();
    stream->KillWait();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(2)), std::future_status::ready) << "KillWait did not end the wait";
    const auto waited = waiter.get();
    EXPECT_NE(waited, std::chrono::steady_clock::duration::max()) << "the wait did not end with AbortedException";
    EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::milliseconds(500));
}

// A stop that lands before the capture loop reaches its wait must still end that wait, once; a new
// acquisition forgets a kill that no wait took.
TEST_F(FakeDeviceTest, KillWaitBeforeTheWaitEndsItAtOnceAndOnlyOnce)
{
    auto device = descriptor->OpenDevice(DeviceAccessType::Control);
    auto stream = device->GetDataStream(0)->OpenDataStream();
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
    if (waiter.wait_for(std::chrono::seconds(2)) != std::future_status::ready)
    {
        stream->KillWait(); // lets the blocked waiter go, so that the failure is reported
        FAIL() << "a KillWait before the wait left it blocked";
    }
    EXPECT_TRUE(waiter.get());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    // Used up: the next wait runs to its time-out.
    EXPECT_THROW(stream->WaitForFinishedBuffer(30), TimeoutException);

    stream->KillWait();
    stream->StartAcquisition();
    EXPECT_THROW(stream->WaitForFinishedBuffer(30), TimeoutException) << "a kill of the run before ended this wait";
    stream->StopAcquisition();
}

TEST_F(FakeDeviceTest, EventControllerTimesOutAndAborts)
{
    auto device = descriptor->OpenDevice(DeviceAccessType::Control);
    auto controller = device->EnableEvents(EventType::ConnectionEvent);
    EXPECT_THROW(controller->WaitForEvent(20), TimeoutException);
    auto waiter = std::async(std::launch::async, [&controller] {
        try
        {
            controller->WaitForEvent(EventController::kInfinite);
        }
        catch (const AbortedException&)
        {
            return true;
        }
        return false;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    controller->KillWait();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(2)), std::future_status::ready);
    EXPECT_TRUE(waiter.get());
}

TEST_F(FakeDeviceTest, ExpiredParentsRaise)
{
    auto weakSystem = std::weak_ptr<System>(system);
    auto descriptorOnly = descriptor;
    iface.reset();
    system.reset();
    producer.reset();
    try
    {
        descriptorOnly->OpenDevice(DeviceAccessType::Control);
        FAIL() << "an expired interface must raise";
    }
    catch (const InternalErrorException& e)
    {
        EXPECT_NE(std::string(e.what()).find("Pointer has expired!"), std::string::npos);
    }
}

} // namespace
