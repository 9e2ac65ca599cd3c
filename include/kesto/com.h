// kesto/com.h: the component runtime's basic types, the IUnknown root interface,
// BSTR strings, identifiers and object creation.
//
// Everything here is a binary contract: editors and components call through the
// interface tables, so the slot order of every interface is fixed. Every interface
// starts with a virtual destructor (slots 0 and 1), then QueryInterface, AddRef and
// Release (slots 2 to 4); its own operations follow from slot 5.
//
// A BSTR is a 32-bit byte count, the 16-bit units, then a 16-bit zero; the pointer
// points at the first unit. Embedded zeros are kept. A NULL BSTR counts as empty.
#ifndef KESTO_COM_H_
#define KESTO_COM_H_

#define KESTO_EXPORT __attribute__((visibility("default")))

typedef int HRESULT;
typedef unsigned short* BSTR;
typedef const unsigned short* CBSTR;

struct COM_GUID {
    unsigned int Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
};
static_assert(sizeof(COM_GUID) == 16, "COM_GUID is 16 bytes");

// Identifiers are always compared byte for byte.
inline bool COM_IsEqualGUID(const COM_GUID& a, const COM_GUID& b) {
    return __builtin_memcmp(&a, &b, sizeof(COM_GUID)) == 0;
}

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define E_UNEXPECTED ((HRESULT)0x8000FFFF)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111)
#define REGDB_E_READREGDB ((HRESULT)0x80040150)
#define REGDB_E_WRITEREGDB ((HRESULT)0x80040151)
#define REGDB_E_KEYMISSING ((HRESULT)0x80040152)
#define REGDB_E_INVALIDVALUE ((HRESULT)0x80040153)
#define CO_E_DLLNOTFOUND ((HRESULT)0x800401F8)
#define CO_E_ERRORINDLL ((HRESULT)0x800401F9)
#define STG_E_FILENOTFOUND ((HRESULT)0x80030002)
#define TNODE_E_CLASSNOTEXIST ((HRESULT)0x80670007)
#define TNODE_E_NOTFOUND ((HRESULT)0x80670008)
#define TNODE_E_INVALIDCLASSNAME ((HRESULT)0x8067000A)
#define PARSE_E_SYNTAX ((HRESULT)0x80680003)

#define SUCCEEDED(hr) (((HRESULT)(hr)) >= 0)
#define FAILED(hr) (((HRESULT)(hr)) < 0)

class COM_IUnknown {
public:
    virtual ~COM_IUnknown() {}
    virtual HRESULT QueryInterface(const COM_GUID& iid, void** out) = 0;
    virtual unsigned long AddRef() = 0;
    virtual unsigned long Release() = 0;
};

class COM_IClassFactory : public COM_IUnknown {
public:
    virtual HRESULT CreateInstance(const COM_GUID& iid, void** out) = 0;  // slot 5
};

extern "C" {

// Strings. Allocation failure gives NULL (or 0 from COM_SysReAllocString) and
// never throws.
KESTO_EXPORT BSTR COM_SysAllocString(const unsigned short* text);  // NULL text: NULL
// A NULL text allocates `length` units left unset for the caller to write; the
// terminator is written.
// Lengths whose byte count does not fit the 32-bit prefix fail with NULL.
KESTO_EXPORT BSTR COM_SysAllocStringLen(const unsigned short* text, unsigned int length);
// Replaces *string by a copy of text and frees the old string; a NULL text leaves
// *string NULL. Returns 1, or 0 (with *string untouched) when allocation fails or
// string is NULL.
KESTO_EXPORT int COM_SysReAllocString(BSTR* string, const unsigned short* text);
KESTO_EXPORT unsigned int COM_SysStringLen(const unsigned short* string);  // 0 for NULL
KESTO_EXPORT void COM_SysFreeString(BSTR string);                         // NULL allowed

// Creates an object of a built-in class of the runtime or of a registered
// in-process server. There is no aggregation: a non-NULL outer fails with
// CLASS_E_NOAGGREGATION.
KESTO_EXPORT HRESULT COM_CreateInstance(const COM_GUID& clsid, COM_IUnknown* outer,
                                        const COM_GUID& iid, void** out);

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case.
KESTO_EXPORT HRESULT COM_CLSIDToString(const COM_GUID& clsid, BSTR* text);
// Accepts exactly that form, either case, braces required. Bad text gives
// E_INVALIDARG and leaves *clsid untouched; a NULL argument gives E_POINTER.
KESTO_EXPORT HRESULT COM_StringToCLSID(const unsigned short* text, COM_GUID* clsid);

KESTO_EXPORT extern const COM_GUID COM_IID_IUnknown;
KESTO_EXPORT extern const COM_GUID COM_IID_IClassFactory;
KESTO_EXPORT extern const COM_GUID COM_CLSID_Registry;
KESTO_EXPORT extern const COM_GUID COM_IID_IRegistry;
KESTO_EXPORT extern const COM_GUID COM_IID_IRegistryEnum;
KESTO_EXPORT extern const COM_GUID COM_CLSID_CategoryManager;
KESTO_EXPORT extern const COM_GUID COM_IID_ICatRegister;
KESTO_EXPORT extern const COM_GUID COM_CLSID_TNodeManager;
KESTO_EXPORT extern const COM_GUID COM_IID_ITNodeManager;
KESTO_EXPORT extern const COM_GUID COM_IID_ITNodeElement;
KESTO_EXPORT extern const COM_GUID COM_IID_IStringCollection;
KESTO_EXPORT extern const COM_GUID COM_IID_IClassCache;
KESTO_EXPORT extern const COM_GUID COM_IID_ISchemaCache;
KESTO_EXPORT extern const COM_GUID COM_IID_IExtrinsicCache;
KESTO_EXPORT extern const COM_GUID COM_IID_IMacroCache;
KESTO_EXPORT extern const COM_GUID COM_IID_IMemory;

}  // extern "C"

#endif  // KESTO_COM_H_
