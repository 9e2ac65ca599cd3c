// TestComponent.h: a small component class built on the frame, for its tests.
//
// CTestComponent answers two interfaces, ITestGreeter (first, so it is also the
// object's identity) and ITestCounter, from its own interface table, and is made
// by its own static class factory. s_live counts constructed and not yet destroyed
// objects, so tests can see exactly when the last Release destroys one.
#ifndef VANTLE_TESTS_SYS_TESTCOMPONENT_H_
#define VANTLE_TESTS_SYS_TESTCOMPONENT_H_

#include "kesto/com.h"
#include "sys/sysCom.h"

inline constexpr COM_GUID kCLSID_TestComponent = {0x6A1C2F10, 0x3B7E, 0x4D21, {0x9E, 0x51, 0, 0, 0, 0, 0, 1}};
inline constexpr COM_GUID kIID_ITestGreeter = {0x6A1C2F11, 0x3B7E, 0x4D21, {0x9E, 0x51, 0, 0, 0, 0, 0, 1}};
inline constexpr COM_GUID kIID_ITestCounter = {0x6A1C2F12, 0x3B7E, 0x4D21, {0x9E, 0x51, 0, 0, 0, 0, 0, 1}};
// Answered by nobody.
inline constexpr COM_GUID kIID_ITestMissing = {0x6A1C2F13, 0x3B7E, 0x4D21, {0x9E, 0x51, 0, 0, 0, 0, 0, 1}};

class ITestGreeter : public COM_IUnknown {
public:
    virtual HRESULT Greet(BSTR* out) = 0;  // slot 5
};

class ITestCounter : public COM_IUnknown {
public:
    virtual unsigned long References() = 0;  // slot 5
};

class CTestComponent : public COM_CComObjectRoot,
                       public COM_CComCoClass<CTestComponent, &kCLSID_TestComponent>,
                       public ITestGreeter,
                       public ITestCounter {
public:
    CTestComponent() { ++s_live; }
    ~CTestComponent() override { --s_live; }

    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        return InterfaceTableQueryInterface(this, s_interface_table, iid, out);
    }
    unsigned long AddRef() override { return InternalAddRef(m_references); }
    unsigned long Release() override { return InternalRelease(this, m_references); }

    HRESULT Greet(BSTR* out) override {
        static const unsigned short kHello[] = {'h', 'e', 'l', 'l', 'o', 0};
        *out = COM_SysAllocString(kHello);
        return *out == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    unsigned long References() override { return m_references; }

    // ITestCounter lies one table pointer into the object; the tests check it.
    static inline const COM_INTERFACE_ENTRY s_interface_table[] = {
        {&kIID_ITestGreeter, COM_INTERFACE_OFFSET_ENTRY, 0},
        {&kIID_ITestCounter, COM_INTERFACE_OFFSET_ENTRY, sizeof(void*)},
        {nullptr, nullptr, 0},
    };
    static inline COM_CClassFactory<CTestComponent> _theClassFactory;
    static inline int s_live = 0;

private:
    unsigned long m_references = 0;
};

#endif  // VANTLE_TESTS_SYS_TESTCOMPONENT_H_
