// The module object and the library's exported entry points.
#include "sysCom.h"

#include "utlLiteral.h"

// Static storage with no constructor: the lock count is 0 before any code runs.
COM_CComModule g_theModule;

namespace {

// The registered server file name, whatever the file is called or where it lies.
const char kModuleName[] = "libvantleassist.so";

bool IsOffsetEntry(const COM_INTERFACE_ENTRY& entry) { return entry.resolver == COM_INTERFACE_OFFSET_ENTRY; }

void* Displace(void* object, unsigned long long displacement) {
    return static_cast<unsigned char*>(object) + displacement;
}

// Hands out the interface at `interface`, with the reference the caller now owns.
HRESULT HandOut(void* interface, void** out) {
    *out = interface;
    static_cast<COM_IUnknown*>(interface)->AddRef();
    return S_OK;
}

}  // namespace

HRESULT COM_CComModule::GetModuleName(unsigned short** out) {
    if (out == nullptr) return E_POINTER;
    unsigned short wide[sizeof kModuleName];
    for (unsigned long i = 0; i < sizeof kModuleName; ++i) {
        wide[i] = static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(kModuleName[i])));
    }
    *out = COM_SysAllocString(wide);
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT COM_CComModule::GetModulePath(unsigned short** out) {
    if (out == nullptr) return E_POINTER;
    *out = COM_SysAllocString(utlLiteral<"">);
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

extern "C" {

HRESULT GetClassObject(const COM_GUID& clsid, const COM_GUID& iid, void** out) {
    for (const COM_OBJECT_MAP_ENTRY* entry = GetObjectMap(); entry->clsid != nullptr; ++entry) {
        if (COM_IsEqualGUID(*entry->clsid, clsid)) return entry->factory->QueryInterface(iid, out);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CanUnloadNow() { return g_theModule.GetLockCount() != 0 ? S_FALSE : S_OK; }

HRESULT DllRegisterServer() { return g_theModule.RegisterServer(1); }

HRESULT DllUnregisterServer() { return g_theModule.RegisterServer(0); }

HRESULT InterfaceTableQueryInterface(void* object, const COM_INTERFACE_ENTRY* table, const COM_GUID& iid,
                                     void** out) {
    if (out == nullptr) return E_POINTER;
    if (object == nullptr || table == nullptr) {
        *out = nullptr;
        return E_POINTER;
    }
    // The first row is the object's identity, whichever interface the caller holds.
    if (COM_IsEqualGUID(iid, COM_IID_IUnknown)) return HandOut(Displace(object, table[0].data), out);

    // Callers see the code of the last resolver that refused, not a generic
    // E_NOINTERFACE: a cache that is not ready says so with its own code.
    HRESULT pending = E_NOINTERFACE;
    for (const COM_INTERFACE_ENTRY* entry = table; entry->resolver != nullptr; ++entry) {
        if (entry->iid != nullptr && !COM_IsEqualGUID(*entry->iid, iid)) continue;
        if (IsOffsetEntry(*entry)) return HandOut(Displace(object, entry->data), out);
        HRESULT hr = entry->resolver(object, entry->data, iid, out);
        if (hr == S_OK) return S_OK;
        pending = hr;
    }
    *out = nullptr;
    return pending;
}

void COM_RegisterExitHandler(void (*)(), int) {
    // Nothing to do: the library keeps no state that needs tearing down at exit.
}

}  // extern "C"
