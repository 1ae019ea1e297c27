// The Hough space: its binning, the index of a line, filling, clearing and
// the histogram; the lines and points; and the resolution of shared points.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <TH2F.h>
#include <TMath.h>
#include <TRandom.h>

#include <IORVEXLog.hxx>

#include <IHoughLines.hxx>

using namespace ORVEX;

namespace {
    const double kPi = 3.14159265358979323846;
    const double kDegree = kPi / 180.0;

    // A measurement with a position, a weight and a tag to tell it apart.
    class XYPoint : public IHoughPoint {
    public:
        XYPoint(double x, double y, double weight = 1.0, int tag = 0)
            : fX(x), fY(y), fWeight(weight), fTag(tag) {
            ++gLive;
        }
        ~XYPoint() override { --gLive; }
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }
        double GetWeight() const override { return fWeight; }
        int Tag() const { return fTag; }
        static int gLive;

    private:
        double fX, fY, fWeight;
        int fTag;
    };
    int XYPoint::gLive = 0;

    // A measurement that keeps the default weight.
    class PlainPoint : public IHoughPoint {
    public:
        PlainPoint(double x, double y) : fX(x), fY(y) {}
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }

    private:
        double fX, fY;
    };

    std::string Escape(const std::string& text) {
        std::string escaped;
        for (char c : text) {
            if (std::string(".^$|()[]{}*+?\\").find(c) != std::string::npos) {
                escaped += '\\';
            }
            escaped += c;
        }
        return escaped;
    }

    // The pattern of one debug line of `kind` written by the Hough source.
    std::string DebugLine(const std::string& kind, const std::string& text) {
        return kind + ": [^\n]*IHoughLines\\.cxx:[0-9]+: " + Escape(text) + "\n";
    }

    bool Matches(const std::string& output, const std::string& pattern) {
        return std::regex_match(output, std::regex(pattern));
    }

    int TagOf(const IHoughPoint* point) {
        return dynamic_cast<const XYPoint*>(point)->Tag();
    }

    std::vector<int> Tags(const IHoughLine::Points& points) {
        std::vector<int> tags;
        for (const IHoughPoint* point : points) tags.push_back(TagOf(point));
        return tags;
    }

    bool Holds(const IHoughLine& line, const IHoughPoint* point) {
        const IHoughLine::Points& points = line.GetPoints();
        return std::find(points.begin(), points.end(), point) != points.end();
    }

    // The number of angle bins of a space, from the size of its grid.
    int AngleCount(IHoughLines& space, int radii) {
        return space.GetLines().size() / radii;
    }

    // Hands `point` to the space without filling any line, so that a test
    // can put it on lines of its own choice.
    XYPoint* Own(IHoughLines& space, XYPoint* point) {
        space.GetPoints().push_back(point);
        return point;
    }

    // Every log stream captured; the levels are put back afterwards.
    class Hough : public ::testing::Test {
    protected:
        void SetUp() override {
            IORVEXLog::SetDebugStream(&fDebug);
            IORVEXLog::SetLogStream(&fLog);
        }
        void TearDown() override {
            IORVEXLog::SetDebugStream(nullptr);
            IORVEXLog::SetLogStream(nullptr);
            IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
            IORVEXLog::SetLogLevel(IORVEXLog::LogLevel);
        }
        std::ostringstream fDebug;
        std::ostringstream fLog;
    };

    // A space in which tests put points on lines by hand.
    class HandMadeLines : public Hough {
    protected:
        HandMadeLines() : fSpace(-100, -100, 100, 100, 10, 2, 0) {}
        IHoughLine& Line(int index) { return fSpace.GetLines()[index]; }
        XYPoint* Point(int tag, double weight = 1.0) {
            return Own(fSpace, new XYPoint(tag, 0.0, weight, tag));
        }
        // A line filled with `count` points of its own, tagged from `tag`.
        void Fill(IHoughLine& line, int count, int tag) {
            for (int i = 0; i < count; ++i) line.AddPoint(Point(tag + i));
        }
        IHoughLines fSpace;
    };
}

//////////////////////////////////////////////////////////////////////
// Binning

TEST_F(Hough, SquareWithDefaultCoherenceLength) {
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    EXPECT_DOUBLE_EQ(space.GetLineWidth(), 10.0);
    EXPECT_DOUBLE_EQ(space.GetLineSpacing(), 5.0);
    EXPECT_DOUBLE_EQ(space.GetCenterX(), 0.0);
    EXPECT_DOUBLE_EQ(space.GetCenterY(), 0.0);
    // 59 radius bins with offset 29, 60 angle bins with offset 30.
    EXPECT_EQ(space.GetLines().size(), 60u * 59u);
    EXPECT_EQ(space.GetRadiusBin(0), -29);
    EXPECT_EQ(space.GetRadiusBin(58), 29);
    EXPECT_EQ(space.GetAngleBin(0), -30);
    EXPECT_EQ(space.GetAngleBin(59), 29);
    EXPECT_EQ(space.GetLinesIndex(-30, -29), 0);
    EXPECT_EQ(space.GetLinesIndex(-29, -29), 59);
    EXPECT_NEAR(space.GetAngleSpacing() / kDegree, 3.05085, 5e-6);
    EXPECT_EQ(fLog.str(),
              "%% HoughLines Space [ -100 mm -- 100 mm] by [-100 mm -- 100 mm]\n"
              "%%     Angular Binning: 60 (3.05085 degree)\n"
              "%%     Radial Binning:  59 (10 mm wide and 5 mm apart)\n");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, DefaultCoherenceLengthIs181Point4366) {
    // The default maxLength, 57 * 10 / pi = 181.4366, sits just above the
    // step from 59 to 60 angle bins, which lies between 181.4366 and
    // 181.4367; the next step, to 61, comes at 184.62.
    IHoughLines below(-100, -100, 100, 100, 10, 2, 181.43);
    IHoughLines above(-100, -100, 100, 100, 10, 2, 181.44);
    IHoughLines justBelow(-100, -100, 100, 100, 10, 2, 181.4366);
    IHoughLines justAbove(-100, -100, 100, 100, 10, 2, 181.4367);
    IHoughLines step61Below(-100, -100, 100, 100, 10, 2, 184.6);
    IHoughLines step61Above(-100, -100, 100, 100, 10, 2, 184.7);
    EXPECT_EQ(AngleCount(below, 59), 59);
    EXPECT_EQ(AngleCount(above, 59), 60);
    EXPECT_EQ(AngleCount(justBelow, 59), 59);
    EXPECT_EQ(AngleCount(justAbove, 59), 60);
    EXPECT_EQ(AngleCount(step61Below, 59), 60);
    EXPECT_EQ(AngleCount(step61Above, 59), 61);
    // Any length under four line widths selects the default.
    IHoughLines short39(-100, -100, 100, 100, 10, 2, 39.9);
    IHoughLines negative(-100, -100, 100, 100, 10, 2, -20);
    EXPECT_EQ(AngleCount(short39, 59), 60);
    EXPECT_EQ(AngleCount(negative, 59), 60);
}

TEST_F(Hough, CoherenceLength100Gives34Angles) {
    IORVEXLog::SetLogLevel(IORVEXLog::VerboseLevel);
    IHoughLines space(-100, -100, 100, 100, 10, 2, 100);
    EXPECT_EQ(space.GetLines().size(), 34u * 59u);
    EXPECT_DOUBLE_EQ(space.GetAngleSpacing(), kPi / 33);
    EXPECT_EQ(space.GetAngleBin(0), -17);
    // A negative coherence length counts by its size.
    IHoughLines negative(-100, -100, 100, 100, 10, 2, -100);
    EXPECT_EQ(negative.GetLines().size(), 34u * 59u);
    EXPECT_NE(fLog.str().find("%%     Angular Binning: 34 (5.45455 degree)\n"), std::string::npos);
}

TEST_F(Hough, RectangleClipsCoherenceLengthAtCornerRadius) {
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    EXPECT_DOUBLE_EQ(space.GetCenterX(), 150.0);
    EXPECT_DOUBLE_EQ(space.GetCenterY(), 200.0);
    EXPECT_DOUBLE_EQ(space.GetLineSpacing(), 10.0);
    // Corner radius 250 gives 2 * 25 + 3 radius bins; a maxLength of 250
    // gives 81 angle bins of 2.25 degrees (1000 would give 317).
    EXPECT_EQ(space.GetLines().size(), 81u * 53u);
    EXPECT_EQ(space.GetRadiusBin(0), -26);
    EXPECT_EQ(space.GetAngleBin(0), -40);
    EXPECT_NEAR(space.GetAngleSpacing() / kDegree, 2.25, 1e-12);
    EXPECT_EQ(fLog.str(),
              "%% HoughLines Space [ 0 mm -- 300 mm] by [0 mm -- 400 mm]\n"
              "%%     Angular Binning: 81 (2.25 degree)\n"
              "%%     Radial Binning:  53 (10 mm wide and 10 mm apart)\n");
    // The clip is at 250: a coherence length of 250 gives the same, 240
    // gives fewer angles.
    IHoughLines at250(0, 0, 300, 400, 10, 1, 250);
    IHoughLines at240(0, 0, 300, 400, 10, 1, 240);
    EXPECT_EQ(AngleCount(at250, 53), 81);
    EXPECT_EQ(AngleCount(at240, 53), 78);
}

TEST_F(Hough, SummaryNotWrittenBelowInfoLevel) {
    IORVEXLog::SetLogLevel(IORVEXLog::LogLevel);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    EXPECT_EQ(fLog.str(), "");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, SummaryIsIndentedAndLeavesStreamFormat) {
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    IORVEXLog::SetIndentation(1);
    fLog << std::scientific;
    IHoughLines space(-1.5, -1, 1.5, 1, 1, 1, 0);
    IORVEXLog::ResetIndentation();
    // Doubles in the stream's own format, which the summary leaves as found.
    std::string log = fLog.str();
    EXPECT_EQ(log.substr(0, log.find('\n') + 1),
              "%%   HoughLines Space [ -1.500000e+00 mm -- 1.500000e+00 mm] by "
              "[-1.000000e+00 mm -- 1.000000e+00 mm]\n");
    EXPECT_TRUE(fLog.flags() & std::ios::scientific);
}

TEST_F(Hough, GridIsAngleMajor) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    IHoughLines::Lines& lines = space.GetLines();
    ASSERT_EQ(lines.size(), 81u * 53u);
    for (int a = 0; a < 81; ++a) {
        for (int r = 0; r < 53; ++r) {
            const IHoughLine& line = lines[a * 53 + r];
            ASSERT_NEAR(line.GetAngle(), (a - 40) * 2.25 * kDegree, 1e-12);
            ASSERT_DOUBLE_EQ(line.GetRadius(), (r - 26) * 10.0);
            ASSERT_TRUE(line.GetPoints().empty());
        }
    }
    // An odd count runs from -pi/2 to pi/2.
    EXPECT_NEAR(lines.front().GetAngle(), -kPi / 2, 1e-12);
    EXPECT_NEAR(lines.back().GetAngle(), kPi / 2, 1e-12);
    EXPECT_DOUBLE_EQ(lines.front().GetRadius(), -260.0);
    EXPECT_DOUBLE_EQ(lines.back().GetRadius(), 260.0);
}

