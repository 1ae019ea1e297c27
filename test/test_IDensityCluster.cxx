// The density clusterer: its metric, neighbours, seed choice, queue growth,
// sorting and pruning, the state kept across calls, and invariants over
// random events.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <TRandom.h>

#include <IORVEXLog.hxx>

#include <IDensityCluster.hxx>

#include "ClusterComparison.hxx"
#include "DensityClusterReference.hxx"

using namespace ORVEX;

namespace {
    // A hit that measures Y (and X): its transverse coordinate is Y.
    IHandle<IHit> Hit(double z, double y) {
        return IHandle<IHit>(new ISingleHit(0, 1.0, TVector3(-77.0, y, z), true, true));
    }

    IHandle<IHit> HitMeasuring(bool x, bool y, const TVector3& position) {
        return IHandle<IHit>(new ISingleHit(0, 1.0, position, x, y));
    }

    IHitSelection Selection(const std::vector<IHandle<IHit> >& content) {
        IHitSelection selection("input", "Input Hits");
        for (const IHandle<IHit>& hit : content) selection.push_back(hit);
        return selection;
    }

    // Three hits in a row along Z, 1 apart, with epsilon 1.5: the middle
    // one is the neighbour of both ends, the ends aren't neighbours.
    IHitSelection ThreeInARow() {
        return Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(2.0, 0.0)});
    }

    int IndexOf(const IHandle<IHit>& hit, const IHitSelection& input) {
        for (std::size_t i = 0; i < input.size(); ++i) {
            if (input[i] == hit) return static_cast<int>(i);
        }
        return -1;
    }

    // A selection written as the input indices of its hits, e.g. "[1 0]".
    std::string Describe(const IHitSelection& selection, const IHitSelection& input) {
        std::ostringstream text;
        text << "[";
        for (std::size_t i = 0; i < selection.size(); ++i) {
            text << (i > 0 ? " " : "") << IndexOf(selection[i], input);
        }
        text << "]";
        return text.str();
    }

    // The protected steps made reachable for the tests.
    class OpenDensityCluster : public IDensityCluster {
    public:
        OpenDensityCluster(unsigned int minPts, double epsilon)
            : IDensityCluster(minPts, epsilon) {}
        using IDensityCluster::CalculateDistance;
        using IDensityCluster::FindSeeds;
        using IDensityCluster::GetNeighbors;
    };

    std::string Clusters(const IDensityCluster& clusterer, const IHitSelection& input) {
        std::string text;
        for (unsigned int i = 0; i < clusterer.GetClusterCount(); ++i) {
            text += (i > 0 ? " " : "") + Describe(clusterer.GetCluster(i), input);
        }
        return text;
    }
}

// ------------------------------------------------------------- metric

TEST(DensityCluster, DistanceUsesZAndTheMeasuredTransverseCoordinate) {
    OpenDensityCluster clusterer(1, 1.0);
    // 3 along Z, 4 along the transverse coordinate: 5 exactly.
    IHandle<IHit> both = HitMeasuring(true, true, TVector3(100.0, 4.0, 3.0));
    IHandle<IHit> onlyY = HitMeasuring(false, true, TVector3(-100.0, 0.0, 0.0));
    IHandle<IHit> onlyX = HitMeasuring(true, false, TVector3(4.0, 100.0, 0.0));
    IHandle<IHit> neither = HitMeasuring(false, false, TVector3(50.0, 60.0, 3.0));
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(both, onlyY), 5.0);     // Y wins over X
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(onlyX, both), 3.0);     // 4 against 4
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(onlyX, onlyY), 4.0);    // X and Y on one axis
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(neither, onlyY), 3.0);  // transverse 0
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(neither, both), 4.0);
    EXPECT_DOUBLE_EQ(clusterer.CalculateDistance(onlyY, onlyY), 0.0);
}

TEST(DensityCluster, HitMeasuringNeitherIsNearHitsOfSmallTransverseCoordinate) {
    // Far away in X and Y, yet at distance 0.3 from a hit at y 0.3 of the
    // same Z, and so its neighbour.
    IHandle<IHit> neither = HitMeasuring(false, false, TVector3(500.0, -800.0, 1.0));
    IHandle<IHit> near = HitMeasuring(false, true, TVector3(0.0, 0.3, 1.0));
    IHandle<IHit> far = HitMeasuring(false, true, TVector3(0.0, 2.0, 1.0));
    OpenDensityCluster clusterer(2, 0.5);
    EXPECT_NEAR(clusterer.CalculateDistance(neither, near), 0.3, 1e-15);
    IHitSelection input = Selection({neither, near, far});
    clusterer.Cluster(input);
    EXPECT_EQ(Clusters(clusterer, input), "[1 0]");
    EXPECT_EQ(clusterer.ls(), 3u);
}

