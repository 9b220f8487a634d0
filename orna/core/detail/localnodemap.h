// Building a NodeMap over GenICam XML we describe ourselves, backed by a RegisterBank (no Aravis types here,
// so backends and tests can use it). Any thread.
#pragma once

#include "orna/core/detail/registerbank.h"
#include "orna/core/nodemap.h"

#include <memory>
#include <string>

namespace orna::core::detail {

// Raises InvalidArgumentException when xml is not a GenICam description.
std::shared_ptr<NodeMap> CreateLocalNodeMap(std::shared_ptr<RegisterBank> bank, const std::string& xml);

} // namespace orna::core::detail
