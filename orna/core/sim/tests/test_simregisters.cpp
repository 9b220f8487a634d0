// Register-level behaviour of the simulated camera: what reads and writes at the register map's addresses
// do, without the acquisition thread.

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregisters.h"
#include "simtesthelpers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace orna::core::sim;
using namespace simtest;

class SimRegisters : public ::testing::Test
{
protected:
    SimCamera cam{Config("color", "REGTEST-1")};
};

TEST_F(SimRegisters, AccessErrorsForUnmappedReadOnlyAndStraddlingAccesses)
{
    uint32_t v = 0;
    EXPECT_FALSE(cam.ReadMemory(0x9000, &v, 4)) << "unmapped";
    EXPECT_FALSE(WriteU32(cam, reg::SensorWidth, 640)) << "read-only";
    EXPECT_FALSE(WriteU32(cam, reg::PayloadSize, 1)) << "read-only";
    EXPECT_FALSE(cam.ReadMemory(reg::Width + 2, &v, 4)) << "crosses into the next register";
    EXPECT_TRUE(cam.ReadMemory(reg::DeviceModelName + 4, &v, 4)) << "a part of one register is fine";
    EXPECT_EQ(ReadStr(cam, reg::DeviceSerialNumber), "REGTEST-1");
    EXPECT_EQ(ReadStr(cam, reg::DeviceVendorName), cam.VendorName());
    EXPECT_EQ(ReadU32(cam, reg::DeviceBootStatus), val::BootOK);
}

TEST_F(SimRegisters, PayloadSizeFollowsSizeFormatBinningDecimationAndChunks)
{
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 1920u * 1200);
    ASSERT_TRUE(WriteU32(cam, reg::Width, 1280));
    ASSERT_TRUE(WriteU32(cam, reg::Height, 720));
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 1280u * 720);
    const struct
    {
        uint32_t format;
        size_t bytes;
    } formats[] = {{pfnc::BayerRG12, 1280u * 720 * 2},
                   {pfnc::BayerRG12p, 1280u * 720 * 3 / 2},
                   {pfnc::BayerRG10p, 1280u * 720 * 5 / 4},
                   {pfnc::BayerRG10g40, 1280u * 720 * 5 / 4},
                   {pfnc::BayerRG12g24, 1280u * 720 * 3 / 2},
                   {pfnc::RGB8, 1280u * 720 * 3},
                   {pfnc::BGRa8, 1280u * 720 * 4},
                   {pfnc::BayerRG8, 1280u * 720}};
    for (const auto& f : formats)
    {
        ASSERT_TRUE(WriteU32(cam, reg::PixelFormat, f.format)) << std::hex << f.format;
        EXPECT_EQ(ReadU32(cam, reg::PayloadSize), f.bytes) << std::hex << f.format;
    }
    // Binning by 2 halves the maximum; the width is pulled in, the height still fits.
    ASSERT_TRUE(WriteU32(cam, reg::BinningHorizontal, 2));
    EXPECT_EQ(ReadU32(cam, reg::WidthMax), 960u);
    EXPECT_EQ(ReadU32(cam, reg::Width), 960u);
    // Decimation in the second engine multiplies with the first.
    ASSERT_TRUE(WriteU32(cam, reg::DecimationVertical + reg::kSelectorStride, 4));
    EXPECT_EQ(ReadU32(cam, reg::HeightMax), 300u);
    EXPECT_EQ(ReadU32(cam, reg::Height), 300u);
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 960u * 300);
    // Chunks: the image trailer plus data and trailer of each enabled chunk.
    ASSERT_TRUE(WriteU32(cam, reg::ChunkModeActive, 1));
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 960u * 300 + 8);
    ASSERT_TRUE(WriteU32(cam, reg::ChunkEnable + 4 * val::ChunkTimestamp, 1));
    ASSERT_TRUE(WriteU32(cam, reg::ChunkEnable + 4 * val::ChunkUsableROI, 1));
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 960u * 300 + 8 + 16 + 16 + 8);
    // Several images per buffer.
    ASSERT_TRUE(WriteU32(cam, reg::ChunkModeActive, 0));
    ASSERT_TRUE(WriteU32(cam, reg::ImageBufferMode, val::MultiImage));
    ASSERT_TRUE(WriteU32(cam, reg::ImageBufferImageCount, 3));
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 3u * 960 * 300);
}

