#ifndef ORVEX_IPackageVersion_hxx_seen
#define ORVEX_IPackageVersion_hxx_seen

#include <set>

#include <TObject.h>

namespace ORVEX {
    class IPackageVersion;
    class IOVDatabase;
}

/// What a package tells the framework about itself.  Each package derives
/// its record from this class and enters it in IOVDatabase's package set.
class ORVEX::IPackageVersion : public TObject {
public:
    IPackageVersion() {}
    virtual ~IPackageVersion() {}
    virtual const char* GetName() const = 0;
    virtual void Initialize() = 0;
    virtual const char* GetVersion() const = 0;
    virtual const char* GetCompilationDate() const = 0;
    virtual const char* GetCompilationHost() const = 0;
    virtual const char* GetCompilationDirectory() const = 0;
};

/// The host database: here, only the set of loaded packages.
class ORVEX::IOVDatabase {
public:
    typedef std::set<IPackageVersion*> PackageSetType;

    /// Usable from static initialisation of any library, before main.
    static IOVDatabase& Get();
    PackageSetType& PackageSet() { return fPackageSet; }

private:
    IOVDatabase() {}
    IOVDatabase(const IOVDatabase&);
    IOVDatabase& operator=(const IOVDatabase&);

    PackageSetType fPackageSet;
};

#endif
