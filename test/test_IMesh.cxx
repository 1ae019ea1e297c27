// The mesh: merging of points and edges, ownership, removal, destruction,
// unit lengths and painting.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <TCanvas.h>
#include <TPad.h>
#include <TROOT.h>
#include <TSystem.h>
#include <TVirtualPadPainter.h>

#include <IMesh.hxx>
#include <IORVEXLog.hxx>

using namespace ORVEX;

namespace {
    /// Which objects were destroyed, by serial number, and how often.
    std::map<int, int>& Destroyed() {
        static std::map<int, int> destroyed;
        return destroyed;
    }
    int gSerial = 0;

    class TrackedPoint : public IMeshXYPoint {
    public:
        TrackedPoint(double x, double y) : IMeshXYPoint(x, y), fSerial(++gSerial) {}
        ~TrackedPoint() override { ++Destroyed()[fSerial]; }
        const int fSerial;
    };

    class TrackedEdge : public IMeshEdge {
    public:
        TrackedEdge(IMeshPoint* a, IMeshPoint* b) : IMeshEdge(a, b), fSerial(++gSerial) {}
        ~TrackedEdge() override { ++Destroyed()[fSerial]; }
        const int fSerial;
    };

    bool Holds(const IMeshPoint* point, const IMeshEdge* edge) {
        return std::count(point->BeginEdges(), point->EndEdges(), edge) == 1;
    }
}

TEST(IMesh, StartsEmptyWithUnitLengthsOfOne) {
    IMesh mesh;
    EXPECT_TRUE(mesh.GetPoints().empty());
    EXPECT_TRUE(mesh.GetEdges().empty());
    EXPECT_TRUE(mesh.BeginPoints() == mesh.EndPoints());
    EXPECT_TRUE(mesh.BeginEdges() == mesh.EndEdges());
}

TEST(IMesh, KeepsNoDictionaryOfItsOwn) {
    IMesh mesh;
    EXPECT_STREQ(static_cast<TObject&>(mesh).IsA()->GetName(), "TObject");
}

TEST(IMesh, AddPointAtATakenPlaceDeletesTheNewPointAndReturnsTheStoredOne) {
    Destroyed().clear();
    IMesh mesh;
    TrackedPoint* first = new TrackedPoint(1, 2);
    EXPECT_EQ(mesh.AddPoint(first), first);
    TrackedPoint* twin = new TrackedPoint(1, 2);
    const int twinSerial = twin->fSerial;
    EXPECT_EQ(mesh.AddPoint(twin), first);
    EXPECT_EQ(Destroyed()[twinSerial], 1);
    EXPECT_EQ(Destroyed().count(first->fSerial), 0u);
    EXPECT_EQ(mesh.GetPoints().size(), 1u);
}

TEST(IMesh, AddingTheSamePointerTwiceDeletesNothing) {
    Destroyed().clear();
    IMesh mesh;
    TrackedPoint* p = new TrackedPoint(0, 0);
    EXPECT_EQ(mesh.AddPoint(p), p);
    EXPECT_EQ(mesh.AddPoint(p), p);
    EXPECT_TRUE(Destroyed().empty());
    EXPECT_EQ(mesh.GetPoints().size(), 1u);
}

TEST(IMesh, AddEdgeAttachesTheEdgeToBothEndsAndAddsThem) {
    IMesh mesh;
    IMeshPoint* a = new IMeshXYPoint(0, 0);
    IMeshPoint* b = new IMeshXYPoint(1, 0);
    IMeshEdge* e = mesh.AddEdge(new IMeshEdge(a, b));
    EXPECT_EQ(mesh.GetPoints().size(), 2u);
    EXPECT_EQ(mesh.GetEdges().size(), 1u);
    EXPECT_EQ(*mesh.BeginEdges(), e);
    EXPECT_TRUE(Holds(a, e));
    EXPECT_TRUE(Holds(b, e));
}

