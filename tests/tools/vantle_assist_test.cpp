// The host tool end to end: the real binary, the real component and runtime, the
// bundled dictionary, and a registry of its own. A table of command lines pins
// each exit code and the part of the output that matters; the JSON rows are read
// back as JSON. The answers themselves are the service's tests.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <nlohmann/json.hpp>

#include "FormalArguments.h"
#include "RegistryTestSupport.h"
#include "Suggest.h"

namespace {

using namespace registry_test;
using Json = nlohmann::json;

struct Outcome {
    int status;
    std::string out, err;
};

void ExpectIn(const std::string& text, const std::string& part, const std::string& context = "") {
    EXPECT_NE(text.find(part), std::string::npos) << context << "\nmissing: " << part << "\nin:\n" << text;
}

class Tool : public testing::Test {
protected:
    Tool() {
        WriteFile(m_folder / "bad.json",
                  "{\"classes\": [\n"
                  "  {\"name\": \"A.B\", \"super\": [\"A.C\"], \"methods\": [{\"name\": \"Run\", \"retunType\": \"X\"}]},\n"
                  "  {\"name\": \"A.B\", \"methods\": [{\"name\": \"Go\", \"formalSpec\": \"a,,b\"}]}]}\n");
        WriteFile(m_folder / "arguments.json",
                  "{\"classes\": [{\"name\": \"A.D\", \"methods\": [\n"
                  "  {\"name\": \"Go\", \"formalSpec\": \"pA:%Text,pB:A.D=\"},\n"
                  "  {\"name\": \"Two\", \"formalSpec\": \"pA, pB\", \"returnType\": \"A.Nope\"}]}]}\n");
        std::filesystem::create_directories(m_folder / "folder");
        mkfifo((m_folder / "fifo.json").c_str(), 0600);
    }

    // Runs the tool with `arguments` (shell words) and standard input.
    Outcome Run(const std::string& arguments, const std::string& input = "") {
        const std::string in = m_folder / "in", out = m_folder / "out", err = m_folder / "err";
        WriteFile(in, input);
        const std::string command = "cd '" + m_folder.path.string() + "' && timeout 20 '" VANTLE_TOOL_PATH "' " +
                                    arguments + " <'" + in + "' >'" + out + "' 2>'" + err + "'";
        int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
    }

