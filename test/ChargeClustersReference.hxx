// The charge clusterer written as the literal step-by-step procedure: a
// free list walked with a member cursor that goes back to the first member
// after every addition, every combo hit grown again after each seed, and
// every charge and position read anew through the hit's handle.  It is slow
// on purpose; the library's clusterer is compared with it.
#ifndef ovUtility_test_ChargeClustersReference_hxx_seen
#define ovUtility_test_ChargeClustersReference_hxx_seen

#include <cmath>
#include <iostream>
#include <list>
#include <vector>

#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

#include "detail/NewOutOfLine.hxx"

namespace reference {
    class LiteralChargeClusters {
    public:
        LiteralChargeClusters(double xGap, double yGap, double zGap)
            : fXGap(xGap), fYGap(yGap), fZGap(zGap) {}

        ORVEX::IHitSelection* operator()(const ORVEX::IHitSelection& hits) const {
            ORVEX::IHitSelection* nhits =
                ovUtility::NewOutOfLine<ORVEX::IHitSelection>(hits.GetName(), "Hit Handles");
            std::list<ORVEX::IHandle<ORVEX::IHit> > freeList(hits.begin(), hits.end());
            freeList.sort(
                [](const ORVEX::IHandle<ORVEX::IHit>& a, const ORVEX::IHandle<ORVEX::IHit>& b) {
                    return a->GetCharge() > b->GetCharge() ? 1 : 0;
                });
            std::vector<ORVEX::IComboHit*> comboHits;
            while (!freeList.empty()) {
                SeedStage(freeList, comboHits);
                for (ORVEX::IComboHit* combo : comboHits) GrowthStage(*combo, freeList);
            }
            for (ORVEX::IComboHit* combo : comboHits) {
                combo->FinishCombo();
                const TVector3 position = combo->GetPosition();
                if (std::fabs(position.X()) > 100000.0 || std::fabs(position.Y()) > 100000.0 ||
                    std::fabs(position.Z()) > 100000.0) {
                    ORVEXError("Combo hit position out of range.");
                    std::cout << "##############################################" << std::endl;
                    combo->ls("hits");
                    std::cout << "##############################################" << std::endl;
                    continue;
                }
                nhits->push_back(
                    ORVEX::IHandle<ORVEX::IHit>(ORVEX::IHandle<ORVEX::IComboHit>(combo)));
            }
            return nhits;
        }

    private:
        void SeedStage(std::list<ORVEX::IHandle<ORVEX::IHit> >& freeList,
                       std::vector<ORVEX::IComboHit*>& comboHits) const {
            while (!freeList.empty()) {
                ORVEX::IHandle<ORVEX::IHit> hit = freeList.front();
                freeList.pop_front();
                if (hit->GetCharge() <= 0.0) continue;
                if (std::fabs(hit->GetPosition().X()) > 100000.0) continue;
                if (std::fabs(hit->GetPosition().Y()) > 100000.0) continue;
                if (std::fabs(hit->GetPosition().Z()) > 100000.0) continue;
                ORVEX::IComboHit* combo = ovUtility::NewOutOfLine<ORVEX::IComboHit>();
                comboHits.push_back(combo);
                combo->PrepareCombo();
                combo->AddHit(hit);
                return;
            }
        }

        void GrowthStage(ORVEX::IComboHit& combo,
                         std::list<ORVEX::IHandle<ORVEX::IHit> >& freeList) const {
            ORVEX::IHitSelection::const_iterator member = combo.GetHits().begin();
            while (member != combo.GetHits().end()) {
                auto free = freeList.begin();
                while (free != freeList.end()) {
                    double xDelta = (*free)->GetPosition().X() - (*member)->GetPosition().X();
                    double yDelta = (*free)->GetPosition().Y() - (*member)->GetPosition().Y();
                    double zDelta = (*free)->GetPosition().Z() - (*member)->GetPosition().Z();
                    if ((*free)->GetCharge() > 1.2 * (*member)->GetCharge() ||
                        std::fabs(zDelta) > fZGap || std::fabs(xDelta) > fXGap ||
                        std::fabs(yDelta) > fYGap) {
                        ++free;
                        continue;
                    }
                    combo.AddHit(*free);
                    member = combo.GetHits().begin();
                    free = freeList.erase(free);
                }
                ++member;
            }
        }

        double fXGap, fYGap, fZGap;
    };
}

#endif
