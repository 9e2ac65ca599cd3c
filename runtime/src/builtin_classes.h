// The runtime's built-in classes, created by COM_CreateInstance without the
// registry. Each class registers itself from its own source file with a static
// BuiltinClassRegistrar; the list is complete once static initialisation is over
// and only read after that, so lookups take no lock.
#ifndef KESTO_RUNTIME_BUILTIN_CLASSES_H_
#define KESTO_RUNTIME_BUILTIN_CLASSES_H_

#include "kesto/com.h"

namespace kesto {

using BuiltinFactory = HRESULT (*)(const COM_GUID& iid, void** out);

// NULL when clsid is not a built-in class.
BuiltinFactory FindBuiltinClass(const COM_GUID& clsid);

struct BuiltinClassRegistrar {
    BuiltinClassRegistrar(const COM_GUID& clsid, BuiltinFactory factory);
};

}  // namespace kesto

#endif  // KESTO_RUNTIME_BUILTIN_CLASSES_H_
