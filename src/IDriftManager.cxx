#include "IDriftManager.hxx"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iostream>

#include <IFieldManager.hxx>
#include <IORVEXLog.hxx>

namespace {
    /// The calls of vx that one accepted pass of step doubling makes: 4 in
    /// the full step, 3 and 4 in the two half steps.
    const int kVxCallsPerPass = 11;

    /// The magnetic field at a position and time, in the host's unit.
    TVector3 FieldAt(const TVector3& position, double time) {
        return ORVEX::IFieldManager::GetFieldValue(TLorentzVector(position, time));
    }
}

ORVEX::IDriftManager::IDriftManager() : fInitialized(false) {}

ORVEX::IDriftManager::~IDriftManager() {}

void ORVEX::IDriftManager::InitializeFromDB(bool /*UseAdaptiveStepSize*/, double MaxDriftStepTime,
                                            double MinDriftStepTime, int MaxNbrDriftSteps,
                                            double ErrorTol, double InitialDriftStepTime,
                                            double OmegaTau, double Mu, double DriftVelocity) {
    InitializeFromDB(InitialDriftStepTime, OmegaTau, Mu, DriftVelocity);
    fUseAdaptiveStepSize = 1;
    fMaxDriftStepTime = MaxDriftStepTime;
    fMinDriftStepTime = MinDriftStepTime;
    fMaxNbrDriftSteps = MaxNbrDriftSteps;
    fErrorTol = ErrorTol;
}

void ORVEX::IDriftManager::InitializeFromDB(double InitialDriftStepTime, double OmegaTau, double Mu,
                                            double DriftVelocity) {
    fInitialized = true;
    fOmegaTau = OmegaTau;
    fMu = Mu;
    fDriftVelocity = DriftVelocity;
    fInitialDriftStepTime = InitialDriftStepTime;
    fCathode = 6.6;
    // Fixed steps: the bounds and the tolerance are never consulted.
    fUseAdaptiveStepSize = 0;
    fMaxDriftStepTime = InitialDriftStepTime + 1.0;
    fMinDriftStepTime = InitialDriftStepTime - 1.0;
    fMaxNbrDriftSteps = 1000;
    fErrorTol = 1000000.0;
}

// The three velocity components share the low-field branch and the
// Langevin form.  The bracket of vy has the opposite sign of the Ez term of
// the true cross product, and that of vz the opposite sign of the Ey term;
// the denominator of vz carries the charge squared.  Step only ever passes
// an E along X, for which these are the exact Langevin solution.

double ORVEX::IDriftManager::vx(double charge, TVector3 E, TVector3 B) {
    ++fNbrVxCalls;
    if (B.Mag() < 1e-05) return charge * fMu * E.X();
    double con = charge * fMu / (1 + fOmegaTau * fOmegaTau);
    double w = fOmegaTau / B.Mag();
    double s = (fOmegaTau * fOmegaTau * E).Dot(B) / B.Dot(B);
    return con * (E.X() - w * (E.Y() * B.Z() - E.Z() * B.Y()) + s * B.X());
}

double ORVEX::IDriftManager::vy(double charge, TVector3 E, TVector3 B) {
    if (B.Mag() < 1e-05) return charge * fMu * E.Y();
    double con = charge * fMu / (1 + fOmegaTau * fOmegaTau);
    double w = fOmegaTau / B.Mag();
    double s = (fOmegaTau * fOmegaTau * E).Dot(B) / B.Dot(B);
    return con * (E.Y() - w * (-E.Z() * B.X() - E.X() * B.Z()) + s * B.Y());
}

double ORVEX::IDriftManager::vz(double charge, TVector3 E, TVector3 B) {
    if (B.Mag() < 1e-05) return charge * fMu * E.Z();
    double con = charge * fMu / (1 + charge * charge * fOmegaTau * fOmegaTau);
    double w = fOmegaTau / B.Mag();
    double s = (fOmegaTau * fOmegaTau * E).Dot(B) / B.Dot(B);
    return con * (E.Z() - w * (E.Y() * B.X() + E.X() * B.Y()) + s * B.Z());
}

