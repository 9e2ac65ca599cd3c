// protocol/JsonText.h: JSON text written straight into a string.
//
// For answers too large to build as json values first (a completion list holds
// up to a thousand items, each an object of objects). Strings are written from
// UTF-16 the way ToUtf8 converts them, so an unpaired surrogate becomes U+FFFD and
// the text is always valid JSON. Pure functions, any thread.
#ifndef VANTLE_LSP_PROTOCOL_JSONTEXT_H_
#define VANTLE_LSP_PROTOCOL_JSONTEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "protocol/Types.h"

namespace vantle::lsp {

// JSON text already written.
struct RawJson {
    std::string text;
};

// `text` as a quoted JSON string.
void AppendJsonString(std::string& out, std::u16string_view text);
void AppendJsonNumber(std::string& out, std::size_t number);
void AppendJsonRange(std::string& out, const Range& range);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_PROTOCOL_JSONTEXT_H_
