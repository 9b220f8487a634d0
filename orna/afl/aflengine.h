// The engines behind the C interface of orna_afl.h: managers, controllers and the statistics they measure.
// Internal to orna_afl; the system uses the C interface or the wrappers of aflmanager.h.
//
// Locks: Manager::mutex guards its controller list; Controller::mutex guards the controller's parameters and
// run state; Controller::callbackMutex its callback slots. Neither of the first two is held while a node is
// written or a callback runs. Process runs one at a time per
// manager (Manager::busy).
#pragma once

#include "orna/afl/orna_afl.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace orna::core {
class NodeMap;
}
namespace orna::ipl {
class Gain;
class Image;
} // namespace orna::ipl

namespace orna::afl::detail {

struct CallbackSlot
{
    orna_afl_callback function = nullptr;
    void* context = nullptr;
};

// Callbacks to run after the pass, by slot: 0 finished, 1 exposure, 2 gain.
using Pending = std::vector<int>;

struct Manager;

struct Controller
{
    explicit Controller(int type);

    const int type;
    std::mutex mutex;
    // [0] the controller's own mode (white balance), [1] exposure, [2] gain.
    int mode[3] = {ORNA_AFL_MODE_OFF, ORNA_AFL_MODE_OFF, ORNA_AFL_MODE_OFF};
    // Guards slots. Held while a callback runs, so that a slot that is cleared (or replaced) is never called
    // afterwards: clearing waits for a callback under way. Taken before `mutex` when both are needed, never after.
    std::mutex callbackMutex;
    // [0] finished, [1] exposure component, [2] gain component.
    CallbackSlot slots[3];
    int32_t skipFrames = 0;
    orna_afl_roi roi{0, 0, 0, 0};
    double percentile = 0, target = 0, tolerance = 0;
    std::weak_ptr<Manager> owner;
    // Run state: frames still to skip, frames since "Once" began, whether a refused write was reported.
    int skipLeft = 0;
    int onceFrames = 0;
    bool writeFailureReported = false;
    // Diagnostics for tests and benches: frames measured (not skipped).
    uint64_t measured = 0;

    bool AnyOn() const;
    void ResetRun();
};

struct Manager
{
    orna::core::NodeMap* nodeMap = nullptr;
    std::atomic<orna::ipl::Gain*> gain{nullptr};
    std::mutex mutex;
    std::vector<std::shared_ptr<Controller>> controllers;
    std::atomic<bool> busy{false};
    // Formats already refused once (only touched by the one Process that runs).
    std::set<uint32_t> refusedFormats;
};

// The grey level (0..255 of full scale) at `percentile` % of the ROI's histogram; Bayer data is read as grey,
// colour images as (R + 2G + B) / 4. The ROI is clamped into the image.
double MeasurePercentile(const orna::ipl::Image& image, const orna_afl_roi& roi, double percentile);
// Mean red, green, blue (0..255 of full scale) over the ROI: per Bayer site, or per channel.
void MeasureChannelMeans(const orna::ipl::Image& image, const orna_afl_roi& roi, double mean[3]);
// Formats Process accepts: unpacked mono, Bayer and RGB/BGR(a) of 8 to 16 bits. Otherwise why not.
bool IsProcessable(uint32_t pixelFormat, std::string* reason);

// One pass of a controller over an image. Appends callbacks to run and returns the text of a failure to
// report (empty: none).
std::string RunBrightness(Manager& manager, Controller& controller, const orna::ipl::Image& image, Pending& pending);
std::string RunWhiteBalance(Manager& manager, Controller& controller, const orna::ipl::Image& image, Pending& pending);

// Whether the node map has a writable node for a brightness component.
bool HasComponentNode(orna::core::NodeMap* map, int component);

} // namespace orna::afl::detail
