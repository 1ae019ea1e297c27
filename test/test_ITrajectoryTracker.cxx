// The trajectory tracker: exact helix steps against the analytic helix,
// dense paths between two points and their stop and cut rules, whole
// simulated trajectories, the search for the PDG table, and the class's
// reflection dictionary.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <TClass.h>
#include <TDataMember.h>
#include <TDatabasePDG.h>
#include <TEnv.h>
#include <TList.h>
#include <TLorentzVector.h>
#include <TMath.h>
#include <TParticlePDG.h>
#include <TSystem.h>
#include <TVector3.h>

#include <IFieldManager.hxx>
#include <IG4Trajectory.hxx>
#include <IORVEXLog.hxx>

#include <ITrajectoryTracker.hxx>

using namespace ORVEX;

namespace {
    /// A field in tesla as the host gives it: 0.001 is one tesla.
    TVector3 HostUnits(const TVector3& tesla) {
        return TVector3(tesla.X() / 1000.0, tesla.Y() / 1000.0, tesla.Z() / 1000.0);
    }

    void SetFieldInTesla(const TVector3& tesla) {
        IFieldManager::SetUniformField(HostUnits(tesla));
    }

    /// A field of `tesla` along X inside the given Z slabs, and none
    /// elsewhere.
    void SetSlabField(double tesla, std::vector<std::pair<double, double>> slabs) {
        IFieldManager::SetFieldMap([tesla, slabs](const TLorentzVector& at) {
            for (const auto& slab : slabs) {
                if (at.Z() >= slab.first && at.Z() < slab.second) {
                    return HostUnits(TVector3(tesla, 0, 0));
                }
            }
            return TVector3(0, 0, 0);
        });
    }

    /// The path of a charged particle in a uniform field, from the Lorentz
    /// force alone: radius pt / (0.3 B) in mm for MeV/c and tesla, the
    /// velocity turning about the field clockwise for a positive charge.
    struct Helix {
        TVector3 origin;
        TVector3 momentum;
        TVector3 field;  // tesla
        double charge;

        double CosPitch() const { return momentum.Unit().Dot(field.Unit()); }
        double SinPitch() const { return std::sqrt(1 - CosPitch() * CosPitch()); }
        double Radius() const { return momentum.Mag() * SinPitch() / (0.3 * field.Mag()); }
        TVector3 E1() const {
            TVector3 b = field.Unit();
            return (momentum - momentum.Dot(b) * b).Unit();
        }
        TVector3 E2() const { return field.Unit().Cross(E1()); }
        double Sign() const { return charge > 0 ? 1.0 : -1.0; }
        double Turn(double path) const { return path * SinPitch() / Radius(); }

        /// Position after `path` mm along the helix.
        TVector3 Position(double path) const {
            double theta = Turn(path);
            return origin + path * CosPitch() * field.Unit() + Radius() * std::sin(theta) * E1() +
                   Sign() * Radius() * (std::cos(theta) - 1) * E2();
        }

        TVector3 Momentum(double path) const {
            double theta = Turn(path);
            return momentum.Mag() *
                   (CosPitch() * field.Unit() +
                    SinPitch() * (std::cos(theta) * E1() - Sign() * std::sin(theta) * E2()));
        }
    };

    void ExpectVectorNear(const TVector3& actual, const TVector3& expected, double tolerance) {
        EXPECT_NEAR(actual.X(), expected.X(), tolerance);
        EXPECT_NEAR(actual.Y(), expected.Y(), tolerance);
        EXPECT_NEAR(actual.Z(), expected.Z(), tolerance);
    }

    bool IsNaN(const TVector3& v) {
        return std::isnan(v.X()) && std::isnan(v.Y()) && std::isnan(v.Z());
    }

    /// The text of a warning after its "WARNING: <file>:<line>: " prefix,
    /// which is checked here to name this tracker's source.
    std::string WarningText(const std::string& output) {
        std::smatch prefix;
        static const std::regex shape(R"(^WARNING: \S*ITrajectoryTracker\.cxx:[0-9]+: )");
        if (!std::regex_search(output, prefix, shape)) return "<no warning prefix> " + output;
        return output.substr(prefix.length());
    }

    /// The position of trajectory point `k` as the host keeps it.
    TVector3 Stored(const IG4Trajectory& trajectory, int k) {
        return trajectory.GetTrajectoryPoints()[k].GetPosition().Vect();
    }

    IG4Trajectory TrajectoryAlong(int pdg, const Helix& helix, std::vector<double> paths) {
        IG4Trajectory trajectory(pdg);
        for (double path : paths) {
            trajectory.AddTrajectoryPoint(IG4TrajectoryPoint(
                TLorentzVector(helix.Position(path), 0.0), helix.Momentum(path)));
        }
        return trajectory;
    }

    IG4TrajectoryPoint PointAt(double x, double y, double z, const TVector3& momentum) {
        return IG4TrajectoryPoint(TLorentzVector(x, y, z, 0.0), momentum);
    }

    const char* kMissingTableWarning =
        " I failed to find the list of PDG codes stored in pdg_table.txt - it"
        " should be under ROOTSYS somewhere. I will assume all MC particles"
        " have charge 1.0.\n";
}

class TrajectoryTracker : public ::testing::Test {
protected:
    void SetUp() override {
        fSavedLevel = IORVEXLog::GetDebugLevel();
        IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
        IORVEXLog::SetDebugStream(&fDebug);
        SetFieldInTesla(TVector3(0, 0, 0));
        IFieldManager::ResetLookupCount();
    }

    void TearDown() override {
        IORVEXLog::SetDebugStream(nullptr);
        IORVEXLog::SetDebugLevel(fSavedLevel);
        SetFieldInTesla(TVector3(0, 0, 0));
    }

    /// A path vector as a fresh caller makes it: `size` default entries.
    static std::vector<TVector3> Fresh(std::size_t size = 1000) {
        return std::vector<TVector3>(size);
    }

    ITrajectoryTracker fTracker;
    std::ostringstream fDebug;
    IORVEXLog::ErrorPriority fSavedLevel;
};

// ---------------------------------------------------------------- StepHelix

TEST_F(TrajectoryTracker, StepHelixPerpendicularMomentumFollowsTheCircle) {
    SetFieldInTesla(TVector3(0, 0, 1));
    const double R = 1000.0 / 0.3;
    TVector3 position(0, 0, 0), momentum(1000, 0, 0);
    for (int call = 1; call <= 2000; ++call) {
        fTracker.StepHelix(position, momentum, 1.0);
        double theta = call / R;
        ASSERT_NEAR(position.X(), R * std::sin(theta), 1e-8) << call;
        ASSERT_NEAR(position.Y(), -R * (1 - std::cos(theta)), 1e-8) << call;
        ASSERT_EQ(position.Z(), 0.0) << call;
        ASSERT_NEAR(momentum.Phi(), -theta, 1e-12) << call;
        // Distance to the centre of the circle stays R.
        ASSERT_NEAR((position - TVector3(0, -R, 0)).Mag(), R, 1e-8) << call;
    }
}

