// The particle filter: weighting, the effective count, resampling drawn
// from gRandom against the cumulative table, and the ownership of states.
#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include <TRandom.h>
#include <TRandom3.h>

#include <IORVEXLog.hxx>
#include <IParticleFilter.hxx>

using ORVEX::IParticleFilter;
using ORVEX::IParticleState;

namespace {
    // Every TestState alive, and what happened to the others.
    struct Census {
        std::set<const IParticleState*> live;
        int created = 0;
        int deleted = 0;
        int deletedTwice = 0;
    };
    Census gCensus;

    // A state of a particle with a name (the particle it began as) and a
    // fixed probability for each of its steps; a negative one is left
    // unset.  It counts its creations and deletions.
    class TestState : public IParticleState {
    public:
        TestState(int name, double probability, double stepProbability,
                  IParticleState* previous = nullptr)
            : IParticleState(previous), fName(name), fStepProbability(stepProbability) {
            if (probability >= 0.0 || std::isnan(probability)) SetProbability(probability);
            gCensus.live.insert(this);
            ++gCensus.created;
        }
        ~TestState() override {
            if (gCensus.live.erase(this) == 0) ++gCensus.deletedTwice;
            ++gCensus.deleted;
        }
        IParticleState* PropagateState() override {
            return new TestState(fName, fStepProbability, fStepProbability, this);
        }
        int Name() const { return fName; }

    private:
        int fName;
        double fStepProbability;
    };

    int NameOf(const IParticleState* state) {
        return static_cast<const TestState*>(state)->Name();
    }

    // gRandom, replaced for one test by a generator that counts the draws
    // of Uniform(x) and can be told what they return.
    class ScriptedRandom : public TRandom3 {
    public:
        explicit ScriptedRandom(UInt_t seed) : TRandom3(seed) {}
        using TRandom3::Uniform;
        Double_t Uniform(Double_t x1) override {
            ++fDraws;
            if (fScript.empty()) return TRandom3::Uniform(x1);
            double value = fScript.front();
            fScript.pop_front();
            return value;
        }
        int fDraws = 0;
        std::deque<double> fScript;
    };

    class RandomGuard {
    public:
        explicit RandomGuard(UInt_t seed = 4357) : fSaved(gRandom), fRandom(seed) {
            gRandom = &fRandom;
        }
        ~RandomGuard() { gRandom = fSaved; }
        ScriptedRandom& operator*() { return fRandom; }
        ScriptedRandom* operator->() { return &fRandom; }

    private:
        TRandom* fSaved;
        ScriptedRandom fRandom;
    };

    class DebugCapture {
    public:
        DebugCapture() { ORVEX::IORVEXLog::SetDebugStream(&fText); }
        ~DebugCapture() { ORVEX::IORVEXLog::SetDebugStream(nullptr); }
        std::string Text() const { return fText.str(); }

    private:
        std::ostringstream fText;
    };

    // Every state on the history of some particle of the cloud.
    std::set<const IParticleState*> Reachable(const IParticleFilter& filter) {
        std::set<const IParticleState*> reachable;
        for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
            for (const IParticleState* s = particle.fState; s; s = s->GetPrevious()) {
                reachable.insert(s);
            }
        }
        return reachable;
    }

    void ExpectNamesInOrder(const std::string& text, std::initializer_list<const char*> names) {
        std::string::size_type at = 0;
        for (const char* name : names) {
            std::string::size_type found = text.find(name, at);
            EXPECT_NE(found, std::string::npos) << name << " after " << at << " in " << text;
            if (found != std::string::npos) at = found + 1;
        }
    }

    class IParticleFilterTest : public testing::Test {
    protected:
        void SetUp() override { gCensus = Census(); }
        void TearDown() override {
            EXPECT_TRUE(gCensus.live.empty()) << gCensus.live.size() << " states leaked";
            EXPECT_EQ(gCensus.deletedTwice, 0);
            EXPECT_EQ(gCensus.deleted, gCensus.created);
        }
    };

    // The five particles of known weight: weights 1/8, 1/32, 1/2, 3/32,
    // 1/4 for particles 0 to 4, which add up to exactly 1, and steps of
    // probability 1, so that every weight and every sum of the cumulative
    // table, heaviest first, is exact:
    //   particle  2    4     0      3        1
    //   weight    1/2  1/4   1/8    3/32     1/32
    //   summed    0.5  0.75  0.875  0.96875  1.0
    const double kWeight[5] = {0.125, 0.03125, 0.5, 0.09375, 0.25};

    void AddFiveParticles(IParticleFilter& filter) {
        for (int name = 0; name < 5; ++name) {
            filter.AddState(new TestState(name, 1.0, 1.0), kWeight[name]);
        }
    }

    // The particle that a draw picks by a linear walk of the table above.
    int TablePick(double draw) {
        const double summed[5] = {0.5, 0.75, 0.875, 0.96875, 1.0};
        const int name[5] = {2, 4, 0, 3, 1};
        for (int i = 0; i < 5; ++i) {
            if (summed[i] > draw) return name[i];
        }
        return -1;
    }
}

