// Byte access to a module's register space and the places its GenICam XML lies there.
//
// Threads: any; Port adds no locking of its own (the transport serialises register I/O; local ports read our
// register bank). Register 0x50001000 is never read on an Aravis fake device (it crashes the fake): such a read
// raises InvalidAddressException.
#pragma once

#include "orna/core/initonce.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orna::core {

namespace detail {
class PortBackend;
struct PortUrlInfo;
} // namespace detail

class PortURL
{
public:
    PortURL(std::string url, std::string fileName, uint64_t address, uint64_t size);
    const std::string& GetURL() const { return m_url; }
    const std::string& GetFileName() const { return m_fileName; }
    uint64_t GetFileRegisterAddress() const { return m_address; }
    uint64_t GetFileSize() const { return m_size; }

private:
    std::string m_url;
    std::string m_fileName;
    uint64_t m_address;
    uint64_t m_size;
};

class Port : public InitOnce
{
public:
    explicit Port(std::shared_ptr<detail::PortBackend> backend);
    size_t GetNumURLs() const;
    std::shared_ptr<PortURL> GetURL(size_t index) const;
    void Read(uint64_t address, void* data, size_t size) const;
    std::vector<uint8_t> Read(uint64_t address, size_t size) const;
    void Write(uint64_t address, const void* data, size_t size);

private:
    std::shared_ptr<detail::PortBackend> m_backend;
};

// Parses "Local:<name>;<hex address>;<hex size>" (GenICam first-URL form). False for other forms.
bool ParseLocalUrl(const std::string& url, std::string& fileName, uint64_t& address, uint64_t& size);

} // namespace orna::core
