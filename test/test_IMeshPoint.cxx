// Points of a mesh: their order, their edge sets, the breadth-first walk and
// the route search.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <sstream>
#include <vector>

#include <IMesh.hxx>
#include <IORVEXLog.hxx>

using namespace ORVEX;

namespace {
    typedef IMeshPoint::PointVector Route;

    /// A point that counts how often its coordinates are read.
    class CountingPoint : public IMeshPoint {
    public:
        CountingPoint(double x, double y) : fX(x), fY(y) {}
        double X() const override {
            ++fReads;
            return fX;
        }
        double Y() const override {
            ++fReads;
            return fY;
        }
        mutable int fReads = 0;

    private:
        double fX, fY;
    };

    /// A mesh that hands out its points by coordinates.
    struct Graph {
        IMesh mesh;
        IMeshPoint* Point(double x, double y) { return mesh.AddPoint(new IMeshXYPoint(x, y)); }
        void Join(IMeshPoint* a, IMeshPoint* b) { mesh.AddEdge(new IMeshEdge(a, b)); }
    };

    std::vector<IMeshPoint*> Walk(IMeshPoint* start) {
        std::vector<IMeshPoint*> seen;
        for (IMeshPoint::Walker w = start->BeginPoints(); w != start->EndPoints(); ++w) {
            seen.push_back(*w);
        }
        return seen;
    }
}

TEST(IMeshPoint, OrderIsByXThenY) {
    IMeshXYPoint a(1.0, 5.0), b(2.0, 0.0), c(1.0, 6.0);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_TRUE(a < c);
    EXPECT_FALSE(c < a);
    IMeshXYPoint twin(1.0, 5.0);
    EXPECT_FALSE(a < twin);
    EXPECT_FALSE(twin < a);
}

TEST(IMeshPoint, OrderIsExactWithoutTolerance) {
    IMeshXYPoint a(1.0, 1.0), b(1.0 + 1e-15, 0.0), c(1.0, 1.0 + 1e-15);
    EXPECT_TRUE(a < b);
    EXPECT_TRUE(a < c);
}

TEST(IMeshPoint, ComparingAPointWithItselfReadsNoCoordinate) {
    CountingPoint p(3.0, 4.0);
    EXPECT_FALSE(p < p);
    EXPECT_EQ(p.fReads, 0);
    CountingPoint q(3.0, 4.0);
    EXPECT_FALSE(p < q);
    EXPECT_GT(p.fReads, 0);
}

TEST(IMeshPoint, EdgeSetKeepsOneEdgePerPairOfPlaces) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(1, 0);
    IMeshPoint* c = g.Point(0, 1);
    g.Join(a, b);
    g.Join(a, c);
    EXPECT_EQ(a->GetEdgeCount(), 2);
    EXPECT_EQ(b->GetEdgeCount(), 1);
    // An edge between the same places is the same key: no change.
    IMeshXYPoint elsewhereA(0, 0), elsewhereB(1, 0);
    IMeshEdge twin(&elsewhereA, &elsewhereB);
    a->AddEdge(&twin);
    EXPECT_EQ(a->GetEdgeCount(), 2);
    // Removing an absent edge is no error.
    IMeshXYPoint far(9, 9);
    IMeshEdge absent(&elsewhereA, &far);
    a->RemoveEdge(&absent);
    EXPECT_EQ(a->GetEdgeCount(), 2);
    for (IMeshPoint::EdgeIterator e = a->BeginEdges(); e != a->EndEdges(); ++e) {
        EXPECT_NE(*e, &twin);
    }
}

TEST(IMeshPoint, EdgesIterateInEdgeOrder) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* far = g.Point(5, 0);
    IMeshPoint* up = g.Point(0, 3);
    IMeshPoint* near = g.Point(1, -7);
    g.Join(a, far);
    g.Join(a, up);
    g.Join(near, a);
    std::vector<IMeshPoint*> others;
    for (IMeshPoint::EdgeIterator e = a->BeginEdges(); e != a->EndEdges(); ++e) {
        others.push_back((*e)->GetOther(a));
    }
    // All three edges have a as head, so they sort by tail: (0,3), (1,-7),
    // (5,0).
    EXPECT_EQ(others, (std::vector<IMeshPoint*>{up, near, far}));
}

TEST(IMeshPoint, DestroyingALonePointDeletesItsEdges) {
    // a sorts first, so it is the head of both edges and its destruction
    // never compares a half-destroyed point.
    IMeshPoint* a = new IMeshXYPoint(0, 0);
    IMeshXYPoint b(1, 0), c(1, 1);
    IMeshEdge* ab = new IMeshEdge(a, &b);
    IMeshEdge* ac = new IMeshEdge(a, &c);
    a->AddEdge(ab);
    a->AddEdge(ac);
    b.AddEdge(ab);
    c.AddEdge(ac);
    delete a;
    EXPECT_EQ(b.GetEdgeCount(), 0);
    EXPECT_EQ(c.GetEdgeCount(), 0);
}

