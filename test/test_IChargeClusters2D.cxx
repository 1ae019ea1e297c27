// The plane-by-plane charge clusterer: the axes made from the normal, the
// order of the free list, the seed and growth rules, the size limit, the
// out-of-range report, and invariants over random events.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <TRandom.h>

#include <IORVEXLog.hxx>

#include <IChargeClusters2D.hxx>

#include "ChargeClusters2DReference.hxx"
#include "ClusterComparison.hxx"

using namespace ORVEX;

namespace {
    const double kNaN = std::numeric_limits<double>::quiet_NaN();
    const char* const kHashes = "##############################################";

    IHandle<IHit> Hit(double charge, double x, double y, double z, int id = 0) {
        return IHandle<IHit>(new ISingleHit(id, charge, TVector3(x, y, z)));
    }

    IHitSelection Selection(const std::vector<IHandle<IHit> >& content, const char* name = "hits") {
        IHitSelection selection(name, "Hit Handles");
        for (const IHandle<IHit>& hit : content) selection.push_back(hit);
        return selection;
    }

    std::unique_ptr<IHitSelection> Apply(IChargeClusters2D& clusterer, const IHitSelection& hits) {
        return std::unique_ptr<IHitSelection>(clusterer(hits));
    }

    int IndexOf(const IHandle<IHit>& hit, const IHitSelection& input) {
        for (std::size_t i = 0; i < input.size(); ++i) {
            if (input[i] == hit) return static_cast<int>(i);
        }
        return -1;
    }

    // The result written with the input indices of the hits: a combo hit as
    // its members in brackets, a plain hit as its index, e.g. "[2 0] 1".
    std::string Describe(const IHitSelection& result, const IHitSelection& input) {
        std::ostringstream text;
        for (std::size_t i = 0; i < result.size(); ++i) {
            if (i > 0) text << " ";
            IHandle<IComboHit> combo(result[i]);
            if (!combo) {
                text << IndexOf(result[i], input);
                continue;
            }
            text << "[";
            const IHitSelection& members = combo->GetHits();
            for (std::size_t m = 0; m < members.size(); ++m) {
                text << (m > 0 ? " " : "") << IndexOf(members[m], input);
            }
            text << "]";
        }
        return text.str();
    }

    // `text` as a regular expression that matches it literally.
    std::string Escaped(const std::string& text) {
        return std::regex_replace(text, std::regex("[.^$|()\\[\\]{}*+?\\\\]"), "\\$&");
    }

    std::string Cluster(IChargeClusters2D& clusterer, const IHitSelection& input) {
        std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
        return Describe(*result, input);
    }

    // A hit that counts every read of a field other than charge and
    // position.  The host's FinishCombo reads the Measures flags of the
    // members, so a count of zero also shows that no combo was finished.
    class ProbeHit : public ISingleHit {
    public:
        ProbeHit(double charge, const TVector3& position) : ISingleHit(7, charge, position) {}
        mutable int fOtherReads = 0;
        IGeometryId GetGeomId() const override { return Count(ISingleHit::GetGeomId()); }
        bool MeasuresX() const override { return Count(ISingleHit::MeasuresX()); }
        bool MeasuresY() const override { return Count(ISingleHit::MeasuresY()); }
        bool MeasuresZ() const override { return Count(ISingleHit::MeasuresZ()); }
        int GetDigitCount() const override { return Count(ISingleHit::GetDigitCount()); }
        int GetConstituentCount() const override {
            return Count(ISingleHit::GetConstituentCount());
        }

    private:
        template <typename T>
        T Count(T value) const {
            ++fOtherReads;
            return value;
        }
    };

    class ChargeClusters2D : public ::testing::Test {
    protected:
        void SetUp() override { IORVEXLog::SetDebugStream(&fDebug); }
        void TearDown() override { IORVEXLog::SetDebugStream(NULL); }
        std::ostringstream fDebug;
    };

    const TVector3 kAlongZ(0.0, 0.0, 1.0);
}

// ---------------------------------------------------------------- basics

TEST_F(ChargeClusters2D, EmptySelectionGivesEmptyResultWithInputNameAndFixedTitle) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input("tpcHits", "Some other title");
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    ASSERT_NE(result.get(), nullptr);
    EXPECT_TRUE(result->empty());
    EXPECT_STREQ(result->GetName(), "tpcHits");
    EXPECT_STREQ(result->GetTitle(), "Hit Handles");
}

TEST_F(ChargeClusters2D, OneHitOfPositiveChargeGivesOneComboHitWithThatMember) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(2.5, 1.0, 2.0, 3.0)});
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    ASSERT_EQ(result->size(), 1u);
    IHandle<IComboHit> combo((*result)[0]);
    ASSERT_TRUE(combo);
    ASSERT_EQ(combo->GetHits().size(), 1u);
    EXPECT_TRUE(combo->GetHits()[0] == input[0]);
    EXPECT_DOUBLE_EQ(combo->GetCharge(), 2.5);
    EXPECT_DOUBLE_EQ(combo->GetPosition().Y(), 2.0);
}

