// Array-level companions of the library for the Python package: loops that
// would be slow one call at a time from Python run here, and points carry
// the index of the array entry they came from.
#ifndef ovutility_python_bridge_hxx_seen
#define ovutility_python_bridge_hxx_seen

#include <algorithm>
#include <unordered_map>
#include <vector>

#include <IDelaunay2D.hxx>
#include <IHit.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IHoughLines.hxx>

namespace ovutility_bridge {

    /// Hits made from arrays, one ISingleHit per entry.
    inline void FillHits(ORVEX::IHitSelection& selection, long n, const double* x, const double* y,
                         const double* z, const double* charge, const int* geomId) {
        selection.reserve(selection.size() + n);
        for (long i = 0; i < n; ++i) {
            selection.push_back(ORVEX::IHandle<ORVEX::IHit>(
                new ORVEX::ISingleHit(geomId[i], charge[i], TVector3(x[i], y[i], z[i]))));
        }
    }

    /// Positions (n x 3, row-major), charges and channels of the hits.
    inline void ReadHits(const ORVEX::IHitSelection& selection, double* position, double* charge,
                         int* geomId) {
        for (std::size_t i = 0; i < selection.size(); ++i) {
            const TVector3& p = selection[i]->GetPosition();
            position[3 * i] = p.X();
            position[3 * i + 1] = p.Y();
            position[3 * i + 2] = p.Z();
            charge[i] = selection[i]->GetCharge();
            geomId[i] = selection[i]->GetGeomId().AsInt();
        }
    }

    /// Groups of indices, flat, with the end of each group.
    struct Groups {
        std::vector<long> indices;
        std::vector<long> ends;
    };

    /// For each group of hits, the places of its hits in `whole`, found by
    /// identity of the hit objects; -1 for a hit that is not there.
    class HitIndex {
    public:
        explicit HitIndex(const ORVEX::IHitSelection& whole) {
            for (std::size_t i = 0; i < whole.size(); ++i) {
                fPlace.emplace(&*whole[i], static_cast<long>(i));
            }
        }
        void Add(Groups& groups, const ORVEX::IHitSelection& group) const {
            for (const ORVEX::IHandle<ORVEX::IHit>& hit : group) {
                auto found = fPlace.find(&*hit);
                groups.indices.push_back(found == fPlace.end() ? -1 : found->second);
            }
            groups.ends.push_back(static_cast<long>(groups.indices.size()));
        }

    private:
        std::unordered_map<const ORVEX::IHit*, long> fPlace;
    };

    /// The constituents of each combo hit of `combos`, as places in `whole`;
    /// a hit that is no combo (one left as it was) stands for itself.
    inline Groups ComboMembers(const ORVEX::IHitSelection& combos,
                               const ORVEX::IHitSelection& whole) {
        HitIndex index(whole);
        Groups groups;
        for (const ORVEX::IHandle<ORVEX::IHit>& hit : combos) {
            const ORVEX::IComboHit* combo = dynamic_cast<const ORVEX::IComboHit*>(&*hit);
            if (combo) {
                index.Add(groups, combo->GetHits());
            } else {
                ORVEX::IHitSelection alone;
                alone.push_back(hit);
                index.Add(groups, alone);
            }
        }
        return groups;
    }

    /// The hits of each selection of `clusters`, as places in `whole`.
    inline Groups SelectionMembers(const std::vector<const ORVEX::IHitSelection*>& clusters,
                                   const ORVEX::IHitSelection& whole) {
        HitIndex index(whole);
        Groups groups;
        for (const ORVEX::IHitSelection* cluster : clusters) index.Add(groups, *cluster);
        return groups;
    }

    /// A mesh point that remembers its entry in the input arrays.
    class IndexedMeshPoint : public ORVEX::IMeshXYPoint {
    public:
        IndexedMeshPoint(double x, double y, long index) : IMeshXYPoint(x, y), fIndex(index) {}
        long GetIndex() const { return fIndex; }

    private:
        long fIndex;
    };

    inline long MeshIndex(const ORVEX::IMeshPoint* point) {
        const IndexedMeshPoint* indexed = dynamic_cast<const IndexedMeshPoint*>(point);
        return indexed ? indexed->GetIndex() : -1;
    }

    /// The triangulation of the points, closed into edges.  A point equal to
    /// an earlier one stands for it; the entries whose insertion failed are
    /// listed in `failed`.
    struct Triangulation {
        std::vector<long> edges;      ///< pairs of entries
        std::vector<long> triangles;  ///< triples of entries
        std::vector<long> failed;
    };

    inline Triangulation Triangulate(ORVEX::IDelaunay2D& mesh, long n, const double* x,
                                     const double* y) {
        Triangulation result;
        for (long i = 0; i < n; ++i) {
            if (!mesh.AddPoint(new IndexedMeshPoint(x[i], y[i], i))) result.failed.push_back(i);
        }
        // Triangles with a scaffold corner are live too; only those between
        // three of the caller's points are kept.
        for (ORVEX::IDelaunay2D::ITriangleIterator t = mesh.BeginTriangles();
             t != mesh.EndTriangles(); ++t) {
            long corners[3];
            for (int i = 0; i < 3; ++i) corners[i] = MeshIndex(t->GetVertex(i));
            if (std::min({corners[0], corners[1], corners[2]}) < 0) continue;
            result.triangles.insert(result.triangles.end(), corners, corners + 3);
        }
        mesh.Close();
        for (const ORVEX::IMeshEdge* edge : mesh.GetEdges()) {
            result.edges.push_back(MeshIndex(edge->GetHead()));
            result.edges.push_back(MeshIndex(edge->GetTail()));
        }
        return result;
    }

    /// A Hough point that remembers its entry in the input arrays.
    class IndexedHoughPoint : public ORVEX::IHoughPoint {
    public:
        IndexedHoughPoint(double x, double y, double weight, long index)
            : fX(x), fY(y), fWeight(weight), fIndex(index) {}
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }
        double GetWeight() const override { return fWeight; }
        long GetIndex() const { return fIndex; }

    private:
        double fX;
        double fY;
        double fWeight;
        long fIndex;
    };

    inline void FillHough(ORVEX::IHoughLines& space, long n, const double* x, const double* y,
                          const double* weight) {
        for (long i = 0; i < n; ++i)
            space.AddPoint(new IndexedHoughPoint(x[i], y[i], weight[i], i));
    }

    /// The lines holding at least `minPoints` points: their places in the
    /// space, and the entries of their points.
    struct HoughLines {
        std::vector<long> lines;
        Groups points;
    };

    inline HoughLines LinesWithPoints(ORVEX::IHoughLines& space, std::size_t minPoints) {
        HoughLines result;
        ORVEX::IHoughLines::Lines& lines = space.GetLines();
        for (std::size_t l = 0; l < lines.size(); ++l) {
            const ORVEX::IHoughLine& line = lines[l];
            if (line.GetPoints().size() < minPoints || line.GetPoints().empty()) continue;
            result.lines.push_back(static_cast<long>(l));
            for (const ORVEX::IHoughPoint* point : line.GetPoints()) {
                const IndexedHoughPoint* indexed = dynamic_cast<const IndexedHoughPoint*>(point);
                result.points.indices.push_back(indexed ? indexed->GetIndex() : -1);
            }
            result.points.ends.push_back(static_cast<long>(result.points.indices.size()));
        }
        return result;
    }
}

#endif
