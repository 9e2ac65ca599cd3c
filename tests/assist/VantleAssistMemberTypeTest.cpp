// Member type resolution: methods first, then properties with their collection and
// relationship marks.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

using fakes::TreeCall;

const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);

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

void PrintTo(const Answer& answer, std::ostream* os) {
    *os << "{hr " << std::hex << answer.hr << std::dec << ", kind " << answer.kind << ", type "
        << (answer.type ? "\"" + Narrow(*answer.type) + "\"" : std::string("NULL")) << "}";
}

TEST_F(MemberTypeTest, AsksForReturnTypesThenPropertyKeywords) {
    tree.AddClass(u"Shop.Cart").Property(u"Lines").Set(u"5", u"Order").Set(u"27", u"list");
    InitializeWithTree();
    TypeOf(u"Lines");
    std::vector<fakes::ChildrenRequest> expected = {{u"m", u"2:42", 1}, {u"a", u"1:52:272:362:24", 1}};
    EXPECT_EQ(tree.Records().children, expected);
    std::vector<fakes::NormalizeRequest> normalized = {{u"Cart", u""}, {u"Order", u"Shop.Cart"}};
    EXPECT_EQ(tree.Records().normalize, normalized);
}

TEST_F(MemberTypeTest, MethodsAnswerWithTheirReturnType) {
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"Total"), (Answer{S_OK, SYMBOL_MEMBERMETHOD, u"%Numeric"}));
    EXPECT_EQ(TypeOf(u"Both"), (Answer{S_OK, SYMBOL_MEMBERMETHOD, u"%Status"}));  // a method wins
    EXPECT_EQ(TypeOf(u"Clear"), (Answer{S_OK, SYMBOL_MEMBERMETHOD, u""}));
    EXPECT_EQ(TypeOf(u"Silent"), (Answer{S_OK, SYMBOL_MEMBERMETHOD, std::nullopt}));
    EXPECT_EQ(tree.Records().children.size(), 4u);  // no property search after a method
}

TEST_F(MemberTypeTest, NamesMatchExactly) {
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"Name"), (Answer{S_FALSE, 0, std::nullopt}));
    EXPECT_EQ(TypeOf(u"Tota"), (Answer{S_FALSE, 0, std::nullopt}));
    EXPECT_EQ(TypeOf(u"Totals"), (Answer{S_FALSE, 0, std::nullopt}));
    EXPECT_EQ(TypeOf(u"name"), (Answer{S_OK, SYMBOL_PROPERTY, u"%Text"}));
}

struct PropertyCase {
    const char* name;
    const char16_t* type;
    const char16_t* collection;
    const char16_t* relationship;
    const char16_t* cardinality;
    const char16_t* shown;
};

class PropertyTypeTest : public MemberTypeTest, public ::testing::WithParamInterface<PropertyCase> {};

