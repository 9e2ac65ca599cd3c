// CSymbolTableStack: scopes opened and closed the way an editor does it.
#include <memory>
#include <new>

#include "symbols/SymbolTestText.h"

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
                     kScript = static_cast<ParserLanguage>(9);

class CSymbolTableStackTest : public StringBalanceTest {
protected:
    CSymbolTableStack stack;

    HRESULT Set(const char16_t* name, SYMBOL_KIND kind, const char16_t* value) {
        return stack.SetSymbol(W(name), kind, W(value));
    }
    // "value@language", or "-" when no scope answers.
    std::string Lookup(const char16_t* name, SYMBOL_KIND kind) {
        ParserLanguage language = static_cast<ParserLanguage>(-1);
        BSTR value = nullptr;
        HRESULT hr = stack.LookupSymbol(W(name), kind, &language, &value);
        return hr == S_OK ? Take(value) + "@" + std::to_string(language) : hr == S_FALSE ? "-" : "error";
    }
    std::string Listed() {
        utlAutoBSTR out;
        EXPECT_EQ(stack.AppendSymbols(~0u, out), S_OK);
        return Narrow(out.Get(), out.Length());
    }
};

// Which kinds an inner scope hides, and removal, are the table's own tests; the
// stack links the scopes, reports each answer's language and forgets on End.
TEST_F(CSymbolTableStackTest, ThreeEmbeddedLanguagesSeeOutwardAndForgetOnEnd) {
    Set(u"x", SYMBOL_LOCAL, u"root x");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    Set(u"x", SYMBOL_LOCAL, u"server x");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    Set(u"z", SYMBOL_LABEL, u"query z");
    ASSERT_EQ(stack.PushSymbolTable(kScript), S_OK);
    EXPECT_EQ(stack.Depth(), 4u);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "server x@5");
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "query z@7");
    EXPECT_EQ(Listed(), "x,x,");
    EXPECT_TRUE(stack.PopSymbolTable() == S_OK && stack.PopSymbolTable() == S_OK);
    EXPECT_EQ(Lookup(u"z", SYMBOL_LABEL), "-");
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(Lookup(u"x", SYMBOL_LOCAL), "root x@0");
}

TEST_F(CSymbolTableStackTest, UnmatchedEndKeepsTheRootAndResetEmptiesIt) {
    Set(u"kept", SYMBOL_CLASS, u"c");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    for (int end = 0; end < 3; ++end) EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(stack.Depth(), 1u);
    EXPECT_EQ(Lookup(u"kept", SYMBOL_CLASS), "c@0");
    EXPECT_EQ(Set(u"later", SYMBOL_LOCAL, u"l"), S_OK);
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    EXPECT_EQ(Lookup(u"later", SYMBOL_LOCAL), "l@0");
    EXPECT_EQ(stack.Reset(), S_OK);
    EXPECT_TRUE(stack.Depth() == 1u && Listed().empty());
}

// Checked by LeakSanitizer and by the string count: open scopes die with the stack.
TEST_F(CSymbolTableStackTest, StackDestroyedWithOpenScopesFreesThemAll) {
    auto open = std::make_unique<CSymbolTableStack>();
    for (ParserLanguage language : {kServer, kQuery, kScript}) {
        ASSERT_EQ(open->PushSymbolTable(language), S_OK);
        EXPECT_EQ(open->SetSymbol(W(u"name"), SYMBOL_LOCAL, W(u"value")), S_OK);
    }
}

TEST_F(CSymbolTableStackTest, ScopeThatCannotBeMadeLeavesTheStackAsItWas) {
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
}

TEST_F(CSymbolTableStackTest, FailuresOfTheTopScopePassThrough) {
    EXPECT_EQ(stack.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(stack.RemoveSymbol(W(u"a"), static_cast<SYMBOL_KIND>(99)), E_INVALIDARG);
    EXPECT_EQ(stack.LookupSymbol(W(u"a"), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(Set(u"a", SYMBOL_LOCAL, u"v"), E_OUTOFMEMORY);
    EXPECT_EQ(Listed(), "");
}

}  // namespace
