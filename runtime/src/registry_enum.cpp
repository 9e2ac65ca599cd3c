// The enumerator of subkey and value names.
#include "registry_enum.h"

#include <new>

#include "registry_text.h"

namespace kesto {
namespace {

class NameEnumerator final : public COM_IRegistryEnum {
public:
    explicit NameEnumerator(std::vector<std::string> names) : m_names(std::move(names)) {}

    HRESULT QueryInterface(const COM_GUID& iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        if (COM_IsEqualGUID(iid, COM_IID_IUnknown) || COM_IsEqualGUID(iid, COM_IID_IRegistryEnum)) {
            *out = static_cast<COM_IRegistryEnum*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return ++m_references; }
    unsigned long Release() override {
        unsigned long left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    HRESULT GetCount(unsigned int* count) override {
        if (count == nullptr) return E_POINTER;
        *count = static_cast<unsigned int>(m_names.size());
        return S_OK;
    }

    HRESULT Next(BSTR* name) override {
        if (name == nullptr) return E_POINTER;
        *name = nullptr;
        if (m_position >= m_names.size()) return S_FALSE;
        *name = AllocStringFromStoredText(m_names[m_position]);
        if (*name == nullptr) return E_OUTOFMEMORY;
        ++m_position;
        return S_OK;
    }

private:
    std::vector<std::string> m_names;
    std::size_t m_position = 0;
    unsigned long m_references = 0;
};

}  // namespace

HRESULT MakeNameEnumerator(std::vector<std::string> names, COM_IRegistryEnum** out) {
    if (out == nullptr) return E_POINTER;
    auto* enumerator = new (std::nothrow) NameEnumerator(std::move(names));
    if (enumerator == nullptr) {
        *out = nullptr;
        return E_OUTOFMEMORY;
    }
    enumerator->AddRef();
    *out = enumerator;
    return S_OK;
}

}  // namespace kesto
