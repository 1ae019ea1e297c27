#include "ITrajectoryTracker.hxx"

#include <sys/stat.h>

#include <cmath>

#include <TDatabasePDG.h>
#include <TParticlePDG.h>
#include <TRotation.h>
#include <TSystem.h>

#include <IFieldManager.hxx>
#include <IG4Trajectory.hxx>
#include <IORVEXLog.hxx>

namespace {
    /// The host's field unit is one thousandth of a tesla.
    const double FieldScale = 1000.0;

    /// The longest path one call of TrackParticle keeps.
    const int nPointsMax = 99999;

    /// Paths and trajectories grow their point vectors by this much.
    const std::size_t pointBlock = 1000;

    /// Makes sure that points[index] exists, growing the vector in blocks
    /// of default entries.  Paths grow one entry at a time, so this adds one
    /// block exactly when an index reaches the end.
    void EnsureEntry(std::vector<TVector3>& points, int index) {
        while (index > static_cast<int>(points.size()) - 1) {
            points.resize(points.size() + pointBlock);
        }
    }
}

ORVEX::ITrajectoryTracker::ITrajectoryTracker() {
    fFoundPDG = true;
    fPDGDatabase = TDatabasePDG::Instance();
    // The table is shared by the whole process: once any caller has loaded
    // it, "gamma" is there and nothing more is to be done.
    if (fPDGDatabase->GetParticle("gamma")) return;

    // Without ROOTSYS there is no place to look, and the table is missing.
    const char* rootsys = gSystem->Getenv("ROOTSYS");
    const char* places[] = {"%s/etc/pdg_table.txt", "%s/pdg_table.txt",
                            "%s/root/etc/pdg_table.txt"};
    for (const char* place : places) {
        if (!rootsys) break;
        TString name = Form(place, rootsys);
        if (FileExists(name)) {
            fPDGDatabase->ReadPDGTable(name);
            return;
        }
    }
    // The promise of a charge of 1.0 is not kept: G4Track gives up at once
    // without a table.  The text is kept as users of the log know it.
    ORVEXWarn(
        " I failed to find the list of PDG codes stored in pdg_table.txt"
        " - it should be under ROOTSYS somewhere. I will assume all MC"
        " particles have charge 1.0.");
    fFoundPDG = false;
}

bool ORVEX::ITrajectoryTracker::FileExists(TString TstrFilename) {
    struct stat fileInfo;
    return stat(TstrFilename.Data(), &fileInfo) == 0;
}

void ORVEX::ITrajectoryTracker::StepHelix(TVector3& position, TVector3& momentum, double charge) {
    const double step = 1.0;
    TVector3 BField = Bman().GetFieldValue(position) * FieldScale;

    // Pitch angle to the field.  Nothing guards the square root: rounding
    // can push cosl just past 1 for a momentum nearly along the field.
    double cosl = momentum.Dot(BField) / (momentum.Mag() * BField.Mag());
    double sinl = std::sqrt(1 - cosl * cosl);

    // The helix frame has the field as its Z axis.
    TRotation BToLab;
    BToLab.SetZAxis(BField);
    TRotation LabToB = BToLab.Inverse();
    TVector3 pB = LabToB * momentum;

    float signOfCharge = 0;
    if (charge > 0)
        signOfCharge = 1;
    else if (charge < 0)
        signOfCharge = -1;

    // Azimuth of the vector from the helix axis to the particle.
    double phi = pB.Phi() + signOfCharge * 1.5707963267948966;
    double pt = pB.Mag() * sinl;
    double R = pt / (0.3 * BField.Mag());  // mm, for MeV/c and tesla
    double dr = step * std::fabs(sinl);
    double dphi = signOfCharge * dr / R;

    // A positive charge turns by a negative angle about the field.
    TRotation DeltaPhiMinus;
    DeltaPhiMinus.RotateZ(-dphi);
    pB = DeltaPhiMinus * pB;
    momentum = BToLab * pB;

    // The chord comes from the rotated radius vector, so the move is exact
    // in a uniform field.
    TVector3 Rvd(R * std::cos(phi), R * std::sin(phi), 0);
    TVector3 Rvd2 = DeltaPhiMinus * Rvd;
    TVector3 Rdiff = Rvd2 - Rvd;
    double deltaz = step * cosl;
    Rdiff.SetZ(deltaz);
    TVector3 RdiffLab = BToLab * Rdiff;
    position = position + RdiffLab;
}

