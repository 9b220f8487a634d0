// Chunk and event data on the remote node map.
#include "orna/core/buffer.h"
#include "orna/core/detail/backend.h"
#include "orna/core/detail/chunkwindows.h"
#include "orna/core/detail/nodemapimpl.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/nodemap.h"

#include <algorithm>

namespace orna::core {

void NodeMap::UpdateChunkNodes(const std::shared_ptr<Buffer>& buffer)
{
    RequireNotNull(buffer, nullptr_text::Buffer);
    const auto& backend = buffer->Backend();
    auto* native = static_cast<ArvBuffer*>(backend->NativeHandle());
    std::vector<BufferChunk> chunks;
    if (!native)
    {
        if (!m_impl->chunkWindows)
            Raise(ReturnCode::NotImplemented, "Chunk data of this transport cannot be evaluated");
        // Walked before the lock: a damaged buffer raises without touching the map.
        if (!backend->HasChunks())
            Raise(ReturnCode::NotAvailable, "The buffer carries no chunk data");
        chunks = detail::WalkChunksStrict(backend->BasePtr(), std::min(backend->FilledSize(), backend->Size()),
                                          backend->ChunksBigEndian());
    }
    std::vector<std::string> changed;
    {
        std::lock_guard<std::recursive_mutex> lock(m_impl->mutex);
        // Aravis buffers: the node engine keeps only a weak reference, so the values are read now, on the
        // capture thread, while the buffer is ours, and kept as a snapshot for comparison. Other buffers: the
        // chunk windows get a copy of the chunks, so the nodes stay readable after the buffer is queued again.
        if (native)
            arv_gc_set_buffer(m_impl->gc, native);
        else
            m_impl->chunkWindows->Assign(chunks);
        for (const auto& name : m_impl->chunkNodes)
        {
            auto node = m_impl->Lookup(name);
            if (!node)
                continue;
            std::string value;
            try
            {
                value = node->GetValueAsString();
            }
            catch (const Exception&)
            {
                continue; // this chunk is not in the buffer
            }
            auto& last = m_impl->chunkValues[name];
            if (last != value)
            {
                last = value;
                for (const auto& dependent : m_impl->index.ChangeSet(name))
                    changed.push_back(dependent);
            }
        }
    }
    m_impl->FireChanged(changed);
}

void NodeMap::UpdateEventNodes(const std::shared_ptr<Event>& event)
{
    RequireNotNull(event, nullptr_text::Event);
    if (!m_impl->chunkWindows || m_impl->chunkWindows->EventBases().empty())
        Raise(ReturnCode::NotImplemented, "Event data nodes are not available on this transport");
    std::vector<std::string> changed;
    {
        std::lock_guard<std::recursive_mutex> lock(m_impl->mutex);
        // An event no port describes changes nothing (as a camera's other events would not).
        if (!m_impl->chunkWindows->AssignEvent(event->GetID(), event->GetData()))
            return;
        for (const auto& name : m_impl->eventNodes)
        {
            auto node = m_impl->Lookup(name);
            if (!node)
                continue;
            std::string value;
            try
            {
                value = node->GetValueAsString();
            }
            catch (const Exception&)
            {
                continue; // no event of this node's id yet, or its data are too short
            }
            auto& last = m_impl->eventValues[name];
            if (last != value)
            {
                last = value;
                for (const auto& dependent : m_impl->index.ChangeSet(name))
                    changed.push_back(dependent);
            }
        }
    }
    m_impl->FireChanged(changed);
}

} // namespace orna::core