TEST_F(IParticleFilterTest, AStateStartsWithNoPredecessorAndNoProbability) {
    TestState first(0, -1.0, 1.0);
    EXPECT_EQ(first.GetPrevious(), nullptr);
    EXPECT_FALSE(first.GetReachable());
    EXPECT_EQ(first.GetProbability(), -1.0);
    EXPECT_EQ(first.GetStateCount(), 0);
    first.SetReachable(true);
    EXPECT_TRUE(first.GetReachable());
}

TEST_F(IParticleFilterTest, StateCountIsTheNumberOfPredecessors) {
    TestState first(0, 1.0, 0.5);
    std::unique_ptr<IParticleState> chain[4];
    IParticleState* last = &first;
    for (int n = 1; n <= 4; ++n) {
        chain[n - 1].reset(last->PropagateState());
        last = chain[n - 1].get();
        EXPECT_EQ(last->GetStateCount(), n);
        EXPECT_EQ(last->GetProbability(), 0.5);
    }
    EXPECT_EQ(chain[3]->GetPrevious(), chain[2].get());
    for (int n = 3; n >= 0; --n) chain[n].reset();
    // A state deletes nothing but itself.
    EXPECT_EQ(gCensus.live.count(&first), 1u);
}

TEST_F(IParticleFilterTest, AnEmptyFilterDoesNothing) {
    RandomGuard random;
    IParticleFilter filter;
    EXPECT_EQ(filter.GetResamplingThreshold(), 0.5);
    filter.SetResamplingThreshold(5.0);  // even so: 0 * 5 > 0 fails
    filter.UpdateState();
    filter.UpdateState();
    EXPECT_TRUE(filter.GetCloud().empty());
    EXPECT_EQ(random->fDraws, 0);
}

TEST_F(IParticleFilterTest, OneParticleEndsWithWeightOneAndNeverResamples) {
    RandomGuard random;
    IParticleFilter filter;
    // Threshold 1.0: an effective count of exactly 1 gives 1 > 1, false.
    filter.SetResamplingThreshold(1.0);
    filter.AddState(new TestState(0, 0.7, 0.3), 12.5);
    EXPECT_EQ(filter.GetCloud()[0].fWeight, 12.5);
    for (int step = 1; step <= 3; ++step) {
        filter.UpdateState();
        ASSERT_EQ(filter.GetCloud().size(), 1u);
        EXPECT_EQ(filter.GetCloud()[0].fWeight, 1.0);
        EXPECT_EQ(filter.GetCloud()[0].fState->GetStateCount(), step);
    }
    EXPECT_EQ(random->fDraws, 0);
    // No collection without a resampling: every generation is kept.
    EXPECT_EQ(gCensus.live.size(), 4u);

    // Just above 1.0 the same particle resamples, onto itself.
    filter.SetResamplingThreshold(1.000001);
    filter.UpdateState();
    EXPECT_EQ(random->fDraws, 1);
    EXPECT_EQ(filter.GetCloud()[0].fWeight, 1.0);
}

TEST_F(IParticleFilterTest, EqualWeightsCountAsManyEffectiveParticles) {
    RandomGuard random;
    IParticleFilter filter;
    for (int name = 0; name < 8; ++name) filter.AddState(new TestState(name, 1.0, 0.25), 3.0);
    filter.UpdateState();
    for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
        EXPECT_EQ(particle.fWeight, 0.125);
    }
    EXPECT_EQ(random->fDraws, 0);
    // An effective count of 8 against 8 * 1.0: still no resampling.
    filter.SetResamplingThreshold(1.0);
    filter.UpdateState();
    EXPECT_EQ(random->fDraws, 0);
    filter.SetResamplingThreshold(1.01);
    filter.UpdateState();
    EXPECT_EQ(random->fDraws, 8);
}

