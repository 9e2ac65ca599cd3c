// Member listing, plain (GetClassMembers) and marked (GetClassMembersEx).
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

class MembersTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Keyword(u"23", u"persistent");
        cart.Method(u"New").Set(u"23", u"1").Set(u"14", u"0").Set(u"39", u"0");
        cart.Method(u"Compute").Set(u"23", u"0").Set(u"14", u"0").Set(u"39", u"1");
        cart.Method(u"Hidden").Set(u"23", u"0").Set(u"14", u"1").Set(u"39", u"0");
        cart.Method(u"M").Set(u"23", u"1").Set(u"14", u"0").Set(u"39", u"1");
        cart.Property(u"Name").Set(u"14", u"0").Set(u"35", u"0");
        cart.Property(u"Secret").Set(u"14", u"0").Set(u"35", u"1");
        cart.Property(u"Cache").Set(u"14", u"1").Set(u"35", u"0");
        cart.Parameter(u"MAXLEN").Set(u"14", u"0");
        cart.Parameter(u"SECRETKEY").Set(u"14", u"1");
        tree.Alias(u"Cart", u"Shop.Cart");
    }

    Result List(bool extended, int flags, const char16_t* className = u"Cart") {
        BSTR out = reinterpret_cast<BSTR>(0x1);  // must be overwritten on every path
        MEMBER_FILTER_FLAGS f = static_cast<MEMBER_FILTER_FLAGS>(flags);
        HRESULT hr = extended ? assist3->GetClassMembersEx(W(className), f, &out)
                              : assist->GetClassMembers(W(className), f, &out);
        return {hr, Take(out)};
    }
};

TEST_F(MembersTest, ListsTheSelectedKindsInBothFormsWithTheKeywordQueryOfEachSection) {
    struct Case {
        int flags;
        const char *plain, *extended;  // marks follow a tab: C class method, P private
    };
    const Case cases[] = {
        {0, "(null)", "(null)"},
        {8, "(null)", "(null)"},
        {1, "New(,M(,", "New(\tC,M(\tCP,"},
        {2, "Compute(,", "Compute(\tP,"},
        {4, "Name,Secret,", "Name,Secret\tP,"},
        {10, "Compute(,Hidden(,", "Compute(\tP,Hidden(,"},
        {12, "Name,Secret,Cache,", "Name,Secret\tP,Cache,"},
        {16, "MAXLEN,", "MAXLEN,"},
        {24, "MAXLEN,SECRETKEY,", "MAXLEN,SECRETKEY,"},
        {31, "New(,Compute(,Hidden(,M(,Name,Secret,Cache,MAXLEN,SECRETKEY,",
         "New(\tC,Compute(\tP,Hidden(,M(\tCP,Name,Secret\tP,Cache,MAXLEN,SECRETKEY,"},
    };
    InitializeWithTree();
    for (const Case& c : cases) {
        EXPECT_EQ(List(false, c.flags), Result(S_OK, c.plain)) << c.flags;
        EXPECT_EQ(List(true, c.flags), Result(S_OK, c.extended)) << c.flags;
    }
    const std::vector<fakes::ChildrenRequest> expected = {
        {u"m", u"2:232:14", 1}, {u"a", u"2:14", 1},     {u"p", u"2:14", 1},
        {u"m", u"2:232:142:39", 1}, {u"a", u"2:142:35", 1}, {u"p", u"2:14", 1},
    };
    const auto& asked = tree.Records().children;
    EXPECT_EQ(std::vector<fakes::ChildrenRequest>(asked.end() - 6, asked.end()), expected) << "flags 31, both forms";
}

TEST_F(MembersTest, OnlyInternalOrOddMethodsGiveNoListAndDatatypeClassesNeedTheirFlag) {
    fakes::FakeClass& hidden = tree.AddClass(u"Shop.Hidden");
    hidden.Method(u"A").Set(u"23", u"1").Set(u"14", u"1");
    hidden.Method(u"B").Set(u"23", u"0").Set(u"14", u"1");
    fakes::FakeClass& odd = tree.AddClass(u"Shop.Odd");
    odd.Method(u"Letter").Raw(u"1:x1:0");
    odd.Method(u"Two").Set(u"23", u"2").Set(u"14", u"0");
    odd.Method(u"Short").Raw(u"1:");  // an answer shorter than the positions read
    fakes::FakeClass& text = tree.AddClass(u"%Text");
    text.Keyword(u"23", u"datatype").Method(u"IsValid").Set(u"23", u"1").Set(u"14", u"0");
    tree.AddClass(u"Shop.Almost").Keyword(u"23", u"Datatype").Property(u"P");
    InitializeWithTree();
    EXPECT_EQ(List(false, 3, u"Shop.Hidden"), Result(S_OK, "(null)"));
    EXPECT_EQ(List(false, 11, u"Shop.Hidden").second, "A(,B(,");
    EXPECT_EQ(List(false, 3, u"Shop.Odd"), Result(S_OK, "(null)"));
    EXPECT_EQ(List(true, 11, u"Shop.Odd"), Result(S_OK, "(null)"));
    EXPECT_EQ(List(false, 7, u"%Text"), Result(S_FALSE, "(null)"));
    EXPECT_EQ(List(true, 7, u"%Text"), Result(S_FALSE, "(null)"));
    EXPECT_EQ(List(false, 7 | 32, u"%Text"), Result(S_OK, "IsValid(,"));
    EXPECT_EQ(List(false, 4, u"Shop.Almost").second, "P,") << "the comparison is exact";
}

