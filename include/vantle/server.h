// vantle/server.h: the entry points of libvantleassist.so as an in-process server,
// and the layout of the tables they hand out.
//
// The runtime finds them by name (dlsym) when it creates an object or registers a
// server; an installer may call DllRegisterServer and DllUnregisterServer itself.
// The object map and the interface tables are static data of the library, valid
// while it is loaded, and never freed by the caller. Registration writes to the
// runtime's registry and may be run by several processes at once; the other entry
// points follow the service's rule: one thread at a time.
#ifndef VANTLE_SERVER_H_
#define VANTLE_SERVER_H_

#include "kesto/com.h"
#include "vantle/export.h"

typedef HRESULT (*COM_InterfaceResolver)(void* object, unsigned long long data, const COM_GUID& iid,
                                         void** out);

// One row of an interface table. A row whose resolver is 0 ends the table; a NULL
// identifier matches every identifier. The first row must be an offset row: its
// displacement is also the identity used for COM_IID_IUnknown.
struct COM_INTERFACE_ENTRY {
    const COM_GUID* iid;
    COM_InterfaceResolver resolver;
    unsigned long long data;
};

// One row of the object map; the row whose clsid is NULL ends the map.
struct COM_OBJECT_MAP_ENTRY {
    const COM_GUID* clsid;
    COM_IClassFactory* factory;
    HRESULT (*updateRegistry)(int doRegister);  // may be NULL
    const void* (*getCategoryMap)();             // always called
};

extern "C" {

VANTLE_EXPORT HRESULT GetClassObject(const COM_GUID& clsid, const COM_GUID& iid, void** out);
VANTLE_EXPORT HRESULT CanUnloadNow();
VANTLE_EXPORT HRESULT DllRegisterServer();
VANTLE_EXPORT HRESULT DllUnregisterServer();
// Resolves iid from a table: S_OK, E_NOINTERFACE, or the failure code of the last
// resolver function called when none succeeded.
VANTLE_EXPORT HRESULT InterfaceTableQueryInterface(void* object, const COM_INTERFACE_ENTRY* table,
                                                   const COM_GUID& iid, void** out);
VANTLE_EXPORT const COM_OBJECT_MAP_ENTRY* GetObjectMap();
// Kept for the runtime's calling convention; the handler is neither stored nor called.
VANTLE_EXPORT void COM_RegisterExitHandler(void (*handler)(), int);

}  // extern "C"

namespace vantle {
// The entry points' types, for hosts that look them up with dlsym.
using GetClassObjectFunction = HRESULT (*)(const COM_GUID& clsid, const COM_GUID& iid, void** out);
using CanUnloadNowFunction = HRESULT (*)();
using RegisterServerFunction = HRESULT (*)();
using GetObjectMapFunction = const COM_OBJECT_MAP_ENTRY* (*)();
}  // namespace vantle

#endif  // VANTLE_SERVER_H_
