// Reading class dictionaries: what loads, and where and why a bad file is refused.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <string>

#include "kesto/diagnostics.h"
#include "tree_test_support.h"

namespace {

using treetest::LoadText;
using treetest::NewManager;

struct BadFile {
    const char* label;
    const char* json;
    HRESULT status;
    const char* position;  // "LINE:COLUMN"
    const char* says;      // a phrase the message must hold
    const char* context;   // "" when the message names no class
};

// Each case puts the fault on a line and column of its own, so a reader that
// reports the wrong token is caught.
const BadFile kBadFiles[] = {
    {"syntax: missing comma between classes",
     "{\"classes\": [\n  {\"name\": \"A.B\"}\n  {\"name\": \"A.C\"}\n]}", PARSE_E_SYNTAX, "3:3", "syntax error", ""},
    {"syntax: unterminated string", "{\"classes\": [\n  {\"name\": \"A.B}]}", PARSE_E_SYNTAX, "2:19", "syntax error",
     ""},
    {"syntax: bad literal inside a method",
     "{\"classes\": [{\"name\": \"A.B\",\n \"methods\": [{\"name\": \"Run\",\n   \"private\": tru }]}]}", PARSE_E_SYNTAX,
     "3:18", "invalid literal", "(class A.B, method Run)"},
    {"syntax: trailing content", "{}\n{}", PARSE_E_SYNTAX, "2:1", "expected end of input", ""},
    {"syntax: empty file", "", PARSE_E_SYNTAX, "1:1", "syntax error", ""},
    {"root is not an object", "\n  [1, 2]", TNODE_E_KEYWORD, "2:3", "must be a JSON object, not an array", ""},
    {"unknown key in a method",
     "{\"classes\": [{\"name\": \"Shop.Order\", \"methods\": [\n  {\"name\": \"Save\", \"retunType\": \"%Result\"}]}]}",
     TNODE_E_KEYWORD, "2:20", "unknown key \"retunType\" in a method", "(class Shop.Order, method Save)"},
    {"unknown key at the top", "{\"format\": \"vantle-class-dictionary/1\",\n \"clases\": []}", TNODE_E_KEYWORD, "2:2",
     "unknown key \"clases\" in the dictionary", ""},
    {"key given twice", "{\"classes\": [{\"name\": \"A.B\",\n  \"name\": \"A.C\"}]}", TNODE_E_KEYWORD, "2:3",
     "key \"name\" appears twice", "(class A.B)"},
    {"string where a boolean belongs",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [{\"name\": \"P\",\n      \"private\": \"no\"}]}]}",
     TNODE_E_KEYWORD, "2:18", "\"private\" must be true or false, not a string", "(class A.B, property P)"},
    {"number where a boolean belongs",
     "{\"classes\": [{\"name\": \"A.B\", \"methods\": [{\"name\": \"M\",\n \"classMethod\": 1, \"internal\": true}]}]}",
     TNODE_E_KEYWORD, "2:17", "\"classMethod\" must be true or false, not a number", "(class A.B, method M)"},
    {"string where the super list belongs", "{\"classes\": [{\"name\": \"A.B\",\n  \"super\": \"A.C\"}]}",
     TNODE_E_KEYWORD, "2:12", "\"super\" must be an array, not a string", "(class A.B)"},
    {"object inside the super list", "{\"classes\": [{\"name\": \"A.B\", \"super\": [\n {}]}]}", TNODE_E_KEYWORD,
     "2:2", "each entry of \"super\" must be a class name", "(class A.B)"},
    {"classes is an object", "{\"classes\":\n {\"name\": \"A.B\"}}", TNODE_E_KEYWORD, "2:2",
     "\"classes\" must be an array, not an object", ""},
    {"null description", "{\"classes\": [{\"name\": \"A.B\",\n \"description\": null}]}", TNODE_E_KEYWORD, "2:17",
     "\"description\" must be a string, not null", "(class A.B)"},
    {"collection outside its values",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [{\"name\": \"L\",\n \"collection\": \"set\"}]}]}",
     TNODE_E_KEYWORD, "2:16", "\"collection\" must be", "(class A.B, property L)"},
    {"cardinality outside its values",
     "{\"classes\": [{\"name\": \"A.B\", \"properties\": [{\"name\": \"L\",\n \"cardinality\": \"several\"}]}]}",
     TNODE_E_KEYWORD, "2:17", "\"cardinality\" must be", "(class A.B, property L)"},
    {"unsupported format", "{\n  \"format\": \"vantle-class-dictionary/2\"}", TNODE_E_KEYWORD, "2:13",
     "unsupported format", ""},
    {"class without a name", "{\"classes\": [\n {\"description\": \"x\"}]}", TNODE_E_INVALIDCLASSNAME, "2:2",
     "this class has no \"name\"", ""},
    {"member without a name", "{\"classes\": [{\"name\": \"A.B\", \"parameters\": [\n  {\"default\": \"1\"}]}]}",
     TNODE_E_INVALIDNAME, "2:3", "this parameter has no \"name\"", "(class A.B"},
    {"class name with a blank", "{\"classes\": [{\n \"name\": \"Shop Order\"}]}", TNODE_E_INVALIDCLASSNAME, "2:10",
     "blanks", ""},
    {"percent class name without a package", "{\"classes\": [{\n \"name\": \"%Text\"}]}", TNODE_E_INVALIDCLASSNAME,
     "2:10", "needs a package", ""},
    {"member name with a parenthesis",
     "{\"classes\": [{\"name\": \"A.B\", \"methods\": [{\n \"name\": \"Run()\"}]}]}", TNODE_E_INVALIDNAME, "2:10",
     "must not hold", "(class A.B"},
    {"class defined twice",
     "{\"classes\": [\n {\"name\": \"Shop.Line\"},\n {\"name\": \"Shop.Order\"},\n   {\"name\": \"Shop.Line\"}]}",
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
    {"short super name outside the package",
     "{\"classes\": [{\"name\": \"Shop.Order\", \"super\": [\n \"Document\"]},\n {\"name\": \"Util.Document\"}]}",
     TNODE_E_CLASSNOTEXIST, "2:2", "super class \"Document\" does not exist", "(class Shop.Order)"},
    {"cycle of super classes",
     "{\"classes\": [\n {\"name\": \"A.X\", \"super\": [\"A.Y\"]},\n {\"name\": \"A.Y\", \"super\": [\"A.Z\"]},\n "
     "{\"name\": \"A.Z\", \"super\": [\n   \"A.X\"]}]}",
     PARSE_E_COMPILE, "5:4", "the super classes form a cycle: A.X -> A.Y -> A.Z -> A.X", "(class A.Z)"},
    {"class that is its own super", "{\"classes\": [{\"name\": \"A.X\", \"super\": [\n      \"X\"]}]}",
     PARSE_E_COMPILE, "2:7", "cycle: A.X -> A.X", "(class A.X)"},
    {"columns count characters, not bytes",
     "{\"classes\": [{\"name\": \"A.B\", \"description\": \"\xc3\xa9t\xc3\xa9\",\n\"m\xc3\xa9thods\": []}]}",
     TNODE_E_KEYWORD, "2:1", "unknown key", "(class A.B)"},
    {"column after multi-byte characters on the same line",
     "{\"classes\": [{\"name\": \"A.B\", \"description\": \"\xc3\xa9\xc3\xa9\", \"x\": 1}]}", TNODE_E_KEYWORD,
     "1:51", "unknown key \"x\"", "(class A.B)"},
};

class BadDictionary : public testing::TestWithParam<BadFile> {};

TEST_P(BadDictionary, IsRefusedWithItsPositionAndContext) {
    const BadFile& bad = GetParam();
    auto manager = NewManager();
    ASSERT_TRUE(manager);
    long stringsBefore = KESTO_LiveStringCount();
    auto outcome = LoadText(manager.get(), bad.json, "shop.json");
    EXPECT_EQ(outcome.status, bad.status) << outcome.message;
    EXPECT_EQ(outcome.message.rfind(std::string("shop.json:") + bad.position + ": ", 0), 0u) << outcome.message;
    EXPECT_NE(outcome.message.find(bad.says), std::string::npos) << outcome.message;
    if (*bad.context != '\0') {
        EXPECT_NE(outcome.message.find(bad.context), std::string::npos) << outcome.message;
    }
    unsigned int classes = 99;
    EXPECT_EQ(manager->GetClassCount(&classes), S_OK);
    EXPECT_EQ(classes, 0u);
    EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore);
}

INSTANTIATE_TEST_SUITE_P(EachErrorClass, BadDictionary, testing::ValuesIn(kBadFiles),
                         [](const testing::TestParamInfo<BadFile>& info) {
                             std::string name;
                             for (const char* c = info.param.label; *c; ++c)
                                 name.push_back(std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_');
                             return name;
                         });

TEST(DictionaryLoading, EveryKeyButNameIsOptional) {
    auto manager = NewManager();
    auto outcome = LoadText(manager.get(),
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

TEST(DictionaryLoading, AnEmptyObjectIsAnEmptyDictionary) {
    auto manager = NewManager();
    EXPECT_EQ(LoadText(manager.get(), "{}").status, S_OK);
}

TEST(DictionaryLoading, AFailedLoadKeepsTheTreeLoadedBefore) {
    auto manager = NewManager();
    ASSERT_EQ(LoadText(manager.get(), R"({"classes": [{"name": "A.Kept"}]})", "first.json").status, S_OK);
    ASSERT_NE(LoadText(manager.get(), R"({"classes": [{"name": "A.New"}, {"name": "A.New"}]})").status, S_OK);
    ASSERT_NE(LoadText(manager.get(), R"({"classes": [{"name": "A.New", "super": ["A.None"]}]})").status, S_OK);

    COM_ITNodeElement* node = nullptr;
    std::u16string kept = treetest::U("A.Kept"), fresh = treetest::U("A.New");
    EXPECT_EQ(manager->GetClassNode(treetest::W(kept), &node), S_OK);
    if (node) node->Release();
    EXPECT_EQ(manager->GetClassNode(treetest::W(fresh), &node), TNODE_E_CLASSNOTEXIST);
    BSTR path = nullptr;
    manager->GetDictionaryPath(&path);
    EXPECT_EQ(treetest::Take(path), "first.json");
}

TEST(DictionaryLoading, MissingFileNamesThePathAndReason) {
    auto manager = NewManager();
    std::u16string path = treetest::U("/nonexistent/dir/shop.json");
    BSTR message = nullptr;
    EXPECT_EQ(manager->LoadDictionary(treetest::W(path), &message), STG_E_FILENOTFOUND);
    std::string text = treetest::Take(message);
    EXPECT_NE(text.find("/nonexistent/dir/shop.json"), std::string::npos) << text;
    EXPECT_NE(text.find("No such file"), std::string::npos) << text;
}

TEST(DictionaryLoading, ReadsAFileAndRemembersItsPath) {
    char path[] = "/tmp/vantle-dictionary-XXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    std::string json = R"({"format": "vantle-class-dictionary/1", "classes": [{"name": "A.B"}]})";
    ASSERT_EQ(write(fd, json.data(), json.size()), static_cast<ssize_t>(json.size()));
    close(fd);
    auto manager = NewManager();
    std::u16string path16 = treetest::U(path);
    BSTR message = reinterpret_cast<BSTR>(1);  // must be overwritten
    EXPECT_EQ(manager->LoadDictionary(treetest::W(path16), &message), S_OK);
    EXPECT_EQ(message, nullptr);
    BSTR loaded = nullptr;
    manager->GetDictionaryPath(&loaded);
    EXPECT_EQ(treetest::Take(loaded), path);
    std::remove(path);
}

TEST(DictionaryLoading, ADirectoryIsNotADictionary) {
    auto manager = NewManager();
    std::u16string path = treetest::U("/tmp");
    BSTR message = nullptr;
    EXPECT_EQ(manager->LoadDictionary(treetest::W(path), &message), STG_E_FILENOTFOUND);
    EXPECT_NE(treetest::Take(message).find("/tmp"), std::string::npos);
}

TEST(DictionaryLoading, EscapedQuotesDoNotShiftPositions) {
    auto manager = NewManager();
    auto outcome = LoadText(manager.get(), "{\"classes\": [{\"name\": \"A.B\", \"description\": \"say \\\"hi\\\"\", "
                                           "\"classType\": false}]}");
    EXPECT_EQ(outcome.status, TNODE_E_KEYWORD);
    EXPECT_EQ(outcome.message.rfind("test.json:1:72: ", 0), 0u) << outcome.message;
}

}  // namespace