TEST_F(SimRegisters, SizeWritesAreCheckedAgainstRangesAndIncrements)
{
    EXPECT_FALSE(WriteU32(cam, reg::Width, 1282)) << "width increment is 4";
    EXPECT_FALSE(WriteU32(cam, reg::Width, 32)) << "below the minimum";
    EXPECT_FALSE(WriteU32(cam, reg::OffsetX, 4)) << "full width leaves no room for an offset";
    ASSERT_TRUE(WriteU32(cam, reg::Width, 1000));
    EXPECT_TRUE(WriteU32(cam, reg::OffsetX, 920));
    EXPECT_FALSE(WriteU32(cam, reg::OffsetX, 924));
    EXPECT_FALSE(WriteU32(cam, reg::Width, 1004)) << "offset + width beyond the maximum";
    EXPECT_FALSE(WriteU32(cam, reg::BinningHorizontal, 5));
    EXPECT_FALSE(WriteU32(cam, reg::PixelFormat, pfnc::Mono10)) << "not offered by the colour model";
    EXPECT_FALSE(WriteF64(cam, reg::ExposureTime, 5.0));
    EXPECT_FALSE(WriteF64(cam, reg::BalanceRatio, 100.0));
    EXPECT_FALSE(WriteU32(cam, reg::AcquisitionMode, 7)) << "not an entry";
    // A smaller sensor-side maximum moves the offset back so the region stays inside.
    ASSERT_TRUE(WriteU32(cam, reg::BinningHorizontal, 2));
    EXPECT_EQ(ReadU32(cam, reg::Width), 960u);
    EXPECT_EQ(ReadU32(cam, reg::OffsetX), 0u);
}

TEST_F(SimRegisters, TLParamsLockedRejectsSizeWritesOnly)
{
    ASSERT_TRUE(WriteU32(cam, reg::Width, 1024));
    ASSERT_TRUE(WriteU32(cam, reg::TLParamsLocked, 1));
    EXPECT_FALSE(WriteU32(cam, reg::Width, 640));
    EXPECT_FALSE(WriteU32(cam, reg::Height, 480));
    EXPECT_FALSE(WriteU32(cam, reg::PixelFormat, pfnc::BayerRG12));
    EXPECT_FALSE(WriteU32(cam, reg::BinningVertical, 2));
    EXPECT_FALSE(WriteU32(cam, reg::ChunkModeActive, 1));
    EXPECT_TRUE(WriteU32(cam, reg::OffsetX, 64)) << "moving the region keeps the payload";
    EXPECT_TRUE(WriteF64(cam, reg::ExposureTime, 5000.0));
    EXPECT_EQ(ReadU32(cam, reg::Width), 1024u);
    ASSERT_TRUE(WriteU32(cam, reg::TLParamsLocked, 0));
    EXPECT_TRUE(WriteU32(cam, reg::Width, 640));
}

TEST_F(SimRegisters, ExposureIsStoredInWholeSensorSteps)
{
    // Off-step values are accepted and rounded to the nearest step; the range is still checked first.
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 1234.4));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), 1234.0);
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 1234.6));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), 1235.0);
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, limits::ExposureMin + 0.3));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), limits::ExposureMin);
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, limits::ExposureMax - 0.2));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), limits::ExposureMax);
    EXPECT_FALSE(WriteF64(cam, reg::ExposureTime, limits::ExposureMin - 0.5));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), limits::ExposureMax) << "a refused write stores nothing";
}

TEST_F(SimRegisters, GainStagesAddUp)
{
    ASSERT_TRUE(WriteF64(cam, reg::Gain + 8 * val::GainAll, 30.0));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::Gain + 8 * val::GainAnalogAll), 24.0);
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::Gain + 8 * val::GainDigitalAll), 6.0);
    ASSERT_TRUE(WriteF64(cam, reg::Gain + 8 * val::GainAnalogAll, 10.0));
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::Gain + 8 * val::GainAll), 16.0);
    EXPECT_FALSE(WriteF64(cam, reg::Gain + 8 * val::GainDigitalAll, 13.0));
}