TEST(IMeshPoint, StreamShowsAddressCoordinatesAndEdges) {
    Graph g;
    IMeshPoint* a = g.Point(1.5, -2);
    IMeshPoint* b = g.Point(3, 0);
    g.Join(a, b);
    std::ostringstream expected;
    expected << static_cast<const void*>(a) << "->(1.5, -2) "
             << static_cast<const void*>(*a->BeginEdges());
    std::ostringstream out;
    out << *a;
    EXPECT_EQ(out.str(), expected.str());

    IMeshXYPoint lone(0.25, 4);
    std::ostringstream loneExpected, loneOut;
    loneExpected << static_cast<const void*>(&lone) << "->(0.25, 4)";
    loneOut << lone;
    EXPECT_EQ(loneOut.str(), loneExpected.str());
}

TEST(IMeshPoint, XYPointGivesItsCoordinates) {
    IMeshXYPoint p(-1.25, 7.5);
    const IMeshPoint& base = p;
    EXPECT_EQ(base.X(), -1.25);
    EXPECT_EQ(base.Y(), 7.5);
    EXPECT_EQ(p.GetEdgeCount(), 0);
}

// ------------------------------------------------------------------ walks

TEST(IMeshPointWalker, PointWithoutEdgesYieldsItselfOnce) {
    IMeshXYPoint p(0, 0);
    IMeshPoint::Walker w = p.BeginPoints();
    ASSERT_TRUE(w != p.EndPoints());
    EXPECT_EQ(*w, &p);
    ++w;
    EXPECT_TRUE(w == p.EndPoints());
}

TEST(IMeshPointWalker, TriangleYieldsAllThreeStartFirst) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(4, 0);
    IMeshPoint* c = g.Point(0, 3);
    g.Join(a, b);
    g.Join(b, c);
    g.Join(c, a);
    // From b: b first; its edges are (a,b) and (c,b), with a before c.
    EXPECT_EQ(Walk(b), (std::vector<IMeshPoint*>{b, a, c}));
    // From a: its edges are (a,c) and (a,b); c=(0,3) sorts before b=(4,0).
    EXPECT_EQ(Walk(a), (std::vector<IMeshPoint*>{a, c, b}));
}

TEST(IMeshPointWalker, BreadthFirstOverAChainAndNothingElse) {
    Graph g;
    IMeshPoint* p0 = g.Point(0, 0);
    IMeshPoint* p1 = g.Point(1, 0);
    IMeshPoint* p2 = g.Point(2, 0);
    IMeshPoint* p3 = g.Point(3, 0);
    IMeshPoint* island = g.Point(10, 10);
    IMeshPoint* shore = g.Point(11, 10);
    g.Join(p0, p1);
    g.Join(p1, p2);
    g.Join(p2, p3);
    g.Join(island, shore);
    EXPECT_EQ(Walk(p2), (std::vector<IMeshPoint*>{p2, p1, p3, p0}));
    EXPECT_EQ(Walk(shore), (std::vector<IMeshPoint*>{shore, island}));
}

TEST(IMeshPointWalker, EqualityLooksAtTheCurrentPointOnly) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(1, 0);
    IMeshPoint* c = g.Point(2, 0);
    g.Join(a, b);
    g.Join(b, c);
    IMeshPoint::Walker fromA = a->BeginPoints();
    ++fromA;  // at b, having seen a, b and c
    IMeshPoint::Walker fromB = b->BeginPoints();
    EXPECT_TRUE(fromA == fromB);
    EXPECT_FALSE(fromA != fromB);
    IMeshPoint::Walker fromC = c->BeginPoints();
    EXPECT_FALSE(fromA == fromC);
    EXPECT_FALSE(fromA == a->EndPoints());
    EXPECT_FALSE(a->EndPoints() == fromA);
    IMeshPoint::Walker empty;
    EXPECT_TRUE(empty == a->EndPoints());
    EXPECT_TRUE(&a->EndPoints() == &c->EndPoints());
}

TEST(IMeshPointWalker, CopyWalksOnItsOwn) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(1, 0);
    g.Join(a, b);
    IMeshPoint::Walker w = a->BeginPoints();
    IMeshPoint::Walker copy(w);
    ++copy;
    EXPECT_EQ(*w, a);
    EXPECT_EQ(*copy, b);
    ++copy;
    EXPECT_TRUE(copy == a->EndPoints());
    EXPECT_EQ(*w, a);
}

