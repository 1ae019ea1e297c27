#include "IHoughLines.hxx"

#include <algorithm>
#include <cmath>

#include <TH2F.h>
#include <TMath.h>

#include <IORVEXLog.hxx>

namespace {
    /// Orders the points of one line by their position along it.
    struct ICounterClockwisePredicate {
        explicit ICounterClockwisePredicate(const ORVEX::IHoughLine* line)
            : fLine(line) {}
        bool operator()(const ORVEX::IHoughPoint* a,
                        const ORVEX::IHoughPoint* b) const {
            return fLine->GetLength(a) < fLine->GetLength(b);
        }
        const ORVEX::IHoughLine* fLine;
    };

    /// Lighter lines first, so the heaviest ends at the back.  The weights
    /// are summed afresh at each comparison to stay exact.
    bool LineWeightPredicate(const ORVEX::IHoughLine* a,
                             const ORVEX::IHoughLine* b) {
        return a->GetWeight() < b->GetWeight();
    }

    const double kDegree = 0.017453292519943295;
}

//////////////////////////////////////////////////////////////////////
// IHoughPoint

bool ORVEX::IHoughPoint::EraseFrom(IHoughLine* line) {
    IHoughLine::Points& points = line->fPoints;
    IHoughLine::Points::iterator p = std::find(points.begin(), points.end(), this);
    if (p == points.end()) return false;
    // Erasing keeps the order, so the line's sorted flag stays right.
    points.erase(p);
    return true;
}

void ORVEX::IHoughPoint::RemoveFromLines(double threshold) {
    double maxWeight = -99999.0;
    for (const IHoughLine* line : fLines) {
        maxWeight = std::max(maxWeight, line->GetWeight());
    }
    for (Lines::iterator l = fLines.begin(); l != fLines.end();) {
        if ((*l)->GetWeight() >= threshold * maxWeight) {
            ++l;
        } else if (!EraseFrom(*l)) {
            ORVEXWarn("RemoveFromLines:" << " OUCH! Point not in line");
            ++l;
        } else {
            l = fLines.erase(l);
        }
    }
}

void ORVEX::IHoughPoint::KeepLine(IHoughLine* line) {
    if (std::find(fLines.begin(), fLines.end(), line) == fLines.end()) {
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
}

//////////////////////////////////////////////////////////////////////
// IHoughLine

double ORVEX::IHoughLine::GetWeight() const {
    double weight = 0.0;
    for (const IHoughPoint* point : fPoints) weight += point->GetWeight();
    return weight;
}

void ORVEX::IHoughLine::AddPoint(IHoughPoint* point) {
    fPoints.push_back(point);
    point->fLines.insert(this);
    fSorted = false;
}

ORVEX::IHoughLine::Points& ORVEX::IHoughLine::GetPoints() {
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
    for (Points::iterator p = begin; p != end; ++p) (*p)->fLines.erase(this);
    fPoints.erase(begin, end);
}

void ORVEX::IHoughLine::SortPoints() {
    fSorted = true;
    // std::list::sort is a stable merge sort: equal lengths keep the order
    // in which the points were added.
    fPoints.sort(ICounterClockwisePredicate(this));
}

//////////////////////////////////////////////////////////////////////
// IHoughLines

ORVEX::IHoughLines::IHoughLines(double xmin, double ymin, double xmax, double ymax,
                                double lineWidth, double overSampling,
                                double coherenceLength) {
    fCenterX = (xmax + xmin) / 2.0;
    fCenterY = (ymax + ymin) / 2.0;
    ORVEXInfo("HoughLines Space " << "[ " << xmin << " mm -- " << xmax << " mm]"
              << " by [" << ymin << " mm -- " << ymax << " mm]");

    fLineWidth = std::abs(lineWidth);
    fLineSpacing = std::abs(fLineWidth / overSampling);

    double cornerX = xmax - fCenterX;
    double cornerY = ymax - fCenterY;
    double radius = std::sqrt(cornerX * cornerX + cornerY * cornerY);
    // One extra bin on each side of the corner radius, and one for 0.
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
    fAngles = int(2.0 * (TMath::PiOver2() / approxAngleWidth + 1.0)) + 1;
    fAngleOffset = fAngles / 2;
    // The angles span exactly pi, whether their count is odd or even.
    fAngleSpacing = TMath::Pi() / (fAngles - 1);

    ORVEXInfo("    Angular Binning: " << fAngles << " ("
              << fAngleSpacing / kDegree << " degree)");
    ORVEXInfo("    Radial Binning:  " << fRadii << " (" << fLineWidth
              << " mm wide and" << " " << fLineSpacing << " mm apart)");

    for (int a = 0; a < fAngles; ++a) {
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
        ORVEXSevere("GetLinesIndex: Angle out of range "
                    << angle << " " << fAngles << " " << fAngleOffset);
        a = 0;
    }
    if (a >= fAngles) {
        ORVEXSevere("GetLinesIndex: Angle out of range "
                    << angle << " " << fAngles << " " << fAngleOffset);
        a = fAngles - 1;
    }
    int r = radius + fRadiusOffset;
    if (r < 0) {
        ORVEXSevere("GetLinesIndex: Radius out of range "
                    << radius << " " << fRadii << " " << fRadiusOffset);
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
    const int lineCount = fLines.size();
    for (int i = 0; i < fAngles; ++i) {
        double angle = GetAngleValue(i);
        double radius = dY * std::cos(angle) - dX * std::sin(angle);
        int maxBin = DigitizeRadius(radius + tolerance);
        int minBin = DigitizeRadius(radius - tolerance);
        for (int bin = minBin; bin <= maxBin; ++bin) {
            int index = GetLinesIndex(GetAngleBin(i), bin);
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
    TH2F* histogram = new TH2F(name, "Hough Transform Weights",
                               fAngles, -TMath::PiOver2(), TMath::PiOver2(),
                               fRadii, -maxRadius, maxRadius);
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
    std::vector<IHoughLine*> sortedLines;
    for (IHoughLine& line : fLines) {
        IHoughLine::Points& points = line.GetPoints();
        if (points.size() > 2) {
            sortedLines.push_back(&line);
        } else {
            line.RemovePoints(points.begin(), points.end());
        }
    }
    std::sort(sortedLines.begin(), sortedLines.end(), LineWeightPredicate);
    // The last line standing is never examined: it keeps its points.
    while (sortedLines.size() > 1) {
        IHoughLine* line = sortedLines.back();
        sortedLines.pop_back();
        IHoughLine::Points& points = line->GetPoints();
        if (points.size() <= 2) {
            line->RemovePoints(points.begin(), points.end());
            continue;
        }
        for (IHoughLine::Points::iterator p = points.begin(); p != points.end();) {
            // RemoveFromLines may take the point off this very line, so
            // the walk steps on before the call.
            IHoughPoint* point = *p++;
            if (threshold < 0.999) {
                point->RemoveFromLines(threshold);
            } else {
                point->KeepLine(line);
            }
        }
        std::sort(sortedLines.begin(), sortedLines.end(), LineWeightPredicate);
    }
}
