// node_read_all: time to read every readable value node of Aravis' in-process Fake camera's remote map through
// orna::core, against the same walk through Aravis' arv_device_get_*_feature_value. Ratio: baseline / ours
// (higher is better).
#include "orna/core/benchsupport/aravisbaseline.h"
#include "orna/core/datastream.h"
#include "orna/core/device.h"
#include "orna/core/library.h"
#include "orna/core/producerlibrary.h"
#include "orna/core/system.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

using namespace orna::core;
using namespace orna::core::nodes;

int main()
{
    ::setenv("ORNA_TRANSPORTS", "fake", 1);
    orna::Library::Initialize();
    constexpr int kRounds = 200;
    constexpr int kRepeats = 5;
    try
    {
        auto producer = ProducerLibrary::Construct("aravis:Fake");
        auto system = producer->GetSystem()->OpenSystem();
        system->UpdateInterfaces(100);
        auto iface = system->GetInterfaces().at(0)->OpenInterface();
        iface->UpdateDevices(500);
        auto device = iface->GetDevices().at(0)->OpenDevice(DeviceAccessType::Control);
        auto map = device->GetRemoteDevice()->GetNodeMap();

        // The walk: every node with a value that reads without error, in document order.
        std::vector<std::shared_ptr<Node>> nodes;
        std::vector<std::pair<std::string, NodeType>> features;
        for (size_t i = 0; i < map->GetNumNodes(); ++i)
        {
            auto node = map->GetNode(i);
            const auto type = node->GetType();
            if (type != NodeType::Integer && type != NodeType::Float && type != NodeType::Boolean &&
                type != NodeType::String && type != NodeType::Enumeration)
                continue;
            try
            {
                node->GetValueAsString();
            }
            catch (const std::exception&)
            {
                continue;
            }
            nodes.push_back(node);
            features.emplace_back(node->GetName(), type);
        }

        auto readAll = [&nodes] {
            for (const auto& node : nodes)
            {
                switch (node->GetType())
                {
                case NodeType::Integer:
                    std::static_pointer_cast<IntegerNode>(node)->GetValue();
                    break;
                case NodeType::Float:
                    std::static_pointer_cast<FloatNode>(node)->GetValue();
                    break;
                case NodeType::Boolean:
                    std::static_pointer_cast<BooleanNode>(node)->GetValue();
                    break;
                case NodeType::String:
                    std::static_pointer_cast<StringNode>(node)->GetValue();
                    break;
                default:
                    std::static_pointer_cast<EnumerationNode>(node)->GetCurrentEntry();
                    break;
                }
            }
        };
        readAll(); // warm-up
        // The machine is shared: alternate the two walks and keep each side's best run.
        double ours = 1e30;
        double baseline = 1e30;
        for (int repeat = 0; repeat < kRepeats; ++repeat)
        {
            const auto start = std::chrono::steady_clock::now();
            for (int round = 0; round < kRounds; ++round)
                readAll();
            ours = std::min(ours, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
            const double aravis = benchsupport::AravisFeatureWalkSeconds(features, kRounds);
            if (aravis <= 0)
            {
                std::fprintf(stderr, "node_read_all: the Aravis baseline could not open the Fake device\n");
                return 1;
            }
            baseline = std::min(baseline, aravis);
        }
        const double oursUs = ours / kRounds * 1e6;
        const double baselineUs = baseline / kRounds * 1e6;
        std::fprintf(stderr, "node_read_all: %zu nodes per walk, best of %d runs of %d walks\n", nodes.size(), kRepeats,
                     kRounds);
        std::printf("BENCH node_read_all ours=%.1f baseline=%.1f ratio=%.3f unit=us_per_walk\n", oursUs, baselineUs,
                    baselineUs / oursUs);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "node_read_all failed: %s\n", e.what());
        return 1;
    }
    return 0;
}