    TempFolder m_folder;
    // Not made yet: the tool falls back to the library beside it.
    std::string m_file = m_folder / "kesto/registry.db";
    ScopedEnv m_registry{"KESTO_REGISTRY", m_file};
    ScopedEnv m_dictionary{"VANTLE_DICTIONARY", std::nullopt};
    ScopedEnv m_noColor{"NO_COLOR", std::nullopt};
};

// Each row: the command line, the exit code, a piece of standard output and a piece
// of standard error ("" checks nothing; "-" checks that the stream is empty).
struct Row {
    const char* arguments;
    int status;
    const char* out;
    const char* err;
};

const Row kRows[] = {
    // Answers.
    {"classes Util.", 0, "Util.Auditable\nUtil.Format\nUtil.Log\n", "-"},
    {"members Shop.Order --extended", 0, "\nFind()                      class method\n", "-"},
    {"members Shop.Order --extended", 0, "\nMargin                      private\n", "-"},
    {"members Shop.RushOrder --kind parameter", 0, "PREFIX\nPRIORITY\nSTORAGE\nVERSION\n", "-"},
    {"type Shop.Order Lines", 0, "Shop.Order.Lines: property of type relm of Shop.Line\n", "-"},
    {"type Order Lines --relative Shop.Invoice", 0, "relm of Shop.Line", "-"},
    {"signature Shop.Order Save 2", 0,
     "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result\n"
     "                            ^^^^^^^^^^^^^^^^^^^^^^\n",
     "-"},
    {"signature Shop.Order Save 2 --color=always", 0, "\x1b[1;7mByRef pCount As %Count\x1b[0m", "-"},
    {"origin Shop.Order Trail --kind property", 0, "defined in Util.Auditable\n", "-"},
    {"origin Shop.Order Trail property", 0, "defined in Util.Auditable\n", "-"},
    {"origin Shop.Order STORAGE 10", 0, "defined in", "-"},
    {"members Format --import Util --flags 1", 0, "Date()\nMoney()\nPad()\n", "-"},
    // Not found, said as it is, with the names meant perhaps.
    {"classes Nothing", 1, "-", "no class starts with \"Nothing\""},
    {"type Shop.Nope Save", 1, "-", "class Shop.Nope does not exist"},
    {"type Shop.Ordr Save", 1, "-", "did you mean Shop.Order?"},
    {"type Shop.Order Sav", 1, "-", "class Shop.Order has no method or property Sav\n  did you mean Save?"},
    {"signature Shop.Order Sav 1", 1, "-", "has no method Sav\n  did you mean Save?"},
    {"origin Shop.Order Trail", 1, "-", "has no method Trail"},
    {"members %Text", 1, "-", "%Text is a data-type class\n  its members are listed with --flags 39"},
    // Usage: exit 2, nothing on standard output.
    {"", 2, "-", "no command given"},
    {"membrs Shop.Order", 2, "-", "unknown command \"membrs\"\n  did you mean members?"},
    {"members", 2, "-", "too few arguments; usage: vantle-assist members CLASS"},
    {"signature A B C D", 2, "-", "too many arguments"},
    {"members X --bogus", 2, "-", "unknown option --bogus"},
    {"members X --extnded", 2, "-", "did you mean --extended?"},
    {"type A B --flags 3", 2, "-", "--flags is not an option of type (it belongs to members)"},
    {"members X --flags 64", 2, "-", "--flags takes a sum of 1, 2, 4, 8, 16 and 32 (0 to 63), not \"64\""},
    {"members X --flags lots", 2, "-", "not \"lots\""},
    {"members X --kind methods", 2, "-", "did you mean method?"},
    {"signature Shop.Order Save -1", 2, "-", "ARGUMENT is a whole number from 0"},
    {"origin Shop.Order Save kind", 2, "-", "KIND is method, property or parameter"},
    {"--dictionary '' classes", 2, "-", "--dictionary needs a file name"},
    {"--dictionary", 2, "-", "--dictionary"},
    {"--color=sometimes classes", 2, "-", "--color takes auto, always or never"},
    {"--max-size 12Q classes", 2, "-", "--max-size needs a size"},
    {"completion tcsh", 2, "-", "no script for the shell \"tcsh\""},
    {"help bogus", 2, "-", "unknown command \"bogus\""},
    // The dictionary: bounded, every problem listed.
    {"--dictionary /dev/zero classes", 3, "-", "/dev/zero: a character device, not a regular file"},
    {"--dictionary fifo.json classes", 3, "-", "fifo.json: a FIFO (named pipe), not a regular file"},
    {"--dictionary folder classes", 3, "-", "folder: a directory"},
    {"--dictionary none.json classes", 3, "-", "none.json: cannot open: No such file or directory"},
    {"--max-size 100 classes", 3, "-", "more than the limit of 100 bytes (--max-size raises the limit)"},
    {"--dictionary bad.json classes", 3, "-", "bad.json:2:29: super class \"A.C\" does not exist (class A.B)\n"},
    {"--dictionary bad.json classes", 3, "-", "bad.json:3:12: class \"A.B\" is defined twice"},
    {"--dictionary bad.json demo", 3, "-", "bad.json:2:29:"},
    {"check", 0, "shop.json: no problems\n", "-"},
    {"check bad.json", 3, "bad.json:2:65: error: unknown key \"retunType\"", "-"},
    {"check bad.json", 3, "  hint: did you mean \"returnType\"?\n", "-"},
    {"check bad.json", 3, "bad.json:3:63: error: formalSpec \"a,,b\": an empty argument (class A.B, method Go)", "-"},
    {"check bad.json", 3, "bad.json: 4 errors, 0 warnings\n", "-"},
    {"check arguments.json", 3, "arguments.json:2:48: error: formalSpec \"pA:%Text,pB:A.D=\": \"=\" without a default value", "-"},
    {"check arguments.json", 3, "arguments.json:3:37: error: formalSpec \"pA, pB\": the argument name \" pB\" holds a blank", "-"},
    {"check arguments.json", 3, "warning: the return type \"A.Nope\" is not a class of this dictionary (class A.D, method Two)",
     "-"},
    {"check arguments.json", 3, "warning: the type of argument pA \"%Text\" is not a class", "-"},
    {"check fifo.json /dev/zero", 3, "fifo.json: error: a FIFO (named pipe)", "-"},
    {"check --max-size 1K arguments.json", 3, "", "-"},
    {"check --max-size 100 arguments.json", 3, "more than the limit of 100 bytes\n  hint: --max-size raises the limit", "-"},
    // Registration names shared libraries and canonical paths.
    {"register ./folder/../none.so", 1, "-", "cannot register FOLDER/none.so: The shared library cannot be found"},
    {"unregister", 1, "not registered", "is not registered in"},
    {"unregister '" NOENTRY_MODULE_PATH "'", 4, "-", "it has no DllUnregisterServer: The module lacks an entry point"},
    {"classes --module ./libnothing.so", 4, "-", "cannot load the assistance component FOLDER/libnothing.so"},
    // Everything else.
    {"--version", 0, "vantle-assist ", "-"},
    {"completion bash", 0, "complete -F _vantle_assist vantle-assist\n", "-"},
    {"completion zsh", 0, "#compdef vantle-assist", "-"},
    {"completion fish", 0, "complete -c vantle-assist -n '__fish_seen_subcommand_from members origin' -l kind", "-"},
    {"--help", 0, "Exit status:\n  0   found: ", "-"},
    {"signature --help", 0, "Usage: vantle-assist signature CLASS METHOD [ARGUMENT]", "-"},
};

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) text.replace(at, from.size(), to);
    return text;
}

