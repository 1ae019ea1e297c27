// The linear Kalman filter: hand-worked matrices for the four-component
// model, the seven shape assertions, and a track followed to its slope.
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <random>
#include <string>

#include <unistd.h>

#include <IKalmanFilter.hxx>

using ORVEX::IKalmanFilter;
typedef IKalmanFilter::Matrix Matrix;
typedef IKalmanFilter::Vector Vector;

namespace {
    Matrix Diagonal(std::initializer_list<double> values) {
        Matrix m(values.size(), values.size());
        int i = 0;
        for (double v : values) {
            m(i, i) = v;
            ++i;
        }
        return m;
    }

    Matrix Rows(int rows, int cols, std::initializer_list<double> values) {
        Matrix m(rows, cols);
        int k = 0;
        for (double v : values) {
            m(k / cols, k % cols) = v;
            ++k;
        }
        return m;
    }

    Vector Elements(std::initializer_list<double> values) {
        Vector v(values.size());
        int i = 0;
        for (double x : values) v(i++) = x;
        return v;
    }

    void ExpectMatrixNear(const Matrix& actual, const Matrix& expected, double tolerance) {
        ASSERT_EQ(actual.GetNrows(), expected.GetNrows());
        ASSERT_EQ(actual.GetNcols(), expected.GetNcols());
        for (int i = 0; i < expected.GetNrows(); ++i) {
            for (int j = 0; j < expected.GetNcols(); ++j) {
                EXPECT_NEAR(actual(i, j), expected(i, j), tolerance) << "element " << i << "," << j;
            }
        }
    }

    void ExpectVectorNear(const Vector& actual, const Vector& expected, double tolerance) {
        ASSERT_EQ(actual.GetNrows(), expected.GetNrows());
        for (int i = 0; i < expected.GetNrows(); ++i) {
            EXPECT_NEAR(actual(i), expected(i), tolerance) << "element " << i;
        }
    }

    // The four-component model from FilterComponentInitializer, at
    // state (1, 2, 0.5, -0.25) with covariance diag(2, 3, 1, 1).
    IKalmanFilter ModelFilter() {
        std::pair<Matrix, Matrix> model = FilterComponentInitializer();
        return IKalmanFilter(model.first, model.second, Elements({1.0, 2.0, 0.5, -0.25}),
                             Diagonal({2.0, 3.0, 1.0, 1.0}));
    }

    // The regular expression that matches `text` literally.
    std::string Literal(const std::string& text) {
        std::string escaped;
        for (char c : text) {
            if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
            escaped += c;
        }
        return escaped;
    }

    // What the standard assertion writes for a failed condition in the
    // filter's source.
    std::string AssertionOf(const std::string& condition) {
        return "IKalmanFilter\\.cxx:[0-9]+: .*IKalmanFilter::.*Assertion `" + Literal(condition) +
               "' failed";
    }

    // In a dying child: after the assertion's message, report the shape
    // and corner of the filter's system matrix, then leave with code 7.
    const IKalmanFilter* gWatched = nullptr;

    void ReportSystemMatrix(int) {
        const Matrix& a = gWatched->GetSystemMatrix();
        char text[80];
        int length = std::snprintf(text, sizeof(text), "\nsystem matrix %dx%d, (0,2) = %g\n",
                                   a.GetNrows(), a.GetNcols(), a(0, 2));
        if (write(2, text, length) < 0) _exit(8);
        _exit(7);
    }

    void WatchSystemMatrix(const IKalmanFilter& filter) {
        gWatched = &filter;
        std::signal(SIGABRT, ReportSystemMatrix);
    }
}

TEST(FilterComponentInitializer, BuildsTheFourComponentModel) {
    std::pair<Matrix, Matrix> model = FilterComponentInitializer();
    ExpectMatrixNear(model.first, Rows(4, 4, {1, 0, 30, 0, 0, 1, 0, 30, 0, 0, 1, 0, 0, 0, 0, 1}),
                     0.0);
    ExpectMatrixNear(model.second, Rows(2, 4, {1, 0, 0, 0, 0, 1, 0, 0}), 0.0);
}

TEST(Transpose, GivesTheSwappedShapeAndLeavesItsArgument) {
    Matrix m = Rows(2, 3, {1, 2, 3, 4, 5, 6});
    Matrix t = Transpose(m);
    ExpectMatrixNear(t, Rows(3, 2, {1, 4, 2, 5, 3, 6}), 0.0);
    ExpectMatrixNear(m, Rows(2, 3, {1, 2, 3, 4, 5, 6}), 0.0);
}

