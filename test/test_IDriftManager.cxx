#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <TLorentzVector.h>
#include <TVector3.h>

#include <IFieldManager.hxx>
#include <IORVEXLog.hxx>

#include <IDriftManager.hxx>
#include <IElectronCloud.hxx>

namespace ORVEX {
    /// Reaches the velocity equations and the counters of a drift manager.
    class IDriftManagerInspector {
    public:
        static double Vx(IDriftManager& m, double q, TVector3 E, TVector3 B) {
            return m.vx(q, E, B);
        }
        static double Vy(IDriftManager& m, double q, TVector3 E, TVector3 B) {
            return m.vy(q, E, B);
        }
        static double Vz(IDriftManager& m, double q, TVector3 E, TVector3 B) {
            return m.vz(q, E, B);
        }
        /// The driver resets the counters when a drift begins; a test that
        /// calls Step by itself starts them here.
        static void ResetCounters(IDriftManager& m) {
            m.fNbrStepCalls = 0;
            m.fNbrVxCalls = 0;
        }
        static int StepCalls(const IDriftManager& m) { return m.fNbrStepCalls; }
        static int VxCalls(const IDriftManager& m) { return m.fNbrVxCalls; }
        static double Cathode(const IDriftManager& m) { return m.fCathode; }
    };
}

using ORVEX::EDrift;
using ORVEX::EDriftNotANumber;
using ORVEX::EDriftRunaway;
using ORVEX::EovUtility;
using ORVEX::IDriftManager;
using ORVEX::IDriftManagerInspector;
using ORVEX::IElectronCloud;
using ORVEX::IFieldManager;

namespace {
    // One tesla in the host's unit.
    const double kTesla = 0.001;

    const char* kPlaneMessage =
        "IDriftVolume::Step, drift electron started exactly on central cathod and stayed "
        "there!\n";
    const char* kCathodeMessage = "WARNING, cloud reached and passed cathode\n";
    const char* kMaxStepsMessage =
        "WARNING! in IDriftManager::Drift: Max number drift steps was reached\n";
    const char* kFloorMessage = "WARNING in IElectronCloud::Drift: Minimal step size reached\n";

    /// The steady drift velocity of the Langevin equation in its usual
    /// vector form for an electron (q = -1), scaled by the charge: the sign
    /// of the E x B term is that of the electron whatever the charge.
    TVector3 Langevin(double q, double mu, double omegaTau, TVector3 E, TVector3 B) {
        TVector3 b = B.Unit();
        return (q * mu / (1 + omegaTau * omegaTau)) *
               (E - omegaTau * E.Cross(b) + omegaTau * omegaTau * E.Dot(b) * b);
    }

    int CountOf(const std::string& text, const std::string& line) {
        int n = 0;
        for (std::size_t at = text.find(line); at != std::string::npos;
             at = text.find(line, at + line.size())) {
            ++n;
        }
        return n;
    }

    /// A field whose direction turns in the XZ plane along X, so that the
    /// drift velocity along X changes from place to place.
    TVector3 TurningField(const TLorentzVector& p) {
        return 0.5 * kTesla * TVector3(std::cos(p.X() / 5.0), 0.0, std::sin(p.X() / 5.0));
    }

    /// The step-doubling error of a first step of `h` from `x0` in the
    /// turning field: the distance between one full step and two halves.
    /// Taken on a copy, so the manager under test keeps its state.
    double StepDoublingError(IDriftManager reference, const TLorentzVector& x0, double h) {
        IFieldManager::SetFieldMap(TurningField);
        TLorentzVector full = reference.Step(x0, -1, h, false);
        TLorentzVector mid = reference.Step(x0, -1, h / 2, true);
        TLorentzVector halves = reference.Step(mid, -1, h / 2, false);
        return (halves.Vect() - full.Vect()).Mag();
    }

    /// The times of every field lookup while `m` drifts a cloud from `x0`
    /// in the turning field, in time mode, with its messages swallowed.
    std::vector<double> LookupTimesOfADrift(IDriftManager& m, const TLorentzVector& x0) {
        std::vector<double> times;
        IFieldManager::SetFieldMap([&times](const TLorentzVector& p) {
            times.push_back(p.T());
            return TurningField(p);
        });
        IElectronCloud cloud(10, x0.Vect(), TVector3(), 0.0, -1);
        int nbrSteps, nbrStepCalls, nbrVCalls;
        double hMin;
        testing::internal::CaptureStdout();
        m.Drift(1e6, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
        testing::internal::GetCapturedStdout();
        IFieldManager::SetUniformField(TVector3(0, 0, 0));
        return times;
    }

    class DriftTest : public testing::Test {
    protected:
        void SetUp() override { ResetField(); }
        void TearDown() override { ResetField(); }

        static void ResetField() {
            IFieldManager::SetUniformField(TVector3(0, 0, 0));
            IFieldManager::ResetLookupCount();
        }

        /// Records every lookup of a uniform field.
        void RecordLookups(const TVector3& field) {
            std::vector<TLorentzVector>* lookups = &fLookups;
            IFieldManager::SetFieldMap([lookups, field](const TLorentzVector& p) {
                lookups->push_back(p);
                return field;
            });
        }

        std::vector<TLorentzVector> fLookups;
    };

    // Drift speed, mobility and omega-tau of the tests.
    const double kVd = 0.05;
    const double kMu = 2.0;
    const double kOmegaTau = 0.5;
}

// ---------------------------------------------------------------------------
// The velocity equations.

TEST_F(DriftTest, LowFieldGivesMobilityTimesField) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TVector3 E(3, -4, 5);
    TVector3 B(0.6e-05, 0, 0.79e-05);  // 0.99e-05
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vx(m, -1, E, B), -6.0);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vy(m, -1, E, B), 8.0);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vz(m, -1, E, B), -10.0);
}

TEST_F(DriftTest, FieldOfExactlyTheThresholdTakesTheFullEquations) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TVector3 B(0, 0, 1e-05);
    ASSERT_EQ(B.Mag(), 1e-05);
    TVector3 E(-kVd / kMu, 0, 0);
    // con = -mu / 1.25, w (E x B)_x = 0, s = 0: vx = 0.8 vd; vy = con w Ex Bz = 0.4 vd.
    EXPECT_NEAR(IDriftManagerInspector::Vx(m, -1, E, B), 0.8 * kVd, 1e-15);
    EXPECT_NEAR(IDriftManagerInspector::Vy(m, -1, E, B), 0.4 * kVd, 1e-15);
    EXPECT_NEAR(IDriftManagerInspector::Vz(m, -1, E, B), 0.0, 1e-15);
}

TEST_F(DriftTest, NanFieldTakesTheFullEquations) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TVector3 B(NAN, 0, 0);
    EXPECT_TRUE(std::isnan(IDriftManagerInspector::Vx(m, -1, TVector3(1, 0, 0), B)));
}

