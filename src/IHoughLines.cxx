#include "IHoughLines.hxx"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <functional>
#include <iterator>

#include <TH2F.h>
#include <TMath.h>

#include <IORVEXLog.hxx>

namespace {
    /// Orders the points of one line by their position along it.
    struct ICounterClockwisePredicate {
        explicit ICounterClockwisePredicate(const ORVEX::IHoughLine* line) : fLine(line) {}
        bool operator()(const ORVEX::IHoughPoint* a, const ORVEX::IHoughPoint* b) const {
            return fLine->GetLength(a) < fLine->GetLength(b);
        }
        const ORVEX::IHoughLine* fLine;
    };

    const double kDegree = 0.017453292519943295;

    /// A fresh epoch for a line whose list can no longer be trusted.  One
    /// counter for all lines, so that no two lists ever share an epoch.
    unsigned long NewEpoch() {
        static std::atomic<unsigned long> epochs(0);
        return ++epochs;
    }
}

//////////////////////////////////////////////////////////////////////
// IHoughPoint

struct ORVEX::IHoughPoint::ByLine {
    bool operator()(const Entry& entry, const IHoughLine* line) const {
        return std::less<const IHoughLine*>()(entry.fLine, line);
    }
    bool operator()(const IHoughLine* line, const Entry& entry) const {
        return std::less<const IHoughLine*>()(line, entry.fLine);
    }
};

void ORVEX::IHoughPoint::AddEntry(IHoughLine* line, std::list<IHoughPoint*>::iterator node) {
    Entry entry = {line, node, line->fEpoch};
    // A space fills its lines in rising address order, so the entry
    // nearly always goes at the back.
    if (fEntries.empty() || !std::less<IHoughLine*>()(line, fEntries.back().fLine)) {
        fEntries.push_back(entry);
    } else {
        fEntries.insert(std::upper_bound(fEntries.begin(), fEntries.end(), line, ByLine()), entry);
    }
}

void ORVEX::IHoughPoint::KillEntry(Entry& entry) {
    entry.fEpoch = 0;
    ++fDeadEntries;
}

void ORVEX::IHoughPoint::DropEntry(IHoughLine* line, std::list<IHoughPoint*>::iterator node) {
    std::pair<EntryIterator, EntryIterator> range =
        std::equal_range(fEntries.begin(), fEntries.end(), line, ByLine());
    for (EntryIterator e = range.first; e != range.second; ++e) {
        if (e->fEpoch == line->fEpoch && e->fNode == node) {
            KillEntry(*e);
            break;
        }
    }
}

void ORVEX::IHoughPoint::Compact() {
    if (2 * fDeadEntries <= fEntries.size()) return;
    fEntries.erase(std::remove_if(fEntries.begin(), fEntries.end(),
                                  [](const Entry& e) { return e.fEpoch == 0; }),
                   fEntries.end());
    fDeadEntries = 0;
}

bool ORVEX::IHoughPoint::EraseFrom(IHoughLine* line) {
    IHoughLine::Points& points = line->fPoints;
    std::pair<EntryIterator, EntryIterator> range =
        std::equal_range(fEntries.begin(), fEntries.end(), line, ByLine());
    EntryIterator only = range.second;
    int live = 0;
    bool stale = false;
    for (EntryIterator e = range.first; e != range.second; ++e) {
        if (e->fEpoch == 0) continue;
        if (e->fEpoch != line->fEpoch) {
            stale = true;
        } else {
            ++live;
            only = e;
        }
    }
    IHoughLine::Points::iterator node;
    if (live == 1 && !stale && !line->fUntracked) {
        // The one copy of the point in a list whose every copy has an
        // entry: it is the copy a search from the front would find.
        node = only->fNode;
        KillEntry(*only);
    } else {
        // A point twice on the line (clipped bins), or a list changed
        // behind the line's back: only the walk finds the first copy.
        node = std::find(points.begin(), points.end(), this);
        for (EntryIterator e = range.first; e != range.second; ++e) {
            if (e->fEpoch == 0) continue;
            if (e->fEpoch != line->fEpoch || (node != points.end() && e->fNode == node)) {
                KillEntry(*e);
            }
        }
        if (node == points.end()) return false;
    }
    // Erasing keeps the order, so the line's sorted flag stays right.
    points.erase(node);
    line->Erased(this);
    if (points.empty()) line->fUntracked = false;
    return true;
}

