// orna::ipl::Gain: host gain, one master and three colour factors applied to an image in place.
//
// A sample passes one table per channel (master x colour factor), rebuilt only when a factor or the image's
// bit depth changed since the last image, so a steady stream costs one table read per sample. Mono images
// use the master factor alone; Bayer images take the colour of each site from their pattern; RGB/BGR images
// (with or without alpha) take it per channel and leave alpha as it is. Samples saturate at the format's
// full scale. Packed and YUV formats are refused (ImageFormatNotSupportedException).
//
// Thread safety: the setters and getters may be called from any thread (the auto white balance writes the
// colour factors on its calculation thread while the capture thread applies them); ProcessInPlace may be
// called from several threads but runs one at a time (tableMutex). A factor written during a ProcessInPlace
// takes effect on the next image.
#pragma once

#include "orna/ipl/image.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

namespace orna::ipl {

class Gain
{
public:
    // Ranges of the factors. Colour factors go below 1 so that a white balance can pull a strong channel down.
    static constexpr float kMasterMin = 1.0f;
    static constexpr float kMasterMax = 8.0f;
    static constexpr float kColorMin = 0.25f;
    static constexpr float kColorMax = 8.0f;

    Gain();
    Gain(const Gain&) = delete;
    Gain& operator=(const Gain&) = delete;

    // Values outside the range raise OutOfRangeException and change nothing.
    void SetMasterGainValue(float value);
    void SetRedGainValue(float value);
    void SetGreenGainValue(float value);
    void SetBlueGainValue(float value);
    float GetMasterGainValue() const { return master_.load(); }
    float GetRedGainValue() const { return red_.load(); }
    float GetGreenGainValue() const { return green_.load(); }
    float GetBlueGainValue() const { return blue_.load(); }
    static float GetMasterGainMin() { return kMasterMin; }
    static float GetMasterGainMax() { return kMasterMax; }
    static float GetColorGainMin() { return kColorMin; }
    static float GetColorGainMax() { return kColorMax; }

    // True when every factor is exactly 1.0: applying would change nothing.
    bool IsNeutral() const;
    // Formats ProcessInPlace accepts: unpacked mono, Bayer, RGB/BGR(a) of 8, 10 or 12 bits.
    static bool IsPixelFormatSupported(uint32_t pixelFormat);
    void ProcessInPlace(Image& image);

    // How often the tables were rebuilt (for tests of the "only on change" rule).
    uint64_t GetTableBuilds() const { return tableBuilds_.load(); }

private:
    void Store(std::atomic<float>& factor, float value, float minimum, float maximum, const char* name);
    void RebuildIfNeeded(int bits);

    std::atomic<float> master_{1.0f};
    std::atomic<float> red_{1.0f};
    std::atomic<float> green_{1.0f};
    std::atomic<float> blue_{1.0f};
    // Raised by every setter; the tables were built for builtGeneration_.
    std::atomic<uint64_t> generation_{1};
    std::atomic<uint64_t> tableBuilds_{0};

    // Guards the tables and what they were built for; held for the rebuild and the whole application.
    std::mutex tableMutex_;
    uint64_t builtGeneration_ = 0;
    int builtBits_ = 0;
    // Index 0 red, 1 green, 2 blue, 3 master alone (mono).
    std::array<std::vector<uint16_t>, 4> tables_;
};

} // namespace orna::ipl
