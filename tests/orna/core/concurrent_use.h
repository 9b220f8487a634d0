// Four threads on one node map: two write a selector and its selected value under the map lock, two read
// every node. Each writer checks that what it reads back belongs to the selector value it set.
#pragma once

#include "orna/core/nodemap.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace orna::core::test {

using namespace orna::core::nodes;

inline void RunConcurrentUse(const std::shared_ptr<NodeMap>& map, std::chrono::milliseconds duration)
{
    std::atomic<bool> stop{false};
    std::atomic<int> mismatches{0};
    std::atomic<int> failures{0};
    auto writer = [&](int which) {
        auto selector = map->FindNode<EnumerationNode>("GainSelector");
        auto gain = map->FindNode<IntegerNode>("Gain");
        int n = 0;
        while (!stop)
        {
            try
            {
                std::lock_guard<NodeMap> lock(*map);
                const int64_t entry = (n++ + which) % 3;
                selector->SetCurrentEntryByValue(entry);
                gain->SetValue(entry * 100 + which);
                if (gain->GetValue() != entry * 100 + which || selector->GetCurrentEntry()->GetValue() != entry)
                    ++mismatches;
            }
            catch (const std::exception&)
            {
                ++failures;
            }
        }
    };
    auto reader = [&]() {
        while (!stop)
        {
            try
            {
                for (size_t i = 0; i < map->GetNumNodes(); ++i)
                {
                    auto node = map->GetNode(i);
                    const auto type = node->GetType();
                    if (node->GetIsReadable() && type != NodeType::Category && type != NodeType::Command &&
                        type != NodeType::Port)
                        node->GetValueAsString();
                }
            }
            catch (const std::exception& e)
            {
                if (failures++ == 0)
                    ADD_FAILURE() << e.what();
            }
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back(writer, 1);
    threads.emplace_back(writer, 2);
    threads.emplace_back(reader);
    threads.emplace_back(reader);
    std::this_thread::sleep_for(duration);
    stop = true;
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(failures.load(), 0);
}

} // namespace orna::core::test