void ORVEX::IHoughPoint::RemoveFromLines(double threshold) {
    // Called from outside, the weights are summed afresh, as the point
    // weights may have changed since the lines last did.
    for (IHoughLine* line : fLines) line->Changed();
    RemoveFromCachedLines(threshold);
}

void ORVEX::IHoughPoint::RemoveFromCachedLines(double threshold) {
    double maxWeight = -99999.0;
    for (const IHoughLine* line : fLines) {
        maxWeight = std::max(maxWeight, line->CachedWeight());
    }
    for (Lines::iterator l = fLines.begin(); l != fLines.end();) {
        if ((*l)->CachedWeight() >= threshold * maxWeight) {
            ++l;
        } else if (!EraseFrom(*l)) {
            ORVEXWarn("RemoveFromLines:"
                      << " OUCH! Point not in line");
            ++l;
        } else {
            l = fLines.erase(l);
        }
    }
    Compact();
}

void ORVEX::IHoughPoint::KeepLine(IHoughLine* line) {
    // For pointers the set's equivalence is identity: the same answer as
    // walking the set.
    if (fLines.find(line) == fLines.end()) {
        ORVEXWarn("ORVEX::IHoughPoint::KeepLine: Line doesn't contain point");
        return;
    }
    for (Lines::iterator l = fLines.begin(); l != fLines.end();) {
        if (*l == line) {
            ++l;
        } else if (!EraseFrom(*l)) {
            // The message names the sister operation; it has always read so.
            ORVEXWarn("ORVEX::IHoughPoint::RemoveFromLines:"
                      << " OUCH! Point not in line");
            ++l;
        } else {
            l = fLines.erase(l);
        }
    }
    Compact();
}

//////////////////////////////////////////////////////////////////////
// IHoughLine

ORVEX::IHoughLine::IHoughLine(IHoughLines* parent, double angle, double radius)
    : fParent(parent),
      fAngle(angle),
      fRadius(radius),
      fSorted(true),
      fWeight(0.0),
      fWeightKnown(false),
      fEpoch(NewEpoch()),
      fUntracked(false) {}

// A copy's list holds copies of which no point has an entry.
ORVEX::IHoughLine::IHoughLine(const IHoughLine& rhs)
    : fParent(rhs.fParent),
      fAngle(rhs.fAngle),
      fRadius(rhs.fRadius),
      fPoints(rhs.fPoints),
      fSorted(rhs.fSorted),
      fWeight(0.0),
      fWeightKnown(false),
      fEpoch(NewEpoch()),
      fUntracked(!fPoints.empty()) {}

ORVEX::IHoughLine& ORVEX::IHoughLine::operator=(const IHoughLine& rhs) {
    fParent = rhs.fParent;
    fAngle = rhs.fAngle;
    fRadius = rhs.fRadius;
    fPoints = rhs.fPoints;
    fSorted = rhs.fSorted;
    Changed();
    fEpoch = NewEpoch();
    fUntracked = !fPoints.empty();
    return *this;
}

void ORVEX::IHoughLine::Untrust() {
    Changed();
    fEpoch = NewEpoch();
    fUntracked = !fPoints.empty();
}

void ORVEX::IHoughLine::Clear() {
    fPoints.clear();
    Untrust();
}

double ORVEX::IHoughLine::GetWeight() const {
    double weight = 0.0;
    for (const IHoughPoint* point : fPoints) weight += point->GetWeight();
    return weight;
}

