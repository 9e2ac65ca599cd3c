// The reason of the last failed registry call on this thread, for hosts that
// want more than the status code (KESTO_RegistryLastError in kesto/registry.h).
// Each thread has its own, so concurrent registrations do not mix their reasons.
#ifndef KESTO_RUNTIME_REGISTRY_ERROR_H_
#define KESTO_RUNTIME_REGISTRY_ERROR_H_

#include <string>

#include "kesto/com.h"

namespace kesto {

// Records the status of a failure and its reason (the file and the cause, in
// SQLite's or the system's words).
void SetRegistryError(HRESULT status, std::string reason);
void ClearRegistryError();
const std::string& RegistryError();
HRESULT RegistryErrorStatus();

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_ERROR_H_