TEST_F(Hough, EvenAngleCountKeepsZeroAndSpansPi) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IHoughLines::Lines& lines = space.GetLines();
    double spacing = kPi / 59;
    EXPECT_NEAR(lines.front().GetAngle(), -30 * spacing, 1e-12);
    EXPECT_NEAR(lines.back().GetAngle(), 29 * spacing, 1e-12);
    // From -30 to 29 spacings: pi in all, displaced by half a spacing
    // towards the negative side.
    EXPECT_NEAR(lines.back().GetAngle() - lines.front().GetAngle(), kPi, 1e-12);
    EXPECT_NEAR(lines.back().GetAngle() + lines.front().GetAngle(), -spacing, 1e-12);
    EXPECT_DOUBLE_EQ(lines[30 * 59].GetAngle(), 0.0);
}

TEST_F(Hough, LineSizeAndCentreLine) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 100);
    EXPECT_EQ(space.GetLines().size(), 34u * 59u);
    const IHoughLine& centre = space.GetLines()[space.GetLinesIndex(0, 0)];
    EXPECT_EQ(space.GetLinesIndex(0, 0), 17 * 59 + 29);
    EXPECT_DOUBLE_EQ(centre.GetAngle(), 0.0);
    EXPECT_DOUBLE_EQ(centre.GetRadius(), 0.0);
}

TEST_F(Hough, NegativeWidthAndOverSamplingActAsTheirSizes) {
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    IHoughLines both(-100, -100, 100, 100, -10, -2, 0);
    IHoughLines width(-100, -100, 100, 100, -10, 2, 0);
    IHoughLines sampling(-100, -100, 100, 100, 10, -2, 0);
    for (IHoughLines* space : {&both, &width, &sampling}) {
        EXPECT_DOUBLE_EQ(space->GetLineWidth(), 10.0);
        EXPECT_DOUBLE_EQ(space->GetLineSpacing(), 5.0);
        EXPECT_EQ(space->GetLines().size(), 60u * 59u);
        EXPECT_DOUBLE_EQ(space->GetAngleSpacing(), kPi / 59);
    }
    std::string radial = "%%     Radial Binning:  59 (10 mm wide and 5 mm apart)\n";
    std::string log = fLog.str();
    int count = 0;
    for (size_t at = log.find(radial); at != std::string::npos; at = log.find(radial, at + 1)) {
        ++count;
    }
    EXPECT_EQ(count, 3);
}

//////////////////////////////////////////////////////////////////////
// Bins and indices

TEST_F(Hough, AngleBinBelowRangeReportsAndIsNotClipped) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    EXPECT_EQ(space.GetAngleBin(-1), -31);
    EXPECT_TRUE(Matches(fDebug.str(), DebugLine("SEVERE", "Angle index out of range -1")))
        << fDebug.str();
    fDebug.str("");
    EXPECT_DOUBLE_EQ(space.GetAngleValue(-1), -31 * kPi / 59);
    EXPECT_TRUE(Matches(fDebug.str(), DebugLine("SEVERE", "Angle index out of range -1")));
}

TEST_F(Hough, AngleBinAboveRangeReportsAndIsNotClipped) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    EXPECT_EQ(space.GetAngleBin(60), 30);
    EXPECT_EQ(space.GetAngleBin(75), 45);
    EXPECT_TRUE(Matches(fDebug.str(), DebugLine("SEVERE", "Angle index out of range 60") +
                                          DebugLine("SEVERE", "Angle index out of range 75")))
        << fDebug.str();
}

TEST_F(Hough, AngleBinReportsOnlyFromSevereLevel) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
    EXPECT_EQ(space.GetAngleBin(-1), -31);
    EXPECT_EQ(space.GetAngleBin(60), 30);
    EXPECT_EQ(fDebug.str(), "");
    // In range, nothing at any level.
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    EXPECT_EQ(space.GetAngleBin(0), -30);
    EXPECT_EQ(space.GetAngleBin(59), 29);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, LinesIndexAngleTooHighReportsAndTakesLastRow) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    EXPECT_EQ(space.GetLinesIndex(30, 0), 59 * 59 + 29);
    EXPECT_EQ(space.GetLinesIndex(100, -29), 59 * 59);
    EXPECT_TRUE(Matches(fDebug.str(),
                        DebugLine("SEVERE", "GetLinesIndex: Angle out of range 30 60 30") +
                            DebugLine("SEVERE", "GetLinesIndex: Angle out of range 100 60 30")))
        << fDebug.str();
}

TEST_F(Hough, LinesIndexAngleTooLowReportsAndTakesFirstRow) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    EXPECT_EQ(space.GetLinesIndex(-31, 0), 29);
    EXPECT_TRUE(
        Matches(fDebug.str(), DebugLine("SEVERE", "GetLinesIndex: Angle out of range -31 60 30")))
        << fDebug.str();
}

TEST_F(Hough, LinesIndexRadiusTooLowReportsAndIsClipped) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    EXPECT_EQ(space.GetLinesIndex(0, -30), 30 * 59);
    EXPECT_TRUE(
        Matches(fDebug.str(), DebugLine("SEVERE", "GetLinesIndex: Radius out of range -30 59 29")))
        << fDebug.str();
    // Both ends low: two reports, the first row's first line.
    fDebug.str("");
    EXPECT_EQ(space.GetLinesIndex(-40, -40), 0);
    EXPECT_TRUE(Matches(fDebug.str(),
                        DebugLine("SEVERE", "GetLinesIndex: Angle out of range -40 60 30") +
                            DebugLine("SEVERE", "GetLinesIndex: Radius out of range -40 59 29")));
}

TEST_F(Hough, LinesIndexRangeReportsSilentBelowSevereLevel) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
    EXPECT_EQ(space.GetLinesIndex(30, 0), 59 * 59 + 29);
    EXPECT_EQ(space.GetLinesIndex(0, -30), 30 * 59);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, LinesIndexRadiusTooHighIsSilentAndSpillsIntoNextRow) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    EXPECT_EQ(space.GetLinesIndex(0, 29), 30 * 59 + 58);
    // One above the top is the first line of the next angle row.
    EXPECT_EQ(space.GetLinesIndex(0, 30), 31 * 59);
    EXPECT_EQ(space.GetLinesIndex(0, 100), 30 * 59 + 129);
    // From the last row it points past the end of the grid.
    EXPECT_EQ(space.GetLinesIndex(29, 30), 60 * 59);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, DigitizeRoundsHalfwayToEven) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    EXPECT_EQ(space.DigitizeRadius(12.5), 2);
    EXPECT_EQ(space.DigitizeRadius(17.5), 4);
    EXPECT_EQ(space.DigitizeRadius(-12.5), -2);
    EXPECT_EQ(space.DigitizeRadius(-17.5), -4);
    EXPECT_EQ(space.DigitizeRadius(12.6), 3);
    EXPECT_EQ(space.DigitizeRadius(-2.4), 0);
    // Neither wraps nor clips.
    EXPECT_EQ(space.DigitizeRadius(1000.0), 200);
    EXPECT_EQ(space.DigitizeAngle(kPi), 59);
    EXPECT_EQ(space.DigitizeAngle(-kPi), -59);
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(space.DigitizeAngle(space.GetAngleValue(i)), i - 30);
    }
    EXPECT_EQ(space.DigitizeAngle(0.5 * kPi / 59 * 0.99), 0);
    EXPECT_EQ(space.DigitizeAngle(0.5 * kPi / 59 * 1.01), 1);
}

TEST_F(Hough, RadiusValueHasNoRangeTest) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    EXPECT_EQ(space.GetRadiusBin(-5), -34);
    EXPECT_DOUBLE_EQ(space.GetRadiusValue(100), 355.0);
    EXPECT_EQ(fDebug.str(), "");
}

//////////////////////////////////////////////////////////////////////
// Filling

TEST_F(Hough, PointAtCentreLandsAroundZeroInEveryRow) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    XYPoint* point = new XYPoint(0, 0);
    space.AddPoint(point);
    IHoughLines::Lines& lines = space.GetLines();
    // Tolerance 2.55 mm: bins -1, 0 and 1 at each of the 60 angles.
    EXPECT_EQ(point->GetLines().size(), 60u * 3u);
    for (int a = 0; a < 60; ++a) {
        for (int r = 0; r < 59; ++r) {
            bool expected = std::abs(r - 29) <= 1;
            ASSERT_EQ(Holds(lines[a * 59 + r], point), expected) << a << " " << r;
            ASSERT_EQ(point->GetLines().count(&lines[a * 59 + r]) == 1, expected);
        }
        EXPECT_NEAR(lines[a * 59 + 29].GetDeviation(point), 0.0, 1e-12);
    }
    ASSERT_EQ(space.GetPoints().size(), 1u);
    EXPECT_EQ(space.GetPoints()[0], point);
}

TEST_F(Hough, AddPointSetsPolarAngleAboutCentre) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    XYPoint* point = new XYPoint(150 - 30, 200 + 30);
    EXPECT_DOUBLE_EQ(point->GetAngle(), 0.0);
    space.AddPoint(point);
    EXPECT_NEAR(point->GetAngle(), 0.75 * kPi, 1e-15);
}

// A line takes a point exactly when the point's radius at the line's angle
// is within half a width plus one per cent of a spacing of the line's.
void CheckFilling(double overSampling) {
    IHoughLines space(-100, -100, 100, 100, 10, overSampling, 0);
    gRandom->SetSeed(20261121);
    std::vector<XYPoint*> points;
    for (int i = 0; i < 20; ++i) {
        points.push_back(new XYPoint(gRandom->Uniform(-100, 100), gRandom->Uniform(-100, 100)));
        space.AddPoint(points.back());
    }
    double reach = 5.0 + 0.01 * space.GetLineSpacing();
    size_t memberships = 0;
    for (const IHoughLine& line : space.GetLines()) {
        double c = std::cos(line.GetAngle());
        double s = std::sin(line.GetAngle());
        for (XYPoint* point : points) {
            double radius = point->GetY() * c - point->GetX() * s;
            bool inside = std::abs(radius - line.GetRadius()) <= reach;
            ASSERT_EQ(Holds(line, point), inside)
                << "oversampling " << overSampling << " angle " << line.GetAngle() << " radius "
                << line.GetRadius();
            ASSERT_EQ(point->GetLines().count(const_cast<IHoughLine*>(&line)) == 1, inside);
            memberships += inside;
        }
    }
    // About `overSampling` bins per angle row.
    double lowest = space.GetLines().front().GetRadius();
    int rows = 0;
    for (const IHoughLine& line : space.GetLines()) rows += line.GetRadius() == lowest;
    EXPECT_NEAR(double(memberships) / points.size() / rows, overSampling, 0.1);
}

