// Clusters grown down the charge slope in a box: the seeds, the pair test,
// the growth, the result order and the out-of-range report.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include <TRandom.h>
#include <TRandom3.h>

#include <IHitKinds.hxx>
#include <IORVEXLog.hxx>

#include <IChargeClusters.hxx>

#include "ChargeClustersReference.hxx"
#include "ClusterComparison.hxx"

using namespace ORVEX;

namespace {
    typedef std::vector<std::vector<int> > Ids;
    const double kNaN = std::numeric_limits<double>::quiet_NaN();

    IHandle<IHit> Hit(int id, double charge, double x, double y = 0.0, double z = 0.0) {
        return IHandle<IHit>(new ISingleHit(id, charge, TVector3(x, y, z)));
    }

    IHitSelection Selection(const std::vector<IHandle<IHit> >& content, const char* name = "hits") {
        IHitSelection selection(name, "Input hits");
        for (const IHandle<IHit>& hit : content) selection.push_back(hit);
        return selection;
    }

    std::unique_ptr<IHitSelection> Cluster(IChargeClusters& clusterer, const IHitSelection& hits) {
        return std::unique_ptr<IHitSelection>(clusterer(hits));
    }

    const IHitSelection& Members(const IHandle<IHit>& cluster) {
        IHandle<IComboHit> combo(cluster);
        return combo->GetHits();
    }

    // The channel ids of the members of each cluster, in result order and
    // in the order of adding.
    Ids ClusterIds(const IHitSelection& result) {
        Ids ids;
        for (const IHandle<IHit>& cluster : result) {
            std::vector<int> members;
            for (const IHandle<IHit>& member : Members(cluster)) {
                members.push_back(member->GetGeomId().AsInt());
            }
            ids.push_back(members);
        }
        return ids;
    }

    Ids ClusterOnce(double xGap, double yGap, double zGap,
                    const std::vector<IHandle<IHit> >& hits) {
        IChargeClusters clusterer(xGap, yGap, zGap);
        return ClusterIds(*Cluster(clusterer, Selection(hits)));
    }

    // Captures the debug stream for the life of the object.
    struct DebugCapture {
        std::ostringstream text;
        DebugCapture() { IORVEXLog::SetDebugStream(&text); }
        ~DebugCapture() { IORVEXLog::SetDebugStream(NULL); }
    };
}

// ---------------------------------------------------------------- basics

TEST(ChargeClusters, EmptySelectionGivesEmptySelectionNamedLikeTheInput) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHitSelection input("tpcHits", "Some title");
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    ASSERT_NE(result.get(), nullptr);
    EXPECT_TRUE(result->empty());
    EXPECT_STREQ(result->GetName(), "tpcHits");
    EXPECT_STREQ(result->GetTitle(), "Hit Handles");
}

TEST(ChargeClusters, ResultCarriesTheInputNameAndTheFixedTitle) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHitSelection input = Selection({Hit(1, 2.0, 0.0)}, "fgdHits");
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    EXPECT_STREQ(result->GetName(), "fgdHits");
    EXPECT_STREQ(result->GetTitle(), "Hit Handles");
}

TEST(ChargeClusters, OneHitGivesOneComboHitWithThatMember) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHandle<IHit> hit = Hit(4, 3.0, 1.0, 2.0, 3.0);
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, Selection({hit}));
    ASSERT_EQ(result->size(), 1u);
    IHandle<IComboHit> combo((*result)[0]);
    ASSERT_TRUE(combo);
    ASSERT_EQ(combo->GetHits().size(), 1u);
    EXPECT_TRUE(combo->GetHits()[0] == hit);
    // The combo hit was finished: it stands where its one member stands.
    EXPECT_EQ(combo->GetPosition(), TVector3(1.0, 2.0, 3.0));
    EXPECT_EQ(combo->GetCharge(), 3.0);
}

TEST(ChargeClusters, ZeroChargeHitAloneGivesNothingAndNoMessage) {
    DebugCapture debug;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Ids ids = ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 0.0, 0.0)});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(debug.text.str(), "");
    EXPECT_TRUE(ids.empty());
}

