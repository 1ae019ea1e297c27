// The minimizer interface: the function's parameter tables and hooks, the
// defaults of the optional operations, the packing of the Optimize
// overloads, the exceptions; then what the two Minuit engines share, run on
// both of them, down to fits with known minima and covariances.
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include <TMatrixD.h>
#include <TRandom.h>
#include <TVectorD.h>

#include <IMinimizer.hxx>
#include <ISimplexMinimizer.hxx>
#include <TMinuitMinimizer.hxx>

#include "MinuitEngineTesting.hxx"

using namespace ORVEX;
using minuit_testing::Rosenbrock;

namespace {
    /// A quadratic bowl F(x) = (x - c)^T A (x - c) that counts how it is
    /// called.  Its Hessian is 2 A, so with Minuit's default error
    /// definition of 1 the covariance at the minimum is the inverse of A.
    class CountingBowl : public IMinimizerFunc {
    public:
        CountingBowl(const std::vector<double>& centre,
                     const std::vector<std::vector<double>>& matrix)
            : IMinimizerFunc(centre.size()), fCentre(centre), fMatrix(matrix) {}

        double Evaluate(const double* par, double* extra) override {
            ++fEvaluations;
            if (extra) ++fNonNullExtras;
            fLastPar = par;
            return Value(par);
        }
        double Initialize(const double* par) override {
            ++fInitializations;
            return IMinimizerFunc::Initialize(par);
        }
        double Finalize(const double* par) override {
            ++fFinalizations;
            return IMinimizerFunc::Finalize(par);
        }

        double Value(const double* par) const {
            double sum = 0.0;
            for (std::size_t i = 0; i < fCentre.size(); ++i) {
                for (std::size_t j = 0; j < fCentre.size(); ++j) {
                    sum += (par[i] - fCentre[i]) * fMatrix[i][j] * (par[j] - fCentre[j]);
                }
            }
            return sum;
        }

        std::vector<double> fCentre;
        std::vector<std::vector<double>> fMatrix;
        int fEvaluations = 0;
        int fNonNullExtras = 0;
        int fInitializations = 0;
        int fFinalizations = 0;
        const double* fLastPar = nullptr;
    };

    /// Centre (1, -2) and A = [[2, 1], [1, 3]]: A^-1 = [[0.6, -0.2], [-0.2, 0.4]].
    CountingBowl TiltedBowl() {
        return CountingBowl({1.0, -2.0}, {{2.0, 1.0}, {1.0, 3.0}});
    }

    /// Centre (0.5, -1, 2) and A = [[4, 1, 0], [1, 3, 1], [0, 1, 2]], whose
    /// determinant is 18 and whose inverse is the cofactor matrix
    /// [[5, -2, 1], [-2, 8, -4], [1, -4, 11]] / 18.
    CountingBowl DeepBowl() {
        return CountingBowl({0.5, -1.0, 2.0}, {{4.0, 1.0, 0.0}, {1.0, 3.0, 1.0}, {0.0, 1.0, 2.0}});
    }
    const double kDeepBowlCovariance[3][3] = {{5.0 / 18, -2.0 / 18, 1.0 / 18},
                                              {-2.0 / 18, 8.0 / 18, -4.0 / 18},
                                              {1.0 / 18, -4.0 / 18, 11.0 / 18}};

    /// The chi-square of a circle (centre a, b and radius R) through points
    /// with a radial resolution sigma, with its exact gradient and Hessian,
    /// from which a Newton iteration finds the minimum independently of
    /// Minuit.
    class CircleChi2 : public IMinimizerFunc {
    public:
        CircleChi2(const std::vector<double>& x, const std::vector<double>& y, double sigma)
            : IMinimizerFunc(3), fX(x), fY(y), fSigma(sigma) {}

        double Evaluate(const double* par, double*) override {
            double chi2 = 0.0;
            for (std::size_t i = 0; i < fX.size(); ++i) {
                double r = std::hypot(fX[i] - par[0], fY[i] - par[1]) - par[2];
                chi2 += r * r;
            }
            return chi2 / (fSigma * fSigma);
        }

        /// Gradient and Hessian of the chi-square at par.
        void Derivatives(const double* par, TVectorD& grad, TMatrixD& hess) const {
            grad.ResizeTo(3);
            hess.ResizeTo(3, 3);
            grad.Zero();
            hess.Zero();
            double w = 2.0 / (fSigma * fSigma);
            for (std::size_t i = 0; i < fX.size(); ++i) {
                double dx = fX[i] - par[0];
                double dy = fY[i] - par[1];
                double d = std::hypot(dx, dy);
                double r = d - par[2];
                double dr[3] = {-dx / d, -dy / d, -1.0};
                double d3 = d * d * d;
                double ddr[3][3] = {{dy * dy / d3, -dx * dy / d3, 0.0},
                                    {-dx * dy / d3, dx * dx / d3, 0.0},
                                    {0.0, 0.0, 0.0}};
                for (int k = 0; k < 3; ++k) {
                    grad(k) += w * r * dr[k];
                    for (int l = 0; l < 3; ++l) hess(k, l) += w * (dr[k] * dr[l] + r * ddr[k][l]);
                }
            }
        }

        /// The exact minimum by Newton steps from start, and the covariance
        /// 2 H^-1 there.
        void Solve(const double* start, double* best, TMatrixD& covariance) const {
            TVectorD p(3, start);
            TVectorD grad;
            TMatrixD hess;
            for (int step = 0; step < 50; ++step) {
                Derivatives(p.GetMatrixArray(), grad, hess);
                p -= TMatrixD(TMatrixD::kInverted, hess) * grad;
            }
            Derivatives(p.GetMatrixArray(), grad, hess);
            covariance.ResizeTo(3, 3);
            covariance = TMatrixD(TMatrixD::kInverted, hess);
            covariance *= 2.0;
            for (int k = 0; k < 3; ++k) best[k] = p(k);
        }

