#include "IChargeClusters2D.hxx"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <list>
#include <set>
#include <vector>

#include <IORVEXLog.hxx>

#include "detail/BoxCellIndex.hxx"
#include "detail/FirstMatchTree.hxx"
#include "detail/NewOutOfLine.hxx"

namespace {
    using ORVEX::IComboHit;
    using ORVEX::IHandle;
    using ORVEX::IHit;

    /// The largest accepted absolute value of any one coordinate of a seed
    /// or of a finished combo hit.
    const double kPositionRange = 100000.0;

    /// A normal nearer than this angle (radians) to +Y can't make the
    /// in-plane axes from Y, and is replaced.
    const double kNearYAngle = 0.001;

    const char* const kHashLine = "##############################################";

    bool OutOfRange(const std::array<double, 3>& position) {
        return std::abs(position[0]) > kPositionRange || std::abs(position[1]) > kPositionRange ||
               std::abs(position[2]) > kPositionRange;
    }

    /// Orders the free list upward along the normal, and hits of one plane
    /// (nearer than `prec`) by descending charge.  This is no strict weak
    /// order, since the tolerance doesn't chain; the order that comes out is
    /// the one that std::list::sort, a stable bottom-up merge, makes of it.
    /// It compares hits by their places in `along` and `charge`, read once
    /// for each hit: the same comparisons give the same order.
    class IHit_compare {
    public:
        IHit_compare(double prec, const std::vector<double>& along,
                     const std::vector<double>& charge)
            : fPrec(prec), fAlong(along), fCharge(charge) {}

        int operator()(std::size_t a, std::size_t b) const {
            double aZ = fAlong[a];
            double bZ = fAlong[b];
            if (std::abs(aZ - bZ) < fPrec) return fCharge[a] > fCharge[b];
            return aZ < bZ;
        }

    private:
        double fPrec;
        const std::vector<double>& fAlong;
        const std::vector<double>& fCharge;
    };

    /// A hit of the input in the order of the sorted free list (its rank),
    /// with its charge and its coordinates along the two in-plane axes and
    /// the normal, read once.
    struct PlaneHit {
        const IHandle<IHit>* hit;
        double charge;
        ovUtility::BoxCellIndex::Point plane;
        std::array<double, 3> position;
    };

    /// The places along the normal of the hits in rank order, for the
    /// tree that finds where a walk stops.  A NaN place never stops a walk
    /// and counts as minus infinity.
    std::vector<double> StopPlaces(const std::vector<PlaneHit>& ranked) {
        std::vector<double> places;
        places.reserve(ranked.size());
        for (const PlaneHit& hit : ranked)
            places.push_back(std::isnan(hit.plane[2]) ? -HUGE_VAL : hit.plane[2]);
        return places;
    }

    /// The hits in the order of the sorted free list, each read once.  A null
    /// handle throws when it is read and passes out; the result selection made
    /// before is then not released.
    std::vector<PlaneHit> RankAlongNormal(const ORVEX::IHitSelection& hits, double prec,
                                          const TVector3& xPlane, const TVector3& yPlane,
                                          const TVector3& zPlane) {
        std::vector<double> along, charge;
        std::vector<TVector3> positions;
        for (const IHandle<IHit>& hit : hits) {
            charge.push_back(hit->GetCharge());
            positions.push_back(hit->GetPosition());
            along.push_back(positions.back().Dot(zPlane));
        }
        std::list<std::size_t> order;
        for (std::size_t i = 0; i < hits.size(); ++i) order.push_back(i);
        order.sort(IHit_compare(prec, along, charge));

        std::vector<PlaneHit> ranked;
        ranked.reserve(hits.size());
        for (std::size_t i : order) {
            const TVector3& p = positions[i];
            ranked.push_back(PlaneHit{&hits[i],
                                      charge[i],
                                      {{p.Dot(xPlane), p.Dot(yPlane), along[i]}},
                                      {{p.X(), p.Y(), p.Z()}}});
        }
        return ranked;
    }

    /// The limits of the pair test, from the clusterer.
    struct PairLimits {
        double xGap, yGap, prec, chargeRatio;
    };

    /// Values on a limit pass: every test rejects only strictly beyond it,
    /// and a NaN passes every test.
    bool Joins(const PlaneHit& free, const PlaneHit& member, const PairLimits& limits) {
        double zDelta = free.plane[2] - member.plane[2];
        if (zDelta < -limits.prec || zDelta > limits.prec) return false;
        if (free.charge > limits.chargeRatio * member.charge) return false;
        double xDelta = free.plane[0] - member.plane[0];
        double yDelta = free.plane[1] - member.plane[1];
        if (std::abs(xDelta) > limits.xGap) return false;
        if (std::abs(yDelta) > limits.yGap) return false;
        return true;
    }

