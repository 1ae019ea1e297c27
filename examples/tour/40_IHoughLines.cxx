// Hough line finding: the straight tracks of a synthetic event are found in
// a space of overlapping candidate lines, and the points they share are
// given to the heaviest line.
#include "TourSection.hxx"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>
#include <vector>

#include <TCanvas.h>
#include <TH2F.h>
#include <TMath.h>
#include <TRandom.h>

#include <IORVEXLog.hxx>

#include <IHoughLines.hxx>

using namespace ORVEX;

namespace {
    // A measured position in the plane of the event (mm).
    class Measurement : public IHoughPoint {
    public:
        Measurement(double x, double y) : fX(x), fY(y) {}
        double GetX() const override { return fX; }
        double GetY() const override { return fY; }

    private:
        double fX, fY;
    };

    struct StraightTrack {
        double angle;   // direction, radians
        double radius;  // signed distance from the centre, mm
        double halfLength;
    };

    // Measurements every 20 mm along each track, smeared by 1 mm across it,
    // and a sprinkling of noise over the whole space.
    void FillEvent(IHoughLines& space, const std::vector<StraightTrack>& tracks, int noise) {
        for (const StraightTrack& track : tracks) {
            double c = std::cos(track.angle);
            double s = std::sin(track.angle);
            for (double along = -track.halfLength; along <= track.halfLength; along += 20) {
                double across = track.radius + gRandom->Gaus(0, 1.0);
                space.AddPoint(new Measurement(along * c - across * s, along * s + across * c));
            }
        }
        for (int i = 0; i < noise; ++i) {
            space.AddPoint(
                new Measurement(gRandom->Uniform(-500, 500), gRandom->Uniform(-500, 500)));
        }
    }

    void SaveHistogram(IHoughLines& space) {
        std::unique_ptr<TH2F> histogram(space.CreateHistogram("houghWeights"));
        histogram->SetStats(false);
        histogram->GetXaxis()->SetTitle("line angle (rad)");
        histogram->GetYaxis()->SetTitle("line radius (mm)");
        TCanvas canvas("houghCanvas", "Hough space", 800, 600);
        canvas.SetRightMargin(0.13);
        histogram->Draw("COLZ");
        canvas.SaveAs(tour::OutputPath("hough_space.png").c_str());
    }

    void PrintLine(const IHoughLine& line, const IHoughLine::Points& points) {
        std::cout << std::fixed << std::setprecision(1) << "line at "
                  << line.GetAngle() * TMath::RadToDeg() << " deg, radius " << line.GetRadius()
                  << " mm, weight " << line.GetWeight() << ":";
        int column = 0;
        for (const IHoughPoint* point : points) {
            if (column++ % 6 == 0) std::cout << "\n   ";
            std::cout << " (" << point->GetX() << ", " << point->GetY() << ")";
        }
        std::cout << std::defaultfloat << std::setprecision(6) << std::endl;
    }

    void Hough() {
        gRandom->SetSeed(1492);
        IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
        IHoughLines space(-500, -500, 500, 500, 10, 2, 0);
        IORVEXLog::SetLogLevel(IORVEXLog::LogLevel);

        std::vector<StraightTrack> tracks = {{0.4, -200, 300}, {-0.5, 250, 250}, {1.3, 20, 380}};
        FillEvent(space, tracks, 60);
        std::cout << space.GetPoints().size() << " measurements: 3 tracks and 60 noise points"
                  << std::endl;
        for (const StraightTrack& track : tracks) {
            std::cout << "  true track at " << track.angle * TMath::RadToDeg() << " deg, radius "
                      << track.radius << " mm" << std::endl;
        }
        SaveHistogram(space);

        space.RemoveShared(1.0);

        std::vector<IHoughLine*> found;
        for (IHoughLine& line : space.GetLines()) {
            if (line.GetPoints().size() > 2) found.push_back(&line);
        }
        std::sort(found.begin(), found.end(),
                  [](IHoughLine* a, IHoughLine* b) { return a->GetWeight() > b->GetWeight(); });
        std::cout << found.size() << " lines keep more than 2 points after RemoveShared(1.0),"
                  << " heaviest first:" << std::endl;
        for (IHoughLine* line : found) PrintLine(*line, line->GetPoints());
    }

    tour::Register houghSection(40, "Hough line finding: straight tracks in noise", Hough);
}
