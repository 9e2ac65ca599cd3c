// COM_HRESULT_Expansion: "message [XXXXXXXX]" for any status code.
//
// A few facilities carry a number of their own in the low 16 bits and are worded
// from it; everything else is looked up by its whole 32-bit code. Each text is
// stored once: the named ones below are also exported for other components.
#include <cstddef>

#include "sysException.h"
#include "utlLiteral.h"
#include "vantle/messages.h"

// "Could not read from the registry"
extern "C" const unsigned short StringErrorText_COM_REGDB_E_READREGDB[] = {
    'C', 'o', 'u', 'l', 'd', ' ', 'n', 'o', 't', ' ', 'r', 'e', 'a', 'd', ' ', 'f', 'r', 'o', 'm', ' ', 't',
    'h', 'e', ' ', 'r', 'e', 'g', 'i', 's', 't', 'r', 'y', 0};
// "Could not write to the registry"
extern "C" const unsigned short StringErrorText_COM_REGDB_E_WRITEREGDB[] = {
    'C', 'o', 'u', 'l', 'd', ' ', 'n', 'o', 't', ' ', 'w', 'r', 'i', 't', 'e', ' ', 't', 'o', ' ', 't', 'h',
    'e', ' ', 'r', 'e', 'g', 'i', 's', 't', 'r', 'y', 0};
// "Key is missing from the registry"
extern "C" const unsigned short StringErrorText_COM_REGDB_E_KEYMISSING[] = {
    'K', 'e', 'y', ' ', 'i', 's', ' ', 'm', 'i', 's', 's', 'i', 'n', 'g', ' ', 'f', 'r', 'o', 'm', ' ', 't',
    'h', 'e', ' ', 'r', 'e', 'g', 'i', 's', 't', 'r', 'y', 0};
// "Invalid value for registry"
extern "C" const unsigned short StringErrorText_COM_REGDB_E_INVALIDVALUE[] = {
    'I', 'n', 'v', 'a', 'l', 'i', 'd', ' ', 'v', 'a', 'l', 'u', 'e', ' ', 'f', 'o', 'r', ' ', 'r', 'e', 'g',
    'i', 's', 't', 'r', 'y', 0};
// "SSH: Not currently connected"
extern "C" const unsigned short StringErrorText_COM_E_SSH_NOTCONNECTED[] = {
    'S', 'S', 'H', ':', ' ', 'N', 'o', 't', ' ', 'c', 'u', 'r', 'r', 'e', 'n', 't', 'l', 'y', ' ', 'c', 'o',
    'n', 'n', 'e', 'c', 't', 'e', 'd', 0};
// "SSH: Host key mismatched"
extern "C" const unsigned short StringErrorText_COM_E_SSH_HOSTKEYMISMATCH[] = {
    'S', 'S', 'H', ':', ' ', 'H', 'o', 's', 't', ' ', 'k', 'e', 'y', ' ', 'm', 'i', 's', 'm', 'a', 't', 'c',
    'h', 'e', 'd', 0};
// "SSH: Invalid hostname or address"
extern "C" const unsigned short StringErrorText_COM_E_SSH_INVALIDHOSTNAME[] = {
    'S', 'S', 'H', ':', ' ', 'I', 'n', 'v', 'a', 'l', 'i', 'd', ' ', 'h', 'o', 's', 't', 'n', 'a', 'm', 'e',
    ' ', 'o', 'r', ' ', 'a', 'd', 'd', 'r', 'e', 's', 's', 0};
// "SSH: Connection timed out"
extern "C" const unsigned short StringErrorText_COM_E_SSH_CONNECTTIMEDOUT[] = {
    'S', 'S', 'H', ':', ' ', 'C', 'o', 'n', 'n', 'e', 'c', 't', 'i', 'o', 'n', ' ', 't', 'i', 'm', 'e', 'd',
    ' ', 'o', 'u', 't', 0};
// "SSH: Already connected"
extern "C" const unsigned short StringErrorText_COM_E_SSH_CONNECTED[] = {
    'S', 'S', 'H', ':', ' ', 'A', 'l', 'r', 'e', 'a', 'd', 'y', ' ', 'c', 'o', 'n', 'n', 'e', 'c', 't', 'e',
    'd', 0};
// "SSH: No session"
extern "C" const unsigned short StringErrorText_COM_E_SSH_NOSESSION[] = {
    'S', 'S', 'H', ':', ' ', 'N', 'o', ' ', 's', 'e', 's', 's', 'i', 'o', 'n', 0};
// "Communication protocol errorror"
extern "C" const unsigned short StringErrorText_COM_TNODE_E_PROTOCOL[] = {
    'C', 'o', 'm', 'm', 'u', 'n', 'i', 'c', 'a', 't', 'i', 'o', 'n', ' ', 'p', 'r', 'o', 't', 'o', 'c', 'o',
    'l', ' ', 'e', 'r', 'r', 'o', 'r', 'r', 'o', 'r', 0};
