#include "IPackageVersion.hxx"

ORVEX::IOVDatabase& ORVEX::IOVDatabase::Get() {
    // Function-local: built on first use, whichever library's static code
    // asks first.
    static IOVDatabase database;
    return database;
}
