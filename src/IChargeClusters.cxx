#include "IChargeClusters.hxx"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <list>
#include <numeric>
#include <vector>

#include <IHitKinds.hxx>
#include <IORVEXLog.hxx>

#include "detail/BoxCellIndex.hxx"
#include "detail/NewOutOfLine.hxx"

namespace {
    /// Largest accepted absolute value of any one coordinate, for a seed and
    /// for a finished combo hit.
    const double kPositionRange = 100000.0;

    /// A hit may join a member of up to this times the member's charge.
    const double kChargeSlope = 1.2;

    /// True when every coordinate of the position is within the range.  The
    /// tests ask for a value above the range, so a NaN coordinate passes.
    bool InRange(double x, double y, double z) {
        return !(std::fabs(x) > kPositionRange || std::fabs(y) > kPositionRange ||
                 std::fabs(z) > kPositionRange);
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
            const TVector3& position = combo->GetPosition();
            if (!InRange(position.X(), position.Y(), position.Z())) {
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
    double xDelta = free.position[0] - member.position[0];
    double yDelta = free.position[1] - member.position[1];
    double zDelta = free.position[2] - member.position[2];
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
            combo.AddHit(*ranked[rank].hit);
            members.push_back(rank);
        }
    }
}

// The free list is sorted by descending charge with std::list::sort, a
// stable merge sort: hits of equal charge keep their input order, and so do
// the clusters they seed.  A hit's rank is its place in this order.  Without
// a NaN charge the comparison is a strict weak order and every stable sort
// gives that order.  A NaN compares equal to everything, and then only the
// same merge sort, of the hits' places with the same comparison of the same
// charges, gives the same order.
std::vector<ORVEX::IChargeClusters::RankedHit> ORVEX::IChargeClusters::RankByCharge(
    const IHitSelection& hits) {
    std::vector<double> charges;
    charges.reserve(hits.size());
    for (const IHandle<IHit>& hit : hits) charges.push_back(hit->GetCharge());
    auto higher = [&charges](std::size_t a, std::size_t b) { return charges[a] > charges[b]; };
    std::vector<std::size_t> order(hits.size());
    std::iota(order.begin(), order.end(), 0);
    if (std::none_of(charges.begin(), charges.end(), [](double q) { return std::isnan(q); })) {
        std::stable_sort(order.begin(), order.end(), higher);
    } else {
        std::list<std::size_t> merged(order.begin(), order.end());
        merged.sort(higher);
        order.assign(merged.begin(), merged.end());
    }

    std::vector<RankedHit> ranked;
    ranked.reserve(hits.size());
    for (std::size_t i : order) {
        const TVector3& position = hits[i]->GetPosition();
        ranked.push_back(
            RankedHit{&hits[i], charges[i], {{position.X(), position.Y(), position.Z()}}});
    }
    return ranked;
}

ORVEX::IHitSelection* ORVEX::IChargeClusters::operator()(const IHitSelection& hits) {
    // A null handle among the hits throws when its charge is read for the
    // sort and passes out; this selection is then not released.
    IHitSelection* nhits = ovUtility::NewOutOfLine<IHitSelection>(hits.GetName(), "Hit Handles");

    std::vector<RankedHit> ranked = RankByCharge(hits);
    std::vector<ovUtility::BoxCellIndex::Point> positions;
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
        const std::array<double, 3>& position = ranked[seed].position;
        if (!InRange(position[0], position[1], position[2])) continue;
        IComboHit* combo = ovUtility::NewOutOfLine<IComboHit>();
        comboHits.push_back(combo);
        combo->PrepareCombo();
        combo->AddHit(*ranked[seed].hit);
        Grow(*combo, seed, ranked, freeHits);
    }

    FinishClusters(comboHits, *nhits);
    return nhits;
}
