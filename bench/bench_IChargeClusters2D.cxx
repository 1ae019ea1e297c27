// The plane-by-plane charge clusterer on the event of tracks, showers and
// noise at 1 000, 10 000 and 100 000 hits, with planes across Z, in-plane
// gaps and band all 12 mm, beside the cost floor: box-connected components
// of the same event with a hash grid.
#include <benchmark/benchmark.h>

#include <memory>

#include <IChargeClusters2D.hxx>

#include "ClusterBenchEvent.hxx"

using namespace ORVEX;

namespace {
    void ChargeClusters2D(benchmark::State& state) {
        IHitSelection event = ovBench::MakeClusterBenchEvent(state.range(0));
        const double gap = ovBench::kClusterGap;
        IChargeClusters2D clusterer(gap, gap, gap, TVector3(0.0, 0.0, 1.0));
        std::size_t clusters = 0;
        for (auto _ : state) {
            std::unique_ptr<IHitSelection> result(clusterer(event));
            clusters = result->size();
            benchmark::DoNotOptimize(clusters);
        }
        state.counters["clusters"] = clusters;
        state.SetComplexityN(state.range(0));
    }

    void HashGridFloor(benchmark::State& state) {
        IHitSelection event = ovBench::MakeClusterBenchEvent(state.range(0));
        std::size_t components = 0;
        for (auto _ : state) {
            components = ovBench::CountBoxComponents(event, ovBench::kClusterGap);
            benchmark::DoNotOptimize(components);
        }
        state.counters["components"] = components;
        state.SetComplexityN(state.range(0));
    }
}

BENCHMARK(ChargeClusters2D)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);
BENCHMARK(HashGridFloor)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);