TEST_F(TrajectoryTracker, StepHelixOppositeChargesTurnOppositeWaysByTheSameAngle) {
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 positivePosition(0, 0, 0), positiveMomentum(1000, 0, 0);
    TVector3 negativePosition(0, 0, 0), negativeMomentum(1000, 0, 0);
    fTracker.StepHelix(positivePosition, positiveMomentum, +1.0);
    fTracker.StepHelix(negativePosition, negativeMomentum, -1.0);
    // 1 / R = 0.3 / 1000 radian per millimetre.
    EXPECT_NEAR(positiveMomentum.Phi(), -0.0003, 1e-15);
    EXPECT_NEAR(negativeMomentum.Phi(), +0.0003, 1e-15);
    EXPECT_NEAR(positivePosition.X(), negativePosition.X(), 1e-15);
    EXPECT_LT(positivePosition.Y(), 0.0);
    EXPECT_NEAR(positivePosition.Y(), -negativePosition.Y(), 1e-15);
    // Only the sign of the charge counts.
    TVector3 heavyPosition(0, 0, 0), heavyMomentum(1000, 0, 0);
    fTracker.StepHelix(heavyPosition, heavyMomentum, 2.0);
    EXPECT_EQ(heavyPosition, positivePosition);
    EXPECT_EQ(heavyMomentum, positiveMomentum);
}

TEST_F(TrajectoryTracker, StepHelixSplitsEachMillimetreIntoPitchAndTurn) {
    SetFieldInTesla(TVector3(0, 0, 1));
    // |p| = 1000 with cos(pitch) 0.8: 0.8 mm along the field, 0.6 mm of
    // arc around it, on a circle of pt / 0.3 = 2000 mm.
    Helix helix{TVector3(0, 0, 0), TVector3(600, 0, 800), TVector3(0, 0, 1), 1.0};
    ASSERT_NEAR(helix.Radius(), 2000.0, 1e-9);
    TVector3 position = helix.origin, momentum = helix.momentum;
    for (int call = 1; call <= 1000; ++call) {
        TVector3 before = position;
        fTracker.StepHelix(position, momentum, 1.0);
        TVector3 move = position - before;
        ASSERT_NEAR(move.Z(), 0.8, 1e-12);
        // The arc around the field, from its chord on the 2000 mm circle,
        // and the move along it make up 1 mm of helix.
        double arc = 2 * 2000.0 * std::asin(move.Perp() / 2 / 2000.0);
        ASSERT_NEAR(arc, 0.6, 1e-9);
        ASSERT_NEAR(std::sqrt(arc * arc + move.Z() * move.Z()), 1.0, 1e-9);
        ExpectVectorNear(position, helix.Position(call), 1e-8);
        ExpectVectorNear(momentum, helix.Momentum(call), 1e-8);
    }
    EXPECT_NEAR(position.Z(), 800.0, 1e-8);
}

TEST_F(TrajectoryTracker, StepHelixFollowsTheHelixInATiltedField) {
    TVector3 field = 0.5 * TVector3(0, 0.6, 0.8);
    SetFieldInTesla(field);
    for (double charge : {+1.0, -1.0}) {
        Helix helix{TVector3(10, -20, 30), TVector3(300, -200, 700), field, charge};
        TVector3 position = helix.origin, momentum = helix.momentum;
        for (int call = 1; call <= 1500; ++call) {
            fTracker.StepHelix(position, momentum, charge);
        }
        ExpectVectorNear(position, helix.Position(1500), 1e-7);
        ExpectVectorNear(momentum, helix.Momentum(1500), 1e-7);
    }
}

TEST_F(TrajectoryTracker, StepHelixKeepsTheMomentumMagnitude) {
    SetFieldInTesla(TVector3(0.3, -0.2, 1.1));
    TVector3 position(0, 0, 0), momentum(123.4, -567.8, 91.0);
    const double magnitude = momentum.Mag();
    for (int call = 0; call < 20000; ++call) fTracker.StepHelix(position, momentum, -1.0);
    EXPECT_NEAR(momentum.Mag(), magnitude, 1e-10 * magnitude);
    // 20000 mm of path moved the particle, on a bounded helix.
    EXPECT_GT(position.Mag(), 1.0);
}

TEST_F(TrajectoryTracker, StepHelixMomentumAlongTheFieldGivesNaN) {
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 position(1, 2, 3), momentum(0, 0, 500);
    fTracker.StepHelix(position, momentum, 1.0);
    EXPECT_TRUE(IsNaN(position)) << position.X() << " " << position.Y() << " " << position.Z();
    EXPECT_TRUE(IsNaN(momentum));
}

TEST_F(TrajectoryTracker, StepHelixRoundedPitchCosineAboveOneGivesNaN) {
    // Along the field up to rounding: sqrt(3) * sqrt(3) rounds below 3, so
    // the cosine of the pitch comes out above 1.
    TVector3 field(1, 1, 1), momentum(1, 1, 1);
    double cosine = momentum.Dot(field) / (momentum.Mag() * field.Mag());
    ASSERT_GT(cosine * cosine, 1.0);
    SetFieldInTesla(field);
    TVector3 position(0, 0, 0);
    fTracker.StepHelix(position, momentum, -1.0);
    EXPECT_TRUE(IsNaN(position));
    EXPECT_TRUE(IsNaN(momentum));
}

TEST_F(TrajectoryTracker, StepHelixNeutralMovesAlongTheFieldNotTheMomentum) {
    SetFieldInTesla(TVector3(0, 1, 0));
    TVector3 position(5, 5, 5), momentum(600, 800, 0);
    fTracker.StepHelix(position, momentum, 0.0);
    ExpectVectorNear(momentum, TVector3(600, 800, 0), 1e-12);
    // cos(pitch) = 0.8 along the field (Y), nothing across it.
    ExpectVectorNear(position, TVector3(5, 5.8, 5), 1e-12);
}

TEST_F(TrajectoryTracker, StepHelixZeroFieldOrZeroMomentumGivesNaN) {
    TVector3 position(0, 0, 0), momentum(100, 0, 0);
    fTracker.StepHelix(position, momentum, 1.0);
    EXPECT_TRUE(IsNaN(position));
    EXPECT_TRUE(IsNaN(momentum));

    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 resting(0, 0, 0), still(0, 0, 0);
    fTracker.StepHelix(resting, still, 1.0);
    EXPECT_TRUE(IsNaN(resting));
}

