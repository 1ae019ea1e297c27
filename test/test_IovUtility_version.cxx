// The version record registers itself at load and stays the one record.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <TClass.h>
#include <IPackageVersion.hxx>

#include <IovUtility_version.hxx>

using ORVEX::IOVDatabase;
using ORVEX::IovUtility_version;
using ORVEX::IPackageVersion;

namespace {
    int RecordsNamedOvUtility() {
        const IOVDatabase::PackageSetType& set = IOVDatabase::Get().PackageSet();
        return std::count_if(set.begin(), set.end(), [](IPackageVersion* package) {
            return std::string(package->GetName()) == "ovUtility";
        });
    }
}

TEST(VersionRecord, IsRegisteredOnceAtLoad) {
    // No call of Get() has been made by this program before this line.
    const IOVDatabase::PackageSetType& set = IOVDatabase::Get().PackageSet();
    ASSERT_EQ(RecordsNamedOvUtility(), 1);
    IPackageVersion* registered = *std::find_if(set.begin(), set.end(), [](IPackageVersion* p) {
        return std::string(p->GetName()) == "ovUtility";
    });
    EXPECT_EQ(registered, IovUtility_version::Get());
    // Neither the starter object nor the guard value is in the set.
    EXPECT_EQ(set.count(reinterpret_cast<IPackageVersion*>(1)), 0u);
}

TEST(VersionRecord, GetAlwaysGivesTheSameRecord) {
    std::size_t before = IOVDatabase::Get().PackageSet().size();
    IovUtility_version* first = IovUtility_version::Get();
    for (int i = 0; i < 10; ++i) EXPECT_EQ(IovUtility_version::Get(), first);
    EXPECT_EQ(IOVDatabase::Get().PackageSet().size(), before);
}

TEST(VersionRecord, AHandMadeRecordChangesNothing) {
    IovUtility_version* record = IovUtility_version::Get();
    std::size_t before = IOVDatabase::Get().PackageSet().size();
    {
        IovUtility_version byHand;
        EXPECT_EQ(IovUtility_version::Get(), record);
        EXPECT_NE(&byHand, record);
    }
    EXPECT_EQ(IovUtility_version::Get(), record);
    EXPECT_EQ(IOVDatabase::Get().PackageSet().size(), before);
    EXPECT_EQ(RecordsNamedOvUtility(), 1);
}

TEST(VersionRecord, NameAndVersion) {
    EXPECT_STREQ(IovUtility_version::Get()->GetName(), "ovUtility");
    EXPECT_STREQ(IovUtility_version::Get()->GetVersion(), "v999");
}

TEST(VersionRecord, StampsDescribeThisBuild) {
    IovUtility_version* record = IovUtility_version::Get();
    EXPECT_STREQ(record->GetCompilationDirectory(), OVUTILITY_BINARY_DIR);
    std::string machine = record->GetCompilationMachineInfo();
    EXPECT_EQ(machine.rfind("Linux ", 0), 0u) << machine;
    // uname -a names the host right after the system.
    EXPECT_EQ(machine.find(record->GetCompilationHost()), 6u) << machine;
    std::string date = record->GetCompilationDate();
    EXPECT_NE(date.find(" 20"), std::string::npos) << date;  // `date` ends with the year
    EXPECT_NE(date.find(":"), std::string::npos) << date;
}

TEST(VersionRecord, HasAReflectionDictionaryOfVersionZero) {
    TClass* cls = TClass::GetClass("ORVEX::IovUtility_version");
    ASSERT_NE(cls, nullptr);
    EXPECT_TRUE(cls->HasDictionary());
    EXPECT_EQ(cls->GetClassVersion(), 0);
    EXPECT_EQ(IovUtility_version::Get()->IsA(), cls);
}