TEST(IMesh, EquivalentEdgeIsDeletedAndTheStoredOneStaysOnceInThePointSets) {
    Destroyed().clear();
    IMesh mesh;
    IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(0, 0));
    IMeshPoint* b = mesh.AddPoint(new IMeshXYPoint(1, 0));
    TrackedEdge* stored = new TrackedEdge(a, b);
    EXPECT_EQ(mesh.AddEdge(stored), stored);
    TrackedEdge* twin = new TrackedEdge(b, a);
    const int twinSerial = twin->fSerial;
    EXPECT_EQ(mesh.AddEdge(twin), stored);
    EXPECT_EQ(Destroyed()[twinSerial], 1);
    EXPECT_EQ(Destroyed().count(stored->fSerial), 0u);
    EXPECT_EQ(mesh.GetEdges().size(), 1u);
    EXPECT_EQ(a->GetEdgeCount(), 1);
    EXPECT_EQ(b->GetEdgeCount(), 1);
    EXPECT_TRUE(Holds(a, stored));
    EXPECT_TRUE(Holds(b, stored));
}

TEST(IMesh, AddingTheSameEdgeTwiceKeepsIt) {
    Destroyed().clear();
    IMesh mesh;
    TrackedEdge* e = new TrackedEdge(new IMeshXYPoint(0, 0), new IMeshXYPoint(2, 2));
    EXPECT_EQ(mesh.AddEdge(e), e);
    EXPECT_EQ(mesh.AddEdge(e), e);
    EXPECT_TRUE(Destroyed().empty());
    EXPECT_EQ(e->GetHead()->GetEdgeCount(), 1);
}

TEST(IMesh, EdgeBetweenNewPointsAtTakenPlacesUsesTheStoredPoints) {
    IMesh mesh;
    IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(0, 0));
    IMeshPoint* c = new IMeshXYPoint(5, 5);
    // The duplicate of a is merged away; the stored a gets the edge.
    IMeshEdge* e = mesh.AddEdge(new IMeshEdge(c, new IMeshXYPoint(0, 0)));
    EXPECT_EQ(mesh.GetPoints().size(), 2u);
    EXPECT_EQ(a->GetEdgeCount(), 1);
    EXPECT_TRUE(Holds(a, e));
    EXPECT_EQ(e->GetTail(), c);
}

TEST(IMesh, AddEdgeAddsItsEndsWithoutCallingAnOverriddenAddPoint) {
    // A derived mesh whose AddPoint does more (as a triangulation does) must
    // not be re-entered when edges are added.
    struct CountingMesh : IMesh {
        int overrideCalls = 0;
        IMeshPoint* AddPoint(IMeshPoint* point) override {
            ++overrideCalls;
            return IMesh::AddPoint(point);
        }
    } mesh;
    IMeshPoint* a = new IMeshXYPoint(0, 0);
    IMeshPoint* b = new IMeshXYPoint(1, 0);
    mesh.AddEdge(new IMeshEdge(a, b));
    EXPECT_EQ(mesh.overrideCalls, 0);
    EXPECT_EQ(mesh.GetPoints().size(), 2u);
    EXPECT_EQ(a->GetEdgeCount(), 1);
    EXPECT_EQ(b->GetEdgeCount(), 1);
}

TEST(IMesh, PointsIterateByXThenYWhateverTheInsertionOrder) {
    IMesh mesh;
    const double xy[][2] = {{2, 1}, {0, 5}, {2, -3}, {-1, 0}, {0, -5}, {2, 0}};
    for (const auto& p : xy) mesh.AddPoint(new IMeshXYPoint(p[0], p[1]));
    std::vector<std::pair<double, double> > order;
    for (IMesh::PointIterator p = mesh.BeginPoints(); p != mesh.EndPoints(); ++p) {
        order.push_back(std::make_pair((*p)->X(), (*p)->Y()));
    }
    const std::vector<std::pair<double, double> > expected = {{-1, 0}, {0, -5}, {0, 5},
                                                              {2, -3}, {2, 0},  {2, 1}};
    EXPECT_EQ(order, expected);
}

