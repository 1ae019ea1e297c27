// Edges of a mesh: normalised ends, the other end, length, order against
// equality, detaching on destruction, and the stream form.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <sstream>

#include <IMesh.hxx>

using namespace ORVEX;

TEST(IMeshEdge, EndsAreNormalisedWhateverTheArgumentOrder) {
    IMeshXYPoint a(2, 0), b(1, 5);  // b sorts first: smaller X
    IMeshEdge ab(&a, &b);
    EXPECT_EQ(ab.GetHead(), &b);
    EXPECT_EQ(ab.GetTail(), &a);
    IMeshEdge ba(&b, &a);
    EXPECT_EQ(ba.GetHead(), &b);
    EXPECT_EQ(ba.GetTail(), &a);
    EXPECT_TRUE(ab == ba);
}

TEST(IMeshEdge, EqualXSortsByY) {
    IMeshXYPoint low(1, -1), high(1, 3);
    IMeshEdge e(&high, &low);
    EXPECT_EQ(e.GetHead(), &low);
    EXPECT_EQ(e.GetTail(), &high);
}

TEST(IMeshEdge, TwoPointsAtOnePlaceLeaveTheSecondArgumentAsHead) {
    IMeshXYPoint a(3, 3), b(3, 3);
    IMeshEdge e(&a, &b);
    EXPECT_EQ(e.GetHead(), &b);
    EXPECT_EQ(e.GetTail(), &a);
}

TEST(IMeshEdge, ConstructionRegistersOnNeitherEnd) {
    IMeshXYPoint a(0, 0), b(1, 1);
    IMeshEdge e(&a, &b);
    EXPECT_EQ(a.GetEdgeCount(), 0);
    EXPECT_EQ(b.GetEdgeCount(), 0);
}

TEST(IMeshEdge, GetOtherComparesPointers) {
    IMeshXYPoint a(0, 0), b(1, 1), stranger(0, 0);
    IMeshEdge e(&a, &b);
    EXPECT_EQ(e.GetOther(&a), &b);
    EXPECT_EQ(e.GetOther(&b), &a);
    // Same coordinates as a, but another object: on neither end.
    EXPECT_EQ(e.GetOther(&stranger), nullptr);
    EXPECT_EQ(e.GetOther(nullptr), nullptr);
}

TEST(IMeshEdge, GetOtherOnALoopGivesThePointItself) {
    IMeshXYPoint a(4, 2);
    IMeshEdge loop(&a, &a);
    EXPECT_EQ(loop.GetHead(), &a);
    EXPECT_EQ(loop.GetTail(), &a);
    EXPECT_EQ(loop.GetOther(&a), &a);
}

TEST(IMeshEdge, LengthWithAndWithoutScales) {
    IMeshXYPoint a(0, 0), b(3, 4);
    IMeshEdge e(&b, &a);
    EXPECT_DOUBLE_EQ(e.GetLength(), 5.0);
    EXPECT_DOUBLE_EQ(e.GetLength(1.0, 1.0), 5.0);
    // The scales multiply: (3*2)^2 + 4^2 = 52.
    EXPECT_DOUBLE_EQ(e.GetLength(2.0, 1.0), std::sqrt(52.0));
    EXPECT_DOUBLE_EQ(e.GetLength(1.0, 0.5), std::sqrt(13.0));
}

TEST(IMeshEdge, OrderByHeadThenTail) {
    IMeshXYPoint a(0, 0), b(1, 0), c(2, 0), d(0, 5);
    IMeshEdge ab(&a, &b), ac(&a, &c), bc(&b, &c), ad(&a, &d);
    EXPECT_TRUE(ab < ac);
    EXPECT_FALSE(ac < ab);
    EXPECT_TRUE(ac < bc);
    EXPECT_FALSE(bc < ac);
    EXPECT_TRUE(ad < ab);  // tails: (0,5) before (1,0)
    EXPECT_FALSE(ab < ab);
}

TEST(IMeshEdge, LaterHeadSortsAfterWhateverTheTails) {
    // bc's head (1,0) sorts after ae's head (0,0) although its tail (2,0)
    // sorts before ae's tail (5,5): the heads decide.
    IMeshXYPoint a(0, 0), b(1, 0), c(2, 0), e(5, 5);
    IMeshEdge bc(&b, &c), ae(&a, &e);
    EXPECT_FALSE(bc < ae);
    EXPECT_TRUE(ae < bc);
}

TEST(IMeshEdge, OrderLooksAtPlacesWhileEqualityLooksAtPointers) {
    IMeshXYPoint a(0, 0), b(1, 1), a2(0, 0), b2(1, 1);
    IMeshEdge e(&a, &b), twin(&a2, &b2), same(&b, &a);
    EXPECT_FALSE(e < twin);
    EXPECT_FALSE(twin < e);
    EXPECT_FALSE(e == twin);
    EXPECT_TRUE(e == same);
    TMeshEdgeSet set;
    set.insert(&e);
    EXPECT_FALSE(set.insert(&twin).second);
    EXPECT_EQ(set.size(), 1u);
    EXPECT_EQ(*set.find(&twin), &e);
}

TEST(IMeshEdge, DestructorDetachesFromHeadAndTail) {
    IMeshXYPoint a(0, 0), b(1, 0), c(2, 0);
    IMeshEdge* ab = new IMeshEdge(&a, &b);
    IMeshEdge* bc = new IMeshEdge(&b, &c);
    a.AddEdge(ab);
    b.AddEdge(ab);
    b.AddEdge(bc);
    c.AddEdge(bc);
    delete ab;
    EXPECT_EQ(a.GetEdgeCount(), 0);
    ASSERT_EQ(b.GetEdgeCount(), 1);
    EXPECT_EQ(*b.BeginEdges(), bc);
    delete bc;
    EXPECT_EQ(b.GetEdgeCount(), 0);
    EXPECT_EQ(c.GetEdgeCount(), 0);
}

TEST(IMeshEdge, StreamShowsTheEdgeAndItsEnds) {
    IMeshXYPoint a(5, 0), b(1, 0);
    IMeshEdge e(&a, &b);
    std::ostringstream expected, out;
    expected << static_cast<const void*>(&e) << "->(" << static_cast<const void*>(&b) << ", "
             << static_cast<const void*>(&a) << ")";
    out << e;
    EXPECT_EQ(out.str(), expected.str());
    EXPECT_EQ(out.str().find('\n'), std::string::npos);
}
