#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <TRandom.h>
#include <TRandom3.h>
#include <TVector2.h>
#include <TVector3.h>

#include <IElectronCloud.hxx>

namespace ORVEX {
    /// Reaches the private draws of a cloud.
    class IElectronCloudInspector {
    public:
        static TVector2 Disk(IElectronCloud& cloud) { return cloud.GetRandomPositionOnDisk(); }
        static TVector2 Parallelogram(IElectronCloud& cloud) {
            return cloud.GetRandomPositionOnParallelogram();
        }
        /// Fills the corners without marking them as set.
        static void FillCornersOnly(IElectronCloud& cloud, const std::vector<TVector3>& corners) {
            cloud.fCorners = corners;
        }
    };
}

using ORVEX::IElectronCloud;
using ORVEX::IElectronCloudInspector;

namespace {
    const unsigned kSeed = 4357;
    const int kSamples = 200000;

    IElectronCloud MakeCloud(TVector3 start = TVector3(100, 20, -30), double t = 50.0) {
        return IElectronCloud(1000, start, TVector3(0.07, 0.01, 0.0), t, -1);
    }

    /// A cloud that has drifted from X = 100 to X = 500 at a mean X velocity
    /// `speed`, arriving at time 5000.
    IElectronCloud MakeDriftedCloud(double speed = 0.08) {
        IElectronCloud cloud = MakeCloud();
        cloud.SetPosition(TVector3(500, 25, -28));
        cloud.SetTime(5000.0);
        cloud.SetMeanDriftXVelocity(speed);
        cloud.SetIsDrifted(true);
        return cloud;
    }

    /// The next number of gRandom; compared across runs it tells how many
    /// numbers were drawn before it.
    double NextUniform() {
        return gRandom->Rndm();
    }

    struct Moments {
        double mean;
        double sigma;
    };

    Moments MomentsOf(const std::vector<double>& values) {
        double sum = 0, sum2 = 0;
        for (double v : values) sum += v;
        double mean = sum / values.size();
        for (double v : values) sum2 += (v - mean) * (v - mean);
        return Moments{mean, std::sqrt(sum2 / values.size())};
    }

    std::vector<TVector3> Rectangle() {
        // In the plane X = 5: 4 long along Z, 2 long along Y, in order.
        return {TVector3(5, 0, 0), TVector3(5, 0, 4), TVector3(5, 2, 4), TVector3(5, 2, 0)};
    }

    void ExpectNoDisplacement(const TVector2& d) {
        EXPECT_EQ(d.X(), 0.0);
        EXPECT_EQ(d.Y(), 0.0);
    }

    const char* kShortMessage = "IElectronCloud::GetRandomArrivalTime; Returning -1\n";
}

TEST(IElectronCloud, ConstructorSetsArgumentsAndStartValues) {
    IElectronCloud cloud(1234, TVector3(1, 2, 3), TVector3(4, 5, 6), 7.5, -2);
    EXPECT_EQ(cloud.GetNumberElectrons(), 1234);
    EXPECT_EQ(cloud.GetCharge(), -2);
    EXPECT_EQ(cloud.GetPosition(), TVector3(1, 2, 3));
    EXPECT_EQ(cloud.GetStartPosition(), TVector3(1, 2, 3));
    EXPECT_EQ(cloud.GetVelocity(), TVector3(4, 5, 6));
    EXPECT_EQ(cloud.GetTime(), 7.5);
    EXPECT_EQ(cloud.GetMeanDriftXVelocity(), 0.0);
    EXPECT_FALSE(cloud.IsDrifted());
    EXPECT_EQ(cloud.GetOriginDiskRadius(), 0.0);
    EXPECT_FALSE(cloud.GetParallelogramIsSet());
}

