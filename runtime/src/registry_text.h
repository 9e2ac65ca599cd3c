// Text of the registry file: names and string values are kept as UTF-8 so that
// the file reads well in any SQLite tool. Unpaired surrogates are kept too (encoded
// as three-byte sequences), so every 16-bit string comes back exactly as it was
// stored. Bytes that are not valid UTF-8 (a file edited by hand) read as U+FFFD.
#ifndef KESTO_RUNTIME_REGISTRY_TEXT_H_
#define KESTO_RUNTIME_REGISTRY_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

#include "kesto/com.h"

namespace kesto {

// A NULL text gives the empty string.
std::string StoredTextFromUnits(const unsigned short* text);
std::string StoredTextFromUnits(const unsigned short* text, std::size_t count);
std::vector<unsigned short> UnitsFromStoredText(std::string_view text);
// A new BSTR (NULL when allocation fails).
BSTR AllocStringFromStoredText(std::string_view text);

}  // namespace kesto

#endif  // KESTO_RUNTIME_REGISTRY_TEXT_H_
