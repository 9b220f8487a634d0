// The object layer over a backend of our own (no Aravis): the shape a simulated producer takes. Covers what
// the Aravis transports cannot produce: lost and found between passes, record changes, transport-level
// disconnect and reconnect, remote events, counted acquisition, and loss during a buffer wait.
#include "fixture_xml.h"

#include "orna/core/datastream.h"
#include "orna/core/detail/backend.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/device.h"
#include "orna/core/environmentinspector.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <deque>
#include <future>
#include <thread>

using namespace orna::core;
using namespace orna::core::nodes;

namespace {

class TestBuffer : public detail::BufferBackend
{
public:
    TestBuffer(size_t size, void* memory, void* user)
        : m_storage(memory ? 0 : size), m_data(memory ? static_cast<uint8_t*>(memory) : m_storage.data()), m_size(size),
          m_user(user)
    {
    }
    uint8_t* BasePtr() override { return m_data; }
    size_t Size() const override { return m_size; }
    void* UserPtr() const override { return m_user; }
    size_t ImageOffset() const override { return 0; }
    uint64_t Width() const override { return 4; }
    uint64_t Height() const override { return m_size / 4; }
    uint64_t PixelFormat() const override { return 0x01080001; }
    uint64_t FrameId() const override { return frameId; }
    uint64_t TimestampNs() const override { return frameId * 1000; }
    int32_t PayloadType() const override { return 1; }
    bool HasImage() const override { return true; }
    bool HasChunks() const override { return false; }
    size_t FilledSize() const override { return m_size; }
    detail::BufferStatusInfo Status() const override { return {}; }
    bool ChunksBigEndian() const override { return false; }

    uint64_t frameId = 0;

private:
    std::vector<uint8_t> m_storage;
    uint8_t* m_data;
    size_t m_size;
    void* m_user;
};

// Fills one queued buffer per 5 ms on its own thread while started.
class TestStream : public detail::StreamBackend
{
public:
    ~TestStream() override { Stop(); }
    std::string Id() const override { return "S0"; }
    std::shared_ptr<detail::BufferBackend> Announce(size_t size, void* memory, void* user) override
    {
        return std::make_shared<TestBuffer>(size, memory, user);
    }
    void Revoke(const std::shared_ptr<detail::BufferBackend>&) override {}
    void Queue(const std::shared_ptr<detail::BufferBackend>& buffer) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_input.push_back(buffer);
    }
    std::shared_ptr<detail::BufferBackend> TryPop() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_output.empty())
            return nullptr;
        auto buffer = m_output.front();
        m_output.pop_front();
        return buffer;
    }
    void Flush(FlushMode) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_input.clear();
        m_output.clear();
    }
    void Start() override
    {
        m_running = true;
        m_thread = std::thread([this] {
            uint64_t frame = 0;
            while (m_running)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                std::function<void()> handler;
                {
                    std::lock_guard<std::mutex> lock(m_mutex);
                    if (m_input.empty())
                        continue;
                    auto buffer = m_input.front();
                    m_input.pop_front();
                    static_cast<TestBuffer*>(buffer.get())->frameId = ++frame;
                    std::memcpy(buffer->BasePtr(), &frame, std::min(sizeof frame, buffer->Size()));
                    m_output.push_back(buffer);
                    ++m_delivered;
                    handler = m_handler;
                }
                if (handler)
                    handler();
            }
        });
    }
    void Stop() override
    {
        m_running = false;
        if (m_thread.joinable())
            m_thread.join();
    }
    size_t MinimumBufferCount() const override { return 2; }
    detail::StreamCounters Counters() const override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        detail::StreamCounters counters;
        counters.delivered = m_delivered;
        return counters;
    }
    void SetNewBufferHandler(std::function<void()> handler) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_handler = std::move(handler);
    }

