// Exception descriptions on 16-bit streams, number formatting by the stream's
// flags, a2w and the exported description texts.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "TestText.h"
#include "sys/sysException.h"

namespace {

using WideStream = std::basic_ostringstream<unsigned short>;

std::string Described(const CRtException& e) {
    WideStream stream;
    stream << e;
    return Narrow(stream.str());
}

TEST(CRtException, DescriptionsOfTheFieldlessClasses) {
    EXPECT_EQ(Described(CRtMemoryException()), "Memory Exception");
    EXPECT_EQ(Described(CRtRangeException()), "Range Exception");
}

TEST(CRtException, ComExceptionWritesLowerHexAndLeavesTheStreamInHex) {
    WideStream stream;
    utlWOStream& returned = stream << CRtComException(static_cast<HRESULT>(0x8007000E));
    EXPECT_EQ(&returned, &stream);
    EXPECT_EQ(Narrow(stream.str()), "COM Exception8007000e");
    EXPECT_EQ(stream.flags() & std::ios_base::basefield, std::ios_base::hex);

    // So the next number on the same stream comes out in hexadecimal too.
    stream << CRtSystemException(ENOTDIR);
    EXPECT_EQ(Narrow(stream.str()),
              std::string("COM Exception8007000eSystem Exception") + "14: " + std::strerror(ENOTDIR));

    EXPECT_EQ(Described(CRtComException(1)), "COM Exception1");
    EXPECT_EQ(Described(CRtComException(0)), "COM Exception0");
}

TEST(CRtException, SystemExceptionNamesTheSystemText) {
    EXPECT_EQ(Described(CRtSystemException(ENOENT)), std::string("System Exception2: ") + std::strerror(ENOENT));
    EXPECT_EQ(CRtSystemException(ENOENT).SystemError(), ENOENT);
}

TEST(CRtException, NumbersFollowTheStreamFlags) {
    struct Case {
        std::ios_base::fmtflags flags;
        int error;
        const char* number;
    };
    const Case cases[] = {
        {std::ios_base::dec, 0, "0"},
        {std::ios_base::dec, -1, "-1"},
        {std::ios_base::dec, -2147483647 - 1, "-2147483648"},
        {std::ios_base::dec | std::ios_base::showpos, 5, "+5"},
        {std::ios_base::fmtflags(), 42, "42"},  // no base set reads as decimal
        {std::ios_base::oct, 8, "10"},
        {std::ios_base::oct | std::ios_base::showbase, 8, "010"},
        {std::ios_base::hex, 255, "ff"},
        {std::ios_base::hex, -1, "ffffffff"},
        {std::ios_base::hex | std::ios_base::uppercase, 255, "FF"},
        {std::ios_base::hex | std::ios_base::showbase, 255, "0xff"},
        {std::ios_base::hex | std::ios_base::showbase | std::ios_base::uppercase, 255, "0XFF"},
        {std::ios_base::hex | std::ios_base::showbase, 0, "0"},
    };
    for (const Case& c : cases) {
        WideStream stream;
        stream.flags(c.flags);
        stream << CRtSystemException(c.error);
        const std::string expected = std::string("System Exception") + c.number + ": " + std::strerror(c.error);
        EXPECT_EQ(Narrow(stream.str()), expected) << c.number;
    }
}

TEST(CRtException, ThrownByValueAndCaughtThroughTheBase) {
    try {
        throw CRtComException(static_cast<HRESULT>(0x80004005));
    } catch (const CRtException& e) {
        EXPECT_EQ(Described(e), "COM Exception80004005");
        return;
    }
    ADD_FAILURE() << "not caught";
}

TEST(a2w, WidensEachByteSignExtendedWithoutAddingATerminator) {
    std::unique_ptr<unsigned short[]> abc(a2w("abc", 4, 0));
    EXPECT_EQ(Narrow(abc.get(), 4), "abc\\u0000");

    const char high[] = {'\x7F', '\x80', '\xFF'};
    std::unique_ptr<unsigned short[]> wide(a2w(high, 3, 123));
    EXPECT_EQ(wide[0], 0x007F);
    EXPECT_EQ(wide[1], 0xFF80);
    EXPECT_EQ(wide[2], 0xFFFF);

    std::unique_ptr<unsigned short[]> empty(a2w("ignored", 0, 0));
    EXPECT_NE(empty.get(), nullptr) << "count 0 is an empty allocation";
}

TEST(CRtException, ExportedDescriptionTexts) {
    EXPECT_EQ(Narrow(sysExceptionCOMException), "COM Exception");
    EXPECT_EQ(Narrow(sysExceptionRANGEException), "Range Exception");
    EXPECT_EQ(Narrow(sysExceptionMEMORYException), "Memory Exception");
    EXPECT_EQ(Narrow(sysExceptionSYSTEMException), "System Exception");
    EXPECT_EQ(Narrow(sysExceptionUNKNOWNException), "Unknown Exception");
    EXPECT_EQ(Narrow(sysExceptionDELIM), ": ");
}

}  // namespace
