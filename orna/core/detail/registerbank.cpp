#include "orna/core/detail/registerbank.h"

#include <cstring>
#include <sstream>

namespace orna::core::detail {

void RegisterBank::AddRegion(uint64_t address, size_t length, ReadFunction read, WriteFunction write)
{
    Region region;
    region.address = address;
    region.length = length;
    region.read = std::move(read);
    region.write = std::move(write);
    region.writable = static_cast<bool>(region.write);
    m_regions[address] = std::move(region);
}

void RegisterBank::AddMemory(uint64_t address, size_t length, bool writable, const std::vector<uint8_t>& initial)
{
    Region region;
    region.address = address;
    region.length = length;
    region.memory = true;
    region.writable = writable;
    std::lock_guard<std::mutex> lock(m_memoryMutex);
    region.memoryOffset = m_memory.size();
    m_memory.resize(m_memory.size() + length, 0);
    if (!initial.empty())
        std::memcpy(m_memory.data() + region.memoryOffset, initial.data(), std::min(initial.size(), length));
    m_regions[address] = std::move(region);
}

void RegisterBank::AddInteger(uint64_t address, std::function<int64_t()> get, std::function<bool(int64_t)> set)
{
    ReadFunction read = [get = std::move(get)](uint8_t* data, size_t size) {
        const uint64_t value = static_cast<uint64_t>(get());
        for (size_t i = 0; i < size; ++i)
            data[i] = static_cast<uint8_t>(i < 8 ? (value >> (8 * i)) & 0xff : 0);
        return true;
    };
    WriteFunction write;
    if (set)
    {
        write = [set = std::move(set)](const uint8_t* data, size_t size) {
            uint64_t value = 0;
            for (size_t i = 0; i < size && i < 8; ++i)
                value |= static_cast<uint64_t>(data[i]) << (8 * i);
            return set(static_cast<int64_t>(value));
        };
    }
    AddRegion(address, 8, std::move(read), std::move(write));
}

void RegisterBank::AddString(uint64_t address, size_t length, std::function<std::string()> get,
                             std::function<bool(const std::string&)> set)
{
    ReadFunction read = [get = std::move(get)](uint8_t* data, size_t size) {
        const std::string text = get();
        std::memset(data, 0, size);
        // Keep one terminating zero: the node engine reads the field as a C string.
        std::memcpy(data, text.data(), std::min(text.size(), size > 0 ? size - 1 : 0));
        return true;
    };
    WriteFunction write;
    if (set)
    {
        write = [set = std::move(set)](const uint8_t* data, size_t size) {
            size_t n = 0;
            while (n < size && data[n] != 0)
                ++n;
            return set(std::string(reinterpret_cast<const char*>(data), n));
        };
    }
    AddRegion(address, length, std::move(read), std::move(write));
}

void RegisterBank::AddPassThrough(uint64_t address, uint64_t length,
                                  std::function<bool(uint64_t, uint8_t*, size_t)> read,
                                  std::function<bool(uint64_t, const uint8_t*, size_t)> write)
{
    Region region;
    region.address = address;
    region.length = length;
    region.readAt = std::move(read);
    region.writeAt = std::move(write);
    region.writable = static_cast<bool>(region.writeAt);
    m_regions[address] = std::move(region);
}

const RegisterBank::Region* RegisterBank::FindRegion(uint64_t address, uint64_t size) const
{
    auto it = m_regions.upper_bound(address);
    if (it == m_regions.begin())
        return nullptr;
    --it;
    const Region& region = it->second;
    if (address < region.address || address - region.address + size > region.length)
        return nullptr;
    return &region;
}

RegisterBank::Status RegisterBank::Read(uint64_t address, void* data, size_t size) const
{
    const Region* region = FindRegion(address, size);
    if (!region)
        return Status::InvalidAddress;
    const size_t offset = address - region->address;
    if (region->readAt)
        return region->readAt(address, static_cast<uint8_t*>(data), size) ? Status::Ok : Status::Failed;
    if (region->memory)
    {
        std::lock_guard<std::mutex> lock(m_memoryMutex);
        std::memcpy(data, m_memory.data() + region->memoryOffset + offset, size);
        return Status::Ok;
    }
    std::vector<uint8_t> bytes(region->length, 0);
    if (!region->read || !region->read(bytes.data(), bytes.size()))
        return Status::Failed;
    std::memcpy(data, bytes.data() + offset, size);
    return Status::Ok;
}

RegisterBank::Status RegisterBank::Write(uint64_t address, const void* data, size_t size)
{
    const Region* region = FindRegion(address, size);
    if (!region)
        return Status::InvalidAddress;
    if (!region->writable)
        return Status::WriteProtected;
    if (region->writeAt)
        return region->writeAt(address, static_cast<const uint8_t*>(data), size) ? Status::Ok : Status::Failed;
    if (region->memory)
        return Poke(address, data, size);
    // A partial write of a function region is a read-modify-write of the whole region.
    std::vector<uint8_t> bytes(region->length, 0);
    const size_t offset = address - region->address;
    if (offset != 0 || size != region->length)
    {
        if (!region->read || !region->read(bytes.data(), bytes.size()))
            return Status::Failed;
    }
    std::memcpy(bytes.data() + offset, data, size);
    return region->write(bytes.data(), bytes.size()) ? Status::Ok : Status::Failed;
}

RegisterBank::Status RegisterBank::Poke(uint64_t address, const void* data, size_t size)
{
    const Region* region = FindRegion(address, size);
    if (!region || !region->memory)
        return Status::InvalidAddress;
    std::lock_guard<std::mutex> lock(m_memoryMutex);
    std::memcpy(m_memory.data() + region->memoryOffset + (address - region->address), data, size);
    return Status::Ok;
}

std::string RegisterBank::StatusText(Status status, uint64_t address)
{
    std::ostringstream text;
    switch (status)
    {
    case Status::Ok:
        return {};
    case Status::InvalidAddress:
        text << "No register at address 0x" << std::hex << address;
        break;
    case Status::WriteProtected:
        text << "Register at address 0x" << std::hex << address << " is read-only";
        break;
    case Status::Failed:
        text << "Access to the register at address 0x" << std::hex << address << " failed";
        break;
    }
    return text.str();
}

} // namespace orna::core::detail
