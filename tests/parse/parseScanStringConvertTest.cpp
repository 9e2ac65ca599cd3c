// Conversions to owned strings: quoting, de-quoting, BSTR and C arrays.
#include <gtest/gtest.h>

#include <stdexcept>

#include "kesto/diagnostics.h"
#include "parse/ScanStringTestText.h"
#include "parse/parseScanString.h"

namespace {

TEST(ScanStringConvert, QuotingDoublesInnerQuotes) {
    struct {
        const char16_t* input;
        const char16_t* quoted;
    } cases[] = {
        {u"a\"b", u"\"a\"\"b\""},
        {u"", u"\"\""},
        {u"\"", u"\"\"\"\""},
        {u"abc", u"\"abc\""},
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input);
        utlWString quoted = CScanString(input).AsQuotedString();
        EXPECT_EQ(Narrow(quoted), Narrow(W(c.quoted)));
        EXPECT_TRUE(CScanString(quoted).IsQuotedString()) << Narrow(quoted);
        EXPECT_EQ(Narrow(CScanString(quoted).AsNormalizedString()), Narrow(input));
    }
}

TEST(ScanStringConvert, NormalizingTrustsItsInput) {
    struct {
        const char16_t* input;
        const char16_t* normalized;
    } cases[] = {
        {u"\"a\"\"b\"", u"a\"b"},
        {u"\"abc\"", u"abc"},
        {u"\"\"", u""},
        {u"\"a\"b\"", u"a\""},  // the unit after a lone quote is swallowed
        {u"xaby", u"ab"},       // the ends are dropped unseen
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input);
        EXPECT_EQ(Narrow(CScanString(input).AsNormalizedString()), Narrow(W(c.normalized))) << Narrow(input);
    }
}

TEST(ScanStringConvert, NormalizingBelowTwoUnitsThrowsOutOfRange) {
    utlWString quote = W(u"\"");
    for (CScanString view : {CScanString(quote), CScanString()}) {
        try {
            view.AsNormalizedString();
            ADD_FAILURE() << "no exception for " << view.Length() << " units";
        } catch (const std::out_of_range& e) {
            EXPECT_EQ(std::string(e.what()).rfind("basic_string::erase", 0), 0u);
        }
    }
}

TEST(ScanStringConvert, CopiesOfAMidBufferViewAreExactAndTerminated) {
    utlWString text = W(u"xa\"by");
    CScanString view(text.data() + 1, text.data() + 4);
    long liveBefore = KESTO_LiveStringCount();

    BSTR b = view.AsBSTR();
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(COM_SysStringLen(b), 3u);
    EXPECT_TRUE(view == b);  // the pointer form stops at the BSTR's terminator
    EXPECT_EQ(KESTO_LiveStringCount(), liveBefore + 1);
    COM_SysFreeString(b);
    EXPECT_EQ(KESTO_LiveStringCount(), liveBefore);

    unsigned short* c = view.AsCString();
    EXPECT_TRUE(view == c);
    delete[] c;

    BSTR empty = CScanString().AsBSTR();
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(COM_SysStringLen(empty), 0u);
    COM_SysFreeString(empty);
}

TEST(ScanStringConvert, AsBstrReportsRuntimeAllocationFailureAsNull) {
    utlWString text = W(u"abc");
    long liveBefore = KESTO_LiveStringCount();
    KESTO_FaultInjectStrings(0, 1);
    BSTR b = CScanString(text).AsBSTR();
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(KESTO_LiveStringCount(), liveBefore);
}

}  // namespace
