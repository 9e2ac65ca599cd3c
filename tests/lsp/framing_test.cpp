// Framing and JSON-RPC decoding: what the server makes of its input bytes, however
// they are cut into reads and however broken they are.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "transport/Framing.h"
#include "transport/JsonRpc.h"

namespace {

using vantle::lsp::DecodeMessage;
using vantle::lsp::EncodeFrame;
using vantle::lsp::ErrorCode;
using vantle::lsp::FrameEvent;
using vantle::lsp::FrameReader;
using vantle::lsp::Message;

// Events as "body" or "!error", for comparing whole sequences.
std::vector<std::string> Drain(FrameReader& reader) {
    std::vector<std::string> events;
    while (std::optional<FrameEvent> event = reader.Next())
        events.push_back(event->ok ? event->body : "!" + event->error);
    return events;
}

std::vector<std::string> FeedInPieces(const std::string& input, std::size_t piece, FrameReader& reader) {
    std::vector<std::string> events;
    for (std::size_t at = 0; at < input.size(); at += piece) {
        reader.Feed(std::string_view(input).substr(at, piece));
        for (std::string& event : Drain(reader)) events.push_back(std::move(event));
    }
    return events;
}

TEST(FramingPartialReads, AnyCutGivesTheSameMessages) {
    const std::string input = EncodeFrame(R"({"a":1})") + EncodeFrame("") + EncodeFrame("{\"b\":\"\xC3\xA9\"}");
    for (std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{7}, input.size()}) {
        FrameReader reader;
        EXPECT_EQ(FeedInPieces(input, piece, reader),
                  (std::vector<std::string>{R"({"a":1})", "", "{\"b\":\"\xC3\xA9\"}"}))
            << "pieces of " << piece;
        EXPECT_TRUE(reader.Idle());
    }
}

TEST(FramingPartialReads, AHeaderAloneWaitsForItsBody) {
    FrameReader reader;
    reader.Feed("Content-Length: 4\r\n\r\n");
    EXPECT_TRUE(Drain(reader).empty());
    EXPECT_FALSE(reader.Idle());
    reader.Feed("nu");
    EXPECT_TRUE(Drain(reader).empty());
    reader.Feed("llContent-Length: 1\r\n\r\n");
    EXPECT_EQ(Drain(reader), (std::vector<std::string>{"null"}));
    reader.Feed("1");
    EXPECT_EQ(Drain(reader), (std::vector<std::string>{"1"}));
}

TEST(FramingHeaders, NamesInAnyCaseAndOtherHeadersAreAccepted) {
    FrameReader reader;
    reader.Feed("content-type: application/vscode-jsonrpc; charset=utf-8\r\nCONTENT-LENGTH:  2 \r\n\r\n{}");
    EXPECT_EQ(Drain(reader), (std::vector<std::string>{"{}"}));
}

TEST(FramingHeaders, ABadHeaderIsReportedAndReadingResumesAtTheNextMessage) {
    const std::pair<const char*, const char*> cases[] = {
        {"Content-Length: 1x\r\n\r\n", "!Content-Length is not a valid length"},
        {"Content-Length: 99999999999999999999\r\n\r\n", "!Content-Length is not a valid length"},
        {"Content-Type: text\r\n\r\n", "!the header has no Content-Length"},
        {"no colon here\r\n\r\n", "!a header line without ':'"},
    };
    for (const auto& [header, error] : cases) {
        FrameReader reader;
        reader.Feed(std::string(header) + "{\"lost\":true}" + EncodeFrame("[1]"));
        EXPECT_EQ(Drain(reader), (std::vector<std::string>{error, "[1]"})) << header;
    }
}

TEST(FramingHeaders, AnEndlessHeaderIsCutOffAfter8KiB) {
    FrameReader reader;
    const std::vector<std::string> events = FeedInPieces(std::string(20000, 'h') + EncodeFrame("2"), 1000, reader);
    EXPECT_EQ(events, (std::vector<std::string>{"!the header block is longer than 8 KiB", "2"}));
}

TEST(FramingLimits, AnOversizedBodyIsSkippedWithoutBeingStored) {
    FrameReader reader(100);
    reader.Feed("Content-Length: 1000\r\n\r\n");
    EXPECT_EQ(Drain(reader), (std::vector<std::string>{"!a message of 1000 bytes is over the limit of 100 bytes"}));
    for (int i = 0; i < 10; ++i) {
        reader.Feed(std::string(100, 'x'));
        EXPECT_TRUE(Drain(reader).empty());
    }
    reader.Feed(EncodeFrame("{}"));
    EXPECT_EQ(Drain(reader), (std::vector<std::string>{"{}"}));
}

