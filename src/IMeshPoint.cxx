#include "IMeshPoint.hxx"

#include <algorithm>
#include <deque>
#include <ostream>

#include <IORVEXLog.hxx>

#include "IMeshEdge.hxx"

namespace ORVEX {
    IMeshPoint::Walker IMeshPoint::fEnd;
}

ORVEX::IMeshPoint::IMeshPoint() {}

ORVEX::IMeshPoint::~IMeshPoint() {
    while (!fEdges.empty()) {
        IMeshEdge* edge = *fEdges.begin();
        fEdges.erase(edge);
        delete edge;
    }
}

int ORVEX::IMeshPoint::GetEdgeCount() const {
    return static_cast<int>(fEdges.size());
}

ORVEX::IMeshPoint::EdgeIterator ORVEX::IMeshPoint::BeginEdges() const {
    return fEdges.begin();
}

ORVEX::IMeshPoint::EdgeIterator ORVEX::IMeshPoint::EndEdges() const {
    return fEdges.end();
}

void ORVEX::IMeshPoint::AddEdge(IMeshEdge* edge) {
    fEdges.insert(edge);
}

void ORVEX::IMeshPoint::RemoveEdge(IMeshEdge* edge) {
    fEdges.erase(edge);
}

void ORVEX::IMeshPoint::ReleaseEdges() {
    fEdges.clear();
}

ORVEX::IMeshPoint::Walker ORVEX::IMeshPoint::BeginPoints() {
    return Walker(this);
}

ORVEX::IMeshPoint::Walker& ORVEX::IMeshPoint::EndPoints() {
    return fEnd;
}

std::ostream& ORVEX::operator<<(std::ostream& s, const IMeshPoint& point) {
    s << static_cast<const void*>(&point) << "->(" << point.X() << ", " << point.Y() << ")";
    for (IMeshPoint::EdgeIterator e = point.BeginEdges(); e != point.EndEdges(); ++e) {
        s << " " << static_cast<const void*>(*e);
    }
    return s;
}

// ---------------------------------------------------------------- Walker

ORVEX::IMeshPoint::Walker::Walker() {}

ORVEX::IMeshPoint::Walker::Walker(const Walker& rhs) : fQueue(rhs.fQueue), fSeen(rhs.fSeen) {}

ORVEX::IMeshPoint::Walker::Walker(IMeshPoint* start) {
    fQueue.push(start);
    fSeen.insert(start);
    PackQueue();
}

ORVEX::IMeshPoint* ORVEX::IMeshPoint::Walker::operator*() const {
    return fQueue.front();
}

ORVEX::IMeshPoint::Walker& ORVEX::IMeshPoint::Walker::operator++() {
    fQueue.pop();
    PackQueue();
    return *this;
}

bool ORVEX::IMeshPoint::Walker::operator==(Walker& rhs) const {
    if (fQueue.empty()) return rhs.fQueue.empty();
    if (rhs.fQueue.empty()) return false;
    return fQueue.front() == rhs.fQueue.front();
}

bool ORVEX::IMeshPoint::Walker::operator!=(Walker& rhs) const {
    return !(*this == rhs);
}

void ORVEX::IMeshPoint::Walker::PackQueue() {
    if (fQueue.empty()) return;
    IMeshPoint* current = fQueue.front();
    for (EdgeIterator e = current->BeginEdges(); e != current->EndEdges(); ++e) {
        IMeshPoint* other = (*e)->GetOther(current);
        if (fSeen.count(other)) continue;
        fQueue.push(other);
        fSeen.insert(other);
    }
}

// ---------------------------------------------------------------- paths

ORVEX::IMeshPoint::IPathPoint::IPathPoint(const IMeshPoint* point, const IPathPoint* path)
    : fPoint(point), fPath(path) {}

ORVEX::IMeshPoint::IPathPoint::IPathPoint(const IPathPoint& rhs)
    : fPoint(rhs.fPoint), fPath(rhs.fPath) {}

int ORVEX::IMeshPoint::IPathPoint::GetLength() const {
    if (!fPath) return 1;
    return 1 + fPath->GetLength();
}

namespace {
    typedef ORVEX::IMeshPoint::IPathPoint IPathPoint;

    template <typename Container>
    bool HoldsStepAt(const Container& steps, const ORVEX::IMeshPoint* point) {
        return std::find_if(steps.begin(), steps.end(), [point](const IPathPoint* step) {
                   return step->GetPoint() == point;
               }) != steps.end();
    }

    /// The route that ends with `last`, read backwards from it.
    ORVEX::IMeshPoint::PointVector TraceBack(const IPathPoint* last) {
        ORVEX::IMeshPoint::PointVector route;
        for (const IPathPoint* step = last; step; step = step->GetPath()) {
            route.push_back(step->GetPoint());
        }
        return route;
    }
}

ORVEX::IMeshPoint::PathVector ORVEX::IMeshPoint::GetPaths(const IMeshPoint* end, int maxPaths,
                                                          int maxSteps) const {
    // The route count is bounded by the edges of `end`, which a null end
    // doesn't have.
    if (!end) {
        ORVEXError("ORVEX::IMeshPoint::GetPaths: end is null (maxPaths "
                   << maxPaths << ", maxSteps " << maxSteps << ")");
        throw EMeshPathEnd();
    }
    std::deque<IPathPoint*> toBeChecked;
    std::set<IPathPoint*> pointsChecked;
    std::vector<IPathPoint*> completedPaths;

    toBeChecked.push_back(new IPathPoint(this, nullptr));
    // A route reaches `end` through one of its edges, so there can't be
    // more routes than it has edges.
    const std::size_t limit = std::max(0, std::min(maxPaths, end->GetEdgeCount()));

    while (!toBeChecked.empty()) {
        IPathPoint* current = toBeChecked.front();
        toBeChecked.pop_front();
        if (!pointsChecked.insert(current).second) continue;
        if (current->GetLength() > maxSteps) continue;
        const IMeshPoint* here = current->GetPoint();
        for (EdgeIterator e = here->BeginEdges(); e != here->EndEdges(); ++e) {
            const IMeshPoint* other = (*e)->GetOther(here);
            if (other == end) {
                // `end` closes a route but is never queued: no route runs
                // through it.
                completedPaths.push_back(new IPathPoint(end, current));
                continue;
            }
            if (HoldsStepAt(toBeChecked, other)) continue;
            if (HoldsStepAt(pointsChecked, other)) continue;
            toBeChecked.push_back(new IPathPoint(other, current));
        }
        if (completedPaths.size() >= limit) break;
    }

    PathVector result;
    for (IPathPoint* last : completedPaths) {
        result.push_back(TraceBack(last));
        delete last;
    }
    for (IPathPoint* step : pointsChecked) delete step;
    // The steps still waiting when the limit stopped the search are leaves
    // of the tree: nothing refers to them, so they can go as well.
    for (IPathPoint* step : toBeChecked) delete step;
    return result;
}
