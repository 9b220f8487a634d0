#include "orna/core/sim/simcamera.h"

#include "orna/core/sim/simpixels.h"
#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simxml.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

namespace orna::core::sim {

using Clock = std::chrono::steady_clock;

namespace {

constexpr size_t kMaxFileSize = 64 * 1024;
constexpr double kDefaultExposureUs = 10000.0;
constexpr double kDefaultFrameRate = 30.0;
constexpr double kSensorClockHz = 74250000.0;
constexpr int64_t kMinFramePeriodNs = 100000;
constexpr double kIdleTemperature = 38.0, kWorkingTemperature = 46.0; // degrees Celsius
constexpr auto kResetDisconnectDelay = std::chrono::milliseconds(10);

std::mutex userIdMutex; // guards userIds
std::map<std::string, std::string>& UserIds()
{
    static std::map<std::string, std::string> ids;
    return ids;
}

// The exposure the sensor can realise closest to us (whole steps of its exposure clock), kept inside the range.
double QuantiseExposure(double us)
{
    const double stepped = std::round(us / limits::ExposureStep) * limits::ExposureStep;
    return std::clamp(stepped, limits::ExposureMin, limits::ExposureMax);
}

void PutLE(uint8_t* p, uint64_t v, size_t n)
{
    for (size_t i = 0; i < n; ++i)
    {
        p[i] = uint8_t(v >> (8 * i));
    }
}
uint64_t GetLE(const uint8_t* p, size_t n)
{
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i)
    {
        v |= uint64_t(p[i]) << (8 * i);
    }
    return v;
}
void PutBE32(uint8_t* p, uint32_t v)
{
    p[0] = uint8_t(v >> 24);
    p[1] = uint8_t(v >> 16);
    p[2] = uint8_t(v >> 8);
    p[3] = uint8_t(v);
}
double AsDouble(uint64_t bits)
{
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}
uint64_t AsBits(double d)
{
    uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return bits;
}

bool PixelFormatOffered(const SimCameraConfig& c, uint32_t code)
{
    for (uint32_t f : PixelFormatsOf(c))
    {
        if (f == code)
        {
            return true;
        }
    }
    return false;
}

uint64_t TriggerReg(uint32_t selector, uint64_t offset)
{
    return reg::kTriggerBlock + selector * reg::kTriggerStride + offset;
}
uint64_t LineReg(uint32_t line, uint64_t offset)
{
    return reg::kLineBlock + line * reg::kSelectorStride + offset;
}

// Whether an access of size bytes at address covers one of the injected addresses.
bool Touches(const std::vector<uint64_t>& injected, uint64_t address, size_t size)
{
    for (uint64_t a : injected)
    {
        if (a >= address && a < address + size)
        {
            return true;
        }
    }
    return false;
}

} // namespace

std::string StoredUserId(const std::string& serial)
{
    std::lock_guard<std::mutex> lock(userIdMutex);
    auto it = UserIds().find(serial);
    return it == UserIds().end() ? std::string() : it->second;
}

void StoreUserId(const std::string& serial, const std::string& id)
{
    std::lock_guard<std::mutex> lock(userIdMutex);
    UserIds()[serial] = id;
}

// ---------------------------------------------------------------------------------------------- config

std::vector<std::string> SimCameraConfig::ModelNames()
{
    return {"color", "mono", "locked", "service", "booterror", "color12mp", "slowlink", "zipped", "dusk"};
}

bool SimCameraConfig::ForModel(const std::string& model, const std::string& serial, SimCameraConfig* out)
{
    SimCameraConfig c;
    c.model = model;
    c.serialNumber = serial;
    c.sensorName = "IMX249";
    c.firmwareVersion = "2.4.1 build 8812";
    if (model == "color")
    {
        c.modelName = "LVS-2300C";
    }
    else if (model == "mono")
    {
        c.modelName = "LVS-2300M";
        c.color = false;
    }
    else if (model == "locked")
    {
        c.modelName = "LVS-2300C";
        c.locked = true;
    }
    else if (model == "service")
    {
        c.modelName = "LVS-2300C service";
        c.firmwareVersion = "0.9.3 service";
        c.serviceFirmware = true;
    }
    else if (model == "color12mp")
    {
        // A large sensor for load tests of the host pipeline: 12.3 MP at up to 30 fps.
        c.modelName = "LVS-12000C";
        c.sensorName = "IMX304";
        c.sensorWidth = 4096;
        c.sensorHeight = 3000;
        c.fullFrameRate = 30.0;
    }
    else if (model == "slowlink")
    {
        // A USB3 Vision camera that came up on a USB 2 port: 40 MB/s, below what the viewer accepts.
        c.modelName = "LVS-2300C";
        c.tlType = "USB3Vision";
        c.linkSpeed = 40000000;
    }
    else if (model == "zipped")
    {
        // A camera that publishes its description zipped, as many GigE Vision cameras do.
        c.modelName = "LVS-2300C";
        c.zippedXml = true;
    }
    else if (model == "dusk")
    {
        // A dim scene under warm light: the host auto features' demonstration (dark, with a colour cast).
        c.modelName = "LVS-2300C";
        c.sceneLight[0] = 0.3;
        c.sceneLight[1] = 0.2;
        c.sceneLight[2] = 0.12;
    }
    else if (model == "booterror")
    {
        c.modelName = "LVS-2300C";
        c.bootStatus = val::BootConfigurationCrcError;
    }
    else
    {
        return false;
    }
    *out = c;
    return true;
}

// ---------------------------------------------------------------------------------------------- frame job

// Everything the acquisition thread needs to render and deliver one buffer, captured under mutex_.
struct SimCamera::FrameJob
{
    SimImageSettings settings;
    uint64_t frameId = 0;
    uint32_t images = 1;
    uint64_t timestampNs = 0;
    uint64_t triggerTimestampNs = 0;
    double exposureUs = 0;
    double chunkGain = 0;
    bool chunkMode = false;
    bool chunkEnabled[val::kChunkCount] = {};
    bool drop = false, incomplete = false, overstatedHeight = false;
    bool measure = false; // an auto function needs the levels of this frame
    bool measured = false;
    double levels[3] = {0, 0, 0};
};

// ---------------------------------------------------------------------------------------------- set-up

SimCamera::SimCamera(const SimCameraConfig& config) : config_(config), generator_(std::make_unique<SimFrameGenerator>())
{
    for (int c = 0; c < 3; ++c)
        sceneLight_[c] = config_.sceneLight[c];
    xml_ = BuildGenICamXml(config_);
    epoch_ = poweredAt_ = Clock::now();
    if (const char* hold = std::getenv("ORNA_SIM_FRAME_HOLD_MS"))
        frameHold_ = std::chrono::milliseconds(std::max(0L, std::strtol(hold, nullptr, 10)));
    files_.assign(val::kFileCount, std::string());
    fileStates_.assign(val::kFileCount, FileState{});
    files_[val::FileUserData] = "Lumivue simulated camera\nModel: " + config_.modelName +
                                "\nSerial: " + config_.serialNumber +
                                "\nThis file lives in the camera's memory; edit it through the file access nodes.\n";
    eeprom_.assign(i2cdev::EepromSize, 0xFF);
    const std::string id = "LVSIM-EEPROM " + config_.serialNumber;
    std::copy(id.begin(), id.end(), eeprom_.begin());
    BuildRegisters();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& [address, r] : regs_)
        {
            factory_[address] = r.bytes;
        }
        SetStr(reg::DeviceUserID, StoredUserId(config_.serialNumber));
        PowerUp();
    }
    serviceThread_ = std::thread(&SimCamera::ServiceLoop, this);
}

SimCamera::~SimCamera()
{
    {
        std::lock_guard<std::mutex> lock(serviceMutex_);
        serviceStop_ = true;
    }
    serviceCv_.notify_all();
    if (serviceThread_.joinable())
    {
        serviceThread_.join();
    }
    StopAcquisitionThread();
}

SimCamera::Reg& SimCamera::AddReg(uint64_t address, Kind kind, uint32_t size, bool writable, bool persistent,
                                  bool sizeLocked)
{
    Reg& r = regs_[address];
    r.kind = kind;
    r.size = size;
    r.writable = writable;
    r.persistent = persistent;
    r.sizeLocked = sizeLocked;
    r.bytes.assign(size, 0);
    return r;
}

void SimCamera::AddUInt(uint64_t address, uint32_t value, uint32_t min, uint32_t max, bool persistent, bool sizeLocked)
{
    Reg& r = AddReg(address, Kind::UInt, 4, true, persistent, sizeLocked);
    r.min = min;
    r.max = max;
    PutLE(r.bytes.data(), value, 4);
}

void SimCamera::AddEnum(uint64_t address, uint32_t value, uint32_t count, bool persistent, bool sizeLocked)
{
    Reg& r = AddReg(address, Kind::Enum, 4, true, persistent, sizeLocked);
    r.min = 0;
    r.max = count - 1;
    PutLE(r.bytes.data(), value, 4);
}

