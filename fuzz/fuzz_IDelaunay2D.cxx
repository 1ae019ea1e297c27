// Delaunay meshes built by insertion sequences, closed now and then, walked
// by the triangle iterator and searched for routes between their points.
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

#include <IDelaunay2D.hxx>

#include "FuzzInput.hxx"

using namespace ORVEX;

namespace {
    bool Scaffold(double x, double y) {
        return (x == -10000.0 && y == 10000.0) || (x == 10000.0 && y == -10000.0);
    }

    // The point the mesh holds under these coordinates is this very object.
    bool Holds(IDelaunay2D& mesh, IMeshPoint* point) {
        auto found = mesh.GetPoints().find(point);
        return found != mesh.GetPoints().end() && *found == point;
    }

    // `stale`: points were added after an earlier Close, whose edges of
    // triangles split since then stay in the mesh beside the new ones.
    void CheckEdges(IDelaunay2D& mesh, bool stale) {
        std::size_t n = mesh.GetPoints().size();
        for (IMeshEdge* edge : mesh.GetEdges()) {
            FUZZ_CHECK(edge->GetHead() != edge->GetTail());
            FUZZ_CHECK(Holds(mesh, edge->GetHead()));
            FUZZ_CHECK(Holds(mesh, edge->GetTail()));
        }
        if (stale) return;
        // The edges of a triangulation form a planar graph.
        std::size_t most = n < 3 ? n * (n - 1) / 2 : 3 * n - 6;
        FUZZ_CHECK(mesh.GetEdges().size() <= most);
    }

    void CheckTriangles(IDelaunay2D& mesh) {
        std::set<IDelaunayTriangle*> seen;
        for (auto t = mesh.BeginTriangles(); t != mesh.EndTriangles(); ++t) {
            FUZZ_CHECK(seen.insert(&*t).second);
            FUZZ_CHECK(t->GetFlag().GetValue() == 0);
            for (int i = 0; i < 3; ++i) {
                FUZZ_CHECK(t->GetVertex(i) != nullptr);
                FUZZ_CHECK(t->GetVertex(i) != t->GetVertex((i + 1) % 3));
            }
        }
    }

    void CheckPaths(const IMeshPoint* start, const IMeshPoint* end, int maxPaths, int maxSteps) {
        for (const IMeshPoint::PointVector& route : start->GetPaths(end, maxPaths, maxSteps)) {
            FUZZ_CHECK(route.size() >= 2);
            FUZZ_CHECK(route.size() <= static_cast<std::size_t>(maxSteps) + 1);
            FUZZ_CHECK(route.front() == end);
            FUZZ_CHECK(route.back() == start);
            for (std::size_t i = 0; i + 1 < route.size(); ++i) {
                bool linked = false;
                for (auto e = route[i]->BeginEdges(); e != route[i]->EndEdges(); ++e)
                    linked = linked || (*e)->GetOther(route[i]) == route[i + 1];
                FUZZ_CHECK(linked);
            }
        }
    }
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    IDelaunay2D mesh;
    std::set<std::pair<double, double> > distinct;
    std::size_t operations = 0;
    bool closed = false, stale = false;
    while (!in.Empty() && ++operations < 200) {
        int op = in.Byte() % 8;
        if (op < 5) {
            int range = op < 3 ? 4 : 12000;
            double x = in.Finite(range), y = in.Finite(range);
            if (Scaffold(x, y)) continue;
            IMeshPoint* point = mesh.AddPoint(new IMeshXYPoint(x, y));
            // A failed insertion leaves a mesh only fit to be destroyed.
            if (point == nullptr) return 0;
            distinct.emplace(x, y);
            stale = stale || closed;
            FUZZ_CHECK(point->X() == x && point->Y() == y);
            FUZZ_CHECK(Holds(mesh, point));
            FUZZ_CHECK(mesh.GetPoints().size() == distinct.size());
        } else if (op == 5) {
            mesh.Close();
            closed = true;
            CheckEdges(mesh, stale);
        } else if (op == 6) {
            CheckTriangles(mesh);
        } else if (!mesh.GetPoints().empty()) {
            auto a = mesh.GetPoints().begin();
            auto b = mesh.GetPoints().begin();
            std::advance(a, in.Int(0, static_cast<int>(mesh.GetPoints().size()) - 1));
            std::advance(b, in.Int(0, static_cast<int>(mesh.GetPoints().size()) - 1));
            CheckPaths(*a, *b, in.Int(-1, 6), in.Int(0, 6));
            std::size_t walked = 0;
            for (auto w = (*a)->BeginPoints(); w != (*a)->EndPoints(); ++w) ++walked;
            FUZZ_CHECK(walked <= mesh.GetPoints().size());
        }
    }
    return 0;
}
