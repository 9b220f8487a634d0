// A list of callbacks with handles, invoked without its lock held (callbacks may register or unregister).
// Any thread; m_mutex guards the list only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace orna::core {

using CallbackHandle = uint64_t;

template <typename... Args> class CallbackList
{
public:
    using Function = std::function<void(Args...)>;

    CallbackHandle Add(Function function)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const CallbackHandle handle = m_next++;
        m_functions.emplace(handle, std::move(function));
        return handle;
    }
    bool Remove(CallbackHandle handle)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_functions.erase(handle) > 0;
    }
    void Invoke(Args... args) const
    {
        std::map<CallbackHandle, Function> copy;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            copy = m_functions;
        }
        for (auto& entry : copy)
        {
            try
            {
                entry.second(args...);
            }
            catch (...)
            {
                // One failing subscriber must not keep the others from hearing about the change.
            }
        }
    }

private:
    mutable std::mutex m_mutex;
    std::map<CallbackHandle, Function> m_functions;
    CallbackHandle m_next = 1;
};

} // namespace orna::core
