// UTF-8 <-> UTF-16 conversion.
#include "unicode_text.h"

namespace kesto {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

void AppendUtf16CodePoint(std::u16string& out, std::uint32_t c) {
    if (c >= 0x10000) {
        c -= 0x10000;
        out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
        out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
        out.push_back(static_cast<char16_t>(c));
    }
}

}  // namespace

void AppendUtf8CodePoint(std::string& out, std::uint32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

void AppendUtf8AsUtf16(std::u16string& out, std::string_view utf8) {
    const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
    const auto* end = p + utf8.size();
    // Most text is ASCII: copy the leading ASCII run in one go (a byte becomes at
    // most one unit, so the run fits what is reserved here).
    const std::size_t start = out.size();
    out.resize(start + utf8.size());
    char16_t* write = out.data() + start;
    while (p < end && *p < 0x80) *write++ = static_cast<char16_t>(*p++);
    out.resize(static_cast<std::size_t>(write - out.data()));
    while (p < end) {
        std::uint32_t c = *p++;
        if (c < 0x80) {
            out.push_back(static_cast<char16_t>(c));
            continue;
        }
        int extra;
        std::uint32_t minimum;
        if ((c & 0xE0) == 0xC0) {
            c &= 0x1F;
            extra = 1;
            minimum = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            c &= 0x0F;
            extra = 2;
            minimum = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            c &= 0x07;
            extra = 3;
            minimum = 0x10000;
        } else {
            out.push_back(kReplacement);
            continue;
        }
        bool valid = true;
        for (int i = 0; i < extra; ++i) {
            if (p >= end || (*p & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            c = (c << 6) | (*p++ & 0x3Fu);
        }
        if (!valid || c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            out.push_back(kReplacement);
        } else {
            AppendUtf16CodePoint(out, c);
        }
    }
}

std::u16string Utf8ToUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    AppendUtf8AsUtf16(out, utf8);
    return out;
}

std::string Utf16ToUtf8(std::u16string_view utf16) {
    std::string out;
    out.reserve(utf16.size());
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        std::uint32_t c = utf16[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 && utf16[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (utf16[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = kReplacement;
        }
        AppendUtf8CodePoint(out, c);
    }
    return out;
}

std::u16string PathToUtf16(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size());
    std::size_t i = 0;
    while (i < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        if (lead < 0x80) {
            out.push_back(lead);
            ++i;
            continue;
        }
        const int extra = (lead & 0xE0) == 0xC0 ? 1 : (lead & 0xF0) == 0xE0 ? 2 : (lead & 0xF8) == 0xF0 ? 3 : 0;
        std::uint32_t c = extra == 1 ? (lead & 0x1Fu) : extra == 2 ? (lead & 0x0Fu) : (lead & 0x07u);
        bool valid = extra > 0 && bytes.size() - i > static_cast<std::size_t>(extra);
        for (int k = 1; valid && k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(bytes[i + k]);
            if ((next & 0xC0) != 0x80) valid = false;
            c = (c << 6) | (next & 0x3Fu);
        }
        static const std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
        if (valid && (c < kSmallest[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))) valid = false;
        if (!valid) {
            out.push_back(static_cast<char16_t>(0xDC00 + lead));
            ++i;
            continue;
        }
        AppendUtf16CodePoint(out, c);
        i += static_cast<std::size_t>(extra) + 1;
    }
    return out;
}

std::string PathFromUtf16(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xDC80 && c <= 0xDCFF) {
            out.push_back(static_cast<char>(c - 0xDC00));
            continue;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = kReplacement;
        }
        AppendUtf8CodePoint(out, c);
    }
    return out;
}

}  // namespace kesto
