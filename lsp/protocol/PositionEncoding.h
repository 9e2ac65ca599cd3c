// protocol/PositionEncoding.h: what a position's "character" counts.
//
// LSP counts UTF-16 units unless the client offers another encoding in
// general.positionEncodings. We take UTF-8 when offered (the wire's own encoding
// and the native one of most editors), else UTF-32, else UTF-16. Lines are held as
// UTF-16 here, so every conversion goes between a line's units and a column.
// Pure functions, any thread.
#ifndef VANTLE_LSP_PROTOCOL_POSITIONENCODING_H_
#define VANTLE_LSP_PROTOCOL_POSITIONENCODING_H_

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vantle::lsp {

enum class PositionEncoding { Utf8, Utf16, Utf32 };

// "utf-8", "utf-16" or "utf-32".
std::string EncodingName(PositionEncoding encoding);
// The encoding we use given the client's general.positionEncodings (any JSON;
// anything but an array of strings offers UTF-16 only).
PositionEncoding NegotiateEncoding(const nlohmann::json& offered);

// The column of unit `unit` of `line` (clamped to the line's end).
std::size_t ColumnOfUnit(std::u16string_view line, std::size_t unit, PositionEncoding encoding);
// The unit at `column`: clamped to the line's end; a column inside a character
// (half a surrogate pair, the middle of a UTF-8 sequence) means that character's start.
std::size_t UnitOfColumn(std::u16string_view line, std::size_t column, PositionEncoding encoding);
// The length of `text` counted in the encoding.
inline std::size_t EncodedLength(std::u16string_view text, PositionEncoding encoding) {
    return ColumnOfUnit(text, text.size(), encoding);
}

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_PROTOCOL_POSITIONENCODING_H_
