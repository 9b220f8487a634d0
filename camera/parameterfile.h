// Parameter files of a camera on the host (the text files of NodeMap::StoreToFile), loaded all or nothing.
//
// NodeMap::LoadFromFile writes value after value; a file cut short, a file of another model or one that is no
// parameter file at all would leave the camera half-written. Here the whole file is read and checked against
// the node map first (header, model, end line, every line a value of a node the map has), the current
// values are kept in a snapshot file, and when the load still fails the snapshot is written back.
//
// Threads: any thread that may use the node map (the caller's; each node operation takes the map's mutex).
// No state of its own.
#pragma once

#include <memory>
#include <string>

namespace orna::core {
class NodeMap;
}

namespace camera {

// True when path is a complete parameter file of the camera behind map; otherwise error says why.
bool CheckParameterFile(const orna::core::NodeMap& map, const std::string& path, std::string& error);
// Check, then load; on a failed load the values from before are written back. False with error on any failure.
bool LoadParameterFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& path, std::string& error);
// StoreToFile, which writes atomically. False with error on failure.
bool SaveParameterFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& path, std::string& error);

} // namespace camera
