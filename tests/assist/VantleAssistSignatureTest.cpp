// Method signatures: rendering of the formal spec and the split around one argument.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

using fakes::TreeCall;

const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);
const char16_t kSaveSpec[] =
    u"(pName:%Text=\"abc\",&pCount:%Count,*pOut:%Items,pLen:%Text(SIZE=50),pX=5,pY=$now)";
const char16_t kSaveSignature[] =
    u"Save(pName As %Text = \"abc\",ByRef pCount As %Count,Output pOut As %Items,"
    u"pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As %Result";

struct Parts {
    HRESULT hr;
    std::optional<Text> before;
    std::optional<Text> current;
    std::optional<Text> after;
    bool operator==(const Parts&) const = default;
};

class SignatureTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Method(u"Save").Set(u"42", u"%Result").Set(u"27", kSaveSpec);
        cart.Method(u"Save").Set(u"42", u"%Other");  // a second one of the same name
        tree.Alias(u"Cart", u"Shop.Cart");
    }

    Parts Signature(const char16_t* method, unsigned long argument, const char16_t* className = u"Cart") {
        BSTR before = reinterpret_cast<BSTR>(0x1);
        BSTR current = reinterpret_cast<BSTR>(0x1);
        BSTR after = reinterpret_cast<BSTR>(0x1);
        HRESULT hr = assist->GetMethodSignature(W(className), W(method), argument, &before, &current, &after);
        return {hr, Take(before), Take(current), Take(after)};
    }

    // The whole signature of a method M with the given spec and return type.
    Text Render(const char16_t* spec, const char16_t* returnType = u"") {
        tree.AddClass(u"Shop.Form").Method(u"M").Set(u"42", returnType).Set(u"27", spec);
        Parts parts = Signature(u"M", 0, u"Shop.Form");
        EXPECT_EQ(parts.hr, S_OK);
        return parts.before.value_or(u"<null>");
    }
};

void PrintTo(const Parts& parts, std::ostream* os) {
    auto show = [](const std::optional<Text>& text) { return text ? "\"" + Narrow(*text) + "\"" : "NULL"; };
    *os << "{hr " << std::hex << parts.hr << std::dec << ", " << show(parts.before) << ", " << show(parts.current)
        << ", " << show(parts.after) << "}";
}

TEST_F(SignatureTest, WorkedExampleWhole) {
    InitializeWithTree();
    EXPECT_EQ(Signature(u"Save", 0), (Parts{S_OK, kSaveSignature, std::nullopt, std::nullopt}));
    EXPECT_EQ(tree.Records().children, (std::vector<fakes::ChildrenRequest>{{u"m", u"2:422:27", 1}}));
}

TEST_F(SignatureTest, WorkedExampleSplitAroundOneArgument) {
    InitializeWithTree();
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
    const char16_t* spec;
    const char16_t* returnType;
    const char16_t* shown;
};

class RenderTest : public SignatureTest, public ::testing::WithParamInterface<RenderCase> {};

TEST_P(RenderTest, RendersTheFormalSpec) {
    InitializeWithTree();
    EXPECT_EQ(Render(GetParam().spec, GetParam().returnType), Text(GetParam().shown));
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
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(SignatureTest, FirstOfTwoSameNamedMethodsWins) {
    InitializeWithTree();
    Parts parts = Signature(u"Save", 0);
    ASSERT_TRUE(parts.before);
    EXPECT_EQ(parts.before->substr(parts.before->size() - 7), u"%Result");
}

struct FailureCase {
    const char* name;
    TreeCall call;
    unsigned long onCall;
    const char16_t* method;
    HRESULT expected;
};

class SignatureFailuresTest : public SignatureTest, public ::testing::WithParamInterface<FailureCase> {};

TEST_P(SignatureFailuresTest, OutputsComeFromTheEmptySignature) {
    const FailureCase& c = GetParam();
    InitializeWithTree();
    if (c.onCall != 0) tree.Fail(c.call, kTreeError, c.onCall);
    EXPECT_EQ(Signature(c.method, 0), (Parts{c.expected, u"", std::nullopt, std::nullopt}));
    tree.ClearFailures();
    if (c.onCall != 0) tree.Fail(c.call, kTreeError, c.onCall);
    EXPECT_EQ(Signature(c.method, 2), (Parts{c.expected, u"", u"", u""}));
}

INSTANTIATE_TEST_SUITE_P(
    Failures, SignatureFailuresTest,
    ::testing::Values(FailureCase{"Normalize", TreeCall::kNormalizeName, 1, u"Save", S_FALSE},
                      FailureCase{"ClassNode", TreeCall::kGetClassNode, 1, u"Save", S_FALSE},
                      FailureCase{"OpenChildren", TreeCall::kOpenChildren, 1, u"Save", kTreeError},
                      FailureCase{"NextBeforeMatch", TreeCall::kNext, 1, u"Save", S_FALSE},
                      FailureCase{"NoSuchMethod", TreeCall::kNext, 0, u"save", S_FALSE}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(SignatureTest, WithoutATreeTheOutputsAreStillWritten) {
    EXPECT_EQ(Signature(u"Save", 0), (Parts{S_FALSE, u"", std::nullopt, std::nullopt}));
    EXPECT_EQ(Signature(u"Save", 1), (Parts{S_FALSE, u"", u"", u""}));
    BSTR before = nullptr;
    EXPECT_EQ(assist->GetMethodSignature(W(u"Cart"), W(u"Save"), 1, &before, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(assist->GetMethodSignature(W(u"Cart"), W(u"Save"), 0, &before, nullptr, nullptr), S_FALSE);
    EXPECT_EQ(Take(before), Text());
}

TEST_F(SignatureTest, ExhaustedStringsNeverLeakOrCrash) {
    InitializeWithTree();
    for (unsigned long skip = 0;; ++skip) {
        KESTO_FaultInjectStrings(skip, 1);
        Parts parts = Signature(u"Save", 3);
        bool injected = KESTO_FaultInjectedFailures() > 0;
        KESTO_FaultInjectStrings(0, 0);
        if (!injected) break;
        EXPECT_TRUE(parts.hr == S_OK || parts.hr == S_FALSE || parts.hr == E_OUTOFMEMORY) << skip;
        ASSERT_LT(skip, 200u);
    }
}

}  // namespace