TEST_F(TrajectoryTracker, StepHelixReadsTheFieldOncePerCall) {
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 position(0, 0, 0), momentum(1000, 0, 0);
    for (int call = 0; call < 7; ++call) fTracker.StepHelix(position, momentum, 1.0);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 7);
}

// ------------------------------------------------------------ TrackParticle

TEST_F(TrajectoryTracker, TrackParticleNeutralOrMotionlessGivesTheTwoEndsWithoutField) {
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 start(1, 2, 3), end(400, 5, 6);
    std::vector<TVector3> points = Fresh(2);
    EXPECT_EQ(fTracker.TrackParticle(start, end, TVector3(500, 0, 0), 0.0, points, 0), 2);
    EXPECT_EQ(points[0], start);
    EXPECT_EQ(points[1], end);

    std::vector<TVector3> more = Fresh(12);
    EXPECT_EQ(fTracker.TrackParticle(start, end, TVector3(0, 0, 0), -1.0, more, 10), 2);
    EXPECT_EQ(more[10], start);
    EXPECT_EQ(more[11], end);
    EXPECT_EQ(more.size(), 12u);

    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleInNoFieldGivesTheFirstStepAndTheTarget) {
    // Straight 50 mm steps: 50, 100, ..., 1000 (on the target), 1050
    // (moving away within 50 mm): 21 passes, one lookup each.
    std::vector<TVector3> points = Fresh(2);
    TVector3 end(0, 0, 1000);
    EXPECT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), end, TVector3(0, 0, 2000), 1.0, points, 0),
              2);
    EXPECT_EQ(points[0], TVector3(0, 0, 50));
    EXPECT_EQ(points[1], end);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 21);
    EXPECT_EQ(fDebug.str(), "");
    // The loop's thinned points went to entries it was free to use.
    EXPECT_EQ(points.size(), 1002u);
}

TEST_F(TrajectoryTracker, TrackParticleInAFieldBelowAMilliteslaIsStraight) {
    // 0.5 mT: not zero, so the steps are 1 mm, but too weak to bend.
    SetFieldInTesla(TVector3(0.0005, 0, 0));
    std::vector<TVector3> points = Fresh();
    TVector3 end(0, 0, 100);
    EXPECT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), end, TVector3(0, 0, 2000), 1.0, points, 0),
              2);
    EXPECT_EQ(points[0], TVector3(0, 0, 1));
    EXPECT_EQ(points[1], end);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 101);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleStepIsTenMillimetresBelow1000MeV) {
    std::vector<TVector3> points = Fresh();
    TVector3 end(0, 0, 500);
    EXPECT_EQ(
        fTracker.TrackParticle(TVector3(0, 0, 0), end, TVector3(0, 0, 1000.0), 1.0, points, 0), 2);
    EXPECT_EQ(points[0], TVector3(0, 0, 50));
    EXPECT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), end, TVector3(0, 0, 999.9), 1.0, points, 0),
              2);
    EXPECT_NEAR((points[0] - TVector3(0, 0, 10)).Mag(), 0.0, 1e-12);
    EXPECT_EQ(points[1], end);
}

TEST_F(TrajectoryTracker, TrackParticleOneHelixStepKeepsTheDensePath) {
    // Field-free but for a 1 mm slab of 1 T at z = 100.  Passes: straight
    // to 50 and 100 (kept), one helix step to about 101 (kept), straight
    // to about 151, 201, 251, 301, each overwriting the last entry, and to
    // 351, where the particle moves away from the target at 300.
    SetSlabField(1.0, {{99.5, 100.5}});
    const TVector3 momentum(0, 0, 2000);
    Helix bend{TVector3(0, 0, 100), momentum, TVector3(1, 0, 0), 1.0};
    TVector3 afterBend = bend.Position(1.0);
    TVector3 direction = bend.Momentum(1.0).Unit();
    TVector3 closest = afterBend + 200.0 * direction;
    TVector3 end(0, 0, 300);
    TVector3 gap = end - closest;

    std::vector<TVector3> points = Fresh();
    int n = fTracker.TrackParticle(TVector3(0, 0, 0), end, momentum, 1.0, points, 0);
    ASSERT_EQ(n, 4);
    // The gap is spread by the running lengths 50, 100 and 150 of the
    // kept points (the thinned straight stretch counts as its last step).
    ExpectVectorNear(points[0], TVector3(0, 0, 50), 1e-12);
    ExpectVectorNear(points[1], TVector3(0, 0, 100) + (1.0 / 3.0) * gap, 1e-6);
    ExpectVectorNear(points[2], afterBend + (2.0 / 3.0) * gap, 1e-6);
    ExpectVectorNear(points[3], end, 1e-9);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleTargetJustBehindStopsOnTheSecondPass) {
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(500, 0, 0), TVector3(0, 0, 1), 1.0};
    TVector3 end(-20, 0, 0);
    std::vector<TVector3> points = Fresh(2);
    EXPECT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), end, helix.momentum, 1.0, points, 0), 2);
    ExpectVectorNear(points[0], helix.Position(1.0), 1e-12);
    ExpectVectorNear(points[1], end, 1e-12);
    // Two passes of a field lookup and a helix step each.
    EXPECT_EQ(IFieldManager::GetLookupCount(), 4);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleReusedEntryPastThePathDecidesTheCut) {
    // 100 helix steps bring the particle 5 mm below the target; the 101st
    // moves away.  The entry just past the path is then compared with the
    // closest approach.
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(1000, 0, 0), TVector3(0, 0, 1), 1.0};
    TVector3 end = helix.Position(100) + TVector3(0, 0, 5);

    // A fresh entry (the origin) is farther than 5 mm: the path is cut back
    // to its closest point and the 5 mm are spread over it.
    std::vector<TVector3> fresh = Fresh();
    ASSERT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, fresh, 0), 101);
    // A stale entry 2 mm below the target is nearer: no cut, and only
    // 2 mm are spread.
    std::vector<TVector3> reused = Fresh();
    reused[100] = end - TVector3(0, 0, 2);
    ASSERT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, reused, 0), 101);

    ExpectVectorNear(fresh[0], helix.Position(1), 1e-9);
    ExpectVectorNear(reused[0], helix.Position(1), 1e-9);
    for (int k = 1; k < 100; ++k) {
        // Entry k is k steps of equal running length into the path.
        ExpectVectorNear(fresh[k], helix.Position(k + 1) + TVector3(0, 0, 5.0 * k / 100), 1e-5);
        ExpectVectorNear(reused[k], helix.Position(k + 1) + TVector3(0, 0, 2.0 * k / 100), 1e-5);
    }
    ExpectVectorNear(fresh[100], end, 1e-9);
    ExpectVectorNear(reused[100], end, 1e-9);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleRunningAwayPastTheLimitWarnsAndGivesTwo) {
    // The target lies 99990 mm behind; the eleventh step takes the particle
    // beyond 100000 mm of it, and it never came within 250 mm.
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(10000, 0, 0), TVector3(0, 0, 1), 1.0};
    TVector3 end(-99990, 0, 0);
    std::vector<TVector3> points = Fresh(2);
    EXPECT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, points, 0), 2);
    ExpectVectorNear(points[0], helix.Position(1), 1e-9);
    EXPECT_EQ(points[1], end);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 22);
    EXPECT_EQ(WarningText(fDebug.str()),
              "ORVEX::TrajectoryTracker::TrackParticle:\n"
              " Failed to track helix from position 0 0 0  to -99990 0 0."
              " with initial momentum 10000 0 0\n"
              " The closest approach was 99991mm.\n"
              "\n");
}

