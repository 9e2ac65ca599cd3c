// vantle/assist.h: what an editor sees of the assistance service, CVantleAssistant.
//
// A host creates the service as COM_CLSID_VantleAssist (COM_CreateInstance, once
// the component is registered or on KESTO_MODULE_PATH), hands it a tree manager
// with Initialize, then asks its four interfaces, each derived directly from
// COM_IUnknown with the slot numbers given below.
//
// Strings: every string passed in is NUL-terminated, may be empty and is not kept;
// a NULL name where one is required gives E_POINTER. Every string passed out is a
// new BSTR that the caller frees with COM_SysFreeString, or NULL; a NULL
// out-pointer is refused with E_POINTER before anything runs. Lists are
// comma-terminated: every entry, the last one too, ends with ",".
// Results: S_OK, S_FALSE for "no answer" (no tree yet, unknown class or member,
// empty list), or the failing HRESULT of the tree passed on unchanged.
// References: the service keeps one reference to the tree manager it is given and
// releases it on the next Initialize or when it dies.
// Threads: none of its own, no locking. Use one service from one thread at a time;
// separate services may be used on separate threads.
#ifndef VANTLE_ASSIST_H_
#define VANTLE_ASSIST_H_

#include "kesto/com.h"
#include "kesto/tnode.h"

#include "vantle/export.h"

// The enumerations have a fixed 32-bit type so that any value an editor passes is a
// valid value of the type, to be checked, rather than undefined behaviour.
// One value per symbol kind; a value is an index and a bit position, not a flag.
enum SYMBOL_KIND : int {
    SYMBOL_CLASS = 1,
    SYMBOL_METHOD = 2,
    SYMBOL_LOCAL = 3,
    SYMBOL_MEMBERMETHOD = 4,
    SYMBOL_PROPERTY = 5,
    SYMBOL_SYSTEM = 6,
    SYMBOL_PARAMETER = 7,
    SYMBOL_PUBLIC = 8,
    SYMBOL_MACRO = 9,
    SYMBOL_CLASSPARAMETER = 10,
    SYMBOL_EXTRINSIC = 11,
    SYMBOL_LABEL = 12,
    SYMBOL_INCLUDEFILE = 13,
};

// The language of a scope; stored and reported back, never interpreted.
enum ParserLanguage : int {
    PARSERLANGUAGE_ROOT = 0,
    PARSERLANGUAGE_LAST = 0x7FFFFFFF,
};

enum MEMBER_FILTER_FLAGS : int {
    MEMBER_CLASSMETHODS = 1,
    MEMBER_INSTANCEMETHODS = 2,
    MEMBER_PROPERTIES = 4,
    MEMBER_INTERNAL = 8,
    MEMBER_PARAMETERS = 16,
    MEMBER_DATATYPES = 32,
};
static_assert(sizeof(SYMBOL_KIND) == 4 && sizeof(ParserLanguage) == 4 && sizeof(MEMBER_FILTER_FLAGS) == 4,
              "the enumerations are 32-bit");

class COM_IVantleAssist : public COM_IUnknown {
public:
    // Keeps `manager` (NULL lets go of the tree) and asks it for its class cache;
    // a SetFlags before it stops applying. The symbol scopes are kept.
    virtual HRESULT Initialize(COM_ITNodeManager* manager) = 0;                                     // 5
    // Empties the class cache: its own result, or S_FALSE with no tree.
    virtual HRESULT Reset() = 0;                                                                    // 6
    // Sets `name`'s value for `kind` in the innermost scope. The system symbol
    // "INCLUDEINHERITED" decides whether the class queries see inherited members:
    // on at creation; each SetSymbol of it switches it on for the value "TRUE" and
    // off for anything else, for the service's whole life (removing the symbol or
    // closing its scope does not switch it back).
    virtual HRESULT SetSymbol(CBSTR name, SYMBOL_KIND kind, CBSTR value) = 0;                       // 7
    // Removes `name`'s value for `kind` from the innermost scope.
    virtual HRESULT RemoveSymbol(CBSTR name, SYMBOL_KIND kind) = 0;                                 // 8
    // The value of `name` for `kind` in the innermost scope that has one, with that
    // scope's language; S_FALSE and NULL when no scope has it.
    virtual HRESULT LookupSymbol(CBSTR name, SYMBOL_KIND kind, ParserLanguage* language,
                                 BSTR* value) = 0;                                                  // 9
    // Opens a scope for code of `language` embedded in the current one.
    virtual HRESULT OnEmbeddingStart(ParserLanguage language) = 0;                                  // 10
    // Closes the innermost embedded scope; ignored when only the root is open.
    virtual HRESULT OnEmbeddingEnd() = 0;                                                           // 11
    // The classes whose names start with `prefix`, from the class cache.
    virtual HRESULT GetClassList(CBSTR prefix, BSTR* out) = 0;                                      // 12
    // What member `memberName` of the class yields: *kind is SYMBOL_MEMBERMETHOD
    // (a method's return type) or SYMBOL_PROPERTY (a property's type; collections
    // and relationships with their prefix and the class name resolved).
    virtual HRESULT GetClassMemberType(CBSTR className, CBSTR memberName, SYMBOL_KIND* kind,
                                       BSTR* type) = 0;                                             // 13
    // The members the flags select: methods ("Name("), then properties, then class
    // parameters, each in the tree's order.
    virtual HRESULT GetClassMembers(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) = 0;     // 14
    // The method's signature. With argumentNumber 0, the whole text in *before;
    // with n > 0, the text split around argument n into before, current and after.
    virtual HRESULT GetMethodSignature(CBSTR className, CBSTR methodName, unsigned long argumentNumber,
                                       BSTR* before, BSTR* current, BSTR* after) = 0;               // 15
    // Pins the filter of every listing until the next Initialize.
    virtual HRESULT SetFlags(MEMBER_FILTER_FLAGS flags) = 0;                                        // 16
    // The pinned filter (S_OK), or the last one with S_FALSE when none is pinned.
    virtual HRESULT GetFlags(MEMBER_FILTER_FLAGS* flags) = 0;                                       // 17
    // Hands the class cache the packages whose classes short names may mean.
    virtual HRESULT SetImportPackageList(CBSTR list) = 0;                                           // 18
};

