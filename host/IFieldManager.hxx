#ifndef ORVEX_IFieldManager_hxx_seen
#define ORVEX_IFieldManager_hxx_seen

#include <functional>

#include <TLorentzVector.h>
#include <TVector3.h>

namespace ORVEX {
    class IFieldManager;
    /// The host's field manager.
    IFieldManager& Bman();
}

/// The magnetic field of the detector, in the host's unit: 0.001 is one
/// tesla.  A program installs the field it wants (a uniform one, or any
/// function of position and time); until then the field is zero.  Every
/// lookup is counted, so that a program can tell how many were made.
class ORVEX::IFieldManager {
public:
    typedef std::function<TVector3(const TLorentzVector&)> FieldMap;

    static TVector3 GetFieldValue(const TLorentzVector& positionAndTime);
    /// The field at a position, at time zero.
    static TVector3 GetFieldValue(const TVector3& position);

    static void SetUniformField(const TVector3& field);
    static void SetFieldMap(const FieldMap& map);

    /// Lookups made since the last ResetLookupCount().
    static long GetLookupCount();
    static void ResetLookupCount();

private:
    static FieldMap& Map();
    static long fLookups;
};

#endif