TEST_F(TrajectoryTracker, TrackParticleTargetBeyondTheLimitFromTheStartReportsNoApproach) {
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 start(1.5, -2.25, 3), end(200000, 0, 0), momentum(10000, 0, 0);
    std::vector<TVector3> points = Fresh(2);
    EXPECT_EQ(fTracker.TrackParticle(start, end, momentum, -1.0, points, 0), 2);
    // The first pass stopped before writing anything.
    EXPECT_EQ(points[0], start);
    EXPECT_EQ(points[1], end);
    EXPECT_EQ(WarningText(fDebug.str()),
              "ORVEX::TrajectoryTracker::TrackParticle:\n"
              " Failed to track helix from position 1.5 -2.25 3  to 200000 0 0."
              " with initial momentum 10000 0 0\n"
              " The closest approach was 1e+24mm.\n"
              "\n");
}

TEST_F(TrajectoryTracker, TrackParticleCutPastAPathOfNoPointStaysInsideThePoints) {
    // So far away that the distance is infinite as a float: no point is ever
    // nearer than the start value, and the cut goes to the third entry,
    // beyond the two the caller gave.
    SetFieldInTesla(TVector3(0, 0, 1));
    TVector3 start(1e300, 0, 0), end(10, 0, 0), momentum(10000, 0, 0);
    std::vector<TVector3> points = Fresh(2);
    int n = fTracker.TrackParticle(start, end, momentum, 1.0, points, 0);
    EXPECT_EQ(n, 3);
    ASSERT_GE(points.size(), 3u);
    // The closest position stays at its start value, the origin, 10 from
    // the target, and the gap is spread over a path of length 0: 0 / 0.
    EXPECT_TRUE(std::isnan(points[2].X()));
}

TEST_F(TrajectoryTracker, TrackParticleWarningFollowsTheErrorPriority) {
    SetFieldInTesla(TVector3(0, 0, 1));
    IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
    std::vector<TVector3> points = Fresh(2);
    EXPECT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), TVector3(200000, 0, 0),
                                     TVector3(10000, 0, 0), 1.0, points, 0),
              2);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleEndingExactly250FromTheTargetFails) {
    // Ten steps away from a target 99990 mm behind, stopped at the limit;
    // the entry past the path stands at the given distance from the target
    // and is nearer than the closest approach, so the path ends there.
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(10000, 0, 0), TVector3(0, 0, 1), 1.0};
    TVector3 end(-99990, 0, 0);

    std::vector<TVector3> at250 = Fresh();
    at250[10] = TVector3(-99740, 0, 0);
    EXPECT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, at250, 0), 2);
    EXPECT_EQ(at250[1], end);
    EXPECT_NE(fDebug.str().find("The closest approach was 99991mm."), std::string::npos);

    fDebug.str("");
    std::vector<TVector3> within = Fresh();
    within[10] = TVector3(-99740.5, 0, 0);
    EXPECT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, within, 0), 11);
    EXPECT_EQ(fDebug.str(), "");
    ExpectVectorNear(within[10], end, 1e-9);
    // Entry 5 is halfway along the path, and moved by half the gap.
    ExpectVectorNear(within[5], helix.Position(6) + 0.5 * TVector3(-249.5, 0, 0), 1e-4);
}

TEST_F(TrajectoryTracker, TrackParticleLongStraightStretchKeepsOnePointInTen) {
    // One helix step in a slab at the start, then 50 mm straight steps S1,
    // S2, ... on to a target at S35.  Each straight step overwrites the
    // last entry except that the count goes up at every ninth step of a
    // run of ten, so the entries end as S9, S19, S29 and the last, S35.
    // 1800 mm of straight steps: nothing is spread.
    SetSlabField(1.0, {{-0.5, 0.5}});
    const TVector3 momentum(0, 0, 2000);
    Helix bend{TVector3(0, 0, 0), momentum, TVector3(1, 0, 0), 1.0};
    TVector3 first = bend.Position(1.0);
    TVector3 direction = bend.Momentum(1.0).Unit();
    TVector3 end = first + 1750.0 * direction;
    std::vector<TVector3> points = Fresh();
    ASSERT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), end, momentum, 1.0, points, 0), 5);
    ExpectVectorNear(points[0], first, 1e-12);
    ExpectVectorNear(points[1], first + 450.0 * direction, 1e-9);
    ExpectVectorNear(points[2], first + 950.0 * direction, 1e-9);
    ExpectVectorNear(points[3], first + 1450.0 * direction, 1e-9);
    ExpectVectorNear(points[4], end, 1e-9);
    EXPECT_EQ(points[5], TVector3(0, 0, 0));
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleDistancesAreComparedInSinglePrecision) {
    // As above, with the entry past the path a nanometre inside 250 mm of
    // the target: in single precision that distance is 250 itself, so the
    // path still counts as failed.
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(10000, 0, 0), TVector3(0, 0, 1), 1.0};
    TVector3 end(-99990, 0, 0);
    std::vector<TVector3> points = Fresh();
    points[10] = TVector3(-99740.000001, 0, 0);
    double distance = (end - points[10]).Mag();
    ASSERT_LT(distance, 250.0);
    ASSERT_EQ(static_cast<float>(distance), 250.0f);
    EXPECT_EQ(fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, points, 0), 2);
    EXPECT_EQ(points[1], end);
    EXPECT_NE(fDebug.str().find("The closest approach was 99991mm."), std::string::npos);
}

