// Pixel formats: PFNC codes, their names, and what the library knows about each.
//
// All formats are 32-bit PFNC values. The standard codes are those of the GenICam Pixel Format Naming
// Convention. The vendor ("KVX") codes below are this system's own; the simulated camera and any code that
// produces or consumes such frames must use this header as the single source of the values and layouts.
//
// Vendor layouts (each implemented in exactly one function of orna/ipl/unpack.h, with a round-trip test):
//   *10g40KVX  four 10-bit pixels in five bytes: bytes 0..3 hold bits 9..2 of pixels 0..3, byte 4 holds the
//              four 2-bit remainders, pixel 0 in bits 1..0, pixel 1 in bits 3..2, pixel 2 in bits 5..4,
//              pixel 3 in bits 7..6. The width must be a multiple of 4.
//   *12g24KVX  two 12-bit pixels in three bytes: bytes 0..1 hold bits 11..4 of pixels 0..1, byte 2 holds the
//              two 4-bit remainders, pixel 0 in bits 3..0, pixel 1 in bits 7..4. The width must be even.
//   YUV420_8_YY_UV_SemiplanarKVX  NV12: a full Y plane of width x height bytes, then interleaved U,V at half
//              resolution in both directions. Width and height must be even.
//   YUV420_8_YY_VU_SemiplanarKVX  the same with V,U (NV21).
// The vendor codes keep the values the camera family uses on the wire (0x40000001 ...); they have bit 30
// set and carry no bit count in bits 16-23, so nothing may derive a size from the code itself: the table in
// pixelformat.cpp is explicit.
//
// Standard packed layouts: "p" formats are one continuous LSB-first bit stream without line padding
// (10p: 4 pixels in 5 bytes, 12p: 2 pixels in 3 bytes); "RGB10p32"/"BGR10p32" hold one pixel per
// little-endian 32-bit word, first channel in bits 9..0, second in 19..10, third in 29..20.
//
// Unpacked 10 and 12-bit data is held in 16-bit words with its natural range (0..1023, 0..4095).
//
// Thread safety: everything here is stateless or reads immutable tables; callable from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orna::ipl {

// Unscoped on purpose: values pass freely as the 32-bit codes the cameras send.
enum PixelFormatName : uint32_t
{
    Mono8 = 0x01080001,
    Mono10 = 0x01100003,
    Mono10p = 0x010A0046,
    Mono12 = 0x01100005,
    Mono12p = 0x010C0047,

    BayerGR8 = 0x01080008,
    BayerRG8 = 0x01080009,
    BayerGB8 = 0x0108000A,
    BayerBG8 = 0x0108000B,
    BayerGR10 = 0x0110000C,
    BayerRG10 = 0x0110000D,
    BayerGB10 = 0x0110000E,
    BayerBG10 = 0x0110000F,
    BayerGR12 = 0x01100010,
    BayerRG12 = 0x01100011,
    BayerGB12 = 0x01100012,
    BayerBG12 = 0x01100013,
    BayerBG10p = 0x010A0052,
    BayerGB10p = 0x010A0054,
    BayerGR10p = 0x010A0056,
    BayerRG10p = 0x010A0058,
    BayerBG12p = 0x010C0053,
    BayerGB12p = 0x010C0055,
    BayerGR12p = 0x010C0057,
    BayerRG12p = 0x010C0059,

    RGB8 = 0x02180014,
    BGR8 = 0x02180015,
    RGBa8 = 0x02200016,
    BGRa8 = 0x02200017,
    RGB10 = 0x02300018,
    BGR10 = 0x02300019,
    RGB12 = 0x0230001A,
    BGR12 = 0x0230001B,
    RGB10p32 = 0x0220001D,
    BGR10p32 = 0x0220001E,
    BGRa10 = 0x0240004C,
    BGRa12 = 0x0240004E,
    RGBa10 = 0x0240005F,
    RGBa12 = 0x02400061,

