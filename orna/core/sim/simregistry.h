#pragma once
// The set of simulated cameras of the process, described by a text such as the environment variable
// ORNA_SIM_CAMERAS: a count ("3": cameras alternating the colour and the mono model) or a comma list of
// model names ("color,mono,locked"). An empty description means one colour camera; "0" means none. The
// process-wide registry treats an unset variable as "0", so the simulated producer appears only on request.
// Serial numbers are stable: model letter plus the running number among cameras of the same model, so the
// same description always yields the same serials, and re-configuring keeps the camera objects whose
// serial stays.
//
// Threading: all members may be called from any thread; `mutex_` guards the camera list and the error.

#include "orna/core/sim/simcamera.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orna::core::sim {

constexpr const char* kSimCamerasEnvironmentVariable = "ORNA_SIM_CAMERAS";
constexpr size_t kMaxSimCameras = 16;

struct SimCameraEntry
{
    std::string model;
    std::string serial;
};

class SimCameraRegistry
{
public:
    // The process-wide registry, configured from ORNA_SIM_CAMERAS on first use.
    static SimCameraRegistry& Instance();

    SimCameraRegistry() = default;
    // Parses a description into models and serials. Unknown names and excess counts are reported in
    // `error` (one message, names separated by "; ") and left out; the rest is still returned.
    static std::vector<SimCameraEntry> Parse(const std::string& text, std::string* error);

    // Replaces the set of cameras by the description. Returns false when part of it was rejected
    // (LastError tells why); the valid part is applied anyway.
    bool Configure(const std::string& text);
    std::vector<std::shared_ptr<SimCamera>> Cameras() const;
    std::shared_ptr<SimCamera> Find(const std::string& serial) const;
    std::string LastError() const;

private:
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<SimCamera>> cameras_;
    std::string error_;
};

} // namespace orna::core::sim