TEST(IKalmanFilter, LongConstructorCopiesItsArguments) {
    std::pair<Matrix, Matrix> model = FilterComponentInitializer();
    Vector state = Elements({1.0, 2.0, 3.0, 4.0});
    Matrix covariance = Diagonal({1.0, 1.0, 1.0, 1.0});
    IKalmanFilter filter(model.first, model.second, state, covariance);
    state(0) = 99.0;
    model.first(0, 2) = 5.0;
    EXPECT_EQ(filter.GetState()(0), 1.0);
    EXPECT_EQ(filter.GetSystemMatrix()(0, 2), 30.0);
    EXPECT_EQ(filter.GetFilterGain().GetNrows(), 4);
    EXPECT_EQ(filter.GetFilterGain().GetNcols(), 2);
    EXPECT_EQ(filter.GetInnovation().GetNrows(), 2);
}

TEST(IKalmanFilter, ShortConstructorSizesEveryMatrix) {
    const IKalmanFilter filter(Elements({1, 2, 3, 4, 5}), Diagonal({1, 1, 1, 1, 1}), 3);
    EXPECT_EQ(filter.GetState().GetNrows(), 5);
    EXPECT_EQ(filter.GetSystemMatrix().GetNrows(), 5);
    EXPECT_EQ(filter.GetSystemMatrix().GetNcols(), 5);
    EXPECT_EQ(filter.GetFilterGain().GetNrows(), 5);
    EXPECT_EQ(filter.GetFilterGain().GetNcols(), 3);
    EXPECT_EQ(filter.GetInnovation().GetNrows(), 3);
    IKalmanFilter writable(Elements({1, 2, 3, 4, 5}), Diagonal({1, 1, 1, 1, 1}), 3);
    EXPECT_EQ(writable.GetMeasurementMatrix().GetNrows(), 3);
    EXPECT_EQ(writable.GetMeasurementMatrix().GetNcols(), 5);
}

TEST(IKalmanFilter, DefaultIntervalMovesPositionsByThirtyTimesTheRates) {
    IKalmanFilter filter = ModelFilter();
    filter.Predict(Matrix(4, 4));
    ExpectVectorNear(filter.GetState(), Elements({1.0 + 30 * 0.5, 2.0 - 30 * 0.25, 0.5, -0.25}),
                     1e-12);
}

TEST(IKalmanFilter, SetIntervalChangesTwoElementsAndTheTransposeFollows) {
    IKalmanFilter filter = ModelFilter();
    Matrix before = filter.GetSystemMatrix();
    filter.SetInterval(2.0);
    Matrix expected = before;
    expected(0, 2) = 2.0;
    expected(1, 3) = 2.0;
    ExpectMatrixNear(filter.GetSystemMatrix(), expected, 0.0);

    // With P = I and Q = 0 the prediction is A A^T: a stale transpose
    // would give (0,0) = 1 + 2 * 30 rather than 1 + 2 * 2.
    IKalmanFilter identity(filter.GetSystemMatrix(), FilterComponentInitializer().second,
                           Elements({0, 0, 0, 0}), Diagonal({1, 1, 1, 1}));
    identity.SetInterval(3.0);
    identity.Predict(Matrix(4, 4));
    EXPECT_DOUBLE_EQ(identity.GetCovariance()(0, 0), 10.0);
    EXPECT_DOUBLE_EQ(identity.GetCovariance()(0, 2), 3.0);
    EXPECT_DOUBLE_EQ(identity.GetCovariance()(2, 0), 3.0);
}

