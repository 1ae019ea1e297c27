#include "IChargeClusters.hxx"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <list>
#include <vector>

#include <IHitKinds.hxx>
#include <IORVEXLog.hxx>

#include "detail/BoxCellIndex.hxx"

namespace {
    typedef std::list<ORVEX::IHandle<ORVEX::IHit> > HitList;

    /// Largest accepted absolute value of any one coordinate, for a seed and
    /// for a finished combo hit.
    const double kPositionRange = 100000.0;

    /// A hit may join a member of up to this times the member's charge.
    const double kChargeSlope = 1.2;

    int reverse_charge_compare(const ORVEX::IHandle<ORVEX::IHit>& a,
                               const ORVEX::IHandle<ORVEX::IHit>& b) {
        return a->GetCharge() > b->GetCharge() ? 1 : 0;
    }

    /// True when every coordinate of the position is within the range.  The
    /// tests ask for a value above the range, so a NaN coordinate passes.
    bool InRange(const TVector3& position) {
        return !(std::fabs(position.X()) > kPositionRange ||
                 std::fabs(position.Y()) > kPositionRange ||
                 std::fabs(position.Z()) > kPositionRange);
    }

    /// Shows a finished combo hit whose position is out of range.
    void ReportOutOfRange(const ORVEX::IComboHit& combo) {
        const char* rule = "##############################################";
        ORVEXError("Combo hit position out of range.");
        std::cout << rule << std::endl;
        combo.ls("hits");
        std::cout << rule << std::endl;
    }

    /// Finishes the combo hits in order of creation and hands those in range
    /// to the result.  One out of range is reported and left out together
    /// with its members; the object is left as it is, unowned.
    void FinishClusters(const std::vector<ORVEX::IComboHit*>& comboHits,
                        ORVEX::IHitSelection& result) {
        for (std::size_t c = 0; c < comboHits.size(); ++c) {
            ORVEX::IComboHit* combo = comboHits[c];
            combo->FinishCombo();
            if (!InRange(combo->GetPosition())) {
                ReportOutOfRange(*combo);
                continue;
            }
            ORVEX::IHandle<ORVEX::IComboHit> handle(combo);
            result.push_back(ORVEX::IHandle<ORVEX::IHit>(handle));
        }
    }
}

ORVEX::IChargeClusters::IChargeClusters(double xGap, double yGap, double zGap)
    : fXGap(xGap), fYGap(yGap), fZGap(zGap) {}

ORVEX::IChargeClusters::~IChargeClusters() {}

// The pair test is not symmetric: the candidate is held against the
// member's charge only, so a small hit can always join a large one, and a
// large hit joins a small one only up to the slope.  A distance equal to a
// gap, and a charge equal to the slope times the member's, pass.  Every
// test asks for a rejection, so a NaN anywhere lets the pair through.
bool ORVEX::IChargeClusters::Joins(const RankedHit& free, const RankedHit& member) const {
    double xDelta = free.position.X() - member.position.X();
    double yDelta = free.position.Y() - member.position.Y();
    double zDelta = free.position.Z() - member.position.Z();
    if (free.charge > kChargeSlope * member.charge) return false;
    if (std::fabs(zDelta) > fZGap) return false;
    if (std::fabs(xDelta) > fXGap) return false;
    if (std::fabs(yDelta) > fYGap) return false;
    return true;
}

// Growing a cluster by walking the free list with a member cursor that goes
// back to the first member after every addition takes in the same hits, in
// the same order, as a breadth-first growth: each member in turn takes every
// free hit that joins it, in free-list order.  The seed's first walk takes
// all its joiners; a member whose walk found nothing never finds anything
// later, since the free list only shrinks; so after each addition the reset
// cursor passes over exhausted members and comes back to the one that made
// the addition, whose next joiner in list order is the next one taken.
// Here the free list is the ranks still free, and a member's joiners are
// looked for only among the hits of the cells around it.
void ORVEX::IChargeClusters::Grow(IComboHit& combo, std::size_t seed,
                                  const std::vector<RankedHit>& ranked,
                                  ovUtility::BoxCellIndex& freeHits) const {
    std::vector<std::size_t> members(1, seed);
    std::vector<std::size_t> joiners;
    for (std::size_t m = 0; m < members.size(); ++m) {
        const RankedHit& member = ranked[members[m]];
        joiners.clear();
        freeHits.ForEachCandidate(members[m], [&](std::size_t rank) {
            if (Joins(ranked[rank], member)) joiners.push_back(rank);
        });
        std::sort(joiners.begin(), joiners.end());
        for (std::size_t rank : joiners) {
            freeHits.Take(rank);
            combo.AddHit(ranked[rank].hit);
            members.push_back(rank);
        }
    }
}

ORVEX::IHitSelection* ORVEX::IChargeClusters::operator()(const IHitSelection& hits) {
    // A null handle among the hits throws from the sort (or, alone, from
    // reading its charge) and passes out; this selection is then not
    // released.
    IHitSelection* nhits = new IHitSelection(hits.GetName(), "Hit Handles");

    HitList freeList(hits.begin(), hits.end());
    // A stable sort: hits of equal charge keep their input order, and so
    // do the clusters they seed.  A hit's rank is its place in this list.
    freeList.sort(reverse_charge_compare);
    std::vector<RankedHit> ranked;
    ranked.reserve(freeList.size());
    for (HitList::const_iterator hit = freeList.begin(); hit != freeList.end(); ++hit)
        ranked.push_back(RankedHit{*hit, (*hit)->GetCharge(), (*hit)->GetPosition()});
    freeList.clear();

    std::vector<TVector3> positions;
    positions.reserve(ranked.size());
    for (const RankedHit& hit : ranked) positions.push_back(hit.position);
    const std::array<double, 3> gaps = {fXGap, fYGap, fZGap};
    ovUtility::BoxCellIndex freeHits(positions, gaps);

    // Seeds come in list order.  Hits of no positive charge (a NaN charge
    // isn't "at or below zero") and hits out of range are dropped without a
    // word; every cluster has grown as far as it can before the next seed.
    std::vector<IComboHit*> comboHits;
    for (std::size_t seed = 0; seed < ranked.size(); ++seed) {
        if (!freeHits.IsFree(seed)) continue;
        freeHits.Take(seed);
        if (ranked[seed].charge <= 0.0) continue;
        if (!InRange(ranked[seed].position)) continue;
        IComboHit* combo = new IComboHit;
        comboHits.push_back(combo);
        combo->PrepareCombo();
        combo->AddHit(ranked[seed].hit);
        Grow(*combo, seed, ranked, freeHits);
    }

    FinishClusters(comboHits, *nhits);
    return nhits;
}
