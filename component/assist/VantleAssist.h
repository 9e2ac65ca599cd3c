// VantleAssist.h: CVantleAssistant, the one component class of the library.
//
// An editor creates it through the class factory, hands it a class-definition tree
// manager with Initialize, and asks it for classes, members, member types, method
// signatures and member origins, and for the symbols of the scopes its parsers keep.
//
// Layout: the object starts with its four interface-table pointers; the interface
// table's offset rows are measured by the compiler (COM_INTERFACE_OFFSET). The
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

#include "vantle/assist.h"
#include "kesto/tnode.h"
#include "SymbolTable.h"
#include "TreeLookup.h"
#include "sysCom.h"
#include "sysComLib.h"

class CVantleAssistant : public COM_CComObjectRoot,
                         public COM_CComCoClass<CVantleAssistant, &COM_CLSID_VantleAssist>,
                         public COM_IVantleAssist,
                         public COM_IVantleAssistEx,
                         public COM_IVantleAssist2,
                         public COM_IVantleAssist3 {
public:
    static constexpr MEMBER_FILTER_FLAGS kDefaultFlags = vantle::kDefaultMemberFilter;

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
    // Normalises the class name and asks the tree for its node: the first failing
    // HRESULT, else GetClassNode's. Callers make sure a manager is held.
    HRESULT OpenClassNode(CBSTR className, utlAutoBSTR& normalized, utlNodeIf& node);
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

// The first interface must sit at the object's start: an editor that asks for
// COM_IID_IUnknown gets the first row's pointer, and the roots take no room.
static_assert(std::is_empty_v<COM_CComObjectRoot>);
static_assert(std::is_empty_v<COM_CComCoClass<CVantleAssistant, &COM_CLSID_VantleAssist>>);

#endif  // VANTLE_ASSIST_VANTLEASSIST_H_
