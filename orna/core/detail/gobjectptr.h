// RAII for GObject references (Aravis devices, streams, buffers, node trees).
//
// Internal to orna/core: nothing above orna/ sees GLib types. A GObjectPtr owns exactly one reference; copying
// takes another one (g_object_ref), destruction drops it. Thread safety: as GObject reference counting, any
// thread; a single GObjectPtr object is not itself synchronised.
#pragma once

#include <glib-object.h>

#include <utility>

namespace orna::core::detail {

template <typename T> class GObjectPtr
{
public:
    GObjectPtr() = default;
    // Takes over a reference the caller already owns (a "transfer full" return of Aravis).
    static GObjectPtr Adopt(T* object)
    {
        GObjectPtr p;
        p.m_object = object;
        return p;
    }
    // Adds a reference of our own to an object we only borrow ("transfer none").
    static GObjectPtr Ref(T* object)
    {
        if (object)
            g_object_ref(object);
        return Adopt(object);
    }
    GObjectPtr(const GObjectPtr& other) : m_object(other.m_object)
    {
        if (m_object)
            g_object_ref(m_object);
    }
    GObjectPtr(GObjectPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    GObjectPtr& operator=(GObjectPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~GObjectPtr() { Reset(); }

    void Reset()
    {
        if (m_object)
            g_object_unref(std::exchange(m_object, nullptr));
    }
    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};

} // namespace orna::core::detail
