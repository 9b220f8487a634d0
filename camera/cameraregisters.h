// Register access by address through the remote device's port, for registers that no node describes (the
// camera lock register, vendor diagnostics).
//
// Threads: any. The functions add no locking of their own: the port serialises register I/O of the transport.
// They never throw; a failure is logged with the function's signature as context and reported through the
// result (and *ok where given).
//
// Aravis' fake cameras copy past their memory when the lock register is touched; the port of such a device
// refuses those addresses with InvalidAddressException before anything reaches Aravis, so RegisterReadable
// answers false for them and RegisterRead/RegisterWriteUint32 fail cleanly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orna::core {
class Device;
}

namespace camera {

// The register of the camera's lock state: 4 bytes, value 1 = password protected.
constexpr uint64_t kLockRegisterAddress = 0x50001000;
constexpr size_t kLockRegisterLength = 4;

// True when length bytes at address can be read through the remote port now. A missing device, port or a
// refused read give false, without a log line (the question is the answer).
bool RegisterReadable(const std::shared_ptr<orna::core::Device>& device, uint64_t address, size_t length);
// The bytes at address; empty on failure with *ok false (ok may be null).
std::vector<uint8_t> RegisterRead(const std::shared_ptr<orna::core::Device>& device, uint64_t address, size_t length,
                                  bool* ok);
// Writes value as 4 bytes in the host's byte order (little-endian, as the lock register and USB3 Vision).
void RegisterWriteUint32(const std::shared_ptr<orna::core::Device>& device, uint64_t address, uint32_t value, bool* ok);

} // namespace camera
