// The enumerator of subkey and value names.
#include "registry_enum.h"

#include "ref_counted.h"
#include "registry_text.h"

namespace kesto {
namespace {

class NameEnumerator final : public RefCounted<Exposes<COM_IRegistryEnum, COM_IID_IRegistryEnum>> {
public:
    explicit NameEnumerator(std::vector<std::string> names) : m_names(std::move(names)) {}

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
};

}  // namespace

HRESULT MakeNameEnumerator(std::vector<std::string> names, COM_IRegistryEnum** out) {
    return NewObjectFor<NameEnumerator>(COM_IID_IRegistryEnum, reinterpret_cast<void**>(out), std::move(names));
}

}  // namespace kesto