    std::vector<ovUtility::BoxCellIndex::Point> PlanePoints(const std::vector<PlaneHit>& ranked) {
        std::vector<ovUtility::BoxCellIndex::Point> points;
        points.reserve(ranked.size());
        for (const PlaneHit& hit : ranked) points.push_back(hit.plane);
        return points;
    }

    /// The growth of the clusters of one call, with the outcome of every
    /// walk of the free list that the step-by-step procedure makes, found
    /// without walking it.
    ///
    /// A walk with a member goes up the list and ends at the first free hit
    /// above the member's band (its stop), taking in, one after the other,
    /// the free hits before the stop that join.  After a hit joins, the walk
    /// goes on with the first member from the next hit on.  Both outcomes,
    /// the first joiner and the stop, are found here directly: the joiners
    /// among the hits of the cells around the member, kept in rank order,
    /// the stop in a tree of the free hits' places along the normal.
    ///
    /// Hits leave the list but never come back, and the pair test depends on
    /// the two hits only, so a member whose walk found no joiner before its
    /// stop finds none as long as that stop is free: it is remembered as
    /// settled.  When its stop leaves the list, it settles on the next one
    /// unless a joiner comes first; only then is its cluster walked again.
    /// Walking any other cluster changes nothing.
    class PlaneGrowth {
    public:
        PlaneGrowth(const std::vector<PlaneHit>& ranked, const PairLimits& limits)
            : fRanked(ranked),
              fLimits(limits),
              fFree(PlanePoints(ranked), {{limits.xGap, limits.yGap, limits.prec}}),
              fStops(StopPlaces(ranked)),
              fResume(ranked.size(), 0),
              fSettled(ranked.size(), 0),
              fWaiting(ranked.size()),
              fJoiners(ranked.size()),
              fJoinersKnown(ranked.size(), 0),
              fFreeCount(ranked.size()),
              fFirstFree(0) {}

        bool AnyFree() const { return fFreeCount > 0; }

        /// Takes the first hit of the list off it.
        std::size_t TakeFirst() {
            while (!fFree.IsFree(fFirstFree)) ++fFirstFree;
            std::size_t first = fFirstFree;
            Take(first);
            return first;
        }

        /// A new cluster, the last of all, with its seed as first member.
        void Start(IComboHit& combo, std::size_t seed) {
            fClusters.push_back(Cluster{&combo, std::vector<std::size_t>(1, seed)});
            fToWalk.insert(fClusters.size() - 1);
        }

        /// One growth stage: the clusters from the first to the last.  One
        /// that becomes worth walking while an earlier one grows is walked in
        /// this stage; one before it waits for the next stage.
        void Stage() {
            auto next = fToWalk.begin();
            while (next != fToWalk.end()) {
                std::size_t cluster = *next;
                fToWalk.erase(next);
                Walk(cluster);
                next = fToWalk.upper_bound(cluster);
            }
        }

    private:
        struct Cluster {
            IComboHit* combo;
            std::vector<std::size_t> members;
        };

        /// A member settled on a stop, and its cluster.
        struct Waiting {
            std::size_t cluster;
            std::size_t member;
        };

        /// The member cursor of the step-by-step walks: back to the first
        /// member after every addition, one on at the end of a walk.  At the
        /// end every member is settled: the ones after the first by their
        /// last walks, the first by its walk from the start, which the walks
        /// after additions only carry on.
        void Walk(std::size_t index) {
            std::vector<std::size_t>& members = fClusters[index].members;
            for (std::size_t i = 0; i < members.size(); ++i) {
                std::size_t member = members[i];
                if (IsSettled(member)) continue;
                // A walk from the list's start; the hits before fResume are
                // known to neither join nor stop it.
                std::size_t from = fResume[member];
                bool fromStart = true;
                while (true) {
                    std::size_t stop = FirstStop(member, from);
                    bool anyJoiner = false;
                    std::size_t joiner = FirstJoiner(member, from, stop, anyJoiner);
                    if (joiner == stop) {
                        // With no joiner left anywhere in the list, no
                        // walk of the member ever takes a hit again.
                        if (!anyJoiner)
                            Settle(member, fRanked.size(), index);
                        else if (fromStart)
                            Settle(member, stop, index);
                        break;
                    }
                    if (fromStart) {
                        fResume[member] = joiner + 1;
                        fSettled[member] = 0;
                    }
                    Take(joiner);
                    fClusters[index].combo->AddHit(*fRanked[joiner].hit);
                    members.push_back(joiner);
                    // The walk goes on from the next hit with the first
                    // member; ++i at its end moves to the second.
                    i = 0;
                    member = members[0];
                    fromStart = joiner + 1 <= fResume[member];
                    from = fromStart ? fResume[member] : joiner + 1;
                }
            }
        }

