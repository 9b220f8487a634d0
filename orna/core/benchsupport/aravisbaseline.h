// Baselines for the benchmarks of orna::core: the same work done through Aravis' own API, so the benchmark
// sources need no Aravis header. Built only with the benchmarks (target orna_core_benchsupport).
#pragma once

#include "orna/core/types.h"

#include <string>
#include <utility>
#include <vector>

namespace orna::core::benchsupport {

// Opens Aravis' in-process Fake device directly and reads each feature `rounds` times with
// arv_device_get_{integer,float,boolean,string}_feature_value. Returns the seconds taken, or a negative value
// when the device cannot be opened.
double AravisFeatureWalkSeconds(const std::vector<std::pair<std::string, nodes::NodeType>>& features, int rounds);

// Builds Aravis' node engine (arv_gc_new, no device) from a description text and frees it again. Returns the
// seconds the build took, or a negative value when the text gives no Root node.
double AravisParseSeconds(const std::string& xml);

} // namespace orna::core::benchsupport
