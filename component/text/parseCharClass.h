// parseCharClass.h: the character classes the scanner works with.
//
// The scanner's own classes are fixed code units: blanks are space and tab only,
// decimal digits are 0x30..0x39 only. Letters and digits of identifiers and class
// names follow the process's wide-character classification (iswalpha/iswdigit),
// whatever locale the host has set; this component sets none.
#ifndef VANTLE_PARSE_PARSECHARCLASS_H_
#define VANTLE_PARSE_PARSECHARCLASS_H_

#include <cctype>
#include <cwctype>

namespace parse {

constexpr unsigned short kQuote = 0x22;
constexpr unsigned short kPercent = 0x25;
constexpr unsigned short kOpenParen = 0x28;
constexpr unsigned short kCloseParen = 0x29;
constexpr unsigned short kPlus = 0x2B;
constexpr unsigned short kMinus = 0x2D;
constexpr unsigned short kPoint = 0x2E;
constexpr unsigned short kSpace = 0x20;
constexpr unsigned short kTab = 0x09;

inline bool IsBlank(unsigned short c) { return c == kSpace || c == kTab; }
inline bool IsDecimalDigit(unsigned short c) { return c >= 0x30 && c <= 0x39; }
inline bool IsSign(unsigned short c) { return c == kPlus || c == kMinus; }
inline bool IsWideAlpha(unsigned short c) { return std::iswalpha(static_cast<wint_t>(c)) != 0; }
inline bool IsWideAlnum(unsigned short c) {
    return std::iswalpha(static_cast<wint_t>(c)) != 0 || std::iswdigit(static_cast<wint_t>(c)) != 0;
}
// The narrow toupper is only defined for byte values; no unit above 0xFF has a
// narrow upper-case form, so such units pass through unchanged.
inline unsigned short NarrowUpper(unsigned short c) {
    return c <= 0xFF ? static_cast<unsigned short>(std::toupper(c)) : c;
}

}  // namespace parse

#endif  // VANTLE_PARSE_PARSECHARCLASS_H_
