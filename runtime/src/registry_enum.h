// An enumerator over a snapshot of names (subkeys or values of one key). It holds
// no reference to the registry it came from and stays valid after it.
#ifndef KESTO_RUNTIME_REGISTRY_ENUM_H_
#define KESTO_RUNTIME_REGISTRY_ENUM_H_

#include <string>
#include <vector>

#include "kesto/registry.h"

namespace kesto {

// *out gets one reference; E_OUTOFMEMORY when the object cannot be made.
HRESULT MakeNameEnumerator(std::vector<std::string> names, COM_IRegistryEnum** out);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_ENUM_H_
