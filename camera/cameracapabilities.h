// What a camera can do and the transfers through its remote node map, as free functions over the map, so the
// VisionCamera methods stay thin and the rules can be tested on any node map.
//
// Threads: any thread that may use the node map (the GUI thread for the panels, the one-shot task for the
// optimise routine). A run of "select, then act" holds the map's mutex (NodeMap::Lock) so that another thread
// cannot move the selector in between. Every function here reports failures by its result and error text;
// only the noted ones let the library's exception through.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orna::core {
class NodeMap;
class Port;
} // namespace orna::core

namespace camera {

// --- Probes (never throw)

// The node exists and its access is neither "not implemented" nor "not available".
bool IsNodeAccessible(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& name);
// The node exists and is writable (write only or read and write).
bool IsNodeWritable(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& name);
// The enumeration has the entry; with requireAccessible the entry must also be accessible now.
bool HasEnumerationEntry(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& enumeration,
                         const std::string& entry, bool requireAccessible);
// The accessible entries of an enumeration in document order. Raises when the node is absent or no enumeration.
std::vector<std::string> AccessibleEntries(const std::shared_ptr<orna::core::NodeMap>& map,
                                           const std::string& enumeration);
// Pixel format names of the colour families (Bayer, RGB, BGR, in any bit depth or packing).
bool IsColorPixelFormatName(const std::string& symbolic);

// --- Commands

// Executes the command and waits up to timeoutMs until it reports done. Raises on failure.
void ExecuteAndWait(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& name, uint64_t timeoutMs);

// --- Trigger modes

struct SavedTriggerMode
{
    std::string selector; // the "TriggerSelector" entry
    std::string mode;     // its "TriggerMode" when saved
};
// For each accessible "TriggerSelector" entry: remember its "TriggerMode" and switch an "On" to "Off". Nothing
// without "TriggerSelector" and "TriggerMode". Raises on a failed node operation (saved keeps what was done).
void SaveAndResetTriggerModes(const std::shared_ptr<orna::core::NodeMap>& map, std::vector<SavedTriggerMode>& saved);
// Writes each saved mode back under its selector; a failed row does not stop the others. False with the
// errors joined when any row failed. saved is cleared.
bool RestoreTriggerModes(const std::shared_ptr<orna::core::NodeMap>& map, std::vector<SavedTriggerMode>& saved,
                         std::string& error);

// --- Files in camera memory

// Called after each block with the bytes done so far and the bytes in all (0 when unknown, as for reads).
using FileProgress = std::function<void(int64_t done, int64_t total)>;

bool ReadCameraFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& fileName,
                    std::vector<uint8_t>& content, std::string& error, int64_t& bytesDone,
                    const FileProgress& progress = {});
bool WriteCameraFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& fileName,
                     const std::vector<uint8_t>& content, std::string& error, int64_t& bytesDone,
                     const FileProgress& progress = {});
bool DeleteCameraFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& fileName, std::string& error);

// --- XML description

// The first URL of the port and the file it names, read from the port. A URL without address or with size 0
// gives name "unknown" and empty content, and true. Raises on a failed port access.
void ReadXmlThroughPort(const std::shared_ptr<orna::core::Port>& port, std::string& fileName,
                        std::vector<uint8_t>& content);

} // namespace camera
