#include "IDelaunay2D.hxx"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <typeinfo>

#include <IORVEXLog.hxx>

namespace ORVEX {
    IDelaunay2D::ITriangleIterator IDelaunay2D::fEnd;
}

namespace {
    using ORVEX::IMeshPoint;

    /// A vertex of the triangulation's own scaffold.  Its type is what tells
    /// the scaffold from the client's points.
    class IInternalXYPoint : public IMeshPoint {
    public:
        IInternalXYPoint(double x, double y) : fX(x), fY(y) {}
        virtual ~IInternalXYPoint() {}
        virtual double X() const { return fX; }
        virtual double Y() const { return fY; }

    private:
        double fX;
        double fY;
    };

    bool IsScaffold(const IMeshPoint* point) {
        return dynamic_cast<const IInternalXYPoint*>(point) != nullptr;
    }

    /// A broken precondition: rethrowing with no exception active ends the
    /// process, and no handler can catch it.
    [[noreturn]] void Terminate() {
        throw;
    }

    // The X parts alone, counted twice.  This is the rule the triangles with
    // two corners at infinity are tested by, and it decides which points are
    // in conflict with them; it must not become the usual dot product.
    inline double innerProduct(double ax, double /*ay*/, double bx, double /*by*/) {
        return ax * bx + ax * bx;
    }

    inline double outerProduct(double ax, double ay, double bx, double by) {
        return ax * by - ay * bx;
    }

    const double kScaffoldScale = 10000.0;
}

// ---------------------------------------------------------------- IDT_list

ORVEX::IDelaunayTriangle::IDT_list::~IDT_list() {
    if (fNext) delete fNext;
    fNext = nullptr;
    fKey = nullptr;
}

// ---------------------------------------------------------------- triangle

ORVEX::IDelaunayTriangle::IDelaunayTriangle(IDelaunay2D* owner)
    : fInReplaced(nullptr, this), fInSurvivor(nullptr, this) {
    owner->AddTriangle(this);
    // Three directions 120 degrees apart.  They belong to no one: the outer
    // triangles share them, and nothing ever frees them.
    const double scale = kScaffoldScale;
    fVertices[0] = new IInternalXYPoint(scale, 0.0);
    fVertices[1] = new IInternalXYPoint(-0.5 * scale, 0.8660254 * scale);
    fVertices[2] = new IInternalXYPoint(-0.5 * scale, -0.8660254 * scale);
    for (int k = 0; k < 3; ++k) {
        fX[k] = fVertices[k]->X();
        fY[k] = fVertices[k]->Y();
    }
    fFlag.infinite(3);
    fFlag.Bogus();
    fNumber = 0;
    fDaughters = nullptr;
    for (IDelaunayTriangle*& n : fNeighbors) n = nullptr;
}

ORVEX::IDelaunayTriangle::IDelaunayTriangle(IDelaunay2D* owner, IDelaunayTriangle* root, int i)
    : fInReplaced(nullptr, this), fInSurvivor(nullptr, this) {
    owner->AddTriangle(this);
    for (int k = 0; k < 3; ++k) {
        fVertices[k] = root->fVertices[k];
        fX[k] = root->fX[k];
        fY[k] = root->fY[k];
        fNeighbors[k] = nullptr;
    }
    fFlag.infinite(4);
    fFlag.Bogus();
    fNumber = 0;
    fDaughters = nullptr;
    SetNeighbor(i, root);
    root->SetNeighbor(i, this);
}