TEST_F(SimRegisters, FrameRateLimitsFollowExposureAndBandwidth)
{
    const double full = ReadF64(cam, reg::AcquisitionFrameRateMax);
    EXPECT_NEAR(full, 60.0, 0.5);
    ASSERT_TRUE(WriteU32(cam, reg::Height, 600));
    EXPECT_NEAR(ReadF64(cam, reg::AcquisitionFrameRateMax), 100.0, 1.0) << "exposure 10 ms bounds the rate";
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 40000.0));
    EXPECT_NEAR(ReadF64(cam, reg::AcquisitionFrameRateMax), 25.0, 0.1);
    EXPECT_LE(ReadF64(cam, reg::AcquisitionFrameRate), 25.0 + 1e-9) << "the set rate is pulled under the maximum";
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 1000.0));
    // Throughput limit: 1920x600 bytes at 11.52 MB/s gives 10 frames per second.
    ASSERT_TRUE(WriteU32(cam, reg::DeviceLinkThroughputLimitMode, val::On));
    ASSERT_TRUE(WriteU64(cam, reg::DeviceLinkThroughputLimit, 1920ull * 600 * 10));
    EXPECT_NEAR(ReadF64(cam, reg::AcquisitionFrameRateMax), 10.0, 0.01);
    EXPECT_NEAR(ReadF64(cam, reg::DeviceLinkAcquisitionFrameRateLimit), 10.0, 0.01);
    EXPECT_NEAR(double(ReadU64(cam, reg::ResultingFramePeriodNs)), 1e8, 1e5);
}

TEST_F(SimRegisters, UserSetSaveAndLoadRoundTrip)
{
    ASSERT_TRUE(WriteU32(cam, reg::Width, 800));
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 4321.0));
    ASSERT_TRUE(WriteU32(cam, reg::UserSetSelector, val::UserSet2));
    ASSERT_TRUE(Execute(cam, reg::UserSetSave));
    ASSERT_TRUE(WriteU32(cam, reg::Width, 640));
    ASSERT_TRUE(WriteF64(cam, reg::ExposureTime, 100.0));
    ASSERT_TRUE(Execute(cam, reg::UserSetLoad));
    EXPECT_EQ(ReadU32(cam, reg::Width), 800u);
    EXPECT_DOUBLE_EQ(ReadF64(cam, reg::ExposureTime), 4321.0);
    EXPECT_EQ(ReadU32(cam, reg::PayloadSize), 800u * 1200);
    // The factory set loads but cannot be overwritten.
    ASSERT_TRUE(WriteU32(cam, reg::UserSetSelector, val::UserSetDefaultSet));
    EXPECT_FALSE(Execute(cam, reg::UserSetSave));
    ASSERT_TRUE(Execute(cam, reg::UserSetLoad));
    EXPECT_EQ(ReadU32(cam, reg::Width), 1920u);
    // An empty user set cannot be loaded.
    ASSERT_TRUE(WriteU32(cam, reg::UserSetSelector, val::UserSet1));
    EXPECT_FALSE(Execute(cam, reg::UserSetLoad));
}

// File access helpers: one operation through the registers; returns the status.
uint32_t FileOp(SimCamera& cam, uint32_t op)
{
    EXPECT_TRUE(WriteU32(cam, reg::FileOperationSelector, op));
    EXPECT_TRUE(Execute(cam, reg::FileOperationExecute));
    return ReadU32(cam, reg::FileOperationStatus);
}