TEST(ChargeClusters, NegativeChargeHitAloneGivesNothing) {
    EXPECT_TRUE(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, -4.0, 0.0)}).empty());
}

TEST(ChargeClusters, NaNChargeHitIsNotDroppedAsASeed) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, kNaN, 0.0)}), (Ids{{1}}));
}

TEST(ChargeClusters, NaNCoordinateIsNotDroppedAsASeed) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 2.0, kNaN, 0.0, 0.0)}), (Ids{{1}}));
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(2, 2.0, 0.0, kNaN, 0.0)}), (Ids{{2}}));
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(3, 2.0, 0.0, 0.0, kNaN)}), (Ids{{3}}));
}

TEST(ChargeClusters, EveryClusterIsAComboHitAlsoWhenItHasOneHit) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHitSelection input = Selection({Hit(1, 5.0, 0.0), Hit(2, 4.0, 10.0), Hit(3, 3.0, 10.5)});
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    ASSERT_EQ(result->size(), 2u);
    for (const IHandle<IHit>& cluster : *result) EXPECT_TRUE(IHandle<IComboHit>(cluster));
    EXPECT_EQ(ClusterIds(*result), (Ids{{1}, {2, 3}}));
}

// ---------------------------------------------------------- charge slope

TEST(ChargeClusters, TenJoinsTwelve) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(10, 10.0, 0.0), Hit(12, 12.0, 0.5)}),
              (Ids{{12, 10}}));
}

TEST(ChargeClusters, TenAndThirteenJoinSinceTheLargerComesFirst) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(10, 10.0, 0.0), Hit(13, 13.0, 0.5)}),
              (Ids{{13, 10}}));
}

TEST(ChargeClusters, ChainThirteenFiveSevenStopsAtTheSlope) {
    // 13 at 0, 5 at 1, 7 at 2: the 7 lies outside the box of the 13 and is
    // above 1.2 times the 5, so it seeds a cluster of its own.
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(13, 13.0, 0.0), Hit(5, 5.0, 1.0), Hit(7, 7.0, 2.0)}),
              (Ids{{13, 5}, {7}}));
}

TEST(ChargeClusters, ChainThirteenFiveSevenJoinsWhenTheSevenIsInTheBoxOfTheThirteen) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(13, 13.0, 0.0), Hit(5, 5.0, -1.0), Hit(7, 7.0, 1.0)}),
              (Ids{{13, 7, 5}}));
}

TEST(ChargeClusters, ChargeOfExactlyTheSlopeTimesTheMemberPasses) {
    // 20 at 0 takes the 10 at 1; the 12 at 2 is out of the 20's box and
    // joins through the 10, 12 being exactly 1.2 times 10.
    EXPECT_EQ(
        ClusterOnce(1.0, 1.0, 1.0, {Hit(20, 20.0, 0.0), Hit(10, 10.0, 1.0), Hit(12, 12.0, 2.0)}),
        (Ids{{20, 10, 12}}));
}

TEST(ChargeClusters, ChargeJustAboveTheSlopeTimesTheMemberIsRejected) {
    double above = std::nextafter(12.0, 13.0);
    EXPECT_EQ(
        ClusterOnce(1.0, 1.0, 1.0, {Hit(20, 20.0, 0.0), Hit(10, 10.0, 1.0), Hit(12, above, 2.0)}),
        (Ids{{20, 10}, {12}}));
}

TEST(ChargeClusters, SmallHitJoinsALargeOneWhateverTheRatio) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 0.001, 0.0), Hit(2, 1000.0, 1.0)}), (Ids{{2, 1}}));
}

TEST(ChargeClusters, ChainAcrossTheSlopeGoesUpByAtMostTheFactorEachStep) {
    // 100 at 0 - 50 at 1 - 60 at 2 - 70 at 3: 60 <= 1.2 * 50, but
    // 70 > 1.2 * 50 and 70 <= 1.2 * 60; it joins through the 60.
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0,
                          {Hit(70, 70.0, 3.0), Hit(60, 60.0, 2.0), Hit(50, 50.0, 1.0),
                           Hit(100, 100.0, 0.0)}),
              (Ids{{100, 50, 60, 70}}));
}

