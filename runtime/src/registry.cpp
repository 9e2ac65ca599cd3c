// The registry object (COM_CLSID_Registry): a current key walking a RegistryStore,
// with one transaction per OpenRoot ... Close chain.
#include <memory>
#include <string>
#include <vector>

#include "builtin_classes.h"
#include "kesto/registry.h"
#include "ref_counted.h"
#include "registry_enum.h"
#include "registry_path.h"
#include "registry_error.h"
#include "registry_store.h"
#include "registry_text.h"
#include "registry_transaction.h"

namespace kesto {
namespace {

using KeyId = RegistryStore::KeyId;

constexpr const char* kServerPathValue = "Path";

class Registry final : public RefCounted<Exposes<COM_IRegistry, COM_IID_IRegistry>> {
public:
    explicit Registry(RegistryConnection connection)
        : m_store(std::move(connection.store)),
          m_moduleName(std::move(connection.moduleName)),
          m_modulePath(std::move(connection.modulePath)) {}
    // Releasing before Close rolls the chain back; the store may live on in the
    // thread's registration transaction.
    ~Registry() override {
        if (m_chainOpen) m_store->Rollback();
    }

    HRESULT OpenRoot(int root, CBSTR path) override {
        KeyId key = RegistryStore::RootKey(root);
        if (key == RegistryStore::kNoKey) return E_INVALIDARG;
        std::vector<std::string> names;
        HRESULT hr = SplitKeyPath(StoredTextFromUnits(path), &names);
        if (FAILED(hr)) return hr;
        bool began = false;
        if (!m_chainOpen) {
            hr = m_store->Begin();
            if (FAILED(hr)) return hr;
            m_chainOpen = began = true;
        } else if (!m_store->InTransaction()) {
            return REGDB_E_WRITEREGDB;
        }
        hr = Walk(key, names, false, &key);
        if (hr != S_OK) {
            if (began) EndChain();
            return FAILED(hr) ? hr : REGDB_E_KEYMISSING;
        }
        m_current = key;
        return S_OK;
    }

    HRESULT Close() override {
        m_current = RegistryStore::kNoKey;
        if (!m_chainOpen) return S_OK;
        m_chainOpen = false;
        return m_store->Commit();
    }

    HRESULT OpenKey(CBSTR name) override { return Descend(name, false); }

    HRESULT CreateKey(CBSTR name, int create) override { return Descend(name, create != 0); }

    HRESULT DeleteKey(CBSTR name) override {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        std::vector<std::string> names;
        hr = SplitKeyPath(StoredTextFromUnits(name), &names);
        if (FAILED(hr)) return hr;
        if (names.empty()) return m_store->DeleteEmptyChildren(m_current);
        KeyId key;
        hr = Walk(m_current, names, false, &key);
        if (hr != S_OK) return hr;
        return m_store->DeleteTree(key);
    }

    HRESULT SetStringValue(CBSTR valueName, CBSTR value) override {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        const std::string name = StoredTextFromUnits(valueName);
        const std::string text = StoredTextFromUnits(value);
        hr = m_store->SetString(m_current, name, text);
        if (FAILED(hr) || !name.empty() || m_moduleName.empty() || text != m_moduleName) return hr;
        // The server record of the module being registered: its full path goes
        // beside the file name, in the same chain.
        hr = m_store->IsServerKey(m_current);
        if (hr != S_OK) return FAILED(hr) ? hr : S_OK;
        return m_store->SetString(m_current, kServerPathValue, m_modulePath);
    }

    HRESULT GetStringValue(CBSTR valueName, BSTR* value) override {
        if (value == nullptr) return E_POINTER;
        *value = nullptr;
        RegistryStore::Value stored;
        HRESULT hr = Read(valueName, KESTO_REGISTRY_STRING, &stored);
        if (hr != S_OK) return hr;
        *value = AllocStringFromStoredText(stored.text);
        return *value == nullptr ? E_OUTOFMEMORY : S_OK;
    }

    HRESULT SetIntValue(CBSTR valueName, int value) override {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        return m_store->SetInteger(m_current, StoredTextFromUnits(valueName), value);
    }

    HRESULT GetIntValue(CBSTR valueName, int* value) override {
        if (value == nullptr) return E_POINTER;
        RegistryStore::Value stored;
        HRESULT hr = Read(valueName, KESTO_REGISTRY_INTEGER, &stored);
        if (hr != S_OK) return hr;
        // A number written by hand may not fit.
        if (stored.number < -2147483648LL || stored.number > 2147483647LL) {
            SetRegistryError(REGDB_E_INVALIDVALUE, m_store->Path() + ": the value \"" + StoredTextFromUnits(valueName) +
                                                       "\" holds " + std::to_string(stored.number) +
                                                       ", which is outside the 32-bit range");
            return REGDB_E_INVALIDVALUE;
        }
        *value = static_cast<int>(stored.number);
        return S_OK;
    }

