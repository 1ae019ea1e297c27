#ifndef ORVEX_IHoughLines_hxx_seen
#define ORVEX_IHoughLines_hxx_seen

#include <list>
#include <set>
#include <string>
#include <vector>

#include <EovUtility.hxx>

class TH2F;

namespace ORVEX {
    class IHoughLines;
    class IHoughLine;
    class IHoughPoint;

    /// The root of the exceptions of the Hough space.
    ORVEX_EXCEPTION(EHoughLines, EovUtility);
    /// A binning with more lines than a space may hold, or with counts that
    /// are no numbers at all; thrown by the constructor.
    ORVEX_EXCEPTION(EHoughBinning, EHoughLines);
    /// A point whose radius bins lie beyond what an int can number; thrown
    /// by IHoughLines::AddPoint, which keeps the point, on no line.
    ORVEX_EXCEPTION(EHoughPoint, EHoughLines);
}

/// A measurement put into a Hough space.  Clients derive from it and supply
/// the coordinates (mm) and, if they like, a weight.  A point knows every
/// line that holds it, so that it can be taken off all of them at once.
class ORVEX::IHoughPoint {
public:
    /// The lines holding this point, ordered by address.
    typedef std::set<IHoughLine*> Lines;

    IHoughPoint() : fAngle(0.0) {}
    IHoughPoint(const IHoughPoint&) = delete;
    IHoughPoint& operator=(const IHoughPoint&) = delete;

    /// Forgets its lines without touching them: a point is only deleted by
    /// its space, which clears or destroys the lines as well.
    virtual ~IHoughPoint() {}

    /// The weight the point adds to each of its lines; 1.0 unless overridden.
    virtual double GetWeight() const { return 1.0; }
    /// The X coordinate, in mm.
    virtual double GetX() const = 0;
    /// The Y coordinate, in mm.
    virtual double GetY() const = 0;

    /// The polar angle about the centre of the space, set when the point is
    /// added to a space; 0 before that.
    double GetAngle() const { return fAngle; }
    /// The lines the point lies on.
    const Lines& GetLines() const { return fLines; }

    /// Take the point off every line but `line`.  Warns and does nothing
    /// when `line` doesn't hold the point.
    void KeepLine(IHoughLine* line);

    /// Take the point off every line lighter than `threshold` times the
    /// heaviest of its lines.
    void RemoveFromLines(double threshold);

private:
    friend class IHoughLines;
    friend class IHoughLine;

    /// Where one copy of this point sits in one line's list.  The entries
    /// are kept ordered by line address, as `fLines` is, so that a line is
    /// found by a binary search rather than by walking its list.
    struct Entry {
        IHoughLine* fLine;
        std::list<IHoughPoint*>::iterator fNode;
        /// The line's epoch when the entry was made; 0 once it is dead.
        unsigned long fEpoch;
    };
    typedef std::vector<Entry>::iterator EntryIterator;
    struct ByLine;

    /// Erase the first copy of this point from `line`'s list; false when it
    /// wasn't there.
    bool EraseFrom(IHoughLine* line);
    /// Note that the copy at `node` of `line`'s list is there.
    void AddEntry(IHoughLine* line, std::list<IHoughPoint*>::iterator node);
    /// Forget the copy at `node` of `line`'s list, which is being erased.
    void DropEntry(IHoughLine* line, std::list<IHoughPoint*>::iterator node);
    void KillEntry(Entry& entry);
    /// Throw the dead entries away once they are the greater part.
    void Compact();
    /// RemoveFromLines with the line weights as cached.
    void RemoveFromCachedLines(double threshold);

    double fAngle;
    Lines fLines;
    std::vector<Entry> fEntries;
    size_t fDeadEntries = 0;
};

/// One candidate line of a Hough space: a direction `angle` (radians) and a
/// signed distance `radius` (mm) from the centre of the space, measured
/// along the normal (-sin angle, cos angle).  It holds the points that fell
/// into it, without owning them.
class ORVEX::IHoughLine {
public:
    /// The points of a line, not owned.
    typedef std::list<IHoughPoint*> Points;

    /// An empty line of `parent` with this angle and radius.
    IHoughLine(IHoughLines* parent, double angle, double radius);
    /// Lines live by value in their space: copies take every field.
    IHoughLine(const IHoughLine& rhs);
    /// Copies every field.
    IHoughLine& operator=(const IHoughLine& rhs);
    virtual ~IHoughLine() {}

    /// The sum of the weights of the points; 0.0 when empty.  Summed afresh
    /// at every call, so it can never go stale.
    virtual double GetWeight() const;

    /// The direction of the line, in radians.
    double GetAngle() const { return fAngle; }
    /// The signed distance from the centre, in mm.
    double GetRadius() const { return fRadius; }

    /// Adds `point` to the line; the line is sorted again when next asked.
    void AddPoint(IHoughPoint* point);

    /// Empties the list only; the points still name this line.
    void Clear();

    /// The points in rising GetLength order (sorted on demand).  The list
    /// may be changed through the reference, so the line stops trusting
    /// what it knows about its list (the cached weight, where its points
    /// sit) and falls back to summing and searching it.
    Points& GetPoints();
    /// The points as they stand: a constant line can't sort itself.
    const Points& GetPoints() const { return fPoints; }

    /// Position of `point` along the line from the foot of the
    /// perpendicular from the centre, positive against the direction
    /// (cos angle, sin angle).  Uses the point's stored angle.
    double GetLength(const IHoughPoint* point) const;
    /// Signed distance of `point` from the line along its normal.
    double GetDeviation(const IHoughPoint* point) const;