TEST(IElectronCloud, SettersWriteOneFieldEach) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetNumberElectrons(7);
    cloud.SetPosition(TVector3(-1, -2, -3));
    cloud.SetVelocity(TVector3(0.5, 0.25, 0.125));
    cloud.SetMeanDriftXVelocity(-0.3);
    cloud.SetTime(99.0);
    cloud.SetIsDrifted(true);
    cloud.SetNumberDriftSteps(17);
    cloud.SetOriginDiskRadius(3.5);
    cloud.SetOriginParallelogramCorners(Rectangle());
    EXPECT_EQ(cloud.GetNumberElectrons(), 7);
    EXPECT_EQ(cloud.GetPosition(), TVector3(-1, -2, -3));
    EXPECT_EQ(cloud.GetStartPosition(), TVector3(100, 20, -30));
    EXPECT_EQ(cloud.GetVelocity(), TVector3(0.5, 0.25, 0.125));
    EXPECT_EQ(cloud.GetMeanDriftXVelocity(), -0.3);
    EXPECT_EQ(cloud.GetTime(), 99.0);
    EXPECT_TRUE(cloud.IsDrifted());
    EXPECT_EQ(cloud.NumberDriftSteps(), 17);
    EXPECT_EQ(cloud.GetOriginDiskRadius(), 3.5);
    EXPECT_TRUE(cloud.GetParallelogramIsSet());
    EXPECT_EQ(cloud.GetCharge(), -1);
}

TEST(IElectronCloud, DriftLengthsAlongXAndStraight) {
    IElectronCloud cloud(1, TVector3(1, 2, 3), TVector3(), 0, -1);
    cloud.SetPosition(TVector3(-3, 5, 3));
    EXPECT_DOUBLE_EQ(cloud.GetXDriftLength(), 4.0);
    EXPECT_DOUBLE_EQ(cloud.GetTotDriftLength(), 5.0);
    cloud.SetPosition(TVector3(5, 2, 3));
    EXPECT_DOUBLE_EQ(cloud.GetXDriftLength(), 4.0);
    EXPECT_DOUBLE_EQ(cloud.GetTotDriftLength(), 4.0);
}

TEST(IElectronCloud, TotalDriftLengthNeverBelowXDriftLength) {
    TRandom3 positions(11);
    IElectronCloud cloud(1, TVector3(3, -4, 8), TVector3(), 0, -1);
    for (int i = 0; i < 1000; ++i) {
        cloud.SetPosition(TVector3(positions.Uniform(-100, 100), positions.Uniform(-100, 100),
                                   positions.Uniform(-100, 100)));
        EXPECT_GE(cloud.GetTotDriftLength(), cloud.GetXDriftLength());
    }
}

TEST(IElectronCloud, UnDriftReturnsToStartAtRestAndKeepsStepCount) {
    IElectronCloud cloud = MakeDriftedCloud();
    cloud.SetVelocity(TVector3(1, 2, 3));
    cloud.SetNumberDriftSteps(42);
    cloud.UnDrift();
    EXPECT_EQ(cloud.GetPosition(), TVector3(100, 20, -30));
    EXPECT_EQ(cloud.GetTime(), 50.0);
    // At rest, not the velocity the cloud was made with.
    EXPECT_EQ(cloud.GetVelocity(), TVector3(0, 0, 0));
    EXPECT_EQ(cloud.GetMeanDriftXVelocity(), 0.0);
    EXPECT_FALSE(cloud.IsDrifted());
    EXPECT_EQ(cloud.NumberDriftSteps(), 42);
}

TEST(IElectronCloud, ArrivalTimeOfUndriftedCloudIsMinusOneWithoutDrawing) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetPosition(TVector3(500, 0, 0));
    cloud.SetMeanDriftXVelocity(0.08);
    gRandom->SetSeed(kSeed);
    testing::internal::CaptureStdout();
    double t = cloud.GetRandomArrivalTime(0.1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kShortMessage);
    EXPECT_EQ(t, -1.0);
    double after = NextUniform();
    gRandom->SetSeed(kSeed);
    EXPECT_EQ(after, NextUniform());
}