// "Unable to spawn child process"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_CANNOTSPAWNCHILD[] = {
    'U', 'n', 'a', 'b', 'l', 'e', ' ', 't', 'o', ' ', 's', 'p', 'a', 'w', 'n', ' ', 'c', 'h', 'i', 'l', 'd',
    ' ', 'p', 'r', 'o', 'c', 'e', 's', 's', 0};
// "Error in spawned child process"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_ERRORINSPAWNEDCHILD[] = {
    'E', 'r', 'r', 'o', 'r', ' ', 'i', 'n', ' ', 's', 'p', 'a', 'w', 'n', 'e', 'd', ' ', 'c', 'h', 'i', 'l',
    'd', ' ', 'p', 'r', 'o', 'c', 'e', 's', 's', 0};
// "Server Errorr"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_SERVERERROR[] = {
    'S', 'e', 'r', 'v', 'e', 'r', ' ', 'E', 'r', 'r', 'o', 'r', 'r', 0};
// "XMLHttpRequest Error"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_XMLHTTPREQUESTERROR[] = {
    'X', 'M', 'L', 'H', 't', 't', 'p', 'R', 'e', 'q', 'u', 'e', 's', 't', ' ', 'E', 'r', 'r', 'o', 'r', 0};
// "Protocol Version Error"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_PROTOCOLVERSIONERROR[] = {
    'P', 'r', 'o', 't', 'o', 'c', 'o', 'l', ' ', 'V', 'e', 'r', 's', 'i', 'o', 'n', ' ', 'E', 'r', 'r', 'o',
    'r', 0};
// "Data Format Error"
extern "C" const unsigned short StringErrorText_COM_PROVIDER_E_DATAFORMATERROR[] = {
    'D', 'a', 't', 'a', ' ', 'F', 'o', 'r', 'm', 'a', 't', ' ', 'E', 'r', 'r', 'o', 'r', 0};

