// The SIMPLEX engine: what it is, the one command it issues, the error
// matrix it doesn't leave, and how Minuit's error definition sets how far
// it goes.  What it shares with the MIGRAD engine is tested on both in
// test_IMinimizer.cxx.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ISimplexMinimizer.hxx>

#include "MinuitEngineTesting.hxx"

using namespace ORVEX;
using namespace minuit_testing;

TEST(ISimplexMinimizer, IsAnIMinimizerFirstAndATMinuitSecond) {
    ExpectMinimizerThenMinuit<ISimplexMinimizer>();
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
    EXPECT_EQ(engine.fISW[1], 0);  // Minuit has no matrix
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
        for (int j = 0; j < 2; ++j)
            EXPECT_NEAR(engine.GetCovariance(i, j), kCovariance[i][j], 1e-4);
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
