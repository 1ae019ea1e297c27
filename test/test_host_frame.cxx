// The host stand-in's frame: handles, log lines and the exception chain.
#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string>
#include <typeinfo>

#include <EovCore.hxx>
#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

#include <EovUtility.hxx>

using namespace ORVEX;

namespace {
    // Sends the log's two streams to strings for one test, and puts the
    // priorities back afterwards.
    class LogCapture : public ::testing::Test {
    protected:
        void SetUp() override {
            fSavedDebug = IORVEXLog::GetDebugLevel();
            fSavedLog = IORVEXLog::GetLogLevel();
            IORVEXLog::SetDebugStream(&fDebug);
            IORVEXLog::SetLogStream(&fLog);
        }
        void TearDown() override {
            IORVEXLog::SetDebugStream(nullptr);
            IORVEXLog::SetLogStream(nullptr);
            IORVEXLog::SetDebugLevel(fSavedDebug);
            IORVEXLog::SetLogLevel(fSavedLog);
            IORVEXLog::ResetIndentation();
        }
        std::string Where(int line) const {
            return std::string(__FILE__) + ":" + std::to_string(line) + ": ";
        }
        std::ostringstream fDebug;
        std::ostringstream fLog;
        IORVEXLog::ErrorPriority fSavedDebug;
        IORVEXLog::LogPriority fSavedLog;
    };

    IHandle<IHit> MakeHit(int id = 1) {
        return IHandle<IHit>(new ISingleHit(id, 1.0, TVector3(1, 2, 3)));
    }

    // Counts its own destructions, to see when a handle deletes its object.
    struct CountedHit : public ISingleHit {
        static int fDeleted;
        ~CountedHit() override { ++fDeleted; }
    };
    int CountedHit::fDeleted = 0;
}

typedef LogCapture Handle;

TEST_F(Handle, NullDereferenceLogsTheTypeNameAndThrows) {
    IHandle<IHit> null;
    bool thrown = false;
    try {
        null->GetCharge();
    } catch (const EHandleBadReference& e) {
        thrown = true;
        EXPECT_NE(std::string(e.what()).find("EHandle"), std::string::npos);
        EXPECT_NE(std::string(e.what()).find("EHandleBadReference"), std::string::npos);
    }
    EXPECT_TRUE(thrown);
    std::string line = fDebug.str();
    std::string ending = std::string("Referencing a NULL handle ") + typeid(IHit).name() + "\n";
    ASSERT_GE(line.size(), ending.size());
    EXPECT_EQ(line.substr(line.size() - ending.size()), ending);
    EXPECT_EQ(line.rfind("ERROR: ", 0), 0u);
    EXPECT_NE(line.find("IHandle.hxx:"), std::string::npos);
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
}

TEST_F(Handle, NullDereferenceIsLoggedEvenWhenSilent) {
    IORVEXLog::SetDebugLevel(IORVEXLog::SilentLevel);
    IHandle<IHit> null;
    EXPECT_THROW(null->GetCharge(), EHandleBadReference);
    EXPECT_NE(fDebug.str().find("Referencing a NULL handle"), std::string::npos);
}

TEST_F(Handle, WrongClassDereferenceHasNoBlankBeforeTheTypeName) {
    // A handle of the wrong class can only be made inside the host, by
    // pointing a handle of one class at an object of another through the
    // untyped base; the guarded access still catches it.
    IHandle<IHit> hit = MakeHit();
    IHandle<IComboHit> combo;
    combo.Default(NULL);
    static_cast<IVHandle&>(combo).Link(hit);
    EXPECT_THROW(combo->GetHits(), EHandleBadReference);
    std::string ending =
        std::string("Referencing with an invalid cast") + typeid(IComboHit).name() + "\n";
    std::string line = fDebug.str();
    ASSERT_GE(line.size(), ending.size());
    EXPECT_EQ(line.substr(line.size() - ending.size()), ending);
    if (combo.Unlink()) combo.Destroy();
    combo.Default(NULL);
}

