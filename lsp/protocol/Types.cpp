// JSON forms of the LSP structures, checked field by field.
#include "protocol/Types.h"

namespace vantle::lsp {

const json& Field(const json& object, const char* key) {
    if (!object.is_object()) throw InvalidParams(std::string("expected an object holding \"") + key + "\"");
    const auto found = object.find(key);
    if (found == object.end()) throw InvalidParams(std::string("missing \"") + key + "\"");
    return *found;
}

std::string StringField(const json& object, const char* key) {
    const json& value = Field(object, key);
    if (!value.is_string()) throw InvalidParams(std::string("\"") + key + "\" must be a string");
    return value.get<std::string>();
}

std::size_t UnsignedField(const json& object, const char* key) {
    const json& value = Field(object, key);
    if (!value.is_number_unsigned()) throw InvalidParams(std::string("\"") + key + "\" must be a whole number >= 0");
    return value.get<std::size_t>();
}

const json& Path(const json& object, std::initializer_list<const char*> keys) {
    static const json kNull;
    const json* at = &object;
    for (const char* key : keys) {
        if (!at->is_object()) return kNull;
        const auto found = at->find(key);
        if (found == at->end()) return kNull;
        at = &*found;
    }
    return *at;
}

void to_json(json& out, const Position& position) {
    out = {{"line", position.line}, {"character", position.character}};
}

void from_json(const json& in, Position& position) {
    position.line = UnsignedField(in, "line");
    position.character = UnsignedField(in, "character");
}

void to_json(json& out, const Range& range) { out = {{"start", range.start}, {"end", range.end}}; }

void from_json(const json& in, Range& range) {
    range.start = Field(in, "start").get<Position>();
    range.end = Field(in, "end").get<Position>();
}

void to_json(json& out, const Location& location) { out = {{"uri", location.uri}, {"range", location.range}}; }

void to_json(json& out, const Diagnostic& diagnostic) {
    out = {{"range", diagnostic.range},
           {"severity", static_cast<int>(diagnostic.severity)},
           {"source", "vantle"},
           {"message", diagnostic.message}};
}

}  // namespace vantle::lsp
