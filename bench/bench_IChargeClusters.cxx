// The cost of clustering by charge slope as the number of hits grows, for
// two kinds of event in a fixed volume.
//
// Showers: ten dense deposits whose hits fall off in charge from the core.
// The number of clusters stays about ten, whatever the number of hits.
//
// Tracks: four tracks sampled ever more densely, plus a tenth of the hits
// as noise.  Most clusters are small, so their number grows with the hits,
// and every new cluster walks all the old members over the free hits again:
// the cost grows about as the cube of the hits, so this one stops at 1000.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include <TRandom3.h>

#include <IChargeClusters.hxx>

using namespace ORVEX;

namespace {
    IHandle<IHit> MakeHit(int id, double charge, const TVector3& position) {
        return IHandle<IHit>(new ISingleHit(id, charge, position));
    }

    // The cores stand on a grid 100 mm apart, so that showers don't touch
    // and the geometry is the same for every number of hits.
    IHitSelection MakeShowers(int hits) {
        TRandom3 random(4242);
        IHitSelection event("showers", "Benchmark event");
        for (int i = 0; i < hits; ++i) {
            int shower = i % 10;
            TVector3 core(100.0 * (shower % 5), 100.0 * (shower / 5), 200.0);
            TVector3 offset(random.Gaus(0, 3.0), random.Gaus(0, 3.0), random.Gaus(0, 3.0));
            double charge = 100.0 * std::exp(-offset.Mag2() / 18.0) + 0.5;
            event.push_back(MakeHit(i, charge, core + offset));
        }
        return event;
    }

    IHitSelection MakeTracks(int hits) {
        TRandom3 random(4242);
        IHitSelection event("tracks", "Benchmark event");
        const int tracks = 4;
        const int noise = hits / 10;
        const int perTrack = (hits - noise) / tracks;
        for (int t = 0; t < tracks; ++t) {
            TVector3 start(random.Uniform(-100, 100), random.Uniform(-100, 100), 0.0);
            TVector3 end(random.Uniform(-100, 100), random.Uniform(-100, 100), 400.0);
            for (int i = 0; i < perTrack; ++i) {
                TVector3 position = start + (end - start) * (double(i) / perTrack);
                position += TVector3(random.Gaus(0, 1.0), random.Gaus(0, 1.0), 0.0);
                double charge = std::min(random.Landau(20.0, 3.0), 200.0);
                event.push_back(MakeHit(t * 10000 + i, charge, position));
            }
        }
        while (static_cast<int>(event.size()) < hits) {
            TVector3 position(random.Uniform(-200, 200), random.Uniform(-200, 200),
                              random.Uniform(0, 400));
            event.push_back(MakeHit(-1, random.Uniform(1, 6), position));
        }
        return event;
    }

    void Cluster(benchmark::State& state, const IHitSelection& event) {
        IChargeClusters clusterer(10.0, 10.0, 10.0);
        std::size_t clusters = 0;
        for (auto _ : state) {
            std::unique_ptr<IHitSelection> result(clusterer(event));
            clusters = result->size();
            benchmark::DoNotOptimize(clusters);
        }
        state.counters["clusters"] = clusters;
        state.SetComplexityN(state.range(0));
    }

    void Showers(benchmark::State& state) { Cluster(state, MakeShowers(state.range(0))); }
    void Tracks(benchmark::State& state) { Cluster(state, MakeTracks(state.range(0))); }
}

BENCHMARK(Showers)->Arg(100)->Arg(1000)->Arg(5000)->Unit(benchmark::kMillisecond)
    ->Complexity();
BENCHMARK(Tracks)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond)
    ->Complexity();
