// The three clusterers on one event of the size of a time projection
// chamber's: 10 000 hits of straight tracks (hits 8 mm apart), compact
// showers and noise, with gaps and neighbourhood of 12 mm.
#include "TourSection.hxx"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include <TRandom3.h>
#include <TStopwatch.h>

#include <IChargeClusters.hxx>
#include <IChargeClusters2D.hxx>
#include <IDensityCluster.hxx>

using namespace ORVEX;

namespace {
    const int kHits = 10000;
    const double kGap = 12.0;

    // Tracks carry 60 % of the hits, showers 30 %, noise the rest, in a cube
    // of about 2.15 m.
    IHitSelection MakeEvent(TRandom& random) {
        const double side = 1000.0 * std::cbrt(kHits / 1000.0);
        IHitSelection event("event", "A large event");
        auto anywhere = [&]() {
            return TVector3(random.Uniform(0, side), random.Uniform(0, side),
                            random.Uniform(0, side));
        };
        auto add = [&](double charge, const TVector3& position) {
            event.push_back(IHandle<IHit>(new ISingleHit(event.size(), charge, position)));
        };
        while (event.size() < kHits * 6 / 10) {
            TVector3 start = anywhere(), step;
            random.Sphere(step[0], step[1], step[2], 8.0);
            for (int i = 0; i < 100; ++i)
                add(std::min(random.Landau(20.0, 3.0), 200.0), start + i * step);
        }
        while (event.size() < kHits * 9 / 10) {
            TVector3 core = anywhere();
            for (int i = 0; i < 50; ++i) {
                TVector3 offset(random.Gaus(0, 4.0), random.Gaus(0, 4.0), random.Gaus(0, 4.0));
                add(100.0 * std::exp(-offset.Mag2() / 32.0) + 0.5, core + offset);
            }
        }
        while (event.size() < kHits) add(random.Uniform(1, 6), anywhere());
        return event;
    }

    void Report(const char* name, std::size_t clusters, TStopwatch& watch) {
        std::printf("  %-22s %6zu clusters in %7.1f ms\n", name, clusters,
                    1000.0 * watch.RealTime());
    }

    void ClusteringAtScale() {
        TRandom3 random(29);
        IHitSelection event = MakeEvent(random);
        std::printf("  one event of %zu hits\n", event.size());

        TStopwatch watch;
        IChargeClusters charge(kGap, kGap, kGap);
        std::unique_ptr<IHitSelection> chargeClusters(charge(event));
        watch.Stop();
        Report("IChargeClusters", chargeClusters->size(), watch);

        watch.Start();
        IChargeClusters2D planes(kGap, kGap, kGap, TVector3(0.0, 0.0, 1.0));
        std::unique_ptr<IHitSelection> planeClusters(planes(event));
        watch.Stop();
        Report("IChargeClusters2D", planeClusters->size(), watch);

        watch.Start();
        IDensityCluster density(3, kGap);
        density.Cluster(event);
        watch.Stop();
        Report("IDensityCluster", density.GetClusterCount(), watch);
    }

    tour::Register section(29, "The three clusterers on a 10 000-hit event", ClusteringAtScale);
}