TEST(IElectronCloud, ArrivalTimeNeedsMoreThanOneMicroLengthOfDrift) {
    IElectronCloud cloud(1, TVector3(0, 0, 0), TVector3(), 10.0, -1);
    cloud.SetPosition(TVector3(1e-06, 0, 0));
    cloud.SetIsDrifted(true);
    cloud.SetMeanDriftXVelocity(0.08);
    ASSERT_EQ(cloud.GetXDriftLength(), 1e-06);
    gRandom->SetSeed(kSeed);
    testing::internal::CaptureStdout();
    EXPECT_EQ(cloud.GetRandomArrivalTime(0.1), -1.0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kShortMessage);
    double after = NextUniform();
    gRandom->SetSeed(kSeed);
    EXPECT_EQ(after, NextUniform());

    // Just over the threshold gives a time.
    cloud.SetPosition(TVector3(2e-06, 0, 0));
    testing::internal::CaptureStdout();
    EXPECT_NE(cloud.GetRandomArrivalTime(0.1), -1.0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(IElectronCloud, ArrivalTimeWithoutVelocityIsMinusOneAfterOneDraw) {
    for (double speed : {0.0, 1e-09, -1e-09}) {
        IElectronCloud cloud = MakeDriftedCloud(speed);
        gRandom->SetSeed(kSeed);
        testing::internal::CaptureStdout();
        EXPECT_EQ(cloud.GetRandomArrivalTime(0.1), -1.0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), kShortMessage);
        double after = NextUniform();
        gRandom->SetSeed(kSeed);
        gRandom->Gaus(0, 0.1 * 20.0);
        EXPECT_EQ(after, NextUniform()) << "speed " << speed;
    }
}

TEST(IElectronCloud, ArrivalTimeIsTimePlusDrawnLengthOverSpeed) {
    IElectronCloud cloud = MakeDriftedCloud(0.08);
    cloud.AddInitialXStandardDeviation(0.5);
    gRandom->SetSeed(kSeed);
    double t = cloud.GetRandomArrivalTime(0.1);
    gRandom->SetSeed(kSeed);
    // sigma = 0.1 * sqrt(400) + 0.5
    double dx = gRandom->Gaus(0, 2.5);
    EXPECT_DOUBLE_EQ(t, 5000.0 + dx / 0.08);
}

TEST(IElectronCloud, NegativeMeanVelocityGivesTheSameSpread) {
    IElectronCloud forward = MakeDriftedCloud(0.08);
    IElectronCloud backward = MakeDriftedCloud(-0.08);
    gRandom->SetSeed(kSeed);
    double a = forward.GetRandomArrivalTime(0.1);
    gRandom->SetSeed(kSeed);
    double b = backward.GetRandomArrivalTime(0.1);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, 5000.0);
}

TEST(IElectronCloud, ArrivalTimeSpreadAddsStartSpreadLinearly) {
    IElectronCloud cloud = MakeDriftedCloud(0.08);
    cloud.AddInitialXStandardDeviation(0.5);
    gRandom->SetSeed(kSeed);
    std::vector<double> times;
    for (int i = 0; i < kSamples; ++i) times.push_back(cloud.GetRandomArrivalTime(0.1));
    Moments m = MomentsOf(times);
    // Linear: (0.1 * 20 + 0.5) / 0.08 = 31.25; in quadrature it would be 25.8.
    EXPECT_NEAR(m.sigma, 31.25, 0.01 * 31.25);
    EXPECT_NEAR(m.mean, 5000.0, 0.5);
}

TEST(IElectronCloud, UndriftedPositionAtStartHasNoTransverseSpread) {
    IElectronCloud cloud = MakeCloud();
    gRandom->SetSeed(kSeed);
    for (int i = 0; i < 100; ++i) {
        TVector3 p = cloud.GetAnElectronsPosition(0.2, 0.3, false);
        EXPECT_EQ(p, TVector3(100, 20, -30));
    }
}