// ---------------------------------------------------------- neighbours

TEST(DensityCluster, NeighboursKeepTheOrderOfTheHitsAndLeaveOutTheHitItself) {
    OpenDensityCluster clusterer(1, 1.5);
    IHitSelection input =
        Selection({Hit(2.0, 0.0), Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(0.5, 0.5), Hit(9.0, 0.0)});
    IHitSelection neighbours = clusterer.GetNeighbors(input[2], input);
    EXPECT_EQ(Describe(neighbours, input), "[0 1 3]");
    EXPECT_STREQ(neighbours.GetName(), "hits");
    EXPECT_STREQ(neighbours.GetTitle(), "Hit Handles");
    // A hit that isn't in the selection loses nothing from it.
    IHitSelection others = Selection({input[0], input[1], input[4]});
    EXPECT_EQ(Describe(clusterer.GetNeighbors(input[2], others), input), "[0 1]");
}

TEST(DensityCluster, HitsExactlyEpsilonApartAreNoNeighbours) {
    IHitSelection input = Selection({Hit(0.0, 0.0), Hit(3.0, 4.0)});
    OpenDensityCluster exact(2, 5.0);
    EXPECT_TRUE(exact.GetNeighbors(input[0], input).empty());
    exact.Cluster(input);
    EXPECT_EQ(exact.GetClusterCount(), 0u);
    EXPECT_EQ(exact.ls(), 2u);
    OpenDensityCluster wider(2, 5.000001);
    EXPECT_EQ(wider.GetNeighbors(input[0], input).size(), 1u);
    wider.Cluster(input);
    EXPECT_EQ(Clusters(wider, input), "[1 0]");
}

TEST(DensityCluster, HandleStandingTwiceIsItsOwnNeighbourUnlessEpsilonIsZero) {
    IHandle<IHit> hit = Hit(0.0, 0.0);
    IHitSelection twice = Selection({hit, Hit(10.0, 0.0), hit});
    OpenDensityCluster positive(1, 0.1);
    IHitSelection neighbours = positive.GetNeighbors(hit, twice);
    ASSERT_EQ(neighbours.size(), 1u);
    EXPECT_TRUE(neighbours[0] == hit);
    OpenDensityCluster zero(1, 0.0);
    EXPECT_TRUE(zero.GetNeighbors(hit, twice).empty());
}

// --------------------------------------------------------------- seeds

TEST(DensityCluster, SeedsAreTheNeighboursInOrderFollowedByTheCentre) {
    OpenDensityCluster clusterer(1, 1.5);
    // The first hit (z 0) has no neighbour.  Hit 1 (z 6) has two, 2 and 4,
    // and takes its place; hits 2 and 4 have three, not above 2 + 1.
    IHitSelection input =
        Selection({Hit(0.0, 0.0), Hit(6.0, 0.0), Hit(5.0, 0.0), Hit(4.0, 0.0), Hit(5.0, 1.0)});
    EXPECT_EQ(Describe(clusterer.FindSeeds(input), input), "[2 4 1]");
}

TEST(DensityCluster, BestSeedIsDisplacedOnlyByTwoNeighboursMore) {
    OpenDensityCluster clusterer(1, 1.5);
    // The first hit has one neighbour (size 2 with its centre).  Hit 2 has
    // two, which isn't above 2: the first hit stays the centre.
    IHitSelection oneMore =
        Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(20.0, 0.0), Hit(19.0, 0.0), Hit(21.0, 0.0)});
    EXPECT_EQ(Describe(clusterer.FindSeeds(oneMore), oneMore), "[1 0]");
    // With three neighbours hit 2 displaces it.
    IHitSelection twoMore = Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(20.0, 0.0), Hit(19.0, 0.0),
                                       Hit(21.0, 0.0), Hit(20.0, 1.0)});
    EXPECT_EQ(Describe(clusterer.FindSeeds(twoMore), twoMore), "[3 4 5 2]");
}

TEST(DensityCluster, AmongEqualCountsTheEarliestCentreStays) {
    OpenDensityCluster clusterer(1, 1.5);
    // Hits 0 and 2 each have one neighbour; so do 1 and 3.  Hit 0 stays.
    IHitSelection input = Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(10.0, 0.0), Hit(11.0, 0.0)});
    EXPECT_EQ(Describe(clusterer.FindSeeds(input), input), "[1 0]");
}

