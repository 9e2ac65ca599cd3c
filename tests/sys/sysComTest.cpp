// The frame: class factory and objects called through raw table slots, lock and
// reference counts, table-driven interface lookup, and the module's entry points.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestComponent.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "sys/sysCom.h"

namespace {

// Table slots as the binary contract numbers them; `this` travels first.
constexpr int kSlotQueryInterface = 2;
constexpr int kSlotAddRef = 3;
constexpr int kSlotRelease = 4;
constexpr int kSlotFirstOwn = 5;

using QueryInterfaceSlot = HRESULT (*)(void* self, const COM_GUID& iid, void** out);
using CountSlot = unsigned long (*)(void* self);
using CreateInstanceSlot = HRESULT (*)(void* self, const COM_GUID& iid, void** out);
using GreetSlot = HRESULT (*)(void* self, BSTR* out);

template <typename Function>
Function Slot(void* interface, int slot) {
    void** table = *static_cast<void***>(interface);
    return reinterpret_cast<Function>(table[slot]);
}

HRESULT RawQueryInterface(void* interface, const COM_GUID& iid, void** out) {
    return Slot<QueryInterfaceSlot>(interface, kSlotQueryInterface)(interface, iid, out);
}
unsigned long RawAddRef(void* interface) { return Slot<CountSlot>(interface, kSlotAddRef)(interface); }
unsigned long RawRelease(void* interface) { return Slot<CountSlot>(interface, kSlotRelease)(interface); }

void* const kUntouched = reinterpret_cast<void*>(0x5A5A);

// Every test starts and must end with an unlocked module, no live test object
// and no live string.
class FrameTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(g_theModule.GetLockCount(), 0);
        m_liveStrings = KESTO_LiveStringCount();
    }
    void TearDown() override {
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(g_theModule.GetLockCount(), 0);
        EXPECT_EQ(CTestComponent::s_live, 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_liveStrings);
    }

    void* Factory() { return static_cast<COM_IClassFactory*>(&CTestComponent::_theClassFactory); }

private:
    long m_liveStrings = 0;
};

using ClassFactoryTest = FrameTest;

