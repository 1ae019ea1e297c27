// The weighted straight-line fit over running sums.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include <ILineFit.hxx>

using ORVEX::ILineFit;

namespace {
    // Everything a caller can read from a fit, to compare two fits whole.
    struct Reading {
        int points;
        bool valid;
        double slope, intercept, value, slopeError, interceptError, central;
    };

    Reading Read(const ILineFit& fit) {
        return Reading{fit.GetNumberOfPoints(),
                       fit.IsValid(),
                       fit.GetSlope(),
                       fit.GetIntercept(),
                       fit.GetValue(7.5),
                       fit.GetSlopeUncertainty(),
                       fit.GetInterceptUncertainty(),
                       fit.GetCentralIndependent()};
    }

    void ExpectSame(const Reading& a, const Reading& b) {
        EXPECT_EQ(a.points, b.points);
        EXPECT_EQ(a.valid, b.valid);
        EXPECT_EQ(a.slope, b.slope);
        EXPECT_EQ(a.intercept, b.intercept);
        EXPECT_EQ(a.value, b.value);
        EXPECT_EQ(a.slopeError, b.slopeError);
        EXPECT_EQ(a.interceptError, b.interceptError);
        EXPECT_EQ(a.central, b.central);
    }

    // A textbook weighted least-squares fit, worked about the weighted
    // centre of the points rather than from raw sums.
    struct Reference {
        double slope, intercept, slopeError;
    };

    Reference CentredFit(const std::vector<double>& x, const std::vector<double>& y,
                         const std::vector<double>& sigma) {
        double sw = 0, swx = 0, swy = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            double w = 1.0 / (sigma[i] * sigma[i]);
            sw += w;
            swx += w * x[i];
            swy += w * y[i];
        }
        double xm = swx / sw, ym = swy / sw;
        double sxx = 0, sxy = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            double w = 1.0 / (sigma[i] * sigma[i]);
            sxx += w * (x[i] - xm) * (x[i] - xm);
            sxy += w * (x[i] - xm) * (y[i] - ym);
        }
        double slope = sxy / sxx;
        return Reference{slope, ym - slope * xm, 1.0 / std::sqrt(sxx)};
    }
}

TEST(ILineFit, EmptyFitReadsZeroEverywhere) {
    ILineFit fit;
    EXPECT_EQ(fit.GetNumberOfPoints(), 0);
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.GetSlope(), 0.0);
    EXPECT_EQ(fit.GetIntercept(), 0.0);
    EXPECT_EQ(fit.GetValue(0.0), 0.0);
    EXPECT_EQ(fit.GetValue(-123.0), 0.0);
    EXPECT_EQ(fit.GetValue(1e9), 0.0);
    EXPECT_EQ(fit.GetSlopeUncertainty(), 0.0);
    EXPECT_EQ(fit.GetInterceptUncertainty(), 0.0);
    EXPECT_EQ(fit.GetCentralIndependent(), 0.0);
}

TEST(ILineFit, OnePointGivesAFlatLineThroughIt) {
    ILineFit fit;
    fit.AddPoint(3.0, -4.5, 0.7);
    EXPECT_EQ(fit.GetNumberOfPoints(), 1);
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.GetSlope(), 0.0);
    EXPECT_NEAR(fit.GetIntercept(), -4.5, 1e-12);
    EXPECT_NEAR(fit.GetValue(0.0), -4.5, 1e-12);
    EXPECT_NEAR(fit.GetValue(100.0), -4.5, 1e-12);
    EXPECT_EQ(fit.GetSlopeUncertainty(), 0.0);
    EXPECT_EQ(fit.GetInterceptUncertainty(), 0.0);
    EXPECT_EQ(fit.GetCentralIndependent(), 3.0);
}