    BayerRG10g40KVX = 0x40000001,
    BayerGB10g40KVX = 0x40000002,
    BayerGR10g40KVX = 0x40000003,
    BayerBG10g40KVX = 0x40000004,
    Mono10g40KVX = 0x4000000F,
    BayerRG12g24KVX = 0x40000011,
    BayerGB12g24KVX = 0x40000012,
    BayerGR12g24KVX = 0x40000013,
    BayerBG12g24KVX = 0x40000014,
    Mono12g24KVX = 0x4000001F,
    YUV420_8_YY_UV_SemiplanarKVX = 0x420C0001,
    // Named by the camera family beside the UV form; its code is assumed to be the next value.
    YUV420_8_YY_VU_SemiplanarKVX = 0x420C0002,
};

// The colour of the top-left pixel pair, in PFNC naming ("RG": red at (0,0), green at (1,0)).
enum class BayerPattern : int
{
    None = 0,
    RG = 1,
    GB = 2,
    GR = 3,
    BG = 4,
};

// How the pixels of a format are laid out in memory.
enum class Packing : int
{
    None = 0,     // one pixel per 1, 2, 3, 4, 6 or 8 bytes, channels interleaved
    P10 = 1,      // PFNC 10p bit stream
    P12 = 2,      // PFNC 12p bit stream
    G40 = 3,      // vendor g40
    G24 = 4,      // vendor g24
    P32 = 5,      // RGB10p32 / BGR10p32
    YUV420SP = 6, // NV12 / NV21
};

class PixelFormat
{
public:
    // Static helpers only; an unknown code raises ImageFormatNotSupportedException unless said otherwise.
    static bool IsKnown(uint32_t format);
    static bool IsPacked(uint32_t format);
    static bool IsBayered(uint32_t format);
    static bool IsMono(uint32_t format);
    static bool IsColor(uint32_t format); // RGB/BGR families with or without alpha, and the p32 forms
    static bool IsYUV(uint32_t format);
    static bool HasAlpha(uint32_t format);
    static bool IsRGBOrder(uint32_t format);              // RGB, RGBa, RGB10p32 (false for BGR orders and others)
    static BayerPattern GetBayerPattern(uint32_t format); // None for formats without a mosaic
    static Packing GetPacking(uint32_t format);
    static int GetNumChannels(uint32_t format);
    static int GetNumSignificantBitsPerChannel(uint32_t format);
    static int GetNumStorageBitsPerPixel(uint32_t format);
    // Bytes that numPixels pixels occupy, rounded up to whole bytes (whole groups for g40/g24).
    static uint64_t CalculateStorageSizeOfPixels(uint32_t format, uint64_t numPixels);
    // Bytes of a width x height image; raises InvalidArgumentException when the geometry does not fit the
    // format's grouping (see the layouts above) or is empty.
    static uint64_t CalculateImageSize(uint32_t format, uint32_t width, uint32_t height);
    // The plain form a packed format unpacks to ("BayerRG12p" -> "BayerRG12", "RGB10p32" -> "RGB10");
    // the format itself when it is not packed.
    static uint32_t GetUnpackedFormat(uint32_t format);
    // The vendor unpack table: g40/g24 to their plain form; every other format maps to itself.
    static uint32_t GetIntermediateFormat(uint32_t format);
    // The format of the same family with another bit depth (8, 10 or 12), unpacked; 0 when none exists.
    static uint32_t WithBitDepth(uint32_t format, int bits);
    // A Bayer format of the given pattern and depth (8, 10, 12), unpacked; 0 when none.
    static uint32_t BayerFormat(BayerPattern pattern, int bits);

    // Name table: unknown names give 0, unknown codes "INVALID PIXEL FORMAT VALUE".
    static uint32_t FromName(const std::string& name);
    static std::string ToName(uint32_t format);
    static const std::vector<uint32_t>& AllFormats();
};

} // namespace orna::ipl