        bool IsSettled(std::size_t member) const {
            return fSettled[member] &&
                   (fResume[member] == fRanked.size() || fFree.IsFree(fResume[member]));
        }

        /// The walk of the member from the list's start ends at `stop`
        /// without a joiner, and will as long as the stop is free.
        void Settle(std::size_t member, std::size_t stop, std::size_t cluster) {
            if (fSettled[member] && fResume[member] == stop) return;
            fResume[member] = stop;
            fSettled[member] = 1;
            if (stop < fRanked.size()) fWaiting[stop].push_back(Waiting{cluster, member});
        }

        /// The first free hit from `from` on above the member's band: one
        /// not below it (the walk's first test) and above it.
        std::size_t FirstStop(std::size_t member, std::size_t from) const {
            const double along = fRanked[member].plane[2];
            const double prec = fLimits.prec;
            auto stops = [along, prec](double place) {
                double zDelta = place - along;
                return !(zDelta < -prec) && zDelta > prec;
            };
            return fStops.First(from, stops, fRanked.size());
        }

        /// The first free hit in [from, stop) that joins the member, or
        /// `stop`; `any` tells whether any free hit at all joins it.
        std::size_t FirstJoiner(std::size_t member, std::size_t from, std::size_t stop, bool& any) {
            std::vector<std::size_t>& joiners = JoinersOf(member);
            // Hits that left the list are dropped where they are met.
            auto taken = [this](std::size_t rank) { return !fFree.IsFree(rank); };
            auto first = std::find_if_not(joiners.begin(), joiners.end(), taken);
            joiners.erase(joiners.begin(), first);
            any = !joiners.empty();
            first = std::lower_bound(joiners.begin(), joiners.end(), from);
            while (first != joiners.end() && taken(*first)) first = joiners.erase(first);
            return first != joiners.end() && *first < stop ? *first : stop;
        }

        /// The hits that join the member, in rank order, some of which may
        /// have left the list since.  They are looked for among the cells
        /// around it once: the pair test depends on the two hits only.
        std::vector<std::size_t>& JoinersOf(std::size_t member) {
            std::vector<std::size_t>& joiners = fJoiners[member];
            if (!fJoinersKnown[member]) {
                fJoinersKnown[member] = 1;
                fFree.ForEachCandidate(member, [&](std::size_t rank) {
                    if (Joins(fRanked[rank], fRanked[member], fLimits)) joiners.push_back(rank);
                });
                std::sort(joiners.begin(), joiners.end());
            }
            return joiners;
        }

        void Take(std::size_t rank) {
            fFree.Take(rank);
            fStops.Remove(rank);
            --fFreeCount;
            std::vector<Waiting> waiting;
            waiting.swap(fWaiting[rank]);
            for (const Waiting& wait : waiting) {
                if (fSettled[wait.member] && fResume[wait.member] == rank) Unblock(wait);
            }
        }

        /// The stop of a settled member has left the list: its walk from
        /// the start now goes on past it, to the next stop or a joiner.
        /// Only when a joiner comes first does its cluster need a walk.
        void Unblock(const Waiting& wait) {
            std::size_t stop = FirstStop(wait.member, fResume[wait.member] + 1);
            bool anyJoiner = false;
            std::size_t joiner =
                FirstJoiner(wait.member, fResume[wait.member] + 1, stop, anyJoiner);
            if (joiner != stop) {
                fResume[wait.member] += 1;
                fSettled[wait.member] = 0;
                fToWalk.insert(wait.cluster);
                return;
            }
            Settle(wait.member, anyJoiner ? stop : fRanked.size(), wait.cluster);
        }