// ------------------------------------------------------------ clustering

TEST(DensityCluster, EmptySelectionLeavesNoClusters) {
    IDensityCluster clusterer(1, 1.0);
    clusterer.Cluster(IHitSelection());
    EXPECT_EQ(clusterer.GetClusterCount(), 0u);
    EXPECT_EQ(clusterer.ls(), 0u);
}

TEST(DensityCluster, OneHitWithMinPtsOneIsAClusterOfItsOwn) {
    IDensityCluster clusterer(1, 1.0);
    IHitSelection input = Selection({Hit(0.0, 0.0)});
    clusterer.Cluster(input);
    EXPECT_EQ(Clusters(clusterer, input), "[0]");
    // ls counts the cluster's hit and nothing left over.
    EXPECT_EQ(clusterer.ls(), 1u);
    EXPECT_STREQ(clusterer.GetCluster(0).GetName(), "hits");
    EXPECT_STREQ(clusterer.GetCluster(0).GetTitle(), "Hit Handles");
}

TEST(DensityCluster, OneHitWithMinPtsTwoStaysInTheRemainder) {
    IDensityCluster clusterer(2, 1.0);
    IHitSelection input = Selection({Hit(0.0, 0.0)});
    clusterer.Cluster(input);
    EXPECT_EQ(clusterer.GetClusterCount(), 0u);
    // ls only counts: it prints nothing anywhere.
    std::ostringstream debug, log;
    IORVEXLog::SetDebugStream(&debug);
    IORVEXLog::SetLogStream(&log);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(clusterer.ls(), 1u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    IORVEXLog::SetDebugStream(NULL);
    IORVEXLog::SetLogStream(NULL);
    EXPECT_EQ(debug.str() + log.str(), "");
}

TEST(DensityCluster, EpsilonZeroMakesEveryHitAClusterOfOne) {
    // Even hits at one place: the distance must be below 0.
    IHitSelection input = Selection({Hit(0.0, 0.0), Hit(0.0, 0.0), Hit(1.0, 0.0)});
    for (unsigned int minPts = 0; minPts <= 1; ++minPts) {
        IDensityCluster clusterer(minPts, 0.0);
        clusterer.Cluster(input);
        ASSERT_EQ(clusterer.GetClusterCount(), 3u) << "MinPts " << minPts;
        std::set<int> seen;
        for (unsigned int i = 0; i < 3; ++i) {
            ASSERT_EQ(clusterer.GetCluster(i).size(), 1u);
            seen.insert(IndexOf(clusterer.GetCluster(i)[0], input));
        }
        EXPECT_EQ(seen, (std::set<int>{0, 1, 2}));
        EXPECT_EQ(clusterer.ls(), 3u);
    }
}

TEST(DensityCluster, SeedCountsItsCentreButGrowthDoesNot) {
    // Two neighbours: a seed of size 2 passes MinPts 2, not MinPts 3.
    IHitSelection pair = Selection({Hit(0.0, 0.0), Hit(1.0, 0.0)});
    IDensityCluster two(2, 1.5);
    two.Cluster(pair);
    EXPECT_EQ(Clusters(two, pair), "[1 0]");
    IDensityCluster three(3, 1.5);
    three.Cluster(pair);
    EXPECT_EQ(three.GetClusterCount(), 0u);
    EXPECT_EQ(three.ls(), 2u);
}

// The middle hit has two neighbours, which doesn't displace the first
// hit's one (size 2 with the centre).  The seeds are the middle and the
// first hit; growing from the middle hit finds the third as its only free
// neighbour, one below MinPts 2; the third then fails as a seed of size 1.
TEST(DensityCluster, ThreeInARowWithMinPtsTwoGiveAClusterOfTwoAndARemainderOfOne) {
    IHitSelection input = ThreeInARow();
    IDensityCluster clusterer(2, 1.5);
    clusterer.Cluster(input);
    EXPECT_EQ(Clusters(clusterer, input), "[1 0]");
    EXPECT_EQ(clusterer.ls(), 3u);
}

TEST(DensityCluster, ThreeInARowWithMinPtsOneGiveOneClusterOfThree) {
    IHitSelection input = ThreeInARow();
    IDensityCluster clusterer(1, 1.5);
    clusterer.Cluster(input);
    EXPECT_EQ(Clusters(clusterer, input), "[1 0 2]");
    EXPECT_EQ(clusterer.ls(), 3u);
}

// With MinPts 3 the best seed is the first hit with size 2, too small, and
// the loop ends: the middle hit, which would make a seed of three, isn't
// tried.
TEST(DensityCluster, SeedStageEndsAtTheFirstTooSmallSeed) {
    IHitSelection input = ThreeInARow();
    OpenDensityCluster clusterer(3, 1.5);
    EXPECT_EQ(Describe(clusterer.FindSeeds(input), input), "[1 0]");
    clusterer.Cluster(input);
    EXPECT_EQ(clusterer.GetClusterCount(), 0u);
    EXPECT_EQ(clusterer.ls(), 3u);
}

TEST(DensityCluster, MinClusterSizeDropsSmallClustersAndTheirHits) {
    IHitSelection input = ThreeInARow();
    IDensityCluster clusterer(2, 1.5);
    clusterer.SetMinClusterSize(3);
    clusterer.Cluster(input);
    EXPECT_EQ(clusterer.GetClusterCount(), 0u);
    // The pair is in neither the clusters nor the remainder: 3 - 2.
    EXPECT_EQ(clusterer.ls(), 1u);
}

// Five hits 1 apart in a row, MinPts 2, epsilon 1.5.  The density is
// counted among free hits: after each seed pair is taken, its inner hit
// has one free neighbour only, so the row falls into two pairs and a
// remainder instead of one cluster of five.
TEST(DensityCluster, DensityIsCountedAmongFreeHitsOnly) {
    IHitSelection input =
        Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(2.0, 0.0), Hit(3.0, 0.0), Hit(4.0, 0.0)});
    IDensityCluster clusterer(2, 1.5);
    clusterer.Cluster(input);
    ASSERT_EQ(clusterer.GetClusterCount(), 2u);
    std::set<std::string> clusters = {Describe(clusterer.GetCluster(0), input),
                                      Describe(clusterer.GetCluster(1), input)};
    EXPECT_EQ(clusters, (std::set<std::string>{"[1 0]", "[3 2]"}));
    EXPECT_EQ(clusterer.ls(), 5u);
}