TEST(IMesh, RemoveEdgeLeavesBothEndsWithoutTheEdge) {
    Destroyed().clear();
    IMesh mesh;
    IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(0, 0));
    IMeshPoint* b = mesh.AddPoint(new IMeshXYPoint(1, 0));
    IMeshPoint* c = mesh.AddPoint(new IMeshXYPoint(1, 1));
    TrackedEdge* ab = new TrackedEdge(a, b);
    mesh.AddEdge(ab);
    IMeshEdge* bc = mesh.AddEdge(new IMeshEdge(b, c));
    const int serial = ab->fSerial;
    mesh.RemoveEdge(ab);
    EXPECT_EQ(Destroyed()[serial], 1);
    EXPECT_EQ(mesh.GetPoints().size(), 3u);
    EXPECT_EQ(mesh.GetEdges().size(), 1u);
    EXPECT_EQ(a->GetEdgeCount(), 0);
    ASSERT_EQ(b->GetEdgeCount(), 1);
    EXPECT_EQ(*b->BeginEdges(), bc);
}

TEST(IMesh, RemoveEdgeErasesTheStoredEntryAndDeletesTheArgument) {
    Destroyed().clear();
    IMesh mesh;
    IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(0, 0));
    IMeshPoint* b = mesh.AddPoint(new IMeshXYPoint(1, 0));
    TrackedEdge* stored = new TrackedEdge(a, b);
    mesh.AddEdge(stored);
    // Equivalent by its places, but another object never added to the mesh.
    TrackedEdge* twin = new TrackedEdge(b, a);
    const int twinSerial = twin->fSerial;
    mesh.RemoveEdge(twin);
    EXPECT_EQ(Destroyed()[twinSerial], 1);
    EXPECT_EQ(Destroyed().count(stored->fSerial), 0u);
    EXPECT_TRUE(mesh.GetEdges().empty());
    // Detaching the twin by key took the stored edge off both ends too.
    EXPECT_EQ(a->GetEdgeCount(), 0);
    EXPECT_EQ(b->GetEdgeCount(), 0);
    delete stored;  // no longer anyone's
}

namespace {
    /// Fills a mesh with a square, its diagonal and a lone point, in the
    /// given order of point and edge creation.
    void BuildTracked(IMesh& mesh, bool reversed) {
        std::vector<TrackedPoint*> p = {new TrackedPoint(0, 0), new TrackedPoint(1, 0),
                                        new TrackedPoint(1, 1), new TrackedPoint(0, 1),
                                        new TrackedPoint(5, 5)};
        if (reversed) std::reverse(p.begin(), p.end());
        for (TrackedPoint* point : p) mesh.AddPoint(point);
        std::vector<std::pair<int, int> > joins = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 2}};
        if (reversed) {
            std::reverse(joins.begin(), joins.end());
            for (auto& j : joins) j = std::make_pair(4 - j.second, 4 - j.first);
        }
        for (const auto& j : joins) mesh.AddEdge(new TrackedEdge(p[j.first], p[j.second]));
    }
}

TEST(IMesh, DestructionDeletesEveryPointAndEdgeOnce) {
    for (bool reversed : {false, true}) {
        Destroyed().clear();
        const int before = gSerial;
        {
            IMesh mesh;
            BuildTracked(mesh, reversed);
            EXPECT_EQ(mesh.GetPoints().size(), 5u);
            EXPECT_EQ(mesh.GetEdges().size(), 5u);
        }
        ASSERT_EQ(Destroyed().size(), 10u) << "reversed " << reversed;
        for (int serial = before + 1; serial <= gSerial; ++serial) {
            EXPECT_EQ(Destroyed()[serial], 1) << "object " << serial;
        }
    }
}

