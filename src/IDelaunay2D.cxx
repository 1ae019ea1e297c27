#include "IDelaunay2D.hxx"

#include <cmath>
#include <ostream>

#include <IORVEXLog.hxx>

namespace ORVEX {
    IDelaunay2D::ITriangleIterator IDelaunay2D::fEnd;
}

namespace {
    using ORVEX::IMeshPoint;
    using ORVEX::IMeshXYPoint;

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

    inline IMeshXYPoint sum(const IMeshPoint& a, const IMeshPoint& b) {
        return IMeshXYPoint(a.X() + b.X(), a.Y() + b.Y());
    }

    inline IMeshXYPoint difference(const IMeshPoint& a, const IMeshPoint& b) {
        return IMeshXYPoint(a.X() - b.X(), a.Y() - b.Y());
    }

    // Built from the X parts alone, counted twice.  This is the rule the
    // triangles with two corners at infinity are tested by, and it decides
    // which points are in conflict with them; it must not become the usual
    // dot product.
    inline double innerProduct(const IMeshPoint& a, const IMeshPoint& b) {
        return a.X() * b.X() + a.X() * b.X();
    }

    inline double outerProduct(const IMeshPoint& a, const IMeshPoint& b) {
        return a.X() * b.Y() - a.Y() * b.X();
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

ORVEX::IDelaunayTriangle::IDelaunayTriangle(IDelaunay2D* owner) {
    owner->AddTriangle(this);
    // Three directions 120 degrees apart.  They belong to no one: the outer
    // triangles share them, and nothing ever frees them.
    const double scale = kScaffoldScale;
    fVertices[0] = new IInternalXYPoint(scale, 0.0);
    fVertices[1] = new IInternalXYPoint(-0.5 * scale, 0.8660254 * scale);
    fVertices[2] = new IInternalXYPoint(-0.5 * scale, -0.8660254 * scale);
    fFlag.infinite(3);
    fFlag.Bogus();
    fNumber = 0;
    fDaughters = nullptr;
    for (IDelaunayTriangle*& n : fNeighbors) n = nullptr;
}

ORVEX::IDelaunayTriangle::IDelaunayTriangle(IDelaunay2D* owner, IDelaunayTriangle* root, int i) {
    owner->AddTriangle(this);
    for (int k = 0; k < 3; ++k) {
        fVertices[k] = root->fVertices[k];
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
                                            int i) {
    owner->AddTriangle(this);
    InheritFlags(f, i);
    fNumber = 0;
    fDaughters = nullptr;

    IDelaunayTriangle* survivor = f->GetNeighbor(i);
    f->fDaughters = new IDT_list(f->fDaughters, this);
    // The survivor records the new triangle too, though it isn't split.
    survivor->fDaughters = new IDT_list(survivor->fDaughters, this);
    survivor->SetNeighbor(survivor->NeighborIndex(f), this);

    fVertices[0] = c;
    fVertices[1] = f->GetVertex((i + 1) % 3);
    fVertices[2] = f->GetVertex((i + 2) % 3);
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
    delete fDaughters;
}

bool ORVEX::IDelaunayTriangle::Conflict(IMeshPoint* p) {
    const IMeshPoint& v0 = *fVertices[0];
    const IMeshPoint& v1 = *fVertices[1];
    const IMeshPoint& v2 = *fVertices[2];
    switch (fFlag.is_infinite()) {
    case 0: {
        // The sign of the in-circle determinant, in plain doubles: negative
        // inside a counter-clockwise circumcircle, zero on it.
        double x = p->X(), y = p->Y();
        double x0 = v0.X(), y0 = v0.Y();
        double x1 = v1.X(), y1 = v1.Y();
        double x2 = v2.X(), y2 = v2.Y();
        x1 -= x0;
        x2 -= x0;
        x -= x0;
        y1 -= y0;
        y2 -= y0;
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
            return outerProduct(difference(*p, v2), difference(v2, v0)) >= 0;
        }
        return outerProduct(difference(*p, v0), difference(v0, v1)) >= 0;
    case 2:
        return innerProduct(difference(*p, v0), sum(v1, v2)) >= 0;
    case 3:
        return true;
    default:
        return false;
    }
}

ORVEX::IDelaunayTriangle* ORVEX::IDelaunayTriangle::FindConflict(IMeshPoint* p) {
    if (!Conflict(p)) return nullptr;
    if (!fFlag.HasSplit()) return this;
    for (IDT_list* node = fDaughters; node; node = node->GetNext()) {
        IDelaunayTriangle* daughter = node->GetNode();
        if (daughter->GetNumber() == GetNumber()) continue;
        daughter->SetNumber(GetNumber());
        IDelaunayTriangle* found = daughter->FindConflict(p);
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
    fSeen.insert(node);
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

void ORVEX::IDelaunay2D::ITriangleIterator::PackQueue() {
    if (fQueue.empty()) return;
    IDelaunayTriangle* current = fQueue.front();
    for (int i = 0; i < 3; ++i) {
        IDelaunayTriangle* neighbor = current->GetNeighbor(i);
        // Only a fan left half linked by a failed insertion has a missing
        // neighbour; skip it rather than queue nothing.
        if (!neighbor || fSeen.count(neighbor)) continue;
        fQueue.push(neighbor);
        fSeen.insert(neighbor);
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

bool ORVEX::IDelaunay2D::RotateAround(IMeshPoint* r, IMeshPoint* p, IDelaunayTriangle*& n, int& i,
                                      int& budget) {
    for (;;) {
        if (--budget < 0) return false;
        i = n->ClockwiseNeighbor(r);
        IDelaunayTriangle* m = n->GetNeighbor(i);
        if (m->GetFlag().HasSplit()) {
            n = m;
        } else if (m->Conflict(p)) {
            n = m;
            n->GetFlag().Split();
        } else {
            return true;
        }
    }
}

ORVEX::IMeshPoint* ORVEX::IDelaunay2D::AddPoint(IMeshPoint* point) {
    if (!point) Terminate();
    IMeshPoint* p = IMesh::AddPoint(point);
    if (p != point) return p;

    ++fNumber;
    fRoot->SetNumber(fNumber);
    // One budget for every loop of this insertion.  It is the only defence
    // against what rounding and co-circular points can do to the walk.
    int budget = 100 * static_cast<int>(fPoints.size());

    IDelaunayTriangle* n = fRoot->FindConflict(p);
    if (!n) return p;

    // Only a point on a scaffold corner can coincide with a corner here:
    // the client's duplicates were merged above.  The bound skips the last
    // corner, which is the one at infinity save under last_finite.
    for (int i = 0; i < 3 - n->GetFlag().is_infinite(); ++i) {
        IMeshPoint* v = n->GetVertex(i);
        if (p->X() == v->X() && p->Y() == v->Y()) Terminate();
        if (--budget < 0) {
            ORVEXSevere("Loop 1");
            return nullptr;
        }
    }

    // Turn around q until the next triangle is out of conflict: edge i of
    // n is then on the boundary of the region destroyed by p.
    n->GetFlag().Split();
    IMeshPoint* q = n->GetVertex(0);
    int i;
    for (;;) {
        i = n->ClockwiseNeighbor(q);
        IDelaunayTriangle* m = n->GetNeighbor(i);
        if (!m->Conflict(p)) break;
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
    IMeshPoint* r = n->GetVertex((i + 2) % 3);
    if (!RotateAround(r, p, n, i, budget)) {
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
        r = n->GetVertex((i + 2) % 3);
        if (r == q) {
            first->SetNeighbor(2, created);
            created->SetNeighbor(1, first);
            return p;
        }
        if (!RotateAround(r, p, n, i, budget)) {
            ORVEXSevere("Find Conflict");
            return nullptr;
        }
        last = created;
    }
}

void ORVEX::IDelaunay2D::Close() {
    for (ITriangleIterator t = BeginTriangles(); t != EndTriangles(); ++t) {
        for (int k = 0; k < 3; ++k) {
            IMeshPoint* a = t->GetVertex(k);
            IMeshPoint* b = t->GetVertex((k + 1) % 3);
            if (IsScaffold(a) || IsScaffold(b)) continue;
            AddEdge(new IMeshEdge(a, b));
        }
    }
}
