// Member type resolution: methods first, then properties with their collection and
// relationship marks.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {


struct Answer {
    HRESULT hr;
    int kind;
    std::optional<Text> type;
    bool operator==(const Answer&) const = default;
};

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
        // Element types resolve against the class that holds the property.
        tree.AliasRelative(u"Order", u"Shop.Cart", u"Shop.Order");
    }

    Answer TypeOf(const char16_t* member, const char16_t* className = u"Cart") {
        SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(77);
        BSTR type = reinterpret_cast<BSTR>(0x1);
        HRESULT hr = assist->GetClassMemberType(W(className), W(member), &kind, &type);
        return {hr, kind, Take(type)};
    }
};

TEST_F(MemberTypeTest, AsksForReturnTypesThenPropertyKeywords) {
    tree.AddClass(u"Shop.Cart").Property(u"Lines").Set(u"5", u"Order").Set(u"27", u"list");
    InitializeWithTree();
    TypeOf(u"Lines");
    std::vector<fakes::ChildrenRequest> expected = {{u"m", u"2:42", 1}, {u"a", u"1:52:272:362:24", 1}};
    EXPECT_EQ(tree.Records().children, expected);
    std::vector<fakes::NormalizeRequest> normalized = {{u"Cart", u""}, {u"Order", u"Shop.Cart"}};
    EXPECT_EQ(tree.Records().normalize, normalized);
}

TEST_F(MemberTypeTest, MethodsWinAndNamesMatchExactly) {
    InitializeWithTree();
    const Answer none{S_FALSE, 0, std::nullopt};
    std::vector<std::pair<const char16_t*, Answer>> rows = {
        {u"Total", {S_OK, SYMBOL_MEMBERMETHOD, u"%Numeric"}}, {u"Both", {S_OK, SYMBOL_MEMBERMETHOD, u"%Status"}},
        {u"Clear", {S_OK, SYMBOL_MEMBERMETHOD, u""}},         {u"Silent", {S_OK, SYMBOL_MEMBERMETHOD, std::nullopt}},
        {u"Name", none}, {u"Tota", none}, {u"Totals", none},  {u"name", {S_OK, SYMBOL_PROPERTY, u"%Text"}},
        {u"Bare", {S_OK, SYMBOL_PROPERTY, u""}},              {u"Cut", {S_OK, SYMBOL_PROPERTY, u"%Te"}},
    };
    for (const auto& [member, answer] : rows) {
        size_t asked = tree.Records().children.size();
        EXPECT_EQ(TypeOf(member), answer);
        // No property search after a method is found.
        if (answer.kind == SYMBOL_MEMBERMETHOD) { EXPECT_EQ(tree.Records().children.size(), asked + 1); }
    }
}

struct PropertyCase {
    const char* name;
    const char16_t* collection;
    const char16_t* relationship;
    const char16_t* cardinality;
    const char16_t* shown;
};

class PropertyTypeTest : public MemberTypeTest, public ::testing::WithParamInterface<PropertyCase> {};

TEST_P(PropertyTypeTest, CollectionBeforeRelationshipEachByItsFirstLetter) {
    const PropertyCase& c = GetParam();
    tree.AddClass(u"Shop.Cart").Property(u"P").Set(u"5", u"Order").Set(u"27", c.collection)
        .Set(u"36", c.relationship).Set(u"24", c.cardinality);
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"P"), (Answer{S_OK, SYMBOL_PROPERTY, Text(c.shown)}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyTypeTest,
    ::testing::Values(PropertyCase{"PlainNotNormalized", u"", u"0", u"many", u"Order"},
                      PropertyCase{"Array", u"array", u"", u"", u"array of Shop.Order"},
                      PropertyCase{"List", u"list", u"", u"", u"list of Shop.Order"},
                      PropertyCase{"OtherCollection", u"bag", u"0", u"", u"Order"},
                      PropertyCase{"One", u"", u"1", u"one", u"Shop.Order"},
                      PropertyCase{"Parent", u"", u"1", u"parent", u"Shop.Order"},
                      PropertyCase{"Many", u"", u"1", u"many", u"relm of Shop.Order"},
                      PropertyCase{"Children", u"", u"1", u"children", u"relm of Shop.Order"},
                      PropertyCase{"NoCardinality", u"", u"1", u"", u"relm of Shop.Order"},
                      PropertyCase{"OtherCollectionRelationship", u"bag", u"1", u"one", u"Shop.Order"},
                      PropertyCase{"ArrayWinsOverMany", u"array", u"1", u"many", u"array of Shop.Order"}),
    ByName);

TEST_F(MemberTypeTest, FailedTypeNormalisationShowsTheRawTypeWithItsCode) {
    tree.AddClass(u"Shop.Cart").Property(u"Lines").Set(u"5", u"Order").Set(u"27", u"array");
    InitializeWithTree();
    tree.Fail(TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 2);
    EXPECT_EQ(TypeOf(u"Lines"), (Answer{TNODE_E_INVALIDCLASSNAME, SYMBOL_PROPERTY, u"array of Order"}));
}

struct FailureCase {
    const char* name;
    TreeCall call;
    unsigned long onCall;
    const char16_t* member;
    Answer expected;
};

class MemberTypeFailuresTest : public MemberTypeTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(MemberTypeFailuresTest, ClearsBothOutputsOrSearchesOn) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    tree.Fail(c.call, kTreeError, c.onCall);
    EXPECT_EQ(TypeOf(c.member), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Failures, MemberTypeFailuresTest,
    ::testing::Values(FailureCase{"Normalize", TreeCall::kNormalizeName, 0, u"Total", {S_FALSE, 0, {}}},
                      FailureCase{"ClassNode", TreeCall::kGetClassNode, 0, u"Total", {S_FALSE, 0, {}}},
                      FailureCase{"OpenMethods", TreeCall::kOpenChildren, 1, u"Total", {kTreeError, 0, {}}},
                      FailureCase{"OpenProperties", TreeCall::kOpenChildren, 2, u"name", {kTreeError, 0, {}}},
                      // A failing method walk goes on to the properties, whose own failure counts.
                      FailureCase{"MethodNext", TreeCall::kNext, 1, u"name", {S_OK, SYMBOL_PROPERTY, u"%Text"}},
                      FailureCase{"PropertyNext", TreeCall::kNext, 6, u"name", {kTreeError, 0, {}}}),
    ByName);

TEST_F(MemberTypeTest, WithoutATreeNothingIsAsked) {
    EXPECT_EQ(TypeOf(u"Total"), (Answer{S_FALSE, 0, std::nullopt}));
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"Total", u"Nowhere"), (Answer{S_FALSE, 0, std::nullopt}));
    SYMBOL_KIND kind{};
    EXPECT_EQ(assist->GetClassMemberType(W(u"Cart"), W(u"Total"), &kind, nullptr), E_POINTER);
}

}  // namespace
