// A producer the discovery tests control: its interfaces and the devices on each are whatever the test puts in
// World() before the next pass; devices open onto the node map fixture; the test can report a transport-level
// disconnect and reconnect. Each load of the producer is counted.
//
// Threads: the lists are read by the manager's update tasks and written by the test under World().mutex.
#pragma once

#include "tests/orna/core/fixture_xml.h"

#include "orna/core/detail/backend.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/localxml.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace discoverytest {

namespace detail = orna::core::detail;

struct TestWorld
{
    std::mutex mutex;
    std::vector<detail::InterfaceInfo> interfaces;
    std::map<std::string, std::vector<detail::DeviceInfo>> devices;                // by interface id
    std::map<std::string, detail::TransportBackend::ConnectionHandler> connection; // by interface id
    std::string tlType = "GEV";
    int listDelayMs = 0;
    std::set<std::string> failingInterfaces;  // ListDevices raises for these, after listDelayMs
    std::set<std::string> lockedIds;          // devices whose lock register reads 1
    std::vector<std::thread::id> openThreads; // the thread of every open, in order
    std::atomic<int> loads{0};
    std::atomic<int> listing{0};
    std::atomic<int> maxConcurrentListing{0};
};

inline TestWorld& World()
{
    static TestWorld world;
    return world;
}

inline detail::InterfaceInfo MakeInterface(const std::string& id)
{
    return {id, "Test interface " + id, World().tlType, 0, 0, 0};
}

inline detail::DeviceInfo MakeDevice(const std::string& id, const std::string& serial,
                                     const std::string& model = "TestCam")
{
    detail::DeviceInfo info;
    info.id = id;
    info.serialNumber = serial;
    info.model = model;
    info.vendor = "Orna";
    info.tlType = "Custom";
    info.displayName = model + " (" + serial + ")";
    return info;
}

class TestDevice : public detail::DeviceBackend
{
public:
    explicit TestDevice(bool locked = false)
    {
        auto bank = orna::core::test::MakeFixtureBank();
        if (locked)
            bank->AddMemory(0x50001000, 4, false, {1, 0, 0, 0});
        m_map = detail::CreateLocalNodeMap(bank, orna::core::test::kFixtureXml);
        m_port = std::make_shared<detail::BankPort>(
            bank, detail::PortUrlInfo{"Local:fixture.xml;0;0", "fixture.xml", 0, 0, "Local"});
    }
    std::shared_ptr<orna::core::NodeMap> RemoteNodeMap() override { return m_map; }
    std::shared_ptr<detail::PortBackend> RemotePort() override { return m_port; }
    std::vector<std::string> StreamIds() override { return {}; }
    std::unique_ptr<detail::StreamBackend> OpenStream(const std::string&) override { return nullptr; }
    void SetConnectionLostHandler(std::function<void()>) override {}

private:
    std::shared_ptr<orna::core::NodeMap> m_map;
    std::shared_ptr<detail::PortBackend> m_port;
};

class TestTransport : public detail::TransportBackend
{
public:
    detail::SystemInfo Describe() const override
    {
        detail::SystemInfo info;
        info.key = "dmtest:";
        info.id = "DmTest";
        info.displayName = "Test producer";
        info.vendor = "Orna";
        std::lock_guard<std::mutex> lock(World().mutex);
        info.tlType = World().tlType;
        return info;
    }
    std::vector<detail::InterfaceInfo> ListInterfaces() override
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        return World().interfaces;
    }
    std::vector<detail::DeviceInfo> ListDevices(const std::string& interfaceId, uint64_t) override
    {
        auto& world = World();
        const int now = ++world.listing;
        int seen = world.maxConcurrentListing.load();
        while (now > seen && !world.maxConcurrentListing.compare_exchange_weak(seen, now))
        {
        }
        int delay = 0;
        bool fail = false;
        std::vector<detail::DeviceInfo> result;
        {
            std::lock_guard<std::mutex> lock(world.mutex);
            delay = world.listDelayMs;
            result = world.devices[interfaceId];
            fail = world.failingInterfaces.count(interfaceId) > 0;
        }
        if (delay > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        --world.listing;
        if (fail)
            throw orna::core::IOException("listing " + interfaceId + " failed");
        return result;
    }
    std::unique_ptr<detail::DeviceBackend> OpenDevice(const std::string&, const detail::DeviceInfo& device,
                                                      orna::core::DeviceAccessType) override
    {
        bool locked = false;
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().openThreads.push_back(std::this_thread::get_id());
            locked = World().lockedIds.count(device.id) > 0;
        }
        return std::make_unique<TestDevice>(locked);
    }
    void SetDeviceConnectionHandler(const std::string& interfaceId, ConnectionHandler handler) override
    {
        // Only the newest load's interface reports; an old interface clearing its handler must not silence it.
        std::lock_guard<std::mutex> lock(World().mutex);
        if (handler)
            World().connection[interfaceId] = std::move(handler);
    }
};

// Registers the producer "dmtest:" and brings the library up with the given transports enabled (by default
// only this one). Call once per process.
inline void InstallTestProducer(const char* transports = "dmtest")
{
    ::setenv("ORNA_TRANSPORTS", transports, 1);
    orna::Library::Initialize();
    detail::TransportProvider provider;
    provider.token = "dmtest";
    provider.enabledByDefault = false;
    provider.keys = [] { return std::vector<std::string>{"dmtest:"}; };
    provider.open = [](const std::string&) {
        ++World().loads;
        return std::make_shared<TestTransport>();
    };
    detail::RegisterTransportProvider(provider);
}

// Reports a transport-level disconnect (connected false) or reconnect of a device. Test thread.
inline void ReportConnection(const std::string& interfaceId, const std::string& deviceId, bool connected)
{
    detail::TransportBackend::ConnectionHandler handler;
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        handler = World().connection[interfaceId];
    }
    if (handler)
        handler(deviceId, connected);
}

} // namespace discoverytest
