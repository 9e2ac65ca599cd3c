// A small in-process server for the object-creation tests. Class 1 makes a plain
// counted object; class 2's factory throws as a component running out of memory
// would. Built a second time without GetClassObject, as a module that lacks the
// entry point.
#include <new>

#include "kesto/com.h"

#define TEST_MODULE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

[[maybe_unused]] const COM_GUID kPlainClass = {0x6B1D0001, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};
[[maybe_unused]] const COM_GUID kThrowingClass = {0x6B1D0002, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}};
long s_outstanding = 0;  // objects alive plus factory references held

template <typename Interface, const COM_GUID* kIid>
class Counted : public Interface {
public:
    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        *out = COM_IsEqualGUID(iid, *kIid) || COM_IsEqualGUID(iid, COM_IID_IUnknown) ? this : nullptr;
        if (*out == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    unsigned long AddRef() override { return ++s_outstanding, ++m_references; }
    unsigned long Release() override {
        --s_outstanding;
        unsigned long left = --m_references;
        if (left == 0 && m_heap) delete this;
        return left;
    }

protected:
    bool m_heap = true;

private:
    unsigned long m_references = 0;
};

class PlainObject final : public Counted<COM_IUnknown, &COM_IID_IUnknown> {};

class Factory final : public Counted<COM_IClassFactory, &COM_IID_IClassFactory> {
public:
    explicit Factory(bool throws) : m_throws(throws) { m_heap = false; }
    HRESULT CreateInstance(const COM_GUID& iid, void** out) override {
        if (m_throws) throw std::bad_alloc();
        auto* object = new PlainObject;
        object->AddRef();
        HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    }

private:
    bool m_throws;
};

Factory s_plainFactory(false);
Factory s_throwingFactory(true);

}  // namespace

TEST_MODULE_EXPORT long TestModuleOutstanding() { return s_outstanding; }

#ifndef TEST_MODULE_WITHOUT_ENTRY_POINT
TEST_MODULE_EXPORT HRESULT GetClassObject(const COM_GUID& clsid, const COM_GUID& iid, void** out) {
    if (COM_IsEqualGUID(clsid, kPlainClass)) return s_plainFactory.QueryInterface(iid, out);
    if (COM_IsEqualGUID(clsid, kThrowingClass)) return s_throwingFactory.QueryInterface(iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}
#endif
