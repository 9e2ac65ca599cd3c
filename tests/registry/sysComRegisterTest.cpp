// Registration records: what registering and unregistering leave in a real
// registry, every failing registry call and string allocation against a double,
// and the object-map walk with its categories.
#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <utility>
#include <vector>

#include "RegistryTestSupport.h"
#include "StringBalanceTest.h"
#include "kesto/diagnostics.h"
#include "sysComRegister.h"

namespace {

using namespace registry_test;
using Calls = std::vector<std::string>;

const COM_GUID kClass = {0x0C1A55E5, 0x1234, 0x4321, {0x80, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}};
const COM_GUID kOtherClass = {0x0C1A55E6, 0x1234, 0x4321, {0x80, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}};
const std::string kClassText = "{0C1A55E5-1234-4321-8001-020304050607}";
const std::string kClassKey = "CLSID\\" + kClassText;
const std::string kOtherKey = "CLSID\\{0C1A55E6-1234-4321-8001-020304050607}";

// The class registered as "Tool" with every optional record, or as "Other" with none.
HRESULT Update(int doRegister, bool other = false) {
    const W name(other ? u"Other" : u"Tool"), shown(u"Shown"), says(u"Says"), moniker(u"mk"), extensions(u"a,, b");
    auto given = [other](const W& text) -> CBSTR { return other ? nullptr : static_cast<CBSTR>(text); };
    return g_theModule.UpdateRegistryClass(other ? kOtherClass : kClass, name, 0, doRegister, given(shown),
                                           given(says), given(moniker), given(extensions));
}

class RegistrationTest : public StringBalanceTest {
protected:
    TempFolder m_folder;
    ScopedEnv m_registryEnv{"KESTO_REGISTRY", m_folder / "registry.db"};
};

TEST_F(RegistrationTest, InstallationsAreCountedAndTheLastUnregistrationRemovesEveryRecord) {
    ASSERT_EQ(Update(1), S_OK);
    const std::pair<std::string, std::string> records[] = {
        {kClassKey, "Tool"},  {kClassKey + "\\InprocServer32", "libvantleassist.so"}, {kClassKey + "\\ProgID", "Tool"},
        {kClassKey + "\\DisplayName", "Shown"}, {kClassKey + "\\Description", "Says"},
        {kClassKey + "\\InstallCount", "1"},    {"Tool\\CLSID", kClassText},
    };
    for (const auto& [path, value] : records) EXPECT_EQ(ValueAt(path), value) << path;
    // Extensions are not trimmed; an empty one names the default value.
    for (const char* extension : {"a", "", " b"}) EXPECT_EQ(ValueAt("Moniker\\mk", extension), kClassText);
    ASSERT_EQ(Update(1), S_OK);
    EXPECT_EQ(ValueAt(kClassKey + "\\InstallCount"), "2");
    EXPECT_EQ(Update(0), S_FALSE) << "still installed: only the count goes down";
    EXPECT_EQ(ValueAt(kClassKey + "\\InstallCount"), "1");
    EXPECT_EQ(ValueAt("Moniker\\mk", "a"), kClassText);
    ASSERT_EQ(Update(1, true), S_OK);
    EXPECT_EQ(ValueAt(kOtherKey + "\\InstallCount"), "1");
    EXPECT_FALSE(KeyExists(kOtherKey + "\\DisplayName") || KeyExists(kOtherKey + "\\Description"));

    EXPECT_EQ(Update(0), S_OK);
    EXPECT_FALSE(KeyExists(kClassKey) || KeyExists("Tool"));
    for (const char* extension : {"a", "", " b"}) EXPECT_EQ(ValueAt("Moniker\\mk", extension), std::nullopt);
    EXPECT_TRUE(KeyExists(kOtherKey)) << "other classes stay";
    // A class whose installations were never counted goes at once.
    Ref<COM_IRegistry> registry = OpenAt(kOtherKey);
    ASSERT_TRUE(registry);
    ASSERT_EQ(registry->DeleteKey(W(u"InstallCount")), S_OK);
    ASSERT_EQ(registry->Close(), S_OK);
    EXPECT_EQ(Update(0, true), S_OK);
    EXPECT_FALSE(KeyExists("CLSID")) << "the emptied CLSID key goes with the last class";
    EXPECT_EQ(Update(0), REGDB_E_KEYMISSING) << "nothing left to unregister";
}

// The count moves by one as long as it can and stays at the ends of int; no
// count makes the arithmetic overflow.
TEST_F(RegistrationTest, TheInstallCountStopsAtTheLimitsOfInt) {
    struct Case {
        int stored, doRegister;
        HRESULT result;
        std::optional<std::string> after;
    };
    const Case cases[] = {
        {INT_MAX - 1, 1, S_OK, std::to_string(INT_MAX)},
        {INT_MAX, 1, S_OK, std::to_string(INT_MAX)},
        {INT_MAX, 0, S_FALSE, std::to_string(INT_MAX - 1)},
        {INT_MIN, 0, S_FALSE, std::to_string(INT_MIN)},
        {INT_MIN, 1, S_OK, std::to_string(INT_MIN + 1)},
        {-1, 1, S_OK, "0"},
        {-1, 0, S_FALSE, "-2"},
        {1, 0, S_OK, std::nullopt},
    };
    for (const Case& c : cases) {
        const std::string what = std::to_string(c.stored) + (c.doRegister ? " register" : " unregister");
        ASSERT_EQ(Update(1), S_OK) << what;
        Ref<COM_IRegistry> registry = OpenAt(kClassKey + "\\InstallCount");
        ASSERT_TRUE(registry);
        ASSERT_EQ(registry->SetIntValue(W(u""), c.stored), S_OK);
        ASSERT_EQ(registry->Close(), S_OK);
        EXPECT_EQ(Update(c.doRegister), c.result) << what;
        EXPECT_EQ(ValueAt(kClassKey + "\\InstallCount"), c.after) << what;
        if (KeyExists(kClassKey)) {
            ASSERT_TRUE(registry = OpenAt("CLSID"));
            ASSERT_EQ(registry->DeleteKey(W(kClassText)), S_OK);
            ASSERT_EQ(registry->Close(), S_OK);
        }
    }
}

// Doubles of the registry and the category manager in the place of the runtime's
// classes. Calls are logged, registry calls by name and category calls as
// "Register(category,class)", and the failAt-th fails; GetIntValue finds
// installCount and the subkey enumerator counts `subkeys`.
struct Doubles {
    Calls calls;
    std::optional<std::size_t> failAt;
    HRESULT failWith = REGDB_E_WRITEREGDB, createRegistry = S_OK, createCategories = S_OK;
    std::optional<int> installCount;
    unsigned int subkeys = 0;
    long live = 0;
};
Doubles* s_doubles = nullptr;

HRESULT Log(std::string call) {
    s_doubles->calls.push_back(std::move(call));
    return s_doubles->failAt == s_doubles->calls.size() - 1 ? s_doubles->failWith : S_OK;
}

HRESULT Log(const char* verb, const COM_GUID& category, const COM_GUID& clsid) {
    char call[64];
    std::snprintf(call, sizeof call, "%s(%X,%X)", verb, category.Data1, clsid.Data1);
    return Log(std::string(call));
}

template <typename Interface>
class Double : public Interface {
public:
    Double() { ++s_doubles->live; }
    ~Double() override { --s_doubles->live; }
    HRESULT QueryInterface(const COM_GUID&, void** out) override { return *out = nullptr, E_NOINTERFACE; }
    unsigned long AddRef() override { return ++m_references; }
    unsigned long Release() override {
        unsigned long left = --m_references;
        if (left == 0) delete this;
        return left;
    }

private:
    unsigned long m_references = 1;
};

class RegistryEnum final : public Double<COM_IRegistryEnum> {
    HRESULT GetCount(unsigned int* count) override { return *count = s_doubles->subkeys, Log("GetCount"); }
    HRESULT Next(BSTR* name) override { return *name = nullptr, Log("Next"); }
};

class Registry final : public Double<COM_IRegistry> {
    HRESULT OpenRoot(int, CBSTR) override { return Log("OpenRoot"); }
    HRESULT Close() override { return Log("Close"); }
    HRESULT OpenKey(CBSTR) override { return Log("OpenKey"); }
    HRESULT CreateKey(CBSTR, int) override { return Log("CreateKey"); }
    HRESULT DeleteKey(CBSTR) override { return Log("DeleteKey"); }
    HRESULT SetStringValue(CBSTR, CBSTR) override { return Log("SetStringValue"); }
    HRESULT GetStringValue(CBSTR, BSTR* value) override { return *value = nullptr, Log("GetStringValue"); }
    HRESULT SetIntValue(CBSTR, int) override { return Log("SetIntValue"); }
    HRESULT GetIntValue(CBSTR, int* value) override {
        HRESULT hr = Log("GetIntValue");
        if (FAILED(hr) || !s_doubles->installCount) return FAILED(hr) ? hr : S_FALSE;
        return *value = *s_doubles->installCount, S_OK;
    }
    HRESULT DeleteValue(CBSTR) override { return Log("DeleteValue"); }
    HRESULT EnumSubkeys(COM_IRegistryEnum** out) override {
        HRESULT hr = Log("EnumSubkeys");
        return *out = SUCCEEDED(hr) ? new RegistryEnum : nullptr, hr;
    }
    HRESULT EnumValues(COM_IRegistryEnum** out) override { return *out = nullptr, Log("EnumValues"); }
    HRESULT GetValueKind(CBSTR, int* kind) override { return *kind = KESTO_REGISTRY_NONE, Log("GetValueKind"); }
    HRESULT OpenParent() override { return Log("OpenParent"); }
};

class Categories final : public Double<COM_ICatRegister> {
    HRESULT RegisterCategory(const COM_GUID& category, CBSTR) override { return Log("Category", category, category); }
    HRESULT UnregisterCategory(const COM_GUID& category) override { return Log("Uncategory", category, category); }
    HRESULT RegisterClassInCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Log("Register", *category, clsid);
    }
    HRESULT UnregisterClassFromCategory(const COM_GUID* category, const COM_GUID& clsid) override {
        return Log("Unregister", *category, clsid);
    }
};

