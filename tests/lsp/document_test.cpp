// Documents: positions in the three encodings, line ends of every kind, edits that
// land exactly where the client meant them, and how the text is read (identifiers,
// chains, argument lists, names resolved as the component resolves them).
#include <gtest/gtest.h>

#include "LspTestSupport.h"
#include "document/Reading.h"
#include "document/TextDocument.h"
#include "features/Features.h"
#include "protocol/PositionEncoding.h"
#include "protocol/Utf.h"

namespace {

using namespace vantle::lsp;
constexpr auto kUtf8 = PositionEncoding::Utf8;
constexpr auto kUtf16 = PositionEncoding::Utf16;
constexpr auto kUtf32 = PositionEncoding::Utf32;

// "a" U+1F600 (two UTF-16 units, four UTF-8 bytes) "é" (one unit, two bytes) "b"
const std::u16string kLine = u"a\U0001F600\u00E9b";

TEST(PositionEncodings, NegotiatedAndCounted) {
    EXPECT_EQ(NegotiateEncoding(json::array({"utf-16", "utf-32", "utf-8"})), kUtf8);
    EXPECT_EQ(NegotiateEncoding(json::array({"utf-16", "utf-32"})), kUtf32);
    EXPECT_EQ(NegotiateEncoding(json::array({"utf-7"})), kUtf16);
    EXPECT_EQ(NegotiateEncoding(json("utf-8")), kUtf16);
    // unit <-> column: before "b", a column inside a character (its start), past the end.
    const std::tuple<PositionEncoding, std::size_t, std::size_t> cases[] = {
        {kUtf16, 4, 4}, {kUtf8, 4, 7}, {kUtf32, 4, 3}, {kUtf16, 1, 2}, {kUtf8, 1, 3}, {kUtf8, 5, 100}};
    for (const auto& [encoding, unit, column] : cases) {
        EXPECT_EQ(UnitOfColumn(kLine, column, encoding), unit) << EncodingName(encoding) << column;
        EXPECT_TRUE(column == 100 || unit == 1 || ColumnOfUnit(kLine, unit, encoding) == column) << column;
    }
    EXPECT_EQ(ColumnOfUnit(u"\xD800x", 1, kUtf8), 3u);  // an unpaired surrogate is U+FFFD
    EXPECT_EQ(ToUtf16("a\xC3\xC0\xAF\xED\xA0\x80"), u"a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(ToUtf16(ToUtf8(kLine)), kLine);
}

TEST(TextDocuments, LinesEndAtEveryKindOfBreakAndPositionsAreClamped) {
    TextDocument document(u"a\r\nbc\rd\n");
    ASSERT_EQ(document.LineCount(), 4u);
    EXPECT_EQ(document.Line(1), u"bc");
    EXPECT_EQ(document.OffsetAt({1, 1}, kUtf16), 4u);
    EXPECT_EQ(document.OffsetAt({0, 50}, kUtf16), 1u);  // before the line break, not inside it
    EXPECT_EQ(document.OffsetAt({9, 0}, kUtf16), 8u);
    EXPECT_EQ(document.PositionAt(6, kUtf16), (Position{2, 0}));
    EXPECT_EQ(document.PositionAt(99, kUtf8), (Position{3, 0}));
}

TEST(TextDocuments, EditsLandWhereTheClientMeantThem) {
    const std::tuple<std::u16string, std::optional<Range>, std::u16string, PositionEncoding, std::u16string> cases[] = {
        {kLine, Range{{0, 3}, {0, 3}}, u"X", kUtf16, u"a\U0001F600X\u00E9b"},
        {kLine, Range{{0, 5}, {0, 5}}, u"X", kUtf8, u"a\U0001F600X\u00E9b"},
        {kLine, Range{{0, 2}, {0, 2}}, u"X", kUtf32, u"a\U0001F600X\u00E9b"},
        {kLine, Range{{0, 1}, {0, 3}}, u"-", kUtf16, u"a-\u00E9b"},
        {u"one\r\ntwo\r\nthree", Range{{1, 0}, {1, 3}}, u"2", kUtf16, u"one\r\n2\r\nthree"},
        {u"one\r\ntwo", Range{{0, 3}, {1, 0}}, u"", kUtf16, u"onetwo"},
        {u"ab\r\ncd", Range{{0, 10}, {0, 20}}, u"!", kUtf16, u"ab!\r\ncd"},
        {u"ab\ncd", Range{{0, 1}, {5, 0}}, u"", kUtf16, u"a"},
        {u"abcdef", Range{{0, 4}, {0, 1}}, u"-", kUtf16, u"a-ef"},  // a reversed range
        {u"old\ntext", std::nullopt, u"new", kUtf8, u"new"},
    };
    for (const auto& [text, range, replacement, encoding, expected] : cases) {
        TextDocument document(text);
        document.Apply(range, replacement, encoding);
        EXPECT_EQ(document.Text(), expected) << ToUtf8(text) << " " << EncodingName(encoding);
        EXPECT_EQ(document.LineCount(), TextDocument(expected).LineCount());
    }
}

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

TEST(Reading, ChainsAroundAnOffset) {
    const std::tuple<std::u16string, std::size_t, std::u16string> cases[] = {
        {u"x = Shop.Order.Save(1)", 10, u"Shop|[Order]|Save"},
        {u"x = Shop.Order.Save(1)", 19, u"Shop|Order|[Save]"},  // just after the identifier
        {u"x = Shop.Order.Save(1)", 2, u"(none)"},
        {u"Shop.Order.", 11, u"Shop|Order|[]"},  // after a dot: an identifier to come
        {u"%Library.Text", 3, u"[%Library]|Text"},
        {u"Shop.Order.%", 12, u"Shop|Order|[%]"},
        {u"ab%cd", 2, u"[ab]"},  // '%' only begins an identifier
        {u"K\u00E4se.\U0001D400x", 2, u"[K\u00E4se]|\U0001D400x"},  // letters of any script
        {u"\U0001F600Shop.Order", 4, u"[Shop]|Order"},           // symbols end identifiers
        {u"x\u20AC\u00AB\u00A0Shop", 8, u"[Shop]"},
        {u"a..b", 4, u"[b]"},
    };
    for (const auto& [text, offset, shown] : cases) EXPECT_EQ(Show(text, ChainAt(text, offset)), shown) << ToUtf8(text);
    std::u16string longChain;
    for (int i = 0; i < 1000; ++i) longChain += u"a.";
    EXPECT_EQ(ChainAt(longChain + u"z", 2001)->segments.size(), 64u);
    EXPECT_EQ(ChainAt(std::u16string(10000, u'a'), 5000), std::nullopt);
    const std::u16string text = u"a.b \"c.d\" e \"open\nf.g.h x.\"y.z\"";
    std::u16string shown;
    for (Chain chain : ChainsIn(text)) shown += Show(text, (chain.current = 99, chain)) + u";";
    EXPECT_EQ(shown, u"a|b;f|g|h;");  // quoted text and single identifiers are skipped
}

TEST(Reading, ArgumentsSplitOnlyOutsideQuotesAndNesting) {
    const std::pair<std::u16string, std::size_t> cases[] = {
        {u"", 0}, {u"1, 2, ", 2}, {u"\"a,b\", ", 1}, {u"f(1,2), g(3", 1}, {u"\"(\", 2", 1}, {u"a), b", 0}};
    for (const auto& [arguments, index] : cases) EXPECT_EQ(ArgumentIndex(arguments), index) << ToUtf8(arguments);
    // A quote left open does not reach into the next line.
    const std::u16string text = u"f(a, \"(\", g(1), h(2, \"x)\nk(";
    EXPECT_EQ(OpenParentheses(text, text.size()), (std::vector<std::size_t>{1, 17, 26}));
    const std::vector<std::size_t> deep = OpenParentheses(std::u16string(100000, u'('), 100000);
    EXPECT_LT(deep.size(), 512u);
    EXPECT_EQ(deep.back(), 99999u);
}

class ReadingClasses : public lsp_test::WithAssistant {};

TEST_F(ReadingClasses, TheLongestPrefixNamingAClassAsTheComponentResolvesIt) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"Shop.Order.Save", u"Shop.Order + Save"},
        {u"Order.Save", u"Shop.Order + Save"},  // the package of Shop.Invoice
        {u"Format.Pad", u"Util.Format + Pad"},  // the import list
        {u"%Text.X", u"%Library.Text + X"},
        {u"Shop.Order.Line.Qty", u"Shop.Order.Line + Qty"},
        {u"Order.Line.Qty", u"Shop.Order + Line"},  // a dotted name is full
        {u"order.Save", u"(no class)"},
        {u"Shop.Nothing.Save", u"(no class)"},
    };
    for (const auto& [text, expected] : cases) {
        const std::optional<Chain> chain = ChainAt(text, text.size());
        const auto split = SplitClass(text, *chain, chain->segments.size(), CachingResolver(assistant));
        std::u16string shown = split ? split->className : u"(no class)";
        if (split && split->classSegments < chain->segments.size()) {
            const Segment& member = chain->segments[split->classSegments];
            shown += u" + " + text.substr(member.begin, member.end - member.begin);
        }
        EXPECT_EQ(shown, expected) << ToUtf8(text);
    }
    EXPECT_FALSE(ReferenceAt(assistant, u"Order.Save.More", 13));  // nothing beyond the member
}

}  // namespace
