// Class nodes and their child listings: inheritance order, overrides, origins and
// keyword answers, as a component reads them.
#include <gtest/gtest.h>

#include "AssistService.h"
#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"

namespace {

using kesto::Ref;

// Shop.Order inherits from Document (short name, same package) and Audit. Document
// inherits from %Library.Base. Check is defined by Base and by Audit: the walk is
// depth first, so Base (through Document) is met before Audit and wins.
const char kShop[] = R"({"format": "vantle-class-dictionary/1", "classes": [
  {"name": "%Library.Base", "description": "root of all",
   "methods": [{"name": "%New", "classMethod": true, "returnType": "%Library.Base"},
               {"name": "Describe", "returnType": "%Text"},
               {"name": "Check", "internal": true}],
   "properties": [{"name": "Id", "type": "%Count"}]},
  {"name": "Shop.Document", "super": ["%Base"], "classType": "persistent",
   "methods": [{"name": "Describe", "returnType": "%Text", "description": "a document's summary"},
               {"name": "Save", "returnType": "%Result", "formalSpec": "pName:%Text=\"abc\",&pCount:%Count"}],
   "properties": [{"name": "Title", "type": "%Text", "private": true}]},
  {"name": "Shop.Audit",
   "methods": [{"name": "Save", "returnType": "%Status"}, {"name": "Check"}, {"name": "Log", "private": true}],
   "properties": [{"name": "Id", "type": "%Text"}]},
  {"name": "Shop.Order", "super": ["Document", "Shop.Audit"], "description": "an order",
   "methods": [{"name": "Total", "classMethod": true, "returnType": "%Numeric"}],
   "properties": [{"name": "Lines", "type": "Shop.Line", "collection": "list", "relationship": true,
                   "cardinality": "children", "internal": true, "description": "order lines"}],
   "parameters": [{"name": "VERSION", "default": "1", "internal": true}]},
  {"name": "Shop.Line"},
  {"name": "%Library.Text", "classType": "datatype"}]})";

class ClassNodes : public StringBalanceTest {
protected:
    void SetUp() override {
        auto outcome = Load(manager_.get(), kShop);
        ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    }
    Ref<COM_ITNodeElement> Node(const char* name) {
        Ref<COM_ITNodeElement> node;
        EXPECT_EQ(manager_->GetClassNode(W(name), node.out()), S_OK) << name;
        return node;
    }
    std::string List(const char* cls, const char* kind, const char* query, int inherited) {
        Ref<COM_IStringCollection> children;
        EXPECT_EQ(Node(cls)->OpenChildren(W(kind), W(query), inherited, children.out()), S_OK);
        return children ? Drain(children.get()) : "";
    }
    // "name=values;" for each entry of a listing.
    static std::string Drain(COM_IStringCollection* children) {
        std::string entries;
        kesto::String name, values;
        while (children->Next(name.out(), values.out()) == S_OK) entries += Narrow(name) + "=" + Narrow(values) + ";";
        EXPECT_TRUE(name.is_null() && values.is_null());
        EXPECT_EQ(children->Next(name.out(), values.out()), S_FALSE) << "the end repeats";
        return entries;
    }

    Ref<COM_ITNodeManager> manager_ = NewTree();
};

