// UTF-8 <-> UTF-16, shared by the runtime and the host tool (a static library, so
// the tool gets it without the runtime exporting anything beyond its C interface).
//
// Conversion never fails: a broken UTF-8 sequence, an encoded surrogate or a lone
// surrogate in 16-bit text becomes U+FFFD. AppendUtf8CodePoint is the exception
// on purpose: it writes whatever code point it is given, a surrogate included, for
// stores that must give back every 16-bit string exactly.
#ifndef KESTO_TEXT_UNICODE_TEXT_H_
#define KESTO_TEXT_UNICODE_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace kesto {

void AppendUtf8AsUtf16(std::u16string& out, std::string_view utf8);
std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

// One to four bytes for a code point up to 0x10FFFF.
void AppendUtf8CodePoint(std::string& out, std::uint32_t codePoint);

// File names are bytes, not text: these carry any byte string through 16-bit text
// and back unchanged. UTF-8 converts as above; each byte that does not belong to
// a valid sequence becomes the lone surrogate U+DC00 + byte (U+DC80..U+DCFF) and
// turns back into that byte. A lone surrogate outside that range, which no byte
// string gives, becomes U+FFFD.
std::u16string PathToUtf16(std::string_view bytes);
std::string PathFromUtf16(std::u16string_view text);

}  // namespace kesto

#endif  // KESTO_TEXT_UNICODE_TEXT_H_
