// Hit sets read from a fuzzer's bytes, and the check the clusterers share:
// every hit they give back comes from the input and belongs to one cluster.
#ifndef ovUtility_fuzz_FuzzHits_hxx_seen
#define ovUtility_fuzz_FuzzHits_hxx_seen

#include <map>
#include <set>

#include <IHandle.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>

#include "FuzzInput.hxx"

namespace fuzz {
    /// Up to `most` hits on a small grid, with now and then a special
    /// charge or coordinate.
    inline ORVEX::IHitSelection Hits(Input& in, int most) {
        ORVEX::IHitSelection hits("input", "fuzzed hits");
        int count = in.Int(0, most);
        for (int i = 0; i < count && !in.Empty(); ++i) {
            double charge = in.Hostile(8);
            TVector3 position(in.Hostile(6), in.Hostile(6), in.Hostile(6));
            std::uint8_t measures = in.Byte();
            hits.push_back(ORVEX::IHandle<ORVEX::IHit>(new ORVEX::ISingleHit(
                i, charge, position, measures & 1, measures & 2, measures & 4)));
        }
        return hits;
    }

    /// Counts, for each input hit, the clusters it is found in, looking
    /// into combo hits; a hit not in the input fails the check.
    class Membership {
    public:
        explicit Membership(const ORVEX::IHitSelection& input) {
            for (const auto& hit : input) fCount[hit.GetPointerValue()] = 0;
        }

        void Add(const ORVEX::IHandle<ORVEX::IHit>& hit) {
            ORVEX::IHandle<ORVEX::IComboHit> combo(hit);
            if (combo) {
                for (const auto& member : combo->GetHits()) Add(member);
                return;
            }
            auto found = fCount.find(hit.GetPointerValue());
            FUZZ_CHECK(found != fCount.end());
            FUZZ_CHECK(++found->second == 1);
        }

        void Add(const ORVEX::IHitSelection& cluster) {
            for (const auto& hit : cluster) Add(hit);
        }

    private:
        std::map<const TObject*, int> fCount;
    };

    /// A charge clusterer's result: given, and each input hit in it once
    /// at most, whether alone or inside a combo hit.
    inline void CheckClusters(const ORVEX::IHitSelection& input,
                              const ORVEX::IHitSelection* result) {
        FUZZ_CHECK(result != nullptr);
        Membership(input).Add(*result);
    }
}

#endif
