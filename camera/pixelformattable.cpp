#include "camera/pixelformattable.h"

#include "orna/ipl/pixelformat.h"

#include <mutex>

using orna::ipl::PixelFormat;
namespace pf = orna::ipl;

namespace camera {
namespace {

struct NameTable
{
    std::vector<std::string> names;
    std::unordered_map<std::string, uint32_t> toCode;
    std::unordered_map<uint32_t, std::string> toName;
};

// The names the system offers; their codes are the image library's.
const NameTable& Table()
{
    static const NameTable table = [] {
        NameTable t;
        t.names = {"Mono8",
                   "Mono10",
                   "Mono10p",
                   "Mono12",
                   "Mono12p",
                   "BayerRG8",
                   "BayerRG10",
                   "BayerRG10p",
                   "BayerRG12",
                   "BayerRG12p",
                   "BayerBG8",
                   "BayerBG10",
                   "BayerBG10p",
                   "BayerBG12",
                   "BayerBG12p",
                   "BayerGB8",
                   "BayerGB10",
                   "BayerGB10p",
                   "BayerGB12",
                   "BayerGB12p",
                   "BayerGR8",
                   "BayerGR10",
                   "BayerGR10p",
                   "BayerGR12",
                   "BayerGR12p",
                   "BGR8",
                   "BGR10",
                   "BGR10p32",
                   "BGR12",
                   "BGRa8",
                   "BGRa10",
                   "BGRa12",
                   "RGB8",
                   "RGB10",
                   "RGB10p32",
                   "RGB12",
                   "RGBa8",
                   "RGBa10",
                   "RGBa12",
                   "BayerRG10g40KVX",
                   "BayerGB10g40KVX",
                   "BayerGR10g40KVX",
                   "BayerBG10g40KVX",
                   "Mono10g40KVX",
                   "BayerRG12g24KVX",
                   "BayerGB12g24KVX",
                   "BayerGR12g24KVX",
                   "BayerBG12g24KVX",
                   "Mono12g24KVX",
                   "YUV420_8_YY_UV_SemiplanarKVX"};
        for (const auto& name : t.names)
        {
            const uint32_t code = PixelFormat::FromName(name);
            t.toCode.emplace(name, code);
            t.toName.emplace(code, name);
        }
        return t;
    }();
    return table;
}

bool IsG40(uint32_t c)
{
    return PixelFormat::IsKnown(c) && PixelFormat::GetPacking(c) == pf::Packing::G40;
}
bool IsG24(uint32_t c)
{
    return PixelFormat::IsKnown(c) && PixelFormat::GetPacking(c) == pf::Packing::G24;
}

} // namespace

uint32_t PixelFormatFromName(const std::string& name)
{
    const auto& t = Table().toCode;
    const auto it = t.find(name);
    return it == t.end() ? 0 : it->second;
}

std::string PixelFormatToName(uint32_t code)
{
    const auto& t = Table().toName;
    const auto it = t.find(code);
    return it == t.end() ? std::string(kInvalidPixelFormatName) : it->second;
}

bool IsKnownPixelFormat(uint32_t code)
{
    return Table().toName.count(code) != 0;
}

const std::vector<std::string>& KnownPixelFormatNames()
{
    return Table().names;
}

int GetPackingClass(uint32_t code)
{
    if (!PixelFormat::IsKnown(code))
        return 0;
    const auto packing = PixelFormat::GetPacking(code);
    if (packing == pf::Packing::G40 || packing == pf::Packing::P10)
        return 1;
    if (packing == pf::Packing::G24 || packing == pf::Packing::P12)
        return 2;
    if (PixelFormat::GetNumChannels(code) >= 3 && !PixelFormat::IsYUV(code))
        return 3;
    return 0;
}

int GetBytesPerPixel(uint32_t code)
{
    switch (code)
    {
    case pf::RGB8:
    case pf::BGR8:
        return 3;
    case pf::RGB10:
    case pf::RGB12:
    case pf::BGR10:
    case pf::BGR12:
        return 6;
    case pf::RGBa10:
    case pf::RGBa12:
    case pf::BGRa10:
    case pf::BGRa12:
        return 8;
    case pf::YUV420_8_YY_UV_SemiplanarKVX:
        return 2;
    default:
        break;
    }
    if (PixelFormat::IsKnown(code) && (PixelFormat::IsMono(code) || PixelFormat::IsBayered(code)))
        return PixelFormat::GetNumSignificantBitsPerChannel(code) <= 8 ? 1 : 2;
    return 4;
}

uint32_t GetUnpackedPixelFormat(uint32_t code)
{
    if (IsG40(code) || IsG24(code))
        return PixelFormat::GetIntermediateFormat(code);
    return code;
}

bool IsBayerPixelFormat(uint32_t code)
{
    return PixelFormat::IsKnown(code) && PixelFormat::IsBayered(code);
}

bool IsMonoPixelFormat(uint32_t code)
{
    return PixelFormat::IsKnown(code) && PixelFormat::IsMono(code);
}

bool IsColorPixelFormat(uint32_t code)
{
    return PixelFormat::IsKnown(code) && PixelFormat::IsColor(code);
}

std::vector<uint32_t> PixelFormatDestinationTables::Destinations(const std::string& sourceName,
                                                                 int conversionMode) const
{
    const auto* map = conversionMode == 3                            ? &classic
                      : (conversionMode == 1 || conversionMode == 2) ? &standard
                                                                     : nullptr;
    if (!map)
        return {};
    const auto it = map->find(sourceName);
    return it == map->end() ? std::vector<uint32_t>() : it->second;
}

bool PixelFormatDestinationTables::IsSupported(const std::string& sourceName, uint32_t destination,
                                               int conversionMode) const
{
    const auto list = Destinations(sourceName, conversionMode);
    for (uint32_t d : list)
        if (d == destination)
            return true;
    return false;
}

uint32_t PixelFormatDestinationTables::DefaultDestination(const std::string& sourceName, int conversionMode) const
{
    const auto* map = conversionMode == 3                            ? &defaultClassic
                      : (conversionMode == 1 || conversionMode == 2) ? &defaultStandard
                                                                     : nullptr;
    if (!map)
        return 0;
    const auto it = map->find(sourceName);
    return it == map->end() ? 0 : it->second;
}

PixelFormatDestinationTables BuildPixelFormatDestinationTables(bool showAllPixelFormats,
                                                               const std::function<uint32_t(uint32_t)>& mapBayer)
{
    PixelFormatDestinationTables t;
    const auto bayer = [&](uint32_t code) { return mapBayer ? mapBayer(code) : code; };

    struct Order
    {
        const char* tag;
        pf::BayerPattern pattern;
    };
    const Order orders[] = {{"RG", pf::BayerPattern::RG},
                            {"GR", pf::BayerPattern::GR},
                            {"GB", pf::BayerPattern::GB},
                            {"BG", pf::BayerPattern::BG}};
    for (const auto& order : orders)
    {
        const std::string b = std::string("Bayer") + order.tag;
        std::vector<uint32_t> list = {bayer(PixelFormat::BayerFormat(order.pattern, 8)),
                                      bayer(PixelFormat::BayerFormat(order.pattern, 10)),
                                      bayer(PixelFormat::BayerFormat(order.pattern, 12)),
                                      pf::Mono8,
                                      pf::Mono10,
                                      pf::Mono12,
                                      pf::RGB8,
                                      pf::BGRa8,
                                      pf::RGB10,
                                      pf::RGB10p32,
                                      pf::RGB12};
        // Only the RG order takes the wider list; the other orders keep the short one.
        if (showAllPixelFormats && order.pattern == pf::BayerPattern::RG)
            list.insert(list.end(),
                        {pf::BGR8, pf::RGBa8, pf::BGR10, pf::RGBa10, pf::BGRa10, pf::BGR12, pf::RGBa12, pf::BGRa12});
        for (const char* suffix : {"8", "10", "10p", "12", "12p", "10g40KVX", "12g24KVX"})
            t.standard[b + suffix] = list;
        t.defaultStandard[b + "8"] = pf::BGRa8;
        t.defaultStandard[b + "10"] = pf::RGB10p32;
        t.defaultStandard[b + "10p"] = pf::RGB10p32;
        t.defaultStandard[b + "12"] = pf::RGB12;
        t.defaultStandard[b + "12p"] = pf::RGB12;
    }
    const std::vector<uint32_t> mono = {pf::Mono8, pf::Mono10, pf::Mono12, pf::RGB8, pf::BGRa8, pf::RGB10, pf::RGB12};
    for (const char* name : {"Mono8", "Mono10", "Mono10p", "Mono12", "Mono12p", "Mono10g40KVX", "Mono12g24KVX"})
        t.standard[name] = mono;
    for (const char* name : {"RGB8", "BGR8", "BGR10p32"})
        t.standard[name] = {pf::RGB8, pf::RGB10, pf::RGB12};
    t.standard["RGB10p32"] = {pf::RGB8, pf::RGB10, pf::RGB10p32, pf::RGB12};
    t.standard["YUV420_8_YY_UV_SemiplanarKVX"] = {pf::BGRa8, pf::BGR8, pf::RGBa8, pf::RGB8};

    t.defaultStandard["Mono8"] = pf::Mono8;
    t.defaultStandard["RGB8"] = pf::RGB8;
    t.defaultStandard["BGR8"] = pf::RGB8;
    t.defaultStandard["RGB10p32"] = pf::RGB10p32;
    t.defaultStandard["BGR10p32"] = pf::RGB10;

    for (const char* name : {"BayerRG8", "BayerGR8"})
    {
        t.classic[name] = {pf::RGB8, pf::BGR8, pf::RGBa8, pf::BGRa8};
        t.defaultClassic[name] = pf::BGRa8;
    }
    return t;
}

} // namespace camera
