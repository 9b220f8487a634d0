// Unpackers for every packed pixel layout (see the layouts in orna/ipl/pixelformat.h).
//
// Each layout lives in exactly one function template here. Every function reads exactly
// PixelFormat::CalculateStorageSizeOfPixels(format, numPixels) bytes at most and writes numPixels values
// (three per pixel for the p32 forms). src must start at a pixel whose index is a multiple of 8, which
// keeps every group boundary byte-aligned; callers that split an image into parts for several threads
// split at multiples of 8 pixels.
//
// The 8-bit forms shift the value down to its 8 most significant bits (used for display paths so that no
// full-size 16-bit intermediate is needed).
//
// Thread safety: pure functions.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orna::ipl::unpack {

void P10To16(const uint8_t* src, uint16_t* dst, size_t numPixels);
void P10To8(const uint8_t* src, uint8_t* dst, size_t numPixels);
void P12To16(const uint8_t* src, uint16_t* dst, size_t numPixels);
void P12To8(const uint8_t* src, uint8_t* dst, size_t numPixels);
void G40To16(const uint8_t* src, uint16_t* dst, size_t numPixels);
void G40To8(const uint8_t* src, uint8_t* dst, size_t numPixels);
void G24To16(const uint8_t* src, uint16_t* dst, size_t numPixels);
void G24To8(const uint8_t* src, uint8_t* dst, size_t numPixels);

// RGB10p32/BGR10p32: one little-endian 32-bit word per pixel to three 16-bit channels in word order
// (bits 9..0 first).
void P32To16(const uint8_t* src, uint16_t* dst, size_t numPixels);
// The reverse: three 16-bit channels (values above 1023 are masked) to one word per pixel.
void Pack16ToP32(const uint16_t* src, uint8_t* dst, size_t numPixels);

// Shifts 16-bit samples down to 8 bits; 16-bit samples left (positive shift) or right (negative) in place
// or into another buffer; 8 to 16 bits with a left shift.
void Shift16To8(const uint16_t* src, uint8_t* dst, size_t count, int rightShift);
void Shift16(const uint16_t* src, uint16_t* dst, size_t count, int leftShift);
void Expand8To16(const uint8_t* src, uint16_t* dst, size_t count, int leftShift);

} // namespace orna::ipl::unpack
