// Reading class dictionaries: what loads, and where and why a bad file is refused.
#include <gtest/gtest.h>

#include <unistd.h>

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

// Each case puts the fault on a line and column of its own, so a reader that
// reports the wrong token is caught.
const BadFile kBadFiles[] = {
    {"syntax: missing comma between classes",
     "{\"classes\": [\n  {\"name\": \"A.B\"}\n  {\"name\": \"A.C\"}\n]}", PARSE_E_SYNTAX, "3:3", "syntax error", ""},
    {"syntax: bad literal inside a method",
     "{\"classes\": [{\"name\": \"A.B\",\n \"methods\": [{\"name\": \"Run\",\n   \"private\": tru }]}]}", PARSE_E_SYNTAX,
     "3:18", "invalid literal", "(class A.B, method Run)"},
    {"syntax: trailing content", "{}\n{}", PARSE_E_SYNTAX, "2:1", "expected end of input", ""},
    {"root is not an object", "\n  [1, 2]", TNODE_E_KEYWORD, "2:3", "must be a JSON object, not an array", ""},
    {"unknown key in a method",
     "{\"classes\": [{\"name\": \"Shop.Order\", \"methods\": [\n  {\"name\": \"Save\", \"retunType\": \"%Result\"}]}]}",
     TNODE_E_KEYWORD, "2:20", "unknown key \"retunType\" in a method", "(class Shop.Order, method Save)"},
    {"key given twice", "{\"classes\": [{\"name\": \"A.B\",\n  \"name\": \"A.C\"}]}", TNODE_E_KEYWORD, "2:3",
     "key \"name\" appears twice", "(class A.B)"},
    {"string where a boolean belongs",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [{\"name\": \"P\",\n      \"private\": \"no\"}]}]}",
     TNODE_E_KEYWORD, "2:18", "\"private\" must be true or false, not a string", "(class A.B, property P)"},
    {"collection outside its values",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [{\"name\": \"L\",\n \"collection\": \"set\"}]}]}",
     TNODE_E_KEYWORD, "2:16", "\"collection\" must be", "(class A.B, property L)"},
    {"unsupported format", "{\n  \"format\": \"vantle-class-dictionary/2\"}", TNODE_E_KEYWORD, "2:13",
     "unsupported format", ""},
    {"class without a name", "{\"classes\": [\n {\"description\": \"x\"}]}", TNODE_E_INVALIDCLASSNAME, "2:2",
     "this class has no \"name\"", ""},
    {"class name with a blank", "{\"classes\": [{\n \"name\": \"Shop Order\"}]}", TNODE_E_INVALIDCLASSNAME, "2:10",
     "blanks", ""},
    {"class name with a comma, which would split class lists", "{\"classes\": [{\"name\": \"Shop,Item\"}]}",
     TNODE_E_INVALIDCLASSNAME, "1:23", "Shop,Item", ""},
    {"member name with a parenthesis",
     "{\"classes\": [{\"name\": \"A.B\", \"methods\": [{\n \"name\": \"Run()\"}]}]}", TNODE_E_INVALIDNAME, "2:10",
     "must not hold", "(class A.B"},
    {"the first of two classes defined twice",
     "{\"classes\": [\n {\"name\": \"Shop.Line\"},\n {\"name\": \"Shop.Item\"},\n   {\"name\": \"Shop.Line\"},\n"
     " {\"name\": \"Shop.Item\"}]}",
     TNODE_E_CLASSEXISTS, "4:13", "class \"Shop.Line\" is defined twice (first at line 2, column 11)", ""},
    {"method defined twice in one class",
     "{\"classes\": [{\"name\": \"A.B\", \"methods\": [\n {\"name\": \"Run\"},\n {\"name\": \"Stop\"},\n  {\"name\": "
     "\"Run\"}]}]}",
     TNODE_E_NAMECONFLICT, "4:12", "method \"Run\" is defined twice in this class (first at line 2, column 11)",
     "(class A.B)"},
    {"unknown super class",
     "{\"classes\": [\n {\"name\": \"Shop.Order\", \"super\": [\"Shop.Document\",\n   \"Shop.Missing\"]},\n "
     "{\"name\": \"Shop.Document\"}]}",
     TNODE_E_CLASSNOTEXIST, "3:4", "super class \"Shop.Missing\" does not exist", "(class Shop.Order)"},
    {"cycle of super classes",
     "{\"classes\": [\n {\"name\": \"A.X\", \"super\": [\"A.Y\"]},\n {\"name\": \"A.Y\", \"super\": [\"A.Z\"]},\n "
     "{\"name\": \"A.Z\", \"super\": [\n   \"A.X\"]}]}",
     PARSE_E_COMPILE, "5:4", "the super classes form a cycle: A.X -> A.Y -> A.Z -> A.X", "(class A.Z)"},
    {"columns count characters, not bytes",
     "{\"classes\": [{\"name\": \"A.B\", \"description\": \"\xc3\xa9t\xc3\xa9\",\n\"m\xc3\xa9thods\": []}]}",
     TNODE_E_KEYWORD, "2:1", "unknown key", "(class A.B)"},
    {"escaped quotes do not shift positions",
     "{\"classes\": [{\"name\": \"A.B\", \"description\": \"say \\\"hi\\\"\", \"classType\": false}]}",
     TNODE_E_KEYWORD, "1:72", "\"classType\" must be", "(class A.B)"},
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

TEST(DictionaryLoading, EveryKeyButNameIsOptional) {
    auto manager = NewTree();
    EXPECT_EQ(Load(manager.get(), "{}").status, S_OK) << "an empty dictionary";
    auto outcome = Load(manager.get(),
                            R"({"classes": [{"name": "A.B", "methods": [{"name": "M"}],
                               "properties": [{"name": "P"}], "parameters": [{"name": "Q"}]},
                              {"name": "A.C", "super": [], "methods": [], "properties": [], "parameters": []}]})");
    ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    unsigned int classes = 0, members = 0;
    manager->GetClassCount(&classes);
    manager->GetMemberCount(&members);
    EXPECT_EQ(classes, 2u);
    EXPECT_EQ(members, 3u);
}

TEST(DictionaryLoading, AFailedLoadKeepsTheTreeLoadedBefore) {
    auto manager = NewTree();
    kesto::String path;
    manager->GetDictionaryPath(path.out());
    EXPECT_EQ(Narrow(path), "") << "nothing loaded yet";
    ASSERT_EQ(Load(manager.get(), R"({"classes": [{"name": "A.Kept"}]})", "first.json").status, S_OK);
    ASSERT_NE(Load(manager.get(), R"({"classes": [{"name": "A.New"}, {"name": "A.New"}]})").status, S_OK);
    ASSERT_NE(Load(manager.get(), R"({"classes": [{"name": "A.New", "super": ["A.None"]}]})").status, S_OK);
    kesto::Ref<COM_ITNodeElement> node;
    EXPECT_EQ(manager->GetClassNode(W("A.Kept"), node.out()), S_OK);
    EXPECT_EQ(manager->GetClassNode(W("A.New"), node.out()), TNODE_E_CLASSNOTEXIST);
    manager->GetDictionaryPath(path.out());
    EXPECT_EQ(Narrow(path), "first.json");
}

TEST(DictionaryLoading, ReadsAFileRemembersItsPathAndNamesThePathOfAFileItCannotRead) {
    char path[] = "/tmp/vantle-dictionary-XXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    std::string json = R"({"format": "vantle-class-dictionary/1", "classes": [{"name": "A.B"}]})";
    ASSERT_EQ(write(fd, json.data(), json.size()), static_cast<ssize_t>(json.size()));
    close(fd);
    auto manager = NewTree();
    EXPECT_EQ(LoadFile(manager.get(), path).message, "(null)") << "no message on success";
    std::remove(path);
    kesto::String loaded;
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
