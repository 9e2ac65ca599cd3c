// utlAutoBSTR: exact-length growth, one allocation per append.
#include "sysComLib.h"

#include <cstring>
#include <memory>

namespace {

// The whole string, embedded zeros included; NULL stays NULL.
BSTR Duplicate(CBSTR s) { return s == nullptr ? nullptr : COM_SysAllocStringLen(s, COM_SysStringLen(s)); }

}  // namespace

utlAutoBSTR::utlAutoBSTR(const utlAutoBSTR& other) : m_str(Duplicate(other.m_str)) {}

utlAutoBSTR& utlAutoBSTR::operator=(const utlAutoBSTR& other) {
    if (this != std::addressof(other)) Attach(Duplicate(other.m_str));
    return *this;
}

utlAutoBSTR& utlAutoBSTR::operator=(utlAutoBSTR&& other) noexcept {
    if (this != std::addressof(other)) {
        Attach(other.m_str);
        other.m_str = nullptr;
    }
    return *this;
}

utlAutoBSTR::~utlAutoBSTR() {
    if (m_str != nullptr) COM_SysFreeString(m_str);
}

BSTR utlAutoBSTR::Copy() const { return COM_SysAllocStringLen(m_str, COM_SysStringLen(m_str)); }

HRESULT utlAutoBSTR::Append(const unsigned short* text, unsigned long count) { return AppendUnits(text, count); }

HRESULT utlAutoBSTR::Append(const unsigned short* text) {
    unsigned long added = 0;
    while (text[added] != 0) ++added;
    return AppendUnits(text, added);
}

HRESULT utlAutoBSTR::Append(const utlAutoBSTR& other) {
    return AppendUnits(other.m_str, static_cast<unsigned int>(COM_SysStringLen(other.m_str)));
}

HRESULT utlAutoBSTR::AppendUnits(const unsigned short* text, unsigned long added) {
    long held = m_str == nullptr ? 0 : static_cast<int>(COM_SysStringLen(m_str));
    unsigned long total = static_cast<unsigned long>(held) + added;
    if (total > 0xFFFFFFFFul) return E_OUTOFMEMORY;
    BSTR fresh = COM_SysAllocStringLen(nullptr, static_cast<unsigned int>(total));
    if (fresh == nullptr) return E_OUTOFMEMORY;
    if (held > 0) std::memcpy(fresh, m_str, static_cast<unsigned long>(held) * sizeof(unsigned short));
    if (added > 0) std::memcpy(fresh + held, text, added * sizeof(unsigned short));
    fresh[total] = 0;
    COM_SysFreeString(m_str);
    m_str = fresh;
    return S_OK;
}