TEST(IMesh, SetUnitLengthGoesThroughBothVirtualSetters) {
    struct Recorder : IMesh {
        std::vector<std::string> calls;
        void SetUnitXLength(double u) override {
            calls.push_back("x" + std::to_string(u));
            IMesh::SetUnitXLength(u);
        }
        void SetUnitYLength(double u) override {
            calls.push_back("y" + std::to_string(u));
            IMesh::SetUnitYLength(u);
        }
    } mesh;
    mesh.SetUnitLength(2.5);
    EXPECT_EQ(mesh.calls, (std::vector<std::string>{"x2.500000", "y2.500000"}));
}

// ---------------------------------------------------------------- painting

namespace {
    /// A pad that records what is painted on it.
    class RecordingPad : public TPad {
    public:
        RecordingPad() : TPad("recorder", "recorder", 0, 0, 1, 1) {}
        using TPad::PaintPolyMarker;
        void PaintPolyMarker(Int_t n, Double_t* x, Double_t* y, Option_t*) override {
            markerCounts.push_back(n);
            calls.push_back({'M', x[0], y[0], 0, 0});
        }
        void PaintLine(Double_t x1, Double_t y1, Double_t x2, Double_t y2) override {
            calls.push_back({'L', x1, y1, x2, y2});
        }
        struct Call {
            char kind;
            double a, b, c, d;
            bool operator==(const Call& o) const {
                return kind == o.kind && a == o.a && b == o.b && c == o.c && d == o.d;
            }
        };
        std::vector<Call> calls;
        std::vector<int> markerCounts;
    };

    bool BatchMode() {
        gROOT->SetBatch(true);
        return true;
    }

    struct PaintSetup {
        bool batch = BatchMode();
        TCanvas canvas{"meshCanvas", "mesh", 200, 200};
        RecordingPad* pad;
        PaintSetup() {
            canvas.cd();
            pad = new RecordingPad;
            pad->Draw();
            pad->cd();
            pad->Range(-100, -100, 100, 100);
        }
    };

    /// Three points and two edges, added in no particular order.
    void FillPaintMesh(IMesh& mesh) {
        IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(30, -20));
        IMeshPoint* b = mesh.AddPoint(new IMeshXYPoint(10, 40));
        IMeshPoint* c = mesh.AddPoint(new IMeshXYPoint(50, 0));
        mesh.AddEdge(new IMeshEdge(c, a));
        mesh.AddEdge(new IMeshEdge(a, b));
    }
}

TEST(IMeshPaint, DefaultUnitsPaintAtTheRawCoordinatesMarkersFirst) {
    gROOT->SetBatch(true);
    PaintSetup setup;
    IMesh mesh;
    FillPaintMesh(mesh);
    mesh.Paint();
    typedef RecordingPad::Call Call;
    const std::vector<Call> expected = {{'M', 10, 40, 0, 0},
                                        {'M', 30, -20, 0, 0},
                                        {'M', 50, 0, 0, 0},
                                        {'L', 10, 40, 30, -20},  // head (10,40), tail (30,-20)
                                        {'L', 30, -20, 50, 0}};
    EXPECT_EQ(setup.pad->calls, expected);
    EXPECT_EQ(setup.pad->markerCounts, (std::vector<int>{-1, -1, -1}));
}

TEST(IMeshPaint, UnitLengthOfTenPaintsAtATenth) {
    PaintSetup setup;
    IMesh mesh;
    FillPaintMesh(mesh);
    mesh.SetUnitLength(10.0);
    mesh.Paint("ignored");
    typedef RecordingPad::Call Call;
    const std::vector<Call> expected = {{'M', 1, 4, 0, 0},
                                        {'M', 3, -2, 0, 0},
                                        {'M', 5, 0, 0, 0},
                                        {'L', 1, 4, 3, -2},
                                        {'L', 3, -2, 5, 0}};
    EXPECT_EQ(setup.pad->calls, expected);
}