template <typename Made, typename Interface>
HRESULT Make(HRESULT scripted, const COM_GUID& iid, const COM_GUID& expected, void** out) {
    *out = nullptr;
    if (FAILED(scripted)) return scripted;
    if (!COM_IsEqualGUID(iid, expected)) return E_NOINTERFACE;
    *out = static_cast<Interface*>(new Made);
    return S_OK;
}

class DoubledRegistrationTest : public RegistrationTest {
protected:
    void SetUp() override {
        s_doubles = &m_doubles;
        KESTO_OverrideClass(COM_CLSID_Registry, [](const COM_GUID& iid, void** out) {
            return Make<Registry, COM_IRegistry>(s_doubles->createRegistry, iid, COM_IID_IRegistry, out);
        });
        KESTO_OverrideClass(COM_CLSID_CategoryManager, [](const COM_GUID& iid, void** out) {
            return Make<Categories, COM_ICatRegister>(s_doubles->createCategories, iid, COM_IID_ICatRegister, out);
        });
    }
    void TearDown() override {
        KESTO_OverrideClass(COM_CLSID_Registry, nullptr);
        KESTO_OverrideClass(COM_CLSID_CategoryManager, nullptr);
        EXPECT_EQ(m_doubles.live, 0) << "every registry object and enumerator was released";
    }

