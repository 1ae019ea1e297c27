// The SIMPLEX engine: what it is, the one command it issues, the error
// matrix it doesn't leave, and how Minuit's error definition sets how far
// it goes.  What it shares with the MIGRAD engine is tested on both in
// test_IMinimizer.cxx.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <type_traits>
#include <vector>

#include <ISimplexMinimizer.hxx>

using namespace ORVEX;

namespace {
    /// 2 (x - 1)^2 + 2 (x - 1)(y + 2) + 3 (y + 2)^2: minimum 0 at (1, -2),
    /// with A = [[2, 1], [1, 3]] and so covariance A^-1 = [[0.6, -0.2],
    /// [-0.2, 0.4]] for an error definition of 1.
    class TiltedBowl : public IMinimizerFunc {
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
    class Rosenbrock : public IMinimizerFunc {
    public:
        Rosenbrock() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double*) override {
            double valley = par[1] - par[0] * par[0];
            return (1.0 - par[0]) * (1.0 - par[0]) + 100.0 * valley * valley;
        }
    };

    /// The Minuit commands echoed in a printout, in order.
    std::vector<std::string> Commands(const std::string& printed) {
        static const std::regex echo(R"( \*\* +\d+ \*\*([^\n]*))");
        std::vector<std::string> found;
        for (std::sregex_iterator it(printed.begin(), printed.end(), echo), end; it != end; ++it) {
            found.push_back((*it)[1]);
        }
        return found;
    }

    std::string OptimizeCapturingStdout(ISimplexMinimizer& engine, double& a, double& b) {
        testing::internal::CaptureStdout();
        engine.Optimize(a, b);
        return testing::internal::GetCapturedStdout();
    }
}

TEST(ISimplexMinimizer, IsAnIMinimizerFirstAndATMinuitSecond) {
    static_assert(std::is_base_of<IMinimizer, ISimplexMinimizer>::value, "an IMinimizer");
    static_assert(std::is_base_of<TMinuit, ISimplexMinimizer>::value, "a TMinuit");
    TiltedBowl func;
    ISimplexMinimizer engine(func);
    IMinimizer* minimizer = &engine;
    TMinuit* minuit = &engine;
    EXPECT_EQ(static_cast<void*>(minimizer), static_cast<void*>(&engine));
    EXPECT_GT(static_cast<void*>(minuit), static_cast<void*>(minimizer));
    EXPECT_EQ(dynamic_cast<IMinimizer*>(minuit), minimizer);
    // No dictionary of its own: ROOT sees a TMinuit.
    EXPECT_EQ(engine.IsA(), TMinuit::Class());
}

TEST(ISimplexMinimizer, IssuesSimplexAndNothingElse) {
    TiltedBowl func;
    ISimplexMinimizer engine(func);
    double a = 3.0, b = 4.0;
    std::string printed = OptimizeCapturingStdout(engine, a, b);
    EXPECT_EQ(Commands(printed), std::vector<std::string>({"SIMPLEX"}));
    EXPECT_NE(printed.find(" START SIMPLEX MINIMIZATION.    CONVERGENCE WHEN EDM .LT. 0.1\n"),
              std::string::npos);
    EXPECT_NE(printed.find(" SIMPLEX MINIMIZATION HAS CONVERGED.\n"), std::string::npos);
    printed = OptimizeCapturingStdout(engine, a, b);
    EXPECT_EQ(Commands(printed), std::vector<std::string>({"SIMPLEX"}));
}

TEST(ISimplexMinimizer, LeavesNoErrorMatrixUntilHesseIsAskedFor) {
    TiltedBowl func;
    ISimplexMinimizer engine(func);
    engine.SetPrintLevel(-1);
    double a = 3.0, b = 4.0;
    engine.Optimize(a, b);
    EXPECT_EQ(engine.GetStatus(), 0);
    EXPECT_EQ(engine.fISW[1], 0);   // Minuit has no matrix
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) EXPECT_EQ(engine.GetCovariance(i, j), 0.0);
    }

    // HESSE through the TMinuit side computes one, and the IMinimizer side
    // reads it.
    double arglist[1] = {0.0};
    int ierr = 0;
    engine.mnexcm("HESSE", arglist, 0, ierr);
    EXPECT_EQ(ierr, 0);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) EXPECT_NEAR(engine.GetCovariance(i, j), kCovariance[i][j], 1e-4);
    }
}

TEST(ISimplexMinimizer, ErrorDefinitionSetsHowFarItGoes) {
    // SIMPLEX stops once its estimated distance to the minimum is below a
    // tenth of the error definition: at Minuit's default of 1 it gives up
    // early in Rosenbrock's valley, and a small one takes it to (1, 1).
    Rosenbrock func;
    ISimplexMinimizer coarse(func);
    coarse.SetPrintLevel(-1);
    double x = -1.2, y = 1.0;
    coarse.Optimize(x, y);
    EXPECT_EQ(coarse.GetStatus(), 0);
    EXPECT_GT(coarse.GetMinimum(), 1e-2);

    ISimplexMinimizer fine(func);
    double u = -1.2, v = 1.0;
    testing::internal::CaptureStdout();
    fine.SetPrecision(1e-5);
    fine.Optimize(u, v);
    std::string printed = testing::internal::GetCapturedStdout();
    std::vector<std::string> commands = Commands(printed);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].substr(0, 8), "SET ERR ");
    EXPECT_EQ(std::stod(commands[0].substr(8)), 1e-5);
    EXPECT_EQ(commands[1], "SIMPLEX");
    EXPECT_NE(printed.find("CONVERGENCE WHEN EDM .LT. 1e-06\n"), std::string::npos);
    EXPECT_EQ(fine.GetStatus(), 0);
    EXPECT_LT(fine.GetMinimum(), 1e-6);
    EXPECT_NEAR(u, 1.0, 2e-3);
    EXPECT_NEAR(v, 1.0, 4e-3);
    EXPECT_EQ(static_cast<IMinimizer&>(fine).GetPrecision(), -1.0);
}
