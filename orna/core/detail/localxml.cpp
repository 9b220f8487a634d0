#include "orna/core/detail/localxml.h"

#include "orna/core/exception.h"

#include <cstdio>

namespace orna::core::detail {

namespace {

std::string Escape(const std::string& text)
{
    std::string out;
    for (char c : text)
    {
        switch (c)
        {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string Hex(uint64_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(value));
    return text;
}

std::string IntReg(const std::string& name, uint64_t address, bool writable)
{
    return "  <IntReg Name=\"" + name + "Reg\" NameSpace=\"Custom\">\n    <Address>" + Hex(address) +
           "</Address>\n    <Length>8</Length>\n    <AccessMode>" + (writable ? "RW" : "RO") +
           "</AccessMode>\n    <pPort>Device</pPort>\n    <Cachable>NoCache</Cachable>\n"
           "    <Sign>Signed</Sign>\n    <Endianess>LittleEndian</Endianess>\n  </IntReg>\n";
}

} // namespace

std::string Ipv4Text(uint32_t address)
{
    return std::to_string((address >> 24) & 0xff) + "." + std::to_string((address >> 16) & 0xff) + "." +
           std::to_string((address >> 8) & 0xff) + "." + std::to_string(address & 0xff);
}

LocalXmlBuilder::LocalXmlBuilder(std::string modelName, std::shared_ptr<RegisterBank> bank)
    : m_model(std::move(modelName)), m_bank(std::move(bank))
{
}

uint64_t LocalXmlBuilder::Allocate(size_t size)
{
    const uint64_t address = m_next;
    m_next += (size + 7) / 8 * 8;
    return address;
}

void LocalXmlBuilder::Category(const std::string& name, const std::vector<std::string>& features)
{
    m_body += "  <Category Name=\"" + name + "\" NameSpace=\"Standard\">\n";
    for (const auto& feature : features)
        m_body += "    <pFeature>" + feature + "</pFeature>\n";
    m_body += "  </Category>\n";
}

void LocalXmlBuilder::String(const std::string& name, std::function<std::string()> get, const std::string& visibility)
{
    constexpr size_t kLength = 512;
    const uint64_t address = Allocate(kLength);
    m_bank->AddString(address, kLength, std::move(get));
    m_body += "  <StringReg Name=\"" + name + "\" NameSpace=\"Standard\">\n    <Visibility>" + visibility +
              "</Visibility>\n    <Address>" + Hex(address) + "</Address>\n    <Length>" + std::to_string(kLength) +
              "</Length>\n    <AccessMode>RO</AccessMode>\n    <pPort>Device</pPort>\n"
              "    <Cachable>NoCache</Cachable>\n  </StringReg>\n";
}

void LocalXmlBuilder::Integer(const std::string& name, std::function<int64_t()> get, std::function<bool(int64_t)> set,
                              const std::string& representation, const std::vector<std::string>& selected,
                              std::function<int64_t()> maximum, const std::string& visibility)
{
    const uint64_t address = Allocate(8);
    const bool writable = static_cast<bool>(set);
    m_bank->AddInteger(address, std::move(get), std::move(set));
    m_body +=
        "  <Integer Name=\"" + name + "\" NameSpace=\"Standard\">\n    <Visibility>" + visibility + "</Visibility>\n";
    for (const auto& s : selected)
        m_body += "    <pSelected>" + s + "</pSelected>\n";
    m_body += "    <pValue>" + name + "Reg</pValue>\n";
    if (maximum)
    {
        const uint64_t maxAddress = Allocate(8);
        m_bank->AddInteger(maxAddress, std::move(maximum));
        m_body += "    <Min>0</Min>\n    <pMax>" + name + "MaxReg</pMax>\n";
        m_body += "  </Integer>\n";
        m_body += IntReg(name + "Max", maxAddress, false);
    }
    else
    {
        if (!representation.empty())
            m_body += "    <Representation>" + representation + "</Representation>\n";
        m_body += "  </Integer>\n";
    }
    m_body += IntReg(name, address, writable);
}

void LocalXmlBuilder::Boolean(const std::string& name, std::function<bool()> get, std::function<bool(bool)> set)
{
    const uint64_t address = Allocate(8);
    const bool writable = static_cast<bool>(set);
    std::function<bool(int64_t)> setInteger;
    if (set)
        setInteger = [set = std::move(set)](int64_t v) { return set(v != 0); };
    m_bank->AddInteger(
        address, [get = std::move(get)] { return get() ? int64_t(1) : int64_t(0); }, std::move(setInteger));
    m_body += "  <Boolean Name=\"" + name + "\" NameSpace=\"Standard\">\n    <pValue>" + name +
              "Reg</pValue>\n    <OnValue>1</OnValue>\n    <OffValue>0</OffValue>\n  </Boolean>\n";
    m_body += IntReg(name, address, writable);
}

void LocalXmlBuilder::Enumeration(const std::string& name, const std::vector<std::pair<std::string, int64_t>>& entries,
                                  std::function<int64_t()> get, std::function<bool(int64_t)> set)
{
    const uint64_t address = Allocate(8);
    const bool writable = static_cast<bool>(set);
    m_bank->AddInteger(address, std::move(get), std::move(set));
    m_body += "  <Enumeration Name=\"" + name + "\" NameSpace=\"Standard\">\n";
    for (const auto& entry : entries)
        m_body += "    <EnumEntry Name=\"" + entry.first + "\" NameSpace=\"Standard\">\n      <Value>" +
                  std::to_string(entry.second) + "</Value>\n    </EnumEntry>\n";
    m_body += "    <pValue>" + name + "Reg</pValue>\n  </Enumeration>\n";
    m_body += IntReg(name, address, writable);
}

void LocalXmlBuilder::Command(const std::string& name, std::function<void()> execute)
{
    const uint64_t address = Allocate(8);
    // The command runs inside the register write; it reads back 0, so it is done at once.
    m_bank->AddInteger(
        address, [] { return int64_t(0); },
        [execute = std::move(execute)](int64_t value) {
            if (value == 1)
                execute();
            return true;
        });
    m_body += "  <Command Name=\"" + name + "\" NameSpace=\"Standard\">\n    <pValue>" + name +
              "Reg</pValue>\n    <CommandValue>1</CommandValue>\n  </Command>\n";
    m_body += IntReg(name, address, true);
}

std::string LocalXmlBuilder::Finish(const std::vector<std::string>& rootFeatures)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<RegisterDescription ModelName=\"" +
                      Escape(m_model) +
                      "\" VendorName=\"Orna\" ToolTip=\"Local node map\" StandardNameSpace=\"None\" "
                      "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
                      "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\" "
                      "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
    xml += "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (const auto& feature : rootFeatures)
        xml += "    <pFeature>" + feature + "</pFeature>\n";
    xml += "  </Category>\n";
    xml += m_body;
    xml += "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";

    const uint64_t address = 0xF0000000ull;
    m_bank->AddMemory(address, xml.size(), false, std::vector<uint8_t>(xml.begin(), xml.end()));
    m_url.fileName = m_model + ".xml";
    m_url.address = address;
    m_url.size = xml.size();
    m_url.scheme = "Local";
    char text[128];
    std::snprintf(text, sizeof text, "Local:%s;%llX;%llX", m_url.fileName.c_str(),
                  static_cast<unsigned long long>(address), static_cast<unsigned long long>(xml.size()));
    m_url.url = text;
    return xml;
}

void BankPort::Read(uint64_t address, void* data, size_t size)
{
    const auto status = m_bank->Read(address, data, size);
    if (status == RegisterBank::Status::InvalidAddress)
        Raise(ReturnCode::InvalidAddress, RegisterBank::StatusText(status, address));
    if (status != RegisterBank::Status::Ok)
        Raise(ReturnCode::IO, RegisterBank::StatusText(status, address));
}

void BankPort::Write(uint64_t address, const void* data, size_t size)
{
    const auto status = m_bank->Write(address, data, size);
    if (status == RegisterBank::Status::InvalidAddress)
        Raise(ReturnCode::InvalidAddress, RegisterBank::StatusText(status, address));
    if (status == RegisterBank::Status::WriteProtected)
        Raise(ReturnCode::BadAccess, RegisterBank::StatusText(status, address));
    if (status != RegisterBank::Status::Ok)
        Raise(ReturnCode::IO, RegisterBank::StatusText(status, address));
}

} // namespace orna::core::detail
