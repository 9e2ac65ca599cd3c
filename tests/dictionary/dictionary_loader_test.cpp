// Reading class dictionaries: what loads, and where and why a bad file is refused.
// (Every problem of a failed load, with its place, is tnode_location_test's.)
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "AssistService.h"
#include "kesto/diagnostics.h"

namespace {

using namespace std::string_view_literals;

struct BadFile {
    const char* label;
    std::string_view json;
    HRESULT status;
    const char* position;  // "LINE:COLUMN"
    const char* says;      // a phrase the message must hold
    const char* context;   // the class or member named, "" for none
};

// Faults that the load-error listing does not meet. Each puts the fault on a line
// and column of its own, so a reader that reports the wrong token is caught.
const BadFile kBadFiles[] = {
    {"syntax: bad literal inside a method",
     "{\"classes\": [{\"name\": \"A.B\",\n \"methods\": [{\"name\": \"Run\",\n   \"private\": tru }]}]}", PARSE_E_SYNTAX,
     "3:18", "invalid literal", "(class A.B, method Run)"},
    {"syntax: trailing content", "{}\n{}", PARSE_E_SYNTAX, "2:1", "expected end of input", ""},
    {"root is not an object", "\n  [1, 2]", TNODE_E_KEYWORD, "2:3", "must be a JSON object, not an array", ""},
    {"key given twice", "{\"classes\": [{\"name\": \"A.B\",\n  \"name\": \"A.C\"}]}", TNODE_E_KEYWORD, "2:3",
     "key \"name\" appears twice", "(class A.B)"},
    {"class name with a comma, which would split class lists", "{\"classes\": [{\"name\": \"Shop,Item\"}]}",
     TNODE_E_INVALIDCLASSNAME, "1:23", "Shop,Item", ""},
    {"member name with a parenthesis",
     "{\"classes\": [{\"name\": \"A.B\", \"methods\": [{\n \"name\": \"Run()\"}]}]}", TNODE_E_INVALIDNAME, "2:10",
     "must not hold", "(class A.B"},
    // The JSON library would end the text at a NUL, as at the end of a C string.
    {"NUL after the dictionary", "{}\n  \0{\"classes\": 1"sv, PARSE_E_SYNTAX, "2:3", "a NUL character (U+0000)", ""},
    {"NUL where a value belongs", "{\"classes\": [\n  \0]}"sv, PARSE_E_SYNTAX, "2:3", "a NUL character (U+0000)", ""},
    {"NUL as the first byte", "\0{}"sv, PARSE_E_SYNTAX, "1:1", "a NUL character (U+0000)", ""},
    {"NUL inside a literal", "{\"format\":\n tr\0ue}"sv, PARSE_E_SYNTAX, "2:4", "invalid literal", ""},
    {"NUL inside a string", "{\"classes\": [{\"name\": \"A\0B\"}]}"sv, PARSE_E_SYNTAX, "1:25", "U+0000", ""},
    {"number beyond a double, at its start",
     "{\"classes\": [{\"name\": \"A.B\",\n \"methods\": [{\"name\": \"M\", \"private\": -1e999}]}]}", PARSE_E_SYNTAX,
     "2:39", "number \"-1e999\" is out of range", "(class A.B, method M)"},
    {"list without the class of its elements",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [\n {\"name\": \"P\", \"collection\": \"list\"}]}]}",
     TNODE_E_KEYWORD, "2:30", "a property with \"collection\": \"list\" needs a \"type\"", "(class A.B, property P)"},
    {"array with an empty type, given after it",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [\n {\"collection\": \"array\", \"name\": \"P\", \"type\": \"\"}]}]}",
     TNODE_E_KEYWORD, "2:17", "\"collection\": \"array\" needs a \"type\"", "(class A.B, property P)"},
};

TEST(DictionaryLoading, EachErrorIsRefusedWithItsPositionAndContext) {
    for (const BadFile& bad : kBadFiles) {
        SCOPED_TRACE(bad.label);
        auto manager = NewTree();
        const long stringsBefore = KESTO_LiveStringCount();
        auto outcome = Load(manager.get(), bad.json, "shop.json");
        EXPECT_EQ(outcome.status, bad.status) << outcome.message;
        EXPECT_EQ(outcome.message.rfind(std::string("shop.json:") + bad.position + ": ", 0), 0u) << outcome.message;
        EXPECT_NE(outcome.message.find(bad.says), std::string::npos) << outcome.message;
        EXPECT_NE(outcome.message.find(bad.context), std::string::npos) << outcome.message;
        EXPECT_EQ(outcome.message.find("json.exception"), std::string::npos) << "our own words";
        unsigned int classes = 99;
        EXPECT_EQ(manager->GetClassCount(&classes), S_OK);
        EXPECT_EQ(classes, 0u);
        EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore);
    }
}

// At most a hundred problems are listed, and the classes defined twice come after
// those met while reading, in the file order of their repeats: with one place left,
// it goes to the class repeated first, whatever the names' order.
TEST(DictionaryLoading, TheLastPlaceForProblemsGoesToTheClassRepeatedFirst) {
    std::string json = R"({"classes": [{"name": "A.A", "methods": [)";
    for (int i = 0; i < 99; ++i) json += std::string(i ? "," : "") + R"({"name": "M)" + std::to_string(i) + R"(", "x": 1})";
    json += R"(]}, {"name": "Shop.Line"}, {"name": "Shop.Item"}, {"name": "Shop.Line"}, {"name": "Shop.Item"}]})";
    auto manager = NewTree();
    ASSERT_EQ(Load(manager.get(), json).status, TNODE_E_KEYWORD);
    kesto::String errors;
    ASSERT_EQ(manager->GetLoadErrors(errors.out()), S_OK);
    const std::string text = Narrow(errors);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 100);
    const std::size_t last = text.rfind('\n', text.size() - 2) + 1;
    EXPECT_NE(text.find("class \"Shop.Line\" is defined twice", last), std::string::npos) << text.substr(last);
}

// A dictionary's class names hold nothing that an editor shows as nothing or as a
// line break, written raw or as an escape; letters of every script stay welcome.
TEST(DictionaryLoading, ClassNamesRefuseUnicodeBlanksControlsAndFormatCharacters) {
    const std::pair<std::string_view, bool> kNames[] = {
        {"A.B\\u00a0C", false},             // no-break space
        {"A.\xC2\x85X", false},              // next line, a control
        {"A.X\xE2\x80\xA8", false},          // line separator
        {"A.\\u2029X", false},              // paragraph separator
        {"A.Zero\xE2\x80\x8BWidth", false},  // zero-width space, a format character
        {"A.\xEF\xBB\xBFX", false},          // a byte order mark inside
        {"A.\xE3\x80\x80X", false},          // ideographic space
        {"A.X\xF3\xA0\x81\x81", false},      // U+E0041, a tag
        {"A.\\u00ad", false},               // soft hyphen
        {"A.\xC2\xA1X", true},               // U+00A1, just past the no-break space
        {"A.\xE2\x80\x90X", true},           // U+2010, a hyphen, just past the format characters
        {"A.\xC3\xA9t\xC3\xA9", true},
        {"A.\xE4\xB8\xAD", true},
        {"A.\xF0\x9F\x98\x80", true},
    };
    for (auto [name, accepted] : kNames) {
        SCOPED_TRACE(name);
        auto manager = NewTree();
        std::string json = "{\"classes\": [{\"name\": \"";
        json += name;
        json += "\"}]}";
        auto outcome = Load(manager.get(), json);
        if (accepted) {
            EXPECT_EQ(outcome.status, S_OK) << outcome.message;
        } else {
            EXPECT_EQ(outcome.status, TNODE_E_INVALIDCLASSNAME);
            EXPECT_EQ(outcome.message.rfind("test.json:1:23: a class name must not hold blanks or control characters", 0),
                      0u)
                << outcome.message;
        }
    }
}

std::string Repeated(std::string_view piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

// A piece of the file in a message is cut to 80 characters (never inside one), a
// cycle to its first four classes: messages stay lines to read, however large the
// file.
TEST(DictionaryLoading, MessagesCutLongPiecesOfTheFile) {
    auto manager = NewTree();
    // An unterminated string: the scanner stopped at its end, which is kept.
    std::string json = "{\"classes\": [{\"name\": \"" + std::string(1 << 20, 'a') + "xyz";
    auto outcome = Load(manager.get(), json);
    EXPECT_EQ(outcome.status, PARSE_E_SYNTAX);
    EXPECT_EQ(outcome.message.rfind("test.json:1:" + std::to_string(json.size() + 1) + ": ", 0), 0u)
        << outcome.message.substr(0, 200);
    EXPECT_NE(outcome.message.find("last read: '..." + std::string(77, 'a') + "xyz'"), std::string::npos)
        << outcome.message.substr(0, 300);
    EXPECT_LT(outcome.message.size(), 300u);

    // A wrong class name, quoted and as the context of its member's problem.
    const std::string name = "A." + Repeated("\xC3\xA9", 100) + " x";
    outcome = Load(manager.get(), "{\"classes\": [{\"name\": \"" + name + "\", \"methods\": [{\"name\": \"M\", \"x\": 1}]}]}");
    EXPECT_EQ(outcome.status, TNODE_E_INVALIDCLASSNAME);
    const std::string cut = "A." + Repeated("\\u00E9", 78) + "...";  // as Narrow shows it
    kesto::String errors;
    ASSERT_EQ(manager->GetLoadErrors(errors.out()), S_OK);
    const std::string listed = Narrow(errors);
    EXPECT_NE(listed.find(": \"" + cut + "\"\n"), std::string::npos) << listed;
    EXPECT_NE(listed.find("(class " + cut + ", method M)\n"), std::string::npos) << listed;
    EXPECT_LT(errors.size(), 600u);

    // A cycle through a thousand classes.
    json = "{\"classes\": [";
    for (int i = 0; i < 1000; ++i) {
        json += std::string(i ? ", " : "") + "{\"name\": \"Big.C" + std::to_string(i) + "\", \"super\": [\"C" +
                std::to_string((i + 1) % 1000) + "\"]}";
    }
    outcome = Load(manager.get(), json + "]}");
    EXPECT_EQ(outcome.status, PARSE_E_COMPILE);
    EXPECT_NE(outcome.message.find(
                  "the super classes form a cycle: Big.C0 -> Big.C1 -> Big.C2 -> Big.C3 -> and 996 more -> Big.C0 "
                  "(class Big.C999)"),
              std::string::npos)
        << outcome.message.substr(0, 300);
    EXPECT_LT(outcome.message.size(), 300u);
}

// Only a regular file up to the limit is read. What it is and how large are told
// before a byte is read, so nothing blocks (a FIFO without a writer) and nothing
// grows (a device that never ends, a sparse file past the limit).
TEST(DictionaryLoading, OnlyRegularFilesUpToTheLimitAreRead) {
    char folder[] = "/tmp/vantle-files-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string fifo = std::string(folder) + "/pipe.json";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string big = std::string(folder) + "/big.json";
    const int fd = open(big.c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, (off_t{1} << 30) + 1), 0);
    close(fd);
    const std::tuple<std::string, HRESULT, const char*> kFiles[] = {
        {"/dev/zero", STG_E_FILENOTFOUND, "cannot read the dictionary: it is a device"},
        {"/dev/urandom", STG_E_FILENOTFOUND, "cannot read the dictionary: it is a device"},
        {fifo, STG_E_FILENOTFOUND, "cannot read the dictionary: it is a FIFO"},
        {folder, STG_E_FILENOTFOUND, "cannot read the dictionary: it is a directory"},
        {big, E_OUTOFMEMORY, "the file is larger than 1 GiB"},
    };
    auto manager = NewTree();
    for (const auto& [path, status, says] : kFiles) {
        auto outcome = LoadFile(manager.get(), path);
        EXPECT_EQ(outcome.status, status) << path;
        EXPECT_EQ(outcome.message, path + ": " + says);
    }
    std::remove(big.c_str());
    std::remove(fifo.c_str());
    rmdir(folder);
}

// (A failed load keeps the tree and the path loaded before: the loader's fuzz target.)
TEST(DictionaryLoading, EveryKeyButNameIsOptionalAndAFileIsReadByItsPath) {
    auto manager = NewTree();
    kesto::String loaded;
    manager->GetDictionaryPath(loaded.out());
    EXPECT_EQ(Narrow(loaded), "") << "nothing loaded yet";
    EXPECT_EQ(Load(manager.get(), "{}").status, S_OK) << "an empty dictionary";
    auto outcome = Load(manager.get(), R"({"classes": [{"name": "A.B", "methods": [{"name": "M"}],
        "properties": [{"name": "P"}], "parameters": [{"name": "Q"}]},
        {"name": "A.C", "super": [], "methods": [], "properties": [], "parameters": []}]})");
    ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    unsigned int classes = 0, members = 0;
    manager->GetClassCount(&classes);
    manager->GetMemberCount(&members);
    EXPECT_EQ(classes, 2u);
    EXPECT_EQ(members, 3u);

    char path[] = "/tmp/vantle-dictionary-XXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    std::string json = R"({"format": "vantle-class-dictionary/1", "classes": [{"name": "A.B"}]})";
    ASSERT_EQ(write(fd, json.data(), json.size()), static_cast<ssize_t>(json.size()));
    close(fd);
    EXPECT_EQ(LoadFile(manager.get(), path).message, "(null)") << "no message on success";
    std::remove(path);
    manager->GetDictionaryPath(loaded.out());
    EXPECT_EQ(Narrow(loaded), path);
    for (auto [unreadable, reason] : {std::pair{"/nonexistent/dir/shop.json", "No such file"}, std::pair{"/tmp", ""}}) {
        auto [status, text] = LoadFile(manager.get(), unreadable);
        EXPECT_EQ(status, STG_E_FILENOTFOUND) << unreadable;
        EXPECT_NE(text.find(unreadable), std::string::npos) << text;
        EXPECT_NE(text.find(reason), std::string::npos) << text;
    }
}

}  // namespace
