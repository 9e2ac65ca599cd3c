// Looking up a class's in-process server.
#include "registry_lookup.h"

#include <memory>

#include "guid_text.h"
#include "kesto/registry.h"
#include "registry_path.h"
#include "registry_store.h"

namespace kesto {

namespace {

HRESULT LookupIn(const std::string& registryFile, const COM_GUID& clsid, std::string* module) {
    const std::string classKey = GuidText(clsid);
    std::unique_ptr<RegistryStore> store;
    HRESULT hr = RegistryStore::Open(registryFile, RegistryStore::OpenMode::kExisting, &store);
    if (hr != S_OK) return hr;
    hr = store->BeginRead();
    if (FAILED(hr)) return hr;
    RegistryStore::KeyId key = RegistryStore::RootKey(1);
    for (const char* name : {"CLSID", classKey.c_str(), "InprocServer32"}) {
        hr = store->FindChild(key, name, &key);
        if (hr != S_OK) return hr;
    }
    RegistryStore::Value value;
    hr = store->GetValue(key, std::string(), &value);
    if (hr != S_OK) return hr;
    if (value.kind != KESTO_REGISTRY_STRING) return REGDB_E_INVALIDVALUE;
    *module = value.text;
    return S_OK;
}

}  // namespace

HRESULT LookupInprocServer(const COM_GUID& clsid, std::string* module) {
    module->clear();
    HRESULT hr = LookupIn(RegistryFilePath(), clsid, module);
    if (hr != S_FALSE) return hr;
    // What the user has not registered may come with the installation. A system
    // registry that is missing or unreadable is no registration, not an error.
    const std::string systemFile = SystemRegistryFilePath();
    if (systemFile.empty()) return S_FALSE;
    hr = LookupIn(systemFile, clsid, module);
    return hr == S_OK ? S_OK : S_FALSE;
}

}  // namespace kesto