        std::vector<double> fX, fY;
        double fSigma;
    };

    /// Points on a circle of centre (3, -1) and radius 20, spread over
    /// three quarters of a turn, moved radially by Gaussian noise.
    CircleChi2 NoisyCircle(double sigma) {
        gRandom->SetSeed(4321);
        std::vector<double> x, y;
        for (int i = 0; i < 24; ++i) {
            double phi = 0.2 * i;
            double radius = 20.0 + gRandom->Gaus(0.0, sigma);
            x.push_back(3.0 + radius * std::cos(phi));
            y.push_back(-1.0 + radius * std::sin(phi));
        }
        return CircleChi2(x, y, sigma);
    }

    /// A minimizer that implements only the pure operations.  It records
    /// what Minimize receives and writes 100 + i into entry i.
    class RecordingMinimizer : public IMinimizer {
    public:
        explicit RecordingMinimizer(IMinimizerFunc& func) : IMinimizer(func) {}

        int Minimize(int nPar, double* par) override {
            fCalls += 1;
            fNPar = nPar;
            fArray = par;
            fReceived.assign(par, par + nPar);
            if (fThrow) throw EMinimizer();
            for (int i = 0; i < nPar; ++i) par[i] = 100.0 + i;
            return fStatus;
        }
        double GetMinimum() const override { return -3.0; }
        int GetStatus() const override { return fStatus; }
        double GetParameter(int i) const override { return 100.0 + i; }

        int fCalls = 0;
        int fNPar = -1;
        const double* fArray = nullptr;
        std::vector<double> fReceived;
        int fStatus = 0;
        bool fThrow = false;
    };

    /// A function of any number of parameters that is never evaluated.
    class Unused : public IMinimizerFunc {
    public:
        explicit Unused(int nPar) : IMinimizerFunc(nPar) {}
        double Evaluate(const double*, double*) override { return 0.0; }
    };
}

// ---------------------------------------------------------------- function

TEST(MinimizerFunc, ThreeParametersAreNamedFromP00WithUnitScales) {
    Unused func(3);
    EXPECT_EQ(func.GetParameterCount(), 3);
    EXPECT_STREQ(func.GetParameterName(0), "P00");
    EXPECT_STREQ(func.GetParameterName(1), "P01");
    EXPECT_STREQ(func.GetParameterName(2), "P02");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(func.GetScale(i), 1.0);
}

TEST(MinimizerFunc, NoParametersMeansEmptyTables) {
    Unused func(0);
    EXPECT_EQ(func.GetParameterCount(), 0);
    // The setters reach only existing entries: entry 0 isn't there.
    EXPECT_THROW(func.SetScale(0, 2.0), std::out_of_range);
    EXPECT_THROW(func.SetParameterName(0, "x"), std::out_of_range);
}

TEST(MinimizerFunc, NegativeCountIsKeptAndTheTablesStayEmpty) {
    Unused func(-2);
    EXPECT_EQ(func.GetParameterCount(), -2);
    EXPECT_THROW(func.SetScale(0, 2.0), std::out_of_range);
}

TEST(MinimizerFunc, HundredAndOneParametersRunToP100) {
    Unused func(101);
    EXPECT_EQ(func.GetParameterCount(), 101);
    EXPECT_STREQ(func.GetParameterName(7), "P07");
    EXPECT_STREQ(func.GetParameterName(10), "P10");
    EXPECT_STREQ(func.GetParameterName(99), "P99");
    EXPECT_STREQ(func.GetParameterName(100), "P100");
    EXPECT_EQ(func.GetScale(100), 1.0);
    EXPECT_THROW(func.SetScale(101, 2.0), std::out_of_range);
}

TEST(MinimizerFunc, SettersChangeOneEntryAndRefuseOthers) {
    Unused func(3);
    func.SetScale(1, 0.25);
    func.SetParameterName(2, "radius");
    EXPECT_EQ(func.GetScale(0), 1.0);
    EXPECT_EQ(func.GetScale(1), 0.25);
    EXPECT_EQ(func.GetScale(2), 1.0);
    EXPECT_STREQ(func.GetParameterName(1), "P01");
    EXPECT_STREQ(func.GetParameterName(2), "radius");
    EXPECT_THROW(func.SetScale(3, 9.0), std::out_of_range);
    EXPECT_THROW(func.SetScale(-1, 9.0), std::out_of_range);
    EXPECT_THROW(func.SetParameterName(3, "z"), std::out_of_range);
    EXPECT_EQ(func.GetScale(2), 1.0);
}

TEST(MinimizerFunc, DefaultHooksEvaluateWithANullSecondArray) {
    class Recorder : public IMinimizerFunc {
    public:
        Recorder() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double* extra) override {
            fPar = par;
            fExtra = extra;
            ++fCalls;
            return 10.0 * par[0] + par[1];
        }
        const double* fPar = nullptr;
        double* fExtra = nullptr;
        int fCalls = 0;
    } func;
    double sentinel = 0.0;
    func.fExtra = &sentinel;
    const double par[2] = {2.0, 3.0};
    EXPECT_EQ(func.Initialize(par), 23.0);
    EXPECT_EQ(func.fPar, par);
    EXPECT_EQ(func.fExtra, nullptr);
    func.fExtra = &sentinel;
    EXPECT_EQ(func.Finalize(par), 23.0);
    EXPECT_EQ(func.fPar, par);
    EXPECT_EQ(func.fExtra, nullptr);
    EXPECT_EQ(func.fCalls, 2);
}

