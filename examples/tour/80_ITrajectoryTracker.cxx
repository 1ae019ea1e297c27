// Trajectory tracking: a muon and an antimuon, simulated through a
// solenoid-like field and stored as a few points, are turned back into
// dense paths by helix steps through the same field.
#include "TourSection.hxx"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>
#include <vector>

#include <TCanvas.h>
#include <TEllipse.h>
#include <TGraph.h>
#include <TH1F.h>
#include <TLorentzVector.h>
#include <TVector3.h>

#include <IFieldManager.hxx>
#include <IG4Trajectory.hxx>

#include <ITrajectoryTracker.hxx>

using namespace ORVEX;

namespace {
    const double kCoilRadius = 1200.0;  // mm
    const double kYokeRadius = 1500.0;  // mm
    const double kHalfLength = 1500.0;  // mm

    /// The solenoid in tesla: 1 T along Z inside the coil, a weak return
    /// field between coil and yoke, nothing outside.
    TVector3 SolenoidTesla(const TVector3& at) {
        if (std::fabs(at.Z()) > kHalfLength) return TVector3(0, 0, 0);
        double r = at.Perp();
        if (r < kCoilRadius) return TVector3(0, 0, 1.0);
        if (r < kYokeRadius) return TVector3(0, 0, -0.2);
        return TVector3(0, 0, 0);
    }

    /// A fine simulation of the particle by Runge-Kutta steps of the Lorentz
    /// force, independent of the tracker: dx/ds = p/|p|, dp/ds =
    /// 0.3 q (p/|p|) x B in MeV/c per mm for B in tesla.
    struct State {
        TVector3 x, p;
    };

    State Derivative(const State& s, double charge) {
        TVector3 direction = s.p.Unit();
        return State{direction, 0.3 * charge * direction.Cross(SolenoidTesla(s.x))};
    }

    State Advance(const State& s, const State& d, double h) {
        return State{s.x + h * d.x, s.p + h * d.p};
    }

    std::vector<State> Simulate(State start, double charge, double length, double h) {
        std::vector<State> path{start};
        for (double s = 0; s < length; s += h) {
            const State& now = path.back();
            State k1 = Derivative(now, charge);
            State k2 = Derivative(Advance(now, k1, h / 2), charge);
            State k3 = Derivative(Advance(now, k2, h / 2), charge);
            State k4 = Derivative(Advance(now, k3, h), charge);
            path.push_back(State{now.x + (h / 6) * (k1.x + 2 * k2.x + 2 * k3.x + k4.x),
                                 now.p + (h / 6) * (k1.p + 2 * k2.p + 2 * k3.p + k4.p)});
        }
        return path;
    }

    /// What the simulation stores: one point in every `every` fine steps.
    IG4Trajectory Store(int pdg, const std::vector<State>& fine, std::size_t every) {
        IG4Trajectory trajectory(pdg);
        for (std::size_t i = 0; i < fine.size(); i += every) {
            trajectory.AddTrajectoryPoint(
                IG4TrajectoryPoint(TLorentzVector(fine[i].x, 0.0), fine[i].p));
        }
        return trajectory;
    }

    double DistanceToPath(const TVector3& point, const std::vector<State>& fine) {
        double best = 1e30;
        for (const State& s : fine) best = std::min(best, (s.x - point).Mag());
        return best;
    }

    struct Tracked {
        std::unique_ptr<TGraph> sparseXY, sparseZX, denseXY, denseZX;
    };

    Tracked TrackOne(ITrajectoryTracker& tracker, const char* name, int pdg, double charge,
                     const TVector3& momentum, int colour) {
        const double h = 0.5;
        std::vector<State> fine = Simulate(State{TVector3(0, 0, 0), momentum}, charge, 3000.0, h);
        IG4Trajectory trajectory = Store(pdg, fine, 1000);  // every 500 mm
        std::vector<TVector3> dense;
        IFieldManager::ResetLookupCount();
        int n = tracker.G4Track(trajectory, dense);
        double worst = 0;
        for (int i = 0; i < n; ++i) worst = std::max(worst, DistanceToPath(dense[i], fine));
        std::cout << name << ": " << trajectory.GetTrajectoryPoints().size() << " stored points -> "
                  << n << " dense points, " << IFieldManager::GetLookupCount()
                  << " field lookups; farthest"
                  << " dense point from the simulated path: " << worst << " mm" << std::endl;

        Tracked graphs{std::make_unique<TGraph>(), std::make_unique<TGraph>(),
                       std::make_unique<TGraph>(), std::make_unique<TGraph>()};
        for (const IG4TrajectoryPoint& point : trajectory.GetTrajectoryPoints()) {
            TVector3 x = point.GetPosition().Vect();
            graphs.sparseXY->AddPoint(x.X(), x.Y());
            graphs.sparseZX->AddPoint(x.Z(), x.X());
        }
        for (int i = 0; i < n; ++i) {
            graphs.denseXY->AddPoint(dense[i].X(), dense[i].Y());
            graphs.denseZX->AddPoint(dense[i].Z(), dense[i].X());
        }
        for (TGraph* sparse : {graphs.sparseXY.get(), graphs.sparseZX.get()}) {
            sparse->SetMarkerStyle(20);
            sparse->SetMarkerSize(1.2);
            sparse->SetMarkerColor(colour);
            sparse->SetLineColor(colour);
            sparse->SetLineStyle(2);
        }
        for (TGraph* path : {graphs.denseXY.get(), graphs.denseZX.get()}) {
            path->SetLineColor(colour);
            path->SetLineWidth(2);
        }
        return graphs;
    }

    void Tracking() {
        IFieldManager::SetFieldMap([](const TLorentzVector& at) {
            return 0.001 * SolenoidTesla(at.Vect());  // host unit: 0.001 per tesla
        });
        ITrajectoryTracker tracker;
        Tracked muon = TrackOne(tracker, "mu-", 13, -1.0, TVector3(240, 60, 120), 4);
        Tracked antimuon = TrackOne(tracker, "mu+", -13, +1.0, TVector3(-180, 160, -90), 2);
        IFieldManager::SetUniformField(TVector3(0, 0, 0));

        TCanvas canvas("trackingCanvas", "Sparse and dense paths", 1200, 600);
        canvas.Divide(2, 1);
        canvas.cd(1);
        TH1F* frame =
            gPad->DrawFrame(-2500, -2500, 2500, 2500, "Across the solenoid;X (mm);Y (mm)");
        frame->SetStats(false);
        TEllipse coil(0, 0, kCoilRadius), yoke(0, 0, kYokeRadius);
        for (TEllipse* circle : {&coil, &yoke}) {
            circle->SetFillStyle(0);
            circle->SetLineColor(16);
            circle->Draw();
        }
        for (Tracked* t : {&muon, &antimuon}) {
            t->sparseXY->Draw("PL");
            t->denseXY->Draw("L");
        }
        canvas.cd(2);
        gPad->DrawFrame(-1500, -1500, 1500, 1500, "Along the axis;Z (mm);X (mm)");
        for (Tracked* t : {&muon, &antimuon}) {
            t->sparseZX->Draw("PL");
            t->denseZX->Draw("L");
        }
        std::string picture = tour::OutputPath("trajectory_tracking.png");
        canvas.SaveAs(picture.c_str());
        std::cout << "stored points (markers, dashed) and dense paths (solid) in " << picture
                  << std::endl;
    }

    tour::Register trackingSection(80, "Trajectory tracking: dense paths through a solenoid",
                                   Tracking);
}
