// The state behind a NodeMap and its node handles (internal, Aravis types).
//
// Threads: `mutex` guards every use of the node engine (gc and the device it reads through), the polling
// state and the chunk snapshot; it is recursive so that one thread can hold NodeMap::Lock and still call
// node operations. The node tables (ordered, byName, features) are built in Create() and immutable after.
// `extras` (engine nodes absent from the XML, wrapped on first use) is guarded by `mutex`.
// `chunkWindows` (maps we build over a register bank whose XML has chunk ports; null otherwise) is set in
// CreateLocalNodeMap before the map is shared and never replaced; it has its own leaf mutex.
// `callbackMutex` guards the callback registry only; callbacks are copied out and run without any lock.
#pragma once

#include "orna/core/detail/gobjectptr.h"
#include "orna/core/detail/xmlindex.h"
#include "orna/core/nodes.h"

#include <arv.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace orna::core::detail {

class ChunkWindows;

struct NodeMapImpl : std::enable_shared_from_this<NodeMapImpl>
{
    // Wraps the node tree of device (its own ArvGc) and switches on access and range checks.
    // parsed, when given, is the index of the device's description made already by the caller; it is moved in
    // instead of parsing the description again.
    static std::shared_ptr<NodeMapImpl> Create(GObjectPtr<ArvDevice> device, XmlIndex* parsed = nullptr);

    // Null for an absent name.
    std::shared_ptr<nodes::Node> Lookup(const std::string& name);
    // A handle of the right class for an engine node; enumeration entries go into table as well.
    std::shared_ptr<nodes::Node> Wrap(const std::string& name, ArvGcNode* node,
                                      std::unordered_map<std::string, std::shared_ptr<nodes::Node>>& table);
    // Runs the changed callbacks of the given nodes; never called with `mutex` held by this thread's caller
    // chain from inside the library.
    void FireChanged(const std::vector<std::string>& names);

    GObjectPtr<ArvDevice> device;
    ArvGc* gc = nullptr; // owned by device
    std::string xml;
    XmlIndex index;

    mutable std::recursive_mutex mutex;
    std::vector<std::shared_ptr<nodes::Node>> ordered;
    std::unordered_map<std::string, std::shared_ptr<nodes::Node>> byName;
    std::unordered_map<std::string, std::shared_ptr<nodes::Node>> extras; // guarded by mutex
    std::unordered_set<std::string> features;
    std::vector<std::string> chunkNodes;
    std::vector<std::string> eventNodes; // nodes read through a port with <EventID>
    std::shared_ptr<ChunkWindows> chunkWindows;

    struct PollState
    {
        int64_t elapsed = 0;
        bool known = false;
        std::string last;
    };
    std::unordered_map<std::string, PollState> poll;          // guarded by mutex
    std::unordered_map<std::string, std::string> chunkValues; // guarded by mutex
    std::unordered_map<std::string, std::string> eventValues; // guarded by mutex

    std::mutex callbackMutex;
    std::unordered_map<std::string, std::map<nodes::CallbackHandle, nodes::ChangedCallback>> callbacks;
    std::unordered_map<nodes::CallbackHandle, std::string> callbackOwner;
    nodes::CallbackHandle nextCallback = 1;
};

} // namespace orna::core::detail