TEST_P(PropertyTypeTest, CollectionBeforeRelationshipEachByItsFirstLetter) {
    const PropertyCase& c = GetParam();
    tree.AddClass(u"Shop.Cart")
        .Property(u"P")
        .Set(u"5", c.type)
        .Set(u"27", c.collection)
        .Set(u"36", c.relationship)
        .Set(u"24", c.cardinality);
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"P"), (Answer{S_OK, SYMBOL_PROPERTY, Text(c.shown)}));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, PropertyTypeTest,
    ::testing::Values(PropertyCase{"Plain", u"%Text", u"", u"", u"", u"%Text"},
                      PropertyCase{"PlainNotNormalized", u"Order", u"", u"0", u"many", u"Order"},
                      PropertyCase{"Array", u"Order", u"array", u"", u"", u"array of Shop.Order"},
                      PropertyCase{"List", u"Order", u"list", u"", u"", u"list of Shop.Order"},
                      PropertyCase{"OtherCollection", u"Order", u"bag", u"0", u"", u"Order"},
                      PropertyCase{"One", u"Order", u"", u"1", u"one", u"Shop.Order"},
                      PropertyCase{"Parent", u"Order", u"", u"1", u"parent", u"Shop.Order"},
                      PropertyCase{"Many", u"Order", u"", u"1", u"many", u"relm of Shop.Order"},
                      PropertyCase{"Children", u"Order", u"", u"1", u"children", u"relm of Shop.Order"},
                      PropertyCase{"NoCardinality", u"Order", u"", u"1", u"", u"relm of Shop.Order"},
                      PropertyCase{"OtherCollectionRelationship", u"Order", u"bag", u"1", u"one", u"Shop.Order"},
                      PropertyCase{"ArrayWinsOverMany", u"Order", u"array", u"1", u"many", u"array of Shop.Order"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MemberTypeTest, FailedTypeNormalisationShowsTheRawTypeWithItsCode) {
    tree.AddClass(u"Shop.Cart").Property(u"Lines").Set(u"5", u"Order").Set(u"27", u"array");
    InitializeWithTree();
    tree.Fail(TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 2);
    EXPECT_EQ(TypeOf(u"Lines"), (Answer{TNODE_E_INVALIDCLASSNAME, SYMBOL_PROPERTY, u"array of Order"}));
}

TEST_F(MemberTypeTest, PropertyWithoutAnswerHasAnEmptyType) {
    tree.AddClass(u"Shop.Cart").Property(u"Bare").NullAnswer();
    tree.AddClass(u"Shop.Cart").Property(u"Cut").Raw(u"9:%Te");  // a piece cut short by the tree
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"Bare"), (Answer{S_OK, SYMBOL_PROPERTY, u""}));
    EXPECT_EQ(TypeOf(u"Cut"), (Answer{S_OK, SYMBOL_PROPERTY, u"%Te"}));
}

struct FailureCase {
    const char* name;
    TreeCall call;
    unsigned long onCall;
    const char16_t* member;
    HRESULT expected;
};

class MemberTypeFailuresTest : public MemberTypeTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(MemberTypeFailuresTest, ClearsBothOutputs) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    tree.Fail(c.call, kTreeError, c.onCall);
    EXPECT_EQ(TypeOf(c.member), (Answer{c.expected, 0, std::nullopt}));
}

INSTANTIATE_TEST_SUITE_P(
    Failures, MemberTypeFailuresTest,
    ::testing::Values(FailureCase{"Normalize", TreeCall::kNormalizeName, 0, u"Total", S_FALSE},
                      FailureCase{"ClassNode", TreeCall::kGetClassNode, 0, u"Total", S_FALSE},
                      FailureCase{"OpenMethods", TreeCall::kOpenChildren, 1, u"Total", kTreeError},
                      FailureCase{"OpenProperties", TreeCall::kOpenChildren, 2, u"name", kTreeError},
                      // A failing method walk goes on to the properties, whose own failure counts.
                      FailureCase{"PropertyNext", TreeCall::kNext, 6, u"name", kTreeError}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MemberTypeTest, MethodWalkFailureStillSearchesProperties) {
    InitializeWithTree();
    tree.Fail(TreeCall::kNext, kTreeError, 1);
    EXPECT_EQ(TypeOf(u"name"), (Answer{S_OK, SYMBOL_PROPERTY, u"%Text"}));
}

TEST_F(MemberTypeTest, WithoutATreeNothingIsAsked) {
    EXPECT_EQ(TypeOf(u"Total"), (Answer{S_FALSE, 0, std::nullopt}));
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    EXPECT_EQ(TypeOf(u"Total", u"Nowhere"), (Answer{S_FALSE, 0, std::nullopt}));
    SYMBOL_KIND kind{};
    EXPECT_EQ(assist->GetClassMemberType(W(u"Cart"), W(u"Total"), &kind, nullptr), E_POINTER);
}

}  // namespace