    /// Take the points of [begin, end) off this line, both ways.
    void RemovePoints(Points::iterator begin, Points::iterator end);

    /// Stable sort by GetLength.
    void SortPoints();

private:
    friend class IHoughPoint;
    friend class IHoughLines;

    /// GetWeight as it stands, summed again only after the list changed.
    double CachedWeight() const;
    /// Called whenever the list changes.
    void Changed() { fWeightKnown = false; }
    /// Called when one copy of `point` has left the list.
    void Erased(const IHoughPoint* point);
    /// The list may hold copies that no point's entry knows of.
    void Untrust();
    /// The list sorted, without handing it out for changes.
    Points& SortedPoints();

    IHoughLines* fParent;
    double fAngle;
    double fRadius;
    Points fPoints;
    bool fSorted;
    mutable double fWeight;
    mutable bool fWeightKnown;
    /// Whether every weight in the list is a small whole number, so that
    /// the cached sum is exact.
    mutable bool fWholeWeights = false;
    /// Changes whenever the entries of the points in this list can no
    /// longer be trusted, which makes the old ones dead.  Never 0.
    unsigned long fEpoch;
    /// True when some copy in the list may lack an entry, so that only a
    /// walk of the list finds the first copy of a point.
    bool fUntracked;
};

/// A Hough transform over a rectangle of detector coordinates with a fixed
/// grid of deliberately overlapping candidate lines.  Each point lands in
/// every line that passes within half a line width of it; RemoveShared then
/// resolves the sharing from the heaviest line down.
class ORVEX::IHoughLines {
public:
    /// The lines, by value, in angle rows.
    typedef std::vector<IHoughLine> Lines;
    /// The points, owned by the space.
    typedef std::vector<IHoughPoint*> Points;

    /// The most lines a space may hold: 2^24, about 1.4 GB of empty lines.
    /// A 1 m square of 1 mm lines at oversampling 4 needs 2.3 million; a
    /// binning past this is a mistake in the arguments, not a wish.
    static const int kMaxLines = 1 << 24;

    /// The rectangle and widths are in mm.  `overSampling` is how many line
    /// spacings fit in one line width; `coherenceLength` sets the angular
    /// binning (below four line widths a default is chosen).  A binning of
    /// more than kMaxLines lines, or one whose counts are not finite, throws
    /// EHoughBinning before anything is allocated.
    IHoughLines(double xmin, double ymin, double xmax, double ymax, double lineWidth,
                double overSampling, double coherenceLength);
    IHoughLines(const IHoughLines&) = delete;
    IHoughLines& operator=(const IHoughLines&) = delete;
    virtual ~IHoughLines();

    /// Takes ownership of `point` and fills every line near it.  A point so
    /// far from the centre (or not finite) that its radius bins can't be
    /// numbered by an int is kept, on no line, and EHoughPoint is thrown.
    void AddPoint(IHoughPoint* point);

    /// Delete all points and empty all lines; the grid stays.
    void Clear();

    /// Resolve the points shared between lines.  `threshold` is the fraction
    /// of the heaviest line's weight another line needs to keep a shared
    /// point; from 0.999 up each point goes to one line only.
    void RemoveShared(double threshold);

    /// The weights by angle (X) and radius (Y).  The caller owns the result.
    TH2F* CreateHistogram(const char* name);
    /// The same for a name given as a string.
    TH2F* CreateHistogram(const std::string& name) { return CreateHistogram(name.c_str()); }

    /// Every line of the space.
    Lines& GetLines() { return fLines; }
    /// Every point added.
    Points& GetPoints() { return fPoints; }

    /// The X of the centre of the rectangle.
    double GetCenterX() const { return fCenterX; }
    /// The Y of the centre of the rectangle.
    double GetCenterY() const { return fCenterY; }
    /// The width of a line, in mm.
    double GetLineWidth() const { return fLineWidth; }
    /// The distance between neighbouring line radii, in mm.
    double GetLineSpacing() const { return fLineSpacing; }
    /// The angle between neighbouring line directions, in radians.
    double GetAngleSpacing() const { return fAngleSpacing; }

    /// The index in GetLines() of the line with these angle and radius
    /// bins.  Low ends are clipped and reported; a radius bin above the top
    /// is not, and runs on into the next angle row.
    int GetLinesIndex(int angle, int radius);

    /// The angle bin of index `i`; an index out of range is reported, and
    /// the bin returned unclipped.
    int GetAngleBin(int i);
    /// The angle of index `i`, in radians.
    double GetAngleValue(int i) { return GetAngleBin(i) * fAngleSpacing; }
    /// The nearest angle bin to the angle `a` (radians).
    int DigitizeAngle(double a);

    /// The radius bin of index `i`.
    int GetRadiusBin(int i) { return i - fRadiusOffset; }
    /// The radius of index `i`, in mm.
    double GetRadiusValue(int i) { return GetRadiusBin(i) * fLineSpacing; }
    /// The nearest radius bin to the distance `r` (mm).
    int DigitizeRadius(double r);

private:
    Lines fLines;
    Points fPoints;
    /// The sine and cosine of each angle row, computed once.
    std::vector<double> fSin;
    std::vector<double> fCos;
    double fCenterX;
    double fCenterY;
    int fAngleOffset;
    int fAngles;
    double fAngleSpacing;
    int fRadiusOffset;
    int fRadii;
    double fLineSpacing;
    double fLineWidth;
};

#endif