// --------------------------------------------------------------- the box

TEST(ChargeClusters, HitsExactlyAGapApartJoinOnEachAxis) {
    // Distinct gaps per axis also pin the argument order X, Y, Z.
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 2.5)}), (Ids{{1, 2}}));
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 0.0, -4.0)}),
              (Ids{{1, 2}}));
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 0.0, 0.0, 8.0)}),
              (Ids{{1, 2}}));
}

TEST(ChargeClusters, HitsJustBeyondAGapStayApartOnEachAxis) {
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, std::nextafter(2.5, 3.0))}),
              (Ids{{1}, {2}}));
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 0.0, 4.5)}),
              (Ids{{1}, {2}}));
    EXPECT_EQ(ClusterOnce(2.5, 4.0, 8.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 0.0, 0.0, -8.5)}),
              (Ids{{1}, {2}}));
}

TEST(ChargeClusters, TheBoxIsPerAxisNotARadius) {
    // At (1, 1, 1) from the seed, outside a sphere of radius 1 but inside
    // the box of gaps 1.
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 1.0, 1.0, 1.0)}),
              (Ids{{1, 2}}));
}

TEST(ChargeClusters, NegativeGapsAdmitNoHitButTheSeed) {
    EXPECT_EQ(ClusterOnce(-1.0, -1.0, -1.0, {Hit(1, 2.0, 0.0), Hit(2, 1.0, 0.0), Hit(3, 3.0, 0.0)}),
              (Ids{{3}, {1}, {2}}));
}

// ------------------------------------------------ charge and range: seeds only

TEST(ChargeClusters, ZeroChargeHitInsideABoxBecomesAMember) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 0.0, 0.5), Hit(2, 3.0, 0.0)}), (Ids{{2, 1}}));
}

TEST(ChargeClusters, NegativeChargeHitInsideABoxBecomesAMember) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, -2.0, 0.5), Hit(2, 3.0, 0.0)}), (Ids{{2, 1}}));
}

TEST(ChargeClusters, ZeroChargeHitOutsideEveryBoxVanishes) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 0.0, 5.0), Hit(2, 3.0, 0.0)}), (Ids{{2}}));
}

TEST(ChargeClusters, SeedsAtExactlyTheRangeAreAccepted) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 1.0, 100000.0, 0.0, 0.0)}), (Ids{{1}}));
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(2, 1.0, 0.0, -100000.0, 0.0)}), (Ids{{2}}));
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(3, 1.0, 0.0, 0.0, 100000.0)}), (Ids{{3}}));
}

TEST(ChargeClusters, SeedsBeyondTheRangeAreDroppedSilently) {
    DebugCapture debug;
    testing::internal::CaptureStdout();
    double beyond = std::nextafter(100000.0, 200000.0);
    EXPECT_TRUE(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 1.0, beyond, 0.0, 0.0)}).empty());
    EXPECT_TRUE(ClusterOnce(1.0, 1.0, 1.0, {Hit(2, 1.0, 0.0, -beyond, 0.0)}).empty());
    EXPECT_TRUE(ClusterOnce(1.0, 1.0, 1.0, {Hit(3, 1.0, 0.0, 0.0, beyond)}).empty());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(debug.text.str(), "");
}

TEST(ChargeClusters, DroppedSeedDoesNotStopSmallerSeeds) {
    // The 9 is out of range and is dropped; the 4 seeds; the 2, at 0.5
    // from the 9, doesn't know about it and joins the 4.
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0,
                          {Hit(2, 2.0, 0.5), Hit(9, 9.0, 0.0, 0.0, 2e5), Hit(4, 4.0, 0.0)}),
              (Ids{{4, 2}}));
}

TEST(ChargeClusters, MemberBeyondTheRangeIsTakenIn) {
    // With wide gaps a hit at 150000 joins a heavy seed at 0; the combined
    // position stays in range, so the cluster is returned with it.
    EXPECT_EQ(ClusterOnce(2e5, 1.0, 1.0, {Hit(1, 1000.0, 0.0), Hit(2, 1.0, 150000.0)}),
              (Ids{{1, 2}}));
}

