// The cost of going through Optimize rather than driving a bare TMinuit by
// hand on the same function: both define the parameters, issue the same
// single command and read the parameters back.  Each benchmark times the
// two alternately and reports "ratio" = Optimize time / bare time.
#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <vector>

#include <TMinuit.h>

#include <ISimplexMinimizer.hxx>
#include <TMinuitMinimizer.hxx>

using namespace ORVEX;

namespace {
    /// A correlated bowl in three parameters: as cheap as a function gets,
    /// so that the engine's own cost shows.
    class Bowl : public IMinimizerFunc {
    public:
        Bowl() : IMinimizerFunc(3) {}
        double Evaluate(const double* p, double*) override {
            double x = p[0] - 0.5, y = p[1] + 1.0, z = p[2] - 2.0;
            return 4 * x * x + 2 * x * y + 3 * y * y + 2 * y * z + 2 * z * z;
        }
    };

    /// The chi-square of a circle through twelve points of a curved track.
    class Circle : public IMinimizerFunc {
    public:
        Circle() : IMinimizerFunc(3) {
            for (int i = 1; i <= 12; ++i) {
                double x = 40.0 * i;
                fX.push_back(x);
                fY.push_back(600.0 - std::sqrt(600.0 * 600.0 - x * x) + 0.3 * ((i * 7) % 5 - 2));
            }
        }
        double Evaluate(const double* p, double*) override {
            double chi2 = 0.0;
            for (std::size_t i = 0; i < fX.size(); ++i) {
                double r = std::hypot(fX[i] - p[0], fY[i] - p[1]) - p[2];
                chi2 += r * r;
            }
            return chi2 / 0.25;
        }
        std::vector<double> fX, fY;
    };

    IMinimizerFunc* gFunction = nullptr;

    void Fcn(Int_t&, Double_t*, Double_t& f, Double_t* par, Int_t) {
        f = gFunction->Evaluate(par, 0);
    }

    /// What a caller writes by hand on a TMinuit that has the function.
    void BareMinimize(TMinuit& minuit, IMinimizerFunc& func, const char* command, double* par) {
        int ierr = 0;
        for (int i = 0; i < func.GetParameterCount(); ++i) {
            minuit.mnparm(i, func.GetParameterName(i), par[i], func.GetScale(i), 0.0, 0.0, ierr);
        }
        double arglist[1] = {0.0};
        minuit.mnexcm(command, arglist, 0, ierr);
        double error;
        for (int i = 0; i < func.GetParameterCount(); ++i) minuit.GetParameter(i, par[i], error);
    }

    /// The CPU time of this thread: the machine is shared, and wall time
    /// would count the others' work.
    double CpuSeconds() {
        timespec now;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
        return now.tv_sec + 1e-9 * now.tv_nsec;
    }

    template <class Engine, class Function>
    void OptimizeOverBareMinuit(benchmark::State& state, const char* command,
                                const std::vector<double>& start) {
        Function func;
        Engine engine(func);
        engine.SetPrintLevel(-1);
        gFunction = &func;
        TMinuit bare(func.GetParameterCount());
        bare.SetPrintLevel(-1);
        bare.SetFCN(Fcn);

        // The two go first in turn, so that neither gains from running
        // on what the other left in the caches.
        double viaOptimize = 0.0, viaBare = 0.0;
        bool optimizeFirst = true;
        for (auto _ : state) {
            std::vector<double> a = start, b = start;
            for (int turn = 0; turn < 2; ++turn) {
                double from = CpuSeconds();
                if (optimizeFirst == (turn == 0)) {
                    engine.Optimize(a.size(), a.data());
                    viaOptimize += CpuSeconds() - from;
                } else {
                    BareMinimize(bare, func, command, b.data());
                    viaBare += CpuSeconds() - from;
                }
            }
            optimizeFirst = !optimizeFirst;
            benchmark::DoNotOptimize(a.data());
            benchmark::DoNotOptimize(b.data());
        }
        gFunction = nullptr;
        state.counters["ratio"] = viaOptimize / viaBare;
        state.counters["optimize_us"] = 1e6 * viaOptimize / state.iterations();
        state.counters["bare_us"] = 1e6 * viaBare / state.iterations();
    }

    const std::vector<double> kBowlStart = {3.0, 3.0, -3.0};
    const std::vector<double> kCircleStart = {50.0, 500.0, 500.0};

    void BM_MigradBowl(benchmark::State& state) {
        OptimizeOverBareMinuit<TMinuitMinimizer, Bowl>(state, "MIGRAD", kBowlStart);
    }
    void BM_SimplexBowl(benchmark::State& state) {
        OptimizeOverBareMinuit<ISimplexMinimizer, Bowl>(state, "SIMPLEX", kBowlStart);
    }
    void BM_MigradCircle(benchmark::State& state) {
        OptimizeOverBareMinuit<TMinuitMinimizer, Circle>(state, "MIGRAD", kCircleStart);
    }
    void BM_SimplexCircle(benchmark::State& state) {
        OptimizeOverBareMinuit<ISimplexMinimizer, Circle>(state, "SIMPLEX", kCircleStart);
    }
    BENCHMARK(BM_MigradBowl);
    BENCHMARK(BM_SimplexBowl);
    BENCHMARK(BM_MigradCircle);
    BENCHMARK(BM_SimplexCircle);
}
