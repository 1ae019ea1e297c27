// The host stand-in's services: field manager, simulated trajectories and
// the package registry.
#include <gtest/gtest.h>

#include <IFieldManager.hxx>
#include <IG4Trajectory.hxx>
#include <IPackageVersion.hxx>

using namespace ORVEX;

TEST(FieldManager, IsZeroUntilAFieldIsInstalled) {
    IFieldManager::ResetLookupCount();
    TVector3 field = IFieldManager::GetFieldValue(TVector3(1, 2, 3));
    EXPECT_EQ(field.Mag(), 0.0);
    EXPECT_EQ(IFieldManager::GetLookupCount(), 1);
}

TEST(FieldManager, UniformFieldInTheHostUnit) {
    IFieldManager::SetUniformField(TVector3(0, 0, 0.0002));  // 0.2 T
    IFieldManager::ResetLookupCount();
    TVector3 field = Bman().GetFieldValue(TLorentzVector(5, 6, 7, 100));
    EXPECT_DOUBLE_EQ(field.Z() * 1000.0, 0.2);
    IFieldManager::GetFieldValue(TVector3());
    EXPECT_EQ(IFieldManager::GetLookupCount(), 2);
    IFieldManager::SetUniformField(TVector3());
}

TEST(FieldManager, AnyFunctionOfPositionAndTime) {
    IFieldManager::SetFieldMap([](const TLorentzVector& x) { return TVector3(x.X(), 0, x.T()); });
    TVector3 field = IFieldManager::GetFieldValue(TLorentzVector(2, 0, 0, 7));
    EXPECT_EQ(field.X(), 2.0);
    EXPECT_EQ(field.Z(), 7.0);
    // The three-vector lookup is the field at time zero.
    EXPECT_EQ(IFieldManager::GetFieldValue(TVector3(3, 0, 0)).Z(), 0.0);
    IFieldManager::SetUniformField(TVector3());
}

TEST(Trajectory, PointsKeepSinglePrecision) {
    IG4Trajectory trajectory(13);
    trajectory.AddTrajectoryPoint(
        IG4TrajectoryPoint(TLorentzVector(0.1, 0.2, 0.3, 1.0 / 3.0), TVector3(100.1, 0, 1e-9)));
    ASSERT_EQ(trajectory.GetTrajectoryPoints().size(), 1u);
    EXPECT_EQ(trajectory.GetPDGEncoding(), 13);
    const IG4TrajectoryPoint& point = trajectory.GetTrajectoryPoints()[0];
    EXPECT_EQ(point.GetPosition().X(), static_cast<double>(0.1f));
    EXPECT_NE(point.GetPosition().X(), 0.1);
    EXPECT_EQ(point.GetPosition().T(), static_cast<double>(1.0f / 3.0f));
    EXPECT_EQ(point.GetMomentum().X(), static_cast<double>(100.1f));
}

namespace {
    struct OtherPackage : public IPackageVersion {
        const char* GetName() const override { return "other"; }
        void Initialize() override { IOVDatabase::Get().PackageSet().insert(this); }
        const char* GetVersion() const override { return "v1"; }
        const char* GetCompilationDate() const override { return ""; }
        const char* GetCompilationHost() const override { return ""; }
        const char* GetCompilationDirectory() const override { return ""; }
    };
}

TEST(PackageRegistry, IsASetOfPointers) {
    OtherPackage package;
    std::size_t before = IOVDatabase::Get().PackageSet().size();
    package.Initialize();
    package.Initialize();
    EXPECT_EQ(IOVDatabase::Get().PackageSet().size(), before + 1);
    EXPECT_EQ(&IOVDatabase::Get(), &IOVDatabase::Get());
    IOVDatabase::Get().PackageSet().erase(&package);
}