TEST_F(Hough, FillingMatchesLineGeometryAtOverSampling1) {
    CheckFilling(1);
}
TEST_F(Hough, FillingMatchesLineGeometryAtOverSampling2) {
    CheckFilling(2);
}
TEST_F(Hough, FillingMatchesLineGeometryAtOverSampling3) {
    CheckFilling(3);
}

TEST_F(Hough, OverSampling1BinsOnlyTouch) {
    IHoughLines space(-100, -100, 100, 100, 10, 1, 0);
    // Radius 4.95 at angle 0 is inside the margin of the bin boundary at 5
    // (reach 5.1), so it falls into bins 0 and 1; 4.8 only into bin 0.
    XYPoint* margin = new XYPoint(0, 4.95);
    XYPoint* inner = new XYPoint(0, 4.8);
    space.AddPoint(margin);
    space.AddPoint(inner);
    int row = space.GetLinesIndex(0, 0);
    IHoughLines::Lines& lines = space.GetLines();
    EXPECT_TRUE(Holds(lines[row], margin));
    EXPECT_TRUE(Holds(lines[row + 1], margin));
    EXPECT_TRUE(Holds(lines[row], inner));
    EXPECT_FALSE(Holds(lines[row + 1], inner));
    EXPECT_FALSE(Holds(lines[row - 1], inner));
}

TEST_F(Hough, PointNearCornerSpillsIntoNextAngleRow) {
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    IHoughLines space(-100, -100, 100, 100, 10, 4, 0);
    // Spacing 2.5, 115 radius bins reaching 142.5 mm; the corner lies at
    // 141.42 mm and the tolerance is 3.775 mm, so near angle -45 degrees
    // the top bin is overrun.
    XYPoint* corner = new XYPoint(100, 100);
    space.AddPoint(corner);
    int spilled = 0;
    for (IHoughLine* line : corner->GetLines()) {
        EXPECT_TRUE(Holds(*line, corner));
        if (std::abs(line->GetDeviation(corner)) > 200) {
            // The lowest line of the next row, on the far side of the centre.
            EXPECT_DOUBLE_EQ(line->GetRadius(), -142.5);
            ++spilled;
        }
    }
    EXPECT_GE(spilled, 1);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Hough, PointNearCornerIsClippedAtTheLowEndAndReported) {
    IHoughLines space(-100, -100, 100, 100, 10, 4, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    // Spacing 2.5, 115 radius bins with offset 57, tolerance 3.775 mm.  The
    // corner (100, -100) lies at radius -141.42 mm near angle 45 degrees,
    // where the lowest bin wanted, -58, is one below the grid: it is
    // reported and clipped onto the lowest line, which so takes the point
    // twice, while the point names that line once.
    XYPoint* corner = new XYPoint(100, -100);
    space.AddPoint(corner);
    IHoughLines::Lines& lines = space.GetLines();
    ASSERT_EQ(lines.size() % 115, 0u);
    int clipped = 0;
    for (size_t row = 0; row < lines.size() / 115; ++row) {
        const IHoughLine& lowest = lines[row * 115];
        double angle = lowest.GetAngle();
        double radius = -100 * std::cos(angle) - 100 * std::sin(angle);
        const IHoughLine::Points& points = lowest.GetPoints();
        long copies = std::count(points.begin(), points.end(), corner);
        if (radius - 3.775 < -57.5 * 2.5) {
            ++clipped;
            ASSERT_EQ(copies, 2) << "angle " << angle;
            ASSERT_DOUBLE_EQ(lowest.GetWeight(), 2.0);
            ASSERT_EQ(corner->GetLines().count(const_cast<IHoughLine*>(&lowest)), 1u);
        } else {
            ASSERT_LE(copies, 1) << "angle " << angle;
        }
    }
    EXPECT_GE(clipped, 5);
    std::string expected;
    for (int i = 0; i < clipped; ++i) {
        expected += DebugLine("SEVERE", "GetLinesIndex: Radius out of range -58 115 57");
    }
    EXPECT_TRUE(Matches(fDebug.str(), expected)) << fDebug.str();
}

TEST_F(Hough, BinsPastTheLastLineAreSkipped) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    // Far outside the space, the radii at the last angles run far above
    // the top bin: rows spill onwards, and from the last row there is
    // nowhere to go.
    XYPoint* far = new XYPoint(-1000, 0);
    space.AddPoint(far);
    const IHoughLine* first = &space.GetLines().front();
    const IHoughLine* last = &space.GetLines().back();
    EXPECT_FALSE(far->GetLines().empty());
    for (IHoughLine* line : far->GetLines()) {
        ASSERT_TRUE(line >= first && line <= last);
        ASSERT_TRUE(Holds(*line, far));
    }
    EXPECT_EQ(space.GetPoints().size(), 1u);
}

TEST_F(Hough, WeightPlaysNoPartInFilling) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    XYPoint* light = new XYPoint(12, -34, 0.25);
    XYPoint* heavy = new XYPoint(12, -34, 40.0);
    space.AddPoint(light);
    space.AddPoint(heavy);
    EXPECT_EQ(light->GetLines(), heavy->GetLines());
    for (IHoughLine* line : light->GetLines()) EXPECT_DOUBLE_EQ(line->GetWeight(), 40.25);
}

TEST_F(Hough, ClearEmptiesAndDeletesThenRefills) {
    int before = XYPoint::gLive;
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    for (int i = 0; i < 10; ++i) space.AddPoint(new XYPoint(10.0 * i - 50, 3.0 * i));
    EXPECT_EQ(XYPoint::gLive, before + 10);
    space.Clear();
    EXPECT_EQ(XYPoint::gLive, before);
    EXPECT_TRUE(space.GetPoints().empty());
    EXPECT_EQ(space.GetLines().size(), 60u * 59u);
    for (const IHoughLine& line : space.GetLines()) {
        ASSERT_DOUBLE_EQ(line.GetWeight(), 0.0);
        ASSERT_TRUE(line.GetPoints().empty());
    }
    XYPoint* again = new XYPoint(0, 0);
    space.AddPoint(again);
    EXPECT_EQ(again->GetLines().size(), 180u);
    EXPECT_DOUBLE_EQ(space.GetLines()[space.GetLinesIndex(0, 0)].GetWeight(), 1.0);
    EXPECT_EQ(space.GetPoints().size(), 1u);
}

TEST_F(Hough, DestructorDeletesPoints) {
    int before = XYPoint::gLive;
    {
        IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
        space.AddPoint(new XYPoint(1, 2));
        space.AddPoint(new XYPoint(-3, 4));
        EXPECT_EQ(XYPoint::gLive, before + 2);
    }
    EXPECT_EQ(XYPoint::gLive, before);
}

//////////////////////////////////////////////////////////////////////
// Histogram

TEST_F(Hough, HistogramOfFreshSpaceIsEmpty) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    std::unique_ptr<TH2F> histogram(space.CreateHistogram("fresh"));
    EXPECT_STREQ(histogram->GetName(), "fresh");
    EXPECT_STREQ(histogram->GetTitle(), "Hough Transform Weights");
    EXPECT_EQ(histogram->GetNbinsX(), 60);
    EXPECT_EQ(histogram->GetNbinsY(), 59);
    for (int i = 0; i <= 61; ++i) {
        for (int j = 0; j <= 60; ++j) ASSERT_EQ(histogram->GetBinContent(i, j), 0.0);
    }
}

TEST_F(Hough, HistogramAxesComeFromAngleCounts) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    std::unique_ptr<TH2F> histogram(space.CreateHistogram(std::string("axes")));
    EXPECT_STREQ(histogram->GetName(), "axes");
    EXPECT_EQ(histogram->GetNbinsX(), 81);
    EXPECT_DOUBLE_EQ(histogram->GetXaxis()->GetXmin(), -kPi / 2);
    EXPECT_DOUBLE_EQ(histogram->GetXaxis()->GetXmax(), kPi / 2);
    // (81 - 40) * 10 mm, although the radius bins reach only 260 mm.
    EXPECT_EQ(histogram->GetNbinsY(), 53);
    EXPECT_DOUBLE_EQ(histogram->GetYaxis()->GetXmin(), -410.0);
    EXPECT_DOUBLE_EQ(histogram->GetYaxis()->GetXmax(), 410.0);
    // The caller owns it: no directory holds it.
    EXPECT_EQ(histogram->GetDirectory(), nullptr);
}

TEST_F(Hough, HistogramBinsAreIndicesFromZero) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    space.AddPoint(new XYPoint(0, 0, 2.0));
    space.AddPoint(new XYPoint(30, -20));
    std::unique_ptr<TH2F> histogram(space.CreateHistogram("weights"));
    IHoughLines::Lines& lines = space.GetLines();
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 59; ++j) {
            ASSERT_DOUBLE_EQ(histogram->GetBinContent(i, j), lines[i * 59 + j].GetWeight());
        }
        // The top bin of the radius axis and the overflow stay empty.
        ASSERT_EQ(histogram->GetBinContent(i, 59), 0.0);
        ASSERT_EQ(histogram->GetBinContent(i, 60), 0.0);
    }
    for (int j = 0; j <= 60; ++j) {
        ASSERT_EQ(histogram->GetBinContent(60, j), 0.0);
        ASSERT_EQ(histogram->GetBinContent(61, j), 0.0);
    }
    // Angle index 0 lands in the underflow column: the centre point has
    // weight 2 on its radius-0 line.
    EXPECT_GE(histogram->GetBinContent(0, 29), 2.0);
    EXPECT_EQ(histogram->GetBinContent(0, 29), lines[29].GetWeight());
}

//////////////////////////////////////////////////////////////////////
// Lines and points

TEST_F(Hough, DefaultPointWeightIsOne) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IHoughLine& line = space.GetLines()[100];
    EXPECT_DOUBLE_EQ(line.GetWeight(), 0.0);
    std::vector<std::unique_ptr<PlainPoint> > points;
    for (int i = 0; i < 4; ++i) {
        points.emplace_back(new PlainPoint(i, i));
        EXPECT_DOUBLE_EQ(points.back()->GetWeight(), 1.0);
        line.AddPoint(points.back().get());
    }
    EXPECT_DOUBLE_EQ(line.GetWeight(), 4.0);
    line.Clear();
}

TEST_F(Hough, LineWeightSumsPointWeights) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IHoughLine& line = space.GetLines()[7];
    line.AddPoint(Own(space, new XYPoint(0, 0, 0.5)));
    line.AddPoint(Own(space, new XYPoint(0, 0, 2.25)));
    line.AddPoint(Own(space, new XYPoint(0, 0, -1.0)));
    EXPECT_DOUBLE_EQ(line.GetWeight(), 1.75);
}

