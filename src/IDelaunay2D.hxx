#ifndef ORVEX_IDelaunay2D_hxx_seen
#define ORVEX_IDelaunay2D_hxx_seen

#include <iosfwd>
#include <iterator>
#include <queue>
#include <vector>

#include <EovUtility.hxx>

#include "IMesh.hxx"

namespace ORVEX {
    class IDelaunayTriangle;
    class IDelaunay2D;

    /// A point with a coordinate that is not a finite number, given to
    /// IDelaunay2D::AddPoint; the point is deleted and the mesh is left as
    /// it was.
    ORVEX_EXCEPTION(EDelaunayPoint, EovUtility);

    std::ostream& operator<<(std::ostream& s, const IDelaunayTriangle& triangle);
}

/// One node of an incremental Delaunay triangulation with a history.  A
/// triangle knows its three corners, counter-clockwise, and the three
/// neighbours across the edges opposite them.  When a new point destroys it,
/// it stays in place, marked as split, and its list of daughters leads to
/// the triangles that replaced it: the triangles ever made form the search
/// structure that places the next point.
///
/// The triangulation covers the whole plane.  Corners at infinity are held
/// as direction vectors and come last, except in a triangle marked
/// last_finite, whose corner 1 is the one at infinity.
class ORVEX::IDelaunayTriangle {
public:
    /// The flag word of a triangle.  A word of exactly 0 is a live triangle
    /// with three finite corners.
    class IDT_flag {
    public:
        IDT_flag() : fFlag(0) {}

        /// How many corners are at infinity (the low three bits); 4 marks an
        /// outer triangle, which conflicts with nothing.
        void infinite(int i) { fFlag |= i; }
        /// Marks corner 1 as the one at infinity.
        void last_finite() { fFlag |= 8; }
        /// Marks the triangle as split by an insertion.
        void Split() { fFlag |= 16; }
        /// Marks the triangle as unusable.
        void Bogus() { fFlag |= 64; }

        /// Non-zero once the triangle was split.
        int HasSplit() const { return fFlag & 16; }
        /// The number of corners at infinity, 4 for an outer triangle.
        int is_infinite() const { return fFlag & 7; }
        /// Non-zero when corner 1 is the one at infinity.
        int is_last_finite() const { return fFlag & 8; }
        /// Non-zero when the triangle was marked unusable.
        int IsBogus() const { return fFlag & 64; }
        // Nothing sets a bit for degenerate triangles; 32 is the free bit.
        /// Non-zero for a degenerate triangle; nothing sets it.
        int is_degenerate() const { return fFlag & 32; }
        /// The whole flag word.
        int GetValue() const { return fFlag; }

    private:
        int fFlag;
    };

    /// A node of the singly linked list of daughters.  Deleting a node
    /// deletes the rest of the chain, but never the triangles.  The lists of
    /// a triangulation are made of the nodes that each daughter carries in
    /// itself, and are never deleted node by node.
    class IDT_list {
    public:
        /// A node holding `key`, in front of `next`.
        IDT_list(IDT_list* next, IDelaunayTriangle* key) : fNext(next), fKey(key) {}
        ~IDT_list();

        /// The next node, or null.
        IDT_list* GetNext() const { return fNext; }
        /// The daughter triangle of this node.
        IDelaunayTriangle* GetNode() const { return fKey; }

    private:
        friend class IDelaunayTriangle;

        IDT_list(const IDT_list&) = delete;
        IDT_list& operator=(const IDT_list&) = delete;

        IDT_list* fNext;
        IDelaunayTriangle* fKey;
    };

    /// The root: three directions at infinity, 120 degrees apart.
    explicit IDelaunayTriangle(IDelaunay2D* owner);

    /// An outer triangle beyond the root's edge `i`; it shares the root's
    /// corners and is linked to the root across that edge.
    IDelaunayTriangle(IDelaunay2D* owner, IDelaunayTriangle* root, int i);

