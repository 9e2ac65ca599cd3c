// Decoding and building JSON-RPC 2.0 messages.
#include "transport/JsonRpc.h"

#include <cctype>

namespace vantle::lsp {
namespace {

constexpr int kMaxDepth = 128;
constexpr std::size_t kMaxValues = 1'000'000;

// Why the body's shape is refused before parsing, or empty.
std::string CheckShape(std::string_view body) {
    int depth = 0;
    std::size_t values = 0;
    bool inString = false;
    for (std::size_t i = 0; i < body.size(); ++i) {
        const char c = body[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        switch (c) {
            case '"': inString = true; break;
            case '[':
            case '{':
                if (++depth > kMaxDepth) return "the message nests deeper than 128 levels";
                break;
            case ']':
            case '}': --depth; break;
            case ',':
            case ':':
                if (++values > kMaxValues) return "the message holds more than a million values";
                break;
            default: break;
        }
    }
    return {};
}

bool IsId(const json& id) { return id.is_string() || id.is_number_integer(); }

// The id of a body that is not JSON, when `"id": <number or string>` can be read.
json ScanId(std::string_view body) {
    for (std::size_t at = body.find("\"id\""); at != std::string_view::npos; at = body.find("\"id\"", at + 1)) {
        std::size_t i = at + 4;
        while (i < body.size() && std::isspace(static_cast<unsigned char>(body[i]))) ++i;
        if (i >= body.size() || body[i] != ':') continue;
        ++i;
        while (i < body.size() && std::isspace(static_cast<unsigned char>(body[i]))) ++i;
        std::size_t end = i;
        if (end < body.size() && body[end] == '"') {
            for (++end; end < body.size() && body[end] != '"'; ++end)
                if (body[end] == '\\') ++end;
            ++end;
        } else {
            if (end < body.size() && body[end] == '-') ++end;
            while (end < body.size() && std::isdigit(static_cast<unsigned char>(body[end]))) ++end;
        }
        if (end > body.size()) continue;
        json id = json::parse(body.substr(i, end - i), nullptr, false);
        if (!id.is_discarded() && IsId(id)) return id;
    }
    return nullptr;
}

Message Invalid(ErrorCode code, std::string problem, json id = nullptr) {
    Message message;
    message.code = code;
    message.problem = std::move(problem);
    message.id = std::move(id);
    return message;
}

}  // namespace

Message DecodeMessage(std::string_view body) {
    if (std::string shape = CheckShape(body); !shape.empty())
        return Invalid(ErrorCode::ParseError, shape, ScanId(body));
    json parsed;
    try {
        parsed = json::parse(body);
    } catch (const json::exception& error) {
        return Invalid(ErrorCode::ParseError, std::string("the message is not JSON: ") + error.what(), ScanId(body));
    }
    if (!parsed.is_object()) return Invalid(ErrorCode::InvalidRequest, "a message must be a JSON object");

    const auto id = parsed.find("id");
    json readableId = id != parsed.end() && IsId(*id) ? *id : json();
    const auto version = parsed.find("jsonrpc");
    if (version == parsed.end() || *version != "2.0")
        return Invalid(ErrorCode::InvalidRequest, "\"jsonrpc\" must be \"2.0\"", readableId);
    if (id != parsed.end() && !IsId(*id) && !(id->is_null() && parsed.contains("error")))
        return Invalid(ErrorCode::InvalidRequest, "\"id\" must be an integer or a string");

    Message message;
    message.id = readableId;
    const auto method = parsed.find("method");
    if (method != parsed.end()) {
        if (!method->is_string()) return Invalid(ErrorCode::InvalidRequest, "\"method\" must be a string", readableId);
        message.method = method->get<std::string>();
        const auto params = parsed.find("params");
        if (params != parsed.end()) {
            if (!params->is_object() && !params->is_array() && !params->is_null())
                return Invalid(ErrorCode::InvalidRequest, "\"params\" must be an object or an array", readableId);
            message.params = std::move(*params);
        }
        message.kind = id != parsed.end() ? Message::Kind::Request : Message::Kind::Notification;
        return message;
    }
    const auto result = parsed.find("result");
    const auto error = parsed.find("error");
    if (id == parsed.end() || (result == parsed.end()) == (error == parsed.end()))
        return Invalid(ErrorCode::InvalidRequest, "neither a request, a notification nor a response", readableId);
    message.kind = Message::Kind::Response;
    if (result != parsed.end()) message.result = std::move(*result);
    if (error != parsed.end()) message.error = std::move(*error);
    return message;
}

json MakeResponse(const json& id, json result) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}};
}

std::string Outgoing::Serialize() const {
    if (!result_) return SerializeMessage(message_);
    return "{\"id\":" + SerializeMessage(message_) + ",\"jsonrpc\":\"2.0\",\"result\":" + *result_ + "}";
}

Outgoing::operator const json&() const {
    if (result_) {
        json id = std::move(message_);
        message_ = {{"jsonrpc", "2.0"}, {"id", std::move(id)}, {"result", json::parse(*result_)}};
        result_.reset();
    }
    return message_;
}

json MakeError(const json& id, ErrorCode code, const std::string& message) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", static_cast<int>(code)}, {"message", message}}}};
}

json MakeNotification(const std::string& method, json params) {
    return {{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}};
}

json MakeRequest(const json& id, const std::string& method, json params) {
    return {{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}};
}

std::string SerializeMessage(const json& message) {
    return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::string IdKey(const json& id) { return (id.is_string() ? "s:" : "n:") + SerializeMessage(id); }

}  // namespace vantle::lsp