TEST_F(MembersTest, SetFlagsPinsTheFilterAndInheritedMembersFollowTheSwitch) {
    tree.AddClass(u"Shop.Cart").Property(u"Owner").Inherited();
    InitializeWithTree();
    ASSERT_EQ(assist->SetFlags(MEMBER_PROPERTIES), S_OK);
    EXPECT_EQ(List(false, 7).second, "Name,Secret,Owner,");
    EXPECT_EQ(List(true, 1).second, "Name,Secret\tP,Owner,");
    ASSERT_EQ(assist->SetSymbol(W(u"INCLUDEINHERITED"), SYMBOL_SYSTEM, W(u"FALSE")), S_OK);
    EXPECT_EQ(List(false, 4).second, "Name,Secret,");
    InitializeWithTree();
    EXPECT_EQ(List(false, 1).second, "New(,M(,") << "Initialize unpins the filter";
}

TEST_F(MembersTest, FailingWalkHandsOutWhatWasListedSoFarAndMissingObjectsThrow) {
    struct Case {
        TreeCall call;
        HRESULT hr;
        unsigned long onCall;
        HRESULT expected;
        const char* list;
        size_t sectionsOpened;  // later sections are skipped
    };
    const Case cases[] = {
        {TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 0, S_FALSE, "(null)", 0},
        {TreeCall::kGetClassNode, TNODE_E_CLASSNOTEXIST, 0, S_FALSE, "(null)", 0},
        {TreeCall::kGetKeyword, kTreeError, 0, kTreeError, "(null)", 0},
        {TreeCall::kOpenChildren, kTreeError, 1, kTreeError, "(null)", 1},
        {TreeCall::kOpenChildren, kTreeError, 2, kTreeError, "New(,Compute(,Hidden(,M(,", 2},
        {TreeCall::kNext, kTreeError, 2, kTreeError, "New(,", 1},
        {TreeCall::kNext, kTreeError, 6, kTreeError, "New(,Compute(,Hidden(,M(,", 2},
        {TreeCall::kNext, E_OUTOFMEMORY, 11, E_OUTOFMEMORY, "New(,Compute(,Hidden(,M(,Name,Secret,Cache,MAXLEN,", 3},
    };
    EXPECT_EQ(List(false, 7), Result(S_FALSE, "(null)")) << "no tree";
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    EXPECT_EQ(List(true, 7, u"Nowhere"), Result(S_FALSE, "(null)"));
    EXPECT_EQ(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, nullptr), E_POINTER);
    BSTR out = nullptr;
    EXPECT_EQ(assist3->GetClassMembersEx(nullptr, MEMBER_PROPERTIES, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
    for (const Case& c : cases) {
        for (bool extended : {false, true}) {
            tree.ClearFailures();
            tree.Fail(c.call, c.hr, c.onCall);
            const size_t opened = tree.Records().children.size();
            auto [hr, list] = List(extended, 31);
            EXPECT_EQ(hr, c.expected) << c.list;
            if (!extended) { EXPECT_EQ(list, c.list); }
            EXPECT_EQ(tree.Records().children.size() - opened, c.sectionsOpened) << c.list;
        }
    }
    // A node or collection that never arrives raises the holder's exception.
    tree.ClearFailures();
    tree.Fail(TreeCall::kGetClassNode, S_OK);
    EXPECT_THROW(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, &out), utlAutoIfBase::XBadPtrException);
    tree.ClearFailures();
    tree.Fail(TreeCall::kOpenChildren, S_OK, 2);
    EXPECT_THROW(assist3->GetClassMembersEx(W(u"Cart"), static_cast<MEMBER_FILTER_FLAGS>(7), &out),
                 utlAutoIfBase::XBadPtrException);
}

}  // namespace
