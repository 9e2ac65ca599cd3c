// VantleAssist.h: CVantleAssistant, the one component class of the library.
//
// An editor creates it through the class factory, hands it a class-definition tree
// manager with Initialize, and asks it for classes, members, member types, method
// signatures and member origins, and for the symbols of the scopes its parsers keep.
//
// Layout promise: the object starts with its four interface-table pointers,
// COM_IVantleAssist at byte 0, COM_IVantleAssistEx at 8, COM_IVantleAssist2 at 16 and
// COM_IVantleAssist3 at 24; the interface table's offset rows rely on it. The
// reference count is a plain field; the module lock count holds one unit while the
// object lives. Everything held (tree manager, class cache, scopes) is released when
// the last reference goes.
//
// Before Initialize (or after Initialize(NULL)) the class queries answer S_FALSE with
// no result; the symbol operations work in every state. SetFlags pins the member
// filter for every listing until the next Initialize. The class queries let a call
// through an empty interface holder (utlAutoIfBase::XBadPtrException) and
// std::bad_alloc pass to the caller; everything they took from the tree is released
// on the way out. A NULL out-pointer is refused with E_POINTER before anything runs.
#ifndef VANTLE_ASSIST_VANTLEASSIST_H_
#define VANTLE_ASSIST_VANTLEASSIST_H_

#include <string>
#include <type_traits>

#include "assist/VantleAssistInterfaces.h"
#include "kesto/tnode.h"
#include "symbols/SymbolTable.h"
#include "sys/sysCom.h"
#include "sys/sysComLib.h"

typedef std::basic_string<unsigned short> utlWString;

class CVantleAssistant : public COM_CComObjectRoot,
                         public COM_CComCoClass<CVantleAssistant, &COM_CLSID_VantleAssist>,
                         public COM_IVantleAssist,
                         public COM_IVantleAssistEx,
                         public COM_IVantleAssist2,
                         public COM_IVantleAssist3 {
public:
    // Byte displacement of each interface pointer from the object's start.
    static const unsigned long kOffsetAssist = 0;
    static const unsigned long kOffsetAssistEx = 1 * sizeof(void*);
    static const unsigned long kOffsetAssist2 = 2 * sizeof(void*);
    static const unsigned long kOffsetAssist3 = 3 * sizeof(void*);
    static const MEMBER_FILTER_FLAGS kDefaultFlags =
        static_cast<MEMBER_FILTER_FLAGS>(MEMBER_CLASSMETHODS | MEMBER_INSTANCEMETHODS | MEMBER_PROPERTIES);

    static const COM_INTERFACE_ENTRY s_interface_table[];
    static COM_CClassFactory<CVantleAssistant> _theClassFactory;

    CVantleAssistant();
    ~CVantleAssistant() override;
    CVantleAssistant(const CVantleAssistant&) = delete;
    CVantleAssistant& operator=(const CVantleAssistant&) = delete;

    // COM_IUnknown, shared by the four interfaces.
    HRESULT QueryInterface(const COM_GUID& iid, void** out) override;
    unsigned long AddRef() override;
    unsigned long Release() override;

    // COM_IVantleAssist
    HRESULT Initialize(COM_ITNodeManager* manager) override;
    HRESULT Reset() override;
    HRESULT SetSymbol(CBSTR name, SYMBOL_KIND kind, CBSTR value) override;
    HRESULT RemoveSymbol(CBSTR name, SYMBOL_KIND kind) override;
    HRESULT LookupSymbol(CBSTR name, SYMBOL_KIND kind, ParserLanguage* language, BSTR* value) override;
    HRESULT OnEmbeddingStart(ParserLanguage language) override;
    HRESULT OnEmbeddingEnd() override;
    HRESULT GetClassList(CBSTR prefix, BSTR* out) override;
    HRESULT GetClassMemberType(CBSTR className, CBSTR memberName, SYMBOL_KIND* kind, BSTR* type) override;
    HRESULT GetClassMembers(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) override;
    HRESULT GetMethodSignature(CBSTR className, CBSTR methodName, unsigned long argumentNumber, BSTR* before,
                               BSTR* current, BSTR* after) override;
    HRESULT SetFlags(MEMBER_FILTER_FLAGS flags) override;
    HRESULT GetFlags(MEMBER_FILTER_FLAGS* flags) override;
    HRESULT SetImportPackageList(CBSTR list) override;

    // COM_IVantleAssistEx
    HRESULT SetRelativeClassName(CBSTR name) override;

    // COM_IVantleAssist2
    HRESULT GetMemberOrigin(CBSTR className, CBSTR memberName, SYMBOL_KIND kind, BSTR* origin) override;
    HRESULT GetSymbols(unsigned int filter, BSTR* out) override;

    // COM_IVantleAssist3
    HRESULT GetClassMembersEx(CBSTR className, MEMBER_FILTER_FLAGS flags, BSTR* out) override;

    // The full class name of `name`, resolved against the relative class name (or an
    // explicit class). The tree manager's answer, unchanged; callers make sure a
    // manager is held.
    HRESULT NormalizeClassName(CBSTR name, BSTR* out);
    HRESULT NormalizeClassNameRelative(CBSTR name, CBSTR relativeTo, BSTR* out);

    // The function rows of s_interface_table: the service answers the tree manager's
    // cache interfaces by handing out the manager's own.
    static HRESULT Finder(void* object, unsigned long long datum, const COM_GUID& iid, void** out);
    // The object map's registry updater.
    static HRESULT UpdateRegistry(int doRegister);

private:
    typedef utlAutoIf<COM_ITNodeManager, &COM_IID_ITNodeManager> TNodeManagerHolder;
    typedef utlAutoIf<COM_IClassCache, &COM_IID_IClassCache> ClassCacheHolder;

    HRESULT ListMembers(CBSTR className, MEMBER_FILTER_FLAGS flags, bool extended, BSTR* out);
    MEMBER_FILTER_FLAGS EffectiveFlags(MEMBER_FILTER_FLAGS passed) const {
        return m_flagsSet == 1 ? m_flags : passed;
    }

    // Declaration order is destruction order in reverse: the relative name goes
    // first, then the scopes, the class cache and last the tree manager.
    unsigned long m_cRef;
    TNodeManagerHolder m_pTNodeManager;
    ClassCacheHolder m_pClassCache;
    CSymbolTableStack m_symbols;
    int m_flagsSet;
    MEMBER_FILTER_FLAGS m_flags;
    utlWString m_relativeClassName;
    int m_includeInherited;
};

// The interface-table pointers can sit at the fixed displacements only if the two
// roots take no room and each interface is exactly one table pointer.
static_assert(std::is_empty_v<COM_CComObjectRoot>);
static_assert(std::is_empty_v<COM_CComCoClass<CVantleAssistant, &COM_CLSID_VantleAssist>>);
static_assert(sizeof(COM_IVantleAssist) == sizeof(void*) && sizeof(COM_IVantleAssistEx) == sizeof(void*) &&
              sizeof(COM_IVantleAssist2) == sizeof(void*) && sizeof(COM_IVantleAssist3) == sizeof(void*));
static_assert(sizeof(void*) == 8, "the interface table's offsets are those of LP64");

#endif  // VANTLE_ASSIST_VANTLEASSIST_H_
