// Clustering plane by plane and by density: a synthetic event of pad planes
// crossed by three tracks, with noise and a few large deposits, is grouped
// into combo hits inside each plane, and into track-like clusters across
// the planes.
#include "TourSection.hxx"

#include <iostream>
#include <map>
#include <memory>
#include <vector>

#include <TRandom3.h>

#include <IChargeClusters2D.hxx>
#include <IDensityCluster.hxx>

using namespace ORVEX;

namespace {
    const int kPlanes = 20;
    const double kPlaneStep = 10.0;  // mm between pad planes along Z
    const double kPadPitch = 3.0;    // mm between neighbouring pads

    // Hits measure X only, so that the density clusterer looks at (z, x).
    IHandle<IHit> PadHit(int channel, double charge, double x, double y, double z) {
        return IHandle<IHit>(new ISingleHit(channel, charge, TVector3(x, y, z), true, false));
    }

    // In each plane a track leaves its charge on the pad it crosses and a
    // share of it on one or two neighbours.
    void AddTrack(TRandom& random, IHitSelection& event, int firstChannel, double x0, double y0,
                  double slopeX, double slopeY) {
        int channel = firstChannel;
        for (int plane = 0; plane < kPlanes; ++plane) {
            double z = plane * kPlaneStep;
            double x = x0 + slopeX * z, y = y0 + slopeY * z;
            double charge = std::min(random.Landau(20.0, 3.0), 200.0);
            event.push_back(PadHit(channel++, charge, x, y, z));
            int neighbours = 1 + random.Integer(2);
            for (int n = 0; n < neighbours; ++n) {
                double side = n == 0 ? kPadPitch : -kPadPitch;
                event.push_back(PadHit(channel++, 0.3 * charge, x + side, y, z));
            }
        }
    }

    void AddNoise(TRandom& random, IHitSelection& event, int count) {
        for (int i = 0; i < count; ++i) {
            event.push_back(PadHit(5000 + i, random.Uniform(1.0, 6.0), random.Uniform(-100, 100),
                                   random.Uniform(-100, 100),
                                   random.Integer(kPlanes) * kPlaneStep));
        }
    }

    // Large deposits: five pads of high charge around one point of a plane.
    void AddLargeDeposits(TRandom& random, IHitSelection& event) {
        const double where[3][3] = {{-60, 30, 40}, {70, -20, 110}, {10, 80, 170}};
        for (int i = 0; i < 3; ++i) {
            for (int pad = 0; pad < 5; ++pad) {
                event.push_back(PadHit(8000 + 10 * i + pad, random.Uniform(300, 500),
                                       where[i][0] + kPadPitch * (pad - 2), where[i][1],
                                       where[i][2]));
            }
        }
    }

    void PrintSizes(const std::map<std::size_t, int>& bySize) {
        std::cout << "  sizes (size: count):";
        for (const auto& entry : bySize) std::cout << "  " << entry.first << ": " << entry.second;
        std::cout << std::endl;
    }

    void ShowPlaneClusters(IChargeClusters2D& clusterer, const IHitSelection& event) {
        std::unique_ptr<IHitSelection> result(clusterer(event));
        std::map<std::size_t, int> bySize;
        int plain = 0;
        for (const IHandle<IHit>& entry : *result) {
            IHandle<IComboHit> combo(entry);
            if (combo) {
                ++bySize[combo->GetHits().size()];
            } else {
                ++plain;
            }
        }
        std::cout << "  " << event.size() << " hits gave " << result->size()
                  << " entries: " << result->size() - plain << " combo hits and " << plain
                  << " single hits of oversized clusters" << std::endl;
        PrintSizes(bySize);
    }

    // The density clusterer keeps its results; its protected steps aren't
    // needed here.
    std::vector<IHitSelection> ShowDensityClusters(const IHitSelection& event) {
        IDensityCluster clusterer(3, 12.0);
        clusterer.SetMinClusterSize(5);
        clusterer.Cluster(event);
        std::map<std::size_t, int> bySize;
        std::vector<IHitSelection> clusters;
        unsigned int clustered = 0;
        for (unsigned int i = 0; i < clusterer.GetClusterCount(); ++i) {
            clusters.push_back(clusterer.GetCluster(i));
            ++bySize[clusters.back().size()];
            clustered += clusters.back().size();
        }
        std::cout << "  " << clusterer.GetClusterCount() << " clusters of " << clustered
                  << " hits, largest first; " << clusterer.ls() - clustered << " hits left over, "
                  << event.size() - clusterer.ls() << " dropped with clusters below 5 hits"
                  << std::endl;
        PrintSizes(bySize);
        return clusters;
    }

    void PlaneAndDensityClusters() {
        TRandom3 random(2611);
        IHitSelection event("padHits", "Synthetic event");
        AddTrack(random, event, 1000, -80.0, 0.0, 0.8, 0.1);
        AddTrack(random, event, 2000, 60.0, 40.0, -0.5, -0.3);
        AddTrack(random, event, 3000, 0.0, -60.0, 0.1, 0.4);
        AddNoise(random, event, 40);
        AddLargeDeposits(random, event);
        std::cout << event.size() << " hits on " << kPlanes << " pad planes: three tracks, "
                  << "40 noise hits, three large deposits of five pads" << std::endl;

        // Planes along Z; in a plane, pads within 4 mm in X and Y join.
        std::cout << "plane by plane (gaps 4 mm, band 1 mm along Z):" << std::endl;
        IChargeClusters2D clusterer(4.0, 4.0, 1.0, TVector3(0.0, 0.0, 1.0));
        ShowPlaneClusters(clusterer, event);
        std::cout << "the same with at most four hits to a combo hit:" << std::endl;
        clusterer.SetMaxHitsToCluster(4);
        ShowPlaneClusters(clusterer, event);

        std::cout << "by density in (z, x) (MinPts 3, epsilon 12 mm):" << std::endl;
        tour::DrawHitGroups("density_clusters.png", "Density clusters", event,
                            ShowDensityClusters(event), {-10, 200, -110, 110});
    }

    tour::Register section(25, "Charge clusters plane by plane, and density clusters",
                           PlaneAndDensityClusters);
}
