// An in-process register space: what the node engine reads and writes for the node maps we describe ourselves
// (system, interface, local device, data stream) and for register-level test fixtures.
//
// The bank is a list of regions. A region is either plain memory kept here, or a pair of functions that
// produce and take the region's bytes (a live value such as a counter or a device's IP address). All
// multi-byte integers are little-endian, as the XML of our local maps declares.
//
// Threads: regions are added while the owning module builds its node map, before any read; after that the
// region table is immutable. Read/Write may then be called from any thread (in practice under the node map's
// mutex). m_memoryMutex guards the bytes of the plain-memory regions; it is never held while a region
// function runs, so those functions may take their module's own locks.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core::detail {

class RegisterBank
{
public:
    // Fills data (exactly the region's length); false fails the read.
    using ReadFunction = std::function<bool(uint8_t* data, size_t size)>;
    // Takes the region's new bytes; false refuses the write. An empty function makes the region read-only.
    using WriteFunction = std::function<bool(const uint8_t* data, size_t size)>;

    enum class Status
    {
        Ok,
        InvalidAddress,
        WriteProtected,
        Failed,
    };

    void AddRegion(uint64_t address, size_t length, ReadFunction read, WriteFunction write = {});
    // Plain memory, zero-filled unless initial bytes are given.
    void AddMemory(uint64_t address, size_t length, bool writable = true, const std::vector<uint8_t>& initial = {});
    // An 8-byte little-endian integer.
    void AddInteger(uint64_t address, std::function<int64_t()> get, std::function<bool(int64_t)> set = {});
    // A zero-terminated string field of a fixed length.
    void AddString(uint64_t address, size_t length, std::function<std::string()> get,
                   std::function<bool(const std::string&)> set = {});

    // A window onto another register space (a simulated camera's memory): the functions get the absolute
    // address and exactly the bytes asked for. An empty write function makes the window read-only.
    void AddPassThrough(uint64_t address, uint64_t length, std::function<bool(uint64_t, uint8_t*, size_t)> read,
                        std::function<bool(uint64_t, const uint8_t*, size_t)> write = {});

    Status Read(uint64_t address, void* data, size_t size) const;
    Status Write(uint64_t address, const void* data, size_t size);
    // Writes plain memory regardless of its write protection: the owner changing a read-only value (a status
    // register, a counter) behind the node map's back.
    Status Poke(uint64_t address, const void* data, size_t size);

    static std::string StatusText(Status status, uint64_t address);

private:
    struct Region
    {
        uint64_t address = 0;
        uint64_t length = 0;
        ReadFunction read;
        WriteFunction write;
        bool memory = false;
        std::function<bool(uint64_t, uint8_t*, size_t)> readAt; // pass-through windows
        std::function<bool(uint64_t, const uint8_t*, size_t)> writeAt;
        bool writable = false;
        size_t memoryOffset = 0;
    };
    const Region* FindRegion(uint64_t address, uint64_t size) const;

    std::map<uint64_t, Region> m_regions;
    // Guards m_memory (the bytes behind the plain-memory regions).
    mutable std::mutex m_memoryMutex;
    std::vector<uint8_t> m_memory;
};

} // namespace orna::core::detail
