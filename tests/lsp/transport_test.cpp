// What the server makes of its input bytes, however they are cut into reads and
// however broken they are, and the JSON it writes by hand.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "protocol/JsonText.h"
#include "protocol/Utf.h"
#include "transport/Framing.h"
#include "transport/JsonRpc.h"

namespace {

using namespace vantle::lsp;

// Events as "body" or "!error", the input fed in pieces of `piece` bytes.
std::vector<std::string> Events(const std::string& input, std::size_t piece, FrameReader reader = FrameReader()) {
    std::vector<std::string> events;
    for (std::size_t at = 0; at < input.size(); at += piece) {
        reader.Feed(std::string_view(input).substr(at, piece));
        while (std::optional<FrameEvent> event = reader.Next())
            events.push_back(event->ok ? event->body : "!" + event->error);
    }
    return events;
}

TEST(Framing, AnyCutGivesTheSameMessages) {
    const std::string input = EncodeFrame(R"({"a":1})") + EncodeFrame("") + EncodeFrame("{\"b\":\"\xC3\xA9\"}");
    for (std::size_t piece : {1, 2, 7, 1000})
        EXPECT_EQ(Events(input, piece), (std::vector<std::string>{R"({"a":1})", "", "{\"b\":\"\xC3\xA9\"}"})) << piece;
}

TEST(Framing, ABadHeaderIsReportedAndReadingResumesAtTheNextMessage) {
    const std::pair<std::string, std::string> cases[] = {
        {"content-type: text; charset=utf-8\r\nCONTENT-LENGTH:  2 \r\n\r\n{}", "{}"},
        {"Content-Length: 1x\r\n\r\n{\"lost\":1}", "!Content-Length is not a valid length"},
        {"Content-Length: 99999999999999999999\r\n\r\n", "!Content-Length is not a valid length"},
        {"Content-Type: text\r\n\r\n{\"lost\":1}", "!the header has no Content-Length"},
        {"no colon here\r\n\r\n", "!a header line without ':'"},
        {std::string(20000, 'h'), "!the header block is longer than 8 KiB"},
        {"Content-Length: 67108865\r\n\r\n" + std::string(67108865, ' '),
         "!a message of 67108865 bytes is over the limit of 67108864 bytes"},
    };
    for (const auto& [input, event] : cases)
        EXPECT_EQ(Events(input + EncodeFrame("[1]"), 1 << 20), (std::vector<std::string>{event, "[1]"}))
            << input.substr(0, 40);
    // At the limit a body is taken; over it, it is skipped as it streams past, never stored.
    EXPECT_EQ(Events("Content-Length: 3\r\n\r\n[2]", 1000, FrameReader(3)), (std::vector<std::string>{"[2]"}));
    FrameReader small(100);
    small.Feed("Content-Length: 1000\r\n\r\n" + std::string(500, 'x'));
    EXPECT_FALSE(small.Next()->ok);
    EXPECT_FALSE(small.Next());
}

// "kind id" of a decoded body, the kind of an invalid one being the code to answer.
std::string Decoded(const std::string& body) {
    const Message message = DecodeMessage(body);
    const char* kinds[] = {"request", "notification", "response"};
    return (message.kind == Message::Kind::Invalid ? std::to_string(static_cast<int>(message.code))
                                                   : kinds[static_cast<int>(message.kind)]) +
           " " + message.id.dump();
}

TEST(JsonRpc, EveryBodyDecodesToAMessageOrTheErrorToAnswer) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"jsonrpc":"2.0","id":"7","method":"m","params":{"x":1}})", R"(request "7")"},
        {R"({"jsonrpc":"2.0","method":"n"})", "notification null"},
        {R"({"jsonrpc":"2.0","id":3,"result":null})", "response 3"},
        {R"({"jsonrpc":"2.0","id":null,"error":{"code":1}})", "response null"},
        {R"({"jsonrpc":"2.0","id": 12, "method":"x", )", "-32700 12"},
        {R"({"id" : "a\"b", ]})", R"(-32700 "a\"b")"},
        {"\xFF\xFE garbage", "-32700 null"},
        {"{\"id\":1,\"s\":\"\xC3\"}", "-32700 1"},  // not UTF-8
        {std::string(100000, '['), "-32700 null"},
        {R"([{"jsonrpc":"2.0","id":1,"method":"m"}])", "-32600 null"},
        {R"({"id":1,"method":"m"})", "-32600 1"},
        {R"({"jsonrpc":"2.0","id":1.5,"method":"m"})", "-32600 null"},
        {R"({"jsonrpc":"2.0","id":1,"method":7})", "-32600 1"},
        {R"({"jsonrpc":"2.0","id":1,"method":"m","params":"text"})", "-32600 1"},
        {R"({"jsonrpc":"2.0","id":1})", "-32600 1"},
    };
    for (const auto& [body, decoded] : cases) EXPECT_EQ(Decoded(body), decoded) << body.substr(0, 60);
    std::string wide = "[";
    for (int i = 0; i < 1'100'000; ++i) wide += "0,";
    EXPECT_EQ(DecodeMessage(wide + "0]").problem, "the message holds more than a million values");
    // Brackets and commas inside strings do not count.
    const std::string quoted = std::string(1000, '[') + std::string(2'000'000, ',');
    EXPECT_EQ(DecodeMessage(R"({"jsonrpc":"2.0","method":"m","params":{"t":")" + quoted + R"("}})").kind,
              Message::Kind::Notification);
}

TEST(JsonText, WrittenTextReadsBackAsTheSameValues) {
    const std::u16string lone = {u'a', char16_t(0xD800), u'b', char16_t(0xDC00)};
    const std::u16string texts[] = {u"a\"b\\c/d\b\f\n\r\t\x01\x1f\x7f", u"é€ 中 \U0001F600", std::u16string(1, u'\0'), lone};
    for (const std::u16string& text : texts) {
        std::string out;
        AppendJsonString(out, text);
        EXPECT_EQ(json::parse(out), json(ToUtf8(text))) << ToUtf8(text);
    }
    EXPECT_EQ(ToUtf8(lone), "a\xEF\xBF\xBD" "b\xEF\xBF\xBD");
    const Outgoing outgoing(json("7"), R"({"items":[1,"two"]})");
    const json expected = {{"jsonrpc", "2.0"}, {"id", "7"}, {"result", {{"items", {1, "two"}}}}};
    EXPECT_EQ(json::parse(outgoing.Serialize()), expected);
    EXPECT_EQ(static_cast<const json&>(outgoing), expected);
    const std::string replaced = SerializeMessage(MakeError(1, ErrorCode::ParseError, "bad \xFF"));
    EXPECT_NE(replaced.find("bad \xEF\xBF\xBD"), std::string::npos) << "text that is not UTF-8 is replaced, not thrown";
}

}  // namespace
