// The service object: how an editor reaches it, its lifetime, the small operations,
// the include-inherited switch, and the service over the runtime's own tree. (How
// symbols nest in scopes is the symbol stack's test and the symbols fuzz target's.)
#include <gtest/gtest.h>

#include "AssistTestSupport.h"
#include "VantleAssist.h"

namespace {

// Raw slot numbers of the binary contract.
enum Slot {
    kQueryInterface = 2, kAddRef = 3, kRelease = 4, kCreateInstance = 5, kInitialize = 5, kSetSymbol = 7,
    kLookupSymbol = 9, kGetClassMembers = 14, kSetFlags = 16, kGetFlags = 17, kSetRelativeClassName = 5,
    kGetMemberOrigin = 5, kGetSymbols = 6, kGetClassMembersEx = 5,
};

void* RawQuery(void* object, const COM_GUID& iid) {
    void* out = nullptr;
    EXPECT_EQ(CallSlot<HRESULT>(object, kQueryInterface, &iid, &out), S_OK);
    return out;
}

TEST(ServiceObject, EditorDrivesEveryInterfaceThroughTableSlots) {
    fakes::FakeClassTree tree;
    tree.AddClass(u"Shop.Item").Property(u"Price").Set(u"2", u"Top").Set(u"14", u"0");
    const long strings = KESTO_LiveStringCount();
    const int locks = g_theModule.GetLockCount();
    void *factory = nullptr, *unknown = nullptr;
    ASSERT_EQ(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, &factory), S_OK);
    ASSERT_EQ(CallSlot<HRESULT>(factory, kCreateInstance, &COM_IID_IUnknown, &unknown), S_OK);
    CallSlot<unsigned long>(factory, kRelease);
    EXPECT_EQ(g_theModule.GetLockCount(), locks + 1) << "one unit for the live object";

    void* assist = RawQuery(unknown, COM_IID_IVantleAssist);
    void* assistEx = RawQuery(unknown, COM_IID_IVantleAssistEx);
    void* assist2 = RawQuery(unknown, COM_IID_IVantleAssist2);
    void* assist3 = RawQuery(unknown, COM_IID_IVantleAssist3);
    void* identity = RawQuery(assist3, COM_IID_IUnknown);
    EXPECT_EQ(identity, unknown) << "the same identity from any interface";
    EXPECT_EQ(identity, assist) << "the first interface of the table is the identity";
    EXPECT_EQ(CallSlot<unsigned long>(assist2, kAddRef), 7u);

    EXPECT_EQ(CallSlot<HRESULT>(assist, kInitialize, tree.Manager()), S_OK);
    EXPECT_EQ(CallSlot<HRESULT>(assist, kSetFlags, MEMBER_PROPERTIES), S_OK);
    MEMBER_FILTER_FLAGS flags{};
    EXPECT_EQ(CallSlot<HRESULT>(assist, kGetFlags, &flags), S_OK);
    EXPECT_EQ(flags, MEMBER_PROPERTIES);
    const W relative(u"Shop.Basket"), item(u"Shop.Item"), price(u"Price"), x(u"x"), one(u"1");
    EXPECT_EQ(CallSlot<HRESULT>(assistEx, kSetRelativeClassName, static_cast<CBSTR>(relative)), S_OK);
    BSTR out = nullptr;
    EXPECT_EQ(CallSlot<HRESULT>(assist, kGetClassMembers, static_cast<CBSTR>(item), 0, &out), S_OK);
    EXPECT_EQ(Take(out), "Price,");
    EXPECT_EQ(CallSlot<HRESULT>(assist3, kGetClassMembersEx, static_cast<CBSTR>(item), 0, &out), S_OK);
    EXPECT_EQ(Take(out), "Price,");
    EXPECT_EQ(CallSlot<HRESULT>(assist2, kGetMemberOrigin, static_cast<CBSTR>(item), static_cast<CBSTR>(price),
                                SYMBOL_PROPERTY, &out),
              S_OK);
    EXPECT_EQ(Take(out), "Top");
    EXPECT_EQ(tree.Records().normalize.back(), (fakes::NormalizeRequest{u"Shop.Item", u"Shop.Basket"}));
    EXPECT_EQ(CallSlot<HRESULT>(assist, kSetSymbol, static_cast<CBSTR>(x), SYMBOL_LOCAL, static_cast<CBSTR>(one)),
              S_OK);
    ParserLanguage language = static_cast<ParserLanguage>(9);
    EXPECT_EQ(CallSlot<HRESULT>(assist, kLookupSymbol, static_cast<CBSTR>(x), SYMBOL_LOCAL, &language, &out), S_OK);
    EXPECT_EQ(Take(out), "1");
    EXPECT_EQ(language, PARSERLANGUAGE_ROOT);
    EXPECT_EQ(CallSlot<HRESULT>(assist2, kGetSymbols, 1u << (SYMBOL_LOCAL - 1), &out), S_OK);
    EXPECT_EQ(Take(out), "x,");

