#include "orna/core/sim/simpixels.h"

#include "orna/core/sim/simregisters.h"

namespace orna::core::sim {

PixelFormatInfo DescribePixelFormat(uint32_t pfnc)
{
    switch (pfnc)
    {
    case pfnc::Mono8:
        return {PixelLayout::Plain8, 8, false, false, "Mono8"};
    case pfnc::Mono10:
        return {PixelLayout::Plain16, 10, false, false, "Mono10"};
    case pfnc::Mono10p:
        return {PixelLayout::Packed10p, 10, false, false, "Mono10p"};
    case pfnc::Mono12:
        return {PixelLayout::Plain16, 12, false, false, "Mono12"};
    case pfnc::Mono12p:
        return {PixelLayout::Packed12p, 12, false, false, "Mono12p"};
    case pfnc::Mono10g40:
        return {PixelLayout::G40, 10, false, false, "Mono10g40KVX"};
    case pfnc::Mono12g24:
        return {PixelLayout::G24, 12, false, false, "Mono12g24KVX"};
    case pfnc::BayerRG8:
        return {PixelLayout::Plain8, 8, true, false, "BayerRG8"};
    case pfnc::BayerGB8:
        return {PixelLayout::Plain8, 8, true, false, "BayerGB8", 1};
    case pfnc::BayerRG10:
        return {PixelLayout::Plain16, 10, true, false, "BayerRG10"};
    case pfnc::BayerRG10p:
        return {PixelLayout::Packed10p, 10, true, false, "BayerRG10p"};
    case pfnc::BayerRG12:
        return {PixelLayout::Plain16, 12, true, false, "BayerRG12"};
    case pfnc::BayerRG12p:
        return {PixelLayout::Packed12p, 12, true, false, "BayerRG12p"};
    case pfnc::BayerRG10g40:
        return {PixelLayout::G40, 10, true, false, "BayerRG10g40KVX"};
    case pfnc::BayerRG12g24:
        return {PixelLayout::G24, 12, true, false, "BayerRG12g24KVX"};
    case pfnc::RGB8:
        return {PixelLayout::RGB8, 8, false, true, "RGB8"};
    case pfnc::BGRa8:
        return {PixelLayout::BGRa8, 8, false, true, "BGRa8"};
    default:
        return {};
    }
}

uint32_t PixelAlignment(uint32_t pfnc)
{
    switch (DescribePixelFormat(pfnc).layout)
    {
    case PixelLayout::Packed10p:
    case PixelLayout::G40:
        return 4;
    case PixelLayout::Packed12p:
    case PixelLayout::G24:
        return 2;
    default:
        return 1;
    }
}

size_t ImageBytes(uint32_t pfnc, uint32_t width, uint32_t height)
{
    const PixelFormatInfo info = DescribePixelFormat(pfnc);
    if (width % PixelAlignment(pfnc) != 0)
    {
        return 0;
    }
    const size_t pixels = size_t(width) * height;
    switch (info.layout)
    {
    case PixelLayout::Plain8:
        return pixels;
    case PixelLayout::Plain16:
        return pixels * 2;
    case PixelLayout::Packed10p:
    case PixelLayout::G40:
        return pixels / 4 * 5;
    case PixelLayout::Packed12p:
    case PixelLayout::G24:
        return pixels / 2 * 3;
    case PixelLayout::RGB8:
        return pixels * 3;
    case PixelLayout::BGRa8:
        return pixels * 4;
    case PixelLayout::Unknown:
        break;
    }
    return 0;
}

void PackSamples(PixelLayout layout, const uint16_t* src, size_t count, uint8_t* dst)
{
    switch (layout)
    {
    case PixelLayout::Plain8:
        for (size_t i = 0; i < count; ++i)
        {
            dst[i] = uint8_t(src[i]);
        }
        break;
    case PixelLayout::Plain16:
        for (size_t i = 0; i < count; ++i)
        {
            dst[2 * i] = uint8_t(src[i]);
            dst[2 * i + 1] = uint8_t(src[i] >> 8);
        }
        break;
    case PixelLayout::Packed10p:
        for (size_t i = 0; i + 3 < count; i += 4, dst += 5)
        {
            const uint64_t bits = uint64_t(src[i] & 0x3FF) | uint64_t(src[i + 1] & 0x3FF) << 10 |
                                  uint64_t(src[i + 2] & 0x3FF) << 20 | uint64_t(src[i + 3] & 0x3FF) << 30;
            for (int b = 0; b < 5; ++b)
            {
                dst[b] = uint8_t(bits >> (8 * b));
            }
        }
        break;
    case PixelLayout::Packed12p:
        for (size_t i = 0; i + 1 < count; i += 2, dst += 3)
        {
            const uint32_t bits = uint32_t(src[i] & 0xFFF) | uint32_t(src[i + 1] & 0xFFF) << 12;
            dst[0] = uint8_t(bits);
            dst[1] = uint8_t(bits >> 8);
            dst[2] = uint8_t(bits >> 16);
        }
        break;
    case PixelLayout::G40:
        for (size_t i = 0; i + 3 < count; i += 4, dst += 5)
        {
            uint8_t low = 0;
            for (int k = 0; k < 4; ++k)
            {
                dst[k] = uint8_t((src[i + k] >> 2) & 0xFF);
                low |= uint8_t((src[i + k] & 0x3) << (2 * k));
            }
            dst[4] = low;
        }
        break;
    case PixelLayout::G24:
        for (size_t i = 0; i + 1 < count; i += 2, dst += 3)
        {
            dst[0] = uint8_t((src[i] >> 4) & 0xFF);
            dst[1] = uint8_t((src[i + 1] >> 4) & 0xFF);
            dst[2] = uint8_t((src[i] & 0xF) | (src[i + 1] & 0xF) << 4);
        }
        break;
    default:
        break;
    }
}

void UnpackSamples(PixelLayout layout, const uint8_t* src, size_t count, uint16_t* dst)
{
    switch (layout)
    {
    case PixelLayout::Plain8:
        for (size_t i = 0; i < count; ++i)
        {
            dst[i] = src[i];
        }
        break;
    case PixelLayout::Plain16:
        for (size_t i = 0; i < count; ++i)
        {
            dst[i] = uint16_t(src[2 * i] | src[2 * i + 1] << 8);
        }
        break;
    case PixelLayout::Packed10p:
        for (size_t i = 0; i + 3 < count; i += 4, src += 5)
        {
            uint64_t bits = 0;
            for (int b = 0; b < 5; ++b)
            {
                bits |= uint64_t(src[b]) << (8 * b);
            }
            for (int k = 0; k < 4; ++k)
            {
                dst[i + k] = uint16_t((bits >> (10 * k)) & 0x3FF);
            }
        }
        break;
    case PixelLayout::Packed12p:
        for (size_t i = 0; i + 1 < count; i += 2, src += 3)
        {
            const uint32_t bits = uint32_t(src[0]) | uint32_t(src[1]) << 8 | uint32_t(src[2]) << 16;
            dst[i] = uint16_t(bits & 0xFFF);
            dst[i + 1] = uint16_t((bits >> 12) & 0xFFF);
        }
        break;
    case PixelLayout::G40:
        for (size_t i = 0; i + 3 < count; i += 4, src += 5)
        {
            for (int k = 0; k < 4; ++k)
            {
                dst[i + k] = uint16_t(src[k] << 2 | ((src[4] >> (2 * k)) & 0x3));
            }
        }
        break;
    case PixelLayout::G24:
        for (size_t i = 0; i + 1 < count; i += 2, src += 3)
        {
            dst[i] = uint16_t(src[0] << 4 | (src[2] & 0xF));
            dst[i + 1] = uint16_t(src[1] << 4 | (src[2] >> 4));
        }
        break;
    default:
        break;
    }
}

} // namespace orna::core::sim
