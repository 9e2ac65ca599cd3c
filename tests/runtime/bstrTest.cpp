// BSTR layout, NULL rules, reallocation and the fault-injection switch.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "../sys/TestText.h"
#include "kesto/com.h"
#include "kesto/diagnostics.h"

namespace {

std::uint32_t BytePrefix(BSTR string) {
    std::uint32_t bytes;
    std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(string) - sizeof bytes, sizeof bytes);
    return bytes;
}

class BstrTest : public ::testing::Test {
protected:
    void SetUp() override {
        KESTO_FaultInjectStrings(0, 0);
        m_liveAtStart = KESTO_LiveStringCount();
    }
    void TearDown() override {
        KESTO_FaultInjectStrings(0, 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_liveAtStart) << "a string was not freed";
    }

private:
    long m_liveAtStart = 0;
};

TEST_F(BstrTest, LayoutIsByteCountThenUnitsThenZero) {
    for (const char* text : {"", "a", "hello, world"}) {
        TestWString wide = W(text);
        BSTR s = COM_SysAllocString(wide.c_str());
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(BytePrefix(s), 2 * wide.size()) << text;
        EXPECT_EQ(COM_SysStringLen(s), wide.size()) << text;
        EXPECT_EQ(Narrow(s, COM_SysStringLen(s)), text);
        EXPECT_EQ(s[wide.size()], 0) << text;
        COM_SysFreeString(s);
    }
}

TEST_F(BstrTest, EmbeddedZerosAreKeptByLength) {
    const unsigned short units[] = {'a', 0, 'b', 0};
    BSTR s = COM_SysAllocStringLen(units, 3);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(COM_SysStringLen(s), 3u);
    EXPECT_EQ(BytePrefix(s), 6u);
    EXPECT_EQ(Narrow(s, 4), "a\\u0000b\\u0000");
    COM_SysFreeString(s);
}

TEST_F(BstrTest, NullRules) {
    EXPECT_EQ(COM_SysAllocString(nullptr), nullptr);
    EXPECT_EQ(COM_SysStringLen(nullptr), 0u);
    COM_SysFreeString(nullptr);

    // A NULL source reserves the units for the caller to fill, terminated.
    BSTR reserved = COM_SysAllocStringLen(nullptr, 4);
    ASSERT_NE(reserved, nullptr);
    EXPECT_EQ(COM_SysStringLen(reserved), 4u);
    EXPECT_EQ(reserved[4], 0);
    COM_SysFreeString(reserved);
}

TEST_F(BstrTest, LengthsBeyondTheBytePrefixFailWithoutAllocating) {
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 0x80000000u), nullptr);
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST_F(BstrTest, LiveCountFollowsAllocationAndFree) {
    const long before = KESTO_LiveStringCount();
    BSTR a = COM_SysAllocString(W("x").c_str());
    BSTR b = COM_SysAllocStringLen(nullptr, 0);
    EXPECT_EQ(KESTO_LiveStringCount(), before + 2);
    COM_SysFreeString(a);
    COM_SysFreeString(b);
    EXPECT_EQ(KESTO_LiveStringCount(), before);
}

TEST_F(BstrTest, ReAllocReplacesTheString) {
    BSTR s = COM_SysAllocString(W("old").c_str());
    EXPECT_EQ(COM_SysReAllocString(&s, W("newer").c_str()), 1);
    EXPECT_EQ(Narrow(s), "newer");
    EXPECT_EQ(COM_SysStringLen(s), 5u);

    EXPECT_EQ(COM_SysReAllocString(&s, nullptr), 1);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(COM_SysReAllocString(nullptr, W("x").c_str()), 0);
}

TEST_F(BstrTest, FaultInjectionSkipsThenFailsEveryKindOfAllocation) {
    KESTO_FaultInjectStrings(1, 3);
    BSTR kept = COM_SysAllocString(W("kept").c_str());  // the one skipped
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(COM_SysAllocString(W("a").c_str()), nullptr);
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 2), nullptr);
    EXPECT_EQ(COM_SysReAllocString(&kept, W("b").c_str()), 0);
    EXPECT_EQ(Narrow(kept), "kept") << "a failed reallocation leaves the string untouched";
    EXPECT_EQ(KESTO_FaultInjectedFailures(), 3u);

    BSTR after = COM_SysAllocString(W("after").c_str());
    EXPECT_NE(after, nullptr) << "only `count` allocations fail";
    COM_SysFreeString(after);
    COM_SysFreeString(kept);
}

}  // namespace
