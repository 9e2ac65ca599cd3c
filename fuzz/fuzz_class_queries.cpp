// The service's class queries (member listings plain and extended, member type,
// method signature, member origin) over a fake class tree built from the input:
// class and member names, class types, keyword answers (well-formed pieces, raw
// malformed answers, NULL answers), aliases, and failures of any tree call at any
// point, with string allocations failing now and then too.
//
// Whatever happens, the service must not crash, must release every node and
// collection it opened and free every string. Answers must keep their shapes: a
// S_FALSE listing is NULL, lists end with ",", a member type of kind 0 is NULL, a
// signature always comes back in its outputs. Once the failures are switched off, the
// queries must agree with each other: the three pieces of a split signature make up
// the whole one, and origin kinds 2 and 4 answer alike.
#include <string>

#include "FakeClassTree.h"
#include "FuzzService.h"
#include "sysComLib.h"

using fakes::Text;

namespace {

Text AsText(const Units& units) { return Text(units.begin(), units.end()); }

// Text rich in what records and signatures are made of.
Text ConsumeText(FuzzedDataProvider& input, size_t maxUnits) {
    return AsText(vantle::fuzz::ConsumeUnits(input, maxUnits));
}

Text ConsumeName(FuzzedDataProvider& input, const char* const* names, size_t count) {
    unsigned char pick = input.ConsumeIntegral<unsigned char>();
    if (pick < 224) {
        const char* name = names[pick % count];
        return Text(name, name + std::char_traits<char>::length(name));
    }
    return ConsumeText(input, 8);
}

const char* const kClassNames[] = {"Shop.Order", "Shop.Line", "%Library.Text", "A.B"};
const char* const kMemberNames[] = {"Save", "Name", "X", "x", "Lines", "New"};
const char* const kShortNames[] = {"Order", "Line", "%Text", "Shop.Order"};

Text Literal(const char* text) { return Text(text, text + std::char_traits<char>::length(text)); }

Text ConsumeBoolean(FuzzedDataProvider& input) {
    switch (input.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: return Text();
        case 1: return ConsumeText(input, 3);
        default: return input.ConsumeBool() ? Literal("1") : Literal("0");
    }
}

Text ConsumeFormalSpec(FuzzedDataProvider& input) {
    static const char* const kSpecs[] = {
        "(pName:%Text=\"abc\",&pCount:%Count,*pOut:%Items,pLen:%Text(SIZE=50),pX=5,pY=$now)",
        "a,,b", "()", "", "x:%Text(", "(.a:T(),*b=NULL,c=-1.5E+x)", "p:%Items(KIND=\"x\",,Y)"};
    if (input.ConsumeBool()) return Literal(kSpecs[input.ConsumeIntegralInRange<int>(0, 6)]);
    return ConsumeText(input, 40);
}

void ScriptMember(FuzzedDataProvider& input, fakes::FakeMember& member, char kind) {
    switch (input.ConsumeIntegralInRange<int>(0, 9)) {
        case 0: member.Raw(ConsumeText(input, 24)); break;
        case 1: member.NullAnswer(); break;
        default:
            member.Set(Literal("2"), ConsumeName(input, kClassNames, 4));
            member.Set(Literal("14"), ConsumeBoolean(input));
            if (kind == 'm') {
                member.Set(Literal("23"), ConsumeBoolean(input));
                member.Set(Literal("39"), ConsumeBoolean(input));
                member.Set(Literal("42"), input.ConsumeBool() ? ConsumeName(input, kShortNames, 4) : Text());
                member.Set(Literal("27"), ConsumeFormalSpec(input));
            } else if (kind == 'a') {
                static const char* const kCollections[] = {"", "array", "list", "l", "bag"};
                static const char* const kCardinalities[] = {"", "one", "parent", "many", "children"};
                member.Set(Literal("5"), ConsumeName(input, kShortNames, 4));
                member.Set(Literal("27"), Literal(kCollections[input.ConsumeIntegralInRange<int>(0, 4)]));
                member.Set(Literal("36"), ConsumeBoolean(input));
                member.Set(Literal("24"), Literal(kCardinalities[input.ConsumeIntegralInRange<int>(0, 4)]));
                member.Set(Literal("35"), ConsumeBoolean(input));
            }
            break;
    }
    if (input.ConsumeBool()) member.Inherited();
}

void BuildTree(FuzzedDataProvider& input, fakes::FakeClassTree& tree) {
    int classes = input.ConsumeIntegralInRange<int>(0, 3);
    for (int c = 0; c < classes; ++c) {
        fakes::FakeClass& cls = tree.AddClass(ConsumeName(input, kClassNames, 4));
        if (input.ConsumeBool()) {
            cls.Keyword(Literal("23"), input.ConsumeBool() ? Literal("datatype") : ConsumeText(input, 10));
        }
        int members = input.ConsumeIntegralInRange<int>(0, 6);
        for (int m = 0; m < members; ++m) {
            Text name = ConsumeName(input, kMemberNames, 6);
            switch (input.ConsumeIntegralInRange<int>(0, 2)) {
                case 0: ScriptMember(input, cls.Method(name), 'm'); break;
                case 1: ScriptMember(input, cls.Property(name), 'a'); break;
                default: ScriptMember(input, cls.Parameter(name), 'p'); break;
            }
        }
    }
    if (input.ConsumeBool()) tree.Alias(ConsumeName(input, kShortNames, 4), ConsumeName(input, kClassNames, 4));
}

void ScriptFailures(FuzzedDataProvider& input, fakes::FakeClassTree& tree) {
    static const HRESULT kFailures[] = {E_FAIL, E_OUTOFMEMORY, TNODE_E_CLASSNOTEXIST, TNODE_E_INVALIDCLASSNAME,
                                        S_FALSE, S_OK};
    int failures = input.ConsumeIntegralInRange<int>(0, 3);
    for (int f = 0; f < failures; ++f) {
        auto call = static_cast<fakes::TreeCall>(input.ConsumeIntegralInRange<int>(0, 8));
        tree.Fail(call, kFailures[input.ConsumeIntegralInRange<int>(0, 5)],
                  input.ConsumeIntegralInRange<unsigned long>(0, 6));
    }
}

bool EndsWithComma(BSTR list) {
    unsigned int length = COM_SysStringLen(list);
    return length > 0 && list[length - 1] == ',';
}

// One query chosen by the input; its answer must keep its shape.
void RunQuery(FuzzedDataProvider& input, vantle::fuzz::ServiceUnderTest& service, bool shapesHold) {
    auto className = W(ConsumeName(input, kShortNames, 4)).units();
    auto memberName = W(ConsumeName(input, kMemberNames, 6)).units();
    switch (input.ConsumeIntegralInRange<int>(0, 5)) {
        case 0:
        case 1: {
            auto flags = static_cast<MEMBER_FILTER_FLAGS>(input.ConsumeIntegralInRange<int>(0, 63));
            kesto::String list;
            HRESULT hr = input.ConsumeBool() ? service.assist->GetClassMembers(className.c_str(), flags, list.out())
                                             : service.assist3->GetClassMembersEx(className.c_str(), flags, list.out());
            if (hr == S_FALSE) FUZZ_CHECK(list.get() == nullptr, "a S_FALSE listing came with a list");
            if (shapesHold && list.get() != nullptr) FUZZ_CHECK(EndsWithComma(list.get()), "a list not ending in ','");
            break;
        }
        case 2: {
            SYMBOL_KIND kind = static_cast<SYMBOL_KIND>(99);
            kesto::String type;
            service.assist->GetClassMemberType(className.c_str(), memberName.c_str(), &kind, type.out());
            FUZZ_CHECK(kind == 0 || kind == 4 || kind == 5, "a member type of an unknown kind");
            if (kind == 0) FUZZ_CHECK(type.get() == nullptr, "a member type without a kind");
            break;
        }
        case 3: {
            unsigned long argument = input.ConsumeBool() ? input.ConsumeIntegralInRange<unsigned long>(0, 8)
                                                         : input.ConsumeIntegral<unsigned long>();
            kesto::String before;
            kesto::String current;
            kesto::String after;
            service.assist->GetMethodSignature(className.c_str(), memberName.c_str(), argument, before.out(),
                                               current.out(), after.out());
            if (argument == 0) {
                FUZZ_CHECK(current.get() == nullptr && after.get() == nullptr, "a whole signature came in pieces");
            }
            if (shapesHold) {
                FUZZ_CHECK(before.get() != nullptr, "a signature without its first output");
                if (argument != 0) FUZZ_CHECK(current.get() != nullptr && after.get() != nullptr, "a split signature");
            }
            break;
        }
        default: {
            static const int kKinds[] = {0, 2, 4, 5, 6, 10, 13, 99};
            auto kind = static_cast<SYMBOL_KIND>(kKinds[input.ConsumeIntegralInRange<int>(0, 7)]);
            kesto::String origin;
            HRESULT hr = service.assist2->GetMemberOrigin(className.c_str(), memberName.c_str(), kind, origin.out());
            if (hr != S_OK) FUZZ_CHECK(origin.get() == nullptr, "an origin came with a miss");
            break;
        }
    }
}

// With nothing failing, the queries agree with each other.
void CheckAgreement(vantle::fuzz::ServiceUnderTest& service, const Units& className, const Units& memberName,
                    unsigned long argument) {
    kesto::String whole;
    kesto::String none1;
    kesto::String none2;
    HRESULT wholeResult = service.assist->GetMethodSignature(className.c_str(), memberName.c_str(), 0, whole.out(),
                                                             none1.out(), none2.out());
    kesto::String before;
    kesto::String current;
    kesto::String after;
    HRESULT splitResult = service.assist->GetMethodSignature(className.c_str(), memberName.c_str(), argument,
                                                             before.out(), current.out(), after.out());
    FUZZ_CHECK(wholeResult == splitResult, "a split signature has another result than the whole one");
    FUZZ_CHECK(UnitsOf(before) + UnitsOf(current) + UnitsOf(after) == UnitsOf(whole),
               "the pieces of a split signature do not make up the whole one");
    if (wholeResult == S_OK) {
        Units prefix = memberName + W("(").units();
        FUZZ_CHECK(UnitsOf(whole).compare(0, prefix.size(), prefix) == 0, "a signature does not start with its name");
    }

    kesto::String byMethodKind;
    kesto::String byMemberMethodKind;
    HRESULT first =
        service.assist2->GetMemberOrigin(className.c_str(), memberName.c_str(), SYMBOL_METHOD, byMethodKind.out());
    HRESULT second = service.assist2->GetMemberOrigin(className.c_str(), memberName.c_str(), SYMBOL_MEMBERMETHOD,
                                                      byMemberMethodKind.out());
    FUZZ_CHECK(first == second && UnitsOf(byMethodKind) == UnitsOf(byMemberMethodKind), "origin kinds 2 and 4 differ");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantle::fuzz::LiveStringGuard strings;
    FuzzedDataProvider input(data, size);
    fakes::FakeClassTree tree;
    BuildTree(input, tree);
    {
        vantle::fuzz::ServiceUnderTest service;
        if (input.ConsumeIntegralInRange<int>(0, 7) != 0) service.assist->Initialize(tree.Manager());
        if (input.ConsumeBool()) {
            auto name = W("INCLUDEINHERITED").units();
            auto value = W(input.ConsumeBool() ? "TRUE" : "FALSE").units();
            service.assist->SetSymbol(name.c_str(), SYMBOL_SYSTEM, value.c_str());
        }
        if (input.ConsumeIntegralInRange<int>(0, 3) == 0) {
            service.assist->SetFlags(static_cast<MEMBER_FILTER_FLAGS>(input.ConsumeIntegralInRange<int>(0, 63)));
        }
        if (input.ConsumeBool()) {
            auto relative = W(ConsumeName(input, kClassNames, 4)).units();
            service.assistEx->SetRelativeClassName(relative.c_str());
        }
        ScriptFailures(input, tree);
        bool faults = input.ConsumeIntegralInRange<int>(0, 5) == 0;
        if (faults) {
            KESTO_FaultInjectStrings(input.ConsumeIntegralInRange<unsigned long>(0, 30),
                                     input.ConsumeIntegralInRange<unsigned long>(1, 4));
        }

        int queries = input.ConsumeIntegralInRange<int>(1, 8);
        for (int q = 0; q < queries; ++q) {
            try {
                RunQuery(input, service, !faults);
            } catch (const utlAutoIfBase::XBadPtrException&) {
                // A tree that "opens" children without a collection: the queries
                // clean up and let the holder's exception reach the caller.
            }
        }

        KESTO_FaultInjectStrings(0, 0);
        tree.ClearFailures();
        auto className = W(ConsumeName(input, kShortNames, 4)).units();
        auto memberName = W(ConsumeName(input, kMemberNames, 6)).units();
        CheckAgreement(service, className, memberName, input.ConsumeIntegralInRange<unsigned long>(1, 6));
    }
    FUZZ_CHECK(tree.OutstandingReferences() == 0, "the service kept a reference to the tree");
    FUZZ_CHECK(tree.OverReleases() == 0, "the service released a reference it did not hold");
    return 0;
}
