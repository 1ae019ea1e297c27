#include "IChargeClusters.hxx"

#include <cmath>
#include <iostream>
#include <list>
#include <vector>

#include <IHitKinds.hxx>
#include <IORVEXLog.hxx>

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

    /// Each coordinate is read on a fresh access to the hit.
    bool SeedInRange(const ORVEX::IHandle<ORVEX::IHit>& hit) {
        if (std::fabs(hit->GetPosition().X()) > kPositionRange) return false;
        if (std::fabs(hit->GetPosition().Y()) > kPositionRange) return false;
        if (std::fabs(hit->GetPosition().Z()) > kPositionRange) return false;
        return true;
    }

    /// Takes hits off the front of the list until one may seed a cluster,
    /// and starts a combo hit with it.  Hits of no positive charge and hits
    /// out of range are dropped without a word.
    void StartCluster(HitList& freeList, std::vector<ORVEX::IComboHit*>& comboHits) {
        while (!freeList.empty()) {
            ORVEX::IHandle<ORVEX::IHit> hit = freeList.front();
            freeList.pop_front();
            // A NaN charge isn't "at or below zero", so it may seed.
            if (hit->GetCharge() <= 0.0) continue;
            if (!SeedInRange(hit)) continue;
            ORVEX::IComboHit* combo = new ORVEX::IComboHit;
            comboHits.push_back(combo);
            combo->PrepareCombo();
            combo->AddHit(hit);
            return;
        }
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
// gap, and a charge equal to the slope times the member's, pass.
bool ORVEX::IChargeClusters::Joins(const IHandle<IHit>& free,
                                   const IHandle<IHit>& member) const {
    double xDelta = free->GetPosition().X() - member->GetPosition().X();
    double yDelta = free->GetPosition().Y() - member->GetPosition().Y();
    double zDelta = free->GetPosition().Z() - member->GetPosition().Z();
    if (free->GetCharge() > kChargeSlope * member->GetCharge()) return false;
    if (std::fabs(zDelta) > fZGap) return false;
    if (std::fabs(xDelta) > fXGap) return false;
    if (std::fabs(yDelta) > fYGap) return false;
    return true;
}

// Walks the free list once per member.  The end of the members is read
// anew on every pass, since the cluster grows while it is walked.
void ORVEX::IChargeClusters::Grow(IComboHit& combo,
                                  std::list<IHandle<IHit> >& freeList) const {
    IHitSelection::const_iterator member = combo.GetHits().begin();
    while (member != combo.GetHits().end()) {
        HitList::iterator free = freeList.begin();
        while (free != freeList.end()) {
            if (!Joins(*free, *member)) {
                ++free;
                continue;
            }
            combo.AddHit(*free);
            // Adding may move the member vector, so the walk goes on with
            // the first member.  Every other member is then tried again,
            // and the growth ends only when no free hit joins any member.
            member = combo.GetHits().begin();
            free = freeList.erase(free);
        }
        ++member;
    }
}

ORVEX::IHitSelection* ORVEX::IChargeClusters::operator()(const IHitSelection& hits) {
    // A null handle among the hits throws from the sort (or, alone, from the
    // seed stage) and passes out; this selection is then not released.
    IHitSelection* nhits = new IHitSelection(hits.GetName(), "Hit Handles");

    HitList freeList(hits.begin(), hits.end());
    // A stable sort: hits of equal charge keep their input order, and so
    // do the clusters they seed.
    freeList.sort(reverse_charge_compare);

    std::vector<IComboHit*> comboHits;
    while (!freeList.empty()) {
        StartCluster(freeList, comboHits);
        // Every combo hit is grown again, old ones included.  The old ones
        // find nothing, since they took all they could on their first pass
        // and the free list only shrinks.
        for (std::size_t c = 0; c < comboHits.size(); ++c) Grow(*comboHits[c], freeList);
    }

    FinishClusters(comboHits, *nhits);
    return nhits;
}