    for (void* reference : {assist, assistEx, assist2, assist2, assist3, identity}) {
        CallSlot<unsigned long>(reference, kRelease);
    }
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(CallSlot<unsigned long>(unknown, kRelease), 0u);
    EXPECT_EQ(g_theModule.GetLockCount(), locks);
    EXPECT_EQ(CanUnloadNow(), locks == 0 ? S_OK : S_FALSE);
    EXPECT_EQ(tree.OutstandingReferences(), 0);
    EXPECT_EQ(KESTO_LiveStringCount(), strings);
    void* refused = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(CVantleAssistant::_theClassFactory.CreateInstance(COM_IID_IClassFactory, &refused), E_NOINTERFACE);
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(g_theModule.GetLockCount(), locks) << "the factory destroyed the object it could not hand out";
}

TEST_F(AssistTest, CacheInterfacesAreTheTreeManagersOwn) {
    void* out = nullptr;
    EXPECT_EQ(assist->QueryInterface(COM_IID_ISchemaCache, &out), E_UNEXPECTED) << "not before Initialize";
    EXPECT_EQ(out, nullptr);
    for (auto [treeAnswer, expected] : {std::pair{S_OK, S_OK}, std::pair{S_FALSE, S_OK},
                                        std::pair{E_NOINTERFACE, E_NOINTERFACE}, std::pair{E_FAIL, E_FAIL}}) {
        tree.AnswerCacheInterfaces(treeAnswer);
        InitializeWithTree();
        for (const COM_GUID* iid : {&COM_IID_ISchemaCache, &COM_IID_IExtrinsicCache, &COM_IID_IMacroCache}) {
            EXPECT_EQ(assist->QueryInterface(*iid, &out), expected);
            EXPECT_EQ(out, SUCCEEDED(expected) ? tree.Manager() : nullptr);
            if (out != nullptr) static_cast<COM_IUnknown*>(out)->Release();
        }
    }
}

