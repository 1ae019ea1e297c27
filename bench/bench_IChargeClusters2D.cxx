// The plane-by-plane charge clusterer on events of growing size at a fixed
// hit density: the planes grow in number with the hits, each holds about
// twenty hits, a tenth of them large deposits.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

#include <TRandom3.h>

#include <IChargeClusters2D.hxx>

using namespace ORVEX;

namespace {
    IHitSelection MakeEvent(int hits) {
        TRandom3 random(12345);
        int planes = std::max(1, hits / 20);
        IHitSelection event;
        for (int i = 0; i < hits; ++i) {
            double charge = random.Exp(10.0) * (random.Rndm() < 0.1 ? 50.0 : 1.0);
            TVector3 position(random.Uniform(0.0, 12.0), random.Uniform(0.0, 12.0),
                              random.Integer(planes) + random.Uniform(-0.05, 0.05));
            event.push_back(IHandle<IHit>(new ISingleHit(i, charge, position)));
        }
        return event;
    }

    void ChargeClusters2D(benchmark::State& state) {
        IHitSelection event = MakeEvent(static_cast<int>(state.range(0)));
        IChargeClusters2D clusterer(1.5, 1.5, 0.3, TVector3(0.0, 0.0, 1.0));
        std::size_t clusters = 0;
        for (auto _ : state) {
            std::unique_ptr<IHitSelection> result(clusterer(event));
            clusters = result->size();
            benchmark::DoNotOptimize(clusters);
        }
        state.counters["clusters"] = static_cast<double>(clusters);
        state.SetComplexityN(state.range(0));
    }
}

BENCHMARK(ChargeClusters2D)->Arg(100)->Arg(1000)->Arg(5000)
    ->Unit(benchmark::kMillisecond)->Complexity();
