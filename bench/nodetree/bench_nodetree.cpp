// Building the cached node tree and the full read of all values through NodeMapAccess, against the bare
// orna::core walk over the same generated map of 5,000 features. Each baseline asks the library what the tree
// asks it: for the build the identity, texts, number formats, access, selector structure and one changed
// callback per feature; for the full read the access, then range, value and entries of every readable node.
#include "tests/nodetree/nodetree_fixtures.h"

#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"
#include "orna/core/library.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

using namespace orna::core;

namespace {

constexpr int kFeatures = 5000;

std::shared_ptr<NodeMap> SharedMap()
{
    static std::shared_ptr<NodeMap> map =
        detail::CreateLocalNodeMap(nodetree_test::GeneratedBank(kFeatures), nodetree_test::GeneratedXml(kFeatures));
    return map;
}

// What the tree asks the library for each node while it builds: identity and texts, the number formats, access,
// the register length, the selector structure that places a node (selected nodes of every feature, selecting
// nodes of every category member) and one changed callback per feature. Handles go to handles, so that the
// unregistration, like the tree's deletion, stays outside the timed part.
size_t WalkIdentity(const std::shared_ptr<nodes::Node>& node, std::vector<std::shared_ptr<nodes::Node>>& registered,
                    std::vector<nodes::CallbackHandle>& handles)
{
    size_t sum = node->GetName().size() + node->GetDisplayName().size() + node->GetNamespace().size() +
                 node->GetToolTip().size() + static_cast<size_t>(node->GetVisibility()) +
                 static_cast<size_t>(node->GetAccessStatus());
    switch (node->GetType())
    {
    case nodes::NodeType::Category:
        for (const auto& sub : nodes::NodeCast<nodes::CategoryNode>(node)->GetSubNodes())
        {
            if (sub->GetType() != nodes::NodeType::Category)
                sum += sub->GetNumSelectingNodes();
            sum += WalkIdentity(sub, registered, handles);
        }
        return sum;
    case nodes::NodeType::Integer: {
        auto n = nodes::NodeCast<nodes::IntegerNode>(node);
        sum += n->GetUnit().size() + static_cast<size_t>(n->GetRepresentation());
        break;
    }
    case nodes::NodeType::Float: {
        auto n = nodes::NodeCast<nodes::FloatNode>(node);
        sum += n->GetUnit().size() + static_cast<size_t>(n->GetPrecision());
        break;
    }
    case nodes::NodeType::Register:
        sum += static_cast<size_t>(nodes::NodeCast<nodes::RegisterNode>(node)->GetLength());
        break;
    default:
        break;
    }
    sum += node->GetDescription().size() + node->GetNumSelectedNodes();
    handles.push_back(node->RegisterChangedCallback([](const std::shared_ptr<nodes::Node>&) {}));
    registered.push_back(node);
    return sum;
}

double WalkValues(const std::shared_ptr<nodes::Node>& node)
{
    double sum = static_cast<double>(node->GetAccessStatus());
    switch (node->GetType())
    {
    case nodes::NodeType::Category:
        for (const auto& sub : nodes::NodeCast<nodes::CategoryNode>(node)->GetSubNodes())
            sum += WalkValues(sub);
        break;
    case nodes::NodeType::Integer: {
        auto n = nodes::NodeCast<nodes::IntegerNode>(node);
        sum += static_cast<double>(n->GetMaximum() + n->GetIncrement() + n->GetMinimum() + n->GetValue());
        break;
    }
    case nodes::NodeType::Float: {
        auto n = nodes::NodeCast<nodes::FloatNode>(node);
        sum += n->GetMaximum() + (n->GetHasConstantIncrement() ? n->GetIncrement() : 0.0) + n->GetMinimum() +
               n->GetValue();
        break;
    }
    case nodes::NodeType::Boolean:
        sum += nodes::NodeCast<nodes::BooleanNode>(node)->GetValue() ? 1 : 0;
        break;
    case nodes::NodeType::String:
        sum += static_cast<double>(nodes::NodeCast<nodes::StringNode>(node)->GetValue().size());
        break;
    case nodes::NodeType::Enumeration: {
        auto n = nodes::NodeCast<nodes::EnumerationNode>(node);
        sum += static_cast<double>(n->GetCurrentEntry()->GetSymbolicValue().size());
        for (const auto& entry : n->GetEntries())
            sum += static_cast<double>(entry->GetAccessStatus()) + static_cast<double>(entry->GetVisibility()) +
                   static_cast<double>(entry->GetSymbolicValue().size() + entry->GetDescription().size());
        break;
    }
    default:
        break;
    }
    return sum;
}

void BM_BuildBaseline(benchmark::State& state)
{
    auto map = SharedMap();
    std::vector<std::shared_ptr<nodes::Node>> registered;
    std::vector<nodes::CallbackHandle> handles;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(WalkIdentity(map->FindNode("Root"), registered, handles));
        state.PauseTiming();
        for (size_t i = 0; i < handles.size(); ++i)
            registered[i]->UnregisterChangedCallback(handles[i]);
        registered.clear();
        handles.clear();
        state.ResumeTiming();
    }
}

