// Descriptor helpers over Aravis' in-process Fake interface: real texts, "unknown" and a log line on failure,
// network settings through the interface node map.
#include "camera/devicelib/descriptorhelpers.h"
#include "camera/devicelib/ipconfiguration.h"
#include "common/logmessagesender.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <cstdlib>

namespace {

class DescriptorHelpers : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "fake", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        producer = orna::core::ProducerLibrary::Construct("aravis:Fake");
        system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(500);
        ASSERT_FALSE(iface->GetDevices().empty());
        descriptor = iface->GetDevices()[0];
        QObject::connect(&LogMessageSender::Instance(), &LogMessageSender::Signal_LogOrnaError,
                         [this](QString, QString thread, QString message, int) { logs << thread + " " + message; });
    }
    void TearDown() override { QObject::disconnect(&LogMessageSender::Instance(), nullptr, nullptr, nullptr); }

    std::shared_ptr<orna::core::ProducerLibrary> producer;
    std::shared_ptr<orna::core::System> system;
    std::shared_ptr<orna::core::Interface> iface;
    std::shared_ptr<orna::core::DeviceDescriptor> descriptor;
    QStringList logs;
};

TEST_F(DescriptorHelpers, TextsComeFromTheDescriptorAndItsParents)
{
    EXPECT_EQ(helper::GetModelName(descriptor), "Fake");
    EXPECT_EQ(helper::GetVendorName(descriptor), "Aravis");
    EXPECT_EQ(helper::GetID(descriptor), QString::fromStdString(descriptor->GetID()));
    EXPECT_EQ(helper::GetCameraName(descriptor), QString::fromStdString(descriptor->GetDisplayName()));
    EXPECT_EQ(helper::GetProducer(descriptor), "Aravis");
    EXPECT_EQ(helper::GetCtiPath(descriptor), "aravis:Fake");
    EXPECT_EQ(helper::GetParentInterface(descriptor), "Aravis Fake");
    EXPECT_EQ(helper::GetType(descriptor), "Custom");
    EXPECT_EQ(helper::GetDeviceAccessStatus(descriptor), orna::core::DeviceAccessStatus::ReadWrite);
    EXPECT_TRUE(logs.isEmpty()) << logs.join("\n").toStdString();
}

TEST_F(DescriptorHelpers, FailuresGiveUnknownAndALogLine)
{
    EXPECT_EQ(helper::GetCameraName(nullptr), "unknown");
    ASSERT_EQ(logs.size(), 1);
    EXPECT_TRUE(logs[0].startsWith("QString helper::GetCameraName(std::shared_ptr<DeviceDescriptor>) "));
    EXPECT_EQ(helper::GetDeviceAccessStatus(nullptr), orna::core::DeviceAccessStatus::Unknown);

    // Parents gone: the parent-dependent texts fall back, the descriptor's own still answer.
    iface.reset();
    system.reset();
    producer.reset();
    logs.clear();
    EXPECT_EQ(helper::GetProducer(descriptor), "unknown");
    EXPECT_EQ(helper::GetParentInterface(descriptor), "unknown");
    EXPECT_EQ(helper::GetModelName(descriptor), "Fake");
    ASSERT_EQ(logs.size(), 2);
    EXPECT_TRUE(logs[0].contains("Pointer has expired!"));
}

TEST_F(DescriptorHelpers, NetworkTextsAndSettings)
{
    EXPECT_EQ(camera::ip::AddressText(0xC0A80A01), "192.168.10.1");
    EXPECT_EQ(camera::ip::MacText(0x0030530A0B0Cll), "00:30:53:0A:0B:0C");
    for (auto c : {camera::ip::Configuration::DHCP, camera::ip::Configuration::PersistentIP,
                   camera::ip::Configuration::LinkLocal, camera::ip::Configuration::Invalid})
        EXPECT_EQ(camera::ip::FromString(camera::ip::ToString(c)), c);
    EXPECT_EQ(camera::ip::FromString("static"), camera::ip::Configuration::Invalid);

    // The Fake device is not on a network: its interface map answers zeros, selected by device id.
    camera::ip::IpAddressAndSubnet address;
    address.ipAddress = 1;
    EXPECT_TRUE(camera::ip::GetDeviceIpAndSubnetMask(descriptor, address));
    EXPECT_EQ(address.ipAddress, 0u);
    int64_t mac = -1;
    EXPECT_TRUE(camera::ip::GetDeviceMACAddress(descriptor, mac));
    EXPECT_EQ(mac, 0);
    camera::ip::Configuration configuration = camera::ip::Configuration::DHCP;
    EXPECT_TRUE(camera::ip::GetNetworkConfiguration(descriptor, configuration));
    EXPECT_EQ(configuration, camera::ip::Configuration::Invalid);
    EXPECT_TRUE(camera::ip::GetInterfaceIpAndSubnetMask(iface, address));

    // The Fake camera has no GigE configuration nodes: writing fails cleanly.
    logs.clear();
    EXPECT_FALSE(camera::ip::SetNetworkConfiguration(descriptor, 0xC0A80A02, 0xFFFFFF00,
                                                     camera::ip::Configuration::PersistentIP));
    ASSERT_EQ(logs.size(), 1);
    EXPECT_TRUE(logs[0].startsWith("bool camera::ip::SetNetworkConfiguration("));
    EXPECT_EQ(descriptor->GetAccessStatus(), orna::core::DeviceAccessStatus::ReadWrite) << "closed again";
    EXPECT_FALSE(camera::ip::GetDeviceIpAndSubnetMask(nullptr, address));
}

} // namespace
