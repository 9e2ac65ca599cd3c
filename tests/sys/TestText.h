// TestText.h: 16-bit text in tests.
//
// W() widens an ASCII literal; Narrow() turns 16-bit text back into a readable
// std::string (units above 0x7E shown as \uXXXX) so that failures print as text.
#ifndef VANTLE_TESTS_SYS_TESTTEXT_H_
#define VANTLE_TESTS_SYS_TESTTEXT_H_

#include <cstdio>
#include <string>

using TestWString = std::basic_string<unsigned short>;

inline TestWString W(const char* text) {
    TestWString wide;
    while (*text != 0) wide.push_back(static_cast<unsigned char>(*text++));
    return wide;
}

inline std::string Narrow(const unsigned short* units, unsigned long length) {
    std::string text;
    for (unsigned long i = 0; i < length; ++i) {
        if (units[i] >= 0x20 && units[i] < 0x7F) {
            text.push_back(static_cast<char>(units[i]));
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", units[i]);
            text += escaped;
        }
    }
    return text;
}

inline std::string Narrow(const TestWString& text) { return Narrow(text.data(), text.size()); }

// A zero-terminated string; NULL reads as "(null)".
inline std::string Narrow(const unsigned short* text) {
    if (text == nullptr) return "(null)";
    unsigned long length = 0;
    while (text[length] != 0) ++length;
    return Narrow(text, length);
}

#endif  // VANTLE_TESTS_SYS_TESTTEXT_H_
