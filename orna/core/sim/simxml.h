#pragma once
// GenICam XML of the simulated camera, built from the register map in simregisters.h.
// Pure functions of the configuration: callable from any thread.

#include <cstdint>
#include <string>
#include <vector>

namespace orna::core::sim {

struct SimCameraConfig;

// The PFNC codes a camera of this configuration offers, in the order of its PixelFormat entries.
std::vector<uint32_t> PixelFormatsOf(const SimCameraConfig& config);

// The complete XML document. A camera in service firmware gets the reduced document of its boot loader:
// device information, boot status, reset and file access, no image or acquisition nodes.
std::string BuildGenICamXml(const SimCameraConfig& config);

// A zip archive with one entry, stored without compression (method 0), as a camera may publish its
// description: local header, data, central directory, end record.
std::string ZipStored(const std::string& entryName, const std::string& content);

} // namespace orna::core::sim