// -------------------------------------------------------- order of things

TEST(ChargeClusters, ResultIsInDescendingSeedChargeWithInputOrderAmongEquals) {
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0,
                          {Hit(1, 5.0, 0.0), Hit(2, 9.0, 10.0), Hit(3, 5.0, 20.0),
                           Hit(4, 7.0, 30.0), Hit(5, 5.0, 40.0), Hit(6, 9.0, 50.0)}),
              (Ids{{2}, {6}, {4}, {1}, {3}, {5}}));
}

TEST(ChargeClusters, EqualChargesKeepInputOrderAsSeedAndMember) {
    // Three hits of charge 4 at one place: the first in the input seeds,
    // the others join in input order.
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(7, 4.0, 0.0), Hit(3, 4.0, 0.0), Hit(5, 4.0, 0.0)}),
              (Ids{{7, 3, 5}}));
}

TEST(ChargeClusters, MembersComeInTheOrderOfTheirAdding) {
    // The 50 at 1 joins the seed; the 55 at 2 is out of the seed's box and
    // joins through the 50 afterwards, though its charge is higher.
    EXPECT_EQ(
        ClusterOnce(1.0, 1.0, 1.0, {Hit(55, 55.0, 2.0), Hit(50, 50.0, 1.0), Hit(100, 100.0, 0.0)}),
        (Ids{{100, 50, 55}}));
}

TEST(ChargeClusters, ClusterTakesEverythingReachableThroughAnyMember) {
    // A branching shape on a grid of pitch 1: reachable by steps along X or Y.
    EXPECT_EQ(
        ClusterOnce(1.0, 1.0, 0.1,
                    {Hit(1, 10.0, 0.0, 0.0), Hit(2, 9.0, 1.0, 0.0), Hit(3, 8.0, 2.0, 0.0),
                     Hit(4, 7.0, 2.0, 1.0), Hit(5, 6.0, 2.0, 2.0), Hit(6, 5.0, 3.0, 2.0),
                     Hit(7, 4.0, -1.0, 0.0), Hit(8, 3.0, 0.0, 0.0, 0.5), Hit(9, 2.0, 5.0, 2.0)}),
        (Ids{{1, 2, 7, 3, 4, 5, 6}, {8}, {9}}));
}

// ------------------------------------------- nothing but charge and position

TEST(ChargeClusters, ChannelAndMeasuredAxesDoNotCount) {
    IHandle<IHit> a(new ISingleHit(1, 2.0, TVector3(0, 0, 0), false, false, false));
    IHandle<IHit> b(new ISingleHit(1, 1.0, TVector3(0.5, 0, 0), true, false, true));
    IHandle<IHit> c(new ISingleHit(1, 1.0, TVector3(9.0, 0, 0)));
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {a, b, c}), (Ids{{1, 1}, {1}}));
}

// ------------------------------------------------------ input and sharing

TEST(ChargeClusters, InputIsLeftAsItIsAndItsHitsAreShared) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHitSelection input = Selection({Hit(1, 1.0, 0.0), Hit(2, 3.0, 0.5), Hit(3, 2.0, 9.0)}, "in");
    std::vector<TObject*> before;
    for (const IHandle<IHit>& hit : input) before.push_back(hit.GetPointerValue());
    {
        std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
        ASSERT_EQ(input.size(), 3u);
        for (std::size_t i = 0; i < input.size(); ++i) {
            EXPECT_EQ(input[i].GetPointerValue(), before[i]);
            // One reference in the input, one in a combo hit of the result.
            EXPECT_EQ(input[i].GetReferenceCount(), 2);
        }
        EXPECT_EQ(Members((*result)[0])[0].GetPointerValue(), before[1]);
        EXPECT_STREQ(input.GetName(), "in");
        EXPECT_STREQ(input.GetTitle(), "Input hits");
    }
    for (const IHandle<IHit>& hit : input) EXPECT_EQ(hit.GetReferenceCount(), 1);
}

