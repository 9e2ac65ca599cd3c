// Reading a class's in-process server from the registry without changing it: a
// missing registry file is not made, and nothing is locked against writers.
#ifndef KESTO_RUNTIME_REGISTRY_LOOKUP_H_
#define KESTO_RUNTIME_REGISTRY_LOOKUP_H_

#include <string>

#include "kesto/com.h"

namespace kesto {

// S_OK with the module named by the default value of CLSID\{clsid}\InprocServer32
// in root 1 of the user's registry, else of the system registry (for the user's,
// the full path recorded beside it when that file exists); S_FALSE when the
// class is registered in neither (or there is no registry yet); a registry HRESULT
// when the user's file cannot be read.
HRESULT LookupInprocServer(const COM_GUID& clsid, std::string* module);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_LOOKUP_H_
