// protocol/Utf.h: UTF-8 <-> UTF-16, the two forms text takes in the server.
//
// The wire (JSON) carries UTF-8; documents and the component use 16-bit units.
// Conversion never fails: an invalid UTF-8 sequence or an unpaired surrogate
// becomes U+FFFD, so hostile text always converts. Pure functions, any thread.
#ifndef VANTLE_LSP_PROTOCOL_UTF_H_
#define VANTLE_LSP_PROTOCOL_UTF_H_

#include <string>
#include <string_view>

namespace vantle::lsp {

std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view utf16);

// The code point that starts at text[at] and how many units it takes (1 or 2); an
// unpaired surrogate reads as U+FFFD of one unit.
char32_t CodePointAt(std::u16string_view text, std::size_t at, std::size_t* units);
// Bytes of one code point in UTF-8.
std::size_t Utf8Length(char32_t codePoint);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_PROTOCOL_UTF_H_
