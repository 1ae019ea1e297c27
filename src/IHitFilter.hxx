#ifndef ORVEX_IHitFilter_hxx_seen
#define ORVEX_IHitFilter_hxx_seen

#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitSelection.hxx>

namespace ORVEX {
    class IHitFilter;

    /// Copy the hits of [begin, end) that `pred` accepts to `result`, in
    /// order, and give the position after the last one written.  The target
    /// may be the source range itself as long as it starts at or before it.
    template <typename OutputIterator>
    OutputIterator copy_hits_if(IHitSelection::const_iterator begin,
                                IHitSelection::const_iterator end, OutputIterator result,
                                const IHitFilter& pred);
}

/// A predicate over hits.  The base filter accepts every hit.
class ORVEX::IHitFilter {
public:
    virtual ~IHitFilter() {}
    /// True when the hit passes; this base passes every hit.
    virtual bool operator()(const IHandle<IHit>&) const { return true; }
};

template <typename OutputIterator>
OutputIterator ORVEX::copy_hits_if(IHitSelection::const_iterator begin,
                                   IHitSelection::const_iterator end, OutputIterator result,
                                   const IHitFilter& pred) {
    for (; begin != end; ++begin) {
        if (!pred(*begin)) continue;
        // The copy keeps the hit alive while it is assigned over itself or
        // over an earlier slot of the same selection.
        IHandle<IHit> hit = *begin;
        *result = hit;
        ++result;
    }
    return result;
}

#endif
