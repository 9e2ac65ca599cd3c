// CSymbolTableStack: the open scopes, root first, innermost last.
#include <new>

#include "SymbolBoundary.h"
#include "SymbolTable.h"

namespace {

// Changes report S_OK for any success; failures arrive as their own HRESULT.
HRESULT AnySuccessAsOk(HRESULT hr) { return FAILED(hr) ? hr : S_OK; }

}  // namespace

CSymbolTableStack::CSymbolTableStack() { Initialize(); }

CSymbolTableStack::~CSymbolTableStack() {
    if (!m_tables.empty()) DestroyTop();
    // Balanced use leaves nothing here; an editor that never closed its embedded
    // parts leaves their scopes, innermost last.
    while (!m_tables.empty()) DestroyTop();
}

HRESULT CSymbolTableStack::Initialize() { return PushSymbolTable(PARSERLANGUAGE_ROOT); }

HRESULT CSymbolTableStack::Reset() {
    while (!m_tables.empty()) DestroyTop();
    return PushSymbolTable(PARSERLANGUAGE_ROOT);
}

HRESULT CSymbolTableStack::PushSymbolTable(ParserLanguage language) {
    CSymbolTable* parent = m_tables.empty() ? nullptr : m_tables.back();
    CSymbolTable* table = new (std::nothrow) CSymbolTable(language, parent);
    if (table == nullptr) return E_OUTOFMEMORY;
    try {
        m_tables.push_back(table);
    } catch (...) {
        delete table;
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT CSymbolTableStack::PopSymbolTable() {
    // An end without a start must not take the root away: the editor keeps
    // declaring symbols after it.
    if (m_tables.size() > 1) DestroyTop();
    return S_OK;
}

HRESULT CSymbolTableStack::SetSymbol(const unsigned short* name, SYMBOL_KIND kind, const unsigned short* value) {
    return sysAtBoundary([&] { return AnySuccessAsOk(Top().SetSymbol(name, kind, value)); });
}

HRESULT CSymbolTableStack::RemoveSymbol(const unsigned short* name, SYMBOL_KIND kind) {
    return sysAtBoundary([&] { return AnySuccessAsOk(Top().RemoveSymbol(name, kind)); });
}

HRESULT CSymbolTableStack::LookupSymbol(const unsigned short* name, SYMBOL_KIND kind, ParserLanguage* language,
                                        BSTR* value) {
    try {
        return Top().LookupSymbol(name, kind, language, value);
    } catch (int hr) {
        return hr;
    } catch (...) {
        return E_FAIL;
    }
}

HRESULT CSymbolTableStack::AppendSymbols(unsigned int filter, utlAutoBSTR& out) {
    return sysAtBoundary([&] { return AnySuccessAsOk(Top().AppendSymbols(filter, out)); });
}

CSymbolTable& CSymbolTableStack::Top() {
    if (m_tables.empty()) {
        HRESULT hr = PushSymbolTable(PARSERLANGUAGE_ROOT);
        if (FAILED(hr)) throw static_cast<int>(hr);
    }
    return *m_tables.back();
}

void CSymbolTableStack::DestroyTop() {
    delete m_tables.back();
    m_tables.pop_back();
}