TEST_F(SimRegisters, FileWriteReadRoundTripThroughTheAccessRegisters)
{
    const std::string text = "exposure notes: 4 ms at 6 dB\n";
    ASSERT_TRUE(WriteU32(cam, reg::FileSelector, val::FileUserData));
    ASSERT_TRUE(WriteU32(cam, reg::FileOpenMode, val::OpenWrite));
    ASSERT_EQ(FileOp(cam, val::FileOpen), val::Success);
    EXPECT_EQ(FileOp(cam, val::FileOpen), val::Failure) << "already open";
    ASSERT_TRUE(cam.WriteMemory(reg::FileAccessBuffer, text.data(), text.size()));
    ASSERT_TRUE(WriteU32(cam, reg::FileAccessOffset, 0));
    ASSERT_TRUE(WriteU32(cam, reg::FileAccessLength, uint32_t(text.size())));
    ASSERT_EQ(FileOp(cam, val::FileWrite), val::Success);
    EXPECT_EQ(ReadU32(cam, reg::FileOperationResult), text.size());
    EXPECT_EQ(FileOp(cam, val::FileRead), val::Failure) << "opened for writing only";
    ASSERT_EQ(FileOp(cam, val::FileClose), val::Success);
    EXPECT_EQ(ReadU32(cam, reg::FileSize), text.size());

    ASSERT_TRUE(WriteU32(cam, reg::FileOpenMode, val::OpenRead));
    ASSERT_EQ(FileOp(cam, val::FileOpen), val::Success);
    ASSERT_TRUE(WriteU32(cam, reg::FileAccessOffset, 9));
    ASSERT_TRUE(WriteU32(cam, reg::FileAccessLength, 100));
    ASSERT_EQ(FileOp(cam, val::FileRead), val::Success);
    EXPECT_EQ(ReadU32(cam, reg::FileOperationResult), text.size() - 9);
    std::string back(text.size() - 9, '\0');
    ASSERT_TRUE(cam.ReadMemory(reg::FileAccessBuffer, back.data(), back.size()));
    EXPECT_EQ(back, text.substr(9));
    ASSERT_TRUE(WriteU32(cam, reg::FileAccessOffset, 1000));
    EXPECT_EQ(FileOp(cam, val::FileRead), val::Failure) << "beyond the end";
    ASSERT_EQ(FileOp(cam, val::FileClose), val::Success);
}

TEST_F(SimRegisters, UserSetFilesCarryTheSavedSettings)
{
    ASSERT_TRUE(WriteU32(cam, reg::Width, 512));
    ASSERT_TRUE(WriteU32(cam, reg::UserSetSelector, val::UserSet1));
    ASSERT_TRUE(Execute(cam, reg::UserSetSave));
    // Read the user set as a file, load it into a second camera through its file access, and load it there.
    ASSERT_TRUE(WriteU32(cam, reg::FileSelector, val::FileUserSet1));
    ASSERT_TRUE(WriteU32(cam, reg::FileOpenMode, val::OpenRead));
    ASSERT_EQ(FileOp(cam, val::FileOpen), val::Success);
    std::string content;
    for (uint32_t offset = 0;; offset += reg::kFileAccessBufferLength)
    {
        ASSERT_TRUE(WriteU32(cam, reg::FileAccessOffset, offset));
        ASSERT_TRUE(WriteU32(cam, reg::FileAccessLength, reg::kFileAccessBufferLength));
        ASSERT_EQ(FileOp(cam, val::FileRead), val::Success);
        const uint32_t n = ReadU32(cam, reg::FileOperationResult);
        std::string chunk(n, '\0');
        ASSERT_TRUE(n == 0 || cam.ReadMemory(reg::FileAccessBuffer, chunk.data(), n));
        content += chunk;
        if (n < reg::kFileAccessBufferLength)
        {
            break;
        }
    }
    EXPECT_EQ(content.rfind("# Lumivue", 0), 0u);

    SimCamera other(Config("color", "REGTEST-2"));
    ASSERT_TRUE(WriteU32(other, reg::FileSelector, val::FileUserSet1));
    ASSERT_TRUE(WriteU32(other, reg::FileOpenMode, val::OpenWrite));
    ASSERT_EQ(FileOp(other, val::FileOpen), val::Success);
    for (uint32_t offset = 0; offset < content.size(); offset += reg::kFileAccessBufferLength)
    {
        const uint32_t n = std::min<uint32_t>(reg::kFileAccessBufferLength, uint32_t(content.size() - offset));
        ASSERT_TRUE(other.WriteMemory(reg::FileAccessBuffer, content.data() + offset, n));
        ASSERT_TRUE(WriteU32(other, reg::FileAccessOffset, offset));
        ASSERT_TRUE(WriteU32(other, reg::FileAccessLength, n));
        ASSERT_EQ(FileOp(other, val::FileWrite), val::Success);
    }
    ASSERT_EQ(FileOp(other, val::FileClose), val::Success);
    ASSERT_TRUE(WriteU32(other, reg::UserSetSelector, val::UserSet1));
    ASSERT_TRUE(Execute(other, reg::UserSetLoad));
    EXPECT_EQ(ReadU32(other, reg::Width), 512u);
}

