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
        HRESULT hr = extended ? Assist3()->GetClassMembersEx(W(className), f, &out)
                              : assist->GetClassMembers(W(className), f, &out);
        return {hr, Take(out)};
    }
};

TEST_F(MembersTest, SendsTheKeywordQueryOfEachSection) {
    InitializeWithTree();
    List(false, 31);
    List(true, 31);
    std::vector<fakes::ChildrenRequest> expected = {
        {u"m", u"2:232:14", 1},       {u"a", u"2:14", 1},     {u"p", u"2:14", 1},
        {u"m", u"2:232:142:39", 1},   {u"a", u"2:142:35", 1}, {u"p", u"2:14", 1},
    };
    EXPECT_EQ(tree.Records().children, expected);
    EXPECT_EQ(tree.Records().keywords, (std::vector<Text>{u"23", u"23"}));
    EXPECT_EQ(tree.Records().classNodes, (std::vector<Text>{u"Shop.Cart", u"Shop.Cart"}));
}

struct FormatCase {
    const char* name;
    int flags;
    const char16_t* plain;     // nullptr: no list at all
    const char16_t* extended;  // marks follow a tab: C class method, P private
};

class MemberFormatTest : public MembersTest, public ::testing::WithParamInterface<FormatCase> {};

TEST_P(MemberFormatTest, ListsTheSelectedKindsInBothForms) {
    const FormatCase& c = GetParam();
    tree.AddClass(u"Shop.Cart").Method(u"M").Set(u"23", u"1").Set(u"14", u"0").Set(u"39", u"1");
    InitializeWithTree();
    EXPECT_EQ(List(false, c.flags), Result(S_OK, Opt(c.plain)));
    EXPECT_EQ(List(true, c.flags), Result(S_OK, Opt(c.extended)));
}

INSTANTIATE_TEST_SUITE_P(
    Flags, MemberFormatTest,
    ::testing::Values(
        FormatCase{"None", 0, nullptr, nullptr}, FormatCase{"InternalAlone", 8, nullptr, nullptr},
        FormatCase{"ClassMethods", 1, u"New(,M(,", u"New(\tC,M(\tCP,"},
        FormatCase{"InstanceMethods", 2, u"Compute(,", u"Compute(\tP,"},
        FormatCase{"Properties", 4, u"Name,Secret,", u"Name,Secret\tP,"},
        FormatCase{"Default", 7, u"New(,Compute(,M(,Name,Secret,", u"New(\tC,Compute(\tP,M(\tCP,Name,Secret\tP,"},
        FormatCase{"InternalMethods", 10, u"Compute(,Hidden(,", u"Compute(\tP,Hidden(,"},
        FormatCase{"InternalProperties", 12, u"Name,Secret,Cache,", u"Name,Secret\tP,Cache,"},
        FormatCase{"Parameters", 16, u"MAXLEN,", u"MAXLEN,"},
        FormatCase{"InternalParameters", 24, u"MAXLEN,SECRETKEY,", u"MAXLEN,SECRETKEY,"},
        FormatCase{"All", 31, u"New(,Compute(,Hidden(,M(,Name,Secret,Cache,MAXLEN,SECRETKEY,",
                   u"New(\tC,Compute(\tP,Hidden(,M(\tCP,Name,Secret\tP,Cache,MAXLEN,SECRETKEY,"}),
    ByName);

TEST_F(MembersTest, OnlyInternalOrOddMethodsGiveNoList) {
    fakes::FakeClass& hidden = tree.AddClass(u"Shop.Hidden");
    hidden.Method(u"A").Set(u"23", u"1").Set(u"14", u"1");
    hidden.Method(u"B").Set(u"23", u"0").Set(u"14", u"1");
    fakes::FakeClass& odd = tree.AddClass(u"Shop.Odd");
    odd.Method(u"Letter").Raw(u"1:x1:0");
    odd.Method(u"Two").Set(u"23", u"2").Set(u"14", u"0");
    odd.Method(u"Short").Raw(u"1:");  // answer shorter than the positions read
    InitializeWithTree();
    EXPECT_EQ(List(false, 3, u"Shop.Hidden"), NoText(S_OK));
    EXPECT_EQ(List(false, 11, u"Shop.Hidden").second, Text(u"A(,B(,"));
    EXPECT_EQ(List(false, 3, u"Shop.Odd"), NoText(S_OK));
    EXPECT_EQ(List(true, 11, u"Shop.Odd"), NoText(S_OK));
}

TEST_F(MembersTest, SetFlagsPinsTheFilterUntilTheNextInitialize) {
    InitializeWithTree();
    ASSERT_EQ(assist->SetFlags(MEMBER_PROPERTIES), S_OK);
    EXPECT_EQ(List(false, 7).second, Text(u"Name,Secret,"));
    EXPECT_EQ(List(true, 1).second, Text(u"Name,Secret\tP,"));
    InitializeWithTree();
    EXPECT_EQ(List(false, 1).second, Text(u"New(,"));
}