TEST_F(DriftTest, ZeroOmegaTauGivesMobilityTimesFieldForEveryField) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 0.0, kMu, kVd);
    TVector3 E(3, -4, 5);
    for (TVector3 B : {TVector3(1, 2, 3), TVector3(0, 0, 1e-05), TVector3(-7, 0, 0.1)}) {
        EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vx(m, 1, E, B), 6.0);
        EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vy(m, 1, E, B), -8.0);
        EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vz(m, 1, E, B), 10.0);
    }
}

TEST_F(DriftTest, FieldParallelToElectricFieldGivesMobilityTimesField) {
    for (double omegaTau : {0.3, 1.0, 7.0}) {
        IDriftManager m;
        m.InitializeFromDB(1.0, omegaTau, kMu, kVd);
        TVector3 E(-4, 0, 0);
        for (TVector3 B : {TVector3(2 * kTesla, 0, 0), TVector3(-0.1 * kTesla, 0, 0)}) {
            EXPECT_NEAR(IDriftManagerInspector::Vx(m, -1, E, B), 8.0, 1e-12);
            EXPECT_NEAR(IDriftManagerInspector::Vy(m, -1, E, B), 0.0, 1e-12);
            EXPECT_NEAR(IDriftManagerInspector::Vz(m, -1, E, B), 0.0, 1e-12);
        }
    }
}

TEST_F(DriftTest, VelocityForAnElectricFieldAlongXIsTheLangevinSolution) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 1.3, kMu, kVd);
    TVector3 E(-kVd / kMu, 0, 0);
    TVector3 B = 0.2 * kTesla * TVector3(0.3, -0.4, std::sqrt(0.75));
    for (double q : {-1.0, 1.0}) {
        TVector3 v(IDriftManagerInspector::Vx(m, q, E, B), IDriftManagerInspector::Vy(m, q, E, B),
                   IDriftManagerInspector::Vz(m, q, E, B));
        TVector3 expected = Langevin(q, kMu, 1.3, E, B);
        EXPECT_NEAR(v.X(), expected.X(), 1e-15) << "q " << q;
        EXPECT_NEAR(v.Y(), expected.Y(), 1e-15) << "q " << q;
        EXPECT_NEAR(v.Z(), expected.Z(), 1e-15) << "q " << q;
    }
}

TEST_F(DriftTest, BracketsOfVyAndVzKeepTheirOwnSigns) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 1.0, 1.0, kVd);
    // con = 1/2, w = 1000, s = 0 in all three.
    TVector3 B(1e-3, 0, 0);
    // The true cross product would give -0.5 and +0.5.
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vy(m, 1, TVector3(0, 0, 1), B), 0.5);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vz(m, 1, TVector3(0, 1, 0), B), -0.5);
    // vx has the true cross product.
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vx(m, 1, TVector3(0, 1, 0), TVector3(0, 0, 1e-3)),
                     -0.5);
}

TEST_F(DriftTest, VzDenominatorCarriesTheChargeSquared) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 1.0, kMu, kVd);
    // The brackets of vx and vz agree here: both are 1 + omegaTau^2 = 2.
    TVector3 E(1, 0, 1);
    TVector3 B(1e-3, 0, 1e-3);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vx(m, 2, E, B), 4.0);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vz(m, 2, E, B), 1.6);  // 4 * 2 / 5
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vx(m, 1, E, B), 2.0);
    EXPECT_DOUBLE_EQ(IDriftManagerInspector::Vz(m, 1, E, B), 2.0);
}

// ---------------------------------------------------------------------------
// One step.

TEST_F(DriftTest, StepOnTheCentralPlaneStaysPut) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IDriftManagerInspector::ResetCounters(m);
    TLorentzVector x(0.0, 1.5, -2.5, 30.0);
    testing::internal::CaptureStdout();
    TLorentzVector y = m.Step(x, -1, 10.0, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kPlaneMessage);
    EXPECT_EQ(y, x);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
    EXPECT_EQ(IDriftManagerInspector::StepCalls(m), 1);
    EXPECT_EQ(IDriftManagerInspector::VxCalls(m), 0);
}

TEST_F(DriftTest, StepAtNanPositionStaysPut) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TLorentzVector x(NAN, 1.5, -2.5, 30.0);
    testing::internal::CaptureStdout();
    TLorentzVector y = m.Step(x, -1, 10.0, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kPlaneMessage);
    EXPECT_TRUE(std::isnan(y.X()));
    EXPECT_EQ(y.T(), 30.0);
}

TEST_F(DriftTest, StepInZeroFieldMatchesClosedForm) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    const double h = 12.5;
    // x' = charge mu Ex h with Ex = -vd / mu on the X > 0 side, reversed below.
    struct Case {
        double x, q, dx;
    };
    for (Case c : {Case{100, -1, kVd * h}, Case{100, 1, -kVd * h}, Case{-40, -1, -kVd * h},
                   Case{-40, 1, kVd * h}, Case{3, -2, 2 * kVd * h}}) {
        TLorentzVector y = m.Step(TLorentzVector(c.x, 7, -9, 100), c.q, h, false);
        EXPECT_NEAR(y.X(), c.x + c.dx, 1e-13) << c.x << " " << c.q;
        EXPECT_EQ(y.Y(), 7.0);
        EXPECT_EQ(y.Z(), -9.0);
        EXPECT_EQ(y.T(), 100 + h);
    }
}

TEST_F(DriftTest, StepInFieldBelowThresholdMatchesClosedForm) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0.5e-05, -0.5e-05, 0.7e-05));
    TLorentzVector y = m.Step(TLorentzVector(100, 7, -9, 0), -1, 20.0, false);
    EXPECT_NEAR(y.X(), 100 + 20 * kVd, 1e-13);
    EXPECT_EQ(y.Y(), 7.0);
    EXPECT_EQ(y.Z(), -9.0);
}

TEST_F(DriftTest, StepAtThresholdFieldMovesAcrossToo) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0, 0, 1e-05));
    TLorentzVector y = m.Step(TLorentzVector(100, 7, -9, 0), -1, 20.0, false);
    EXPECT_NEAR(y.X(), 100 + 20 * 0.8 * kVd, 1e-13);
    EXPECT_NEAR(y.Y(), 7 + 20 * 0.4 * kVd, 1e-13);
    EXPECT_EQ(y.Z(), -9.0);
}

TEST_F(DriftTest, StepWithZeroOmegaTauIgnoresTheField) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 0.0, kMu, kVd);
    IFieldManager::SetFieldMap(TurningField);
    TLorentzVector y = m.Step(TLorentzVector(100, 7, -9, 0), -1, 20.0, false);
    EXPECT_NEAR(y.X(), 100 + 20 * kVd, 1e-13);
    EXPECT_EQ(y.Y(), 7.0);
    EXPECT_EQ(y.Z(), -9.0);
}

