// orna::DeviceManager over the test producer: loading, the order of its events, the open-device check of
// Reset, and the counted instance.
#include "test_transport.h"

#include "discovery/devicemanager.h"
#include "orna/core/device.h"
#include "orna/core/exception.h"
#include "orna/core/nodes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

using namespace discoverytest;
using orna::DeviceManager;

namespace {

// Every event in the order it was raised, as "Kind:key".
struct Recorder
{
    explicit Recorder(DeviceManager& m) : manager(m)
    {
        handles[0] = manager.RegisterSystemFound(
            [this](std::shared_ptr<orna::core::System> s) { Add("SystemFound:" + s->GetKey()); });
        handles[1] = manager.RegisterInterfaceFound(
            [this](std::shared_ptr<orna::core::Interface> i) { Add("InterfaceFound:" + i->GetKey()); });
        handles[2] = manager.RegisterInterfaceLost([this](std::string key) { Add("InterfaceLost:" + key); });
        handles[3] = manager.RegisterDeviceFound(
            [this](std::shared_ptr<orna::core::DeviceDescriptor> d) { Add("DeviceFound:" + d->GetKey()); });
        handles[4] = manager.RegisterDeviceLost([this](std::string key) {
            // Subscribers may read the lists from inside a handler: no manager lock is held.
            manager.Devices();
            Add("DeviceLost:" + key);
        });
    }
    ~Recorder()
    {
        manager.UnregisterSystemFound(handles[0]);
        manager.UnregisterInterfaceFound(handles[1]);
        manager.UnregisterInterfaceLost(handles[2]);
        manager.UnregisterDeviceFound(handles[3]);
        manager.UnregisterDeviceLost(handles[4]);
    }
    void Add(const std::string& e)
    {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(e);
    }
    std::vector<std::string> Take()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(events, {});
    }
    DeviceManager& manager;
    DeviceManager::Handle handles[5] = {};
    std::mutex mutex;
    std::vector<std::string> events;
};

class DeviceManagerTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { InstallTestProducer(); }
    void SetUp() override
    {
        {
            std::lock_guard<std::mutex> lock(World().mutex);
            World().interfaces = {MakeInterface("IF0")};
            World().devices.clear();
            World().devices["IF0"] = {MakeDevice("dev-1", "S1")};
            World().failingInterfaces.clear();
            World().listDelayMs = 0;
        }
        DeviceManager::AddReference();
        manager = DeviceManager::Instance();
    }
    void TearDown() override
    {
        manager.reset();
        DeviceManager::ReleaseReference();
    }
    void Pass(std::vector<std::string>* errors = nullptr)
    {
        manager->Update(DeviceManager::UpdatePolicy::NoScan, [errors](const std::string& text) {
            if (errors)
                errors->push_back(text);
        });
    }

    std::shared_ptr<DeviceManager> manager;
};

TEST_F(DeviceManagerTest, ProducerPathLoadsOnceAndUnknownPathIsReported)
{
    Recorder recorder(*manager);
    const int before = World().loads;
    manager->AddProducerLibrary("dmtest:");
    manager->AddProducerLibrary("dmtest:");
    manager->AddProducerLibrary("nowhere:");
    std::vector<std::string> errors;
    Pass(&errors);
    manager->AddProducerLibrary("dmtest:");
    Pass(&errors);

    EXPECT_EQ(World().loads - before, 1);
    ASSERT_EQ(manager->Systems().size(), 1u);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].rfind("[CTI - nowhere:]: ", 0), 0u) << errors[0];
    const std::string ifKey = manager->Interfaces().at(0)->GetKey();
    const std::string devKey = manager->Devices().at(0)->GetKey();
    EXPECT_EQ(recorder.Take(),
              (std::vector<std::string>{"SystemFound:dmtest:", "InterfaceFound:" + ifKey, "DeviceFound:" + devKey}));
}

TEST_F(DeviceManagerTest, DeviceFoundAndLostBetweenTwoPassesRaisesBothInOrder)
{
    manager->AddProducerLibrary("dmtest:");
    Pass();
    Recorder recorder(*manager);
    auto iface = manager->Interfaces().at(0);
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().devices["IF0"].push_back(MakeDevice("dev-2", "S2"));
    }
    iface->UpdateDevices(0);
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().devices["IF0"].pop_back();
    }
    iface->UpdateDevices(0);
    Pass();
    const std::string key = iface->GetKey() + "|dev-2";
    EXPECT_EQ(recorder.Take(), (std::vector<std::string>{"DeviceFound:" + key, "DeviceLost:" + key}));
    ASSERT_EQ(manager->Devices().size(), 1u);
    EXPECT_EQ(manager->Devices()[0]->GetID(), "dev-1");
}

TEST_F(DeviceManagerTest, InterfaceLostIsToldBeforeItsDevices)
{
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().interfaces.push_back(MakeInterface("IF1"));
        World().devices["IF1"] = {MakeDevice("dev-3", "S3")};
    }
    manager->AddProducerLibrary("dmtest:");
    Pass();
    ASSERT_EQ(manager->Interfaces().size(), 2u);
    ASSERT_EQ(manager->Devices().size(), 2u);
    Recorder recorder(*manager);
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().interfaces.pop_back();
        World().devices["IF1"].clear();
    }
    Pass();
    const auto events = recorder.Take();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].rfind("InterfaceLost:", 0), 0u);
    EXPECT_EQ(events[1].rfind("DeviceLost:", 0), 0u);
    EXPECT_NE(events[1].find("dev-3"), std::string::npos);
    EXPECT_EQ(manager->Interfaces().size(), 1u);
    EXPECT_EQ(manager->Devices().size(), 1u);
}

