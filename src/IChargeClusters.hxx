#ifndef ORVEX_IChargeClusters_hxx_seen
#define ORVEX_IChargeClusters_hxx_seen

#include <array>
#include <vector>

#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>

namespace ORVEX {
    class IChargeClusters;
}
namespace ovUtility {
    class BoxCellIndex;
}

/// Groups the hits of a selection into combo hits around the hits of
/// largest charge.  A cluster starts from the largest free hit and grows to
/// every free hit that lies within the gaps of any member along X, Y and Z,
/// provided the newcomer has at most 1.2 times that member's charge.  So a
/// cluster grows down the charge slope, and a second large deposit nearby
/// starts a cluster of its own.
///
/// The clusterer keeps nothing between calls.  The input selection is left
/// as it is, and its hits are shared, never copied.
class ORVEX::IChargeClusters {
public:
    /// The largest distances along X, Y and Z between a hit and the member
    /// it joins, in the units of the hit positions.  Negative gaps admit no
    /// hit to any cluster but its seed.
    IChargeClusters(double xGap, double yGap, double zGap);
    virtual ~IChargeClusters();

    /// A new selection of new combo hits, one per cluster, which the caller
    /// owns and must delete; never null.  It carries the name of `hits` and
    /// the title "Hit Handles", and its clusters come in descending charge
    /// of their seeds.  Hits of zero or negative charge, and hits with a
    /// coordinate beyond 100000.0, don't start a cluster; they are kept only
    /// when a cluster takes them in as members.  A cluster whose combined
    /// position lies beyond that range is reported on the debug stream and
    /// standard output and left out, members and all.
    IHitSelection* operator()(const IHitSelection& hits);

private:
    /// A hit of the input with its charge and position, read once.
    struct RankedHit {
        const IHandle<IHit>* hit;
        double charge;
        std::array<double, 3> position;
    };

    /// The hits in the order of the sorted free list.
    static std::vector<RankedHit> RankByCharge(const IHitSelection& hits);

    /// True when the free hit may join the cluster through the member.
    bool Joins(const RankedHit& free, const RankedHit& member) const;

    /// Takes into the cluster of `seed` every free hit reachable from its
    /// members; hits are named by their rank in descending charge.
    void Grow(IComboHit& combo, std::size_t seed, const std::vector<RankedHit>& ranked,
              ovUtility::BoxCellIndex& freeHits) const;

    double fXGap;
    double fYGap;
    double fZGap;
};

#endif
