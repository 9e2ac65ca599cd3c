// File names through 16-bit text: every byte string comes back byte for byte,
// valid UTF-8 reads as its characters, and each stray byte as its own escape.
#include <gtest/gtest.h>

#include <string>

#include "unicode_text.h"

namespace {

using kesto::PathFromUtf16;
using kesto::PathToUtf16;

TEST(PathText, ValidUtf8IsTextAndEveryOtherByteIsItsOwnEscape) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"plain/name.json", u"plain/name.json"},
        {"caf\xC3\xA9", u"caf\u00E9"},
        {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"bad\xFFname", u"bad\xDCFFname"},
        {"\xC3", u"\xDCC3"},                              // cut short
        {"\xC0\xAF", u"\xDCC0\xDCAF"},                    // overlong
        {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},          // an encoded surrogate
        {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},  // beyond U+10FFFF
        {"\xE2\x82x", u"\xDCE2\xDC82x"},
        {"\xF0\x9F\x98\x80\x80", u"\U0001F600\xDC80"},     // a stray byte after a pair
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(PathToUtf16(bytes), text) << bytes;
        EXPECT_EQ(PathFromUtf16(text), bytes) << bytes;
    }
    // 16-bit text no byte string gives: other lone surrogates.
    EXPECT_EQ(PathFromUtf16(u"\xD800x\xDC00"), "\xEF\xBF\xBDx\xEF\xBF\xBD");
}

TEST(PathText, EveryShortByteStringComesBackUnchanged) {
    // Every string of one or two bytes, and every one of three or four made of
    // the bytes at the edges of UTF-8's ranges.
    const unsigned char edges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1,
                                   0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};
    auto check = [](const std::string& bytes) {
        const std::string back = PathFromUtf16(PathToUtf16(bytes));
        if (back != bytes) ADD_FAILURE() << "changed: " << testing::PrintToString(bytes);
        return back == bytes;
    };
    for (int a = 0; a < 256; ++a) {
        check(std::string(1, static_cast<char>(a)));
        for (int b = 0; b < 256; ++b) check({static_cast<char>(a), static_cast<char>(b)});
    }
    for (unsigned char a : edges)
        for (unsigned char b : edges)
            for (unsigned char c : edges)
                for (unsigned char d : edges)
                    if (!check(std::string{static_cast<char>(a), static_cast<char>(b), static_cast<char>(c)}) ||
                        !check(std::string{static_cast<char>(a), static_cast<char>(b), static_cast<char>(c),
                                           static_cast<char>(d)}))
                        return;
}

}  // namespace
