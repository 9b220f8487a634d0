#pragma once
// The register map of the simulated camera: one table of addresses, enumeration values, pixel format codes
// and chunk/event identifiers, shared by the GenICam XML generator and the register model so the two can
// never disagree. All registers are little-endian (as USB3 Vision devices), integers are unsigned unless
// a node says otherwise, floats are IEEE doubles of 8 bytes.
//
// Layout rules: each functional block has its own 0x1000 window; selector-indexed registers are arrays
// `base + index * stride` addressed in the XML through `pIndex`, the index being the selector's integer value.
// Pure constants: usable from any thread.

#include <cstddef>
#include <cstdint>

namespace orna::core::sim {

namespace pfnc {
constexpr uint32_t Mono8 = 0x01080001u;
constexpr uint32_t Mono10 = 0x01100003u;
constexpr uint32_t Mono10p = 0x010A0046u;
constexpr uint32_t Mono12 = 0x01100005u;
constexpr uint32_t Mono12p = 0x010C0047u;
constexpr uint32_t BayerRG8 = 0x01080009u;
constexpr uint32_t BayerRG10 = 0x0110000Du;
constexpr uint32_t BayerRG10p = 0x010A0058u;
constexpr uint32_t BayerRG12 = 0x01100011u;
constexpr uint32_t BayerRG12p = 0x010C0059u;
constexpr uint32_t BayerGB8 = 0x0108000Au;
constexpr uint32_t RGB8 = 0x02180014u;
constexpr uint32_t BGRa8 = 0x02200017u;
// Vendor formats: the codes the viewer's own pixel format table uses for them.
// g40: four 10-bit pixels in five bytes (four high bytes, then the four 2-bit low parts, first pixel lowest).
// g24: two 12-bit pixels in three bytes (two high bytes, then the two 4-bit low parts, first pixel lowest).
constexpr uint32_t BayerRG10g40 = 0x40000001u;
constexpr uint32_t Mono10g40 = 0x4000000Fu;
constexpr uint32_t BayerRG12g24 = 0x40000011u;
constexpr uint32_t Mono12g24 = 0x4000001Fu;
} // namespace pfnc

namespace reg {
// --- Device information (StringReg, 64 bytes each, zero padded)
constexpr uint32_t kStringLength = 64;
constexpr uint64_t DeviceVendorName = 0x0000;
constexpr uint64_t DeviceModelName = 0x0040;
constexpr uint64_t DeviceFamilyName = 0x0080;
constexpr uint64_t DeviceSerialNumber = 0x00C0;
constexpr uint64_t DeviceUserID = 0x0100;
constexpr uint64_t DeviceFirmwareVersion = 0x0140;
constexpr uint64_t DeviceVersion = 0x0180;
constexpr uint64_t DeviceManufacturerInfo = 0x01C0;
constexpr uint64_t SensorName = 0x0200;
constexpr uint64_t DeviceTLType = 0x0240; // only on models that name their transport
// --- Device control
constexpr uint64_t DeviceBootStatus = 0x0300;         // enum, RO
constexpr uint64_t BootOptions = 0x0304;              // enum, RW: firmware chosen at the next reset
constexpr uint64_t DeviceReset = 0x0310;              // command
constexpr uint64_t DeviceTemperatureRaw = 0x0314;     // int32 tenths of a degree Celsius, RO
constexpr uint64_t DeviceStreamChannelCount = 0x0318; // RO
constexpr uint64_t DeviceOpticalFilterType = 0x031C;  // enum, RO
constexpr uint64_t DeviceLinkSpeed = 0x0320;          // 8 bytes, bytes per second, RO
constexpr uint64_t DeviceLinkThroughputLimitMode = 0x0328;
constexpr uint64_t DeviceLinkThroughputLimit = 0x0330;           // 8 bytes, bytes per second
constexpr uint64_t DeviceLinkAcquisitionFrameRateLimit = 0x0338; // double, RO
constexpr uint64_t TimestampLatch = 0x0340;                      // command
constexpr uint64_t TimestampLatchValue = 0x0348;                 // 8 bytes, ns, RO
constexpr uint64_t TimestampReset = 0x0350;                      // command
constexpr uint64_t SensorClockFrequency = 0x0358;                // double, Hz, RO
constexpr uint64_t TLParamsLocked = 0x0360;
// The camera's own XML description: a "Local:" URL (file name;address;length, hexadecimal) pointing at the
// XML text kept in the camera's memory, as GenICam devices publish their first URL.
constexpr uint64_t XmlUrl = 0x0800;
constexpr uint32_t kXmlUrlLength = 512;
constexpr uint64_t XmlFile = 0x00100000;
// --- Image format
constexpr uint64_t SensorWidth = 0x1000;
constexpr uint64_t SensorHeight = 0x1004;
constexpr uint64_t WidthMax = 0x1008;
constexpr uint64_t HeightMax = 0x100C;
constexpr uint64_t Width = 0x1010;
constexpr uint64_t Height = 0x1014;
constexpr uint64_t OffsetX = 0x1018;
constexpr uint64_t OffsetY = 0x101C;
constexpr uint64_t PixelFormat = 0x1020;
constexpr uint64_t PixelColorFilter = 0x1024; // enum, RO
constexpr uint64_t BinningSelector = 0x1030;
constexpr uint64_t BinningHorizontal = 0x1040; // + selector * kSelectorStride
constexpr uint64_t BinningVertical = 0x1044;
constexpr uint64_t BinningMode = 0x1048;
constexpr uint64_t DecimationSelector = 0x1034;
constexpr uint64_t DecimationHorizontal = 0x1060;
constexpr uint64_t DecimationVertical = 0x1064;
constexpr uint64_t kSelectorStride = 0x10;
constexpr uint64_t ImageFlip = 0x1080; // bit 0 ReverseX, bit 1 ReverseY
constexpr uint64_t PayloadSize = 0x1090;
constexpr uint64_t ImageBufferMode = 0x1094;       // enum: one image per buffer or several
constexpr uint64_t ImageBufferImageCount = 0x1098; // images per buffer in MultiImage mode
// --- Acquisition
constexpr uint64_t AcquisitionMode = 0x2000;
constexpr uint64_t AcquisitionStart = 0x2004;
constexpr uint64_t AcquisitionStop = 0x2008;
constexpr uint64_t AcquisitionFrameCount = 0x200C;
constexpr uint64_t AcquisitionFrameRate = 0x2010;    // double, Hz
constexpr uint64_t AcquisitionControlFlags = 0x2018; // bit 0 AcquisitionFrameRateEnable
constexpr uint64_t AcquisitionFrameRateMax = 0x2020; // double, RO: limit of sensor, exposure and link
constexpr uint64_t ResultingFramePeriodNs = 0x2028;  // 8 bytes, RO
constexpr uint64_t AcquisitionStatus = 0x2030;       // RO: bit 0 active, bit 1 waiting for trigger
constexpr uint64_t ExposureTime = 0x2038;            // double, us
constexpr uint64_t ExposureAuto = 0x2040;
constexpr uint64_t SensorOperationMode = 0x2044;
constexpr uint64_t SensorShutterMode = 0x2048;
constexpr uint64_t TriggerSelector = 0x2050;
constexpr uint64_t kTriggerBlock = 0x2060; // + selector * kTriggerStride
constexpr uint64_t kTriggerStride = 0x20;
constexpr uint64_t TriggerModeOffset = 0x00;
constexpr uint64_t TriggerSourceOffset = 0x04;
constexpr uint64_t TriggerActivationOffset = 0x08;
constexpr uint64_t TriggerSoftwareOffset = 0x0C;
constexpr uint64_t TriggerDelayOffset = 0x10; // double, us
constexpr uint64_t TriggerDividerOffset = 0x18;
constexpr uint64_t GainSelector = 0x2100;
constexpr uint64_t Gain = 0x2110; // double dB, + selector * 8
constexpr uint64_t GainAuto = 0x2130;
constexpr uint64_t BalanceRatioSelector = 0x2134;
constexpr uint64_t BalanceRatio = 0x2140; // double, + selector * 8
constexpr uint64_t BalanceWhiteAuto = 0x2160;
constexpr uint64_t BlackLevel = 0x2168; // double, in percent of full scale
constexpr uint64_t Gamma = 0x2170;      // double
constexpr uint64_t FocusStepper = 0x2200;
constexpr uint64_t ColorCorrectionMode = 0x2210;
constexpr uint64_t ColorCorrectionMatrixValueSelector = 0x2214;
constexpr uint64_t ColorCorrectionMatrixValue = 0x2220; // double, + selector * 8 (Gain00..Gain22)
// --- Chunks
constexpr uint64_t ChunkModeActive = 0x3000; // bit 0
constexpr uint64_t ChunkSelector = 0x3004;
constexpr uint64_t ChunkGainSelector = 0x3008;
constexpr uint64_t ChunkEnable = 0x3010; // + selector * 4
// --- Events
constexpr uint64_t EventSelector = 0x4000;
constexpr uint64_t TestEventGenerate = 0x4004;
constexpr uint64_t EventNotification = 0x4010; // + selector * 4
constexpr uint64_t EventExposureEnd = 0x4100;  // the event's id, RO
constexpr uint64_t EventExposureEndTimestamp = 0x4108;
constexpr uint64_t EventExposureEndFrameID = 0x4110;
constexpr uint64_t EventTest = 0x4120;
constexpr uint64_t EventTestTimestamp = 0x4128;
// --- File access
constexpr uint64_t FileSelector = 0x5000;
constexpr uint64_t FileOperationSelector = 0x5004;
constexpr uint64_t FileOpenMode = 0x5008;
constexpr uint64_t FileOperationExecute = 0x500C;
constexpr uint64_t FileAccessOffset = 0x5010;
constexpr uint64_t FileAccessLength = 0x5014;
constexpr uint64_t FileOperationStatus = 0x5018;
constexpr uint64_t FileOperationResult = 0x501C;
constexpr uint64_t FileSize = 0x5020;
constexpr uint64_t FileAccessBuffer = 0x5100;
constexpr uint32_t kFileAccessBufferLength = 1024;
// --- User sets
constexpr uint64_t UserSetSelector = 0x5800;
constexpr uint64_t UserSetLoad = 0x5804;
constexpr uint64_t UserSetSave = 0x5808;
constexpr uint64_t UserSetDefault = 0x580C;
// --- I2C master
constexpr uint64_t I2CDeviceAddress = 0x6000;
constexpr uint64_t I2CDeviceAddressLength = 0x6004;
constexpr uint64_t I2CRegisterAddress = 0x6008;
constexpr uint64_t I2CRegisterAddressLength = 0x600C;
constexpr uint64_t I2CRegisterAddressEndianness = 0x6010;
constexpr uint64_t I2CAckPollingEnable = 0x6014;
constexpr uint64_t I2CAckPollingTimeout = 0x6018;
constexpr uint64_t I2CMode = 0x601C;
constexpr uint64_t I2CDataLength = 0x6020;
constexpr uint64_t I2COperationSelector = 0x6024;
constexpr uint64_t I2COperationExecute = 0x6028;
constexpr uint64_t I2COperationStatus = 0x602C;
constexpr uint64_t I2CData = 0x6100;
constexpr uint64_t I2CTransmitBuffer = 0x6200;
constexpr uint32_t kI2CBufferLength = 256;
// --- Digital I/O and flash
constexpr uint64_t LineSelector = 0x7000;
constexpr uint64_t kLineBlock = 0x7010; // + selector * kSelectorStride
constexpr uint64_t LineModeOffset = 0x0;
constexpr uint64_t LineInverterOffset = 0x4;
constexpr uint64_t LineSourceOffset = 0x8;
constexpr uint64_t LineStatusOffset = 0xC;
constexpr uint64_t LineStatusAll = 0x7080;
constexpr uint64_t UserOutputSelector = 0x7090;
constexpr uint64_t UserOutputValue = 0x70A0; // + selector * 4
constexpr uint64_t FlashReference = 0x70C0;
constexpr uint64_t FlashStartDelay = 0x70C8; // double, us
constexpr uint64_t FlashEndDelay = 0x70D0;
constexpr uint64_t FlashDuration = 0x70D8;
// --- Password lock: 1 means locked.
constexpr uint64_t LockRegister = 0x50001000;
} // namespace reg

// Enumeration values (the integers behind the XML entries).
namespace val {
enum BootStatus : uint32_t
{
    BootOK = 0,
    BootWatchdogReset = 1,
    BootConfigurationCrcError = 2
};
enum BootOption : uint32_t
{
    BootRuntime = 0,
    BootService = 1
};
enum OnOff : uint32_t
{
    Off = 0,
    On = 1
};
enum AutoMode : uint32_t
{
    AutoOff = 0,
    AutoOnce = 1,
    AutoContinuous = 2
};
enum AcquisitionModeValue : uint32_t
{
    Continuous = 0,
    SingleFrame = 1,
    MultiFrame = 2
};
enum BinningSelectorValue : uint32_t
{
    SelSensor = 0,
    SelRegion0 = 1,
    kBinningEngines = 2
};
enum BinningModeValue : uint32_t
{
    BinningSum = 0,
    BinningAverage = 1
};
enum ImageBufferModeValue : uint32_t
{
    SingleImage = 0,
    MultiImage = 1
};
enum TriggerSelectorValue : uint32_t
{
    FrameStart = 0,
    AcquisitionStartTrigger = 1,
    kTriggerSelectors = 2
};
enum TriggerSourceValue : uint32_t
{
    SourceSoftware = 0,
    SourceLine0 = 1,
    SourceLine2 = 2,
    SourceLine3 = 3,
    SourceLine1 = 4 // listed in the XML, never available (the flash output)
};
enum TriggerActivationValue : uint32_t
{
    RisingEdge = 0,
    FallingEdge = 1,
    AnyEdge = 2,
    LevelHigh = 3,
    LevelLow = 4
};
enum GainSelectorValue : uint32_t
{
    GainAll = 0,
    GainAnalogAll = 1,
    GainDigitalAll = 2,
    kGainSelectors = 3
};
enum BalanceSelectorValue : uint32_t
{
    Red = 0,
    Green = 1,
    Blue = 2
};
enum SensorOperationModeValue : uint32_t
{
    SensorDefault = 0,
    SensorLowNoise = 1
};
enum ShutterModeValue : uint32_t
{
    ShutterGlobal = 0,
    ShutterRolling = 1
};
enum OpticalFilterValue : uint32_t
{
    FilterNone = 0,
    FilterIRCut = 1
};
enum ColorFilterValue : uint32_t
{
    ColorFilterNone = 0,
    ColorFilterBayerRG = 1
};
enum ChunkSelectorValue : uint32_t
{
    ChunkUsableROI = 0,
    ChunkOffsetX,
    ChunkOffsetY,
    ChunkWidth,
    ChunkHeight,
    ChunkPixelFormat,
    ChunkTimestamp,
    ChunkExposureTriggerTimestamp,
    ChunkExposureTime,
    ChunkGain,
    ChunkFrameID,
    kChunkCount
};
enum EventSelectorValue : uint32_t
{
    EventSelExposureEnd = 0,
    EventSelTest = 1,
    kEventCount = 2
};
enum FileSelectorValue : uint32_t
{
    FileUserSet1 = 0,
    FileUserSet2 = 1,
    FileUserData = 2,
    FileFirmware = 3,
    kFileCount = 4
};
enum FileOperationValue : uint32_t
{
    FileOpen = 0,
    FileClose = 1,
    FileRead = 2,
    FileWrite = 3,
    FileDelete = 4
};
enum FileOpenModeValue : uint32_t
{
    OpenRead = 0,
    OpenWrite = 1,
    OpenReadWrite = 2
};
enum StatusValue : uint32_t
{
    Success = 0,
    Failure = 1
};
enum UserSetValue : uint32_t
{
    UserSetDefaultSet = 0,
    UserSet1 = 1,
    UserSet2 = 2,
    kUserSets = 3
};
enum I2CEndianValue : uint32_t
{
    I2CBigEndian = 0,
    I2CLittleEndian = 1
};
enum I2CModeValue : uint32_t
{
    StandardMode = 0,
    FastMode = 1,
    FastModePLUS = 2
};
enum I2COperationValue : uint32_t
{
    I2CRead = 0,
    I2CWrite = 1
};
enum LineModeValue : uint32_t
{
    LineInput = 0,
    LineOutput = 1
};
enum LineSourceValue : uint32_t
{
    LineSourceOff = 0,
    LineSourceExposureActive,
    LineSourceFlashActive,
    LineSourceGlobalFlashWindow,
    LineSourceUserOutput0,
    LineSourceUserOutput1,
    LineSourceUserOutput2
};
enum ColorCorrectionModeValue : uint32_t
{
    ColorCorrectionOff = 0,
    ColorCorrectionAuto = 1
};
constexpr uint32_t kColorCorrectionGains = 9; // Gain00 .. Gain22, row by row
enum FlashReferenceValue : uint32_t
{
    FlashExposureStart = 0,
    FlashExposureEnd = 1
};
constexpr uint32_t kLineCount = 4;       // Line0 opto input, Line1 flash output, Line2/Line3 GPIO
constexpr uint32_t kUserOutputCount = 3; // UserOutput0..2
} // namespace val

// Chunk identifiers: the GigE Vision chunk layout puts each chunk's data before a trailer of
// { chunk id, data length }, both 32-bit big-endian; the image is the first chunk.
namespace chunkid {
constexpr uint32_t Image = 0xA5A50001u;
constexpr uint32_t Base = 0xA5A50100u; // + ChunkSelectorValue
constexpr uint32_t For(uint32_t selector)
{
    return Base + selector;
}
} // namespace chunkid

// Data length of each chunk in bytes (multiples of 4, device endian content).
constexpr uint32_t ChunkDataLength(uint32_t selector)
{
    switch (selector)
    {
    case val::ChunkUsableROI:
        return 16;
    case val::ChunkTimestamp:
    case val::ChunkExposureTriggerTimestamp:
    case val::ChunkExposureTime:
    case val::ChunkGain:
    case val::ChunkFrameID:
        return 8;
    default:
        return 4;
    }
}

namespace eventid {
constexpr uint32_t ExposureEnd = 0x9001u;
constexpr uint32_t Test = 0x9002u;
} // namespace eventid

// Firmware images the camera accepts through the "Firmware" file: a first line with the magic text, then
// "family=<model name prefix>" and "version=<text>" lines, then any payload. A valid image is installed by the
// next DeviceReset.
namespace firmware {
constexpr const char* Magic = "LVS-FIRMWARE 1";
constexpr const char* Family = "LVS-";
} // namespace firmware

// The simulated device on the I2C bus: a 256-byte EEPROM and a temperature sensor.
namespace i2cdev {
constexpr uint32_t EepromAddress = 0x50;
constexpr uint32_t EepromSize = 256;
constexpr uint32_t TemperatureSensorAddress = 0x48;
} // namespace i2cdev

// Ranges of the writable numbers: the model rejects writes outside them and the XML states them.
namespace limits {
constexpr uint32_t WidthMin = 64, WidthInc = 4, HeightMin = 16, HeightInc = 2;
constexpr uint32_t OffsetXInc = 4, OffsetYInc = 2;
constexpr uint32_t BinningMax = 4, DecimationMax = 4;
constexpr uint32_t ImageBufferImageCountMax = 16;
constexpr double ExposureMin = 20.0, ExposureMax = 1000000.0; // us
constexpr double FrameRateMin = 0.1;                          // Hz
constexpr double GainMax[3] = {36.0, 24.0, 12.0};             // All, AnalogAll, DigitalAll (dB)
constexpr double BalanceRatioMin = 0.1, BalanceRatioMax = 8.0;
constexpr double BlackLevelMax = 10.0; // percent
constexpr double GammaMin = 0.25, GammaMax = 4.0;
constexpr double ColorCorrectionMin = -4.0, ColorCorrectionMax = 4.0;
// The sensor's factory colour correction (rows: output R, G, B; columns: input R, G, B).
constexpr double ColorCorrectionDefault[9] = {1.58, -0.42, -0.16, -0.28, 1.48, -0.20, -0.06, -0.52, 1.58};
constexpr double DelayMax = 1000000.0; // us, trigger and flash delays
constexpr int64_t FocusMax = 1000;
constexpr uint32_t TriggerDividerMax = 64;
constexpr uint32_t I2CAckPollingTimeoutMax = 100000; // us

// The sensor exposes in whole steps of its exposure clock: a written ExposureTime passes the XML's range check and
// the camera then stores the nearest whole step, as real sensors quantise to their line time.
constexpr double ExposureStep = 1.0; // us
} // namespace limits

} // namespace orna::core::sim