TEST_F(TrajectoryTracker, TrackParticleStraightLengthOf500LeavesThePointsUnmoved) {
    // One helix step in a slab at the start, then 50 mm straight steps.
    SetSlabField(1.0, {{-0.5, 0.5}});
    const TVector3 momentum(0, 0, 2000);
    Helix bend{TVector3(0, 0, 0), momentum, TVector3(1, 0, 0), 1.0};
    TVector3 first = bend.Position(1.0);
    TVector3 direction = bend.Momentum(1.0).Unit();

    // Ten straight steps (the tenth moving away): 500 mm, nothing moves and
    // the path ends at its closest point, 5 mm short of the target.
    TVector3 far = first + 450.0 * direction + TVector3(5, 0, 0);
    std::vector<TVector3> points = Fresh();
    ASSERT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), far, momentum, 1.0, points, 0), 3);
    ExpectVectorNear(points[0], first, 1e-12);
    ExpectVectorNear(points[1], first + 450.0 * direction, 1e-9);
    ExpectVectorNear(points[2], first + 450.0 * direction, 1e-9);

    // Nine straight steps: 450 mm, and the path is pulled onto the target.
    TVector3 near = first + 400.0 * direction + TVector3(5, 0, 0);
    ASSERT_EQ(fTracker.TrackParticle(TVector3(0, 0, 0), near, momentum, 1.0, points, 0), 2);
    ExpectVectorNear(points[0], first, 1e-12);
    ExpectVectorNear(points[1], near, 1e-9);
    EXPECT_EQ(fDebug.str(), "");
}

namespace {
    /// A helix step in a slab at z = 0 and another at z = 51, straight
    /// steps between and after: the running lengths of the kept points are
    /// s, s + 50 and 2 s + 50, where s is the step taken in the slabs.  The
    /// 3 mm gap across the path (along X, which no step touches) is spread
    /// by those lengths.  Returns the X of the two inner points.
    std::pair<double, double> SpreadAcrossSlabs(ITrajectoryTracker& tracker, double tesla) {
        SetSlabField(tesla, {{-0.5, 0.5}, {50.5, 51.5}});
        std::vector<TVector3> points(1000);
        int n = tracker.TrackParticle(TVector3(0, 0, 0), TVector3(3, 0, 102), TVector3(0, 0, 2000),
                                      1.0, points, 0);
        EXPECT_EQ(n, 4);
        EXPECT_NEAR(points[0].X(), 0.0, 1e-12);
        EXPECT_NEAR(points[3].X(), 3.0, 1e-9);
        return std::make_pair(points[1].X(), points[2].X());
    }
}

TEST_F(TrajectoryTracker, TrackParticleStepSizeFollowsTheFieldStrength) {
    // Exactly 0.19 T: 50 mm, so the lengths are 50, 100, 150.
    ASSERT_EQ(0.00019 * 1000.0, 0.19);
    std::pair<double, double> strong = SpreadAcrossSlabs(fTracker, 0.19);
    EXPECT_NEAR(strong.first, 3.0 * 50 / 150, 1e-6);
    EXPECT_NEAR(strong.second, 3.0 * 100 / 150, 1e-6);
    // 0.18 T: 1 mm, so the lengths are 1, 51, 52.
    std::pair<double, double> weak = SpreadAcrossSlabs(fTracker, 0.18);
    EXPECT_NEAR(weak.first, 3.0 * 1 / 52, 1e-6);
    EXPECT_NEAR(weak.second, 3.0 * 51 / 52, 1e-6);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleLandsOnTheEndOfAKnownHelix) {
    TVector3 field = 0.5 * TVector3(0, 0.6, 0.8);
    SetFieldInTesla(field);
    Helix helix{TVector3(100, 200, -300), TVector3(300, -200, 700), field, 1.0};
    // The end lies 0.4 mm of path beyond the 400th step.
    TVector3 end = helix.Position(400.4);
    std::vector<TVector3> points = Fresh();
    int n = fTracker.TrackParticle(helix.origin, end, helix.momentum, 1.0, points, 0);
    ASSERT_EQ(n, 401);
    ExpectVectorNear(points[0], helix.Position(1), 1e-8);
    ExpectVectorNear(points[400], end, 1e-9);
    double gap = (end - helix.Position(400)).Mag();
    ASSERT_LT(gap, 0.4);
    for (int k = 1; k < 400; ++k) {
        // Entry k is moved from the helix by k/400 of the last gap.
        double off = (points[k] - helix.Position(k + 1)).Mag();
        ASSERT_NEAR(off, gap * k / 400, 1e-6) << k;
    }
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, TrackParticleFillsFromTheGivenEntryAndGrowsInBlocks) {
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(1000, 0, 0), TVector3(0, 0, 1), -1.0};
    std::vector<TVector3> points(7, TVector3(-1, -1, -1));
    TVector3 end = helix.Position(1500);
    int n = fTracker.TrackParticle(helix.origin, end, helix.momentum, -1.0, points, 5);
    ASSERT_EQ(n, 1501);
    // Entries before the start are untouched; the vector grew by blocks of
    // 1000 when the path reached its end.
    for (int k = 0; k < 5; ++k) EXPECT_EQ(points[k], TVector3(-1, -1, -1));
    EXPECT_EQ(points.size(), 2007u);
    ExpectVectorNear(points[5], helix.Position(1), 1e-9);
    ExpectVectorNear(points[5 + 750], helix.Position(751), 1e-6);
    ExpectVectorNear(points[5 + 1500], end, 1e-9);
}

TEST_F(TrajectoryTracker, TrackParticleNegativePointStartThrowsEBadPointStart) {
    std::vector<TVector3> points(4, TVector3(-1, -1, -1));
    EXPECT_THROW(fTracker.TrackParticle(TVector3(0, 0, 0), TVector3(100, 0, 0),
                                        TVector3(1000, 0, 0), -1.0, points, -1),
                 EBadPointStart);
    // Nothing was written, and the vector kept its size.
    EXPECT_EQ(points, std::vector<TVector3>(4, TVector3(-1, -1, -1)));
    const std::string text =
        ": ORVEX::ITrajectoryTracker::TrackParticle: nPointStart -1 lies "
        "outside the 4 entries of points\n";
    EXPECT_EQ(fDebug.str().rfind("ERROR: ", 0), 0u) << fDebug.str();
    ASSERT_GE(fDebug.str().size(), text.size());
    EXPECT_EQ(fDebug.str().substr(fDebug.str().size() - text.size()), text);
    EXPECT_THROW(throw EBadPointStart(), EovUtility);
}

TEST_F(TrajectoryTracker, TrackParticlePointStartNear2To31ThrowsEBadPointStart) {
    std::vector<TVector3> points = Fresh();
    EXPECT_THROW(fTracker.TrackParticle(TVector3(0, 0, 0), TVector3(100, 0, 0),
                                        TVector3(1000, 0, 0), -1.0, points, 2147483600),
                 EBadPointStart);
    EXPECT_THROW(fTracker.TrackParticle(TVector3(0, 0, 0), TVector3(100, 0, 0), TVector3(0, 0, 0),
                                        0.0, points, 1001),
                 EBadPointStart);
    EXPECT_EQ(points.size(), 1000u);
}

