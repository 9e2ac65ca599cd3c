// Where definitions stand in the dictionary file (GetLocation), and every problem
// of a failed load (GetLoadErrors): what a language server needs for going to a
// definition and for showing a broken dictionary's diagnostics.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "AssistTestSupport.h"

namespace {

using kesto::Ref;

struct Place {
    HRESULT status;
    std::string file;
    unsigned int line;
    unsigned int column;
};

// NULL for a NULL kind or member.
Place Locate(COM_ITNodeElement* node, const char* kind, const char* member) {
    const W kindText(kind != nullptr ? kind : ""), memberText(member != nullptr ? member : "");
    Place place{E_FAIL, "", 99, 99};
    kesto::String file;
    place.status = node->GetLocation(kind != nullptr ? static_cast<CBSTR>(kindText) : nullptr,
                                     member != nullptr ? static_cast<CBSTR>(memberText) : nullptr, file.out(),
                                     &place.line, &place.column);
    place.file = Narrow(file);
    return place;
}

Ref<COM_ITNodeElement> Node(COM_ITNodeManager* manager, const std::string& name) {
    Ref<COM_ITNodeElement> node;
    EXPECT_EQ(manager->GetClassNode(W(name), node.out()), S_OK) << name;
    return node;
}

// `length` bytes of an ASCII text at a line and column counted from 1.
std::string TextAt(const std::string& text, unsigned int line, unsigned int column, std::size_t length) {
    std::size_t start = 0;
    for (unsigned int i = 1; i < line && start != std::string::npos; ++i) {
        start = text.find('\n', start);
        if (start != std::string::npos) ++start;
    }
    if (start == std::string::npos || column == 0) return "(no such place)";
    return text.substr(start + column - 1, length);
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    EXPECT_EQ(start, text.size()) << "the last line ends in a line break";
    return lines;
}

std::string LoadErrors(COM_ITNodeManager* manager, HRESULT expected) {
    kesto::String errors;
    EXPECT_EQ(manager->GetLoadErrors(errors.out()), expected);
    return Narrow(errors);
}

// Each class on a line of its own, so that a line tells which class a place is in.
// Base is met before Audit (through Document), so Base's Check and Id win over
// Audit's; Order's escapes stand before its members' names on the same line.
const char kShop[] =
    "{\"format\": \"vantle-class-dictionary/1\", \"classes\": [\n"
    "  {\"name\": \"%Library.Base\", \"methods\": [{\"name\": \"Check\"}, {\"name\": \"Describe\"}], "
    "\"properties\": [{\"name\": \"Id\"}], \"parameters\": [{\"name\": \"Id\"}]},\n"
    "  {\"super\": [\"%Base\"], \"methods\": [{\"name\": \"Describe\"}, {\"name\": \"Save\"}], \"name\": "
    "\"Shop.Document\"},\n"
    "  {\"name\": \"Shop.Audit\", \"methods\": [{\"classMethod\": true, \"name\": \"Check\"}, {\"name\": \"Save\"}, "
    "{\"name\": \"Log\"}], \"properties\": [{\"name\": \"Id\"}]},\n"
    "  {\"name\": \"Shop.Order\", \"super\": [\"Document\", \"Audit\"], \"description\": \"say \\\"hi\\\" \\u00e9\", "
    "\"methods\": [{\"name\": \"Save\"}, {\"name\": \"Total\"}]}]}";

class Locations : public StringBalanceTest {
protected:
    void SetUp() override {
        auto outcome = Load(manager_.get(), kShop, "shop.json");
        ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    }

