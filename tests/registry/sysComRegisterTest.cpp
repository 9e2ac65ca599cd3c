// Registration records against a recording registry: the exact operation sequence
// of registering and unregistering, every failure path, and the object-map walk
// with its categories.
#include <gtest/gtest.h>

#include "assist/VantleAssistInterfaces.h"
#include "registry/RecordingRegistry.h"
#include "sys/sysComRegister.h"

namespace {

using registry_test::GuidText;
using registry_test::RecordingScope;
using registry_test::Wide;
using Calls = std::vector<std::string>;

const COM_GUID kClass = {0x0C1A55E5, 0x1234, 0x4321, {0x80, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}};
const std::string kClassText = "{0C1A55E5-1234-4321-8001-020304050607}";

// The optional arguments of UpdateRegistryClass; NULL when not given.
struct Optional {
    const char16_t* displayName = nullptr;
    const char16_t* description = nullptr;
    const char16_t* monikerKey = nullptr;
    const char16_t* extensions = nullptr;
};

HRESULT Update(int doRegister, const Optional& optional = Optional()) {
    auto text = [](const char16_t* given) { return given ? std::optional<Wide>(given) : std::nullopt; };
    auto orNull = [](const std::optional<Wide>& given) -> CBSTR { return given ? CBSTR(*given) : nullptr; };
    const auto display = text(optional.displayName), description = text(optional.description),
               moniker = text(optional.monikerKey), extensions = text(optional.extensions);
    return g_theModule.UpdateRegistryClass(kClass, Wide(u"Tool"), 0, doRegister, orNull(display),
                                           orNull(description), orNull(moniker), orNull(extensions));
}

Calls Join(std::initializer_list<Calls> parts) {
    Calls all;
    for (const Calls& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

const std::string T = kClassText;
const Calls kStart = {"OpenRoot(1,)", "CreateKey(CLSID,1)"};
const Calls kClassKeyWithServer = {"CreateKey(" + T + ",1)", "SetStringValue(,Tool)", "CreateKey(InprocServer32,1)",
                                   "SetStringValue(,libvantleassist.so)", "Close()"};
const Calls kOpenClassKey = {"OpenRoot(1,)", "OpenKey(CLSID)", "OpenKey(" + T + ")"};
const Calls kProgId = Join({kOpenClassKey, {"CreateKey(ProgID,1)", "SetStringValue(,Tool)", "Close()"}});
const Calls kReadCount = Join({kOpenClassKey, {"CreateKey(InstallCount,1)", "GetIntValue()"}});
const Calls kNameKey = {"Close()", "OpenRoot(1,)", "CreateKey(Tool,1)", "CreateKey(CLSID,1)",
                        "SetStringValue(," + T + ")", "Close()"};
const Calls kDeleteClassKey = {"Close()", "OpenRoot(1,)", "OpenKey(CLSID)", "DeleteKey(" + T + ")"};
const Calls kDeleteNameKey = {"Close()", "OpenRoot(1,)", "DeleteKey(Tool)", "OpenKey(CLSID)", "EnumSubkeys()",
                              "GetCount()"};
const Calls kDeleteEmptyClsid = {"Close()", "OpenRoot(1,)", "DeleteKey()"};
const Calls kEnd = {"Enum.Release", "Close()"};

Calls RegisterCalls(int newCount, const Calls& optional = Calls()) {
    return Join({kStart, kClassKeyWithServer, kProgId, kReadCount,
                 {"SetIntValue(," + std::to_string(newCount) + ")", "Close()"}, optional, kNameKey});
}

class UpdateRegistryClassTest : public ::testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(m_scope.liveObjects, 0) << "every registry object and enumerator was released";
        EXPECT_EQ(KESTO_LiveStringCount(), m_strings) << "every string was freed";
    }

    RecordingScope m_scope;
    long m_strings = KESTO_LiveStringCount();
};

TEST_F(UpdateRegistryClassTest, RegisteringWritesTheRecordsAndCountsInstallations) {
    const Calls display = Join({kOpenClassKey, {"CreateKey(DisplayName,1)", "SetStringValue(,Shown)", "Close()"}});
    const Calls description =
        Join({kOpenClassKey, {"CreateKey(Description,1)", "SetStringValue(,Says)", "Close()"}});
    // Pieces are not trimmed; an empty piece names the default value.
    const Calls moniker = {"OpenRoot(1,)",
                           "CreateKey(Moniker,1)",
                           "CreateKey(mk,1)",
                           "SetStringValue(a," + T + ")",
                           "SetStringValue(," + T + ")",
                           "SetStringValue( b," + T + ")"};
    struct Case {
        const char* what;
        Optional optional;
        Calls records;
        std::optional<int> countBefore = std::nullopt;
        int countAfter = 1;
    };
    const Case cases[] = {
        {"first time, count 0", {}, {}, 0, 1},
        {"second time", {}, {}, 1, 2},
        {"display name", {u"Shown", nullptr, nullptr, nullptr}, display},
        {"description", {nullptr, u"Says", nullptr, nullptr}, description},
        {"both", {u"Shown", u"Says", nullptr, nullptr}, Join({display, description})},
        {"moniker key without extensions", {nullptr, nullptr, u"mk", nullptr}, {}},
        {"extensions without moniker key", {nullptr, nullptr, nullptr, u"a"}, {}},
        {"moniker", {nullptr, nullptr, u"mk", u"a,, b"}, moniker},
    };
    for (const Case& c : cases) {
        m_scope.calls.clear();
        m_scope.installCount = c.countBefore;
        EXPECT_EQ(Update(1, c.optional), S_OK) << c.what;
        EXPECT_EQ(m_scope.calls, RegisterCalls(c.countAfter, c.records)) << c.what;
    }
}

TEST_F(UpdateRegistryClassTest, UnregisteringLowersTheCountAndTheLastRemovesEverything) {
    const Calls moniker = {"OpenRoot(1,)", "CreateKey(Moniker,1)", "CreateKey(mk,1)", "DeleteValue(a)",
                           "DeleteValue(b)"};
    struct Case {
        const char* what;
        std::optional<int> count;
        unsigned int otherClasses;
        Optional optional;
        HRESULT result;
        Calls calls;
    };
    const Case cases[] = {
        {"still installed: records and categories stay", 2, 0, {}, S_FALSE,
         Join({kStart, kReadCount, {"SetIntValue(,1)", "Close()"}})},
        {"last installation, no other class", 1, 0, {}, S_OK,
         Join({kStart, kReadCount, {"SetIntValue(,0)"}, kDeleteClassKey, kDeleteNameKey, kDeleteEmptyClsid, kEnd})},
        {"last installation, other classes stay", 1, 3, {}, S_OK,
         Join({kStart, kReadCount, {"SetIntValue(,0)"}, kDeleteClassKey, kDeleteNameKey, kEnd})},
        {"never counted", std::nullopt, 0, {}, S_OK,
         Join({kStart, kReadCount, kDeleteClassKey, kDeleteNameKey, kDeleteEmptyClsid, kEnd})},
        {"count already 0", 0, 0, {}, S_OK,
         Join({kStart, kReadCount, kDeleteClassKey, kDeleteNameKey, kDeleteEmptyClsid, kEnd})},
        {"moniker values go", 1, 1, {u"Shown", u"Says", u"mk", u"a,b"}, S_OK,
         Join({kStart, kReadCount, {"SetIntValue(,0)"}, kDeleteClassKey, moniker, kDeleteNameKey, kEnd})},
    };
    for (const Case& c : cases) {
        m_scope.calls.clear();
        m_scope.installCount = c.count;
        m_scope.subkeyCount = c.otherClasses;
        EXPECT_EQ(Update(0, c.optional), c.result) << c.what;
        EXPECT_EQ(m_scope.calls, c.calls) << c.what;
    }
}

// Each call of each sequence fails in turn: the failure is returned as it is,
// nothing after it is asked of the registry (no Close: releasing rolls back),
// and nothing leaks.
TEST_F(UpdateRegistryClassTest, EveryFailingRegistryCallEndsTheUpdate) {
    struct Case {
        const char* what;
        int doRegister;
        std::optional<int> count;
        unsigned int otherClasses;
        Optional optional;
    };
    const Case cases[] = {
        {"register", 1, 1, 0, {u"Shown", u"Says", u"mk", u"a,b"}},
        {"unregister still installed", 0, 2, 0, {}},
        {"last unregister", 0, 1, 0, {nullptr, nullptr, u"mk", u"a,b"}},
    };
    for (const Case& c : cases) {
        m_scope.failAt.reset();
        m_scope.calls.clear();
        m_scope.recordedCalls = 0;
        m_scope.installCount = c.count;
        m_scope.subkeyCount = c.otherClasses;
        const HRESULT success = Update(c.doRegister, c.optional);
        Calls full = m_scope.calls;
        full.erase(std::remove(full.begin(), full.end(), "Enum.Release"), full.end());
        for (std::size_t failing = 0; failing < full.size(); ++failing) {
            m_scope.calls.clear();
            m_scope.recordedCalls = 0;
            m_scope.failAt = failing;
            m_scope.failWith = failing % 2 ? REGDB_E_WRITEREGDB : REGDB_E_KEYMISSING;
            EXPECT_EQ(Update(c.doRegister, c.optional), m_scope.failWith) << c.what << " failing at " << full[failing];
            Calls seen = m_scope.calls;
            seen.erase(std::remove(seen.begin(), seen.end(), "Enum.Release"), seen.end());
            EXPECT_EQ(seen, Calls(full.begin(), full.begin() + failing + 1)) << c.what;
            EXPECT_EQ(m_scope.liveObjects, 0) << c.what;
        }
        m_scope.failAt.reset();
        EXPECT_EQ(Update(c.doRegister, c.optional), success) << c.what;
    }
}

TEST_F(UpdateRegistryClassTest, ARegistryThatCannotBeMadeIsTheResult) {
    m_scope.createRegistryResult = REGDB_E_READREGDB;
    EXPECT_EQ(Update(1), REGDB_E_READREGDB);
    EXPECT_EQ(Update(0), REGDB_E_READREGDB);
    EXPECT_TRUE(m_scope.calls.empty());
}

TEST_F(UpdateRegistryClassTest, RunningOutOfStringsEndsTheUpdateCleanly) {
    // Strings are made for the class text, the module name and each extension.
    for (int doRegister : {1, 0}) {
        m_scope.installCount = 1;
        bool succeeded = false;
        for (unsigned long skip = 0; !succeeded && skip < 20; ++skip) {
            m_scope.calls.clear();
            KESTO_FaultInjectStrings(skip, 1);
            HRESULT hr = Update(doRegister, {nullptr, nullptr, u"mk", u"a,b"});
            bool failed = KESTO_FaultInjectedFailures() > 0;
            KESTO_FaultInjectStrings(0, 0);
            if (failed) {
                EXPECT_EQ(hr, E_OUTOFMEMORY) << "skip " << skip;
                EXPECT_TRUE(m_scope.calls.empty() || m_scope.calls.back() != "Close()") << "skip " << skip;
            } else {
                EXPECT_EQ(hr, S_OK);
                succeeded = true;
            }
            EXPECT_EQ(m_scope.liveObjects, 0);
        }
        EXPECT_TRUE(succeeded);
    }
}

// --- The object-map walk ------------------------------------------------------

const COM_GUID kClassA = {0xA, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0xA}};
const COM_GUID kClassB = {0xB, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0xB}};
const COM_GUID kClassC = {0xC, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0xC}};
const COM_GUID kCategory1 = {0xCA7, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}};
const COM_GUID kCategory2 = {0xCA7, 0, 0, {0, 0, 0, 0, 0, 0, 0, 2}};

