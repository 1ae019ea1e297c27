// The line fit: adding, removing and reading are constant time, whatever
// the number of points already in the fit.
#include <benchmark/benchmark.h>

#include <ILineFit.hxx>

using ORVEX::ILineFit;

namespace {
    ILineFit FitOf(int points) {
        ILineFit fit;
        for (int i = 0; i < points; ++i) fit.AddPoint(i, 0.5 * i + (i % 3), 1.0 + (i % 5));
        return fit;
    }

    void BM_AddPoint(benchmark::State& state) {
        ILineFit fit = FitOf(state.range(0));
        double x = 0.0;
        for (auto _ : state) {
            fit.AddPoint(x, 2.0 * x + 1.0, 0.5);
            x += 1.0;
        }
        benchmark::DoNotOptimize(fit);
    }
    BENCHMARK(BM_AddPoint)->Arg(10)->Arg(100000);

    // Removal from a fit large enough never to reach its last point.
    void BM_RemovePoint(benchmark::State& state) {
        ILineFit fit = FitOf(state.range(0));
        double x = 0.0;
        for (auto _ : state) {
            fit.RemovePoint(x, 2.0 * x + 1.0, 0.5);
            x += 1.0;
            if (fit.GetNumberOfPoints() < 2) {
                state.PauseTiming();
                fit = FitOf(state.range(0));
                state.ResumeTiming();
            }
        }
        benchmark::DoNotOptimize(fit);
    }
    BENCHMARK(BM_RemovePoint)->Arg(100000);

    void BM_GetSlope(benchmark::State& state) {
        ILineFit fit = FitOf(state.range(0));
        for (auto _ : state) {
            benchmark::DoNotOptimize(fit);
            benchmark::DoNotOptimize(fit.GetSlope());
        }
    }
    BENCHMARK(BM_GetSlope)->Arg(10)->Arg(100000);
}
