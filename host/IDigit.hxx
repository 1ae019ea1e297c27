#ifndef ORVEX_IDigit_hxx_seen
#define ORVEX_IDigit_hxx_seen

#include <vector>

#include <TObject.h>

namespace ORVEX {
    class IG4VHit;
    class IDigit;
    class IMCDigit;
    class IDigitProxy;
}

/// A simulated energy deposit.  Hits and digits refer to deposits by
/// pointer and never own them.
class ORVEX::IG4VHit {
public:
    explicit IG4VHit(double energyDeposit = 0.0) : fEnergyDeposit(energyDeposit) {}
    virtual ~IG4VHit() {}
    double GetEnergyDeposit() const { return fEnergyDeposit; }

private:
    double fEnergyDeposit;
};

/// A digitised channel reading.
class ORVEX::IDigit : public TObject {
public:
    explicit IDigit(int channel = 0) : fChannel(channel) {}
    virtual ~IDigit() {}
    int GetChannelId() const { return fChannel; }

private:
    int fChannel;
};

/// A digit made by the simulation, knowing the deposits behind it.
class ORVEX::IMCDigit : public IDigit {
public:
    explicit IMCDigit(int channel = 0) : IDigit(channel) {}
    virtual ~IMCDigit() {}
    const std::vector<IG4VHit*>& GetContributors() const { return fContributors; }
    void AddContributor(IG4VHit* contributor) { fContributors.push_back(contributor); }

private:
    std::vector<IG4VHit*> fContributors;
};

/// Refers to a digit held elsewhere (by the caller or a digit container),
/// which must outlive the proxy.  A proxy of no digit dereferences to null.
class ORVEX::IDigitProxy {
public:
    explicit IDigitProxy(IDigit* digit = NULL) : fDigit(digit) {}
    IDigitProxy(const IDigitProxy& rhs) : fDigit(rhs.fDigit) {}
    IDigitProxy& operator=(const IDigitProxy& rhs) {
        fDigit = rhs.fDigit;
        return *this;
    }
    IDigit* operator*() const { return fDigit; }

private:
    IDigit* fDigit;
};

#endif
