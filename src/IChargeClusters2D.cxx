#include "IChargeClusters2D.hxx"

#include <cmath>
#include <cstdint>
#include <iostream>
#include <vector>

#include <IORVEXLog.hxx>

namespace {
    using ORVEX::IComboHit;
    using ORVEX::IHandle;
    using ORVEX::IHit;

    /// The largest accepted absolute value of any one coordinate of a seed
    /// or of a finished combo hit.
    const double kPositionRange = 100000.0;

    /// A normal nearer than this angle (radians) to +Y can't make the
    /// in-plane axes from Y, and is replaced.
    const double kNearYAngle = 0.001;

    const char* const kHashLine = "##############################################";

    bool OutOfRange(const TVector3& position) {
        return std::abs(position.X()) > kPositionRange ||
               std::abs(position.Y()) > kPositionRange ||
               std::abs(position.Z()) > kPositionRange;
    }

    /// Orders the free list upward along the normal, and hits of one plane
    /// (nearer than `prec`) by descending charge.  This is no strict weak
    /// order, since the tolerance doesn't chain; the order that comes out is
    /// the one that std::list::sort, a stable bottom-up merge, makes of it.
    class IHit_compare {
    public:
        IHit_compare(double prec, const TVector3& zPlane)
            : fPrec(prec), fZPlane(zPlane) {}

        int operator()(const IHandle<IHit>& a, const IHandle<IHit>& b) const {
            TVector3 aPosition = a->GetPosition();
            TVector3 bPosition = b->GetPosition();
            double aZ = aPosition.Dot(fZPlane);
            double bZ = bPosition.Dot(fZPlane);
            if (std::abs(aZ - bZ) < fPrec) return a->GetCharge() > b->GetCharge();
            return aZ < bZ;
        }

    private:
        double fPrec;
        TVector3 fZPlane;
    };

    /// Take seeds off the front of the list until one has a positive charge
    /// and lies in range, and start a combo hit with it.  Hits that fail are
    /// dropped silently.
    void StartNextCluster(std::list<IHandle<IHit> >& freeList,
                          std::vector<IComboHit*>& comboHits) {
        while (!freeList.empty()) {
            IHandle<IHit> seed = freeList.front();
            freeList.pop_front();
            if (seed->GetCharge() <= 0.0) continue;
            if (OutOfRange(seed->GetPosition())) continue;
            IComboHit* combo = new IComboHit;
            comboHits.push_back(combo);
            combo->PrepareCombo();
            combo->AddHit(seed);
            return;
        }
    }

    /// The report of a finished combo hit out of range.  Its text differs
    /// from the box clusterer's (no full stop, two closing lines) and is
    /// kept so for the readers of existing logs.
    void ReportOutOfRange(const IComboHit& combo) {
        ORVEXError("Combo hit position out of range");
        std::cout << kHashLine << std::endl;
        combo.ls("hits");
        std::cout << kHashLine << std::endl;
        std::cout << kHashLine << std::endl;
    }
}

ORVEX::IChargeClusters2D::IChargeClusters2D(double xGap, double yGap, double prec,
                                            TVector3 plane)
    : fXGap(xGap), fYGap(yGap), fPrec(prec), fChargeRatio(10000.0),
      fMaxHitsToCluster(1000000) {
    const TVector3 yAxis(0.0, 1.0, 0.0);
    fZPlane = plane.Unit();
    if (fZPlane.Angle(yAxis) > kNearYAngle) {
        // Deliberately not normalised: both axes have the length of the sine
        // of the angle between the normal and Y, and the gaps apply to the
        // distances measured along these shorter axes.  A normal along -Y
        // makes them null, so that only the band and the charge decide.
        fXPlane = yAxis.Cross(fZPlane);
        fYPlane = fXPlane.Cross(fZPlane);
    } else {
        // A normal along +Y is replaced by X, and Y becomes an in-plane axis.
        fXPlane = TVector3(0.0, 1.0, 0.0);
        fYPlane = TVector3(0.0, 0.0, 1.0);
        fZPlane = TVector3(1.0, 0.0, 0.0);
    }
}

ORVEX::IChargeClusters2D::~IChargeClusters2D() {}

ORVEX::IHitSelection* ORVEX::IChargeClusters2D::operator()(const IHitSelection& hits) {
    IHitSelection* result = new IHitSelection(hits.GetName(), "Hit Handles");
    FreeList freeList(hits.begin(), hits.end());
    freeList.sort(IHit_compare(fPrec, fZPlane));

    std::vector<IComboHit*> comboHits;
    while (!freeList.empty()) {
        StartNextCluster(freeList, comboHits);
        // The old combo hits are walked again too: a hit that a band stop
        // hid from them may have become reachable since.
        for (IComboHit* combo : comboHits) Grow(*combo, freeList);
    }
    for (IComboHit* combo : comboHits) Finish(combo, *result);
    return result;
}

ORVEX::IChargeClusters2D::PairResult ORVEX::IChargeClusters2D::TestPair(
    const IHandle<IHit>& member, const IHandle<IHit>& candidate) const {
    // Values on a limit pass: every test rejects only strictly beyond it.
    double zDelta = candidate->GetPosition().Dot(fZPlane) -
                    member->GetPosition().Dot(fZPlane);
    if (zDelta < -fPrec) return kRejected;
    if (zDelta > fPrec) return kAboveBand;
    if (candidate->GetCharge() > fChargeRatio * member->GetCharge()) return kRejected;
    double xDelta = candidate->GetPosition().Dot(fXPlane) -
                    member->GetPosition().Dot(fXPlane);
    double yDelta = candidate->GetPosition().Dot(fYPlane) -
                    member->GetPosition().Dot(fYPlane);
    if (std::abs(xDelta) > fXGap) return kRejected;
    if (std::abs(yDelta) > fYGap) return kRejected;
    return kJoins;
}

void ORVEX::IChargeClusters2D::Grow(IComboHit& combo, FreeList& freeList) const {
    IHitSelection::const_iterator member = combo.GetHits().begin();
    while (member != combo.GetHits().end()) {
        FreeList::iterator candidate = freeList.begin();
        while (candidate != freeList.end()) {
            PairResult pair = TestPair(*member, *candidate);
            // The list runs upward along the normal, so the first hit above
            // the band ends the walk for this member.
            if (pair == kAboveBand) break;
            if (pair == kRejected) {
                ++candidate;
                continue;
            }
            combo.AddHit(*candidate);
            // Adding may move the member vector: start again from the first
            // member, while the walk over the free list carries on.
            member = combo.GetHits().begin();
            candidate = freeList.erase(candidate);
        }
        ++member;
    }
}

void ORVEX::IChargeClusters2D::Finish(IComboHit* combo, IHitSelection& result) const {
    const IHitSelection& members = combo->GetHits();
    if (members.size() > static_cast<std::uint32_t>(fMaxHitsToCluster)) {
        // Too large to be one hit: give the members back one by one.
        for (const IHandle<IHit>& member : members) result.push_back(member);
        delete combo;
        return;
    }
    combo->FinishCombo();
    if (OutOfRange(combo->GetPosition())) {
        // The combo hit is left as it is, neither returned nor deleted, and
        // its members are lost to the result with it.
        ReportOutOfRange(*combo);
        return;
    }
    result.push_back(IHandle<IHit>(IHandle<IComboHit>(combo)));
}
