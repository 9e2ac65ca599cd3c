// Text helpers of the host tool: UTF-8 <-> 16-bit conversion, the runtime's strings
// as UTF-8, and the splitting of lists and typed lines.
//
// The service speaks 16-bit strings, people and pipes UTF-8. Conversion is the
// runtime's own (unicode_text.h) and never fails: broken input becomes U+FFFD. A
// NULL kesto::String reads as empty text; callers that must tell the service's
// NULLs apart ask is_null() first.
#ifndef VANTLE_TOOLS_TOOLTEXT_H_
#define VANTLE_TOOLS_TOOLTEXT_H_

#include <string>
#include <string_view>
#include <vector>

#include "kesto/owned.h"
#include "unicode_text.h"

namespace vantle::tool {

inline std::u16string ToUtf16(std::string_view utf8) { return kesto::Utf8ToUtf16(utf8); }
inline std::string ToUtf8(std::u16string_view utf16) { return kesto::Utf16ToUtf8(utf16); }
inline std::string Utf8(const kesto::String& text) { return ToUtf8(text.view()); }

// Splits a comma-terminated list ("a,b,") into its entries.
std::vector<std::string> SplitList(std::string_view list);
// Splits at runs of white space, as a command line typed at the prompt is read.
std::vector<std::string> SplitWords(const std::string& text);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLTEXT_H_