TEST(FramingLimits, TheDefaultLimitIs64MiB) {
    FrameReader reader;
    reader.Feed("Content-Length: 67108865\r\n\r\n");
    EXPECT_EQ(Drain(reader).size(), 1u);
    FrameReader atLimit;
    atLimit.Feed("Content-Length: 67108864\r\n\r\nab");
    EXPECT_TRUE(Drain(atLimit).empty());  // accepted, waiting for the body
}

TEST(JsonRpcDecoding, TellsRequestsNotificationsAndResponsesApart) {
    Message request = DecodeMessage(R"({"jsonrpc":"2.0","id":"7","method":"m","params":{"x":1}})");
    EXPECT_EQ(request.kind, Message::Kind::Request);
    EXPECT_EQ(request.id, "7");
    EXPECT_EQ(request.params["x"], 1);
    EXPECT_EQ(DecodeMessage(R"({"jsonrpc":"2.0","method":"n"})").kind, Message::Kind::Notification);
    EXPECT_EQ(DecodeMessage(R"({"jsonrpc":"2.0","id":3,"result":null})").kind, Message::Kind::Response);
    EXPECT_EQ(DecodeMessage(R"({"jsonrpc":"2.0","id":null,"error":{"code":1}})").kind, Message::Kind::Response);
}

TEST(JsonRpcDecoding, BrokenJsonIsAParseErrorWithTheIdWhenItCanBeRead) {
    Message broken = DecodeMessage(R"({"jsonrpc":"2.0","id": 12, "method":"x", )");
    EXPECT_EQ(broken.kind, Message::Kind::Invalid);
    EXPECT_EQ(broken.code, ErrorCode::ParseError);
    EXPECT_EQ(broken.id, 12);
    EXPECT_EQ(DecodeMessage(R"({"id" : "a\"b", ]})").id, "a\"b");
    EXPECT_TRUE(DecodeMessage("\xFF\xFE garbage").id.is_null());
    EXPECT_EQ(DecodeMessage("{\"id\":1,\"s\":\"\xC3\"}").code, ErrorCode::ParseError);  // invalid UTF-8
}

TEST(JsonRpcDecoding, MalformedMessagesAreInvalidRequests) {
    const char* cases[] = {
        R"([{"jsonrpc":"2.0","id":1,"method":"m"}])",  // batches are not part of LSP
        R"({"id":1,"method":"m"})",                    // no version
        R"({"jsonrpc":"2.0","id":1.5,"method":"m"})",  // fractional id
        R"({"jsonrpc":"2.0","id":1,"method":7})",
        R"({"jsonrpc":"2.0","id":1,"method":"m","params":"text"})",
        R"({"jsonrpc":"2.0","id":1})",
    };
    for (const char* text : cases) {
        const Message message = DecodeMessage(text);
        EXPECT_EQ(message.kind, Message::Kind::Invalid) << text;
        EXPECT_EQ(message.code, ErrorCode::InvalidRequest) << text;
    }
}

TEST(JsonRpcDecoding, HostileShapesAreRefusedBeforeParsing) {
    EXPECT_EQ(DecodeMessage(std::string(100000, '[')).code, ErrorCode::ParseError);
    std::string wide = "[";
    for (int i = 0; i < 1'100'000; ++i) wide += "0,";
    wide += "0]";
    const Message message = DecodeMessage(wide);
    EXPECT_EQ(message.kind, Message::Kind::Invalid);
    EXPECT_EQ(message.problem, "the message holds more than a million values");
    // Brackets and commas inside strings do not count.
    EXPECT_EQ(DecodeMessage(R"({"jsonrpc":"2.0","method":"m","params":{"t":")" + std::string(1000, '[') +
                            std::string(2'000'000, ',') + R"("}})")
                  .kind,
              Message::Kind::Notification);
}

TEST(JsonRpcEncoding, TextThatIsNotUtf8IsReplacedNotThrown) {
    const std::string text =
        vantle::lsp::SerializeMessage(vantle::lsp::MakeError(1, ErrorCode::ParseError, "bad \xFF"));
    EXPECT_NE(text.find("bad \xEF\xBF\xBD"), std::string::npos);
}

}  // namespace
