// The camera vocabulary shared by VisionCamera, its workers, the features and the panels: read kinds,
// trigger and shutter modes, host binning/decimation sources, XML modules and node access states.
//
// Plain values only; callable from any thread. The numbers are stored and compared by callers, so they
// never change.
#pragma once

#include <array>
#include <cstdint>

// The first argument of the numeric reads of VisionCamera. Any other number is rejected by the reads.
enum class ReadValueType : int
{
    Minimum = 0,
    Maximum = 1,
    Increment = 2,
    Value = 3,
};

// The module whose XML description is wanted; one value a node map of an open camera.
enum class XmlModule : int
{
    RemoteDevice = 0,
    Device = 1,
    Interface = 2,
    System = 3,
    DataStream = 4,
};

inline constexpr int kNumXmlModules = 5;

namespace camera {

// How a frame is triggered, as read from "TriggerMode", "TriggerSource" and "TriggerActivation".
enum class TriggerMode : int
{
    Custom = 0,
    Off = 1,
    RisingEdge = 2,
    FallingEdge = 3,
    AnyEdge = 4,
    Software = 5,
};

enum class SensorShutterMode : int
{
    Rolling = 0,
    Global = 1,
};

// The selector entries "Sensor" and "Region0" of "BinningSelector".
enum class BinningSource : int
{
    Sensor = 0,
    Region0 = 1,
};

// The selector entries "Sensor" and "Region0" of "DecimationSelector".
enum class DecimationSource : int
{
    Sensor = 0,
    Region0 = 1,
};

// Node access states as the device library reports them.
namespace access {
inline constexpr int NotImplemented = 0;
inline constexpr int NotAvailable = 1;
inline constexpr int WriteOnly = 2;
inline constexpr int ReadOnly = 3;
inline constexpr int ReadWrite = 4;

// Neither not implemented nor not available.
inline constexpr bool IsAccessible(int status)
{
    return status != NotImplemented && status != NotAvailable;
}
inline constexpr bool IsWritable(int status)
{
    return status == ReadWrite || status == WriteOnly;
}
} // namespace access

// Names of the binning and decimation nodes, kept in one place.
inline constexpr const char* kBinningSelector = "BinningSelector";
inline constexpr const char* kDecimationSelector = "DecimationSelector";
inline constexpr std::array<const char*, 4> kBinningDecimationSizeNodes = {"DecimationHorizontal", "DecimationVertical",
                                                                           "BinningHorizontal", "BinningVertical"};

inline constexpr const char* SourceEntryName(BinningSource source)
{
    return source == BinningSource::Sensor ? "Sensor" : "Region0";
}
inline constexpr const char* SourceEntryName(DecimationSource source)
{
    return source == DecimationSource::Sensor ? "Sensor" : "Region0";
}

} // namespace camera
