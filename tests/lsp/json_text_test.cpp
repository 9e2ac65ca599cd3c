// JSON written by hand: it must read back as the same values nlohmann would write,
// whatever the text holds.
#include <gtest/gtest.h>

#include <string>

#include "protocol/JsonText.h"
#include "protocol/Utf.h"
#include "transport/JsonRpc.h"

namespace {

using vantle::lsp::AppendJsonRange;
using vantle::lsp::AppendJsonString;
using vantle::lsp::json;
using vantle::lsp::Outgoing;
using vantle::lsp::Range;
using vantle::lsp::ToUtf8;

json Written(std::u16string_view text) {
    std::string out;
    AppendJsonString(out, text);
    return json::parse(out);
}

TEST(JsonText, StringsReadBackAsTheirUtf8) {
    for (const std::u16string& text : {std::u16string(u""), std::u16string(u"plain"), std::u16string(u"a\"b\\c/d"),
                                      std::u16string(u"\b\f\n\r\t"), std::u16string(u"\x01\x1f\x7f"),
                                      std::u16string(u"é€ 中"), std::u16string(u"\U0001F600 pair"),
                                      std::u16string(u"$1}"), std::u16string(1, u'\0')})
        EXPECT_EQ(Written(text), json(ToUtf8(text))) << ToUtf8(text);
}

TEST(JsonText, UnpairedSurrogatesBecomeReplacementCharacters) {
    const std::u16string lone = {u'a', char16_t(0xD800), u'b', char16_t(0xDC00)};
    EXPECT_EQ(Written(lone), json("a\xEF\xBF\xBD" "b\xEF\xBF\xBD"));
}

TEST(JsonText, RangeAsTheProtocolWritesIt) {
    std::string out;
    const Range range{{3, 14}, {15, 92}};
    AppendJsonRange(out, range);
    EXPECT_EQ(json::parse(out), json(range));
}

TEST(JsonText, ResponseWithWrittenResultReadsAsTheSameMessage) {
    const Outgoing outgoing(json("7"), R"({"items":[1,"two"]})");
    const json expected = {{"jsonrpc", "2.0"}, {"id", "7"}, {"result", {{"items", {1, "two"}}}}};
    EXPECT_EQ(json::parse(outgoing.Serialize()), expected);
    EXPECT_EQ(static_cast<const json&>(outgoing), expected);
    EXPECT_EQ(json::parse(outgoing.Serialize()), expected);  // unchanged once seen as json
}

}  // namespace