TEST(ILineFit, PointsWithoutPositiveSigmaAreIgnoredByAddAndRemove) {
    ILineFit fit;
    fit.AddPoint(1.0, 2.0, 0.5);
    fit.AddPoint(4.0, 3.0, 2.0);
    fit.AddPoint(6.0, -1.0, 1.0);
    Reading before = Read(fit);
    fit.AddPoint(10.0, 10.0, 0.0);
    fit.AddPoint(10.0, 10.0, -1.0);
    ExpectSame(Read(fit), before);
    fit.RemovePoint(1.0, 2.0, 0.0);
    fit.RemovePoint(1.0, 2.0, -0.5);
    ExpectSame(Read(fit), before);

    // Even the emptying rule of a one-point fit waits for a positive sigma.
    ILineFit one;
    one.AddPoint(2.0, 5.0, 1.0);
    one.RemovePoint(2.0, 5.0, 0.0);
    EXPECT_EQ(one.GetNumberOfPoints(), 1);
    EXPECT_NEAR(one.GetIntercept(), 5.0, 1e-12);
}

TEST(ILineFit, ANaNSigmaIsNotCaughtByRemovePoint) {
    ILineFit fit;
    fit.AddPoint(0.0, 1.0, 1.0);
    fit.AddPoint(1.0, 3.0, 1.0);
    fit.AddPoint(2.0, 5.0, 1.0);
    fit.RemovePoint(2.0, 5.0, std::nan(""));
    EXPECT_EQ(fit.GetNumberOfPoints(), 2);
    EXPECT_TRUE(std::isnan(fit.GetIntercept()));
    // On a fit of one point the values are not read at all, NaN included.
    ILineFit one;
    one.AddPoint(0.0, 1.0, 1.0);
    one.RemovePoint(0.0, 1.0, std::nan(""));
    ExpectSame(Read(one), Read(ILineFit()));
}

TEST(ILineFit, AllXEqualIsDegenerateAndGivesTheMeanOfY) {
    ILineFit fit;
    fit.AddPoint(1.0, 2.0, 1.0);
    fit.AddPoint(1.0, 5.0, 1.0);
    // fC = 2, fA = 7, fB = 2, fD = 7, fE = 2: numerator 2*7 - 2*7 = 0 and
    // denominator 2*2 - 2*2 = 0, and 0 >= 0 counts as degenerate.
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.GetSlope(), 0.0);
    EXPECT_DOUBLE_EQ(fit.GetIntercept(), 3.5);
    EXPECT_DOUBLE_EQ(fit.GetValue(-20.0), 3.5);
    EXPECT_EQ(fit.GetSlopeUncertainty(), 0.0);
}

TEST(ILineFit, ASlopeOfAMillionCountsAsDegenerate) {
    ILineFit fit;
    fit.AddPoint(0.0, 0.0, 1.0);
    fit.AddPoint(1.0, 2e6, 1.0);
    // numerator 1*2e6 - 2*2e6 = -2e6, denominator 1 - 2 = -1.
    EXPECT_FALSE(fit.IsValid());
    EXPECT_EQ(fit.GetSlope(), 0.0);
    EXPECT_DOUBLE_EQ(fit.GetIntercept(), 1e6);
}

TEST(ILineFit, JustBelowTheThresholdTheSlopeIsValid) {
    ILineFit fit;
    fit.AddPoint(0.0, 0.0, 1.0);
    fit.AddPoint(1.0, 999999.0, 1.0);
    EXPECT_TRUE(fit.IsValid());
    EXPECT_DOUBLE_EQ(fit.GetSlope(), 999999.0);
}

TEST(ILineFit, ASlopeVarianceOfAMillionReadsAsNoUncertainty) {
    ILineFit fit;
    fit.AddPoint(0.0, 1.0, 1000.0);
    fit.AddPoint(1.0, 2.0, 1000.0);
    // fB = 2e-6 and denominator 1e-12 - 2e-12: a variance of 2e6.
    EXPECT_TRUE(fit.IsValid());
    EXPECT_DOUBLE_EQ(fit.GetSlope(), 1.0);
    EXPECT_EQ(fit.GetSlopeUncertainty(), 0.0);

    // The same points with sigma 100 have variance 2e4 and read its root.
    ILineFit finer;
    finer.AddPoint(0.0, 1.0, 100.0);
    finer.AddPoint(1.0, 2.0, 100.0);
    EXPECT_NEAR(finer.GetSlopeUncertainty(), std::sqrt(2e4), 1e-9);
}