TEST_F(Tool, CommandLinesGiveTheirExitCodeAndAnswer) {
    const std::string folder = std::filesystem::canonical(m_folder.path).string();
    for (const Row& row : kRows) {
        Outcome run = Run(row.arguments);
        const std::string context = std::string("vantle-assist ") + row.arguments + "\nerr: " + run.err;
        EXPECT_EQ(run.status, row.status) << context;
        for (const auto& [expected, actual] : {std::pair(row.out, &run.out), std::pair(row.err, &run.err)}) {
            if (std::string(expected) == "-") {
                EXPECT_EQ(*actual, "") << context;
            } else {
                ExpectIn(*actual, Replace(expected, "FOLDER", folder), context);
            }
        }
        EXPECT_EQ(run.err.find("DLL"), std::string::npos) << context;
        EXPECT_EQ(run.out.find('\x1b') != std::string::npos, std::string(row.arguments).find("--color=always") !=
                                                                   std::string::npos)
            << context;
    }
}

TEST_F(Tool, ColourFollowsTheEnvironmentAndTheOption) {
    ScopedEnv noColor("NO_COLOR", "1");
    ExpectIn(Run("signature Shop.Order Save 2 --color=always").out, "\x1b[1;7m");
    EXPECT_EQ(Run("signature Shop.Order Save 2 --color=auto").out.find('\x1b'), std::string::npos);
    EXPECT_EQ(Run("demo --color=never").out.find('\x1b'), std::string::npos);
}