void SimCamera::AddFloat(uint64_t address, double value, double min, double max, bool persistent)
{
    Reg& r = AddReg(address, Kind::Float, 8, true, persistent);
    r.min = min;
    r.max = max;
    PutLE(r.bytes.data(), AsBits(value), 8);
}

void SimCamera::AddCommand(uint64_t address)
{
    AddReg(address, Kind::Command, 4, true);
}

void SimCamera::AddRO(uint64_t address, uint32_t size, uint64_t value)
{
    Reg& r = AddReg(address, Kind::Raw, size, false);
    PutLE(r.bytes.data(), value, std::min<size_t>(size, 8));
}

void SimCamera::AddStr(uint64_t address, const std::string& value, bool writable)
{
    Reg& r = AddReg(address, Kind::Raw, reg::kStringLength, writable);
    std::copy_n(value.begin(), std::min<size_t>(value.size(), reg::kStringLength - 1), r.bytes.begin());
}

void SimCamera::BuildRegisters()
{
    using namespace reg;
    using namespace val;
    std::lock_guard<std::mutex> lock(mutex_);
    const SimCameraConfig& c = config_;
    // Device information and control.
    AddStr(DeviceVendorName, c.vendorName, false);
    AddStr(DeviceModelName, c.modelName, false);
    AddStr(DeviceFamilyName, c.familyName, false);
    if (!c.tlType.empty())
        AddStr(DeviceTLType, c.tlType, false);
    AddStr(DeviceSerialNumber, c.serialNumber, false);
    AddStr(DeviceUserID, "", true);
    AddStr(DeviceFirmwareVersion, c.firmwareVersion, false);
    AddStr(DeviceVersion, c.deviceVersion, false);
    AddStr(DeviceManufacturerInfo, "Simulated camera of the Lumivue viewer", false);
    AddStr(reg::SensorName, c.sensorName, false);
    AddRO(DeviceBootStatus, 4, c.bootStatus);
    AddEnum(BootOptions, c.serviceFirmware ? BootService : BootRuntime, 2, false);
    AddCommand(DeviceReset);
    AddRO(DeviceTemperatureRaw, 4, uint32_t(kIdleTemperature * 10));
    AddRO(DeviceStreamChannelCount, 4, c.serviceFirmware ? 0 : 1);
    AddRO(DeviceOpticalFilterType, 4, c.color ? FilterIRCut : FilterNone);
    AddRO(reg::DeviceLinkSpeed, 8, c.linkSpeed);
    AddEnum(DeviceLinkThroughputLimitMode, Off, 2, true);
    {
        Reg& r = AddReg(reg::DeviceLinkThroughputLimit, Kind::UInt, 8, true, true);
        r.min = 1000000;
        r.max = double(c.linkSpeed);
        PutLE(r.bytes.data(), c.linkSpeed, 8);
    }
    AddRO(DeviceLinkAcquisitionFrameRateLimit, 8, 0);
    AddCommand(TimestampLatch);
    AddRO(TimestampLatchValue, 8, 0);
    AddCommand(TimestampReset);
    AddRO(SensorClockFrequency, 8, AsBits(kSensorClockHz));
    AddUInt(reg::TLParamsLocked, 0, 0, 1, false);
    AddRO(LockRegister, 4, c.locked ? 1 : 0);
    // Image format.
    AddRO(SensorWidth, 4, c.sensorWidth);
    AddRO(SensorHeight, 4, c.sensorHeight);
    AddRO(WidthMax, 4, c.sensorWidth);
    AddRO(HeightMax, 4, c.sensorHeight);
    AddUInt(Width, c.sensorWidth, limits::WidthMin, c.sensorWidth, true, true);
    AddUInt(Height, c.sensorHeight, limits::HeightMin, c.sensorHeight, true, true);
    AddUInt(OffsetX, 0, 0, c.sensorWidth, true);
    AddUInt(OffsetY, 0, 0, c.sensorHeight, true);
    {
        Reg& r = AddReg(reg::PixelFormat, Kind::Raw, 4, true, true, true);
        PutLE(r.bytes.data(), c.color ? pfnc::BayerRG8 : pfnc::Mono8, 4);
    }
    AddRO(PixelColorFilter, 4, c.color ? ColorFilterBayerRG : ColorFilterNone);
    AddEnum(BinningSelector, SelSensor, kBinningEngines, false);
    AddEnum(DecimationSelector, SelSensor, kBinningEngines, false);
    for (uint32_t e = 0; e < kBinningEngines; ++e)
    {
        AddUInt(BinningHorizontal + e * kSelectorStride, 1, 1, limits::BinningMax, true, true);
        AddUInt(BinningVertical + e * kSelectorStride, 1, 1, limits::BinningMax, true, true);
        AddEnum(reg::BinningMode + e * kSelectorStride, BinningSum, 2, true);
        AddUInt(DecimationHorizontal + e * kSelectorStride, 1, 1, limits::DecimationMax, true, true);
        AddUInt(DecimationVertical + e * kSelectorStride, 1, 1, limits::DecimationMax, true, true);
    }
    AddUInt(ImageFlip, 0, 0, 3, true);
    AddRO(PayloadSize, 4, 0);
    AddEnum(reg::ImageBufferMode, SingleImage, 2, true, true);
    AddUInt(ImageBufferImageCount, 4, 2, limits::ImageBufferImageCountMax, true, true);
    // Acquisition.
    AddEnum(AcquisitionMode, Continuous, 3, true);
    AddCommand(AcquisitionStart);
    AddCommand(AcquisitionStop);
    AddUInt(AcquisitionFrameCount, 10, 1, 65535, true);
    AddFloat(AcquisitionFrameRate, kDefaultFrameRate, limits::FrameRateMin, 1000.0, true);
    AddUInt(AcquisitionControlFlags, 1, 0, 1, true);
    AddRO(AcquisitionFrameRateMax, 8, AsBits(c.fullFrameRate));
    AddRO(ResultingFramePeriodNs, 8, 0);
    AddRO(reg::AcquisitionStatus, 4, 0);
    AddFloat(ExposureTime, kDefaultExposureUs, limits::ExposureMin, limits::ExposureMax, true);
    AddEnum(ExposureAuto, AutoOff, 3, true);
    AddEnum(reg::SensorOperationMode, SensorDefault, 2, true);
    AddEnum(reg::SensorShutterMode, ShutterGlobal, 2, true);
    AddEnum(TriggerSelector, FrameStart, kTriggerSelectors, false);
    for (uint32_t t = 0; t < kTriggerSelectors; ++t)
    {
        AddEnum(TriggerReg(t, TriggerModeOffset), Off, 2, true);
        AddEnum(TriggerReg(t, TriggerSourceOffset), SourceSoftware, 4, true);
        AddEnum(TriggerReg(t, TriggerActivationOffset), RisingEdge, 5, true);
        AddCommand(TriggerReg(t, TriggerSoftwareOffset));
        AddFloat(TriggerReg(t, TriggerDelayOffset), 0.0, 0.0, limits::DelayMax, true);
        AddUInt(TriggerReg(t, TriggerDividerOffset), 1, 1, limits::TriggerDividerMax, true);
    }
    AddEnum(reg::GainSelector, GainAll, kGainSelectors, false);
    for (uint32_t g = 0; g < kGainSelectors; ++g)
    {
        AddFloat(reg::Gain + g * 8, 0.0, 0.0, limits::GainMax[g], true);
    }
    AddEnum(GainAuto, AutoOff, 3, true);
    AddEnum(BalanceRatioSelector, Red, 3, false);
    for (uint32_t b = 0; b < 3; ++b)
    {
        AddFloat(BalanceRatio + b * 8, 1.0, limits::BalanceRatioMin, limits::BalanceRatioMax, true);
    }
    AddEnum(BalanceWhiteAuto, AutoOff, 3, true);
    AddFloat(BlackLevel, 0.0, 0.0, limits::BlackLevelMax, true);
    AddFloat(reg::Gamma, 1.0, limits::GammaMin, limits::GammaMax, true);
    AddUInt(FocusStepper, 500, 0, limits::FocusMax, true);
    AddEnum(reg::ColorCorrectionMode, ColorCorrectionOff, 2, true);
    AddEnum(ColorCorrectionMatrixValueSelector, 0, kColorCorrectionGains, false);
    for (uint32_t k = 0; k < kColorCorrectionGains; ++k)
    {
        AddFloat(ColorCorrectionMatrixValue + 8 * k, limits::ColorCorrectionDefault[k], limits::ColorCorrectionMin,
                 limits::ColorCorrectionMax, true);
    }
    // The description file in the camera's memory and the URL that points at it.
    {
        std::string fileName = c.modelName.substr(0, 40) + (c.zippedXml ? ".zip" : ".xml");
        std::replace(fileName.begin(), fileName.end(), ' ', '_');
        xmlFile_ = c.zippedXml ? ZipStored(fileName.substr(0, fileName.size() - 4) + ".xml", xml_) : xml_;
        char url[160];
        std::snprintf(url, sizeof url, "Local:%s;%" PRIx64 ";%zx", fileName.c_str(), XmlFile, xmlFile_.size());
        const std::string name(url);
        Reg& r = AddReg(XmlUrl, Kind::Raw, kXmlUrlLength, false);
        std::copy_n(name.begin(), std::min<size_t>(name.size(), kXmlUrlLength - 1), r.bytes.begin());
        Reg& x = AddReg(XmlFile, Kind::Raw, uint32_t(xmlFile_.size()), false);
        std::copy(xmlFile_.begin(), xmlFile_.end(), x.bytes.begin());
    }
    // Chunks and events.
    AddUInt(ChunkModeActive, 0, 0, 1, true, true);
    AddEnum(ChunkSelector, 0, kChunkCount, false);
    AddEnum(reg::ChunkGainSelector, GainAll, kGainSelectors, true);
    for (uint32_t k = 0; k < kChunkCount; ++k)
    {
        AddUInt(ChunkEnable + 4 * k, 0, 0, 1, true, true);
    }
    AddEnum(EventSelector, EventSelExposureEnd, kEventCount, false);
    AddCommand(TestEventGenerate);
    for (uint32_t e = 0; e < kEventCount; ++e)
    {
        AddEnum(EventNotification + 4 * e, Off, 2, true);
    }
    AddRO(reg::EventExposureEnd, 4, eventid::ExposureEnd);
    AddRO(EventExposureEndTimestamp, 8, 0);
    AddRO(EventExposureEndFrameID, 8, 0);
    AddRO(reg::EventTest, 4, eventid::Test);
    AddRO(EventTestTimestamp, 8, 0);
    // File access and user sets.
    AddEnum(FileSelector, FileUserData, kFileCount, false);
    AddEnum(FileOperationSelector, FileOpen, 5, false);
    AddEnum(reg::FileOpenMode, OpenRead, 3, false);
    AddCommand(FileOperationExecute);
    AddUInt(FileAccessOffset, 0, 0, kMaxFileSize, false);
    AddUInt(FileAccessLength, 0, 0, kFileAccessBufferLength, false);
    AddRO(reg::FileOperationStatus, 4, Success);
    AddRO(FileOperationResult, 4, 0);
    AddRO(FileSize, 4, 0);
    AddReg(FileAccessBuffer, Kind::Raw, kFileAccessBufferLength, true);
    AddEnum(UserSetSelector, UserSetDefaultSet, kUserSets, false);
    AddCommand(UserSetLoad);
    AddCommand(UserSetSave);
    AddEnum(reg::UserSetDefault, UserSetDefaultSet, kUserSets, false);
    // I2C master.
    AddUInt(I2CDeviceAddress, i2cdev::EepromAddress, 0, 1023, false);
    AddUInt(I2CDeviceAddressLength, 7, 7, 10, false);
    AddUInt(I2CRegisterAddress, 0, 0, 0xFFFFFFFFu, false);
    AddUInt(I2CRegisterAddressLength, 1, 0, 4, false);
    AddEnum(I2CRegisterAddressEndianness, I2CBigEndian, 2, false);
    AddUInt(I2CAckPollingEnable, 0, 0, 1, false);
    AddUInt(I2CAckPollingTimeout, 1000, 0, limits::I2CAckPollingTimeoutMax, false);
    AddEnum(reg::I2CMode, StandardMode, 3, false);
    AddUInt(I2CDataLength, 1, 1, kI2CBufferLength, false);
    AddEnum(I2COperationSelector, I2CRead, 2, false);
    AddCommand(I2COperationExecute);
    AddRO(I2COperationStatus, 4, Success);
    AddReg(I2CData, Kind::Raw, kI2CBufferLength, true);
    AddReg(I2CTransmitBuffer, Kind::Raw, kI2CBufferLength, true);
    // Digital I/O.
    AddEnum(LineSelector, 0, kLineCount, false);
    for (uint32_t l = 0; l < kLineCount; ++l)
    {
        AddEnum(LineReg(l, LineModeOffset), l == 1 ? LineOutput : LineInput, 2, true);
        AddUInt(LineReg(l, LineInverterOffset), 0, 0, 1, true);
        AddEnum(LineReg(l, LineSourceOffset), l == 1 ? LineSourceFlashActive : LineSourceOff, 7, true);
        AddRO(LineReg(l, LineStatusOffset), 4, 0);
    }
    AddRO(LineStatusAll, 4, 0);
    AddEnum(UserOutputSelector, 0, kUserOutputCount, false);
    for (uint32_t u = 0; u < kUserOutputCount; ++u)
    {
        AddUInt(UserOutputValue + 4 * u, 0, 0, 1, true);
    }
    AddEnum(reg::FlashReference, FlashExposureStart, 2, true);
    AddFloat(FlashStartDelay, 0.0, 0.0, limits::DelayMax, true);
    AddFloat(FlashEndDelay, 0.0, 0.0, limits::DelayMax, true);
    AddFloat(FlashDuration, 1000.0, 0.0, limits::DelayMax, true);
}

