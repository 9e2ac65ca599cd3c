// UTF-8 <-> UTF-16 with replacement of anything broken.
#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Decodes one UTF-8 sequence at text[at]; overlong forms, surrogates and truncated
// sequences give U+FFFD for their first byte only, so decoding resynchronises.
char32_t DecodeUtf8(std::string_view text, std::size_t at, std::size_t* bytes) {
    const auto lead = static_cast<unsigned char>(text[at]);
    *bytes = 1;
    if (lead < 0x80) return lead;
    const std::size_t extra = lead >= 0xF5 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
    if (extra == 0 || at + extra >= text.size()) return kReplacement;
    char32_t c = lead & (0x3F >> extra);
    for (std::size_t k = 1; k <= extra; ++k) {
        const auto next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80) return kReplacement;
        c = (c << 6) | (next & 0x3F);
    }
    static constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (c < kSmallest[extra] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return kReplacement;
    *bytes = extra + 1;
    return c;
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        std::size_t bytes = 0;
        const char32_t c = DecodeUtf8(utf8, at, &bytes);
        at += bytes;
        if (c >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(c);
        }
    }
    return out;
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string out;
    out.reserve(utf16.size());
    for (std::size_t at = 0; at < utf16.size();) {
        std::size_t units = 0;
        AppendUtf8(out, CodePointAt(utf16, at, &units));
        at += units;
    }
    return out;
}

char32_t CodePointAt(std::u16string_view text, std::size_t at, std::size_t* units) {
    const char16_t c = text[at];
    *units = 1;
    if (c < 0xD800 || c >= 0xE000) return c;
    if (c < 0xDC00 && at + 1 < text.size() && text[at + 1] >= 0xDC00 && text[at + 1] < 0xE000) {
        *units = 2;
        return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (text[at + 1] - 0xDC00);
    }
    return kReplacement;
}

std::size_t Utf8Length(char32_t codePoint) {
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

}  // namespace vantle::lsp
