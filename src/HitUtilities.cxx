#include "HitUtilities.hxx"

#include <algorithm>
#include <iterator>

bool hits::Equal(const IHandle<IHit>& a, const IHandle<IHit>& b) {
    return a == b;
}

bool hits::Equiv(const IHandle<IHit>& a, const IHandle<IHit>& b) {
    if (a == b) return true;
    IHitSelection leavesA("hits", "Hit Handles");
    UnpackHits(a, std::back_inserter(leavesA));
    IHitSelection leavesB("hits", "Hit Handles");
    UnpackHits(b, std::back_inserter(leavesB));
    for (IHitSelection::const_iterator leafA = leavesA.begin(); leafA != leavesA.end(); ++leafA) {
        for (IHitSelection::const_iterator leafB = leavesB.begin(); leafB != leavesB.end();
             ++leafB) {
            if (*leafA == *leafB) return true;
        }
    }
    return false;
}

void hits::Subtract(IHitSelection& hits, const IHitSelection& other) {
    IOverlappedHitFilter filter(other);
    IHitSelection::iterator kept =
        ORVEX::copy_hits_if(hits.begin(), hits.end(), hits.begin(), filter);
    if (kept != hits.end()) hits.erase(kept, hits.end());
}

void hits::Unique(IHitSelection& hits) {
    std::sort(hits.begin(), hits.end(), geomIdLessThan());
    IHitSelection::iterator last = std::unique(hits.begin(), hits.end(), geomIdEquals());
    hits.erase(last, hits.end());
}
