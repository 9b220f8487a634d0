// A GenICam description that covers every node kind our node maps must handle, over a small register space
// (all registers little-endian). Shared by the node map tests.
#pragma once

#include "orna/core/detail/registerbank.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace orna::core::test {

inline const char* kFixtureXml = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Fixture" VendorName="Orna" ToolTip="Fixture" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard">
    <pFeature>ImageFormat</pFeature>
    <pFeature>Analog</pFeature>
    <pFeature>Device</pFeature>
  </Category>
  <Category Name="ImageFormat" NameSpace="Standard">
    <pFeature>Width</pFeature>
    <pFeature>Height</pFeature>
    <pFeature>PayloadSize</pFeature>
    <pFeature>PixelFormat</pFeature>
    <pFeature>ReverseX</pFeature>
  </Category>
  <Category Name="Analog" NameSpace="Standard">
    <pFeature>GainSelector</pFeature>
    <pFeature>Gain</pFeature>
    <pFeature>Gamma</pFeature>
    <pFeature>ExposureTime</pFeature>
    <pFeature>FrameRate</pFeature>
  </Category>
  <Category Name="Device" NameSpace="Standard">
    <pFeature>DeviceVendorName</pFeature>
    <pFeature>DeviceModelName</pFeature>
    <pFeature>DeviceVersion</pFeature>
    <pFeature>DeviceUserID</pFeature>
    <pFeature>DeviceTemperature</pFeature>
    <pFeature>SensorInfo</pFeature>
    <pFeature>Reset</pFeature>
    <pFeature>Stuck</pFeature>
    <pFeature>LutData</pFeature>
    <pFeature>TestRegister</pFeature>
    <pFeature>WriteOnlyValue</pFeature>
    <pFeature>OldFeature</pFeature>
    <pFeature>HiddenValue</pFeature>
    <pFeature>Unimplemented</pFeature>
    <pFeature>Unavailable</pFeature>
  </Category>
  <Integer Name="Width" NameSpace="Standard">
    <ToolTip>Width of the image</ToolTip>
    <Description>Width of the image in pixels</Description>
    <DisplayName>Image Width</DisplayName>
    <Visibility>Beginner</Visibility>
    <Streamable>Yes</Streamable>
    <pValue>WidthReg</pValue>
    <Min>16</Min>
    <Max>4096</Max>
    <Inc>16</Inc>
    <Unit>px</Unit>
  </Integer>
  <IntReg Name="WidthReg" NameSpace="Custom">
    <Address>0x1000</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="Height" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <pValue>HeightReg</pValue>
    <Min>1</Min>
    <Max>4096</Max>
  </Integer>
  <IntReg Name="HeightReg" NameSpace="Custom">
    <Address>0x1004</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntSwissKnife Name="PayloadSize" NameSpace="Standard">
    <pVariable Name="W">Width</pVariable>
    <pVariable Name="H">Height</pVariable>
    <Formula>W*H</Formula>
  </IntSwissKnife>
  <Enumeration Name="PixelFormat" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <EnumEntry Name="Mono8"><Value>17301505</Value></EnumEntry>
    <EnumEntry Name="Mono12"><Value>17825797</Value></EnumEntry>
    <EnumEntry Name="BayerRG8"><pIsAvailable>ColorAvailable</pIsAvailable><Value>17301513</Value></EnumEntry>
    <EnumEntry Name="RGB8"><pIsAvailable>ColorAvailable</pIsAvailable><Value>35127316</Value></EnumEntry>
    <pValue>PixelFormatReg</pValue>
  </Enumeration>
  <IntReg Name="PixelFormatReg" NameSpace="Custom">
    <Address>0x1008</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="ColorAvailable" NameSpace="Custom">
    <Value>0</Value>
  </Integer>
  <Boolean Name="ReverseX" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <pValue>ReverseXReg</pValue>
    <OnValue>1</OnValue>
    <OffValue>0</OffValue>
  </Boolean>
  <IntReg Name="ReverseXReg" NameSpace="Custom">
    <Address>0x100C</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Enumeration Name="GainSelector" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <pSelected>Gain</pSelected>
    <EnumEntry Name="All"><Value>0</Value></EnumEntry>
    <EnumEntry Name="Red"><Value>1</Value></EnumEntry>
    <EnumEntry Name="Blue"><Value>2</Value></EnumEntry>
    <pValue>GainSelectorReg</pValue>
  </Enumeration>
  <IntReg Name="GainSelectorReg" NameSpace="Custom">
    <Address>0x1010</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="Gain" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <Address>0x2000</Address>
    <pIndex Offset="4">GainSelector</pIndex>
    <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Float Name="Gamma" NameSpace="Standard">
    <Visibility>Expert</Visibility>
    <Streamable>Yes</Streamable>
    <pValue>GammaReg</pValue>
    <Min>0.25</Min>
    <Max>4.0</Max>
  </Float>
  <FloatReg Name="GammaReg" NameSpace="Custom">
    <Address>0x1018</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Endianess>LittleEndian</Endianess>
  </FloatReg>
  <Converter Name="ExposureTime" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <FormulaTo>FROM*10</FormulaTo>
    <FormulaFrom>TO/10</FormulaFrom>
    <pValue>ExposureRaw</pValue>
    <Unit>us</Unit>
    <Slope>Increasing</Slope>
  </Converter>
  <IntReg Name="ExposureRaw" NameSpace="Custom">
    <Address>0x1020</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Float Name="FrameRate" NameSpace="Standard">
    <Value>10.0</Value>
    <Min>1.0</Min>
    <Max>100.0</Max>
    <Inc>0.5</Inc>
    <Unit>Hz</Unit>
  </Float>
  <StringReg Name="DeviceVendorName" NameSpace="Standard">
    <Address>0x3000</Address><Length>32</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
  </StringReg>
  <StringReg Name="DeviceModelName" NameSpace="Standard">
    <Address>0x3020</Address><Length>32</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
  </StringReg>
  <StringReg Name="DeviceVersion" NameSpace="Standard">
    <Address>0x3040</Address><Length>32</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
  </StringReg>
  <StringReg Name="DeviceUserID" NameSpace="Standard">
    <Streamable>Yes</Streamable>
    <Address>0x3060</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  </StringReg>
  <IntReg Name="DeviceTemperature" NameSpace="Standard">
    <Address>0x1030</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
    <PollingTime>100</PollingTime>
    <Sign>Signed</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <IntReg Name="SensorInfo" NameSpace="Custom">
    <Visibility>Guru</Visibility>
    <pInvalidator>Height</pInvalidator>
    <Address>0x1034</Address><Length>4</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Command Name="Reset" NameSpace="Standard">
    <pValue>ResetReg</pValue>
    <CommandValue>1</CommandValue>
  </Command>
  <IntReg Name="ResetReg" NameSpace="Custom">
    <Address>0x1040</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Command Name="Stuck" NameSpace="Custom">
    <pValue>StuckReg</pValue>
    <CommandValue>7</CommandValue>
  </Command>
  <IntReg Name="StuckReg" NameSpace="Custom">
    <Address>0x1044</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Register Name="LutData" NameSpace="Custom">
    <Address>0x4000</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
  </Register>
  <IntReg Name="TestRegister" NameSpace="Custom">
    <Address>0x1048</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
    <Representation>HexNumber</Representation>
  </IntReg>
  <IntReg Name="WriteOnlyValue" NameSpace="Custom">
    <Address>0x104C</Address><Length>4</Length><AccessMode>WO</AccessMode><pPort>Device</pPort>
    <Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess>
  </IntReg>
  <Integer Name="OldFeature" NameSpace="Custom">
    <IsDeprecated>Yes</IsDeprecated>
    <Value>5</Value>
  </Integer>
  <Integer Name="HiddenValue" NameSpace="Custom">
    <Visibility>Invisible</Visibility>
    <Value>9</Value>
  </Integer>
  <Integer Name="Unimplemented" NameSpace="Custom">
    <pIsImplemented>ColorAvailable</pIsImplemented>
    <Value>1</Value>
  </Integer>
  <Integer Name="Unavailable" NameSpace="Custom">
    <pIsAvailable>ColorAvailable</pIsAvailable>
    <Value>1</Value>
  </Integer>
  <Port Name="Device" NameSpace="Standard">
  </Port>
