// Recognisers for quoted strings, identifiers and class names.
#include <gtest/gtest.h>

#include "parse/ScanStringTestText.h"
#include "parse/parseScanString.h"

namespace {

struct RecogniseCase {
    const char16_t* input;
    bool expected;
};

void ExpectEach(bool (CScanString::*recognise)() const, std::initializer_list<RecogniseCase> cases) {
    for (const RecogniseCase& c : cases) {
        utlWString text = W(c.input);
        EXPECT_EQ((CScanString(text).*recognise)(), c.expected) << "[" << Narrow(text) << "]";
    }
}

TEST(ScanStringRecognise, QuotedStringNeedsEveryInnerQuoteDoubled) {
    ExpectEach(&CScanString::IsQuotedString, {
                                                 {u"\"\"", true},
                                                 {u"\"a\"", true},
                                                 {u"\"a\"\"b\"", true},
                                                 {u"\"\"\"\"", true},
                                                 {u"\"a\"b\"", false},
                                                 {u"\"\"\"", false},
                                                 {u"\"abc", false},
                                                 {u"abc\"", false},
                                                 {u"\"", false},
                                                 {u"", false},
                                             });
}

TEST(ScanStringRecognise, IdentifierIsLettersAndDigitsAfterALetterOrPercent) {
    ExpectEach(&CScanString::IsIdentifier, {
                                               {u"", true},
                                               {u"A", true},
                                               {u"%A1", true},
                                               {u"%", true},
                                               {u"abc123", true},
                                               {u"1A", false},
                                               {u"A.B", false},
                                               {u"A_B", false},
                                               {u"A%", false},
                                               {u"A B", false},
                                           });
    EXPECT_TRUE(CScanString().IsIdentifier());
}

TEST(ScanStringRecognise, ClassNameSegmentsNeedTwoUnitsEach) {
    ExpectEach(&CScanString::IsClassName, {
                                              {u"Ab", true},
                                              {u"%Library.Ab1", true},
                                              {u"Ab.%Cd.Ef9", true},
                                              {u"", false},
                                              {u"A", false},
                                              {u"Ab.C", false},
                                              {u"%", false},
                                              {u"Ab.", false},
                                              {u".Ab", false},
                                              {u"Ab..Cd", false},
                                              {u"A%b", false},
                                              {u"1b", false},
                                              {u"Ab-c", false},
                                              {u"Ab Cd", false},
                                          });
}

}  // namespace
