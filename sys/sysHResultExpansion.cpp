// COM_HRESULT_Expansion: "message [XXXXXXXX]" for any status code.
//
// A few facilities carry a number of their own in the low 16 bits and are worded
// from it; everything else is looked up by its whole 32-bit code. Each text is
// stored once: the named ones below are also exported for other components.
#include <cstddef>

#include "sys/sysException.h"
#include "sys/sysExceptionFormat.h"

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

template <std::size_t N>
struct NarrowText {
    char units[N];
    // Implicit, so that a string literal can be a template argument.
    constexpr NarrowText(const char (&text)[N]) {
        for (std::size_t i = 0; i < N; ++i) units[i] = text[i];
    }
};

template <std::size_t N>
struct WideText {
    unsigned short units[N];
};

// A 16-bit copy of an ASCII literal, made at compile time: kWide<"OK status">.units.
template <NarrowText Text>
constexpr WideText<sizeof(Text.units)> kWide = [] {
    WideText<sizeof(Text.units)> wide{};
    for (std::size_t i = 0; i < sizeof(Text.units); ++i) wide.units[i] = static_cast<unsigned char>(Text.units[i]);
    return wide;
}();

struct Message {
    unsigned int code;
    const unsigned short* text;
};

constexpr Message kMessages[] = {
    {0x00000000, kWide<"OK status">.units},
    {0x00000001, kWide<"FALSE status">.units},
    {0x80004001, kWide<"Method not implemented">.units},
    {0x80004002, kWide<"Can't find specified interface">.units},
    {0x80004003, kWide<"Invalid Pointer">.units},
    {0x80004005, kWide<"General failure">.units},
    {0x80020001, kWide<"Unknown interface">.units},
    {0x80020003, kWide<"Can't find property">.units},
    {0x80020004, kWide<"Can't find parameter">.units},
    {0x80020005, kWide<"Type mismatch">.units},
    {0x80020006, kWide<"Can't find method">.units},
    {0x80020007, kWide<"No named arguments">.units},
    {0x80020008, kWide<"Bad variable type">.units},
    {0x80020009, kWide<"Exception occurred">.units},
    {0x8002000A, kWide<"Out of present range">.units},
    {0x8002000B, kWide<"Bad Index">.units},
    {0x8002000C, kWide<"Unknown language">.units},
    {0x8002000D, kWide<"Memory is locked">.units},
    {0x8002000E, kWide<"Invalid number of parameters">.units},
    {0x8002000F, kWide<"Parameter not optional">.units},
    {0x80020010, kWide<"Invalid callee">.units},
    {0x80020011, kWide<"Does not support a collection">.units},
    {0x80020012, kWide<"Division by zero">.units},
    {0x80030002, kWide<"File not found">.units},
    {0x80030103, kWide<"Can't open file for save">.units},
    {0x80040110, kWide<"Can't aggregate this object">.units},
    {0x80040111, kWide<"CoClass not available">.units},
    {0x80040150, StringErrorText_COM_REGDB_E_READREGDB},
    {0x80040151, StringErrorText_COM_REGDB_E_WRITEREGDB},
    {0x80040152, StringErrorText_COM_REGDB_E_KEYMISSING},
    {0x80040153, StringErrorText_COM_REGDB_E_INVALIDVALUE},
    {0x800401F8, kWide<"Couldn't find DLL">.units},
    {0x800401F9, kWide<"Entry point not found in DLL">.units},
    {0x80040300, kWide<"No resource">.units},
    {0x80040301, kWide<"Already have this item">.units},
    {0x80040302, kWide<"Does not have this item">.units},
    {0x8007000E, kWide<"Ran out of memory">.units},
    {0x80070057, kWide<"One or more arguments are invalid">.units},
    {0x80100001, StringErrorText_COM_E_SSH_NOTCONNECTED},
    {0x80100002, StringErrorText_COM_E_SSH_HOSTKEYMISMATCH},
    {0x80100003, StringErrorText_COM_E_SSH_INVALIDHOSTNAME},
    {0x80100004, StringErrorText_COM_E_SSH_CONNECTTIMEDOUT},
    {0x80100005, StringErrorText_COM_E_SSH_CONNECTED},
    {0x80100006, StringErrorText_COM_E_SSH_NOSESSION},
    {0x80670001, kWide<"TNode internal error">.units},
    {0x80670002, kWide<"KestoObject server error">.units},
    {0x80670003, kWide<"KestoTNodeServer interface is not set">.units},
    {0x80670004, kWide<"Keyword descriptor is missing or incorrect">.units},
    {0x80670005, kWide<"Element name conflict">.units},
    {0x80670006, kWide<"Element name is invalid">.units},
    {0x80670007, kWide<"Class does not exist">.units},
    {0x80670008, kWide<"TNode not found">.units},
    {0x80670009, kWide<"Class already exists">.units},
    {0x8067000A, kWide<"Class name is invalid">.units},
    {0x8067000B, kWide<"Class name is longer than 127 characters">.units},
    {0x8067000C, kWide<"Class member name is longer than 31 characters">.units},
    {0x8067000D, kWide<"Class can not be opened because it is deployed">.units},
    {0x8067000E, StringErrorText_COM_TNODE_E_PROTOCOL},
    {0x8067000F, kWide<"Server Disconnected">.units},
    {0x80680001, kWide<"Error during parse">.units},
    {0x80680002, kWide<"Error during compilation">.units},
    {0x80680003, kWide<"Syntax Error">.units},
    {0x80680004, kWide<"Parser does not support this moniker extension">.units},
    {0x80720001, kWide<"Bad XML Definition">.units},
    {0x80730001, kWide<"Invalid attribute bookmark">.units},
    {0x80740001, kWide<"Activate: result too large">.units},
    {0x807A0001, kWide<"Open LDAP Initialization Failed">.units},
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
    sysAppendText(text, kWide<"Unknown error">.units);
}

// The code in upper-case hexadecimal, right-aligned in 8 places padded with spaces.
void AppendBracketedCode(utlWString& text, unsigned int code) {
    utlWString digits;
    sysAppendDigits(digits, code, 16, true);
    sysAppendText(text, kWide<" [">.units);
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
        sysAppendText(text, kWide<"Kesto' error #">.units);
        sysAppendDigits(text, low, 10, false);
        break;
    case kFacilityKestoCallIn:
        sysAppendText(text, kWide<"Kesto' call-in error #">.units);
        sysAppendDigits(text, low, 10, false);
        break;
    case kFacilitySystem:
        text = sysSystemErrorText(static_cast<long>(low));
        break;
    case kFacilityResolver:
        sysAppendText(text, kWide<"ZeroC-DNS error #-">.units);
        sysAppendDigits(text, kResolverBias - low, 10, false);
        break;
    case kFacilitySecureShell:
        switch ((low >> 12) & 0xF) {
        case 0:
            AppendTableMessage(text, bits);
            break;
        case 1:
            sysAppendText(text, kWide<"SSH Error">.units);
            break;
        case 2:
            sysAppendText(text, kWide<"SFTP Error">.units);
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