// Each JSON row: the command line, then keys of the one document it prints, with
// their values.
TEST_F(Tool, JsonIsOneDocumentPerInvocationEvenForErrors) {
    const std::pair<const char*, const char*> cases[] = {
        {"classes Util.",
         R"j({"command": "classes", "exitCode": 0, "status": "found", "classes": [{"name": "Util.Auditable"},
            {"name": "Util.Format"}, {"name": "Util.Log"}], "result": {"hresult": "0x00000000", "message": "OK status"}})j"},
        {"classes Nothing", R"j({"exitCode": 1, "status": "not-found", "classes": [], "result": {"hresult": "0x00000001"}})j"},
        {"members Shop.ExpressOrder --no-inherited --flags 7",
         R"j({"members": [{"name": "Cost", "kind": "method", "classMethod": true, "private": false},
                         {"name": "Slot", "kind": "property", "classMethod": false, "private": false}]})j"},
        {"members Shop.Settings --flags 24",
         R"j({"members": [{"name": "ADMINEMAIL", "kind": "parameter", "classMethod": false, "private": false},
                         {"name": "CURRENCY", "kind": "parameter", "classMethod": false, "private": false},
                         {"name": "FREESHIPPINGFROM", "kind": "parameter", "classMethod": false, "private": false}]})j"},
        {"members %Text", R"j({"exitCode": 1, "members": null})j"},
        {"type Shop.Order Save", R"j({"kind": "method", "type": "%Result", "exitCode": 0})j"},
        {"type Shop.Order Sav",
         R"j({"kind": null, "type": null, "exitCode": 1,
             "error": {"message": "class Shop.Order has no method or property Sav", "suggestions": ["Save"]}})j"},
        {"signature Shop.Order Save",
         R"j({"signature": "Save(pName As %Text = \"abc\",ByRef pCount As %Count) As %Result", "current": null, "after": null})j"},
        {"signature Shop.Report Trend 4",
         R"j({"before": "Trend(pFrom As %Date,pTo As %Date,pTax As %Numeric = -0.5,", "current": "pNote As %Text = null",
             "after": ",pMode) As %Numeric"})j"},
        {"signature Shop.Order Nothing 1", R"j({"signature": null, "before": null, "current": null, "after": null, "exitCode": 1})j"},
        {"origin No.Such Member", R"j({"origin": null, "result": {"hresult": "0x80670007", "message": "Class does not exist"}})j"},
        {"origin Shop.ExpressOrder Touch --kind method", R"j({"origin": "Util.Auditable", "kind": "method"})j"},
        {"bogus", R"j({"command": null, "exitCode": 2, "status": "usage", "error": {"message": "unknown command \"bogus\""}})j"},
        {"--dictionary bad.json classes",
         R"j({"exitCode": 3, "status": "dictionary",
             "error": {"message": "bad.json:2:29: super class \"A.C\" does not exist (class A.B)"}})j"},
        {"--dictionary /dev/zero classes", R"j({"exitCode": 3, "error": {"message": "/dev/zero: a character device, not a regular file"}})j"},
        {"check arguments.json", R"j({"exitCode": 3, "errors": 2, "warnings": 2})j"},
        {"registry", R"j({"command": "registry", "exists": false, "roots": []})j"},
        {"unregister", R"j({"command": "unregister", "exitCode": 1})j"},
        {"--version", R"j({"command": null, "exitCode": 0})j"},
    };
    for (const auto& [arguments, expected] : cases) {
        Outcome run = Run(std::string("--json ") + arguments);
        ASSERT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << arguments << "\n" << run.out;
        const Json document = Json::parse(run.out, nullptr, false);
        ASSERT_FALSE(document.is_discarded()) << arguments << "\n" << run.out;
        EXPECT_EQ(document["exitCode"], run.status) << arguments;
        const Json wanted = Json::parse(expected);
        for (auto field = wanted.begin(); field != wanted.end(); ++field) {
            const std::string& key = field.key();
            if (key == "result" || key == "error") {
                for (auto part = field->begin(); part != field->end(); ++part)
                    EXPECT_EQ(document[key][part.key()], *part) << arguments << " key " << key;
            } else {
                EXPECT_EQ(document[key], *field) << arguments << " key " << key;
            }
        }
        EXPECT_EQ(run.err, "") << arguments;
    }
    for (const char* arguments : {"demo", "help", "members --help", "completion fish", "register", "registry"}) {
        Outcome run = Run(std::string(arguments) + " --json");
        EXPECT_EQ(run.status, 0) << arguments << run.err;
        const Json document = Json::parse(run.out, nullptr, false);
        EXPECT_TRUE(document.is_object()) << arguments << "\n" << run.out;
        EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << arguments;
    }
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
    ExpectIn(run.out, "/libvantleassist.so in ");
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
    const Json dump = Json::parse(Run("--json registry").out);
    EXPECT_EQ(dump["roots"][1]["key"]["subkeys"][0]["subkeys"][0]["values"][2],
              Json({{"name", "Size"}, {"kind", "integer"}, {"value", -12}}));
    ExpectIn(Run("demo").out, "service: registered class)");
    EXPECT_EQ(Run("unregister").status, 0);
    EXPECT_EQ(Run("unregister").status, 0) << "installed twice, removed twice";
    run = Run("unregister");
    EXPECT_EQ(run.status, 1) << run.err;
    ExpectIn(run.err, "is not registered");
    Outcome demo = Run("demo");
    EXPECT_EQ(demo.status, 0) << demo.err;
    ExpectIn(demo.out, "libvantleassist.so)");
    ExpectIn(demo.out, "$ vantle-assist origin Shop.ExpressOrder Touch");
    ExpectIn(demo.out, "did you mean Shop.Order?");
    EXPECT_EQ(demo.err, "");

    std::filesystem::create_directories(m_folder / "kesto");
    WriteFile(m_file, "precious notes");
    for (const char* arguments : {"register", "unregister", "registry"}) {
        Outcome broken = Run(arguments);
        EXPECT_NE(broken.status, 0) << arguments;
        ExpectIn(broken.err, "Could not read from the registry [80040150]", arguments);
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
    EXPECT_EQ(run.status, 4);
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
        EXPECT_EQ(run.status, 4) << command;
        ExpectIn(run.err, "Could not read from the registry [80040150]: ");
        ExpectIn(run.err, "the registry file is damaged");
    }
}