    /// The triangle that replaces `f` between the new point `c` and f's
    /// edge `i`, across which f's neighbour survives.  Its corners are c
    /// and f's corners i+1 and i+2; its neighbours 1 and 2 are left for
    /// the caller to link.
    IDelaunayTriangle(IDelaunay2D* owner, IDelaunayTriangle* f, IMeshPoint* c, int i);

    /// Deletes nothing: the nodes of the daughter lists belong to the
    /// daughters, and the triangles to the mesh.
    virtual ~IDelaunayTriangle();

    /// True when `p` destroys this triangle: inside or on the circumcircle
    /// of a finite triangle, or in the region of a triangle at infinity.
    bool Conflict(IMeshPoint* p);

    /// The first live triangle in conflict with `p` found by descending
    /// through the daughters, most recent first, or null.  Each daughter
    /// visited takes this triangle's number, so it is searched once per
    /// number.
    IDelaunayTriangle* FindConflict(IMeshPoint* p);

    /// The circumcircle of the three corners read as plain coordinates.
    void Circle(double& xc, double& yc, double& r);

    /// The triangle's flags, to read or to set.
    IDT_flag& GetFlag() { return fFlag; }
    /// The number of the last search that visited the triangle.
    unsigned int GetNumber() const { return fNumber; }
    /// Sets the search number.
    void SetNumber(unsigned int number) { fNumber = number; }

    /// Neighbour `i` lies across the edge opposite corner `i`.
    IDelaunayTriangle* GetNeighbor(int i) const;
    /// Sets neighbour `i`, across the edge opposite corner `i`.
    void SetNeighbor(int i, IDelaunayTriangle* n);

    /// Corner `i`; an index outside 0 to 2 ends the process.
    IMeshPoint* GetVertex(int i) const;

    /// The index of the neighbour reached by turning clockwise around `p`:
    /// 2 for corner 0, 0 for corner 1, otherwise 1.
    int ClockwiseNeighbor(IMeshPoint* p) const;

    /// The slot of neighbour `n`: 0, 1, otherwise 2.
    int NeighborIndex(IDelaunayTriangle* n) const;

private:
    friend class IDelaunay2D;

    IDelaunayTriangle(const IDelaunayTriangle&) = delete;
    IDelaunayTriangle& operator=(const IDelaunayTriangle&) = delete;

    /// The flags of a triangle replacing `f` on its edge `i`.
    void InheritFlags(IDelaunayTriangle* f, int i);

    /// Conflict and FindConflict for a point at (x, y).
    bool Conflict(double x, double y) const;
    IDelaunayTriangle* FindConflict(double x, double y);

    /// Whether `a` and `b` are both corners.
    bool HasSide(const IMeshPoint* a, const IMeshPoint* b) const {
        const auto corner = [this](const IMeshPoint* p) {
            return p == fVertices[0] || p == fVertices[1] || p == fVertices[2];
        };
        return corner(a) && corner(b);
    }

    // What a search reads comes first: the flags, the stamp, the nodes that
    // lead to this triangle from the lists of the triangle it replaced and
    // of the neighbour that survived it, and the corners' coordinates, so
    // that a search finds the node and the triangle side by side.
    IDT_flag fFlag;
    int fNumber;
    IDT_list fInReplaced;
    IDT_list fInSurvivor;
    /// The corners' coordinates, read once when the triangle is made: every
    /// search tests them, and reading them here spares a virtual call and
    /// a visit to each corner.
    double fX[3];
    double fY[3];
    IDT_list* fDaughters;
    IMeshPoint* fVertices[3];
    IDelaunayTriangle* fNeighbors[3];
    /// The place of the triangle in its mesh's order of creation.
    int fIndex;
};

