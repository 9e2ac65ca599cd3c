// Error texts: exception descriptions on 16-bit streams with numbers formatted by
// the stream's flags, a2w, and the message of any status code.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <sstream>

#include "TestText.h"
#include "sysException.h"

namespace {

using WideStream = std::basic_ostringstream<unsigned short>;

std::string Described(const CRtException& e, std::ios_base::fmtflags flags = std::ios_base::dec) {
    WideStream stream;
    stream.flags(flags);
    stream << e;
    return Narrow(stream.str());
}

TEST(CRtException, EachClassDescribesItselfThroughTheBase) {
    EXPECT_EQ(Described(CRtMemoryException()), "Memory Exception");
    EXPECT_EQ(Described(CRtRangeException()), "Range Exception");
    EXPECT_EQ(Described(CRtSystemException(ENOENT)), std::string("System Exception2: ") + std::strerror(ENOENT));
    EXPECT_EQ(CRtSystemException(ENOENT).SystemError(), ENOENT);
    try {
        throw CRtComException(static_cast<HRESULT>(0x80004005));
    } catch (const CRtException& e) {
        EXPECT_EQ(Described(e), "COM Exception80004005");
    }
    // A COM exception writes lower-case hexadecimal and leaves the stream so.
    WideStream stream;
    utlWOStream& returned = stream << CRtComException(static_cast<HRESULT>(0x8007000E));
    EXPECT_EQ(&returned, &stream);
    stream << CRtSystemException(ENOTDIR);
    EXPECT_EQ(Narrow(stream.str()), std::string("COM Exception8007000eSystem Exception14: ") + std::strerror(ENOTDIR));
}

TEST(CRtException, NumbersAreWrittenAsANarrowStreamWithTheSameFlagsWould) {
    using std::ios_base;
    const std::tuple<ios_base::fmtflags, int, const char*> cases[] = {
        {ios_base::dec, -2147483647 - 1, "-2147483648"},
        {ios_base::dec, 0, "0"},
        {ios_base::dec | ios_base::showpos, 5, "+5"},
        {ios_base::dec | ios_base::showpos, 0, "+0"},
        {ios_base::fmtflags(), 42, "42"},  // no base set reads as decimal
        {ios_base::oct | ios_base::showbase, 8, "010"},
        {ios_base::hex, -1, "ffffffff"},
        {ios_base::hex | ios_base::showbase | ios_base::uppercase, 255, "0XFF"},
        {ios_base::hex | ios_base::showbase, 0, "0"},
    };
    for (const auto& [flags, error, number] : cases) {
        EXPECT_EQ(Described(CRtSystemException(error), flags),
                  std::string("System Exception") + number + ": " + std::strerror(error));
    }
    const char text[] = {'a', '\x7F', '\x80', '\xFF'};
    std::unique_ptr<unsigned short[]> wide(a2w(text, 4, 123));
    EXPECT_EQ(Narrow(wide.get(), 4), "a\\u007F\\uFF80\\uFFFF") << "each byte sign-extended, no terminator added";
}

TEST(HResultExpansion, EachBranchAndTheCodeField) {
    const std::pair<unsigned int, std::string> cases[] = {
        // The table is searched whole and matches whole codes.
        {0x00000000, "OK status [       0]"},
        {0x80004002, "Can't find specified interface [80004002]"},
        {0x807F0003, "Server Errorr [807F0003]"},
        {0x80004004, "Unknown error [80004004]"},
        {0x0007000E, "Unknown error [   7000E]"},
        // The facilities of the language's runtime: the low word in decimal; the facility is 13 bits wide.
        {0x806FFFFF, "Kesto' error #65535 [806FFFFF]"},
        {0x80701234, "Kesto' call-in error #4660 [80701234]"},
        {0xE06F0001, "Kesto' error #1 [E06F0001]"},
        // The resolver: the biased negative error.
        {0x807CFFFF, "ZeroC-DNS error #-3 [807CFFFF]"},
        // Secure shell: the top nibble of the low word chooses.
        {0x80100003, "SSH: Invalid hostname or address [80100003]"},
        {0x80100007, "Unknown error [80100007]"},
        {0x80101234, "SSH Error [80101234]"},
        {0x80102000, "SFTP Error [80102000]"},
        {0x8010F001, " [8010F001]"},
        // The system facility: the system's text.
        {0x80620002, std::string(std::strerror(2)) + " [80620002]"},
    };
    for (const auto& [code, expected] : cases) {
        EXPECT_EQ(Narrow(COM_HRESULT_Expansion(static_cast<int>(code))), expected);
    }
}

}  // namespace