class COM_IVantleAssistEx : public COM_IUnknown {
public:
    // The class short class names are resolved against (NULL or "" for none).
    virtual HRESULT SetRelativeClassName(CBSTR name) = 0;  // 5
};

class COM_IVantleAssist2 : public COM_IUnknown {
public:
    // The class that defines the member, as the tree stores it. kind selects
    // methods (SYMBOL_METHOD or SYMBOL_MEMBERMETHOD), properties (SYMBOL_PROPERTY)
    // or class parameters (SYMBOL_CLASSPARAMETER). An unknown class gives the
    // tree's own failure code rather than S_FALSE.
    virtual HRESULT GetMemberOrigin(CBSTR className, CBSTR memberName, SYMBOL_KIND kind, BSTR* origin) = 0;  // 5
    // The symbols of every open scope whose kind bit (bit k-1 for kind k) is set in
    // `filter`; S_FALSE with an empty string when there are none.
    virtual HRESULT GetSymbols(unsigned int filter, BSTR* out) = 0;                                          // 6
};

class COM_IVantleAssist3 : public COM_IUnknown {
public:
    // As GetClassMembers, each entry marked after a tab: "C" for a class method,
    // "P" for a private member ("Name(\tCP,").
    virtual HRESULT GetClassMembersEx(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) = 0;  // 5
};

namespace vantle {
// The identifiers' values, for hosts that compare or log them; the exported
// objects below hold the same values.
inline constexpr COM_GUID kClsidVantleAssist = {
    0x4356564A, 0xA9AA, 0x4664, {0xB7, 0x43, 0x2A, 0xFF, 0x4C, 0x55, 0x12, 0x51}};
inline constexpr COM_GUID kIidVantleAssist = {
    0xA35EECE7, 0x0D38, 0x4618, {0xA9, 0x25, 0xF6, 0x5A, 0x50, 0x31, 0x83, 0x39}};
inline constexpr COM_GUID kIidVantleAssistEx = {
    0xB772D24A, 0x1FB8, 0x4565, {0x8A, 0x42, 0xCE, 0x0C, 0x78, 0x20, 0xBD, 0xFB}};
inline constexpr COM_GUID kIidVantleAssist2 = {
    0xCEA01D2D, 0x903B, 0x4E1C, {0xBE, 0x53, 0x4F, 0x9E, 0x37, 0x96, 0x4E, 0xD1}};
inline constexpr COM_GUID kIidVantleAssist3 = {
    0x2A2F7FE1, 0x404F, 0x43DD, {0x99, 0x29, 0xD9, 0xC8, 0xE5, 0x5C, 0x8B, 0x70}};
// The service's default member filter: class and instance methods and properties.
inline constexpr MEMBER_FILTER_FLAGS kDefaultMemberFilter =
    static_cast<MEMBER_FILTER_FLAGS>(MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_PROPERTIES);
}  // namespace vantle

extern "C" {
VANTLE_EXPORT extern const COM_GUID COM_CLSID_VantleAssist;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssistEx;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist2;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist3;
}

#endif  // VANTLE_ASSIST_H_
