#include "IovUtility_version.hxx"

#include <IovUtility_version_stamps.h>

// Records with ROOT the file that implements the class.
ClassImp(ORVEX::IovUtility_version);

ORVEX::IovUtility_version* ORVEX::IovUtility_version::fThis = NULL;

ORVEX::IovUtility_version::IovUtility_version() {
    fThis = Get();
}

ORVEX::IovUtility_version::~IovUtility_version() {}

ORVEX::IovUtility_version* ORVEX::IovUtility_version::Get() {
    if (fThis) return fThis;
    // The constructor below calls Get() itself: this guard value makes that
    // inner call return at once instead of recursing.  Nothing else ever
    // sees it.
    fThis = reinterpret_cast<IovUtility_version*>(1);
    IovUtility_version* record = new IovUtility_version;
    fThis = record;
    fThis->Initialize();
    return fThis;
}

const char* ORVEX::IovUtility_version::GetName() const {
    return "ovUtility";
}

void ORVEX::IovUtility_version::Initialize() {
    IOVDatabase::Get().PackageSet().insert(fThis);
}

const char* ORVEX::IovUtility_version::GetVersion() const {
    return "v999";
}

const char* ORVEX::IovUtility_version::GetCompilationDate() const {
    return OVUTILITY_COMPILATION_DATE;
}

const char* ORVEX::IovUtility_version::GetCompilationHost() const {
    return OVUTILITY_COMPILATION_HOST;
}

const char* ORVEX::IovUtility_version::GetCompilationDirectory() const {
    return OVUTILITY_COMPILATION_DIRECTORY;
}

const char* ORVEX::IovUtility_version::GetCompilationMachineInfo() const {
    return OVUTILITY_COMPILATION_MACHINE;
}

/// The starter: building it at load creates and registers the record.  It
/// is only a starter: it is never registered, and at exit only it is
/// destroyed, leaving the heap record in place.
ORVEX::IovUtility_version ovUtility_version;
