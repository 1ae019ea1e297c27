// The road from a hit to the simulated deposits behind it: the five routes,
// their order, and what each does with order and duplicates.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <typeinfo>
#include <vector>

#include <IHitKinds.hxx>
#include <IORVEXLog.hxx>

#include <retrieveHitTruthInfo.hxx>

using namespace ORVEX;
using HitTruthInfo::GetHitTruthInfo;

namespace {
    typedef std::vector<IG4VHit*> Deposits;

    // Deposits live in one array, so their addresses ascend with the index.
    struct Truth : public ::testing::Test {
        IG4VHit deposit[6];
        IMCDigit digitA{1};
        IMCDigit digitB{2};
        IDigit realDigit{3};

        void SetUp() override {
            digitA.AddContributor(&deposit[4]);
            digitA.AddContributor(&deposit[1]);
            digitB.AddContributor(&deposit[5]);
        }

        IHandle<IHit> MCHit(const Deposits& contributors) {
            IMCHit* hit = new IMCHit(7, 1.0, TVector3());
            for (IG4VHit* contributor : contributors) hit->AddContributor(contributor);
            return IHandle<IHit>(hit);
        }

        IHandle<IHit> DigitHit(IDigit* digit) {
            ISingleHit* hit = new ISingleHit(8, 1.0, TVector3());
            hit->AddDigit(IDigitProxy(digit));
            return IHandle<IHit>(hit);
        }
    };

    IHandle<IHit> Combo(const std::vector<IHandle<IHit> >& members, IDigit* ownDigit = NULL,
                        bool withProxy = false) {
        IComboHit* combo = new IComboHit;
        if (withProxy) combo->AddDigit(IDigitProxy(ownDigit));
        combo->PrepareCombo();
        for (const IHandle<IHit>& member : members) combo->AddHit(member);
        combo->FinishCombo();
        return IHandle<IHit>(combo);
    }

    IHandle<IHit> Multi(const IHandle<ISingleHit>& representative,
                        const IHandle<ISingleHit>& other) {
        IMultiHit* multi = new IMultiHit(9);
        multi->AddHit(representative);
        multi->AddHit(other);
        return IHandle<IHit>(multi);
    }

    // A reconstructed hit that counts how often its constituents are counted.
    struct CountingReconHit : public IReconHit {
        mutable int fCountReads = 0;
        int GetConstituentCount() const override {
            ++fCountReads;
            return IReconHit::GetConstituentCount();
        }
    };
}

TEST_F(Truth, OnlyTheFirstOfTwoSimulatedDigitsIsRead) {
    ISingleHit* hit = new ISingleHit(1, 1.0, TVector3());
    hit->AddDigit(IDigitProxy(&digitA));
    hit->AddDigit(IDigitProxy(&digitB));
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(hit)), (Deposits{&deposit[4], &deposit[1]}));
}

TEST_F(Truth, SimulatedDigitGivesItsContributorsInTheirOrder) {
    EXPECT_EQ(GetHitTruthInfo(DigitHit(&digitA)), (Deposits{&deposit[4], &deposit[1]}));
}

TEST_F(Truth, PlainHitWithoutDigitsGivesNothing) {
    IHandle<IHit> hit(new ISingleHit(1, 5.0, TVector3(1, 2, 3)));
    EXPECT_TRUE(GetHitTruthInfo(hit).empty());
}

TEST_F(Truth, PlainHitWithARealDigitGivesNothing) {
    EXPECT_TRUE(GetHitTruthInfo(DigitHit(&realDigit)).empty());
}

TEST_F(Truth, PlainHitWithANullProxyGivesNothing) {
    EXPECT_TRUE(GetHitTruthInfo(DigitHit(NULL)).empty());
}

TEST_F(Truth, SimulatedHitGivesItsContributors) {
    EXPECT_EQ(GetHitTruthInfo(MCHit({&deposit[3], &deposit[0], &deposit[3]})),
              (Deposits{&deposit[3], &deposit[0], &deposit[3]}));
}

TEST_F(Truth, SimulatedHitWithASimulatedDigitAnswersFromTheDigit) {
    IMCHit* hit = new IMCHit(1, 1.0, TVector3());
    hit->AddContributor(&deposit[0]);
    hit->AddDigit(IDigitProxy(&digitB));
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(hit)), (Deposits{&deposit[5]}));
}

