// The server as a client sees it: lifecycle and error codes, capabilities, and
// each feature's answer on a small dictionary, through Handle() with the messages
// a client sends.
#include <gtest/gtest.h>

#include <memory>

#include "LspTestSupport.h"
#include "server/Server.h"

namespace {

using namespace vantle::lsp;

constexpr const char* kUri = "file:///src/Shop/Invoice.x";

class ServerTest : public testing::Test {
protected:
    void SetUp() override {
        lsp_test::UseNoRegistry();
        server = std::make_unique<Server>(
            ServerOptions{"/nonexistent/dictionary.json", LogLevel::Error, false},
            [this](const json& message) { sent.push_back(message); }, [] {});
    }

    json Request(const std::string& method, json params = json::object()) {
        const long long id = ++lastId;
        server->Handle(DecodeMessage(SerializeMessage(MakeRequest(id, method, std::move(params)))));
        for (const json& message : sent)
            if (message.value("id", json()) == id && !message.contains("method")) return message;
        ADD_FAILURE() << "no answer to " << method;
        return nullptr;
    }
    void Notify(const std::string& method, json params = json::object()) {
        server->Handle(DecodeMessage(SerializeMessage(MakeNotification(method, std::move(params)))));
    }
    // Initialized on the test dictionary; kUri lies below the sourceRoot "/src" of the default options.
    void Start(json capabilities = json::object(),
               json options = {{"vantle", {{"sourceRoot", "/src"}, {"imports", "Util"}}}}) {
        Request("initialize", {{"capabilities", capabilities}, {"initializationOptions", options}});
        Notify("initialized");
        server->AdoptTree(lsp_test::LoadTree());
    }
    void Open(const std::string& text) {
        Notify("textDocument/didOpen",
               {{"textDocument", {{"uri", kUri}, {"languageId", "x"}, {"version", 1}, {"text", text}}}});
    }
    json At(const std::string& method, std::size_t line, std::size_t character) {
        return Request(method,
                       {{"textDocument", {{"uri", kUri}}}, {"position", {{"line", line}, {"character", character}}}});
    }
    json LastDiagnostics() {
        for (auto message = sent.rbegin(); message != sent.rend(); ++message)
            if (message->value("method", "") == "textDocument/publishDiagnostics" &&
                (*message)["params"]["uri"] == kUri)
                return (*message)["params"]["diagnostics"];
        return nullptr;
    }
    // "label:kind" of each completion item.
    std::vector<std::string> Labels(const json& answer) {
        std::vector<std::string> labels;
        for (const json& item : answer["result"]["items"])
            labels.push_back(item["label"].get<std::string>() + ":" + std::to_string(item["kind"].get<int>()));
        return labels;
    }

    std::unique_ptr<Server> server;
    std::vector<json> sent;
    long long lastId = 0;
};

int ErrorCodeOf(const json& answer) { return answer["error"]["code"].get<int>(); }

TEST_F(ServerTest, RequestsBeforeInitializeAreRefusedAndNotificationsIgnored) {
    EXPECT_EQ(ErrorCodeOf(Request("textDocument/hover")), -32002);
    Open("x");
    EXPECT_TRUE(sent.size() == 1);  // the refusal only
    EXPECT_FALSE(server->Finished());
}

TEST_F(ServerTest, InitializeAnswersItsCapabilities) {
    const json answer = Request("initialize", {{"capabilities", json::object()}});
    const json expected = json::parse(R"({
        "positionEncoding": "utf-16",
        "textDocumentSync": {"openClose": true, "change": 2},
        "completionProvider": {"triggerCharacters": ["."], "resolveProvider": true},
        "signatureHelpProvider": {"triggerCharacters": ["(", ","]},
        "hoverProvider": true, "definitionProvider": true, "workspaceSymbolProvider": true})");
    EXPECT_EQ(answer["result"]["capabilities"], expected);
    EXPECT_EQ(ErrorCodeOf(Request("initialize", {{"capabilities", json::object()}})), -32600);
    const json utf8 = Request("initialize", {{"capabilities", {{"general", {{"positionEncodings", {"utf-8"}}}}}}});
    EXPECT_EQ(ErrorCodeOf(utf8), -32600);  // once only, whatever it offers
}

