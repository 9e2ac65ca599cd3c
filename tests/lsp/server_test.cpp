// Each feature's exact answer on a small dictionary, through Handle() with the
// messages a client sends. The lifecycle and the wire are the client suite's.
#include <gtest/gtest.h>

#include <memory>

#include "LspTestSupport.h"
#include "server/Server.h"

namespace {

using namespace vantle::lsp;

constexpr const char* kUri = "file:///src/Shop/Invoice.x";

class ServerTest : public testing::Test {
protected:
    // Initialized on the test dictionary; kUri lies below the sourceRoot "/src" of the default options.
    void Start(json capabilities = json::object(),
               json options = {{"vantle", {{"sourceRoot", "/src"}, {"imports", "Util"}}}}) {
        lsp_test::UseNoRegistry();
        server = std::make_unique<Server>(
            ServerOptions{"/nonexistent/dictionary.json", LogLevel::Error, false},
            [this](const json& message) { sent.push_back(message); }, [] {});
        Request("initialize", {{"capabilities", capabilities}, {"initializationOptions", options}});
        Notify("initialized");
        server->AdoptTree(lsp_test::LoadTree());
    }
    json Request(const std::string& method, json params) {
        server->Handle(DecodeMessage(SerializeMessage(MakeRequest(++lastId, method, std::move(params)))));
        return sent.back().contains("error") ? sent.back()["error"] : sent.back()["result"];
    }
    void Notify(const std::string& method, json params = json::object()) {
        server->Handle(DecodeMessage(SerializeMessage(MakeNotification(method, std::move(params)))));
    }
    void Open(const std::string& text) {
        Notify("textDocument/didOpen",
               {{"textDocument", {{"uri", kUri}, {"languageId", "x"}, {"version", 1}, {"text", text}}}});
    }
    json At(const std::string& method, std::size_t line, std::size_t character) {
        const json position = {{"line", line}, {"character", character}};
        return Request(method, {{"textDocument", {{"uri", kUri}}}, {"position", position}});
    }
    json LastDiagnostics() {
        for (auto message = sent.rbegin(); message != sent.rend(); ++message)
            if (message->value("method", "") == "textDocument/publishDiagnostics")
                return (*message)["params"]["diagnostics"];
        return nullptr;
    }
    // "label:kind" of each completion item.
    std::vector<std::string> Labels(const json& list) {
        std::vector<std::string> labels;
        for (const json& item : list["items"])
            labels.push_back(item["label"].get<std::string>() + ":" + std::to_string(item["kind"].get<int>()));
        return labels;
    }

