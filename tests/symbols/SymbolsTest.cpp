// Symbols: one symbol's kinds, and the stack of scopes that the editor's embedded
// languages open and close. (The symbols fuzz target checks the service's symbol
// operations against a model of the scope chain.)
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
        return Narrow(out.Get(), out.Length());
    }

    CSymbolTableStack stack;
};

// The stack links the scopes: changes touch the innermost one; a lookup walks
// outward, kind by kind, and names the answering scope's language; a listing goes
// innermost first, each scope in the byte order of its names; End forgets a scope
// and never the root.
TEST_F(SymbolStackTest, EmbeddedLanguagesSeeOutwardForgetOnEndAndNeverLoseTheRoot) {
    for (const char16_t* name : {u"b", u"\u00FF", u"ab", u"a", u"B", u"\u0100", u"A"}) Set(name, SYMBOL_LOCAL, u"");
    Set(u"x", SYMBOL_LOCAL, u"root x");
    Set(u"n", SYMBOL_MACRO, u"root macro");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    Set(u"x", SYMBOL_LOCAL, u"server x");
    Set(u"n", SYMBOL_LOCAL, u"server n");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    Set(u"z", SYMBOL_LABEL, u"query z");
    EXPECT_EQ(stack.Depth(), 3u);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "server x@5");
    EXPECT_EQ(Lookup(u"n", SYMBOL_MACRO), "root macro@0") << "an inner scope hides only its own kinds";
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "query z@7");
    // Memory order of little-endian units: 0x0100 begins with byte 00, 0x00FF with FF. Labels are never listed.
    EXPECT_EQ(List(), "n,x,\\u0100,A,B,a,ab,b,n,x,\\u00FF,");
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "-");
    EXPECT_EQ(stack.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "root x@0") << "removal acts on the innermost scope";
    EXPECT_EQ(stack.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK) << "only in an outer scope: no change";
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "root x@0");
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
    BSTR value = nullptr;
    EXPECT_EQ(stack.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(stack.SetSymbol(W(u"d"), static_cast<SYMBOL_KIND>(14), nullptr), E_INVALIDARG);
    EXPECT_EQ(stack.RemoveSymbol(W(u"a"), static_cast<SYMBOL_KIND>(99)), E_INVALIDARG);
    EXPECT_EQ(stack.LookupSymbol(W(u"a"), static_cast<SYMBOL_KIND>(-1), nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(stack.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    KESTO_FaultInjectStrings(0, 1);  // no copy of the name: nothing stored
    EXPECT_EQ(Set(u"b", SYMBOL_LOCAL, u"v"), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(stack.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, &value), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(stack.RemoveSymbol(W(u"a"), SYMBOL_LOCAL), E_OUTOFMEMORY);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(Set(u"c", SYMBOL_LOCAL, u"v"), S_OK);
    KESTO_FaultInjectStrings(2, 1);  // the third piece, "c", cannot be made: left out
    EXPECT_EQ(List(), "a,,");
}

}  // namespace
