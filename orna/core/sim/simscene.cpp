#include "orna/core/sim/simscene.h"

#include "orna/core/sim/simpixels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <map>
#include <mutex>
#include <tuple>

namespace orna::core::sim {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr uint32_t kRadianceMax = 4095; // radiance 1.0 in the scene planes
constexpr size_t kNoiseTableLength = 1u << 16;
constexpr int kMaxBlurRadius = 24;
constexpr int kFocusStepsPerBlurPixel = 25;
constexpr int kHotPixelCount = 12;

// Colour checker patches (sRGB 8-bit), converted to linear radiance when the scene is built.
constexpr uint8_t kPatches[24][3] = {{115, 82, 68},   {194, 150, 130}, {98, 122, 157}, {87, 108, 67},   {133, 128, 177},
                                     {103, 189, 170}, {214, 126, 44},  {80, 91, 166},  {193, 90, 99},   {94, 60, 108},
                                     {157, 188, 64},  {224, 163, 46},  {56, 61, 150},  {70, 148, 73},   {175, 54, 60},
                                     {231, 199, 31},  {187, 86, 149},  {8, 133, 161},  {243, 243, 242}, {200, 200, 200},
                                     {160, 160, 160}, {122, 122, 121}, {85, 85, 85},   {52, 52, 52}};

double SrgbToLinear(uint8_t v)
{
    const double c = v / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

uint64_t SplitMix(uint64_t x)
{
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// Radiance of the chart at normalised sensor position (u, v), linear RGB in [0, 1]. `px` is the size of
// one sensor pixel in u units, for the line-pair groups whose periods are given in sensor pixels.
void ChartRadiance(double u, double v, double aspect, uint32_t sx, double out[3])
{
    // Background: a soft vertical gradient.
    double g = 0.18 + 0.08 * v;
    out[0] = out[1] = out[2] = g;
    // Colour checker, 6 x 4 patches.
    if (u >= 0.04 && u < 0.56 && v >= 0.06 && v < 0.56)
    {
        const double cu = (u - 0.04) / 0.52 * 6.0, cv = (v - 0.06) / 0.50 * 4.0;
        const int col = std::min(5, int(cu)), row = std::min(3, int(cv));
        const double fu = cu - col, fv = cv - row;
        if (fu < 0.08 || fu > 0.92 || fv < 0.08 || fv > 0.92)
        {
            out[0] = out[1] = out[2] = 0.03;
        }
        else
        {
            for (int c = 0; c < 3; ++c)
            {
                out[c] = SrgbToLinear(kPatches[row * 6 + col][c]);
            }
        }
        return;
    }
    // Siemens star with 36 spoke pairs.
    const double dx = (u - 0.78) * aspect, dy = v - 0.32;
    const double r = std::sqrt(dx * dx + dy * dy);
    if (r < 0.24)
    {
        double val;
        if (r < 0.012)
        {
            val = 0.5;
        }
        else
        {
            val = std::sin(std::atan2(dy, dx) * 36.0) > 0 ? 0.85 : 0.04;
        }
        out[0] = out[1] = out[2] = val;
        return;
    }
    // Line pair groups with periods of 2, 3, 4 and 6 sensor pixels.
    if (u >= 0.04 && u < 0.56 && v >= 0.66 && v < 0.92)
    {
        const double gu = (u - 0.04) / 0.52 * 4.0;
        const int group = std::min(3, int(gu));
        if (gu - group > 0.1 && gu - group < 0.9)
        {
            static constexpr uint32_t kPeriods[4] = {2, 3, 4, 6};
            const uint32_t p = kPeriods[group];
            const bool on = (sx % p) < (p + 1) / 2;
            out[0] = out[1] = out[2] = on ? 0.8 : 0.05;
        }
        return;
    }
    // Grey ramp.
    if (u >= 0.62 && u < 0.96 && v >= 0.66 && v < 0.92)
    {
        const double ramp = (u - 0.62) / 0.34;
        out[0] = out[1] = out[2] = ramp;
    }
}

template <typename T> inline T Clamp(int v, int maxValue)
{
    return T(v < 0 ? 0 : (v > maxValue ? maxValue : v));
}

void BoxBlurPlane(uint16_t* plane, uint32_t w, uint32_t h, int radius)
{
    if (radius <= 0 || w == 0 || h == 0)
    {
        return;
    }
    std::vector<uint32_t> tmp(std::max(w, h));
    auto blurLine = [&](uint16_t* p, uint32_t n, size_t stride) {
        // Running sum with clamped borders.
        uint64_t sum = 0;
        const int r = radius;
        for (int k = -r; k <= r; ++k)
        {
            sum += p[size_t(std::clamp(k, 0, int(n) - 1)) * stride];
        }
        for (uint32_t i = 0; i < n; ++i)
        {
            tmp[i] = uint32_t(sum / uint64_t(2 * r + 1));
            const int out = std::clamp(int(i) - r, 0, int(n) - 1);
            const int in = std::clamp(int(i) + r + 1, 0, int(n) - 1);
            sum += p[size_t(in) * stride];
            sum -= p[size_t(out) * stride];
        }
        for (uint32_t i = 0; i < n; ++i)
        {
            p[size_t(i) * stride] = uint16_t(tmp[i]);
        }
    };
    for (uint32_t y = 0; y < h; ++y)
    {
        blurLine(plane + size_t(y) * w, w, 1);
    }
    for (uint32_t x = 0; x < w; ++x)
    {
        blurLine(plane + x, h, w);
    }
}

} // namespace

// The chart at sensor resolution: 1 plane (mono) or 3 planes (colour) of radiance 0..kRadianceMax.
struct SimFrameGenerator::Scene
{
    uint32_t width = 0, height = 0;
    bool color = false;
    std::vector<uint16_t> planes;
};

namespace {
using SceneKey = std::tuple<uint32_t, uint32_t, bool>;
std::mutex sceneCacheMutex; // guards sceneCache
// Scenes stay for the life of the process: building one costs a noticeable fraction of a second, and a
// process has cameras of one or two sensor kinds.
std::map<SceneKey, std::shared_ptr<const void>> sceneCache;
} // namespace

bool SimImageSettings::operator==(const SimImageSettings& o) const
{
    return sensorWidth == o.sensorWidth && sensorHeight == o.sensorHeight && colorSensor == o.colorSensor &&
           width == o.width && height == o.height && offsetX == o.offsetX && offsetY == o.offsetY &&
           binningH == o.binningH && binningV == o.binningV && decimationH == o.decimationH &&
           decimationV == o.decimationV && binningAverage == o.binningAverage && reverseX == o.reverseX &&
           reverseY == o.reverseY && pixelFormat == o.pixelFormat && exposureUs == o.exposureUs && gainDb == o.gainDb &&
           balance[0] == o.balance[0] && balance[1] == o.balance[1] && balance[2] == o.balance[2] &&
           light[0] == o.light[0] && light[1] == o.light[1] && light[2] == o.light[2] &&
           blackLevelPercent == o.blackLevelPercent && gamma == o.gamma && colorCorrection == o.colorCorrection &&
           std::equal(std::begin(ccm), std::end(ccm), std::begin(o.ccm)) && focusPosition == o.focusPosition &&
           focusPeak == o.focusPeak && lowNoise == o.lowNoise && rollingShutter == o.rollingShutter && seed == o.seed;
}

SimFrameGenerator::SimFrameGenerator() = default;
SimFrameGenerator::~SimFrameGenerator() = default;

bool SimFrameGenerator::Configure(const SimImageSettings& s)
{
    if (configured_ && s == settings_)
    {
        return true;
    }
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    if (info.layout == PixelLayout::Unknown || s.width == 0 || s.height == 0 || s.binningH == 0 || s.binningV == 0 ||
        s.decimationH == 0 || s.decimationV == 0 || s.sensorWidth == 0 || s.sensorHeight == 0)
    {
        return false;
    }
    const uint64_t stepH = uint64_t(s.binningH) * s.decimationH, stepV = uint64_t(s.binningV) * s.decimationV;
    if ((uint64_t(s.offsetX) + s.width - 1) * stepH + s.binningH > s.sensorWidth ||
        (uint64_t(s.offsetY) + s.height - 1) * stepV + s.binningV > s.sensorHeight)
    {
        return false;
    }
    const size_t bytes = ImageBytes(s.pixelFormat, s.width, s.height);
    if (bytes == 0)
    {
        return false;
    }
    const SimImageSettings old = settings_;
    const bool wasConfigured = configured_;
    settings_ = s;
    configured_ = true;
    imageSize_ = bytes;
    maxValue_ = (1u << info.bitDepth) - 1;

    // Which stages must be redone: geometry/optics -> linear; brightness/format -> base; gain -> noise.
    const bool sceneChanged = !wasConfigured || old.sensorWidth != s.sensorWidth ||
                              old.sensorHeight != s.sensorHeight || old.colorSensor != s.colorSensor;
    const bool geometryChanged =
        sceneChanged || old.width != s.width || old.height != s.height || old.offsetX != s.offsetX ||
        old.offsetY != s.offsetY || old.binningH != s.binningH || old.binningV != s.binningV ||
        old.decimationH != s.decimationH || old.decimationV != s.decimationV ||
        old.binningAverage != s.binningAverage || old.reverseX != s.reverseX || old.reverseY != s.reverseY ||
        old.focusPosition != s.focusPosition || old.focusPeak != s.focusPeak || old.seed != s.seed;
    if (sceneChanged)
    {
        const SceneKey key{s.sensorWidth, s.sensorHeight, s.colorSensor};
        std::lock_guard<std::mutex> lock(sceneCacheMutex);
        auto cached = std::static_pointer_cast<const Scene>(sceneCache[key]);
        if (!cached)
        {
            auto scene = std::make_shared<Scene>();
            scene->width = s.sensorWidth;
            scene->height = s.sensorHeight;
            scene->color = s.colorSensor;
            const size_t n = size_t(s.sensorWidth) * s.sensorHeight;
            scene->planes.resize(n * (s.colorSensor ? 3 : 1));
            const double aspect = double(s.sensorWidth) / s.sensorHeight;
            double rgb[3];
            for (uint32_t y = 0; y < s.sensorHeight; ++y)
            {
                const double v = (y + 0.5) / s.sensorHeight;
                for (uint32_t x = 0; x < s.sensorWidth; ++x)
                {
                    ChartRadiance((x + 0.5) / s.sensorWidth, v, aspect, x, rgb);
                    const size_t i = size_t(y) * s.sensorWidth + x;
                    if (s.colorSensor)
                    {
                        for (int c = 0; c < 3; ++c)
                        {
                            scene->planes[c * n + i] = uint16_t(std::lround(rgb[c] * kRadianceMax));
                        }
                    }
                    else
                    {
                        const double luma = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
                        scene->planes[i] = uint16_t(std::lround(luma * kRadianceMax));
                    }
                }
            }
            cached = scene;
            sceneCache[key] = std::static_pointer_cast<const void>(cached);
        }
        scene_ = cached;
    }
    if (geometryChanged)
    {
        BuildLinear();
    }
    const bool noiseChanged = !wasConfigured || old.gainDb != s.gainDb || old.lowNoise != s.lowNoise ||
                              old.pixelFormat != s.pixelFormat || old.seed != s.seed || old.width != s.width;
    if (noiseChanged)
    {
        BuildNoise();
    }
    BuildBase();
    return true;
}

void SimFrameGenerator::BuildLinear()
{
    const SimImageSettings& s = settings_;
    const Scene& scene = *scene_;
    channels_ = scene.color ? 3 : 1;
    const size_t outPixels = size_t(s.width) * s.height;
    const size_t sensorPixels = size_t(scene.width) * scene.height;
    linear_.assign(outPixels * channels_, 0);
    const uint32_t stepH = s.binningH * s.decimationH, stepV = s.binningV * s.decimationV;
    for (uint32_t oy = 0; oy < s.height; ++oy)
    {
        const uint32_t by = s.offsetY + (s.reverseY ? s.height - 1 - oy : oy);
        const uint32_t sy0 = by * stepV;
        for (uint32_t ox = 0; ox < s.width; ++ox)
        {
            const uint32_t bx = s.offsetX + (s.reverseX ? s.width - 1 - ox : ox);
            const uint32_t sx0 = bx * stepH;
            for (uint32_t c = 0; c < channels_; ++c)
            {
                const uint16_t* plane = scene.planes.data() + c * sensorPixels;
                uint32_t sum = 0;
                for (uint32_t j = 0; j < s.binningV; ++j)
                {
                    const uint32_t sy = std::min(sy0 + j, scene.height - 1);
                    for (uint32_t i = 0; i < s.binningH; ++i)
                    {
                        sum += plane[size_t(sy) * scene.width + std::min(sx0 + i, scene.width - 1)];
                    }
                }
                if (s.binningAverage)
                {
                    sum /= (s.binningH * s.binningV);
                }
                linear_[c * outPixels + size_t(oy) * s.width + ox] = uint16_t(std::min<uint32_t>(sum, 65535));
            }
        }
    }
    // Defocus: a box blur whose radius grows with the distance from the focus position.
    const int radius = std::min(kMaxBlurRadius, std::abs(s.focusPosition - s.focusPeak) / kFocusStepsPerBlurPixel);
    for (uint32_t c = 0; c < channels_; ++c)
    {
        BoxBlurPlane(linear_.data() + c * outPixels, s.width, s.height, radius);
    }
    // Hot pixels sit at fixed sensor positions; they show where their bin/decimation cell is sent.
    hotPixels_.clear();
    uint64_t h = s.seed * 0x100000001B3ull + 17;
    for (int k = 0; k < kHotPixelCount; ++k)
    {
        h = SplitMix(h);
        const uint32_t sx = uint32_t(h % scene.width);
        const uint32_t sy = uint32_t((h >> 32) % scene.height);
        if (sx % stepH >= s.binningH || sy % stepV >= s.binningV)
        {
            continue;
        }
        const int64_t bx = sx / stepH - int64_t(s.offsetX), by = sy / stepV - int64_t(s.offsetY);
        if (bx < 0 || by < 0 || bx >= s.width || by >= s.height)
        {
            continue;
        }
        const uint32_t ox = s.reverseX ? s.width - 1 - uint32_t(bx) : uint32_t(bx);
        const uint32_t oy = s.reverseY ? s.height - 1 - uint32_t(by) : uint32_t(by);
        hotPixels_.push_back(size_t(oy) * s.width + ox);
    }
}

void SimFrameGenerator::BuildNoise()
{
    const SimImageSettings& s = settings_;
    const double gainLinear = std::pow(10.0, s.gainDb / 20.0);
    const double sigma8 = (s.lowNoise ? 0.5 : 1.0) * (0.7 + 0.45 * gainLinear);
    const double sigma = sigma8 * (maxValue_ + 1) / 256.0;
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    const size_t samplesPerRow = size_t(s.width) * (info.color ? 4 : 1);
    const size_t length = kNoiseTableLength + samplesPerRow;
    uint64_t state = SplitMix(s.seed ^ 0xA5A5A5A5ull);
    auto gaussian = [&]() {
        // Irwin-Hall with four uniforms: close enough to a normal distribution for sensor noise.
        double sum = 0;
        for (int k = 0; k < 4; ++k)
        {
            state = SplitMix(state);
            sum += double(state >> 11) / double(1ull << 53);
        }
        return (sum - 2.0) * std::sqrt(3.0);
    };
    if (maxValue_ <= 255)
    {
        noise8_.resize(length);
        for (auto& n : noise8_)
        {
            n = int8_t(std::clamp<long>(std::lround(gaussian() * sigma), -127, 127));
        }
        noise16_.clear();
    }
    else
    {
        noise16_.resize(length);
        for (auto& n : noise16_)
        {
            n = int16_t(std::clamp<long>(std::lround(gaussian() * sigma), -32767, 32767));
        }
        noise8_.clear();
    }
    row16_.resize(samplesPerRow);
}

void SimFrameGenerator::BuildBase()
{
    const SimImageSettings& s = settings_;
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    const double gainLinear = std::pow(10.0, s.gainDb / 20.0);
    const double black = std::clamp(s.blackLevelPercent / 100.0, 0.0, 1.0);
    lut_.resize(size_t(channels_) * 65536);
    for (uint32_t c = 0; c < channels_; ++c)
    {
        const double balance = channels_ == 3 ? s.balance[c] : 1.0;
        const double light = channels_ == 3 ? s.light[c] : s.light[1];
        const double k = s.exposureUs / kReferenceExposureUs * gainLinear * balance * light / kRadianceMax;
        uint16_t* lut = lut_.data() + size_t(c) * 65536;
        for (uint32_t r = 0; r < 65536; ++r)
        {
            double v = std::min(1.0, r * k);
            if (s.gamma != 1.0 && v > 0)
            {
                v = std::pow(v, s.gamma);
            }
            v = black + v * (1.0 - black);
            lut[r] = uint16_t(std::lround(std::min(1.0, v) * maxValue_));
        }
    }
    const size_t n = size_t(s.width) * s.height;
    const uint16_t* lin = linear_.data();
    auto lutOf = [&](uint32_t c) { return lut_.data() + size_t(c) * 65536; };
    // Sample value of output pixel i at (x, y) for mono/Bayer layouts.
    auto sample = [&](size_t i, uint32_t x, uint32_t y) -> uint16_t {
        if (channels_ == 1)
        {
            return lutOf(0)[lin[i]];
        }
        if (info.bayer)
        {
            const uint32_t c = BayerChannel(info, x, y);
            return lutOf(c)[lin[c * n + i]];
        }
        // A colour sensor sending a mono format: luma of the three channels.
        return uint16_t((2126u * lutOf(0)[lin[i]] + 7152u * lutOf(1)[lin[n + i]] + 722u * lutOf(2)[lin[2 * n + i]]) /
                        10000u);
    };
    const bool correct = s.colorCorrection && channels_ == 3;
    auto rgbOf = [&](size_t i, uint16_t out[3]) {
        for (uint32_t c = 0; c < 3; ++c)
        {
            out[c] = channels_ == 3 ? lutOf(c)[lin[c * n + i]] : lutOf(0)[lin[i]];
        }
        if (correct)
        {
            const double r = out[0], g = out[1], b = out[2];
            for (uint32_t c = 0; c < 3; ++c)
            {
                const double v = s.ccm[3 * c] * r + s.ccm[3 * c + 1] * g + s.ccm[3 * c + 2] * b;
                out[c] = uint16_t(std::clamp(std::lround(v), 0L, long(maxValue_)));
            }
        }
    };
    if (info.layout == PixelLayout::RGB8 || info.layout == PixelLayout::BGRa8)
    {
        const bool bgra = info.layout == PixelLayout::BGRa8;
        base8_.resize(n * (bgra ? 4 : 3));
        uint16_t rgb[3];
        for (size_t i = 0; i < n; ++i)
        {
            rgbOf(i, rgb);
            if (bgra)
            {
                base8_[4 * i] = uint8_t(rgb[2]);
                base8_[4 * i + 1] = uint8_t(rgb[1]);
                base8_[4 * i + 2] = uint8_t(rgb[0]);
                base8_[4 * i + 3] = 255;
            }
            else
            {
                base8_[3 * i] = uint8_t(rgb[0]);
                base8_[3 * i + 1] = uint8_t(rgb[1]);
                base8_[3 * i + 2] = uint8_t(rgb[2]);
            }
        }
        base16_.clear();
    }
    else if (info.layout == PixelLayout::Plain8)
    {
        base8_.resize(n);
        for (uint32_t y = 0; y < s.height; ++y)
        {
            for (uint32_t x = 0; x < s.width; ++x)
            {
                const size_t i = size_t(y) * s.width + x;
                base8_[i] = uint8_t(sample(i, x, y));
            }
        }
        base16_.clear();
    }
    else
    {
        base16_.resize(n);
        for (uint32_t y = 0; y < s.height; ++y)
        {
            for (uint32_t x = 0; x < s.width; ++x)
            {
                const size_t i = size_t(y) * s.width + x;
                base16_[i] = sample(i, x, y);
            }
        }
        base8_.clear();
    }
    // Hot pixels: dark current saturates them whatever the exposure.
    for (size_t i : hotPixels_)
    {
        if (info.layout == PixelLayout::RGB8 || info.layout == PixelLayout::BGRa8)
        {
            const size_t bytes = info.layout == PixelLayout::RGB8 ? 3 : 4;
            std::fill_n(base8_.begin() + i * bytes, 3, uint8_t(255));
        }
        else if (!base8_.empty())
        {
            base8_[i] = 255;
        }
        else
        {
            base16_[i] = uint16_t(maxValue_);
        }
    }
    // The moving element: a warm disk with a dark blue hand, in output units of each channel.
    static constexpr double kElement[3] = {0.95, 0.8, 0.25}, kHand[3] = {0.08, 0.12, 0.6};
    for (uint32_t c = 0; c < 3; ++c)
    {
        const uint32_t plane = channels_ == 3 ? c : 0;
        const double e =
            channels_ == 3 ? kElement[c] : 0.2126 * kElement[0] + 0.7152 * kElement[1] + 0.0722 * kElement[2];
        const double hv = channels_ == 3 ? kHand[c] : 0.2126 * kHand[0] + 0.7152 * kHand[1] + 0.0722 * kHand[2];
        elementValue_[c] = lutOf(plane)[uint32_t(e * kRadianceMax)];
        elementHand_[c] = lutOf(plane)[uint32_t(hv * kRadianceMax)];
    }
    if (channels_ == 3 && !info.bayer && !info.color)
    {
        const uint16_t e =
            uint16_t((2126u * elementValue_[0] + 7152u * elementValue_[1] + 722u * elementValue_[2]) / 10000u);
        const uint16_t hv =
            uint16_t((2126u * elementHand_[0] + 7152u * elementHand_[1] + 722u * elementHand_[2]) / 10000u);
        std::fill(std::begin(elementValue_), std::end(elementValue_), e);
        std::fill(std::begin(elementHand_), std::end(elementHand_), hv);
    }
}

template <typename T> void SimFrameGenerator::DrawElement(uint64_t frameIndex, uint32_t y, T* row) const
{
    const SimImageSettings& s = settings_;
    const double phase = double(frameIndex % 3600) * (2.0 * kPi / 180.0);
    const double radius = std::max(3.0, std::min(s.width, s.height) / 16.0);
    const double cy = s.height * 0.6;
    double cx = s.width * (0.5 + 0.33 * std::sin(phase));
    if (s.rollingShutter)
    {
        // Each row is exposed a little later; over the frame the element travels about half a frame's step.
        const double stepPerFrame = s.width * 0.33 * std::cos(phase) * (2.0 * kPi / 180.0);
        cx += stepPerFrame * 0.5 * (double(y) - cy) / s.height;
    }
    const double dy = y + 0.5 - cy;
    if (std::fabs(dy) >= radius)
    {
        return;
    }
    const double half = std::sqrt(radius * radius - dy * dy);
    const int x0 = std::max(0, int(std::ceil(cx - half - 0.5)));
    const int x1 = std::min(int(s.width) - 1, int(std::floor(cx + half - 0.5)));
    const double angle = phase * 4.0, ca = std::cos(angle), sa = std::sin(angle);
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    const int stride = info.layout == PixelLayout::BGRa8 ? 4 : (info.layout == PixelLayout::RGB8 ? 3 : 1);
    for (int x = x0; x <= x1; ++x)
    {
        const double px = x + 0.5 - cx;
        const bool hand = (px * ca + dy * sa) > 0 && std::fabs(-px * sa + dy * ca) < radius / 7.0;
        const uint16_t* v = hand ? elementHand_ : elementValue_;
        if (stride == 1)
        {
            uint32_t c = 0;
            if (info.bayer)
            {
                c = BayerChannel(info, uint32_t(x), uint32_t(y));
            }
            row[x] = T(v[c]);
        }
        else if (stride == 3)
        {
            row[3 * x] = T(v[0]);
            row[3 * x + 1] = T(v[1]);
            row[3 * x + 2] = T(v[2]);
        }
        else
        {
            row[4 * x] = T(v[2]);
            row[4 * x + 1] = T(v[1]);
            row[4 * x + 2] = T(v[0]);
        }
    }
}

void SimFrameGenerator::Generate(uint64_t frameIndex, uint8_t* dst)
{
    if (!configured_)
    {
        return;
    }
    const SimImageSettings& s = settings_;
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    const uint64_t frameHash = SplitMix(frameIndex ^ (s.seed << 20));
    if (!base8_.empty())
    {
        const size_t rowBytes = base8_.size() / s.height;
        for (uint32_t y = 0; y < s.height; ++y)
        {
            const size_t offset = (frameHash + uint64_t(y) * 40503u) % kNoiseTableLength;
            const uint8_t* __restrict base = base8_.data() + size_t(y) * rowBytes;
            const int8_t* __restrict noise = noise8_.data() + offset;
            uint8_t* __restrict out = dst + size_t(y) * rowBytes;
            for (size_t x = 0; x < rowBytes; ++x)
            {
                const int v = int(base[x]) + int(noise[x]);
                out[x] = uint8_t(v < 0 ? 0 : (v > 255 ? 255 : v));
            }
            if (info.layout == PixelLayout::BGRa8)
            {
                for (size_t x = 3; x < rowBytes; x += 4)
                {
                    out[x] = 255;
                }
            }
            DrawElement<uint8_t>(frameIndex, y, out);
        }
        return;
    }
    const size_t rowBytes = imageSize_ / s.height;
    const int maxValue = int(maxValue_);
    for (uint32_t y = 0; y < s.height; ++y)
    {
        const size_t offset = (frameHash + uint64_t(y) * 40503u) % kNoiseTableLength;
        const uint16_t* __restrict base = base16_.data() + size_t(y) * s.width;
        const int16_t* __restrict noise = noise16_.data() + offset;
        uint16_t* __restrict row = row16_.data();
        for (uint32_t x = 0; x < s.width; ++x)
        {
            row[x] = Clamp<uint16_t>(int(base[x]) + int(noise[x]), maxValue);
        }
        DrawElement<uint16_t>(frameIndex, y, row);
        PackSamples(info.layout, row, s.width, dst + size_t(y) * rowBytes);
    }
}

void SimFrameGenerator::Measure(const uint8_t* image, double mean[3]) const
{
    mean[0] = mean[1] = mean[2] = 0;
    if (!configured_)
    {
        return;
    }
    const SimImageSettings& s = settings_;
    const PixelFormatInfo info = DescribePixelFormat(s.pixelFormat);
    const size_t rowBytes = imageSize_ / s.height;
    double sum[3] = {0, 0, 0};
    size_t count[3] = {0, 0, 0};
    std::vector<uint16_t> row(s.width);
    for (uint32_t y = 0; y < s.height; y += 8)
    {
        const uint8_t* src = image + size_t(y) * rowBytes;
        if (info.color)
        {
            const size_t step = info.layout == PixelLayout::BGRa8 ? 4 : 3;
            const int r = info.layout == PixelLayout::BGRa8 ? 2 : 0, b = 2 - r;
            for (uint32_t x = 0; x < s.width; ++x)
            {
                sum[0] += src[x * step + r];
                sum[1] += src[x * step + 1];
                sum[2] += src[x * step + b];
                ++count[0], ++count[1], ++count[2];
            }
            continue;
        }
        UnpackSamples(info.layout, src, s.width, row.data());
        for (uint32_t x = 0; x < s.width; ++x)
        {
            uint32_t c = 1;
            if (info.bayer)
            {
                c = BayerChannel(info, uint32_t(x), uint32_t(y));
            }
            sum[c] += row[x];
            ++count[c];
        }
    }
    for (int c = 0; c < 3; ++c)
    {
        mean[c] = count[c] != 0 ? sum[c] / double(count[c]) / maxValue_ : 0.0;
    }
    if (!info.bayer && !info.color)
    {
        mean[0] = mean[2] = mean[1];
    }
}

} // namespace orna::core::sim
