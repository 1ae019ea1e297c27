#ifndef ovUtility_MinuitEngineTesting_hxx_seen
#define ovUtility_MinuitEngineTesting_hxx_seen

// Functions with known minima and the reading of Minuit's printout, shared
// by the tests of the two Minuit engines.

#include <regex>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <TMatrixD.h>
#include <TMinuit.h>

#include <IMinimizer.hxx>

namespace minuit_testing {
    /// 2 (x - 1)^2 + 2 (x - 1)(y + 2) + 3 (y + 2)^2: minimum 0 at (1, -2),
    /// with A = [[2, 1], [1, 3]] and so covariance A^-1 = [[0.6, -0.2],
    /// [-0.2, 0.4]] for an error definition of 1: errors sqrt(0.6) =
    /// 0.774597 and sqrt(0.4) = 0.632456, correlation -0.2 / sqrt(0.24) =
    /// -0.40825.
    class TiltedBowl : public ORVEX::IMinimizerFunc {
    public:
        TiltedBowl() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double*) override {
            double x = par[0] - 1.0;
            double y = par[1] + 2.0;
            return 2.0 * x * x + 2.0 * x * y + 3.0 * y * y;
        }
    };
    const double kCovariance[2][2] = {{0.6, -0.2}, {-0.2, 0.4}};

    /// (1 - x)^2 + 100 (y - x^2)^2: minimum 0 at (1, 1) at the end of a
    /// long curved valley.
    class Rosenbrock : public ORVEX::IMinimizerFunc {
    public:
        Rosenbrock() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double*) override {
            double valley = par[1] - par[0] * par[0];
            return (1.0 - par[0]) * (1.0 - par[0]) + 100.0 * valley * valley;
        }

        /// The covariance 2 H^-1 at (x, y), from the exact Hessian
        /// [[1200 x^2 - 400 y + 2, -400 x], [-400 x, 200]].  At (1, 1) it is
        /// [[1, 2], [2, 4.01]]; its determinant, 80000 (x^2 - y) + 400,
        /// changes by a tenth for a step of 5e-4 off the valley floor.
        static TMatrixD Covariance(double x, double y) {
            TMatrixD hessian(2, 2);
            hessian(0, 0) = 1200.0 * x * x - 400.0 * y + 2.0;
            hessian(0, 1) = hessian(1, 0) = -400.0 * x;
            hessian(1, 1) = 200.0;
            hessian.Invert();
            return 2.0 * hessian;
        }
    };

    /// The Minuit commands echoed in a printout, in order.
    inline std::vector<std::string> Commands(const std::string& printed) {
        static const std::regex echo(R"( \*\* +\d+ \*\*([^\n]*))");
        std::vector<std::string> found;
        for (std::sregex_iterator it(printed.begin(), printed.end(), echo), end; it != end; ++it) {
            found.push_back((*it)[1]);
        }
        return found;
    }

    /// An engine is an IMinimizer first and a TMinuit second, in that order
    /// in memory, and has no dictionary of its own: ROOT sees a TMinuit.
    template <class Engine>
    void ExpectMinimizerThenMinuit() {
        static_assert(std::is_base_of<ORVEX::IMinimizer, Engine>::value, "an IMinimizer");
        static_assert(std::is_base_of<TMinuit, Engine>::value, "a TMinuit");
        TiltedBowl func;
        Engine engine(func);
        ORVEX::IMinimizer* minimizer = &engine;
        TMinuit* minuit = &engine;
        EXPECT_EQ(static_cast<void*>(minimizer), static_cast<void*>(&engine));
        EXPECT_GT(static_cast<void*>(minuit), static_cast<void*>(minimizer));
        EXPECT_EQ(dynamic_cast<ORVEX::IMinimizer*>(minuit), minimizer);
        EXPECT_EQ(engine.IsA(), TMinuit::Class());
    }

    /// What Minuit prints while `engine` optimizes (a, b).
    template <class Engine>
    std::string OptimizeCapturingStdout(Engine& engine, double& a, double& b) {
        testing::internal::CaptureStdout();
        engine.Optimize(a, b);
        return testing::internal::GetCapturedStdout();
    }
}

#endif