    Ref<COM_ITNodeManager> manager_ = NewTree();
};

TEST_F(Locations, EachNamePointsAtItsFirstCharacterInTheClassThatDefinesIt) {
    const std::string text = kShop;
    for (const char* cls : {"%Library.Base", "Shop.Document", "Shop.Audit", "Shop.Order"}) {
        auto node = Node(manager_.get(), cls);
        const Place own = Locate(node.get(), "", nullptr);
        ASSERT_EQ(own.status, S_OK) << cls;
        EXPECT_EQ(own.file, "shop.json");
        EXPECT_EQ(TextAt(text, own.line, own.column - 1, strlen(cls) + 2), std::string("\"") + cls + "\"");
        for (const char* kind : {"m", "a", "p"}) {
            Ref<COM_IStringCollection> children;
            ASSERT_EQ(node->OpenChildren(W(kind), W("1:2"), 1, children.out()), S_OK);
            kesto::String name, values;
            while (children->Next(name.out(), values.out()) == S_OK) {
                const std::string member = Narrow(name);
                const std::string origin = Narrow(values).substr(Narrow(values).find(':') + 1);
                SCOPED_TRACE(std::string(cls) + " " + kind + " " + member + " from " + origin);
                const Place at = Locate(node.get(), kind, member.c_str());
                ASSERT_EQ(at.status, S_OK);
                EXPECT_EQ(at.line, Locate(Node(manager_.get(), origin).get(), "", nullptr).line) << "in the origin";
                EXPECT_EQ(TextAt(text, at.line, at.column - 1, member.size() + 2), "\"" + member + "\"");
            }
        }
    }
    // Kinds are name spaces of their own: Base's property Id and parameter Id differ.
    auto base = Node(manager_.get(), "%Library.Base");
    EXPECT_LT(Locate(base.get(), "a", "Id").column, Locate(base.get(), "p", "Id").column);
}

TEST_F(Locations, UnknownMembersAndBadArgumentsLeaveNothingBehind) {
    auto order = Node(manager_.get(), "Shop.Order");
    for (auto [kind, member, status] : {std::tuple{"m", "Nothing", S_FALSE}, {"m", "save", S_FALSE},
                                        {"p", "Save", S_FALSE}, {"x", "Save", E_INVALIDARG},
                                        {"mm", "Save", E_INVALIDARG}, {"m", "", TNODE_E_INVALIDNAME}}) {
        const Place at = Locate(order.get(), kind, member);
        EXPECT_EQ(at.status, status) << kind << " " << member;
        EXPECT_TRUE(at.file == "(null)" && at.line == 0 && at.column == 0) << kind << " " << member;
    }
    kesto::String file;
    unsigned int line = 7, column = 7;
    EXPECT_EQ(order->GetLocation(W("m"), nullptr, file.out(), &line, &column), TNODE_E_INVALIDNAME);
    EXPECT_EQ(order->GetLocation(nullptr, nullptr, nullptr, &line, &column), E_POINTER);
    EXPECT_EQ(order->GetLocation(nullptr, nullptr, file.out(), nullptr, &column), E_POINTER);
    EXPECT_TRUE(file.is_null() && line == 0 && column == 0);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(Locate(order.get(), "m", "Save").status, E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 0);
}

TEST_F(Locations, NodesKeepTheFileAndPlacesOfTheDictionaryTheyCameFrom) {
    auto order = Node(manager_.get(), "Shop.Order");
    const Place before = Locate(order.get(), "m", "Log");
    ASSERT_EQ(Load(manager_.get(), "{\"classes\": [\n{\"name\": \"Shop.Order\"}]}", "").status, S_OK);
    const Place after = Locate(order.get(), "m", "Log");
    EXPECT_TRUE(after.file == "shop.json" && after.line == before.line && after.column == before.column);
    const Place fresh = Locate(Node(manager_.get(), "Shop.Order").get(), nullptr, nullptr);
    EXPECT_TRUE(fresh.file == "<buffer>" && fresh.line == 2 && fresh.column == 11) << fresh.file;

    char path[] = "/tmp/vantle-location-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    const std::string json = "{\"classes\": [{\"name\": \"A.B\"}]}";
    ASSERT_EQ(write(fd, json.data(), json.size()), static_cast<ssize_t>(json.size()));
    close(fd);
    ASSERT_EQ(LoadFile(manager_.get(), path).status, S_OK);
    std::remove(path);
    const Place inFile = Locate(Node(manager_.get(), "A.B").get(), nullptr, nullptr);
    EXPECT_TRUE(inFile.file == path && inFile.line == 1 && inFile.column == 24) << inFile.file;
}

// Columns are UTF-16 units of the text as written: escapes count as typed, a
// character beyond U+FFFF counts two, the byte order mark counts none, and CR LF
// ends a line like LF.
TEST(LocationColumns, CountUtf16UnitsOfTheTextAsWritten) {
    const std::u16string beforeName =
        u"{\"classes\": [{\"description\": \"\u00e9\u20ac\U0001F600 \\\"\\u00e9\\\"\", \"name\": \"";
    const std::string json =
        "\xEF\xBB\xBF{\"classes\": [{\"description\": \"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 \\\"\\u00e9\\\"\", "
        "\"name\": \"U.Wide\"},\r\n {\"name\": \"U.Next\", \"methods\": [{\"name\": \"M\"}]}]}";
    auto manager = NewTree();
    auto outcome = Load(manager.get(), json);
    ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    const Place wide = Locate(Node(manager.get(), "U.Wide").get(), "", nullptr);
    EXPECT_EQ(wide.line, 1u);
    EXPECT_EQ(wide.column, beforeName.size() + 1);
    const Place next = Locate(Node(manager.get(), "U.Next").get(), "m", "M");
    EXPECT_TRUE(next.line == 2 && next.column == 43) << next.line << ":" << next.column;

    // The messages count the same way.
    outcome = Load(manager.get(), "{\"classes\": [{\"description\": \"\xF0\x9F\x98\x80\", \"classType\": 1, \"name\": \"U.A\"}]}");
    EXPECT_EQ(outcome.message.rfind("test.json:1:49: ", 0), 0u) << outcome.message;
}

TEST(LocationColumns, HoldAcrossAWholeDictionaryOnOneLine) {
    std::string json = "{\"classes\": [";
    for (int c = 0; c < 40; ++c) {
        json += std::string(c ? "," : "") + "{\"methods\": [{\"name\": \"M" + std::to_string(c) +
                "\"}, {\"name\": \"Run\"}], \"name\": \"One.C" + std::to_string(c) + "\"}";
    }
    json += "]}";
    auto manager = NewTree();
    ASSERT_EQ(Load(manager.get(), json).status, S_OK);
    for (int c = 0; c < 40; c += 13) {
        std::string cls = "One.C";  // appended: GCC 12 at -O3 warns falsely about "text" + string
        cls += std::to_string(c);
        auto node = Node(manager.get(), cls);
        std::string method = "M";
        method += std::to_string(c);
        for (const std::string& name : {cls, method, std::string("Run")}) {
            const Place at = Locate(node.get(), name == cls ? "" : "m", name.c_str());
            EXPECT_EQ(at.line, 1u);
            EXPECT_EQ(TextAt(json, 1, at.column - 1, name.size() + 2), "\"" + name + "\"") << name;
        }
    }
}

// One dictionary with a problem of almost every kind; each comes with the place
// and a phrase of its message, in file order.
TEST(LoadErrors, AreAllFoundAndListedInFileOrder) {
    const std::string json =
        "{\"format\": \"vantle-class-dictionary/1\", \"classes\": [\n"
        " {\"name\": \"Bad.One\", \"super\": [\"Bad.Missing\"], \"description\": [{\"name\": 1}],\n"
        "  \"methods\": [{\"name\": \"Run\"}, {\"name\": \"Run\", \"retunType\": {\"nested\": [1, {\"private\": "
        "\"x\"}]}},\n"
        "              {\"name\": \"Run\"}, {\"private\": true}],\n"
        "  \"properties\": [{\"name\": \"P\", \"collection\": \"set\"}, {\"name\": \"Q\", \"private\": \"no\"}, "
        "\"oops\"]},\n"
        " {\"name\": \"Bad Two\", \"methods\": [{\"name\": \"A b\"}]},\n"
        " {\"description\": \"nameless\", \"super\": [\"Nowhere\"], \"methods\": [{\"name\": \"X\"}, {\"name\": "
        "\"X\"}]},\n"
        " {\"name\": \"Bad.Cycle1\", \"super\": [\"Cycle2\"]},\n"
        " {\"name\": \"Bad.Cycle2\", \"super\": [\"Cycle1\"]},\n"
        " {\"name\": \"Bad.One\"}]}";
    const std::pair<const char*, const char*> expected[] = {
        {"2:32", "super class \"Bad.Missing\" does not exist (class Bad.One)"},
        {"2:63", "\"description\" must be a string, not an array (class Bad.One)"},
        {"3:41", "method \"Run\" is defined twice in this class (first at line 3, column 24) (class Bad.One)"},
        {"3:48", "unknown key \"retunType\" in a method"},
        {"4:24", "method \"Run\" is defined twice in this class (first at line 3, column 24) (class Bad.One)"},
        {"4:32", "this method has no \"name\" (class Bad.One)"},
        {"5:46", "\"collection\" must be \"list\", \"array\" or \"\", not \"set\" (class Bad.One, property P)"},
        {"5:79", "\"private\" must be true or false, not a string (class Bad.One, property Q)"},
        {"5:86", "each entry of \"properties\" must be an object, not a string (class Bad.One)"},
        {"6:11", "a class name must not hold blanks or control characters: \"Bad Two\""},
        {"6:43", "a method name must not hold blanks or control characters: \"A b\" (class Bad Two)"},
        {"7:2", "this class has no \"name\""},
        {"7:88", "method \"X\" is defined twice in this class (first at line 7, column 73)"},
        {"9:35", "the super classes form a cycle: Bad.Cycle1 -> Bad.Cycle2 -> Bad.Cycle1 (class Bad.Cycle2)"},
        {"10:11", "class \"Bad.One\" is defined twice (first at line 2, column 11)"},
    };
    auto manager = NewTree();
    auto outcome = Load(manager.get(), json, "shop.json");
    EXPECT_EQ(outcome.status, TNODE_E_CLASSNOTEXIST) << "the status of the problem that comes first";
    const std::vector<std::string> lines = Lines(LoadErrors(manager.get(), S_OK));
    ASSERT_EQ(lines.size(), std::size(expected)) << LoadErrors(manager.get(), S_OK);
    EXPECT_EQ(outcome.message, lines[0]);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].rfind(std::string("shop.json:") + expected[i].first + ": ", 0), 0u) << lines[i];
        EXPECT_NE(lines[i].find(expected[i].second), std::string::npos) << lines[i];
    }
}

