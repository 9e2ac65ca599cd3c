// BSTR layout, NULL rules, reallocation, the live count and the fault-injection switch.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "StringBalanceTest.h"
#include "TestText.h"
#include "kesto/diagnostics.h"

namespace {

std::uint32_t BytePrefix(BSTR string) {
    std::uint32_t bytes;
    std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(string) - sizeof bytes, sizeof bytes);
    return bytes;
}

using BstrTest = StringBalanceTest;

TEST_F(BstrTest, LayoutIsByteCountThenUnitsThenZeroAndNullIsNoString) {
    for (const char16_t* text : {u"", u"a", u"hello, world"}) {
        BSTR s = COM_SysAllocString(W(text));
        ASSERT_NE(s, nullptr);
        const std::size_t length = std::char_traits<char16_t>::length(text);
        EXPECT_EQ(BytePrefix(s), 2 * length);
        EXPECT_EQ(s[length], 0);
        EXPECT_EQ(KESTO_LiveStringCount(), m_stringsAtStart + 1);
        EXPECT_EQ(Take(s), Narrow(W(text)));
    }
    BSTR s = COM_SysAllocStringLen(W(std::u16string_view(u"a\0b\0", 4)), 3);
    EXPECT_EQ(BytePrefix(s), 6u);
    EXPECT_EQ(s[3], 0);
    EXPECT_EQ(Take(s), "a\\u0000b") << "the length keeps embedded zeros";
    s = COM_SysAllocStringLen(nullptr, 4);  // reserved for the caller to fill, terminated
    ASSERT_NE(s, nullptr);
    EXPECT_TRUE(COM_SysStringLen(s) == 4u && s[4] == 0);
    COM_SysFreeString(s);
    EXPECT_EQ(COM_SysAllocString(nullptr), nullptr);
    EXPECT_EQ(COM_SysStringLen(nullptr), 0u);
    COM_SysFreeString(nullptr);
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 0x80000000u), nullptr) << "beyond the byte prefix";
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST_F(BstrTest, ReAllocReplacesTheStringAndFaultInjectionFailsEveryKind) {
    BSTR s = COM_SysAllocString(W("old"));
    EXPECT_EQ(COM_SysReAllocString(&s, W("newer")), 1);
    EXPECT_EQ(Narrow(s, COM_SysStringLen(s)), "newer");
    EXPECT_EQ(COM_SysReAllocString(&s, nullptr), 1);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(COM_SysReAllocString(nullptr, W("x")), 0);

    KESTO_FaultInjectStrings(1, 3);
    BSTR kept = COM_SysAllocString(W("kept"));  // the one skipped
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(COM_SysAllocString(W("a")), nullptr);
    EXPECT_EQ(COM_SysAllocStringLen(nullptr, 2), nullptr);
    EXPECT_EQ(COM_SysReAllocString(&kept, W("b")), 0);
    EXPECT_EQ(KESTO_FaultInjectedFailures(), 3u);
    EXPECT_EQ(Take(kept), "kept") << "a failed reallocation leaves the string untouched";
    EXPECT_EQ(Take(COM_SysAllocString(W("after"))), "after") << "only `count` allocations fail";
}

// Freed blocks are handed out again by size class, and short strings are copied
// word by word: every length, through reuse of blocks that held longer text, must
// come out exact and terminated.
TEST_F(BstrTest, EveryLengthIsCopiedExactlyThroughReusedBlocks) {
    std::u16string source;
    for (int i = 0; i < 5000; ++i) source.push_back(static_cast<char16_t>(u'A' + i % 26));
    for (int round = 0; round < 2; ++round) {
        for (unsigned length : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 37u, 38u, 100u,
                                125u, 126u, 127u, 128u, 1000u, 2045u, 2046u, 4999u}) {
            const auto* text = reinterpret_cast<const unsigned short*>(source.c_str()) + round;  // odd starts too
            BSTR s = COM_SysAllocStringLen(text, length);
            ASSERT_NE(s, nullptr);
            ASSERT_EQ(COM_SysStringLen(s), length);
            EXPECT_EQ(std::memcmp(s, text, length * 2u), 0) << "length " << length;
            EXPECT_EQ(s[length], 0) << "length " << length;
            COM_SysFreeString(s);
        }
    }
}

// Hosts free strings on other threads than the one that made them, after it ended.
TEST_F(BstrTest, StringsOutliveTheirThreadAndMayBeFreedOnAnother) {
    std::vector<BSTR> strings;
    std::thread([&strings] {
        for (int i = 0; i < 10; ++i) strings.push_back(COM_SysAllocString(W("made elsewhere")));
    }).join();
    EXPECT_EQ(KESTO_LiveStringCount(), m_stringsAtStart + 10) << "an ended thread's strings still count";
    strings.push_back(COM_SysAllocString(W("made here")));
    std::thread([&strings] {
        for (BSTR s : strings) COM_SysFreeString(s);
    }).join();
}

}  // namespace