namespace {
    /// Whole weights this small add up without rounding: every partial sum
    /// of fewer than 2^32 of them is an exact integer below 2^52.
    bool IsSmallWhole(double weight) {
        return std::abs(weight) <= 1048576.0 && weight == std::trunc(weight);
    }
}

double ORVEX::IHoughLine::CachedWeight() const {
    if (!fWeightKnown) {
        // The very walk of GetWeight, noting whether the sum is exact.
        double weight = 0.0;
        bool whole = fPoints.size() < 4294967296.0;
        for (const IHoughPoint* point : fPoints) {
            double w = point->GetWeight();
            whole = whole && IsSmallWhole(w);
            weight += w;
        }
        fWeight = weight;
        fWholeWeights = whole;
        fWeightKnown = true;
    }
    return fWeight;
}

void ORVEX::IHoughLine::Erased(const IHoughPoint* point) {
    // With whole weights every sum is exact, whatever the order of its
    // terms, so taking one off gives the very value a new walk would give
    // (and never -0.0, as x - x is +0.0).  Otherwise the line is summed again.
    double weight = point->GetWeight();
    if (fWeightKnown && fWholeWeights && IsSmallWhole(weight)) {
        fWeight -= weight;
    } else {
        Changed();
    }
}

void ORVEX::IHoughLine::AddPoint(IHoughPoint* point) {
    fPoints.push_back(point);
    point->AddEntry(this, std::prev(fPoints.end()));
    // Lines are mostly added in rising address order: the hint makes that
    // insertion cheap, and any other is placed as usual.
    point->fLines.insert(point->fLines.end(), this);
    fSorted = false;
    Changed();
}

ORVEX::IHoughLine::Points& ORVEX::IHoughLine::GetPoints() {
    Points& points = SortedPoints();
    Untrust();
    return points;
}

ORVEX::IHoughLine::Points& ORVEX::IHoughLine::SortedPoints() {
    if (!fSorted) SortPoints();
    return fPoints;
}

double ORVEX::IHoughLine::GetLength(const IHoughPoint* point) const {
    double dX = point->GetX() - fParent->GetCenterX();
    double dY = point->GetY() - fParent->GetCenterY();
    double dTheta = point->GetAngle() - (TMath::PiOver2() + fAngle);
    return std::sqrt(dX * dX + dY * dY) * std::sin(dTheta);
}

double ORVEX::IHoughLine::GetDeviation(const IHoughPoint* point) const {
    double dX = point->GetX() - fParent->GetCenterX();
    double dY = point->GetY() - fParent->GetCenterY();
    double dTheta = point->GetAngle() - (TMath::PiOver2() + fAngle);
    return std::sqrt(dX * dX + dY * dY) * std::cos(dTheta) - fRadius;
}

void ORVEX::IHoughLine::RemovePoints(Points::iterator begin, Points::iterator end) {
    for (Points::iterator p = begin; p != end; ++p) {
        (*p)->fLines.erase(this);
        (*p)->DropEntry(this, p);
        (*p)->Compact();
    }
    fPoints.erase(begin, end);
    Changed();
    if (fPoints.empty()) fUntracked = false;
}

void ORVEX::IHoughLine::SortPoints() {
    fSorted = true;
    // The stable order by GetLength.  Each length is computed once rather
    // than at every comparison, and the nodes are moved, not copied, so
    // the points' entries stay valid.  For lengths that are all numbers
    // `<` is a strict weak order, and every stable sort gives the one
    // stable order that std::list::sort gives; a NaN breaks that, and the
    // list's own merge sort is then left to decide as it always has.
    std::vector<std::pair<double, Points::iterator> > keyed;
    keyed.reserve(fPoints.size());
    for (Points::iterator p = fPoints.begin(); p != fPoints.end(); ++p) {
        double length = GetLength(*p);
        if (std::isnan(length)) {
            fPoints.sort(ICounterClockwisePredicate(this));
            return;
        }
        keyed.push_back(std::make_pair(length, p));
    }
    std::stable_sort(
        keyed.begin(), keyed.end(),
        [](const std::pair<double, Points::iterator>& a,
           const std::pair<double, Points::iterator>& b) { return a.first < b.first; });
    for (const auto& k : keyed) fPoints.splice(fPoints.end(), fPoints, k.second);
    // The list is in cache now: its weight is summed here, in the new
    // order, exactly as a walk would sum it.
    fWeightKnown = false;
    CachedWeight();
}