// What each class's updater returns, and the log of updater calls.
HRESULT s_updateResult[3];
Calls s_updates;

template <int Index>
HRESULT ScriptedUpdater(int doRegister) {
    s_updates.push_back(std::string(1, static_cast<char>('A' + Index)) + "(" + std::to_string(doRegister) + ")");
    return s_updateResult[Index];
}

const COM_GUID* const s_twoCategories[] = {&kCategory1, &kCategory2, nullptr};
const COM_GUID* const s_oneCategory[] = {&kCategory2, nullptr};
const void* TwoCategories() { return s_twoCategories; }
const void* OneCategory() { return s_oneCategory; }
const void* NoCategories() { return nullptr; }

// A has two categories, B none, C one and no updater.
const COM_OBJECT_MAP_ENTRY s_map[] = {
    {&kClassA, nullptr, ScriptedUpdater<0>, TwoCategories},
    {&kClassB, nullptr, ScriptedUpdater<1>, NoCategories},
    {&kClassC, nullptr, nullptr, OneCategory},
    {nullptr, nullptr, nullptr, nullptr},
};

std::string In(const char* verb, const COM_GUID& category, const COM_GUID& clsid) {
    return std::string(verb) + "(" + GuidText(category) + "," + GuidText(clsid) + ")";
}