void SimCamera::PowerUp()
{
    // Volatile registers return to factory values; the user set default choice and the user id are
    // non-volatile.
    const uint32_t defaultSet = U32(reg::UserSetDefault);
    const std::string userId = Str(reg::DeviceUserID);
    for (auto& [address, r] : regs_)
    {
        r.bytes = factory_[address];
    }
    SetU32(reg::UserSetDefault, defaultSet);
    SetStr(reg::DeviceUserID, userId);
    if (!pendingFirmware_.empty())
    {
        installedFirmware_ = pendingFirmware_;
        pendingFirmware_.clear();
        files_[val::FileFirmware].clear();
    }
    if (!installedFirmware_.empty())
    {
        SetStr(reg::DeviceFirmwareVersion, installedFirmware_);
    }
    if (defaultSet != val::UserSetDefaultSet)
    {
        LoadUserSet(files_[defaultSet - 1]);
    }
    for (auto& f : fileStates_)
    {
        f = FileState{};
    }
    acquiring_ = false;
    pendingFrameTriggers_ = pendingAcquisitionTriggers_ = 0;
    nextFrameId_ = 1;
    epoch_ = poweredAt_ = Clock::now();
    UpdateDerived();
}

// ---------------------------------------------------------------------------------------------- register access

SimCamera::Reg* SimCamera::Find(uint64_t address, size_t size, size_t* offset)
{
    auto it = regs_.upper_bound(address);
    if (it == regs_.begin())
    {
        return nullptr;
    }
    --it;
    if (size == 0 || address + size > it->first + it->second.size)
    {
        return nullptr;
    }
    *offset = size_t(address - it->first);
    return &it->second;
}

uint32_t SimCamera::U32(uint64_t address) const
{
    auto it = regs_.find(address);
    return it == regs_.end() ? 0 : uint32_t(GetLE(it->second.bytes.data(), 4));
}
uint64_t SimCamera::U64(uint64_t address) const
{
    auto it = regs_.find(address);
    return it == regs_.end() ? 0 : GetLE(it->second.bytes.data(), std::min<size_t>(8, it->second.size));
}
double SimCamera::F64(uint64_t address) const
{
    return AsDouble(U64(address));
}
void SimCamera::SetU32(uint64_t address, uint32_t value)
{
    auto it = regs_.find(address);
    if (it != regs_.end())
    {
        PutLE(it->second.bytes.data(), value, 4);
    }
}
void SimCamera::SetU64(uint64_t address, uint64_t value)
{
    auto it = regs_.find(address);
    if (it != regs_.end())
    {
        PutLE(it->second.bytes.data(), value, std::min<size_t>(8, it->second.size));
    }
}
void SimCamera::SetF64(uint64_t address, double value)
{
    SetU64(address, AsBits(value));
}
void SimCamera::SetStr(uint64_t address, const std::string& value)
{
    auto it = regs_.find(address);
    if (it != regs_.end())
    {
        auto& b = it->second.bytes;
        std::fill(b.begin(), b.end(), 0);
        std::copy_n(value.begin(), std::min(value.size(), b.size() - 1), b.begin());
    }
}
std::string SimCamera::Str(uint64_t address) const
{
    auto it = regs_.find(address);
    if (it == regs_.end())
    {
        return {};
    }
    const auto& b = it->second.bytes;
    return std::string(b.begin(), std::find(b.begin(), b.end(), uint8_t(0)));
}

bool SimCamera::TLLocked() const
{
    return U32(reg::TLParamsLocked) != 0;
}

bool SimCamera::ReadMemory(uint64_t address, void* data, size_t size)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!connected_ || data == nullptr)
    {
        return false;
    }
    size_t offset = 0;
    Reg* r = Find(address, size, &offset);
    if (r == nullptr || !r->readable)
    {
        return false;
    }
    if (Touches(failingReads_, address, size))
    {
        return false;
    }
    RefreshForRead(address - offset);
    std::memcpy(data, r->bytes.data() + offset, size);
    return true;
}

