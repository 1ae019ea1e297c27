// Filling a Hough space and resolving its shared points.
//
// The space is 1 m square with 10 mm lines.  The coherence length is held
// at 400 mm, so the 128 angle rows stay the same and the oversampling
// changes only the number of radius bins and the bins filled per row.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include <TRandom3.h>

#include <IHoughLines.hxx>

using namespace ORVEX;

namespace {
    class BenchPoint : public IHoughPoint {
    public:
        BenchPoint(double x, double y) : fX(x), fY(y) {}
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }

    private:
        double fX, fY;
    };

    typedef std::vector<std::pair<double, double> > Positions;

    // Half the points on four straight tracks, half uniform noise.
    Positions Event(int count) {
        TRandom3 random(1234);
        Positions positions;
        const double angles[] = {0.4, -0.5, 1.3, -1.1};
        const double radii[] = {-200, 250, 20, -50};
        int perTrack = count / 8;
        for (int t = 0; t < 4; ++t) {
            double c = std::cos(angles[t]), s = std::sin(angles[t]);
            for (int i = 0; i < perTrack; ++i) {
                double along = -300 + 600.0 * i / perTrack;
                double across = radii[t] + random.Gaus(0, 1.0);
                positions.push_back(std::make_pair(along * c - across * s, along * s + across * c));
            }
        }
        while (int(positions.size()) < count) {
            positions.push_back(
                std::make_pair(random.Uniform(-500, 500), random.Uniform(-500, 500)));
        }
        return positions;
    }

    void Fill(IHoughLines& space, const Positions& positions) {
        for (const auto& p : positions) space.AddPoint(new BenchPoint(p.first, p.second));
    }

    // Arguments: point count, oversampling.  Each round fills a fresh
    // space, so no round reuses the memory freed by the last.
    void BM_AddPoint(benchmark::State& state) {
        Positions positions = Event(state.range(0));
        for (auto _ : state) {
            state.PauseTiming();
            IHoughLines* space = new IHoughLines(-500, -500, 500, 500, 10, state.range(1), 400);
            state.ResumeTiming();
            Fill(*space, positions);
            state.PauseTiming();
            delete space;
            state.ResumeTiming();
        }
        state.SetItemsProcessed(state.iterations() * state.range(0));
    }
    BENCHMARK(BM_AddPoint)->ArgsProduct({{1000, 10000}, {1, 2, 4}})->Unit(benchmark::kMillisecond);

    // Arguments: point count, oversampling.
    void BM_RemoveShared(benchmark::State& state) {
        IHoughLines space(-500, -500, 500, 500, 10, state.range(1), 400);
        Positions positions = Event(state.range(0));
        for (auto _ : state) {
            state.PauseTiming();
            space.Clear();
            Fill(space, positions);
            state.ResumeTiming();
            space.RemoveShared(1.0);
        }
        state.SetItemsProcessed(state.iterations() * state.range(0));
        state.SetComplexityN(state.range(0));
    }
    // The growth with the number of points for a fixed binning.
    BENCHMARK(BM_RemoveShared)
        ->ArgsProduct({{125, 250, 500, 1250, 2500, 5000, 10000, 20000}, {1}})
        ->Complexity(benchmark::oNLogN)
        ->Unit(benchmark::kMillisecond);
    BENCHMARK(BM_RemoveShared)->ArgsProduct({{10000}, {2, 4}})->Unit(benchmark::kMillisecond);

    // The shared resolution that keeps near-equal lines, at 0.55.
    void BM_RemoveSharedKeepingShares(benchmark::State& state) {
        IHoughLines space(-500, -500, 500, 500, 10, 1, 400);
        Positions positions = Event(state.range(0));
        for (auto _ : state) {
            state.PauseTiming();
            space.Clear();
            Fill(space, positions);
            state.ResumeTiming();
            space.RemoveShared(0.55);
        }
        state.SetItemsProcessed(state.iterations() * state.range(0));
    }
    BENCHMARK(BM_RemoveSharedKeepingShares)->Arg(10000)->Unit(benchmark::kMillisecond);

    // A fine grid under a long coherence length: 80 mm square, 0.5 mm
    // lines, over-sampling 4, 1 291 568 lines, each point on about a
    // thousand of them.  Every line of three points or more is sorted again
    // after each one treated, so the time goes as the square of their
    // number, which is the complexity's N here.  Argument: point count.
    void BM_RemoveSharedCrowded(benchmark::State& state) {
        IHoughLines space(0, 0, 80, 80, 0.5, 4, 1e300);
        TRandom3 random(99);
        Positions positions;
        for (int i = 0; i < state.range(0); ++i)
            positions.push_back(std::make_pair(random.Uniform(0, 80), random.Uniform(0, 80)));
        std::size_t crowded = 0;
        for (auto _ : state) {
            state.PauseTiming();
            space.Clear();
            Fill(space, positions);
            crowded = 0;
            for (const IHoughLine& line : space.GetLines())
                if (line.GetPoints().size() > 2) ++crowded;
            state.ResumeTiming();
            space.RemoveShared(0.5);
        }
        state.counters["crowded_lines"] = crowded;
        state.SetComplexityN(crowded);
    }
    BENCHMARK(BM_RemoveSharedCrowded)
        ->Arg(25)
        ->Arg(50)
        ->Arg(75)
        ->Arg(100)
        ->Complexity(benchmark::oNSquared)
        ->Unit(benchmark::kMillisecond);
}
