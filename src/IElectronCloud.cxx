#include "IElectronCloud.hxx"

#include <cmath>
#include <cstdlib>
#include <iostream>

#include <TRandom.h>

ORVEX::IElectronCloud::IElectronCloud(int nE, TVector3 pos, TVector3 vel, double t, int q)
    : fNbrEs(nE), fCharge(q), fPos(pos), fStartPos(pos), fVel(vel), fT(t), fStartT(t) {
    Initialize();
}

ORVEX::IElectronCloud::~IElectronCloud() {}

void ORVEX::IElectronCloud::Initialize() {
    fDrifted = false;
    fMeanDriftXVelocity = 0.0;
    fYInitialSigma = 2.0;
    fZInitialSigma = 2.0;
    fXInitialSigma = 0.0;
    fRDisk = 0.0;
    fCornersAreSet = false;
}

double ORVEX::IElectronCloud::GetXDriftLength() const {
    return std::fabs(fStartPos.X() - fPos.X());
}

double ORVEX::IElectronCloud::GetTotDriftLength() const {
    return (fStartPos - fPos).Mag();
}

void ORVEX::IElectronCloud::UnDrift() {
    fPos = fStartPos;
    fT = fStartT;
    fVel.SetXYZ(0.0, 0.0, 0.0);
    fMeanDriftXVelocity = 0.0;
    fDrifted = false;
}

double ORVEX::IElectronCloud::GetRandomArrivalTime(double longDiffCoef) {
    if (fDrifted) {
        double totalDx_E = GetXDriftLength();
        if (totalDx_E > 1e-06) {
            // The start spread along X adds linearly to the diffusion.
            double sigma = longDiffCoef * std::sqrt(totalDx_E) + fXInitialSigma;
            // Drawn before the velocity is looked at, so that a failed call
            // still moves the random sequence on by one number.
            double dx = gRandom->Gaus(0, sigma);
            double speed = std::fabs(fMeanDriftXVelocity);
            if (speed > 1e-09) return GetTime() + dx / speed;
        }
    }
    std::cout << "IElectronCloud::GetRandomArrivalTime; Returning -1" << std::endl;
    return -1.0;
}

TVector3 ORVEX::IElectronCloud::GetAnElectronsPosition(double tranDiffCoef, double longDiffCoef,
                                                       bool calibtarget) {
    double dXDrift = GetXDriftLength();
    double tranSigma = tranDiffCoef * std::sqrt(dXDrift);
    double longSigma = longDiffCoef * std::sqrt(dXDrift);
    // Across the drift the start spot joins the diffusion in quadrature, and
    // only for a calibration target.
    double ySigma = tranSigma;
    double zSigma = tranSigma;
    if (calibtarget) {
        ySigma = std::sqrt(tranSigma * tranSigma + fYInitialSigma * fYInitialSigma);
        zSigma = std::sqrt(tranSigma * tranSigma + fZInitialSigma * fZInitialSigma);
    }
    double xSigma = fXInitialSigma;
    double x = fPos.X();
    // A drifted cloud expresses its longitudinal spread as a spread in
    // arrival time, so only an undrifted one is spread along X.
    if (!fDrifted) x += gRandom->Gaus(0, longSigma + xSigma);
    double dz = gRandom->Gaus(0, zSigma);
    double dy = gRandom->Gaus(0, ySigma);
    return TVector3(x, fPos.Y() + dy, fPos.Z() + dz);
}

TVector2 ORVEX::IElectronCloud::GetRandomPositionOnDisk() {
    TVector2 pos(0.0, 0.0);
    if (!(fRDisk > 0)) return pos;
    double phi = gRandom->Uniform(1.0) * 6.283185307179586;
    // The radius, not its square, is uniform: the points gather towards the
    // centre on purpose.
    double radius = fRDisk * gRandom->Uniform(1.0);
    pos.SetMagPhi(radius, phi);
    return pos;
}

TVector2 ORVEX::IElectronCloud::GetRandomPositionOnParallelogram() {
    if (!fCornersAreSet) return TVector2(0.0, 0.0);
    if (fCorners.size() != 4) {
        std::cout << "ERROR in IElectronCloud::GetRandomPositionOnParallelogram, "
                     "FIXME: allow for more corners than 4"
                  << std::endl;
        // With fewer than four corners there is no shape to draw on: no
        // displacement, and no number drawn.
        if (fCorners.size() < 4) return TVector2(0.0, 0.0);
    }
    const TVector3& c0 = fCorners[0];
    const TVector3& c1 = fCorners[1];
    const TVector3& c2 = fCorners[2];
    const TVector3& c3 = fCorners[3];
    double side1 = (c1 - c0).Mag();
    double side2 = (c2 - c1).Mag();
    double side3 = (c3 - c2).Mag();
    double side4 = (c0 - c3).Mag();
    if (std::fabs(side1 - side3) > 0.001 || std::fabs(side2 - side4) > 0.001) {
        std::cout << "ERROR in IElectronCloud::GetRandomPositionOnFlatShape, "
                     "FIXME: allow for arbitrary strips"
                  << std::endl;
        std::exit(1);
    }
    TVector3 edgeA = c1 - c0;
    TVector3 edgeB = c3 - c0;
    // In order around the shape, the diagonal c2 - c0 lies closer to the
    // first edge than the second edge c3 - c0 does.
    if (edgeA.Angle(c2 - c0) > edgeA.Angle(edgeB)) {
        std::cout << "ERROR in IElectronCloud::GetRandomPositionOnParallelogram, "
                     "FIXME: allow for non consecutive corners"
                  << std::endl;
        std::exit(1);
    }
    double uA = gRandom->Uniform(1.0);
    double uB = gRandom->Uniform(1.0);
    TVector3 pos = edgeA.Unit() * (uA * edgeA.Mag()) + edgeB.Unit() * (uB * edgeB.Mag());
    TVector3 center = edgeA.Unit() * (0.5 * edgeA.Mag()) + edgeB.Unit() * (0.5 * edgeB.Mag());
    pos -= center;
    return TVector2(pos.Z(), pos.Y());
}
