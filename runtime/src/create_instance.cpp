// Object creation: test overrides, the runtime's built-in classes, then the
// in-process servers named in the registry.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "builtin_classes.h"
#include "kesto/com.h"
#include "kesto/diagnostics.h"
#include "registry_lookup.h"
#include "registry_path.h"

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

struct ClassOverride {
    COM_GUID clsid;
    KESTO_ClassFactoryFunction factory;
};

std::mutex& OverrideLock() {
    static std::mutex lock;
    return lock;
}

std::vector<ClassOverride>& Overrides() {
    static std::vector<ClassOverride> overrides;
    return overrides;
}

KESTO_ClassFactoryFunction FindOverride(const COM_GUID& clsid) {
    std::lock_guard<std::mutex> guard(OverrideLock());
    for (const ClassOverride& entry : Overrides()) {
        if (COM_IsEqualGUID(entry.clsid, clsid)) return entry.factory;
    }
    return nullptr;
}

using GetClassObjectFunction = HRESULT (*)(const COM_GUID& clsid, const COM_GUID& iid, void** out);

// Modules stay loaded for the life of the process: objects and factories handed
// out may outlive every reference the runtime knows of.
std::mutex& ModuleLock() {
    static std::mutex lock;
    return lock;
}

std::map<std::string, void*>& LoadedModules() {
    static std::map<std::string, void*> modules;
    return modules;
}

bool FileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// The first existing file wins: a module that is found but does not load is an
// error, not a reason to try the next folder.
void* OpenModule(const std::string& name) {
    constexpr int kFlags = RTLD_NOW | RTLD_LOCAL;
    if (name.find('/') != std::string::npos) return dlopen(name.c_str(), kFlags);
    if (const char* searchPath = std::getenv("KESTO_MODULE_PATH")) {
        std::string folders = searchPath;
        std::string::size_type start = 0;
        while (start <= folders.size()) {
            std::string::size_type end = folders.find(':', start);
            if (end == std::string::npos) end = folders.size();
            std::string folder = folders.substr(start, end - start);
            start = end + 1;
            if (folder.empty()) continue;
            std::string candidate = folder + "/" + name;
            if (FileExists(candidate)) return dlopen(candidate.c_str(), kFlags);
        }
    }
    std::string runtimeFolder = RuntimeFolder();
    if (!runtimeFolder.empty()) {
        std::string candidate = runtimeFolder + "/" + name;
        if (FileExists(candidate)) return dlopen(candidate.c_str(), kFlags);
    }
    return dlopen(name.c_str(), kFlags);
}

HRESULT LoadModuleOnce(const std::string& name, void** handle) {
    std::lock_guard<std::mutex> guard(ModuleLock());
    auto found = LoadedModules().find(name);
    if (found != LoadedModules().end()) {
        *handle = found->second;
        return S_OK;
    }
    if (name.empty()) return CO_E_DLLNOTFOUND;
    void* opened = OpenModule(name);
    if (opened == nullptr) return CO_E_DLLNOTFOUND;
    LoadedModules().emplace(name, opened);
    *handle = opened;
    return S_OK;
}

HRESULT CreateFromInprocServer(const COM_GUID& clsid, const COM_GUID& iid, void** out) {
    std::string moduleName;
    HRESULT hr = LookupInprocServer(clsid, &moduleName);
    if (FAILED(hr)) return hr;
    if (hr != S_OK) return CLASS_E_CLASSNOTAVAILABLE;
    void* module = nullptr;
    hr = LoadModuleOnce(moduleName, &module);
    if (FAILED(hr)) return hr;
    auto getClassObject = reinterpret_cast<GetClassObjectFunction>(dlsym(module, "GetClassObject"));
    if (getClassObject == nullptr) return CO_E_ERRORINDLL;
    COM_IClassFactory* factory = nullptr;
    hr = getClassObject(clsid, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory));
    if (FAILED(hr)) return hr;
    if (factory == nullptr) return E_NOINTERFACE;
    // A component's factory may throw; nothing may unwind through this C interface.
    try {
        hr = factory->CreateInstance(iid, out);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    } catch (...) {
        hr = E_FAIL;
    }
    factory->Release();
    return hr;
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

extern "C" {

HRESULT COM_CreateInstance(const COM_GUID& clsid, COM_IUnknown* outer, const COM_GUID& iid, void** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
        if (KESTO_ClassFactoryFunction factory = kesto::FindOverride(clsid)) return factory(iid, out);
        if (kesto::BuiltinFactory factory = kesto::FindBuiltinClass(clsid)) return factory(iid, out);
        return kesto::CreateFromInprocServer(clsid, iid, out);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

void KESTO_OverrideClass(const COM_GUID& clsid, KESTO_ClassFactoryFunction factory) {
    std::lock_guard<std::mutex> guard(kesto::OverrideLock());
    std::vector<kesto::ClassOverride>& overrides = kesto::Overrides();
    for (auto entry = overrides.begin(); entry != overrides.end(); ++entry) {
        if (COM_IsEqualGUID(entry->clsid, clsid)) {
            overrides.erase(entry);
            break;
        }
    }
    if (factory != nullptr) overrides.push_back({clsid, factory});
}

}  // extern "C"