bool SimCamera::WriteMemory(uint64_t address, const void* data, size_t size)
{
    Pending pending;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!connected_ || data == nullptr)
        {
            return false;
        }
        size_t offset = 0;
        Reg* r = Find(address, size, &offset);
        if (r == nullptr || !r->writable || Touches(failingWrites_, address, size))
        {
            return false;
        }
        if (r->sizeLocked && (TLLocked() || acquiring_))
        {
            return false;
        }
        const uint64_t start = address - offset;
        std::vector<uint8_t> bytes = r->bytes;
        std::memcpy(bytes.data() + offset, data, size);
        if (!Validate(start, *r, bytes, true))
        {
            return false;
        }
        if (start == reg::ExposureTime && r->kind == Kind::Float)
        {
            // Accepted as written, stored as the sensor realises it: a read-back tells the host what it got.
            PutLE(bytes.data(), AsBits(QuantiseExposure(AsDouble(GetLE(bytes.data(), 8)))), 8);
        }
        std::vector<uint8_t> old = std::move(r->bytes);
        r->bytes = std::move(bytes);
        if (!ApplyWrite(start, &pending))
        {
            // The register may have been replaced by a user set load; only restore a still-current write.
            auto it = regs_.find(start);
            if (it != regs_.end())
            {
                it->second.bytes = std::move(old);
            }
            UpdateDerived();
            return false;
        }
        if (r->kind == Kind::Command)
        {
            auto duration = commandDurations_.find(start);
            if (duration != commandDurations_.end())
                commandBusyUntil_[start] = Clock::now() + duration->second; // cleared by the first read after
            else
                std::fill(r->bytes.begin(), r->bytes.end(), 0); // self-clearing: reads report "done"
        }
        UpdateDerived();
    }
    RunPending(pending);
    return true;
}

bool SimCamera::Validate(uint64_t a, const Reg& r, const std::vector<uint8_t>& b, bool dynamic) const
{
    using namespace reg;
    if (r.kind == Kind::UInt || r.kind == Kind::Enum)
    {
        const double v = double(GetLE(b.data(), std::min<size_t>(8, r.size)));
        if (v < r.min || v > r.max)
        {
            return false;
        }
    }
    else if (r.kind == Kind::Float)
    {
        const double v = AsDouble(GetLE(b.data(), 8));
        if (!std::isfinite(v) || v < r.min || v > r.max)
        {
            return false;
        }
    }
    const uint32_t v = uint32_t(GetLE(b.data(), 4));
    if (a == reg::PixelFormat)
    {
        return PixelFormatOffered(config_, v) && (!dynamic || ImageBytes(v, U32(Width), U32(Height)) != 0);
    }
    // Lines: Line0 is an input only, Line1 (flash) an output only.
    if (a == LineReg(0, LineModeOffset))
    {
        return v == val::LineInput;
    }
    if (a == LineReg(1, LineModeOffset))
    {
        return v == val::LineOutput;
    }
    if (!dynamic)
    {
        return true;
    }
    const uint32_t widthMax = U32(WidthMax), heightMax = U32(HeightMax);
    switch (a)
    {
    case Width:
        return v % limits::WidthInc == 0 && v + U32(OffsetX) <= widthMax &&
               ImageBytes(U32(reg::PixelFormat), v, U32(Height)) != 0;
    case Height:
        return v % limits::HeightInc == 0 && v + U32(OffsetY) <= heightMax;
    case OffsetX:
        return v % limits::OffsetXInc == 0 && v + U32(Width) <= widthMax;
    case OffsetY:
        return v % limits::OffsetYInc == 0 && v + U32(Height) <= heightMax;
    case AcquisitionFrameRate:
        return AsDouble(GetLE(b.data(), 8)) <= F64(AcquisitionFrameRateMax) + 1e-9;
    case AcquisitionStart:
        return !config_.serviceFirmware;
    default:
        return true;
    }
}

void SimCamera::RefreshForRead(uint64_t a)
{
    using namespace reg;
    auto busy = commandBusyUntil_.find(a);
    if (busy != commandBusyUntil_.end() && Clock::now() >= busy->second)
    {
        std::fill(regs_[a].bytes.begin(), regs_[a].bytes.end(), 0);
        commandBusyUntil_.erase(busy);
    }
    if (a == DeviceTemperatureRaw)
    {
        // Warms up towards the working temperature while acquiring, with a time constant of minutes.
        const double minutes = std::chrono::duration<double>(Clock::now() - poweredAt_).count() / 60.0;
        const double target = acquiring_ ? kWorkingTemperature : kIdleTemperature + 3.0;
        const double t = target - (target - kIdleTemperature) * std::exp(-minutes / 4.0);
        SetU32(a, uint32_t(std::lround(t * 10)));
    }
    else if (a == LineStatusAll || (a >= kLineBlock && a < kLineBlock + val::kLineCount * kSelectorStride &&
                                    (a - kLineBlock) % kSelectorStride == LineStatusOffset))
    {
        uint32_t all = 0;
        for (uint32_t l = 0; l < val::kLineCount; ++l)
        {
            const bool level = LineLevel(l);
            SetU32(LineReg(l, LineStatusOffset), level ? 1 : 0);
            all |= uint32_t(level) << l;
        }
        SetU32(LineStatusAll, all);
    }
}

bool SimCamera::LineLevel(uint32_t line) const
{
    bool level;
    if (U32(LineReg(line, reg::LineModeOffset)) == val::LineInput)
    {
        level = lineInput_[line];
    }
    else
    {
        switch (U32(LineReg(line, reg::LineSourceOffset)))
        {
        case val::LineSourceExposureActive:
        case val::LineSourceFlashActive:
        case val::LineSourceGlobalFlashWindow:
            level = exposureActive_;
            break;
        case val::LineSourceUserOutput0:
            level = U32(reg::UserOutputValue) != 0;
            break;
        case val::LineSourceUserOutput1:
            level = U32(reg::UserOutputValue + 4) != 0;
            break;
        case val::LineSourceUserOutput2:
            level = U32(reg::UserOutputValue + 8) != 0;
            break;
        default:
            level = false;
            break;
        }
    }
    return level != (U32(LineReg(line, reg::LineInverterOffset)) != 0);
}

bool SimCamera::ApplyWrite(uint64_t a, Pending* pending)
{
    using namespace reg;
    switch (a)
    {
    case AcquisitionStart:
        if (!acquiring_)
        {
            acquiring_ = true;
            pendingFrameTriggers_ = pendingAcquisitionTriggers_ = 0;
            triggerDividerCount_ = 0;
            pending->action = PostAction::StartThread;
        }
        return true;
    case AcquisitionStop:
        if (acquiring_)
        {
            pending->action = PostAction::StopThread;
        }
        return true;
    case TimestampLatch:
        SetU64(TimestampLatchValue, NowNs());
        return true;
    case TimestampReset:
        epoch_ = Clock::now();
        return true;
    case DeviceReset:
        pending->action = PostAction::ScheduleReset;
        return true;
    case TestEventGenerate:
        if (U32(EventNotification + 4 * val::EventSelTest) == val::On)
        {
            FireEvent(val::EventSelTest, 0, pending);
        }
        return true;
    case FileOperationExecute:
        return FileOperation();
    case I2COperationExecute:
        return I2COperation();
    case UserSetSave: {
        const uint32_t set = U32(UserSetSelector);
        if (set == val::UserSetDefaultSet)
        {
            return false; // the factory set is read-only
        }
        files_[set - 1] = SerializeUserSet();
        return true;
    }
    case UserSetLoad: {
        if (acquiring_ || TLLocked())
        {
            return false;
        }
        const uint32_t set = U32(UserSetSelector);
        if (set == val::UserSetDefaultSet)
        {
            for (auto& [address, r] : regs_)
            {
                if (r.persistent)
                {
                    r.bytes = factory_[address];
                }
            }
            return true;
        }
        return LoadUserSet(files_[set - 1]);
    }
    case DeviceUserID:
        StoreUserId(config_.serialNumber, Str(DeviceUserID));
        return true;
    default:
        break;
    }
    // Gains: All is the sum of the analog and the digital stage; writing All distributes it.
    if (a >= reg::Gain && a < reg::Gain + 8 * val::kGainSelectors)
    {
        const uint32_t sel = uint32_t((a - reg::Gain) / 8);
        if (sel == val::GainAll)
        {
            SetGainAll(F64(a));
        }
        else
        {
            SetF64(reg::Gain, F64(reg::Gain + 8 * val::GainAnalogAll) + F64(reg::Gain + 8 * val::GainDigitalAll));
        }
        return true;
    }
    // Software triggers.
    for (uint32_t t = 0; t < val::kTriggerSelectors; ++t)
    {
        if (a == TriggerReg(t, TriggerSoftwareOffset))
        {
            if (!acquiring_ || U32(TriggerReg(t, TriggerModeOffset)) != val::On ||
                U32(TriggerReg(t, TriggerSourceOffset)) != val::SourceSoftware)
            {
                return true; // accepted and ignored, as a camera does without a matching trigger set-up
            }
            if (t == val::FrameStart)
            {
                TriggerEdge(val::SourceSoftware);
            }
            else
            {
                ++pendingAcquisitionTriggers_;
                acqCv_.notify_all();
            }
            return true;
        }
        if (a == TriggerReg(t, TriggerModeOffset))
        {
            acqCv_.notify_all(); // a waiting acquisition loop re-reads its trigger set-up
        }
    }
    return true;
}

