// Member type resolution: methods first, then properties with their collection and
// relationship marks.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

struct Answer {
    HRESULT hr;
    int kind;
    std::string type;
    bool operator==(const Answer&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Answer& a) { return out << a.hr << " " << a.kind << " " << a.type; }
const Answer kNone{S_FALSE, 0, "(null)"};

class MemberTypeTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Method(u"Total").Set(u"42", u"%Numeric");
        cart.Method(u"Clear").Raw(u"0:");
        cart.Method(u"Both").Set(u"42", u"%Status");
        cart.Method(u"Silent").NullAnswer();
        cart.Property(u"Both").Set(u"5", u"%Text");
        cart.Property(u"name").Set(u"5", u"%Text");
        cart.Property(u"Bare").NullAnswer();
        cart.Property(u"Cut").Raw(u"9:%Te");  // a piece cut short by the tree
        tree.Alias(u"Cart", u"Shop.Cart");
        tree.Alias(u"Order", u"Shop.Order");
    }

    Answer TypeOf(const char16_t* member, const char16_t* className = u"Cart") {
        SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(77);
        BSTR type = reinterpret_cast<BSTR>(0x1);
        HRESULT hr = assist->GetClassMemberType(W(className), W(member), &kind, &type);
        return {hr, kind, Take(type)};
    }
};

TEST_F(MemberTypeTest, MethodsWinAndNamesMatchExactly) {
    InitializeWithTree();
    const std::pair<const char16_t*, Answer> rows[] = {
        {u"Total", {S_OK, SYMBOL_MEMBERMETHOD, "%Numeric"}},  {u"Both", {S_OK, SYMBOL_MEMBERMETHOD, "%Status"}},
        {u"Clear", {S_OK, SYMBOL_MEMBERMETHOD, ""}},          {u"Silent", {S_OK, SYMBOL_MEMBERMETHOD, "(null)"}},
        {u"Name", kNone}, {u"Tota", kNone}, {u"Totals", kNone}, {u"name", {S_OK, SYMBOL_PROPERTY, "%Text"}},
        {u"Bare", {S_OK, SYMBOL_PROPERTY, ""}},               {u"Cut", {S_OK, SYMBOL_PROPERTY, "%Te"}},
    };
    for (const auto& [member, answer] : rows) {
        size_t asked = tree.Records().children.size();
        EXPECT_EQ(TypeOf(member), answer) << Narrow(W(member));
        // No property search after a method is found.
        if (answer.kind == SYMBOL_MEMBERMETHOD) { EXPECT_EQ(tree.Records().children.size(), asked + 1); }
    }
    EXPECT_EQ(tree.Records().children[0], (fakes::ChildrenRequest{u"m", u"2:42", 1}));
}

TEST_F(MemberTypeTest, CollectionBeforeRelationshipEachByItsFirstLetter) {
    struct Case {
        const char16_t *collection, *relationship, *cardinality;
        const char* shown;
    };
    const Case cases[] = {
        {u"", u"0", u"many", "Order"},  // a plain type is not normalised
        {u"array", u"", u"", "array of Shop.Order"},
        {u"list", u"", u"", "list of Shop.Order"},
        {u"bag", u"0", u"", "Order"},
        {u"", u"1", u"one", "Shop.Order"},
        {u"", u"1", u"parent", "Shop.Order"},
        {u"", u"1", u"many", "relm of Shop.Order"},
        {u"", u"1", u"children", "relm of Shop.Order"},
        {u"", u"1", u"", "relm of Shop.Order"},
        {u"bag", u"1", u"one", "Shop.Order"},
        {u"array", u"1", u"many", "array of Shop.Order"},
    };
    fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
    for (const Case& c : cases) {
        cart.properties.clear();
        cart.Property(u"P").Set(u"5", u"Order").Set(u"27", c.collection).Set(u"36", c.relationship)
            .Set(u"24", c.cardinality);
        InitializeWithTree();
        EXPECT_EQ(TypeOf(u"P"), (Answer{S_OK, SYMBOL_PROPERTY, c.shown}));
    }
    EXPECT_EQ(tree.Records().children.back(), (fakes::ChildrenRequest{u"a", u"1:52:272:362:24", 1}));
    EXPECT_EQ(tree.Records().normalize.back(), (fakes::NormalizeRequest{u"Order", u"Shop.Cart"}))
        << "element types resolve against the class that holds the property";
    tree.Fail(TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 2);
    EXPECT_EQ(TypeOf(u"P"), (Answer{TNODE_E_INVALIDCLASSNAME, SYMBOL_PROPERTY, "array of Order"}))
        << "a failed type normalisation shows the raw type with its code";
}

TEST_F(MemberTypeTest, FailuresClearBothOutputsOrSearchOn) {
    struct Case {
        TreeCall call;
        unsigned long onCall;
        const char16_t* member;
        Answer expected;
    };
    const Case cases[] = {
        {TreeCall::kNormalizeName, 0, u"Total", kNone},
        {TreeCall::kGetClassNode, 0, u"Total", kNone},
        {TreeCall::kOpenChildren, 1, u"Total", {kTreeError, 0, "(null)"}},
        {TreeCall::kOpenChildren, 2, u"name", {kTreeError, 0, "(null)"}},
        // A failing method walk goes on to the properties, whose own failure counts.
        {TreeCall::kNext, 1, u"name", {S_OK, SYMBOL_PROPERTY, "%Text"}},
        {TreeCall::kNext, 6, u"name", {kTreeError, 0, "(null)"}},
    };
    EXPECT_EQ(TypeOf(u"Total"), kNone) << "without a tree nothing is asked";
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    for (const Case& c : cases) {
        tree.ClearFailures();
        tree.Fail(c.call, kTreeError, c.onCall);
        EXPECT_EQ(TypeOf(c.member), c.expected) << static_cast<int>(c.call) << " " << c.onCall;
    }
    tree.ClearFailures();
    EXPECT_EQ(TypeOf(u"Total", u"Nowhere"), kNone);
    SYMBOL_KIND kind{};
    EXPECT_EQ(assist->GetClassMemberType(W(u"Cart"), W(u"Total"), &kind, nullptr), E_POINTER);
}

}  // namespace