TEST_F(ServerTest, UnknownRequestsFailAndUnknownNotificationsAreIgnored) {
    Start();
    const std::size_t before = sent.size();
    Notify("custom/notification", {{"x", 1}});
    Notify("$/cancelRequest", {{"id", 99}});
    EXPECT_EQ(sent.size(), before);
    EXPECT_EQ(ErrorCodeOf(Request("custom/request")), -32601);
    const json notOpen = At("textDocument/hover", 0, 0);  // answers null, not an error
    EXPECT_TRUE(notOpen.contains("result") && notOpen["result"].is_null());
    EXPECT_EQ(ErrorCodeOf(Request("textDocument/hover", {{"textDocument", {{"uri", 5}}}})), -32602);
}

TEST_F(ServerTest, ShutdownThenExitEndsWithZero) {
    Start();
    EXPECT_TRUE(Request("shutdown")["result"].is_null());
    EXPECT_EQ(ErrorCodeOf(Request("textDocument/hover")), -32600);
    Notify("exit");
    EXPECT_TRUE(server->Finished());
    EXPECT_EQ(server->ExitCode(), 0);
}

TEST_F(ServerTest, ExitWithoutShutdownEndsWithOne) {
    Start();
    Notify("exit");
    EXPECT_TRUE(server->Finished());
    EXPECT_EQ(server->ExitCode(), 1);
}

TEST_F(ServerTest, MemberCompletionGivesKindsMarksPrivateAndFiltersByPrefix) {
    Start(json::object(), {{"flags", 23}, {"sourceRoot", "/src"}});  // with class parameters
    Open("x = Shop.Order.\ny = Order.sa");
    const json all = At("textDocument/completion", 0, 15);
    EXPECT_EQ(Labels(all), (std::vector<std::string>{"Find:3", "Save:2", "Secret:2", "Lines:10", "Total:10",
                                                     "VERSION:21", "Zeta:21"}));
    for (const json& item : all["result"]["items"]) {
        const bool isPrivate = item["label"] == "Secret";
        EXPECT_EQ(item["sortText"].get<std::string>()[0], isPrivate ? '1' : '0');
        EXPECT_EQ(item.contains("labelDetails"), isPrivate);
    }
    EXPECT_EQ(all["result"]["items"][2]["labelDetails"]["description"], "private");
    const json filtered = At("textDocument/completion", 1, 12);
    EXPECT_EQ(Labels(filtered), (std::vector<std::string>{"Save:2"}));
    EXPECT_EQ(filtered["result"]["items"][0]["textEdit"]["range"],
              json::parse(R"({"start": {"line": 1, "character": 10}, "end": {"line": 1, "character": 12}})"));
    EXPECT_EQ(filtered["result"]["items"][0]["textEdit"]["newText"], "Save");  // no snippets offered
}

TEST_F(ServerTest, MethodsInsertASnippetWithTheRangeGivenOnceWhenTheClientTakesBoth) {
    Start({{"textDocument",
            {{"completion",
              {{"completionItem", {{"snippetSupport", true}}},
               {"completionList", {{"itemDefaults", {"editRange", "data"}}}}}}}}});
    Open("Shop.Order.Fi");
    const json list = At("textDocument/completion", 0, 13)["result"];
    EXPECT_EQ(list["itemDefaults"]["editRange"],
              json::parse(R"({"start": {"line": 0, "character": 11}, "end": {"line": 0, "character": 13}})"));
    const json item = list["items"][0];
    EXPECT_FALSE(item.contains("textEdit"));
    EXPECT_EQ(item["textEditText"], "Find($1)");
    EXPECT_EQ(item["insertTextFormat"], 2);
    const json resolved = Request("completionItem/resolve", item)["result"];
    EXPECT_EQ(resolved["detail"], "Find(pId As %Text) As Shop.Order  (from Shop.Order)");
}

TEST_F(ServerTest, ClassCompletionGoesPackageByPackageAndKnowsShortNames) {
    Start();
    Open("Shop.\nSh\nOrd\nForm");
    EXPECT_EQ(Labels(At("textDocument/completion", 0, 5)),
              (std::vector<std::string>{"Invoice:7", "Order:7", "Order:9"}));  // Shop.Order is a class and a package
    EXPECT_EQ(Labels(At("textDocument/completion", 1, 2)), (std::vector<std::string>{"Shop:9"}));
    EXPECT_EQ(Labels(At("textDocument/completion", 2, 3)), (std::vector<std::string>{"Order:7", "Order:9"}));
    EXPECT_EQ(Labels(At("textDocument/completion", 3, 4)), (std::vector<std::string>{"Format:7"}));
}

