// Comparisons, searches, sub-views and trims, and reads bounded by the view.
#include "parseScanString.h"

#include <gtest/gtest.h>

#include <memory>

#include "parse/ScanStringTestText.h"

namespace {

const unsigned long NPOS = CScanString::NPOS;

TEST(ScanStringCompare, ExactOrderedAndOneSidedUpperCase) {
    utlWString abc = W(u"abc"), ab = W(u"ab"), abd = W(u"abd"), upper = W(u"ABC"), none;
    CScanString vAbc(abc), vAb(ab), vAbd(abd), vUpper(upper), vEmpty(none);
    EXPECT_TRUE(vAbc == W(u"abc").c_str() && vEmpty == CScanString() && vEmpty == CScanString::EMPTY);
    EXPECT_FALSE(vAbc == vUpper || vAbc == vAb || vAb == W(u"abc").c_str());
    EXPECT_TRUE(vAb < vAbc && vAbc < vAbd && vUpper < vAbc && vEmpty < vAb);
    EXPECT_FALSE(vAbc < vAbc || vAbd < vAbc || vAb < vEmpty);
    EXPECT_TRUE(vAbc.UpperEqualsString(W(u"ABC").c_str()) && vUpper.UpperEqualsString(W(u"ABC").c_str()));
    EXPECT_FALSE(vUpper.UpperEqualsString(W(u"abc").c_str()) || vAbc.UpperEqualsString(W(u"AB").c_str()));
    EXPECT_TRUE(vAbc.UpperEqualsString(vUpper) && !vUpper.UpperEqualsString(vAbc));
    utlWString wide = W(u"a\u0100"), latin = W(u"a\u00FF");
    EXPECT_TRUE(CScanString(wide).ContainsUnicode() && CScanString(latin).Contains(0xFF));
    EXPECT_FALSE(CScanString(latin).ContainsUnicode() || CScanString().Contains(0));
}

TEST(ScanStringFind, KeepsItsBoundAndDoesNotBackUp) {
    struct {
        const char16_t *view, *needle;
        unsigned long start, expected;
    } cases[] = {
        {u"xab", u"ab", 0, 1},      {u"abcd", u"cd", 0, 2},  {u"abab", u"ab", 1, 2},    {u"xaxabz", u"ab", 0, 3},
        {u"abc", u"abc", 0, NPOS},  {u"abcd", u"cd", 2, NPOS}, {u"abcd", u"d", 3, NPOS}, {u"abc", u"a", NPOS, NPOS},
        {u"aab", u"ab", 0, NPOS},   {u"aaabx", u"aab", 0, NPOS},  // no backing up after a partial match
        {u"abc", u"", 2, 2},        {u"abc", u"", 3, NPOS},  {u"", u"", 0, NPOS},
    };
    for (const auto& c : cases) {
        utlWString text = W(c.view), needle = W(c.needle);
        EXPECT_EQ(CScanString(text).Find(needle.c_str(), c.start), c.expected) << Narrow(text) << "/" << Narrow(needle);
    }
    EXPECT_EQ(CScanString(W(u"abc")).Find(nullptr, 0), NPOS);
}

TEST(ScanStringSubstr, ClampsAndPastTheEndIsTheNullView) {
    utlWString text = W(u"abc");
    CScanString view(text);
    EXPECT_EQ(Narrow(view.Substr(1, 1)), "b");
    EXPECT_EQ(Narrow(view.Substr(1, 10)), "bc");
    EXPECT_EQ(Narrow(view.Substr(1, NPOS)), "bc");
    EXPECT_EQ(view.Substr(1, NPOS - 1).End(), view.End());  // pos + count must not wrap
    EXPECT_EQ(view.Substr(5, NPOS).Begin(), nullptr);
    EXPECT_EQ(view.Substr(3, 1).End(), nullptr);
    CScanString empty(text.data() + 2, text.data() + 2);
    EXPECT_EQ(empty.Substr(5, 1).Begin(), empty.Begin());
}

TEST(ScanStringTrim, EachTrimRemovesOnlyItsOwnUnits) {
    struct {
        CScanString (CScanString::*trim)() const;
        const char16_t *input, *expected;
    } cases[] = {
        {&CScanString::TrimBlanks, u" \ta b\t ", u"a b"}, {&CScanString::TrimBlanks, u"\na\r", u"\na\r"},
        {&CScanString::TrimBlanks, u" \t ", u""},          {&CScanString::TrimQuotes, u"\"\"abc\"\"\"", u"abc"},
        {&CScanString::TrimQuotes, u"a\"b", u"a\"b"},     {&CScanString::TrimQuote, u"\"\"a\"\"", u"\"a\""},
        {&CScanString::TrimQuote, u"\"abc\"", u"abc"},    {&CScanString::TrimQuote, u"\"abc", u"abc"},
        {&CScanString::TrimQuote, u"abc\"", u"abc"},       {&CScanString::TrimQuote, u"\"", u""},
        {&CScanString::TrimQuote, u"\"\"", u""},          {&CScanString::TrimParens, u"(a)(b)", u"a)(b"},
        {&CScanString::TrimParens, u"((x))", u"x"},       {&CScanString::TrimParens, u"(()", u"("},
        {&CScanString::TrimParens, u"()", u""},           {&CScanString::TrimParens, u"(x", u"(x"},
    };
    for (const auto& c : cases) {
        utlWString text = W(c.input);
        EXPECT_EQ(Narrow((CScanString(text).*c.trim)()), Narrow(W(c.expected))) << Narrow(text);
    }
    utlWString blanks = W(u"  "), quotes = W(u"\"\"\"");  // all trimmed: empty at the old end
    EXPECT_EQ(CScanString(blanks).TrimBlanks().Begin(), blanks.data() + 2);
    EXPECT_EQ(CScanString(quotes).TrimQuotes().Begin(), quotes.data() + 3);
}

// A view cut from a longer text is judged on its own units, although the unit
// after it would change the answer of a scan that runs on to the terminator.
TEST(ScanStringBoundedReads, MidBufferViewIgnoresTheFollowingUnits) {
    utlWString text = W(u"xxabcd  \"\"zAb.C");
    const unsigned short* p = text.data();
    EXPECT_EQ(CScanString(p, p + 4).Find(W(u"abc").c_str(), 0), NPOS);
    EXPECT_EQ(CScanString(p, p + 5).Find(W(u"abc").c_str(), 0), 2u);
    EXPECT_EQ(CScanString(p + 6, p + 7).TrimBlanks().Begin(), p + 7);
    EXPECT_EQ(CScanString(p + 8, p + 9).TrimQuotes().Begin(), p + 9);
    EXPECT_FALSE(CScanString(p + 11, p + 12).IsClassName());  // "A", then "b"
    EXPECT_TRUE(CScanString(p + 11, p + 13).IsClassName());   // "Ab", then "."
    EXPECT_FALSE(CScanString(p + 11, p + 15).IsClassName());  // "Ab.C", then the terminator
}

// Views over arrays of exactly their own length: AddressSanitizer reports any read
// past a view's end; the answers must match the same text with a terminator.
TEST(ScanStringBoundedReads, UnterminatedViewsAnswerAsTerminatedOnes) {
    for (const char16_t* source : {u"", u"A", u" ", u"\"", u"(", u"%", u"aab", u"Ab.", u"1.5E+", u"1.5E", u"\"a\"\"",
                                   u"  \t", u"\"\"\"", u"-", u"%Lib.Ab1.X", u"5.", u"\"a\"b"}) {
        utlWString terminated = W(source);
        auto exact = std::make_unique<unsigned short[]>(terminated.size());
        std::copy(terminated.begin(), terminated.end(), exact.get());
        CScanString view(exact.get(), exact.get() + terminated.size()), reference(terminated);
        SCOPED_TRACE(Narrow(terminated));
        utlWString ab = W(u"ab"), number, referenceNumber;
        EXPECT_EQ(view.Find(ab.c_str(), 0), reference.Find(ab.c_str(), 0));
        EXPECT_EQ(view.TrimBlanks().Length(), reference.TrimBlanks().Length());
        EXPECT_EQ(view.TrimQuotes().Length(), reference.TrimQuotes().Length());
        EXPECT_EQ(view.IsQuotedString(), reference.IsQuotedString());
        EXPECT_EQ(view.IsClassName(), reference.IsClassName());
        EXPECT_EQ(view.AsNumber(number), reference.AsNumber(referenceNumber));
        if (view.Length() >= 2) {
            EXPECT_EQ(view.AsNormalizedString(), reference.AsNormalizedString());
        }
    }
}

}  // namespace
