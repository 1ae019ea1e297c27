#include "IHandle.hxx"

#include <TROOT.h>

ORVEX::IHandleBase::~IHandleBase() {}

ORVEX::IHandleBaseDeletable::~IHandleBaseDeletable() {
    delete fObject;
}

ORVEX::IVHandle& ORVEX::IVHandle::operator=(const IVHandle& rhs) {
    TObject::operator=(rhs);
    fHandle = rhs.fHandle;
    return *this;
}

void ORVEX::IVHandle::Link(const IVHandle& rhs) {
    fHandle = rhs.fHandle;
    if (fHandle) fHandle->IncrementReferenceCount();
}

bool ORVEX::IVHandle::Unlink() {
    if (!fHandle) return false;
    return fHandle->DecrementReferenceCount();
}

void ORVEX::IVHandle::Destroy() {
    delete fHandle;
    fHandle = NULL;
}

TObject* ORVEX::IVHandle::GetPointerValue() const {
    return fHandle ? fHandle->GetObject() : NULL;
}

int ORVEX::IVHandle::GetReferenceCount() const {
    return fHandle ? fHandle->GetReferenceCount() : 0;
}

void ORVEX::IVHandle::Adopt(TObject* object) {
    fHandle = new IHandleBaseDeletable(object);
    fHandle->IncrementReferenceCount();
}

void ORVEX::IVHandle::ls(Option_t* opt) const {
    TObject* object = GetPointerValue();
    if (object) {
        object->ls(opt);
    } else {
        TROOT::IndentLevel();
        std::cout << "NULL handle" << std::endl;
    }
}