TEST_F(SimRegisters, I2CReadsAndWritesTheEepromOnTheBus)
{
    const uint8_t data[4] = {0xDE, 0xAD, 0xBE, 0xEF};
    ASSERT_TRUE(WriteU32(cam, reg::I2CDeviceAddress, i2cdev::EepromAddress));
    ASSERT_TRUE(WriteU32(cam, reg::I2CRegisterAddress, 0x40));
    ASSERT_TRUE(WriteU32(cam, reg::I2CDataLength, 4));
    ASSERT_TRUE(cam.WriteMemory(reg::I2CTransmitBuffer, data, 4));
    ASSERT_TRUE(WriteU32(cam, reg::I2COperationSelector, val::I2CWrite));
    ASSERT_TRUE(Execute(cam, reg::I2COperationExecute));
    EXPECT_EQ(ReadU32(cam, reg::I2COperationStatus), val::Success);

    ASSERT_TRUE(WriteU32(cam, reg::I2COperationSelector, val::I2CRead));
    ASSERT_TRUE(Execute(cam, reg::I2COperationExecute));
    EXPECT_EQ(ReadU32(cam, reg::I2COperationStatus), val::Success);
    uint8_t back[4] = {};
    ASSERT_TRUE(cam.ReadMemory(reg::I2CData, back, 4));
    EXPECT_EQ(std::memcmp(back, data, 4), 0);

    // The EEPROM starts with its identification text.
    ASSERT_TRUE(WriteU32(cam, reg::I2CRegisterAddress, 0));
    ASSERT_TRUE(WriteU32(cam, reg::I2CDataLength, 5));
    ASSERT_TRUE(Execute(cam, reg::I2COperationExecute));
    char id[6] = {};
    ASSERT_TRUE(cam.ReadMemory(reg::I2CData, id, 5));
    EXPECT_STREQ(id, "LVSIM");

    // No device answers at another address.
    ASSERT_TRUE(WriteU32(cam, reg::I2CDeviceAddress, 0x21));
    ASSERT_TRUE(Execute(cam, reg::I2COperationExecute));
    EXPECT_EQ(ReadU32(cam, reg::I2COperationStatus), val::Failure);

    // The temperature sensor reports degrees in its high byte.
    ASSERT_TRUE(WriteU32(cam, reg::I2CDeviceAddress, i2cdev::TemperatureSensorAddress));
    ASSERT_TRUE(WriteU32(cam, reg::I2CDataLength, 2));
    ASSERT_TRUE(Execute(cam, reg::I2COperationExecute));
    EXPECT_EQ(ReadU32(cam, reg::I2COperationStatus), val::Success);
    uint8_t t[2] = {};
    ASSERT_TRUE(cam.ReadMemory(reg::I2CData, t, 2));
    EXPECT_GE(t[0], 30);
    EXPECT_LE(t[0], 60);
}

TEST_F(SimRegisters, LinesFollowUserOutputsInverterAndInputs)
{
    const uint64_t line2 = reg::kLineBlock + 2 * reg::kSelectorStride;
    ASSERT_TRUE(WriteU32(cam, line2 + reg::LineModeOffset, val::LineOutput));
    ASSERT_TRUE(WriteU32(cam, line2 + reg::LineSourceOffset, val::LineSourceUserOutput1));
    EXPECT_EQ(ReadU32(cam, line2 + reg::LineStatusOffset), 0u);
    ASSERT_TRUE(WriteU32(cam, reg::UserOutputValue + 4, 1));
    EXPECT_EQ(ReadU32(cam, line2 + reg::LineStatusOffset), 1u);
    ASSERT_TRUE(WriteU32(cam, line2 + reg::LineInverterOffset, 1));
    EXPECT_EQ(ReadU32(cam, line2 + reg::LineStatusOffset), 0u);
    EXPECT_FALSE(WriteU32(cam, reg::kLineBlock + reg::LineModeOffset, val::LineOutput)) << "Line0 is an input";
    cam.SetLineInput(0, true);
    EXPECT_EQ(ReadU32(cam, reg::LineStatusAll) & 1u, 1u);
}