ORVEX::IDelaunayTriangle::IDelaunayTriangle(IDelaunay2D* owner, IDelaunayTriangle* f, IMeshPoint* c,
                                            int i)
    : fInReplaced(f->fDaughters, this), fInSurvivor(nullptr, this) {
    owner->AddTriangle(this);
    InheritFlags(f, i);
    fNumber = 0;
    fDaughters = nullptr;

    IDelaunayTriangle* survivor = f->GetNeighbor(i);
    f->fDaughters = &fInReplaced;
    // The survivor records the new triangle too, though it isn't split.
    fInSurvivor.fNext = survivor->fDaughters;
    survivor->fDaughters = &fInSurvivor;
    survivor->SetNeighbor(survivor->NeighborIndex(f), this);

    fVertices[0] = c;
    fX[0] = c->X();
    fY[0] = c->Y();
    for (int k = 1; k < 3; ++k) {
        const int from = (i + k) % 3;
        fVertices[k] = f->fVertices[from];
        fX[k] = f->fX[from];
        fY[k] = f->fY[from];
    }
    fNeighbors[0] = survivor;
    fNeighbors[1] = nullptr;
    fNeighbors[2] = nullptr;
}

void ORVEX::IDelaunayTriangle::InheritFlags(IDelaunayTriangle* f, int i) {
    // The corners at infinity keep their place at the end, save for the
    // one order that only last_finite can describe.
    IDT_flag& from = f->GetFlag();
    switch (from.is_infinite()) {
    case 1:
        if (!from.is_last_finite()) {
            if (i == 0) fFlag.infinite(1);
            if (i == 1) {
                fFlag.infinite(1);
                fFlag.last_finite();
            }
            if (i == 2) fFlag.infinite(0);
        } else {
            if (i == 0) {
                fFlag.infinite(1);
                fFlag.last_finite();
            }
            if (i == 1) fFlag.infinite(0);
            if (i == 2) fFlag.infinite(1);
        }
        break;
    case 2:
        if (i == 0) fFlag.infinite(2);
        if (i == 1) {
            fFlag.infinite(1);
            fFlag.last_finite();
        }
        if (i == 2) fFlag.infinite(1);
        break;
    case 3:
        fFlag.infinite(2);
        break;
    default:
        break;
    }
}

ORVEX::IDelaunayTriangle::~IDelaunayTriangle() {
    // This triangle's own nodes go with it, without the rest of their lists.
    fInReplaced.fNext = nullptr;
    fInSurvivor.fNext = nullptr;
}

bool ORVEX::IDelaunayTriangle::Conflict(IMeshPoint* p) {
    return Conflict(p->X(), p->Y());
}

bool ORVEX::IDelaunayTriangle::Conflict(double x, double y) const {
    switch (fFlag.is_infinite()) {
    case 0: {
        // The sign of the in-circle determinant, in plain doubles: negative
        // inside a counter-clockwise circumcircle, zero on it.
        const double x0 = fX[0], y0 = fY[0];
        const double x1 = fX[1] - x0, y1 = fY[1] - y0;
        const double x2 = fX[2] - x0, y2 = fY[2] - y0;
        x -= x0;
        y -= y0;
        const double z1 = x1 * x1 + y1 * y1;
        const double z2 = x2 * x2 + y2 * y2;
        const double alpha = y1 * z2 - z1 * y2;
        const double beta = x2 * z1 - x1 * z2;
        const double gamma = x1 * y2 - y1 * x2;
        return alpha * x + beta * y + gamma * (x * x + y * y) <= 0;
    }
    case 1:
        if (fFlag.is_last_finite()) {
            return outerProduct(x - fX[2], y - fY[2], fX[2] - fX[0], fY[2] - fY[0]) >= 0;
        }
        return outerProduct(x - fX[0], y - fY[0], fX[0] - fX[1], fY[0] - fY[1]) >= 0;
    case 2:
        return innerProduct(x - fX[0], y - fY[0], fX[1] + fX[2], fY[1] + fY[2]) >= 0;
    case 3:
        return true;
    default:
        return false;
    }
}

ORVEX::IDelaunayTriangle* ORVEX::IDelaunayTriangle::FindConflict(IMeshPoint* p) {
    return FindConflict(p->X(), p->Y());
}

