// protocol/Types.h: the LSP structures the server exchanges, with their JSON forms.
//
// Reading a structure from a client's JSON checks every field it uses: a missing
// field or one of the wrong type throws InvalidParams with a message naming it,
// which the dispatcher answers as -32602. Values, no sharing, any thread.
#ifndef VANTLE_LSP_PROTOCOL_TYPES_H_
#define VANTLE_LSP_PROTOCOL_TYPES_H_

#include <cstddef>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace vantle::lsp {

using nlohmann::json;

struct InvalidParams : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Position {
    std::size_t line = 0;
    std::size_t character = 0;
    bool operator==(const Position&) const = default;
};

struct Range {
    Position start;
    Position end;
    bool operator==(const Range&) const = default;
};

struct Location {
    std::string uri;
    Range range;
};

enum class CompletionItemKind {
    Method = 2,
    Function = 3,
    Field = 5,
    Class = 7,
    Module = 9,
    Property = 10,
    Constant = 21
};
enum class SymbolKind { Module = 2, Package = 4, Class = 5, Method = 6, Property = 7, Function = 12, Constant = 14 };
enum class DiagnosticSeverity { Error = 1, Warning = 2, Information = 3, Hint = 4 };
enum class InsertTextFormat { PlainText = 1, Snippet = 2 };

struct Diagnostic {
    Range range;
    DiagnosticSeverity severity = DiagnosticSeverity::Error;
    std::string message;
};

void to_json(json& out, const Position& position);
void from_json(const json& in, Position& position);
void to_json(json& out, const Range& range);
void from_json(const json& in, Range& range);
void to_json(json& out, const Location& location);
void to_json(json& out, const Diagnostic& diagnostic);

// Field `key` of `object` as the given JSON kind; InvalidParams when absent or wrong.
const json& Field(const json& object, const char* key);
std::string StringField(const json& object, const char* key);
std::size_t UnsignedField(const json& object, const char* key);
// object.a.b.c... when each step is an object holding the key, else null.
const json& Path(const json& object, std::initializer_list<const char*> keys);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_PROTOCOL_TYPES_H_
