// utlAutoBSTR appending and ownership, sysMCHARzCmp ordering, utlAutoIf release rules.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "TestText.h"
#include "kesto/diagnostics.h"
#include "sys/sysComLib.h"
#include "sys/sysException.h"

namespace {

class AutoBstrTest : public ::testing::Test {
protected:
    void SetUp() override { m_liveStrings = KESTO_LiveStringCount(); }
    void TearDown() override {
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_liveStrings) << "a string was not freed";
    }

private:
    long m_liveStrings = 0;
};

std::string Held(const utlAutoBSTR& s) { return Narrow(s.Get(), s.Length()); }

utlAutoBSTR Holding(const char* text) {
    if (text == nullptr) return utlAutoBSTR();
    return utlAutoBSTR(COM_SysAllocString(W(text).c_str()));
}

TEST_F(AutoBstrTest, AppendBuildsExactLengthStrings) {
    struct Case {
        const char* held;  // NULL: the holder holds NULL
        const char* added;
        const char* expected;
    };
    const Case cases[] = {
        {nullptr, "abc", "abc"}, {nullptr, "", ""}, {"", "", ""}, {"ab", "", "ab"}, {"ab", "cd", "abcd"},
    };
    for (const Case& c : cases) {
        // The zero-terminated, counted and holder forms must agree.
        for (int form = 0; form < 3; ++form) {
            utlAutoBSTR s = Holding(c.held);
            TestWString added = W(c.added);
            utlAutoBSTR addedHolder = Holding(c.added);
            HRESULT hr = form == 0   ? s.Append(added.c_str())
                         : form == 1 ? s.Append(added.data(), added.size())
                                     : s.Append(addedHolder);
            EXPECT_EQ(hr, S_OK);
            ASSERT_NE(s.Get(), nullptr) << "appending even nothing yields a string, form " << form;
            EXPECT_EQ(Held(s), c.expected) << "form " << form;
            EXPECT_EQ(s.Get()[s.Length()], 0) << "terminated, form " << form;
        }
    }
}

TEST_F(AutoBstrTest, CountedAndHolderFormsKeepEmbeddedZeros) {
    const unsigned short units[] = {'a', 0, 'b'};
    utlAutoBSTR s = Holding("x");
    ASSERT_EQ(s.Append(units, 3), S_OK);
    EXPECT_EQ(s.Length(), 4u);
    EXPECT_EQ(Held(s), "xa\\u0000b");

    utlAutoBSTR t;
    ASSERT_EQ(t.Append(s), S_OK);
    EXPECT_EQ(Held(t), "xa\\u0000b");

    utlAutoBSTR u;
    ASSERT_EQ(u.Append(units), S_OK);
    EXPECT_EQ(Held(u), "a") << "the zero-terminated form stops at the zero";
}

TEST_F(AutoBstrTest, AppendingANullHolderStillReplacesTheString) {
    utlAutoBSTR s = Holding("keep");
    const BSTR before = s.Get();
    utlAutoBSTR empty;
    ASSERT_EQ(s.Append(empty), S_OK);
    EXPECT_EQ(Held(s), "keep");
    EXPECT_NE(s.Get(), before) << "every append allocates afresh";
}

TEST_F(AutoBstrTest, AppendingItselfDoublesTheText) {
    utlAutoBSTR s = Holding("ab");
    ASSERT_EQ(s.Append(s), S_OK);
    EXPECT_EQ(Held(s), "abab");
}

TEST_F(AutoBstrTest, FailedAllocationLeavesTheHolderAsItWas) {
    for (int form = 0; form < 3; ++form) {
        utlAutoBSTR s = Holding("abc");
        utlAutoBSTR more = Holding("def");
        const BSTR before = s.Get();
        const long live = KESTO_LiveStringCount();
        KESTO_FaultInjectStrings(0, 1);
        HRESULT hr = form == 0 ? s.Append(W("def").c_str()) : form == 1 ? s.Append(more.Get(), 3) : s.Append(more);
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(hr, E_OUTOFMEMORY) << "form " << form;
        EXPECT_EQ(s.Get(), before) << "form " << form;
        EXPECT_EQ(Held(s), "abc") << "form " << form;
        EXPECT_EQ(KESTO_LiveStringCount(), live) << "form " << form;
    }

    utlAutoBSTR empty;
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(empty.Append(W("x").c_str()), E_OUTOFMEMORY);
    EXPECT_TRUE(empty.IsNull());
}

TEST_F(AutoBstrTest, CopyIsAnIndependentStringOrNullOnExhaustion) {
    utlAutoBSTR s = Holding("text");
    BSTR copy = s.Copy();
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, s.Get());
    EXPECT_EQ(Narrow(copy), "text");
    COM_SysFreeString(copy);

    utlAutoBSTR null;
    BSTR emptyCopy = null.Copy();
    ASSERT_NE(emptyCopy, nullptr) << "a NULL holder copies as an empty string";
    EXPECT_EQ(COM_SysStringLen(emptyCopy), 0u);
    COM_SysFreeString(emptyCopy);

    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(s.Copy(), nullptr);
}