TEST_F(Hough, PointsSortByLengthAndKeepAdditionOrderOnTies) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    IHoughLine& line = space.GetLines()[space.GetLinesIndex(0, 0)];
    // Along the X axis the length is minus X.  Tags 3, 4 and 6 sit at the
    // same place.
    const double xs[] = {30, -50, 10, 10, -20, 70, 10, 30};
    for (int tag = 0; tag < 8; ++tag) space.AddPoint(new XYPoint(xs[tag], 0, 1.0, tag + 1));
    EXPECT_EQ(Tags(static_cast<const IHoughLine&>(line).GetPoints()),
              std::vector<int>({1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(Tags(line.GetPoints()), std::vector<int>({6, 1, 8, 3, 4, 7, 5, 2}));
}

TEST_F(Hough, SortedOrderMatchesProjectionOnTiltedLine) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    int index = space.GetLinesIndex(13, 4);
    IHoughLine& line = space.GetLines()[index];
    double a = 13 * 2.25 * kDegree;
    gRandom->SetSeed(77);
    std::vector<std::pair<double, int> > expected;
    for (int tag = 0; tag < 25; ++tag) {
        double s = gRandom->Uniform(-200, 200);
        double r = 40.0 + gRandom->Uniform(-4, 4);
        space.AddPoint(new XYPoint(150 + s * std::cos(a) - r * std::sin(a),
                                   200 + s * std::sin(a) + r * std::cos(a), 1.0, tag));
        // Positive against the direction of the line.
        expected.push_back(std::make_pair(-s, tag));
    }
    std::sort(expected.begin(), expected.end());
    std::vector<int> order;
    for (const auto& e : expected) order.push_back(e.second);
    EXPECT_EQ(Tags(line.GetPoints()), order);
}

TEST_F(Hough, LengthAndDeviationAreAlongAndAcrossTheLine) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    gRandom->SetSeed(4242);
    for (int k = 0; k < 50; ++k) {
        const IHoughLine& line = space.GetLines()[gRandom->Integer(space.GetLines().size())];
        double a = line.GetAngle();
        double s = gRandom->Uniform(-300, 300);
        double r = gRandom->Uniform(-300, 300);
        XYPoint* point = new XYPoint(150 + s * std::cos(a) - r * std::sin(a),
                                     200 + s * std::sin(a) + r * std::cos(a));
        space.AddPoint(point);
        ASSERT_NEAR(line.GetLength(point), -s, 1e-9);
        ASSERT_NEAR(line.GetDeviation(point), r - line.GetRadius(), 1e-9);
    }
}

TEST_F(Hough, FootOfPerpendicularHasZeroLengthAndDeviation) {
    IHoughLines space(0, 0, 300, 400, 10, 1, 1000);
    const IHoughLine& line = space.GetLines()[space.GetLinesIndex(7, 3)];
    double a = 7 * 2.25 * kDegree;
    ASSERT_DOUBLE_EQ(line.GetRadius(), 30.0);
    XYPoint* foot = new XYPoint(150 - 30 * std::sin(a), 200 + 30 * std::cos(a));
    space.AddPoint(foot);
    EXPECT_NEAR(line.GetLength(foot), 0.0, 1e-12);
    EXPECT_NEAR(line.GetDeviation(foot), 0.0, 1e-12);
}

TEST_F(Hough, LengthAndDeviationUseTheStoredAngle) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    const IHoughLine& line = space.GetLines()[space.GetLinesIndex(0, 0)];
    // Never added to a space, the point's angle is still 0, as if it lay on
    // the positive X axis.
    XYPoint* loose = Own(space, new XYPoint(0, 10));
    EXPECT_NEAR(line.GetLength(loose), -10.0, 1e-12);
    EXPECT_NEAR(line.GetDeviation(loose), 0.0, 1e-12);
    XYPoint* added = new XYPoint(0, 10);
    space.AddPoint(added);
    EXPECT_NEAR(line.GetLength(added), 0.0, 1e-12);
    EXPECT_NEAR(line.GetDeviation(added), 10.0, 1e-12);
}

TEST_F(HandMadeLines, RemovePointsUnlinksBothWaysAndKeepsSortedFlag) {
    IHoughLine& line = Line(fSpace.GetLinesIndex(0, 0));
    XYPoint* points[4];
    const double xs[] = {10, 30, -20, 0};
    for (int i = 0; i < 4; ++i) {
        points[i] = new XYPoint(xs[i], 0, 1.0, i);
        fSpace.AddPoint(points[i]);
    }
    size_t linesOfSecond = points[1]->GetLines().size();
    // Take the middle two of the unsorted list off the line.
    IHoughLine::Points& unsorted =
        const_cast<IHoughLine::Points&>(static_cast<const IHoughLine&>(line).GetPoints());
    IHoughLine::Points::iterator begin = std::next(unsorted.begin());
    line.RemovePoints(begin, std::next(begin, 2));
    EXPECT_EQ(points[1]->GetLines().count(&line), 0u);
    EXPECT_EQ(points[2]->GetLines().count(&line), 0u);
    EXPECT_EQ(points[0]->GetLines().count(&line), 1u);
    EXPECT_EQ(points[3]->GetLines().count(&line), 1u);
    // The other lines of the removed points are untouched.
    EXPECT_EQ(points[1]->GetLines().size(), linesOfSecond - 1);
    // Still unsorted, so asking sorts: tag 0 at length -10 before tag 3 at 0.
    EXPECT_EQ(Tags(line.GetPoints()), std::vector<int>({0, 3}));
}

TEST_F(HandMadeLines, LineCopyTakesEveryField) {
    IHoughLine& line = Line(321);
    line.AddPoint(Point(5));
    line.AddPoint(Point(-5));
    IHoughLine copy(line);
    EXPECT_EQ(copy.GetAngle(), line.GetAngle());
    EXPECT_EQ(copy.GetRadius(), line.GetRadius());
    EXPECT_EQ(Tags(static_cast<const IHoughLine&>(copy).GetPoints()), std::vector<int>({5, -5}));
    IHoughLine assigned(&fSpace, 0, 0);
    assigned = line;
    EXPECT_EQ(assigned.GetRadius(), line.GetRadius());
    EXPECT_DOUBLE_EQ(assigned.GetWeight(), 2.0);
    // The copy is unsorted as the original was (length -5 before 5).
    EXPECT_EQ(Tags(copy.GetPoints()), std::vector<int>({5, -5}));
}

TEST_F(HandMadeLines, KeepLineTakesThePointOffEveryOtherLine) {
    XYPoint* shared = Point(1);
    IHoughLine& a = Line(10);
    IHoughLine& b = Line(20);
    IHoughLine& c = Line(30);
    for (IHoughLine* line : {&a, &b, &c}) line->AddPoint(shared);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    shared->KeepLine(&b);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&b}));
    EXPECT_TRUE(a.GetPoints().empty());
    EXPECT_TRUE(Holds(b, shared));
    EXPECT_TRUE(c.GetPoints().empty());
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(HandMadeLines, KeepLineWithForeignLineWarnsAndChangesNothing) {
    XYPoint* point = Point(1);
    IHoughLine& a = Line(10);
    IHoughLine& b = Line(20);
    IHoughLine& foreign = Line(30);
    a.AddPoint(point);
    b.AddPoint(point);
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    point->KeepLine(&foreign);
    EXPECT_TRUE(
        Matches(fDebug.str(),
                DebugLine("WARNING", "ORVEX::IHoughPoint::KeepLine: Line doesn't contain point")))
        << fDebug.str();
    EXPECT_EQ(point->GetLines(), IHoughPoint::Lines({&a, &b}));
    EXPECT_TRUE(Holds(a, point));
    EXPECT_TRUE(Holds(b, point));
    // Below the warning level the same call is silent.
    fDebug.str("");
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    point->KeepLine(&foreign);
    EXPECT_EQ(fDebug.str(), "");
    EXPECT_EQ(point->GetLines().size(), 2u);
}

TEST_F(HandMadeLines, KeepLineWarnsOfStaleLinkUnderTheOtherName) {
    XYPoint* point = Point(1);
    IHoughLine& stale = Line(10);
    IHoughLine& kept = Line(20);
    stale.AddPoint(point);
    kept.AddPoint(point);
    stale.Clear();  // the point still names the line
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    point->KeepLine(&kept);
    EXPECT_TRUE(Matches(
        fDebug.str(),
        DebugLine("WARNING", "ORVEX::IHoughPoint::RemoveFromLines: OUCH! Point not in line")))
        << fDebug.str();
    EXPECT_EQ(point->GetLines(), IHoughPoint::Lines({&stale, &kept}));
    fDebug.str("");
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    point->KeepLine(&kept);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(HandMadeLines, RemoveFromLinesDropsLinesBelowThreshold) {
    XYPoint* shared = Point(0);
    IHoughLine& ten = Line(100);
    IHoughLine& six = Line(200);
    IHoughLine& five = Line(300);
    ten.AddPoint(shared);
    six.AddPoint(shared);
    five.AddPoint(shared);
    Fill(ten, 9, 100);
    Fill(six, 5, 200);
    Fill(five, 4, 300);
    shared->RemoveFromLines(0.55);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&ten, &six}));
    EXPECT_DOUBLE_EQ(five.GetWeight(), 4.0);
    EXPECT_FALSE(Holds(five, shared));
    // Nothing more goes at a lower threshold, nor at 0 or below.
    for (double threshold : {0.5, 0.0, -2.0}) {
        shared->RemoveFromLines(threshold);
        EXPECT_EQ(shared->GetLines().size(), 2u);
    }
    shared->RemoveFromLines(0.61);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&ten}));
}

TEST_F(HandMadeLines, RemoveFromLinesKeepsLineAtExactlyTheThreshold) {
    XYPoint* shared = Point(0);
    IHoughLine& ten = Line(100);
    IHoughLine& five = Line(200);
    IHoughLine& four = Line(300);
    for (IHoughLine* line : {&ten, &five, &four}) line->AddPoint(shared);
    Fill(ten, 9, 100);
    Fill(five, 4, 200);
    Fill(four, 3, 300);
    // 5 is exactly 0.5 of 10 and stays; 4 falls short.
    shared->RemoveFromLines(0.5);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&ten, &five}));
    EXPECT_TRUE(Holds(five, shared));
    EXPECT_FALSE(Holds(four, shared));
    // At 1 the heaviest line itself is not below its own weight.
    shared->RemoveFromLines(1.0);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&ten}));
    EXPECT_TRUE(Holds(ten, shared));
}

