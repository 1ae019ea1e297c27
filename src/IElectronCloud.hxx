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
    /// A cloud of `nE` carriers of signed charge `q`, at `pos`, moving with `vel`, at time `t`.
    IElectronCloud(int nE, TVector3 pos, TVector3 vel, double t, int q);
    ~IElectronCloud();

    /// The number of electrons in the cloud.
    int GetNumberElectrons() const { return fNbrEs; }
    /// Sets the number of electrons.
    void SetNumberElectrons(int nE) { fNbrEs = nE; }

    /// The signed charge of the carriers, the factor of the drift equations.
    int GetCharge() const { return fCharge; }

    /// The present position of the cloud's centre.
    TVector3 GetPosition() const { return fPos; }
    /// Moves the cloud's centre to `pos`.
    void SetPosition(TVector3 pos) { fPos.SetXYZ(pos.X(), pos.Y(), pos.Z()); }

    /// The present velocity of the cloud.
    TVector3 GetVelocity() const { return fVel; }
    /// Sets the velocity of the cloud.
    void SetVelocity(TVector3 vel) { fVel.SetXYZ(vel.X(), vel.Y(), vel.Z()); }

    /// The mean drift velocity along X.
    double GetMeanDriftXVelocity() const { return fMeanDriftXVelocity; }
    /// Sets the mean drift velocity along X.
    void SetMeanDriftXVelocity(double vel) { fMeanDriftXVelocity = vel; }

    /// The present time of the cloud.
    double GetTime() const { return fT; }
    /// Sets the time of the cloud.
    void SetTime(double time) { fT = time; }

    /// Where the cloud started.
    TVector3 GetStartPosition() const { return fStartPos; }

    /// True once a drift has finished.
    bool IsDrifted() const { return fDrifted; }
    /// Marks the cloud as drifted or not.
    void SetIsDrifted(bool ok) { fDrifted = ok; }

    /// Accepted steps of the last drift; no defined value before the first.
    int NumberDriftSteps() const { return fNbrSteps; }
    /// Sets the number of accepted steps of the last drift.
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
    TVector3 GetAnElectronsPosition(double tranDiffCoef, double longDiffCoef, bool calibtarget);

    /// The start spreads replace the previous value, the defaults included,
    /// so that any spread (a smaller one, or none) can be chosen; repeated
    /// calls don't accumulate.
    void AddInitialYStandardDeviation(double sigma) { fYInitialSigma = sigma; }
    /// The spread of the start along Z; replaces the previous one.
    void AddInitialZStandardDeviation(double sigma) { fZInitialSigma = sigma; }
    /// The spread of the start along X; replaces the previous one.
    void AddInitialXStandardDeviation(double sigma) { fXInitialSigma = sigma; }

    /// The radius of the disk in a plane of constant X from which electrons start.
    void SetOriginDiskRadius(double radius) { fRDisk = radius; }
    /// The radius of the disk from which electrons start.
    double GetOriginDiskRadius() const { return fRDisk; }

    /// Corners of a parallelogram in a plane of constant X, in order
    /// around it.  Setting them, even an empty list, marks them as set.
    void SetOriginParallelogramCorners(std::vector<TVector3> corners) {
        fCorners = corners;
        fCornersAreSet = true;
    }
    /// True once parallelogram corners were set, even an empty list.
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