TEST_F(AssistTest, InitializeHoldsTheTreeAndItsCacheAndUnpinsTheFlags) {
    MEMBER_FILTER_FLAGS flags{};
    BSTR out = nullptr;
    EXPECT_EQ(assist->GetFlags(&flags), S_FALSE);
    EXPECT_EQ(flags, 7);
    EXPECT_EQ(assist->GetClassList(W(u"Sh"), &out), S_FALSE);  // no cache yet
    EXPECT_EQ(Take(out), "");
    EXPECT_EQ(assist->SetImportPackageList(W(u"Shop")), S_FALSE);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(assist->GetClassList(W(u"Sh"), &out), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 0);
    ASSERT_EQ(assist->SetFlags(static_cast<MEMBER_FILTER_FLAGS>(21)), S_OK);
    EXPECT_EQ(assist->GetFlags(&flags), S_OK);
    EXPECT_EQ(flags, 21);
    for (const char16_t* name : {u"Shop.Cart", u"Shop.Item", u"%Text"}) tree.AddClass(name);
    tree.Fail(TreeCall::kResetCache, static_cast<HRESULT>(0x80670002));
    InitializeWithTree();
    InitializeWithTree();
    EXPECT_EQ(tree.OutstandingReferences(), 2) << "the manager and its class cache, once";
    EXPECT_EQ(assist->GetFlags(&flags), S_FALSE);
    EXPECT_EQ(flags, 21);
    EXPECT_EQ(assist->GetClassList(W(u"Shop."), &out), S_OK);
    EXPECT_EQ(Take(out), "Shop.Cart,Shop.Item,");
    EXPECT_EQ(assist->Reset(), static_cast<HRESULT>(0x80670002));
    EXPECT_EQ(assist->SetImportPackageList(W(u"Shop,Util")), S_OK);
    EXPECT_EQ(tree.Records().importPackageLists, std::vector<fakes::Text>{u"Shop,Util"});
    ASSERT_EQ(assist->Initialize(nullptr), S_OK);
    EXPECT_EQ(tree.OutstandingReferences(), 0);
    EXPECT_EQ(assist->GetClassMembers(W(u"Any"), MEMBER_PROPERTIES, &out), S_FALSE);

    ASSERT_EQ(assist->SetFlags(MEMBER_PARAMETERS), S_OK);
    tree.Fail(TreeCall::kQueryClassCache, E_NOINTERFACE);
    EXPECT_EQ(assist->Initialize(tree.Manager()), E_NOINTERFACE);
    EXPECT_EQ(tree.OutstandingReferences(), 1) << "a failed cache query keeps the manager";
    EXPECT_EQ(assist->GetFlags(&flags), S_OK) << "and the pinned flags";
    EXPECT_EQ(assist->Reset(), S_FALSE) << "no class cache";
}

TEST_F(AssistTest, OnlyTheSystemSymbolMovesTheIncludeInheritedSwitch) {
    const char16_t kSwitch[] = u"INCLUDEINHERITED";
    const std::tuple<const char16_t*, const char16_t*, SYMBOL_KIND, int> cases[] = {
        {kSwitch, u"TRUE", SYMBOL_SYSTEM, 1},   {u"IncludeInherited", u"no", SYMBOL_SYSTEM, 1},
        {kSwitch, u"no", SYMBOL_LOCAL, 1},      {kSwitch, u"true", SYMBOL_SYSTEM, 0},
        {kSwitch, u"TRUE", SYMBOL_SYSTEM, 1},   {kSwitch, u"TRUE ", SYMBOL_SYSTEM, 0},
        {kSwitch, u"TRUE", SYMBOL_SYSTEM, 1},   {kSwitch, u"", SYMBOL_SYSTEM, 0},
    };
    tree.AddClass(u"Shop.Cart");
    InitializeWithTree();
    for (const auto& [name, value, kind, includeInherited] : cases) {
        ASSERT_EQ(assist->SetSymbol(W(name), kind, W(value)), S_OK);
        ParserLanguage language{};
        BSTR out = nullptr;
        EXPECT_EQ(assist->LookupSymbol(W(name), kind, &language, &out), S_OK);
        EXPECT_EQ(Take(out), Narrow(W(value))) << "stored as any symbol";
        assist->GetClassMembers(W(u"Shop.Cart"), MEMBER_PROPERTIES, &out);
        EXPECT_EQ(tree.Records().children.back().includeInherited, includeInherited) << Narrow(W(value));
    }
}

