#ifndef ORVEX_IMeshEdge_hxx_seen
#define ORVEX_IMeshEdge_hxx_seen

#include <iosfwd>

#include "IMeshPoint.hxx"

namespace ORVEX {
    class IMeshEdge;

    std::ostream& operator<<(std::ostream& s, const IMeshEdge& edge);
}

/// An undirected edge between two mesh points.  The end that sorts first is
/// the head.  An edge orders by the coordinates of its ends but is equal to
/// another only when both ends are the same objects, so two edges between
/// distinct points at the same places are one key in a set without being
/// equal.
class ORVEX::IMeshEdge {
public:
    /// Does not register the edge on either point; IMesh::AddEdge does.
    IMeshEdge(IMeshPoint* a, IMeshPoint* b);

    /// Detaches the edge from its head, then from its tail.
    virtual ~IMeshEdge();

    /// One end of the edge.
    IMeshPoint* GetHead() const { return fHead; }
    /// The other end.
    IMeshPoint* GetTail() const { return fTail; }

    /// The end that isn't `a`, or null when `a` is neither end (compared by
    /// pointer).
    IMeshPoint* GetOther(const IMeshPoint* a) const;

    /// The distance between the two ends.
    double GetLength() const;

    /// The length with the X and Y differences multiplied by the scales.
    double GetLength(double xScale, double yScale) const;

    /// True when both edges have the same head object and the same tail object.
    bool operator==(const IMeshEdge& rhs) const;
    /// Orders edges by the coordinates of their heads, then of their tails.
    bool operator<(const IMeshEdge& rhs) const;

private:
    friend class IMesh;

    IMeshEdge(const IMeshEdge&) = delete;
    IMeshEdge& operator=(const IMeshEdge&) = delete;

    IMeshPoint* fHead;
    IMeshPoint* fTail;
};

#endif