TEST(IMeshPointWalker, WalkDoesNotChangeTheMesh) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(1, 0);
    g.Join(a, b);
    Walk(a);
    EXPECT_EQ(a->GetEdgeCount(), 1);
    EXPECT_EQ(g.mesh.GetEdges().size(), 1u);
    EXPECT_EQ(g.mesh.GetPoints().size(), 2u);
}

// ------------------------------------------------------------------ paths

namespace {
    struct Chain : Graph {
        IMeshPoint* a = Point(0, 0);
        IMeshPoint* b = Point(1, 0);
        IMeshPoint* c = Point(2, 0);
        IMeshPoint* d = Point(3, 0);
        Chain() {
            Join(a, b);
            Join(b, c);
            Join(c, d);
        }
    };

    struct Square : Graph {
        IMeshPoint* a = Point(0, 0);
        IMeshPoint* b = Point(1, 0);
        IMeshPoint* c = Point(1, 1);
        IMeshPoint* d = Point(0, 1);
        Square() {
            Join(a, b);
            Join(b, c);
            Join(c, d);
            Join(d, a);
        }
    };
}

TEST(IMeshPointPaths, PathPointLengthCountsPoints) {
    IMeshXYPoint a(0, 0), b(1, 0), c(2, 0);
    IMeshPoint::IPathPoint first(&a, nullptr);
    IMeshPoint::IPathPoint second(&b, &first);
    IMeshPoint::IPathPoint third(&c, &second);
    EXPECT_EQ(first.GetLength(), 1);
    EXPECT_EQ(third.GetLength(), 3);
    EXPECT_EQ(third.GetPoint(), &c);
    EXPECT_EQ(third.GetPath(), &second);
    IMeshPoint::IPathPoint copy(third);
    EXPECT_EQ(copy.GetPoint(), &c);
    EXPECT_EQ(copy.GetPath(), &second);
}

TEST(IMeshPointPaths, ChainGivesOneBackwardRoute) {
    Chain g;
    IMeshPoint::PathVector paths = g.a->GetPaths(g.d, 10, 10);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0], (Route{g.d, g.c, g.b, g.a}));
}

TEST(IMeshPointPaths, MaxStepsCountsThePointsBeforeTheLastHop) {
    Chain g;
    EXPECT_TRUE(g.a->GetPaths(g.d, 10, 2).empty());
    IMeshPoint::PathVector paths = g.a->GetPaths(g.d, 10, 3);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0].size(), 4u);  // maxSteps + 1 points
}

TEST(IMeshPointPaths, SquareGivesTwoRoutesInTheOrderOfTheStartsEdges) {
    Square g;
    // a's edges are (a,d) and (a,b); d=(0,1) sorts before b=(1,0), so the
    // route through d is completed first.
    IMeshPoint::PathVector paths = g.a->GetPaths(g.c, 10, 10);
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(paths[0], (Route{g.c, g.d, g.a}));
    EXPECT_EQ(paths[1], (Route{g.c, g.b, g.a}));
}

TEST(IMeshPointPaths, SquareFollowsEdgeOrderNotInsertionOrder) {
    // The same square turned so that b sorts before d.
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(0, 1);
    IMeshPoint* c = g.Point(1, 1);
    IMeshPoint* d = g.Point(1, 0);
    g.Join(d, a);
    g.Join(c, d);
    g.Join(a, b);
    g.Join(b, c);
    IMeshPoint::PathVector paths = a->GetPaths(c, 10, 10);
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(paths[0], (Route{c, b, a}));
    EXPECT_EQ(paths[1], (Route{c, d, a}));
}

TEST(IMeshPointPaths, MaxPathsOneGivesTheFirstRouteOnly) {
    Square g;
    IMeshPoint::PathVector paths = g.a->GetPaths(g.c, 1, 10);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0], (Route{g.c, g.d, g.a}));
}

TEST(IMeshPointPaths, EndWithoutEdgesGivesNothing) {
    Chain g;
    IMeshPoint* lone = g.Point(7, 7);
    EXPECT_TRUE(g.a->GetPaths(lone, 10, 10).empty());
}

TEST(IMeshPointPaths, UnreachableEndGivesNothing) {
    Chain g;
    IMeshPoint* x = g.Point(7, 7);
    IMeshPoint* y = g.Point(8, 7);
    g.Join(x, y);
    EXPECT_TRUE(g.a->GetPaths(y, 10, 100).empty());
}

