// Views of the 16-bit strings handed to the tree.
#include "dictionary_text.h"

namespace kesto {

std::u16string_view ViewOf(const unsigned short* text) {
    if (text == nullptr) return {};
    std::size_t length = 0;
    while (text[length] != 0) ++length;
    return std::u16string_view(reinterpret_cast<const char16_t*>(text), length);
}

}  // namespace kesto