private:
    mutable std::mutex m_mutex;
    std::deque<std::shared_ptr<detail::BufferBackend>> m_input, m_output;
    std::function<void()> m_handler;
    uint64_t m_delivered = 0;
    std::atomic<bool> m_running{false};
    std::thread m_thread;
};

struct DeviceHooks
{
    std::mutex mutex;
    std::function<void()> lost;
    std::function<void(uint64_t, std::vector<uint8_t>)> event;
};

class TestDevice : public detail::DeviceBackend
{
public:
    explicit TestDevice(std::shared_ptr<DeviceHooks> hooks) : m_hooks(std::move(hooks))
    {
        auto bank = test::MakeFixtureBank();
        m_map = detail::CreateLocalNodeMap(bank, test::kFixtureXml);
        m_port = std::make_shared<detail::BankPort>(
            bank, detail::PortUrlInfo{"Local:fixture.xml;0;0", "fixture.xml", 0, 0, "Local"});
    }
    std::shared_ptr<NodeMap> RemoteNodeMap() override { return m_map; }
    std::shared_ptr<detail::PortBackend> RemotePort() override { return m_port; }
    std::vector<std::string> StreamIds() override { return {"S0"}; }
    std::unique_ptr<detail::StreamBackend> OpenStream(const std::string&) override
    {
        return std::make_unique<TestStream>();
    }
    void SetConnectionLostHandler(std::function<void()> handler) override
    {
        std::lock_guard<std::mutex> lock(m_hooks->mutex);
        m_hooks->lost = std::move(handler);
    }
    void SetEventHandler(std::function<void(uint64_t, std::vector<uint8_t>)> handler) override
    {
        std::lock_guard<std::mutex> lock(m_hooks->mutex);
        m_hooks->event = std::move(handler);
    }

private:
    std::shared_ptr<DeviceHooks> m_hooks;
    std::shared_ptr<NodeMap> m_map;
    std::shared_ptr<detail::PortBackend> m_port;
};

// What the test controls: the devices the next pass lists, and the hooks of the open device.
struct TestWorld
{
    std::mutex mutex;
    std::vector<detail::DeviceInfo> devices;
    detail::TransportBackend::ConnectionHandler connection;
    std::shared_ptr<DeviceHooks> hooks = std::make_shared<DeviceHooks>();
};
TestWorld g_world;

class TestTransport : public detail::TransportBackend
{
public:
    detail::SystemInfo Describe() const override
    {
        detail::SystemInfo info;
        info.key = "test:";
        info.id = "Test";
        info.displayName = "Test producer";
        info.vendor = "Orna";
        info.tlType = "Custom";
        return info;
    }
    std::vector<detail::InterfaceInfo> ListInterfaces() override
    {
        return {{"TestIf", "Test interface", "Custom", 0, 0, 0}};
    }
    std::vector<detail::DeviceInfo> ListDevices(const std::string&, uint64_t) override
    {
        std::lock_guard<std::mutex> lock(g_world.mutex);
        return g_world.devices;
    }
    std::unique_ptr<detail::DeviceBackend> OpenDevice(const std::string&, const detail::DeviceInfo&,
                                                      DeviceAccessType) override
    {
        return std::make_unique<TestDevice>(g_world.hooks);
    }
    void SetDeviceConnectionHandler(const std::string&, ConnectionHandler handler) override
    {
        std::lock_guard<std::mutex> lock(g_world.mutex);
        g_world.connection = std::move(handler);
    }
};

detail::DeviceInfo MakeDevice(const std::string& id, const std::string& serial)
{
    detail::DeviceInfo info;
    info.id = id;
    info.serialNumber = serial;
    info.model = "Sim";
    info.vendor = "Orna";
    info.tlType = "Custom";
    info.displayName = "Sim (" + serial + ")";
    return info;
}