TEST(IKalmanFilter, SetIntervalOnAShortFilterWritesOnlyTwoElements) {
    IKalmanFilter filter(Elements({0, 0, 0, 0}), Diagonal({1, 1, 1, 1}), 2);
    Matrix a = Rows(4, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
    filter.SetSystemMatrix(a);
    filter.SetInterval(-1.5);
    a(0, 2) = -1.5;
    a(1, 3) = -1.5;
    ExpectMatrixNear(filter.GetSystemMatrix(), a, 0.0);
}

TEST(IKalmanFilter, PredictionWithIdentityCovarianceAndNoNoiseIsAATransposed) {
    std::pair<Matrix, Matrix> model = FilterComponentInitializer();
    IKalmanFilter filter(model.first, model.second, Elements({0, 0, 0, 0}), Diagonal({1, 1, 1, 1}));
    filter.Predict(Matrix(4, 4));
    ExpectMatrixNear(filter.GetCovariance(),
                     Rows(4, 4, {901, 0, 30, 0, 0, 901, 0, 30, 30, 0, 1, 0, 0, 30, 0, 1}), 1e-12);
}

TEST(IKalmanFilter, SetSystemMatrixRefreshesTheTranspose) {
    IKalmanFilter filter(Elements({0, 0, 0, 0}), Diagonal({1, 1, 1, 1}), 2);
    filter.SetSystemMatrix(FilterComponentInitializer().first);
    filter.Predict(Matrix(4, 4));
    ExpectMatrixNear(filter.GetCovariance(),
                     Rows(4, 4, {901, 0, 30, 0, 0, 901, 0, 30, 30, 0, 1, 0, 0, 30, 0, 1}), 1e-12);
}

// Worked by hand with interval 1: A P A^T + Q, then the gain, the
// innovation, the corrected state and (I - K H) P.
TEST(IKalmanFilter, PredictAndUpdateMatchHandWorkedMatrices) {
    IKalmanFilter filter = ModelFilter();
    filter.SetInterval(1.0);
    filter.Predict(Diagonal({0.5, 0.5, 0.25, 0.25}));
    ExpectVectorNear(filter.GetState(), Elements({1.5, 1.75, 0.5, -0.25}), 1e-12);
    ExpectMatrixNear(filter.GetCovariance(),
                     Rows(4, 4, {3.5, 0, 1, 0, 0, 4.5, 0, 1, 1, 0, 1.25, 0, 0, 1, 0, 1.25}), 1e-12);

    filter.Update(Elements({2.0, 1.0}), Diagonal({0.5, 0.5}));
    ExpectMatrixNear(filter.GetFilterGain(), Rows(4, 2, {0.875, 0, 0, 0.9, 0.25, 0, 0, 0.2}),
                     1e-12);
    ExpectVectorNear(filter.GetInnovation(), Elements({0.5, -0.75}), 1e-12);
    ExpectVectorNear(filter.GetState(), Elements({1.9375, 1.075, 0.625, -0.4}), 1e-12);
    ExpectMatrixNear(
        filter.GetCovariance(),
        Rows(4, 4, {0.4375, 0, 0.125, 0, 0, 0.45, 0, 0.1, 0.125, 0, 1.0, 0, 0, 0.1, 0, 1.05}),
        1e-12);
}

TEST(IKalmanFilter, ShortConstructorWithSuppliedMatricesWorksTheSame) {
    IKalmanFilter filter(Elements({1.0, 2.0, 0.5, -0.25}), Diagonal({2.0, 3.0, 1.0, 1.0}), 2);
    std::pair<Matrix, Matrix> model = FilterComponentInitializer();
    filter.SetSystemMatrix(model.first);
    filter.SetMeasurementMatrix(model.second);
    filter.SetInterval(1.0);
    filter.Predict(Diagonal({0.5, 0.5, 0.25, 0.25}));
    filter.Update(Elements({2.0, 1.0}), Diagonal({0.5, 0.5}));
    ExpectVectorNear(filter.GetState(), Elements({1.9375, 1.075, 0.625, -0.4}), 1e-12);
    EXPECT_NEAR(filter.GetCovariance()(3, 3), 1.05, 1e-12);
}

TEST(IKalmanFilter, TwoArgumentPredictKeepsItsSystemMatrix) {
    IKalmanFilter filter = ModelFilter();
    Matrix a = FilterComponentInitializer().first;
    a(0, 2) = 2.0;
    a(1, 3) = 4.0;
    filter.Predict(a, Matrix(4, 4));
    ExpectVectorNear(filter.GetState(), Elements({2.0, 1.0, 0.5, -0.25}), 1e-12);
    ExpectMatrixNear(filter.GetSystemMatrix(), a, 0.0);
    // The one-argument form goes on with it, transpose included.
    filter.Predict(Matrix(4, 4));
    ExpectVectorNear(filter.GetState(), Elements({3.0, 0.0, 0.5, -0.25}), 1e-12);
    // From diag(2, 3, 1, 1) with A(0,2) = 2, by hand: P1(0,0) = 2 + 4 * 1 = 6,
    // P1(0,2) = 2, P1(2,2) = 1, so P2(0,0) = 6 + 2 * 2 * 2 + 4 * 1 = 18.
    EXPECT_NEAR(filter.GetCovariance()(0, 0), 18.0, 1e-12);
}

TEST(IKalmanFilter, UpdateAtThePredictedMeasurementMovesNothingButShrinks) {
    IKalmanFilter filter = ModelFilter();
    Vector state = filter.GetState();
    Matrix covariance = filter.GetCovariance();
    filter.Update(Elements({1.0, 2.0}), Diagonal({1.0, 1.0}));
    ExpectVectorNear(filter.GetInnovation(), Elements({0.0, 0.0}), 0.0);
    ExpectVectorNear(filter.GetState(), state, 0.0);
    // Measured positions: 2 -> 2 * 1 / 3, 3 -> 3 * 1 / 4; rates untouched.
    EXPECT_NEAR(filter.GetCovariance()(0, 0), 2.0 / 3.0, 1e-12);
    EXPECT_NEAR(filter.GetCovariance()(1, 1), 0.75, 1e-12);
    EXPECT_LT(filter.GetCovariance()(0, 0), covariance(0, 0));
    EXPECT_LT(filter.GetCovariance()(1, 1), covariance(1, 1));
}

TEST(IKalmanFilter, GainAndInnovationStayFromTheLastUpdate) {
    IKalmanFilter filter = ModelFilter();
    filter.Update(Elements({3.0, 0.0}), Diagonal({2.0, 1.0}));
    Matrix gain = filter.GetFilterGain();
    Vector innovation = filter.GetInnovation();
    ExpectVectorNear(innovation, Elements({2.0, -2.0}), 1e-12);
    EXPECT_NEAR(gain(0, 0), 0.5, 1e-12);   // 2 / (2 + 2)
    EXPECT_NEAR(gain(1, 1), 0.75, 1e-12);  // 3 / (3 + 1)
    filter.Predict(Diagonal({1, 1, 1, 1}));
    filter.Predict(FilterComponentInitializer().first, Diagonal({1, 1, 1, 1}));
    ExpectMatrixNear(filter.GetFilterGain(), gain, 0.0);
    ExpectVectorNear(filter.GetInnovation(), innovation, 0.0);
}

TEST(IKalmanFilter, AChangeToTheMeasurementMatrixReferenceIsHonoured) {
    IKalmanFilter filter = ModelFilter();
    // Measure the first position and the second rate instead.
    Matrix& h = filter.GetMeasurementMatrix();
    h(1, 1) = 0.0;
    h(1, 3) = 1.0;
    filter.Update(Elements({1.0, 0.75}), Diagonal({1.0, 1.0}));
    ExpectVectorNear(filter.GetInnovation(), Elements({0.0, 1.0}), 1e-12);
    // Rate 1 has variance 1, measurement variance 1: half the innovation.
    EXPECT_NEAR(filter.GetState()(3), -0.25 + 0.5, 1e-12);
    EXPECT_NEAR(filter.GetState()(1), 2.0, 1e-12);
}

TEST(IKalmanFilter, OtherThanFourComponentsNeverGetAValidCovarianceUpdate) {
    Matrix a = Diagonal({1, 1});
    Matrix h = Rows(1, 2, {1, 0});
    IKalmanFilter filter(a, h, Elements({1.0, 2.0}), Diagonal({1, 1}));
    testing::internal::CaptureStderr();
    filter.Update(Elements({3.0}), Diagonal({1.0}));
    testing::internal::GetCapturedStderr();
    // The state is corrected with gain 1/2, but (I - K H) P would have
    // made the measured variance 1/2, and the fixed 4 x 4 identity keeps
    // that from happening.
    EXPECT_NEAR(filter.GetState()(0), 2.0, 1e-12);
    EXPECT_NEAR(filter.GetFilterGain()(0, 0), 0.5, 1e-12);
    EXPECT_NE(filter.GetCovariance()(0, 0), 0.5);
}

TEST(IKalmanFilter, NonConstGettersGiveCopies) {
    IKalmanFilter filter = ModelFilter();
    Vector state = filter.GetState();
    Matrix covariance = filter.GetCovariance();
    state(0) = 100.0;
    covariance(0, 0) = 100.0;
    const IKalmanFilter& view = filter;
    EXPECT_EQ(view.GetState()(0), 1.0);
    EXPECT_EQ(view.GetCovariance()(0, 0), 2.0);
}

TEST(IKalmanFilter, FollowsAStraightTrackToItsSlope) {
    const double dt = 30.0, x0 = -40.0, y0 = 25.0, vx = 0.8, vy = -0.35, noise = 1.5;
    std::pair<Matrix, Matrix> model = FilterComponentInitializer();
    IKalmanFilter filter(model.first, model.second, Elements({0, 0, 0, 0}),
                         Diagonal({1e4, 1e4, 1.0, 1.0}));
    std::mt19937 engine(5);
    std::normal_distribution<double> smear(0.0, noise);
    Matrix process = Diagonal({1e-4, 1e-4, 1e-8, 1e-8});
    Matrix resolution = Diagonal({noise * noise, noise * noise});
    for (int step = 1; step <= 80; ++step) {
        filter.Predict(process);
        double t = step * dt;
        filter.Update(Elements({x0 + vx * t + smear(engine), y0 + vy * t + smear(engine)}),
                      resolution);
    }
    EXPECT_NEAR(filter.GetState()(2), vx, 2e-3);
    EXPECT_NEAR(filter.GetState()(3), vy, 2e-3);
    EXPECT_NEAR(filter.GetState()(0), x0 + vx * 80 * dt, 1.5);
    EXPECT_NEAR(filter.GetState()(1), y0 + vy * 80 * dt, 1.5);
    EXPECT_LT(std::sqrt(filter.GetCovariance()(2, 2)), 1e-3);
}

// The seven shape assertions, each with its condition text.
TEST(IKalmanFilterDeathTest, SetSystemMatrixChecksRowsBeforeAssigning) {
    IKalmanFilter filter = ModelFilter();
    EXPECT_EXIT(
        {
            WatchSystemMatrix(filter);
            filter.SetSystemMatrix(Matrix(3, 4));
        },
        testing::ExitedWithCode(7),
        AssertionOf("SystemMatrix.GetNrows() == fState.GetNrows()") +
            ".*system matrix 4x4, \\(0,2\\) = 30");
}

TEST(IKalmanFilterDeathTest, SetSystemMatrixChecksColumnsBeforeAssigning) {
    IKalmanFilter filter = ModelFilter();
    EXPECT_EXIT(
        {
            WatchSystemMatrix(filter);
            filter.SetSystemMatrix(Matrix(4, 3));
        },
        testing::ExitedWithCode(7),
        AssertionOf("SystemMatrix.GetNcols() == fState.GetNrows()") +
            ".*system matrix 4x4, \\(0,2\\) = 30");
}

TEST(IKalmanFilterDeathTest, SetMeasurementMatrixChecksRows) {
    IKalmanFilter filter = ModelFilter();
    EXPECT_DEATH(filter.SetMeasurementMatrix(Matrix(3, 4)),
                 AssertionOf("MeasurementMatrix.GetNrows() == H_.GetNrows()"));
}

TEST(IKalmanFilterDeathTest, SetMeasurementMatrixChecksColumns) {
    IKalmanFilter filter = ModelFilter();
    EXPECT_DEATH(filter.SetMeasurementMatrix(Matrix(2, 3)),
                 AssertionOf("MeasurementMatrix.GetNcols() == H_.GetNcols()"));
}

TEST(IKalmanFilterDeathTest, PredictChecksRowsAfterAssigning) {
    IKalmanFilter filter = ModelFilter();
    Matrix bad(3, 4);
    bad(0, 2) = -8.0;
    EXPECT_EXIT(
        {
            WatchSystemMatrix(filter);
            filter.Predict(bad, Matrix(4, 4));
        },
        testing::ExitedWithCode(7),
        AssertionOf("A_.GetNrows() == fState.GetNrows()") + ".*system matrix 3x4, \\(0,2\\) = -8");
}

TEST(IKalmanFilterDeathTest, PredictChecksColumnsAfterAssigning) {
    // The rows are right, so only the new matrix can fail the column test.
    IKalmanFilter filter = ModelFilter();
    Matrix bad(4, 3);
    bad(0, 2) = -9.0;
    EXPECT_EXIT(
        {
            WatchSystemMatrix(filter);
            filter.Predict(bad, Matrix(4, 4));
        },
        testing::ExitedWithCode(7),
        AssertionOf("A_.GetNcols() == fState.GetNrows()") + ".*system matrix 4x3, \\(0,2\\) = -9");
}

TEST(IKalmanFilterDeathTest, UpdateChecksTheMeasurementMatrixColumns) {
    // Neither constructor checks, so the bad shape reaches Update.
    IKalmanFilter filter(FilterComponentInitializer().first, Matrix(2, 3), Elements({1, 2, 3, 4}),
                         Diagonal({1, 1, 1, 1}));
    EXPECT_DEATH(filter.Update(Elements({0, 0}), Diagonal({1, 1})),
                 AssertionOf("H_.GetNcols() == fState.GetNrows()"));
}

TEST(IKalmanFilterDeathTest, AReshapedMeasurementMatrixIsCaughtByUpdate) {
    IKalmanFilter filter = ModelFilter();
    filter.GetMeasurementMatrix().ResizeTo(2, 5);
    EXPECT_DEATH(filter.Update(Elements({0, 0}), Diagonal({1, 1})),
                 AssertionOf("H_.GetNcols() == fState.GetNrows()"));
}