TEST_F(Tool, FileNamesThatAreNotUtf8ReachTheRuntimeIntact) {
    const std::string odd = m_folder / "bad\xFFname.json";
    std::filesystem::copy_file(VANTLE_DICTIONARY_PATH, odd);
    Outcome run = Run("classes Util. --dictionary '" + odd + "'");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "Util.Auditable\nUtil.Format\nUtil.Log\n");

    // The loader's messages name such a file by its bytes, so that its place reads back.
    const std::string broken = "broken\xFF.json";
    WriteFile(m_folder / broken, "{\"classes\": [{\"name\": 5}]}");
    run = Run("classes --dictionary '" + broken + "'");
    EXPECT_EQ(run.status, 3);
    ExpectIn(run.err, broken + ":1:23: \"name\" must be a string");
    run = Run("check '" + broken + "'");
    EXPECT_EQ(run.status, 3);
    ExpectIn(run.out, broken + ":1:23: error: \"name\" must be a string");
    const Json problem = Json::parse(Run("--json check '" + broken + "'").out)["files"][0]["problems"][0];
    EXPECT_EQ(problem["line"], 1);
    EXPECT_EQ(problem["column"], 23);
    EXPECT_EQ(problem["message"], "\"name\" must be a string, not a number");
}

TEST_F(Tool, TheDemoTakesTheDictionaryItIsGiven) {
    WriteFile(m_folder / "small.json",
              "{\"classes\": [{\"name\": \"Zoo.Cage\", \"methods\": [{\"name\": \"Open\", \"formalSpec\": \"pKey:Zoo.Cage\","
              " \"returnType\": \"Zoo.Cage\"}], \"properties\": [{\"name\": \"Size\", \"type\": \"Zoo.Cage\"}]}]}");
    Outcome run = Run("demo --dictionary small.json");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectIn(run.out, "(dictionary: small.json");
    ExpectIn(run.out, "$ vantle-assist signature Zoo.Cage Open 1\n    Open(pKey As Zoo.Cage) As Zoo.Cage\n");
    ExpectIn(run.out, "Zoo.Cage.Size: property of type Zoo.Cage");
    EXPECT_EQ(run.out.find("Shop."), std::string::npos);
}