void SimCamera::SetGainAll(double db)
{
    const double all = std::clamp(db, 0.0, limits::GainMax[val::GainAll]);
    const double analog = std::min(all, limits::GainMax[val::GainAnalogAll]);
    SetF64(reg::Gain, all);
    SetF64(reg::Gain + 8 * val::GainAnalogAll, analog);
    SetF64(reg::Gain + 8 * val::GainDigitalAll, all - analog);
}

// The camera's own auto functions, run on the acquisition thread after each measured frame: exposure first
// (up to kAutoExposureMaxUs), then gain for what exposure could not reach; white balance by the grey world.
// "Once" switches itself off when the target is reached.
void SimCamera::ApplyAuto(const double mean[3])
{
    using namespace reg;
    constexpr double kTarget = 0.4, kTolerance = 0.05, kDamping = 0.8, kAutoExposureMaxUs = 100000.0;
    const double luma = 0.2126 * mean[0] + 0.7152 * mean[1] + 0.0722 * mean[2];
    const double ratio = kTarget / std::max(luma, 0.002);
    const bool converged = std::fabs(ratio - 1.0) < kTolerance;
    double remaining = std::pow(ratio, kDamping);
    const uint32_t exposureAuto = U32(ExposureAuto), gainAuto = U32(GainAuto);
    if (exposureAuto != val::AutoOff)
    {
        const double e = F64(ExposureTime);
        if (!converged)
        {
            const double next = QuantiseExposure(std::clamp(e * remaining, limits::ExposureMin, kAutoExposureMaxUs));
            SetF64(ExposureTime, next);
            remaining *= e / next;
        }
        else if (exposureAuto == val::AutoOnce)
        {
            SetU32(ExposureAuto, val::AutoOff);
        }
    }
    if (gainAuto != val::AutoOff)
    {
        if (!converged && std::fabs(remaining - 1.0) > 0.01)
        {
            SetGainAll(F64(reg::Gain) + 20.0 * std::log10(remaining));
        }
        else if (converged && gainAuto == val::AutoOnce)
        {
            SetU32(GainAuto, val::AutoOff);
        }
    }
    const uint32_t balanceAuto = U32(BalanceWhiteAuto);
    if (config_.color && balanceAuto != val::AutoOff && mean[0] > 0.01 && mean[1] > 0.01 && mean[2] > 0.01 &&
        mean[1] < 0.95)
    {
        const double toRed = mean[1] / mean[0], toBlue = mean[1] / mean[2];
        if (std::fabs(toRed - 1.0) < 0.02 && std::fabs(toBlue - 1.0) < 0.02)
        {
            if (balanceAuto == val::AutoOnce)
            {
                SetU32(BalanceWhiteAuto, val::AutoOff);
            }
        }
        else
        {
            SetF64(BalanceRatio,
                   std::clamp(F64(BalanceRatio) * toRed, limits::BalanceRatioMin, limits::BalanceRatioMax));
            SetF64(BalanceRatio + 16,
                   std::clamp(F64(BalanceRatio + 16) * toBlue, limits::BalanceRatioMin, limits::BalanceRatioMax));
        }
    }
    UpdateDerived();
}

void SimCamera::TriggerEdge(uint32_t source)
{
    using namespace reg;
    if (!acquiring_ || U32(TriggerReg(val::FrameStart, TriggerModeOffset)) != val::On ||
        U32(TriggerReg(val::FrameStart, TriggerSourceOffset)) != source)
    {
        return;
    }
    const uint32_t divider = std::max<uint32_t>(1, U32(TriggerReg(val::FrameStart, TriggerDividerOffset)));
    if (triggerDividerCount_++ % divider != 0)
    {
        return;
    }
    ++pendingFrameTriggers_;
    acqCv_.notify_all();
}

void SimCamera::SetSceneLight(double red, double green, double blue)
{
    std::lock_guard<std::mutex> lock(mutex_);
    sceneLight_[0] = red;
    sceneLight_[1] = green;
    sceneLight_[2] = blue;
}

void SimCamera::SetLineInput(uint32_t line, bool level)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (line >= val::kLineCount || lineInput_[line] == level)
    {
        return;
    }
    lineInput_[line] = level;
    if (U32(LineReg(line, reg::LineModeOffset)) != val::LineInput)
    {
        return;
    }
    static constexpr uint32_t kSourceOfLine[val::kLineCount] = {val::SourceLine0, 0xFFFF, val::SourceLine2,
                                                                val::SourceLine3};
    const bool inverted = U32(LineReg(line, reg::LineInverterOffset)) != 0;
    const bool rising = (level != inverted);
    bool fire = false;
    switch (U32(TriggerReg(val::FrameStart, reg::TriggerActivationOffset)))
    {
    case val::RisingEdge:
    case val::LevelHigh:
        fire = rising;
        break;
    case val::FallingEdge:
    case val::LevelLow:
        fire = !rising;
        break;
    default:
        fire = true;
        break;
    }
    if (fire)
    {
        TriggerEdge(kSourceOfLine[line]);
    }
}

uint64_t SimCamera::NowNs() const
{
    return uint64_t(std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - epoch_).count());
}

size_t SimCamera::ImageSizeLocked() const
{
    const size_t one = ImageBytes(U32(reg::PixelFormat), U32(reg::Width), U32(reg::Height));
    const uint32_t images = U32(reg::ImageBufferMode) == val::MultiImage ? U32(reg::ImageBufferImageCount) : 1;
    return one * images;
}

size_t SimCamera::ChunkBytesLocked() const
{
    if (U32(reg::ChunkModeActive) == 0)
    {
        return 0;
    }
    size_t bytes = 8; // trailer of the image chunk
    for (uint32_t k = 0; k < val::kChunkCount; ++k)
    {
        if (U32(reg::ChunkEnable + 4 * k) != 0)
        {
            bytes += ChunkDataLength(k) + 8;
        }
    }
    return bytes;
}

uint64_t SimCamera::FramePeriodNs() const
{
    using namespace reg;
    const double binV = double(U32(BinningVertical)) * U32(BinningVertical + kSelectorStride);
    const double lineTimeNs = 1e9 / (config_.fullFrameRate * config_.sensorHeight);
    const double readoutNs = U32(Height) * binV * lineTimeNs;
    const double exposureNs = F64(ExposureTime) * 1000.0;
    uint64_t throughput = config_.linkSpeed;
    if (U32(DeviceLinkThroughputLimitMode) == val::On)
    {
        throughput = std::min<uint64_t>(throughput, U64(reg::DeviceLinkThroughputLimit));
    }
    const double linkNs =
        double(ImageSizeLocked() + ChunkBytesLocked()) * 1e9 / double(std::max<uint64_t>(1, throughput));
    double period = std::max({readoutNs, exposureNs, linkNs, double(kMinFramePeriodNs)});
    if (U32(AcquisitionControlFlags) & 1u)
    {
        period = std::max(period, 1e9 / std::max(limits::FrameRateMin, F64(AcquisitionFrameRate)));
    }
    return uint64_t(period);
}

void SimCamera::UpdateDerived()
{
    using namespace reg;
    const uint32_t stepH = U32(BinningHorizontal) * U32(BinningHorizontal + kSelectorStride) *
                           U32(DecimationHorizontal) * U32(DecimationHorizontal + kSelectorStride);
    const uint32_t stepV = U32(BinningVertical) * U32(BinningVertical + kSelectorStride) * U32(DecimationVertical) *
                           U32(DecimationVertical + kSelectorStride);
    const uint32_t widthMax = (config_.sensorWidth / std::max(1u, stepH)) / limits::WidthInc * limits::WidthInc;
    const uint32_t heightMax = (config_.sensorHeight / std::max(1u, stepV)) / limits::HeightInc * limits::HeightInc;
    SetU32(WidthMax, widthMax);
    SetU32(HeightMax, heightMax);
    // A smaller maximum pulls the region in: first the size, then the offset.
    uint32_t width = std::clamp(U32(Width), limits::WidthMin, widthMax);
    uint32_t height = std::clamp(U32(Height), limits::HeightMin, heightMax);
    SetU32(Width, width);
    SetU32(Height, height);
    if (U32(OffsetX) + width > widthMax)
    {
        SetU32(OffsetX, (widthMax - width) / limits::OffsetXInc * limits::OffsetXInc);
    }
    if (U32(OffsetY) + height > heightMax)
    {
        SetU32(OffsetY, (heightMax - height) / limits::OffsetYInc * limits::OffsetYInc);
    }
    SetU32(PayloadSize, uint32_t(ImageSizeLocked() + ChunkBytesLocked()));
    // Frame rate limits: sensor readout, exposure and link.
    const uint64_t flagsBackup = U32(AcquisitionControlFlags);
    SetU32(AcquisitionControlFlags, 0);
    const double maxRate = 1e9 / double(FramePeriodNs());
    SetU32(AcquisitionControlFlags, uint32_t(flagsBackup));
    SetF64(AcquisitionFrameRateMax, maxRate);
    if (F64(AcquisitionFrameRate) > maxRate)
    {
        SetF64(AcquisitionFrameRate, maxRate);
    }
    SetU64(ResultingFramePeriodNs, FramePeriodNs());
    uint64_t throughput = config_.linkSpeed;
    if (U32(DeviceLinkThroughputLimitMode) == val::On)
    {
        throughput = std::min<uint64_t>(throughput, U64(reg::DeviceLinkThroughputLimit));
    }
    SetF64(DeviceLinkAcquisitionFrameRateLimit, double(throughput) / double(std::max<uint32_t>(1, U32(PayloadSize))));
    const bool waiting =
        acquiring_ && U32(TriggerReg(val::FrameStart, TriggerModeOffset)) == val::On && pendingFrameTriggers_ == 0;
    SetU32(reg::AcquisitionStatus, (acquiring_ ? 1u : 0u) | (waiting ? 2u : 0u));
    SetU32(FileSize, uint32_t(files_[std::min<uint32_t>(U32(FileSelector), val::kFileCount - 1)].size()));
}

