// Uses the installed library: unique hits of a small selection, and the
// version record that registered itself at load.
#include <iostream>

#include <HitUtilities.hxx>
#include <IovUtility_version.hxx>

int main() {
    ORVEX::IHitSelection selection;
    for (int id : {3, 1, 3}) {
        selection.push_back(ORVEX::IHandle<ORVEX::IHit>(new ORVEX::ISingleHit(id, 1.0)));
    }
    hits::Unique(selection);
    const char* name = ORVEX::IovUtility_version::Get()->GetName();
    std::cout << name << " " << ORVEX::IovUtility_version::Get()->GetVersion() << ": "
              << selection.size() << " unique hits" << std::endl;
    return selection.size() == 2 ? 0 : 1;
}
