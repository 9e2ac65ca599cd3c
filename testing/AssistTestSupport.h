// AssistTestSupport.h: what every test of the assistance service shares.
//
// AssistTest makes the service the way an editor does (GetClassObject, the class
// factory, CreateInstance) next to a fresh fake class tree, and checks after each
// test that the service gave back every reference and string it took and that the
// module lock count is where it was. Strings handed out are read with Take(),
// which shows NULL as "(null)".
#ifndef VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_
#define VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_

#include <gtest/gtest.h>

#include "vantle/assist.h"
#include "FakeClassTree.h"
#include "StringBalanceTest.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "sysCom.h"

using fakes::TreeCall;

// A result code with the text that came with it.
using Result = std::pair<HRESULT, std::string>;

// Names parameterised cases by their `name` field.
inline auto ByName = [](const auto& info) { return std::string(info.param.name); };
const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);

// Calls slot `slot` of an interface's table directly, as an editor compiled against
// the binary contract does. References travel as pointers.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
    return (*static_cast<R (***)(void*, Args...)>(object))[slot](object, args...);
}

// Runs `call` with the n-th string allocation failing, n = 0, 1, ..., until none is
// injected; `check(result, n)` sees each failing run. Returns the clean result.
template <typename Call, typename Check>
auto UnderStringFailures(Call call, Check check, unsigned long limit) {
    for (unsigned long skip = 0;; ++skip) {
        KESTO_FaultInjectStrings(skip, 1);
        auto result = call();
        bool injected = KESTO_FaultInjectedFailures() > 0;
        KESTO_FaultInjectStrings(0, 0);
        if (!injected || skip >= limit) {
            EXPECT_LT(skip, limit);
            return result;
        }
        check(result, skip);
    }
}

class AssistTest : public StringBalanceTest {
protected:
    void SetUp() override {
        COM_IClassFactory* factory = nullptr;
        ASSERT_EQ(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory)),
                  S_OK);
        HRESULT hr = factory->CreateInstance(COM_IID_IVantleAssist, reinterpret_cast<void**>(&assist));
        factory->Release();
        ASSERT_EQ(hr, S_OK);
        for (auto [iid, slot] : {std::pair{&COM_IID_IVantleAssistEx, reinterpret_cast<void**>(&assistEx)},
                                 std::pair{&COM_IID_IVantleAssist2, reinterpret_cast<void**>(&assist2)},
                                 std::pair{&COM_IID_IVantleAssist3, reinterpret_cast<void**>(&assist3)}}) {
            ASSERT_EQ(assist->QueryInterface(*iid, slot), S_OK);
            assist->Release();  // the tests hold one reference for all four interfaces
        }
    }
    void TearDown() override {
        if (assist != nullptr) { EXPECT_EQ(assist->Release(), 0u); }
        EXPECT_EQ(tree.OutstandingReferences(), 0) << "the service kept references to the tree";
        EXPECT_EQ(tree.LiveObjects(), 0) << "nodes or collections were never released";
        EXPECT_EQ(tree.OverReleases(), 0) << "the service released references it did not hold";
        EXPECT_EQ(g_theModule.GetLockCount(), m_locks);
    }

    void InitializeWithTree() { ASSERT_EQ(assist->Initialize(tree.Manager()), S_OK); }

    fakes::FakeClassTree tree;
    COM_IVantleAssist* assist = nullptr;
    COM_IVantleAssistEx* assistEx = nullptr;
    COM_IVantleAssist2* assist2 = nullptr;
    COM_IVantleAssist3* assist3 = nullptr;

private:
    int m_locks = g_theModule.GetLockCount();
};

#endif  // VANTLE_TESTS_ASSIST_ASSISTTESTSUPPORT_H_