</RegisterDescription>
)";

// The register space behind kFixtureXml. ResetReg clears itself after three reads, as a device finishing a
// command would; StuckReg never clears.
inline std::shared_ptr<detail::RegisterBank> MakeFixtureBank()
{
    auto bank = std::make_shared<detail::RegisterBank>();
    auto le32 = [](uint32_t v) {
        return std::vector<uint8_t>{uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
    };
    bank->AddMemory(0x1000, 4, true, le32(640));
    bank->AddMemory(0x1004, 4, true, le32(480));
    bank->AddMemory(0x1008, 4, true, le32(17301505));
    bank->AddMemory(0x100C, 4);
    bank->AddMemory(0x1010, 4);
    bank->AddMemory(0x1018, 8, true, {0, 0, 0, 0, 0, 0, 0xF0, 0x3F});
    bank->AddMemory(0x1020, 4, true, le32(1000));
    bank->AddMemory(0x1030, 4, false, le32(40));
    bank->AddMemory(0x1034, 4, false, le32(0x1234));
    auto resetState = std::make_shared<std::atomic<int>>(0);
    bank->AddRegion(
        0x1040, 4,
        [resetState](uint8_t* data, size_t) {
            int left = resetState->load();
            data[0] = left > 0 ? 1 : 0;
            data[1] = data[2] = data[3] = 0;
            if (left > 0)
                resetState->store(left - 1);
            return true;
        },
        [resetState](const uint8_t* data, size_t) {
            if (data[0] == 1)
                resetState->store(3);
            return true;
        });
    bank->AddMemory(0x1044, 4);
    bank->AddMemory(0x1048, 4, true, le32(0xBEEF));
    bank->AddMemory(0x104C, 4);
    bank->AddMemory(0x2000, 12, true, {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0});
    auto text = [](const std::string& s, size_t n) {
        std::vector<uint8_t> bytes(s.begin(), s.end());
        bytes.resize(n, 0);
        return bytes;
    };
    bank->AddMemory(0x3000, 32, false, text("Orna", 32));
    bank->AddMemory(0x3020, 32, false, text("Fixture", 32));
    bank->AddMemory(0x3040, 32, false, text("1.4.2", 32));
    bank->AddMemory(0x3060, 16, true, text("cam", 16));
    bank->AddMemory(0x4000, 16);
    return bank;
}

} // namespace orna::core::test
