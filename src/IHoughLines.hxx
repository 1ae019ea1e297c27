#ifndef ORVEX_IHoughLines_hxx_seen
#define ORVEX_IHoughLines_hxx_seen

#include <list>
#include <set>
#include <string>
#include <vector>

class TH2F;

namespace ORVEX {
    class IHoughLines;
    class IHoughLine;
    class IHoughPoint;
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

    virtual double GetWeight() const { return 1.0; }
    virtual double GetX() const = 0;
    virtual double GetY() const = 0;

    /// The polar angle about the centre of the space, set when the point is
    /// added to a space; 0 before that.
    double GetAngle() const { return fAngle; }
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

    /// Erase this point from `line`'s list; false when it wasn't there.
    bool EraseFrom(IHoughLine* line);

    double fAngle;
    Lines fLines;
};

/// One candidate line of a Hough space: a direction `angle` (radians) and a
/// signed distance `radius` (mm) from the centre of the space, measured
/// along the normal (-sin angle, cos angle).  It holds the points that fell
/// into it, without owning them.
class ORVEX::IHoughLine {
public:
    typedef std::list<IHoughPoint*> Points;

    IHoughLine(IHoughLines* parent, double angle, double radius)
        : fParent(parent), fAngle(angle), fRadius(radius), fSorted(true) {}
    /// Lines live by value in their space: copies take every field.
    IHoughLine(const IHoughLine&) = default;
    IHoughLine& operator=(const IHoughLine&) = default;
    virtual ~IHoughLine() {}

    /// The sum of the weights of the points; 0.0 when empty.  Summed afresh
    /// at every call, so it can never go stale.
    virtual double GetWeight() const;

    double GetAngle() const { return fAngle; }
    double GetRadius() const { return fRadius; }

    void AddPoint(IHoughPoint* point);

    /// Empties the list only; the points still name this line.
    void Clear() { fPoints.clear(); }

    /// The points in rising GetLength order (sorted on demand).
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

    IHoughLines* fParent;
    double fAngle;
    double fRadius;
    Points fPoints;
    bool fSorted;
};

/// A Hough transform over a rectangle of detector coordinates with a fixed
/// grid of deliberately overlapping candidate lines.  Each point lands in
/// every line that passes within half a line width of it; RemoveShared then
/// resolves the sharing from the heaviest line down.
class ORVEX::IHoughLines {
public:
    typedef std::vector<IHoughLine> Lines;
    typedef std::vector<IHoughPoint*> Points;

    /// The rectangle and widths are in mm.  `overSampling` is how many line
    /// spacings fit in one line width; `coherenceLength` sets the angular
    /// binning (below four line widths a default is chosen).
    IHoughLines(double xmin, double ymin, double xmax, double ymax,
                double lineWidth, double overSampling, double coherenceLength);
    IHoughLines(const IHoughLines&) = delete;
    IHoughLines& operator=(const IHoughLines&) = delete;
    virtual ~IHoughLines();

    /// Takes ownership of `point` and fills every line near it.
    void AddPoint(IHoughPoint* point);

    /// Delete all points and empty all lines; the grid stays.
    void Clear();

    /// Resolve the points shared between lines.  `threshold` is the fraction
    /// of the heaviest line's weight another line needs to keep a shared
    /// point; from 0.999 up each point goes to one line only.
    void RemoveShared(double threshold);

    /// The weights by angle (X) and radius (Y).  The caller owns the result.
    TH2F* CreateHistogram(const char* name);
    TH2F* CreateHistogram(const std::string& name) {
        return CreateHistogram(name.c_str());
    }

    Lines& GetLines() { return fLines; }
    Points& GetPoints() { return fPoints; }

    double GetCenterX() const { return fCenterX; }
    double GetCenterY() const { return fCenterY; }
    double GetLineWidth() const { return fLineWidth; }
    double GetLineSpacing() const { return fLineSpacing; }
    double GetAngleSpacing() const { return fAngleSpacing; }

    /// The index in GetLines() of the line with these angle and radius
    /// bins.  Low ends are clipped and reported; a radius bin above the top
    /// is not, and runs on into the next angle row.
    int GetLinesIndex(int angle, int radius);

    /// The angle bin of index `i`; an index out of range is reported, and
    /// the bin returned unclipped.
    int GetAngleBin(int i);
    double GetAngleValue(int i) { return GetAngleBin(i) * fAngleSpacing; }
    int DigitizeAngle(double a);

    int GetRadiusBin(int i) { return i - fRadiusOffset; }
    double GetRadiusValue(int i) { return GetRadiusBin(i) * fLineSpacing; }
    int DigitizeRadius(double r);

private:
    Lines fLines;
    Points fPoints;
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
