#include "IMeshEdge.hxx"

#include <cmath>
#include <ostream>

bool ORVEX::TMeshEdgePointerLessThan::operator()(const IMeshEdge* lhs, const IMeshEdge* rhs) const {
    return *lhs < *rhs;
}

ORVEX::IMeshEdge::IMeshEdge(IMeshPoint* a, IMeshPoint* b) {
    // Two points at the same place leave `b` as the head.
    if (*a < *b) {
        fHead = a;
        fTail = b;
    } else {
        fHead = b;
        fTail = a;
    }
}

ORVEX::IMeshEdge::~IMeshEdge() {
    if (fHead) fHead->RemoveEdge(this);
    if (fTail) fTail->RemoveEdge(this);
}

ORVEX::IMeshPoint* ORVEX::IMeshEdge::GetOther(const IMeshPoint* a) const {
    if (a == fHead) return fTail;
    if (a == fTail) return fHead;
    return nullptr;
}

double ORVEX::IMeshEdge::GetLength() const {
    return GetLength(1.0, 1.0);
}

double ORVEX::IMeshEdge::GetLength(double xScale, double yScale) const {
    const double dx = (fTail->X() - fHead->X()) * xScale;
    const double dy = (fTail->Y() - fHead->Y()) * yScale;
    return std::sqrt(dx * dx + dy * dy);
}

bool ORVEX::IMeshEdge::operator==(const IMeshEdge& rhs) const {
    return fHead == rhs.fHead && fTail == rhs.fTail;
}

bool ORVEX::IMeshEdge::operator<(const IMeshEdge& rhs) const {
    if (*fHead < *rhs.fHead) return true;
    if (*rhs.fHead < *fHead) return false;
    return *fTail < *rhs.fTail;
}

std::ostream& ORVEX::operator<<(std::ostream& s, const IMeshEdge& edge) {
    return s << static_cast<const void*>(&edge) << "->(" << static_cast<const void*>(edge.GetHead())
             << ", " << static_cast<const void*>(edge.GetTail()) << ")";
}
