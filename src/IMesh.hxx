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
    typedef TMeshPointSet::const_iterator PointIterator;
    typedef TMeshEdgeSet::const_iterator EdgeIterator;

    IMesh();

    /// Deletes every point and every edge once.
    virtual ~IMesh();

    /// Markers at the points, then lines from head to tail for the edges,
    /// with coordinates divided by the unit lengths.  The option is unused.
    virtual void Paint(Option_t* opt = "");

    /// Takes ownership of `point`.  When a point with the same coordinates
    /// is already stored, `point` is deleted and the stored one is returned:
    /// go on with the result.  A null point has no meaning here and is not
    /// guarded against (nor is a null edge in AddEdge).
    virtual IMeshPoint* AddPoint(IMeshPoint* point);

    /// Takes ownership of `edge`.  When an equivalent edge is already stored,
    /// `edge` is deleted and the stored one is returned.  Either way the
    /// edge is attached to the mesh's points at its two ends.
    virtual IMeshEdge* AddEdge(IMeshEdge* edge);

    virtual TMeshPointSet& GetPoints();
    virtual PointIterator BeginPoints();
    virtual PointIterator EndPoints();

    virtual TMeshEdgeSet& GetEdges();
    virtual EdgeIterator BeginEdges();
    virtual EdgeIterator EndEdges();

    /// Removes and deletes an edge of this mesh; its ends stay.  The edge
    /// must be in the mesh.
    virtual void RemoveEdge(IMeshEdge* edge);

    virtual void SetUnitXLength(double unitLength);
    virtual void SetUnitYLength(double unitLength);

    /// Sets both unit lengths through the two setters above.
    virtual void SetUnitLength(double unitLength);

protected:
    TMeshPointSet fPoints;
    TMeshEdgeSet fEdges;
    double fUnitXLength;
    double fUnitYLength;

private:
    IMesh(const IMesh&) = delete;
    IMesh& operator=(const IMesh&) = delete;

    /// A point as pad coordinates, after the unit lengths.
    void ToPad(const IMeshPoint* point, double& x, double& y) const;
};

#endif
