// The density clusterer written as the literal step-by-step procedure:
// every search for seeds counts the neighbours of every remaining hit over
// all remaining hits, every neighbour search copies its input first, and
// handles are passed by value.  The library's clusterer is compared with it.
#ifndef ovUtility_test_DensityClusterReference_hxx_seen
#define ovUtility_test_DensityClusterReference_hxx_seen

#include <algorithm>
#include <cmath>
#include <vector>

#include <IHitSelection.hxx>

namespace reference {
    class LiteralDensityCluster {
    public:
        LiteralDensityCluster(unsigned int MinPts, double epsilon)
            : fMinClusterSize(1),
              fMinPoints(MinPts),
              fMinDistance(epsilon),
              fRemainingHits("hits", "Hit Handles") {}

        void SetMinClusterSize(unsigned int size) { fMinClusterSize = size; }
        unsigned int GetClusterCount() const { return fClusters.size(); }
        const ORVEX::IHitSelection& GetCluster(unsigned int i) const { return fClusters[i]; }

        unsigned int ls() const {
            unsigned int held = fRemainingHits.size();
            for (const ORVEX::IHitSelection& cluster : fClusters) held += cluster.size();
            return held;
        }

        void Cluster(const ORVEX::IHitSelection& hits) {
            for (const Handle& hit : hits) fRemainingHits.push_back(hit);
            while (!fRemainingHits.empty()) {
                ORVEX::IHitSelection cluster("hits", "Hit Handles");
                ORVEX::IHitSelection seeds = FindSeeds(fRemainingHits);
                if (seeds.size() < fMinPoints) break;
                for (const Handle& seed : seeds) EraseFirst(fRemainingHits, seed);
                for (const Handle& seed : seeds) cluster.push_back(seed);
                while (!seeds.empty()) {
                    Handle currentP = seeds.front();
                    ORVEX::IHitSelection result = GetNeighbors(currentP, fRemainingHits);
                    if (result.size() >= fMinPoints) {
                        for (const Handle& hit : result) {
                            seeds.push_back(hit);
                            cluster.push_back(hit);
                            EraseFirst(fRemainingHits, hit);
                        }
                    }
                    seeds.erase(seeds.begin());
                }
                fClusters.push_back(cluster);
            }
            std::sort(fClusters.begin(), fClusters.end(),
                      [](const ORVEX::IHitSelection& a, const ORVEX::IHitSelection& b) {
                          return a.size() > b.size();
                      });
            const unsigned int bound = fMinClusterSize;
            fClusters.erase(std::remove_if(fClusters.begin(), fClusters.end(),
                                           [bound](const ORVEX::IHitSelection& cluster) {
                                               return cluster.size() < bound;
                                           }),
                            fClusters.end());
        }

    private:
        typedef ORVEX::IHandle<ORVEX::IHit> Handle;

        static void EraseFirst(ORVEX::IHitSelection& hits, const Handle& hit) {
            auto found = std::find(hits.begin(), hits.end(), hit);
            if (found != hits.end()) hits.erase(found);
        }

        double CalculateDistance(Handle lhs, Handle rhs) const {
            double x1 = lhs->GetPosition().Z();
            double y1 = 0.0;
            if (lhs->MeasuresX()) y1 = lhs->GetPosition().X();
            if (lhs->MeasuresY()) y1 = lhs->GetPosition().Y();
            double x2 = rhs->GetPosition().Z();
            double y2 = 0.0;
            if (rhs->MeasuresX()) y2 = rhs->GetPosition().X();
            if (rhs->MeasuresY()) y2 = rhs->GetPosition().Y();
            return std::sqrt((x1 - x2) * (x1 - x2) + (y1 - y2) * (y1 - y2));
        }

        ORVEX::IHitSelection GetNeighbors(Handle hit, const ORVEX::IHitSelection& hits) const {
            ORVEX::IHitSelection remaining("hits", "Hit Handles");
            for (const Handle& other : hits) remaining.push_back(other);
            EraseFirst(remaining, hit);
            ORVEX::IHitSelection neighbors("hits", "Hit Handles");
            for (const Handle& other : remaining)
                if (CalculateDistance(hit, other) < fMinDistance) neighbors.push_back(other);
            return neighbors;
        }

        ORVEX::IHitSelection FindSeeds(const ORVEX::IHitSelection& remaining) const {
            ORVEX::IHitSelection hits(remaining);
            ORVEX::IHitSelection maxseeds = GetNeighbors(hits.front(), hits);
            maxseeds.push_back(hits.front());
            for (const Handle& hit : hits) {
                ORVEX::IHitSelection seeds = GetNeighbors(hit, remaining);
                if (maxseeds.size() < seeds.size()) {
                    maxseeds = seeds;
                    maxseeds.push_back(hit);
                }
            }
            return maxseeds;
        }

        unsigned int fMinClusterSize;
        unsigned int fMinPoints;
        double fMinDistance;
        std::vector<ORVEX::IHitSelection> fClusters;
        ORVEX::IHitSelection fRemainingHits;
    };
}

#endif