namespace {

struct Message {
    unsigned int code;
    const unsigned short* text;
};

constexpr Message kMessages[] = {
    {0x00000000, utlLiteral<"OK status">},
    {0x00000001, utlLiteral<"FALSE status">},
    {0x80004001, utlLiteral<"Method not implemented">},
    {0x80004002, utlLiteral<"Can't find specified interface">},
    {0x80004003, utlLiteral<"Invalid Pointer">},
    {0x80004005, utlLiteral<"General failure">},
    {0x80020001, utlLiteral<"Unknown interface">},
    {0x80020003, utlLiteral<"Can't find property">},
    {0x80020004, utlLiteral<"Can't find parameter">},
    {0x80020005, utlLiteral<"Type mismatch">},
    {0x80020006, utlLiteral<"Can't find method">},
    {0x80020007, utlLiteral<"No named arguments">},
    {0x80020008, utlLiteral<"Bad variable type">},
    {0x80020009, utlLiteral<"Exception occurred">},
    {0x8002000A, utlLiteral<"Out of present range">},
    {0x8002000B, utlLiteral<"Bad Index">},
    {0x8002000C, utlLiteral<"Unknown language">},
    {0x8002000D, utlLiteral<"Memory is locked">},
    {0x8002000E, utlLiteral<"Invalid number of parameters">},
    {0x8002000F, utlLiteral<"Parameter not optional">},
    {0x80020010, utlLiteral<"Invalid callee">},
    {0x80020011, utlLiteral<"Does not support a collection">},
    {0x80020012, utlLiteral<"Division by zero">},
    {0x80030002, utlLiteral<"File not found">},
    {0x80030103, utlLiteral<"Can't open file for save">},
    {0x80040110, utlLiteral<"Can't aggregate this object">},
    {0x80040111, utlLiteral<"CoClass not available">},
    {0x80040150, StringErrorText_COM_REGDB_E_READREGDB},
    {0x80040151, StringErrorText_COM_REGDB_E_WRITEREGDB},
    {0x80040152, StringErrorText_COM_REGDB_E_KEYMISSING},
    {0x80040153, StringErrorText_COM_REGDB_E_INVALIDVALUE},
    {0x800401F8, utlLiteral<"Couldn't find DLL">},
    {0x800401F9, utlLiteral<"Entry point not found in DLL">},
    {0x80040300, utlLiteral<"No resource">},
    {0x80040301, utlLiteral<"Already have this item">},
    {0x80040302, utlLiteral<"Does not have this item">},
    {0x8007000E, utlLiteral<"Ran out of memory">},
    {0x80070057, utlLiteral<"One or more arguments are invalid">},
    {0x80100001, StringErrorText_COM_E_SSH_NOTCONNECTED},
    {0x80100002, StringErrorText_COM_E_SSH_HOSTKEYMISMATCH},
    {0x80100003, StringErrorText_COM_E_SSH_INVALIDHOSTNAME},
    {0x80100004, StringErrorText_COM_E_SSH_CONNECTTIMEDOUT},
    {0x80100005, StringErrorText_COM_E_SSH_CONNECTED},
    {0x80100006, StringErrorText_COM_E_SSH_NOSESSION},
    {0x80670001, utlLiteral<"TNode internal error">},
    {0x80670002, utlLiteral<"KestoObject server error">},
    {0x80670003, utlLiteral<"KestoTNodeServer interface is not set">},
    {0x80670004, utlLiteral<"Keyword descriptor is missing or incorrect">},
    {0x80670005, utlLiteral<"Element name conflict">},
    {0x80670006, utlLiteral<"Element name is invalid">},
    {0x80670007, utlLiteral<"Class does not exist">},
    {0x80670008, utlLiteral<"TNode not found">},
    {0x80670009, utlLiteral<"Class already exists">},
    {0x8067000A, utlLiteral<"Class name is invalid">},
    {0x8067000B, utlLiteral<"Class name is longer than 127 characters">},
    {0x8067000C, utlLiteral<"Class member name is longer than 31 characters">},
    {0x8067000D, utlLiteral<"Class can not be opened because it is deployed">},
    {0x8067000E, StringErrorText_COM_TNODE_E_PROTOCOL},
    {0x8067000F, utlLiteral<"Server Disconnected">},
    {0x80680001, utlLiteral<"Error during parse">},
    {0x80680002, utlLiteral<"Error during compilation">},
    {0x80680003, utlLiteral<"Syntax Error">},
    {0x80680004, utlLiteral<"Parser does not support this moniker extension">},
    {0x80720001, utlLiteral<"Bad XML Definition">},
    {0x80730001, utlLiteral<"Invalid attribute bookmark">},
    {0x80740001, utlLiteral<"Activate: result too large">},
    {0x807A0001, utlLiteral<"Open LDAP Initialization Failed">},
    {0x807F0001, StringErrorText_COM_PROVIDER_E_CANNOTSPAWNCHILD},
    {0x807F0002, StringErrorText_COM_PROVIDER_E_ERRORINSPAWNEDCHILD},
    {0x807F0003, StringErrorText_COM_PROVIDER_E_SERVERERROR},
    {0x807F0004, StringErrorText_COM_PROVIDER_E_XMLHTTPREQUESTERROR},
    {0x807F0005, StringErrorText_COM_PROVIDER_E_PROTOCOLVERSIONERROR},
    {0x807F0006, StringErrorText_COM_PROVIDER_E_DATAFORMATERROR},
};

constexpr unsigned int kFacilityKesto = 0x6F;
constexpr unsigned int kFacilityKestoCallIn = 0x70;
constexpr unsigned int kFacilitySystem = 0x62;
constexpr unsigned int kFacilityResolver = 0x7C;
constexpr unsigned int kFacilitySecureShell = 0x10;

// The resolver facility carries a negative error e as low = 65538 + e.
constexpr unsigned int kResolverBias = 65538;

void AppendTableMessage(utlWString& text, unsigned int code) {
    for (const Message& message : kMessages) {
        if (message.code == code) {
            sysAppendText(text, message.text);
            return;
        }
    }
    sysAppendText(text, utlLiteral<"Unknown error">);
}

// The code in upper-case hexadecimal, right-aligned in 8 places padded with spaces.
void AppendBracketedCode(utlWString& text, unsigned int code) {
    utlWString digits;
    sysAppendDigits(digits, code, 16, true);
    sysAppendText(text, utlLiteral<" [">);
    text.append(8 - digits.size(), ' ');
    text += digits;
    text.push_back(']');
}

}  // namespace

utlWString COM_HRESULT_Expansion(int code) {
    const unsigned int bits = static_cast<unsigned int>(code);
    const unsigned int facility = static_cast<unsigned int>(code >> 16) & 0x1FFF;
    const unsigned int low = bits & 0xFFFF;
    utlWString text;
    switch (facility) {
    case kFacilityKesto:
        sysAppendText(text, utlLiteral<"Kesto' error #">);
        sysAppendDigits(text, low, 10, false);
        break;
    case kFacilityKestoCallIn:
        sysAppendText(text, utlLiteral<"Kesto' call-in error #">);
        sysAppendDigits(text, low, 10, false);
        break;
    case kFacilitySystem:
        text = sysSystemErrorText(static_cast<long>(low));
        break;
    case kFacilityResolver:
        sysAppendText(text, utlLiteral<"ZeroC-DNS error #-">);
        sysAppendDigits(text, kResolverBias - low, 10, false);
        break;
    case kFacilitySecureShell:
        switch ((low >> 12) & 0xF) {
        case 0:
            AppendTableMessage(text, bits);
            break;
        case 1:
            sysAppendText(text, utlLiteral<"SSH Error">);
            break;
        case 2:
            sysAppendText(text, utlLiteral<"SFTP Error">);
            break;
        default:
            break;  // no message: only the bracketed code
        }
        break;
    default:
        AppendTableMessage(text, bits);
        break;
    }
    AppendBracketedCode(text, bits);
    return text;
}
