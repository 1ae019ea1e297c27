#include "IFieldManager.hxx"

long ORVEX::IFieldManager::fLookups = 0;

ORVEX::IFieldManager& ORVEX::Bman() {
    static IFieldManager manager;
    return manager;
}

ORVEX::IFieldManager::FieldMap& ORVEX::IFieldManager::Map() {
    // Function-local so that the field can be set from static code of
    // other libraries before main.
    static FieldMap map = [](const TLorentzVector&) { return TVector3(0, 0, 0); };
    return map;
}

TVector3 ORVEX::IFieldManager::GetFieldValue(const TLorentzVector& positionAndTime) {
    ++fLookups;
    return Map()(positionAndTime);
}

TVector3 ORVEX::IFieldManager::GetFieldValue(const TVector3& position) {
    return GetFieldValue(TLorentzVector(position, 0.0));
}

void ORVEX::IFieldManager::SetUniformField(const TVector3& field) {
    Map() = [field](const TLorentzVector&) { return field; };
}

void ORVEX::IFieldManager::SetFieldMap(const FieldMap& map) {
    Map() = map;
}

long ORVEX::IFieldManager::GetLookupCount() {
    return fLookups;
}

void ORVEX::IFieldManager::ResetLookupCount() {
    fLookups = 0;
}
