#ifndef ORVEX_retrieveHitTruthInfo_hxx_seen
#define ORVEX_retrieveHitTruthInfo_hxx_seen

#include <vector>

#include <IDigit.hxx>
#include <IHandle.hxx>
#include <IHit.hxx>

/// The road from a hit to the simulated energy deposits behind it.
namespace HitTruthInfo {
    /// The deposits behind `hit`, found by the first of these routes that
    /// applies: the hit's first digit when it is a simulated digit; the
    /// contributors of a simulated hit; the representative hit of a
    /// multi-hit (without duplicates, ascending by address); the members of
    /// a combo hit; the constituents of a reconstructed hit.  Combo and
    /// reconstructed hits keep the order of their parts and any duplicates.
    /// A hit of real data gives an empty vector.  The pointers are borrowed
    /// from the digits and hits they came from.  A null handle anywhere in
    /// the tree throws EHandleBadReference.
    std::vector<ORVEX::IG4VHit*> GetHitTruthInfo(ORVEX::IHandle<ORVEX::IHit> hit);
}

#endif
