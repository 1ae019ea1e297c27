#ifndef ORVEX_IHandle_hxx_seen
#define ORVEX_IHandle_hxx_seen

#include <typeinfo>

#include <TObject.h>

#include "EovCore.hxx"
#include "IORVEXLog.hxx"

namespace ORVEX {
    class IHandleBase;
    class IHandleBaseDeletable;
    class IVHandle;
    template <class T>
    class IHandle;

    ORVEX_EXCEPTION(EHandle, EovCore);
    ORVEX_EXCEPTION(EHandleBadReference, EHandle);
}

/// The shared reference holder behind all handles to one object: it keeps
/// the object and the count of handles that refer to it.
class ORVEX::IHandleBase {
public:
    virtual ~IHandleBase();
    virtual TObject* GetObject() const = 0;
    int GetReferenceCount() const { return fCount; }
    void IncrementReferenceCount() { ++fCount; }
    /// True when the count dropped to zero.
    bool DecrementReferenceCount() { return --fCount <= 0; }

protected:
    IHandleBase() : fCount(0) {}

private:
    IHandleBase(const IHandleBase&);
    IHandleBase& operator=(const IHandleBase&);

    int fCount;
};

/// A holder that owns its object and deletes it when it is destroyed, which
/// happens when the last handle lets go.
class ORVEX::IHandleBaseDeletable : public IHandleBase {
public:
    explicit IHandleBaseDeletable(TObject* object) : fObject(object) {}
    virtual ~IHandleBaseDeletable();
    virtual TObject* GetObject() const { return fObject; }

private:
    TObject* fObject;
};

/// The non-template part of all handles: a TObject with a pointer to the
/// shared holder.
class ORVEX::IVHandle : public TObject {
public:
    IVHandle() : fHandle(NULL) {}
    IVHandle(const IVHandle& rhs) : TObject(rhs), fHandle(rhs.fHandle) {}
    IVHandle& operator=(const IVHandle& rhs);
    virtual ~IVHandle() {}

    /// Refer to `base` (or to nothing) without touching any count.
    void Default(IHandleBase* base) { fHandle = base; }
    /// Become one more reference to the object of `rhs`.
    void Link(const IVHandle& rhs);
    /// Give up this reference; true when it was the last one.
    bool Unlink();
    /// Destroy the shared holder after Unlink() returned true.
    void Destroy();

    TObject* GetPointerValue() const;
    /// How many handles share the object; 0 for a null handle.
    int GetReferenceCount() const;

    /// Identity of the referenced object, never equality of its fields.
    bool operator==(const IVHandle& rhs) const {
        return GetPointerValue() == rhs.GetPointerValue();
    }
    bool operator!=(const IVHandle& rhs) const { return !(*this == rhs); }

    virtual void ls(Option_t* opt = "") const;

protected:
    /// Take over a new object into a fresh holder.
    void Adopt(TObject* object);

private:
    IHandleBase* fHandle;
};

/// The reference-counted handle to an object of class T.  Reaching the
/// object goes through operator->, which checks on every access that the
/// handle isn't null and that the object really is a T.
template <class T>
class ORVEX::IHandle : public IVHandle {
public:
    /// Serves the boolean test without allowing arithmetic on the result.
    class Tester {
        void operator delete(void*);
    };

    IHandle() { Default(NULL); }

    /// Take over `pointer`: the handle owns the object from now on.
    explicit IHandle(T* pointer) {
        Default(NULL);
        if (pointer) Adopt(pointer);
    }

    IHandle(const IHandle<T>& rhs) : IVHandle(rhs) {
        Default(NULL);
        Link(rhs);
    }

    /// From a handle of another class: null when the object isn't a T.
    template <class U>
    IHandle(const IHandle<U>& rhs) {
        Default(NULL);
        if (rhs.GetPointerValue() && dynamic_cast<T*>(rhs.GetPointerValue())) {
            Link(rhs);
        }
    }

    IHandle<T>& operator=(const IHandle<T>& rhs) {
        Assign(rhs);
        return *this;
    }

    template <class U>
    IHandle<T>& operator=(const IHandle<U>& rhs) {
        Assign(rhs);
        return *this;
    }

    virtual ~IHandle() {
        if (Unlink()) Destroy();
    }

    operator Tester*() const {
        if (!GetPointerValue()) return NULL;
        static Tester test;
        return &test;
    }

    T* operator->() const { return Checked(); }
    T& operator*() const { return *Checked(); }

private:
    void Assign(const IVHandle& rhs) {
        if (*this == rhs) return;
        if (Unlink()) Destroy();
        Default(NULL);
        if (rhs.GetPointerValue() && dynamic_cast<T*>(rhs.GetPointerValue())) {
            Link(rhs);
        }
    }

    T* Checked() const {
        TObject* object = GetPointerValue();
        if (!object) {
            ORVEXError("Referencing a NULL handle " << typeid(T).name());
            throw EHandleBadReference();
        }
        T* pointer = dynamic_cast<T*>(object);
        if (!pointer) {
            ORVEXError("Referencing with an invalid cast" << typeid(T).name());
            throw EHandleBadReference();
        }
        return pointer;
    }
};

#endif
