// UTF-8 <-> UTF-16 for the dictionary and the tree.
//
// The tree keeps 16-bit texts (what BSTRs carry); files, paths and messages are
// UTF-8. Malformed input never fails: a broken UTF-8 sequence or a lone surrogate
// becomes U+FFFD.
#ifndef KESTO_RUNTIME_DICTIONARY_TEXT_H_
#define KESTO_RUNTIME_DICTIONARY_TEXT_H_

#include <string>
#include <string_view>

namespace kesto {

void AppendUtf8AsUtf16(std::u16string& out, std::string_view utf8);
std::u16string Utf8ToUtf16(std::string_view utf8);
std::string Utf16ToUtf8(std::u16string_view utf16);

// A NUL-terminated 16-bit string as a view; NULL gives an empty view.
std::u16string_view ViewOf(const unsigned short* text);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_TEXT_H_
