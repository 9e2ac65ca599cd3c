// The host tool end to end: the real binary, the real component and runtime, the
// bundled dictionary. Checks the --json answers exactly, exit statuses and messages.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

std::string BuildDir() {
    if (const char* dir = std::getenv("VANTLE_BUILD_DIR")) return dir;
    // Run by hand: the test binary lives in <build>/tests.
    char self[4096];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    return path.substr(0, path.rfind("/tests/"));
}

std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class Tool : public testing::Test {
protected:
    static void SetUpTestSuite() {
        char dir[] = "/tmp/vantle-tool-test-XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        scratch_ = dir;
        // An empty registry of our own: the tool falls back to the library beside it.
        setenv("KESTO_REGISTRY", (scratch_ + "/registry.db").c_str(), 1);
        unsetenv("VANTLE_DICTIONARY");
    }
    static void TearDownTestSuite() { std::system(("rm -rf '" + scratch_ + "'").c_str()); }

    // Runs the tool with `arguments` (shell words) and optional standard input.
    // `environment` is prepended to the command ("NAME=value ...").
    static Outcome RunTool(const std::string& arguments, const std::string& input = "",
                           const std::string& environment = "") {
        std::string in = scratch_ + "/in", out = scratch_ + "/out", err = scratch_ + "/err";
        std::ofstream(in) << input;
        std::string command = environment + " '" + BuildDir() + "/bin/vantle-assist' " + arguments + " <'" + in + "' >'" + out +
                              "' 2>'" + err + "'";
        int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, Slurp(out), Slurp(err)};
    }

    static std::string WriteFile(const std::string& name, const std::string& text) {
        std::string path = scratch_ + "/" + name;
        std::ofstream(path) << text;
        return path;
    }

    static std::string scratch_;
};
std::string Tool::scratch_;

struct JsonCase {
    const char* arguments;
    const char* json;
};

