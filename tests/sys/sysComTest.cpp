// The frame: class factories called through raw table slots, lock counts,
// table-driven interface lookup, and the module's entry points. The objects the
// frame makes are tested through the service itself (assist tests).
#include <gtest/gtest.h>

#include <vector>

#include "AssistTestSupport.h"

namespace {

HRESULT RawQuery(void* interface, const COM_GUID& iid, void** out) {
    return CallSlot<HRESULT>(interface, 2, &iid, out);
}
unsigned long RawAddRef(void* interface) { return CallSlot<unsigned long>(interface, 3); }
unsigned long RawRelease(void* interface) { return CallSlot<unsigned long>(interface, 4); }

void* const kUntouched = reinterpret_cast<void*>(0x5A5A);
const COM_GUID kUnknownId = {0x6A1C2F13, 0x3B7E, 0x4D21, {0x9E, 0x51, 0, 0, 0, 0, 0, 1}};

// Every test starts and must end with an unlocked module and no live string.
class FrameTest : public StringBalanceTest {
protected:
    void SetUp() override { ASSERT_EQ(g_theModule.GetLockCount(), 0); }
    void TearDown() override { EXPECT_EQ(g_theModule.GetLockCount(), 0); }
};

TEST_F(FrameTest, EveryFactoryOfTheObjectMapAnswersItselfAndEachReferenceLocksTheModule) {
    void* out = kUntouched;
    EXPECT_EQ(GetClassObject(kUnknownId, COM_IID_IClassFactory, &out), static_cast<HRESULT>(0x80040111));
    EXPECT_EQ(out, kUntouched);
    for (const COM_OBJECT_MAP_ENTRY* row = GetObjectMap(); row->clsid != nullptr; ++row) {
        void* const factory = static_cast<COM_IClassFactory*>(row->factory);
        EXPECT_EQ(GetClassObject(*row->clsid, kUnknownId, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        ASSERT_EQ(GetClassObject(*row->clsid, COM_IID_IClassFactory, &out), S_OK);
        EXPECT_EQ(out, factory);
        EXPECT_EQ(RawQuery(factory, COM_IID_IUnknown, &out), S_OK);
        EXPECT_EQ(out, factory);
        EXPECT_EQ(RawQuery(factory, kUnknownId, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(RawQuery(factory, COM_IID_IUnknown, nullptr), E_POINTER);
        EXPECT_EQ(RawAddRef(factory), 1u) << "a static factory always answers 1";
        EXPECT_EQ(g_theModule.GetLockCount(), 3);
        for (int left = 2; left >= 0; --left) {
            EXPECT_EQ(CanUnloadNow(), S_FALSE);
            EXPECT_EQ(RawRelease(factory), 1u);
            EXPECT_EQ(g_theModule.GetLockCount(), left);
        }
        EXPECT_EQ(CanUnloadNow(), S_OK);
    }
}

// A resolver row records its datum and answers the datum's low 32 bits as its
// HRESULT; a success hands out &g_resolved.
std::vector<unsigned long long> g_resolverCalls;
int g_resolved;

HRESULT RecordingResolver(void*, unsigned long long data, const COM_GUID& iid, void** out) {
    EXPECT_TRUE(COM_IsEqualGUID(iid, kUnknownId)) << "the caller's identifier is passed on";
    g_resolverCalls.push_back(data);
    const HRESULT hr = static_cast<HRESULT>(static_cast<unsigned int>(data));
    if (hr == S_OK) *out = &g_resolved;
    return hr;
}

TEST_F(FrameTest, ResolverRowsFollowThePendingResultRule) {
    const COM_GUID *query = &kUnknownId, *other = &COM_IID_IClassFactory;
    constexpr auto F = [](HRESULT hr) { return static_cast<unsigned long long>(static_cast<unsigned int>(hr)); };
    struct Case {
        const char* name;
        std::vector<COM_INTERFACE_ENTRY> rows;  // after an identity row that never matches
        HRESULT expected;
        std::vector<unsigned long long> calls;
    };
    const Case cases[] = {
        {"no row matches", {{other, RecordingResolver, F(E_FAIL)}}, E_NOINTERFACE, {}},
        {"last refusal wins", {{query, RecordingResolver, F(E_UNEXPECTED)}, {query, RecordingResolver, F(E_FAIL)}},
         E_FAIL, {F(E_UNEXPECTED), F(E_FAIL)}},
        {"a refusal outlives later non-matching rows",
         {{query, RecordingResolver, F(E_UNEXPECTED)}, {other, RecordingResolver, F(E_FAIL)}}, E_UNEXPECTED,
         {F(E_UNEXPECTED)}},
        {"success ends the walk",
         {{query, RecordingResolver, F(E_FAIL)}, {query, RecordingResolver, 0}, {query, RecordingResolver, F(E_FAIL)}},
         S_OK, {F(E_FAIL), 0}},
        {"a null identifier matches every identifier", {{nullptr, RecordingResolver, 0}}, S_OK, {0}},
        {"S_FALSE is a refusal too", {{query, RecordingResolver, F(S_FALSE)}}, S_FALSE, {F(S_FALSE)}},
    };
    for (const Case& c : cases) {
        std::vector<COM_INTERFACE_ENTRY> table = {{other, COM_INTERFACE_OFFSET_ENTRY, 0}};
        table.insert(table.end(), c.rows.begin(), c.rows.end());
        table.push_back({query, nullptr, 0});  // the end row's identifier is never looked at
        table.push_back({query, RecordingResolver, F(E_POINTER)});
        g_resolverCalls.clear();
        void* out = kUntouched;
        EXPECT_EQ(InterfaceTableQueryInterface(&g_resolved, table.data(), *query, &out), c.expected) << c.name;
        EXPECT_EQ(g_resolverCalls, c.calls) << c.name;
        EXPECT_EQ(out, c.expected == S_OK ? static_cast<void*>(&g_resolved) : nullptr) << c.name;
    }
    void* out = kUntouched;
    const COM_INTERFACE_ENTRY identityOnly[] = {{&COM_IID_IUnknown, COM_INTERFACE_OFFSET_ENTRY, 0}, {}};
    EXPECT_EQ(InterfaceTableQueryInterface(&out, identityOnly, COM_IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(InterfaceTableQueryInterface(&out, nullptr, COM_IID_IUnknown, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
}

}  // namespace