class RegisterServerTest : public UpdateRegistryClassTest {
protected:
    void SetUp() override {
        s_updates.clear();
        for (HRESULT& result : s_updateResult) result = S_OK;
    }
};

TEST_F(RegisterServerTest, RegisteringRunsEveryUpdaterAndJoinsEveryCategory) {
    EXPECT_EQ(sysRegisterObjectMap(s_map, 1), 0);
    EXPECT_EQ(s_updates, Calls({"A(1)", "B(1)"}));
    EXPECT_EQ(m_scope.categoryCalls, Calls({In("Register", kCategory1, kClassA), In("Register", kCategory2, kClassA),
                                            In("Register", kCategory2, kClassC)}));
    EXPECT_EQ(m_scope.categoryManagersMade, 1);
}

TEST_F(RegisterServerTest, UnregisteringLeavesCategoriesOnceAClassIsStillInstalled) {
    struct Case {
        const char* what;
        HRESULT a, b;
        Calls categoryCalls;
    };
    const Case cases[] = {
        {"all removed", S_OK, S_OK,
         {In("Unregister", kCategory1, kClassA), In("Unregister", kCategory2, kClassA),
          In("Unregister", kCategory2, kClassC)}},
        {"A still installed: A and every later class keep theirs", S_FALSE, S_OK, {}},
        {"B still installed: A's go, C keeps its", S_OK, S_FALSE,
         {In("Unregister", kCategory1, kClassA), In("Unregister", kCategory2, kClassA)}},
    };
    for (const Case& c : cases) {
        s_updates.clear();
        m_scope.categoryCalls.clear();
        s_updateResult[0] = c.a;
        s_updateResult[1] = c.b;
        EXPECT_EQ(sysRegisterObjectMap(s_map, 0), 0) << c.what;
        EXPECT_EQ(s_updates, Calls({"A(0)", "B(0)"})) << c.what;
        EXPECT_EQ(m_scope.categoryCalls, c.categoryCalls) << c.what;
    }
}

