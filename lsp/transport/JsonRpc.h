// transport/JsonRpc.h: JSON-RPC 2.0 messages over the frames.
//
// DecodeMessage never throws: any body becomes a request, a notification, a
// response, or an invalid message with the error code and text to answer and the
// id when one could be read (even out of a body that is not JSON). Before a body is
// parsed it is checked to nest at most 128 levels and hold at most a million values,
// so a hostile body can neither exhaust the stack nor balloon in memory.
// SerializeMessage never throws either: text that is not valid UTF-8 is replaced.
// Values and pure functions, any thread.
#ifndef VANTLE_LSP_TRANSPORT_JSONRPC_H_
#define VANTLE_LSP_TRANSPORT_JSONRPC_H_

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vantle::lsp {

using nlohmann::json;

enum class ErrorCode : int {
    ParseError = -32700,
    InvalidRequest = -32600,
    MethodNotFound = -32601,
    InvalidParams = -32602,
    InternalError = -32603,
    ServerNotInitialized = -32002,
    RequestCancelled = -32800,
    ContentModified = -32801,
};

struct Message {
    enum class Kind { Request, Notification, Response, Invalid };
    Kind kind = Kind::Invalid;
    json id;                                     // request, response; invalid: as far as it could be read, else null
    std::string method;                          // request, notification
    json params;                                 // request, notification: an object, an array or null
    json result;                                 // response
    json error;                                  // response: the error object, or null
    ErrorCode code = ErrorCode::InvalidRequest;  // invalid
    std::string problem;                         // invalid
};

Message DecodeMessage(std::string_view body);

json MakeResponse(const json& id, json result);
json MakeError(const json& id, ErrorCode code, const std::string& message);
json MakeNotification(const std::string& method, json params);
json MakeRequest(const json& id, const std::string& method, json params);
std::string SerializeMessage(const json& message);

// A message on its way out: a json value, or a response whose result is JSON text
// already written, which goes out as it is. Seen as json (tests, the fuzzer), such
// a response is parsed on demand.
class Outgoing {
public:
    Outgoing(json message) : message_(std::move(message)) {}
    Outgoing(const json& id, std::string resultText) : message_(id), result_(std::move(resultText)) {}
    std::string Serialize() const;
    operator const json&() const;

private:
    mutable json message_;  // the message, or the id while result_ holds the result
    mutable std::optional<std::string> result_;
};

// A key that tells ids apart by type and value (5 and "5" differ).
std::string IdKey(const json& id);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_TRANSPORT_JSONRPC_H_