TEST(ILineFit, TwoDistinctPointsLieOnTheLine) {
    ILineFit fit;
    fit.AddPoint(-2.0, 7.0, 0.3);
    fit.AddPoint(3.0, -3.0, 2.0);
    EXPECT_TRUE(fit.IsValid());
    EXPECT_NEAR(fit.GetSlope(), -2.0, 1e-12);
    EXPECT_NEAR(fit.GetIntercept(), 3.0, 1e-12);
    EXPECT_NEAR(fit.GetValue(-2.0), 7.0, 1e-12);
    EXPECT_NEAR(fit.GetValue(3.0), -3.0, 1e-12);
}

TEST(ILineFit, RemovingOneOfThreeGivesTheFitOfTheOtherTwo) {
    ILineFit three;
    three.AddPoint(0.0, 1.0, 0.5);
    three.AddPoint(2.0, 2.0, 1.5);
    three.AddPoint(5.0, 11.0, 1.0);
    ILineFit two;
    two.AddPoint(0.0, 1.0, 0.5);
    two.AddPoint(5.0, 11.0, 1.0);
    three.RemovePoint(2.0, 2.0, 1.5);
    EXPECT_EQ(three.GetNumberOfPoints(), 2);
    EXPECT_NEAR(three.GetSlope(), 2.0, 1e-12);
    EXPECT_NEAR(three.GetIntercept(), 1.0, 1e-12);
    EXPECT_NEAR(three.GetSlope(), two.GetSlope(), 1e-12);
    EXPECT_NEAR(three.GetSlopeUncertainty(), two.GetSlopeUncertainty(), 1e-12);
    EXPECT_NEAR(three.GetInterceptUncertainty(), two.GetInterceptUncertainty(), 1e-12);
    EXPECT_NEAR(three.GetCentralIndependent(), 2.5, 1e-12);
}

TEST(ILineFit, RemovingAnythingFromOnePointEmptiesTheFit) {
    ILineFit fit;
    fit.AddPoint(3.0, 4.0, 0.1);
    fit.RemovePoint(-50.0, 77.0, 9.0);
    ExpectSame(Read(fit), Read(ILineFit()));
    fit.RemovePoint(1.0, 1.0, 1.0);
    ExpectSame(Read(fit), Read(ILineFit()));
    // A fit emptied this way starts again cleanly.
    fit.AddPoint(1.0, 2.0, 1.0);
    EXPECT_EQ(fit.GetNumberOfPoints(), 1);
    EXPECT_DOUBLE_EQ(fit.GetIntercept(), 2.0);
    EXPECT_EQ(fit.GetCentralIndependent(), 1.0);
}

TEST(ILineFit, CentralIndependentIsTheUnweightedMeanOfX) {
    ILineFit fit;
    fit.AddPoint(0.0, 0.0, 0.001);
    fit.AddPoint(10.0, 10.0, 1000.0);
    fit.AddPoint(20.0, 5.0, 1000.0);
    EXPECT_DOUBLE_EQ(fit.GetCentralIndependent(), 10.0);
    // The fit itself follows the heavy point: at x = 0 it is pinned to 0.
    EXPECT_NEAR(fit.GetValue(0.0), 0.0, 1e-6);
}

TEST(ILineFit, NegativeWeightedSumOfYGivesANaNInterceptUncertainty) {
    ILineFit fit;
    fit.AddPoint(0.0, -3.0, 1.0);
    fit.AddPoint(2.0, -1.0, 1.0);
    EXPECT_TRUE(fit.IsValid());
    EXPECT_TRUE(std::isfinite(fit.GetSlopeUncertainty()));
    EXPECT_NEAR(fit.GetSlopeUncertainty(), std::sqrt(0.5), 1e-12);
    EXPECT_TRUE(std::isnan(fit.GetInterceptUncertainty()));
}

