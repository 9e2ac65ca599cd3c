// The reference counting and interface lookup that every runtime object shares.
//
// An object derives from RefCounted<Exposes<I1, kIid1>, Exposes<I2, kIid2>, ...>
// and implements the interface tables I1, I2, ... QueryInterface hands out table I
// for its identifier kIid, with one more reference; COM_IID_IUnknown gets the first
// table, so that every table of an object leads back to one IUnknown pointer. Any
// other identifier gives E_NOINTERFACE and NULL, a NULL out argument E_POINTER.
// AddRef and Release return the new count; the object deletes itself when it
// reaches zero. The count is a plain integer: one object is used by one thread at a
// time.
#ifndef KESTO_RUNTIME_REF_COUNTED_H_
#define KESTO_RUNTIME_REF_COUNTED_H_

#include <new>
#include <utility>

#include "kesto/com.h"

namespace kesto {

// One interface table of an object and the identifier that asks for it.
template <typename Interface, const COM_GUID& Iid>
struct Exposes {
    using Table = Interface;
    static const COM_GUID& Id() { return Iid; }
};

template <typename First, typename... Rest>
class RefCounted : public First::Table, public Rest::Table... {
public:
    HRESULT QueryInterface(const COM_GUID& iid, void** out) final {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (COM_IsEqualGUID(iid, COM_IID_IUnknown)) {
            *out = static_cast<typename First::Table*>(this);
        } else if (!(Offer<First>(iid, out) || ... || Offer<Rest>(iid, out))) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    unsigned long AddRef() final { return ++references_; }
    unsigned long Release() final {
        unsigned long left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    RefCounted() = default;

private:
    template <typename Entry>
    bool Offer(const COM_GUID& iid, void** out) {
        if (!COM_IsEqualGUID(iid, Entry::Id())) return false;
        *out = static_cast<typename Entry::Table*>(this);
        return true;
    }

    unsigned long references_ = 0;
};

// A new Object made from `arguments`, holding one reference; NULL when there is no
// memory for it (its constructor included).
template <typename Object, typename... Arguments>
Object* NewObject(Arguments&&... arguments) {
    Object* object = nullptr;
    try {
        object = new Object(std::forward<Arguments>(arguments)...);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    object->AddRef();
    return object;
}

// Makes an Object from `arguments` and hands out its interface `iid` with one
// reference. When the object has no such interface it is deleted again and the
// QueryInterface result returned; E_OUTOFMEMORY (and NULL) when it cannot be made.
template <typename Object, typename... Arguments>
HRESULT NewObjectFor(const COM_GUID& iid, void** out, Arguments&&... arguments) {
    if (out == nullptr) return E_POINTER;
    Object* object = NewObject<Object>(std::forward<Arguments>(arguments)...);
    if (object == nullptr) {
        *out = nullptr;
        return E_OUTOFMEMORY;
    }
    HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}

}  // namespace kesto

#endif  // KESTO_RUNTIME_REF_COUNTED_H_
