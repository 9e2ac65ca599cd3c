// Exception descriptions on 16-bit streams, number formatting by the stream's
// flags, and a2w.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <sstream>

#include "TestText.h"
#include "sysException.h"

namespace {

using WideStream = std::basic_ostringstream<unsigned short>;

std::string Described(const CRtException& e) {
    WideStream stream;
    stream << e;
    return Narrow(stream.str());
}

TEST(CRtException, EachClassDescribesItselfThroughTheBase) {
    EXPECT_EQ(Described(CRtMemoryException()), "Memory Exception");
    EXPECT_EQ(Described(CRtRangeException()), "Range Exception");
    EXPECT_EQ(Described(CRtComException(0)), "COM Exception0");
    EXPECT_EQ(Described(CRtSystemException(ENOENT)), std::string("System Exception2: ") + std::strerror(ENOENT));
    EXPECT_EQ(CRtSystemException(ENOENT).SystemError(), ENOENT);
    try {
        throw CRtComException(static_cast<HRESULT>(0x80004005));
    } catch (const CRtException& e) {
        EXPECT_EQ(Described(e), "COM Exception80004005");
    }
}

TEST(CRtException, ComExceptionWritesLowerHexAndLeavesTheStreamInHex) {
    WideStream stream;
    utlWOStream& returned = stream << CRtComException(static_cast<HRESULT>(0x8007000E));
    EXPECT_EQ(&returned, &stream);
    EXPECT_EQ(stream.flags() & std::ios_base::basefield, std::ios_base::hex);
    stream << CRtSystemException(ENOTDIR);  // so the next number comes out in hexadecimal too
    EXPECT_EQ(Narrow(stream.str()), std::string("COM Exception8007000eSystem Exception14: ") + std::strerror(ENOTDIR));
}

TEST(CRtException, NumbersFollowTheStreamFlags) {
    using std::ios_base;
    struct Case {
        ios_base::fmtflags flags;
        int error;
        const char* number;
    };
    const Case cases[] = {
        {ios_base::dec, -1, "-1"},
        {ios_base::dec, -2147483647 - 1, "-2147483648"},
        {ios_base::dec | ios_base::showpos, 5, "+5"},
        {ios_base::fmtflags(), 42, "42"},  // no base set reads as decimal
        {ios_base::oct | ios_base::showbase, 8, "010"},
        {ios_base::hex, -1, "ffffffff"},
        {ios_base::hex | ios_base::showbase | ios_base::uppercase, 255, "0XFF"},
        {ios_base::hex | ios_base::showbase, 0, "0"},
    };
    for (const Case& c : cases) {
        WideStream stream;
        stream.flags(c.flags);
        stream << CRtSystemException(c.error);
        EXPECT_EQ(Narrow(stream.str()), std::string("System Exception") + c.number + ": " + std::strerror(c.error));
    }
}

TEST(a2w, WidensEachByteSignExtendedWithoutAddingATerminator) {
    const char text[] = {'a', '\x7F', '\x80', '\xFF'};
    std::unique_ptr<unsigned short[]> wide(a2w(text, 4, 123));
    EXPECT_EQ(Narrow(wide.get(), 4), "a\\u007F\\uFF80\\uFFFF");
    std::unique_ptr<unsigned short[]> empty(a2w("ignored", 0, 0));
    EXPECT_NE(empty.get(), nullptr) << "count 0 is an empty allocation";
}

}  // namespace
