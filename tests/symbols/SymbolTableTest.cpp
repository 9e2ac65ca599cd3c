// CSymbolTable: name order, outward lookup, removal, listings, failures.
#include "symbols/SymbolTestText.h"

namespace {

const ParserLanguage kInner = static_cast<ParserLanguage>(5), kUntouched = static_cast<ParserLanguage>(99);
const unsigned int kLocals = 1u << (SYMBOL_LOCAL - 1);

class CSymbolTableTest : public StringAccountingTest {
protected:
    CSymbolTable root{PARSERLANGUAGE_ROOT, nullptr};
    CSymbolTable inner{kInner, &root};

    void Set(CSymbolTable& table, const char16_t* name, SYMBOL_KIND kind, const char16_t* value = nullptr) {
        EXPECT_EQ(table.SetSymbol(W(name).c_str(), kind, value ? W(value).c_str() : nullptr), S_OK);
    }
    TestText Listed(CSymbolTable& table, unsigned int filter) {
        utlAutoBSTR out;
        EXPECT_EQ(table.AppendSymbols(filter, out), S_OK);
        return out.IsNull() ? TestText() : TestText(out.Get(), out.Length());
    }
};

TEST_F(CSymbolTableTest, NamesAreOrderedByteWiseAndCaseSensitive) {
    for (const char16_t* name : {u"b", u"\u00FF", u"ab", u"a", u"B", u"\u0100", u"A", u"a"}) Set(root, name, SYMBOL_LOCAL);
    // Memory order of little-endian units: 0x0100 begins with byte 00, 0x00FF with FF.
    EXPECT_TRUE(Listed(root, kLocals) == W(u"\u0100,A,B,a,ab,b,\u00FF,"));
}

TEST_F(CSymbolTableTest, InnerScopeDoesNotHideOtherKindsOfItsParent) {
    Set(root, u"n", SYMBOL_MACRO, u"root macro");
    Set(inner, u"n", SYMBOL_LOCAL, u"inner local");
    ParserLanguage language = kUntouched;
    ReceivedText macro, none;
    EXPECT_EQ(inner.LookupSymbol(W(u"n").c_str(), SYMBOL_MACRO, &language, &macro.value), S_OK);
    EXPECT_TRUE(macro.Text() == "root macro" && language == PARSERLANGUAGE_ROOT);
    language = kUntouched;
    EXPECT_EQ(inner.LookupSymbol(W(u"n").c_str(), SYMBOL_LABEL, &language, &none.value), S_FALSE);
    EXPECT_TRUE(none.value == nullptr && language == kUntouched);
    unsigned short sentinel[] = {'s', 0};
    BSTR value = sentinel;  // a name held nowhere leaves the value alone
    EXPECT_EQ(inner.LookupSymbol(W(u"missing").c_str(), SYMBOL_LOCAL, &language, &value), S_FALSE);
    EXPECT_TRUE(value == sentinel && language == kUntouched);
}

TEST_F(CSymbolTableTest, RemovalActsOnThisScopeAndDropsEmptySymbols) {
    Set(root, u"x", SYMBOL_LOCAL, u"outer");
    Set(inner, u"x", SYMBOL_LOCAL, u"inner");
    Set(inner, u"y", SYMBOL_LOCAL);
    EXPECT_EQ(inner.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_TRUE(Listed(inner, kLocals) == W(u"y,x,"));
    ReceivedText value;
    EXPECT_EQ(inner.LookupSymbol(W(u"x").c_str(), SYMBOL_LOCAL, nullptr, &value.value), S_OK);
    EXPECT_EQ(value.Text(), "outer");
    // Only in the parent, or without that kind: S_OK and no change.
    EXPECT_EQ(inner.RemoveSymbol(W(u"x").c_str(), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.RemoveSymbol(W(u"y").c_str(), SYMBOL_MACRO), S_OK);
    EXPECT_TRUE(root.Size() == 1u && inner.Size() == 1u);
}

TEST_F(CSymbolTableTest, ListingGoesInnermostFirstAndAppends) {
    for (const char16_t* name : {u"b", u"a"}) Set(root, name, SYMBOL_LOCAL);
    for (const char16_t* name : {u"c", u"a"}) Set(inner, name, SYMBOL_LOCAL);
    Set(inner, u"label", SYMBOL_LABEL);
    Set(inner, u"inc", SYMBOL_INCLUDEFILE);
    EXPECT_TRUE(Listed(inner, kLocals) == W(u"a,c,a,b,") && Listed(inner, ~0u) == W(u"a,c,a,b,"));
    EXPECT_TRUE(Listed(inner, 0).empty());
    utlAutoBSTR out(COM_SysAllocString(W(u"kept,").c_str()));
    EXPECT_EQ(root.AppendSymbols(kLocals, out), S_OK);
    EXPECT_TRUE(TestText(out.Get()) == W(u"kept,a,b,"));
}

TEST_F(CSymbolTableTest, RuntimeAllocationFailuresAndBadArguments) {
    for (const char16_t* name : {u"a", u"b"}) Set(root, name, SYMBOL_LOCAL);
    KESTO_FaultInjectStrings(2, 1);  // the third piece, "b", cannot be made: left out
    EXPECT_TRUE(Listed(root, kLocals) == W(u"a,,"));
    ReceivedText value;
    KESTO_FaultInjectStrings(0, 1);  // no copy of the name: nothing stored
    EXPECT_EQ(root.SetSymbol(W(u"c").c_str(), SYMBOL_LOCAL, nullptr), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(root.LookupSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr, &value.value), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(root.RemoveSymbol(W(u"a").c_str(), SYMBOL_LOCAL), E_OUTOFMEMORY);
    EXPECT_EQ(root.SetSymbol(nullptr, SYMBOL_LOCAL, nullptr), E_POINTER);
    EXPECT_EQ(root.SetSymbol(W(u"d").c_str(), static_cast<SYMBOL_KIND>(14), nullptr), E_INVALIDARG);
    EXPECT_EQ(root.LookupSymbol(W(u"a").c_str(), static_cast<SYMBOL_KIND>(-1), nullptr, &value.value), E_INVALIDARG);
    EXPECT_EQ(root.LookupSymbol(W(u"a").c_str(), SYMBOL_LOCAL, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(root.Size(), 2u);
}

}  // namespace