TEST_F(Handle, ConversionToTheWrongClassIsSilentlyNull) {
    IHandle<IHit> hit = MakeHit();
    IHandle<IComboHit> combo(hit);
    EXPECT_FALSE(combo);
    EXPECT_EQ(combo.GetPointerValue(), nullptr);
    EXPECT_EQ(fDebug.str(), "");
    EXPECT_EQ(hit.GetReferenceCount(), 1);
    EXPECT_THROW(combo->GetHits(), EHandleBadReference);
}

TEST_F(Handle, ConversionToTheRightClassShares) {
    IHandle<IHit> hit(new IComboHit);
    IHandle<IComboHit> combo(hit);
    ASSERT_TRUE(combo);
    EXPECT_TRUE(combo == hit);
    EXPECT_EQ(hit.GetReferenceCount(), 2);
    EXPECT_EQ(combo->GetHits().size(), 0u);
}

TEST_F(Handle, SelfAssignmentKeepsTheCount) {
    IHandle<IHit> hit = MakeHit();
    IHandle<IHit> copy = hit;
    EXPECT_EQ(hit.GetReferenceCount(), 2);
    IHandle<IHit>& same = hit;
    hit = same;
    EXPECT_EQ(hit.GetReferenceCount(), 2);
    copy = hit;  // two handles of one object: also nothing to do
    EXPECT_EQ(hit.GetReferenceCount(), 2);
}

TEST_F(Handle, AssignmentFromTheWrongClassLeavesANullHandle) {
    IHandle<IHit> hit = MakeHit();
    IHandle<IComboHit> combo(new IComboHit);
    combo = hit;
    EXPECT_FALSE(combo);
    EXPECT_EQ(hit.GetReferenceCount(), 1);
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Handle, LastHandleDeletesTheObject) {
    CountedHit::fDeleted = 0;
    {
        IHandle<IHit> first(new CountedHit);
        {
            IHandle<IHit> second = first;
            EXPECT_EQ(first.GetReferenceCount(), 2);
        }
        EXPECT_EQ(CountedHit::fDeleted, 0);
        EXPECT_EQ(first.GetReferenceCount(), 1);
        IHandle<IHit> other = MakeHit();
        first = other;  // lets go of the counted hit
        EXPECT_EQ(CountedHit::fDeleted, 1);
        EXPECT_EQ(other.GetReferenceCount(), 2);
    }
    EXPECT_EQ(CountedHit::fDeleted, 1);
}

TEST_F(Handle, BooleanTestAndIdentity) {
    IHandle<IHit> null;
    IHandle<IHit> hit = MakeHit();
    IHandle<IHit> twin = MakeHit();
    EXPECT_FALSE(null);
    EXPECT_TRUE(hit);
    EXPECT_FALSE(hit == twin);  // same fields, different objects
    EXPECT_TRUE(null == IHandle<IHit>());
}

typedef LogCapture Log;

TEST_F(Log, ErrorLevelWritesErrorsButNotSevere) {
    IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
    int line = __LINE__ + 1;  // the statement below
    ORVEXError("broken " << 1);
    ORVEXSevere("not shown");
    EXPECT_EQ(fDebug.str(), "ERROR: " + Where(line) + "broken 1\n");
}

TEST_F(Log, SevereLevelWritesSevereButNotWarnings) {
    IORVEXLog::SetDebugLevel(IORVEXLog::SevereLevel);
    int line = __LINE__ + 1;  // the statement below
    ORVEXSevere("bad " << 2.5);
    ORVEXWarn("not shown");
    EXPECT_EQ(fDebug.str(), "SEVERE: " + Where(line) + "bad 2.5\n");
}

TEST_F(Log, WarnLevelWritesBoth) {
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    int severe = __LINE__ + 1;  // the statement below
    ORVEXSevere("first");
    int warn = __LINE__ + 1;  // the statement below
    ORVEXWarn("second");
    EXPECT_EQ(fDebug.str(),
              "SEVERE: " + Where(severe) + "first\n" + "WARNING: " + Where(warn) + "second\n");
}

TEST_F(Log, SilentLevelStillWritesErrors) {
    IORVEXLog::SetDebugLevel(IORVEXLog::SilentLevel);
    int line = __LINE__ + 1;  // the statement below
    ORVEXError("always");
    ORVEXSevere("never");
    ORVEXWarn("never");
    EXPECT_EQ(fDebug.str(), "ERROR: " + Where(line) + "always\n");
}

