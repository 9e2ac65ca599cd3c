// TNode pieces and separator-delimited lists.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"
#include "assist/VantleAssistRecords.h"

namespace {

struct PieceCase { const char16_t* text; int from; const char16_t* piece; int position; };

class TNodePieceTest : public ::testing::TestWithParam<PieceCase> {};

TEST_P(TNodePieceTest, ReadsOnePieceAndMovesPastIt) {
    const PieceCase& c = GetParam();
    long strings = KESTO_LiveStringCount();
    W text(c.text);
    int position = c.from;
    BSTR piece = TNodePiece(text, position);
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(Take(piece), Text(c.piece));
    EXPECT_EQ(position, c.position);
    EXPECT_EQ(KESTO_LiveStringCount(), strings);
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, TNodePieceTest,
    ::testing::Values(PieceCase{u"3:abc1:x", 0, u"abc", 5}, PieceCase{u"3:abc1:x", 5, u"x", 8},
                      PieceCase{u"3:abc1:x", 8, u"", 8},       // at the end: empty, position kept
                      PieceCase{u"x2:ab", 0, u"ab", 5},        // stray characters are skipped
                      PieceCase{u":abc", 0, u"", 1},           // a bare ':' is a zero-length piece
                      PieceCase{u"0:1:x", 0, u"", 2}, PieceCase{u"12:ab", 0, u"ab", 15},  // cut at the end
                      PieceCase{u"12:ab", 15, u"", 15},        // and past it nothing more is read
                      PieceCase{u"42", 0, u"", 44},            // digits without ':' copy nothing
                      PieceCase{u"1:a", -3, u"", -3},          // a position before the text
                      PieceCase{u"99999999999:x", 0, u"x", 0x7FFFFFFF}));  // no wrap-around

TEST(TNodePiece, NullTextReadsAsEmptyAndAllocationFailureGivesNull) {
    int position = 0;
    EXPECT_EQ(Take(TNodePiece(nullptr, position)), Text());
    EXPECT_EQ(position, 0);
    W text(u"1:a");
    KESTO_FaultInjectStrings(0, 1);
    BSTR piece = TNodePiece(text, position);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(piece, nullptr);
}

struct TokenCase {
    const char16_t* text; char16_t separator; unsigned long start; const char16_t* item; unsigned long next;
};

class TokenizeTest : public ::testing::TestWithParam<TokenCase> {};

TEST_P(TokenizeTest, SplitsOutsideQuotesAndParentheses) {
    const TokenCase& c = GetParam();
    Text source(c.text);
    std::basic_string<unsigned short> units = fakes::ToUnits(source);
    CScanString text(units.data(), units.data() + units.size());
    unsigned long next = 12345;
    CScanString item = Tokenize(text, c.separator, c.start, &next);
    EXPECT_EQ(Text(item.Begin(), item.End()), Text(c.item));
    EXPECT_EQ(next, c.next);
}

const unsigned long kNone = CScanString::NPOS;

INSTANTIATE_TEST_SUITE_P(
    Lists, TokenizeTest,
    ::testing::Values(TokenCase{u"a,\"b,c\",(d,e),f", u',', 0, u"a", 1},
                      TokenCase{u"a,\"b,c\",(d,e),f", u',', 2, u"\"b,c\"", 7},
                      TokenCase{u"a,\"b,c\",(d,e),f", u',', 8, u"(d,e)", 13},
                      TokenCase{u"a,\"b,c\",(d,e),f", u',', 14, u"f", kNone},
                      TokenCase{u"a,b", u',', 3, u"", kNone},         // start at the length
                      TokenCase{u"a,b", u',', 99, u"", kNone},
                      TokenCase{u",b", u',', 0, u"", 0},              // separator at start: empty item
                      TokenCase{u"a),b,c", u',', 0, u"a),b,c", kNone},  // depth below zero never splits
                      TokenCase{u"\"a,b", u',', 0, u"\"a,b", kNone},    // unclosed quote
                      TokenCase{u"x:%T(\")\",a):y", u':', 0, u"x", 1},
                      TokenCase{u"%T(\")\",a):y", u':', 0, u"%T(\")\",a)", 9},  // ')' inside quotes kept
                      TokenCase{u"", u',', 0, u"", kNone}));

TEST(Tokenize, EmptyViewHasNoCharacters) {
    unsigned long next = 0;
    CScanString item = Tokenize(CScanString(), u',', 0, &next);
    EXPECT_EQ(item.Begin(), nullptr);
    EXPECT_EQ(item.End(), nullptr);
    EXPECT_EQ(next, CScanString::NPOS);
}

}  // namespace
