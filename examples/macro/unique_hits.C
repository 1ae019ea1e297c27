// ovUtility at the ROOT prompt:  root -l -b -q unique_hits.C
// Needs libovUtility on the library path and its headers on
// ROOT_INCLUDE_PATH; see the README.
R__LOAD_LIBRARY(libovUtility)
#include "HitUtilities.hxx"
#include "IovUtility_version.hxx"

int unique_hits() {
    std::cout << ORVEX::IovUtility_version::Get()->GetName() << " "
              << ORVEX::IovUtility_version::Get()->GetVersion() << std::endl;
    ORVEX::IHitSelection selection;
    for (int channel : {5, -1, 5}) {
        selection.push_back(ORVEX::IHandle<ORVEX::IHit>(new ORVEX::ISingleHit(channel, 1.0)));
    }
    hits::Unique(selection);
    std::cout << "unique hits: " << selection.size() << std::endl;
    return selection.size() == 2 ? 0 : 1;
}
