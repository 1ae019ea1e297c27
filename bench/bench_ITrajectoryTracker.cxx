// The trajectory tracker: the cost of one helix step, and of following a
// particle over a path of given length in a field (1 mm helix steps) and in
// none (50 mm straight steps).  Items are millimetres of path.
#include <benchmark/benchmark.h>

#include <vector>

#include <TVector3.h>

#include <IFieldManager.hxx>

#include <ITrajectoryTracker.hxx>

using ORVEX::IFieldManager;
using ORVEX::ITrajectoryTracker;

namespace {
    /// A field in tesla, as the host gives it (0.001 is one tesla).
    void SetTesla(const TVector3& tesla) {
        IFieldManager::SetUniformField(0.001 * tesla);
    }

    void BM_StepHelix(benchmark::State& state) {
        SetTesla(TVector3(0.1, 0.0, 1.0));
        ITrajectoryTracker tracker;
        TVector3 position(0, 0, 0), momentum(600, 300, 200);
        for (auto _ : state) {
            tracker.StepHelix(position, momentum, -1.0);
            benchmark::DoNotOptimize(position);
        }
        state.SetItemsProcessed(state.iterations());
    }
    BENCHMARK(BM_StepHelix);

    /// Follows a 1 GeV/c particle over `length` mm to where it really goes.
    void TrackOver(benchmark::State& state, double tesla, double length) {
        SetTesla(TVector3(0, 0.6 * tesla, 0.8 * tesla));
        ITrajectoryTracker tracker;
        const TVector3 start(0, 0, 0), momentum(800, 0, 600);
        TVector3 end = start;
        if (tesla > 0) {
            TVector3 p = momentum;
            for (int mm = 0; mm < length; ++mm) tracker.StepHelix(end, p, 1.0);
        } else {
            end = start + length * momentum.Unit();
        }
        std::vector<TVector3> points(1000);
        for (auto _ : state) {
            int n = tracker.TrackParticle(start, end, momentum, 1.0, points, 0);
            benchmark::DoNotOptimize(n);
        }
        state.SetItemsProcessed(state.iterations() * static_cast<long>(length));
        SetTesla(TVector3(0, 0, 0));
    }

    void BM_TrackParticleInField(benchmark::State& state) {
        TrackOver(state, 0.2, state.range(0));
    }
    BENCHMARK(BM_TrackParticleInField)->Arg(1000)->Arg(250)->Arg(500)->Arg(2000)->Arg(4000);

    void BM_TrackParticleNoField(benchmark::State& state) {
        TrackOver(state, 0.0, state.range(0));
    }
    BENCHMARK(BM_TrackParticleNoField)->Arg(1000)->Arg(250)->Arg(500)->Arg(2000)->Arg(4000);
}