TEST_F(Log, InformationNeedsInfoLevelAndIsIndented) {
    IORVEXLog::SetLogLevel(IORVEXLog::LogLevel);
    ORVEXInfo("hidden");
    EXPECT_EQ(fLog.str(), "");
    IORVEXLog::SetLogLevel(IORVEXLog::InfoLevel);
    ORVEXInfo("top " << 3);
    IORVEXLog::IncreaseIndentation();
    ORVEXInfo("inner");
    EXPECT_EQ(fLog.str(), "%% top 3\n%%   inner\n");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Log, TraceTablesDoNotChangeTheGlobalTest) {
    IORVEXLog::SetDebugLevel(IORVEXLog::ErrorLevel);
    IORVEXLog::SetDebugLevel("Hough", IORVEXLog::TraceLevel);
    EXPECT_EQ(IORVEXLog::GetDebugLevel("Hough"), IORVEXLog::TraceLevel);
    ORVEXWarn("not shown");
    EXPECT_EQ(fDebug.str(), "");
}

TEST_F(Log, AStatementLeavesTheStreamFormatAsItFoundIt) {
    IORVEXLog::SetDebugLevel(IORVEXLog::WarnLevel);
    fDebug.setf(std::ios::scientific, std::ios::floatfield);
    fDebug.precision(3);
    fDebug.fill('*');
    std::ios::fmtflags before = fDebug.flags();
    ORVEXWarn(std::fixed << std::setprecision(1) << std::hex << std::setfill('0') << std::setw(4)
                         << 255 << " " << 2.25);
    EXPECT_EQ(fDebug.flags(), before);
    EXPECT_EQ(fDebug.precision(), 6);
    EXPECT_EQ(fDebug.width(), 0);
    EXPECT_EQ(fDebug.fill(), ' ');
    std::string text = fDebug.str();
    EXPECT_NE(text.find(": 00ff 2.2\n"), std::string::npos) << text;
    // The next statement is formatted as the stream was before.
    fDebug.str("");
    ORVEXWarn(0.5);
    EXPECT_NE(fDebug.str().find(": 5.000000e-01\n"), std::string::npos) << fDebug.str();
}

TEST(Exceptions, NamesAreAppendedFromTheRootDown) {
    EXPECT_STREQ(EovCore().what(), "EovCore");
    EXPECT_STREQ(EHandleBadReference().what(), "EovCore::EHandle::EHandleBadReference");
    EXPECT_STREQ(EovUtility().what(), "EovCore::EovUtility");
}

TEST(Exceptions, ACopyKeepsTheText) {
    EHandleBadReference original;
    EHandleBadReference copy(original);
    EXPECT_STREQ(copy.what(), original.what());
}

TEST(Exceptions, HandleFailuresAreNotLibraryFailures) {
    bool caughtAsCore = false;
    try {
        throw EHandleBadReference();
    } catch (const EovUtility&) {
        FAIL() << "EHandleBadReference is not an EovUtility";
    } catch (const EovCore&) {
        caughtAsCore = true;
    }
    EXPECT_TRUE(caughtAsCore);
}

TEST(ComboHit, FinishGivesTheChargeWeightedMean) {
    IComboHit* combo = new IComboHit;
    IHandle<IHit> handle(combo);
    combo->PrepareCombo();
    combo->AddHit(IHandle<IHit>(new ISingleHit(1, 1.0, TVector3(0, 0, 0), true, false)));
    combo->AddHit(IHandle<IHit>(new ISingleHit(2, 3.0, TVector3(4, 8, 0), false, false)));
    combo->FinishCombo();
    EXPECT_DOUBLE_EQ(handle->GetCharge(), 4.0);
    EXPECT_DOUBLE_EQ(handle->GetPosition().X(), 3.0);
    EXPECT_DOUBLE_EQ(handle->GetPosition().Y(), 6.0);
    EXPECT_TRUE(handle->MeasuresX());
    EXPECT_FALSE(handle->MeasuresY());
}

