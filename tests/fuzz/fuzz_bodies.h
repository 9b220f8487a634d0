// The bodies of the fuzz targets, shared by the libFuzzer binaries (tests/fuzz/project, built with clang by
// scripts/fuzz) and by the corpus regression test of the normal suite, which replays every kept input.
//
// A body returns normally for every input. A crash, a sanitizer report, a hang or an exception from outside
// the library's own family is a finding.
#pragma once

#include "app/workspacefile.h"
#include "camera/parameterfile.h"
#include "orna/core/detail/lightxml.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/registerbank.h"
#include "orna/core/exception.h"
#include "orna/core/library.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <unistd.h>

namespace lumivue::fuzz {

inline void EnsureLibrary()
{
    static const bool initialised = [] {
        if (!orna::Library::IsInitialized())
            orna::Library::Initialize();
        return true;
    }();
    (void)initialised;
}

// A register space that answers every address below the chunk and event windows with zeros and takes every
// write, so that whatever a description asks of its registers gets an answer.
inline std::shared_ptr<orna::core::detail::RegisterBank> ZeroBank()
{
    auto bank = std::make_shared<orna::core::detail::RegisterBank>();
    bank->AddPassThrough(
        0, 0x7E0000000000ull,
        [](uint64_t, uint8_t* data, size_t size) {
            std::memset(data, 0, size);
            return true;
        },
        [](uint64_t, const uint8_t*, size_t) { return true; });
    return bank;
}

// Runs f and swallows the library's own exceptions (refusals are answers, not findings).
template <typename F> void Quietly(F&& f)
{
    try
    {
        f();
    }
    catch (const orna::core::Exception&)
    {
    }
}

// Every readable thing of every node: values, ranges, entries, texts, selectors.
inline void WalkNodeMap(const std::shared_ptr<orna::core::NodeMap>& map)
{
    using namespace orna::core::nodes;
    for (size_t i = 0; i < map->GetNumNodes(); ++i)
    {
        std::shared_ptr<Node> node;
        Quietly([&] { node = map->GetNode(i); });
        if (!node)
            continue;
        Quietly([&] {
            node->GetDisplayName();
            node->GetToolTip();
            node->GetVisibility();
            node->GetAccessStatus();
            node->GetPollingTime();
        });
        Quietly([&] {
            for (size_t s = 0; s < node->GetNumSelectedNodes(); ++s)
                node->GetSelectedNode(s);
        });
        Quietly([&] { node->GetValueAsString(); });
        switch (node->GetType())
        {
        case NodeType::Integer:
            Quietly([&] {
                auto n = std::static_pointer_cast<IntegerNode>(node);
                n->GetMinimum();
                n->GetMaximum();
                n->GetIncrement();
                n->GetValue();
            });
            break;
        case NodeType::Float:
            Quietly([&] {
                auto n = std::static_pointer_cast<FloatNode>(node);
                n->GetMinimum();
                n->GetMaximum();
                n->GetIncrement();
                n->GetValue();
            });
            break;
        case NodeType::Boolean:
            Quietly([&] { std::static_pointer_cast<BooleanNode>(node)->GetValue(); });
            break;
        case NodeType::String:
            Quietly([&] { std::static_pointer_cast<StringNode>(node)->GetValue(); });
            break;
        case NodeType::Register:
            Quietly([&] {
                auto n = std::static_pointer_cast<RegisterNode>(node);
                if (n->GetLength() > 0 && n->GetLength() <= 4096)
                    n->Read();
            });
            break;
        case NodeType::Enumeration:
            Quietly([&] {
                auto n = std::static_pointer_cast<EnumerationNode>(node);
                for (const auto& entry : n->GetEntries())
                    Quietly([&] {
                        entry->GetSymbolicValue();
                        entry->GetValue();
                        entry->GetAccessStatus();
                    });
                n->GetCurrentEntry();
            });
            break;
        case NodeType::Category:
            Quietly([&] { std::static_pointer_cast<CategoryNode>(node)->GetSubNodes(); });
            break;
        default:
            break;
        }
    }
}

// The node engine parses with libxml2: a text the fast reader takes must never be one libxml2 refuses.
inline void FastReaderAgreesWithLibxml(const std::string& xml)
{
    orna::core::detail::LightXml fast;
    std::string error;
    if (fast.Scan(xml) && !orna::core::detail::LightXml::WellFormed(xml, error))
    {
        std::fprintf(stderr, "the fast reader took a text libxml2 refuses: %s\n", error.c_str());
        std::abort();
    }
}

// A GenICam description as a camera or a file would give it: the side index and the node engine over a
// zero-filled register space, then a read of everything.
inline void GenicamXml(const uint8_t* data, size_t size)
{
    EnsureLibrary();
    const std::string xml(reinterpret_cast<const char*>(data), size);
    FastReaderAgreesWithLibxml(xml);
    std::shared_ptr<orna::core::NodeMap> map;
    Quietly([&] { map = orna::core::detail::CreateLocalNodeMap(ZeroBank(), xml); });
    if (map)
        WalkNodeMap(map);
}

// The description reader alone, far faster per input than a whole map: its fast pass never takes a text
// libxml2 refuses, and every element's text and name attribute of an accepted text can be read.
inline void XmlReader(const uint8_t* data, size_t size)
{
    const std::string xml(reinterpret_cast<const char*>(data), size);
    FastReaderAgreesWithLibxml(xml);
    std::string error;
    orna::core::detail::LightXml read;
    if (!read.Read(xml, error))
        return;
    for (uint32_t element = 0; element < read.Elements().size(); ++element)
    {
        read.Text(element);
        read.AttributeValue(element, "Name");
    }
}

// The description parameter files are checked against (integers, floats, an enumeration, a string, a
// boolean, a selector): the nodes a file's lines may name.
inline const char* ParameterFileXml()
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Fuzz" VendorName="Orna" ToolTip="Fuzz" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Category Name="Root" NameSpace="Standard">
    <pFeature>DeviceModelName</pFeature><pFeature>DeviceVendorName</pFeature><pFeature>Width</pFeature>
    <pFeature>ExposureTime</pFeature><pFeature>PixelFormat</pFeature><pFeature>ReverseX</pFeature>
    <pFeature>DeviceUserID</pFeature><pFeature>GainSelector</pFeature><pFeature>Gain</pFeature>
  </Category>
  <StringReg Name="DeviceModelName" NameSpace="Standard"><Address>0x0</Address><Length>32</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>
  <StringReg Name="DeviceVendorName" NameSpace="Standard"><Address>0x20</Address><Length>32</Length><AccessMode>RO</AccessMode><pPort>Device</pPort></StringReg>
  <StringReg Name="DeviceUserID" NameSpace="Standard"><Address>0x40</Address><Length>16</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
  <Integer Name="Width" NameSpace="Standard"><pValue>WidthReg</pValue><Min>16</Min><Max>4096</Max><Inc>4</Inc></Integer>
  <IntReg Name="WidthReg" NameSpace="Custom"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Float Name="ExposureTime" NameSpace="Standard"><pValue>ExposureReg</pValue><Min>10</Min><Max>1000000</Max></Float>
  <FloatReg Name="ExposureReg" NameSpace="Custom"><Address>0x108</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>
  <Enumeration Name="PixelFormat" NameSpace="Standard">
    <EnumEntry Name="Mono8"><Value>17301505</Value></EnumEntry><EnumEntry Name="BayerRG8"><Value>17301513</Value></EnumEntry>
    <pValue>PixelFormatReg</pValue></Enumeration>
  <IntReg Name="PixelFormatReg" NameSpace="Custom"><Address>0x110</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Boolean Name="ReverseX" NameSpace="Standard"><pValue>ReverseReg</pValue></Boolean>
  <IntReg Name="ReverseReg" NameSpace="Custom"><Address>0x114</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Enumeration Name="GainSelector" NameSpace="Standard"><pSelected>Gain</pSelected>
    <EnumEntry Name="All"><Value>0</Value></EnumEntry><EnumEntry Name="Red"><Value>1</Value></EnumEntry>
    <pValue>GainSelectorReg</pValue></Enumeration>
  <IntReg Name="GainSelectorReg" NameSpace="Custom"><Address>0x118</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Integer Name="Gain" NameSpace="Standard"><pValue>GainReg</pValue><Min>0</Min><Max>48</Max></Integer>
  <IntReg Name="GainReg" NameSpace="Custom"><pIndex Offset="4">GainSelectorReg</pIndex><Address>0x120</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>
  <Port Name="Device" NameSpace="Standard"/>
</RegisterDescription>
)";
}

