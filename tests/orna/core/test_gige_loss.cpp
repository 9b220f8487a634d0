// Loss and return of a GigE camera (labels "gige" and "slow": Aravis notices a loss after about six seconds).
// Killing the camera during acquisition must raise the connection event and end a blocked buffer wait with an
// exception; the restarted camera must be discovered again and reopen.
#include "gige_fixture.h"

#include "orna/core/datastream.h"
#include "orna/core/exception.h"

#include <future>

using namespace orna::core;
using namespace orna::core::nodes;

TEST(GigELoss, KilledCameraIsReportedAndFoundAgain)
{
    const std::string skip = test::GigESkipReason();
    if (!skip.empty())
        GTEST_SKIP() << skip;
    ::setenv("ORNA_TRANSPORTS", "gev", 1);
    orna::Library::Initialize();

    test::FakeGvCamera camera("127.0.0.2", "GV02");
    ASSERT_TRUE(camera.Start());
    std::shared_ptr<ProducerLibrary> producer;
    std::shared_ptr<System> system;
    auto iface = test::OpenLoopbackInterface(producer, system);
    ASSERT_TRUE(iface);
    auto descriptor = test::WaitForDevice(iface, "GV02", std::chrono::seconds(15));
    ASSERT_TRUE(descriptor);
    const std::string key = descriptor->GetKey();
    int lostCallbacks = 0;
    iface->RegisterDeviceLostCallback([&](const std::shared_ptr<DeviceDescriptor>& lost) {
        if (lost->GetKey() == key)
            ++lostCallbacks;
    });

    {
        auto device = descriptor->OpenDevice(DeviceAccessType::Control);
        auto events = device->EnableEvents(EventType::ConnectionEvent);
        auto remote = device->GetRemoteDevice()->GetNodeMap();
        auto stream = device->GetDataStream(0)->OpenDataStream();
        const auto payload = size_t(remote->FindNode<IntegerNode>("PayloadSize")->GetValue());
        for (int i = 0; i < 3; ++i)
            stream->QueueBuffer(stream->AllocAndAnnounceBuffer(payload, nullptr));
        stream->StartAcquisition();
        remote->FindNode<CommandNode>("AcquisitionStart")->Execute();
        stream->QueueBuffer(stream->WaitForFinishedBuffer(3000));

        auto waiter = std::async(std::launch::async, [&stream] {
            try
            {
                for (;;)
                    stream->QueueBuffer(stream->WaitForFinishedBuffer(DataStream::kInfinite));
            }
            catch (const IOException&)
            {
                return std::string("lost");
            }
            catch (const std::exception& e)
            {
                return std::string(e.what());
            }
        });
        camera.Kill();
        ASSERT_EQ(waiter.wait_for(std::chrono::seconds(20)), std::future_status::ready)
            << "the buffer wait hangs after the camera died";
        EXPECT_EQ(waiter.get(), "lost");
        auto event = events->WaitForEvent(1000);
        EXPECT_EQ(event->GetType(), EventType::ConnectionEvent);
        ASSERT_FALSE(event->GetData().empty());
        EXPECT_EQ(event->GetData()[0], uint8_t(ConnectionState::Disconnected));
        EXPECT_TRUE(device->GetIsLost());
        stream->KillWait();
    }

    EXPECT_TRUE(test::WaitForDeviceGone(iface, "GV02", std::chrono::seconds(10)));
    EXPECT_EQ(lostCallbacks, 1);

    test::FakeGvCamera again("127.0.0.2", "GV02");
    ASSERT_TRUE(again.Start());
    auto returned = test::WaitForDevice(iface, "GV02", std::chrono::seconds(15));
    ASSERT_TRUE(returned) << "the restarted camera was not found again";
    EXPECT_EQ(returned->GetKey(), key);
    auto reopened = returned->OpenDevice(DeviceAccessType::Control);
    EXPECT_GT(reopened->GetRemoteDevice()->GetNodeMap()->FindNode<IntegerNode>("Width")->GetValue(), 0);
}
