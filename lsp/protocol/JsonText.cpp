// Quoting and escaping for JSON text written by hand.
#include "protocol/JsonText.h"

#include <charconv>

#include "protocol/Utf.h"

namespace vantle::lsp {

void AppendJsonString(std::string& out, std::u16string_view text) {
    static constexpr char kHex[] = "0123456789abcdef";
    out += '"';
    const auto plain = [](char16_t c) { return c >= 0x20 && c < 0x80 && c != u'"' && c != u'\\'; };
    for (std::size_t at = 0; at < text.size();) {
        const char16_t c = text[at];
        if (plain(c)) {
            // Names are mostly plain ASCII: copy the whole run at once.
            std::size_t end = at + 1;
            while (end < text.size() && plain(text[end])) ++end;
            const std::size_t size = out.size();
            out.resize(size + (end - at));
            for (std::size_t i = at; i < end; ++i) out[size + (i - at)] = static_cast<char>(text[i]);
            at = end;
            continue;
        }
        if (c < 0x80) {
            out += '\\';
            switch (c) {
                case u'"': out += '"'; break;
                case u'\\': out += '\\'; break;
                case u'\b': out += 'b'; break;
                case u'\f': out += 'f'; break;
                case u'\n': out += 'n'; break;
                case u'\r': out += 'r'; break;
                case u'\t': out += 't'; break;
                default:
                    out += "u00";
                    out += kHex[c >> 4];
                    out += kHex[c & 0xF];
            }
            ++at;
            continue;
        }
        std::size_t units = 1;
        const char32_t point = CodePointAt(text, at, &units);
        at += units;
        if (point < 0x800) {
            out += static_cast<char>(0xC0 | (point >> 6));
        } else if (point < 0x10000) {
            out += static_cast<char>(0xE0 | (point >> 12));
            out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (point >> 18));
            out += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
        }
        out += static_cast<char>(0x80 | (point & 0x3F));
    }
    out += '"';
}

void AppendJsonNumber(std::string& out, std::size_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out.append(digits, end);
}

void AppendJsonRange(std::string& out, const Range& range) {
    out += "{\"start\":{\"line\":";
    AppendJsonNumber(out, range.start.line);
    out += ",\"character\":";
    AppendJsonNumber(out, range.start.character);
    out += "},\"end\":{\"line\":";
    AppendJsonNumber(out, range.end.line);
    out += ",\"character\":";
    AppendJsonNumber(out, range.end.character);
    out += "}}";
}

}  // namespace vantle::lsp