// A cross: hit 0 at the centre with four arms of two hits.  The centre is
// the seed with its four inner neighbours; each inner hit then has its
// outer hit as the only free neighbour, one below MinPts 2.  With MinPts 1
// the queue takes the outer hits in the order of the inner ones.
TEST(DensityCluster, QueueGrowsInTheOrderOfTheSeeds) {
    IHitSelection input =
        Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(-1.0, 0.0), Hit(0.0, 1.0), Hit(0.0, -1.0),
                   Hit(2.0, 0.0), Hit(-2.0, 0.0), Hit(0.0, 2.0), Hit(0.0, -2.0)});
    IDensityCluster two(2, 1.2);
    two.Cluster(input);
    EXPECT_EQ(Clusters(two, input), "[1 2 3 4 0]");
    EXPECT_EQ(two.ls(), 9u);
    IDensityCluster one(1, 1.2);
    one.Cluster(input);
    EXPECT_EQ(Clusters(one, input), "[1 2 3 4 0 5 6 7 8]");
}

TEST(DensityCluster, ClustersComeLargestFirst) {
    // A pair given first, a triple after it, far apart.
    IHitSelection input = Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(50.0, 0.0), Hit(51.0, 0.0),
                                     Hit(50.0, 1.0), Hit(100.0, 0.0)});
    IDensityCluster clusterer(1, 1.5);
    clusterer.Cluster(input);
    EXPECT_EQ(Clusters(clusterer, input), "[3 4 2] [1 0] [5]");
}

TEST(DensityCluster, ResultsAreKeptAndExtendedByALaterCall) {
    IHitSelection first = Selection({Hit(0.0, 0.0), Hit(1.0, 0.0), Hit(10.0, 0.0)});
    IDensityCluster clusterer(2, 1.5);
    clusterer.Cluster(first);
    EXPECT_EQ(Clusters(clusterer, first), "[1 0]");
    EXPECT_EQ(clusterer.ls(), 3u);

    // The left-over hit at z 10 comes first in the remainder and is the
    // centre, with the new hits as its neighbours; the new cluster of three
    // sorts before the old pair.
    IHitSelection second = Selection({Hit(11.0, 0.0), Hit(10.5, 0.5)});
    clusterer.Cluster(second);
    ASSERT_EQ(clusterer.GetClusterCount(), 2u);
    EXPECT_EQ(Describe(clusterer.GetCluster(1), first), "[1 0]");
    const IHitSelection& grown = clusterer.GetCluster(0);
    ASSERT_EQ(grown.size(), 3u);
    EXPECT_TRUE(grown[0] == second[0]);
    EXPECT_TRUE(grown[1] == second[1]);
    EXPECT_TRUE(grown[2] == first[2]);
    EXPECT_EQ(clusterer.ls(), 5u);

    // Pruning covers the old clusters too.
    clusterer.SetMinClusterSize(3);
    clusterer.Cluster(IHitSelection());
    EXPECT_EQ(clusterer.GetClusterCount(), 1u);
    EXPECT_EQ(clusterer.ls(), 3u);
}

