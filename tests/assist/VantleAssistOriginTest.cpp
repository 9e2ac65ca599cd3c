// Member origin: which class defines a method, property or class parameter.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {


class OriginTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Method(u"Save").Set(u"2", u"%Library.Persistent");
        cart.Method(u"Total").Set(u"2", u"Shop.Cart");
        cart.Method(u"Blank").NullAnswer();
        cart.Property(u"Owner").Set(u"2", u"Shop.Base").Inherited();
        cart.Parameter(u"MAXLEN").Set(u"2", u"shop.base");  // kept exactly as the tree stores it
        tree.Alias(u"Cart", u"Shop.Cart");
    }

    Result Origin(const char16_t* member, int kind, const char16_t* className = u"Cart") {
        BSTR origin = reinterpret_cast<BSTR>(0x1);
        HRESULT hr = Assist2()->GetMemberOrigin(W(className), W(member), static_cast<SYMBOL_KIND>(kind), &origin);
        return {hr, Take(origin)};
    }
};

struct KindCase {
    int kind;
    const char16_t* member;
    const char16_t* childKind;  // nullptr: nothing is enumerated
    HRESULT expected;
    const char16_t* origin;     // nullptr: no origin
};

class OriginKindsTest : public OriginTest, public ::testing::WithParamInterface<KindCase> {};

TEST_P(OriginKindsTest, KindChoosesTheChildrenSearched) {
    const KindCase& c = GetParam();
    InitializeWithTree();
    EXPECT_EQ(Origin(c.member, c.kind), Result(c.expected, Opt(c.origin)));
    std::vector<fakes::ChildrenRequest> asked;
    if (c.childKind != nullptr) asked.push_back({c.childKind, u"1:2", 1});
    EXPECT_EQ(tree.Records().children, asked);
}

INSTANTIATE_TEST_SUITE_P(Kinds, OriginKindsTest,
                         ::testing::Values(KindCase{2, u"Save", u"m", S_OK, u"%Library.Persistent"},
                                           KindCase{4, u"Save", u"m", S_OK, u"%Library.Persistent"},
                                           KindCase{5, u"Owner", u"a", S_OK, u"Shop.Base"},
                                           KindCase{10, u"MAXLEN", u"p", S_OK, u"shop.base"},
                                           KindCase{5, u"Save", u"a", S_FALSE, nullptr},
                                           KindCase{4, u"save", u"m", S_FALSE, nullptr},
                                           KindCase{4, u"Blank", u"m", S_OK, nullptr},
                                           KindCase{6, u"Save", nullptr, S_OK, nullptr},
                                           KindCase{0, u"Save", nullptr, S_OK, nullptr},
                                           KindCase{3, u"Save", nullptr, S_OK, nullptr}));

TEST_F(OriginTest, InheritedMembersFollowTheSwitch) {
    InitializeWithTree();
    ASSERT_EQ(assist->SetSymbol(W(u"INCLUDEINHERITED"), SYMBOL_SYSTEM, W(u"0")), S_OK);
    EXPECT_EQ(Origin(u"Owner", 5), NoText(S_FALSE));
    EXPECT_EQ(tree.Records().children.back().includeInherited, 0);
}

struct FailureCase {
    const char* name;
    TreeCall call;
    unsigned long onCall;
    const char16_t* className;
    HRESULT expected;
};

class OriginFailuresTest : public OriginTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(OriginFailuresTest, TreeCodesArePassedOn) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    if (c.onCall != 0) tree.Fail(c.call, kTreeError, c.onCall);
    EXPECT_EQ(Origin(u"Total", 4, c.className), NoText(c.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Failures, OriginFailuresTest,
    ::testing::Values(FailureCase{"Normalize", TreeCall::kNormalizeName, 1, u"Cart", kTreeError},
                      FailureCase{"ClassNode", TreeCall::kGetClassNode, 1, u"Cart", kTreeError},
                      FailureCase{"UnknownClass", TreeCall::kNext, 0, u"Nowhere", TNODE_E_CLASSNOTEXIST},
                      FailureCase{"FirstNext", TreeCall::kNext, 1, u"Cart", kTreeError},
                      FailureCase{"NextBeforeMatch", TreeCall::kNext, 2, u"Cart", kTreeError}),
    ByName);

TEST_F(OriginTest, NoTreeBadPointerAndNoCollection) {
    EXPECT_EQ(Origin(u"Save", 4), NoText(S_FALSE));
    EXPECT_TRUE(tree.Records().normalize.empty());
    EXPECT_EQ(Assist2()->GetMemberOrigin(W(u"Cart"), W(u"Save"), SYMBOL_MEMBERMETHOD, nullptr), E_POINTER);
    InitializeWithTree();
    tree.Fail(TreeCall::kOpenChildren, kTreeError);
    BSTR origin = reinterpret_cast<BSTR>(0x1);
    EXPECT_THROW(Assist2()->GetMemberOrigin(W(u"Cart"), W(u"Save"), SYMBOL_MEMBERMETHOD, &origin),
                 utlAutoIfBase::XBadPtrException);
    EXPECT_EQ(origin, nullptr);
}

}  // namespace
