// The particle filter: one UpdateState of a cloud of 1 000 and 10 000
// particles, with resampling on every step (threshold above 1) and with
// none (threshold 0).  Each filter runs ten steps from a fresh cloud and is
// then rebuilt outside the timing, since the history a filter keeps, and
// with it the cost of the collection's mark step, grows with its age.
#include <benchmark/benchmark.h>

#include <memory>

#include <TMath.h>
#include <TRandom.h>

#include <IParticleFilter.hxx>

using ORVEX::IParticleFilter;
using ORVEX::IParticleState;

namespace {
    // A random walker weighed against a reading at 0.
    class Walker : public IParticleState {
    public:
        Walker(double position, IParticleState* previous)
            : IParticleState(previous), fPosition(position) {
            SetProbability(TMath::Gaus(0.0, position, 2.0));
        }
        IParticleState* PropagateState() override {
            return new Walker(fPosition + gRandom->Gaus(0.0, 1.0), this);
        }

    private:
        double fPosition;
    };

    std::unique_ptr<IParticleFilter> MakeFilter(int particles, double threshold) {
        std::unique_ptr<IParticleFilter> filter(new IParticleFilter);
        filter->SetResamplingThreshold(threshold);
        for (int i = 0; i < particles; ++i) {
            filter->AddState(new Walker(gRandom->Uniform(-3.0, 3.0), nullptr), 1.0);
        }
        return filter;
    }

    void UpdateSteps(benchmark::State& state, double threshold) {
        gRandom->SetSeed(4357);
        const int particles = state.range(0), steps = 10;
        std::unique_ptr<IParticleFilter> filter = MakeFilter(particles, threshold);
        int age = 0;
        for (auto _ : state) {
            if (age == steps) {
                state.PauseTiming();
                filter = MakeFilter(particles, threshold);
                age = 0;
                state.ResumeTiming();
            }
            filter->UpdateState();
            ++age;
        }
        state.SetItemsProcessed(state.iterations() * particles);
    }

    void BM_UpdateStateResampling(benchmark::State& state) {
        UpdateSteps(state, 1.5);
    }
    BENCHMARK(BM_UpdateStateResampling)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

    void BM_UpdateStateNoResampling(benchmark::State& state) {
        UpdateSteps(state, 0.0);
    }
    BENCHMARK(BM_UpdateStateNoResampling)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
}
