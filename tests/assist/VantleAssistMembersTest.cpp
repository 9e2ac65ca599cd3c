// Member listing, plain (GetClassMembers) and marked (GetClassMembersEx).
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

using fakes::TreeCall;

const Text kTab = u"\t";

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

    // The list and result of one listing.
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

TEST_F(MembersTest, EntriesAreCommaTerminatedWithKindMarksInTheExtendedForm) {
    InitializeWithTree();
    EXPECT_EQ(List(false, 7), WithText(S_OK, u"New(,Compute(,Name,Secret,"));
    Text marked = u"New(" + kTab + u"C,Compute(" + kTab + u"P,Name,Secret" + kTab + u"P,";
    EXPECT_EQ(List(true, 7), WithText(S_OK, marked));
    // Parameters carry no marks in either form.
    EXPECT_EQ(List(true, 16).second, Text(u"MAXLEN,"));
}

TEST_F(MembersTest, PrivateClassMethodCarriesBothMarks) {
    tree.AddClass(u"Shop.Cart").Method(u"M").Set(u"23", u"1").Set(u"14", u"0").Set(u"39", u"1");
    InitializeWithTree();
    EXPECT_EQ(List(false, 1).second, Text(u"New(,M(,"));
    EXPECT_EQ(List(true, 1).second, u"New(" + kTab + u"C,M(" + kTab + u"CP,");
}

struct FlagCase {
    int flags;
    const char16_t* plain;  // nullptr: no list at all
};

class MemberFlagsTest : public MembersTest, public ::testing::WithParamInterface<FlagCase> {};

TEST_P(MemberFlagsTest, FlagsSelectKindsAndInternalMembers) {
    InitializeWithTree();
    auto [hr, list] = List(false, GetParam().flags);
    EXPECT_EQ(hr, S_OK);
    if (GetParam().plain == nullptr) {
        EXPECT_EQ(list, std::nullopt);
    } else {
        EXPECT_EQ(list, Text(GetParam().plain));
    }
}

INSTANTIATE_TEST_SUITE_P(Flags, MemberFlagsTest,
                         ::testing::Values(FlagCase{0, nullptr}, FlagCase{1, u"New(,"}, FlagCase{2, u"Compute(,"},
                                           FlagCase{4, u"Name,Secret,"}, FlagCase{8, nullptr},
                                           FlagCase{10, u"Compute(,Hidden(,"},
                                           FlagCase{12, u"Name,Secret,Cache,"}, FlagCase{16, u"MAXLEN,"},
                                           FlagCase{24, u"MAXLEN,SECRETKEY,"},
                                           FlagCase{31, u"New(,Compute(,Hidden(,Name,Secret,Cache,MAXLEN,SECRETKEY,"}));

TEST_F(MembersTest, OnlyInternalMethodsGiveNoListUnlessInternalIsAsked) {
    fakes::FakeClass& hidden = tree.AddClass(u"Shop.Hidden");
    hidden.Method(u"A").Set(u"23", u"1").Set(u"14", u"1");
    hidden.Method(u"B").Set(u"23", u"0").Set(u"14", u"1");
    InitializeWithTree();
    EXPECT_EQ(List(false, 3, u"Shop.Hidden"), NoText(S_OK));
    EXPECT_EQ(List(false, 11, u"Shop.Hidden").second, Text(u"A(,B(,"));
}

TEST_F(MembersTest, MethodKindOtherThanZeroOrOneIsNeverListed) {
    fakes::FakeClass& odd = tree.AddClass(u"Shop.Odd");
    odd.Method(u"Letter").Raw(u"1:x1:0");
    odd.Method(u"Two").Set(u"23", u"2").Set(u"14", u"0");
    odd.Method(u"Short").Raw(u"1:");     // answer shorter than the positions read
    InitializeWithTree();
    EXPECT_EQ(List(false, 3, u"Shop.Odd"), NoText(S_OK));
    EXPECT_EQ(List(true, 11, u"Shop.Odd"), NoText(S_OK));
}

TEST_F(MembersTest, SetFlagsPinsTheFilterUntilTheNextInitialize) {
    InitializeWithTree();
    ASSERT_EQ(assist->SetFlags(MEMBER_PROPERTIES), S_OK);
    EXPECT_EQ(List(false, 7).second, Text(u"Name,Secret,"));
    EXPECT_EQ(List(true, 1).second, u"Name,Secret" + kTab + u"P,");
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
    EXPECT_EQ(List(false, 7 | 32, u"%Text"), WithText(S_OK, u"IsValid(,"));
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
};

