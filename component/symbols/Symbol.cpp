// CSymbol: one value slot per kind and the mask of the kinds set.
#include "SymbolTable.h"

namespace {

// Kinds 2 and 4 print alike on purpose: both are methods to a reader.
const char* const kKindTexts[CSymbol::kSlots] = {
    "(unknown SymbolKind)", "CLASS",     "METHOD",    "LOCAL",          "METHOD",
    "PROPERTY",             "SYSTEM",    "PARAMETER", "PUBLIC",         "MACRO",
    "CLASSPARAMETER",       "EXTRINSIC", "LABEL",     "INCLUDEFILE",
};

// Listings offer the kinds up to the extrinsics; labels and include files are
// looked up by name only and never listed.
const int kLastListedKind = 11;

unsigned long KindBit(SYMBOL_KIND kind) { return 1ul << static_cast<unsigned int>(kind); }

}  // namespace

CSymbol::CSymbol() : m_kinds(0) {
    for (BSTR& value : m_values) value = nullptr;
}

CSymbol::~CSymbol() {
    for (BSTR value : m_values) COM_SysFreeString(value);
}

bool CSymbol::Filter(unsigned int filter) const {
    for (int kind = 1; kind <= kLastListedKind; ++kind) {
        if ((filter & (1u << (kind - 1))) != 0 && (m_kinds & (1ul << kind)) != 0) return true;
    }
    return false;
}

HRESULT CSymbol::SetSymbol(SYMBOL_KIND kind, const unsigned short* value) {
    if (!IsValidKind(kind)) return E_INVALIDARG;
    COM_SysReAllocString(&m_values[kind], value);
    m_kinds |= KindBit(kind);
    return S_OK;
}

bool CSymbol::RemoveSymbol(SYMBOL_KIND kind) {
    if (IsValidKind(kind)) {
        COM_SysFreeString(m_values[kind]);
        m_values[kind] = nullptr;
        m_kinds &= ~KindBit(kind);
    }
    return m_kinds != 0;
}

HRESULT CSymbol::LookupSymbol(SYMBOL_KIND kind, BSTR* out) const {
    *out = nullptr;
    if (!IsValidKind(kind)) return E_INVALIDARG;
    if ((m_kinds & KindBit(kind)) == 0) return S_FALSE;
    BSTR value = m_values[kind];
    *out = COM_SysAllocStringLen(value, COM_SysStringLen(value));
    if (*out == nullptr) return E_OUTOFMEMORY;
    return S_OK;
}

std::string CSymbol::Repr() const {
    std::string text;
    for (int kind = 0; kind < kSlots; ++kind) {
        if ((m_kinds & (1ul << kind)) == 0) continue;
        if (!text.empty()) text += ',';
        text += kKindTexts[kind];
        text += '(';
        if (m_values[kind] == nullptr) {
            text += "*empty*";
        } else {
            unsigned int length = COM_SysStringLen(m_values[kind]);
            for (unsigned int i = 0; i < length; ++i) text += static_cast<char>(m_values[kind][i] & 0xFF);
        }
        text += ')';
    }
    return text;
}
