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
    for (COM_IUnknown* held : {static_cast<COM_IUnknown*>(m_ex), static_cast<COM_IUnknown*>(m_two),
                               static_cast<COM_IUnknown*>(m_three)}) {
        if (held != nullptr) held->Release();
    }
    if (assist != nullptr) {
        EXPECT_EQ(assist->Release(), 0u);
    }
    EXPECT_EQ(tree.OutstandingReferences(), 0) << "the service kept references to the tree";
    EXPECT_EQ(tree.LiveObjects(), 0) << "nodes or collections were never released";
    EXPECT_EQ(tree.OverReleases(), 0) << "the service released references it did not hold";
    EXPECT_EQ(KESTO_LiveStringCount(), m_strings) << "strings were leaked";
    EXPECT_EQ(g_theModule.GetLockCount(), m_locks);
}

template <typename I>
I* AssistTest::Query(I*& slot, const COM_GUID& iid) {
    if (slot == nullptr) {
        EXPECT_EQ(assist->QueryInterface(iid, reinterpret_cast<void**>(&slot)), S_OK);
    }
    return slot;
}

COM_IVantleAssistEx* AssistTest::AssistEx() { return Query(m_ex, COM_IID_IVantleAssistEx); }
COM_IVantleAssist2* AssistTest::Assist2() { return Query(m_two, COM_IID_IVantleAssist2); }
COM_IVantleAssist3* AssistTest::Assist3() { return Query(m_three, COM_IID_IVantleAssist3); }
