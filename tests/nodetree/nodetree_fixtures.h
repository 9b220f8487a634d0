// Node maps for the node tree tests and benchmark: a description with the access cases (a lock node, a
// camera that aligns written values, a register that fails, a counted register, a selector, a device reset),
// and a generated description of many features of every kind on one register space.
#pragma once

#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/registerbank.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace nodetree_test {

inline const char* kHeader = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="NodeTree" VendorName="Orna" ToolTip="NodeTree" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
)";

inline std::string IntReg(const std::string& name, uint64_t address, const std::string& access = "RW",
                          const std::string& extra = {})
{
    char addr[32];
    std::snprintf(addr, sizeof addr, "0x%llX", static_cast<unsigned long long>(address));
    return "  <IntReg Name=\"" + name + "\" NameSpace=\"Custom\">" + extra + "<Address>" + addr +
           "</Address><Length>4</Length><AccessMode>" + access +
           "</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
}

// Addresses of kAccessXml's registers.
enum : uint64_t
{
    kLockAddress = 0x100,
    kWidthAddress = 0x104,
    kAlignedAddress = 0x108,
    kPlainAddress = 0x10C,
    kFailingAddress = 0x110,
    kCounterAddress = 0x114,
    kSelectorAddress = 0x118,
    kLevelAddress = 0x200, // three values, one per selector entry
    kResetAddress = 0x120,
};

inline std::string AccessXml(bool withPlain = true)
{
    std::string xml = kHeader;
    xml += R"(  <Category Name="Root" NameSpace="Standard">
    <pFeature>Control</pFeature>
  </Category>
  <Category Name="Control" NameSpace="Standard">
    <pFeature>TLParamsLocked</pFeature>
    <pFeature>Width</pFeature>
    <pFeature>Aligned</pFeature>
)";
    if (withPlain)
        xml += "    <pFeature>Plain</pFeature>\n";
    xml += R"(    <pFeature>Failing</pFeature>
    <pFeature>Counter</pFeature>
    <pFeature>LevelSelector</pFeature>
    <pFeature>Level</pFeature>
    <pFeature>DeviceReset</pFeature>
  </Category>
  <Integer Name="TLParamsLocked" NameSpace="Standard">
    <pValue>LockReg</pValue><Min>0</Min><Max>1</Max>
  </Integer>
  <Integer Name="Width" NameSpace="Standard">
    <pIsLocked>TLParamsLocked</pIsLocked>
    <pValue>WidthReg</pValue><Min>16</Min><Max>4096</Max><Inc>16</Inc>
  </Integer>
  <Integer Name="Aligned" NameSpace="Custom">
    <pValue>AlignedReg</pValue><Min>0</Min><Max>1000</Max><Inc>4</Inc>
  </Integer>
)";
    if (withPlain)
        xml += R"(  <Integer Name="Plain" NameSpace="Custom">
    <pValue>PlainReg</pValue><Min>0</Min><Max>100</Max><Inc>4</Inc>
  </Integer>
)" + IntReg("PlainReg", kPlainAddress);
    xml += R"(  <Integer Name="Failing" NameSpace="Custom">
    <pValue>FailingReg</pValue><Min>0</Min><Max>1000</Max>
  </Integer>
  <Integer Name="Counter" NameSpace="Custom">
    <pValue>CounterReg</pValue><Min>0</Min><Max>100000</Max>
  </Integer>
  <Enumeration Name="LevelSelector" NameSpace="Standard">
    <pSelected>Level</pSelected>
    <EnumEntry Name="Low"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Mid"><Value>1</Value></EnumEntry>
    <EnumEntry Name="High"><Value>2</Value></EnumEntry>
    <pValue>SelectorReg</pValue>
  </Enumeration>
  <IntReg Name="Level" NameSpace="Standard">
    <Address>0x200</Address>
    <pIndex Offset="4">LevelSelector</pIndex>
    <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Command Name="DeviceReset" NameSpace="Standard">
    <pValue>ResetReg</pValue><CommandValue>1</CommandValue>
  </Command>
)";
    xml += IntReg("LockReg", kLockAddress) + IntReg("WidthReg", kWidthAddress) + IntReg("AlignedReg", kAlignedAddress) +
           IntReg("FailingReg", kFailingAddress) + IntReg("CounterReg", kCounterAddress) +
           IntReg("SelectorReg", kSelectorAddress) + IntReg("ResetReg", kResetAddress);
    xml += "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";
    return xml;
}