TEST_F(ChargeClusters2D, OneHitOfZeroChargeGivesEmptyResultAndNoMessage) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(0.0, 0.0, 0.0, 0.0)});
    testing::internal::CaptureStdout();
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(result->empty());
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(ChargeClusters2D, NegativeChargeSeedIsDroppedSilently) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(-1.0, 0.0, 0.0, 0.0), Hit(1.0, 0.0, 0.0, 5.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[1]");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(ChargeClusters2D, SeedOutOfRangeIsDroppedAndExactlyAtRangeIsAccepted) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(1.0, 100000.0, 0.0, 0.0), Hit(1.0, 0.0, -100000.0, 10.0),
                                     Hit(1.0, 0.0, 0.0, 100000.0), Hit(1.0, 100000.5, 0.0, 20.0),
                                     Hit(1.0, 0.0, -100000.5, 30.0)});
    // By Z: 0, 1, 3, 4, 2; hits 3 and 4 lie beyond the range.
    EXPECT_EQ(Cluster(clusterer, input), "[0] [1] [2]");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(ChargeClusters2D, NaNChargeSeedIsNotDropped) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(kNaN, 0.0, 0.0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0]");
}

TEST_F(ChargeClusters2D, NaNCoordinateSeedIsNotDroppedAndComboIsReturned) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(1.0, kNaN, 0.0, 0.0)});
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    EXPECT_EQ(Describe(*result, input), "[0]");
    EXPECT_TRUE(std::isnan((*result)[0]->GetPosition().X()));
    EXPECT_EQ(fDebug.str(), "");
}

// A NaN coordinate makes every difference NaN, and NaN fails every
// rejection test, so such a hit joins the first member it meets, in any
// plane and at any distance.
TEST_F(ChargeClusters2D, NaNCoordinateCandidateJoinsWhateverItsDistance) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({Hit(1.0, 0.0, 0.0, 0.0), Hit(1.0, kNaN, 50.0, 50.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1]");
}

// NaN fails the charge comparison both ways: a NaN candidate passes, and a
// NaN member lets any candidate pass.
TEST_F(ChargeClusters2D, NaNChargesPassTheChargeTest) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    clusterer.SetChargeRatioCut(2.0);
    IHitSelection candidate = Selection({Hit(1.0, 0.0, 0.0, 0.0), Hit(kNaN, 0.5, 0.0, 1.0)});
    EXPECT_EQ(Cluster(clusterer, candidate), "[0 1]");
    // Equal z, NaN charges compare false both ways: input order stays, the
    // NaN hit is the seed, and the hit of charge 1e9 passes against it.
    IHitSelection member = Selection({Hit(kNaN, 0.0, 0.0, 0.0), Hit(1e9, 0.5, 0.0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, member), "[0 1]");
}

// ---------------------------------------------------------- size limit

TEST_F(ChargeClusters2D, MaxHitsZeroReturnsEveryClusterAsItsSingleHitsWithoutFinishing) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    clusterer.SetMaxHitsToCluster(0);
    ProbeHit* a = new ProbeHit(5.0, TVector3(0.0, 0.0, 0.0));
    ProbeHit* b = new ProbeHit(3.0, TVector3(0.5, 0.0, 0.0));
    ProbeHit* c = new ProbeHit(4.0, TVector3(9.0, 0.0, 0.0));
    IHitSelection input = Selection({IHandle<IHit>(a), IHandle<IHit>(b), IHandle<IHit>(c)});
    {
        std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
        // One plane, descending charge: a (seed, takes b), then c alone.
        EXPECT_EQ(Describe(*result, input), "0 1 2");
        EXPECT_EQ(a->fOtherReads + b->fOtherReads + c->fOtherReads, 0);
        // The combo hits were deleted: only the input and the result hold
        // the hits.
        EXPECT_EQ(input[0].GetReferenceCount(), 2);
        EXPECT_EQ(input[1].GetReferenceCount(), 2);
    }
    EXPECT_EQ(input[0].GetReferenceCount(), 1);
    EXPECT_EQ(input[2].GetReferenceCount(), 1);

    // With the default limit the same hits are combined and finished.
    IChargeClusters2D combining(1.0, 1.0, 1.0, kAlongZ);
    EXPECT_EQ(Cluster(combining, input), "[0 1] [2]");
    EXPECT_GT(a->fOtherReads, 0);
}

TEST_F(ChargeClusters2D, MaxHitsMinusOneIsReadAsTheLargestUnsignedLimit) {
    IHitSelection input =
        Selection({Hit(3.0, 0.0, 0.0, 0.0), Hit(2.0, 0.5, 0.0, 0.0), Hit(1.0, 1.0, 0.0, 0.0)});
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    clusterer.SetMaxHitsToCluster(-1);  // 4294967295: no cluster is too large
    EXPECT_EQ(Cluster(clusterer, input), "[0 1 2]");
    clusterer.SetMaxHitsToCluster(std::numeric_limits<int>::min());  // 2147483648
    EXPECT_EQ(Cluster(clusterer, input), "[0 1 2]");
}

TEST_F(ChargeClusters2D, ClusterOfExactlyTheLimitIsCombinedAndOneMoreIsNot) {
    IHitSelection pair = Selection({Hit(3.0, 0.0, 0.0, 0.0), Hit(2.0, 0.5, 0.0, 0.0)});
    IHitSelection triple =
        Selection({Hit(3.0, 0.0, 0.0, 0.0), Hit(2.0, 0.5, 0.0, 0.0), Hit(1.0, 1.0, 0.0, 0.0)});
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    clusterer.SetMaxHitsToCluster(2);
    EXPECT_EQ(Cluster(clusterer, pair), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, triple), "0 1 2");
}

