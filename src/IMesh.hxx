#ifndef ORVEX_IMesh_hxx_seen
#define ORVEX_IMesh_hxx_seen

#include <TAttLine.h>
#include <TAttMarker.h>
#include <TObject.h>

#include "IMeshEdge.hxx"
#include "IMeshPoint.hxx"

namespace ORVEX {
    class IMesh;
}

/// A planar graph that owns its points and edges.  Points are keyed by their
/// coordinates, so adding a point at a place already taken merges it into
/// the stored one.  The mesh draws itself on the current pad with its
/// marker and line attributes.
class ORVEX::IMesh : public TObject, public TAttMarker, public TAttLine {
public:
    /// Walks the points in coordinate order.
    typedef TMeshPointSet::const_iterator PointIterator;
    /// Walks the edges in the order of their ends.
    typedef TMeshEdgeSet::const_iterator EdgeIterator;

    IMesh();

    /// Deletes every point and every edge once.
    virtual ~IMesh();

    /// Markers at the points, then lines from head to tail for the edges,
    /// with coordinates divided by the unit lengths.  The option is unused.
    virtual void Paint(Option_t* opt = "");

    /// Takes ownership of `point`.  When a point with the same coordinates
    /// is already stored, `point` is deleted and the stored one is returned:
    /// go on with the result.  A null point throws EMeshNull.
    virtual IMeshPoint* AddPoint(IMeshPoint* point);

    /// Takes ownership of `edge`.  When an equivalent edge is already stored,
    /// `edge` is deleted and the stored one is returned.  Either way the
    /// edge is attached to the mesh's points at its two ends.  A null edge
    /// throws EMeshNull.
    virtual IMeshEdge* AddEdge(IMeshEdge* edge);

    /// The points, keyed by coordinates.
    virtual TMeshPointSet& GetPoints();
    /// The first point.
    virtual PointIterator BeginPoints();
    /// Past the last point.
    virtual PointIterator EndPoints();

    /// The edges, keyed by the coordinates of their ends.
    virtual TMeshEdgeSet& GetEdges();
    /// The first edge.
    virtual EdgeIterator BeginEdges();
    /// Past the last edge.
    virtual EdgeIterator EndEdges();

    /// Removes and deletes an edge of this mesh; its ends stay.  The edge
    /// must be in the mesh.
    virtual void RemoveEdge(IMeshEdge* edge);

    /// The length that one unit along X stands for when painting.
    virtual void SetUnitXLength(double unitLength);
    /// The same along Y.
    virtual void SetUnitYLength(double unitLength);

    /// Sets both unit lengths through the two setters above.
    virtual void SetUnitLength(double unitLength);

protected:
    /// The points, owned.
    TMeshPointSet fPoints;
    /// The edges, owned.
    TMeshEdgeSet fEdges;
    /// The painting unit along X.
    double fUnitXLength;
    /// The painting unit along Y.
    double fUnitYLength;

private:
    IMesh(const IMesh&) = delete;
    IMesh& operator=(const IMesh&) = delete;

    /// A point as pad coordinates, after the unit lengths.
    void ToPad(const IMeshPoint* point, double& x, double& y) const;
};

#endif