TEST_F(Truth, SimulatedHitWithARealDigitAnswersFromItsContributors) {
    IMCHit* hit = new IMCHit(1, 1.0, TVector3());
    hit->AddContributor(&deposit[0]);
    hit->AddDigit(IDigitProxy(&realDigit));
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(hit)), (Deposits{&deposit[0]}));
}

TEST_F(Truth, ComboHitWithASimulatedDigitIsNotUnpacked) {
    IHandle<IHit> combo = Combo({MCHit({&deposit[0]})}, &digitB, true);
    EXPECT_EQ(GetHitTruthInfo(combo), (Deposits{&deposit[5]}));
}

TEST_F(Truth, ComboHitWhoseProxyIsNullIsUnpacked) {
    IHandle<IHit> combo = Combo({MCHit({&deposit[2]}), MCHit({&deposit[0]})}, NULL, true);
    EXPECT_EQ(GetHitTruthInfo(combo), (Deposits{&deposit[2], &deposit[0]}));
}

TEST_F(Truth, ComboHitWithARealDigitIsUnpacked) {
    IHandle<IHit> combo = Combo({MCHit({&deposit[2]})}, &realDigit, true);
    EXPECT_EQ(GetHitTruthInfo(combo), (Deposits{&deposit[2]}));
}

TEST_F(Truth, ComboHitKeepsMemberOrderAndSharedDepositsTwice) {
    IHandle<IHit> combo =
        Combo({MCHit({&deposit[3], &deposit[1]}), MCHit({&deposit[1], &deposit[0]})});
    EXPECT_EQ(GetHitTruthInfo(combo),
              (Deposits{&deposit[3], &deposit[1], &deposit[1], &deposit[0]}));
}

TEST_F(Truth, NestedComboHitsAreWalkedDepthFirst) {
    IHandle<IHit> inner = Combo({MCHit({&deposit[4]}), DigitHit(&digitB)});
    IHandle<IHit> outer = Combo({MCHit({&deposit[0]}), inner, MCHit({&deposit[2]})});
    EXPECT_EQ(GetHitTruthInfo(outer),
              (Deposits{&deposit[0], &deposit[4], &deposit[5], &deposit[2]}));
}

TEST_F(Truth, ComboHitWithoutMembersGivesNothing) {
    EXPECT_TRUE(GetHitTruthInfo(Combo({})).empty());
}

TEST_F(Truth, MultiHitOfThatComboGivesEachDepositOnceByAddress) {
    IComboHit* combo = new IComboHit;
    combo->AddHit(MCHit({&deposit[3], &deposit[1]}));
    combo->AddHit(MCHit({&deposit[1], &deposit[0]}));
    combo->FinishCombo();
    IHandle<ISingleHit> representative(combo);
    IHandle<ISingleHit> other(new IMCHit(9, 1.0, TVector3()));
    EXPECT_EQ(GetHitTruthInfo(Multi(representative, other)),
              (Deposits{&deposit[0], &deposit[1], &deposit[3]}));
}

TEST_F(Truth, MultiHitVisitsOnlyItsRepresentative) {
    IMCHit* first = new IMCHit(9, 1.0, TVector3());
    first->AddContributor(&deposit[2]);
    IMCHit* second = new IMCHit(9, 1.0, TVector3());
    second->AddContributor(&deposit[5]);
    IHandle<IHit> multi = Multi(IHandle<ISingleHit>(first), IHandle<ISingleHit>(second));
    EXPECT_EQ(GetHitTruthInfo(multi), (Deposits{&deposit[2]}));
}

TEST_F(Truth, MultiHitWithASimulatedDigitAnswersFromTheDigit) {
    IMCHit* first = new IMCHit(9, 1.0, TVector3());
    first->AddContributor(&deposit[2]);
    IMultiHit* multi = new IMultiHit(9);
    multi->AddHit(IHandle<ISingleHit>(first));
    multi->AddDigit(IDigitProxy(&digitA));
    // The digit's order (4 before 1) stands: the digit route doesn't sort.
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(multi)), (Deposits{&deposit[4], &deposit[1]}));
}

TEST_F(Truth, ReconHitKeepsConstituentOrderAndDuplicates) {
    IReconHit* recon = new IReconHit(5, 1.0, TVector3());
    recon->AddConstituent(MCHit({&deposit[5], &deposit[2]}));
    recon->AddConstituent(DigitHit(&digitA));
    recon->AddConstituent(MCHit({&deposit[2]}));
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(recon)),
              (Deposits{&deposit[5], &deposit[2], &deposit[4], &deposit[1], &deposit[2]}));
}

