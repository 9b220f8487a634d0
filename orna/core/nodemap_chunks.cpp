// Chunk and event data on the remote node map.
#include "orna/core/buffer.h"
#include "orna/core/detail/backend.h"
#include "orna/core/detail/nodemapimpl.h"
#include "orna/core/event.h"
#include "orna/core/exception.h"
#include "orna/core/nodemap.h"

namespace orna::core {

void NodeMap::UpdateChunkNodes(const std::shared_ptr<Buffer>& buffer)
{
    RequireNotNull(buffer, nullptr_text::Buffer);
    auto* native = static_cast<ArvBuffer*>(buffer->Backend()->NativeHandle());
    if (!native)
        Raise(ReturnCode::NotImplemented, "Chunk data of this transport cannot be evaluated");
    std::vector<std::string> changed;
    {
        std::lock_guard<std::recursive_mutex> lock(m_impl->mutex);
        // The node engine keeps only a weak reference: the values are read now, on the capture thread, while
        // the buffer is ours, and kept as a snapshot for comparison.
        arv_gc_set_buffer(m_impl->gc, native);
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
    Raise(ReturnCode::NotImplemented, "Event data nodes are not available on this transport");
}

} // namespace orna::core
