// Looking up a class's in-process server.
#include "registry_lookup.h"

#include <memory>

#include "kesto/registry.h"
#include "registry_path.h"
#include "registry_store.h"

namespace kesto {
namespace {

std::string ClassKeyName(const COM_GUID& clsid) {
    BSTR text = nullptr;
    if (COM_CLSIDToString(clsid, &text) != S_OK) return std::string();
    std::string narrow(text, text + COM_SysStringLen(text));
    COM_SysFreeString(text);
    return narrow;
}

}  // namespace

HRESULT LookupInprocServer(const COM_GUID& clsid, std::string* module) {
    module->clear();
    std::string classKey = ClassKeyName(clsid);
    if (classKey.empty()) return E_OUTOFMEMORY;
    std::unique_ptr<RegistryStore> store;
    HRESULT hr = RegistryStore::Open(RegistryFilePath(), RegistryStore::OpenMode::kExisting, &store);
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

}  // namespace kesto
