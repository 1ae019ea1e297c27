#include "IDensityCluster.hxx"

#include <algorithm>
#include <cmath>

namespace {
    using ORVEX::IHandle;
    using ORVEX::IHit;
    using ORVEX::IHitSelection;

    /// True of a selection smaller than the bound.
    class SmallCluster {
    public:
        explicit SmallCluster(unsigned int bound) : fBound(bound) {}
        bool operator()(const IHitSelection& cluster) const {
            return cluster.size() < fBound;
        }

    private:
        unsigned int fBound;
    };

    /// Larger selections first.
    struct GreaterCluster {
        bool operator()(const IHitSelection& a, const IHitSelection& b) const {
            return a.size() > b.size();
        }
    };

    /// The transverse coordinate of a hit: its Y when it measures Y, else
    /// its X when it measures X, else 0.  Hits that measure X and hits that
    /// measure Y are thus compared as if both values lay on one axis.
    double Transverse(const IHandle<IHit>& hit) {
        double transverse = 0.0;
        if (hit->MeasuresX()) transverse = hit->GetPosition().X();
        if (hit->MeasuresY()) transverse = hit->GetPosition().Y();
        return transverse;
    }

    void EraseFirst(IHitSelection& hits, const IHandle<IHit>& hit) {
        IHitSelection::iterator found = std::find(hits.begin(), hits.end(), hit);
        if (found != hits.end()) hits.erase(found);
    }

    void Append(IHitSelection& to, const IHitSelection& from) {
        for (const IHandle<IHit>& hit : from) to.push_back(hit);
    }
}

ORVEX::IDensityCluster::IDensityCluster(unsigned int MinPts, double epsilon)
    : fMinClusterSize(1), fMinPoints(MinPts), fMinDistance(epsilon),
      fRemainingHits("hits", "Hit Handles") {}

ORVEX::IDensityCluster::~IDensityCluster() {}

double ORVEX::IDensityCluster::CalculateDistance(IHandle<IHit> lhs,
                                                 IHandle<IHit> rhs) const {
    double x1 = lhs->GetPosition().Z();
    double y1 = Transverse(lhs);
    double x2 = rhs->GetPosition().Z();
    double y2 = Transverse(rhs);
    return std::sqrt((x1 - x2) * (x1 - x2) + (y1 - y2) * (y1 - y2));
}

ORVEX::IHitSelection ORVEX::IDensityCluster::GetNeighbors(
    IHandle<IHit> hit, const IHitSelection& hits) const {
    IHitSelection remaining("hits", "Hit Handles");
    Append(remaining, hits);
    // Only the first occurrence goes: a handle that stands twice is its own
    // neighbour at distance 0.
    EraseFirst(remaining, hit);
    IHitSelection neighbors("hits", "Hit Handles");
    for (const IHandle<IHit>& other : remaining) {
        if (CalculateDistance(hit, other) < fMinDistance) neighbors.push_back(other);
    }
    return neighbors;
}

ORVEX::IHitSelection ORVEX::IDensityCluster::FindSeeds(
    const IHitSelection& remaining) const {
    IHitSelection hits(remaining);
    IHitSelection maxseeds = GetNeighbors(hits.front(), hits);
    maxseeds.push_back(hits.front());
    for (const IHandle<IHit>& hit : hits) {
        IHitSelection seeds = GetNeighbors(hit, remaining);
        // The best's size counts its centre, the candidate's doesn't: a hit
        // displaces the best only with two neighbours more.  Kept so, since
        // the choice of seeds, and so the clusters, rest on it.
        if (maxseeds.size() < seeds.size()) {
            maxseeds = seeds;
            maxseeds.push_back(hit);
        }
    }
    return maxseeds;
}

void ORVEX::IDensityCluster::Cluster(const IHitSelection& hits) {
    Append(fRemainingHits, hits);
    while (!fRemainingHits.empty()) {
        IHitSelection cluster("hits", "Hit Handles");
        IHitSelection seeds = FindSeeds(fRemainingHits);
        // The best seed is too small: no other is tried.
        if (seeds.size() < fMinPoints) break;
        for (const IHandle<IHit>& seed : seeds) EraseFirst(fRemainingHits, seed);
        Append(cluster, seeds);
        while (!seeds.empty()) {
            IHandle<IHit> currentP = seeds.front();
            // The density is counted among free hits only, and without
            // currentP itself, one below the seed's count.
            IHitSelection result = GetNeighbors(currentP, fRemainingHits);
            if (result.size() >= fMinPoints) {
                for (const IHandle<IHit>& hit : result) {
                    seeds.push_back(hit);
                    cluster.push_back(hit);
                    EraseFirst(fRemainingHits, hit);
                }
            }
            seeds.erase(seeds.begin());
        }
        fClusters.push_back(cluster);
    }
    std::sort(fClusters.begin(), fClusters.end(), GreaterCluster());
    // Hits of a dropped cluster are in neither the clusters nor the remainder.
    fClusters.erase(std::remove_if(fClusters.begin(), fClusters.end(),
                                   SmallCluster(fMinClusterSize)),
                    fClusters.end());
}

unsigned int ORVEX::IDensityCluster::ls() const {
    unsigned int held = static_cast<unsigned int>(fRemainingHits.size());
    for (const IHitSelection& cluster : fClusters) {
        held += static_cast<unsigned int>(cluster.size());
    }
    return held;
}
