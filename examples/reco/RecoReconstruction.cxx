// The reconstruction of one event: charge clusters into combo hits, Hough
// lines in the (Z, X) projection, and for each line a circle fit in the pad
// plane (Minuit), a straight-line fit of X against the transverse path
// length, and a Kalman filter along Z.
#include "RecoEvent.hxx"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <memory>
#include <utility>

#include <TMath.h>
#include <TMatrixT.h>
#include <TVectorT.h>

#include <IChargeClusters.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IHoughLines.hxx>
#include <IKalmanFilter.hxx>
#include <ILineFit.hxx>
#include <IMinimizer.hxx>
#include <TMinuitMinimizer.hxx>

namespace {
    using Clock = std::chrono::steady_clock;

    double Seconds(Clock::time_point since) {
        return std::chrono::duration<double>(Clock::now() - since).count();
    }

    /// The spread of a pad centre about the true place, in Y and in Z.
    const double kPadSigma = reco::kPad / std::sqrt(12.0);
    /// The fewest combo hits that make a candidate line.
    const std::size_t kMinLinePoints = 15;
    /// The largest chi-square per degree of freedom of the fit of X along
    /// the track for a track to be kept.
    const double kMaxChi2PerNdf = 4.0;
    /// The shortest stretch along Z that a candidate line must span, in mm.
    const double kMinLineSpan = 100.0;

    /// A combo hit as the reconstruction uses it.
    struct Cluster {
        double x, y, z, q;
        std::vector<int> members;  ///< indices of the event's hits
    };

    /// A combo hit in the Hough space of the (Z, X) projection.
    class ClusterPoint : public ORVEX::IHoughPoint {
    public:
        ClusterPoint(const Cluster& cluster, int index)
            : fZ(cluster.z), fX(cluster.x), fIndex(index) {}
        double GetX() const override { return fZ; }
        double GetY() const override { return fX; }
        int Index() const { return fIndex; }

    private:
        double fZ, fX;
        int fIndex;
    };

    /// The error of the X of a combo hit: longitudinal diffusion of the mean
    /// of its electrons.
    double DriftSigma(const Cluster& c) {
        return reco::kLongDiff * std::sqrt(std::max(c.x - reco::kReadoutX, 1.0) / c.q);
    }

    std::vector<Cluster> FindClusters(const ROOT::RVecD& x, const ROOT::RVecD& y,
                                      const ROOT::RVecD& z, const ROOT::RVecD& q) {
        ORVEX::IHitSelection hits;
        for (std::size_t i = 0; i < x.size(); ++i) {
            hits.push_back(ORVEX::IHandle<ORVEX::IHit>(
                new ORVEX::ISingleHit(static_cast<int>(i), q[i], TVector3(x[i], y[i], z[i]))));
        }
        // Hits of one pad close in time are one cluster.
        ORVEX::IChargeClusters clusterer(3.0, 0.1, 0.1);
        std::unique_ptr<ORVEX::IHitSelection> combos(clusterer(hits));
        std::vector<Cluster> clusters;
        for (const ORVEX::IHandle<ORVEX::IHit>& hit : *combos) {
            ORVEX::IHandle<ORVEX::IComboHit> combo(hit);
            const TVector3& p = combo->GetPosition();
            Cluster c{p.X(), p.Y(), p.Z(), combo->GetCharge(), {}};
            for (const ORVEX::IHandle<ORVEX::IHit>& member : combo->GetHits()) {
                c.members.push_back(member->GetGeomId().AsInt());
            }
            clusters.push_back(c);
        }
        return clusters;
    }

