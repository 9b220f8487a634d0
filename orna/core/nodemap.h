// NodeMap: one GenICam node map (the camera's remote map, or one of our local system / interface / device /
// data stream maps), as Aravis' node engine over the device plus what the engine lacks.
//
// Threads: any thread. One recursive mutex per map serialises every node operation (the node engine has no
// locking of its own); Lock()/Unlock() (also lock()/unlock() for std::lock_guard) hold it across a run of
// operations, e.g. a selector write and the read of the selected value. Changed callbacks run on the thread
// that caused the change, without the mutex held.
#pragma once

#include "orna/core/initonce.h"
#include "orna/core/nodes.h"

#include <memory>
#include <string>

namespace orna::core {

class Buffer;
class Event;

// The last line StoreToFile writes; a file without it was cut short.
constexpr const char* kPersistenceEndLine = "# End of node map settings";

class NodeMap : public InitOnce
{
public:
    explicit NodeMap(std::shared_ptr<detail::NodeMapImpl> impl);
    ~NodeMap() override;

    // Raises NotFoundException for an absent name.
    std::shared_ptr<nodes::Node> FindNode(const std::string& name) const;
    template <typename T> std::shared_ptr<T> FindNode(const std::string& name) const
    {
        return nodes::NodeCast<T>(FindNode(name));
    }
    // Never raises for an absent name.
    bool GetHasNode(const std::string& name) const;
    size_t GetNumNodes() const;
    // Document order; raises OutOfRangeException past the end.
    std::shared_ptr<nodes::Node> GetNode(size_t index) const;

    void Lock() const;
    void Unlock() const;
    bool TryLock() const;
    void lock() const { Lock(); }
    void unlock() const { Unlock(); }

    // Advances the polling clocks by elapsedMs; nodes whose PollingTime passed are read again and their changed
    // callbacks (and those of their dependents) fire when the value differs from the last poll.
    void PollNodes(int64_t elapsedMs);

    // GenICam persistence text: a header naming vendor, model and version, then "Name<TAB>Value" for each
    // streamable readable-writable node, selectors expanded, then kPersistenceEndLine. The file is written
    // atomically.
    void StoreToFile(const std::string& path) const;
    // Writes the values of such a file in file order, with a second pass for writes that failed in the first
    // (a node that depends on one written later). Raises IOException when the file cannot be read and
    // InvalidArgumentException when nothing of it could be applied.
    void LoadFromFile(const std::string& path);

    // Makes the chunk data of buffer the source of the chunk nodes (the nodes read through a port with
    // <ChunkID>) and fires the changed callbacks of chunk nodes whose value changed. Call on the capture thread
    // while the buffer is not queued; other threads may read the chunk nodes meanwhile (map mutex). Aravis
    // buffers are evaluated by the node engine itself. Buffers of the other transports (simulated producer)
    // are walked here and their chunks copied into the map, so the chunk nodes keep this buffer's values
    // after it is queued again, until the next call. A chunk absent from the buffer makes its nodes raise on
    // read. Raises NotAvailableException for a buffer without chunk data, InvalidArgumentException for a
    // damaged chunk trailer (the map keeps the previous values), NotImplementedException for a map that has
    // no way to evaluate that transport's chunks. No XML is parsed here.
    void UpdateChunkNodes(const std::shared_ptr<Buffer>& buffer);
    // Makes the data of event the source of the nodes read through the port whose <EventID> is the event's id
    // (the other event ports keep the data of their last event) and fires the changed callbacks of event
    // nodes whose value changed. Call on the thread that took the event (event worker). Works on maps built by
    // detail::CreateLocalNodeMap (the simulated producer); raises NotImplementedException for Aravis' remote
    // maps and for maps whose XML has no event port. An event whose id no port names changes nothing.
    void UpdateEventNodes(const std::shared_ptr<Event>& event);

    // The XML description the map was built from.
    std::string GetXml() const;

    std::shared_ptr<detail::NodeMapImpl> Impl() const { return m_impl; }

private:
    std::shared_ptr<detail::NodeMapImpl> m_impl;
};

} // namespace orna::core