TEST_F(Truth, ReconHitWithASimulatedDigitIsNotUnpacked) {
    IReconHit* recon = new IReconHit(5, 1.0, TVector3());
    recon->AddConstituent(MCHit({&deposit[0]}));
    recon->AddDigit(IDigitProxy(&digitB));
    EXPECT_EQ(GetHitTruthInfo(IHandle<IHit>(recon)), (Deposits{&deposit[5]}));
}

TEST_F(Truth, ReconHitWithoutConstituentsGivesNothing) {
    IHandle<IHit> recon(new IReconHit(5, 1.0, TVector3()));
    EXPECT_TRUE(GetHitTruthInfo(recon).empty());
}

TEST_F(Truth, ReconHitCountIsReadAgainOnEveryPass) {
    CountingReconHit* recon = new CountingReconHit;
    recon->AddConstituent(MCHit({&deposit[0]}));
    recon->AddConstituent(MCHit({&deposit[1]}));
    recon->AddConstituent(MCHit({&deposit[2]}));
    IHandle<IHit> handle(recon);
    EXPECT_EQ(GetHitTruthInfo(handle), (Deposits{&deposit[0], &deposit[1], &deposit[2]}));
    // Three passes that go on, and the one that stops.
    EXPECT_EQ(recon->fCountReads, 4);
}

namespace {
    // Hits of two of the host's classes at once, so that two routes apply
    // and the earlier one must answer.  Each handle refers to the object
    // through the first base.
    struct SimulatedMultiHit : public IMCHit, public IMultiHit {};
    struct MultiComboHit : public IMultiHit, public IComboHit {};
    struct ComboReconHit : public IComboHit, public IReconHit {};

    template <class First, class Both>
    IHandle<IHit> ThroughFirstBase(Both* hit) {
        return IHandle<IHit>(static_cast<IHit*>(static_cast<First*>(hit)));
    }
}

TEST_F(Truth, SimulatedHitRouteComesBeforeTheMultiHitRoute) {
    SimulatedMultiHit* hit = new SimulatedMultiHit;
    hit->AddContributor(&deposit[3]);
    IMCHit* representative = new IMCHit(9, 1.0, TVector3());
    representative->AddContributor(&deposit[0]);
    hit->IMultiHit::AddHit(IHandle<ISingleHit>(representative));
    EXPECT_EQ(GetHitTruthInfo(ThroughFirstBase<IMCHit>(hit)), (Deposits{&deposit[3]}));
}

TEST_F(Truth, MultiHitRouteComesBeforeTheComboHitRoute) {
    MultiComboHit* hit = new MultiComboHit;
    IMCHit* representative = new IMCHit(9, 1.0, TVector3());
    representative->AddContributor(&deposit[2]);
    hit->IMultiHit::AddHit(IHandle<ISingleHit>(representative));
    hit->IComboHit::AddHit(MCHit({&deposit[4]}));
    EXPECT_EQ(GetHitTruthInfo(ThroughFirstBase<IMultiHit>(hit)), (Deposits{&deposit[2]}));
}

TEST_F(Truth, ComboHitRouteComesBeforeTheReconHitRoute) {
    ComboReconHit* hit = new ComboReconHit;
    hit->AddHit(MCHit({&deposit[1]}));
    hit->AddConstituent(MCHit({&deposit[5]}));
    EXPECT_EQ(GetHitTruthInfo(ThroughFirstBase<IComboHit>(hit)), (Deposits{&deposit[1]}));
}

TEST_F(Truth, ResultIsACopy) {
    IMCHit* hit = new IMCHit(1, 1.0, TVector3());
    hit->AddContributor(&deposit[0]);
    IHandle<IHit> handle(hit);
    Deposits found = GetHitTruthInfo(handle);
    hit->AddContributor(&deposit[1]);
    EXPECT_EQ(found, (Deposits{&deposit[0]}));
}

TEST_F(Truth, DepositsAreNeverDereferenced) {
    // Addresses that point at nothing come back as they went in.
    IG4VHit* bogus = reinterpret_cast<IG4VHit*>(static_cast<std::uintptr_t>(0x10));
    EXPECT_EQ(GetHitTruthInfo(MCHit({bogus})), (Deposits{bogus}));
}