TEST_F(HandMadeLines, RemoveFromLinesStartsItsMaximumAtMinus99999) {
    // Lines of weight -100000 and -200000 never raise the maximum above its
    // start of -99999, so at threshold 1 both fall short and the point
    // leaves them both, the heavier included.
    XYPoint* shared = Point(0, -100000.0);
    IHoughLine& heavier = Line(100);
    IHoughLine& lighter = Line(200);
    heavier.AddPoint(shared);
    lighter.AddPoint(shared);
    lighter.AddPoint(Point(1, -100000.0));
    shared->RemoveFromLines(1.0);
    EXPECT_TRUE(shared->GetLines().empty());
    EXPECT_TRUE(heavier.GetPoints().empty());
    EXPECT_EQ(lighter.GetPoints().size(), 1u);
}

TEST_F(HandMadeLines, RemoveFromLinesWarnsOfStaleLink) {
    XYPoint* point = Point(0);
    IHoughLine& heavy = Line(100);
    IHoughLine& stale = Line(200);
    heavy.AddPoint(point);
    Fill(heavy, 2, 10);
    stale.AddPoint(point);
    stale.Clear();
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    point->RemoveFromLines(0.5);
    EXPECT_TRUE(
        Matches(fDebug.str(), DebugLine("WARNING", "RemoveFromLines: OUCH! Point not in line")))
        << fDebug.str();
    EXPECT_EQ(point->GetLines(), IHoughPoint::Lines({&heavy, &stale}));
    fDebug.str("");
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    point->RemoveFromLines(0.5);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(HandMadeLines, EachReportAppearsFromItsOwnLevelUp) {
    XYPoint* point = Point(1);
    IHoughLine& heavy = Line(10);
    IHoughLine& stale = Line(20);
    IHoughLine& foreign = Line(30);
    heavy.AddPoint(point);
    Fill(heavy, 2, 2);
    stale.AddPoint(point);
    stale.Clear();
    const std::string severe = DebugLine("SEVERE", "Angle index out of range -1") +
                               DebugLine("SEVERE", "GetLinesIndex: Angle out of range 30 60 30") +
                               DebugLine("SEVERE", "GetLinesIndex: Radius out of range -30 59 29");
    const std::string warnings =
        DebugLine("WARNING", "ORVEX::IHoughPoint::KeepLine: Line doesn't contain point") +
        DebugLine("WARNING", "ORVEX::IHoughPoint::RemoveFromLines: OUCH! Point not in line") +
        DebugLine("WARNING", "RemoveFromLines: OUCH! Point not in line");
    const IORVEXLog::ErrorPriority levels[] = {IORVEXLog::SilentLevel, IORVEXLog::ErrorLevel,
                                               IORVEXLog::SevereLevel, IORVEXLog::WarnLevel,
                                               IORVEXLog::DebugLevel,  IORVEXLog::TraceLevel};
    for (IORVEXLog::ErrorPriority level : levels) {
        fDebug.str("");
        IORVEXLog::SetDebugLevel(level);
        fSpace.GetAngleBin(-1);
        fSpace.GetLinesIndex(30, 0);
        fSpace.GetLinesIndex(0, -30);
        point->KeepLine(&foreign);
        point->KeepLine(&heavy);
        point->RemoveFromLines(0.5);
        std::string expected = (level >= IORVEXLog::SevereLevel ? severe : "") +
                               (level >= IORVEXLog::WarnLevel ? warnings : "");
        if (expected.empty()) {
            EXPECT_EQ(fDebug.str(), "") << "level " << level;
        } else {
            EXPECT_TRUE(Matches(fDebug.str(), expected)) << "level " << level << "\n"
                                                         << fDebug.str();
        }
        // Nothing changed: the stale link stays, the heavy line holds on.
        EXPECT_EQ(point->GetLines(), IHoughPoint::Lines({&heavy, &stale}));
    }
}

TEST_F(Hough, SummaryAppearsFromInfoLevelUp) {
    const IORVEXLog::LogPriority levels[] = {IORVEXLog::QuietLevel, IORVEXLog::LogLevel,
                                             IORVEXLog::InfoLevel, IORVEXLog::VerboseLevel};
    for (IORVEXLog::LogPriority level : levels) {
        fLog.str("");
        IORVEXLog::SetLogLevel(level);
        IHoughLines space(-100, -100, 100, 100, 10, 2, 100);
        std::string expected =
            level >= IORVEXLog::InfoLevel
                ? "%% HoughLines Space [ -100 mm -- 100 mm] by [-100 mm -- 100 mm]\n"
                  "%%     Angular Binning: 34 (5.45455 degree)\n"
                  "%%     Radial Binning:  59 (10 mm wide and 5 mm apart)\n"
                : "";
        EXPECT_EQ(fLog.str(), expected) << "level " << level;
    }
    EXPECT_EQ(fDebug.str(), "");
}

//////////////////////////////////////////////////////////////////////
// Resolving shared points

TEST_F(HandMadeLines, TwoPointLineIsEmptiedThreePointLineSurvives) {
    IHoughLine& two = Line(100);
    IHoughLine& three = Line(200);
    XYPoint* p1 = Point(1);
    XYPoint* p2 = Point(2);
    two.AddPoint(p1);
    two.AddPoint(p2);
    three.AddPoint(p1);
    three.AddPoint(p2);
    three.AddPoint(Point(3));
    fSpace.RemoveShared(1.0);
    EXPECT_TRUE(two.GetPoints().empty());
    EXPECT_EQ(three.GetPoints().size(), 3u);
    EXPECT_EQ(p1->GetLines(), IHoughPoint::Lines({&three}));
    EXPECT_EQ(p2->GetLines(), IHoughPoint::Lines({&three}));
}

TEST_F(HandMadeLines, ShortLinesAreEmptiedWhateverTheirWeight) {
    IHoughLine& one = Line(100);
    IHoughLine& two = Line(200);
    one.AddPoint(Point(1, 50.0));
    two.AddPoint(Point(2, 30.0));
    two.AddPoint(Point(3, 30.0));
    fSpace.RemoveShared(0.5);
    EXPECT_TRUE(one.GetPoints().empty());
    EXPECT_TRUE(two.GetPoints().empty());
    for (IHoughPoint* point : fSpace.GetPoints()) EXPECT_TRUE(point->GetLines().empty());
}

// Three lines of weights 10, 6 and 5 share one point.
class SharedPoint : public HandMadeLines {
protected:
    SharedPoint() : fTen(Line(100)), fSix(Line(200)), fFive(Line(300)) {
        fShared = Point(0);
        fTen.AddPoint(fShared);
        fSix.AddPoint(fShared);
        fFive.AddPoint(fShared);
        Fill(fTen, 9, 100);
        Fill(fSix, 5, 200);
        Fill(fFive, 4, 300);
    }
    IHoughLine& fTen;
    IHoughLine& fSix;
    IHoughLine& fFive;
    XYPoint* fShared;
};

TEST_F(SharedPoint, ThresholdOneLeavesPointOnHeaviestLineAlone) {
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fTen}));
    EXPECT_DOUBLE_EQ(fTen.GetWeight(), 10.0);
    EXPECT_DOUBLE_EQ(fSix.GetWeight(), 5.0);
    EXPECT_DOUBLE_EQ(fFive.GetWeight(), 4.0);
    EXPECT_FALSE(Holds(fSix, fShared));
    EXPECT_FALSE(Holds(fFive, fShared));
}

TEST_F(SharedPoint, ThresholdPoint55KeepsTenAndSixDropsFive) {
    fSpace.RemoveShared(0.55);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fTen, &fSix}));
    EXPECT_TRUE(Holds(fTen, fShared));
    EXPECT_TRUE(Holds(fSix, fShared));
    EXPECT_FALSE(Holds(fFive, fShared));
    EXPECT_DOUBLE_EQ(fFive.GetWeight(), 4.0);
}

TEST_F(SharedPoint, ThresholdPoint999DropsTheWeightComparison) {
    fSpace.RemoveShared(0.999);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fTen}));
}

TEST_F(SharedPoint, ThresholdZeroOrBelowRemovesNothingShared) {
    fSpace.RemoveShared(0.0);
    EXPECT_EQ(fShared->GetLines().size(), 3u);
    fSpace.RemoveShared(-1.0);
    EXPECT_EQ(fShared->GetLines().size(), 3u);
    EXPECT_DOUBLE_EQ(fFive.GetWeight(), 5.0);
}

// Two lines of weights 1000 and 999.2 share one point.
class NearlyEqualLines : public HandMadeLines {
protected:
    NearlyEqualLines() : fHeavy(Line(100)), fLight(Line(200)) {
        fShared = Point(0);
        fHeavy.AddPoint(fShared);
        fHeavy.AddPoint(Point(1));
        fHeavy.AddPoint(Point(2, 998.0));
        fLight.AddPoint(fShared);
        fLight.AddPoint(Point(3));
        fLight.AddPoint(Point(4, 997.2));
    }
    IHoughLine& fHeavy;
    IHoughLine& fLight;
    XYPoint* fShared;
};

TEST_F(NearlyEqualLines, ThresholdPoint999GivesPointToOneLine) {
    fSpace.RemoveShared(0.999);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fHeavy}));
    EXPECT_DOUBLE_EQ(fLight.GetWeight(), 998.2);
}

TEST_F(NearlyEqualLines, ThresholdOneGivesPointToOneLine) {
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fHeavy}));
}

TEST_F(NearlyEqualLines, ThresholdPoint9989ComparesWeights) {
    // 999.2 is at least 0.9989 of 1000: the point stays on both.
    fSpace.RemoveShared(0.9989);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fHeavy, &fLight}));
    EXPECT_DOUBLE_EQ(fLight.GetWeight(), 999.2);
}

TEST_F(NearlyEqualLines, ThresholdAboveTheRatioDropsTheLighter) {
    fSpace.RemoveShared(0.9993);
    EXPECT_EQ(fShared->GetLines(), IHoughPoint::Lines({&fHeavy}));
}

TEST_F(HandMadeLines, EqualWeightLosesFromPoint999Upwards) {
    IHoughLine& a = Line(100);
    IHoughLine& b = Line(200);
    XYPoint* shared = Point(0);
    a.AddPoint(shared);
    b.AddPoint(shared);
    Fill(a, 2, 10);
    Fill(b, 2, 20);
    fSpace.RemoveShared(0.999);
    ASSERT_EQ(shared->GetLines().size(), 1u);
    IHoughLine* winner = *shared->GetLines().begin();
    IHoughLine* loser = winner == &a ? &b : &a;
    EXPECT_EQ(winner->GetPoints().size(), 3u);
    // The loser is the last line, left with its two points.
    EXPECT_EQ(loser->GetPoints().size(), 2u);
    EXPECT_FALSE(Holds(*loser, shared));
}

TEST_F(HandMadeLines, EqualWeightKeepsSharingBelowPoint999) {
    IHoughLine& a = Line(100);
    IHoughLine& b = Line(200);
    XYPoint* shared = Point(0);
    a.AddPoint(shared);
    b.AddPoint(shared);
    Fill(a, 2, 10);
    Fill(b, 2, 20);
    fSpace.RemoveShared(0.9989);
    EXPECT_EQ(shared->GetLines(), IHoughPoint::Lines({&a, &b}));
}