TEST_F(IParticleFilterTest, ADominantWeightResamplesOntoSharedStates) {
    RandomGuard random(17);
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 1.0), 1000.0);
    for (int name = 1; name < 10; ++name) filter.AddState(new TestState(name, 1.0, 1.0), 1.0);
    // Effective count 1 / (0.991^2 + 9 * 0.00099^2), about 1.02 < 5.
    filter.UpdateState();
    EXPECT_EQ(random->fDraws, 10);
    std::multiset<const IParticleState*> states;
    for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
        EXPECT_DOUBLE_EQ(particle.fWeight, 0.1);
        states.insert(particle.fState);
    }
    const IParticleState* dominant = nullptr;
    for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
        if (NameOf(particle.fState) == 0) dominant = particle.fState;
    }
    ASSERT_NE(dominant, nullptr);
    EXPECT_GE(states.count(dominant), 8u);
}

TEST_F(IParticleFilterTest, ScriptedDrawsPickByTheCumulativeTable) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(0.9);  // effective count 1 / 0.33789 = 2.96
    AddFiveParticles(filter);
    // A draw equal to a cumulative weight goes to the next particle.
    random->fScript = {0.5, 0.0, 0.874999, 0.875, 0.99};
    filter.UpdateState();
    const int expected[5] = {4, 2, 0, 3, 1};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(NameOf(filter.GetCloud()[i].fState), expected[i]) << "particle " << i;
        EXPECT_DOUBLE_EQ(filter.GetCloud()[i].fWeight, 0.2);
    }
}

TEST_F(IParticleFilterTest, SeededResamplingPicksWhatTheTableSays) {
    const UInt_t seed = 65539;
    RandomGuard random(seed);
    TRandom3 twin(seed);
    IParticleFilter filter;
    filter.SetResamplingThreshold(0.9);
    AddFiveParticles(filter);
    filter.UpdateState();
    int picked[5] = {0, 0, 0, 0, 0};
    for (int i = 0; i < 5; ++i) {
        double draw = twin.Uniform(1.0);
        int name = NameOf(filter.GetCloud()[i].fState);
        EXPECT_EQ(name, TablePick(draw)) << "particle " << i << ", draw " << draw;
        EXPECT_EQ(filter.GetCloud()[i].fState->GetStateCount(), 1);
        ++picked[name];
    }
    EXPECT_EQ(random->fDraws, 5);
    // The generator went on by exactly one draw per particle.
    EXPECT_EQ(gRandom->Rndm(), twin.Rndm());
    // The states picked are shared, not copied.
    std::set<const IParticleState*> distinct;
    for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
        distinct.insert(particle.fState);
    }
    int names = 0;
    for (int count : picked) names += count > 0;
    EXPECT_EQ(static_cast<int>(distinct.size()), names);
}

TEST_F(IParticleFilterTest, CollectionKeepsExactlyTheHistoryOfTheSurvivors) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(0.9);
    AddFiveParticles(filter);
    random->fScript = {0.1, 0.2, 0.3, 0.6, 0.7};  // particles 2, 2, 2, 4, 4
    filter.UpdateState();
    // Of 5 first states and 5 children, the two picked children and their
    // two parents are left; the others went through their destructors.
    EXPECT_EQ(gCensus.created, 10);
    EXPECT_EQ(gCensus.deleted, 6);
    EXPECT_EQ(gCensus.live, Reachable(filter));
    EXPECT_EQ(gCensus.live.size(), 4u);
    for (const IParticleState* state : gCensus.live) {
        EXPECT_TRUE(NameOf(state) == 2 || NameOf(state) == 4);
    }

    // All descend from particle 2 now: its first state is their common
    // ancestor and is kept, once.
    random->fScript = {0.0, 0.0, 0.0, 0.0, 0.0};
    filter.SetResamplingThreshold(2.0);
    filter.UpdateState();
    std::set<const IParticleState*> reachable = Reachable(filter);
    EXPECT_EQ(gCensus.live, reachable);
    EXPECT_EQ(gCensus.live.size(), 3u);
    const IParticleState* root = filter.GetCloud()[0].fState->GetPrevious()->GetPrevious();
    EXPECT_EQ(root->GetPrevious(), nullptr);
    EXPECT_EQ(NameOf(root), 2);
    EXPECT_EQ(gCensus.deletedTwice, 0);
}

