// The editor's way in, and the leak checks after each test.
#include "AssistTestSupport.h"

void AssistTest::SetUp() {
    m_strings = KESTO_LiveStringCount();
    m_locks = g_theModule.GetLockCount();
    COM_IClassFactory* factory = nullptr;
    ASSERT_EQ(GetClassObject(COM_CLSID_VantleAssist, COM_IID_IClassFactory, reinterpret_cast<void**>(&factory)),
              S_OK);
    HRESULT hr = factory->CreateInstance(COM_IID_IVantleAssist, reinterpret_cast<void**>(&assist));
    factory->Release();
    ASSERT_EQ(hr, S_OK);
    ASSERT_NE(assist, nullptr);
}

void AssistTest::TearDown() {
    if (m_ex != nullptr) m_ex->Release();
    if (m_two != nullptr) m_two->Release();
    if (m_three != nullptr) m_three->Release();
    if (assist != nullptr) { EXPECT_EQ(assist->Release(), 0u); }
    EXPECT_EQ(tree.OutstandingReferences(), 0) << "the service kept references to the tree";
    EXPECT_EQ(tree.LiveObjects(), 0) << "nodes or collections were never released";
    EXPECT_EQ(tree.OverReleases(), 0) << "the service released references it did not hold";
    EXPECT_EQ(KESTO_LiveStringCount(), m_strings) << "strings were leaked";
    EXPECT_EQ(g_theModule.GetLockCount(), m_locks);
}
