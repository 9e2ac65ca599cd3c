// Reading class dictionaries: what loads, and where and why a bad file is refused.
// (Every problem of a failed load, with its place, is tnode_location_test's.)
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "AssistService.h"
#include "kesto/diagnostics.h"

namespace {

struct BadFile {
    const char* label;
    const char* json;
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