TEST_F(IParticleFilterTest, WithoutResamplingEveryGenerationIsKept) {
    RandomGuard random;
    IParticleFilter filter;
    for (int name = 0; name < 5; ++name) filter.AddState(new TestState(name, 1.0, 0.5), 1.0);
    filter.UpdateState();
    filter.UpdateState();
    filter.UpdateState();
    EXPECT_EQ(random->fDraws, 0);
    EXPECT_EQ(gCensus.live.size(), 20u);
    EXPECT_EQ(gCensus.deleted, 0);
}

TEST_F(IParticleFilterTest, APredecessorTheFilterDoesNotOwnIsNeverDeleted) {
    RandomGuard random;
    TestState outside(7, 1.0, 1.0);
    {
        IParticleFilter filter;
        filter.SetResamplingThreshold(2.0);
        filter.AddState(new TestState(7, 1.0, 1.0, &outside), 1.0);
        filter.AddState(new TestState(8, 1.0, 1.0), 1.0);
        random->fScript = {0.1, 0.1};  // both onto the first particle's child
        filter.UpdateState();
        EXPECT_EQ(filter.GetCloud()[0].fState->GetStateCount(), 2);
        EXPECT_EQ(gCensus.live.count(&outside), 1u);
        EXPECT_EQ(gCensus.live.size(), 3u);
    }
    EXPECT_EQ(gCensus.live.size(), 1u);
    EXPECT_EQ(gCensus.live.count(&outside), 1u);
}

TEST_F(IParticleFilterTest, ThresholdZeroNeverResamples) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(0.0);
    filter.AddState(new TestState(0, 1.0, 1.0), 1e9);
    for (int name = 1; name < 6; ++name) filter.AddState(new TestState(name, 1.0, 1.0), 1.0);
    for (int step = 0; step < 4; ++step) filter.UpdateState();
    EXPECT_EQ(random->fDraws, 0);
}

TEST_F(IParticleFilterTest, ThresholdAboveOneResamplesEveryStep) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(1.5);
    for (int name = 0; name < 6; ++name) filter.AddState(new TestState(name, 1.0, 1.0), 1.0);
    for (int step = 1; step <= 4; ++step) {
        filter.UpdateState();
        EXPECT_EQ(random->fDraws, 6 * step);
        EXPECT_EQ(gCensus.live, Reachable(filter));
    }
}

TEST_F(IParticleFilterTest, AddStateRejectsAnUnsetProbabilityAfterTakingTheState) {
    IParticleFilter filter;
    DebugCapture debug;
    testing::internal::CaptureStdout();
    TestState* unset = new TestState(0, -1.0, 1.0);
    try {
        filter.AddState(unset, 2.0);
        FAIL() << "no exception";
    } catch (const ORVEX::EBadProbability& e) {
        ExpectNamesInOrder(e.what(), {"EovUtility", "EParticleFilter", "EBadProbability"});
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        debug.Text(),
        "ERROR: [^\n]*IParticleFilter\\.cxx:[0-9]+: "
        "ORVEX::IParticleFilter::AddState: Uninitialized probability\n"))
        << debug.Text();
    ASSERT_EQ(filter.GetCloud().size(), 1u);
    EXPECT_EQ(filter.GetCloud()[0].fState, unset);
    EXPECT_EQ(filter.GetCloud()[0].fWeight, 2.0);
}

TEST_F(IParticleFilterTest, AddStateRejectsAZeroProbability) {
    IParticleFilter filter;
    DebugCapture debug;
    filter.AddState(new TestState(0, 0.5, 1.0), 1.0);
    EXPECT_THROW(filter.AddState(new TestState(1, 0.0, 1.0), 1.0), ORVEX::EBadProbability);
    EXPECT_EQ(filter.GetCloud().size(), 2u);
    // Each exception class is an EovUtility.
    EXPECT_THROW(filter.AddState(new TestState(2, 0.0, 1.0), 1.0), ORVEX::EovUtility);
    EXPECT_EQ(filter.GetCloud().size(), 3u);
}

