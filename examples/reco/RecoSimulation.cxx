// The simulation of one event: helices through the chamber made dense by
// the trajectory tracker, ionisation along them drifted to the readout,
// electrons turned into pad hits, with noise hits and large deposits.
#include "RecoEvent.hxx"

#include <chrono>
#include <cmath>
#include <cstdint>

#include <TLorentzVector.h>
#include <TRandom.h>
#include <TVector3.h>

#include <IDriftManager.hxx>
#include <IElectronCloud.hxx>
#include <IFieldManager.hxx>
#include <IG4Trajectory.hxx>
#include <ITrajectoryTracker.hxx>

namespace {
    using Clock = std::chrono::steady_clock;

    double Seconds(Clock::time_point since) {
        return std::chrono::duration<double>(Clock::now() - since).count();
    }

    /// A seed of its own for each event, mixed from the run's seed and the
    /// event number (splitmix64), so that an event does not depend on the
    /// events simulated before it in the same process.
    unsigned EventSeed(unsigned long long event, unsigned seed) {
        std::uint64_t z = (static_cast<std::uint64_t>(seed) << 32) + event + 0x9e3779b97f4a7c15ULL;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        z ^= z >> 31;
        // TRandom3 takes a seed of 0 to mean "from the clock".
        return static_cast<unsigned>(z >> 32) | 1u;
    }

    bool Inside(const TVector3& p) {
        return p.X() > reco::kReadoutX && p.X() < reco::kCathodeSideX && p.Z() >= reco::kZMin &&
               p.Z() <= reco::kZMax && std::fabs(p.Y()) <= reco::kHalfY;
    }

    double PadCentre(double coordinate) {
        return (std::floor(coordinate / reco::kPad) + 0.5) * reco::kPad;
    }

    /// A helix about X: the direction in the pad plane turns by q t / R
    /// after a transverse path length t, and X grows by tanl t.
    struct Helix {
        double pt, tanl, phi, x0, y0, z0;
        int q;
        double Radius() const { return pt / (0.3 * reco::kField); }
        TVector3 At(double t) const {
            double r = Radius() / q, phiT = phi + t * q / Radius();
            return TVector3(x0 + tanl * t, y0 - r * (std::cos(phiT) - std::cos(phi)),
                            z0 + r * (std::sin(phiT) - std::sin(phi)));
        }
        TVector3 Momentum(double t) const {
            double phiT = phi + t * q / Radius();
            return TVector3(pt * tanl, pt * std::sin(phiT), pt * std::cos(phiT));
        }
    };

    /// What the simulation would store of the helix: a point every 100 mm
    /// of transverse path while inside the chamber.
    ORVEX::IG4Trajectory StoredTrajectory(const Helix& helix) {
        ORVEX::IG4Trajectory trajectory(helix.q < 0 ? 13 : -13);
        for (double t = 0; Inside(helix.At(t)); t += 100.0) {
            trajectory.AddTrajectoryPoint(
                ORVEX::IG4TrajectoryPoint(TLorentzVector(helix.At(t), 0.0), helix.Momentum(t)));
        }
        return trajectory;
    }

    void AddHit(reco::SimEvent& event, double x, double y, double z, double q, int track) {
        event.hit_x.push_back(x);
        event.hit_y.push_back(PadCentre(y));
        event.hit_z.push_back(PadCentre(z));
        event.hit_q.push_back(q);
        event.hit_track.push_back(track);
    }

    /// Ionisation every 2 mm along the dense path, each cloud drifted to the
    /// readout; its electrons arrive as one pad hit whose time and place
    /// carry the diffusion of their mean.
    int Ionise(reco::SimEvent& event, const std::vector<TVector3>& path, int n, int track,
               ORVEX::IDriftManager& drift) {
        const double step = 2.0;
        int hits = 0;
        double travelled = 0;
        for (int i = 1; i < n; ++i) {
            travelled += (path[i] - path[i - 1]).Mag();
            if (travelled < step) continue;
            travelled -= step;
            if (!Inside(path[i])) continue;
            int electrons = std::max(1, static_cast<int>(gRandom->Poisson(20.0)));
            ORVEX::IElectronCloud cloud(electrons, path[i], TVector3(), 0.0, -1);
            if (!drift.DriftUntilXLim(cloud, reco::kReadoutX)) continue;
            double spread = 1.0 / std::sqrt(electrons);
            double time = cloud.GetRandomArrivalTime(reco::kLongDiff * spread);
            TVector3 arrival = cloud.GetAnElectronsPosition(reco::kTranDiff * spread,
                                                            reco::kLongDiff * spread, false);
            AddHit(event, reco::kReadoutX + reco::kDriftVelocity * time, arrival.Y(), arrival.Z(),
                   electrons, track);
            ++hits;
        }
        return hits;
    }

