// CSymbolTable: name order, outward lookup, removal, listings, failures.
#include "symbols/SymbolTestText.h"

namespace {

const ParserLanguage kInner = static_cast<ParserLanguage>(5), kUntouched = static_cast<ParserLanguage>(99);
const unsigned int kLocals = 1u << (SYMBOL_LOCAL - 1);

class CSymbolTableTest : public StringBalanceTest {
protected:
    CSymbolTable root{PARSERLANGUAGE_ROOT, nullptr};
    CSymbolTable inner{kInner, &root};

    void Set(CSymbolTable& table, const char16_t* name, SYMBOL_KIND kind, const char16_t* value = nullptr) {
        EXPECT_EQ(table.SetSymbol(W(name), kind, value ? static_cast<CBSTR>(W(value)) : nullptr), S_OK);
    }
    std::string Listed(CSymbolTable& table, unsigned int filter) {
        utlAutoBSTR out;
        EXPECT_EQ(table.AppendSymbols(filter, out), S_OK);
        return Narrow(out.Get(), out.Length());
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

TEST_F(CSymbolTableTest, NamesAreOrderedByteWiseAndCaseSensitive) {
    for (const char16_t* name : {u"b", u"\u00FF", u"ab", u"a", u"B", u"\u0100", u"A", u"a"}) {
        Set(root, name, SYMBOL_LOCAL);
    }
    // Memory order of little-endian units: 0x0100 begins with byte 00, 0x00FF with FF.
    EXPECT_EQ(Listed(root, kLocals), "\\u0100,A,B,a,ab,b,\\u00FF,");
}

TEST_F(CSymbolTableTest, LookupGoesOutwardKindByKindAndRemovalActsOnThisScope) {
    Set(root, u"n", SYMBOL_MACRO, u"root macro");
    Set(inner, u"n", SYMBOL_LOCAL, u"inner local");
    EXPECT_EQ(Lookup(inner, u"n", SYMBOL_MACRO), "root macro@0") << "an inner scope hides only its own kinds";
    EXPECT_EQ(Lookup(inner, u"n", SYMBOL_LABEL), "(null)@99") << "a name held with other kinds gives NULL";
    EXPECT_EQ(Lookup(inner, u"missing", SYMBOL_LOCAL), "-@99") << "a name held nowhere leaves the outputs alone";
    Set(root, u"x", SYMBOL_LOCAL, u"outer");
    Set(inner, u"x", SYMBOL_LOCAL, u"inner");
    Set(inner, u"y", SYMBOL_LOCAL);
    EXPECT_EQ(inner.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(Listed(inner, kLocals), "n,y,x,");
    EXPECT_EQ(Lookup(inner, u"x", SYMBOL_LOCAL), "outer@0");
    // Only in the parent, or without that kind: S_OK and no change.
    EXPECT_EQ(inner.RemoveSymbol(W(u"x"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(inner.RemoveSymbol(W(u"y"), SYMBOL_MACRO), S_OK);
    EXPECT_TRUE(root.Size() == 2u && inner.Size() == 2u);
}

TEST_F(CSymbolTableTest, ListingGoesInnermostFirstAndAppends) {
    for (const char16_t* name : {u"b", u"a"}) Set(root, name, SYMBOL_LOCAL);
    for (const char16_t* name : {u"c", u"a"}) Set(inner, name, SYMBOL_LOCAL);
    Set(inner, u"label", SYMBOL_LABEL);
    Set(inner, u"inc", SYMBOL_INCLUDEFILE);
    EXPECT_EQ(Listed(inner, kLocals), "a,c,a,b,");
    EXPECT_EQ(Listed(inner, ~0u), "a,c,a,b,") << "labels and include files are never listed";
    EXPECT_EQ(Listed(inner, 0), "");
    utlAutoBSTR out(COM_SysAllocString(W(u"kept,")));
    EXPECT_EQ(root.AppendSymbols(kLocals, out), S_OK);
    EXPECT_EQ(Narrow(out.Get()), "kept,a,b,");
}

TEST_F(CSymbolTableTest, RuntimeAllocationFailuresAndBadArguments) {
    for (const char16_t* name : {u"a", u"b"}) Set(root, name, SYMBOL_LOCAL);
    KESTO_FaultInjectStrings(2, 1);  // the third piece, "b", cannot be made: left out
    EXPECT_EQ(Listed(root, kLocals), "a,,");
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

}  // namespace
