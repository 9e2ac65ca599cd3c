// The scan string as the signature renderer reads argument lists with it: numbers,
// quoted strings, NULL, sub-views and outer parentheses. The members no caller of
// the component uses keep only the cases that pin the edges their header states;
// the fuzz target checks all of them against models, on views over exact blocks.
#include "parseScanString.h"

#include <gtest/gtest.h>

#include "TestText.h"

namespace {

const unsigned long NPOS = CScanString::NPOS;

CScanString View(const W& text) { return CScanString(text.units()); }
std::string Shown(const CScanString& view) { return Narrow(view.Begin(), view.Length()); }

// IsNumber accepts exactly what AsNumber converts; nullptr: not a number, and
// AsNumber leaves its output alone.
TEST(ScanString, NumbersAndQuotedStringsAsDefaultsAreWritten) {
    const std::pair<const char*, const char*> numbers[] = {
        {"-007", "-007"}, {"3.14", "3.14"}, {"-.5", "-.5"},  {"1.5E+10", "1.510"}, {"2.5e-3", "2.53"},
        {"1.E+5", "1.5"}, {"1.5E+x", "1.5"}, {"", nullptr}, {"+", nullptr},        {"5.", nullptr},
        {"1E+5", nullptr}, {"1.5E5", nullptr}, {"1.5E+", nullptr}, {"+-1", nullptr}, {"1.5x", nullptr},
    };
    for (const auto& [input, text] : numbers) {
        Units out = W("old").units();
        EXPECT_EQ(View(input).IsNumber(), text != nullptr) << input;
        EXPECT_EQ(View(input).AsNumber(out), text != nullptr) << input;
        EXPECT_EQ(Narrow(out), text != nullptr ? text : "old") << input;
    }
    const std::pair<const char*, bool> quoted[] = {
        {"\"\"", true},     {"\"a\"\"b\"", true}, {"\"a\"b\"", false}, {"\"\"\"", false},
        {"\"abc", false},   {"\"", false},        {"", false},
    };
    for (const auto& [input, isQuoted] : quoted) EXPECT_EQ(View(input).IsQuotedString(), isQuoted) << input;
    EXPECT_TRUE(View("null").UpperEqualsString(W("NULL")));
    EXPECT_FALSE(View("NULL").UpperEqualsString(W("null")) || View("NUL").UpperEqualsString(W("NULL")));
}

TEST(ScanString, SubViewsClampAndOuterParenthesesComeOffUnmatched) {
    const W abc("abc");
    const CScanString view = View(abc);
    EXPECT_EQ(Shown(view.Substr(1, 1)), "b");
    EXPECT_EQ(Shown(view.Substr(1, 10)), "bc");
    EXPECT_EQ(view.Substr(1, NPOS - 1).End(), view.End()) << "pos + count must not wrap";
    EXPECT_EQ(view.Substr(3, 1).Begin(), nullptr) << "past the end is the null view";
    const CScanString empty(view.Begin() + 2, view.Begin() + 2);
    EXPECT_EQ(empty.Substr(5, 1).Begin(), empty.Begin());
    const std::pair<const char*, const char*> parens[] = {
        {"(a)(b)", "a)(b"}, {"((x))", "x"}, {"(()", "("}, {"()", ""}, {"(x", "(x"}, {")(", ")("}};
    for (const auto& [input, expected] : parens) EXPECT_EQ(Shown(View(input).TrimParens()), expected) << input;
}

// Exported for hosts, unused by the component: the edges their contract states.
TEST(ScanString, FindOrderAndTrimQuoteKeepTheirStatedEdges) {
    const std::tuple<const char*, const char*, unsigned long, unsigned long> finds[] = {
        {"xab", "ab", 0, 1}, {"abab", "ab", 1, 2}, {"abc", "abc", 0, NPOS}, {"abcd", "cd", 2, NPOS},
        {"aab", "ab", 0, NPOS}, {"abc", "", 2, 2}, {"abc", "a", NPOS, NPOS},
    };
    for (const auto& [text, needle, start, expected] : finds) {
        EXPECT_EQ(View(text).Find(W(needle), start), expected) << text << "/" << needle << " from " << start;
    }
    EXPECT_EQ(View("abc").Find(nullptr, 0), NPOS);
    EXPECT_TRUE(View("ab") < View("abc") && View("ABC") < View("abc") && CScanString() < View("a"));
    EXPECT_FALSE(View("abc") < View("abc") || View("abd") < View("abc"));
    for (auto [input, expected] : {std::pair{"\"\"a\"\"", "\"a\""}, {"\"abc", "abc"}, {"\"", ""}, {"\"\"", ""}}) {
        EXPECT_EQ(Shown(View(input).TrimQuote()), expected) << input;
    }
}

}  // namespace