TEST(DensityCluster, InputSelectionIsLeftAsItIs) {
    IHitSelection input = ThreeInARow();
    IDensityCluster clusterer(1, 1.5);
    clusterer.Cluster(input);
    EXPECT_EQ(Describe(input, input), "[0 1 2]");
    EXPECT_STREQ(input.GetName(), "input");
    // Shared, not copied: the cluster holds the input's own hits.
    EXPECT_EQ(input[0].GetReferenceCount(), 2);
}

TEST(DensityCluster, NullHandleThrowsAndLeavesTheCopiedHitsInTheRemainder) {
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    IHitSelection input = Selection({Hit(0.0, 0.0), IHandle<IHit>()});
    IDensityCluster clusterer(1, 1.5);
    EXPECT_THROW(clusterer.Cluster(input), EHandleBadReference);
    IORVEXLog::SetDebugStream(NULL);
    EXPECT_NE(debug.str().find("Referencing a NULL handle"), std::string::npos);
    EXPECT_EQ(clusterer.GetClusterCount(), 0u);
    EXPECT_EQ(clusterer.ls(), 2u);
}

// -------------------------------------------------------- random events

namespace {
    double Transverse(const IHandle<IHit>& hit) {
        if (hit->MeasuresY()) return hit->GetPosition().Y();
        if (hit->MeasuresX()) return hit->GetPosition().X();
        return 0.0;
    }

    double Distance(const IHandle<IHit>& a, const IHandle<IHit>& b) {
        return std::hypot(a->GetPosition().Z() - b->GetPosition().Z(),
                          Transverse(a) - Transverse(b));
    }
}

TEST(DensityCluster, RandomEventsKeepTheInvariants) {
    gRandom->SetSeed(4242);
    for (int event = 0; event < 3000; ++event) {
        unsigned int minPts = gRandom->Integer(5);
        unsigned int minSize = 1 + gRandom->Integer(3);
        double epsilon = gRandom->Uniform(0.2, 1.5);
        IDensityCluster clusterer(minPts, epsilon);
        clusterer.SetMinClusterSize(minSize);
        int count = gRandom->Integer(35);
        IHitSelection input;
        for (int i = 0; i < count; ++i) {
            TVector3 position(gRandom->Uniform(0, 4), gRandom->Uniform(0, 4),
                              gRandom->Uniform(0, 6));
            input.push_back(HitMeasuring(gRandom->Rndm() < 0.7, gRandom->Rndm() < 0.7, position));
        }
        clusterer.Cluster(input);

        std::vector<int> seen(count, 0);
        unsigned int clustered = 0;
        for (unsigned int c = 0; c < clusterer.GetClusterCount(); ++c) {
            const IHitSelection& cluster = clusterer.GetCluster(c);
            clustered += cluster.size();
            // Largest first, none below either limit.
            if (c > 0) EXPECT_LE(cluster.size(), clusterer.GetCluster(c - 1).size());
            EXPECT_GE(cluster.size(), std::max<std::size_t>(minSize, minPts));
            for (const IHandle<IHit>& hit : cluster) {
                int index = IndexOf(hit, input);
                ASSERT_GE(index, 0);
                ++seen[index];
                // Within reach of another member.
                if (cluster.size() < 2) continue;
                bool reached = false;
                for (const IHandle<IHit>& other : cluster) {
                    if (!(other == hit) && Distance(hit, other) < epsilon) reached = true;
                }
                EXPECT_TRUE(reached) << "event " << event;
            }
        }
        for (int i = 0; i < count; ++i) EXPECT_LE(seen[i], 1) << "event " << event;
        // ls counts every hit once, less those of pruned clusters.
        EXPECT_GE(clusterer.ls(), clustered);
        EXPECT_LE(clusterer.ls(), static_cast<unsigned int>(count));
        if (minSize == 1) EXPECT_EQ(clusterer.ls(), static_cast<unsigned int>(count));
        if (HasFailure()) break;
    }
}