TEST(IElectronCloud, UndriftedPositionSpreadsAlongXByTheStartSpread) {
    IElectronCloud cloud = MakeCloud();
    cloud.AddInitialXStandardDeviation(1.5);
    gRandom->SetSeed(kSeed);
    std::vector<double> xs;
    for (int i = 0; i < kSamples; ++i) {
        TVector3 p = cloud.GetAnElectronsPosition(0.2, 0.3, false);
        EXPECT_EQ(p.Y(), 20.0);
        EXPECT_EQ(p.Z(), -30.0);
        xs.push_back(p.X());
    }
    Moments m = MomentsOf(xs);
    EXPECT_NEAR(m.sigma, 1.5, 0.015);
    EXPECT_NEAR(m.mean, 100.0, 0.02);
}

TEST(IElectronCloud, CalibrationTargetWithoutDiffusionHasDefaultSpotOfTwo) {
    IElectronCloud cloud = MakeDriftedCloud();
    gRandom->SetSeed(kSeed);
    std::vector<double> ys, zs;
    for (int i = 0; i < kSamples; ++i) {
        TVector3 p = cloud.GetAnElectronsPosition(0.0, 0.0, true);
        EXPECT_EQ(p.X(), 500.0);
        ys.push_back(p.Y());
        zs.push_back(p.Z());
    }
    EXPECT_NEAR(MomentsOf(ys).sigma, 2.0, 0.02);
    EXPECT_NEAR(MomentsOf(zs).sigma, 2.0, 0.02);
    EXPECT_NEAR(MomentsOf(ys).mean, 25.0, 0.03);
    EXPECT_NEAR(MomentsOf(zs).mean, -28.0, 0.03);
}

TEST(IElectronCloud, DriftedPositionSpreadsByTransverseDiffusionOnly) {
    IElectronCloud cloud = MakeDriftedCloud();
    cloud.AddInitialYStandardDeviation(1.0);
    cloud.AddInitialZStandardDeviation(3.0);
    cloud.AddInitialXStandardDeviation(5.0);
    gRandom->SetSeed(kSeed);
    std::vector<double> ys, zs;
    for (int i = 0; i < kSamples; ++i) {
        TVector3 p = cloud.GetAnElectronsPosition(0.2, 0.3, false);
        // A drifted cloud is never spread along X.
        EXPECT_EQ(p.X(), 500.0);
        ys.push_back(p.Y());
        zs.push_back(p.Z());
    }
    // 0.2 * sqrt(400) = 4, the start spreads ignored.
    EXPECT_NEAR(MomentsOf(ys).sigma, 4.0, 0.04);
    EXPECT_NEAR(MomentsOf(zs).sigma, 4.0, 0.04);
}

TEST(IElectronCloud, CalibrationTargetSpotAddsInQuadrature) {
    IElectronCloud cloud = MakeDriftedCloud();
    cloud.AddInitialYStandardDeviation(1.0);
    cloud.AddInitialZStandardDeviation(3.0);
    gRandom->SetSeed(kSeed);
    std::vector<double> ys, zs;
    for (int i = 0; i < kSamples; ++i) {
        TVector3 p = cloud.GetAnElectronsPosition(0.2, 0.3, true);
        ys.push_back(p.Y());
        zs.push_back(p.Z());
    }
    EXPECT_NEAR(MomentsOf(ys).sigma, std::sqrt(17.0), 0.01 * std::sqrt(17.0));
    EXPECT_NEAR(MomentsOf(zs).sigma, 5.0, 0.05);
}

TEST(IElectronCloud, UndriftedAwayFromStartSpreadsXByLongitudinalPlusStart) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetPosition(TVector3(500, 20, -30));
    cloud.AddInitialXStandardDeviation(0.5);
    gRandom->SetSeed(kSeed);
    std::vector<double> xs;
    for (int i = 0; i < kSamples; ++i) {
        xs.push_back(cloud.GetAnElectronsPosition(0.0, 0.1, false).X());
    }
    // Linear: 0.1 * sqrt(400) + 0.5.
    EXPECT_NEAR(MomentsOf(xs).sigma, 2.5, 0.025);
}

