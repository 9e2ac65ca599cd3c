// The host tool end to end: the real binary, the real component and runtime, the
// bundled dictionary, and a registry of its own. Checks the --json answers
// exactly, exit statuses and messages, and the registration commands. The answers
// themselves are the service's tests; these rows cover each option and each shape
// of answer once.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>

#include "RegistryTestSupport.h"

namespace {

using namespace registry_test;

struct Outcome {
    int status;
    std::string out, err;
};

void ExpectIn(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << "missing: " << part << "\nin:\n" << text;
}

class Tool : public testing::Test {
protected:
    // Runs the tool with `arguments` (shell words) and standard input.
    Outcome Run(const std::string& arguments, const std::string& input = "") {
        const std::string in = m_folder / "in", out = m_folder / "out", err = m_folder / "err";
        WriteFile(in, input);
        int raw = std::system(("'" VANTLE_TOOL_PATH "' " + arguments + " <'" + in + "' >'" + out + "' 2>'" + err +
                               "'").c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
    }

    TempFolder m_folder;
    // Not made yet: the tool falls back to the library beside it.
    std::string m_file = m_folder / "kesto/registry.db";
    ScopedEnv m_registry{"KESTO_REGISTRY", m_file};
    ScopedEnv m_dictionary{"VANTLE_DICTIONARY", std::nullopt};
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

// The library registers itself through the tool; the registered service is then
// created through the runtime, and after the last unregistration the tool falls
// back to the library beside it.
TEST_F(Tool, RegistersTheLibraryShowsTheRegistryAndCreatesTheServiceThroughIt) {
    ExpectIn(Run("registry").out, "not made yet");
    EXPECT_FALSE(std::filesystem::exists(m_file)) << "showing must not make the registry";
    Outcome run = Run("register");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectIn(run.out, "VantleAssist: installed 1 time");
    ExpectIn(Run("register '" VANTLE_COMPONENT_PATH "'").out, "installed 2 times");
    Ref<COM_IRegistry> registry;
    ASSERT_EQ(NewRegistry(registry), S_OK);
    ASSERT_EQ(registry->OpenRoot(2, W(u"")), S_OK);
    ASSERT_EQ(registry->CreateKey(W(u"Editor\\Fonts"), 1), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u"Quote"), W(u"say \"hi\"\\\n")), S_OK);
    ASSERT_EQ(registry->SetIntValue(W(u"Size"), -12), S_OK);
    ASSERT_EQ(registry->SetStringValue(W(u""), W(u"\u00E9")), S_OK);
    ASSERT_EQ(registry->Close(), S_OK);
    run = Run("registry");
    EXPECT_EQ(run.status, 0) << run.err;
    for (const char* part : {"Classes (root 1)\n  CLSID\n    {", "\n      (default) = \"VantleAssist\"\n",
                             "\n      InprocServer32\n        (default) = \"libvantleassist.so\"\n",
                             "\n      InstallCount\n        (default) = 2\n", "\n  VantleAssist\n    CLSID\n",
                             "\nSettings (root 2)\n  Editor\n    Fonts\n      (default) = \"\xC3\xA9\"\n"
                             "      Quote = \"say \\\"hi\\\"\\\\\\x0A\"\n      Size = -12\n"}) {
        ExpectIn(run.out, part);
    }
    ExpectIn(Run("demo").out, "service: registered class)");
    EXPECT_EQ(Run("--json type Shop.Order Lines").out, "{\"hresult\": 0, \"kind\": 5, \"type\": \"relm of Shop.Line\"}\n");
    EXPECT_EQ(Run("unregister").status, 0);
    run = Run("unregister");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectIn(run.out, "not registered");
    Outcome demo = Run("demo");
    EXPECT_EQ(demo.status, 0) << demo.err;
    ExpectIn(demo.out, "libvantleassist.so)");
    ExpectIn(demo.out, "$ vantle-assist origin Shop.ExpressOrder Touch");
    EXPECT_EQ(demo.err, "");
}

TEST_F(Tool, FailuresExitWithTheirStatusAndMessage) {
    WriteFile(m_folder / "bad.json", "{\"classes\": [\n  {\"name\": \"A.B\", \"super\": [\"A.C\"]}]}");
    const std::string bad = m_folder / "bad.json", none = m_folder / "none.json";
    const std::pair<std::string, std::string> cases[] = {
        {"--json origin No.Such Member", "Class does not exist [80670007]"},
        {"origin Shop..Order Member", "Class name is invalid [8067000A]"},
        {"classes --dictionary '" + none + "'", none + ": cannot open"},
        {"classes --dictionary '" + bad + "'", bad + ":2:29: super class \"A.C\" does not exist (class A.B)"},
        {"classes --module '" + m_folder / "libnothing.so" + "'", "cannot load the assistance component"},
        {"unregister", "is not registered: Key is missing from the registry [80040152]"},
        {"register '" + m_folder / "none.so" + "'", "Couldn't find DLL [800401F8]"},
        {"unregister '" NOENTRY_MODULE_PATH "'", "Entry point not found in DLL [800401F9]"},
    };
    for (const auto& [arguments, message] : cases) {
        Outcome run = Run(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        ExpectIn(run.err, message);
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
    std::filesystem::create_directories(m_folder / "kesto");
    WriteFile(m_file, "precious notes");
    for (const char* arguments : {"register", "unregister", "registry"}) {
        Outcome run = Run(arguments);
        EXPECT_EQ(run.status, 1) << arguments;
        ExpectIn(run.err, "Could not read from the registry [80040150]");
    }
    EXPECT_EQ(ReadFile(m_file), "precious notes");
}

// Runs SQL on the registry file behind the runtime's back.
void Sql(const std::string& file, const std::string& statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << statements;
    sqlite3_close(db);
}

// What a registry edited by hand or damaged shows, and why registering then fails.
TEST_F(Tool, TheRegistryCommandsShowEditedOrDamagedRegistriesAndSayWhy) {
    ASSERT_EQ(Run("register").status, 0);
    EXPECT_EQ(ValueAt("CLSID\\{4356564A-A9AA-4664-B743-2AFF4C551251}\\InprocServer32", "Path"),
              (std::filesystem::canonical(VANTLE_COMPONENT_PATH).parent_path() / "libvantleassist.so").string())
        << "the copy registered is recorded";
    Sql(m_file,
        "INSERT INTO registry_keys(parent, name) VALUES (2, ''), (3, ''), (3, 'x\\y'), (2, 'line\nbreak');"
        "UPDATE registry_values SET data = 4294967296 WHERE kind = 2");
    Outcome run = Run("registry");
    EXPECT_EQ(run.status, 0) << run.err;
    for (const char* part : {"\n    \"\"  (not followed: not a name a key can be opened by)\n",
                             "\n    \"x\\\\y\"  (not followed", "\n  \"line\\x0Abreak\"\n",
                             "(default) = (unreadable: Invalid value for registry [80040153]: ",
                             "4294967296, which is outside the 32-bit range"}) {
        ExpectIn(run.out, part);
    }
    EXPECT_LT(run.out.size(), 4000u);
    run = Run("register");
    EXPECT_EQ(run.status, 1);
    ExpectIn(run.err, "Invalid value for registry [80040153]: ");
    ExpectIn(run.err, "4294967296, which is outside the 32-bit range");

    // A chain far deeper than any stack would hold is shown whole.
    Ref<COM_IRegistry> registry;
    ASSERT_EQ(NewRegistry(registry), S_OK);
    ASSERT_EQ(registry->OpenRoot(2, W(u"")), S_OK);
    for (int depth = 0; depth < 2500; ++depth) ASSERT_EQ(registry->CreateKey(W(u"k"), 1), S_OK);
    ASSERT_EQ(registry->SetIntValue(W(u"deepest"), 1), S_OK);
    ASSERT_EQ(registry->Close(), S_OK);
    registry.reset();
    run = Run("registry");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectIn(run.out, "\n" + std::string(2 * 2501, ' ') + "deepest = 1\n");

    std::string damaged = ReadFile(m_file);
    ASSERT_GT(damaged.size(), 4096u);
    damaged[4096] = '\x7F';  // the keys' table
    WriteFile(m_file, damaged);
    for (const char* command : {"registry", "register", "unregister"}) {
        run = Run(command);
        EXPECT_EQ(run.status, 1) << command;
        ExpectIn(run.err, "Could not read from the registry [80040150]: ");
        ExpectIn(run.err, "the registry file is damaged");
    }
}

TEST_F(Tool, FileNamesThatAreNotUtf8ReachTheRuntimeIntact) {
    const std::string odd = m_folder / "bad\xFFname.json";
    std::filesystem::copy_file(VANTLE_DICTIONARY_PATH, odd);
    Outcome run = Run("--json classes Util. --dictionary '" + odd + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"hresult\": 0, \"list\": \"Util.Auditable,Util.Format,Util.Log,\"}\n");
}

TEST_F(Tool, EveryCommandHasHelp) {
    for (const char* command : {"classes", "members", "type", "signature", "origin", "repl", "demo", "register",
                                "unregister", "registry"}) {
        Outcome run = Run(std::string(command) + " --help");
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.out.rfind(std::string("Usage: vantle-assist ") + command, 0), 0u) << run.out;
        EXPECT_EQ(Run(std::string("help ") + command).out, run.out);
    }
    ExpectIn(Run("--help").out, "signature CLASS METHOD [ARGUMENT]");
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
    ExpectIn(members.out, "\nFind()                      class method\n");
    ExpectIn(members.out, "\nMargin                      private\n");
    EXPECT_EQ(Run("signature Shop.Order Save 2").out,
              "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result\n"
              "                            ^^^^^^^^^^^^^^^^^^^^^^\n");
}

}  // namespace
