// AssistTestSupport.h: AssistTest makes the service the way an editor does, next to
// a fresh fake class tree, and checks after each test that the service gave back
// every reference and string it took, that its last reference was the last one,
// and that the module lock count is where it was.
#ifndef VANTLE_TESTING_ASSISTTESTSUPPORT_H_
#define VANTLE_TESTING_ASSISTTESTSUPPORT_H_

#include <gtest/gtest.h>

#include "AssistService.h"
#include "FakeClassTree.h"
#include "StringBalanceTest.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "sysCom.h"

using fakes::TreeCall;

// A result code with the text that came with it.
using Result = std::pair<HRESULT, std::string>;

const HRESULT kTreeError = static_cast<HRESULT>(0x80670001);

// Calls slot `slot` of an interface's table directly, as an editor compiled against
// the binary contract does. References travel as pointers.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
    return (*static_cast<R (***)(void*, Args...)>(object))[slot](object, args...);
}

class AssistTest : public StringBalanceTest, protected AssistService {
protected:
    void SetUp() override { ASSERT_EQ(Create(), S_OK); }
    void TearDown() override {
        EXPECT_EQ(Release(), 0u) << "someone else still holds the service";
        EXPECT_EQ(tree.OutstandingReferences(), 0) << "the service kept references to the tree";
        EXPECT_EQ(tree.LiveObjects(), 0) << "nodes or collections were never released";
        EXPECT_EQ(tree.OverReleases(), 0) << "the service released references it did not hold";
        EXPECT_EQ(g_theModule.GetLockCount(), m_locks);
    }

    void InitializeWithTree() { ASSERT_EQ(assist->Initialize(tree.Manager()), S_OK); }

    fakes::FakeClassTree tree;

private:
    int m_locks = g_theModule.GetLockCount();
};

#endif  // VANTLE_TESTING_ASSISTTESTSUPPORT_H_