TEST(ChargeClusters, TwoCallsOnOneObjectAreIndependent) {
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    IHitSelection input = Selection({Hit(1, 1.0, 0.0), Hit(2, 3.0, 0.5), Hit(3, 2.0, 9.0)});
    std::unique_ptr<IHitSelection> first = Cluster(clusterer, input);
    std::unique_ptr<IHitSelection> second = Cluster(clusterer, input);
    EXPECT_EQ(ClusterIds(*first), (Ids{{2, 1}, {3}}));
    EXPECT_EQ(ClusterIds(*second), ClusterIds(*first));
    EXPECT_NE((*first)[0].GetPointerValue(), (*second)[0].GetPointerValue());
}

// ------------------------------------------------------ the order of growing

TEST(ChargeClusters, MemberCursorResetsAfterAnAdditionWhileTheFreeCursorGoesOn) {
    // On X with gaps 1: S 100 at 0, M 90 at 1, W 85 at 10, X 80 at 2,
    // Y 70 at 1.5.  S takes M; the walk with M takes X, then goes on with S
    // from X on and finds nothing; the next walk with M takes Y.  W stays
    // alone.
    IHitSelection input = Selection({Hit(1, 100.0, 0.0), Hit(2, 90.0, 1.0), Hit(3, 85.0, 10.0),
                                     Hit(4, 80.0, 2.0), Hit(5, 70.0, 1.5)});
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    EXPECT_EQ(ClusterIds(*Cluster(clusterer, input)), (Ids{{1, 2, 4, 5}, {3}}));
}

TEST(ChargeClusters, LaterMembersTakeTheirJoinersAfterEarlierOnes) {
    // S 100 at 0 takes A 50 at 1 and B 40 at -1 (in list order); A then
    // takes C 30 at 2, B takes D 35 at -2 although D comes before C in the
    // list.
    IHitSelection input = Selection({Hit(1, 100.0, 0.0), Hit(2, 50.0, 1.0), Hit(3, 40.0, -1.0),
                                     Hit(4, 30.0, 2.0), Hit(5, 35.0, -2.0)});
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    EXPECT_EQ(ClusterIds(*Cluster(clusterer, input)), (Ids{{1, 2, 3, 4, 5}}));
}

// ----------------------------------------- equivalence with the literal walk

namespace {
    std::string ClusterText(IChargeClusters& clusterer, const IHitSelection& input) {
        std::unique_ptr<IHitSelection> result(clusterer(input));
        return comparison::DescribeSelection(*result, comparison::PlacesOf(input));
    }

    std::string ClusterText(const reference::LiteralChargeClusters& clusterer,
                            const IHitSelection& input) {
        std::unique_ptr<IHitSelection> result(clusterer(input));
        return comparison::DescribeSelection(*result, comparison::PlacesOf(input));
    }
}

TEST(ChargeClusters, RandomEventsGiveWhatTheLiteralReferenceWalkGives) {
    comparison::HardDraws draw(20261124);
    for (int event = 0; event < 20000; ++event) {
        const double xGap = draw.Gap(), yGap = draw.Gap(), zGap = draw.Gap();
        IHitSelection input = draw.Hits(draw.Size());
        IChargeClusters library(xGap, yGap, zGap);
        reference::LiteralChargeClusters literal(xGap, yGap, zGap);
        comparison::Observed fast =
            comparison::Observe([&] { return ClusterText(library, input); });
        comparison::Observed slow =
            comparison::Observe([&] { return ClusterText(literal, input); });
        comparison::ExpectSame(fast, slow, "event " + std::to_string(event));
        if (HasFailure()) break;
    }
}