TEST(IElectronCloud, PositionDrawsXThenZThenY) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetPosition(TVector3(500, 20, -30));
    cloud.AddInitialYStandardDeviation(1.0);
    cloud.AddInitialZStandardDeviation(3.0);
    gRandom->SetSeed(kSeed);
    TVector3 p = cloud.GetAnElectronsPosition(0.2, 0.3, true);
    gRandom->SetSeed(kSeed);
    double dx = gRandom->Gaus(0, 0.3 * 20.0);
    double dz = gRandom->Gaus(0, 5.0);
    double dy = gRandom->Gaus(0, std::sqrt(17.0));
    EXPECT_DOUBLE_EQ(p.X(), 500.0 + dx);
    EXPECT_DOUBLE_EQ(p.Y(), 20.0 + dy);
    EXPECT_DOUBLE_EQ(p.Z(), -30.0 + dz);
}

TEST(IElectronCloud, StartSpreadSettersReplaceTheValue) {
    IElectronCloud cloud = MakeDriftedCloud();
    cloud.AddInitialYStandardDeviation(0.7);
    cloud.AddInitialYStandardDeviation(0.5);
    cloud.AddInitialZStandardDeviation(0.0);
    gRandom->SetSeed(kSeed);
    TVector3 p = cloud.GetAnElectronsPosition(0.0, 0.0, true);
    gRandom->SetSeed(kSeed);
    double dz = gRandom->Gaus(0, 0.0);
    double dy = gRandom->Gaus(0, 0.5);
    EXPECT_EQ(p.Z(), -28.0 + dz);
    EXPECT_EQ(p.Z(), -28.0);
    EXPECT_DOUBLE_EQ(p.Y(), 25.0 + dy);
}

TEST(IElectronCloud, DiskAndParallelogramDoNotMoveDrawnPositions) {
    IElectronCloud plain = MakeDriftedCloud();
    IElectronCloud shaped = MakeDriftedCloud();
    shaped.SetOriginDiskRadius(10.0);
    shaped.SetOriginParallelogramCorners(Rectangle());
    for (bool calib : {false, true}) {
        gRandom->SetSeed(kSeed);
        TVector3 a = plain.GetAnElectronsPosition(0.2, 0.3, calib);
        gRandom->SetSeed(kSeed);
        TVector3 b = shaped.GetAnElectronsPosition(0.2, 0.3, calib);
        EXPECT_EQ(a, b);
    }
}

TEST(IElectronCloud, DiskWithoutRadiusGivesNoDisplacementAndDrawsNothing) {
    IElectronCloud cloud = MakeCloud();
    for (double radius : {0.0, -2.0}) {
        cloud.SetOriginDiskRadius(radius);
        gRandom->SetSeed(kSeed);
        ExpectNoDisplacement(IElectronCloudInspector::Disk(cloud));
        double after = NextUniform();
        gRandom->SetSeed(kSeed);
        EXPECT_EQ(after, NextUniform());
    }
}

TEST(IElectronCloud, DiskDrawsAngleThenRadius) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginDiskRadius(3.0);
    gRandom->SetSeed(kSeed);
    TVector2 d = IElectronCloudInspector::Disk(cloud);
    gRandom->SetSeed(kSeed);
    double phi = 2 * M_PI * gRandom->Uniform(1.0);
    double r = 3.0 * gRandom->Uniform(1.0);
    EXPECT_NEAR(d.X(), r * std::cos(phi), 1e-12);
    EXPECT_NEAR(d.Y(), r * std::sin(phi), 1e-12);
}

TEST(IElectronCloud, DiskRadiusIsUniformNotItsSquare) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginDiskRadius(2.0);
    gRandom->SetSeed(kSeed);
    int inner = 0;
    double sumR = 0;
    for (int i = 0; i < kSamples; ++i) {
        double r = IElectronCloudInspector::Disk(cloud).Mod();
        ASSERT_LE(r, 2.0);
        if (r < 1.0) ++inner;
        sumR += r;
    }
    // Half the points within half the radius (an even spread over the area
    // would put a quarter there), and a mean radius of R/2 (not 2R/3).
    EXPECT_NEAR(double(inner) / kSamples, 0.5, 0.005);
    EXPECT_NEAR(sumR / kSamples, 1.0, 0.01);
}

