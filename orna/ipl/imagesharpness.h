// orna::ipl::ImageSharpness: how sharp an image is, by one of four measures over weighted regions. Only
// relative values matter (a focus search follows the maximum), so the numbers are ours:
//   Tenengrad           mean of Gx^2 + Gy^2 (3x3 Sobel)
//   Sobel               mean of |Gx| + |Gy|
//   MeanScore           mean of |Laplacian|
//   HistogramVariance   variance of the grey levels
// Samples are scaled to 0..1 of full scale first, so 8- and 16-bit images of one scene compare. Bayer images
// are measured on the green sites of one row parity (a half-size plane without mosaic edges); colour images
// on their grey. The result is the weighted mean over the regions (the whole image without any).
//
// Thread safety: a measurer is used by one thread at a time; Measure does not change it.
#pragma once

#include "orna/ipl/image.h"

#include <cstdint>
#include <vector>

namespace orna::ipl {

class ImageSharpness
{
public:
    enum class Algorithm : int
    {
        Tenengrad = 0,
        Sobel = 1,
        MeanScore = 2,
        HistogramVariance = 3,
    };
    struct Roi
    {
        uint32_t x = 0, y = 0, width = 0, height = 0;
        double weight = 1.0;
    };

    void SetAlgorithm(Algorithm algorithm);
    Algorithm GetAlgorithm() const { return algorithm_; }
    // Raises InvalidArgumentException for a region below GetROIMinimumSize in either direction, or a weight
    // that is not positive; regions are clamped into each image when measured.
    void SetROIs(const std::vector<Roi>& rois);
    const std::vector<Roi>& GetROIs() const { return rois_; }
    static uint32_t GetROIMinimumSize() { return 16; }

    // Unpacked mono and Bayer of 8 to 16 bits, RGB/BGR(a) of 8 to 16 bits.
    static bool GetIsPixelFormatSupported(uint32_t pixelFormat);
    // Raises ImageFormatNotSupportedException for other formats, InvalidHandleException for an empty image.
    double Measure(const Image& image) const;

private:
    Algorithm algorithm_ = Algorithm::Tenengrad;
    std::vector<Roi> rois_;
};

} // namespace orna::ipl
