// The density clusterer (MinPts 3, epsilon 12 mm) on the event of tracks,
// showers and noise at 1 000, 10 000 and 100 000 hits, beside the cost
// floor: box-connected components of the same event with a hash grid.
#include <benchmark/benchmark.h>

#include <IDensityCluster.hxx>

#include "ClusterBenchEvent.hxx"

using namespace ORVEX;

namespace {
    void DensityCluster(benchmark::State& state) {
        IHitSelection event = ovBench::MakeClusterBenchEvent(state.range(0));
        unsigned int clusters = 0;
        for (auto _ : state) {
            // The clusterer keeps its results, so each pass needs a new one.
            IDensityCluster clusterer(3, ovBench::kClusterGap);
            clusterer.Cluster(event);
            clusters = clusterer.GetClusterCount();
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

BENCHMARK(DensityCluster)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);
BENCHMARK(HashGridFloor)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);