TEST_F(MembersTest, DatatypeClassNeedsItsFlag) {
    fakes::FakeClass& text = tree.AddClass(u"%Text");
    text.Keyword(u"23", u"datatype");
    text.Method(u"IsValid").Set(u"23", u"1").Set(u"14", u"0");
    tree.AddClass(u"Shop.Almost").Keyword(u"23", u"Datatype").Property(u"P");
    InitializeWithTree();
    EXPECT_EQ(List(false, 7, u"%Text"), NoText(S_FALSE));
    EXPECT_EQ(List(true, 7, u"%Text"), NoText(S_FALSE));
    EXPECT_EQ(List(false, 7 | 32, u"%Text"), Result(S_OK, u"IsValid(,"));
    EXPECT_EQ(List(false, 4, u"Shop.Almost").second, Text(u"P,"));  // the comparison is exact
}

TEST_F(MembersTest, InheritedMembersFollowTheIncludeInheritedSymbol) {
    tree.AddClass(u"Shop.Cart").Property(u"Owner").Inherited();
    InitializeWithTree();
    EXPECT_EQ(List(false, 4).second, Text(u"Name,Secret,Owner,"));
    ASSERT_EQ(assist->SetSymbol(W(u"INCLUDEINHERITED"), SYMBOL_SYSTEM, W(u"FALSE")), S_OK);
    EXPECT_EQ(List(false, 4).second, Text(u"Name,Secret,"));
    EXPECT_EQ(tree.Records().children.back().includeInherited, 0);
}

struct FailureCase {
    const char* name;
    TreeCall call;
    HRESULT hr;
    unsigned long onCall;
    HRESULT expected;
    const char16_t* list;  // nullptr: no list
    size_t sectionsOpened;
};

class MemberFailuresTest : public MembersTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(MemberFailuresTest, FailingWalkHandsOutWhatWasListedSoFar) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    for (bool extended : {false, true}) {
        tree.ClearFailures();
        tree.Fail(c.call, c.hr, c.onCall);
        size_t opened = tree.Records().children.size();
        auto [hr, list] = List(extended, 31);
        EXPECT_EQ(hr, c.expected);
        if (!extended) { EXPECT_EQ(list, Opt(c.list)); }
        EXPECT_EQ(tree.Records().children.size() - opened, c.sectionsOpened);  // later sections are skipped
    }
}

INSTANTIATE_TEST_SUITE_P(
    Failures, MemberFailuresTest,
    ::testing::Values(
        FailureCase{"Normalize", TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 0, S_FALSE, nullptr, 0},
        FailureCase{"ClassNode", TreeCall::kGetClassNode, TNODE_E_CLASSNOTEXIST, 0, S_FALSE, nullptr, 0},
        FailureCase{"ClassType", TreeCall::kGetKeyword, kTreeError, 0, kTreeError, nullptr, 0},
        FailureCase{"OpenMethods", TreeCall::kOpenChildren, kTreeError, 1, kTreeError, nullptr, 1},
        FailureCase{"OpenProperties", TreeCall::kOpenChildren, kTreeError, 2, kTreeError, u"New(,Compute(,Hidden(,", 2},
        FailureCase{"SecondNext", TreeCall::kNext, kTreeError, 2, kTreeError, u"New(,", 1},
        FailureCase{"FirstPropertyNext", TreeCall::kNext, kTreeError, 5, kTreeError, u"New(,Compute(,Hidden(,", 2},
        FailureCase{"ParameterNext", TreeCall::kNext, E_OUTOFMEMORY, 10, E_OUTOFMEMORY,
                    u"New(,Compute(,Hidden(,Name,Secret,Cache,MAXLEN,", 3}),
    ByName);

TEST_F(MembersTest, UnknownClassMissingTreeAndBadArguments) {
    EXPECT_EQ(List(false, 7), NoText(S_FALSE));
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    EXPECT_EQ(List(true, 7, u"Nowhere"), NoText(S_FALSE));
    EXPECT_EQ(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, nullptr), E_POINTER);
    BSTR out = nullptr;
    EXPECT_EQ(Assist3()->GetClassMembersEx(nullptr, MEMBER_PROPERTIES, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
    // A node or collection that never arrives raises the holder's exception.
    tree.Fail(TreeCall::kGetClassNode, S_OK);
    EXPECT_THROW(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, &out), utlAutoIfBase::XBadPtrException);
    tree.ClearFailures();
    tree.Fail(TreeCall::kOpenChildren, S_OK, 2);
    EXPECT_THROW(Assist3()->GetClassMembersEx(W(u"Cart"), static_cast<MEMBER_FILTER_FLAGS>(7), &out),
                 utlAutoIfBase::XBadPtrException);
}

TEST_F(MembersTest, ExhaustedStringsNeverLeakOrCrash) {
    InitializeWithTree();
    Text full = List(true, 31).second.value();
    Result clean = UnderStringFailures([&] { return List(true, 31); },
                                       [&](const Result& result, unsigned long skip) {
                                           // No answer, the tree's failure, or one append dropped.
                                           HRESULT hr = result.first;
                                           EXPECT_TRUE(hr == S_OK || hr == S_FALSE || hr == E_OUTOFMEMORY) << skip;
                                           if (result.second) {
                                               EXPECT_LE(result.second->size(), full.size()) << skip;
                                           }
                                       },
                                       500);
    EXPECT_EQ(clean.second, full);
}

}  // namespace
