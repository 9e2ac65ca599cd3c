// SymbolTable.h: the editor's symbols, kept in a chain of scopes.
//
// A CSymbol holds one value per SYMBOL_KIND and a mask of the kinds set. A
// CSymbolTable is one scope: an ordered map from names to symbols (names compare as
// utlAutoBSTR does) with a link to its enclosing scope and the scope's language.
// Lookups and listings walk outward to the root; changes touch one scope only.
// CSymbolTableStack owns the scopes, root first; every symbol operation acts on the
// top scope. Failures inside travel as thrown int HRESULTs and are returned at the
// operation's boundary; any other exception becomes E_FAIL.
//
// Bad input is refused, not trusted: a NULL name or value out gives E_POINTER and a
// kind outside 0..13 gives E_INVALIDARG, with nothing changed. The root scope
// cannot be closed: an end without a matching start is a harmless no-op.
#ifndef VANTLE_SYMBOLS_SYMBOLTABLE_H_
#define VANTLE_SYMBOLS_SYMBOLTABLE_H_

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "vantle/assist.h"
#include "sysComLib.h"

class CSymbol {
public:
    static const int kSlots = 14;
    // Kinds index the value slots; only 0..13 exist.
    static bool IsValidKind(SYMBOL_KIND kind) { return static_cast<unsigned int>(kind) < kSlots; }

    CSymbol();
    ~CSymbol();
    CSymbol(const CSymbol&) = delete;
    CSymbol& operator=(const CSymbol&) = delete;

    bool IsEmpty() const { return m_kinds == 0; }
    // True when a kind from 1 to 11 selected by bit kind-1 of filter is set.
    bool Filter(unsigned int filter) const;
    // Always S_OK, even when the runtime could not copy the value (the kind then
    // keeps its earlier value, or none).
    HRESULT SetSymbol(SYMBOL_KIND kind, const unsigned short* value);
    // True when the symbol still has a kind afterwards.
    bool RemoveSymbol(SYMBOL_KIND kind);
    // S_OK and a copy when the kind is set (a kind set to NULL copies as an empty
    // BSTR); S_FALSE and NULL when it is not; E_OUTOFMEMORY when a value cannot be
    // copied.
    HRESULT LookupSymbol(SYMBOL_KIND kind, BSTR* out) const;
    // "LOCAL(x),PROPERTY(%Text)": kinds in ascending order, units cut to 8 bits.
    std::string Repr() const;

private:
    BSTR m_values[kSlots];
    unsigned long m_kinds;
};

class CSymbolTable {
public:
    CSymbolTable(ParserLanguage language, CSymbolTable* parent);
    ~CSymbolTable();
    CSymbolTable(const CSymbolTable&) = delete;
    CSymbolTable& operator=(const CSymbolTable&) = delete;

    HRESULT SetSymbol(const unsigned short* name, SYMBOL_KIND kind, const unsigned short* value);
    // Walks outward; an inner scope holding the name under other kinds does not hide
    // an outer scope's value for this kind. *language is written only on S_OK.
    HRESULT LookupSymbol(const unsigned short* name, SYMBOL_KIND kind, ParserLanguage* language,
                         BSTR* value);
    HRESULT RemoveSymbol(const unsigned short* name, SYMBOL_KIND kind);
    // Appends "name," for each matching symbol, innermost scope first, names in
    // order within a scope. A piece the runtime cannot allocate is left out.
    HRESULT AppendSymbols(unsigned int filter, utlAutoBSTR& out);
    // Debugger hooks: they describe the scopes but write nothing anywhere.
    void Dump(const std::string& label) const;
    void Dump1() const;

    CSymbolTable* Parent() const { return m_parent; }
    ParserLanguage Language() const { return m_language; }
    unsigned long Size() const { return m_symbols.size(); }

private:
    typedef std::basic_string_view<unsigned short> NameView;
    // A name with its hash, computed once: a lookup through many scopes probes each
    // with the same key.
    struct NameKey {
        explicit NameKey(NameView name);
        bool operator==(const NameKey& other) const { return hash == other.hash && view == other.view; }
        NameView view;
        std::size_t hash;
    };
    struct NameHash {
        std::size_t operator()(const NameKey& key) const { return key.hash; }
    };
    static NameKey KeyOf(const utlAutoBSTR& name) { return NameKey(NameView(name.Get(), name.Length())); }

    std::map<utlAutoBSTR, CSymbol*> m_symbols;
    // The same symbols by name, for lookups: a lookup that walks out through many
    // scopes probes each once instead of descending each ordered map. The views
    // point into the map's own key strings, which never move.
    std::unordered_map<NameKey, CSymbol*, NameHash> m_index;
    CSymbolTable* m_parent;
    ParserLanguage m_language;
};

class CSymbolTableStack {
public:
    CSymbolTableStack();
    // Closes the top scope, then frees whatever scopes an unbalanced editor left.
    ~CSymbolTableStack();
    CSymbolTableStack(const CSymbolTableStack&) = delete;
    CSymbolTableStack& operator=(const CSymbolTableStack&) = delete;

    HRESULT Initialize();
    HRESULT Reset();  // back to one empty root scope
    HRESULT PushSymbolTable(ParserLanguage language);  // E_OUTOFMEMORY: stack unchanged
    HRESULT PopSymbolTable();                          // S_OK; never removes the root
    HRESULT SetSymbol(const unsigned short* name, SYMBOL_KIND kind, const unsigned short* value);
    HRESULT RemoveSymbol(const unsigned short* name, SYMBOL_KIND kind);
    HRESULT LookupSymbol(const unsigned short* name, SYMBOL_KIND kind, ParserLanguage* language,
                         BSTR* value);
    HRESULT AppendSymbols(unsigned int filter, utlAutoBSTR& out);

    unsigned long Depth() const { return m_tables.size(); }

private:
    // The top scope; a root is made again if an earlier push of it failed.
    CSymbolTable& Top();
    void DestroyTop();

    std::deque<CSymbolTable*> m_tables;
};

#endif  // VANTLE_SYMBOLS_SYMBOLTABLE_H_