TEST(ComboHit, ZeroChargeGivesThePlainMean) {
    IComboHit combo;
    combo.AddHit(IHandle<IHit>(new ISingleHit(1, 2.0, TVector3(0, 0, 0))));
    combo.AddHit(IHandle<IHit>(new ISingleHit(2, -2.0, TVector3(2, 4, 6))));
    combo.FinishCombo();
    EXPECT_DOUBLE_EQ(combo.GetCharge(), 0.0);
    EXPECT_DOUBLE_EQ(combo.GetPosition().X(), 1.0);
    EXPECT_DOUBLE_EQ(combo.GetPosition().Z(), 3.0);
}

TEST(ComboHit, ListingWithHitsShowsTheMembers) {
    IComboHit combo;
    combo.AddHit(IHandle<IHit>(new ISingleHit(7, 2.0, TVector3(1, 2, 3))));
    combo.FinishCombo();
    testing::internal::CaptureStdout();
    combo.ls("hits");
    std::string listing = testing::internal::GetCapturedStdout();
    EXPECT_NE(listing.find("ORVEX::IComboHit id 0 charge 2 at (1, 2, 3)"), std::string::npos)
        << listing;
    EXPECT_NE(listing.find("IHitSelection hits (Hit Handles) with 1 hits"), std::string::npos)
        << listing;
    EXPECT_NE(listing.find("ORVEX::ISingleHit id 7 charge 2"), std::string::npos) << listing;
}

TEST(Selection, CopyingSharesTheHits) {
    IHitSelection selection("mine", "My hits");
    selection.push_back(MakeHit(3));
    IHitSelection copy = selection;
    EXPECT_STREQ(copy.GetName(), "mine");
    EXPECT_STREQ(copy.GetTitle(), "My hits");
    EXPECT_TRUE(copy[0] == selection[0]);
    EXPECT_EQ(selection[0].GetReferenceCount(), 2);
    IHitSelection defaults;
    EXPECT_STREQ(defaults.GetName(), "hits");
    EXPECT_STREQ(defaults.GetTitle(), "Hit Handles");
}

TEST(GeometryId, IsReadAsSigned) {
    EXPECT_EQ(IGeometryId(-1).AsInt(), -1);
    EXPECT_EQ(IGeometryId(0x7fffffff).AsInt(), 0x7fffffff);
}

TEST(Hits, SimulatedMultiAndReconstructedKinds) {
    IG4VHit deposit(1.5);
    IMCHit mc(4, 2.0);
    mc.AddContributor(&deposit);
    ASSERT_EQ(mc.GetContributors().size(), 1u);
    EXPECT_EQ(mc.GetContributors()[0], &deposit);

    IMultiHit multi(9);
    IHandle<ISingleHit> first(new ISingleHit(9, 1.0, TVector3(1, 0, 0)));
    multi.AddHit(first);
    multi.AddHit(IHandle<ISingleHit>(new ISingleHit(9, 2.0, TVector3(5, 0, 0))));
    EXPECT_TRUE(multi.GetRepresentativeHit() == first);
    EXPECT_DOUBLE_EQ(multi.GetCharge(), 3.0);
    EXPECT_DOUBLE_EQ(multi.GetPosition().X(), 1.0);

    IReconHit recon;
    recon.AddConstituent(MakeHit(1));
    EXPECT_EQ(recon.GetConstituentCount(), 1);
    EXPECT_EQ(recon.GetConstituent(0)->GetGeomId().AsInt(), 1);
    EXPECT_EQ(ISingleHit().GetConstituentCount(), 0);
    EXPECT_FALSE(ISingleHit().GetConstituent(0));
}

TEST(Hits, DigitsAreReachedThroughProxies) {
    IMCDigit simulated(12);
    IDigit real(13);
    ISingleHit hit(12, 1.0);
    hit.AddDigit(IDigitProxy(&simulated));
    hit.AddDigit(IDigitProxy(&real));
    hit.AddDigit(IDigitProxy());
    ASSERT_EQ(hit.GetDigitCount(), 3);
    EXPECT_EQ(*hit.GetDigit(0), &simulated);
    EXPECT_EQ(dynamic_cast<IMCDigit*>(*hit.GetDigit(1)), nullptr);
    EXPECT_EQ(*hit.GetDigit(2), nullptr);
    EXPECT_THROW(hit.GetDigit(3), std::out_of_range);
}
