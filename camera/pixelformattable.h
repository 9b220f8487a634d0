// Pixel format vocabulary of the camera side: the names the system knows with their PFNC codes, the three
// classifiers (packing class, host bytes per pixel, unpacked form) and the destination tables that say which
// host format a camera format may be converted to.
//
// The codes and format facts come from orna::ipl::PixelFormat; this file only adds what the system decides
// by itself (which names it offers, its classes and its conversion lists).
//
// Threads: any. The name table is a function-local static, immutable after its first use. Destination tables
// are plain values; VisionCamera keeps its copy under its nodeMapMutex.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace camera {

// The name of a code the system does not know.
constexpr const char* kInvalidPixelFormatName = "INVALID PIXEL FORMAT VALUE";

// Name to code; 0 for a name the system does not know (kInvalidPixelFormatName too).
uint32_t PixelFormatFromName(const std::string& name);
// Code to name; kInvalidPixelFormatName for a code the system does not know.
std::string PixelFormatToName(uint32_t code);
bool IsKnownPixelFormat(uint32_t code);
// Every name of the table, in the order the system lists them.
const std::vector<std::string>& KnownPixelFormatNames();

// 1: vendor g40 and standard 10-bit "p"; 2: vendor g24 and standard 12-bit "p"; 3: three or four colour
// channels; 0: anything else.
int GetPackingClass(uint32_t code);
// Bytes one pixel of the host-side image of that format takes.
int GetBytesPerPixel(uint32_t code);
// The format the host pipeline works on: vendor packed formats unpack to their plain form, every other
// format stays as it is.
uint32_t GetUnpackedPixelFormat(uint32_t code);
bool IsBayerPixelFormat(uint32_t code);
bool IsMonoPixelFormat(uint32_t code);
// RGB or BGR family, with or without alpha.
bool IsColorPixelFormat(uint32_t code);

// The four maps of the destination lists: for each source name, the allowed destination codes in order,
// and one default destination, each for the standard conversion modes (1, 2) and for "Classic" (3).
struct PixelFormatDestinationTables
{
    std::unordered_map<std::string, std::vector<uint32_t>> standard;
    std::unordered_map<std::string, std::vector<uint32_t>> classic;
    std::unordered_map<std::string, uint32_t> defaultStandard;
    std::unordered_map<std::string, uint32_t> defaultClassic;

    // The list for source name under a conversion mode (1..3); empty for an unknown name or mode.
    std::vector<uint32_t> Destinations(const std::string& sourceName, int conversionMode = 1) const;
    bool IsSupported(const std::string& sourceName, uint32_t destination, int conversionMode = 1) const;
    // 0 when the table has no answer.
    uint32_t DefaultDestination(const std::string& sourceName, int conversionMode = 1) const;
};

// Builds the tables. Each Bayer destination passes mapBayer (the host chain's mapping of a raw format, which a
// mirror or rotation changes); an empty function keeps it. showAllPixelFormats adds the wider RGB/BGR list
// to the BayerRG sources only.
PixelFormatDestinationTables BuildPixelFormatDestinationTables(bool showAllPixelFormats,
                                                               const std::function<uint32_t(uint32_t)>& mapBayer);

} // namespace camera
