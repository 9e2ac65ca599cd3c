// Method signatures: rendering of the formal argument list and the split around one argument.
#include <gtest/gtest.h>

#include "AssistTestSupport.h"

namespace {

const char kSaveSignature[] =
    "Save(pName As %Text = \"abc\",ByRef pCount As %Count,Output pOut As %Items,"
    "pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As %Result";

struct Parts {
    HRESULT hr;
    std::string before, current, after;
    bool operator==(const Parts&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Parts& p) {
    return out << p.hr << " [" << p.before << "][" << p.current << "][" << p.after << "]";
}

class SignatureTest : public AssistTest {
protected:
    void SetUp() override {
        AssistTest::SetUp();
        fakes::FakeClass& cart = tree.AddClass(u"Shop.Cart");
        cart.Method(u"Save").Set(u"42", u"%Result").Set(
            u"27", u"(pName:%Text=\"abc\",&pCount:%Count,*pOut:%Items,pLen:%Text(SIZE=50),pX=5,pY=$now)");
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
    EXPECT_EQ(Signature(u"Save", 0), (Parts{S_OK, kSaveSignature, "(null)", "(null)"}));
    EXPECT_EQ(tree.Records().children, (std::vector<fakes::ChildrenRequest>{{u"m", u"2:422:27", 1}}));
    EXPECT_EQ(Signature(u"Save", 3),
              (Parts{S_OK, "Save(pName As %Text = \"abc\",ByRef pCount As %Count,", "Output pOut As %Items",
                     ",pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As %Result"}));
    EXPECT_EQ(Signature(u"Save", 1),
              (Parts{S_OK, "Save(", "pName As %Text = \"abc\"",
                     ",ByRef pCount As %Count,Output pOut As %Items,pLen As %Text(SIZE=50),pX = 5,pY = {$now}) As "
                     "%Result"}));
    EXPECT_EQ(Signature(u"Save", 6),
              (Parts{S_OK,
                     "Save(pName As %Text = \"abc\",ByRef pCount As %Count,Output pOut As %Items,"
                     "pLen As %Text(SIZE=50),pX = 5,",
                     "pY = {$now}", ") As %Result"}));
    EXPECT_EQ(Signature(u"Save", 7), (Parts{S_OK, "", "", kSaveSignature}));
}

TEST_F(SignatureTest, RendersTheFormalSpec) {
    struct Case {
        const char16_t *formalSpec, *returnType;
        const char* shown;
    };
    const Case cases[] = {
        {u"", u"", "M()"},
        {u"()", u"%R", "M() As %R"},
        {u"a,b", u"", "M(a,b)"},
        {u".x,&y,*z", u"", "M(ByRef x,ByRef y,Output z)"},
        {u" &x", u"", "M( &x)"},  // a blank defeats the mode
        {u"a=NULL,b=null,c=Null", u"", "M(a = NULL,b = null,c = Null)"},
        {u"a=\"a,b\"", u"", "M(a = \"a,b\")"},
        {u"a=-1.5,b=1.", u"", "M(a = -1.5,b = {1.})"},
        {u"a=$now,b=X.Y()", u"", "M(a = {$now},b = {X.Y()})"},
        {u"a:%Text()", u"", "M(a As %Text)"},
        {u"a:%Items(KIND=\"x\")", u"", "M(a As %Items(KIND=\"x\"))"},
        {u"a:%Text(,X)", u"", "M(a As %Text)"},  // a leading empty parameter
        {u"a:%T(A=1,B=2)=3", u"", "M(a As %T(A=1,B=2) = 3)"},
        {u"a:%Text(", u"", "M(a As %Text)"},
        {u"a,,b", u"", "M(a,)"},  // an empty argument stops
        {u"a:=5", u"", "M(a = 5)"},
        {u"&", u"", "M(ByRef )"},
    };
    fakes::FakeClass& form = tree.AddClass(u"Shop.Form");
    InitializeWithTree();
    for (const Case& c : cases) {
        form.methods.clear();
        form.Method(u"M").Set(u"42", c.returnType).Set(u"27", c.formalSpec);
        EXPECT_EQ(Signature(u"M", 0, u"Shop.Form"), (Parts{S_OK, c.shown, "(null)", "(null)"}));
    }
}

TEST_F(SignatureTest, OutputsComeFromTheEmptySignatureOnFailure) {
    struct Case {
        TreeCall call;
        unsigned long onCall;  // 0: no failure
        const char16_t* method;
        HRESULT expected;
    };
    const Case cases[] = {
        {TreeCall::kNormalizeName, 1, u"Save", S_FALSE}, {TreeCall::kGetClassNode, 1, u"Save", S_FALSE},
        {TreeCall::kOpenChildren, 1, u"Save", kTreeError}, {TreeCall::kNext, 1, u"Save", S_FALSE},
        {TreeCall::kNext, 0, u"save", S_FALSE},
    };
    BSTR before = nullptr;
    EXPECT_EQ(assist->GetMethodSignature(W(u"Cart"), W(u"Save"), 1, &before, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(Signature(u"Save", 0), (Parts{S_FALSE, "", "(null)", "(null)"})) << "no tree";
    EXPECT_EQ(Signature(u"Save", 2), (Parts{S_FALSE, "", "", ""})) << "no tree";
    InitializeWithTree();
    for (const Case& c : cases) {
        for (unsigned long argument : {0ul, 2ul}) {
            tree.ClearFailures();
            if (c.onCall != 0) tree.Fail(c.call, kTreeError, c.onCall);
            Parts expected{c.expected, "", argument == 0 ? "(null)" : "", argument == 0 ? "(null)" : ""};
            EXPECT_EQ(Signature(c.method, argument), expected) << static_cast<int>(c.call);
        }
    }
}

}  // namespace
