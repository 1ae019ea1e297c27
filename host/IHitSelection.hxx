#ifndef ORVEX_IHitSelection_hxx_seen
#define ORVEX_IHitSelection_hxx_seen

#include <vector>

#include "IDatum.hxx"
#include "IHandle.hxx"
#include "IHit.hxx"

namespace ORVEX {
    class IHit;
    class IHitSelection;
}

/// A named list of hit handles.  Copying a selection shares its hits.
class ORVEX::IHitSelection : public IDatum, public std::vector<IHandle<IHit> > {
public:
    IHitSelection(const char* name = "hits", const char* title = "Hit Handles")
        : IDatum(name, title) {}
    virtual ~IHitSelection();
    virtual void push_back(const IHandle<IHit>& hit);
    /// Lists the selection and, with the option "hits", every hit in it.
    virtual void ls(Option_t* opt = "") const;
};

#endif
