// orna::ipl::ImageConverter: converts images between pixel formats (unpacking, demosaicing, colour order,
// bit depth).
//
// Paths: packed sources are unpacked by the kernels of orna/ipl/unpack.h (straight to 8 bits when the
// destination has 8 bits per channel, so no 16-bit intermediate is made); Bayer mosaics are demosaiced by
// OpenCV in the conversion mode's algorithm (Fast: bilinear, HQ: edge-aware, Classic: VNG, 8-bit Bayer
// only); channel order, alpha and bit depth are then adjusted. Bit depth changes are exact shifts; alpha of
// a result is the maximum of its bit depth.
//
// PreAllocateConversion() sets up a pool of destination images and sizes the scratch buffers, so that a
// steady stream of Convert() calls of that geometry allocates no frame memory: a pool image is reused once
// every Image that used it is gone.
//
// Thread safety: one thread converts at a time (the capture worker); SetConversionMode may be called from
// any thread and takes effect with the next Convert. Images that Convert returns may travel to and die on
// other threads.
#pragma once

#include "orna/ipl/image.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orna::ipl {

enum class ConversionMode : int
{
    Fast = 1,
    HQ = 2,
    Classic = 3,
};

class ImageConverter
{
public:
    ImageConverter();
    ~ImageConverter();
    ImageConverter(const ImageConverter&) = delete;
    ImageConverter& operator=(const ImageConverter&) = delete;

    // 1 Fast, 2 HQ, 3 Classic; anything else raises OutOfRangeException.
    void SetConversionMode(int mode);
    void SetConversionMode(ConversionMode mode) { SetConversionMode(static_cast<int>(mode)); }
    ConversionMode GetConversionMode() const;

    // Prepares count destination images of destinationFormat at width x height and the scratch memory the
    // path from sourceFormat needs. Calling it again replaces the pool of that geometry. The pool's memory is
    // written once here, so that no conversion of the stream takes the pages' first-touch faults.
    void PreAllocateConversion(uint32_t sourceFormat, uint32_t destinationFormat, uint32_t width, uint32_t height,
                               size_t count);

    // Images of the pool prepared for destinationFormat at width x height; 0 when there is none. Same thread
    // as Convert.
    size_t GetPoolSize(uint32_t destinationFormat, uint32_t width, uint32_t height) const;

    // A new image of destinationFormat with the source's size and timestamp. Raises
    // ImageFormatNotSupportedException for a pair outside IsConversionSupported, or for Classic mode with
    // a mosaic of more than 8 bits.
    Image Convert(const Image& source, uint32_t destinationFormat);

    // Whether a source format converts to a destination format (any mode; Classic narrows Bayer sources
    // to 8 bits).
    static bool IsConversionSupported(uint32_t sourceFormat, uint32_t destinationFormat);
    static std::vector<uint32_t> GetSupportedDestinations(uint32_t sourceFormat);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace orna::ipl