SimImageSettings SimCamera::ImageSettingsLocked() const
{
    using namespace reg;
    SimImageSettings s;
    s.sensorWidth = config_.sensorWidth;
    s.sensorHeight = config_.sensorHeight;
    s.colorSensor = config_.color;
    s.width = U32(Width);
    s.height = U32(Height);
    s.offsetX = U32(OffsetX);
    s.offsetY = U32(OffsetY);
    s.binningH = U32(BinningHorizontal) * U32(BinningHorizontal + kSelectorStride);
    s.binningV = U32(BinningVertical) * U32(BinningVertical + kSelectorStride);
    s.decimationH = U32(DecimationHorizontal) * U32(DecimationHorizontal + kSelectorStride);
    s.decimationV = U32(DecimationVertical) * U32(DecimationVertical + kSelectorStride);
    s.binningAverage =
        U32(reg::BinningMode) == val::BinningAverage || U32(reg::BinningMode + kSelectorStride) == val::BinningAverage;
    s.reverseX = (U32(ImageFlip) & 1u) != 0;
    s.reverseY = (U32(ImageFlip) & 2u) != 0;
    s.pixelFormat = U32(reg::PixelFormat);
    s.exposureUs = F64(ExposureTime);
    s.gainDb = F64(reg::Gain);
    for (uint32_t c = 0; c < 3; ++c)
    {
        s.balance[c] = F64(BalanceRatio + 8 * c);
    }
    s.blackLevelPercent = F64(BlackLevel);
    s.gamma = F64(reg::Gamma);
    s.focusPosition = int(U32(FocusStepper));
    s.focusPeak = config_.focusPeak;
    for (uint32_t c = 0; c < 3; ++c)
        s.light[c] = sceneLight_[c];
    s.colorCorrection = U32(reg::ColorCorrectionMode) == val::ColorCorrectionAuto;
    for (uint32_t k = 0; k < val::kColorCorrectionGains; ++k)
    {
        s.ccm[k] = F64(ColorCorrectionMatrixValue + 8 * k);
    }
    s.lowNoise = U32(reg::SensorOperationMode) == val::SensorLowNoise;
    s.rollingShutter = U32(reg::SensorShutterMode) == val::ShutterRolling;
    s.seed = std::hash<std::string>{}(config_.serialNumber);
    return s;
}

// ---------------------------------------------------------------------------------------------- files, user sets, I2C

bool SimCamera::FileOperation()
{
    using namespace reg;
    const uint32_t sel = U32(FileSelector);
    FileState& st = fileStates_[sel];
    std::string& content = files_[sel];
    bool ok = false;
    uint32_t result = 0;
    switch (U32(FileOperationSelector))
    {
    case val::FileOpen:
        if (!st.open && !(sel == val::FileFirmware && U32(reg::FileOpenMode) != val::OpenWrite))
        {
            st.open = true;
            st.mode = U32(reg::FileOpenMode);
            if (st.mode == val::OpenWrite)
            {
                content.clear();
            }
            ok = true;
        }
        break;
    case val::FileClose:
        ok = st.open;
        if (ok && sel == val::FileFirmware && st.mode != val::OpenRead)
        {
            // The image is checked when it is complete; a bad one is dropped and the close reports it.
            std::string version;
            ok = CheckFirmwareImage(content, &version);
            if (ok)
            {
                pendingFirmware_ = version;
            }
            else
            {
                content.clear();
            }
        }
        st.open = false;
        break;
    case val::FileRead:
        if (st.open && st.mode != val::OpenWrite && U32(FileAccessOffset) <= content.size())
        {
            const size_t offset = U32(FileAccessOffset);
            const size_t n =
                std::min<size_t>({U32(FileAccessLength), kFileAccessBufferLength, content.size() - offset});
            auto& buffer = regs_[FileAccessBuffer].bytes;
            std::fill(buffer.begin(), buffer.end(), 0);
            std::copy_n(content.begin() + offset, n, buffer.begin());
            result = uint32_t(n);
            ok = true;
        }
        break;
    case val::FileWrite:
        if (st.open && st.mode != val::OpenRead && U32(FileAccessOffset) <= content.size())
        {
            const size_t offset = U32(FileAccessOffset);
            const size_t n = std::min<size_t>(U32(FileAccessLength), kFileAccessBufferLength);
            if (offset + n <= kMaxFileSize)
            {
                if (content.size() < offset + n)
                {
                    content.resize(offset + n);
                }
                const auto& buffer = regs_[FileAccessBuffer].bytes;
                std::copy_n(buffer.begin(), n, content.begin() + offset);
                result = uint32_t(n);
                ok = true;
            }
        }
        break;
    case val::FileDelete:
        if (!st.open)
        {
            content.clear();
            ok = true;
        }
        break;
    default:
        break;
    }
    SetU32(reg::FileOperationStatus, ok ? val::Success : val::Failure);
    SetU32(FileOperationResult, result);
    return true; // the command itself is accepted; the status tells the outcome
}

bool SimCamera::CheckFirmwareImage(const std::string& image, std::string* version) const
{
    std::istringstream in(image);
    std::string line, family;
    if (!std::getline(in, line) || line != firmware::Magic)
    {
        return false;
    }
    while (std::getline(in, line) && !line.empty())
    {
        if (line.rfind("family=", 0) == 0)
        {
            family = line.substr(7);
        }
        else if (line.rfind("version=", 0) == 0)
        {
            *version = line.substr(8);
        }
    }
    return !family.empty() && config_.modelName.rfind(family, 0) == 0 && !version->empty() &&
           version->size() < reg::kStringLength;
}

std::string SimCamera::SerializeUserSet() const
{
    std::ostringstream out;
    out << "# Lumivue simulated camera user set: register=little-endian bytes\n";
    for (const auto& [address, r] : regs_)
    {
        if (!r.persistent)
        {
            continue;
        }
        char head[24];
        std::snprintf(head, sizeof head, "0x%05" PRIx64 "=", address);
        out << head;
        for (uint8_t b : r.bytes)
        {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02x", b);
            out << hex;
        }
        out << '\n';
    }
    return out.str();
}

bool SimCamera::LoadUserSet(const std::string& text)
{
    std::istringstream in(text);
    std::string line;
    int applied = 0;
    while (std::getline(in, line))
    {
        const auto eq = line.find('=');
        if (line.empty() || line[0] == '#' || eq == std::string::npos)
        {
            continue;
        }
        const uint64_t address = std::strtoull(line.substr(0, eq).c_str(), nullptr, 16);
        auto it = regs_.find(address);
        const std::string hex = line.substr(eq + 1);
        if (it == regs_.end() || !it->second.persistent || hex.size() != it->second.size * 2)
        {
            continue;
        }
        std::vector<uint8_t> bytes(it->second.size);
        bool good = true;
        for (size_t i = 0; i < bytes.size() && good; ++i)
        {
            char* end = nullptr;
            const std::string pair = hex.substr(2 * i, 2);
            bytes[i] = uint8_t(std::strtoul(pair.c_str(), &end, 16));
            good = end == pair.c_str() + 2;
        }
        if (good && Validate(address, it->second, bytes, false))
        {
            it->second.bytes = bytes;
            ++applied;
        }
    }
    return applied > 0;
}

