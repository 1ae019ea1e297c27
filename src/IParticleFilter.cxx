#include "IParticleFilter.hxx"

#include <algorithm>
#include <iostream>

#include <TRandom.h>

#include <IORVEXLog.hxx>

ORVEX::IParticleState::IParticleState()
    : fPrevious(nullptr), fReachable(false), fProbability(-1.0) {}

ORVEX::IParticleState::IParticleState(IParticleState* previous)
    : fPrevious(previous), fReachable(false), fProbability(-1.0) {}

ORVEX::IParticleState::~IParticleState() {}

int ORVEX::IParticleState::GetStateCount() const {
    int count = 0;
    for (const IParticleState* state = fPrevious; state; state = state->GetPrevious()) {
        ++count;
    }
    return count;
}

namespace {
    typedef ORVEX::IParticleFilter::ActiveState ActiveState;

    // Heaviest first.
    bool WeightComparator(const ActiveState& a, const ActiveState& b) {
        return a.fWeight > b.fWeight;
    }

    // The value first and the element second, as std::upper_bound calls
    // it: true for the elements whose cumulative weight exceeds the value.
    bool ValueComparator(double v, const ActiveState& a) {
        return a.fWeight > v;
    }
}

ORVEX::IParticleFilter::IParticleFilter() : fFilterOpen(true), fResamplingThreshold(0.5) {}

// No state deletes its predecessor, so each owned state goes exactly once.
ORVEX::IParticleFilter::~IParticleFilter() {
    fActive.clear();
    for (IParticleState* state : fOwned) delete state;
}

// The state is taken before it is checked: a rejected state stays in the
// cloud and stays owned, so nothing leaks when the exception is caught.
void ORVEX::IParticleFilter::AddState(IParticleState* state, double weight) {
    // A null particle would be read by every later step of the filter.
    if (!state) {
        ORVEXError("ORVEX::IParticleFilter::AddState: state is null (weight " << weight << ")");
        throw ENullParticleState();
    }
    fFilterOpen = true;
    fOwned.insert(state);
    fActive.push_back(ActiveState{weight, state});
    if (state->GetProbability() <= 0.0) {
        ORVEXError("ORVEX::IParticleFilter::AddState:"
                   << " Uninitialized probability");
        throw EBadProbability();
    }
}

void ORVEX::IParticleFilter::RenormalizeWeights() {
    fFilterOpen = false;
    if (fActive.empty()) return;
    double totalWeight = 0.0;
    for (const ActiveState& particle : fActive) totalWeight += particle.fWeight;
    for (ActiveState& particle : fActive) particle.fWeight /= totalWeight;
}

double ORVEX::IParticleFilter::ComputeEffectiveParticles() {
    if (fActive.empty()) return 0.0;
    double sumOfSquares = 0.0;
    for (const ActiveState& particle : fActive) {
        sumOfSquares += particle.fWeight * particle.fWeight;
    }
    if (sumOfSquares <= 1e-09) return 0.0;
    return 1.0 / sumOfSquares;
}

// A step may carry probability zero (the particle dies out by weight), but
// a negative one was never set.  That report goes to std::cout, unlike the
// other two of this class.
void ORVEX::IParticleFilter::UpdateState() {
    if (fFilterOpen) RenormalizeWeights();
    for (ActiveState& particle : fActive) {
        IParticleState* newState = particle.fState->PropagateState();
        if (!newState) {
            ORVEXError("ORVEX::IParticleFilter::UpdateState: PropagateState of state "
                       << particle.fState << " gave null");
            throw ENullParticleState();
        }
        fOwned.insert(newState);
        double newWeight = newState->GetProbability();
        if (newWeight < 0.0) {
            std::cout << "ORVEX::IParticleFilter::UpdateState:"
                      << " Uninitialized probability" << std::endl;
            throw EBadProbability();
        }
        particle.fWeight = newWeight * particle.fWeight;
        particle.fState = newState;
    }
    RenormalizeWeights();
    double effective = ComputeEffectiveParticles();
    if (fActive.size() * fResamplingThreshold > effective) {
        ResampleParticles();
        GarbageCollection();
    }
}

// Multinomial resampling: one uniform draw per particle, looked up in the
// cumulative weights, heaviest first, by binary search.  The weights are
// trusted to sum to one; a draw beyond the last cumulative weight (which
// rounding can leave a little short of 1.0) is an error, not a reason to
// pick the last particle.
void ORVEX::IParticleFilter::ResampleParticles() {
    Cloud summed = fActive;
    // Stable, so that particles of equal weight keep the cloud's order and
    // a seed gives the same picks on every platform.
    std::stable_sort(summed.begin(), summed.end(), WeightComparator);
    double weightSum = 0.0;
    for (ActiveState& entry : summed) {
        weightSum += entry.fWeight;
        entry.fWeight = weightSum;
    }
    for (ActiveState& particle : fActive) {
        double value = gRandom->Uniform(1.0);
        Cloud::const_iterator found =
            std::upper_bound(summed.begin(), summed.end(), value, ValueComparator);
        if (found == summed.end()) {
            ORVEXError("Found value out of range ");
            throw EBadRandom();
        }
        particle.fState = found->fState;
        particle.fWeight = 1.0;
    }
    RenormalizeWeights();
}

// Mark every state on the history of an active particle, then delete the
// owned states that were not marked.  Predecessors the filter doesn't own
// are marked but never deleted.
void ORVEX::IParticleFilter::GarbageCollection() {
    for (IParticleState* state : fOwned) state->SetReachable(false);
    for (const ActiveState& particle : fActive) {
        for (IParticleState* state = particle.fState; state; state = state->GetPrevious()) {
            state->SetReachable(true);
        }
    }
    for (std::set<IParticleState*>::iterator owned = fOwned.begin(); owned != fOwned.end();) {
        IParticleState* state = *owned;
        ++owned;
        if (state->GetReachable()) continue;
        fOwned.erase(state);
        delete state;
    }
}
