// CSymbolTable: name order, outward lookup, removal and listings across scopes.
#include <gtest/gtest.h>

#include "symbols/SymbolTable.h"
#include "symbols/SymbolTestText.h"

namespace {

const ParserLanguage kRoot = PARSERLANGUAGE_ROOT;
const ParserLanguage kInnerLanguage = static_cast<ParserLanguage>(5);
const unsigned int kLocals = 1u << (SYMBOL_LOCAL - 1);

class CSymbolTableTest : public StringAccountingTest {
protected:
    TestText List(CSymbolTable& table, unsigned int filter) {
        utlAutoBSTR out;
        EXPECT_EQ(table.AppendSymbols(filter, out), S_OK);
        return out.IsNull() ? TestText() : TestText(out.Get(), out.Length());
    }
};

TEST_F(CSymbolTableTest, NamesAreOrderedByteWiseAndCaseSensitive) {
    CSymbolTable table(kRoot, nullptr);
    for (const char16_t* name : {u"b", u"\u00FF", u"ab", u"a", u"B", u"\u0100", u"A", u"a"}) {
        EXPECT_EQ(table.SetSymbol(W(name).c_str(), SYMBOL_LOCAL, nullptr), S_OK);
    }
    EXPECT_EQ(table.Size(), 7u);
    // Memory order of little-endian units: 0x0100 starts with byte 00, 0x00FF with FF.
    EXPECT_TRUE(List(table, kLocals) == W(u"\u0100,A,B,a,ab,b,\u00FF,"));
}

TEST_F(CSymbolTableTest, InnerScopeDoesNotHideOtherKindsOfItsParent) {
    CSymbolTable root(kRoot, nullptr);
    CSymbolTable inner(kInnerLanguage, &root);
    root.SetSymbol(W(u"n").c_str(), SYMBOL_MACRO, W(u"root macro").c_str());
    root.SetSymbol(W(u"n").c_str(), SYMBOL_LOCAL, W(u"root local").c_str());
    inner.SetSymbol(W(u"n").c_str(), SYMBOL_LOCAL, W(u"inner local").c_str());

    ParserLanguage language = static_cast<ParserLanguage>(99);
    ReceivedText value;
    EXPECT_EQ(inner.LookupSymbol(W(u"n").c_str(), SYMBOL_MACRO, &language, &value.value), S_OK);
    EXPECT_EQ(value.Text(), "root macro");
    EXPECT_EQ(language, kRoot);

    ReceivedText local;
    EXPECT_EQ(inner.LookupSymbol(W(u"n").c_str(), SYMBOL_LOCAL, &language, &local.value), S_OK);
    EXPECT_EQ(local.Text(), "inner local");
    EXPECT_EQ(language, kInnerLanguage);

    ReceivedText none;
    language = static_cast<ParserLanguage>(99);
    EXPECT_EQ(inner.LookupSymbol(W(u"n").c_str(), SYMBOL_LABEL, &language, &none.value), S_FALSE);
    EXPECT_EQ(none.value, nullptr);
    EXPECT_EQ(language, static_cast<ParserLanguage>(99));
}

TEST_F(CSymbolTableTest, UnknownNameLeavesTheOutputsUntouched) {
    CSymbolTable table(kRoot, nullptr);
    unsigned short sentinel[] = {'s', 0};
    BSTR value = sentinel;
    ParserLanguage language = static_cast<ParserLanguage>(42);
    EXPECT_EQ(table.LookupSymbol(W(u"missing").c_str(), SYMBOL_LOCAL, &language, &value), S_FALSE);
    EXPECT_EQ(value, sentinel);
    EXPECT_EQ(language, static_cast<ParserLanguage>(42));
}

TEST_F(CSymbolTableTest, RemovingTheLastKindDeletesTheSymbolInThisScopeOnly) {
    CSymbolTable root(kRoot, nullptr);
    CSymbolTable inner(kInnerLanguage, &root);
    root.SetSymbol(W(u"x").c_str(), SYMBOL_LOCAL, W(u"outer").c_str());
    inner.SetSymbol(W(u"x").c_str(), SYMBOL_LOCAL, W(u"inner").c_str());
    inner.SetSymbol(W(u"y").c_str(), SYMBOL_LOCAL, nullptr);

    EXPECT_EQ(inner.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.Size(), 1u);
    EXPECT_TRUE(List(inner, kLocals) == W(u"y,x,"));
    ParserLanguage language;
    ReceivedText value;
    EXPECT_EQ(inner.LookupSymbol(W(u"x").c_str(), SYMBOL_LOCAL, &language, &value.value), S_OK);
    EXPECT_EQ(value.Text(), "outer");

    // Absent here, or only in the parent: nothing to do, and not an error.
    EXPECT_EQ(inner.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.RemoveSymbol(W(u"nowhere").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.RemoveSymbol(W(u"y").c_str(), SYMBOL_MACRO), S_OK);
    EXPECT_EQ(root.Size(), 1u);
    EXPECT_EQ(inner.Size(), 1u);
}

TEST_F(CSymbolTableTest, ListingGoesInnermostFirstAndAppends) {
    CSymbolTable root(kRoot, nullptr);
    CSymbolTable inner(kInnerLanguage, &root);
    for (const char16_t* name : {u"b", u"a"}) root.SetSymbol(W(name).c_str(), SYMBOL_LOCAL, nullptr);
    for (const char16_t* name : {u"c", u"a"}) inner.SetSymbol(W(name).c_str(), SYMBOL_LOCAL, nullptr);
    inner.SetSymbol(W(u"label").c_str(), SYMBOL_LABEL, nullptr);
    inner.SetSymbol(W(u"inc").c_str(), SYMBOL_INCLUDEFILE, nullptr);

    EXPECT_TRUE(List(inner, kLocals) == W(u"a,c,a,b,"));
    EXPECT_TRUE(List(inner, 0).empty());
    EXPECT_TRUE(List(inner, ~0u) == W(u"a,c,a,b,"));  // labels and include files never listed
    EXPECT_TRUE(List(root, kLocals) == W(u"a,b,"));

    utlAutoBSTR out(COM_SysAllocString(W(u"kept,").c_str()));
    EXPECT_EQ(root.AppendSymbols(kLocals, out), S_OK);
    EXPECT_TRUE(TestText(out.Get()) == W(u"kept,a,b,"));
}

TEST_F(CSymbolTableTest, RuntimeAllocationFailures) {
    CSymbolTable table(kRoot, nullptr);
    table.SetSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr);
    table.SetSymbol(W(u"b").c_str(), SYMBOL_LOCAL, nullptr);

    // A list piece that cannot be allocated is dropped, the rest goes on.
    KESTO_FaultInjectStrings(2, 1);
    EXPECT_TRUE(List(table, kLocals) == W(u"a,,"));

    // No copy of the name: nothing is stored and nothing can be found.
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(table.SetSymbol(W(u"c").c_str(), SYMBOL_LOCAL, nullptr), E_OUTOFMEMORY);
    EXPECT_EQ(table.Size(), 2u);
    ReceivedText value;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(table.LookupSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr, &value.value), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(table.RemoveSymbol(W(u"a").c_str(), SYMBOL_LOCAL), E_OUTOFMEMORY);
    EXPECT_EQ(table.Size(), 2u);

    // The name is copied but the value's copy fails: the symbol is there without it.
    KESTO_FaultInjectStrings(1, 1);
    EXPECT_EQ(table.SetSymbol(W(u"d").c_str(), SYMBOL_MACRO, W(u"v").c_str()), S_OK);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(table.LookupSymbol(W(u"d").c_str(), SYMBOL_MACRO, nullptr, &value.value), S_OK);
    EXPECT_EQ(COM_SysStringLen(value.value), 0u);
}

TEST_F(CSymbolTableTest, BadArgumentsAreRefusedWithoutChange) {
    CSymbolTable table(kRoot, nullptr);
    ReceivedText value;
    EXPECT_EQ(table.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(table.SetSymbol(W(u"a").c_str(), static_cast<SYMBOL_KIND>(14), nullptr), E_INVALIDARG);
    EXPECT_EQ(table.RemoveSymbol(nullptr, SYMBOL_LOCAL), E_POINTER);
    EXPECT_EQ(table.LookupSymbol(nullptr, SYMBOL_LOCAL, nullptr, &value.value), E_POINTER);
    EXPECT_EQ(table.LookupSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(table.Size(), 0u);
}

}  // namespace
