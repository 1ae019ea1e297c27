#ifndef ORVEX_IMeshPoint_hxx_seen
#define ORVEX_IMeshPoint_hxx_seen

#include <iosfwd>
#include <iterator>
#include <queue>
#include <set>
#include <vector>

#include <EovUtility.hxx>

namespace ORVEX {
    /// A route search asked for routes to a null end point; thrown by
    /// IMeshPoint::GetPaths before it searches.
    ORVEX_EXCEPTION(EMeshPathEnd, EovUtility);

    /// A null point or edge handed to IMesh::AddPoint or IMesh::AddEdge,
    /// which would keep it in a set ordered by coordinates.
    ORVEX_EXCEPTION(EMeshNull, EovUtility);

    class IMeshPoint;
    class IMeshEdge;
    class IMesh;

    /// Orders pointed-to points by their coordinates (IMeshPoint::operator<).
    struct TMeshPointPointerLessThan {
        /// True when `lhs` comes before `rhs`.
        bool operator()(const IMeshPoint* lhs, const IMeshPoint* rhs) const;
    };

    /// Orders pointed-to edges by the coordinates of their ends
    /// (IMeshEdge::operator<).
    struct TMeshEdgePointerLessThan {
        /// True when `lhs` comes before `rhs`.
        bool operator()(const IMeshEdge* lhs, const IMeshEdge* rhs) const;
    };

    /// Points keyed by coordinates: two points at the same place are one key.
    typedef std::set<IMeshPoint*, TMeshPointPointerLessThan> TMeshPointSet;

    /// Edges keyed by the coordinates of their ends.
    typedef std::set<IMeshEdge*, TMeshEdgePointerLessThan> TMeshEdgeSet;

    std::ostream& operator<<(std::ostream& s, const IMeshPoint& point);
}

/// An abstract vertex of a planar mesh: anything with an X and a Y.  A point
/// keeps the set of edges incident on it, but owns none of them while it
/// belongs to a mesh.
class ORVEX::IMeshPoint {
public:
    /// Walks the edges of the point.
    typedef TMeshEdgeSet::const_iterator EdgeIterator;
    /// A route: points from start to end.
    typedef std::vector<const IMeshPoint*> PointVector;
    /// Several routes.
    typedef std::vector<PointVector> PathVector;

    class Walker;
    class IPathPoint;

    IMeshPoint();

    /// Deletes every edge still attached to the point; the edges detach
    /// from their other ends as they go.
    virtual ~IMeshPoint();

    /// The X coordinate.
    virtual double X() const = 0;
    /// The Y coordinate.
    virtual double Y() const = 0;

    /// By X, then by Y, exactly.  A point is never less than itself, and
    /// that case reads no coordinate.
    bool operator<(const IMeshPoint& rhs) const;

    /// The number of edges incident on the point.
    int GetEdgeCount() const;
    /// The first incident edge.
    EdgeIterator BeginEdges() const;
    /// Past the last incident edge.
    EdgeIterator EndEdges() const;

    /// An edge equivalent to one already attached leaves the set as it is.
    void AddEdge(IMeshEdge* edge);

    /// Erases by key; an edge that isn't attached is no error.
    void RemoveEdge(IMeshEdge* edge);

    /// A breadth-first walk over every point connected to this one,
    /// starting with this point.
    Walker BeginPoints();

    /// The end of every walk: one shared, empty walker.
    Walker& EndPoints();

    /// Routes from this point to `end`, breadth first.  Each route runs
    /// backwards (`end` first, this point last), and the routes come in the
    /// order they were completed.  At most the lesser of `maxPaths` and
    /// end's edge count routes are searched for; a route may have
    /// `maxSteps` + 1 points.  A null `end` throws EMeshPathEnd.
    PathVector GetPaths(const IMeshPoint* end, int maxPaths, int maxSteps) const;

private:
    friend class IMesh;

    IMeshPoint(const IMeshPoint&) = delete;
    IMeshPoint& operator=(const IMeshPoint&) = delete;

    /// Forget every edge without deleting any: the mesh owns them.
    void ReleaseEdges();

    TMeshEdgeSet fEdges;

    static Walker fEnd;
};

// Inline: every search of a point set compares points many times.
inline bool ORVEX::IMeshPoint::operator<(const IMeshPoint& rhs) const {
    if (this == &rhs) return false;
    const double x = X(), rhsX = rhs.X();
    if (x < rhsX) return true;
    if (x > rhsX) return false;
    return Y() < rhs.Y();
}

inline bool ORVEX::TMeshPointPointerLessThan::operator()(const IMeshPoint* lhs,
                                                         const IMeshPoint* rhs) const {
    return *lhs < *rhs;
}

/// Walks the points connected to a start point, breadth first.  The front of
/// the queue is the current point; every point ever queued is remembered so
/// that each one comes once.
class ORVEX::IMeshPoint::Walker {
public:
    /// Standard iterator traits.
    typedef std::input_iterator_tag iterator_category;
    /// Standard iterator traits.
    typedef IMeshPoint* value_type;
    /// Standard iterator traits.
    typedef long difference_type;
    /// Standard iterator traits.
    typedef IMeshPoint** pointer;
    /// Standard iterator traits.
    typedef IMeshPoint*& reference;

    Walker();
    /// A copy, with the same queue and the same points seen.
    Walker(const Walker& rhs);
    /// Starts at `start`.
    explicit Walker(IMeshPoint* start);

    /// The current point.
    IMeshPoint* operator*() const;
    /// Goes on to the next connected point.
    Walker& operator++();

    /// Two walkers are equal when both are finished, or when their current
    /// points are the same object; what they have seen doesn't matter.
    bool operator==(Walker& rhs) const;
    /// Not operator==.
    bool operator!=(Walker& rhs) const;

    /// Queue the unseen neighbours of the current point, in edge order.
    void PackQueue();

private:
    std::queue<IMeshPoint*> fQueue;
    std::set<IMeshPoint*> fSeen;
};

/// One step of a route, linked back towards the route's start.  Steps share
/// their beginnings, so they form a tree rooted at the start.
class ORVEX::IMeshPoint::IPathPoint {
public:
    /// The step to `point`, after the route `path` (null at the start).
    IPathPoint(const IMeshPoint* point, const IPathPoint* path);
    /// A copy of the step.
    IPathPoint(const IPathPoint& rhs);

    /// The point of this step.
    const IMeshPoint* GetPoint() const { return fPoint; }
    /// The route before this step, or null at the start.
    const IPathPoint* GetPath() const { return fPath; }

    /// The number of points on the route up to and including this step.
    int GetLength() const;

private:
    const IMeshPoint* fPoint;
    const IPathPoint* fPath;
};

namespace ORVEX {
    /// A point given by its two coordinates.
    class IMeshXYPoint : public IMeshPoint {
    public:
        /// A point at (`x`, `y`).
        IMeshXYPoint(double x, double y) : fX(x), fY(y) {}
        virtual ~IMeshXYPoint() {}
        /// The X coordinate.
        virtual double X() const { return fX; }
        /// The Y coordinate.
        virtual double Y() const { return fY; }

    private:
        double fX;
        double fY;
    };
}

#endif