TEST_F(AutoBstrTest, OwnershipPassesExactlyOnce) {
    utlAutoBSTR s = Holding("a");
    BSTR detached = s.Detach();
    EXPECT_TRUE(s.IsNull());

    utlAutoBSTR t = Holding("old");
    t.Attach(detached);  // frees "old"
    EXPECT_EQ(Held(t), "a");

    BSTR* slot = &t;  // frees "a" so that an out-parameter can fill the holder
    EXPECT_EQ(*slot, nullptr);
    *slot = COM_SysAllocString(W("filled").c_str());
    EXPECT_EQ(Held(t), "filled");

    utlAutoBSTR moved(std::move(t));
    EXPECT_TRUE(t.IsNull());
    EXPECT_EQ(Held(moved), "filled");
}

TEST_F(AutoBstrTest, CopiesDuplicateTheWholeString) {
    const unsigned short units[] = {'a', 0, 'b'};
    utlAutoBSTR s(COM_SysAllocStringLen(units, 3));
    utlAutoBSTR copied(s);
    EXPECT_NE(copied.Get(), s.Get());
    EXPECT_EQ(Held(copied), "a\\u0000b");

    utlAutoBSTR assigned = Holding("old");
    const utlAutoBSTR null;
    assigned = null;
    EXPECT_TRUE(assigned.IsNull()) << "a NULL copy stays NULL";
    assigned = s;
    EXPECT_EQ(Held(assigned), "a\\u0000b");
}

TEST(sysMCHARzCmp, OrdersByBytesInMemoryThenByLength) {
    struct Case {
        TestWString a;
        TestWString b;
        int expected;
    };
    const Case cases[] = {
        {W(""), W(""), 0},
        {W("abc"), W("abc"), 0},
        {W("ab"), W("abc"), -1},
        {W("abc"), W("ab"), 1},
        {W(""), W("a"), -1},
        {W("b"), W("abc"), 1},
        // Little-endian bytes: 0x0100 starts with byte 0x00, 0x00FF with 0xFF.
        {TestWString{0x0100}, TestWString{0x00FF}, -1},
        {TestWString{0x00FF}, TestWString{0x0100}, 1},
        {TestWString{'a', 0x0100}, TestWString{'a', 0x0001}, -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(sysMCHARzCmp<unsigned short>(c.a.c_str(), c.b.c_str()), c.expected)
            << Narrow(c.a) << " vs " << Narrow(c.b);
    }
}

TEST_F(AutoBstrTest, MapKeysFollowTheSameOrderWithNullAsEmpty) {
    std::map<utlAutoBSTR, int> table;
    table[Holding("b")] = 1;
    table[Holding("ab")] = 2;
    table[Holding("a")] = 3;
    table[utlAutoBSTR(COM_SysAllocStringLen(nullptr, 0))] = 4;
    EXPECT_EQ(table.count(utlAutoBSTR()), 1u) << "NULL finds the empty key";

    std::string order;
    for (const auto& entry : table) order += "[" + Held(entry.first) + "]";
    EXPECT_EQ(order, "[][a][ab][b]");
}

// An interface that counts its AddRef and Release calls.
class CountingInterface : public COM_IUnknown {
public:
    HRESULT QueryInterface(const COM_GUID&, void** out) override {
        *out = nullptr;
        return E_NOINTERFACE;
    }
    unsigned long AddRef() override { return ++addRefs; }
    unsigned long Release() override { return ++releases; }

    unsigned long addRefs = 0;
    unsigned long releases = 0;
};

using CountingHolder = utlAutoIf<CountingInterface, &COM_IID_IUnknown>;

TEST(utlAutoIf, ReleasesExactlyTheReferenceItHolds) {
    CountingInterface first;
    CountingInterface second;
    {
        CountingHolder empty;  // destroying an empty holder calls nothing
        CountingHolder holder(&first);
        EXPECT_EQ(first.releases, 0u);

        *&holder = &second;  // refilling through an out-parameter releases the old one
        EXPECT_EQ(first.releases, 1u);

        holder.Assign(&first);  // a shared pointer gets a reference of its own
        EXPECT_EQ(first.addRefs, 1u);
        EXPECT_EQ(second.releases, 1u);
    }
    EXPECT_EQ(first.releases, 2u);
    EXPECT_EQ(second.releases, 1u);
    EXPECT_EQ(second.addRefs, 0u);
}

TEST(utlAutoIf, CallingThroughAnEmptyHolderThrowsBadPtrNotCRtException) {
    CountingHolder empty;
    bool caughtAsBadPtr = false;
    try {
        try {
            empty->AddRef();
        } catch (const CRtException&) {
            ADD_FAILURE() << "XBadPtrException is not one of the CRtException family";
        }
    } catch (const utlAutoIfBase::XBadPtrException& e) {
        caughtAsBadPtr = true;
        EXPECT_EQ(e.holder, std::addressof(empty));
    }
    EXPECT_TRUE(caughtAsBadPtr);
}

}  // namespace
