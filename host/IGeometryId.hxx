#ifndef ORVEX_IGeometryId_hxx_seen
#define ORVEX_IGeometryId_hxx_seen

#include <Rtypes.h>

namespace ORVEX {
    class IGeometryId;
}

/// A channel identifier: one 32-bit word, read back as a signed int.
class ORVEX::IGeometryId {
public:
    explicit IGeometryId(int id = 0) : fGeometryId(static_cast<UInt_t>(id)) {}
    virtual ~IGeometryId() {}
    int AsInt() const { return static_cast<int>(fGeometryId); }

private:
    UInt_t fGeometryId;
};

#endif
