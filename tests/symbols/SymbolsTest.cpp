// Symbols: one symbol's kinds, one scope's names, and the stack of scopes that the
// editor's embedded languages open and close.
#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "StringBalanceTest.h"
#include "SymbolTable.h"
#include "TestText.h"
#include "kesto/diagnostics.h"

namespace {
bool g_refuseNothrowNew = false;
}  // namespace

// Lets a test make the allocation of a scope fail.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (g_refuseNothrowNew) return nullptr;
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

namespace {

const ParserLanguage kServer = static_cast<ParserLanguage>(5), kQuery = static_cast<ParserLanguage>(7),
                     kUntouched = static_cast<ParserLanguage>(99);
const unsigned int kLocals = 1u << (SYMBOL_LOCAL - 1);

std::string Listed(utlAutoBSTR& out) { return Narrow(out.Get(), out.Length()); }

using SymbolTest = StringBalanceTest;

// One name may be a local and a property at once; each kind keeps its own value.
TEST_F(SymbolTest, KindsAccumulateAndTheFilterSelectsKindsOneToElevenByBit) {
    CSymbol symbol;
    symbol.SetSymbol(SYMBOL_PROPERTY, W(u"%Text"));
    symbol.SetSymbol(SYMBOL_LOCAL, W(u"old"));
    symbol.SetSymbol(SYMBOL_LOCAL, W(u"x"));
    for (auto [kind, expected] : {std::pair{SYMBOL_PROPERTY, "%Text"}, {SYMBOL_LOCAL, "x"}, {SYMBOL_MACRO, "(null)"}}) {
        BSTR value = nullptr;
        EXPECT_EQ(symbol.LookupSymbol(kind, &value), kind == SYMBOL_MACRO ? S_FALSE : S_OK);
        EXPECT_EQ(Take(value), expected) << kind;
    }
    EXPECT_TRUE(symbol.RemoveSymbol(SYMBOL_LOCAL)) << "the property is still held";
    EXPECT_FALSE(symbol.RemoveSymbol(SYMBOL_PROPERTY));
    CSymbol everything;
    for (int kind = 0; kind <= 13; ++kind) {
        CSymbol one;
        one.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
        everything.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
        const bool listable = kind >= 1 && kind <= 11;
        const unsigned int own = kind >= 1 ? 1u << (kind - 1) : 0;
        EXPECT_EQ(one.Filter(~0u), listable) << kind;
        EXPECT_EQ(one.Filter(own), listable) << kind;
        EXPECT_FALSE(one.Filter(~own) || one.Filter(0)) << kind;
    }
    EXPECT_FALSE(everything.Filter(~0u << 11));
}

class SymbolTableTest : public StringBalanceTest {
protected:
    CSymbolTable root{PARSERLANGUAGE_ROOT, nullptr};
    CSymbolTable inner{kServer, &root};

