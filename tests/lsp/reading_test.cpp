// How a document is read: identifiers and chains, the class/member split as the
// component resolves names (full, relative to the class being edited, imported),
// argument lists counted as the component splits them.
#include <gtest/gtest.h>

#include "LspTestSupport.h"
#include "document/Reading.h"
#include "features/Features.h"

namespace {

using namespace vantle::lsp;

// The identifiers of a chain, "|" between them, the one at the offset in brackets.
std::u16string Show(std::u16string_view text, const std::optional<Chain>& chain) {
    if (!chain) return u"(none)";
    std::u16string shown;
    for (std::size_t i = 0; i < chain->segments.size(); ++i) {
        const Segment& segment = chain->segments[i];
        const std::u16string name(text.substr(segment.begin, segment.end - segment.begin));
        shown += (i > 0 ? u"|" : u"") + (i == chain->current ? u"[" + name + u"]" : name);
    }
    return shown;
}

std::u16string At(std::u16string_view text, std::size_t offset) { return Show(text, ChainAt(text, offset)); }

TEST(ReadingChains, TheChainAroundAnOffset) {
    const std::u16string text = u"x = Shop.Order.Save(1)";
    EXPECT_EQ(At(text, 4), u"[Shop]|Order|Save");
    EXPECT_EQ(At(text, 10), u"Shop|[Order]|Save");
    EXPECT_EQ(At(text, 19), u"Shop|Order|[Save]");  // just after the identifier
    EXPECT_EQ(At(text, 2), u"(none)");
    EXPECT_EQ(At(u"Shop.Order.", 11), u"Shop|Order|[]");  // after a dot: an identifier to come
}

TEST(ReadingChains, PercentBeginsAnIdentifierAndNothingElse) {
    EXPECT_EQ(At(u"%Library.Text", 3), u"[%Library]|Text");
    EXPECT_EQ(At(u"Shop.Order.%New()", 13), u"Shop|Order|[%New]");
    EXPECT_EQ(At(u"Shop.Order.%", 12), u"Shop|Order|[%]");
    EXPECT_EQ(At(u"a%b", 3), u"[%b]");
    EXPECT_EQ(At(u"ab%cd", 2), u"[ab]");
}

TEST(ReadingChains, LettersOfAnyScriptBelongToIdentifiersSymbolsAndSpacesDoNot) {
    EXPECT_EQ(At(u"K\u00E4se.\U0001D400x", 2), u"[K\u00E4se]|\U0001D400x");  // beyond U+FFFF too
    EXPECT_EQ(At(u"\U0001F600Shop.Order", 4), u"[Shop]|Order");
    EXPECT_EQ(At(u"x\u20AC\u00ABShop", 7), u"[Shop]");
    EXPECT_EQ(At(u"a\u00A0b", 3), u"[b]");
    EXPECT_EQ(At(u"a..b", 4), u"[b]");  // an empty identifier ends the chain
}

TEST(ReadingChains, HostileChainsStayBounded) {
    std::u16string longChain;
    for (int i = 0; i < 1000; ++i) longChain += u"a.";
    longChain += u"z";
    const std::optional<Chain> chain = ChainAt(longChain, longChain.size());
    ASSERT_TRUE(chain);
    EXPECT_EQ(chain->segments.size(), 64u);
    EXPECT_EQ(ChainAt(std::u16string(10000, u'a'), 5000), std::nullopt);
}

TEST(ReadingChains, DiagnosticsSkipQuotedTextAndSingleIdentifiers) {
    const std::u16string text = u"a.b \"c.d\" e \"open\nf.g.h x.\"y.z\"";
    std::u16string shown;
    for (const Chain& chain : ChainsIn(text)) {
        Chain plain = chain;
        plain.current = 99;
        shown += Show(text, plain) + u";";
    }
    EXPECT_EQ(shown, u"a|b;f|g|h;");
}

TEST(ReadingArguments, CommasSplitOnlyOutsideQuotesAndNesting) {
    EXPECT_EQ(ArgumentIndex(u""), 0u);
    EXPECT_EQ(ArgumentIndex(u"1, 2, "), 2u);
    EXPECT_EQ(ArgumentIndex(u"\"a,b\", "), 1u);
    EXPECT_EQ(ArgumentIndex(u"f(1,2), g(3"), 1u);
    EXPECT_EQ(ArgumentIndex(u"\"say \"\"hi,\"\" \", x"), 1u);  // doubled quotes inside a string
    EXPECT_EQ(ArgumentIndex(u"\"(\", 2"), 1u);                 // a parenthesis inside quotes does not nest
    EXPECT_EQ(ArgumentIndex(u"a), b"), 0u);                    // as the component: depth may go below zero
}

TEST(ReadingArguments, OpenParenthesesInnermostLastIgnoringQuotedOnes) {
    const std::u16string text = u"f(a, \"(\", g(1), h(2, \"x)";
    EXPECT_EQ(OpenParentheses(text, text.size()), (std::vector<std::size_t>{1, 17}));
    // A quote left open does not reach into the next line.
    const std::u16string twoLines = u"\"(\nk(";
    EXPECT_EQ(OpenParentheses(twoLines, twoLines.size()), (std::vector<std::size_t>{4}));
    const std::vector<std::size_t> deep = OpenParentheses(std::u16string(100000, u'('), 100000);
    EXPECT_LT(deep.size(), 512u);
    EXPECT_EQ(deep.back(), 99999u);
}

class ReadingClasses : public lsp_test::WithAssistant {
protected:
    // "Class" or "Class + member" for the reference at the end of `text`.
    std::u16string Split(const std::u16string& text) {
        const std::optional<Chain> chain = ChainAt(text, text.size());
        if (!chain) return u"(no chain)";
        const auto split = SplitClass(text, *chain, chain->segments.size(), CachingResolver(assistant));
        if (!split) return u"(no class)";
        std::u16string shown = split->className;
        if (split->classSegments < chain->segments.size()) {
            const Segment& member = chain->segments[split->classSegments];
            shown += u" + " + text.substr(member.begin, member.end - member.begin);
        }
        return shown;
    }
};

TEST_F(ReadingClasses, FullRelativeAndImportedNamesResolveAsTheComponentDoes) {
    EXPECT_EQ(Split(u"Shop.Order.Save"), u"Shop.Order + Save");
    EXPECT_EQ(Split(u"Order.Save"), u"Shop.Order + Save");  // the package of Shop.Invoice
    EXPECT_EQ(Split(u"Format.Pad"), u"Util.Format + Pad");  // the import list
    EXPECT_EQ(Split(u"%Text.X"), u"%Library.Text + X");
    EXPECT_EQ(Split(u"Shop.Order"), u"Shop.Order");
    EXPECT_EQ(Split(u"order.Save"), u"(no class)");  // names are case-sensitive
    EXPECT_EQ(Split(u"Shop.Nothing.Save"), u"(no class)");
}

TEST_F(ReadingClasses, TheLongestPrefixNamingAClassWins) {
    EXPECT_EQ(Split(u"Shop.Order.Line.Qty"), u"Shop.Order.Line + Qty");
    EXPECT_EQ(Split(u"Order.Line.Qty"), u"Shop.Order + Line");  // a dotted name is full: no Order.Line class
}

TEST_F(ReadingClasses, WithoutARelativeClassShortNamesComeFromTheImportsOnly) {
    assistant.SetRelativeClass(u"");
    EXPECT_EQ(Split(u"Order.Save"), u"(no class)");
    EXPECT_EQ(Split(u"Format.Pad"), u"Util.Format + Pad");
}

TEST_F(ReadingClasses, TheReferenceAtAnOffsetIsTheClassOrTheMemberAfterIt) {
    const std::u16string text = u"Order.Save(1)";
    const auto onClass = ReferenceAt(assistant, text, 2);
    ASSERT_TRUE(onClass);
    EXPECT_FALSE(onClass->isMember);
    EXPECT_EQ(onClass->className, u"Shop.Order");
    EXPECT_EQ(std::pair(onClass->begin, onClass->end), std::pair(std::size_t{0}, std::size_t{5}));
    const auto onMember = ReferenceAt(assistant, text, 8);
    ASSERT_TRUE(onMember);
    EXPECT_TRUE(onMember->isMember);
    EXPECT_EQ(onMember->member, u"Save");
    EXPECT_FALSE(ReferenceAt(assistant, u"Order.Save.More", 13));  // beyond the member
}

}  // namespace
