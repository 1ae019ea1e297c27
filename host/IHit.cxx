#include "IHit.hxx"
#include "IHitKinds.hxx"
#include "IHitSelection.hxx"

#include <cxxabi.h>
#include <cstdlib>
#include <typeinfo>

#include <TROOT.h>

ORVEX::IHit::~IHit() {}

ORVEX::IHandle<ORVEX::IHit> ORVEX::IHit::GetConstituent(int) const {
    return IHandle<IHit>();
}

int ORVEX::IHit::GetConstituentCount() const {
    return 0;
}

ORVEX::ISingleHit::ISingleHit(int geomId, double charge, const TVector3& position, bool measuresX,
                              bool measuresY, bool measuresZ)
    : fGeomId(geomId),
      fCharge(charge),
      fPosition(position),
      fMeasuresX(measuresX),
      fMeasuresY(measuresY),
      fMeasuresZ(measuresZ) {}

ORVEX::ISingleHit::~ISingleHit() {}

const ORVEX::IDigitProxy& ORVEX::ISingleHit::GetDigit(int i) const {
    return fDigits.at(i);
}

void ORVEX::ISingleHit::SetMeasures(bool x, bool y, bool z) {
    fMeasuresX = x;
    fMeasuresY = y;
    fMeasuresZ = z;
}

void ORVEX::ISingleHit::ls(Option_t*) const {
    TROOT::IndentLevel();
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(*this).name(), NULL, NULL, &status);
    std::cout << (status == 0 ? name : typeid(*this).name()) << " id " << fGeomId << " charge "
              << fCharge << " at (" << fPosition.X() << ", " << fPosition.Y() << ", "
              << fPosition.Z() << ")" << std::endl;
    std::free(name);
}

ORVEX::IHitSelection::~IHitSelection() {}

void ORVEX::IHitSelection::push_back(const IHandle<IHit>& hit) {
    std::vector<IHandle<IHit> >::push_back(hit);
}

void ORVEX::IHitSelection::ls(Option_t* opt) const {
    TROOT::IndentLevel();
    std::cout << "IHitSelection " << GetName() << " (" << GetTitle() << ") with " << size()
              << " hits" << std::endl;
    if (TString(opt).Contains("hits")) {
        TROOT::IncreaseDirLevel();
        for (const_iterator hit = begin(); hit != end(); ++hit) hit->ls(opt);
        TROOT::DecreaseDirLevel();
    }
}

ORVEX::IComboHit::IComboHit() {}

ORVEX::IComboHit::~IComboHit() {}

void ORVEX::IComboHit::FinishCombo() {
    double charge = 0.0;
    TVector3 weighted, plain;
    bool x = false, y = false, z = false;
    for (IHitSelection::const_iterator hit = fHits.begin(); hit != fHits.end(); ++hit) {
        // One checked access per member: the check costs more than the sums.
        const IHit& member = **hit;
        charge += member.GetCharge();
        weighted += member.GetCharge() * member.GetPosition();
        plain += member.GetPosition();
        x = x || member.MeasuresX();
        y = y || member.MeasuresY();
        z = z || member.MeasuresZ();
    }
    SetCharge(charge);
    if (charge != 0.0) {
        SetPosition((1.0 / charge) * weighted);
    } else if (!fHits.empty()) {
        SetPosition((1.0 / fHits.size()) * plain);
    }
    SetMeasures(x, y, z);
}

void ORVEX::IComboHit::ls(Option_t* opt) const {
    ISingleHit::ls(opt);
    if (TString(opt).Contains("hits")) {
        TROOT::IncreaseDirLevel();
        fHits.ls(opt);
        TROOT::DecreaseDirLevel();
    }
}

ORVEX::IMCHit::~IMCHit() {}

ORVEX::IMultiHit::~IMultiHit() {}

void ORVEX::IMultiHit::AddHit(const IHandle<ISingleHit>& hit) {
    fHits.push_back(hit);
    SetCharge(GetCharge() + hit->GetCharge());
    const ISingleHit& representative = *fHits.front();
    SetPosition(representative.GetPosition());
    SetMeasures(representative.MeasuresX(), representative.MeasuresY(), representative.MeasuresZ());
}

const ORVEX::IHandle<ORVEX::ISingleHit>& ORVEX::IMultiHit::GetRepresentativeHit() const {
    return fHits.empty() ? fNoHit : fHits.front();
}

ORVEX::IReconHit::~IReconHit() {}

ORVEX::IHandle<ORVEX::IHit> ORVEX::IReconHit::GetConstituent(int i) const {
    return fConstituents.at(i);
}