class BackendContract : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "test", 1);
        orna::Library::Initialize();
        detail::TransportProvider provider;
        provider.token = "test";
        provider.enabledByDefault = false;
        provider.keys = [] { return std::vector<std::string>{"test:"}; };
        provider.open = [](const std::string&) { return std::make_shared<TestTransport>(); };
        detail::RegisterTransportProvider(provider);
    }
    void SetUp() override
    {
        {
            std::lock_guard<std::mutex> lock(g_world.mutex);
            g_world.devices = {MakeDevice("sim-1", "S1")};
        }
        EnvironmentInspector::UpdateCTIPaths();
        ASSERT_EQ(EnvironmentInspector::GetCTIPaths(), std::vector<std::string>{"test:"});
        producer = ProducerLibrary::Construct("test:");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(0);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(0);
        ASSERT_EQ(iface->GetDevices().size(), 1u);
    }

    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    std::shared_ptr<Interface> iface;
};

TEST_F(BackendContract, FoundLostAndChangedAreDifferencesBetweenPasses)
{
    std::vector<std::string> found, lost;
    int listChanged = 0;
    iface->RegisterDeviceFoundCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d) { found.push_back(d->GetID()); });
    iface->RegisterDeviceLostCallback([&](const std::shared_ptr<DeviceDescriptor>& d) { lost.push_back(d->GetID()); });
    iface->RegisterDeviceListChangedCallback([&] { ++listChanged; });
    auto first = iface->FindDevice("sim-1");
    int infoChanged = 0;
    first->RegisterInformationChangedCallback([&](const std::shared_ptr<DeviceDescriptor>&) { ++infoChanged; });

    EXPECT_FALSE(iface->UpdateDevices(0));
    EXPECT_EQ(listChanged, 0);
    {
        std::lock_guard<std::mutex> lock(g_world.mutex);
        g_world.devices = {MakeDevice("sim-2", "S2")};
    }
    EXPECT_TRUE(iface->UpdateDevices(0));
    EXPECT_EQ(found, std::vector<std::string>{"sim-2"});
    EXPECT_EQ(lost, std::vector<std::string>{"sim-1"});
    EXPECT_EQ(listChanged, 1);
    EXPECT_EQ(infoChanged, 1) << "a lost device reports its change";
    EXPECT_FALSE(first->GetIsOpenable(DeviceAccessType::Control));
    EXPECT_THROW(first->OpenDevice(DeviceAccessType::Control), NotAvailableException);

    auto second = iface->FindDevice("sim-2");
    int secondChanged = 0;
    second->RegisterInformationChangedCallback([&](const std::shared_ptr<DeviceDescriptor>&) { ++secondChanged; });
    {
        std::lock_guard<std::mutex> lock(g_world.mutex);
        g_world.devices[0].userDefinedName = "left";
    }
    EXPECT_FALSE(iface->UpdateDevices(0));
    EXPECT_EQ(secondChanged, 1);
    EXPECT_EQ(second->GetUserDefinedName(), "left");
    EXPECT_EQ(listChanged, 2);
}