TEST(ChargeClusters, BenchLikeEventGivesWhatTheLiteralReferenceWalkGives) {
    // Long tracks of hits 8 apart with gaps of 12, showers and noise: long
    // chains and many cells, as in a real event.
    TRandom3 random(7);
    IHitSelection input("event", "Tracks and noise");
    for (int track = 0; track < 6; ++track) {
        TVector3 start(random.Uniform(0, 300), random.Uniform(0, 300), random.Uniform(0, 300));
        TVector3 step;
        random.Sphere(step[0], step[1], step[2], 8.0);
        for (int i = 0; i < 40; ++i)
            input.push_back(Hit(input.size(), random.Landau(20, 3), (start + i * step).X(),
                                (start + i * step).Y(), (start + i * step).Z()));
    }
    for (int i = 0; i < 200; ++i)
        input.push_back(Hit(input.size(), random.Uniform(1, 6), random.Uniform(0, 300),
                            random.Uniform(0, 300), random.Uniform(0, 300)));
    IChargeClusters library(12.0, 12.0, 12.0);
    reference::LiteralChargeClusters literal(12.0, 12.0, 12.0);
    EXPECT_EQ(ClusterText(library, input), ClusterText(literal, input));
}

// -------------------------------------------------- out-of-range combo hits

namespace {
    const char* kRule = "##############################################\n";
}

TEST(ChargeClusters, ComboHitOutOfRangeIsReportedAndLeftOut) {
    // Wide gaps on X: the 10 at 0 takes the 10 at 300000, and their combo
    // hit stands at 150000.  The 5 at y = 50 makes a cluster of its own.
    IHitSelection input =
        Selection({Hit(3, 10.0, 0.0), Hit(4, 10.0, 300000.0), Hit(5, 5.0, 0.0, 50.0)}, "ev");
    IChargeClusters clusterer(1e6, 1.0, 1e6);
    DebugCapture debug;
    testing::internal::CaptureStdout();
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    std::string out = testing::internal::GetCapturedStdout();

    // The build names the source by its full path.
    const std::string source = std::string(OVUTILITY_SOURCE_DIR) + "/src/IChargeClusters.cxx";
    const std::string line = debug.text.str();
    const std::string head = "ERROR: " + source + ":";
    const std::string tail = ": Combo hit position out of range.\n";
    ASSERT_GT(line.size(), head.size() + tail.size()) << line;
    EXPECT_EQ(line.substr(0, head.size()), head);
    EXPECT_EQ(line.substr(line.size() - tail.size()), tail);
    const std::string number = line.substr(head.size(), line.size() - head.size() - tail.size());
    EXPECT_TRUE(std::regex_match(number, std::regex("[0-9]+"))) << line;
    EXPECT_EQ(out, std::string(kRule) +
                       "ORVEX::IComboHit id 0 charge 20 at (150000, 0, 0)\n"
                       " IHitSelection hits (Hit Handles) with 2 hits\n"
                       "  ORVEX::ISingleHit id 3 charge 10 at (0, 0, 0)\n"
                       "  ORVEX::ISingleHit id 4 charge 10 at (300000, 0, 0)\n" +
                       kRule);
    // Its members are lost to the result; clustering went on.
    EXPECT_EQ(ClusterIds(*result), (Ids{{5}}));
    result.reset();
    // The combo hit was neither handed to a handle nor deleted: it still
    // holds its members.
    EXPECT_EQ(input[0].GetReferenceCount(), 2);
    EXPECT_EQ(input[1].GetReferenceCount(), 2);
    EXPECT_EQ(input[2].GetReferenceCount(), 1);
}

TEST(ChargeClusters, ReportComesErrorLineFirstThenTheListingBetweenRules) {
    // With the debug stream on standard output, the order of the report's
    // four parts shows in one text.
    IHitSelection input = Selection({Hit(3, 10.0, 0.0), Hit(4, 10.0, 300000.0)});
    IChargeClusters clusterer(1e6, 1.0, 1e6);
    testing::internal::CaptureStdout();
    IORVEXLog::SetDebugStream(&std::cout);
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    IORVEXLog::SetDebugStream(NULL);
    std::string out = testing::internal::GetCapturedStdout();
    const std::string error = ": Combo hit position out of range.\n";
    std::size_t errorEnd = out.find(error);
    ASSERT_NE(errorEnd, std::string::npos) << out;
    errorEnd += error.size();
    EXPECT_EQ(out.rfind("ERROR: ", 0), 0u) << out;
    EXPECT_EQ(out.substr(errorEnd), std::string(kRule) +
                                        "ORVEX::IComboHit id 0 charge 20 at (150000, 0, 0)\n"
                                        " IHitSelection hits (Hit Handles) with 2 hits\n"
                                        "  ORVEX::ISingleHit id 3 charge 10 at (0, 0, 0)\n"
                                        "  ORVEX::ISingleHit id 4 charge 10 at (300000, 0, 0)\n" +
                                        kRule);
    EXPECT_TRUE(result->empty());
}