TEST(LoadErrors, ReadingStopsAtASyntaxErrorAForeignFormatOrTheHundredthProblem) {
    auto manager = NewTree();
    // Without the end of the file, A.Later is not known: no word about it.
    auto outcome = Load(manager.get(),
                        "{\"classes\": [{\"name\": \"A.B\", \"super\": [\"A.Later\"], \"methods\": [{\"name\": \"M\", "
                        "\"private\": 1}]},\n {\"name\": \"A.C\" \"oops\"}, {\"name\": \"A.Later\"}]}");
    EXPECT_EQ(outcome.status, TNODE_E_KEYWORD);
    std::vector<std::string> lines = Lines(LoadErrors(manager.get(), S_OK));
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].rfind("test.json:1:89: \"private\" must be true or false, not a number", 0), 0u) << lines[0];
    EXPECT_EQ(lines[1].rfind("test.json:2:17: syntax error", 0), 0u) << lines[1];

    ASSERT_NE(Load(manager.get(), R"({"format": "other/2", "classes": [{"name": "x y"}, {"bogus": 1}]})").status, S_OK);
    lines = Lines(LoadErrors(manager.get(), S_OK));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("unsupported format"), std::string::npos) << lines[0];

    std::string json = R"({"classes": [{"name": "A.B", "super": ["A.Nowhere"], "methods": [)";
    for (int i = 0; i < 150; ++i) json += std::string(i ? "," : "") + R"({"name": "M)" + std::to_string(i) + R"(", "x": 1})";
    ASSERT_EQ(Load(manager.get(), json + "]}]}").status, TNODE_E_KEYWORD);
    lines = Lines(LoadErrors(manager.get(), S_OK));
    ASSERT_EQ(lines.size(), 100u);
    EXPECT_NE(lines.back().find("method M99)"), std::string::npos) << lines.back();
}