inline std::vector<uint8_t> Le32(uint32_t v)
{
    return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
}

inline uint32_t FromLe32(const uint8_t* b)
{
    return b[0] | (b[1] << 8) | (b[2] << 16) | (uint32_t(b[3]) << 24);
}

// The device behind AccessXml. Aligned rounds every written value down to a multiple of 4, as a camera that
// aligns to its increment does; Failing fails every access once failing is set (the camera gone) and, while
// gate is set, waits for it before failing; Counter counts the writes that reach it.
struct AccessDevice
{
    std::shared_ptr<orna::core::detail::RegisterBank> bank = std::make_shared<orna::core::detail::RegisterBank>();
    std::shared_ptr<std::atomic<uint32_t>> aligned = std::make_shared<std::atomic<uint32_t>>(0);
    std::shared_ptr<std::atomic<uint32_t>> counter = std::make_shared<std::atomic<uint32_t>>(0);
    std::shared_ptr<std::atomic<int>> counterWrites = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<std::atomic<bool>> failing = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<std::atomic<bool>> failingEntered = std::make_shared<std::atomic<bool>>(false);
    // While set, a failing write waits (up to 5 s) until it is cleared.
    std::shared_ptr<std::atomic<bool>> gate = std::make_shared<std::atomic<bool>>(false);

    explicit AccessDevice(uint32_t width = 640)
    {
        bank->AddMemory(kLockAddress, 4);
        bank->AddMemory(kWidthAddress, 4, true, Le32(width));
        auto alignedValue = aligned;
        bank->AddRegion(
            kAlignedAddress, 4,
            [alignedValue](uint8_t* data, size_t) {
                std::memcpy(data, Le32(alignedValue->load()).data(), 4);
                return true;
            },
            [alignedValue](const uint8_t* data, size_t) {
                alignedValue->store(FromLe32(data) & ~3u);
                return true;
            });
        bank->AddMemory(kPlainAddress, 4);
        auto fail = failing;
        auto entered = failingEntered;
        auto wait = gate;
        bank->AddRegion(
            kFailingAddress, 4,
            [fail](uint8_t* data, size_t) {
                std::memset(data, 0, 4);
                return !fail->load();
            },
            [fail, entered, wait](const uint8_t*, size_t) {
                if (!fail->load())
                    return true;
                entered->store(true);
                for (int i = 0; i < 500 && wait->load(); ++i)
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                return false;
            });
        auto count = counter;
        auto writes = counterWrites;
        bank->AddRegion(
            kCounterAddress, 4,
            [count](uint8_t* data, size_t) {
                std::memcpy(data, Le32(count->load()).data(), 4);
                return true;
            },
            [count, writes](const uint8_t* data, size_t) {
                count->store(FromLe32(data));
                ++*writes;
                return true;
            });
        bank->AddMemory(kSelectorAddress, 4);
        std::vector<uint8_t> levels;
        for (uint32_t v : {10u, 20u, 30u})
            for (uint8_t b : Le32(v))
                levels.push_back(b);
        bank->AddMemory(kLevelAddress, 12, true, levels);
        bank->AddMemory(kResetAddress, 4);
    }

    uint32_t Peek(uint64_t address) const
    {
        uint8_t b[4] = {};
        bank->Read(address, b, 4);
        return FromLe32(b);
    }
};

