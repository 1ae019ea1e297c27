// The line fit: the straight tracks of a synthetic event, fitted from their
// hits, and an outlier taken back out of a fit without refitting.
#include "TourSection.hxx"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <vector>

#include <TCanvas.h>
#include <TGraph.h>
#include <TLine.h>
#include <TRandom3.h>

#include <IHit.hxx>
#include <IHitSelection.hxx>

#include <ILineFit.hxx>

using namespace ORVEX;

namespace {
    struct Track {
        double intercept;  // y at x = 0, mm
        double slope;      // dy/dx
    };

    const Track kTracks[] = {{-40.0, 0.35}, {10.0, -0.12}, {75.0, -0.6}};
    const int kPlanes = 12;
    const double kPitch = 30.0;      // mm between planes along x
    const double kResolution = 0.8;  // mm in y

    // One hit per plane per track, smeared in y.
    std::vector<IHitSelection> MakeEvent(TRandom& random) {
        std::vector<IHitSelection> event;
        for (int t = 0; t < 3; ++t) {
            IHitSelection hits("hits", "Hit Handles");
            for (int plane = 0; plane < kPlanes; ++plane) {
                double x = kPitch * plane;
                double y =
                    kTracks[t].intercept + kTracks[t].slope * x + random.Gaus(0.0, kResolution);
                hits.push_back(
                    IHandle<IHit>(new ISingleHit(100 * plane + t, 1.0, TVector3(x, y, 0.0))));
            }
            event.push_back(hits);
        }
        return event;
    }

    ILineFit Fit(const IHitSelection& hits) {
        ILineFit fit;
        for (const IHandle<IHit>& hit : hits) {
            fit.AddPoint(hit->GetPosition().X(), hit->GetPosition().Y(), kResolution);
        }
        return fit;
    }

    void Draw(const std::vector<IHitSelection>& event, const std::vector<ILineFit>& fits) {
        TCanvas canvas("lineFits", "Line fits", 800, 500);
        std::vector<double> x, y;
        for (const IHitSelection& hits : event) {
            for (const IHandle<IHit>& hit : hits) {
                x.push_back(hit->GetPosition().X());
                y.push_back(hit->GetPosition().Y());
            }
        }
        TGraph points(x.size(), x.data(), y.data());
        points.SetTitle("Synthetic event and its line fits;x (mm);y (mm)");
        points.SetMarkerStyle(20);
        points.SetMarkerSize(0.7);
        points.Draw("AP");
        std::vector<TLine> lines;
        double xEnd = kPitch * (kPlanes - 1);
        for (const ILineFit& fit : fits) {
            lines.emplace_back(0.0, fit.GetValue(0.0), xEnd, fit.GetValue(xEnd));
        }
        for (TLine& line : lines) {
            line.SetLineColor(kRed);
            line.Draw();
        }
        canvas.SaveAs(tour::OutputPath("line_fits.png").c_str());
    }

    void LineFits() {
        TRandom3 random(20261121);
        std::vector<IHitSelection> event = MakeEvent(random);
        std::vector<ILineFit> fits;
        std::cout << "track  true slope   fitted slope        true y0   fitted y0" << std::endl;
        for (size_t t = 0; t < event.size(); ++t) {
            fits.push_back(Fit(event[t]));
            const ILineFit& fit = fits.back();
            std::printf("%5zu  %10.4f  %8.4f +- %.4f  %8.2f  %8.2f   (%d hits, mean x %.0f)\n", t,
                        kTracks[t].slope, fit.GetSlope(), fit.GetSlopeUncertainty(),
                        kTracks[t].intercept, fit.GetIntercept(), fit.GetNumberOfPoints(),
                        fit.GetCentralIndependent());
        }

        // A stray hit pulls the first fit; the sums let it be taken out again.
        ILineFit pulled = fits[0];
        pulled.AddPoint(150.0, 60.0, kResolution);
        std::printf("with a stray hit at (150, 60): slope %.4f; taken out again: ",
                    pulled.GetSlope());
        pulled.RemovePoint(150.0, 60.0, kResolution);
        std::printf("%.4f\n", pulled.GetSlope());

        Draw(event, fits);
    }

    tour::Register lineFitSection(50, "Line fit: the straight tracks of a synthetic event",
                                  LineFits);
}