    /// The combo hits of each line with enough of them, heaviest line first,
    /// once every combo hit has been given to one line only.
    std::vector<std::pair<const ORVEX::IHoughLine*, std::vector<int>>> FindLines(
        const std::vector<Cluster>& clusters) {
        // The grid is built once for the process and emptied for each event.
        static ORVEX::IHoughLines space(reco::kZMin, reco::kReadoutX, reco::kZMax,
                                        reco::kCathodeSideX, 10.0, 2.0, 800.0);
        space.Clear();
        for (std::size_t i = 0; i < clusters.size(); ++i) {
            space.AddPoint(new ClusterPoint(clusters[i], static_cast<int>(i)));
        }
        space.RemoveShared(0.999);
        std::vector<std::pair<const ORVEX::IHoughLine*, std::vector<int>>> lines;
        for (ORVEX::IHoughLine& line : space.GetLines()) {
            const ORVEX::IHoughLine::Points& points = std::as_const(line).GetPoints();
            if (points.size() < kMinLinePoints) continue;
            std::vector<int> members;
            for (const ORVEX::IHoughPoint* point : points) {
                members.push_back(static_cast<const ClusterPoint*>(point)->Index());
            }
            lines.emplace_back(&line, members);
        }
        std::stable_sort(lines.begin(), lines.end(), [](const auto& a, const auto& b) {
            return a.second.size() > b.second.size();
        });
        return lines;
    }

    /// A circle in the pad plane through (z0, y0), leaving it in the
    /// direction phi (from Z towards Y) and turning by kappa per mm.
    struct Circle {
        double z0, y0, phi, kappa;
        /// The distance of (z, y) from the circle.
        double Distance(double z, double y) const {
            if (std::fabs(kappa) < 1e-12) {
                return (y - y0) * std::cos(phi) - (z - z0) * std::sin(phi);
            }
            double zc = z0 - std::sin(phi) / kappa, yc = y0 + std::cos(phi) / kappa;
            return std::hypot(z - zc, y - yc) - 1.0 / std::fabs(kappa);
        }
        /// The transverse path length from (z0, y0) to the point of the
        /// circle nearest (z, y).
        double PathLength(double z, double y) const {
            if (std::fabs(kappa) < 1e-9) return (z - z0) * std::cos(phi) + (y - y0) * std::sin(phi);
            double zc = z0 - std::sin(phi) / kappa, yc = y0 + std::cos(phi) / kappa;
            double direction = std::atan2(kappa * (z - zc), -kappa * (y - yc));
            return std::remainder(direction - phi, 2 * M_PI) / kappa;
        }
        /// The direction at the transverse path length t.
        double DirectionAt(double t) const { return phi + kappa * t; }
    };

    /// The chi-square of combo hits about a circle, over (y0, phi, kappa).
    class CircleChi2 : public ORVEX::IMinimizerFunc {
    public:
        CircleChi2(const std::vector<const Cluster*>& points, double z0)
            : ORVEX::IMinimizerFunc(3), fPoints(points), fZ0(z0) {
            SetScale(0, 1.0);
            SetScale(1, 0.01);
            SetScale(2, 1e-5);
        }
        double Evaluate(const double* par, double*) override {
            Circle circle{fZ0, par[0], par[1], par[2]};
            double chi2 = 0;
            for (const Cluster* c : fPoints) {
                double d = circle.Distance(c->z, c->y) / kPadSigma;
                chi2 += d * d;
            }
            return chi2;
        }

    private:
        const std::vector<const Cluster*>& fPoints;
        double fZ0;
    };

    /// The signed curvature of the circle through three points in order.
    double ThreePointCurvature(const Cluster& a, const Cluster& b, const Cluster& c) {
        double cross = (b.z - a.z) * (c.y - b.y) - (b.y - a.y) * (c.z - b.z);
        double product = std::hypot(b.z - a.z, b.y - a.y) * std::hypot(c.z - b.z, c.y - b.y) *
                         std::hypot(c.z - a.z, c.y - a.y);
        return product > 0 ? 2 * cross / product : 0.0;
    }