// Exact answers on the bundled dictionary, one per line of output.
const JsonCase kJsonAnswers[] = {
    {"classes Shop.O", R"j({"hresult": 0, "list": "Shop.Order,"})j"},
    {"classes Util.", R"j({"hresult": 0, "list": "Util.Auditable,Util.Format,Util.Log,"})j"},
    {"classes Nothing", R"j({"hresult": 1, "list": ""})j"},
    {"members Shop.Cart", R"j({"hresult": 0, "list": "%ClassName(,%Describe(,%IsA(,%New(,Add(,Checkout(,Clear(,Items,Owner,"})j"},
    {"members Shop.Cart --extended",
     R"j({"hresult": 0, "list": "%ClassName(\tC,%Describe(,%IsA(\tC,%New(\tC,Add(,Checkout(,Clear(,Items,Owner,"})j"},
    {"members Shop.ExpressOrder --extended --no-inherited", R"j({"hresult": 0, "list": "Cost(\tC,Slot,"})j"},
    {"members Shop.Settings --flags 16", R"j({"hresult": 0, "list": "CURRENCY,FREESHIPPINGFROM,"})j"},
    {"members Shop.Settings --flags 24", R"j({"hresult": 0, "list": "ADMINEMAIL,CURRENCY,FREESHIPPINGFROM,"})j"},
    {"members %Text", R"j({"hresult": 1, "list": null})j"},
    {"members %Text --flags 33", R"j({"hresult": 0, "list": "%ClassName(,%IsA(,%New(,IsValid(,LogicalToDisplay(,"})j"},
    {"members No.Such", R"j({"hresult": 1, "list": null})j"},
    {"members Format --import Util --flags 1", R"j({"hresult": 0, "list": "Date(,Money(,Pad(,"})j"},
    {"type Shop.Order Save", R"j({"hresult": 0, "kind": 4, "type": "%Result"})j"},
    {"type Shop.Order Lines", R"j({"hresult": 0, "kind": 5, "type": "relm of Shop.Line"})j"},
    {"type Shop.Order Customer", R"j({"hresult": 0, "kind": 5, "type": "Shop.Customer"})j"},
    {"type Shop.Customer Tags", R"j({"hresult": 0, "kind": 5, "type": "list of %Library.Text"})j"},
    {"type Shop.Customer Phones", R"j({"hresult": 0, "kind": 5, "type": "array of %Library.Text"})j"},
    {"type Shop.Line Order", R"j({"hresult": 0, "kind": 5, "type": "Shop.Order"})j"},
    {"type Shop.Order Nothing", R"j({"hresult": 1, "kind": 0, "type": null})j"},
    {"type Order Lines --relative Shop.Invoice", R"j({"hresult": 0, "kind": 5, "type": "relm of Shop.Line"})j"},
    {"type Shop.Order Describe --no-inherited", R"j({"hresult": 0, "kind": 4, "type": "%Text"})j"},
    {"type Shop.Order Print --no-inherited", R"j({"hresult": 1, "kind": 0, "type": null})j"},
    {"signature Shop.Order Save",
     R"j({"hresult": 0, "before": "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result", "current": null, "after": null})j"},
    {"signature Shop.Order Save 2",
     R"j({"hresult": 0, "before": "Save(pName As %Text = \"abc\",", "current": "ByRef pCount As %Count", "after": ") As %Result"})j"},
    {"signature Shop.Order Save 3",
     R"j({"hresult": 0, "before": "", "current": "", "after": "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result"})j"},
    {"signature Shop.Report Trend 4",
     R"j({"hresult": 0, "before": "Trend(pFrom As %Date,pTo As %Date,pTax As %Numeric = -0.5,", "current": "pNote As %Text = null", "after": ",pMode) As %Numeric"})j"},
    {"signature Shop.Cart Clear", R"j({"hresult": 0, "before": "Clear()", "current": null, "after": null})j"},
    {"signature Shop.Order Nothing 1", R"j({"hresult": 1, "before": "", "current": "", "after": ""})j"},
    {"origin Shop.ExpressOrder Print", R"j({"hresult": 0, "origin": "Shop.Document"})j"},
    {"origin Shop.ExpressOrder Touch 2", R"j({"hresult": 0, "origin": "Util.Auditable"})j"},
    {"origin Shop.ExpressOrder Describe", R"j({"hresult": 0, "origin": "Shop.Order"})j"},
    {"origin Shop.Order Trail 5", R"j({"hresult": 0, "origin": "Util.Auditable"})j"},
    {"origin Shop.Order STORAGE 10", R"j({"hresult": 0, "origin": "%Library.Persistent"})j"},
    {"origin Shop.Order Save 5", R"j({"hresult": 1, "origin": null})j"},
    {"origin Shop.Order Save 6", R"j({"hresult": 0, "origin": null})j"},
};

TEST_F(Tool, JsonAnswersOnTheBundledDictionary) {
    for (const JsonCase& c : kJsonAnswers) {
        Outcome run = RunTool(std::string("--json ") + c.arguments);
        EXPECT_EQ(run.status, 0) << c.arguments << "\n" << run.err;
        EXPECT_EQ(run.out, std::string(c.json) + "\n") << c.arguments;
        EXPECT_EQ(run.err, "") << c.arguments;
    }
}

TEST_F(Tool, TheServiceFromAnExplicitModuleAnswersTheSame) {
    Outcome run = RunTool("origin Shop.RushOrder %Save --json --module '" + BuildDir() + "/lib/libvantleassist.so'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"hresult\": 0, \"origin\": \"%Library.Persistent\"}\n");
}

TEST_F(Tool, ARegisteredServiceIsCreatedThroughTheRuntime) {
    const std::string registry = "KESTO_REGISTRY='" + scratch_ + "/registered.db'";
    Outcome registered = RunTool("register", "", registry);
    ASSERT_EQ(registered.status, 0) << registered.err;
    Outcome demo = RunTool("demo", "", registry);
    EXPECT_NE(demo.out.find("service: registered class)"), std::string::npos) << demo.out.substr(0, 200);
    Outcome answer = RunTool("--json type Shop.Order Lines", "", registry);
    EXPECT_EQ(answer.out, "{\"hresult\": 0, \"kind\": 5, \"type\": \"relm of Shop.Line\"}\n") << answer.err;
    ASSERT_EQ(RunTool("unregister", "", registry).status, 0);
    demo = RunTool("demo", "", registry);
    EXPECT_NE(demo.out.find("libvantleassist.so)"), std::string::npos) << "falls back to the library beside the tool";
}

TEST_F(Tool, AFailingServiceCallExitsNonZeroWithTheMessage) {
    Outcome run = RunTool("--json origin No.Such Member");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "{\"hresult\": -2140733433, \"origin\": null}\n");
    EXPECT_NE(run.err.find("Class does not exist [80670007]"), std::string::npos) << run.err;
    run = RunTool("origin Shop..Order Member");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("Class name is invalid [8067000A]"), std::string::npos) << run.err;
}

TEST_F(Tool, BadCommandLinesExitTwo) {
    for (const char* arguments : {"", "bogus", "members", "type Shop.Order", "signature A B C D", "members X --bogus",
                                  "type A B --flags 3", "members X --flags lots", "signature Shop.Order Save -1",
                                  "origin Shop.Order Save kind", "--dictionary"}) {
        Outcome run = RunTool(arguments);
        EXPECT_EQ(run.status, 2) << arguments;
        EXPECT_EQ(run.out, "") << arguments;
        EXPECT_NE(run.err, "") << arguments;
    }
}

TEST_F(Tool, EveryCommandHasHelp) {
    for (const char* command : {"classes", "members", "type", "signature", "origin", "repl", "demo", "register",
                                "unregister", "registry"}) {
        Outcome run = RunTool(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.out.rfind(std::string("Usage: vantle-assist ") + command, 0), 0u) << run.out;
        EXPECT_EQ(RunTool(std::string("help ") + command).out, run.out);
    }
    Outcome general = RunTool("--help");
    EXPECT_EQ(general.status, 0);
    EXPECT_NE(general.out.find("signature CLASS METHOD [ARGUMENT]"), std::string::npos);
}

TEST_F(Tool, DictionaryProblemsAreReportedWithTheirPosition) {
    Outcome missing = RunTool("classes --dictionary '" + scratch_ + "/none.json'");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find(scratch_ + "/none.json: cannot open"), std::string::npos) << missing.err;

    std::string bad = WriteFile("bad.json", "{\"classes\": [\n  {\"name\": \"A.B\", \"super\": [\"A.C\"]}]}");
    Outcome broken = RunTool("classes --dictionary '" + bad + "'");
    EXPECT_EQ(broken.status, 1);
    EXPECT_NE(broken.err.find(bad + ":2:29: super class \"A.C\" does not exist (class A.B)"), std::string::npos)
        << broken.err;

    std::string good = WriteFile("good.json", R"j({"classes": [{"name": "A.B", "methods": [{"name": "Go"}]}]})j");
    Outcome other = RunTool("--json members A.B --dictionary '" + good + "'");
    EXPECT_EQ(other.status, 0) << other.err;
    EXPECT_EQ(other.out, "{\"hresult\": 0, \"list\": \"Go(,\"}\n");
}

TEST_F(Tool, AMissingModuleIsReported) {
    Outcome run = RunTool("classes --module '" + scratch_ + "/libnothing.so'");
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("cannot load the assistance component"), std::string::npos) << run.err;
}

TEST_F(Tool, ThePromptReadsCommandsFromAPipe) {
    Outcome run = RunTool("repl", "classes Util.F --json\nset relative Shop.Invoice\ntype Order Lines --json\n"
                           "set inherited off\nmembers Shop.RushOrder --json\nquit\nclasses --json\n");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "{\"hresult\": 0, \"list\": \"Util.Format,\"}\n"
              "{\"hresult\": 0, \"kind\": 5, \"type\": \"relm of Shop.Line\"}\n"
              "{\"hresult\": 0, \"list\": \"Escalate(,Submit(,Courier,Deadline,\"}\n");
    Outcome failing = RunTool("repl", "members\nclasses Util.F\n");
    EXPECT_EQ(failing.status, 2);
    EXPECT_EQ(failing.out, "Util.Format\n");
}

TEST_F(Tool, TextOutputIsForPeople) {
    Outcome members = RunTool("members Shop.Order --extended");
    EXPECT_EQ(members.status, 0);
    EXPECT_NE(members.out.find("\nFind()                      class method\n"), std::string::npos) << members.out;
    EXPECT_NE(members.out.find("\nMargin                      private\n"), std::string::npos) << members.out;
    Outcome signature = RunTool("signature Shop.Order Save 2");
    EXPECT_EQ(signature.out,
              "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result\n"
              "                            ^^^^^^^^^^^^^^^^^^^^^^\n");
    Outcome demo = RunTool("demo");
    EXPECT_EQ(demo.status, 0) << demo.err;
    EXPECT_NE(demo.out.find("$ vantle-assist origin Shop.ExpressOrder Touch"), std::string::npos);
    EXPECT_EQ(demo.err, "");
}

}  // namespace