TEST_F(ChargeClusters2D, MembersOfAnOversizedClusterStandWhereItsComboHitWouldHave) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    clusterer.SetMaxHitsToCluster(1);
    // Three planes; the middle one holds a pair, given in the input last.
    IHitSelection input = Selection({Hit(1.0, 0.0, 0.0, 0.0), Hit(1.0, 0.0, 0.0, 10.0),
                                     Hit(2.0, 0.0, 0.0, 5.0), Hit(1.0, 0.5, 0.0, 5.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0] 2 3 [1]");
}

// A zero-charge hit that joined a cluster comes back as a plain hit when
// the cluster is too large, although it could never have been a seed.
TEST_F(ChargeClusters2D, OversizedClusterReturnsHitsThatCouldNotHaveBeenSeeds) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    clusterer.SetMaxHitsToCluster(1);
    IHitSelection input = Selection({Hit(0.0, 0.5, 0.0, 0.0), Hit(1.0, 0.0, 0.0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, input), "1 0");
}

// ------------------------------------------------------ axes and planes

TEST_F(ChargeClusters2D, NormalAlongYIsReplacedByXWithYAndZInThePlane) {
    // Axes (0,1,0), (0,0,1), normal (1,0,0): gap 1 along Y, 2 along Z, band
    // 0.5 along X.
    IChargeClusters2D clusterer(1.0, 2.0, 0.5, TVector3(0.0, 1.0, 0.0));
    IHitSelection yPass = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 1.0, 0)});
    IHitSelection yFail = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 1.01, 0)});
    IHitSelection zPass = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 2.0)});
    IHitSelection zFail = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 2.01)});
    IHitSelection xPass = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0.5, 0, 0)});
    IHitSelection xFail = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0.51, 0, 0)});
    EXPECT_EQ(Cluster(clusterer, yPass), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, yFail), "[0] [1]");
    EXPECT_EQ(Cluster(clusterer, zPass), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, zFail), "[0] [1]");
    EXPECT_EQ(Cluster(clusterer, xPass), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, xFail), "[0] [1]");
    // The walk runs upward in X, not in Y.
    IHitSelection order = Selection({Hit(1.0, 5.0, -3.0, 0), Hit(1.0, -5.0, 3.0, 0)});
    EXPECT_EQ(Cluster(clusterer, order), "[1] [0]");
}

TEST_F(ChargeClusters2D, NormalWithinTheAngleOfYIsReplacedToo) {
    const double angle = 0.0009;
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, TVector3(std::sin(angle), std::cos(angle), 0));
    // Band along X: 2 apart in Z stays out of the gap 1 along Z.
    IHitSelection input = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 2.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0] [1]");
}

TEST_F(ChargeClusters2D, NormalJustBeyondTheAngleOfYGivesTinyInPlaneAxes) {
    // The axes have the length sin(0.002) at most, so 100 along Z or Y
    // counts as less than 0.2, inside the gap 1.
    const double angle = 0.002;
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, TVector3(std::sin(angle), std::cos(angle), 0));
    IHitSelection input = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 100.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1]");
}

TEST_F(ChargeClusters2D, NormalAlongZOfAnyLengthGivesXAndMinusYInThePlane) {
    // Axes (1,0,0), (0,-1,0), normal (0,0,1): gap 1 along X, 2 along Y.
    IChargeClusters2D clusterer(1.0, 2.0, 0.5, TVector3(0.0, 0.0, 2.0));
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, -1.0, 0, 0)})), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 1.01, 0, 0)})), "[0] [1]");
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 2.0, 0)})), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, -2.01, 0)})), "[0] [1]");
    // The band is 0.5 along Z in units of length, whatever the normal's length.
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 0.5)})), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 0, 0.51)})), "[0] [1]");
}

TEST_F(ChargeClusters2D, InPlaneGapsApplyAlongUnnormalisedAxes) {
    // Normal (0,1,1)/sqrt2 is 45 degrees from Y: the X axis is
    // (1/sqrt2, 0, 0), so hits 1 apart in X are 0.7071 apart for the gap.
    TVector3 normal(0.0, 1.0, 1.0);
    IHitSelection input = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 1.0, 0, 0)});
    IChargeClusters2D wide(0.75, 0.01, 0.5, normal);
    EXPECT_EQ(Cluster(wide, input), "[0 1]");
    IChargeClusters2D narrow(0.70, 0.01, 0.5, normal);
    EXPECT_EQ(Cluster(narrow, input), "[0] [1]");
    // The second axis, X-axis cross normal = (0, -1/2, 1/2): hits (0,1,-1)
    // apart lie in the plane and are 1.0 apart along it, not sqrt2.
    IHitSelection second = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 1.0, -1.0)});
    IChargeClusters2D yWide(0.01, 1.0001, 0.5, normal);
    EXPECT_EQ(Cluster(yWide, second), "[0 1]");
    IChargeClusters2D yNarrow(0.01, 0.99, 0.5, normal);
    EXPECT_EQ(Cluster(yNarrow, second), "[0] [1]");
}

TEST_F(ChargeClusters2D, NormalAlongMinusYGivesNullInPlaneAxes) {
    IChargeClusters2D clusterer(0.1, 0.1, 0.5, TVector3(0.0, -1.0, 0.0));
    // Far apart in X and Z, within the band along Y: they join.
    IHitSelection input = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 1000.0, 0.3, -500.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1]");
    // The walk runs upward along -Y: the hit of larger Y is the first seed.
    IHitSelection order = Selection({Hit(1.0, 0, 0, 0), Hit(1.0, 0, 2.0, 0)});
    EXPECT_EQ(Cluster(clusterer, order), "[1] [0]");
}

