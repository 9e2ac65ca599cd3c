// COM_HRESULT_Expansion: the whole message table, each facility branch, the
// space-padded code field and the exported message texts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TestText.h"
#include "sys/sysException.h"

namespace {

std::string Expanded(unsigned int code) { return Narrow(COM_HRESULT_Expansion(static_cast<int>(code))); }

struct Message {
    unsigned int code;
    const char* expected;
};

// Every row of the table as it must read, the two misspellings included.
const Message kTable[] = {
    {0x00000000, "OK status [       0]"},
    {0x00000001, "FALSE status [       1]"},
    {0x80004001, "Method not implemented [80004001]"},
    {0x80004002, "Can't find specified interface [80004002]"},
    {0x80004003, "Invalid Pointer [80004003]"},
    {0x80004005, "General failure [80004005]"},
    {0x80020001, "Unknown interface [80020001]"},
    {0x80020003, "Can't find property [80020003]"},
    {0x80020004, "Can't find parameter [80020004]"},
    {0x80020005, "Type mismatch [80020005]"},
    {0x80020006, "Can't find method [80020006]"},
    {0x80020007, "No named arguments [80020007]"},
    {0x80020008, "Bad variable type [80020008]"},
    {0x80020009, "Exception occurred [80020009]"},
    {0x8002000A, "Out of present range [8002000A]"},
    {0x8002000B, "Bad Index [8002000B]"},
    {0x8002000C, "Unknown language [8002000C]"},
    {0x8002000D, "Memory is locked [8002000D]"},
    {0x8002000E, "Invalid number of parameters [8002000E]"},
    {0x8002000F, "Parameter not optional [8002000F]"},
    {0x80020010, "Invalid callee [80020010]"},
    {0x80020011, "Does not support a collection [80020011]"},
    {0x80020012, "Division by zero [80020012]"},
    {0x80030002, "File not found [80030002]"},
    {0x80030103, "Can't open file for save [80030103]"},
    {0x80040110, "Can't aggregate this object [80040110]"},
    {0x80040111, "CoClass not available [80040111]"},
    {0x80040150, "Could not read from the registry [80040150]"},
    {0x80040151, "Could not write to the registry [80040151]"},
    {0x80040152, "Key is missing from the registry [80040152]"},
    {0x80040153, "Invalid value for registry [80040153]"},
    {0x800401F8, "Couldn't find DLL [800401F8]"},
    {0x800401F9, "Entry point not found in DLL [800401F9]"},
    {0x80040300, "No resource [80040300]"},
    {0x80040301, "Already have this item [80040301]"},
    {0x80040302, "Does not have this item [80040302]"},
    {0x8007000E, "Ran out of memory [8007000E]"},
    {0x80070057, "One or more arguments are invalid [80070057]"},
    {0x80100001, "SSH: Not currently connected [80100001]"},
    {0x80100002, "SSH: Host key mismatched [80100002]"},
    {0x80100003, "SSH: Invalid hostname or address [80100003]"},
    {0x80100004, "SSH: Connection timed out [80100004]"},
    {0x80100005, "SSH: Already connected [80100005]"},
    {0x80100006, "SSH: No session [80100006]"},
    {0x80670001, "TNode internal error [80670001]"},
    {0x80670002, "KestoObject server error [80670002]"},
    {0x80670003, "KestoTNodeServer interface is not set [80670003]"},
    {0x80670004, "Keyword descriptor is missing or incorrect [80670004]"},
    {0x80670005, "Element name conflict [80670005]"},
    {0x80670006, "Element name is invalid [80670006]"},
    {0x80670007, "Class does not exist [80670007]"},
    {0x80670008, "TNode not found [80670008]"},
    {0x80670009, "Class already exists [80670009]"},
    {0x8067000A, "Class name is invalid [8067000A]"},
    {0x8067000B, "Class name is longer than 127 characters [8067000B]"},
    {0x8067000C, "Class member name is longer than 31 characters [8067000C]"},
    {0x8067000D, "Class can not be opened because it is deployed [8067000D]"},
    {0x8067000E, "Communication protocol errorror [8067000E]"},
    {0x8067000F, "Server Disconnected [8067000F]"},
    {0x80680001, "Error during parse [80680001]"},
    {0x80680002, "Error during compilation [80680002]"},
    {0x80680003, "Syntax Error [80680003]"},
    {0x80680004, "Parser does not support this moniker extension [80680004]"},
    {0x80720001, "Bad XML Definition [80720001]"},
    {0x80730001, "Invalid attribute bookmark [80730001]"},
    {0x80740001, "Activate: result too large [80740001]"},
    {0x807A0001, "Open LDAP Initialization Failed [807A0001]"},
    {0x807F0001, "Unable to spawn child process [807F0001]"},
    {0x807F0002, "Error in spawned child process [807F0002]"},
    {0x807F0003, "Server Errorr [807F0003]"},
    {0x807F0004, "XMLHttpRequest Error [807F0004]"},
    {0x807F0005, "Protocol Version Error [807F0005]"},
    {0x807F0006, "Data Format Error [807F0006]"},
};

TEST(HResultExpansion, EveryTableRow) {
    for (const Message& m : kTable) EXPECT_EQ(Expanded(m.code), m.expected);
}

TEST(HResultExpansion, CodesOutsideTheTableAreUnknown) {
    const Message cases[] = {
        {0x80004004, "Unknown error [80004004]"},
        {0x00000002, "Unknown error [       2]"},
        {0x00012345, "Unknown error [   12345]"},
        {0xFFFFFFFF, "Unknown error [FFFFFFFF]"},
        {0x0007000E, "Unknown error [   7000E]"},  // the table matches whole codes
    };
    for (const Message& m : cases) EXPECT_EQ(Expanded(m.code), m.expected);
}

TEST(HResultExpansion, KestoFacilitiesGiveTheLowWordInDecimal) {
    const Message cases[] = {
        {0x806F0007, "Kesto' error #7 [806F0007]"},
        {0x806F0000, "Kesto' error #0 [806F0000]"},
        {0x806FFFFF, "Kesto' error #65535 [806FFFFF]"},
        {0x80700000, "Kesto' call-in error #0 [80700000]"},
        {0x80701234, "Kesto' call-in error #4660 [80701234]"},
        // The facility is 13 bits wide, whatever the top bits say.
        {0x006F0001, "Kesto' error #1 [  6F0001]"},
        {0xE06F0001, "Kesto' error #1 [E06F0001]"},
    };
    for (const Message& m : cases) EXPECT_EQ(Expanded(m.code), m.expected);
}

TEST(HResultExpansion, SystemFacilityGivesTheSystemText) {
    EXPECT_EQ(Expanded(0x80620002), std::string(std::strerror(2)) + " [80620002]");
    EXPECT_EQ(Expanded(0x80621234), std::string(std::strerror(4660)) + " [80621234]");
    EXPECT_EQ(Expanded(0x00620000), std::string(std::strerror(0)) + " [  620000]");
}

TEST(HResultExpansion, ResolverFacilityGivesTheBiasedNegativeError) {
    const Message cases[] = {
        {0x807CFFFF, "ZeroC-DNS error #-3 [807CFFFF]"},
        {0x807CFFFE, "ZeroC-DNS error #-4 [807CFFFE]"},
        {0x807C0000, "ZeroC-DNS error #-65538 [807C0000]"},
    };
    for (const Message& m : cases) EXPECT_EQ(Expanded(m.code), m.expected);
}

TEST(HResultExpansion, SecureShellFacilityBranchesOnTheTopNibbleOfTheLowWord) {
    const Message cases[] = {
        {0x80100003, "SSH: Invalid hostname or address [80100003]"},
        {0x80100007, "Unknown error [80100007]"},
        {0x80101234, "SSH Error [80101234]"},
        {0x80102000, "SFTP Error [80102000]"},
        {0x80103000, " [80103000]"},
        {0x8010F001, " [8010F001]"},
    };
    for (const Message& m : cases) EXPECT_EQ(Expanded(m.code), m.expected);
}

TEST(HResultExpansion, ExportedTextsAreTheTableMessages) {
    const struct {
        const unsigned short* text;
        unsigned int code;
    } named[] = {
        {StringErrorText_COM_TNODE_E_PROTOCOL, 0x8067000E},
        {StringErrorText_COM_REGDB_E_READREGDB, 0x80040150},
        {StringErrorText_COM_REGDB_E_WRITEREGDB, 0x80040151},
        {StringErrorText_COM_REGDB_E_KEYMISSING, 0x80040152},
        {StringErrorText_COM_REGDB_E_INVALIDVALUE, 0x80040153},
        {StringErrorText_COM_PROVIDER_E_CANNOTSPAWNCHILD, 0x807F0001},
        {StringErrorText_COM_PROVIDER_E_ERRORINSPAWNEDCHILD, 0x807F0002},
        {StringErrorText_COM_PROVIDER_E_SERVERERROR, 0x807F0003},
        {StringErrorText_COM_PROVIDER_E_XMLHTTPREQUESTERROR, 0x807F0004},
        {StringErrorText_COM_PROVIDER_E_PROTOCOLVERSIONERROR, 0x807F0005},
        {StringErrorText_COM_PROVIDER_E_DATAFORMATERROR, 0x807F0006},
        {StringErrorText_COM_E_SSH_NOTCONNECTED, 0x80100001},
        {StringErrorText_COM_E_SSH_HOSTKEYMISMATCH, 0x80100002},
        {StringErrorText_COM_E_SSH_INVALIDHOSTNAME, 0x80100003},
        {StringErrorText_COM_E_SSH_CONNECTTIMEDOUT, 0x80100004},
        {StringErrorText_COM_E_SSH_CONNECTED, 0x80100005},
        {StringErrorText_COM_E_SSH_NOSESSION, 0x80100006},
    };
    for (const auto& n : named) {
        const std::string expanded = Expanded(n.code);
        EXPECT_EQ(Narrow(n.text), expanded.substr(0, expanded.size() - 11)) << expanded;
    }
}

}  // namespace
