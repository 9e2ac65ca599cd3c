// kesto/diagnostics.h: test hooks of the runtime.
//
// These are not used by components. Tests use them to reach out-of-memory paths
// and to check that every string handed out was given back.
#ifndef KESTO_DIAGNOSTICS_H_
#define KESTO_DIAGNOSTICS_H_

#include "kesto/com.h"

extern "C" {

// Fault injection for string allocations (COM_SysAllocString, COM_SysAllocStringLen,
// COM_SysReAllocString): after `skip` further allocations succeed, the next `count`
// fail as if memory were exhausted. KESTO_FaultInjectStrings(0, 0) turns it off.
// The environment variable KESTO_FAIL_STRING_ALLOCS="skip,count" sets the same at
// load time.
KESTO_EXPORT void KESTO_FaultInjectStrings(unsigned long skip, unsigned long count);
// Allocations that failed through fault injection since the last call to
// KESTO_FaultInjectStrings.
KESTO_EXPORT unsigned long KESTO_FaultInjectedFailures();

// Number of BSTRs allocated and not yet freed, process-wide.
KESTO_EXPORT long KESTO_LiveStringCount();

// Makes COM_CreateInstance create `clsid` with `factory` instead of its built-in
// class or its registered server, so that a test can put a recording double in
// the place of the registry or the category manager, or make its creation fail.
// A NULL factory removes the override. The factory's result is passed on as it is.
typedef HRESULT (*KESTO_ClassFactoryFunction)(const COM_GUID& iid, void** out);
KESTO_EXPORT void KESTO_OverrideClass(const COM_GUID& clsid, KESTO_ClassFactoryFunction factory);

// The environment variable KESTO_REGISTRY_KILL_AT_CHANGE=N makes the process kill
// itself (SIGKILL) right after its Nth change to the registry (a key made or
// deleted, a value set or deleted), before that change's transaction ends, so
// that tests can stop a registration at a chosen step rather than at a moment.

}  // extern "C"

#endif  // KESTO_DIAGNOSTICS_H_