// ------------------------------------------------- order of the free list

TEST_F(ChargeClusters2D, FreeListRunsUpwardAlongTheNormalAndByChargeInsidePrec) {
    IChargeClusters2D clusterer(0.1, 0.1, 0.5, kAlongZ);
    // No two hits can join (in-plane gaps 0.1): the result is the seed order.
    IHitSelection input =
        Selection({Hit(1.0, 0, 0, 20.0), Hit(1.0, 0, 0, 10.0), Hit(2.0, 1, 0, 20.2),
                   Hit(3.0, 2, 0, 19.9), Hit(1.0, 0, 0, -5.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[4] [1] [3] [2] [0]");
}

TEST_F(ChargeClusters2D, FirstSeedIsTheLowestHitAlongTheNormalNotTheLargest) {
    IChargeClusters2D clusterer(10.0, 10.0, 1.0, kAlongZ);
    clusterer.SetChargeRatioCut(1e9);
    // The small hit lies below and is the seed; the large one joins it.
    IHitSelection input = Selection({Hit(100.0, 0, 0, 1.0), Hit(1.0, 0, 0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[1 0]");
}

TEST_F(ChargeClusters2D, ZeroPrecOrdersByThePlaneCoordinateAlone) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.0, kAlongZ);
    // Equal plane coordinates: the comparator says neither is first, so the
    // input order stands whatever the charges, and the small hit is the seed.
    IHitSelection input =
        Selection({Hit(1.0, 0, 0, 3.0), Hit(9.0, 0.5, 0, 3.0), Hit(5.0, 0, 0, 2.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[2] [0 1]");
}

TEST_F(ChargeClusters2D, ZeroPrecBandHoldsOnlyEqualPlaneCoordinates) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.0, kAlongZ);
    IHitSelection input =
        Selection({Hit(1.0, 0, 0, 3.0), Hit(1.0, 0.5, 0, 3.0), Hit(1.0, 0, 0, 3.0 + 1e-9)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1] [2]");
}

TEST_F(ChargeClusters2D, HitsExactlyPrecApartAreOrderedLowerFirstAndStillJoin) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    // The upper hit has the larger charge, yet at a distance of exactly
    // prec the comparator orders by the plane coordinate.
    IHitSelection input = Selection({Hit(9.0, 0, 0, 0.5), Hit(1.0, 0, 0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[1 0]");
    // Apart by more than the in-plane gap they stay apart, in the same order.
    IHitSelection apart = Selection({Hit(9.0, 1.5, 0, 0.5), Hit(1.0, 0, 0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, apart), "[1] [0]");
}

// std::list::sort of three hits A (z 0, q 1), B (z 0.8, q 5), C (z 1.6,
// q 10) with prec 1, worked on paper: [A] and [B] merge to [B A] (B is in
// A's plane and larger); merging [C] into it puts C before B (again one
// plane, larger) and so before A, although C lies 1.6 above A.  C is the
// seed, B joins it, A is below C's band but joins through B.
TEST_F(ChargeClusters2D, NonTransitivePlaneOrderComesFromTheListMergeSort) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input =
        Selection({Hit(1.0, 0, 0, 0.0), Hit(5.0, 0, 0, 0.8), Hit(10.0, 0, 0, 1.6)});
    EXPECT_EQ(Cluster(clusterer, input), "[2 1 0]");
}

// P (z 1.2, q 3), Q (z 0.6, q 2), R (z 0, q 1), prec 1, in this input
// order.  The list's merge sort, on paper: [P] and [Q] merge to [P Q] (one
// plane, Q smaller); merging [R] into it compares R with P first, 1.2 apart
// and so lower, and puts R in front: [R P Q].  R is the seed and stops at
// P; P is the next seed, and R, walked again, takes Q.  An insertion that
// compared R with Q first (one plane, R smaller) would keep [P Q R] and
// give one cluster of all three.
TEST_F(ChargeClusters2D, ListMergeSortDecidesTheSeedOrder) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input =
        Selection({Hit(3.0, 0, 0, 1.2), Hit(2.0, 0, 0, 0.6), Hit(1.0, 0, 0, 0.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[2 1] [0]");
}

// ------------------------------------------------------------ pair rule

TEST_F(ChargeClusters2D, ValuesOnEveryLimitPass) {
    IChargeClusters2D clusterer(1.0, 2.0, 0.5, kAlongZ);
    clusterer.SetChargeRatioCut(2.0);
    // Exactly 1 along X, 2 along Y, 0.5 along the normal, charge 2 x 1.5.
    IHitSelection input = Selection({Hit(1.5, 0, 0, 0), Hit(3.0, 1.0, 2.0, 0.5)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1]");
    IHitSelection beyondX = Selection({Hit(1.5, 0, 0, 0), Hit(3.0, 1.0001, 2.0, 0.5)});
    EXPECT_EQ(Cluster(clusterer, beyondX), "[0] [1]");
    IHitSelection beyondY = Selection({Hit(1.5, 0, 0, 0), Hit(3.0, 1.0, 2.0001, 0.5)});
    EXPECT_EQ(Cluster(clusterer, beyondY), "[0] [1]");
    IHitSelection beyondCharge = Selection({Hit(1.5, 0, 0, 0), Hit(3.0001, 1.0, 2.0, 0.5)});
    EXPECT_EQ(Cluster(clusterer, beyondCharge), "[0] [1]");
}

TEST_F(ChargeClusters2D, DefaultChargeRatioIsTenThousand) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    // The candidate lies exactly prec above, so the seed is the small hit.
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(10000.0, 0, 0, 0.5)})), "[0 1]");
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(10000.5, 0, 0, 0.5)})),
              "[0] [1]");
}

TEST_F(ChargeClusters2D, ChargeTestIsOneSided) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    clusterer.SetChargeRatioCut(2.0);
    // A much smaller hit joins a large one ...
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(10.0, 0, 0, 0), Hit(0.001, 0, 0, 0.5)})), "[0 1]");
    // ... a larger one joins a small one only up to the ratio.
    EXPECT_EQ(Cluster(clusterer, Selection({Hit(1.0, 0, 0, 0), Hit(2.5, 0, 0, 0.5)})), "[0] [1]");
}