TEST_F(Tool, ThePromptReadsCommandsFromAPipe) {
    Outcome run = Run("repl", "classes Util.F --json\n:set relative Shop.Invoice\ntype Order Lines\n"
                              ":set inherited off\n:set flags 6\nmembers Shop.RushOrder\n:reload\nquit\nclasses\n");
    EXPECT_EQ(run.status, 0) << run.err;
    ExpectIn(run.out, "\"classes\":[{\"name\":\"Util.Format\"}]");
    ExpectIn(run.out, "relative   Shop.Invoice\n");
    ExpectIn(run.out, "Order.Lines: property of type relm of Shop.Line\n");
    ExpectIn(run.out, "flags      6\n");
    ExpectIn(run.out, "Escalate()\nSubmit()\nCourier\nDeadline\nreloaded ");
    EXPECT_EQ(run.out.find("Shop.Address"), std::string::npos) << "nothing runs after quit";

    const std::pair<std::string, std::string> refused[] = {
        {std::string("classes Util\0x\n", 15), "the line holds a NUL character"},
        {"register\n", "register is not a query"},
        {"members Shop.Order --dictionary x.json\n", "--dictionary is not taken at the prompt"},
        {"membrs Shop.Order\n", "did you mean members?"},
        {":set colour on\n", "usage: :set"},
        {":set flags 99\n", "flags is a sum of"},
    };
    for (const auto& [line, message] : refused) {
        Outcome failing = Run("repl", line + "classes Util.F\n");
        EXPECT_EQ(failing.status, 2) << line;
        EXPECT_EQ(failing.out, "Util.Format\n") << line;
        ExpectIn(failing.err, message, line);
    }
    Outcome help = Run("repl", "help members\nmembers --help\n");
    ExpectIn(help.out, "  --kind KIND ");
    EXPECT_EQ(help.out.find("--dictionary"), std::string::npos) << "the prompt's help offers only what it takes";
    // A dictionary that breaks meanwhile: the old one stays.
    WriteFile(m_folder / "live.json", ReadFile(m_folder / "arguments.json"));
    const std::string command = "cd '" + m_folder.path.string() +
                                "' && { echo classes; sleep 0.3; echo '{\"classes\": [' > live.json; echo :reload; "
                                "echo classes; } | '" VANTLE_TOOL_PATH "' repl --dictionary live.json > out 2> err";
    const int raw = std::system(command.c_str());
    EXPECT_EQ(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, 3) << "the failed reload's code";
    EXPECT_EQ(ReadFile(m_folder / "out"), "A.D\nA.D\n");
    ExpectIn(ReadFile(m_folder / "err"), "live.json:2:1: syntax error");
    ExpectIn(ReadFile(m_folder / "err"), "the dictionary loaded before stays in use");
}

TEST_F(Tool, OutputThatCannotBeWrittenIsExitFour) {
    for (const char* arguments : {"classes", "--json classes", "help", "check"}) {
        const std::string command = "'" VANTLE_TOOL_PATH "' " + std::string(arguments) + " > /dev/full 2>'" +
                                    (m_folder / "err") + "'";
        int raw = std::system(command.c_str());
        EXPECT_EQ(WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, 4) << arguments;
        EXPECT_EQ(ReadFile(m_folder / "err"), "vantle-assist: cannot write the output: No space left on device\n")
            << arguments;
    }
}

TEST_F(Tool, AClosedPipeEndsTheToolQuietly) {
    std::string lines;
    for (int i = 0; i < 3000; ++i) lines += "classes\n";
    WriteFile(m_folder / "many", lines);
    const std::string command = "cd '" + m_folder.path.string() + "' && ('" VANTLE_TOOL_PATH
                                "' repl < many 2> err; echo $? > status) | head -c 10 > /dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadFile(m_folder / "status"), "4\n");
    EXPECT_EQ(ReadFile(m_folder / "err"), "");
}

