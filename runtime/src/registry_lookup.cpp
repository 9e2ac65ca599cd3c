// Looking up a class's in-process server.
#include "registry_lookup.h"

#include <unistd.h>

#include <memory>

#include "guid_text.h"
#include "kesto/registry.h"
#include "registry_path.h"
#include "registry_store.h"
#include "registry_text.h"
#include "unicode_text.h"

namespace kesto {

namespace {

// Stored text back to the bytes of a file name (registry_transaction.h keeps
// names that are not UTF-8 as lone surrogates).
std::string FileNameOf(const std::string& stored) {
    const std::vector<unsigned short> units = UnitsFromStoredText(stored);
    return PathFromUtf16(std::u16string_view(reinterpret_cast<const char16_t*>(units.data()), units.size()));
}

// `withPath`: whether a recorded full path may stand for the name.
HRESULT LookupIn(const std::string& registryFile, const COM_GUID& clsid, bool withPath, std::string* module) {
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
    *module = FileNameOf(value.text);
    if (!withPath) return S_OK;
    // The copy that was registered, while it is there; else the name is looked
    // for as a bare name always is.
    RegistryStore::Value path;
    if (store->GetValue(key, "Path", &path) != S_OK || path.kind != KESTO_REGISTRY_STRING) return S_OK;
    std::string file = FileNameOf(path.text);
    if (!file.empty() && file[0] == '/' && access(file.c_str(), F_OK) == 0) *module = std::move(file);
    return S_OK;
}

}  // namespace

HRESULT LookupInprocServer(const COM_GUID& clsid, std::string* module) {
    module->clear();
    HRESULT hr = LookupIn(RegistryFilePath(), clsid, true, module);
    if (hr != S_FALSE) return hr;
    // What the user has not registered may come with the installation. A system
    // registry that is missing or unreadable is no registration, not an error.
    // Its records are made at build time and name the module by file name only,
    // to be found beside the installed runtime wherever the installation goes.
    const std::string systemFile = SystemRegistryFilePath();
    if (systemFile.empty()) return S_FALSE;
    hr = LookupIn(systemFile, clsid, false, module);
    return hr == S_OK ? S_OK : S_FALSE;
}

}  // namespace kesto
