// The density clusterer on events of growing size at a fixed hit density:
// the event grows in length along Z with the hits, which lie on short
// track segments and as noise between them.
#include <benchmark/benchmark.h>

#include <TRandom3.h>

#include <IDensityCluster.hxx>

using namespace ORVEX;

namespace {
    IHitSelection MakeEvent(int hits) {
        TRandom3 random(2026);
        double length = hits / 4.0;
        IHitSelection event;
        int onTracks = hits * 4 / 5;
        for (int i = 0; i < hits; ++i) {
            double z = random.Uniform(0.0, length);
            // Segments of length 10 along Z, each at its own height.
            double y = i < onTracks ? static_cast<int>(z / 10.0) % 7 + random.Gaus(0.0, 0.1)
                                    : random.Uniform(0.0, 7.0);
            event.push_back(IHandle<IHit>(new ISingleHit(i, 1.0, TVector3(0.0, y, z))));
        }
        return event;
    }

    void DensityCluster(benchmark::State& state) {
        IHitSelection event = MakeEvent(static_cast<int>(state.range(0)));
        unsigned int clusters = 0;
        for (auto _ : state) {
            // The clusterer keeps its results, so each pass needs a new one.
            IDensityCluster clusterer(3, 1.0);
            clusterer.Cluster(event);
            clusters = clusterer.GetClusterCount();
            benchmark::DoNotOptimize(clusters);
        }
        state.counters["clusters"] = clusters;
        state.SetComplexityN(state.range(0));
    }
}

BENCHMARK(DensityCluster)->Arg(100)->Arg(300)->Arg(1000)
    ->Unit(benchmark::kMillisecond)->Complexity();
