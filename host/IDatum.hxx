#ifndef ORVEX_IDatum_hxx_seen
#define ORVEX_IDatum_hxx_seen

#include <TNamed.h>

namespace ORVEX {
    class IDatum;
}

/// A named piece of event data.  fParent is the datum that holds this one
/// in an event, not owned; null for a free-standing datum.
class ORVEX::IDatum : public TNamed {
public:
    IDatum(const char* name = "datum", const char* title = "Datum")
        : TNamed(name, title), fParent(NULL) {}
    virtual ~IDatum() {}
    IDatum* GetParent() const { return fParent; }
    void SetParent(IDatum* parent) { fParent = parent; }

private:
    IDatum* fParent;
};

#endif