int ORVEX::ITrajectoryTracker::TrackParticle(TVector3 StartPosition, TVector3 EndPosition,
                                             TVector3 momentum, double charge,
                                             std::vector<TVector3>& points, int nPointStart) {
    TVector3 InitialMomentum = momentum;
    // A chain of short paths (as in G4Track) starts the next one at most at
    // the end of the vector.  A start before the vector would write outside
    // it, and one further past its end would grow it by the whole gap,
    // without bound as the start nears 2^31.
    if (nPointStart < 0 || static_cast<std::size_t>(nPointStart) > points.size()) {
        ORVEXError("ORVEX::ITrajectoryTracker::TrackParticle: nPointStart "
                   << nPointStart << " lies outside the " << points.size() << " entries of points");
        throw EBadPointStart();
    }
    // Callers are asked for both entries; a chain of short paths can reach
    // the end of the vector, so they are made sure of.
    EnsureEntry(points, nPointStart + 1);
    points[nPointStart] = StartPosition;
    if (charge == 0 || momentum.Mag() == 0) {
        points[nPointStart + 1] = EndPosition;
        return 2;
    }

    TVector3 position = StartPosition;
    int nPoints = 1;
    int ntries = 0;
    int nstraight = 0;
    bool imStraightAsADie = false;
    bool fieldAlwaysZero = true;
    float proximityXYZ = 0;
    float oldProximityXYZ = 1e24;
    float Closest = 1e24;
    TVector3 ClosePosition(0, 0, 0);
    int nPointClose = 2;
    float straightLength = 0;
    float runLength = 0;
    // Index nPointsMax itself can be written, hence the extra entry.
    float trackLength[nPointsMax + 1];
    trackLength[0] = 0;

    while (true) {
        TVector3 BField = Bman().GetFieldValue(position) * FieldScale;
        // Fine steps where a weak field still bends the path, coarse ones in
        // a strong field (the helix is exact) and in none; slow particles
        // always take medium steps.
        double step = 50.0;
        if (BField.Mag() > 0 && BField.Mag() < 0.19) step = 1.0;
        if (momentum.Mag() < 1000.0) step = 10.0;

        if (BField.Mag() < 0.001) {
            // A straight step overwrites the previous point, except that one
            // point in ten is kept.
            if (imStraightAsADie && nPoints > 2 && nstraight < 10) {
                nPoints -= 1;
                nstraight += 1;
            }
            if (nstraight == 9) nPoints += 1;
            TVector3 delta(step * momentum.X() / momentum.Mag(),
                           step * momentum.Y() / momentum.Mag(),
                           step * momentum.Z() / momentum.Mag());
            position += delta;
            straightLength += delta.Mag();
            imStraightAsADie = true;
        } else {
            StepHelix(position, momentum, charge);
            nstraight = 0;
            fieldAlwaysZero = false;
            imStraightAsADie = false;
        }

        proximityXYZ = (EndPosition - position).Mag();
        if (proximityXYZ > 100000.0) break;
        // Within 50 mm and moving away again.
        if (proximityXYZ > oldProximityXYZ && oldProximityXYZ < 50.0) break;
        if (Closest > proximityXYZ) {
            ClosePosition = position;
            Closest = proximityXYZ;
            nPointClose = nPoints;
        }
        if (nPoints > nPointsMax) {
            nPoints = nPointClose + 1;
            break;
        }

        int iloc = nPointStart + nPoints - 1;
        EnsureEntry(points, iloc);
        points[iloc] = position;
        if (nstraight >= 10) nstraight = 0;
        // A helix step is 1 mm of path whatever `step` says; the running
        // length only weighs the points against each other.
        runLength += step;
        trackLength[nPoints] = runLength;
        nPoints += 1;

        if (ntries < 10000000) {
            ntries += 1;
            oldProximityXYZ = proximityXYZ;
        } else
            break;
    }

    // The first pass overwrote points[nPointStart], so a straight path is
    // the first stepped point and the target.
    if (fieldAlwaysZero) {
        points[nPointStart + 1] = EndPosition;
        return 2;
    }

    // After a stop for distance this is the entry just past the path, whose
    // content (usually a default point, or what an earlier call left) can
    // decide the cut below.  It is made to exist when the path filled the
    // vector exactly.
    EnsureEntry(points, nPointStart - 1 + nPoints);
    position = points[nPointStart - 1 + nPoints];
    proximityXYZ = (EndPosition - position).Mag();
    if (proximityXYZ > Closest) {
        // Cut back to the closest point, which then stands twice in a row.
        // With no point ever nearer than the start value, the cut reaches
        // past the path: its entries are made to exist, and their running
        // lengths are the path's last one.
        for (int i = nPoints; i <= nPointClose; ++i) trackLength[i] = runLength;
        nPoints = nPointClose + 1;
        EnsureEntry(points, nPointStart - 1 + nPoints);
        points[nPointStart - 1 + nPoints] = ClosePosition;
        position = ClosePosition;
        proximityXYZ = (EndPosition - position).Mag();
    }

    if (nPoints > 1 && proximityXYZ < 250.0) {
        TVector3 delta = EndPosition - position;
        if (straightLength < 500.0) {
            // Spread the remaining gap along the path in proportion to the
            // running length, so that the last point lands on the target.
            for (int step = 1; step <= nPoints - 1; ++step) {
                float fraction = trackLength[step] / trackLength[nPoints - 1];
                points[nPointStart + step] += fraction * delta;
            }
        }
        return nPoints;
    }

    ORVEXWarn("ORVEX::TrajectoryTracker::TrackParticle:"
              << std::endl
              << " Failed to track helix from position " << StartPosition.X() << " "
              << StartPosition.Y() << " " << StartPosition.Z() << " "
              << " to " << EndPosition.X() << " " << EndPosition.Y() << " " << EndPosition.Z()
              << "."
              << " with initial momentum " << InitialMomentum.X() << " " << InitialMomentum.Y()
              << " " << InitialMomentum.Z() << std::endl
              << " The closest approach was " << Closest << "mm." << std::endl);
    points[nPointStart + 1] = EndPosition;
    return 2;
}

