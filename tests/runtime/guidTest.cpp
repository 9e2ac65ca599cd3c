// Identifier text both ways, bad text, and the values of the exported identifiers.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <string>

#include "../sys/TestText.h"
#include "kesto/com.h"
#include "kesto/diagnostics.h"

namespace {

struct KnownIdentifier {
    const char* name;
    const COM_GUID* guid;
    const char* text;
};

// The runtime's identifiers as the binary contract fixes them.
const KnownIdentifier kRuntimeIdentifiers[] = {
    {"IUnknown", &COM_IID_IUnknown, "{00000000-0000-0000-C000-000000000046}"},
    {"IClassFactory", &COM_IID_IClassFactory, "{00000001-0000-0000-C000-000000000046}"},
    {"CLSID_Registry", &COM_CLSID_Registry, "{EE387DDD-CB45-4C25-820C-4EE93C5B490A}"},
    {"IRegistry", &COM_IID_IRegistry, "{77339399-3499-441F-9FAA-377B468979CF}"},
    {"IRegistryEnum", &COM_IID_IRegistryEnum, "{3A40C54B-F0A7-4DA9-AEB9-27CC4DE0D099}"},
    {"CLSID_CategoryManager", &COM_CLSID_CategoryManager, "{39B801F4-ED96-48D8-B4E8-27610DFFE837}"},
    {"ICatRegister", &COM_IID_ICatRegister, "{6FE8EEA3-48A9-424F-BF36-47CB4677E3E7}"},
    {"CLSID_TNodeManager", &COM_CLSID_TNodeManager, "{3AEBB4B2-2B6F-4784-8841-4272D107CD2D}"},
    {"IStringCollection", &COM_IID_IStringCollection, "{586544E8-1EC5-4F76-983D-6D37954261F4}"},
    {"IMemory", &COM_IID_IMemory, "{10DF632E-370A-472D-A0BA-53F0E00987F5}"},
    {"ITNodeManager", &COM_IID_ITNodeManager, "{5003D630-50EE-11D3-9C88-0080C70ABEBB}"},
    {"ITNodeElement", &COM_IID_ITNodeElement, "{7F1F69F0-50EE-11D3-9C88-0080C70ABEBB}"},
    {"IClassCache", &COM_IID_IClassCache, "{30E2A4E5-1CB6-449F-AA3A-DAE31323BE69}"},
    {"ISchemaCache", &COM_IID_ISchemaCache, "{CDB7787D-1341-4015-AC04-922D547369C7}"},
    {"IExtrinsicCache", &COM_IID_IExtrinsicCache, "{47E3AEF2-2691-49EF-ADC1-8EF90F985321}"},
    {"IMacroCache", &COM_IID_IMacroCache, "{862E62C5-E70D-40AD-9DEA-08BAEF02FDE7}"},
};

std::string ToText(const COM_GUID& guid) {
    BSTR text = nullptr;
    EXPECT_EQ(COM_CLSIDToString(guid, &text), S_OK);
    std::string narrow = Narrow(text, COM_SysStringLen(text));
    COM_SysFreeString(text);
    return narrow;
}

TEST(GuidText, ExportedIdentifiersHaveTheirContractValues) {
    for (const KnownIdentifier& known : kRuntimeIdentifiers) {
        EXPECT_EQ(ToText(*known.guid), known.text) << known.name;
    }
}

TEST(GuidText, TextParsesBackInEitherCase) {
    for (const KnownIdentifier& known : kRuntimeIdentifiers) {
        std::string lower = known.text;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        for (const std::string& text : {std::string(known.text), lower}) {
            COM_GUID parsed{};
            EXPECT_EQ(COM_StringToCLSID(W(text.c_str()).c_str(), &parsed), S_OK) << text;
            EXPECT_TRUE(COM_IsEqualGUID(parsed, *known.guid)) << text;
        }
    }
}

TEST(GuidText, FieldsMapToTextInContractOrder) {
    const COM_GUID expected = {0xA35EECE7, 0x0D38, 0x4618, {0xA9, 0x25, 0xF6, 0x5A, 0x50, 0x31, 0x83, 0x39}};
    COM_GUID parsed{};
    ASSERT_EQ(COM_StringToCLSID(W("{A35EECE7-0D38-4618-A925-F65A50318339}").c_str(), &parsed), S_OK);
    EXPECT_EQ(std::memcmp(&parsed, &expected, sizeof parsed), 0);
    EXPECT_EQ(ToText(expected), "{A35EECE7-0D38-4618-A925-F65A50318339}");
}

TEST(GuidText, BadTextIsRefusedAndLeavesTheIdentifierUntouched) {
    const char* bad[] = {
        "",
        "{",
        "A35EECE7-0D38-4618-A925-F65A50318339",      // no braces
        "(A35EECE7-0D38-4618-A925-F65A50318339)",    // wrong brackets
        "{A35EECE7-0D38-4618-A925-F65A5031833}",     // one digit short
        "{A35EECE7-0D38-4618-A925-F65A503183391}",   // one digit too many
        "{A35EECE7-0D38-4618-A925-F65A50318339} ",   // trailing text
        " {A35EECE7-0D38-4618-A925-F65A50318339}",   // leading blank
        "{A35EECE70-D38-4618-A925-F65A50318339}",    // dash moved
        "{A35EECE7-0D38-4618-A925F-65A50318339}",    // dash moved in the last group
        "{G35EECE7-0D38-4618-A925-F65A50318339}",    // not a digit
        "{+35EECE7-0D38-4618-A925-F65A50318339}",
    };
    const COM_GUID untouched = {0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};
    for (const char* text : bad) {
        COM_GUID guid = untouched;
        EXPECT_EQ(COM_StringToCLSID(W(text).c_str(), &guid), E_INVALIDARG) << text;
        EXPECT_TRUE(COM_IsEqualGUID(guid, untouched)) << text;
    }

    // A full-width digit is not a digit, and an embedded zero ends the text early.
    TestWString wide = W("{A35EECE7-0D38-4618-A925-F65A50318339}");
    wide[1] = 0xFF10;
    COM_GUID guid = untouched;
    EXPECT_EQ(COM_StringToCLSID(wide.c_str(), &guid), E_INVALIDARG);
    wide[1] = 0;
    EXPECT_EQ(COM_StringToCLSID(wide.c_str(), &guid), E_INVALIDARG);
    EXPECT_TRUE(COM_IsEqualGUID(guid, untouched));
}

TEST(GuidText, NullArgumentsAreRefused) {
    COM_GUID guid{};
    EXPECT_EQ(COM_StringToCLSID(nullptr, &guid), E_POINTER);
    EXPECT_EQ(COM_StringToCLSID(W("{00000000-0000-0000-C000-000000000046}").c_str(), nullptr), E_POINTER);
    EXPECT_EQ(COM_CLSIDToString(COM_IID_IUnknown, nullptr), E_POINTER);
}

TEST(GuidText, ToStringReportsExhaustion) {
    const long live = KESTO_LiveStringCount();
    KESTO_FaultInjectStrings(0, 1);
    BSTR text = reinterpret_cast<BSTR>(&text);
    EXPECT_EQ(COM_CLSIDToString(COM_IID_IUnknown, &text), E_OUTOFMEMORY);
    EXPECT_EQ(text, nullptr);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(KESTO_LiveStringCount(), live);
}

}  // namespace