// Members at 0, 0.8, 1.6 and 2.4 along the normal with prec 1: each is
// within the band of the one before, so the chain creeps upward although
// the last lies 2.4 above the seed.
TEST_F(ChargeClusters2D, BandIsMeasuredFromTheMemberSoAChainCreepsAlongTheNormal) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection(
        {Hit(1.0, 0, 0, 0.0), Hit(1.0, 0, 0, 0.8), Hit(1.0, 0, 0, 1.6), Hit(1.0, 0, 0, 2.4)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1 2 3]");
}

TEST_F(ChargeClusters2D, InPlaneChainJoinsThroughLaterMembers) {
    IChargeClusters2D clusterer(1.5, 1.5, 0.5, kAlongZ);
    // One plane, so the list is by descending charge: 0, 1, 2.  Hit 1 is
    // 2.4 from the seed but 1.2 from hit 2, which joins first.
    IHitSelection input =
        Selection({Hit(5.0, 0.0, 0, 0), Hit(4.0, 2.4, 0, 0), Hit(3.0, 1.2, 0, 0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 2 1]");
}

TEST_F(ChargeClusters2D, ZeroChargeHitJoinsAClusterAsAMember) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({Hit(0.0, 0.5, 0, 0.5), Hit(2.0, 0, 0, 0)});
    EXPECT_EQ(Cluster(clusterer, input), "[1 0]");
}

// The list isn't ordered by charge: a zero-charge hit below its neighbour
// comes up as a seed first and is dropped for good.
TEST_F(ChargeClusters2D, ZeroChargeHitBelowItsNeighbourIsDroppedAsASeed) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({Hit(0.0, 0.5, 0, 0), Hit(2.0, 0, 0, 0.5)});
    EXPECT_EQ(Cluster(clusterer, input), "[1]");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(ChargeClusters2D, HitOutOfRangeJoinsAsAMember) {
    IChargeClusters2D clusterer(200000.0, 1.0, 0.5, kAlongZ);
    // The member lies at x 150000; the combo hit, (10*0 + 1*150000)/11,
    // is in range.
    IHitSelection input = Selection({Hit(10.0, 0, 0, 0), Hit(1.0, 150000.0, 0, 0)});
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    EXPECT_EQ(Describe(*result, input), "[0 1]");
    EXPECT_NEAR((*result)[0]->GetPosition().X(), 150000.0 / 11.0, 1e-9);
}

TEST_F(ChargeClusters2D, OnlyChargeAndPositionAreRead) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    clusterer.SetMaxHitsToCluster(0);  // no FinishCombo, which reads more
    ProbeHit* a = new ProbeHit(2.0, TVector3(0, 0, 0));
    ProbeHit* b = new ProbeHit(1.0, TVector3(0.5, 0, 0.2));
    IHitSelection input = Selection({IHandle<IHit>(a), IHandle<IHit>(b)});
    EXPECT_EQ(Cluster(clusterer, input), "0 1");
    EXPECT_EQ(a->fOtherReads, 0);
    EXPECT_EQ(b->fOtherReads, 0);
}

// ------------------------------------------------------ walk and growth

// S (z 0), W (z 0.2, 10 to the side), X (z 1.15), Y (z 0.9, between S and
// W in X), prec 1, gaps 6; charges 5, 4, 3, 1 keep this list order.  S's
// walk rejects W and stops at X, above its band, before it reaches Y.  W
// becomes the next seed; S is walked again and stops at X again; W passes
// X (10 - (-10) = 20 apart) and takes Y.  Walking on past X, S would have
// taken Y itself.
TEST_F(ChargeClusters2D, WalkEndsAtTheFirstHitAboveTheBand) {
    IChargeClusters2D clusterer(6.0, 6.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(5.0, 0.0, 0, 0.0), Hit(4.0, 10.0, 0, 0.2),
                                     Hit(3.0, -10.0, 0, 1.15), Hit(1.0, 5.0, 0, 0.9)});
    EXPECT_EQ(Cluster(clusterer, input), "[0] [1 3] [2]");
}