ORVEX::IDelaunayTriangle* ORVEX::IDelaunayTriangle::FindConflict(double x, double y) {
    if (!Conflict(x, y)) return nullptr;
    if (!fFlag.HasSplit()) return this;
    for (IDT_list* node = fDaughters; node; node = node->GetNext()) {
        // The next daughter is fetched while this one is tested: the
        // history is far larger than the caches.
        __builtin_prefetch(node->GetNext());
        IDelaunayTriangle* daughter = node->GetNode();
        if (daughter->fNumber == fNumber) continue;
        daughter->fNumber = fNumber;
        IDelaunayTriangle* found = daughter->FindConflict(x, y);
        if (found) return found;
    }
    return nullptr;
}

void ORVEX::IDelaunayTriangle::Circle(double& xc, double& yc, double& r) {
    const double epsilon = 1e-6;
    const double x0 = fVertices[0]->X(), y0 = fVertices[0]->Y();
    const double x1 = fVertices[1]->X(), y1 = fVertices[1]->Y();
    const double x2 = fVertices[2]->X(), y2 = fVertices[2]->Y();
    const double mx1 = (x0 + x1) / 2, my1 = (y0 + y1) / 2;
    const double mx2 = (x1 + x2) / 2, my2 = (y1 + y2) / 2;
    // No guard for degenerate corners: the divisions give what they give.
    if (std::fabs(y1 - y0) < epsilon) {
        const double m2 = -(x2 - x1) / (y2 - y1);
        xc = (x0 + x1) / 2;
        yc = m2 * (xc - mx2) + my2;
    } else if (std::fabs(y2 - y1) < epsilon) {
        const double m1 = -(x1 - x0) / (y1 - y0);
        xc = (x1 + x2) / 2;
        yc = m1 * (xc - mx1) + my1;
    } else {
        const double m1 = -(x1 - x0) / (y1 - y0);
        const double m2 = -(x2 - x1) / (y2 - y1);
        xc = (m1 * mx1 - m2 * mx2 + my2 - my1) / (m1 - m2);
        yc = m1 * (xc - mx1) + my1;
    }
    r = std::sqrt((x1 - xc) * (x1 - xc) + (y1 - yc) * (y1 - yc));
}

// Every index that reaches the neighbours comes from the triangulation and
// is in range already; they are guarded as the corners are, so that a bad
// index from a client ends the process instead of corrupting memory.
ORVEX::IDelaunayTriangle* ORVEX::IDelaunayTriangle::GetNeighbor(int i) const {
    if (i < 0 || i > 2) Terminate();
    return fNeighbors[i];
}

void ORVEX::IDelaunayTriangle::SetNeighbor(int i, IDelaunayTriangle* n) {
    if (i < 0 || i > 2) Terminate();
    fNeighbors[i] = n;
}

ORVEX::IMeshPoint* ORVEX::IDelaunayTriangle::GetVertex(int i) const {
    if (i < 0 || i > 2) Terminate();
    return fVertices[i];
}

int ORVEX::IDelaunayTriangle::ClockwiseNeighbor(IMeshPoint* p) const {
    if (p == fVertices[0]) return 2;
    if (p == fVertices[1]) return 0;
    return 1;
}

int ORVEX::IDelaunayTriangle::NeighborIndex(IDelaunayTriangle* n) const {
    if (n == fNeighbors[0]) return 0;
    if (n == fNeighbors[1]) return 1;
    return 2;
}

std::ostream& ORVEX::operator<<(std::ostream& s, const IDelaunayTriangle& triangle) {
    return s << static_cast<const void*>(&triangle) << "->("
             << static_cast<const void*>(triangle.GetVertex(0)) << ", "
             << static_cast<const void*>(triangle.GetVertex(1)) << ", "
             << static_cast<const void*>(triangle.GetVertex(2)) << ")";
}

// ---------------------------------------------------------------- iterator

