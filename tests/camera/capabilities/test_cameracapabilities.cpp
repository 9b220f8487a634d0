// The capability rules over node maps: files in camera memory on a simulated camera (byte-exact round trip,
// a write that fails after open still closes the file), trigger modes saved and restored, probes of entries
// that are listed but not available (a hand-made map), and the XML description read through each port.
#include "../openworker/simdescriptors.h"
#include "camera/cameracapabilities.h"

#include "orna/core/detail/localnodemap.h"
#include "orna/core/exception.h"
#include "orna/core/sim/simregistry.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace orna::core;

namespace {

class CameraCapabilities : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ::setenv("ORNA_TRANSPORTS", "fake,sim", 1);
        ::setenv(sim::kSimCamerasEnvironmentVariable, "color", 1);
        orna::Library::Initialize();
    }
    void SetUp() override
    {
        if (!sim.Open("sim:") || !sim.First())
            GTEST_SKIP() << "the sim: producer is not offered";
        device = sim.First()->OpenDevice(DeviceAccessType::Control);
        map = device->GetRemoteDevice()->GetNodeMap();
    }

    std::vector<uint8_t> Pattern(size_t size)
    {
        std::vector<uint8_t> bytes(size);
        for (size_t i = 0; i < size; ++i)
            bytes[i] = uint8_t((i * 131 + 7) ^ (i >> 8));
        return bytes;
    }

    testcams::Transport sim;
    std::shared_ptr<Device> device;
    std::shared_ptr<NodeMap> map;
};

TEST_F(CameraCapabilities, FileWrittenToTheCameraReadsBackByteForByte)
{
    // Not a multiple of the 1 KiB block, so the last block is partial; the sizes reported follow each block.
    const auto data = Pattern(5 * 1024 + 321);
    std::string error;
    int64_t done = -1;
    std::vector<std::pair<int64_t, int64_t>> steps;
    ASSERT_TRUE(camera::WriteCameraFile(map, "UserData", data, error, done, [&](int64_t d, int64_t t) {
        steps.emplace_back(d, t);
    })) << error;
    EXPECT_EQ(done, int64_t(data.size()));
    ASSERT_EQ(steps.size(), 6u);
    EXPECT_EQ(steps.front(), std::make_pair(int64_t(1024), int64_t(data.size())));
    EXPECT_EQ(steps.back(), std::make_pair(int64_t(data.size()), int64_t(data.size())));

    std::vector<uint8_t> back;
    ASSERT_TRUE(camera::ReadCameraFile(map, "UserData", back, error, done)) << error;
    EXPECT_EQ(done, int64_t(data.size()));
    EXPECT_EQ(back, data);

    // An empty write leaves an empty file; delete empties it as well.
    ASSERT_TRUE(camera::WriteCameraFile(map, "UserData", {}, error, done)) << error;
    ASSERT_TRUE(camera::ReadCameraFile(map, "UserData", back, error, done)) << error;
    EXPECT_TRUE(back.empty());
    ASSERT_TRUE(camera::WriteCameraFile(map, "UserData", Pattern(10), error, done)) << error;
    ASSERT_TRUE(camera::DeleteCameraFile(map, "UserData", error)) << error;
    ASSERT_TRUE(camera::ReadCameraFile(map, "UserData", back, error, done)) << error;
    EXPECT_TRUE(back.empty());
}

TEST_F(CameraCapabilities, FailingWriteStillClosesTheFile)
{
    // The camera keeps at most 64 KiB a file: the write fails at that offset, after the open.
    const auto data = Pattern(64 * 1024 + 2048);
    std::string error;
    int64_t done = 0;
    EXPECT_FALSE(camera::WriteCameraFile(map, "UserData", data, error, done));
    EXPECT_EQ(error, "Failure");
    EXPECT_EQ(done, 64 * 1024);
    // A file left open would refuse the next open and the delete.
    EXPECT_TRUE(camera::DeleteCameraFile(map, "UserData", error)) << error;
    std::vector<uint8_t> back;
    EXPECT_TRUE(camera::ReadCameraFile(map, "UserData", back, error, done)) << error;

    // Reading the write-only firmware file fails at open: nothing to close, a clear error.
    EXPECT_FALSE(camera::ReadCameraFile(map, "Firmware", back, error, done));
    EXPECT_NE(error.find("Opening Firmware failed"), std::string::npos) << error;
    // An unknown file name fails without touching the camera's file state.
    EXPECT_FALSE(camera::ReadCameraFile(map, "NoSuchFile", back, error, done));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(camera::WriteCameraFile(nullptr, "UserData", data, error, done));
}

TEST_F(CameraCapabilities, TriggerModesAreSwitchedOffAndRestored)
{
    auto selector = map->FindNode<nodes::EnumerationNode>("TriggerSelector");
    auto mode = map->FindNode<nodes::EnumerationNode>("TriggerMode");
    selector->SetCurrentEntryBySymbolicValue("AcquisitionStart");
    mode->SetCurrentEntryBySymbolicValue("On");
    selector->SetCurrentEntryBySymbolicValue("FrameStart");
    mode->SetCurrentEntryBySymbolicValue("Off");

    std::vector<camera::SavedTriggerMode> saved;
    camera::SaveAndResetTriggerModes(map, saved);
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(selector->GetValueAsString(), "FrameStart"); // the selection is left as found
    for (const auto& row : saved)
    {
        selector->SetCurrentEntryBySymbolicValue(row.selector);
        EXPECT_EQ(mode->GetValueAsString(), "Off") << row.selector;
        EXPECT_EQ(row.mode, row.selector == "AcquisitionStart" ? "On" : "Off");
    }

    std::string error;
    EXPECT_TRUE(camera::RestoreTriggerModes(map, saved, error)) << error;
    EXPECT_TRUE(saved.empty());
    selector->SetCurrentEntryBySymbolicValue("AcquisitionStart");
    EXPECT_EQ(mode->GetValueAsString(), "On");

    // A bad row does not stop the rows after it.
    saved = {{"NoSuchSelector", "On"}, {"AcquisitionStart", "Off"}};
    EXPECT_FALSE(camera::RestoreTriggerModes(map, saved, error));
    EXPECT_NE(error.find("NoSuchSelector"), std::string::npos);
    EXPECT_EQ(mode->GetValueAsString(), "Off");
}