// ---------------------------------------------------------------- exceptions

TEST(MinimizerExceptions, NamesAppendFromTheRootDown) {
    EXPECT_STREQ(EMinimizer().what(), "EovCore::EovUtility::EMinimizer");
    EXPECT_STREQ(EParameterCount().what(), "EovCore::EovUtility::EMinimizer::EParameterCount");
}

TEST(MinimizerExceptions, ParameterCountIsCaughtAsMinimizerAndLibraryError) {
    EXPECT_THROW(throw EParameterCount(), EMinimizer);
    EXPECT_THROW(throw EParameterCount(), EovUtility);
    EXPECT_THROW(throw EMinimizer(), EovUtility);
    EParameterCount original;
    EParameterCount copy(original);
    EXPECT_STREQ(copy.what(), original.what());
}

// ---------------------------------------------------------------- interface

TEST(Minimizer, GetFunctionGivesTheBoundFunction) {
    Unused func(2);
    RecordingMinimizer minimizer(func);
    EXPECT_EQ(&minimizer.GetFunction(), &func);
    minimizer.GetFunction().SetScale(1, 0.5);
    EXPECT_EQ(func.GetScale(1), 0.5);
}

TEST(Minimizer, DestructionLeavesTheFunctionAlone) {
    Rosenbrock func;
    IMinimizer* minimizer = new RecordingMinimizer(func);
    delete minimizer;
    const double par[2] = {1.0, 1.0};
    EXPECT_EQ(func.Evaluate(par, nullptr), 0.0);
    EXPECT_EQ(func.GetParameterCount(), 2);
}

TEST(Minimizer, OptionalOperationsHaveHarmlessDefaults) {
    Unused func(2);
    RecordingMinimizer recording(func);
    IMinimizer& minimizer = recording;
    double a = 1.0, b = 2.0;
    minimizer.Optimize(a, b);
    EXPECT_EQ(minimizer.GetCovariance(0, 0), 0.0);
    EXPECT_EQ(minimizer.GetCovariance(0, 1), 0.0);
    EXPECT_EQ(minimizer.GetCovariance(5, -3), 0.0);
    EXPECT_EQ(minimizer.GetPrecision(), -1.0);
    EXPECT_EQ(minimizer.GetIterations(), 0);

    minimizer.FixParameter(0);
    minimizer.SetPrecision(0.5);
    minimizer.SetMaxIterations(3);
    EXPECT_EQ(minimizer.GetPrecision(), -1.0);
    EXPECT_EQ(minimizer.GetIterations(), 0);
    EXPECT_EQ(minimizer.GetCovariance(1, 1), 0.0);
    a = 1.0;
    b = 2.0;
    minimizer.Optimize(a, b);
    EXPECT_EQ(recording.fReceived, std::vector<double>({1.0, 2.0}));
    EXPECT_EQ(a, 100.0);
    EXPECT_EQ(b, 101.0);
}

TEST(Minimizer, OptimizeArrayIsPassedStraightOn) {
    Unused func(5);
    RecordingMinimizer minimizer(func);
    double par[5] = {1, 2, 3, 4, 5};
    minimizer.Optimize(4, par);
    EXPECT_EQ(minimizer.fNPar, 4);
    EXPECT_EQ(minimizer.fArray, par);
    EXPECT_EQ(par[3], 103.0);
    EXPECT_EQ(par[4], 5.0);
}

TEST(Minimizer, OptimizeScalarsInTheirOrder) {
    Unused func(3);
    RecordingMinimizer minimizer(func);
    double a = 1.5, b = -2.5, c = 3.5;
    minimizer.Optimize(a);
    EXPECT_EQ(minimizer.fNPar, 1);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1.5}));
    EXPECT_EQ(a, 100.0);

    a = 1.5;
    minimizer.Optimize(a, b);
    EXPECT_EQ(minimizer.fNPar, 2);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1.5, -2.5}));
    EXPECT_EQ(a, 100.0);
    EXPECT_EQ(b, 101.0);

    a = 1.5;
    b = -2.5;
    minimizer.Optimize(a, b, c);
    EXPECT_EQ(minimizer.fNPar, 3);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1.5, -2.5, 3.5}));
    EXPECT_EQ(a, 100.0);
    EXPECT_EQ(b, 101.0);
    EXPECT_EQ(c, 102.0);
}

TEST(Minimizer, OptimizeVectorsAsXYZ) {
    Unused func(6);
    RecordingMinimizer minimizer(func);
    TVector3 u(1, 2, 3);
    minimizer.Optimize(u);
    EXPECT_EQ(minimizer.fNPar, 3);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1, 2, 3}));
    EXPECT_EQ(u, TVector3(100, 101, 102));

    u.SetXYZ(1, 2, 3);
    TVector3 v(4, 5, 6);
    minimizer.Optimize(u, v);
    EXPECT_EQ(minimizer.fNPar, 6);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(u, TVector3(100, 101, 102));
    EXPECT_EQ(v, TVector3(103, 104, 105));
}

TEST(Minimizer, OptimizeFourVectorPutsTAtIndexThree) {
    Unused func(4);
    RecordingMinimizer minimizer(func);
    TLorentzVector w(1, 2, 3, 9);
    minimizer.Optimize(w);
    EXPECT_EQ(minimizer.fNPar, 4);
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1, 2, 3, 9}));
    EXPECT_EQ(w, TLorentzVector(100, 101, 102, 103));
}

