#ifndef ORVEX_IElectronCloud_hxx_seen
#define ORVEX_IElectronCloud_hxx_seen

#include <vector>

#include <TVector2.h>
#include <TVector3.h>

namespace ORVEX {
    class IElectronCloud;
    class IElectronCloudInspector;
}

/// One bunch of electrons released in a drift volume, carried as a single
/// point with a start state and a current state.  IDriftManager moves the
/// current state; the cloud knows nothing of fields or integration.  After a
/// drift the cloud draws what one electron of the bunch would do, with a
/// spread that grows with the square root of the length drifted along X.
///
/// Lengths, times, velocities and diffusion coefficients are in one system
/// chosen by the caller; a coefficient is a length over the square root of
/// a length.  Every random number comes from gRandom, in a fixed order.
class ORVEX::IElectronCloud {
public:
    IElectronCloud(int nE, TVector3 pos, TVector3 vel, double t, int q);
    ~IElectronCloud();

    int GetNumberElectrons() const { return fNbrEs; }
    void SetNumberElectrons(int nE) { fNbrEs = nE; }

    int GetCharge() const { return fCharge; }

    TVector3 GetPosition() const { return fPos; }
    void SetPosition(TVector3 pos) { fPos.SetXYZ(pos.X(), pos.Y(), pos.Z()); }

    TVector3 GetVelocity() const { return fVel; }
    void SetVelocity(TVector3 vel) { fVel.SetXYZ(vel.X(), vel.Y(), vel.Z()); }

    double GetMeanDriftXVelocity() const { return fMeanDriftXVelocity; }
    void SetMeanDriftXVelocity(double vel) { fMeanDriftXVelocity = vel; }

    double GetTime() const { return fT; }
    void SetTime(double time) { fT = time; }

    TVector3 GetStartPosition() const { return fStartPos; }

    bool IsDrifted() const { return fDrifted; }
    void SetIsDrifted(bool ok) { fDrifted = ok; }

    /// Accepted steps of the last drift; no defined value before the first.
    int NumberDriftSteps() const { return fNbrSteps; }
    void SetNumberDriftSteps(int steps) { fNbrSteps = steps; }

    /// Distance drifted along X, unsigned.
    double GetXDriftLength() const;
    /// Straight distance from the start, not the path length.
    double GetTotDriftLength() const;

    /// Back to the start position and time, at rest and undrifted.  The
    /// step count of the last drift is kept.
    void UnDrift();

    /// The arrival time of one electron, or -1.0 (with a message on the
    /// standard output) when the cloud hasn't drifted far enough or has no
    /// drift velocity along X.
    double GetRandomArrivalTime(double longDiffCoef);

    /// The position of one electron around the cloud centre.  `calibtarget`
    /// is true for a cloud released at a calibration target, whose start
    /// spot has a width of its own.
    TVector3 GetAnElectronsPosition(double tranDiffCoef, double longDiffCoef,
                                    bool calibtarget);

    /// The start spreads replace the previous value, the defaults included,
    /// so that any spread (a smaller one, or none) can be chosen; repeated
    /// calls don't accumulate.
    void AddInitialYStandardDeviation(double sigma) { fYInitialSigma = sigma; }
    void AddInitialZStandardDeviation(double sigma) { fZInitialSigma = sigma; }
    void AddInitialXStandardDeviation(double sigma) { fXInitialSigma = sigma; }

    void SetOriginDiskRadius(double radius) { fRDisk = radius; }
    double GetOriginDiskRadius() const { return fRDisk; }

    /// Corners of a parallelogram in a plane of constant X, in order
    /// around it.  Setting them, even an empty list, marks them as set.
    void SetOriginParallelogramCorners(std::vector<TVector3> corners) {
        fCorners = corners;
        fCornersAreSet = true;
    }
    bool GetParallelogramIsSet() const { return fCornersAreSet; }

private:
    // Lets the unit tests reach the private draws.
    friend class IElectronCloudInspector;

    void Initialize();
    /// A displacement in the plane of the origin disk.
    TVector2 GetRandomPositionOnDisk();
    /// A displacement (Z, Y) uniform over the origin parallelogram,
    /// measured from its centre.
    TVector2 GetRandomPositionOnParallelogram();

    int fNbrEs;
    int fCharge;
    TVector3 fPos;
    TVector3 fStartPos;
    TVector3 fVel;
    double fMeanDriftXVelocity;
    // Deliberately not set by the constructor: only a drift gives it a value.
    int fNbrSteps;
    double fYInitialSigma;
    double fZInitialSigma;
    double fXInitialSigma;
    double fRDisk;
    std::vector<TVector3> fCorners;
    bool fCornersAreSet;
    double fT;
    double fStartT;
    bool fDrifted;
};

#endif
