#ifndef ORVEX_IG4Trajectory_hxx_seen
#define ORVEX_IG4Trajectory_hxx_seen

#include <vector>

#include <TLorentzVector.h>
#include <TVector3.h>

namespace ORVEX {
    class IG4TrajectoryPoint;
    class IG4Trajectory;
}

/// One stored point of a simulated trajectory.  Like the simulation's own
/// records it keeps single-precision numbers, so what is read back is the
/// value rounded to float and widened again.
class ORVEX::IG4TrajectoryPoint {
public:
    IG4TrajectoryPoint() : fPosition{0, 0, 0, 0}, fMomentum{0, 0, 0} {}
    IG4TrajectoryPoint(const TLorentzVector& position, const TVector3& momentum);
    TLorentzVector GetPosition() const;
    TVector3 GetMomentum() const;

private:
    float fPosition[4];
    float fMomentum[3];
};

/// A simulated particle's trajectory: its PDG code and its points in order.
class ORVEX::IG4Trajectory {
public:
    typedef std::vector<IG4TrajectoryPoint> Points;

    explicit IG4Trajectory(int pdgEncoding = 0) : fPDGEncoding(pdgEncoding) {}
    int GetPDGEncoding() const { return fPDGEncoding; }
    const Points& GetTrajectoryPoints() const { return fPoints; }
    void AddTrajectoryPoint(const IG4TrajectoryPoint& point) { fPoints.push_back(point); }

private:
    int fPDGEncoding;
    Points fPoints;
};

#endif
