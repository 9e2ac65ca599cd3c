// 16-bit strings to and from the tree.
#include "dictionary_text.h"

namespace kesto {

std::u16string_view ViewOf(const unsigned short* text) {
    if (text == nullptr) return {};
    std::size_t length = 0;
    while (text[length] != 0) ++length;
    return std::u16string_view(reinterpret_cast<const char16_t*>(text), length);
}

BSTR AllocBstr(std::u16string_view text) {
    return COM_SysAllocStringLen(reinterpret_cast<const unsigned short*>(text.data()),
                                 static_cast<unsigned int>(text.size()));
}

}  // namespace kesto