ORVEX::IDelaunay2D::ITriangleIterator::ITriangleIterator() {}

ORVEX::IDelaunay2D::ITriangleIterator::ITriangleIterator(const ITriangleIterator& rhs)
    : fQueue(rhs.fQueue), fSeen(rhs.fSeen) {}

ORVEX::IDelaunay2D::ITriangleIterator::ITriangleIterator(IDelaunayTriangle* node) {
    fQueue.push(node);
    See(node);
    PackQueue();
    if (fQueue.front()->GetFlag().GetValue() != 0) ++(*this);
}

ORVEX::IDelaunay2D::ITriangleIterator& ORVEX::IDelaunay2D::ITriangleIterator::operator++() {
    // Pass through the scaffold and the triangles at infinity; halt only at
    // a live triangle with three finite corners.
    for (;;) {
        fQueue.pop();
        if (fQueue.empty()) break;
        PackQueue();
        if (fQueue.front()->GetFlag().GetValue() == 0) break;
    }
    return *this;
}

bool ORVEX::IDelaunay2D::ITriangleIterator::operator==(ITriangleIterator& rhs) const {
    if (fQueue.empty()) return rhs.fQueue.empty();
    if (rhs.fQueue.empty()) return false;
    return fQueue.front() == rhs.fQueue.front();
}

bool ORVEX::IDelaunay2D::ITriangleIterator::operator!=(ITriangleIterator& rhs) const {
    return !(*this == rhs);
}

bool ORVEX::IDelaunay2D::ITriangleIterator::See(const IDelaunayTriangle* triangle) {
    const std::size_t index = triangle->fIndex;
    if (index >= fSeen.size()) fSeen.resize(std::max(index + 1, 2 * fSeen.size()));
    if (fSeen[index]) return false;
    fSeen[index] = true;
    return true;
}

void ORVEX::IDelaunay2D::ITriangleIterator::PackQueue() {
    if (fQueue.empty()) return;
    IDelaunayTriangle* current = fQueue.front();
    for (IDelaunayTriangle* neighbor : current->fNeighbors) {
        // Only a fan left half linked by a failed insertion has a missing
        // neighbour; skip it rather than queue nothing.
        if (neighbor && See(neighbor)) fQueue.push(neighbor);
    }
}

// ---------------------------------------------------------------- mesh

ORVEX::IDelaunay2D::IDelaunay2D() : IMesh() {
    Init();
}

ORVEX::IDelaunay2D::~IDelaunay2D() {
    for (IDelaunayTriangle* triangle : fChildren) delete triangle;
    fChildren.clear();
    fChildren.shrink_to_fit();
}

void ORVEX::IDelaunay2D::Paint(Option_t* opt) {
    IMesh::Paint(opt);
}

void ORVEX::IDelaunay2D::AddTriangle(IDelaunayTriangle* triangle) {
    triangle->fIndex = static_cast<int>(fChildren.size());
    fChildren.push_back(triangle);
}

ORVEX::IDelaunay2D::ITriangleIterator ORVEX::IDelaunay2D::BeginTriangles() {
    return ITriangleIterator(fRoot);
}

ORVEX::IDelaunay2D::ITriangleIterator& ORVEX::IDelaunay2D::EndTriangles() {
    return fEnd;
}

void ORVEX::IDelaunay2D::Init() {
    fNumber = 0;
    fRoot = new IDelaunayTriangle(this);
    for (int i = 0; i < 3; ++i) new IDelaunayTriangle(this, fRoot, i);
    IDelaunayTriangle* outer0 = fRoot->GetNeighbor(0);
    IDelaunayTriangle* outer1 = fRoot->GetNeighbor(1);
    IDelaunayTriangle* outer2 = fRoot->GetNeighbor(2);
    outer0->SetNeighbor(1, outer1);
    outer0->SetNeighbor(2, outer2);
    outer1->SetNeighbor(0, outer0);
    outer1->SetNeighbor(2, outer2);
    outer2->SetNeighbor(0, outer0);
    outer2->SetNeighbor(1, outer1);

    // Two finite corners, far out, are triangulated as any point would be,
    // and then taken out of the mesh's points: they stay in the
    // triangulation, belong to no one and are never freed.
    const double scale = kScaffoldScale;
    IMeshPoint* corner = new IInternalXYPoint(-scale, scale);
    AddPoint(corner);
    fPoints.erase(corner);
    corner = new IInternalXYPoint(scale, -scale);
    AddPoint(corner);
    fPoints.erase(corner);
}