TEST(Minimizer, OptimizeFourVectorAndVectorPacksSeven) {
    Unused func(7);
    RecordingMinimizer minimizer(func);
    TLorentzVector w(1, 2, 3, 9);
    TVector3 v(4, 5, 6);
    minimizer.Optimize(w, v);
    EXPECT_EQ(minimizer.fNPar, 7);
    // T at index 3, the second vector's X at index 4.
    EXPECT_EQ(minimizer.fReceived, std::vector<double>({1, 2, 3, 9, 4, 5, 6}));
    EXPECT_EQ(w, TLorentzVector(100, 101, 102, 103));
    EXPECT_EQ(v, TVector3(104, 105, 106));
}

TEST(Minimizer, OptimizeCopiesBackWhateverTheStatus) {
    Unused func(3);
    RecordingMinimizer minimizer(func);
    minimizer.fStatus = 4;
    TVector3 u(1, 2, 3);
    minimizer.Optimize(u);
    EXPECT_EQ(u, TVector3(100, 101, 102));
    EXPECT_EQ(minimizer.GetStatus(), 4);
}

TEST(Minimizer, ExceptionFromMinimizeLeavesTheCallersValues) {
    Unused func(7);
    RecordingMinimizer minimizer(func);
    minimizer.fThrow = true;
    double a = 1.0, b = 2.0, c = 3.0;
    TLorentzVector w(1, 2, 3, 9);
    TVector3 v(4, 5, 6);
    EXPECT_THROW(minimizer.Optimize(a, b, c), EMinimizer);
    EXPECT_THROW(minimizer.Optimize(w, v), EMinimizer);
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(b, 2.0);
    EXPECT_EQ(c, 3.0);
    EXPECT_EQ(w, TLorentzVector(1, 2, 3, 9));
    EXPECT_EQ(v, TVector3(4, 5, 6));
    EXPECT_EQ(minimizer.fCalls, 2);
}

// ---------------------------------------------------------------- engines
//
// The two engines are one behaviour under two commands, so everything they
// share runs on both.

namespace {
    /// An engine whose Minimize the test may call directly.
    template <class Engine>
    class Open : public Engine {
    public:
        using Engine::Engine;
        using Engine::Minimize;
    };

    const char* CommandOf(const ISimplexMinimizer&) {
        return "SIMPLEX";
    }
    const char* CommandOf(const TMinuitMinimizer&) {
        return "MIGRAD";
    }

    /// Minuit's convergence limits at its defaults: SIMPLEX stops when its
    /// estimated distance to the minimum is below 0.1 error definitions,
    /// MIGRAD below 1e-4.
    double ConvergenceLimit(const ISimplexMinimizer&) {
        return 0.1;
    }
    double ConvergenceLimit(const TMinuitMinimizer&) {
        return 1e-4;
    }

    /// Issue a bare Minuit command through the engine's TMinuit side.
    int Command(TMinuit& minuit, const char* command) {
        double arglist[1] = {0.0};
        int ierr = 0;
        minuit.mnexcm(command, arglist, 0, ierr);
        return ierr;
    }

    /// Minimize from par and leave an error matrix for an error definition
    /// of 1.  MIGRAD at Minuit's defaults does both.
    void Fit(TMinuitMinimizer& engine, double* par) {
        engine.Optimize(engine.GetFunction().GetParameterCount(), par);
    }

    /// SIMPLEX stops 0.1 error definitions from the minimum and leaves no
    /// error matrix, so it runs with a small error definition, and HESSE
    /// computes the matrix once the definition is back at 1.  Starting
    /// from SIMPLEX's coarse steps, HESSE may have to force the matrix
    /// positive in a narrow valley; from its own steps, a second pass is
    /// accurate (Minuit's matrix status 3).
    void Fit(ISimplexMinimizer& engine, double* par) {
        engine.SetPrecision(1e-5);
        engine.Optimize(engine.GetFunction().GetParameterCount(), par);
        engine.SetPrecision(1.0);
        for (int pass = 0; pass < 2 && engine.fISW[1] != 3; ++pass) Command(engine, "HESSE");
        EXPECT_EQ(engine.fISW[1], 3);
    }

    /// The parameters agree within a small fraction of their errors, and
    /// the covariance elements within a few per cent of sqrt(Vii Vjj).
    void ExpectFitAgrees(IMinimizer& engine, const double* par, const double* expected,
                         const TMatrixD& covariance, double covarianceTolerance) {
        int n = covariance.GetNrows();
        for (int i = 0; i < n; ++i) {
            double sigma = std::sqrt(covariance(i, i));
            EXPECT_NEAR(par[i], expected[i], 0.05 * sigma) << "parameter " << i;
            EXPECT_EQ(engine.GetParameter(i), par[i]);
            for (int j = 0; j < n; ++j) {
                double scale = std::sqrt(covariance(i, i) * covariance(j, j));
                EXPECT_NEAR(engine.GetCovariance(i, j), covariance(i, j),
                            covarianceTolerance * scale)
                    << "covariance " << i << ", " << j;
            }
        }
    }

    template <class Engine>
    class MinuitEngine : public ::testing::Test {};

    struct EngineName {
        template <class Engine>
        static std::string GetName(int) {
            return std::is_same<Engine, ISimplexMinimizer>::value ? "Simplex" : "Migrad";
        }
    };
}

typedef ::testing::Types<ISimplexMinimizer, TMinuitMinimizer> Engines;
TYPED_TEST_SUITE(MinuitEngine, Engines, EngineName);

