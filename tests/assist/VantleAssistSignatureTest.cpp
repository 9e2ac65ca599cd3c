// Method signatures: rendering of the formal spec and the split around one argument.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {


const char16_t kSaveSpec[] =
    u"(pName:%Text=\"abc\",&pCount:%Count,*pOut:%Items,pLen:%Text(SIZE=50),pX=5,pY=$now)";
const char16_t kSaveSignature[] =
    u"Save(pName As %Text = \"abc\",ByRef pCount As %Count,Output pOut As %Items,"
    u"pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As %Result";

struct Parts {
    HRESULT hr;
    std::optional<Text> before, current, after;
    bool operator==(const Parts&) const = default;
};

class SignatureTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Method(u"Save").Set(u"42", u"%Result").Set(u"27", kSaveSpec);
        cart.Method(u"Save").Set(u"42", u"%Other");  // a second one of the same name never wins
        tree.Alias(u"Cart", u"Shop.Cart");
    }

    Parts Signature(const char16_t* method, unsigned long argument, const char16_t* className = u"Cart") {
        BSTR before = reinterpret_cast<BSTR>(0x1), current = before, after = before;
        HRESULT hr = assist->GetMethodSignature(W(className), W(method), argument, &before, &current, &after);
        return {hr, Take(before), Take(current), Take(after)};
    }
};

TEST_F(SignatureTest, WorkedExampleWholeAndSplitAroundOneArgument) {
    InitializeWithTree();
    EXPECT_EQ(Signature(u"Save", 0), (Parts{S_OK, kSaveSignature, std::nullopt, std::nullopt}));
    EXPECT_EQ(tree.Records().children, (std::vector<fakes::ChildrenRequest>{{u"m", u"2:422:27", 1}}));
    EXPECT_EQ(Signature(u"Save", 3),
              (Parts{S_OK, u"Save(pName As %Text = \"abc\",ByRef pCount As %Count,", u"Output pOut As %Items",
                     u",pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As %Result"}));
    EXPECT_EQ(Signature(u"Save", 1),
              (Parts{S_OK, u"Save(", u"pName As %Text = \"abc\"",
                     u",ByRef pCount As %Count,Output pOut As %Items,pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As "
                     u"%Result"}));
    EXPECT_EQ(Signature(u"Save", 6),
              (Parts{S_OK,
                     u"Save(pName As %Text = \"abc\",ByRef pCount As %Count,Output pOut As %Items,"
                     u"pLen As %Text(SIZE=50),pX = 5,",
                     u"pY = {$now}", u") As %Result"}));
    EXPECT_EQ(Signature(u"Save", 7), (Parts{S_OK, u"", u"", kSaveSignature}));
}

struct RenderCase {
    const char* name;
    const char16_t* formalSpec;
    const char16_t* returnType;
    const char16_t* shown;
};

class RenderTest : public SignatureTest, public ::testing::WithParamInterface<RenderCase> {};

TEST_P(RenderTest, RendersTheFormalSpec) {
    tree.AddClass(u"Shop.Form").Method(u"M").Set(u"42", GetParam().returnType).Set(u"27", GetParam().formalSpec);
    InitializeWithTree();
    EXPECT_EQ(Signature(u"M", 0, u"Shop.Form"), (Parts{S_OK, GetParam().shown, std::nullopt, std::nullopt}));
}