    std::unique_ptr<Server> server;
    std::vector<json> sent;
    long long lastId = 0;
};

TEST_F(ServerTest, MemberCompletionGivesKindsMarksPrivateAndFiltersByPrefix) {
    Start(json::object(), {{"flags", 23}, {"sourceRoot", "/src"}});  // with class parameters
    Open("x = Shop.Order.\ny = Order.sa");
    const json all = At("textDocument/completion", 0, 15);
    EXPECT_EQ(Labels(all), (std::vector<std::string>{"Find:3", "Save:2", "Secret:2", "Lines:10", "Total:10",
                                                     "VERSION:21", "Zeta:21"}));
    for (const json& item : all["items"])
        EXPECT_EQ(item["sortText"].get<std::string>()[0] == '1', item.contains("labelDetails")) << item;
    EXPECT_EQ(all["items"][2]["labelDetails"]["description"], "private");
    const json filtered = At("textDocument/completion", 1, 12);
    EXPECT_EQ(Labels(filtered), (std::vector<std::string>{"Save:2"}));
    EXPECT_EQ(filtered["items"][0]["textEdit"], json::parse(R"({"newText": "Save", "range":
        {"start": {"line": 1, "character": 10}, "end": {"line": 1, "character": 12}}})"));  // no snippets offered
    EXPECT_EQ(Request("textDocument/hover", {{"textDocument", {{"uri", 5}}}})["code"], -32602);
}

TEST_F(ServerTest, MethodsInsertASnippetWithTheRangeGivenOnceWhenTheClientTakesBoth) {
    const json completion = {{"completionItem", {{"snippetSupport", true}}},
                             {"completionList", {{"itemDefaults", {"editRange"}}}}};
    Start({{"textDocument", {{"completion", completion}}}});
    Open("Shop.Order.Fi");
    const json list = At("textDocument/completion", 0, 13);
    EXPECT_EQ(list["itemDefaults"]["editRange"],
              json::parse(R"({"start": {"line": 0, "character": 11}, "end": {"line": 0, "character": 13}})"));
    const json item = list["items"][0];
    EXPECT_FALSE(item.contains("textEdit"));
    EXPECT_EQ(item["textEditText"], "Find($1)");
    EXPECT_EQ(item["insertTextFormat"], 2);
    EXPECT_EQ(Request("completionItem/resolve", item)["detail"], "Find(pId As %Text) As Shop.Order  (from Shop.Order)");
}

TEST_F(ServerTest, ClassCompletionGoesPackageByPackageAndKnowsShortNames) {
    Start();
    Open("Shop.\nSh\nOrd\nForm");
    // Shop.Order is a class and a package.
    EXPECT_EQ(Labels(At("textDocument/completion", 0, 5)),
              (std::vector<std::string>{"Invoice:7", "Order:7", "Order:9"}));
    EXPECT_EQ(Labels(At("textDocument/completion", 1, 2)), (std::vector<std::string>{"Shop:9"}));
    EXPECT_EQ(Labels(At("textDocument/completion", 2, 3)), (std::vector<std::string>{"Order:7", "Order:9"}));
    EXPECT_EQ(Labels(At("textDocument/completion", 3, 4)), (std::vector<std::string>{"Format:7"}));
}

TEST_F(ServerTest, SignatureHelpPlacesEachArgumentInTheNegotiatedEncoding) {
    Start({{"general", {{"positionEncodings", {"utf-8"}}}}});
    Open("Order.Save(\"\xC3\xA4,\", f(1, 2), ");
    const json help = At("textDocument/signatureHelp", 0, 27);
    const std::string label = help["signatures"][0]["label"];
    EXPECT_EQ(label,
              "Save(pName As %Text = \"\xC3\xA4,b\",ByRef pCount As %Integer,pMode As %Text(VALUES=(1,2))) As %Status");
    EXPECT_EQ(help["activeParameter"], 2);
    std::vector<std::string> parameters;
    for (const json& parameter : help["signatures"][0]["parameters"])
        parameters.push_back(label.substr(parameter["label"][0], parameter["label"][1].get<std::size_t>() -
                                                                     parameter["label"][0].get<std::size_t>()));
    EXPECT_EQ(parameters, (std::vector<std::string>{"pName As %Text = \"\xC3\xA4,b\"", "ByRef pCount As %Integer",
                                                    "pMode As %Text(VALUES=(1,2))"}));
    EXPECT_TRUE(At("textDocument/signatureHelp", 0, 3).is_null());
}

TEST_F(ServerTest, HoverDefinitionAndSymbolsNameTheClassOrMember) {
    Start();
    Open("Order.Lines + Shop.Invoice.Save()");
    EXPECT_EQ(At("textDocument/hover", 0, 8)["contents"]["value"],
              "**Lines** (property of `Shop.Order`)\n\nYields `list of %Library.Text`\n\nDefined in `Shop.Order`");
    const json onClass = At("textDocument/hover", 0, 2);
    EXPECT_EQ(onClass["contents"]["value"], "**Shop.Order** (class)\n\nAn order.");
    EXPECT_EQ(onClass["range"],
              json::parse(R"({"start": {"line": 0, "character": 0}, "end": {"line": 0, "character": 5}})"));
    EXPECT_EQ(At("textDocument/definition", 0, 16)["range"]["start"], json::parse(R"({"line": 11, "character": 12})"));
    EXPECT_EQ(At("textDocument/definition", 0, 29)["range"],  // defined in Shop.Order
              json::parse(R"({"start": {"line": 4, "character": 15}, "end": {"line": 4, "character": 19}})"));
    std::vector<std::string> names;
    for (const json& symbol : Request("workspace/symbol", {{"query", "order"}})) names.push_back(symbol["name"]);
    EXPECT_EQ(names, (std::vector<std::string>{"Shop.Order", "Shop.Order.Line"}));
    const json members = Request("workspace/symbol", {{"query", "Shop.Order.t"}});
    ASSERT_EQ(members.size(), 1u);
    EXPECT_EQ(std::pair(members[0]["name"], members[0]["containerName"]), std::pair(json("Total"), json("Shop.Order")));
}

TEST_F(ServerTest, MissingMembersAreWarnedAboutAsTheSettingsResolveNames) {
    Start(json::object(), json::object());  // no sourceRoot, no imports
    Open("a = Order.Nope + Format.Nope + Order.Save + \"Order.Quoted\" + thing.Nope");
    EXPECT_TRUE(LastDiagnostics().empty());  // neither name resolves
    Notify("workspace/didChangeConfiguration", {{"settings", {{"sourceRoot", "/src"}}}});
    const json diagnostics = LastDiagnostics();
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics[0]["message"], "Class Shop.Order has no member Nope");
    EXPECT_EQ(diagnostics[0]["severity"], 2);
    EXPECT_EQ(diagnostics[0]["range"]["start"]["character"], 10);
    const json both = {{"vantle", {{"sourceRoot", "/src"}, {"imports", "Util"}}}};
    Notify("workspace/didChangeConfiguration", {{"settings", both}});
    EXPECT_EQ(LastDiagnostics().size(), 2u);
    Notify("workspace/didChangeConfiguration", {{"settings", {{"diagnostics", false}}}});
    EXPECT_TRUE(LastDiagnostics().empty());
}

}  // namespace
