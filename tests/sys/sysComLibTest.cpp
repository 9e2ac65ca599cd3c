// utlAutoBSTR appending and ownership, utlAutoIf release rules. (The holder's order is
// pinned through the symbol table's listings.)
#include <gtest/gtest.h>

#include <type_traits>

#include "StringBalanceTest.h"
#include "TestText.h"
#include "kesto/diagnostics.h"
#include "sysComLib.h"
#include "sysException.h"

namespace {

using AutoBstrTest = StringBalanceTest;

std::string Held(const utlAutoBSTR& s) { return Narrow(s.Get(), s.Length()); }
utlAutoBSTR Holding(const char* text) { return utlAutoBSTR(text ? COM_SysAllocString(W(text)) : nullptr); }

// The zero-terminated, counted and holder forms of Append must agree.
HRESULT AppendIn(int form, utlAutoBSTR& s, const char* added) {
    const W units(added);
    const utlAutoBSTR holder = Holding(added);
    return form == 0 ? s.Append(units) : form == 1 ? s.Append(units, units.units().size()) : s.Append(holder);
}

TEST_F(AutoBstrTest, AppendBuildsExactTerminatedStringsOrLeavesTheHolderAlone) {
    struct Case {
        const char *held, *added, *expected;  // held NULL: the holder holds NULL
    };
    for (const Case& c : {Case{nullptr, "abc", "abc"}, Case{nullptr, "", ""}, Case{"", "", ""}, Case{"ab", "", "ab"},
                          Case{"ab", "cd", "abcd"}}) {
        for (int form = 0; form < 3; ++form) {
            utlAutoBSTR s = Holding(c.held);
            EXPECT_EQ(AppendIn(form, s, c.added), S_OK);
            ASSERT_NE(s.Get(), nullptr) << "appending even nothing yields a string, form " << form;
            EXPECT_EQ(Held(s), c.expected) << "form " << form;
            EXPECT_EQ(s.Get()[s.Length()], 0) << "form " << form;
        }
    }
    for (int form = 0; form < 3; ++form) {
        utlAutoBSTR s = Holding("abc"), empty;
        const BSTR before = s.Get();
        const long live = KESTO_LiveStringCount();
        KESTO_FaultInjectStrings(1, 1);  // AppendIn makes its holder argument first
        EXPECT_EQ(AppendIn(form, s, "def"), E_OUTOFMEMORY) << "form " << form;
        KESTO_FaultInjectStrings(0, 1);
        EXPECT_EQ(empty.Append(W("x")), E_OUTOFMEMORY);
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_TRUE(s.Get() == before && Held(s) == "abc" && empty.IsNull()) << "form " << form;
        EXPECT_EQ(KESTO_LiveStringCount(), live) << "form " << form;
    }
}

TEST_F(AutoBstrTest, EmbeddedZerosSelfAppendAndNullHolders) {
    const unsigned short units[] = {'a', 0, 'b'};
    utlAutoBSTR s = Holding("x"), t, u, null;
    ASSERT_EQ(s.Append(units, 3), S_OK);
    EXPECT_EQ(Held(s), "xa\\u0000b");
    ASSERT_EQ(t.Append(s), S_OK);
    EXPECT_EQ(Held(t), "xa\\u0000b");
    ASSERT_EQ(u.Append(units), S_OK);
    EXPECT_EQ(Held(u), "a") << "the zero-terminated form stops at the zero";
    ASSERT_EQ(u.Append(u), S_OK);
    EXPECT_EQ(Held(u), "aa");
    const BSTR before = u.Get();
    ASSERT_EQ(u.Append(null), S_OK);
    EXPECT_NE(u.Get(), before) << "every append allocates afresh";
    EXPECT_EQ(Held(u), "aa");
}

TEST_F(AutoBstrTest, OwnershipPassesExactlyOnceAndCopiesAreWhole) {
    utlAutoBSTR s = Holding("a"), t = Holding("old"), null;
    t.Attach(s.Detach());  // frees "old"
    EXPECT_TRUE(s.IsNull());
    t.Attach(t.Get());  // taking over what it holds already frees nothing
    ASSERT_EQ(KESTO_LiveStringCount(), m_stringsAtStart + 1);
    EXPECT_EQ(Held(t), "a");
    BSTR* slot = &t;  // frees "a" so that an out-parameter can fill the holder
    EXPECT_EQ(*slot, nullptr);
    *slot = COM_SysAllocStringLen(W(std::u16string_view(u"f\0d", 3)), 3);
    utlAutoBSTR moved(std::move(t)), copied(moved), assigned = Holding("old");
    EXPECT_TRUE(t.IsNull());
    EXPECT_NE(copied.Get(), moved.Get());
    EXPECT_EQ(Held(copied), "f\\u0000d");
    assigned = null;
    EXPECT_TRUE(assigned.IsNull()) << "a NULL copy stays NULL";
    assigned = copied;
    EXPECT_EQ(Held(assigned), "f\\u0000d");

    BSTR copy = moved.Copy(), emptyCopy = null.Copy();
    EXPECT_NE(copy, moved.Get());
    EXPECT_EQ(Take(copy), "f\\u0000d");
    ASSERT_NE(emptyCopy, nullptr) << "a NULL holder copies as an empty string";
    EXPECT_EQ(Take(emptyCopy), "");
    KESTO_FaultInjectStrings(0, 1);
    EXPECT_EQ(moved.Copy(), nullptr);
}

// An interface that counts its AddRef and Release calls.
struct CountingInterface : COM_IUnknown {
    HRESULT QueryInterface(const COM_GUID&, void** out) override { return *out = nullptr, E_NOINTERFACE; }
    unsigned long AddRef() override { return ++addRefs; }
    unsigned long Release() override { return ++releases; }
    unsigned long addRefs = 0, releases = 0;
};

using CountingHolder = utlAutoIf<CountingInterface, &COM_IID_IUnknown>;

// Calling through an empty holder throws XBadPtrException, which is not one of the
// CRtException family, so that no handler of those swallows it.
TEST(utlAutoIf, ReleasesExactlyTheReferenceItHoldsAndRefusesToCallThroughNothing) {
    CountingInterface first, second;
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
    EXPECT_TRUE(second.releases == 1u && second.addRefs == 0u);
    CountingHolder empty;
    static_assert(!std::is_base_of_v<CRtException, utlAutoIfBase::XBadPtrException>);
    try {
        empty->AddRef();
        ADD_FAILURE() << "nothing thrown";
    } catch (const utlAutoIfBase::XBadPtrException& e) {
        EXPECT_EQ(e.holder, std::addressof(empty));
    }
}

}  // namespace