    /// A point drawn uniformly in the sensitive volume.
    TVector3 AnywhereInside() {
        double x = gRandom->Uniform(reco::kReadoutX, reco::kCathodeSideX);
        double y = gRandom->Uniform(-reco::kHalfY, reco::kHalfY);
        double z = gRandom->Uniform(reco::kZMin, reco::kZMax);
        return TVector3(x, y, z);
    }
}

reco::SimEvent reco::Simulate(unsigned long long eventNumber, unsigned seed) {
    gRandom->SetSeed(EventSeed(eventNumber, seed));
    ORVEX::IFieldManager::SetUniformField(TVector3(0.001 * kField, 0, 0));
    // The tracker loads ROOT's particle table once for the process.
    static ORVEX::ITrajectoryTracker tracker;
    ORVEX::IDriftManager drift;
    drift.InitializeFromDB(true, 2.0, 0.01, 100000, 0.01, 0.5, 0.3, 0.3, kDriftVelocity);

    SimEvent event;
    int tracks = 2 + static_cast<int>(gRandom->Poisson(2.0));
    std::vector<TVector3> path;
    for (int track = 0; track < tracks; ++track) {
        // Tracks come in through the upstream face, the momenta spread
        // evenly in 1/pt between 150 MeV/c and 3 GeV/c.
        Helix helix;
        helix.pt = 1.0 / gRandom->Uniform(1.0 / 3000.0, 1.0 / 150.0);
        helix.q = gRandom->Uniform() < 0.5 ? -1 : 1;
        helix.tanl = gRandom->Uniform(-0.25, 0.25);
        helix.phi = gRandom->Uniform(-0.25, 0.25);
        helix.x0 = gRandom->Uniform(kReadoutX + 50, kCathodeSideX - 50);
        helix.y0 = gRandom->Uniform(-0.8 * kHalfY, 0.8 * kHalfY);
        helix.z0 = kZMin;
        event.track_pt.push_back(helix.pt);
        event.track_q.push_back(helix.q);
        event.track_tanl.push_back(helix.tanl);
        event.track_phi.push_back(helix.phi);
        event.track_x0.push_back(helix.x0);
        event.track_y0.push_back(helix.y0);
        event.track_z0.push_back(helix.z0);

        Clock::time_point start = Clock::now();
        ORVEX::IG4Trajectory trajectory = StoredTrajectory(helix);
        int n = tracker.G4Track(trajectory, path);
        event.time_tracker += Seconds(start);
        start = Clock::now();
        event.track_nhits.push_back(Ionise(event, path, n, track, drift));
        event.time_drift += Seconds(start);
    }
    // Noise on single pads, with little charge.
    int noise = static_cast<int>(gRandom->Poisson(30.0));
    for (int i = 0; i < noise; ++i) {
        TVector3 p = AnywhereInside();
        AddHit(event, p.X(), p.Y(), p.Z(), 1.0 + gRandom->Exp(4.0), -1);
    }
    // A few large deposits: a blob of heavy hits a couple of pads wide.
    int deposits = static_cast<int>(gRandom->Poisson(1.0));
    for (int i = 0; i < deposits; ++i) {
        TVector3 centre = AnywhereInside();
        for (int j = 0; j < 25; ++j) {
            double dy = gRandom->Gaus(0, 4.0), dz = gRandom->Gaus(0, 4.0);
            double dx = gRandom->Gaus(0, 3.0);
            double charge = 300.0 * std::exp(-std::sqrt(dy * dy + dz * dz) / 4.0);
            AddHit(event, centre.X() + dx, centre.Y() + dy, centre.Z() + dz, charge, -2);
        }
    }
    return event;
}
