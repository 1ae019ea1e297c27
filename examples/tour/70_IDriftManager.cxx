// Electron drift: clouds released at several distances from the readout of
// a drift volume with a central cathode, drifted in a uniform field and in a
// field map, with the arrival times and positions of single electrons.
#include "TourSection.hxx"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <vector>

#include <TCanvas.h>
#include <TH2F.h>
#include <TLorentzVector.h>
#include <TRandom.h>
#include <TStyle.h>
#include <TVector3.h>

#include <IFieldManager.hxx>

#include <IDriftManager.hxx>
#include <IElectronCloud.hxx>

using namespace ORVEX;

namespace {
    // Lengths in mm and times in microseconds.  The readout plane is at
    // X = -870 mm, the cathode at X = 0; electrons drift away from it.
    const double kReadoutX = -870.0;
    const double kDriftVelocity = 78.0;  // mm per microsecond
    const double kMobility = 0.3;        // only its ratio to the speed matters
    const double kOmegaTau = 0.3;
    const double kTranDiff = 0.075;  // mm per sqrt(mm)
    const double kLongDiff = 0.085;
    const double kTesla = 0.001;  // the host's field unit
    const std::vector<double> kReleaseX = {-100.0, -300.0, -500.0, -700.0};

    /// 0.2 T along the drift with a transverse part that grows towards the
    /// readout, as near the end of a magnet.
    TVector3 FringeField(const TLorentzVector& p) {
        double transverse = 0.03 * std::fabs(p.X()) / 870.0;
        return kTesla * TVector3(0.2, 0.0, transverse);
    }

    IDriftManager MakeManager() {
        IDriftManager manager;
        // Steps between 0.01 and 2 microseconds, 10 micrometres per step.
        manager.InitializeFromDB(true, 2.0, 0.01, 100000, 0.01, 0.5, kOmegaTau, kMobility,
                                 kDriftVelocity);
        return manager;
    }

    /// The arrival time's mean and spread over many electrons.
    void ArrivalSpread(IElectronCloud& cloud, double& mean, double& rms) {
        const int n = 2000;
        double sum = 0, sum2 = 0;
        for (int i = 0; i < n; ++i) {
            double t = cloud.GetRandomArrivalTime(kLongDiff);
            sum += t;
            sum2 += t * t;
        }
        mean = sum / n;
        rms = std::sqrt(sum2 / n - mean * mean);
    }

    void DriftClouds(const char* title, TH2F* picture) {
        std::cout << title << std::endl;
        std::cout << "  distance  steps  arrival (us)  spread (us)  expected   Y shift (mm)"
                  << std::endl;
        IDriftManager manager = MakeManager();
        for (std::size_t i = 0; i < kReleaseX.size(); ++i) {
            // The clouds sit side by side in Z so that the picture shows each.
            TVector3 start(kReleaseX[i], 0.0, -150.0 + 100.0 * i);
            IElectronCloud cloud(1000, start, TVector3(), 0.0, -1);
            manager.DriftUntilXLim(cloud, kReadoutX);
            double mean, rms;
            ArrivalSpread(cloud, mean, rms);
            double distance = cloud.GetXDriftLength();
            double expected =
                kLongDiff * std::sqrt(distance) / std::fabs(cloud.GetMeanDriftXVelocity());
            std::cout << std::fixed << std::setprecision(3) << "  " << std::setw(6)
                      << std::setprecision(0) << distance << " mm" << std::setw(6)
                      << cloud.NumberDriftSteps() << std::setprecision(3) << std::setw(13) << mean
                      << std::setw(13) << rms << std::setw(10) << expected << std::setw(13)
                      << cloud.GetPosition().Y() - start.Y() << std::endl;
            if (!picture) continue;
            for (int e = 0; e < 3000; ++e) {
                TVector3 p = cloud.GetAnElectronsPosition(kTranDiff, kLongDiff, false);
                picture->Fill(p.Z(), p.Y());
            }
        }
        std::cout.unsetf(std::ios::floatfield);
    }

    void Drift() {
        gRandom->SetSeed(2718);
        std::cout << "electrons released 100, 300, 500 and 700 mm from the cathode drift "
                  << "to the readout at " << -kReadoutX << " mm" << std::endl;

        IFieldManager::SetUniformField(TVector3(0.2 * kTesla, 0.0, 0.0));
        DriftClouds("uniform 0.2 T along the drift: no deflection", nullptr);

        IFieldManager::SetFieldMap(FringeField);
        TH2F picture("driftElectrons",
                     "Electrons at the readout, released 770 to 170 mm from it (left to right);"
                     "Z (mm);Y (mm)",
                     400, -200, 200, 120, -25, 5);
        IFieldManager::ResetLookupCount();
        DriftClouds("field map with a transverse part near the readout: E x B shift", &picture);
        std::cout << "field lookups for the four drifts: " << IFieldManager::GetLookupCount()
                  << std::endl;
        IFieldManager::SetUniformField(TVector3(0, 0, 0));

        TCanvas canvas("driftCanvas", "Drifted electrons", 900, 500);
        gStyle->SetOptStat(0);
        picture.Draw("COLZ");
        canvas.SaveAs(tour::OutputPath("drift_electrons.png").c_str());
    }

    tour::Register driftSection(70, "Electron drift: arrival times and diffusion", Drift);
}
