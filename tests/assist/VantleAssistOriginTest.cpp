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
        HRESULT hr = assist2->GetMemberOrigin(W(className), W(member), static_cast<SYMBOL_KIND>(kind), &origin);
        return {hr, Take(origin)};
    }
};

TEST_F(OriginTest, KindChoosesTheChildrenSearched) {
    struct Case {
        int kind;
        const char16_t* member;
        const char16_t* childKind;  // nullptr: nothing is enumerated
        Result expected;
    };
    const Case cases[] = {
        {2, u"Save", u"m", {S_OK, "%Library.Persistent"}}, {4, u"Save", u"m", {S_OK, "%Library.Persistent"}},
        {5, u"Owner", u"a", {S_OK, "Shop.Base"}},          {10, u"MAXLEN", u"p", {S_OK, "shop.base"}},
        {5, u"Save", u"a", {S_FALSE, "(null)"}},           {4, u"save", u"m", {S_FALSE, "(null)"}},
        {4, u"Blank", u"m", {S_OK, "(null)"}},             {6, u"Save", nullptr, {S_OK, "(null)"}},
        {0, u"Save", nullptr, {S_OK, "(null)"}},           {3, u"Save", nullptr, {S_OK, "(null)"}},
    };
    InitializeWithTree();
    for (const Case& c : cases) {
        const size_t asked = tree.Records().children.size();
        EXPECT_EQ(Origin(c.member, c.kind), c.expected) << c.kind << " " << Narrow(W(c.member));
        if (c.childKind == nullptr) {
            EXPECT_EQ(tree.Records().children.size(), asked) << c.kind;
        } else {
            EXPECT_EQ(tree.Records().children.back(), (fakes::ChildrenRequest{c.childKind, u"1:2", 1})) << c.kind;
        }
    }
    ASSERT_EQ(assist->SetSymbol(W(u"INCLUDEINHERITED"), SYMBOL_SYSTEM, W(u"0")), S_OK);
    EXPECT_EQ(Origin(u"Owner", 5), Result(S_FALSE, "(null)")) << "inherited members follow the switch";
}

TEST_F(OriginTest, TreeCodesArePassedOn) {
    const std::tuple<TreeCall, unsigned long, const char16_t*, HRESULT> cases[] = {
        {TreeCall::kNormalizeName, 1, u"Cart", kTreeError},
        {TreeCall::kGetClassNode, 1, u"Cart", kTreeError},
        {TreeCall::kNext, 0, u"Nowhere", TNODE_E_CLASSNOTEXIST},
        {TreeCall::kNext, 1, u"Cart", kTreeError},
        {TreeCall::kNext, 2, u"Cart", kTreeError},  // before the match
    };
    EXPECT_EQ(Origin(u"Save", 4), Result(S_FALSE, "(null)")) << "no tree";
    EXPECT_TRUE(tree.Records().normalize.empty());
    EXPECT_EQ(assist2->GetMemberOrigin(W(u"Cart"), W(u"Save"), SYMBOL_MEMBERMETHOD, nullptr), E_POINTER);
    InitializeWithTree();
    for (const auto& [call, onCall, className, expected] : cases) {
        tree.ClearFailures();
        if (onCall != 0) tree.Fail(call, kTreeError, onCall);
        EXPECT_EQ(Origin(u"Total", 4, className), Result(expected, "(null)")) << static_cast<int>(call) << onCall;
    }
    tree.ClearFailures();
    tree.Fail(TreeCall::kOpenChildren, kTreeError);
    BSTR origin = reinterpret_cast<BSTR>(0x1);
    EXPECT_THROW(assist2->GetMemberOrigin(W(u"Cart"), W(u"Save"), SYMBOL_MEMBERMETHOD, &origin),
                 utlAutoIfBase::XBadPtrException)
        << "no collection";
    EXPECT_EQ(origin, nullptr);
}

}  // namespace