TEST_F(BackendContract, TransportReconnectAndRemoteEventsReachTheirListeners)
{
    std::vector<std::string> seen;
    iface->RegisterDeviceDisconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d) { seen.push_back("off " + d->GetID()); });
    iface->RegisterDeviceReconnectedCallback(
        [&](const std::shared_ptr<DeviceDescriptor>& d, const DeviceReconnectInformation& info) {
            seen.push_back(std::string("on ") + d->GetID() + (info.remoteNodeMapNeedsRefresh ? " refresh" : ""));
        });
    detail::TransportBackend::ConnectionHandler connection;
    {
        std::lock_guard<std::mutex> lock(g_world.mutex);
        connection = g_world.connection;
    }
    ASSERT_TRUE(connection);
    connection("sim-1", false);
    connection("sim-1", true);
    connection("unknown", false);
    EXPECT_EQ(seen, (std::vector<std::string>{"off sim-1", "on sim-1 refresh"}));

    auto device = iface->FindDevice("sim-1")->OpenDevice(DeviceAccessType::Control);
    EXPECT_EQ(device->GetRemoteDevice()->GetNodeMap()->FindNode<IntegerNode>("Width")->GetValue(), 640);
    auto events = device->EnableEvents(EventType::RemoteDevice);
    std::function<void(uint64_t, std::vector<uint8_t>)> push;
    {
        std::lock_guard<std::mutex> lock(g_world.hooks->mutex);
        push = g_world.hooks->event;
    }
    ASSERT_TRUE(push);
    std::thread([push] { push(37139, {1, 2, 3}); }).join();
    auto event = events->WaitForEvent(1000);
    EXPECT_EQ(event->GetType(), EventType::RemoteDevice);
    EXPECT_EQ(event->GetID(), 37139u);
    EXPECT_EQ(event->GetData(), (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(BackendContract, CountedAcquisitionAndLossDuringAWait)
{
    auto device = iface->FindDevice("sim-1")->OpenDevice(DeviceAccessType::Control);
    auto stream = device->GetDataStream(0)->OpenDataStream();
    EXPECT_EQ(stream->GetNumBuffersAnnouncedMinRequired(), 2u);
    EXPECT_EQ(stream->GetNodeMap()->FindNode<IntegerNode>("StreamAnnounceBufferMinimum")->GetValue(), 2);
    std::vector<uint8_t> external(64);
    auto own = stream->AnnounceBuffer(external.data(), external.size(), nullptr);
    EXPECT_EQ(own->GetBasePtr(), external.data());
    auto allocated = stream->AllocAndAnnounceBuffer(64, nullptr);
    stream->QueueBuffer(own);
    stream->QueueBuffer(allocated);
    EXPECT_THROW(stream->AllocAndAnnounceBuffer(0, nullptr), InvalidArgumentException);
    EXPECT_THROW(stream->QueueBuffer(nullptr), orna::core::NullArgumentError);

    stream->StartAcquisition(AcquisitionStartMode::Default, 3);
    EXPECT_THROW(stream->StartAcquisition(), BadAccessException);
    uint64_t last = 0;
    for (int i = 0; i < 3; ++i)
    {
        auto buffer = stream->WaitForFinishedBuffer(1000);
        EXPECT_GT(buffer->GetFrameID(), last);
        last = buffer->GetFrameID();
        uint64_t stamped = 0;
        std::memcpy(&stamped, buffer->GetBasePtr(), sizeof stamped);
        EXPECT_EQ(stamped, last) << "the payload is the frame the transport filled";
        stream->QueueBuffer(buffer);
    }
    EXPECT_FALSE(stream->GetIsGrabbing()) << "a counted acquisition ends after its frames";
    stream->StopAcquisition();
    stream->Flush(FlushMode::DiscardAll);

    // Loss while the capture thread waits: the wait ends with IOException, a connection event is queued,
    // and the stream refuses to start again.
    stream->StartAcquisition();
    auto events = device->EnableEvents(EventType::ConnectionEvent);
    auto waiter = std::async(std::launch::async, [&stream] {
        try
        {
            stream->WaitForFinishedBuffer(DataStream::kInfinite);
        }
        catch (const IOException&)
        {
            return true;
        }
        return false;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::function<void()> lose;
    {
        std::lock_guard<std::mutex> lock(g_world.hooks->mutex);
        lose = g_world.hooks->lost;
    }
    ASSERT_TRUE(lose);
    std::thread(lose).join();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(2)), std::future_status::ready);
    EXPECT_TRUE(waiter.get());
    EXPECT_EQ(events->WaitForEvent(100)->GetData().at(0), uint8_t(ConnectionState::Disconnected));
    EXPECT_TRUE(device->GetIsLost());
    stream->StopAcquisition();
    EXPECT_THROW(stream->StartAcquisition(), IOException);
}

} // namespace
