// Views, comparisons, searches, trims, and reads bounded by the view.
#include "parse/parseScanString.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "parse/ScanStringTestText.h"

namespace {

const unsigned long NPOS = CScanString::NPOS;

TEST(ScanStringView, BstrViewCoversItsLengthAndNullIsEmpty) {
    const unsigned short withZero[] = {'a', 0, 'b'};
    BSTR b = COM_SysAllocStringLen(withZero, 3);
    CScanString view(static_cast<CBSTR>(b));
    EXPECT_EQ(view.Length(), 3u);
    EXPECT_EQ(view[2], 'b');
    COM_SysFreeString(b);

    CScanString null(static_cast<CBSTR>(nullptr));
    EXPECT_EQ(null.Begin(), nullptr);
    EXPECT_TRUE(null.IsEmpty());
    EXPECT_TRUE(null == CScanString::EMPTY);
}

TEST(ScanStringCompare, EqualityOrderAndUpperCase) {
    utlWString abc = W(u"abc"), ab = W(u"ab"), abd = W(u"abd"), upper = W(u"ABC"), empty;
    CScanString vAbc(abc), vAb(ab), vAbd(abd), vUpper(upper), vEmpty(empty), vNull;

    EXPECT_TRUE(vAbc == vAbc);
    EXPECT_FALSE(vAbc == vUpper);
    EXPECT_FALSE(vAbc == vAb);
    EXPECT_TRUE(vEmpty == vNull);
    EXPECT_TRUE(vAbc == W(u"abc").c_str());
    EXPECT_FALSE(vAb == W(u"abc").c_str());
    EXPECT_TRUE(vEmpty == static_cast<const unsigned short*>(nullptr));

    EXPECT_TRUE(vAb < vAbc);
    EXPECT_TRUE(vAbc < vAbd);
    EXPECT_TRUE(vUpper < vAbc);
    EXPECT_TRUE(vEmpty < vAb);
    EXPECT_FALSE(vAbc < vAbc);
    EXPECT_FALSE(vAbd < vAbc);

    // One-sided: only the view is upper-cased.
    EXPECT_TRUE(vAbc.UpperEqualsString(W(u"ABC").c_str()));
    EXPECT_TRUE(vUpper.UpperEqualsString(W(u"ABC").c_str()));
    EXPECT_FALSE(vUpper.UpperEqualsString(W(u"abc").c_str()));
    EXPECT_FALSE(vAbc.UpperEqualsString(W(u"AB").c_str()));
    EXPECT_TRUE(vAbc.UpperEqualsString(vUpper));
    EXPECT_FALSE(vUpper.UpperEqualsString(vAbc));
    EXPECT_TRUE(vEmpty.UpperEqualsString(CScanString::EMPTY));
}

TEST(ScanStringCompare, ContainsAndContainsUnicode) {
    utlWString text = W(u"a\u00FFb");
    utlWString wide = W(u"a\u0100");
    CScanString view(text);
    EXPECT_TRUE(view.Contains('b'));
    EXPECT_FALSE(view.Contains('c'));
    EXPECT_FALSE(view.ContainsUnicode());
    EXPECT_TRUE(CScanString(wide).ContainsUnicode());
    EXPECT_FALSE(CScanString().Contains(0));
    EXPECT_FALSE(CScanString().ContainsUnicode());
}

struct FindCase {
    const char16_t* view;
    const char16_t* needle;
    unsigned long start;
    unsigned long expected;
};

TEST(ScanStringFind, KeepsItsBoundAndDoesNotBackUp) {
    const FindCase cases[] = {
        {u"xab", u"ab", 0, 1},
        {u"abc", u"abc", 0, NPOS},  // a needle as long as the view is never found
        {u"abcd", u"cd", 0, 2},
        {u"abcd", u"cd", 2, NPOS},  // nor one that would end on the last unit from start
        {u"abcd", u"d", 3, NPOS},
        {u"abab", u"ab", 1, 2},
        {u"aab", u"ab", 0, NPOS},    // the unit that broke a partial match is skipped
        {u"aaabx", u"aab", 0, NPOS},
        {u"xaxabz", u"ab", 0, 3},
        {u"abc", u"", 0, 0},
        {u"abc", u"", 2, 2},
        {u"abc", u"", 3, NPOS},
        {u"abc", u"a", NPOS, NPOS},
        {u"", u"", 0, NPOS},
    };
    for (const FindCase& c : cases) {
        utlWString text = W(c.view), needle = W(c.needle);
        EXPECT_EQ(CScanString(text).Find(needle.c_str(), c.start), c.expected)
            << Narrow(text) << " / " << Narrow(needle) << " from " << c.start;
    }
    utlWString text = W(u"abc");
    EXPECT_EQ(CScanString(text).Find(nullptr, 0), NPOS);
}

TEST(ScanStringSubstr, RangesClampAndPastTheEndIsNull) {
    utlWString text = W(u"abc");
    CScanString view(text);
    EXPECT_TRUE(view.Substr(1, 1) == W(u"b").c_str());
    EXPECT_TRUE(view.Substr(1, 10) == W(u"bc").c_str());
    EXPECT_TRUE(view.Substr(1, NPOS) == W(u"bc").c_str());
    EXPECT_TRUE(view.Substr(0, 0).IsEmpty());
    EXPECT_EQ(view.Substr(1, NPOS - 1).End(), view.End());  // no wrap of pos + count
    for (unsigned long pos : {3ul, 5ul}) {
        CScanString past = view.Substr(pos, NPOS);
        EXPECT_EQ(past.Begin(), nullptr);
        EXPECT_EQ(past.End(), nullptr);
    }
    CScanString empty(text.data() + 2, text.data() + 2);
    EXPECT_EQ(empty.Substr(5, 1).Begin(), empty.Begin());
}

struct TrimCase {
    CScanString (CScanString::*trim)() const;
    const char16_t* input;
    const char16_t* expected;
};

TEST(ScanStringTrim, EachTrimRemovesOnlyItsOwnUnits) {
    const TrimCase cases[] = {
        {&CScanString::TrimBlanks, u" \ta b\t ", u"a b"},
        {&CScanString::TrimBlanks, u"\r\na\n", u"\r\na\n"},
        {&CScanString::TrimBlanks, u" \t ", u""},
        {&CScanString::TrimQuote, u"\"abc\"", u"abc"},
        {&CScanString::TrimQuote, u"\"abc", u"abc"},
        {&CScanString::TrimQuote, u"abc\"", u"abc"},
        {&CScanString::TrimQuote, u"\"\"a\"\"", u"\"a\""},
        {&CScanString::TrimQuote, u"\"", u""},
        {&CScanString::TrimQuote, u"\"\"", u""},
        {&CScanString::TrimQuotes, u"\"\"abc\"\"\"", u"abc"},
        {&CScanString::TrimQuotes, u"\"\"\"", u""},
        {&CScanString::TrimQuotes, u"a\"b", u"a\"b"},
        {&CScanString::TrimParens, u"(a)(b)", u"a)(b"},
        {&CScanString::TrimParens, u"((x))", u"x"},
        {&CScanString::TrimParens, u"(()", u"("},
        {&CScanString::TrimParens, u"()", u""},
        {&CScanString::TrimParens, u"(x", u"(x"},
        {&CScanString::TrimParens, u"x)", u"x)"},
        {&CScanString::TrimParens, u")", u")"},
    };
    for (const TrimCase& c : cases) {
        utlWString text = W(c.input);
        CScanString trimmed = (CScanString(text).*c.trim)();
        EXPECT_EQ(Narrow(trimmed), Narrow(W(c.expected))) << "input " << Narrow(text);
        EXPECT_GE(trimmed.Begin(), text.data());
        EXPECT_LE(trimmed.End(), text.data() + text.size());
    }
}

TEST(ScanStringTrim, AllBlankOrAllQuoteBecomesEmptyAtTheOldEnd) {
    utlWString blanks = W(u"  \t");
    utlWString quotes = W(u"\"\"");
    EXPECT_EQ(CScanString(blanks).TrimBlanks().Begin(), blanks.data() + 3);
    EXPECT_EQ(CScanString(quotes).TrimQuotes().Begin(), quotes.data() + 2);
    EXPECT_TRUE(CScanString().TrimBlanks().IsEmpty());
}

// A view cut from the middle of a longer text is judged on its own units: the unit
// after it would change the answer of a scan that runs on to the terminator.
TEST(ScanStringBoundedReads, MidBufferViewIgnoresTheFollowingUnits) {
    utlWString text = W(u"xxabcd  \"\"zAb.C");
    const unsigned short* p = text.data();
    CScanString xxab(p, p + 4);
    EXPECT_EQ(xxab.Find(W(u"abc").c_str(), 0), NPOS);  // "c" lies past the view
    EXPECT_EQ(CScanString(p, p + 5).Find(W(u"abc").c_str(), 0), 2u);

    CScanString blanks(p + 6, p + 7);  // " " followed by another blank
    EXPECT_EQ(blanks.TrimBlanks().Begin(), blanks.End());
    CScanString quote(p + 8, p + 9);  // "\"" followed by another quote
    EXPECT_EQ(quote.TrimQuotes().Begin(), quote.End());
    EXPECT_TRUE(quote.TrimQuote().IsEmpty());

    CScanString a(p + 11, p + 12);  // "A" followed by "b"
    EXPECT_FALSE(a.IsClassName());
    CScanString abDotC(p + 11, p + 15);  // "Ab.C" is the text's tail: terminator next
    EXPECT_FALSE(abDotC.IsClassName());
    EXPECT_TRUE(CScanString(p + 11, p + 13).IsClassName());  // "Ab" followed by "."
}

// Views over arrays of exactly their own length: under AddressSanitizer any read
// past the end of a view is reported here.
TEST(ScanStringBoundedReads, EveryOperationStaysInsideAnUnterminatedView) {
    const char16_t* texts[] = {u"",     u"A",       u" ",      u"\"",         u"(",       u"%",
                               u"aab",  u"Ab.",     u"1.5E+",  u"1.5E",       u"\"a\"\"", u"((x)",
                               u"  \t", u"\"\"\"",  u"-",      u"%Lib.Ab1.X", u"5.",      u"\"a\"b"};
    for (const char16_t* source : texts) {
        utlWString copy = W(source);
        std::unique_ptr<unsigned short[]> exact(new unsigned short[copy.size()]);
        std::copy(copy.begin(), copy.end(), exact.get());
        CScanString view(exact.get(), exact.get() + copy.size());
        SCOPED_TRACE(Narrow(copy));

        utlWString ab = W(u"ab"), b = W(u"b");
        view.Find(ab.c_str(), 0);
        view.Find(b.c_str(), 0);
        view.TrimBlanks();
        view.TrimQuote();
        view.TrimQuotes();
        view.TrimParens();
        view.Substr(1, NPOS);
        view.IsQuotedString();
        view.IsIdentifier();
        EXPECT_EQ(view.IsClassName(), CScanString(copy).IsClassName());
        EXPECT_EQ(view.IsNumber(), CScanString(copy).IsNumber());
        utlWString number;
        view.AsNumber(number);
        unsigned long value = 0;
        view.AsInteger(value);
        if (view.Length() >= 2) view.AsNormalizedString();
        delete[] view.AsCString();
        COM_SysFreeString(view.AsBSTR());
    }
}

}  // namespace
