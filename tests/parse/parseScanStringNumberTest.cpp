// Numbers: recognition, their text, integers and booleans.
#include <gtest/gtest.h>

#include "parse/ScanStringTestText.h"

namespace {

// One table for both: IsNumber accepts exactly what AsNumber converts. nullptr: not
// a number, and AsNumber leaves its output alone.
TEST(ScanStringNumber, IsNumberAndAsNumberAgree) {
    struct {
        const char16_t *input, *text;
    } cases[] = {
        {u"-007", u"-007"},   {u"+12", u"+12"},       {u"3.14", u"3.14"},     {u"-1.0", u"-1.0"},  {u".5", u".5"},
        {u"-.5", u"-.5"},     {u"1.5E+10", u"1.510"}, {u"2.5e-3", u"2.53"},   {u"1.E+5", u"1.5"},  {u"1.E-2", u"1.2"},
        {u"1.5E+x", u"1.5"},  {u"1.5E+5x", u"1.55"},  {u"", nullptr},         {u"+", nullptr},     {u"-", nullptr},
        {u".", nullptr},      {u"5.", nullptr},       {u"1E+5", nullptr},     {u"1.5E5", nullptr}, {u"1.5E+", nullptr},
        {u"1.5E", nullptr},   {u"1.5x", nullptr},     {u"abc", nullptr},      {u"+-1", nullptr},
        {u"1.5\u0145+1", nullptr},  // 0x145 is no E to the narrow toupper
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input), out = W(u"old");
        CScanString view(input);
        EXPECT_EQ(view.IsNumber(), c.text != nullptr) << "[" << Narrow(input) << "]";
        EXPECT_EQ(view.AsNumber(out), c.text != nullptr) << "[" << Narrow(input) << "]";
        EXPECT_EQ(Narrow(out), Narrow(W(c.text ? c.text : u"old"))) << "[" << Narrow(input) << "]";
    }
}

TEST(ScanStringNumber, IntegersTakeDigitsOnlyAndWrap) {
    struct {
        const char16_t* input;
        bool ok;
        unsigned long value;
        int boolean;
    } cases[] = {
        {u"", true, 0, 0},      {u"0042", true, 42, 1},    {u"000", true, 0, 0},
        {u"18446744073709551615", true, ~0ul, 1},          {u"18446744073709551616", true, 0, 0},
        {u"-1", false, 7, 9},   {u"+1", false, 7, 9},      {u"12a", false, 7, 9},
        {u"true", false, 7, 9}, {u"yes", false, 7, 9},
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input);
        unsigned long value = 7;
        int boolean = 9;
        EXPECT_EQ(CScanString(input).AsInteger(value), c.ok) << Narrow(input);
        EXPECT_EQ(CScanString(input).AsBoolean(boolean), c.ok) << Narrow(input);
        EXPECT_EQ(value, c.value) << Narrow(input);
        EXPECT_EQ(boolean, c.boolean) << Narrow(input);
    }
}

}  // namespace
