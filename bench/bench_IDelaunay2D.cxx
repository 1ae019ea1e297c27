// Insertion into the Delaunay mesh, per point, for uniform random points and
// for a jittered grid, and the route search on the closed mesh.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include <IDelaunay2D.hxx>

#include "DelaunayBenchPoints.hxx"

using namespace ORVEX;

namespace {
    using namespace ovBench;

    void Insert(IDelaunay2D& mesh, const Points& points) {
        for (const auto& p : points) {
            benchmark::DoNotOptimize(mesh.AddPoint(new IMeshXYPoint(p.first, p.second)));
        }
    }

    void RunInsertion(benchmark::State& state, const Points& points) {
        for (auto _ : state) {
            std::unique_ptr<IDelaunay2D> mesh(new IDelaunay2D);
            Insert(*mesh, points);
            state.PauseTiming();
            mesh.reset();
            state.ResumeTiming();
        }
        // Seconds per inserted point ("u" is microseconds).
        state.counters["per_point"] = benchmark::Counter(
            double(points.size()),
            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    }

    void BM_InsertUniform(benchmark::State& state) {
        RunInsertion(state, Uniform(static_cast<int>(state.range(0))));
    }

    void BM_InsertJitteredGrid(benchmark::State& state) {
        RunInsertion(state, JitteredGrid(static_cast<int>(state.range(0))));
    }

    /// Rows in order, as a client scanning a detector might give them.  The
    /// mesh takes the points in the client's order, and the history of
    /// triangles grows deep when each point lands beside the last one, so
    /// this costs far more per point than a random order.
    void BM_InsertJitteredGridInRows(benchmark::State& state) {
        RunInsertion(state, JitteredGridInRows(static_cast<int>(state.range(0))));
    }

    IMeshPoint* Nearest(IDelaunay2D& mesh, double x, double y) {
        IMeshPoint* best = nullptr;
        double bestDistance = 0;
        for (IMeshPoint* p : mesh.GetPoints()) {
            const double d = std::hypot(p->X() - x, p->Y() - y);
            if (!best || d < bestDistance) {
                best = p;
                bestDistance = d;
            }
        }
        return best;
    }

    /// Routes between two points about ten mean edge lengths apart, on
    /// closed meshes of growing size: the search covers a similar patch of
    /// the mesh whatever its size.
    void BM_GetPaths(benchmark::State& state) {
        const int count = static_cast<int>(state.range(0));
        IDelaunay2D mesh;
        Insert(mesh, Uniform(count));
        mesh.Close();
        const double reach = 10.0 / std::sqrt(double(count));
        IMeshPoint* start = Nearest(mesh, 0.5, 0.5);
        IMeshPoint* end = Nearest(mesh, 0.5 + reach, 0.5);
        std::size_t routes = 0;
        for (auto _ : state) {
            IMeshPoint::PathVector paths = start->GetPaths(end, 3, 30);
            routes = paths.size();
            benchmark::DoNotOptimize(paths.data());
        }
        state.counters["routes"] = double(routes);
    }
}

BENCHMARK(BM_InsertUniform)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InsertJitteredGrid)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InsertJitteredGridInRows)
    ->Arg(1000)
    ->Arg(2500)
    ->Arg(4900)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetPaths)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);
