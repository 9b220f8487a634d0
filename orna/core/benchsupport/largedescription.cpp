#include "orna/core/benchsupport/largedescription.h"

#include "orna/core/detail/registerbank.h"

#include <cstdio>

namespace orna::core::benchsupport {
namespace {

constexpr uint64_t kBase = 0x100000;
constexpr uint64_t kStride = 0x40;
constexpr int kCategories = 24;
constexpr int kEntries = 30;

std::string Hex(uint64_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

// Real descriptions carry a tooltip, a description and a display name on nearly every feature; they are most of
// the text.
std::string Texts(const std::string& name)
{
    return "<ToolTip>Sets or reads " + name +
           " of the device; the value takes effect with the next frame and is kept in the user set.</ToolTip>"
           "<Description>" +
           name +
           ": a feature of the generated description. Its value is held in a device register and read back after "
           "each write so that the host shows what the device took.</Description><DisplayName>" +
           name + " value</DisplayName><Visibility>Beginner</Visibility>";
}

std::string IntReg(const std::string& name, uint64_t address, const std::string& port, const std::string& extra = {})
{
    return "  <IntReg Name=\"" + name + "\" NameSpace=\"Custom\"><Visibility>Invisible</Visibility>" + extra +
           "<Address>" + Hex(address) + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>" + port +
           "</pPort><Cachable>NoCache</Cachable><Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
}

} // namespace

LargeDescription GenerateLargeDescription(int blocks)
{
    LargeDescription out;
    std::string& xml = out.xml;
    xml.reserve(static_cast<size_t>(blocks) * 2800);
    xml += R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Large" VendorName="Orna" ToolTip="Large" StandardNameSpace="None"
    SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
    SubMinorVersion="0" ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
)";
    auto named = [&out](size_t count = 1) { out.namedNodes += count; };

    xml += "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (int c = 0; c < kCategories; ++c)
        xml += "    <pFeature>Category" + std::to_string(c) + "</pFeature>\n";
    xml += "  </Category>\n";
    named();
    const int perCategory = (blocks + kCategories - 1) / kCategories;
    for (int c = 0; c < kCategories; ++c)
    {
        xml += "  <Category Name=\"Category" + std::to_string(c) + "\" NameSpace=\"Custom\">\n";
        for (int b = c * perCategory; b < std::min(blocks, (c + 1) * perCategory); ++b)
        {
            const std::string k = std::to_string(b);
            xml += "    <pFeature>Int" + k + "</pFeature><pFeature>Float" + k + "</pFeature>";
            if (b % 5 == 0)
                xml += "<pFeature>Enum" + k + "</pFeature>";
            if (b % 10 == 0)
                xml += "<pFeature>Selector" + k + "</pFeature>";
            xml += "\n";
        }
        xml += "  </Category>\n";
        named();
    }

    // The transport's chunk and event ports.
    xml += "  <Port Name=\"Device\" NameSpace=\"Standard\"><ToolTip>Port to the device</ToolTip></Port>\n";
    xml += "  <Port Name=\"ChunkPort\" NameSpace=\"Custom\"><ChunkID>1000</ChunkID></Port>\n";
    xml += "  <Port Name=\"EventPort\" NameSpace=\"Custom\"><EventID>9001</EventID></Port>\n";
    named(3);

    for (int b = 0; b < blocks; ++b)
    {
        const std::string k = std::to_string(b);
        const uint64_t address = kBase + kStride * static_cast<uint64_t>(b);
        // Every tenth block starts a selector that indexes the registers of itself and the next four blocks.
        const int selectorBlock = b - b % 10;
        const std::string selector = "Selector" + std::to_string(selectorBlock);
        const std::string index =
            "<pIndex Offset=\"" + Hex(kStride * static_cast<uint64_t>(blocks)) + "\">" + selector + "</pIndex>";
        const bool selected = b % 10 < 5;

        xml += "  <Integer Name=\"Int" + k + "\" NameSpace=\"Custom\">" + Texts("Int" + k) + "<pValue>Int" + k +
               "Reg</pValue><Min>0</Min><Max>65535</Max><Inc>1</Inc>"
               "<Representation>Linear</Representation></Integer>\n";
        xml += IntReg("Int" + k + "Reg", address, "Device", selected ? index : std::string());
        xml += "  <IntSwissKnife Name=\"Int" + k +
               "Scaled\" NameSpace=\"Custom\"><Visibility>Guru</Visibility>"
               "<pVariable Name=\"A\">Int" +
               k + "</pVariable><pVariable Name=\"B\">Int" + k +
               "Reg</pVariable>"
               "<Formula>(A*2+B)/3</Formula></IntSwissKnife>\n";
        xml += "  <Converter Name=\"Float" + k + "\" NameSpace=\"Custom\">" + Texts("Float" + k) +
               "<pVariable Name=\"S\">Int" + k +
               "Scaled</pVariable><FormulaTo>FROM*10</FormulaTo>"
               "<FormulaFrom>TO/10</FormulaFrom><pValue>Int" +
               k +
               "Reg</pValue><Unit>us</Unit>"
               "<Representation>Linear</Representation></Converter>\n";
        named(4);
        if (b % 10 == 0)
        {
            xml += "  <Enumeration Name=\"" + selector + "\" NameSpace=\"Custom\">" + Texts(selector);
            for (int e = 0; e < 5 && b + e < blocks; ++e)
                xml += "<pSelected>Int" + std::to_string(b + e) + "</pSelected>";
            for (int e = 0; e < kEntries; ++e)
                xml += "<EnumEntry Name=\"Entry" + std::to_string(e) + "\"><Value>" + std::to_string(e) +
                       "</Value></EnumEntry>";
            xml += "<pValue>" + selector + "Reg</pValue></Enumeration>\n";
            xml += IntReg(selector + "Reg", address + 8, "Device");
            named(2 + kEntries);
        }
        if (b % 5 == 0)
        {
            xml += "  <Enumeration Name=\"Enum" + k + "\" NameSpace=\"Custom\">" + Texts("Enum" + k);
            for (int e = 0; e < kEntries; ++e)
                xml += "<EnumEntry Name=\"Mode" + std::to_string(e) + "\"><ToolTip>Mode " + std::to_string(e) +
                       " of Enum" + k + "</ToolTip><Value>" + std::to_string(e) + "</Value></EnumEntry>";
            xml += "<pValue>Enum" + k + "Reg</pValue><pInvalidator>Int" + k + "</pInvalidator></Enumeration>\n";
            xml += IntReg("Enum" + k + "Reg", address + 16, "Device");
            named(2 + kEntries);
        }
        if (b % 25 == 0)
        {
            xml += IntReg("Chunk" + k, static_cast<uint64_t>(b) * 8, "ChunkPort");
            xml += IntReg("Event" + k, static_cast<uint64_t>(b) * 8, "EventPort");
            named(2);
        }
    }
    xml += "</RegisterDescription>\n";
    return out;
}

std::shared_ptr<detail::RegisterBank> LargeDescriptionBank(int blocks)
{
    auto bank = std::make_shared<detail::RegisterBank>();
    // The plain registers and, after them, the selector-indexed copies (pIndex offsets up to 29 strides).
    bank->AddMemory(kBase, static_cast<size_t>(kStride) * static_cast<size_t>(blocks) * (kEntries + 1));
    return bank;
}

} // namespace orna::core::benchsupport