        const std::vector<PlaneHit>& fRanked;
        const PairLimits fLimits;
        ovUtility::BoxCellIndex fFree;
        /// Where the walks stop: the free hits' places along the normal.
        ovUtility::FirstMatchTree<double> fStops;
        /// Per member: where its next walk from the list's start has its
        /// first effect, and whether that is a stop that ends it.
        std::vector<std::size_t> fResume;
        std::vector<char> fSettled;
        /// Per hit: the members settled on it as a stop.
        std::vector<std::vector<Waiting> > fWaiting;
        /// Per member: the free hits that join it, once looked for.
        std::vector<std::vector<std::size_t> > fJoiners;
        std::vector<char> fJoinersKnown;
        std::vector<Cluster> fClusters;
        std::set<std::size_t> fToWalk;
        std::size_t fFreeCount;
        std::size_t fFirstFree;
    };

    /// The report of a finished combo hit out of range.  Its text differs
    /// from the box clusterer's (no full stop, two closing lines) and is
    /// kept so for the readers of existing logs.
    void ReportOutOfRange(const IComboHit& combo) {
        ORVEXError("Combo hit position out of range");
        std::cout << kHashLine << std::endl;
        combo.ls("hits");
        std::cout << kHashLine << std::endl;
        std::cout << kHashLine << std::endl;
    }
}

ORVEX::IChargeClusters2D::IChargeClusters2D(double xGap, double yGap, double prec, TVector3 plane)
    : fXGap(xGap), fYGap(yGap), fPrec(prec), fChargeRatio(10000.0), fMaxHitsToCluster(1000000) {
    const TVector3 yAxis(0.0, 1.0, 0.0);
    fZPlane = plane.Unit();
    if (fZPlane.Angle(yAxis) > kNearYAngle) {
        // Deliberately not normalised: both axes have the length of the sine
        // of the angle between the normal and Y, and the gaps apply to the
        // distances measured along these shorter axes.  A normal along -Y
        // makes them null, so that only the band and the charge decide.
        fXPlane = yAxis.Cross(fZPlane);
        fYPlane = fXPlane.Cross(fZPlane);
    } else {
        // A normal along +Y is replaced by X, and Y becomes an in-plane axis.
        fXPlane = TVector3(0.0, 1.0, 0.0);
        fYPlane = TVector3(0.0, 0.0, 1.0);
        fZPlane = TVector3(1.0, 0.0, 0.0);
    }
}

ORVEX::IChargeClusters2D::~IChargeClusters2D() {}

ORVEX::IHitSelection* ORVEX::IChargeClusters2D::operator()(const IHitSelection& hits) {
    IHitSelection* result = ovUtility::NewOutOfLine<IHitSelection>(hits.GetName(), "Hit Handles");
    const std::vector<PlaneHit> ranked = RankAlongNormal(hits, fPrec, fXPlane, fYPlane, fZPlane);
    PlaneGrowth growth(ranked, PairLimits{fXGap, fYGap, fPrec, fChargeRatio});

    std::vector<IComboHit*> comboHits;
    while (growth.AnyFree()) {
        // Seeds come in list order.  Hits of no positive charge and hits
        // out of range are dropped silently.
        while (growth.AnyFree()) {
            std::size_t seed = growth.TakeFirst();
            if (ranked[seed].charge <= 0.0) continue;
            if (OutOfRange(ranked[seed].position)) continue;
            IComboHit* combo = ovUtility::NewOutOfLine<IComboHit>();
            comboHits.push_back(combo);
            combo->PrepareCombo();
            combo->AddHit(*ranked[seed].hit);
            growth.Start(*combo, seed);
            break;
        }
        // The old combo hits are walked again too: a hit that a band stop
        // hid from them may have become reachable since.
        growth.Stage();
    }
    for (IComboHit* combo : comboHits) Finish(combo, *result);
    return result;
}

void ORVEX::IChargeClusters2D::Finish(IComboHit* combo, IHitSelection& result) const {
    const IHitSelection& members = combo->GetHits();
    if (members.size() > static_cast<std::uint32_t>(fMaxHitsToCluster)) {
        // Too large to be one hit: give the members back one by one.
        for (const IHandle<IHit>& member : members) result.push_back(member);
        delete combo;
        return;
    }
    combo->FinishCombo();
    const TVector3& position = combo->GetPosition();
    if (OutOfRange({{position.X(), position.Y(), position.Z()}})) {
        // The combo hit is left as it is, neither returned nor deleted, and
        // its members are lost to the result with it.
        ReportOutOfRange(*combo);
        return;
    }
    result.push_back(IHandle<IHit>(IHandle<IComboHit>(combo)));
}
