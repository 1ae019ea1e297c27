#ifndef ORVEX_IHitKinds_hxx_seen
#define ORVEX_IHitKinds_hxx_seen

#include <vector>

#include "IDigit.hxx"
#include "IHit.hxx"
#include "IHitSelection.hxx"

namespace ORVEX {
    class IComboHit;
    class IMCHit;
    class IMultiHit;
    class IReconHit;
}

/// A hit built from other hits.  After FinishCombo its position is the
/// charge-weighted mean of the members' positions (the plain mean when the
/// summed charge is zero), its charge the members' summed charge, and it
/// measures a coordinate when any member does.
class ORVEX::IComboHit : public ISingleHit {
public:
    IComboHit();
    virtual ~IComboHit();

    virtual const IHitSelection& GetHits() const { return fHits; }
    virtual void AddHit(const IHandle<IHit>& hit) { fHits.push_back(hit); }
    virtual void PrepareCombo() {}
    virtual void FinishCombo();

    /// With the option "hits", lists the members as well.
    virtual void ls(Option_t* opt = "") const;

private:
    IHitSelection fHits;
};

/// A hit made directly from simulated energy deposits.
class ORVEX::IMCHit : public ISingleHit {
public:
    IMCHit(int geomId = 0, double charge = 0.0, const TVector3& position = TVector3())
        : ISingleHit(geomId, charge, position) {}
    virtual ~IMCHit();
    const std::vector<IG4VHit*>& GetContributors() const { return fContributors; }
    void AddContributor(IG4VHit* contributor) { fContributors.push_back(contributor); }

private:
    std::vector<IG4VHit*> fContributors;
};

/// Several hits of one channel taken as one.  The representative is the
/// first hit added; the charge is the sum, the position the representative's.
class ORVEX::IMultiHit : public ISingleHit {
public:
    explicit IMultiHit(int geomId = 0) : ISingleHit(geomId) {}
    virtual ~IMultiHit();
    void AddHit(const IHandle<ISingleHit>& hit);
    const IHandle<ISingleHit>& GetRepresentativeHit() const;
    std::size_t size() const { return fHits.size(); }

private:
    std::vector<IHandle<ISingleHit> > fHits;
    IHandle<ISingleHit> fNoHit;
};

/// A reconstructed hit made of constituent hits.
class ORVEX::IReconHit : public ISingleHit {
public:
    IReconHit(int geomId = 0, double charge = 0.0, const TVector3& position = TVector3())
        : ISingleHit(geomId, charge, position) {}
    virtual ~IReconHit();
    void AddConstituent(const IHandle<IHit>& hit) { fConstituents.push_back(hit); }
    virtual IHandle<IHit> GetConstituent(int i = 0) const;
    virtual int GetConstituentCount() const { return static_cast<int>(fConstituents.size()); }

private:
    std::vector<IHandle<IHit> > fConstituents;
};

#endif