// Addresses of SelectedXml's registers.
enum : uint64_t
{
    kStageSelectorAddress = 0x300,
    kStageLevelAddress = 0x310, // three values, one per stage
    kStageWriteOnlyAddress = 0x330,
    kStageFireAddress = 0x350,
    kHexAddress = 0x370,
    kAddressAddress = 0x374,
    kDecimalAddress = 0x378,
    kSharedAddress = 0x37C,
    kOptionalAddress = 0x380,
    kOptionalImplementedAddress = 0x384,
    kPreciseAddress = 0x388,
    kBoxResetAddress = 0x390,
};

// A description with a selector over three stages whose dependent register, command and write-only register
// fail at the device for the stage "C"; integers shown in hexadecimal, as an IPv4 address and in decimal; a
// node listed under two categories; a node whose implementation a register switches off; a float with three
// decimals; and a device reset that is never acknowledged.
inline std::string SelectedXml()
{
    std::string xml = kHeader;
    xml += R"(  <Category Name="Root" NameSpace="Standard">
    <pFeature>Stages</pFeature>
    <pFeature>Numbers</pFeature>
  </Category>
  <Category Name="Stages" NameSpace="Custom">
    <pFeature>StageSelector</pFeature>
    <pFeature>StageLevel</pFeature>
    <pFeature>StageWriteOnly</pFeature>
    <pFeature>StageFire</pFeature>
    <pFeature>Shared</pFeature>
    <pFeature>DeviceReset</pFeature>
  </Category>
  <Category Name="Numbers" NameSpace="Custom">
    <pFeature>HexValue</pFeature>
    <pFeature>AddressValue</pFeature>
    <pFeature>DecimalValue</pFeature>
    <pFeature>Shared</pFeature>
    <pFeature>Optional</pFeature>
    <pFeature>Precise</pFeature>
  </Category>
  <Enumeration Name="StageSelector" NameSpace="Custom">
    <pSelected>StageLevel</pSelected>
    <pSelected>StageWriteOnly</pSelected>
    <pSelected>StageFire</pSelected>
    <EnumEntry Name="A"><Value>0</Value></EnumEntry>
    <EnumEntry Name="B"><Value>1</Value></EnumEntry>
    <EnumEntry Name="C"><Value>2</Value></EnumEntry>
    <pValue>StageSelectorReg</pValue>
  </Enumeration>
  <IntReg Name="StageLevel" NameSpace="Custom">
    <Address>0x310</Address>
    <pIndex Offset="4">StageSelector</pIndex>
    <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="StageWriteOnly" NameSpace="Custom">
    <Address>0x330</Address>
    <pIndex Offset="4">StageSelector</pIndex>
    <Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Command Name="StageFire" NameSpace="Custom">
    <pValue>StageFireReg</pValue><CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="StageFireReg" NameSpace="Custom">
    <Address>0x350</Address>
    <pIndex Offset="4">StageSelector</pIndex>
    <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="HexValue" NameSpace="Custom">
    <pValue>HexReg</pValue><Min>0</Min><Max>4294967295</Max><Representation>HexNumber</Representation>
  </Integer>
  <Integer Name="AddressValue" NameSpace="Custom">
    <pValue>AddressReg</pValue><Min>0</Min><Max>4294967295</Max><Representation>IPV4Address</Representation>
  </Integer>
  <Integer Name="DecimalValue" NameSpace="Custom">
    <pValue>DecimalReg</pValue><Min>0</Min><Max>4294967295</Max>
  </Integer>
  <Integer Name="Shared" NameSpace="Custom">
    <pValue>SharedReg</pValue><Min>0</Min><Max>100</Max>
  </Integer>
  <Integer Name="Optional" NameSpace="Custom">
    <pIsImplemented>OptionalImplementedReg</pIsImplemented>
    <pValue>OptionalReg</pValue><Min>0</Min><Max>100</Max>
  </Integer>
  <Float Name="Precise" NameSpace="Custom">
    <pValue>PreciseReg</pValue><Min>0</Min><Max>10</Max><DisplayPrecision>3</DisplayPrecision>
  </Float>
  <FloatReg Name="PreciseReg" NameSpace="Custom">
    <Address>0x388</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Endianess>LittleEndian</Endianess>
  </FloatReg>
  <Command Name="DeviceReset" NameSpace="Standard">
    <pValue>BoxResetReg</pValue><CommandValue>1</CommandValue>
  </Command>
)";
    xml += IntReg("StageSelectorReg", kStageSelectorAddress) + IntReg("HexReg", kHexAddress) +
           IntReg("AddressReg", kAddressAddress) + IntReg("DecimalReg", kDecimalAddress) +
           IntReg("SharedReg", kSharedAddress) + IntReg("OptionalReg", kOptionalAddress) +
           IntReg("OptionalImplementedReg", kOptionalImplementedAddress) + IntReg("BoxResetReg", kBoxResetAddress);
    xml += "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";
    return xml;
}

