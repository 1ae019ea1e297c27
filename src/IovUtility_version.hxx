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

    virtual const char* GetName() const;
    virtual void Initialize();
    virtual const char* GetVersion() const;
    virtual const char* GetCompilationDate() const;
    virtual const char* GetCompilationHost() const;
    virtual const char* GetCompilationDirectory() const;

    /// The build machine as `uname -a` described it.
    const char* GetCompilationMachineInfo() const;

private:
    static IovUtility_version* fThis;

    ClassDef(IovUtility_version, 0);
};

#endif
