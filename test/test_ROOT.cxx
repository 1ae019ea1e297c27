// ROOT as the library links it: every class the library relies on loads,
// links and gives the values known for it.
#include <gtest/gtest.h>

#include <TCanvas.h>
#include <TDatabasePDG.h>
#include <TH2F.h>
#include <TLorentzVector.h>
#include <TMath.h>
#include <TMatrixT.h>
#include <TMinuit.h>
#include <TObject.h>
#include <TROOT.h>
#include <TRandom.h>
#include <TRotation.h>
#include <TSystem.h>
#include <TVector3.h>

TEST(ROOT, ObjectAndGeometry) {
    TObject object;
    EXPECT_STREQ(object.ClassName(), "TObject");
    TVector3 v(3.0, 4.0, 12.0);
    EXPECT_DOUBLE_EQ(v.Mag(), 13.0);
    TLorentzVector p(0.0, 0.0, 3.0, 5.0);
    EXPECT_DOUBLE_EQ(p.M(), 4.0);
    TRotation r;
    r.RotateZ(TMath::Pi() / 2);
    TVector3 x = r * TVector3(1.0, 0.0, 0.0);
    EXPECT_NEAR(x.X(), 0.0, 1e-15);
    EXPECT_NEAR(x.Y(), 1.0, 1e-15);
}

TEST(ROOT, MatrixInverse) {
    TMatrixT<double> m(2, 2);
    m(0, 0) = 4;
    m(0, 1) = 7;
    m(1, 0) = 2;
    m(1, 1) = 6;
    TMatrixT<double> inverse(m);
    inverse.Invert();
    EXPECT_NEAR(inverse(0, 0), 0.6, 1e-12);
    EXPECT_NEAR(inverse(0, 1), -0.7, 1e-12);
    EXPECT_NEAR(inverse(1, 0), -0.2, 1e-12);
    EXPECT_NEAR(inverse(1, 1), 0.4, 1e-12);
}

namespace {
    void Parabola(int&, double*, double& f, double* par, int) {
        f = (par[0] - 3.0) * (par[0] - 3.0) + 1.0;
    }
}

TEST(ROOT, MinuitFindsAParabolasMinimum) {
    TMinuit minuit(1);
    minuit.SetPrintLevel(-1);
    minuit.SetFCN(Parabola);
    int flag = 0;
    minuit.mnparm(0, "x", 0.0, 0.1, 0, 0, flag);
    double noArgs[1];
    minuit.mnexcm("MIGRAD", noArgs, 0, flag);
    double value, error;
    minuit.GetParameter(0, value, error);
    EXPECT_EQ(flag, 0);
    EXPECT_NEAR(value, 3.0, 1e-4);
}

TEST(ROOT, ParticleTableGivesChargesInThirds) {
    TDatabasePDG* pdg = TDatabasePDG::Instance();
    ASSERT_NE(pdg->GetParticle(11), nullptr);
    EXPECT_DOUBLE_EQ(pdg->GetParticle(11)->Charge(), -3.0);
    EXPECT_DOUBLE_EQ(pdg->GetParticle("proton")->Charge(), 3.0);
    TString table = TString(gSystem->Getenv("ROOTSYS")) + "/etc/pdg_table.txt";
    EXPECT_FALSE(gSystem->AccessPathName(table)) << table;
}

TEST(ROOT, RandomIsReproducibleForASeed) {
    gRandom->SetSeed(4357);
    double first = gRandom->Uniform(1.0);
    gRandom->SetSeed(4357);
    EXPECT_EQ(gRandom->Uniform(1.0), first);
    EXPECT_GE(first, 0.0);
    EXPECT_LT(first, 1.0);
}

TEST(ROOT, BatchCanvasWritesAPicture) {
    gROOT->SetBatch(true);
    TString file = "root_smoke.png";
    gSystem->Unlink(file);
    TCanvas canvas("smoke", "smoke", 200, 200);
    TH2F histogram("h", "h", 10, 0.0, 1.0, 10, 0.0, 1.0);
    histogram.Fill(0.5, 0.5, 2.0);
    EXPECT_DOUBLE_EQ(histogram.GetBinContent(6, 6), 2.0);
    histogram.Draw("colz");
    canvas.SaveAs(file);
    FileStat_t stat;
    ASSERT_EQ(gSystem->GetPathInfo(file, stat), 0);
    EXPECT_GT(stat.fSize, 100);
}