bool ORVEX::IDelaunay2D::RotateAround(IMeshPoint* r, double x, double y, IDelaunayTriangle*& n,
                                      int& i, int& budget) {
    for (;;) {
        if (--budget < 0) return false;
        i = n->ClockwiseNeighbor(r);
        IDelaunayTriangle* m = n->fNeighbors[i];
        // Only a walk that rounding has turned back into this insertion's
        // own unfinished fan finds a missing neighbour.  There is nothing to
        // walk on to, so the insertion fails as one out of budget does.
        if (!m) return false;
        if (m->GetFlag().HasSplit()) {
            n = m;
        } else if (m->Conflict(x, y)) {
            n = m;
            n->GetFlag().Split();
        } else {
            return true;
        }
    }
}

ORVEX::IMeshPoint* ORVEX::IDelaunay2D::AddPoint(IMeshPoint* point) {
    if (!point) Terminate();
    // A NaN has no place in the order of the points, and would corrupt
    // their set; an infinity turns the conflict tests into NaNs.  Either is
    // stopped before the mesh is touched.
    if (!std::isfinite(point->X()) || !std::isfinite(point->Y())) {
        ORVEXError("ORVEX::IDelaunay2D::AddPoint: point (" << point->X() << ", " << point->Y()
                                                           << ") is not a finite place");
        delete point;
        throw EDelaunayPoint();
    }
    IMeshPoint* p = IMesh::AddPoint(point);
    if (p != point) return p;

    ++fNumber;
    fRoot->SetNumber(fNumber);
    // One budget for every loop of this insertion.  It is the only defence
    // against what rounding and co-circular points can do to the walk.
    int budget = 100 * static_cast<int>(fPoints.size());

    const double x = p->X(), y = p->Y();
    IDelaunayTriangle* n = fRoot->FindConflict(x, y);
    if (!n) return p;

    // Only a point on a scaffold corner can coincide with a corner here:
    // the client's duplicates were merged above.  The bound skips the last
    // corner, which is the one at infinity save under last_finite.
    for (int i = 0; i < 3 - n->GetFlag().is_infinite(); ++i) {
        if (x == n->fX[i] && y == n->fY[i]) Terminate();
        if (--budget < 0) {
            ORVEXSevere("Loop 1");
            return nullptr;
        }
    }

    // Turn around q until the next triangle is out of conflict: edge i of
    // n is then on the boundary of the region destroyed by p.
    n->GetFlag().Split();
    IMeshPoint* q = n->fVertices[0];
    int i;
    for (;;) {
        i = n->ClockwiseNeighbor(q);
        IDelaunayTriangle* m = n->fNeighbors[i];
        if (!m->Conflict(x, y)) break;
        n = m;
        n->GetFlag().Split();
        if (--budget < 0) {
            ORVEXSevere("Find Conflict");
            return nullptr;
        }
    }

    // Walk the boundary counter-clockwise, making a fan of triangles around
    // p, each with p as corner 0, neighbour 1 the next and 2 the previous.
    IDelaunayTriangle* first = new IDelaunayTriangle(this, n, p, i);
    IMeshPoint* r = n->fVertices[(i + 2) % 3];
    if (!RotateAround(r, x, y, n, i, budget)) {
        ORVEXSevere("Find Conflict");
        return nullptr;
    }
    IDelaunayTriangle* last = first;
    for (;;) {
        if (--budget < 0) {
            ORVEXSevere("Find Conflict");
            return nullptr;
        }
        IDelaunayTriangle* created = new IDelaunayTriangle(this, n, p, i);
        created->SetNeighbor(2, last);
        last->SetNeighbor(1, created);
        r = n->fVertices[(i + 2) % 3];
        if (r == q) {
            first->SetNeighbor(2, created);
            created->SetNeighbor(1, first);
            return p;
        }
        if (!RotateAround(r, x, y, n, i, budget)) {
            ORVEXSevere("Find Conflict");
            return nullptr;
        }
        last = created;
    }
}

