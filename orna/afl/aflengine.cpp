// The brightness and white balance laws and the statistics they measure. The numbers are in aflconstants.h.
//
// Brightness, one pass (RunBrightness):
//  1. Nothing while both components are "Off"; a frame inside the skip count after a write only counts.
//  2. Statistic: the grey level at the percentile of the ROI's histogram, on a 0..255 scale.
//  3. Within the tolerance of the target: converged. Components in "Once" go "Off", each with its component
//     callback; the finished callback follows when no component is left on.
//  4. Else the factor r = (target / statistic) ^ damping, bounded; a black or saturated frame steps by the
//     bound. Raising goes to exposure first and the rest to gain; lowering takes gain down first.
//  5. The writes go through the node map under its lock, clamped to range and increment. A refused write is
//     reported once per run; a "Once" then ends "Off" with its callbacks instead of trying again.
// White balance (RunWhiteBalance) is the same shape with grey-world channel means and the host Gain's red and
// blue factors.
#include "orna/afl/aflengine.h"

#include "orna/afl/aflconstants.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/ipl/gain.h"
#include "orna/ipl/image.h"
#include "orna/ipl/pixelformat.h"

#include <algorithm>
#include <cmath>

namespace orna::afl::detail {

using namespace orna::afl::constants;
using orna::ipl::PixelFormat;

Controller::Controller(int type_) : type(type_)
{
    skipFrames = type == ORNA_AFL_CONTROLLER_BRIGHTNESS ? kSkipFramesDefaultBrightness : kSkipFramesDefaultWhiteBalance;
    percentile = kPercentileDefault;
    target = kTargetDefault;
    tolerance = kToleranceDefault;
}

bool Controller::AnyOn() const
{
    return mode[0] != ORNA_AFL_MODE_OFF || mode[1] != ORNA_AFL_MODE_OFF || mode[2] != ORNA_AFL_MODE_OFF;
}

void Controller::ResetRun()
{
    skipLeft = 0;
    onceFrames = 0;
    writeFailureReported = false;
}

// --- Statistics

namespace {

struct Window
{
    uint32_t x0, y0, x1, y1; // [x0, x1) x [y0, y1)
    uint32_t pairStep;       // take every pairStep-th pair of rows
};

Window Clamp(const orna::ipl::Image& image, const orna_afl_roi& roi)
{
    const int64_t w = image.GetWidth(), h = image.GetHeight();
    int64_t x = std::clamp<int64_t>(roi.x, 0, std::max<int64_t>(w - 1, 0));
    int64_t y = std::clamp<int64_t>(roi.y, 0, std::max<int64_t>(h - 1, 0));
    int64_t rw = roi.width <= 0 ? w - x : std::min(roi.width, w - x);
    int64_t rh = roi.height <= 0 ? h - y : std::min(roi.height, h - y);
    if (roi.width <= 0 && roi.height <= 0)
        x = y = 0, rw = w, rh = h;
    Window win{uint32_t(x), uint32_t(y), uint32_t(x + std::max<int64_t>(rw, 1)), uint32_t(y + std::max<int64_t>(rh, 1)),
               1};
    const int64_t samples = int64_t(win.x1 - win.x0) * int64_t(win.y1 - win.y0);
    win.pairStep = uint32_t(std::max<int64_t>(1, (samples + kStatisticsMaxSamples - 1) / kStatisticsMaxSamples));
    return win;
}

bool RowTaken(const Window& win, uint32_t y)
{
    return ((y - win.y0) / 2) % win.pairStep == 0;
}

int ShiftTo8(uint32_t format)
{
    return std::max(0, PixelFormat::GetNumSignificantBitsPerChannel(format) - 8);
}

// Channel of a pixel: 0 red, 1 green, 2 blue for Bayer sites; -1 for mono.
int SiteChannel(orna::ipl::BayerPattern pattern, uint32_t x, uint32_t y)
{
    const int cell = int((y & 1) * 2 + (x & 1));
    static const int kRG[4] = {0, 1, 1, 2}, kGB[4] = {1, 2, 0, 1}, kGR[4] = {1, 0, 2, 1}, kBG[4] = {2, 1, 1, 0};
    switch (pattern)
    {
    case orna::ipl::BayerPattern::RG:
        return kRG[cell];
    case orna::ipl::BayerPattern::GB:
        return kGB[cell];
    case orna::ipl::BayerPattern::GR:
        return kGR[cell];
    case orna::ipl::BayerPattern::BG:
        return kBG[cell];
    default:
        return -1;
    }
}

// Calls f(x, y, r, g, b) for interleaved colour pixels or f(x, y, v) through the single-sample path.
template <typename T, typename Single, typename Triple>
void Walk(const orna::ipl::Image& image, const Window& win, Single single, Triple triple)
{
    const uint32_t format = image.GetPixelFormat();
    const uint32_t width = image.GetWidth();
    const T* data = reinterpret_cast<const T*>(image.GetData());
    const bool interleaved = PixelFormat::IsColor(format);
    const int channels = interleaved ? PixelFormat::GetNumChannels(format) : 1;
    const bool rgb = interleaved && PixelFormat::IsRGBOrder(format);
    for (uint32_t y = win.y0; y < win.y1; ++y)
    {
        if (!RowTaken(win, y))
            continue;
        const T* row = data + size_t(y) * width * size_t(channels);
        if (!interleaved)
        {
            for (uint32_t x = win.x0; x < win.x1; ++x)
                single(x, y, uint32_t(row[x]));
        }
        else
        {
            for (uint32_t x = win.x0; x < win.x1; ++x)
            {
                const T* p = row + size_t(x) * size_t(channels);
                triple(uint32_t(rgb ? p[0] : p[2]), uint32_t(p[1]), uint32_t(rgb ? p[2] : p[0]));
            }
        }
    }
}

template <typename T> double PercentileOf(const orna::ipl::Image& image, const Window& win, double percentile)
{
    uint64_t histogram[256] = {};
    const int shift = ShiftTo8(image.GetPixelFormat());
    auto bin = [shift](uint32_t v) { return std::min<uint32_t>(v >> shift, 255u); };
    Walk<T>(
        image, win, [&](uint32_t, uint32_t, uint32_t v) { ++histogram[bin(v)]; },
        [&](uint32_t r, uint32_t g, uint32_t b) { ++histogram[bin((r + 2 * g + b) / 4)]; });
    uint64_t total = 0;
    for (uint64_t count : histogram)
        total += count;
    if (total == 0)
        return 0.0;
    const double wanted = std::clamp(percentile, 0.0, 100.0) / 100.0 * double(total);
    uint64_t cumulative = 0;
    for (int i = 0; i < 256; ++i)
    {
        cumulative += histogram[i];
        if (double(cumulative) >= wanted && cumulative > 0)
            return double(i);
    }
    return 255.0;
}

template <typename T> void MeansOf(const orna::ipl::Image& image, const Window& win, double mean[3])
{
    uint64_t sum[3] = {}, count[3] = {};
    const orna::ipl::BayerPattern pattern = PixelFormat::GetBayerPattern(image.GetPixelFormat());
    Walk<T>(
        image, win,
        [&](uint32_t x, uint32_t y, uint32_t v) {
            const int c = SiteChannel(pattern, x, y);
            if (c < 0)
            {
                for (int i = 0; i < 3; ++i)
                    sum[i] += v, ++count[i];
            }
            else
            {
                sum[c] += v;
                ++count[c];
            }
        },
        [&](uint32_t r, uint32_t g, uint32_t b) {
            sum[0] += r, sum[1] += g, sum[2] += b;
            ++count[0], ++count[1], ++count[2];
        });
    const double scale = 1.0 / double(1 << ShiftTo8(image.GetPixelFormat()));
    for (int i = 0; i < 3; ++i)
        mean[i] = count[i] ? double(sum[i]) / double(count[i]) * scale : 0.0;
}

bool Wide(const orna::ipl::Image& image)
{
    return PixelFormat::GetNumStorageBitsPerPixel(image.GetPixelFormat()) /
               PixelFormat::GetNumChannels(image.GetPixelFormat()) >
           8;
}

} // namespace

double MeasurePercentile(const orna::ipl::Image& image, const orna_afl_roi& roi, double percentile)
{
    const Window win = Clamp(image, roi);
    return Wide(image) ? PercentileOf<uint16_t>(image, win, percentile) : PercentileOf<uint8_t>(image, win, percentile);
}

void MeasureChannelMeans(const orna::ipl::Image& image, const orna_afl_roi& roi, double mean[3])
{
    const Window win = Clamp(image, roi);
    if (Wide(image))
        MeansOf<uint16_t>(image, win, mean);
    else
        MeansOf<uint8_t>(image, win, mean);
}

bool IsProcessable(uint32_t format, std::string* reason)
{
    if (!PixelFormat::IsKnown(format))
    {
        *reason = "unknown pixel format code " + std::to_string(format);
        return false;
    }
    if (PixelFormat::IsPacked(format) || PixelFormat::IsYUV(format))
    {
        *reason = "packed pixel format " + PixelFormat::ToName(format);
        return false;
    }
    const bool family = PixelFormat::IsMono(format) || PixelFormat::IsBayered(format) || PixelFormat::IsColor(format);
    const int bits = PixelFormat::GetNumSignificantBitsPerChannel(format);
    if (!family || bits < 8 || bits > 16)
    {
        *reason = "unsupported pixel format " + PixelFormat::ToName(format);
        return false;
    }
    return true;
}

// --- Node access

namespace {

std::shared_ptr<orna::core::nodes::FloatNode> WritableFloat(orna::core::NodeMap* map, const char* name)
{
    if (!map || !map->GetHasNode(name))
        return nullptr;
    auto node = map->FindNode(name);
    if (node->GetType() != orna::core::nodes::NodeType::Float || !node->GetIsWritable())
        return nullptr;
    return orna::core::nodes::NodeCast<orna::core::nodes::FloatNode>(node);
}

std::shared_ptr<orna::core::nodes::FloatNode> ExposureNode(orna::core::NodeMap* map)
{
    auto node = WritableFloat(map, "ExposureTime");
    return node ? node : WritableFloat(map, "ExposureTimeAbs");
}

// Selects the gain row the controller writes ("AnalogAll", else "All") and returns the former selection so
// that it can be put back; empty when the camera has no selector or neither row.
std::string SelectGainRow(orna::core::NodeMap* map)
{
    if (!map->GetHasNode("GainSelector"))
        return {};
    auto selector = map->FindNode<orna::core::nodes::EnumerationNode>("GainSelector");
    if (!selector->GetIsWritable())
        return {};
    const std::string before = selector->GetCurrentEntry()->GetSymbolicValue();
    for (const char* row : {"AnalogAll", "All"})
    {
        for (const auto& entry : selector->GetEntries())
        {
            const auto access = entry->GetAccessStatus();
            if (entry->GetSymbolicValue() == row && access != orna::core::nodes::NodeAccessStatus::NotAvailable &&
                access != orna::core::nodes::NodeAccessStatus::NotImplemented)
            {
                if (before != row)
                    selector->SetCurrentEntryBySymbolicValue(row);
                return before;
            }
        }
    }
    return {};
}

double Quantise(double value, double minimum, double maximum, double increment)
{
    if (increment > 0)
        value = minimum + std::round((value - minimum) / increment) * increment;
    return std::clamp(value, minimum, maximum);
}

} // namespace

bool HasComponentNode(orna::core::NodeMap* map, int component)
{
    if (!map)
        return false;
    try
    {
        std::lock_guard<orna::core::NodeMap> lock(*map);
        if (component == ORNA_AFL_COMPONENT_EXPOSURE)
            return ExposureNode(map) != nullptr;
        if (component == ORNA_AFL_COMPONENT_GAIN)
        {
            // With a selector the row matters, not the row selected now.
            if (map->GetHasNode("Gain") && map->FindNode("Gain")->GetType() == orna::core::nodes::NodeType::Float)
            {
                const std::string before = SelectGainRow(map);
                const bool writable = map->FindNode("Gain")->GetIsWritable();
                if (!before.empty())
                    map->FindNode<orna::core::nodes::EnumerationNode>("GainSelector")
                        ->SetCurrentEntryBySymbolicValue(before);
                return writable;
            }
        }
    }
    catch (const std::exception&)
    {
    }
    return false;
}

// --- Brightness

namespace {

void EndOnce(Controller& c, Pending& pending)
{
    bool ended = false;
    for (int component : {ORNA_AFL_COMPONENT_EXPOSURE, ORNA_AFL_COMPONENT_GAIN})
        if (c.mode[component] == ORNA_AFL_MODE_ONCE)
        {
            c.mode[component] = ORNA_AFL_MODE_OFF;
            pending.push_back(component);
            ended = true;
        }
    if (c.mode[0] == ORNA_AFL_MODE_ONCE)
    {
        c.mode[0] = ORNA_AFL_MODE_OFF;
        ended = true;
    }
    if (ended && !c.AnyOn())
        pending.push_back(0);
    c.ResetRun();
}

bool AnyOnce(const Controller& c)
{
    return c.mode[0] == ORNA_AFL_MODE_ONCE || c.mode[1] == ORNA_AFL_MODE_ONCE || c.mode[2] == ORNA_AFL_MODE_ONCE;
}

// Counts a frame of a "Once" run; true when the run has to give up.
bool CountOnceFrame(Controller& c)
{
    if (!AnyOnce(c))
        return false;
    return ++c.onceFrames >= kOnceGiveUpFrames;
}

// Applies the total factor r to exposure and gain. Returns the failure text, empty on success.
std::string WriteBrightness(orna::core::NodeMap* map, double r, bool exposureOn, bool gainOn)
{
    if (!map)
        return "The auto feature manager has no node map.";
    std::string step = "ExposureTime";
    try
    {
        std::lock_guard<orna::core::NodeMap> lock(*map);
        auto exposure = exposureOn ? ExposureNode(map) : nullptr;
        std::shared_ptr<orna::core::nodes::FloatNode> gain;
        std::string restoreRow;
        if (gainOn && map->GetHasNode("Gain"))
        {
            restoreRow = SelectGainRow(map);
            gain = WritableFloat(map, "Gain");
        }
        struct Restore
        {
            orna::core::NodeMap* map;
            const std::string& row;
            ~Restore()
            {
                if (row.empty())
                    return;
                try
                {
                    map->FindNode<orna::core::nodes::EnumerationNode>("GainSelector")
                        ->SetCurrentEntryBySymbolicValue(row);
                }
                catch (const std::exception&)
                {
                }
            }
        } restore{map, restoreRow};
        if (exposureOn && !exposure)
            return "The node ExposureTime is not writable.";
        if (gainOn && !gain)
            return "The node Gain is not writable.";

        // Gain as a factor: a node in dB moves by 20 log10 of the factor.
        const bool gainDb = gain && gain->GetUnit() == "dB";
        auto gainFactor = [&](double from, double to) {
            return gainDb ? std::pow(10.0, (to - from) / 20.0) : to / from;
        };
        auto gainTarget = [&](double from, double factor) {
            return gainDb ? from + 20.0 * std::log10(factor) : from * factor;
        };
        auto moveGain = [&](double factor) {
            step = "Gain";
            const double g = gain->GetValue();
            const double wanted = gainTarget(g, factor);
            const double next = Quantise(wanted, gain->GetMinimum(), gain->GetMaximum(), gain->GetIncrement());
            if (next != g)
                gain->SetValue(next);
            const double applied = gainDb || g != 0.0 ? gainFactor(g, next) : 1.0;
            return applied;
        };
        auto moveExposure = [&](double factor) {
            step = "ExposureTime";
            const double e = exposure->GetValue();
            const double lo = exposure->GetMinimum();
            const double hi = std::max(lo, std::min(exposure->GetMaximum(), kExposureUpperLimitUs));
            // An exposure beyond the limit (set by hand) is only ever lowered by the law.
            const double top = std::max(hi, factor < 1.0 ? e : hi);
            const double next = Quantise(e * factor, lo, top, exposure->GetIncrement());
            if (next != e)
                exposure->SetValue(next);
            return e > 0 ? next / e : 1.0;
        };

        double rest = r;
        if (r > 1.0)
        {
            if (exposure)
                rest /= moveExposure(rest);
            if (gain && rest > 1.0 + 1e-6)
                moveGain(rest);
        }
        else
        {
            if (gain)
                rest /= moveGain(rest);
            if (exposure && rest < 1.0 - 1e-6)
                moveExposure(rest);
        }
        return {};
    }
    catch (const std::exception& e)
    {
        return "Failed to write " + step + ": " + e.what();
    }
}

} // namespace

std::string RunBrightness(Manager& manager, Controller& c, const orna::ipl::Image& image, Pending& pending)
{
    double percentile, target, tolerance;
    orna_afl_roi roi;
    bool exposureOn, gainOn;
    {
        std::lock_guard<std::mutex> lock(c.mutex);
        exposureOn = c.mode[ORNA_AFL_COMPONENT_EXPOSURE] != ORNA_AFL_MODE_OFF;
        gainOn = c.mode[ORNA_AFL_COMPONENT_GAIN] != ORNA_AFL_MODE_OFF;
        if (!exposureOn && !gainOn)
            return {};
        if (CountOnceFrame(c))
        {
            EndOnce(c, pending);
            return "Brightness auto gave up after " + std::to_string(kOnceGiveUpFrames) + " frames.";
        }
        if (c.skipLeft > 0)
        {
            --c.skipLeft;
            return {};
        }
        percentile = c.percentile;
        target = c.target;
        tolerance = c.tolerance;
        roi = c.roi;
        ++c.measured;
    }
    const double level = MeasurePercentile(image, roi, percentile);
    if (std::abs(level - target) <= tolerance)
    {
        std::lock_guard<std::mutex> lock(c.mutex);
        EndOnce(c, pending);
        return {};
    }
    double r;
    if (level <= 0.0)
        r = kMaxStep;
    else if (level >= kSaturatedLevel)
        r = 1.0 / kMaxStep;
    else
        r = std::clamp(std::pow(target / level, kDamping), 1.0 / kMaxStep, kMaxStep);
    const std::string failure = WriteBrightness(manager.nodeMap, r, exposureOn, gainOn);

    std::lock_guard<std::mutex> lock(c.mutex);
    c.skipLeft = c.skipFrames;
    if (failure.empty())
        return {};
    const bool report = !c.writeFailureReported;
    if (AnyOnce(c))
        EndOnce(c, pending);
    c.writeFailureReported = true;
    return report ? failure : std::string();
}

// --- White balance

std::string RunWhiteBalance(Manager& manager, Controller& c, const orna::ipl::Image& image, Pending& pending)
{
    orna_afl_roi roi;
    {
        std::lock_guard<std::mutex> lock(c.mutex);
        if (c.mode[0] == ORNA_AFL_MODE_OFF)
            return {};
        if (CountOnceFrame(c))
        {
            EndOnce(c, pending);
            return "White balance auto gave up after " + std::to_string(kOnceGiveUpFrames) + " frames.";
        }
        if (c.skipLeft > 0)
        {
            --c.skipLeft;
            return {};
        }
        roi = c.roi;
        ++c.measured;
    }
    double mean[3];
    MeasureChannelMeans(image, roi, mean);
    if (mean[0] < kWhiteBalanceMinMean || mean[1] < kWhiteBalanceMinMean || mean[2] < kWhiteBalanceMinMean)
        return {};
    const double rg = mean[0] / mean[1], bg = mean[2] / mean[1];
    if (std::abs(rg - 1.0) <= kWhiteBalanceTolerance && std::abs(bg - 1.0) <= kWhiteBalanceTolerance)
    {
        std::lock_guard<std::mutex> lock(c.mutex);
        EndOnce(c, pending);
        return {};
    }
    std::string failure;
    orna::ipl::Gain* gain = manager.gain.load();
    if (!gain)
    {
        failure = "White balance auto has no host gain to write.";
    }
    else
    {
        try
        {
            const float red = std::clamp(float(gain->GetRedGainValue() * std::pow(1.0 / rg, kWhiteBalanceDamping)),
                                         orna::ipl::Gain::kColorMin, orna::ipl::Gain::kColorMax);
            const float blue = std::clamp(float(gain->GetBlueGainValue() * std::pow(1.0 / bg, kWhiteBalanceDamping)),
                                          orna::ipl::Gain::kColorMin, orna::ipl::Gain::kColorMax);
            gain->SetRedGainValue(red);
            gain->SetBlueGainValue(blue);
        }
        catch (const std::exception& e)
        {
            failure = std::string("Failed to write the host gains: ") + e.what();
        }
    }
    std::lock_guard<std::mutex> lock(c.mutex);
    c.skipLeft = c.skipFrames;
    if (failure.empty())
        return {};
    const bool report = !c.writeFailureReported;
    if (AnyOnce(c))
        EndOnce(c, pending);
    c.writeFailureReported = true;
    return report ? failure : std::string();
}

} // namespace orna::afl::detail
