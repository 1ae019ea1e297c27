// The Delaunay mesh written out step by step, as the numbered procedures of
// IDelaunay2D read: a history of triangles searched through daughter lists,
// a rotation to the boundary of the region in conflict, a fan of new
// triangles, breadth-first iteration with an ordered set of seen triangles,
// and Close building one edge per triangle side.  It is the reference that
// the tests compare the library with; it is never built into the library.
// Its reports are collected as plain texts.  Like the library, it never
// frees its five scaffold points.
#ifndef ORVEX_Delaunay2DReference_hxx_seen
#define ORVEX_Delaunay2DReference_hxx_seen

#include <queue>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Delaunay2DReference {

    struct Point {
        double fX, fY;
        bool fScaffold;
        Point(double x, double y, bool scaffold) : fX(x), fY(y), fScaffold(scaffold) {}
    };

    /// By X, then by Y, exactly; a point is never less than itself.
    inline bool Less(const Point* a, const Point* b) {
        if (a == b) return false;
        if (a->fX < b->fX) return true;
        if (a->fX > b->fX) return false;
        return a->fY < b->fY;
    }

    struct PointLess {
        bool operator()(const Point* a, const Point* b) const { return Less(a, b); }
    };

    class Mesh;

    struct Triangle {
        int fFlag = 0;
        unsigned int fNumber = 0;
        int fIndex;  // order of creation
        Point* fVertices[3] = {nullptr, nullptr, nullptr};
        Triangle* fNeighbors[3] = {nullptr, nullptr, nullptr};
        std::vector<Triangle*> fDaughters;  // most recent last

        int Infinite() const { return fFlag & 7; }
        bool LastFinite() const { return fFlag & 8; }
        bool HasSplit() const { return fFlag & 16; }
        void Split() { fFlag |= 16; }

        explicit Triangle(Mesh* owner);
        Triangle(Mesh* owner, Triangle* root, int i);
        Triangle(Mesh* owner, Triangle* f, Point* c, int i);

        bool Conflict(const Point* p) const {
            const Point& v0 = *fVertices[0];
            const Point& v1 = *fVertices[1];
            const Point& v2 = *fVertices[2];
            switch (Infinite()) {
            case 0: {
                double x = p->fX, y = p->fY;
                double x0 = v0.fX, y0 = v0.fY;
                double x1 = v1.fX, y1 = v1.fY;
                double x2 = v2.fX, y2 = v2.fY;
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
                if (LastFinite()) {
                    // outer(p - v2, v2 - v0)
                    const double ax = p->fX - v2.fX, ay = p->fY - v2.fY;
                    const double bx = v2.fX - v0.fX, by = v2.fY - v0.fY;
                    return ax * by - ay * bx >= 0;
                } else {
                    const double ax = p->fX - v0.fX, ay = p->fY - v0.fY;
                    const double bx = v0.fX - v1.fX, by = v0.fY - v1.fY;
                    return ax * by - ay * bx >= 0;
                }
            case 2: {
                // The X parts alone, counted twice.
                const double ax = p->fX - v0.fX;
                const double bx = v1.fX + v2.fX;
                return ax * bx + ax * bx >= 0;
            }
            case 3:
                return true;
            default:
                return false;
            }
        }

        Triangle* FindConflict(const Point* p) {
            if (!Conflict(p)) return nullptr;
            if (!HasSplit()) return this;
            for (std::size_t k = fDaughters.size(); k-- > 0;) {
                Triangle* n = fDaughters[k];
                if (n->fNumber == fNumber) continue;
                n->fNumber = fNumber;
                Triangle* found = n->FindConflict(p);
                if (found) return found;
            }
            return nullptr;
        }

        int ClockwiseNeighbor(const Point* p) const {
            if (p == fVertices[0]) return 2;
            if (p == fVertices[1]) return 0;
            return 1;
        }

        int NeighborIndex(const Triangle* n) const {
            if (n == fNeighbors[0]) return 0;
            if (n == fNeighbors[1]) return 1;
            return 2;
        }
    };

    /// An edge as the places of its two ends, the lesser first.
    typedef std::pair<std::pair<double, double>, std::pair<double, double> > Edge;

    /// What one insertion gave.
    enum Result { kNull, kInserted, kMerged };

    class Mesh {
    public:
        std::set<Point*, PointLess> fPoints;
        std::set<Edge> fEdges;
        std::vector<Triangle*> fChildren;
        std::vector<std::string> fReports;
        int fNumber = 0;
        Triangle* fRoot = nullptr;

        Mesh() {
            const double scale = 10000.0;
            fRoot = new Triangle(this);
            for (int i = 0; i < 3; ++i) new Triangle(this, fRoot, i);
            Triangle* o0 = fRoot->fNeighbors[0];
            Triangle* o1 = fRoot->fNeighbors[1];
            Triangle* o2 = fRoot->fNeighbors[2];
            o0->fNeighbors[1] = o1;
            o0->fNeighbors[2] = o2;
            o1->fNeighbors[0] = o0;
            o1->fNeighbors[2] = o2;
            o2->fNeighbors[0] = o0;
            o2->fNeighbors[1] = o1;
            Point* corner = new Point(-scale, scale, true);
            AddPoint(corner);
            fPoints.erase(corner);
            corner = new Point(scale, -scale, true);
            AddPoint(corner);
            fPoints.erase(corner);
        }

        ~Mesh() {
            for (Triangle* t : fChildren) delete t;
            for (Point* p : fPoints) delete p;
        }

        Mesh(const Mesh&) = delete;
        Mesh& operator=(const Mesh&) = delete;

        /// Inserts a client point at (x, y).  A point exactly on a vertex
        /// of the triangle found would end the library's process: the
        /// reference reports "terminate" and gives kNull.
        Result AddPoint(double x, double y) { return AddPoint(new Point(x, y, false)); }

        Result AddPoint(Point* point) {
            std::pair<std::set<Point*, PointLess>::iterator, bool> in = fPoints.insert(point);
            if (!in.second) {
                delete point;
                return kMerged;
            }
            Point* p = point;
            ++fNumber;
            fRoot->fNumber = fNumber;
            int throttle = 100 * static_cast<int>(fPoints.size());

            Triangle* n = fRoot->FindConflict(p);
            if (!n) return kInserted;
            for (int i = 0; i < 3 - n->Infinite(); ++i) {
                const Point* v = n->fVertices[i];
                if (p->fX == v->fX && p->fY == v->fY) {
                    fReports.push_back("terminate");
                    return kNull;
                }
                if (--throttle < 0) {
                    fReports.push_back("Loop 1");
                    return kNull;
                }
            }
            n->Split();
            Point* q = n->fVertices[0];
            int i;
            for (;;) {
                i = n->ClockwiseNeighbor(q);
                Triangle* m = n->fNeighbors[i];
                if (!m->Conflict(p)) break;
                n = m;
                n->Split();
                if (--throttle < 0) {
                    fReports.push_back("Find Conflict");
                    return kNull;
                }
            }
            Triangle* first = new Triangle(this, n, p, i);
            Point* r = n->fVertices[(i + 2) % 3];
            if (!Rotate(r, p, n, i, throttle)) return kNull;
            Triangle* last = first;
            for (;;) {
                if (--throttle < 0) {
                    fReports.push_back("Find Conflict");
                    return kNull;
                }
                Triangle* created = new Triangle(this, n, p, i);
                created->fNeighbors[2] = last;
                last->fNeighbors[1] = created;
                r = n->fVertices[(i + 2) % 3];
                if (r == q) {
                    first->fNeighbors[2] = created;
                    created->fNeighbors[1] = first;
                    return kInserted;
                }
                if (!Rotate(r, p, n, i, throttle)) return kNull;
                last = created;
            }
        }

        /// The live finite triangles, breadth first from the root through
        /// the neighbours, with an ordered set of every triangle queued.
        std::vector<Triangle*> Triangles() const {
            std::vector<Triangle*> result;
            std::queue<Triangle*> queue;
            std::set<Triangle*> seen;
            queue.push(fRoot);
            seen.insert(fRoot);
            while (!queue.empty()) {
                Triangle* t = queue.front();
                for (int k = 0; k < 3; ++k) {
                    Triangle* m = t->fNeighbors[k];
                    if (!m || seen.count(m)) continue;
                    queue.push(m);
                    seen.insert(m);
                }
                if (t->fFlag == 0) result.push_back(t);
                queue.pop();
            }
            return result;
        }

        /// One edge per side of each live finite triangle between two
        /// client points; equal edges are one.
        void Close() {
            for (const Triangle* t : Triangles()) {
                for (int k = 0; k < 3; ++k) {
                    const Point* a = t->fVertices[k];
                    const Point* b = t->fVertices[(k + 1) % 3];
                    if (a->fScaffold || b->fScaffold) continue;
                    if (Less(b, a)) std::swap(a, b);
                    fEdges.insert(Edge(std::make_pair(a->fX, a->fY), std::make_pair(b->fX, b->fY)));
                }
            }
        }

    private:
        bool Rotate(Point* r, const Point* p, Triangle*& n, int& i, int& throttle) {
            for (;;) {
                if (--throttle < 0) {
                    fReports.push_back("Find Conflict");
                    return false;
                }
                i = n->ClockwiseNeighbor(r);
                Triangle* m = n->fNeighbors[i];
                if (m->HasSplit()) {
                    n = m;
                } else if (m->Conflict(p)) {
                    n = m;
                    n->Split();
                } else {
                    return true;
                }
            }
        }

        friend struct Triangle;
        void Add(Triangle* t) {
            t->fIndex = static_cast<int>(fChildren.size());
            fChildren.push_back(t);
        }
    };

    inline Triangle::Triangle(Mesh* owner) {
        owner->Add(this);
        const double scale = 10000.0;
        fVertices[0] = new Point(scale, 0.0, true);
        fVertices[1] = new Point(-0.5 * scale, 0.8660254 * scale, true);
        fVertices[2] = new Point(-0.5 * scale, -0.8660254 * scale, true);
        fFlag = 3 | 64;
    }

    inline Triangle::Triangle(Mesh* owner, Triangle* root, int i) {
        owner->Add(this);
        for (int k = 0; k < 3; ++k) fVertices[k] = root->fVertices[k];
        fFlag = 4 | 64;
        fNeighbors[i] = root;
        root->fNeighbors[i] = this;
    }

    inline Triangle::Triangle(Mesh* owner, Triangle* f, Point* c, int i) {
        owner->Add(this);
        const int inf = f->Infinite();
        const bool lf = f->LastFinite();
        if (inf == 1 && !lf) {
            if (i == 0) fFlag = 1;
            if (i == 1) fFlag = 1 | 8;
            if (i == 2) fFlag = 0;
        } else if (inf == 1) {
            if (i == 0) fFlag = 1 | 8;
            if (i == 1) fFlag = 0;
            if (i == 2) fFlag = 1;
        } else if (inf == 2) {
            if (i == 0) fFlag = 2;
            if (i == 1) fFlag = 1 | 8;
            if (i == 2) fFlag = 1;
        } else if (inf == 3) {
            fFlag = 2;
        }
        Triangle* survivor = f->fNeighbors[i];
        f->fDaughters.push_back(this);
        survivor->fDaughters.push_back(this);
        survivor->fNeighbors[survivor->NeighborIndex(f)] = this;
        fVertices[0] = c;
        fVertices[1] = f->fVertices[(i + 1) % 3];
        fVertices[2] = f->fVertices[(i + 2) % 3];
        fNeighbors[0] = survivor;
    }
}

#endif