TEST_F(CameraCapabilities, ProbesOnTheSimulatedCamera)
{
    EXPECT_TRUE(camera::IsNodeAccessible(map, "GainSelector"));
    EXPECT_FALSE(camera::IsNodeAccessible(map, "NoSuchNode"));
    EXPECT_FALSE(camera::IsNodeAccessible(nullptr, "GainSelector"));
    EXPECT_TRUE(camera::IsNodeWritable(map, "UserSetLoad"));
    EXPECT_FALSE(camera::IsNodeWritable(map, "DeviceModelName"));
    EXPECT_TRUE(camera::HasEnumerationEntry(map, "GainSelector", "AnalogAll", true));
    EXPECT_FALSE(camera::HasEnumerationEntry(map, "GainSelector", "Sparkle", false));
    EXPECT_FALSE(camera::HasEnumerationEntry(map, "NoSuchNode", "AnalogAll", false));
    const auto files = camera::AccessibleEntries(map, "FileSelector");
    EXPECT_NE(std::find(files.begin(), files.end(), "UserData"), files.end());
    EXPECT_THROW(camera::AccessibleEntries(map, "NoSuchNode"), std::exception);
    EXPECT_TRUE(camera::IsColorPixelFormatName("BayerRG12p"));
    EXPECT_TRUE(camera::IsColorPixelFormatName("RGB8"));
    EXPECT_TRUE(camera::IsColorPixelFormatName("BGRa8"));
    EXPECT_FALSE(camera::IsColorPixelFormatName("Mono12"));
}

TEST_F(CameraCapabilities, XmlOfEveryModuleThroughItsPort)
{
    std::string name;
    std::vector<uint8_t> content;
    camera::ReadXmlThroughPort(device->GetRemoteDevice()->GetPort(), name, content);
    EXPECT_NE(name, "unknown");
    ASSERT_FALSE(content.empty());
    const std::string text(content.begin(), content.end());
    EXPECT_NE(text.find("RegisterDescription"), std::string::npos);
    EXPECT_EQ(text, map->GetXml());

    // The local maps of device, interface and system describe themselves the same way.
    for (auto port : {device->GetPort(), device->GetParentInterface()->GetPort(), device->GetParentSystem()->GetPort()})
    {
        camera::ReadXmlThroughPort(port, name, content);
        EXPECT_FALSE(content.empty()) << name;
    }
    EXPECT_THROW(camera::ReadXmlThroughPort(nullptr, name, content), std::exception);

    testcams::Transport fake;
    if (!fake.Open("aravis:Fake") || !fake.First())
        GTEST_SKIP() << "Aravis' Fake interface is not offered";
    auto fakeDevice = fake.First()->OpenDevice(DeviceAccessType::Control);
    camera::ReadXmlThroughPort(fakeDevice->GetRemoteDevice()->GetPort(), name, content);
    ASSERT_FALSE(content.empty()) << name;
    EXPECT_NE(std::string(content.begin(), content.end()).find("RegisterDescription"), std::string::npos);
}

// A listed entry whose pIsAvailable says no is not a gain the camera has now.
TEST(CameraCapabilitiesMap, ListedButUnavailableEntryIsNotOffered)
{
    const char* xml = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Probe" VendorName="Orna" ToolTip="" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard"><pFeature>GainSelector</pFeature></Category>
  <Enumeration Name="GainSelector" NameSpace="Standard">
    <EnumEntry Name="AnalogAll"><Value>0</Value></EnumEntry>
    <EnumEntry Name="DigitalRed"><pIsAvailable>ColorNow</pIsAvailable><Value>1</Value></EnumEntry>
    <pValue>GainSelectorReg</pValue>
  </Enumeration>
  <IntReg Name="GainSelectorReg" NameSpace="Custom">
    <Address>0x0</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="ColorNow" NameSpace="Custom"><Value>0</Value></Integer>
  <Port Name="Device" NameSpace="Standard"></Port>
</RegisterDescription>
)";
    orna::Library::Initialize();
    auto bank = std::make_shared<detail::RegisterBank>();
    bank->AddMemory(0x0, 4);
    auto map = detail::CreateLocalNodeMap(bank, xml);
    EXPECT_TRUE(camera::HasEnumerationEntry(map, "GainSelector", "DigitalRed", false));
    EXPECT_FALSE(camera::HasEnumerationEntry(map, "GainSelector", "DigitalRed", true));
    EXPECT_TRUE(camera::HasEnumerationEntry(map, "GainSelector", "AnalogAll", true));
    EXPECT_EQ(camera::AccessibleEntries(map, "GainSelector"), std::vector<std::string>{"AnalogAll"});
}

} // namespace
