// Class nodes and their child listings: inheritance order, overrides, origins and
// keyword answers, as a component reads them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kesto/diagnostics.h"
#include "tree_test_support.h"

namespace {

using treetest::Ref;
using treetest::Take;
using treetest::U;
using treetest::W;

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

struct Entry {
    std::string name;
    std::string values;
    bool operator==(const Entry&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Entry& entry) { return out << entry.name << "=" << entry.values; }

class ClassNodes : public testing::Test {
protected:
    void SetUp() override {
        stringsBefore_ = KESTO_LiveStringCount();
        manager_ = treetest::NewManager();
        ASSERT_TRUE(manager_);
        auto outcome = treetest::LoadText(manager_.get(), kShop);
        ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    }
    void TearDown() override {
        manager_.reset();
        EXPECT_EQ(KESTO_LiveStringCount(), stringsBefore_) << "a string handed out was not freed, or freed twice";
    }

    Ref<COM_ITNodeElement> Node(const char* name) {
        COM_ITNodeElement* node = nullptr;
        std::u16string name16 = U(name);
        EXPECT_EQ(manager_->GetClassNode(W(name16), &node), S_OK) << name;
        return Ref<COM_ITNodeElement>(node);
    }

    std::vector<Entry> List(const char* cls, const char* kind, const char* query, int inherited) {
        auto node = Node(cls);
        std::vector<Entry> entries;
        if (!node) return entries;
        COM_IStringCollection* children = nullptr;
        std::u16string kind16 = U(kind), query16 = U(query);
        EXPECT_EQ(node->OpenChildren(W(kind16), W(query16), inherited, &children), S_OK);
        if (children == nullptr) return entries;
        BSTR name = nullptr, values = nullptr;
        while (children->Next(&name, &values) == S_OK) entries.push_back({Take(name), Take(values)});
        EXPECT_EQ(name, nullptr);
        EXPECT_EQ(values, nullptr);
        EXPECT_EQ(children->Next(&name, &values), S_FALSE) << "the end repeats";
        children->Release();
        return entries;
    }

    std::string Keyword(const char* cls, const char* subscript, int* known = nullptr) {
        auto node = Node(cls);
        BSTR value = nullptr;
        std::u16string subscript16 = U(subscript);
        int a = -1, b = -1, c = -1;
        EXPECT_EQ(node->GetKeyword(W(subscript16), &value, &a, &b, &c), S_OK);
        EXPECT_EQ(b, 0);
        EXPECT_EQ(c, 0);
        if (known) *known = a;
        return Take(value);
    }