TEST_F(DriftTest, StepWithFieldAlongXDriftsAlongX) {
    IDriftManager m;
    m.InitializeFromDB(1.0, 4.0, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0.2 * kTesla, 0, 0));
    TLorentzVector y = m.Step(TLorentzVector(100, 7, -9, 0), -1, 20.0, false);
    EXPECT_NEAR(y.X(), 100 + 20 * kVd, 1e-12);
    EXPECT_NEAR(y.Y(), 7.0, 1e-12);
    EXPECT_NEAR(y.Z(), -9.0, 1e-12);
}

TEST_F(DriftTest, StepWithoutChargeOnlyAdvancesTime) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0.1 * kTesla, 0.2 * kTesla, 0.3 * kTesla));
    TLorentzVector y = m.Step(TLorentzVector(100, 7, -9, 5), 0, 20.0, false);
    EXPECT_EQ(y, TLorentzVector(100, 7, -9, 25));
}

TEST_F(DriftTest, StepCrossingThePlaneKeepsTheElectricFieldOfItsStart) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, 1.0);
    std::vector<double> stageX;
    IFieldManager::SetFieldMap([&stageX](const TLorentzVector& p) {
        stageX.push_back(p.X());
        return TVector3(0, 0, 0);
    });
    // A positive carrier at X = 1 moves towards the plane at speed 1.
    TLorentzVector y = m.Step(TLorentzVector(1, 0, 0, 0), 1, 3.0, false);
    EXPECT_NEAR(y.X(), -2.0, 1e-14);
    // The later stages sampled the far side with the near side's field.
    ASSERT_GE(stageX.size(), 4u);
    EXPECT_NEAR(stageX[1], -0.5, 1e-14);
    EXPECT_NEAR(stageX[3], -2.0, 1e-14);
    IFieldManager::SetUniformField(TVector3(0, 0, 0));
}

TEST_F(DriftTest, StepCostsTenLookupsAndFourXVelocitiesWithoutStoredSlopes) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0, 0.2 * kTesla, 0));
    IDriftManagerInspector::ResetCounters(m);
    m.Step(TLorentzVector(100, 7, -9, 0), -1, 20.0, false);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 10);
    EXPECT_EQ(IDriftManagerInspector::VxCalls(m), 4);
    EXPECT_EQ(IDriftManagerInspector::StepCalls(m), 1);

    IFieldManager::ResetLookupCount();
    IDriftManagerInspector::ResetCounters(m);
    m.Step(TLorentzVector(100, 7, -9, 0), -1, 10.0, true);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 9);
    EXPECT_EQ(IDriftManagerInspector::VxCalls(m), 3);
    EXPECT_EQ(IDriftManagerInspector::StepCalls(m), 1);
}

TEST_F(DriftTest, StepSamplesEachAxisOnItsOwnLineInOrderXYZ) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TVector3 B = 0.2 * kTesla * TVector3(0.3, -0.4, std::sqrt(0.75));
    RecordLookups(B);
    const double h = 20.0;
    const TVector3 s(100, 7, -9);
    const double t = 40.0;
    TLorentzVector y = m.Step(TLorentzVector(s, t), -1, h, false);
    TVector3 v = Langevin(-1, kMu, kOmegaTau, TVector3(-kVd / kMu, 0, 0), B);

    std::vector<TLorentzVector> expected;
    expected.push_back(TLorentzVector(s, t));
    for (int axis = 0; axis < 3; ++axis) {
        TVector3 halfway = s;
        halfway[axis] += h / 2 * v[axis];
        TVector3 full = s;
        full[axis] += h * v[axis];
        expected.push_back(TLorentzVector(halfway, t + h / 2));
        expected.push_back(TLorentzVector(halfway, t + h / 2));
        expected.push_back(TLorentzVector(full, t + h));
    }
    ASSERT_EQ(fLookups.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (int c = 0; c < 4; ++c) {
            EXPECT_NEAR(fLookups[i][c], expected[i][c], 1e-12) << "lookup " << i << " " << c;
        }
    }
    // In a uniform field every slope is the same, and the step is exact.
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(y[c], s[c] + h * v[c], 1e-12) << c;
    EXPECT_EQ(y.T(), t + h);
}

TEST_F(DriftTest, StepWithStoredSlopesSkipsTheStartLookup) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    TVector3 B = 0.2 * kTesla * TVector3(0.3, -0.4, std::sqrt(0.75));
    m.Step(TLorentzVector(100, 7, -9, 40), -1, 20.0, false);
    RecordLookups(B);
    m.Step(TLorentzVector(100, 7, -9, 40), -1, 10.0, true);
    ASSERT_EQ(fLookups.size(), 9u);
    // The first lookup is the X axis's second stage.
    EXPECT_EQ(fLookups[0].T(), 45.0);
}

TEST_F(DriftTest, StoredSlopesAreThoseOfTheLastStepThatComputedThem) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, 1.0);
    // Slopes at X > 0 for an electron: +1 along X.
    m.Step(TLorentzVector(10, 0, 0, 0), -1, 1.0, false);
    // A step with stored slopes doesn't refresh them.
    m.Step(TLorentzVector(20, 0, 0, 0), -1, 1.0, true);
    // At X < 0 the true slope is -1, but the first stage reads +1:
    // x' = -10 + (6 / 6)(1 - 2 - 2 - 1).
    TLorentzVector y = m.Step(TLorentzVector(-10, 0, 0, 0), -1, 6.0, true);
    EXPECT_NEAR(y.X(), -10 - 4.0, 1e-13);
    // With fresh slopes the step is the closed form.
    y = m.Step(TLorentzVector(-10, 0, 0, 0), -1, 6.0, false);
    EXPECT_NEAR(y.X(), -16.0, 1e-13);
}

// ---------------------------------------------------------------------------
// Set-up.

TEST_F(DriftTest, DriftWithoutSetUpFailsOnTheErrorStream) {
    IDriftManager m;
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(1, 2, 3), 5.0, -1);
    int nbrSteps = 42, nbrStepCalls = 43, nbrVCalls = 44;
    double hMin = 45.0;
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.Drift(500, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "IDriftManager not initialized !!!!\n");
    EXPECT_EQ(nbrSteps, 42);
    EXPECT_EQ(nbrStepCalls, 43);
    EXPECT_EQ(nbrVCalls, 44);
    EXPECT_EQ(hMin, 45.0);
    EXPECT_FALSE(cloud.IsDrifted());
    EXPECT_EQ(cloud.GetPosition(), TVector3(100, 0, 0));
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);

    testing::internal::CaptureStderr();
    EXPECT_FALSE(m.DriftUntilTLim(cloud, 10.0));
    EXPECT_FALSE(m.DriftUntilXLim(cloud, 500.0));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "IDriftManager not initialized !!!!\nIDriftManager not initialized !!!!\n");
    EXPECT_FALSE(cloud.IsDrifted());
}

