// The Hough space written out step by step, as the numbered procedures of
// IHoughLines read, with nothing cached and every search a walk.  It is the
// reference that the tests compare the library with; it is never built into
// the library.  Its reports are collected as "KIND: text" lines.
#ifndef ORVEX_HoughLinesReference_hxx_seen
#define ORVEX_HoughLinesReference_hxx_seen

#include <algorithm>
#include <cmath>
#include <list>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <TMath.h>

namespace HoughReference {

    struct Line;

    struct Point {
        double fX, fY, fWeight;
        int fTag;
        double fAngle = 0.0;
        std::set<Line*> fLines;
        Point(double x, double y, double weight, int tag)
            : fX(x), fY(y), fWeight(weight), fTag(tag) {}
    };

    class Space;

    struct Line {
        Space* fParent;
        double fAngle, fRadius;
        std::list<Point*> fPoints;
        bool fSorted = true;

        double Weight() const {
            double weight = 0.0;
            for (const Point* p : fPoints) weight += p->fWeight;
            return weight;
        }
        double Length(const Point* p) const;
        std::list<Point*>& GetPoints() {
            if (!fSorted) {
                fSorted = true;
                fPoints.sort(
                    [this](const Point* a, const Point* b) { return Length(a) < Length(b); });
            }
            return fPoints;
        }
        void RemovePoints(std::list<Point*>::iterator begin, std::list<Point*>::iterator end) {
            for (std::list<Point*>::iterator p = begin; p != end; ++p) {
                (*p)->fLines.erase(this);
            }
            fPoints.erase(begin, end);
        }
    };

    class Space {
    public:
        std::vector<Line> fLines;
        std::vector<Point*> fPoints;
        std::vector<std::string> fReports;
        std::vector<std::string> fSummary;
        double fCenterX, fCenterY;
        int fAngleOffset, fAngles, fRadiusOffset, fRadii;
        double fAngleSpacing, fLineSpacing, fLineWidth;

        Space(double xmin, double ymin, double xmax, double ymax, double lineWidth,
              double overSampling, double coherenceLength) {
            fCenterX = (xmax + xmin) / 2;
            fCenterY = (ymax + ymin) / 2;
            std::ostringstream first;
            first << "HoughLines Space "
                  << "[ " << xmin << " mm -- " << xmax << " mm]"
                  << " by [" << ymin << " mm -- " << ymax << " mm]";
            fSummary.push_back(first.str());
            fLineWidth = std::abs(lineWidth);
            fLineSpacing = std::abs(fLineWidth / overSampling);
            double cornerX = xmax - fCenterX;
            double cornerY = ymax - fCenterY;
            double radius = std::sqrt(cornerX * cornerX + cornerY * cornerY);
            fRadii = 2 * int(radius / fLineSpacing) + 3;
            fRadiusOffset = fRadii / 2;
            double maxLength = std::abs(coherenceLength);
            if (4 * fLineWidth > maxLength) {
                maxLength = (fRadii - 2) * fLineWidth / TMath::Pi();
            }
            maxLength = std::min(radius * fLineWidth / fLineSpacing, maxLength);
            double approxAngleWidth = fLineWidth / maxLength;
            fAngles = int(2 * (TMath::Pi() / 2 / approxAngleWidth + 1)) + 1;
            fAngleOffset = fAngles / 2;
            fAngleSpacing = TMath::Pi() / (fAngles - 1);
            std::ostringstream second, third;
            second << "    Angular Binning: " << fAngles << " ("
                   << fAngleSpacing / 0.017453292519943295 << " degree)";
            third << "    Radial Binning:  " << fRadii << " (" << fLineWidth << " mm wide and"
                  << " " << fLineSpacing << " mm apart)";
            fSummary.push_back(second.str());
            fSummary.push_back(third.str());
            for (int a = 0; a < fAngles; ++a) {
                for (int r = 0; r < fRadii; ++r) {
                    fLines.push_back(Line{this, GetAngleValue(a), GetRadiusValue(r)});
                }
            }
        }
        ~Space() {
            for (Point* p : fPoints) delete p;
        }

        void Report(const std::string& kind, const std::string& text) {
            fReports.push_back(kind + ": " + text);
        }

        int GetAngleBin(int i) {
            std::ostringstream text;
            text << "Angle index out of range " << i;
            if (i < 0) Report("SEVERE", text.str());
            if (i >= fAngles) Report("SEVERE", text.str());
            return i - fAngleOffset;
        }
        double GetAngleValue(int i) { return GetAngleBin(i) * fAngleSpacing; }
        double GetRadiusValue(int i) { return (i - fRadiusOffset) * fLineSpacing; }
        int DigitizeRadius(double r) { return TMath::Nint(r / fLineSpacing); }