namespace {
    // Captures the debug stream for the life of the object.
    struct DebugCapture {
        std::ostringstream text;
        DebugCapture() { IORVEXLog::SetDebugStream(&text); }
        ~DebugCapture() { IORVEXLog::SetDebugStream(NULL); }
    };

    std::string NullHandleLineEnd() {
        return std::string(": Referencing a NULL handle ") + typeid(IHit).name() + "\n";
    }

    bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() &&
               text.compare(text.size() - end.size(), end.size(), end) == 0;
    }
}

TEST_F(Truth, NullHandleThrowsInsteadOfGivingNothing) {
    DebugCapture debug;
    EXPECT_THROW(GetHitTruthInfo(IHandle<IHit>()), EHandleBadReference);
    EXPECT_EQ(debug.text.str().rfind("ERROR: ", 0), 0u);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLineEnd())) << debug.text.str();
}

TEST_F(Truth, NullMemberOfAComboHitThrows) {
    DebugCapture debug;
    IComboHit* members = new IComboHit;
    members->AddHit(MCHit({&deposit[0]}));
    members->AddHit(IHandle<IHit>());
    IHandle<IHit> combo(members);
    EXPECT_THROW(GetHitTruthInfo(combo), EHandleBadReference);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLineEnd()));
}

TEST_F(Truth, NullConstituentOfAReconHitThrows) {
    DebugCapture debug;
    IReconHit* recon = new IReconHit(5, 1.0, TVector3());
    recon->AddConstituent(IHandle<IHit>());
    EXPECT_THROW(GetHitTruthInfo(IHandle<IHit>(recon)), EHandleBadReference);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLineEnd()));
}

TEST_F(Truth, MultiHitWithoutARepresentativeThrows) {
    DebugCapture debug;
    EXPECT_THROW(GetHitTruthInfo(IHandle<IHit>(new IMultiHit(3))), EHandleBadReference);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLineEnd()));
}

TEST_F(Truth, WritesNothingOnSuccess) {
    DebugCapture debug;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    GetHitTruthInfo(Combo({MCHit({&deposit[0]}), DigitHit(&realDigit)}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(debug.text.str(), "");
}

namespace {
    // A combo hit and a reconstructed hit whose parts can be dropped again,
    // so that a test can make them contain themselves and still free them.
    struct LoopingCombo : public IComboHit {
        IHitSelection fMembers;
        const IHitSelection& GetHits() const override { return fMembers; }
    };

    struct LoopingRecon : public IReconHit {
        std::vector<IHandle<IHit> > fParts;
        IHandle<IHit> GetConstituent(int i) const override { return fParts[i]; }
        int GetConstituentCount() const override { return static_cast<int>(fParts.size()); }
    };
}

// Truth retrieval has no guard against a hit that contains itself: the
// recursion goes on until the stack is gone, and the process with it.
TEST_F(Truth, ComboHitContainingItselfRecursesUntilTheProcessDies) {
    EXPECT_DEATH(
        {
            LoopingCombo* looping = new LoopingCombo;
            IHandle<IHit> combo(looping);
            looping->fMembers.push_back(MCHit({&deposit[0]}));
            looping->fMembers.push_back(combo);
            GetHitTruthInfo(combo);
        },
        "");
}

TEST_F(Truth, CycleThroughAReconHitRecursesUntilTheProcessDies) {
    EXPECT_DEATH(
        {
            LoopingCombo* comboHit = new LoopingCombo;
            IHandle<IHit> combo(comboHit);
            LoopingRecon* reconHit = new LoopingRecon;
            IHandle<IHit> recon(reconHit);
            comboHit->fMembers.push_back(recon);
            reconHit->fParts.push_back(MCHit({&deposit[1]}));
            reconHit->fParts.push_back(combo);
            GetHitTruthInfo(combo);
        },
        "");
}

TEST_F(Truth, HitSharedByTwoPartsIsNoCycleAndKeepsItsDuplicates) {
    IHandle<IHit> shared = Combo({MCHit({&deposit[2]}), MCHit({&deposit[3]})});
    IHandle<IHit> twice = Combo({shared, MCHit({&deposit[0]})});
    IHandle<IHit> top = Combo({shared, twice, shared});
    EXPECT_EQ(GetHitTruthInfo(top), (Deposits{&deposit[2], &deposit[3], &deposit[2], &deposit[3],
                                              &deposit[0], &deposit[2], &deposit[3]}));
}