int ORVEX::ITrajectoryTracker::G4Track(IG4Trajectory& trajectory, std::vector<TVector3>& points) {
    int parcode = trajectory.GetPDGEncoding();
    IG4Trajectory::Points trajpvect = trajectory.GetTrajectoryPoints();
    if (!fFoundPDG) return 0;
    TParticlePDG* particle = fPDGDatabase->GetParticle(parcode);
    if (!particle) return -1;
    // ROOT keeps charges in thirds of the elementary charge.
    float charge = particle->Charge() / 3.0;

    if (points.size() < pointBlock) points.resize(pointBlock);

    TVector3 EndPosition(0, 0, 0);
    TVector3 StartPosition(0, 0, 0);
    TVector3 momentum(0, 0, 0);
    int nPoint = 0;
    bool first = true;
    for (const IG4TrajectoryPoint& trackPoint : trajpvect) {
        EndPosition = trackPoint.GetPosition().Vect();
        if (!first && charge != 0) {
            nPoint += TrackParticle(StartPosition, EndPosition, momentum, charge, points, nPoint);
        }
        if (!first && charge == 0) {
            // Grown by a block when the new entry reaches the end, so that
            // the entry written is always inside the vector.
            nPoint += 1;
            EnsureEntry(points, nPoint);
            points[nPoint] = EndPosition;
        }
        if (first && charge == 0) points[0] = EndPosition;
        momentum = trackPoint.GetMomentum();
        StartPosition = EndPosition;
        first = false;
    }
    return nPoint;
}
