#include "IDensityCluster.hxx"

#include <algorithm>
#include <cmath>
#include <vector>

#include "detail/BoxCellIndex.hxx"
#include "detail/FirstMatchTree.hxx"

namespace {
    using ORVEX::IHandle;
    using ORVEX::IHit;
    using ORVEX::IHitSelection;

    /// True of a selection smaller than the bound.
    class SmallCluster {
    public:
        explicit SmallCluster(unsigned int bound) : fBound(bound) {}
        bool operator()(const IHitSelection& cluster) const { return cluster.size() < fBound; }

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
    : fMinClusterSize(1),
      fMinPoints(MinPts),
      fMinDistance(epsilon),
      fRemainingHits("hits", "Hit Handles") {}

ORVEX::IDensityCluster::~IDensityCluster() {}

double ORVEX::IDensityCluster::CalculateDistance(IHandle<IHit> lhs, IHandle<IHit> rhs) const {
    double x1 = lhs->GetPosition().Z();
    double y1 = Transverse(lhs);
    double x2 = rhs->GetPosition().Z();
    double y2 = Transverse(rhs);
    return std::sqrt((x1 - x2) * (x1 - x2) + (y1 - y2) * (y1 - y2));
}

ORVEX::IHitSelection ORVEX::IDensityCluster::GetNeighbors(IHandle<IHit> hit,
                                                          const IHitSelection& hits) const {
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

ORVEX::IHitSelection ORVEX::IDensityCluster::FindSeeds(const IHitSelection& remaining) const {
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

// The clustering of the hits in fRemainingHits, with every neighbour count
// kept up to date as hits leave the remainder instead of being counted anew.
//
// The remainder is a sequence of entries, in its order; one hit may stand in
// it more than once.  Two entries are near when the distance of their hits
// is below epsilon; an entry is near itself, and near the other entries of
// its own hit, exactly when its hit's distance to itself (0, or NaN for a
// position that isn't finite) is.  Among the entries still there:
// - the neighbours of a hit are the entries near it, less its first entry;
//   so an entry's neighbour count is the number of entries near it, less
//   one when it is near itself;
// - the best seed is the first entry, replaced in order by any entry with
//   a count above the best's count plus one; so it is always the first
//   entry of its hit, and the seeds are the entries near it, then itself;
// - when a hit's entries leave, they all leave: an entry near one of them
//   is near all of them, so the hits whose first occurrences are erased
//   are exactly those entries;
// - a hit being grown from has no entry left, so its neighbours are simply
//   the entries near it.
class ORVEX::IDensityCluster::Remainder {
public:
    Remainder(const IHitSelection& entries, double epsilon);

    bool Empty() const { return fLeft == 0; }

    /// The seeds of the best centre, in the remainder's order, then the
    /// centre itself.
    std::vector<std::size_t> Seeds() const;

    /// The number of entries near `entry` that are still there.
    unsigned int CountNear(std::size_t entry) const { return fNearLeft[entry]; }

    /// The entries near `entry` that are still there, in order.
    std::vector<std::size_t> NearLeft(std::size_t entry) const;

    /// The entry leaves the remainder.
    void Remove(std::size_t entry);

    bool IsLeft(std::size_t entry) const { return fLeftFlag[entry]; }

private:
    /// Neighbour count of an entry still there.
    long Count(std::size_t entry) const { return long(fNearLeft[entry]) - fSelfNear[entry]; }

    std::vector<std::vector<std::size_t> > fNear;
    std::vector<unsigned int> fNearLeft;
    std::vector<char> fSelfNear;
    std::vector<char> fLeftFlag;
    std::size_t fLeft;
    std::size_t fFirstLeft;
    ovUtility::FirstMatchTree<long> fCounts;
};

namespace {
    /// The place of a hit in the metric's plane: Z, and the transverse
    /// coordinate.
    struct PlanePlace {
        double z, transverse;
    };

    /// The same distance as CalculateDistance, from places read once.
    double PlaneDistance(const PlanePlace& a, const PlanePlace& b) {
        return std::sqrt((a.z - b.z) * (a.z - b.z) +
                         (a.transverse - b.transverse) * (a.transverse - b.transverse));
    }

    /// For each entry, the entries near it (itself included when it is), in
    /// order.  A distance below epsilon keeps each coordinate's difference
    /// below epsilon but for the rounding of the distance, so the entries
    /// near one are among the candidates of cells a little wider than that.
    std::vector<std::vector<std::size_t> > NearEntries(const std::vector<PlanePlace>& places,
                                                       double epsilon) {
        std::vector<std::vector<std::size_t> > near(places.size());
        if (!(epsilon > 0.0)) return near;
        std::vector<ovUtility::BoxCellIndex::Point> points;
        points.reserve(places.size());
        for (const PlanePlace& place : places) points.push_back({{place.z, place.transverse, 0.0}});
        const double reach = epsilon * (1.0 + 1e-9);
        ovUtility::BoxCellIndex cells(points, {{reach, reach, HUGE_VAL}});
        for (std::size_t entry = 0; entry < places.size(); ++entry) {
            cells.ForEachCandidate(entry, [&](std::size_t other) {
                if (PlaneDistance(places[entry], places[other]) < epsilon)
                    near[entry].push_back(other);
            });
            std::sort(near[entry].begin(), near[entry].end());
        }
        return near;
    }

    std::vector<PlanePlace> ReadPlaces(const IHitSelection& entries) {
        std::vector<PlanePlace> places;
        places.reserve(entries.size());
        for (const IHandle<IHit>& hit : entries)
            places.push_back(PlanePlace{hit->GetPosition().Z(), Transverse(hit)});
        return places;
    }

    std::vector<long> InitialCounts(const std::vector<std::vector<std::size_t> >& near,
                                    const std::vector<char>& selfNear) {
        std::vector<long> counts;
        for (std::size_t entry = 0; entry < near.size(); ++entry)
            counts.push_back(long(near[entry].size()) - selfNear[entry]);
        return counts;
    }

    std::vector<char> SelfNear(const std::vector<std::vector<std::size_t> >& near) {
        std::vector<char> self;
        for (std::size_t entry = 0; entry < near.size(); ++entry)
            self.push_back(std::binary_search(near[entry].begin(), near[entry].end(), entry));
        return self;
    }
}

ORVEX::IDensityCluster::Remainder::Remainder(const IHitSelection& entries, double epsilon)
    : fNear(NearEntries(ReadPlaces(entries), epsilon)),
      fSelfNear(SelfNear(fNear)),
      fLeftFlag(entries.size(), 1),
      fLeft(entries.size()),
      fFirstLeft(0),
      fCounts(InitialCounts(fNear, fSelfNear)) {
    for (const std::vector<std::size_t>& near : fNear) fNearLeft.push_back(near.size());
}

std::vector<std::size_t> ORVEX::IDensityCluster::Remainder::Seeds() const {
    const std::size_t none = fLeftFlag.size();
    std::size_t best = fFirstLeft;
    for (;;) {
        const long bestSize = Count(best) + 1;
        std::size_t better = fCounts.First(
            best + 1, [bestSize](long count) { return count > bestSize; }, none);
        if (better == none) break;
        best = better;
    }
    std::vector<std::size_t> seeds;
    for (std::size_t entry : fNear[best])
        if (fLeftFlag[entry] && entry != best) seeds.push_back(entry);
    seeds.push_back(best);
    return seeds;
}

std::vector<std::size_t> ORVEX::IDensityCluster::Remainder::NearLeft(std::size_t entry) const {
    std::vector<std::size_t> left;
    for (std::size_t other : fNear[entry])
        if (fLeftFlag[other]) left.push_back(other);
    return left;
}

void ORVEX::IDensityCluster::Remainder::Remove(std::size_t entry) {
    fLeftFlag[entry] = 0;
    --fLeft;
    fCounts.Remove(entry);
    for (std::size_t other : fNear[entry]) {
        --fNearLeft[other];
        if (fLeftFlag[other]) fCounts.Set(other, Count(other));
    }
    while (fFirstLeft < fLeftFlag.size() && !fLeftFlag[fFirstLeft]) ++fFirstLeft;
}

void ORVEX::IDensityCluster::Cluster(const IHitSelection& hits) {
    Append(fRemainingHits, hits);
    // With two hits or more every pair's distance is taken at once, as the
    // first search for seeds does, and a null handle throws here, with the
    // remainder as it is.  A single hit is its own best seed, measured
    // against nothing.
    if (fRemainingHits.size() == 1) {
        if (fMinPoints <= 1) {
            fClusters.push_back(fRemainingHits);
            fRemainingHits.clear();
        }
    } else if (!fRemainingHits.empty()) {
        ClusterRemainder();
    }
    std::sort(fClusters.begin(), fClusters.end(), GreaterCluster());
    // Hits of a dropped cluster are in neither the clusters nor the remainder.
    fClusters.erase(
        std::remove_if(fClusters.begin(), fClusters.end(), SmallCluster(fMinClusterSize)),
        fClusters.end());
}

void ORVEX::IDensityCluster::ClusterRemainder() {
    const IHitSelection entries(fRemainingHits);
    Remainder remainder(entries, fMinDistance);
    while (!remainder.Empty()) {
        std::vector<std::size_t> seeds = remainder.Seeds();
        // The best seed is too small: no other is tried.
        if (seeds.size() < fMinPoints) break;
        IHitSelection cluster("hits", "Hit Handles");
        for (std::size_t seed : seeds) {
            remainder.Remove(seed);
            cluster.push_back(entries[seed]);
        }
        // The density is counted among free hits only, and without the hit
        // grown from itself, one below the seed's count.
        for (std::size_t next = 0; next < seeds.size(); ++next) {
            if (remainder.CountNear(seeds[next]) < fMinPoints) continue;
            for (std::size_t entry : remainder.NearLeft(seeds[next])) {
                seeds.push_back(entry);
                cluster.push_back(entries[entry]);
                remainder.Remove(entry);
            }
        }
        fClusters.push_back(cluster);
    }
    fRemainingHits.clear();
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        if (remainder.IsLeft(entry)) fRemainingHits.push_back(entries[entry]);
}

unsigned int ORVEX::IDensityCluster::ls() const {
    unsigned int held = static_cast<unsigned int>(fRemainingHits.size());
    for (const IHitSelection& cluster : fClusters) {
        held += static_cast<unsigned int>(cluster.size());
    }
    return held;
}