TEST(ChargeClusters, ErrorLineIsWrittenWhateverTheDebugLevel) {
    IHitSelection input = Selection({Hit(3, 10.0, 0.0), Hit(4, 10.0, 300000.0)});
    IChargeClusters clusterer(1e6, 1.0, 1e6);
    IORVEXLog::ErrorPriority level = IORVEXLog::GetDebugLevel();
    IORVEXLog::SetDebugLevel(IORVEXLog::SilentLevel);
    DebugCapture debug;
    testing::internal::CaptureStdout();
    std::unique_ptr<IHitSelection> result = Cluster(clusterer, input);
    testing::internal::GetCapturedStdout();
    IORVEXLog::SetDebugLevel(level);
    EXPECT_NE(debug.text.str().find("Combo hit position out of range."), std::string::npos);
    EXPECT_TRUE(result->empty());
}

TEST(ChargeClusters, ComboHitAtExactlyTheRangeIsReturned) {
    DebugCapture debug;
    EXPECT_EQ(ClusterOnce(1.0, 1.0, 1.0, {Hit(1, 4.0, -100000.0, 100000.0, 100000.0)}), (Ids{{1}}));
    EXPECT_EQ(debug.text.str(), "");
}

// ------------------------------------------------------------ null handles

namespace {
    std::string NullHandleLine() {
        return std::string(": Referencing a NULL handle ") + typeid(IHit).name() + "\n";
    }

    bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() &&
               text.compare(text.size() - end.size(), end.size(), end) == 0;
    }
}

TEST(ChargeClusters, NullHandleAmongHitsThrowsFromTheSort) {
    IHitSelection input = Selection({Hit(1, 1.0, 0.0), IHandle<IHit>(), Hit(2, 2.0, 0.0)});
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    DebugCapture debug;
    EXPECT_THROW(clusterer(input), EHandleBadReference);
    EXPECT_EQ(debug.text.str().rfind("ERROR: ", 0), 0u);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLine())) << debug.text.str();
    // The working list is gone: the input's hits are referred to only by it.
    EXPECT_EQ(input[0].GetReferenceCount(), 1);
    EXPECT_EQ(input[2].GetReferenceCount(), 1);
    EXPECT_EQ(input.size(), 3u);
}

TEST(ChargeClusters, SingleNullHandleThrowsFromTheSeedStage) {
    IHitSelection input = Selection({IHandle<IHit>()});
    IChargeClusters clusterer(1.0, 1.0, 1.0);
    DebugCapture debug;
    EXPECT_THROW(clusterer(input), EHandleBadReference);
    EXPECT_TRUE(EndsWith(debug.text.str(), NullHandleLine()));
}

// ------------------------------------------------------ random invariants

namespace {
    struct RandomHit {
        double charge, x, y, z;
    };

    // The pair rule, written out: the candidate may have up to 1.2 times
    // the member's charge, and lies within the gaps of it on every axis.
    bool PairPasses(const RandomHit& candidate, const RandomHit& member, const double gap[3]) {
        return candidate.charge <= 1.2 * member.charge &&
               std::fabs(candidate.x - member.x) <= gap[0] &&
               std::fabs(candidate.y - member.y) <= gap[1] &&
               std::fabs(candidate.z - member.z) <= gap[2];
    }

