#pragma once
// Pixel format facts and the packing of one row of pixels for the formats the simulated camera sends.
// Pure functions: callable from any thread.

#include <cstddef>
#include <cstdint>

namespace orna::core::sim {

enum class PixelLayout
{
    Unknown,
    Plain8,    // one byte per sample (Mono8, BayerRG8, BayerGB8)
    Plain16,   // 16-bit little-endian per sample, value in the low bits (Mono10/12, BayerRG10/12)
    Packed10p, // PFNC 10p: little-endian bit stream, 4 pixels in 5 bytes
    Packed12p, // PFNC 12p: little-endian bit stream, 2 pixels in 3 bytes
    G40,       // four high bytes, then one byte of the four 2-bit low parts (first pixel lowest)
    G24,       // two high bytes, then one byte of the two 4-bit low parts (first pixel lowest)
    RGB8,      // R, G, B
    BGRa8      // B, G, R, A
};

struct PixelFormatInfo
{
    PixelLayout layout = PixelLayout::Unknown;
    uint32_t bitDepth = 0;      // significant bits per sample
    bool bayer = false;         // one colour sample per pixel in a mosaic
    bool color = false;         // three samples per pixel
    const char* name = nullptr; // GenICam entry name
    uint32_t bayerRowShift = 0; // 0: the mosaic starts with a red-green row (RG); 1: green-blue (GB)
};

// Channel (0 red, 1 green, 2 blue) of the mosaic site (x, y) of a Bayer format.
inline uint32_t BayerChannel(const PixelFormatInfo& info, uint32_t x, uint32_t y)
{
    return ((y + info.bayerRowShift) & 1) == 0 ? ((x & 1) == 0 ? 0 : 1) : ((x & 1) == 0 ? 1 : 2);
}

// Facts about a PFNC (or vendor) code; layout Unknown for codes the camera does not produce.
PixelFormatInfo DescribePixelFormat(uint32_t pfnc);

// Bytes of one image of `width` x `height`; 0 for an unknown format or a width the packing cannot hold.
size_t ImageBytes(uint32_t pfnc, uint32_t width, uint32_t height);

// Pixel count alignment a packed row needs (4 for 10-bit packings, 2 for 12-bit ones, else 1).
uint32_t PixelAlignment(uint32_t pfnc);

// Packs `count` samples (values < 2^bitDepth) of a mono/Bayer layout into `dst`. `count` must be a
// multiple of PixelAlignment. Plain8 takes the top 8 bits of a `bitDepth` sample as given (the caller
// already scaled it).
void PackSamples(PixelLayout layout, const uint16_t* src, size_t count, uint8_t* dst);
// The inverse, for tests and for consumers of the vendor layouts.
void UnpackSamples(PixelLayout layout, const uint8_t* src, size_t count, uint16_t* dst);

} // namespace orna::core::sim