    Doubles m_doubles;
};

// Each call of each sequence fails in turn, then each string allocation: the
// failure is returned as it is and nothing more is asked of the registry (no
// Close: releasing rolls back).
TEST_F(DoubledRegistrationTest, EveryFailingRegistryCallOrStringEndsTheUpdate) {
    struct Case {
        int doRegister;
        std::optional<int> count;
        unsigned int otherClasses;
    };
    for (const Case& c : {Case{1, 1, 0}, Case{0, 2, 0}, Case{0, 1, 0}, Case{0, 1, 3}, Case{0, std::nullopt, 0}}) {
        m_doubles.installCount = c.count;
        m_doubles.subkeys = c.otherClasses;
        m_doubles.failAt.reset();
        m_doubles.calls.clear();
        const HRESULT success = Update(c.doRegister);
        const Calls full = m_doubles.calls;
        for (std::size_t failing = 0; failing < full.size(); ++failing) {
            m_doubles.calls.clear();
            m_doubles.failAt = failing;
            m_doubles.failWith = failing % 2 ? REGDB_E_WRITEREGDB : REGDB_E_KEYMISSING;
            EXPECT_EQ(Update(c.doRegister), m_doubles.failWith) << c.doRegister << " failing at " << failing;
            EXPECT_EQ(m_doubles.calls, Calls(full.begin(), full.begin() + failing + 1));
            EXPECT_EQ(m_doubles.live, 0);
        }
        m_doubles.failAt.reset();
        const HRESULT clean = UnderStringFailures([&] { return m_doubles.calls.clear(), Update(c.doRegister); },
                                                  [&](HRESULT hr, unsigned long skip) {
                                                      EXPECT_EQ(hr, E_OUTOFMEMORY) << skip;
                                                      EXPECT_TRUE(m_doubles.calls.empty() ||
                                                                  m_doubles.calls.back() != "Close") << skip;
                                                      EXPECT_EQ(m_doubles.live, 0) << skip;
                                                  },
                                                  20);
        EXPECT_EQ(clean, success);
    }
    m_doubles.createRegistry = REGDB_E_READREGDB;
    m_doubles.calls.clear();
    EXPECT_EQ(Update(1), REGDB_E_READREGDB);
    EXPECT_EQ(Update(0), REGDB_E_READREGDB);
    EXPECT_EQ(DllRegisterServer(), 1);
    EXPECT_EQ(DllUnregisterServer(), 1);
    EXPECT_TRUE(m_doubles.calls.empty());
}