TEST_F(RegisterServerTest, AnyFailureMakesTheResultOneAndTheWalkGoesOn) {
    s_updateResult[0] = REGDB_E_WRITEREGDB;
    EXPECT_EQ(sysRegisterObjectMap(s_map, 1), 1);
    EXPECT_EQ(s_updates, Calls({"A(1)", "B(1)"}));
    EXPECT_EQ(m_scope.categoryCalls.size(), 3u) << "A's categories are still joined";

    s_updates.clear();
    s_updateResult[0] = S_OK;
    m_scope.categoryCalls.clear();
    m_scope.failingCategoryCalls = {0};
    EXPECT_EQ(sysRegisterObjectMap(s_map, 1), 1);
    EXPECT_EQ(m_scope.categoryCalls.size(), 3u);

    s_updates.clear();
    m_scope.categoryCalls.clear();
    m_scope.createCategoriesResult = E_OUTOFMEMORY;
    EXPECT_EQ(sysRegisterObjectMap(s_map, 0), 1);
    EXPECT_EQ(s_updates, Calls({"A(0)", "B(0)"}));
    EXPECT_TRUE(m_scope.categoryCalls.empty());
}

// --- The library's own classes --------------------------------------------------

TEST_F(RegisterServerTest, TheServiceRegistersItselfAndFailsWithoutARegistry) {
    const std::string service = GuidText(COM_CLSID_VantleAssist);
    EXPECT_EQ(DllRegisterServer(), 0);
    ASSERT_FALSE(m_scope.calls.empty());
    EXPECT_EQ(std::count(m_scope.calls.begin(), m_scope.calls.end(), "SetStringValue(,VantleAssist)"), 2);
    EXPECT_EQ(std::count(m_scope.calls.begin(), m_scope.calls.end(), "CreateKey(" + service + ",1)"), 1);
    EXPECT_EQ(m_scope.calls.back(), "Close()");
    EXPECT_TRUE(m_scope.categoryCalls.empty()) << "the service declares no categories";

    m_scope.installCount = 2;
    EXPECT_EQ(DllUnregisterServer(), 0) << "still installed elsewhere is not a failure";

    m_scope.createRegistryResult = REGDB_E_READREGDB;
    EXPECT_EQ(DllRegisterServer(), 1);
    EXPECT_EQ(DllUnregisterServer(), 1);
}

}  // namespace