//////////////////////////////////////////////////////////////////////
// IHoughLines

ORVEX::IHoughLines::IHoughLines(double xmin, double ymin, double xmax, double ymax,
                                double lineWidth, double overSampling, double coherenceLength) {
    fCenterX = (xmax + xmin) / 2.0;
    fCenterY = (ymax + ymin) / 2.0;
    ORVEXInfo("HoughLines Space "
              << "[ " << xmin << " mm -- " << xmax << " mm]"
              << " by [" << ymin << " mm -- " << ymax << " mm]");

    fLineWidth = std::abs(lineWidth);
    fLineSpacing = std::abs(fLineWidth / overSampling);

    double cornerX = xmax - fCenterX;
    double cornerY = ymax - fCenterY;
    double radius = std::sqrt(cornerX * cornerX + cornerY * cornerY);
    // One extra bin on each side of the corner radius, and one for 0.  The
    // count is checked as a double first: past an int (a zero line width,
    // say) the conversion itself would be undefined.
    double radii = 2.0 * std::trunc(radius / fLineSpacing) + 3.0;
    if (!(radii <= kMaxLines)) {
        ORVEXError("ORVEX::IHoughLines: " << radii << " radius bins (lineWidth " << lineWidth
                                          << ", overSampling " << overSampling << ", corner radius "
                                          << radius << " mm) exceed the limit of " << kMaxLines
                                          << " lines");
        throw EHoughBinning();
    }
    fRadii = 2 * int(radius / fLineSpacing) + 3;
    fRadiusOffset = fRadii / 2;

    // The angular binning is set by the longest stretch over which a line
    // is expected to stay straight.  Short or missing coherence lengths
    // select a default from the radial binning; no line is longer than the
    // space allows.
    double maxLength = std::abs(coherenceLength);
    if (4.0 * fLineWidth > maxLength) {
        maxLength = (fRadii - 2) * fLineWidth / TMath::Pi();
    }
    maxLength = std::min(radius * fLineWidth / fLineSpacing, maxLength);
    double approxAngleWidth = fLineWidth / maxLength;
    double angles = std::trunc(2.0 * (TMath::PiOver2() / approxAngleWidth + 1.0)) + 1.0;
    if (!(angles * fRadii <= kMaxLines)) {
        ORVEXError("ORVEX::IHoughLines: "
                   << angles << " angle bins by " << fRadii << " radius bins (lineWidth "
                   << lineWidth << ", overSampling " << overSampling << ", coherenceLength "
                   << coherenceLength << ") exceed the limit of " << kMaxLines << " lines");
        throw EHoughBinning();
    }
    fAngles = int(2.0 * (TMath::PiOver2() / approxAngleWidth + 1.0)) + 1;
    fAngleOffset = fAngles / 2;
    // The angles span exactly pi, whether their count is odd or even.
    fAngleSpacing = TMath::Pi() / (fAngles - 1);

    ORVEXInfo("    Angular Binning: " << fAngles << " (" << fAngleSpacing / kDegree << " degree)");
    ORVEXInfo("    Radial Binning:  " << fRadii << " (" << fLineWidth << " mm wide and"
                                      << " " << fLineSpacing << " mm apart)");

    fLines.reserve(size_t(fAngles) * fRadii);
    for (int a = 0; a < fAngles; ++a) {
        // The very expressions AddPoint would evaluate for this row.
        double angle = GetAngleValue(a);
        fSin.push_back(std::sin(angle));
        fCos.push_back(std::cos(angle));
        for (int r = 0; r < fRadii; ++r) {
            fLines.push_back(IHoughLine(this, GetAngleValue(a), GetRadiusValue(r)));
        }
    }
}

