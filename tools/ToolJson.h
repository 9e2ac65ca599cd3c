// ToolJson: the one-line JSON objects the tool prints for programs.
//
// Keys keep the order they were added in. Strings are written from the service's
// 16-bit text unit for unit: valid text as UTF-8, control characters and lone
// surrogate halves as \u escapes, so a program reads back exactly what the service
// returned. A NULL string is written as null.
#ifndef VANTLE_TOOLS_TOOLJSON_H_
#define VANTLE_TOOLS_TOOLJSON_H_

#include <string>
#include <string_view>

#include "kesto/owned.h"

namespace vantle::tool {

class JsonObject {
public:
    JsonObject& Number(std::string_view key, long value);
    JsonObject& String(std::string_view key, const kesto::String& value);
    // Closes the object: "{...}".
    std::string Text() const { return "{" + body_ + "}"; }

private:
    void Key(std::string_view key);
    std::string body_;
};

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLJSON_H_
