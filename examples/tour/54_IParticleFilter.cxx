// The particle filter: a hidden one-dimensional random walk, seen through
// noisy readings, followed by a small cloud of particles.
#include "TourSection.hxx"

#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include <TCanvas.h>
#include <TGraph.h>
#include <TMath.h>
#include <TRandom3.h>

#include <IParticleFilter.hxx>

using namespace ORVEX;

namespace {
    const double kStepSpread = 1.0;     // the walk's step
    const double kReadingSpread = 2.0;  // the reading's noise

    // The reading the particles are weighed against in the present step.
    double gReading = 0.0;

    // A walker: each step is a draw of the walk's own step, weighed by how
    // well the new position explains the present reading.
    class Walker : public IParticleState {
    public:
        Walker(double position, IParticleState* previous)
            : IParticleState(previous), fPosition(position) {}
        explicit Walker(double position) : fPosition(position) { SetProbability(1.0); }

        IParticleState* PropagateState() override {
            Walker* next = new Walker(fPosition + gRandom->Gaus(0.0, kStepSpread), this);
            next->SetProbability(TMath::Gaus(gReading, next->fPosition, kReadingSpread));
            return next;
        }

        double Position() const { return fPosition; }

    private:
        double fPosition;
    };

    double Mean(const IParticleFilter::Cloud& cloud) {
        double mean = 0.0;
        for (const IParticleFilter::ActiveState& particle : cloud) {
            mean += particle.fWeight * static_cast<const Walker*>(particle.fState)->Position();
        }
        return mean;
    }

    void RandomWalk() {
        const int particles = 300, steps = 25;
        TRandom* saved = gRandom;
        TRandom3 random(54);
        gRandom = &random;

        IParticleFilter filter;
        for (int i = 0; i < particles; ++i) {
            filter.AddState(new Walker(gRandom->Uniform(-5.0, 5.0)), 1.0);
        }
        std::vector<double> t, truth, reading, estimate;
        double position = 0.0;
        std::printf("step    truth  reading  estimate  distinct states\n");
        for (int step = 1; step <= steps; ++step) {
            position += gRandom->Gaus(0.0, kStepSpread);
            gReading = position + gRandom->Gaus(0.0, kReadingSpread);
            filter.UpdateState();
            std::set<const IParticleState*> distinct;
            for (const IParticleFilter::ActiveState& particle : filter.GetCloud()) {
                distinct.insert(particle.fState);
            }
            t.push_back(step);
            truth.push_back(position);
            reading.push_back(gReading);
            estimate.push_back(Mean(filter.GetCloud()));
            std::printf("%4d  %7.2f  %7.2f  %8.2f  %6zu\n", step, position, gReading,
                        estimate.back(), distinct.size());
        }
        double readingError = 0.0, estimateError = 0.0;
        for (int i = 0; i < steps; ++i) {
            readingError += (reading[i] - truth[i]) * (reading[i] - truth[i]);
            estimateError += (estimate[i] - truth[i]) * (estimate[i] - truth[i]);
        }
        std::printf("rms error: readings %.2f, particle filter %.2f\n",
                    std::sqrt(readingError / steps), std::sqrt(estimateError / steps));

        TCanvas canvas("randomWalk", "Random walk", 800, 500);
        TGraph truthGraph(steps, t.data(), truth.data());
        TGraph readingGraph(steps, t.data(), reading.data());
        TGraph estimateGraph(steps, t.data(), estimate.data());
        readingGraph.SetTitle("Random walk: truth (black), readings (points), filter (red);step;x");
        readingGraph.SetMarkerStyle(24);
        readingGraph.Draw("AP");
        truthGraph.SetLineWidth(2);
        truthGraph.Draw("L");
        estimateGraph.SetLineColor(kRed);
        estimateGraph.SetLineWidth(2);
        estimateGraph.Draw("L");
        canvas.SaveAs(tour::OutputPath("random_walk.png").c_str());
        gRandom = saved;
    }

    tour::Register particleSection(54, "Particle filter: a one-dimensional random walk",
                                   RandomWalk);
}
