#ifndef ovReco_RecoEvent_hxx_seen
#define ovReco_RecoEvent_hxx_seen
// The events of a small time projection chamber, simulated and
// reconstructed one at a time so that an event loop (RDataFrame, local or
// distributed) can call these functions on each entry.
//
// The chamber: the drift runs along X from the cathode side (X = -10 mm) to
// the readout plane (X = -600 mm), and the pads of the readout plane are
// 4 mm squares in Y and Z.  A uniform 0.2 T field along X bends the tracks
// in the pad plane, so that a track's X grows linearly with its transverse
// path length.  Lengths in mm, times in microseconds, momenta in MeV/c.
#include <ROOT/RVec.hxx>
#include <vector>

namespace reco {
    /// The field along X, in tesla.
    constexpr double kField = 0.2;
    /// The readout plane, where the drift ends.
    constexpr double kReadoutX = -600.0;
    /// The end of the sensitive volume on the cathode side.
    constexpr double kCathodeSideX = -10.0;
    /// The sensitive volume along Z (the beam) and half its height in Y.
    constexpr double kZMin = 0.0;
    constexpr double kZMax = 800.0;
    constexpr double kHalfY = 400.0;
    /// The side of a square pad.
    constexpr double kPad = 4.0;
    /// The nominal drift speed (mm per microsecond), from which the
    /// reconstruction turns arrival times into X.
    constexpr double kDriftVelocity = 78.0;
    /// Diffusion of one electron, in mm per square root of mm drifted.
    constexpr double kTranDiff = 0.075;
    constexpr double kLongDiff = 0.085;

    /// One simulated event: the hits of the readout and the truth.
    struct SimEvent {
        /// Hit X from the arrival time, Y and Z of the pad centre, charge in
        /// electrons, and the track that made it: -1 for noise, -2 for a
        /// large deposit.
        std::vector<double> hit_x, hit_y, hit_z, hit_q;
        std::vector<int> hit_track;
        /// Each track's helix where it enters the chamber: transverse
        /// momentum, charge, slope of X against transverse path length,
        /// direction in the pad plane (from Z towards Y), start point.
        std::vector<double> track_pt, track_tanl, track_phi, track_x0, track_y0, track_z0;
        std::vector<int> track_q, track_nhits;
        /// Seconds spent in the trajectory tracker and in the drift.
        double time_tracker = 0, time_drift = 0;
    };

    /// The event `event` of the run of seed `seed`: the same pair always
    /// gives the same event, whatever else the process did before.
    SimEvent Simulate(unsigned long long event, unsigned seed);

    /// What the reconstruction makes of one event.
    struct RecoEvent {
        /// The combo hits of the charge clusterer: position, charge, members.
        std::vector<double> cluster_x, cluster_y, cluster_z, cluster_q;
        std::vector<int> cluster_n;
        /// Per candidate line of the Hough space in the (Z, X) projection:
        /// its angle, radius and number of combo hits.
        std::vector<double> line_angle, line_radius;
        std::vector<int> line_n;
        /// The straight-line fit of X against transverse path length, over
        /// the fit_n combo hits that the circle fit kept.
        std::vector<double> fit_tanl, fit_tanl_err, fit_x0, fit_chi2;
        std::vector<int> fit_n, fit_ndf;
        /// The circle fit in the pad plane at the first combo hit: Y, the
        /// direction, the signed curvature (1/mm) with its error, chi-square,
        /// and the transverse momentum and charge it gives.
        std::vector<double> circle_z, circle_y, circle_phi, circle_kappa, circle_kappa_err,
            circle_chi2, pt, pt_err;
        std::vector<int> charge;
        /// The Kalman filter along Z at the last combo hit: X, Y and their
        /// slopes along Z, with errors, and the sum of the innovation
        /// chi-squares.
        std::vector<double> kal_x, kal_y, kal_dxdz, kal_dydz, kal_dxdz_err, kal_dydz_err, kal_chi2;
        std::vector<int> kal_ndf;
        /// The truth track giving most of the line's hits (-1 when it gives
        /// half or less), and that share.
        std::vector<int> match_track;
        std::vector<double> match_purity;
        /// Seconds spent in each family for this event.
        double time_clusters = 0, time_hough = 0, time_linefit = 0, time_kalman = 0,
               time_minuit = 0;
    };

    /// Reconstructs the hits of one event; `track` is the truth of each hit,
    /// used only to match the lines found.
    RecoEvent Reconstruct(const ROOT::RVecD& x, const ROOT::RVecD& y, const ROOT::RVecD& z,
                          const ROOT::RVecD& q, const ROOT::RVecI& track);
}

#endif