TEST_F(Hough, RemoveSharedOnEmptySpaceDoesNothing) {
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    space.RemoveShared(1.0);
    space.RemoveShared(0.5);
    EXPECT_EQ(space.GetLines().size(), 60u * 59u);
    for (const IHoughLine& line : space.GetLines()) ASSERT_TRUE(line.GetPoints().empty());
    space.AddPoint(new XYPoint(1, 1));
    space.Clear();
    space.RemoveShared(1.0);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(HandMadeLines, OnlyLineWithMoreThanTwoPointsIsNotExamined) {
    // A stale link on the only candidate would draw a warning if any of its
    // points were treated.
    IHoughLine& only = Line(100);
    IHoughLine& stale = Line(200);
    XYPoint* p1 = Point(1);
    only.AddPoint(p1);
    Fill(only, 2, 2);
    stale.AddPoint(p1);
    stale.Clear();
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(fDebug.str(), "");
    EXPECT_EQ(Tags(only.GetPoints()), std::vector<int>({3, 2, 1}));
    EXPECT_EQ(p1->GetLines(), IHoughPoint::Lines({&only, &stale}));
}

TEST_F(HandMadeLines, HeavierLineIsExaminedWhenAnotherRemains) {
    // The same stale link, now with a lighter second candidate: the heavy
    // line is treated and its point warns.
    IHoughLine& heavy = Line(100);
    IHoughLine& stale = Line(200);
    IHoughLine& light = Line(300);
    XYPoint* p1 = Point(1);
    heavy.AddPoint(p1);
    Fill(heavy, 3, 2);
    stale.AddPoint(p1);
    stale.Clear();
    Fill(light, 3, 10);
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    fSpace.RemoveShared(1.0);
    EXPECT_TRUE(Matches(
        fDebug.str(),
        DebugLine("WARNING", "ORVEX::IHoughPoint::RemoveFromLines: OUCH! Point not in line")))
        << fDebug.str();
    EXPECT_EQ(heavy.GetPoints().size(), 4u);
    EXPECT_EQ(light.GetPoints().size(), 3u);
}

TEST_F(HandMadeLines, TwoLinesWithTheSameThreePoints) {
    IHoughLine& a = Line(100);
    IHoughLine& b = Line(200);
    for (int tag = 1; tag <= 3; ++tag) {
        XYPoint* point = Point(tag);
        a.AddPoint(point);
        b.AddPoint(point);
    }
    fSpace.RemoveShared(1.0);
    IHoughLine* full = a.GetPoints().empty() ? &b : &a;
    IHoughLine* empty = full == &a ? &b : &a;
    EXPECT_EQ(full->GetPoints().size(), 3u);
    EXPECT_TRUE(empty->GetPoints().empty());
    for (IHoughPoint* point : fSpace.GetPoints()) {
        EXPECT_EQ(point->GetLines(), IHoughPoint::Lines({full}));
    }
}

TEST_F(HandMadeLines, StrippedHeavyLineIsEmptiedWithoutTreatment) {
    // 13 takes the shared point from 7, leaving 7 with two points (weight
    // 6), still above 3: its turn comes, and it is emptied.
    IHoughLine& thirteen = Line(100);
    IHoughLine& seven = Line(200);
    IHoughLine& three = Line(300);
    XYPoint* shared = Point(0);
    thirteen.AddPoint(shared);
    thirteen.AddPoint(Point(1));
    thirteen.AddPoint(Point(2));
    thirteen.AddPoint(Point(3, 10.0));
    seven.AddPoint(shared);
    XYPoint* x = Point(4);
    XYPoint* y = Point(5, 5.0);
    seven.AddPoint(x);
    seven.AddPoint(y);
    Fill(three, 3, 10);
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(thirteen.GetPoints().size(), 4u);
    EXPECT_TRUE(seven.GetPoints().empty());
    EXPECT_TRUE(x->GetLines().empty());
    EXPECT_TRUE(y->GetLines().empty());
    EXPECT_EQ(three.GetPoints().size(), 3u);
}

TEST_F(HandMadeLines, LinesAreSortedAgainAfterEachHeavyLine) {
    // Weights 10, 8 and 7.  The heaviest takes three points from the 8,
    // which drops to 5, below the 7: the 7 must then come next and take the
    // point it shares with the 5, which is left over as the last line.
    // Without sorting again, the 5 would come next and keep that point.
    IHoughLine& ten = Line(100);
    IHoughLine& eight = Line(200);
    IHoughLine& seven = Line(300);
    Fill(ten, 7, 100);
    for (int tag = 1; tag <= 3; ++tag) {
        XYPoint* point = Point(tag);
        ten.AddPoint(point);
        eight.AddPoint(point);
    }
    Fill(eight, 4, 200);
    XYPoint* contested = Point(0);
    eight.AddPoint(contested);
    seven.AddPoint(contested);
    Fill(seven, 6, 300);
    ASSERT_DOUBLE_EQ(ten.GetWeight(), 10.0);
    ASSERT_DOUBLE_EQ(eight.GetWeight(), 8.0);
    ASSERT_DOUBLE_EQ(seven.GetWeight(), 7.0);
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(contested->GetLines(), IHoughPoint::Lines({&seven}));
    EXPECT_DOUBLE_EQ(ten.GetWeight(), 10.0);
    EXPECT_DOUBLE_EQ(seven.GetWeight(), 7.0);
    std::vector<int> left = Tags(eight.GetPoints());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, std::vector<int>({200, 201, 202, 203}));
}

TEST_F(HandMadeLines, LastLineKeepsEvenTwoPointsAndSecondCallEmptiesIt) {
    IHoughLine& heavy = Line(100);
    IHoughLine& last = Line(200);
    XYPoint* shared = Point(0);
    heavy.AddPoint(shared);
    Fill(heavy, 3, 1);
    last.AddPoint(shared);
    Fill(last, 2, 10);
    fSpace.RemoveShared(1.0);
    EXPECT_EQ(heavy.GetPoints().size(), 4u);
    EXPECT_EQ(Tags(last.GetPoints()), std::vector<int>({11, 10}));
    // A second call works on what the first left: now the short line goes
    // in the first step.
    fSpace.RemoveShared(1.0);
    EXPECT_TRUE(last.GetPoints().empty());
    EXPECT_EQ(heavy.GetPoints().size(), 4u);
}

TEST_F(HandMadeLines, WalkedLineMayLoseItsOwnPoints) {
    // With negative weights a line falls short of a positive fraction of
    // itself, so the treated line sheds its own points while it is walked.
    IHoughLine& a = Line(100);
    IHoughLine& b = Line(200);
    for (int i = 0; i < 3; ++i) {
        a.AddPoint(Point(i, -1.0));
        b.AddPoint(Point(10 + i, -1.0));
    }
    fSpace.RemoveShared(0.5);
    IHoughLine* treated = a.GetPoints().empty() ? &a : &b;
    IHoughLine* last = treated == &a ? &b : &a;
    EXPECT_TRUE(treated->GetPoints().empty());
    EXPECT_EQ(last->GetPoints().size(), 3u);
    int lineless = 0;
    for (IHoughPoint* point : fSpace.GetPoints()) lineless += point->GetLines().empty();
    EXPECT_EQ(lineless, 3);
}

TEST_F(Hough, RemoveSharedLeavesGridAndPointsInPlace) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    for (int i = 0; i < 12; ++i) space.AddPoint(new XYPoint(-60 + 10 * i, 0.5 * i));
    const IHoughLine* before = &space.GetLines().front();
    space.RemoveShared(1.0);
    EXPECT_EQ(&space.GetLines().front(), before);
    EXPECT_EQ(space.GetLines().size(), 60u * 59u);
    EXPECT_EQ(space.GetPoints().size(), 12u);
}

//////////////////////////////////////////////////////////////////////
// Two straight tracks in noise

namespace {
    // Points along the line of angle bin `angleBin` and radius bin
    // `radiusBin`, `step` mm apart over `halfLength` on either side of the
    // foot of the perpendicular, each moved across the line by up to 1 mm.
    std::vector<XYPoint*> Track(IHoughLines& space, int angleBin, int radiusBin, double halfLength,
                                double step, int firstTag) {
        double a = angleBin * space.GetAngleSpacing();
        double r = radiusBin * space.GetLineSpacing();
        std::vector<XYPoint*> track;
        for (double s = -halfLength; s <= halfLength; s += step) {
            double across = r + gRandom->Uniform(-1, 1);
            track.push_back(new XYPoint(s * std::cos(a) - across * std::sin(a),
                                        s * std::sin(a) + across * std::cos(a), 1.0,
                                        firstTag + int(track.size())));
        }
        return track;
    }

    int CountOf(const IHoughLine& line, const std::vector<XYPoint*>& points) {
        int count = 0;
        for (const XYPoint* point : points) count += Holds(line, point);
        return count;
    }
}

TEST_F(Hough, TwoStraightTracksInNoise) {
    IHoughLines space(-500, -500, 500, 500, 10, 2, 0);
    gRandom->SetSeed(5150);
    std::vector<XYPoint*> first = Track(space, space.DigitizeAngle(0.4), -40, 300, 25, 1000);
    std::vector<XYPoint*> second = Track(space, space.DigitizeAngle(-0.5), 50, 250, 25, 2000);
    std::vector<XYPoint*> noise;
    for (int i = 0; i < 60; ++i) {
        noise.push_back(new XYPoint(gRandom->Uniform(-500, 500), gRandom->Uniform(-500, 500)));
    }
    // The two tracks keep well apart.
    double a2 = space.DigitizeAngle(-0.5) * space.GetAngleSpacing();
    for (const XYPoint* point : first) {
        double across = point->GetY() * std::cos(a2) - point->GetX() * std::sin(a2);
        ASSERT_GT(std::abs(across - 250.0), 100.0);
    }
    for (auto* points : {&first, &second, &noise}) {
        for (XYPoint* point : *points) space.AddPoint(point);
    }

    space.RemoveShared(1.0);

    std::vector<IHoughLine*> lines;
    for (IHoughLine& line : space.GetLines()) lines.push_back(&line);
    std::sort(lines.begin(), lines.end(),
              [](IHoughLine* x, IHoughLine* y) { return x->GetWeight() > y->GetWeight(); });
    IHoughLine* firstLine = CountOf(*lines[0], first) > 0 ? lines[0] : lines[1];
    IHoughLine* secondLine = firstLine == lines[0] ? lines[1] : lines[0];
    EXPECT_EQ(CountOf(*firstLine, first), int(first.size()));
    EXPECT_EQ(CountOf(*secondLine, second), int(second.size()));
    EXPECT_EQ(CountOf(*firstLine, second), 0);
    EXPECT_EQ(CountOf(*secondLine, first), 0);
    // A strip 10 mm wide across the space expects about one noise point.
    EXPECT_LE(CountOf(*firstLine, noise), 4);
    EXPECT_LE(CountOf(*secondLine, noise), 4);
    // The found lines lie within a bin of the true ones.
    EXPECT_NEAR(firstLine->GetAngle(), 0.4, 1.5 * space.GetAngleSpacing());
    EXPECT_NEAR(firstLine->GetRadius(), -200.0, 5.0);
    EXPECT_NEAR(secondLine->GetAngle(), -0.5, 1.5 * space.GetAngleSpacing());
    EXPECT_NEAR(secondLine->GetRadius(), 250.0, 5.0);
    // What the noise makes of itself stays far behind.
    EXPECT_LT(lines[2]->GetWeight(), 0.5 * secondLine->GetWeight());

    // Every point sits on at most one line, and the links agree both ways.
    size_t onLines = 0;
    for (IHoughPoint* point : space.GetPoints()) {
        ASSERT_LE(point->GetLines().size(), 1u);
        for (IHoughLine* line : point->GetLines()) ASSERT_TRUE(Holds(*line, point));
        onLines += point->GetLines().size();
    }
    size_t held = 0;
    for (const IHoughLine& line : space.GetLines()) {
        for (IHoughPoint* point : line.GetPoints()) {
            ASSERT_EQ(point->GetLines().count(const_cast<IHoughLine*>(&line)), 1u);
        }
        held += line.GetPoints().size();
    }
    EXPECT_EQ(held, onLines);
}

