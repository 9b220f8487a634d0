// One fuzz input: a pixel format, a geometry, a buffer that may be shorter or longer than the format
// needs, and pixel bytes; then wrapping, conversion to a chosen destination in a chosen mode, and the
// unpack kernels on a buffer of exactly the size they may read. Every failure must be an exception of the
// orna::ipl family; anything else (another exception, a read past a buffer under ASan) is a finding.
#pragma once

#include "orna/ipl/exception.h"
#include "orna/ipl/image.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "orna/ipl/unpack.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace orna::ipl::fuzz {

inline uint32_t PickFormat(uint8_t selector, uint32_t raw)
{
    const auto& all = PixelFormat::AllFormats();
    if (selector < 240)
        return all[selector % all.size()];
    return raw; // mostly unknown codes
}

// Returns false when a foreign exception escaped (the caller reports it).
inline bool FuzzOne(const uint8_t* data, size_t size)
{
    if (size < 12)
        return true;
    uint32_t raw = 0;
    for (int i = 0; i < 4; ++i)
        raw = raw << 8 | data[i];
    const uint32_t source = PickFormat(data[4], raw);
    const uint32_t destination = PickFormat(data[5], raw ^ 0x5A5A5A5A);
    const uint32_t width = (uint32_t(data[6]) | uint32_t(data[7]) << 8) % 72;
    const uint32_t height = data[8] % 40;
    const int mode = 1 + data[9] % 3;
    const int delta = int(int8_t(data[10])) % 9; // buffer shorter or longer than needed
    const uint8_t* pixels = data + 11;
    const size_t pixelBytes = size - 11;

    size_t needed = 0;
    try
    {
        needed = PixelFormat::CalculateImageSize(source, width, height);
    }
    catch (const Exception&)
    {
        needed = size_t(width) * height;
    }
    const size_t bufferSize = size_t(std::max<long>(0, long(needed) + delta));
    std::vector<uint8_t> buffer(bufferSize);
    for (size_t i = 0; i < bufferSize; ++i)
        buffer[i] = pixels[i % pixelBytes];

    try
    {
        const Image image = Image::ConstructFromBuffer(source, width, height, buffer.data(), buffer.size());
        ImageConverter converter;
        converter.SetConversionMode(mode);
        const Image out = converter.Convert(image, destination);
        if (out.GetByteCount() != PixelFormat::CalculateImageSize(destination, width, height))
            std::abort();
    }
    catch (const Exception&)
    {
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "foreign exception: %s\n", e.what());
        return false;
    }

    // Kernels straight on an exactly sized buffer of n pixels.
    const size_t n = (size_t(data[6]) << 4 | data[8]) % 777;
    std::vector<uint16_t> out16(n * 3 + 1);
    std::vector<uint8_t> out8(n + 1);
    const auto run = [&](uint32_t format, auto kernel16, auto kernel8) {
        std::vector<uint8_t> packed(PixelFormat::CalculateStorageSizeOfPixels(format, n));
        for (size_t i = 0; i < packed.size(); ++i)
            packed[i] = pixels[i % pixelBytes];
        kernel16(packed.data(), out16.data(), n);
        kernel8(packed.data(), out8.data(), n);
    };
    run(Mono10p, unpack::P10To16, unpack::P10To8);
    run(Mono12p, unpack::P12To16, unpack::P12To8);
    run(Mono10g40KVX, unpack::G40To16, unpack::G40To8);
    run(Mono12g24KVX, unpack::G24To16, unpack::G24To8);
    return true;
}

} // namespace orna::ipl::fuzz
