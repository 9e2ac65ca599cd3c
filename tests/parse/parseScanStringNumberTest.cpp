// Numbers: recognition, conversion to text, integers and booleans.
#include <gtest/gtest.h>

#include "parse/ScanStringTestText.h"
#include "parse/parseScanString.h"

namespace {

struct NumberCase {
    const char16_t* input;
    const char16_t* text;  // what AsNumber gives; nullptr when it is not a number
};

// One table for both operations: IsNumber must accept exactly what AsNumber converts.
const NumberCase kNumbers[] = {
    {u"-007", u"-007"},      {u"+12", u"+12"},         {u"0", u"0"},
    {u"3.14", u"3.14"},      {u"-1.0", u"-1.0"},       {u".5", u".5"},
    {u"-.5", u"-.5"},        {u"1.5E+10", u"1.510"},   {u"2.5e-3", u"2.53"},
    {u"1.E+5", u"1.5"},      {u"1.E-2", u"1.2"},       {u"1.5E+x", u"1.5"},
    {u"1.5E+5x", u"1.55"},   {u".E+5", u".5"},         {u"", nullptr},
    {u"+", nullptr},         {u"-", nullptr},          {u".", nullptr},
    {u"5.", nullptr},        {u"1E+5", nullptr},       {u"1.5E5", nullptr},
    {u"1.5E+", nullptr},     {u"1.5E", nullptr},       {u"1.5x", nullptr},
    {u"abc", nullptr},       {u"1x", nullptr},         {u"+-1", nullptr},
    {u"1.5\u0145+1", nullptr},
};

TEST(ScanStringNumber, IsNumberAndAsNumberAgree) {
    for (const NumberCase& c : kNumbers) {
        utlWString input = W(c.input);
        CScanString view(input);
        utlWString out = W(u"old");
        bool converted = view.AsNumber(out);
        EXPECT_EQ(view.IsNumber(), c.text != nullptr) << "[" << Narrow(input) << "]";
        EXPECT_EQ(converted, c.text != nullptr) << "[" << Narrow(input) << "]";
        EXPECT_EQ(Narrow(out), Narrow(W(c.text != nullptr ? c.text : u"old"))) << "[" << Narrow(input) << "]";
    }
}

TEST(ScanStringNumber, AsIntegerTakesDigitsOnlyAndWraps) {
    struct {
        const char16_t* input;
        bool ok;
        unsigned long value;
    } cases[] = {
        {u"", true, 0},
        {u"123", true, 123},
        {u"0042", true, 42},
        {u"18446744073709551615", true, ~0ul},
        {u"18446744073709551616", true, 0},
        {u"-1", false, 7},
        {u"+1", false, 7},
        {u"12a", false, 7},
        {u"1 ", false, 7},
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input);
        unsigned long value = 7;
        EXPECT_EQ(CScanString(input).AsInteger(value), c.ok) << "[" << Narrow(input) << "]";
        EXPECT_EQ(value, c.value) << "[" << Narrow(input) << "]";
    }
}

TEST(ScanStringNumber, AsBooleanIsNonZero) {
    struct {
        const char16_t* input;
        bool ok;
        int value;
    } cases[] = {
        {u"0", true, 0}, {u"000", true, 0}, {u"1", true, 1},    {u"42", true, 1},
        {u"", true, 0},  {u"true", false, 9}, {u"yes", false, 9}, {u"-1", false, 9},
    };
    for (const auto& c : cases) {
        utlWString input = W(c.input);
        int value = 9;
        EXPECT_EQ(CScanString(input).AsBoolean(value), c.ok) << "[" << Narrow(input) << "]";
        EXPECT_EQ(value, c.value) << "[" << Narrow(input) << "]";
    }
}

}  // namespace