    /// The circle through three combo hits, taken at the middle one.
    Circle ThroughThree(const Cluster& a, const Cluster& b, const Cluster& c) {
        double kappa = ThreePointCurvature(a, b, c);
        if (kappa == 0) return Circle{b.z, b.y, std::atan2(c.y - a.y, c.z - a.z), 0.0};
        // The centre, from b, where the perpendicular bisectors meet.
        double az = a.z - b.z, ay = a.y - b.y, cz = c.z - b.z, cy = c.y - b.y;
        double d = 2 * (az * cy - ay * cz);
        double a2 = az * az + ay * ay, c2 = cz * cz + cy * cy;
        double zc = (cy * a2 - ay * c2) / d, yc = (az * c2 - cz * a2) / d;
        return Circle{b.z, b.y, std::atan2(-kappa * zc, kappa * yc), kappa};
    }

    /// Combo hits this close to a seed circle belong to its track, in mm.
    const double kSeedRoad = 3.0;

    /// Two tracks that share a line in the (Z, X) projection part in the
    /// pad plane.  Of the circles through three combo hits, one from each
    /// third of the line, the one with most combo hits near it is the seed.
    Circle Seed(const std::vector<const Cluster*>& points) {
        const std::size_t third = points.size() / 3, tries = 6;
        Circle best{0, 0, 0, 0};
        std::size_t bestCount = 0;
        for (std::size_t i = 0; i < tries; ++i) {
            for (std::size_t j = 0; j < tries; ++j) {
                for (std::size_t k = 0; k < tries; ++k) {
                    Circle circle =
                        ThroughThree(*points[i * third / tries], *points[third + j * third / tries],
                                     *points[2 * third + k * third / tries]);
                    std::size_t count = std::count_if(points.begin(), points.end(), [&](auto c) {
                        return std::fabs(circle.Distance(c->z, c->y)) < kSeedRoad;
                    });
                    if (count > bestCount) {
                        best = circle;
                        bestCount = count;
                    }
                }
            }
        }
        return best;
    }

    /// True when the combo hits stretch along Z as a track does: a large
    /// deposit puts many combo hits on every line through it, and the
    /// middle 80 % of them lie close together.
    bool SpansTrack(const std::vector<Cluster>& clusters, const std::vector<int>& members) {
        std::vector<double> z;
        for (int i : members) z.push_back(clusters[i].z);
        std::sort(z.begin(), z.end());
        std::size_t tail = z.size() / 10;
        return z[z.size() - 1 - tail] - z[tail] >= kMinLineSpan;
    }

