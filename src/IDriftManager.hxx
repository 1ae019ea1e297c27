#ifndef ORVEX_IDriftManager_hxx_seen
#define ORVEX_IDriftManager_hxx_seen

#include <TLorentzVector.h>
#include <TVector3.h>

#include <EovUtility.hxx>

#include "IElectronCloud.hxx"

namespace ORVEX {
    /// The root of the exceptions of the drift.
    ORVEX_EXCEPTION(EDrift, EovUtility);
    /// An adaptive step whose error estimate or next size is no number (a
    /// NaN position, field or tolerance): no step could ever be accepted.
    ORVEX_EXCEPTION(EDriftNotANumber, EDrift);
    /// A drift about to make more calls than its int counters can hold.
    ORVEX_EXCEPTION(EDriftRunaway, EDrift);

    class IDriftManager;
    class IDriftManagerInspector;
}

/// Carries an electron cloud through a gas volume with a uniform electric
/// field along X and the host's magnetic field.  A central cathode lies in
/// the plane X = 0, and the electric field changes sign across it.
///
/// The velocity is the steady-state Langevin solution; positions are
/// advanced by fourth-order Runge-Kutta steps, with fixed steps or with
/// step doubling to control the step size.  Reports go to the standard
/// streams, and failures give a false result.
class ORVEX::IDriftManager {
public:
    /// An object must be initialised before it drifts.
    IDriftManager();
    virtual ~IDriftManager();

    /// The adaptive set-up.  The first argument is ignored: this set-up
    /// always controls the step size (use the other overload for fixed
    /// steps).  No database is read; every value is the caller's.
    void InitializeFromDB(bool UseAdaptiveStepSize, double MaxDriftStepTime,
                          double MinDriftStepTime, int MaxNbrDriftSteps, double ErrorTol,
                          double InitialDriftStepTime, double OmegaTau, double Mu,
                          double DriftVelocity);

    /// The fixed-step set-up, with at most 1000 steps per drift.
    void InitializeFromDB(double InitialDriftStepTime, double OmegaTau, double Mu,
                          double DriftVelocity);

    /// Drift for `tLim` after the cloud's present time.  True when the limit
    /// (or the cathode) was reached.
    bool DriftUntilTLim(IElectronCloud& cloud, double tLim);

    /// Drift until the cloud's X reaches `xLim`.  True when the limit (or
    /// the cathode) was reached.
    bool DriftUntilXLim(IElectronCloud& cloud, double xLim);

    /// The common worker: drift to a time (`lim` after the present time) or
    /// to an X limit, and write the end state into the cloud.  The counters
    /// give the accepted steps, the calls of Step and of the X velocity, and
    /// the smallest accepted step.
    bool Drift(double lim, bool driftUntilXLim, IElectronCloud& cloud, int& nbrSteps,
               int& nbrStepCalls, int& nbrVCalls, double& hMin);

    /// One fourth-order Runge-Kutta step of `driftTime` from the position
    /// and time `x`.  With `useFirstKs` the first-stage slopes are those the
    /// last step without it stored, which must have started at `x`.
    TLorentzVector Step(const TLorentzVector& x, double charge, double driftTime, bool useFirstKs);

private:
    // Lets the unit tests reach the velocity equations and the counters.
    friend class IDriftManagerInspector;

    /// Drift with counters that are dropped afterwards.
    bool DriftWithoutCounters(double lim, bool driftUntilXLim, IElectronCloud& cloud);

    typedef double (IDriftManager::*Velocity)(double, TVector3, TVector3);

    double vx(double charge, TVector3 E, TVector3 B);
    double vy(double charge, TVector3 E, TVector3 B);
    double vz(double charge, TVector3 E, TVector3 B);

    /// The coordinate `axis` after one step, its three later stages taken on
    /// the line through `start` along that axis.
    double AdvanceAxis(int axis, Velocity velocity, double k1, const TVector3& start, double tstart,
                       double h, double charge, const TVector3& E);

    /// The first-stage slope: computed and stored in `cache`, or read back.
    double FirstSlope(Velocity velocity, double& cache, bool useFirstKs, double charge,
                      const TVector3& E, const TVector3& B1);

    /// One pass of step doubling around the full step `xtemp`.
    void ControlStep(const TLorentzVector& xtemp, double charge, double& h, TLorentzVector& xcurr,
                     TVector3& vcurr, double& meanDriftXVelocity, int& nbrSteps);

    /// Puts a cloud that crossed the central plane down at the cathode.
    bool CathodeReached(TLorentzVector& xcurr, const TVector3& vcurr, double startX);

    /// Takes back the overshoot of a passed limit; true when passed.
    bool LimitPassed(TLorentzVector& xcurr, const TVector3& vcurr, double lim, bool driftUntilXLim,
                     double initsign, double startTime) const;

    double fOmegaTau;
    double fMu;
    double fK1x;
    double fK1y;
    double fK1z;
    double fDriftVelocity;
    int fUseAdaptiveStepSize;
    double fInitialDriftStepTime;
    double fMaxDriftStepTime;
    double fMinDriftStepTime;
    double fErrorTol;
    int fMaxNbrDriftSteps;
    int fNbrStepCalls;
    int fNbrVxCalls;
    // Never used: the accepted steps of a drift are counted by the driver
    // and handed to the cloud.
    int fNbrSteps;
    double fMinUsedH;
    bool fInitialized;
    double fCathode;
};

#endif