// The device behind SelectedXml. Stage "C" (index 2) of the indexed registers fails every device access; the
// write-only register cannot be read back at all; the reset register takes the write and then fails it, as
// a device that resets before it acknowledges; DecimalReg can be made slow.
struct SelectedDevice
{
    std::shared_ptr<orna::core::detail::RegisterBank> bank = std::make_shared<orna::core::detail::RegisterBank>();
    std::shared_ptr<std::atomic<int>> resets = std::make_shared<std::atomic<int>>(0);
    std::shared_ptr<std::atomic<uint32_t>> decimalValue = std::make_shared<std::atomic<uint32_t>>(0);
    // Each write of DecimalReg takes this long, a slow link.
    std::shared_ptr<std::atomic<int>> decimalWriteDelayUs = std::make_shared<std::atomic<int>>(0);

    SelectedDevice()
    {
        bank->AddMemory(kStageSelectorAddress, 4);
        AddStages(kStageLevelAddress, {11, 22, 33}, true);
        AddStages(kStageWriteOnlyAddress, {0, 0, 0}, false);
        AddStages(kStageFireAddress, {0, 0, 0}, true);
        bank->AddMemory(kHexAddress, 4);
        bank->AddMemory(kAddressAddress, 4);
        auto decimal = decimalValue;
        auto delay = decimalWriteDelayUs;
        bank->AddRegion(
            kDecimalAddress, 4,
            [decimal](uint8_t* data, size_t) {
                std::memcpy(data, Le32(decimal->load()).data(), 4);
                return true;
            },
            [decimal, delay](const uint8_t* data, size_t) {
                if (const int us = delay->load())
                    std::this_thread::sleep_for(std::chrono::microseconds(us));
                decimal->store(FromLe32(data));
                return true;
            });
        bank->AddMemory(kSharedAddress, 4);
        bank->AddMemory(kOptionalAddress, 4, true, Le32(5));
        bank->AddMemory(kOptionalImplementedAddress, 4, true, Le32(1));
        bank->AddMemory(kPreciseAddress, 8);
        auto count = resets;
        bank->AddRegion(
            kBoxResetAddress, 4,
            [](uint8_t* data, size_t) {
                std::memset(data, 0, 4);
                return true;
            },
            [count](const uint8_t*, size_t) {
                ++*count;
                return false;
            });
    }

    // Three 4-byte stage values at address; the third fails, reads of a write-only set fail too.
    void AddStages(uint64_t address, std::vector<uint32_t> initial, bool readable)
    {
        auto values = std::make_shared<std::vector<uint32_t>>(std::move(initial));
        stages[address] = values;
        for (size_t i = 0; i < 3; ++i)
            bank->AddRegion(
                address + 4 * i, 4,
                [values, i, readable](uint8_t* data, size_t) {
                    if (!readable || i == 2)
                        return false;
                    std::memcpy(data, Le32((*values)[i]).data(), 4);
                    return true;
                },
                [values, i](const uint8_t* data, size_t) {
                    if (i == 2)
                        return false;
                    (*values)[i] = FromLe32(data);
                    return true;
                });
    }