TEST(ILineFit, ZeroWeightedSumOfYGivesNoInterceptUncertainty) {
    ILineFit fit;
    fit.AddPoint(0.0, -1.0, 1.0);
    fit.AddPoint(1.0, 1.0, 1.0);
    EXPECT_TRUE(fit.IsValid());
    EXPECT_EQ(fit.GetInterceptUncertainty(), 0.0);
}

TEST(ILineFit, InterceptUncertaintyUsesTheWeightedSumOfY) {
    // (0, 1) and (1, 3), sigma 1: fA = 4, fB = 2, fC = 1, fE = 1, so the
    // denominator is 1 - 2 = -1.  The value read is sqrt(-4 / -1) = 2,
    // where the textbook sqrt(fE / (fB fE - fC^2)) would give 1.
    ILineFit fit;
    fit.AddPoint(0.0, 1.0, 1.0);
    fit.AddPoint(1.0, 3.0, 1.0);
    EXPECT_DOUBLE_EQ(fit.GetInterceptUncertainty(), 2.0);
    EXPECT_DOUBLE_EQ(fit.GetSlopeUncertainty(), std::sqrt(2.0));
    // Shifting all y changes it although the slope does not move.
    ILineFit shifted;
    shifted.AddPoint(0.0, 11.0, 1.0);
    shifted.AddPoint(1.0, 13.0, 1.0);
    EXPECT_DOUBLE_EQ(shifted.GetSlope(), fit.GetSlope());
    EXPECT_DOUBLE_EQ(shifted.GetInterceptUncertainty(), std::sqrt(24.0));
}

TEST(ILineFit, AnInterceptVarianceOfAMillionReadsAsNoUncertainty) {
    // x = 0 and 1 with sigma 1: denominator 1 - 2 = -1, so the variance
    // read is fA = y0 + y1, judged against the numerator -fA.
    ILineFit high;
    high.AddPoint(0.0, 1e6, 1.0);
    high.AddPoint(1.0, 1e6, 1.0);
    EXPECT_TRUE(high.IsValid());
    EXPECT_EQ(high.GetSlope(), 0.0);
    EXPECT_DOUBLE_EQ(high.GetSlopeUncertainty(), std::sqrt(2.0));
    EXPECT_EQ(high.GetInterceptUncertainty(), 0.0);
    // A large negative sum is cut the same way, before the root goes NaN.
    ILineFit low;
    low.AddPoint(0.0, -1e6, 1.0);
    low.AddPoint(1.0, -1e6, 1.0);
    EXPECT_EQ(low.GetInterceptUncertainty(), 0.0);
    // Just below the threshold the root is read.
    ILineFit below;
    below.AddPoint(0.0, 499999.5, 1.0);
    below.AddPoint(1.0, 499999.5, 1.0);
    EXPECT_DOUBLE_EQ(below.GetInterceptUncertainty(), std::sqrt(999999.0));
}

TEST(ILineFit, InterceptUncertaintyFollowsItsFormulaOnRandomData) {
    std::mt19937 engine(11);
    std::uniform_real_distribution<double> xs(-50.0, 50.0), sigmas(0.2, 3.0);
    std::normal_distribution<double> noise(0.0, 1.0);
    ILineFit fit;
    double a = 0, b = 0, c = 0, e = 0;
    for (int i = 0; i < 40; ++i) {
        double x = xs(engine), s = sigmas(engine);
        double y = 25.0 + 0.3 * x + s * noise(engine);
        fit.AddPoint(x, y, s);
        a += y / (s * s);
        b += 1 / (s * s);
        c += x / (s * s);
        e += x * x / (s * s);
    }
    ASSERT_GT(a, 0.0);
    EXPECT_NEAR(fit.GetInterceptUncertainty(), std::sqrt(-a / (c * c - b * e)), 1e-9);
}