TYPED_TEST(MinuitEngine, ConstructorLeavesMinuitAtItsDefaults) {
    CountingBowl func = DeepBowl();
    TypeParam engine(func);
    TMinuit bare(3);
    EXPECT_EQ(engine.fMaxpar, bare.fMaxpar);
    EXPECT_EQ(engine.fUp, bare.fUp);
    EXPECT_EQ(engine.fISW[4], bare.fISW[4]);
    EXPECT_EQ(engine.GetMaxIterations(), bare.GetMaxIterations());
    EXPECT_EQ(engine.fFCN, nullptr);
    EXPECT_EQ(engine.GetNumPars(), 0);
    EXPECT_EQ(func.fEvaluations, 0);
}

TYPED_TEST(MinuitEngine, AllParametersWorkAndOneMoreThrowsLeavingEverything) {
    CountingBowl func = TiltedBowl();
    Open<TypeParam> engine(func);
    engine.SetPrintLevel(-1);
    double tooMany[3] = {4.0, 5.0, 6.0};
    EXPECT_THROW(engine.Minimize(3, tooMany), EParameterCount);
    EXPECT_EQ(tooMany[0], 4.0);
    EXPECT_EQ(tooMany[1], 5.0);
    EXPECT_EQ(tooMany[2], 6.0);
    EXPECT_EQ(func.fEvaluations, 0);
    EXPECT_EQ(engine.GetNumPars(), 0);

    double par[2] = {4.0, 5.0};
    int status = engine.Minimize(2, par);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(engine.GetStatus(), 0);
    EXPECT_LT(func.Value(par), ConvergenceLimit(engine));

    // After a minimization, a refused call changes nothing either.
    int evaluations = func.fEvaluations;
    int minuitCalls = engine.fNfcn;
    double minimum = engine.GetMinimum();
    EXPECT_THROW(engine.Minimize(3, tooMany), EParameterCount);
    EXPECT_EQ(tooMany[0], 4.0);
    EXPECT_EQ(func.fEvaluations, evaluations);
    EXPECT_EQ(engine.fNfcn, minuitCalls);
    EXPECT_EQ(engine.GetMinimum(), minimum);
    EXPECT_EQ(engine.GetParameter(0), par[0]);
    EXPECT_EQ(engine.GetNumPars(), 2);
}

TYPED_TEST(MinuitEngine, ZeroParametersIssueTheCommandAndEvaluateOnce) {
    CountingBowl func = TiltedBowl();
    Open<TypeParam> engine(func);
    double par[2] = {1.5, -0.5};
    testing::internal::CaptureStdout();
    int status = engine.Minimize(0, par);
    std::string printed = testing::internal::GetCapturedStdout();
    // Nothing is defined, only the command is issued.
    EXPECT_EQ(printed,
              std::string(" **********\n **    1 **") + CommandOf(engine) + "\n **********\n");
    EXPECT_EQ(engine.GetNumPars(), 0);
    EXPECT_EQ(par[0], 1.5);
    EXPECT_EQ(par[1], -0.5);
    EXPECT_EQ(func.fEvaluations, 1);
    EXPECT_EQ(func.fLastPar, par);
    EXPECT_EQ(engine.GetMinimum(), func.Value(par));

    // The status is what Minuit says to the same command with nothing defined.
    TMinuit bare(2);
    bare.SetPrintLevel(-1);
    int expected = Command(bare, CommandOf(engine));
    EXPECT_NE(expected, 0);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(engine.GetStatus(), expected);
}

TYPED_TEST(MinuitEngine, MinimumIsTheFunctionAtTheReturnedArray) {
    Rosenbrock func;
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double x = -1.2, y = 1.0;
    engine.Optimize(x, y);
    const double par[2] = {x, y};
    EXPECT_EQ(engine.GetMinimum(), func.Evaluate(par, nullptr));
    EXPECT_EQ(engine.GetParameter(0), x);
    EXPECT_EQ(engine.GetParameter(1), y);
}

TYPED_TEST(MinuitEngine, ResultIsReadBackThroughTheVirtualGetParameter) {
    // An engine whose parameters read half a unit above Minuit's values:
    // the caller gets those, and the minimum is the function there.
    class Shifted : public TypeParam {
    public:
        using TypeParam::TypeParam;
        double GetParameter(int i) const override { return TypeParam::GetParameter(i) + 0.5; }
    };
    CountingBowl func = TiltedBowl();
    Shifted engine(func);
    engine.SetPrintLevel(-1);
    engine.SetPrecision(1e-5);  // takes SIMPLEX close to the centre too
    double a = 3.0, b = 4.0;
    engine.Optimize(a, b);
    for (int i = 0; i < 2; ++i) {
        double value = 0.0, error = 0.0;
        engine.TMinuit::GetParameter(i, value, error);
        EXPECT_EQ((i == 0 ? a : b), value + 0.5);
    }
    const double par[2] = {a, b};
    EXPECT_EQ(engine.GetMinimum(), func.Value(par));
    // Half a unit off the centre on both axes: 2/4 + 2/4 + 3/4.
    EXPECT_NEAR(engine.GetMinimum(), 1.75, 0.01);
}