// The same event with the ratio 0.5: X (charge 3) fails the charge test
// against S (5 x 0.5 = 2.5), but the band is tested first, so S's walk
// still ends at X and Y goes to W.  Were the charge tested first, S would
// step over X and take Y.
TEST_F(ChargeClusters2D, BandIsTestedBeforeCharge) {
    IChargeClusters2D clusterer(6.0, 6.0, 1.0, kAlongZ);
    clusterer.SetChargeRatioCut(0.5);
    IHitSelection input = Selection({Hit(5.0, 0.0, 0, 0.0), Hit(4.0, 10.0, 0, 0.2),
                                     Hit(3.0, -10.0, 0, 1.15), Hit(1.0, 5.0, 0, 0.9)});
    EXPECT_EQ(Cluster(clusterer, input), "[0] [1 3] [2]");
}

// S (z 0, charge 5), X (z 1.5, charge 10), Y (z 0.9, charge 1): X and Y
// are one plane for the comparator, X first.  S stops at X and stays
// alone; X is the next seed, and S, walked again first, now reaches Y.
TEST_F(ChargeClusters2D, OldComboHitsAreWalkedAgainInEveryGrowthStage) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input =
        Selection({Hit(5.0, 0, 0, 0.0), Hit(10.0, 0, 0, 1.5), Hit(1.0, 0, 0, 0.9)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 2] [1]");
}

// S (z 0, x 0), K (z 0.6, x 1), X (z 1.5, x 1.9), Y (z 0.9, x -0.5), gaps
// 1, prec 1, charges 4, 3, 2, 1 keep this list order.  S takes K and stops
// at X.  K takes X; the member cursor goes back to S, and the walk carries
// on to Y, which S reaches (0.5) though K (1.5) and X (2.4) don't.
TEST_F(ChargeClusters2D, MemberCursorGoesBackToTheFirstMemberAfterAnAddition) {
    IChargeClusters2D clusterer(1.0, 1.0, 1.0, kAlongZ);
    IHitSelection input = Selection({Hit(4.0, 0.0, 0, 0.0), Hit(3.0, 1.0, 0, 0.6),
                                     Hit(2.0, 1.9, 0, 1.5), Hit(1.0, -0.5, 0, 0.9)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1 2 3]");
}

TEST_F(ChargeClusters2D, ResultOrderIsTheOrderOfTheSeeds) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input =
        Selection({Hit(1.0, 0, 0, 30.0), Hit(1.0, 0, 0, 10.0), Hit(8.0, 0, 0, 20.0),
                   Hit(9.0, 0.5, 0, 20.0), Hit(1.0, 5, 0, 10.0)});
    EXPECT_EQ(Cluster(clusterer, input), "[1] [4] [3 2] [0]");
}

// ------------------------------------------------------- failure paths

TEST_F(ChargeClusters2D, ComboHitOutOfRangeIsReportedAndLeftOutOfTheResult) {
    // Null in-plane axes: the seed at x 0 and the hit at x 1000000 join,
    // and their combo hit lies at x 500000.
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, TVector3(0.0, -1.0, 0.0));
    IHitSelection input =
        Selection({Hit(1.0, 0.0, 0, 0, 1), Hit(1.0, 1000000.0, 0, 0, 2), Hit(1.0, 0.0, 5.0, 0, 3)});
    testing::internal::CaptureStdout();
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    std::string out = testing::internal::GetCapturedStdout();

    // The other cluster is still made.
    EXPECT_EQ(Describe(*result, input), "[2]");
    std::regex line("ERROR: " + Escaped(OVUTILITY_SOURCE_DIR "/src/IChargeClusters2D.cxx") +
                    ":[0-9]+: Combo hit position out of range\n");
    EXPECT_TRUE(std::regex_match(fDebug.str(), line)) << fDebug.str();
    std::string hashes = std::string(kHashes) + "\n";
    EXPECT_EQ(out, hashes +
                       "ORVEX::IComboHit id 0 charge 2 at (500000, 0, 0)\n"
                       " IHitSelection hits (Hit Handles) with 2 hits\n"
                       "  ORVEX::ISingleHit id 1 charge 1 at (0, 0, 0)\n"
                       "  ORVEX::ISingleHit id 2 charge 1 at (1e+06, 0, 0)\n" +
                       hashes + hashes);
    // The combo hit was neither returned nor deleted: it still holds its
    // members after the result is gone.
    result.reset();
    EXPECT_EQ(input[0].GetReferenceCount(), 2);
    EXPECT_EQ(input[1].GetReferenceCount(), 2);
    EXPECT_EQ(input[2].GetReferenceCount(), 1);
}

TEST_F(ChargeClusters2D, OutOfRangeErrorLineIsWrittenEvenWhenTheDebugLogIsSilent) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, TVector3(0.0, -1.0, 0.0));
    IHitSelection input = Selection({Hit(1.0, 0.0, 0, 0), Hit(1.0, 1000000.0, 0, 0)});
    IORVEXLog::ErrorPriority kept = IORVEXLog::GetDebugLevel();
    IORVEXLog::SetDebugLevel(IORVEXLog::SilentLevel);
    testing::internal::CaptureStdout();
    std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
    std::string out = testing::internal::GetCapturedStdout();
    IORVEXLog::SetDebugLevel(kept);
    EXPECT_TRUE(result->empty());
    EXPECT_NE(fDebug.str().find(": Combo hit position out of range\n"), std::string::npos)
        << fDebug.str();
    EXPECT_EQ(out.find(kHashes), 0u);
}

