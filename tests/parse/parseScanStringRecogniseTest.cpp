// Recognisers for quoted strings, identifiers and class names, as one truth table.
#include <gtest/gtest.h>

#include "parse/ScanStringTestText.h"

namespace {

TEST(ScanStringRecognise, QuotedStringIdentifierAndClassName) {
    struct {
        const char16_t* input;
        bool quoted, identifier, className;
    } cases[] = {
        {u"", false, true, false},           {u"\"\"", true, false, false},       {u"\"a\"", true, false, false},
        {u"\"a\"\"b\"", true, false, false}, {u"\"a\"b\"", false, false, false},  {u"\"\"\"", false, false, false},
        {u"\"abc", false, false, false},     {u"\"", false, false, false},        {u"A", false, true, false},
        {u"%A1", false, true, true},         {u"%", false, true, false},          {u"Ab", false, true, true},
        {u"1A", false, false, false},        {u"A.B", false, false, false},       {u"A_B", false, false, false},
        {u"Ab.C", false, false, false},      {u"%Library.Ab1", false, false, true}, {u"Ab.%Cd", false, false, true},
        {u"Ab.", false, false, false},       {u".Ab", false, false, false},       {u"Ab..Cd", false, false, false},
        {u"A%b", false, false, false},       {u"Ab-c", false, false, false},      {u"Ab Cd", false, false, false},
    };
    for (const auto& c : cases) {
        utlWString text = W(c.input);
        CScanString view(text);
        EXPECT_EQ(view.IsQuotedString(), c.quoted) << "[" << Narrow(text) << "]";
        EXPECT_EQ(view.IsIdentifier(), c.identifier) << "[" << Narrow(text) << "]";
        EXPECT_EQ(view.IsClassName(), c.className) << "[" << Narrow(text) << "]";
    }
    EXPECT_TRUE(CScanString().IsIdentifier());
    EXPECT_FALSE(CScanString().IsClassName());
}

}  // namespace