TEST_F(IParticleFilterTest, ARejectedStateLeavesTheFilterOpen) {
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 0.5), 3.0);
    {
        DebugCapture debug;
        EXPECT_THROW(filter.AddState(new TestState(1, -1.0, -1.0), 1.0), ORVEX::EBadProbability);
    }
    testing::internal::CaptureStdout();
    EXPECT_THROW(filter.UpdateState(), ORVEX::EBadProbability);
    testing::internal::GetCapturedStdout();
    // The weights were normalised before the step (3 -> 3/4), and then
    // particle 0 moved on: 0.5 * 3/4.
    EXPECT_DOUBLE_EQ(filter.GetCloud()[0].fWeight, 0.375);
}

TEST_F(IParticleFilterTest, AddStateInTheMiddleOfARunOpensTheFilterAgain) {
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 0.5), 1.0);
    filter.UpdateState();
    EXPECT_EQ(filter.GetCloud()[0].fWeight, 1.0);
    filter.AddState(new TestState(1, 1.0, -1.0), 3.0);
    testing::internal::CaptureStdout();
    EXPECT_THROW(filter.UpdateState(), ORVEX::EBadProbability);
    testing::internal::GetCapturedStdout();
    // Normalised first (1 -> 1/4, 3 -> 3/4), then the first particle moved
    // on: 0.5 * 1/4.  Without the renormalisation it would read 0.5.
    EXPECT_DOUBLE_EQ(filter.GetCloud()[0].fWeight, 0.125);
    EXPECT_DOUBLE_EQ(filter.GetCloud()[1].fWeight, 0.75);
}

TEST_F(IParticleFilterTest, UpdateStateReportsAnUnsetStepOnStandardOutput) {
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 0.5), 1.0);
    filter.AddState(new TestState(1, 1.0, -1.0), 1.0);  // its step is never set
    filter.AddState(new TestState(2, 1.0, 0.5), 2.0);
    const IParticleState* stuck = filter.GetCloud()[1].fState;
    const IParticleState* waiting = filter.GetCloud()[2].fState;
    DebugCapture debug;
    testing::internal::CaptureStdout();
    EXPECT_THROW(filter.UpdateState(), ORVEX::EBadProbability);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ORVEX::IParticleFilter::UpdateState: Uninitialized probability\n");
    EXPECT_EQ(debug.Text(), "");
    // The first particle moved on and keeps its unnormalised weight; the
    // failing one and those after it stay where they were.
    EXPECT_EQ(filter.GetCloud()[0].fState->GetStateCount(), 1);
    EXPECT_DOUBLE_EQ(filter.GetCloud()[0].fWeight, 0.5 * 0.25);
    EXPECT_EQ(filter.GetCloud()[1].fState, stuck);
    EXPECT_DOUBLE_EQ(filter.GetCloud()[1].fWeight, 0.25);
    EXPECT_EQ(filter.GetCloud()[2].fState, waiting);
    EXPECT_DOUBLE_EQ(filter.GetCloud()[2].fWeight, 0.5);
    // The rejected new state is owned all the same: the fixture's census
    // finds it deleted with the filter.
    EXPECT_EQ(gCensus.live.size(), 5u);
}

TEST_F(IParticleFilterTest, AZeroStepProbabilityIsAccepted) {
    RandomGuard random;
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 0.0), 1.0);
    filter.AddState(new TestState(1, 1.0, 1.0), 1.0);
    filter.UpdateState();
    EXPECT_EQ(filter.GetCloud()[0].fWeight, 0.0);
    EXPECT_EQ(filter.GetCloud()[1].fWeight, 1.0);
}

TEST_F(IParticleFilterTest, AllStepsOfProbabilityZeroGiveNaNAndNoResampling) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(10.0);
    for (int name = 0; name < 4; ++name) filter.AddState(new TestState(name, 1.0, 0.0), 1.0);
    filter.UpdateState();
    for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
        EXPECT_TRUE(std::isnan(particle.fWeight));
    }
    EXPECT_EQ(random->fDraws, 0);
}

