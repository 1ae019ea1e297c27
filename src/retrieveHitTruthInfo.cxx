#include "retrieveHitTruthInfo.hxx"

#include <algorithm>
#include <set>

#include <IHitKinds.hxx>
#include <IHitSelection.hxx>
#include <IORVEXLog.hxx>

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

    /// The hits being opened on the way down from the top, outermost first.
    typedef std::vector<const TObject*> Opened;

    Deposits Retrieve(IHandle<IHit> hit, Opened& opened);

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
    Deposits FromMultiHit(const IHandle<IMultiHit>& multiHit, Opened& opened) {
        IHandle<IHit> representative(multiHit->GetRepresentativeHit());
        Deposits constituents = Retrieve(representative, opened);
        std::set<IG4VHit*> contrset(constituents.begin(), constituents.end());
        return Deposits(contrset.begin(), contrset.end());
    }

    /// The members' deposits in member order; a deposit shared by two
    /// members is listed twice.
    Deposits FromComboHit(const IHandle<IComboHit>& comboHit, Opened& opened) {
        Deposits deposits;
        const IHitSelection& members = comboHit->GetHits();
        for (IHitSelection::const_iterator member = members.begin(); member != members.end();
             ++member) {
            Deposits constituents = Retrieve(*member, opened);
            Append(deposits, constituents);
        }
        return deposits;
    }

    /// The constituents' deposits in constituent order, duplicates kept.
    /// The count is asked for again on every pass.
    Deposits FromReconHit(const IHandle<IHit>& hit, Opened& opened) {
        Deposits deposits;
        for (int i = 0; i < hit->GetConstituentCount(); ++i) {
            Deposits constituents = Retrieve(hit->GetConstituent(i), opened);
            Append(deposits, constituents);
        }
        return deposits;
    }

    /// The routes that open a hit into its parts, in their order.
    Deposits FromParts(const IHandle<IHit>& hit, Opened& opened) {
        IHandle<IMultiHit> multiHit(hit);
        if (multiHit) return FromMultiHit(multiHit, opened);

        IHandle<IComboHit> comboHit(hit);
        if (comboHit) return FromComboHit(comboHit, opened);

        IHandle<IReconHit> reconHit(hit);
        if (reconHit) return FromReconHit(hit, opened);

        return Deposits();
    }

    Deposits Retrieve(IHandle<IHit> hit, Opened& opened) {
        // The order of the routes matters: a combined hit that carries a
        // simulated digit of its own answers from the digit, unopened.
        const IMCDigit* digit = FirstSimulatedDigit(hit);
        if (digit) return digit->GetContributors();

        IHandle<IMCHit> mcHit(hit);
        if (mcHit) return mcHit->GetContributors();

        // Only a hit already open on the way down is a cycle: one shared by
        // two parts is opened twice, and its deposits stay duplicated.
        const TObject* self = hit.GetPointerValue();
        if (std::find(opened.begin(), opened.end(), self) != opened.end()) {
            ORVEXError("HitTruthInfo::GetHitTruthInfo: hit " << self << " contains itself at depth "
                                                             << opened.size());
            throw ORVEX::ECyclicHit();
        }
        opened.push_back(self);
        Deposits deposits = FromParts(hit, opened);
        opened.pop_back();
        return deposits;
    }
}

std::vector<IG4VHit*> HitTruthInfo::GetHitTruthInfo(IHandle<IHit> hit) {
    Opened opened;
    return Retrieve(hit, opened);
}
