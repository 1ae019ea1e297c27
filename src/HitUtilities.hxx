#ifndef ORVEX_HitUtilities_hxx_seen
#define ORVEX_HitUtilities_hxx_seen

#include <algorithm>
#include <functional>
#include <vector>

#include <EovUtility.hxx>
#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

#include "IHitFilter.hxx"

namespace ORVEX {
    /// A combo hit found among its own members, directly or deeper down;
    /// thrown by hits::UnpackHits, which would otherwise never end.
    ORVEX_EXCEPTION(ECyclicComboHit, EovUtility);
}

/// Set arithmetic on hits.  Two hits are the same when they share a leaf
/// hit, never because their fields agree.
namespace hits {
    using ORVEX::IHandle;
    using ORVEX::IHit;
    using ORVEX::IHitSelection;

    /// True when both handles refer to one object.
    bool Equal(const IHandle<IHit>& a, const IHandle<IHit>& b);

    /// True when the two hits share at least one leaf hit.
    bool Equiv(const IHandle<IHit>& a, const IHandle<IHit>& b);

    /// Remove in place, keeping the order, every hit of `hits` that
    /// overlaps (Equiv) any hit of `other`.
    void Subtract(IHitSelection& hits, const IHitSelection& other);

    /// Sort `hits` by signed geometry id and keep one hit per id.  Which of
    /// several hits of one id survives is not fixed.
    void Unique(IHitSelection& hits);

    /// Write the leaves of `h` to `result`, depth first: a hit that isn't
    /// a combo hit (a null handle too) is its own leaf.  A combo hit that
    /// contains itself throws ORVEX::ECyclicComboHit.
    template <typename OutputIterator>
    void UnpackHits(const IHandle<IHit>& h, OutputIterator result);

    namespace detail {
        /// UnpackHits below the combo hits in `opened`, the ones being
        /// unpacked on the way down from the top.
        template <typename OutputIterator>
        void UnpackHits(const IHandle<IHit>& h, OutputIterator result,
                        std::vector<const TObject*>& opened);
    }

    class IOverlappedHitFilter;

// std::binary_function is deprecated, but callers' generic code may still
// read its typedefs, so the comparators keep it as their base.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    /// Orders hits by signed geometry id.
    struct geomIdLessThan : public std::binary_function<IHandle<IHit>, IHandle<IHit>, bool> {
        /// True when `lhs` has the smaller geometry id.
        bool operator()(IHandle<IHit> lhs, IHandle<IHit> rhs) const {
            return lhs->GetGeomId().AsInt() < rhs->GetGeomId().AsInt();
        }
    };

    /// Hits of the same geometry id.
    struct geomIdEquals : public std::binary_function<IHandle<IHit>, IHandle<IHit>, bool> {
        /// True when both hits have the same geometry id.
        bool operator()(IHandle<IHit> lhs, IHandle<IHit> rhs) const {
            return lhs->GetGeomId().AsInt() == rhs->GetGeomId().AsInt();
        }
    };
#pragma GCC diagnostic pop
}

/// Keeps the hits that overlap nothing in a selection.  The selection is
/// referred to, not copied, and must outlive the filter.
class hits::IOverlappedHitFilter : public ORVEX::IHitFilter {
public:
    /// A filter against the hits of `hits`, which it keeps a copy of.
    explicit IOverlappedHitFilter(const IHitSelection& hits) : fHits(hits) {}
    /// True when `c` overlaps none of the kept hits.
    virtual bool operator()(const IHandle<IHit>& c) const;

private:
    const IHitSelection& fHits;
};

inline bool hits::IOverlappedHitFilter::operator()(const IHandle<IHit>& c) const {
    for (IHitSelection::const_iterator hit = fHits.begin(); hit != fHits.end(); ++hit) {
        if (Equiv(c, *hit)) return false;
    }
    return true;
}

template <typename OutputIterator>
void hits::UnpackHits(const IHandle<IHit>& h, OutputIterator result) {
    std::vector<const TObject*> opened;
    detail::UnpackHits(h, result, opened);
}

template <typename OutputIterator>
void hits::detail::UnpackHits(const IHandle<IHit>& h, OutputIterator result,
                              std::vector<const TObject*>& opened) {
    IHandle<ORVEX::IComboHit> c(h);
    if (!c) {
        *result = h;
        return;
    }
    // Only a combo hit on the way down is a cycle: one shared by two
    // members is unpacked twice, and its leaves stay duplicated.
    const TObject* combo = c.GetPointerValue();
    if (std::find(opened.begin(), opened.end(), combo) != opened.end()) {
        ORVEXError("hits::UnpackHits: combo hit " << combo << " contains itself at depth "
                                                  << opened.size());
        throw ORVEX::ECyclicComboHit();
    }
    opened.push_back(combo);
    const IHitSelection& members = c->GetHits();
    for (IHitSelection::const_iterator member = members.begin(); member != members.end();
         ++member) {
        UnpackHits(*member, result, opened);
    }
    opened.pop_back();
}

#endif