class MemberFailuresTest : public MembersTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(MemberFailuresTest, FailingWalkHandsOutWhatWasListedSoFar) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    tree.Fail(c.call, c.hr, c.onCall);
    auto [hr, list] = List(false, 31);
    EXPECT_EQ(hr, c.expected);
    if (c.list == nullptr) {
        EXPECT_EQ(list, std::nullopt);
    } else {
        EXPECT_EQ(list, Text(c.list));
    }
}

const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);

INSTANTIATE_TEST_SUITE_P(
    Failures, MemberFailuresTest,
    ::testing::Values(
        FailureCase{"Normalize", TreeCall::kNormalizeName, TNODE_E_INVALIDCLASSNAME, 0, S_FALSE, nullptr},
        FailureCase{"ClassNode", TreeCall::kGetClassNode, TNODE_E_CLASSNOTEXIST, 0, S_FALSE, nullptr},
        FailureCase{"ClassType", TreeCall::kGetKeyword, kTreeError, 0, kTreeError, nullptr},
        FailureCase{"OpenMethods", TreeCall::kOpenChildren, kTreeError, 1, kTreeError, nullptr},
        FailureCase{"OpenProperties", TreeCall::kOpenChildren, kTreeError, 2, kTreeError, u"New(,Compute(,Hidden(,"},
        FailureCase{"SecondNext", TreeCall::kNext, kTreeError, 2, kTreeError, u"New(,"},
        FailureCase{"FirstPropertyNext", TreeCall::kNext, kTreeError, 5, kTreeError, u"New(,Compute(,Hidden(,"},
        FailureCase{"ParameterNext", TreeCall::kNext, E_OUTOFMEMORY, 10, E_OUTOFMEMORY,
                    u"New(,Compute(,Hidden(,Name,Secret,Cache,MAXLEN,"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MembersTest, FailingWalkStopsLaterSections) {
    InitializeWithTree();
    tree.Fail(TreeCall::kNext, kTreeError, 2);
    List(true, 31);
    EXPECT_EQ(tree.Records().children.size(), 1u);
}

TEST_F(MembersTest, UnknownClassAndMissingTreeGiveNoAnswer) {
    EXPECT_EQ(List(false, 7), NoText(S_FALSE));
    EXPECT_TRUE(tree.Records().normalize.empty());
    InitializeWithTree();
    EXPECT_EQ(List(true, 7, u"Nowhere"), NoText(S_FALSE));
}

TEST_F(MembersTest, NodeThatNeverArrivesRaisesTheHolderException) {
    InitializeWithTree();
    tree.Fail(TreeCall::kGetClassNode, S_OK);
    BSTR out = nullptr;
    EXPECT_THROW(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, &out), utlAutoIfBase::XBadPtrException);
    tree.ClearFailures();
    tree.Fail(TreeCall::kOpenChildren, S_OK, 2);
    EXPECT_THROW(Assist3()->GetClassMembersEx(W(u"Cart"), static_cast<MEMBER_FILTER_FLAGS>(7), &out),
                 utlAutoIfBase::XBadPtrException);
}

TEST_F(MembersTest, ExhaustedStringsNeverLeakOrCrash) {
    InitializeWithTree();
    Text full = List(true, 31).second.value();
    for (unsigned long skip = 0;; ++skip) {
        KESTO_FaultInjectStrings(skip, 1);
        auto [hr, list] = List(true, 31);
        bool injected = KESTO_FaultInjectedFailures() > 0;
        KESTO_FaultInjectStrings(0, 0);
        if (!injected) {
            EXPECT_EQ(list, full);
            break;
        }
        // Either the tree could not answer (no answer, or its failure passed on) or
        // one append was dropped; the list never grows beyond the full one.
        EXPECT_TRUE(hr == S_OK || hr == S_FALSE || hr == E_OUTOFMEMORY) << skip;
        if (list) {
            EXPECT_LE(list->size(), full.size()) << skip;
        }
        ASSERT_LT(skip, 500u);
    }
}

TEST_F(MembersTest, BadArgumentsAreRefused) {
    InitializeWithTree();
    EXPECT_EQ(assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, nullptr), E_POINTER);
    BSTR out = nullptr;
    EXPECT_EQ(Assist3()->GetClassMembersEx(nullptr, MEMBER_PROPERTIES, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
}

}  // namespace