TEST(IMeshPointPaths, NoPositiveMaxPathsStopsAfterTheFirstExpansion) {
    Chain g;
    EXPECT_TRUE(g.a->GetPaths(g.c, 0, 10).empty());
    EXPECT_TRUE(g.a->GetPaths(g.d, -3, 10).empty());
    // A direct neighbour is found by that first expansion.
    IMeshPoint::PathVector paths = g.a->GetPaths(g.b, 0, 10);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0], (Route{g.b, g.a}));
    EXPECT_EQ(g.a->GetPaths(g.b, -1, 10).size(), 1u);
}

TEST(IMeshPointPaths, EndEqualToStartClosesCyclesThroughIt) {
    Graph g;
    IMeshPoint* a = g.Point(0, 0);
    IMeshPoint* b = g.Point(1, 0);
    IMeshPoint* c = g.Point(0, 1);
    g.Join(a, b);
    g.Join(b, c);
    g.Join(c, a);
    // a's edges lead to c=(0,1), then b=(1,0); each of them closes a
    // route back to a, and a has two edges, so the limit is two.
    IMeshPoint::PathVector paths = a->GetPaths(a, 10, 10);
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(paths[0], (Route{a, c, a}));
    EXPECT_EQ(paths[1], (Route{a, b, a}));
}

TEST(IMeshPointPaths, EndEqualToStartOnAChainEndGivesTheBackAndForthRoute) {
    Chain g;
    // a has one edge, so the limit is one route: a, b, a.
    IMeshPoint::PathVector paths = g.a->GetPaths(g.a, 10, 10);
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0], (Route{g.a, g.b, g.a}));
}

TEST(IMeshPointPaths, RoutesRunBackwardsRiseInLengthAndHoldEndOnlyFirst) {
    // A 4 by 4 grid with its lattice edges, from a corner to an inner point.
    Graph g;
    IMeshPoint* grid[4][4];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) grid[i][j] = g.Point(i, j);
    }
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            if (i + 1 < 4) g.Join(grid[i][j], grid[i + 1][j]);
            if (j + 1 < 4) g.Join(grid[i][j], grid[i][j + 1]);
        }
    }
    IMeshPoint* start = grid[0][0];
    IMeshPoint* end = grid[2][1];
    IMeshPoint::PathVector paths = start->GetPaths(end, 10, 20);
    // One route per edge of the end point.
    ASSERT_EQ(paths.size(), 4u);
    std::size_t previous = 0;
    for (const Route& route : paths) {
        EXPECT_EQ(route.front(), end);
        EXPECT_EQ(route.back(), start);
        for (std::size_t k = 1; k < route.size(); ++k) EXPECT_NE(route[k], end);
        EXPECT_GE(route.size(), previous);
        previous = route.size();
        // Consecutive points are neighbours in the lattice.
        for (std::size_t k = 1; k < route.size(); ++k) {
            double step = std::abs(route[k]->X() - route[k - 1]->X()) +
                          std::abs(route[k]->Y() - route[k - 1]->Y());
            EXPECT_EQ(step, 1.0);
        }
    }
    // The shortest route has the Manhattan distance plus one points.
    EXPECT_EQ(paths.front().size(), 4u);
    // The routes reach end through four different neighbours.
    std::set<const IMeshPoint*> lastHops;
    for (const Route& route : paths) lastHops.insert(route[1]);
    EXPECT_EQ(lastHops.size(), 4u);
}

TEST(IMeshPointPaths, SearchLeavesTheMeshAsItWas) {
    Square g;
    g.a->GetPaths(g.c, 10, 10);
    EXPECT_EQ(g.mesh.GetEdges().size(), 4u);
    for (IMeshPoint* p : g.mesh.GetPoints()) EXPECT_EQ(p->GetEdgeCount(), 2);
}

// Hostile input: a null end point has no edges to bound the search by.
TEST(IMeshPointPaths, NullEndThrowsEMeshPathEnd) {
    Square g;
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    EXPECT_THROW(g.a->GetPaths(nullptr, 10, 3), EMeshPathEnd);
    IORVEXLog::SetDebugStream(nullptr);
    const std::string text = "ORVEX::IMeshPoint::GetPaths: end is null (maxPaths 10, maxSteps 3)\n";
    EXPECT_EQ(debug.str().rfind("ERROR: ", 0), 0u) << debug.str();
    ASSERT_GE(debug.str().size(), text.size());
    EXPECT_EQ(debug.str().substr(debug.str().size() - text.size()), text);
    EXPECT_THROW(throw EMeshPathEnd(), EovUtility);
    // The points can still be searched from.
    EXPECT_EQ(g.a->GetPaths(g.c, 10, 10).size(), 2u);
}