    Ref<COM_ITNodeManager> manager_;
    long stringsBefore_ = 0;
};

TEST_F(ClassNodes, OwnMembersOnlyWithoutInheritance) {
    EXPECT_EQ(List("Shop.Order", "m", "1:2", 0), (std::vector<Entry>{{"Total", "10:Shop.Order"}}));
    EXPECT_EQ(List("Shop.Line", "m", "1:2", 0), std::vector<Entry>{});
}

TEST_F(ClassNodes, InheritedMembersComeSortedWithTheNearestDefinitionWinning) {
    EXPECT_EQ(List("Shop.Order", "m", "1:2", 1), (std::vector<Entry>{{"%New", "13:%Library.Base"},
                                                                    {"Check", "13:%Library.Base"},
                                                                    {"Describe", "13:Shop.Document"},
                                                                    {"Log", "10:Shop.Audit"},
                                                                    {"Save", "13:Shop.Document"},
                                                                    {"Total", "10:Shop.Order"}}));
    // Id: Base (depth first through Document) before Audit.
    EXPECT_EQ(List("Shop.Order", "a", "1:21:5", 1),
              (std::vector<Entry>{{"Id", "13:%Library.Base6:%Count"},
                                  {"Lines", "10:Shop.Order9:Shop.Line"},
                                  {"Title", "13:Shop.Document5:%Text"}}));
}

TEST_F(ClassNodes, MethodKeywordsAnswerInTheQueryOrder) {
    auto methods = List("Shop.Order", "m", "2:232:142:392:422:271:41:5", 1);
    ASSERT_EQ(methods.size(), 6u);
    EXPECT_EQ(methods[0], (Entry{"%New", "1:11:01:013:%Library.Base0:0:13:%Library.Base"}));
    EXPECT_EQ(methods[1], (Entry{"Check", "1:01:11:00:0:0:0:"}));
    EXPECT_EQ(methods[2], (Entry{"Describe", "1:01:01:05:%Text0:20:a document's summary5:%Text"}));
    EXPECT_EQ(methods[3], (Entry{"Log", "1:01:01:10:0:0:0:"}));
    EXPECT_EQ(methods[4], (Entry{"Save", "1:01:01:07:%Result32:pName:%Text=\"abc\",&pCount:%Count0:7:%Result"}));
}

TEST_F(ClassNodes, PropertyAndParameterKeywords) {
    EXPECT_EQ(List("Shop.Order", "a", "1:52:272:362:242:142:351:4", 0),
              (std::vector<Entry>{{"Lines", "9:Shop.Line4:list1:18:children1:11:011:order lines"}}));
    EXPECT_EQ(List("Shop.Order", "p", "2:141:21:5", 0), (std::vector<Entry>{{"VERSION", "1:110:Shop.Order0:"}}));
}

TEST_F(ClassNodes, SubscriptsOfAnotherKindOfNodeAnswerEmptyPieces) {
    // "39" is a method's private flag, "42" its return type: not property keywords.
    // "23" is not a property keyword either; "99" and "3" are no keyword at all.
    EXPECT_EQ(List("Shop.Order", "a", "2:392:422:232:991:3", 0), (std::vector<Entry>{{"Lines", "0:0:0:0:0:"}}));
    EXPECT_EQ(List("Shop.Order", "p", "2:352:27", 0), (std::vector<Entry>{{"VERSION", "0:0:"}}));
    EXPECT_EQ(List("Shop.Order", "m", "", 0), (std::vector<Entry>{{"Total", ""}}));
}

TEST_F(ClassNodes, ClassKeywords) {
    int known = -1;
    EXPECT_EQ(Keyword("%Library.Text", "23", &known), "datatype");
    EXPECT_EQ(known, 1);
    EXPECT_EQ(Keyword("Shop.Order", "23"), "");
    EXPECT_EQ(Keyword("Shop.Document", "23"), "persistent");
    EXPECT_EQ(Keyword("Shop.Order", "1"), "Shop.Order");
    EXPECT_EQ(Keyword("Shop.Order", "2"), "Shop.Order");
    EXPECT_EQ(Keyword("Shop.Order", "4"), "an order");
    EXPECT_EQ(Keyword("Shop.Order", "42", &known), "");
    EXPECT_EQ(known, 0);
}

TEST_F(ClassNodes, BadChildKindsAndQueriesAreRefused) {
    auto node = Node("Shop.Order");
    struct Case {
        const char* kind;
        const char* query;
    };
    for (Case bad : {Case{"c", "1:1"}, Case{"mm", "1:1"}, Case{"", "1:1"}, Case{"m", "1"}, Case{"m", "2:1"},
                     Case{"m", "x:1"}, Case{"m", ":1"}, Case{"m", "1:11"}, Case{"m", "99999999:1"}}) {
        COM_IStringCollection* children = reinterpret_cast<COM_IStringCollection*>(1);
        std::u16string kind = U(bad.kind), query = U(bad.query);
        EXPECT_EQ(node->OpenChildren(W(kind), W(query), 1, &children), E_INVALIDARG) << bad.kind << " " << bad.query;
        EXPECT_EQ(children, nullptr);
    }
    std::u16string m = U("m");
    EXPECT_EQ(node->OpenChildren(W(m), nullptr, 1, nullptr), E_POINTER);
}

TEST_F(ClassNodes, RuntimeSlotsDescribeTheClass) {
    auto order = Node("Shop.Order");
    BSTR text = nullptr;
    EXPECT_EQ(order->GetSuperClasses(&text), S_OK);
    EXPECT_EQ(Take(text), "Shop.Document,Shop.Audit,");
    EXPECT_EQ(Node("Shop.Line")->GetSuperClasses(&text), S_FALSE);
    EXPECT_EQ(Take(text), "");
    EXPECT_EQ(order->GetName(&text), S_OK);
    EXPECT_EQ(Take(text), "Shop.Order");
    EXPECT_EQ(order->GetDescription(&text), S_OK);
    EXPECT_EQ(Take(text), "an order");
    unsigned int count = 0;
    std::u16string m = U("m");
    EXPECT_EQ(order->GetChildCount(W(m), 1, &count), S_OK);
    EXPECT_EQ(count, 6u);
    EXPECT_EQ(order->GetChildCount(W(m), 0, &count), S_OK);
    EXPECT_EQ(count, 1u);
}

TEST_F(ClassNodes, AFailedStringAllocationDoesNotConsumeTheEntry) {
    auto node = Node("Shop.Order");
    COM_IStringCollection* children = nullptr;
    std::u16string kind = U("m"), query = U("1:2");
    ASSERT_EQ(node->OpenChildren(W(kind), W(query), 1, &children), S_OK);
    for (unsigned long skip : {0ul, 1ul}) {  // the name fails, then the values
        KESTO_FaultInjectStrings(skip, 1);
        BSTR name = reinterpret_cast<BSTR>(1), values = reinterpret_cast<BSTR>(1);
        EXPECT_EQ(children->Next(&name, &values), E_OUTOFMEMORY);
        EXPECT_EQ(name, nullptr);
        EXPECT_EQ(values, nullptr);
        KESTO_FaultInjectStrings(0, 0);
    }
    BSTR name = nullptr, values = nullptr;
    EXPECT_EQ(children->Next(&name, &values), S_OK);
    EXPECT_EQ(Take(name), "%New");
    EXPECT_EQ(Take(values), "13:%Library.Base");
    children->Release();
}

TEST_F(ClassNodes, NodesAndListingsOutliveReloadsAndTheManager) {
    auto node = Node("Shop.Order");
    COM_IStringCollection* children = nullptr;
    std::u16string kind = U("m"), query = U("1:2");
    ASSERT_EQ(node->OpenChildren(W(kind), W(query), 1, &children), S_OK);
    ASSERT_EQ(treetest::LoadText(manager_.get(), R"({"classes": [{"name": "Other.Thing"}]})").status, S_OK);
    COM_IClassCache* cache = nullptr;
    ASSERT_EQ(manager_->QueryInterface(COM_IID_IClassCache, reinterpret_cast<void**>(&cache)), S_OK);
    EXPECT_EQ(cache->Reset(), S_OK);
    cache->Release();
    manager_.reset();

    unsigned int count = 0;
    EXPECT_EQ(node->GetChildCount(W(kind), 1, &count), S_OK);
    EXPECT_EQ(count, 6u);
    BSTR name = nullptr, values = nullptr;
    int delivered = 0;
    while (children->Next(&name, &values) == S_OK) {
        Take(name);
        Take(values);
        ++delivered;
    }
    EXPECT_EQ(delivered, 6);
    children->Release();
}

TEST_F(ClassNodes, InterfacesOfNodesAndListings) {
    auto node = Node("Shop.Line");
    void* out = nullptr;
    EXPECT_EQ(node->QueryInterface(COM_IID_ITNodeElement, &out), S_OK);
    EXPECT_EQ(out, node.get());
    static_cast<COM_IUnknown*>(out)->Release();
    EXPECT_EQ(node->QueryInterface(COM_IID_ITNodeManager, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    COM_IStringCollection* children = nullptr;
    std::u16string kind = U("p"), query = U("");
    ASSERT_EQ(node->OpenChildren(W(kind), W(query), 0, &children), S_OK);
    EXPECT_EQ(children->QueryInterface(COM_IID_IStringCollection, &out), S_OK);
    EXPECT_EQ(children->Release(), 1u);
    EXPECT_EQ(children->Release(), 0u);
}

// A diamond: both paths reach Root; it is walked once, where depth first meets it
// first, so Left's override of Root's member beats Right's only by position.
TEST(Lineage, DiamondVisitsTheSharedAncestorOnce) {
    auto manager = treetest::NewManager();
    auto outcome = treetest::LoadText(manager.get(), R"({"classes": [
      {"name": "D.Root", "methods": [{"name": "A"}, {"name": "B"}, {"name": "C"}]},
      {"name": "D.Left", "super": ["Root"], "methods": [{"name": "B"}]},
      {"name": "D.Right", "super": ["Root"], "methods": [{"name": "B"}, {"name": "C"}]},
      {"name": "D.Bottom", "super": ["Left", "Right"]}]})");
    ASSERT_EQ(outcome.status, S_OK) << outcome.message;
    COM_ITNodeElement* node = nullptr;
    std::u16string bottom = U("D.Bottom"), kind = U("m"), query = U("1:2");
    ASSERT_EQ(manager->GetClassNode(W(bottom), &node), S_OK);
    COM_IStringCollection* children = nullptr;
    ASSERT_EQ(node->OpenChildren(W(kind), W(query), 1, &children), S_OK);
    std::vector<std::string> got;
    BSTR name = nullptr, values = nullptr;
    while (children->Next(&name, &values) == S_OK) got.push_back(Take(name) + "@" + Take(values));
    EXPECT_EQ(got, (std::vector<std::string>{"A@6:D.Root", "B@6:D.Left", "C@6:D.Root"}));
    children->Release();
    node->Release();
}

}  // namespace