TEST_F(ChargeClusters2D, NullHandleThrowsFromTheComparator) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({Hit(1.0, 0, 0, 0), IHandle<IHit>()});
    EXPECT_THROW(clusterer(input), EHandleBadReference);
    std::regex line("ERROR: [^\n]*IHandle\\.hxx:[0-9]+: Referencing a NULL handle " +
                    std::string(typeid(IHit).name()) + "\n");
    EXPECT_TRUE(std::regex_match(fDebug.str(), line)) << fDebug.str();
    // The hit that was copied into the free list has been let go again.
    EXPECT_EQ(input[0].GetReferenceCount(), 1);
}

TEST_F(ChargeClusters2D, SingleNullHandleThrowsFromTheSeedStage) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({IHandle<IHit>()});
    EXPECT_THROW(clusterer(input), EHandleBadReference);
    EXPECT_NE(fDebug.str().find("Referencing a NULL handle"), std::string::npos);
}

TEST_F(ChargeClusters2D, CallsAreIndependent) {
    IChargeClusters2D clusterer(1.0, 1.0, 0.5, kAlongZ);
    IHitSelection input = Selection({Hit(2.0, 0, 0, 0), Hit(1.0, 0.5, 0, 0), Hit(1.0, 9, 0, 0)});
    EXPECT_EQ(Cluster(clusterer, input), "[0 1] [2]");
    EXPECT_EQ(Cluster(clusterer, input), "[0 1] [2]");
    EXPECT_EQ(input.size(), 3u);
}

// -------------------------------------------------------- random events

namespace {
    struct RandomSettings {
        double xGap, yGap, prec, ratio;
    };

    // The pair rule, written out independently: may `candidate` join a
    // cluster through `member`?
    bool Reaches(const RandomSettings& s, const IHandle<IHit>& member,
                 const IHandle<IHit>& candidate) {
        TVector3 d = candidate->GetPosition() - member->GetPosition();
        // Normal along Z: in-plane axes X and -Y, both of unit length.
        return std::abs(d.Z()) <= s.prec + 1e-12 &&
               candidate->GetCharge() <= s.ratio * member->GetCharge() &&
               std::abs(d.X()) <= s.xGap + 1e-12 && std::abs(d.Y()) <= s.yGap + 1e-12;
    }
}

// Hits spread evenly along Z, so that the plane order doesn't chain and
// the list order is whatever the merge sort makes of it: still no hit is
// taken twice, none of positive charge is lost, and every member joined
// through an earlier one.
TEST_F(ChargeClusters2D, RandomEventsWithoutLayersKeepTheInvariants) {
    gRandom->SetSeed(777);
    for (int event = 0; event < 3000; ++event) {
        RandomSettings s = {gRandom->Uniform(0.2, 2.0), gRandom->Uniform(0.2, 2.0),
                            gRandom->Uniform(0.0, 1.0), gRandom->Uniform(0.5, 3.0)};
        IChargeClusters2D clusterer(s.xGap, s.yGap, s.prec, kAlongZ);
        clusterer.SetChargeRatioCut(s.ratio);
        int count = gRandom->Integer(30);
        IHitSelection input;
        for (int i = 0; i < count; ++i) {
            double charge = gRandom->Rndm() < 0.1 ? 0.0 : gRandom->Exp(5.0);
            input.push_back(Hit(charge, gRandom->Uniform(0, 4), gRandom->Uniform(0, 4),
                                gRandom->Uniform(0, 4), i));
        }
        std::unique_ptr<IHitSelection> result = Apply(clusterer, input);
        std::vector<int> seen(count, 0);
        for (const IHandle<IHit>& entry : *result) {
            IHandle<IComboHit> combo(entry);
            ASSERT_TRUE(combo);
            const IHitSelection& members = combo->GetHits();
            EXPECT_GT(members.front()->GetCharge(), 0.0);
            for (std::size_t m = 0; m < members.size(); ++m) {
                ++seen[IndexOf(members[m], input)];
                bool reached = m == 0;
                for (std::size_t j = 0; j < m && !reached; ++j) {
                    reached = Reaches(s, members[j], members[m]);
                }
                EXPECT_TRUE(reached) << "event " << event << " member " << m;
            }
        }
        for (int i = 0; i < count; ++i) {
            EXPECT_LE(seen[i], 1) << "event " << event << " hit " << i;
            if (input[i]->GetCharge() > 0.0) EXPECT_EQ(seen[i], 1);
        }
        if (HasFailure()) break;
    }
}