ORVEX::IHoughLines::~IHoughLines() {
    for (IHoughPoint* point : fPoints) delete point;
}

int ORVEX::IHoughLines::GetAngleBin(int i) {
    if (i < 0) ORVEXSevere("Angle index out of range " << i);
    if (i >= fAngles) ORVEXSevere("Angle index out of range " << i);
    return i - fAngleOffset;
}

int ORVEX::IHoughLines::DigitizeAngle(double a) {
    return TMath::Nint(a / fAngleSpacing);
}

int ORVEX::IHoughLines::DigitizeRadius(double r) {
    return TMath::Nint(r / fLineSpacing);
}

int ORVEX::IHoughLines::GetLinesIndex(int angle, int radius) {
    int a = angle + fAngleOffset;
    if (a < 0) {
        ORVEXSevere("GetLinesIndex: Angle out of range " << angle << " " << fAngles << " "
                                                         << fAngleOffset);
        a = 0;
    }
    if (a >= fAngles) {
        ORVEXSevere("GetLinesIndex: Angle out of range " << angle << " " << fAngles << " "
                                                         << fAngleOffset);
        a = fAngles - 1;
    }
    int r = radius + fRadiusOffset;
    if (r < 0) {
        ORVEXSevere("GetLinesIndex: Radius out of range " << radius << " " << fRadii << " "
                                                          << fRadiusOffset);
        r = 0;
    }
    // The top of the radius range is deliberately left open: a bin above it
    // runs on into the next angle row without a report.  Points near a
    // corner reach it when lines are oversampled.
    return a * fRadii + r;
}

void ORVEX::IHoughLines::AddPoint(IHoughPoint* point) {
    double dX = point->GetX() - fCenterX;
    double dY = point->GetY() - fCenterY;
    point->fAngle = std::atan2(dY, dX);
    fPoints.push_back(point);
    // A line takes the point when its radius is within half the line width
    // of the line's centre, plus one per cent of a spacing on each side.
    double tolerance = 0.5 * (fLineWidth - fLineSpacing) + 0.01 * fLineSpacing;
    // No row's radius exceeds the distance from the centre.  Its bins must
    // be ints, and the index of a line above the top row must not overflow
    // either, or the walk over the bins below would not end.
    double distance = std::sqrt(dX * dX + dY * dY);
    double reach = (distance + std::abs(tolerance)) / fLineSpacing + 1.0;
    const double maxBin = double(INT_MAX) - kMaxLines - 2.0;
    if (!(reach <= maxBin)) {
        ORVEXError("ORVEX::IHoughLines::AddPoint: point (" << point->GetX() << ", " << point->GetY()
                                                           << ") reaches radius bin " << reach
                                                           << ", beyond the limit of " << maxBin);
        throw EHoughPoint();
    }
    const int lineCount = fLines.size();
    // About 2 tolerance / spacing + 1 bins per row, a few rows one more.
    size_t perRow = size_t(2.0 * std::abs(tolerance) / fLineSpacing + 1.0);
    size_t expected = size_t(fAngles) * perRow + size_t(fAngles) / 4;
    point->fEntries.reserve(point->fEntries.size() + expected);
    for (int i = 0; i < fAngles; ++i) {
        // The sine and cosine are those of GetAngleValue(i), computed once.
        double radius = dY * fCos[i] - dX * fSin[i];
        int maxBin = DigitizeRadius(radius + tolerance);
        int minBin = DigitizeRadius(radius - tolerance);
        int angleBin = i - fAngleOffset;  // GetAngleBin(i): i is in range
        for (int bin = minBin; bin <= maxBin; ++bin) {
            int r = bin + fRadiusOffset;
            // A bin below the row is clipped and reported there.
            int index = r < 0 ? GetLinesIndex(angleBin, bin) : i * fRadii + r;
            // Past the top of the last angle row there is no line at all:
            // that bin is skipped, and the point keeps its other lines.
            if (index >= lineCount) continue;
            fLines[index].AddPoint(point);
        }
    }
}