namespace {
    /// A side of a triangle between two client points, with the places of
    /// its ends in the point order: head first, as the edge will have them.
    struct Side {
        double fHeadX, fHeadY, fTailX, fTailY;
        ORVEX::IMeshPoint* fA;
        ORVEX::IMeshPoint* fB;
        bool operator<(const Side& rhs) const {
            if (fHeadX != rhs.fHeadX) return fHeadX < rhs.fHeadX;
            if (fHeadY != rhs.fHeadY) return fHeadY < rhs.fHeadY;
            if (fTailX != rhs.fTailX) return fTailX < rhs.fTailX;
            return fTailY < rhs.fTailY;
        }
    };
}

void ORVEX::IDelaunay2D::Close() {
    // A subclass may override AddEdge and so see every call: it is given
    // one new edge per triangle side, in the order the iterator visits
    // them, duplicates included.
    if (typeid(*this) != typeid(IDelaunay2D)) {
        CloseSideBySide();
        return;
    }
    // Triangles already closed, by order of creation.  A side shared with
    // one of them was taken then, and adding its edge again would change
    // nothing: each edge is made once.
    std::vector<bool> closed(fChildren.size());
    std::vector<Side> sides;
    sides.reserve(fPoints.size() * 3);
    for (ITriangleIterator t = BeginTriangles(); t != EndTriangles(); ++t) {
        IMeshPoint* const* corners = t->fVertices;
        const bool scaffold[3] = {IsScaffold(corners[0]), IsScaffold(corners[1]),
                                  IsScaffold(corners[2])};
        for (int k = 0; k < 3; ++k) {
            const int l = (k + 1) % 3;
            if (scaffold[k] || scaffold[l]) continue;
            const IDelaunayTriangle* across = t->fNeighbors[(k + 2) % 3];
            if (across && closed[across->fIndex] && across->HasSide(corners[k], corners[l])) {
                continue;
            }
            // The head is the corner that sorts first (the two differ).
            const bool forward =
                t->fX[k] < t->fX[l] || (t->fX[k] == t->fX[l] && t->fY[k] < t->fY[l]);
            const int head = forward ? k : l, tail = forward ? l : k;
            sides.push_back(
                {t->fX[head], t->fY[head], t->fX[tail], t->fY[tail], corners[k], corners[l]});
        }
        closed[t->fIndex] = true;
    }
    // The edges go in in their own order, so that each search of the edge
    // and point sets runs next to the one before.  The order of the calls
    // leaves no trace: every edge joins distinct places.
    std::sort(sides.begin(), sides.end());
    for (const Side& side : sides) AddEdge(new IMeshEdge(side.fA, side.fB));
}

void ORVEX::IDelaunay2D::CloseSideBySide() {
    for (ITriangleIterator t = BeginTriangles(); t != EndTriangles(); ++t) {
        IMeshPoint* const* corners = t->fVertices;
        for (int k = 0; k < 3; ++k) {
            IMeshPoint* head = corners[k];
            IMeshPoint* tail = corners[(k + 1) % 3];
            if (!IsScaffold(head) && !IsScaffold(tail)) AddEdge(new IMeshEdge(head, tail));
        }
    }
}
