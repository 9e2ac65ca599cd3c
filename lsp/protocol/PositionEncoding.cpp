// Columns in UTF-8 bytes, UTF-16 units or code points over a UTF-16 line.
#include "protocol/PositionEncoding.h"

#include <algorithm>

#include "protocol/Utf.h"

namespace vantle::lsp {
namespace {

std::size_t Width(char32_t codePoint, std::size_t units, PositionEncoding encoding) {
    switch (encoding) {
        case PositionEncoding::Utf8: return Utf8Length(codePoint);
        case PositionEncoding::Utf32: return 1;
        case PositionEncoding::Utf16: break;
    }
    return units;
}

}  // namespace

std::string EncodingName(PositionEncoding encoding) {
    switch (encoding) {
        case PositionEncoding::Utf8: return "utf-8";
        case PositionEncoding::Utf32: return "utf-32";
        case PositionEncoding::Utf16: break;
    }
    return "utf-16";
}

PositionEncoding NegotiateEncoding(const nlohmann::json& offered) {
    if (!offered.is_array()) return PositionEncoding::Utf16;
    auto offers = [&](const char* name) {
        return std::any_of(offered.begin(), offered.end(), [&](const nlohmann::json& entry) { return entry == name; });
    };
    if (offers("utf-8")) return PositionEncoding::Utf8;
    if (offers("utf-32")) return PositionEncoding::Utf32;
    return PositionEncoding::Utf16;
}

std::size_t ColumnOfUnit(std::u16string_view line, std::size_t unit, PositionEncoding encoding) {
    unit = std::min(unit, line.size());
    if (encoding == PositionEncoding::Utf16) return unit;
    std::size_t column = 0;
    for (std::size_t at = 0; at < unit;) {
        std::size_t units = 0;
        const char32_t c = CodePointAt(line, at, &units);
        column += Width(c, units, encoding);
        at += units;
    }
    return column;
}

std::size_t UnitOfColumn(std::u16string_view line, std::size_t column, PositionEncoding encoding) {
    std::size_t at = 0;
    std::size_t counted = 0;
    while (at < line.size()) {
        std::size_t units = 0;
        const char32_t c = CodePointAt(line, at, &units);
        const std::size_t width = Width(c, units, encoding);
        if (counted + width > column) break;
        counted += width;
        at += units;
    }
    return at;
}

}  // namespace vantle::lsp
