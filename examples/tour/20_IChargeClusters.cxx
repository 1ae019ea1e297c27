// Clustering by charge slope: a synthetic event of three tracks, noise and
// a few large deposits is grouped into combo hits, and the simulated
// deposits behind some of them are traced back.
#include "TourSection.hxx"

#include <deque>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <TRandom3.h>

#include <IHitKinds.hxx>

#include <IChargeClusters.hxx>
#include <retrieveHitTruthInfo.hxx>

using namespace ORVEX;

namespace {
    // The simulation's output: deposits and the digits made from them.
    // Hits refer to both by pointer, so they must outlive the hits.
    struct Simulation {
        std::deque<IG4VHit> deposits;
        std::deque<IMCDigit> digits;
        std::deque<IDigit> noiseDigits;
    };

    // A hit read out from a simulated digit of one or two deposits.  A
    // track shares each deposit between two neighbouring channels.
    IHandle<IHit> TrackHit(Simulation& sim, int channel, double charge, const TVector3& position,
                           IG4VHit* shared) {
        sim.deposits.push_back(IG4VHit(charge));
        sim.digits.push_back(IMCDigit(channel));
        IMCDigit& digit = sim.digits.back();
        digit.AddContributor(&sim.deposits.back());
        if (shared) digit.AddContributor(shared);
        ISingleHit* hit = new ISingleHit(channel, charge, position);
        hit->AddDigit(IDigitProxy(&digit));
        return IHandle<IHit>(hit);
    }

    void AddTrack(Simulation& sim, IHitSelection& event, int firstChannel, const TVector3& start,
                  const TVector3& step, int length) {
        IG4VHit* previous = NULL;
        for (int i = 0; i < length; ++i) {
            TVector3 position = start + i * step;
            position += TVector3(gRandom->Gaus(0, 1.0), gRandom->Gaus(0, 1.0), 0.0);
            double charge = std::min(gRandom->Landau(20.0, 3.0), 200.0);
            event.push_back(TrackHit(sim, firstChannel + i, charge, position, previous));
            previous = &sim.deposits.back();
        }
    }

    // Electronics noise: a real digit, no truth behind it.
    void AddNoise(Simulation& sim, IHitSelection& event, int count) {
        for (int i = 0; i < count; ++i) {
            sim.noiseDigits.push_back(IDigit(5000 + i));
            ISingleHit* hit =
                new ISingleHit(5000 + i, gRandom->Uniform(1.0, 6.0),
                               TVector3(gRandom->Uniform(-200, 200), gRandom->Uniform(-200, 200),
                                        gRandom->Uniform(0, 400)));
            hit->AddDigit(IDigitProxy(&sim.noiseDigits.back()));
            event.push_back(IHandle<IHit>(hit));
        }
    }

    // Large deposits (delta rays, nuclear fragments) made straight into
    // simulated hits, each from two deposits.
    void AddLargeDeposits(Simulation& sim, IHitSelection& event) {
        const double where[3][3] = {{-40, 4, 120}, {-36, 4, 145}, {60, -80, 300}};
        for (int i = 0; i < 3; ++i) {
            IMCHit* hit = new IMCHit(8000 + i, 400.0 + 50.0 * i,
                                     TVector3(where[i][0], where[i][1], where[i][2]));
            for (int d = 0; d < 2; ++d) {
                sim.deposits.push_back(IG4VHit(200.0 + 25.0 * i));
                hit->AddContributor(&sim.deposits.back());
            }
            event.push_back(IHandle<IHit>(hit));
        }
    }

    void PrintSizes(const IHitSelection& clusters) {
        std::map<std::size_t, int> bySize;
        for (const IHandle<IHit>& cluster : clusters) {
            ++bySize[IHandle<IComboHit>(cluster)->GetHits().size()];
        }
        std::cout << "cluster sizes (size: count):";
        for (const auto& entry : bySize) std::cout << "  " << entry.first << ": " << entry.second;
        std::cout << std::endl;
    }

    void PrintTruth(const IHandle<IHit>& cluster, int rank) {
        std::vector<IG4VHit*> deposits = HitTruthInfo::GetHitTruthInfo(cluster);
        std::set<IG4VHit*> distinct(deposits.begin(), deposits.end());
        double energy = 0.0;
        for (IG4VHit* deposit : distinct) energy += deposit->GetEnergyDeposit();
        const TVector3& position = cluster->GetPosition();
        std::cout << "  cluster " << rank << ": " << IHandle<IComboHit>(cluster)->GetHits().size()
                  << " hits, charge " << std::fixed << std::setprecision(1) << cluster->GetCharge()
                  << " at (" << position.X() << ", " << position.Y() << ", " << position.Z()
                  << "); " << deposits.size() << " deposit entries, " << distinct.size()
                  << " distinct, " << energy << " deposited" << std::endl;
        std::cout.unsetf(std::ios::fixed);
        std::cout << std::setprecision(6);
    }

    void ChargeClusters() {
        TRandom3 random(2026);
        TRandom* saved = gRandom;
        gRandom = &random;

        Simulation sim;
        IHitSelection event("tpcHits", "Synthetic event");
        AddTrack(sim, event, 1000, TVector3(-50, 0, 10), TVector3(0.8, 0.1, 8.0), 48);
        AddTrack(sim, event, 2000, TVector3(100, 50, 20), TVector3(-1.5, -0.5, 7.5), 40);
        AddTrack(sim, event, 3000, TVector3(-150, -100, 200), TVector3(6.0, 1.0, 3.0), 30);
        AddNoise(sim, event, 25);
        AddLargeDeposits(sim, event);
        gRandom = saved;

        // Boxes of 10 mm: a track's neighbours join down the charge slope,
        // a much larger neighbour starts a cluster of its own.
        IChargeClusters clusterer(10.0, 10.0, 10.0);
        std::unique_ptr<IHitSelection> clusters(clusterer(event));
        std::cout << event.size() << " hits in '" << event.GetName() << "' gave "
                  << clusters->size() << " clusters in '" << clusters->GetName() << "' ("
                  << clusters->GetTitle() << ")" << std::endl;
        PrintSizes(*clusters);

        std::cout << "simulated deposits behind the first clusters (largest seed first):"
                  << std::endl;
        for (std::size_t i = 0; i < clusters->size() && i < 6; ++i) {
            PrintTruth((*clusters)[i], i);
        }
        std::cout << "  (a track hit shares a deposit with its neighbour, so a cluster "
                     "lists it twice; noise hits have no truth)"
                  << std::endl;
        std::vector<IHitSelection> groups;
        for (const IHandle<IHit>& cluster : *clusters) {
            const IHitSelection& members = IHandle<IComboHit>(cluster)->GetHits();
            if (members.size() > 1) groups.push_back(members);
        }
        tour::DrawHitGroups("charge_clusters.png", "Charge clusters", event, groups,
                            {-10, 410, -210, 210});
    }

    tour::Register section(20, "Charge clusters and their simulated truth", ChargeClusters);
}