TEST_F(TrajectoryTracker, TrackParticleStartingAtTheEndOfThePointsGrowsThem) {
    // Where a chain of paths leaves the next one to start.
    std::vector<TVector3> points = Fresh(3);
    TVector3 start(1, 2, 3), end(400, 5, 6);
    EXPECT_EQ(fTracker.TrackParticle(start, end, TVector3(0, 0, 0), -1.0, points, 3), 2);
    EXPECT_EQ(points.size(), 1003u);
    EXPECT_EQ(points[3], start);
    EXPECT_EQ(points[4], end);
}

TEST_F(TrajectoryTracker, TrackParticleCutAtTheLongestPathEndsAtItsClosestPoint) {
    // Round and round a circle of R = 3333 mm that passes 100 mm from the
    // target: never within 50 mm, never beyond the limit, so the path runs
    // to the bound on its length and is cut back to its closest point.
    SetFieldInTesla(TVector3(0, 0, 1));
    const double R = 1000.0 / 0.3;
    TVector3 centre(0, -R, 0);
    TVector3 end = centre + TVector3(R + 100, 0, 0);
    std::vector<TVector3> points = Fresh(2);
    int n = fTracker.TrackParticle(TVector3(0, 0, 0), end, TVector3(1000, 0, 0), 1.0, points, 0);
    EXPECT_EQ(fDebug.str(), "");
    ASSERT_GE(n, 2);
    ASSERT_LE(n, 100000);
    ExpectVectorNear(points[n - 1], end, 1e-6);
    EXPECT_EQ(points.size() % 1000, 2u);
    // The bound made 99999 points: two field lookups for each pass.
    EXPECT_EQ(IFieldManager::GetLookupCount(), 2 * 100000);
    // The closest approach is a quarter turn on, once per revolution; the
    // path ends one entry after it.
    double quarter = 0.5 * TMath::Pi() * R;
    EXPECT_LT(std::fabs(std::remainder(n - 1 - quarter, 2 * TMath::Pi() * R)), 2.0) << n;
}

// ------------------------------------------------------------------ G4Track

