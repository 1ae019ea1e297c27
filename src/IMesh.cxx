#include "IMesh.hxx"

#include <TVirtualPad.h>

#include <IORVEXLog.hxx>

ORVEX::IMesh::IMesh() : fUnitXLength(1.0), fUnitYLength(1.0) {}

ORVEX::IMesh::~IMesh() {
    // Points first, with their edge sets emptied so that a point doesn't
    // delete edges the mesh still lists; then the edges, cut loose from
    // their ends, which are gone by now.
    for (IMeshPoint* point : fPoints) {
        point->ReleaseEdges();
        delete point;
    }
    for (IMeshEdge* edge : fEdges) {
        edge->fHead = nullptr;
        edge->fTail = nullptr;
        delete edge;
    }
}

ORVEX::IMeshPoint* ORVEX::IMesh::AddPoint(IMeshPoint* point) {
    // A null point would be read by the first comparison of a later one.
    if (!point) {
        ORVEXError("ORVEX::IMesh::AddPoint: point is null");
        throw EMeshNull();
    }
    std::pair<TMeshPointSet::iterator, bool> inserted = fPoints.insert(point);
    IMeshPoint* stored = *inserted.first;
    if (stored != point) delete point;
    return stored;
}

ORVEX::IMeshEdge* ORVEX::IMesh::AddEdge(IMeshEdge* edge) {
    if (!edge) {
        ORVEXError("ORVEX::IMesh::AddEdge: edge is null");
        throw EMeshNull();
    }
    // One search: the place found serves as the hint for the insertion,
    // since adding points leaves the edge set alone.
    TMeshEdgeSet::iterator place = fEdges.lower_bound(edge);
    const bool stored = place != fEdges.end() && !fEdges.key_comp()(edge, *place);
    if (stored && *place != edge) {
        delete edge;
        edge = *place;
    }
    // Deliberately the base AddPoint: a mesh that overrides AddPoint (the
    // triangulation) must not be re-entered when edges are added.
    IMesh::AddPoint(edge->GetHead())->AddEdge(edge);
    IMesh::AddPoint(edge->GetTail())->AddEdge(edge);
    if (!stored) fEdges.insert(place, edge);
    return edge;
}

ORVEX::TMeshPointSet& ORVEX::IMesh::GetPoints() {
    return fPoints;
}

ORVEX::IMesh::PointIterator ORVEX::IMesh::BeginPoints() {
    return fPoints.begin();
}

ORVEX::IMesh::PointIterator ORVEX::IMesh::EndPoints() {
    return fPoints.end();
}

ORVEX::TMeshEdgeSet& ORVEX::IMesh::GetEdges() {
    return fEdges;
}

ORVEX::IMesh::EdgeIterator ORVEX::IMesh::BeginEdges() {
    return fEdges.begin();
}

ORVEX::IMesh::EdgeIterator ORVEX::IMesh::EndEdges() {
    return fEdges.end();
}

void ORVEX::IMesh::RemoveEdge(IMeshEdge* edge) {
    fEdges.erase(fEdges.find(edge));
    delete edge;
}

void ORVEX::IMesh::SetUnitXLength(double unitLength) {
    fUnitXLength = unitLength;
}

void ORVEX::IMesh::SetUnitYLength(double unitLength) {
    fUnitYLength = unitLength;
}

void ORVEX::IMesh::SetUnitLength(double unitLength) {
    SetUnitXLength(unitLength);
    SetUnitYLength(unitLength);
}

void ORVEX::IMesh::ToPad(const IMeshPoint* point, double& x, double& y) const {
    x = TVirtualPad::Pad()->XtoPad(point->X() / fUnitXLength);
    y = TVirtualPad::Pad()->YtoPad(point->Y() / fUnitYLength);
}

void ORVEX::IMesh::Paint(Option_t* /*opt*/) {
    TAttMarker::Modify();
    TAttLine::Modify();
    for (PointIterator p = BeginPoints(); p != EndPoints(); ++p) {
        double x, y;
        ToPad(*p, x, y);
        TVirtualPad::Pad()->PaintPolyMarker(-1, &x, &y, "");
    }
    for (EdgeIterator e = BeginEdges(); e != EndEdges(); ++e) {
        double x1, y1, x2, y2;
        ToPad((*e)->GetHead(), x1, y1);
        ToPad((*e)->GetTail(), x2, y2);
        TVirtualPad::Pad()->PaintLine(x1, y1, x2, y2);
    }
}
