// Register access by address and the password protection probe, on simulated cameras (a locked and an open
// one) and on Aravis' in-process fake camera, whose lock register must never reach Aravis.
#include "camera/cameraregisters.h"
#include "camera/passwordprotectionhandler.h"
#include "common/logmessagesender.h"
#include "simdescriptors.h"

#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simregistry.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <cstdlib>

namespace {

class CameraRegisters : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "fake,sim", 1);
        ::setenv(orna::core::sim::kSimCamerasEnvironmentVariable, "color,locked", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError,
                         [this](QString, QString thread, QString message, int) { logs << thread + " " + message; });
        if (!sim.Open("sim:"))
            GTEST_SKIP() << "the sim: producer is not offered";
    }
    void TearDown() override { QObject::disconnect(&LogMessageSender::Instance(), nullptr, nullptr, nullptr); }

    testcams::Transport sim;
    QStringList logs;
};

TEST_F(CameraRegisters, LockRegisterTellsLockedFromOpenCameras)
{
    auto lockedDescriptor = sim.BySerial("LVSL00001");
    auto openDescriptor = sim.BySerial("LVSC00001");
    ASSERT_TRUE(lockedDescriptor && openDescriptor);

    auto locked = lockedDescriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
    ASSERT_TRUE(camera::RegisterReadable(locked, camera::kLockRegisterAddress, 4));
    bool ok = false;
    auto bytes = camera::RegisterRead(locked, camera::kLockRegisterAddress, 4, &ok);
    EXPECT_TRUE(ok);
    ASSERT_EQ(bytes.size(), 4u);
    EXPECT_EQ(bytes[0], 1);

    auto open = openDescriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
    ok = false;
    bytes = camera::RegisterRead(open, camera::kLockRegisterAddress, 4, &ok);
    if (ok)
    {
        ASSERT_EQ(bytes.size(), 4u);
        EXPECT_NE(bytes[0], 1);
    }
    locked.reset();
    open.reset();

    // The handler opens read-only for a moment and leaves the camera free for a control open.
    EXPECT_TRUE(PasswordProtectionHandler(lockedDescriptor).IsPasswordProtected());
    EXPECT_FALSE(PasswordProtectionHandler(openDescriptor).IsPasswordProtected());
    EXPECT_EQ(openDescriptor->GetAccessStatus(), orna::core::DeviceAccessStatus::ReadWrite);
    auto control = openDescriptor->OpenDevice(orna::core::DeviceAccessType::Control);
    EXPECT_TRUE(control);
}

TEST_F(CameraRegisters, WriteReadsBackAndRefusedAccessIsReportedNotThrown)
{
    auto device = sim.BySerial("LVSC00001")->OpenDevice(orna::core::DeviceAccessType::Control);
    auto map = device->GetRemoteDevice()->GetNodeMap();
    auto userId = map->FindNode<orna::core::nodes::StringNode>("DeviceUserID");
    userId->SetValue("xyz");
    bool ok = false;
    const uint64_t address = orna::core::sim::reg::DeviceUserID;
    camera::RegisterWriteUint32(device, address, 0x00636261u, &ok); // "abc\0", little-endian
    EXPECT_TRUE(ok);
    EXPECT_EQ(userId->GetValue(), "abc");
    auto bytes = camera::RegisterRead(device, address, 4, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{'a', 'b', 'c', 0}));
    EXPECT_TRUE(logs.isEmpty()) << logs.join("\n").toStdString();

    // Far outside the camera's register space: refused, logged, never thrown.
    EXPECT_FALSE(camera::RegisterReadable(device, 0x7FFFFFF00000ull, 4));
    bytes = camera::RegisterRead(device, 0x7FFFFFF00000ull, 4, &ok);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(logs.size(), 1);
    EXPECT_FALSE(camera::RegisterReadable(nullptr, camera::kLockRegisterAddress, 4));
    camera::RegisterWriteUint32(nullptr, camera::kLockRegisterAddress, 0, &ok);
    EXPECT_FALSE(ok);
}

TEST_F(CameraRegisters, AravisFakeLockRegisterIsNeverTouched)
{
    testcams::Transport fake;
    if (!fake.Open("aravis:Fake") || !fake.First())
        GTEST_SKIP() << "Aravis' Fake interface is not offered";
    auto descriptor = fake.First();
    {
        auto device = descriptor->OpenDevice(orna::core::DeviceAccessType::ReadOnly);
        EXPECT_FALSE(camera::RegisterReadable(device, camera::kLockRegisterAddress, 4));
        bool ok = true;
        EXPECT_TRUE(camera::RegisterRead(device, camera::kLockRegisterAddress, 4, &ok).empty());
        EXPECT_FALSE(ok);
        camera::RegisterWriteUint32(device, camera::kLockRegisterAddress, 1, &ok);
        EXPECT_FALSE(ok);
    }
    EXPECT_FALSE(PasswordProtectionHandler(descriptor).IsPasswordProtected());
    EXPECT_EQ(descriptor->GetAccessStatus(), orna::core::DeviceAccessStatus::ReadWrite);
}

TEST_F(CameraRegisters, HandlerOfACameraThatCannotBeOpenedLogsAndSaysUnlocked)
{
    auto descriptor = sim.BySerial("LVSL00001");
    ASSERT_TRUE(descriptor);
    auto holder = descriptor->OpenDevice(orna::core::DeviceAccessType::Control);
    logs.clear();
    EXPECT_FALSE(PasswordProtectionHandler(descriptor).IsPasswordProtected());
    ASSERT_EQ(logs.size(), 1);
    EXPECT_TRUE(logs.front().startsWith("PasswordProtectionHandler::PasswordProtectionHandler("))
        << logs.front().toStdString();
    EXPECT_TRUE(PasswordProtectionHandler(nullptr).IsPasswordProtected() == false);
}

} // namespace