bool SimCamera::I2COperation()
{
    using namespace reg;
    const uint32_t device = U32(I2CDeviceAddress);
    const bool tenBit = U32(I2CDeviceAddressLength) == 10;
    const uint32_t regLength = U32(I2CRegisterAddressLength);
    uint32_t regAddress = U32(I2CRegisterAddress);
    if (regLength == 2 && U32(I2CRegisterAddressEndianness) == val::I2CLittleEndian)
    {
        regAddress = ((regAddress & 0xFF) << 8) | ((regAddress >> 8) & 0xFF); // as the bytes go on the bus
    }
    const uint32_t length = U32(I2CDataLength);
    const bool read = U32(I2COperationSelector) == val::I2CRead;
    bool ok = false;
    if (!tenBit && device == i2cdev::EepromAddress && (regLength == 1 || regLength == 2) &&
        regAddress < i2cdev::EepromSize)
    {
        auto& data = regs_[read ? I2CData : I2CTransmitBuffer].bytes;
        for (uint32_t i = 0; i < length; ++i)
        {
            uint8_t& cell = eeprom_[(regAddress + i) % i2cdev::EepromSize];
            if (read)
            {
                data[i] = cell;
            }
            else
            {
                cell = data[i];
            }
        }
        ok = true;
    }
    else if (!tenBit && device == i2cdev::TemperatureSensorAddress && regLength == 1 && regAddress == 0 && read)
    {
        // LM75-style reading: degrees in the high byte, the fraction in the low byte, big-endian.
        RefreshForRead(DeviceTemperatureRaw);
        const int raw = int(std::lround(U32(DeviceTemperatureRaw) / 10.0 * 256.0));
        auto& data = regs_[I2CData].bytes;
        std::fill(data.begin(), data.end(), 0);
        data[0] = uint8_t(raw >> 8);
        data[1] = uint8_t(raw);
        ok = true;
    }
    SetU32(I2COperationStatus, ok ? val::Success : val::Failure);
    return true;
}

// ---------------------------------------------------------------------------------------------- events and callbacks

void SimCamera::FireEvent(uint32_t selector, uint64_t frameId, Pending* pending)
{
    SimEvent e;
    e.timestampNs = NowNs();
    if (selector == val::EventSelExposureEnd)
    {
        e.eventId = eventid::ExposureEnd;
        e.name = "ExposureEnd";
        e.data.resize(8);
        PutLE(e.data.data(), frameId, 8);
        SetU64(reg::EventExposureEndTimestamp, e.timestampNs);
        SetU64(reg::EventExposureEndFrameID, frameId);
    }
    else
    {
        e.eventId = eventid::Test;
        e.name = "Test";
        SetU64(reg::EventTestTimestamp, e.timestampNs);
    }
    pending->events.push_back(std::move(e));
}

void SimCamera::RunPending(Pending& pending)
{
    if (!pending.events.empty())
    {
        std::lock_guard<std::mutex> lock(callbackMutex_);
        if (eventSink_)
        {
            for (const SimEvent& e : pending.events)
            {
                eventSink_(e);
            }
        }
    }
    switch (pending.action)
    {
    case PostAction::StartThread:
        StartAcquisitionThread();
        break;
    case PostAction::StopThread:
        StopAcquisitionThread();
        break;
    case PostAction::ScheduleReset: {
        std::lock_guard<std::mutex> lock(serviceMutex_);
        disconnectScheduled_ = true;
        disconnectAt_ = Clock::now() + kResetDisconnectDelay;
        reconnectScheduled_ = true;
        reconnectPowerCycle_ = true;
        reconnectAt_ = disconnectAt_ + config_.resetDuration;
        serviceCv_.notify_all();
        break;
    }
    case PostAction::None:
        break;
    }
}

void SimCamera::NotifyConnection(bool connected)
{
    std::lock_guard<std::mutex> lock(callbackMutex_);
    if (connectionCallback_)
    {
        connectionCallback_(connected);
    }
}

std::string SimCamera::VendorName() const
{
    return config_.vendorName;
}
std::string SimCamera::ModelName() const
{
    return config_.modelName;
}
std::string SimCamera::SerialNumber() const
{
    return config_.serialNumber;
}
std::string SimCamera::UserDefinedName() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return Str(reg::DeviceUserID);
}
std::string SimCamera::Version() const
{
    return config_.deviceVersion;
}
bool SimCamera::IsLocked() const
{
    return config_.locked;
}

void SimCamera::SetFrameSink(FrameSink* sink)
{
    std::lock_guard<std::mutex> lock(sinkMutex_);
    sink_ = sink;
}
void SimCamera::SetEventSink(std::function<void(const SimEvent&)> sink)
{
    std::lock_guard<std::mutex> lock(callbackMutex_);
    eventSink_ = std::move(sink);
}
void SimCamera::SetConnectionCallback(std::function<void(bool)> callback)
{
    std::lock_guard<std::mutex> lock(callbackMutex_);
    connectionCallback_ = std::move(callback);
}
bool SimCamera::IsConnected() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return connected_;
}
bool SimCamera::IsAcquiring() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return acquiring_;
}
void SimCamera::InjectReadFailure(uint64_t address, bool fail)
{
    std::lock_guard<std::mutex> lock(mutex_);
    failingReads_.erase(std::remove(failingReads_.begin(), failingReads_.end(), address), failingReads_.end());
    if (fail)
    {
        failingReads_.push_back(address);
    }
}

void SimCamera::InjectWriteFailure(uint64_t address, bool fail)
{
    std::lock_guard<std::mutex> lock(mutex_);
    failingWrites_.erase(std::remove(failingWrites_.begin(), failingWrites_.end(), address), failingWrites_.end());
    if (fail)
    {
        failingWrites_.push_back(address);
    }
}

void SimCamera::SetCommandDuration(uint64_t address, std::chrono::milliseconds duration)
{
    std::lock_guard<std::mutex> lock(mutex_);
    commandBusyUntil_.erase(address);
    if (duration.count() > 0)
    {
        commandDurations_[address] = duration;
    }
    else
    {
        commandDurations_.erase(address);
    }
}

void SimCamera::SetFrameHold(std::chrono::milliseconds hold)
{
    std::lock_guard<std::mutex> lock(mutex_);
    frameHold_ = std::max(hold, std::chrono::milliseconds(0));
}

void SimCamera::InjectDropNextFrame()
{
    std::lock_guard<std::mutex> lock(mutex_);
    dropNext_ = true;
}
void SimCamera::InjectIncompleteNextFrame()
{
    std::lock_guard<std::mutex> lock(mutex_);
    incompleteNext_ = true;
}
void SimCamera::InjectOverstatedHeightNextFrame()
{
    std::lock_guard<std::mutex> lock(mutex_);
    overstatedHeightNext_ = true;
}
void SimCamera::SetHeldByOtherProcess(bool held)
{
    std::lock_guard<std::mutex> lock(mutex_);
    heldByOther_ = held;
}
bool SimCamera::IsHeldByOtherProcess() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return heldByOther_;
}
uint64_t SimCamera::LostFrameCount() const
{
    return lostFrames_.load();
}
uint64_t SimCamera::DeliveredFrameCount() const
{
    return deliveredFrames_.load();
}

// ---------------------------------------------------------------------------------------------- connection

void SimCamera::DisconnectNow()
{
    DoDisconnect();
}

void SimCamera::ReconnectAfter(std::chrono::milliseconds delay)
{
    std::lock_guard<std::mutex> lock(serviceMutex_);
    reconnectScheduled_ = true;
    reconnectPowerCycle_ = false;
    reconnectAt_ = Clock::now() + delay;
    serviceCv_.notify_all();
}

void SimCamera::DoDisconnect()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!connected_)
        {
            return;
        }
        connected_ = false;
    }
    StopAcquisitionThread();
    NotifyConnection(false);
}

void SimCamera::DoReconnect(bool powerCycle)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (connected_)
        {
            return;
        }
        if (powerCycle)
        {
            PowerUp();
        }
        connected_ = true;
    }
    NotifyConnection(true);
}

void SimCamera::ServiceLoop()
{
    std::unique_lock<std::mutex> lock(serviceMutex_);
    while (!serviceStop_)
    {
        const auto now = Clock::now();
        if (disconnectScheduled_ && disconnectAt_ <= now)
        {
            disconnectScheduled_ = false;
            lock.unlock();
            DoDisconnect();
            lock.lock();
            continue;
        }
        if (reconnectScheduled_ && reconnectAt_ <= now && !disconnectScheduled_)
        {
            reconnectScheduled_ = false;
            const bool powerCycle = reconnectPowerCycle_;
            lock.unlock();
            DoReconnect(powerCycle);
            lock.lock();
            continue;
        }
        auto wakeAt = Clock::time_point::max();
        if (disconnectScheduled_)
        {
            wakeAt = std::min(wakeAt, disconnectAt_);
        }
        if (reconnectScheduled_)
        {
            wakeAt = std::min(wakeAt, reconnectAt_);
        }
        if (wakeAt == Clock::time_point::max())
        {
            serviceCv_.wait(lock);
        }
        else
        {
            serviceCv_.wait_until(lock, wakeAt);
        }
    }
}

// ---------------------------------------------------------------------------------------------- acquisition

void SimCamera::StartAcquisitionThread()
{
    std::lock_guard<std::mutex> threadLock(threadMutex_);
    if (acqThread_.joinable())
    {
        acqThread_.join(); // a finished single/multi-frame run
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!acquiring_)
        {
            return; // stopped again before the thread came up
        }
        stopRequested_ = false;
    }
    acqThread_ = std::thread(&SimCamera::AcquisitionLoop, this);
}

