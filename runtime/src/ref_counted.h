// The reference counting and interface lookup that every simple runtime object
// shares. RefCounted<Interface, Iids...> implements COM_IUnknown for an object that
// exposes one interface table: QueryInterface answers COM_IID_IUnknown and each id
// in Iids with that table (and one more reference), anything else with
// E_NOINTERFACE and NULL, and a NULL out argument with E_POINTER. AddRef and
// Release return the new count; the object deletes itself when it reaches zero.
// The count is a plain integer: one object is used by one thread at a time.
#ifndef KESTO_RUNTIME_REF_COUNTED_H_
#define KESTO_RUNTIME_REF_COUNTED_H_

#include <new>
#include <utility>

#include "kesto/com.h"

namespace kesto {

template <typename Interface, const COM_GUID&... Iids>
class RefCounted : public Interface {
public:
    HRESULT QueryInterface(const COM_GUID& iid, void** out) final {
        if (out == nullptr) return E_POINTER;
        if (COM_IsEqualGUID(iid, COM_IID_IUnknown) || (COM_IsEqualGUID(iid, Iids) || ...)) {
            *out = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() final { return ++m_references; }
    unsigned long Release() final {
        unsigned long left = --m_references;
        if (left == 0) delete this;
        return left;
    }

protected:
    RefCounted() = default;

private:
    unsigned long m_references = 0;
};

// Makes an Object from `arguments` and hands out its interface `iid` with one
// reference. When the object has no such interface it is deleted again and the
// QueryInterface result returned; E_OUTOFMEMORY (and NULL) when it cannot be made.
template <typename Object, typename... Arguments>
HRESULT NewObjectFor(const COM_GUID& iid, void** out, Arguments&&... arguments) {
    if (out == nullptr) return E_POINTER;
    auto* object = new (std::nothrow) Object(std::forward<Arguments>(arguments)...);
    if (object == nullptr) {
        *out = nullptr;
        return E_OUTOFMEMORY;
    }
    object->AddRef();
    HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
}

}  // namespace kesto

#endif  // KESTO_RUNTIME_REF_COUNTED_H_
