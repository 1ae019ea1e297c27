// The hit foundation: a small synthetic event, its set arithmetic, and the
// packages this program was linked with.
#include "TourSection.hxx"

#include <iostream>
#include <iterator>

#include <IPackageVersion.hxx>

#include <HitUtilities.hxx>
#include <IovUtility_version.hxx>

using namespace ORVEX;

namespace {
    IHandle<IHit> MakeHit(int id, double charge, double x, double y) {
        return IHandle<IHit>(new ISingleHit(id, charge, TVector3(x, y, 0.0)));
    }

    IHandle<IHit> MakeCombo(const IHitSelection& members) {
        IComboHit* combo = new IComboHit;
        combo->PrepareCombo();
        for (const IHandle<IHit>& member : members) combo->AddHit(member);
        combo->FinishCombo();
        return IHandle<IHit>(combo);
    }

    void Print(const char* what, const IHitSelection& selection) {
        std::cout << what << ":";
        for (const IHandle<IHit>& hit : selection) {
            std::cout << " " << hit->GetGeomId().AsInt();
        }
        std::cout << std::endl;
    }

    void Hits() {
        IHitSelection event("event", "Synthetic event");
        for (int i = 0; i < 6; ++i) event.push_back(MakeHit(i, 1.0 + i, 10.0 * i, 5.0));
        event.push_back(MakeHit(2, 9.0, 20.0, 6.0));  // a second hit on channel 2
        Print("event channels", event);

        IHitSelection pair;
        pair.push_back(event[1]);
        pair.push_back(event[2]);
        IHandle<IHit> combo = MakeCombo(pair);
        IHitSelection nested;
        nested.push_back(combo);
        nested.push_back(event[4]);
        IHandle<IHit> outer = MakeCombo(nested);
        std::cout << "combo of channels 1 and 2 at x = " << combo->GetPosition().X() << ", charge "
                  << combo->GetCharge() << std::endl;

        std::cout << "Equiv(hit 1, combo) = " << hits::Equiv(event[1], combo)
                  << ", Equiv(hit 3, combo) = " << hits::Equiv(event[3], combo) << std::endl;

        IHitSelection leaves;
        hits::UnpackHits(outer, std::back_inserter(leaves));
        Print("leaves of the nested combo", leaves);

        IHitSelection rest = event;
        IHitSelection used;
        used.push_back(outer);
        hits::Subtract(rest, used);
        Print("event minus the nested combo", rest);

        IHitSelection channels = event;
        hits::Unique(channels);
        Print("one hit per channel", channels);
    }

    void Packages() {
        std::cout << "packages linked:" << std::endl;
        for (IPackageVersion* package : IOVDatabase::Get().PackageSet()) {
            std::cout << "  " << package->GetName() << " " << package->GetVersion() << ", built "
                      << package->GetCompilationDate() << " on " << package->GetCompilationHost()
                      << std::endl;
        }
        std::cout << "  machine: " << IovUtility_version::Get()->GetCompilationMachineInfo()
                  << std::endl;
    }

    tour::Register hitsSection(10, "Hits: equivalence, subtraction, uniqueness", Hits);
    tour::Register packagesSection(900, "Packages", Packages);
}
