// The host tool end to end: the real binary, the real component and runtime, the
// bundled dictionary. Checks the --json answers exactly, exit statuses and messages.
// The answers themselves are the service's tests; these rows cover each option and
// each shape of answer once.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "registry/RegistryTestSupport.h"

namespace {

using registry_test::ReadFile;

struct Outcome {
    int status;
    std::string out, err;
};

class Tool : public testing::Test {
protected:
    // Runs the tool with `arguments` (shell words), standard input and NAME=value settings.
    Outcome Run(const std::string& arguments, const std::string& input = "", const std::string& environment = "") {
        const std::string in = Path("in"), out = Path("out"), err = Path("err");
        registry_test::WriteFile(in, input);
        int raw = std::system((environment + " '" VANTLE_TOOL_PATH "' " + arguments + " <'" + in + "' >'" +
                              out + "' 2>'" + err + "'").c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
    }
    std::string Path(const std::string& name) { return (m_folder.Path() / name).string(); }

    registry_test::TempFolder m_folder;
    // An empty registry of our own: the tool falls back to the library beside it.
    registry_test::ScopedEnv m_registry{"KESTO_REGISTRY", Path("registry.db")};
    registry_test::ScopedEnv m_dictionary{"VANTLE_DICTIONARY", std::nullopt};
};

TEST_F(Tool, JsonAnswersOnTheBundledDictionary) {
    const std::pair<const char*, const char*> cases[] = {
        {"classes Util.", R"j({"hresult": 0, "list": "Util.Auditable,Util.Format,Util.Log,"})j"},
        {"classes Nothing", R"j({"hresult": 1, "list": ""})j"},
        {"members Shop.Cart --extended",
         R"j({"hresult": 0, "list": "%ClassName(\tC,%Describe(,%IsA(\tC,%New(\tC,Add(,Checkout(,Clear(,Items,Owner,"})j"},
        {"members Shop.ExpressOrder --extended --no-inherited", R"j({"hresult": 0, "list": "Cost(\tC,Slot,"})j"},
        {"members Shop.Settings --flags 24", R"j({"hresult": 0, "list": "ADMINEMAIL,CURRENCY,FREESHIPPINGFROM,"})j"},
        {"members %Text", R"j({"hresult": 1, "list": null})j"},
        {"members Format --import Util --flags 1", R"j({"hresult": 0, "list": "Date(,Money(,Pad(,"})j"},
        {"type Shop.Order Save", R"j({"hresult": 0, "kind": 4, "type": "%Result"})j"},
        {"type Shop.Order Nothing", R"j({"hresult": 1, "kind": 0, "type": null})j"},
        {"type Order Lines --relative Shop.Invoice", R"j({"hresult": 0, "kind": 5, "type": "relm of Shop.Line"})j"},
        {"signature Shop.Order Save",
         R"j({"hresult": 0, "before": "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result", "current": null, "after": null})j"},
        {"signature Shop.Report Trend 4",
         R"j({"hresult": 0, "before": "Trend(pFrom As %Date,pTo As %Date,pTax As %Numeric = -0.5,", "current": "pNote As %Text = null", "after": ",pMode) As %Numeric"})j"},
        {"signature Shop.Order Nothing 1", R"j({"hresult": 1, "before": "", "current": "", "after": ""})j"},
        {"origin Shop.ExpressOrder Touch 2", R"j({"hresult": 0, "origin": "Util.Auditable"})j"},
        {"origin Shop.Order Save 5", R"j({"hresult": 1, "origin": null})j"},
    };
    for (const auto& [arguments, json] : cases) {
        Outcome run = Run(std::string("--json ") + arguments);
        EXPECT_EQ(run.status, 0) << arguments << "\n" << run.err;
        EXPECT_EQ(run.out, std::string(json) + "\n") << arguments;
        EXPECT_EQ(run.err, "") << arguments;
    }
    Outcome run = Run("origin Shop.RushOrder %Save --json --module '" VANTLE_COMPONENT_PATH "'");
    EXPECT_EQ(run.out, "{\"hresult\": 0, \"origin\": \"%Library.Persistent\"}\n") << "the same from an explicit module";
}

TEST_F(Tool, ARegisteredServiceIsCreatedThroughTheRuntime) {
    const std::string registry = "KESTO_REGISTRY='" + Path("registered.db") + "'";
    ASSERT_EQ(Run("register", "", registry).status, 0);
    Outcome demo = Run("demo", "", registry);
    EXPECT_NE(demo.out.find("service: registered class)"), std::string::npos) << demo.out.substr(0, 200);
    EXPECT_EQ(Run("--json type Shop.Order Lines", "", registry).out,
              "{\"hresult\": 0, \"kind\": 5, \"type\": \"relm of Shop.Line\"}\n");
    ASSERT_EQ(Run("unregister", "", registry).status, 0);
    demo = Run("demo", "", registry);
    EXPECT_NE(demo.out.find("libvantleassist.so)"), std::string::npos) << "falls back to the library beside the tool";
    EXPECT_EQ(demo.status, 0) << demo.err;
    EXPECT_NE(demo.out.find("$ vantle-assist origin Shop.ExpressOrder Touch"), std::string::npos);
    EXPECT_EQ(demo.err, "");
}

TEST_F(Tool, FailuresExitWithTheirStatusAndMessage) {
    registry_test::WriteFile(Path("bad.json"), "{\"classes\": [\n  {\"name\": \"A.B\", \"super\": [\"A.C\"]}]}");
    const std::tuple<std::string, int, std::string> cases[] = {
        {"--json origin No.Such Member", 1, "Class does not exist [80670007]"},
        {"origin Shop..Order Member", 1, "Class name is invalid [8067000A]"},
        {"classes --dictionary '" + Path("none.json") + "'", 1, Path("none.json") + ": cannot open"},
        {"classes --dictionary '" + Path("bad.json") + "'", 1,
         Path("bad.json") + ":2:29: super class \"A.C\" does not exist (class A.B)"},
        {"classes --module '" + Path("libnothing.so") + "'", 1, "cannot load the assistance component"},
    };
    for (const auto& [arguments, status, message] : cases) {
        Outcome run = Run(arguments);
        EXPECT_EQ(run.status, status) << arguments;
        EXPECT_NE(run.err.find(message), std::string::npos) << arguments << "\n" << run.err;
    }
    EXPECT_EQ(Run("--json origin No.Such Member").out, "{\"hresult\": -2140733433, \"origin\": null}\n");
    for (const char* arguments : {"", "bogus", "members", "type Shop.Order", "signature A B C D", "members X --bogus",
                                  "type A B --flags 3", "members X --flags lots", "signature Shop.Order Save -1",
                                  "origin Shop.Order Save kind", "--dictionary"}) {
        Outcome run = Run(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_NE(run.err, "") << arguments;
    }
}

TEST_F(Tool, EveryCommandHasHelp) {
    for (const char* command : {"classes", "members", "type", "signature", "origin", "repl", "demo", "register",
                                "unregister", "registry"}) {
        Outcome run = Run(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.out.rfind(std::string("Usage: vantle-assist ") + command, 0), 0u) << run.out;
        EXPECT_EQ(Run(std::string("help ") + command).out, run.out);
    }
    EXPECT_NE(Run("--help").out.find("signature CLASS METHOD [ARGUMENT]"), std::string::npos);
}

TEST_F(Tool, ThePromptReadsCommandsFromAPipeAndTextOutputIsForPeople) {
    Outcome run = Run("repl", "classes Util.F --json\nset relative Shop.Invoice\ntype Order Lines --json\n"
                              "set inherited off\nmembers Shop.RushOrder --json\nquit\nclasses --json\n");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "{\"hresult\": 0, \"list\": \"Util.Format,\"}\n"
              "{\"hresult\": 0, \"kind\": 5, \"type\": \"relm of Shop.Line\"}\n"
              "{\"hresult\": 0, \"list\": \"Escalate(,Submit(,Courier,Deadline,\"}\n");
    Outcome failing = Run("repl", "members\nclasses Util.F\n");
    EXPECT_EQ(failing.status, 2);
    EXPECT_EQ(failing.out, "Util.Format\n");
    Outcome members = Run("members Shop.Order --extended");
    EXPECT_NE(members.out.find("\nFind()                      class method\n"), std::string::npos) << members.out;
    EXPECT_NE(members.out.find("\nMargin                      private\n"), std::string::npos) << members.out;
    EXPECT_EQ(Run("signature Shop.Order Save 2").out,
              "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result\n"
              "                            ^^^^^^^^^^^^^^^^^^^^^^\n");
}

}  // namespace
