// The minimizers: the hits of a track curving in a magnetic field, fitted
// with a circle by each of the two Minuit engines, with the uncertainties
// read from Minuit's covariance matrix.
#include "TourSection.hxx"

#include <cmath>
#include <cstdio>
#include <vector>

#include <TCanvas.h>
#include <TGraph.h>
#include <TRandom3.h>

#include <IHit.hxx>
#include <IHitSelection.hxx>

#include <ISimplexMinimizer.hxx>
#include <TMinuitMinimizer.hxx>

using namespace ORVEX;

namespace {
    const double kRadius = 600.0;     // mm, the track's true radius
    const double kCentreX = 0.0;      // the track leaves the origin along +x
    const double kCentreY = kRadius;  // and curves towards +y
    const int kPlanes = 12;
    const double kPitch = 40.0;      // mm between planes along x
    const double kResolution = 0.5;  // mm in y
    const double kField = 0.2;       // tesla, along z

    // One hit per plane where the circle crosses it, smeared in y.
    IHitSelection MakeTrack(TRandom& random) {
        IHitSelection hits("hits", "Hit Handles");
        for (int plane = 1; plane <= kPlanes; ++plane) {
            double x = kPitch * plane;
            double y = kCentreY - std::sqrt(kRadius * kRadius - (x - kCentreX) * (x - kCentreX));
            y += random.Gaus(0.0, kResolution);
            hits.push_back(IHandle<IHit>(new ISingleHit(plane, 1.0, TVector3(x, y, 0.0))));
        }
        return hits;
    }

    // The chi-square of a circle (centre X, centre Y, radius) through the
    // hits.  Near the track the distance to the circle is the distance in
    // y, so the hits' resolution applies to it.
    class CircleChi2 : public IMinimizerFunc {
    public:
        explicit CircleChi2(const IHitSelection& hits) : IMinimizerFunc(3), fEvaluations(0) {
            for (const IHandle<IHit>& hit : hits) fPoints.push_back(hit->GetPosition());
            SetParameterName(0, "centreX");
            SetParameterName(1, "centreY");
            SetParameterName(2, "radius");
            // Steps of the order of the uncertainties to come.
            SetScale(0, 10.0);
            SetScale(1, 10.0);
            SetScale(2, 10.0);
        }

        double Evaluate(const double* par, double*) override {
            ++fEvaluations;
            double chi2 = 0.0;
            for (const TVector3& p : fPoints) {
                double r = std::hypot(p.X() - par[0], p.Y() - par[1]) - par[2];
                chi2 += r * r;
            }
            return chi2 / (kResolution * kResolution);
        }

        std::vector<TVector3> fPoints;
        int fEvaluations;
    };

    void Print(const char* engine, IMinimizer& fit, const double* par, int evaluations) {
        std::printf("%-8s status %d, chi2 %.2f for %d hits, %d evaluations\n", engine,
                    fit.GetStatus(), fit.GetMinimum(), kPlanes, evaluations);
        const char* names[3] = {"centre x", "centre y", "radius"};
        const double truth[3] = {kCentreX, kCentreY, kRadius};
        for (int i = 0; i < 3; ++i) {
            std::printf("   %-8s %9.2f +- %6.2f mm   (true %6.1f)\n", names[i], par[i],
                        std::sqrt(fit.GetCovariance(i, i)), truth[i]);
        }
        double correlation =
            fit.GetCovariance(1, 2) / std::sqrt(fit.GetCovariance(1, 1) * fit.GetCovariance(2, 2));
        // pT [MeV/c] = 0.3 B [T] R [mm]
        std::printf("   correlation(centre y, radius) %.4f;  pT = %.1f +- %.1f MeV/c at %.1f T\n",
                    correlation, 0.3 * kField * par[2],
                    0.3 * kField * std::sqrt(fit.GetCovariance(2, 2)), kField);
    }

    void Draw(const CircleChi2& chi2, const double* par) {
        TCanvas canvas("circleFit", "Circle fit", 800, 500);
        std::vector<double> x, y;
        for (const TVector3& p : chi2.fPoints) {
            x.push_back(p.X());
            y.push_back(p.Y());
        }
        TGraph hits(x.size(), x.data(), y.data());
        hits.SetTitle("A curved track and its circle fit (MIGRAD);x (mm);y (mm)");
        hits.SetMarkerStyle(20);
        hits.SetMarkerSize(0.8);
        hits.Draw("AP");
        TGraph circle;
        for (int i = 0; i <= 100; ++i) {
            double xc = kPitch * kPlanes * i / 100.0;
            circle.SetPoint(i, xc,
                            par[1] - std::sqrt(par[2] * par[2] - (xc - par[0]) * (xc - par[0])));
        }
        circle.SetLineColor(kRed);
        circle.Draw("L");
        canvas.SaveAs(tour::OutputPath("minimizer_circle.png").c_str());
    }

    void CircleFits() {
        TRandom3 random(20261121);
        IHitSelection hits = MakeTrack(random);
        const double start[3] = {50.0, 500.0, 500.0};

        // MIGRAD leaves its covariance matrix behind.
        CircleChi2 migradChi2(hits);
        TMinuitMinimizer migrad(migradChi2);
        migrad.SetPrintLevel(-1);
        double migradPar[3] = {start[0], start[1], start[2]};
        migrad.Optimize(3, migradPar);
        Print("MIGRAD", migrad, migradPar, migradChi2.fEvaluations);

        // SIMPLEX stops a tenth of an error definition from the minimum and
        // leaves no matrix: a small error definition takes it closer, and
        // HESSE, asked through the object's TMinuit side once the
        // definition is back at 1, computes the matrix.
        CircleChi2 simplexChi2(hits);
        ISimplexMinimizer simplex(simplexChi2);
        simplex.SetPrintLevel(-1);
        simplex.SetPrecision(1e-4);
        double simplexPar[3] = {start[0], start[1], start[2]};
        simplex.Optimize(3, simplexPar);
        int simplexEvaluations = simplexChi2.fEvaluations;
        std::printf("SIMPLEX alone: covariance(radius, radius) reads %.1f\n",
                    simplex.GetCovariance(2, 2));
        simplex.SetPrecision(1.0);
        for (int pass = 0; pass < 2 && simplex.fISW[1] != 3; ++pass) simplex.Command("HESSE");
        Print("SIMPLEX", simplex, simplexPar, simplexEvaluations);

        Draw(migradChi2, migradPar);
    }

    tour::Register circleSection(60,
                                 "Minimizers: a circle fit to a curved track by SIMPLEX and MIGRAD",
                                 CircleFits);
}