/// A mesh whose points are joined by a Delaunay triangulation, built one
/// point at a time.  The edge set stays empty until Close() turns the
/// finite triangles into edges; after that the mesh is an ordinary IMesh.
///
/// The triangulation starts from a scaffold: three directions at infinity
/// and two finite corners at (-10000, 10000) and (10000, -10000).  The
/// scaffold is no part of the mesh's points or edges, and it is never
/// freed.
class ORVEX::IDelaunay2D : public IMesh {
public:
    /// Iterates over the live triangles with three finite corners, breadth
    /// first through the neighbours from the root.
    class ITriangleIterator {
    public:
        /// Standard iterator traits.
        typedef std::input_iterator_tag iterator_category;
        /// Standard iterator traits.
        typedef IDelaunayTriangle value_type;
        /// Standard iterator traits.
        typedef long difference_type;
        /// Standard iterator traits.
        typedef IDelaunayTriangle* pointer;
        /// Standard iterator traits.
        typedef IDelaunayTriangle& reference;

        ITriangleIterator();
        /// A copy, with the same queue and the same triangles seen.
        ITriangleIterator(const ITriangleIterator& rhs);
        /// Starts at `node`, the root of the history.
        explicit ITriangleIterator(IDelaunayTriangle* node);

        /// The current triangle.
        IDelaunayTriangle& operator*() const { return *fQueue.front(); }
        /// The current triangle.
        IDelaunayTriangle* operator->() const { return fQueue.front(); }
        /// Goes on to the next live finite triangle.
        ITriangleIterator& operator++();

        /// Equal when both are finished, or when the current triangles are
        /// the same object, whatever each has seen.
        bool operator==(ITriangleIterator& rhs) const;
        /// Not operator==.
        bool operator!=(ITriangleIterator& rhs) const;

        /// Queue the unseen neighbours of the current triangle.
        void PackQueue();

    private:
        /// Marks a triangle as seen; false if it was seen before.
        bool See(const IDelaunayTriangle* triangle);

        std::queue<IDelaunayTriangle*> fQueue;
        // Indexed by order of creation: whether a triangle was ever queued.
        std::vector<bool> fSeen;
    };

    IDelaunay2D();

    /// Deletes every triangle ever made, then the points and edges.
    virtual ~IDelaunay2D();

    /// Draws the mesh as IMesh does.
    virtual void Paint(Option_t* opt = "");

    /// Takes ownership of `point` and inserts it into the triangulation.
    /// A point at the place of a stored one is deleted and the stored one
    /// is returned.  A failed insertion is logged and returns null; the
    /// triangulation is then unusable for further insertions.  A null
    /// point, or one exactly on a scaffold corner, ends the process.  A
    /// point with a NaN or infinite coordinate is logged, deleted, and
    /// EDelaunayPoint is thrown before anything changes.
    virtual IMeshPoint* AddPoint(IMeshPoint* point);

    /// Adds the edges of the live finite triangles between client points.
    /// May be called any number of times.
    virtual void Close();

    /// The first live finite triangle.
    ITriangleIterator BeginTriangles();
    /// The finished iterator.
    ITriangleIterator& EndTriangles();

    /// Called by every triangle's constructor: the mesh owns its triangles.
    void AddTriangle(IDelaunayTriangle* triangle);

    /// Builds the scaffold.
    void Init();

protected:
    /// Insertions that reached the triangulation; the search stamp.
    int fNumber;
    /// The first triangle of the history: the scaffold.
    IDelaunayTriangle* fRoot;
    /// Every triangle ever made, in order; the mesh owns them.
    std::vector<IDelaunayTriangle*> fChildren;

private:
    IDelaunay2D(const IDelaunay2D&) = delete;
    IDelaunay2D& operator=(const IDelaunay2D&) = delete;

    /// Turn clockwise around `r`, from `n`, past the triangles already
    /// split or in conflict with the point at (x, y); `i` becomes the index of the boundary
    /// edge reached.  False when the budget runs out.
    bool RotateAround(IMeshPoint* r, double x, double y, IDelaunayTriangle*& n, int& i,
                      int& budget);

    /// Close with one AddEdge call per side of each visited triangle.
    void CloseSideBySide();

    static ITriangleIterator fEnd;
};

#endif
