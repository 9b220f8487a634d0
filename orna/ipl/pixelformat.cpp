#include "orna/ipl/pixelformat.h"

#include "orna/ipl/exception.h"

#include <cstdio>
#include <unordered_map>

namespace orna::ipl {

namespace {

enum Family : uint8_t
{
    kMono,
    kBayer,
    kColor,
    kYuv
};

struct FormatInfo
{
    uint32_t code;
    const char* name;
    Family family;
    uint8_t channels;
    uint8_t significantBits;
    uint8_t storageBitsPerPixel;
    BayerPattern pattern;
    Packing packing;
    bool rgbOrder;
    bool alpha;
    uint32_t unpacked; // 0: the format itself
};

using BP = BayerPattern;
using PK = Packing;

// The one table of the library. Order is the order of AllFormats().
constexpr FormatInfo kFormats[] = {
    {Mono8, "Mono8", kMono, 1, 8, 8, BP::None, PK::None, false, false, 0},
    {Mono10, "Mono10", kMono, 1, 10, 16, BP::None, PK::None, false, false, 0},
    {Mono10p, "Mono10p", kMono, 1, 10, 10, BP::None, PK::P10, false, false, Mono10},
    {Mono12, "Mono12", kMono, 1, 12, 16, BP::None, PK::None, false, false, 0},
    {Mono12p, "Mono12p", kMono, 1, 12, 12, BP::None, PK::P12, false, false, Mono12},
    {Mono10g40KVX, "Mono10g40KVX", kMono, 1, 10, 10, BP::None, PK::G40, false, false, Mono10},
    {Mono12g24KVX, "Mono12g24KVX", kMono, 1, 12, 12, BP::None, PK::G24, false, false, Mono12},

    {BayerRG8, "BayerRG8", kBayer, 1, 8, 8, BP::RG, PK::None, false, false, 0},
    {BayerRG10, "BayerRG10", kBayer, 1, 10, 16, BP::RG, PK::None, false, false, 0},
    {BayerRG10p, "BayerRG10p", kBayer, 1, 10, 10, BP::RG, PK::P10, false, false, BayerRG10},
    {BayerRG12, "BayerRG12", kBayer, 1, 12, 16, BP::RG, PK::None, false, false, 0},
    {BayerRG12p, "BayerRG12p", kBayer, 1, 12, 12, BP::RG, PK::P12, false, false, BayerRG12},
    {BayerRG10g40KVX, "BayerRG10g40KVX", kBayer, 1, 10, 10, BP::RG, PK::G40, false, false, BayerRG10},
    {BayerRG12g24KVX, "BayerRG12g24KVX", kBayer, 1, 12, 12, BP::RG, PK::G24, false, false, BayerRG12},

    {BayerBG8, "BayerBG8", kBayer, 1, 8, 8, BP::BG, PK::None, false, false, 0},
    {BayerBG10, "BayerBG10", kBayer, 1, 10, 16, BP::BG, PK::None, false, false, 0},
    {BayerBG10p, "BayerBG10p", kBayer, 1, 10, 10, BP::BG, PK::P10, false, false, BayerBG10},
    {BayerBG12, "BayerBG12", kBayer, 1, 12, 16, BP::BG, PK::None, false, false, 0},
    {BayerBG12p, "BayerBG12p", kBayer, 1, 12, 12, BP::BG, PK::P12, false, false, BayerBG12},
    {BayerBG10g40KVX, "BayerBG10g40KVX", kBayer, 1, 10, 10, BP::BG, PK::G40, false, false, BayerBG10},
    {BayerBG12g24KVX, "BayerBG12g24KVX", kBayer, 1, 12, 12, BP::BG, PK::G24, false, false, BayerBG12},

    {BayerGB8, "BayerGB8", kBayer, 1, 8, 8, BP::GB, PK::None, false, false, 0},
    {BayerGB10, "BayerGB10", kBayer, 1, 10, 16, BP::GB, PK::None, false, false, 0},
    {BayerGB10p, "BayerGB10p", kBayer, 1, 10, 10, BP::GB, PK::P10, false, false, BayerGB10},
    {BayerGB12, "BayerGB12", kBayer, 1, 12, 16, BP::GB, PK::None, false, false, 0},
    {BayerGB12p, "BayerGB12p", kBayer, 1, 12, 12, BP::GB, PK::P12, false, false, BayerGB12},
    {BayerGB10g40KVX, "BayerGB10g40KVX", kBayer, 1, 10, 10, BP::GB, PK::G40, false, false, BayerGB10},
    {BayerGB12g24KVX, "BayerGB12g24KVX", kBayer, 1, 12, 12, BP::GB, PK::G24, false, false, BayerGB12},

    {BayerGR8, "BayerGR8", kBayer, 1, 8, 8, BP::GR, PK::None, false, false, 0},
    {BayerGR10, "BayerGR10", kBayer, 1, 10, 16, BP::GR, PK::None, false, false, 0},
    {BayerGR10p, "BayerGR10p", kBayer, 1, 10, 10, BP::GR, PK::P10, false, false, BayerGR10},
    {BayerGR12, "BayerGR12", kBayer, 1, 12, 16, BP::GR, PK::None, false, false, 0},
    {BayerGR12p, "BayerGR12p", kBayer, 1, 12, 12, BP::GR, PK::P12, false, false, BayerGR12},
    {BayerGR10g40KVX, "BayerGR10g40KVX", kBayer, 1, 10, 10, BP::GR, PK::G40, false, false, BayerGR10},
    {BayerGR12g24KVX, "BayerGR12g24KVX", kBayer, 1, 12, 12, BP::GR, PK::G24, false, false, BayerGR12},

    {BGR8, "BGR8", kColor, 3, 8, 24, BP::None, PK::None, false, false, 0},
    {BGR10, "BGR10", kColor, 3, 10, 48, BP::None, PK::None, false, false, 0},
    {BGR10p32, "BGR10p32", kColor, 3, 10, 32, BP::None, PK::P32, false, false, BGR10},
    {BGR12, "BGR12", kColor, 3, 12, 48, BP::None, PK::None, false, false, 0},
    {BGRa8, "BGRa8", kColor, 4, 8, 32, BP::None, PK::None, false, true, 0},
    {BGRa10, "BGRa10", kColor, 4, 10, 64, BP::None, PK::None, false, true, 0},
    {BGRa12, "BGRa12", kColor, 4, 12, 64, BP::None, PK::None, false, true, 0},
    {RGB8, "RGB8", kColor, 3, 8, 24, BP::None, PK::None, true, false, 0},
    {RGB10, "RGB10", kColor, 3, 10, 48, BP::None, PK::None, true, false, 0},
    {RGB10p32, "RGB10p32", kColor, 3, 10, 32, BP::None, PK::P32, true, false, RGB10},
    {RGB12, "RGB12", kColor, 3, 12, 48, BP::None, PK::None, true, false, 0},
    {RGBa8, "RGBa8", kColor, 4, 8, 32, BP::None, PK::None, true, true, 0},
    {RGBa10, "RGBa10", kColor, 4, 10, 64, BP::None, PK::None, true, true, 0},
    {RGBa12, "RGBa12", kColor, 4, 12, 64, BP::None, PK::None, true, true, 0},

    {YUV420_8_YY_UV_SemiplanarKVX, "YUV420_8_YY_UV_SemiplanarKVX", kYuv, 3, 8, 12, BP::None, PK::YUV420SP, false, false,
     0},
    {YUV420_8_YY_VU_SemiplanarKVX, "YUV420_8_YY_VU_SemiplanarKVX", kYuv, 3, 8, 12, BP::None, PK::YUV420SP, false, false,
     0},
};

const FormatInfo* Find(uint32_t code)
{
    // Built once, immutable afterwards: safe for concurrent readers.
    static const std::unordered_map<uint32_t, const FormatInfo*> byCode = [] {
        std::unordered_map<uint32_t, const FormatInfo*> map;
        for (const auto& info : kFormats)
            map.emplace(info.code, &info);
        return map;
    }();
    const auto it = byCode.find(code);
    return it == byCode.end() ? nullptr : it->second;
}

const FormatInfo& Require(uint32_t code)
{
    const FormatInfo* info = Find(code);
    if (!info)
    {
        char text[64];
        std::snprintf(text, sizeof(text), "Unknown pixel format 0x%08X.", static_cast<unsigned>(code));
        Raise(ReturnCode::ImageFormatNotSupported, text);
    }
    return *info;
}

} // namespace

bool PixelFormat::IsKnown(uint32_t format)
{
    return Find(format) != nullptr;
}
bool PixelFormat::IsPacked(uint32_t format)
{
    const Packing p = Require(format).packing;
    return p != Packing::None && p != Packing::YUV420SP;
}
bool PixelFormat::IsBayered(uint32_t format)
{
    return Require(format).family == kBayer;
}
bool PixelFormat::IsMono(uint32_t format)
{
    return Require(format).family == kMono;
}
bool PixelFormat::IsColor(uint32_t format)
{
    return Require(format).family == kColor;
}
bool PixelFormat::IsYUV(uint32_t format)
{
    return Require(format).family == kYuv;
}
bool PixelFormat::HasAlpha(uint32_t format)
{
    return Require(format).alpha;
}
bool PixelFormat::IsRGBOrder(uint32_t format)
{
    return Require(format).rgbOrder;
}
BayerPattern PixelFormat::GetBayerPattern(uint32_t format)
{
    return Require(format).pattern;
}
Packing PixelFormat::GetPacking(uint32_t format)
{
    return Require(format).packing;
}
int PixelFormat::GetNumChannels(uint32_t format)
{
    return Require(format).channels;
}
int PixelFormat::GetNumSignificantBitsPerChannel(uint32_t format)
{
    return Require(format).significantBits;
}
int PixelFormat::GetNumStorageBitsPerPixel(uint32_t format)
{
    return Require(format).storageBitsPerPixel;
}

uint64_t PixelFormat::CalculateStorageSizeOfPixels(uint32_t format, uint64_t numPixels)
{
    const FormatInfo& info = Require(format);
    if (numPixels > (uint64_t{1} << 40))
        Raise(ReturnCode::OutOfRange, "Pixel count " + std::to_string(numPixels) + " is out of range.");
    switch (info.packing)
    {
    case Packing::G40:
        return (numPixels + 3) / 4 * 5;
    case Packing::G24:
        return (numPixels + 1) / 2 * 3;
    default:
        return (numPixels * info.storageBitsPerPixel + 7) / 8;
    }
}

uint64_t PixelFormat::CalculateImageSize(uint32_t format, uint32_t width, uint32_t height)
{
    const FormatInfo& info = Require(format);
    if (width == 0 || height == 0)
        Raise(ReturnCode::InvalidArgument,
              "Image size " + std::to_string(width) + "x" + std::to_string(height) + " is empty.");
    constexpr uint32_t kMaxSide = 1u << 16;
    if (width > kMaxSide || height > kMaxSide)
        Raise(ReturnCode::OutOfRange, "Image size " + std::to_string(width) + "x" + std::to_string(height) +
                                          " exceeds the limit of 65536 pixels per side.");
    const auto bad = [&](const char* rule) {
        Raise(ReturnCode::InvalidArgument, "Image size " + std::to_string(width) + "x" + std::to_string(height) +
                                               " does not fit " + info.name + ": " + rule);
    };
    if (info.packing == Packing::G40 && width % 4 != 0)
        bad("the width must be a multiple of 4.");
    if (info.packing == Packing::G24 && width % 2 != 0)
        bad("the width must be even.");
    if (info.packing == Packing::YUV420SP && (width % 2 != 0 || height % 2 != 0))
        bad("width and height must be even.");
    return CalculateStorageSizeOfPixels(format, uint64_t{width} * height);
}

uint32_t PixelFormat::GetUnpackedFormat(uint32_t format)
{
    const FormatInfo& info = Require(format);
    return info.unpacked ? info.unpacked : info.code;
}

uint32_t PixelFormat::GetIntermediateFormat(uint32_t format)
{
    const FormatInfo& info = Require(format);
    if (info.packing == Packing::G40 || info.packing == Packing::G24)
        return info.unpacked;
    return info.code;
}

uint32_t PixelFormat::BayerFormat(BayerPattern pattern, int bits)
{
    for (const auto& info : kFormats)
        if (info.family == kBayer && info.pattern == pattern && info.significantBits == bits &&
            info.packing == Packing::None)
            return info.code;
    return 0;
}

uint32_t PixelFormat::WithBitDepth(uint32_t format, int bits)
{
    const FormatInfo& from = Require(format);
    for (const auto& info : kFormats)
    {
        if (info.family != from.family || info.packing != Packing::None || info.significantBits != bits)
            continue;
        if (info.pattern == from.pattern && info.rgbOrder == from.rgbOrder && info.alpha == from.alpha &&
            (from.family != kColor || info.channels == from.channels || from.packing == Packing::P32))
            return info.code;
    }
    return 0;
}

uint32_t PixelFormat::FromName(const std::string& name)
{
    static const std::unordered_map<std::string, uint32_t> byName = [] {
        std::unordered_map<std::string, uint32_t> map;
        for (const auto& info : kFormats)
            map.emplace(info.name, info.code);
        return map;
    }();
    const auto it = byName.find(name);
    return it == byName.end() ? 0 : it->second;
}

std::string PixelFormat::ToName(uint32_t format)
{
    const FormatInfo* info = Find(format);
    return info ? info->name : "INVALID PIXEL FORMAT VALUE";
}

const std::vector<uint32_t>& PixelFormat::AllFormats()
{
    static const std::vector<uint32_t> all = [] {
        std::vector<uint32_t> v;
        for (const auto& info : kFormats)
            v.push_back(info.code);
        return v;
    }();
    return all;
}

} // namespace orna::ipl
