// CSymbolTableStack: scopes opened and closed the way an editor does it.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>

#include "symbols/SymbolTable.h"
#include "symbols/SymbolTestText.h"

namespace {
bool g_refuseNothrowNew = false;
}  // namespace

// Lets a test make the scope allocation fail; every other use behaves as usual.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (g_refuseNothrowNew) return nullptr;
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

namespace {

const ParserLanguage kRoot = PARSERLANGUAGE_ROOT;
const ParserLanguage kServer = static_cast<ParserLanguage>(5);
const ParserLanguage kQuery = static_cast<ParserLanguage>(7);
const ParserLanguage kScript = static_cast<ParserLanguage>(9);
const unsigned int kAllListed = (1u << 11) - 1;

class CSymbolTableStackTest : public StringAccountingTest {
protected:
    void Set(CSymbolTableStack& stack, const char16_t* name, SYMBOL_KIND kind, const char16_t* value) {
        EXPECT_EQ(stack.SetSymbol(W(name).c_str(), kind, value ? W(value).c_str() : nullptr), S_OK);
    }

    // "value@language", or "-" when no scope answers.
    std::string Lookup(CSymbolTableStack& stack, const char16_t* name, SYMBOL_KIND kind) {
        ParserLanguage language = static_cast<ParserLanguage>(-1);
        ReceivedText value;
        HRESULT hr = stack.LookupSymbol(W(name).c_str(), kind, &language, &value.value);
        if (hr == S_FALSE) return "-";
        EXPECT_EQ(hr, S_OK);
        return value.Text() + "@" + std::to_string(static_cast<int>(language));
    }

    std::string List(CSymbolTableStack& stack) {
        utlAutoBSTR out;
        EXPECT_EQ(stack.AppendSymbols(kAllListed, out), S_OK);
        return Narrow(out.Get());
    }
};

TEST_F(CSymbolTableStackTest, ThreeEmbeddedLanguagesSeeOutwardAndForgetOnEnd) {
    CSymbolTableStack stack;
    EXPECT_EQ(stack.Depth(), 1u);
    Set(stack, u"x", SYMBOL_LOCAL, u"root x");
    Set(stack, u"y", SYMBOL_MACRO, u"root y");

    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    Set(stack, u"x", SYMBOL_LOCAL, u"server x");
    Set(stack, u"y", SYMBOL_LOCAL, u"server y");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    Set(stack, u"z", SYMBOL_LABEL, u"query z");
    ASSERT_EQ(stack.PushSymbolTable(kScript), S_OK);
    EXPECT_EQ(stack.Depth(), 4u);

    EXPECT_EQ(Lookup(stack, u"x", SYMBOL_LOCAL), "server x@5");
    EXPECT_EQ(Lookup(stack, u"y", SYMBOL_MACRO), "root y@0");
    EXPECT_EQ(Lookup(stack, u"y", SYMBOL_LOCAL), "server y@5");
    EXPECT_EQ(Lookup(stack, u"z", SYMBOL_LABEL), "query z@7");
    EXPECT_EQ(Lookup(stack, u"x", SYMBOL_MACRO), "-");
    EXPECT_EQ(List(stack), "x,y,x,y,");

    // Removal acts on the innermost scope only.
    EXPECT_EQ(stack.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(Lookup(stack, u"x", SYMBOL_LOCAL), "server x@5");

    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(Lookup(stack, u"z", SYMBOL_LABEL), "-");
    EXPECT_EQ(stack.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(Lookup(stack, u"x", SYMBOL_LOCAL), "root x@0");
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(Lookup(stack, u"x", SYMBOL_LOCAL), "root x@0");
    EXPECT_EQ(Lookup(stack, u"y", SYMBOL_LOCAL), "-");
    EXPECT_EQ(List(stack), "x,y,");
}

TEST_F(CSymbolTableStackTest, UnmatchedEndKeepsTheRoot) {
    CSymbolTableStack stack;
    Set(stack, u"kept", SYMBOL_CLASS, u"c");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    for (int end = 0; end < 3; ++end) EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    EXPECT_EQ(stack.Depth(), 1u);
    EXPECT_EQ(Lookup(stack, u"kept", SYMBOL_CLASS), "c@0");

    Set(stack, u"later", SYMBOL_LOCAL, u"l");
    EXPECT_EQ(Lookup(stack, u"later", SYMBOL_LOCAL), "l@0");
    ASSERT_EQ(stack.PushSymbolTable(kQuery), S_OK);
    EXPECT_EQ(Lookup(stack, u"later", SYMBOL_LOCAL), "l@0");
}

// Run under LeakSanitizer: every scope left open must be freed with the stack.
TEST_F(CSymbolTableStackTest, StackDestroyedWithOpenScopesFreesThemAll) {
    auto stack = std::make_unique<CSymbolTableStack>();
    for (ParserLanguage language : {kServer, kQuery, kScript}) {
        ASSERT_EQ(stack->PushSymbolTable(language), S_OK);
        Set(*stack, u"name", SYMBOL_LOCAL, u"value");
        Set(*stack, u"other", SYMBOL_MACRO, nullptr);
    }
    stack.reset();
}

TEST_F(CSymbolTableStackTest, ResetLeavesOneEmptyRoot) {
    CSymbolTableStack stack;
    Set(stack, u"r", SYMBOL_LOCAL, u"v");
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    Set(stack, u"e", SYMBOL_LOCAL, u"v");
    EXPECT_EQ(stack.Reset(), S_OK);
    EXPECT_EQ(stack.Depth(), 1u);
    EXPECT_EQ(List(stack), "");
    Set(stack, u"n", SYMBOL_LOCAL, u"v");
    EXPECT_EQ(Lookup(stack, u"n", SYMBOL_LOCAL), "v@0");
}

TEST_F(CSymbolTableStackTest, ScopeThatCannotBeMadeLeavesTheStackAsItWas) {
    CSymbolTableStack stack;
    ASSERT_EQ(stack.PushSymbolTable(kServer), S_OK);
    g_refuseNothrowNew = true;
    HRESULT hr = stack.PushSymbolTable(kQuery);
    g_refuseNothrowNew = false;
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(stack.Depth(), 2u);
    Set(stack, u"s", SYMBOL_LOCAL, u"v");
    EXPECT_EQ(Lookup(stack, u"s", SYMBOL_LOCAL), "v@5");
}

TEST_F(CSymbolTableStackTest, RootThatCannotBeMadeIsMadeOnFirstUse) {
    g_refuseNothrowNew = true;
    CSymbolTableStack stack;
    EXPECT_EQ(stack.Reset(), E_OUTOFMEMORY);
    EXPECT_EQ(stack.Depth(), 0u);
    EXPECT_EQ(stack.SetSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr), E_OUTOFMEMORY);
    EXPECT_EQ(stack.PopSymbolTable(), S_OK);
    g_refuseNothrowNew = false;

    Set(stack, u"a", SYMBOL_LOCAL, u"v");
    EXPECT_EQ(stack.Depth(), 1u);
    EXPECT_EQ(Lookup(stack, u"a", SYMBOL_LOCAL), "v@0");
}

TEST_F(CSymbolTableStackTest, FailuresOfTheTopScopePassThrough) {
    CSymbolTableStack stack;
    ReceivedText value;
    EXPECT_EQ(stack.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(stack.RemoveSymbol(W(u"a").c_str(), static_cast<SYMBOL_KIND>(99)), E_INVALIDARG);
    EXPECT_EQ(stack.LookupSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(stack.SetSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(List(stack), "");
}

}  // namespace