TEST(IMeshPaint, SeparateUnitsAndThePadsLogScaleApply) {
    PaintSetup setup;
    setup.pad->SetLogx(1);
    IMesh mesh;
    mesh.AddPoint(new IMeshXYPoint(1000, 8));
    mesh.SetUnitXLength(10.0);
    mesh.SetUnitYLength(4.0);
    mesh.Paint();
    ASSERT_EQ(setup.pad->calls.size(), 1u);
    // X: 1000 / 10 = 100, converted to the pad's log scale: 2.
    EXPECT_DOUBLE_EQ(setup.pad->calls[0].a, 2.0);
    EXPECT_DOUBLE_EQ(setup.pad->calls[0].b, 2.0);
}

TEST(IMeshPaint, PaintUsesTheMeshsMarkerAndLineAttributes) {
    PaintSetup setup;
    IMesh mesh;
    FillPaintMesh(mesh);
    mesh.SetMarkerStyle(24);
    mesh.SetMarkerColor(kRed);
    mesh.SetLineColor(kBlue);
    mesh.SetLineWidth(3);
    mesh.Paint();
    // The pad's painter holds the attributes last set for painting.
    TVirtualPadPainter* painter = setup.pad->GetPainter();
    ASSERT_NE(painter, nullptr);
    EXPECT_EQ(painter->GetAttMarker().GetMarkerStyle(), 24);
    EXPECT_EQ(painter->GetAttMarker().GetMarkerColor(), kRed);
    EXPECT_EQ(painter->GetAttLine().GetLineColor(), kBlue);
    EXPECT_EQ(painter->GetAttLine().GetLineWidth(), 3);
}

TEST(IMeshPaint, DrawnMeshIsSavedAsAPicture) {
    gROOT->SetBatch(true);
    IMesh mesh;
    FillPaintMesh(mesh);
    mesh.SetMarkerStyle(20);
    const char* file = "test_IMesh_picture.png";
    gSystem->Unlink(file);
    {
        TCanvas canvas("pictureCanvas", "mesh", 300, 300);
        canvas.Range(0, -30, 60, 50);
        mesh.Draw();
        canvas.SaveAs(file);
    }
    FileStat_t stat;
    ASSERT_EQ(gSystem->GetPathInfo(file, stat), 0);
    EXPECT_GT(stat.fSize, 0);
}

// Hostile input: a null point or edge would sit in a set ordered by the
// coordinates it doesn't have.
TEST(IMesh, NullPointOrEdgeThrowsEMeshNull) {
    IMesh mesh;
    std::ostringstream debug;
    IORVEXLog::SetDebugStream(&debug);
    EXPECT_THROW(mesh.AddPoint(nullptr), EMeshNull);
    EXPECT_THROW(mesh.AddEdge(nullptr), EMeshNull);
    IORVEXLog::SetDebugStream(nullptr);
    std::string text = debug.str();
    EXPECT_NE(text.find(": ORVEX::IMesh::AddPoint: point is null\n"), std::string::npos) << text;
    EXPECT_NE(text.find(": ORVEX::IMesh::AddEdge: edge is null\n"), std::string::npos) << text;
    EXPECT_EQ(text.rfind("ERROR: ", 0), 0u);
    // Nothing was kept, and the mesh goes on.
    EXPECT_TRUE(mesh.GetPoints().empty());
    EXPECT_TRUE(mesh.GetEdges().empty());
    IMeshPoint* a = mesh.AddPoint(new IMeshXYPoint(0, 0));
    IMeshPoint* b = mesh.AddPoint(new IMeshXYPoint(1, 0));
    mesh.AddEdge(new IMeshEdge(a, b));
    EXPECT_EQ(mesh.GetEdges().size(), 1u);
    EXPECT_THROW(throw EMeshNull(), EovUtility);
}
