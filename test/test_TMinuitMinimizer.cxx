// The MIGRAD engine: what it is, the one command it issues, what Minuit
// writes at its default print level, and the error matrix MIGRAD leaves.
// What it shares with the SIMPLEX engine is tested on both in
// test_IMinimizer.cxx.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <TMinuitMinimizer.hxx>

#include "MinuitEngineTesting.hxx"

using namespace ORVEX;
using namespace minuit_testing;

TEST(TMinuitMinimizer, IsAnIMinimizerFirstAndATMinuitSecond) {
    ExpectMinimizerThenMinuit<TMinuitMinimizer>();
}

TEST(TMinuitMinimizer, IssuesMigradAndNothingElse) {
    TiltedBowl func;
    TMinuitMinimizer engine(func);
    double a = 3.0, b = 4.0;
    std::string printed = OptimizeCapturingStdout(engine, a, b);
    EXPECT_EQ(Commands(printed), std::vector<std::string>({"MIGRAD"}));
    printed = OptimizeCapturingStdout(engine, a, b);
    EXPECT_EQ(Commands(printed), std::vector<std::string>({"MIGRAD"}));
}

TEST(TMinuitMinimizer, DefaultPrintLevelWritesMinuitsFullReport) {
    TiltedBowl func;
    TMinuitMinimizer engine(func);
    EXPECT_EQ(engine.fISW[4], TMinuit(2).fISW[4]);
    double a = 3.0, b = 4.0;
    std::string printed = OptimizeCapturingStdout(engine, a, b);
    // The lines that don't depend on rounding noise, in the order written.
    const char* lines[] = {
        " PARAMETER DEFINITIONS:\n",
        "    NO.   NAME         VALUE      STEP SIZE      LIMITS\n",
        "     1 P00          3.00000e+00  1.00000e+00     no limits\n",
        "     2 P01          4.00000e+00  1.00000e+00     no limits\n",
        " **********\n **    1 **MIGRAD\n **********\n",
        " FIRST CALL TO USER FUNCTION AT NEW START POINT, WITH IFLAG=4.\n",
        " START MIGRAD MINIMIZATION.  STRATEGY  1.  CONVERGENCE WHEN EDM .LT. 1.00e-04\n",
        " MIGRAD MINIMIZATION HAS CONVERGED.\n",
        " MIGRAD WILL VERIFY CONVERGENCE AND ERROR MATRIX.\n",
        " COVARIANCE MATRIX CALCULATED SUCCESSFULLY\n",
        "   1  P00          1.00000e+00   7.74597e-01",
        "   2  P01         -2.00000e+00   6.32456e-01",
        " EXTERNAL ERROR MATRIX.    NDIM=  25    NPAR=  2    ERR DEF=1\n",
        "  6.000e-01 -2.000e-01 \n -2.000e-01  4.000e-01 \n",
        " PARAMETER  CORRELATION COEFFICIENTS  \n",
        "        1  0.40825   1.000 -0.408\n",
        "        2  0.40825  -0.408  1.000\n",
    };
    std::size_t at = 0;
    for (const char* line : lines) {
        std::size_t found = printed.find(line, at);
        EXPECT_NE(found, std::string::npos) << "missing after offset " << at << ": " << line;
        if (found != std::string::npos) at = found;
    }
    EXPECT_EQ(Commands(printed).size(), 1u);
}

TEST(TMinuitMinimizer, MigradLeavesItsErrorMatrix) {
    TiltedBowl func;
    TMinuitMinimizer engine(func);
    engine.SetPrintLevel(-1);
    double a = 3.0, b = 4.0;
    engine.Optimize(a, b);
    EXPECT_EQ(engine.GetStatus(), 0);
    EXPECT_NEAR(a, 1.0, 1e-6);
    EXPECT_NEAR(b, -2.0, 1e-6);
    EXPECT_EQ(engine.fISW[1], 3);  // Minuit's "accurate" matrix
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j)
            EXPECT_NEAR(engine.GetCovariance(i, j), kCovariance[i][j], 1e-6);
    }
}

TEST(TMinuitMinimizer, ErrorDefinitionScalesMigradsMatrix) {
    // Four units of the function is two standard deviations: the matrix
    // is four times A^-1.
    TiltedBowl func;
    TMinuitMinimizer engine(func);
    double a = 3.0, b = 4.0;
    testing::internal::CaptureStdout();
    engine.SetPrecision(4.0);
    engine.Optimize(a, b);
    std::string printed = testing::internal::GetCapturedStdout();
    std::vector<std::string> commands = Commands(printed);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].substr(0, 8), "SET ERR ");
    EXPECT_EQ(std::stod(commands[0].substr(8)), 4.0);
    EXPECT_EQ(commands[1], "MIGRAD");
    EXPECT_NE(printed.find("NPAR=  2    ERR DEF=4\n"), std::string::npos);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            EXPECT_NEAR(engine.GetCovariance(i, j), 4.0 * kCovariance[i][j], 4e-6);
        }
    }
    EXPECT_EQ(static_cast<IMinimizer&>(engine).GetPrecision(), -1.0);
}
