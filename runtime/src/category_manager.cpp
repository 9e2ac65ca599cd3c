// The category manager (COM_CLSID_CategoryManager): component categories kept in
// root 1 of the registry, each call one transaction.
#include <memory>
#include <string>
#include <vector>

#include "builtin_classes.h"
#include "guid_text.h"
#include "kesto/registry.h"
#include "ref_counted.h"
#include "registry_path.h"
#include "registry_store.h"
#include "registry_text.h"
#include "registry_transaction.h"

namespace kesto {
namespace {

using KeyId = RegistryStore::KeyId;

constexpr const char* kCategoriesKey = "Component Categories";
constexpr const char* kImplementedKey = "Implemented Categories";

class CategoryManager final : public RefCounted<Exposes<COM_ICatRegister, COM_IID_ICatRegister>> {
public:
    explicit CategoryManager(std::shared_ptr<RegistryStore> store) : m_store(std::move(store)) {}

    HRESULT RegisterCategory(const COM_GUID& category, CBSTR description) override {
        return InTransaction([&]() -> HRESULT {
            KeyId key;
            HRESULT hr = CreatePath({kCategoriesKey, GuidText(category)}, &key);
            if (FAILED(hr)) return hr;
            return m_store->SetString(key, std::string(), StoredTextFromUnits(description));
        });
    }

    HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        if (category == nullptr) return E_POINTER;
        return InTransaction([&]() -> HRESULT {
            KeyId key;
            return CreatePath({"CLSID", GuidText(clsid), kImplementedKey, GuidText(*category)}, &key);
        });
    }

    HRESULT UnregisterCategory(const COM_GUID& category) override {
        return InTransaction([&]() -> HRESULT { return DeleteWithEmptyParent({kCategoriesKey}, GuidText(category)); });
    }

    HRESULT UnregisterClassFromCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        if (category == nullptr) return E_POINTER;
        return InTransaction([&]() -> HRESULT {
            return DeleteWithEmptyParent({"CLSID", GuidText(clsid), kImplementedKey}, GuidText(*category));
        });
    }

private:
    template <typename Work>
    HRESULT InTransaction(Work work) {
        HRESULT hr = m_store->Begin();
        if (FAILED(hr)) return hr;
        hr = work();
        if (FAILED(hr)) {
            m_store->Rollback();
            return hr;
        }
        HRESULT committed = m_store->Commit();
        return FAILED(committed) ? committed : hr;
    }

    HRESULT CreatePath(const std::vector<std::string>& names, KeyId* key) {
        *key = RegistryStore::RootKey(1);
        for (const std::string& name : names) {
            HRESULT hr = m_store->CreateChild(*key, name, key);
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }

    // Deletes `leaf` below the key at `parentPath`, then the parent once it is
    // left empty. S_FALSE when any of it is missing.
    HRESULT DeleteWithEmptyParent(const std::vector<std::string>& parentPath, const std::string& leaf) {
        KeyId parent = RegistryStore::RootKey(1);
        for (const std::string& name : parentPath) {
            HRESULT hr = m_store->FindChild(parent, name, &parent);
            if (hr != S_OK) return hr;
        }
        KeyId key;
        HRESULT hr = m_store->FindChild(parent, leaf, &key);
        if (hr != S_OK) return hr;
        hr = m_store->DeleteTree(key);
        if (FAILED(hr)) return hr;
        hr = m_store->IsEmpty(parent);
        if (FAILED(hr)) return hr;
        return hr == S_OK ? m_store->DeleteTree(parent) : S_OK;
    }

    std::shared_ptr<RegistryStore> m_store;
};

HRESULT CreateCategoryManager(const COM_GUID& iid, void** out) {
    RegistryConnection connection;
    HRESULT hr = ConnectRegistry(&connection);
    if (FAILED(hr)) return hr;
    return NewObjectFor<CategoryManager>(iid, out, std::move(connection.store));
}

const BuiltinClassRegistrar s_categoryManagerClass(COM_CLSID_CategoryManager, CreateCategoryManager);

}  // namespace
}  // namespace kesto
