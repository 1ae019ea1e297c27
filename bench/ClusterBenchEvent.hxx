// The event the three clusterers are measured on, and the cost floor they
// are compared with.
//
// The event looks like a time projection chamber event at a fixed hit
// density, whatever its size: straight tracks of hits 8 mm apart, compact
// showers, and a tenth of the hits as noise, in a cube whose volume grows
// with the number of hits.  With the clusterers' gaps at 12 mm, the hits of
// a track touch their neighbours and the noise mostly stands alone.
//
// The floor is the cheapest way to get box-connected components with the
// same gaps: a hash grid with the gap as cell size and a union-find over the
// hits of neighbouring cells.
#ifndef ovUtility_ClusterBenchEvent_hxx_seen
#define ovUtility_ClusterBenchEvent_hxx_seen

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <unordered_map>
#include <vector>

#include <TRandom3.h>
#include <TVector3.h>

#include <HitUtilities.hxx>

namespace ovBench {
    const double kHitSpacing = 8.0;   // mm between hits along a track
    const double kClusterGap = 12.0;  // mm, the clusterers' gap in each axis
    const int kHitsPerTrack = 100;
    const int kHitsPerShower = 50;

    inline ORVEX::IHandle<ORVEX::IHit> MakeBenchHit(int id, double charge,
                                                    const TVector3& position) {
        return ORVEX::IHandle<ORVEX::IHit>(new ORVEX::ISingleHit(id, charge, position));
    }

    /// Tracks carry 60 % of the hits, showers 30 %, noise the rest; the
    /// cube's side is 1 m at 1 000 hits and grows as the cube root.
    inline ORVEX::IHitSelection MakeClusterBenchEvent(int hits, unsigned int seed = 12) {
        TRandom3 random(seed);
        const double side = 1000.0 * std::cbrt(hits / 1000.0);
        ORVEX::IHitSelection event("bench", "Tracks, showers and noise");
        auto inside = [&]() {
            return TVector3(random.Uniform(0, side), random.Uniform(0, side),
                            random.Uniform(0, side));
        };
        const int trackHits = hits * 6 / 10;
        const int showerHits = hits * 3 / 10;
        int id = 0;
        while (id < trackHits) {
            TVector3 start = inside();
            TVector3 step;
            random.Sphere(step[0], step[1], step[2], kHitSpacing);
            for (int i = 0; i < kHitsPerTrack && id < trackHits; ++i, ++id) {
                double charge = std::min(random.Landau(20.0, 3.0), 200.0);
                event.push_back(MakeBenchHit(id, charge, start + i * step));
            }
        }
        while (id < trackHits + showerHits) {
            TVector3 core = inside();
            for (int i = 0; i < kHitsPerShower && id < trackHits + showerHits; ++i, ++id) {
                TVector3 offset(random.Gaus(0, 4.0), random.Gaus(0, 4.0), random.Gaus(0, 4.0));
                double charge = 100.0 * std::exp(-offset.Mag2() / 32.0) + 0.5;
                event.push_back(MakeBenchHit(id, charge, core + offset));
            }
        }
        for (; id < hits; ++id) event.push_back(MakeBenchHit(id, random.Uniform(1, 6), inside()));
        return event;
    }

    /// Number of box-connected components: two hits touch when they are
    /// within the gap in every axis.
    inline std::size_t CountBoxComponents(const ORVEX::IHitSelection& event, double gap) {
        const std::size_t n = event.size();
        std::vector<TVector3> position(n);
        for (std::size_t i = 0; i < n; ++i) position[i] = event[i]->GetPosition();
        std::vector<std::size_t> parent(n);
        std::iota(parent.begin(), parent.end(), 0);
        auto root = [&](std::size_t i) {
            while (parent[i] != i) i = parent[i] = parent[parent[i]];
            return i;
        };
        auto cellKey = [](std::int64_t x, std::int64_t y, std::int64_t z) {
            return (x * 73856093) ^ (y * 19349663) ^ (z * 83492791);
        };
        auto cellOf = [gap](double v) { return static_cast<std::int64_t>(std::floor(v / gap)); };
        std::unordered_map<std::int64_t, std::vector<std::size_t>> grid;
        grid.reserve(n);
        for (std::size_t i = 0; i < n; ++i) {
            const TVector3& p = position[i];
            std::int64_t cx = cellOf(p.X()), cy = cellOf(p.Y()), cz = cellOf(p.Z());
            for (int dx = -1; dx <= 1; ++dx)
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dz = -1; dz <= 1; ++dz) {
                        auto cell = grid.find(cellKey(cx + dx, cy + dy, cz + dz));
                        if (cell == grid.end()) continue;
                        for (std::size_t j : cell->second) {
                            const TVector3& q = position[j];
                            if (std::abs(p.X() - q.X()) <= gap && std::abs(p.Y() - q.Y()) <= gap &&
                                std::abs(p.Z() - q.Z()) <= gap)
                                parent[root(i)] = root(j);
                        }
                    }
            grid[cellKey(cx, cy, cz)].push_back(i);
        }
        std::size_t components = 0;
        for (std::size_t i = 0; i < n; ++i) components += root(i) == i;
        return components;
    }
}

#endif
