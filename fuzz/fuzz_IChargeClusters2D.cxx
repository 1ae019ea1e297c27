// Two-dimensional charge clusters on fuzzed hit sets, gaps, planes and cuts.
#include <cstddef>
#include <cstdint>
#include <memory>

#include <EovUtility.hxx>
#include <IChargeClusters2D.hxx>

#include "FuzzHits.hxx"

using namespace ORVEX;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    double xGap = in.Hostile(3), yGap = in.Hostile(3), prec = in.Hostile(2);
    TVector3 plane(in.Hostile(1), in.Hostile(1), in.Hostile(1));
    double ratio = in.Hostile(2);
    int maxHits = in.Int(-2, 70);
    IHitSelection hits = fuzz::Hits(in, 64);
    try {
        IChargeClusters2D clusterer(xGap, yGap, prec, plane);
        clusterer.SetChargeRatioCut(ratio);
        clusterer.SetMaxHitsToCluster(maxHits);
        std::unique_ptr<IHitSelection> result(clusterer(hits));
        fuzz::CheckClusters(hits, result.get());
    } catch (const EovUtility&) {
    }
    return 0;
}
