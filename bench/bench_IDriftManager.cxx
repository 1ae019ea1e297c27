// The cost of drifting electrons: one Runge-Kutta step, one adaptive drift
// over a typical length, and the field lookups inside them.
//
// Lengths in mm, times in microseconds, as in a drift chamber of 870 mm
// with its cathode in the middle.  Two fields: a uniform one (the cheapest
// lookup there is) and a field map that computes a transverse part from the
// position.  The lookups are also timed by themselves, so that the share of
// a step or a drift spent in them follows from the counters:
//   share = lookups per iteration x time per lookup / time per iteration.
#include <benchmark/benchmark.h>

#include <cmath>

#include <TLorentzVector.h>
#include <TVector3.h>

#include <IFieldManager.hxx>

#include <IDriftManager.hxx>
#include <IElectronCloud.hxx>

using namespace ORVEX;

namespace {
    const double kTesla = 0.001;

    TVector3 FringeField(const TLorentzVector& p) {
        double transverse = 0.03 * std::fabs(p.X()) / 870.0;
        return kTesla * TVector3(0.2, 0.01 * std::sin(p.Y() / 50.0), transverse);
    }

    /// range(0): 0 for the uniform field, 1 for the field map.
    void InstallField(const benchmark::State& state) {
        if (state.range(0) == 0) {
            IFieldManager::SetUniformField(TVector3(0.2 * kTesla, 0.0, 0.01 * kTesla));
        } else {
            IFieldManager::SetFieldMap(FringeField);
        }
        IFieldManager::ResetLookupCount();
    }

    IDriftManager MakeManager() {
        IDriftManager manager;
        manager.InitializeFromDB(true, 2.0, 0.01, 100000, 0.01, 0.5, 0.3, 0.3, 78.0);
        return manager;
    }

    void ReportLookups(benchmark::State& state) {
        state.counters["lookups"] = benchmark::Counter(double(IFieldManager::GetLookupCount()),
                                                       benchmark::Counter::kAvgIterations);
    }

    void BM_FieldLookup(benchmark::State& state) {
        InstallField(state);
        TLorentzVector x(-400.0, 10.0, 20.0, 1.0);
        for (auto _ : state) {
            benchmark::DoNotOptimize(IFieldManager::GetFieldValue(x));
            x.SetX(x.X() - 1e-3);
        }
        ReportLookups(state);
    }
    BENCHMARK(BM_FieldLookup)->Arg(0)->Arg(1);

    /// range(1): 0 computes the first slopes, 1 reuses them.
    void BM_Step(benchmark::State& state) {
        InstallField(state);
        IDriftManager manager = MakeManager();
        TLorentzVector x(-400.0, 10.0, 20.0, 1.0);
        manager.Step(x, -1, 0.5, false);  // fills the slopes for reuse
        IFieldManager::ResetLookupCount();
        bool reuse = state.range(1) == 1;
        for (auto _ : state) {
            benchmark::DoNotOptimize(manager.Step(x, -1, 0.5, reuse));
        }
        ReportLookups(state);
    }
    BENCHMARK(BM_Step)->Args({0, 0})->Args({0, 1})->Args({1, 0})->Args({1, 1});

    /// An electron cloud drifted 770 mm to the readout with step control.
    void BM_DriftUntilXLim(benchmark::State& state) {
        InstallField(state);
        IDriftManager manager = MakeManager();
        int passes = 0;
        for (auto _ : state) {
            IElectronCloud cloud(1000, TVector3(-100.0, 10.0, 20.0), TVector3(), 0.0, -1);
            int nbrSteps, nbrStepCalls, nbrVCalls;
            double hMin;
            manager.Drift(-870.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
            passes += nbrStepCalls / 3;
        }
        ReportLookups(state);
        state.counters["passes"] =
            benchmark::Counter(double(passes), benchmark::Counter::kAvgIterations);
    }
    BENCHMARK(BM_DriftUntilXLim)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
}
