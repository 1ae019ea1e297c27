#include "retrieveHitTruthInfo.hxx"

#include <set>

#include <IHitKinds.hxx>
#include <IHitSelection.hxx>

using ORVEX::IComboHit;
using ORVEX::IDigit;
using ORVEX::IDigitProxy;
using ORVEX::IG4VHit;
using ORVEX::IHandle;
using ORVEX::IHit;
using ORVEX::IHitSelection;
using ORVEX::IMCDigit;
using ORVEX::IMCHit;
using ORVEX::IMultiHit;
using ORVEX::IReconHit;

namespace {
    typedef std::vector<IG4VHit*> Deposits;

    void Append(Deposits& to, const Deposits& more) {
        to.insert(to.end(), more.begin(), more.end());
    }

    /// The simulated digit behind the hit, or null.  Only the first digit
    /// is looked at: the digits of one hit share their deposits.
    const IMCDigit* FirstSimulatedDigit(const IHandle<IHit>& hit) {
        if (hit->GetDigitCount() == 0) return NULL;
        IDigitProxy proxy = hit->GetDigit(0);
        IDigit* digit = *proxy;
        if (!digit) return NULL;
        return dynamic_cast<IMCDigit*>(digit);
    }

    /// One representative stands for all hits of a multi-hit; its deposits
    /// come back once each, ordered by address.
    Deposits FromMultiHit(const IHandle<IMultiHit>& multiHit) {
        IHandle<IHit> representative(multiHit->GetRepresentativeHit());
        Deposits constituents = HitTruthInfo::GetHitTruthInfo(representative);
        std::set<IG4VHit*> contrset(constituents.begin(), constituents.end());
        return Deposits(contrset.begin(), contrset.end());
    }

    /// The members' deposits in member order; a deposit shared by two
    /// members is listed twice.
    Deposits FromComboHit(const IHandle<IComboHit>& comboHit) {
        Deposits deposits;
        const IHitSelection& members = comboHit->GetHits();
        for (IHitSelection::const_iterator member = members.begin(); member != members.end();
             ++member) {
            Deposits constituents = HitTruthInfo::GetHitTruthInfo(*member);
            Append(deposits, constituents);
        }
        return deposits;
    }

    /// The constituents' deposits in constituent order, duplicates kept.
    /// The count is asked for again on every pass.
    Deposits FromReconHit(const IHandle<IHit>& hit) {
        Deposits deposits;
        for (int i = 0; i < hit->GetConstituentCount(); ++i) {
            Deposits constituents = HitTruthInfo::GetHitTruthInfo(hit->GetConstituent(i));
            Append(deposits, constituents);
        }
        return deposits;
    }
}

std::vector<IG4VHit*> HitTruthInfo::GetHitTruthInfo(IHandle<IHit> hit) {
    // The order of the routes matters: a combined hit that carries a
    // simulated digit of its own answers from the digit, unopened.
    const IMCDigit* digit = FirstSimulatedDigit(hit);
    if (digit) return digit->GetContributors();

    IHandle<IMCHit> mcHit(hit);
    if (mcHit) return mcHit->GetContributors();

    IHandle<IMultiHit> multiHit(hit);
    if (multiHit) return FromMultiHit(multiHit);

    IHandle<IComboHit> comboHit(hit);
    if (comboHit) return FromComboHit(comboHit);

    IHandle<IReconHit> reconHit(hit);
    if (reconHit) return FromReconHit(hit);

    return Deposits();
}
