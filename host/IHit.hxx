#ifndef ORVEX_IHit_hxx_seen
#define ORVEX_IHit_hxx_seen

#include <vector>

#include <TObject.h>
#include <TVector3.h>

#include "IDigit.hxx"
#include "IGeometryId.hxx"
#include "IHandle.hxx"

namespace ORVEX {
    class IHit;
    class ISingleHit;
}

/// The abstract hit.
class ORVEX::IHit : public TObject {
public:
    virtual ~IHit();

    virtual IGeometryId GetGeomId() const = 0;
    virtual double GetCharge() const = 0;
    virtual const TVector3& GetPosition() const = 0;
    virtual bool MeasuresX() const = 0;
    virtual bool MeasuresY() const = 0;
    virtual bool MeasuresZ() const = 0;

    /// The constituent hit `i`; a hit without constituents has none.
    virtual IHandle<IHit> GetConstituent(int i = 0) const;
    virtual int GetConstituentCount() const;

    /// The proxy of digit `i`; throws std::out_of_range past the count.
    virtual const IDigitProxy& GetDigit(int i = 0) const = 0;
    /// Zero for a hit that was not made from a digit.
    virtual int GetDigitCount() const = 0;
};

/// A concrete hit of one channel, holding every hit field itself.  The
/// host's other hit classes build on it.
class ORVEX::ISingleHit : public IHit {
public:
    ISingleHit(int geomId = 0, double charge = 0.0, const TVector3& position = TVector3(),
               bool measuresX = true, bool measuresY = true, bool measuresZ = true);
    virtual ~ISingleHit();

    virtual IGeometryId GetGeomId() const { return IGeometryId(fGeomId); }
    virtual double GetCharge() const { return fCharge; }
    virtual const TVector3& GetPosition() const { return fPosition; }
    virtual bool MeasuresX() const { return fMeasuresX; }
    virtual bool MeasuresY() const { return fMeasuresY; }
    virtual bool MeasuresZ() const { return fMeasuresZ; }
    virtual const IDigitProxy& GetDigit(int i = 0) const;
    virtual int GetDigitCount() const { return static_cast<int>(fDigits.size()); }

    /// Record a digit behind this hit; the digit must outlive the hit.
    void AddDigit(const IDigitProxy& digit) { fDigits.push_back(digit); }

    virtual void ls(Option_t* opt = "") const;

protected:
    void SetCharge(double charge) { fCharge = charge; }
    void SetPosition(const TVector3& position) { fPosition = position; }
    void SetMeasures(bool x, bool y, bool z);

private:
    int fGeomId;
    double fCharge;
    TVector3 fPosition;
    bool fMeasuresX;
    bool fMeasuresY;
    bool fMeasuresZ;
    std::vector<IDigitProxy> fDigits;
};

#endif