// ----------------------------------------- equivalence with the literal steps

namespace {
    // Everything a caller sees of a density clusterer: its clusters in
    // order, by the input places of their hits, and its count of hits held.
    template <class Clusterer>
    std::string Describe(const Clusterer& clusterer, const IHitSelection& input) {
        const std::map<const TObject*, int> place = comparison::PlacesOf(input);
        std::string text = std::to_string(clusterer.GetClusterCount()) + " clusters, ls " +
                           std::to_string(clusterer.ls()) + "\n";
        for (unsigned int i = 0; i < clusterer.GetClusterCount(); ++i) {
            const IHitSelection& cluster = clusterer.GetCluster(i);
            text += std::string(cluster.GetName()) + " (" + cluster.GetTitle() + ") [";
            for (const IHandle<IHit>& hit : cluster)
                text += " " + (hit ? std::to_string(place.at(hit.GetPointerValue())) : "null");
            text += " ]\n";
        }
        return text;
    }

    // Clusters `first`, then `second` with the same object, and describes
    // the object after each call.
    template <class Clusterer>
    std::string TwoCalls(Clusterer& clusterer, const IHitSelection& first,
                         const IHitSelection& second, const IHitSelection& all) {
        std::string text;
        try {
            clusterer.Cluster(first);
        } catch (const EHandleBadReference&) {
            text += "EHandleBadReference\n";
        }
        text += Describe(clusterer, all);
        clusterer.Cluster(second);
        return text + Describe(clusterer, all);
    }

    // The distance that decides is in the plane of Z and the transverse
    // coordinate: coarse steps so that distances land on epsilon.
    double DrawEpsilon(TRandom3& random) {
        const double choices[] = {0.0,
                                  -1.0,
                                  0.5,
                                  1.0,
                                  1.0,
                                  1.5,
                                  2.0,
                                  3.0,
                                  std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity(),
                                  1e-300};
        return choices[random.Integer(11)];
    }
}

TEST(DensityClusterReference, RandomEventsGiveWhatTheLiteralStepsGive) {
    comparison::HardDraws draw(20261126);
    TRandom3& random = draw.Random();
    for (int event = 0; event < 20000; ++event) {
        const unsigned int minPts = random.Integer(6);
        const double epsilon = DrawEpsilon(random);
        const unsigned int minSize = random.Integer(3) == 0 ? random.Integer(4) : 1;
        // Small events: the literal steps cost the cube of the hits.
        IHitSelection first =
            draw.Hits(random.Integer(20) == 0 ? 30 + random.Integer(20) : random.Integer(25));
        // The second call's hits have no null handle: they run over what
        // the first call left.
        IHitSelection second("more", "More hits");
        for (const IHandle<IHit>& hit : draw.Hits(random.Integer(8)))
            if (hit) second.push_back(hit);
        IHitSelection all(first);
        for (const IHandle<IHit>& hit : second) all.push_back(hit);

        IDensityCluster library(minPts, epsilon);
        reference::LiteralDensityCluster literal(minPts, epsilon);
        library.SetMinClusterSize(minSize);
        literal.SetMinClusterSize(minSize);
        comparison::Observed fast =
            comparison::Observe([&] { return TwoCalls(library, first, second, all); });
        comparison::Observed slow =
            comparison::Observe([&] { return TwoCalls(literal, first, second, all); });
        comparison::ExpectSame(fast, slow, "event " + std::to_string(event));
        if (HasFailure()) break;
    }
}

TEST(DensityClusterReference, TrackLikeEventGivesWhatTheLiteralStepsGive) {
    // Segments along Z at their own heights, and noise between them.
    TRandom3 random(2026);
    IHitSelection event("hits", "Hit Handles");
    for (int i = 0; i < 400; ++i) {
        double z = random.Uniform(0.0, 100.0);
        double y = i < 320 ? static_cast<int>(z / 10.0) % 7 + random.Gaus(0.0, 0.1)
                           : random.Uniform(0.0, 7.0);
        event.push_back(IHandle<IHit>(new ISingleHit(i, 1.0, TVector3(0.0, y, z))));
    }
    IHitSelection none("none", "No hits");
    IDensityCluster library(3, 1.0);
    reference::LiteralDensityCluster literal(3, 1.0);
    EXPECT_EQ(TwoCalls(library, event, none, event), TwoCalls(literal, event, none, event));
}