TEST_F(ClassFactoryTest, AnswersOnlyIUnknownAndIClassFactoryWithItself) {
    void* out = kUntouched;
    EXPECT_EQ(RawQueryInterface(Factory(), COM_IID_IClassFactory, &out), S_OK);
    EXPECT_EQ(out, Factory());
    EXPECT_EQ(RawQueryInterface(Factory(), COM_IID_IUnknown, &out), S_OK);
    EXPECT_EQ(out, Factory());
    EXPECT_EQ(g_theModule.GetLockCount(), 2) << "every reference handed out locks the module";

    out = kUntouched;
    EXPECT_EQ(RawQueryInterface(Factory(), kIID_ITestGreeter, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(g_theModule.GetLockCount(), 2);

    EXPECT_EQ(RawRelease(Factory()), 1u);
    EXPECT_EQ(RawRelease(Factory()), 1u);
}

TEST_F(ClassFactoryTest, AddRefAndReleaseMoveTheLockCountAndAlwaysReturnOne) {
    EXPECT_EQ(RawAddRef(Factory()), 1u);
    EXPECT_EQ(RawAddRef(Factory()), 1u);
    EXPECT_EQ(g_theModule.GetLockCount(), 2);
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(RawRelease(Factory()), 1u);
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(RawRelease(Factory()), 1u);
    EXPECT_EQ(CanUnloadNow(), S_OK);
}

TEST_F(ClassFactoryTest, CreateInstanceHandsOutExactlyOneReference) {
    void* greeter = nullptr;
    auto create = Slot<CreateInstanceSlot>(Factory(), kSlotFirstOwn);
    ASSERT_EQ(create(Factory(), kIID_ITestGreeter, &greeter), S_OK);
    ASSERT_NE(greeter, nullptr);
    EXPECT_EQ(CTestComponent::s_live, 1);
    EXPECT_EQ(g_theModule.GetLockCount(), 1);

    BSTR hello = nullptr;
    EXPECT_EQ(Slot<GreetSlot>(greeter, kSlotFirstOwn)(greeter, &hello), S_OK);
    EXPECT_EQ(Narrow(hello), "hello");
    COM_SysFreeString(hello);

    // The module counts objects, not references.
    EXPECT_EQ(RawAddRef(greeter), 2u);
    EXPECT_EQ(RawAddRef(greeter), 3u);
    EXPECT_EQ(g_theModule.GetLockCount(), 1);
    EXPECT_EQ(RawRelease(greeter), 2u);
    EXPECT_EQ(RawRelease(greeter), 1u);
    EXPECT_EQ(CanUnloadNow(), S_FALSE);
    EXPECT_EQ(RawRelease(greeter), 0u);
    EXPECT_EQ(CTestComponent::s_live, 0);
    EXPECT_EQ(CanUnloadNow(), S_OK);
}

TEST_F(ClassFactoryTest, CreateInstanceOfAnUnknownInterfaceDestroysTheObject) {
    void* out = kUntouched;
    auto create = Slot<CreateInstanceSlot>(Factory(), kSlotFirstOwn);
    EXPECT_EQ(create(Factory(), kIID_ITestMissing, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(CTestComponent::s_live, 0);
    EXPECT_EQ(g_theModule.GetLockCount(), 0);
}

TEST_F(ClassFactoryTest, NullOutIsRefused) {
    EXPECT_EQ(RawQueryInterface(Factory(), COM_IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(g_theModule.GetLockCount(), 0);
}

using InterfaceTableTest = FrameTest;

TEST_F(InterfaceTableTest, IUnknownIsTheFirstRowFromEveryInterface) {
    auto* object = new CTestComponent;
    object->AddRef();
    ITestGreeter* greeter = object;
    ITestCounter* counter = object;
    ASSERT_NE(static_cast<void*>(greeter), static_cast<void*>(counter));

    void* fromGreeter = nullptr;
    void* fromCounter = nullptr;
    EXPECT_EQ(RawQueryInterface(greeter, COM_IID_IUnknown, &fromGreeter), S_OK);
    EXPECT_EQ(RawQueryInterface(counter, COM_IID_IUnknown, &fromCounter), S_OK);
    EXPECT_EQ(fromGreeter, static_cast<void*>(greeter));
    EXPECT_EQ(fromCounter, static_cast<void*>(greeter));
    EXPECT_EQ(object->References(), 3u);

    RawRelease(fromGreeter);
    RawRelease(fromCounter);
    object->Release();
}

TEST_F(InterfaceTableTest, OffsetRowsGiveTheInterfaceAtItsDisplacement) {
    auto* object = new CTestComponent;
    object->AddRef();
    void* first = nullptr;
    void* second = nullptr;
    ITestGreeter* greeter = object;
    EXPECT_EQ(RawQueryInterface(greeter, kIID_ITestCounter, &first), S_OK);
    EXPECT_EQ(RawQueryInterface(greeter, kIID_ITestCounter, &second), S_OK);
    EXPECT_EQ(first, static_cast<void*>(static_cast<ITestCounter*>(object)));
    EXPECT_EQ(second, first);
    EXPECT_EQ(object->References(), 3u) << "each hand-out adds one reference";

    void* missing = kUntouched;
    EXPECT_EQ(RawQueryInterface(greeter, kIID_ITestMissing, &missing), E_NOINTERFACE);
    EXPECT_EQ(missing, nullptr);

    RawRelease(first);
    RawRelease(second);
    object->Release();
}

// Resolver rows for the lookup rules. Each records its datum and answers the
// datum's low 32 bits as its HRESULT; a success hands out &g_resolved.
std::vector<unsigned long long> g_resolverCalls;
int g_resolved;

HRESULT RecordingResolver(void*, unsigned long long data, const COM_GUID& iid, void** out) {
    EXPECT_TRUE(COM_IsEqualGUID(iid, kIID_ITestMissing)) << "the caller's identifier is passed on";
    g_resolverCalls.push_back(data);
    const HRESULT hr = static_cast<HRESULT>(static_cast<unsigned int>(data));
    if (hr == S_OK) *out = &g_resolved;
    return hr;
}

constexpr unsigned long long kSucceeds = 0;
constexpr unsigned long long Fails(HRESULT hr) { return static_cast<unsigned int>(hr); }

struct LookupCase {
    const char* name;
    std::vector<COM_INTERFACE_ENTRY> rows;  // after an identity row that never matches
    HRESULT expected;
    std::vector<unsigned long long> calls;
    bool handsOutResolved;
};

TEST_F(InterfaceTableTest, ResolverRowsFollowThePendingResultRule) {
    const COM_GUID* query = &kIID_ITestMissing;
    const COM_GUID* other = &kIID_ITestCounter;
    const LookupCase cases[] = {
        {"no row matches", {{other, RecordingResolver, Fails(E_FAIL)}}, E_NOINTERFACE, {}, false},
        {"last refusal wins",
         {{query, RecordingResolver, Fails(E_UNEXPECTED)}, {query, RecordingResolver, Fails(E_FAIL)}},
         E_FAIL, {Fails(E_UNEXPECTED), Fails(E_FAIL)}, false},
        {"a refusal outlives later non-matching rows",
         {{query, RecordingResolver, Fails(E_UNEXPECTED)}, {other, RecordingResolver, Fails(E_FAIL)}},
         E_UNEXPECTED, {Fails(E_UNEXPECTED)}, false},
        {"success ends the walk",
         {{query, RecordingResolver, Fails(E_FAIL)}, {query, RecordingResolver, kSucceeds},
          {query, RecordingResolver, Fails(E_UNEXPECTED)}},
         S_OK, {Fails(E_FAIL), kSucceeds}, true},
        {"a null identifier matches every identifier", {{nullptr, RecordingResolver, kSucceeds}}, S_OK,
         {kSucceeds}, true},
        {"S_FALSE is a refusal too", {{query, RecordingResolver, Fails(S_FALSE)}}, S_FALSE, {Fails(S_FALSE)},
         false},
    };
    for (const LookupCase& c : cases) {
        std::vector<COM_INTERFACE_ENTRY> table = {{other, COM_INTERFACE_OFFSET_ENTRY, 0}};
        table.insert(table.end(), c.rows.begin(), c.rows.end());
        // The end row's identifier is never looked at.
        table.push_back({query, nullptr, 0});
        table.push_back({query, RecordingResolver, Fails(E_POINTER)});

        g_resolverCalls.clear();
        void* out = kUntouched;
        EXPECT_EQ(InterfaceTableQueryInterface(&g_resolved, table.data(), *query, &out), c.expected) << c.name;
        EXPECT_EQ(g_resolverCalls, c.calls) << c.name;
        EXPECT_EQ(out, c.handsOutResolved ? static_cast<void*>(&g_resolved) : nullptr) << c.name;
    }
}

TEST_F(InterfaceTableTest, NullArgumentsAreRefused) {
    void* out = kUntouched;
    EXPECT_EQ(InterfaceTableQueryInterface(&out, CTestComponent::s_interface_table, COM_IID_IUnknown, nullptr),
              E_POINTER);
    EXPECT_EQ(InterfaceTableQueryInterface(&out, nullptr, COM_IID_IUnknown, &out), E_POINTER);
    EXPECT_EQ(out, nullptr);
}

using EntryPointTest = FrameTest;

TEST_F(EntryPointTest, GetClassObjectOfAnUnknownClassIsNotAvailable) {
    void* out = kUntouched;
    EXPECT_EQ(GetClassObject(kCLSID_TestComponent, COM_IID_IClassFactory, &out), static_cast<HRESULT>(0x80040111));
    EXPECT_EQ(out, kUntouched);
}

TEST_F(EntryPointTest, GetClassObjectFindsEveryClassOfTheObjectMap) {
    for (const COM_OBJECT_MAP_ENTRY* row = GetObjectMap(); row->clsid != nullptr; ++row) {
        void* factory = nullptr;
        ASSERT_EQ(GetClassObject(*row->clsid, COM_IID_IClassFactory, &factory), S_OK);
        EXPECT_EQ(factory, static_cast<void*>(row->factory));
        EXPECT_EQ(CanUnloadNow(), S_FALSE);
        RawRelease(factory);

        void* out = kUntouched;
        EXPECT_EQ(GetClassObject(*row->clsid, kIID_ITestMissing, &out), E_NOINTERFACE);
        EXPECT_EQ(out, nullptr);
    }
}

TEST_F(EntryPointTest, ModuleNameIsFixedAndPathIsEmpty) {
    BSTR name = nullptr;
    BSTR path = nullptr;
    ASSERT_EQ(g_theModule.GetModuleName(&name), S_OK);
    ASSERT_EQ(g_theModule.GetModulePath(&path), S_OK);
    EXPECT_EQ(Narrow(name), "libvantleassist.so");
    EXPECT_EQ(COM_SysStringLen(name), 18u);
    ASSERT_NE(path, nullptr) << "an empty string, not NULL";
    EXPECT_EQ(COM_SysStringLen(path), 0u);
    COM_SysFreeString(name);
    COM_SysFreeString(path);
}

TEST_F(EntryPointTest, ModuleNameAndPathReportExhaustion) {
    BSTR name = reinterpret_cast<BSTR>(kUntouched);
    BSTR path = reinterpret_cast<BSTR>(kUntouched);
    KESTO_FaultInjectStrings(0, 2);
    EXPECT_EQ(g_theModule.GetModuleName(&name), E_OUTOFMEMORY);
    EXPECT_EQ(g_theModule.GetModulePath(&path), E_OUTOFMEMORY);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(g_theModule.GetModuleName(nullptr), E_POINTER);
    EXPECT_EQ(g_theModule.GetModulePath(nullptr), E_POINTER);
}

bool g_exitHandlerCalled = false;

TEST_F(EntryPointTest, RegisterExitHandlerDoesNotCallTheHandler) {
    COM_RegisterExitHandler([] { g_exitHandlerCalled = true; }, 0);
    EXPECT_FALSE(g_exitHandlerCalled);
}

}  // namespace
