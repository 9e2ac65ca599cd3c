// ToolJson: the pieces every JSON document of the tool is made of, on nlohmann-json.
//
// The service's 16-bit strings become UTF-8 JSON strings (a lone surrogate half
// becomes U+FFFD); a NULL string is null. A status is {"hresult": "0x80070002",
// "message": "..."}, the code as eight hexadecimal digits. The shapes are
// documented, with their JSON Schema, in docs/json.md.
#ifndef VANTLE_TOOLS_TOOLJSON_H_
#define VANTLE_TOOLS_TOOLJSON_H_

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "kesto/com.h"
#include "kesto/owned.h"

namespace vantle::tool {

using Json = nlohmann::ordered_json;

Json JsonText(const kesto::String& text);
Json JsonStatus(HRESULT code);
std::string HresultHex(HRESULT code);
// One document on one line; invalid UTF-8 is replaced, never thrown about.
void WriteJson(std::ostream& out, const Json& document);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLJSON_H_