    // Coarse values so that ties of charge and distances equal to a gap
    // come up often.
    RandomHit DrawHit() {
        RandomHit hit;
        hit.charge = gRandom->Integer(12) - 2;  // -2 .. 9
        hit.x = 0.5 * gRandom->Integer(13);
        hit.y = 0.5 * gRandom->Integer(13);
        hit.z = 0.5 * gRandom->Integer(5);
        return hit;
    }

    // True when hit a comes before hit b in the order of seeding: higher
    // charge first, input order among equals.
    bool SeedsBefore(const std::vector<RandomHit>& hits, int a, int b) {
        if (hits[a].charge != hits[b].charge) return hits[a].charge > hits[b].charge;
        return a < b;
    }

    void CheckEvent(const std::vector<RandomHit>& hits, const double gap[3],
                    const IHitSelection& input, const IHitSelection& result) {
        std::map<TObject*, int> indexOf;
        for (std::size_t i = 0; i < input.size(); ++i) indexOf[input[i].GetPointerValue()] = i;

        std::vector<std::vector<int> > clusters;
        std::vector<int> clusterOf(hits.size(), -1);
        for (const IHandle<IHit>& cluster : result) {
            std::vector<int> members;
            for (const IHandle<IHit>& member : Members(cluster)) {
                ASSERT_EQ(indexOf.count(member.GetPointerValue()), 1u);
                int index = indexOf[member.GetPointerValue()];
                // No hit in two clusters, nor twice in one.
                ASSERT_EQ(clusterOf[index], -1);
                clusterOf[index] = clusters.size();
                members.push_back(index);
            }
            ASSERT_FALSE(members.empty());
            clusters.push_back(members);
        }

        for (std::size_t c = 0; c < clusters.size(); ++c) {
            const std::vector<int>& members = clusters[c];
            int seed = members[0];
            ASSERT_GT(hits[seed].charge, 0.0);
            // The seed comes first among the hits that no earlier cluster
            // took, and the clusters are in seeding order.
            for (std::size_t i = 0; i < hits.size(); ++i) {
                bool takenBefore = clusterOf[i] >= 0 && clusterOf[i] < static_cast<int>(c);
                if (!takenBefore && static_cast<int>(i) != seed) {
                    ASSERT_TRUE(SeedsBefore(hits, seed, i));
                }
            }
            // Every member after the seed is within reach of a member
            // added before it.
            for (std::size_t k = 1; k < members.size(); ++k) {
                bool reached = false;
                for (std::size_t j = 0; j < k && !reached; ++j) {
                    reached = PairPasses(hits[members[k]], hits[members[j]], gap);
                }
                ASSERT_TRUE(reached);
            }
            // No hit left free after this cluster is within reach of it.
            for (std::size_t i = 0; i < hits.size(); ++i) {
                if (clusterOf[i] >= 0 && clusterOf[i] <= static_cast<int>(c)) continue;
                for (int member : members) ASSERT_FALSE(PairPasses(hits[i], hits[member], gap));
            }
        }
        // Nothing of positive charge is lost (all positions are in range).
        for (std::size_t i = 0; i < hits.size(); ++i) {
            if (hits[i].charge > 0.0) ASSERT_GE(clusterOf[i], 0);
        }
    }
}

TEST(ChargeClusters, RandomEventsKeepTheInvariants) {
    gRandom->SetSeed(20261121);
    for (int event = 0; event < 3000; ++event) {
        double gap[3];
        for (double& g : gap) g = 0.5 * gRandom->Integer(5);
        std::vector<RandomHit> hits(gRandom->Integer(40));
        IHitSelection input("random", "Random hits");
        for (std::size_t i = 0; i < hits.size(); ++i) {
            hits[i] = DrawHit();
            input.push_back(IHandle<IHit>(
                new ISingleHit(i, hits[i].charge, TVector3(hits[i].x, hits[i].y, hits[i].z))));
        }
        IChargeClusters clusterer(gap[0], gap[1], gap[2]);
        std::unique_ptr<IHitSelection> result(clusterer(input));
        CheckEvent(hits, gap, input, *result);
        if (HasFatalFailure()) {
            FAIL() << "event " << event << " with " << hits.size() << " hits";
        }
    }
}
