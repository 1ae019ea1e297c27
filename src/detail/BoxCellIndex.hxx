#ifndef ovUtility_detail_BoxCellIndex_hxx_seen
#define ovUtility_detail_BoxCellIndex_hxx_seen

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace ovUtility {
    class BoxCellIndex;
}

/// The free hits of a clustering, sorted into box cells, so that the hits
/// that may lie within given gaps of a hit are looked for among the hits of
/// the 27 cells around it instead of among all free hits.  Cells are found
/// by column (X and Y) in a hash table, and by Z within their column.
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
    typedef std::array<double, 3> Point;

    /// Every hit starts free.  `gaps` are the largest distances along X, Y
    /// and Z at which two hits may still be paired.
    BoxCellIndex(const std::vector<Point>& positions, const std::array<double, 3>& gaps)
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
        const std::int64_t reachX = fCellWidth[0] > 0.0, reachY = fCellWidth[1] > 0.0;
        const std::int64_t reachZ = fCellWidth[2] > 0.0;
        for (std::int64_t dx = -reachX; dx <= reachX; ++dx)
            for (std::int64_t dy = -reachY; dy <= reachY; ++dy) {
                auto column = fColumns.find(Column{{key[0] + dx, key[1] + dy}});
                if (column == fColumns.end()) continue;
                // The cells of a column are in ascending Z.
                auto first = fCellZ.begin() + column->second.first;
                auto last = fCellZ.begin() + column->second.second;
                for (auto cell = std::lower_bound(first, last, key[2] - reachZ);
                     cell != last && *cell <= key[2] + reachZ; ++cell) {
                    VisitFree(cell - fCellZ.begin(), visit);
                }
            }
        VisitFreeOutside(visit);
    }

private:
    typedef std::array<std::int64_t, 3> Key;
    typedef std::array<std::int64_t, 2> Column;
    struct ColumnHash {
        std::size_t operator()(const Column& column) const {
            std::uint64_t h = static_cast<std::uint64_t>(column[0]) * 0x9E3779B97F4A7C15ull ^
                              static_cast<std::uint64_t>(column[1]) * 0xC2B2AE3D27D4EB4Full;
            return static_cast<std::size_t>(h ^ (h >> 29));
        }
    };

    /// The cell of a position, or false when it stays out of the grid.
    bool CellOf(const Point& position, Key& key) const {
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

    /// Sorts the hits in the grid by cell, X then Y then Z, so that each
    /// cell is a run of hits and each column of cells a run of cells.
    void FillCells(std::vector<std::size_t>& inside) {
        std::vector<std::pair<Key, std::size_t> > byCell;
        byCell.reserve(inside.size());
        for (std::size_t hit : inside) byCell.emplace_back(fKeys[hit], hit);
        std::sort(byCell.begin(), byCell.end());
        for (std::size_t i = 0; i < inside.size(); ++i) inside[i] = byCell[i].second;
        fHits = inside;
        fColumns.reserve(inside.size());
        for (std::size_t i = 0; i < inside.size(); ++i) {
            const Key& key = fKeys[inside[i]];
            if (i > 0 && key == fKeys[inside[i - 1]]) continue;
            if (!fCellZ.empty()) fCellEnd.push_back(i);
            const std::size_t cell = fCellZ.size();
            fCellZ.push_back(key[2]);
            fCellBegin.push_back(i);
            auto column = fColumns.emplace(Column{{key[0], key[1]}}, std::make_pair(cell, cell));
            column.first->second.second = cell + 1;
        }
        if (!fCellZ.empty()) fCellEnd.push_back(inside.size());
    }

    /// Visits the free hits of a cell, dropping the taken ones from it on
    /// the way, since a hit never becomes free again.
    template <class Visit>
    void VisitFree(std::size_t cell, Visit& visit) {
        std::size_t kept = fCellBegin[cell];
        for (std::size_t i = fCellBegin[cell]; i < fCellEnd[cell]; ++i) {
            std::size_t hit = fHits[i];
            if (!fFree[hit]) continue;
            fHits[kept++] = hit;
            visit(hit);
        }
        fCellEnd[cell] = kept;
    }

    /// The same for the hits outside the grid.
    template <class Visit>
    void VisitFreeOutside(Visit& visit) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < fOutsideFree.size(); ++i) {
            std::size_t hit = fOutsideFree[i];
            if (!fFree[hit]) continue;
            fOutsideFree[kept++] = hit;
            visit(hit);
        }
        fOutsideFree.resize(kept);
    }

    double fCellWidth[3];
    std::vector<char> fFree;
    std::vector<Key> fKeys;
    std::vector<char> fOutside;
    std::vector<std::size_t> fOutsideFree;
    /// The hits in the grid, cell by cell; the free ones of a cell are at
    /// the front of its run.
    std::vector<std::size_t> fHits;
    /// Each cell's Z number and its run of hits.
    std::vector<std::int64_t> fCellZ;
    std::vector<std::size_t> fCellBegin;
    std::vector<std::size_t> fCellEnd;
    /// Each column of cells (X and Y numbers) and its run of cells.
    std::unordered_map<Column, std::pair<std::size_t, std::size_t>, ColumnHash> fColumns;
};

#endif