TEST_F(IParticleFilterTest, ADrawBeyondTheTableThrowsBadRandom) {
    RandomGuard random;
    IParticleFilter filter;
    filter.SetResamplingThreshold(0.9);
    AddFiveParticles(filter);
    random->fScript = {0.1, 1.0};
    DebugCapture debug;
    try {
        filter.UpdateState();
        FAIL() << "no exception";
    } catch (const ORVEX::EBadRandom& e) {
        ExpectNamesInOrder(e.what(), {"EovUtility", "EParticleFilter", "EBadRandom"});
    }
    EXPECT_TRUE(testing::internal::RE::FullMatch(
        debug.Text(), "ERROR: [^\n]*IParticleFilter\\.cxx:[0-9]+: Found value out of range \n"))
        << debug.Text();
    // The first particle was resampled onto particle 2 with weight 1.0;
    // the rest keep their normalised weights, and nothing was
    // renormalised or collected.
    const IParticleFilter::Cloud& cloud = filter.GetCloud();
    EXPECT_EQ(NameOf(cloud[0].fState), 2);
    EXPECT_EQ(cloud[0].fWeight, 1.0);
    for (int i = 1; i < 5; ++i) {
        EXPECT_EQ(NameOf(cloud[i].fState), i);
        EXPECT_EQ(cloud[i].fWeight, kWeight[i]);
    }
    EXPECT_EQ(gCensus.deleted, 0);
}

TEST_F(IParticleFilterTest, DestroyingTheFilterDeletesSharedStatesOnce) {
    RandomGuard random(99);
    {
        IParticleFilter filter;
        filter.SetResamplingThreshold(1.5);
        AddFiveParticles(filter);
        for (int step = 0; step < 5; ++step) filter.UpdateState();
        std::set<const IParticleState*> distinct;
        for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
            distinct.insert(particle.fState);
        }
        EXPECT_LT(distinct.size(), 5u);  // some particles share a state
        EXPECT_FALSE(gCensus.live.empty());
    }
    EXPECT_TRUE(gCensus.live.empty());
    EXPECT_EQ(gCensus.deletedTwice, 0);
    EXPECT_EQ(gCensus.deleted, gCensus.created);
}

namespace {
    // A state whose step leads nowhere.
    class DeadEndState : public TestState {
    public:
        DeadEndState() : TestState(9, 1.0, 1.0) {}
        IParticleState* PropagateState() override { return nullptr; }
    };

    bool IsErrorLineEndingIn(const std::string& line, const std::string& end) {
        return line.rfind("ERROR: ", 0) == 0 && line.size() >= end.size() &&
               line.compare(line.size() - end.size(), end.size(), end) == 0;
    }
}

TEST_F(IParticleFilterTest, AddStateWithANullStateThrowsENullParticleState) {
    IParticleFilter filter;
    DebugCapture debug;
    EXPECT_THROW(filter.AddState(nullptr, 0.5), ORVEX::ENullParticleState);
    EXPECT_TRUE(IsErrorLineEndingIn(
        debug.Text(), ": ORVEX::IParticleFilter::AddState: state is null (weight 0.5)\n"))
        << debug.Text();
    // Nothing was kept, and the filter goes on.
    EXPECT_TRUE(filter.GetCloud().empty());
    filter.AddState(new TestState(0, 1.0, 1.0), 1.0);
    filter.UpdateState();
    EXPECT_EQ(filter.GetCloud().size(), 1u);
    EXPECT_THROW(throw ORVEX::ENullParticleState(), ORVEX::EParticleFilter);
}

TEST_F(IParticleFilterTest, UpdateStateWithANullStepThrowsENullParticleState) {
    IParticleFilter filter;
    filter.AddState(new TestState(0, 1.0, 0.5), 1.0);
    DeadEndState* deadEnd = new DeadEndState;
    filter.AddState(deadEnd, 1.0);
    DebugCapture debug;
    EXPECT_THROW(filter.UpdateState(), ORVEX::ENullParticleState);
    std::ostringstream text;
    text << ": ORVEX::IParticleFilter::UpdateState: PropagateState of state "
         << static_cast<IParticleState*>(deadEnd) << " gave null\n";
    EXPECT_TRUE(IsErrorLineEndingIn(debug.Text(), text.str())) << debug.Text();
    // The particle keeps its state; the one before it moved on.
    EXPECT_EQ(filter.GetCloud()[1].fState, deadEnd);
    EXPECT_EQ(filter.GetCloud()[0].fState->GetStateCount(), 1);
}