    uint32_t Stage(uint64_t address, size_t index) const { return (*stages.at(address))[index]; }

    uint32_t Peek(uint64_t address) const
    {
        uint8_t b[4] = {};
        bank->Read(address, b, 4);
        return FromLe32(b);
    }
    void Poke(uint64_t address, uint32_t value) { bank->Write(address, Le32(value).data(), 4); }

    std::map<uint64_t, std::shared_ptr<std::vector<uint32_t>>> stages;
};

// Features per category and kinds of the generated description.
constexpr int kGeneratedCategories = 50;

// A description of `features` features in kGeneratedCategories categories, cycling through integer, float,
// enumeration, boolean, string and command; each feature owns 16 bytes at 0x10000 + 16 * index.
inline std::string GeneratedXml(int features)
{
    std::string xml = kHeader;
    xml.reserve(static_cast<size_t>(features) * 400);
    const int perCategory = (features + kGeneratedCategories - 1) / kGeneratedCategories;
    xml += "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (int c = 0; c < kGeneratedCategories; ++c)
        xml += "    <pFeature>Cat" + std::to_string(c) + "</pFeature>\n";
    xml += "  </Category>\n";
    for (int c = 0; c < kGeneratedCategories; ++c)
    {
        xml += "  <Category Name=\"Cat" + std::to_string(c) + "\" NameSpace=\"Custom\">\n";
        for (int i = c * perCategory; i < std::min(features, (c + 1) * perCategory); ++i)
            xml += "    <pFeature>F" + std::to_string(i) + "</pFeature>\n";
        xml += "  </Category>\n";
    }
    for (int i = 0; i < features; ++i)
    {
        const std::string name = "F" + std::to_string(i);
        const uint64_t address = 0x10000 + 16 * static_cast<uint64_t>(i);
        char addr[32];
        std::snprintf(addr, sizeof addr, "0x%llX", static_cast<unsigned long long>(address));
        const std::string visibility = std::string("<Visibility>") +
                                       (i % 7 == 0    ? "Expert"
                                        : i % 11 == 0 ? "Guru"
                                                      : "Beginner") +
                                       "</Visibility>";
        const std::string reg = "<Address>" + std::string(addr) +
                                "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>";
        switch (i % 6)
        {
        case 0:
            xml += "  <IntReg Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility + reg +
                   "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
            break;
        case 1:
            xml += "  <FloatReg Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility + "<Address>" + addr +
                   "</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                   "<Endianess>LittleEndian</Endianess></FloatReg>\n";
            break;
        case 2:
            xml += "  <Enumeration Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility;
            for (int e = 0; e < 3; ++e)
                xml += "<EnumEntry Name=\"" + name + "_E" + std::to_string(e) + "\"><Value>" + std::to_string(e) +
                       "</Value></EnumEntry>";
            xml += "<pValue>" + name + "Reg</pValue></Enumeration>\n";
            xml += IntReg(name + "Reg", address);
            break;
        case 3:
            xml += "  <Boolean Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility + "<pValue>" + name +
                   "Reg</pValue><OnValue>1</OnValue><OffValue>0</OffValue></Boolean>\n";
            xml += IntReg(name + "Reg", address);
            break;
        case 4:
            xml += "  <StringReg Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility + "<Address>" + addr +
                   "</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>\n";
            break;
        default:
            xml += "  <Command Name=\"" + name + "\" NameSpace=\"Custom\">" + visibility + "<pValue>" + name +
                   "Reg</pValue><CommandValue>1</CommandValue></Command>\n";
            xml += IntReg(name + "Reg", address);
            break;
        }
    }
    xml += "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";
    return xml;
}

inline std::shared_ptr<orna::core::detail::RegisterBank> GeneratedBank(int features)
{
    auto bank = std::make_shared<orna::core::detail::RegisterBank>();
    bank->AddMemory(0x10000, 16 * static_cast<size_t>(features));
    return bank;
}

} // namespace nodetree_test
