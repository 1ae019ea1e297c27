// The Delaunay mesh beside CGAL's Delaunay_triangulation_2 on the same
// points: ours inserting one point at a time and closing (turning the
// triangles into edges), CGAL inserting one point at a time in the same
// order and in one batch (which sorts the points along a space-filling curve
// first).  Every figure is per point; "edges" counts the edges between the
// given points, which must agree.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <IDelaunay2D.hxx>

#include "DelaunayBenchPoints.hxx"

using namespace ORVEX;

namespace {
    using namespace ovBench;

    typedef CGAL::Exact_predicates_inexact_constructions_kernel Kernel;
    typedef CGAL::Delaunay_triangulation_2<Kernel> Triangulation;

    void PerPoint(benchmark::State& state, std::size_t count, double edges) {
        // Seconds per point ("u" is microseconds).
        state.counters["per_point"] =
            benchmark::Counter(double(count), benchmark::Counter::kIsIterationInvariantRate |
                                                  benchmark::Counter::kInvert);
        state.counters["edges"] = edges;
    }

    void Insert(IDelaunay2D& mesh, const Points& points) {
        for (const auto& p : points) {
            benchmark::DoNotOptimize(mesh.AddPoint(new IMeshXYPoint(p.first, p.second)));
        }
    }

    /// Ours, timing the insertions, Close, or both.
    void RunOurs(benchmark::State& state, const Points& points, bool timeInsert, bool timeClose) {
        std::size_t edges = 0;
        for (auto _ : state) {
            std::unique_ptr<IDelaunay2D> mesh(new IDelaunay2D);
            if (!timeInsert) state.PauseTiming();
            Insert(*mesh, points);
            if (!timeInsert) state.ResumeTiming();
            if (!timeClose) state.PauseTiming();
            mesh->Close();
            if (timeClose) state.PauseTiming();
            edges = mesh->GetEdges().size();
            mesh.reset();
            state.ResumeTiming();
        }
        PerPoint(state, points.size(), double(edges));
    }

    std::vector<Kernel::Point_2> CGALPoints(const Points& points) {
        std::vector<Kernel::Point_2> result;
        result.reserve(points.size());
        for (const auto& p : points) result.emplace_back(p.first, p.second);
        return result;
    }

    void RunCGAL(benchmark::State& state, const Points& points, bool batch) {
        const std::vector<Kernel::Point_2> input = CGALPoints(points);
        std::size_t edges = 0;
        for (auto _ : state) {
            std::unique_ptr<Triangulation> triangulation(new Triangulation);
            if (batch) {
                triangulation->insert(input.begin(), input.end());
            } else {
                for (const Kernel::Point_2& p : input) triangulation->insert(p);
            }
            state.PauseTiming();
            edges = triangulation->number_of_vertices() == 0
                        ? 0
                        : std::distance(triangulation->finite_edges_begin(),
                                        triangulation->finite_edges_end());
            triangulation.reset();
            state.ResumeTiming();
        }
        PerPoint(state, points.size(), double(edges));
    }

    Points Sample(const benchmark::State& state) {
        return Uniform(static_cast<int>(state.range(0)));
    }

    void BM_OursInsert(benchmark::State& state) {
        RunOurs(state, Sample(state), true, false);
    }
    void BM_OursClose(benchmark::State& state) {
        RunOurs(state, Sample(state), false, true);
    }
    void BM_OursInsertAndClose(benchmark::State& state) {
        RunOurs(state, Sample(state), true, true);
    }
    void BM_CGALOneAtATime(benchmark::State& state) {
        RunCGAL(state, Sample(state), false);
    }
    void BM_CGALBatch(benchmark::State& state) {
        RunCGAL(state, Sample(state), true);
    }

    /// The jittered grid in rows: the history grows deep for ours.
    void BM_OursGridInRowsInsertAndClose(benchmark::State& state) {
        RunOurs(state, JitteredGridInRows(static_cast<int>(state.range(0))), true, true);
    }
    void BM_CGALGridInRowsBatch(benchmark::State& state) {
        RunCGAL(state, JitteredGridInRows(static_cast<int>(state.range(0))), true);
    }
}

#define OVUTILITY_SIZES ->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_OursInsert) OVUTILITY_SIZES;
BENCHMARK(BM_OursClose) OVUTILITY_SIZES;
BENCHMARK(BM_OursInsertAndClose) OVUTILITY_SIZES;
BENCHMARK(BM_CGALOneAtATime) OVUTILITY_SIZES;
BENCHMARK(BM_CGALBatch) OVUTILITY_SIZES;
BENCHMARK(BM_OursGridInRowsInsertAndClose)->Arg(4900)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CGALGridInRowsBatch)->Arg(4900)->Unit(benchmark::kMillisecond);