TEST_F(DriftTest, FixedStepSetUpKeepsItsStepAndNeverRecordsTheSmallest) {
    IDriftManager m;
    m.InitializeFromDB(6.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    EXPECT_TRUE(m.Drift(130.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    // 106, 112, ..., 130, 136: landing on the limit exactly doesn't count,
    // and the next step's 6 beyond it are taken back.
    EXPECT_EQ(nbrSteps, 6);
    EXPECT_EQ(nbrStepCalls, 6);
    EXPECT_EQ(nbrVCalls, 24);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 60);
    EXPECT_EQ(hMin, 99999999.0);
    EXPECT_EQ(cloud.GetTime(), 30.0);
    EXPECT_EQ(cloud.GetPosition().X(), 130.0);
    EXPECT_NEAR(cloud.GetMeanDriftXVelocity(), 1.0, 1e-12);
    EXPECT_NEAR(cloud.GetVelocity().X(), 1.0, 1e-12);
    EXPECT_EQ(cloud.NumberDriftSteps(), 6);
}

TEST_F(DriftTest, FixedStepSetUpAllowsAThousandSteps) {
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.DriftUntilXLim(cloud, 5000.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kMaxStepsMessage);
    EXPECT_EQ(cloud.NumberDriftSteps(), 1000);
    EXPECT_NEAR(cloud.GetPosition().X(), 1100.0, 1e-9);
    EXPECT_NEAR(cloud.GetTime(), 1000.0, 1e-9);
}

TEST_F(DriftTest, AdaptiveSetUpIgnoresItsFirstArgument) {
    for (bool adaptive : {true, false}) {
        IDriftManager m;
        m.InitializeFromDB(adaptive, 50.0, 0.5, 3, 1e-3, 2.0, kOmegaTau, kMu, kVd);
        IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
        int nbrSteps, nbrStepCalls, nbrVCalls;
        double hMin;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(m.Drift(5000.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kMaxStepsMessage);
        EXPECT_EQ(nbrSteps, 3);
        EXPECT_EQ(nbrStepCalls, 9);
        EXPECT_EQ(hMin, 2.0);
    }
}

TEST_F(DriftTest, CountersAndSmallestStepBelongToOneDrift) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 3, 1e-3, 2.0, kOmegaTau, kMu, 1.0);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    // Steps of 2, 50 and 50, each pass three calls of Step and 11 of vx.
    for (int drift = 0; drift < 2; ++drift) {
        IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
        testing::internal::CaptureStdout();
        m.Drift(5000.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(nbrStepCalls, 9) << "drift " << drift;
        EXPECT_EQ(nbrVCalls, 33) << "drift " << drift;
        EXPECT_EQ(hMin, 2.0) << "drift " << drift;
    }
    // A new set-up keeps the counters, but the next drift starts them
    // afresh: 102, ..., 110, taken back to 109.
    m.InitializeFromDB(2.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    EXPECT_TRUE(m.Drift(109.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    EXPECT_EQ(nbrSteps, 5);
    EXPECT_EQ(nbrStepCalls, 5);
    EXPECT_EQ(nbrVCalls, 20);
    EXPECT_EQ(hMin, 99999999.0);
    EXPECT_EQ(cloud.GetPosition().X(), 109.0);
    EXPECT_EQ(cloud.GetTime(), 9.0);
}

TEST_F(DriftTest, AdaptivePassCostsThreeStepsAnd29Lookups) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1, 1e-3, 2.0, kOmegaTau, kMu, kVd);
    IFieldManager::SetUniformField(TVector3(0, 0.2 * kTesla, 0.1 * kTesla));
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    m.Drift(5000.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(nbrSteps, 1);
    EXPECT_EQ(nbrStepCalls, 3);
    EXPECT_EQ(nbrVCalls, 11);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 29);
}

// ---------------------------------------------------------------------------
// Drifts in a field: the Langevin velocity.

TEST_F(DriftTest, DriftAcrossAUniformFieldFollowsTheLorentzAngle) {
    const double vd = 0.08;
    for (bool adaptive : {false, true}) {
        IDriftManager m;
        if (adaptive) {
            m.InitializeFromDB(true, 400.0, 1.0, 1000, 1e-6, 10.0, kOmegaTau, kMu, vd);
        } else {
            m.InitializeFromDB(300.0, kOmegaTau, kMu, vd);
        }
        IFieldManager::SetUniformField(TVector3(0, 0, 0.2 * kTesla));
        IElectronCloud cloud(10, TVector3(100, 10, -5), TVector3(), 1000.0, -1);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(m.DriftUntilXLim(cloud, 800.0));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        // v = vd / (1 + wt^2) (1, wt, 0): 0.064 along X, 0.032 along Y, and
        // the drift turns by atan(wt) from the electric field.
        TVector3 v = cloud.GetVelocity();
        EXPECT_NEAR(v.X(), 0.064, 1e-14);
        EXPECT_NEAR(v.Y(), 0.032, 1e-14);
        EXPECT_NEAR(v.Z(), 0.0, 1e-14);
        EXPECT_NEAR(v.Mag(), vd / std::sqrt(1 + kOmegaTau * kOmegaTau), 1e-14);
        EXPECT_NEAR(std::atan2(v.Y(), v.X()), std::atan(kOmegaTau), 1e-12);
        EXPECT_NEAR(cloud.GetMeanDriftXVelocity(), 0.064, 1e-14);
        EXPECT_EQ(cloud.GetPosition().X(), 800.0);
        EXPECT_NEAR(cloud.GetTime(), 1000.0 + 700.0 / 0.064, 1e-8);
        // Y stays where the last step put it: past the limit by at most one step.
        double yAtLimit = 10 + 0.032 * 700.0 / 0.064;
        EXPECT_GE(cloud.GetPosition().Y(), yAtLimit - 1e-9);
        EXPECT_LE(cloud.GetPosition().Y(), yAtLimit + 0.032 * 400.0);
        EXPECT_EQ(cloud.GetPosition().Z(), -5.0);
        EXPECT_TRUE(cloud.IsDrifted());
    }
}

TEST_F(DriftTest, DriftInAnObliqueFieldMatchesTheLangevinVelocity) {
    IDriftManager m;
    m.InitializeFromDB(true, 200.0, 1.0, 1000, 1e-6, 10.0, 1.7, kMu, kVd);
    TVector3 B = 0.5 * kTesla * TVector3(0.6, -0.48, 0.64);
    IFieldManager::SetUniformField(B);
    for (double startX : {300.0, -300.0}) {
        IElectronCloud cloud(10, TVector3(startX, 0, 0), TVector3(), 0.0, -1);
        EXPECT_TRUE(m.DriftUntilTLim(cloud, 2500.0));
        TVector3 E(startX > 0 ? -kVd / kMu : kVd / kMu, 0, 0);
        TVector3 expected = Langevin(-1, kMu, 1.7, E, B);
        TVector3 v = cloud.GetVelocity();
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(v[c], expected[c], 1e-15) << startX << " " << c;
        // Away from the cathode on both sides.
        EXPECT_GT(v.X() * startX, 0);
        EXPECT_NEAR(cloud.GetTime(), 2500.0, 1e-9);
        EXPECT_NEAR(cloud.GetPosition().X(), startX + 2500.0 * expected.X(), 1e-9);
    }
}

// ---------------------------------------------------------------------------
// Time limits.

TEST_F(DriftTest, NegativeTimeLimitFailsWithoutDrifting) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 100, 1e-3, 2.0, kOmegaTau, kMu, kVd);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(1, 2, 3), 5.0, -1);
    int nbrSteps = 42, nbrStepCalls = 43, nbrVCalls = 44;
    double hMin = 45.0;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.Drift(-1.0, false, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    EXPECT_FALSE(m.DriftUntilTLim(cloud, -1e-9));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(nbrSteps, 0);
    EXPECT_EQ(nbrStepCalls, 43);
    EXPECT_FALSE(cloud.IsDrifted());
    EXPECT_EQ(cloud.GetPosition(), TVector3(100, 0, 0));
    EXPECT_EQ(cloud.GetVelocity(), TVector3(1, 2, 3));
    EXPECT_EQ(cloud.GetTime(), 5.0);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

TEST_F(DriftTest, ZeroTimeLimitTakesTheFirstStepBack) {
    for (bool adaptive : {false, true}) {
        IDriftManager m;
        if (adaptive) {
            m.InitializeFromDB(true, 50.0, 0.5, 100, 1e-3, 2.0, kOmegaTau, kMu, kVd);
        } else {
            m.InitializeFromDB(2.0, kOmegaTau, kMu, kVd);
        }
        IFieldManager::SetUniformField(TVector3(0, 0, 0.3 * kTesla));
        IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 5.0, -1);
        EXPECT_TRUE(m.DriftUntilTLim(cloud, 0.0));
        EXPECT_TRUE(cloud.IsDrifted());
        EXPECT_EQ(cloud.NumberDriftSteps(), 1);
        EXPECT_EQ(cloud.GetTime(), 5.0);
        EXPECT_NEAR(cloud.GetPosition().X(), 100.0, 1e-12);
        // Across the drift nothing is taken back.
        EXPECT_GT(cloud.GetPosition().Y(), 0.0);
    }
}

TEST_F(DriftTest, TimeLimitEndsAtTheLimitWithXInterpolated) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 5.0, -1);
    EXPECT_TRUE(m.DriftUntilTLim(cloud, 20.0));
    EXPECT_EQ(cloud.NumberDriftSteps(), 3);
    EXPECT_EQ(cloud.GetTime(), 25.0);
    EXPECT_NEAR(cloud.GetPosition().X(), 120.0, 1e-12);
}

