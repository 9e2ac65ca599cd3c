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

}  // extern "C"

#endif  // KESTO_DIAGNOSTICS_H_
