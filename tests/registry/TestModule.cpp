// A small in-process server for the object-creation tests. Class 1 makes a plain
// counted object; class 2's factory throws as a component running out of memory
// would. Built a second time without GetClassObject, as a module that lacks the
// entry point.
#include <new>

#include "kesto/com.h"

#define TEST_MODULE_EXPORT __attribute__((visibility("default")))

extern "C" TEST_MODULE_EXPORT const COM_GUID kTestModuleClassPlain = {
    0x6B1D0001, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01}};
extern "C" TEST_MODULE_EXPORT const COM_GUID kTestModuleClassThrowing = {
    0x6B1D0002, 0x0000, 0x4000, {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02}};

namespace {

long s_liveObjects = 0;

class PlainObject final : public COM_IUnknown {
public:
    PlainObject() { ++s_liveObjects; }
    ~PlainObject() override { --s_liveObjects; }
    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        if (!COM_IsEqualGUID(iid, COM_IID_IUnknown)) {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        *out = this;
        AddRef();
        return S_OK;
    }
    unsigned long AddRef() override { return ++m_references; }
    unsigned long Release() override {
        unsigned long left = --m_references;
        if (left == 0) delete this;
        return left;
    }

private:
    unsigned long m_references = 0;
};

class Factory final : public COM_IClassFactory {
public:
    explicit Factory(bool throws) : m_throws(throws) {}
    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        if (!COM_IsEqualGUID(iid, COM_IID_IClassFactory) && !COM_IsEqualGUID(iid, COM_IID_IUnknown)) {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        *out = static_cast<COM_IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    unsigned long AddRef() override { return ++m_references; }
    unsigned long Release() override { return --m_references; }
    HRESULT CreateInstance(const COM_GUID& iid, void** out) override {
        if (m_throws) throw std::bad_alloc();
        auto* object = new PlainObject;
        object->AddRef();
        HRESULT hr = object->QueryInterface(iid, out);
        object->Release();
        return hr;
    }
    long m_references = 0;

private:
    bool m_throws;
};

Factory s_plainFactory(false);
Factory s_throwingFactory(true);

}  // namespace

// Objects alive plus factory references outstanding, as a module would count
// them before agreeing to be unloaded.
extern "C" TEST_MODULE_EXPORT long TestModuleOutstanding() {
    return s_liveObjects + s_plainFactory.m_references + s_throwingFactory.m_references;
}

#ifndef TEST_MODULE_WITHOUT_ENTRY_POINT
extern "C" TEST_MODULE_EXPORT HRESULT GetClassObject(const COM_GUID& clsid, const COM_GUID& iid, void** out) {
    if (COM_IsEqualGUID(clsid, kTestModuleClassPlain)) return s_plainFactory.QueryInterface(iid, out);
    if (COM_IsEqualGUID(clsid, kTestModuleClassThrowing)) return s_throwingFactory.QueryInterface(iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}
#endif