// The bash script the tool writes, run by bash: what Tab offers after each line.
TEST_F(Tool, TheBashCompletionOffersWhatTheParserTakes) {
    WriteFile(m_folder / "completion.bash", Run("completion bash").out);
    const std::string folder = std::filesystem::path(VANTLE_TOOL_PATH).parent_path().string();
    const std::pair<const char*, const char*> cases[] = {
        {"vantle-assist mem", "members"},
        {"vantle-assist members Shop.Or", "Shop.Order"},
        {"vantle-assist signature Shop.Order S", "Save Stamp Submit"},
        {"vantle-assist origin Shop.Order --kind property Tr", "Trail"},
        {"vantle-assist type Shop.Order --", "--json --dictionary --max-size --module --relative --import "
                                             "--no-inherited --color --help --version"},
        {"vantle-assist members X --kind p", "property parameter"},
        {"vantle-assist --color ", "auto always never"},
        {"vantle-assist --relative Util.F", "Util.Format"},
        {"vantle-assist --dictionary arguments.json classes ", "A.D"},
        {"vantle-assist completion ", "bash zsh fish"},
    };
    for (const auto& [typed, offered] : cases) {
        const std::string script = "cd '" + m_folder.path.string() + "' && PATH='" + folder +
                                   "':$PATH bash -c 'source completion.bash; COMP_WORDS=(" + typed +
                                   (std::string(typed).back() == ' ' ? " \"\"" : "") +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vantle_assist; "
                                   "echo \"${COMPREPLY[*]}\"' > completion.out";
        ASSERT_EQ(std::system(script.c_str()), 0) << typed;
        EXPECT_EQ(ReadFile(m_folder / "completion.out"), std::string(offered) + "\n") << typed;
    }
}

// The zsh script must parse; the fish script is asked by fish what it completes.
TEST_F(Tool, TheZshAndFishScriptsAreReadByTheirShells) {
    if (std::system("command -v zsh > /dev/null && command -v fish > /dev/null") != 0)
        GTEST_SKIP() << "zsh or fish is missing (scripts/setup.sh installs them)";
    WriteFile(m_folder / "_vantle-assist", Run("completion zsh").out);
    WriteFile(m_folder / "vantle-assist.fish", Run("completion fish").out);
    EXPECT_EQ(std::system(("zsh -n '" + (m_folder / "_vantle-assist") + "'").c_str()), 0);
    const std::string folder = std::filesystem::path(VANTLE_TOOL_PATH).parent_path().string();
    const std::pair<const char*, const char*> cases[] = {
        {"vantle-assist mem", "members\tLists the members of CLASS as the editor's completion list does\n"},
        {"vantle-assist members Shop.Or", "Shop.Order\n"},
        {"vantle-assist members X --kind pa", "parameter\tmethod, property or parameter (numbers 4, 2, 5, 10 too)\n"},
        {"vantle-assist completion ", "bash\nfish\nzsh\n"},
        {"vantle-assist signature Shop.Order S", "Save\nStamp\nSubmit\n"},
        // Names come from the dictionary the line names, in either spelling.
        {"vantle-assist --dictionary small.json type Zoo.Cage ", "Open\nSize\n"},
        {"vantle-assist classes --dictionary=small.json Zoo.", "Zoo.Cage\n"},
    };
    WriteFile(m_folder / "small.json",
              "{\"classes\": [{\"name\": \"Zoo.Cage\", \"methods\": [{\"name\": \"Open\"}],"
              " \"properties\": [{\"name\": \"Size\"}]}]}");
    for (const auto& [typed, offered] : cases) {
        const std::string script = "cd '" + m_folder.path.string() + "' && PATH='" + folder +
                                   "':$PATH fish --no-config -c 'source vantle-assist.fish; complete -C \"" + typed +
                                   "\"' > completion.out";
        ASSERT_EQ(std::system(script.c_str()), 0) << typed;
        EXPECT_EQ(ReadFile(m_folder / "completion.out"), offered) << typed;
    }
}