TEST_F(ClassNodes, ListingsAnswerEachSubscriptInTheQueryOrderWithTheNearestDefinitionWinning) {
    struct Case {
        const char *cls, *kind, *query;
        int inherited;
        const char* entries;
    };
    const Case cases[] = {
        {"Shop.Line", "m", "1:2", 0, ""},
        {"Shop.Order", "m", "1:2", 1,
         "%New=13:%Library.Base;Check=13:%Library.Base;Describe=13:Shop.Document;Log=10:Shop.Audit;"
         "Save=13:Shop.Document;Total=10:Shop.Order;"},
        // Id: Base, depth first through Document, before Audit.
        {"Shop.Order", "a", "1:21:5", 1,
         "Id=13:%Library.Base6:%Count;Lines=10:Shop.Order9:Shop.Line;Title=13:Shop.Document5:%Text;"},
        {"Shop.Document", "m", "2:232:142:392:422:271:41:5", 0,
         "Describe=1:01:01:05:%Text0:20:a document's summary5:%Text;"
         "Save=1:01:01:07:%Result32:pName:%Text=\"abc\",&pCount:%Count0:7:%Result;"},
        {"Shop.Order", "a", "1:52:272:362:242:142:351:4", 0,
         "Lines=9:Shop.Line4:list1:18:children1:11:011:order lines;"},
        {"Shop.Order", "p", "2:141:21:5", 0, "VERSION=1:110:Shop.Order0:;"},
        // Subscripts of another kind of node, or of no keyword at all, answer empty pieces.
        {"Shop.Order", "a", "2:392:422:232:991:3", 0, "Lines=0:0:0:0:0:;"},
        {"Shop.Order", "m", "", 0, "Total=;"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(List(c.cls, c.kind, c.query, c.inherited), c.entries) << c.cls << " " << c.query;
    }
}

TEST_F(ClassNodes, ClassKeywordsAndTheRuntimeSlots) {
    const std::tuple<const char*, const char*, const char*, int> keywords[] = {
        {"%Library.Text", "23", "datatype", 1}, {"Shop.Order", "23", "", 1}, {"Shop.Document", "23", "persistent", 1},
        {"Shop.Order", "1", "Shop.Order", 1},   {"Shop.Order", "4", "an order", 1}, {"Shop.Order", "42", "", 0},
    };
    kesto::String text;
    for (const auto& [cls, subscript, value, known] : keywords) {
        int a = -1, b = -1, c = -1;
        EXPECT_EQ(Node(cls)->GetKeyword(W(subscript), text.out(), &a, &b, &c), S_OK);
        EXPECT_EQ(Narrow(text), value) << cls << " " << subscript;
        EXPECT_TRUE(a == known && b == 0 && c == 0) << cls << " " << subscript;
    }
    auto order = Node("Shop.Order");
    EXPECT_EQ(order->GetSuperClasses(text.out()), S_OK);
    EXPECT_EQ(Narrow(text), "Shop.Document,Shop.Audit,");
    EXPECT_EQ(Node("Shop.Line")->GetSuperClasses(text.out()), S_FALSE);
    EXPECT_EQ(Narrow(text), "");
    EXPECT_EQ(order->GetName(text.out()), S_OK);
    EXPECT_EQ(Narrow(text), "Shop.Order");
    EXPECT_EQ(order->GetDescription(text.out()), S_OK);
    EXPECT_EQ(Narrow(text), "an order");
    unsigned int count = 0;
    EXPECT_EQ(order->GetChildCount(W("m"), 0, &count), S_OK);
    EXPECT_EQ(count, 1u) << "own members only";
}

TEST_F(ClassNodes, BadChildKindsAndQueriesAreRefused) {
    auto node = Node("Shop.Order");
    for (auto [kind, query] : {std::pair{"c", "1:1"}, {"mm", "1:1"}, {"m", "1"}, {"m", "x:1"}, {"m", "1:11"},
                               {"m", "99999999:1"}}) {
        COM_IStringCollection* children = reinterpret_cast<COM_IStringCollection*>(1);
        EXPECT_EQ(node->OpenChildren(W(kind), W(query), 1, &children), E_INVALIDARG) << kind << " " << query;
        EXPECT_EQ(children, nullptr) << "the output is cleared";
    }
    EXPECT_EQ(node->OpenChildren(W("m"), nullptr, 1, nullptr), E_POINTER);
}

TEST_F(ClassNodes, AFailedStringAllocationDoesNotConsumeTheEntry) {
    Ref<COM_IStringCollection> children;
    ASSERT_EQ(Node("Shop.Order")->OpenChildren(W("m"), W("1:2"), 1, children.out()), S_OK);
    for (unsigned long skip : {0ul, 1ul}) {  // the name fails, then the values
        KESTO_FaultInjectStrings(skip, 1);
        BSTR name = reinterpret_cast<BSTR>(1), values = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(children->Next(&name, &values), E_OUTOFMEMORY);
        EXPECT_TRUE(name == nullptr && values == nullptr);
        KESTO_FaultInjectStrings(0, 0);
    }
    EXPECT_EQ(Drain(children.get()).substr(0, 22), "%New=13:%Library.Base;");
}

TEST_F(ClassNodes, NodesAndListingsOutliveReloadsAndTheManagerAndAnswerTheirInterfaces) {
    auto node = Node("Shop.Order");
    Ref<COM_IStringCollection> children;
    ASSERT_EQ(node->OpenChildren(W("m"), W("1:2"), 1, children.out()), S_OK);
    ASSERT_EQ(Load(manager_.get(), R"({"classes": [{"name": "Other.Thing"}]})").status, S_OK);
    Ref<COM_IClassCache> cache;
    ASSERT_EQ(manager_->QueryInterface(COM_IID_IClassCache, cache.out_void()), S_OK);
    EXPECT_EQ(cache->Reset(), S_OK);
    cache.reset();
    manager_.reset();
    unsigned int count = 0;
    EXPECT_EQ(node->GetChildCount(W("m"), 1, &count), S_OK);
    EXPECT_EQ(count, 6u);
    void* out = nullptr;
    EXPECT_EQ(node->QueryInterface(COM_IID_ITNodeElement, &out), S_OK);
    EXPECT_EQ(out, node.get());
    static_cast<COM_IUnknown*>(out)->Release();
    EXPECT_EQ(node->QueryInterface(COM_IID_ITNodeManager, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(children->QueryInterface(COM_IID_IStringCollection, &out), S_OK);
    EXPECT_EQ(children->Release(), 1u);
    EXPECT_EQ(Drain(children.get()), "%New=13:%Library.Base;Check=13:%Library.Base;Describe=13:Shop.Document;"
                               "Log=10:Shop.Audit;Save=13:Shop.Document;Total=10:Shop.Order;");
}

// A diamond: both paths reach Root; it is walked once, where depth first meets it
// first, so Left's override of Root's member beats Right's only by position. The
// walk hands out its strings with a fixed-size copy for short ones: names and
// answers on either side of that size, met in one walk so that each string reuses
// the blocks of the ones before it, must come back exact.
TEST_F(ClassNodes, ADiamondIsWalkedOnceAndStringsOfEverySizeComeBackExact) {
    std::string json = R"({"classes": [
      {"name": "D.Root", "methods": [{"name": "A"}, {"name": "B"}, {"name": "C"}]},
      {"name": "D.Left", "super": ["Root"], "methods": [{"name": "B"}]},
      {"name": "D.Right", "super": ["Root"], "methods": [{"name": "B"}, {"name": "C"}]},
      {"name": "D.Bottom", "super": ["Left", "Right"]},
      {"name": "L.Sizes", "methods": [)";
    std::string expected;
    char first = 'A';
    for (std::size_t length : {1, 40, 2, 31, 32, 33, 8, 30, 29, 37, 38, 16}) {
        std::string name = first++ + std::string(length - 1, 'n');
        std::string type(length, 't');
        // Appended piece by piece: GCC 12 at -O3 takes "text" + string for an overlapping copy.
        json += expected.empty() ? "" : ",";
        json.append(R"({"name": ")").append(name).append(R"(", "returnType": ")").append(type).append(R"("})");
        expected += name + "=" + std::to_string(length) + ":" + type + ";";
    }
    auto outcome = Load(manager_.get(), json + "]}]}");
    ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    EXPECT_EQ(List("D.Bottom", "m", "1:2", 1), "A=6:D.Root;B=6:D.Left;C=6:D.Root;");
    EXPECT_EQ(List("L.Sizes", "m", "2:42", 0), expected);
}

}  // namespace