void BM_BuildOurs(benchmark::State& state)
{
    auto map = SharedMap();
    NodeMapAccess access;
    for (auto _ : state)
    {
        state.PauseTiming();
        access.SetNodeMap(nullptr);
        QCoreApplication::processEvents();
        state.ResumeTiming();
        access.SetNodeMap(map);
        benchmark::DoNotOptimize(access.GetRoot());
    }
    state.counters["items"] = access.GetItemCount();
}

void BM_ReadAllBaseline(benchmark::State& state)
{
    auto map = SharedMap();
    for (auto _ : state)
        benchmark::DoNotOptimize(WalkValues(map->FindNode("Root")));
}

void BM_ReadAllOurs(benchmark::State& state)
{
    auto map = SharedMap();
    NodeMapAccess access;
    access.SetNodeMap(map);
    for (auto _ : state)
    {
        access.OnUpdateRequested();
        state.PauseTiming();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
}

// The machine is shared: each benchmark runs in several repetitions, and the fastest one counts (the one least
// disturbed by other load), in CPU time of the benchmark thread, for ours and for the baseline alike.
BENCHMARK(BM_BuildBaseline)->Unit(benchmark::kMillisecond)->MinTime(0.3)->Repetitions(5);
BENCHMARK(BM_BuildOurs)->Unit(benchmark::kMillisecond)->MinTime(0.3)->Repetitions(5);
BENCHMARK(BM_ReadAllBaseline)->Unit(benchmark::kMillisecond)->MinTime(0.3)->Repetitions(5);
BENCHMARK(BM_ReadAllOurs)->Unit(benchmark::kMillisecond)->MinTime(0.3)->Repetitions(5);

// Keeps the fastest time per iteration of each benchmark's repetitions and prints nothing, so the binary prints
// only the BENCH lines.
class CollectingReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const auto& run : runs)
        {
            if (run.error_occurred || run.run_type != Run::RT_Iteration)
                continue;
            const double time = run.GetAdjustedCPUTime();
            auto it = milliseconds.find(run.run_name.function_name);
            if (it == milliseconds.end() || time < it->second)
                milliseconds[run.run_name.function_name] = time;
        }
    }
    std::map<std::string, double> milliseconds;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    orna::Library::Initialize();
    benchmark::Initialize(&argc, argv);
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    auto line = [&](const char* name, const std::string& ours, const std::string& baseline) {
        const double o = reporter.milliseconds[ours];
        const double b = reporter.milliseconds[baseline];
        std::printf("BENCH %s ours=%.3f baseline=%.3f ratio=%.3f unit=ms\n", name, o, b, o > 0 ? b / o : 0.0);
    };
    line("nodetree_build_5000", "BM_BuildOurs", "BM_BuildBaseline");
    line("nodetree_read_all_5000", "BM_ReadAllOurs", "BM_ReadAllBaseline");
    orna::Library::Close();
    return 0;
}
