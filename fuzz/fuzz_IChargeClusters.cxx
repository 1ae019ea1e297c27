// Charge clusters in a box on fuzzed hit sets and gaps.
#include <cstddef>
#include <cstdint>
#include <memory>

#include <EovUtility.hxx>
#include <IChargeClusters.hxx>

#include "FuzzHits.hxx"

using namespace ORVEX;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    double xGap = in.Hostile(3), yGap = in.Hostile(3), zGap = in.Hostile(3);
    IHitSelection hits = fuzz::Hits(in, 64);
    try {
        IChargeClusters clusterer(xGap, yGap, zGap);
        std::unique_ptr<IHitSelection> result(clusterer(hits));
        fuzz::CheckClusters(hits, result.get());
    } catch (const EovUtility&) {
    }
    return 0;
}