TEST_F(ServerTest, SignatureHelpPlacesEachArgumentInTheNegotiatedEncoding) {
    Start({{"general", {{"positionEncodings", {"utf-8"}}}}});
    Open("Order.Save(\"\xC3\xA4,\", f(1, 2), ");
    const json help = At("textDocument/signatureHelp", 0, 27)["result"];
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
    EXPECT_TRUE(At("textDocument/signatureHelp", 0, 3)["result"].is_null());
}

TEST_F(ServerTest, HoverOnAMemberAndOnAClass) {
    Start();
    Open("Order.Lines + Shop.Order.Save()");
    const std::string member = At("textDocument/hover", 0, 8)["result"]["contents"]["value"];
    EXPECT_EQ(member,
              "**Lines** (property of `Shop.Order`)\n\nYields `list of %Library.Text`\n\nDefined in `Shop.Order`");
    const json onClass = At("textDocument/hover", 0, 16)["result"];
    EXPECT_EQ(onClass["contents"]["value"], "**Shop.Order** (class)\n\nAn order.");
    EXPECT_EQ(onClass["range"],
              json::parse(R"({"start": {"line": 0, "character": 14}, "end": {"line": 0, "character": 24}})"));
}

TEST_F(ServerTest, DefinitionIsTheNameInTheDictionary) {
    Start();
    Open("Shop.Invoice.Save");
    const json onClass = At("textDocument/definition", 0, 2)["result"];
    ASSERT_FALSE(onClass.is_null());
    EXPECT_EQ(onClass["range"]["start"], json::parse(R"({"line": 11, "character": 12})"));
    const json inherited = At("textDocument/definition", 0, 15)["result"];  // defined in Shop.Order
    ASSERT_FALSE(inherited.is_null());
    EXPECT_EQ(inherited["range"],
              json::parse(R"({"start": {"line": 4, "character": 15}, "end": {"line": 4, "character": 19}})"));
}

TEST_F(ServerTest, MissingMembersAreWarnedAboutUnlessSwitchedOff) {
    Start();
    Open("a = Order.Nope + Order.Save + \"Order.Quoted\" + thing.Nope");
    const json diagnostics = LastDiagnostics();
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics[0]["severity"], 2);
    EXPECT_EQ(diagnostics[0]["message"], "Class Shop.Order has no member Nope");
    EXPECT_EQ(diagnostics[0]["range"]["start"]["character"], 10);
    Notify("workspace/didChangeConfiguration", {{"settings", {{"diagnostics", false}}}});
    EXPECT_TRUE(LastDiagnostics().empty());
}

TEST_F(ServerTest, SettingsAtTheTopLevelOrUnderVantle) {
    Start(json::object(), json::object());  // no sourceRoot, no imports
    Open("Order.Nope Format.Nope");
    EXPECT_TRUE(LastDiagnostics().empty());  // neither name resolves
    Notify("workspace/didChangeConfiguration", {{"settings", {{"sourceRoot", "/src"}}}});
    EXPECT_EQ(LastDiagnostics().size(), 1u);
    Notify("workspace/didChangeConfiguration",
           {{"settings", {{"vantle", {{"sourceRoot", "/src"}, {"imports", "Util"}}}}}});
    EXPECT_EQ(LastDiagnostics().size(), 2u);
}

TEST_F(ServerTest, WorkspaceSymbolsFindClassesAndMembers) {
    Start();
    std::vector<std::string> names;
    const json answer = Request("workspace/symbol", {{"query", "order"}});
    for (const json& symbol : answer["result"]) names.push_back(symbol["name"]);
    EXPECT_EQ(names, (std::vector<std::string>{"Shop.Order", "Shop.Order.Line"}));
    const json members = Request("workspace/symbol", {{"query", "Shop.Order.t"}})["result"];
    ASSERT_EQ(members.size(), 1u);
    EXPECT_EQ(members[0]["name"], "Total");
    EXPECT_EQ(members[0]["containerName"], "Shop.Order");
}

}  // namespace