    HRESULT DeleteValue(CBSTR valueName) override {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        return m_store->DeleteValue(m_current, StoredTextFromUnits(valueName));
    }

    HRESULT EnumSubkeys(COM_IRegistryEnum** out) override { return EnumNames(&RegistryStore::ChildNames, out); }

    HRESULT EnumValues(COM_IRegistryEnum** out) override { return EnumNames(&RegistryStore::ValueNames, out); }

    HRESULT GetValueKind(CBSTR valueName, int* kind) override {
        if (kind == nullptr) return E_POINTER;
        *kind = KESTO_REGISTRY_NONE;
        RegistryStore::Value stored;
        HRESULT hr = Read(valueName, KESTO_REGISTRY_NONE, &stored);
        if (hr == S_OK) *kind = stored.kind;
        return hr;
    }

    HRESULT OpenParent() override {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        KeyId parent;
        hr = m_store->Parent(m_current, &parent);
        if (hr == S_OK) m_current = parent;
        return hr;
    }

private:
    // Every operation but OpenRoot and Close needs a chain with a current key; a
    // chain whose transaction SQLite dropped after an I/O error must not go on in
    // autocommit mode, or half of it would be kept.
    HRESULT RequireCurrentKey() {
        if (m_current == RegistryStore::kNoKey) return REGDB_E_KEYMISSING;
        if (m_chainOpen && !m_store->InTransaction()) return REGDB_E_WRITEREGDB;
        return S_OK;
    }

    void EndChain() {
        m_chainOpen = false;
        m_current = RegistryStore::kNoKey;
        m_store->Rollback();
    }

    // S_FALSE (and *found kNoKey) when a name on the way is missing and create is false.
    HRESULT Walk(KeyId from, const std::vector<std::string>& names, bool create, KeyId* found) {
        KeyId key = from;
        for (const std::string& name : names) {
            HRESULT hr = create ? m_store->CreateChild(key, name, &key) : m_store->FindChild(key, name, &key);
            if (hr != S_OK) {
                *found = RegistryStore::kNoKey;
                return hr;
            }
        }
        *found = key;
        return S_OK;
    }

    HRESULT Descend(CBSTR name, bool create) {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        std::vector<std::string> names;
        hr = SplitKeyPath(StoredTextFromUnits(name), &names);
        if (FAILED(hr)) return hr;
        if (names.empty()) return E_INVALIDARG;
        KeyId key;
        hr = Walk(m_current, names, create, &key);
        if (hr == S_FALSE) return REGDB_E_KEYMISSING;
        if (FAILED(hr)) return hr;
        m_current = key;
        return S_OK;
    }

    using NameQuery = HRESULT (RegistryStore::*)(KeyId, std::vector<std::string>*);

    // An enumerator over the names `query` gives for the current key.
    HRESULT EnumNames(NameQuery query, COM_IRegistryEnum** out) {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        std::vector<std::string> names;
        hr = (m_store.get()->*query)(m_current, &names);
        if (FAILED(hr)) return hr;
        return MakeNameEnumerator(std::move(names), out);
    }

    // S_OK with the value, S_FALSE when there is none, REGDB_E_INVALIDVALUE when
    // it is not of kind `wanted` (KESTO_REGISTRY_NONE takes either).
    HRESULT Read(CBSTR valueName, int wanted, RegistryStore::Value* stored) {
        HRESULT hr = RequireCurrentKey();
        if (FAILED(hr)) return hr;
        hr = m_store->GetValue(m_current, StoredTextFromUnits(valueName), stored);
        if (hr != S_OK) return hr;
        if (wanted != KESTO_REGISTRY_NONE && stored->kind != wanted) {
            SetRegistryError(REGDB_E_INVALIDVALUE, m_store->Path() + ": the value \"" + StoredTextFromUnits(valueName) +
                                                       (stored->kind == KESTO_REGISTRY_STRING ? "\" is a string"
                                                                                              : "\" is an integer"));
            return REGDB_E_INVALIDVALUE;
        }
        return S_OK;
    }

    std::shared_ptr<RegistryStore> m_store;
    std::string m_moduleName;
    std::string m_modulePath;
    KeyId m_current = RegistryStore::kNoKey;
    bool m_chainOpen = false;
};

HRESULT CreateRegistry(const COM_GUID& iid, void** out) {
    RegistryConnection connection;
    HRESULT hr = ConnectRegistry(&connection);
    if (FAILED(hr)) return hr;
    return NewObjectFor<Registry>(iid, out, std::move(connection));
}

const BuiltinClassRegistrar s_registryClass(COM_CLSID_Registry, CreateRegistry);

}  // namespace
}  // namespace kesto