// --- The object-map walk: A has categories 1 and 2, B none, C category 2 and no updater.

HRESULT s_updateResult[2];
Calls s_updates;

template <int Index>
HRESULT ScriptedUpdater(int doRegister) {
    s_updates.push_back(std::string(1, static_cast<char>('A' + Index)) + std::to_string(doRegister));
    return s_updateResult[Index];
}

const COM_GUID kCategory1 = {1, 0, 0, {}}, kCategory2 = {2, 0, 0, {}};
const COM_GUID kClassA = {0xA, 0, 0, {}}, kClassB = {0xB, 0, 0, {}}, kClassC = {0xC, 0, 0, {}};
const COM_GUID* const s_twoCategories[] = {&kCategory1, &kCategory2, nullptr};
const COM_GUID* const s_oneCategory[] = {&kCategory2, nullptr};

const COM_OBJECT_MAP_ENTRY s_map[] = {
    {&kClassA, nullptr, ScriptedUpdater<0>, [] { return static_cast<const void*>(s_twoCategories); }},
    {&kClassB, nullptr, ScriptedUpdater<1>, []() -> const void* { return nullptr; }},
    {&kClassC, nullptr, nullptr, [] { return static_cast<const void*>(s_oneCategory); }},
    {nullptr, nullptr, nullptr, nullptr},
};

TEST_F(DoubledRegistrationTest, TheObjectMapWalkGoesOnPastFailuresAndKeepsCategoriesOfInstalledClasses) {
    const Calls all = {"Register(1,A)", "Register(2,A)", "Register(2,C)"};
    struct Case {
        const char* what;
        int doRegister;
        HRESULT a, b, categoriesMade;
        std::optional<std::size_t> failCategoryAt;
        HRESULT result;
        Calls categoryCalls;
    };
    const Case cases[] = {
        {"register", 1, S_OK, S_OK, S_OK, {}, 0, all},
        {"failing updater: A's categories still joined", 1, REGDB_E_WRITEREGDB, S_OK, S_OK, {}, 1, all},
        {"failing category call", 1, S_OK, S_OK, S_OK, 0, 1, all},
        {"unregister", 0, S_OK, S_OK, S_OK, {}, 0, {"Unregister(1,A)", "Unregister(2,A)", "Unregister(2,C)"}},
        {"A still installed: A and every later class keep theirs", 0, S_FALSE, S_OK, S_OK, {}, 0, {}},
        {"B still installed: C keeps its", 0, S_OK, S_FALSE, S_OK, {}, 0, {"Unregister(1,A)", "Unregister(2,A)"}},
        {"no category manager", 0, S_OK, S_OK, E_OUTOFMEMORY, {}, 1, {}},
    };
    for (const Case& c : cases) {
        s_updates.clear();
        m_doubles.calls.clear();
        s_updateResult[0] = c.a;
        s_updateResult[1] = c.b;
        m_doubles.createCategories = c.categoriesMade;
        m_doubles.failAt = c.failCategoryAt;
        EXPECT_EQ(sysRegisterObjectMap(s_map, c.doRegister), c.result) << c.what;
        const std::string d = std::to_string(c.doRegister);
        EXPECT_EQ(s_updates, Calls({"A" + d, "B" + d})) << c.what;
        EXPECT_EQ(m_doubles.calls, c.categoryCalls) << c.what;
    }
}

}  // namespace