TEST(IElectronCloud, ParallelogramNotSetGivesNothingWhateverTheCorners) {
    IElectronCloud cloud = MakeCloud();
    // Corners that would stop the process if they were looked at.
    IElectronCloudInspector::FillCornersOnly(
        cloud, {TVector3(0, 0, 0), TVector3(0, 0, 1), TVector3(0, 9, 9)});
    gRandom->SetSeed(kSeed);
    testing::internal::CaptureStdout();
    ExpectNoDisplacement(IElectronCloudInspector::Parallelogram(cloud));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    double after = NextUniform();
    gRandom->SetSeed(kSeed);
    EXPECT_EQ(after, NextUniform());
}

TEST(IElectronCloud, RectangleInOrderGivesZThenYFromItsCentre) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginParallelogramCorners(Rectangle());
    gRandom->SetSeed(kSeed);
    testing::internal::CaptureStdout();
    TVector2 d = IElectronCloudInspector::Parallelogram(cloud);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    gRandom->SetSeed(kSeed);
    double alongZ = gRandom->Uniform(1.0);
    double alongY = gRandom->Uniform(1.0);
    EXPECT_NEAR(d.X(), 4 * alongZ - 2, 1e-12);
    EXPECT_NEAR(d.Y(), 2 * alongY - 1, 1e-12);
}

TEST(IElectronCloud, RectangleDrawsCoverItUniformly) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginParallelogramCorners(Rectangle());
    gRandom->SetSeed(kSeed);
    std::vector<double> zs, ys;
    int quadrant = 0;
    for (int i = 0; i < kSamples; ++i) {
        TVector2 d = IElectronCloudInspector::Parallelogram(cloud);
        ASSERT_LE(std::fabs(d.X()), 2.0);
        ASSERT_LE(std::fabs(d.Y()), 1.0);
        if (d.X() > 0 && d.Y() > 0) ++quadrant;
        zs.push_back(d.X());
        ys.push_back(d.Y());
    }
    EXPECT_NEAR(MomentsOf(zs).mean, 0.0, 0.01);
    EXPECT_NEAR(MomentsOf(ys).mean, 0.0, 0.01);
    // A uniform spread over a side of length L has sigma L / sqrt(12).
    EXPECT_NEAR(MomentsOf(zs).sigma, 4 / std::sqrt(12.0), 0.01);
    EXPECT_NEAR(MomentsOf(ys).sigma, 2 / std::sqrt(12.0), 0.005);
    EXPECT_NEAR(double(quadrant) / kSamples, 0.25, 0.005);
}

TEST(IElectronCloud, SlantedParallelogramFollowsItsEdges) {
    IElectronCloud cloud = MakeCloud();
    // Edges (0, 0, 4) and (0, 3, 2) from c0, anywhere in X.
    cloud.SetOriginParallelogramCorners(
        {TVector3(-7, 1, 1), TVector3(-7, 1, 5), TVector3(-7, 4, 7), TVector3(-7, 4, 3)});
    gRandom->SetSeed(kSeed);
    TVector2 d = IElectronCloudInspector::Parallelogram(cloud);
    gRandom->SetSeed(kSeed);
    double u1 = gRandom->Uniform(1.0);
    double u2 = gRandom->Uniform(1.0);
    EXPECT_NEAR(d.X(), 4 * u1 + 2 * u2 - 3, 1e-12);
    EXPECT_NEAR(d.Y(), 3 * u2 - 1.5, 1e-12);
}

