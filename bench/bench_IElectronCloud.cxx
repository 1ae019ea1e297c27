// The cost of drawing single electrons from a drifted cloud: an arrival
// time, and a position with or without the calibration target's start spot.
// Both are a few normal numbers from gRandom and some arithmetic; the
// generator's cost is timed by itself for comparison.
#include <benchmark/benchmark.h>

#include <TRandom.h>
#include <TVector3.h>

#include <IElectronCloud.hxx>

using namespace ORVEX;

namespace {
    /// A cloud drifted 770 mm at 78 mm per microsecond.
    IElectronCloud MakeDriftedCloud() {
        IElectronCloud cloud(1000, TVector3(-100.0, 0.0, 0.0), TVector3(), 0.0, -1);
        cloud.SetPosition(TVector3(-870.0, 1.0, 2.0));
        cloud.SetTime(9.87);
        cloud.SetMeanDriftXVelocity(-78.0);
        cloud.SetIsDrifted(true);
        return cloud;
    }

    void BM_Gaus(benchmark::State& state) {
        gRandom->SetSeed(1);
        for (auto _ : state) benchmark::DoNotOptimize(gRandom->Gaus(0, 1.0));
    }
    BENCHMARK(BM_Gaus);

    void BM_GetRandomArrivalTime(benchmark::State& state) {
        gRandom->SetSeed(1);
        IElectronCloud cloud = MakeDriftedCloud();
        for (auto _ : state) benchmark::DoNotOptimize(cloud.GetRandomArrivalTime(0.085));
    }
    BENCHMARK(BM_GetRandomArrivalTime);

    /// range(0): 1 for a calibration target.
    void BM_GetAnElectronsPosition(benchmark::State& state) {
        gRandom->SetSeed(1);
        IElectronCloud cloud = MakeDriftedCloud();
        bool calibtarget = state.range(0) == 1;
        for (auto _ : state) {
            benchmark::DoNotOptimize(cloud.GetAnElectronsPosition(0.075, 0.085, calibtarget));
        }
    }
    BENCHMARK(BM_GetAnElectronsPosition)->Arg(0)->Arg(1);
}