TEST_F(AssistTest, RelativeClassNameReachesNormalisationAndNullArgumentsAreRefused) {
    tree.AddClass(u"Shop.Cart");
    InitializeWithTree();
    BSTR out = nullptr;
    ASSERT_EQ(assistEx->SetRelativeClassName(W(u"Shop.Order")), S_OK);
    assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, &out);
    ASSERT_EQ(assistEx->SetRelativeClassName(nullptr), S_OK);
    assist->GetClassMembers(W(u"Cart"), MEMBER_PROPERTIES, &out);
    EXPECT_EQ(tree.Records().normalize,
              (std::vector<fakes::NormalizeRequest>{{u"Cart", u"Shop.Order"}, {u"Cart", u""}}));

    EXPECT_EQ(assist->SetSymbol(nullptr, SYMBOL_LOCAL, W(u"v")), E_POINTER);
    EXPECT_EQ(assist->RemoveSymbol(nullptr, SYMBOL_LOCAL), E_POINTER);
    EXPECT_EQ(assist->LookupSymbol(W(u"x"), SYMBOL_LOCAL, nullptr, &out), E_POINTER);
    EXPECT_EQ(assist->GetFlags(nullptr), E_POINTER);
    EXPECT_EQ(assist->GetClassList(W(u""), nullptr), E_POINTER);
    EXPECT_EQ(assist2->GetSymbols(1, nullptr), E_POINTER);
    EXPECT_EQ(assist->QueryInterface(COM_IID_IVantleAssist, nullptr), E_POINTER);
    EXPECT_EQ(assist->SetSymbol(W(u"nothing"), SYMBOL_LOCAL, nullptr), S_OK) << "a NULL value is empty";
}

// Entries of a comma-terminated list.
std::vector<Units> Entries(const kesto::String& list) {
    std::vector<Units> entries;
    const Units text = UnitsOf(list);
    for (size_t start = 0, comma; (comma = text.find(',', start)) != Units::npos; start = comma + 1) {
        entries.push_back(text.substr(start, comma - start));
    }
    return entries;
}

// The service over the runtime's own tree of the bundled dictionary: every query
// about every member of every class is answered, and afterwards (the fixture's
// checks) every reference and string is given back and the module is unlocked.
TEST_F(AssistTest, AnswersEveryQueryOverTheRuntimesTreeAndLeavesNothingBehind) {
    kesto::Ref<COM_ITNodeManager> manager = NewTree();
    const LoadOutcome loaded = LoadFile(manager.get(), VANTLE_BUNDLED_DICTIONARY);
    ASSERT_EQ(loaded.status, S_OK) << loaded.message;
    ASSERT_EQ(assist->Initialize(manager.get()), S_OK);
    manager.reset();
    kesto::String classes, members, out[3];
    ASSERT_EQ(assist->GetClassList(W(""), classes.out()), S_OK);
    int answered = 0;
    auto count = [&answered](HRESULT hr) {
        EXPECT_TRUE(SUCCEEDED(hr)) << hr;
        answered += hr == S_OK;
    };
    for (const Units& className : Entries(classes)) {
        const CBSTR cls = className.c_str();
        count(assist3->GetClassMembersEx(cls, static_cast<MEMBER_FILTER_FLAGS>(63), out[0].out()));
        count(assist->GetClassMembers(cls, static_cast<MEMBER_FILTER_FLAGS>(63), members.out()));
        for (Units member : Entries(members)) {
            if (member.back() == '(') member.pop_back();
            SYMBOL_KIND typeKind{};
            count(assist->GetClassMemberType(cls, member.c_str(), &typeKind, out[0].out()));
            for (unsigned long argument : {0ul, 1ul, 2ul}) {
                count(assist->GetMethodSignature(cls, member.c_str(), argument, out[0].out(), out[1].out(),
                                                 out[2].out()));
            }
            for (SYMBOL_KIND kind : {SYMBOL_METHOD, SYMBOL_MEMBERMETHOD, SYMBOL_PROPERTY, SYMBOL_CLASSPARAMETER}) {
                count(assist2->GetMemberOrigin(cls, member.c_str(), kind, out[0].out()));
            }
        }
    }
    EXPECT_GT(answered, 500) << "the bundled dictionary should give a real workload";
}

}  // namespace