//////////////////////////////////////////////////////////////////////
// The library against the reference: the literal procedures of
// HoughLinesReference.hxx, on thousands of seeded random spaces.

#include <TRandom3.h>

#include "HoughLinesReference.hxx"

namespace {
    struct RandomPoint {
        double fX, fY, fWeight;
    };

    // One random space: its arguments, its points and what is done to it.
    struct Scenario {
        double fXMin, fYMin, fXMax, fYMax, fWidth, fOverSampling, fCoherence;
        std::vector<RandomPoint> fPoints;
        std::vector<double> fThresholds;
        bool fClearOneLine = false;
        // Line assigned from another line, both drawn modulo the count.
        std::pair<int, int> fAssign = std::make_pair(-1, -1);
        // Points put on lines by hand: point index, line drawn modulo.
        std::vector<std::pair<int, int> > fHandLinks;
        bool fRefill = false;
        bool fDefaultWeights = false;
    };

    Scenario MakeScenario(int seed) {
        TRandom3 random(seed);
        Scenario s;
        s.fWidth = random.Uniform(0.5, 20.0) * (random.Rndm() < 0.1 ? -1 : 1);
        double width = std::abs(s.fWidth);
        s.fOverSampling = random.Rndm() < 0.6 ? 1 + random.Integer(4) : random.Uniform(1, 4);
        if (random.Rndm() < 0.1) s.fOverSampling = -s.fOverSampling;
        double sizeX = width * random.Uniform(0.3, 5.0);
        double sizeY = random.Rndm() < 0.05 ? 0.0 : width * random.Uniform(0.3, 5.0);
        s.fXMin = random.Uniform(-300, 300);
        s.fYMin = random.Uniform(-300, 300);
        s.fXMax = s.fXMin + sizeX;
        s.fYMax = s.fYMin + sizeY;
        switch (random.Integer(4)) {
        case 0:
            s.fCoherence = 0.0;
            break;
        case 1:
            s.fCoherence = random.Uniform(0, 4 * width);
            break;
        case 2:
            s.fCoherence = random.Uniform(4 * width, 20 * width);
            break;
        default:
            s.fCoherence = 1e4;
            break;
        }
        if (random.Rndm() < 0.2) s.fCoherence = -s.fCoherence;

        double centerX = (s.fXMax + s.fXMin) / 2, centerY = (s.fYMax + s.fYMin) / 2;
        double spacing = std::abs(width / s.fOverSampling);
        double tolerance = 0.5 * (width - spacing) + 0.01 * spacing;
        double reach = std::max(sizeX, sizeY);
        int weightMode = random.Integer(4);
        s.fDefaultWeights = weightMode == 0;
        auto weight = [&]() {
            switch (weightMode) {
            case 1:
                return double(1 + random.Integer(3));
            case 2:
                return 0.1 * (1 + random.Integer(3));  // sums depend on order
            case 3:
                return random.Uniform(0.1, 2.0);
            default:
                return 1.0;
            }
        };
        int trackCount = random.Integer(4);
        std::vector<std::pair<double, double> > tracks;
        for (int t = 0; t < trackCount; ++t) {
            tracks.push_back(
                std::make_pair(random.Uniform(-1.6, 1.6), random.Uniform(-reach / 2, reach / 2)));
        }
        int count = random.Integer(32);
        for (int i = 0; i < count; ++i) {
            RandomPoint p = {0, 0, weight()};
            double kind = random.Rndm();
            if (kind < 0.4 && !tracks.empty()) {
                const auto& track = tracks[random.Integer(tracks.size())];
                double along = random.Uniform(-reach / 2, reach / 2);
                double across = track.second + random.Gaus(0, 0.2 * width);
                double c = std::cos(track.first), sn = std::sin(track.first);
                p.fX = centerX + along * c - across * sn;
                p.fY = centerY + along * sn + across * c;
            } else if (kind < 0.6) {
                p.fX = random.Uniform(s.fXMin, s.fXMax);
                p.fY = random.Uniform(s.fYMin, s.fYMax);
            } else if (kind < 0.7) {
                // Outside the rectangle: clipped low bins, spilled high ones.
                p.fX = centerX + random.Uniform(-2, 2) * (reach + width);
                p.fY = centerY + random.Uniform(-2, 2) * (reach + width);
            } else if (kind < 0.8) {
                // On the edge of a bin in the row of angle 0.
                int k = random.Integer(7) - 3;
                double edge = (k + 0.5) * spacing + (random.Rndm() < 0.5 ? tolerance : -tolerance);
                p.fX = centerX + random.Uniform(-reach / 2, reach / 2);
                p.fY = centerY + edge;
            } else if (kind < 0.83) {
                // On the edge of a bin in a random row, up to rounding.
                double angles = std::trunc(2 * (TMath::PiOver2() / (width / 50) + 1)) + 1;
                double angle = (random.Integer(int(std::min(angles, 200.0))) - 50) *
                               (TMath::Pi() / (angles - 1));
                int k = random.Integer(7) - 3;
                double edge = (k + 0.5) * spacing + (random.Rndm() < 0.5 ? tolerance : -tolerance);
                double along = random.Uniform(-reach / 2, reach / 2);
                p.fX = centerX - edge * std::sin(angle) + along * std::cos(angle);
                p.fY = centerY + edge * std::cos(angle) + along * std::sin(angle);
            } else if (kind < 0.86) {
                p.fX = random.Rndm() < 0.5 ? s.fXMin : s.fXMax;
                p.fY = random.Rndm() < 0.5 ? s.fYMin : s.fYMax;
            } else if (kind < 0.9) {
                p.fX = centerX;
                p.fY = centerY;
            } else if (!s.fPoints.empty()) {
                p = s.fPoints[random.Integer(s.fPoints.size())];  // a duplicate
            } else {
                p.fX = centerX + 1;
                p.fY = centerY;
            }
            s.fPoints.push_back(p);
        }
        const double thresholds[] = {0.55, 0.999, 1.0, 1.0, 0.999, 0.55, 0.9989, 0.0};
        s.fThresholds.push_back(thresholds[random.Integer(7)]);
        if (random.Rndm() < 0.2) s.fThresholds.push_back(thresholds[random.Integer(8)]);
        if (random.Rndm() < 0.05) s.fThresholds.push_back(random.Uniform(0, 1.2));
        s.fClearOneLine = random.Rndm() < 0.1;
        if (random.Rndm() < 0.1) {
            s.fAssign = std::make_pair(int(random.Integer(1 << 20)), int(random.Integer(1 << 20)));
        }
        if (random.Rndm() < 0.2 && !s.fPoints.empty()) {
            for (int i = 1 + random.Integer(10); i > 0; --i) {
                s.fHandLinks.push_back(std::make_pair(int(random.Integer(s.fPoints.size())),
                                                      int(random.Integer(1 << 20))));
            }
        }
        s.fRefill = random.Rndm() < 0.05;
        return s;
    }

    // The reports of the library's debug stream as "KIND: text" lines.
    std::vector<std::string> Reports(const std::string& output) {
        std::vector<std::string> reports;
        std::istringstream lines(output);
        std::string line;
        const std::string source = "IHoughLines.cxx:";
        while (std::getline(lines, line)) {
            size_t kind = line.find(": ");
            size_t at = line.find(source);
            size_t text = line.find(": ", at);
            if (kind == std::string::npos || at == std::string::npos) {
                reports.push_back("UNPARSED: " + line);
                continue;
            }
            reports.push_back(line.substr(0, kind) + ": " + line.substr(text + 2));
        }
        return reports;
    }

    std::vector<std::string> Lines(const std::string& output) {
        std::vector<std::string> lines;
        std::istringstream stream(output);
        std::string line;
        while (std::getline(stream, line)) lines.push_back(line);
        return lines;
    }

    class Differential : public Hough {
    protected:
        // How often each kind of report was compared, by its first words.
        std::map<std::string, int> fSeen;

        // Everything a caller can see, compared; the first difference fails.
        bool Same(IHoughLines& space, HoughReference::Space& reference, const std::string& where) {
            std::vector<std::string> reports = Reports(fDebug.str());
            fDebug.str("");
            for (const std::string& report : reports) ++fSeen[report.substr(0, 40)];
            if (reports != reference.fReports) {
                ADD_FAILURE() << where << ": reports differ: " << reports.size() << " against "
                              << reference.fReports.size()
                              << (reports.empty() ? std::string() : "; first " + reports[0]);
                return false;
            }
            reference.fReports.clear();
            IHoughLines::Lines& lines = space.GetLines();
            if (lines.size() != reference.fLines.size()) {
                ADD_FAILURE() << where << ": line count";
                return false;
            }
            for (size_t i = 0; i < lines.size(); ++i) {
                const IHoughLine& line = lines[i];
                const HoughReference::Line& literal = reference.fLines[i];
                std::vector<int> tags;
                for (const IHoughPoint* p : line.GetPoints()) {
                    tags.push_back(static_cast<const XYPoint*>(p)->Tag());
                }
                std::vector<int> expected;
                for (const HoughReference::Point* p : literal.fPoints) expected.push_back(p->fTag);
                if (line.GetAngle() != literal.fAngle || line.GetRadius() != literal.fRadius ||
                    tags != expected || !(line.GetWeight() == literal.Weight())) {
                    ADD_FAILURE() << where << ": line " << i
                                  << " differs: " << ::testing::PrintToString(tags) << " against "
                                  << ::testing::PrintToString(expected) << ", weight "
                                  << line.GetWeight() << " against " << literal.Weight();
                    return false;
                }
            }
            IHoughLines::Points& points = space.GetPoints();
            for (size_t j = 0; j < points.size(); ++j) {
                std::set<size_t> held, expected;
                for (IHoughLine* line : points[j]->GetLines()) held.insert(line - &lines[0]);
                for (HoughReference::Line* line : reference.fPoints[j]->fLines) {
                    expected.insert(line - &reference.fLines[0]);
                }
                if (held != expected || points[j]->GetAngle() != reference.fPoints[j]->fAngle) {
                    ADD_FAILURE() << where << ": lines of point " << j << " differ";
                    return false;
                }
            }
            return true;
        }

