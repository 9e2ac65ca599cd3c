// One-line JSON objects with exact strings.
#include "ToolJson.h"

#include <cstdio>

#include "ToolText.h"

namespace vantle::tool {
namespace {

// `text` as a JSON string literal, quotes included.
std::string JsonQuote(std::u16string_view text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (pair) {
            out += ToUtf8(text.substr(i, 2));
            ++i;
        } else if (c == u'"') {
            out += "\\\"";
        } else if (c == u'\\') {
            out += "\\\\";
        } else if (c == u'\n') {
            out += "\\n";
        } else if (c == u'\t') {
            out += "\\t";
        } else if (c == u'\r') {
            out += "\\r";
        } else if (c < 0x20 || (c >= 0xD800 && c <= 0xDFFF)) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned int>(c));
            out += escaped;
        } else {
            out += ToUtf8(text.substr(i, 1));
        }
    }
    return out + "\"";
}

}  // namespace

void JsonObject::Key(std::string_view key) {
    if (!body_.empty()) body_ += ", ";
    body_ += "\"";
    body_ += key;
    body_ += "\": ";
}

JsonObject& JsonObject::Number(std::string_view key, long value) {
    Key(key);
    body_ += std::to_string(value);
    return *this;
}

JsonObject& JsonObject::String(std::string_view key, const kesto::String& value) {
    Key(key);
    body_ += value.is_null() ? std::string("null") : JsonQuote(value.view());
    return *this;
}

}  // namespace vantle::tool
