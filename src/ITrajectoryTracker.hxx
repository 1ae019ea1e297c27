#ifndef ORVEX_ITrajectoryTracker_hxx_seen
#define ORVEX_ITrajectoryTracker_hxx_seen

#include <vector>

#include <TString.h>
#include <TVector3.h>

#include <EovUtility.hxx>

class TDatabasePDG;

namespace ORVEX {
    /// A path asked to start outside the point vector: before its first
    /// entry, or past its end; thrown by ITrajectoryTracker::TrackParticle.
    ORVEX_EXCEPTION(EBadPointStart, EovUtility);

    class IG4Trajectory;
    class ITrajectoryTracker;
}

/// Follows a simulated particle through the host's magnetic field to turn
/// the sparse points of its trajectory into a dense path.  Positions are in
/// millimetres, momenta in MeV/c, and the field is read in tesla.  The
/// particle's charge comes from ROOT's PDG table, which the constructor
/// makes sure is loaded.
class ORVEX::ITrajectoryTracker {
public:
    ITrajectoryTracker();

    /// Dense path of a whole trajectory.  Returns -1 when the particle is
    /// not in the PDG table, 0 when the table is missing or the trajectory
    /// has fewer than two points.  Otherwise, for a charged particle,
    /// entries 0 to n-1 of `points` hold the path; for a neutral one,
    /// entries 0 to n hold the trajectory points themselves.  `points` is
    /// grown to at least 1000 entries and never cleared.
    int G4Track(IG4Trajectory& trajectory, std::vector<TVector3>& points);

    /// Follows the particle from StartPosition towards EndPosition and
    /// writes the path from points[nPointStart] on; returns the number of
    /// entries that belong to it.  `points` must already hold entries at
    /// nPointStart and nPointStart + 1, and grows in blocks of 1000.  A
    /// negative nPointStart, or one past the end of `points`, throws
    /// EBadPointStart.
    int TrackParticle(TVector3 StartPosition, TVector3 EndPosition, TVector3 momentum,
                      double charge, std::vector<TVector3>& points, int nPointStart);

    /// One exact helix move of 1 mm of path in the field at `position`,
    /// treated as uniform.  Only the sign of `charge` is used.  There is no
    /// guard: a zero field, a zero momentum or a momentum along the field
    /// gives NaN.
    void StepHelix(TVector3& position, TVector3& momentum, double charge);

    /// True when `stat` succeeds on the name.
    bool FileExists(TString TstrFilename);

    /// True when the PDG table is usable.
    bool fFoundPDG;

    /// ROOT's shared PDG table; not owned.
    TDatabasePDG* fPDGDatabase;
};

#endif