        void Fill(IHoughLines& space, HoughReference::Space& reference, const Scenario& s) {
            for (size_t i = 0; i < s.fPoints.size(); ++i) {
                const RandomPoint& p = s.fPoints[i];
                space.AddPoint(new XYPoint(p.fX, p.fY, p.fWeight, i));
                reference.AddPoint(new HoughReference::Point(p.fX, p.fY, p.fWeight, i));
            }
        }

        // Builds, fills and resolves one space both ways; false at the
        // first difference.
        bool Run(int seed) {
            Scenario s = MakeScenario(seed);
            std::string where = "seed " + std::to_string(seed);
            fLog.str("");
            IHoughLines space(s.fXMin, s.fYMin, s.fXMax, s.fYMax, s.fWidth, s.fOverSampling,
                              s.fCoherence);
            HoughReference::Space reference(s.fXMin, s.fYMin, s.fXMax, s.fYMax, s.fWidth,
                                            s.fOverSampling, s.fCoherence);
            std::vector<std::string> summary;
            for (const std::string& line : reference.fSummary) summary.push_back("%% " + line);
            if (Lines(fLog.str()) != summary) {
                ADD_FAILURE() << where << ": summary differs";
                return false;
            }
            Fill(space, reference, s);
            if (!Same(space, reference, where + " after filling")) return false;
            if (s.fRefill) {
                space.Clear();
                for (HoughReference::Point* p : reference.fPoints) delete p;
                reference.fPoints.clear();
                for (HoughReference::Line& line : reference.fLines) line.fPoints.clear();
                Fill(space, reference, s);
                if (!Same(space, reference, where + " after refilling")) return false;
            }
            if (s.fClearOneLine) {
                // A line emptied behind its points' backs: stale links.
                for (size_t i = seed % 97; i < reference.fLines.size(); i += 97) {
                    if (reference.fLines[i].fPoints.size() > 1) {
                        space.GetLines()[i].Clear();
                        reference.fLines[i].fPoints.clear();
                        break;
                    }
                }
            }
            const int lineCount = reference.fLines.size();
            if (s.fAssign.first >= 0) {
                // A line overwritten by a copy of a fuller one: its points
                // and the copied ones no longer agree with their links.
                int from = s.fAssign.second % lineCount;
                for (int i = 0; i < lineCount && reference.fLines[from].fPoints.size() < 2; ++i) {
                    from = (from + 1) % lineCount;
                }
                int to = s.fAssign.first % lineCount;
                space.GetLines()[to] = space.GetLines()[from];
                reference.fLines[to] = reference.fLines[from];
                // The first copied point put on it again by hand: the copy
                // that came with the list is the one a search finds first.
                if (!reference.fLines[to].fPoints.empty()) {
                    HoughReference::Point* point = reference.fLines[to].fPoints.front();
                    space.GetLines()[to].AddPoint(space.GetPoints()[point->fTag]);
                    reference.fLines[to].fPoints.push_back(point);
                    reference.fLines[to].fSorted = false;
                    point->fLines.insert(&reference.fLines[to]);
                }
            }
            for (const auto& link : s.fHandLinks) {
                // Put by hand, a point can sit twice on a line apart from
                // its other copy.
                int line = link.second % lineCount;
                space.GetLines()[line].AddPoint(space.GetPoints()[link.first]);
                HoughReference::Point* point = reference.fPoints[link.first];
                reference.fLines[line].fPoints.push_back(point);
                reference.fLines[line].fSorted = false;
                point->fLines.insert(&reference.fLines[line]);
            }
            if (!Same(space, reference, where + " after changes by hand")) return false;
            for (double threshold : s.fThresholds) {
                space.RemoveShared(threshold);
                reference.RemoveShared(threshold);
                // What RemoveShared left, sorted as GetPoints() shows it.
                if (!Same(space, reference,
                          where + " after RemoveShared(" + std::to_string(threshold) + ")")) {
                    return false;
                }
            }
            return true;
        }
    };
}

TEST_F(Differential, IHoughLinesMatchesTheReferenceOn5000RandomSpaces) {
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    for (int seed = 1; seed <= 5000; ++seed) ASSERT_TRUE(Run(seed)) << "seed " << seed;
    // The hard cases were met, not only the easy ones: clipped low bins,
    // a point left on a line that its own links no longer name, and stale
    // links from a line emptied behind its points' backs.
    EXPECT_GT(fSeen["SEVERE: GetLinesIndex: Radius out of ran"], 1000);
    EXPECT_GT(fSeen["WARNING: ORVEX::IHoughPoint::KeepLine: L"], 100);
    EXPECT_GT(fSeen["WARNING: ORVEX::IHoughPoint::RemoveFromL"], 100);
    EXPECT_GT(fSeen["WARNING: RemoveFromLines: OUCH! Point no"], 100);
}

//////////////////////////////////////////////////////////////////////
// Hostile input: stopped before harm with an exception of the Hough family.

TEST_F(Hough, PointWithBinsBeyondIntIsKeptOnNoLineAndThrows) {
    IHoughLines space(-100, -100, 100, 100, 10, 1, 0);
    XYPoint* far = new XYPoint(1e12, 0);
    EXPECT_THROW(space.AddPoint(far), EHoughPoint);
    // The point is owned, on no line, and the space goes on working.
    ASSERT_EQ(space.GetPoints().size(), 1u);
    EXPECT_EQ(space.GetPoints()[0], far);
    EXPECT_TRUE(far->GetLines().empty());
    for (const IHoughLine& line : space.GetLines()) ASSERT_TRUE(line.GetPoints().empty());
    EXPECT_TRUE(Matches(fDebug.str(), DebugLine("ERROR",
                                                "ORVEX::IHoughLines::AddPoint: point (1e+12, 0)"
                                                " reaches radius bin 1e+11, beyond the limit of "
                                                "2.13071e+09")))
        << fDebug.str();
    space.AddPoint(new XYPoint(0, 0));
    EXPECT_GT(space.GetPoints()[1]->GetLines().size(), 0u);
    space.RemoveShared(1.0);
}

TEST_F(Hough, PointWhoseBinComesToIntMaxThrowsInsteadOfReportingWithoutEnd) {
    IHoughLines space(-100, -100, 100, 100, 10, 1, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    // Radius INT_MAX spacings: the bin walk could never step past it.
    EXPECT_THROW(space.AddPoint(new XYPoint(0, 10.0 * 2147483647.0)), EHoughPoint);
    EXPECT_THROW(space.AddPoint(new XYPoint(-10.0 * 2147483647.0, 0)), EHoughPoint);
    EXPECT_EQ(Lines(fDebug.str()).size(), 2u) << fDebug.str();
}

TEST_F(Hough, PointJustInsideTheBinLimitFollowsTheUsualSteps) {
    IHoughLines space(-100, -100, 100, 100, 10, 1, 0);
    IORVEXLog::SetDebugLevel(IORVEXLog::TraceLevel);
    // 2e9 spacings out: rows below the grid clip to their first line and
    // report, rows above it spill past the grid and are skipped.
    XYPoint* point = new XYPoint(0, 2e10);
    EXPECT_NO_THROW(space.AddPoint(point));
    EXPECT_FALSE(point->GetLines().empty());
    EXPECT_NE(fDebug.str().find("GetLinesIndex: Radius out of range"), std::string::npos);
}

TEST_F(Hough, NonFinitePointThrows) {
    IHoughLines space(-100, -100, 100, 100, 10, 2, 0);
    EXPECT_THROW(space.AddPoint(new XYPoint(std::nan(""), 0)), EHoughPoint);
    EXPECT_THROW(space.AddPoint(new XYPoint(0, HUGE_VAL)), EHoughPoint);
    EXPECT_THROW(space.AddPoint(new XYPoint(-HUGE_VAL, 1)), EHoughPoint);
    EXPECT_EQ(space.GetPoints().size(), 3u);
    for (IHoughPoint* point : space.GetPoints()) EXPECT_TRUE(point->GetLines().empty());
}

TEST_F(Hough, RadiusCountBeyondIntThrowsInsteadOfAnEmptySpace) {
    try {
        IHoughLines space(-500, -500, 500, 500, 1e-7, 1, 0);
        ADD_FAILURE() << "no exception";
    } catch (const EHoughBinning& e) {
        EXPECT_STREQ(e.what(), "EovCore::EovUtility::EHoughLines::EHoughBinning");
    }
    EXPECT_TRUE(Matches(fDebug.str(), DebugLine("ERROR",
                                                "ORVEX::IHoughLines: 1.41421e+10 radius bins"
                                                " (lineWidth 1e-07, overSampling 1, corner radius"
                                                " 707.107 mm) exceed the limit of 16777216 lines")))
        << fDebug.str();
    // A zero width divides the corner radius by zero.
    EXPECT_THROW(IHoughLines(-500, -500, 500, 500, 0, 1, 0), EHoughBinning);
    EXPECT_THROW(IHoughLines(0, 0, 0, 0, 0, 1, 0), EHoughBinning);
    EXPECT_THROW(IHoughLines(0, 0, 100, 100, 10, std::nan(""), 0), EHoughBinning);
}

TEST_F(Hough, TenBillionBinsThrowBeforeAllocating) {
    // About 141 000 radius bins by 70 000 angle bins.
    EXPECT_THROW(IHoughLines(-5000, -5000, 5000, 5000, 0.1, 1, 0), EHoughBinning);
    EXPECT_NE(fDebug.str().find("angle bins by 141423 radius bins"), std::string::npos)
        << fDebug.str();
    // Past the limit of 2^24 lines: 6436 angle bins by 4099 radius bins.
    EXPECT_THROW(IHoughLines(0, 0, 4096, 0, 1, 1, 1e9), EHoughBinning);
    EXPECT_NE(fDebug.str().find("6436 angle bins by 4099 radius bins"), std::string::npos);
    EXPECT_NO_THROW(IHoughLines(0, 0, 200, 0, 1, 1, 1e9));
}

TEST_F(Hough, HoughExceptionsBelongToTheLibrary) {
    EXPECT_THROW(throw EHoughPoint(), EHoughLines);
    EXPECT_THROW(throw EHoughBinning(), EovUtility);
}