INSTANTIATE_TEST_SUITE_P(
    Specs, RenderTest,
    ::testing::Values(RenderCase{"Empty", u"", u"", u"M()"}, RenderCase{"EmptyParens", u"()", u"%R", u"M() As %R"},
                      RenderCase{"NoParens", u"a,b", u"", u"M(a,b)"},
                      RenderCase{"ModeDot", u".x", u"", u"M(ByRef x)"},
                      RenderCase{"ModeAmpersand", u"&x", u"", u"M(ByRef x)"},
                      RenderCase{"ModeStar", u"*x", u"", u"M(Output x)"},
                      RenderCase{"BlankDefeatsMode", u" &x", u"", u"M( &x)"},
                      RenderCase{"NullDefaults", u"a=NULL,b=null,c=Null", u"", u"M(a = NULL,b = null,c = Null)"},
                      RenderCase{"QuotedDefault", u"a=\"a,b\"", u"", u"M(a = \"a,b\")"},
                      RenderCase{"NumberDefault", u"a=-1.5,b=1.", u"", u"M(a = -1.5,b = {1.})"},
                      RenderCase{"ExpressionDefaults", u"a=$now,b=X.Y()", u"", u"M(a = {$now},b = {X.Y()})"},
                      RenderCase{"EmptyTypeParameters", u"a:%Text()", u"", u"M(a As %Text)"},
                      RenderCase{"QuotedTypeParameter", u"a:%Items(KIND=\"x\")", u"", u"M(a As %Items(KIND=\"x\"))"},
                      RenderCase{"LeadingEmptyParameter", u"a:%Text(,X)", u"", u"M(a As %Text)"},
                      RenderCase{"TwoParameters", u"a:%T(A=1,B=2)=3", u"", u"M(a As %T(A=1,B=2) = 3)"},
                      RenderCase{"OpenParenLast", u"a:%Text(", u"", u"M(a As %Text)"},
                      RenderCase{"EmptyArgumentStops", u"a,,b", u"", u"M(a,)"},
                      RenderCase{"ColonWithoutType", u"a:=5", u"", u"M(a = 5)"},
                      RenderCase{"ModeOnly", u"&", u"", u"M(ByRef )"}),
    ByName);

struct FailureCase {
    const char* name;
    bool initialized;
    TreeCall call;
    unsigned long onCall;  // 0: no failure
    const char16_t* method;
    HRESULT expected;
};

class SignatureFailuresTest : public SignatureTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(SignatureFailuresTest, OutputsComeFromTheEmptySignature) {
    const FailureCase& c = GetParam();
    if (c.initialized) InitializeWithTree();
    for (unsigned long argument : {0ul, 2ul}) {
        tree.ClearFailures();
        if (c.onCall != 0) tree.Fail(c.call, kTreeError, c.onCall);
        Parts expected = argument == 0 ? Parts{c.expected, u"", {}, {}} : Parts{c.expected, u"", u"", u""};
        EXPECT_EQ(Signature(c.method, argument), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Failures, SignatureFailuresTest,
    ::testing::Values(FailureCase{"NoTree", false, TreeCall::kNext, 0, u"Save", S_FALSE},
                      FailureCase{"Normalize", true, TreeCall::kNormalizeName, 1, u"Save", S_FALSE},
                      FailureCase{"ClassNode", true, TreeCall::kGetClassNode, 1, u"Save", S_FALSE},
                      FailureCase{"OpenChildren", true, TreeCall::kOpenChildren, 1, u"Save", kTreeError},
                      FailureCase{"NextBeforeMatch", true, TreeCall::kNext, 1, u"Save", S_FALSE},
                      FailureCase{"NoSuchMethod", true, TreeCall::kNext, 0, u"save", S_FALSE}),
    ByName);

TEST_F(SignatureTest, BadPointersAndExhaustedStrings) {
    BSTR before = nullptr;
    EXPECT_EQ(assist->GetMethodSignature(W(u"Cart"), W(u"Save"), 1, &before, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(assist->GetMethodSignature(W(u"Cart"), W(u"Save"), 0, &before, nullptr, nullptr), S_FALSE);
    EXPECT_EQ(Take(before), Text());
    InitializeWithTree();
    UnderStringFailures([&] { return Signature(u"Save", 3); },
                        [](const Parts& parts, unsigned long skip) {
                            EXPECT_TRUE(parts.hr == S_OK || parts.hr == S_FALSE || parts.hr == E_OUTOFMEMORY) << skip;
                        },
                        200);
}

}  // namespace
