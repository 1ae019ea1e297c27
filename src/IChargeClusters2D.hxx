#ifndef ORVEX_IChargeClusters2D_hxx_seen
#define ORVEX_IChargeClusters2D_hxx_seen

#include <TVector3.h>

#include <IHandle.hxx>
#include <IHit.hxx>
#include <IHitKinds.hxx>
#include <IHitSelection.hxx>

namespace ORVEX {
    class IChargeClusters2D;
}

/// Groups the hits of a selection into combo hits plane by plane.  The
/// planes are given by their normal: hits are walked upward along it, and a
/// hit joins a cluster when it lies within `prec` of a member along the
/// normal, within the two gaps of it inside the plane, and has at most
/// `fChargeRatio` times the member's charge.  Clusters larger than
/// `fMaxHitsToCluster` aren't combined and come back as their single hits.
///
/// A function object: nothing but the settings survives a call.  The input
/// selection is left as it is; the returned selection belongs to the caller.
class ORVEX::IChargeClusters2D {
public:
    /// `plane` is the normal of the planes, in any length.
    IChargeClusters2D(double xGap, double yGap, double prec, TVector3 plane);
    virtual ~IChargeClusters2D();

    /// Any value is taken as it is: a negative ratio lets no hit of zero or
    /// positive charge join a member of positive charge.
    void SetChargeRatioCut(double ratio) { fChargeRatio = ratio; }

    /// Any value is taken as it is: the limit is read as an unsigned 32-bit
    /// number, so that -1 means no limit at all.
    void SetMaxHitsToCluster(int maxHits) { fMaxHitsToCluster = maxHits; }

    /// The clusters, in the order of their seeds.  Never null; the caller
    /// owns the selection.
    IHitSelection* operator()(const IHitSelection& hits);

private:
    void Finish(IComboHit* combo, IHitSelection& result) const;

    double fXGap;
    double fYGap;
    double fPrec;
    TVector3 fXPlane;
    TVector3 fYPlane;
    TVector3 fZPlane;
    double fChargeRatio;
    int fMaxHitsToCluster;
};

#endif