double ORVEX::IDriftManager::FirstSlope(Velocity velocity, double& cache, bool useFirstKs,
                                        double charge, const TVector3& E, const TVector3& B1) {
    if (!useFirstKs) cache = (this->*velocity)(charge, E, B1);
    return cache;
}

double ORVEX::IDriftManager::AdvanceAxis(int axis, Velocity velocity, double k1,
                                         const TVector3& start, double tstart, double h,
                                         double charge, const TVector3& E) {
    TVector3 stage = start;
    stage[axis] = start[axis] + (h / 2) * k1;
    double k2 = (this->*velocity)(charge, E, FieldAt(stage, tstart + h / 2));
    stage[axis] = start[axis] + (h / 2) * k2;
    double k3 = (this->*velocity)(charge, E, FieldAt(stage, tstart + h / 2));
    stage[axis] = start[axis] + h * k3;
    double k4 = (this->*velocity)(charge, E, FieldAt(stage, tstart + h));
    return start[axis] + (h / 6) * (k1 + 2 * k2 + 2 * k3 + k4);
}

// Each axis is advanced by itself, in the order X, Y, Z, with the field
// sampled on the line through the start point along that axis; a field map
// that keeps state sees the lookups in that order.
TLorentzVector ORVEX::IDriftManager::Step(const TLorentzVector& x, double charge, double driftTime,
                                          bool useFirstKs) {
    ++fNbrStepCalls;
    const double h = driftTime;
    TVector3 xstart = x.Vect();
    double tstart = x.T();
    double Ex = -fDriftVelocity / fMu;
    TVector3 E;
    if (xstart.X() > 0) {
        E.SetXYZ(Ex, 0, 0);
    } else if (xstart.X() < 0) {
        E.SetXYZ(-Ex, 0, 0);
    } else {
        // On the plane itself (or at a NaN position) the field has no
        // direction: the point stays where it is, and T doesn't advance.
        std::cout << "IDriftVolume::Step, drift electron started exactly on central "
                     "cathod and stayed there!"
                  << std::endl;
        return x;
    }
    TVector3 B1(0, 0, 0);
    if (!useFirstKs) B1 = FieldAt(xstart, tstart);
    double k1x = FirstSlope(&IDriftManager::vx, fK1x, useFirstKs, charge, E, B1);
    double xnew = AdvanceAxis(0, &IDriftManager::vx, k1x, xstart, tstart, h, charge, E);
    double k1y = FirstSlope(&IDriftManager::vy, fK1y, useFirstKs, charge, E, B1);
    double ynew = AdvanceAxis(1, &IDriftManager::vy, k1y, xstart, tstart, h, charge, E);
    double k1z = FirstSlope(&IDriftManager::vz, fK1z, useFirstKs, charge, E, B1);
    double znew = AdvanceAxis(2, &IDriftManager::vz, k1z, xstart, tstart, h, charge, E);
    return TLorentzVector(xnew, ynew, znew, tstart + h);
}

bool ORVEX::IDriftManager::DriftWithoutCounters(double lim, bool driftUntilXLim,
                                                IElectronCloud& cloud) {
    int nbrSteps = 0;
    int nbrStepCalls = 0;
    int nbrVCalls = 0;
    double hMin = 0;
    return Drift(lim, driftUntilXLim, cloud, nbrSteps, nbrStepCalls, nbrVCalls, hMin);
}

bool ORVEX::IDriftManager::DriftUntilTLim(IElectronCloud& cloud, double tLim) {
    return DriftWithoutCounters(tLim, false, cloud);
}

bool ORVEX::IDriftManager::DriftUntilXLim(IElectronCloud& cloud, double xLim) {
    // Only a cloud on the negative side is checked; the mirror case goes on.
    if (cloud.GetPosition().X() < 0 && xLim > 0) {
        std::cout << "WARNING in IDriftManager::DriftUntilXLim: negative value for xLim "
                     "expected"
                  << std::endl;
        return false;
    }
    return DriftWithoutCounters(xLim, true, cloud);
}

