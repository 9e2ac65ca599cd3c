// TNode pieces and separator-delimited lists.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"
#include "VantleAssistRecords.h"

namespace {

TEST(TNodePiece, ReadsOnePieceAndMovesPastIt) {
    struct Case {
        const char16_t* text;
        int from;
        const char* piece;
        int position;
    };
    const Case cases[] = {
        {u"3:abc1:x", 0, "abc", 5}, {u"3:abc1:x", 5, "x", 8},
        {u"3:abc1:x", 8, "", 8},     // at the end: empty, position kept
        {u"x2:ab", 0, "ab", 5},      // stray characters are skipped
        {u":abc", 0, "", 1},         // a bare ':' is a zero-length piece
        {u"0:1:x", 0, "", 2},        {u"12:ab", 0, "ab", 15},  // cut at the end
        {u"12:ab", 15, "", 15},      // and past it nothing more is read
        {u"42", 0, "", 44},          // digits without ':' copy nothing
        {u"1:a", -3, "", -3},        // a position before the text
        {u"99999999999:x", 0, "x", 0x7FFFFFFF},  // no wrap-around
    };
    const long strings = KESTO_LiveStringCount();
    for (const Case& c : cases) {
        int position = c.from;
        BSTR piece = TNodePiece(W(c.text), position);
        ASSERT_NE(piece, nullptr);
        EXPECT_EQ(Take(piece), c.piece) << Narrow(W(c.text)) << " from " << c.from;
        EXPECT_EQ(position, c.position) << Narrow(W(c.text)) << " from " << c.from;
    }
    int position = 0;
    EXPECT_EQ(Take(TNodePiece(nullptr, position)), "") << "NULL text reads as empty";
    EXPECT_EQ(position, 0);
    KESTO_FaultInjectStrings(0, 1);
    BSTR piece = TNodePiece(W(u"1:a"), position);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(piece, nullptr);
    EXPECT_EQ(KESTO_LiveStringCount(), strings);
}

TEST(Tokenize, SplitsOutsideQuotesAndParentheses) {
    const unsigned long kNone = CScanString::NPOS;
    struct Case {
        const char16_t* text;
        char16_t separator;
        unsigned long start;
        const char* item;
        unsigned long next;
    };
    const Case cases[] = {
        {u"a,\"b,c\",(d,e),f", u',', 0, "a", 1},
        {u"a,\"b,c\",(d,e),f", u',', 2, "\"b,c\"", 7},
        {u"a,\"b,c\",(d,e),f", u',', 8, "(d,e)", 13},
        {u"a,\"b,c\",(d,e),f", u',', 14, "f", kNone},
        {u"a,b", u',', 3, "", kNone},         // start at the length
        {u"a,b", u',', 99, "", kNone},
        {u",b", u',', 0, "", 0},              // separator at start: empty item
        {u"a),b,c", u',', 0, "a),b,c", kNone},  // depth below zero never splits
        {u"\"a,b", u',', 0, "\"a,b", kNone},    // unclosed quote
        {u"\"(\",x", u',', 0, "\"(\"", 3},     // '(' inside quotes opens nothing
        {u"x:%T(\")\",a):y", u':', 0, "x", 1},
        {u"%T(\")\",a):y", u':', 0, "%T(\")\",a)", 9},  // ')' inside quotes kept
        {u"", u',', 0, "", kNone},
    };
    for (const Case& c : cases) {
        const W text(c.text);
        CScanString view(text.units().data(), text.units().data() + text.units().size());
        unsigned long next = 12345;
        CScanString item = Tokenize(view, c.separator, c.start, &next);
        EXPECT_EQ(Narrow(item.Begin(), item.Length()), c.item) << Narrow(text) << " from " << c.start;
        EXPECT_EQ(next, c.next) << Narrow(text) << " from " << c.start;
    }
    unsigned long next = 0;
    CScanString item = Tokenize(CScanString(), u',', 0, &next);
    EXPECT_TRUE(item.Begin() == nullptr && item.End() == nullptr && next == kNone) << "an empty view has no characters";
}

}  // namespace
