// CSymbolTable: one scope of symbols, ordered by name, linked to its parent.
#include <memory>
#include <new>
#include <utility>

#include "SymbolTable.h"

#include "SymbolBoundary.h"
#include "utlLiteral.h"

namespace {

constexpr const unsigned short* kListSeparator = utlLiteral<",">;

// The map is keyed by owned copies, so every search starts by making one.
utlAutoBSTR OwnedName(const unsigned short* name) {
    utlAutoBSTR key(COM_SysAllocString(name));
    if (key.IsNull()) throw static_cast<int>(E_OUTOFMEMORY);
    return key;
}

void CheckArguments(const unsigned short* name, SYMBOL_KIND kind) {
    if (name == nullptr) throw static_cast<int>(E_POINTER);
    if (!CSymbol::IsValidKind(kind)) throw static_cast<int>(E_INVALIDARG);
}

}  // namespace

CSymbolTable::NameKey::NameKey(NameView name) : view(name), hash(14695981039346656037ull) {
    for (unsigned short unit : name) {  // FNV-1a over the units
        hash ^= unit;
        hash *= 1099511628211ull;
    }
}

CSymbolTable::CSymbolTable(ParserLanguage language, CSymbolTable* parent)
    : m_parent(parent), m_language(language) {}

CSymbolTable::~CSymbolTable() {
    for (auto& entry : m_symbols) delete entry.second;
}

HRESULT CSymbolTable::SetSymbol(const unsigned short* name, SYMBOL_KIND kind, const unsigned short* value) {
    return sysAtBoundary([&]() -> HRESULT {
        CheckArguments(name, kind);
        utlAutoBSTR key = OwnedName(name);
        auto found = m_symbols.find(key);
        if (found == m_symbols.end()) {
            auto symbol = std::make_unique<CSymbol>();
            found = m_symbols.emplace(std::move(key), symbol.get()).first;
            try {
                m_index.emplace(KeyOf(found->first), symbol.get());
            } catch (...) {
                m_symbols.erase(found);
                throw;
            }
            symbol.release();
        }
        return found->second->SetSymbol(kind, value);
    });
}

HRESULT CSymbolTable::LookupSymbol(const unsigned short* name, SYMBOL_KIND kind, ParserLanguage* language,
                                   BSTR* value) {
    return sysAtBoundary([&]() -> HRESULT {
        CheckArguments(name, kind);
        if (value == nullptr) throw static_cast<int>(E_POINTER);
        utlAutoBSTR key = OwnedName(name);
        const NameKey wanted = KeyOf(key);
        for (CSymbolTable* scope = this; scope != nullptr; scope = scope->m_parent) {
            auto found = scope->m_index.find(wanted);
            if (found == scope->m_index.end()) continue;
            HRESULT hr = found->second->LookupSymbol(kind, value);
            if (FAILED(hr)) throw static_cast<int>(hr);
            if (hr == S_OK) {
                if (language != nullptr) *language = scope->m_language;
                return S_OK;
            }
            // Known here under other kinds only: an outer scope may still have it.
        }
        return S_FALSE;
    });
}

HRESULT CSymbolTable::RemoveSymbol(const unsigned short* name, SYMBOL_KIND kind) {
    return sysAtBoundary([&]() -> HRESULT {
        CheckArguments(name, kind);
        utlAutoBSTR key = OwnedName(name);
        auto found = m_symbols.find(key);
        if (found == m_symbols.end()) return S_OK;
        if (found->second->RemoveSymbol(kind)) return S_OK;
        m_index.erase(KeyOf(found->first));
        delete found->second;
        m_symbols.erase(found);
        return S_OK;
    });
}

HRESULT CSymbolTable::AppendSymbols(unsigned int filter, utlAutoBSTR& out) {
    return sysAtBoundary([&]() -> HRESULT {
        for (const CSymbolTable* scope = this; scope != nullptr; scope = scope->m_parent) {
            for (const auto& entry : scope->m_symbols) {
                if (!entry.second->Filter(filter)) continue;
                // A piece that cannot be allocated is dropped; the list stays usable.
                (void)out.Append(entry.first);
                (void)out.Append(kListSeparator);
            }
        }
        return S_OK;
    });
}

void CSymbolTable::Dump(const std::string& /*label*/) const {
    for (const CSymbolTable* scope = this; scope != nullptr; scope = scope->m_parent) scope->Dump1();
}

void CSymbolTable::Dump1() const {
    // Built for inspection in a debugger; the component writes no output of its own.
    std::string text;
    for (const auto& entry : m_symbols) {
        for (unsigned int i = 0; i < entry.first.Length(); ++i) text += static_cast<char>(entry.first.Get()[i] & 0xFF);
        text += ':';
        text += entry.second->Repr();
        text += '\n';
    }
}
