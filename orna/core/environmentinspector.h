// Lists the producers this build can load, as the paths ProducerLibrary takes.
//
// We load no GenTL .cti files: each transport backend appears as one pseudo path ("aravis:GigEVision",
// "aravis:USB3Vision", "aravis:Fake", "sim:" ...). Which ones are listed follows ORNA_TRANSPORTS, a comma
// separated list of "gev", "u3v", "fake", "sim"; without it every transport except Aravis' in-process Fake
// interface. Threads: any; the list is guarded by an internal mutex.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orna::core {

class EnvironmentInspector
{
public:
    static void UpdateCTIPaths();
    static size_t GetNumCTIPaths();
    // Raises OutOfRangeException past the end.
    static std::string GetCTIPath(size_t index);
    static std::vector<std::string> GetCTIPaths();
};

} // namespace orna::core
