#pragma once
// The image generator of the simulated camera: a colour test chart (colour patches, a Siemens star, line
// pairs, a grey ramp) seen through the camera's geometry, optics and sensor, plus a moving element.
//
// Cost model: everything that depends on settings is precomputed in Configure() (geometry sampling, focus
// blur, the brightness lookup tables, the noise-free frame in the output format); Generate() only adds
// noise from a pseudo-random table and draws the moving element, so a frame costs about two memory copies.
//
// Threading: a generator is used by one thread at a time (the camera's acquisition thread, or a benchmark);
// it has no locks. The sensor-resolution scene is shared between generators through a process-wide cache
// guarded by its own mutex.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orna::core::sim {

struct SimImageSettings
{
    uint32_t sensorWidth = 1920;
    uint32_t sensorHeight = 1200;
    bool colorSensor = true;
    // Output geometry: offsets in binned/decimated pixels.
    uint32_t width = 1920, height = 1200, offsetX = 0, offsetY = 0;
    uint32_t binningH = 1, binningV = 1, decimationH = 1, decimationV = 1;
    bool binningAverage = false;
    bool reverseX = false, reverseY = false;
    uint32_t pixelFormat = 0;
    // Brightness chain.
    double exposureUs = 10000.0;
    double gainDb = 0.0;
    double balance[3] = {1.0, 1.0, 1.0};
    // The scene's light per red, green, blue: 1 is the reference lighting; a lower value is a darker scene,
    // unequal values a colour cast. A mono sensor sees the green value.
    double light[3] = {1.0, 1.0, 1.0};
    double blackLevelPercent = 0.0;
    double gamma = 1.0;
    bool colorCorrection = false; // applies `ccm` to RGB outputs (raw Bayer data stays raw)
    double ccm[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    // Optics and sensor.
    int focusPosition = 0;
    int focusPeak = 612;
    bool lowNoise = false;
    bool rollingShutter = false; // rows are read one after the other: moving things lean
    uint64_t seed = 1;           // hot pixel positions and noise table

    bool operator==(const SimImageSettings& o) const;
    bool operator!=(const SimImageSettings& o) const { return !(*this == o); }
};

// Exposure at which a scene radiance of 1.0 reaches full scale with 0 dB gain and balance 1.
constexpr double kReferenceExposureUs = 12000.0;

class SimFrameGenerator
{
public:
    SimFrameGenerator();
    ~SimFrameGenerator();
    SimFrameGenerator(const SimFrameGenerator&) = delete;
    SimFrameGenerator& operator=(const SimFrameGenerator&) = delete;

    // Prepares for `settings`; cheap when nothing changed. Returns false for settings it cannot render
    // (unknown pixel format, geometry outside the sensor).
    bool Configure(const SimImageSettings& settings);
    size_t ImageSize() const { return imageSize_; }
    const SimImageSettings& Settings() const { return settings_; }
    // Writes one image of ImageSize() bytes for frame `frameIndex` (the moving element's position and
    // the noise pattern follow it).
    void Generate(uint64_t frameIndex, uint8_t* dst);
    // Mean level of red, green and blue (mono: all three the same) of an image made by Generate with the
    // current settings, as a fraction of full scale, from every eighth row. For the camera's auto functions.
    void Measure(const uint8_t* image, double mean[3]) const;

private:
    struct Scene;
    void BuildLinear();
    void BuildBase();
    void BuildNoise();
    template <typename T> void DrawElement(uint64_t frameIndex, uint32_t y, T* row) const;

    SimImageSettings settings_;
    bool configured_ = false;
    std::shared_ptr<const Scene> scene_;
    size_t imageSize_ = 0;
    uint32_t channels_ = 1;        // planes of linear_: 1 mono, 3 colour
    uint32_t maxValue_ = 255;      // full scale of the output samples
    std::vector<uint16_t> linear_; // per plane: width*height radiance after geometry and focus
    std::vector<uint16_t> lut_;    // per plane: 65536 entries radiance -> output sample
    std::vector<uint8_t> base8_;   // noise-free frame, 8-bit layouts (samples interleaved as sent)
    std::vector<uint16_t> base16_; // noise-free frame, deeper layouts (one sample per pixel)
    std::vector<int8_t> noise8_;
    std::vector<int16_t> noise16_;
    std::vector<uint16_t> row16_;
    std::vector<size_t> hotPixels_; // output pixel indices
    uint16_t elementValue_[3] = {0, 0, 0};
    uint16_t elementHand_[3] = {0, 0, 0};
};

} // namespace orna::core::sim
