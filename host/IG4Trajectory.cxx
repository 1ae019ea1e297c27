#include "IG4Trajectory.hxx"

ORVEX::IG4TrajectoryPoint::IG4TrajectoryPoint(const TLorentzVector& position,
                                              const TVector3& momentum)
    : fPosition{static_cast<float>(position.X()), static_cast<float>(position.Y()),
                static_cast<float>(position.Z()), static_cast<float>(position.T())},
      fMomentum{static_cast<float>(momentum.X()), static_cast<float>(momentum.Y()),
                static_cast<float>(momentum.Z())} {}

TLorentzVector ORVEX::IG4TrajectoryPoint::GetPosition() const {
    return TLorentzVector(fPosition[0], fPosition[1], fPosition[2], fPosition[3]);
}

TVector3 ORVEX::IG4TrajectoryPoint::GetMomentum() const {
    return TVector3(fMomentum[0], fMomentum[1], fMomentum[2]);
}