TEST(ILineFit, AgreesWithACentredWeightedLeastSquaresFit) {
    std::mt19937 engine(2026);
    std::uniform_real_distribution<double> xs(-100.0, 300.0), sigmas(0.1, 5.0);
    std::uniform_real_distribution<double> slopes(-3.0, 3.0), intercepts(-50.0, 50.0);
    std::normal_distribution<double> noise(0.0, 1.0);
    for (int trial = 0; trial < 50; ++trial) {
        double slope = slopes(engine), intercept = intercepts(engine);
        std::vector<double> x, y, sigma;
        int n = 2 + trial % 20;
        for (int i = 0; i < n; ++i) {
            x.push_back(xs(engine));
            sigma.push_back(sigmas(engine));
            y.push_back(intercept + slope * x.back() + sigma.back() * noise(engine));
        }
        ILineFit fit(n, x.data(), y.data(), sigma.data());
        Reference reference = CentredFit(x, y, sigma);
        ASSERT_TRUE(fit.IsValid());
        EXPECT_EQ(fit.GetNumberOfPoints(), n);
        EXPECT_NEAR(fit.GetSlope(), reference.slope, 1e-9 * (1 + std::fabs(reference.slope)));
        EXPECT_NEAR(fit.GetIntercept(), reference.intercept,
                    1e-8 * (1 + std::fabs(reference.intercept)));
        EXPECT_NEAR(fit.GetSlopeUncertainty(), reference.slopeError, 1e-9 * reference.slopeError);
    }
}

TEST(ILineFit, ArrayConstructorAddsThePointsInOrder) {
    double x[] = {1.0, 2.0, 3.0, 4.0};
    double y[] = {2.0, 2.5, 4.5, 4.0};
    double sigma[] = {0.5, -1.0, 1.0, 2.0};
    ILineFit built(4, x, y, sigma);
    ILineFit added;
    for (int i = 0; i < 4; ++i) added.AddPoint(x[i], y[i], sigma[i]);
    EXPECT_EQ(built.GetNumberOfPoints(), 3);
    ExpectSame(Read(built), Read(added));
}

TEST(ILineFit, ArrayConstructorWithNoPointsReadsNoArray) {
    // Null arrays would crash on the first read.
    ILineFit none(0, nullptr, nullptr, nullptr);
    ILineFit negative(-5, nullptr, nullptr, nullptr);
    ExpectSame(Read(none), Read(ILineFit()));
    ExpectSame(Read(negative), Read(ILineFit()));
}

TEST(ILineFitDeathTest, ArrayConstructorWithNullArraysAndPointsEndsTheProcess) {
    // The fit is a leaf that throws nothing: the arrays are the caller's,
    // and a null one with points to read is read all the same.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(ILineFit(2, nullptr, nullptr, nullptr), "");
}

TEST(ILineFit, NaNSumsCountAsValid) {
    ILineFit fit;
    fit.AddPoint(0.0, 1.0, 1.0);
    fit.AddPoint(1.0, 2.0, std::nan(""));
    EXPECT_EQ(fit.GetNumberOfPoints(), 2);
    EXPECT_TRUE(fit.IsValid());
    EXPECT_TRUE(std::isnan(fit.GetSlope()));
}

TEST(ILineFit, CopiesAreIndependentValues) {
    ILineFit fit;
    fit.AddPoint(0.0, 0.0, 1.0);
    fit.AddPoint(1.0, 1.0, 1.0);
    ILineFit copy = fit;
    fit.AddPoint(2.0, 10.0, 1.0);
    EXPECT_EQ(copy.GetNumberOfPoints(), 2);
    EXPECT_DOUBLE_EQ(copy.GetSlope(), 1.0);
    EXPECT_DOUBLE_EQ(fit.GetSlope(), 5.0);
}
