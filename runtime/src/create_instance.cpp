// Object creation: the built-in classes of the runtime.
#include <vector>

#include "builtin_classes.h"
#include "kesto/com.h"

namespace kesto {
namespace {

struct BuiltinClass {
    const COM_GUID* clsid;
    BuiltinFactory factory;
};

std::vector<BuiltinClass>& BuiltinClasses() {
    static std::vector<BuiltinClass> classes;
    return classes;
}

}  // namespace

BuiltinFactory FindBuiltinClass(const COM_GUID& clsid) {
    for (const BuiltinClass& entry : BuiltinClasses()) {
        if (COM_IsEqualGUID(*entry.clsid, clsid)) return entry.factory;
    }
    return nullptr;
}

BuiltinClassRegistrar::BuiltinClassRegistrar(const COM_GUID& clsid, BuiltinFactory factory) {
    BuiltinClasses().push_back({&clsid, factory});
}

}  // namespace kesto

extern "C" HRESULT COM_CreateInstance(const COM_GUID& clsid, COM_IUnknown* outer, const COM_GUID& iid,
                                      void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    if (kesto::BuiltinFactory factory = kesto::FindBuiltinClass(clsid)) return factory(iid, out);
    return CLASS_E_CLASSNOTAVAILABLE;
}