TEST(SimCameraModels, LockRegisterServiceFirmwareAndUserId)
{
    SimCamera locked(Config("locked", "LOCK-1"));
    SimCamera open(Config("color", "LOCK-2"));
    EXPECT_EQ(ReadU32(locked, reg::LockRegister), 1u);
    EXPECT_TRUE(locked.IsLocked());
    EXPECT_EQ(ReadU32(open, reg::LockRegister), 0u);
    EXPECT_FALSE(open.IsLocked());

    SimCamera service(Config("service", "SERVICE-1"));
    EXPECT_FALSE(service.HasDataStream());
    EXPECT_NE(service.ModelName().find("service"), std::string::npos);
    EXPECT_EQ(ReadU32(service, reg::DeviceStreamChannelCount), 0u);
    EXPECT_FALSE(Execute(service, reg::AcquisitionStart));

    SimCamera large(Config("color12mp", "LARGE-1"));
    EXPECT_EQ(ReadU32(large, reg::PayloadSize), 4096u * 3000);
    EXPECT_NEAR(ReadF64(large, reg::AcquisitionFrameRateMax), 30.0, 0.5);

    SimCamera boot(Config("booterror", "BOOT-1"));
    EXPECT_EQ(ReadU32(boot, reg::DeviceBootStatus), val::BootConfigurationCrcError);

    // DeviceUserID is kept per serial in the process.
    const std::string name = "inspection left";
    ASSERT_TRUE(open.WriteMemory(reg::DeviceUserID, name.c_str(), name.size() + 1));
    EXPECT_EQ(open.UserDefinedName(), name);
    SimCamera again(Config("color", "LOCK-2"));
    EXPECT_EQ(ReadStr(again, reg::DeviceUserID), name);
    SimCamera stranger(Config("color", "LOCK-3"));
    EXPECT_EQ(ReadStr(stranger, reg::DeviceUserID), "");
}

TEST_F(SimRegisters, XmlIsPublishedInTheCameraMemoryByItsUrl)
{
    char url[reg::kXmlUrlLength + 1] = {};
    ASSERT_TRUE(cam.ReadMemory(reg::XmlUrl, url, reg::kXmlUrlLength));
    const std::string text(url);
    ASSERT_EQ(text.rfind("Local:", 0), 0u) << text;
    const auto first = text.find(';'), second = text.find(';', first + 1);
    ASSERT_NE(second, std::string::npos) << text;
    EXPECT_EQ(text.substr(6, first - 6), "LVS-2300C.xml");
    const uint64_t address = std::stoull(text.substr(first + 1, second - first - 1), nullptr, 16);
    const size_t length = std::stoull(text.substr(second + 1), nullptr, 16);
    ASSERT_EQ(length, cam.GenICamXml().size());
    std::string xml(length, '\0');
    ASSERT_TRUE(cam.ReadMemory(address, xml.data(), length));
    EXPECT_EQ(xml, cam.GenICamXml());
    EXPECT_FALSE(cam.WriteMemory(address, "x", 1));
}

TEST_F(SimRegisters, TimestampLatchAdvances)
{
    ASSERT_TRUE(Execute(cam, reg::TimestampLatch));
    const uint64_t a = ReadU64(cam, reg::TimestampLatchValue);
    ASSERT_TRUE(Execute(cam, reg::TimestampLatch));
    const uint64_t b = ReadU64(cam, reg::TimestampLatchValue);
    EXPECT_GT(b, a);
    EXPECT_EQ(ReadU32(cam, reg::AcquisitionStart), 0u) << "commands read as done";
}

} // namespace