TYPED_TEST(MinuitEngine, FewerParametersThanTheFunctionHasLeaveTheRestUndefined) {
    // Three parameters of which the function reads only the first two.
    class TwoOfThree : public IMinimizerFunc {
    public:
        TwoOfThree() : IMinimizerFunc(3) {}
        double Evaluate(const double* par, double*) override { return fBowl.Value(par); }
        CountingBowl fBowl = TiltedBowl();
    } func;
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double a = -3.0, b = 2.0;
    engine.Optimize(a, b);
    EXPECT_EQ(engine.GetNumPars(), 2);
    const double par[2] = {a, b};
    EXPECT_LT(func.fBowl.Value(par), ConvergenceLimit(engine));
    EXPECT_EQ(engine.GetMinimum(), func.fBowl.Value(par));

    // The matrix is read with the function's three parameters as its row
    // length, so the two defined ones are still found at (i, j), and the
    // third row and column, which Minuit doesn't fill, read 0.0.
    EXPECT_EQ(Command(engine, "HESSE"), 0);
    const double inverse[2][2] = {{0.6, -0.2}, {-0.2, 0.4}};
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) EXPECT_NEAR(engine.GetCovariance(i, j), inverse[i][j], 1e-4);
    }
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(engine.GetCovariance(k, 2), 0.0);
        EXPECT_EQ(engine.GetCovariance(2, k), 0.0);
    }
}

TYPED_TEST(MinuitEngine, QuadraticEndsAtItsMinimumThroughEvaluateAlone) {
    CountingBowl func = DeepBowl();
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    TVector3 start(3.0, 3.0, -3.0);
    TVector3 result = start;
    engine.Optimize(result);

    // For this bowl F >= dx_i^2 / V_ii, so F below the convergence limit L
    // puts each parameter within sqrt(L V_ii) of the centre.
    double limit = ConvergenceLimit(engine);
    const double par[3] = {result.X(), result.Y(), result.Z()};
    EXPECT_LT(func.Value(par), limit);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(par[i], func.fCentre[i], std::sqrt(limit * kDeepBowlCovariance[i][i]));
    }

    // Each of Minuit's calls is one Evaluate with a null second array, and
    // Minimize adds one at the result.  The hooks are never used.
    EXPECT_EQ(func.fEvaluations, engine.fNfcn + 1);
    EXPECT_EQ(func.fNonNullExtras, 0);
    EXPECT_EQ(func.fInitializations, 0);
    EXPECT_EQ(func.fFinalizations, 0);
}

TYPED_TEST(MinuitEngine, EvalForwardsEveryFlagToEvaluate) {
    CountingBowl func = TiltedBowl();
    TypeParam engine(func);
    double par[2] = {2.0, 0.0};
    double grad[2] = {-7.0, -7.0};
    for (int flag = 1; flag <= 4; ++flag) {
        double fval = -1.0;
        EXPECT_EQ(engine.Eval(99, grad, fval, par, flag), 0);
        EXPECT_EQ(fval, func.Value(par));
    }
    EXPECT_EQ(grad[0], -7.0);
    EXPECT_EQ(grad[1], -7.0);
    EXPECT_EQ(func.fEvaluations, 4);
    EXPECT_EQ(func.fNonNullExtras, 0);
    EXPECT_EQ(func.fInitializations, 0);
    EXPECT_EQ(func.fFinalizations, 0);
}

TYPED_TEST(MinuitEngine, EachMinimizeStartsFromTheValuesGiven) {
    // Records the first point each minimization evaluates.
    class FirstPoint : public IMinimizerFunc {
    public:
        FirstPoint() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double*) override {
            if (fFirst.empty()) fFirst.assign(par, par + 2);
            return (par[0] - 1.0) * (par[0] - 1.0) + (par[1] + 2.0) * (par[1] + 2.0);
        }
        std::vector<double> fFirst;
    } func;
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double a = -6.0, b = 7.5;
    engine.Optimize(a, b);
    EXPECT_EQ(func.fFirst, std::vector<double>({-6.0, 7.5}));

    // Nothing of the first result carries over into the second start.
    func.fFirst.clear();
    a = 9.0;
    b = -3.0;
    engine.Optimize(a, b);
    EXPECT_EQ(func.fFirst, std::vector<double>({9.0, -3.0}));
}

TYPED_TEST(MinuitEngine, ScaleAndNameChangesReachMinuitAtTheNextMinimize) {
    CountingBowl func = TiltedBowl();
    TypeParam engine(func);
    double a = 3.0, b = 4.0;
    testing::internal::CaptureStdout();
    engine.Optimize(a, b);
    std::string first = testing::internal::GetCapturedStdout();
    EXPECT_NE(first.find("     1 P00          3.00000e+00  1.00000e+00     no limits\n"),
              std::string::npos);

    func.SetScale(0, 0.25);
    func.SetParameterName(1, "slope");
    a = 3.0;
    b = 4.0;
    testing::internal::CaptureStdout();
    engine.Optimize(a, b);
    std::string second = testing::internal::GetCapturedStdout();
    EXPECT_NE(second.find("     1 P00          3.00000e+00  2.50000e-01     no limits\n"),
              std::string::npos);
    EXPECT_NE(second.find("     2 slope        4.00000e+00  1.00000e+00     no limits\n"),
              std::string::npos);
}

TYPED_TEST(MinuitEngine, SetPrecisionSetsTheErrorDefinitionNotThePrecision) {
    CountingBowl func = TiltedBowl();
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    EXPECT_EQ(engine.fUp, 1.0);
    IMinimizer& minimizer = engine;
    minimizer.SetPrecision(0.5);
    EXPECT_EQ(minimizer.GetPrecision(), -1.0);
    EXPECT_EQ(engine.fUp, 0.5);

    // It stays in force: the errors of a later minimization are those of
    // half a unit of the function, so the covariance is 0.5 A^-1.
    double a = 3.0, b = 4.0;
    engine.Optimize(a, b);
    Command(engine, "HESSE");
    EXPECT_EQ(engine.fUp, 0.5);
    EXPECT_NEAR(engine.GetCovariance(0, 0), 0.5 * 0.6, 1e-3);
    EXPECT_NEAR(engine.GetCovariance(0, 1), 0.5 * -0.2, 1e-3);
    EXPECT_NEAR(engine.GetCovariance(1, 1), 0.5 * 0.4, 1e-3);
    EXPECT_EQ(minimizer.GetPrecision(), -1.0);
}