TEST_F(TrajectoryTracker, G4TrackMuonFollowsItsHelixThroughEveryPoint) {
    SetFieldInTesla(TVector3(0, 0, 1));
    // mu- (PDG 13) has charge -1 in ROOT's table.
    Helix helix{TVector3(10, 20, 30), TVector3(800, 100, 300), TVector3(0, 0, 1), -1.0};
    std::vector<double> paths = {0.0, 150.3, 300.6, 450.9};
    IG4Trajectory muon = TrajectoryAlong(13, helix, paths);
    std::vector<TVector3> points;
    int n = fTracker.G4Track(muon, points);
    // Each segment: 150 steps, cut back to the 150th, which is then moved
    // onto the next trajectory point.
    ASSERT_EQ(n, 3 * 151);
    EXPECT_EQ(points.size(), 1000u);
    for (int segment = 0; segment < 3; ++segment) {
        TVector3 stored = Stored(muon, segment + 1);
        ASSERT_LT((stored - helix.Position(paths[segment + 1])).Mag(), 1e-4);
        ExpectVectorNear(points[151 * segment + 150], stored, 1e-9);
        for (int k = 0; k < 150; ++k) {
            TVector3 truth = helix.Position(paths[segment] + k + 1);
            ASSERT_LT((points[151 * segment + k] - truth).Mag(), 0.31) << segment << " " << k;
        }
    }
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(TrajectoryTracker, G4TrackProtonBendsTheOtherWay) {
    SetFieldInTesla(TVector3(0, 0, 1));
    Helix helix{TVector3(0, 0, 0), TVector3(1200, 0, 500), TVector3(0, 0, 1), +1.0};
    IG4Trajectory proton = TrajectoryAlong(2212, helix, {0.0, 200.4, 400.4});
    std::vector<TVector3> points;
    int n = fTracker.G4Track(proton, points);
    ASSERT_EQ(n, 2 * 201);
    for (int k = 0; k < n; ++k) {
        double path = (k < 201 ? k + 1 : 200.4 + (k - 201) + 1);
        if (k == 200 || k == 401) continue;  // the trajectory points themselves
        ASSERT_LT((points[k] - helix.Position(path)).Mag(), 0.41) << k;
    }
    ExpectVectorNear(points[200], Stored(proton, 1), 1e-9);
    ExpectVectorNear(points[401], Stored(proton, 2), 1e-9);
    // A positive charge moving along +X in a field along +Z turns to -Y.
    EXPECT_LT(points[200].Y(), -1.0);
}

TEST_F(TrajectoryTracker, G4TrackPhotonGivesItsTrajectoryPoints) {
    SetFieldInTesla(TVector3(0, 0, 1));
    IG4Trajectory photon(22);
    photon.AddTrajectoryPoint(PointAt(1, 2, 3, TVector3(0, 0, 100)));
    photon.AddTrajectoryPoint(PointAt(4, 5, 600, TVector3(0, 0, 100)));
    photon.AddTrajectoryPoint(PointAt(7.25, 8, 900, TVector3(0, 0, 100)));
    std::vector<TVector3> points;
    EXPECT_EQ(fTracker.G4Track(photon, points), 2);
    EXPECT_EQ(points[0], TVector3(1, 2, 3));
    EXPECT_EQ(points[1], TVector3(4, 5, 600));
    EXPECT_EQ(points[2], TVector3(7.25, 8, 900));
    EXPECT_EQ(points.size(), 1000u);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

TEST_F(TrajectoryTracker, G4TrackUnknownPDGCodeGivesMinusOne) {
    const int unknown = 987654321;
    ASSERT_EQ(TDatabasePDG::Instance()->GetParticle(unknown), nullptr);
    IG4Trajectory strange(unknown);
    strange.AddTrajectoryPoint(PointAt(0, 0, 0, TVector3(0, 0, 100)));
    strange.AddTrajectoryPoint(PointAt(0, 0, 100, TVector3(0, 0, 100)));
    std::vector<TVector3> points(3, TVector3(1, 1, 1));
    EXPECT_EQ(fTracker.G4Track(strange, points), -1);
    EXPECT_EQ(points.size(), 3u);
    EXPECT_EQ(points[0], TVector3(1, 1, 1));
}

TEST_F(TrajectoryTracker, G4TrackSinglePointGivesZero) {
    SetFieldInTesla(TVector3(0, 0, 1));
    IG4Trajectory muon(13);
    muon.AddTrajectoryPoint(PointAt(1, 2, 3, TVector3(100, 0, 0)));
    std::vector<TVector3> points(5, TVector3(9, 9, 9));
    EXPECT_EQ(fTracker.G4Track(muon, points), 0);
    ASSERT_EQ(points.size(), 1000u);
    for (int k = 0; k < 5; ++k) EXPECT_EQ(points[k], TVector3(9, 9, 9));
    EXPECT_EQ(points[5], TVector3(0, 0, 0));

    IG4Trajectory photon(22);
    photon.AddTrajectoryPoint(PointAt(1, 2, 3, TVector3(100, 0, 0)));
    std::vector<TVector3> neutral(5, TVector3(9, 9, 9));
    EXPECT_EQ(fTracker.G4Track(photon, neutral), 0);
    EXPECT_EQ(neutral[0], TVector3(1, 2, 3));
    EXPECT_EQ(neutral[1], TVector3(9, 9, 9));

    IG4Trajectory empty(13);
    std::vector<TVector3> none;
    EXPECT_EQ(fTracker.G4Track(empty, none), 0);
    EXPECT_EQ(none.size(), 1000u);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

TEST_F(TrajectoryTracker, G4TrackNeutralTrajectoryLongerThanTheVectorGrowsIt) {
    IG4Trajectory neutron(2112);
    for (int k = 0; k < 1500; ++k) neutron.AddTrajectoryPoint(PointAt(0, 0, k, TVector3(0, 0, 10)));
    std::vector<TVector3> points;
    EXPECT_EQ(fTracker.G4Track(neutron, points), 1499);
    EXPECT_EQ(points.size(), 2000u);
    for (int k = 0; k < 1500; ++k) ASSERT_EQ(points[k], TVector3(0, 0, k)) << k;
}

TEST_F(TrajectoryTracker, G4TrackChargedPointsAtRestChainStraightSegments) {
    // A charged particle whose stored momenta are zero: each segment is its
    // two ends, two entries apiece, past the first block of 1000.
    SetFieldInTesla(TVector3(0, 0, 1));
    IG4Trajectory proton(2212);
    for (int k = 0; k < 700; ++k) proton.AddTrajectoryPoint(PointAt(k, 0, 0, TVector3(0, 0, 0)));
    std::vector<TVector3> points;
    EXPECT_EQ(fTracker.G4Track(proton, points), 2 * 699);
    EXPECT_EQ(points.size(), 2000u);
    for (int k = 0; k < 699; ++k) {
        ASSERT_EQ(points[2 * k], TVector3(k, 0, 0)) << k;
        ASSERT_EQ(points[2 * k + 1], TVector3(k + 1, 0, 0)) << k;
    }
    EXPECT_EQ(IFieldManager::GetLookupCount(), 0);
}

TEST_F(TrajectoryTracker, G4TrackReusedVectorKeepsItsOldEntries) {
    IG4Trajectory photon(22);
    photon.AddTrajectoryPoint(PointAt(1, 1, 1, TVector3(0, 0, 1)));
    photon.AddTrajectoryPoint(PointAt(2, 2, 2, TVector3(0, 0, 1)));
    std::vector<TVector3> points(1200, TVector3(7, 7, 7));
    EXPECT_EQ(fTracker.G4Track(photon, points), 1);
    EXPECT_EQ(points.size(), 1200u);
    EXPECT_EQ(points[1], TVector3(2, 2, 2));
    EXPECT_EQ(points[2], TVector3(7, 7, 7));
    EXPECT_EQ(points[1199], TVector3(7, 7, 7));
}

// ------------------------------------------------------ the PDG table search

TEST_F(TrajectoryTracker, FileExistsAsStatSeesIt) {
    EXPECT_TRUE(fTracker.FileExists(OVUTILITY_SOURCE_DIR "/src/ITrajectoryTracker.hxx"));
    EXPECT_TRUE(fTracker.FileExists(OVUTILITY_SOURCE_DIR "/src"));
    EXPECT_FALSE(fTracker.FileExists(OVUTILITY_SOURCE_DIR "/src/no such file"));
    EXPECT_FALSE(fTracker.FileExists(""));
}

TEST_F(TrajectoryTracker, ConstructorUsesATableAlreadyLoaded) {
    ASSERT_NE(TDatabasePDG::Instance()->GetParticle("gamma"), nullptr);
    const char* saved = std::getenv("ROOTSYS");
    std::string savedValue = saved ? saved : "";
    setenv("ROOTSYS", "/no/such/root", 1);
    ITrajectoryTracker tracker;
    if (saved)
        setenv("ROOTSYS", savedValue.c_str(), 1);
    else
        unsetenv("ROOTSYS");
    EXPECT_TRUE(tracker.fFoundPDG);
    EXPECT_EQ(tracker.fPDGDatabase, TDatabasePDG::Instance());
    EXPECT_EQ(fDebug.str(), "");
}

namespace {
    /// ROOT loads its own table on first use from the place its
    /// configuration names.  Pointing that at nothing leaves the shared
    /// table empty, so the tracker has to search for it.
    void HideROOTsOwnTable() {
        gEnv->SetValue("Root.DatabasePDG", "/no/such/place/pdg_table.txt");
    }

    /// A table of gamma and one marker particle of the given code.
    void WriteTable(const std::string& directory, int marker) {
        for (std::size_t at = 0; at != std::string::npos;) {
            at = directory.find('/', at + 1);
            mkdir(directory.substr(0, at).c_str(), 0700);
        }
        std::ofstream table(directory + "/pdg_table.txt");
        table << "    1 gamma                22  0 100 GaugeBoson  0 0.000000e+00"
                 " 0.000000e+00 -100 -1 -100 -1   -1   0\n"
              << "    2 marker           " << marker
              << "  0 100 Marker      3"
                 " 1.000000e+00 0.000000e+00 -100 -1 -100 -1   -1   0\n";
    }

    std::string MakeScratchDirectory() {
        char name[] = "/tmp/ovUtility_pdg_XXXXXX";
        return mkdtemp(name);
    }

    /// Runs a check in a new copy of this program, where ROOT's table has
    /// not been loaded yet; the check returns what went wrong, or nothing.
    void ExpectInFreshProcess(const std::function<std::string()>& check) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(
            {
                std::string failure = check();
                std::cerr << failure;
                std::exit(failure.empty() ? 0 : 1);
            },
            ::testing::ExitedWithCode(0), "");
    }

    /// Which of the marker particles the tracker's search loaded below
    /// `rootsys`, which is removed afterwards.
    std::string MarkersAfterSearch(const std::string& rootsys) {
        HideROOTsOwnTable();
        setenv("ROOTSYS", rootsys.c_str(), 1);
        std::ostringstream debug;
        IORVEXLog::SetDebugStream(&debug);
        IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
        ITrajectoryTracker tracker;
        std::string found;
        for (int marker : {990001, 990002, 990003}) {
            if (TDatabasePDG::Instance()->GetParticle(marker))
                found += std::to_string(marker) + " ";
        }
        if (!tracker.fFoundPDG) found += "not found ";
        if (!debug.str().empty()) found += "warned ";
        std::filesystem::remove_all(rootsys);
        return found;
    }
}

TEST(TrajectoryTrackerTable, RootsysOfTheTestsHoldsTheTable) {
    const char* rootsys = std::getenv("ROOTSYS");
    ASSERT_NE(rootsys, nullptr);
    struct stat info;
    EXPECT_EQ(stat((std::string(rootsys) + "/etc/pdg_table.txt").c_str(), &info), 0);
}

TEST(TrajectoryTrackerTable, ConstructorReadsTheTableBelowRootsys) {
    ExpectInFreshProcess([] {
        HideROOTsOwnTable();
        if (TDatabasePDG::Instance()->GetParticle("gamma")) return std::string("table not hidden");
        std::ostringstream debug;
        IORVEXLog::SetDebugStream(&debug);
        IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
        ITrajectoryTracker tracker;
        if (!tracker.fFoundPDG) return std::string("table not found");
        if (!debug.str().empty()) return "unexpected output: " + debug.str();
        TParticlePDG* muon = TDatabasePDG::Instance()->GetParticle(13);
        if (!muon || muon->Charge() != -3) return std::string("no mu- in the table");
        return std::string();
    });
}

TEST(TrajectoryTrackerTable, ConstructorSearchesTheThreePlacesInOrder) {
    ExpectInFreshProcess([] {
        std::string root = MakeScratchDirectory();
        WriteTable(root + "/root/etc", 990003);
        std::string found = MarkersAfterSearch(root);
        return found == "990003 " ? std::string() : "only root/etc: " + found;
    });
    ExpectInFreshProcess([] {
        std::string root = MakeScratchDirectory();
        WriteTable(root + "/root/etc", 990003);
        WriteTable(root, 990002);
        std::string found = MarkersAfterSearch(root);
        return found == "990002 " ? std::string() : "top and root/etc: " + found;
    });
    ExpectInFreshProcess([] {
        std::string root = MakeScratchDirectory();
        WriteTable(root + "/root/etc", 990003);
        WriteTable(root, 990002);
        WriteTable(root + "/etc", 990001);
        std::string found = MarkersAfterSearch(root);
        return found == "990001 " ? std::string() : "all three: " + found;
    });
}

TEST(TrajectoryTrackerTable, MissingTableIsReportedAndStopsG4Track) {
    ExpectInFreshProcess([] {
        HideROOTsOwnTable();
        std::string empty = MakeScratchDirectory();
        setenv("ROOTSYS", empty.c_str(), 1);
        std::ostringstream debug;
        IORVEXLog::SetDebugStream(&debug);
        IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
        ITrajectoryTracker tracker;
        std::filesystem::remove(empty);
        if (tracker.fFoundPDG) return std::string("fFoundPDG is true");
        std::string text = WarningText(debug.str());
        if (text != kMissingTableWarning) return "warning was: " + debug.str();

        IG4Trajectory muon(13);
        muon.AddTrajectoryPoint(PointAt(0, 0, 0, TVector3(1000, 0, 0)));
        muon.AddTrajectoryPoint(PointAt(100, 0, 0, TVector3(1000, 0, 0)));
        std::vector<TVector3> points(3);
        if (tracker.G4Track(muon, points) != 0) return std::string("G4Track did not give 0");
        if (points.size() != 3) return std::string("G4Track resized the points");
        return std::string();
    });
}

TEST(TrajectoryTrackerTable, MissingRootsysIsAMissingTable) {
    ExpectInFreshProcess([] {
        HideROOTsOwnTable();
        unsetenv("ROOTSYS");
        std::ostringstream debug;
        IORVEXLog::SetDebugStream(&debug);
        IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
        ITrajectoryTracker tracker;
        if (tracker.fFoundPDG) return std::string("fFoundPDG is true");
        if (WarningText(debug.str()) != kMissingTableWarning) return "warning was: " + debug.str();
        return std::string();
    });
}

TEST(TrajectoryTrackerTable, SilentLogHidesTheMissingTableWarning) {
    ExpectInFreshProcess([] {
        HideROOTsOwnTable();
        std::string empty = MakeScratchDirectory();
        setenv("ROOTSYS", empty.c_str(), 1);
        std::ostringstream debug;
        IORVEXLog::SetDebugStream(&debug);
        IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
        ITrajectoryTracker tracker;
        std::filesystem::remove(empty);
        if (tracker.fFoundPDG) return std::string("fFoundPDG is true");
        if (!debug.str().empty()) return "unexpected output: " + debug.str();
        return std::string();
    });
}

// ------------------------------------------------------- reflection dictionary

namespace {
    /// The dictionary names the tracker's header as it is installed; the
    /// interpreter finds it, and the host headers it includes, on its
    /// include path, here the source tree.  The path is read when the
    /// interpreter starts, so it is set while this program loads.
    const bool headersShown = [] {
        setenv("ROOT_INCLUDE_PATH", OVUTILITY_SOURCE_DIR "/src:" OVUTILITY_SOURCE_DIR "/host", 0);
        return true;
    }();
}

TEST(TrajectoryTrackerDictionary, ROOTKnowsTheClassAndItsTwoFields) {
    ASSERT_TRUE(headersShown);
    TClass* tracker = TClass::GetClass("ORVEX::ITrajectoryTracker");
    ASSERT_NE(tracker, nullptr);
    EXPECT_TRUE(tracker->HasDictionary());
    TList* members = tracker->GetListOfDataMembers();
    ASSERT_NE(members, nullptr);
    EXPECT_EQ(members->GetSize(), 2);
    TDataMember* found = tracker->GetDataMember("fFoundPDG");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->GetTypeName(), "bool");
    TDataMember* database = tracker->GetDataMember("fPDGDatabase");
    ASSERT_NE(database, nullptr);
    EXPECT_STREQ(database->GetTypeName(), "TDatabasePDG");
    EXPECT_TRUE(database->IsaPointer());
    for (const char* operation : {"StepHelix", "TrackParticle", "G4Track", "FileExists"}) {
        EXPECT_NE(tracker->GetMethodAllAny(operation), nullptr) << operation;
    }
}

TEST(TrajectoryTrackerDictionary, ROOTCanMakeATracker) {
    ASSERT_TRUE(headersShown);
    TClass* tracker = TClass::GetClass("ORVEX::ITrajectoryTracker");
    ASSERT_NE(tracker, nullptr);
    void* made = tracker->New();
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(static_cast<ITrajectoryTracker*>(made)->fFoundPDG);
    tracker->Destructor(made);
}