TEST_F(DriftTest, ReachingTheTimeLimitExactlyTakesAnotherStep) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    EXPECT_TRUE(m.DriftUntilTLim(cloud, 16.0));
    EXPECT_EQ(cloud.NumberDriftSteps(), 3);
    EXPECT_EQ(cloud.GetTime(), 16.0);
    EXPECT_NEAR(cloud.GetPosition().X(), 116.0, 1e-12);
}

// ---------------------------------------------------------------------------
// X limits.

TEST_F(DriftTest, XLimitAheadOfANegativeCloudIsRefused) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(-100, 0, 0), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.DriftUntilXLim(cloud, 50.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WARNING in IDriftManager::DriftUntilXLim: negative value for xLim expected\n");
    EXPECT_FALSE(cloud.IsDrifted());
    EXPECT_EQ(cloud.GetPosition(), TVector3(-100, 0, 0));
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

TEST_F(DriftTest, NegativeXLimitForAPositiveCloudIsNotChecked) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(50, 0, 0), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilXLim(cloud, -100.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_TRUE(cloud.IsDrifted());
    EXPECT_EQ(cloud.GetPosition().X(), 6.6);
}

TEST_F(DriftTest, NegativeCloudDriftsToANegativeXLimit) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(-100, 3, 4), TVector3(), 0.0, -1);
    EXPECT_TRUE(m.DriftUntilXLim(cloud, -130.0));
    // -108, -116, -124, -132: the last 2 taken back at speed 1.
    EXPECT_EQ(cloud.GetPosition().X(), -130.0);
    EXPECT_NEAR(cloud.GetTime(), 30.0, 1e-12);
    EXPECT_EQ(cloud.NumberDriftSteps(), 4);
    EXPECT_NEAR(cloud.GetVelocity().X(), -1.0, 1e-12);
}