TYPED_TEST(MinuitEngine, SetPrintLevelReturnsZeroForAnyLevel) {
    CountingBowl func = TiltedBowl();
    TypeParam engine(func);
    testing::internal::CaptureStdout();
    for (int level : {3, 2, 1, 0, 42, -7, -1}) EXPECT_EQ(engine.SetPrintLevel(level), 0);
    testing::internal::GetCapturedStdout();

    // The last level, -1, silences the minimization.
    double a = 3.0, b = 4.0;
    testing::internal::CaptureStdout();
    engine.Optimize(a, b);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TYPED_TEST(MinuitEngine, InterfaceFixAndIterationLimitLeaveMinuitAlone) {
    CountingBowl fixedFunc = TiltedBowl();
    CountingBowl freeFunc = TiltedBowl();
    TypeParam fixed(fixedFunc);
    TypeParam free(freeFunc);
    fixed.SetPrintLevel(-1);
    free.SetPrintLevel(-1);
    IMinimizer& minimizer = fixed;
    minimizer.FixParameter(0);
    minimizer.SetMaxIterations(3);
    EXPECT_EQ(minimizer.GetIterations(), 0);

    double a = 3.0, b = 4.0, c = 3.0, d = 4.0;
    fixed.Optimize(a, b);
    free.Optimize(c, d);
    EXPECT_EQ(fixed.GetNumFixedPars(), 0);
    EXPECT_EQ(fixed.GetNumFreePars(), 2);
    EXPECT_EQ(fixed.GetMaxIterations(), free.GetMaxIterations());
    EXPECT_NE(a, 3.0);
    EXPECT_EQ(a, c);
    EXPECT_EQ(b, d);
    EXPECT_EQ(fixed.fNfcn, free.fNfcn);
    EXPECT_EQ(minimizer.GetIterations(), 0);
}

TYPED_TEST(MinuitEngine, CovarianceReadsMirrorElementsOfMinuitsMatrix) {
    CountingBowl func = DeepBowl();
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    TVector3 start(3.0, 3.0, -3.0);
    engine.Optimize(start);
    Command(engine, "HESSE");
    double matrix[9];
    engine.mnemat(matrix, 3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(engine.GetCovariance(i, j), matrix[i * 3 + j]);
            EXPECT_EQ(engine.GetCovariance(j, i), matrix[j * 3 + i]);
            EXPECT_EQ(engine.GetCovariance(i, j), engine.GetCovariance(j, i));
            EXPECT_NEAR(engine.GetCovariance(i, j), kDeepBowlCovariance[i][j], 1e-3);
        }
    }
    // The indices are not checked against the parameter count: (0, 3) is
    // element 3 of the flat matrix.  Beyond the matrix a read is refused.
    EXPECT_EQ(engine.GetCovariance(0, 3), matrix[3]);
    EXPECT_THROW(engine.GetCovariance(3, 0), std::out_of_range);
    EXPECT_THROW(engine.GetCovariance(-1, 0), std::out_of_range);
}

TYPED_TEST(MinuitEngine, CovarianceIsZeroWhileMinuitHasNoMatrix) {
    CountingBowl func = TiltedBowl();
    TypeParam engine(func);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) EXPECT_EQ(engine.GetCovariance(i, j), 0.0);
    }
}

TYPED_TEST(MinuitEngine, FailureIsAStatusAndTheResultIsStillWritten) {
    // A slope has no minimum: Minuit runs away and gives up.
    class Slope : public IMinimizerFunc {
    public:
        Slope() : IMinimizerFunc(1) {}
        double Evaluate(const double* par, double*) override { return par[0]; }
    } func;
    Open<TypeParam> engine(func);
    engine.SetPrintLevel(-1);
    double x[1] = {0.0};
    int status = engine.Minimize(1, x);
    EXPECT_NE(status, 0);
    EXPECT_EQ(engine.GetStatus(), status);
    EXPECT_LT(x[0], -1e6);
    EXPECT_EQ(x[0], engine.GetParameter(0));
    EXPECT_EQ(engine.GetMinimum(), x[0]);
}

TYPED_TEST(MinuitEngine, ExceptionsFromEvaluatePassThrough) {
    class Fragile : public IMinimizerFunc {
    public:
        Fragile() : IMinimizerFunc(2) {}
        double Evaluate(const double* par, double*) override {
            if (++fCalls == 5) throw std::runtime_error("fragile");
            return par[0] * par[0] + par[1] * par[1];
        }
        int fCalls = 0;
    } func;
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double a = 3.0, b = 4.0;
    EXPECT_THROW(engine.Optimize(a, b), std::runtime_error);
    EXPECT_EQ(a, 3.0);
    EXPECT_EQ(b, 4.0);
    EXPECT_EQ(func.fCalls, 5);
}

namespace {
    CountingBowl* gBareFunction = nullptr;

    void BareFcn(Int_t&, Double_t*, Double_t& f, Double_t* par, Int_t) {
        f = gBareFunction->Value(par);
    }
}

