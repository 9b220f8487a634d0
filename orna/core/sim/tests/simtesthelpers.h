#pragma once
// Helpers shared by the simulated camera tests: typed register access and a collecting frame sink.

#include "orna/core/sim/simcamera.h"
#include "orna/core/sim/simregisters.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <ios>
#include <mutex>
#include <string>
#include <vector>

namespace simtest {

using orna::core::sim::SimCamera;

inline bool WriteU32(SimCamera& c, uint64_t a, uint32_t v)
{
    return c.WriteMemory(a, &v, 4);
}
inline bool WriteU64(SimCamera& c, uint64_t a, uint64_t v)
{
    return c.WriteMemory(a, &v, 8);
}
inline bool WriteF64(SimCamera& c, uint64_t a, double v)
{
    return c.WriteMemory(a, &v, 8);
}
inline bool Execute(SimCamera& c, uint64_t a)
{
    return WriteU32(c, a, 1);
}
inline uint32_t ReadU32(SimCamera& c, uint64_t a)
{
    uint32_t v = 0xDEADBEEF;
    EXPECT_TRUE(c.ReadMemory(a, &v, 4)) << "read at 0x" << std::hex << a;
    return v;
}
inline uint64_t ReadU64(SimCamera& c, uint64_t a)
{
    uint64_t v = 0;
    EXPECT_TRUE(c.ReadMemory(a, &v, 8)) << "read at 0x" << std::hex << a;
    return v;
}
inline double ReadF64(SimCamera& c, uint64_t a)
{
    double v = -1;
    EXPECT_TRUE(c.ReadMemory(a, &v, 8)) << "read at 0x" << std::hex << a;
    return v;
}
inline std::string ReadStr(SimCamera& c, uint64_t a)
{
    char b[orna::core::sim::reg::kStringLength + 1] = {};
    EXPECT_TRUE(c.ReadMemory(a, b, orna::core::sim::reg::kStringLength));
    return b;
}

// Keeps copies of the delivered buffers; can refuse buffers to simulate a host without free buffers.
class CollectingSink : public orna::core::sim::FrameSink
{
public:
    struct Frame
    {
        orna::core::sim::FrameHeader header;
        std::vector<uint8_t> data;
    };
    std::atomic<bool> refuse{false};

    uint8_t* AcquireBuffer(size_t size, void** token) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (refuse)
        {
            return nullptr;
        }
        auto* f = new Frame();
        f->data.resize(size);
        *token = f;
        return f->data.data();
    }
    void CommitBuffer(void* token, const orna::core::sim::FrameHeader& header) override
    {
        auto* f = static_cast<Frame*>(token);
        f->header = header;
        std::lock_guard<std::mutex> lock(mutex_);
        frames_.push_back(std::move(*f));
        delete f;
        cv_.notify_all();
    }
    bool WaitFor(size_t count, std::chrono::milliseconds timeout = std::chrono::milliseconds(5000))
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, timeout, [&] { return frames_.size() >= count; });
    }
    size_t Count()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return frames_.size();
    }
    std::vector<Frame> Frames()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return frames_;
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::vector<Frame> frames_;
};

inline orna::core::sim::SimCameraConfig Config(const std::string& model, const std::string& serial)
{
    orna::core::sim::SimCameraConfig c;
    orna::core::sim::SimCameraConfig::ForModel(model, serial, &c);
    return c;
}

} // namespace simtest
