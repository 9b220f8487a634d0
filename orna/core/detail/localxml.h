// Writes the GenICam XML of our local node maps (system, interface, local device, data stream) and binds each
// value to a function of the module it describes, through a RegisterBank.
//
// Every value node is an Integer/String/Enumeration over an IntReg/StringReg in the bank, so the same node
// engine serves local and remote maps. Register addresses are assigned in order from 0x10000; the XML text
// itself is placed in the bank too, so the map's Port has a real "Local:" URL.
//
// Threads: the builder is used by one thread while a module builds its map; the bound functions are later
// called from any thread that reads the map, and must guard the module state they read.
#pragma once

#include "orna/core/detail/backend.h"
#include "orna/core/detail/registerbank.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orna::core::detail {

class LocalXmlBuilder
{
public:
    LocalXmlBuilder(std::string modelName, std::shared_ptr<RegisterBank> bank);

    void Category(const std::string& name, const std::vector<std::string>& features);
    void String(const std::string& name, std::function<std::string()> get, const std::string& visibility = "Beginner");
    // representation: "", "HexNumber", "IPV4Address", "MACAddress"; selected: nodes this one selects.
    void Integer(const std::string& name, std::function<int64_t()> get, std::function<bool(int64_t)> set = {},
                 const std::string& representation = "", const std::vector<std::string>& selected = {},
                 std::function<int64_t()> maximum = {}, const std::string& visibility = "Beginner");
    void Boolean(const std::string& name, std::function<bool()> get, std::function<bool(bool)> set = {});
    void Enumeration(const std::string& name, const std::vector<std::pair<std::string, int64_t>>& entries,
                     std::function<int64_t()> get, std::function<bool(int64_t)> set = {});
    void Command(const std::string& name, std::function<void()> execute);

    // Closes the document (Root lists the categories given to Category in order) and stores it in the bank.
    std::string Finish(const std::vector<std::string>& rootFeatures);
    PortUrlInfo Url() const { return m_url; }

private:
    uint64_t Allocate(size_t size);
    std::string m_model;
    std::shared_ptr<RegisterBank> m_bank;
    std::string m_body;
    uint64_t m_next = 0x10000;
    PortUrlInfo m_url;
};

// A port over a register bank (the port of a local node map).
class BankPort : public PortBackend
{
public:
    BankPort(std::shared_ptr<RegisterBank> bank, PortUrlInfo url) : m_bank(std::move(bank)), m_url(std::move(url)) {}
    void Read(uint64_t address, void* data, size_t size) override;
    void Write(uint64_t address, const void* data, size_t size) override;
    std::vector<PortUrlInfo> Urls() override { return {m_url}; }

private:
    std::shared_ptr<RegisterBank> m_bank;
    PortUrlInfo m_url;
};

std::string Ipv4Text(uint32_t address);

} // namespace orna::core::detail
