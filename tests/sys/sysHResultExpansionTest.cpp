// COM_HRESULT_Expansion: rows of the message table, each facility branch and the
// space-padded code field.
#include <gtest/gtest.h>

#include <cstring>

#include "TestText.h"
#include "sysException.h"

namespace {

std::string Expanded(unsigned int code) { return Narrow(COM_HRESULT_Expansion(static_cast<int>(code))); }

TEST(HResultExpansion, EachBranchAndTheCodeField) {
    const std::pair<unsigned int, std::string> cases[] = {
        // The table is searched whole: its first rows, rows far into it, the misspellings.
        {0x00000000, "OK status [       0]"},
        {0x00000001, "FALSE status [       1]"},
        {0x80004002, "Can't find specified interface [80004002]"},
        {0x80100003, "SSH: Invalid hostname or address [80100003]"},
        {0x8067000E, "Communication protocol errorror [8067000E]"},
        {0x807F0003, "Server Errorr [807F0003]"},
        // Codes outside the table; it matches whole codes.
        {0x80004004, "Unknown error [80004004]"},
        {0x00012345, "Unknown error [   12345]"},
        {0xFFFFFFFF, "Unknown error [FFFFFFFF]"},
        {0x0007000E, "Unknown error [   7000E]"},
        // The facilities of the language's runtime: the low word in decimal; the facility is 13 bits wide.
        {0x806FFFFF, "Kesto' error #65535 [806FFFFF]"},
        {0x80701234, "Kesto' call-in error #4660 [80701234]"},
        {0x006F0001, "Kesto' error #1 [  6F0001]"},
        {0xE06F0001, "Kesto' error #1 [E06F0001]"},
        // The resolver: the biased negative error.
        {0x807CFFFF, "ZeroC-DNS error #-3 [807CFFFF]"},
        {0x807C0000, "ZeroC-DNS error #-65538 [807C0000]"},
        // Secure shell: the top nibble of the low word chooses.
        {0x80100007, "Unknown error [80100007]"},
        {0x80101234, "SSH Error [80101234]"},
        {0x80102000, "SFTP Error [80102000]"},
        {0x8010F001, " [8010F001]"},
        // The system facility: the system's text.
        {0x80620002, std::string(std::strerror(2)) + " [80620002]"},
        {0x00620000, std::string(std::strerror(0)) + " [  620000]"},
    };
    for (const auto& [code, expected] : cases) EXPECT_EQ(Expanded(code), expected);
}

}  // namespace