    /// The truth track with most hits on the track, kept when it has more
    /// than half of them.
    void Match(const std::vector<const Cluster*>& points, const ROOT::RVecI& truth,
               reco::RecoEvent& out) {
        std::map<int, int> counts;
        int total = 0;
        for (const Cluster* c : points) {
            for (int hit : c->members) {
                ++counts[truth[hit]];
                ++total;
            }
        }
        auto best =
            std::max_element(counts.begin(), counts.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        double purity = static_cast<double>(best->second) / total;
        out.match_track.push_back(best->first >= 0 && purity > 0.5 ? best->first : -1);
        out.match_purity.push_back(purity);
    }

    /// Fits the track of a seed circle among the combo hits `members` of a
    /// Hough line, writes it to `out` and returns the combo hits left off
    /// it; writes nothing and returns none when the seed has too few.
    std::vector<int> FitTrack(const std::vector<Cluster>& clusters, std::vector<int> members,
                              const ORVEX::IHoughLine& line, const ROOT::RVecI& truth,
                              reco::RecoEvent& out) {
        std::sort(members.begin(), members.end(), [&](int a, int b) {
            return clusters[a].z < clusters[b].z ||
                   (clusters[a].z == clusters[b].z && clusters[a].y < clusters[b].y);
        });
        std::vector<const Cluster*> points;
        for (int i : members) points.push_back(&clusters[i]);
        Circle seed = Seed(points);
        std::vector<const Cluster*> onTrack;
        std::vector<int> leftover;
        for (std::size_t i = 0; i < points.size(); ++i) {
            if (std::fabs(seed.Distance(points[i]->z, points[i]->y)) < kSeedRoad) {
                onTrack.push_back(points[i]);
            } else {
                leftover.push_back(members[i]);
            }
        }
        if (onTrack.size() < kMinLinePoints) return {};
        points = onTrack;

        // The circle fitted from the seed.  A combo hit may still be far
        // off: the worst one goes, and the circle is fitted again, until
        // every combo hit is within five pad errors.
        Clock::time_point start = Clock::now();
        CircleChi2 chi2(points, seed.z0);
        double par[3] = {seed.y0, seed.phi, seed.kappa};
        ORVEX::TMinuitMinimizer minuit(chi2);
        minuit.SetPrintLevel(-1);
        Circle circle = seed;
        while (true) {
            minuit.Optimize(3, par);
            circle = Circle{seed.z0, par[0], par[1], par[2]};
            auto worst = std::max_element(points.begin(), points.end(), [&](auto a, auto b) {
                return std::fabs(circle.Distance(a->z, a->y)) <
                       std::fabs(circle.Distance(b->z, b->y));
            });
            if (std::fabs(circle.Distance((*worst)->z, (*worst)->y)) <= 5 * kPadSigma ||
                points.size() <= kMinLinePoints) {
                break;
            }
            points.erase(worst);
        }
        const Cluster& first = *points.front();
        out.time_minuit += Seconds(start);

        // X against transverse path length.  A pad centre misplaces the
        // path length as much as the pad is wide, which moves X by the slope
        // times that: the fit is made again with that share in the errors.
        start = Clock::now();
        std::vector<double> t, sigma(points.size());
        for (const Cluster* c : points) t.push_back(circle.PathLength(c->z, c->y));
        double tanl = 0;
        ORVEX::ILineFit fit;
        for (int pass = 0; pass < 2; ++pass) {
            fit = ORVEX::ILineFit();
            for (std::size_t i = 0; i < points.size(); ++i) {
                sigma[i] = std::hypot(DriftSigma(*points[i]), tanl * kPadSigma);
                fit.AddPoint(t[i], points[i]->x, sigma[i]);
            }
            tanl = fit.GetSlope();
        }
        double lineChi2 = 0;
        for (std::size_t i = 0; i < points.size(); ++i) {
            double r = (points[i]->x - fit.GetValue(t[i])) / sigma[i];
            lineChi2 += r * r;
        }
        out.time_linefit += Seconds(start);
        // Pieces of other tracks that cross the line in the (Z, X)
        // projection may make a seed of their own in the pad plane, but X
        // along them is no straight line.
        int ndf = static_cast<int>(points.size()) - 2;
        if (lineChi2 > kMaxChi2PerNdf * ndf) return leftover;

        out.line_angle.push_back(line.GetAngle());
        out.line_radius.push_back(line.GetRadius());
        out.line_n.push_back(static_cast<int>(members.size()));
        double kappaErr = std::sqrt(std::max(minuit.GetCovariance(2, 2), 0.0));
        double pt = 0.3 * reco::kField / std::fabs(circle.kappa);
        out.circle_z.push_back(circle.z0);
        out.circle_y.push_back(circle.y0);
        out.circle_phi.push_back(circle.phi);
        out.circle_kappa.push_back(circle.kappa);
        out.circle_kappa_err.push_back(kappaErr);
        out.circle_chi2.push_back(minuit.GetMinimum());
        out.pt.push_back(pt);
        out.pt_err.push_back(pt * kappaErr / std::fabs(circle.kappa));
        out.charge.push_back(circle.kappa > 0 ? 1 : -1);
        out.fit_tanl.push_back(tanl);
        out.fit_tanl_err.push_back(fit.GetSlopeUncertainty());
        out.fit_x0.push_back(fit.GetIntercept());
        out.fit_chi2.push_back(lineChi2);
        out.fit_n.push_back(static_cast<int>(points.size()));
        out.fit_ndf.push_back(ndf);

        // Kalman filter along Z of (X, Y, dX/dZ, dY/dZ), started at the first
        // combo hit from the fits; the bending of the track in the pad plane
        // enters as noise on the slope of Y.
        start = Clock::now();
        std::pair<TMatrixT<double>, TMatrixT<double>> model = FilterComponentInitializer();
        double phiFirst = circle.DirectionAt(t.front());
        TVectorT<double> state(4);
        state[0] = first.x;
        state[1] = first.y;
        state[2] = tanl / std::cos(phiFirst);
        state[3] = std::tan(phiFirst);
        TMatrixT<double> covariance(4, 4);
        covariance(0, 0) = std::pow(DriftSigma(first), 2);
        covariance(1, 1) = kPadSigma * kPadSigma;
        covariance(2, 2) = covariance(3, 3) = 0.01;
        ORVEX::IKalmanFilter filter(model.first, model.second, state, covariance);
        double kalmanChi2 = 0;
        for (std::size_t i = 1; i < points.size(); ++i) {
            double dz = points[i]->z - points[i - 1]->z;
            filter.SetInterval(dz);
            TMatrixT<double> noise(4, 4);
            noise(3, 3) = std::pow(circle.kappa * dz, 2) + 1e-8;
            noise(2, 2) = std::pow(tanl * circle.kappa * dz, 2) + 1e-8;
            filter.Predict(noise);
            TMatrixT<double> measurementCovariance(2, 2);
            measurementCovariance(0, 0) = std::pow(DriftSigma(*points[i]), 2);
            measurementCovariance(1, 1) = kPadSigma * kPadSigma;
            TVectorT<double> measurement(2);
            measurement[0] = points[i]->x;
            measurement[1] = points[i]->y;
            const TMatrixT<double>& h = filter.GetMeasurementMatrix();
            TMatrixT<double> s = h * filter.GetCovariance() * Transpose(h);
            s += measurementCovariance;
            TVectorT<double> innovation = measurement - h * filter.GetState();
            kalmanChi2 += s.Invert() * innovation * innovation;
            filter.Update(measurement, measurementCovariance);
        }
        const TVectorT<double>& finalState = filter.GetState();
        const TMatrixT<double>& finalCovariance = filter.GetCovariance();
        out.kal_x.push_back(finalState[0]);
        out.kal_y.push_back(finalState[1]);
        out.kal_dxdz.push_back(finalState[2]);
        out.kal_dydz.push_back(finalState[3]);
        out.kal_dxdz_err.push_back(std::sqrt(finalCovariance(2, 2)));
        out.kal_dydz_err.push_back(std::sqrt(finalCovariance(3, 3)));
        out.kal_chi2.push_back(kalmanChi2);
        out.kal_ndf.push_back(2 * (static_cast<int>(points.size()) - 1));
        out.time_kalman += Seconds(start);
        Match(points, truth, out);
        return leftover;
    }

}

reco::RecoEvent reco::Reconstruct(const ROOT::RVecD& x, const ROOT::RVecD& y, const ROOT::RVecD& z,
                                  const ROOT::RVecD& q, const ROOT::RVecI& track) {
    RecoEvent out;
    Clock::time_point start = Clock::now();
    std::vector<Cluster> clusters = FindClusters(x, y, z, q);
    for (const Cluster& c : clusters) {
        out.cluster_x.push_back(c.x);
        out.cluster_y.push_back(c.y);
        out.cluster_z.push_back(c.z);
        out.cluster_q.push_back(c.q);
        out.cluster_n.push_back(static_cast<int>(c.members.size()));
    }
    out.time_clusters = Seconds(start);

    start = Clock::now();
    auto lines = FindLines(clusters);
    out.time_hough = Seconds(start);
    // A line may hold more than one track: what one fit leaves is tried again.
    for (const auto& [line, members] : lines) {
        std::vector<int> remaining = members;
        while (remaining.size() >= kMinLinePoints && SpansTrack(clusters, remaining)) {
            remaining = FitTrack(clusters, remaining, *line, track, out);
        }
    }
    return out;
}
