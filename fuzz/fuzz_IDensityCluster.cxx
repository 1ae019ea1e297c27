// Density clusters on fuzzed hit sets, one clusterer called more than once.
#include <cstddef>
#include <cstdint>

#include <EovUtility.hxx>
#include <IDensityCluster.hxx>

#include "FuzzHits.hxx"

using namespace ORVEX;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return fuzz::Setup();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    unsigned int minPts = in.Int(0, 6);
    double epsilon = in.Hostile(3);
    try {
        IDensityCluster clusterer(minPts, epsilon);
        clusterer.SetMinClusterSize(in.Int(0, 5));
        // A second call clusters what the first one left together with
        // its own hits, and keeps the first call's clusters.
        IHitSelection all;
        for (int call = in.Int(1, 2); call > 0; --call) {
            IHitSelection hits = fuzz::Hits(in, 48);
            for (const auto& hit : hits) all.push_back(hit);
            clusterer.Cluster(hits);
            fuzz::Membership members(all);
            for (unsigned int i = 0; i < clusterer.GetClusterCount(); ++i)
                members.Add(clusterer.GetCluster(i));
        }
    } catch (const EovUtility&) {
    }
    return 0;
}
