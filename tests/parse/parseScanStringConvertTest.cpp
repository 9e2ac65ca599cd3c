// Conversions to owned strings: quoting, de-quoting, BSTR and C arrays.
#include <gtest/gtest.h>

#include <stdexcept>

#include "kesto/diagnostics.h"
#include "parse/ScanStringTestText.h"

namespace {

TEST(ScanStringConvert, QuotingRoundTripsAndNormalizingTrustsItsInput) {
    for (const char16_t* source : {u"a\"b", u"", u"\"", u"\"\"x"}) {
        utlWString text = W(source), quoted = CScanString(text).AsQuotedString();
        EXPECT_TRUE(CScanString(quoted).IsQuotedString()) << Narrow(quoted);
        EXPECT_EQ(CScanString(quoted).AsNormalizedString(), text);
    }
    EXPECT_EQ(Narrow(CScanString(W(u"a\"b")).AsQuotedString()), "\"a\"\"b\"");
    EXPECT_EQ(Narrow(CScanString(W(u"\"a\"b\"")).AsNormalizedString()), "a\"");  // the b is swallowed
    EXPECT_EQ(Narrow(CScanString(W(u"xaby")).AsNormalizedString()), "ab");       // the ends go unseen
    for (CScanString tooShort : {CScanString(CScanString::SPACE, CScanString::SPACE + 1), CScanString()}) {
        try {
            tooShort.AsNormalizedString();
            ADD_FAILURE() << "no exception for " << tooShort.Length() << " units";
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
    EXPECT_EQ(COM_SysStringLen(b), 3u);
    EXPECT_TRUE(view == b && CScanString(static_cast<CBSTR>(b)) == view);  // pointer form stops at the NUL
    COM_SysFreeString(b);
    unsigned short* c = view.AsCString();
    EXPECT_TRUE(view == c);
    delete[] c;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(view.AsBSTR(), nullptr);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(KESTO_LiveStringCount(), liveBefore);
}

}  // namespace
