// Particle filters over fuzzed clouds: initial weights and probabilities,
// then steps whose states draw their probabilities from the input too.
// Every state made is counted, so a state lost or deleted twice shows.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <set>

#include <TRandom.h>

#include <EovUtility.hxx>
#include <IParticleFilter.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

namespace {
    int gLiveStates = 0;
    fuzz::Input* gInput = nullptr;

    // Probabilities stay finite: a NaN weight reaching the resampler's sort
    // is a case of its own.
    double Probability(fuzz::Input& in) {
        switch (in.Byte() % 8) {
        case 0:
            return 0.0;
        case 1:
            return -1.0;
        case 2:
            return in.Finite(4);
        default:
            return in.Int(1, 16) / 16.0;
        }
    }

    class State : public IParticleState {
    public:
        explicit State(IParticleState* previous, double probability) : IParticleState(previous) {
            SetProbability(probability);
            ++gLiveStates;
        }
        ~State() override { --gLiveStates; }
        IParticleState* PropagateState() override { return new State(this, Probability(*gInput)); }
    };
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    gInput = &in;
    gRandom->SetSeed(in.Int(1, 60000));
    {
        IParticleFilter filter;
        filter.SetResamplingThreshold(in.Int(0, 12) / 8.0);
        std::size_t operations = 0;
        while (!in.Empty() && ++operations < 60) {
            try {
                if (in.Byte() < 96) {
                    filter.AddState(new State(nullptr, Probability(in)), std::fabs(in.Finite(3)));
                } else {
                    filter.UpdateState();
                    double total = 0.0;
                    for (const auto& particle : filter.GetCloud()) total += particle.fWeight;
                    if (std::isfinite(total) && !filter.GetCloud().empty())
                        FUZZ_CHECK(std::fabs(total - 1.0) < 1e-6 * filter.GetCloud().size());
                }
            } catch (const EovUtility&) {
            }
            std::set<const IParticleState*> distinct;
            for (const auto& particle : filter.GetCloud()) {
                FUZZ_CHECK(particle.fState != nullptr);
                distinct.insert(particle.fState);
            }
            FUZZ_CHECK(gLiveStates >= static_cast<int>(distinct.size()));
        }
    }
    // The filter owned every state, and deleted each one once.
    FUZZ_CHECK(gLiveStates == 0);
    return 0;
}
