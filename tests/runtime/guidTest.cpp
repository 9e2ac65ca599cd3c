// Identifier text both ways, bad text, and the values of the exported identifiers.
#include <gtest/gtest.h>

#include <cctype>

#include "TestText.h"
#include "kesto/diagnostics.h"

namespace {

std::string ToText(const COM_GUID& guid) {
    BSTR text = nullptr;
    EXPECT_EQ(COM_CLSIDToString(guid, &text), S_OK);
    return Take(text);
}

TEST(GuidText, ExportedIdentifiersHaveTheirContractValuesAndParseBackInEitherCase) {
    const std::pair<const COM_GUID*, const char*> identifiers[] = {
        {&COM_IID_IUnknown, "{00000000-0000-0000-C000-000000000046}"},
        {&COM_IID_IClassFactory, "{00000001-0000-0000-C000-000000000046}"},
        {&COM_CLSID_Registry, "{EE387DDD-CB45-4C25-820C-4EE93C5B490A}"},
        {&COM_IID_IRegistry, "{77339399-3499-441F-9FAA-377B468979CF}"},
        {&COM_IID_IRegistryEnum, "{3A40C54B-F0A7-4DA9-AEB9-27CC4DE0D099}"},
        {&COM_CLSID_CategoryManager, "{39B801F4-ED96-48D8-B4E8-27610DFFE837}"},
        {&COM_IID_ICatRegister, "{6FE8EEA3-48A9-424F-BF36-47CB4677E3E7}"},
        {&COM_CLSID_TNodeManager, "{3AEBB4B2-2B6F-4784-8841-4272D107CD2D}"},
        {&COM_IID_IStringCollection, "{586544E8-1EC5-4F76-983D-6D37954261F4}"},
        {&COM_IID_IMemory, "{10DF632E-370A-472D-A0BA-53F0E00987F5}"},
        {&COM_IID_ITNodeManager, "{5003D630-50EE-11D3-9C88-0080C70ABEBB}"},
        {&COM_IID_ITNodeElement, "{7F1F69F0-50EE-11D3-9C88-0080C70ABEBB}"},
        {&COM_IID_IClassCache, "{30E2A4E5-1CB6-449F-AA3A-DAE31323BE69}"},
        {&COM_IID_ISchemaCache, "{CDB7787D-1341-4015-AC04-922D547369C7}"},
        {&COM_IID_IExtrinsicCache, "{47E3AEF2-2691-49EF-ADC1-8EF90F985321}"},
        {&COM_IID_IMacroCache, "{862E62C5-E70D-40AD-9DEA-08BAEF02FDE7}"},
    };
    for (const auto& [guid, text] : identifiers) {
        EXPECT_EQ(ToText(*guid), text);
        std::string lower = text;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        for (const std::string& form : {std::string(text), lower}) {
            COM_GUID parsed{};
            EXPECT_EQ(COM_StringToCLSID(W(form), &parsed), S_OK) << form;
            EXPECT_TRUE(COM_IsEqualGUID(parsed, *guid)) << form;
        }
    }
    const COM_GUID fields = {0xA35EECE7, 0x0D38, 0x4618, {0xA9, 0x25, 0xF6, 0x5A, 0x50, 0x31, 0x83, 0x39}};
    EXPECT_EQ(ToText(fields), "{A35EECE7-0D38-4618-A925-F65A50318339}");
}

TEST(GuidText, BadTextAndNullArgumentsAreRefusedAndLeaveTheIdentifierUntouched) {
    Units fullWidth = W("{A35EECE7-0D38-4618-A925-F65A50318339}").units(), cut = fullWidth;
    fullWidth[1] = 0xFF10;  // a full-width digit is not a digit
    cut[1] = 0;             // an embedded zero ends the text early
    const Units bad[] = {
        W("").units(), W("{").units(), fullWidth, cut,
        W("A35EECE7-0D38-4618-A925-F65A50318339").units(),     // no braces
        W("(A35EECE7-0D38-4618-A925-F65A50318339)").units(),   // wrong brackets
        W("{A35EECE7-0D38-4618-A925-F65A5031833}").units(),    // one digit short
        W("{A35EECE7-0D38-4618-A925-F65A503183391}").units(),  // one digit too many
        W("{A35EECE7-0D38-4618-A925-F65A50318339} ").units(),  // trailing text
        W(" {A35EECE7-0D38-4618-A925-F65A50318339}").units(),
        W("{A35EECE70-D38-4618-A925-F65A50318339}").units(),   // dash moved
        W("{A35EECE7-0D38-4618-A925F-65A50318339}").units(),
        W("{G35EECE7-0D38-4618-A925-F65A50318339}").units(),   // not a digit
        W("{+35EECE7-0D38-4618-A925-F65A50318339}").units(),
    };
    const COM_GUID untouched = {0x11111111, 0x2222, 0x3333, {4, 4, 4, 4, 4, 4, 4, 4}};
    for (const Units& text : bad) {
        COM_GUID guid = untouched;
        EXPECT_EQ(COM_StringToCLSID(text.c_str(), &guid), E_INVALIDARG) << Narrow(text);
        EXPECT_TRUE(COM_IsEqualGUID(guid, untouched)) << Narrow(text);
    }
    COM_GUID guid{};
    EXPECT_EQ(COM_StringToCLSID(nullptr, &guid), E_POINTER);
    EXPECT_EQ(COM_StringToCLSID(W("{00000000-0000-0000-C000-000000000046}"), nullptr), E_POINTER);
    EXPECT_EQ(COM_CLSIDToString(COM_IID_IUnknown, nullptr), E_POINTER);
    const long live = KESTO_LiveStringCount();
    KESTO_FaultInjectStrings(0, 1);
    BSTR text = reinterpret_cast<BSTR>(&guid);
    EXPECT_EQ(COM_CLSIDToString(COM_IID_IUnknown, &text), E_OUTOFMEMORY);
    EXPECT_EQ(text, nullptr);
    KESTO_FaultInjectStrings(0, 0);
    EXPECT_EQ(KESTO_LiveStringCount(), live);
}

}  // namespace
