#ifndef ORVEX_IParticleFilter_hxx_seen
#define ORVEX_IParticleFilter_hxx_seen

#include <set>
#include <vector>

#include "EovUtility.hxx"

namespace ORVEX {
    class IParticleState;
    class IParticleFilter;

    /// Bad data met by the particle filter.
    ORVEX_EXCEPTION(EParticleFilter, EovUtility);
    /// A resampling draw fell beyond the last cumulative weight.
    ORVEX_EXCEPTION(EBadRandom, EParticleFilter);
    /// A state came with a probability that was never set.
    ORVEX_EXCEPTION(EBadProbability, EParticleFilter);
    /// A null state handed to the filter, or made by a state's step.
    ORVEX_EXCEPTION(ENullParticleState, EParticleFilter);
}

/// One state of a particle.  A program derives from it and supplies the
/// step to the next state with that step's probability.  States form a
/// tree through their predecessors; a state never deletes its predecessor,
/// since the filter that owns them all decides what lives.
class ORVEX::IParticleState {
public:
    /// A first state, with no predecessor and no probability yet (-1.0).
    IParticleState();
    /// A state that came from `previous` (not owned).
    explicit IParticleState(IParticleState* previous);
    virtual ~IParticleState();

    /// Make the next state, whose predecessor is this one, with its
    /// probability set.  The filter owns the result.
    virtual IParticleState* PropagateState() = 0;

    /// The state this one was propagated from, or null.
    IParticleState* GetPrevious() const { return fPrevious; }

    /// The probability multiplied into the particle's weight when this
    /// state is reached; -1.0 while it is not set.
    double GetProbability() const { return fProbability; }

    /// True when the state can be reached.
    bool GetReachable() const { return fReachable; }
    /// Marks the state as reachable or not.
    void SetReachable(bool reachable) { fReachable = reachable; }

    /// How many predecessors this state has: 0 for a first state.
    int GetStateCount() const;

protected:
    /// Sets the probability of the state.
    void SetProbability(double probability) { fProbability = probability; }

private:
    IParticleState* fPrevious;
    bool fReachable;
    double fProbability;
};

/// A sequential Monte Carlo filter over a cloud of weighted states.  The
/// filter weights, normalises, decides when to resample, resamples, and
/// owns every state ever given to it or made by PropagateState, until the
/// state is no longer on the history of any particle.  Random numbers come
/// from gRandom.
class ORVEX::IParticleFilter {
public:
    /// One particle of the cloud.  Several particles may share a state.
    struct ActiveState {
        /// The particle's weight.
        double fWeight;
        IParticleState* fState;  ///< not owned by the particle
    };
    /// The particles of the filter.
    typedef std::vector<ActiveState> Cloud;

    /// An empty, open filter with a resampling threshold of 0.5.
    IParticleFilter();
    /// Deletes every state the filter owns.
    virtual ~IParticleFilter();

    /// Add a particle with an unnormalised weight; the filter takes the
    /// state.  A state whose probability is not positive is kept all the
    /// same and then reported with EBadProbability.  A null state throws
    /// ENullParticleState and is not kept.
    void AddState(IParticleState* state, double weight);

    /// The present particles.
    const Cloud& GetCloud() const { return fActive; }

    /// One step: move every particle on, reweight, normalise, and resample
    /// when the effective number of particles falls below the threshold
    /// times the size of the cloud.
    void UpdateState();

    /// Sets the threshold: the fraction of the cloud below which the effective
    /// number of particles makes UpdateState resample.
    void SetResamplingThreshold(double threshold) { fResamplingThreshold = threshold; }
    /// The resampling threshold, as a fraction of the cloud.
    double GetResamplingThreshold() const { return fResamplingThreshold; }

    /// The filter owns its states by plain pointer, so it is not copied.
    IParticleFilter(const IParticleFilter&) = delete;
    IParticleFilter& operator=(const IParticleFilter&) = delete;

private:
    double ComputeEffectiveParticles();
    void RenormalizeWeights();
    void ResampleParticles();
    void GarbageCollection();

    /// True while the weights may be unnormalised.
    bool fFilterOpen;
    /// Every state the filter owns: the active ones and their history.
    std::set<IParticleState*> fOwned;
    double fResamplingThreshold;
    Cloud fActive;
};

#endif