// Hits lie in layers 1 apart along Z with a spread of 0.1, and prec is
// 0.3: hits of one layer are one plane, hits of two layers never are, so
// the list order is layer by layer, by descending charge inside a layer.
TEST_F(ChargeClusters2D, RandomEventsKeepTheInvariants) {
    gRandom->SetSeed(20261121);
    for (int event = 0; event < 3000; ++event) {
        RandomSettings s = {gRandom->Uniform(0.2, 2.0), gRandom->Uniform(0.2, 2.0), 0.3,
                            gRandom->Uniform(0.5, 3.0)};
        IChargeClusters2D clusterer(s.xGap, s.yGap, s.prec, kAlongZ);
        clusterer.SetChargeRatioCut(s.ratio);
        int count = 1 + gRandom->Integer(30);
        IHitSelection input;
        for (int i = 0; i < count; ++i) {
            double charge = gRandom->Rndm() < 0.1 ? 0.0 : gRandom->Exp(5.0);
            double layer = gRandom->Integer(5);
            input.push_back(Hit(charge, gRandom->Uniform(0, 5), gRandom->Uniform(0, 5),
                                layer + gRandom->Uniform(-0.05, 0.05), i));
        }
        std::unique_ptr<IHitSelection> result = Apply(clusterer, input);

        std::vector<int> seen(count, 0);
        int previousLayer = -1;
        double previousCharge = 0.0;
        for (const IHandle<IHit>& entry : *result) {
            IHandle<IComboHit> combo(entry);
            ASSERT_TRUE(combo);
            const IHitSelection& members = combo->GetHits();
            for (std::size_t m = 0; m < members.size(); ++m) {
                ++seen[IndexOf(members[m], input)];
                if (m == 0) continue;
                // Joined through one of the members that came before it.
                bool reached = false;
                for (std::size_t j = 0; j < m && !reached; ++j) {
                    reached = Reaches(s, members[j], members[m]);
                }
                EXPECT_TRUE(reached) << "event " << event << " member " << m;
            }
            // Seeds: positive charge, upward by layer, by charge inside one.
            const IHandle<IHit>& seed = members.front();
            int layer = static_cast<int>(std::lround(seed->GetPosition().Z()));
            EXPECT_GT(seed->GetCharge(), 0.0);
            EXPECT_GE(layer, previousLayer) << "event " << event;
            if (layer == previousLayer) EXPECT_LE(seed->GetCharge(), previousCharge);
            previousLayer = layer;
            previousCharge = seed->GetCharge();
        }
        for (int i = 0; i < count; ++i) {
            // No hit twice, and no hit of positive charge lost.
            EXPECT_LE(seen[i], 1) << "event " << event << " hit " << i;
            if (input[i]->GetCharge() > 0.0) EXPECT_EQ(seen[i], 1);
        }
        if (HasFailure()) break;
    }
}

// ----------------------------------------- equivalence with the literal walk

namespace {
    // The normals of the comparison table and a few more: along and against
    // each axis, scaled, near +Y, and oblique.
    TVector3 DrawNormal(TRandom3& random) {
        switch (random.Integer(9)) {
        case 0:
            return TVector3(0.0, 0.0, 1.0);
        case 1:
            return TVector3(0.0, 1.0, 0.0);
        case 2:
            return TVector3(0.0, -1.0, 0.0);
        case 3:
            return TVector3(0.0, 0.0, 2.0);
        case 4:
            return TVector3(1.0, 0.0, 0.0);
        case 5:
            return TVector3(0.0005, 1.0, 0.0);
        case 6:
            return TVector3(1.0, 1.0, 0.0);
        case 7:
            return TVector3(0.0, 0.0, -1.0);
        default:
            return TVector3(random.Gaus(), random.Gaus(), random.Gaus());
        }
    }

    template <class Clusterer>
    std::string ClusterText(Clusterer& clusterer, const IHitSelection& input) {
        std::unique_ptr<IHitSelection> result(clusterer(input));
        return comparison::DescribeSelection(*result, comparison::PlacesOf(input));
    }
}

TEST(ChargeClusters2DReference, RandomEventsGiveWhatTheLiteralWalkGives) {
    comparison::HardDraws draw(20261125);
    TRandom3& random = draw.Random();
    const double ratios[] = {10000.0, 1.2, 0.5, -1.0, std::numeric_limits<double>::quiet_NaN()};
    const int limits[] = {1000000, 0, 1, 2, 3, -1};
    for (int event = 0; event < 20000; ++event) {
        const double xGap = draw.Gap(), yGap = draw.Gap(), prec = draw.Gap();
        const TVector3 normal = DrawNormal(random);
        IHitSelection input = draw.Hits(draw.Size());
        IChargeClusters2D library(xGap, yGap, prec, normal);
        reference::LiteralChargeClusters2D literal(xGap, yGap, prec, normal);
        if (random.Integer(4) == 0) {
            const double ratio = ratios[random.Integer(5)];
            library.SetChargeRatioCut(ratio);
            literal.fChargeRatio = ratio;
        }
        if (random.Integer(4) == 0) {
            const int limit = limits[random.Integer(6)];
            library.SetMaxHitsToCluster(limit);
            literal.fMaxHitsToCluster = limit;
        }
        comparison::Observed fast =
            comparison::Observe([&] { return ClusterText(library, input); });
        comparison::Observed slow =
            comparison::Observe([&] { return ClusterText(literal, input); });
        comparison::ExpectSame(fast, slow, "event " + std::to_string(event));
        if (HasFailure()) break;
    }
}

TEST(ChargeClusters2DReference, LayeredEventGivesWhatTheLiteralWalkGives) {
    // Hits on layers 1 apart along Z with a band of 0.5: tracks crossing
    // the layers and noise, so that walks stop at the next layer.
    TRandom3 random(11);
    IHitSelection input("event", "Layers");
    for (int i = 0; i < 600; ++i) {
        double z = random.Integer(40);
        input.push_back(IHandle<IHit>(new ISingleHit(
            i, random.Landau(20, 3), TVector3(random.Uniform(0, 30), random.Uniform(0, 30), z))));
    }
    IChargeClusters2D library(1.5, 1.5, 0.5, TVector3(0.0, 0.0, 1.0));
    reference::LiteralChargeClusters2D literal(1.5, 1.5, 0.5, TVector3(0.0, 0.0, 1.0));
    EXPECT_EQ(ClusterText(library, input), ClusterText(literal, input));
}