TEST(IElectronCloud, MoreThanFourCornersWarnsAndUsesTheFirstFour) {
    IElectronCloud cloud = MakeCloud();
    std::vector<TVector3> corners = Rectangle();
    corners.push_back(TVector3(5, 50, 50));
    cloud.SetOriginParallelogramCorners(corners);
    gRandom->SetSeed(kSeed);
    testing::internal::CaptureStdout();
    TVector2 d = IElectronCloudInspector::Parallelogram(cloud);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR in IElectronCloud::GetRandomPositionOnParallelogram, FIXME: allow for "
              "more corners than 4\n");
    gRandom->SetSeed(kSeed);
    double alongZ = gRandom->Uniform(1.0);
    double alongY = gRandom->Uniform(1.0);
    EXPECT_NEAR(d.X(), 4 * alongZ - 2, 1e-12);
    EXPECT_NEAR(d.Y(), 2 * alongY - 1, 1e-12);
}

TEST(IElectronCloud, FewerThanFourCornersWarnsAndGivesNothing) {
    IElectronCloud cloud = MakeCloud();
    for (std::size_t n : {0, 1, 3}) {
        std::vector<TVector3> corners = Rectangle();
        corners.resize(n);
        cloud.SetOriginParallelogramCorners(corners);
        gRandom->SetSeed(kSeed);
        testing::internal::CaptureStdout();
        ExpectNoDisplacement(IElectronCloudInspector::Parallelogram(cloud));
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "ERROR in IElectronCloud::GetRandomPositionOnParallelogram, FIXME: allow "
                  "for more corners than 4\n");
        double after = NextUniform();
        gRandom->SetSeed(kSeed);
        EXPECT_EQ(after, NextUniform());
    }
}

TEST(IElectronCloud, SidesWithinOneThousandthPass) {
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginParallelogramCorners(
        {TVector3(0, 0, 0), TVector3(0, 0, 4), TVector3(0, 2, 4), TVector3(0, 2, 0.0009)});
    testing::internal::CaptureStdout();
    TVector2 d = IElectronCloudInspector::Parallelogram(cloud);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_LE(std::fabs(d.Y()), 1.0);
}

// The process ends: the message goes to the standard output, which the
// child sends to its error stream so that the death test can read it.
TEST(IElectronCloudDeathTest, RectangleWithCornersOutOfOrderEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    IElectronCloud cloud = MakeCloud();
    std::vector<TVector3> corners = Rectangle();
    std::swap(corners[2], corners[3]);
    cloud.SetOriginParallelogramCorners(corners);
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            IElectronCloudInspector::Parallelogram(cloud);
        },
        testing::ExitedWithCode(1),
        "^ERROR in IElectronCloud::GetRandomPositionOnParallelogram, FIXME: allow for "
        "non consecutive corners\n$");
}

TEST(IElectronCloudDeathTest, UnequalOppositeSidesEndTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    IElectronCloud cloud = MakeCloud();
    // A trapezoid: the sides along Z are 4 and 4.002 long.
    cloud.SetOriginParallelogramCorners(
        {TVector3(0, 0, 0), TVector3(0, 0, 4), TVector3(0, 2, 4.002), TVector3(0, 2, 0)});
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            IElectronCloudInspector::Parallelogram(cloud);
        },
        testing::ExitedWithCode(1),
        "^ERROR in IElectronCloud::GetRandomPositionOnFlatShape, FIXME: allow for "
        "arbitrary strips\n$");
}

TEST(IElectronCloudDeathTest, FiveCornersWarnBeforeTheShapeCheckEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    IElectronCloud cloud = MakeCloud();
    cloud.SetOriginParallelogramCorners({TVector3(0, 0, 0), TVector3(0, 0, 4), TVector3(0, 3, 4),
                                         TVector3(0, 2, 0), TVector3(0, 1, 1)});
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            IElectronCloudInspector::Parallelogram(cloud);
        },
        testing::ExitedWithCode(1),
        "^ERROR in IElectronCloud::GetRandomPositionOnParallelogram, FIXME: allow for "
        "more corners than 4\n"
        "ERROR in IElectronCloud::GetRandomPositionOnFlatShape, FIXME: allow for "
        "arbitrary strips\n$");
}
