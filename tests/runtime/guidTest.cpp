// Identifier text both ways, and bad text.
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

// Every field in its place, each byte of Data4 in order, upper case out and either
// case in.
TEST(GuidText, IdentifiersWriteInTheRegistryFormAndParseBackInEitherCase) {
    const std::pair<COM_GUID, const char*> identifiers[] = {
        {{0xA35EECE7, 0x0D38, 0x4618, {0xA9, 0x25, 0xF6, 0x5A, 0x50, 0x31, 0x83, 0x39}},
         "{A35EECE7-0D38-4618-A925-F65A50318339}"},
        {COM_IID_IUnknown, "{00000000-0000-0000-C000-000000000046}"},
    };
    for (const auto& [guid, text] : identifiers) {
        EXPECT_EQ(ToText(guid), text);
        std::string lower = text;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        for (const std::string& form : {std::string(text), lower}) {
            COM_GUID parsed{};
            EXPECT_EQ(COM_StringToCLSID(W(form), &parsed), S_OK) << form;
            EXPECT_TRUE(COM_IsEqualGUID(parsed, guid)) << form;
        }
    }
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
