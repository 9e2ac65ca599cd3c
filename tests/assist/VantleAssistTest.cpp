// The service object: how an editor reaches it, its lifetime, the small operations
// and the symbol operations.
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
}

// The object map itself is walked by every test that reaches the service through
// GetClassObject, and registered by the tool's tests.
TEST(ServiceObject, TheFactoryRefusesOtherInterfacesAndDestroysTheNewObject) {
    const int locks = g_theModule.GetLockCount();
    void* out = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(CVantleAssistant::_theClassFactory.CreateInstance(COM_IID_IClassFactory, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(g_theModule.GetLockCount(), locks) << "the new object was destroyed";
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

TEST_F(AssistTest, InitializeHoldsOneReferenceEachAndUnpinsTheFlags) {
    MEMBER_FILTER_FLAGS flags{};
    EXPECT_EQ(assist->GetFlags(&flags), S_FALSE);
    EXPECT_EQ(flags, 7);
    ASSERT_EQ(assist->SetFlags(static_cast<MEMBER_FILTER_FLAGS>(21)), S_OK);
    EXPECT_EQ(assist->GetFlags(&flags), S_OK);
    EXPECT_EQ(flags, 21);
    InitializeWithTree();
    EXPECT_EQ(tree.OutstandingReferences(), 2) << "the manager and its class cache";
    EXPECT_EQ(assist->GetFlags(&flags), S_FALSE);
    EXPECT_EQ(flags, 21);
    InitializeWithTree();
    EXPECT_EQ(tree.OutstandingReferences(), 2);
    ASSERT_EQ(assist->Initialize(nullptr), S_OK);
    EXPECT_EQ(tree.OutstandingReferences(), 0);
    BSTR out = nullptr;
    EXPECT_EQ(assist->GetClassMembers(W(u"Any"), MEMBER_PROPERTIES, &out), S_FALSE);

    ASSERT_EQ(assist->SetFlags(MEMBER_PARAMETERS), S_OK);
    tree.Fail(TreeCall::kQueryClassCache, E_NOINTERFACE);
    EXPECT_EQ(assist->Initialize(tree.Manager()), E_NOINTERFACE);
    EXPECT_EQ(tree.OutstandingReferences(), 1) << "a failed cache query keeps the manager";
    EXPECT_EQ(assist->GetFlags(&flags), S_OK) << "and the pinned flags";
    EXPECT_EQ(assist->Reset(), S_FALSE) << "no class cache";
}

TEST_F(AssistTest, ClassCacheOperations) {
    BSTR out = nullptr;
    EXPECT_EQ(assist->GetClassList(W(u"Sh"), &out), S_FALSE);  // no cache yet
    EXPECT_EQ(Take(out), "");
    EXPECT_EQ(assist->Reset(), S_FALSE);
    EXPECT_EQ(assist->SetImportPackageList(W(u"Shop")), S_FALSE);
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(assist->GetClassList(W(u"Sh"), &out), E_OUTOFMEMORY);
    KESTO_FaultInjectStrings(0, 0);
    for (const char16_t* name : {u"Shop.Cart", u"Shop.Item", u"%Text"}) tree.AddClass(name);
    tree.Fail(TreeCall::kResetCache, static_cast<HRESULT>(0x80670002));
    InitializeWithTree();
    EXPECT_EQ(assist->GetClassList(W(u"Shop."), &out), S_OK);
    EXPECT_EQ(Take(out), "Shop.Cart,Shop.Item,");
    EXPECT_EQ(assist->Reset(), static_cast<HRESULT>(0x80670002));
    EXPECT_EQ(assist->SetImportPackageList(W(u"Shop,Util")), S_OK);
    EXPECT_EQ(tree.Records().importPackageLists, std::vector<fakes::Text>{u"Shop,Util"});
}

class SymbolsTest : public AssistTest {
protected:
    // "value@language", or the result code when there is no answer.
    std::string Lookup(const char16_t* name, SYMBOL_KIND kind = SYMBOL_LOCAL) {
        ParserLanguage language{};
        BSTR value = nullptr;
        HRESULT hr = assist->LookupSymbol(W(name), kind, &language, &value);
        return hr == S_OK ? Take(value) + "@" + std::to_string(language) : std::to_string(hr);
    }
    Result Symbols(unsigned int filter) {
        BSTR list = reinterpret_cast<BSTR>(0x1);
        HRESULT hr = assist2->GetSymbols(filter, &list);
        return {hr, Take(list)};
    }
};

TEST_F(SymbolsTest, OnlyTheSystemSymbolMovesTheIncludeInheritedSwitch) {
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
        EXPECT_EQ(Lookup(name, kind), Narrow(W(value)) + "@0") << "stored in any case";
        BSTR none = nullptr;
        assist->GetClassMembers(W(u"Shop.Cart"), MEMBER_PROPERTIES, &none);
        EXPECT_EQ(tree.Records().children.back().includeInherited, includeInherited) << Narrow(W(value));
    }
}

// How scopes nest is the symbol-table stack's own test; this checks that the
// editor's calls reach it, and that the service is released with a scope open.
TEST_F(SymbolsTest, SymbolsFollowTheEditorsEmbeddings) {
    ASSERT_EQ(assist->SetSymbol(W(u"outer"), SYMBOL_LOCAL, W(u"o")), S_OK);
    ASSERT_EQ(assist->OnEmbeddingStart(static_cast<ParserLanguage>(5)), S_OK);
    ASSERT_EQ(assist->SetSymbol(W(u"inner"), SYMBOL_LOCAL, W(u"i")), S_OK);
    EXPECT_EQ(Lookup(u"inner"), "i@5");
    EXPECT_EQ(Symbols(1u << (SYMBOL_MACRO - 1)), Result(S_FALSE, "(null)"));
    ASSERT_EQ(assist->OnEmbeddingEnd(), S_OK);
    EXPECT_EQ(Lookup(u"inner"), "1");
    EXPECT_EQ(assist->RemoveSymbol(W(u"outer"), SYMBOL_LOCAL), S_OK);
    EXPECT_EQ(Lookup(u"outer"), "1");
    ASSERT_EQ(assist->OnEmbeddingStart(static_cast<ParserLanguage>(1)), S_OK);
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

}  // namespace
