#ifndef ORVEX_IovUtility_version_hxx_seen
#define ORVEX_IovUtility_version_hxx_seen

#include <Rtypes.h>

#include <IPackageVersion.hxx>

namespace ORVEX {
    class IovUtility_version;
}

/// The version record of this library.  Loading the library creates the
/// one record and enters it in the host's package set; every value it
/// gives is a constant fixed when the library was built.
class ORVEX::IovUtility_version : public IPackageVersion {
public:
    IovUtility_version();
    virtual ~IovUtility_version();

    /// The one record, created and registered on first use.
    static IovUtility_version* Get();

    /// The package name, "ovUtility".
    virtual const char* GetName() const;
    /// Registers the record in the package set.
    virtual void Initialize();
    /// The package version.
    virtual const char* GetVersion() const;
    /// The date the library was built, as `date` writes it.
    virtual const char* GetCompilationDate() const;
    /// The host the library was built on.
    virtual const char* GetCompilationHost() const;
    /// The build directory.
    virtual const char* GetCompilationDirectory() const;

    /// The build machine as `uname -a` described it.
    const char* GetCompilationMachineInfo() const;

private:
    static IovUtility_version* fThis;

    ClassDef(IovUtility_version, 0);
};

#endif