bool ORVEX::IDriftManager::Drift(double lim, bool driftUntilXLim, IElectronCloud& cloud,
                                 int& nbrSteps, int& nbrStepCalls, int& nbrVCalls, double& hMin) {
    if (!fInitialized) {
        std::cerr << "IDriftManager not initialized !!!!" << std::endl;
        return false;
    }
    // The call counts are handed back as ints, and a drift that uses up its
    // budget makes at least kVxCallsPerPass calls of vx per step.  A larger
    // budget would overflow them; at 29 field lookups a pass it is hours of
    // work that no drift across a volume comes near, and is only ever met
    // with a limit that the drift never reaches.
    if (fMaxNbrDriftSteps > INT_MAX / kVxCallsPerPass) {
        ORVEXError("ORVEX::IDriftManager::Drift: MaxNbrDriftSteps "
                   << fMaxNbrDriftSteps << " exceeds " << INT_MAX / kVxCallsPerPass
                   << ", the most steps whose calls an int counts");
        throw EDriftRunaway();
    }
    fNbrStepCalls = 0;
    fNbrVxCalls = 0;
    fMinUsedH = 99999999.0;
    nbrSteps = 0;

    double h = fInitialDriftStepTime;
    double startTime = cloud.GetTime();
    double charge = cloud.GetCharge();
    TLorentzVector xcurr(cloud.GetPosition(), cloud.GetTime());
    TVector3 vcurr = cloud.GetVelocity();
    double startX = cloud.GetStartPosition().X();

    double initsign = 0;
    if (driftUntilXLim) {
        initsign = xcurr.X() - lim;
    } else if (xcurr.T() - startTime > lim) {
        return false;
    }

    double meanDriftXVelocity = 0;
    bool reachedTheLim = false;
    while (!reachedTheLim && nbrSteps < fMaxNbrDriftSteps) {
        const int stepsBefore = nbrSteps;
        const double hBefore = h;
        TLorentzVector xtemp = Step(xcurr, charge, h, false);
        if (fUseAdaptiveStepSize != 0) {
            ControlStep(xtemp, charge, h, xcurr, vcurr, meanDriftXVelocity, nbrSteps);
        } else {
            vcurr = (xtemp.Vect() - xcurr.Vect()) * (1 / h);
            xcurr = xtemp;
            meanDriftXVelocity += vcurr.X();
            nbrSteps += 1;
        }
        // Runs on every pass, a rejected one too, and can also clear the flag.
        reachedTheLim = CathodeReached(xcurr, vcurr, startX);
        if (LimitPassed(xcurr, vcurr, lim, driftUntilXLim, initsign, startTime)) {
            reachedTheLim = true;
        }
        // A rejected pass that leaves the step as it was is repeated from the
        // same point with the same step, and rejected again, for ever: an
        // exact step (error 0) with an ErrorTol of 0 or less does this.
        if (!reachedTheLim && nbrSteps == stepsBefore && h == hBefore) {
            ORVEXError("ORVEX::IDriftManager::Drift: step "
                       << h << " rejected again at (" << xcurr.X() << ", " << xcurr.Y() << ", "
                       << xcurr.Z() << ") with ErrorTol " << fErrorTol);
            throw EDriftRunaway();
        }
    }
    // Also when the last allowed step reached the limit.
    if (nbrSteps >= fMaxNbrDriftSteps) {
        std::cout << "WARNING! in IDriftManager::Drift: Max number drift steps was reached"
                  << std::endl;
    }
    nbrStepCalls = fNbrStepCalls;
    nbrVCalls = fNbrVxCalls;
    hMin = fMinUsedH;
    if (nbrSteps > 0) meanDriftXVelocity /= nbrSteps;

    cloud.SetPosition(xcurr.Vect());
    cloud.SetVelocity(vcurr);
    cloud.SetTime(xcurr.T());
    cloud.SetNumberDriftSteps(nbrSteps);
    cloud.SetIsDrifted(true);
    cloud.SetMeanDriftXVelocity(meanDriftXVelocity);
    return reachedTheLim;
}

