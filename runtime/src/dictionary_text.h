// Text of the dictionary and the tree.
//
// The tree keeps 16-bit texts (what BSTRs carry); files, paths and messages are
// UTF-8, converted with the shared helpers of unicode_text.h (malformed input
// never fails: it becomes U+FFFD). Stateless; any thread may call these.
#ifndef KESTO_RUNTIME_DICTIONARY_TEXT_H_
#define KESTO_RUNTIME_DICTIONARY_TEXT_H_

#include <string_view>

#include "kesto/com.h"
#include "unicode_text.h"

namespace kesto {

// A NUL-terminated 16-bit string as a view; NULL gives an empty view.
std::u16string_view ViewOf(const unsigned short* text);

// A new BSTR holding `text`, owned by the caller; NULL when the runtime cannot
// allocate.
BSTR AllocBstr(std::u16string_view text);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_TEXT_H_
