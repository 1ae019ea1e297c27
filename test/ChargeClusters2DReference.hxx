// The plane-by-plane charge clusterer written as the literal step-by-step
// procedure: the free list sorted along the normal with std::list::sort,
// walked from its start for every member with a stop at the first hit above
// the member's band, the member cursor back to the first member after every
// addition, and every combo hit walked again after each seed.  The
// library's clusterer is compared with it.
#ifndef ovUtility_test_ChargeClusters2DReference_hxx_seen
#define ovUtility_test_ChargeClusters2DReference_hxx_seen

#include <cmath>
#include <cstdint>
#include <iostream>
#include <list>
#include <vector>

#include <TVector3.h>

#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

#include "detail/NewOutOfLine.hxx"

namespace reference {
    class LiteralChargeClusters2D {
    public:
        LiteralChargeClusters2D(double xGap, double yGap, double prec, TVector3 plane)
            : fXGap(xGap), fYGap(yGap), fPrec(prec) {
            const TVector3 yAxis(0.0, 1.0, 0.0);
            fZPlane = plane.Unit();
            if (fZPlane.Angle(yAxis) > 0.001) {
                fXPlane = yAxis.Cross(fZPlane);
                fYPlane = fXPlane.Cross(fZPlane);
            } else {
                fXPlane = TVector3(0.0, 1.0, 0.0);
                fYPlane = TVector3(0.0, 0.0, 1.0);
                fZPlane = TVector3(1.0, 0.0, 0.0);
            }
        }

        double fChargeRatio = 10000.0;
        int fMaxHitsToCluster = 1000000;

        ORVEX::IHitSelection* operator()(const ORVEX::IHitSelection& hits) const {
            typedef ORVEX::IHandle<ORVEX::IHit> Handle;
            ORVEX::IHitSelection* result =
                ovUtility::NewOutOfLine<ORVEX::IHitSelection>(hits.GetName(), "Hit Handles");
            std::list<Handle> freeList(hits.begin(), hits.end());
            const double prec = fPrec;
            const TVector3 zPlane = fZPlane;
            freeList.sort([prec, zPlane](const Handle& a, const Handle& b) -> int {
                TVector3 aPosition = a->GetPosition();
                TVector3 bPosition = b->GetPosition();
                double aZ = aPosition.Dot(zPlane);
                double bZ = bPosition.Dot(zPlane);
                if (std::abs(aZ - bZ) < prec) return a->GetCharge() > b->GetCharge();
                return aZ < bZ;
            });
            std::vector<ORVEX::IComboHit*> comboHits;
            while (!freeList.empty()) {
                while (!freeList.empty()) {
                    Handle seed = freeList.front();
                    freeList.pop_front();
                    if (seed->GetCharge() <= 0.0) continue;
                    if (OutOfRange(seed->GetPosition())) continue;
                    ORVEX::IComboHit* combo = ovUtility::NewOutOfLine<ORVEX::IComboHit>();
                    comboHits.push_back(combo);
                    combo->PrepareCombo();
                    combo->AddHit(seed);
                    break;
                }
                for (ORVEX::IComboHit* combo : comboHits) Grow(*combo, freeList);
            }
            for (ORVEX::IComboHit* combo : comboHits) Finish(combo, *result);
            return result;
        }

    private:
        static bool OutOfRange(const TVector3& position) {
            return std::abs(position.X()) > 100000.0 || std::abs(position.Y()) > 100000.0 ||
                   std::abs(position.Z()) > 100000.0;
        }

        void Grow(ORVEX::IComboHit& combo,
                  std::list<ORVEX::IHandle<ORVEX::IHit> >& freeList) const {
            ORVEX::IHitSelection::const_iterator member = combo.GetHits().begin();
            while (member != combo.GetHits().end()) {
                auto candidate = freeList.begin();
                while (candidate != freeList.end()) {
                    double zDelta = (*candidate)->GetPosition().Dot(fZPlane) -
                                    (*member)->GetPosition().Dot(fZPlane);
                    if (zDelta < -fPrec) {
                        ++candidate;
                        continue;
                    }
                    if (zDelta > fPrec) break;
                    if ((*candidate)->GetCharge() > fChargeRatio * (*member)->GetCharge()) {
                        ++candidate;
                        continue;
                    }
                    double xDelta = (*candidate)->GetPosition().Dot(fXPlane) -
                                    (*member)->GetPosition().Dot(fXPlane);
                    double yDelta = (*candidate)->GetPosition().Dot(fYPlane) -
                                    (*member)->GetPosition().Dot(fYPlane);
                    if (std::abs(xDelta) > fXGap || std::abs(yDelta) > fYGap) {
                        ++candidate;
                        continue;
                    }
                    combo.AddHit(*candidate);
                    member = combo.GetHits().begin();
                    candidate = freeList.erase(candidate);
                }
                ++member;
            }
        }

        void Finish(ORVEX::IComboHit* combo, ORVEX::IHitSelection& result) const {
            const ORVEX::IHitSelection& members = combo->GetHits();
            if (members.size() > static_cast<std::uint32_t>(fMaxHitsToCluster)) {
                for (const ORVEX::IHandle<ORVEX::IHit>& member : members) result.push_back(member);
                delete combo;
                return;
            }
            combo->FinishCombo();
            if (OutOfRange(combo->GetPosition())) {
                ORVEXError("Combo hit position out of range");
                std::cout << "##############################################" << std::endl;
                combo->ls("hits");
                std::cout << "##############################################" << std::endl;
                std::cout << "##############################################" << std::endl;
                return;
            }
            result.push_back(ORVEX::IHandle<ORVEX::IHit>(ORVEX::IHandle<ORVEX::IComboHit>(combo)));
        }

        double fXGap, fYGap, fPrec;
        TVector3 fXPlane, fYPlane, fZPlane;
    };
}

#endif