TEST_F(DriftTest, StartingOnTheXLimitNeverPassesIt) {
    IDriftManager m;
    // Steps of 6 from X = 100: no half step starts on the plane.
    m.InitializeFromDB(true, 6.0, 0.5, 50, 1e-3, 6.0, kOmegaTau, kMu, 1.0);
    // An electron moves away from the limit and the plane: the step count ends it.
    IElectronCloud away(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.DriftUntilXLim(away, 100.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kMaxStepsMessage);
    EXPECT_EQ(away.NumberDriftSteps(), 50);
    EXPECT_NEAR(away.GetPosition().X(), 400.0, 1e-9);
    // A positive carrier moves through the limit towards the plane: the
    // cathode ends it.
    IElectronCloud towards(10, TVector3(100, 0, 0), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilXLim(towards, 100.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_EQ(towards.GetPosition().X(), 6.6);
}

TEST_F(DriftTest, StepCountEndsTheDriftButAReachedLimitStillCounts) {
    IDriftManager m;
    m.InitializeFromDB(true, 8.0, 0.5, 2, 1e-3, 8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(cloud, 15.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kMaxStepsMessage);
    EXPECT_EQ(cloud.GetTime(), 15.0);
    EXPECT_EQ(cloud.NumberDriftSteps(), 2);
}

TEST_F(DriftTest, NoStepAllowedWritesTheCloudBackUnmoved) {
    for (int maxSteps : {0, -3}) {
        IDriftManager m;
        m.InitializeFromDB(true, 8.0, 0.5, maxSteps, 1e-3, 8.0, kOmegaTau, kMu, 1.0);
        IElectronCloud cloud(10, TVector3(100, 1, 2), TVector3(0.5, 0.25, 0), 3.0, -1);
        int nbrSteps, nbrStepCalls, nbrVCalls;
        double hMin;
        testing::internal::CaptureStdout();
        EXPECT_FALSE(m.Drift(500.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kMaxStepsMessage);
        EXPECT_EQ(nbrSteps, 0);
        EXPECT_EQ(nbrStepCalls, 0);
        EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
        EXPECT_TRUE(cloud.IsDrifted());
        EXPECT_EQ(cloud.GetPosition(), TVector3(100, 1, 2));
        EXPECT_EQ(cloud.GetVelocity(), TVector3(0.5, 0.25, 0));
        EXPECT_EQ(cloud.GetTime(), 3.0);
        EXPECT_EQ(cloud.NumberDriftSteps(), 0);
        EXPECT_EQ(cloud.GetMeanDriftXVelocity(), 0.0);
    }
}

TEST_F(DriftTest, CloudOnTheCentralPlaneRunsOutOfSteps) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(0, 1, 2), TVector3(0.5, 0, 0), 3.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.DriftUntilXLim(cloud, 100.0));
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(CountOf(out, kPlaneMessage), 1000);
    EXPECT_EQ(out.size(),
              1000 * std::string(kPlaneMessage).size() + std::string(kMaxStepsMessage).size());
    EXPECT_EQ(out.substr(out.size() - std::string(kMaxStepsMessage).size()), kMaxStepsMessage);
    EXPECT_EQ(cloud.NumberDriftSteps(), 1000);
    EXPECT_EQ(cloud.GetTime(), 3.0);
    EXPECT_EQ(cloud.GetPosition(), TVector3(0, 1, 2));
    EXPECT_EQ(cloud.GetVelocity(), TVector3(0, 0, 0));
    EXPECT_EQ(cloud.GetMeanDriftXVelocity(), 0.0);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

// ---------------------------------------------------------------------------
// Step-size control.

TEST_F(DriftTest, TinyErrorJumpsToTheLargestStep) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 3, 1e-3, 2.0, kOmegaTau, kMu, 1.0);
    IFieldManager::SetUniformField(TVector3(0, 0, 0.3 * kTesla));
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.Drift(1e6, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    testing::internal::GetCapturedStdout();
    // Steps of 2, then 50 and 50.
    EXPECT_NEAR(cloud.GetTime(), 102.0, 1e-12);
    EXPECT_EQ(hMin, 2.0);
    EXPECT_EQ(nbrStepCalls, 9);
}

TEST_F(DriftTest, ErrorBelowTheThresholdSkipsTheQuarterPowerLaw) {
    // A step so short that its error is under 1e-08; with a tolerance of
    // four times that error the quarter-power law would only grow the step
    // by 2^0.25, but the next step is the largest at once.
    const double h1 = 0.005;
    const double hMax = 1.0;
    IDriftManager reference;
    reference.InitializeFromDB(true, hMax, 1e-4, 2, 1.0, h1, 2.0, kMu, kVd);
    TLorentzVector x0(30, 0, 0, 0);
    double errorEst = StepDoublingError(reference, x0, h1);
    ASSERT_GT(errorEst, 1e-12);
    ASSERT_LT(errorEst, 1e-08);

    IDriftManager m;
    m.InitializeFromDB(true, hMax, 1e-4, 2, 4 * errorEst, h1, 2.0, kMu, kVd);
    std::vector<double> times = LookupTimesOfADrift(m, x0);
    ASSERT_GE(times.size(), 33u);
    EXPECT_EQ(times[29], h1);
    EXPECT_NEAR(times[32] - times[29], hMax, 1e-12);
}

TEST_F(DriftTest, NextStepFollowsTheQuarterPowerOfHalfTheToleranceOverTheError) {
    const double tol = 1e-3;
    const double h1 = 2.0;
    IDriftManager m;
    m.InitializeFromDB(true, 500.0, 0.5, 2, tol, h1, 2.0, kMu, kVd);
    TLorentzVector x0(30, 0, 0, 0);
    double errorEst = StepDoublingError(m, x0, h1);  // on a copy of m
    ASSERT_GT(errorEst, 1e-08);
    ASSERT_LT(errorEst, tol);
    double h2 = h1 * std::pow(tol / (2 * errorEst), 0.25);
    ASSERT_LT(h2, 500.0);

    std::vector<double> times = LookupTimesOfADrift(m, x0);
    // Pass 2 starts at lookup 29; its fourth lookup is at the end of its step.
    ASSERT_GE(times.size(), 33u);
    EXPECT_EQ(times[29], h1);
    EXPECT_NEAR(times[32] - times[29], h2, 1e-9 * h2);
}

TEST_F(DriftTest, AcceptedStepKeepsTheSingleFullStep) {
    IDriftManager m;
    m.InitializeFromDB(true, 500.0, 0.5, 1, 1e-3, 2.0, 2.0, kMu, kVd);
    IDriftManager reference = m;
    IFieldManager::SetFieldMap(TurningField);
    TLorentzVector x0(30, 0, 0, 0);
    TLorentzVector full = reference.Step(x0, -1, 2.0, false);
    TLorentzVector mid = reference.Step(x0, -1, 1.0, true);
    TLorentzVector halves = reference.Step(mid, -1, 1.0, false);
    ASSERT_NE(full.X(), halves.X());
    IElectronCloud cloud(10, x0.Vect(), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    m.DriftUntilXLim(cloud, 1e6);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(cloud.GetPosition(), full.Vect());
    EXPECT_EQ(cloud.GetTime(), 2.0);
    EXPECT_EQ(cloud.GetVelocity(), (full.Vect() - x0.Vect()) * (1 / 2.0));
}

TEST_F(DriftTest, ErrorAboveToleranceAtEverySizeFallsToTheFloor) {
    IDriftManager m;
    const double minStep = 2.0;
    m.InitializeFromDB(true, 50.0, minStep, 10, 1e-30, 20.0, 2.0, kMu, kVd);
    IFieldManager::SetFieldMap(TurningField);
    IElectronCloud cloud(10, TVector3(30, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.Drift(1e6, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(nbrSteps, 10);
    EXPECT_EQ(CountOf(out, kFloorMessage), 10);
    EXPECT_EQ(CountOf(out, kMaxStepsMessage), 1);
    EXPECT_EQ(hMin, minStep - 1e-06);
    // Every accepted step was at the floor; rejected passes cost calls only.
    EXPECT_NEAR(cloud.GetTime(), 10 * (minStep - 1e-06), 1e-9);
    EXPECT_GT(nbrStepCalls, 3 * nbrSteps);
}

TEST_F(DriftTest, RejectedPassCountsCallsButNoStep) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 2.0, 1, 1e-30, 20.0, 2.0, kMu, kVd);
    IFieldManager::SetFieldMap(TurningField);
    IElectronCloud cloud(10, TVector3(30, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    m.Drift(1e6, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, std::string(kFloorMessage) + kMaxStepsMessage);
    EXPECT_EQ(nbrSteps, 1);
    EXPECT_EQ(nbrStepCalls, 6);
    EXPECT_EQ(nbrVCalls, 22);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 58);
}

// ---------------------------------------------------------------------------
// The central cathode.

TEST_F(DriftTest, PositiveCarrierFromPositiveSideStopsAtTheCathode) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(50, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(cloud, 1000.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    // 42, 34, ..., 2, -6 after 7 steps at T = 56; back by |-6 - 6.6| / 1.
    EXPECT_EQ(cloud.GetPosition(), TVector3(6.6, 3, 4));
    EXPECT_NEAR(cloud.GetTime(), 43.4, 1e-12);
    EXPECT_EQ(cloud.NumberDriftSteps(), 7);
    EXPECT_EQ(IDriftManagerInspector::Cathode(m), 6.6);
}

TEST_F(DriftTest, CathodeSignFlipPersistsAcrossDrifts) {
    IDriftManager m;
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    IElectronCloud negative(10, TVector3(-50, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(negative, 1000.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    // -42, ..., -2, 6 at T = 56; put at -6.6 and taken back twice by 12.6.
    EXPECT_EQ(negative.GetPosition(), TVector3(-6.6, 3, 4));
    EXPECT_NEAR(negative.GetTime(), 56 - 2 * 12.6, 1e-12);
    EXPECT_EQ(IDriftManagerInspector::Cathode(m), -6.6);

    // A cloud from the positive side now ends on the far side of the plane:
    // -6 at T = 56, taken back once by |-6 + 6.6|.
    IDriftManager copy = m;
    for (IDriftManager* manager : {&m, &copy}) {
        IElectronCloud positive(10, TVector3(50, 3, 4), TVector3(), 0.0, 1);
        testing::internal::CaptureStdout();
        EXPECT_TRUE(manager->DriftUntilTLim(positive, 1000.0));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
        EXPECT_EQ(positive.GetPosition(), TVector3(-6.6, 3, 4));
        EXPECT_NEAR(positive.GetTime(), 55.4, 1e-12);
    }

    // A second crossing from the negative side flips it back.
    IElectronCloud again(10, TVector3(-50, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(again, 1000.0));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(again.GetPosition(), TVector3(6.6, 3, 4));
    EXPECT_NEAR(again.GetTime(), 55.4, 1e-12);
    EXPECT_EQ(IDriftManagerInspector::Cathode(m), 6.6);

    // A new set-up puts the cathode back at +6.6.
    IElectronCloud third(10, TVector3(-50, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    m.DriftUntilTLim(third, 1000.0);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(IDriftManagerInspector::Cathode(m), -6.6);
    m.InitializeFromDB(8.0, kOmegaTau, kMu, 1.0);
    EXPECT_EQ(IDriftManagerInspector::Cathode(m), 6.6);
}

TEST_F(DriftTest, CloudAlreadyPastThePlaneMeetsTheCathodeOnTheFirstPass) {
    IDriftManager m;
    // A tolerance of 0 rejects every step above the floor.
    m.InitializeFromDB(true, 50.0, 0.5, 100, 0.0, 8.0, kOmegaTau, kMu, 1.0);
    IFieldManager::SetFieldMap(TurningField);
    IElectronCloud cloud(10, TVector3(10, 3, 4), TVector3(0.7, 0.1, 0), 2.0, -1);
    cloud.SetPosition(TVector3(-3, 3, 4));
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.Drift(1000.0, false, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_EQ(nbrSteps, 0);
    EXPECT_EQ(nbrStepCalls, 3);
    EXPECT_EQ(cloud.NumberDriftSteps(), 0);
    EXPECT_EQ(cloud.GetVelocity(), TVector3(0.7, 0.1, 0));
    EXPECT_EQ(cloud.GetPosition(), TVector3(6.6, 3, 4));
    EXPECT_NEAR(cloud.GetTime(), 2.0 - 9.6 / 0.7, 1e-12);
    EXPECT_EQ(cloud.GetMeanDriftXVelocity(), 0.0);
    EXPECT_TRUE(cloud.IsDrifted());
}

TEST_F(DriftTest, LimitIsTestedAgainOnThePositionPutDownAtTheCathode) {
    // A positive carrier from X = 10 moves at speed 1 towards the plane; one
    // step of 16 ends at X = -6, T = 16, and the cathode puts it at 6.6,
    // T = 16 - 12.6.  That point is already past an X limit of 8 (taken
    // back by 1.4 more) and past a time limit of 3 (taken forward by 0.4).
    IDriftManager m;
    m.InitializeFromDB(16.0, kOmegaTau, kMu, 1.0);
    IElectronCloud toX(10, TVector3(10, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilXLim(toX, 8.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_EQ(toX.GetPosition(), TVector3(8, 3, 4));
    EXPECT_NEAR(toX.GetTime(), 2.0, 1e-12);
    EXPECT_EQ(toX.NumberDriftSteps(), 1);

    IElectronCloud toT(10, TVector3(10, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(toT, 3.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_NEAR(toT.GetPosition().X(), 7.0, 1e-12);
    EXPECT_EQ(toT.GetTime(), 3.0);
}

TEST_F(DriftTest, CloudStartedOnThePlaneCountsAsComingFromTheNegativeSide) {
    IDriftManager m;
    // A tolerance of 0 rejects every step above the floor.
    m.InitializeFromDB(true, 50.0, 0.5, 100, 0.0, 8.0, kOmegaTau, kMu, 1.0);
    IFieldManager::SetFieldMap(TurningField);
    IElectronCloud cloud(10, TVector3(0, 3, 4), TVector3(0.7, 0.1, 0), 2.0, -1);
    cloud.SetPosition(TVector3(5, 3, 4));
    int nbrSteps, nbrStepCalls, nbrVCalls;
    double hMin;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.Drift(1000.0, false, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_EQ(nbrSteps, 0);
    // The cathode flips to -6.6, and the time is taken back twice by
    // |5 + 6.6| / 0.7.
    EXPECT_EQ(IDriftManagerInspector::Cathode(m), -6.6);
    EXPECT_EQ(cloud.GetPosition(), TVector3(-6.6, 3, 4));
    EXPECT_NEAR(cloud.GetTime(), 2.0 - 2 * 11.6 / 0.7, 1e-12);
}

TEST_F(DriftTest, CloudLandingOnThePlaneStaysThere) {
    IDriftManager m;
    m.InitializeFromDB(6.0, kOmegaTau, kMu, 1.0);
    // 12, 6, 0: the third step lands on X = 0, and counts as reaching the
    // limit with neither position nor time corrected.
    IElectronCloud cloud(10, TVector3(18, 3, 4), TVector3(), 0.0, 1);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilTLim(cloud, 1000.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kCathodeMessage);
    EXPECT_EQ(cloud.GetPosition(), TVector3(0, 3, 4));
    EXPECT_EQ(cloud.GetTime(), 18.0);
}

//////////////////////////////////////////////////////////////////////
// Hostile input: drifts that would never end stop with an exception.

namespace {
    const double kNaN = std::nan("");

    /// Captures the library's debug stream for the life of the object.
    struct DebugCapture {
        std::ostringstream text;
        DebugCapture() { ORVEX::IORVEXLog::SetDebugStream(&text); }
        ~DebugCapture() { ORVEX::IORVEXLog::SetDebugStream(nullptr); }
        /// True when the one line written is an error line ending in `end`.
        bool IsErrorLineEndingIn(const std::string& end) const {
            std::string line = text.str();
            return line.rfind("ERROR: ", 0) == 0 && line.size() >= end.size() &&
                   line.compare(line.size() - end.size(), end.size(), end) == 0 &&
                   line.find('\n') == line.size() - 1;
        }
    };
}

namespace {
    /// A drift from (100, 0, 0) until time 1000 by a manager set up with
    /// steps of 2 and ErrorTol 0.001, whose first pass comes out NaN: the
    /// second half step starts from a NaN point, the error estimate prints
    /// as `estimate`, and the cloud is not written.
    void ExpectRefusedOnTheFirstPass(IDriftManager& m, const std::string& estimate) {
        IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
        DebugCapture debug;
        testing::internal::CaptureStdout();
        EXPECT_THROW(m.DriftUntilTLim(cloud, 1000.0), EDriftNotANumber);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kPlaneMessage);
        EXPECT_TRUE(
            debug.IsErrorLineEndingIn(": ORVEX::IDriftManager::Drift: step 2 from (100, 0, 0) "
                                      "at time 0 has error estimate " +
                                      estimate + " against ErrorTol 0.001\n"))
            << debug.text.str();
        EXPECT_FALSE(cloud.IsDrifted());
    }
}

TEST_F(DriftTest, AdaptiveDriftInANaNFieldThrowsEDriftNotANumber) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1000, 1e-3, 2.0, kOmegaTau, kMu, 1.0);
    IFieldManager::SetUniformField(TVector3(kNaN, 0, 0));
    ExpectRefusedOnTheFirstPass(m, "nan");
    EXPECT_THROW(throw EDriftNotANumber(), EovUtility);
}

TEST_F(DriftTest, AdaptiveDriftFromANaNStartThrowsEDriftNotANumber) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1000, 1e-3, 2.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(kNaN, 0, 0), TVector3(), 0.0, -1);
    DebugCapture debug;
    testing::internal::CaptureStdout();
    EXPECT_THROW(m.DriftUntilXLim(cloud, 200.0), EDriftNotANumber);
    // One message from each of the three steps of the only pass.
    EXPECT_EQ(CountOf(testing::internal::GetCapturedStdout(), kPlaneMessage), 3);
    EXPECT_TRUE(debug.IsErrorLineEndingIn(" has error estimate nan against ErrorTol 0.001\n"));
    EXPECT_FALSE(cloud.IsDrifted());
}

TEST_F(DriftTest, AdaptiveDriftWithZeroMobilityThrowsEDriftNotANumber) {
    // The drift field is the drift speed over the mobility: infinite, and
    // the velocities NaN from the first step on.
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1000, 1e-3, 2.0, kOmegaTau, 0.0, 1.0);
    IFieldManager::SetUniformField(TVector3(0, 0, 0.5 * kTesla));
    ExpectRefusedOnTheFirstPass(m, "-nan");
}

TEST_F(DriftTest, NaNErrorToleranceThrowsEDriftNotANumber) {
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1000, kNaN, 2.0, kOmegaTau, kMu, 1.0);
    IFieldManager::SetFieldMap(TurningField);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    DebugCapture debug;
    testing::internal::CaptureStdout();
    EXPECT_THROW(m.DriftUntilTLim(cloud, 1000.0), EDriftNotANumber);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(debug.IsErrorLineEndingIn(" against ErrorTol nan\n")) << debug.text.str();
}

TEST_F(DriftTest, ZeroErrorToleranceOnAnExactStepThrowsEDriftRunaway) {
    // Without a field every step is exact, its error not above 1e-08: the
    // next step is the largest, which is this one, and a tolerance of 0 is
    // never above the error.
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 1000, 0.0, 50.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    DebugCapture debug;
    testing::internal::CaptureStdout();
    EXPECT_THROW(m.DriftUntilTLim(cloud, 1000.0), EDriftRunaway);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(
        debug.IsErrorLineEndingIn(": ORVEX::IDriftManager::Drift: step 50 rejected again "
                                  "at (100, 0, 0) with ErrorTol 0\n"))
        << debug.text.str();
    EXPECT_THROW(throw EDriftRunaway(), EDrift);
}

TEST_F(DriftTest, FixedStepDriftFromANaNStartRunsOutOfSteps) {
    // Bounded by its thousand steps, as a start on the plane is.
    IDriftManager m;
    m.InitializeFromDB(1.0, kOmegaTau, kMu, kVd);
    IElectronCloud cloud(10, TVector3(kNaN, 0, 0), TVector3(), 0.0, -1);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(m.DriftUntilTLim(cloud, 10.0));
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(CountOf(out, kPlaneMessage), 1000);
    EXPECT_EQ(CountOf(out, kMaxStepsMessage), 1);
    EXPECT_TRUE(cloud.IsDrifted());
}

TEST_F(DriftTest, StepBudgetOfIntMaxThrowsEDriftRunawayBeforeDrifting) {
    // With a limit never reached (a cloud at X > 0 drifting away from a
    // negative one, unchecked) such a budget would run for hours and
    // overflow the call counters; it is refused before the first step.
    IDriftManager m;
    m.InitializeFromDB(true, 50.0, 0.5, 2147483647, 1e-3, 50.0, kOmegaTau, kMu, 1.0);
    IElectronCloud cloud(10, TVector3(100, 0, 0), TVector3(), 0.0, -1);
    int nbrSteps = -7, nbrStepCalls, nbrVCalls;
    double hMin;
    {
        DebugCapture debug;
        EXPECT_THROW(m.Drift(-1.0, true, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin),
                     EDriftRunaway);
        EXPECT_TRUE(
            debug.IsErrorLineEndingIn(": ORVEX::IDriftManager::Drift: MaxNbrDriftSteps "
                                      "2147483647 exceeds 195225786, the most steps whose "
                                      "calls an int counts\n"))
            << debug.text.str();
    }
    {
        DebugCapture debug;
        EXPECT_THROW(m.DriftUntilXLim(cloud, -1.0), EDriftRunaway);
    }
    EXPECT_EQ(nbrSteps, -7);
    EXPECT_FALSE(cloud.IsDrifted());
    // The largest budget allowed drifts as usual.
    m.InitializeFromDB(true, 50.0, 0.5, 195225786, 1e-3, 50.0, kOmegaTau, kMu, 1.0);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m.DriftUntilXLim(cloud, 300.0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(cloud.GetPosition().X(), 300.0);
}