// Step doubling: the full step is compared with two half steps, and the
// single full step is the one kept.  The next step follows from the error
// by the power 0.25 with a factor 2 and nothing else, bounded above by the
// largest step.  A step that would fall under the smallest is put just
// under it, so that the next pass is accepted (with a warning) and the loop
// can't stall on rejections.
void ORVEX::IDriftManager::ControlStep(const TLorentzVector& xtemp, double charge, double& h,
                                       TLorentzVector& xcurr, TVector3& vcurr,
                                       double& meanDriftXVelocity, int& nbrSteps) {
    // The first half step starts where the full one did: its slopes are reused.
    TLorentzVector xmid = Step(xcurr, charge, h / 2, true);
    TLorentzVector xhalfh = Step(xmid, charge, h / 2, false);
    double errorEst = (xhalfh.Vect() - xtemp.Vect()).Mag();
    // A NaN error (from a NaN position or field) or a NaN tolerance is
    // never compared true: no pass would ever be accepted.
    if (std::isnan(errorEst) || std::isnan(fErrorTol)) {
        ORVEXError("ORVEX::IDriftManager::Drift: step "
                   << h << " from (" << xcurr.X() << ", " << xcurr.Y() << ", " << xcurr.Z()
                   << ") at time " << xcurr.T() << " has error estimate " << errorEst
                   << " against ErrorTol " << fErrorTol);
        throw EDriftNotANumber();
    }
    if (fErrorTol > errorEst || fMinDriftStepTime > h) {
        vcurr = (xtemp.Vect() - xcurr.Vect()) * (1 / h);
        meanDriftXVelocity += vcurr.X();
        xcurr = xtemp;
        nbrSteps += 1;
        if (fMinUsedH > h) fMinUsedH = h;
        if (fMinDriftStepTime > h) {
            std::cout << "WARNING in IElectronCloud::Drift: Minimal step size reached" << std::endl;
        }
    }
    if (errorEst > 1e-08) {
        h = h * std::pow(fErrorTol / (2 * errorEst), 0.25);
    } else {
        h = fMaxDriftStepTime;
    }
    if (fMinDriftStepTime > h) h = fMinDriftStepTime - 1e-06;
    h = std::min(fMaxDriftStepTime, h);
}

// A cloud that crossed the central plane is put down at the signed cathode
// position, and its time is taken back by the distance over the X speed.
// A cloud that came from X <= 0 flips the sign of the cathode for good (until
// the next set-up), and then meets both corrections, so that its time is
// taken back twice.  A cloud that lands on X = 0 stays there as it is.
bool ORVEX::IDriftManager::CathodeReached(TLorentzVector& xcurr, const TVector3& vcurr,
                                          double startX) {
    bool crossed = (xcurr.X() > 0 && startX <= 0) || (xcurr.X() <= 0 && startX > 0);
    if (!crossed) return false;
    std::cout << "WARNING, cloud reached and passed cathode" << std::endl;
    if (startX <= 0) fCathode = -fCathode;
    double timeCorrection = 0;
    if (vcurr.X() != 0) timeCorrection = std::fabs(xcurr.X() - fCathode) / std::fabs(vcurr.X());
    if (xcurr.X() > 0) {
        xcurr.SetXYZT(fCathode, xcurr.Y(), xcurr.Z(), xcurr.T() - timeCorrection);
    }
    if (xcurr.X() < 0) {
        xcurr.SetXYZT(fCathode, xcurr.Y(), xcurr.Z(), xcurr.T() - timeCorrection);
    }
    return true;
}

// The overshoot of the last step is taken back along X and in time only, by
// linear interpolation with the last step's velocity; Y and Z stay where the
// step put them.  Landing exactly on the limit doesn't count.
bool ORVEX::IDriftManager::LimitPassed(TLorentzVector& xcurr, const TVector3& vcurr, double lim,
                                       bool driftUntilXLim, double initsign,
                                       double startTime) const {
    if (driftUntilXLim) {
        double sign = xcurr.X() - lim;
        if (!((sign < 0 && initsign > 0) || (sign > 0 && initsign < 0))) return false;
        double timeCorrection = 0;
        if (vcurr.X() != 0) timeCorrection = std::fabs(sign) / std::fabs(vcurr.X());
        xcurr.SetXYZT(lim, xcurr.Y(), xcurr.Z(), xcurr.T() - timeCorrection);
        return true;
    }
    double dT = xcurr.T() - startTime - lim;
    if (!(xcurr.T() - startTime > lim)) return false;
    double xCorrection = dT * vcurr.X();
    xcurr.SetXYZT(xcurr.X() - xCorrection, xcurr.Y(), xcurr.Z(), startTime + lim);
    return true;
}
