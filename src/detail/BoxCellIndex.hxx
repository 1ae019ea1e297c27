#ifndef ovUtility_detail_BoxCellIndex_hxx_seen
#define ovUtility_detail_BoxCellIndex_hxx_seen

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include <TVector3.h>

namespace ovUtility {
    class BoxCellIndex;
}

/// The free hits of a clustering, sorted into box cells, so that the hits
/// that may lie within given gaps of a hit are looked for among the hits of
/// the 27 cells around it instead of among all free hits.
///
/// A cell is twice the gap wide along each axis.  For two coordinates whose
/// computed difference is within the gap, the computed cell numbers then
/// differ by at most one, rounding included, as long as the coordinate is
/// below 2^50 cell widths: the exact quotients differ by about a half, and
/// each is off by at most an eighth.  A hit with a coordinate that is not
/// finite or beyond that bound stays out of the grid: it is a candidate for
/// every hit, and every free hit is a candidate for it.  An axis whose gap is
/// not a finite positive number (zero, negative, NaN, infinite) is not
/// divided into cells at all.  The candidates are a superset of the hits
/// within the gaps; the caller's own pair test decides.
class ovUtility::BoxCellIndex {
public:
    /// Every hit starts free.  `gaps` are the largest distances along X, Y
    /// and Z at which two hits may still be paired.
    BoxCellIndex(const std::vector<TVector3>& positions, const std::array<double, 3>& gaps)
        : fFree(positions.size(), 1), fKeys(positions.size()), fOutside(positions.size(), 0) {
        for (int axis = 0; axis < 3; ++axis) {
            bool usable = gaps[axis] > 0.0 && std::isfinite(gaps[axis]);
            fCellWidth[axis] = usable ? 2.0 * gaps[axis] : 0.0;
        }
        std::vector<std::size_t> inside;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            if (CellOf(positions[i], fKeys[i])) {
                inside.push_back(i);
            } else {
                fOutside[i] = 1;
                fOutsideFree.push_back(i);
            }
        }
        FillCells(inside);
    }

    bool IsFree(std::size_t hit) const { return fFree[hit]; }

    /// The hit leaves the free hits for good.
    void Take(std::size_t hit) { fFree[hit] = 0; }

    /// Calls visit(j) once for each free hit j that may lie within the gaps
    /// of hit `hit`, in no particular order.
    template <class Visit>
    void ForEachCandidate(std::size_t hit, Visit visit) {
        if (fOutside[hit]) {
            for (std::size_t j = 0; j < fFree.size(); ++j)
                if (fFree[j]) visit(j);
            return;
        }
        const Key& key = fKeys[hit];
        int reach[3];
        for (int axis = 0; axis < 3; ++axis) reach[axis] = fCellWidth[axis] > 0.0 ? 1 : 0;
        for (std::int64_t dx = -reach[0]; dx <= reach[0]; ++dx)
            for (std::int64_t dy = -reach[1]; dy <= reach[1]; ++dy)
                for (std::int64_t dz = -reach[2]; dz <= reach[2]; ++dz) {
                    auto cell = fCellOf.find(Key{{key[0] + dx, key[1] + dy, key[2] + dz}});
                    if (cell != fCellOf.end()) VisitFree(fCells[cell->second], visit);
                }
        VisitFree(fOutsideFree, visit);
    }

private:
    typedef std::array<std::int64_t, 3> Key;
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            return static_cast<std::size_t>(key[0] * 73856093 ^ key[1] * 19349663 ^
                                            key[2] * 83492791);
        }
    };

    /// The cell of a position, or false when it stays out of the grid.
    bool CellOf(const TVector3& position, Key& key) const {
        const double limit = 1125899906842624.0;  // 2^50
        for (int axis = 0; axis < 3; ++axis) {
            key[axis] = 0;
            if (fCellWidth[axis] == 0.0) continue;
            double quotient = position[axis] / fCellWidth[axis];
            if (!(std::fabs(quotient) <= limit)) return false;
            key[axis] = static_cast<std::int64_t>(std::floor(quotient));
        }
        return true;
    }

    void FillCells(const std::vector<std::size_t>& inside) {
        fCellOf.reserve(inside.size());
        for (std::size_t hit : inside) {
            auto cell = fCellOf.emplace(fKeys[hit], fCells.size());
            if (cell.second) fCells.emplace_back();
            fCells[cell.first->second].push_back(hit);
        }
    }

    /// Visits the free hits of a list, dropping the taken ones from it on
    /// the way, since a hit never becomes free again.
    template <class Visit>
    void VisitFree(std::vector<std::size_t>& hits, Visit& visit) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < hits.size(); ++i) {
            std::size_t hit = hits[i];
            if (!fFree[hit]) continue;
            hits[kept++] = hit;
            visit(hit);
        }
        hits.resize(kept);
    }

    double fCellWidth[3];
    std::vector<char> fFree;
    std::vector<Key> fKeys;
    std::vector<char> fOutside;
    std::vector<std::size_t> fOutsideFree;
    std::unordered_map<Key, std::size_t, KeyHash> fCellOf;
    std::vector<std::vector<std::size_t> > fCells;
};

#endif
