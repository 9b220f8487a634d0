// Frame generation cost of the simulated camera: one 1920x1200 BayerRG8 frame (noise and moving element
// on the precomputed scene) against memcpy of a frame of the same size, both on one core.
// Prints: BENCH sim_generate_1920x1200_bayer8 ours=<frames/s> baseline=<frames/s> ratio=<ours/baseline> unit=fps

#include "orna/core/sim/simregisters.h"
#include "orna/core/sim/simscene.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace orna::core::sim;

SimImageSettings Settings()
{
    SimImageSettings s;
    s.pixelFormat = pfnc::BayerRG8;
    s.width = 1920;
    s.height = 1200;
    return s;
}

void BM_Generate(benchmark::State& state)
{
    SimFrameGenerator generator;
    if (!generator.Configure(Settings()))
    {
        state.SkipWithError("generator rejected the settings");
        return;
    }
    std::vector<uint8_t> frame(generator.ImageSize());
    uint64_t index = 0;
    for (auto _ : state)
    {
        generator.Generate(index++, frame.data());
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_Memcpy(benchmark::State& state)
{
    const size_t bytes = size_t(1920) * 1200;
    std::vector<uint8_t> src(bytes, 0x5A), dst(bytes);
    for (auto _ : state)
    {
        std::memcpy(dst.data(), src.data(), bytes);
        benchmark::DoNotOptimize(dst.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_Generate)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// Collects frames per second of each run instead of printing the library's table.
class Collector : public benchmark::BenchmarkReporter
{
public:
    std::map<std::string, double> fps;
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& r : runs)
        {
            if (r.iterations > 0 && r.real_accumulated_time > 0)
            {
                fps[r.benchmark_name()] = double(r.iterations) / r.real_accumulated_time;
            }
        }
    }
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    auto result = [&](const std::string& prefix) {
        for (const auto& [name, v] : collector.fps)
        {
            if (name.rfind(prefix, 0) == 0)
            {
                return v;
            }
        }
        return 0.0;
    };
    const double ours = result("BM_Generate"), baseline = result("BM_Memcpy");
    if (ours <= 0 || baseline <= 0)
    {
        std::fprintf(stderr, "bench_sim: missing results (%zu runs)\n", collector.fps.size());
        for (const auto& [name, v] : collector.fps)
        {
            std::fprintf(stderr, "  %s = %f\n", name.c_str(), v);
        }
        return 1;
    }
    std::printf("BENCH sim_generate_1920x1200_bayer8 ours=%.1f baseline=%.1f ratio=%.3f unit=fps\n", ours, baseline,
                ours / baseline);
    return 0;
}
