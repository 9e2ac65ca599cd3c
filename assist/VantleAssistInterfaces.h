// VantleAssistInterfaces.h: what an editor sees of the assistance service.
//
// The service is created as COM_CLSID_VantleAssist and answers four interfaces,
// each derived directly from COM_IUnknown, with the slot order below. Strings
// passed in are NUL-terminated and not kept; strings passed out are new BSTRs that
// the caller frees. Lists are comma-terminated: every entry ends with ",".
#ifndef VANTLE_ASSIST_VANTLEASSISTINTERFACES_H_
#define VANTLE_ASSIST_VANTLEASSISTINTERFACES_H_

#include "kesto/com.h"
#include "kesto/tnode.h"

#define VANTLE_EXPORT __attribute__((visibility("default")))

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
    virtual HRESULT Initialize(COM_ITNodeManager* manager) = 0;                                     // 5
    virtual HRESULT Reset() = 0;                                                                    // 6
    virtual HRESULT SetSymbol(CBSTR name, SYMBOL_KIND kind, CBSTR value) = 0;                       // 7
    virtual HRESULT RemoveSymbol(CBSTR name, SYMBOL_KIND kind) = 0;                                 // 8
    virtual HRESULT LookupSymbol(CBSTR name, SYMBOL_KIND kind, ParserLanguage* language,
                                 BSTR* value) = 0;                                                  // 9
    virtual HRESULT OnEmbeddingStart(ParserLanguage language) = 0;                                  // 10
    virtual HRESULT OnEmbeddingEnd() = 0;                                                           // 11
    virtual HRESULT GetClassList(CBSTR prefix, BSTR* out) = 0;                                      // 12
    virtual HRESULT GetClassMemberType(CBSTR className, CBSTR memberName, SYMBOL_KIND* kind,
                                       BSTR* type) = 0;                                             // 13
    virtual HRESULT GetClassMembers(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) = 0;     // 14
    virtual HRESULT GetMethodSignature(CBSTR className, CBSTR methodName, unsigned long argumentNumber,
                                       BSTR* before, BSTR* current, BSTR* after) = 0;               // 15
    virtual HRESULT SetFlags(MEMBER_FILTER_FLAGS flags) = 0;                                        // 16
    virtual HRESULT GetFlags(MEMBER_FILTER_FLAGS* flags) = 0;                                       // 17
    virtual HRESULT SetImportPackageList(CBSTR list) = 0;                                           // 18
};

class COM_IVantleAssistEx : public COM_IUnknown {
public:
    virtual HRESULT SetRelativeClassName(CBSTR name) = 0;  // 5
};

class COM_IVantleAssist2 : public COM_IUnknown {
public:
    virtual HRESULT GetMemberOrigin(CBSTR className, CBSTR memberName, SYMBOL_KIND kind, BSTR* origin) = 0;  // 5
    virtual HRESULT GetSymbols(unsigned int filter, BSTR* out) = 0;                                          // 6
};

class COM_IVantleAssist3 : public COM_IUnknown {
public:
    virtual HRESULT GetClassMembersEx(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) = 0;  // 5
};

extern "C" {
VANTLE_EXPORT extern const COM_GUID COM_CLSID_VantleAssist;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssistEx;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist2;
VANTLE_EXPORT extern const COM_GUID COM_IID_IVantleAssist3;
}

#endif  // VANTLE_ASSIST_VANTLEASSISTINTERFACES_H_
