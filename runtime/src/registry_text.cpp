// Conversion between 16-bit registry strings and the UTF-8 kept in the file.
#include "registry_text.h"

#include "unicode_text.h"

namespace kesto {
namespace {

bool IsHighSurrogate(unsigned long u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(unsigned long u) { return u >= 0xDC00 && u <= 0xDFFF; }

}  // namespace

std::string StoredTextFromUnits(const unsigned short* text, std::size_t count) {
    std::string out;
    if (text == nullptr) return out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        unsigned long unit = text[i];
        if (IsHighSurrogate(unit) && i + 1 < count && IsLowSurrogate(text[i + 1])) {
            unsigned long low = text[++i];
            AppendUtf8CodePoint(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
        } else {
            AppendUtf8CodePoint(out, unit);
        }
    }
    return out;
}

std::string StoredTextFromUnits(const unsigned short* text) {
    if (text == nullptr) return std::string();
    std::size_t count = 0;
    while (text[count] != 0) ++count;
    return StoredTextFromUnits(text, count);
}

std::vector<unsigned short> UnitsFromStoredText(std::string_view text) {
    std::vector<unsigned short> out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        unsigned char lead = static_cast<unsigned char>(text[i]);
        int extra = lead < 0x80 ? 0 : (lead >> 5) == 0x6 ? 1 : (lead >> 4) == 0xE ? 2 : (lead >> 3) == 0x1E ? 3 : -1;
        unsigned long cp = extra == 0 ? lead : extra == 1 ? (lead & 0x1F) : extra == 2 ? (lead & 0x0F) : (lead & 0x07);
        bool valid = extra >= 0 && i + extra < text.size();
        for (int k = 1; valid && k <= extra; ++k) {
            unsigned char next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                valid = false;
            } else {
                cp = (cp << 6) | (next & 0x3F);
            }
        }
        static const unsigned long kSmallest[] = {0, 0x80, 0x800, 0x10000};
        if (valid && (cp < kSmallest[extra] || cp > 0x10FFFF)) valid = false;
        if (!valid) {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        i += static_cast<std::size_t>(extra) + 1;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<unsigned short>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<unsigned short>(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<unsigned short>(cp));
        }
    }
    return out;
}

BSTR AllocStringFromStoredText(std::string_view text) {
    std::vector<unsigned short> units = UnitsFromStoredText(text);
    return COM_SysAllocStringLen(units.data(), static_cast<unsigned int>(units.size()));
}

}  // namespace kesto