TYPED_TEST(MinuitEngine, StepsLikeABareMinuitDrivenByHand) {
    // The same definitions and the same single command on a plain TMinuit
    // give the same point, the same number of calls and the same status.
    CountingBowl func = DeepBowl();
    func.SetScale(1, 0.3);
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double par[3] = {3.0, 3.0, -3.0};
    engine.Optimize(3, par);

    CountingBowl reference = DeepBowl();
    gBareFunction = &reference;
    TMinuit bare(3);
    bare.SetPrintLevel(-1);
    bare.SetFCN(BareFcn);
    int ierr = 0;
    const double start[3] = {3.0, 3.0, -3.0};
    const double step[3] = {1.0, 0.3, 1.0};
    for (int i = 0; i < 3; ++i) bare.mnparm(i, Form("P%2.2d", i), start[i], step[i], 0, 0, ierr);
    double arglist[1] = {0.0};
    bare.mnexcm(CommandOf(engine), arglist, 0, ierr);
    gBareFunction = nullptr;

    EXPECT_EQ(engine.GetStatus(), ierr);
    EXPECT_EQ(engine.fNfcn, bare.fNfcn);
    for (int i = 0; i < 3; ++i) {
        double value, error;
        bare.GetParameter(i, value, error);
        EXPECT_EQ(par[i], value);
        for (int j = 0; j < 3; ++j) {
            // Minuit leaves the array alone when it has no matrix (after
            // SIMPLEX), where the engine reads 0.0.
            double matrix[9] = {0.0};
            bare.mnemat(matrix, 3);
            EXPECT_EQ(engine.GetCovariance(i, j), matrix[i * 3 + j]);
        }
    }
}

// ---------------------------------------------------------------- fits

TYPED_TEST(MinuitEngine, BowlsEndAtTheirCentresWithTheInverseMatrixAsCovariance) {
    CountingBowl tilted = TiltedBowl();
    TypeParam tiltedEngine(tilted);
    tiltedEngine.SetPrintLevel(-1);
    double par2[2] = {-3.0, 2.0};
    Fit(tiltedEngine, par2);
    TMatrixD tiltedCovariance(2, 2);
    tiltedCovariance(0, 0) = 0.6;
    tiltedCovariance(0, 1) = tiltedCovariance(1, 0) = -0.2;
    tiltedCovariance(1, 1) = 0.4;
    ExpectFitAgrees(tiltedEngine, par2, tilted.fCentre.data(), tiltedCovariance, 0.01);

    CountingBowl deep = DeepBowl();
    TypeParam deepEngine(deep);
    deepEngine.SetPrintLevel(-1);
    double par3[3] = {3.0, 3.0, -3.0};
    Fit(deepEngine, par3);
    TMatrixD deepCovariance(3, 3, &kDeepBowlCovariance[0][0]);
    ExpectFitAgrees(deepEngine, par3, deep.fCentre.data(), deepCovariance, 0.01);
    EXPECT_EQ(deep.fNonNullExtras, 0);
    EXPECT_EQ(deep.fInitializations + deep.fFinalizations, 0);
}

TYPED_TEST(MinuitEngine, RosenbrockEndsAtOneOne) {
    Rosenbrock func;
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double par[2] = {-1.2, 1.0};
    Fit(engine, par);
    const double expected[2] = {1.0, 1.0};
    TMatrixD atOneOne = Rosenbrock::Covariance(1.0, 1.0);
    EXPECT_NEAR(atOneOne(0, 0), 1.0, 1e-12);
    EXPECT_NEAR(atOneOne(0, 1), 2.0, 1e-12);
    EXPECT_NEAR(atOneOne(1, 1), 4.01, 1e-12);
    // The curvature changes fast across the curved valley, so Minuit's
    // matrix, taken where the fit stopped, is compared with the exact one
    // there.
    ExpectFitAgrees(engine, par, expected, Rosenbrock::Covariance(par[0], par[1]), 0.01);
    EXPECT_LT(engine.GetMinimum(), 1e-5);
}

TYPED_TEST(MinuitEngine, NoiselessCircleHasTheHandWorkedCovariance) {
    // Twelve points evenly round a circle lie on it exactly, and there
    // sum cos^2 = sum sin^2 = N / 2 and the mixed sums vanish, so the
    // covariance is sigma^2 diag(2 / N, 2 / N, 1 / N).
    const int n = 12;
    const double sigma = 0.5;
    std::vector<double> x, y;
    for (int i = 0; i < n; ++i) {
        x.push_back(3.0 + 20.0 * std::cos(2.0 * M_PI * i / n));
        y.push_back(-1.0 + 20.0 * std::sin(2.0 * M_PI * i / n));
    }
    CircleChi2 func(x, y, sigma);
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double par[3] = {4.0, 0.0, 18.0};
    Fit(engine, par);
    const double expected[3] = {3.0, -1.0, 20.0};
    TMatrixD covariance(3, 3);
    covariance(0, 0) = covariance(1, 1) = sigma * sigma * 2.0 / n;
    covariance(2, 2) = sigma * sigma / n;
    ExpectFitAgrees(engine, par, expected, covariance, 0.01);
}

TYPED_TEST(MinuitEngine, NoisyCircleMatchesTheNewtonSolution) {
    CircleChi2 func = NoisyCircle(0.3);
    TypeParam engine(func);
    engine.SetPrintLevel(-1);
    double start[3] = {5.0, 1.0, 17.0};
    double par[3] = {5.0, 1.0, 17.0};
    Fit(engine, par);
    double best[3];
    TMatrixD covariance;
    const double truth[3] = {3.0, -1.0, 20.0};
    func.Solve(truth, best, covariance);
    ExpectFitAgrees(engine, par, best, covariance, 0.02);
    // The fit moved well away from its start to get there.
    EXPECT_GT(std::fabs(par[2] - start[2]), 2.0);
    EXPECT_NEAR(engine.GetMinimum(), func.Evaluate(best, nullptr), 1e-3);
}
