// CSymbol: one value per kind, the kind mask, the listing filter and Repr.
#include <gtest/gtest.h>

#include "symbols/SymbolTable.h"
#include "symbols/SymbolTestText.h"

namespace {

using CSymbolTest = StringAccountingTest;

TEST_F(CSymbolTest, ReprListsKindsInOrderWithEightBitUnits) {
    CSymbol symbol;
    EXPECT_EQ(symbol.Repr(), "");
    symbol.SetSymbol(SYMBOL_PROPERTY, W(u"%Text").c_str());
    symbol.SetSymbol(SYMBOL_LOCAL, W(u"x").c_str());
    EXPECT_EQ(symbol.Repr(), "LOCAL(x),PROPERTY(%Text)");

    CSymbol method;
    method.SetSymbol(SYMBOL_MEMBERMETHOD, nullptr);
    EXPECT_EQ(method.Repr(), "METHOD(*empty*)");

    CSymbol odd;
    odd.SetSymbol(static_cast<SYMBOL_KIND>(0), W(u"\u0141").c_str());  // low byte 0x41
    odd.SetSymbol(SYMBOL_METHOD, W(u"m").c_str());
    EXPECT_EQ(odd.Repr(), "(unknown SymbolKind)(A),METHOD(m)");
}

TEST_F(CSymbolTest, SettingAgainReplacesAndRemovingReportsWhatIsLeft) {
    CSymbol symbol;
    symbol.SetSymbol(SYMBOL_MACRO, W(u"first").c_str());
    symbol.SetSymbol(SYMBOL_MACRO, W(u"second").c_str());
    symbol.SetSymbol(SYMBOL_LABEL, W(u"l").c_str());
    ReceivedText value;
    EXPECT_EQ(symbol.LookupSymbol(SYMBOL_MACRO, &value.value), S_OK);
    EXPECT_EQ(value.Text(), "second");

    EXPECT_TRUE(symbol.RemoveSymbol(SYMBOL_MACRO));
    EXPECT_TRUE(symbol.RemoveSymbol(SYMBOL_CLASS));  // never set: not an error
    EXPECT_FALSE(symbol.RemoveSymbol(SYMBOL_LABEL));
    EXPECT_TRUE(symbol.IsEmpty());
    EXPECT_FALSE(symbol.RemoveSymbol(SYMBOL_LABEL));
}

TEST_F(CSymbolTest, LookupTellsANullValueFromAnUnsetKind) {
    CSymbol symbol;
    symbol.SetSymbol(SYMBOL_SYSTEM, nullptr);
    ReceivedText set, unset;
    unset.value = COM_SysAllocString(W(u"stale").c_str());
    COM_SysFreeString(unset.value);  // the symbol must overwrite, not free, the out value

    EXPECT_EQ(symbol.LookupSymbol(SYMBOL_SYSTEM, &set.value), S_OK);
    ASSERT_NE(set.value, nullptr);
    EXPECT_EQ(COM_SysStringLen(set.value), 0u);
    EXPECT_EQ(symbol.LookupSymbol(SYMBOL_LOCAL, &unset.value), S_FALSE);
    EXPECT_EQ(unset.value, nullptr);
}

TEST_F(CSymbolTest, KindsOutsideTheSlotsAreRefused) {
    CSymbol symbol;
    ReceivedText value;
    for (int kind : {14, 64, -1}) {
        EXPECT_EQ(symbol.SetSymbol(static_cast<SYMBOL_KIND>(kind), W(u"v").c_str()), E_INVALIDARG);
        EXPECT_EQ(symbol.LookupSymbol(static_cast<SYMBOL_KIND>(kind), &value.value), E_INVALIDARG);
        EXPECT_FALSE(symbol.RemoveSymbol(static_cast<SYMBOL_KIND>(kind)));
    }
    EXPECT_TRUE(symbol.IsEmpty());
}

// Bit k-1 of a filter selects kind k, for kinds 1 to 11 only.
TEST_F(CSymbolTest, FilterSelectsKindsOneToElevenByBit) {
    for (int kind = 0; kind <= 13; ++kind) {
        CSymbol symbol;
        symbol.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
        bool listable = kind >= 1 && kind <= 11;
        SCOPED_TRACE(kind);
        EXPECT_FALSE(symbol.Filter(0));
        EXPECT_EQ(symbol.Filter(~0u), listable);
        if (kind >= 1) {
            EXPECT_EQ(symbol.Filter(1u << (kind - 1)), listable);
            EXPECT_FALSE(symbol.Filter(~(1u << (kind - 1))));
        }
    }
    CSymbol everything;
    for (int kind = 0; kind <= 13; ++kind) everything.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
    EXPECT_FALSE(everything.Filter(~0u << 11));
}

}  // namespace