// A parameter file as the user would load one: checked whole against the node map before anything is
// written, then loaded (which restores the snapshot when a line fails).
inline void ParameterFile(const uint8_t* data, size_t size)
{
    EnsureLibrary();
    static std::shared_ptr<orna::core::NodeMap> map = [] {
        std::shared_ptr<orna::core::NodeMap> made;
        Quietly([&] { made = orna::core::detail::CreateLocalNodeMap(ZeroBank(), ParameterFileXml()); });
        return made;
    }();
    if (!map)
        std::abort();
    char path[] = "/tmp/lumivue-fuzz-parameters-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0)
        return;
    const ssize_t written = write(fd, data, size);
    close(fd);
    if (written == static_cast<ssize_t>(size))
    {
        std::string error;
        if (camera::CheckParameterFile(*map, path, error))
            camera::LoadParameterFile(map, path, error);
    }
    unlink(path);
}

// A workspace file as the user's folder might hold one: read what it can, then what the writer makes of that
// reads back to as many elements (a writer that could not be read again would lose a desk at the next save).
inline void WorkspaceFile(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const workspace::Document first = workspace::Read(bytes);
    if (static_cast<int>(first.elements.size()) > workspace::kMaxElements)
        std::abort();
    if (!first.validRoot)
        return;
    const workspace::Document second = workspace::Read(workspace::Write(first));
    if (!second.validRoot || second.elements.size() != first.elements.size())
        std::abort();
}

} // namespace lumivue::fuzz
