// CSymbol: Repr and the listing filter.
#include "symbols/SymbolTestText.h"

namespace {

using CSymbolTest = StringBalanceTest;

TEST_F(CSymbolTest, ReprListsKindsInOrderWithEightBitUnits) {
    CSymbol symbol, method, odd;
    EXPECT_EQ(symbol.Repr(), "");
    symbol.SetSymbol(SYMBOL_PROPERTY, W(u"%Text"));
    symbol.SetSymbol(SYMBOL_LOCAL, W(u"old"));
    symbol.SetSymbol(SYMBOL_LOCAL, W(u"x"));
    EXPECT_EQ(symbol.Repr(), "LOCAL(x),PROPERTY(%Text)");
    method.SetSymbol(SYMBOL_MEMBERMETHOD, nullptr);
    EXPECT_EQ(method.Repr(), "METHOD(*empty*)");
    odd.SetSymbol(static_cast<SYMBOL_KIND>(0), W(u"\u0141"));
    odd.SetSymbol(SYMBOL_METHOD, W(u"m"));
    EXPECT_EQ(odd.Repr(), "(unknown SymbolKind)(A),METHOD(m)");
}

// Bit k-1 of a filter selects kind k, for kinds 1 to 11 only.
TEST_F(CSymbolTest, FilterSelectsKindsOneToElevenByBit) {
    CSymbol everything;
    for (int kind = 0; kind <= 13; ++kind) {
        CSymbol symbol;
        symbol.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
        everything.SetSymbol(static_cast<SYMBOL_KIND>(kind), nullptr);
        bool listable = kind >= 1 && kind <= 11;
        unsigned int own = kind >= 1 ? 1u << (kind - 1) : 0;
        EXPECT_EQ(symbol.Filter(~0u), listable) << kind;
        EXPECT_EQ(symbol.Filter(own), listable) << kind;
        EXPECT_FALSE(symbol.Filter(~own) || symbol.Filter(0)) << kind;
    }
    EXPECT_FALSE(everything.Filter(~0u << 11));
}

}  // namespace