TEST_F(DeviceManagerTest, CardGoneInThePassThatStillFoundACameraLeavesNoStaleDevice)
{
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().devices["IF0"].clear();
    }
    manager->AddProducerLibrary("dmtest:");
    Pass();
    ASSERT_TRUE(manager->Devices().empty());
    Recorder recorder(*manager);
    // The card goes in the pass whose last device update still finds a camera on it.
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().interfaces.clear();
        World().devices["IF0"] = {MakeDevice("dev-1", "S1")};
    }
    Pass();
    EXPECT_TRUE(manager->Devices().empty());
    auto events = recorder.Take();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().rfind("InterfaceLost:", 0), 0u);
    EXPECT_EQ(events.back().rfind("DeviceLost:", 0), 0u);

    // The card comes back with the camera, and then the camera goes: the loss is told and the list is empty,
    // also though a descriptor of the first card (whose interface is gone) had the same key.
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().interfaces = {MakeInterface("IF0")};
    }
    Pass();
    ASSERT_EQ(manager->Devices().size(), 1u);
    recorder.Take();
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().devices["IF0"].clear();
    }
    Pass();
    EXPECT_TRUE(manager->Devices().empty());
    events = recorder.Take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].rfind("DeviceLost:", 0), 0u);
}

TEST_F(DeviceManagerTest, FailureReportsOfParallelUpdatesReachTheCallbackOneAtATime)
{
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().interfaces.clear();
        for (int i = 0; i < 8; ++i)
        {
            World().interfaces.push_back(MakeInterface("IF" + std::to_string(i)));
            World().failingInterfaces.insert("IF" + std::to_string(i));
        }
        World().listDelayMs = 20;
    }
    manager->AddProducerLibrary("dmtest:");
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    std::vector<std::string> errors; // deliberately unguarded: the manager serialises the calls
    manager->Update(DeviceManager::UpdatePolicy::NoScan, [&](const std::string& text) {
        if (++inside > 1)
            overlapped = true;
        errors.push_back(text);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        --inside;
    });
    {
        std::lock_guard<std::mutex> lock(World().mutex);
        World().failingInterfaces.clear();
        World().listDelayMs = 0;
    }
    EXPECT_FALSE(overlapped.load());
    ASSERT_EQ(errors.size(), 8u);
    for (const auto& text : errors)
        EXPECT_EQ(text.rfind("[Interface - IF", 0), 0u) << text;
}

TEST_F(DeviceManagerTest, ResetRefusesWhileADeviceIsOpenAndLeavesTheListsAlone)
{
    manager->AddProducerLibrary("dmtest:");
    Pass();
    auto descriptor = manager->Devices().at(0);
    auto device = descriptor->OpenDevice(orna::core::DeviceAccessType::Control);
    try
    {
        manager->Reset(false);
        FAIL() << "Reset(false) went through with an open device";
    }
    catch (const orna::core::Exception& e)
    {
        EXPECT_STREQ(e.what(), "Can't reset the device manager while there are devices open. The following devices "
                               "(1) are open: dev-1 ");
    }
    EXPECT_EQ(manager->Systems().size(), 1u);
    EXPECT_EQ(manager->Interfaces().size(), 1u);
    EXPECT_EQ(manager->Devices().size(), 1u);

    // Forced: the lists go, the open device keeps working, and the next pass loads and announces again.
    Recorder recorder(*manager);
    const int loads = World().loads;
    manager->Reset(true);
    EXPECT_TRUE(manager->Systems().empty());
    EXPECT_TRUE(manager->Devices().empty());
    auto width = device->GetRemoteDevice()->GetNodeMap()->FindNode<orna::core::nodes::IntegerNode>("Width");
    ASSERT_TRUE(width);
    EXPECT_GT(width->GetValue(), 0);
    manager->AddProducerLibrary("dmtest:");
    Pass();
    EXPECT_EQ(World().loads - loads, 1);
    const auto events = recorder.Take();
    EXPECT_EQ(events.front(), "DeviceLost:" + descriptor->GetKey());
    EXPECT_EQ(std::count(events.begin(), events.end(), "SystemFound:dmtest:"), 1);
    EXPECT_EQ(events.back().rfind("DeviceFound:", 0), 0u);

    // Closed: the check passes.
    device.reset();
    EXPECT_NO_THROW(manager->Reset(false));
}

TEST(DeviceManagerInstance, CountedReferencesAndTheMissingInstance)
{
    EXPECT_THROW(DeviceManager::Instance(), orna::core::NotInitializedException);
    DeviceManager::AddReference();
    DeviceManager::AddReference();
    auto first = DeviceManager::Instance();
    DeviceManager::ReleaseReference();
    EXPECT_EQ(DeviceManager::Instance(), first);
    DeviceManager::ReleaseReference();
    try
    {
        DeviceManager::Instance();
        FAIL() << "no instance expected";
    }
    catch (const orna::core::NotInitializedException& e)
    {
        EXPECT_NE(std::string(e.what()).find("Library is not initialized. Call orna::Library::Initalize() first!"),
                  std::string::npos);
    }
    // The holder keeps its object alive after the last reference went.
    EXPECT_NO_THROW(first->Systems());
}

} // namespace