        int GetLinesIndex(int angle, int radius) {
            int a = angle + fAngleOffset;
            std::ostringstream angleText;
            angleText << "GetLinesIndex: Angle out of range " << angle << " " << fAngles << " "
                      << fAngleOffset;
            if (a < 0) {
                Report("SEVERE", angleText.str());
                a = 0;
            }
            if (a >= fAngles) {
                Report("SEVERE", angleText.str());
                a = fAngles - 1;
            }
            int r = radius + fRadiusOffset;
            if (r < 0) {
                std::ostringstream text;
                text << "GetLinesIndex: Radius out of range " << radius << " " << fRadii << " "
                     << fRadiusOffset;
                Report("SEVERE", text.str());
                r = 0;
            }
            // The upper radius test compares the clipped angle: never true.
            return a * fRadii + r;
        }

        void AddPoint(Point* point) {
            point->fAngle = std::atan2(point->fY - fCenterY, point->fX - fCenterX);
            fPoints.push_back(point);
            for (int i = 0; i < fAngles; ++i) {
                double angle = GetAngleValue(i);
                double s = std::sin(angle), c = std::cos(angle);
                double radius = (point->fY - fCenterY) * c - (point->fX - fCenterX) * s;
                double tolerance = 0.5 * (fLineWidth - fLineSpacing) + 0.01 * fLineSpacing;
                int maxBin = DigitizeRadius(radius + tolerance);
                int minBin = DigitizeRadius(radius - tolerance);
                for (int bin = minBin; bin <= maxBin; ++bin) {
                    int index = GetLinesIndex(GetAngleBin(i), bin);
                    if (index >= int(fLines.size())) continue;  // past the grid
                    Line& line = fLines[index];
                    line.fPoints.push_back(point);
                    point->fLines.insert(&line);
                    line.fSorted = false;
                }
            }
        }

        void RemoveFromLines(Point* point, double threshold) {
            double maxWeight = -99999.0;
            for (Line* line : point->fLines) {
                if (line->Weight() > maxWeight) maxWeight = line->Weight();
            }
            for (auto l = point->fLines.begin(); l != point->fLines.end();) {
                double weight = (*l)->Weight();
                if (weight >= threshold * maxWeight) {
                    ++l;
                    continue;
                }
                auto p = std::find((*l)->fPoints.begin(), (*l)->fPoints.end(), point);
                if (p == (*l)->fPoints.end()) {
                    Report("WARNING", "RemoveFromLines: OUCH! Point not in line");
                    ++l;
                    continue;
                }
                (*l)->fPoints.erase(p);
                l = point->fLines.erase(l);
            }
        }

        void KeepLine(Point* point, Line* line) {
            bool found = false;
            for (Line* l : point->fLines) found = found || l == line;
            if (!found) {
                Report("WARNING", "ORVEX::IHoughPoint::KeepLine: Line doesn't contain point");
                return;
            }
            for (auto l = point->fLines.begin(); l != point->fLines.end();) {
                if (*l == line) {
                    ++l;
                    continue;
                }
                auto p = std::find((*l)->fPoints.begin(), (*l)->fPoints.end(), point);
                if (p == (*l)->fPoints.end()) {
                    Report("WARNING",
                           "ORVEX::IHoughPoint::RemoveFromLines: OUCH! Point not in line");
                    ++l;
                    continue;
                }
                (*l)->fPoints.erase(p);
                l = point->fLines.erase(l);
            }
        }

        void RemoveShared(double threshold) {
            auto lighter = [](const Line* a, const Line* b) { return a->Weight() < b->Weight(); };
            std::vector<Line*> sortedLines;
            for (Line& line : fLines) {
                std::list<Point*>& points = line.GetPoints();
                if (points.size() > 2) {
                    sortedLines.push_back(&line);
                } else {
                    line.RemovePoints(points.begin(), points.end());
                }
            }
            std::sort(sortedLines.begin(), sortedLines.end(), lighter);
            while (sortedLines.size() > 1) {
                Line* line = sortedLines.back();
                sortedLines.pop_back();
                std::list<Point*>& points = line->GetPoints();
                if (points.size() <= 2) {
                    line->RemovePoints(points.begin(), points.end());
                    continue;
                }
                for (auto p = points.begin(); p != points.end();) {
                    Point* point = *p++;
                    if (threshold < 0.999) {
                        RemoveFromLines(point, threshold);
                    } else {
                        KeepLine(point, line);
                    }
                }
                std::sort(sortedLines.begin(), sortedLines.end(), lighter);
            }
        }
    };

    inline double Line::Length(const Point* p) const {
        double dX = p->fX - fParent->fCenterX;
        double dY = p->fY - fParent->fCenterY;
        double dTheta = p->fAngle - (TMath::Pi() / 2 + fAngle);
        return std::sqrt(dX * dX + dY * dY) * std::sin(dTheta);
    }
}

#endif