void SimCamera::StopAcquisitionThread()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopRequested_ = true;
    }
    acqCv_.notify_all();
    std::lock_guard<std::mutex> threadLock(threadMutex_);
    if (acqThread_.joinable())
    {
        if (acqThread_.get_id() == std::this_thread::get_id())
        {
            return; // called from a sink on the acquisition thread: the loop ends by itself
        }
        acqThread_.join();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    acquiring_ = false;
    UpdateDerived();
}

void SimCamera::AcquisitionLoop()
{
    using namespace reg;
    std::unique_lock<std::mutex> lock(mutex_);
    auto triggerOn = [&](uint32_t selector) { return U32(TriggerReg(selector, TriggerModeOffset)) == val::On; };
    auto waitFor = [&](Clock::time_point until) {
        return !acqCv_.wait_until(lock, until, [&] { return stopRequested_; });
    };
    if (triggerOn(val::AcquisitionStartTrigger))
    {
        acqCv_.wait(lock, [&] { return stopRequested_ || pendingAcquisitionTriggers_ > 0; });
        if (!stopRequested_)
        {
            --pendingAcquisitionTriggers_;
        }
    }
    // Prepare the generator before the first exposure so the first frame keeps the frame timing.
    {
        const SimImageSettings settings = ImageSettingsLocked();
        lock.unlock();
        generator_->Configure(settings);
        lock.lock();
    }
    if (frameHold_.count() > 0 && !waitFor(Clock::now() + frameHold_))
    {
        acquiring_ = false;
        UpdateDerived();
        return;
    }
    uint64_t buffersDone = 0;
    auto next = Clock::now();
    while (!stopRequested_ && connected_)
    {
        uint64_t triggerNs = 0;
        if (triggerOn(val::FrameStart))
        {
            UpdateDerived();
            acqCv_.wait(lock,
                        [&] { return stopRequested_ || pendingFrameTriggers_ > 0 || !triggerOn(val::FrameStart); });
            if (stopRequested_)
            {
                break;
            }
            if (pendingFrameTriggers_ == 0)
            {
                continue;
            }
            --pendingFrameTriggers_;
            triggerNs = NowNs();
            const double delayUs = F64(TriggerReg(val::FrameStart, TriggerDelayOffset));
            if (delayUs > 0 && !waitFor(Clock::now() + std::chrono::microseconds(int64_t(delayUs))))
            {
                break;
            }
        }
        else
        {
            acqCv_.wait_until(lock, next, [&] { return stopRequested_ || triggerOn(val::FrameStart); });
            if (stopRequested_)
            {
                break;
            }
            if (triggerOn(val::FrameStart))
            {
                continue;
            }
        }
        const auto start = Clock::now();
        FrameJob job;
        job.timestampNs = NowNs();
        job.triggerTimestampNs = triggerNs != 0 ? triggerNs : job.timestampNs;
        job.exposureUs = F64(ExposureTime);
        exposureActive_ = true;
        UpdateDerived();
        const bool exposed = waitFor(start + std::chrono::nanoseconds(int64_t(job.exposureUs * 1000.0)));
        exposureActive_ = false;
        if (!exposed)
        {
            break;
        }
        job.settings = ImageSettingsLocked();
        job.images = U32(reg::ImageBufferMode) == val::MultiImage ? U32(ImageBufferImageCount) : 1;
        job.frameId = nextFrameId_;
        nextFrameId_ += job.images;
        job.chunkMode = U32(ChunkModeActive) != 0;
        for (uint32_t k = 0; k < val::kChunkCount; ++k)
        {
            job.chunkEnabled[k] = U32(ChunkEnable + 4 * k) != 0;
        }
        job.chunkGain = F64(reg::Gain + 8 * std::min<uint32_t>(U32(reg::ChunkGainSelector), val::kGainSelectors - 1));
        job.measure = U32(ExposureAuto) != val::AutoOff || U32(GainAuto) != val::AutoOff ||
                      (config_.color && U32(BalanceWhiteAuto) != val::AutoOff);
        job.drop = std::exchange(dropNext_, false);
        job.incomplete = std::exchange(incompleteNext_, false);
        job.overstatedHeight = std::exchange(overstatedHeightNext_, false);
        Pending pending;
        if (U32(EventNotification + 4 * val::EventSelExposureEnd) == val::On)
        {
            FireEvent(val::EventSelExposureEnd, job.frameId, &pending);
        }
        const uint64_t periodNs = FramePeriodNs() * job.images;
        lock.unlock();
        RunPending(pending);
        DeliverFrame(job);
        lock.lock();
        if (job.measured)
        {
            ApplyAuto(job.levels);
        }
        ++buffersDone;
        const uint32_t mode = U32(AcquisitionMode);
        if (mode == val::SingleFrame ||
            (mode == val::MultiFrame && buffersDone * job.images >= U32(AcquisitionFrameCount)))
        {
            break;
        }
        next = start + std::chrono::nanoseconds(periodNs);
        const auto now = Clock::now();
        if (next < now)
        {
            next = now; // running late (slow host): the camera does not catch up with a burst
        }
    }
    acquiring_ = false;
    exposureActive_ = false;
    UpdateDerived();
}

void SimCamera::DeliverFrame(FrameJob& job)
{
    if (!generator_->Configure(job.settings))
    {
        ++lostFrames_;
        return;
    }
    const size_t one = generator_->ImageSize();
    const size_t imageBytes = one * job.images;
    size_t chunkBytes = 0;
    if (job.chunkMode)
    {
        chunkBytes = 8;
        for (uint32_t k = 0; k < val::kChunkCount; ++k)
        {
            if (job.chunkEnabled[k])
            {
                chunkBytes += ChunkDataLength(k) + 8;
            }
        }
    }
    std::lock_guard<std::mutex> sinkLock(sinkMutex_);
    if (sink_ == nullptr || job.drop)
    {
        ++lostFrames_;
        return;
    }
    void* token = nullptr;
    uint8_t* mem = sink_->AcquireBuffer(imageBytes + chunkBytes, &token);
    if (mem == nullptr)
    {
        ++lostFrames_;
        return;
    }
    for (uint32_t k = 0; k < job.images; ++k)
    {
        generator_->Generate(job.frameId + k, mem + k * one);
    }
    if (job.measure)
    {
        generator_->Measure(mem, job.levels);
        job.measured = true;
    }
    if (job.incomplete)
    {
        // The second half of the packets never arrived.
        std::memset(mem + imageBytes / 2, 0, imageBytes - imageBytes / 2);
    }
    if (job.chunkMode)
    {
        uint8_t* p = mem + imageBytes;
        PutBE32(p, chunkid::Image);
        PutBE32(p + 4, uint32_t(imageBytes));
        p += 8;
        const SimImageSettings& s = job.settings;
        for (uint32_t k = 0; k < val::kChunkCount; ++k)
        {
            if (!job.chunkEnabled[k])
            {
                continue;
            }
            const uint32_t len = ChunkDataLength(k);
            std::memset(p, 0, len);
            switch (k)
            {
            case val::ChunkUsableROI:
                PutLE(p, s.offsetX, 4);
                PutLE(p + 4, s.offsetY, 4);
                PutLE(p + 8, s.width, 4);
                PutLE(p + 12, s.height, 4);
                break;
            case val::ChunkOffsetX:
                PutLE(p, s.offsetX, 4);
                break;
            case val::ChunkOffsetY:
                PutLE(p, s.offsetY, 4);
                break;
            case val::ChunkWidth:
                PutLE(p, s.width, 4);
                break;
            case val::ChunkHeight:
                PutLE(p, s.height, 4);
                break;
            case val::ChunkPixelFormat:
                PutLE(p, s.pixelFormat, 4);
                break;
            case val::ChunkTimestamp:
                PutLE(p, job.timestampNs, 8);
                break;
            case val::ChunkExposureTriggerTimestamp:
                PutLE(p, job.triggerTimestampNs, 8);
                break;
            case val::ChunkExposureTime:
                PutLE(p, AsBits(job.exposureUs), 8);
                break;
            case val::ChunkGain:
                PutLE(p, AsBits(job.chunkGain), 8);
                break;
            case val::ChunkFrameID:
                PutLE(p, job.frameId, 8);
                break;
            default:
                break;
            }
            PutBE32(p + len, chunkid::For(k));
            PutBE32(p + len + 4, len);
            p += len + 8;
        }
    }
    FrameHeader header;
    header.frameId = job.frameId;
    header.timestampNs = job.timestampNs;
    header.width = job.settings.width;
    header.height = job.overstatedHeight ? 2 * job.settings.height : job.settings.height;
    header.pixelFormat = job.settings.pixelFormat;
    header.imageSize = imageBytes;
    header.payloadSize = imageBytes + chunkBytes;
    header.incomplete = job.incomplete;
    header.imagesInBuffer = job.images;
    header.hasChunks = job.chunkMode;
    sink_->CommitBuffer(token, header);
    ++deliveredFrames_;
}

} // namespace orna::core::sim
