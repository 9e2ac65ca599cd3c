// Identifier text conversion and the runtime's identifiers.
#include <cstdio>

#include "guid_text.h"
#include "kesto/com.h"

namespace kesto {

void FormatGuid(const COM_GUID& id, char (&text)[kGuidTextLength + 1]) {
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.Data1, id.Data2,
                  id.Data3, id.Data4[0], id.Data4[1], id.Data4[2], id.Data4[3], id.Data4[4], id.Data4[5],
                  id.Data4[6], id.Data4[7]);
}

std::string GuidText(const COM_GUID& id) {
    char text[kGuidTextLength + 1];
    FormatGuid(id, text);
    return std::string(text, kGuidTextLength);
}

}  // namespace kesto

extern "C" {

const COM_GUID COM_IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const COM_GUID COM_IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const COM_GUID COM_CLSID_Registry = {0xEE387DDD, 0xCB45, 0x4C25, {0x82, 0x0C, 0x4E, 0xE9, 0x3C, 0x5B, 0x49, 0x0A}};
const COM_GUID COM_IID_IRegistry = {0x77339399, 0x3499, 0x441F, {0x9F, 0xAA, 0x37, 0x7B, 0x46, 0x89, 0x79, 0xCF}};
const COM_GUID COM_IID_IRegistryEnum = {0x3A40C54B, 0xF0A7, 0x4DA9, {0xAE, 0xB9, 0x27, 0xCC, 0x4D, 0xE0, 0xD0, 0x99}};
const COM_GUID COM_CLSID_CategoryManager = {0x39B801F4, 0xED96, 0x48D8, {0xB4, 0xE8, 0x27, 0x61, 0x0D, 0xFF, 0xE8, 0x37}};
const COM_GUID COM_IID_ICatRegister = {0x6FE8EEA3, 0x48A9, 0x424F, {0xBF, 0x36, 0x47, 0xCB, 0x46, 0x77, 0xE3, 0xE7}};
const COM_GUID COM_CLSID_TNodeManager = {0x3AEBB4B2, 0x2B6F, 0x4784, {0x88, 0x41, 0x42, 0x72, 0xD1, 0x07, 0xCD, 0x2D}};
const COM_GUID COM_IID_ITNodeManager = {0x5003D630, 0x50EE, 0x11D3, {0x9C, 0x88, 0x00, 0x80, 0xC7, 0x0A, 0xBE, 0xBB}};
const COM_GUID COM_IID_ITNodeElement = {0x7F1F69F0, 0x50EE, 0x11D3, {0x9C, 0x88, 0x00, 0x80, 0xC7, 0x0A, 0xBE, 0xBB}};
const COM_GUID COM_IID_IStringCollection = {0x586544E8, 0x1EC5, 0x4F76, {0x98, 0x3D, 0x6D, 0x37, 0x95, 0x42, 0x61, 0xF4}};
const COM_GUID COM_IID_IClassCache = {0x30E2A4E5, 0x1CB6, 0x449F, {0xAA, 0x3A, 0xDA, 0xE3, 0x13, 0x23, 0xBE, 0x69}};
const COM_GUID COM_IID_ISchemaCache = {0xCDB7787D, 0x1341, 0x4015, {0xAC, 0x04, 0x92, 0x2D, 0x54, 0x73, 0x69, 0xC7}};
const COM_GUID COM_IID_IExtrinsicCache = {0x47E3AEF2, 0x2691, 0x49EF, {0xAD, 0xC1, 0x8E, 0xF9, 0x0F, 0x98, 0x53, 0x21}};
const COM_GUID COM_IID_IMacroCache = {0x862E62C5, 0xE70D, 0x40AD, {0x9D, 0xEA, 0x08, 0xBA, 0xEF, 0x02, 0xFD, 0xE7}};
const COM_GUID COM_IID_IMemory = {0x10DF632E, 0x370A, 0x472D, {0xA0, 0xBA, 0x53, 0xF0, 0xE0, 0x09, 0x87, 0xF5}};

HRESULT COM_CLSIDToString(const COM_GUID& clsid, BSTR* text) {
    if (text == nullptr) return E_POINTER;
    char narrow[kesto::kGuidTextLength + 1];
    kesto::FormatGuid(clsid, narrow);
    unsigned short wide[kesto::kGuidTextLength];
    for (std::size_t i = 0; i < kesto::kGuidTextLength; ++i) wide[i] = static_cast<unsigned char>(narrow[i]);
    *text = COM_SysAllocStringLen(wide, kesto::kGuidTextLength);
    return *text == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT COM_StringToCLSID(const unsigned short* text, COM_GUID* clsid) {
    if (text == nullptr || clsid == nullptr) return E_POINTER;
    // Positions of the 32 hexadecimal digits in "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
    static const int kDashes[] = {9, 14, 19, 24};
    unsigned char nibbles[32];
    int digit = 0;
    for (int i = 0; i < 38; ++i) {
        unsigned short c = text[i];
        if (c == 0) return E_INVALIDARG;
        bool dash = false;
        for (int d : kDashes) dash = dash || d == i;
        if (i == 0) {
            if (c != '{') return E_INVALIDARG;
        } else if (i == 37) {
            if (c != '}') return E_INVALIDARG;
        } else if (dash) {
            if (c != '-') return E_INVALIDARG;
        } else if (c >= '0' && c <= '9') {
            nibbles[digit++] = static_cast<unsigned char>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            nibbles[digit++] = static_cast<unsigned char>(c - 'a' + 10);
        } else if (c >= 'A' && c <= 'F') {
            nibbles[digit++] = static_cast<unsigned char>(c - 'A' + 10);
        } else {
            return E_INVALIDARG;
        }
    }
    if (text[38] != 0) return E_INVALIDARG;
    auto take = [&nibbles](int from, int count) {
        unsigned long value = 0;
        for (int i = 0; i < count; ++i) value = value * 16 + nibbles[from + i];
        return value;
    };
    COM_GUID parsed;
    parsed.Data1 = static_cast<unsigned int>(take(0, 8));
    parsed.Data2 = static_cast<unsigned short>(take(8, 4));
    parsed.Data3 = static_cast<unsigned short>(take(12, 4));
    for (int i = 0; i < 8; ++i) parsed.Data4[i] = static_cast<unsigned char>(take(16 + 2 * i, 2));
    *clsid = parsed;
    return S_OK;
}

}  // extern "C"