    void Set(CSymbolTable& table, const char16_t* name, SYMBOL_KIND kind, const char16_t* value = nullptr) {
        EXPECT_EQ(table.SetSymbol(W(name), kind, value ? static_cast<CBSTR>(W(value)) : nullptr), S_OK);
    }
    std::string List(CSymbolTable& table, unsigned int filter) {
        utlAutoBSTR out;
        EXPECT_EQ(table.AppendSymbols(filter, out), S_OK);
        return Listed(out);
    }
    // "value@language"; the value "-" when nothing was written to it.
    std::string Lookup(CSymbolTable& table, const char16_t* name, SYMBOL_KIND kind) {
        ParserLanguage language = kUntouched;
        unsigned short sentinel[] = {'s', 0};
        BSTR value = sentinel;
        HRESULT hr = table.LookupSymbol(W(name), kind, &language, &value);
        std::string text = hr == S_OK ? Take(value) : value == sentinel ? "-" : Narrow(value);
        return text + "@" + std::to_string(language);
    }
};

TEST_F(SymbolTableTest, ListingsGoInnermostFirstEachScopeInByteOrder) {
    for (const char16_t* name : {u"b", u"\u00FF", u"ab", u"a", u"B", u"\u0100", u"A", u"a"}) {
        Set(root, name, SYMBOL_LOCAL);
    }
    // Memory order of little-endian units: 0x0100 begins with byte 00, 0x00FF with FF.
    EXPECT_EQ(List(root, kLocals), "\\u0100,A,B,a,ab,b,\\u00FF,");
    for (const char16_t* name : {u"c", u"a"}) Set(inner, name, SYMBOL_LOCAL);
    Set(inner, u"label", SYMBOL_LABEL);
    Set(inner, u"inc", SYMBOL_INCLUDEFILE);
    EXPECT_EQ(List(inner, ~0u), "a,c,\\u0100,A,B,a,ab,b,\\u00FF,") << "labels and include files are never listed";
    EXPECT_EQ(List(inner, 0), "");
    utlAutoBSTR out(COM_SysAllocString(W(u"kept,")));
    EXPECT_EQ(inner.AppendSymbols(kLocals, out), S_OK);
    EXPECT_EQ(Listed(out).substr(0, 10), "kept,a,c,\\");
}

TEST_F(SymbolTableTest, LookupGoesOutwardKindByKindAndRemovalActsOnThisScope) {
    Set(root, u"n", SYMBOL_MACRO, u"root macro");
    Set(inner, u"n", SYMBOL_LOCAL, u"inner local");
    EXPECT_EQ(Lookup(inner, u"n", SYMBOL_MACRO), "root macro@0") << "an inner scope hides only its own kinds";
    EXPECT_EQ(Lookup(inner, u"n", SYMBOL_LABEL), "(null)@99") << "a name held with other kinds gives NULL";
    EXPECT_EQ(Lookup(inner, u"missing", SYMBOL_LOCAL), "-@99") << "a name held nowhere leaves the outputs alone";
    Set(root, u"x", SYMBOL_LOCAL, u"outer");
    Set(inner, u"x", SYMBOL_LOCAL, u"inner");
    Set(inner, u"y", SYMBOL_LOCAL);
    EXPECT_EQ(inner.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(List(inner, kLocals), "n,y,x,");
    EXPECT_EQ(Lookup(inner, u"x", SYMBOL_LOCAL), "outer@0");
    // Only in the parent, or without that kind: S_OK and no change.
    EXPECT_EQ(inner.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.RemoveSymbol(W(u"y"), SYMBOL_MACRO), S_OK);
    EXPECT_TRUE(root.Size() == 2u && inner.Size() == 2u);
}

TEST_F(SymbolTableTest, RuntimeAllocationFailuresAndBadArguments) {
    for (const char16_t* name : {u"a", u"b"}) Set(root, name, SYMBOL_LOCAL);
    KESTO_FaultInjectStrings(2, 1);  // the third piece, "b", cannot be made: left out
    EXPECT_EQ(List(root, kLocals), "a,,");
    BSTR value = nullptr;
    KESTO_FaultInjectStrings(0, 1);  // no copy of the name: nothing stored
    EXPECT_EQ(root.SetSymbol(W(u"c"), SYMBOL_LOCAL, nullptr), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(root.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, &value), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(root.RemoveSymbol(W(u"a"), SYMBOL_LOCAL), E_OUTOFMEMORY);
    EXPECT_EQ(root.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(root.SetSymbol(W(u"d"), static_cast<SYMBOL_KIND>(14), nullptr), E_INVALIDARG);
    EXPECT_EQ(root.LookupSymbol(W(u"a"), static_cast<SYMBOL_KIND>(-1), nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(root.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(root.Size(), 2u);
    EXPECT_EQ(value, nullptr);
}

class SymbolStackTest : public StringBalanceTest {
protected:
    HRESULT Set(const char16_t* name, SYMBOL_KIND kind, const char16_t* value) {
        return stack.SetSymbol(W(name), kind, W(value));
    }
    // "value@language", or "-" when no scope answers.
    std::string Lookup(const char16_t* name, SYMBOL_KIND kind) {
        ParserLanguage language = kUntouched;
        BSTR value = nullptr;
        HRESULT hr = stack.LookupSymbol(W(name), kind, &language, &value);
        return hr == S_OK ? Take(value) + "@" + std::to_string(language) : hr == S_FALSE ? "-" : "error";
    }
    std::string List() {
        utlAutoBSTR out;
        EXPECT_EQ(stack.AppendSymbols(~0u, out), S_OK);
        return Listed(out);
    }

    CSymbolTableStack stack;
};

// Which kinds an inner scope hides is the table's business; the stack links the
// scopes, reports each answer's language, forgets on End and keeps its root.
TEST_F(SymbolStackTest, EmbeddedLanguagesSeeOutwardForgetOnEndAndNeverLoseTheRoot) {
    Set(u"x", SYMBOL_LOCAL, u"root x");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    Set(u"x", SYMBOL_LOCAL, u"server x");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    Set(u"z", SYMBOL_LABEL, u"query z");
    EXPECT_EQ(stack.Depth(), 3u);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "server x@5");
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "query z@7");
    EXPECT_EQ(List(), "x,x,");
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "-");
    for (int end = 0; end < 3; ++end) EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(stack.Depth(), 1u);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "root x@0");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    EXPECT_EQ(stack.Reset(), S_OK);
    EXPECT_TRUE(stack.Depth() == 1u && List().empty());
    // Open scopes die with the stack (LeakSanitizer and the string count see to it).
    auto open = std::make_unique<CSymbolTableStack>();
    for (ParserLanguage language : {kServer, kQuery}) {
        ASSERT_EQ(open->PushSymbolTable(language), S_OK);
        EXPECT_EQ(open->SetSymbol(W(u"name"), SYMBOL_LOCAL, W(u"value")), S_OK);
    }
}

TEST_F(SymbolStackTest, FailuresLeaveTheStackAsItWasOrPassThrough) {
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    g_refuseNothrowNew = true;
    EXPECT_EQ(stack.PushSymbolTable(kQuery), E_OUTOFMEMORY);
    EXPECT_EQ(stack.Depth(), 2u);
    EXPECT_EQ(stack.Reset(), E_OUTOFMEMORY);  // no root either: made again on first use
    EXPECT_EQ(stack.Depth(), 0u);
    EXPECT_EQ(Set(u"a", SYMBOL_LOCAL, u"v"), E_OUTOFMEMORY);
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    g_refuseNothrowNew = false;
    EXPECT_EQ(Set(u"a", SYMBOL_LOCAL, u"v"), S_OK);
    EXPECT_EQ(Lookup(u"a", SYMBOL_LOCAL), "v@0");
    EXPECT_EQ(stack.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(stack.RemoveSymbol(W(u"a"), static_cast<SYMBOL_KIND>(99)), E_INVALIDARG);
    EXPECT_EQ(stack.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(Set(u"b", SYMBOL_LOCAL, u"v"), E_OUTOFMEMORY);
    EXPECT_EQ(List(), "a,");
}

}  // namespace