void ORVEX::IHoughLines::Clear() {
    // The points go first: clearing a line leaves its points naming it.
    for (IHoughPoint* point : fPoints) delete point;
    fPoints.clear();
    for (IHoughLine& line : fLines) line.Clear();
}

TH2F* ORVEX::IHoughLines::CreateHistogram(const char* name) {
    // The radial axis is scaled by the angle count, and the bins are
    // numbered by index from 0, so index 0 falls in the underflow bins.
    double maxRadius = (fAngles - fAngleOffset) * fLineSpacing;
    TH2F* histogram = new TH2F(name, "Hough Transform Weights", fAngles, -TMath::PiOver2(),
                               TMath::PiOver2(), fRadii, -maxRadius, maxRadius);
    // The caller owns the histogram, so no ROOT directory may claim it.
    histogram->SetDirectory(nullptr);
    for (int i = 0; i < fAngles; ++i) {
        for (int j = 0; j < fRadii; ++j) {
            int index = GetLinesIndex(i - fAngleOffset, j - fRadiusOffset);
            histogram->SetBinContent(i, j, fLines[index].GetWeight());
        }
    }
    return histogram;
}

void ORVEX::IHoughLines::RemoveShared(double threshold) {
    // Lighter lines first, so the heaviest ends at the back.  A line's
    // weight is the left-to-right sum of its list, summed again only after
    // the list changed (or taken down exactly, for whole weights), so it is
    // the value a walk would give at that moment.  Each line is sorted as a
    // pair of that weight and its index: std::sort sees the same sequence
    // and gets the same answer to every comparison as with the weights
    // summed at each one, so it moves the lines exactly as it would have,
    // ties included.  Only the lines that lost a point have their weight
    // read again before a sort.
    typedef std::pair<double, int> WeighedLine;
    std::vector<WeighedLine> sortedLines;
    std::vector<double> weights(fLines.size());
    std::vector<IHoughLine*> touched;
    IHoughLine* const first = fLines.data();
    IHoughLine* const last = first + fLines.size();
    auto sortByWeight = [&]() {
        std::less<const IHoughLine*> before;
        for (IHoughLine* line : touched) {
            // A point may also lie on lines of no space, or of another.
            if (before(line, first) || !before(line, last)) continue;
            weights[line - first] = line->CachedWeight();
        }
        touched.clear();
        for (WeighedLine& line : sortedLines) line.first = weights[line.second];
        std::sort(sortedLines.begin(), sortedLines.end(),
                  [](const WeighedLine& a, const WeighedLine& b) { return a.first < b.first; });
    };
    for (IHoughLine& line : fLines) {
        // The point weights may have changed since the last call.
        if (line.fSorted) line.Changed();
        IHoughLine::Points& points = line.SortedPoints();
        if (points.size() > 2) {
            sortedLines.push_back(WeighedLine(0.0, &line - first));
            touched.push_back(&line);
        } else {
            line.RemovePoints(points.begin(), points.end());
        }
    }
    sortByWeight();
    // The last line standing is never examined: it keeps its points.
    while (sortedLines.size() > 1) {
        IHoughLine* line = first + sortedLines.back().second;
        sortedLines.pop_back();
        IHoughLine::Points& points = line->SortedPoints();
        if (points.size() <= 2) {
            line->RemovePoints(points.begin(), points.end());
            continue;
        }
        for (IHoughLine::Points::iterator p = points.begin(); p != points.end();) {
            // RemoveFromLines may take the point off this very line, so
            // the walk steps on before the call.
            IHoughPoint* point = *p++;
            // Only the lines of the point can lose it.
            touched.insert(touched.end(), point->fLines.begin(), point->fLines.end());
            if (threshold < 0.999) {
                point->RemoveFromCachedLines(threshold);
            } else {
                point->KeepLine(line);
            }
        }
        sortByWeight();
    }
}
