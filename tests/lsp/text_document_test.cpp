// Documents and positions: the three position encodings, line ends of every kind,
// and incremental edits that must land exactly where the client meant them.
#include <gtest/gtest.h>

#include "document/TextDocument.h"
#include "protocol/PositionEncoding.h"
#include "protocol/Utf.h"

namespace {

using vantle::lsp::PositionEncoding;
using vantle::lsp::TextDocument;
using vantle::lsp::ToUtf16;
using vantle::lsp::ToUtf8;

constexpr auto kUtf8 = PositionEncoding::Utf8;
constexpr auto kUtf16 = PositionEncoding::Utf16;
constexpr auto kUtf32 = PositionEncoding::Utf32;

// "a" U+1F600 (two UTF-16 units, four UTF-8 bytes) "é" (one unit, two bytes) "b"
const std::u16string kEmojiLine = u"a\U0001F600\u00E9b";

TEST(PositionEncodingNegotiation, PrefersUtf8ThenUtf32AndFallsBackToUtf16) {
    using nlohmann::json;
    EXPECT_EQ(vantle::lsp::NegotiateEncoding(json::array({"utf-16", "utf-32", "utf-8"})), kUtf8);
    EXPECT_EQ(vantle::lsp::NegotiateEncoding(json::array({"utf-32", "utf-16"})), kUtf32);
    EXPECT_EQ(vantle::lsp::NegotiateEncoding(json::array({"utf-7"})), kUtf16);
    EXPECT_EQ(vantle::lsp::NegotiateEncoding(json()), kUtf16);
    EXPECT_EQ(vantle::lsp::NegotiateEncoding(json("utf-8")), kUtf16);
}

TEST(PositionEncodingColumns, CountUnitsBytesOrCharacters) {
    // Before "b": 1 + 2 + 1 UTF-16 units, 1 + 4 + 2 bytes, 3 characters.
    EXPECT_EQ(vantle::lsp::ColumnOfUnit(kEmojiLine, 4, kUtf16), 4u);
    EXPECT_EQ(vantle::lsp::ColumnOfUnit(kEmojiLine, 4, kUtf8), 7u);
    EXPECT_EQ(vantle::lsp::ColumnOfUnit(kEmojiLine, 4, kUtf32), 3u);
    EXPECT_EQ(vantle::lsp::UnitOfColumn(kEmojiLine, 7, kUtf8), 4u);
    EXPECT_EQ(vantle::lsp::UnitOfColumn(kEmojiLine, 3, kUtf32), 4u);
}

TEST(PositionEncodingColumns, AColumnInsideACharacterMeansItsStart) {
    EXPECT_EQ(vantle::lsp::UnitOfColumn(kEmojiLine, 2, kUtf16), 1u);  // between the surrogates
    EXPECT_EQ(vantle::lsp::UnitOfColumn(kEmojiLine, 3, kUtf8), 1u);   // inside the 4-byte sequence
    EXPECT_EQ(vantle::lsp::UnitOfColumn(kEmojiLine, 100, kUtf8), kEmojiLine.size());
    // An unpaired surrogate is one character of three bytes (U+FFFD).
    EXPECT_EQ(vantle::lsp::ColumnOfUnit(u"\xD800x", 1, kUtf8), 3u);
}

TEST(Utf, BrokenInputBecomesReplacementCharacters) {
    EXPECT_EQ(ToUtf16("a\xC3"), u"a\uFFFD");                    // truncated
    EXPECT_EQ(ToUtf16("\xC0\xAF"), u"\uFFFD\uFFFD");            // overlong
    EXPECT_EQ(ToUtf16("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // an encoded surrogate
    EXPECT_EQ(ToUtf8(u"\xDC00"), "\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf16(ToUtf8(kEmojiLine)), kEmojiLine);
}

TEST(TextDocumentLines, EveryKindOfLineEndEndsALine) {
    TextDocument document(u"a\r\nb\rc\nd");
    ASSERT_EQ(document.LineCount(), 4u);
    EXPECT_EQ(document.Line(0), u"a");
    EXPECT_EQ(document.Line(1), u"b");
    EXPECT_EQ(document.Line(2), u"c");
    EXPECT_EQ(document.Line(3), u"d");
    EXPECT_EQ(document.OffsetAt({1, 0}, kUtf16), 3u);
    EXPECT_EQ(document.PositionAt(5, kUtf16), (vantle::lsp::Position{2, 0}));
}

TEST(TextDocumentLines, PositionsBeyondTheTextAreClamped) {
    TextDocument document(u"ab\r\ncd");
    EXPECT_EQ(document.OffsetAt({0, 50}, kUtf16), 2u);  // before the line break, not inside it
    EXPECT_EQ(document.OffsetAt({9, 0}, kUtf16), 6u);
    EXPECT_EQ(document.PositionAt(99, kUtf8), (vantle::lsp::Position{1, 2}));
}

TEST(TextDocumentEdits, InsertAfterASurrogatePairInEachEncoding) {
    const std::pair<PositionEncoding, std::size_t> cases[] = {{kUtf16, 3}, {kUtf8, 5}, {kUtf32, 2}};
    for (const auto& [encoding, column] : cases) {
        TextDocument document(kEmojiLine);
        document.Apply(vantle::lsp::Range{{0, column}, {0, column}}, u"X", encoding);
        EXPECT_EQ(document.Text(), u"a\U0001F600X\u00E9b") << vantle::lsp::EncodingName(encoding);
    }
}

TEST(TextDocumentEdits, ReplacingASurrogatePairRemovesBothHalves) {
    TextDocument document(kEmojiLine);
    document.Apply(vantle::lsp::Range{{0, 1}, {0, 3}}, u"-", kUtf16);
    EXPECT_EQ(document.Text(), u"a-\u00E9b");
}

TEST(TextDocumentEdits, CrlfDocumentsKeepTheirLineBreaks) {
    TextDocument document(u"one\r\ntwo\r\nthree");
    document.Apply(vantle::lsp::Range{{1, 0}, {1, 3}}, u"2", kUtf16);
    EXPECT_EQ(document.Text(), u"one\r\n2\r\nthree");
    // Joining two lines removes the whole break.
    document.Apply(vantle::lsp::Range{{0, 3}, {1, 0}}, u"", kUtf16);
    EXPECT_EQ(document.Text(), u"one2\r\nthree");
    // Inserting a break in the middle of a line.
    document.Apply(vantle::lsp::Range{{1, 2}, {1, 2}}, u"\r\n", kUtf16);
    EXPECT_EQ(document.Line(2), u"ree");
}

TEST(TextDocumentEdits, EditsPastTheEndOfALineLandAtItsEnd) {
    TextDocument document(u"ab\ncd");
    document.Apply(vantle::lsp::Range{{0, 10}, {0, 20}}, u"!", kUtf16);
    EXPECT_EQ(document.Text(), u"ab!\ncd");
    document.Apply(vantle::lsp::Range{{0, 1}, {5, 0}}, u"", kUtf16);  // to past the last line: the end
    EXPECT_EQ(document.Text(), u"a");
}

TEST(TextDocumentEdits, AReversedRangeIsTakenTheOtherWayRound) {
    TextDocument document(u"abcdef");
    document.Apply(vantle::lsp::Range{{0, 4}, {0, 1}}, u"-", kUtf16);
    EXPECT_EQ(document.Text(), u"a-ef");
}

TEST(TextDocumentEdits, AChangeWithoutRangeReplacesEverything) {
    TextDocument document(u"old\ntext");
    document.Apply(std::nullopt, u"new", kUtf8);
    EXPECT_EQ(document.Text(), u"new");
    EXPECT_EQ(document.LineCount(), 1u);
}

}  // namespace