TEST(LoadErrors, DescribeTheLastLoadOnly) {
    auto manager = NewTree();
    EXPECT_EQ(LoadErrors(manager.get(), S_FALSE), "") << "before any load";
    ASSERT_NE(Load(manager.get(), R"({"classes": [{"name": "A.B", "bogus": 1}]})").status, S_OK);
    ASSERT_EQ(Load(manager.get(), R"({"classes": [{"name": "A.B"}]})").status, S_OK);
    EXPECT_EQ(LoadErrors(manager.get(), S_FALSE), "") << "a good load clears them";

    auto missing = LoadFile(manager.get(), "/nonexistent/dir/shop.json");
    EXPECT_EQ(missing.status, STG_E_FILENOTFOUND);
    EXPECT_EQ(LoadErrors(manager.get(), S_OK), missing.message + "\n") << "a problem of the whole file has no place";
    EXPECT_EQ(manager->LoadDictionaryBuffer(nullptr, 5, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(LoadErrors(manager.get(), S_FALSE), "") << "a load refused before reading";
    EXPECT_EQ(manager->GetLoadErrors(nullptr), E_POINTER);

    kesto::Ref<COM_ITNodeElement> node;
    EXPECT_EQ(manager->GetClassNode(W("A.B"), node.out()), S_OK) << "the good tree stays";
}

// The new operations sit in the slots an editor built against the binary contract
// calls, and implementations that lack them answer E_NOTIMPL with their outputs
// cleared.
TEST(LocationSlots, AreReachedByNumberAndDefaultToNotImplemented) {
    auto manager = NewTree();
    ASSERT_NE(Load(manager.get(), "{\"classes\": [{\"name\": \"A.B\", \"bogus\": 1}]}").status, S_OK);
    BSTR errors = nullptr;
    EXPECT_EQ(CallSlot<HRESULT>(manager.get(), 11, &errors), S_OK);
    EXPECT_EQ(Take(errors).rfind("test.json:1:30: unknown key", 0), 0u);
    ASSERT_EQ(Load(manager.get(), "{\"classes\": [{\"name\": \"A.B\"}]}").status, S_OK);
    auto node = Node(manager.get(), "A.B");
    BSTR file = nullptr;
    unsigned int line = 0, column = 0;
    EXPECT_EQ(CallSlot<HRESULT>(node.get(), 10, static_cast<CBSTR>(nullptr), static_cast<CBSTR>(nullptr), &file,
                                &line, &column),
              S_OK);
    EXPECT_EQ(Take(file), "test.json");
    EXPECT_TRUE(line == 1 && column == 24);

    struct BareNode : COM_ITNodeElement {
        HRESULT QueryInterface(const COM_GUID&, void**) override { return E_NOINTERFACE; }
        unsigned long AddRef() override { return 1; }
        unsigned long Release() override { return 1; }
        HRESULT OpenChildren(CBSTR, CBSTR, int, COM_IStringCollection**) override { return E_NOTIMPL; }
        HRESULT GetKeyword(CBSTR, BSTR*, int*, int*, int*) override { return E_NOTIMPL; }
    } bareNode;
    file = reinterpret_cast<BSTR>(1);
    line = column = 7;
    EXPECT_EQ(bareNode.GetLocation(nullptr, nullptr, &file, &line, &column), E_NOTIMPL);
    EXPECT_TRUE(file == nullptr && line == 0 && column == 0);
    struct BareManager : COM_ITNodeManager {
        HRESULT QueryInterface(const COM_GUID&, void**) override { return E_NOINTERFACE; }
        unsigned long AddRef() override { return 1; }
        unsigned long Release() override { return 1; }
        HRESULT GetClassNode(CBSTR, COM_ITNodeElement**) override { return E_NOTIMPL; }
        HRESULT NormalizeName(CBSTR, CBSTR, BSTR*) override { return E_NOTIMPL; }
    } bareManager;
    errors = reinterpret_cast<BSTR>(1);
    EXPECT_EQ(bareManager.GetLoadErrors(&errors), E_NOTIMPL);
    EXPECT_EQ(errors, nullptr);
}

}  // namespace