// The rules of formal argument lists, without a dictionary around them.
TEST(FormalSpec, ProblemsAreFoundWhereTheServiceWouldMisrender) {
    const struct {
        const char* text;
        const char* problem;  // "" for none
        std::size_t offset;
        bool error;
    } cases[] = {
        {"", "", 0, false},
        {"()", "", 0, false},
        {"(pFile:%Text(MAXLEN=255),pAppend:%Boolean=0,pFilter:%Text=Shop.Report.DefaultFilter())", "", 0, false},
        {"pOptions:%Text(VALUELIST=\",gift,express\")=\"\"", "", 0, false},
        {"*pOut:%Items,&pIn,.pRef=\"a,b\"", "", 0, false},
        {"a,,b", "an empty argument", 2, true},
        {"a,", "an empty argument", 2, true},
        {"(a),(b)", "\")\" without a \"(\" before it once the enclosing parentheses are removed", 2, true},
        {"pA:%Text=\"x", "this double quote is never closed", 9, true},
        {"pA:%Text(X=1", "this \"(\" is never closed", 8, true},
        {"pA)", "\")\" without a \"(\" before it", 2, true},
        {"a, &b", "the argument name \" &b\" holds a blank", 2, true},
        {":%Text", "an argument without a name", 0, true},
        {"1x", "\"1x\" is not an argument name", 0, true},
        {"pA,pA", "the argument pA is named twice", 3, true},
        {"pA:", "the type is missing after \":\"", 3, true},
        {"pA:%Text()x", "the type's parameters do not end the type", 8, true},
        {"pA:%Text(,X)", "an empty type parameter", 9, false},
        {"pA=", "\"=\" without a default value", 2, true},
    };
    for (const auto& c : cases) {
        std::vector<vantle::tool::SpecArgument> arguments;
        const std::vector<vantle::tool::SpecProblem> problems = vantle::tool::CheckFormalSpec(c.text, &arguments);
        if (std::string(c.problem).empty()) {
            EXPECT_TRUE(problems.empty()) << c.text << ": " << (problems.empty() ? "" : problems[0].message);
            continue;
        }
        ASSERT_FALSE(problems.empty()) << c.text;
        EXPECT_EQ(problems[0].message, c.problem) << c.text;
        EXPECT_EQ(problems[0].offset, c.offset) << c.text;
        EXPECT_EQ(problems[0].error, c.error) << c.text;
    }
    std::vector<vantle::tool::SpecArgument> arguments;
    vantle::tool::CheckFormalSpec("(pA:%Text(MAXLEN=2),*pB:Shop.Order=\"\",pC)", &arguments);
    ASSERT_EQ(arguments.size(), 3u);
    EXPECT_EQ(arguments[0].typeName, "%Text");
    EXPECT_EQ(arguments[1].name, "pB");
    EXPECT_EQ(arguments[1].typeName, "Shop.Order");
    EXPECT_EQ(arguments[2].typeName, "");
}

TEST(Suggest, OffersCloseNamesOnly) {
    using vantle::tool::Suggest;
    const std::vector<std::string> names{"members", "classes", "signature", "origin", "Shop.Order", "Shop.Orders"};
    EXPECT_EQ(Suggest("membrs", names), std::vector<std::string>{"members"});
    EXPECT_EQ(Suggest("sigantrue", names), std::vector<std::string>{"signature"});
    EXPECT_EQ(Suggest("shop.order", names), (std::vector<std::string>{"Shop.Order", "Shop.Orders"}));
    EXPECT_EQ(Suggest("Shop.Orde", names), (std::vector<std::string>{"Shop.Order", "Shop.Orders"}));
    EXPECT_TRUE(Suggest("x", names).empty());
    EXPECT_TRUE(Suggest("register", names).empty());
    EXPECT_TRUE(Suggest("Shop.Nope", {"Shop.Line", "Shop.Order"}).empty()) << "three slips in nine letters is another name";
}

}  // namespace
